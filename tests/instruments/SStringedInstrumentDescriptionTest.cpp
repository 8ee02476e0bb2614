#include "tarv/instruments/SStringedInstrumentDescription.hpp"
#include "tarv/archive/TARVPropertyListJSON.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

namespace tarv {
namespace {

using json = nlohmann::json;

SPitch pitch(const char* text) {
    return *SPitch::pitchWithString(text);
}

std::vector<SPitch> pitches(std::initializer_list<const char*> texts) {
    std::vector<SPitch> result;
    for (const char* text : texts) {
        result.push_back(pitch(text));
    }
    return result;
}

json bassDictionary() {
    return json{
        {"name", "Bass"},
        {"frets", 20},
        {"capo", 0},
        {"tuning",
         {{"notes", json::array({{{"note", "G"}, {"octave", 2}},
                                 {{"note", "D"}, {"octave", 2}},
                                 {{"note", "A"}, {"octave", 1}},
                                 {{"note", "E"}, {"octave", 1}}})},
          {"name", "Standard"},
          {"noteString", "EADG"}}},
    };
}

SStringedInstrumentTuningPtr tuningWithCapo(std::uint8_t capo) {
    return SStringedInstrumentTuning::initWithPitches(
        pitches({"D4", "A3", "G3", "D3", "A2", "D2"}), 20, capo, TARVMakeSharedText("DADGAD"),
        "DADGAD", SStringedInstrumentTuning::StringOrderTransform{5, 4, 3, 2, 1, 0});
}

std::string contentsOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(SStringedInstrumentDescription, DefaultDescriptionIsAGuitarInStandardTuning) {
    const auto description = SStringedInstrumentDescription::stringedInstrumentDescription();
    ASSERT_TRUE(description->instrumentName().has_value());
    EXPECT_EQ(*description->instrumentName(), "Guitar");
    const SStringedInstrumentTuning& tuning = *description->tuning();
    EXPECT_EQ(tuning.stringCount(), 6);
    EXPECT_EQ(tuning.stringPitches(), pitches({"E4", "B3", "G3", "D3", "A2", "E2"}));
    EXPECT_EQ(tuning.fretCount(), 22);
    EXPECT_EQ(tuning.capo(), 0);
    EXPECT_EQ(tuning.noteString(), "EADGBE");
    EXPECT_FALSE(tuning.stringOrderTransform().has_value());
}

TEST(SStringedInstrumentDescription, DefaultDescriptionsAreEqualAndHashAlike) {
    const auto first = SStringedInstrumentDescription::stringedInstrumentDescription();
    const auto second = SStringedInstrumentDescription::stringedInstrumentDescription();
    EXPECT_NE(first, second);
    EXPECT_TRUE(first->isEqualToDescription(*second));
    EXPECT_EQ(first->hash(), second->hash());
}

TEST(SStringedInstrumentDescription, DictionaryMakesAFourStringBass) {
    const auto bass = SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(
        bassDictionary());
    EXPECT_EQ(bass->instrumentName(), std::optional<std::string>("Bass"));
    const SStringedInstrumentTuning& tuning = *bass->tuning();
    EXPECT_EQ(tuning.stringCount(), 4);
    EXPECT_EQ(tuning.stringPitches(), pitches({"G2", "D2", "A1", "E1"}));
    EXPECT_EQ(tuning.asciiNoteString(), "EADG");
    EXPECT_EQ(tuning.noteString(), "EADG");
    ASSERT_TRUE(tuning.name());
    EXPECT_EQ(*tuning.name(), "Standard");
    EXPECT_EQ(tuning.fretCount(), 20);
    EXPECT_EQ(tuning.capo(), 0);
    EXPECT_FALSE(tuning.stringOrderTransform().has_value());
}

TEST(SStringedInstrumentDescription, DictionaryFretsAndCapoStandAtTheTopLevel) {
    json dictionary = bassDictionary();
    dictionary["capo"] = 3;
    dictionary["tuning"]["frets"] = 12;
    dictionary["tuning"]["capo"] = 7;
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->fretCount(), 20);
    EXPECT_EQ(bass->tuning()->capo(), 3);
}

TEST(SStringedInstrumentDescription, DictionaryReadsTheStringOrderTransform) {
    json dictionary = bassDictionary();
    dictionary["tuning"]["stringOrderTransform"] = json::array({3, 2, 1, 0});
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    ASSERT_TRUE(bass->tuning()->stringOrderTransform().has_value());
    EXPECT_EQ(*bass->tuning()->stringOrderTransform(),
              (SStringedInstrumentTuning::StringOrderTransform{3, 2, 1, 0}));
    EXPECT_EQ(bass->tuning()->pitchForString(0), pitch("E1"));
}

TEST(SStringedInstrumentDescription, DictionaryNumbersKeepTheirLowEightBits) {
    json dictionary = bassDictionary();
    dictionary["frets"] = 300;
    dictionary["capo"] = -1;
    dictionary["tuning"]["notes"][0]["octave"] = 258;
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->fretCount(), 44);
    EXPECT_EQ(bass->tuning()->capo(), 255);
    EXPECT_EQ(bass->tuning()->stringPitches()[0], pitch("G2"));
}

