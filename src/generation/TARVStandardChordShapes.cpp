#include "tarv/generation/TARVStandardChordShapes.hpp"

#include "tarv/shapes/TARVChordShape.hpp"

#include <algorithm>
#include <array>

namespace tarv {

namespace {

/// One hand-scored shape: frets of strings 0 to 5 (-1 muted, 0 open at the nut), whether it is
/// also registered up the neck, and its score at the nut.
struct StandardShapeRecord {
    std::uint8_t stringCount; // always 6; not consulted
    std::array<std::int8_t, 6> frets;
    bool movable;
    std::uint64_t score;
};

// Frets are listed from string 0 (the highest-sounding string) to string 5, so row 1 is the open
// D major shape xx0232 written backwards.
// clang-format off
constexpr std::array<StandardShapeRecord, 142> kStandardShapeRecords{{
    // 1-10
    {6, {2, 3, 2, 0, -1, -1}, true, 5},
    {6, {1, 3, 2, 0, -1, -1}, true, 5},
    {6, {0, 2, 2, 2, 0, -1}, true, 3},
    {6, {0, 1, 2, 2, 0, -1}, true, 3},
    {6, {0, 0, 0, 2, 2, 0}, true, 4},
    {6, {3, 0, 0, 2, 2, 0}, true, 9},
    {6, {-1, 3, 0, 0, 1, 3}, true, 9},
    {6, {0, 0, 1, 2, 2, 0}, true, 4},
    {6, {-1, -1, -1, 2, 2, 0}, true, 2},
    {6, {-1, -1, -1, -1, 2, 0}, true, 2},
    // 11-20
    {6, {-1, -1, 2, 2, 0, -1}, true, 2},
    {6, {-1, -1, -1, 2, 0, -1}, true, 2},
    {6, {-1, 3, 2, 0, -1, -1}, true, 3},
    {6, {-1, -1, 2, 0, -1, -1}, true, 3},
    {6, {-1, -1, -1, -1, 0, 0}, true, 1},
    {6, {-1, -1, -1, 0, 0, 0}, true, 1},
    {6, {0, 0, 2, 2, 2, 0}, true, 1},
    {6, {0, 3, 2, 2, 0, -1}, true, 1},
    {6, {3, 3, 2, 0, -1, -1}, true, 1},
    {6, {0, 0, 1, 3, -1, -1}, true, 1},
    // 21-30
    {6, {-1, 3, 3, 0, 1, -1}, true, 1},
    {6, {0, 2, 2, 0, 0, -1}, true, 1},
    {6, {0, 2, 3, 0, -1, -1}, true, 1},
    {6, {-1, 1, 0, 0, 3, -1}, true, 1},
    {6, {-1, 0, 1, 1, -1, 0}, true, 1},
    {6, {0, 2, 1, 2, 0, -1}, true, 1},
    {6, {2, 2, 2, 0, -1, -1}, true, 1},
    {6, {2, 2, 0, 1, -1, -1}, true, 1},
    {6, {0, 0, 0, 2, 3, -1}, true, 1},
    {6, {0, 2, 0, 2, 0, -1}, true, 1},
    // 31-40
    {6, {3, 2, 2, 2, 0, -1}, true, 1},
    {6, {0, 0, 1, 1, 2, 0}, true, 1},
    {6, {-1, -1, 2, 2, 0, 1}, true, 1},
    {6, {0, 1, 2, 3, -1, -1}, true, 1},
    {6, {-1, 0, 0, 4, 2, 3}, true, 15},
    {6, {-1, 0, 1, 0, -1, 0}, true, 9},
    {6, {0, 2, 0, 2, 0, -1}, true, 1},
    {6, {2, 1, 2, 0, -1, -1}, true, 1},
    {6, {-1, 0, 2, 1, 2, -1}, true, 1},
    {6, {1, 0, 0, 0, 2, 3}, true, 1},
    // 41-50
    {6, {0, 0, 1, 0, 2, 0}, true, 1},
    {6, {-1, -1, 3, 2, 1, 2}, true, 1},
    {6, {0, 3, 1, 2, -1, -1}, true, 1},
    {6, {0, 0, 0, 0, 2, 0}, true, 1},
    {6, {0, 1, 0, 2, 0, -1}, true, 1},
    {6, {1, 1, 2, 0, -1, -1}, true, 1},
    {6, {2, 0, 2, 0, 2, -1}, true, 1},
    {6, {-1, 0, 1, 1, -1, 1}, true, 9},
    {6, {-1, 1, 0, 1, 0, -1}, true, 1},
    {6, {1, 1, 1, 0, -1, -1}, true, 1},
    // 51-60
    {6, {1, 0, 2, 0, -1, -1}, true, 1},
    {6, {-1, 2, 0, 3, 1, -1}, true, 1},
    {6, {-1, 0, 1, 0, -1, 1}, true, 9},
    {6, {-1, 2, 0, 2, 1, -1}, true, 1},
    {6, {1, 0, 1, 0, -1, -1}, true, 1},
    {6, {-1, 1, 2, 0, -1, 1}, true, 9},
    {6, {2, 2, 2, 2, 0, -1}, true, 1},
    {6, {2, 0, 2, 0, -1, -1}, true, 1},
    {6, {-1, 0, 1, 1, 2, -1}, true, 1},
    {6, {0, 0, 0, 0, 2, 3}, true, 1},
    // 61-70
    {6, {-1, 1, 1, 0, -1, 1}, true, 9},
    {6, {1, 2, 0, -1, 1, -1}, true, 1},
    {6, {-1, 0, 1, 0, 2, -1}, true, 1},
    {6, {1, 0, 2, 0, -1, -1}, true, 1},
    {6, {-1, 3, 0, 2, 1, -1}, true, 1},
    {6, {1, 1, 0, 0, 2, 3}, true, 1},
    {6, {0, 0, 2, 1, 2, -1}, true, 3},
    {6, {-1, -1, 3, 1, 0, 1}, true, 5},
    {6, {0, 0, 0, 3, 2, 3}, true, 3},
    {6, {3, 3, 3, 1, 0, 1}, true, 5},
    // 71-80
    {6, {3, 3, 0, 1, 0, 1}, true, 7},
    {6, {0, 1, 0, 2, 3, -1}, false, 1},
    {6, {3, 1, 0, 2, 3, -1}, false, 9},
    {6, {-1, 1, 2, 3, 0, 1}, false, 9},
    {6, {3, 0, 0, 0, 2, 3}, false, 1},
    {6, {3, 3, 0, 0, 2, 3}, false, 5},
    {6, {3, 1, 0, 1, 3, -1}, false, 18},
    {6, {1, 3, 2, 0, -1, -1}, false, 1},
    {6, {-1, 3, 3, 0, 1, 3}, false, 18},
    {6, {2, 3, 2, 0, 0, 2}, false, 1},
    // 81-90
    {6, {1, 3, 2, 0, 3, -1}, false, 1},
    {6, {3, 2, 0, 2, 0, -1}, false, 1},
    {6, {1, 3, 1, 0, 1, -1}, false, 1},
    {6, {1, 3, 2, 0, 1, -1}, false, 1},
    {6, {2, 0, 2, 1, 2, -1}, false, 1},
    {6, {2, 0, 3, 1, 2, -1}, false, 1},
    {6, {0, 1, 3, 2, 3, -1}, false, 1},
    {6, {2, 1, 2, 0, -1, -1}, false, 1},
    {6, {3, 2, 0, 1, -1, -1}, false, 1},
    {6, {3, 3, 0, 1, -1, -1}, false, 1},
    // 91-100
    {6, {0, 3, 1, 0, 2, 0}, false, 1},
    {6, {0, 3, 1, 2, 2, 0}, false, 1},
    {6, {-1, 1, 2, 1, 0, 1}, false, 1},
    {6, {0, 1, 2, 2, 0, 1}, false, 1},
    {6, {0, 1, 2, 3, 0, 1}, false, 1},
    {6, {1, 0, 0, 0, 2, 3}, false, 1},
    {6, {3, 0, 0, 3, 2, 3}, false, 1},
    {6, {-1, 3, 0, 3, 2, 3}, false, 1},
    {6, {2, 3, 0, 0, 2, 3}, false, 1},
    {6, {1, 1, 1, 0, 1, -1}, false, 1},
    // 101-110
    {6, {0, 3, 3, 2, 3, -1}, false, 1},
    {6, {2, 0, 1, 0, 2, 0}, false, 1},
    {6, {2, 3, 1, 0, 2, 0}, false, 1},
    {6, {1, 1, 0, 1, 0, 1}, false, 1},
    {6, {3, 1, 0, 1, 0, 1}, false, 1},
    {6, {1, 0, 2, 0, 2, 3}, false, 1},
    {6, {-1, 0, 2, 3, 2, 3}, false, 1},
    {6, {1, 1, 2, 0, 1, -1}, false, 1},
    {6, {1, 3, 0, 1, -1, -1}, false, 1},
    {6, {2, 0, 1, 1, 2, 0}, false, 1},
    // 111-120
    {6, {1, 1, 0, 3, 0, 1}, false, 9},
    {6, {3, 1, 0, 3, 0, 1}, false, 9},
    {6, {2, 0, 2, 0, 2, 3}, false, 9},
    {6, {-1, 1, 3, 1, 0, 1}, false, 1},
    {6, {0, 0, 1, 2, 1, 2}, false, 3},
    {6, {0, 0, 3, 2, 1, 2}, false, 5},
    {6, {1, 1, 0, 3, 2, 3}, false, 3},
    {6, {1, 1, 2, 0, 2, 3}, false, 3},
    {6, {2, 2, 0, 2, 0, -1}, false, 1},
    {6, {3, 3, 1, 0, 1, -1}, false, 1},
    // 121-130
    {6, {3, 1, 1, 0, 1, -1}, false, 1},
    {6, {0, 2, 1, 0, 2, 0}, false, 1},
    {6, {2, 2, 1, 0, 2, 0}, false, 1},
    {6, {3, 3, 2, 1, 0, 1}, false, 9},
    {6, {0, 0, 0, 3, 2, 3}, false, 1},
    {6, {0, 3, 0, 3, 2, 3}, false, 1},
    {6, {0, 0, 2, 3, 2, 3}, false, 1},
    {6, {0, 1, 0, 3, 2, 3}, false, 1},
    {6, {0, 2, 0, 3, 2, 3}, false, 1},
    {6, {-1, -1, 0, 0, 1, 3}, false, 99},
    // 131-140
    {6, {0, 0, 0, 0, 2, 0}, true, 1},
    {6, {0, 0, 2, 0, 2, 0}, true, 1},
    {6, {-1, 1, 1, 0, 1, -1}, true, 1},
    {6, {-1, 2, 1, 0, 1, -1}, true, 1},
    {6, {-1, 3, 0, 0, 2, 3}, true, 9},
    {6, {0, 1, 0, 2, 3, -1}, true, 9},
    {6, {-1, 1, 0, 1, 0, 1}, true, 1},
    {6, {1, 2, 0, 1, -1, -1}, true, 1},
    {6, {2, 4, 1, 2, -1, -1}, true, 2},
    {6, {-1, 1, 2, 0, 1, -1}, true, 2},
    // 141-142
    {6, {0, 1, 0, 2, 0, 1}, true, 5},
    {6, {0, 1, 0, 3, 0, 1}, true, 9},
}};
// clang-format on

/// The base fret at which movable records are registered a second time.
constexpr std::uint8_t kMovableBaseFret = 2;
/// Added to a movable record's score for its entry up the neck.
constexpr std::uint64_t kMovablePenalty = 3;

constexpr std::size_t kTableStringCount = 6;
constexpr std::int8_t kMutedNibble = 0xF;
constexpr std::uint32_t kOpenKeyBit = 1U << 24;
constexpr std::uint32_t kPackedMask = kOpenKeyBit - 1;
constexpr std::uint32_t kFreeFretKey = ~std::uint32_t{0};

} // namespace

std::size_t TARVStandardChordShapes::KeyHash::operator()(
    std::span<const TARVFretIndicator> indicators) const noexcept {
    std::uint64_t h = 0xCBF29CE484222325ULL ^ indicators.size();
    for (const TARVFretIndicator& indicator : indicators) {
        const std::uint64_t word =
            static_cast<std::uint64_t>(static_cast<std::uint8_t>(indicator.fret())) |
            static_cast<std::uint64_t>(indicator.string()) << 8 |
            static_cast<std::uint64_t>(indicator.endString()) << 16 |
            static_cast<std::uint64_t>(indicator.indicatorClass()) << 24;
        h = (h ^ word) * 0x100000001B3ULL;
        h ^= h >> 29;
    }
    return static_cast<std::size_t>(h);
}

bool TARVStandardChordShapes::KeyEqual::operator()(
    std::span<const TARVFretIndicator> lhs, std::span<const TARVFretIndicator> rhs) const noexcept {
    return std::equal(
        lhs.begin(), lhs.end(), rhs.begin(), rhs.end(),
        [](const TARVFretIndicator& a, const TARVFretIndicator& b) { return a.isIdenticalTo(b); });
}

TARVStandardChordShapes::Map TARVStandardChordShapes::makeStandardScores() {
    Map scores;
    scores.reserve(2 * kStandardShapeRecords.size());
    std::array<TARVFretIndicator, 6> indicators;
    for (const StandardShapeRecord& record : kStandardShapeRecords) {
        for (std::uint8_t string = 0; string < indicators.size(); ++string) {
            indicators[string] = TARVFretIndicator::indicatorAtFret(record.frets[string], string);
        }
        // A later record replaces an earlier one with an equal list, and a movable record whose
        // list is the same at both base frets keeps its up-the-neck score.
        const TARVChordShapePtr open = TARVChordShape::shapeFromIndicatorArray(indicators, 0);
        scores.insert_or_assign(open->indicators(), record.score);
        if (record.movable) {
            const TARVChordShapePtr movable =
                TARVChordShape::shapeFromIndicatorArray(indicators, kMovableBaseFret);
            scores.insert_or_assign(movable->indicators(), record.score + kMovablePenalty);
        }
    }
    return scores;
}

std::optional<std::uint32_t>
TARVStandardChordShapes::packedFrets(std::span<const std::int8_t> frets) noexcept {
    if (frets.size() != kTableStringCount) {
        return std::nullopt;
    }
    std::uint32_t packed = 0;
    for (std::size_t string = 0; string < kTableStringCount; ++string) {
        const std::int8_t fret = frets[string];
        if (fret >= kMutedNibble) {
            return std::nullopt;
        }
        packed |= static_cast<std::uint32_t>(fret < 0 ? kMutedNibble : fret) << (4 * string);
    }
    return packed;
}

std::uint32_t TARVStandardChordShapes::fretKey(std::uint32_t packed,
                                               std::uint8_t baseFret) noexcept {
    // Without a string at fret 0 the list is the same at every base fret.
    const std::uint32_t zeroNibbles = (packed - 0x111111U) & ~packed & 0x888888U;
    return zeroNibbles != 0 && baseFret == 0 ? packed | kOpenKeyBit : packed;
}

std::size_t TARVStandardChordShapes::fretSlot(std::uint32_t key) noexcept {
    return static_cast<std::size_t>((key * 0x9E3779B1U) >> 23) & (kFretTableSize - 1);
}

TARVStandardChordShapes::FretTable TARVStandardChordShapes::makeFretScores() {
    FretTable table;
    table.fill(FretEntry{kFreeFretKey, 0});
    const auto put = [&table](std::span<const std::int8_t> frets, std::uint8_t baseFret,
                              std::uint64_t score) {
        const std::uint32_t key = fretKey(*packedFrets(frets), baseFret);
        std::size_t slot = fretSlot(key);
        while (table[slot].key != kFreeFretKey && table[slot].key != key) {
            slot = (slot + 1) & (kFretTableSize - 1);
        }
        table[slot] = FretEntry{key, static_cast<std::uint32_t>(score)};
    };
    for (const StandardShapeRecord& record : kStandardShapeRecords) {
        put(record.frets, 0, record.score);
        if (record.movable) {
            put(record.frets, kMovableBaseFret, record.score + kMovablePenalty);
        }
    }
    return table;
}

TARVStandardChordShapes::TARVStandardChordShapes()
    : _standardScores(makeStandardScores()), _fretScores(makeFretScores()) {}

const TARVStandardChordShapes& TARVStandardChordShapes::sharedInstance() {
    static const TARVStandardChordShapes instance;
    return instance;
}

std::uint64_t
TARVStandardChordShapes::standardScoreForChordShape(const TARVChordShape& shape) const noexcept {
    const auto found = _standardScores.find(std::span<const TARVFretIndicator>(shape.indicators()));
    if (found == _standardScores.end()) {
        return 0;
    }
    return found->second + shape.baseFret();
}

std::uint64_t TARVStandardChordShapes::standardScoreForFrets(std::span<const std::int8_t> frets,
                                                             std::uint8_t baseFret) const noexcept {
    const std::optional<std::uint32_t> packed = packedFrets(frets);
    return packed ? standardScoreForPackedFrets(*packed, baseFret) : 0;
}

std::uint64_t
TARVStandardChordShapes::standardScoreForPackedFrets(std::uint32_t packed,
                                                     std::uint8_t baseFret) const noexcept {
    const std::uint32_t key = fretKey(packed & kPackedMask, baseFret);
    for (std::size_t slot = fretSlot(key); _fretScores[slot].key != kFreeFretKey;
         slot = (slot + 1) & (kFretTableSize - 1)) {
        if (_fretScores[slot].key == key) {
            return _fretScores[slot].score + std::uint64_t{baseFret};
        }
    }
    return 0;
}

} // namespace tarv
