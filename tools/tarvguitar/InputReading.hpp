#pragma once

#include "tarv/instruments/TARVInstrumentText.hpp"

#include <cstddef>

namespace tarv::tool {

/// The most strings a tuning of the tool may have: search and generation grow steeply with the
/// strings, and the longest courses in use (12-string guitars) stay well below it.
inline constexpr std::size_t kMaximumTuningStrings = 16;

using InputError = TARVInstrumentText::Error;
using TuningRequest = TARVInstrumentText::TuningRequest;
using FretText = TARVInstrumentText::FretText;

/// The tuning `request` describes, with at most `kMaximumTuningStrings` strings.
inline SStringedInstrumentTuningPtr tuningForRequest(const TuningRequest& request) {
    return TARVInstrumentText::tuningForRequest(request, kMaximumTuningStrings);
}
inline FretText readFretText(std::string_view text) {
    return TARVInstrumentText::readFretText(text);
}
inline std::string_view trimmed(std::string_view text) {
    return TARVInstrumentText::trimmed(text);
}

} // namespace tarv::tool
