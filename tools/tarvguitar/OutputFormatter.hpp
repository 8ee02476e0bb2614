#pragma once

#include "InputReading.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarv::tool {

/// The answer for one chord of the `shapes` command.
struct ChordShapesAnswer {
    std::shared_ptr<const SChord> chord;
    /// The shapes to show, best first (at most the `--limit`).
    std::vector<TARVPlayableShape> shapes;
    /// How many shapes generation answered, before the limit.
    std::size_t generatedCount = 0;
};

/// The answer of the `notation` command.
struct NotationAnswer {
    FretText fretText;
    /// The shape with its fingering; it has no score, since no chord is named.
    TARVPlayableShape shape;
};

/// Writes the answers of the `shapes` and `notation` commands in one output format. `begin` is
/// called before the first answer and `end` after the last, so that a format can wrap every
/// answer of one call in a single document.
class OutputFormatter {
public:
    OutputFormatter() = default;
    OutputFormatter(const OutputFormatter&) = delete;
    OutputFormatter& operator=(const OutputFormatter&) = delete;
    virtual ~OutputFormatter() = default;

    /// The instrument the tuning belongs to, when the command line names one; shown beside the
    /// tuning.
    void setInstrumentName(std::string name) { _instrumentName = std::move(name); }
    /// Show each shape's score terms.
    void setExplain(bool explain) { _explain = explain; }

    virtual void begin() {}
    virtual void writeChordShapes(const ChordShapesAnswer& answer,
                                  const SStringedInstrumentTuning& tuning) = 0;
    /// `tuning` is null when the command line names none; the sounding notes are then left out.
    virtual void writeNotation(const NotationAnswer& answer,
                               const SStringedInstrumentTuning* tuning) = 0;
    virtual void end() {}

protected:
    /// Empty when no instrument is named.
    std::string _instrumentName;
    bool _explain = false;
};

/// "rank 1, score 0.49", with the generator's badness when it has one.
std::string rankSummary(const TARVPlayableShape& shape, std::size_t rank);
/// Each term of the shape's score: "reach 1.2 × 0.3 = 0.36", the largest contributions first.
std::vector<std::string> termLines(const TARVPlayableShape& shape);

/// The texts of `notes`, in their order.
std::vector<std::string> noteTexts(const std::vector<SNote>& notes);

/// "Standard tuning (EADGBE, 22 frets)", with ", capo 2" when there is a capo, and preceded by
/// "Ukulele, " when `instrumentName` is not empty.
std::string tuningSummary(const SStringedInstrumentTuning& tuning,
                          const std::string& instrumentName = std::string());

} // namespace tarv::tool
