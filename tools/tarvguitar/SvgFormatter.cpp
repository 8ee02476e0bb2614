#include "SvgFormatter.hpp"

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

constexpr int kStringSpacing = 18;
constexpr int kFretSpacing = 24;
constexpr int kBoxLeft = 22;
constexpr int kBoxTop = 28;
constexpr int kMarkerCenter = 15;
constexpr int kLabelArea = 40;
constexpr int kDotRadius = 7;
constexpr int kOpenRadius = 5;
constexpr int kMutedHalfSize = 5;
constexpr int kNutHeight = 5;
constexpr int kTextLine = 16;
constexpr int kFirstTextBaseline = 20;
constexpr int kCellBottomPadding = 14;
/// A generous estimate of the advance of one character at the texts' sizes.
constexpr int kCharacterWidth = 8;

const char* const kFontFamily = "DejaVu Sans, Helvetica, Arial, sans-serif";
const char* const kInk = "#1a1a1a";

int boxWidth(const ShapeDiagram& diagram) {
    return std::max(0, (static_cast<int>(diagram.stringCount) - 1) * kStringSpacing);
}

int textWidth(const std::string& text) {
    return static_cast<int>(text.size()) * kCharacterWidth;
}

int stringX(const ShapeDiagram& diagram, std::uint8_t string) {
    return kBoxLeft + diagram.columnForString(string) * kStringSpacing;
}

