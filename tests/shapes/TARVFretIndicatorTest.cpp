#include "tarv/shapes/TARVFretIndicator.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace tarv;

TEST(TARVFretIndicator, ClassLevelConstructorBuildsAPlainIndicator) {
    const auto indicator = TARVFretIndicator::indicatorAtFret(5, 1);
    EXPECT_EQ(indicator.fret(), 5);
    EXPECT_EQ(indicator.string(), 1);
    EXPECT_TRUE(indicator.isMemberOfClass(TARVIndicatorClass::Fret));
}

TEST(TARVFretIndicator, DefaultConstructionIsFretZeroOnStringZero) {
    const TARVFretIndicator indicator;
    EXPECT_EQ(indicator.fret(), 0);
    EXPECT_EQ(indicator.string(), 0);
}

TEST(TARVFretIndicator, SettersStoreWithoutValidation) {
    TARVFretIndicator indicator;
    indicator.setFret(-7);
    indicator.setString(200);
    EXPECT_EQ(indicator.fret(), -7);
    EXPECT_EQ(indicator.string(), 200);
}

TEST(TARVFretIndicator, MutedIndicatorReportsFretMinusOneAndDescribesItselfAsMuted) {
    const TARVFretIndicator muted = TARVMutedFretIndicator::indicatorOnString(4);
    EXPECT_EQ(muted.fret(), -1);
    EXPECT_EQ(muted.string(), 4);
    EXPECT_EQ(muted.description(), "string: 4, muted");
    EXPECT_TRUE(muted.isKindOfClass(TARVIndicatorClass::Muted));
    EXPECT_TRUE(muted.isKindOfClass(TARVIndicatorClass::Fret));
    EXPECT_FALSE(muted.isKindOfClass(TARVIndicatorClass::Open));
}

TEST(TARVFretIndicator, OpenIndicatorHasFretZeroAndDescribesItselfAsOpen) {
    const TARVFretIndicator open = TARVOpenFretIndicator::indicatorOnString(3);
    EXPECT_EQ(open.fret(), 0);
    EXPECT_EQ(open.string(), 3);
    EXPECT_EQ(open.description(), "string: 3, open");
    EXPECT_TRUE(open.isKindOfClass(TARVIndicatorClass::Open));
}

TEST(TARVFretIndicator, PlainAndBarreDescriptions) {
    EXPECT_EQ(TARVFretIndicator(3, 2).description(), "string: 2, fret 3");
    EXPECT_EQ(TARVBarreIndicator(0, 0, 5).description(), "Barre fret:0 start:0 end:5");
}

TEST(TARVFretIndicator, SortingOrdersByStringThenSignedFret) {
    std::vector<TARVFretIndicator> indicators{
        TARVFretIndicator(3, 2),
        TARVFretIndicator(1, 0),
        TARVMutedFretIndicator::indicatorOnString(2),
        TARVOpenFretIndicator::indicatorOnString(1),
    };
    std::sort(indicators.begin(), indicators.end(),
              [](const auto& a, const auto& b) { return a.compare(b) < 0; });
    EXPECT_EQ(indicators[0].description(), "string: 0, fret 1");
    EXPECT_EQ(indicators[1].description(), "string: 1, open");
    EXPECT_EQ(indicators[2].description(), "string: 2, muted");
    EXPECT_EQ(indicators[3].description(), "string: 2, fret 3");
}

TEST(TARVFretIndicator, CompareIgnoresClassAndEndString) {
    EXPECT_EQ(TARVFretIndicator(0, 1).compare(TARVOpenFretIndicator::indicatorOnString(1)), 0);
    EXPECT_EQ(TARVBarreIndicator(2, 0, 5).compare(TARVBarreIndicator(2, 0, 3)), 0);
    EXPECT_EQ(TARVFretIndicator(9, 0).compare(TARVFretIndicator(0, 1)), -1);
    EXPECT_EQ(TARVFretIndicator(0, 1).compare(TARVFretIndicator(9, 0)), 1);
    EXPECT_EQ(TARVFretIndicator(-1, 1).compare(TARVFretIndicator(0, 1)), -1);
}

TEST(TARVFretIndicator, PlainEqualsMutedButMutedDoesNotEqualPlain) {
    const TARVFretIndicator plain(-1, 2);
    const TARVFretIndicator muted = TARVMutedFretIndicator::indicatorOnString(2);
    EXPECT_TRUE(plain.isEqual(muted));
    EXPECT_FALSE(muted.isEqual(plain));
    EXPECT_EQ(plain.hash(), muted.hash());
}

TEST(TARVFretIndicator, PlainEqualsOpenButOpenDoesNotEqualPlain) {
    const TARVFretIndicator plain(0, 3);
    const TARVFretIndicator open = TARVOpenFretIndicator::indicatorOnString(3);
    EXPECT_TRUE(plain.isEqual(open));
    EXPECT_FALSE(open.isEqual(plain));
    EXPECT_EQ(plain.hash(), open.hash());
}

TEST(TARVFretIndicator, PlainEqualsBarreButBarreDoesNotEqualPlain) {
    const TARVFretIndicator plain(2, 1);
    const TARVFretIndicator barre = TARVBarreIndicator::barreForFret(2, 1, 4);
    EXPECT_TRUE(plain.isEqual(barre));
    EXPECT_FALSE(barre.isEqual(plain));
}

TEST(TARVFretIndicator, BarreHashTakesInEndString) {
    const TARVFretIndicator plain(2, 1);
    const TARVFretIndicator barre = TARVBarreIndicator::barreForFret(2, 1, 4);
    const TARVFretIndicator otherEnd = TARVBarreIndicator::barreForFret(2, 1, 5);
    EXPECT_NE(barre.hash(), plain.hash());
    EXPECT_NE(barre.hash(), otherEnd.hash());
    EXPECT_EQ(barre.hash(), TARVBarreIndicator(2, 1, 4).hash());
}

TEST(TARVFretIndicator, BarresWithDifferentEndStringsAreUnequal) {
    const TARVFretIndicator barre = TARVBarreIndicator::barreForFret(0, 0, 5);
    EXPECT_TRUE(barre.isEqual(TARVBarreIndicator(0, 0, 5)));
    EXPECT_FALSE(barre.isEqual(TARVBarreIndicator(0, 0, 4)));
}

TEST(TARVFretIndicator, OpenAndMutedAreDifferentClasses) {
    const TARVFretIndicator open = TARVOpenFretIndicator::indicatorOnString(1);
    TARVFretIndicator muted = TARVMutedFretIndicator::indicatorOnString(1);
    muted.setFret(0);
    EXPECT_FALSE(open.isEqual(muted));
    EXPECT_FALSE(muted.isEqual(open));
}

TEST(TARVFretIndicator, HashIsStableAcrossCopies) {
    const TARVFretIndicator a(5, 1);
    const TARVFretIndicator b = a;
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_LE(a.hash(), 0xFFFFFFFFULL);
    EXPECT_NE(TARVFretIndicator(5, 1).hash(), TARVFretIndicator(1, 5).hash());
}

TEST(TARVFretIndicator, EveryClassSupportsSecureCoding) {
    EXPECT_TRUE(TARVFretIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVBarreIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVMutedFretIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVOpenFretIndicator::supportsSecureCoding());
}

TEST(TARVFretIndicator, SetEndStringOnlyOnBarre) {
    TARVBarreIndicator barre(1, 0, 2);
    barre.setEndString(5);
    EXPECT_EQ(barre.endString(), 5);
    EXPECT_TRUE(barre.isMemberOfClass(TARVIndicatorClass::Barre));
}
