// The C interface of the WebAssembly module. Every function takes plain texts (requests as JSON)
// and answers one JSON text: the answer, or {"error": "..."} for input it cannot read. The text
// stays valid until the next call. Nothing here decides anything about chords: it reads the
// request, asks the library, and writes what the library answers.

#include "InputReading.hpp"
#include "OutputFormatter.hpp"
#include "ShapeDiagram.hpp"
#include "SvgFormatter.hpp"

#include "tarv/TARVVersion.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

using namespace tarv;
using namespace tarv::tool;
using json = nlohmann::ordered_json;

namespace {

/// Where the package puts the shipped resources in the module's file system.
constexpr const char* kResourceDirectory = "/tarvguitar/resources";

/// The most shapes one answer may ask for.
constexpr long kMaximumLimit = 1000;

std::string& answerText() {
    static std::string text;
    return text;
}

const char* answer(const json& object) {
    answerText() = object.dump(-1, ' ', false, json::error_handler_t::replace);
    return answerText().c_str();
}

const char* errorAnswer(const std::string& message) {
    return answer(json{{"error", message}});
}

/// Points the library at the shipped resources, once, before its shape cache is first made.
void useShippedResources() {
    static const bool done = [] {
        if (std::getenv("TARV_GUITAR_RESOURCE_DIR") == nullptr) {
            setenv("TARV_GUITAR_RESOURCE_DIR", kResourceDirectory, 1);
        }
        return true;
    }();
    (void)done;
}

json parsedRequest(const char* text) {
    if (text == nullptr) {
        throw InputError("the request is empty");
    }
    json request = json::parse(text, nullptr, false);
    if (request.is_discarded() || !request.is_object()) {
        throw InputError("the request is not a JSON object");
    }
    return request;
}

std::optional<std::string> textField(const json& request, const char* name) {
    const auto found = request.find(name);
    if (found == request.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_string()) {
        throw InputError(std::string(name) + " must be a text");
    }
    return found->get<std::string>();
}

std::optional<int> numberField(const json& request, const char* name) {
    const auto found = request.find(name);
    if (found == request.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_number_integer()) {
        throw InputError(std::string(name) + " must be a whole number");
    }
    const auto value = found->get<long long>();
    if (value < -kMaximumLimit * 1000 || value > kMaximumLimit * 1000) {
        throw InputError(std::string(name) + " " + std::to_string(value) + " is out of range");
    }
    return static_cast<int>(value);
}

/// The tuning of a request: "tuning" (open strings, lowest first), "tuningName", "frets", "capo",
/// read as the command-line tool reads --tuning, --custom-name, --frets and --capo.
SStringedInstrumentTuningPtr tuningOfRequest(const json& request) {
    TuningRequest tuning;
    tuning.pitches = textField(request, "tuning");
    tuning.name = textField(request, "tuningName");
    tuning.fretCount = numberField(request, "frets");
    tuning.capo = numberField(request, "capo");
    return tuningForRequest(tuning);
}

SChordPtr chordOfSymbol(const std::optional<std::string>& symbol) {
    if (!symbol || trimmed(*symbol).empty()) {
        throw InputError("no chord symbol given");
    }
    SChordPtr chord = SChord::chordWithString(trimmed(*symbol));
    if (!chord) {
        throw InputError("cannot read the chord symbol \"" + std::string(trimmed(*symbol)) +
                         "\"");
    }
    return chord;
}

json chordJson(const SChord& chord) {
    json object = json::object();
    object["symbol"] = chord.symbol();
    object["root"] = chord.root().string();
    object["bass"] = chord.addedBase() ? json(chord.addedBase()->string()) : json(nullptr);
    object["notes"] = noteTexts(chord.notes());
    object["characteristicNotes"] = noteTexts(chord.characteristicNotes());
    object["numericNoteStringValue"] = chord.numericNoteStringValue();
    return object;
}

json tuningJson(const SStringedInstrumentTuning& tuning) {
    json pitches = json::array();
    for (const SPitch& pitch : tuning.stringPitches()) {
        pitches.push_back(pitch.string());
    }
    json object = json::object();
    object["name"] = tuning.name() ? *tuning.name() : std::string();
    object["noteString"] = tuning.noteString();
    object["asciiNoteString"] = tuning.asciiNoteString();
    object["pitches"] = std::move(pitches);
    object["fretCount"] = tuning.fretCount();
    object["capo"] = tuning.capo();
    return object;
}

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

json shapeJson(const TARVChordShape& shape, const SStringedInstrumentTuning& tuning) {
    json indicators = json::array();
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        json entry = json::object();
        entry["kind"] = indicatorKind(indicator);
        entry["string"] = indicator.string();
        entry["fret"] = indicator.fret();
        if (indicator.isBarre()) {
            entry["endString"] = indicator.endString();
        }
        indicators.push_back(std::move(entry));
    }
    json object = json::object();
    object["frets"] = fretTextForShape(shape, tuning.stringCount());
    object["baseFret"] = shape.baseFret();
    object["baseString"] = shape.baseString();
    object["badness"] = shape.badness();
    object["reach"] = shape.reach();
    object["fingers"] = shape._fingersRequiredToPlayWithStringCount(tuning.stringCount());
    object["indicators"] = std::move(indicators);
    object["notes"] = noteTexts(shape.notesInTuning(tuning));
    return object;
}

