#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarv {

/// A pitch class with a spelling: a letter from A to G and an optional accidental
/// (up to two sharps or two flats). Immutable and cheap to copy.
class SNote {
public:
    /// Parses "C", "F#", "Bb", "C##", "Ebb" and the Unicode sharp and flat signs.
    /// Anything else (empty text, "H", "Cb#", trailing characters) gives no note.
    static std::optional<SNote> noteWithString(std::string_view text);
    /// The same parse, as the settings code names it.
    static std::optional<SNote> initWithString(std::string_view text) {
        return noteWithString(text);
    }
    /// The note with the given pitch class (0 = C), spelled with a sharp where it needs one.
    static SNote noteWithValue(int value) noexcept;

    /// The note that many semitones higher (lower when negative), wrapped into the octave.
    SNote noteWithOffset(std::int8_t offset) const noexcept;
    /// Semitones from `note` up to this note, always 0 to 11.
    std::int32_t offsetFromNote(const SNote& note) const noexcept;
    /// Pitch class 0 to 11, C = 0.
    std::uint8_t noteValue() const noexcept;
    bool isEnharmonicallyEquivalentToNote(const SNote& note) const noexcept {
        return noteValue() == note.noteValue();
    }

    /// The spelling: letter, then "#" or "b" per accidental ("C", "F#", "Bb", "Ebb").
    std::string string() const;
    /// The same spelling, from text that lives as long as the program.
    std::string_view name() const noexcept;
    std::string description() const { return string(); }

    /// Letter index: 0 = C, 1 = D, ... 6 = B.
    std::uint8_t letter() const noexcept { return _letter; }
    /// -2 to +2 semitones.
    std::int8_t accidental() const noexcept { return _accidental; }
    /// Semitones above the C of the note's own letter octave, not wrapped: -2 for Cbb, 12 for B#.
    int semitonesAboveC() const noexcept;

    /// Value equality on the spelling: C# and Db are different notes (but enharmonic).
    bool operator==(const SNote& other) const noexcept = default;
    std::uint64_t hash() const noexcept;

private:
    SNote(std::uint8_t letter, std::int8_t accidental) noexcept
        : _letter(letter), _accidental(accidental) {}

    std::uint8_t _letter;
    std::int8_t _accidental;
};

namespace detail {
/// Semitones above C of each letter, C to B.
inline constexpr int kLetterValues[7] = {0, 2, 4, 5, 7, 9, 11};
/// The spelling of each pitch class when a note is made from a value: letter and accidental.
inline constexpr std::uint8_t kValueLetters[12] = {0, 0, 1, 1, 2, 3, 3, 4, 4, 5, 5, 6};
inline constexpr std::int8_t kValueAccidentals[12] = {0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 1, 0};
} // namespace detail

// Inline: notes are moved and compared on the hot paths of shape building and output.

inline SNote SNote::noteWithValue(int value) noexcept {
    const int pc = ((value % 12) + 12) % 12;
    return SNote(detail::kValueLetters[pc], detail::kValueAccidentals[pc]);
}

inline SNote SNote::noteWithOffset(std::int8_t offset) const noexcept {
    if (offset == 0) {
        return *this;
    }
    return noteWithValue(noteValue() + offset);
}

inline std::uint8_t SNote::noteValue() const noexcept {
    return static_cast<std::uint8_t>((detail::kLetterValues[_letter] + _accidental + 12) % 12);
}

} // namespace tarv

template <> struct std::hash<tarv::SNote> {
    std::size_t operator()(const tarv::SNote& note) const noexcept { return note.hash(); }
};
