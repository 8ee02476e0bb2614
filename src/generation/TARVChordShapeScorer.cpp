#include "tarv/generation/TARVChordShapeScorer.hpp"

#include "tarv/generation/TARVStandardChordShapes.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

namespace tarv {

namespace {
constexpr std::uint64_t kBaseFretCost = 3;
constexpr std::uint64_t kReachCost = 38;
constexpr std::uint64_t kUnusedBassStringCost = 40;
constexpr std::uint64_t kStartingCost = 20;
constexpr std::uint64_t kMutedCost = 5;
constexpr std::uint64_t kInnerMutedCost = 109;
constexpr std::uint64_t kBarreCost = 3;
constexpr std::uint64_t kOpenCost = 4;
constexpr std::uint64_t kFingerCost = 3;
constexpr std::uint64_t kMutedFirstStringsCost = 109;
} // namespace

std::uint64_t TARVChordShapeScorer::scoreForShape(const TARVChordShape& shape,
                                                  std::int64_t stringCount) {
    const std::uint64_t standard =
        TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(shape);
    if (standard != 0) {
        return standard;
    }
    return formulaScoreForShape(shape, stringCount);
}

std::uint64_t TARVChordShapeScorer::formulaScoreForShape(const TARVChordShape& shape,
                                                         std::int64_t stringCount) noexcept {
    const std::uint64_t baseFret = shape.baseFret();
    std::uint64_t badness =
        kBaseFretCost * baseFret + kReachCost * shape.reach() +
        kUnusedBassStringCost * (static_cast<std::uint64_t>(stringCount) - 1 - shape.baseString()) +
        kStartingCost;

    // The indicators are walked in the order of a stable sort by string. A shape's list is always
    // kept sorted by string (then fret), so that order is the list's own and no copy is needed;
    // several marks on one string keep their list order.
    const std::vector<TARVFretIndicator>& indicators = shape.indicators();
    const std::size_t count = indicators.size();
    std::size_t firstSounding = count;
    std::size_t lastSounding = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!indicators[i].isMuted()) {
            if (firstSounding == count) {
                firstSounding = i;
            }
            lastSounding = i;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        const TARVFretIndicator& indicator = indicators[i];
        if (indicator.isMuted()) {
            badness += kMutedCost;
            // Muted between sounding strings; such a position is never the first or the last.
            if (firstSounding < i && lastSounding > i) {
                badness += kInnerMutedCost;
            }
        } else if (indicator.isBarre()) {
            badness += baseFret * baseFret + kBarreCost;
        } else if (indicator.isOpen()) {
            badness += kOpenCost;
        } else {
            badness += kFingerCost;
        }
    }
    if (count >= 2 && indicators[0].isMuted() && indicators[1].isMuted()) {
        badness += kMutedFirstStringsCost;
    }
    return badness;
}

} // namespace tarv
