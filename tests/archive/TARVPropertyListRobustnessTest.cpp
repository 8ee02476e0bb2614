// Property lists from outside: nesting, keys with NUL characters, integers as every property list
// reader reads them, byte-order marks and UTF-16, and texts that are not UTF-8.

#include "archive/TARVArchiveTestClasses.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/archive/TARVPropertyListJSON.hpp"
#include "tarv/archive/TARVUTF8.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace tarv {
namespace {

std::string xmlPlist(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body +
           "</plist>\n";
}

/// A binary property list of one dictionary whose one key is `key` (an ASCII text object) and
/// whose value is the integer 1.
std::string binaryDictionaryWithKey(const std::string& key) {
    std::string data = "bplist00";
    std::vector<std::uint8_t> offsets;
    offsets.push_back(static_cast<std::uint8_t>(data.size()));
    data += static_cast<char>(0xD1); // a dictionary of one pair: key 1, value 2
    data += static_cast<char>(1);
    data += static_cast<char>(2);
    offsets.push_back(static_cast<std::uint8_t>(data.size()));
    data += static_cast<char>(0x50 | key.size());
    data += key;
    offsets.push_back(static_cast<std::uint8_t>(data.size()));
    data += static_cast<char>(0x10);
    data += static_cast<char>(1);
    const auto offsetTable = static_cast<std::uint8_t>(data.size());
    for (const std::uint8_t offset : offsets) {
        data += static_cast<char>(offset);
    }
    data += std::string(6, '\0');
    data += static_cast<char>(1);                                  // offset size
    data += static_cast<char>(1);                                  // reference size
    data += std::string(7, '\0') + static_cast<char>(3);           // objects
    data += std::string(8, '\0');                                  // top object
    data += std::string(7, '\0') + static_cast<char>(offsetTable); // offset table
    return data;
}

std::string utf16(const std::string& ascii, bool bigEndian, bool mark) {
    std::string out;
    if (mark) {
        out += bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    }
    for (const char c : ascii) {
        if (bigEndian) {
            out += '\0';
            out += c;
        } else {
            out += c;
            out += '\0';
        }
    }
    return out;
}

} // namespace

TEST(TARVPropertyListRobustness, DeeplyNestedXMLIsRefusedByTheJSONReading) {
    std::string body;
    for (int i = 0; i < 50000; ++i) {
        body += "<array>";
    }
    for (int i = 0; i < 50000; ++i) {
        body += "</array>";
    }
    EXPECT_THROW((void)TARVJSONWithPropertyListData(xmlPlist(body)), std::invalid_argument);
    // 128 levels are still read.
    std::string within;
    for (int i = 0; i < 128; ++i) {
        within += "<array>";
    }
    for (int i = 0; i < 128; ++i) {
        within += "</array>";
    }
    EXPECT_NO_THROW((void)TARVJSONWithPropertyListData(xmlPlist(within)));
}

TEST(TARVPropertyListRobustness, BinaryKeyWithANulCharacterIsRefused) {
    const auto good = TARVJSONWithPropertyListData(binaryDictionaryWithKey("ab"));
    EXPECT_EQ(good, (nlohmann::json{{"ab", 1}}));
    EXPECT_THROW(
        (void)TARVJSONWithPropertyListData(binaryDictionaryWithKey(std::string("a\0b", 3))),
        std::invalid_argument);
}

