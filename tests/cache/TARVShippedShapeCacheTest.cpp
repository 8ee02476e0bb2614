// The shape cache files and the curated shapes file that the library ships in resources/.

#include "TARVCacheTestSupport.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace tarv;
using tarv::test::ScratchResources;

namespace {

const std::filesystem::path kResources = std::filesystem::path(TARV_SOURCE_DIR) / "resources";
const std::filesystem::path kWellKnownShapes =
    std::filesystem::path(TARV_SHARED_DATA_DIR) / "chord-shapes";

struct ShippedTuning {
    const char* pitches; // lowest string first, as players write them
    std::uint8_t fretCount;
    double scaleLength; // millimetres
    /// By string number (string 0 is the last of `pitches`): the fret a string starts at.
    std::vector<std::uint8_t> stringStartFrets = {};
};

const std::vector<ShippedTuning> kShippedTunings{
    {"E2 A2 D3 G3 B3 E4", 22, 648},
    {"D2 A2 D3 G3 B3 E4", 22, 648},
    {"D2 A2 D3 G3 A3 D4", 22, 648},
    {"D2 G2 D3 G3 B3 D4", 22, 648},
    {"D2 A2 D3 F#3 A3 D4", 22, 648},
    {"Eb2 Ab2 Db3 Gb3 Bb3 Eb4", 22, 648},
    {"B1 E2 A2 D3 G3 B3 E4", 24, 648},
    {"E1 A1 D2 G2", 20, 864},
    {"B0 E1 A1 D2 G2", 24, 864},
    {"G4 C4 E4 A4", 18, 350},
    {"A4 D4 F#4 B4", 18, 350},
    {"D3 G3 B3 E4", 18, 480},
    {"G3 D4 A4 E5", 20, 350},
    {"G4 D3 G3 B3 D4", 22, 670, {0, 0, 0, 0, 5}}, // banjo: the short fifth string
};

void PrintTo(const ShippedTuning& shipped, std::ostream* stream) {
    *stream << shipped.pitches;
}

/// Served by the file of a tuning above with the same note string.
const ShippedTuning kLowGUkulele{"G3 C4 E4 A4", 18, 350};

SStringedInstrumentTuningPtr tuningFor(const ShippedTuning& shipped) {
    std::vector<SPitch> pitches;
    std::istringstream words(shipped.pitches);
    std::string word;
    while (words >> word) {
        pitches.insert(pitches.begin(), *SPitch::pitchWithString(word));
    }
    return SStringedInstrumentTuning::initWithPitches(
        pitches, shipped.fretCount, 0, TARVMakeSharedText("Shipped"), "", std::nullopt);
}

const ShippedTuning& shippedTuning(const char* pitches) {
    for (const ShippedTuning& shipped : kShippedTunings) {
        if (std::string(shipped.pitches) == pitches) {
            return shipped;
        }
    }
    throw std::invalid_argument(pitches);
}

SStringedInstrumentTuningPtr tuningFor(const char* pitches) {
    return tuningFor(shippedTuning(pitches));
}

TARVPlayableOptions optionsFor(const ShippedTuning& shipped) {
    TARVPlayableOptions options;
    options.scaleLength = shipped.scaleLength;
    options.stringStartFrets = shipped.stringStartFrets;
    return options;
}

std::string readText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The tuning dictionary of a shipped file, or null when it does not decode.
nlohmann::json shippedDictionary(const SStringedInstrumentTuning& tuning) {
    const std::string bytes =
        readText(kResources / "shapecaches" / (tuning.asciiNoteString() + ".shapecache"));
    const auto text = decompressedData(
        std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    if (bytes.empty() || !text) {
        return nullptr;
    }
    return nlohmann::json::parse(text->begin(), text->end(), nullptr, false);
}

/// The keys of every chord of the catalogue: 12 roots with every quality, and the major and minor
/// triads over their third and fifth.
std::set<std::string> catalogueChordValues() {
    static const char* const kRoots[12] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                           "F#", "G",  "Ab", "A",  "Bb", "B"};
    std::set<std::string> values;
    const auto add = [&](const std::string& symbol) {
        const SChordPtr chord = SChord::chordWithString(symbol);
        EXPECT_NE(chord, nullptr) << symbol;
        if (chord) {
            values.insert(chord->numericNoteStringValue());
        }
    };
    for (int root = 0; root < 12; ++root) {
        for (const std::string& quality : SChord::supportedQualities()) {
            add(kRoots[root] + quality);
        }
        const std::string name = kRoots[root];
        add(name + "/" + kRoots[(root + 4) % 12]);
        add(name + "/" + kRoots[(root + 7) % 12]);
        add(name + "m/" + kRoots[(root + 3) % 12]);
        add(name + "m/" + kRoots[(root + 7) % 12]);
    }
    return values;
}

/// The shapes of a chord object, as the cache reads them.
std::vector<TARVChordShapePtr> shapesOf(const nlohmann::json& chordObject,
                                        const std::string& noteString) {
    TARVChordShapeCache cache(TARVChordShapeCache::Unloaded{});
    cache.addShapesFromTuningDictionary(
        {{"asciiNoteString", noteString}, {"chords", nlohmann::json::array({chordObject})}}, false);
    const std::vector<std::string> keys = cache.allKeys();
    if (keys.size() != 1) {
        return {};
    }
    return *cache.shapesCopyForKey(keys.front());
}

/// Makes the source tree's resources the library's resource directory while it lives.
class ShippedResources {
public:
    ShippedResources() {
        if (const char* previous = std::getenv("TARV_GUITAR_RESOURCE_DIR")) {
            _previous = previous;
        }
        ::setenv("TARV_GUITAR_RESOURCE_DIR", kResources.c_str(), 1);
    }
    ~ShippedResources() {
        if (_previous) {
            ::setenv("TARV_GUITAR_RESOURCE_DIR", _previous->c_str(), 1);
        } else {
            ::unsetenv("TARV_GUITAR_RESOURCE_DIR");
        }
    }
    ShippedResources(const ShippedResources&) = delete;
    ShippedResources& operator=(const ShippedResources&) = delete;

private:
    std::optional<std::string> _previous;
};

/// The first shape that the cached entry answers for `symbol` in `tuning`, read from the
/// shipped file into a cache of its own.
TARVChordShapePtr firstShippedShape(const char* symbol,
                                    const SStringedInstrumentTuningPtr& tuning) {
    const ShippedResources resources;
    TARVChordShapeCache cache(TARVChordShapeCache::Unloaded{});
    const TARVChordShapeGeneratorPtr generator = TARVChordShapeGenerator::initWithChord(
        SChord::chordWithString(symbol), tuning, cache, false);
    if (!generator->shapes() || generator->shapes()->empty()) {
        return nullptr;
    }
    return generator->shapes()->front();
}

/// `frets` (string 0 last: "x,3,2,0,1,0") is the first shape of `symbol` in `tuning`.
void expectFirstShape(const char* symbol, const char* pitches, const std::string& frets) {
    const TARVChordShapePtr first = firstShippedShape(symbol, tuningFor(pitches));
    ASSERT_NE(first, nullptr) << symbol << " in " << pitches;
    EXPECT_TRUE(first->isEqual(*TARVChordShape::shapeForFretNumberString(frets)))
        << symbol << " in " << pitches << ": " << first->description();
    EXPECT_EQ(first->badness(), 0U);
}

/// Whether the generator knows the neck: it takes every string to start at the nut.
bool generatorKnowsTheNeck(const TARVPlayableOptions& options) {
    return std::all_of(options.stringStartFrets.begin(), options.stringStartFrets.end(),
                       [](std::uint8_t fret) { return fret == 0; });
}

/// Whether `shape` is a voicing of `chord`: the playable search allows it, or the generator holds
/// it valid where it knows the neck.
bool playsChord(const TARVChordShape& shape, const SChordPtr& chord,
                const SStringedInstrumentTuningPtr& tuning, const TARVPlayableOptions& options) {
    const std::vector<std::int8_t> frets =
        TARVPlayableShapes::fretsForChordShape(shape, tuning->stringCount());
    return TARVPlayableShapes::isAllowed(frets, chord, tuning, options) ||
           (generatorKnowsTheNeck(options) &&
            TARVChordShapeGenerator::initUncachedWithChord(chord, tuning)
                ->isValidChordShape(shape));
}

/// The well-known shapes that the shape files list for `shipped`, by chord value, in the files'
/// order.
std::map<std::string, std::vector<TARVChordShapePtr>>
wellKnownShapes(const ShippedTuning& shipped) {
    std::vector<std::int32_t> pitches;
    std::istringstream words(shipped.pitches);
    std::string word;
    while (words >> word) {
        pitches.push_back(SPitch::pitchWithString(word)->absoluteSemitone());
    }
    std::map<std::string, std::vector<TARVChordShapePtr>> shapes;
    for (const auto& entry : std::filesystem::directory_iterator(kWellKnownShapes)) {
        const nlohmann::json file = nlohmann::json::parse(readText(entry.path()));
        std::vector<std::int32_t> listed;
        for (const nlohmann::json& pitch : file.at("tuning")) {
            listed.push_back(SPitch::pitchWithString(pitch.get<std::string>())->absoluteSemitone());
        }
        if (listed != pitches) {
            continue;
        }
        for (const nlohmann::json& listedChord : file.at("chords")) {
            const SChordPtr chord =
                SChord::chordWithString(listedChord.at("name").get<std::string>());
            std::vector<std::int64_t> frets = listedChord.at("frets_abs");
            const bool fits = std::all_of(frets.begin(), frets.end(), [&](std::int64_t fret) {
                return fret >= -1 && fret <= shipped.fretCount;
            });
            if (!chord || !fits ||
                std::count(frets.begin(), frets.end(), -1) == std::ssize(frets)) {
                continue;
            }
            std::reverse(frets.begin(), frets.end()); // string 0 first
            shapes[chord->numericNoteStringValue()].push_back(
                TARVChordShape::shapeForFretNumberArray(frets));
        }
    }
    return shapes;
}

void addOnce(std::vector<TARVChordShapePtr>& shapes, const TARVChordShapePtr& shape) {
    if (std::none_of(shapes.begin(), shapes.end(),
                     [&](const auto& held) { return held->isEqual(*shape); })) {
        shapes.push_back(shape);
    }
}

/// What a shipped file holds for `chord`: its well-known shapes that play it, then the playable
/// ranking's shapes in their order (the generated ones where the ranking finds none and the
/// generator knows the neck), each once.
std::vector<TARVChordShapePtr> expectedShapes(const SChordPtr& chord, const ShippedTuning& shipped,
                                              const std::vector<TARVChordShapePtr>& wellKnown) {
    const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
    const TARVPlayableOptions options = optionsFor(shipped);
    std::vector<TARVChordShapePtr> shapes;
    for (const TARVChordShapePtr& shape : wellKnown) {
        if (playsChord(*shape, chord, tuning, options)) {
            addOnce(shapes, shape);
        }
    }
    const std::vector<TARVPlayableShape> ranked =
        TARVPlayableShapes::shapesForChord(chord, tuning, options);
    for (const TARVPlayableShape& shape : ranked) {
        addOnce(shapes, shape.chordShape());
    }
    if (ranked.empty() && generatorKnowsTheNeck(options)) {
        const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
        if (generator->shapes()) {
            for (const TARVChordShapePtr& shape : *generator->shapes()) {
                addOnce(shapes, shape);
            }
        }
    }
    return shapes;
}

std::string fretTexts(const std::vector<TARVChordShapePtr>& shapes, std::uint8_t stringCount) {
    std::string text;
    for (const TARVChordShapePtr& shape : shapes) {
        TARVPlayableShape frets(TARVPlayableShapes::fretsForChordShape(*shape, stringCount), {},
                                {});
        text += (text.empty() ? "" : " ") + frets.fretText();
    }
    return text;
}

} // namespace

