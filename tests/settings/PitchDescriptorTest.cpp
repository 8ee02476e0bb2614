#include "tarv/settings/PitchDescriptor.hpp"
#include "tarv/settings/TARVPropertyListDecoder.hpp"
#include "tarv/settings/TARVPropertyListEncoder.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tarv {
namespace {

TEST(PitchDescriptor, MemberwiseConstructorKeepsNoteNameAndOctave) {
    const PitchDescriptor pitch("F#", 3);
    EXPECT_EQ(pitch.noteName(), "F#");
    EXPECT_EQ(pitch.octave(), 3);
}

TEST(PitchDescriptor, EqualityComparesNoteNameAndOctave) {
    EXPECT_EQ(PitchDescriptor("E", 2), PitchDescriptor("E", 2));
    EXPECT_NE(PitchDescriptor("E", 2), PitchDescriptor("E", 3));
    EXPECT_NE(PitchDescriptor("E", 2), PitchDescriptor("F", 2));
    // Names are compared as texts, not as notes.
    EXPECT_NE(PitchDescriptor("F#", 2), PitchDescriptor("Gb", 2));
}

TEST(PitchDescriptor, EqualPitchesHashAlikeAndDifferentOnesApart) {
    EXPECT_EQ(PitchDescriptor("E", 2).hash(), PitchDescriptor("E", 2).hash());
    EXPECT_NE(PitchDescriptor("E", 2).hash(), PitchDescriptor("E", 3).hash());
    EXPECT_NE(PitchDescriptor("E", 2).hash(), PitchDescriptor("A", 2).hash());
    const std::unordered_set<PitchDescriptor> set{{"E", 2}, {"E", 2}, {"A", 2}};
    EXPECT_EQ(set.size(), 2u);
}

TEST(PitchDescriptor, HashFeedsTheNoteNameThenTheOctave) {
    const PitchDescriptor pitch("Bb", -1);
    TARVHasher hasher = TARVHasherCreate();
    pitch.hashInto(&hasher);
    EXPECT_EQ(pitch.hash(), TARVHasherGetResult(&hasher));
    TARVHasher other = TARVHasherCreate();
    PitchDescriptor("Bb", 0).hashInto(&other);
    EXPECT_NE(TARVHasherGetResult(&hasher), TARVHasherGetResult(&other));
}

TEST(PitchDescriptor, EncodesWithTheKeysItDecodesFrom) {
    for (const PitchDescriptor& pitch :
         {PitchDescriptor("C#", 4), PitchDescriptor("Eb", -3), PitchDescriptor("H", 300)}) {
        TARVPropertyListEncoder encoder;
        pitch.encode(encoder);
        const std::string xml = encoder.xmlData();
        EXPECT_NE(xml.find("<key>note</key>"), std::string::npos) << xml;
        EXPECT_NE(xml.find("<key>octave</key>"), std::string::npos) << xml;
        EXPECT_EQ(PitchDescriptor(TARVPropertyListDecoder::decoderWithData(xml)), pitch);
        EXPECT_EQ(PitchDescriptor(TARVPropertyListDecoder::decoderWithData(encoder.binaryData())),
                  pitch);
    }
}

TEST(PitchDescriptor, NegativeOctaveIsWrittenAsASignedInteger) {
    TARVPropertyListEncoder encoder;
    PitchDescriptor("A", -1).encode(encoder);
    EXPECT_NE(encoder.xmlData().find("<integer>-1</integer>"), std::string::npos)
        << encoder.xmlData();
}

TEST(PitchDescriptor, DecodingWithoutOctaveFails) {
    TARVPropertyListEncoder encoder;
    encoder.encode("note", std::string("E"));
    try {
        PitchDescriptor pitch(TARVPropertyListDecoder::decoderWithData(encoder.xmlData()));
        FAIL() << "decoded " << pitch.noteName();
    } catch (const TARVSettingsDecodingError& error) {
        EXPECT_EQ(error.kind(), TARVSettingsDecodingError::Kind::keyNotFound);
        EXPECT_EQ(error.key(), std::optional<std::string>("octave"));
    }
}

} // namespace
} // namespace tarv
