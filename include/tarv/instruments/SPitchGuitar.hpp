#pragma once

#include "tarv/music/SPitch.hpp"

#include <cstdint>
#include <vector>

namespace tarv {

class SStringedInstrumentTuning;

/// The fret, counted from the capo, at which exactly `pitch` sounds on `string`, or -1 when it
/// lies below the capo pitch or above the last fret. Throws std::out_of_range for a string the
/// tuning does not have.
std::int8_t fretForString(const SPitch& pitch, std::uint8_t string,
                          const SStringedInstrumentTuning& withTuning);

/// `fretForString` for every string of the tuning, from string 0; -1 for strings that cannot play
/// the pitch.
std::vector<std::int8_t> possibleFretsWithTuning(const SPitch& pitch,
                                                 const SStringedInstrumentTuning& tuning);

/// The fret of the playable string chosen by `userSelection` (0 = the first string from string 0
/// that can play the pitch, 1 the second, ...; a selection beyond the playable strings, or a
/// negative one, gives the last). The chosen string number is written through `onString` when it
/// is not null. -1, with `onString` untouched, when no string can play the pitch.
std::int8_t fretWithTuning(const SPitch& pitch, const SStringedInstrumentTuning& tuning,
                           std::int8_t userSelection, std::uint8_t* onString);

} // namespace tarv
