#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"

#include <cstddef>
#include <span>
#include <string>

namespace tarv {

/// The JSON forms of chords, tunings and ranked shapes, as the tarvguitar tool writes them
/// (one line each, no trailing newline). Arrays indexed by string number ("fingers",
/// "indicators" strings, "notes" order) start at string 0, the first entry of the tuning's
/// pitch list (the highest-sounding string of a guitar); "frets" and "strings" run from the
/// lowest-pitched string position (the highest string number) to string 0.
class TARVShapeJSON {
public:
    static std::string chordJSON(const SChord& chord);
    /// `instrumentName` is written as "instrument" when not empty.
    static std::string tuningJSON(const SStringedInstrumentTuning& tuning,
                                  const std::string& instrumentName = {});
    /// One shape of a ranked list; `rank` counts from 1.
    static std::string shapeJSON(const TARVPlayableShape& shape, std::size_t rank,
                                 const SStringedInstrumentTuning& tuning) {
        return shapeJSON(shape, rank, &tuning);
    }
    /// Without a tuning (null) the sounding "notes" are left out.
    static std::string shapeJSON(const TARVPlayableShape& shape, std::size_t rank,
                                 const SStringedInstrumentTuning* tuning);
    /// {"chord": ..., "tuning": ..., "shapes": [...]}: the tool's line for one chord.
    static std::string answerJSON(const SChord& chord, const SStringedInstrumentTuning& tuning,
                                  std::span<const TARVPlayableShape> shapes,
                                  const std::string& instrumentName = {});
};

} // namespace tarv
