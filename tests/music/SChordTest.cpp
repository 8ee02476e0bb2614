#include "tarv/music/SChord.hpp"

#include "music/SChordQualityTable.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

using tarv::SChord;
using tarv::SChordQualityDefinition;
using tarv::SChordQualityDefinitions;
using tarv::SChordQualityTier;
using tarv::SChordRootOmission;
using tarv::SNote;

namespace {

std::shared_ptr<const SChord> chord(std::string_view text) {
    auto parsed = SChord::chordWithString(text);
    EXPECT_NE(parsed, nullptr) << '"' << text << '"';
    return parsed;
}

std::vector<int> pitchClasses(const std::vector<SNote>& notes) {
    std::vector<int> values;
    for (const auto& note : notes) {
        values.push_back(note.noteValue());
    }
    return values;
}

std::vector<std::string> spellings(const std::vector<SNote>& notes) {
    std::vector<std::string> texts;
    for (const auto& note : notes) {
        texts.push_back(note.string());
    }
    return texts;
}

std::vector<int> notesOf(std::string_view text) {
    const auto parsed = chord(text);
    return parsed ? pitchClasses(parsed->notes()) : std::vector<int>{};
}

std::vector<int> characteristicNotesOf(std::string_view text) {
    const auto parsed = chord(text);
    return parsed ? pitchClasses(parsed->characteristicNotes()) : std::vector<int>{};
}

std::string valueOf(std::string_view text) {
    const auto parsed = chord(text);
    return parsed ? parsed->numericNoteStringValue() : std::string("<no chord>");
}

std::string qualityOf(std::string_view text) {
    const auto parsed = chord(text);
    return parsed ? parsed->quality() : std::string("<no chord>");
}

const SChordQualityDefinition* definitionWithIdentifier(std::string_view identifier) {
    for (const auto& definition : SChordQualityDefinitions()) {
        if (definition.identifier == identifier) {
            return &definition;
        }
    }
    return nullptr;
}

const char* const kRoots[] = {"C", "C#", "Db", "D",  "Eb", "E",  "F",  "F#", "Gb",
                              "G", "Ab", "A",  "Bb", "B",  "E#", "Cb", "B#", "Fb"};

/// Semitones of a degree as chord symbols write it, counted independently of the library.
int degreeSemitones(std::string_view degree) {
    int alteration = 0;
    while (!degree.empty() && (degree.front() == 'b' || degree.front() == '#')) {
        alteration += degree.front() == '#' ? 1 : -1;
        degree.remove_prefix(1);
    }
    const int number = std::stoi(std::string(degree));
    static const int kMajorScale[] = {0, 2, 4, 5, 7, 9, 11};
    return kMajorScale[(number - 1) % 7] + 12 * ((number - 1) / 7) + alteration;
}

// ---------------------------------------------------------------------------------------------
// Every spelling of every supported quality, with a few roots.

struct AliasCase {
    std::string identifier;
    std::size_t aliasIndex;
    std::string alias;
    std::string root;
};

void PrintTo(const AliasCase& aliasCase, std::ostream* out) {
    *out << '"' << aliasCase.root << aliasCase.alias << "\" (" << aliasCase.identifier << ")";
}

/// Spellings that do not take the table's tones: "alt" holds the altered tones, and "7(11)"
/// is C7 with an added eleventh. Tested on their own below.
bool readsOtherThanTheTable(std::string_view identifier, std::string_view alias) {
    return identifier == "7alt" || (identifier == "11" && alias == "7(11)");
}

std::vector<AliasCase> aliasCases() {
    std::vector<AliasCase> cases;
    for (const auto& definition : SChordQualityDefinitions()) {
        for (std::size_t i = 0; i < definition.aliases.size(); ++i) {
            const std::string alias(definition.aliases[i]);
            if (readsOtherThanTheTable(definition.identifier, alias)) {
                continue;
            }
            // Accidentals right after the root letter belong to the root, so a spelling that
            // begins with one is tried after roots with the other accidental only.
            std::vector<std::string> roots{"C", "F#", "Bb", "E"};
            if (alias.starts_with('b')) {
                roots = {"F#", "C#"};
            } else if (alias.starts_with('#')) {
                roots = {"Bb", "Eb"};
            }
            for (const auto& root : roots) {
                cases.push_back({std::string(definition.identifier), i, alias, root});
            }
        }
    }
    return cases;
}

std::string testNameFor(const testing::TestParamInfo<AliasCase>& info) {
    std::string name;
    for (const char c : info.param.identifier + "_" + std::to_string(info.param.aliasIndex) + "_" +
                            info.param.root) {
        if (c == '#') {
            name += "sharp";
        } else if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_') {
            name += c;
        } else {
            name += 'x';
        }
    }
    return name;
}

class SChordQualitySpelling : public testing::TestWithParam<AliasCase> {};

