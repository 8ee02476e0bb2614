#include "tarv/instruments/SStringedInstrumentDescription.hpp"

#include "tarv/music/TARVHasher.hpp"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tarv {

namespace {

using json = nlohmann::json;

[[noreturn]] void throwUnreadable(const std::string& path, const json& value,
                                  const char* expected) {
    const std::string subject = path.empty() ? "the dictionary" : "\"" + path + "\"";
    throw std::invalid_argument("instrument dictionary: " + subject + " is " +
                                std::string(value.type_name()) + ", not " + expected);
}

/// The value under `key`, or null when `map` is not an object holding it.
const json& valueForKey(const json& map, const char* key) {
    static const json null;
    if (!map.is_object()) {
        return null;
    }
    const auto found = map.find(key);
    return found == map.end() ? null : *found;
}

const json& objectForKey(const json& map, const char* key, const std::string& path) {
    const json& value = valueForKey(map, key);
    if (!value.is_null() && !value.is_object()) {
        throwUnreadable(path, value, "a map");
    }
    return value;
}

/// A number's integer value, as a 32-bit integer takes it: the low 32 bits of its 64-bit value,
/// reals truncated toward zero. Null reads as 0.
std::int32_t int32Value(const json& value, const std::string& path) {
    std::int64_t wide = 0;
    switch (value.type()) {
    case json::value_t::null:
        return 0;
    case json::value_t::boolean:
        return value.get<bool>() ? 1 : 0;
    case json::value_t::number_integer:
        wide = value.get<std::int64_t>();
        break;
    case json::value_t::number_unsigned:
        wide = static_cast<std::int64_t>(value.get<std::uint64_t>());
        break;
    case json::value_t::number_float: {
        const double real = std::trunc(value.get<double>());
        // The upper bound 2^63 itself is outside the range, so the test is exclusive.
        if (!std::isfinite(real) || real < -9223372036854775808.0 ||
            real >= 9223372036854775808.0) {
            throw std::invalid_argument("instrument dictionary: \"" + path + "\" is " +
                                        value.dump() + ", which is no integer");
        }
        wide = static_cast<std::int64_t>(real);
        break;
    }
    default:
        throwUnreadable(path, value, "a number");
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(wide));
}

std::int64_t int64Value(const json& value, const std::string& path) {
    switch (value.type()) {
    case json::value_t::boolean:
        return value.get<bool>() ? 1 : 0;
    case json::value_t::number_integer:
        return value.get<std::int64_t>();
    case json::value_t::number_unsigned:
        return static_cast<std::int64_t>(value.get<std::uint64_t>());
    case json::value_t::number_float: {
        const double real = std::trunc(value.get<double>());
        if (!std::isfinite(real) || real < -9223372036854775808.0 ||
            real >= 9223372036854775808.0) {
            throw std::invalid_argument("instrument dictionary: \"" + path + "\" is " +
                                        value.dump() + ", which is no integer");
        }
        return static_cast<std::int64_t>(real);
    }
    default:
        throwUnreadable(path, value, "a number");
    }
}

std::optional<std::string> textForKey(const json& map, const char* key, const std::string& path) {
    const json& value = valueForKey(map, key);
    if (value.is_null()) {
        return std::nullopt;
    }
    if (!value.is_string()) {
        throwUnreadable(path, value, "a text");
    }
    return value.get<std::string>();
}

std::string indexPath(const std::string& path, std::size_t index) {
    return path + "[" + std::to_string(index) + "]";
}

} // namespace

SStringedInstrumentDescription::SStringedInstrumentDescription(
    SStringedInstrumentTuningPtr tuning, std::optional<std::string> instrumentName)
    : _mTuning(SStringedInstrumentTuning::copy(tuning)),
      _mInstrumentName(std::move(instrumentName)) {
    if (!_mTuning) {
        throw std::invalid_argument("SStringedInstrumentDescription: no tuning");
    }
}

SStringedInstrumentDescriptionPtr
SStringedInstrumentDescription::initWithTuning(SStringedInstrumentTuningPtr tuning,
                                               std::optional<std::string> instrumentName) {
    return std::make_shared<SStringedInstrumentDescription>(std::move(tuning),
                                                            std::move(instrumentName));
}

SStringedInstrumentDescriptionPtr SStringedInstrumentDescription::stringedInstrumentDescription() {
    return initWithTuning(SStringedInstrumentTuning::stringedInstrumentTuning(),
                          *TARVLocalizedString("Guitar"));
}

