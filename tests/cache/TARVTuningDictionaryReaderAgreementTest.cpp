// The reader of tuning dictionaries against nlohmann: it takes as JSON exactly the texts
// nlohmann takes, and gives what a reader built on nlohmann's SAX events gives.

#include "cache/TARVTuningDictionaryReader.hpp"

#include "tarv/cache/TARVDataZLib.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace tarv;
using Top = TARVTuningDictionaryReader::TopLevel;

namespace {

namespace reference {

using json = nlohmann::json;

/// The reading on nlohmann's SAX parser, event by event: what the fast reader must agree with.
class Handler : public nlohmann::json_sax<json> {
public:
    explicit Handler(Top topLevel) : _topLevel(topLevel) {}

    std::vector<TARVReadChord> chords;
    std::string error;

    bool wellFormed() { return _rootSeen && _rootValid; }

    bool null() override { return scalar(Scalar::Other, 0, {}); }
    bool boolean(bool) override { return scalar(Scalar::Other, 0, {}); }
    bool number_integer(number_integer_t value) override {
        return scalar(Scalar::Number, value, {});
    }
    bool number_unsigned(number_unsigned_t value) override {
        return scalar(Scalar::Number, static_cast<std::int64_t>(value), {});
    }
    bool number_float(number_float_t value, const string_t&) override {
        const auto integer = TARVTuningDictionaryReader::integerOfFloat(value);
        return integer ? scalar(Scalar::Number, *integer, {}) : scalar(Scalar::Other, 0, {});
    }
    bool string(string_t& value) override { return scalar(Scalar::Text, 0, value); }
    bool binary(binary_t&) override { return scalar(Scalar::Other, 0, {}); }

    bool start_object(std::size_t) override { return start(true); }
    bool start_array(std::size_t) override { return start(false); }
    bool key(string_t& value) override {
        if (_stack.back().kind != Kind::Skip) {
            _stack.back().key = value;
        }
        return true;
    }
    bool end_object() override { return end(); }
    bool end_array() override { return end(); }

    bool parse_error(std::size_t, const std::string&,
                     const nlohmann::detail::exception& e) override {
        error = e.what();
        return false;
    }

private:
    enum class Kind { TopList, Tuning, Chords, Chord, Shapes, Shape, Indicators, Skip };
    enum class Scalar { Number, Text, Other };
    enum class Field : std::uint8_t { Absent, Invalid, Valid };
    struct Frame {
        Kind kind;
        std::string key;
        int depth = 0;
        bool valid = true;
        std::array<Field, 2> fields{Field::Absent, Field::Absent};
    };
    enum class Slot {
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

    Slot slot() const {
        if (_stack.empty()) {
            return _topLevel == Top::ListOfDictionaries ? Slot::TopList : Slot::Tuning;
        }
        const Frame& frame = _stack.back();
        switch (frame.kind) {
        case Kind::TopList:
            return Slot::Tuning;
        case Kind::Tuning:
            return frame.key == "asciiNoteString" ? Slot::NoteString
                   : frame.key == "chords"        ? Slot::Chords
                                                  : Slot::Ignored;
        case Kind::Chords:
            return Slot::Chord;
        case Kind::Chord:
            return frame.key == "name"     ? Slot::Name
                   : frame.key == "shapes" ? Slot::Shapes
                                           : Slot::Ignored;
        case Kind::Shapes:
            return Slot::Shape;
        case Kind::Shape:
            return frame.key == "fret"         ? Slot::Fret
                   : frame.key == "indicators" ? Slot::Indicators
                                               : Slot::Ignored;
        case Kind::Indicators:
            return Slot::Indicator;
        case Kind::Skip:
            return Slot::Ignored;
        }
        return Slot::Ignored;
    }

