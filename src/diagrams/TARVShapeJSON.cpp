#include "tarv/diagrams/TARVShapeJSON.hpp"

#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tarv {

namespace {

/// Appends JSON text without building a tree. The text is written through a cursor into room
/// made ahead in `out`, which is cut to what was written when the writer goes.
class Writer {
public:
    explicit Writer(std::string& out) : _out(out), _size(out.size()) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { _out.resize(_size); }

    /// A JSON string; bytes that are not UTF-8 become U+FFFD, so the output is always JSON.
    void string(std::string_view text) {
        // An escape takes at most six bytes for one.
        char* cursor = room(text.size() * 6 + 2);
        *cursor++ = '"';
        // Most texts (note names, fret texts, term names) need no escape and no check of UTF-8.
        std::size_t plain = 0;
        while (plain < text.size() && isPlain(static_cast<unsigned char>(text[plain]))) {
            ++plain;
        }
        std::memcpy(cursor, text.data(), plain);
        cursor += plain;
        std::size_t i = plain;
        while (i < text.size()) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if (byte < 0x80) {
                cursor = escaped(cursor, byte);
                ++i;
                continue;
            }
            const std::size_t length = utf8Length(text, i);
            if (length == 0) {
                cursor = copy(cursor, "\xEF\xBF\xBD");
                ++i;
            } else {
                std::memcpy(cursor, text.data() + i, length);
                cursor += length;
                i += length;
            }
        }
        *cursor++ = '"';
        _size = static_cast<std::size_t>(cursor - _out.data());
    }
    void integer(long long value) {
        char* cursor = room(kNumberRoom);
        if (value >= 0 && value < 10) {
            *cursor++ = static_cast<char>('0' + value);
        } else {
            cursor = std::to_chars(cursor, cursor + kNumberRoom, value).ptr;
        }
        _size = static_cast<std::size_t>(cursor - _out.data());
    }
    /// Rounded to three decimals, written as shortly as it reads back.
    void number(double value) {
        if (!std::isfinite(value)) {
            raw("null");
            return;
        }
        // Thousandths below 10^15 have at most 15 significant digits, which every double tells
        // apart: the shortest text that reads back is the decimal itself, without trailing zeros.
        const double thousandths = std::round(value * 1000.0);
        if (std::abs(thousandths) < kLargestExactThousandths) {
            const auto whole = static_cast<long long>(thousandths);
            const unsigned long long magnitude = whole < 0
                                                     ? 0ULL - static_cast<unsigned long long>(whole)
                                                     : static_cast<unsigned long long>(whole);
            char* cursor = room(kNumberRoom);
            if (whole < 0) {
                *cursor++ = '-';
            }
            cursor = std::to_chars(cursor, cursor + kNumberRoom - 6, magnitude / kThousand).ptr;
            const auto fraction = static_cast<unsigned>(magnitude % kThousand);
            if (fraction != 0) {
                cursor[0] = '.';
                cursor[1] = static_cast<char>('0' + fraction / 100);
                cursor[2] = static_cast<char>('0' + fraction / 10 % 10);
                cursor[3] = static_cast<char>('0' + fraction % 10);
                cursor += 4;
                while (cursor[-1] == '0') {
                    --cursor;
                }
            }
            _size = static_cast<std::size_t>(cursor - _out.data());
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
        raw(std::string_view(buffer));
    }
    void raw(std::string_view text) {
        char* cursor = room(text.size());
        std::memcpy(cursor, text.data(), text.size());
        _size += text.size();
    }
    /// A fragment known when compiling, copied without measuring it.
    template <std::size_t N> void raw(const char (&text)[N]) {
        char* cursor = room(N - 1);
        std::memcpy(cursor, text, N - 1);
        _size += N - 1;
    }
    void key(std::string_view name) {
        string(name);
        raw(":");
    }
    /// The bytes written so far.
    std::size_t size() const noexcept { return _size; }
    /// What was written from `start`, a `size()` seen before.
    std::string_view writtenSince(std::size_t start) const noexcept {
        return std::string_view(_out.data() + start, _size - start);
    }

private:
    /// Whole numbers from here on are written as doubles are, with an exponent.
    static constexpr double kLargestWholeNumber = 1e15;
    static constexpr double kLargestExactThousandths = 1e15;
    static constexpr unsigned long long kThousand = 1000;
    /// Enough for any integer, or a sign, 12 digits and 4 of a fraction.
    static constexpr std::size_t kNumberRoom = 24;
    /// Room is made at least this much at a time.
    static constexpr std::size_t kGrowth = 2048;

    /// Where the next `count` bytes go.
    char* room(std::size_t count) {
        if (_out.size() - _size < count) [[unlikely]] {
            grow(count);
        }
        return _out.data() + _size;
    }
    void grow(std::size_t count) {
        // The string itself grows its capacity geometrically.
        _out.resize(_size + std::max(count, kGrowth));
    }

    template <std::size_t N> static char* copy(char* cursor, const char (&text)[N]) {
        std::memcpy(cursor, text, N - 1);
        return cursor + N - 1;
    }

    /// An ASCII byte as a JSON string holds it.
    static char* escaped(char* cursor, unsigned char byte) {
        switch (byte) {
        case '"':
            return copy(cursor, "\\\"");
        case '\\':
            return copy(cursor, "\\\\");
        case '\n':
            return copy(cursor, "\\n");
        case '\r':
            return copy(cursor, "\\r");
        case '\t':
            return copy(cursor, "\\t");
        case '\b':
            return copy(cursor, "\\b");
        case '\f':
            return copy(cursor, "\\f");
        default:
            if (byte < 0x20) {
                static constexpr char kHex[] = "0123456789abcdef";
                cursor = copy(cursor, "\\u00");
                *cursor++ = kHex[byte >> 4];
                *cursor++ = kHex[byte & 0xFu];
            } else {
                *cursor++ = static_cast<char>(byte);
            }
            return cursor;
        }
    }

    /// A byte that a JSON string holds as it is and that is a whole character of UTF-8.
    static bool isPlain(unsigned char byte) { return kPlain[byte]; }

    static constexpr std::array<bool, 256> kPlain = [] {
        std::array<bool, 256> plain{};
        for (std::size_t byte = 0x20; byte < 0x80; ++byte) {
            plain[byte] = byte != '"' && byte != '\\';
        }
        return plain;
    }();

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
    /// The bytes of `_out` written so far; the rest is room.
    std::size_t _size;
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

void writeChord(Writer& writer, const SChord& chord) {
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
}

void writeTuning(Writer& writer, const SStringedInstrumentTuning& tuning,
                 const std::string& instrumentName) {
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
}

/// The keys of the score terms as written, kept from one shape to the next: the shapes of an
/// answer name their terms alike, from the same text.
class TermKeys {
public:
    void write(Writer& writer, std::size_t index, std::string_view name) {
        if (index < _keys.size() && _keys[index].name.data() == name.data() &&
            _keys[index].name.size() == name.size()) {
            writer.raw(std::string_view(_keys[index].text));
            return;
        }
        const std::size_t start = writer.size();
        writer.key(name);
        if (index >= _keys.size()) {
            _keys.resize(index + 1);
        }
        _keys[index].name = name;
        _keys[index].text = std::string(writer.writtenSince(start));
    }

private:
    struct Key {
        std::string_view name;
        std::string text;
    };
    std::vector<Key> _keys;
};

void writeShape(Writer& writer, const TARVPlayableShape& shape, std::size_t rank,
                const SStringedInstrumentTuning* tuning, TermKeys& termKeys) {
    // Keys and punctuation are written as whole fragments: a shape has some eighty of them.
    const TARVChordShapePtr chordShape = shape.chordShape();
    const TARVFingering& fingering = shape.fingering();
    writer.raw("{\"rank\":");
    writer.integer(static_cast<long long>(rank));
    writer.raw(",\"frets\":");
    writer.string(shape.fretText());
    // The base fret of the indicators below (the shape model's), not the diagram's.
    writer.raw(",\"baseFret\":");
    writer.integer(chordShape ? chordShape->baseFret() : shape.baseFret());
    writer.raw(",\"score\":");
    writer.number(shape.score());
    if (shape.badness()) {
        writer.raw(",\"badness\":");
        writer.integer(static_cast<long long>(*shape.badness()));
    }
    writer.raw(",\"baseString\":");
    writer.integer(chordShape ? chordShape->baseString() : 0);
    writer.raw(",\"reach\":");
    writer.integer(chordShape ? chordShape->reach() : 0);
    writer.raw(",\"fingers\":[");
    for (std::size_t s = 0; s < shape.frets().size(); ++s) {
        if (s != 0) {
            writer.raw(",");
        }
        writer.integer(s < fingering.fingers().size() ? fingering.fingers()[s] : 0);
    }
    writer.raw("],\"fingerCount\":");
    writer.integer(fingering.fingerCount());
    writer.raw(",\"barres\":[");
    for (std::size_t i = 0; i < fingering.barres().size(); ++i) {
        const TARVFingering::Barre& barre = fingering.barres()[i];
        writer.raw(i == 0 ? "{\"fret\":" : ",{\"fret\":");
        writer.integer(barre.fret);
        writer.raw(",\"lowString\":");
        writer.integer(barre.lowString);
        writer.raw(",\"highString\":");
        writer.integer(barre.highString);
        writer.raw(",\"finger\":");
        writer.integer(barre.finger);
        writer.raw("}");
    }
    writer.raw("],");
    if (tuning != nullptr) {
        writer.raw("\"notes\":");
        std::vector<SNote> notes =
            chordShape ? chordShape->notesInTuning(*tuning) : std::vector<SNote>();
        // The notes sound with the capo on.
        for (SNote& note : notes) {
            note = note.noteWithOffset(static_cast<std::int8_t>(tuning->capo()));
        }
        writeNotes(writer, notes);
        writer.raw(",");
    }
    writer.raw("\"indicators\":[");
    if (chordShape) {
        bool first = true;
        for (const TARVFretIndicator& indicator : chordShape->indicators()) {
            writer.raw(first ? "{\"kind\":\"" : ",{\"kind\":\"");
            first = false;
            writer.raw(indicatorKind(indicator));
            writer.raw("\",\"string\":");
            writer.integer(indicator.string());
            writer.raw(",\"fret\":");
            writer.integer(indicator.fret());
            if (indicator.isBarre()) {
                writer.raw(",\"endString\":");
                writer.integer(indicator.endString());
            }
            writer.raw("}");
        }
    }
    writer.raw("],\"terms\":{");
    for (std::size_t i = 0; i < shape.terms().size(); ++i) {
        const TARVPlayableShape::Term& term = shape.terms()[i];
        if (i != 0) {
            writer.raw(",");
        }
        termKeys.write(writer, i, term.name);
        writer.number(term.contribution());
    }
    writer.raw("}}");
}

/// About what one shape takes, to reserve the text of an answer at once.
constexpr std::size_t kShapeTextEstimate = 1024;

} // namespace

std::string TARVShapeJSON::chordJSON(const SChord& chord) {
    std::string out;
    {
        Writer writer(out);
        writeChord(writer, chord);
    }
    return out;
}

std::string TARVShapeJSON::tuningJSON(const SStringedInstrumentTuning& tuning,
                                      const std::string& instrumentName) {
    std::string out;
    {
        Writer writer(out);
        writeTuning(writer, tuning, instrumentName);
    }
    return out;
}

std::string TARVShapeJSON::shapeJSON(const TARVPlayableShape& shape, std::size_t rank,
                                     const SStringedInstrumentTuning* tuning) {
    std::string out;
    {
        Writer writer(out);
        TermKeys termKeys;
        writeShape(writer, shape, rank, tuning, termKeys);
    }
    return out;
}

std::string TARVShapeJSON::answerJSON(const SChord& chord, const SStringedInstrumentTuning& tuning,
                                      std::span<const TARVPlayableShape> shapes,
                                      const std::string& instrumentName) {
    std::string out;
    out.reserve((shapes.size() + 1) * kShapeTextEstimate);
    {
        Writer writer(out);
        writer.raw("{\"chord\":");
        writeChord(writer, chord);
        writer.raw(",\"tuning\":");
        writeTuning(writer, tuning, instrumentName);
        writer.raw(",\"shapes\":[");
        TermKeys termKeys;
        for (std::size_t i = 0; i < shapes.size(); ++i) {
            if (i != 0) {
                writer.raw(",");
            }
            writeShape(writer, shapes[i], i + 1, &tuning, termKeys);
        }
        writer.raw("]}");
    }
    return out;
}

} // namespace tarv
