#pragma once

#include "tarv/music/SNote.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarv {

struct TARVArchiveClass;
class TARVKeyedArchiver;
class TARVKeyedUnarchiver;

/// A note in an octave, in scientific numbering: a new octave begins at C, C4 is middle C and
/// the low string of a guitar is E2. Immutable and cheap to copy.
class SPitch {
public:
    SPitch(SNote note, std::int8_t octave) noexcept : _note(note), _octave(octave) {}

    static SPitch pitchWithNote(SNote note, std::int8_t octave) noexcept { return {note, octave}; }
    /// No pitch when there is no note.
    static std::optional<SPitch> pitchWithNote(const std::optional<SNote>& note,
                                               std::int8_t octave) noexcept;
    static std::optional<SPitch> initWithNote(const std::optional<SNote>& note,
                                              std::int8_t octave) noexcept {
        return pitchWithNote(note, octave);
    }
    /// Parses "E2", "F#3", "Bb1", "C-1": a note followed by a signed octave number in -128..127.
    static std::optional<SPitch> pitchWithString(std::string_view text);

    const SNote& note() const noexcept { return _note; }
    std::int8_t octave() const noexcept { return _octave; }

    /// The pitch that many semitones higher (lower when negative), carrying across octaves.
    SPitch pitchAtOffset(std::int8_t offset) const noexcept;
    /// Semitones from `pitch` up to this pitch; negative when this pitch is lower.
    std::int32_t offsetFromPitch(const SPitch& pitch) const noexcept;
    /// 12 times the octave plus the note's semitones above C.
    std::int32_t absoluteSemitone() const noexcept;

    /// "E2", "F#3", "Bb1".
    std::string string() const;
    std::string description() const { return string(); }

    bool operator==(const SPitch& other) const noexcept = default;
    std::uint64_t hash() const noexcept;

    static bool supportsSecureCoding() noexcept { return true; }

    // Keyed archive
    /// "SPitch", a subclass of NSObject.
    static const TARVArchiveClass& archiveClass() noexcept;
    /// Writes "note", a text holding the note's spelling ("F#"), and "octave", a number holding
    /// the signed 8-bit octave.
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// Needs a "note" text that names a note and an "octave" number (read at signed 8 bits);
    /// without them the pitch is refused with an error on the coder.
    static std::optional<SPitch> initWithCoder(TARVKeyedUnarchiver& coder);

private:
    SNote _note;
    std::int8_t _octave;
};

} // namespace tarv

template <> struct std::hash<tarv::SPitch> {
    std::size_t operator()(const tarv::SPitch& pitch) const noexcept { return pitch.hash(); }
};
