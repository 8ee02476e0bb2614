// The JSON that the library streams (TARVShapeJSON) and the tool writes, byte for byte against a
// plain writer kept here: an nlohmann::json tree built from the shapes' accessors and dumped.

#include "ToolTestSupport.hpp"

#include "tarv/diagrams/TARVShapeJSON.hpp"
#include "tarv/instruments/TARVInstrumentText.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVShapeQuery.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace tarv;
using namespace tarv::tooltest;
using Json = nlohmann::ordered_json;

// The reference writer ----------------------------------------------------------------------------

/// A score or contribution: rounded to three decimals; a whole number is written without a
/// fraction, a value that is not finite as null.
Json referenceNumber(double value) {
    if (!std::isfinite(value)) {
        return nullptr;
    }
    const double rounded = std::round(value * 1000.0) / 1000.0;
    if (rounded == std::trunc(rounded) && std::abs(rounded) < 1e15) {
        return static_cast<long long>(rounded);
    }
    return rounded;
}

Json referenceNotes(const std::vector<SNote>& notes) {
    Json array = Json::array();
    for (const SNote& note : notes) {
        array.push_back(note.string());
    }
    return array;
}

Json referenceChord(const SChord& chord) {
    Json object = Json::object();
    object["symbol"] = chord.symbol();
    object["root"] = chord.root().string();
    object["bass"] = chord.addedBase() ? Json(chord.addedBase()->string()) : Json(nullptr);
    object["notes"] = referenceNotes(chord.notes());
    object["characteristicNotes"] = referenceNotes(chord.characteristicNotes());
    object["numericNoteStringValue"] = chord.numericNoteStringValue();
    return object;
}

Json referenceTuning(const SStringedInstrumentTuning& tuning, const std::string& instrumentName) {
    Json object = Json::object();
    if (!instrumentName.empty()) {
        object["instrument"] = instrumentName;
    }
    object["name"] = tuning.name() ? *tuning.name() : std::string();
    object["noteString"] = tuning.noteString();
    object["asciiNoteString"] = tuning.asciiNoteString();
    Json pitches = Json::array();
    Json strings = Json::array();
    for (const SPitch& pitch : tuning.stringPitches()) {
        pitches.push_back(pitch.string());
        strings.insert(strings.begin(), pitch.string());
    }
    object["pitches"] = std::move(pitches);
    object["strings"] = std::move(strings);
    object["fretCount"] = tuning.fretCount();
    object["capo"] = tuning.capo();
    return object;
}

const char* referenceIndicatorKind(const TARVFretIndicator& indicator) {
    switch (indicator.indicatorClass()) {
    case TARVIndicatorClass::Barre:
        return "barre";
    case TARVIndicatorClass::Muted:
        return "muted";
    case TARVIndicatorClass::Open:
        return "open";
    case TARVIndicatorClass::Fret:
        break;
    }
    return "fret";
}

