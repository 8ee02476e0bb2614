// What the cache does with absent chords and tunings, files that are not what they should be,
// and lookups that run while other threads add.

#include "TARVCacheTestSupport.hpp"

#include "cache/TARVTuningDictionaryReader.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <thread>

using namespace tarv;
using tarv::test::CapturedCacheLog;
using tarv::test::ScratchResources;
using tarv::test::tuningDictionary;

namespace {

SChordPtr chord(const char* symbol) {
    return SChord::chordWithString(symbol);
}

SStringedInstrumentTuningConstPtr standard() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

TARVChordShapePtr shape(const char* frets, std::uint64_t badness) {
    auto made = TARVChordShape::shapeForFretNumberString(frets);
    made->setBadness(badness);
    return made;
}

/// Every key of a cache with the fret texts of its shapes, in order.
std::map<std::string, std::vector<std::string>> contents(TARVChordShapeCache& cache) {
    std::map<std::string, std::vector<std::string>> result;
    for (const std::string& key : cache.allKeys()) {
        auto& shapes = result[key];
        for (const TARVChordShapePtr& held : *cache.shapesForKey(key)) {
            shapes.push_back(held->serializationDictionary().dump());
        }
    }
    return result;
}

} // namespace

// Absent chords and tunings -------------------------------------------------------------------

TEST(TARVCacheRobustness, CachedGenerationOfAnAbsentChordOrTuningAnswersNoGenerator) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const SChordPtr unreadable = SChord::chordWithString("am7");
    ASSERT_EQ(unreadable, nullptr);
    EXPECT_EQ(TARVChordShapeGenerator::generatorWithChord(unreadable, standard()), nullptr);
    EXPECT_EQ(TARVChordShapeGenerator::initWithChord(unreadable, standard(), true), nullptr);
    EXPECT_EQ(TARVChordShapeGenerator::initWithChord(chord("C"), nullptr, cache, false), nullptr);
    EXPECT_EQ(TARVChordShapeGenerator::initWithChord(nullptr, nullptr, cache, true), nullptr);
    EXPECT_EQ(cache.count(), 0u);
}

TEST(TARVCacheRobustness, LookupsAndAdditionsWithAnAbsentChordOrTuningDoNothing) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    const SStringedInstrumentTuningConstPtr noTuning;
    EXPECT_EQ(cache.shapesForChord(SChord::chordWithString("am7"), standard()), nullptr);
    EXPECT_EQ(cache.shapesForChord(chord("C"), noTuning), nullptr);
    cache.addShapes({shape("x,3,2,0,1,0", 1)}, SChordPtr(), standard());
    cache.addShapes({shape("x,3,2,0,1,0", 1)}, chord("C"), noTuning);
    EXPECT_EQ(cache.count(), 0u);
    cache.addShapes({shape("x,3,2,0,1,0", 1)}, chord("C"), standard());
    ASSERT_NE(cache.shapesForChord(chord("C"), standard()), nullptr);
    EXPECT_EQ(cache.shapesForChord(chord("C"), standard())->size(), 1u);
}

TEST(TARVCacheRobustness, LookupOfAKeyWithoutAColonFindsNothingInsteadOfThrowing) {
    ScratchResources resources;
    TARVChordShapeCache cache;
    TARVChordShapeList answer;
    EXPECT_NO_THROW(answer = cache.shapesForKey("no colon"));
    EXPECT_EQ(answer, nullptr);
    EXPECT_FALSE(cache.shapesCopyForKey("no colon"));
}

// Files that are not regular files --------------------------------------------------------------

TEST(TARVCacheRobustness, FolderNamedLikeTheCuratedFileIsSkippedSilently) {
    ScratchResources resources;
    std::filesystem::create_directory(resources.root() / "curatedshapes.json");
    CapturedCacheLog log;
    std::unique_ptr<TARVChordShapeCache> cache;
    ASSERT_NO_THROW(cache = std::make_unique<TARVChordShapeCache>());
    EXPECT_EQ(cache->count(), 0u);
    EXPECT_EQ(log.count("curatedshapes.json"), 0) << log.text();
    // Cached generation goes on as without the file.
    const auto generator =
        TARVChordShapeGenerator::initWithChord(chord("C"), standard(), *cache, false);
    ASSERT_TRUE(generator && generator->shapes());
    EXPECT_FALSE(generator->shapes()->empty());
}

TEST(TARVCacheRobustness, FifoNamedLikeTheCuratedFileDoesNotBlock) {
    ScratchResources resources;
    const auto fifo = resources.root() / "curatedshapes.json";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    auto made = std::async(std::launch::async, [] { return TARVChordShapeCache().count(); });
    const bool finished = made.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    if (!finished) {
        // Let the blocked reader go, so that the test can end and report.
        const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0) {
            ::close(writer);
        }
    }
    EXPECT_TRUE(finished) << "reading a FIFO named curatedshapes.json blocked";
    EXPECT_EQ(made.get(), 0u);
}