    void finished(bool valid) {
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
            const bool first =
                holder.key == "asciiNoteString" || holder.key == "name" || holder.key == "fret";
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

    bool scalar(Scalar type, std::int64_t number, const std::string& text) {
        switch (slot()) {
        case Slot::Ignored:
            return true;
        case Slot::NoteString:
            if (type == Scalar::Text) {
                _noteString = text;
            }
            finished(type == Scalar::Text);
            return true;
        case Slot::Name:
            if (type == Scalar::Text) {
                _chord.name = text;
            }
            finished(type == Scalar::Text);
            return true;
        case Slot::Fret:
            if (type == Scalar::Number) {
                _fret = static_cast<std::uint8_t>(number);
            }
            finished(type == Scalar::Number);
            return true;
        case Slot::Indicator:
            if (type == Scalar::Number) {
                _indicators.emplace_back(static_cast<std::int8_t>(number),
                                         static_cast<std::uint8_t>(_indicators.size()));
            }
            finished(type == Scalar::Number);
            return true;
        default:
            finished(false);
            return true;
        }
    }

    bool start(bool object) {
        if (!_stack.empty() && _stack.back().kind == Kind::Skip) {
            ++_stack.back().depth;
            return true;
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

    bool push(Kind kind) {
        _stack.push_back({kind, {}, 0});
        return true;
    }

    bool skip(bool ignored) {
        Frame frame{Kind::Skip, {}, 1};
        frame.valid = ignored;
        _stack.push_back(std::move(frame));
        return true;
    }

    bool end() {
        Frame& frame = _stack.back();
        if (frame.kind == Kind::Skip && --frame.depth > 0) {
            return true;
        }
        const Frame done = std::move(frame);
        _stack.pop_back();
        const bool complete = done.fields[0] == Field::Valid && done.fields[1] == Field::Valid;
        switch (done.kind) {
        case Kind::Skip:
            if (!done.valid) {
                finished(false);
            }
            return true;
        case Kind::Shape:
            if (complete) {
                _chord.shapes.push_back(
                    TARVChordShape::shapeFromIndicatorArray(_indicators, *_fret));
            }
            finished(complete);
            return true;
        case Kind::Chord:
            if (complete) {
                chords.push_back(std::move(_chord));
            }
            finished(complete);
            return true;
        case Kind::Tuning:
            if (complete) {
                for (std::size_t i = _firstChordOfTuning; i < chords.size(); ++i) {
                    chords[i].asciiNoteString = *_noteString;
                }
            }
            finished(complete);
            return true;
        default:
            finished(done.valid);
            return true;
        }
    }

    Top _topLevel;
    std::vector<Frame> _stack;
    std::optional<std::string> _noteString;
    std::size_t _firstChordOfTuning = 0;
    TARVReadChord _chord;
    std::optional<std::uint8_t> _fret;
    std::vector<TARVFretIndicator> _indicators;
    bool _rootSeen = false;
    bool _rootValid = false;
};

std::optional<std::vector<TARVReadChord>> read(std::string_view text, Top top) {
    Handler handler(top);
    bool parsed = false;
    try {
        parsed = json::sax_parse(text.begin(), text.end(), &handler);
    } catch (const std::exception&) {
        parsed = false;
    }
    if (!parsed || !handler.wellFormed()) {
        return std::nullopt;
    }
    return std::move(handler.chords);
}

} // namespace reference

constexpr std::string_view kNotJSON = "the text is not JSON";

std::string describe(std::string_view text) {
    constexpr std::size_t kShown = 160;
    std::string shown;
    for (const char c : text.substr(0, kShown)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7F) {
            static constexpr char kHex[] = "0123456789abcdef";
            shown += "\\x";
            shown += kHex[byte >> 4];
            shown += kHex[byte & 0xF];
        } else {
            shown += c;
        }
    }
    return shown + (text.size() > kShown ? "... (" + std::to_string(text.size()) + " bytes)" : "");
}

/// Reads `text` with both readers and with nlohmann's own acceptance; false (with a failure
/// reported) when they disagree.
bool agrees(std::string_view text, Top top) {
    std::string error;
    const auto fast = TARVTuningDictionaryReader::read(text, top, error);
    const auto slow = reference::read(text, top);
    const bool json = nlohmann::json::accept(text);
    const bool refusedAsJSON = error.starts_with(kNotJSON);
    bool same = fast.has_value() == slow.has_value() && fast.has_value() == error.empty() &&
                refusedAsJSON == !json;
    if (same && fast) {
        same = fast->size() == slow->size();
        for (std::size_t i = 0; same && i < fast->size(); ++i) {
            const TARVReadChord& a = (*fast)[i];
            const TARVReadChord& b = (*slow)[i];
            same = a.name == b.name && a.asciiNoteString == b.asciiNoteString &&
                   a.shapes.size() == b.shapes.size();
            for (std::size_t j = 0; same && j < a.shapes.size(); ++j) {
                same = a.shapes[j]->isEqual(*b.shapes[j]);
            }
        }
    }
    if (!same) {
        ADD_FAILURE() << "readers disagree (" << (top == Top::Dictionary ? "dictionary" : "list")
                      << "): fast " << (fast ? "reads" : "refuses (" + error + ")")
                      << ", reference " << (slow ? "reads" : "refuses") << ", nlohmann "
                      << (json ? "takes" : "refuses") << " the JSON of\n"
                      << describe(text);
    }
    return same;
}

std::string fileText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::optional<std::string> decompressed(std::string_view bytes) {
    constexpr std::size_t kLimit = std::size_t{64} << 20;
    const auto data = decompressedData(
        std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), kLimit);
    if (!data) {
        return std::nullopt;
    }
    return std::string(data->begin(), data->end());
}

/// The decompressed shipped per-tuning files, by name.
const std::vector<std::pair<std::string, std::string>>& shippedTexts() {
    static const auto texts = [] {
        std::vector<std::pair<std::string, std::string>> found;
        const auto folder = std::filesystem::path(TARV_SOURCE_DIR) / "resources" / "shapecaches";
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".shapecache") {
                if (auto text = decompressed(fileText(entry.path()))) {
                    found.emplace_back(entry.path().filename().string(), std::move(*text));
                }
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }();
    return texts;
}

/// Small dictionaries cut from a shipped text: its first chords with their first shapes.
std::vector<std::string> smallTexts(const std::string& shipped) {
    const auto tree = nlohmann::json::parse(shipped);
    std::vector<std::string> texts;
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t chords : {1u, 2u, 3u}) {
        nlohmann::json cut = tree;
        cut["chords"] = nlohmann::json::array();
        for (std::size_t c = 0; c < chords && c < tree["chords"].size(); ++c) {
            nlohmann::json chord = tree["chords"][c];
            nlohmann::json shapes = nlohmann::json::array();
            for (std::size_t s = 0; s < 3 && s < chord["shapes"].size(); ++s) {
                shapes.push_back(chord["shapes"][s]);
            }
            chord["shapes"] = shapes;
            cut["chords"].push_back(chord);
        }
        texts.push_back(cut.dump());
        texts.push_back(cut.dump(1));
        list.push_back(cut);
    }
    texts.push_back(list.dump());
    return texts;
}

/// Deterministic mutations of a text: each makes one kind of change at a random place.
class Mutator {
public:
    explicit Mutator(std::uint32_t seed) : _random(seed) {}

