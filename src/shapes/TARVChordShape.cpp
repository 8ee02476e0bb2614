#include "tarv/shapes/TARVChordShape.hpp"

#include "tarv/music/TARVHasher.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVGeneralLog.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace tarv {

namespace {

bool isOpenOrMuted(const TARVFretIndicator& indicator) noexcept {
    return indicator.isKindOfClass(TARVIndicatorClass::Open) ||
           indicator.isKindOfClass(TARVIndicatorClass::Muted);
}

constexpr std::size_t kMaximumStrings = 256;

bool indicatorOrder(const TARVFretIndicator& a, const TARVFretIndicator& b) noexcept {
    return a.compare(b) < 0;
}

} // namespace

TARVChordShapePtr
TARVChordShape::shapeFromIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                        std::uint8_t fret) {
    auto shape = std::make_shared<TARVChordShape>();
    shape->_indicators.reserve(indicators.size() + 1);
    shape->_rebuildFromIndicatorArray(indicators, fret);
    return shape;
}

TARVChordShapePtr TARVChordShape::shapeFromFretList(std::span<const std::int8_t> frets,
                                                    std::uint8_t fret) {
    auto shape = std::make_shared<TARVChordShape>();
    shape->_rebuildFromFretList(frets, fret);
    return shape;
}

void TARVChordShape::_rebuildFromFretList(std::span<const std::int8_t> frets, std::uint8_t fret) {
    if (frets.size() > kMaximumStrings) {
        // String numbers wrap past 255, and the list is then sorted as built from indicators.
        std::vector<TARVFretIndicator> indicators;
        indicators.reserve(frets.size());
        for (std::size_t string = 0; string < frets.size(); ++string) {
            indicators.push_back(TARVFretIndicator::indicatorAtFret(
                frets[string], static_cast<std::uint8_t>(string)));
        }
        _rebuildFromIndicatorArray(indicators, fret);
        return;
    }
    _indicators.clear();
    _indicators.reserve(frets.size() + 1);
    _reach = 0;
    _badness = 0;
    _baseFret = fret;
    _baseString = 0;
    for (std::size_t index = 0; index < frets.size(); ++index) {
        const std::int8_t markFret = frets[index];
        const auto string = static_cast<std::uint8_t>(index);
        if (markFret < 0) {
            _indicators.push_back(TARVMutedFretIndicator::indicatorOnString(string));
            continue;
        }
        _baseString = string;
        _indicators.push_back(markFret == 0 && fret == 0
                                  ? TARVOpenFretIndicator::indicatorOnString(string)
                                  : TARVFretIndicator::indicatorAtFret(markFret, string));
    }
    addBarresAsNecessary();
}

void TARVChordShape::_rebuildFromIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                                std::uint8_t fret) {
    _indicators.clear();
    _reach = 0;
    _badness = 0;
    _baseFret = fret;
    _baseString = 0;
    // The same marks addIndicatorForFret would add, placed by an insertion sort that puts each
    // mark after its equals, as the sorted insertion does.
    for (const TARVFretIndicator& indicator : indicators) {
        const std::int8_t markFret = indicator.fret();
        const std::uint8_t string = indicator.string();
        if (markFret >= 0 && string > _baseString) {
            _baseString = string;
        }
        TARVFretIndicator mark = markFret < 0 ? TARVMutedFretIndicator::indicatorOnString(string)
                                 : markFret == 0 && fret == 0
                                     ? TARVOpenFretIndicator::indicatorOnString(string)
                                     : TARVFretIndicator::indicatorAtFret(markFret, string);
        std::size_t position = _indicators.size();
        _indicators.push_back(mark);
        while (position > 0 && mark.compare(_indicators[position - 1]) < 0) {
            _indicators[position] = _indicators[position - 1];
            --position;
        }
        _indicators[position] = mark;
    }
    addBarresAsNecessary();
}

void TARVChordShape::addIndicatorForFret(std::int8_t fret, std::uint8_t onString) {
    if (fret < 0) {
        addMutedIndicatorForString(onString);
    } else if (fret == 0 && _baseFret == 0) {
        addOpenIndicatorForString(onString);
    } else {
        _addSortedIndicator(TARVFretIndicator::indicatorAtFret(fret, onString));
    }
}

void TARVChordShape::addOpenIndicatorForString(std::uint8_t string) {
    _addSortedIndicator(TARVOpenFretIndicator::indicatorOnString(string));
}

void TARVChordShape::addMutedIndicatorForString(std::uint8_t string) {
    _addSortedIndicator(TARVMutedFretIndicator::indicatorOnString(string));
    _hash = 0;
}