// Compressed bombs --------------------------------------------------------------------------------

TEST(TARVCacheRobustness, DecompressionStopsAtItsLimit) {
    const std::vector<std::uint8_t> zeros(1 << 20, 0);
    const auto compressed = compressedData(zeros);
    ASSERT_TRUE(compressed);
    EXPECT_FALSE(decompressedData(*compressed, (1 << 20) - 1));
    const auto whole = decompressedData(*compressed, 1 << 20);
    ASSERT_TRUE(whole);
    EXPECT_EQ(*whole, zeros);
}

TEST(TARVCacheRobustness, PerTuningFileExpandingBeyondItsLimitIsLoggedAndSkipped) {
    ScratchResources resources;
    // 65 MiB of spaces: a few dozen kilobytes compressed, beyond what a shape file may expand to.
    const std::vector<std::uint8_t> spaces(std::size_t{65} << 20, ' ');
    const auto bomb = compressedData(spaces);
    ASSERT_TRUE(bomb);
    ASSERT_LT(bomb->size(), std::size_t{1} << 20);
    ScratchResources::writeBytes(resources.tuningFilePath("EADGBE"), *bomb);
    TARVChordShapeCache cache;
    CapturedCacheLog log;
    EXPECT_EQ(cache.shapesForChord(*chord("C"), *standard()), nullptr);
    EXPECT_EQ(log.count("[error] Unable to decompress shape cache file file://"), 1) << log.text();
    EXPECT_EQ(cache.count(), 0u);
}

// Both readers of tuning dictionaries follow one rule ------------------------------------------

