#include "Values.hpp"

#include "tarv/instruments/TARVInstrumentText.hpp"

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/settings/NoteEntrySettings.hpp"
#include "tarv/settings/TARVSettingsConversions.hpp"
#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>

namespace tarv::python {

namespace {

constexpr int kMaximumByte = 255;
constexpr std::size_t kMaximumStringCount = 255;

std::string inQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// One shared name object per text: tunings compare their names by identity, and two tunings
/// made alike from Python should compare equal.
TARVSharedText internedName(const std::string& name) {
    static std::mutex mutex;
    static std::map<std::string, TARVSharedText, std::less<>> names;
    const std::lock_guard lock(mutex);
    auto found = names.find(name);
    if (found == names.end()) {
        found = names.emplace(name, TARVMakeSharedText(name)).first;
    }
    return found->second;
}

std::uint8_t checkedByte(std::optional<int> value, std::uint8_t fallback, const char* what) {
    if (!value) {
        return fallback;
    }
    if (*value < 0 || *value > kMaximumByte) {
        throw py::value_error(std::string(what) + " " + std::to_string(*value) +
                              " is outside 0 to 255");
    }
    return static_cast<std::uint8_t>(*value);
}

TuningPtr madeTuning(std::vector<SPitch> pitches, std::uint8_t fretCount, std::uint8_t capo,
                     const std::string& name, std::string noteString,
                     std::optional<SStringedInstrumentTuning::StringOrderTransform> transform) {
    if (capo > fretCount) {
        throw py::value_error("capo " + std::to_string(capo) + " is above the last fret (" +
                              std::to_string(fretCount) + ")");
    }
    return SStringedInstrumentTuning::initWithPitches(std::move(pitches), fretCount, capo,
                                                      internedName(name), std::move(noteString),
                                                      std::move(transform));
}

/// Throws py::value_error for the values that `tuningWithDescriptor` would stop the process on.
void checkConvertible(const StringedInstrumentTuningDescriptor& tuning,
                      const StringedInstrumentDescriptor& instrument, const std::string& path) {
    if (const auto problem = problemWithDescriptor(tuning, instrument, 0)) {
        throw py::value_error("the settings file " + inQuotes(path) + ": " + *problem);
    }
}

} // namespace

SChordPtr chordForSymbol(std::string_view symbol) {
    SChordPtr chord = SChord::chordWithString(symbol);
    if (!chord) {
        const std::optional<std::string> suggestion = SChord::suggestionForString(symbol);
        throw py::value_error(
            "cannot read the chord symbol " + inQuotes(symbol) +
            (suggestion ? " (did you mean " + inQuotes(*suggestion) + "?)"
                        : std::string(" (write a root, a quality and an optional slash bass: "
                                      "\"C\", \"F#m7b5\", \"C7(b9)\", \"Am/G\")")));
    }
    return chord;
}

SChordPtr chordForObject(const py::handle& object) {
    if (py::isinstance<Chord>(object)) {
        return object.cast<const Chord&>().chord;
    }
    if (py::isinstance<py::str>(object)) {
        return chordForSymbol(object.cast<std::string>());
    }
    throw py::type_error("a chord is a Chord or a chord symbol (str), not " +
                         std::string(py::str(py::type::of(object).attr("__name__"))));
}

TuningPtr tuningForPitches(const py::handle& pitches, std::optional<int> frets,
                           std::optional<int> capo, std::optional<std::string> name) {
    if (pitches.is_none()) {
        return tuningWithChanges(SStringedInstrumentTuning::stringedInstrumentTuning(), frets, capo,
                                 std::move(name));
    }
    std::string given;
    std::vector<std::string> texts;
    if (py::isinstance<py::str>(pitches)) {
        given = pitches.cast<std::string>();
    } else if (py::isinstance<py::sequence>(pitches)) {
        for (const py::handle item : pitches) {
            if (!py::isinstance<py::str>(item)) {
                throw py::type_error("the pitches of a tuning are texts (\"E2\"), not " +
                                     std::string(py::str(py::type::of(item).attr("__name__"))));
            }
            texts.push_back(item.cast<std::string>());
            given += (given.empty() ? "" : " ") + texts.back();
        }
    } else {
        throw py::type_error("a tuning's pitches are a text (\"E2 A2 D3 G3 B3 E4\") or a sequence "
                             "of pitch texts, not " +
                             std::string(py::str(py::type::of(pitches).attr("__name__"))));
    }

    // The library reads the text, as the tool and the web package do.
    TARVInstrumentText::TuningRequest request;
    request.pitches = given;
    request.fretCount = frets;
    request.capo = capo;
    TuningPtr read;
    try {
        read = TARVInstrumentText::tuningForRequest(request);
    } catch (const TARVInstrumentText::Error& error) {
        throw py::value_error(error.what());
    }
    return madeTuning(read->stringPitches(), read->fretCount(), read->capo(),
                      name.value_or("Custom"), read->noteString(), std::nullopt);
}

TuningPtr tuningForObject(const py::handle& object, std::optional<int> frets,
                          std::optional<int> capo) {
    if (py::isinstance<Tuning>(object)) {
        return tuningWithChanges(object.cast<const Tuning&>().tuning, frets, capo, std::nullopt);
    }
    return tuningForPitches(object, frets, capo, std::nullopt);
}

TuningPtr tuningWithChanges(const TuningPtr& tuning, std::optional<int> frets,
                            std::optional<int> capo, std::optional<std::string> name) {
    const std::uint8_t fretCount = checkedByte(frets, tuning->fretCount(), "frets");
    const std::uint8_t capoFret = checkedByte(capo, tuning->capo(), "capo");
    if (fretCount == tuning->fretCount() && capoFret == tuning->capo() && !name) {
        if (capoFret > fretCount) {
            throw py::value_error("capo " + std::to_string(capoFret) + " is above the last fret (" +
                                  std::to_string(fretCount) + ")");
        }
        return tuning;
    }
    return madeTuning(tuning->stringPitches(), fretCount, capoFret,
                      name ? *name : (tuning->name() ? *tuning->name() : std::string()),
                      tuning->noteString(), tuning->stringOrderTransform());
}

TuningPtr tuningFromState(const std::vector<std::string>& pitches, int frets, int capo,
                          const std::string& name, const std::string& noteString,
                          std::optional<std::vector<std::int64_t>> transform) {
    std::vector<SPitch> parsed;
    for (const std::string& text : pitches) {
        const std::optional<SPitch> pitch = SPitch::pitchWithString(text);
        if (!pitch) {
            throw py::value_error("cannot read the pitch " + inQuotes(text));
        }
        parsed.push_back(*pitch);
    }
    if (parsed.empty() || parsed.size() > kMaximumStringCount) {
        throw py::value_error("a tuning has 1 to 255 strings, not " +
                              std::to_string(parsed.size()));
    }
    return madeTuning(std::move(parsed), checkedByte(frets, 0, "frets"),
                      checkedByte(capo, 0, "capo"), name, noteString, std::move(transform));
}

std::string defaultSettingsPath() {
    return (std::filesystem::path(TARVChordShapeCache::resourceDirectory()) / "settings" /
            "instruments.plist")
        .string();
}

std::vector<Instrument> instrumentsInSettings(const std::optional<std::string>& path) {
    const std::string file = path.value_or(defaultSettingsPath());
    std::optional<NoteEntrySettings> settings;
    try {
        settings.emplace(NoteEntrySettings::load(file));
    } catch (const std::filesystem::filesystem_error& error) {
        throw py::value_error("cannot read the settings file " + inQuotes(file) + ": " +
                              error.code().message());
    } catch (const TARVSettingsDecodingError& error) {
        throw py::value_error("the settings file " + inQuotes(file) +
                              " does not decode: " + error.what());
    }

    std::vector<Instrument> instruments;
    for (const StringedInstrumentDescriptor& descriptor : settings->tablature().instruments()) {
        Instrument instrument;
        instrument.name = descriptor.name();
        instrument.capos = descriptor.capos();
        for (const StringedInstrumentTuningDescriptor& tuning : descriptor.tunings()) {
            checkConvertible(tuning, descriptor, file);
            const SStringedInstrumentTuningPtr converted =
                tuningWithDescriptor(tuning, descriptor, 0);
            instrument.tunings.push_back(
                tuningWithChanges(converted, std::nullopt, std::nullopt, tuning.tuningName()));
        }
        instrument.frets = descriptor.frets();
        instruments.push_back(std::move(instrument));
    }
    return instruments;
}

std::vector<std::string> pitchTexts(const SStringedInstrumentTuning& tuning) {
    std::vector<std::string> texts;
    texts.reserve(tuning.stringPitches().size());
    for (const SPitch& pitch : tuning.stringPitches()) {
        texts.push_back(pitch.string());
    }
    return texts;
}

std::string tuningText(const SStringedInstrumentTuning& tuning) {
    std::string text;
    const std::vector<SPitch>& pitches = tuning.stringPitches();
    for (auto pitch = pitches.rbegin(); pitch != pitches.rend(); ++pitch) {
        text += (text.empty() ? "" : " ") + pitch->string();
    }
    return text;
}

std::string pythonRepr(const std::string& text) {
    return py::repr(py::str(text)).cast<std::string>();
}

} // namespace tarv::python
