#include "TextFormatter.hpp"

#include <algorithm>
#include <cstddef>

namespace tarv::tool {

namespace {

constexpr std::size_t kLineWidth = 80;
constexpr std::size_t kBlockGap = 3;

const char* const kMarkerGap = " ";

/// Glyph indices of a horizontal line.
enum HorizontalGlyph { LeftCorner = 0, Crossing = 1, RightCorner = 2, Between = 3 };

std::string rightTrimmed(std::string line) {
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

std::string joined(const std::vector<const char*>& glyphs) {
    std::string line;
    for (const char* glyph : glyphs) {
        line += glyph;
    }
    return rightTrimmed(std::move(line));
}

std::size_t columnCount(const ShapeDiagram& diagram) {
    return diagram.stringCount == 0 ? 0 : 2 * static_cast<std::size_t>(diagram.stringCount) - 1;
}

std::string horizontalLine(const ShapeDiagram& diagram, const char* const (&glyphs)[4]) {
    const std::size_t columns = columnCount(diagram);
    std::vector<const char*> line(columns, glyphs[Between]);
    for (std::size_t column = 0; column < columns; column += 2) {
        if (columns == 1) {
            line[column] = glyphs[Crossing];
        } else if (column == 0) {
            line[column] = glyphs[LeftCorner];
        } else if (column + 1 == columns) {
            line[column] = glyphs[RightCorner];
        } else {
            line[column] = glyphs[Crossing];
        }
    }
    return joined(line);
}

/// A finger number in place of a dot, or the dot itself when the finger is not known.
const char* fingerGlyph(std::uint8_t finger, const BoxGlyphs& glyphs) {
    static const char* const kFingers[] = {"1", "2", "3", "4", "T"};
    return finger >= 1 && finger <= TARVFingering::kThumb ? kFingers[finger - 1] : glyphs.dot;
}

std::string rowLine(const ShapeDiagram& diagram, const BoxGlyphs& glyphs, int row) {
    const std::size_t columns = columnCount(diagram);
    std::vector<const char*> line(columns, " ");
    for (std::size_t column = 0; column < columns; column += 2) {
        line[column] = glyphs.string;
    }
    for (const DiagramBarre& barre : diagram.barres) {
        if (barre.row != row) {
            continue;
        }
        // The bass side may lie on either hand.
        const auto first =
            static_cast<std::size_t>(2 * std::min(diagram.columnForString(barre.highString),
                                                  diagram.columnForString(barre.lowString)));
        const auto last =
            static_cast<std::size_t>(2 * std::max(diagram.columnForString(barre.highString),
                                                  diagram.columnForString(barre.lowString)));
        for (std::size_t column = first; column <= last; ++column) {
            line[column] = (column == first || column == last) ? fingerGlyph(barre.finger, glyphs)
                                                               : glyphs.barre;
        }
    }
    for (const DiagramDot& dot : diagram.dots) {
        if (dot.row == row) {
            line[static_cast<std::size_t>(2 * diagram.columnForString(dot.string))] =
                fingerGlyph(dot.finger, glyphs);
        }
    }
    return joined(line);
}

std::string markerLine(const ShapeDiagram& diagram, const BoxGlyphs& glyphs) {
    std::vector<const char*> line(columnCount(diagram), kMarkerGap);
    for (std::uint8_t string = 0; string < diagram.stringCount; ++string) {
        const char* glyph = kMarkerGap;
        switch (diagram.markers[string]) {
        case StringMarker::Muted:
            glyph = glyphs.muted;
            break;
        case StringMarker::Open:
            glyph = glyphs.open;
            break;
        case StringMarker::Fretted:
            break;
        }
        line[static_cast<std::size_t>(2 * diagram.columnForString(string))] = glyph;
    }
    return joined(line);
}

std::string joinedWithSpaces(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

} // namespace

const BoxGlyphs& BoxGlyphs::unicode() {
    static const BoxGlyphs glyphs{{"╒", "╤", "╕", "═"},
                                  {"┌", "┬", "┐", "─"},
                                  {"├", "┼", "┤", "─"},
                                  {"└", "┴", "┘", "─"},
                                  "│",
                                  "●",
                                  "━",
                                  "x",
                                  "o",
                                  "║",
                                  "┼",
                                  "─",
                                  "┃"};
    return glyphs;
}

const BoxGlyphs& BoxGlyphs::ascii() {
    static const BoxGlyphs glyphs{{"=", "=", "=", "="},
                                  {"+", "+", "+", "-"},
                                  {"+", "+", "+", "-"},
                                  {"+", "+", "+", "-"},
                                  "|",
                                  "*",
                                  "=",
                                  "x",
                                  "o",
                                  "#",
                                  "|",
                                  "-",
                                  "I"};
    return glyphs;
}

std::size_t displayWidth(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) != 0x80U;
    }));
}

