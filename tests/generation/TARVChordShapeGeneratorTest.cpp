#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/generation/TARVNoteAdditions.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace tarv;

namespace {

SChordPtr chord(const char* symbol) {
    auto parsed = SChord::chordWithString(symbol);
    EXPECT_TRUE(parsed) << symbol;
    return parsed;
}

SNote note(const char* text) {
    return *SNote::noteWithString(text);
}

SStringedInstrumentTuningPtr standard() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

SStringedInstrumentTuningPtr tuningOf(std::vector<const char*> pitchesHighestFirst,
                                      std::uint8_t frets,
                                      std::optional<std::vector<std::int64_t>> transform = {}) {
    std::vector<SPitch> pitches;
    std::string noteString;
    for (const char* text : pitchesHighestFirst) {
        pitches.push_back(*SPitch::pitchWithString(text));
        noteString.insert(0, pitches.back().note().string());
    }
    return SStringedInstrumentTuning::initWithPitches(pitches, frets, 0, TARVMakeSharedText("Test"),
                                                      noteString, std::move(transform));
}

/// The shape's frets as players write them: lowest-pitched string first, absolute frets.
std::string fretText(const TARVChordShape& shape, std::uint8_t stringCount) {
    std::vector<std::string> frets(stringCount, "x");
    for (const auto& indicator : shape.indicators()) {
        const int absolute = indicator.fret() + shape.baseFret();
        if (indicator.isMuted()) {
            continue;
        }
        if (indicator.isBarre()) {
            for (int string = indicator.string(); string <= indicator.endString(); ++string) {
                if (frets[static_cast<std::size_t>(string)] == "x") {
                    frets[static_cast<std::size_t>(string)] = std::to_string(absolute);
                }
            }
        } else {
            frets[indicator.string()] = std::to_string(absolute);
        }
    }
    std::string text;
    for (std::size_t i = frets.size(); i-- > 0;) {
        text += frets[i];
        text += i == 0 ? "" : ",";
    }
    return text;
}

TARVChordShapeGenerator generatorFor(const char* symbol, SStringedInstrumentTuningPtr tuning) {
    TARVChordShapeGenerator generator(chord(symbol), std::move(tuning));
    return generator;
}

} // namespace

TEST(TARVChordShapeGenerator, CMajorInStandardTuningStartsWithTheOpenShape) {
    const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord("C"), standard());
    ASSERT_TRUE(generator->shapes());
    const auto& shapes = *generator->shapes();
    ASSERT_FALSE(shapes.empty());
    EXPECT_LE(shapes.size(), 20u);
    EXPECT_EQ(fretText(*shapes.front(), 6), "x,3,2,0,1,0");
    for (std::size_t i = 1; i < shapes.size(); ++i) {
        EXPECT_LE(shapes[i - 1]->badness(), shapes[i]->badness());
    }
}

TEST(TARVChordShapeGenerator, EveryShapeIsValidAndScoredForTheTuning) {
    const auto tuning = standard();
    const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord("G7"), tuning);
    for (const auto& shape : *generator->shapes()) {
        EXPECT_TRUE(generator->isValidChordShape(*shape)) << shape->description();
        const auto copy = std::make_shared<TARVChordShape>(*shape);
        EXPECT_EQ(shape->badness(), TARVChordShapeScorer::scoreForShape(*copy, 6));
    }
}

