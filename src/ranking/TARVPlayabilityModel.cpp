#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableOptions.hpp"

#include "TARVPlayabilityModelData.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <span>
#include <stdexcept>

namespace tarv {

namespace {

constexpr std::array<std::string_view, TARVPlayabilityModel::FeatureCount> kFeatureNames = {
    "reach",        "position",      "fingers",           "barre",
    "barreStrings", "stretch",       "crossing",          "thumb",
    "open",         "mutedBass",     "mutedTreble",       "mutedInner",
    "thinVoicing",  "doubled",       "dropped",           "rootNotInBass",
    "register",     "fretRange",     "openWithHighFrets", "openAwayFromNut",
    "familiarForm", "mutedOpenTone", "highPosition",      "rootless",
    "tolerated",    "familiarFrets", "otherRootInBass",
};

constexpr double kShortScaleLimit = 480.0;

[[noreturn]] void unreadable(const std::string& what) {
    throw std::invalid_argument("playability model: " + what);
}

TARVPlayabilityModel::Weights readWeights(const nlohmann::json& family, const char* name) {
    TARVPlayabilityModel::Weights weights{};
    if (!family.is_object() || !family.contains("weights") || !family["weights"].is_object()) {
        unreadable(std::string("family \"") + name + "\" has no \"weights\" object");
    }
    const nlohmann::json& values = family["weights"];
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const auto found = values.find(std::string(kFeatureNames[i]));
        if (found == values.end()) {
            continue;
        }
        if (!found->is_number()) {
            unreadable("\"" + std::string(kFeatureNames[i]) + "\" is not a number");
        }
        weights[i] = found->get<double>();
    }
    return weights;
}

/// The form key of a form text ("x,3,2,0,1,0", highest string number first; "@" before an
/// open shape, "~" before a fretted form); 0 when it does not read.
std::uint64_t keyOfFormText(std::string_view text) {
    const bool openShape = !text.empty() && text.front() == '@';
    const bool frettedForm = !text.empty() && text.front() == '~';
    if (openShape || frettedForm) {
        text.remove_prefix(1);
    }
    // A key holds 16 strings at most; one more is read so that longer forms are refused.
    std::array<std::int8_t, 17> byString{};
    std::size_t count = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::string_view part = text.substr(start, end - start);
        if (count == byString.size()) {
            return 0;
        }
        if (part == "x") {
            byString[count++] = -1;
        } else {
            int value = 0;
            for (const char c : part) {
                if (c < '0' || c > '9' || value > 100) {
                    return 0;
                }
                value = value * 10 + (c - '0');
            }
            if (part.empty() || value > 120) {
                return 0;
            }
            byString[count++] = static_cast<std::int8_t>(value);
        }
        start = end + 1;
    }
    const auto frets = std::span(byString).first(count);
    std::reverse(frets.begin(), frets.end());
    if (frettedForm) {
        // Its numbers count from its lowest fretted note, which one of them is.
        if (std::find(frets.begin(), frets.end(), 0) == frets.end()) {
            return 0;
        }
        for (std::int8_t& fret : frets) {
            fret = fret < 0 ? fret : static_cast<std::int8_t>(fret + 1);
        }
        const std::uint64_t key = TARVPlayabilityModel::frettedFormKey(frets.data(), count);
        return key != 0 ? key | TARVPlayabilityModel::FrettedFormBit : 0;
    }
    const std::uint64_t key = TARVPlayabilityModel::formKey(frets.data(), count);
    if (!openShape) {
        return key;
    }
    const bool open = std::find(frets.begin(), frets.end(), 0) != frets.end();
    return open && (key & TARVPlayabilityModel::OpenShapeBit) == 0
               ? key | TARVPlayabilityModel::OpenShapeBit
               : 0;
}

/// The index of a feature's name in the model file; `FeatureCount` for a name it does not know.
std::size_t featureIndex(std::string_view name) {
    const auto found = std::find(kFeatureNames.begin(), kFeatureNames.end(), name);
    return static_cast<std::size_t>(found - kFeatureNames.begin());
}

} // namespace

std::string_view TARVPlayabilityModel::featureName(Feature feature) noexcept {
    return feature < FeatureCount ? kFeatureNames[feature] : std::string_view();
}