TEST_P(SChordQualitySpelling, GivesTheQualityTonesAboveTheRoot) {
    const auto& param = GetParam();
    const auto* definition = definitionWithIdentifier(param.identifier);
    ASSERT_NE(definition, nullptr);
    const auto root = SNote::noteWithString(param.root);
    ASSERT_TRUE(root.has_value());

    const auto parsed = SChord::chordWithString(param.root + param.alias);
    ASSERT_NE(parsed, nullptr) << param.root << param.alias;

    std::vector<int> expectedNotes;
    std::vector<int> expectedCharacteristic;
    for (const auto& tone : definition->tones) {
        const int value = (root->noteValue() + tone.semitones) % 12;
        expectedNotes.push_back(value);
        if (!tone.omittable || tone.semitones == 0) {
            expectedCharacteristic.push_back(value);
        }
    }
    EXPECT_EQ(parsed->root(), *root);
    EXPECT_FALSE(parsed->addedBase().has_value());
    EXPECT_EQ(pitchClasses(parsed->notes()), expectedNotes);
    EXPECT_EQ(pitchClasses(parsed->characteristicNotes()), expectedCharacteristic);
    EXPECT_EQ(parsed->quality(), definition->suffix);
    EXPECT_EQ(parsed->name(), param.root + std::string(definition->suffix));
    EXPECT_EQ(parsed->symbol(), param.root + param.alias);
}

INSTANTIATE_TEST_SUITE_P(EveryAlias, SChordQualitySpelling, testing::ValuesIn(aliasCases()),
                         testNameFor);

} // namespace

// ---------------------------------------------------------------------------------------------
// The compiled quality table.

TEST(SChordQualityTable, DegreesAgreeWithTheirSemitones) {
    for (const auto& definition : SChordQualityDefinitions()) {
        for (const auto& tone : definition.tones) {
            EXPECT_EQ(degreeSemitones(tone.degree), tone.semitones)
                << definition.identifier << " " << tone.degree;
        }
    }
}

TEST(SChordQualityTable, TonesStartAtTheRootAndAscend) {
    for (const auto& definition : SChordQualityDefinitions()) {
        ASSERT_GE(definition.tones.size(), 2U) << definition.identifier;
        EXPECT_EQ(definition.tones.front().semitones, 0) << definition.identifier;
        EXPECT_TRUE(
            std::is_sorted(definition.tones.begin(), definition.tones.end(),
                           [](const auto& a, const auto& b) { return a.semitones < b.semitones; }))
            << definition.identifier;
    }
}

TEST(SChordQualityTable, NoSpellingNamesTwoQualities) {
    std::set<std::string_view> seen;
    for (const auto& definition : SChordQualityDefinitions()) {
        EXPECT_NE(
            std::find(definition.aliases.begin(), definition.aliases.end(), definition.suffix),
            definition.aliases.end())
            << "suffix of " << definition.identifier << " is one of its spellings";
        for (const auto alias : definition.aliases) {
            EXPECT_TRUE(seen.insert(alias).second) << alias;
        }
    }
}

TEST(SChordQualityTable, MatchesTheSharedQualityData) {
    const std::filesystem::path path =
        std::filesystem::path(TARV_SHARED_DATA_DIR) / "chord-qualities.json";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << path << " is not available";
    }
    std::ifstream input(path);
    const auto data = nlohmann::json::parse(input);
    const auto& qualities = data.at("qualities");
    EXPECT_EQ(qualities.size(), SChordQualityDefinitions().size());
    for (const auto& quality : qualities) {
        const auto identifier = quality.at("id").get<std::string>();
        const auto* definition = definitionWithIdentifier(identifier);
        ASSERT_NE(definition, nullptr) << identifier;
        EXPECT_EQ(definition->suffix, quality.at("suffix").get<std::string>()) << identifier;
        EXPECT_EQ(definition->name, quality.at("name").get<std::string>()) << identifier;
        const auto tier = quality.at("tier").get<std::string>();
        const auto expectedTier = tier == "core"     ? SChordQualityTier::Core
                                  : tier == "common" ? SChordQualityTier::Common
                                                     : SChordQualityTier::Rare;
        EXPECT_EQ(definition->tier, expectedTier) << identifier;

        std::vector<std::string> aliases(definition->aliases.begin(), definition->aliases.end());
        EXPECT_EQ(aliases, quality.at("aliases").get<std::vector<std::string>>()) << identifier;

        const auto degrees = quality.at("degrees").get<std::vector<std::string>>();
        const auto semitones = quality.at("semitones").get<std::vector<int>>();
        const auto omittable = quality.at("omittable_degrees").get<std::vector<std::string>>();
        const auto rare = quality.at("omittable_rare_degrees").get<std::vector<std::string>>();
        ASSERT_EQ(definition->tones.size(), degrees.size()) << identifier;
        for (std::size_t i = 0; i < degrees.size(); ++i) {
            const auto tone = std::find_if(definition->tones.begin(), definition->tones.end(),
                                           [&](const auto& t) { return t.degree == degrees[i]; });
            ASSERT_NE(tone, definition->tones.end()) << identifier << " " << degrees[i];
            EXPECT_EQ(tone->semitones, semitones[i]) << identifier << " " << degrees[i];
            EXPECT_EQ(tone->omittable,
                      std::find(omittable.begin(), omittable.end(), degrees[i]) != omittable.end())
                << identifier << " " << degrees[i];
            EXPECT_EQ(tone->rarelyOmittable,
                      std::find(rare.begin(), rare.end(), degrees[i]) != rare.end())
                << identifier << " " << degrees[i];
        }
        const auto tolerated = quality.at("tolerated_semitones").get<std::vector<int>>();
        EXPECT_EQ(std::vector<int>(definition->toleratedSemitones.begin(),
                                   definition->toleratedSemitones.end()),
                  tolerated)
            << identifier;
        const auto rootOmittable = quality.at("root_omittable").get<std::string>();
        const auto expectedOmission = rootOmittable == "small-instruments"
                                          ? SChordRootOmission::SmallInstruments
                                      : rootOmittable == "jazz" ? SChordRootOmission::Jazz
                                                                : SChordRootOmission::Never;
        EXPECT_EQ(definition->rootOmission, expectedOmission) << identifier;
    }
}

