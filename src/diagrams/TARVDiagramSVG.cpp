#include "tarv/diagrams/TARVDiagramSVG.hpp"

#include <algorithm>
#include <cstdio>

namespace tarv {

namespace {

constexpr double kStringSpacing = 20;
constexpr double kFretSpacing = 26;
constexpr double kMargin = 14;
constexpr double kCaptionHeight = 22;
constexpr double kMarkerSpace = 20;
constexpr double kLabelSpace = 34;
constexpr double kDotRadius = 8;
constexpr double kCapoLabelSpace = 14;
constexpr int kMinimumRows = 4;
const char* const kInk = "#1a1a1a";
const char* const kFont = "DejaVu Sans, Helvetica, Arial, sans-serif";

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string number(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return buffer;
}

std::string fingerLabel(std::uint8_t finger) {
    if (finger == TARVFingering::kThumb) {
        return "T";
    }
    return finger == TARVFingering::kNone ? std::string() : std::to_string(finger);
}

/// Places a point given across the strings (`across`, 0 = the first column or row of strings)
/// and along the neck (`along`, in frets from the top of the grid) for the chosen view.
class Layout {
public:
    Layout(std::size_t stringCount, int rows, const TARVDiagramOptions& options, double top)
        : _stringCount(stringCount), _rows(rows), _options(options), _top(top) {}

