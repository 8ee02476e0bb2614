#pragma once

#include "tarv/music/SNote.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

/// A chord read from a chord symbol as chord sheets write it: a root, a quality with its
/// extensions and alterations, and an optional slash bass. Immutable; shared by reference.
class SChord {
public:
    /// Reads a chord symbol ("C", "F#m7b5", "C7(b9,#11)", "Am/G") or a chord's
    /// `numericNoteStringValue`. A text that does not read as a chord gives no chord.
    static std::shared_ptr<const SChord> chordWithString(std::string_view text);

    /// The canonical suffix of every chord quality `chordWithString` reads, in a fixed order:
    /// the qualities of pop and folk sheets first, then those of jazz charts, then rare ones.
    static const std::vector<std::string>& supportedQualities();

    const SNote& root() const noexcept { return _root; }
    /// The bass of a slash chord; absent otherwise.
    const std::optional<SNote>& addedBase() const noexcept { return _addedBase; }
    /// Root first, then the other tones by ascending interval; a slash bass that is not a chord
    /// tone comes last.
    const std::vector<SNote>& notes() const noexcept { return _notes; }
    /// The tones a voicing must contain to count as this chord, in the order of `notes`.
    const std::vector<SNote>& characteristicNotes() const noexcept { return _characteristicNotes; }
    /// Canonical text, equal for two chords exactly when root, notes, characteristic notes and
    /// added bass are equal as pitch classes. Never contains ":"; `chordWithString` reads it back.
    const std::string& numericNoteStringValue() const noexcept { return _numericNoteStringValue; }

    /// The text the chord was read from.
    const std::string& symbol() const noexcept { return _symbol; }
    /// The canonical quality suffix ("", "m", "7", "maj7", "m7b5", ...).
    const std::string& quality() const noexcept { return _quality; }
    /// The chord's name written with its canonical suffix ("C#m7", "C/E").
    std::string name() const;
    std::string description() const;

    /// Same pitch-class content: the same `numericNoteStringValue`.
    bool operator==(const SChord& other) const noexcept {
        return _numericNoteStringValue == other._numericNoteStringValue;
    }

    SChord(SNote root, std::optional<SNote> addedBase, std::vector<SNote> notes,
           std::vector<SNote> characteristicNotes, std::string symbol, std::string quality);

private:
    SNote _root;
    std::optional<SNote> _addedBase;
    std::vector<SNote> _notes;
    std::vector<SNote> _characteristicNotes;
    std::string _symbol;
    std::string _quality;
    std::string _numericNoteStringValue;
};

using SChordPtr = std::shared_ptr<const SChord>;

} // namespace tarv
