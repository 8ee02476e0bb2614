#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include "archive/TARVArchiveTestClasses.hpp"
#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/shapes/TARVFretIndicator.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::handWrittenArchive;
using testing::PropertyList;
using testing::readArchive;

SPitch pitch(const char* text) {
    return *SPitch::pitchWithString(text);
}

std::vector<SPitch> standardPitches() {
    return {pitch("E4"), pitch("B3"), pitch("G3"), pitch("D3"), pitch("A2"), pitch("E2")};
}

/// Standard pitches read in reverse through a transform, with a capo at 2.
SStringedInstrumentTuningPtr transformedTuning() {
    return SStringedInstrumentTuning::initWithPitches(standardPitches(), 21, 2,
                                                      TARVMakeSharedText("Left-handed"), "EADGBE",
                                                      std::vector<std::int64_t>{5, 4, 3, 2, 1, 0});
}

SStringedInstrumentTuningPtr decode(const std::vector<std::uint8_t>& data,
                                    std::string* error = nullptr) {
    return TARVKeyedUnarchiver::unarchivedObjectOfClass<SStringedInstrumentTuning>(data, error);
}

/// Equal in everything but the identity of the name object.
void expectSameContent(const SStringedInstrumentTuning& decoded,
                       const SStringedInstrumentTuning& original) {
    EXPECT_EQ(decoded.stringPitches(), original.stringPitches());
    EXPECT_EQ(decoded.fretCount(), original.fretCount());
    EXPECT_EQ(decoded.capo(), original.capo());
    ASSERT_NE(decoded.name(), nullptr);
    EXPECT_EQ(*decoded.name(), *original.name());
    EXPECT_EQ(decoded.noteString(), original.noteString());
    EXPECT_EQ(decoded.asciiNoteString(), original.asciiNoteString());
    EXPECT_EQ(decoded.stringOrderTransform(), original.stringOrderTransform());
}

/// The standard tuning's keys, each of which a test may leave out or replace.
void writeStandardKeys(TARVKeyedArchiver& coder, std::string_view except) {
    if (except != "fretCount") {
        coder.encodeNumber(std::uint8_t{22}, "fretCount");
    }
    if (except != "capo") {
        coder.encodeNumber(std::uint8_t{1}, "capo");
    }
    if (except != "stringPitches") {
        coder.encodeArray(standardPitches(), "stringPitches");
    }
    if (except != "name") {
        coder.encodeString("Standard", "name");
    }
    if (except != "noteString") {
        coder.encodeString("EADGBE", "noteString");
    }
}

TEST(SStringedInstrumentTuningCoding, WritesItsKeysAndNoTransformWhenThereIsNone) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(
        SStringedInstrumentTuning::stringedInstrumentTuning());
    const PropertyList archive(data);
    plist_t object =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    EXPECT_EQ(archive.classChain(object),
              (std::vector<std::string>{"SStringedInstrumentTuning", "NSObject"}));
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "fretCount"))), 22u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "capo"))), 0u);
    EXPECT_EQ(PropertyList::text(archive.resolve(PropertyList::item(object, "name"))), "Standard");
    EXPECT_EQ(PropertyList::text(archive.resolve(PropertyList::item(object, "noteString"))),
              "EADGBE");
    EXPECT_EQ(PropertyList::item(object, "stringOrderTransform"), nullptr);
    plist_t pitches = archive.resolve(PropertyList::item(object, "stringPitches"));
    EXPECT_EQ(archive.classChain(pitches), (std::vector<std::string>{"NSArray", "NSObject"}));
    plist_t elements = PropertyList::item(pitches, "NS.objects");
    ASSERT_EQ(plist_array_get_size(elements), 6u);
    EXPECT_EQ(archive.className(archive.resolve(plist_array_get_item(elements, 0))), "SPitch");
}

TEST(SStringedInstrumentTuningCoding, WritesTheTransformAsAListOfNumbers) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(transformedTuning());
    const PropertyList archive(data);
    plist_t object =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    plist_t transform = archive.resolve(PropertyList::item(object, "stringOrderTransform"));
    plist_t elements = PropertyList::item(transform, "NS.objects");
    ASSERT_EQ(plist_array_get_size(elements), 6u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(plist_array_get_item(elements, 0))), 5u);
}