TEST(TARVChordShapeGenerator, FretCountTwelveVisitsStartFretsZeroToEleven) {
    EXPECT_EQ(TARVChordShapeGenerator::_fretRangeAtFret(0, 12).length, 4u);
    EXPECT_EQ(TARVChordShapeGenerator::_fretRangeAtFret(8, 12).length, 4u);
    const auto atTen = TARVChordShapeGenerator::_fretRangeAtFret(10, 12);
    EXPECT_EQ(atTen.location, 10u);
    EXPECT_EQ(atTen.length, 2u);
    const auto atEleven = TARVChordShapeGenerator::_fretRangeAtFret(11, 12);
    EXPECT_EQ(atEleven.location, 11u);
    EXPECT_EQ(atEleven.length, 1u);

    // The last ranges still offer the frets below the fret count: G# on the A string at 11.
    const auto tuning = tuningOf({"E4", "B3", "G3", "D3", "A2", "E2"}, 12);
    auto generator = TARVChordShapeGenerator(chord("E"), tuning);
    generator._buildShapes();
    EXPECT_EQ(generator._fretsForString(4, atTen), (std::vector<std::int16_t>{11}));
    EXPECT_EQ(generator._fretsForString(4, atEleven), (std::vector<std::int16_t>{11}));
    for (const auto& list : generator.stringFretLists()) {
        ASSERT_FALSE(list.empty());
        EXPECT_LT(list.back(), 12);
    }
}

TEST(TARVChordShapeGenerator, ZeroFretsVisitsNoRange) {
    const auto generator =
        TARVChordShapeGenerator::initUncachedWithChord(chord("E"), tuningOf({"E4", "B3", "G3"}, 0));
    EXPECT_TRUE(generator->shapes()->empty());
}

TEST(TARVChordShapeGenerator, SingleStringTuningGeneratesNothing) {
    const auto generator =
        TARVChordShapeGenerator::initUncachedWithChord(chord("C5"), tuningOf({"C3"}, 22));
    ASSERT_TRUE(generator->shapes());
    EXPECT_TRUE(generator->shapes()->empty());
    EXPECT_TRUE(generator->shapeSet().empty());
}

TEST(TARVChordShapeGenerator, SlashChordPutsTheAddedBaseLowest) {
    const auto tuning = standard();
    const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord("C/E"), tuning);
    ASSERT_FALSE(generator->shapes()->empty());
    for (const auto& shape : *generator->shapes()) {
        const auto notes = shape->notesInTuning(*tuning);
        EXPECT_EQ(notes.back().noteValue(), note("E").noteValue()) << fretText(*shape, 6);
    }
}

TEST(TARVChordShapeGenerator, SlashBassIsNeverSearchedOnStringZero) {
    // Only string 0 can sound the bass F# within reach of the chord tones on the other strings:
    // with string 0 excluded from bass placement, no shape has it lowest.
    const auto tuning = tuningOf({"F#4", "C3"}, 1);
    const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord("C/F#"), tuning);
    EXPECT_TRUE(generator->shapes()->empty());
}

TEST(TARVChordShapeGenerator, MoreThanTwentyValidShapesReturnsTheTwentyLowest) {
    auto generator = TARVChordShapeGenerator(chord("C"), standard());
    const auto shapes = generator._buildShapes();
    ASSERT_GT(generator.shapeSet().size(), 20u);
    ASSERT_EQ(shapes.size(), 20u);
    std::vector<std::uint64_t> all;
    for (const auto& shape : generator.shapeSet()) {
        all.push_back(shape->badness());
    }
    std::sort(all.begin(), all.end());
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(shapes[i]->badness(), all[i]);
    }
}

TEST(TARVChordShapeGenerator, EqualBadnessKeepsDiscoveryOrder) {
    auto generator = TARVChordShapeGenerator(chord("Am"), standard());
    const auto shapes = generator._buildShapes();
    const auto& set = generator.shapeSet();
    const auto position = [&](const TARVChordShapePtr& shape) {
        return std::find(set.begin(), set.end(), shape) - set.begin();
    };
    for (std::size_t i = 1; i < shapes.size(); ++i) {
        if (shapes[i - 1]->badness() == shapes[i]->badness()) {
            EXPECT_LT(position(shapes[i - 1]), position(shapes[i]));
        }
    }
}

