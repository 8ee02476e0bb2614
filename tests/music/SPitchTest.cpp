#include "tarv/music/SPitch.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

using tarv::SNote;
using tarv::SPitch;

namespace {

SPitch pitch(const char* text) {
    const auto parsed = SPitch::pitchWithString(text);
    EXPECT_TRUE(parsed.has_value()) << text;
    return parsed.value_or(SPitch(SNote::noteWithValue(0), 0));
}

} // namespace

TEST(SPitch, EParsedAndPlacedAtOctaveTwoIsTheLowestStringOfTheDefaultTuning) {
    const auto lowE = SPitch::pitchWithNote(SNote::noteWithString("E"), 2);
    ASSERT_TRUE(lowE.has_value());
    EXPECT_EQ(*lowE, pitch("E2"));
    EXPECT_EQ(lowE->string(), "E2");
    EXPECT_EQ(lowE->octave(), 2);
    // Four semitones above C2, twenty below middle C.
    EXPECT_EQ(lowE->offsetFromPitch(pitch("C2")), 4);
    EXPECT_EQ(lowE->offsetFromPitch(pitch("C4")), -20);
}

TEST(SPitch, DefaultGuitarStringsSpanTwoOctaves) {
    const SPitch strings[] = {pitch("E4"), pitch("B3"), pitch("G3"),
                              pitch("D3"), pitch("A2"), pitch("E2")};
    const int expectedFromLowE[] = {24, 19, 15, 10, 5, 0};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(strings[i].offsetFromPitch(pitch("E2")), expectedFromLowE[i]);
    }
}

TEST(SPitch, E2AtOffsetTwentyFourEqualsE4) {
    EXPECT_EQ(pitch("E2").pitchAtOffset(24), pitch("E4"));
}

TEST(SPitch, E4OffsetFromE2IsTwentyFourAndE2FromE4IsMinusTwentyFour) {
    EXPECT_EQ(pitch("E4").offsetFromPitch(pitch("E2")), 24);
    EXPECT_EQ(pitch("E2").offsetFromPitch(pitch("E4")), -24);
}

TEST(SPitch, NegativeOffsetCrossesDownFromCToTheBOfThePreviousOctave) {
    EXPECT_EQ(pitch("C4").pitchAtOffset(-1), pitch("B3"));
    EXPECT_EQ(pitch("C0").pitchAtOffset(-1), pitch("B-1"));
    EXPECT_EQ(pitch("C-1").pitchAtOffset(-13), pitch("B-3"));
}

TEST(SPitch, PositiveOffsetCarriesFromBIntoTheNextOctave) {
    EXPECT_EQ(pitch("B1").pitchAtOffset(1), pitch("C2"));
    EXPECT_EQ(pitch("C2").offsetFromPitch(pitch("B1")), 1);
    EXPECT_EQ(pitch("A2").pitchAtOffset(15), pitch("C4"));
}

TEST(SPitch, ZeroOffsetKeepsTheSpelling) {
    EXPECT_EQ(pitch("Db3").pitchAtOffset(0), pitch("Db3"));
}

TEST(SPitch, PitchAtOffsetOfOffsetFromPitchGivesThePitchBack) {
    const SPitch pitches[] = {pitch("E2"),  pitch("Bb1"), pitch("F#3"), pitch("C4"),
                              pitch("B#3"), pitch("Cb4"), pitch("G-1"), pitch("A5")};
    for (const auto& p : pitches) {
        for (const auto& q : pitches) {
            const auto moved = q.pitchAtOffset(static_cast<std::int8_t>(p.offsetFromPitch(q)));
            EXPECT_EQ(moved.absoluteSemitone(), p.absoluteSemitone())
                << p.string() << " from " << q.string();
            EXPECT_TRUE(moved.note().isEnharmonicallyEquivalentToNote(p.note()));
        }
    }
}

TEST(SPitch, SpellingsAcrossTheOctaveBoundaryKeepTheirOctaveNumber) {
    // B#3 sounds as C4 and Cb4 as B3: the octave number follows the letter.
    EXPECT_EQ(pitch("B#3").offsetFromPitch(pitch("C4")), 0);
    EXPECT_EQ(pitch("Cb4").offsetFromPitch(pitch("B3")), 0);
    EXPECT_NE(pitch("B#3"), pitch("C4"));
}

TEST(SPitch, ParsesNoteAndSignedOctave) {
    EXPECT_EQ(pitch("F#3"), SPitch(*SNote::noteWithString("F#"), 3));
    EXPECT_EQ(pitch("Bb1"), SPitch(*SNote::noteWithString("Bb"), 1));
    EXPECT_EQ(pitch("C-1"), SPitch(*SNote::noteWithString("C"), -1));
    EXPECT_EQ(pitch("G\u266F4"), pitch("G#4"));
    EXPECT_EQ(pitch("A127").octave(), 127);
    EXPECT_EQ(pitch("A-128").octave(), -128);
}

TEST(SPitch, TextThatNamesNoPitchGivesNoPitch) {
    for (const char* text :
         {"", "E", "2", "H2", "E2x", "E+2", "E 2", "E-", "E128", "E-129", "e2", "Cb#4"}) {
        EXPECT_FALSE(SPitch::pitchWithString(text).has_value()) << '"' << text << '"';
    }
}

TEST(SPitch, TextFormIsNoteThenOctave) {
    EXPECT_EQ(pitch("F#3").string(), "F#3");
    EXPECT_EQ(pitch("B\u266D1").string(), "Bb1");
    EXPECT_EQ(pitch("C-1").string(), "C-1");
    EXPECT_EQ(pitch("E2").description(), "E2");
}

TEST(SPitch, OctaveIsKeptAsGiven) {
    for (int octave = -128; octave <= 127; ++octave) {
        const auto made =
            SPitch::pitchWithNote(*SNote::noteWithString("D"), static_cast<std::int8_t>(octave));
        EXPECT_EQ(made.octave(), octave);
    }
}

TEST(SPitch, MissingNoteGivesNoPitch) {
    EXPECT_FALSE(SPitch::pitchWithNote(SNote::noteWithString("H"), 2).has_value());
    EXPECT_FALSE(SPitch::initWithNote(std::nullopt, 2).has_value());
    EXPECT_EQ(SPitch::initWithNote(SNote::noteWithString("A"), 2), pitch("A2"));
}

TEST(SPitch, NoteKeepsTheSpellingItWasMadeWith) {
    EXPECT_EQ(pitch("Db3").note().string(), "Db");
    EXPECT_EQ(pitch("C#3").note().string(), "C#");
}

TEST(SPitch, EqualPitchesHashAlikeAndDifferentOctavesDiffer) {
    EXPECT_EQ(pitch("E2"), SPitch(*SNote::noteWithString("E"), 2));
    EXPECT_EQ(pitch("E2").hash(), SPitch(*SNote::noteWithString("E"), 2).hash());
    EXPECT_NE(pitch("E2"), pitch("E3"));
    EXPECT_NE(pitch("C#4"), pitch("Db4"));
    std::unordered_set<SPitch> pitches{pitch("E2"), pitch("E2"), pitch("E3"), pitch("A2")};
    EXPECT_EQ(pitches.size(), 3U);
    EXPECT_EQ(pitch("E2").hash() >> 32, 0U);
}

TEST(SPitch, SupportsSecureCoding) {
    EXPECT_TRUE(SPitch::supportsSecureCoding());
}