TARVPlayabilityModel TARVPlayabilityModel::modelWithJSON(std::string_view text) {
    const nlohmann::json tree = nlohmann::json::parse(text, nullptr, false);
    if (tree.is_discarded() || !tree.is_object()) {
        unreadable("not a JSON object");
    }
    if (!tree.contains("families") || !tree["families"].is_object()) {
        unreadable("no \"families\" object");
    }
    const nlohmann::json& families = tree["families"];
    TARVPlayabilityModel model(readWeights(families.value("long", nlohmann::json()), "long"),
                               readWeights(families.value("short", nlohmann::json()), "short"));
    if (tree.contains("forms")) {
        if (!tree["forms"].is_object()) {
            unreadable("\"forms\" is not an object");
        }
        for (const auto& [group, forms] : tree["forms"].items()) {
            if (!forms.is_object()) {
                unreadable("forms of \"" + group + "\" are not an object");
            }
            FormTable& table = model._forms[group];
            for (const auto& [form, share] : forms.items()) {
                if (!share.is_number() || !addForm(table, form, share.get<double>())) {
                    unreadable("form \"" + form + "\" of \"" + group + "\" does not read");
                }
            }
        }
    }
    return model;
}

TARVPlayabilityModel::TARVPlayabilityModel(const Weights& longWeights, const Weights& shortWeights)
    : _weights{longWeights, shortWeights} {
    for (std::size_t family = 0; family < _weights.size(); ++family) {
        auto table = std::make_shared<TARVPlayableShape::TermTable>(FeatureCount);
        for (std::size_t i = 0; i < FeatureCount; ++i) {
            (*table)[i] = {kFeatureNames[i], 0, _weights[family][i]};
        }
        _termTables[family] = std::move(table);
    }
}

bool TARVPlayabilityModel::addForm(FormTable& table, std::string_view form, double share) {
    const std::uint64_t key = keyOfFormText(form);
    if (key == 0) {
        return false;
    }
    table[key] = share;
    return true;
}

TARVPlayabilityModel TARVPlayabilityModel::compiledModel() {
    std::array<Weights, 2> weights{};
    for (const ranking::ModelWeightEntry* entry = ranking::kModelWeights; entry->family != nullptr;
         ++entry) {
        const std::size_t feature = featureIndex(entry->feature);
        if (feature < FeatureCount) {
            weights[std::string_view(entry->family) == "long" ? 0 : 1][feature] = entry->value;
        }
    }
    TARVPlayabilityModel model(weights[0], weights[1]);
    FormTable* table = nullptr;
    const char* tableGroup = nullptr;
    for (const ranking::ModelFormEntry* entry = ranking::kModelForms; entry->group != nullptr;
         ++entry) {
        // The build writes each group's forms together.
        if (tableGroup == nullptr || std::string_view(tableGroup) != entry->group) {
            tableGroup = entry->group;
            table = &model._forms[entry->group];
        }
        if (!addForm(*table, entry->form, entry->share)) {
            unreadable(std::string("form \"") + entry->form + "\" of \"" + entry->group +
                       "\" does not read");
        }
    }
    return model;
}

const TARVPlayabilityModel& TARVPlayabilityModel::shared() {
    static const TARVPlayabilityModel model = compiledModel();
    return model;
}

TARVPlayabilityModel::Family
TARVPlayabilityModel::familyOfTuning(const SStringedInstrumentTuning& tuning) {
    return TARVPlayableOptions::defaultScaleLength(tuning) <= kShortScaleLimit ? Family::Short
                                                                               : Family::Long;
}

double TARVPlayabilityModel::score(const Features& features, Family family) const noexcept {
    const Weights& weights = this->weights(family);
    double sum = 0;
    for (std::size_t i = 0; i < FeatureCount; ++i) {
        sum += weights[i] * features[i];
    }
    return sum;
}

std::string TARVPlayabilityModel::tuningSignature(const SStringedInstrumentTuning& tuning) {
    const auto& pitches = tuning.stringPitches();
    std::string signature;
    for (std::size_t s = pitches.size(); s-- > 1;) {
        if (!signature.empty()) {
            signature += ',';
        }
        signature +=
            std::to_string(pitches[s - 1].absoluteSemitone() - pitches[s].absoluteSemitone());
    }
    return signature;
}

std::string TARVPlayabilityModel::qualityKey(const SChord& chord) {
    std::string key = chord.quality();
    if (chord.addedBase()) {
        const int interval =
            ((chord.addedBase()->noteValue() - chord.root().noteValue()) % 12 + 12) % 12;
        key += "/" + std::to_string(interval);
    }
    return key;
}