TEST(TARVShippedShapeCache, EveryCommonTuningHasAFileNamedByItsAsciiNoteString) {
    const ShippedResources resources;
    for (const ShippedTuning& shipped : kShippedTunings) {
        const std::string noteString = tuningFor(shipped)->asciiNoteString();
        const auto path = TARVChordShapeCache::shapeCacheFilePath(noteString);
        ASSERT_TRUE(path.has_value()) << shipped.pitches;
        EXPECT_EQ(std::filesystem::path(*path),
                  kResources / "shapecaches" / (noteString + ".shapecache"));
    }
    EXPECT_TRUE(TARVChordShapeCache::shapeCacheFilePath("E-A-D-G-B-E-").has_value());
    EXPECT_TRUE(TARVChordShapeCache::shapeCacheFilePath("DADF+AD").has_value());
    EXPECT_TRUE(TARVChordShapeCache::shapeCacheFilePath("ADF+B").has_value());
    // The note string has no octaves: the low-G ukulele is served by the re-entrant one's file.
    EXPECT_EQ(tuningFor(kLowGUkulele)->asciiNoteString(), "GCEA");
    EXPECT_TRUE(TARVChordShapeCache::shapeCacheFilePath("GCEA").has_value());
}

TEST(TARVShippedShapeCache, EveryShippedFileDecodesToTheTuningDictionaryOfItsName) {
    for (const ShippedTuning& shipped : kShippedTunings) {
        const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
        const nlohmann::json dictionary = shippedDictionary(*tuning);
        ASSERT_TRUE(dictionary.is_object()) << shipped.pitches;
        EXPECT_EQ(dictionary.size(), 2U);
        EXPECT_EQ(dictionary.at("asciiNoteString"), tuning->asciiNoteString());
        ASSERT_TRUE(dictionary.at("chords").is_array());
        for (const nlohmann::json& chord : dictionary.at("chords")) {
            ASSERT_TRUE(chord.at("name").is_string());
            for (const nlohmann::json& shape : chord.at("shapes")) {
                EXPECT_EQ(shape.size(), 2U);
                EXPECT_TRUE(shape.at("fret").is_number_unsigned());
                // One fret per string: the reader gives the entry at position i to string i.
                EXPECT_EQ(shape.at("indicators").size(), tuning->stringCount())
                    << chord.at("name") << " in " << shipped.pitches;
            }
        }
    }
}