std::vector<std::string> chordBoxLines(const ShapeDiagram& diagram, const BoxGlyphs& glyphs) {
    std::vector<std::string> lines;
    lines.push_back(markerLine(diagram, glyphs));
    lines.push_back(horizontalLine(diagram, diagram.atNut ? glyphs.nut : glyphs.top));
    if (diagram.capo > 0) {
        lines.back() += " capo " + std::to_string(diagram.capo);
    }
    for (int row = 0; row < diagram.rowCount; ++row) {
        std::string line = rowLine(diagram, glyphs, row);
        if (row == 0 && !diagram.atNut) {
            line += std::string(columnCount(diagram) - displayWidth(line), ' ') + " " +
                    std::to_string(diagram.firstFret) + "fr";
        }
        lines.push_back(std::move(line));
        lines.push_back(
            horizontalLine(diagram, row + 1 == diagram.rowCount ? glyphs.bottom : glyphs.wire));
    }
    return lines;
}

std::vector<std::string> chordLinesAcross(const ShapeDiagram& diagram, const BoxGlyphs& glyphs) {
    // Each fret is a cell of three columns and a wire: "─1─┼".
    constexpr std::size_t kCellWidth = 4;
    std::vector<std::string> lines;
    const std::size_t cells = static_cast<std::size_t>(std::max(diagram.rowCount, 0));
    std::string header;
    if (!diagram.atNut || diagram.capo > 0) {
        std::string label =
            diagram.atNut ? std::string() : std::to_string(diagram.firstFret) + "fr";
        if (diagram.capo > 0) {
            label +=
                (label.empty() ? "" : ", ") + std::string("capo ") + std::to_string(diagram.capo);
        }
        header =
            diagram.leftHanded
                ? std::string(
                      std::max<std::size_t>(cells * kCellWidth, label.size()) - label.size(), ' ') +
                      label
                : "   " + label;
    }
    lines.push_back(header);
    for (std::uint8_t string = 0; string < diagram.stringCount; ++string) {
        std::vector<std::string> cellTexts(cells, std::string(glyphs.acrossString) +
                                                      glyphs.acrossString + glyphs.acrossString);
        const auto place = [&](int row, const char* glyph) {
            if (row >= 0 && static_cast<std::size_t>(row) < cells) {
                cellTexts[static_cast<std::size_t>(row)] =
                    std::string(glyphs.acrossString) + glyph + glyphs.acrossString;
            }
        };
        for (const DiagramBarre& barre : diagram.barres) {
            if (string >= barre.lowString && string <= barre.highString) {
                const bool end = string == barre.lowString || string == barre.highString;
                place(barre.row, end ? fingerGlyph(barre.finger, glyphs) : glyphs.acrossBarre);
            }
        }
        for (const DiagramDot& dot : diagram.dots) {
            if (dot.string == string) {
                place(dot.row, fingerGlyph(dot.finger, glyphs));
            }
        }
        const char* marker = " ";
        switch (diagram.markers[string]) {
        case StringMarker::Muted:
            marker = glyphs.muted;
            break;
        case StringMarker::Open:
            marker = glyphs.open;
            break;
        case StringMarker::Fretted:
            break;
        }
        const char* edge = diagram.atNut ? glyphs.acrossNut : glyphs.acrossWire;
        std::string line;
        if (diagram.leftHanded) {
            // The nut on the right, frets counting leftwards.
            for (std::size_t cell = cells; cell-- > 0;) {
                line += std::string(glyphs.acrossWire) + cellTexts[cell];
            }
            line += std::string(edge) + " " + marker;
        } else {
            line = std::string(marker) + " " + edge;
            for (const std::string& cellText : cellTexts) {
                line += cellText + glyphs.acrossWire;
            }
        }
        lines.push_back(rightTrimmed(std::move(line)));
    }
    return lines;
}

std::vector<std::string> sideBySide(const std::vector<std::vector<std::string>>& blocks,
                                    std::size_t width) {
    std::vector<std::size_t> widths;
    widths.reserve(blocks.size());
    for (const std::vector<std::string>& block : blocks) {
        std::size_t blockWidth = 0;
        for (const std::string& line : block) {
            blockWidth = std::max(blockWidth, displayWidth(line));
        }
        widths.push_back(blockWidth);
    }

    std::vector<std::string> lines;
    std::size_t first = 0;
    while (first < blocks.size()) {
        // The blocks [first, end) share one row.
        std::size_t end = first + 1;
        std::size_t used = widths[first];
        while (end < blocks.size() && used + kBlockGap + widths[end] <= width) {
            used += kBlockGap + widths[end];
            ++end;
        }
        if (first > 0) {
            lines.emplace_back();
        }
        std::size_t height = 0;
        for (std::size_t block = first; block < end; ++block) {
            height = std::max(height, blocks[block].size());
        }
        for (std::size_t lineIndex = 0; lineIndex < height; ++lineIndex) {
            std::string line;
            for (std::size_t block = first; block < end; ++block) {
                const std::string text =
                    lineIndex < blocks[block].size() ? blocks[block][lineIndex] : std::string();
                line += text;
                if (block + 1 < end) {
                    line += std::string(widths[block] - displayWidth(text) + kBlockGap, ' ');
                }
            }
            lines.push_back(rightTrimmed(std::move(line)));
        }
        first = end;
    }
    return lines;
}

