#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/instruments/SStringedInstrumentDescription.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace tarv {
namespace {

/// Writes an archive object named like a description, holding only the keys it is given.
struct PartialDescription {
    std::optional<std::string> instrumentName;
    SStringedInstrumentTuningPtr tuning;

    static const TARVArchiveClass& archiveClass() {
        static constexpr TARVArchiveClass cls{"SStringedInstrumentDescription",
                                              &TARVArchiveClasses::NSObject, true};
        return cls;
    }
    void encodeWithCoder(TARVKeyedArchiver& coder) const {
        if (instrumentName) {
            coder.encodeString(*instrumentName, "instrumentName");
        }
        if (tuning) {
            coder.encodeObject(tuning, "tuning");
        }
    }
    static std::optional<PartialDescription> initWithCoder(TARVKeyedUnarchiver&) {
        return std::nullopt;
    }
};

SStringedInstrumentTuningPtr dropDWithTransform() {
    std::vector<SPitch> pitches;
    for (const char* text : {"E4", "B3", "G3", "D3", "A2", "D2"}) {
        pitches.push_back(*SPitch::pitchWithString(text));
    }
    return SStringedInstrumentTuning::initWithPitches(
        std::move(pitches), 21, 2, TARVMakeSharedText("Drop D"), "DADGBE",
        SStringedInstrumentTuning::StringOrderTransform{5, 4, 3, 2, 1, 0});
}

SStringedInstrumentDescriptionPtr decode(const std::vector<std::uint8_t>& data,
                                         std::string* error = nullptr) {
    return TARVKeyedUnarchiver::unarchivedObjectOfClass<SStringedInstrumentDescription>(data,
                                                                                        error);
}

void expectSameContent(const SStringedInstrumentDescription& decoded,
                       const SStringedInstrumentDescription& original) {
    EXPECT_EQ(decoded.instrumentName(), original.instrumentName());
    const SStringedInstrumentTuning& tuning = *decoded.tuning();
    const SStringedInstrumentTuning& expected = *original.tuning();
    EXPECT_EQ(tuning.stringPitches(), expected.stringPitches());
    EXPECT_EQ(tuning.fretCount(), expected.fretCount());
    EXPECT_EQ(tuning.capo(), expected.capo());
    ASSERT_TRUE(tuning.name());
    EXPECT_EQ(*tuning.name(), *expected.name());
    EXPECT_EQ(tuning.noteString(), expected.noteString());
    EXPECT_EQ(tuning.stringOrderTransform(), expected.stringOrderTransform());
}

TEST(SStringedInstrumentDescriptionCoding, DescriptionRoundTripsWithItsNameAndTuning) {
    const auto original =
        SStringedInstrumentDescription::initWithTuning(dropDWithTransform(), "Baritone Guitar");
    std::string error;
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(original, true, &error);
    ASSERT_FALSE(data.empty()) << error;
    const auto decoded = decode(data, &error);
    ASSERT_TRUE(decoded) << error;
    expectSameContent(*decoded, *original);
    EXPECT_EQ(*decoded->instrumentName(), "Baritone Guitar");
}

TEST(SStringedInstrumentDescriptionCoding, DefaultDescriptionRoundTrips) {
    const auto original = SStringedInstrumentDescription::stringedInstrumentDescription();
    std::string error;
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(original), &error);
    ASSERT_TRUE(decoded) << error;
    expectSameContent(*decoded, *original);
    EXPECT_FALSE(decoded->tuning()->stringOrderTransform().has_value());
}

TEST(SStringedInstrumentDescriptionCoding, DecodesWithoutSecureCoding) {
    const auto original =
        SStringedInstrumentDescription::initWithTuning(dropDWithTransform(), "Baritone Guitar");
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(original, false);
    auto unarchiver = TARVKeyedUnarchiver::initForReadingFromData(data);
    ASSERT_TRUE(unarchiver);
    unarchiver->setRequiresSecureCoding(false);
    const auto decoded = unarchiver->decodeObjectOfClass<SStringedInstrumentDescription>(
        TARVKeyedArchiveRootObjectKey);
    ASSERT_TRUE(decoded) << unarchiver->error().value_or("");
    expectSameContent(*decoded, *original);
}

TEST(SStringedInstrumentDescriptionCoding, ArchiveNamesTheDescriptionClass) {
    EXPECT_EQ(SStringedInstrumentDescription::archiveClass().name,
              "SStringedInstrumentDescription");
    EXPECT_TRUE(SStringedInstrumentDescription::archiveClass().supportsSecureCoding);
    EXPECT_TRUE(SStringedInstrumentDescription::archiveClass().isSubclassOfClass(
        TARVArchiveClasses::NSObject));
}

TEST(SStringedInstrumentDescriptionCoding, ArchiveWithoutTuningYieldsNothing) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(
        PartialDescription{std::string("Guitar"), nullptr});
    ASSERT_FALSE(data.empty());
    std::string error;
    EXPECT_FALSE(decode(data, &error));
    EXPECT_NE(error.find("\"tuning\""), std::string::npos) << error;
}

TEST(SStringedInstrumentDescriptionCoding, ArchiveWithoutInstrumentNameYieldsNothing) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(
        PartialDescription{std::nullopt, dropDWithTransform()});
    ASSERT_FALSE(data.empty());
    std::string error;
    EXPECT_FALSE(decode(data, &error));
    EXPECT_NE(error.find("\"instrumentName\""), std::string::npos) << error;
}

TEST(SStringedInstrumentDescriptionCoding, DescriptionWithoutNameIsWrittenButDoesNotReadBack) {
    const auto unnamed =
        SStringedInstrumentDescription::initWithTuning(dropDWithTransform(), std::nullopt);
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(unnamed);
    ASSERT_FALSE(data.empty());
    EXPECT_FALSE(decode(data));
}

TEST(SStringedInstrumentDescriptionCoding, WithAPartialArchiveBothKeysPresentReadsBack) {
    // The same hand-made object with both keys decodes: only the missing key makes it fail.
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(
        PartialDescription{std::string("Guitar"), dropDWithTransform()});
    std::string error;
    const auto decoded = decode(data, &error);
    ASSERT_TRUE(decoded) << error;
    EXPECT_EQ(decoded->instrumentName(), std::optional<std::string>("Guitar"));
    EXPECT_EQ(decoded->tuning()->capo(), 2);
}

} // namespace
} // namespace tarv
