#pragma once

#include "tarv/shapes/TARVFretIndicator.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace tarv {

class TARVChordShape;

/// Hand-set scores of well-known six-string shapes, keyed by their indicator lists.
///
/// The shared instance is built once per process, on first use, and is immutable afterwards, so
/// any thread may read it without a lock.
class TARVStandardChordShapes {
public:
    /// `init`: a table loaded from the built-in records.
    TARVStandardChordShapes();

    /// The process-wide table, made on the first call (thread-safe).
    static const TARVStandardChordShapes& sharedInstance();

    /// The stored score of the shape's indicator list plus the shape's base fret, or 0 when the
    /// list is not in the table. One hash probe, no allocation.
    std::uint64_t standardScoreForChordShape(const TARVChordShape& shape) const noexcept;
    /// `standardScoreForChordShape` of the shape `TARVChordShape::shapeFromIndicatorArray` builds
    /// at `baseFret` from one mark per string, string i at `frets[i]` (relative to the base fret,
    /// negative: muted), without building it.
    std::uint64_t standardScoreForFrets(std::span<const std::int8_t> frets,
                                        std::uint8_t baseFret) const noexcept;
    /// The same for six frets packed four bits a string from string 0 (all four set: muted;
    /// bits above the sixth string are ignored).
    std::uint64_t standardScoreForPackedFrets(std::uint32_t packed,
                                              std::uint8_t baseFret) const noexcept;

private:
    using Key = std::vector<TARVFretIndicator>;

    /// Hashes an indicator list by every field of its indicators, class included. Accepts spans so
    /// that lookups need no key object.
    struct KeyHash {
        using is_transparent = void;
        std::size_t operator()(std::span<const TARVFretIndicator> indicators) const noexcept;
    };
    /// Element-wise `isIdenticalTo`: fret, string, end string and class must all agree, so an
    /// open string and a finger at relative fret 0 on that string are different keys.
    struct KeyEqual {
        using is_transparent = void;
        bool operator()(std::span<const TARVFretIndicator> lhs,
                        std::span<const TARVFretIndicator> rhs) const noexcept;
    };
    using Map = std::unordered_map<Key, std::uint64_t, KeyHash, KeyEqual>;

    static Map makeStandardScores();

    /// The same scores keyed by six packed frets and, above them, whether strings at fret 0 are
    /// open. Such a key fixes the indicator list.
    struct FretEntry {
        std::uint32_t key;
        std::uint32_t score;
    };
    static constexpr std::size_t kFretTableSize = 512;
    using FretTable = std::array<FretEntry, kFretTableSize>;
    static FretTable makeFretScores();
    /// Six frets packed as `standardScoreForPackedFrets` takes them, or nothing when there are
    /// not six or one lies beyond fret 14.
    static std::optional<std::uint32_t> packedFrets(std::span<const std::int8_t> frets) noexcept;
    static std::uint32_t fretKey(std::uint32_t packed, std::uint8_t baseFret) noexcept;
    static std::size_t fretSlot(std::uint32_t key) noexcept;

    const Map _standardScores;
    const FretTable _fretScores;
};

} // namespace tarv
