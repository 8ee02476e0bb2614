#include "tarv/generation/TARVStandardChordShapes.hpp"

#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

namespace tarv {
namespace {

/// A hand-scored shape as it is usually written down: the frets of strings 0 to 5 ("x" muted),
/// its score at the nut and whether it is also registered up the neck.
struct Row {
    std::string_view frets;
    std::uint64_t score;
    bool movable;
};

// clang-format off
constexpr std::array<Row, 142> kRows{{
    {"2320xx", 5, true}, {"1320xx", 5, true}, {"02220x", 3, true}, {"01220x", 3, true}, {"000220", 4, true},
    {"300220", 9, true}, {"x30013", 9, true}, {"001220", 4, true}, {"xxx220", 2, true}, {"xxxx20", 2, true},
    {"xx220x", 2, true}, {"xxx20x", 2, true}, {"x320xx", 3, true}, {"xx20xx", 3, true}, {"xxxx00", 1, true},
    {"xxx000", 1, true}, {"002220", 1, true}, {"03220x", 1, true}, {"3320xx", 1, true}, {"0013xx", 1, true},
    {"x3301x", 1, true}, {"02200x", 1, true}, {"0230xx", 1, true}, {"x1003x", 1, true}, {"x011x0", 1, true},
    {"02120x", 1, true}, {"2220xx", 1, true}, {"2201xx", 1, true}, {"00023x", 1, true}, {"02020x", 1, true},
    {"32220x", 1, true}, {"001120", 1, true}, {"xx2201", 1, true}, {"0123xx", 1, true}, {"x00423", 15, true},
    {"x010x0", 9, true}, {"02020x", 1, true}, {"2120xx", 1, true}, {"x0212x", 1, true}, {"100023", 1, true},
    {"001020", 1, true}, {"xx3212", 1, true}, {"0312xx", 1, true}, {"000020", 1, true}, {"01020x", 1, true},
    {"1120xx", 1, true}, {"20202x", 1, true}, {"x011x1", 9, true}, {"x1010x", 1, true}, {"1110xx", 1, true},
    {"1020xx", 1, true}, {"x2031x", 1, true}, {"x010x1", 9, true}, {"x2021x", 1, true}, {"1010xx", 1, true},
    {"x120x1", 9, true}, {"22220x", 1, true}, {"2020xx", 1, true}, {"x0112x", 1, true}, {"000023", 1, true},
    {"x110x1", 9, true}, {"120x1x", 1, true}, {"x0102x", 1, true}, {"1020xx", 1, true}, {"x3021x", 1, true},
    {"110023", 1, true}, {"00212x", 3, true}, {"xx3101", 5, true}, {"000323", 3, true}, {"333101", 5, true},
    {"330101", 7, true}, {"01023x", 1, false}, {"31023x", 9, false}, {"x12301", 9, false}, {"300023", 1, false},
    {"330023", 5, false}, {"31013x", 18, false}, {"1320xx", 1, false}, {"x33013", 18, false}, {"232002", 1, false},
    {"13203x", 1, false}, {"32020x", 1, false}, {"13101x", 1, false}, {"13201x", 1, false}, {"20212x", 1, false},
    {"20312x", 1, false}, {"01323x", 1, false}, {"2120xx", 1, false}, {"3201xx", 1, false}, {"3301xx", 1, false},
    {"031020", 1, false}, {"031220", 1, false}, {"x12101", 1, false}, {"012201", 1, false}, {"012301", 1, false},
    {"100023", 1, false}, {"300323", 1, false}, {"x30323", 1, false}, {"230023", 1, false}, {"11101x", 1, false},
    {"03323x", 1, false}, {"201020", 1, false}, {"231020", 1, false}, {"110101", 1, false}, {"310101", 1, false},
    {"102023", 1, false}, {"x02323", 1, false}, {"11201x", 1, false}, {"1301xx", 1, false}, {"201120", 1, false},
    {"110301", 9, false}, {"310301", 9, false}, {"202023", 9, false}, {"x13101", 1, false}, {"001212", 3, false},
    {"003212", 5, false}, {"110323", 3, false}, {"112023", 3, false}, {"22020x", 1, false}, {"33101x", 1, false},
    {"31101x", 1, false}, {"021020", 1, false}, {"221020", 1, false}, {"332101", 9, false}, {"000323", 1, false},
    {"030323", 1, false}, {"002323", 1, false}, {"010323", 1, false}, {"020323", 1, false}, {"xx0013", 99, false},
    {"000020", 1, true}, {"002020", 1, true}, {"x1101x", 1, true}, {"x2101x", 1, true}, {"x30023", 9, true},
    {"01023x", 9, true}, {"x10101", 1, true}, {"1201xx", 1, true}, {"2412xx", 2, true}, {"x1201x", 2, true},
    {"010201", 5, true}, {"010301", 9, true},
}};
// clang-format on

std::vector<TARVFretIndicator> indicatorsForFrets(std::string_view frets) {
    std::vector<TARVFretIndicator> indicators;
    for (std::size_t string = 0; string < frets.size(); ++string) {
        const auto fret = static_cast<std::int8_t>(frets[string] == 'x' ? -1 : frets[string] - '0');
        indicators.push_back(
            TARVFretIndicator::indicatorAtFret(fret, static_cast<std::uint8_t>(string)));
    }
    return indicators;
}

TARVChordShapePtr shapeForRow(std::string_view frets, std::uint8_t baseFret) {
    return TARVChordShape::shapeFromIndicatorArray(indicatorsForFrets(frets), baseFret);
}

/// Every field of every indicator, class included: two lists with the same key are identical.
using IndicatorKey = std::vector<std::tuple<int, int, int, int>>;

IndicatorKey keyOf(const TARVChordShape& shape) {
    IndicatorKey key;
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        key.emplace_back(static_cast<int>(indicator.indicatorClass()), indicator.fret(),
                         indicator.string(), indicator.endString());
    }
    return key;
}

/// The score each indicator list ends up with when the rows are registered in order, every row
/// at the nut and movable rows also at base fret 2 for 3 more, a later entry replacing an earlier
/// one under the same list.
std::map<IndicatorKey, std::uint64_t> expectedScores() {
    std::map<IndicatorKey, std::uint64_t> scores;
    for (const Row& row : kRows) {
        scores[keyOf(*shapeForRow(row.frets, 0))] = row.score;
        if (row.movable) {
            scores[keyOf(*shapeForRow(row.frets, 2))] = row.score + 3;
        }
    }
    return scores;
}

void expectScore(const std::map<IndicatorKey, std::uint64_t>& expected, const Row& row,
                 std::uint8_t baseFret) {
    const TARVChordShapePtr shape = shapeForRow(row.frets, baseFret);
    const auto entry = expected.find(keyOf(*shape));
    ASSERT_NE(entry, expected.end()) << row.frets << " at base fret " << int{baseFret};
    const std::uint64_t score = entry->second + baseFret;
    EXPECT_EQ(TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(*shape), score)
        << row.frets << " at base fret " << int{baseFret};
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), score)
        << row.frets << " at base fret " << int{baseFret};
}

