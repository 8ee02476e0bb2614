#pragma once

#include "OutputFormatter.hpp"
#include "ShapeDiagram.hpp"

#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include <ostream>
#include <string>
#include <vector>

namespace tarv::tool {

/// The characters a chord box is drawn with.
struct BoxGlyphs {
    /// Each line: left corner, crossing of an inner string, right corner, line between strings.
    const char* nut[4];
    const char* top[4];    ///< the top line of a box that starts above the nut
    const char* wire[4];   ///< a fret wire inside the box
    const char* bottom[4]; ///< the last fret wire
    const char* string;
    const char* dot;
    const char* barre;
    const char* muted;
    const char* open;
    /// The neck drawn across: the nut, a fret wire, a string between frets, and a barre crossing
    /// a string.
    const char* acrossNut;
    const char* acrossWire;
    const char* acrossString;
    const char* acrossBarre;

    /// Box-drawing characters.
    static const BoxGlyphs& unicode();
    /// Plain ASCII, for terminals without box-drawing characters.
    static const BoxGlyphs& ascii();
};

/// The lines of one chord box for `diagram`: the muted and open markers, the nut or top line with
/// the first fret written beside the first row when the box starts above the nut, and the fret
/// rows. Every line holds single-column characters only; lines carry no trailing blanks.
std::vector<std::string> chordBoxLines(const ShapeDiagram& diagram, const BoxGlyphs& glyphs);

/// The lines of `diagram` with the neck drawn across, as tablature reads: one line per string,
/// the highest-pitched string on top, the muted and open markers before the nut (after it when
/// mirrored), and the first fret written above the first column when the diagram starts above
/// the nut.
std::vector<std::string> chordLinesAcross(const ShapeDiagram& diagram, const BoxGlyphs& glyphs);

/// The number of terminal columns `text` takes (UTF-8, every character one column wide).
std::size_t displayWidth(const std::string& text);

/// Lays out blocks of lines side by side, as many on a row as fit in `width` columns, with a
/// gap between blocks and a blank line between rows.
std::vector<std::string> sideBySide(const std::vector<std::vector<std::string>>& blocks,
                                    std::size_t width);

/// Chord boxes as guitarists read them, several side by side within 80 columns.
class TextFormatter final : public OutputFormatter {
public:
    TextFormatter(std::ostream& out, bool ascii);

    void writeChordShapes(const ChordShapesAnswer& answer,
                          const SStringedInstrumentTuning& tuning) override;
    void writeNotation(const NotationAnswer& answer,
                       const SStringedInstrumentTuning* tuning) override;
    void writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) override;
    void writeProgression(const ProgressionAnswer& answer) override;

private:
    /// The box, the frets and, for `rank` above 0, the rank and score.
    std::vector<std::string> shapeBlock(const TARVPlayableShape& shape, std::uint8_t stringCount,
                                        std::size_t rank, int capo = 0) const;

    std::ostream& _out;
    const BoxGlyphs& _glyphs;
};

/// How the tool reads a chord symbol: root, bass, notes, characteristic notes and the canonical
/// note string, one labelled line each.
void writeChordReadingText(std::ostream& out, const SChord& chord);

/// An instrument of a settings file: its name and fret count, then one line per tuning with its
/// name, note string and open strings from the lowest to the highest, as the file writes them.
void writeInstrumentText(std::ostream& out, const StringedInstrumentDescriptor& instrument);

} // namespace tarv::tool
