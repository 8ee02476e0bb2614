#include "cache/TARVTuningDictionaryReader.hpp"

#include <nlohmann/json.hpp>

#include <cmath>

namespace tarv {

namespace {

using json = nlohmann::json;

/// The events of nlohmann's SAX parser, turned into chords as they come.
class Handler : public nlohmann::json_sax<json> {
public:
    explicit Handler(TARVTuningDictionaryReader::TopLevel topLevel) : _topLevel(topLevel) {}

    std::vector<TARVReadChord> chords;
    std::string error;

    bool null() override { return scalar(Scalar::Other, 0, {}); }
    bool boolean(bool) override { return scalar(Scalar::Other, 0, {}); }
    bool number_integer(number_integer_t value) override {
        return scalar(Scalar::Number, value, {});
    }
    bool number_unsigned(number_unsigned_t value) override {
        return scalar(Scalar::Number, static_cast<std::int64_t>(value), {});
    }
    bool number_float(number_float_t value, const string_t&) override {
        if (!std::isfinite(value) || value >= 9.3e18 || value <= -9.3e18) {
            return scalar(Scalar::Other, 0, {});
        }
        return scalar(Scalar::Number, static_cast<std::int64_t>(value), {});
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
    struct Frame {
        Kind kind;
        std::string key;
        int depth = 0;
    };
    /// What the next value stands for, given where it stands.
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

    bool fail(std::string message) {
        error = std::move(message);
        return false;
    }

    std::optional<Slot> slot() {
        if (_stack.empty()) {
            return _topLevel == TARVTuningDictionaryReader::TopLevel::ListOfDictionaries
                       ? Slot::TopList
                       : Slot::Tuning;
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
        return std::nullopt;
    }

    bool scalar(Scalar type, std::int64_t number, const std::string& text) {
        const auto where = slot();
        switch (*where) {
        case Slot::Ignored:
            return true;
        case Slot::NoteString:
            if (type != Scalar::Text) {
                return fail("\"asciiNoteString\" is not a text");
            }
            _noteString = text;
            return true;
        case Slot::Name:
            if (type != Scalar::Text) {
                return fail("a chord's \"name\" is not a text");
            }
            _chord.name = text;
            _hasName = true;
            return true;
        case Slot::Fret:
            if (type != Scalar::Number) {
                return fail("a shape's \"fret\" is not a number");
            }
            _fret = static_cast<std::uint8_t>(number);
            return true;
        case Slot::Indicator:
            if (type != Scalar::Number) {
                return fail("an entry of \"indicators\" is not a number");
            }
            _indicators.emplace_back(static_cast<std::int8_t>(number),
                                     static_cast<std::uint8_t>(_indicators.size()));
            return true;
        default:
            return fail("a value of the wrong type where a list or a map belongs");
        }
    }

    bool start(bool object) {
        const auto where = slot();
        if (_stack.empty() || _stack.back().kind != Kind::Skip) {
            switch (*where) {
            case Slot::Ignored:
                _stack.push_back({Kind::Skip, {}, 1});
                return true;
            case Slot::TopList:
                return push(!object, Kind::TopList, "the top level is not a list");
            case Slot::Tuning:
                _noteString.reset();
                _hasChords = false;
                _firstChordOfTuning = chords.size();
                return push(object, Kind::Tuning, "a tuning dictionary is not a map");
            case Slot::Chords:
                _hasChords = true;
                return push(!object, Kind::Chords, "\"chords\" is not a list");
            case Slot::Chord:
                _chord = {};
                _hasName = false;
                _hasShapes = false;
                return push(object, Kind::Chord, "a chord is not a map");
            case Slot::Shapes:
                _hasShapes = true;
                return push(!object, Kind::Shapes, "\"shapes\" is not a list");
            case Slot::Shape:
                _fret.reset();
                _indicators.clear();
                _hasIndicators = false;
                return push(object, Kind::Shape, "a shape is not a map");
            case Slot::Indicators:
                _hasIndicators = true;
                _indicators.clear();
                return push(!object, Kind::Indicators, "\"indicators\" is not a list");
            default:
                return fail("a list or a map where a number or a text belongs");
            }
        }
        ++_stack.back().depth;
        return true;
    }

    bool push(bool fits, Kind kind, const char* message) {
        if (!fits) {
            return fail(message);
        }
        _stack.push_back({kind, {}, 0});
        return true;
    }

    bool end() {
        Frame& frame = _stack.back();
        if (frame.kind == Kind::Skip && --frame.depth > 0) {
            return true;
        }
        const Kind kind = frame.kind;
        _stack.pop_back();
        switch (kind) {
        case Kind::Shape: {
            if (!_fret || !_hasIndicators) {
                return fail("a shape lacks \"fret\" or \"indicators\"");
            }
            _chord.shapes.push_back(TARVChordShape::shapeFromIndicatorArray(_indicators, *_fret));
            return true;
        }
        case Kind::Chord:
            if (!_hasName || !_hasShapes) {
                return fail("a chord lacks \"name\" or \"shapes\"");
            }
            chords.push_back(std::move(_chord));
            return true;
        case Kind::Tuning:
            if (!_noteString || !_hasChords) {
                return fail("a tuning dictionary lacks \"asciiNoteString\" or \"chords\"");
            }
            for (std::size_t i = _firstChordOfTuning; i < chords.size(); ++i) {
                chords[i].asciiNoteString = *_noteString;
            }
            return true;
        default:
            return true;
        }
    }

    TARVTuningDictionaryReader::TopLevel _topLevel;
    std::vector<Frame> _stack;
    std::optional<std::string> _noteString;
    bool _hasChords = false;
    std::size_t _firstChordOfTuning = 0;
    TARVReadChord _chord;
    bool _hasName = false;
    bool _hasShapes = false;
    std::optional<std::uint8_t> _fret;
    std::vector<TARVFretIndicator> _indicators;
    bool _hasIndicators = false;
};

} // namespace

std::optional<std::vector<TARVReadChord>>
TARVTuningDictionaryReader::read(std::string_view text, TopLevel topLevel, std::string& error) {
    Handler handler(topLevel);
    bool parsed = false;
    try {
        parsed = json::sax_parse(text.begin(), text.end(), &handler);
    } catch (const std::exception& exception) {
        handler.error = exception.what();
    }
    if (!parsed) {
        error = handler.error.empty() ? "the text is not a tuning dictionary" : handler.error;
        return std::nullopt;
    }
    return std::move(handler.chords);
}

} // namespace tarv