TEST(SStringedInstrumentDescription, DictionaryNumbersTakeTheLowBitsOfA32BitInteger) {
    json dictionary = bassDictionary();
    dictionary["frets"] = 4294967296LL + 21; // 2^32 + 21
    dictionary["capo"] = 2.9;
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->fretCount(), 21);
    EXPECT_EQ(bass->tuning()->capo(), 2);
}

TEST(SStringedInstrumentDescription, DictionaryWithoutFretsOrCapoReadsZero) {
    json dictionary = bassDictionary();
    dictionary.erase("frets");
    dictionary.erase("capo");
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->fretCount(), 0);
    EXPECT_EQ(bass->tuning()->capo(), 0);
    EXPECT_EQ(bass->tuning()->stringCount(), 4);
}

TEST(SStringedInstrumentDescription, DictionaryWithoutTuningGivesATuningWithoutStrings) {
    json dictionary = bassDictionary();
    dictionary.erase("tuning");
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->stringCount(), 0);
    EXPECT_EQ(bass->tuning()->fretCount(), 20);
    EXPECT_FALSE(bass->tuning()->name());
    EXPECT_EQ(bass->tuning()->noteString(), "");
}

TEST(SStringedInstrumentDescription, DictionaryWithoutNotesGivesATuningWithoutStrings) {
    json dictionary = bassDictionary();
    dictionary["tuning"].erase("notes");
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->tuning()->stringCount(), 0);
    ASSERT_TRUE(bass->tuning()->name());
    EXPECT_EQ(*bass->tuning()->name(), "Standard");
}

TEST(SStringedInstrumentDescription, DictionaryWithoutNamesLeavesThemAbsent) {
    json dictionary = bassDictionary();
    dictionary.erase("name");
    dictionary["tuning"].erase("name");
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_FALSE(bass->instrumentName().has_value());
    EXPECT_FALSE(bass->tuning()->name());
}

TEST(SStringedInstrumentDescription, DictionaryNoteThatNamesNoNoteEndsTheOperation) {
    json dictionary = bassDictionary();
    dictionary["tuning"]["notes"][2]["note"] = "H";
    try {
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
        FAIL() << "an unreadable note was accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("tuning.notes[2].note"), std::string::npos)
            << error.what();
        EXPECT_NE(std::string(error.what()).find("\"H\""), std::string::npos) << error.what();
    }
}

TEST(SStringedInstrumentDescription, DictionaryNoteWithoutNoteNameEndsTheOperation) {
    json dictionary = bassDictionary();
    dictionary["tuning"]["notes"][0].erase("note");
    EXPECT_THROW(
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary),
        std::invalid_argument);
}

