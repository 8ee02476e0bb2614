#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableOptions.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"

#include <memory>
#include <vector>

namespace tarv {

using SStringedInstrumentTuningConstPtr = std::shared_ptr<const SStringedInstrumentTuning>;

/// One way to ask for the shapes of a chord, whichever engine answers; the tool and the
/// bindings all ask through it, so that they answer alike.
class TARVShapeQuery {
public:
    enum class Ranking {
        /// The playable search and model (`TARVPlayableShapes`), at most
        /// `options.maximumShapes`.
        Playable,
        /// The library's cached generator entry: the shared cache with its shipped files,
        /// generation on a miss. Every shape is fingered and scored by the playability model
        /// for display, in the cache's order.
        Cached,
        /// As `Cached`, but generated even on a hit and merged into the shared cache.
        Forced,
        /// The generator alone, without any cache, in its badness order.
        Uncached,
    };
    /// Empty for an absent chord or tuning, or when nothing is found. The cache is keyed by the
    /// open notes alone and may hold shapes made for a longer neck: shapes that do not fit the
    /// frets above the capo are left out.
    static std::vector<TARVPlayableShape> shapes(const SChordPtr& chord,
                                                 const SStringedInstrumentTuningConstPtr& tuning,
                                                 Ranking ranking,
                                                 const TARVPlayableOptions& options = {});
};

} // namespace tarv
