#include "tarv/music/SChord.hpp"

#include "music/SChordQualityTable.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <vector>

using tarv::SChord;
using tarv::SChordQualityDefinitions;
using tarv::SNote;

namespace {

std::string valueOf(std::string_view text) {
    const auto parsed = SChord::chordWithString(text);
    EXPECT_NE(parsed, nullptr) << '"' << text << '"';
    return parsed ? parsed->numericNoteStringValue() : "<no chord: " + std::string(text) + ">";
}

std::vector<int> pitchClassesOf(std::string_view text) {
    std::vector<int> values;
    if (const auto parsed = SChord::chordWithString(text)) {
        for (const auto& note : parsed->notes()) {
            values.push_back(note.noteValue());
        }
    }
    return values;
}

std::vector<int> characteristicOf(std::string_view text) {
    std::vector<int> values;
    if (const auto parsed = SChord::chordWithString(text)) {
        for (const auto& note : parsed->characteristicNotes()) {
            values.push_back(note.noteValue());
        }
    }
    return values;
}

std::string nameOf(std::string_view text) {
    const auto parsed = SChord::chordWithString(text);
    EXPECT_NE(parsed, nullptr) << '"' << text << '"';
    return parsed ? parsed->name() : std::string("<no chord>");
}

std::string rootOf(std::string_view text) {
    const auto parsed = SChord::chordWithString(text);
    EXPECT_NE(parsed, nullptr) << '"' << text << '"';
    return parsed ? parsed->root().string() : std::string("<no chord>");
}

std::string qualityOf(std::string_view text) {
    const auto parsed = SChord::chordWithString(text);
    EXPECT_NE(parsed, nullptr) << '"' << text << '"';
    return parsed ? parsed->quality() : std::string("<no chord>");
}

// ---------------------------------------------------------------------------------------------
// Every pair and triple of alterations, in every order, written in every way sheets write them.

/// An alteration and its spellings: plain, with "+" and "-", and with Unicode accidentals.
struct Alteration {
    const char* plain;
    const char* sign;
    const char* unicode;
};

constexpr Alteration kAlterations[] = {
    {"b5", "-5", "\u266D5"}, {"#5", "+5", "\u266F5"},    {"b9", "-9", "\u266D9"},
    {"#9", "+9", "\u266F9"}, {"#11", "+11", "\u266F11"}, {"b13", "-13", "\u266D13"},
};
constexpr std::size_t kAlterationCount = std::size(kAlterations);

struct AlterationGroup {
    std::string base;
    std::vector<std::size_t> alterations;
};

void PrintTo(const AlterationGroup& group, std::ostream* out) {
    *out << "C" << group.base << "(";
    for (std::size_t i = 0; i < group.alterations.size(); ++i) {
        *out << (i > 0 ? "," : "") << kAlterations[group.alterations[i]].plain;
    }
    *out << ")";
}

std::vector<AlterationGroup> alterationGroups() {
    std::vector<AlterationGroup> groups;
    for (const char* base : {"", "7", "9", "13", "m", "m7", "maj7"}) {
        for (std::size_t a = 0; a < kAlterationCount; ++a) {
            for (std::size_t b = a + 1; b < kAlterationCount; ++b) {
                groups.push_back({base, {a, b}});
                for (std::size_t c = b + 1; c < kAlterationCount; ++c) {
                    groups.push_back({base, {a, b, c}});
                }
            }
        }
    }
    return groups;
}

std::string groupTestName(const testing::TestParamInfo<AlterationGroup>& info) {
    std::string name = info.param.base.empty() ? "major" : info.param.base;
    for (const auto index : info.param.alterations) {
        name += "_";
        for (const char c : std::string(kAlterations[index].plain)) {
            name += c == '#' ? std::string("sharp") : (c == 'b' ? "flat" : std::string(1, c));
        }
    }
    return name;
}

/// The group written in every order and in every way: glued ("7b9#11"), in one pair of
/// parentheses with commas or spaces, glued then parenthesised ("7b9(#11)"), each in its own
/// parentheses, and after a space ("7 (b9,#11)"); each with plain, "+"/"-", Unicode and mixed
/// accidentals. A base without digits is not glued to an alteration, since accidentals right
/// after the root letter belong to the root.
std::vector<std::string> writingsOf(const AlterationGroup& group) {
    std::vector<std::string> writings;
    auto order = group.alterations;
    std::sort(order.begin(), order.end());
    do {
        for (int spelling = 0; spelling < 4; ++spelling) {
            std::vector<std::string> parts;
            for (std::size_t i = 0; i < order.size(); ++i) {
                const auto& alteration = kAlterations[order[i]];
                const int style = spelling == 3 ? static_cast<int>(i % 3) : spelling;
                parts.emplace_back(style == 0   ? alteration.plain
                                   : style == 1 ? alteration.sign
                                                : alteration.unicode);
            }
            auto joined = [&parts](std::string_view separator, std::size_t from) {
                std::string text;
                for (std::size_t i = from; i < parts.size(); ++i) {
                    text += (i > from ? std::string(separator) : std::string()) + parts[i];
                }
                return text;
            };
            const std::string root = "C" + group.base;
            writings.push_back(root + "(" + joined(",", 0) + ")");
            writings.push_back(root + "(" + joined(" ", 0) + ")");
            writings.push_back(root + "(" + joined(", ", 0) + ")");
            writings.push_back(root + " (" + joined(",", 0) + ")");
            std::string eachInParentheses = root;
            for (const auto& part : parts) {
                eachInParentheses += "(" + part + ")";
            }
            writings.push_back(eachInParentheses);
            const bool mayGlue = !group.base.empty() &&
                                 std::isdigit(static_cast<unsigned char>(group.base.back())) != 0;
            if (mayGlue) {
                writings.push_back(root + joined("", 0));
                writings.push_back(root + parts[0] + "(" + joined(",", 1) + ")");
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
    return writings;
}

class SChordAlterationGroup : public testing::TestWithParam<AlterationGroup> {};

TEST_P(SChordAlterationGroup, ReadsAlikeInEveryOrderAndWriting) {
    const auto& group = GetParam();
    std::string reference = "C" + group.base + "(";
    for (std::size_t i = 0; i < group.alterations.size(); ++i) {
        reference += (i > 0 ? "," : "") + std::string(kAlterations[group.alterations[i]].plain);
    }
    reference += ")";
    const auto expected = SChord::chordWithString(reference);
    ASSERT_NE(expected, nullptr) << reference;
    for (const auto& writing : writingsOf(group)) {
        const auto parsed = SChord::chordWithString(writing);
        ASSERT_NE(parsed, nullptr) << writing;
        EXPECT_EQ(parsed->numericNoteStringValue(), expected->numericNoteStringValue())
            << writing << " against " << reference;
        EXPECT_EQ(pitchClassesOf(writing), pitchClassesOf(reference)) << writing;
        EXPECT_EQ(parsed->name(), expected->name()) << writing;
    }
    // The name reads back as the same chord.
    EXPECT_EQ(valueOf(expected->name()), expected->numericNoteStringValue()) << expected->name();
}

INSTANTIATE_TEST_SUITE_P(EveryPairAndTriple, SChordAlterationGroup,
                         testing::ValuesIn(alterationGroups()), groupTestName);

// ---------------------------------------------------------------------------------------------
// Alterations that used to depend on their order.

TEST(SChordAlterations, FlatNineAndFlatThirteenInAnyOrderAreTheNamedQuality) {
    const auto value = valueOf("C7b9b13");
    EXPECT_EQ(value, "0|0148a|0148a|");
    for (const char* text : {"C7(b9,b13)", "C7(b13,b9)", "C7b9(b13)", "C7b13(b9)", "C7b13b9",
                             "C7(-9,-13)", "C7-13-9"}) {
        EXPECT_EQ(valueOf(text), value) << text;
        EXPECT_EQ(qualityOf(text), "7b9b13") << text;
    }
}

TEST(SChordAlterations, SharpNineAndFlatThirteenGluedOrParenthesisedAreAlike) {
    EXPECT_EQ(valueOf("C7#9(b13)"), valueOf("C7#9b13"));
    EXPECT_EQ(valueOf("C7b13(#9)"), valueOf("C7#9b13"));
    EXPECT_EQ(pitchClassesOf("C7#9(b13)"), (std::vector<int>{0, 4, 10, 3, 8}));
}

TEST(SChordAlterations, FlatThirteenReadsAlikeWithAFlatOrAMinus) {
    EXPECT_EQ(valueOf("C7(-13)"), valueOf("C7(b13)"));
    EXPECT_EQ(valueOf("C7-13"), valueOf("C7b13"));
    EXPECT_EQ(qualityOf("C7(-13)"), "7b13");
}

TEST(SChordAlterations, FlatThirteenAndSharpElevenInEitherOrder) {
    EXPECT_EQ(valueOf("C7b13#11"), valueOf("C7#11b13"));
    EXPECT_EQ(valueOf("C7b13#11"), valueOf("C7(#11,b13)"));
    EXPECT_EQ(pitchClassesOf("C7b13#11"), (std::vector<int>{0, 4, 10, 6, 8}));
}

TEST(SChordAlterations, SharpFiveAndSharpElevenOnANinthInEitherOrder) {
    EXPECT_EQ(valueOf("C9#5#11"), valueOf("C9#11#5"));
    EXPECT_EQ(valueOf("C9#5#11"), valueOf("C9(#5,#11)"));
    EXPECT_EQ(characteristicOf("C9#5#11"), characteristicOf("C9#11#5"));
}

TEST(SChordAlterations, FlatThirteenTakesThePlaceOfTheFifthOnSeventhsAndNinths) {
    // No natural fifth beside a flat thirteenth, whether the quality is a seventh or a ninth.
    for (const char* text : {"C7b13", "C7(b13)", "C9b13", "C9(b13)", "C13(b13)", "Cm7(b13)"}) {
        const auto notes = pitchClassesOf(text);
        EXPECT_EQ(std::count(notes.begin(), notes.end(), 7), 0) << text;
        EXPECT_EQ(std::count(notes.begin(), notes.end(), 8), 1) << text;
    }
    EXPECT_EQ(valueOf("C9b13"), valueOf("C9#5"));
    EXPECT_EQ(valueOf("C7b13"), valueOf("C7#5"));
}

TEST(SChordAlterations, AnAlterationReplacesAnAddedNaturalTone) {
    EXPECT_EQ(valueOf("C13(b9)"), valueOf("C7(b9,13)"));
    EXPECT_EQ(valueOf("C13b9"), valueOf("C7b9(13)"));
    EXPECT_EQ(valueOf("C9(#11,13)"), valueOf("C13#11"));
    EXPECT_EQ(valueOf("C11(#11)"), valueOf("C9#11"));
}

TEST(SChordAlterations, EverySpellingOfAQualityTakesAlterationsAlike) {
    for (const auto& definition : SChordQualityDefinitions()) {
        const std::string suffix(definition.suffix);
        for (const auto alias : definition.aliases) {
            // A suspension spelled as an addition or omission ("11(no3)", "sus4add9") keeps
            // the tones it spells out: a flat ninth replaces the added ninth of "sus4add9".
            if (definition.identifier == "7alt" ||
                (definition.identifier == "11" && alias == "7(11)") ||
                (definition.suffix.find("sus") != std::string_view::npos &&
                 (alias.find("add") != std::string_view::npos ||
                  alias.find("no3") != std::string_view::npos))) {
                continue;
            }
            const std::string root = alias.starts_with('b') ? "F#" : "Bb";
            for (const char* alteration : {"(b9)", "(#11)", "(b13)"}) {
                const std::string text = root + std::string(alias) + alteration;
                if (const auto parsed = SChord::chordWithString(text)) {
                    EXPECT_EQ(parsed->numericNoteStringValue(), valueOf(root + suffix + alteration))
                        << text << " (" << definition.identifier << ")";
                }
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Parenthesised numbers, 11 and alt.

TEST(SChordAlterations, ParenthesisedNumberOnATriadIsAnAddition) {
    EXPECT_EQ(valueOf("C(9)"), valueOf("Cadd9"));
    EXPECT_EQ(qualityOf("C(9)"), "add9");
    EXPECT_EQ(valueOf("C(11)"), valueOf("Cadd11"));
    EXPECT_EQ(qualityOf("C(11)"), "add11");
    EXPECT_EQ(valueOf("C(6)"), valueOf("C6"));
    EXPECT_EQ(valueOf("C(6)"), valueOf("Cadd6"));
    EXPECT_EQ(valueOf("Cm(9)"), valueOf("Cm(add9)"));
    // The fifth may be left out, as in Cadd9.
    EXPECT_EQ(characteristicOf("C(9)"), (std::vector<int>{0, 4, 2}));
    EXPECT_EQ(characteristicOf("C(11)"), (std::vector<int>{0, 4, 5}));
    EXPECT_EQ(characteristicOf("C(6)"), (std::vector<int>{0, 4, 9}));
}

TEST(SChordAlterations, SevenWithParenthesisedElevenIsSevenWithAnAddedEleventh) {
    EXPECT_EQ(valueOf("C7(11)"), valueOf("C7(add11)"));
    EXPECT_EQ(valueOf("C7(11)"), valueOf("C7add11"));
    EXPECT_EQ(pitchClassesOf("C7(11)"), (std::vector<int>{0, 4, 7, 10, 5}));
    // The eleventh chord keeps its ninth.
    EXPECT_EQ(valueOf("C9(11)"), valueOf("C11"));
}

TEST(SChordAlterations, AltHoldsAlteredTonesAndNoNaturalFifthOrNinth) {
    const auto notes = pitchClassesOf("C7alt");
    for (const int altered : {1, 3, 6, 8}) {
        EXPECT_EQ(std::count(notes.begin(), notes.end(), altered), 1) << altered;
    }
    for (const int natural : {2, 7}) {
        EXPECT_EQ(std::count(notes.begin(), notes.end(), natural), 0) << natural;
    }
    EXPECT_EQ(characteristicOf("Calt"), (std::vector<int>{0, 4, 10, 8}));
    EXPECT_EQ(nameOf("G7alt"), "G7alt");
}

// ---------------------------------------------------------------------------------------------
// Symbols of real sheets.

TEST(SChordSheetSymbols, IncrementSignAndDeltaMeanMajorSeventh) {
    EXPECT_EQ(valueOf("C\u22067"), valueOf("Cmaj7"));
    EXPECT_EQ(valueOf("C\u2206"), valueOf("Cmaj7"));
    EXPECT_EQ(valueOf("Cm\u03947"), valueOf("Cm(maj7)"));
    EXPECT_EQ(valueOf("Cm(\u03947)"), valueOf("Cm(maj7)"));
    EXPECT_EQ(valueOf("C\u22069"), valueOf("Cmaj9"));
}

TEST(SChordSheetSymbols, CapitalSlashedOMeansHalfDiminished) {
    EXPECT_EQ(valueOf("C\u00D87"), valueOf("Cm7b5"));
    EXPECT_EQ(valueOf("C\u00F87"), valueOf("Cm7b5"));
    EXPECT_EQ(qualityOf("C\u00D8"), "m7b5");
}

TEST(SChordSheetSymbols, MinorWithFlatSixKeepsTheFifth) {
    EXPECT_EQ(valueOf("Cm(b6)"), valueOf("Cmb6"));
    EXPECT_EQ(pitchClassesOf("Cm(b6)"), (std::vector<int>{0, 3, 7, 8}));
    EXPECT_EQ(characteristicOf("Cm(b6)"), (std::vector<int>{0, 3, 8}));
    EXPECT_EQ(valueOf(nameOf("Am(b6)")), valueOf("Am(b6)"));
    EXPECT_NE(valueOf("Cm(b6)"), valueOf("Cm#5"));
}

TEST(SChordSheetSymbols, EnDashMeansMinor) {
    EXPECT_EQ(valueOf("C\u20137"), valueOf("Cm7"));
    EXPECT_EQ(valueOf("C\u2013"), valueOf("Cm"));
    EXPECT_EQ(valueOf("C7(\u20139)"), valueOf("C7b9"));
}

TEST(SChordSheetSymbols, MinorMajorSeventhInEverySpelling) {
    const auto value = valueOf("Cm(maj7)");
    for (const char* text : {"C-(maj7)", "Cmi(maj7)", "Cmin(maj7)", "Cm(\u03947)", "C-M7", "Cm+7",
                             "CmM7", "Cm\u03947", "C-\u0394", "Cmin\u0394", "C\u2013(maj7)",
                             "CmMaj7", "CmiMa7", "Cm^7", "Cm#7", "CMINMAJ7"}) {
        EXPECT_EQ(valueOf(text), value) << text;
    }
    EXPECT_EQ(valueOf("C-(maj9)"), valueOf("Cm(maj9)"));
    EXPECT_EQ(valueOf("Cmin(\u03949)"), valueOf("Cm(maj9)"));
}

TEST(SChordSheetSymbols, DiminishedWithMajorSeventh) {
    EXPECT_EQ(valueOf("C\u00B0(maj7)"), valueOf("Cdim(maj7)"));
    EXPECT_EQ(pitchClassesOf("C\u00B0(maj7)"), (std::vector<int>{0, 3, 6, 11}));
}

TEST(SChordSheetSymbols, SpaceBeforeTheParenthesis) {
    EXPECT_EQ(valueOf("C7 (b9)"), valueOf("C7b9"));
    EXPECT_EQ(valueOf("C7 (b9,#11)"), valueOf("C7(b9,#11)"));
    EXPECT_EQ(valueOf("C (add9)"), valueOf("Cadd9"));
    EXPECT_EQ(SChord::chordWithString("C7 "), nullptr);
    EXPECT_EQ(SChord::chordWithString("C7 b9"), nullptr);
    EXPECT_EQ(SChord::chordWithString("C7 ("), nullptr);
}

TEST(SChordSheetSymbols, QualityWordsInCapitals) {
    EXPECT_EQ(valueOf("CMAJ7"), valueOf("Cmaj7"));
    EXPECT_EQ(valueOf("CMIN7"), valueOf("Cm7"));
    EXPECT_EQ(valueOf("CSUS4"), valueOf("Csus4"));
    EXPECT_EQ(valueOf("CDIM7"), valueOf("Cdim7"));
    EXPECT_EQ(valueOf("CADD9"), valueOf("Cadd9"));
    EXPECT_EQ(valueOf("CAUG"), valueOf("Caug"));
    EXPECT_EQ(qualityOf("CM7"), "maj7");
}

TEST(SChordSheetSymbols, SusTwoSlashFourHoldsBothSuspensions) {
    EXPECT_EQ(valueOf("Csus2/4"), valueOf("Csus2sus4"));
    EXPECT_EQ(valueOf("Csus4/2"), valueOf("Csus2sus4"));
    const auto suspended = SChord::chordWithString("Csus2/4");
    ASSERT_NE(suspended, nullptr);
    EXPECT_FALSE(suspended->addedBase().has_value());
    EXPECT_EQ(valueOf("Csus2/4/G"), valueOf("Csus2sus4/G"));
}

TEST(SChordSheetSymbols, SevenSlashSixIsASeventhWithAddedSixth) {
    const auto parsed = SChord::chordWithString("C7/6");
    ASSERT_NE(parsed, nullptr);
    EXPECT_FALSE(parsed->addedBase().has_value());
    EXPECT_EQ(pitchClassesOf("C7/6"), (std::vector<int>{0, 4, 7, 10, 9}));
    EXPECT_EQ(valueOf("C7/6"), valueOf("C7(add13)"));
    EXPECT_EQ(valueOf("C7/6"), valueOf("C7add6"));
    // Not the thirteenth chord: no ninth.
    EXPECT_NE(valueOf("C7/6"), valueOf("C13"));
    EXPECT_EQ(valueOf("C7/6/E"), valueOf("C7(add13)/E"));
}

TEST(SChordSheetSymbols, DoubledAccidentalBeforeADegreeIsAnAlteration) {
    const auto sharp = SChord::chordWithString("F##5");
    ASSERT_NE(sharp, nullptr);
    EXPECT_EQ(sharp->root().string(), "F#");
    EXPECT_EQ(valueOf("F##5"), valueOf("F#(#5)"));
    const auto flat = SChord::chordWithString("Bbb5");
    ASSERT_NE(flat, nullptr);
    EXPECT_EQ(flat->root().string(), "Bb");
    EXPECT_EQ(valueOf("Bbb5"), valueOf("Bb(b5)"));
    EXPECT_EQ(valueOf("B\u266D\u266D5"), valueOf("Bb(b5)"));
    EXPECT_EQ(valueOf("Bbb5(b9)"), valueOf("Bb(b5,b9)"));
    // Elsewhere both accidentals stay with the root.
    EXPECT_EQ(rootOf("Ebb"), "Ebb");
    EXPECT_EQ(rootOf("Bbb9"), "Bbb");
    EXPECT_EQ(rootOf("Bbb7"), "Bbb");
    EXPECT_EQ(rootOf("F##m"), "F##");
    // A single accidental still belongs to the root.
    EXPECT_EQ(rootOf("Cb5"), "Cb");
}

TEST(SChordSheetSymbols, LowerCaseRootsStayRefused) {
    for (const char* text : {"am7", "c", "bb", "f#m", "e7(b9)", "dm/c", "h7"}) {
        EXPECT_EQ(SChord::chordWithString(text), nullptr) << text;
    }
}

// ---------------------------------------------------------------------------------------------
// Suggestions for symbols that do not read.

TEST(SChordSuggestion, CapitalisesALowerCaseRoot) {
    EXPECT_EQ(SChord::suggestionForString("am7"), "Am7");
    EXPECT_EQ(SChord::suggestionForString("bb"), "Bb");
    EXPECT_EQ(SChord::suggestionForString("c"), "C");
    EXPECT_EQ(SChord::suggestionForString("f#m7b5"), "F#m7b5");
    EXPECT_EQ(SChord::suggestionForString("e7(b9)"), "E7(b9)");
}

TEST(SChordSuggestion, CapitalisesALowerCaseBass) {
    EXPECT_EQ(SChord::suggestionForString("C/e"), "C/E");
    EXPECT_EQ(SChord::suggestionForString("am/g"), "Am/G");
    EXPECT_EQ(SChord::suggestionForString("dm/c"), "Dm/C");
}

TEST(SChordSuggestion, RemovesSurroundingSpaces) {
    EXPECT_EQ(SChord::suggestionForString(" C "), "C");
    EXPECT_EQ(SChord::suggestionForString("Am7\n"), "Am7");
    EXPECT_EQ(SChord::suggestionForString(" am "), "Am");
}

TEST(SChordSuggestion, EverySuggestionReads) {
    for (const char* text : {"am7", "bb", "C/e", " C ", "gsus4", "dm7/c"}) {
        const auto suggestion = SChord::suggestionForString(text);
        ASSERT_TRUE(suggestion.has_value()) << text;
        EXPECT_NE(SChord::chordWithString(*suggestion), nullptr) << *suggestion;
    }
}

TEST(SChordSuggestion, NoneForASymbolThatReads) {
    EXPECT_EQ(SChord::suggestionForString("Am7"), std::nullopt);
    EXPECT_EQ(SChord::suggestionForString("C"), std::nullopt);
}

TEST(SChordSuggestion, NoneWhenNoSimpleCorrectionReads) {
    for (const char* text : {"", " ", "xyz", "H7", "Cfoo", "am7foo", "1", "/", "m7"}) {
        EXPECT_EQ(SChord::suggestionForString(text), std::nullopt) << '"' << text << '"';
    }
}

} // namespace