TextFormatter::TextFormatter(std::ostream& out, bool ascii)
    : _out(out), _glyphs(ascii ? BoxGlyphs::ascii() : BoxGlyphs::unicode()) {}

std::vector<std::string> TextFormatter::shapeBlock(const TARVPlayableShape& shape,
                                                   std::uint8_t stringCount, std::size_t rank,
                                                   int capo) const {
    ShapeDiagram diagram = diagramForShape(shape, stringCount);
    diagram.leftHanded = _diagramOptions.leftHanded;
    diagram.capo = capo;
    std::vector<std::string> block = _diagramOptions.horizontal ? chordLinesAcross(diagram, _glyphs)
                                                                : chordBoxLines(diagram, _glyphs);
    block.push_back(diagram.fretText);
    if (rank > 0) {
        block.push_back(rankSummary(shape, rank));
    }
    return block;
}

void TextFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                     const SStringedInstrumentTuning& tuning) {
    const std::string symbol = chordTitle(answer.chord, tuning);
    if (answer.generatedCount == 0) {
        _out << symbol << ": no playable shape in " << tuningSummary(tuning, _instrumentName)
             << "\n\n";
        return;
    }
    _out << symbol << ": ";
    if (answer.shapes.size() < answer.generatedCount) {
        _out << answer.shapes.size() << " of ";
    }
    _out << answer.generatedCount << (answer.generatedCount == 1 ? " shape" : " shapes") << " in "
         << tuningSummary(tuning, _instrumentName) << "\n\n";
    if (answer.shapes.empty()) {
        return;
    }

    std::vector<std::vector<std::string>> blocks;
    blocks.reserve(answer.shapes.size());
    for (std::size_t i = 0; i < answer.shapes.size(); ++i) {
        blocks.push_back(shapeBlock(answer.shapes[i], tuning.stringCount(), i + 1, tuning.capo()));
    }
    for (const std::string& line : sideBySide(blocks, kLineWidth)) {
        _out << line << "\n";
    }
    _out << "\n";
    if (_explain) {
        for (std::size_t i = 0; i < answer.shapes.size(); ++i) {
            const TARVPlayableShape& shape = answer.shapes[i];
            _out << "  " << i + 1 << ". " << shape.fretText() << "  " << rankSummary(shape, i + 1)
                 << "  fingers " << shape.fingering().text() << "\n";
            for (const std::string& line : termLines(shape)) {
                _out << "       " << line << "\n";
            }
        }
        _out << "\n";
    }
}

void TextFormatter::writeNotation(const NotationAnswer& answer,
                                  const SStringedInstrumentTuning* tuning) {
    _out << "Shape " << answer.fretText.notation;
    if (tuning != nullptr) {
        _out << " in " << tuningSummary(*tuning, _instrumentName);
    }
    _out << "\n\n";
    std::vector<std::string> block = shapeBlock(answer.shape, answer.fretText.stringCount, 0,
                                                tuning != nullptr ? tuning->capo() : 0);
    block.push_back("fingers " + answer.shape.fingering().text());
    if (tuning != nullptr) {
        // Lowest string first, the way the box reads from left to right.
        std::vector<std::string> notes = noteTexts(soundingNotes(answer.shape, *tuning));
        std::reverse(notes.begin(), notes.end());
        block.push_back((tuning->capo() > 0
                             ? "notes with the capo at fret " + std::to_string(tuning->capo()) + " "
                             : std::string("notes ")) +
                        (notes.empty() ? std::string("(none)") : joinedWithSpaces(notes)));
    }
    for (const std::string& line : block) {
        _out << line << "\n";
    }
    _out << "\n";
}

void TextFormatter::writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) {
    _out << "Shape " << answer.fretText.notation << " in " << tuningSummary(tuning, _instrumentName)
         << "\n\n";
    std::vector<std::string> block =
        shapeBlock(answer.shape, answer.fretText.stringCount, 0, tuning.capo());
    if (answer.names.empty()) {
        block.emplace_back("no chord name: no chord the library knows has these notes");
    }
    for (std::size_t i = 0; i < answer.names.size(); ++i) {
        std::string line = std::to_string(i + 1) + ". " + nameText(answer.names[i]);
        if (tuning.capo() > 0) {
            const SChordPtr sounding = soundingChord(answer.names[i], tuning);
            line += ", sounds as " + (sounding ? sounding->name() : std::string("?"));
        }
        block.push_back(line);
    }
    for (const std::string& line : block) {
        _out << line << "\n";
    }
    _out << "\n";
}

