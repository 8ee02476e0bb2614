// End-to-end tests of the tarvguitar command-line tool: each test runs the built binary and reads
// what it writes.

#include "ToolTestSupport.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

extern char** environ;

#ifndef TARV_SOURCE_DIR
#define TARV_SOURCE_DIR TARV_TOOL_TEST_DATA_DIR "/../../.."
#endif
#ifndef TARV_SHARED_DATA_DIR
#define TARV_SHARED_DATA_DIR TARV_SOURCE_DIR "/../shared/data"
#endif

namespace {

using nlohmann::json;

using RunResult = tarv::tooltest::ToolRun;
using ScratchDirectory = tarv::tooltest::ScratchFolder;
using tarv::tooltest::textLines;

std::string readFile(const std::filesystem::path& path) {
    return tarv::tooltest::fileText(path);
}

RunResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                     const std::string& input = "") {
    return tarv::tooltest::runTool(program, arguments, input);
}

RunResult runTool(const std::vector<std::string>& arguments, const std::string& input = "") {
    return runProgram(TARV_TOOL_PATH, arguments, input);
}

std::vector<json> jsonLines(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : textLines(text)) {
        objects.push_back(json::parse(line));
    }
    return objects;
}

/// The one JSON object of a successful run.
json onlyJson(const RunResult& result) {
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::vector<json> objects = jsonLines(result.out);
    EXPECT_EQ(objects.size(), 1U) << result.out;
    return objects.empty() ? json() : objects.front();
}

std::size_t occurrences(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t position = text.find(what); position != std::string::npos;
         position = text.find(what, position + what.size())) {
        ++count;
    }
    return count;
}

/// Terminal columns of a UTF-8 line whose characters are all one column wide.
std::size_t columns(const std::string& line) {
    return static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) != 0x80U;
    }));
}

/// The fret-number text that the indicators of a JSON shape stand for, written from the highest
/// string number down to string 0.
std::string fretTextFromIndicators(const json& shape, int stringCount) {
    const int baseFret = shape.at("baseFret").get<int>();
    std::vector<bool> muted(static_cast<std::size_t>(stringCount), false);
    std::vector<std::optional<int>> own(static_cast<std::size_t>(stringCount));
    std::vector<std::optional<int>> barre(static_cast<std::size_t>(stringCount));
    for (const json& indicator : shape.at("indicators")) {
        const std::string kind = indicator.at("kind").get<std::string>();
        const int string = indicator.at("string").get<int>();
        const int fret = baseFret + indicator.at("fret").get<int>();
        if (kind == "barre") {
            for (int covered = string; covered <= indicator.at("endString").get<int>(); ++covered) {
                barre[static_cast<std::size_t>(covered)] = fret;
            }
        } else if (kind == "muted") {
            muted[static_cast<std::size_t>(string)] = true;
        } else {
            auto& current = own[static_cast<std::size_t>(string)];
            current = std::max(current.value_or(fret), fret);
        }
    }
    std::string text;
    for (int string = stringCount - 1; string >= 0; --string) {
        const auto index = static_cast<std::size_t>(string);
        text += string == stringCount - 1 ? "" : ",";
        if (muted[index]) {
            text += "x";
        } else if (own[index]) {
            text += std::to_string(*own[index]);
        } else if (barre[index]) {
            text += std::to_string(*barre[index]);
        } else {
            text += "x";
        }
    }
    return text;
}

// JSON ------------------------------------------------------------------------------------------

TEST(TarvguitarShapesJson, WritesOneObjectPerChordOnItsOwnLine) {
    const RunResult result = runTool({"shapes", "C", "F", "Am/G", "--format", "json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.err.empty()) << result.err;
    const std::vector<json> objects = jsonLines(result.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0]["chord"]["symbol"], "C");
    EXPECT_EQ(objects[1]["chord"]["symbol"], "F");
    EXPECT_EQ(objects[2]["chord"]["symbol"], "Am/G");
    for (const json& object : objects) {
        EXPECT_TRUE(object.contains("chord"));
        EXPECT_TRUE(object.contains("tuning"));
        EXPECT_TRUE(object["shapes"].is_array());
    }
}

TEST(TarvguitarShapesJson, DescribesHowTheChordWasRead) {
    const json chord =
        onlyJson(runTool({"shapes", "C", "--format", "json", "--limit", "1"}))["chord"];
    EXPECT_EQ(chord["symbol"], "C");
    EXPECT_EQ(chord["root"], "C");
    EXPECT_TRUE(chord["bass"].is_null());
    EXPECT_EQ(chord["notes"], json({"C", "E", "G"}));
    EXPECT_EQ(chord["characteristicNotes"], json({"C", "E", "G"}));
    ASSERT_TRUE(chord["numericNoteStringValue"].is_string());
    EXPECT_FALSE(chord["numericNoteStringValue"].get<std::string>().empty());

    const json reading = onlyJson(runTool({"chord", "C", "--format", "json"}));
    EXPECT_EQ(reading["chord"], chord);
}

TEST(TarvguitarShapesJson, NamesTheBassOfASlashChord) {
    const json chord =
        onlyJson(runTool({"shapes", "Am/G", "--format", "json", "--limit", "1"}))["chord"];
    EXPECT_EQ(chord["root"], "A");
    EXPECT_EQ(chord["bass"], "G");
    EXPECT_EQ(chord["notes"].front(), "A");
}

TEST(TarvguitarShapesJson, DescribesTheStandardTuningByDefault) {
    const json tuning =
        onlyJson(runTool({"shapes", "C", "--format", "json", "--limit", "1"}))["tuning"];
    EXPECT_EQ(tuning["name"], "Standard");
    EXPECT_EQ(tuning["noteString"], "EADGBE");
    EXPECT_EQ(tuning["asciiNoteString"], "EADGBE");
    EXPECT_EQ(tuning["pitches"], json({"E4", "B3", "G3", "D3", "A2", "E2"}));
    EXPECT_EQ(tuning["fretCount"], 22);
    EXPECT_EQ(tuning["capo"], 0);
}

TEST(TarvguitarShapesJson, CustomTuningIsGivenLowestStringFirstAndListedHighestFirst) {
    const json tuning = onlyJson(runTool({"shapes", "D", "--tuning", "D2 A2 D3 G3 B3 E4",
                                          "--format", "json", "--limit", "1"}))["tuning"];
    EXPECT_EQ(tuning["name"], "Custom");
    EXPECT_EQ(tuning["noteString"], "DADGBE");
    EXPECT_EQ(tuning["asciiNoteString"], "DADGBE");
    EXPECT_EQ(tuning["pitches"], json({"E4", "B3", "G3", "D3", "A2", "D2"}));
    EXPECT_EQ(tuning["fretCount"], 22);
}

TEST(TarvguitarShapesJson, CustomTuningTakesTheGivenNameAndWritesFlatsInItsAsciiNoteString) {
    const json tuning =
        onlyJson(runTool({"shapes", "Eb", "--tuning", "Eb2 Ab2 Db3 Gb3 Bb3 Eb4", "--custom-name",
                          "Half step down", "--format", "json", "--limit", "1"}))["tuning"];
    EXPECT_EQ(tuning["name"], "Half step down");
    EXPECT_EQ(tuning["noteString"], "EbAbDbGbBbEb");
    EXPECT_EQ(tuning["asciiNoteString"], "E-A-D-G-B-E-");
    EXPECT_EQ(tuning["pitches"].front(), "Eb4");
    EXPECT_EQ(tuning["pitches"].back(), "Eb2");
}

TEST(TarvguitarShapesJson, ReportsTheGivenFretCountAndCapo) {
    const json tuning = onlyJson(runTool({"shapes", "C", "--frets", "12", "--capo", "2", "--format",
                                          "json", "--limit", "1"}))["tuning"];
    EXPECT_EQ(tuning["fretCount"], 12);
    EXPECT_EQ(tuning["capo"], 2);
    EXPECT_EQ(tuning["name"], "Standard");
}

TEST(TarvguitarShapesJson, BestShapeOfCIsTheOpenChord) {
    const json object = onlyJson(runTool({"shapes", "C", "--format", "json"}));
    const json& shapes = object["shapes"];
    ASSERT_FALSE(shapes.empty());
    const json& best = shapes.front();
    EXPECT_EQ(best["frets"], "x,3,2,0,1,0");
    EXPECT_EQ(best["baseFret"], 0);
    EXPECT_EQ(best["baseString"], 4);
    EXPECT_EQ(best["reach"], 3);
    EXPECT_EQ(best["fingerCount"], 3);
    EXPECT_EQ(best["fingers"], json({0, 1, 0, 2, 3, 0}));
    EXPECT_EQ(best["notes"], json({"E", "C", "G", "E", "C"}));
    const json expectedIndicators = json::parse(R"([
        {"kind": "open", "string": 0, "fret": 0},
        {"kind": "fret", "string": 1, "fret": 1},
        {"kind": "open", "string": 2, "fret": 0},
        {"kind": "fret", "string": 3, "fret": 2},
        {"kind": "fret", "string": 4, "fret": 3},
        {"kind": "muted", "string": 5, "fret": -1}])");
    EXPECT_EQ(best["indicators"], expectedIndicators);
    // Ranked by the playability model: a score and its terms, no generator badness.
    EXPECT_TRUE(best["score"].is_number());
    EXPECT_FALSE(best.contains("badness"));
    EXPECT_TRUE(best["terms"].contains("reach"));
}