    std::string mutated(std::string text) {
        if (text.empty()) {
            return text;
        }
        switch (below(11)) {
        case 0: // a byte replaced
            text[at(text)] = kBytes[below(kBytes.size())];
            return text;
        case 1: // cut short
            text.resize(at(text));
            return text;
        case 2: // an escape or a multibyte sequence inside a string
            text.insert(afterQuote(text), pick(kInString));
            return text;
        case 3: // a number replaced
            return replaceNumber(std::move(text));
        case 4: { // a key given twice: another value before or after the one there
            const std::size_t quote = keyQuote(text);
            const std::size_t colon = text.find(':', quote);
            if (colon == std::string::npos) {
                return text;
            }
            const std::string member = text.substr(quote, colon + 1 - quote) + pick(kValues);
            if (below(2) == 0) {
                text.insert(quote, member + ",");
            } else {
                text.insert(endOfValue(text, colon + 1), "," + member);
            }
            return text;
        }
        case 5: { // a value wrapped in lists and maps, deeply
            const std::size_t depth = std::size_t{1} << below(15);
            const std::size_t place = at(text);
            const bool list = below(2) == 0;
            text.insert(place, depth, '[');
            text.insert(std::min(text.size(), place + depth + below(8)), list ? depth : 0, ']');
            if (!list) {
                std::string open;
                std::string close;
                for (std::size_t i = 0; i < depth; ++i) {
                    open += "{\"a\":";
                    close += '}';
                }
                text.replace(place, depth, open);
                text.insert(std::min(text.size(), place + open.size() + below(8)), close);
            }
            return text;
        }
        case 6: // whitespace, allowed or not, between tokens
            text.insert(at(text), pick(kSpaces));
            return text;
        case 7: // something after the value
            return text + pick(kTrailers);
        case 8: // something before the value
            return pick(kLeaders) + text;
        case 9: { // a trailing comma or a missing one
            const std::size_t close = text.find_first_of("]}", at(text));
            if (close != std::string::npos) {
                text.insert(close, ",");
            } else if (const std::size_t comma = text.find(','); comma != std::string::npos) {
                text.erase(comma, 1);
            }
            return text;
        }
        default: { // a span of the text repeated or removed
            const std::size_t from = at(text);
            const std::size_t length = std::min<std::size_t>(below(40), text.size() - from);
            if (below(2) == 0) {
                text.insert(from, text.substr(from, length));
            } else {
                text.erase(from, length);
            }
            return text;
        }
        }
    }

