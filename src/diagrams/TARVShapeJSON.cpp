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

/// JSON fragments written through a cursor into room made ahead. Each `put` advances the cursor
/// past what it wrote; the room each needs at most is given beside it.
namespace put {

/// Any integer, or a sign, 12 digits and 4 of a fraction, or the shortest form of a double.
constexpr std::size_t kNumberRoom = 32;

template <std::size_t N> void literal(char*& cursor, const char (&text)[N]) {
    std::memcpy(cursor, text, N - 1);
    cursor += N - 1;
}

void text(char*& cursor, std::string_view text) {
    std::memcpy(cursor, text.data(), text.size());
    cursor += text.size();
}

/// At most `kNumberRoom` bytes.
void integer(char*& cursor, long long value) {
    if (value >= 0 && value < 10) {
        *cursor++ = static_cast<char>('0' + value);
    } else if (value >= 10 && value < 100) {
        cursor[0] = static_cast<char>('0' + value / 10);
        cursor[1] = static_cast<char>('0' + value % 10);
        cursor += 2;
    } else {
        cursor = std::to_chars(cursor, cursor + kNumberRoom, value).ptr;
    }
}

/// Whole numbers from here on are written as doubles are, with an exponent.
constexpr double kLargestWholeNumber = 1e15;
constexpr long long kLargestExactThousandths = 1'000'000'000'000'000LL;
constexpr unsigned long long kThousand = 1000;

/// ".ddd" for thousandths 1 to 999 without trailing zeros, and nothing for 0.
struct Fraction {
    char text[4];
    std::uint8_t size;
};
constexpr std::array<Fraction, 1000> kFractions = [] {
    std::array<Fraction, 1000> fractions{};
    for (unsigned thousandths = 1; thousandths < 1000; ++thousandths) {
        Fraction& fraction = fractions[thousandths];
        fraction.text[0] = '.';
        fraction.text[1] = static_cast<char>('0' + thousandths / 100);
        fraction.text[2] = static_cast<char>('0' + thousandths / 10 % 10);
        fraction.text[3] = static_cast<char>('0' + thousandths % 10);
        fraction.size = 4;
        while (fraction.text[fraction.size - 1] == '0') {
            --fraction.size;
        }
    }
    return fractions;
}();

/// Rounded to three decimals, written as shortly as it reads back; at most `kNumberRoom` bytes.
void number(char*& cursor, double value) {
    // Many terms of a score are nothing.
    if (value == 0) {
        *cursor++ = '0';
        return;
    }
    // Thousandths below 10^15 have at most 15 significant digits, which every double tells
    // apart: the shortest text that reads back is the decimal itself, without trailing zeros.
    const double scaled = value * 1000.0;
    if (std::abs(scaled) < 4e18) {
        // Rounded half away from zero, as std::round does: the fraction cut off is exact.
        long long whole = static_cast<long long>(scaled);
        const double cut = scaled - static_cast<double>(whole);
        whole += cut >= 0.5 ? 1 : cut <= -0.5 ? -1 : 0;
        if (whole < kLargestExactThousandths && whole > -kLargestExactThousandths) {
            const unsigned long long magnitude = whole < 0
                                                     ? 0ULL - static_cast<unsigned long long>(whole)
                                                     : static_cast<unsigned long long>(whole);
            if (whole < 0) {
                *cursor++ = '-';
            }
            const unsigned long long units = magnitude / kThousand;
            if (units < 10) {
                *cursor++ = static_cast<char>('0' + units);
            } else if (units < 100) {
                cursor[0] = static_cast<char>('0' + units / 10);
                cursor[1] = static_cast<char>('0' + units % 10);
                cursor += 2;
            } else {
                cursor = std::to_chars(cursor, cursor + kNumberRoom - 6, units).ptr;
            }
            const Fraction& fraction = kFractions[magnitude % kThousand];
            std::memcpy(cursor, fraction.text, sizeof fraction.text);
            cursor += fraction.size;
            return;
        }
    }
    // Neither infinities nor NaN pass the test above.
    if (!std::isfinite(value)) {
        literal(cursor, "null");
        return;
    }
    double rounded = std::round(value * 1000.0) / 1000.0;
    if (rounded == 0) {
        rounded = 0; // no "-0"
    }
    // Whole numbers without a fraction or an exponent ("10", not "1e+01").
    if (rounded == std::trunc(rounded) && std::abs(rounded) < kLargestWholeNumber) {
        integer(cursor, static_cast<long long>(rounded));
        return;
    }
    // The shortest text that reads back as the same number (std::to_chars for doubles is
    // missing from some C++ libraries).
    char buffer[kNumberRoom];
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, rounded);
        if (std::strtod(buffer, nullptr) == rounded) {
            break;
        }
    }
    text(cursor, std::string_view(buffer));
}

