#include "tarv/music/SNote.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

using tarv::SNote;

namespace {

SNote note(const char* text) {
    const auto parsed = SNote::noteWithString(text);
    EXPECT_TRUE(parsed.has_value()) << text;
    return parsed.value_or(SNote::noteWithValue(0));
}

std::vector<SNote> everySpelling() {
    std::vector<SNote> notes;
    for (const char* letter : {"C", "D", "E", "F", "G", "A", "B"}) {
        for (const char* accidental : {"bb", "b", "", "#", "##"}) {
            notes.push_back(note((std::string(letter) + accidental).c_str()));
        }
    }
    return notes;
}

} // namespace

TEST(SNote, NaturalLettersHaveNoteValuesFromCEqualsZero) {
    EXPECT_EQ(note("C").noteValue(), 0);
    EXPECT_EQ(note("D").noteValue(), 2);
    EXPECT_EQ(note("E").noteValue(), 4);
    EXPECT_EQ(note("F").noteValue(), 5);
    EXPECT_EQ(note("G").noteValue(), 7);
    EXPECT_EQ(note("A").noteValue(), 9);
    EXPECT_EQ(note("B").noteValue(), 11);
}

TEST(SNote, DefaultTuningLettersParse) {
    for (const char* text : {"E", "B", "G", "D", "A"}) {
        const auto parsed = SNote::noteWithString(text);
        ASSERT_TRUE(parsed.has_value()) << text;
        EXPECT_EQ(parsed->string(), text);
    }
}

TEST(SNote, SingleAndDoubleAccidentalsShiftTheNoteValue) {
    EXPECT_EQ(note("F#").noteValue(), 6);
    EXPECT_EQ(note("Bb").noteValue(), 10);
    EXPECT_EQ(note("C##").noteValue(), 2);
    EXPECT_EQ(note("Ebb").noteValue(), 2);
    EXPECT_EQ(note("Cb").noteValue(), 11);
    EXPECT_EQ(note("Cbb").noteValue(), 10);
    EXPECT_EQ(note("B#").noteValue(), 0);
    EXPECT_EQ(note("B##").noteValue(), 1);
}

TEST(SNote, UnicodeSharpAndFlatSignsReadLikeAsciiOnes) {
    EXPECT_EQ(note("F\u266F"), note("F#"));
    EXPECT_EQ(note("B\u266D"), note("Bb"));
    EXPECT_EQ(note("E\u266D\u266D"), note("Ebb"));
    EXPECT_EQ(note("C\u266F\u266F"), note("C##"));
}

TEST(SNote, TextFormWritesHashForSharpAndBForFlat) {
    EXPECT_EQ(note("F\u266F").string(), "F#");
    EXPECT_EQ(note("B\u266D").string(), "Bb");
    EXPECT_EQ(note("C##").string(), "C##");
    EXPECT_EQ(note("E\u266D\u266D").string(), "Ebb");
    EXPECT_EQ(note("G").description(), "G");
}

TEST(SNote, EverySpellingNamesItselfAsItsTextForm) {
    for (const char letter : std::string_view("CDEFGAB")) {
        for (const std::string_view accidental : {"bb", "b", "", "#", "##"}) {
            const std::string text = std::string(1, letter) + std::string(accidental);
            EXPECT_EQ(note(text.c_str()).name(), text);
            EXPECT_EQ(note(text.c_str()).string(), text);
        }
    }
    EXPECT_EQ(SNote::noteWithValue(10).name(), "A#");
}

TEST(SNote, TextThatNamesNoNoteGivesNoNote) {
    for (const char* text : {"", "H", "Cb#", "C#b", "C#x", "C###", "Cbbb", "c", "bb", "#", " C",
                             "C ", "C7", "Es", "Do"}) {
        EXPECT_FALSE(SNote::noteWithString(text).has_value()) << '"' << text << '"';
    }
}

TEST(SNote, InitWithStringParsesLikeNoteWithString) {
    EXPECT_EQ(SNote::initWithString("G#"), SNote::noteWithString("G#"));
    EXPECT_FALSE(SNote::initWithString("H").has_value());
}

TEST(SNote, SharpAndFlatSpellingsOfOnePitchClassAreEnharmonicallyEquivalent) {
    const SNote cSharp = note("C#");
    const SNote dFlat = note("Db");
    EXPECT_TRUE(cSharp.isEnharmonicallyEquivalentToNote(dFlat));
    EXPECT_TRUE(dFlat.isEnharmonicallyEquivalentToNote(cSharp));
    EXPECT_EQ(cSharp.noteValue(), dFlat.noteValue());
    EXPECT_EQ(cSharp.offsetFromNote(dFlat), 0);
    EXPECT_EQ(dFlat.offsetFromNote(cSharp), 0);
    // Equality is on the spelling.
    EXPECT_NE(cSharp, dFlat);
}

