#include "tarv/music/SChordQuality.hpp"

#include "tarv/music/SChord.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarv {
namespace {

std::optional<SChordQuality> qualityOf(const std::string& symbol) {
    const SChordPtr chord = SChord::chordWithString(symbol);
    EXPECT_TRUE(chord) << symbol;
    return chord ? SChordQuality::qualityOfChord(*chord) : std::nullopt;
}

TEST(SChordQuality, EverySupportedSuffixNamesAQuality) {
    for (const std::string& suffix : SChord::supportedQualities()) {
        const auto quality = SChordQuality::qualityWithSuffix(suffix);
        ASSERT_TRUE(quality) << suffix;
        EXPECT_EQ(quality->suffix(), suffix);
        EXPECT_FALSE(quality->name().empty()) << suffix;
        const std::vector<int> semitones = quality->semitones();
        ASSERT_FALSE(semitones.empty()) << suffix;
        EXPECT_EQ(semitones.front(), 0) << suffix;
    }
    EXPECT_FALSE(SChordQuality::qualityWithSuffix("maj8"));
    EXPECT_FALSE(SChordQuality::qualityWithSuffix("M"));
}

TEST(SChordQuality, DiminishedToleratesItsSeventhAndThirteenthsTheirEleventh) {
    const auto dim = SChordQuality::qualityWithSuffix("dim");
    ASSERT_TRUE(dim);
    EXPECT_EQ(dim->semitones(), (std::vector<int>{0, 3, 6}));
    EXPECT_EQ(dim->toleratedSemitones(), std::vector<int>{9});
    EXPECT_EQ(SChordQuality::qualityWithSuffix("13")->toleratedSemitones(), std::vector<int>{17});
    EXPECT_EQ(SChordQuality::qualityWithSuffix("maj13")->toleratedSemitones(),
              std::vector<int>{17});
    EXPECT_TRUE(SChordQuality::qualityWithSuffix("m7")->toleratedSemitones().empty());
}

TEST(SChordQuality, SmallInstrumentsPlayNinthsRootless) {
    using Omission = SChordQuality::RootOmission;
    EXPECT_EQ(SChordQuality::qualityWithSuffix("")->rootOmission(), Omission::Never);
    EXPECT_EQ(SChordQuality::qualityWithSuffix("7")->rootOmission(), Omission::Jazz);
    EXPECT_EQ(SChordQuality::qualityWithSuffix("9")->rootOmission(), Omission::SmallInstruments);
    EXPECT_EQ(SChordQuality::qualityWithSuffix("13")->rootOmission(), Omission::SmallInstruments);
}

TEST(SChordQuality, TriadsLeaveOutTheirFifthOnlyInSmallVoicings) {
    EXPECT_EQ(SChordQuality::qualityWithSuffix("")->rarelyOmittableSemitones(),
              std::vector<int>{7});
    EXPECT_EQ(SChordQuality::qualityWithSuffix("m")->rarelyOmittableSemitones(),
              std::vector<int>{7});
    EXPECT_EQ(SChordQuality::qualityWithSuffix("dim7")->rarelyOmittableSemitones(),
              std::vector<int>{6});
    EXPECT_TRUE(SChordQuality::qualityWithSuffix("dim")->rarelyOmittableSemitones().empty());
    EXPECT_TRUE(SChordQuality::qualityWithSuffix("7")->rarelyOmittableSemitones().empty());
}

TEST(SChordQuality, AChordHasItsQualityOnlyWithExactlyItsTones) {
    ASSERT_TRUE(qualityOf("C"));
    EXPECT_EQ(qualityOf("C")->suffix(), "");
    EXPECT_EQ(qualityOf("F#m7b5")->suffix(), "m7b5");
    EXPECT_EQ(qualityOf("Bbdim")->suffix(), "dim");
    EXPECT_EQ(qualityOf("E9")->suffix(), "9");
    // A slash bass outside the chord, or one of its tones, leaves the quality be.
    EXPECT_EQ(qualityOf("C9/E")->suffix(), "9");
    EXPECT_EQ(qualityOf("Am/G")->suffix(), "m");
    // Added, altered or omitted tones make another chord.
    EXPECT_FALSE(qualityOf("C7(b9,#11)"));
    EXPECT_FALSE(qualityOf("C9(no5)"));
    EXPECT_FALSE(qualityOf("C7/6"));
    // Unless the tones make a quality of their own.
    EXPECT_EQ(qualityOf("C9(b5)")->suffix(), "9b5");
    EXPECT_EQ(qualityOf("C(no3)")->suffix(), "5");
}

} // namespace
} // namespace tarv