void TARVChordShape::addBarreIndicatorForFret(std::uint8_t fret, std::uint8_t startString,
                                              std::uint8_t endString) {
    const auto barre =
        TARVBarreIndicator::barreForFret(static_cast<std::int8_t>(fret), startString, endString);

    // The walk is bounded by the barre's length and visits list positions, not string numbers.
    // The marks it finds at the barre's fret are removed together, after the walk.
    const std::int64_t length =
        static_cast<std::int64_t>(endString) - static_cast<std::int64_t>(startString) + 1;
    if (length > static_cast<std::int64_t>(startString) &&
        length > static_cast<std::int64_t>(_indicators.size())) {
        throw std::out_of_range(
            "addBarreIndicatorForFret: position " +
            std::to_string(std::max<std::size_t>(startString, _indicators.size())) +
            " beyond the indicator list of " + std::to_string(_indicators.size()));
    }
    if (length > static_cast<std::int64_t>(startString)) {
        const auto begin = _indicators.begin() + startString;
        const auto end = _indicators.begin() + static_cast<std::ptrdiff_t>(length);
        const auto kept = std::remove_if(begin, end, [fret](const TARVFretIndicator& indicator) {
            return static_cast<int>(indicator.fret()) == static_cast<int>(fret);
        });
        _indicators.erase(kept, end);
    }
    _addSortedIndicator(barre);
}

void TARVChordShape::_addSortedIndicator(const TARVFretIndicator& indicator) {
    const auto position =
        std::upper_bound(_indicators.begin(), _indicators.end(), indicator, indicatorOrder);
    _indicators.insert(position, indicator);
}

void TARVChordShape::addBarresAsNecessary() {
    if (_baseFret == 0) {
        _hash = 0;
        return;
    }
    bool seen = false;
    // Only the count and the highest string held at fret 0 decide the barre.
    std::uint8_t highestHeld = 0;
    std::size_t heldCount = 0;
    for (auto it = _indicators.rbegin(); it != _indicators.rend(); ++it) {
        if (isOpenOrMuted(*it)) {
            if (seen) {
                seen = false;
                break;
            }
            continue;
        }
        if (it->fret() == 0) {
            highestHeld = heldCount == 0 ? it->string() : std::max(highestHeld, it->string());
            ++heldCount;
            seen = true;
        }
    }
    if (heldCount >= 2 && seen) {
        addBarreIndicatorForFret(0, _indicators.front().string(), highestHeld);
    }
    _hash = 0;
}

std::uint8_t TARVChordShape::reach() const noexcept {
    if (_reach != 0) {
        return _reach;
    }
    std::uint8_t max = 0;
    std::uint8_t min = 255;
    for (const TARVFretIndicator& indicator : _indicators) {
        if (isOpenOrMuted(indicator)) {
            continue;
        }
        const int fret = indicator.fret();
        if (fret > max) {
            max = static_cast<std::uint8_t>(fret);
        }
        if (fret < min) {
            min = static_cast<std::uint8_t>(fret);
        }
    }
    _reach = static_cast<std::uint8_t>(max + 1 - min);
    return _reach;
}

std::uint8_t TARVChordShape::stringCount() const {
    std::uint8_t highest = 0;
    for (const TARVFretIndicator& indicator : _indicators) {
        const std::uint8_t string =
            indicator.isBarre() ? indicator.endString() : indicator.string();
        highest = std::max(highest, string);
    }
    if (highest != 0) {
        return static_cast<std::uint8_t>(highest + 1);
    }
    // The description lists the indicators on lines of their own; the log takes one line.
    std::string line;
    bool atLineStart = false;
    for (const char c : description()) {
        if (c == '\n') {
            atLineStart = true;
        } else if (atLineStart && c == ' ') {
            continue;
        } else {
            if (atLineStart && !line.empty() && line.back() != '(' && c != ')') {
                line += ' ';
            }
            atLineStart = false;
            line += c;
        }
    }
    TARVGeneralLog::generalLog().warn("Invalid chord shape encountered: {}", line);
    return 6;
}

bool TARVChordShape::isEqualToShape(const TARVChordShape& other) const noexcept {
    if (_baseFret != other._baseFret || _baseString != other._baseString ||
        reach() != other.reach() || _indicators.size() != other._indicators.size()) {
        return false;
    }
    for (std::size_t i = 0; i < _indicators.size(); ++i) {
        if (!_indicators[i].isEqual(other._indicators[i])) {
            return false;
        }
    }
    return true;
}

std::uint64_t TARVChordShape::hash() const noexcept {
    if (_hash != 0) {
        return _hash;
    }
    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, _baseFret);
    TARVHasherAddUnsignedInt(&hasher, _baseString);
    TARVHasherAddUnsignedInt(&hasher, reach());
    for (const TARVFretIndicator& indicator : _indicators) {
        TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(indicator.hash()));
    }
    _hash = TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
    return _hash;
}

std::string TARVChordShape::description() const {
    std::string list = "(\n";
    for (std::size_t i = 0; i < _indicators.size(); ++i) {
        list += "    " + _indicators[i].description();
        list += i + 1 < _indicators.size() ? ",\n" : "\n";
    }
    list += ")";
    char header[160];
    std::snprintf(header, sizeof header,
                  "Hash:[%lu] Badness:%lli BaseString[%i] BaseFret[%i] Reach[%i] Indicators[%li]: ",
                  static_cast<unsigned long>(hash()), static_cast<long long>(_badness), _baseString,
                  _baseFret, reach(), static_cast<long>(_indicators.size()));
    return header + list;
}

} // namespace tarv
