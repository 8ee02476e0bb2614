#include "cache/TARVTuningDictionaryReader.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdint>

namespace tarv {

namespace {

using json = nlohmann::json;

/// The events of nlohmann's SAX parser, turned into chords as they come.
///
/// The rule is the tree's: a key given twice counts with its last value, so a value of the wrong
/// form is an error only once nothing later replaces it. Each value therefore reports whether it
/// is well-formed to the map or list that holds it, and only the top level decides.
class Handler : public nlohmann::json_sax<json> {
public:
    explicit Handler(TARVTuningDictionaryReader::TopLevel topLevel) : _topLevel(topLevel) {}

    std::vector<TARVReadChord> chords;
    std::string error;

    /// Whether the whole text was of the form, once parsing has succeeded.
    bool wellFormed() {
        if (!_rootSeen || !_rootValid) {
            error = _why.empty() ? "the text is not a tuning dictionary" : _why;
            return false;
        }
        return true;
    }

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
    /// Of a map's two keys that are read: absent, present with a value of the wrong form, or
    /// present and well-formed.
    enum class Field : std::uint8_t { Absent, Invalid, Valid };
    struct Frame {
        Kind kind;
        std::string key;
        int depth = 0;
        /// A list: whether every element is well-formed. A skipped value: whether it stands
        /// where a value that is read belongs (and so is of the wrong form).
        bool valid = true;
        std::array<Field, 2> fields{Field::Absent, Field::Absent};
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
            finished(type == Scalar::Text, "\"asciiNoteString\" is not a text");
            return true;
        case Slot::Name:
            if (type == Scalar::Text) {
                _chord.name = text;
            }
            finished(type == Scalar::Text, "a chord's \"name\" is not a text");
            return true;
        case Slot::Fret:
            if (type == Scalar::Number) {
                _fret = static_cast<std::uint8_t>(number);
            }
            finished(type == Scalar::Number, "a shape's \"fret\" is not a number");
            return true;
        case Slot::Indicator:
            if (type == Scalar::Number) {
                _indicators.emplace_back(static_cast<std::int8_t>(number),
                                         static_cast<std::uint8_t>(_indicators.size()));
            }
            finished(type == Scalar::Number, "an entry of \"indicators\" is not a number");
            return true;
        default:
            finished(false, "a number or a text where a list or a map belongs");
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

    bool push(Kind kind) {
        _stack.push_back({kind, {}, 0});
        return true;
    }

    /// Skips a list or map: one that is not read (`ignored`), or one of the wrong form.
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
                finished(false, "a list or a map of the wrong form");
            }
            return true;
        case Kind::Shape:
            if (complete) {
                _chord.shapes.push_back(
                    TARVChordShape::shapeFromIndicatorArray(_indicators, *_fret));
            }
            finished(complete, "a shape lacks a well-formed \"fret\" or \"indicators\"");
            return true;
        case Kind::Chord:
            if (complete) {
                chords.push_back(std::move(_chord));
            }
            finished(complete, "a chord lacks a well-formed \"name\" or \"shapes\"");
            return true;
        case Kind::Tuning:
            if (complete) {
                for (std::size_t i = _firstChordOfTuning; i < chords.size(); ++i) {
                    chords[i].asciiNoteString = *_noteString;
                }
            }
            finished(complete,
                     "a tuning dictionary lacks a well-formed \"asciiNoteString\" or \"chords\"");
            return true;
        default:
            finished(done.valid, "a list holds an element of the wrong form");
            return true;
        }
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
    if (!handler.wellFormed()) {
        error = handler.error;
        return std::nullopt;
    }
    return std::move(handler.chords);
}

} // namespace tarv

namespace tarv {

std::optional<std::int64_t> TARVTuningDictionaryReader::integerOfFloat(double value) noexcept {
    // Truncated toward zero; only values whose integer part fits 64 bits, signed.
    if (!std::isfinite(value) || !(value >= -9223372036854775808.0) ||
        !(value < 9223372036854775808.0)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(value);
}

} // namespace tarv
