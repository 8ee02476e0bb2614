#include "tarv/generation/TARVChordShapeScorer.hpp"

#include "shapes/TARVFretListSupport.hpp"
#include "tarv/generation/TARVStandardChordShapes.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <gtest/gtest.h>

#include <span>
#include <string_view>
#include <vector>

namespace tarv {
namespace {

/// A shape from the frets of strings 0, 1, 2, ... ("x" muted, digits relative to the base fret).
TARVChordShapePtr shapeWithFrets(std::string_view frets, std::uint8_t baseFret) {
    std::vector<TARVFretIndicator> indicators;
    for (std::size_t string = 0; string < frets.size(); ++string) {
        const auto fret = static_cast<std::int8_t>(frets[string] == 'x' ? -1 : frets[string] - '0');
        indicators.push_back(
            TARVFretIndicator::indicatorAtFret(fret, static_cast<std::uint8_t>(string)));
    }
    return TARVChordShape::shapeFromIndicatorArray(indicators, baseFret);
}

bool isStandard(const TARVChordShape& shape) {
    return TARVStandardChordShapes::sharedInstance().standardScoreForChordShape(shape) != 0;
}

TEST(TARVChordShapeScorer, FretListsScoreAsTheShapesBuiltFromThem) {
    // Every list of up to six strings with frets up to 4 (all the standard rows among them), at the
    // nut, at the movable rows' base fret and further up.
    std::size_t standard = 0;
    for (std::size_t strings = 1; strings <= 6; ++strings) {
        for (const std::uint8_t baseFret : {0, 1, 2, 9}) {
            test::forEveryFretList(strings, 4, [&](std::span<const std::int8_t> frets) {
                const TARVChordShapePtr shape = test::shapeFromIndicatorsOf(frets, baseFret);
                for (const std::int64_t stringCount : {static_cast<std::int64_t>(strings), 7L}) {
                    const std::uint64_t expected =
                        TARVChordShapeScorer::scoreForShape(*shape, stringCount);
                    ASSERT_EQ(TARVChordShapeScorer::scoreForFrets(frets, baseFret, stringCount),
                              expected)
                        << shape->description();
                    ASSERT_EQ(
                        TARVChordShapeScorer::formulaScoreForFrets(frets, baseFret, stringCount),
                        TARVChordShapeScorer::formulaScoreForShape(*shape, stringCount))
                        << shape->description();
                }
                standard += isStandard(*shape) ? 1 : 0;
            });
        }
    }
    // Each row is met at the nut and, when movable, at base fret 2, 1 and 9 as well.
    EXPECT_GT(standard, 142U);
}

TEST(TARVChordShapeScorer, LongFretListsAndHighFretsScoreAsTheirShapes) {
    const std::vector<std::vector<std::int8_t>> lists{
        {0, 2, 2, 1, 0, 0, 0},    {-1, -1, 0, 0, 0, 0, 0, -1}, {3, 0, 0, 0, 2, 3},
        {15, 0, 0, 0, 2, 3},      {0, 17, -1, 0, 16, 0},       {0, 0, 0, 0, 0, 0},
        {-1, -1, -1, -1, -1, -1}, {0, 1, -1, 0, 0, 2, 0, 0},   {}};
    for (const auto& frets : lists) {
        for (const std::uint8_t baseFret : {0, 1, 2, 5, 20}) {
            const TARVChordShapePtr shape = test::shapeFromIndicatorsOf(frets, baseFret);
            EXPECT_EQ(TARVChordShapeScorer::scoreForFrets(frets, baseFret, 6),
                      TARVChordShapeScorer::scoreForShape(*shape, 6))
                << shape->description();
        }
    }
}

TEST(TARVChordShapeScorer, StandardShapeAtTheNutScoresItsTableScore) {
    // The open A major shape x02220.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shapeWithFrets("02220x", 0), 6), 3U);
}

TEST(TARVChordShapeScorer, MovableStandardShapeUpTheNeckScoresItsMovableEntryPlusBaseFret) {
    const TARVChordShapePtr shape = shapeWithFrets("02220x", 5);
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), (3U + 3U) + 5U);
}