TEST(TARVChordShapeGenerator, WorkingSetHoldsNoTwoEqualShapes) {
    auto generator = TARVChordShapeGenerator(chord("D"), standard());
    generator._buildShapes();
    const auto& set = generator.shapeSet();
    for (std::size_t i = 0; i < set.size(); ++i) {
        for (std::size_t j = i + 1; j < set.size(); ++j) {
            EXPECT_FALSE(set[i]->isEqual(*set[j]));
        }
    }
}

// Enumeration ---------------------------------------------------------------------------------

TEST(TARVChordShapeGenerator, StringWithoutAChordNoteInRangeIsOnlyMuted) {
    // C major: no C, E or G on the B string (string 1) between frets 2 and 3... but D is fret 3;
    // use a range where string 1 (B3) has no chord note: frets 2..3 give C#, D.
    auto generator = TARVChordShapeGenerator(chord("C"), standard());
    generator._buildShapes();
    const auto frets = generator._fretsForString(1, TARVFretRange{2, 1});
    EXPECT_EQ(frets, (std::vector<std::int16_t>{-1}));
}

TEST(TARVChordShapeGenerator, StringsBetweenBassAndStringZeroMustSoundAwayFromTheNut) {
    auto generator = TARVChordShapeGenerator(chord("C"), standard());
    generator._buildShapes();
    const TARVFretRange range{3, 4};
    for (std::uint32_t string = 1; string <= 4; ++string) {
        const auto frets = generator._fretsForString(string, range);
        ASSERT_FALSE(frets.empty());
        EXPECT_GE(frets.front(), 0) << "string " << string;
    }
    EXPECT_EQ(generator._fretsForString(0, range).front(), -1);
    // At the nut every string may be muted.
    for (std::uint32_t string = 0; string <= 5; ++string) {
        EXPECT_EQ(generator._fretsForString(string, TARVFretRange{0, 4}).front(), -1);
    }
    // Candidates in that range for bass string 5 never mute strings 1 to 4.
    const auto candidates = generator._indicatorListsForFretRange(range, 8, 5);
    ASSERT_FALSE(candidates.empty());
    for (const auto& candidate : candidates) {
        ASSERT_EQ(candidate.size(), 6u);
        for (std::size_t position = 1; position <= 4; ++position) {
            EXPECT_GE(candidate[position].fret(), 0);
        }
    }
}

TEST(TARVChordShapeGenerator, TwoNoteChordMayMuteAnyStringInAnyRange) {
    auto generator = TARVChordShapeGenerator(chord("E5"), standard());
    generator._buildShapes();
    for (std::uint64_t location = 0; location < 18; ++location) {
        for (std::uint32_t string = 0; string < 6; ++string) {
            EXPECT_EQ(generator._fretsForString(string, TARVFretRange{location, 4}).front(), -1);
        }
    }
}

TEST(TARVChordShapeGenerator, FretListsAreAscendingWithinTheRange) {
    auto generator = TARVChordShapeGenerator(chord("C"), standard());
    generator._buildShapes();
    // String 5 (E2): C at 8 and 20, E at 0 and 12, G at 3 and 15.
    EXPECT_EQ(generator.stringFretLists()[5], (std::vector<std::int16_t>{0, 3, 8, 12, 15, 20}));
    EXPECT_EQ(generator._fretsForString(5, TARVFretRange{3, 4}), (std::vector<std::int16_t>{3}));
    EXPECT_EQ(generator._fretsForString(5, TARVFretRange{8, 4}),
              (std::vector<std::int16_t>{8, 12}));
}

