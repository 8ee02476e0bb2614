#include "archive/TARVPropertyListNesting.hpp"

#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarv {
namespace {

/// A binary property list of `count` lists, list i holding `fanOut` references to list i + 1;
/// the last list is empty. With `cycle`, the last list refers back to the first instead.
std::vector<std::uint8_t> chainedLists(std::uint32_t count, std::uint8_t fanOut = 1,
                                       bool cycle = false) {
    std::vector<std::uint8_t> data{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
    std::vector<std::uint32_t> offsets;
    const auto put32 = [&data](std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            data.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    };
    for (std::uint32_t i = 0; i < count; ++i) {
        offsets.push_back(static_cast<std::uint32_t>(data.size()));
        const bool last = i + 1 == count;
        if (last && !cycle) {
            data.push_back(0xA0);
            continue;
        }
        data.push_back(static_cast<std::uint8_t>(0xA0 | fanOut));
        for (std::uint8_t j = 0; j < fanOut; ++j) {
            put32(last ? 0 : i + 1);
        }
    }
    const auto offsetTable = static_cast<std::uint32_t>(data.size());
    for (const std::uint32_t offset : offsets) {
        put32(offset);
    }
    data.insert(data.end(), {0, 0, 0, 0, 0, 0, 4, 4});
    const auto put64 = [&](std::uint32_t value) {
        put32(0);
        put32(value);
    };
    put64(count);
    put64(0);
    put64(offsetTable);
    return data;
}

std::vector<std::uint8_t> nestedXML(std::size_t depth) {
    std::string xml = "<?xml version=\"1.0\"?><!-- <array> --><plist version=\"1.0\">";
    for (std::size_t i = 0; i < depth; ++i) {
        xml += "<array>";
    }
    xml += "<array/><![CDATA[<array>]]>";
    for (std::size_t i = 0; i < depth; ++i) {
        xml += "</array>";
    }
    return testing::bytesOf(xml + "</plist>");
}

TEST(TARVPropertyListNesting, CountsTheListsOfABinaryPropertyList) {
    // 11 lists, the last one empty: 10 levels of lists holding something.
    const auto data = chainedLists(11);
    EXPECT_FALSE(TARVBinaryPropertyListNestsDeeperThan(data, 10));
    EXPECT_TRUE(TARVBinaryPropertyListNestsDeeperThan(data, 9));
}

TEST(TARVPropertyListNesting, WalksSharedObjectsOnce) {
    // Every list refers to the next one twice: 2^100 paths, 100 levels.
    const auto data = chainedLists(101, 2);
    EXPECT_FALSE(TARVBinaryPropertyListNestsDeeperThan(data, 100));
    EXPECT_TRUE(TARVBinaryPropertyListNestsDeeperThan(data, 99));
}

TEST(TARVPropertyListNesting, LeavesCyclesToTheReader) {
    EXPECT_FALSE(TARVBinaryPropertyListNestsDeeperThan(chainedLists(5, 1, true), 10));
}

TEST(TARVPropertyListNesting, CountsTheContainersOfAnXMLPropertyList) {
    const auto data = nestedXML(10);
    EXPECT_FALSE(TARVXMLPropertyListNestsDeeperThan(data, 10));
    EXPECT_TRUE(TARVXMLPropertyListNestsDeeperThan(data, 9));
}

TEST(TARVPropertyListNesting, ArchivesOfTheLibraryAreShallow) {
    TARVKeyedArchiver archiver;
    archiver.encodeObject(std::vector<std::vector<std::string>>{{"a"}, {"b"}}, "root");
    const auto binary = archiver.encodedData();
    EXPECT_FALSE(TARVBinaryPropertyListNestsDeeperThan(binary, 4));
}

TEST(TARVKeyedUnarchiver, DeeplyNestedBinaryPropertyListIsRefusedWithoutCrashing) {
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData(chainedLists(100000), &error), nullptr);
    EXPECT_NE(error.find("nests deeper than"), std::string::npos) << error;
}

TEST(TARVKeyedUnarchiver, DeeplyNestedXMLPropertyListIsRefusedWithoutCrashing) {
    std::string error;
    EXPECT_EQ(TARVKeyedUnarchiver::initForReadingFromData(nestedXML(100000), &error), nullptr);
    EXPECT_NE(error.find("nests deeper than"), std::string::npos) << error;
}

} // namespace
} // namespace tarv