/// Whether every fret of `shape` lies on the neck of `tuning`, counted from its capo.
bool fitsOnTheNeck(const TARVChordShape& shape, const SStringedInstrumentTuning& tuning) {
    const int frets = static_cast<int>(tuning.fretCount()) - static_cast<int>(tuning.capo());
    return std::all_of(shape.indicators().begin(), shape.indicators().end(),
                       [&](const TARVFretIndicator& indicator) {
                           return indicator.isMuted() ||
                                  static_cast<int>(shape.baseFret()) + indicator.fret() <= frets;
                       });
}

template <typename Answer> const char* guarded(Answer&& answerFor) {
    try {
        useShippedResources();
        return answerFor();
    } catch (const InputError& error) {
        return errorAnswer(error.what());
    } catch (const std::exception& error) {
        return errorAnswer(std::string("the library failed: ") + error.what());
    } catch (...) {
        return errorAnswer("the library failed");
    }
}

} // namespace

extern "C" {

/// {"symbol", "tuning", "tuningName", "frets", "capo", "rank": "spec"|"uncached", "limit"} ->
/// {"chord", "tuning", "shapes"}.
const char* tarv_web_shapes(const char* requestText) {
    return guarded([&] {
        const json request = parsedRequest(requestText);
        const SStringedInstrumentTuningPtr tuning = tuningOfRequest(request);
        const SChordPtr chord = chordOfSymbol(textField(request, "symbol"));
        const std::string rank = textField(request, "rank").value_or("spec");
        const std::optional<int> limit = numberField(request, "limit");
        if (limit && *limit < 0) {
            throw InputError("limit " + std::to_string(*limit) + " is below 0");
        }
        TARVChordShapeGeneratorPtr generator;
        if (rank == "spec") {
            generator = TARVChordShapeGenerator::generatorWithChord(chord, tuning);
        } else if (rank == "uncached") {
            generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
        } else {
            throw InputError("rank \"" + rank + "\" is not one of spec, uncached");
        }
        json shapes = json::array();
        if (generator && generator->shapes()) {
            for (const TARVChordShapePtr& shape : *generator->shapes()) {
                if (limit && shapes.size() >= static_cast<std::size_t>(*limit)) {
                    break;
                }
                if (fitsOnTheNeck(*shape, *tuning)) {
                    shapes.push_back(shapeJson(*shape, *tuning));
                }
            }
        }
        json object = json::object();
        object["chord"] = chordJson(*chord);
        object["tuning"] = tuningJson(*tuning);
        object["shapes"] = std::move(shapes);
        return answer(object);
    });
}

/// A chord symbol -> {"symbol", "root", "bass", "notes", ...}.
const char* tarv_web_chord(const char* symbol) {
    return guarded([&] {
        const SChordPtr chord =
            chordOfSymbol(symbol == nullptr ? std::nullopt : std::optional<std::string>(symbol));
        return answer(chordJson(*chord));
    });
}

/// {"tuning", "tuningName", "frets", "capo"} -> the tuning the library reads from it, with the
/// "semitones" of its open strings.
const char* tarv_web_tuning(const char* requestText) {
    return guarded([&] {
        const SStringedInstrumentTuningPtr tuning = tuningOfRequest(parsedRequest(requestText));
        json object = tuningJson(*tuning);
        // Semitones above C0 of the open strings, string 0 first: what a player hears.
        json semitones = json::array();
        for (const SPitch& pitch : tuning->stringPitches()) {
            semitones.push_back(pitch.absoluteSemitone());
        }
        object["semitones"] = std::move(semitones);
        return answer(object);
    });
}

/// {"frets": "x,3,2,0,1,0", "caption"} -> {"svg": "<svg ...>"}.
const char* tarv_web_svg(const char* requestText) {
    return guarded([&] {
        const json request = parsedRequest(requestText);
        const std::optional<std::string> frets = textField(request, "frets");
        if (!frets) {
            throw InputError("the shape has no frets");
        }
        NotationAnswer notation;
        notation.fretText = readFretText(*frets);
        notation.shape = TARVChordShape::shapeForFretNumberString(notation.fretText.notation);
        if (!notation.shape) {
            throw InputError("cannot read the frets \"" + *frets + "\"");
        }
        std::ostringstream out;
        SvgFormatter formatter(out);
        formatter.begin();
        formatter.writeNotation(notation, nullptr);
        formatter.end();
        return answer(json{{"svg", out.str()}});
    });
}

/// The chord qualities the symbol reader knows, as suffixes ("", "m", "maj7", ...).
const char* tarv_web_qualities() {
    return guarded([] { return answer(json(SChord::supportedQualities())); });
}

const char* tarv_web_version() {
    return guarded([] { return answer(json(std::string(TARVVersionString()))); });
}

} // extern "C"
