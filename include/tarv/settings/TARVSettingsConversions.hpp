#pragma once

#include "tarv/instruments/SStringedInstrumentDescription.hpp"
#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/settings/PitchDescriptor.hpp"
#include "tarv/settings/StringedInstrumentDescriptor.hpp"
#include "tarv/settings/StringedInstrumentTuningDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tarv {

// Settings records turned into the library's objects. These do not report errors: a note name
// that names no note, an octave outside -128...127, or a fret count or capo outside 0...255
// writes one line naming the value to standard error and aborts the process. Callers that take
// settings from outside check these first.

/// The pitch of `pitch`.
SPitch pitchWithDescriptor(const PitchDescriptor& pitch);

/// The tuning `tuning` of `instrument` with the capo at `capo`: the pitches of the tuning's
/// notes in order, the instrument's fret count, the tuning's name, note string and string order
/// transform. The pitches are made, and checked, before the fret count and the capo.
SStringedInstrumentTuningPtr tuningWithDescriptor(const StringedInstrumentTuningDescriptor& tuning,
                                                  const StringedInstrumentDescriptor& instrument,
                                                  std::int64_t capo);

/// What would stop `tuningWithDescriptor(tuning, instrument, capo)`, as a sentence naming the
/// value ("the tuning \"Drop D\" of the instrument \"Guitar\": the note name \"H\" names no
/// note"); absent when the conversion can run. Also a tuning without strings, or with more than
/// `maximumStrings`.
std::optional<std::string> problemWithDescriptor(const StringedInstrumentTuningDescriptor& tuning,
                                                 const StringedInstrumentDescriptor& instrument,
                                                 std::int64_t capo,
                                                 std::size_t maximumStrings = 255);

/// `instrument`, named by its name, in the tuning `tuning` with the capo at `capo`.
SStringedInstrumentDescriptionPtr
descriptionWithDescriptor(const StringedInstrumentDescriptor& instrument,
                          const StringedInstrumentTuningDescriptor& tuning, std::int64_t capo);

} // namespace tarv
