#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVChordShape.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace tarv;

namespace {

SPitch pitch(const char* text) {
    return *SPitch::pitchWithString(text);
}

std::vector<std::string> texts(const std::vector<SPitch>& pitches) {
    std::vector<std::string> result;
    for (const auto& p : pitches) {
        result.push_back(p.string());
    }
    return result;
}

SStringedInstrumentTuningPtr standardWithCapo(std::uint8_t capo) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    return SStringedInstrumentTuning::initWithPitches(standard->stringPitches(), 22, capo,
                                                      standard->name(), "EADGBE", std::nullopt);
}

} // namespace

TEST(SStringedInstrumentTuning, DefaultTuningIsSixStringStandardGuitar) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(tuning->stringCount(), 6);
    EXPECT_EQ(tuning->asciiNoteString(), "EADGBE");
    EXPECT_EQ(tuning->noteString(), "EADGBE");
    EXPECT_EQ(tuning->fretCount(), 22);
    EXPECT_EQ(tuning->capo(), 0);
    EXPECT_FALSE(tuning->stringOrderTransform().has_value());
    EXPECT_EQ(tuning->pitchForString(0).string(), "E4");
    EXPECT_EQ(tuning->pitchForString(5).string(), "E2");
    EXPECT_EQ(texts(tuning->stringPitches()),
              (std::vector<std::string>{"E4", "B3", "G3", "D3", "A2", "E2"}));
}

TEST(SStringedInstrumentTuning, DefaultTuningNameFallsBackToTheKey) {
    EXPECT_EQ(*SStringedInstrumentTuning::stringedInstrumentTuning()->name(), "Standard");
}

TEST(SStringedInstrumentTuning, TwoDefaultTuningsShareTheirNameAndCompareEqual) {
    const auto a = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto b = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_EQ(a->name().get(), b->name().get());
    EXPECT_TRUE(a->isEqualToTuning(*b));
    EXPECT_EQ(a->hash(), b->hash());
}

TEST(SStringedInstrumentTuning, AsciiNoteStringRewritesFlatsAndSharpsLowestStringFirst) {
    const auto flats = SStringedInstrumentTuning::initWithPitches(
        {pitch("Eb4"), pitch("Bb3"), pitch("Gb3"), pitch("Db3"), pitch("Ab2"), pitch("Eb2")}, 22, 0,
        TARVMakeSharedText("Half step down"), "EbAbDbGbBbEb", std::nullopt);
    EXPECT_EQ(flats->asciiNoteString(), "E-A-D-G-B-E-");
    const auto sharps = SStringedInstrumentTuning::initWithPitches(
        {pitch("F#4"), pitch("C#4"), pitch("G3"), pitch("D3")}, 20, 0, nullptr, "DGC#F#",
        std::nullopt);
    EXPECT_EQ(sharps->asciiNoteString(), "DGC+F+");
}

TEST(SStringedInstrumentTuning, CapoRaisesAnOpenStringIndicator) {
    const auto tuning = standardWithCapo(2);
    TARVChordShape shape;
    shape.addOpenIndicatorForString(5);
    EXPECT_EQ(texts(tuning->pitchesForShape(shape, 0)), (std::vector<std::string>{"F#2"}));
}

TEST(SStringedInstrumentTuning, OpenIndicatorSoundsTheBaseFretAboveTheBasePitch) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.addOpenIndicatorForString(5);
    shape.setBaseFret(3);
    EXPECT_EQ(texts(tuning->pitchesForShape(shape, 0)), (std::vector<std::string>{"G2"}));
    EXPECT_EQ(texts(tuning->pitchesForShape(shape, 2)), (std::vector<std::string>{"A2"}));
}