Json referenceShape(const TARVPlayableShape& shape, std::size_t rank,
                    const SStringedInstrumentTuning& tuning) {
    const TARVChordShapePtr model = shape.chordShape();
    const TARVFingering& fingering = shape.fingering();
    Json object = Json::object();
    object["rank"] = rank;
    object["frets"] = shape.fretText();
    object["baseFret"] = model ? model->baseFret() : shape.baseFret();
    object["score"] = referenceNumber(shape.score());
    if (shape.badness()) {
        object["badness"] = *shape.badness();
    }
    object["baseString"] = model ? model->baseString() : 0;
    object["reach"] = model ? model->reach() : 0;
    Json fingers = Json::array();
    for (std::size_t string = 0; string < shape.frets().size(); ++string) {
        fingers.push_back(string < fingering.fingers().size() ? fingering.fingers()[string] : 0);
    }
    object["fingers"] = std::move(fingers);
    object["fingerCount"] = fingering.fingerCount();
    Json barres = Json::array();
    for (const TARVFingering::Barre& barre : fingering.barres()) {
        barres.push_back(Json{{"fret", barre.fret},
                              {"lowString", barre.lowString},
                              {"highString", barre.highString},
                              {"finger", barre.finger}});
    }
    object["barres"] = std::move(barres);
    // The sounding notes: the shape's notes raised by the capo.
    std::vector<SNote> notes = model ? model->notesInTuning(tuning) : std::vector<SNote>();
    for (SNote& note : notes) {
        note = note.noteWithOffset(static_cast<std::int8_t>(tuning.capo()));
    }
    object["notes"] = referenceNotes(notes);
    Json indicators = Json::array();
    if (model) {
        for (const TARVFretIndicator& indicator : model->indicators()) {
            Json entry{{"kind", referenceIndicatorKind(indicator)},
                       {"string", indicator.string()},
                       {"fret", indicator.fret()}};
            if (indicator.isBarre()) {
                entry["endString"] = indicator.endString();
            }
            indicators.push_back(std::move(entry));
        }
    }
    object["indicators"] = std::move(indicators);
    Json terms = Json::object();
    for (const TARVPlayableShape::Term& term : shape.terms()) {
        terms[std::string(term.name)] = referenceNumber(term.contribution());
    }
    object["terms"] = std::move(terms);
    return object;
}

/// The tool's line for one chord, without its line end.
std::string referenceAnswerLine(const SChord& chord, const SStringedInstrumentTuning& tuning,
                                const std::vector<TARVPlayableShape>& shapes,
                                const std::string& instrumentName = {}) {
    Json shapeArray = Json::array();
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        shapeArray.push_back(referenceShape(shapes[i], i + 1, tuning));
    }
    Json answer = Json::object();
    answer["chord"] = referenceChord(chord);
    answer["tuning"] = referenceTuning(tuning, instrumentName);
    answer["shapes"] = std::move(shapeArray);
    return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Comparisons
// ---------------------------------------------------------------------------------------

/// Where `actual` first differs from `expected`, with a little of both around it.
std::string firstDifference(const std::string& expected, const std::string& actual) {
    std::size_t at = 0;
    while (at < expected.size() && at < actual.size() && expected[at] == actual[at]) {
        ++at;
    }
    const std::size_t from = at < 60 ? 0 : at - 60;
    return "at byte " + std::to_string(at) + "\n  expected ..." + expected.substr(from, 120) +
           "\n  written  ..." + actual.substr(from, 120);
}

/// Runs the tool on the workload with `rankingArguments` and compares every line with the
/// reference line of the same chord and ranking.
void expectToolMatchesReference(const std::vector<std::string>& rankingArguments,
                                TARVShapeQuery::Ranking ranking) {
    const std::vector<std::string> symbols = workloadChordSymbols();
    std::vector<std::string> arguments{"shapes", "-", "--format", "json"};
    arguments.insert(arguments.end(), rankingArguments.begin(), rankingArguments.end());
    const ToolRun run = runTool(TARV_TOOL_PATH, arguments, linesText(symbols));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> written = textLines(run.out);
    ASSERT_EQ(written.size(), symbols.size());

    const SStringedInstrumentTuningPtr tuning = TARVInstrumentText::tuningForRequest({});
    std::size_t shapeCount = 0;
    std::size_t differences = 0;
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const SChordPtr chord = SChord::chordWithString(symbols[i]);
        ASSERT_NE(chord, nullptr) << symbols[i];
        const std::vector<TARVPlayableShape> shapes =
            TARVShapeQuery::shapes(chord, tuning, ranking);
        shapeCount += shapes.size();
        const std::string expected = referenceAnswerLine(*chord, *tuning, shapes);
        if (written[i] != expected && ++differences <= 3) {
            ADD_FAILURE() << symbols[i] << " (line " << i + 1 << ") "
                          << firstDifference(expected, written[i]);
        }
    }
    EXPECT_EQ(differences, 0u);
    // The workload answers shapes for nearly every chord, so the comparison covers real shapes.
    EXPECT_GT(shapeCount, symbols.size() * 5);
}

