#include "tarv/shapes/TARVFretIndicator.hpp"

#include "tarv/music/TARVHasher.hpp"

#include <cstdio>

namespace tarv {

std::uint64_t TARVFretIndicator::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    // The fret goes in sign-extended: -1 is added as 0xFFFFFFFF.
    TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(static_cast<std::int32_t>(_fret)));
    TARVHasherAddUnsignedInt(&hasher, _string);
    if (isBarre()) {
        TARVHasherAddUnsignedInt(&hasher, _endString);
    }
    return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
}

std::string TARVFretIndicator::description() const {
    char buffer[64];
    switch (_class) {
    case TARVIndicatorClass::Muted:
        std::snprintf(buffer, sizeof buffer, "string: %i, muted", _string);
        break;
    case TARVIndicatorClass::Open:
        std::snprintf(buffer, sizeof buffer, "string: %i, open", _string);
        break;
    case TARVIndicatorClass::Barre:
        std::snprintf(buffer, sizeof buffer, "Barre fret:%i start:%i end:%i", _fret, _string,
                      _endString);
        break;
    case TARVIndicatorClass::Fret:
        std::snprintf(buffer, sizeof buffer, "string: %i, fret %i", _string, _fret);
        break;
    }
    return buffer;
}

} // namespace tarv
