#include "tarv/shapes/TARVFretIndicator.hpp"

#include <cstdio>

namespace tarv {

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
