#pragma once

#include "tarv/music/SNote.hpp"

#include <cstdint>
#include <vector>

namespace tarv {

class SStringedInstrumentTuning;

/// Every fret of `string` at which `note` sounds, in any octave, ascending: the lowest one, then
/// one every 12 frets while the fret, taken as a signed 8-bit value, stays below the tuning's fret
/// count. With `adjustForCapo` the frets are counted from the capo (fret 0 is the capo itself),
/// yet still bounded by the full fret count.
///
/// Because of the 8-bit test, fret counts above 116 let the frets wrap through negative values;
/// the list then ends where the test first fails, or after 64 frets, where the wrapped sequence
/// would start to repeat. Throws std::out_of_range for a string the tuning does not have.
std::vector<std::int8_t> fretsForString(const SNote& note, std::uint8_t string,
                                        const SStringedInstrumentTuning& withTuning,
                                        bool adjustForCapo);

} // namespace tarv
