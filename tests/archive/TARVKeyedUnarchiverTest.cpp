#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include "archive/TARVArchiveTestClasses.hpp"
#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::bytesOf;
using testing::classDictionary;
using testing::keyedArchiveXML;
using testing::TestInsecure;
using testing::TestNode;
using testing::TestPoint;
using testing::uid;

std::vector<std::uint8_t> pointListArchive() {
    return TARVKeyedArchiver::archivedDataWithRootObject(
        std::vector<TestPoint>{{1, 2, false}, {3, 4, true}});
}

std::string failureOf(const std::vector<std::uint8_t>& data) {
    std::string error;
    const auto decoded =
        TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestPoint>(data, &error);
    EXPECT_FALSE(decoded.has_value());
    return error;
}

TEST(TARVKeyedUnarchiver, ReadsBackObjectsOfTheirArchivedClass) {
    const auto decoded =
        TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestPoint>(pointListArchive());
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, (std::vector<TestPoint>{{1, 2, false}, {3, 4, true}}));
}

TEST(TARVKeyedUnarchiver, ReadsXMLArchivesWithReferencesSpelledAsDictionaries) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) +
                             "<key>x</key><integer>-4</integer><key>y</key>" + uid(3) + "</dict>",
                         classDictionary({"TARVTestPoint", "NSObject"}), "<integer>12</integer>"});
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data, &error);
    ASSERT_TRUE(decoded.has_value()) << error;
    EXPECT_EQ(*decoded, (TestPoint{-4, 12, false}));
}

TEST(TARVKeyedUnarchiver, NumberKeysAcceptInlineIntegersRealsBooleansAndNumberObjects) {
    const auto data = keyedArchiveXML("<key>inline</key><integer>7</integer>"
                                      "<key>real</key><real>2.75</real>"
                                      "<key>bool</key><true/>"
                                      "<key>object</key>" +
                                          uid(1) + "<key>realObject</key>" + uid(2) +
                                          "<key>boolObject</key>" + uid(3),
                                      {"<integer>300</integer>", "<real>-1.5</real>", "<true/>"});
    TARVKeyedUnarchiver unarchiver(data);
    EXPECT_EQ(unarchiver.decodeInt64("inline"), 7);
    EXPECT_EQ(unarchiver.decodeNumber("real")->intValue(), 2);
    EXPECT_TRUE(unarchiver.decodeBool("bool"));
    EXPECT_EQ(unarchiver.decodeNumber("object")->unsignedCharValue(), 44);
    EXPECT_EQ(unarchiver.decodeNumber("realObject")->charValue(), -1);
    EXPECT_EQ(unarchiver.decodeInt32("boolObject"), 1);
    EXPECT_FALSE(unarchiver.decodeNumber("absent").has_value());
    EXPECT_FALSE(unarchiver.error().has_value());
}

TEST(TARVKeyedUnarchiver, ReadsMutableTextsStoredAsObjects) {
    const auto data = keyedArchiveXML(
        "<key>root</key>" + uid(1),
        {"<dict><key>$class</key>" + uid(2) + "<key>NS.string</key><string>Drop D</string></dict>",
         classDictionary({"NSMutableString", "NSString", "NSObject"})});
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClass<std::string>(data), "Drop D");
}

TEST(TARVKeyedUnarchiver, UnknownClassNameFallsBackToAKnownClassOfItsChain) {
    const auto data = keyedArchiveXML(
        "<key>root</key>" + uid(1),
        {"<dict><key>$class</key>" + uid(2) + "<key>x</key><integer>1</integer></dict>",
         classDictionary(
             {"TARVTestFancyPoint", "TARVTestLabeledPoint", "TARVTestPoint", "NSObject"})});
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->labeled);
}

