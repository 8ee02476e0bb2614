#include "tarv/ranking/TARVPlayableOptions.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <algorithm>

namespace tarv {

namespace {

/// C3 and G3 as absolute semitones (12 times the octave plus the note).
constexpr std::int32_t kC3 = 36;
constexpr std::int32_t kG3 = 43;

} // namespace

double TARVPlayableOptions::defaultScaleLength(const SStringedInstrumentTuning& tuning) {
    const auto& pitches = tuning.stringPitches();
    if (pitches.empty()) {
        return 648.0;
    }
    std::int32_t lowest = pitches.front().absoluteSemitone();
    std::int32_t highest = lowest;
    for (const SPitch& pitch : pitches) {
        lowest = std::min(lowest, pitch.absoluteSemitone());
        highest = std::max(highest, pitch.absoluteSemitone());
    }
    if (lowest >= kG3) {
        return 350.0;
    }
    if (lowest >= kC3 && pitches.size() == 4) {
        return 480.0;
    }
    if (highest < kC3) {
        return 864.0;
    }
    return 648.0;
}

std::uint8_t TARVPlayableOptions::defaultMaximumSpan(double scaleLength) {
    return scaleLength <= 480.0 ? 5 : 4;
}

bool TARVPlayableOptions::defaultRootInBass(const SStringedInstrumentTuning& tuning) {
    const auto& pitches = tuning.stringPitches();
    return std::any_of(pitches.begin(), pitches.end(),
                       [](const SPitch& pitch) { return pitch.absoluteSemitone() < kC3; });
}

} // namespace tarv
