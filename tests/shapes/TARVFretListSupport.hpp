#pragma once

#include "tarv/shapes/TARVChordShape.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarv::test {

/// Visits every list of `strings` frets, each from -1 (muted) to `highestFret`, in turn.
template <typename Visit>
void forEveryFretList(std::size_t strings, std::int8_t highestFret, Visit&& visit) {
    std::vector<std::int8_t> frets(strings, -1);
    while (true) {
        visit(std::span<const std::int8_t>(frets));
        std::size_t string = 0;
        while (string < strings && ++frets[string] > highestFret) {
            frets[string] = -1;
            ++string;
        }
        if (string == strings) {
            return;
        }
    }
}

/// The shape `TARVChordShape::shapeFromIndicatorArray` builds at `baseFret` from one mark per
/// string, string i at `frets[i]`.
inline TARVChordShapePtr shapeFromIndicatorsOf(std::span<const std::int8_t> frets,
                                               std::uint8_t baseFret) {
    std::vector<TARVFretIndicator> indicators;
    for (std::size_t string = 0; string < frets.size(); ++string) {
        indicators.push_back(
            TARVFretIndicator::indicatorAtFret(frets[string], static_cast<std::uint8_t>(string)));
    }
    return TARVChordShape::shapeFromIndicatorArray(indicators, baseFret);
}

} // namespace tarv::test
