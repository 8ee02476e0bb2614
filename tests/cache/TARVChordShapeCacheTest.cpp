#include "TARVCacheTestSupport.hpp"

#include "tarv/generation/TARVChordShapeScorer.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace tarv;
using tarv::test::CapturedCacheLog;
using tarv::test::ScratchResources;
using tarv::test::tuningDictionary;

namespace {

SChordPtr chord(const char* symbol) {
    return SChord::chordWithString(symbol);
}

SStringedInstrumentTuningPtr standard() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

SStringedInstrumentTuningPtr bass() {
    std::vector<SPitch> pitches;
    for (const char* text : {"G2", "D2", "A1", "E1"}) {
        pitches.push_back(*SPitch::pitchWithString(text));
    }
    return SStringedInstrumentTuning::initWithPitches(pitches, 20, 0, TARVMakeSharedText("Bass"),
                                                      "EADG", std::nullopt);
}

TARVChordShapePtr shape(const char* frets, std::uint64_t badness) {
    auto made = TARVChordShape::shapeForFretNumberString(frets);
    made->setBadness(badness);
    return made;
}

std::vector<std::uint64_t> badnesses(const std::vector<TARVChordShapePtr>& shapes) {
    std::vector<std::uint64_t> result;
    for (const auto& s : shapes) {
        result.push_back(s->badness());
    }
    return result;
}

const std::string kCMajorKey = "0|047|047|:EADGBE";

} // namespace

// Keys --------------------------------------------------------------------------------------------

TEST(TARVChordShapeCache, KeyJoinsTheChordValueAndTheAsciiNoteString) {
    EXPECT_EQ(TARVChordShapeCache::keyForChord(*chord("C"), *standard()),
              chord("C")->numericNoteStringValue() + ":EADGBE");
    EXPECT_EQ(TARVChordShapeCache::keyForChord(*chord("C#m"), "E-A-D-G-B-E-"),
              TARVChordShapeCache::keyForChord(*chord("Dbm"), "E-A-D-G-B-E-"));
    EXPECT_EQ(TARVChordShapeCache::keyWithChordName("My Chord", "EADG"), "My Chord:EADG");
}

TEST(TARVChordShapeCache, ElementsFromKeySplitsAtTheColons) {
    const auto elements = TARVChordShapeCache::elementsFromKey("name:EADGBE");
    EXPECT_EQ(elements.size(), 2u);
    EXPECT_EQ(elements.at("name"), "name");
    EXPECT_EQ(elements.at("asciiNoteString"), "EADGBE");
    // A chord part holding ":" gives a wrong note string; such keys are not made by the library.
    EXPECT_EQ(TARVChordShapeCache::elementsFromKey("a:b:EADGBE").at("asciiNoteString"), "b");
    EXPECT_EQ(TARVChordShapeCache::elementsFromKey("C:").at("asciiNoteString"), "");
}

TEST(TARVChordShapeCache, KeyWithoutAColonIsARangeError) {
    EXPECT_THROW((void)TARVChordShapeCache::elementsFromKey("no colon"), std::out_of_range);
}

// Lookups -----------------------------------------------------------------------------------------

TEST(TARVChordShapeCache, LookupWithoutATuningFileMissesAndSearchesAgainNextTime) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard()), nullptr);
    // The miss is not remembered: a file that appears afterwards is found by the next lookup.
    resources.writeTuningFile("EADGBE",
                              tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}}));
    const auto shapes = cache.shapesForChord(*chord("C"), *standard());
    ASSERT_NE(shapes, nullptr);
    ASSERT_EQ(shapes->size(), 1u);
    EXPECT_EQ(shapes->front()->badness(), 0u);
}

