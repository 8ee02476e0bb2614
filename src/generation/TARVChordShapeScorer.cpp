#include "tarv/generation/TARVChordShapeScorer.hpp"

#include "tarv/generation/TARVStandardChordShapes.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <algorithm>

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

std::uint64_t TARVChordShapeScorer::scoreForFrets(std::span<const std::int8_t> frets,
                                                  std::uint8_t baseFret,
                                                  std::int64_t stringCount) noexcept {
    const std::uint64_t standard =
        TARVStandardChordShapes::sharedInstance().standardScoreForFrets(frets, baseFret);
    if (standard != 0) {
        return standard;
    }
    return formulaScoreForFrets(frets, baseFret, stringCount);
}

std::uint64_t TARVChordShapeScorer::formulaScoreForFrets(std::span<const std::int8_t> frets,
                                                         std::uint8_t baseFret,
                                                         std::int64_t stringCount) noexcept {
    // The shape's marks, read off the frets: at the nut a string at fret 0 is open; up the neck
    // two or more strings at the base fret become one barre from string 0 when no string below
    // the highest of them is muted. The barre then leads the list.
    const std::size_t count = frets.size();
    // The sounding strings run from the first to the last; every string outside them is muted.
    std::size_t first = 0;
    while (first < count && frets[first] < 0) {
        ++first;
    }
    std::size_t last = count;
    while (last > first && frets[last - 1] < 0) {
        --last;
    }
    int highest = 0;
    int lowest = 255;
    std::size_t innerMuted = 0;
    std::size_t atZero = 0;
    std::size_t highestAtZero = 0;
    std::size_t lowestMuted = first > 0 ? 0 : count;
    for (std::size_t string = first; string < last; ++string) {
        const int fret = frets[string];
        if (fret < 0) {
            lowestMuted = innerMuted == 0 && first == 0 ? string : lowestMuted;
            ++innerMuted;
            continue;
        }
        if (fret == 0) {
            ++atZero;
            highestAtZero = string;
            if (baseFret == 0) {
                continue;
            }
        }
        highest = std::max(highest, fret);
        lowest = std::min(lowest, fret);
    }
    const std::size_t muted = count - (last - first) + innerMuted;
    const std::size_t sounding = count - muted;
    const auto baseString = static_cast<std::uint64_t>(last == first ? 0 : last - 1);
    const auto reach = static_cast<std::uint8_t>(highest + 1 - lowest);
    const auto fromBaseFret = static_cast<std::uint64_t>(baseFret);
    std::uint64_t badness =
        kBaseFretCost * fromBaseFret + kReachCost * reach +
        kUnusedBassStringCost * (static_cast<std::uint64_t>(stringCount) - 1 - baseString) +
        kStartingCost;
    badness += kMutedCost * muted + kInnerMutedCost * innerMuted;
    const bool barre = baseFret != 0 && atZero >= 2 && lowestMuted > highestAtZero;
    if (baseFret == 0) {
        badness += kOpenCost * atZero + kFingerCost * (sounding - atZero);
    } else if (barre) {
        badness += fromBaseFret * fromBaseFret + kBarreCost + kFingerCost * (sounding - atZero);
    } else {
        badness += kFingerCost * sounding;
    }
    if (!barre && count >= 2 && frets[0] < 0 && frets[1] < 0) {
        badness += kMutedFirstStringsCost;
    }
    return badness;
}

} // namespace tarv
