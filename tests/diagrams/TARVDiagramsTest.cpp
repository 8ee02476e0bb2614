#include "tarv/diagrams/TARVDiagramSVG.hpp"
#include "tarv/diagrams/TARVShapeJSON.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {
namespace {

using json = nlohmann::json;

TARVPlayableShape firstShape(const char* chord) {
    return TARVPlayableShapes::shapesForChord(SChord::chordWithString(chord),
                                              SStringedInstrumentTuning::stringedInstrumentTuning())
        .front();
}

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++n;
    }
    return n;
}

/// The x of every finger-numbered dot, in document order.
std::vector<double> dotXs(const std::string& svg) {
    std::vector<double> xs;
    const std::regex dot("class=\"dot\" cx=\"([0-9.]+)\"");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), dot); it != std::sregex_iterator();
         ++it) {
        xs.push_back(std::stod((*it)[1]));
    }
    return xs;
}

TEST(TARVShapeJSON, AnswerIsJSONWithEveryArrayInItsStatedOrder) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto chord = SChord::chordWithString("C");
    const auto shapes = TARVPlayableShapes::shapesForChord(chord, tuning);
    const json answer = json::parse(TARVShapeJSON::answerJSON(*chord, *tuning, shapes));
    EXPECT_EQ(answer["tuning"]["pitches"], json({"E4", "B3", "G3", "D3", "A2", "E2"}));
    EXPECT_EQ(answer["tuning"]["strings"], json({"E2", "A2", "D3", "G3", "B3", "E4"}));
    ASSERT_EQ(answer["shapes"].size(), shapes.size());
    const json& first = answer["shapes"][0];
    EXPECT_EQ(first["rank"], 1);
    EXPECT_EQ(first["frets"], "x,3,2,0,1,0");
    EXPECT_EQ(first["fingers"], json({0, 1, 0, 2, 3, 0}));
    EXPECT_EQ(first["notes"], json({"E", "C", "G", "E", "C"}));
    EXPECT_NEAR(first["score"].get<double>(), shapes[0].score(), 0.0005);
    EXPECT_EQ(answer["shapes"][4]["rank"], 5);
}

TEST(TARVShapeJSON, TextThatIsNotUTF8IsReplacedNotLost) {
    const auto chord = SChord::chordWithString("C");
    std::vector<SPitch> pitches =
        SStringedInstrumentTuning::stringedInstrumentTuning()->stringPitches();
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        pitches, 22, 0, TARVMakeSharedText("Hal\x91 \"q\"\n"), "EADGBE", std::nullopt);
    const json parsed = json::parse(TARVShapeJSON::tuningJSON(*tuning, "Gui\xC3"));
    EXPECT_EQ(parsed["name"], "Hal\xEF\xBF\xBD \"q\"\n");
    EXPECT_EQ(parsed["instrument"], "Gui\xEF\xBF\xBD");
}

TEST(TARVShapeJSON, GeneratorShapesKeepTheirBadness) {
    TARVPlayableShape shape = firstShape("G");
    EXPECT_FALSE(json::parse(TARVShapeJSON::shapeJSON(shape, 1, nullptr)).contains("badness"));
    shape.setBadness(42);
    const json parsed = json::parse(TARVShapeJSON::shapeJSON(shape, 1, nullptr));
    EXPECT_EQ(parsed["badness"], 42);
    EXPECT_FALSE(parsed.contains("notes"));
}