    std::size_t below(std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(_random);
    }

private:
    static constexpr std::array<char, 24> kBytes{
        '"', '\\', ',', ':', '[', ']', '{',  '}', '0',    '-',    '.',    'e',
        ' ', '\0', 't', 'n', 'x', '1', '\t', '/', '\x80', '\xC3', '\xFF', '\x1F'};
    static constexpr std::array<std::string_view, 26> kInString{"\\u0041",
                                                                "\\\"",
                                                                "\\\\",
                                                                "\\/",
                                                                "\\b\\f\\n\\r\\t",
                                                                "\\u00e9",
                                                                "\\u20AC",
                                                                "\\ud83c\\udfb8",
                                                                "\\ud83c",
                                                                "\\udc00",
                                                                "\\ud83cx",
                                                                "\\ud83c\\u0041",
                                                                "\\u12",
                                                                "\\x",
                                                                "\\u0000",
                                                                "\xC3\xA9",
                                                                "\xE2\x82\xAC",
                                                                "\xF0\x9F\x8E\xB8",
                                                                "\xC3\x28",
                                                                "\xC0\xAF",
                                                                "\xED\xA0\x80",
                                                                "\xF4\x90\x80\x80",
                                                                "\xE0\x80\x80",
                                                                "\xF0\x8F\xBF\xBF",
                                                                "\x7F",
                                                                "\xEF\xBF\xBF"};
    static constexpr std::array<std::string_view, 34> kNumbers{
        "-0",
        "1e2",
        "1.9",
        "-1.9",
        "18446744073709551615",
        "18446744073709551616",
        "9223372036854775807",
        "9223372036854775808",
        "-9223372036854775808",
        "-9223372036854775809",
        "-18446744073709551616",
        "1e400",
        "-1e400",
        "1e-400",
        "01",
        "-01",
        "1.",
        ".5",
        "1e",
        "1e+",
        "2.5e2",
        "1E+2",
        "-",
        "0x10",
        "1e19",
        "9.3e18",
        "-9.3e18",
        "9223372036854775807.5",
        "1234567890123456789012345678901234567890",
        "00",
        "-0.0e-0",
        "+1",
        "1.5e0001",
        "3.0000000000000000001"};
    static constexpr std::array<std::string_view, 10> kValues{
        "\"x\"", "7", "[]", "{}", "null", "true", "[1,2]", "{\"fret\":1}", "-1.5", "300"};
    static constexpr std::array<std::string_view, 8> kSpaces{" ",  "\n", "\r",       "\t",
                                                             "\f", "\v", "\xC2\xA0", " \t\r\n"};
    static constexpr std::array<std::string_view, 10> kTrailers{
        "",  " ",  "\n\t",  "x",   std::string_view("\0", 1), std::string_view(" \0garbage", 9),
        ",", "{}", "/* */", "// c"};
    static constexpr std::array<std::string_view, 6> kLeaders{
        "\xEF\xBB\xBF",           "\xEF\xBB", " \r\n", "\xEF\xBB\xBF\xEF\xBB\xBF", "/**/",
        std::string_view("\0", 1)};

    template <std::size_t N> std::string pick(const std::array<std::string_view, N>& from) {
        return std::string(from[below(N)]);
    }

    std::size_t at(const std::string& text) { return below(text.size()); }

    /// Just after a random quote, or anywhere when there is none.
    std::size_t afterQuote(const std::string& text) {
        const std::size_t quote = text.find('"', at(text));
        return quote == std::string::npos ? at(text) : quote + 1;
    }

    /// The opening quote of a random key, or of the first string.
    std::size_t keyQuote(const std::string& text) {
        std::size_t colon = text.find("\":", at(text));
        if (colon == std::string::npos) {
            colon = text.find("\":");
        }
        if (colon == std::string::npos) {
            return 0;
        }
        const std::size_t quote = text.rfind('"', colon - 1);
        return quote == std::string::npos ? 0 : quote;
    }

    /// Where the value that starts at `from` ends (a rough cut: the next , ] or } at its level).
    static std::size_t endOfValue(const std::string& text, std::size_t from) {
        int depth = 0;
        for (std::size_t i = from; i < text.size(); ++i) {
            const char c = text[i];
            if (c == '[' || c == '{') {
                ++depth;
            } else if ((c == ']' || c == '}') && depth-- == 0) {
                return i;
            } else if (c == ',' && depth == 0) {
                return i;
            }
        }
        return text.size();
    }