TEST(SStringedInstrumentDescription, DictionaryValueOfTheWrongKindEndsTheOperation) {
    const auto expectRefused = [](json dictionary, const std::string& where) {
        try {
            SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
            ADD_FAILURE() << "accepted a value of the wrong kind at " << where;
        } catch (const std::invalid_argument& error) {
            EXPECT_NE(std::string(error.what()).find(where), std::string::npos) << error.what();
        }
    };
    json dictionary = bassDictionary();
    dictionary["frets"] = "20";
    expectRefused(dictionary, "\"frets\"");
    dictionary = bassDictionary();
    dictionary["name"] = 4;
    expectRefused(dictionary, "\"name\"");
    dictionary = bassDictionary();
    dictionary["tuning"] = json::array();
    expectRefused(dictionary, "\"tuning\"");
    dictionary = bassDictionary();
    dictionary["tuning"]["notes"] = "GDAE";
    expectRefused(dictionary, "\"tuning.notes\"");
    dictionary = bassDictionary();
    dictionary["tuning"]["notes"][1] = "D2";
    expectRefused(dictionary, "\"tuning.notes[1]\"");
    dictionary = bassDictionary();
    dictionary["tuning"]["notes"][3]["octave"] = json::array();
    expectRefused(dictionary, "\"tuning.notes[3].octave\"");
    dictionary = bassDictionary();
    dictionary["tuning"]["stringOrderTransform"] = json::array({0, "1"});
    expectRefused(dictionary, "\"tuning.stringOrderTransform[1]\"");
    dictionary = bassDictionary();
    dictionary["tuning"]["noteString"] = json::object();
    expectRefused(dictionary, "\"tuning.noteString\"");
    expectRefused(json::array(), "the dictionary");
}

TEST(SStringedInstrumentDescription, DictionaryReadsAPropertyListTree) {
    const std::string data =
        contentsOfFile(std::string(TARV_TEST_DATA_DIR) + "/settings/instrument-dictionary.bplist");
    ASSERT_FALSE(data.empty());
    const json dictionary = TARVJSONWithPropertyListData(data);
    const auto bass =
        SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
    EXPECT_EQ(bass->instrumentName(), std::optional<std::string>("Bass"));
    EXPECT_EQ(bass->tuning()->stringPitches(), pitches({"G2", "D2", "A1", "E1"}));
    EXPECT_EQ(bass->tuning()->fretCount(), 20);
    EXPECT_EQ(bass->tuning()->capo(), 2);
}

TEST(SStringedInstrumentDescription, PropertyListTreeKeepsEveryKindOfValue) {
    const std::string data =
        contentsOfFile(std::string(TARV_TEST_DATA_DIR) + "/settings/instrument-dictionary.plist");
    const json tree = TARVJSONWithPropertyListData(data);
    EXPECT_EQ(tree["frets"], 20);
    EXPECT_EQ(tree["negative"], -5);
    EXPECT_EQ(tree["large"].get<std::uint64_t>(), 18446744073709551615ULL);
    EXPECT_DOUBLE_EQ(tree["real"].get<double>(), 2.5);
    EXPECT_EQ(tree["flag"], true);
    EXPECT_EQ(tree["made"], "2020-01-02T03:04:05Z");
    ASSERT_TRUE(tree["bytes"].is_binary());
    const std::vector<std::uint8_t>& bytes = tree["bytes"].get_binary();
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{'a', 'b', 'c'}));
}

TEST(SStringedInstrumentDescription, PropertyListTreeRefusesDataThatIsNoPropertyList) {
    EXPECT_THROW(TARVJSONWithPropertyListData("no property list"), std::invalid_argument);
}

TEST(SStringedInstrumentDescription, CopyWithoutCapoRemovesOnlyTheCapo) {
    const auto original =
        SStringedInstrumentDescription::initWithTuning(tuningWithCapo(5), "Guitar");
    const auto copy = original->copyWithoutCapo();
    ASSERT_NE(copy, original);
    EXPECT_EQ(copy->tuning()->capo(), 0);
    EXPECT_EQ(original->tuning()->capo(), 5);
    EXPECT_EQ(copy->instrumentName(), original->instrumentName());
    const SStringedInstrumentTuning& copied = *copy->tuning();
    const SStringedInstrumentTuning& kept = *original->tuning();
    EXPECT_EQ(copied.stringPitches(), kept.stringPitches());
    EXPECT_EQ(copied.fretCount(), kept.fretCount());
    EXPECT_EQ(copied.name(), kept.name());
    EXPECT_EQ(copied.noteString(), kept.noteString());
    EXPECT_EQ(copied.stringOrderTransform(), kept.stringOrderTransform());
    EXPECT_FALSE(copy->isEqualToDescription(*original));
    EXPECT_TRUE(copy->isEqualToDescription(*SStringedInstrumentDescription::initWithTuning(
        SStringedInstrumentTuning::initWithPitches(kept.stringPitches(), kept.fretCount(), 0,
                                                   kept.name(), kept.noteString(),
                                                   kept.stringOrderTransform()),
        "Guitar")));
}

