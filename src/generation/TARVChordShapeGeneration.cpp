#include "tarv/shapes/TARVChordShape.hpp"

namespace tarv {

std::uint64_t
TARVChordShape::_fingersRequiredToPlayWithStringCount(std::uint8_t stringCount) const noexcept {
    // A finger on the lowest-pitched string is not counted. With a string count of 0 there is no
    // such string.
    const int lowestString = static_cast<int>(stringCount) - 1;
    std::uint64_t fingers = 0;
    for (const TARVFretIndicator& indicator : _indicators) {
        if (indicator.isMemberOfClass(TARVIndicatorClass::Fret)) {
            if (indicator.string() != lowestString) {
                ++fingers;
            }
        } else if (indicator.isMemberOfClass(TARVIndicatorClass::Barre)) {
            ++fingers;
        }
    }
    return fingers;
}

} // namespace tarv