    std::string replaceNumber(std::string text) {
        std::size_t start = text.find_first_of("-0123456789", at(text));
        if (start == std::string::npos) {
            start = text.find_first_of("-0123456789");
        }
        if (start == std::string::npos) {
            return text;
        }
        const std::size_t end = text.find_first_not_of("-+.eE0123456789", start);
        text.replace(start, (end == std::string::npos ? text.size() : end) - start, pick(kNumbers));
        return text;
    }

    std::mt19937 _random;
};

/// How the texts of a run fell out: read, refused as not JSON, refused as of the wrong form.
struct Outcomes {
    std::size_t read = 0;
    std::size_t notJSON = 0;
    std::size_t wrongForm = 0;
};

Outcomes expectAgreementOnMutations(const std::vector<std::string>& seeds, std::size_t count,
                                    std::uint32_t seed) {
    Mutator mutator(seed);
    Outcomes outcomes;
    std::size_t failures = 0;
    for (std::size_t i = 0; i < count && failures < 10; ++i) {
        std::string text = seeds[mutator.below(seeds.size())];
        const std::size_t changes = 1 + mutator.below(3);
        for (std::size_t c = 0; c < changes; ++c) {
            text = mutator.mutated(std::move(text));
        }
        for (const Top top : {Top::Dictionary, Top::ListOfDictionaries}) {
            failures += agrees(text, top) ? 0 : 1;
            std::string error;
            if (TARVTuningDictionaryReader::read(text, top, error)) {
                ++outcomes.read;
            } else if (error.starts_with(kNotJSON)) {
                ++outcomes.notJSON;
            } else {
                ++outcomes.wrongForm;
            }
        }
    }
    return outcomes;
}

std::optional<std::vector<TARVReadChord>> read(std::string_view text, Top top = Top::Dictionary) {
    std::string error;
    auto chords = TARVTuningDictionaryReader::read(text, top, error);
    EXPECT_EQ(chords.has_value(), error.empty()) << error;
    return chords;
}

/// A dictionary of one chord named by the JSON string `name`, with one shape.
std::string chordNamed(std::string_view name) {
    return R"({"asciiNoteString": "EADGBE", "chords": [{"name": )" + std::string(name) +
           R"(, "shapes": [{"fret": 0, "indicators": [0, 1]}]}]})";
}

/// A dictionary of one shape with the JSON number `fret` and the JSON number `indicator`.
std::string shapeWith(std::string_view fret, std::string_view indicator) {
    return R"({"asciiNoteString": "EA", "chords": [{"name": "C", "shapes": [{"fret": )" +
           std::string(fret) + R"(, "indicators": [)" + std::string(indicator) + "]}]}]}";
}

} // namespace

TEST(TARVTuningDictionaryReaderAgreement, AgreesOnTheFuzzCorpusOfCacheFiles) {
    const auto folder = std::filesystem::path(TARV_SOURCE_DIR) / "tests" / "fuzz" / "corpus" /
                        "fuzz_shape_cache_files";
    std::size_t inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string bytes = fileText(entry.path());
        // The first byte chooses the form; the rest is JSON text or a compressed file.
        const std::string rest = bytes.empty() ? bytes : bytes.substr(1);
        std::vector<std::string> texts{bytes, rest};
        if (auto text = decompressed(rest)) {
            texts.push_back(std::move(*text));
        }
        for (const std::string& text : texts) {
            for (const Top top : {Top::Dictionary, Top::ListOfDictionaries}) {
                EXPECT_TRUE(agrees(text, top)) << entry.path();
            }
        }
        ++inputs;
    }
    EXPECT_GE(inputs, 10u);
}

TEST(TARVTuningDictionaryReaderAgreement, AgreesOnTheShippedFiles) {
    const auto& shipped = shippedTexts();
    ASSERT_GE(shipped.size(), 14u);
    for (const auto& [name, text] : shipped) {
        EXPECT_TRUE(agrees(text, Top::Dictionary)) << name;
        EXPECT_TRUE(agrees("[" + text + "]", Top::ListOfDictionaries)) << name;
        const auto chords = read(text);
        ASSERT_TRUE(chords) << name;
        EXPECT_GT(chords->size(), 0u) << name;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, AgreesOnMutatedSmallTexts) {
    std::vector<std::string> seeds;
    for (const auto& [name, text] : shippedTexts()) {
        for (std::string& small : smallTexts(text)) {
            seeds.push_back(std::move(small));
        }
    }
    const auto folder = std::filesystem::path(TARV_SOURCE_DIR) / "tests" / "fuzz" / "corpus" /
                        "fuzz_shape_cache_files";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string bytes = fileText(entry.path());
        if (bytes.size() > 1 && bytes.size() < 4096 && bytes[0] != 0) {
            seeds.push_back(bytes.substr(1));
        }
    }
    seeds.push_back(R"([{"asciiNoteString":"GCEA","chords":[{"name":"C\u00e9","shapes":[)"
                    R"({"fret":0,"indicators":[0,0,0,3]},{"fret":5,"indicators":[1,2,-1,0]}]}]},)"
                    R"({"x":[1,{"y":null}],"chords":[],"asciiNoteString":"DGBE"}])");
    ASSERT_GT(seeds.size(), 40u);
    const Outcomes outcomes = expectAgreementOnMutations(seeds, 12000, 20240611u);
    // The mutations reach all three outcomes, each often.
    EXPECT_GT(outcomes.read, 1000u);
    EXPECT_GT(outcomes.notJSON, 5000u);
    EXPECT_GT(outcomes.wrongForm, 1000u);
}