TEST(SStringedInstrumentDescription, DescriptionWithoutNameEqualsNoDescriptionNotEvenItself) {
    const auto tuning = tuningWithCapo(0);
    const auto unnamed = SStringedInstrumentDescription::initWithTuning(tuning, std::nullopt);
    const auto alsoUnnamed = SStringedInstrumentDescription::initWithTuning(tuning, std::nullopt);
    const auto named = SStringedInstrumentDescription::initWithTuning(tuning, "Guitar");
    EXPECT_FALSE(unnamed->isEqualToDescription(*unnamed));
    EXPECT_FALSE(unnamed->isEqualToDescription(*alsoUnnamed));
    EXPECT_FALSE(unnamed->isEqualToDescription(*named));
    EXPECT_FALSE(named->isEqualToDescription(*unnamed));
    EXPECT_TRUE(named->isEqual(*named));
}

TEST(SStringedInstrumentDescription, EqualityNeedsEqualNamesAndEqualTunings) {
    const auto tuning = tuningWithCapo(0);
    const auto guitar = SStringedInstrumentDescription::initWithTuning(tuning, "Guitar");
    EXPECT_TRUE(guitar->isEqualToDescription(
        *SStringedInstrumentDescription::initWithTuning(tuning, std::string("Guit") + "ar")));
    EXPECT_FALSE(guitar->isEqualToDescription(
        *SStringedInstrumentDescription::initWithTuning(tuning, "Lute")));
    EXPECT_FALSE(guitar->isEqualToDescription(
        *SStringedInstrumentDescription::initWithTuning(tuningWithCapo(1), "Guitar")));
}

TEST(SStringedInstrumentDescription, HashTakesInTheNameAndTheTuning) {
    const auto tuning = tuningWithCapo(0);
    const auto guitar = SStringedInstrumentDescription::initWithTuning(tuning, "Guitar");
    EXPECT_EQ(guitar->hash(),
              SStringedInstrumentDescription::initWithTuning(tuning, "Guitar")->hash());
    EXPECT_NE(guitar->hash(),
              SStringedInstrumentDescription::initWithTuning(tuning, "Lute")->hash());
    EXPECT_NE(guitar->hash(),
              SStringedInstrumentDescription::initWithTuning(tuningWithCapo(3), "Guitar")->hash());
    EXPECT_LE(guitar->hash(), 0xFFFFFFFFULL);
    EXPECT_EQ(std::hash<SStringedInstrumentDescription>()(*guitar), guitar->hash());
}

TEST(SStringedInstrumentDescription, CopyAnswersTheDescriptionItself) {
    const auto guitar = SStringedInstrumentDescription::stringedInstrumentDescription();
    EXPECT_EQ(SStringedInstrumentDescription::copy(guitar), guitar);
    EXPECT_TRUE(SStringedInstrumentDescription::supportsSecureCoding());
}

TEST(SStringedInstrumentDescription, SettingTheNameStoresACopy) {
    const auto guitar = SStringedInstrumentDescription::stringedInstrumentDescription();
    std::string name = "Parlour Guitar";
    guitar->setInstrumentName(name);
    name[0] = 'X';
    EXPECT_EQ(guitar->instrumentName(), std::optional<std::string>("Parlour Guitar"));
    guitar->setInstrumentName(std::nullopt);
    EXPECT_FALSE(guitar->instrumentName().has_value());
}

TEST(SStringedInstrumentDescription, DescriptionNeedsATuning) {
    EXPECT_THROW(SStringedInstrumentDescription::initWithTuning(nullptr, "Guitar"),
                 std::invalid_argument);
}

TEST(SStringedInstrumentDescription, DescriptionTextNamesTheInstrumentAndTuning) {
    const auto guitar = SStringedInstrumentDescription::stringedInstrumentDescription();
    const std::string text = guitar->description();
    EXPECT_NE(text.find("Guitar"), std::string::npos) << text;
    EXPECT_NE(text.find("EADGBE"), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
}

} // namespace
} // namespace tarv
