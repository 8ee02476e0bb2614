#include "tarv/settings/NoteEntrySettings.hpp"
#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace tarv {
namespace {

using Kind = TARVSettingsDecodingError::Kind;

/// Every file is checked in twice: as an XML property list and as a binary one.
class NoteEntrySettingsFile : public testing::TestWithParam<const char*> {
protected:
    std::filesystem::path file(const std::string& name) const {
        return std::filesystem::path(TARV_TEST_DATA_DIR) / "settings" / (name + "." + GetParam());
    }

    /// The error that loading `name` throws; fails the test when it loads.
    TARVSettingsDecodingError loadError(const std::string& name) const {
        try {
            NoteEntrySettings::load(file(name));
        } catch (const TARVSettingsDecodingError& error) {
            return error;
        }
        ADD_FAILURE() << name << " loaded without error";
        return TARVSettingsDecodingError::dataCorrupted({}, "");
    }
};

INSTANTIATE_TEST_SUITE_P(XMLAndBinary, NoteEntrySettingsFile, testing::Values("plist", "bplist"));

TEST_P(NoteEntrySettingsFile, LoadsInstrumentsTuningsAndPitchesInFileOrder) {
    const NoteEntrySettings settings = NoteEntrySettings::load(file("valid"));
    const auto& instruments = settings.tablature().instruments();
    ASSERT_EQ(instruments.size(), 2u);

    const StringedInstrumentDescriptor& guitar = instruments[0];
    EXPECT_EQ(guitar.name(), "Guitar");
    EXPECT_EQ(guitar.frets(), 22);
    EXPECT_EQ(guitar.capos(), (std::vector<std::string>{"0", "2", "5"}));
    ASSERT_EQ(guitar.tunings().size(), 2u);
    const StringedInstrumentTuningDescriptor& standard = guitar.tunings()[0];
    EXPECT_EQ(standard.tuningName(), "Standard");
    EXPECT_EQ(standard.noteString(), "EADGBE");
    EXPECT_EQ(standard.notes(), (std::vector<PitchDescriptor>{
                                    {"E", 4}, {"B", 3}, {"G", 3}, {"D", 3}, {"A", 2}, {"E", 2}}));
    EXPECT_EQ(guitar.tunings()[1].tuningName(), "Drop D");
    EXPECT_EQ(guitar.tunings()[1].notes().back(), PitchDescriptor("D", 2));

    const StringedInstrumentDescriptor& ukulele = instruments[1];
    EXPECT_EQ(ukulele.name(), "Ukulele");
    EXPECT_EQ(ukulele.frets(), 18);
    EXPECT_TRUE(ukulele.capos().empty());
    ASSERT_EQ(ukulele.tunings().size(), 1u);
    EXPECT_EQ(ukulele.tunings()[0].stringOrderTransform(),
              (std::optional<std::vector<std::int64_t>>{{3, 2, 1, 0}}));
}

TEST_P(NoteEntrySettingsFile, IdKeysInTheFileAreIgnored) {
    const NoteEntrySettings first = NoteEntrySettings::load(file("valid"));
    const NoteEntrySettings second = NoteEntrySettings::load(file("valid"));
    // The file carries "id" keys, yet every decoding makes its own identifiers.
    EXPECT_NE(first.tablature().instruments()[0].id(), second.tablature().instruments()[0].id());
    EXPECT_NE(first.tablature().instruments()[0].id().string(),
              "1C9B3A2E-0000-4000-8000-000000000001");
    EXPECT_NE(first.tablature().instruments()[0].tunings()[0].id(),
              second.tablature().instruments()[0].tunings()[0].id());
}

TEST_P(NoteEntrySettingsFile, InstrumentWithCaposInsteadOfCapoFailsToDecode) {
    const TARVSettingsDecodingError error = loadError("capos-key");
    EXPECT_EQ(error.kind(), Kind::keyNotFound);
    EXPECT_EQ(error.key(), std::optional<std::string>("capo"));
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0]");
    EXPECT_STREQ(error.what(), "keyNotFound \"capo\" at tablature.instruments[0]");
}

TEST_P(NoteEntrySettingsFile, TuningWithoutTransformDecodesWithNoListAndEmptyArrayWithEmptyList) {
    const NoteEntrySettings settings = NoteEntrySettings::load(file("valid"));
    const auto& tunings = settings.tablature().instruments()[0].tunings();
    EXPECT_FALSE(tunings[0].stringOrderTransform().has_value());
    ASSERT_TRUE(tunings[1].stringOrderTransform().has_value());
    EXPECT_TRUE(tunings[1].stringOrderTransform()->empty());
}