TEST(TARVKeyedUnarchiver, ClassWithNoKnownNameInItsChainFails) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1), {"<dict><key>$class</key>" + uid(2) + "</dict>",
                                                     classDictionary({"Bogus", "NSObject"})});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data, &error));
    EXPECT_NE(error.find("Bogus"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, SecureDecodingRefusesAClassOutsideTheAllowedSet) {
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClasses<TARVArchiveList<TestPoint>>(
        {"NSArray"}, pointListArchive(), &error);
    EXPECT_FALSE(decoded.has_value());
    EXPECT_NE(error.find("TARVTestPoint is not allowed"), std::string::npos) << error;
    EXPECT_NE(error.find("allowed classes: NSArray"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, SecureDecodingAllowsSubclassesOfAnAllowedClass) {
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClasses<TARVArchiveList<TestPoint>>(
        {"NSArray", "TARVTestPoint"}, pointListArchive());
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE((*decoded)[1].labeled);
}

TEST(TARVKeyedUnarchiver, SecureDecodingRefusesASubclassWhenOnlyItsSiblingIsAllowed) {
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClasses<TARVArchiveList<TestPoint>>(
        {"NSArray", "TARVTestLabeledPoint"}, pointListArchive(), &error);
    EXPECT_FALSE(decoded.has_value());
    EXPECT_NE(error.find("TARVTestPoint"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, SecureDecodingRefusesTextsAndNumbersUnlessAllowed) {
    const auto texts =
        TARVKeyedArchiver::archivedDataWithRootObject(std::vector<std::string>{"E", "A"});
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClasses<TARVArchiveList<std::string>>(
                     {"NSArray"}, texts)
                     .has_value());
    EXPECT_TRUE(TARVKeyedUnarchiver::unarchivedObjectOfClasses<TARVArchiveList<std::string>>(
                    {"NSArray", "NSString"}, texts)
                    .has_value());
}

TEST(TARVKeyedUnarchiver, WithoutSecureDecodingClassesAreNotChecked) {
    TARVKeyedUnarchiver unarchiver(pointListArchive());
    unarchiver.setRequiresSecureCoding(false);
    const auto decoded = unarchiver.decodeObjectOfClasses<TARVArchiveList<TestPoint>>({}, "root");
    ASSERT_TRUE(decoded.has_value()) << unarchiver.error().value_or("");
    EXPECT_EQ(decoded->size(), 2u);
}

TEST(TARVKeyedUnarchiver, ClassWithoutSecureCodingIsReadOnlyWithoutSecureDecoding) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(TestInsecure{42}, false);
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestInsecure>(data, &error));
    EXPECT_NE(error.find("does not support secure coding"), std::string::npos) << error;

    TARVKeyedUnarchiver unarchiver(data);
    unarchiver.setRequiresSecureCoding(false);
    const auto decoded = unarchiver.decodeObjectOfClass<TestInsecure>("root");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->value, 42);
}

TEST(TARVKeyedUnarchiver, ReadingAReferenceAgainAnswersTheKeptObjectWithoutCheckingItsClass) {
    TARVKeyedUnarchiver unarchiver(pointListArchive());
    const auto typed =
        unarchiver.decodeArrayOfObjectsOfClasses<TestPoint>({"TARVTestPoint"}, "root");
    ASSERT_TRUE(typed.has_value());
    const auto plain =
        unarchiver.decodeObjectOfClasses<TARVArchiveList<TestPoint>>({"NSArray"}, "root");
    ASSERT_TRUE(plain.has_value()) << unarchiver.error().value_or("");
    EXPECT_EQ(*plain, *typed);
}

TEST(TARVKeyedUnarchiver, PlainListReadRefusesElementsNotDecodedBefore) {
    TARVKeyedUnarchiver unarchiver(pointListArchive());
    const auto plain =
        unarchiver.decodeObjectOfClasses<TARVArchiveList<TestPoint>>({"NSArray"}, "root");
    EXPECT_FALSE(plain.has_value());
    EXPECT_TRUE(unarchiver.error().has_value());
}

TEST(TARVKeyedUnarchiver, WrongValueTypeUnderAKeyFails) {
    const auto data = keyedArchiveXML("<key>root</key><string>not a reference</string>", {});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data, &error));
    EXPECT_NE(error.find("not an object reference"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, NumberKeyHoldingATextFails) {
    const auto data = keyedArchiveXML("<key>n</key>" + uid(1) + "<key>m</key><string>x</string>",
                                      {"<string>12</string>"});
    TARVKeyedUnarchiver secure(data);
    EXPECT_FALSE(secure.decodeNumber("n").has_value());
    EXPECT_NE(secure.error().value_or("").find("NSString is not allowed"), std::string::npos);
    TARVKeyedUnarchiver plain(data);
    plain.setRequiresSecureCoding(false);
    EXPECT_FALSE(plain.decodeNumber("n").has_value());
    EXPECT_NE(plain.error().value_or("").find("where a number was expected"), std::string::npos);
    TARVKeyedUnarchiver direct(data);
    EXPECT_FALSE(direct.decodeNumber("m").has_value());
    EXPECT_NE(direct.error().value_or("").find("not a number"), std::string::npos);
}

TEST(TARVKeyedUnarchiver, ObjectOfTheWrongKindFails) {
    const auto data = keyedArchiveXML("<key>root</key>" + uid(1), {"<string>E</string>"});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data, &error));
    EXPECT_NE(error.find("is a text where an object of class TARVTestPoint was expected"),
              std::string::npos)
        << error;
}

