#include "SvgFormatter.hpp"

#include "tarv/diagrams/TARVDiagramSVG.hpp"

#include <cstdlib>

#include <algorithm>
#include <sstream>

namespace tarv::tool {

namespace {

// Geometry in user units (pixels).
constexpr int kMargin = 20;
constexpr int kMaximumContentWidth = 760;
constexpr int kTitleBaseline = 28;
constexpr int kSubtitleBaseline = 48;
constexpr int kGridTop = 64;
constexpr int kSectionGap = 16;

constexpr int kTextLine = 16;
constexpr int kFirstTextBaseline = 20;
constexpr int kCellBottomPadding = 14;
/// A generous estimate of the advance of one character at the texts' sizes.
constexpr int kCharacterWidth = 8;

const char* const kFontFamily = "DejaVu Sans, Helvetica, Arial, sans-serif";
const char* const kInk = "#1a1a1a";

int textWidth(const std::string& text) {
    return static_cast<int>(text.size()) * kCharacterWidth;
}

} // namespace

std::string xmlEscaped(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default:
            // Control characters other than tab and line ends are not allowed in XML.
            if (static_cast<unsigned char>(character) < 0x20 && character != '\t' &&
                character != '\n' && character != '\r') {
                escaped += '?';
            } else {
                escaped += character;
            }
        }
    }
    return escaped;
}

SvgFormatter::Cell SvgFormatter::cellFor(const TARVPlayableShape& shape, std::uint8_t stringCount,
                                         std::string summary, int capo,
                                         const std::string& caption) const {
    Cell cell;
    TARVDiagramOptions options = _diagramOptions;
    options.capo = static_cast<std::uint8_t>(capo);
    cell.diagram = TARVDiagramSVG::svgForShape(shape, stringCount, options, caption);
    const auto attribute = [&](const std::string& name) {
        const std::size_t start = cell.diagram.find(name + "=\"");
        return start == std::string::npos
                   ? 0
                   : std::atoi(cell.diagram.c_str() + start + name.size() + 2);
    };
    cell.width = attribute("width");
    cell.height = attribute("height");
    cell.fretText = shape.fretText();
    cell.summary = std::move(summary);
    return cell;
}

void SvgFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                    const SStringedInstrumentTuning& tuning) {
    std::vector<Cell> cells;
    cells.reserve(answer.shapes.size());
    for (std::size_t i = 0; i < answer.shapes.size(); ++i) {
        cells.push_back(cellFor(answer.shapes[i], tuning.stringCount(),
                                rankSummary(answer.shapes[i], i + 1), tuning.capo()));
    }
    std::string subtitle;
    if (answer.generatedCount == 0) {
        subtitle = "no playable shape in " + tuningSummary(tuning, _instrumentName);
    } else {
        subtitle = (answer.shapes.size() < answer.generatedCount
                        ? std::to_string(answer.shapes.size()) + " of "
                        : std::string()) +
                   std::to_string(answer.generatedCount) +
                   (answer.generatedCount == 1 ? " shape in " : " shapes in ") +
                   tuningSummary(tuning, _instrumentName);
    }
    addSection(chordTitle(answer.chord, tuning), subtitle, cells);
}

void SvgFormatter::writeNotation(const NotationAnswer& answer,
                                 const SStringedInstrumentTuning* tuning) {
    Cell cell = cellFor(answer.shape, answer.fretText.stringCount,
                        "fingers " + answer.shape.fingering().text(),
                        tuning != nullptr ? tuning->capo() : 0);
    std::string subtitle = "chord shape";
    if (tuning != nullptr) {
        std::vector<std::string> notes = noteTexts(soundingNotes(answer.shape, *tuning));
        std::reverse(notes.begin(), notes.end());
        std::string text = tuning->capo() > 0
                               ? "notes with the capo at fret " + std::to_string(tuning->capo())
                               : std::string("notes");
        for (const std::string& note : notes) {
            text += " " + note;
        }
        cell.notes = text;
        subtitle += " in " + tuningSummary(*tuning, _instrumentName);
    }
    addSection(answer.fretText.notation, subtitle, {cell});
}

void SvgFormatter::writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) {
    // The best name with the chord it sounds as, then the next readings; the text and JSON
    // formats list them all.
    constexpr std::size_t kNamesShown = 3;
    std::string summary =
        answer.names.empty() ? std::string("no chord name") : nameText(answer.names.front());
    if (tuning.capo() > 0 && !answer.names.empty()) {
        const SChordPtr sounding = soundingChord(answer.names.front(), tuning);
        summary += " (sounds as " + (sounding ? sounding->name() : std::string("?")) + ")";
    }
    for (std::size_t i = 1; i < answer.names.size() && i < kNamesShown; ++i) {
        summary += (i == 1 ? "; also " : ", ") + nameText(answer.names[i]);
    }
    Cell cell = cellFor(answer.shape, answer.fretText.stringCount,
                        "fingers " + answer.shape.fingering().text(), tuning.capo(),
                        answer.names.empty() ? std::string() : answer.names.front().symbol);
    cell.notes = summary;
    addSection(answer.fretText.notation, "chord names in " + tuningSummary(tuning, _instrumentName),
               {cell});
}