TEST(TARVPropertyListRobustness, XMLIntegersAreDecimal) {
    const auto read = [](const std::string& text) {
        return TARVJSONWithPropertyListData(
            xmlPlist("<array><integer>" + text + "</integer></array>"))[0];
    };
    EXPECT_EQ(read("022"), 22);
    EXPECT_EQ(read("08"), 8);
    EXPECT_EQ(read(" -0042 "), -42);
    EXPECT_EQ(read("+7"), 7);
    EXPECT_EQ(read("0x1F"), 31);
    EXPECT_EQ(read("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(read("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    for (const char* refused :
         {"-9223372036854775809", "18446744073709551616", "", "  ", "12a", "1.5", "-", "0x"}) {
        EXPECT_THROW((void)read(refused), std::invalid_argument) << refused;
    }
    EXPECT_THROW((void)TARVJSONWithPropertyListData(xmlPlist("<array><integer/></array>")),
                 std::invalid_argument);
}

TEST(TARVPropertyListRobustness, XMLWithAByteOrderMarkOrInUTF16IsRead) {
    const std::string plist = xmlPlist("<dict><key>name</key><string>Bass</string></dict>");
    const nlohmann::json expected{{"name", "Bass"}};
    EXPECT_EQ(TARVJSONWithPropertyListData("\xEF\xBB\xBF" + plist), expected);
    EXPECT_EQ(TARVJSONWithPropertyListData(utf16(plist, true, true)), expected);
    EXPECT_EQ(TARVJSONWithPropertyListData(utf16(plist, false, true)), expected);
    EXPECT_EQ(TARVJSONWithPropertyListData(utf16(plist, false, false)), expected);
    // An unpaired surrogate is no UTF-16.
    EXPECT_THROW((void)TARVJSONWithPropertyListData(utf16(plist, true, true) + "\xD8\x00"),
                 std::invalid_argument);
}

TEST(TARVPropertyListRobustness, ArchiverRefusesTextThatIsNotUTF8) {
    for (const std::string& text : {std::string("Hal\x91lo"), std::string("\xC3")}) {
        std::string error;
        const auto data = TARVKeyedArchiver::archivedDataWithRootObject(text, true, &error);
        EXPECT_TRUE(data.empty()) << text;
        EXPECT_NE(error.find("UTF-8"), std::string::npos) << error;
    }
    // Text in UTF-8 goes through whole.
    const std::string text = "Halb\xC3\xA9 \xE2\x99\xAF";
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(text);
    ASSERT_FALSE(data.empty());
    const auto back = TARVKeyedUnarchiver::unarchivedObjectOfClass<std::string>(data);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, text);
}

TEST(TARVPropertyListRobustness, TextThatIsNotUTF8IsRefusedByTheJSONReading) {
    EXPECT_THROW((void)TARVJSONWithPropertyListData(
                     xmlPlist("<dict><key>name</key><string>Hal\x91</string></dict>")),
                 std::invalid_argument);
    EXPECT_THROW((void)TARVJSONWithPropertyListData(
                     xmlPlist("<dict><key>n\xC3</key><string>Hal</string></dict>")),
                 std::invalid_argument);
}

TEST(TARVPropertyListRobustness, UnarchiverRefusesTextThatIsNotUTF8OrHoldsNUL) {
    const auto xmlArchive = [](const std::string& text) {
        const std::string xml =
            xmlPlist("<dict><key>$archiver</key><string>NSKeyedArchiver</string><key>$version</key>"
                     "<integer>100000</integer><key>$top</key><dict><key>root</key><dict>"
                     "<key>CF$UID</key><integer>1</integer></dict></dict><key>$objects</key><array>"
                     "<string>$null</string><string>" +
                     text + "</string></array></dict>");
        return std::vector<std::uint8_t>(xml.begin(), xml.end());
    };
    ASSERT_TRUE(TARVKeyedUnarchiver::unarchivedObjectOfClass<std::string>(xmlArchive("Hal")));
    for (const std::string& text : {std::string("Hal\x91"), std::string("\xC3")}) {
        std::string error;
        EXPECT_FALSE(
            TARVKeyedUnarchiver::unarchivedObjectOfClass<std::string>(xmlArchive(text), &error))
            << text;
        EXPECT_NE(error.find("UTF-8"), std::string::npos) << error;
    }
}

TEST(TARVPropertyListRobustness, UTF8Validation) {
    EXPECT_TRUE(TARVIsValidUTF8(""));
    EXPECT_TRUE(TARVIsValidUTF8("plain"));
    EXPECT_TRUE(TARVIsValidUTF8("\xC3\xA9\xE2\x99\xAF\xF0\x9F\x8E\xB8"));
    for (const char* bad : {"\x91", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80",
                            "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "a\xE2\x99"}) {
        EXPECT_FALSE(TARVIsValidUTF8(bad)) << bad;
    }
}

} // namespace tarv
