// End-to-end tests of the tarvguitar command-line tool: each test runs the built binary and reads
// what it writes.

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
#include <optional>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

using nlohmann::json;

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A scratch directory, removed with its contents at the end of the scope.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tarv-tool-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
        }
        _path = pattern;
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    const std::filesystem::path& path() const { return _path; }

private:
    std::filesystem::path _path;
};

/// Runs `program` with `arguments` in a fresh working directory, `input` on standard input, and
/// collects its exit status and both outputs. The shape cache's debug log is switched off so that
/// standard error holds only what the tool itself reports.
RunResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                     const std::string& input = "") {
    ScratchDirectory scratch;
    const std::string inputPath = (scratch.path() / "stdin").string();
    const std::string outPath = (scratch.path() / "stdout").string();
    const std::string errPath = (scratch.path() / "stderr").string();
    std::ofstream(inputPath, std::ios::binary) << input;

    std::vector<std::string> argumentStorage{program};
    argumentStorage.insert(argumentStorage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : argumentStorage) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);

    std::vector<char*> envp;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, "TARV_GUITAR_SHAPE_CACHE_DEBUG=", 30) != 0) {
            envp.push_back(*entry);
        }
    }
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inputPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addchdir_np(&actions, scratch.path().c_str());

    RunResult result;
    pid_t pid = 0;
    const int spawned =
        posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        result.err = "cannot start " + program + ": " + std::strerror(spawned);
        return result;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    return result;
}

RunResult runTool(const std::vector<std::string>& arguments, const std::string& input = "") {
    return runProgram(TARV_TOOL_PATH, arguments, input);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        result.push_back(line);
    }
    return result;
}

