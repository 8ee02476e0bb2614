#include "cache/TARVTuningDictionaryReader.hpp"

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

namespace tarv {

namespace {

/// The values of the text, turned into chords as they come.
///
/// The rule is the tree's: a key given twice counts with its last value, so a value of the wrong
/// form is an error only once nothing later replaces it. Each value therefore reports whether it
/// is well-formed to the map or list that holds it, and only the top level decides.
class Builder {
public:
    explicit Builder(TARVTuningDictionaryReader::TopLevel topLevel) : _topLevel(topLevel) {}

    std::vector<TARVReadChord> chords;
    std::string error;

    /// Whether the whole text was of the form, once it has been read to its end.
    bool wellFormed() {
        if (!_rootSeen || !_rootValid) {
            error = _why.empty() ? "the text is not a tuning dictionary" : _why;
            return false;
        }
        return true;
    }

    [[gnu::always_inline]] void number(std::int64_t value) {
        // The numbers of a shape's lists and frets, taken as `scalar` takes them but without
        // asking where they stand each time.
        if (!_stack.empty()) {
            Frame& holder = _stack.back();
            if (holder.kind == Kind::Indicators) {
                _indicators.emplace_back(static_cast<std::int8_t>(value),
                                         static_cast<std::uint8_t>(_indicators.size()));
                return;
            }
            if (holder.kind == Kind::Shape && holder.slot == Slot::Fret) {
                _fret = static_cast<std::uint8_t>(value);
                holder.fields[0] = Field::Valid;
                return;
            }
        }
        scalar(Scalar::Number, value, {});
    }
    void text(std::string_view value) { scalar(Scalar::Text, 0, value); }
    /// null, true, false, or a number whose integer part does not fit 64 bits.
    void other() { scalar(Scalar::Other, 0, {}); }

    [[gnu::always_inline]] void start(bool object) {
        // A shape and its list of marks, opened as `anywhere` opens them.
        if (!_stack.empty()) {
            Frame& holder = _stack.back();
            if (holder.kind == Kind::Shapes && object) {
                _fret.reset();
                _indicators.clear();
                return push(Kind::Shape);
            }
            if (holder.kind == Kind::Shape && holder.slot == Slot::Indicators && !object) {
                _indicators.clear();
                return push(Kind::Indicators);
            }
        }
        anywhere(object);
    }

    [[gnu::always_inline]] void key(std::string_view key) {
        Frame& frame = _stack.back();
        switch (frame.kind) {
        case Kind::Tuning:
            frame.slot = is(key, "asciiNoteString") ? Slot::NoteString
                         : is(key, "chords")        ? Slot::Chords
                                                    : Slot::Ignored;
            return;
        case Kind::Chord:
            frame.slot = is(key, "name")     ? Slot::Name
                         : is(key, "shapes") ? Slot::Shapes
                                             : Slot::Ignored;
            return;
        case Kind::Shape:
            frame.slot = is(key, "fret")         ? Slot::Fret
                         : is(key, "indicators") ? Slot::Indicators
                                                 : Slot::Ignored;
            return;
        default:
            return;
        }
    }

    [[gnu::always_inline]] void end() {
        // A shape and its list of marks, closed as `closeAnything` closes them: a list of marks
        // is only ever held by a shape, for its "indicators", and a shape by a list of shapes.
        Frame& frame = _stack.back();
        if (frame.kind == Kind::Indicators) {
            const bool valid = frame.valid;
            _stack.pop_back();
            if (!valid) {
                because("a list holds an element of the wrong form");
            }
            _stack.back().fields[1] = valid ? Field::Valid : Field::Invalid;
            return;
        }
        if (frame.kind == Kind::Shape) {
            const bool complete =
                frame.fields[0] == Field::Valid && frame.fields[1] == Field::Valid;
            _stack.pop_back();
            if (complete) {
                _chord.shapes.push_back(
                    TARVChordShape::shapeFromIndicatorArray(_indicators, *_fret));
            } else {
                because("a shape lacks a well-formed \"fret\" or \"indicators\"");
            }
            Frame& holder = _stack.back();
            holder.valid = holder.valid && complete;
            return;
        }
        closeAnything();
    }

private:
    /// Opens a list or a map wherever it stands.
    void anywhere(bool object) {
        if (!_stack.empty() && _stack.back().kind == Kind::Skip) {
            ++_stack.back().depth;
            return;
        }
        switch (slot()) {
        case Slot::Ignored:
            return skip(true);
        case Slot::TopList:
            return object ? skip(false) : push(Kind::TopList);
        case Slot::Tuning:
            if (!object) {
                return skip(false);
            }
            _noteString.reset();
            _firstChordOfTuning = chords.size();
            return push(Kind::Tuning);
        case Slot::Chords:
            if (object) {
                return skip(false);
            }
            // A later "chords" replaces an earlier one.
            chords.resize(_firstChordOfTuning);
            return push(Kind::Chords);
        case Slot::Chord:
            if (!object) {
                return skip(false);
            }
            _chord = {};
            return push(Kind::Chord);
        case Slot::Shapes:
            if (object) {
                return skip(false);
            }
            _chord.shapes.clear();
            return push(Kind::Shapes);
        case Slot::Shape:
            if (!object) {
                return skip(false);
            }
            _fret.reset();
            _indicators.clear();
            return push(Kind::Shape);
        case Slot::Indicators:
            if (object) {
                return skip(false);
            }
            _indicators.clear();
            return push(Kind::Indicators);
        default:
            return skip(false);
        }
    }