TEST_P(NoteEntrySettingsFile, DecodingTwiceGivesUnequalInstrumentsAndTuningsButEqualPitches) {
    const NoteEntrySettings first = NoteEntrySettings::load(file("valid"));
    const NoteEntrySettings second = NoteEntrySettings::load(file("valid"));
    const StringedInstrumentDescriptor& firstGuitar = first.tablature().instruments()[0];
    const StringedInstrumentDescriptor& secondGuitar = second.tablature().instruments()[0];
    EXPECT_NE(firstGuitar.id(), secondGuitar.id());
    EXPECT_FALSE(firstGuitar == secondGuitar);
    EXPECT_FALSE(firstGuitar.tunings()[0] == secondGuitar.tunings()[0]);
    EXPECT_TRUE(firstGuitar.tunings()[0].notes() == secondGuitar.tunings()[0].notes());
    EXPECT_EQ(firstGuitar.tunings()[0].notes()[0].hash(),
              secondGuitar.tunings()[0].notes()[0].hash());
    const StringedInstrumentDescriptor copy = firstGuitar;
    EXPECT_TRUE(copy == firstGuitar);
    EXPECT_EQ(copy.hash(), firstGuitar.hash());
}

TEST_P(NoteEntrySettingsFile, EmptyInstrumentsArrayDecodesToNoInstruments) {
    const NoteEntrySettings settings = NoteEntrySettings::load(file("empty-instruments"));
    EXPECT_TRUE(settings.tablature().instruments().empty());
}

TEST_P(NoteEntrySettingsFile, MissingKeysAreReportedInCodingKeyOrder) {
    // Neither "capo" nor "frets" is there; "capo" is read first.
    const TARVSettingsDecodingError error = loadError("missing-capo-and-frets");
    EXPECT_EQ(error.kind(), Kind::keyNotFound);
    EXPECT_EQ(error.key(), std::optional<std::string>("capo"));
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0]");
}

TEST_P(NoteEntrySettingsFile, MissingPitchKeyNamesThePathToThePitch) {
    const TARVSettingsDecodingError error = loadError("missing-octave");
    EXPECT_EQ(error.kind(), Kind::keyNotFound);
    EXPECT_EQ(error.key(), std::optional<std::string>("octave"));
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0].tunings[0].notes[1]");
}

TEST_P(NoteEntrySettingsFile, MissingRootKeyIsReportedAtTheRoot) {
    const TARVSettingsDecodingError error = loadError("missing-tablature");
    EXPECT_EQ(error.kind(), Kind::keyNotFound);
    EXPECT_EQ(error.key(), std::optional<std::string>("tablature"));
    EXPECT_TRUE(error.codingPath().empty());
    EXPECT_STREQ(error.what(), "keyNotFound \"tablature\" at the root");
}

TEST_P(NoteEntrySettingsFile, ValueOfTheWrongTypeIsATypeMismatchAtItsPath) {
    const TARVSettingsDecodingError error = loadError("frets-as-string");
    EXPECT_EQ(error.kind(), Kind::typeMismatch);
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0].frets");
    EXPECT_FALSE(error.key().has_value());
    EXPECT_STREQ(error.what(),
                 "typeMismatch at tablature.instruments[0].frets: expected an integer, found a "
                 "string");
}

TEST_P(NoteEntrySettingsFile, ArrayElementOfTheWrongTypeIsATypeMismatchAtItsIndex) {
    const TARVSettingsDecodingError error = loadError("capo-entry-as-integer");
    EXPECT_EQ(error.kind(), Kind::typeMismatch);
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0].capo[1]");
}

TEST_P(NoteEntrySettingsFile, RootThatIsNoDictionaryIsATypeMismatch) {
    const TARVSettingsDecodingError error = loadError("array-root");
    EXPECT_EQ(error.kind(), Kind::typeMismatch);
    EXPECT_TRUE(error.codingPath().empty());
}

TEST_P(NoteEntrySettingsFile, CorruptPropertyListIsDataCorrupted) {
    const TARVSettingsDecodingError error = loadError("corrupt");
    EXPECT_EQ(error.kind(), Kind::dataCorrupted);
    EXPECT_TRUE(error.codingPath().empty());
}

