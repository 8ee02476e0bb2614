#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/music/SNote.hpp"
#include "tarv/music/SPitch.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarv {

using SStringedInstrumentTuningConstPtr = std::shared_ptr<const SStringedInstrumentTuning>;

/// Names a shape: the chord symbols its sounding notes can be read as, best first.
///
/// A name fits when every note the shape sounds belongs to the chord, every note the chord must
/// hold sounds, and the lowest-sounding note is the root (root position), another chord tone (an
/// inversion, written as a slash chord: "C/E") or a bass added below the chord ("D/C"). Tones the
/// chord lets a voicing leave out (the fifth, the ninth of an eleventh chord) may be missing; they
/// are listed in `omittedNotes`. Rootless readings, in which only the root is missing from a
/// seventh or extended chord, come last.
///
/// Names use the chord qualities `SChord::supportedQualities` lists and read back through
/// `SChord::chordWithString`. Roots and basses are spelled C C# D Eb E F F# G Ab A Bb B.
class TARVChordNaming {
public:
    enum class Kind : std::uint8_t {
        /// The root sounds lowest.
        RootPosition,
        /// Another chord tone sounds lowest: a slash chord over a chord tone.
        Inversion,
        /// A note outside the chord sounds lowest: a slash chord over an added bass.
        AddedBass,
        /// The root does not sound at all; the name is the chord over its lowest note.
        Rootless,
    };

    struct Name {
        /// "Am7", "C/E", "C9/E".
        std::string symbol;
        /// `symbol` read back.
        SChordPtr chord;
        Kind kind = Kind::RootPosition;
        /// Chord tones that the shape leaves out (never the root, except in a rootless reading).
        std::vector<SNote> omittedNotes;
        /// Lower is better; the order of the names.
        double cost = 0;
    };

    /// The names of the notes that `frets` (per string number, -1 muted, otherwise the fret
    /// relative to the capo) sound on `tuning`, with its capo, best first. Empty when fewer than
    /// two different notes sound, when the frets do not fit the tuning, or for no tuning.
    static std::vector<Name> namesForFrets(std::span<const std::int8_t> frets,
                                           const SStringedInstrumentTuningConstPtr& tuning);
    /// The names of a set of sounding pitches, best first; the lowest pitch is the bass.
    static std::vector<Name> namesForPitches(std::span<const SPitch> pitches);

    /// The pitches `frets` sound on `tuning` with its capo, lowest first; none when a fret does
    /// not fit (a string the tuning lacks, a fret beyond the neck) or for no tuning.
    static std::optional<std::vector<SPitch>>
    soundingPitches(std::span<const std::int8_t> frets,
                    const SStringedInstrumentTuningConstPtr& tuning);

    /// `chord` moved by `semitones` (negative: down), root and slash bass alike, its quality
    /// kept; null for a null chord.
    static SChordPtr transposedChord(const SChordPtr& chord, int semitones);

    /// The spelling of a pitch class (0 = C) in names: C C# D Eb E F F# G Ab A Bb B.
    static const char* spelling(int pitchClass) noexcept;
};

} // namespace tarv