TEST(TARVShippedShapeCache, EveryShippedFileHoldsEveryChordOfTheCatalogueAndNoOther) {
    const std::set<std::string> catalogue = catalogueChordValues();
    ASSERT_GT(catalogue.size(), 12U * 50U);
    for (const ShippedTuning& shipped : kShippedTunings) {
        const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
        const nlohmann::json dictionary = shippedDictionary(*tuning);
        ASSERT_TRUE(dictionary.is_object()) << shipped.pitches;
        std::set<std::string> values;
        for (const nlohmann::json& chordObject : dictionary.at("chords")) {
            const std::string name = chordObject.at("name").get<std::string>();
            const SChordPtr chord = SChord::chordWithString(name);
            ASSERT_NE(chord, nullptr) << name << " does not read as a chord";
            EXPECT_TRUE(values.insert(chord->numericNoteStringValue()).second)
                << name << " twice in " << shipped.pitches;
        }
        EXPECT_EQ(values, catalogue) << shipped.pitches;
    }
}

TEST(TARVShippedShapeCache, ShapesReadFromAShippedFileHaveBadnessZeroAndKeepTheFileOrder) {
    for (const char* pitches : {"E2 A2 D3 G3 B3 E4", "G4 C4 E4 A4", "E1 A1 D2 G2"}) {
        const SStringedInstrumentTuningPtr tuning = tuningFor(pitches);
        const nlohmann::json dictionary = shippedDictionary(*tuning);
        ASSERT_TRUE(dictionary.is_object()) << pitches;
        for (const nlohmann::json& chordObject : dictionary.at("chords")) {
            const std::vector<TARVChordShapePtr> shapes =
                shapesOf(chordObject, tuning->asciiNoteString());
            // The cache drops equal shapes: as many shapes as the file lists means none repeats.
            ASSERT_EQ(shapes.size(), chordObject.at("shapes").size()) << chordObject.at("name");
            for (std::size_t index = 0; index < shapes.size(); ++index) {
                EXPECT_EQ(shapes[index]->badness(), 0U);
                EXPECT_EQ(shapes[index]->serializationDictionary(),
                          chordObject.at("shapes").at(index))
                    << chordObject.at("name") << " shape " << index;
            }
        }
    }
}

