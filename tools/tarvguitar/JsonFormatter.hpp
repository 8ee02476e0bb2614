#pragma once

#include "OutputFormatter.hpp"

#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include <nlohmann/json.hpp>

#include <ostream>

namespace tarv::tool {

/// {"symbol", "root", "bass" (null without one), "notes", "characteristicNotes",
/// "numericNoteStringValue"}.
nlohmann::ordered_json chordJson(const SChord& chord);

/// {"name", "noteString", "asciiNoteString", "pitches" (string 0 first), "fretCount", "capo"},
/// preceded by "instrument" when `instrumentName` is not empty.
nlohmann::ordered_json tuningJson(const SStringedInstrumentTuning& tuning,
                                  const std::string& instrumentName = std::string());

/// {"frets", "baseFret", "baseString", "badness", "reach", "fingers", "indicators"} and, when a
/// tuning is given, "notes". `stringCount` is the instrument's.
nlohmann::ordered_json shapeJson(const TARVChordShape& shape, std::uint8_t stringCount,
                                 const SStringedInstrumentTuning* tuning);

/// One JSON object per answer, each on its own line.
///
/// `shapes`: {"chord", "tuning", "shapes"}. `notation`: {"notation", "shape"}, with "tuning" and
/// the shape's "notes" only when the command line names a tuning.
class JsonFormatter final : public OutputFormatter {
public:
    explicit JsonFormatter(std::ostream& out) : _out(out) {}

    void writeChordShapes(const ChordShapesAnswer& answer,
                          const SStringedInstrumentTuning& tuning) override;
    void writeNotation(const NotationAnswer& answer,
                       const SStringedInstrumentTuning* tuning) override;

private:
    void writeLine(const nlohmann::ordered_json& object);

    std::ostream& _out;
};

/// `chord`: {"chord": chordJson} on its own line.
void writeChordReadingJson(std::ostream& out, const SChord& chord);

/// `instruments`: {"name", "frets", "capos", "tunings"} on its own line; each tuning {"name",
/// "noteString", "pitches" (string 0 first, as the file writes them), "stringOrderTransform" (null
/// without one)}.
void writeInstrumentJson(std::ostream& out, const StringedInstrumentDescriptor& instrument);

} // namespace tarv::tool