TEST(TARVShapeJSON, OpenStringsSoundTheTuningsOwnSpellingsAndTheCapoRespellsThem) {
    // One string per spelling, from Cbb to B##, played open.
    std::vector<SPitch> pitches;
    std::vector<std::string> names;
    for (const char letter : std::string_view("CDEFGAB")) {
        for (const char* accidental : {"bb", "b", "", "#", "##"}) {
            names.push_back(std::string(1, letter) + accidental);
            pitches.push_back(*SPitch::pitchWithString(names.back() + "3"));
        }
    }
    const TARVPlayableShape open(std::vector<std::int8_t>(pitches.size(), 0), TARVFingering(), {});
    for (const std::uint8_t capo : {std::uint8_t{0}, std::uint8_t{2}}) {
        const auto tuning = SStringedInstrumentTuning::initWithPitches(
            pitches, 22, capo, TARVMakeSharedText("Spellings"), "", std::nullopt);
        json expected = json::array();
        for (const SPitch& pitch : pitches) {
            expected.push_back(
                pitch.note().noteWithOffset(static_cast<std::int8_t>(capo)).string());
        }
        const json parsed = json::parse(TARVShapeJSON::shapeJSON(open, 1, tuning.get()));
        EXPECT_EQ(parsed["notes"], expected) << "capo " << int{capo};
        if (capo == 0) {
            EXPECT_EQ(parsed["notes"], json(names));
        }
    }
}

TEST(TARVShapeJSON, TuningPitchesAreWrittenAsTheyAreSpelled) {
    std::vector<SPitch> pitches;
    for (const char* text : {"Cbb-1", "B##9", "F#3", "Eb0", "A-2"}) {
        const auto pitch = SPitch::pitchWithString(text);
        ASSERT_TRUE(pitch) << text;
        pitches.push_back(*pitch);
    }
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        pitches, 12, 0, TARVMakeSharedText("Odd"), "", std::nullopt);
    const json parsed = json::parse(TARVShapeJSON::tuningJSON(*tuning, ""));
    json expected = json::array();
    for (const SPitch& pitch : pitches) {
        expected.push_back(pitch.string());
    }
    EXPECT_EQ(parsed["pitches"], expected);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(parsed["strings"], expected);
}

TEST(TARVDiagramSVG, DrawsFingerNumbersBarresAndMarks) {
    const std::string f = TARVDiagramSVG::svgForShape(firstShape("F"), 6, {}, "F");
    EXPECT_EQ(count(f, "class=\"barre\""), 1U);
    EXPECT_EQ(count(f, "class=\"dot\""), 3U);
    EXPECT_EQ(count(f, "class=\"finger\""), 4U);
    EXPECT_EQ(count(f, "class=\"nut\""), 1U);
    EXPECT_NE(f.find(">F</text>"), std::string::npos);
    const std::string c = TARVDiagramSVG::svgForShape(firstShape("C"), 6);
    EXPECT_EQ(count(c, "class=\"open\""), 2U);
    EXPECT_EQ(count(c, "class=\"muted\""), 1U);
    const std::string bm = TARVDiagramSVG::svgForShape(
        TARVPlayableShape(
            {7, 8, 9, 9, 7, -1},
            *TARVFingering::fingeringForFrets(std::vector<std::int8_t>{7, 8, 9, 9, 7, -1}), {}),
        6);
    EXPECT_EQ(count(bm, "class=\"nut\""), 0U);
    EXPECT_NE(bm.find(">7fr</text>"), std::string::npos);
}

TEST(TARVDiagramSVG, LeftHandedDiagramsAreMirrored) {
    const TARVPlayableShape shape = firstShape("C");
    const std::vector<double> right = dotXs(TARVDiagramSVG::svgForShape(shape, 6));
    TARVDiagramOptions options;
    options.leftHanded = true;
    const std::vector<double> left = dotXs(TARVDiagramSVG::svgForShape(shape, 6, options));
    ASSERT_EQ(right.size(), 3U);
    ASSERT_EQ(left.size(), 3U);
    // Dots come in string order from string 0 (high E): right of the bass strings for a
    // right-handed player, left of them for a left-handed one.
    EXPECT_GT(right[0], right[2]);
    EXPECT_LT(left[0], left[2]);
}

TEST(TARVDiagramSVG, HorizontalDiagramsRunAlongTheNeck) {
    TARVDiagramOptions options;
    options.horizontal = true;
    const std::string svg = TARVDiagramSVG::svgForShape(firstShape("C"), 6, options);
    const std::regex size("width=\"([0-9.]+)\" height=\"([0-9.]+)\"");
    std::smatch match;
    ASSERT_TRUE(std::regex_search(svg, match, size));
    EXPECT_GT(std::stod(match[1]), std::stod(match[2]));
}

} // namespace
} // namespace tarv