    /// Across position of a string: in the upright view the lowest string number's neighbour
    /// order puts the bass (highest string number) left, mirrored for the left hand; across the
    /// neck the highest-pitched string (0) is the top row.
    double acrossOf(std::size_t string) const {
        if (_options.horizontal) {
            return static_cast<double>(string);
        }
        return _options.leftHanded ? static_cast<double>(string)
                                   : static_cast<double>(_stringCount - 1 - string);
    }
    double x(double across, double along) const {
        if (_options.horizontal) {
            const double position = _options.leftHanded ? _rows - along : along;
            return kMargin + kMarkerSpace + position * kFretSpacing;
        }
        return kMargin + kMarkerSpace / 2 + (_options.leftHanded ? kLabelSpace : 0) +
               across * kStringSpacing;
    }
    double y(double across, double along) const {
        if (_options.horizontal) {
            return _top + across * kStringSpacing;
        }
        return _top + kMarkerSpace + along * kFretSpacing;
    }
    double width() const {
        if (_options.horizontal) {
            return 2 * kMargin + 2 * kMarkerSpace + _rows * kFretSpacing;
        }
        return 2 * kMargin + kMarkerSpace + (_stringCount - 1) * kStringSpacing + kLabelSpace;
    }
    double height() const {
        const double capoLabel = _options.capo > 0 ? kCapoLabelSpace : 0;
        if (_options.horizontal) {
            return _top + (_stringCount - 1) * kStringSpacing + kLabelSpace + kMargin + capoLabel;
        }
        return _top + kMarkerSpace + _rows * kFretSpacing + kMargin + capoLabel;
    }

private:
    std::size_t _stringCount;
    int _rows;
    const TARVDiagramOptions& _options;
    double _top;
};

} // namespace

std::string TARVDiagramSVG::svgForShape(const TARVPlayableShape& shape, std::uint8_t stringCount,
                                        const TARVDiagramOptions& options,
                                        const std::string& caption) {
    const std::vector<std::int8_t>& frets = shape.frets();
    const std::size_t count = std::max<std::size_t>(stringCount, 1);
    const int firstFret = shape.baseFret() == 0 ? 1 : shape.baseFret();
    const int rows = std::max(kMinimumRows, static_cast<int>(shape.highestFret()) - firstFret + 1);
    const double top = kMargin + (caption.empty() ? 0 : kCaptionHeight);
    const Layout layout(count, rows, options, top);
    const auto along = [&](int fret) {
        return fret - firstFret + 0.5;
    };

    std::string body;
    const auto line = [&](double x1, double y1, double x2, double y2, double width,
                          const char* cls = nullptr) {
        body += std::string("<line") + (cls ? std::string(" class=\"") + cls + "\"" : "") +
                " x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" + number(x2) +
                "\" y2=\"" + number(y2) + "\" stroke=\"" + kInk + "\" stroke-width=\"" +
                number(width) + "\"/>";
    };
    const auto text = [&](double x, double y, const std::string& content, int size,
                          const char* fill, const char* anchor, const char* cls = nullptr) {
        body += std::string("<text") + (cls ? std::string(" class=\"") + cls + "\"" : "") +
                " x=\"" + number(x) + "\" y=\"" + number(y) + "\" font-size=\"" +
                std::to_string(size) + "\" fill=\"" + fill + "\" text-anchor=\"" + anchor +
                "\" dominant-baseline=\"central\">" + escaped(content) + "</text>";
    };

    // Strings and frets.
    for (std::size_t s = 0; s < count; ++s) {
        const double across = layout.acrossOf(s);
        line(layout.x(across, 0), layout.y(across, 0), layout.x(across, rows),
             layout.y(across, rows), 1);
    }
    const double firstAcross = 0;
    const double lastAcross = static_cast<double>(count - 1);
    for (int r = 0; r <= rows; ++r) {
        const bool nut = r == 0 && shape.baseFret() == 0;
        line(layout.x(firstAcross, r), layout.y(firstAcross, r), layout.x(lastAcross, r),
             layout.y(lastAcross, r), nut ? 5 : 1, nut ? "nut" : nullptr);
    }
    if (options.capo > 0 && shape.baseFret() == 0) {
        // The capo lies across every string where the nut would be.
        const double position = 0;
        const double x1 = std::min(layout.x(firstAcross, position), layout.x(lastAcross, position));
        const double y1 = std::min(layout.y(firstAcross, position), layout.y(lastAcross, position));
        const double x2 = std::max(layout.x(firstAcross, position), layout.x(lastAcross, position));
        const double y2 = std::max(layout.y(firstAcross, position), layout.y(lastAcross, position));
        const double pad = 4;
        body += "<rect class=\"capo\" x=\"" + number(x1 - pad) + "\" y=\"" + number(y1 - pad) +
                "\" width=\"" + number(x2 - x1 + 2 * pad) + "\" height=\"" +
                number(y2 - y1 + 2 * pad) + "\" rx=\"3\" fill=\"#8a5a2b\"/>";
    }
    if (shape.baseFret() != 0) {
        const std::string label = std::to_string(firstFret) + "fr";
        if (options.horizontal) {
            text(layout.x(lastAcross, 0.5), layout.y(lastAcross, 0.5) + kStringSpacing, label, 12,
                 kInk, "middle", "base-fret");
        } else {
            const double edge = options.leftHanded ? firstAcross - 1.1 : lastAcross + 1.1;
            text(layout.x(edge, 0.5), layout.y(edge, 0.5), label, 12, kInk, "middle", "base-fret");
        }
    }

    // Open and muted marks beyond the nut.
    for (std::size_t s = 0; s < count && s < frets.size(); ++s) {
        const double across = layout.acrossOf(s);
        const double x = layout.x(across, -0.45);
        const double y = layout.y(across, -0.45);
        if (frets[s] == 0) {
            body += "<circle class=\"open\" cx=\"" + number(x) + "\" cy=\"" + number(y) +
                    "\" r=\"5\" fill=\"none\" stroke=\"" + kInk + "\" stroke-width=\"1.5\"/>";
        } else if (frets[s] < 0) {
            line(x - 4.5, y - 4.5, x + 4.5, y + 4.5, 1.5, "muted");
            line(x - 4.5, y + 4.5, x + 4.5, y - 4.5, 1.5);
        }
    }

    // Barres, then the dots of the other fingers, with finger numbers.
    const TARVFingering& fingering = shape.fingering();
    std::vector<bool> underBarre(count, false);
    for (const TARVFingering::Barre& barre : fingering.barres()) {
        if (barre.highString >= count) {
            continue;
        }
        const double a = layout.acrossOf(barre.lowString);
        const double b = layout.acrossOf(barre.highString);
        const double position = along(barre.fret);
        const double x1 = std::min(layout.x(a, position), layout.x(b, position)) - kDotRadius;
        const double y1 = std::min(layout.y(a, position), layout.y(b, position)) - kDotRadius;
        const double x2 = std::max(layout.x(a, position), layout.x(b, position)) + kDotRadius;
        const double y2 = std::max(layout.y(a, position), layout.y(b, position)) + kDotRadius;
        body += "<rect class=\"barre\" x=\"" + number(x1) + "\" y=\"" + number(y1) + "\" width=\"" +
                number(x2 - x1) + "\" height=\"" + number(y2 - y1) + "\" rx=\"" +
                number(kDotRadius) + "\" fill=\"" + kInk + "\"/>";
        text((x1 + x2) / 2, (y1 + y2) / 2, fingerLabel(barre.finger), 11, "#ffffff", "middle",
             "finger");
        for (std::size_t s = barre.lowString; s <= barre.highString; ++s) {
            underBarre[s] = frets[s] == barre.fret;
        }
    }
    for (std::size_t s = 0; s < count && s < frets.size(); ++s) {
        if (frets[s] <= 0 || underBarre[s]) {
            continue;
        }
        const double across = layout.acrossOf(s);
        const double position = along(frets[s]);
        const double x = layout.x(across, position);
        const double y = layout.y(across, position);
        body += "<circle class=\"dot\" cx=\"" + number(x) + "\" cy=\"" + number(y) + "\" r=\"" +
                number(kDotRadius) + "\" fill=\"" + kInk + "\"/>";
        const std::uint8_t finger = s < fingering.fingers().size() ? fingering.fingers()[s] : 0;
        text(x, y, fingerLabel(finger), 11, "#ffffff", "middle", "finger");
    }

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"chord-diagram\" width=\"" +
                      number(layout.width()) + "\" height=\"" + number(layout.height()) +
                      "\" viewBox=\"0 0 " + number(layout.width()) + " " + number(layout.height()) +
                      "\" font-family=\"" + kFont + "\">";
    svg += "<title>" +
           escaped((caption.empty() ? std::string() : caption + " ") + shape.fretText()) +
           "</title>";
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>";
    if (options.capo > 0) {
        // Under the grid, where every view has room.
        svg += "<text class=\"capo-label\" x=\"" + number(layout.width() / 2) + "\" y=\"" +
               number(layout.height() - kMargin) + "\" font-size=\"11\" fill=\"" + kInk +
               "\" text-anchor=\"middle\" dominant-baseline=\"central\">capo " +
               std::to_string(options.capo) + "</text>";
    }
    if (!caption.empty()) {
        svg += "<text x=\"" + number(layout.width() / 2) + "\" y=\"" +
               number(kMargin + kCaptionHeight / 2) +
               "\" font-size=\"15\" font-weight=\"bold\" fill=\"" + kInk +
               "\" text-anchor=\"middle\" dominant-baseline=\"central\">" + escaped(caption) +
               "</text>";
    }
    svg += body + "</svg>";
    return svg;
}

} // namespace tarv