TEST(TARVChordShapeGenerator, CandidatesComeOutInLexicographicOrder) {
    auto generator = TARVChordShapeGenerator(chord("C"), tuningOf({"E4", "B3", "G3"}, 22));
    generator._buildShapes();
    const TARVFretRange range{0, 4};
    // Bass on string 2 (G3) at fret 0; string 1 (B3): muted, 1; string 0 (E4): muted, 0, 3.
    const auto candidates = generator._indicatorListsForFretRange(range, 0, 2);
    std::vector<std::string> seen;
    for (const auto& candidate : candidates) {
        std::string text;
        for (const auto& indicator : candidate) {
            text +=
                std::to_string(indicator.string()) + ":" + std::to_string(indicator.fret()) + " ";
        }
        seen.push_back(text);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"2:0 1:-1 0:-1 ", "2:0 1:-1 0:0 ", "2:0 1:-1 0:3 ",
                                              "2:0 1:1 0:-1 ", "2:0 1:1 0:0 ", "2:0 1:1 0:3 "}));
}

TEST(TARVChordShapeGenerator, OffsetIsTheLowestSoundingRelativeFret) {
    auto generator = generatorFor("C", standard());
    const std::vector<TARVFretIndicator> candidate{TARVFretIndicator(3, 5), TARVFretIndicator(2, 4),
                                                   TARVFretIndicator(-5, 3)};
    EXPECT_EQ(generator._normalizationOffsetForIndicatorArray(candidate), 2);
    std::uint8_t offset = 0;
    const auto normalized = generator._normalizeIndicatorArray(candidate, &offset);
    EXPECT_EQ(offset, 2);
    EXPECT_EQ(normalized[0].fret(), 1);
    EXPECT_EQ(normalized[1].fret(), 0);
    EXPECT_EQ(normalized[2].fret(), -7);
    const auto shape = TARVChordShape::shapeFromIndicatorArray(normalized, 5 + offset);
    EXPECT_EQ(shape->baseFret(), 7);
}

TEST(TARVChordShapeGenerator, CandidateWithNothingSoundingGetsOffsetFour) {
    auto generator = generatorFor("C", standard());
    const std::vector<TARVFretIndicator> candidate{TARVFretIndicator(-1, 1),
                                                   TARVFretIndicator(-3, 0)};
    EXPECT_EQ(generator._normalizationOffsetForIndicatorArray(candidate), 4);
    EXPECT_EQ(generator._normalizationOffsetForIndicatorArray({}), 4);
    EXPECT_EQ(generator._normalizationOffsetForIndicatorArray(
                  std::vector<TARVFretIndicator>{TARVFretIndicator(9, 0)}),
              4);
}

TEST(TARVChordShapeGenerator, NormalizationMutesStringsAboveTheBass) {
    auto generator = generatorFor("C", standard());
    const std::vector<TARVFretIndicator> candidate{TARVFretIndicator(2, 3), TARVFretIndicator(1, 2),
                                                   TARVFretIndicator(0, 1),
                                                   TARVFretIndicator(0, 0)};
    const auto normalized = generator._normalizeIndicatorArray(candidate, nullptr);
    ASSERT_EQ(normalized.size(), 6u);
    EXPECT_TRUE(normalized[4].isMuted());
    EXPECT_EQ(normalized[4].string(), 4);
    EXPECT_TRUE(normalized[5].isMuted());
    EXPECT_EQ(normalized[5].string(), 5);
}

TEST(TARVChordShapeGenerator, TransformMapsGeneratorStringsToTuningStrings) {
    auto generator =
        generatorFor("C", tuningOf({"E4", "B3", "G3"}, 22, std::vector<std::int64_t>{1, 0, 2}));
    const std::vector<TARVFretIndicator> candidate{TARVFretIndicator(2, 2),
                                                   TARVFretIndicator(1, 0)};
    const auto normalized = generator._normalizeIndicatorArray(candidate, nullptr);
    ASSERT_EQ(normalized.size(), 3u);
    EXPECT_EQ(normalized[0].string(), 2);
    EXPECT_EQ(normalized[1].string(), 1);
    EXPECT_TRUE(normalized[2].isMuted());
    EXPECT_EQ(normalized[2].string(), 0);
}