    /// Closes the innermost open list or map, whatever it is.
    void closeAnything() {
        Frame& frame = _stack.back();
        if (frame.kind == Kind::Skip && --frame.depth > 0) {
            return;
        }
        const Frame done = frame;
        _stack.pop_back();
        const bool complete = done.fields[0] == Field::Valid && done.fields[1] == Field::Valid;
        switch (done.kind) {
        case Kind::Skip:
            if (!done.valid) {
                finished(false, "a list or a map of the wrong form");
            }
            return;
        case Kind::Shape:
            if (complete) {
                _chord.shapes.push_back(
                    TARVChordShape::shapeFromIndicatorArray(_indicators, *_fret));
            }
            finished(complete, "a shape lacks a well-formed \"fret\" or \"indicators\"");
            return;
        case Kind::Chord:
            if (complete) {
                chords.push_back(std::move(_chord));
            }
            finished(complete, "a chord lacks a well-formed \"name\" or \"shapes\"");
            return;
        case Kind::Tuning:
            if (complete) {
                for (std::size_t i = _firstChordOfTuning; i < chords.size(); ++i) {
                    chords[i].asciiNoteString = *_noteString;
                }
            }
            finished(complete,
                     "a tuning dictionary lacks a well-formed \"asciiNoteString\" or \"chords\"");
            return;
        default:
            finished(done.valid, "a list holds an element of the wrong form");
            return;
        }
    }

    /// Keeps the first reason the text is of the wrong form.
    void because(const char* why) {
        if (_why.empty()) {
            _why = why;
        }
    }

    template <std::size_t N> static bool is(std::string_view key, const char (&name)[N]) {
        constexpr std::size_t length = N - 1;
        if (key.size() != length) {
            return false;
        }
        // Compared a word or two at a time: the first and the last bytes of the name.
        if constexpr (length >= 8) {
            return word<std::uint64_t>(key.data()) == word<std::uint64_t>(name) &&
                   word<std::uint64_t>(key.data() + length - 8) ==
                       word<std::uint64_t>(name + length - 8);
        } else if constexpr (length >= 4) {
            return word<std::uint32_t>(key.data()) == word<std::uint32_t>(name) &&
                   word<std::uint32_t>(key.data() + length - 4) ==
                       word<std::uint32_t>(name + length - 4);
        } else {
            return std::memcmp(key.data(), name, length) == 0;
        }
    }

