#include "tarv/archive/TARVKeyedArchiver.hpp"

#include "archive/TARVArchiveTestClasses.hpp"
#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::PropertyList;
using testing::TestInsecure;
using testing::TestNode;
using testing::TestPoint;

TEST(TARVKeyedArchiver, WritesTheKeyedArchiverLayout) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(TestPoint{3, 4, true});
    ASSERT_FALSE(data.empty());
    ASSERT_TRUE(std::equal(data.begin(), data.begin() + 8, "bplist00"));

    const PropertyList archive(data);
    ASSERT_NE(archive.root(), nullptr);
    EXPECT_EQ(PropertyList::text(PropertyList::item(archive.root(), "$archiver")),
              "NSKeyedArchiver");
    EXPECT_EQ(PropertyList::integer(PropertyList::item(archive.root(), "$version")), 100000u);
    plist_t top = PropertyList::item(archive.root(), "$top");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(plist_dict_get_size(top), 1u);
    const auto root = PropertyList::uidValue(PropertyList::item(top, "root"));
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(PropertyList::text(archive.object(0)), "$null");

    plist_t point = archive.object(*root);
    EXPECT_EQ(archive.className(point), "TARVTestLabeledPoint");
    EXPECT_EQ(archive.classChain(point),
              (std::vector<std::string>{"TARVTestLabeledPoint", "TARVTestPoint", "NSObject"}));
    // "x" went in directly, "y" as a number object in "$objects".
    EXPECT_EQ(PropertyList::integer(PropertyList::item(point, "x")), 3u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(point, "y"))), 4u);
}

TEST(TARVKeyedArchiver, WritesListsOrderedSetsAndMapsWithFoundationClasses) {
    TARVKeyedArchiver archiver;
    archiver.encodeArray(std::vector<std::string>{"a", "b"}, "list");
    archiver.encodeObjectAs<TARVArchiveMutableList<std::string>>(std::vector<std::string>{"c"},
                                                                 "mutableList");
    archiver.encodeOrderedSet(std::vector<std::int64_t>{1, 2}, "set");
    archiver.encodeObject(std::map<std::string, std::int64_t>{{"k", 7}}, "map");
    const auto data = archiver.encodedData();
    const PropertyList archive(data);
    plist_t top = PropertyList::item(archive.root(), "$top");

    plist_t list = archive.resolve(PropertyList::item(top, "list"));
    EXPECT_EQ(archive.classChain(list), (std::vector<std::string>{"NSArray", "NSObject"}));
    plist_t elements = PropertyList::item(list, "NS.objects");
    ASSERT_EQ(plist_array_get_size(elements), 2u);
    EXPECT_EQ(PropertyList::text(archive.resolve(plist_array_get_item(elements, 0))), "a");
    EXPECT_EQ(PropertyList::text(archive.resolve(plist_array_get_item(elements, 1))), "b");

    plist_t mutableList = archive.resolve(PropertyList::item(top, "mutableList"));
    EXPECT_EQ(archive.classChain(mutableList),
              (std::vector<std::string>{"NSMutableArray", "NSArray", "NSObject"}));

    plist_t set = archive.resolve(PropertyList::item(top, "set"));
    EXPECT_EQ(archive.classChain(set), (std::vector<std::string>{"NSOrderedSet", "NSObject"}));
    EXPECT_EQ(plist_array_get_size(PropertyList::item(set, "NS.objects")), 2u);

    plist_t map = archive.resolve(PropertyList::item(top, "map"));
    EXPECT_EQ(archive.classChain(map), (std::vector<std::string>{"NSDictionary", "NSObject"}));
    plist_t keys = PropertyList::item(map, "NS.keys");
    plist_t values = PropertyList::item(map, "NS.objects");
    ASSERT_EQ(plist_array_get_size(keys), 1u);
    EXPECT_EQ(PropertyList::text(archive.resolve(plist_array_get_item(keys, 0))), "k");
    EXPECT_EQ(PropertyList::integer(archive.resolve(plist_array_get_item(values, 0))), 7u);
}

