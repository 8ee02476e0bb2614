#include "RankingData.hpp"

#include "tarv/ranking/TARVPlayabilityModel.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ostream>
#include <unordered_set>

namespace tarv::tool {

namespace {

/// Frets above the highest well-known shape of any file, so that the search sees the neck.
constexpr std::uint8_t kWellKnownFretCount = 22;

struct WellKnownVoicing {
    std::string name;
    SChordPtr chord;
    std::vector<std::int8_t> frets; // by string number
};

/// The distinct chords of `file` with their well-known frets; a chord listed under several
/// names (enharmonic copies) counts once, under its first name.
std::vector<WellKnownVoicing> wellKnownVoicings(const WellKnownShapeFile& file) {
    std::vector<WellKnownVoicing> voicings;
    std::unordered_set<std::string> seen;
    for (const WellKnownShapeFile::Entry& entry : file.entries) {
        SChordPtr chord = SChord::chordWithString(entry.name);
        if (!chord || entry.frets.size() != file.tuning.size()) {
            continue;
        }
        std::vector<std::int8_t> frets(entry.frets.rbegin(), entry.frets.rend());
        const bool sounds = std::any_of(frets.begin(), frets.end(), [](auto f) { return f >= 0; });
        if (!sounds || !seen.insert(chord->numericNoteStringValue()).second) {
            continue;
        }
        voicings.push_back({entry.name, std::move(chord), std::move(frets)});
    }
    return voicings;
}

std::string instrumentOf(const WellKnownShapeFile& file) {
    std::string stem = file.path.stem().string();
    const std::string prefix = "chordpro-";
    if (stem.rfind(prefix, 0) == 0) {
        stem.erase(0, prefix.size());
    }
    return stem;
}

} // namespace

SStringedInstrumentTuningPtr tuningForWellKnownShapeFile(const WellKnownShapeFile& file) {
    std::vector<SPitch> pitches(file.tuning.rbegin(), file.tuning.rend());
    return SStringedInstrumentTuning::initWithPitches(std::move(pitches), kWellKnownFretCount, 0,
                                                      TARVMakeSharedText(instrumentOf(file)),
                                                      std::string(), std::nullopt);
}

void writeRankingData(std::ostream& out, const std::vector<WellKnownShapeFile>& files) {
    for (const WellKnownShapeFile& file : files) {
        const SStringedInstrumentTuningPtr tuning = tuningForWellKnownShapeFile(file);
        for (const WellKnownVoicing& voicing : wellKnownVoicings(file)) {
            const std::vector<TARVPlayableShape> all =
                TARVPlayableShapes::allVoicings(voicing.chord, tuning);
            nlohmann::json features = nlohmann::json::array();
            nlohmann::json forms = nlohmann::json::array();
            nlohmann::json openShapes = nlohmann::json::array();
            nlohmann::json frettedForms = nlohmann::json::array();
            nlohmann::json voicings = nlohmann::json::array();
            long wellKnownIndex = -1;
            for (std::size_t i = 0; i < all.size(); ++i) {
                if (all[i].frets() == voicing.frets) {
                    wellKnownIndex = static_cast<long>(i);
                }
                nlohmann::json values = nlohmann::json::array();
                for (const TARVPlayableShape::Term& term : all[i].terms()) {
                    values.push_back(term.value);
                }
                features.push_back(std::move(values));
                forms.push_back(
                    TARVPlayabilityModel::formText(all[i].frets().data(), all[i].frets().size()));
                openShapes.push_back(TARVPlayabilityModel::openShapeText(all[i].frets().data(),
                                                                         all[i].frets().size()));
                frettedForms.push_back(TARVPlayabilityModel::frettedFormText(
                    all[i].frets().data(), all[i].frets().size()));
                voicings.push_back(all[i].fretText());
            }
            nlohmann::json line = {
                {"instrument", instrumentOf(file)},
                {"name", voicing.name},
                {"root", voicing.chord->root().noteValue()},
                {"frets", TARVPlayableShape(voicing.frets, {}, {}).fretText()},
                {"form",
                 TARVPlayabilityModel::formText(voicing.frets.data(), voicing.frets.size())},
                {"family",
                 TARVPlayabilityModel::familyOfTuning(*tuning) == TARVPlayabilityModel::Family::Long
                     ? "long"
                     : "short"},
                {"group", TARVPlayabilityModel::tuningSignature(*tuning) + "|" +
                              TARVPlayabilityModel::qualityKey(*voicing.chord)},
                {"found", wellKnownIndex >= 0},
                {"wellKnown", wellKnownIndex},
                {"features", std::move(features)},
                {"openShape",
                 TARVPlayabilityModel::openShapeText(voicing.frets.data(), voicing.frets.size())},
                {"forms", std::move(forms)},
                {"openShapes", std::move(openShapes)},
                {"frettedForm",
                 TARVPlayabilityModel::frettedFormText(voicing.frets.data(), voicing.frets.size())},
                {"frettedForms", std::move(frettedForms)},
                {"voicings", std::move(voicings)},
            };
            out << line.dump() << "\n";
        }
    }
}

void writeRankingCheck(std::ostream& out, const std::vector<WellKnownShapeFile>& files,
                       const TARVPlayabilityModel& model, const std::set<int>& roots) {
    TARVPlayableOptions options;
    options.model = &model;
    options.maximumShapes = 20;
    for (const WellKnownShapeFile& file : files) {
        const SStringedInstrumentTuningPtr tuning = tuningForWellKnownShapeFile(file);
        for (const WellKnownVoicing& voicing : wellKnownVoicings(file)) {
            const int root = voicing.chord->root().noteValue();
            if (!roots.empty() && roots.count(root) == 0) {
                continue;
            }
            const std::vector<TARVPlayableShape> ranked =
                TARVPlayableShapes::shapesForChord(voicing.chord, tuning, options);
            std::size_t place = 0;
            for (std::size_t i = 0; i < ranked.size(); ++i) {
                if (ranked[i].frets() == voicing.frets) {
                    place = i + 1;
                    break;
                }
            }
            nlohmann::json line = {
                {"instrument", instrumentOf(file)},
                {"name", voicing.name},
                {"root", root},
                {"frets", TARVPlayableShape(voicing.frets, {}, {}).fretText()},
                {"rank", place},
                {"first", ranked.empty() ? std::string() : ranked.front().fretText()},
            };
            out << line.dump() << "\n";
        }
    }
}

} // namespace tarv::tool