    template <typename Word> static Word word(const char* bytes) {
        Word value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    enum class Kind : std::uint8_t {
        TopList,
        Tuning,
        Chords,
        Chord,
        Shapes,
        Shape,
        Indicators,
        Skip
    };
    enum class Scalar { Number, Text, Other };
    /// Of a map's two keys that are read: absent, present with a value of the wrong form, or
    /// present and well-formed.
    enum class Field : std::uint8_t { Absent, Invalid, Valid };
    /// What a value stands for, given where it stands.
    enum class Slot : std::uint8_t {
        TopList,
        Tuning,
        NoteString,
        Chords,
        Chord,
        Name,
        Shapes,
        Shape,
        Fret,
        Indicators,
        Indicator,
        Ignored
    };
    struct Frame {
        Kind kind;
        /// A map: what the value of its latest key stands for.
        Slot slot = Slot::Ignored;
        /// A list: whether every element is well-formed. A skipped value: whether it stands
        /// where a value that is read belongs (and so is of the wrong form).
        bool valid = true;
        std::array<Field, 2> fields{Field::Absent, Field::Absent};
        /// A skipped value: how many of its lists and maps are open.
        std::size_t depth = 0;
    };

    Slot slot() const {
        if (_stack.empty()) {
            return _topLevel == TARVTuningDictionaryReader::TopLevel::ListOfDictionaries
                       ? Slot::TopList
                       : Slot::Tuning;
        }
        const Frame& frame = _stack.back();
        switch (frame.kind) {
        case Kind::TopList:
            return Slot::Tuning;
        case Kind::Chords:
            return Slot::Chord;
        case Kind::Shapes:
            return Slot::Shape;
        case Kind::Indicators:
            return Slot::Indicator;
        case Kind::Tuning:
        case Kind::Chord:
        case Kind::Shape:
            return frame.slot;
        case Kind::Skip:
            return Slot::Ignored;
        }
        return Slot::Ignored;
    }

    /// Hands the well-formedness of a finished value to what holds it.
    void finished(bool valid, const char* why) {
        if (!valid && _why.empty()) {
            _why = why;
        }
        if (_stack.empty()) {
            _rootSeen = true;
            _rootValid = valid;
            return;
        }
        Frame& holder = _stack.back();
        switch (holder.kind) {
        case Kind::Tuning:
        case Kind::Chord:
        case Kind::Shape: {
            const bool first = holder.slot == Slot::NoteString || holder.slot == Slot::Name ||
                               holder.slot == Slot::Fret;
            holder.fields[first ? 0 : 1] = valid ? Field::Valid : Field::Invalid;
            return;
        }
        case Kind::Skip:
            return;
        default:
            holder.valid = holder.valid && valid;
            return;
        }
    }

    void scalar(Scalar type, std::int64_t number, std::string_view text) {
        switch (slot()) {
        case Slot::Ignored:
            return;
        case Slot::NoteString:
            if (type == Scalar::Text) {
                _noteString.emplace(text);
            }
            return finished(type == Scalar::Text, "\"asciiNoteString\" is not a text");
        case Slot::Name:
            if (type == Scalar::Text) {
                _chord.name.assign(text);
            }
            return finished(type == Scalar::Text, "a chord's \"name\" is not a text");
        case Slot::Fret:
            if (type == Scalar::Number) {
                _fret = static_cast<std::uint8_t>(number);
            }
            return finished(type == Scalar::Number, "a shape's \"fret\" is not a number");
        case Slot::Indicator:
            if (type == Scalar::Number) {
                _indicators.emplace_back(static_cast<std::int8_t>(number),
                                         static_cast<std::uint8_t>(_indicators.size()));
            }
            return finished(type == Scalar::Number, "an entry of \"indicators\" is not a number");
        default:
            return finished(false, "a number or a text where a list or a map belongs");
        }
    }

    void push(Kind kind) { _stack.push_back({kind}); }

    /// Skips a list or map: one that is not read (`ignored`), or one of the wrong form.
    void skip(bool ignored) {
        Frame frame{Kind::Skip};
        frame.valid = ignored;
        frame.depth = 1;
        _stack.push_back(frame);
    }

    TARVTuningDictionaryReader::TopLevel _topLevel;
    std::vector<Frame> _stack;
    std::optional<std::string> _noteString;
    std::size_t _firstChordOfTuning = 0;
    TARVReadChord _chord;
    std::optional<std::uint8_t> _fret;
    std::vector<TARVFretIndicator> _indicators;
    bool _rootSeen = false;
    bool _rootValid = false;
    std::string _why;
};

/// How many bytes of plain string text (printable ASCII but the quote and the backslash) `p`
/// starts, up to 8, reading 8 bytes at once.
std::size_t plainStringBytes(const char* p) {
    if constexpr (std::endian::native == std::endian::little) {
        std::uint64_t word = 0;
        std::memcpy(&word, p, sizeof word);
        constexpr std::uint64_t ones = 0x0101010101010101;
        constexpr std::uint64_t highs = 0x8080808080808080;
        const std::uint64_t quote = word ^ (ones * '"');
        const std::uint64_t backslash = word ^ (ones * '\\');
        // The high bit of each byte that is a control character, a quote, a backslash or not
        // ASCII. A borrow runs only toward higher bytes, so the lowest bit set is exact.
        const std::uint64_t stops = (((word - ones * 0x20) & ~word) | ((quote - ones) & ~quote) |
                                     ((backslash - ones) & ~backslash) | word) &
                                    highs;
        return stops == 0 ? 8 : static_cast<std::size_t>(std::countr_zero(stops)) / 8;
    } else {
        std::size_t count = 0;
        while (count < 8) {
            const auto byte = static_cast<unsigned char>(p[count]);
            if (byte < 0x20 || byte >= 0x80 || byte == '"' || byte == '\\') {
                break;
            }
            ++count;
        }
        return count;
    }
}

/// A reader of JSON text (RFC 8259, as nlohmann's reader takes it: an optional UTF-8 byte order
/// mark first, and the text ending at its end or at a NUL byte after the value) that hands each
/// value to the Builder as it is read, in the order a SAX reader would.
class Parser {
public:
    Parser(std::string_view text, Builder& builder)
        : _text(new char[text.size() + kPadding]), _p(_text.get()), _builder(builder) {
        // The text is read from a copy followed by NUL bytes. A NUL ends the text after the
        // value and is refused everywhere else, just as the end is, so reading needs no other
        // test for the end; and words may be read a little past it.
        if (!text.empty()) {
            std::memcpy(_text.get(), text.data(), text.size());
        }
        std::memset(_text.get() + text.size(), 0, kPadding);
    }

