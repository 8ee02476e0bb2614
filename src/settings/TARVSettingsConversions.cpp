#include "tarv/settings/TARVSettingsConversions.hpp"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tarv {

namespace {

[[noreturn]] void fatalStop(const std::string& line) {
    std::fprintf(stderr, "TARVGuitar: %s\n", line.c_str());
    std::fflush(stderr);
    std::abort();
}

std::uint8_t checkedUInt8(std::int64_t value, const char* what) {
    if (value < 0 || value > 255) {
        fatalStop(std::string(what) + " " + std::to_string(value) + " is outside 0...255");
    }
    return static_cast<std::uint8_t>(value);
}

} // namespace

SPitch pitchWithDescriptor(const PitchDescriptor& pitch) {
    const std::optional<SNote> note = SNote::initWithString(pitch.noteName());
    if (!note) {
        fatalStop("note name \"" + pitch.noteName() + "\" names no note");
    }
    if (pitch.octave() < -128 || pitch.octave() > 127) {
        fatalStop("octave " + std::to_string(pitch.octave()) + " of note \"" + pitch.noteName() +
                  "\" is outside -128...127");
    }
    const std::optional<SPitch> result =
        SPitch::initWithNote(note, static_cast<std::int8_t>(pitch.octave()));
    if (!result) {
        fatalStop("no pitch for note \"" + pitch.noteName() + "\" in octave " +
                  std::to_string(pitch.octave()));
    }
    return *result;
}

SStringedInstrumentTuningPtr tuningWithDescriptor(const StringedInstrumentTuningDescriptor& tuning,
                                                  const StringedInstrumentDescriptor& instrument,
                                                  std::int64_t capo) {
    std::vector<SPitch> pitches;
    pitches.reserve(tuning.notes().size());
    for (const PitchDescriptor& note : tuning.notes()) {
        pitches.push_back(pitchWithDescriptor(note));
    }
    const std::uint8_t fretCount = checkedUInt8(instrument.frets(), "fret count");
    const std::uint8_t capoPosition = checkedUInt8(capo, "capo");
    return SStringedInstrumentTuning::initWithPitches(
        std::move(pitches), fretCount, capoPosition, TARVMakeSharedText(tuning.tuningName()),
        tuning.noteString(), tuning.stringOrderTransform());
}

SStringedInstrumentDescriptionPtr
descriptionWithDescriptor(const StringedInstrumentDescriptor& instrument,
                          const StringedInstrumentTuningDescriptor& tuning, std::int64_t capo) {
    return SStringedInstrumentDescription::initWithTuning(
        tuningWithDescriptor(tuning, instrument, capo), instrument.name());
}

} // namespace tarv