TEST(SStringedInstrumentTuning, FrettedNoteOverridesTheBarreOnItsString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.setBaseFret(1);
    shape._addSortedIndicator(TARVBarreIndicator(0, 0, 5));
    shape.addIndicatorForFret(2, 2);
    EXPECT_EQ(texts(tuning->pitchesForShape(shape, 0)),
              (std::vector<std::string>{"F4", "C4", "A#3", "D#3", "A#2", "F2"}));
}

TEST(SStringedInstrumentTuning, BarreEndingBelowItsStartSoundsNoString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.setBaseFret(1);
    shape._addSortedIndicator(TARVBarreIndicator(0, 4, 2));
    shape.addIndicatorForFret(2, 2);
    std::vector<SPitch> pitches;
    ASSERT_NO_THROW(pitches = tuning->pitchesForShape(shape, 0));
    EXPECT_EQ(texts(pitches), (std::vector<std::string>{"A#3"}));
    // On many strings the run does not wrap round through string 255 either.
    std::vector<SPitch> many(300, *SPitch::pitchWithString("E2"));
    const auto wide = SStringedInstrumentTuning::initWithPitches(
        many, 22, 0, TARVMakeSharedText("Wide"), "E", std::nullopt);
    TARVChordShape barreOnly;
    barreOnly.setBaseFret(1);
    barreOnly._addSortedIndicator(TARVBarreIndicator(0, 4, 2));
    EXPECT_TRUE(wide->pitchesForShape(barreOnly, 0).empty());
}

TEST(SStringedInstrumentTuning, MutedStringUnderABarreOnlyCountsAfterTheBarre) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    // The barre starts at string 0, so a muted string 3 comes after it: string 3 is removed.
    TARVChordShape after;
    after.setBaseFret(1);
    after._addSortedIndicator(TARVBarreIndicator(0, 0, 5));
    after.addMutedIndicatorForString(3);
    EXPECT_EQ(texts(tuning->pitchesForShape(after, 0)),
              (std::vector<std::string>{"F4", "C4", "G#3", "A#2", "F2"}));
    // A muted string 0 comes before a barre starting at string 0: the barre sounds it again.
    TARVChordShape before;
    before.setBaseFret(1);
    before.addMutedIndicatorForString(0);
    before._addSortedIndicator(TARVBarreIndicator(0, 0, 5));
    ASSERT_TRUE(before.indicators()[0].isMuted());
    EXPECT_EQ(texts(tuning->pitchesForShape(before, 0)),
              (std::vector<std::string>{"F4", "C4", "G#3", "D#3", "A#2", "F2"}));
}

TEST(SStringedInstrumentTuning, MutedStringsAreLeftOutOfThePitches) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto shape = TARVChordShape::shapeFromIndicatorArray(
        std::vector<TARVFretIndicator>{TARVFretIndicator(3, 0), TARVFretIndicator(1, 1),
                                       TARVFretIndicator(0, 2), TARVFretIndicator(2, 3),
                                       TARVFretIndicator(-1, 4), TARVFretIndicator(-1, 5)},
        0);
    EXPECT_EQ(texts(tuning->pitchesForShape(*shape, 0)),
              (std::vector<std::string>{"G4", "C4", "G3", "E3"}));
}

TEST(SStringedInstrumentTuning, UnmarkedStringsAreLeftOut) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.addIndicatorForFret(1, 4);
    EXPECT_EQ(texts(tuning->pitchesForShape(shape, 0)), (std::vector<std::string>{"A#2"}));
}

TEST(SStringedInstrumentTuning, PitchesOfAStringBeyondTheTuningAreARangeError) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.addIndicatorForFret(1, 6);
    EXPECT_THROW((void)tuning->pitchesForShape(shape, 0), std::out_of_range);
}

TEST(SStringedInstrumentTuning, EqualContentWithSeparateNameObjectsIsUnequal) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto a = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, TARVMakeSharedText("Standard"), "EADGBE", std::nullopt);
    const auto b = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, TARVMakeSharedText("Standard"), "EADGBE", std::nullopt);
    EXPECT_FALSE(a->isEqualToTuning(*b));
    EXPECT_FALSE(a->isEqualToTuning(*standard));
}

