#include "tarv/settings/TARVSettingsConversions.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tarv {
namespace {

SPitch pitch(const char* text) {
    return *SPitch::pitchWithString(text);
}

StringedInstrumentTuningDescriptor
standardTuning(std::optional<std::vector<std::int64_t>> transform = std::nullopt) {
    return StringedInstrumentTuningDescriptor(
        "Standard", "EADGBE", {{"E", 4}, {"B", 3}, {"G", 3}, {"D", 3}, {"A", 2}, {"E", 2}},
        std::move(transform));
}

StringedInstrumentDescriptor guitar(std::int64_t frets = 22) {
    return StringedInstrumentDescriptor("Guitar", frets, {"0", "2"}, {standardTuning()});
}

TEST(TARVSettingsConversions, PitchDescriptorBecomesThePitch) {
    EXPECT_EQ(pitchWithDescriptor(PitchDescriptor("E", 2)), pitch("E2"));
    EXPECT_EQ(pitchWithDescriptor(PitchDescriptor("F#", 3)), pitch("F#3"));
    EXPECT_EQ(pitchWithDescriptor(PitchDescriptor("Bb", -1)).note().string(), "Bb");
}

TEST(TARVSettingsConversions, OctavesAtTheEndsOfTheSigned8BitRangeAreAccepted) {
    EXPECT_EQ(pitchWithDescriptor(PitchDescriptor("C", 127)).octave(), 127);
    EXPECT_EQ(pitchWithDescriptor(PitchDescriptor("C", -128)).octave(), -128);
}

TEST(TARVSettingsConversions, TuningTakesPitchesInOrderAndTheInstrumentsFretCount) {
    const auto tuning = tuningWithDescriptor(standardTuning(), guitar(), 3);
    EXPECT_EQ(tuning->stringPitches(),
              (std::vector<SPitch>{pitch("E4"), pitch("B3"), pitch("G3"), pitch("D3"), pitch("A2"),
                                   pitch("E2")}));
    EXPECT_EQ(tuning->fretCount(), 22);
    EXPECT_EQ(tuning->capo(), 3);
    EXPECT_EQ(tuning->noteString(), "EADGBE");
    EXPECT_EQ(tuning->asciiNoteString(), "EADGBE");
}

TEST(TARVSettingsConversions, NoteStringIsPassedAsItStands) {
    const StringedInstrumentTuningDescriptor mismatched("Odd", "XYZ", {{"E", 4}, {"A", 2}});
    const auto tuning = tuningWithDescriptor(mismatched, guitar(), 0);
    EXPECT_EQ(tuning->noteString(), "XYZ");
    EXPECT_EQ(tuning->asciiNoteString(), "AE");
}

TEST(TARVSettingsConversions, TuningDescriptorWithoutNotesMakesATuningWithoutPitches) {
    const StringedInstrumentTuningDescriptor empty("Empty", "", {});
    const auto tuning = tuningWithDescriptor(empty, guitar(), 0);
    EXPECT_TRUE(tuning->stringPitches().empty());
    EXPECT_EQ(tuning->stringCount(), 0);
    EXPECT_EQ(tuning->fretCount(), 22);
}

TEST(TARVSettingsConversions, FretCountAndCapoOf255AreAccepted) {
    const auto tuning = tuningWithDescriptor(standardTuning(), guitar(255), 255);
    EXPECT_EQ(tuning->fretCount(), 255);
    EXPECT_EQ(tuning->capo(), 255);
    const auto zero = tuningWithDescriptor(standardTuning(), guitar(0), 0);
    EXPECT_EQ(zero->fretCount(), 0);
    EXPECT_EQ(zero->capo(), 0);
}

TEST(TARVSettingsConversions, DescriptorWithoutTransformGivesATuningWithoutTransform) {
    const auto tuning = tuningWithDescriptor(standardTuning(std::nullopt), guitar(), 0);
    EXPECT_FALSE(tuning->stringOrderTransform().has_value());
}

TEST(TARVSettingsConversions, EmptyTransformGivesATuningWithAnEmptyTransform) {
    const auto tuning =
        tuningWithDescriptor(standardTuning(std::vector<std::int64_t>{}), guitar(), 0);
    ASSERT_TRUE(tuning->stringOrderTransform().has_value());
    EXPECT_TRUE(tuning->stringOrderTransform()->empty());
}

TEST(TARVSettingsConversions, TransformIsKeptEntryByEntry) {
    const auto tuning = tuningWithDescriptor(
        standardTuning(std::vector<std::int64_t>{5, 4, 3, 2, 1, 0}), guitar(), 0);
    EXPECT_EQ(tuning->stringOrderTransform(),
              (std::optional<SStringedInstrumentTuning::StringOrderTransform>{{5, 4, 3, 2, 1, 0}}));
    EXPECT_EQ(tuning->pitchForString(0), pitch("E2"));
}

TEST(TARVSettingsConversions, DescriptionIsNamedByTheInstrumentAndItsTuningByTheTuning) {
    const StringedInstrumentTuningDescriptor dropD(
        "Drop D", "DADGBE", {{"E", 4}, {"B", 3}, {"G", 3}, {"D", 3}, {"A", 2}, {"D", 2}});
    const auto description = descriptionWithDescriptor(guitar(), dropD, 2);
    EXPECT_EQ(description->instrumentName(), std::optional<std::string>("Guitar"));
    ASSERT_TRUE(description->tuning()->name());
    EXPECT_EQ(*description->tuning()->name(), "Drop D");
    EXPECT_EQ(description->tuning()->capo(), 2);
    EXPECT_EQ(description->tuning()->stringPitches().back(), pitch("D2"));
}

TEST(TARVSettingsConversions, OnlyTheInstrumentsFretCountIsUsed) {
    // The instrument's own tunings and capo list play no part.
    const StringedInstrumentDescriptor lute("Lute", 8, {"9"}, {});
    const auto description = descriptionWithDescriptor(lute, standardTuning(), 0);
    EXPECT_EQ(description->tuning()->fretCount(), 8);
    EXPECT_EQ(description->tuning()->stringCount(), 6);
}

using TARVSettingsConversionsDeathTest = testing::Test;

TEST_F(TARVSettingsConversionsDeathTest, UnreadableNoteNameStopsTheProcess) {
    EXPECT_DEATH(pitchWithDescriptor(PitchDescriptor("H", 2)), "note name \"H\"");
    EXPECT_DEATH(pitchWithDescriptor(PitchDescriptor("", 2)), "note name \"\"");
}

TEST_F(TARVSettingsConversionsDeathTest, OctaveOutsideSigned8BitsStopsTheProcess) {
    EXPECT_DEATH(pitchWithDescriptor(PitchDescriptor("C", 128)), "octave 128");
    EXPECT_DEATH(pitchWithDescriptor(PitchDescriptor("C", -129)), "octave -129");
}

TEST_F(TARVSettingsConversionsDeathTest, FretCountOutside0To255StopsTheProcess) {
    EXPECT_DEATH(tuningWithDescriptor(standardTuning(), guitar(256), 0), "fret count 256");
    EXPECT_DEATH(tuningWithDescriptor(standardTuning(), guitar(-1), 0), "fret count -1");
}

TEST_F(TARVSettingsConversionsDeathTest, CapoOutside0To255StopsTheProcess) {
    EXPECT_DEATH(tuningWithDescriptor(standardTuning(), guitar(), 256), "capo 256");
    EXPECT_DEATH(tuningWithDescriptor(standardTuning(), guitar(), -1), "capo -1");
    EXPECT_DEATH(descriptionWithDescriptor(guitar(), standardTuning(), 256), "capo 256");
}

TEST_F(TARVSettingsConversionsDeathTest, TuningWithoutNotesStillChecksFretCountAndCapo) {
    const StringedInstrumentTuningDescriptor empty("Empty", "", {});
    EXPECT_DEATH(tuningWithDescriptor(empty, guitar(256), 0), "fret count 256");
    EXPECT_DEATH(tuningWithDescriptor(empty, guitar(), -1), "capo -1");
}

TEST_F(TARVSettingsConversionsDeathTest, PitchesAreCheckedBeforeFretCountAndCapo) {
    const StringedInstrumentTuningDescriptor bad("Bad", "EH", {{"E", 4}, {"H", 3}});
    EXPECT_DEATH(tuningWithDescriptor(bad, guitar(256), 256), "note name \"H\"");
    EXPECT_DEATH(descriptionWithDescriptor(guitar(-1), bad, -1), "note name \"H\"");
}

TEST_F(TARVSettingsConversionsDeathTest, FatalStopWritesOneLineNamingTheValue) {
    EXPECT_DEATH(pitchWithDescriptor(PitchDescriptor("C", 300)),
                 "^TARVGuitar: octave 300 of note \"C\" is outside -128\\.\\.\\.127\n$");
}

} // namespace
} // namespace tarv

