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
    /// `numericNoteStringValue`. A text that does not read as a chord gives no chord; so does a
    /// lower-case root ("am7").
    ///
    /// Alterations, additions, suspensions and omissions may follow a quality glued, in
    /// parentheses, comma or space separated, or after a space ("C7 (b9)"), in any order:
    /// "C7(b9,b13)", "C7(b13,b9)", "C7b9(b13)" and "C7b13b9" are the same chord. Readings chosen
    /// where sheets differ:
    /// - a flat thirteenth takes the place of the fifth (C7b13 and C9b13 have no fifth); "b6"
    ///   adds a minor sixth beside the fifth ("Cm(b6)", "Cmb6");
    /// - a bare number in parentheses adds that tone alone: C(9) is Cadd9, C(6) is C6,
    ///   C7(11) is C7(add11); "/6" after a quality adds the sixth ("C7/6" is C7(add13)) and
    ///   "sus2/4" holds both suspensions;
    /// - "alt" is the altered dominant of jazz charts: root, third and minor seventh with the
    ///   flat thirteenth (the raised fifth) that must sound, and the flat and sharp ninth and
    ///   sharp eleventh (the flat fifth) that may; never the natural fifth or ninth;
    /// - a minor sign before a major-seventh sign in any spelling is the minor-major seventh
    ///   ("C-(maj7)", "CmΔ7", "Cm+7");
    /// - a doubled accidental before the fifth is the root's accidental and an altered fifth
    ///   ("F##5" is F#(#5), "Bbb5" is Bb(b5)); elsewhere both accidentals belong to the root.
    static std::shared_ptr<const SChord> chordWithString(std::string_view text);

    /// A corrected form of `text` that reads as a chord when `text` itself does not: a lower-case
    /// root or bass letter capitalised ("am7" gives "Am7", "bb" gives "Bb"), surrounding spaces
    /// removed. None when `text` reads as it is or no such correction reads.
    static std::optional<std::string> suggestionForString(std::string_view text);

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