TEST(SStringedInstrumentTuning, CopyIsTheSameObjectAndEqual) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto copy = SStringedInstrumentTuning::copy(tuning);
    EXPECT_EQ(copy.get(), tuning.get());
    EXPECT_TRUE(copy->isEqual(*tuning));
}

TEST(SStringedInstrumentTuning, TransformMakesTuningsUnequalAndHashDifferently) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto plain = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, standard->name(), "EADGBE", std::nullopt);
    const auto transformed = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, standard->name(), "EADGBE",
        std::vector<std::int64_t>{5, 4, 3, 2, 1, 0});
    EXPECT_TRUE(plain->isEqualToTuning(*standard));
    EXPECT_FALSE(plain->isEqualToTuning(*transformed));
    EXPECT_FALSE(transformed->isEqualToTuning(*plain));
    EXPECT_NE(plain->hash(), transformed->hash());
    transformed->setStringOrderTransform(std::nullopt);
    EXPECT_TRUE(plain->isEqualToTuning(*transformed));
    EXPECT_EQ(plain->hash(), transformed->hash());
}

TEST(SStringedInstrumentTuning, EqualityComparesFretsCapoAndPitches) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto frets = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 24, 0, standard->name(), "EADGBE", std::nullopt);
    EXPECT_FALSE(frets->isEqualToTuning(*standard));
    // The fret count plays no part in the hash.
    EXPECT_EQ(frets->hash(), standard->hash());
    EXPECT_FALSE(standardWithCapo(1)->isEqualToTuning(*standard));
    auto pitches = standard->stringPitches();
    pitches[5] = pitch("D2");
    const auto dropD = SStringedInstrumentTuning::initWithPitches(pitches, 22, 0, standard->name(),
                                                                  "EADGBE", std::nullopt);
    EXPECT_FALSE(dropD->isEqualToTuning(*standard));
}

TEST(SStringedInstrumentTuning, PitchForStringFollowsTheTransform) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto reversed = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, standard->name(), "EADGBE",
        std::vector<std::int64_t>{5, 4, 3, 2, 1, 0});
    EXPECT_EQ(reversed->pitchForString(0).string(), "E2");
    EXPECT_EQ(reversed->pitchForString(1).string(), "A2");
}

TEST(SStringedInstrumentTuning, PitchForStringOutOfRangeThrows) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    EXPECT_THROW((void)standard->pitchForString(6), std::out_of_range);
    EXPECT_THROW((void)standard->pitchForString(-1), std::out_of_range);
    const auto badTransform = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 0, standard->name(), "EADGBE", std::vector<std::int64_t>{9});
    EXPECT_THROW((void)badTransform->pitchForString(0), std::out_of_range);
    EXPECT_THROW((void)badTransform->pitchForString(1), std::out_of_range);
}

TEST(SStringedInstrumentTuning, DesignatedInitializerValidatesNothing) {
    const auto odd = SStringedInstrumentTuning::initWithPitches(
        {pitch("C4")}, 0, 30, nullptr, "XYZ", std::vector<std::int64_t>{3, 4});
    EXPECT_EQ(odd->stringCount(), 1);
    EXPECT_EQ(odd->capo(), 30);
    EXPECT_EQ(odd->noteString(), "XYZ");
    EXPECT_EQ(odd->asciiNoteString(), "C");
}

TEST(SStringedInstrumentTuning, LocalizedStringReturnsOneObjectPerKey) {
    EXPECT_EQ(TARVLocalizedString("Standard").get(), TARVLocalizedString("Standard").get());
    EXPECT_NE(TARVLocalizedString("Standard").get(), TARVLocalizedString("Guitar").get());
    EXPECT_EQ(*TARVLocalizedString("Guitar"), "Guitar");
}
