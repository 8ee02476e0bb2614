#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/ranking/TARVProgressionOptions.hpp"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarv {

/// Shapes for a whole chord progression, chosen so that the progression is easy to play: the
/// sum of every shape's playability score and of the movement between neighbouring shapes is
/// least. The choice is exact among each chord's best `candidates` shapes (dynamic programming
/// over the progression, keeping the `alternatives` best partial arrangements per shape).
///
/// Stateless and thread-safe.
class TARVProgression {
public:
    using TuningPtr = std::shared_ptr<const SStringedInstrumentTuning>;

    /// One shape for each chord of a progression.
    struct Arrangement {
        std::vector<TARVPlayableShape> shapes;
        /// Per chord: the movement from the previous shape (0 for the first).
        std::vector<double> movements;
        /// The shapes' scores and the movements, summed.
        double cost = 0;
    };

    /// An arrangement with the capo at `capo`: the progression sounds as written and the shapes
    /// count their frets from the capo; `writtenChords` are the chords the shapes make relative
    /// to the capo, as a chord sheet for the capo writes them.
    struct CapoChoice {
        std::uint8_t capo = 0;
        std::vector<SChordPtr> writtenChords;
        Arrangement arrangement;
        /// The arrangement's cost and `capoFretWeight` per fret of the capo.
        double cost = 0;
    };

    /// The terms of the movement from `from` to `to` on `tuning` (fret distance, fingers moved,
    /// new tones, voice leading), each with its weight. None for no tuning.
    static std::vector<TARVPlayableShape::Term>
    movementTerms(const TARVPlayableShape& from, const TARVPlayableShape& to,
                  const TuningPtr& tuning, const TARVProgressionOptions& options = {});
    /// The sum of `movementTerms`.
    static double movementCost(const TARVPlayableShape& from, const TARVPlayableShape& to,
                               const TuningPtr& tuning, const TARVProgressionOptions& options = {});

    /// The best arrangements over given candidates (per chord, the shapes to choose among), at
    /// most `options.alternatives`, best first; at equal cost, arrangements of earlier
    /// candidates first. Empty when there is no chord or a chord has no candidate.
    static std::vector<Arrangement>
    arrangementsOfCandidates(const std::vector<std::vector<TARVPlayableShape>>& candidates,
                             const TuningPtr& tuning, const TARVProgressionOptions& options = {});

    /// The best arrangements of `chords` on `tuning` (with its capo), best first. Empty when a
    /// chord is absent or has no playable shape, or for no tuning.
    static std::vector<Arrangement> arrangements(const std::vector<SChordPtr>& chords,
                                                 const TuningPtr& tuning,
                                                 const TARVProgressionOptions& options = {});

    /// The best arrangement for each capo from 0 to `options.highestCapo` (at most the fret
    /// count), the progression sounding as written, cheapest first by `CapoChoice::cost` (a
    /// lower capo first at equal cost). `tuning`'s own capo is ignored. Capo positions at which a
    /// chord has no playable shape are left out.
    static std::vector<CapoChoice> capoChoices(const std::vector<SChordPtr>& chords,
                                               const TuningPtr& tuning,
                                               const TARVProgressionOptions& options = {});

    /// `tuning` with its capo at `capo`; null for no tuning.
    static TuningPtr tuningWithCapo(const TuningPtr& tuning, std::uint8_t capo);
};

} // namespace tarv