TEST(TARVShippedShapeCache, EveryShippedShapePlaysItsChord) {
    for (const ShippedTuning& shipped : kShippedTunings) {
        const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
        const nlohmann::json dictionary = shippedDictionary(*tuning);
        ASSERT_TRUE(dictionary.is_object()) << shipped.pitches;
        for (const nlohmann::json& chordObject : dictionary.at("chords")) {
            const std::string name = chordObject.at("name").get<std::string>();
            const SChordPtr chord = SChord::chordWithString(name);
            for (const TARVChordShapePtr& shape :
                 shapesOf(chordObject, tuning->asciiNoteString())) {
                EXPECT_TRUE(playsChord(*shape, chord, tuning, optionsFor(shipped)))
                    << name << " in " << shipped.pitches << ": " << shape->description();
            }
        }
    }
}

TEST(TARVShippedShapeCache, TheLowGUkuleleFilePlaysEveryChordOnTheLowGUkuleleToo) {
    const SStringedInstrumentTuningPtr lowG = tuningFor(kLowGUkulele);
    const nlohmann::json dictionary = shippedDictionary(*lowG);
    ASSERT_TRUE(dictionary.is_object());
    std::size_t shapes = 0;
    for (const nlohmann::json& chordObject : dictionary.at("chords")) {
        const std::string name = chordObject.at("name").get<std::string>();
        const SChordPtr chord = SChord::chordWithString(name);
        for (const TARVChordShapePtr& shape : shapesOf(chordObject, lowG->asciiNoteString())) {
            EXPECT_TRUE(playsChord(*shape, chord, lowG, optionsFor(kLowGUkulele)))
                << name << ": " << shape->description();
            ++shapes;
        }
    }
    EXPECT_GT(shapes, 10000U);
}

