#include "tarv/settings/TARVSettingsConversions.hpp"

#include <algorithm>

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

std::optional<std::string> problemWithDescriptor(const StringedInstrumentTuningDescriptor& tuning,
                                                 const StringedInstrumentDescriptor& instrument,
                                                 std::int64_t capo, std::size_t maximumStrings) {
    const auto quoted = [](const std::string& text) {
        return "\"" + text + "\"";
    };
    const std::string where = "the tuning " + quoted(tuning.tuningName()) + " of the instrument " +
                              quoted(instrument.name());
    if (tuning.notes().empty()) {
        return where + " has no strings";
    }
    const std::size_t limit = std::min<std::size_t>(maximumStrings, 255);
    if (tuning.notes().size() > limit) {
        return where + " has " + std::to_string(tuning.notes().size()) + " strings; at most " +
               std::to_string(limit) + " are read";
    }
    for (const PitchDescriptor& note : tuning.notes()) {
        if (!SNote::initWithString(note.noteName())) {
            return where + ": the note name " + quoted(note.noteName()) + " names no note";
        }
        if (note.octave() < -128 || note.octave() > 127) {
            return where + ": the octave " + std::to_string(note.octave()) + " of the note " +
                   quoted(note.noteName()) + " is outside -128 to 127";
        }
    }
    if (instrument.frets() < 0 || instrument.frets() > 255) {
        return "the fret count " + std::to_string(instrument.frets()) + " of the instrument " +
               quoted(instrument.name()) + " is outside 0 to 255";
    }
    if (capo < 0 || capo > 255) {
        return "the capo " + std::to_string(capo) + " is outside 0 to 255";
    }
    return std::nullopt;
}

} // namespace tarv
