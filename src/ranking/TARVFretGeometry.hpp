#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

namespace tarv::ranking {

/// The lowest fretted fret of per-string frets (-1 muted, 0 open), 0 when nothing is fretted.
inline int lowestFret(std::span<const std::int8_t> frets) noexcept {
    int lowest = 0;
    for (const std::int8_t fret : frets) {
        if (fret > 0 && (lowest == 0 || fret < lowest)) {
            lowest = fret;
        }
    }
    return lowest;
}

inline int highestFret(std::span<const std::int8_t> frets) noexcept {
    int highest = 0;
    for (const std::int8_t fret : frets) {
        highest = std::max<int>(highest, fret);
    }
    return highest;
}

/// Where a shape sits on the neck: shapes within the first four frets count as position 0.
inline int neckPosition(std::span<const std::int8_t> frets) noexcept {
    return highestFret(frets) <= 4 ? 0 : lowestFret(frets);
}

/// Whether `a` is `b` moved along the neck by a whole number of frets other than 0: the same
/// strings muted and every sounding string moved alike, open strings counting as fret 0.
inline bool isTransposition(std::span<const std::int8_t> a,
                            std::span<const std::int8_t> b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    int shift = 0;
    bool shiftKnown = false;
    for (std::size_t s = 0; s < a.size(); ++s) {
        const bool muted = a[s] < 0;
        if (muted != (b[s] < 0)) {
            return false;
        }
        if (muted) {
            continue;
        }
        const int difference = a[s] - b[s];
        if (!shiftKnown) {
            shift = difference;
            shiftKnown = true;
        } else if (difference != shift) {
            return false;
        }
    }
    return shiftKnown && shift != 0;
}

} // namespace tarv::ranking