    /// Whether the text is JSON; where it is not, `position` is where reading stopped.
    bool parse() {
        if (std::memcmp(_p, "\xEF\xBB\xBF", 3) == 0) {
            _p += 3;
        }
        while (true) {
            // A value is due.
            switch (*_p) {
            case ' ':
            case '\t':
            case '\n':
            case '\r':
                ++_p;
                continue;
            case '{':
                ++_p;
                _builder.start(true);
                skipWhitespace();
                if (*_p == '}') {
                    ++_p;
                    _builder.end();
                    break;
                }
                _open.push_back('}');
                if (!member()) {
                    return false;
                }
                continue;
            case '[':
                ++_p;
                _builder.start(false);
                skipWhitespace();
                if (*_p == ']') {
                    ++_p;
                    _builder.end();
                    break;
                }
                _open.push_back(']');
                continue;
            case '"': {
                std::string_view text;
                if (!string(text)) {
                    return false;
                }
                _builder.text(text);
                break;
            }
            case 't':
                if (!literal("true", 4)) {
                    return false;
                }
                break;
            case 'f':
                if (!literal("false", 5)) {
                    return false;
                }
                break;
            case 'n':
                if (!literal("null", 4)) {
                    return false;
                }
                break;
            case '-':
            case '0':
            case '1':
            case '2':
            case '3':
            case '4':
            case '5':
            case '6':
            case '7':
            case '8':
            case '9':
                if (!number()) {
                    return false;
                }
                break;
            default:
                return false;
            }
            // A value has ended: close what it ends, up to the next value that is due.
            while (true) {
                const char c = *_p++;
                if (c == ',') {
                    if (_open.empty() || (_open.back() == '}' && !member())) {
                        return false;
                    }
                    break;
                }
                if (!_open.empty() && c == _open.back()) {
                    _open.pop_back();
                    _builder.end();
                } else if (!isWhitespace(c)) {
                    --_p;
                    return _open.empty() && c == '\0';
                }
            }
        }
    }

    std::size_t position() const { return static_cast<std::size_t>(_p - _text.get()); }

private:
    /// NUL bytes after the copy of the text: one to end it, the others to read words past it.
    static constexpr std::size_t kPadding = 16;

    static bool isWhitespace(char c) {
        return static_cast<unsigned char>(c) <= ' ' &&
               (c == ' ' || c == '\n' || c == '\r' || c == '\t');
    }

    void skipWhitespace() {
        while (isWhitespace(*_p)) {
            ++_p;
        }
    }

    /// A key and its colon, before the value of a map's member.
    bool member() {
        skipWhitespace();
        if (*_p != '"') {
            return false;
        }
        std::string_view key;
        if (!string(key)) {
            return false;
        }
        _builder.key(key);
        skipWhitespace();
        if (*_p != ':') {
            return false;
        }
        ++_p;
        return true;
    }

    bool literal(const char* word, std::size_t length) {
        if (std::memcmp(_p, word, length) != 0) {
            return false;
        }
        _p += length;
        _builder.other();
        return true;
    }

    static unsigned digitOf(char c) { return static_cast<unsigned>(c) - '0'; }

    /// Reads the digits at `_p`, at least one.
    bool digits() {
        if (digitOf(*_p) > 9) {
            return false;
        }
        do {
            ++_p;
        } while (digitOf(*_p) <= 9);
        return true;
    }

