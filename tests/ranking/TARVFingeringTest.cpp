#include "tarv/ranking/TARVFingering.hpp"
#include "FretTexts.hpp"

#include <gtest/gtest.h>

namespace tarv {
namespace {

std::string fingersOf(const std::string& text, TARVFingering::Hand hand = {}) {
    const auto fingering = TARVFingering::fingeringForFrets(frets(text), hand);
    return fingering ? fingering->text() : std::string("none");
}

TEST(TARVFingering, OpenChordsTakeAFingerPerFret) {
    EXPECT_EQ(fingersOf("x,3,2,0,1,0"), "-,3,2,-,1,-");
    EXPECT_EQ(fingersOf("0,2,2,1,0,0"), "-,2,3,1,-,-");
    EXPECT_EQ(fingersOf("x,x,0,2,3,2"), "-,-,-,1,3,2");
}

TEST(TARVFingering, BarreChordsLayTheIndexAcrossTheStrings) {
    const auto f = TARVFingering::fingeringForFrets(frets("1,3,3,2,1,1"));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->text(), "1,3,4,2,1,1");
    ASSERT_EQ(f->barres().size(), 1U);
    EXPECT_EQ(f->barres().front(), (TARVFingering::Barre{1, 0, 5, 1}));
    EXPECT_EQ(f->fingerCount(), 4);
    EXPECT_EQ(fingersOf("x,2,4,4,3,2"), "-,1,3,4,2,1");
}

TEST(TARVFingering, AnotherFingerMayHoldAdjacentStringsFlat) {
    const auto f = TARVFingering::fingeringForFrets(frets("x,3,5,5,5,3"));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->text(), "-,1,3,3,3,1");
    ASSERT_EQ(f->barres().size(), 2U);
    EXPECT_EQ(f->barres()[1], (TARVFingering::Barre{5, 1, 3, 3}));
}

TEST(TARVFingering, MoreThanFourFretsCannotBeHeld) {
    EXPECT_EQ(fingersOf("1,2,3,4,5,x"), "none");
    EXPECT_EQ(fingersOf("x,1,2,3,4,x"), "-,1,2,3,4,-");
}

TEST(TARVFingering, ThumbOnlyWhenTheHandAllowsIt) {
    // Five frets apart: the fingers alone cannot hold them.
    EXPECT_EQ(fingersOf("3,x,5,4,6,7"), "none");
    TARVFingering::Hand thumb;
    thumb.allowThumb = true;
    EXPECT_EQ(fingersOf("3,x,5,4,6,7", thumb), "T,-,2,1,3,4");
    // The thumb reaches only the edge string, near the index finger.
    EXPECT_EQ(fingersOf("x,3,5,4,6,7", thumb), "none");
}

TEST(TARVFingering, NothingFrettedNeedsNoFinger) {
    const auto f = TARVFingering::fingeringForFrets(frets("0,x,0,0"));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->fingerCount(), 0);
    EXPECT_EQ(f->text(), "-,-,-,-");
}

} // namespace
} // namespace tarv