/// An ASCII byte as a JSON string holds it.
void escaped(char*& cursor, unsigned char byte) {
    switch (byte) {
    case '"':
        literal(cursor, "\\\"");
        return;
    case '\\':
        literal(cursor, "\\\\");
        return;
    case '\n':
        literal(cursor, "\\n");
        return;
    case '\r':
        literal(cursor, "\\r");
        return;
    case '\t':
        literal(cursor, "\\t");
        return;
    case '\b':
        literal(cursor, "\\b");
        return;
    case '\f':
        literal(cursor, "\\f");
        return;
    default:
        if (byte < 0x20) {
            static constexpr char kHex[] = "0123456789abcdef";
            literal(cursor, "\\u00");
            *cursor++ = kHex[byte >> 4];
            *cursor++ = kHex[byte & 0xFu];
        } else {
            *cursor++ = static_cast<char>(byte);
        }
        return;
    }
}

/// A byte that a JSON string holds as it is and that is a whole character of UTF-8.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte) {
        plain[byte] = byte != '"' && byte != '\\';
    }
    return plain;
}();

std::size_t utf8Length(std::string_view text, std::size_t i) {
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

/// The room a JSON string of `text` takes at most: an escape takes six bytes for one.
constexpr std::size_t stringRoom(std::size_t size) {
    return size * 6 + 2;
}

/// A JSON string; bytes that are not UTF-8 become U+FFFD, so the output is always JSON.
void string(char*& cursor, std::string_view text) {
    *cursor++ = '"';
    // Most texts (note names, fret texts, term names) need no escape and no check of UTF-8.
    std::size_t plain = 0;
    while (plain < text.size() && kPlain[static_cast<unsigned char>(text[plain])]) {
        ++plain;
    }
    std::memcpy(cursor, text.data(), plain);
    cursor += plain;
    std::size_t i = plain;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            escaped(cursor, byte);
            ++i;
            continue;
        }
        const std::size_t length = utf8Length(text, i);
        if (length == 0) {
            literal(cursor, "\xEF\xBF\xBD");
            ++i;
        } else {
            std::memcpy(cursor, text.data() + i, length);
            cursor += length;
            i += length;
        }
    }
    *cursor++ = '"';
}

/// Every spelling of a note as a JSON string, by letter and then accidental from two flats to
/// two sharps, padded to a block of 8 bytes.
struct QuotedName {
    char text[8];
    std::uint8_t size;
};
constexpr std::array<QuotedName, 35> kQuotedNames = [] {
    constexpr std::string_view kLetters = "CDEFGAB";
    constexpr std::string_view kAccidentals[5] = {"bb", "b", "", "#", "##"};
    std::array<QuotedName, 35> names{};
    for (std::size_t letter = 0; letter < kLetters.size(); ++letter) {
        for (std::size_t accidental = 0; accidental < 5; ++accidental) {
            QuotedName& name = names[letter * 5 + accidental];
            std::size_t size = 0;
            name.text[size++] = '"';
            name.text[size++] = kLetters[letter];
            for (const char sign : kAccidentals[accidental]) {
                name.text[size++] = sign;
            }
            name.text[size++] = '"';
            name.size = static_cast<std::uint8_t>(size);
        }
    }
    return names;
}();