TEST(TARVChordShapeCache, MissLoadsTheWholeTuningFile) {
    ScratchResources resources;
    auto dictionary = tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}});
    dictionary["chords"].push_back(
        {{"name", "Am"}, {"shapes", {{{"fret", 0}, {"indicators", {0, 1, 2, 2, 0, -1}}}}}});
    dictionary["chords"].push_back({{"name", "not a chord"}, {"shapes", nlohmann::json::array()}});
    resources.writeTuningFile("EADGBE", dictionary);
    TARVChordShapeCache cache;
    EXPECT_EQ(cache.count(), 0u);
    EXPECT_EQ(cache.shapesForChord(*chord("G"), *standard()), nullptr);
    EXPECT_EQ(cache.count(), 3u);
    EXPECT_NE(cache.shapesForChord(*chord("Am"), *standard()), nullptr);
    EXPECT_NE(cache.shapesForKey("not a chord:EADGBE"), nullptr);
}

TEST(TARVChordShapeCache, KeysComeFromTheFilesOwnNoteString) {
    ScratchResources resources;
    resources.writeTuningFile("EADGBE", tuningDictionary("DADGAD", "D", {{0, {0, 3, 2, 0, 0, 0}}}));
    TARVChordShapeCache cache;
    EXPECT_EQ(cache.shapesForChord(*chord("D"), *standard()), nullptr);
    EXPECT_NE(cache.shapesForKey(TARVChordShapeCache::keyForChord(*chord("D"), "DADGAD")), nullptr);
}

TEST(TARVChordShapeCache, ChordWithNoShapesMakesAnEmptyEntryFoundWithoutAnyFile) {
    ScratchResources resources;
    resources.writeCurated(nlohmann::json::array({tuningDictionary("EADGBE", "C", {})}).dump());
    auto other = tuningDictionary("EADGBE", "G", {{0, {3, 0, 0, 0, 2, 3}}});
    resources.writeTuningFile("EADGBE", other);
    TARVChordShapeCache cache;
    ASSERT_EQ(cache.count(), 1u);
    const auto shapes = cache.shapesForChord(*chord("C"), *standard());
    ASSERT_NE(shapes, nullptr);
    EXPECT_TRUE(shapes->empty());
    // The tuning file was not read: G is still unknown until a lookup misses.
    EXPECT_EQ(cache.count(), 1u);
}

TEST(TARVChordShapeCache, AnAnswerStaysAsGivenWhileLaterLookupsSeeAdditions) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 50)}, *chord("C"), *standard());
    const auto first = cache.shapesForChord(*chord("C"), *standard());
    ASSERT_EQ(first->size(), 1u);
    const TARVChordShapePtr held = (*first)[0];
    cache.addShapes({shape("x,3,5,5,5,3", 10)}, *chord("C"), *standard());
    // The first answer is a snapshot: the addition made a new one and left it untouched.
    ASSERT_EQ(first->size(), 1u);
    EXPECT_EQ((*first)[0], held);
    const auto second = cache.shapesForChord(*chord("C"), *standard());
    EXPECT_EQ(badnesses(*second), (std::vector<std::uint64_t>{10, 50}));
    const auto copy = cache.shapesCopyForChord(*chord("C"), *standard());
    ASSERT_TRUE(copy);
    cache.addShapes({shape("8,10,10,9,8,8", 30)}, *chord("C"), *standard());
    EXPECT_EQ(copy->size(), 2u);
    EXPECT_EQ(second->size(), 2u);
    EXPECT_EQ(badnesses(*cache.shapesForChord(*chord("C"), *standard())),
              (std::vector<std::uint64_t>{10, 30, 50}));
}

// Additions ---------------------------------------------------------------------------------------

TEST(TARVChordShapeCache, AddingNothingForANewKeyStoresNothingAndLogs) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    CapturedCacheLog log;
    cache.addShapes({}, *chord("C"), *standard());
    EXPECT_EQ(log.count("[error] Trying to Add 0 shapes for key " + kCMajorKey), 1) << log.text();
    EXPECT_EQ(log.count("[info] using key " + kCMajorKey + " for chord "), 1) << log.text();
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard()), nullptr);
    EXPECT_EQ(cache.count(), 0u);
}

TEST(TARVChordShapeCache, AddingNothingToAnEntryKeepsItWithoutTheMessage) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9)}, *chord("C"), *standard());
    CapturedCacheLog log;
    cache.addShapes({}, *chord("C"), *standard());
    EXPECT_EQ(log.count("Trying to Add 0 shapes"), 0);
    EXPECT_EQ(log.count("using key"), 1);
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard())->size(), 1u);
}

