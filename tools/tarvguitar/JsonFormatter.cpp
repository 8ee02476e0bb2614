#include "JsonFormatter.hpp"

#include "ShapeDiagram.hpp"

namespace tarv::tool {

namespace {

const char* indicatorKind(const TARVFretIndicator& indicator) {
    if (indicator.isBarre()) {
        return "barre";
    }
    if (indicator.isMuted()) {
        return "muted";
    }
    if (indicator.isOpen()) {
        return "open";
    }
    return "fret";
}

void writeJsonLine(std::ostream& out, const nlohmann::ordered_json& object) {
    // Texts from the command line need not be valid UTF-8; such bytes are replaced, not fatal.
    out << object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    out.flush();
}

} // namespace

nlohmann::ordered_json chordJson(const SChord& chord) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["symbol"] = chord.symbol();
    object["root"] = chord.root().string();
    object["bass"] =
        chord.addedBase() ? nlohmann::ordered_json(chord.addedBase()->string()) : nullptr;
    object["notes"] = noteTexts(chord.notes());
    object["characteristicNotes"] = noteTexts(chord.characteristicNotes());
    object["numericNoteStringValue"] = chord.numericNoteStringValue();
    return object;
}

nlohmann::ordered_json tuningJson(const SStringedInstrumentTuning& tuning,
                                  const std::string& instrumentName) {
    nlohmann::ordered_json pitches = nlohmann::ordered_json::array();
    for (const SPitch& pitch : tuning.stringPitches()) {
        pitches.push_back(pitch.string());
    }
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    if (!instrumentName.empty()) {
        object["instrument"] = instrumentName;
    }
    object["name"] = tuning.name() ? *tuning.name() : std::string();
    object["noteString"] = tuning.noteString();
    object["asciiNoteString"] = tuning.asciiNoteString();
    object["pitches"] = std::move(pitches);
    object["fretCount"] = tuning.fretCount();
    object["capo"] = tuning.capo();
    return object;
}

nlohmann::ordered_json shapeJson(const TARVChordShape& shape, std::uint8_t stringCount,
                                 const SStringedInstrumentTuning* tuning) {
    nlohmann::ordered_json indicators = nlohmann::ordered_json::array();
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        nlohmann::ordered_json entry = nlohmann::ordered_json::object();
        entry["kind"] = indicatorKind(indicator);
        entry["string"] = indicator.string();
        entry["fret"] = indicator.fret();
        if (indicator.isBarre()) {
            entry["endString"] = indicator.endString();
        }
        indicators.push_back(std::move(entry));
    }
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["frets"] = fretTextForShape(shape, stringCount);
    object["baseFret"] = shape.baseFret();
    object["baseString"] = shape.baseString();
    object["badness"] = shape.badness();
    object["reach"] = shape.reach();
    object["fingers"] = shape._fingersRequiredToPlayWithStringCount(stringCount);
    object["indicators"] = std::move(indicators);
    if (tuning != nullptr) {
        object["notes"] = noteTexts(shape.notesInTuning(*tuning));
    }
    return object;
}

void JsonFormatter::writeLine(const nlohmann::ordered_json& object) {
    writeJsonLine(_out, object);
}

void JsonFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                     const SStringedInstrumentTuning& tuning) {
    nlohmann::ordered_json shapes = nlohmann::ordered_json::array();
    for (const TARVChordShapePtr& shape : answer.shapes) {
        shapes.push_back(shapeJson(*shape, tuning.stringCount(), &tuning));
    }
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["chord"] = chordJson(*answer.chord);
    object["tuning"] = tuningJson(tuning, _instrumentName);
    object["shapes"] = std::move(shapes);
    writeLine(object);
}

void JsonFormatter::writeNotation(const NotationAnswer& answer,
                                  const SStringedInstrumentTuning* tuning) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    object["notation"] = answer.fretText.notation;
    if (tuning != nullptr) {
        object["tuning"] = tuningJson(*tuning, _instrumentName);
    }
    object["shape"] = shapeJson(*answer.shape, answer.fretText.stringCount, tuning);
    writeLine(object);
}

void writeChordReadingJson(std::ostream& out, const SChord& chord) {
    writeJsonLine(out, nlohmann::ordered_json{{"chord", chordJson(chord)}});
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
