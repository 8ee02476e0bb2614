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
        /// The generator alone, without any cache, in its badness order.
        Uncached,
    };
    /// Empty for an absent chord or tuning, or when nothing is found.
    static std::vector<TARVPlayableShape> shapes(const SChordPtr& chord,
                                                 const SStringedInstrumentTuningConstPtr& tuning,
                                                 Ranking ranking,
                                                 const TARVPlayableOptions& options = {});
};

} // namespace tarv
