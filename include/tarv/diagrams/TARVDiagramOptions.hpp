#pragma once

#include <cstdint>

namespace tarv {

/// How chord diagrams are drawn.
struct TARVDiagramOptions {
    /// Mirrored for a left-handed player: the lowest-pitched string on the right.
    bool leftHanded = false;
    /// The neck drawn across, as tablature reads: strings as rows, the highest-pitched on top.
    bool horizontal = false;
    /// Plain ASCII for text boxes instead of box-drawing characters.
    bool ascii = false;
    /// The fret of the capo, 0 for none. The shape's frets count from it; the diagram draws the
    /// capo across the strings in place of the nut and says "capo N".
    std::uint8_t capo = 0;
};

} // namespace tarv
