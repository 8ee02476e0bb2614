#pragma once

#include "tarv/music/SNote.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

/// A voicing found by the playable search: frets, fingering and the score it was ranked by.
class TARVPlayableShape {
public:
    /// One named part of the score: the feature's value, its weight, and value * weight.
    struct Term {
        std::string_view name;
        double value = 0;
        double weight = 0;
        double contribution() const noexcept { return value * weight; }
    };

    TARVPlayableShape() = default;
    TARVPlayableShape(std::vector<std::int8_t> frets, TARVFingering fingering,
                      std::vector<Term> terms);

    /// Per string number: -1 muted, 0 open, otherwise the fret relative to the capo.
    const std::vector<std::int8_t>& frets() const noexcept { return _frets; }
    const TARVFingering& fingering() const noexcept { return _fingering; }
    /// Lower is better: the sum of the terms' contributions.
    double score() const noexcept { return _score; }
    const std::vector<Term>& terms() const noexcept { return _terms; }
    /// The value of the term `name`, 0 when there is none.
    double termValue(std::string_view name) const noexcept;

    /// "x,3,2,0,1,0": the frets from the highest string number down to string 0.
    std::string fretText() const;
    /// The lowest fretted fret, 0 when nothing is fretted.
    std::uint8_t lowestFret() const noexcept;
    std::uint8_t highestFret() const noexcept;
    /// The base fret a chord box starts at: 0 when the shape fits the first four frets from
    /// the nut, otherwise its lowest fretted fret.
    std::uint8_t baseFret() const noexcept;
    /// The shape in the library's shape model (indicators relative to `baseFret`), with
    /// `badness` the score rounded to the nearest whole number.
    TARVChordShapePtr chordShape() const;
    /// Makes `shape` what `chordShape` answers, reusing its storage.
    void buildChordShape(TARVChordShape& shape) const;
    /// Whether `other` holds the same fingering moved along the neck by a whole number of
    /// frets (the same strings muted, every sounding string moved alike, open strings counting
    /// as fret 0); a shape is not a transposition of itself.
    bool isTranspositionOf(const TARVPlayableShape& other) const noexcept;

    /// The generator's badness, for a shape that the generator or the cache answered.
    const std::optional<std::uint64_t>& badness() const noexcept { return _badness; }
    void setBadness(std::optional<std::uint64_t> badness) noexcept { _badness = badness; }

    bool operator==(const TARVPlayableShape& other) const noexcept {
        return _frets == other._frets;
    }

private:
    std::vector<std::int8_t> _frets;
    TARVFingering _fingering;
    std::vector<Term> _terms;
    double _score = 0;
    std::optional<std::uint64_t> _badness;
};

} // namespace tarv
