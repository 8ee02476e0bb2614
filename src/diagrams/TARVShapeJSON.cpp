#include "tarv/diagrams/TARVShapeJSON.hpp"

#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tarv {

namespace {

/// Appends JSON text without building a tree.
class Writer {
public:
    explicit Writer(std::string& out) : _out(out) {}

    /// A JSON string; bytes that are not UTF-8 become U+FFFD, so the output is always JSON.
    void string(std::string_view text) {
        _out += '"';
        std::size_t i = 0;
        while (i < text.size()) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte < 0x80) {
                switch (byte) {
                case '"':
                    _out += "\\\"";
                    break;
                case '\\':
                    _out += "\\\\";
                    break;
                case '\n':
                    _out += "\\n";
                    break;
                case '\r':
                    _out += "\\r";
                    break;
                case '\t':
                    _out += "\\t";
                    break;
                case '\b':
                    _out += "\\b";
                    break;
                case '\f':
                    _out += "\\f";
                    break;
                default:
                    if (byte < 0x20) {
                        char escaped[8];
                        std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
                        _out += escaped;
                    } else {
                        _out += static_cast<char>(byte);
                    }
                }
                ++i;
                continue;
            }
            const std::size_t length = utf8Length(text, i);
            if (length == 0) {
                _out += "\xEF\xBF\xBD";
                ++i;
            } else {
                _out.append(text.substr(i, length));
                i += length;
            }
        }
        _out += '"';
    }
    void integer(long long value) { _out += std::to_string(value); }
    /// Rounded to three decimals, written as shortly as it reads back.
    void number(double value) {
        if (!std::isfinite(value)) {
            _out += "null";
            return;
        }
        double rounded = std::round(value * 1000.0) / 1000.0;
        if (rounded == 0) {
            rounded = 0; // no "-0"
        }
        // Whole numbers without a fraction or an exponent ("10", not "1e+01").
        if (rounded == std::trunc(rounded) && std::abs(rounded) < kLargestWholeNumber) {
            integer(static_cast<long long>(rounded));
            return;
        }
        // The shortest text that reads back as the same number (std::to_chars for doubles is
        // missing from some C++ libraries).
        char buffer[32];
        for (int precision = 1; precision <= 17; ++precision) {
            std::snprintf(buffer, sizeof buffer, "%.*g", precision, rounded);
            if (std::strtod(buffer, nullptr) == rounded) {
                break;
            }
        }
        _out += buffer;
    }
    void raw(std::string_view text) { _out += text; }
    void key(std::string_view name) {
        string(name);
        _out += ':';
    }

private:
    /// Whole numbers from here on are written as doubles are, with an exponent.
    static constexpr double kLargestWholeNumber = 1e15;

    static std::size_t utf8Length(std::string_view text, std::size_t i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length = 0;
        std::uint32_t code = 0;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
            code = lead & 0x1Fu;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            code = lead & 0x0Fu;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            code = lead & 0x07u;
        } else {
            return 0;
        }
        if (i + length > text.size()) {
            return 0;
        }
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0u) != 0x80u) {
                return 0;
            }
            code = (code << 6) | (next & 0x3Fu);
        }
        const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        if (overlong || surrogate || code > 0x10FFFF) {
            return 0;
        }
        return length;
    }

    std::string& _out;
};

const char* indicatorKind(const TARVFretIndicator& indicator) {
    if (indicator.isBarre()) {
        return "barre";
    }
    if (indicator.isMuted()) {
        return "muted";
    }
    if (indicator.isOpen()) {
        return "open";
    }
    return "fret";
}

void writeNotes(Writer& writer, const std::vector<SNote>& notes) {
    writer.raw("[");
    for (std::size_t i = 0; i < notes.size(); ++i) {
        if (i != 0) {
            writer.raw(",");
        }
        writer.string(notes[i].string());
    }
    writer.raw("]");
}

} // namespace

std::string TARVShapeJSON::chordJSON(const SChord& chord) {
    std::string out;
    Writer writer(out);
    writer.raw("{");
    writer.key("symbol");
    writer.string(chord.symbol());
    writer.raw(",");
    writer.key("root");
    writer.string(chord.root().string());
    writer.raw(",");
    writer.key("bass");
    if (chord.addedBase()) {
        writer.string(chord.addedBase()->string());
    } else {
        writer.raw("null");
    }
    writer.raw(",");
    writer.key("notes");
    writeNotes(writer, chord.notes());
    writer.raw(",");
    writer.key("characteristicNotes");
    writeNotes(writer, chord.characteristicNotes());
    writer.raw(",");
    writer.key("numericNoteStringValue");
    writer.string(chord.numericNoteStringValue());
    writer.raw("}");
    return out;
}

