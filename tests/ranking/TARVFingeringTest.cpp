#include "tarv/ranking/TARVFingering.hpp"
#include "FretTexts.hpp"

#include "ranking/TARVFingeringPattern.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace tarv {
namespace {

std::string fingersOf(const std::string& text, TARVFingering::Hand hand = {}) {
    const auto fingering = TARVFingering::fingeringForFrets(frets(text), hand);
    return fingering ? fingering->text() : std::string("none");
}

/// `a` and `b` agree on everything but their barres.
void expectSameFigures(const TARVFingering& a, const TARVFingering& b, const std::string& text) {
    EXPECT_EQ(a.fingers(), b.fingers()) << text;
    EXPECT_EQ(a.stretch(), b.stretch()) << text;
    EXPECT_EQ(a.crossing(), b.crossing()) << text;
    EXPECT_EQ(a.usesThumb(), b.usesThumb()) << text;
    EXPECT_EQ(a.fingerCount(), b.fingerCount()) << text;
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

TEST(TARVFingering, FingerCountCountsABarreOnceAndTheThumbAsOne) {
    const TARVFingering barreAndThumb({TARVFingering::kThumb, 1, 3, 1, 1, 0},
                                      {TARVFingering::Barre{2, 0, 4, 1}}, 0, 0);
    EXPECT_EQ(barreAndThumb.fingerCount(), 3);
    // A barre laid by a finger no string lists still counts; values past the thumb do not.
    const TARVFingering barreOnly({0, 0, 0, 9}, {TARVFingering::Barre{5, 0, 2, 2}}, 0, 0);
    EXPECT_EQ(barreOnly.fingerCount(), 1);
    EXPECT_EQ(TARVFingering().fingerCount(), 0);
}

TEST(TARVFingering, NothingFrettedNeedsNoFinger) {
    const auto f = TARVFingering::fingeringForFrets(frets("0,x,0,0"));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->fingerCount(), 0);
    EXPECT_EQ(f->text(), "-,-,-,-");
}

/// The fingering of `text` worked out on a thread of its own, where nothing was fingered before.
std::optional<TARVFingering> freshFingering(const std::string& text, TARVFingering::Hand hand) {
    std::optional<TARVFingering> answer;
    std::thread([&] { answer = TARVFingering::fingeringForFrets(frets(text), hand); }).join();
    return answer;
}

TEST(TARVFingering, AShapeMovedAlongTheNeckIsFingeredAlikeWithItsBarresMoved) {
    // F, then the same form at G, A and high F: barres follow the form up the neck.
    const char* forms[] = {"1,3,3,2,1,1", "3,5,5,4,3,3", "5,7,7,6,5,5", "13,15,15,14,13,13"};
    for (const char* text : forms) {
        const auto fingering = TARVFingering::fingeringForFrets(frets(text));
        ASSERT_TRUE(fingering.has_value()) << text;
        EXPECT_EQ(fingering->text(), "1,3,4,2,1,1") << text;
        ASSERT_EQ(fingering->barres().size(), 1u) << text;
        EXPECT_EQ(fingering->barres().front().fret, frets(text).front()) << text;
    }
}

TEST(TARVFingering, FingeringsAreTheSameWhateverWasFingeredBefore) {
    const TARVFingering::Hand thumb{true};
    const std::vector<std::pair<const char*, TARVFingering::Hand>> cases{
        {"x,3,2,0,1,0", {}},      {"x,8,7,5,6,5", {}},     {"x,5,7,7,7,5", {}},
        {"x,10,12,12,12,10", {}}, {"3,x,0,0,3,3", thumb},  {"5,x,2,2,5,5", thumb},
        {"8,7,5,9,5,x", {}},      {"1,2,3,4,5,6", {}},     {"x,x,x,x,x,x", {}},
        {"0,0,0,3", {}},          {"2,2,2,2,2,2,2,2", {}}, {"x,20,22,22,22,20", {}},
    };
    // Each twice on this thread (the second time after every other), and once on a thread
    // where nothing was fingered before.
    for (int round = 0; round < 2; ++round) {
        for (const auto& [text, hand] : cases) {
            const auto here = TARVFingering::fingeringForFrets(frets(text), hand);
            const auto fresh = freshFingering(text, hand);
            ASSERT_EQ(here.has_value(), fresh.has_value()) << text;
            if (!here) {
                continue;
            }
            expectSameFigures(*here, *fresh, text);
            EXPECT_EQ(here->barres(), fresh->barres()) << text;
        }
    }
}

TEST(TARVFingering, APatternHasTheFiguresOfTheFingeringWithBarresFromItsLowestNote) {
    const TARVFingering::Hand thumb{true};
    const std::vector<std::pair<std::string, TARVFingering::Hand>> cases{
        {"1,3,3,2,1,1", {}},
        {"13,15,15,14,13,13", {}},
        {"x,3,5,5,5,3", {}},
        {"x,3,2,0,1,0", {}},
        {"5,x,2,2,5,5", thumb},
        {"1,2,3,4,5,6", {}},
        {"0,0,0,3", {}},
        {"x,x,x,x,x,x", {}},
        {"2,2,2,2,2,2,2,2", {}},
        // More strings than patterns are kept for.
        {"3,x,x,x,x,x,x,x,x,x,x,x,x,x,x,5", {}}};
    for (const auto& [text, hand] : cases) {
        const auto whole = TARVFingering::fingeringForFrets(frets(text), hand);
        const TARVFingering* pattern = ranking::fingeringPattern(frets(text), hand);
        ASSERT_EQ(pattern != nullptr, whole.has_value()) << text;
        if (!whole) {
            continue;
        }
        expectSameFigures(*pattern, *whole, text);
        int lowest = 0;
        for (const std::int8_t fret : frets(text)) {
            lowest = fret > 0 && (lowest == 0 || fret < lowest) ? fret : lowest;
        }
        ASSERT_EQ(pattern->barres().size(), whole->barres().size()) << text;
        for (std::size_t i = 0; i < whole->barres().size(); ++i) {
            TARVFingering::Barre moved = whole->barres()[i];
            moved.fret = static_cast<std::uint8_t>(moved.fret - lowest + 1);
            EXPECT_EQ(pattern->barres()[i], moved) << text;
        }
    }
    EXPECT_EQ(ranking::fingeringPattern(frets("1,2,3,4,5,6"), {}), nullptr);
}

} // namespace
} // namespace tarv