TEST(TARVChordShapeGenerator, TransformReordersTheFretLists) {
    const auto plainTuning = tuningOf({"E4", "B3", "G3"}, 22);
    const auto transformed = tuningOf({"E4", "B3", "G3"}, 22, std::vector<std::int64_t>{2, 0, 1});
    auto plain = generatorFor("C", plainTuning);
    plain._buildShapes();
    auto reordered = generatorFor("C", transformed);
    reordered._buildShapes();
    EXPECT_EQ(reordered.stringFretLists()[0], plain.stringFretLists()[2]);
    EXPECT_EQ(reordered.stringFretLists()[1], plain.stringFretLists()[0]);
    EXPECT_EQ(reordered.stringFretLists()[2], plain.stringFretLists()[1]);
}

// Validation ----------------------------------------------------------------------------------

TEST(TARVChordShapeGenerator, ShapeNeedingFiveFingersIsInvalid) {
    auto generator = generatorFor("C", standard());
    // Five fretted strings above the lowest one, all of them C major tones.
    const auto shape = TARVChordShape::shapeForFretNumberString("8,10,10,9,8,12");
    ASSERT_GT(shape->_fingersRequiredToPlayWithStringCount(6), 4u);
    EXPECT_FALSE(generator.isValidChordShape(*shape));
}