TEST(TARVChordShapeCache, EqualShapesAreNotAddedTwiceAndEntriesStaySorted) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 40), shape("x,3,5,5,5,3", 20), shape("x,3,2,0,1,0", 5)},
                    *chord("C"), *standard());
    auto shapes = cache.shapesForChord(*chord("C"), *standard());
    EXPECT_EQ(badnesses(*shapes), (std::vector<std::uint64_t>{20, 40}));
    cache.addShapes({shape("x,3,5,5,5,3", 1), shape("8,10,10,9,8,8", 30), shape("x,x,10,9,8,8", 2)},
                    *chord("C"), *standard());
    shapes = cache.shapesForChord(*chord("C"), *standard());
    EXPECT_EQ(badnesses(*shapes), (std::vector<std::uint64_t>{2, 20, 30, 40}));
}

TEST(TARVChordShapeCache, ClearingRemovesCuratedEntriesForGood) {
    ScratchResources resources;
    resources.writeCurated(
        nlohmann::json::array({tuningDictionary("EADGBE", "C7/G", {{3, {0, 2, 0, 2, 0, 0}}})})
            .dump());
    TARVChordShapeCache cache;
    ASSERT_NE(cache.shapesForChord(*chord("C7/G"), *standard()), nullptr);
    cache.clearCache();
    EXPECT_EQ(cache.count(), 0u);
    EXPECT_EQ(cache.shapesForChord(*chord("C7/G"), *standard()), nullptr);
}

// Files -------------------------------------------------------------------------------------------

TEST(TARVChordShapeCache, CuratedShapesAreMergedUnscoredAtConstruction) {
    ScratchResources resources;
    resources.writeCurated(
        nlohmann::json::array(
            {
                tuningDictionary("EADGBE", "C",
                                 {{0, {0, 1, 0, 2, 3, -1}}, {2, {0, 0, 1, 2, 2, 0}}}),
                tuningDictionary("EADG", "E5", {{0, {-1, 2, 2, 0}}}),
            })
            .dump());
    TARVChordShapeCache cache;
    EXPECT_EQ(cache.count(), 2u);
    const auto shapes = cache.shapesForChord(*chord("C"), *standard());
    ASSERT_EQ(shapes->size(), 2u);
    EXPECT_EQ(badnesses(*shapes), (std::vector<std::uint64_t>{0, 0}));
    // File order is kept among equal badness.
    EXPECT_EQ(shapes->front()->baseFret(), 0);
    EXPECT_EQ(shapes->back()->baseFret(), 2);
    // The barre rule runs on shapes read back: 0,0,1,2,2,0 at base fret 2 folds into a barre.
    EXPECT_TRUE(shapes->back()->indicators().front().isBarre());
    EXPECT_NE(cache.shapesForChord(*chord("E5"), *bass()), nullptr);
}

TEST(TARVChordShapeCache, CuratedFileWithASyntaxErrorIsLoggedAndLeavesTheCacheEmpty) {
    ScratchResources resources;
    resources.writeCurated("[{\"asciiNoteString\": \"EADGBE\", \"chords\": [}");
    CapturedCacheLog log;
    TARVChordShapeCache cache;
    EXPECT_EQ(log.count("[error] Unable to load curatedshapes.json: "), 1) << log.text();
    EXPECT_EQ(cache.count(), 0u);
}

TEST(TARVChordShapeCache, CuratedFileOfTheWrongFormIsLoggedAndMergesNothing) {
    ScratchResources resources;
    resources.writeCurated(
        nlohmann::json::array({tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}}),
                               {{"asciiNoteString", "EADGBE"}, {"chords", "not a list"}}})
            .dump());
    CapturedCacheLog log;
    TARVChordShapeCache cache;
    EXPECT_EQ(log.count("Unable to load curatedshapes.json: "), 1);
    EXPECT_EQ(cache.count(), 0u);
}

