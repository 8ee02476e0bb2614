#pragma once

#include "tarv/shapes/TARVFretIndicator.hpp"

namespace tarv {

/// A string that sounds open. Its fret is 0.
class TARVOpenFretIndicator : public TARVFretIndicator {
public:
    constexpr TARVOpenFretIndicator() noexcept
        : TARVFretIndicator(0, 0, 0, TARVIndicatorClass::Open) {}

    /// Default construction followed by `setString:`, the one way an open indicator is made.
    static constexpr TARVOpenFretIndicator indicatorOnString(std::uint8_t string) noexcept {
        TARVOpenFretIndicator indicator;
        indicator.setString(string);
        return indicator;
    }

    // Keyed archive
    /// "TARVOpenFretIndicator", a subclass of TARVFretIndicator.
    static const TARVArchiveClass& archiveClass() noexcept;
};

} // namespace tarv
