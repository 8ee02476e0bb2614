#pragma once

#include "tarv/music/SNote.hpp"

#include <cstdint>
#include <set>
#include <unordered_set>

namespace tarv {

/// Comparison of note sets by pitch class, whatever the spelling.
using SNoteSet = std::unordered_set<SNote>;

/// The note values (0 to 11) of `notes`; notes that differ only in spelling give one entry.
std::set<std::uint8_t> _tarv_noteValues(const SNoteSet& notes);

/// True when every note value of `notes` is a note value of `other`. An empty set is a subset of
/// anything.
bool _tarv_isEnharmonicSubsetOfSet(const SNoteSet& notes, const SNoteSet& other);

/// The note values of `notes` as a 12-bit mask, bit v set for note value v.
template <typename Notes> std::uint16_t TARVNoteValueMask(const Notes& notes) noexcept {
    std::uint16_t mask = 0;
    for (const SNote& note : notes) {
        mask = static_cast<std::uint16_t>(mask | (1u << note.noteValue()));
    }
    return mask;
}

} // namespace tarv
