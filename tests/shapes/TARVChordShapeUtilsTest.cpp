#include "tarv/shapes/TARVChordShape.hpp"

#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"

#include "shapes/TARVFretListSupport.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarv {
namespace {

/// The class, fret and string of one mark, in the order they are compared here.
struct Mark {
    TARVIndicatorClass cls;
    int fret;
    int string;
    int endString = 0;
    bool operator==(const Mark&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Mark& mark) {
    return out << "{class " << static_cast<int>(mark.cls) << ", fret " << mark.fret << ", string "
               << mark.string << ", end " << mark.endString << "}";
}

std::vector<Mark> marksOf(const TARVChordShape& shape) {
    std::vector<Mark> marks;
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        marks.push_back({indicator.indicatorClass(), indicator.fret(), indicator.string(),
                         indicator.isBarre() ? indicator.endString() : 0});
    }
    return marks;
}

constexpr auto kFret = TARVIndicatorClass::Fret;
constexpr auto kOpen = TARVIndicatorClass::Open;
constexpr auto kMuted = TARVIndicatorClass::Muted;
constexpr auto kBarre = TARVIndicatorClass::Barre;

std::vector<int> noteValues(const std::vector<SNote>& notes) {
    std::vector<int> values;
    for (const SNote& note : notes) {
        values.push_back(note.noteValue());
    }
    return values;
}

int openNoteValue(const SStringedInstrumentTuning& tuning, std::size_t string, int semitones) {
    return (tuning.stringPitches().at(string).note().noteValue() + semitones) % 12;
}

// Fret-number text ----------------------------------------------------------------------------

TEST(TARVChordShapeUtils, OpenPositionTextKeepsAbsoluteFretsWithoutBarre) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0");
    EXPECT_EQ(shape->baseFret(), 0);
    EXPECT_EQ(shape->baseString(), 4);
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kOpen, 0, 0},
                                                  {kFret, 1, 1},
                                                  {kOpen, 0, 2},
                                                  {kFret, 2, 3},
                                                  {kFret, 3, 4},
                                                  {kMuted, -1, 5}}));
}

TEST(TARVChordShapeUtils, TextUpTheNeckMovesToItsLowestFretAndFormsBarre) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("1,3,3,2,1,1");
    EXPECT_EQ(shape->baseFret(), 1);
    EXPECT_EQ(shape->baseString(), 5);
    EXPECT_EQ(marksOf(*shape),
              (std::vector<Mark>{{kBarre, 0, 0, 5}, {kFret, 1, 2}, {kFret, 2, 3}, {kFret, 2, 4}}));
}

TEST(TARVChordShapeUtils, AllMutedTextHasBaseFret127AndSixMutedMarks) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x,x,x,x,x,x");
    EXPECT_EQ(shape->baseFret(), 127);
    std::vector<Mark> expected;
    for (int string = 0; string < 6; ++string) {
        expected.push_back({kMuted, -1, string});
    }
    EXPECT_EQ(marksOf(*shape), expected);
}

TEST(TARVChordShapeUtils, TwoDigitFretsGiveTheSameRelativePattern) {
    const TARVChordShapePtr high = TARVChordShape::shapeForFretNumberString("10,12,12,11,10,10");
    const TARVChordShapePtr low = TARVChordShape::shapeForFretNumberString("1,3,3,2,1,1");
    EXPECT_EQ(high->baseFret(), 10);
    EXPECT_EQ(marksOf(*high), marksOf(*low));
}

TEST(TARVChordShapeUtils, UpperCaseXReadsAsOpenString) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("X,3,2,0,1,0");
    EXPECT_EQ(shape->baseString(), 5);
    EXPECT_EQ(marksOf(*shape).back(), (Mark{kOpen, 0, 5}));
}

TEST(TARVChordShapeUtils, LeadingBlankBeforeNumberIsSkipped) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x, 3,2,0,1,0");
    EXPECT_EQ(marksOf(*shape), marksOf(*TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0")));
}

TEST(TARVChordShapeUtils, MutedMarkWithBlankAroundItReadsAsOpenString) {
    for (const char* text : {" x,3,2,0,1,0", "x ,3,2,0,1,0", "\tx,3,2,0,1,0"}) {
        const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString(text);
        EXPECT_EQ(marksOf(*shape).back(), (Mark{kOpen, 0, 5})) << text;
    }
}

TEST(TARVChordShapeUtils, NumberReadingStopsAtFirstNonDigitAndAcceptsSign) {
    // "3rd" reads 3, "+2" reads 2, "-1" is muted, "abc" and "" read 0, "0" open.
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("3rd,+2,-1,abc,,0");
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kOpen, 0, 0},
                                                  {kOpen, 0, 1},
                                                  {kOpen, 0, 2},
                                                  {kMuted, -1, 3},
                                                  {kFret, 2, 4},
                                                  {kFret, 3, 5}}));
}