TEST(TARVTuningDictionaryReaderAgreement, AgreesOnMutatedShippedFiles) {
    std::vector<std::string> seeds;
    for (const auto& [name, text] : shippedTexts()) {
        if (name == "EADG.shapecache" || name == "EADGBE.shapecache") {
            seeds.push_back(text);
        }
    }
    ASSERT_EQ(seeds.size(), 2u);
    const Outcomes outcomes = expectAgreementOnMutations(seeds, 30, 7u);
    EXPECT_GT(outcomes.read, 0u);
    EXPECT_GT(outcomes.notJSON, 0u);
}

TEST(TARVTuningDictionaryReaderAgreement, EscapesInNamesAreDecoded) {
    const auto chords = read(chordNamed(R"("C\u00e9\/\"\\\b\f\n\r\t\u0041\ud83c\udfb8\u20ac")"));
    ASSERT_TRUE(chords);
    EXPECT_EQ((*chords)[0].name, "C\xC3\xA9/\"\\\b\f\n\r\tA\xF0\x9F\x8E\xB8\xE2\x82\xAC");
    const auto withNul = read(chordNamed(R"("a\u0000b")"));
    ASSERT_TRUE(withNul);
    EXPECT_EQ((*withNul)[0].name, std::string("a\0b", 3));
    const auto escapedKey = read(R"({"asciiNoteString": "E", "ch\u006Frds": [{"n\u0061me": "D",
        "shapes": []}]})");
    ASSERT_TRUE(escapedKey);
    EXPECT_EQ((*escapedKey)[0].name, "D");
}

TEST(TARVTuningDictionaryReaderAgreement, BrokenEscapesAndSurrogatesAreErrors) {
    for (const char* name :
         {R"("\ud83c")", R"("\ud83cx")", R"("\ud83c\u0041")", R"("\udfb8")", R"("\udfb8\ud83c")",
          R"("\u12")", R"("\u12G4")", R"("\x41")", R"("\U0041")", R"("\')", R"("\)"}) {
        std::string error;
        EXPECT_FALSE(TARVTuningDictionaryReader::read(chordNamed(name), Top::Dictionary, error))
            << name;
        EXPECT_TRUE(error.starts_with(kNotJSON)) << name << ": " << error;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, StringsMustBeWellFormedUTF8) {
    const auto plain =
        read(chordNamed("\"C\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xB8\xF4\x8F\xBF\xBF\x7F\""));
    ASSERT_TRUE(plain);
    EXPECT_EQ((*plain)[0].name, "C\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xB8\xF4\x8F\xBF\xBF\x7F");
    for (const char* bytes : {"\xC3\x28",
                              "\xC3",
                              "\x80",
                              "\xBF",
                              "\xC0\xAF",
                              "\xC1\xBF",
                              "\xE0\x80\x80",
                              "\xE0\x9F\xBF",
                              "\xED\xA0\x80",
                              "\xED\xBF\xBF",
                              "\xF0\x8F\xBF\xBF",
                              "\xF4\x90\x80\x80",
                              "\xF5\x80\x80\x80",
                              "\xFF",
                              "\xE2\x82",
                              "\xF0\x9F\x8E",
                              "\x01",
                              "\x1F",
                              "\t",
                              "\n"}) {
        const std::string text = chordNamed("\"C" + std::string(bytes) + "\"");
        std::string error;
        EXPECT_FALSE(TARVTuningDictionaryReader::read(text, Top::Dictionary, error))
            << describe(bytes);
        EXPECT_TRUE(error.starts_with(kNotJSON)) << describe(bytes) << ": " << error;
        // Ignored or not, the text is not JSON.
        const std::string ignored = R"({"x": ")" + std::string(bytes) + R"(", "asciiNoteString":
            "E", "chords": []})";
        EXPECT_FALSE(TARVTuningDictionaryReader::read(ignored, Top::Dictionary, error))
            << describe(bytes);
    }
    std::string error;
    EXPECT_FALSE(TARVTuningDictionaryReader::read(chordNamed(std::string("\"a\0b\"", 5)),
                                                  Top::Dictionary, error));
}

