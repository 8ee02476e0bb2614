#include "tarv/ranking/TARVPlayableShape.hpp"

#include "TARVFretGeometry.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace tarv {

TARVPlayableShape::Term TARVPlayableShape::Terms::operator[](std::size_t index) const {
    if (index >= _count) {
        throw std::out_of_range("TARVPlayableShape::Terms: no term " + std::to_string(index) +
                                " of " + std::to_string(_count));
    }
    return termAt(_table, _values, index);
}

TARVPlayableShape::TARVPlayableShape(std::vector<std::int8_t> frets, TARVFingering fingering,
                                     const std::vector<Term>& terms)
    : _frets(std::move(frets)), _fingering(std::move(fingering)) {
    if (terms.empty()) {
        return;
    }
    _termTable = std::make_shared<const TermTable>(terms);
    std::vector<double> values;
    values.reserve(terms.size());
    for (const Term& term : terms) {
        values.push_back(term.value);
    }
    setTermValues(values);
}

TARVPlayableShape::TARVPlayableShape(std::vector<std::int8_t> frets, TARVFingering fingering,
                                     TermTablePtr table, std::span<const double> values)
    : _frets(std::move(frets)), _fingering(std::move(fingering)), _termTable(std::move(table)) {
    if (values.size() != (_termTable ? _termTable->size() : 0)) {
        throw std::invalid_argument("TARVPlayableShape: " + std::to_string(values.size()) +
                                    " term values for " +
                                    std::to_string(_termTable ? _termTable->size() : 0) + " terms");
    }
    setTermValues(values);
}

void TARVPlayableShape::setTermValues(std::span<const double> values) {
    if (!_termTable) {
        return;
    }
    const TermTable& table = *_termTable;
    if (values.size() <= kInlineTermValues) {
        std::copy(values.begin(), values.end(), _termValues.begin());
    } else {
        _moreTermValues.assign(values.begin(), values.end());
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        _score += values[i] * table[i].weight;
    }
}

TARVPlayableShape::Terms TARVPlayableShape::terms() const noexcept {
    if (!_termTable) {
        return Terms(nullptr, nullptr, 0);
    }
    const std::size_t count = _termTable->size();
    return Terms(_termTable->data(),
                 count <= kInlineTermValues ? _termValues.data() : _moreTermValues.data(), count);
}

double TARVPlayableShape::termValue(std::string_view name) const noexcept {
    for (const Term term : terms()) {
        if (term.name == name) {
            return term.value;
        }
    }
    return 0;
}

std::string TARVPlayableShape::fretText() const {
    std::string text;
    text.reserve(_frets.size() * 3);
    for (std::size_t i = _frets.size(); i-- > 0;) {
        const int fret = _frets[i];
        if (fret < 0) {
            text += 'x';
        } else {
            if (fret >= 100) {
                text += static_cast<char>('0' + fret / 100);
            }
            if (fret >= 10) {
                text += static_cast<char>('0' + fret / 10 % 10);
            }
            text += static_cast<char>('0' + fret % 10);
        }
        if (i != 0) {
            text += ',';
        }
    }
    return text;
}

std::uint8_t TARVPlayableShape::lowestFret() const noexcept {
    return static_cast<std::uint8_t>(ranking::lowestFret(_frets));
}

std::uint8_t TARVPlayableShape::highestFret() const noexcept {
    return static_cast<std::uint8_t>(ranking::highestFret(_frets));
}

std::uint8_t TARVPlayableShape::baseFret() const noexcept {
    return highestFret() <= 4 ? 0 : lowestFret();
}

TARVChordShapePtr TARVPlayableShape::chordShape() const {
    auto shape = std::make_shared<TARVChordShape>();
    buildChordShape(*shape);
    return shape;
}

void TARVPlayableShape::buildChordShape(TARVChordShape& shape) const {
    // A tuning has at most 256 strings (string numbers are 8-bit).
    constexpr std::size_t kMaximumStrings = 256;
    // The base fret is the lowest fret that sounds; without one, 127.
    const std::size_t count = std::min(_frets.size(), kMaximumStrings);
    std::int8_t baseFret = 127;
    for (std::size_t s = 0; s < count; ++s) {
        if (_frets[s] >= 0 && _frets[s] < baseFret) {
            baseFret = _frets[s];
        }
    }
    // Frets relative to it, wrapping as 8-bit numbers: muted strings stay negative.
    std::array<std::int8_t, kMaximumStrings> relative;
    for (std::size_t s = 0; s < count; ++s) {
        relative[s] = static_cast<std::int8_t>(static_cast<std::uint8_t>(
            static_cast<std::uint8_t>(_frets[s]) - static_cast<std::uint8_t>(baseFret)));
    }
    shape._rebuildFromFretList(std::span<const std::int8_t>(relative.data(), count),
                               static_cast<std::uint8_t>(baseFret));
    shape.setBadness(static_cast<std::uint64_t>(std::llround(std::max(0.0, _score))));
}

bool TARVPlayableShape::isTranspositionOf(const TARVPlayableShape& other) const noexcept {
    return ranking::isTransposition(_frets, other._frets);
}

} // namespace tarv