namespace {

/// What the reader of files makes of `text`: its keys and shapes, or nothing.
std::optional<std::map<std::string, std::vector<std::string>>> readAsFile(const std::string& text) {
    ScratchResources resources;
    resources.writeTuningFile("EADGBE", nlohmann::json());
    const auto compressed =
        compressedData(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    ScratchResources::writeBytes(resources.tuningFilePath("EADGBE"), *compressed);
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    CapturedCacheLog log;
    cache.loadShapesForNoteString("EADGBE");
    if (log.count("Unable to expand json data") > 0) {
        return std::nullopt;
    }
    return contents(cache);
}

/// What the reader of JSON trees makes of `text`.
std::optional<std::map<std::string, std::vector<std::string>>> readAsTree(const std::string& text) {
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    try {
        cache.addShapesFromTuningDictionary(nlohmann::json::parse(text), false);
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
    return contents(cache);
}

} // namespace

TEST(TARVCacheRobustness, TreeAndFileReadersAgreeOnDuplicateKeysAndOddNumbers) {
    const std::string head =
        R"({"asciiNoteString": "EADGBE", "chords": [{"name": "C", "shapes": [)";
    const std::string tail = "]}]}";
    struct Case {
        std::string shapes;
        bool accepted;
    };
    const Case cases[] = {
        // A key given twice counts with its last value.
        {R"({"fret": "x", "fret": 0, "indicators": [-1, 3, 2, 0, 1, 0]})", true},
        {R"({"fret": 0, "indicators": ["a"], "indicators": [-1, 3, 2, 0, 1, 0]})", true},
        {R"({"fret": 0, "indicators": [-1, 3, 2, 0, 1, 0], "indicators": 5})", false},
        {R"({"fret": 0, "indicators": [-1, 3, 2, 0, 1, 0], "fret": null})", false},
        // Numbers beyond 64 bits are of the wrong form; fractions are truncated.
        {R"({"fret": 0, "indicators": [66666666666666666662]})", false},
        {R"({"fret": 1e300, "indicators": [0]})", false},
        {R"({"fret": -9223372036854775808, "indicators": [18446744073709551615, 2.9, -0.5]})",
         true},
        // Lists and maps where the other belongs.
        {R"({"fret": 0, "indicators": {"a": 1}})", false},
        {R"({"fret": 0, "indicators": 3})", false},
        {R"([0])", false},
    };
    for (const Case& c : cases) {
        const std::string text = head + c.shapes + tail;
        const auto fromFile = readAsFile(text);
        const auto fromTree = readAsTree(text);
        EXPECT_EQ(fromFile.has_value(), c.accepted) << text;
        EXPECT_EQ(fromTree.has_value(), c.accepted) << text;
        EXPECT_EQ(fromFile, fromTree) << text;
    }
    // A later "shapes" or "chords" replaces an earlier one, also when the earlier is malformed.
    for (const std::string& text : {
             std::string(R"({"asciiNoteString": "EADGBE", "chords": [{"name": "C", "shapes": )"
                         R"([{"fret": "bad"}], "shapes": [{"fret": 0, "indicators": [0, 1]}]}]})"),
             std::string(R"({"chords": 7, "asciiNoteString": "EADGBE", "chords": [{"name": "C", )"
                         R"("shapes": []}], "asciiNoteString": "EADG"})"),
             std::string(R"({"asciiNoteString": "EADGBE", "chords": [{"name": "C", "shapes": []}],)"
                         R"( "chords": [{"name": "D", "shapes": []}]})"),
         }) {
        const auto fromFile = readAsFile(text);
        const auto fromTree = readAsTree(text);
        ASSERT_TRUE(fromTree) << text;
        EXPECT_EQ(fromFile, fromTree) << text;
    }
}

TEST(TARVCacheRobustness, CuratedListThatIsNotAListIsOfTheWrongForm) {
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    EXPECT_THROW(cache.addShapesFromJSONDataArray(
                     tuningDictionary("EADGBE", "C", {{0, {-1, 3, 2, 0, 1, 0}}}), false),
                 nlohmann::json::exception);
    EXPECT_EQ(cache.count(), 0u);
}

// Keyed archives of the cache ---------------------------------------------------------------------

namespace {

/// Writes a cache archive whose "cache" map holds the given keys, each with one shape.
struct ForgedCache {
    std::vector<std::string> keys;

    static const TARVArchiveClass& archiveClass() noexcept {
        return TARVChordShapeCache::archiveClass();
    }
    void encodeWithCoder(TARVKeyedArchiver& coder) const {
        std::map<std::string, std::vector<TARVChordShapePtr>> entries;
        for (const std::string& key : keys) {
            entries[key] = {shape("x,3,2,0,1,0", 1)};
        }
        coder.encodeObjectAs<TARVArchiveMutableMap<TARVArchiveMutableOrderedSet<TARVChordShape>>>(
            entries, "cache");
    }
    static std::optional<ForgedCache> initWithCoder(TARVKeyedUnarchiver&) { return std::nullopt; }
};

std::shared_ptr<TARVChordShapeCache> decodedCache(const std::vector<std::uint8_t>& data,
                                                  std::string& error) {
    error.clear();
    return TARVKeyedUnarchiver::unarchivedObjectOfClass<TARVChordShapeCache>(data, &error);
}

} // namespace

TEST(TARVCacheRobustness, ArchivedCacheWithAKeyWithoutAColonIsRefused) {
    ScratchResources resources;
    const auto data = TARVKeyedArchiver::archivedDataWithRootObjectAs<ForgedCache>(
        ForgedCache{{"0,4,7:EADGBE", "no colon"}});
    ASSERT_FALSE(data.empty());
    std::string error;
    const auto cache = decodedCache(data, error);
    EXPECT_EQ(cache, nullptr);
    EXPECT_NE(error.find("\":\""), std::string::npos) << error;
    // One with well-formed keys still decodes, and writes out.
    const auto good = decodedCache(
        TARVKeyedArchiver::archivedDataWithRootObjectAs<ForgedCache>(ForgedCache{{"0,4,7:EADGBE"}}),
        error);
    ASSERT_NE(good, nullptr) << error;
    EXPECT_NO_THROW((void)good->serializationArray().dump());
}

// Lookups while other threads add -----------------------------------------------------------------

TEST(TARVCacheRobustness, AnswersAreSafeToReadWhileEightThreadsAdd) {
    ScratchResources resources;
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    const auto tuning = standard();
    const auto c = chord("C");
    cache.addShapes({shape("x,3,2,0,1,0", 1000)}, *c, *tuning);
    constexpr int kAdders = 8;
    constexpr int kRounds = 40;
    std::atomic<int> addersDone{0};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kAdders; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                // Shapes of their own: each thread builds and hands over new shape objects.
                const int fret = 1 + (t * kRounds + round) % 200;
                auto made = TARVChordShape::shapeFromIndicatorArray(
                    std::vector<TARVFretIndicator>{
                        TARVFretIndicator(0, 0),
                        TARVFretIndicator(static_cast<std::int8_t>(1 + round % 3), 1),
                        TARVFretIndicator(2, 2)},
                    static_cast<std::uint8_t>(fret));
                made->setBadness(static_cast<std::uint64_t>(t * kRounds + round));
                cache.addShapes({made}, *c, *tuning);
            }
            ++addersDone;
        });
    }
    for (int r = 0; r < 2; ++r) {
        threads.emplace_back([&] {
            while (addersDone.load() < kAdders) {
                const TARVChordShapeList view = cache.shapesForChord(*c, *tuning);
                if (!view || view->empty()) {
                    ++failures;
                    continue;
                }
                // Read every shape of the answer, in full, while the additions go on.
                std::uint64_t previous = 0;
                for (const TARVChordShapePtr& held : *view) {
                    if (held->badness() < previous || held->indicators().empty() ||
                        held->hash() == 0) {
                        ++failures;
                    }
                    previous = held->badness();
                    (void)held->reach();
                    (void)held->baseFret();
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    const auto all = cache.shapesForChord(*c, *tuning);
    ASSERT_NE(all, nullptr);
    EXPECT_GT(all->size(), 200u);
}
