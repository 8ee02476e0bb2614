#include "tarv/ranking/TARVChordNaming.hpp"
#include "FretTexts.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tarv {
namespace {

SStringedInstrumentTuningConstPtr guitar() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

std::vector<std::string> symbols(const std::string& text,
                                 const SStringedInstrumentTuningConstPtr& tuning = guitar()) {
    std::vector<std::string> result;
    for (const auto& name : TARVChordNaming::namesForFrets(frets(text), tuning)) {
        result.push_back(name.symbol);
    }
    return result;
}

std::uint16_t maskOf(const std::vector<SNote>& notes) {
    std::uint16_t mask = 0;
    for (const SNote& note : notes) {
        mask = static_cast<std::uint16_t>(mask | (1U << (note.noteValue())));
    }
    return mask;
}

int bassOf(const SChord& chord) {
    return (chord.addedBase() ? *chord.addedBase() : chord.root()).noteValue();
}

TEST(TARVChordNaming, NamesTheShapesOfEveryChordBook) {
    EXPECT_EQ(symbols("x,3,2,0,1,0").front(), "C");
    EXPECT_EQ(symbols("x,0,2,2,1,0").front(), "Am");
    EXPECT_EQ(symbols("x,x,0,2,1,2").front(), "D7");
    EXPECT_EQ(symbols("3,2,0,0,0,3").front(), "G");
    EXPECT_EQ(symbols("1,3,3,2,1,1").front(), "F");
    EXPECT_EQ(symbols("x,2,4,4,3,2").front(), "Bm");
    EXPECT_EQ(symbols("x,3,5,3,5,3").front(), "C7");
    EXPECT_EQ(symbols("x,x,0,2,3,1").front(), "Dm");
    EXPECT_EQ(symbols("x,3,4,2,4,2").front(), "Cdim7");
}

TEST(TARVChordNaming, AnAmbiguousShapeListsEveryReadingBestFirst) {
    const std::vector<std::string> names = symbols("x,0,2,0,1,0");
    ASSERT_GE(names.size(), 2U);
    EXPECT_EQ(names[0], "Am7");
    EXPECT_EQ(names[1], "C6/A");
}

TEST(TARVChordNaming, InversionsAreSlashChords) {
    const auto names = TARVChordNaming::namesForFrets(frets("0,3,2,0,1,0"), guitar());
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front().symbol, "C/E");
    EXPECT_EQ(names.front().kind, TARVChordNaming::Kind::Inversion);
    EXPECT_EQ(symbols("x,x,0,2,3,2").front(), "D");
    EXPECT_EQ(symbols("3,x,0,2,3,2").front(), "D/G");
    EXPECT_EQ(TARVChordNaming::namesForFrets(frets("3,x,0,2,3,2"), guitar()).front().kind,
              TARVChordNaming::Kind::AddedBass);
}

TEST(TARVChordNaming, LeftOutTonesAreListed) {
    const auto names = TARVChordNaming::namesForFrets(frets("x,3,2,3,1,x"), guitar());
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front().symbol, "C7");
    ASSERT_EQ(names.front().omittedNotes.size(), 1U);
    EXPECT_EQ(names.front().omittedNotes.front().semitonesAboveC(), 7);
}

TEST(TARVChordNaming, RootlessReadingsComeLast) {
    // E Bb D G: E half-diminished, or C9 without its root.
    const auto names = TARVChordNaming::namesForFrets(frets("x,x,2,3,3,3"), guitar());
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front().symbol, "Em7b5");
    const auto rootless = std::find_if(names.begin(), names.end(), [](const auto& name) {
        return name.kind == TARVChordNaming::Kind::Rootless;
    });
    ASSERT_NE(rootless, names.end());
    EXPECT_TRUE(
        std::any_of(rootless, names.end(), [](const auto& name) { return name.symbol == "C9/E"; }));
    EXPECT_TRUE(std::all_of(rootless, names.end(), [](const auto& name) {
        return name.kind == TARVChordNaming::Kind::Rootless;
    }));
}

TEST(TARVChordNaming, EveryNameReadsBackToTheSoundingNotes) {
    for (const std::string text : {"x,3,2,0,1,0", "x,0,2,0,1,0", "0,3,2,0,1,0", "x,3,2,3,1,x",
                                   "x,x,2,3,3,3", "3,x,0,2,3,2", "x,5,4,5,5,x", "2,x,3,2,3,x"}) {
        const std::vector<std::int8_t> f = frets(text);
        const auto pitches = TARVChordNaming::soundingPitches(f, guitar());
        ASSERT_TRUE(pitches);
        std::vector<SNote> notes;
        for (const SPitch& pitch : *pitches) {
            notes.push_back(pitch.note());
        }
        const std::uint16_t sounding = maskOf(notes);
        const int bass = pitches->front().note().noteValue();
        for (const auto& name : TARVChordNaming::namesForFrets(f, guitar())) {
            SCOPED_TRACE(text + " " + name.symbol);
            const SChordPtr chord = SChord::chordWithString(name.symbol);
            ASSERT_TRUE(chord);
            EXPECT_EQ(*chord, *name.chord);
            const std::uint16_t chordNotes = maskOf(chord->notes());
            EXPECT_EQ(sounding & ~chordNotes, 0);
            EXPECT_EQ(chordNotes & ~sounding,
                      maskOf(name.omittedNotes) | (name.kind == TARVChordNaming::Kind::Rootless
                                                       ? (1U << (chord->root().noteValue()))
                                                       : 0U));
            EXPECT_EQ(bassOf(*chord), bass);
        }
    }
}

