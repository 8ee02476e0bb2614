#pragma once

#include "tarv/music/SNote.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
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

    /// The names and weights of a score's terms (their values unused), shared by the shapes
    /// that one set of weights scores.
    using TermTable = std::vector<Term>;
    using TermTablePtr = std::shared_ptr<const TermTable>;

    /// The terms of one shape's score, read in place: each `Term` is made as it is read. The
    /// view and its iterators last as long as the shape.
    class Terms {
    public:
        class Iterator {
        public:
            using iterator_category = std::random_access_iterator_tag;
            using value_type = Term;
            using difference_type = std::ptrdiff_t;
            using pointer = void;
            using reference = Term;

            Iterator() = default;
            Term operator*() const noexcept { return termAt(_table, _values, _index); }
            Term operator[](difference_type offset) const noexcept {
                return termAt(
                    _table, _values,
                    static_cast<std::size_t>(static_cast<difference_type>(_index) + offset));
            }
            Iterator& operator++() noexcept { return *this += 1; }
            Iterator operator++(int) noexcept {
                Iterator before = *this;
                ++*this;
                return before;
            }
            Iterator& operator--() noexcept { return *this -= 1; }
            Iterator operator--(int) noexcept {
                Iterator before = *this;
                --*this;
                return before;
            }
            Iterator& operator+=(difference_type offset) noexcept {
                _index = static_cast<std::size_t>(static_cast<difference_type>(_index) + offset);
                return *this;
            }
            Iterator& operator-=(difference_type offset) noexcept { return *this += -offset; }
            friend Iterator operator+(Iterator it, difference_type offset) noexcept {
                return it += offset;
            }
            friend Iterator operator+(difference_type offset, Iterator it) noexcept {
                return it += offset;
            }
            friend Iterator operator-(Iterator it, difference_type offset) noexcept {
                return it -= offset;
            }
            friend difference_type operator-(const Iterator& a, const Iterator& b) noexcept {
                return static_cast<difference_type>(a._index) -
                       static_cast<difference_type>(b._index);
            }
            friend bool operator==(const Iterator& a, const Iterator& b) noexcept {
                return a._index == b._index;
            }
            friend auto operator<=>(const Iterator& a, const Iterator& b) noexcept {
                return a._index <=> b._index;
            }

        private:
            friend class Terms;
            Iterator(const Term* table, const double* values, std::size_t index)
                : _table(table), _values(values), _index(index) {}
            const Term* _table = nullptr;
            const double* _values = nullptr;
            std::size_t _index = 0;
        };

        std::size_t size() const noexcept { return _count; }
        bool empty() const noexcept { return _count == 0; }
        /// Throws std::out_of_range from `size()` on.
        Term operator[](std::size_t index) const;
        Iterator begin() const noexcept { return Iterator(_table, _values, 0); }
        Iterator end() const noexcept { return Iterator(_table, _values, _count); }

    private:
        friend class TARVPlayableShape;
        Terms(const Term* table, const double* values, std::size_t count)
            : _table(table), _values(values), _count(count) {}
        static Term termAt(const Term* table, const double* values, std::size_t index) noexcept {
            return {table[index].name, values[index], table[index].weight};
        }
        const Term* _table = nullptr;
        const double* _values = nullptr;
        std::size_t _count = 0;
    };

    TARVPlayableShape() = default;
    TARVPlayableShape(std::vector<std::int8_t> frets, TARVFingering fingering,
                      const std::vector<Term>& terms);
    /// A shape whose terms are named and weighted by `table`, with `values` in its order. Throws
    /// std::invalid_argument when the counts differ.
    TARVPlayableShape(std::vector<std::int8_t> frets, TARVFingering fingering, TermTablePtr table,
                      std::span<const double> values);

    /// Per string number: -1 muted, 0 open, otherwise the fret relative to the capo.
    const std::vector<std::int8_t>& frets() const noexcept { return _frets; }
    const TARVFingering& fingering() const noexcept { return _fingering; }
    /// Lower is better: the sum of the terms' contributions.
    double score() const noexcept { return _score; }
    Terms terms() const noexcept;
    /// The names and weights the terms are read with; null when the shape has no score.
    const TermTablePtr& termTable() const noexcept { return _termTable; }
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
    /// Values of up to this many terms are kept in the shape itself.
    static constexpr std::size_t kInlineTermValues = 27;

    void setTermValues(std::span<const double> values);

    TermTablePtr _termTable;
    std::array<double, kInlineTermValues> _termValues{};
    std::vector<double> _moreTermValues;
    double _score = 0;
    std::optional<std::uint64_t> _badness;
};

} // namespace tarv