SStringedInstrumentDescriptionPtr
SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(
    const json& dictionary) {
    if (!dictionary.is_null() && !dictionary.is_object()) {
        throwUnreadable("", dictionary, "a map");
    }
    std::optional<std::string> name = textForKey(dictionary, "name", "name");
    const std::int32_t frets = int32Value(valueForKey(dictionary, "frets"), "frets");
    const std::int32_t capo = int32Value(valueForKey(dictionary, "capo"), "capo");
    const json& tuningMap = objectForKey(dictionary, "tuning", "tuning");
    // The fret count is widened as a signed value, as an unsigned 64-bit argument takes it.
    SStringedInstrumentTuningPtr tuning =
        _tuningWithDictionary(tuningMap, static_cast<std::uint64_t>(std::int64_t{frets}), capo);
    return initWithTuning(std::move(tuning), std::move(name));
}

SStringedInstrumentTuningPtr
SStringedInstrumentDescription::_tuningWithDictionary(const json& dictionary,
                                                      std::uint64_t fretCount, std::int32_t capo) {
    std::vector<SPitch> pitches;
    const json& notes = valueForKey(dictionary, "notes");
    if (!notes.is_null() && !notes.is_array()) {
        throwUnreadable("tuning.notes", notes, "a list");
    }
    if (notes.is_array()) {
        pitches.reserve(notes.size());
        for (std::size_t i = 0; i < notes.size(); ++i) {
            const std::string path = indexPath("tuning.notes", i);
            const json& entry = notes[i];
            if (!entry.is_object()) {
                throwUnreadable(path, entry, "a map");
            }
            const std::optional<std::string> noteName = textForKey(entry, "note", path + ".note");
            const std::optional<SNote> note =
                noteName ? SNote::noteWithString(*noteName) : std::nullopt;
            const auto octave = static_cast<std::int8_t>(
                int32Value(valueForKey(entry, "octave"), path + ".octave"));
            const std::optional<SPitch> pitch = SPitch::pitchWithNote(note, octave);
            if (!pitch) {
                throw std::invalid_argument(
                    "instrument dictionary: \"" + path + ".note\" " +
                    (noteName ? "\"" + *noteName + "\" names no note" : "is missing") +
                    ", so the string has no pitch");
            }
            pitches.push_back(*pitch);
        }
    }

    std::optional<std::string> name = textForKey(dictionary, "name", "tuning.name");
    std::optional<std::string> noteString =
        textForKey(dictionary, "noteString", "tuning.noteString");
    std::optional<SStringedInstrumentTuning::StringOrderTransform> transform;
    const json& transformList = valueForKey(dictionary, "stringOrderTransform");
    if (!transformList.is_null()) {
        if (!transformList.is_array()) {
            throwUnreadable("tuning.stringOrderTransform", transformList, "a list");
        }
        transform.emplace();
        transform->reserve(transformList.size());
        for (std::size_t i = 0; i < transformList.size(); ++i) {
            transform->push_back(
                int64Value(transformList[i], indexPath("tuning.stringOrderTransform", i)));
        }
    }

    return SStringedInstrumentTuning::initWithPitches(
        std::move(pitches), static_cast<std::uint8_t>(fretCount), static_cast<std::uint8_t>(capo),
        name ? TARVMakeSharedText(std::move(*name)) : nullptr,
        noteString ? std::move(*noteString) : std::string(), std::move(transform));
}

SStringedInstrumentDescriptionPtr SStringedInstrumentDescription::copyWithoutCapo() const {
    const SStringedInstrumentTuning& tuning = *_mTuning;
    return initWithTuning(SStringedInstrumentTuning::initWithPitches(
                              tuning.stringPitches(), tuning.fretCount(), 0, tuning.name(),
                              tuning.noteString(), tuning.stringOrderTransform()),
                          _mInstrumentName);
}

bool SStringedInstrumentDescription::isEqualToDescription(
    const SStringedInstrumentDescription& other) const noexcept {
    return _mInstrumentName && other._mInstrumentName &&
           *_mInstrumentName == *other._mInstrumentName &&
           _mTuning->isEqualToTuning(*other._mTuning);
}

std::uint64_t SStringedInstrumentDescription::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, _mInstrumentName
                                          ? static_cast<std::uint32_t>(TARVHashString(
                                                _mInstrumentName->data(), _mInstrumentName->size()))
                                          : 0);
    TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(_mTuning->hash()));
    return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
}

std::string SStringedInstrumentDescription::description() const {
    return "SStringedInstrumentDescription instrumentName: " +
           (_mInstrumentName ? *_mInstrumentName : std::string("(none)")) +
           " tuning: " + _mTuning->description();
}

} // namespace tarv
