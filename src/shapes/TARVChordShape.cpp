#include "tarv/shapes/TARVChordShape.hpp"

#include "tarv/music/TARVHasher.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace tarv {

namespace {

bool isOpenOrMuted(const TARVFretIndicator& indicator) noexcept {
    return indicator.isKindOfClass(TARVIndicatorClass::Open) ||
           indicator.isKindOfClass(TARVIndicatorClass::Muted);
}

bool indicatorOrder(const TARVFretIndicator& a, const TARVFretIndicator& b) noexcept {
    return a.compare(b) < 0;
}

} // namespace

TARVChordShapePtr
TARVChordShape::shapeFromIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                        std::uint8_t fret) {
    auto shape = std::make_shared<TARVChordShape>();
    shape->_baseFret = fret;
    shape->_baseString = 0;
    shape->_indicators.reserve(indicators.size() + 1);
    for (const TARVFretIndicator& indicator : indicators) {
        if (indicator.fret() >= 0 && indicator.string() > shape->_baseString) {
            shape->_baseString = indicator.string();
        }
        shape->addIndicatorForFret(indicator.fret(), indicator.string());
    }
    shape->addBarresAsNecessary();
    return shape;
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
    const std::int64_t length =
        static_cast<std::int64_t>(endString) - static_cast<std::int64_t>(startString) + 1;
    std::vector<std::size_t> positions;
    for (std::int64_t position = startString; position < length; ++position) {
        if (static_cast<std::size_t>(position) >= _indicators.size()) {
            throw std::out_of_range("addBarreIndicatorForFret: position " +
                                    std::to_string(position) + " beyond the indicator list of " +
                                    std::to_string(_indicators.size()));
        }
        if (static_cast<int>(_indicators[static_cast<std::size_t>(position)].fret()) ==
            static_cast<int>(fret)) {
            positions.push_back(static_cast<std::size_t>(position));
        }
    }
    for (auto it = positions.rbegin(); it != positions.rend(); ++it) {
        _indicators.erase(_indicators.begin() + static_cast<std::ptrdiff_t>(*it));
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
    spdlog::warn("Invalid chord shape encountered: {}", description());
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
