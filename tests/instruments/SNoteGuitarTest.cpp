#include "tarv/instruments/SNoteGuitar.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace tarv {
namespace {

using Frets = std::vector<std::int8_t>;

SNote note(const char* text) {
    return *SNote::noteWithString(text);
}

SStringedInstrumentTuningPtr standardWith(std::uint8_t fretCount, std::uint8_t capo) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    return SStringedInstrumentTuning::initWithPitches(standard->stringPitches(), fretCount, capo,
                                                      standard->name(), "EADGBE", std::nullopt);
}

/// The frets as the list is defined: start at the note's lowest fret, append while the next fret,
/// read as a signed byte, stays below the fret count. Runs far longer than any real list; sets
/// `ended` when the definition itself stops.
Frets definedFrets(int lowestFret, int fretCount, bool& ended) {
    Frets frets;
    ended = true;
    if (lowestFret >= fretCount) {
        return frets;
    }
    long long fret = lowestFret;
    for (int round = 0; round < 10000; ++round) {
        frets.push_back(static_cast<std::int8_t>(fret));
        fret += 12;
        if (fretCount <= static_cast<std::int8_t>(fret)) {
            return frets;
        }
    }
    ended = false;
    return frets;
}

TEST(SNoteGuitar, NoteOnLowStringOfDefaultTuningSoundsEveryTwelveFretsBelowFretCount) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretsForString(note("E"), 5, *tuning, false), (Frets{0, 12}));
    EXPECT_EQ(fretsForString(note("F"), 5, *tuning, false), (Frets{1, 13}));
    EXPECT_EQ(fretsForString(note("D#"), 5, *tuning, false), (Frets{11}));
}

TEST(SNoteGuitar, EnharmonicSpellingsGiveTheSameFrets) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(fretsForString(note("Eb"), 5, *tuning, false),
              fretsForString(note("D#"), 5, *tuning, false));
}

TEST(SNoteGuitar, CapoAdjustmentCountsFromTheCapoButKeepsTheFullFretCount) {
    EXPECT_EQ(fretsForString(note("E"), 5, *standardWith(22, 2), true), (Frets{10}));
    EXPECT_EQ(fretsForString(note("E"), 5, *standardWith(24, 2), true), (Frets{10, 22}));
}

TEST(SNoteGuitar, CapoIsIgnoredWithoutAdjustment) {
    EXPECT_EQ(fretsForString(note("E"), 5, *standardWith(22, 2), false), (Frets{0, 12}));
}

TEST(SNoteGuitar, NoteBeyondTheLastFretHasNoFrets) {
    EXPECT_TRUE(fretsForString(note("D#"), 5, *standardWith(11, 0), false).empty());
    EXPECT_EQ(fretsForString(note("D#"), 5, *standardWith(12, 0), false), (Frets{11}));
}

TEST(SNoteGuitar, StringOutsideTheTuningThrowsOutOfRange) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_THROW(fretsForString(note("E"), 6, *tuning, false), std::out_of_range);
}

TEST(SNoteGuitar, FretCountsUpTo116GiveEveryOctaveBelowTheFretCount) {
    EXPECT_EQ(fretsForString(note("E"), 5, *standardWith(116, 0), false),
              (Frets{0, 12, 24, 36, 48, 60, 72, 84, 96, 108}));
    EXPECT_EQ(fretsForString(note("D#"), 5, *standardWith(116, 0), false),
              (Frets{11, 23, 35, 47, 59, 71, 83, 95, 107}));
}

TEST(SNoteGuitar, FretCount127WrapsThroughNegativeFretsUntilTheByteReaches127) {
    // From 11, the fret 11 + 12 x 31 = 383 is 127 as a byte: 31 frets, the wrapped ones negative.
    const Frets frets = fretsForString(note("D#"), 5, *standardWith(127, 0), false);
    ASSERT_EQ(frets.size(), 31U);
    EXPECT_EQ(frets[9], 119);
    EXPECT_EQ(frets[10], -125);
    EXPECT_EQ(frets.back(), 115);
}

TEST(SNoteGuitar, EndlessFretSequenceStopsAfterSixtyFourFrets) {
    // From 0 the bytes never reach 127 again, and no byte reaches 255.
    for (const std::uint8_t fretCount : {127, 200, 255}) {
        const Frets frets = fretsForString(note("E"), 5, *standardWith(fretCount, 0), false);
        ASSERT_EQ(frets.size(), 64U) << int{fretCount};
        EXPECT_EQ(frets.front(), 0);
        EXPECT_EQ(frets[21], static_cast<std::int8_t>(252));
        EXPECT_EQ(frets.back(), static_cast<std::int8_t>(63 * 12));
    }
}

TEST(SNoteGuitar, EveryNoteAndFretCountGivesTheDefinedFretsOrTheirFirstSixtyFour) {
    for (const int fretCount : {0, 12, 22, 24, 116, 127, 255}) {
        for (int capo : {0, 5}) {
            const auto tuning =
                standardWith(static_cast<std::uint8_t>(fretCount), static_cast<std::uint8_t>(capo));
            for (std::uint8_t string = 0; string < tuning->stringCount(); ++string) {
                for (int value = 0; value < 12; ++value) {
                    const SNote played = SNote::noteWithValue(value);
                    const int openValue = tuning->stringPitches()[string].note().noteValue();
                    const int lowestFret = (value - openValue - capo + 24) % 12;
                    bool ended = false;
                    const Frets defined = definedFrets(lowestFret, fretCount, ended);
                    const Frets frets = fretsForString(played, string, *tuning, true);
                    if (ended) {
                        EXPECT_EQ(frets, defined) << fretCount << " frets, note " << value;
                    } else {
                        ASSERT_EQ(frets.size(), 64U) << fretCount << " frets, note " << value;
                        EXPECT_EQ(frets, Frets(defined.begin(), defined.begin() + 64));
                    }
                    if (fretCount <= 116) {
                        EXPECT_TRUE(ended);
                        for (std::size_t i = 0; i < frets.size(); ++i) {
                            EXPECT_EQ(frets[i], lowestFret + 12 * static_cast<int>(i));
                        }
                        EXPECT_EQ(frets.size(),
                                  static_cast<std::size_t>(
                                      lowestFret < fretCount ? (fretCount - 1 - lowestFret) / 12 + 1
                                                             : 0));
                    }
                }
            }
        }
    }
}

} // namespace
} // namespace tarv