TEST(TARVChordShapeUtils, EmptyTextIsOneOpenString) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("");
    EXPECT_EQ(shape->baseFret(), 0);
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kOpen, 0, 0}}));
}

TEST(TARVChordShapeUtils, NumbersBeyondThirtyTwoBitsSaturate) {
    // 2147483647 keeps its low byte 0xFF and so is muted; -2147483648 keeps 0x00 and is open.
    const TARVChordShapePtr shape =
        TARVChordShape::shapeForFretNumberString("99999999999999999999999,-99999999999999999999");
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kOpen, 0, 0}, {kMuted, -1, 1}}));
    const TARVChordShapePtr exact =
        TARVChordShape::shapeForFretNumberString("2147483647,-2147483648");
    EXPECT_EQ(marksOf(*exact), marksOf(*shape));
}

TEST(TARVChordShapeUtils, TextShapeIsScoredAsSixStringShape) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("5,5,7,7");
    EXPECT_EQ(shape->badness(), TARVChordShapeScorer::scoreForShape(*shape, 6));
    EXPECT_NE(shape->badness(), TARVChordShapeScorer::scoreForShape(*shape, 4));
}

// Fret-number list --------------------------------------------------------------------------

TEST(TARVChordShapeUtils, FretListPositionIsStringNumber) {
    const std::vector<std::int64_t> frets{0, 1, 0, 2, 3, -1};
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberArray(frets);
    EXPECT_EQ(marksOf(*shape), marksOf(*TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0")));
}

TEST(TARVChordShapeUtils, EmptyFretListHasBaseFret127AndNoMarks) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberArray({});
    EXPECT_EQ(shape->baseFret(), 127);
    EXPECT_TRUE(shape->indicators().empty());
}

TEST(TARVChordShapeUtils, AnyNegativeFretIsMuted) {
    const std::vector<std::int64_t> frets{3, -7, 5};
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberArray(frets);
    EXPECT_EQ(shape->baseFret(), 3);
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kFret, 0, 0}, {kMuted, -1, 1}, {kFret, 2, 2}}));
}

TEST(TARVChordShapeUtils, FretListKeepsLowEightBitsOfEachNumber) {
    // 300 is 44 and 259 is 3 in eight bits; 200 is negative as a signed byte and so muted.
    const std::vector<std::int64_t> frets{300, 259, 200};
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberArray(frets);
    EXPECT_EQ(shape->baseFret(), 3);
    EXPECT_EQ(marksOf(*shape), (std::vector<Mark>{{kFret, 41, 0}, {kFret, 0, 1}, {kMuted, -1, 2}}));
}

TEST(TARVChordShapeUtils, UnscoredFretListShapeIsTheScoredShapeWithoutItsBadness) {
    const std::vector<std::vector<std::int64_t>> lists{
        {0, 1, 0, 2, 3, -1}, {3, 5, 5, 5, 3, -1}, {300, 259, 200}, {}, {-1, -1, -1}, {7, 7, 7, 7}};
    for (const auto& frets : lists) {
        const TARVChordShapePtr scored = TARVChordShape::shapeForFretNumberArray(frets);
        const TARVChordShapePtr unscored = TARVChordShape::shapeFromFretNumberArray(frets);
        EXPECT_EQ(marksOf(*unscored), marksOf(*scored));
        EXPECT_EQ(unscored->baseFret(), scored->baseFret());
        EXPECT_EQ(unscored->baseString(), scored->baseString());
        EXPECT_EQ(unscored->reach(), scored->reach());
        EXPECT_EQ(unscored->badness(), 0u);
    }
    EXPECT_NE(TARVChordShape::shapeForFretNumberArray(lists[1])->badness(), 0u);
}

// Indicators at a fret ----------------------------------------------------------------------

TEST(TARVChordShapeUtils, IndicatorShapeUsesLowEightBitsOfFretAndScoresForSixStrings) {
    const std::vector<TARVFretIndicator> indicators{TARVFretIndicator::indicatorAtFret(0, 0),
                                                    TARVFretIndicator::indicatorAtFret(0, 1),
                                                    TARVFretIndicator::indicatorAtFret(2, 2)};
    const TARVChordShapePtr shape = TARVChordShape::shapeForIndicators(indicators, 256 + 4);
    EXPECT_EQ(shape->baseFret(), 4);
    EXPECT_TRUE(shape->indicators().front().isBarre());
    EXPECT_EQ(shape->badness(), TARVChordShapeScorer::scoreForShape(*shape, 6));
    EXPECT_NE(shape->badness(), TARVChordShapeScorer::scoreForShape(*shape, 3));
}