    bool number() {
        const char* const start = _p;
        const bool negative = *_p == '-';
        if (negative) {
            ++_p;
        }
        const char* const integerStart = _p;
        std::uint64_t magnitude = digitOf(*_p);
        if (magnitude > 9) {
            return false;
        }
        ++_p;
        if (magnitude != 0) {
            for (unsigned digit = 0; (digit = digitOf(*_p)) <= 9; ++_p) {
                magnitude = magnitude * 10 + digit;
            }
        }
        if (*_p == '.' || (*_p | 0x20) == 'e') {
            return inexact(start, false);
        }
        // An integer that fits 64 bits, unsigned or (when negative) signed, is taken as it
        // stands; up to 19 digits cannot overflow.
        if ((_p - integerStart >= 20 && !fitsSixtyFourBits(integerStart, magnitude)) ||
            (negative && magnitude > (std::uint64_t{1} << 63))) {
            return inexact(start, true);
        }
        _builder.number(
            static_cast<std::int64_t>(negative ? std::uint64_t{0} - magnitude : magnitude));
        return true;
    }

    /// Whether the digits from `digits` to `_p` stand for an integer below 2^64, and which.
    bool fitsSixtyFourBits(const char* digits, std::uint64_t& magnitude) const {
        magnitude = 0;
        for (; digits != _p; ++digits) {
            if (__builtin_mul_overflow(magnitude, 10u, &magnitude) ||
                __builtin_add_overflow(magnitude, digitOf(*digits), &magnitude)) {
                return false;
            }
        }
        return true;
    }

    /// A number taken as the nearest double: one with a fraction or an exponent, which `_p`
    /// stands at the start of unless `read`, or an integer that does not fit 64 bits.
    bool inexact(const char* start, bool read) {
        if (!read) {
            if (*_p == '.') {
                ++_p;
                if (!digits()) {
                    return false;
                }
            }
            if ((*_p | 0x20) == 'e') {
                ++_p;
                if (*_p == '+' || *_p == '-') {
                    ++_p;
                }
                if (!digits()) {
                    return false;
                }
            }
        }
        const double value = toDouble(start);
        if (!std::isfinite(value)) {
            return false;
        }
        if (const auto truncated = TARVTuningDictionaryReader::integerOfFloat(value)) {
            _builder.number(*truncated);
        } else {
            _builder.other();
        }
        return true;
    }

    /// The number from `start` to `_p` as strtod reads it, with the decimal point of the locale.
    double toDouble(const char* start) {
        _scratch.assign(start, _p);
        const std::lconv* locale = std::localeconv();
        const char point =
            locale == nullptr || locale->decimal_point == nullptr ? '.' : *locale->decimal_point;
        for (char& c : _scratch) {
            if (c == '.') {
                c = point;
            }
        }
        return std::strtod(_scratch.c_str(), nullptr);
    }

    /// Reads the string whose opening quote `_p` is at. `value` views the text itself when the
    /// string is plain ASCII without escapes, or else a decoded copy, good until the next string.
    bool string(std::string_view& value) {
        const char* const start = ++_p;
        std::size_t run = 0;
        do {
            run = plainStringBytes(_p);
            _p += run;
        } while (run == 8);
        if (*_p == '"') {
            value = std::string_view(start, static_cast<std::size_t>(_p - start));
            ++_p;
            return true;
        }
        return decoded(start, value);
    }

    /// Goes on with a string from the first escape or other byte that does not stand for itself.
    bool decoded(const char* start, std::string_view& value) {
        _scratch.assign(start, _p);
        while (true) {
            const auto byte = static_cast<unsigned char>(*_p);
            if (byte == '"') {
                ++_p;
                value = _scratch;
                return true;
            }
            if (byte == '\\') {
                if (!escape()) {
                    return false;
                }
            } else if (byte >= 0x20 && byte < 0x80) {
                _scratch.push_back(*_p++);
            } else if (!multibyte()) {
                return false;
            }
        }
    }