TEST(TARVChordShapeScorer, OpenShapeListedOnlyAtTheNutScoresItsTableScoreNotTheFormula) {
    const TARVChordShapePtr shape = shapeWithFrets("31013x", 0);
    // The formula would give 38 x reach 3 + 40 x (6 - 1 - 4) + 20, plus 3 + 3 + 4 + 3 + 3 + 5.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 18U);
}

TEST(TARVChordShapeScorer, SevenStringShapeNeverMatchesTheTable) {
    // The open A major shape with a seventh string muted.
    const TARVChordShapePtr shape = shapeWithFrets("02220xx", 0);
    EXPECT_FALSE(isStandard(*shape));
    // reach 1, base string 4: 38 + 40 x 2 + 20, then 4 + 3 + 3 + 3 + 4 + 5 + 5.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 7), 38U + 80U + 20U + 27U);
}

TEST(TARVChordShapeScorer, FormulaAddsPositionReachUnusedBassStringsAndEachMark) {
    // Fretted, open, fretted, fretted, open, fretted: reach 3 (frets 1 to 3), bass on string 5.
    const TARVChordShapePtr shape = shapeWithFrets("102301", 0);
    ASSERT_FALSE(isStandard(*shape));
    ASSERT_EQ(shape->reach(), 3);
    ASSERT_EQ(shape->baseString(), 5);
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 154U);
}

TEST(TARVChordShapeScorer, EachFretUpTheNeckCostsThree) {
    const TARVChordShapePtr atNut = shapeWithFrets("1x2x3x4", 0);
    const TARVChordShapePtr upTheNeck = shapeWithFrets("1x2x3x4", 9);
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*upTheNeck, 7) -
                  TARVChordShapeScorer::scoreForShape(*atNut, 7),
              27U);
}

TEST(TARVChordShapeScorer, EachStringLeftOutBelowTheBassCostsForty) {
    const TARVChordShapePtr shape = shapeWithFrets("1023", 0);
    ASSERT_FALSE(isStandard(*shape));
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6) -
                  TARVChordShapeScorer::scoreForShape(*shape, 4),
              80U);
}

TEST(TARVChordShapeScorer, StringCountBelowTheBassStringWrapsInSixtyFourBits) {
    const TARVChordShapePtr shape = shapeWithFrets("1023", 0);
    // (2 - 1 - 3) strings left out is 2^64 - 2; 40 of them wrap to -80.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 2),
              TARVChordShapeScorer::scoreForShape(*shape, 4) - 80U);
}

TEST(TARVChordShapeScorer, InnerMutedStringCostsOneHundredFourteen) {
    // Muted string 4 between sounding strings 3 and 5.
    const TARVChordShapePtr muted = shapeWithFrets("1023x1", 0);
    ASSERT_FALSE(isStandard(*muted));
    // reach 3, bass on string 5: 114 + 20, then 3 + 4 + 3 + 3 + (5 + 109) + 3.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*muted, 6), 134U + 16U + 114U);
}

TEST(TARVChordShapeScorer, MutedFirstStringCostsFive) {
    const TARVChordShapePtr shape = shapeWithFrets("x02321", 0);
    ASSERT_FALSE(isStandard(*shape));
    // reach 3, bass on string 5: 114 + 20, then 5 + 4 + 3 + 3 + 3 + 3.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 134U + 5U + 16U);
}

TEST(TARVChordShapeScorer, MutedFirstTwoStringsCostFiveEachAndOneHundredNineTogether) {
    const TARVChordShapePtr shape = shapeWithFrets("xx2321", 0);
    ASSERT_FALSE(isStandard(*shape));
    // reach 3, bass on string 5: 114 + 20, then 5 + 5 + 3 + 3 + 3 + 3, then 109.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 134U + 10U + 12U + 109U);
}

