#pragma once

#include "tarv/shapes/TARVFretIndicator.hpp"

namespace tarv {

/// A string that is not played. Its fret is -1.
class TARVMutedFretIndicator : public TARVFretIndicator {
public:
    /// Plain default construction (fret 0, string 0), as an archive reader starts.
    constexpr TARVMutedFretIndicator() noexcept
        : TARVFretIndicator(0, 0, 0, TARVIndicatorClass::Muted) {}
    constexpr TARVMutedFretIndicator(std::int8_t fret, std::uint8_t string) noexcept
        : TARVFretIndicator(fret, string, 0, TARVIndicatorClass::Muted) {}

    static constexpr TARVMutedFretIndicator indicatorOnString(std::uint8_t string) noexcept {
        return {-1, string};
    }

    // Keyed archive
    /// "TARVMutedFretIndicator", a subclass of TARVFretIndicator.
    static const TARVArchiveClass& archiveClass() noexcept;
};

} // namespace tarv
