#pragma once

#include "tarv/ranking/TARVFingering.hpp"

#include <cstdint>
#include <span>

namespace tarv::ranking {

/// The fingering of `frets` as this thread keeps it for their pattern (the fretted notes
/// relative to the lowest): its fingers, stretch, crossing and barre strings are those of
/// `TARVFingering::fingeringForFrets`, its barre frets count from the pattern's lowest note as
/// fret 1. Null when no hand can hold `frets`. It stays valid until the next fingering is asked
/// for on this thread.
const TARVFingering* fingeringPattern(std::span<const std::int8_t> frets,
                                      const TARVFingering::Hand& hand);

} // namespace tarv::ranking