void TextFormatter::writeProgression(const ProgressionAnswer& answer) {
    const SStringedInstrumentTuning& tuning = *answer.tuning;
    std::string chords;
    for (const SChordPtr& chord : answer.chords) {
        chords += (chords.empty() ? "" : " ") + chord->name();
    }
    // With a capo the shapes are named as they are fingered, and the chords sound as given.
    std::string played;
    for (const SChordPtr& chord : answer.chords) {
        const SChordPtr shape = playedChord(chord, tuning);
        played += (played.empty() ? "" : " ") + (shape ? shape->name() : chord->name());
    }
    if (tuning.capo() > 0) {
        played += " (sounds as " + chords + ")";
    }
    if (!answer.capoChoices.empty()) {
        _out << chords << ": the best capo positions, the song sounding as written\n";
        for (std::size_t i = 0; i < answer.capoChoices.size() && i < answer.capoChoicesShown; ++i) {
            _out << "  " << capoChoiceText(answer.capoChoices[i]) << "\n";
        }
        _out << "\n";
    }
    if (answer.arrangements.empty()) {
        _out << chords << ": no playable arrangement in " << tuningSummary(tuning, _instrumentName)
             << "\n\n";
        return;
    }
    for (std::size_t k = 0; k < answer.arrangements.size(); ++k) {
        const TARVProgression::Arrangement& arrangement = answer.arrangements[k];
        _out << (k == 0 ? std::string("Best") : "Alternative " + std::to_string(k + 1)) << ": "
             << played << " in " << tuningSummary(tuning, _instrumentName) << ", cost "
             << decimalText(arrangement.cost) << "\n\n";
        std::vector<std::vector<std::string>> blocks;
        for (std::size_t i = 0; i < arrangement.shapes.size(); ++i) {
            const SChordPtr shapeChord = playedChord(answer.chords[i], tuning);
            std::vector<std::string> block{shapeChord ? shapeChord->name()
                                                      : answer.chords[i]->name()};
            if (tuning.capo() > 0) {
                block.push_back("sounds as " + answer.chords[i]->name());
            }
            for (std::string& line :
                 shapeBlock(arrangement.shapes[i], tuning.stringCount(), 0, tuning.capo())) {
                block.push_back(std::move(line));
            }
            block.push_back("score " + decimalText(arrangement.shapes[i].score()));
            if (i > 0) {
                block.push_back("move " + decimalText(arrangement.movements[i]));
            }
            blocks.push_back(std::move(block));
        }
        for (const std::string& line : sideBySide(blocks, kLineWidth)) {
            _out << line << "\n";
        }
        _out << "\n";
    }
}

void writeChordReadingText(std::ostream& out, const SChord& chord) {
    const auto line = [&out](const char* label, const std::string& value) {
        out << "  " << label << std::string(24 - std::string(label).size(), ' ') << value << "\n";
    };
    out << chord.symbol() << "\n";
    line("root", chord.root().string());
    line("bass", chord.addedBase() ? chord.addedBase()->string() : std::string("(none)"));
    line("notes", joinedWithSpaces(noteTexts(chord.notes())));
    line("characteristic notes", joinedWithSpaces(noteTexts(chord.characteristicNotes())));
    line("numericNoteStringValue", chord.numericNoteStringValue());
    out << "\n";
}

void writeInstrumentText(std::ostream& out, const StringedInstrumentDescriptor& instrument) {
    out << instrument.name() << " (" << instrument.frets()
        << (instrument.frets() == 1 ? " fret)" : " frets)") << "\n";
    std::size_t nameWidth = 0;
    std::size_t noteStringWidth = 0;
    for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
        nameWidth = std::max(nameWidth, displayWidth(tuning.tuningName()));
        noteStringWidth = std::max(noteStringWidth, displayWidth(tuning.noteString()));
    }
    for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
        std::vector<std::string> pitches;
        for (auto note = tuning.notes().rbegin(); note != tuning.notes().rend(); ++note) {
            pitches.push_back(note->noteName() + std::to_string(note->octave()));
        }
        const std::string line =
            "  " + tuning.tuningName() +
            std::string(nameWidth - displayWidth(tuning.tuningName()) + 2, ' ') +
            tuning.noteString() +
            std::string(noteStringWidth - displayWidth(tuning.noteString()) + 2, ' ') +
            joinedWithSpaces(pitches);
        out << rightTrimmed(line) << "\n";
    }
    out << "\n";
}

} // namespace tarv::tool