/// A note's spelling as a JSON string; at most 8 bytes.
void noteName(char*& cursor, const SNote& note) {
    const QuotedName& name =
        kQuotedNames[static_cast<std::size_t>(note.letter() * 5 + note.accidental() + 2)];
    std::memcpy(cursor, name.text, sizeof name.text);
    cursor += name.size;
}

/// A pitch as a JSON string, its note's spelling and then its octave ("E2", "C-1"); at most
/// `kNumberRoom` bytes.
void pitch(char*& cursor, const SPitch& pitch) {
    const QuotedName& name = kQuotedNames[static_cast<std::size_t>(pitch.note().letter() * 5 +
                                                                   pitch.note().accidental() + 2)];
    std::memcpy(cursor, name.text, sizeof name.text);
    cursor += name.size - 1; // the closing quote comes after the octave
    integer(cursor, pitch.octave());
    *cursor++ = '"';
}

} // namespace put

/// Appends JSON text without building a tree. The text is written through a cursor into room
/// made ahead in `out`, which is cut to what was written when the writer goes.
class Writer {
public:
    explicit Writer(std::string& out) : _out(out), _size(out.size()) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { _out.resize(_size); }

    void string(std::string_view text) {
        char* cursor = room(put::stringRoom(text.size()));
        put::string(cursor, text);
        commit(cursor);
    }
    void integer(long long value) {
        char* cursor = room(put::kNumberRoom);
        put::integer(cursor, value);
        commit(cursor);
    }
    void number(double value) {
        char* cursor = room(put::kNumberRoom);
        put::number(cursor, value);
        commit(cursor);
    }
    void raw(std::string_view text) {
        char* cursor = room(text.size());
        put::text(cursor, text);
        commit(cursor);
    }
    /// A fragment known when compiling, copied without measuring it.
    template <std::size_t N> void raw(const char (&text)[N]) {
        char* cursor = room(N - 1);
        put::literal(cursor, text);
        commit(cursor);
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

    /// Where the next `count` bytes go; `commit` then takes what was written up to a cursor.
    char* room(std::size_t count) {
        if (_out.size() - _size < count) [[unlikely]] {
            // The string itself grows its capacity geometrically.
            _out.resize(_size + std::max(count, kGrowth));
        }
        return _out.data() + _size;
    }
    void commit(const char* cursor) noexcept {
        _size = static_cast<std::size_t>(cursor - _out.data());
    }

private:
    /// Room is made at least this much at a time.
    static constexpr std::size_t kGrowth = 2048;

    std::string& _out;
    /// The bytes of `_out` written so far; the rest is room.
    std::size_t _size;
};

std::string_view indicatorKind(const TARVFretIndicator& indicator) {
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
    writer.string(tuning.name() ? std::string_view(*tuning.name()) : std::string_view());
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
    char* cursor = writer.room(pitches.size() * (put::kNumberRoom + 1) + 32);
    for (std::size_t i = 0; i < pitches.size(); ++i) {
        if (i != 0) {
            *cursor++ = ',';
        }
        put::pitch(cursor, pitches[i]);
    }
    put::literal(cursor, "],");
    writer.commit(cursor);
    writer.key("strings");
    cursor = writer.room(pitches.size() * (put::kNumberRoom + 1) + 32);
    *cursor++ = '[';
    for (std::size_t i = pitches.size(); i-- > 0;) {
        put::pitch(cursor, pitches[i]);
        if (i != 0) {
            *cursor++ = ',';
        }
    }
    put::literal(cursor, "],");
    writer.commit(cursor);
    writer.key("fretCount");
    writer.integer(tuning.fretCount());
    writer.raw(",");
    writer.key("capo");
    writer.integer(tuning.capo());
    writer.raw("}");
}

/// The keys of the score terms as written, kept from one shape to the next: shapes scored by the
/// same weights name their terms alike, from the same table.
class TermKeys {
public:
    /// Keys up to this long are copied whole as one block, from text padded to its length.
    static constexpr std::size_t kBlock = 32;