TEST(SStringedInstrumentTuningCoding, DefaultTuningRoundTrips) {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(tuning));
    ASSERT_NE(decoded, nullptr);
    expectSameContent(*decoded, *tuning);
}

TEST(SStringedInstrumentTuningCoding, TuningWithTransformRoundTrips) {
    const auto tuning = transformedTuning();
    std::string error;
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(tuning), &error);
    ASSERT_NE(decoded, nullptr) << error;
    expectSameContent(*decoded, *tuning);
    EXPECT_EQ(decoded->pitchForString(0), pitch("E2"));
}

TEST(SStringedInstrumentTuningCoding, DecodedTuningHasANameObjectOfItsOwn) {
    const auto tuning = transformedTuning();
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(tuning));
    ASSERT_NE(decoded, nullptr);
    EXPECT_NE(decoded->name(), tuning->name());
    EXPECT_FALSE(decoded->isEqualToTuning(*tuning));
}

TEST(SStringedInstrumentTuningCoding, TuningsSharingANameReadBackSharingOneNameObject) {
    const auto first = transformedTuning();
    const auto second = SStringedInstrumentTuning::initWithPitches(
        first->stringPitches(), first->fretCount(), first->capo(), first->name(),
        first->noteString(), first->stringOrderTransform());
    const auto decoded =
        TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<SStringedInstrumentTuning>(
            TARVKeyedArchiver::archivedDataWithRootObject(
                std::vector<SStringedInstrumentTuningPtr>{first, second, first}));
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->size(), 3u);
    EXPECT_EQ((*decoded)[0], (*decoded)[2]);
    EXPECT_NE((*decoded)[0], (*decoded)[1]);
    EXPECT_EQ((*decoded)[0]->name(), (*decoded)[1]->name());
    EXPECT_TRUE((*decoded)[0]->isEqualToTuning(*(*decoded)[1]));
}

TEST(SStringedInstrumentTuningCoding, DecodingAnArchiveWithoutCapoGivesCapo0) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>(
        [](TARVKeyedArchiver& coder) { writeStandardKeys(coder, "capo"); });
    std::string error;
    const auto decoded = decode(data, &error);
    ASSERT_NE(decoded, nullptr) << error;
    EXPECT_EQ(decoded->capo(), 0);
    EXPECT_EQ(decoded->fretCount(), 22);
    EXPECT_EQ(decoded->stringPitches(), standardPitches());
}

TEST(SStringedInstrumentTuningCoding, DecodingAnArchiveWithoutFretCountGivesNothing) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>(
        [](TARVKeyedArchiver& coder) { writeStandardKeys(coder, "fretCount"); });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("\"fretCount\""), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, DecodingAnArchiveWithoutStringPitchesGivesNothing) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>(
        [](TARVKeyedArchiver& coder) { writeStandardKeys(coder, "stringPitches"); });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("\"stringPitches\""), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, MissingNameAndNoteStringBecomeEmptyTexts) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        coder.encodeNumber(std::uint8_t{19}, "fretCount");
        coder.encodeArray(std::vector<SPitch>{pitch("G2"), pitch("D2")}, "stringPitches");
    });
    const auto decoded = decode(data);
    ASSERT_NE(decoded, nullptr);
    ASSERT_NE(decoded->name(), nullptr);
    EXPECT_EQ(*decoded->name(), "");
    EXPECT_EQ(decoded->noteString(), "");
    EXPECT_FALSE(decoded->stringOrderTransform().has_value());
    EXPECT_EQ(decoded->stringCount(), 2);
}

TEST(SStringedInstrumentTuningCoding, NumbersAreTruncatedToEightBits) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        writeStandardKeys(coder, "fretCount");
        coder.encodeNumber(300, "fretCount");
    });
    const auto decoded = decode(data);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->fretCount(), 44);
}