TEST(TARVChordShapeCache, MissingCuratedFileIsSilent) {
    ScratchResources resources;
    CapturedCacheLog log;
    TARVChordShapeCache cache;
    EXPECT_EQ(cache.count(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST(TARVChordShapeCache, PlainJsonTuningFileCannotBeDecompressed) {
    ScratchResources resources;
    ScratchResources::writeText(resources.tuningFilePath("EADGBE"),
                                tuningDictionary("EADGBE", "C", {}).dump());
    TARVChordShapeCache cache;
    CapturedCacheLog log;
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard()), nullptr);
    EXPECT_EQ(log.count("[error] Unable to decompress shape cache file file://" +
                        resources.tuningFilePath("EADGBE").string()),
              1)
        << log.text();
    EXPECT_EQ(cache.count(), 0u);
}

TEST(TARVChordShapeCache, CompressedFileThatIsNotJsonIsLogged) {
    ScratchResources resources;
    const std::string text = "{\"asciiNoteString\": ";
    ScratchResources::writeBytes(
        resources.tuningFilePath("EADGBE"),
        *compressedData(
            std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())));
    TARVChordShapeCache cache;
    CapturedCacheLog log;
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard()), nullptr);
    EXPECT_EQ(log.count("[error] Unable to expand json data from decompressing shape cache file "
                        "file://"),
              1)
        << log.text();
}

TEST(TARVChordShapeCache, ComputedScoresUseSixStringsInEveryTuning) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapesFromTuningDictionary(
        tuningDictionary("EADG", "E5", {{0, {-1, 2, 2, 0}}, {5, {0, 2, 2, 0}}}), true);
    const auto shapes = cache.shapesForChord(*chord("E5"), *bass());
    ASSERT_EQ(shapes->size(), 2u);
    for (const auto& s : *shapes) {
        EXPECT_EQ(s->badness(), TARVChordShapeScorer::scoreForShape(*s, 6));
        EXPECT_NE(s->badness(), TARVChordShapeScorer::scoreForShape(*s, 4));
    }
    EXPECT_LE(shapes->front()->badness(), shapes->back()->badness());
}

TEST(TARVChordShapeCache, JsonDataArrayMergesEveryDictionaryInOrder) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapesFromJSONDataArray(
        nlohmann::json::array(
            {tuningDictionary("EADGBE", "C", {{0, {0, 1, 0, 2, 3, -1}}}),
             tuningDictionary("EADGBE", "C",
                              {{0, {0, 1, 0, 2, 3, -1}}, {3, {0, 2, 2, 2, 0, -1}}})}),
        false);
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard())->size(), 2u);
}

TEST(TARVChordShapeCache, SerializationArrayWritesEveryEntryAndReadsBackTheSameKeys) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    cache.addShapes({shape("x,3,2,0,1,0", 9), shape("x,3,5,5,5,3", 20)}, *chord("C"), *standard());
    cache.addShapes({shape("0,2,2,x", 3)}, *chord("E5"), *bass());
    cache.addShapesFromTuningDictionary(tuningDictionary("EADGBE", "my own name", {}), false);
    const auto array = cache.serializationArray();
    ASSERT_EQ(array.size(), 2u);

    TARVChordShapeCache copy;
    copy.clearCache();
    copy.addShapesFromJSONDataArray(array, false);
    auto keys = copy.allKeys();
    auto expected = cache.allKeys();
    std::sort(keys.begin(), keys.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(keys, expected);
    const auto shapes = copy.shapesForChord(*chord("C"), *standard());
    ASSERT_EQ(shapes->size(), 2u);
    EXPECT_TRUE(shapes->front()->isEqual(*cache.shapesForChord(*chord("C"), *standard())->front()));
    EXPECT_TRUE(copy.shapesForKey("my own name:EADGBE")->empty());
}

TEST(TARVChordShapeCache, SharedInstanceIsOneObject) {
    EXPECT_EQ(&TARVChordShapeCache::sharedInstance(), &TARVChordShapeCache::sharedInstance());
    EXPECT_TRUE(TARVChordShapeCache::supportsSecureCoding());
}
