#include "tarv/music/SPitch.hpp"

#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::classDictionary;
using testing::keyedArchiveXML;
using testing::PropertyList;
using testing::uid;

SPitch pitch(std::string_view text) {
    return SPitch::pitchWithString(text).value();
}

TEST(SPitchCoding, WritesNoteAsTextAndOctaveAsNumber) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(pitch("F#3"));
    const PropertyList archive(data);
    plist_t object =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    EXPECT_EQ(archive.classChain(object), (std::vector<std::string>{"SPitch", "NSObject"}));
    EXPECT_EQ(PropertyList::text(archive.resolve(PropertyList::item(object, "note"))), "F#");
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "octave"))), 3u);
}

TEST(SPitchCoding, PitchesRoundTripWithTheirSpelling) {
    const std::vector<SPitch> pitches{pitch("E4"), pitch("Bb1"), pitch("C-1"), pitch("G#-128"),
                                      pitch("Dbb127")};
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(pitches);
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<SPitch>(data, &error);
    ASSERT_TRUE(decoded.has_value()) << error;
    EXPECT_EQ(*decoded, pitches);
}

TEST(SPitchCoding, SecureDecodingAcceptsPitches) {
    EXPECT_TRUE(SPitch::supportsSecureCoding());
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(pitch("A2"));
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClasses<SPitch>({"SPitch"}, data),
              pitch("A2"));
}

TEST(SPitchCoding, PitchWithoutOctaveIsRefused) {
    const auto data = keyedArchiveXML(
        "<key>root</key>" + uid(1),
        {"<dict><key>$class</key>" + uid(2) + "<key>note</key>" + uid(3) + "</dict>",
         classDictionary({"SPitch", "NSObject"}), "<string>E</string>"});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<SPitch>(data, &error).has_value());
    EXPECT_NE(error.find("\"octave\" is missing"), std::string::npos) << error;
}

TEST(SPitchCoding, PitchWithAnUnreadableNoteIsRefused) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) + "<key>note</key>" + uid(3) +
                             "<key>octave</key><integer>2</integer></dict>",
                         classDictionary({"SPitch", "NSObject"}), "<string>H</string>"});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<SPitch>(data, &error).has_value());
    EXPECT_NE(error.find("\"H\" names no note"), std::string::npos) << error;
}

TEST(SPitchCoding, OctaveIsReadAtSignedEightBits) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) + "<key>note</key>" + uid(3) +
                             "<key>octave</key><integer>255</integer></dict>",
                         classDictionary({"SPitch", "NSObject"}), "<string>C</string>"});
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClass<SPitch>(data), pitch("C-1"));
}

} // namespace
} // namespace tarv
