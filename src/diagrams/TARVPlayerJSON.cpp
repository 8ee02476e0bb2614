#include "tarv/diagrams/TARVPlayerJSON.hpp"

#include "tarv/diagrams/TARVShapeJSON.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace tarv {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* kCapoConvention =
    "frets count from the capo, and chord names read relative to it as chord sheets write "
    "them; soundsAs names the chord that sounds";

/// Texts need not be valid UTF-8 (a tuning's name comes from the caller); such bytes are
/// replaced, not fatal.
std::string dumped(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

/// Costs to three decimals, as shape scores are written.
double rounded(double value) {
    return std::round(value * 1000) / 1000;
}

std::string nameOf(const SChordPtr& chord) {
    return chord ? chord->name() : std::string();
}

} // namespace

const char* TARVPlayerJSON::kindText(TARVChordNaming::Kind kind) noexcept {
    switch (kind) {
    case TARVChordNaming::Kind::RootPosition:
        return "root position";
    case TARVChordNaming::Kind::Inversion:
        return "inversion";
    case TARVChordNaming::Kind::AddedBass:
        return "added bass";
    case TARVChordNaming::Kind::Rootless:
        return "rootless";
    }
    return "";
}

std::string TARVPlayerJSON::capoJSON(const SStringedInstrumentTuning& tuning) {
    json capo = json::object();
    capo["fret"] = tuning.capo();
    capo["convention"] = kCapoConvention;
    return dumped(capo);
}

std::string TARVPlayerJSON::chordShapesJSON(const SChordPtr& chord,
                                            const SStringedInstrumentTuning& tuning,
                                            std::span<const TARVPlayableShape> shapes,
                                            const std::string& instrumentName) {
    if (!chord) {
        return {};
    }
    std::string line = TARVShapeJSON::answerJSON(*chord, tuning, shapes, instrumentName);
    if (tuning.capo() > 0 && !line.empty() && line.back() == '}') {
        const SChordPtr played = TARVChordNaming::transposedChord(chord, -tuning.capo());
        line.pop_back();
        line += ",\"capo\":" + capoJSON(tuning) +
                ",\"playedAs\":" + dumped(played ? played->name() : chord->symbol()) +
                ",\"soundsAs\":" + dumped(chord->symbol()) + "}";
    }
    return line;
}

std::string TARVPlayerJSON::nameJSON(const TARVChordNaming::Name& name,
                                     const SStringedInstrumentTuning& tuning) {
    json object = json::object();
    object["symbol"] = name.symbol;
    object["kind"] = kindText(name.kind);
    json omitted = json::array();
    for (const SNote& note : name.omittedNotes) {
        omitted.push_back(note.string());
    }
    object["omitted"] = std::move(omitted);
    if (tuning.capo() > 0) {
        object["soundsAs"] = nameOf(TARVChordNaming::transposedChord(name.chord, tuning.capo()));
    }
    return dumped(object);
}

std::string TARVPlayerJSON::namesJSON(const std::string& notation, const TARVPlayableShape& shape,
                                      std::span<const TARVChordNaming::Name> names,
                                      const SStringedInstrumentTuning& tuning,
                                      const std::string& instrumentName) {
    std::string line = "{\"notation\":" + dumped(notation) +
                       ",\"tuning\":" + TARVShapeJSON::tuningJSON(tuning, instrumentName);
    if (tuning.capo() > 0) {
        line += ",\"capo\":" + capoJSON(tuning);
    }
    line += ",\"names\":[";
    for (std::size_t index = 0; index < names.size(); ++index) {
        line += (index > 0 ? "," : "") + nameJSON(names[index], tuning);
    }
    line += "],\"shape\":" + TARVShapeJSON::shapeJSON(shape, 1, tuning) + "}";
    return line;
}

std::string TARVPlayerJSON::arrangementJSON(const TARVProgression::Arrangement& arrangement,
                                            std::span<const SChordPtr> chords,
                                            const SStringedInstrumentTuning& tuning) {
    std::string line = "{\"cost\":" + dumped(rounded(arrangement.cost)) + ",\"chords\":[";
    const std::size_t count = std::min(arrangement.shapes.size(), chords.size());
    for (std::size_t index = 0; index < count; ++index) {
        const SChordPtr& sounding = chords[index];
        // Named as fingered, relative to the capo.
        const SChordPtr played = tuning.capo() == 0
                                     ? sounding
                                     : TARVChordNaming::transposedChord(sounding, -tuning.capo());
        line += (index > 0 ? ",{\"chord\":" : "{\"chord\":") +
                dumped(played ? played->name() : nameOf(sounding));
        if (tuning.capo() > 0) {
            line += ",\"soundsAs\":" + dumped(nameOf(sounding));
        }
        const double movement =
            index < arrangement.movements.size() ? arrangement.movements[index] : 0.0;
        line += ",\"movement\":" + dumped(rounded(movement)) +
                ",\"shape\":" + TARVShapeJSON::shapeJSON(arrangement.shapes[index], 1, tuning) +
                "}";
    }
    return line + "]}";
}

std::string TARVPlayerJSON::capoChoiceJSON(const TARVProgression::CapoChoice& choice) {
    json object = json::object();
    object["capo"] = choice.capo;
    json written = json::array();
    for (const SChordPtr& chord : choice.writtenChords) {
        written.push_back(nameOf(chord));
    }
    object["chords"] = std::move(written);
    object["cost"] = rounded(choice.cost);
    return dumped(object);
}

std::string TARVPlayerJSON::progressionJSON(
    std::span<const SChordPtr> chords, const SStringedInstrumentTuning& tuning,
    std::span<const TARVProgression::Arrangement> arrangements,
    std::span<const TARVProgression::CapoChoice> capoChoices, const std::string& instrumentName) {
    json names = json::array();
    for (const SChordPtr& chord : chords) {
        names.push_back(nameOf(chord));
    }
    std::string line = "{\"progression\":" + dumped(names) +
                       ",\"tuning\":" + TARVShapeJSON::tuningJSON(tuning, instrumentName);
    if (tuning.capo() > 0) {
        line += ",\"capo\":" + capoJSON(tuning);
    }
    if (!capoChoices.empty()) {
        line += ",\"capoChoices\":[";
        for (std::size_t index = 0; index < capoChoices.size(); ++index) {
            line += (index > 0 ? "," : "") + capoChoiceJSON(capoChoices[index]);
        }
        line += "]";
    }
    line += ",\"arrangements\":[";
    for (std::size_t index = 0; index < arrangements.size(); ++index) {
        line += (index > 0 ? "," : "") + arrangementJSON(arrangements[index], chords, tuning);
    }
    return line + "]}";
}

} // namespace tarv