TEST(TarvguitarShapesJson, BestShapeOfFIsTheBarreAtTheFirstFret) {
    const json best = onlyJson(runTool({"shapes", "F", "--format", "json"}))["shapes"].front();
    EXPECT_EQ(best["frets"], "1,3,3,2,1,1");
    EXPECT_EQ(best["baseFret"], 1);
    EXPECT_EQ(best["rank"], 1);
    EXPECT_EQ(best["fingerCount"], 4);
    // By string number, string 0 (high E) first: the index barre, then fingers 2, 4 and 3.
    EXPECT_EQ(best["fingers"], json({1, 1, 2, 4, 3, 1}));
    EXPECT_EQ(best["barres"],
              json::parse(R"([{"fret":1,"lowString":0,"highString":5,"finger":1}])"));
    ASSERT_FALSE(best["indicators"].empty());
    const json& barre = best["indicators"].front();
    EXPECT_EQ(barre["kind"], "barre");
    EXPECT_EQ(barre["fret"], 0);
    EXPECT_EQ(barre["string"], 0);
    EXPECT_EQ(barre["endString"], 5);
    for (const json& indicator : best["indicators"]) {
        EXPECT_EQ(indicator.contains("endString"), indicator["kind"] == "barre");
    }
}

void expectBestFirst(const json& shapes, const std::string& what) {
    for (std::size_t index = 1; index < shapes.size(); ++index) {
        EXPECT_LE(shapes[index - 1]["badness"].get<std::uint64_t>(),
                  shapes[index]["badness"].get<std::uint64_t>())
            << what << " shape " << index;
    }
}

TEST(TarvguitarShapesJson, UncachedShapesComeBestFirstAndAtMostTwenty) {
    for (const char* symbol : {"C", "G7", "Dm", "E"}) {
        const json shapes =
            onlyJson(runTool({"shapes", symbol, "--uncached", "--format", "json"}))["shapes"];
        EXPECT_FALSE(shapes.empty()) << symbol;
        EXPECT_LE(shapes.size(), 20U) << symbol;
        expectBestFirst(shapes, symbol);
    }
}

TEST(TarvguitarShapesJson, CachedShapesComeInTheCacheOrder) {
    for (const char* symbol : {"C", "G7", "Dm", "E", "C#m7b5"}) {
        const json shapes =
            onlyJson(runTool({"shapes", symbol, "--rank", "spec", "--format", "json"}))["shapes"];
        EXPECT_FALSE(shapes.empty()) << symbol;
        expectBestFirst(shapes, symbol);
    }
}

TEST(TarvguitarShapesJson, FretTextAgreesWithTheIndicatorsAndBaseFret) {
    for (const char* symbol : {"C", "F", "Bm", "A7", "Am/G"}) {
        const json shapes = onlyJson(runTool({"shapes", symbol, "--format", "json"}))["shapes"];
        for (const json& shape : shapes) {
            EXPECT_EQ(shape["frets"], fretTextFromIndicators(shape, 6)) << symbol;
        }
    }
}

TEST(TarvguitarShapesJson, FretTextReadsBackAsTheSameFrets) {
    const json shapes = onlyJson(runTool({"shapes", "F", "--format", "json"}))["shapes"];
    ASSERT_FALSE(shapes.empty());
    for (const json& shape : shapes) {
        const std::string frets = shape["frets"].get<std::string>();
        const json read = onlyJson(runTool({"notation", frets, "--format", "json"}));
        EXPECT_EQ(read["shape"]["frets"], frets);
    }
}

TEST(TarvguitarShapesJson, LimitCapsTheShapesOfEachChord) {
    const std::vector<json> objects =
        jsonLines(runTool({"shapes", "C", "G", "--limit", "3", "--format", "json"}).out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["shapes"].size(), 3U);
    EXPECT_EQ(objects[1]["shapes"].size(), 3U);
    const json none = onlyJson(runTool({"shapes", "C", "--limit", "0", "--format", "json"}));
    EXPECT_TRUE(none["shapes"].empty());
}

std::vector<std::string> fretTexts(const json& shapes) {
    std::vector<std::string> texts;
    for (const json& shape : shapes) {
        texts.push_back(shape["frets"].get<std::string>());
    }
    return texts;
}

std::string chordValue(const std::string& symbol) {
    return onlyJson(
        runTool({"chord", symbol, "--format", "json"}))["chord"]["numericNoteStringValue"];
}

/// The fret texts of the well-known guitar shapes, in their file's order, by the value of their
/// chord (several names may stand for one chord).
const std::map<std::string, std::vector<std::string>>& wellKnownGuitarShapes() {
    static const std::map<std::string, std::vector<std::string>> shapes = [] {
        const json file = json::parse(readFile(std::filesystem::path(TARV_SHARED_DATA_DIR) /
                                               "chord-shapes" / "chordpro-guitar.json"));
        std::vector<std::string> arguments{"chord", "--format", "json"};
        for (const json& chord : file.at("chords")) {
            arguments.push_back(chord.at("name"));
        }
        std::map<std::string, std::string> values; // symbol to value, of the readable names
        for (const json& answer : jsonLines(runTool(arguments).out)) {
            values[answer["chord"]["symbol"]] = answer["chord"]["numericNoteStringValue"];
        }
        std::map<std::string, std::vector<std::string>> byValue;
        for (const json& chord : file.at("chords")) {
            const auto value = values.find(chord.at("name").get<std::string>());
            if (value == values.end()) {
                continue;
            }
            std::string text;
            for (const json& fret : chord.at("frets_abs")) {
                const int number = fret.get<int>();
                text += (text.empty() ? "" : ",") + (number < 0 ? "x" : std::to_string(number));
            }
            byValue[value->second].push_back(text);
        }
        return byValue;
    }();
    return shapes;
}

TEST(TarvguitarShapesJson, CachedAnswerIsTheWellKnownShapesThenThePlayableRanking) {
    if (!std::filesystem::is_directory(std::filesystem::path(TARV_SHARED_DATA_DIR) /
                                       "chord-shapes")) {
        GTEST_SKIP() << "no well-known shapes";
    }
    std::size_t withWellKnownShape = 0;
    for (const char* symbol : {"G", "Bbm7", "F#7b9", "Am/E", "A11", "Cmaj7"}) {
        const std::vector<std::string> cached = fretTexts(
            onlyJson(runTool({"shapes", symbol, "--rank", "spec", "--format", "json"}))["shapes"]);
        const std::vector<std::string> playable =
            fretTexts(onlyJson(runTool({"shapes", symbol, "--format", "json"}))["shapes"]);
        ASSERT_FALSE(playable.empty()) << symbol;
        std::vector<std::string> expected;
        const auto addOnce = [&](const std::string& frets) {
            if (std::find(expected.begin(), expected.end(), frets) == expected.end()) {
                expected.push_back(frets);
            }
        };
        const auto known = wellKnownGuitarShapes().find(chordValue(symbol));
        if (known != wellKnownGuitarShapes().end()) {
            std::for_each(known->second.begin(), known->second.end(), addOnce);
            ++withWellKnownShape;
        }
        std::for_each(playable.begin(), playable.end(), addOnce);
        EXPECT_EQ(cached, expected) << symbol;
    }
    EXPECT_EQ(withWellKnownShape, 5U);
}

TEST(TarvguitarShapesJson, WithoutWellKnownShapesTheCachedAnswerIsThePlayableRanking) {
    // No well-known shapes are listed for the bass or the D-tuned ukulele.
    for (const std::vector<std::string>& tuning :
         {std::vector<std::string>{"--tuning", "E1 A1 D2 G2", "--frets", "20"},
          std::vector<std::string>{"--tuning", "A4 D4 F#4 B4", "--frets", "18"}}) {
        for (const char* symbol : {"C", "Am7", "G/B", "D"}) {
            std::vector<std::string> playableArguments{"shapes", symbol, "--format", "json"};
            playableArguments.insert(playableArguments.end(), tuning.begin(), tuning.end());
            std::vector<std::string> cachedArguments = playableArguments;
            cachedArguments.insert(cachedArguments.end(), {"--rank", "spec"});
            const json cached = onlyJson(runTool(cachedArguments))["shapes"];
            const json playable = onlyJson(runTool(playableArguments))["shapes"];
            ASSERT_FALSE(playable.empty()) << symbol << " " << tuning[1];
            EXPECT_EQ(fretTexts(cached), fretTexts(playable)) << symbol << " " << tuning[1];
            EXPECT_EQ(cached.front()["badness"], 0) << symbol;
        }
    }
}