// Notes in a tuning -------------------------------------------------------------------------

TEST(TARVChordShapeUtils, NotesOfOpenShapeLeaveOutTheMutedString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0");
    EXPECT_EQ(noteValues(shape->notesInTuning(*tuning)),
              (std::vector<int>{openNoteValue(*tuning, 0, 0), openNoteValue(*tuning, 1, 1),
                                openNoteValue(*tuning, 2, 0), openNoteValue(*tuning, 3, 2),
                                openNoteValue(*tuning, 4, 3)}));
    // C major: E, C, G, E, C.
    EXPECT_EQ(noteValues(shape->notesInTuning(*tuning)), (std::vector<int>{4, 0, 7, 4, 0}));
}

/// The notes of `shape` worked out one mark at a time, each moving the note its string holds.
std::vector<SNote> notesOneMarkAtATime(const TARVChordShape& shape,
                                       const SStringedInstrumentTuning& tuning) {
    const std::vector<SPitch>& pitches = tuning.stringPitches();
    std::vector<std::optional<SNote>> notes;
    for (std::size_t string = 0; string < pitches.size() && string <= shape.baseString();
         ++string) {
        notes.push_back(
            pitches[string].note().noteWithOffset(static_cast<std::int8_t>(shape.baseFret())));
    }
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        if (indicator.string() >= notes.size()) {
            continue;
        }
        std::optional<SNote>& note = notes[indicator.string()];
        if (indicator.isMuted()) {
            note.reset();
        } else if (note) {
            note = note->noteWithOffset(indicator.fret());
        }
    }
    std::vector<SNote> sounding;
    for (const std::optional<SNote>& note : notes) {
        if (note) {
            sounding.push_back(*note);
        }
    }
    return sounding;
}

std::vector<std::string> noteNames(const std::vector<SNote>& notes) {
    std::vector<std::string> names;
    for (const SNote& note : notes) {
        names.push_back(note.string());
    }
    return names;
}

TEST(TARVChordShapeUtils, NotesAreWhatMovingEachStringMarkByMarkGives) {
    // Flats in the tuning show whether an unmoved string keeps its spelling.
    const std::vector<SPitch> flats = {
        *SPitch::pitchWithString("Eb4"), *SPitch::pitchWithString("Bb3"),
        *SPitch::pitchWithString("Gb3"), *SPitch::pitchWithString("Db3"),
        *SPitch::pitchWithString("Ab2"), *SPitch::pitchWithString("Eb2")};
    const auto tunings = {
        SStringedInstrumentTuning::stringedInstrumentTuning(),
        SStringedInstrumentTuning::initWithPitches(flats, 22, 0, TARVMakeSharedText("Flat"),
                                                   "EbBbGbDbAbEb", std::nullopt),
        SStringedInstrumentTuning::initWithPitches({flats[0], flats[1], flats[2]}, 22, 0,
                                                   TARVMakeSharedText("Three"), "EbBbGb",
                                                   std::nullopt)};
    std::vector<SNote> notes;
    for (const auto& tuning : tunings) {
        for (const std::size_t strings : {std::size_t{1}, std::size_t{4}, std::size_t{6}}) {
            test::forEveryFretList(strings, 4, [&](std::span<const std::int8_t> list) {
                for (const std::int8_t offset : {std::int8_t{0}, std::int8_t{7}, std::int8_t{12}}) {
                    std::vector<std::int64_t> frets(list.begin(), list.end());
                    for (std::int64_t& fret : frets) {
                        fret = fret > 0 ? fret + offset : fret;
                    }
                    const TARVChordShapePtr shape = TARVChordShape::shapeFromFretNumberArray(frets);
                    shape->notesInTuning(*tuning, notes);
                    ASSERT_EQ(noteNames(notes), noteNames(notesOneMarkAtATime(*shape, *tuning)))
                        << shape->description();
                }
            });
        }
    }
}