int rowCenterY(int row) {
    return kBoxTop + row * kFretSpacing + kFretSpacing / 2;
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

void SvgFormatter::writeChordShapes(const ChordShapesAnswer& answer,
                                    const SStringedInstrumentTuning& tuning) {
    std::vector<Cell> cells;
    cells.reserve(answer.shapes.size());
    for (const TARVChordShapePtr& shape : answer.shapes) {
        cells.push_back({diagramForShape(*shape, tuning.stringCount()),
                         "badness " + std::to_string(shape->badness()), std::nullopt});
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
    addSection(answer.chord->symbol(), subtitle, cells);
}

void SvgFormatter::writeNotation(const NotationAnswer& answer,
                                 const SStringedInstrumentTuning* tuning) {
    Cell cell{diagramForShape(*answer.shape, answer.fretText.stringCount),
              "badness " + std::to_string(answer.shape->badness()), std::nullopt};
    std::string subtitle = "chord shape";
    if (tuning != nullptr) {
        std::vector<std::string> notes = noteTexts(answer.shape->notesInTuning(*tuning));
        std::reverse(notes.begin(), notes.end());
        std::string text = "notes";
        for (const std::string& note : notes) {
            text += " " + note;
        }
        cell.notes = text;
        subtitle += " in " + tuningSummary(*tuning, _instrumentName);
    }
    addSection(answer.fretText.notation, subtitle, {cell});
}

void SvgFormatter::addSection(const std::string& title, const std::string& subtitle,
                              const std::vector<Cell>& cells) {
    int cellWidth = 0;
    int cellHeight = 0;
    for (const Cell& cell : cells) {
        const int texts = cell.notes ? 3 : 2;
        cellWidth = std::max({cellWidth, kBoxLeft + boxWidth(cell.diagram) + kLabelArea,
                              textWidth(cell.diagram.fretText) + 4, textWidth(cell.badness),
                              cell.notes ? textWidth(*cell.notes) : 0});
        cellHeight = std::max(cellHeight, kBoxTop + cell.diagram.rowCount * kFretSpacing +
                                              kFirstTextBaseline + (texts - 1) * kTextLine +
                                              kCellBottomPadding);
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
        const ShapeDiagram& diagram = cell.diagram;
        const int column = static_cast<int>(index) % columns;
        const int row = static_cast<int>(index) / columns;
        const int boxRight = kBoxLeft + boxWidth(diagram);
        const int boxBottom = kBoxTop + diagram.rowCount * kFretSpacing;
        // A one-string box still gets frets of a visible length.
        const int lineOverhang = diagram.stringCount == 1 ? kStringSpacing / 2 : 0;

        svg << "<g class=\"diagram\" transform=\"translate(" << column * cellWidth << ","
            << kGridTop + row * cellHeight << ")\">\n";

        for (std::uint8_t string = 0; string < diagram.stringCount; ++string) {
            const int x = stringX(diagram, string);
            if (diagram.markers[string] == StringMarker::Muted) {
                svg << "<path class=\"muted\" d=\"M" << x - kMutedHalfSize << ","
                    << kMarkerCenter - kMutedHalfSize << "L" << x + kMutedHalfSize << ","
                    << kMarkerCenter + kMutedHalfSize << "M" << x - kMutedHalfSize << ","
                    << kMarkerCenter + kMutedHalfSize << "L" << x + kMutedHalfSize << ","
                    << kMarkerCenter - kMutedHalfSize << "\" stroke=\"" << kInk
                    << "\" stroke-width=\"1.6\" fill=\"none\"/>\n";
            } else if (diagram.markers[string] == StringMarker::Open) {
                svg << "<circle class=\"open\" cx=\"" << x << "\" cy=\"" << kMarkerCenter
                    << "\" r=\"" << kOpenRadius << "\" stroke=\"" << kInk
                    << "\" stroke-width=\"1.6\" fill=\"none\"/>\n";
            }
        }

        svg << "<path class=\"frets\" d=\"";
        for (int line = 0; line <= diagram.rowCount; ++line) {
            svg << "M" << kBoxLeft - lineOverhang << "," << kBoxTop + line * kFretSpacing << "H"
                << boxRight + lineOverhang;
        }
        svg << "\" stroke=\"" << kInk << "\" stroke-width=\"1\" fill=\"none\"/>\n";
        svg << "<path class=\"strings\" d=\"";
        for (std::uint8_t string = 0; string < diagram.stringCount; ++string) {
            svg << "M" << stringX(diagram, string) << "," << kBoxTop << "V" << boxBottom;
        }
        svg << "\" stroke=\"" << kInk << "\" stroke-width=\"1\" fill=\"none\"/>\n";

        if (diagram.atNut) {
            svg << "<rect class=\"nut\" x=\"" << kBoxLeft - lineOverhang - 1 << "\" y=\""
                << kBoxTop - kNutHeight + 1 << "\" width=\""
                << boxRight - kBoxLeft + 2 * lineOverhang + 2 << "\" height=\"" << kNutHeight
                << "\" fill=\"" << kInk << "\"/>\n";
        } else {
            svg << "<text class=\"base-fret\" x=\"" << boxRight + lineOverhang + kDotRadius + 6
                << "\" y=\"" << rowCenterY(0) + 5 << "\" font-size=\"13\">" << diagram.firstFret
                << "fr</text>\n";
        }

        for (const DiagramBarre& barre : diagram.barres) {
            const int left = stringX(diagram, barre.highString) - kDotRadius;
            const int right = stringX(diagram, barre.lowString) + kDotRadius;
            svg << "<rect class=\"barre\" x=\"" << left << "\" y=\""
                << rowCenterY(barre.row) - kDotRadius << "\" width=\"" << right - left
                << "\" height=\"" << 2 * kDotRadius << "\" rx=\"" << kDotRadius << "\" fill=\""
                << kInk << "\"/>\n";
        }
        for (const DiagramDot& dot : diagram.dots) {
            svg << "<circle class=\"dot\" cx=\"" << stringX(diagram, dot.string) << "\" cy=\""
                << rowCenterY(dot.row) << "\" r=\"" << kDotRadius << "\" fill=\"" << kInk
                << "\"/>\n";
        }

        const int textCenter =
            std::max((kBoxLeft + boxRight) / 2, textWidth(diagram.fretText) / 2 + 2);
        int baseline = boxBottom + kFirstTextBaseline;
        svg << "<text class=\"fret-text\" x=\"" << textCenter << "\" y=\"" << baseline
            << "\" font-size=\"13\" text-anchor=\"middle\">" << xmlEscaped(diagram.fretText)
            << "</text>\n";
        baseline += kTextLine;
        svg << "<text class=\"badness\" x=\"" << textCenter << "\" y=\"" << baseline
            << "\" font-size=\"11\" text-anchor=\"middle\" fill=\"#555555\">"
            << xmlEscaped(cell.badness) << "</text>\n";
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
