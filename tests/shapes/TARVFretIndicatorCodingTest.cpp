#include "tarv/shapes/TARVFretIndicator.hpp"

#include "archive/TARVArchiveTestClasses.hpp"
#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::handWrittenArchive;
using testing::PropertyList;
using testing::readArchive;

/// The packed numbers an archived indicator holds, by key.
struct ArchivedKeys {
    std::optional<std::uint64_t> indicator;
    std::optional<std::uint64_t> barre;
    std::vector<std::string> classChain;
    bool hasOlderKeys = false;
};

ArchivedKeys archivedKeys(const TARVFretIndicator& indicator) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(indicator);
    const PropertyList archive(data);
    plist_t object =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    ArchivedKeys keys;
    keys.indicator =
        PropertyList::integer(archive.resolve(PropertyList::item(object, "indicator")));
    keys.barre = PropertyList::integer(archive.resolve(PropertyList::item(object, "barre")));
    keys.classChain = archive.classChain(object);
    keys.hasOlderKeys = PropertyList::item(object, "fret") != nullptr ||
                        PropertyList::item(object, "string") != nullptr ||
                        PropertyList::item(object, "endstring") != nullptr;
    return keys;
}

std::optional<TARVFretIndicator> roundTrip(const TARVFretIndicator& indicator) {
    std::string error;
    auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(
        TARVKeyedArchiver::archivedDataWithRootObject(indicator), &error);
    EXPECT_TRUE(error.empty()) << error;
    return decoded;
}

std::optional<TARVFretIndicator> decodeFile(std::string_view name) {
    std::string error;
    auto decoded =
        TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(readArchive(name), &error);
    EXPECT_TRUE(error.empty()) << name << ": " << error;
    return decoded;
}

TEST(TARVFretIndicatorCoding, MutedIndicatorReportsFretMinusOneAndArchivesFretByteFF) {
    const auto muted = TARVMutedFretIndicator::indicatorOnString(4);
    EXPECT_EQ(muted.fret(), -1);
    EXPECT_EQ(muted.description(), "string: 4, muted");
    const auto keys = archivedKeys(muted);
    EXPECT_EQ(keys.indicator, 0xFFu | (4u << 8));
    EXPECT_FALSE(keys.barre.has_value());
}

TEST(TARVFretIndicatorCoding, OpenIndicatorHasFretZeroAndArchivesItsStringInTheHighByte) {
    const auto open = TARVOpenFretIndicator::indicatorOnString(3);
    EXPECT_EQ(open.fret(), 0);
    EXPECT_EQ(open.description(), "string: 3, open");
    EXPECT_EQ(archivedKeys(open).indicator, 768u);
}

TEST(TARVFretIndicatorCoding, IndicatorArchivesStringInHighByteAndFretInLowByte) {
    EXPECT_EQ(archivedKeys(TARVFretIndicator(5, 1)).indicator, 261u);
    EXPECT_EQ(archivedKeys(TARVMutedFretIndicator::indicatorOnString(2)).indicator, 767u);
    EXPECT_EQ(archivedKeys(TARVFretIndicator(-2, 0)).indicator, 0xFEu);
}

TEST(TARVFretIndicatorCoding, BarreArchivesEndStartAndFretPackedUnderItsOwnKeyOnly) {
    const auto keys = archivedKeys(TARVBarreIndicator::barreForFret(0, 0, 5));
    EXPECT_EQ(keys.barre, 327680u);
    EXPECT_FALSE(keys.indicator.has_value());
    EXPECT_EQ(archivedKeys(TARVBarreIndicator::barreForFret(3, 0, 1)).barre, 65539u);
}

TEST(TARVFretIndicatorCoding, BarreWithNegativeFretSetsTheUpperBitsOfItsPackedNumber) {
    const auto barre = TARVBarreIndicator::barreForFret(-2, 1, 3);
    EXPECT_EQ(archivedKeys(barre).barre, 0xFFFFFFFEu);
    const auto decoded = roundTrip(barre);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->isBarre());
    EXPECT_EQ(decoded->fret(), -2);
    EXPECT_EQ(decoded->string(), 0xFF);
    EXPECT_EQ(decoded->endString(), 0xFF);
}

TEST(TARVFretIndicatorCoding, OlderKeysAreNeverWritten) {
    EXPECT_FALSE(archivedKeys(TARVFretIndicator(5, 1)).hasOlderKeys);
    EXPECT_FALSE(archivedKeys(TARVBarreIndicator::barreForFret(1, 0, 5)).hasOlderKeys);
}

