// End-to-end tests of the player commands of the tarvguitar tool: naming shapes, progressions,
// the capo, left-handed and horizontal diagrams. Each case of player/cases.txt ("FILE|ARGUMENTS")
// runs the tool and compares what it writes with the checked-in FILE.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::filesystem::path kCasesDirectory =
    std::filesystem::path(TARV_TOOL_TEST_DATA_DIR) / "player";

std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Answer {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs the tool through the shell with `arguments` as a shell would read them.
Answer tool(const std::string& arguments) {
    const std::filesystem::path scratch = std::filesystem::temp_directory_path() /
                                          ("tarv-player-" + std::to_string(::getpid()) + "-" +
                                           std::to_string(std::hash<std::string>{}(arguments)));
    std::filesystem::create_directories(scratch);
    const std::string command = "cd '" + scratch.string() + "' && LC_ALL=C '" TARV_TOOL_PATH "' " +
                                arguments + " >out 2>err </dev/null";
    const int status = std::system(command.c_str());
    Answer answer;
    answer.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    answer.out = contents(scratch / "out");
    answer.err = contents(scratch / "err");
    std::filesystem::remove_all(scratch);
    return answer;
}

struct Case {
    std::string file;
    std::string arguments;
};

std::vector<Case> cases() {
    std::vector<Case> list;
    std::ifstream file(kCasesDirectory / "cases.txt");
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t bar = line.find('|');
        if (bar != std::string::npos) {
            list.push_back({line.substr(0, bar), line.substr(bar + 1)});
        }
    }
    return list;
}

TEST(TarvguitarPlayer, EveryCommandWritesItsCheckedInOutput) {
    const std::vector<Case> all = cases();
    ASSERT_GE(all.size(), 20U);
    for (const Case& c : all) {
        SCOPED_TRACE(c.file + ": tarvguitar " + c.arguments);
        const Answer answer = tool(c.arguments);
        EXPECT_EQ(answer.status, 0);
        EXPECT_EQ(answer.err, "");
        EXPECT_EQ(answer.out, contents(kCasesDirectory / c.file));
    }
}

TEST(TarvguitarPlayer, CapoAutoFindsCapoThreeForAFlatKey) {
    const Answer answer = tool("progression 'Eb Ab Bb Cm' --capo auto --format json");
    ASSERT_EQ(answer.status, 0);
    const nlohmann::json object = nlohmann::json::parse(answer.out);
    ASSERT_FALSE(object["capoChoices"].empty());
    EXPECT_EQ(object["capoChoices"][0]["capo"], 3);
    EXPECT_EQ(object["capoChoices"][0]["chords"], nlohmann::json::array({"C", "F", "G", "Am"}));
    EXPECT_EQ(object["tuning"]["capo"], 3);
    EXPECT_EQ(object["arrangements"][0]["chords"][0]["chord"], "C");
    EXPECT_EQ(object["arrangements"][0]["chords"][0]["soundsAs"], "Eb");
    EXPECT_NE(tool("progression 'Eb Ab Bb Cm' --capo auto").out.find("capo 3: C F G Am"),
              std::string::npos);
}

TEST(TarvguitarPlayer, NamesReadBackThroughTheChordCommand) {
    const Answer answer = tool("name x,0,2,0,1,0 0,3,2,0,1,0 x,x,0,2,1,2 --format json");
    ASSERT_EQ(answer.status, 0);
    std::istringstream lines(answer.out);
    std::string line;
    std::vector<std::string> first;
    while (std::getline(lines, line)) {
        const nlohmann::json object = nlohmann::json::parse(line);
        first.push_back(object["names"][0]["symbol"]);
        for (const auto& name : object["names"]) {
            EXPECT_EQ(tool("chord '" + name["symbol"].get<std::string>() + "'").status, 0);
        }
    }
    EXPECT_EQ(first, (std::vector<std::string>{"Am7", "C/E", "D7"}));
}

TEST(TarvguitarPlayer, JsonIsTheSameForEveryHand) {
    const Answer plain = tool("shapes C Bm --format json");
    ASSERT_EQ(plain.status, 0);
    EXPECT_EQ(tool("shapes C Bm --format json --left-handed").out, plain.out);
    EXPECT_EQ(tool("shapes C Bm --format json --horizontal").out, plain.out);
    EXPECT_NE(tool("shapes C Bm --left-handed").out, tool("shapes C Bm").out);
}

TEST(TarvguitarPlayer, TheBanjosShortStringIsNeverFrettedBelowItsStart) {
    // The short string is written first: open, muted or above its fifth fret.
    const auto onTheShortString = [](const nlohmann::json& shapes, bool below) {
        for (const auto& shape : shapes) {
            const std::string frets = shape["frets"];
            const std::string first = frets.substr(0, frets.find(','));
            if ((first != "x" && first != "0" && std::stoi(first) <= 5) == below) {
                return true;
            }
        }
        return false;
    };
    bool fullLengthFretsIt = false;
    for (const std::string chord : {"G", "C", "D7", "Em", "A", "F"}) {
        SCOPED_TRACE(chord);
        const std::string banjo = "shapes " + chord + " --tuning 'G4 D3 G3 B3 D4' --format json";
        const Answer shortString = tool(banjo + " --short-string 5");
        ASSERT_EQ(shortString.status, 0);
        const nlohmann::json shapes = nlohmann::json::parse(shortString.out)["shapes"];
        ASSERT_FALSE(shapes.empty());
        EXPECT_FALSE(onTheShortString(shapes, true));
        fullLengthFretsIt =
            fullLengthFretsIt ||
            onTheShortString(nlohmann::json::parse(tool(banjo).out)["shapes"], true);
    }
    EXPECT_TRUE(fullLengthFretsIt);
    EXPECT_EQ(tool("shapes G --tuning 'G4 D3 G3 B3 D4' --short-string 5 --format json")
                  .out.find("\"frets\":\"0,0,0,0,0\""),
              tool("shapes G --tuning 'G4 D3 G3 B3 D4' --short-string 5 --format json")
                  .out.find("\"frets\":"));
    EXPECT_EQ(tool("shapes C --short-string 300").status, 2);
}

TEST(TarvguitarPlayer, BadInputGetsOneLineAndStatusTwo) {
    for (const std::string arguments :
         {"name x,3,2", "name x,3,2,0,1,0 --capo auto", "name 'x,3,2,0,1,q'",
          "progression 'C Hm G'", "progression c", "progression C --capo 8x",
          "progression C --alternatives 0", "progression C --transpose 40", "progression ' | '",
          "shapes C --capo auto", "name x,3,2,0,1,21 --capo 2"}) {
        SCOPED_TRACE(arguments);
        const Answer answer = tool(arguments);
        EXPECT_EQ(answer.status, 2);
        EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1);
        EXPECT_EQ(answer.err.rfind("tarvguitar: ", 0), 0U);
    }
    EXPECT_NE(tool("progression 'C am G'").err.find("did you mean \"Am\"?"), std::string::npos);
}

} // namespace
