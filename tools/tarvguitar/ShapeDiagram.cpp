#include "ShapeDiagram.hpp"

#include <algorithm>
#include <optional>

namespace tarv::tool {

namespace {

/// What the marks of one shape say about one string.
struct StringReading {
    bool muted = false;
    bool open = false;
    /// The highest absolute fret of the fingers on the string itself.
    std::optional<int> finger;
    /// The absolute fret of a barre lying across the string.
    std::optional<int> barre;
};

int absoluteFret(const TARVChordShape& shape, const TARVFretIndicator& indicator) {
    return static_cast<int>(shape.baseFret()) + static_cast<int>(indicator.fret());
}

void keepHighest(std::optional<int>& current, int fret) {
    if (!current || fret > *current) {
        current = fret;
    }
}

std::vector<StringReading> readStrings(const TARVChordShape& shape, std::uint8_t stringCount) {
    std::vector<StringReading> strings(stringCount);
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        if (indicator.isBarre()) {
            const int last = std::min<int>(indicator.endString(), stringCount - 1);
            for (int string = indicator.string(); string <= last; ++string) {
                keepHighest(strings[static_cast<std::size_t>(string)].barre,
                            absoluteFret(shape, indicator));
            }
            continue;
        }
        if (indicator.string() >= stringCount) {
            continue;
        }
        StringReading& reading = strings[indicator.string()];
        if (indicator.isMuted()) {
            reading.muted = true;
        } else if (indicator.isOpen()) {
            reading.open = true;
        } else {
            keepHighest(reading.finger, absoluteFret(shape, indicator));
        }
    }
    return strings;
}

/// The diagram row of a relative fret: at the nut fret 1 is the first row, above the nut the
/// base fret itself is. Negative for frets that have no row (open strings).
int rowForFret(const TARVChordShape& shape, std::int8_t fret) {
    return shape.baseFret() == 0 ? fret - 1 : fret;
}

} // namespace

std::string fretTextForShape(const TARVChordShape& shape, std::uint8_t stringCount) {
    const std::vector<StringReading> strings = readStrings(shape, stringCount);
    std::string text;
    for (int string = stringCount - 1; string >= 0; --string) {
        const StringReading& reading = strings[static_cast<std::size_t>(string)];
        if (string != stringCount - 1) {
            text += ',';
        }
        if (reading.muted) {
            text += 'x';
        } else if (reading.finger) {
            text += std::to_string(*reading.finger);
        } else if (reading.open) {
            text += std::to_string(shape.baseFret());
        } else if (reading.barre) {
            text += std::to_string(*reading.barre);
        } else {
            text += 'x';
        }
    }
    return text;
}

ShapeDiagram diagramForShape(const TARVChordShape& shape, std::uint8_t stringCount) {
    ShapeDiagram diagram;
    diagram.stringCount = stringCount;
    diagram.fretText = fretTextForShape(shape, stringCount);

    const std::vector<StringReading> strings = readStrings(shape, stringCount);
    diagram.markers.reserve(stringCount);
    for (const StringReading& reading : strings) {
        if (reading.muted) {
            diagram.markers.push_back(StringMarker::Muted);
        } else if (reading.finger || reading.barre) {
            diagram.markers.push_back(StringMarker::Fretted);
        } else if (reading.open) {
            diagram.markers.push_back(StringMarker::Open);
        } else {
            diagram.markers.push_back(StringMarker::Muted);
        }
    }

    int lastRow = -1;
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        if (indicator.isMuted() || indicator.isOpen() || indicator.string() >= stringCount) {
            continue;
        }
        const int row = rowForFret(shape, indicator.fret());
        if (row < 0) {
            continue;
        }
        if (indicator.isBarre()) {
            const auto highString =
                static_cast<std::uint8_t>(std::min<int>(indicator.endString(), stringCount - 1));
            if (highString < indicator.string()) {
                continue;
            }
            diagram.barres.push_back({row, indicator.string(), highString});
        } else {
            diagram.dots.push_back({indicator.string(), row});
        }
        lastRow = std::max(lastRow, row);
    }

    if (lastRow >= 0 && shape.baseFret() > 0) {
        diagram.firstFret = shape.baseFret();
    }
    diagram.atNut = diagram.firstFret == 1;
    diagram.rowCount =
        std::max({kMinimumDiagramRows, static_cast<int>(shape.reach()), lastRow + 1});
    return diagram;
}

ShapeDiagram diagramForShape(const TARVPlayableShape& shape, std::uint8_t stringCount) {
    ShapeDiagram diagram;
    diagram.stringCount = stringCount;
    diagram.fretText = shape.fretText();
    const std::vector<std::int8_t>& frets = shape.frets();
    const TARVFingering& fingering = shape.fingering();
    diagram.firstFret = shape.baseFret() == 0 ? 1 : shape.baseFret();
    diagram.atNut = shape.baseFret() == 0;
    diagram.rowCount = std::max(kMinimumDiagramRows,
                                static_cast<int>(shape.highestFret()) - diagram.firstFret + 1);
    std::vector<bool> underBarre(stringCount, false);
    for (const TARVFingering::Barre& barre : fingering.barres()) {
        if (barre.highString >= stringCount) {
            continue;
        }
        diagram.barres.push_back(
            {barre.fret - diagram.firstFret, barre.lowString, barre.highString, barre.finger});
        for (std::size_t s = barre.lowString; s <= barre.highString; ++s) {
            underBarre[s] = underBarre[s] || frets[s] == barre.fret;
        }
    }
    for (std::uint8_t string = 0; string < stringCount; ++string) {
        const int fret = string < frets.size() ? frets[string] : -1;
        diagram.markers.push_back(fret < 0    ? StringMarker::Muted
                                  : fret == 0 ? StringMarker::Open
                                              : StringMarker::Fretted);
        if (fret > 0 && !underBarre[string]) {
            const std::uint8_t finger =
                string < fingering.fingers().size() ? fingering.fingers()[string] : 0;
            diagram.dots.push_back({string, fret - diagram.firstFret, finger});
        }
    }
    return diagram;
}

} // namespace tarv::tool