TEST(SStringedInstrumentTuningCoding, FretCountIsAcceptedOnlyAsANumber) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        writeStandardKeys(coder, "fretCount");
        coder.encodeString("22", "fretCount");
    });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("NSString is not allowed"), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, NameIsAcceptedOnlyAsText) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        writeStandardKeys(coder, "name");
        coder.encodeNumber(7, "name");
    });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("NSNumber is not allowed"), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, SecureDecodingRefusesPitchListsHoldingOtherClasses) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        writeStandardKeys(coder, "stringPitches");
        coder.encodeArray(std::vector<TARVFretIndicator>{TARVFretIndicator(1, 1)}, "stringPitches");
    });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("TARVFretIndicator"), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, SecureDecodingRefusesTransformsHoldingTexts) {
    const auto data = handWrittenArchive<SStringedInstrumentTuning>([](TARVKeyedArchiver& coder) {
        writeStandardKeys(coder, "");
        coder.encodeArray(std::vector<std::string>{"5"}, "stringOrderTransform");
    });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("NSString is not allowed"), std::string::npos) << error;
}

TEST(SStringedInstrumentTuningCoding, WithoutSecureDecodingTheListsAreReadAsPlainLists) {
    TARVKeyedUnarchiver unarchiver(
        TARVKeyedArchiver::archivedDataWithRootObject(transformedTuning()));
    unarchiver.setRequiresSecureCoding(false);
    const auto decoded = unarchiver.decodeObjectOfClass<SStringedInstrumentTuning>("root");
    ASSERT_NE(decoded, nullptr) << unarchiver.error().value_or("");
    expectSameContent(*decoded, *transformedTuning());
}

TEST(SStringedInstrumentTuningCoding, SecureDecodingRereadsPlainListsWhenThereIsNoTransform) {
    // Without a transform the typed reads leave one list absent, so both keys are read again as
    // plain lists: the pitches must still come through.
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVKeyedUnarchiver unarchiver(TARVKeyedArchiver::archivedDataWithRootObject(tuning));
    ASSERT_TRUE(unarchiver.requiresSecureCoding());
    const auto decoded = unarchiver.decodeObjectOfClass<SStringedInstrumentTuning>("root");
    ASSERT_NE(decoded, nullptr) << unarchiver.error().value_or("");
    EXPECT_EQ(decoded->stringPitches(), standardPitches());
    EXPECT_FALSE(decoded->stringOrderTransform().has_value());
}

TEST(SStringedInstrumentTuningCoding, PitchListWithAForeignClassIsRefused) {
    std::string error;
    EXPECT_EQ(decode(readArchive("tuning-refused-class.xml"), &error), nullptr);
    EXPECT_NE(error.find("TARVChordShape is not allowed"), std::string::npos) << error;
}

// Golden archives, written by this library. Setting TARV_REGENERATE_GOLDEN rewrites them (see
// tests/data/archives/README.md).

struct GoldenTuning {
    const char* file;
    SStringedInstrumentTuningPtr (*make)();
};

const GoldenTuning kGoldenTunings[] = {
    {"tuning-default.archive", &SStringedInstrumentTuning::stringedInstrumentTuning},
    {"tuning-string-order-transform.archive", &transformedTuning},
};

TEST(SStringedInstrumentTuningCoding, GoldenArchivesAreWhatTheLibraryWrites) {
    for (const auto& golden : kGoldenTunings) {
        const auto written = TARVKeyedArchiver::archivedDataWithRootObject(golden.make());
        ASSERT_FALSE(written.empty());
        if (testing::regeneratingGoldenFiles()) {
            testing::writeBytes(testing::archiveDataDirectory() / golden.file, written);
            continue;
        }
        EXPECT_EQ(readArchive(golden.file), written) << golden.file;
    }
}

TEST(SStringedInstrumentTuningCoding, GoldenArchivesReadBackTheirTunings) {
    for (const auto& golden : kGoldenTunings) {
        std::string error;
        const auto decoded = decode(readArchive(golden.file), &error);
        ASSERT_NE(decoded, nullptr) << golden.file << ": " << error;
        expectSameContent(*decoded, *golden.make());
    }
}

} // namespace
} // namespace tarv