    /// Makes the keys of `shape`'s terms ready and answers the room that writing them with their
    /// values and the commas between them takes at most.
    std::size_t prepare(const TARVPlayableShape& shape) {
        const TARVPlayableShape::TermTablePtr& table = shape.termTable();
        if (table == _table) [[likely]] {
            return _room;
        }
        // Held, so that no other table can come to have this one's address.
        _table = table;
        _keys.clear();
        _text.clear();
        _room = 0;
        if (!_table) {
            return _room;
        }
        for (const TARVPlayableShape::Term& term : *_table) {
            // Each key has its own stretch of the text, padded to a block.
            Key key;
            key.offset = _text.size();
            _text.append(put::stringRoom(term.name.size()) + 1 + kBlock, ' ');
            char* const begin = _text.data() + key.offset;
            char* end = begin;
            put::string(end, term.name);
            *end++ = ':';
            key.size = static_cast<std::size_t>(end - begin);
            _keys.push_back(key);
            _room += std::max(key.size, kBlock) + 1 + put::kNumberRoom;
        }
        return _room;
    }

    /// Writes `"name":` for the term at `index`, made ready by `prepare`.
    void put(char*& cursor, std::size_t index) const {
        const Key& key = _keys[index];
        const char* const text = _text.data() + key.offset;
        if (key.size <= kBlock) [[likely]] {
            std::memcpy(cursor, text, kBlock);
        } else {
            std::memcpy(cursor, text, key.size);
        }
        cursor += key.size;
    }

private:
    struct Key {
        /// Where in `_text` the key as written starts, and its length.
        std::size_t offset = 0;
        std::size_t size = 0;
    };
    TARVPlayableShape::TermTablePtr _table;
    std::vector<Key> _keys;
    /// The keys as written, each followed by padding.
    std::string _text;
    std::size_t _room = 0;
};

/// What shapes are written with, kept from one shape to the next on each thread.
struct ShapeScratch {
    TermKeys termKeys;
    TARVChordShape chordShape;
    std::vector<SNote> notes;