TEST(TarvguitarShapesJson, ChordWithoutPlayableShapeGivesAnEmptyListAndNoError) {
    const RunResult result = runTool({"shapes", "C", "--frets", "0", "--format", "json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.empty()) << result.err;
    const json object = onlyJson(result);
    EXPECT_TRUE(object["shapes"].is_array());
    EXPECT_TRUE(object["shapes"].empty());
    EXPECT_EQ(object["chord"]["symbol"], "C");
}

TEST(TarvguitarShapesJson, ReadsChordSymbolsFromStandardInputOneALine) {
    const RunResult result =
        runTool({"shapes", "-", "G", "--format", "json", "--limit", "1"}, "C\n\n  Am  \n");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<json> objects = jsonLines(result.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0]["chord"]["symbol"], "C");
    EXPECT_EQ(objects[1]["chord"]["symbol"], "Am");
    EXPECT_EQ(objects[2]["chord"]["symbol"], "G");
}

TEST(TarvguitarNotationJson, WithoutTuningHasNeitherTuningNorNotes) {
    const json object = onlyJson(runTool({"notation", "x,3,2,0,1,0", "--format", "json"}));
    EXPECT_EQ(object["notation"], "x,3,2,0,1,0");
    EXPECT_FALSE(object.contains("tuning"));
    const json& shape = object["shape"];
    EXPECT_FALSE(shape.contains("notes"));
    EXPECT_EQ(shape["frets"], "x,3,2,0,1,0");
    EXPECT_EQ(shape["baseFret"], 0);
    EXPECT_EQ(shape["baseString"], 4);
    EXPECT_EQ(shape["fingerCount"], 3);
    EXPECT_EQ(shape["fingers"], json({0, 1, 0, 2, 3, 0}));
    EXPECT_EQ(shape["indicators"].size(), 6U);
}

TEST(TarvguitarNotationJson, WithTuningListsTheSoundingNotesFromStringZero) {
    const json object = onlyJson(
        runTool({"notation", "x,3,2,0,1,0", "--tuning", "E2 A2 D3 G3 B3 E4", "--format", "json"}));
    EXPECT_EQ(object["tuning"]["noteString"], "EADGBE");
    EXPECT_EQ(object["shape"]["notes"], json({"E", "C", "G", "E", "C"}));
}

TEST(TarvguitarNotationJson, BarreShapeUpTheNeckIsMovedToItsLowestFret) {
    const json shape =
        onlyJson(runTool({"notation", "10,12,12,11,10,10", "--format", "json"}))["shape"];
    EXPECT_EQ(shape["baseFret"], 10);
    EXPECT_EQ(shape["frets"], "10,12,12,11,10,10");
    EXPECT_EQ(shape["indicators"].front()["kind"], "barre");
    EXPECT_EQ(shape["indicators"].front()["endString"], 5);
}

TEST(TarvguitarNotationJson, CompactTextIsReadOneCharacterPerString) {
    const json compact = onlyJson(runTool({"notation", "x32010", "--format", "json"}));
    const json spelled = onlyJson(runTool({"notation", "x, 3, 2, 0, 1, 0", "--format", "json"}));
    EXPECT_EQ(compact["notation"], "x,3,2,0,1,0");
    EXPECT_EQ(compact["shape"], spelled["shape"]);
}

TEST(TarvguitarChordJson, WritesOneChordObjectPerSymbol) {
    const RunResult result = runTool({"chord", "C", "Am/G", "--format", "json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<json> objects = jsonLines(result.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["chord"]["root"], "C");
    EXPECT_EQ(objects[1]["chord"]["bass"], "G");
    EXPECT_EQ(objects[1]["chord"]["symbol"], "Am/G");
}

// Text ------------------------------------------------------------------------------------------

void expectOutputMatchesFile(const std::vector<std::string>& arguments, const std::string& name) {
    const RunResult result = runTool(arguments);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string expected = readFile(std::filesystem::path(TARV_TOOL_TEST_DATA_DIR) / name);
    ASSERT_FALSE(expected.empty()) << name;
    EXPECT_EQ(result.out, expected);
}

TEST(TarvguitarShapesText, ChordBoxesOfCMatchTheExpectedOutput) {
    expectOutputMatchesFile({"shapes", "C"}, "C.txt");
}

TEST(TarvguitarShapesText, ChordBoxesOfFMatchTheExpectedOutput) {
    expectOutputMatchesFile({"shapes", "F"}, "F.txt");
}

TEST(TarvguitarShapesText, UncachedChordBoxesOfCMatchTheExpectedOutput) {
    expectOutputMatchesFile({"shapes", "C", "--uncached"}, "C-uncached.txt");
}

TEST(TarvguitarShapesText, UncachedChordBoxesOfFMatchTheExpectedOutput) {
    expectOutputMatchesFile({"shapes", "F", "--uncached"}, "F-uncached.txt");
}

TEST(TarvguitarShapesText, AsciiChordBoxesOfCMatchTheExpectedOutput) {
    expectOutputMatchesFile({"shapes", "C", "--ascii"}, "C-ascii.txt");
}

TEST(TarvguitarShapesText, AsciiOutputHoldsOnlyAsciiCharacters) {
    const RunResult result = runTool({"shapes", "C", "F", "Bb", "--ascii"});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_TRUE(std::all_of(result.out.begin(), result.out.end(),
                            [](char character) { return (character & 0x80) == 0; }));
}

TEST(TarvguitarShapesText, LinesFitInEightyColumns) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"shapes", "C", "F", "Bbm7", "C#dim7"},
          std::vector<std::string>{"shapes", "G", "--ascii"},
          std::vector<std::string>{"shapes", "D", "--tuning", "D2 A2 D3 F#3 A3 D4"}}) {
        const RunResult result = runTool(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        for (const std::string& line : textLines(result.out)) {
            EXPECT_LE(columns(line), 80U) << line;
            EXPECT_TRUE(line.empty() || line.back() != ' ') << "trailing blank: " << line;
        }
    }
}

TEST(TarvguitarShapesText, OpenShapeShowsTheNutAndItsMarkers) {
    const std::vector<std::string> box = textLines(runTool({"notation", "x,3,2,0,1,0"}).out);
    // A heading, a blank line, the markers, the nut, then the fret rows.
    ASSERT_GE(box.size(), 6U);
    EXPECT_EQ(box[2], "x     o   o");
    EXPECT_EQ(box[3], "╒═╤═╤═╤═╤═╕");
    EXPECT_EQ(box[4], "│ │ │ │ 1 │");
    EXPECT_EQ(box[6], "│ │ 2 │ │ │");
    EXPECT_EQ(box[8], "│ 3 │ │ │ │");
}

TEST(TarvguitarShapesText, ShapeUpTheNeckWritesItsFirstFretBesideTheFirstRow) {
    const std::vector<std::string> box = textLines(runTool({"notation", "x,5,7,7,7,5"}).out);
    ASSERT_GE(box.size(), 5U);
    EXPECT_EQ(box[2], "x");
    EXPECT_EQ(box[3], "┌─┬─┬─┬─┬─┐");
    EXPECT_EQ(box[4], "│ 1━━━━━━━1 5fr");
    EXPECT_EQ(box[8], "│ │ 3━━━3 │");
}

TEST(TarvguitarShapesText, BoxIsAsTallAsTheShapeReaches) {
    const std::vector<std::string> box = textLines(runTool({"notation", "x,5,7,7,7,9"}).out);
    const auto rows =
        static_cast<std::size_t>(std::count_if(box.begin(), box.end(), [](const std::string& line) {
            return line.rfind("├", 0) == 0 || line.rfind("└", 0) == 0;
        }));
    EXPECT_EQ(rows, 5U);
}

