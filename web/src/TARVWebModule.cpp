// The answers of the WebAssembly module: each reads a request, asks the library, and answers
// what the library answers, in the JSON forms of the tool (TARVShapeJSON). Nothing here decides
// anything about chords.
//
// Compiled without exception handling (see web/CMakeLists.txt): what is thrown here passes
// through to TARVWebInterface.cpp, which answers it as an error.

#include "TARVWebAnswers.hpp"

#include "InputReading.hpp"

#include "tarv/TARVVersion.hpp"
#include "tarv/diagrams/TARVDiagramSVG.hpp"
#include "tarv/diagrams/TARVPlayerJSON.hpp"
#include "tarv/diagrams/TARVShapeJSON.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"
#include "tarv/ranking/TARVProgression.hpp"
#include "tarv/ranking/TARVShapeQuery.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::web {

using namespace tarv::tool;
using json = nlohmann::ordered_json;

namespace {

/// Numbers of a request beyond this are refused before they reach the tool's readers.
constexpr long long kLargestNumber = 1000000;

/// The tool's limits of a progression's options.
constexpr int kMaximumAlternatives = 20;
constexpr int kMaximumCandidates = 40;
constexpr int kMaximumTranspose = 24;

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
    if (value < -kLargestNumber || value > kLargestNumber) {
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

/// The chord `symbol` names; the tool's message, with its suggestion, when it does not read.
SChordPtr readChord(std::string_view symbol) {
    SChordPtr chord = SChord::chordWithString(symbol);
    if (!chord) {
        const std::optional<std::string> suggestion = SChord::suggestionForString(symbol);
        throw InputError("cannot read the chord symbol \"" + std::string(symbol) + "\"" +
                         (suggestion ? " (did you mean \"" + *suggestion + "\"?)" : std::string()));
    }
    return chord;
}

SChordPtr chordOfSymbol(const std::optional<std::string>& symbol) {
    if (!symbol || trimmed(*symbol).empty()) {
        throw InputError("no chord symbol given");
    }
    return readChord(trimmed(*symbol));
}

/// A whole number of a request from `lowest` to `highest`, or `fallback` when absent.
int numberInRange(const json& request, const char* name, int lowest, int highest, int fallback) {
    const std::optional<int> value = numberField(request, name);
    if (!value) {
        return fallback;
    }
    if (*value < lowest || *value > highest) {
        throw InputError(std::string(name) + " must be from " + std::to_string(lowest) + " to " +
                         std::to_string(highest) + ", not " + std::to_string(*value));
    }
    return *value;
}

/// The fret text of a request, checked against `tuning` as the tool checks it: frets count from
/// the capo.
FretText fretTextForTuning(const std::string& text, const SStringedInstrumentTuning& tuning) {
    FretText fretText = readFretText(text);
    if (fretText.stringCount != tuning.stringCount()) {
        throw InputError("the fret text \"" + text + "\" has " +
                         std::to_string(fretText.stringCount) + " strings but the tuning has " +
                         std::to_string(tuning.stringCount()));
    }
    if (fretText.highestFret + tuning.capo() > tuning.fretCount()) {
        throw InputError("the fret text \"" + text + "\" reaches fret " +
                         std::to_string(fretText.highestFret) + " but the neck has " +
                         std::to_string(tuning.fretCount() - tuning.capo()) +
                         (tuning.capo() > 0 ? " frets above the capo" : " frets"));
    }
    return fretText;
}

/// The chords of a progression text: symbols separated by blanks, commas or bar lines.
void appendChords(std::string_view text, std::vector<SChordPtr>& chords) {
    constexpr std::string_view kSeparators = " \t\r\n,|";
    while (!text.empty()) {
        const std::size_t start = text.find_first_not_of(kSeparators);
        if (start == std::string_view::npos) {
            break;
        }
        text.remove_prefix(start);
        const std::size_t end = std::min(text.find_first_of(kSeparators), text.size());
        chords.push_back(readChord(text.substr(0, end)));
        text.remove_prefix(end);
    }
}

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
    TARVShapeQuery::Ranking ranking = TARVShapeQuery::Ranking::Playable;
    if (rank == "spec") {
        ranking = TARVShapeQuery::Ranking::Cached;
    } else if (rank == "uncached") {
        ranking = TARVShapeQuery::Ranking::Uncached;
    } else if (rank != "playable") {
        throw InputError("rank \"" + rank + "\" is not one of playable, spec, uncached");
    }
    // As the tool asks: the search ranks at least its default number of shapes, and the answer
    // is cut to the limit.
    TARVPlayableOptions options;
    if (limit) {
        options.maximumShapes = std::max(static_cast<std::size_t>(*limit), options.maximumShapes);
    }
    std::vector<TARVPlayableShape> shapes = TARVShapeQuery::shapes(chord, tuning, ranking, options);
    if (limit && shapes.size() > static_cast<std::size_t>(*limit)) {
        shapes.resize(static_cast<std::size_t>(*limit));
    }
    // With a capo, also what the shapes are fingered as, as the tool answers.
    return TARVPlayerJSON::chordShapesJSON(chord, *tuning, shapes);
}

std::string namesAnswer(const char* requestText) {
    const json request = parsedRequest(requestText);
    const SStringedInstrumentTuningPtr tuning = tuningOfRequest(request);
    const std::optional<std::string> notation = textField(request, "notation");
    if (!notation) {
        throw InputError("no fret text given");
    }
    const std::optional<int> limit = numberField(request, "limit");
    if (limit && *limit < 0) {
        throw InputError("limit " + std::to_string(*limit) + " is below 0");
    }
    const FretText fretText = fretTextForTuning(*notation, *tuning);
    const TARVChordShapePtr chordShape =
        TARVChordShape::shapeForFretNumberString(fretText.notation);
    std::vector<std::int8_t> frets =
        TARVPlayableShapes::fretsForChordShape(*chordShape, fretText.stringCount);
    std::optional<TARVFingering> fingering = TARVFingering::fingeringForFrets(frets);
    const TARVPlayableShape shape(std::move(frets),
                                  fingering ? std::move(*fingering) : TARVFingering(), {});
    // Named as fingered, relative to the capo, as chord sheets name it.
    std::vector<TARVChordNaming::Name> names =
        TARVChordNaming::namesForFrets(shape.frets(), TARVProgression::tuningWithCapo(tuning, 0));
    if (limit && names.size() > static_cast<std::size_t>(*limit)) {
        names.resize(static_cast<std::size_t>(*limit));
    }
    return TARVPlayerJSON::namesJSON(fretText.notation, shape, names, *tuning);
}

std::string progressionAnswer(const char* requestText) {
    json request = parsedRequest(requestText);
    TARVProgressionOptions options;
    options.alternatives = static_cast<std::size_t>(
        numberInRange(request, "alternatives", 1, kMaximumAlternatives, 1));
    options.candidates = static_cast<std::size_t>(numberInRange(
        request, "candidates", 1, kMaximumCandidates, static_cast<int>(options.candidates)));
    const int transpose =
        numberInRange(request, "transpose", -kMaximumTranspose, kMaximumTranspose, 0);
    bool capoAuto = false;
    const auto capo = request.find("capo");
    if (capo != request.end() && capo->is_string()) {
        if (capo->get<std::string>() != "auto") {
            throw InputError("capo must be a fret number or \"auto\", not \"" +
                             capo->get<std::string>() + "\"");
        }
        capoAuto = true;
        *capo = nullptr;
    }

    std::vector<SChordPtr> chords;
    const auto given = request.find("chords");
    if (given == request.end() || given->is_null()) {
        throw InputError("no chords given");
    }
    if (given->is_string()) {
        appendChords(given->get_ref<const std::string&>(), chords);
    } else if (given->is_array()) {
        for (const json& item : *given) {
            if (!item.is_string()) {
                throw InputError("the chords must be texts");
            }
            appendChords(item.get_ref<const std::string&>(), chords);
        }
    } else {
        throw InputError("chords must be a text or a list of texts");
    }
    if (chords.empty()) {
        throw InputError("the progression holds no chord");
    }
    for (SChordPtr& chord : chords) {
        chord = TARVChordNaming::transposedChord(chord, transpose);
    }

    TARVProgression::TuningPtr tuning = tuningOfRequest(request);
    std::vector<TARVProgression::CapoChoice> choices;
    if (capoAuto) {
        choices = TARVProgression::capoChoices(chords, tuning, options);
        tuning =
            TARVProgression::tuningWithCapo(tuning, choices.empty() ? 0 : choices.front().capo);
    }
    const std::vector<TARVProgression::Arrangement> arrangements =
        TARVProgression::arrangements(chords, tuning, options);
    return TARVPlayerJSON::progressionJSON(chords, *tuning, arrangements, choices);
}

std::string chordAnswer(const char* symbol) {
    const SChordPtr chord =
        chordOfSymbol(symbol == nullptr ? std::nullopt : std::optional<std::string>(symbol));
    return TARVShapeJSON::chordJSON(*chord);
}

std::string tuningAnswer(const char* requestText) {
    const SStringedInstrumentTuningPtr tuning = tuningOfRequest(parsedRequest(requestText));
    json object = json::parse(TARVShapeJSON::tuningJSON(*tuning));
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
    // The fingering the ranking gives these frets.
    const std::optional<TARVFingering> fingering = TARVFingering::fingeringForFrets(perString);
    const TARVPlayableShape shape(perString, fingering.value_or(TARVFingering()), {});
    TARVDiagramOptions options;
    const auto flag = [&](const char* name) {
        const auto found = request.find(name);
        return found != request.end() && found->is_boolean() && found->get<bool>();
    };
    options.leftHanded = flag("leftHanded");
    options.horizontal = flag("horizontal");
    const auto capo = request.find("capo");
    if (capo != request.end() && !capo->is_null()) {
        if (!capo->is_number_integer() || capo->get<std::int64_t>() < 0 ||
            capo->get<std::int64_t>() > 255) {
            throw InputError("the capo must be a whole number from 0 to 255");
        }
        options.capo = static_cast<std::uint8_t>(capo->get<std::int64_t>());
    }
    return text(
        json{{"svg", TARVDiagramSVG::svgForShape(shape, fretText.stringCount, options,
                                                 textField(request, "caption").value_or(""))}});
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