TEST(TARVKeyedArchiver, WritesEqualTextsNumbersAndClassesOnce) {
    TARVKeyedArchiver archiver;
    archiver.encodeString("same", "a");
    archiver.encodeString("same", "b");
    archiver.encodeNumber(5, "c");
    archiver.encodeNumber(5, "d");
    archiver.encodeArray(std::vector<TestPoint>{{1, 1, false}, {2, 2, false}}, "points");
    const auto data = archiver.encodedData();
    const PropertyList archive(data);
    plist_t top = PropertyList::item(archive.root(), "$top");
    EXPECT_EQ(PropertyList::uidValue(PropertyList::item(top, "a")),
              PropertyList::uidValue(PropertyList::item(top, "b")));
    EXPECT_EQ(PropertyList::uidValue(PropertyList::item(top, "c")),
              PropertyList::uidValue(PropertyList::item(top, "d")));
    // $null, "same", 5, the list, two points, 1, 2, and two class dictionaries.
    EXPECT_EQ(archive.objectCount(), 10u);
}

TEST(TARVKeyedArchiver, WritesASharedObjectReferencedTwiceOnceAndReadsItBackShared) {
    auto shared = std::make_shared<TestNode>();
    shared->name = "shared";
    const std::vector<std::shared_ptr<TestNode>> nodes{shared, shared};
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(nodes);
    const PropertyList archive(data);
    plist_t list =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    plist_t elements = PropertyList::item(list, "NS.objects");
    EXPECT_EQ(PropertyList::uidValue(plist_array_get_item(elements, 0)),
              PropertyList::uidValue(plist_array_get_item(elements, 1)));

    const auto decoded = TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TestNode>(data);
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->size(), 2u);
    EXPECT_EQ((*decoded)[0], (*decoded)[1]);
    EXPECT_EQ((*decoded)[0]->name, "shared");
}

TEST(TARVKeyedArchiver, NullSharedObjectIsWrittenAsNilAndReadsBackAbsent) {
    TestNode node;
    node.name = "alone";
    const auto data =
        TARVKeyedArchiver::archivedDataWithRootObject(std::make_shared<TestNode>(node));
    const PropertyList archive(data);
    plist_t root =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    EXPECT_EQ(PropertyList::uidValue(PropertyList::item(root, "next")), 0u);

    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TestNode>(data, &error);
    ASSERT_NE(decoded, nullptr) << error;
    EXPECT_EQ(decoded->name, "alone");
    EXPECT_EQ(decoded->next, nullptr);
}

TEST(TARVKeyedArchiver, KeysStartingWithDollarAreEscapedAndReadBack) {
    TARVKeyedArchiver archiver;
    archiver.encodeInt64(9, "$odd");
    const auto data = archiver.encodedData();
    const PropertyList archive(data);
    plist_t top = PropertyList::item(archive.root(), "$top");
    EXPECT_EQ(PropertyList::integer(PropertyList::item(top, "$$odd")), 9u);
    EXPECT_EQ(PropertyList::item(top, "$odd"), nullptr);

    TARVKeyedUnarchiver unarchiver(data);
    EXPECT_TRUE(unarchiver.containsValueForKey("$odd"));
    EXPECT_EQ(unarchiver.decodeInt64("$odd"), 9);
}

TEST(TARVKeyedArchiver, UnsignedValuesAboveTheSignedRangeAreWrittenAsSixteenByteIntegers) {
    const std::uint64_t large = std::numeric_limits<std::uint64_t>::max() - 6;
    TARVKeyedArchiver archiver;
    archiver.encodeNumber(large, "large");
    archiver.encodeNumber(std::int64_t{-7}, "negative");
    const auto data = archiver.encodedData();
    // Marker 0x14: an integer of 2^4 = 16 bytes, big-endian, upper half zero.
    const std::vector<std::uint8_t> sixteenBytes{0x14, 0,    0,    0,    0,    0,    0,    0,   0,
                                                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF9};
    EXPECT_NE(std::search(data.begin(), data.end(), sixteenBytes.begin(), sixteenBytes.end()),
              data.end());

    TARVKeyedUnarchiver unarchiver(data);
    const auto readLarge = unarchiver.decodeNumber("large");
    const auto readNegative = unarchiver.decodeNumber("negative");
    ASSERT_TRUE(readLarge && readNegative);
    EXPECT_EQ(readLarge->kind(), TARVArchiveNumber::Kind::Unsigned);
    EXPECT_EQ(readLarge->unsignedLongLongValue(), large);
    EXPECT_DOUBLE_EQ(readLarge->doubleValue(), static_cast<double>(large));
    EXPECT_EQ(readNegative->kind(), TARVArchiveNumber::Kind::Signed);
    EXPECT_EQ(readNegative->longLongValue(), -7);
    EXPECT_EQ(readNegative->unsignedLongLongValue(), static_cast<std::uint64_t>(-7));
}

