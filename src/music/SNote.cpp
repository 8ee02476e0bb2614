#include "tarv/music/SNote.hpp"

#include "tarv/music/TARVHasher.hpp"

namespace tarv {

namespace {

// Every spelling, by letter and then accidental from two flats to two sharps.
constexpr std::string_view kNames[7][5] = {
    {"Cbb", "Cb", "C", "C#", "C##"}, {"Dbb", "Db", "D", "D#", "D##"},
    {"Ebb", "Eb", "E", "E#", "E##"}, {"Fbb", "Fb", "F", "F#", "F##"},
    {"Gbb", "Gb", "G", "G#", "G##"}, {"Abb", "Ab", "A", "A#", "A##"},
    {"Bbb", "Bb", "B", "B#", "B##"},
};

constexpr std::string_view kUnicodeSharp = "\u266F";
constexpr std::string_view kUnicodeFlat = "\u266D";

int letterIndex(char c) {
    switch (c) {
    case 'C':
        return 0;
    case 'D':
        return 1;
    case 'E':
        return 2;
    case 'F':
        return 3;
    case 'G':
        return 4;
    case 'A':
        return 5;
    case 'B':
        return 6;
    default:
        return -1;
    }
}
} // namespace

std::optional<SNote> SNote::noteWithString(std::string_view text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const int letter = letterIndex(text.front());
    if (letter < 0) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    int sharps = 0;
    int flats = 0;
    while (!text.empty()) {
        if (text.front() == '#') {
            ++sharps;
            text.remove_prefix(1);
        } else if (text.front() == 'b') {
            ++flats;
            text.remove_prefix(1);
        } else if (text.starts_with(kUnicodeSharp)) {
            ++sharps;
            text.remove_prefix(kUnicodeSharp.size());
        } else if (text.starts_with(kUnicodeFlat)) {
            ++flats;
            text.remove_prefix(kUnicodeFlat.size());
        } else {
            return std::nullopt;
        }
    }
    if ((sharps > 0 && flats > 0) || sharps > 2 || flats > 2) {
        return std::nullopt;
    }
    return SNote(static_cast<std::uint8_t>(letter), static_cast<std::int8_t>(sharps - flats));
}

std::int32_t SNote::offsetFromNote(const SNote& note) const noexcept {
    return (static_cast<std::int32_t>(noteValue()) - note.noteValue() + 12) % 12;
}

int SNote::semitonesAboveC() const noexcept {
    return detail::kLetterValues[_letter] + _accidental;
}

std::string_view SNote::name() const noexcept {
    return kNames[_letter][_accidental + 2];
}

std::string SNote::string() const {
    return std::string(name());
}

std::uint64_t SNote::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, _letter);
    TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(_accidental));
    return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
}

} // namespace tarv