TEST(SChord, SupportedQualitiesListEveryQualityOnceCoreFirst) {
    const auto& supported = SChord::supportedQualities();
    ASSERT_EQ(supported.size(), SChordQualityDefinitions().size());
    EXPECT_EQ(std::set<std::string>(supported.begin(), supported.end()).size(), supported.size());
    EXPECT_EQ(supported.front(), "");
    auto tier = SChordQualityTier::Core;
    for (std::size_t i = 0; i < supported.size(); ++i) {
        const auto& definition = SChordQualityDefinitions()[i];
        EXPECT_EQ(supported[i], definition.suffix);
        EXPECT_GE(definition.tier, tier) << definition.identifier;
        tier = definition.tier;
    }
    for (const char* suffix : {"", "m", "7", "maj7", "m7", "dim7", "m7b5", "sus4", "9", "6/9", "13",
                               "maj13", "7#11", "7b13"}) {
        EXPECT_NE(std::find(supported.begin(), supported.end(), suffix), supported.end()) << suffix;
    }
}

TEST(SChord, EverySupportedQualityParsesFromItsCanonicalName) {
    for (const auto& suffix : SChord::supportedQualities()) {
        for (const char* root : kRoots) {
            const auto parsed = SChord::chordWithString(root + suffix);
            ASSERT_NE(parsed, nullptr) << root << suffix;
            EXPECT_EQ(parsed->quality(), suffix);
            EXPECT_EQ(parsed->name(), root + suffix);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Notes, characteristic notes and spelling.

TEST(SChord, NotesStartAtTheRootAndAscendByInterval) {
    EXPECT_EQ(spellings(chord("C9")->notes()),
              (std::vector<std::string>{"C", "E", "G", "Bb", "D"}));
    EXPECT_EQ(spellings(chord("G13")->notes()),
              (std::vector<std::string>{"G", "B", "D", "F", "A", "E"}));
}

TEST(SChord, TonesAreSpelledFromTheRootLetter) {
    EXPECT_EQ(spellings(chord("Ebmaj7")->notes()),
              (std::vector<std::string>{"Eb", "G", "Bb", "D"}));
    EXPECT_EQ(spellings(chord("Cm")->notes()), (std::vector<std::string>{"C", "Eb", "G"}));
    EXPECT_EQ(spellings(chord("Dbm")->notes()), (std::vector<std::string>{"Db", "Fb", "Ab"}));
    EXPECT_EQ(spellings(chord("F#7")->notes()), (std::vector<std::string>{"F#", "A#", "C#", "E"}));
    EXPECT_EQ(spellings(chord("Cdim7")->notes()),
              (std::vector<std::string>{"C", "Eb", "Gb", "Bbb"}));
    EXPECT_EQ(spellings(chord("E#maj7")->notes()),
              (std::vector<std::string>{"E#", "G##", "B#", "D##"}));
}

TEST(SChord, ToneNeedingThreeAccidentalsIsSpelledByPitchClass) {
    const auto parsed = chord("B#7#5");
    ASSERT_NE(parsed, nullptr);
    // The augmented fifth of B# would be F###.
    EXPECT_EQ(pitchClasses(parsed->notes()), (std::vector<int>{0, 4, 8, 10}));
    for (const auto& note : parsed->notes()) {
        EXPECT_LE(std::abs(note.accidental()), 2);
    }
}

TEST(SChord, MajorTriadKeepsEveryToneCharacteristic) {
    EXPECT_EQ(characteristicNotesOf("C"), (std::vector<int>{0, 4, 7}));
    EXPECT_EQ(characteristicNotesOf("Am"), (std::vector<int>{9, 0, 4}));
}

TEST(SChord, PerfectFifthOfASeventhChordIsNotCharacteristic) {
    EXPECT_EQ(notesOf("C7"), (std::vector<int>{0, 4, 7, 10}));
    EXPECT_EQ(characteristicNotesOf("C7"), (std::vector<int>{0, 4, 10}));
    EXPECT_EQ(characteristicNotesOf("Cmaj7"), (std::vector<int>{0, 4, 11}));
    EXPECT_EQ(characteristicNotesOf("C6"), (std::vector<int>{0, 4, 9}));
}

TEST(SChord, AlteredFifthStaysCharacteristic) {
    EXPECT_EQ(characteristicNotesOf("Cm7b5"), (std::vector<int>{0, 3, 6, 10}));
    EXPECT_EQ(characteristicNotesOf("C7#5"), (std::vector<int>{0, 4, 8, 10}));
}

TEST(SChord, RootStaysCharacteristicWhereRootlessVoicingsAreCommon) {
    EXPECT_EQ(notesOf("C9"), (std::vector<int>{0, 4, 7, 10, 2}));
    EXPECT_EQ(characteristicNotesOf("C9"), (std::vector<int>{0, 4, 10, 2}));
    EXPECT_EQ(characteristicNotesOf("C6/9"), (std::vector<int>{0, 4, 9, 2}));
}

TEST(SChord, EleventhChordsMayDropTheFifthThirdAndNinth) {
    // Guitar "11" shapes are usually 7sus4 shapes: root, seventh and eleventh must sound.
    EXPECT_EQ(notesOf("C11"), (std::vector<int>{0, 4, 7, 10, 2, 5}));
    EXPECT_EQ(characteristicNotesOf("C11"), (std::vector<int>{0, 10, 5}));
    EXPECT_EQ(characteristicNotesOf("Cm11"), (std::vector<int>{0, 3, 10, 5}));
}

TEST(SChord, ThirteenthChordsMayDropTheFifthAndNinthAndHaveNoEleventh) {
    EXPECT_EQ(notesOf("C13"), (std::vector<int>{0, 4, 7, 10, 2, 9}));
    EXPECT_EQ(characteristicNotesOf("C13"), (std::vector<int>{0, 4, 10, 9}));
}

TEST(SChord, PowerChordHasExactlyRootAndFifthBothCharacteristic) {
    const auto power = chord("C5");
    ASSERT_NE(power, nullptr);
    EXPECT_EQ(power->notes().size(), 2U);
    EXPECT_EQ(pitchClasses(power->notes()), (std::vector<int>{0, 7}));
    EXPECT_EQ(pitchClasses(power->characteristicNotes()), (std::vector<int>{0, 7}));
    EXPECT_EQ(valueOf("C(no3)"), power->numericNoteStringValue());
}

TEST(SChord, CharacteristicNotesFollowTheOrderOfNotes) {
    for (const auto& suffix : SChord::supportedQualities()) {
        const auto parsed = chord("A" + suffix + "/G#");
        ASSERT_NE(parsed, nullptr);
        auto next = parsed->notes().begin();
        for (const auto& note : parsed->characteristicNotes()) {
            next = std::find(next, parsed->notes().end(), note);
            ASSERT_NE(next, parsed->notes().end()) << "A" << suffix << "/G#";
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Slash chords.

TEST(SChord, SlashBassOverAChordToneAddsNoNote) {
    const auto parsed = chord("C/E");
    ASSERT_NE(parsed, nullptr);
    ASSERT_TRUE(parsed->addedBase().has_value());
    EXPECT_EQ(parsed->addedBase()->string(), "E");
    EXPECT_EQ(pitchClasses(parsed->notes()), (std::vector<int>{0, 4, 7}));
    EXPECT_EQ(pitchClasses(parsed->characteristicNotes()), (std::vector<int>{0, 4, 7}));
    EXPECT_EQ(parsed->root().string(), "C");
    EXPECT_EQ(parsed->name(), "C/E");
}

TEST(SChord, SlashBassOnAnOmittableToneMakesItCharacteristic) {
    EXPECT_EQ(notesOf("C7/G"), (std::vector<int>{0, 4, 7, 10}));
    EXPECT_EQ(characteristicNotesOf("C7/G"), (std::vector<int>{0, 4, 7, 10}));
}

TEST(SChord, SlashBassOutsideTheChordIsAddedLast) {
    const auto parsed = chord("C/D");
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(spellings(parsed->notes()), (std::vector<std::string>{"C", "E", "G", "D"}));
    EXPECT_EQ(spellings(parsed->characteristicNotes()),
              (std::vector<std::string>{"C", "E", "G", "D"}));
    EXPECT_EQ(spellings(chord("G/F")->notes()), (std::vector<std::string>{"G", "B", "D", "F"}));
}

TEST(SChord, SlashBassOfAMinorChordKeepsTheRoot) {
    const auto parsed = chord("Am/G");
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(parsed->root().string(), "A");
    EXPECT_EQ(parsed->addedBase()->string(), "G");
    EXPECT_EQ(parsed->quality(), "m");
    EXPECT_EQ(spellings(parsed->notes()), (std::vector<std::string>{"A", "C", "E", "G"}));
}

TEST(SChord, SlashBassMayCarryAccidentals) {
    EXPECT_EQ(chord("D/F#")->addedBase()->string(), "F#");
    EXPECT_EQ(chord("C/B\u266D")->addedBase()->string(), "Bb");
    EXPECT_EQ(chord("Cm7/Bb")->name(), "Cm7/Bb");
}

TEST(SChord, SlashFollowedByADigitOrQualityIsNoBass) {
    EXPECT_FALSE(chord("C6/9")->addedBase().has_value());
    EXPECT_EQ(qualityOf("C6/9"), "6/9");
    EXPECT_EQ(qualityOf("C9/6"), "6/9");
    EXPECT_EQ(qualityOf("C9/11"), "11");
    EXPECT_FALSE(chord("Cm/maj7")->addedBase().has_value());
    EXPECT_EQ(qualityOf("Cm/maj7"), "m(maj7)");
    EXPECT_EQ(qualityOf("Cm6/9"), "m6/9");
}

TEST(SChord, SixNineChordMayItselfHaveABass) {
    const auto parsed = chord("C6/9/E");
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(parsed->quality(), "6/9");
    EXPECT_EQ(parsed->addedBase()->string(), "E");
    EXPECT_EQ(parsed->name(), "C6/9/E");
}

TEST(SChord, SlashChordDiffersFromTheChordWithoutBass) {
    EXPECT_NE(valueOf("C/E"), valueOf("C"));
    EXPECT_NE(valueOf("C/E"), valueOf("C/G"));
    EXPECT_NE(valueOf("C/C"), valueOf("C"));
}

// ---------------------------------------------------------------------------------------------
// The numeric note string value.

TEST(SChord, NumericValueListsRootTonesCharacteristicTonesAndBass) {
    EXPECT_EQ(valueOf("C"), "0|047|047|");
    EXPECT_EQ(valueOf("C7"), "0|047a|04a|");
    EXPECT_EQ(valueOf("Am/G"), "9|037a|037a|a");
    EXPECT_EQ(valueOf("C/D"), "0|0247|0247|2");
    EXPECT_EQ(valueOf("Bmaj7"), "b|047b|04b|");
}

TEST(SChord, EnharmonicRootsShareTheNumericValue) {
    EXPECT_EQ(valueOf("C#m"), valueOf("Dbm"));
    EXPECT_EQ(valueOf("F#7"), valueOf("Gb7"));
    EXPECT_EQ(valueOf("C#7/G#"), valueOf("Db7/Ab"));
    EXPECT_EQ(valueOf("B#"), valueOf("C"));
    EXPECT_EQ(*chord("C#m"), *chord("Dbm"));
}

TEST(SChord, DifferentChordsHaveDifferentNumericValues) {
    EXPECT_NE(valueOf("C"), valueOf("Cm"));
    EXPECT_NE(valueOf("C"), valueOf("C5"));
    EXPECT_NE(valueOf("C"), valueOf("C#"));
    EXPECT_NE(valueOf("C6"), valueOf("Am7"));
    EXPECT_NE(valueOf("Cadd9"), valueOf("Csus2"));
    EXPECT_FALSE(*chord("C") == *chord("Cm"));
}

TEST(SChord, SpellingsOfTheSameTonesShareTheNumericValue) {
    EXPECT_EQ(valueOf("C7(b9)"), valueOf("C7b9"));
    EXPECT_EQ(valueOf("Cmi7b5"), valueOf("Cm7b5"));
    // Both are root, third, augmented fifth and minor seventh, every tone characteristic.
    EXPECT_EQ(valueOf("C7#5"), valueOf("C7b13"));
}

TEST(SChord, NumericValueNeverContainsAColon) {
    for (const auto& suffix : SChord::supportedQualities()) {
        for (const char* root : kRoots) {
            for (const char* bass : {"", "/E", "/Bb", "/F#"}) {
                const auto value = valueOf(root + suffix + bass);
                EXPECT_EQ(value.find(':'), std::string::npos) << value;
            }
        }
    }
    EXPECT_EQ(valueOf("C7(b9,#11)/E").find(':'), std::string::npos);
}

TEST(SChord, NumericValueCannotBeMistakenForAChordSymbol) {
    for (const auto& suffix : SChord::supportedQualities()) {
        for (const char* root : kRoots) {
            const auto value = valueOf(root + suffix);
            ASSERT_FALSE(value.empty());
            // Chord symbols begin with a capital letter and never contain "|".
            EXPECT_FALSE(value.front() >= 'A' && value.front() <= 'Z') << value;
            EXPECT_NE(value.find('|'), std::string::npos) << value;
        }
    }
}

TEST(SChord, NumericValueReadsBackIntoAChordWithTheSameValue) {
    std::vector<std::string> symbols;
    for (const auto& suffix : SChord::supportedQualities()) {
        for (const char* root : kRoots) {
            for (const char* bass : {"", "/E", "/Bb", "/F#", "/C"}) {
                symbols.push_back(root + suffix + bass);
            }
        }
    }
    for (const char* symbol : {"C7(b9,#11)", "Bb7(b9,#11)/Ab", "C13sus4", "Cmaj9#11", "C7(b5,#5)",
                               "Cadd9(no3)", "C(no5)", "Cm7(b9)/E"}) {
        symbols.emplace_back(symbol);
    }
    for (const auto& symbol : symbols) {
        const auto original = chord(symbol);
        ASSERT_NE(original, nullptr);
        const auto& value = original->numericNoteStringValue();
        const auto readBack = SChord::chordWithString(value);
        ASSERT_NE(readBack, nullptr) << symbol << " " << value;
        EXPECT_EQ(readBack->numericNoteStringValue(), value) << symbol;
        EXPECT_EQ(readBack->root().noteValue(), original->root().noteValue()) << symbol;
        EXPECT_EQ(readBack->addedBase().has_value(), original->addedBase().has_value());
        auto sorted = [](std::vector<int> values) {
            std::sort(values.begin(), values.end());
            return values;
        };
        EXPECT_EQ(sorted(pitchClasses(readBack->notes())), sorted(pitchClasses(original->notes())))
            << symbol;
        EXPECT_EQ(sorted(pitchClasses(readBack->characteristicNotes())),
                  sorted(pitchClasses(original->characteristicNotes())))
            << symbol;
        EXPECT_EQ(readBack->symbol(), value);
    }
}

TEST(SChord, NumericValueOfANamedQualityReadsBackWithItsName) {
    const auto readBack = chord("a|047a|04a|");
    ASSERT_NE(readBack, nullptr);
    EXPECT_EQ(readBack->name(), "Bb7");
    EXPECT_EQ(chord(valueOf("Dbm/E"))->name(), "C#m/E");
    EXPECT_EQ(chord(valueOf("Gb"))->name(), "F#");
}

TEST(SChord, NumericValueOfAnAlteredChordReadsBackWithANameThatParses) {
    const auto value = valueOf("C7(b9,#11)");
    const auto readBack = chord(value);
    ASSERT_NE(readBack, nullptr);
    EXPECT_EQ(valueOf(readBack->name()), value) << readBack->name();
}

TEST(SChord, NumericValueWithoutANamedQualityKeepsItsTones) {
    const auto readBack = chord("0|0123456789ab|0123456789ab|");
    ASSERT_NE(readBack, nullptr);
    EXPECT_EQ(readBack->notes().size(), 12U);
    EXPECT_EQ(readBack->numericNoteStringValue(), "0|0123456789ab|0123456789ab|");
}

TEST(SChord, MalformedNumericValueGivesNoChord) {
    for (const char* text :
         {"|", "0|047|047", "0|047|047||", "0|047|048|", "c|047|047|", "0|740|047|", "0|47|47|",
          "0|047|047|5", "0|0|0|", "0|0447|047|", "00|047|047|", "|047|047|", "0|047|047|44",
          "0|04A|04|", "C|047|047|", "0|047|047|\u266F", "0 |047|047|"}) {
        EXPECT_EQ(SChord::chordWithString(text), nullptr) << '"' << text << '"';
    }
}

// ---------------------------------------------------------------------------------------------
// Symbols that give no chord.

TEST(SChord, BadSymbolsGiveNoChord) {
    for (const char* text :
         {"",       "H7",         "Cfoo",     "C/",      "/E",         "C/H",      "c",
          "C7(",    "C7)",        "C7()",     "C7(b9,)", "C7(,b9)",    "C7((b9))", "C79",
          "Cm7b",   " C",         "C ",       "C/E/G",   "Cmaj7/",     "C#b",      "C###",
          "CM7M",   "C7(b9/#11)", "Csus9(b9", "Cno",     "C(no5,no3)", "Cadd",     "Cadd8",
          "C7(b7)", "Csus3",      "X",        "7",       "m7",         "C:E"}) {
        EXPECT_EQ(SChord::chordWithString(text), nullptr) << '"' << text << '"';
    }
}

// ---------------------------------------------------------------------------------------------
// Alterations, additions, suspensions and omissions.

TEST(SChord, ParenthesisedAlterationsAddTheirTones) {
    const auto parsed = chord("C7(b9,#11)");
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(spellings(parsed->notes()),
              (std::vector<std::string>{"C", "E", "G", "Bb", "Db", "F#"}));
    EXPECT_EQ(spellings(parsed->characteristicNotes()),
              (std::vector<std::string>{"C", "E", "Bb", "Db", "F#"}));
    EXPECT_EQ(parsed->quality(), "7(b9,#11)");
    EXPECT_EQ(parsed->name(), "C7(b9,#11)");
}

TEST(SChord, AlterationsReadAlikeWithOrWithoutParenthesesInAnyOrder) {
    const auto value = valueOf("C7(b9,#11)");
    EXPECT_EQ(valueOf("C7b9#11"), value);
    EXPECT_EQ(valueOf("C7(#11,b9)"), value);
    EXPECT_EQ(valueOf("C7(b9 #11)"), value);
    EXPECT_EQ(valueOf("C7( b9, #11 )"), value);
    EXPECT_EQ(valueOf("C7b9(#11)"), value);
    EXPECT_EQ(valueOf("C7(b9)(#11)"), value);
    EXPECT_EQ(valueOf("C7-9+11"), value);
    EXPECT_EQ(chord("C7(#11,b9)")->name(), "C7(b9,#11)");
}

TEST(SChord, AlteredToneReplacesTheNaturalOne) {
    EXPECT_EQ(notesOf("C9(b9)"), notesOf("C7b9"));
    EXPECT_EQ(notesOf("Cm7(b5)"), (std::vector<int>{0, 3, 6, 10}));
    EXPECT_EQ(qualityOf("Cm7(b5)"), "m7b5");
    EXPECT_EQ(notesOf("C9(#5)"), (std::vector<int>{0, 4, 8, 10, 2}));
}

TEST(SChord, AlterationsThatSpellANamedQualityTakeItsName) {
    EXPECT_EQ(qualityOf("C7(#5,b9)"), "7b9#5");
    EXPECT_EQ(qualityOf("Cmi7b5"), "m7b5");
    EXPECT_EQ(qualityOf("C(b5)"), "(b5)");
    EXPECT_EQ(qualityOf("C7(9)"), "9");
}

TEST(SChord, AdditionsSuspensionsAndOmissionsChangeTheTones) {
    EXPECT_EQ(notesOf("Cadd9(no3)"), (std::vector<int>{0, 7, 2}));
    EXPECT_EQ(characteristicNotesOf("Cadd9(no3)"), (std::vector<int>{0, 2}));
    EXPECT_EQ(notesOf("C13sus4"), (std::vector<int>{0, 5, 7, 10, 2, 9}));
    EXPECT_EQ(notesOf("C7sus4(b9)"), (std::vector<int>{0, 5, 7, 10, 1}));
    EXPECT_EQ(notesOf("Cm7(add11)"), notesOf("Cm7add11"));
    EXPECT_EQ(notesOf("C(no5)"), (std::vector<int>{0, 4}));
    EXPECT_EQ(notesOf("Cmaj9#11"), (std::vector<int>{0, 4, 7, 11, 2, 6}));
}

// ---------------------------------------------------------------------------------------------
// Unicode accidentals and signs.

TEST(SChord, UnicodeAccidentalsInTheRootReadLikeAsciiOnes) {
    EXPECT_EQ(valueOf("C\u266Fm"), valueOf("C#m"));
    EXPECT_EQ(chord("B\u266D7")->root().string(), "Bb");
    EXPECT_EQ(chord("B\u266D7")->name(), "Bb7");
    EXPECT_EQ(chord("E\u266D\u266D")->root().string(), "Ebb");
}

TEST(SChord, UnicodeAccidentalsInTheQualityReadLikeAsciiOnes) {
    EXPECT_EQ(valueOf("C7\u266D9"), valueOf("C7b9"));
    EXPECT_EQ(valueOf("C7(\u266D9,\u266F11)"), valueOf("C7(b9,#11)"));
    EXPECT_EQ(qualityOf("C\u266Fm7\u266D5"), "m7b5");
    EXPECT_EQ(chord("C\u266Fm7\u266D5")->name(), "C#m7b5");
}

TEST(SChord, DeltaMeansMajorSeventh) {
    EXPECT_EQ(qualityOf("C\u0394"), "maj7");
    EXPECT_EQ(qualityOf("C\u03947"), "maj7");
    EXPECT_EQ(qualityOf("C\u03949"), "maj9");
    EXPECT_EQ(qualityOf("C-\u03947"), "m(maj7)");
    EXPECT_EQ(chord("C\u0394")->name(), "Cmaj7");
}

TEST(SChord, SlashedOMeansHalfDiminished) {
    EXPECT_EQ(qualityOf("C\u00F8"), "m7b5");
    EXPECT_EQ(qualityOf("C\u00F87"), "m7b5");
    EXPECT_EQ(qualityOf("C\u00D8"), "m7b5");
    EXPECT_EQ(qualityOf("C\u00F89"), "m9b5");
}

TEST(SChord, DegreeSignMeansDiminished) {
    EXPECT_EQ(qualityOf("C\u00B0"), "dim");
    EXPECT_EQ(qualityOf("C\u00B07"), "dim7");
    // Superscript zero and the ordinal indicator stand in for the degree sign on some sheets.
    EXPECT_EQ(qualityOf("C\u2070"), "dim");
    EXPECT_EQ(qualityOf("C\u00BA7"), "dim7");
}

// ---------------------------------------------------------------------------------------------
// Readings chosen for ambiguous tokens.

TEST(SChord, BareTwoMeansAddedNinthNotSuspendedSecond) {
    EXPECT_EQ(qualityOf("C2"), "add9");
    EXPECT_EQ(notesOf("C2"), (std::vector<int>{0, 4, 7, 2}));
}

TEST(SChord, SevenPlusMeansAugmentedSeventhNotMajorSeventh) {
    EXPECT_EQ(qualityOf("C7+"), "7#5");
    EXPECT_EQ(notesOf("C7+"), (std::vector<int>{0, 4, 8, 10}));
    EXPECT_EQ(qualityOf("C7M"), "maj7");
}

TEST(SChord, PlusRightAfterTheRootMeansAugmented) {
    EXPECT_EQ(qualityOf("C+"), "aug");
    EXPECT_EQ(qualityOf("C+7"), "7#5");
    EXPECT_EQ(qualityOf("C+9"), "9#5");
    EXPECT_EQ(qualityOf("C7+9"), "7#9");
    EXPECT_EQ(qualityOf("C7+11"), "7#11");
}

TEST(SChord, MinusRightAfterTheRootMeansMinorAndFlatInsideAlterations) {
    EXPECT_EQ(qualityOf("C-"), "m");
    EXPECT_EQ(qualityOf("C-7"), "m7");
    EXPECT_EQ(qualityOf("C-9"), "m9");
    EXPECT_EQ(qualityOf("C7-9"), "7b9");
    EXPECT_EQ(qualityOf("C7-5"), "7b5");
    EXPECT_EQ(qualityOf("C7-13"), "7b13");
}

TEST(SChord, DimAndDegreeSignAloneMeanTheTriad) {
    EXPECT_EQ(notesOf("Cdim"), (std::vector<int>{0, 3, 6}));
    EXPECT_EQ(notesOf("C\u00B0"), (std::vector<int>{0, 3, 6}));
    EXPECT_EQ(notesOf("C0"), (std::vector<int>{0, 3, 6}));
    EXPECT_EQ(notesOf("Cdim7"), (std::vector<int>{0, 3, 6, 9}));
}

TEST(SChord, ElevenKeepsTheThirdAmongItsTones) {
    EXPECT_EQ(qualityOf("C11"), "11");
    EXPECT_EQ(notesOf("C11"), (std::vector<int>{0, 4, 7, 10, 2, 5}));
    EXPECT_NE(valueOf("C11"), valueOf("C9sus4"));
}

TEST(SChord, ThirteenLeavesOutTheEleventh) {
    const auto notes = notesOf("C13");
    EXPECT_EQ(std::count(notes.begin(), notes.end(), 5), 0);
}

TEST(SChord, AltMeansTheJazzAlteredDominant) {
    EXPECT_EQ(qualityOf("Calt"), "7alt");
    // Root, third and minor seventh with the flat and sharp ninth, the sharp eleventh (flat
    // fifth) and the flat thirteenth (sharp fifth); no natural fifth or ninth.
    EXPECT_EQ(spellings(chord("C7alt")->notes()),
              (std::vector<std::string>{"C", "E", "Bb", "Db", "D#", "F#", "Ab"}));
    EXPECT_EQ(characteristicNotesOf("C7alt"), (std::vector<int>{0, 4, 10, 8}));
    for (const char* spelling : {"alt", "alt7", "7(alt)", "alt.", "altered"}) {
        EXPECT_EQ(valueOf(std::string("C") + spelling), valueOf("C7alt")) << spelling;
    }
    EXPECT_NE(valueOf("C7alt"), valueOf("C7(no5)"));
    EXPECT_NE(valueOf("C7alt"), valueOf("C7#5"));
}

TEST(SChord, SusNineMeansAddedNinth) {
    EXPECT_EQ(qualityOf("Csus9"), "add9");
    EXPECT_EQ(qualityOf("Csus"), "sus4");
    EXPECT_EQ(qualityOf("C4"), "sus4");
}

TEST(SChord, DeltaOrCaretAloneMeansMajorSeventh) {
    EXPECT_EQ(qualityOf("C^"), "maj7");
    EXPECT_EQ(qualityOf("C\u0394"), "maj7");
    EXPECT_EQ(qualityOf("CM"), "");
}

TEST(SChord, AccidentalsRightAfterTheLetterBelongToTheRoot) {
    // "Cb5" is a C-flat power chord, not C with a flat fifth.
    EXPECT_EQ(chord("Cb5")->root().string(), "Cb");
    EXPECT_EQ(qualityOf("Cb5"), "5");
    EXPECT_EQ(chord("C#5")->root().string(), "C#");
    EXPECT_EQ(qualityOf("C#5"), "5");
    EXPECT_EQ(chord("Cb13b9")->root().string(), "Cb");
    EXPECT_EQ(qualityOf("Cb13b9"), "13b9");
    // After a sharp root a flat starts the quality, and the other way round.
    EXPECT_EQ(qualityOf("F#b5"), "(b5)");
    EXPECT_EQ(qualityOf("Bb#5"), "aug");
    EXPECT_EQ(qualityOf("C(#5)"), "aug");
}

// ---------------------------------------------------------------------------------------------
// Names, descriptions and construction.

TEST(SChord, NameIsRootCanonicalSuffixAndBass) {
    EXPECT_EQ(chord("CMaj7")->name(), "Cmaj7");
    EXPECT_EQ(chord("Dmin7/C")->name(), "Dm7/C");
    EXPECT_EQ(chord("Eb-")->name(), "Ebm");
    EXPECT_EQ(chord("Fh7")->name(), "Fm7b5");
    EXPECT_EQ(chord("Gmaj")->name(), "G");
}

TEST(SChord, SymbolIsTheTextTheChordWasReadFrom) {
    EXPECT_EQ(chord("CMaj7")->symbol(), "CMaj7");
    EXPECT_EQ(chord("C\u00F8")->symbol(), "C\u00F8");
}

TEST(SChord, DescriptionIsOneLineNamingTheSymbolAndTheNotes) {
    const auto description = chord("CMaj7/D")->description();
    EXPECT_EQ(description.find('\n'), std::string::npos);
    EXPECT_NE(description.find("CMaj7/D"), std::string::npos) << description;
    EXPECT_NE(description.find("Cmaj7/D"), std::string::npos) << description;
    EXPECT_NE(description.find("C E G B D"), std::string::npos) << description;
    EXPECT_EQ(chord("Am")->description(), "Am: A C E");
}

TEST(SChord, ConstructorComputesTheNumericValue) {
    const auto c = *SNote::noteWithString("C");
    const auto e = *SNote::noteWithString("E");
    const auto g = *SNote::noteWithString("G");
    const SChord made(c, e, {c, e, g}, {c, e}, "C/E", "");
    EXPECT_EQ(made.numericNoteStringValue(), "0|047|04|4");
    EXPECT_EQ(made.name(), "C/E");
}

TEST(SChord, ChordsParsedOnSeveralThreadsAtOnceAgree) {
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < results.size(); ++i) {
        threads.emplace_back([&results, i] {
            std::string all;
            for (const auto& suffix : SChord::supportedQualities()) {
                if (const auto parsed = SChord::chordWithString("F#" + suffix + "/A")) {
                    all += parsed->numericNoteStringValue() + ";";
                }
            }
            results[i] = all;
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(results[0].empty());
    for (const auto& result : results) {
        EXPECT_EQ(result, results[0]);
    }
}
