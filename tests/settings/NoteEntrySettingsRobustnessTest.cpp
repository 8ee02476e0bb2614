// Settings files from outside: integers as every property list reader reads them, byte-order
// marks and UTF-16, and paths that are not regular files.

#include "tarv/settings/NoteEntrySettings.hpp"
#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <string>

namespace tarv {
namespace {

using Kind = TARVSettingsDecodingError::Kind;

/// A settings file of one four-string instrument whose "frets" and first "octave" are written
/// as the given texts.
std::string settingsWith(const std::string& frets, const std::string& octave) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>tablature</key><dict><key>instruments</key><array><dict>
<key>name</key><string>Bass</string><key>frets</key>)" +
           frets + R"(<key>capo</key><array/><key>tunings</key><array><dict>
<key>name</key><string>Standard</string><key>noteString</key><string>EADG</string>
<key>notes</key><array><dict><key>note</key><string>G</string><key>octave</key>)" +
           octave + R"(</dict></array></dict></array></dict></array></dict></dict></plist>
)";
}

Kind decodingErrorKind(const std::string& data) {
    try {
        NoteEntrySettings::decode(data);
    } catch (const TARVSettingsDecodingError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "decoded without error";
    return Kind::keyNotFound;
}

} // namespace

TEST(NoteEntrySettingsRobustness, XMLIntegersWithLeadingZerosAreDecimal) {
    const auto settings =
        NoteEntrySettings::decode(settingsWith("<integer>022</integer>", "<integer>08</integer>"));
    const auto& bass = settings.tablature().instruments().at(0);
    EXPECT_EQ(bass.frets(), 22);
    EXPECT_EQ(bass.tunings().at(0).notes().at(0).octave(), 8);
}

TEST(NoteEntrySettingsRobustness, XMLIntegersOutOfRangeOrEmptyAreDataCorrupted) {
    EXPECT_EQ(decodingErrorKind(
                  settingsWith("<integer>20</integer>", "<integer>-9223372036854775809</integer>")),
              Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorKind(settingsWith("<integer></integer>", "<integer>2</integer>")),
              Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorKind(settingsWith("<integer>20</integer>", "<integer/>")),
              Kind::dataCorrupted);
    EXPECT_EQ(decodingErrorKind(settingsWith("<integer>2O</integer>", "<integer>2</integer>")),
              Kind::dataCorrupted);
    // The smallest and the largest signed values still read.
    const auto settings = NoteEntrySettings::decode(settingsWith(
        "<integer>9223372036854775807</integer>", "<integer>-9223372036854775808</integer>"));
    EXPECT_EQ(settings.tablature().instruments().at(0).frets(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(settings.tablature().instruments().at(0).tunings().at(0).notes().at(0).octave(),
              std::numeric_limits<std::int64_t>::min());
}

TEST(NoteEntrySettingsRobustness, XMLWithAByteOrderMarkOrInUTF16Decodes) {
    const std::string text = settingsWith("<integer>20</integer>", "<integer>2</integer>");
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char c : text) {
        little += c;
        little += '\0';
        big += '\0';
        big += c;
    }
    for (const std::string& data : {"\xEF\xBB\xBF" + text, little, big}) {
        const auto settings = NoteEntrySettings::decode(data);
        ASSERT_EQ(settings.tablature().instruments().size(), 1u);
        EXPECT_EQ(settings.tablature().instruments()[0].name(), "Bass");
        EXPECT_EQ(settings.tablature().instruments()[0].frets(), 20);
    }
}

TEST(NoteEntrySettingsRobustness, StringThatIsNotUTF8IsDataCorrupted) {
    std::string text = settingsWith("<integer>20</integer>", "<integer>2</integer>");
    text.replace(text.find("Bass"), 4, "Ba\x91s");
    EXPECT_EQ(decodingErrorKind(text), Kind::dataCorrupted);
}

TEST(NoteEntrySettingsRobustness, FifoIsRefusedWithoutWaiting) {
    const auto fifo = std::filesystem::temp_directory_path() /
                      ("tarv-settings-fifo-" + std::to_string(::getpid()));
    std::filesystem::remove(fifo);
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    auto loading = std::async(std::launch::async, [&fifo] {
        try {
            NoteEntrySettings::load(fifo);
        } catch (const std::filesystem::filesystem_error& error) {
            return error.path1() == fifo;
        } catch (...) {
        }
        return false;
    });
    const bool finished = loading.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    if (!finished) {
        // Let the blocked reader go, so that the test can end and report.
        const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0) {
            ::close(writer);
        }
    }
    EXPECT_TRUE(finished) << "loading settings from a FIFO blocked";
    EXPECT_TRUE(loading.get()) << "a FIFO did not throw the file error with its path";
    std::filesystem::remove(fifo);
}

} // namespace tarv
