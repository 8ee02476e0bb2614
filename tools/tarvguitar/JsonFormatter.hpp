#pragma once

#include "OutputFormatter.hpp"

#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include <nlohmann/json.hpp>

#include <ostream>

namespace tarv::tool {

/// One JSON object per answer, each on its own line.
///
/// `shapes`: {"chord", "tuning", "shapes"}, as `TARVShapeJSON::answerJSON` writes it.
/// `notation`: {"notation", "shape"}, with "tuning" and the shape's "notes" only when the command
/// line names a tuning.
class JsonFormatter final : public OutputFormatter {
public:
    explicit JsonFormatter(std::ostream& out) : _out(out) {}

    void writeChordShapes(const ChordShapesAnswer& answer,
                          const SStringedInstrumentTuning& tuning) override;
    void writeNotation(const NotationAnswer& answer,
                       const SStringedInstrumentTuning* tuning) override;

private:
    std::ostream& _out;
};

/// `chord`: {"chord": ...} on its own line, as `TARVShapeJSON::chordJSON` writes it.
void writeChordReadingJson(std::ostream& out, const SChord& chord);

/// `instruments`: {"name", "frets", "capos", "tunings"} on its own line; each tuning {"name",
/// "noteString", "pitches" (string 0 first, as the file writes them), "stringOrderTransform" (null
/// without one)}.
void writeInstrumentJson(std::ostream& out, const StringedInstrumentDescriptor& instrument);

} // namespace tarv::tool