    static ShapeScratch& local() {
        thread_local ShapeScratch scratch;
        return scratch;
    }
};

/// The most a fret, finger or string number takes with the comma after it.
constexpr std::size_t kSmallNumberRoom = 8;
/// The most an indicator, a barre or the fixed keys of a shape take, numbers included.
constexpr std::size_t kIndicatorRoom = 96;
constexpr std::size_t kBarreRoom = 96;
constexpr std::size_t kShapeFixedRoom = 512;

void writeShape(Writer& writer, const TARVPlayableShape& shape, std::size_t rank,
                const SStringedInstrumentTuning* tuning, ShapeScratch& scratch) {
    TARVChordShape& chordShape = scratch.chordShape;
    shape.buildChordShape(chordShape);
    const TARVFingering& fingering = shape.fingering();
    // Spans read once: the text written through `cursor` could otherwise be any of them.
    const std::span<const std::int8_t> frets = shape.frets();
    const std::span<const TARVFingering::Barre> barres = fingering.barres();
    const std::span<const std::uint8_t> fingers = fingering.fingers();
    const TARVPlayableShape::Terms terms = shape.terms();
    const std::size_t stringCount = frets.size();

    // Everything up to the notes, in room made at once.
    char* cursor = writer.room(kShapeFixedRoom + frets.size() * 2 * kSmallNumberRoom +
                               barres.size() * kBarreRoom);
    put::literal(cursor, "{\"rank\":");
    put::integer(cursor, static_cast<long long>(rank));
    put::literal(cursor, ",\"frets\":\"");
    // From the highest string number down, as the fret text is written.
    for (std::size_t i = stringCount; i-- > 0;) {
        if (frets[i] < 0) {
            *cursor++ = 'x';
        } else {
            put::integer(cursor, frets[i]);
        }
        if (i != 0) {
            *cursor++ = ',';
        }
    }
    // The base fret of the indicators below (the shape model's), not the diagram's.
    put::literal(cursor, "\",\"baseFret\":");
    put::integer(cursor, chordShape.baseFret());
    put::literal(cursor, ",\"score\":");
    put::number(cursor, shape.score());
    if (shape.badness()) {
        put::literal(cursor, ",\"badness\":");
        put::integer(cursor, static_cast<long long>(*shape.badness()));
    }
    put::literal(cursor, ",\"baseString\":");
    put::integer(cursor, chordShape.baseString());
    put::literal(cursor, ",\"reach\":");
    put::integer(cursor, chordShape.reach());
    put::literal(cursor, ",\"fingers\":[");
    for (std::size_t s = 0; s < stringCount; ++s) {
        if (s != 0) {
            *cursor++ = ',';
        }
        put::integer(cursor, s < fingers.size() ? fingers[s] : 0);
    }
    put::literal(cursor, "],\"fingerCount\":");
    put::integer(cursor, fingering.fingerCount());
    put::literal(cursor, ",\"barres\":[");
    for (std::size_t i = 0; i < barres.size(); ++i) {
        const TARVFingering::Barre& barre = barres[i];
        if (i != 0) {
            *cursor++ = ',';
        }
        put::literal(cursor, "{\"fret\":");
        put::integer(cursor, barre.fret);
        put::literal(cursor, ",\"lowString\":");
        put::integer(cursor, barre.lowString);
        put::literal(cursor, ",\"highString\":");
        put::integer(cursor, barre.highString);
        put::literal(cursor, ",\"finger\":");
        put::integer(cursor, barre.finger);
        *cursor++ = '}';
    }
    put::literal(cursor, "],");
    writer.commit(cursor);

    if (tuning != nullptr) {
        // The notes sound with the capo on.
        const auto capo = static_cast<std::int8_t>(tuning->capo());
        chordShape.notesInTuning(*tuning, scratch.notes);
        cursor = writer.room(16 + scratch.notes.size() * (sizeof(put::QuotedName::text) + 1));
        put::literal(cursor, "\"notes\":[");
        for (std::size_t i = 0; i < scratch.notes.size(); ++i) {
            if (i != 0) {
                *cursor++ = ',';
            }
            put::noteName(cursor, scratch.notes[i].noteWithOffset(capo));
        }
        put::literal(cursor, "],");
        writer.commit(cursor);
    }

    const std::span<const TARVFretIndicator> indicators(chordShape.indicators());
    const std::size_t indicatorCount = indicators.size();
    cursor = writer.room(32 + indicatorCount * kIndicatorRoom);
    put::literal(cursor, "\"indicators\":[");
    for (std::size_t i = 0; i < indicatorCount; ++i) {
        const TARVFretIndicator& indicator = indicators[i];
        if (i != 0) {
            *cursor++ = ',';
        }
        put::literal(cursor, "{\"kind\":\"");
        put::text(cursor, indicatorKind(indicator));
        put::literal(cursor, "\",\"string\":");
        put::integer(cursor, indicator.string());
        put::literal(cursor, ",\"fret\":");
        put::integer(cursor, indicator.fret());
        if (indicator.isBarre()) {
            put::literal(cursor, ",\"endString\":");
            put::integer(cursor, indicator.endString());
        }
        *cursor++ = '}';
    }
    put::literal(cursor, "],\"terms\":{");
    writer.commit(cursor);

    cursor = writer.room(scratch.termKeys.prepare(shape) + 2);
    std::size_t i = 0;
    for (const TARVPlayableShape::Term term : terms) {
        if (i != 0) {
            *cursor++ = ',';
        }
        scratch.termKeys.put(cursor, i++);
        // Most terms of a score are nothing.
        const double contribution = term.contribution();
        if (contribution == 0) {
            *cursor++ = '0';
        } else {
            put::number(cursor, contribution);
        }
    }
    put::literal(cursor, "}}");
    writer.commit(cursor);
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
        writeShape(writer, shape, rank, tuning, ShapeScratch::local());
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
        ShapeScratch& scratch = ShapeScratch::local();
        for (std::size_t i = 0; i < shapes.size(); ++i) {
            if (i != 0) {
                writer.raw(",");
            }
            writeShape(writer, shapes[i], i + 1, &tuning, scratch);
        }
        writer.raw("]}");
    }
    return out;
}

} // namespace tarv
