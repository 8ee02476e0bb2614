#pragma once

#include "tarv/shapes/TARVFretIndicator.hpp"

namespace tarv {

/// A barre: one finger at `fret` across the strings `string` (its start string) to
/// `endString`, both inclusive. Its equality also compares `endString`; its hash takes it in.
class TARVBarreIndicator : public TARVFretIndicator {
public:
    constexpr TARVBarreIndicator() noexcept
        : TARVFretIndicator(0, 0, 0, TARVIndicatorClass::Barre) {}
    /// `initWithFret:startString:endString:`.
    constexpr TARVBarreIndicator(std::int8_t fret, std::uint8_t startString,
                                 std::uint8_t endString) noexcept
        : TARVFretIndicator(fret, startString, endString, TARVIndicatorClass::Barre) {}

    static constexpr TARVBarreIndicator barreForFret(std::int8_t fret, std::uint8_t startString,
                                                     std::uint8_t endString) noexcept {
        return {fret, startString, endString};
    }

    constexpr void setEndString(std::uint8_t endString) noexcept { setEndStringField(endString); }

    // Keyed archive
    /// "TARVBarreIndicator", a subclass of TARVFretIndicator.
    static const TARVArchiveClass& archiveClass() noexcept;
};

} // namespace tarv
