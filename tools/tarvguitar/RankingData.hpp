#pragma once

#include "ShapeCacheBuilding.hpp"

#include <iosfwd>
#include <optional>
#include <set>

namespace tarv {
class TARVPlayabilityModel;
}

namespace tarv::tool {

/// The instrument tuning of a file of well-known shapes: its listed strings, lowest-listed
/// first, become string numbers from the highest down.
SStringedInstrumentTuningPtr tuningForWellKnownShapeFile(const WellKnownShapeFile& file);

/// One JSON line per well-known chord of `files`: its name, root, well-known frets, whether the
/// playable search finds that shape, and the features of every voicing the search finds (the
/// well-known one marked). The data the playability model is fitted on.
void writeRankingData(std::ostream& out, const std::vector<WellKnownShapeFile>& files);

/// One JSON line per well-known chord whose root is in `roots` (all when empty): the place of
/// the well-known shape in the ranked list that `model` gives (0 when it is not listed).
void writeRankingCheck(std::ostream& out, const std::vector<WellKnownShapeFile>& files,
                       const TARVPlayabilityModel& model, const std::set<int>& roots);

} // namespace tarv::tool
