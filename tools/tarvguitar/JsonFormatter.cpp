#include "JsonFormatter.hpp"

#include "tarv/diagrams/TARVPlayerJSON.hpp"
#include "tarv/diagrams/TARVShapeJSON.hpp"

namespace tarv::tool {

namespace {

void writeJsonLine(std::ostream& out, const nlohmann::ordered_json& object) {
    // Texts from the command line need not be valid UTF-8; such bytes are replaced, not fatal.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    out.flush();
}

} // namespace

void JsonFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                     const SStringedInstrumentTuning& tuning) {
    _out << *chordShapesText(answer, tuning);
    _out.flush();
}

std::optional<std::string> JsonFormatter::chordShapesText(const ChordShapesAnswer& answer,
                                                          const SStringedInstrumentTuning& tuning) {
    std::string line =
        TARVPlayerJSON::chordShapesJSON(answer.chord, tuning, answer.shapes, _instrumentName);
    line += '\n';
    return line;
}

void JsonFormatter::writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) {
    _out << TARVPlayerJSON::namesJSON(answer.fretText.notation, answer.shape, answer.names, tuning,
                                      _instrumentName)
         << "\n";
    _out.flush();
}

void JsonFormatter::writeProgression(const ProgressionAnswer& answer) {
    _out << TARVPlayerJSON::progressionJSON(answer.chords, *answer.tuning, answer.arrangements,
                                            answer.capoChoices, _instrumentName)
         << "\n";
    _out.flush();
}

void JsonFormatter::writeNotation(const NotationAnswer& answer,
                                  const SStringedInstrumentTuning* tuning) {
    std::string line = "{\"notation\":" + nlohmann::ordered_json(answer.fretText.notation).dump();
    if (tuning != nullptr) {
        line += ",\"tuning\":" + TARVShapeJSON::tuningJSON(*tuning, _instrumentName);
        if (tuning->capo() > 0) {
            line += ",\"capo\":" + TARVPlayerJSON::capoJSON(*tuning);
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
