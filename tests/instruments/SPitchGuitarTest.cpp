#include "tarv/instruments/SPitchGuitar.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace tarv {
namespace {

SPitch pitch(const char* text) {
    return *SPitch::pitchWithString(text);
}

SStringedInstrumentTuningPtr standardWith(std::uint8_t fretCount, std::uint8_t capo) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    return SStringedInstrumentTuning::initWithPitches(standard->stringPitches(), fretCount, capo,
                                                      standard->name(), "EADGBE", std::nullopt);
}

TEST(SPitchGuitar, OpenPitchOfStringIsFretZero) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretForString(pitch("E2"), 5, *tuning), 0);
}

TEST(SPitchGuitar, PitchAboveTheLastFretIsUnplayable) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretForString(pitch("E4"), 5, *tuning), -1);
}

TEST(SPitchGuitar, PitchBelowTheOpenStringIsUnplayable) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretForString(pitch("D2"), 5, *tuning), -1);
}

TEST(SPitchGuitar, LastFretItselfIsPlayable) {
    EXPECT_EQ(fretForString(pitch("E4"), 5, *standardWith(24, 0)), 24);
}

TEST(SPitchGuitar, FretIsCountedFromTheCapoUpToFretCountMinusCapo) {
    const auto tuning = standardWith(22, 3);
    const SPitch capoPitch = pitch("E2").pitchAtOffset(3);
    EXPECT_EQ(fretForString(capoPitch, 5, *tuning), 0);
    EXPECT_EQ(fretForString(capoPitch.pitchAtOffset(19), 5, *tuning), 19);
    EXPECT_EQ(fretForString(capoPitch.pitchAtOffset(20), 5, *tuning), -1);
    // Below the capo, though above the open string.
    EXPECT_EQ(fretForString(pitch("F2"), 5, *tuning), -1);
}

TEST(SPitchGuitar, StringOutsideTheTuningThrowsOutOfRange) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_THROW(fretForString(pitch("E2"), 6, *tuning), std::out_of_range);
}

TEST(SPitchGuitar, PossibleFretsListEveryStringWithMinusOneWhereUnplayable) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(possibleFretsWithTuning(pitch("E4"), *tuning),
              (std::vector<std::int8_t>{0, 5, 9, 14, 19, -1}));
}

TEST(SPitchGuitar, PossibleFretsOfTuningWithoutStringsIsEmpty) {
    const auto empty = SStringedInstrumentTuning::initWithPitches(
        {}, 22, 0, TARVMakeSharedText("None"), "", std::nullopt);
    EXPECT_TRUE(possibleFretsWithTuning(pitch("E4"), *empty).empty());
}

TEST(SPitchGuitar, SelectionZeroPicksTheFirstPlayableString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 0, &string), 0);
    EXPECT_EQ(string, 1);
}

TEST(SPitchGuitar, SelectionCountsPlayableStringsFromTheFirst) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 1, &string), 4);
    EXPECT_EQ(string, 2);
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 2, &string), 9);
    EXPECT_EQ(string, 3);
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 3, &string), 14);
    EXPECT_EQ(string, 4);
}

TEST(SPitchGuitar, SelectionBeyondThePlayableStringsFallsBackToTheLast) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 9, &string), 19);
    EXPECT_EQ(string, 5);
}

TEST(SPitchGuitar, NegativeSelectionFallsBackToTheLastPlayableString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, -1, &string), 19);
    EXPECT_EQ(string, 5);
}

TEST(SPitchGuitar, UnplayablePitchGivesMinusOneAndLeavesStringNumber) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("C1"), *tuning, 0, &string), -1);
    EXPECT_EQ(string, 99);
}

TEST(SPitchGuitar, TuningWithoutStringsGivesMinusOneAndLeavesStringNumber) {
    const auto empty = SStringedInstrumentTuning::initWithPitches(
        {}, 22, 0, TARVMakeSharedText("None"), "", std::nullopt);
    std::uint8_t string = 99;
    EXPECT_EQ(fretWithTuning(pitch("E4"), *empty, 0, &string), -1);
    EXPECT_EQ(string, 99);
}

TEST(SPitchGuitar, StringNumberAddressMayBeAbsent) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretWithTuning(pitch("B3"), *tuning, 2, nullptr), 9);
}

} // namespace
} // namespace tarv