TEST_P(NoteEntrySettingsFile, OutOfRangeValuesDecodeUnchecked) {
    const NoteEntrySettings settings = NoteEntrySettings::load(file("out-of-range-values"));
    const StringedInstrumentDescriptor& instrument = settings.tablature().instruments().at(0);
    EXPECT_EQ(instrument.frets(), -1);
    const auto& notes = instrument.tunings().at(0).notes();
    EXPECT_EQ(notes.at(0), PitchDescriptor("H", 300));
    EXPECT_EQ(notes.at(1), PitchDescriptor("E", -9000000000));
}

TEST_P(NoteEntrySettingsFile, IntegerBeyondSigned64BitsIsDataCorrupted) {
    const TARVSettingsDecodingError error = loadError("octave-beyond-int64");
    EXPECT_EQ(error.kind(), Kind::dataCorrupted);
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0].tunings[0].notes[0].octave");
}

TEST_P(NoteEntrySettingsFile, RealWithAnIntegralValueDecodesAsAnInteger) {
    const NoteEntrySettings settings = NoteEntrySettings::load(file("integral-real-frets"));
    EXPECT_EQ(settings.tablature().instruments().at(0).frets(), 22);
}

TEST_P(NoteEntrySettingsFile, RealWithAFractionIsDataCorrupted) {
    const TARVSettingsDecodingError error = loadError("fractional-real-frets");
    EXPECT_EQ(error.kind(), Kind::dataCorrupted);
    EXPECT_EQ(error.keyPath(), "tablature.instruments[0].frets");
}

TEST_P(NoteEntrySettingsFile, DecodingFromMemoryMatchesLoadingTheFile) {
    std::ifstream stream(file("valid"), std::ios::binary);
    const std::string data{std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>()};
    const NoteEntrySettings settings = NoteEntrySettings::decode(data);
    ASSERT_EQ(settings.tablature().instruments().size(), 2u);
    EXPECT_EQ(
        settings.tablature().instruments()[1].tunings()[0].notes(),
        NoteEntrySettings::load(file("valid")).tablature().instruments()[1].tunings()[0].notes());
}

TEST(NoteEntrySettings, MissingFileThrowsTheFileErrorWithThePath) {
    const std::filesystem::path missing =
        std::filesystem::path(TARV_TEST_DATA_DIR) / "settings" / "no-such-file.plist";
    try {
        NoteEntrySettings::load(missing);
        FAIL() << "a missing file loaded";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_EQ(error.path1(), missing);
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
}

TEST(NoteEntrySettings, DirectoryThrowsTheFileError) {
    const std::filesystem::path directory = std::filesystem::path(TARV_TEST_DATA_DIR) / "settings";
    try {
        NoteEntrySettings::load(directory);
        FAIL() << "a directory loaded";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_EQ(error.path1(), directory);
        EXPECT_EQ(error.code(), std::errc::is_a_directory);
    }
}

TEST(NoteEntrySettings, EmptyDataIsDataCorrupted) {
    try {
        NoteEntrySettings::decode("");
        FAIL() << "empty data decoded";
    } catch (const TARVSettingsDecodingError& error) {
        EXPECT_EQ(error.kind(), Kind::dataCorrupted);
    }
}

TEST(NoteEntrySettings, RecordsMadeByHandKeepTheirFields) {
    const TablatureNoteEntrySettings tablature({StringedInstrumentDescriptor(
        "Mandolin", 20, {"0"},
        {StringedInstrumentTuningDescriptor("Standard", "GDAE",
                                            {{"E", 5}, {"A", 4}, {"D", 4}, {"G", 3}})})});
    const NoteEntrySettings settings(tablature);
    ASSERT_EQ(settings.tablature().instruments().size(), 1u);
    EXPECT_EQ(settings.tablature().instruments()[0].name(), "Mandolin");
    EXPECT_EQ(settings.tablature().instruments()[0].tunings()[0].notes()[3],
              PitchDescriptor("G", 3));
}

TEST(NoteEntrySettings, DeeplyNestedPropertyListIsDataCorruptedNotACrash) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">";
    for (int i = 0; i < 100000; ++i) {
        xml += "<array>";
    }
    for (int i = 0; i < 100000; ++i) {
        xml += "</array>";
    }
    xml += "</plist>";
    try {
        NoteEntrySettings::decode(xml);
        FAIL() << "deeply nested data decoded";
    } catch (const TARVSettingsDecodingError& error) {
        EXPECT_EQ(error.kind(), Kind::dataCorrupted);
    }
}

} // namespace
} // namespace tarv