const TARVPlayabilityModel::FormTable*
TARVPlayabilityModel::formsFor(const std::string& signature, const std::string& qualityKey) const {
    const auto found = _forms.find(signature + "|" + qualityKey);
    return found == _forms.end() ? nullptr : &found->second;
}

std::uint64_t TARVPlayabilityModel::formKey(const std::int8_t* frets, std::size_t count) noexcept {
    if (count > 16) {
        return 0;
    }
    int lowest = -1;
    for (std::size_t s = 0; s < count; ++s) {
        if (frets[s] >= 0 && (lowest < 0 || frets[s] < lowest)) {
            lowest = frets[s];
        }
    }
    // The lowest sounding fret is the form's own nut: a shape with open strings has the form of
    // the barre shape that moves it up the neck.
    std::uint64_t key = 0;
    for (std::size_t s = 0; s < count; ++s) {
        const int value = frets[s] < 0 ? 0 : frets[s] - lowest + 1;
        if (value > 15) {
            return 0;
        }
        key |= static_cast<std::uint64_t>(value) << (4 * s);
    }
    return key;
}

std::string TARVPlayabilityModel::formText(const std::int8_t* frets, std::size_t count) {
    int lowest = -1;
    for (std::size_t s = 0; s < count; ++s) {
        if (frets[s] >= 0 && (lowest < 0 || frets[s] < lowest)) {
            lowest = frets[s];
        }
    }
    std::string text;
    for (std::size_t s = count; s-- > 0;) {
        text += frets[s] < 0 ? std::string("x") : std::to_string(frets[s] - lowest);
        if (s != 0) {
            text += ',';
        }
    }
    return text;
}

std::string TARVPlayabilityModel::openShapeText(const std::int8_t* frets, std::size_t count) {
    const bool open = std::find(frets, frets + count, 0) != frets + count;
    return open ? "@" + formText(frets, count) : std::string();
}

std::uint64_t TARVPlayabilityModel::frettedFormKey(const std::int8_t* frets,
                                                   std::size_t count) noexcept {
    // The top nibble stays clear for `FrettedFormBit`.
    if (count > 15) {
        return 0;
    }
    int lowest = 0;
    for (std::size_t s = 0; s < count; ++s) {
        if (frets[s] > 0 && (lowest == 0 || frets[s] < lowest)) {
            lowest = frets[s];
        }
    }
    std::uint64_t key = 0;
    for (std::size_t s = 0; s < count; ++s) {
        const int value = frets[s] > 0 ? frets[s] - lowest + 1 : 0;
        if (value > 15) {
            return 0;
        }
        key |= static_cast<std::uint64_t>(value) << (4 * s);
    }
    return key;
}

std::string TARVPlayabilityModel::frettedFormText(const std::int8_t* frets, std::size_t count) {
    if (count > 15) {
        return std::string();
    }
    int lowest = 0;
    for (std::size_t s = 0; s < count; ++s) {
        if (frets[s] > 0 && (lowest == 0 || frets[s] < lowest)) {
            lowest = frets[s];
        }
    }
    if (lowest == 0) {
        return std::string();
    }
    std::string text = "~";
    for (std::size_t s = count; s-- > 0;) {
        text += frets[s] > 0 ? std::to_string(frets[s] - lowest) : std::string("x");
        if (s != 0) {
            text += ',';
        }
    }
    return text;
}

double TARVPlayabilityModel::frettedFamiliarity(const FormTable& table,
                                                std::uint64_t frettedFormKey) noexcept {
    if ((frettedFormKey & ~FrettedFormBit) == 0) {
        return 0;
    }
    const auto found = table.find(frettedFormKey | FrettedFormBit);
    return found == table.end() ? 0.0 : found->second;
}

double TARVPlayabilityModel::familiarity(const FormTable& table, std::uint64_t formKey,
                                         bool hasOpenString) noexcept {
    double share = 0;
    if (const auto found = table.find(formKey); found != table.end()) {
        share += found->second;
    }
    if (hasOpenString && (formKey & OpenShapeBit) == 0) {
        if (const auto found = table.find(formKey | OpenShapeBit); found != table.end()) {
            share += found->second;
        }
    }
    return share;
}

} // namespace tarv
