#include "tarv/shapes/TARVChordShape.hpp"

#include "archive/TARVArchiveTestClasses.hpp"
#include "archive/TARVArchiveTestSupport.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace tarv {
namespace {

using testing::handWrittenArchive;
using testing::PropertyList;
using testing::readArchive;

/// Frets of strings 0, 1, 2, ... in that order; -1 is muted.
std::vector<TARVFretIndicator> fretsByString(std::initializer_list<int> frets) {
    std::vector<TARVFretIndicator> indicators;
    std::uint8_t string = 0;
    for (const int fret : frets) {
        indicators.emplace_back(static_cast<std::int8_t>(fret), string++);
    }
    return indicators;
}

/// The shape at base fret 5 with frets 0, 0, 1, 2, 2, 0: a barre over strings 0 to 5.
TARVChordShapePtr barreShapeAtFret5() {
    auto shape = TARVChordShape::shapeFromIndicatorArray(fretsByString({0, 0, 1, 2, 2, 0}), 5);
    shape->setBadness(1234);
    return shape;
}

std::vector<std::string> descriptions(const TARVChordShape& shape) {
    std::vector<std::string> result;
    for (const auto& indicator : shape.indicators()) {
        result.push_back(indicator.description());
    }
    return result;
}

TARVChordShapePtr decode(const std::vector<std::uint8_t>& data, std::string* error = nullptr) {
    return TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVChordShape>(data, error);
}

void expectSameShape(const TARVChordShape& decoded, const TARVChordShape& original) {
    EXPECT_EQ(decoded.badness(), original.badness());
    EXPECT_EQ(decoded.baseFret(), original.baseFret());
    EXPECT_EQ(decoded.baseString(), original.baseString());
    ASSERT_EQ(decoded.indicators().size(), original.indicators().size());
    for (std::size_t i = 0; i < decoded.indicators().size(); ++i) {
        EXPECT_TRUE(decoded.indicators()[i].isIdenticalTo(original.indicators()[i]))
            << i << ": " << decoded.indicators()[i].description();
    }
    EXPECT_TRUE(decoded.isEqualToShape(original));
    EXPECT_EQ(decoded.hash(), original.hash());
}

TEST(TARVChordShapeCoding, WritesFiveKeysWithTheIndicatorsAsAGrowableList) {
    const auto shape = barreShapeAtFret5();
    const auto data = TARVKeyedArchiver::archivedDataWithRootObject(shape);
    const PropertyList archive(data);
    plist_t object =
        archive.resolve(PropertyList::item(PropertyList::item(archive.root(), "$top"), "root"));
    EXPECT_EQ(archive.classChain(object), (std::vector<std::string>{"TARVChordShape", "NSObject"}));
    EXPECT_EQ(plist_dict_get_size(object), 6u); // five keys and "$class"
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "badness"))), 1234u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "basefret"))), 5u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "basestring"))), 5u);
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(object, "reach"))),
              shape->reach());

    plist_t list = archive.resolve(PropertyList::item(object, "indicators"));
    EXPECT_EQ(archive.classChain(list),
              (std::vector<std::string>{"NSMutableArray", "NSArray", "NSObject"}));
    plist_t elements = PropertyList::item(list, "NS.objects");
    ASSERT_EQ(plist_array_get_size(elements), 4u);
    plist_t barre = archive.resolve(plist_array_get_item(elements, 0));
    EXPECT_EQ(archive.className(barre), "TARVBarreIndicator");
    EXPECT_EQ(PropertyList::integer(archive.resolve(PropertyList::item(barre, "barre"))), 327680u);
}

TEST(TARVChordShapeCoding, ReadingAnArchiveRestoresBadnessBaseFretBaseStringAndIndicators) {
    const auto shape = barreShapeAtFret5();
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(shape));
    ASSERT_NE(decoded, nullptr);
    expectSameShape(*decoded, *shape);
    EXPECT_EQ(descriptions(*decoded),
              (std::vector<std::string>{"Barre fret:0 start:0 end:5", "string: 2, fret 1",
                                        "string: 3, fret 2", "string: 4, fret 2"}));
}

