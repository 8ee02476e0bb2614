#include "tarv/instruments/SPitchGuitar.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

namespace tarv {

std::int8_t fretForString(const SPitch& pitch, std::uint8_t string,
                          const SStringedInstrumentTuning& withTuning) {
    const SPitch capoPitch = withTuning.stringPitches().at(string).pitchAtOffset(
        static_cast<std::int8_t>(withTuning.capo()));
    const std::int32_t distance = pitch.offsetFromPitch(capoPitch);
    if (distance < 0) {
        return -1;
    }
    // The last fret itself is still playable.
    if (distance > static_cast<std::int32_t>(withTuning.fretCount()) - withTuning.capo()) {
        return -1;
    }
    return static_cast<std::int8_t>(distance);
}

std::vector<std::int8_t> possibleFretsWithTuning(const SPitch& pitch,
                                                 const SStringedInstrumentTuning& tuning) {
    const std::uint8_t stringCount = tuning.stringCount();
    std::vector<std::int8_t> frets;
    frets.reserve(stringCount);
    for (std::uint8_t string = 0; string < stringCount; ++string) {
        frets.push_back(fretForString(pitch, string, tuning));
    }
    return frets;
}

std::int8_t fretWithTuning(const SPitch& pitch, const SStringedInstrumentTuning& tuning,
                           std::int8_t userSelection, std::uint8_t* onString) {
    const std::uint8_t stringCount = tuning.stringCount();
    std::int8_t result = -1;
    std::uint8_t playableStrings = 0;
    const auto selection = static_cast<std::uint8_t>(userSelection);
    for (std::uint8_t string = 0; string < stringCount; ++string) {
        const std::int8_t fret = fretForString(pitch, string, tuning);
        if (fret == -1) {
            continue;
        }
        result = fret;
        if (onString != nullptr) {
            *onString = string;
        }
        if (playableStrings == selection) {
            break;
        }
        ++playableStrings;
    }
    return result;
}

} // namespace tarv