TEST(TARVFretIndicatorCoding, ArchivesRecordEachIndicatorClassWithItsChain) {
    EXPECT_EQ(archivedKeys(TARVFretIndicator(1, 1)).classChain,
              (std::vector<std::string>{"TARVFretIndicator", "NSObject"}));
    EXPECT_EQ(archivedKeys(TARVBarreIndicator::barreForFret(1, 0, 2)).classChain,
              (std::vector<std::string>{"TARVBarreIndicator", "TARVFretIndicator", "NSObject"}));
    EXPECT_EQ(
        archivedKeys(TARVMutedFretIndicator::indicatorOnString(1)).classChain,
        (std::vector<std::string>{"TARVMutedFretIndicator", "TARVFretIndicator", "NSObject"}));
    EXPECT_EQ(archivedKeys(TARVOpenFretIndicator::indicatorOnString(1)).classChain,
              (std::vector<std::string>{"TARVOpenFretIndicator", "TARVFretIndicator", "NSObject"}));
}

TEST(TARVFretIndicatorCoding, EachIndicatorClassReadsBackAsItsOwnClass) {
    for (const TARVFretIndicator& indicator :
         {TARVFretIndicator(7, 2), TARVFretIndicator(-1, 2), TARVFretIndicator(0, 3),
          TARVFretIndicator(TARVMutedFretIndicator::indicatorOnString(5)),
          TARVFretIndicator(TARVOpenFretIndicator::indicatorOnString(4)),
          TARVFretIndicator(TARVBarreIndicator::barreForFret(2, 1, 4))}) {
        const auto decoded = roundTrip(indicator);
        ASSERT_TRUE(decoded.has_value()) << indicator.description();
        EXPECT_TRUE(decoded->isIdenticalTo(indicator)) << decoded->description();
    }
}

TEST(TARVFretIndicatorCoding, ArchiveHoldingOnlyOlderFretAndStringReadsBackFret3OnString1) {
    const auto decoded = decodeFile("fret-indicator-older-keys.xml");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->indicatorClass(), TARVIndicatorClass::Fret);
    EXPECT_EQ(decoded->fret(), 3);
    EXPECT_EQ(decoded->string(), 1);
}

TEST(TARVFretIndicatorCoding, ArchiveHoldingNoKeysReadsBackFret0OnString0) {
    const auto decoded = decodeFile("fret-indicator-no-keys.xml");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fret(), 0);
    EXPECT_EQ(decoded->string(), 0);
}

TEST(TARVFretIndicatorCoding, MutedArchiveWithOlderKeysReadsBackAsMuted) {
    const auto decoded = decodeFile("muted-fret-indicator-older-keys.xml");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->isMuted());
    EXPECT_EQ(decoded->fret(), -1);
    EXPECT_EQ(decoded->string(), 4);
}

TEST(TARVFretIndicatorCoding, BarreArchiveHolding65539ReadsBackFret3Start0End1) {
    const auto decoded = decodeFile("barre-indicator-65539.xml");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->isBarre());
    EXPECT_EQ(decoded->fret(), 3);
    EXPECT_EQ(decoded->string(), 0);
    EXPECT_EQ(decoded->endString(), 1);
}

TEST(TARVFretIndicatorCoding, BarreArchiveWithOlderKeysReadsFretStringAndEndstring) {
    const auto decoded = decodeFile("barre-indicator-older-keys.xml");
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->isBarre());
    EXPECT_EQ(decoded->fret(), 2);
    EXPECT_EQ(decoded->string(), 1);
    EXPECT_EQ(decoded->endString(), 4);
}

TEST(TARVFretIndicatorCoding, OlderFretKeyTakesPrecedenceOverThePackedIndicator) {
    const auto data = handWrittenArchive<TARVFretIndicator>([](TARVKeyedArchiver& coder) {
        coder.encodeNumber(4, "fret");
        coder.encodeNumber(261, "indicator");
    });
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(data);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fret(), 4);
    EXPECT_EQ(decoded->string(), 0);
}

TEST(TARVFretIndicatorCoding, BarreWithEndstringReadsItsBaseFieldsFromThePackedIndicator) {
    const auto data = handWrittenArchive<TARVBarreIndicator>([](TARVKeyedArchiver& coder) {
        coder.encodeNumber(3, "endstring");
        coder.encodeNumber(0x0102, "indicator");
        coder.encodeNumber(0x7FFFF, "barre");
    });
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVBarreIndicator>(data);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fret(), 2);
    EXPECT_EQ(decoded->string(), 1);
    EXPECT_EQ(decoded->endString(), 3);
}