TEST(TARVKeyedUnarchiver, ReferenceOutOfRangeFails) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) + "<key>NS.objects</key><array>" +
                             uid(40) + "</array></dict>",
                         classDictionary({"NSArray", "NSObject"})});
    const std::string error = failureOf(data);
    EXPECT_NE(error.find("Reference 40"), std::string::npos) << error;
    EXPECT_NE(error.find("out of range"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, ClassReferenceOutOfRangeFails) {
    const auto data = keyedArchiveXML("<key>root</key>" + uid(1),
                                      {"<dict><key>$class</key>" + uid(9) + "</dict>"});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data, &error));
    EXPECT_NE(error.find("out of range"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, NilInsideAListFails) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) + "<key>NS.objects</key><array>" +
                             uid(0) + "</array></dict>",
                         classDictionary({"NSArray", "NSObject"})});
    EXPECT_NE(failureOf(data).find("Nil"), std::string::npos);
}

TEST(TARVKeyedUnarchiver, ListWithoutItsElementsFails) {
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1), {"<dict><key>$class</key>" + uid(2) + "</dict>",
                                                     classDictionary({"NSArray", "NSObject"})});
    EXPECT_NE(failureOf(data).find("\"NS.objects\""), std::string::npos);
}

TEST(TARVKeyedUnarchiver, ListThatContainsItselfFails) {
    using Nested = TARVArchiveList<TARVArchiveList<std::int64_t>>;
    const auto data =
        keyedArchiveXML("<key>root</key>" + uid(1),
                        {"<dict><key>$class</key>" + uid(2) + "<key>NS.objects</key><array>" +
                             uid(1) + "</array></dict>",
                         classDictionary({"NSArray", "NSObject"})});
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<Nested>(data, &error));
    EXPECT_NE(error.find("cycle"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, ObjectThatRefersToItselfFails) {
    auto node = std::make_shared<TestNode>();
    node->name = "loop";
    node->next = node;
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(node);
    node->next.reset();
    ASSERT_FALSE(data.empty());
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestNode>(data, &error), nullptr);
    EXPECT_NE(error.find("cycle"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, MapWithMismatchedKeysAndValuesFails) {
    const auto data = keyedArchiveXML(
        "<key>root</key>" + uid(1),
        {"<dict><key>$class</key>" + uid(2) + "<key>NS.keys</key><array>" + uid(3) + uid(3) +
             "</array><key>NS.objects</key><array>" + uid(4) + "</array></dict>",
         classDictionary({"NSDictionary", "NSObject"}), "<string>k</string>",
         "<integer>1</integer>"});
    std::string error;
    EXPECT_FALSE(
        TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVArchiveMap<std::int64_t>>(data, &error));
    EXPECT_NE(error.find("2 keys but 1 values"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, ObjectWhoseClassReadsNothingBackFailsTheArchive) {
    auto node = std::make_shared<TestNode>();
    node->name = "!refused";
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(node);
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestNode>(data, &error), nullptr);
    EXPECT_NE(error.find("TARVTestNode could not be decoded"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, AfterAFailureEveryDecodeAnswersNothing) {
    TARVKeyedArchiver archiver;
    archiver.encodeInt32(5, "number");
    archiver.encodeString("text", "text");
    TARVKeyedUnarchiver unarchiver(archiver.encodedData());
    EXPECT_FALSE(unarchiver.decodeObjectOfClass<TestPoint>("text").has_value());
    ASSERT_TRUE(unarchiver.error().has_value());
    EXPECT_FALSE(unarchiver.decodeString("text").has_value());
    EXPECT_EQ(unarchiver.decodeInt32("number"), 0);
}

TEST(TARVKeyedUnarchiver, ArchiveWithoutRootObjectFails) {
    std::string error;
    EXPECT_FALSE(
        TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(keyedArchiveXML("", {}), &error));
    EXPECT_NE(error.find("no root object"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, NilRootObjectReadsBackAbsentWithoutFailure) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(std::shared_ptr<TestNode>());
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::unarchivedObjectOfClass<TestNode>(data, &error), nullptr);
    EXPECT_TRUE(error.empty()) << error;
}

TEST(TARVKeyedUnarchiver, EmptyDataFails) {
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData({}, &error), nullptr);
    EXPECT_NE(error.find("empty"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, DataThatIsNoPropertyListFails) {
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData(bytesOf("just some text"), &error),
              nullptr);
    EXPECT_NE(error.find("neither a binary nor an XML property list"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, PropertyListThatIsNoKeyedArchiveFails) {
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData(
                  bytesOf("<plist version=\"1.0\"><dict><key>a</key><integer>1</integer>"
                          "</dict></plist>"),
                  &error),
              nullptr);
    EXPECT_NE(error.find("\"$archiver\""), std::string::npos) << error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData(
                  bytesOf("<plist version=\"1.0\"><array/></plist>"), &error),
              nullptr);
    EXPECT_NE(error.find("not a dictionary"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, EveryTruncationOfAnArchiveFailsCleanly) {
    const auto data = pointListArchive();
    for (std::size_t length = 0; length < data.size(); ++length) {
        const std::vector<std::uint8_t> truncated(data.begin(),
                                                  data.begin() + static_cast<long>(length));
        std::string error;
        const auto decoded =
            TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestPoint>(truncated, &error);
        EXPECT_FALSE(decoded.has_value()) << "length " << length;
        EXPECT_FALSE(error.empty()) << "length " << length;
    }
}

TEST(TARVKeyedUnarchiver, EveryTruncationOfAnXMLArchiveFailsCleanly) {
    TARVKeyedArchiver archiver;
    archiver.setOutputFormat(TARVPropertyListFormat::XML);
    archiver.encodeObject(std::vector<TestPoint>{{1, 2, false}}, "root");
    const auto data = archiver.encodedData();
    // The closing tags take up the last bytes: cut at least into the last object.
    const std::size_t end = std::string(data.begin(), data.end()).rfind("</array>");
    ASSERT_NE(end, std::string::npos);
    for (std::size_t length = 0; length < end; ++length) {
        const std::vector<std::uint8_t> truncated(data.begin(),
                                                  data.begin() + static_cast<long>(length));
        std::string error;
        const auto decoded =
            TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestPoint>(truncated, &error);
        EXPECT_FALSE(decoded.has_value()) << "length " << length;
        EXPECT_FALSE(error.empty()) << "length " << length;
    }
}

TEST(TARVKeyedUnarchiver, DamagedBytesNeverCrashAndFailuresCarryAMessage) {
    const auto data = pointListArchive();
    std::size_t failures = 0;
    for (std::size_t position = 8; position < data.size(); ++position) {
        for (const std::uint8_t flip : {0x01, 0x10, 0x80, 0xFF}) {
            auto damaged = data;
            damaged[position] ^= flip;
            std::string error;
            const auto decoded =
                TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestPoint>(damaged, &error);
            if (!decoded) {
                ++failures;
                if (error.empty()) {
                    // Only a root damaged into nil reads back as nothing without a failure.
                    TARVKeyedUnarchiver unarchiver(damaged);
                    EXPECT_EQ(unarchiver._referenceForKey("root"), 0u) << "position " << position;
                }
            }
        }
    }
    EXPECT_GT(failures, 0u);
}

} // namespace
} // namespace tarv
