#pragma once

#include "tarv/shapes/TARVFretIndicator.hpp"

#include <cstddef>
#include <cstdint>
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

    const Map _standardScores;
};

} // namespace tarv