TEST(TarvguitarShapesText, ChordWithoutPlayableShapeSaysSo) {
    const RunResult result = runTool({"shapes", "C7", "--tuning", "C3 G3"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find("C7: no playable shape"), std::string::npos) << result.out;
}

TEST(TarvguitarNotationText, WithTuningShowsTheSoundingNotesLowestStringFirst) {
    const RunResult result = runTool({"notation", "x,3,2,0,1,0", "--tuning", "E2 A2 D3 G3 B3 E4"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("notes C E G C E\n"), std::string::npos) << result.out;
    EXPECT_EQ(runTool({"notation", "x,3,2,0,1,0"}).out.find("notes"), std::string::npos);
}

TEST(TarvguitarChordText, ShowsRootBassNotesAndCanonicalValue) {
    const RunResult result = runTool({"chord", "Am/G"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const json chord = onlyJson(runTool({"chord", "Am/G", "--format", "json"}))["chord"];
    EXPECT_NE(result.out.find("root                    A\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("bass                    G\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find(chord["numericNoteStringValue"].get<std::string>()),
              std::string::npos);
}

// SVG -------------------------------------------------------------------------------------------

void expectWellFormedXml(const std::string& document) {
    const std::string xmllint = "/usr/bin/xmllint";
    if (!std::filesystem::exists(xmllint)) {
        GTEST_SKIP() << "xmllint is not installed (scripts/setup installs libxml2-utils)";
    }
    const RunResult check = runProgram(xmllint, {"--noout", "-"}, document);
    EXPECT_EQ(check.exitCode, 0) << check.err;
    EXPECT_TRUE(check.err.empty()) << check.err;
}

TEST(TarvguitarShapesSvg, IsOneWellFormedDocument) {
    const RunResult result = runTool({"shapes", "C", "F", "--format", "svg"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.rfind("<?xml", 0), 0U);
    // One document; each diagram is a nested drawing of its own.
    EXPECT_EQ(occurrences(result.out, "<svg "),
              1U + occurrences(result.out, "class=\"chord-diagram\""));
    expectWellFormedXml(result.out);
}

TEST(TarvguitarShapesSvg, HoldsOneDiagramPerShape) {
    const json shapes = onlyJson(runTool({"shapes", "C", "--format", "json"}))["shapes"];
    const RunResult svg = runTool({"shapes", "C", "--format", "svg"});
    ASSERT_EQ(svg.exitCode, 0);
    EXPECT_EQ(occurrences(svg.out, "class=\"diagram\""), shapes.size());
    EXPECT_EQ(occurrences(svg.out, "class=\"fret-text\""), shapes.size());
    EXPECT_NE(svg.out.find(">x,3,2,0,1,0</text>"), std::string::npos);

    const RunResult limited = runTool({"shapes", "C", "G", "--format", "svg", "--limit", "4"});
    EXPECT_EQ(occurrences(limited.out, "class=\"diagram\""), 8U);
    EXPECT_EQ(occurrences(limited.out, "class=\"title\""), 2U);
}

TEST(TarvguitarShapesSvg, DrawsTheBarreNutAndMarkersOfAShape) {
    const RunResult f = runTool({"notation", "1,3,3,2,1,1", "--format", "svg"});
    EXPECT_EQ(occurrences(f.out, "class=\"diagram\""), 1U);
    EXPECT_EQ(occurrences(f.out, "class=\"barre\""), 1U);
    EXPECT_EQ(occurrences(f.out, "class=\"dot\""), 3U);
    EXPECT_EQ(occurrences(f.out, "class=\"nut\""), 1U);

    const RunResult c = runTool({"notation", "x,3,2,0,1,0", "--format", "svg"});
    EXPECT_EQ(occurrences(c.out, "class=\"muted\""), 1U);
    EXPECT_EQ(occurrences(c.out, "class=\"open\""), 2U);
    EXPECT_EQ(occurrences(c.out, "class=\"dot\""), 3U);

    const RunResult up = runTool({"notation", "x,5,7,7,7,5", "--format", "svg"});
    EXPECT_EQ(occurrences(up.out, "class=\"nut\""), 0U);
    EXPECT_NE(up.out.find(">5fr</text>"), std::string::npos);
    expectWellFormedXml(up.out);
}

TEST(TarvguitarShapesSvg, ChordWithoutPlayableShapeHasNoDiagram) {
    const RunResult result = runTool({"shapes", "C", "--frets", "0", "--format", "svg"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(occurrences(result.out, "class=\"diagram\""), 0U);
    EXPECT_NE(result.out.find("no playable shape"), std::string::npos);
    expectWellFormedXml(result.out);
}

TEST(TarvguitarShapesSvg, EscapesTextsFromTheCommandLine) {
    const RunResult result =
        runTool({"shapes", "E", "--tuning", "E2 A2 D3 G3 B3 E4", "--custom-name",
                 "<Mine> & \"yours\"", "--format", "svg", "--limit", "1"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("&lt;Mine&gt; &amp; &quot;yours&quot;"), std::string::npos);
    expectWellFormedXml(result.out);
}

// Errors ----------------------------------------------------------------------------------------

void expectOneErrorLineNaming(const RunResult& result, const std::string& name) {
    EXPECT_EQ(result.exitCode, 2);
    const std::vector<std::string> errorLines = textLines(result.err);
    ASSERT_EQ(errorLines.size(), 1U) << result.err;
    EXPECT_NE(errorLines.front().find(name), std::string::npos) << result.err;
}

TEST(TarvguitarErrors, UnreadableChordSymbolExitsTwoAndOtherChordsAreStillAnswered) {
    const RunResult result = runTool({"shapes", "C", "Hzz7", "F", "--format", "json"});
    expectOneErrorLineNaming(result, "\"Hzz7\"");
    const std::vector<json> objects = jsonLines(result.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["chord"]["symbol"], "C");
    EXPECT_EQ(objects[1]["chord"]["symbol"], "F");
}

TEST(TarvguitarErrors, UnreadableChordSymbolInTextOutputStillAnswersTheOthers) {
    const RunResult result = runTool({"shapes", "Qm", "G", "--limit", "1"});
    expectOneErrorLineNaming(result, "\"Qm\"");
    EXPECT_EQ(result.out.rfind("G: 1 of ", 0), 0U) << result.out;
}

TEST(TarvguitarErrors, UnreadableChordSymbolFromStandardInputExitsTwo) {
    const RunResult result =
        runTool({"shapes", "-", "--format", "json", "--limit", "1"}, "C\nnot a chord\nG\n");
    expectOneErrorLineNaming(result, "\"not a chord\"");
    EXPECT_EQ(jsonLines(result.out).size(), 2U);
}

TEST(TarvguitarErrors, UnreadableChordSymbolOfTheChordCommandExitsTwo) {
    const RunResult result = runTool({"chord", "C", "Xyz", "--format", "json"});
    expectOneErrorLineNaming(result, "\"Xyz\"");
    EXPECT_EQ(jsonLines(result.out).size(), 1U);
}

TEST(TarvguitarErrors, UnreadableSvgChordLeavesAWellFormedDocumentOfTheOthers) {
    const RunResult result = runTool({"shapes", "C", "Hzz", "--format", "svg", "--limit", "2"});
    expectOneErrorLineNaming(result, "\"Hzz\"");
    EXPECT_EQ(occurrences(result.out, "class=\"diagram\""), 2U);
    expectWellFormedXml(result.out);
}

TEST(TarvguitarErrors, UnreadableTuningPitchExitsTwo) {
    const RunResult result = runTool({"shapes", "C", "--tuning", "E2 A2 Q3"});
    expectOneErrorLineNaming(result, "\"Q3\"");
    EXPECT_TRUE(result.out.empty());
}

TEST(TarvguitarErrors, TuningWithoutOctavesExitsTwo) {
    expectOneErrorLineNaming(runTool({"shapes", "C", "--tuning", "EADGBE"}), "\"EADGBE\"");
}

TEST(TarvguitarErrors, TuningWithoutStringsExitsTwo) {
    expectOneErrorLineNaming(runTool({"shapes", "C", "--tuning", ""}), "no strings");
    expectOneErrorLineNaming(runTool({"shapes", "C", "--tuning", " , "}), "no strings");
}

std::string repeatedPitches(std::size_t count) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) {
        text += index == 0 ? "E2" : " E2";
    }
    return text;
}

std::string repeatedFrets(std::size_t count) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) {
        text += index == 0 ? "x" : ",x";
    }
    return text;
}

TEST(TarvguitarErrors, TuningOfMoreThan255StringsExitsTwo) {
    expectOneErrorLineNaming(runTool({"shapes", "C", "--tuning", repeatedPitches(256)}), "256");
}

TEST(TarvguitarErrors, TuningOfSixteenStringsIsAccepted) {
    const RunResult result = runTool(
        {"notation", repeatedFrets(16), "--tuning", repeatedPitches(16), "--format", "json"});
    const json object = onlyJson(result);
    EXPECT_EQ(object["tuning"]["pitches"].size(), 16U);
}

TEST(TarvguitarErrors, FretCountOutside0To255ExitsTwo) {
    for (const char* frets : {"256", "-1", "many"}) {
        const RunResult result = runTool({"shapes", "C", "--frets", frets});
        expectOneErrorLineNaming(result, "--frets");
        EXPECT_TRUE(result.out.empty());
    }
    EXPECT_EQ(runTool({"shapes", "C", "--frets", "255", "--limit", "1"}).exitCode, 0);
}

TEST(TarvguitarErrors, CapoOutside0To255ExitsTwo) {
    for (const char* capo : {"256", "-1"}) {
        expectOneErrorLineNaming(runTool({"shapes", "C", "--capo", capo}), "--capo");
    }
    EXPECT_EQ(runTool({"shapes", "C", "--capo", "255", "--limit", "1"}).exitCode, 0);
}

TEST(TarvguitarErrors, UnreadableFretTextExitsTwoAndOtherTextsAreStillAnswered) {
    const RunResult result = runTool({"notation", "1,2,y", "x,3,2,0,1,0", "--format", "json"});
    expectOneErrorLineNaming(result, "\"1,2,y\"");
    const std::vector<json> objects = jsonLines(result.out);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0]["notation"], "x,3,2,0,1,0");
}

TEST(TarvguitarErrors, FretTextsTheNotationWouldMisreadAreRejected) {
    // The notation reads these leniently (as 0 or with a wrapped fret); the tool refuses them.
    for (const char* text : {"x,3,,0,1,0", "x,3,2a,0,1,0", "x,-1,2,0,1,0", "x,3,2,0,1,128", ""}) {
        const RunResult result = runTool({"notation", text});
        EXPECT_EQ(result.exitCode, 2) << text;
        EXPECT_EQ(textLines(result.err).size(), 1U) << text;
    }
}

TEST(TarvguitarErrors, FretTextThatDoesNotFitTheTuningExitsTwo) {
    expectOneErrorLineNaming(runTool({"notation", "x,3,2,0,1", "--tuning", "E2 A2 D3 G3 B3 E4"}),
                             "6");
    expectOneErrorLineNaming(runTool({"notation", "x,3,2,0,1,13", "--frets", "12"}), "12");
}

TEST(TarvguitarErrors, MissingCommandOrArgumentExitsTwo) {
    EXPECT_EQ(textLines(runTool({}).err).size(), 1U);
    EXPECT_EQ(runTool({}).exitCode, 2);
    EXPECT_EQ(runTool({"shapes"}).exitCode, 2);
    EXPECT_EQ(runTool({"shapes", "C", "--format", "pdf"}).exitCode, 2);
    EXPECT_EQ(runTool({"chord", "C", "--format", "svg"}).exitCode, 2);
}

TEST(TarvguitarHelp, EveryCommandHasHelp) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"shapes", "--help"},
          std::vector<std::string>{"notation", "--help"},
          std::vector<std::string>{"chord", "--help"},
          std::vector<std::string>{"instruments", "--help"},
          std::vector<std::string>{"build-cache", "--help"}}) {
        const RunResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments.front();
        EXPECT_NE(result.out.find("Usage:"), std::string::npos) << result.out;
    }
    EXPECT_NE(runTool({"shapes", "--help"}).out.find("--tuning"), std::string::npos);
}

