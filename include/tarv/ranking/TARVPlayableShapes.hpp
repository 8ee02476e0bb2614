#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableOptions.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tarv {

using SStringedInstrumentTuningConstPtr = std::shared_ptr<const SStringedInstrumentTuning>;

/// The playable search: every voicing of a chord that a hand can hold on an instrument, ranked
/// by the playability model, best first.
///
/// A voicing mutes a string, leaves it open or frets it at a chord tone; its fretted notes lie
/// within the span and reach of the options (frets counted from the capo); its lowest-sounding
/// string (by pitch, so re-entrant tunings work) plays the root or the slash bass when the
/// options require it; it sounds every characteristic tone of the chord, and every other tone
/// unless dropping is allowed; and `TARVFingering` finds a way to hold it.
///
/// Stateless and thread-safe: every call works on its own data.
class TARVPlayableShapes {
public:
    /// The ranked voicings, at most `options.maximumShapes`. The first five are diverse: no
    /// exact transposition of a shape already listed while another voicing exists, and neck
    /// positions spread when good shapes exist there. Empty for an absent chord or tuning, or
    /// when nothing is playable.
    static std::vector<TARVPlayableShape>
    shapesForChord(const SChordPtr& chord, const SStringedInstrumentTuningConstPtr& tuning,
                   const TARVPlayableOptions& options = {});
    /// Every voicing the rules allow, scored, in the search's own order (not ranked).
    static std::vector<TARVPlayableShape>
    allVoicings(const SChordPtr& chord, const SStringedInstrumentTuningConstPtr& tuning,
                const TARVPlayableOptions& options = {});
    /// `frets` (per string number, relative to the capo) fingered and scored as a voicing of
    /// `chord`, whether or not the search would allow it; absent when no hand can hold it, when
    /// the frets do not fit the tuning, or for an absent chord or tuning.
    static std::optional<TARVPlayableShape>
    scoreFrets(std::span<const std::int8_t> frets, const SChordPtr& chord,
               const SStringedInstrumentTuningConstPtr& tuning,
               const TARVPlayableOptions& options = {});
    /// Each of `fretLists` scored as `scoreFrets` scores it, in order, with what the chord and
    /// tuning give worked out once for all of them.
    static std::vector<std::optional<TARVPlayableShape>>
    scoreFretLists(std::vector<std::vector<std::int8_t>> fretLists, const SChordPtr& chord,
                   const SStringedInstrumentTuningConstPtr& tuning,
                   const TARVPlayableOptions& options = {});
    /// Whether the rules of the search allow `frets` for `chord`: the test `allVoicings` applies.
    static bool isAllowed(std::span<const std::int8_t> frets, const SChordPtr& chord,
                          const SStringedInstrumentTuningConstPtr& tuning,
                          const TARVPlayableOptions& options = {});
    /// The per-string frets of a shape of the library's shape model, relative to the capo: the
    /// sounding fret of each string, -1 where a string is muted or has no mark.
    static std::vector<std::int8_t> fretsForChordShape(const TARVChordShape& shape,
                                                       std::uint8_t stringCount);
};

} // namespace tarv
