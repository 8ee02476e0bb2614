#pragma once

#include "tarv/diagrams/TARVDiagramOptions.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"

#include <cstdint>
#include <string>

namespace tarv {

/// Chord diagrams as SVG: one column per string, fret rows from the nut or from a base-fret
/// label, open and muted marks above the strings, finger numbers inside the dots, barres as
/// bars.
class TARVDiagramSVG {
public:
    /// A standalone SVG document holding the diagram of `shape` on `stringCount` strings, with
    /// `caption` (e.g. the chord's name) above it when not empty.
    static std::string svgForShape(const TARVPlayableShape& shape, std::uint8_t stringCount,
                                   const TARVDiagramOptions& options = {},
                                   const std::string& caption = {});
};

} // namespace tarv