std::vector<json> jsonLines(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : lines(text)) {
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
        onlyJson(runTool({"shapes", "Eb", "--tuning", "Eb2 Ab2 Db3 Gb3 Bb3 Eb4", "--tuning-name",
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
    EXPECT_EQ(best["fingers"], 3);
    EXPECT_EQ(best["notes"], json({"E", "C", "G", "E", "C"}));
    const json expectedIndicators = json::parse(R"([
        {"kind": "open", "string": 0, "fret": 0},
        {"kind": "fret", "string": 1, "fret": 1},
        {"kind": "open", "string": 2, "fret": 0},
        {"kind": "fret", "string": 3, "fret": 2},
        {"kind": "fret", "string": 4, "fret": 3},
        {"kind": "muted", "string": 5, "fret": -1}])");
    EXPECT_EQ(best["indicators"], expectedIndicators);
    EXPECT_TRUE(best["badness"].is_number_unsigned());
}

TEST(TarvguitarShapesJson, BestShapeOfFIsTheBarreAtTheFirstFret) {
    const json best = onlyJson(runTool({"shapes", "F", "--format", "json"}))["shapes"].front();
    EXPECT_EQ(best["frets"], "1,3,3,2,1,1");
    EXPECT_EQ(best["baseFret"], 1);
    EXPECT_EQ(best["fingers"], 4);
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

TEST(TarvguitarShapesJson, ShapesComeBestFirstAndAtMostTwenty) {
    for (const char* symbol : {"C", "G7", "Dm", "E"}) {
        const json shapes = onlyJson(runTool({"shapes", symbol, "--format", "json"}))["shapes"];
        EXPECT_FALSE(shapes.empty()) << symbol;
        EXPECT_LE(shapes.size(), 20U) << symbol;
        for (std::size_t index = 1; index < shapes.size(); ++index) {
            EXPECT_LE(shapes[index - 1]["badness"].get<std::uint64_t>(),
                      shapes[index]["badness"].get<std::uint64_t>())
                << symbol << " shape " << index;
        }
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

TEST(TarvguitarShapesJson, UncachedGenerationGivesTheSameShapes) {
    const json cached = onlyJson(runTool({"shapes", "G", "--format", "json"}));
    const json uncached = onlyJson(runTool({"shapes", "G", "--uncached", "--format", "json"}));
    ASSERT_FALSE(uncached["shapes"].empty());
    EXPECT_EQ(uncached["shapes"].front()["frets"], cached["shapes"].front()["frets"]);
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
    EXPECT_EQ(shape["fingers"], 3);
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
        for (const std::string& line : lines(result.out)) {
            EXPECT_LE(columns(line), 80U) << line;
            EXPECT_TRUE(line.empty() || line.back() != ' ') << "trailing blank: " << line;
        }
    }
}

TEST(TarvguitarShapesText, OpenShapeShowsTheNutAndItsMarkers) {
    const std::vector<std::string> box = lines(runTool({"notation", "x,3,2,0,1,0"}).out);
    // A heading, a blank line, the markers, the nut, then the fret rows.
    ASSERT_GE(box.size(), 6U);
    EXPECT_EQ(box[2], "x     o   o");
    EXPECT_EQ(box[3], "╒═╤═╤═╤═╤═╕");
    EXPECT_EQ(box[4], "│ │ │ │ ● │");
    EXPECT_EQ(box[6], "│ │ ● │ │ │");
    EXPECT_EQ(box[8], "│ ● │ │ │ │");
}

TEST(TarvguitarShapesText, ShapeUpTheNeckWritesItsFirstFretBesideTheFirstRow) {
    const std::vector<std::string> box = lines(runTool({"notation", "x,5,7,7,7,5"}).out);
    ASSERT_GE(box.size(), 5U);
    EXPECT_EQ(box[2], "x");
    EXPECT_EQ(box[3], "┌─┬─┬─┬─┬─┐");
    EXPECT_EQ(box[4], "│ ●━━━━━━━● 5fr");
    EXPECT_EQ(box[8], "│ │ ● ● ● │");
}

TEST(TarvguitarShapesText, BoxIsAsTallAsTheShapeReaches) {
    const std::vector<std::string> box = lines(runTool({"notation", "x,5,7,7,7,9"}).out);
    const auto rows =
        static_cast<std::size_t>(std::count_if(box.begin(), box.end(), [](const std::string& line) {
            return line.rfind("├", 0) == 0 || line.rfind("└", 0) == 0;
        }));
    EXPECT_EQ(rows, 5U);
}

TEST(TarvguitarShapesText, ChordWithoutPlayableShapeSaysSo) {
    const RunResult result = runTool({"shapes", "C", "--tuning", "C3 G3"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find("C: no playable shape"), std::string::npos) << result.out;
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
    EXPECT_EQ(occurrences(result.out, "<svg "), 1U);
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
        runTool({"shapes", "E", "--tuning", "E2 A2 D3 G3 B3 E4", "--tuning-name",
                 "<Mine> & \"yours\"", "--format", "svg", "--limit", "1"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("&lt;Mine&gt; &amp; &quot;yours&quot;"), std::string::npos);
    expectWellFormedXml(result.out);
}

// Errors ----------------------------------------------------------------------------------------

void expectOneErrorLineNaming(const RunResult& result, const std::string& name) {
    EXPECT_EQ(result.exitCode, 2);
    const std::vector<std::string> errorLines = lines(result.err);
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

TEST(TarvguitarErrors, TuningOf255StringsIsAccepted) {
    const RunResult result = runTool(
        {"notation", repeatedFrets(255), "--tuning", repeatedPitches(255), "--format", "json"});
    const json object = onlyJson(result);
    EXPECT_EQ(object["tuning"]["pitches"].size(), 255U);
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
        EXPECT_EQ(lines(result.err).size(), 1U) << text;
    }
}

TEST(TarvguitarErrors, FretTextThatDoesNotFitTheTuningExitsTwo) {
    expectOneErrorLineNaming(runTool({"notation", "x,3,2,0,1", "--tuning", "E2 A2 D3 G3 B3 E4"}),
                             "6");
    expectOneErrorLineNaming(runTool({"notation", "x,3,2,0,1,13", "--frets", "12"}), "12");
}

TEST(TarvguitarErrors, MissingCommandOrArgumentExitsTwo) {
    EXPECT_EQ(lines(runTool({}).err).size(), 1U);
    EXPECT_EQ(runTool({}).exitCode, 2);
    EXPECT_EQ(runTool({"shapes"}).exitCode, 2);
    EXPECT_EQ(runTool({"shapes", "C", "--format", "pdf"}).exitCode, 2);
    EXPECT_EQ(runTool({"chord", "C", "--format", "svg"}).exitCode, 2);
}

TEST(TarvguitarHelp, EveryCommandHasHelp) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"shapes", "--help"},
          std::vector<std::string>{"notation", "--help"},
          std::vector<std::string>{"chord", "--help"}}) {
        const RunResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments.front();
        EXPECT_NE(result.out.find("Usage:"), std::string::npos) << result.out;
    }
    EXPECT_NE(runTool({"shapes", "--help"}).out.find("--tuning"), std::string::npos);
}

} // namespace