TEST(TARVTuningDictionaryReaderAgreement, NumbersAreCutToTheirLowEightBits) {
    struct Case {
        const char* number;
        int fret;      // the base fret it gives
        int indicator; // the fret of a mark it gives (-1 a muted string)
    };
    for (const Case& c :
         {Case{"-0", 0, 0}, Case{"1e2", 100, 100}, Case{"1.9", 1, 1}, Case{"-1.9", 255, -1},
          Case{"18446744073709551615", 255, -1}, Case{"9223372036854775808", 0, 0},
          Case{"-9223372036854775808", 0, 0}, Case{"-9223372036854775809", 0, 0}, Case{"259", 3, 3},
          Case{"-0.0e-0", 0, 0}, Case{"1e-400", 0, 0}, Case{"2.5E+1", 25, 25},
          Case{"-255", 1, 1}}) {
        const auto chords = read(shapeWith(c.number, c.number));
        ASSERT_TRUE(chords) << c.number;
        const TARVChordShape& shape = *(*chords)[0].shapes[0];
        EXPECT_EQ(shape.baseFret(), c.fret) << c.number;
        const auto& marks = shape.indicators();
        const bool found = std::any_of(marks.begin(), marks.end(), [&](const auto& mark) {
            return mark.string() == 0 &&
                   (c.indicator < 0 ? mark.isMuted()
                                    : !mark.isMuted() && mark.fret() == c.indicator);
        });
        EXPECT_TRUE(found) << c.number;
        EXPECT_TRUE(agrees(shapeWith(c.number, c.number), Top::Dictionary)) << c.number;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, NumbersBeyondSixtyFourBitsAreOfTheWrongForm) {
    for (const char* number :
         {"18446744073709551616", "-9223372036854777856", "1e19", "-1e19", "9223372036854775808.0",
          "9223372036854775807.4", "123456789012345678901234567890"}) {
        std::string error;
        EXPECT_FALSE(
            TARVTuningDictionaryReader::read(shapeWith("0", number), Top::Dictionary, error))
            << number;
        EXPECT_FALSE(error.empty());
        EXPECT_FALSE(error.starts_with(kNotJSON)) << number << ": " << error;
        EXPECT_TRUE(agrees(shapeWith("0", number), Top::Dictionary)) << number;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, NumbersThatAreNotJSONAreErrors) {
    for (const std::string& number :
         {std::string("1e400"), std::string("-1e400"), std::string(400, '9'), std::string("01"),
          std::string("-01"), std::string("00"), std::string("1."), std::string(".5"),
          std::string("1e"), std::string("1e+"), std::string("-"), std::string("+1"),
          std::string("0x10"), std::string("1.e2"), std::string("Infinity"), std::string("NaN"),
          std::string("1e2.5"), std::string("--1")}) {
        std::string error;
        const std::string text = shapeWith("0", number);
        EXPECT_FALSE(TARVTuningDictionaryReader::read(text, Top::Dictionary, error)) << number;
        EXPECT_TRUE(error.starts_with(kNotJSON)) << number << ": " << error;
        // Where nothing reads it too.
        const std::string ignored =
            R"({"asciiNoteString": "E", "chords": [], "x": [)" + number + "]}";
        EXPECT_FALSE(TARVTuningDictionaryReader::read(ignored, Top::Dictionary, error)) << number;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, OnlyJSONIsRead) {
    const std::string good = R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": []}]})";
    ASSERT_TRUE(read(good));
    for (const std::string& text :
         {std::string(),
          std::string(" \n\t\r"),
          std::string("\xEF\xBB\xBF"),
          std::string(1, '\0'),
          good + ",",
          good + " x",
          good + "{}",
          good + "]",
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [],}]})"),
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": []},]})"),
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C" "shapes": []}]})"),
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [,]}]})"),
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": []}]]})"),
          std::string(R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": []})"),
          std::string(R"({"asciiNoteString": "E", /* c */ "chords": []})"),
          std::string(R"({'asciiNoteString': "E", "chords": []})"),
          std::string(R"({asciiNoteString: "E", "chords": []})"),
          std::string(R"({"asciiNoteString": "E", "chords": [], "x": True})"),
          std::string(R"({"asciiNoteString": "E", "chords": [], "x": nul})"),
          std::string(R"({"asciiNoteString": "E", "chords": [], "x": truefalse})"),
          std::string(R"({"asciiNoteString": "E", "chords": [], "x": 1 2})"),
          std::string(R"({"asciiNoteString": "E", "chords": []}{"x": 1})"),
          "\f" + good,
          good + "\v",
          "\xC2\xA0" + good,
          "\xEF\xBB" + good,
          "/**/" + good,
          std::string(R"({"asciiNoteString": "E", "chords": [], "x": [1,)") + '\0' + "2]}"}) {
        std::string error;
        EXPECT_FALSE(TARVTuningDictionaryReader::read(text, Top::Dictionary, error))
            << describe(text);
        EXPECT_TRUE(error.starts_with(kNotJSON)) << describe(text) << ": " << error;
        EXPECT_FALSE(nlohmann::json::accept(text)) << describe(text);
    }
    // What nlohmann takes around the value: a byte order mark before it, whitespace, and
    // anything after a NUL byte that follows it.
    for (const std::string& text :
         {"\xEF\xBB\xBF" + good, " \t\r\n" + good + " \n", good + std::string(1, '\0'),
          good + std::string(" \0garbage ,]", 12)}) {
        const auto chords = read(text);
        ASSERT_TRUE(chords) << describe(text);
        EXPECT_EQ((*chords)[0].name, "C");
        EXPECT_TRUE(nlohmann::json::accept(text)) << describe(text);
    }
}