TEST(TARVChordShapeGenerator, SlashChordKeepsOnlyShapesOverItsBass) {
    auto generator = generatorFor("C/E", standard());
    EXPECT_FALSE(
        generator.isValidChordShape(*TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0")));
    EXPECT_TRUE(
        generator.isValidChordShape(*TARVChordShape::shapeForFretNumberString("0,3,2,0,1,0")));
}

TEST(TARVChordShapeGenerator, BassSpelledDifferentlyButEnharmonicPasses) {
    auto generator = generatorFor("C", standard());
    EXPECT_TRUE(generator._shapeNotesHaveCorrectBassForChord({note("E"), note("G"), note("B#")},
                                                             *chord("C")));
    EXPECT_FALSE(
        generator._shapeNotesHaveCorrectBassForChord({note("B#"), note("E")}, *chord("C")));
    EXPECT_FALSE(generator._shapeNotesHaveCorrectBassForChord({}, *chord("C")));
}

TEST(TARVChordShapeGenerator, CharacteristicNotesMustAllSound) {
    auto generator = generatorFor("C", standard());
    const auto c = chord("C");
    EXPECT_TRUE(generator._shapeNotesHaveCharacteristicNotesForChord(
        {note("C"), note("E"), note("G"), note("C"), note("C")}, *c));
    EXPECT_FALSE(generator._shapeNotesHaveCharacteristicNotesForChord(
        {note("C"), note("G"), note("C"), note("C")}, *c));
    EXPECT_TRUE(generator._shapeNotesHaveCharacteristicNotesForChord(
        {note("B#"), note("Fb"), note("G"), note("C")}, *c));
}

TEST(TARVChordShapeGenerator, AllMutedShapeIsInvalid) {
    auto generator = generatorFor("C", standard());
    EXPECT_FALSE(
        generator.isValidChordShape(*TARVChordShape::shapeForFretNumberString("x,x,x,x,x,x")));
}

TEST(TARVChordShapeGenerator, RemovalKeepsTheDiscoveryOrderOfSurvivors) {
    auto generator = generatorFor("C", standard());
    const std::vector<const char*> frets{"x,3,2,0,1,0", "x,x,x,x,x,x",   "x,3,5,5,5,3",
                                         "x,3,2,0,1,x", "8,10,10,9,8,8", "0,0,0,0,0,0"};
    std::vector<TARVChordShapePtr> set;
    for (const char* text : frets) {
        set.push_back(TARVChordShape::shapeForFretNumberString(text));
    }
    generator.setShapeSet(set);
    generator._removeInvalidShapes();
    EXPECT_EQ(generator.shapeSet(),
              (std::vector<TARVChordShapePtr>{set[0], set[2], set[3], set[4]}));
}

namespace {

/// Validity as the rules state it, on the list notesInTuning answers.
bool validByTheRules(const TARVChordShapeGenerator& generator, const TARVChordShape& shape) {
    if (shape._fingersRequiredToPlayWithStringCount(generator.tuning()->stringCount()) > 4) {
        return false;
    }
    const auto notes = shape.notesInTuning(*generator.tuning());
    return generator._shapeNotesHaveCorrectBassForChord(notes, *generator.chord()) &&
           generator._shapeNotesHaveCharacteristicNotesForChord(notes, *generator.chord());
}

} // namespace

TEST(TARVChordShapeGenerator, ValidityAgreesWithTheSoundingNotesOfEveryCandidate) {
    const std::vector<std::pair<const char*, SStringedInstrumentTuningPtr>> cases{
        {"C", standard()},
        {"G7", standard()},
        {"C/E", standard()},
        {"E5", standard()},
        {"F#m7b5", standard()},
        {"Am", tuningOf({"A4", "E4", "C4", "G4"}, 18)},
        {"D", tuningOf({"D4", "A3", "F#3", "D3", "A2", "D2"}, 22,
                       std::vector<std::int64_t>{5, 4, 3, 2, 1, 0})},
    };
    for (const auto& [symbol, tuning] : cases) {
        auto generator = generatorFor(symbol, tuning);
        generator._buildShapes();
        std::size_t checked = 0;
        std::size_t valid = 0;
        for (std::uint32_t fret = 0; fret < tuning->fretCount(); ++fret) {
            const auto range = TARVChordShapeGenerator::_fretRangeAtFret(fret, tuning->fretCount());
            const SNote bass = generator.chord()->addedBase().value_or(generator.chord()->root());
            for (std::uint32_t string = tuning->stringCount() - 1u; string >= 1; --string) {
                for (const auto& shape : generator._shapesForFretRange(range, bass, string)) {
                    const bool expected = validByTheRules(generator, *shape);
                    EXPECT_EQ(generator.isValidChordShape(*shape), expected)
                        << symbol << " " << shape->description();
                    ++checked;
                    valid += expected ? 1 : 0;
                }
            }
        }
        EXPECT_GT(checked, 50u) << symbol;
        EXPECT_GT(valid, 0u) << symbol;
    }
}

TEST(TARVNoteAdditions, NoteValuesCollapseSpellings) {
    const SNoteSet notes{note("C#"), note("Db"), note("E")};
    EXPECT_EQ(_tarv_noteValues(notes), (std::set<std::uint8_t>{1, 4}));
}

TEST(TARVNoteAdditions, EnharmonicSubset) {
    EXPECT_TRUE(_tarv_isEnharmonicSubsetOfSet({note("Db"), note("F")},
                                              {note("C#"), note("E#"), note("G#")}));
    EXPECT_FALSE(_tarv_isEnharmonicSubsetOfSet({note("D")}, {note("C#")}));
    EXPECT_TRUE(_tarv_isEnharmonicSubsetOfSet({}, {}));
}

TEST(TARVChordShapeGenerator, AbsentChordOrTuningGeneratesNothing) {
    for (const auto& [chordPtr, tuning] :
         std::vector<std::pair<SChordPtr, SStringedInstrumentTuningPtr>>{
             {nullptr, standard()}, {chord("C"), nullptr}, {nullptr, nullptr}}) {
        const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chordPtr, tuning);
        ASSERT_TRUE(generator->shapes());
        EXPECT_TRUE(generator->shapes()->empty());
        EXPECT_TRUE(generator->shapeSet().empty());
        EXPECT_TRUE(generator->stringFretLists().empty());

        TARVChordShapeGenerator constructed(chordPtr, tuning);
        EXPECT_TRUE(constructed._buildShapes().empty());
        EXPECT_FALSE(constructed.isValidChordShape(
            *TARVChordShape::shapeForFretNumberString("x,3,2,0,1,0")));
    }
}