class TARVShippedShapeFile : public ::testing::TestWithParam<ShippedTuning> {};

TEST_P(TARVShippedShapeFile, HoldsTheWellKnownShapesThenThePlayableRankingInItsOrder) {
    if (!std::filesystem::is_directory(kWellKnownShapes)) {
        GTEST_SKIP() << "no well-known shapes at " << kWellKnownShapes;
    }
    const ShippedTuning& shipped = GetParam();
    const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
    const nlohmann::json dictionary = shippedDictionary(*tuning);
    ASSERT_TRUE(dictionary.is_object()) << shipped.pitches;
    const std::map<std::string, std::vector<TARVChordShapePtr>> wellKnown =
        wellKnownShapes(shipped);
    static const std::vector<TARVChordShapePtr> kNone;
    std::size_t ledByWellKnownShape = 0;
    for (const nlohmann::json& chordObject : dictionary.at("chords")) {
        const std::string name = chordObject.at("name").get<std::string>();
        const SChordPtr chord = SChord::chordWithString(name);
        const auto listed = wellKnown.find(chord->numericNoteStringValue());
        const std::vector<TARVChordShapePtr>& known =
            listed == wellKnown.end() ? kNone : listed->second;
        const std::vector<TARVChordShapePtr> held =
            shapesOf(chordObject, tuning->asciiNoteString());
        EXPECT_EQ(fretTexts(held, tuning->stringCount()),
                  fretTexts(expectedShapes(chord, shipped, known), tuning->stringCount()))
            << name << " in " << shipped.pitches;
        if (!held.empty() && std::any_of(known.begin(), known.end(), [&](const auto& shape) {
                return shape->isEqual(*held.front());
            })) {
            ++ledByWellKnownShape;
        }
    }
    // Guitar, ukulele and mandolin have well-known shapes for most common chords.
    EXPECT_EQ(ledByWellKnownShape > 50, !wellKnown.empty()) << ledByWellKnownShape;
}

INSTANTIATE_TEST_SUITE_P(EveryShippedTuning, TARVShippedShapeFile,
                         ::testing::ValuesIn(kShippedTunings),
                         [](const ::testing::TestParamInfo<ShippedTuning>& tuning) {
                             std::string name;
                             for (const char* c = tuning.param.pitches; *c != '\0'; ++c) {
                                 name += std::isalnum(static_cast<unsigned char>(*c))
                                             ? std::string(1, *c)
                                             : std::string(*c == '#' ? "s" : "");
                             }
                             return name;
                         });