TEST(TARVChordNaming, TheCapoRaisesTheSoundingNames) {
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        guitar()->stringPitches(), 22, 2, guitar()->name(), guitar()->noteString(), std::nullopt);
    EXPECT_EQ(symbols("x,3,2,0,1,0", tuning).front(), "D");
    EXPECT_EQ(symbols("x,0,2,2,1,0", tuning).front(), "Bm");
}

TEST(TARVChordNaming, NoNameForLessThanTwoNotesOrFretsThatDoNotFit) {
    EXPECT_TRUE(symbols("x,x,x,x,x,x").empty());
    EXPECT_TRUE(symbols("x,3,x,x,x,8").empty()); // C and C
    EXPECT_TRUE(TARVChordNaming::namesForFrets(frets("x,3,2,0,1"), guitar()).empty());
    EXPECT_TRUE(TARVChordNaming::namesForFrets(frets("x,3,2,0,1,23"), guitar()).empty());
    EXPECT_TRUE(TARVChordNaming::namesForFrets(frets("x,3,2,0,1,0"), nullptr).empty());
    EXPECT_EQ(symbols("x,3,5,x,x,x").front(), "C5");
}

TEST(TARVChordNaming, TransposingKeepsTheQualityAndMovesTheBass) {
    for (const std::string& quality : SChord::supportedQualities()) {
        for (int root = 0; root < 12; ++root) {
            const SChordPtr chord =
                SChord::chordWithString(std::string(TARVChordNaming::spelling(root)) + quality);
            ASSERT_TRUE(chord);
            for (int shift : {-7, -3, 1, 5, 12}) {
                SCOPED_TRACE(chord->name() + " by " + std::to_string(shift));
                const SChordPtr moved = TARVChordNaming::transposedChord(chord, shift);
                ASSERT_TRUE(moved);
                EXPECT_EQ(moved->quality(), chord->quality());
                EXPECT_EQ(moved->root().noteValue(), ((root + shift) % 12 + 12) % 12);
                const SChordPtr back = TARVChordNaming::transposedChord(moved, -shift);
                EXPECT_EQ(*back, *chord);
            }
        }
    }
    const SChordPtr slash = TARVChordNaming::transposedChord(SChord::chordWithString("Am7/G"), 3);
    ASSERT_TRUE(slash);
    EXPECT_EQ(slash->name(), "Cm7/Bb");
    EXPECT_EQ(TARVChordNaming::transposedChord(SChord::chordWithString("C7(b9,#11)"), 2)->name(),
              SChord::chordWithString("D7(b9,#11)")->name());
    EXPECT_EQ(TARVChordNaming::transposedChord(nullptr, 2), nullptr);
}

// Every shape the ranking gives for 300 chords (12 roots, the 25 most used qualities) is named
// back to a chord with the chord's notes over the shape's bass: the chord's own root or slash
// bass, or for a symmetric chord (augmented, diminished seventh, 7b5) the root of an equal one.
TEST(TARVChordNaming, EveryRankedShapeOfThreeHundredChordsNamesItsChord) {
    const std::vector<std::string>& qualities = SChord::supportedQualities();
    ASSERT_GE(qualities.size(), 25U);
    std::size_t shapesNamed = 0;
    for (std::size_t q = 0; q < 25; ++q) {
        for (int root = 0; root < 12; ++root) {
            const SChordPtr chord = SChord::chordWithString(
                std::string(TARVChordNaming::spelling(root)) + qualities[q]);
            ASSERT_TRUE(chord);
            for (const TARVPlayableShape& shape :
                 TARVPlayableShapes::shapesForChord(chord, guitar())) {
                SCOPED_TRACE(chord->name() + " " + shape.fretText());
                const auto names = TARVChordNaming::namesForFrets(shape.frets(), guitar());
                const auto pitches = TARVChordNaming::soundingPitches(shape.frets(), guitar());
                ASSERT_TRUE(pitches && !pitches->empty());
                const int bass = pitches->front().note().noteValue();
                const bool symmetric =
                    qualities[q] == "aug" || qualities[q] == "dim7" || qualities[q] == "7b5";
                EXPECT_TRUE(symmetric || bass == bassOf(*chord));
                const bool named = std::any_of(names.begin(), names.end(), [&](const auto& name) {
                    return maskOf(name.chord->notes()) == maskOf(chord->notes()) &&
                           bassOf(*name.chord) == bass &&
                           name.kind != TARVChordNaming::Kind::Rootless;
                });
                EXPECT_TRUE(named);
                EXPECT_EQ(names.front().kind == TARVChordNaming::Kind::Rootless, false);
                ++shapesNamed;
            }
        }
    }
    EXPECT_GT(shapesNamed, 300U * 10U);
}

} // namespace
} // namespace tarv
