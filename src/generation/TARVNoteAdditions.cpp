#include "tarv/generation/TARVNoteAdditions.hpp"

#include <algorithm>

namespace tarv {

std::set<std::uint8_t> _tarv_noteValues(const SNoteSet& notes) {
    std::set<std::uint8_t> values;
    for (const SNote& note : notes) {
        values.insert(note.noteValue());
    }
    return values;
}

bool _tarv_isEnharmonicSubsetOfSet(const SNoteSet& notes, const SNoteSet& other) {
    const auto mine = _tarv_noteValues(notes);
    const auto theirs = _tarv_noteValues(other);
    return std::includes(theirs.begin(), theirs.end(), mine.begin(), mine.end());
}

} // namespace tarv