void SvgFormatter::writeProgression(const ProgressionAnswer& answer) {
    const SStringedInstrumentTuning& tuning = *answer.tuning;
    std::string chords;
    for (const SChordPtr& chord : answer.chords) {
        chords += (chords.empty() ? "" : " ") + chord->name();
    }
    std::string capoLine;
    for (std::size_t i = 0; i < answer.capoChoices.size() && i < answer.capoChoicesShown; ++i) {
        capoLine += (i > 0 ? "; " : "") + capoChoiceText(answer.capoChoices[i]);
    }
    if (answer.arrangements.empty()) {
        addSection(chords, "no playable arrangement in " + tuningSummary(tuning, _instrumentName),
                   {});
        return;
    }
    for (std::size_t k = 0; k < answer.arrangements.size(); ++k) {
        const TARVProgression::Arrangement& arrangement = answer.arrangements[k];
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < arrangement.shapes.size(); ++i) {
            const SChordPtr played = playedChord(answer.chords[i], tuning);
            const std::string name = played ? played->name() : answer.chords[i]->name();
            Cell cell = cellFor(
                arrangement.shapes[i], tuning.stringCount(),
                "score " + decimalText(arrangement.shapes[i].score()) +
                    (i > 0 ? ", move " + decimalText(arrangement.movements[i]) : std::string()),
                tuning.capo(), name);
            if (tuning.capo() > 0) {
                cell.notes = "sounds as " + answer.chords[i]->name();
            }
            cells.push_back(std::move(cell));
        }
        std::string subtitle =
            (k == 0 ? std::string("best") : "alternative " + std::to_string(k + 1)) + ", cost " +
            decimalText(arrangement.cost) + ", " + tuningSummary(tuning, _instrumentName);
        if (k == 0 && !capoLine.empty()) {
            subtitle += " | " + capoLine;
        }
        addSection(chords, subtitle, cells);
    }
}

void SvgFormatter::addSection(const std::string& title, const std::string& subtitle,
                              const std::vector<Cell>& cells) {
    int cellWidth = 0;
    int cellHeight = 0;
    for (const Cell& cell : cells) {
        const int texts = cell.notes ? 3 : 2;
        cellWidth = std::max({cellWidth, cell.width + 8, textWidth(cell.fretText) + 4,
                              textWidth(cell.summary), cell.notes ? textWidth(*cell.notes) : 0});
        cellHeight = std::max(cellHeight, cell.height + kFirstTextBaseline +
                                              (texts - 1) * kTextLine + kCellBottomPadding);
    }
    const int columns = cells.empty() ? 0
                                      : std::clamp(kMaximumContentWidth / std::max(cellWidth, 1), 1,
                                                   static_cast<int>(cells.size()));
    const int rows = columns == 0 ? 0 : (static_cast<int>(cells.size()) + columns - 1) / columns;

    std::ostringstream svg;
    const int top = _height;
    svg << "<g class=\"chord\" transform=\"translate(" << kMargin << "," << top + kMargin
        << ")\">\n";
    svg << "<text class=\"title\" x=\"0\" y=\"" << kTitleBaseline
        << "\" font-size=\"22\" font-weight=\"bold\">" << xmlEscaped(title) << "</text>\n";
    svg << "<text class=\"subtitle\" x=\"0\" y=\"" << kSubtitleBaseline
        << "\" font-size=\"13\" fill=\"#555555\">" << xmlEscaped(subtitle) << "</text>\n";

    for (std::size_t index = 0; index < cells.size(); ++index) {
        const Cell& cell = cells[index];
        const int column = static_cast<int>(index) % columns;
        const int row = static_cast<int>(index) / columns;
        svg << "<g class=\"diagram\" transform=\"translate(" << column * cellWidth << ","
            << kGridTop + row * cellHeight << ")\">\n";
        // The library's diagram, nested where the cell starts.
        const int left = (cellWidth - cell.width) / 2;
        svg << "<svg x=\"" << left << "\" y=\"0\"" << cell.diagram.substr(4) << "\n";
        const int textCenter = cellWidth / 2;
        int baseline = cell.height + kFirstTextBaseline;
        svg << "<text class=\"fret-text\" x=\"" << textCenter << "\" y=\"" << baseline
            << "\" font-size=\"13\" text-anchor=\"middle\">" << xmlEscaped(cell.fretText)
            << "</text>\n";
        baseline += kTextLine;
        svg << "<text class=\"summary\" x=\"" << textCenter << "\" y=\"" << baseline
            << "\" font-size=\"11\" text-anchor=\"middle\" fill=\"#555555\">"
            << xmlEscaped(cell.summary) << "</text>\n";
        if (cell.notes) {
            baseline += kTextLine;
            svg << "<text class=\"notes\" x=\"" << textCenter << "\" y=\"" << baseline
                << "\" font-size=\"11\" text-anchor=\"middle\">" << xmlEscaped(*cell.notes)
                << "</text>\n";
        }
        svg << "</g>\n";
    }
    svg << "</g>\n";

    const int sectionWidth = std::max(textWidth(title) * 2, columns * cellWidth);
    const int sectionHeight = kGridTop + rows * cellHeight;
    _width = std::max({_width, sectionWidth, textWidth(subtitle)});
    _height += sectionHeight + kSectionGap;
    _body += svg.str();
}

void SvgFormatter::end() {
    const int width = std::max(_width, 200) + 2 * kMargin;
    const int height = std::max(_height, 40) + 2 * kMargin;
    _out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" << width
         << "\" height=\"" << height << "\" viewBox=\"0 0 " << width << " " << height
         << "\" font-family=\"" << kFontFamily << "\" fill=\"" << kInk << "\">\n"
         << "<rect class=\"background\" width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
         << _body << "</svg>\n";
    _out.flush();
}

} // namespace tarv::tool