TEST(TARVFretIndicatorCoding, BarreWithoutAnyKeyReadsBackAllZero) {
    const auto data = handWrittenArchive<TARVBarreIndicator>([](TARVKeyedArchiver&) {});
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVBarreIndicator>(data);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->isIdenticalTo(TARVBarreIndicator()));
}

TEST(TARVFretIndicatorCoding, ArchivedValuesTruncateToTheirFieldWidths) {
    const auto older = handWrittenArchive<TARVFretIndicator>([](TARVKeyedArchiver& coder) {
        coder.encodeNumber(300, "fret");
        coder.encodeNumber(257, "string");
    });
    const auto fromOlder = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(older);
    ASSERT_TRUE(fromOlder.has_value());
    EXPECT_EQ(fromOlder->fret(), 44);
    EXPECT_EQ(fromOlder->string(), 1);

    const auto packed = handWrittenArchive<TARVFretIndicator>(
        [](TARVKeyedArchiver& coder) { coder.encodeNumber(0x1ABFF, "indicator"); });
    const auto fromPacked = TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(packed);
    ASSERT_TRUE(fromPacked.has_value());
    EXPECT_EQ(fromPacked->fret(), -1);
    EXPECT_EQ(fromPacked->string(), 0xAB);
}

TEST(TARVFretIndicatorCoding, IndicatorKeyHoldingATextFailsTheArchive) {
    const auto data = handWrittenArchive<TARVFretIndicator>(
        [](TARVKeyedArchiver& coder) { coder.encodeString("261", "indicator"); });
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(data, &error));
    EXPECT_NE(error.find("NSString is not allowed"), std::string::npos) << error;
}

TEST(TARVFretIndicatorCoding, SecureDecodingOfABarreRefusesAPlainIndicator) {
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(TARVFretIndicator(1, 2));
    std::string error;
    EXPECT_FALSE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVBarreIndicator>(data, &error));
    EXPECT_NE(error.find("TARVFretIndicator is not allowed"), std::string::npos) << error;
    EXPECT_TRUE(TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVFretIndicator>(data));
}

TEST(TARVFretIndicatorCoding, EveryIndicatorClassSupportsSecureCoding) {
    EXPECT_TRUE(TARVFretIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVBarreIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVMutedFretIndicator::supportsSecureCoding());
    EXPECT_TRUE(TARVOpenFretIndicator::supportsSecureCoding());
    for (const TARVArchiveClass* cls : TARVFretIndicator::archiveClasses()) {
        EXPECT_TRUE(cls->supportsSecureCoding) << cls->name;
    }
}

// Golden archives, written by this library. Setting TARV_REGENERATE_GOLDEN rewrites them (see
// tests/data/archives/README.md).

struct GoldenIndicator {
    const char* file;
    TARVFretIndicator indicator;
};

const GoldenIndicator kGoldenIndicators[] = {
    {"fret-indicator.archive", TARVFretIndicator(5, 1)},
    {"open-fret-indicator.archive", TARVOpenFretIndicator::indicatorOnString(3)},
    {"muted-fret-indicator.archive", TARVMutedFretIndicator::indicatorOnString(2)},
    {"barre-indicator.archive", TARVBarreIndicator::barreForFret(3, 1, 4)},
};

TEST(TARVFretIndicatorCoding, GoldenArchivesAreWhatTheLibraryWrites) {
    for (const auto& golden : kGoldenIndicators) {
        const auto written = TARVKeyedArchiver::archivedDataWithRootObject(golden.indicator);
        ASSERT_FALSE(written.empty());
        if (testing::regeneratingGoldenFiles()) {
            testing::writeBytes(testing::archiveDataDirectory() / golden.file, written);
            continue;
        }
        EXPECT_EQ(readArchive(golden.file), written) << golden.file;
    }
}

TEST(TARVFretIndicatorCoding, GoldenArchivesReadBackTheirIndicators) {
    for (const auto& golden : kGoldenIndicators) {
        const auto decoded = decodeFile(golden.file);
        ASSERT_TRUE(decoded.has_value()) << golden.file;
        EXPECT_TRUE(decoded->isIdenticalTo(golden.indicator))
            << golden.file << ": " << decoded->description();
    }
}

} // namespace
} // namespace tarv