TEST(TARVStandardChordShapes, EveryRowScoresTheLastEntryRegisteredForItsShape) {
    const std::map<IndicatorKey, std::uint64_t> expected = expectedScores();
    for (const Row& row : kRows) {
        expectScore(expected, row, 0);
        if (row.movable) {
            expectScore(expected, row, 2);
            expectScore(expected, row, 7);
        }
    }
}

TEST(TARVStandardChordShapes, SharedInstanceIsMadeOnceForAllThreads) {
    std::array<const TARVStandardChordShapes*, 4> seen{};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&seen, i] { seen[i] = &TARVStandardChordShapes::sharedInstance(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const TARVStandardChordShapes* instance : seen) {
        EXPECT_EQ(instance, &TARVStandardChordShapes::sharedInstance());
    }
}

TEST(TARVStandardChordShapes, NewInstanceHoldsTheSameScoresAsTheSharedOne) {
    const TARVStandardChordShapes table;
    const TARVChordShapePtr shape = shapeForRow("02220x", 0);
    EXPECT_EQ(table.standardScoreForChordShape(*shape), 3U);
    EXPECT_EQ(TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(*shape), 3U);
}

TEST(TARVStandardChordShapes, ShapeNotInTheTableScoresZero) {
    EXPECT_EQ(TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(
                  *shapeForRow("102301", 0)),
              0U);
    EXPECT_EQ(
        TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(TARVChordShape()), 0U);
}

TEST(TARVStandardChordShapes, MovableRowWithoutOpenStringKeepsItsUpTheNeckScoreAtTheNut) {
    // xx3212 and 2412xx give the same list at both base frets; the second registration wins.
    const auto& table = TARVStandardChordShapes::sharedInstance();
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("xx3212", 0)), 1U + 3U);
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("xx3212", 4)), 1U + 3U + 4U);
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("2412xx", 0)), 2U + 3U);
}

TEST(TARVStandardChordShapes, LaterRowReplacesTheNutEntryOfAnEarlierRowWithTheSameFrets) {
    // 1320xx is listed first as movable with 5, later at the nut only with 1.
    const auto& table = TARVStandardChordShapes::sharedInstance();
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("1320xx", 0)), 1U);
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("1320xx", 2)), 5U + 3U + 2U);
    // 01023x is listed first at the nut with 1, later as movable with 9.
    EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("01023x", 0)), 9U);
}

TEST(TARVStandardChordShapes, OpenStringAndFingerAtTheBaseFretAreDifferentKeys) {
    // 2320xx forms no barre up the neck: its lists at the nut and at base fret 2 differ only in
    // the class of the string 3 mark (open against a finger at relative fret 0).
    const TARVChordShapePtr atNut = shapeForRow("2320xx", 0);
    const TARVChordShapePtr upTheNeck = shapeForRow("2320xx", 2);
    ASSERT_EQ(atNut->indicators().size(), upTheNeck->indicators().size());
    const auto& table = TARVStandardChordShapes::sharedInstance();
    EXPECT_EQ(table.standardScoreForChordShape(*atNut), 5U);
    EXPECT_EQ(table.standardScoreForChordShape(*upTheNeck), 5U + 3U + 2U);
}

TEST(TARVStandardChordShapes, ScoreAddsTheShapesBaseFretToTheStoredScore) {
    const auto& table = TARVStandardChordShapes::sharedInstance();
    for (std::uint8_t baseFret = 1; baseFret < 20; ++baseFret) {
        EXPECT_EQ(table.standardScoreForChordShape(*shapeForRow("02220x", baseFret)),
                  3U + 3U + baseFret);
    }
}

} // namespace
} // namespace tarv