// The shape cache ----------------------------------------------------------------------------

TEST(TarvguitarShapesCache, WellKnownShapesComeFirstFromTheShippedFile) {
    const json c =
        onlyJson(runTool({"shapes", "C", "--rank", "spec", "--format", "json"}))["shapes"];
    ASSERT_FALSE(c.empty());
    EXPECT_EQ(c.front()["frets"], "x,3,2,0,1,0");
    for (const json& shape : c) {
        EXPECT_EQ(shape["badness"], 0) << shape["frets"];
    }
    // The well-known shape of Db is not the one generation ranks best.
    const json db =
        onlyJson(runTool({"shapes", "Db", "--rank", "spec", "--format", "json"}))["shapes"];
    const json generated = onlyJson(
        runTool({"shapes", "Db", "--rank", "spec", "--uncached", "--format", "json"}))["shapes"];
    ASSERT_FALSE(db.empty());
    ASSERT_FALSE(generated.empty());
    EXPECT_EQ(db.front()["frets"], "x,4,3,1,2,1");
    EXPECT_NE(generated.front()["frets"], "x,4,3,1,2,1");
}

TEST(TarvguitarShapesCache, UncachedShapesCarryTheirScores) {
    const json shapes = onlyJson(
        runTool({"shapes", "C", "--rank", "spec", "--uncached", "--format", "json"}))["shapes"];
    ASSERT_FALSE(shapes.empty());
    EXPECT_GT(shapes.front()["badness"].get<std::uint64_t>(), 0U);
}

TEST(TarvguitarShapesCache, TuningWithoutShippedFileIsGenerated) {
    const json shapes = onlyJson(runTool({"shapes", "C", "--rank", "spec", "--tuning",
                                          "C2 G2 D3 A3 E4 G4", "--format", "json"}))["shapes"];
    ASSERT_FALSE(shapes.empty());
    EXPECT_GT(shapes.front()["badness"].get<std::uint64_t>(), 0U);
    EXPECT_LE(shapes.size(), 20U);
}

TEST(TarvguitarShapesCache, CachedAnswerMayHoldMoreThanTwentyShapesAndLimitApplies) {
    const json all =
        onlyJson(runTool({"shapes", "A11", "--rank", "spec", "--format", "json"}))["shapes"];
    EXPECT_GT(all.size(), 20U);
    const json limited = onlyJson(
        runTool({"shapes", "A11", "--rank", "spec", "--limit", "3", "--format", "json"}))["shapes"];
    ASSERT_EQ(limited.size(), 3U);
    for (std::size_t index = 0; index < limited.size(); ++index) {
        EXPECT_EQ(limited[index]["frets"], all[index]["frets"]);
    }
    const RunResult text = runTool({"shapes", "A11", "--rank", "spec", "--limit", "3"});
    EXPECT_EQ(text.out.rfind("A11: 3 of " + std::to_string(all.size()) + " shapes", 0), 0U)
        << text.out;
}

TEST(TarvguitarShapesCache, ForcedGenerationMergesTheGeneratedShapesIntoTheCachedOnes) {
    const std::vector<std::string> cached = fretTexts(
        onlyJson(runTool({"shapes", "Am/E", "--rank", "spec", "--format", "json"}))["shapes"]);
    const std::vector<std::string> forced = fretTexts(onlyJson(
        runTool({"shapes", "Am/E", "--rank", "spec", "--force", "--format", "json"}))["shapes"]);
    const std::vector<std::string> generated = fretTexts(onlyJson(
        runTool({"shapes", "Am/E", "--rank", "spec", "--uncached", "--format", "json"}))["shapes"]);
    ASSERT_FALSE(cached.empty());
    ASSERT_FALSE(generated.empty());
    // The shipped shapes keep their places; the generated ones that they lack follow them.
    std::vector<std::string> expected = cached;
    std::vector<std::string> added;
    for (const std::string& frets : generated) {
        if (std::find(cached.begin(), cached.end(), frets) == cached.end()) {
            added.push_back(frets);
        }
    }
    ASSERT_FALSE(added.empty());
    ASSERT_GE(forced.size(), cached.size());
    EXPECT_EQ(std::vector<std::string>(forced.begin(), forced.begin() + std::ssize(cached)),
              cached);
    std::vector<std::string> rest(forced.begin() + std::ssize(cached), forced.end());
    std::sort(rest.begin(), rest.end());
    std::sort(added.begin(), added.end());
    EXPECT_EQ(rest, added);

    // Where no file holds the chord, forcing generates it as the cache would.
    const json forcedElsewhere =
        onlyJson(runTool({"shapes", "C", "--rank", "spec", "--tuning", "C2 G2 D3 A3 E4 G4",
                          "--force", "--format", "json"}))["shapes"];
    const json uncachedElsewhere =
        onlyJson(runTool({"shapes", "C", "--rank", "spec", "--tuning", "C2 G2 D3 A3 E4 G4",
                          "--uncached", "--format", "json"}))["shapes"];
    EXPECT_EQ(fretTexts(forcedElsewhere), fretTexts(uncachedElsewhere));
}

