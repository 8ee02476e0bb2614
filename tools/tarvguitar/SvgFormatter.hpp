#pragma once

#include "OutputFormatter.hpp"
#include "ShapeDiagram.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tarv::tool {

/// One standalone SVG document holding every answer of the call: per chord its name, a line on
/// the tuning, and every shape as a chord diagram in a grid. Each diagram is a group of class
/// "diagram" holding the markers ("muted", "open"), the "nut" or the "base-fret" label, the
/// "frets" and "strings" lines, the "barre" and "dot" marks and the "fret-text" and "badness"
/// texts under the box.
class SvgFormatter final : public OutputFormatter {
public:
    explicit SvgFormatter(std::ostream& out) : _out(out) {}

    void writeChordShapes(const ChordShapesAnswer& answer,
                          const SStringedInstrumentTuning& tuning) override;
    void writeNotation(const NotationAnswer& answer,
                       const SStringedInstrumentTuning* tuning) override;
    void writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) override;
    void writeProgression(const ProgressionAnswer& answer) override;
    /// Writes the document; nothing is written before.
    void end() override;

private:
    struct Cell {
        /// The library's standalone diagram, and its size.
        std::string diagram;
        int width = 0;
        int height = 0;
        std::string fretText;
        std::string summary;
        std::optional<std::string> notes;
    };
    Cell cellFor(const TARVPlayableShape& shape, std::uint8_t stringCount, std::string summary,
                 int capo = 0, const std::string& caption = {}) const;
    void addSection(const std::string& title, const std::string& subtitle,
                    const std::vector<Cell>& cells);

    std::ostream& _out;
    std::string _body;
    int _width = 0;
    int _height = 0;
};

/// `text` with the characters that XML reserves written as references.
std::string xmlEscaped(const std::string& text);

} // namespace tarv::tool