TEST(TARVKeyedArchiver, UnsignedSixtyFourBitExtremesRoundTrip) {
    for (const std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{1} << 63, (std::uint64_t{1} << 63) - 1,
          std::numeric_limits<std::uint64_t>::max()}) {
        const auto data = TARVKeyedArchiver::archivedDataWithRootObject(value);
        const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<std::uint64_t>(data);
        ASSERT_TRUE(decoded.has_value()) << value;
        EXPECT_EQ(*decoded, value);
    }
}

TEST(TARVKeyedArchiver, RealsAndBooleansRoundTrip) {
    TARVKeyedArchiver archiver;
    archiver.encodeDouble(0.25, "inlineReal");
    archiver.encodeBool(true, "inlineBool");
    archiver.encodeNumber(-1.5, "real");
    archiver.encodeNumber(false, "bool");
    const auto data = archiver.encodedData();
    TARVKeyedUnarchiver unarchiver(data);
    EXPECT_DOUBLE_EQ(unarchiver.decodeDouble("inlineReal"), 0.25);
    EXPECT_TRUE(unarchiver.decodeBool("inlineBool"));
    EXPECT_EQ(unarchiver.decodeNumber("real"), TARVArchiveNumber(-1.5));
    EXPECT_EQ(unarchiver.decodeNumber("bool"), TARVArchiveNumber(false));
    EXPECT_FALSE(unarchiver.error().has_value());
}

TEST(TARVKeyedArchiver, NestedMapsOfOrderedSetsOfSharedObjectsRoundTrip) {
    using Descriptor = TARVArchiveMutableMap<TARVArchiveMutableOrderedSet<TestNode>>;
    auto a = std::make_shared<TestNode>(TestNode{"a", nullptr});
    auto b = std::make_shared<TestNode>(TestNode{"b", a});
    const std::map<std::string, std::vector<std::shared_ptr<TestNode>>> map{{"one", {a, b}},
                                                                            {"two", {b}}};
    const auto data = TARVKeyedArchiver::archivedDataWithRootObjectAs<Descriptor>(map);
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<Descriptor>(data, &error);
    ASSERT_TRUE(decoded.has_value()) << error;
    ASSERT_EQ(decoded->size(), 2u);
    const auto& one = decoded->at("one");
    const auto& two = decoded->at("two");
    ASSERT_EQ(one.size(), 2u);
    ASSERT_EQ(two.size(), 1u);
    EXPECT_EQ(one[0]->name, "a");
    EXPECT_EQ(one[1]->name, "b");
    EXPECT_EQ(one[1]->next, one[0]);
    EXPECT_EQ(two[0], one[1]);
}

TEST(TARVKeyedArchiver, WritesXMLWhenAskedAndTheUnarchiverReadsIt) {
    TARVKeyedArchiver archiver;
    archiver.setOutputFormat(TARVPropertyListFormat::XML);
    archiver.encodeObject(TestPoint{-2, 8, false}, "root");
    const auto data = archiver.encodedData();
    const std::string xml(data.begin(), data.end());
    EXPECT_NE(xml.find("<key>$archiver</key>"), std::string::npos);
    EXPECT_NE(xml.find("CF$UID"), std::string::npos);
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TestPoint>(data);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, (TestPoint{-2, 8, false}));
}

TEST(TARVKeyedArchiver, SecureArchiverRefusesAClassWithoutSecureCoding) {
    std::string error;
    const auto refused =
        TARVKeyedArchiver::archivedDataWithRootObject(TestInsecure{5}, true, &error);
    EXPECT_TRUE(refused.empty());
    EXPECT_NE(error.find("TARVTestInsecure"), std::string::npos) << error;

    const auto written = TARVKeyedArchiver::archivedDataWithRootObject(TestInsecure{5}, false);
    EXPECT_FALSE(written.empty());
}

TEST(TARVKeyedArchiver, NothingIsAddedOnceTheArchiveIsFinished) {
    TARVKeyedArchiver archiver;
    archiver.encodeInt32(1, "a");
    const auto first = archiver.encodedData();
    ASSERT_FALSE(first.empty());
    archiver.encodeInt32(2, "b");
    EXPECT_TRUE(archiver.error().has_value());
    TARVKeyedUnarchiver unarchiver(first);
    EXPECT_FALSE(unarchiver.containsValueForKey("b"));
}

} // namespace
} // namespace tarv