TEST(TarvguitarJsonIdentity, WorkloadListHas1080SymbolsOf18Qualities) {
    const std::vector<std::string> symbols = workloadChordSymbols();
    EXPECT_EQ(symbols.size(), 1080u);
    EXPECT_EQ(workloadQualities().size(), 18u);
    for (const std::string& quality : workloadQualities()) {
        const SChordPtr chord = SChord::chordWithString("F#" + quality);
        ASSERT_NE(chord, nullptr) << quality;
        EXPECT_EQ(chord->quality(), quality);
    }
}

TEST(TarvguitarJsonIdentity, UncachedWorkloadIsTheReferenceByteForByte) {
    expectToolMatchesReference({"--uncached"}, TARVShapeQuery::Ranking::Uncached);
}

TEST(TarvguitarJsonIdentity, PlayableWorkloadIsTheReferenceByteForByte) {
    expectToolMatchesReference({}, TARVShapeQuery::Ranking::Playable);
}

TEST(TarvguitarJsonIdentity, NamesThatNeedEscapesAreWrittenAsTheReferenceWritesThem) {
    TARVInstrumentText::TuningRequest request;
    request.pitches = "D2 A2 D3 G3 A3 D4";
    request.name = "Open \"D\" \\ modal\ttab \xC3\xA9t\xC3\xA9 \xE2\x99\xAF";
    request.capo = 2;
    const SStringedInstrumentTuningPtr tuning = TARVInstrumentText::tuningForRequest(request);
    const std::string instrument = "Dobro\x01 \xF0\x9F\x8E\xB8";
    for (const char* symbol : {"D", "G/B", "Em7", "A7sus4", "Bbmaj7#11"}) {
        const SChordPtr chord = SChord::chordWithString(symbol);
        ASSERT_NE(chord, nullptr) << symbol;
        for (const auto ranking :
             {TARVShapeQuery::Ranking::Playable, TARVShapeQuery::Ranking::Uncached}) {
            const std::vector<TARVPlayableShape> shapes =
                TARVShapeQuery::shapes(chord, tuning, ranking);
            EXPECT_FALSE(shapes.empty()) << symbol;
            const std::string expected = referenceAnswerLine(*chord, *tuning, shapes, instrument);
            const std::string written =
                TARVShapeJSON::answerJSON(*chord, *tuning, shapes, instrument);
            EXPECT_EQ(written, expected) << symbol << " " << firstDifference(expected, written);
        }
    }
}

TEST(TarvguitarJsonIdentity, NumbersAreWrittenAsTheReferenceWritesThem) {
    // A shape whose score terms take the values of interest, through the one place numbers are
    // written for shapes: the term contributions (value times weight, weight 1).
    const std::vector<double> values{0.0,      -0.0,
                                     0.0004,   -0.0004,
                                     0.001,    0.0015,
                                     0.5,      1.0,
                                     10.0,     -10.0,
                                     16.259,   100.0,
                                     1000.0,   123456.0,
                                     1e6,      2.5e7,
                                     0.123,    -1.285,
                                     99.9995,  12345.678,
                                     -0.0005,  0.0005,
                                     0.07,     1234.5,
                                     -3.1,     999999999999.999,
                                     55.25,    99.9996,
                                     9.9995,   -9.9995,
                                     10.0004,  999999999999.9995,
                                     1e15,     -1e15,
                                     1e20,     -2.5e18,
                                     4.1e18,   0.3333333,
                                     2.0 / 3.0};
    std::vector<std::string> names;
    std::vector<TARVPlayableShape::Term> terms;
    for (std::size_t i = 0; i < values.size(); ++i) {
        names.push_back("term" + std::to_string(i));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        terms.push_back({names[i], values[i], 1.0});
    }
    const SStringedInstrumentTuningPtr tuning = TARVInstrumentText::tuningForRequest({});
    const TARVPlayableShape shape({0, 1, 0, 2, 3, -1}, TARVFingering(), terms);
    const std::string expected = referenceShape(shape, 1, *tuning).dump();
    EXPECT_EQ(TARVShapeJSON::shapeJSON(shape, 1, *tuning), expected);
}

} // namespace