TEST(TARVChordShapeCoding, ReadingSortsTheIndicatorsAndRecomputesTheReach) {
    std::string error;
    const auto decoded = decode(readArchive("chord-shape-older-keys.xml"), &error);
    ASSERT_NE(decoded, nullptr) << error;
    EXPECT_EQ(decoded->badness(), 42u);
    EXPECT_EQ(decoded->baseFret(), 3);
    EXPECT_EQ(decoded->baseString(), 4);
    EXPECT_EQ(descriptions(*decoded),
              (std::vector<std::string>{"Barre fret:0 start:0 end:2", "string: 1, fret 1",
                                        "string: 3, fret 2", "string: 4, muted"}));
    // The archive says 99; the indicators span frets 0 to 2.
    EXPECT_EQ(decoded->reach(), 3);
}

TEST(TARVChordShapeCoding, ReachIsNotTakenFromTheArchive) {
    const auto data = handWrittenArchive<TARVChordShape>([](TARVKeyedArchiver& coder) {
        coder.encodeNumber(std::uint8_t{7}, "reach");
        coder.encodeObjectAs<TARVArchiveMutableList<TARVFretIndicator>>(
            std::vector<TARVFretIndicator>{TARVFretIndicator(2, 0), TARVFretIndicator(4, 1)},
            "indicators");
    });
    const auto decoded = decode(data);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->reach(), 3);
}

TEST(TARVChordShapeCoding, MissingKeysReadAsZeroAndNoIndicators) {
    const auto data = handWrittenArchive<TARVChordShape>([](TARVKeyedArchiver&) {});
    const auto decoded = decode(data);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->badness(), 0u);
    EXPECT_EQ(decoded->baseFret(), 0);
    EXPECT_EQ(decoded->baseString(), 0);
    EXPECT_TRUE(decoded->indicators().empty());
}

TEST(TARVChordShapeCoding, BadnessAboveTheSignedRangeRoundTrips) {
    auto shape = barreShapeAtFret5();
    shape->setBadness(std::numeric_limits<std::uint64_t>::max() - 1);
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(shape));
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->badness(), std::numeric_limits<std::uint64_t>::max() - 1);
}

TEST(TARVChordShapeCoding, ShapesWithOpenMutedAndEqualIndicatorsRoundTripInOrder) {
    auto shape = std::make_shared<TARVChordShape>();
    shape->addMutedIndicatorForString(5);
    shape->addIndicatorForFret(3, 4);
    shape->addOpenIndicatorForString(0);
    shape->addIndicatorForFret(2, 1);
    shape->addIndicatorForFret(2, 1);
    shape->_addSortedIndicator(TARVFretIndicator(-1, 5));
    shape->setBaseString(4);
    shape->setBadness(17);
    const auto decoded = decode(TARVKeyedArchiver::archivedDataWithRootObject(shape));
    ASSERT_NE(decoded, nullptr);
    expectSameShape(*decoded, *shape);
}

TEST(TARVChordShapeCoding, TypedReadThenPlainReadOfTheIndicatorsKeepsTheIndicators) {
    // The plain list read comes last and is the one kept; it answers the indicators that the
    // typed read before it decoded, so a secure read of a shape loses none of them.
    const auto shape = barreShapeAtFret5();
    TARVKeyedUnarchiver unarchiver(TARVKeyedArchiver::archivedDataWithRootObject(shape));
    ASSERT_TRUE(unarchiver.requiresSecureCoding());
    const auto decoded = unarchiver.decodeObjectOfClass<TARVChordShape>("root");
    ASSERT_NE(decoded, nullptr) << unarchiver.error().value_or("");
    EXPECT_EQ(decoded->indicators().size(), 4u);
}

TEST(TARVChordShapeCoding, ShapesReadWithoutSecureDecodingToo) {
    const auto shape = barreShapeAtFret5();
    TARVKeyedUnarchiver unarchiver(TARVKeyedArchiver::archivedDataWithRootObject(shape));
    unarchiver.setRequiresSecureCoding(false);
    const auto decoded = unarchiver.decodeObjectOfClass<TARVChordShape>("root");
    ASSERT_NE(decoded, nullptr);
    expectSameShape(*decoded, *shape);
}

