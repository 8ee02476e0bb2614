#pragma once

#include <cstdint>
#include <span>

namespace tarv {

class TARVChordShape;

/// The badness of a chord shape: lower is better. Shapes of the standard table take their
/// hand-set score; every other shape is scored by a formula over its base fret, reach, bass string
/// and indicators.
class TARVChordShapeScorer {
public:
    /// The badness of `shape` on an instrument with `stringCount` strings (unsigned 64-bit
    /// arithmetic throughout). Does not store it: callers set it with `setBadness`. Allocates
    /// nothing.
    static std::uint64_t scoreForShape(const TARVChordShape& shape, std::int64_t stringCount);
    /// The badness by the formula alone, without looking the shape up in the standard table: the
    /// score of every shape that is not a standard one.
    static std::uint64_t formulaScoreForShape(const TARVChordShape& shape,
                                              std::int64_t stringCount) noexcept;

    /// `scoreForShape` of the shape `TARVChordShape::shapeFromIndicatorArray` builds at `baseFret`
    /// from one mark per string, string i at `frets[i]` (relative to the base fret, negative:
    /// muted), worked out from the frets without building the shape. Allocates nothing.
    static std::uint64_t scoreForFrets(std::span<const std::int8_t> frets, std::uint8_t baseFret,
                                       std::int64_t stringCount) noexcept;
    /// `formulaScoreForShape` of that shape.
    static std::uint64_t formulaScoreForFrets(std::span<const std::int8_t> frets,
                                              std::uint8_t baseFret,
                                              std::int64_t stringCount) noexcept;
};

} // namespace tarv