    /// Decodes the escape whose backslash `_p` is at.
    bool escape() {
        ++_p;
        switch (*_p++) {
        case '"':
            _scratch.push_back('"');
            return true;
        case '\\':
            _scratch.push_back('\\');
            return true;
        case '/':
            _scratch.push_back('/');
            return true;
        case 'b':
            _scratch.push_back('\b');
            return true;
        case 'f':
            _scratch.push_back('\f');
            return true;
        case 'n':
            _scratch.push_back('\n');
            return true;
        case 'r':
            _scratch.push_back('\r');
            return true;
        case 't':
            _scratch.push_back('\t');
            return true;
        case 'u':
            break;
        default:
            return false;
        }
        std::uint32_t codePoint = 0;
        if (!hex(codePoint)) {
            return false;
        }
        if (codePoint >= 0xD800 && codePoint <= 0xDBFF) {
            // A high surrogate: its low surrogate must follow.
            std::uint32_t low = 0;
            if (_p[0] != '\\' || _p[1] != 'u') {
                return false;
            }
            _p += 2;
            if (!hex(low) || low < 0xDC00 || low > 0xDFFF) {
                return false;
            }
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
        } else if (codePoint >= 0xDC00 && codePoint <= 0xDFFF) {
            return false;
        }
        if (codePoint < 0x80) {
            _scratch.push_back(static_cast<char>(codePoint));
        } else if (codePoint < 0x800) {
            _scratch.push_back(static_cast<char>(0xC0 | (codePoint >> 6)));
            _scratch.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
        } else if (codePoint < 0x10000) {
            _scratch.push_back(static_cast<char>(0xE0 | (codePoint >> 12)));
            _scratch.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
            _scratch.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
        } else {
            _scratch.push_back(static_cast<char>(0xF0 | (codePoint >> 18)));
            _scratch.push_back(static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F)));
            _scratch.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
            _scratch.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
        }
        return true;
    }

    /// The four hex digits after `\u`.
    bool hex(std::uint32_t& value) {
        value = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = *_p;
            std::uint32_t digit = 0;
            if (c >= '0' && c <= '9') {
                digit = static_cast<std::uint32_t>(c - '0');
            } else if (c >= 'A' && c <= 'F') {
                digit = static_cast<std::uint32_t>(c - 'A' + 10);
            } else if (c >= 'a' && c <= 'f') {
                digit = static_cast<std::uint32_t>(c - 'a' + 10);
            } else {
                return false;
            }
            ++_p;
            value = (value << 4) | digit;
        }
        return true;
    }

    /// Copies the well-formed UTF-8 sequence `_p` starts (RFC 3629: no overlong forms, no
    /// surrogates, nothing past U+10FFFF); a control character or any other byte is refused.
    bool multibyte() {
        const auto lead = static_cast<unsigned char>(*_p);
        std::size_t following = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            following = 1;
        } else if (lead == 0xE0) {
            following = 2;
            low = 0xA0;
        } else if (lead == 0xED) {
            following = 2;
            high = 0x9F;
        } else if (lead >= 0xE1 && lead <= 0xEF) {
            following = 2;
        } else if (lead == 0xF0) {
            following = 3;
            low = 0x90;
        } else if (lead == 0xF4) {
            following = 3;
            high = 0x8F;
        } else if (lead >= 0xF1 && lead <= 0xF3) {
            following = 3;
        } else {
            return false;
        }
        // Each byte is looked at only once the ones before it passed, so none past the NUL
        // that ends the text.
        for (std::size_t i = 1; i <= following; ++i) {
            const auto byte = static_cast<unsigned char>(_p[i]);
            if (byte < (i == 1 ? low : 0x80) || byte > (i == 1 ? high : 0xBF)) {
                return false;
            }
        }
        _scratch.append(_p, following + 1);
        _p += following + 1;
        return true;
    }

    std::unique_ptr<char[]> _text;
    const char* _p;
    Builder& _builder;
    /// The closing bracket of each open list or map, innermost last.
    std::string _open;
    std::string _scratch;
};

} // namespace

std::optional<std::vector<TARVReadChord>>
TARVTuningDictionaryReader::read(std::string_view text, TopLevel topLevel, std::string& error) {
    try {
        Builder builder(topLevel);
        Parser parser(text, builder);
        if (!parser.parse()) {
            error =
                "the text is not JSON: syntax error at byte " + std::to_string(parser.position());
            return std::nullopt;
        }
        if (!builder.wellFormed()) {
            error = builder.error;
            return std::nullopt;
        }
        return std::move(builder.chords);
    } catch (const std::exception& exception) {
        error = exception.what();
        if (error.empty()) {
            error = "the text is not a tuning dictionary";
        }
        return std::nullopt;
    }
}

std::optional<std::int64_t> TARVTuningDictionaryReader::integerOfFloat(double value) noexcept {
    // Truncated toward zero; only values whose integer part fits 64 bits, signed.
    if (!std::isfinite(value) || !(value >= -9223372036854775808.0) ||
        !(value < 9223372036854775808.0)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(value);
}

} // namespace tarv