TEST(TARVChordShapeCoding, IndicatorListHoldingAnotherClassIsRefused) {
    const auto data = handWrittenArchive<TARVChordShape>([](TARVKeyedArchiver& coder) {
        coder.encodeArray(std::vector<SPitch>{*SPitch::pitchWithString("E2")}, "indicators");
    });
    std::string error;
    EXPECT_EQ(decode(data, &error), nullptr);
    EXPECT_NE(error.find("SPitch"), std::string::npos) << error;
}

TEST(TARVChordShapeCoding, IndicatorReferenceOutOfRangeFailsCleanly) {
    std::string error;
    EXPECT_EQ(decode(readArchive("chord-shape-bad-reference.xml"), &error), nullptr);
    EXPECT_NE(error.find("out of range"), std::string::npos) << error;
}

TEST(TARVChordShapeCoding, TruncatedArchiveFailsCleanly) {
    std::string error;
    EXPECT_EQ(decode(readArchive("chord-shape-truncated.archive"), &error), nullptr);
    EXPECT_NE(error.find("damaged or truncated"), std::string::npos) << error;
}

TEST(TARVChordShapeCoding, ArchiveWithDamagedTrailerFailsCleanly) {
    std::string error;
    EXPECT_EQ(decode(readArchive("chord-shape-damaged-trailer.archive"), &error), nullptr);
    EXPECT_NE(error.find("damaged or truncated"), std::string::npos) << error;
}

TEST(TARVChordShapeCoding, PropertyListThatIsNoKeyedArchiveFailsCleanly) {
    std::string error;
    EXPECT_EQ(decode(readArchive("not-a-keyed-archive.plist"), &error), nullptr);
    EXPECT_NE(error.find("not a keyed archive"), std::string::npos) << error;
}

TEST(TARVChordShapeCoding, SharedShapeInAListIsWrittenOnceAndReadBackShared) {
    const auto shape = barreShapeAtFret5();
    const auto data =
        TARVKeyedArchiver::archivedDataWithRootObject(std::vector<TARVChordShapePtr>{shape, shape});
    const auto decoded = TARVKeyedUnarchiver::unarchivedArrayOfObjectsOfClass<TARVChordShape>(data);
    ASSERT_TRUE(decoded.has_value());
    ASSERT_EQ(decoded->size(), 2u);
    EXPECT_EQ((*decoded)[0], (*decoded)[1]);
}

// Golden archive, written by this library. Setting TARV_REGENERATE_GOLDEN rewrites it and the
// damaged copies made from it (see tests/data/archives/README.md).

TEST(TARVChordShapeCoding, GoldenArchiveIsWhatTheLibraryWrites) {
    const auto written = TARVKeyedArchiver::archivedDataWithRootObject(barreShapeAtFret5());
    ASSERT_FALSE(written.empty());
    if (testing::regeneratingGoldenFiles()) {
        const auto directory = testing::archiveDataDirectory();
        testing::writeBytes(directory / "chord-shape-barre-base-fret-5.archive", written);
        const std::vector<std::uint8_t> truncated(
            written.begin(), written.begin() + static_cast<long>(written.size() / 2));
        testing::writeBytes(directory / "chord-shape-truncated.archive", truncated);
        // The last 8 bytes of the trailer locate the offset table; point them past the end.
        auto damaged = written;
        std::fill(damaged.end() - 8, damaged.end(), 0xFF);
        testing::writeBytes(directory / "chord-shape-damaged-trailer.archive", damaged);
        return;
    }
    EXPECT_EQ(readArchive("chord-shape-barre-base-fret-5.archive"), written);
}

TEST(TARVChordShapeCoding, GoldenArchiveReadsBackTheBarreShapeAtBaseFret5) {
    std::string error;
    const auto decoded = decode(readArchive("chord-shape-barre-base-fret-5.archive"), &error);
    ASSERT_NE(decoded, nullptr) << error;
    expectSameShape(*decoded, *barreShapeAtFret5());
    EXPECT_EQ(decoded->indicators().front().description(), "Barre fret:0 start:0 end:5");
}

} // namespace
} // namespace tarv