TEST(TARVShippedShapeCache, TheCachedEntryAnswersTheRankingWhereNoShapeIsWellKnown) {
    const ShippedResources resources;
    for (const char* pitches : {"A4 D4 F#4 B4", "E1 A1 D2 G2", "D2 A2 D3 G3 A3 D4"}) {
        const ShippedTuning& shipped = shippedTuning(pitches);
        const SStringedInstrumentTuningPtr tuning = tuningFor(shipped);
        for (const char* symbol : {"C", "Am7", "G/B", "F#m7b5", "Bb9"}) {
            const SChordPtr chord = SChord::chordWithString(symbol);
            TARVChordShapeCache cache(TARVChordShapeCache::Unloaded{});
            const auto generator =
                TARVChordShapeGenerator::initWithChord(chord, tuning, cache, false);
            ASSERT_TRUE(generator->shapes().has_value()) << symbol << " in " << pitches;
            std::vector<TARVChordShapePtr> ranked;
            for (const TARVPlayableShape& shape :
                 TARVPlayableShapes::shapesForChord(chord, tuning, optionsFor(shipped))) {
                ranked.push_back(shape.chordShape());
            }
            ASSERT_FALSE(ranked.empty()) << symbol << " in " << pitches;
            EXPECT_EQ(fretTexts(*generator->shapes(), tuning->stringCount()),
                      fretTexts(ranked, tuning->stringCount()))
                << symbol << " in " << pitches;
        }
    }
}

TEST(TARVShippedShapeCache, BanjoShapesLeaveTheShortStringOffTheFretsBelowItsStart) {
    const ShippedTuning& banjo = shippedTuning("G4 D3 G3 B3 D4");
    const SStringedInstrumentTuningPtr tuning = tuningFor(banjo);
    EXPECT_EQ(tuning->asciiNoteString(), "GDGBD");
    const nlohmann::json dictionary = shippedDictionary(*tuning);
    ASSERT_TRUE(dictionary.is_object());
    std::size_t frettedAboveTheStart = 0;
    for (const nlohmann::json& chordObject : dictionary.at("chords")) {
        for (const TARVChordShapePtr& shape : shapesOf(chordObject, tuning->asciiNoteString())) {
            const std::int8_t fifth = TARVPlayableShapes::fretsForChordShape(*shape, 5).at(4);
            EXPECT_TRUE(fifth <= 0 || fifth > 5)
                << chordObject.at("name") << ": " << shape->description();
            frettedAboveTheStart += fifth > 5 ? 1 : 0;
        }
    }
    EXPECT_GT(frettedAboveTheStart, 0U);
    // The first chords of every banjo book.
    expectFirstShape("G", "G4 D3 G3 B3 D4", "0,0,0,0,0");
    expectFirstShape("C", "G4 D3 G3 B3 D4", "0,2,0,1,2");
}

TEST(TARVShippedShapeCache, WellKnownGuitarShapesComeFirst) {
    const char* const standard = "E2 A2 D3 G3 B3 E4";
    expectFirstShape("C", standard, "x,3,2,0,1,0");
    expectFirstShape("G", standard, "3,2,0,0,0,3");
    expectFirstShape("F", standard, "1,3,3,2,1,1");
    expectFirstShape("D", standard, "x,x,0,2,3,2");
    expectFirstShape("Am", standard, "x,0,2,2,1,0");
    expectFirstShape("Em", standard, "0,2,2,0,0,0");
    expectFirstShape("Db", standard, "x,4,3,1,2,1");
    expectFirstShape("C/E", standard, "0,3,2,0,1,0");
}

TEST(TARVShippedShapeCache, WellKnownUkuleleAndMandolinShapesComeFirst) {
    expectFirstShape("C", "G4 C4 E4 A4", "0,0,0,3");
    expectFirstShape("F", "G4 C4 E4 A4", "2,0,1,0");
    expectFirstShape("Am", "G4 C4 E4 A4", "2,0,0,0");
    expectFirstShape("G", "G4 C4 E4 A4", "0,2,3,2");
    expectFirstShape("G", "G3 D4 A4 E5", "0,0,2,3");
    expectFirstShape("A", "G3 D4 A4 E5", "2,2,4,0");
}