namespace tarv {
namespace {

TEST(TARVSettingsConversionsProblem, NamesWhatWouldStopTheConversion) {
    EXPECT_EQ(problemWithDescriptor(standardTuning(), guitar(), 2), std::nullopt);
    const StringedInstrumentTuningDescriptor badNote("Odd", "EH", {{"E", 4}, {"H", 3}});
    EXPECT_EQ(problemWithDescriptor(badNote, guitar(), 0),
              "the tuning \"Odd\" of the instrument \"Guitar\": the note name \"H\" names no note");
    const StringedInstrumentTuningDescriptor lowOctave("Low", "E", {{"E", -129}});
    EXPECT_NE(problemWithDescriptor(lowOctave, guitar(), 0)->find("outside -128 to 127"),
              std::string::npos);
    EXPECT_NE(problemWithDescriptor(standardTuning(), guitar(300), 0)->find("fret count 300"),
              std::string::npos);
    EXPECT_NE(problemWithDescriptor(standardTuning(), guitar(), 256)->find("capo 256"),
              std::string::npos);
    const StringedInstrumentTuningDescriptor empty("Empty", "", {});
    EXPECT_NE(problemWithDescriptor(empty, guitar(), 0)->find("has no strings"), std::string::npos);
    EXPECT_NE(problemWithDescriptor(standardTuning(), guitar(), 0, 4)->find("6 strings; at most 4"),
              std::string::npos);
}

} // namespace
} // namespace tarv
