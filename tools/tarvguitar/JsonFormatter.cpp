#include "JsonFormatter.hpp"

#include "tarv/diagrams/TARVShapeJSON.hpp"

#include <cmath>

namespace tarv::tool {

namespace {

void writeJsonLine(std::ostream& out, const nlohmann::ordered_json& object) {
    // Texts from the command line need not be valid UTF-8; such bytes are replaced, not fatal.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    out.flush();
}

constexpr const char* kCapoConvention =
    "frets count from the capo, and chord names read relative to it as chord sheets write "
    "them; soundsAs names the chord that sounds";

nlohmann::ordered_json capoJSON(const SStringedInstrumentTuning& tuning) {
    nlohmann::ordered_json capo = nlohmann::ordered_json::object();
    capo["fret"] = tuning.capo();
    capo["convention"] = kCapoConvention;
    return capo;
}

std::string dumped(const nlohmann::ordered_json& value) {
    return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

/// Costs to three decimals, as shape scores are written.
double rounded(double value) {
    return std::round(value * 1000) / 1000;
}

const char* kindText(TARVChordNaming::Kind kind) {
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

} // namespace

void JsonFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                     const SStringedInstrumentTuning& tuning) {
    std::string line =
        TARVShapeJSON::answerJSON(*answer.chord, tuning, answer.shapes, _instrumentName);
    if (tuning.capo() > 0 && !line.empty() && line.back() == '}') {
        const SChordPtr played = playedChord(answer.chord, tuning);
        line.pop_back();
        line += ",\"capo\":" + dumped(capoJSON(tuning)) +
                ",\"playedAs\":" + dumped(played ? played->name() : answer.chord->symbol()) +
                ",\"soundsAs\":" + dumped(answer.chord->symbol()) + "}";
    }
    _out << line << "\n";
    _out.flush();
}

void JsonFormatter::writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) {
    nlohmann::ordered_json names = nlohmann::ordered_json::array();
    for (const TARVChordNaming::Name& name : answer.names) {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        object["symbol"] = name.symbol;
        object["kind"] = kindText(name.kind);
        nlohmann::ordered_json omitted = nlohmann::ordered_json::array();
        for (const SNote& note : name.omittedNotes) {
            omitted.push_back(note.string());
        }
        object["omitted"] = std::move(omitted);
        if (tuning.capo() > 0) {
            const SChordPtr sounding = soundingChord(name, tuning);
            object["soundsAs"] = sounding ? sounding->name() : std::string();
        }
        names.push_back(std::move(object));
    }
    std::string line = "{\"notation\":" + dumped(answer.fretText.notation) +
                       ",\"tuning\":" + TARVShapeJSON::tuningJSON(tuning, _instrumentName);
    if (tuning.capo() > 0) {
        line += ",\"capo\":" + dumped(capoJSON(tuning));
    }
    line += ",\"names\":" + dumped(names) +
            ",\"shape\":" + TARVShapeJSON::shapeJSON(answer.shape, 1, tuning) + "}";
    _out << line << "\n";
    _out.flush();
}

void JsonFormatter::writeProgression(const ProgressionAnswer& answer) {
    const SStringedInstrumentTuning& tuning = *answer.tuning;
    nlohmann::ordered_json chords = nlohmann::ordered_json::array();
    for (const SChordPtr& chord : answer.chords) {
        chords.push_back(chord->name());
    }
    std::string line = "{\"progression\":" + dumped(chords) +
                       ",\"tuning\":" + TARVShapeJSON::tuningJSON(tuning, _instrumentName);
    if (tuning.capo() > 0) {
        line += ",\"capo\":" + dumped(capoJSON(tuning));
    }
    if (!answer.capoChoices.empty()) {
        nlohmann::ordered_json choices = nlohmann::ordered_json::array();
        for (const TARVProgression::CapoChoice& choice : answer.capoChoices) {
            nlohmann::ordered_json object = nlohmann::ordered_json::object();
            object["capo"] = choice.capo;
            nlohmann::ordered_json written = nlohmann::ordered_json::array();
            for (const SChordPtr& chord : choice.writtenChords) {
                written.push_back(chord ? chord->name() : std::string());
            }
            object["chords"] = std::move(written);
            object["cost"] = rounded(choice.cost);
            choices.push_back(std::move(object));
        }
        line += ",\"capoChoices\":" + dumped(choices);
    }
    line += ",\"arrangements\":[";
    for (std::size_t k = 0; k < answer.arrangements.size(); ++k) {
        const TARVProgression::Arrangement& arrangement = answer.arrangements[k];
        line += (k > 0 ? ",{\"cost\":" : "{\"cost\":") + dumped(rounded(arrangement.cost)) +
                ",\"chords\":[";
        for (std::size_t i = 0; i < arrangement.shapes.size(); ++i) {
            const SChordPtr played = playedChord(answer.chords[i], tuning);
            line += (i > 0 ? ",{\"chord\":" : "{\"chord\":") +
                    dumped(played ? played->name() : answer.chords[i]->name());
            if (tuning.capo() > 0) {
                line += ",\"soundsAs\":" + dumped(answer.chords[i]->name());
            }
            line += ",\"movement\":" + dumped(rounded(arrangement.movements[i])) +
                    ",\"shape\":" + TARVShapeJSON::shapeJSON(arrangement.shapes[i], 1, tuning) +
                    "}";
        }
        line += "]}";
    }
    line += "]}";
    _out << line << "\n";
    _out.flush();
}

void JsonFormatter::writeNotation(const NotationAnswer& answer,
                                  const SStringedInstrumentTuning* tuning) {
    std::string line = "{\"notation\":" + nlohmann::ordered_json(answer.fretText.notation).dump();
    if (tuning != nullptr) {
        line += ",\"tuning\":" + TARVShapeJSON::tuningJSON(*tuning, _instrumentName);
        if (tuning->capo() > 0) {
            line += ",\"capo\":" + dumped(capoJSON(*tuning));
        }
    }
    line += ",\"shape\":" + TARVShapeJSON::shapeJSON(answer.shape, 1, tuning) + "}";
    _out << line << "\n";
    _out.flush();
}

void writeChordReadingJson(std::ostream& out, const SChord& chord) {
    out << "{\"chord\":" << TARVShapeJSON::chordJSON(chord) << "}\n";
    out.flush();
}

void writeInstrumentJson(std::ostream& out, const StringedInstrumentDescriptor& instrument) {
    nlohmann::ordered_json tunings = nlohmann::ordered_json::array();
    for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
        nlohmann::ordered_json pitches = nlohmann::ordered_json::array();
        for (const PitchDescriptor& note : tuning.notes()) {
            pitches.push_back(note.noteName() + std::to_string(note.octave()));
        }
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        object["name"] = tuning.tuningName();
        object["noteString"] = tuning.noteString();
        object["pitches"] = std::move(pitches);
        object["stringOrderTransform"] =
            tuning.stringOrderTransform() ? nlohmann::ordered_json(*tuning.stringOrderTransform())
                                          : nlohmann::ordered_json(nullptr);
        tunings.push_back(std::move(object));
    }
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["name"] = instrument.name();
    object["frets"] = instrument.frets();
    object["capos"] = instrument.capos();
    object["tunings"] = std::move(tunings);
    writeJsonLine(out, object);
}

} // namespace tarv::tool