std::string TARVShapeJSON::tuningJSON(const SStringedInstrumentTuning& tuning,
                                      const std::string& instrumentName) {
    std::string out;
    Writer writer(out);
    writer.raw("{");
    if (!instrumentName.empty()) {
        writer.key("instrument");
        writer.string(instrumentName);
        writer.raw(",");
    }
    writer.key("name");
    writer.string(tuning.name() ? *tuning.name() : std::string());
    writer.raw(",");
    writer.key("noteString");
    writer.string(tuning.noteString());
    writer.raw(",");
    writer.key("asciiNoteString");
    writer.string(tuning.asciiNoteString());
    writer.raw(",");
    const auto& pitches = tuning.stringPitches();
    writer.key("pitches");
    writer.raw("[");
    for (std::size_t i = 0; i < pitches.size(); ++i) {
        writer.raw(i == 0 ? "" : ",");
        writer.string(pitches[i].string());
    }
    writer.raw("],");
    writer.key("strings");
    writer.raw("[");
    for (std::size_t i = pitches.size(); i-- > 0;) {
        writer.string(pitches[i].string());
        writer.raw(i == 0 ? "" : ",");
    }
    writer.raw("],");
    writer.key("fretCount");
    writer.integer(tuning.fretCount());
    writer.raw(",");
    writer.key("capo");
    writer.integer(tuning.capo());
    writer.raw("}");
    return out;
}

std::string TARVShapeJSON::shapeJSON(const TARVPlayableShape& shape, std::size_t rank,
                                     const SStringedInstrumentTuning* tuning) {
    std::string out;
    Writer writer(out);
    const TARVChordShapePtr chordShape = shape.chordShape();
    const TARVFingering& fingering = shape.fingering();
    writer.raw("{");
    writer.key("rank");
    writer.integer(static_cast<long long>(rank));
    writer.raw(",");
    writer.key("frets");
    writer.string(shape.fretText());
    writer.raw(",");
    // The base fret of the indicators below (the shape model's), not the diagram's.
    writer.key("baseFret");
    writer.integer(chordShape ? chordShape->baseFret() : shape.baseFret());
    writer.raw(",");
    writer.key("score");
    writer.number(shape.score());
    if (shape.badness()) {
        writer.raw(",");
        writer.key("badness");
        writer.integer(static_cast<long long>(*shape.badness()));
    }
    writer.raw(",");
    writer.key("baseString");
    writer.integer(chordShape ? chordShape->baseString() : 0);
    writer.raw(",");
    writer.key("reach");
    writer.integer(chordShape ? chordShape->reach() : 0);
    writer.raw(",");
    writer.key("fingers");
    writer.raw("[");
    for (std::size_t s = 0; s < shape.frets().size(); ++s) {
        writer.raw(s == 0 ? "" : ",");
        writer.integer(s < fingering.fingers().size() ? fingering.fingers()[s] : 0);
    }
    writer.raw("],");
    writer.key("fingerCount");
    writer.integer(fingering.fingerCount());
    writer.raw(",");
    writer.key("barres");
    writer.raw("[");
    for (std::size_t i = 0; i < fingering.barres().size(); ++i) {
        const TARVFingering::Barre& barre = fingering.barres()[i];
        writer.raw(i == 0 ? "{" : ",{");
        writer.key("fret");
        writer.integer(barre.fret);
        writer.raw(",");
        writer.key("lowString");
        writer.integer(barre.lowString);
        writer.raw(",");
        writer.key("highString");
        writer.integer(barre.highString);
        writer.raw(",");
        writer.key("finger");
        writer.integer(barre.finger);
        writer.raw("}");
    }
    writer.raw("],");
    if (tuning != nullptr) {
        writer.key("notes");
        writeNotes(writer, chordShape ? chordShape->notesInTuning(*tuning) : std::vector<SNote>());
        writer.raw(",");
    }
    writer.key("indicators");
    writer.raw("[");
    if (chordShape) {
        bool first = true;
        for (const TARVFretIndicator& indicator : chordShape->indicators()) {
            writer.raw(first ? "{" : ",{");
            first = false;
            writer.key("kind");
            writer.string(indicatorKind(indicator));
            writer.raw(",");
            writer.key("string");
            writer.integer(indicator.string());
            writer.raw(",");
            writer.key("fret");
            writer.integer(indicator.fret());
            if (indicator.isBarre()) {
                writer.raw(",");
                writer.key("endString");
                writer.integer(indicator.endString());
            }
            writer.raw("}");
        }
    }
    writer.raw("],");
    writer.key("terms");
    writer.raw("{");
    for (std::size_t i = 0; i < shape.terms().size(); ++i) {
        const TARVPlayableShape::Term& term = shape.terms()[i];
        writer.raw(i == 0 ? "" : ",");
        writer.key(term.name);
        writer.number(term.contribution());
    }
    writer.raw("}}");
    return out;
}

std::string TARVShapeJSON::answerJSON(const SChord& chord, const SStringedInstrumentTuning& tuning,
                                      std::span<const TARVPlayableShape> shapes,
                                      const std::string& instrumentName) {
    std::string out = "{\"chord\":" + chordJSON(chord) +
                      ",\"tuning\":" + tuningJSON(tuning, instrumentName) + ",\"shapes\":[";
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        if (i != 0) {
            out += ',';
        }
        out += shapeJSON(shapes[i], i + 1, &tuning);
    }
    out += "]}";
    return out;
}

} // namespace tarv
