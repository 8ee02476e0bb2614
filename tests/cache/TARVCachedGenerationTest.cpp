#include "TARVCacheTestSupport.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace tarv;
using tarv::test::ScratchResources;
using tarv::test::tuningDictionary;

namespace {

SChordPtr chord(const char* symbol) {
    return SChord::chordWithString(symbol);
}

SStringedInstrumentTuningConstPtr standard() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

SStringedInstrumentTuningConstPtr fretless() {
    const auto tuning = SStringedInstrumentTuning::stringedInstrumentTuning();
    return SStringedInstrumentTuning::initWithPitches(tuning->stringPitches(), 0, 0, tuning->name(),
                                                      "EADGBE", std::nullopt);
}

} // namespace

TEST(TARVCachedGeneration, MissGeneratesStoresAndAnswersTheCachedList) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const auto generator =
        TARVChordShapeGenerator::initWithChord(chord("C"), standard(), cache, false);
    ASSERT_TRUE(generator->shapes());
    EXPECT_EQ(generator->shapes()->size(), 20u);
    EXPECT_FALSE(generator->stringFretLists().empty());
    const auto cached = cache.shapesForChord(*chord("C"), *standard());
    ASSERT_NE(cached, nullptr);
    EXPECT_EQ(*cached, *generator->shapes());
}

TEST(TARVCachedGeneration, SecondGeneratorIsAnsweredFromTheCacheWithoutGenerating) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const auto first =
        TARVChordShapeGenerator::initWithChord(chord("Am"), standard(), cache, false);
    const auto second =
        TARVChordShapeGenerator::initWithChord(chord("Am"), standard(), cache, false);
    EXPECT_TRUE(second->stringFretLists().empty());
    EXPECT_TRUE(second->shapeSet().empty());
    EXPECT_EQ(*second->shapes(), *first->shapes());
}

TEST(TARVCachedGeneration, ForcingOnAHitRegeneratesAndAnswersTheMergedList) {
    ScratchResources resources;
    resources.writeTuningFile(
        "EADGBE",
        tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}, {3, {0, 2, 2, 2, 0, -1}}}));
    TARVChordShapeCache cache;
    const auto hit = TARVChordShapeGenerator::initWithChord(chord("C"), standard(), cache, false);
    ASSERT_EQ(hit->shapes()->size(), 2u);
    EXPECT_TRUE(hit->stringFretLists().empty());
    const auto forced = TARVChordShapeGenerator::initWithChord(chord("C"), standard(), cache, true);
    EXPECT_FALSE(forced->stringFretLists().empty());
    const auto& shapes = *forced->shapes();
    // The file's two shapes (badness 0) first, then the generated ones not equal to them.
    EXPECT_GE(shapes.size(), 20u);
    EXPECT_LE(shapes.size(), 22u);
    EXPECT_EQ(shapes[0]->badness(), 0u);
    EXPECT_EQ(shapes[1]->badness(), 0u);
    EXPECT_GT(shapes[2]->badness(), 0u);
    EXPECT_EQ(shapes, *cache.shapesCopyForChord(*chord("C"), *standard()));
}

TEST(TARVCachedGeneration, CachedEmptyListStopsGeneration) {
    ScratchResources resources;
    resources.writeCurated(nlohmann::json::array({tuningDictionary("EADGBE", "G", {})}).dump());
    TARVChordShapeCache cache;
    const auto generator =
        TARVChordShapeGenerator::initWithChord(chord("G"), standard(), cache, false);
    ASSERT_TRUE(generator->shapes());
    EXPECT_TRUE(generator->shapes()->empty());
    EXPECT_TRUE(generator->stringFretLists().empty());
}

TEST(TARVCachedGeneration, ChordWithoutShapesLeavesTheCacheAloneAndGeneratesAgain) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const auto first = TARVChordShapeGenerator::initWithChord(chord("C"), fretless(), cache, false);
    EXPECT_FALSE(first->shapes());
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *fretless()), nullptr);
    EXPECT_EQ(cache.count(), 0u);
    const auto second =
        TARVChordShapeGenerator::initWithChord(chord("C"), fretless(), cache, false);
    EXPECT_FALSE(second->shapes());
    EXPECT_FALSE(second->stringFretLists().empty());
}

TEST(TARVCachedGeneration, ForcingWithNothingGeneratedKeepsTheCachedList) {
    ScratchResources resources;
    resources.writeCurated(
        nlohmann::json::array({tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}})})
            .dump());
    TARVChordShapeCache cache;
    const auto forced = TARVChordShapeGenerator::initWithChord(chord("C"), fretless(), cache, true);
    ASSERT_TRUE(forced->shapes());
    EXPECT_EQ(forced->shapes()->size(), 1u);
}

TEST(TARVCachedGeneration, SharedCacheServesTheClassLevelConstructor) {
    ScratchResources resources;
    const auto first = TARVChordShapeGenerator::generatorWithChord(chord("F#m7b5"), standard());
    const auto second = TARVChordShapeGenerator::generatorWithChord(chord("F#m7b5"), standard());
    ASSERT_TRUE(second->shapes());
    EXPECT_EQ(*second->shapes(), *first->shapes());
    EXPECT_TRUE(second->stringFretLists().empty());
}

TEST(TARVCachedGeneration, ManyThreadsGenerateAndLookUpTheSameAndDifferentChords) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const char* symbols[] = {"C", "G", "Am", "F", "D7", "Em", "C", "G"};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 6; ++round) {
                const auto symbol = symbols[(t + round) % 8];
                const auto generator = TARVChordShapeGenerator::initWithChord(
                    chord(symbol), standard(), cache, round % 3 == 2);
                if (!generator->shapes() || generator->shapes()->empty()) {
                    ++failures;
                }
                const auto copy = cache.shapesCopyForChord(*chord(symbol), *standard());
                if (!copy || copy->size() < 20) {
                    ++failures;
                }
                for (std::size_t i = 1; copy && i < copy->size(); ++i) {
                    if ((*copy)[i - 1]->badness() > (*copy)[i]->badness()) {
                        ++failures;
                    }
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(cache.count(), 6u);
}