TEST(TarvguitarShapesCache, ForceAndUncachedExcludeEachOther) {
    const RunResult result = runTool({"shapes", "C", "--rank", "spec", "--force", "--uncached"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(textLines(result.err).size(), 1U) << result.err;
}

/// The highest fret of a fret-number text, 0 when no string is fretted.
int highestFret(const std::string& frets) {
    std::istringstream components(frets);
    std::string component;
    int highest = 0;
    while (std::getline(components, component, ',')) {
        if (component != "x") {
            highest = std::max(highest, std::stoi(component));
        }
    }
    return highest;
}

TEST(TarvguitarShapesCache, CachedShapesBeyondTheNeckAreLeftOut) {
    const json all =
        onlyJson(runTool({"shapes", "C", "--rank", "spec", "--format", "json"}))["shapes"];
    const json shortNeck = onlyJson(
        runTool({"shapes", "C", "--rank", "spec", "--frets", "5", "--format", "json"}))["shapes"];
    ASSERT_FALSE(shortNeck.empty());
    EXPECT_LT(shortNeck.size(), all.size());
    EXPECT_EQ(shortNeck.front()["frets"], "x,3,2,0,1,0");
    for (const json& shape : shortNeck) {
        EXPECT_LE(highestFret(shape["frets"]), 5) << shape["frets"];
    }
    // With a capo the frets are counted from the capo.
    const json capo = onlyJson(runTool({"shapes", "C", "--rank", "spec", "--frets", "12", "--capo",
                                        "7", "--format", "json"}))["shapes"];
    EXPECT_EQ(fretTexts(capo), fretTexts(shortNeck));
}

TEST(TarvguitarShapesCache, UkuleleCachedAnswerStartsWithTheShapesPlayersLearnFirst) {
    const std::pair<const char*, const char*> expected[] = {
        {"C", "0,0,0,3"}, {"F", "2,0,1,0"}, {"Am", "2,0,0,0"}, {"G", "0,2,3,2"}};
    for (const auto& [chord, frets] : expected) {
        const json shapes = onlyJson(runTool({"shapes", chord, "--rank", "spec", "--tuning",
                                              "G4 C4 E4 A4", "--format", "json"}))["shapes"];
        ASSERT_FALSE(shapes.empty()) << chord;
        EXPECT_EQ(shapes.front()["frets"], frets) << chord;
        EXPECT_EQ(shapes.front()["badness"], 0) << chord;
        // The note string has no octaves: the low-G ukulele is answered from the same file.
        const json lowG = onlyJson(runTool({"shapes", chord, "--rank", "spec", "--tuning",
                                            "G3 C4 E4 A4", "--format", "json"}))["shapes"];
        EXPECT_EQ(fretTexts(lowG), fretTexts(shapes)) << chord;
    }
}

TEST(TarvguitarShapesCache, BanjoCachedAnswerKeepsTheShortStringOffTheFretsBelowItsStart) {
    for (const char* chord : {"G", "C", "D", "D7", "Em", "A", "F#m"}) {
        const json shapes = onlyJson(runTool({"shapes", chord, "--rank", "spec", "--tuning",
                                              "G4 D3 G3 B3 D4", "--format", "json"}))["shapes"];
        ASSERT_FALSE(shapes.empty()) << chord;
        EXPECT_EQ(shapes.front()["badness"], 0) << chord; // from the shipped file
        for (const json& shape : shapes) {
            const std::string frets = shape["frets"];
            const std::string fifth = frets.substr(0, frets.find(','));
            EXPECT_TRUE(fifth == "x" || fifth == "0" || std::stoi(fifth) > 5)
                << chord << " " << frets;
        }
    }
    const json g = onlyJson(runTool({"shapes", "G", "--rank", "spec", "--tuning", "G4 D3 G3 B3 D4",
                                     "--format", "json"}))["shapes"];
    ASSERT_FALSE(g.empty());
    EXPECT_EQ(g.front()["frets"], "0,0,0,0,0");
}

TEST(TarvguitarShapesCache, ShippedFilesAreFoundFromAnyWorkingDirectory) {
    // runTool starts the tool in a fresh, empty directory; the ukulele answer comes from the
    // shipped file (badness 0) all the same.
    const json object = onlyJson(
        runTool({"shapes", "Am", "--rank", "spec", "--tuning", "G4 C4 E4 A4", "--format", "json"}));
    EXPECT_EQ(object["tuning"]["asciiNoteString"], "GCEA");
    ASSERT_FALSE(object["shapes"].empty());
    EXPECT_EQ(object["shapes"].front()["frets"], "2,0,0,0");
    EXPECT_EQ(object["shapes"].front()["badness"], 0);
}

// Instruments from settings files ---------------------------------------------------------------

std::string toolData(const std::string& name) {
    return (std::filesystem::path(TARV_TOOL_TEST_DATA_DIR) / name).string();
}

TEST(TarvguitarInstruments, ListsTheSampleSettingsByDefault) {
    const RunResult result = runTool({"instruments"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.rfind("Guitar (22 frets)\n", 0), 0U) << result.out;
    EXPECT_NE(result.out.find("  Drop D       DADGBE        D2 A2 D3 G3 B3 E4\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("Ukulele (18 frets)\n  Standard  GCEA  G4 C4 E4 A4\n"),
              std::string::npos)
        << result.out;
}

TEST(TarvguitarInstruments, JsonWritesOneObjectPerInstrument) {
    const RunResult result = runTool(
        {"instruments", "--settings", toolData("settings-valid.plist"), "--format", "json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<json> instruments = jsonLines(result.out);
    ASSERT_EQ(instruments.size(), 2U);
    EXPECT_EQ(instruments[0]["name"], "Tenor Guitar");
    EXPECT_EQ(instruments[0]["frets"], 19);
    EXPECT_EQ(instruments[0]["capos"], json({"0", "1", "2"}));
    ASSERT_EQ(instruments[0]["tunings"].size(), 2U);
    EXPECT_EQ(instruments[0]["tunings"][1]["name"], "Chicago");
    EXPECT_EQ(instruments[0]["tunings"][1]["noteString"], "DGBE");
    EXPECT_EQ(instruments[0]["tunings"][1]["pitches"], json({"E4", "B3", "G3", "D3"}));
    EXPECT_TRUE(instruments[0]["tunings"][1]["stringOrderTransform"].is_null());
    EXPECT_EQ(instruments[1]["name"], "Bass VI");
}

TEST(TarvguitarInstruments, SettingsFileThatDoesNotDecodeExitsTwoWithTheDecodingError) {
    const RunResult missingKey =
        runTool({"instruments", "--settings", toolData("settings-missing-capo.plist")});
    expectOneErrorLineNaming(missingKey, "settings-missing-capo.plist");
    EXPECT_NE(missingKey.err.find("keyNotFound \"capo\" at tablature.instruments[0]"),
              std::string::npos)
        << missingKey.err;
    EXPECT_TRUE(missingKey.out.empty());

    const RunResult corrupt =
        runTool({"instruments", "--settings", toolData("settings-not-a-property-list.plist")});
    expectOneErrorLineNaming(corrupt, "dataCorrupted");

    const RunResult absent = runTool({"instruments", "--settings", toolData("absent.plist")});
    expectOneErrorLineNaming(absent, "No such file or directory");
}

json tuningOf(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{"shapes",   "C",    "--rank",  "spec",
                                 "--format", "json", "--limit", "1"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return onlyJson(runTool(all))["tuning"];
}

TEST(TarvguitarShapesInstrument, InstrumentTakesItsFirstTuningAndFretCount) {
    const json tuning = tuningOf({"--instrument", "Ukulele"});
    EXPECT_EQ(tuning["instrument"], "Ukulele");
    EXPECT_EQ(tuning["name"], "Standard");
    EXPECT_EQ(tuning["asciiNoteString"], "GCEA");
    EXPECT_EQ(tuning["pitches"], json({"A4", "E4", "C4", "G4"}));
    EXPECT_EQ(tuning["fretCount"], 18);
    EXPECT_EQ(tuning["capo"], 0);
}

TEST(TarvguitarShapesInstrument, TuningNameSelectsATuningOfTheInstrument) {
    const json baritone = tuningOf({"--instrument", "Ukulele", "--tuning-name", "Baritone"});
    EXPECT_EQ(baritone["asciiNoteString"], "DGBE");
    EXPECT_EQ(baritone["name"], "Baritone");
    // Without --instrument, the first instrument of the file.
    const json dropD = tuningOf({"--tuning-name", "Drop D"});
    EXPECT_EQ(dropD["instrument"], "Guitar");
    EXPECT_EQ(dropD["asciiNoteString"], "DADGBE");
    // Names are matched without regard to case when none is spelled exactly so.
    EXPECT_EQ(tuningOf({"--instrument", "ukulele", "--tuning-name", "BARITONE"})["name"],
              "Baritone");
}

TEST(TarvguitarShapesInstrument, SettingsFileGivesItsOwnInstruments) {
    const json tuning = tuningOf({"--settings", toolData("settings-valid.plist"), "--instrument",
                                  "Tenor Guitar", "--tuning-name", "Chicago"});
    EXPECT_EQ(tuning["instrument"], "Tenor Guitar");
    EXPECT_EQ(tuning["noteString"], "DGBE");
    EXPECT_EQ(tuning["fretCount"], 19);
    EXPECT_EQ(tuningOf({"--settings", toolData("settings-valid.plist")})["name"], "Standard");
}

TEST(TarvguitarShapesInstrument, FretsAndCapoApplyToTheInstrument) {
    const json tuning = tuningOf({"--instrument", "Mandolin", "--frets", "15", "--capo", "2"});
    EXPECT_EQ(tuning["fretCount"], 15);
    EXPECT_EQ(tuning["capo"], 2);
    EXPECT_EQ(tuning["asciiNoteString"], "GDAE");
}

TEST(TarvguitarShapesInstrument, TextNamesTheInstrumentBesideTheTuning) {
    const RunResult result = runTool({"shapes", "C", "--instrument", "Ukulele", "--limit", "1"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.rfind("C: 1 of ", 0), 0U) << result.out;
    EXPECT_NE(result.out.find(" shapes in Ukulele, Standard tuning (GCEA, 18 frets)\n"),
              std::string::npos)
        << result.out;
}

TEST(TarvguitarShapesInstrument, NotationShowsTheNotesOnTheInstrument) {
    const json object =
        onlyJson(runTool({"notation", "0003", "--instrument", "Ukulele", "--format", "json"}));
    EXPECT_EQ(object["tuning"]["instrument"], "Ukulele");
    EXPECT_EQ(object["shape"]["notes"], json({"C", "E", "C", "G"}));
}

TEST(TarvguitarShapesInstrument, UnknownInstrumentOrTuningExitsTwoNamingIt) {
    const RunResult instrument = runTool({"shapes", "C", "--instrument", "Banjolele"});
    expectOneErrorLineNaming(instrument, "\"Banjolele\"");
    EXPECT_NE(instrument.err.find("\"Mandolin\""), std::string::npos) << instrument.err;
    EXPECT_TRUE(instrument.out.empty());

    const RunResult tuning =
        runTool({"shapes", "C", "--instrument", "Mandolin", "--tuning-name", "Octave"});
    expectOneErrorLineNaming(tuning, "\"Octave\"");
    EXPECT_NE(tuning.err.find("\"Standard\""), std::string::npos) << tuning.err;
}

TEST(TarvguitarShapesInstrument, SettingsFileThatDoesNotLoadExitsTwo) {
    expectOneErrorLineNaming(
        runTool({"shapes", "C", "--settings", toolData("settings-missing-capo.plist")}),
        "keyNotFound");
    expectOneErrorLineNaming(runTool({"notation", "x32010", "--settings",
                                      toolData("settings-not-a-property-list.plist")}),
                             "dataCorrupted");
    expectOneErrorLineNaming(
        runTool({"shapes", "C", "--settings", toolData("absent.plist"), "--instrument", "Guitar"}),
        "absent.plist");
}

TEST(TarvguitarShapesInstrument, ValuesTheConversionWouldStopOnAreReportedInstead) {
    const std::string settings = toolData("settings-out-of-range.plist");
    const std::vector<std::pair<std::string, std::string>> cases{
        {"Unreadable Note", "\"H\""}, {"High Octave", "128"},  {"Low Octave", "-129"},
        {"Long Neck", "256"},         {"Negative Neck", "-1"}, {"No Strings", "no strings"},
        {"No Tunings", "no tunings"},
    };
    for (const auto& [instrument, named] : cases) {
        const RunResult result =
            runTool({"shapes", "C", "--settings", settings, "--instrument", instrument});
        expectOneErrorLineNaming(result, named);
        EXPECT_NE(result.err.find("\"" + instrument + "\""), std::string::npos) << result.err;
        EXPECT_TRUE(result.out.empty()) << instrument;
    }
    // A bad tuning is refused only when it is chosen.
    expectOneErrorLineNaming(runTool({"shapes", "C", "--settings", settings, "--instrument", "Good",
                                      "--tuning-name", "Bad"}),
                             "\"H\"");
    EXPECT_EQ(
        runTool({"shapes", "C", "--settings", settings, "--instrument", "Good", "--limit", "1"})
            .exitCode,
        0);
}

TEST(TarvguitarShapesInstrument, ValuesAtTheEndsOfTheirRangesAreAccepted) {
    const json tuning = tuningOf(
        {"--settings", toolData("settings-out-of-range.plist"), "--instrument", "Extremes"});
    EXPECT_EQ(tuning["fretCount"], 255);
    EXPECT_EQ(tuning["pitches"], json({"C127", "C-128"}));
}

TEST(TarvguitarShapesInstrument, InstrumentOptionsExcludeAPlainTuning) {
    for (const char* option : {"--instrument", "--tuning-name", "--settings"}) {
        const RunResult result =
            runTool({"shapes", "C", "--tuning", "E2 A2 D3 G3 B3 E4", option, "Guitar"});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_EQ(textLines(result.err).size(), 1U) << result.err;
    }
    EXPECT_EQ(runTool({"shapes", "C", "--custom-name", "Mine"}).exitCode, 2);
}

// build-cache -----------------------------------------------------------------------------------

const std::filesystem::path kShapesDirectory =
    std::filesystem::path(TARV_SHARED_DATA_DIR) / "chord-shapes";
const std::filesystem::path kResourceDirectory =
    std::filesystem::path(TARV_SOURCE_DIR) / "resources";

/// The note strings of the built-in tunings, as `build-cache --list` lists them.
const std::vector<std::string> kListedTunings{
    "EADGBE", "DADGBE", "DADGAD", "DGDGBD", "DADF+AD", "E-A-D-G-B-E-", "BEADGBE", "EADG",
    "BEADG",  "GCEA",   "GCEA",   "ADF+B",  "DGBE",    "GDAE",         "GDGBD"};

/// One file per note string: the low-G ukulele shares the file of the re-entrant one.
const std::vector<std::string> kShippedFiles{
    "EADGBE", "DADGBE", "DADGAD", "DGDGBD", "DADF+AD", "E-A-D-G-B-E-", "BEADGBE",
    "EADG",   "BEADG",  "GCEA",   "ADF+B",  "DGBE",    "GDAE",         "GDGBD"};

#define SKIP_WITHOUT_WELL_KNOWN_SHAPES()                                                           \
    if (!std::filesystem::is_directory(kShapesDirectory)) {                                        \
        GTEST_SKIP() << "no well-known shapes at " << kShapesDirectory;                            \
    }

RunResult buildCache(const std::vector<std::string>& arguments) {
    std::vector<std::string> all{"build-cache", "--shapes-dir", kShapesDirectory.string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runTool(all);
}

TEST(TarvguitarBuildCache, RebuildingGivesTheShippedFiles) {
    SKIP_WITHOUT_WELL_KNOWN_SHAPES();
    const RunResult result = buildCache({"--check", kResourceDirectory.string()});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.err.empty()) << result.err;
    EXPECT_EQ(occurrences(result.out, "up to date: "), kShippedFiles.size() + 1) << result.out;
}

TEST(TarvguitarBuildCache, WritesTheSameBytesOnEveryRun) {
    SKIP_WITHOUT_WELL_KNOWN_SHAPES();
    ScratchDirectory first;
    ScratchDirectory second;
    ASSERT_EQ(buildCache({"--output", first.path().string()}).exitCode, 0);
    ASSERT_EQ(buildCache({"--output", second.path().string()}).exitCode, 0);
    std::vector<std::string> names{"curatedshapes.json"};
    for (const std::string& noteString : kShippedFiles) {
        names.push_back("shapecaches/" + noteString + ".shapecache");
    }
    for (const std::string& name : names) {
        const std::string bytes = readFile(first.path() / name);
        EXPECT_FALSE(bytes.empty()) << name;
        EXPECT_EQ(bytes, readFile(second.path() / name)) << name;
    }
    std::size_t fileCount = 0;
    for (const auto& entry : std::filesystem::directory_iterator(first.path() / "shapecaches")) {
        EXPECT_EQ(entry.path().extension(), ".shapecache");
        ++fileCount;
    }
    EXPECT_EQ(fileCount, kShippedFiles.size());
    EXPECT_EQ(buildCache({"--check", first.path().string()}).exitCode, 0);
}

TEST(TarvguitarBuildCache, WritesTheCuratedShapesAsAListOfTuningDictionaries) {
    SKIP_WITHOUT_WELL_KNOWN_SHAPES();
    ScratchDirectory output;
    ASSERT_EQ(buildCache({"--output", output.path().string(), "--only", "EADGBE"}).exitCode, 0);
    const json curated = json::parse(readFile(output.path() / "curatedshapes.json"));
    ASSERT_TRUE(curated.is_array());
    ASSERT_EQ(curated.size(), 1U);
    EXPECT_EQ(curated[0]["asciiNoteString"], "EADGBE");
    const json& chords = curated[0]["chords"];
    ASSERT_FALSE(chords.empty());
    const auto amOverG = std::find_if(chords.begin(), chords.end(),
                                      [](const json& chord) { return chord["name"] == "Am/G"; });
    ASSERT_NE(amOverG, chords.end());
    // 3,x,2,2,1,0: string 0 first, relative to base fret 0.
    EXPECT_EQ((*amOverG)["shapes"],
              json::parse(R"([{"fret": 0, "indicators": [0, 1, 2, 2, -1, 3]}])"));
    EXPECT_TRUE(std::filesystem::exists(output.path() / "shapecaches" / "EADGBE.shapecache"));
    EXPECT_FALSE(std::filesystem::exists(output.path() / "shapecaches" / "GCEA.shapecache"));
}

TEST(TarvguitarBuildCache, CheckNamesEveryFileThatDiffersOrIsMissing) {
    SKIP_WITHOUT_WELL_KNOWN_SHAPES();
    ScratchDirectory copy;
    std::filesystem::copy(kResourceDirectory / "shapecaches", copy.path() / "shapecaches");
    std::filesystem::copy_file(kResourceDirectory / "curatedshapes.json",
                               copy.path() / "curatedshapes.json");
    std::filesystem::copy_file(copy.path() / "shapecaches" / "EADGBE.shapecache",
                               copy.path() / "shapecaches" / "GCEA.shapecache",
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::remove(copy.path() / "shapecaches" / "DGBE.shapecache");
    std::ofstream(copy.path() / "shapecaches" / "GDAE.shapecache", std::ios::binary)
        << "{\"asciiNoteString\": \"GDAE\", \"chords\": []}";

    const RunResult result = buildCache({"--check", copy.path().string()});
    EXPECT_EQ(result.exitCode, 1);
    const std::vector<std::string> errors = textLines(result.err);
    ASSERT_EQ(errors.size(), 3U) << result.err;
    EXPECT_NE(errors[0].find("GCEA.shapecache\" is not what build-cache writes"), std::string::npos)
        << errors[0];
    EXPECT_NE(errors[1].find("DGBE.shapecache\" is missing"), std::string::npos) << errors[1];
    EXPECT_NE(errors[2].find("GDAE.shapecache\" does not decompress"), std::string::npos)
        << errors[2];
}

TEST(TarvguitarBuildCache, ListsTheBuiltInTunings) {
    const RunResult result = runTool({"build-cache", "--list"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<std::string> listed = textLines(result.out);
    ASSERT_EQ(listed.size(), kListedTunings.size());
    for (std::size_t index = 0; index < listed.size(); ++index) {
        EXPECT_EQ(listed[index].rfind(kListedTunings[index] + " ", 0), 0U) << listed[index];
    }
    for (const char* tuning :
         {"Ukulele, Standard: G4 C4 E4 A4, 18 frets", "Ukulele, Low G: G3 C4 E4 A4, 18 frets",
          "Ukulele, D Tuning: A4 D4 F#4 B4, 18 frets", "Ukulele, Baritone: D3 G3 B3 E4, 18 frets",
          "Mandolin, Standard: G3 D4 A4 E5, 20 frets", "Banjo, Open G: G4 D3 G3 B3 D4, 22 frets",
          "Bass, Standard: E1 A1 D2 G2, 20 frets",
          "5-String Bass, Standard: B0 E1 A1 D2 G2, 24 frets",
          "7-String Guitar, Standard: B1 E2 A2 D3 G3 B3 E4, 24 frets"}) {
        EXPECT_NE(result.out.find(tuning), std::string::npos) << tuning;
    }
}

TEST(TarvguitarBuildCache, EveryListedTuningHasAShippedFile) {
    const RunResult result = runTool({"build-cache", "--list"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<std::string> listed = textLines(result.out);
    ASSERT_FALSE(listed.empty());
    for (const std::string& line : listed) {
        const std::string noteString = line.substr(0, line.find(' '));
        EXPECT_TRUE(std::filesystem::is_regular_file(kResourceDirectory / "shapecaches" /
                                                     (noteString + ".shapecache")))
            << line;
    }
}

TEST(TarvguitarBuildCache, BadInputExitsTwo) {
    expectOneErrorLineNaming(runTool({"build-cache"}), "--output");
    ScratchDirectory output;
    expectOneErrorLineNaming(
        runTool({"build-cache", "--shapes-dir", (output.path() / "none").string(), "--output",
                 output.path().string()}),
        "none");
    expectOneErrorLineNaming(
        runTool({"build-cache", "--only", "XYZ", "--output", output.path().string()}), "\"XYZ\"");
    EXPECT_FALSE(std::filesystem::exists(output.path() / "shapecaches"));
    EXPECT_EQ(runTool({"build-cache", "--output", "a", "--check", "b"}).exitCode, 2);

    ScratchDirectory shapes;
    std::ofstream(shapes.path() / "broken.json") << "{\"tuning\": [\"E2\"], \"chords\": [{}]}";
    expectOneErrorLineNaming(runTool({"build-cache", "--shapes-dir", shapes.path().string(),
                                      "--output", output.path().string()}),
                             "broken.json");
    EXPECT_FALSE(std::filesystem::exists(output.path() / "shapecaches"));
}

TEST(TarvguitarRankingData, GivesEveryVoicingItsFeaturesAndFamiliarForms) {
    SKIP_WITHOUT_WELL_KNOWN_SHAPES();
    const RunResult result = runTool({"ranking-data", "--shapes-dir", kShapesDirectory.string()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // A value for every term the shipped model weighs.
    const std::size_t terms = json::parse(readFile(kResourceDirectory / "ranking" /
                                                   "model.json"))["families"]["long"]["weights"]
                                  .size();
    std::istringstream lines(result.out);
    std::string line;
    std::size_t chords = 0;
    std::size_t found = 0;
    bool sawC7 = false;
    while (std::getline(lines, line)) {
        const json chord = json::parse(line);
        ++chords;
        const std::size_t voicings = chord["features"].size();
        for (const char* perVoicing : {"forms", "openShapes", "frettedForms", "voicings"}) {
            EXPECT_EQ(chord[perVoicing].size(), voicings) << chord["name"] << " " << perVoicing;
        }
        for (const json& features : chord["features"]) {
            ASSERT_EQ(features.size(), terms);
        }
        if (chord["found"].get<bool>()) {
            ++found;
            const std::size_t index = chord["wellKnown"].get<std::size_t>();
            ASSERT_LT(index, voicings);
            EXPECT_EQ(chord["voicings"][index], chord["frets"]);
            EXPECT_EQ(chord["frettedForms"][index], chord["frettedForm"]);
        }
        if (chord["instrument"] == "guitar" && chord["name"] == "C7") {
            sawC7 = true;
            EXPECT_EQ(chord["frets"], "x,3,2,3,1,0");
            EXPECT_EQ(chord["form"], "x,3,2,3,1,0");
            EXPECT_EQ(chord["openShape"], "@x,3,2,3,1,0");
            EXPECT_EQ(chord["frettedForm"], "~x,2,1,2,0,x");
        }
    }
    EXPECT_GT(chords, 500U);
    EXPECT_GT(found, chords * 9 / 10);
    EXPECT_TRUE(sawC7);

    // Ranked with the shipped weights: where each well-known shape lands among the first 20 (0
    // when it is not there). Guitar and ukulele C come first.
    const RunResult check =
        runTool({"ranking-data", "--shapes-dir", kShapesDirectory.string(), "--check",
                 (kResourceDirectory / "ranking" / "model.json").string(), "--roots", "0"});
    ASSERT_EQ(check.exitCode, 0) << check.err;
    std::istringstream ranked(check.out);
    std::size_t cMajors = 0;
    while (std::getline(ranked, line)) {
        const json chord = json::parse(line);
        EXPECT_EQ(chord["root"], 0);
        EXPECT_GE(chord["rank"].get<int>(), 0);
        EXPECT_LE(chord["rank"].get<int>(), 20);
        if (chord["name"] == "C") {
            ++cMajors;
            if (chord["instrument"] == "guitar" || chord["instrument"] == "ukulele") {
                EXPECT_EQ(chord["rank"], 1) << chord["instrument"];
            }
        }
    }
    EXPECT_EQ(cMajors, 4U);
}

} // namespace

namespace {

std::string firstFrets(const std::vector<std::string>& arguments) {
    const RunResult result = runTool(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const json shapes = onlyJson(result)["shapes"];
    return shapes.empty() ? std::string() : shapes.front()["frets"].get<std::string>();
}

} // namespace

TEST(TarvguitarPlayable, UkuleleFirstShapesAreTheOnesPlayersLearnFirst) {
    const std::pair<const char*, const char*> expected[] = {
        {"C", "0,0,0,3"}, {"F", "2,0,1,0"}, {"Am", "2,0,0,0"}, {"G", "0,2,3,2"}};
    for (const auto& [chord, frets] : expected) {
        EXPECT_EQ(firstFrets({"shapes", chord, "--tuning", "G4 C4 E4 A4", "--format", "json"}),
                  frets)
            << chord;
        EXPECT_EQ(firstFrets({"shapes", chord, "--instrument", "Ukulele", "--format", "json"}),
                  frets)
            << chord;
    }
}

TEST(TarvguitarPlayable, SmallInstrumentsGetTheirBooksNinthsAndDiminishedChords) {
    // Ukulele and mandolin books print ninths without their root and "dim" as the diminished
    // seventh chord; a guitar keeps the root in the bass and the triad first.
    const std::string ukulele = "G4 C4 E4 A4";
    const std::string mandolin = "G3 D4 A4 E5";
    const std::vector<std::tuple<std::string, std::string, std::string>> expected = {
        {"C9", ukulele, "0,2,0,1"},    {"G7", ukulele, "0,2,1,2"},
        {"E7", ukulele, "1,2,0,2"},    {"Cdim", ukulele, "2,3,2,3"},
        {"Adim", mandolin, "2,1,3,2"}, {"Cdim", "E2 A2 D3 G3 B3 E4", "x,3,4,5,4,x"}};
    for (const auto& [chord, strings, frets] : expected) {
        EXPECT_EQ(firstFrets({"shapes", chord, "--tuning", strings, "--format", "json"}), frets)
            << chord << " on " << strings;
    }
}

TEST(TarvguitarPlayable, GuitarFirstShapesAreTheBeginnersBookOnes) {
    const std::pair<const char*, const char*> expected[] = {
        {"C", "x,3,2,0,1,0"}, {"G", "3,2,0,0,0,3"},  {"D", "x,x,0,2,3,2"},  {"A", "x,0,2,2,2,0"},
        {"E", "0,2,2,1,0,0"}, {"Am", "x,0,2,2,1,0"}, {"Em", "0,2,2,0,0,0"}, {"Dm", "x,x,0,2,3,1"},
        {"F", "1,3,3,2,1,1"}, {"Bm", "x,2,4,4,3,2"}};
    for (const auto& [chord, frets] : expected) {
        EXPECT_EQ(firstFrets({"shapes", chord, "--format", "json"}), frets) << chord;
    }
}

TEST(TarvguitarPlayable, ShapesShowRankAndScoreNeverBadnessZero) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"shapes", "C", "--limit", "3"},
          std::vector<std::string>{"shapes", "C", "--rank", "spec", "--limit", "3"}}) {
        const RunResult result = runTool(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_NE(result.out.find("rank 1, score "), std::string::npos) << result.out;
        EXPECT_EQ(result.out.find("badness 0"), std::string::npos) << result.out;
    }
}

TEST(TarvguitarPlayable, ExplainListsTheTermsOfEachScore) {
    const RunResult result = runTool({"shapes", "C", "--limit", "2", "--explain"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("  1. x,3,2,0,1,0  rank 1, score "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("fingers -,3,2,-,1,-"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("familiarForm "), std::string::npos) << result.out;
}

TEST(TarvguitarPlayable, AnyTuningIsRankedWithoutAShippedFile) {
    EXPECT_EQ(
        firstFrets({"shapes", "D", "--tuning", "D2 A2 D3 G3 A3 D4", "--format", "json"}).empty(),
        false);
    const json shapes = onlyJson(runTool(
        {"shapes", "C13", "--tuning", "B1 E2 A2 D3 G3 B3 E4 A4", "--format", "json"}))["shapes"];
    EXPECT_FALSE(shapes.empty());
    EXPECT_LE(shapes.size(), 20U);
}

TEST(TarvguitarPlayable, SpecRankingAnswersThroughTheCacheAndUncachedThroughTheGenerator) {
    const json spec =
        onlyJson(runTool({"shapes", "G", "--rank", "spec", "--format", "json"}))["shapes"];
    const json uncached =
        onlyJson(runTool({"shapes", "G", "--uncached", "--format", "json"}))["shapes"];
    ASSERT_FALSE(spec.empty());
    ASSERT_FALSE(uncached.empty());
    EXPECT_EQ(spec.front()["badness"], 0);
    EXPECT_GT(uncached.back()["badness"].get<std::uint64_t>(), 0U);
    EXPECT_LE(uncached.size(), 20U);
}

TEST(TarvguitarErrors, LowerCaseRootIsRefusedWithASuggestion) {
    const RunResult result = runTool({"shapes", "am7"});
    expectOneErrorLineNaming(result, "\"am7\"");
    EXPECT_NE(result.err.find("did you mean \"Am7\"?"), std::string::npos) << result.err;
}

TEST(TarvguitarErrors, LimitMustBeAPositiveNumber) {
    for (const char* limit : {"-3", "1001", "many"}) {
        const RunResult result = runTool({"shapes", "C", "--limit", limit});
        EXPECT_EQ(result.exitCode, 2) << limit;
        EXPECT_TRUE(result.out.empty()) << limit;
        EXPECT_NE(result.err.find("--limit"), std::string::npos) << result.err;
    }
}

TEST(TarvguitarErrors, TuningsOfMoreStringsThanTheToolHandlesAreRefused) {
    std::string pitches;
    for (int i = 0; i < 17; ++i) {
        pitches += (i == 0 ? "" : " ") + std::string("E2");
    }
    const RunResult result = runTool({"shapes", "C", "--tuning", pitches});
    expectOneErrorLineNaming(result, "17 strings; at most 16 are read");
    EXPECT_EQ(result.exitCode, 2);
}