TEST(TARVShippedShapeCache, FirstShapesAreThoseOfTheWellKnownShapeFiles) {
    const std::filesystem::path path = kWellKnownShapes / "chordpro-guitar.json";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no well-known shapes at " << path;
    }
    const nlohmann::json file = nlohmann::json::parse(readText(path));
    std::size_t checked = 0;
    for (const nlohmann::json& entry : file.at("chords")) {
        const std::string name = entry.at("name").get<std::string>();
        if (name != "A" && name != "E" && name != "G7" && name != "Dm" && name != "B7" &&
            name != "Bm" && name != "C7") {
            continue;
        }
        std::string frets;
        for (const nlohmann::json& fret : entry.at("frets_abs")) {
            const int value = fret.get<int>();
            frets += (frets.empty() ? "" : ",") + (value < 0 ? "x" : std::to_string(value));
        }
        expectFirstShape(name.c_str(), "E2 A2 D3 G3 B3 E4", frets);
        ++checked;
    }
    EXPECT_EQ(checked, 7U);
}

TEST(TARVShippedShapeCache, CuratedShapesHoldOnlyChordsOutsideTheCatalogue) {
    const nlohmann::json curated =
        nlohmann::json::parse(readText(kResources / "curatedshapes.json"), nullptr, false);
    ASSERT_TRUE(curated.is_array());
    ASSERT_FALSE(curated.empty());
    const std::set<std::string> catalogue = catalogueChordValues();
    for (const nlohmann::json& dictionary : curated) {
        const std::string noteString = dictionary.at("asciiNoteString").get<std::string>();
        const auto shipped =
            std::find_if(kShippedTunings.begin(), kShippedTunings.end(), [&](const auto& tuning) {
                return tuningFor(tuning)->asciiNoteString() == noteString;
            });
        ASSERT_NE(shipped, kShippedTunings.end()) << noteString;
        const SStringedInstrumentTuningPtr tuning = tuningFor(*shipped);
        ASSERT_FALSE(dictionary.at("chords").empty());
        for (const nlohmann::json& chordObject : dictionary.at("chords")) {
            const std::string name = chordObject.at("name").get<std::string>();
            const SChordPtr chord = SChord::chordWithString(name);
            ASSERT_NE(chord, nullptr) << name;
            EXPECT_EQ(catalogue.count(chord->numericNoteStringValue()), 0U) << name;
            const std::vector<TARVChordShapePtr> shapes = shapesOf(chordObject, noteString);
            EXPECT_FALSE(shapes.empty()) << name;
            for (const TARVChordShapePtr& shape : shapes) {
                EXPECT_TRUE(playsChord(*shape, chord, tuning, optionsFor(*shipped))) << name;
            }
        }
    }
}

TEST(TARVShippedShapeCache, CuratedShapesFileGivesTheCacheItsSlashChords) {
    const std::string text = readText(kResources / "curatedshapes.json");
    const ScratchResources scratch; // working directory without shipped files
    scratch.writeCurated(text);
    TARVChordShapeCache cache;
    const auto standard = SStringedInstrumentTuning::stringedInstrumentTuning();
    const TARVChordShapeList amOverG =
        cache.shapesForChord(*SChord::chordWithString("Am/G"), *standard);
    ASSERT_NE(amOverG, nullptr);
    ASSERT_FALSE(amOverG->empty());
    EXPECT_TRUE(
        amOverG->front()->isEqual(*TARVChordShape::shapeForFretNumberString("3,x,2,2,1,0")));
    const TARVChordShapeList g7OverB =
        cache.shapesForChord(*SChord::chordWithString("G7/B"), *standard);
    ASSERT_NE(g7OverB, nullptr);
    EXPECT_TRUE(
        g7OverB->front()->isEqual(*TARVChordShape::shapeForFretNumberString("x,2,3,0,3,3")));
    // Chords of the catalogue come from the shape cache files, not from this file.
    EXPECT_EQ(cache.shapesForChord(*SChord::chordWithString("C"), *standard), nullptr);
}
