#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <algorithm>

namespace tarv {

namespace {

constexpr TARVArchiveClass kChordShapeClass{"TARVChordShape", &TARVArchiveClasses::NSObject, true};

using IndicatorList = TARVArchiveList<TARVFretIndicator>;

} // namespace

const TARVArchiveClass& TARVChordShape::archiveClass() noexcept {
    return kChordShapeClass;
}

void TARVChordShape::encodeWithCoder(TARVKeyedArchiver& coder) const {
    coder.encodeNumber(_badness, "badness");
    coder.encodeNumber(_baseFret, "basefret");
    coder.encodeNumber(_baseString, "basestring");
    coder.encodeNumber(reach(), "reach");
    coder.encodeObjectAs<TARVArchiveMutableList<TARVFretIndicator>>(_indicators, "indicators");
}

TARVChordShapePtr TARVChordShape::initWithCoder(TARVKeyedUnarchiver& coder) {
    auto shape = std::make_shared<TARVChordShape>();
    if (const auto badness = coder.decodeNumber("badness")) {
        shape->_badness = badness->unsignedLongLongValue();
    }
    if (const auto baseFret = coder.decodeNumber("basefret")) {
        shape->_baseFret = baseFret->unsignedCharValue();
    }
    if (const auto baseString = coder.decodeNumber("basestring")) {
        shape->_baseString = baseString->unsignedCharValue();
    }

    // The indicators are read twice, first naming their classes, then as a plain list, and the
    // second read is the one kept. The second read answers the indicators that the first one
    // decoded, so an archive's indicators come through; an indicator list that only a plain read
    // would meet is refused under secure decoding.
    static const TARVClassNameSet kIndicatorListClasses{"NSArray", "TARVOpenFretIndicator",
                                                        "TARVMutedFretIndicator",
                                                        "TARVFretIndicator", "TARVBarreIndicator"};
    std::vector<TARVFretIndicator> indicators =
        coder.decodeObjectOfClasses<IndicatorList>(kIndicatorListClasses, "indicators")
            .value_or(std::vector<TARVFretIndicator>{});
    indicators = coder.decodeObjectOfClasses<IndicatorList>({"NSArray"}, "indicators")
                     .value_or(std::vector<TARVFretIndicator>{});
    std::stable_sort(
        indicators.begin(), indicators.end(),
        [](const TARVFretIndicator& a, const TARVFretIndicator& b) { return a.compare(b) < 0; });
    shape->_indicators = std::move(indicators);

    if (coder.error()) {
        return nullptr;
    }
    return shape;
}

} // namespace tarv
