#pragma once

#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarv::tool {

/// What a diagram shows above a string's column.
enum class StringMarker : std::uint8_t {
    Muted,   ///< "x": muted, or no mark at all on that string
    Open,    ///< "o": the string sounds open
    Fretted, ///< nothing above the string: a finger or a barre holds it
};

/// A finger on one string, in a fret row of the diagram.
struct DiagramDot {
    std::uint8_t string = 0;
    int row = 0;
    /// 1 to 4, `TARVFingering::kThumb`, or 0 when the finger is not known.
    std::uint8_t finger = 0;
};

/// A barre in a fret row, over the strings `lowString` to `highString` (string numbers, both
/// inclusive; `highString` is drawn leftmost since it is the lower-pitched one).
struct DiagramBarre {
    int row = 0;
    std::uint8_t lowString = 0;
    std::uint8_t highString = 0;
    std::uint8_t finger = 0;
};

/// A chord shape laid out as guitarists read a chord box: one column per string with the
/// lowest-pitched string (the highest string number) on the left, fret rows going down from the
/// nut or from `firstFret`. Every output format draws from this one layout.
struct ShapeDiagram {
    std::uint8_t stringCount = 0;
    /// Indexed by string number.
    std::vector<StringMarker> markers;
    std::vector<DiagramDot> dots;
    std::vector<DiagramBarre> barres;
    /// The absolute fret of the first row.
    int firstFret = 1;
    /// True when the first row lies right under the nut, which is then drawn.
    bool atNut = true;
    int rowCount = 4;
    /// The fret-number text of the shape (see `fretTextForShape`).
    std::string fretText;
    /// Mirrored for a left-handed player: the lowest-pitched string on the right.
    bool leftHanded = false;
    /// The fret of the capo, 0 for none; the frets of the diagram count from it.
    int capo = 0;

    /// The column of `string`, 0 being the leftmost.
    int columnForString(std::uint8_t string) const noexcept {
        return leftHanded ? static_cast<int>(string)
                          : static_cast<int>(stringCount) - 1 - static_cast<int>(string);
    }
};

/// The fewest fret rows a diagram has.
inline constexpr int kMinimumDiagramRows = 4;

/// The diagram of `shape` on an instrument of `stringCount` strings.
ShapeDiagram diagramForShape(const TARVChordShape& shape, std::uint8_t stringCount);

/// The diagram of a ranked shape: its frets, and its fingering's barres and finger numbers.
ShapeDiagram diagramForShape(const TARVPlayableShape& shape, std::uint8_t stringCount);

/// The absolute fret of every string, written from string `stringCount` - 1 down to string 0 and
/// separated by ",": base fret plus relative fret, "x" for a muted string, a barre's fret on the
/// strings it covers that have no mark of their own, and "x" for a string with no mark at all.
/// Where a string carries several fingers, the highest one (the one that sounds) is written.
std::string fretTextForShape(const TARVChordShape& shape, std::uint8_t stringCount);

} // namespace tarv::tool
