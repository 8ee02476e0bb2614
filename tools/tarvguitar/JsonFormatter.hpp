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
/// `name`: {"notation", "tuning", "names", "shape"}; each name {"symbol", "kind", "omitted"}.
/// `progression`: {"progression", "tuning", "arrangements"}, and "capoChoices" with --capo auto.
///
/// With a capo, every object also holds "capo": {"fret", "convention"}: frets count from the
/// capo and chord names read relative to it, as chord sheets write them, while "soundsAs" names
/// the chord that sounds.
class JsonFormatter final : public OutputFormatter {
public:
    explicit JsonFormatter(std::ostream& out) : _out(out) {}

    void writeChordShapes(const ChordShapesAnswer& answer,
                          const SStringedInstrumentTuning& tuning) override;
    std::optional<std::string> chordShapesText(const ChordShapesAnswer& answer,
                                               const SStringedInstrumentTuning& tuning) override;
    void writeNotation(const NotationAnswer& answer,
                       const SStringedInstrumentTuning* tuning) override;
    void writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) override;
    void writeProgression(const ProgressionAnswer& answer) override;

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