TEST(SNote, NotesOfDifferentPitchClassesAreNotEquivalent) {
    EXPECT_FALSE(note("C").isEnharmonicallyEquivalentToNote(note("C#")));
    EXPECT_NE(note("C").noteValue(), note("C#").noteValue());
}

TEST(SNote, DSharpOffsetFromEIsElevenNeverMinusOne) {
    EXPECT_EQ(note("D#").offsetFromNote(note("E")), 11);
}

TEST(SNote, EOffsetFromDSharpIsOne) {
    EXPECT_EQ(note("E").offsetFromNote(note("D#")), 1);
}

TEST(SNote, OffsetFromNoteIsAlwaysBetweenZeroAndEleven) {
    for (const auto& a : everySpelling()) {
        for (const auto& b : everySpelling()) {
            const auto offset = a.offsetFromNote(b);
            EXPECT_GE(offset, 0) << a.string() << " from " << b.string();
            EXPECT_LE(offset, 11) << a.string() << " from " << b.string();
            EXPECT_EQ(offset, (a.noteValue() - b.noteValue() + 12) % 12);
        }
    }
}

TEST(SNote, NoteWithOffsetOfOffsetFromNoteGivesTheNoteBack) {
    for (const auto& a : everySpelling()) {
        for (const auto& b : everySpelling()) {
            const auto offset = static_cast<std::int8_t>(a.offsetFromNote(b));
            EXPECT_TRUE(b.noteWithOffset(offset).isEnharmonicallyEquivalentToNote(a))
                << a.string() << " and " << b.string();
        }
    }
}

TEST(SNote, NoteWithOffsetWrapsIntoTheOctaveBothWays) {
    EXPECT_EQ(note("A").noteWithOffset(3).noteValue(), 0);
    EXPECT_EQ(note("C").noteWithOffset(-1).noteValue(), 11);
    EXPECT_EQ(note("E").noteWithOffset(24).noteValue(), 4);
    EXPECT_EQ(note("E").noteWithOffset(-25).noteValue(), 3);
    EXPECT_EQ(note("C").noteWithOffset(127).noteValue(), 127 % 12);
    EXPECT_EQ(note("C").noteWithOffset(-128).noteValue(), (12 - 128 % 12) % 12);
}

TEST(SNote, NoteWithZeroOffsetKeepsItsSpelling) {
    EXPECT_EQ(note("Db").noteWithOffset(0), note("Db"));
    EXPECT_EQ(note("Db").noteWithOffset(12).noteValue(), note("Db").noteValue());
}

TEST(SNote, NoteWithValueSpellsWithSharpsAndWrapsNegativeValues) {
    EXPECT_EQ(SNote::noteWithValue(1).string(), "C#");
    EXPECT_EQ(SNote::noteWithValue(10).string(), "A#");
    EXPECT_EQ(SNote::noteWithValue(-1).string(), "B");
    EXPECT_EQ(SNote::noteWithValue(25).string(), "C#");
    for (int value = 0; value < 12; ++value) {
        EXPECT_EQ(SNote::noteWithValue(value).noteValue(), value);
    }
}

TEST(SNote, SemitonesAboveCAreNotWrapped) {
    EXPECT_EQ(note("Cbb").semitonesAboveC(), -2);
    EXPECT_EQ(note("B#").semitonesAboveC(), 12);
    EXPECT_EQ(note("G").semitonesAboveC(), 7);
}

TEST(SNote, LetterAndAccidentalDescribeTheSpelling) {
    EXPECT_EQ(note("Ebb").letter(), 2);
    EXPECT_EQ(note("Ebb").accidental(), -2);
    EXPECT_EQ(note("F#").letter(), 3);
    EXPECT_EQ(note("F#").accidental(), 1);
}

TEST(SNote, EqualNotesHashAlikeAndFillASetOnce) {
    EXPECT_EQ(note("F#").hash(), note("F\u266F").hash());
    std::unordered_set<SNote> notes;
    for (const auto& spelled : everySpelling()) {
        notes.insert(spelled);
        notes.insert(spelled);
    }
    EXPECT_EQ(notes.size(), everySpelling().size());
}

TEST(SNote, HashKeepsOnlyThirtyTwoBits) {
    for (const auto& spelled : everySpelling()) {
        EXPECT_EQ(spelled.hash() >> 32, 0U) << spelled.string();
    }
}
