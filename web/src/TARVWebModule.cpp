// The answers of the WebAssembly module: each reads a request, asks the library, and writes what
// the library answers as one JSON text. Nothing here decides anything about chords.
//
// Compiled without exception handling (see web/CMakeLists.txt): what is thrown here passes
// through to TARVWebInterface.cpp, which answers it as an error.

#include "TARVWebAnswers.hpp"

#include "InputReading.hpp"
#include "OutputFormatter.hpp"
#include "ShapeDiagram.hpp"
#include "SvgFormatter.hpp"

#include "tarv/TARVVersion.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/ranking/TARVShapeQuery.hpp"
#if TARV_WEB_LIBRARY_DIAGRAMS
#include "tarv/diagrams/TARVDiagramSVG.hpp"
#include "tarv/diagrams/TARVShapeJSON.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#endif
#include "tarv/shapes/TARVChordShape.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace tarv::web {

using namespace tarv::tool;
using json = nlohmann::ordered_json;

namespace {

/// The most shapes one answer may ask for.
constexpr long kMaximumLimit = 1000;

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
        throw InputError("cannot read the chord symbol \"" + std::string(trimmed(*symbol)) + "\"");
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

#if !TARV_WEB_LIBRARY_DIAGRAMS
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

/// A ranked shape: its frets as the tool writes them ("x,3,2,0,1,0"), where a chord box starts,
/// the fingers and barres that hold it, its score and the notes it sounds.
json playableShapeJson(const TARVPlayableShape& shape, const SStringedInstrumentTuning& tuning) {
    json barres = json::array();
    for (const TARVFingering::Barre& barre : shape.fingering().barres()) {
        barres.push_back(json{{"fret", barre.fret},
                              {"lowString", barre.lowString},
                              {"highString", barre.highString},
                              {"finger", barre.finger}});
    }
    json object = json::object();
    object["frets"] = shape.fretText();
    object["baseFret"] = shape.baseFret();
    object["fingers"] = shape.fingering().fingers();
    object["fingerText"] = shape.fingering().text();
    object["barres"] = std::move(barres);
    object["score"] = shape.score();
    object["notes"] = noteTexts(shape.chordShape()->notesInTuning(tuning));
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
#endif

std::string text(const json& object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

std::string shapesAnswer(const char* requestText) {
    const json request = parsedRequest(requestText);
    const SStringedInstrumentTuningPtr tuning = tuningOfRequest(request);
    const SChordPtr chord = chordOfSymbol(textField(request, "symbol"));
    const std::string rank = textField(request, "rank").value_or("playable");
    const std::optional<int> limit = numberField(request, "limit");
    if (limit && *limit < 0) {
        throw InputError("limit " + std::to_string(*limit) + " is below 0");
    }
#if TARV_WEB_LIBRARY_DIAGRAMS
    // The library's own query and JSON, as the tool answers.
    TARVShapeQuery::Ranking ranking = TARVShapeQuery::Ranking::Playable;
    if (rank == "spec") {
        ranking = TARVShapeQuery::Ranking::Cached;
    } else if (rank == "uncached") {
        ranking = TARVShapeQuery::Ranking::Uncached;
    } else if (rank != "playable") {
        throw InputError("rank \"" + rank + "\" is not one of playable, spec, uncached");
    }
    TARVPlayableOptions options;
    if (limit) {
        options.maximumShapes = static_cast<std::size_t>(*limit);
    }
    std::vector<TARVPlayableShape> shapes = TARVShapeQuery::shapes(chord, tuning, ranking, options);
    if (ranking != TARVShapeQuery::Ranking::Playable) {
        // The cache is keyed by the open notes alone: it may hold shapes for a longer neck.
        const int frets = static_cast<int>(tuning->fretCount()) - static_cast<int>(tuning->capo());
        std::erase_if(shapes,
                      [&](const TARVPlayableShape& shape) { return shape.highestFret() > frets; });
        if (limit && shapes.size() > static_cast<std::size_t>(*limit)) {
            shapes.resize(static_cast<std::size_t>(*limit));
        }
    }
    return TARVShapeJSON::answerJSON(*chord, *tuning, shapes);
#else
    json shapes = json::array();
    if (rank == "playable") {
        TARVPlayableOptions options;
        if (limit) {
            options.maximumShapes = static_cast<std::size_t>(*limit);
        }
        for (const TARVPlayableShape& shape :
             TARVShapeQuery::shapes(chord, tuning, TARVShapeQuery::Ranking::Playable, options)) {
            shapes.push_back(playableShapeJson(shape, *tuning));
        }
    } else if (rank == "spec" || rank == "uncached") {
        const TARVChordShapeGeneratorPtr generator =
            rank == "spec" ? TARVChordShapeGenerator::generatorWithChord(chord, tuning)
                           : TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
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
    } else {
        throw InputError("rank \"" + rank + "\" is not one of playable, spec, uncached");
    }
    json object = json::object();
    object["chord"] = chordJson(*chord);
    object["tuning"] = tuningJson(*tuning);
    object["shapes"] = std::move(shapes);
    return text(object);
#endif
}

std::string chordAnswer(const char* symbol) {
    const SChordPtr chord =
        chordOfSymbol(symbol == nullptr ? std::nullopt : std::optional<std::string>(symbol));
    return text(chordJson(*chord));
}

std::string tuningAnswer(const char* requestText) {
    const SStringedInstrumentTuningPtr tuning = tuningOfRequest(parsedRequest(requestText));
    json object = tuningJson(*tuning);
    // Semitones above C0 of the open strings, string 0 first: what a player hears.
    json semitones = json::array();
    for (const SPitch& pitch : tuning->stringPitches()) {
        semitones.push_back(pitch.absoluteSemitone());
    }
    object["semitones"] = std::move(semitones);
    return text(object);
}

std::string svgAnswer(const char* requestText) {
    const json request = parsedRequest(requestText);
    const std::optional<std::string> frets = textField(request, "frets");
    if (!frets) {
        throw InputError("the shape has no frets");
    }
    const FretText fretText = readFretText(*frets);
#if TARV_WEB_LIBRARY_DIAGRAMS
    // Per string number: the text runs from the lowest string, the highest string number.
    std::vector<std::int8_t> perString(fretText.stringCount, -1);
    std::size_t start = 0;
    for (std::size_t index = 0; index < perString.size(); ++index) {
        const std::size_t comma = fretText.notation.find(',', start);
        const std::string component = fretText.notation.substr(start, comma - start);
        perString[perString.size() - 1 - index] =
            component == "x" ? std::int8_t{-1} : static_cast<std::int8_t>(std::stoi(component));
        start = comma + 1;
    }
    const std::optional<TARVFingering> fingering = TARVFingering::fingeringForFrets(perString);
    const TARVPlayableShape shape(perString, fingering.value_or(TARVFingering()), {});
    TARVDiagramOptions options;
    const auto leftHanded = request.find("leftHanded");
    options.leftHanded =
        leftHanded != request.end() && leftHanded->is_boolean() && leftHanded->get<bool>();
    const std::string svg = TARVDiagramSVG::svgForShape(shape, fretText.stringCount, options,
                                                        textField(request, "caption").value_or(""));
    return text(json{{"svg", svg}});
#else
    NotationAnswer notation;
    notation.fretText = fretText;
    notation.shape = TARVChordShape::shapeForFretNumberString(notation.fretText.notation);
    if (!notation.shape) {
        throw InputError("cannot read the frets \"" + *frets + "\"");
    }
    std::ostringstream out;
    SvgFormatter formatter(out);
    formatter.begin();
    formatter.writeNotation(notation, nullptr);
    formatter.end();
    return text(json{{"svg", out.str()}});
#endif
}

std::string qualitiesAnswer() {
    return text(json(SChord::supportedQualities()));
}

std::string versionAnswer() {
    return text(json(std::string(TARVVersionString())));
}

std::string errorAnswer(const std::string& message) {
    return text(json{{"error", message}});
}

} // namespace tarv::web
