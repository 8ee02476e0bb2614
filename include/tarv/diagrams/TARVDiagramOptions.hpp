#pragma once

namespace tarv {

/// How chord diagrams are drawn.
struct TARVDiagramOptions {
    /// Mirrored for a left-handed player: the lowest-pitched string on the right.
    bool leftHanded = false;
    /// The neck drawn across, as tablature reads: strings as rows, the highest-pitched on top.
    bool horizontal = false;
    /// Plain ASCII for text boxes instead of box-drawing characters.
    bool ascii = false;
};

} // namespace tarv