TEST(TARVChordShapeScorer, MutedLastStringIsNotInnerEvenBetweenSoundingOnes) {
    // String 5 muted, nothing sounds after it.
    const TARVChordShapePtr shape = shapeWithFrets("10232x", 0);
    ASSERT_FALSE(isStandard(*shape));
    // reach 3, bass on string 4: 114 + 40 + 20, then 3 + 4 + 3 + 3 + 3 + 5.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 174U + 21U);
}

TEST(TARVChordShapeScorer, BarreCostsBaseFretSquaredPlusThree) {
    // At base fret 5, strings 0 and 1 at relative fret 0 form a barre; strings 4 and 5 are muted.
    const TARVChordShapePtr shape = shapeWithFrets("0033xx", 5);
    ASSERT_FALSE(isStandard(*shape));
    ASSERT_TRUE(shape->indicators().front().isBarre());
    // 3 x 5 + 38 x reach 4 + 40 x 2 + 20, then (25 + 3) + 3 + 3 + 5 + 5.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 15U + 152U + 80U + 20U + 44U);
}

TEST(TARVChordShapeScorer, MarksOnOneStringAreWalkedInListOrder) {
    // String 0 muted and fretted: the muted mark comes first, so the first two marks are not both
    // muted; the muted string 1 lies between sounding marks.
    std::vector<TARVFretIndicator> indicators{
        TARVFretIndicator::indicatorAtFret(2, 0), TARVFretIndicator::indicatorAtFret(-1, 0),
        TARVFretIndicator::indicatorAtFret(-1, 1), TARVFretIndicator::indicatorAtFret(1, 2)};
    const TARVChordShapePtr shape = TARVChordShape::shapeFromIndicatorArray(indicators, 0);
    ASSERT_TRUE(shape->indicators()[0].isMuted());
    ASSERT_TRUE(shape->indicators()[2].isMuted());
    // reach 2, bass on string 2: 76 + 40 x 3 + 20, then 5 + 3 + (5 + 109) + 3.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(*shape, 6), 216U + 125U);
}

TEST(TARVChordShapeScorer, EmptyShapeScoresTheStartingValueAlone) {
    const TARVChordShape shape;
    // Reach 2 for a shape without fretted marks: 38 x 2 + 40 x 5 + 20.
    EXPECT_EQ(TARVChordShapeScorer::scoreForShape(shape, 6), 76U + 200U + 20U);
}

TEST(TARVChordShapeScorer, EmptyShapeNeedsNoFingers) {
    EXPECT_EQ(TARVChordShape()._fingersRequiredToPlayWithStringCount(6), 0U);
}

TEST(TARVChordShapeScorer, FingerOnTheLowestPitchedStringIsNotCounted) {
    const TARVChordShapePtr shape = shapeWithFrets("1xxxx3", 0);
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(6), 1U);
    // On a seven-string instrument string 5 is not the lowest.
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(7), 2U);
}

TEST(TARVChordShapeScorer, BarreCountsAsOneFinger) {
    // The F major shape 133211 at base fret 1: a barre over strings 0 to 5 and fingers on strings
    // 2 to 4.
    const TARVChordShapePtr shape = shapeWithFrets("001220", 1);
    ASSERT_TRUE(shape->indicators().front().isBarre());
    ASSERT_EQ(shape->indicators().size(), 4U);
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(6), 4U);
}

TEST(TARVChordShapeScorer, OpenAndMutedStringsNeedNoFingers) {
    const TARVChordShapePtr shape = shapeWithFrets("0x0x00", 0);
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(6), 0U);
}

TEST(TARVChordShapeScorer, ZeroStringCountHasNoLowestStringToExempt) {
    const TARVChordShapePtr shape = shapeWithFrets("12", 0);
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(0), 2U);
    EXPECT_EQ(shape->_fingersRequiredToPlayWithStringCount(2), 1U);
}

} // namespace
} // namespace tarv
