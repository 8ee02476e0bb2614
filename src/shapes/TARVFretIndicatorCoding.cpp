#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVFretIndicator.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

namespace tarv {

namespace {

constexpr TARVArchiveClass kFretIndicatorClass{"TARVFretIndicator", &TARVArchiveClasses::NSObject,
                                               true};
constexpr TARVArchiveClass kBarreIndicatorClass{"TARVBarreIndicator", &kFretIndicatorClass, true};
constexpr TARVArchiveClass kMutedFretIndicatorClass{"TARVMutedFretIndicator", &kFretIndicatorClass,
                                                    true};
constexpr TARVArchiveClass kOpenFretIndicatorClass{"TARVOpenFretIndicator", &kFretIndicatorClass,
                                                   true};
constexpr const TARVArchiveClass* kIndicatorClasses[] = {
    &kFretIndicatorClass, &kBarreIndicatorClass, &kMutedFretIndicatorClass,
    &kOpenFretIndicatorClass};

std::uint32_t numberForKey(TARVKeyedUnarchiver& coder, std::string_view key) {
    const auto number = coder.decodeNumber(key);
    return number ? number->unsignedIntValue() : 0;
}

// The fields every indicator has: the older pair "fret" and "string" when "fret" is present,
// otherwise the packed "indicator".
void readFretAndString(TARVKeyedUnarchiver& coder, TARVFretIndicator& indicator) {
    if (coder.containsValueForKey("fret")) {
        indicator.setFret(static_cast<std::int8_t>(numberForKey(coder, "fret")));
        indicator.setString(static_cast<std::uint8_t>(numberForKey(coder, "string")));
    } else if (coder.containsValueForKey("indicator")) {
        const std::uint32_t packed = numberForKey(coder, "indicator");
        indicator.setFret(static_cast<std::int8_t>(packed & 0xFFU));
        indicator.setString(static_cast<std::uint8_t>((packed >> 8) & 0xFFU));
    }
}

TARVFretIndicator readBarre(TARVKeyedUnarchiver& coder) {
    TARVBarreIndicator barre;
    if (coder.containsValueForKey("endstring")) {
        readFretAndString(coder, barre);
        barre.setEndString(static_cast<std::uint8_t>(numberForKey(coder, "endstring")));
    } else if (coder.containsValueForKey("barre")) {
        const std::uint32_t packed = numberForKey(coder, "barre");
        barre.setFret(static_cast<std::int8_t>(packed & 0xFFU));
        barre.setString(static_cast<std::uint8_t>((packed >> 8) & 0xFFU));
        barre.setEndString(static_cast<std::uint8_t>((packed >> 16) & 0xFFU));
    }
    return barre;
}

} // namespace

const TARVArchiveClass& TARVFretIndicator::archiveClass() noexcept {
    return kFretIndicatorClass;
}
const TARVArchiveClass& TARVBarreIndicator::archiveClass() noexcept {
    return kBarreIndicatorClass;
}
const TARVArchiveClass& TARVMutedFretIndicator::archiveClass() noexcept {
    return kMutedFretIndicatorClass;
}
const TARVArchiveClass& TARVOpenFretIndicator::archiveClass() noexcept {
    return kOpenFretIndicatorClass;
}

std::span<const TARVArchiveClass* const> TARVFretIndicator::archiveClasses() noexcept {
    return kIndicatorClasses;
}

const TARVArchiveClass& TARVFretIndicator::classForKeyedArchiver() const noexcept {
    switch (_class) {
    case TARVIndicatorClass::Barre:
        return kBarreIndicatorClass;
    case TARVIndicatorClass::Muted:
        return kMutedFretIndicatorClass;
    case TARVIndicatorClass::Open:
        return kOpenFretIndicatorClass;
    case TARVIndicatorClass::Fret:
        break;
    }
    return kFretIndicatorClass;
}

void TARVFretIndicator::encodeWithCoder(TARVKeyedArchiver& coder) const {
    if (isBarre()) {
        // The fret goes in sign-extended and unmasked: a negative fret fills bits 8 to 31.
        const std::uint32_t packed = (static_cast<std::uint32_t>(_endString) << 16) |
                                     (static_cast<std::uint32_t>(_string) << 8) |
                                     static_cast<std::uint32_t>(static_cast<std::int32_t>(_fret));
        coder.encodeNumber(packed, "barre");
        return;
    }
    const auto packed = static_cast<std::uint16_t>((static_cast<std::uint16_t>(_string) << 8) |
                                                   static_cast<std::uint8_t>(_fret));
    coder.encodeNumber(packed, "indicator");
}

std::optional<TARVFretIndicator> TARVFretIndicator::initWithCoder(TARVKeyedUnarchiver& coder) {
    const TARVArchiveClass* cls = coder.decodingClass();
    if (cls == &kBarreIndicatorClass) {
        return readBarre(coder);
    }
    TARVFretIndicator indicator;
    if (cls == &kMutedFretIndicatorClass) {
        indicator = TARVMutedFretIndicator();
    } else if (cls == &kOpenFretIndicatorClass) {
        indicator = TARVOpenFretIndicator();
    }
    readFretAndString(coder, indicator);
    return indicator;
}

} // namespace tarv