TEST(TARVChordShapeUtils, NotesMovedAnOctaveTakeTheSpellingOfTheirPitchClass) {
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        {*SPitch::pitchWithString("Eb4"), *SPitch::pitchWithString("Bb3")}, 22, 0,
        TARVMakeSharedText("Flat"), "EbBb", std::nullopt);
    TARVChordShape shape;
    shape.setBaseString(1);
    shape.addIndicatorForFret(5, 0);
    shape.addIndicatorForFret(7, 0);
    // String 0, moved an octave by two marks, takes the spelling of its pitch class; string 1,
    // unmoved, keeps the tuning's.
    EXPECT_EQ(noteNames(shape.notesInTuning(*tuning)), (std::vector<std::string>{"D#", "Bb"}));
}

TEST(TARVChordShapeUtils, NotesIntoAListReplaceWhatItHeld) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::vector<SNote> notes;
    for (const char* text : {"x,3,2,0,1,0", "3,2,0,0,0,3", "x,x,0,2,3,2", "x,x,x,x,x,x"}) {
        const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString(text);
        shape->notesInTuning(*tuning, notes);
        EXPECT_EQ(notes, shape->notesInTuning(*tuning)) << text;
    }
}

TEST(TARVChordShapeUtils, UnmarkedStringsUpToBaseStringSoundTheirBaseNote) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.setBaseFret(3);
    shape.setBaseString(2);
    EXPECT_EQ(noteValues(shape.notesInTuning(*tuning)),
              (std::vector<int>{openNoteValue(*tuning, 0, 3), openNoteValue(*tuning, 1, 3),
                                openNoteValue(*tuning, 2, 3)}));
}

TEST(TARVChordShapeUtils, BarreMovesOnlyItsStartString) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    // At base fret 5: a barre over strings 0 to 5 at relative fret 0, string 3 a fret higher.
    const std::vector<TARVFretIndicator> indicators{
        TARVFretIndicator::indicatorAtFret(0, 0), TARVFretIndicator::indicatorAtFret(0, 1),
        TARVFretIndicator::indicatorAtFret(0, 2), TARVFretIndicator::indicatorAtFret(1, 3),
        TARVFretIndicator::indicatorAtFret(0, 4), TARVFretIndicator::indicatorAtFret(0, 5)};
    const TARVChordShapePtr shape = TARVChordShape::shapeFromIndicatorArray(indicators, 5);
    ASSERT_TRUE(shape->indicators().front().isBarre());
    EXPECT_EQ(noteValues(shape->notesInTuning(*tuning)),
              (std::vector<int>{openNoteValue(*tuning, 0, 5), openNoteValue(*tuning, 1, 5),
                                openNoteValue(*tuning, 2, 5), openNoteValue(*tuning, 3, 6),
                                openNoteValue(*tuning, 4, 5), openNoteValue(*tuning, 5, 5)}));
}

TEST(TARVChordShapeUtils, TwoMarksOnOneStringMoveItsNoteTwice) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.setBaseString(1);
    shape.addIndicatorForFret(2, 0);
    shape.addIndicatorForFret(3, 0);
    EXPECT_EQ(noteValues(shape.notesInTuning(*tuning)),
              (std::vector<int>{openNoteValue(*tuning, 0, 5), openNoteValue(*tuning, 1, 0)}));
}

TEST(TARVChordShapeUtils, MarksAboveBaseStringProduceNoNote) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShape shape;
    shape.setBaseString(1);
    shape.addIndicatorForFret(2, 3);
    EXPECT_EQ(noteValues(shape.notesInTuning(*tuning)),
              (std::vector<int>{openNoteValue(*tuning, 0, 0), openNoteValue(*tuning, 1, 0)}));
}

TEST(TARVChordShapeUtils, NotesIgnoreTheCapo) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto capo = SStringedInstrumentTuning::initWithPitches(
        standard->stringPitches(), 22, 4, TARVMakeSharedText("Capo"), "EADGBE", std::nullopt);
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0");
    EXPECT_EQ(noteValues(shape->notesInTuning(*capo)), noteValues(shape->notesInTuning(*standard)));
}

TEST(TARVChordShapeUtils, NotesStopAtTheLastStringOfTheTuning) {
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    std::vector<SPitch> pitches(standard->stringPitches().begin(),
                                standard->stringPitches().begin() + 2);
    const auto twoStrings = SStringedInstrumentTuning::initWithPitches(
        pitches, 22, 0, TARVMakeSharedText("Two"), "BE", std::nullopt);
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0");
    EXPECT_EQ(noteValues(shape->notesInTuning(*twoStrings)),
              (std::vector<int>{openNoteValue(*standard, 0, 0), openNoteValue(*standard, 1, 1)}));
}

} // namespace
} // namespace tarv
