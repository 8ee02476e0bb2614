#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/ranking/TARVProgression.hpp"

#include <span>
#include <string>

namespace tarv {

/// The JSON forms of the answers players ask for, naming a shape and arranging a progression,
/// as the tarvguitar tool writes them (one line each, no trailing newline). Shapes, tunings and
/// chords are written by `TARVShapeJSON`.
///
/// The capo convention: frets count from the capo, and chord names read relative to it, as
/// chord sheets write them; "soundsAs" names the chord that sounds. Every answer on a tuning
/// with a capo holds "capo": {"fret", "convention"}.
class TARVPlayerJSON {
public:
    /// "root position", "inversion", "added bass" or "rootless".
    static const char* kindText(TARVChordNaming::Kind kind) noexcept;

    /// {"fret", "convention"}: the capo of `tuning` and how frets and names relate to it.
    static std::string capoJSON(const SStringedInstrumentTuning& tuning);

    /// The answer of `shapes` for one chord: `TARVShapeJSON::answerJSON`, and with a capo also
    /// "capo", "playedAs" (the chord the shapes make as fingered) and "soundsAs" (`chord`).
    /// Empty for no chord.
    static std::string chordShapesJSON(const SChordPtr& chord,
                                       const SStringedInstrumentTuning& tuning,
                                       std::span<const TARVPlayableShape> shapes,
                                       const std::string& instrumentName = {});

    /// One name of a shape read relative to the capo of `tuning`: {"symbol", "kind", "omitted"},
    /// and "soundsAs" with a capo.
    static std::string nameJSON(const TARVChordNaming::Name& name,
                                const SStringedInstrumentTuning& tuning);

    /// The answer of `name`: {"notation", "tuning", "capo" (with a capo), "names", "shape"}.
    /// `notation` is the fret text as read, `shape` its fingered shape and `names` its names as
    /// fingered (relative to the capo), best first.
    static std::string namesJSON(const std::string& notation, const TARVPlayableShape& shape,
                                 std::span<const TARVChordNaming::Name> names,
                                 const SStringedInstrumentTuning& tuning,
                                 const std::string& instrumentName = {});

    /// One arrangement of `chords` (sounding) on `tuning` (with the capo it is played with):
    /// {"cost", "chords": [{"chord" as fingered, "soundsAs" with a capo, "movement", "shape"}]}.
    /// A chord the arrangement has no shape for is left out.
    static std::string arrangementJSON(const TARVProgression::Arrangement& arrangement,
                                       std::span<const SChordPtr> chords,
                                       const SStringedInstrumentTuning& tuning);

    /// One capo position of a progression: {"capo", "chords" as fingered, "cost"}.
    static std::string capoChoiceJSON(const TARVProgression::CapoChoice& choice);

    /// The answer of `progression`: {"progression" (the sounding chords), "tuning", "capo" (with
    /// a capo), "capoChoices" (when any are given), "arrangements"}.
    static std::string progressionJSON(std::span<const SChordPtr> chords,
                                       const SStringedInstrumentTuning& tuning,
                                       std::span<const TARVProgression::Arrangement> arrangements,
                                       std::span<const TARVProgression::CapoChoice> capoChoices,
                                       const std::string& instrumentName = {});
};

} // namespace tarv