TEST(TARVTuningDictionaryReaderAgreement, DuplicateKeysCountWithTheirLastValue) {
    const auto wrongThenRight = read(R"({"asciiNoteString": 5, "chords": {}, "chords": [{"name":
        ["C"], "shapes": [{"fret": "x", "indicators": "y", "fret": 2, "indicators": [1, 0]}],
        "name": "Cm"}], "asciiNoteString": "EA"})");
    ASSERT_TRUE(wrongThenRight);
    ASSERT_EQ(wrongThenRight->size(), 1u);
    EXPECT_EQ((*wrongThenRight)[0].name, "Cm");
    EXPECT_EQ((*wrongThenRight)[0].asciiNoteString, "EA");
    ASSERT_EQ((*wrongThenRight)[0].shapes.size(), 1u);
    EXPECT_EQ((*wrongThenRight)[0].shapes[0]->baseFret(), 2);

    const auto replaced = read(R"({"chords": [{"name": "A", "shapes": []}], "asciiNoteString":
        "EA", "chords": [{"name": "B", "shapes": []}, {"name": "C", "shapes": []}]})");
    ASSERT_TRUE(replaced);
    ASSERT_EQ(replaced->size(), 2u);
    EXPECT_EQ((*replaced)[0].name, "B");

    for (const char* text :
         {R"({"asciiNoteString": "EA", "chords": [], "asciiNoteString": 5})",
          R"({"asciiNoteString": "EA", "chords": [], "chords": {}})",
          R"({"asciiNoteString": "EA", "chords": [{"name": "C", "shapes": [], "name": null}]})",
          R"({"asciiNoteString": "EA", "chords": [{"name": "C", "shapes": [{"fret": 1,
              "indicators": [0], "indicators": [0, "1"]}]}]})"}) {
        std::string error;
        EXPECT_FALSE(TARVTuningDictionaryReader::read(text, Top::Dictionary, error)) << text;
        EXPECT_FALSE(error.empty());
        EXPECT_FALSE(error.starts_with(kNotJSON)) << text << ": " << error;
    }
}

TEST(TARVTuningDictionaryReaderAgreement, DeepNestingIsReadWithoutLimit) {
    constexpr std::size_t kDepth = 200000;
    const std::string deep = std::string(kDepth, '[') + std::string(kDepth, ']');
    const auto chords = read(R"({"x": )" + deep + R"(, "asciiNoteString": "E", "chords": []})");
    ASSERT_TRUE(chords);
    EXPECT_TRUE(chords->empty());
    std::string error;
    EXPECT_FALSE(TARVTuningDictionaryReader::read(R"({"x": )" + deep.substr(1) +
                                                      R"(, "asciiNoteString": "E", "chords": []})",
                                                  Top::Dictionary, error));
    EXPECT_TRUE(error.starts_with(kNotJSON)) << error;
    EXPECT_FALSE(TARVTuningDictionaryReader::read(deep, Top::ListOfDictionaries, error));
    EXPECT_FALSE(error.starts_with(kNotJSON)) << error;
}
