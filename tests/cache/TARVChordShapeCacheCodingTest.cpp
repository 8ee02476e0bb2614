#include "TARVCacheTestSupport.hpp"

#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include <gtest/gtest.h>

#include <plist/plist.h>

using namespace tarv;
using tarv::test::ScratchResources;
using tarv::test::tuningDictionary;

namespace {

SChordPtr chord(const char* symbol) {
    return SChord::chordWithString(symbol);
}

TARVChordShapePtr shape(const char* frets, std::uint64_t badness) {
    auto made = TARVChordShape::shapeForFretNumberString(frets);
    made->setBadness(badness);
    return made;
}

std::vector<std::uint8_t> archive(const TARVChordShapeCache& cache) {
    std::string error;
    TARVKeyedArchiver archiver;
    archiver.encodeObject(cache, TARVKeyedArchiveRootObjectKey);
    return archiver.encodedData();
}

std::shared_ptr<TARVChordShapeCache> unarchive(const std::vector<std::uint8_t>& data,
                                               std::string* error = nullptr) {
    return TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVChordShapeCache>(data, error);
}

} // namespace

TEST(TARVChordShapeCacheCoding, ArchivedCacheDecodesWithTheSameKeysShapesAndOrder) {
    ScratchResources resources;
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9), shape("x,3,5,5,5,3", 20), shape("8,10,10,9,8,8", 15)},
                    *chord("C"), *tuning);
    cache.addShapes({shape("x,0,2,2,1,0", 7)}, *chord("Am"), *tuning);
    cache.addShapesFromTuningDictionary(tuningDictionary("EADGBE", "empty", {}), false);

    const auto data = archive(cache);
    ASSERT_FALSE(data.empty());
    std::string error;
    const auto decoded = unarchive(data, &error);
    ASSERT_NE(decoded, nullptr) << error;
    auto keys = decoded->allKeys();
    auto expected = cache.allKeys();
    std::sort(keys.begin(), keys.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(keys, expected);
    for (const auto& key : expected) {
        const auto original = cache.shapesForKey(key);
        const auto restored = decoded->shapesForKey(key);
        ASSERT_NE(restored, nullptr) << key;
        ASSERT_EQ(restored->size(), original->size()) << key;
        for (std::size_t i = 0; i < original->size(); ++i) {
            EXPECT_TRUE((*restored)[i]->isEqual(*(*original)[i]));
            EXPECT_EQ((*restored)[i]->badness(), (*original)[i]->badness());
        }
    }
}

TEST(TARVChordShapeCacheCoding, DecodingMergesTheCuratedShapesOverTheArchive) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9)}, *chord("C"),
                    *SStringedInstrumentTuning::stringedInstrumentTuning());
    const auto data = archive(cache);
    resources.writeCurated(
        nlohmann::json::array({tuningDictionary("EADGBE", "C7/G", {{3, {0, 2, 0, 2, 0, 0}}}),
                               tuningDictionary("EADGBE", "C", {{3, {0, 2, 2, 2, 0, -1}}})})
            .dump());
    const auto decoded = unarchive(data);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->count(), 2u);
    const auto c = decoded->shapesForKey(TARVChordShapeCache::keyForChord(*chord("C"), "EADGBE"));
    ASSERT_EQ(c->size(), 2u);
    // The curated shape is unscored (badness 0) and so sorts first.
    EXPECT_EQ(c->front()->badness(), 0u);
    EXPECT_EQ(c->back()->badness(), 9u);
}

TEST(TARVChordShapeCacheCoding, ArchiveHasTheKeyedArchiverLayout) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9)}, *chord("C"),
                    *SStringedInstrumentTuning::stringedInstrumentTuning());
    const auto data = archive(cache);
    plist_t root = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(data.data()), static_cast<uint32_t>(data.size()),
                   &root);
    ASSERT_NE(root, nullptr);
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &xml, &length);
    const std::string text(xml, length);
    plist_to_xml_free(xml);
    plist_free(root);
    for (const char* expected :
         {"<string>NSKeyedArchiver</string>", "<key>cache</key>",
          "<string>TARVChordShapeCache</string>", "<string>NSMutableDictionary</string>",
          "<string>NSMutableOrderedSet</string>", "<string>TARVChordShape</string>",
          "<key>NS.keys</key>", "<key>NS.objects</key>"}) {
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
    }
}

TEST(TARVChordShapeCacheCoding, MapHoldingAnotherClassIsRefused) {
    ScratchResources resources;
    // A "cache" map whose values are lists of pitches instead of ordered sets of shapes.
    std::map<std::string, std::vector<SPitch>> wrong{
        {"C:EADGBE", {*SPitch::pitchWithString("E2")}}};
    TARVKeyedArchiver archiver;
    archiver.encodeObjectAs<TARVArchiveMap<TARVArchiveList<SPitch>>>(wrong, "cache");
    const auto inner = archiver.encodedData();
    ASSERT_FALSE(inner.empty());
    TARVKeyedUnarchiver unarchiver(inner);
    EXPECT_EQ(TARVChordShapeCache::initWithCoder(unarchiver), nullptr);
    EXPECT_TRUE(unarchiver.error());
}

TEST(TARVChordShapeCacheCoding, ArchiveWithoutACacheMapFails) {
    ScratchResources resources;
    TARVKeyedArchiver archiver;
    archiver.encodeString("nothing", "other");
    const auto data = archiver.encodedData();
    TARVKeyedUnarchiver unarchiver(data);
    EXPECT_EQ(TARVChordShapeCache::initWithCoder(unarchiver), nullptr);
    EXPECT_TRUE(unarchiver.error());
}

TEST(TARVChordShapeCacheCoding, TruncatedArchiveFailsCleanly) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9)}, *chord("C"),
                    *SStringedInstrumentTuning::stringedInstrumentTuning());
    auto data = archive(cache);
    for (std::size_t keep : {std::size_t{0}, data.size() / 3, data.size() - 1}) {
        std::vector<std::uint8_t> truncated(data.begin(),
                                            data.begin() + static_cast<std::ptrdiff_t>(keep));
        std::string error;
        EXPECT_EQ(unarchive(truncated, &error), nullptr);
        EXPECT_FALSE(error.empty());
    }
}
