// The shape cache files and the curated shapes file that the library ships in resources/.

#include "TARVCacheTestSupport.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
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
};

const std::vector<ShippedTuning> kShippedTunings{
    {"E2 A2 D3 G3 B3 E4", 22},    {"D2 A2 D3 G3 B3 E4", 22},  {"D2 A2 D3 G3 A3 D4", 22},
    {"D2 G2 D3 G3 B3 D4", 22},    {"D2 A2 D3 F#3 A3 D4", 22}, {"Eb2 Ab2 Db3 Gb3 Bb3 Eb4", 22},
    {"B1 E2 A2 D3 G3 B3 E4", 24}, {"E1 A1 D2 G2", 20},        {"B0 E1 A1 D2 G2", 24},
    {"G4 C4 E4 A4", 18},          {"D3 G3 B3 E4", 18},        {"G3 D4 A4 E5", 20},
};

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

SStringedInstrumentTuningPtr tuningFor(const char* pitches) {
    for (const ShippedTuning& shipped : kShippedTunings) {
        if (std::string(shipped.pitches) == pitches) {
            return tuningFor(shipped);
        }
    }
    throw std::invalid_argument(pitches);
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

bool sameShapes(const std::vector<TARVChordShapePtr>& a, const std::vector<TARVChordShapePtr>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return x->isEqual(*y); });
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

/// The first shape the cache answers for `symbol` in `tuning`, read from the shipped file.
TARVChordShapePtr firstShippedShape(const char* symbol, const SStringedInstrumentTuning& tuning) {
    const ShippedResources resources;
    TARVChordShapeCache cache(TARVChordShapeCache::Unloaded{});
    const TARVChordShapeList shapes =
        cache.shapesForChord(*SChord::chordWithString(symbol), tuning);
    if (!shapes || shapes->empty()) {
        return nullptr;
    }
    return shapes->front();
}

/// `frets` (string 0 last: "x,3,2,0,1,0") is the first shape of `symbol` in `tuning`.
void expectFirstShape(const char* symbol, const char* pitches, const std::string& frets) {
    const TARVChordShapePtr first = firstShippedShape(symbol, *tuningFor(pitches));
    ASSERT_NE(first, nullptr) << symbol << " in " << pitches;
    EXPECT_TRUE(first->isEqual(*TARVChordShape::shapeForFretNumberString(frets)))
        << symbol << " in " << pitches << ": " << first->description();
    EXPECT_EQ(first->badness(), 0U);
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
            const auto generator = TARVChordShapeGenerator::initUncachedWithChord(
                SChord::chordWithString(name), tuning);
            for (const TARVChordShapePtr& shape :
                 shapesOf(chordObject, tuning->asciiNoteString())) {
                EXPECT_TRUE(generator->isValidChordShape(*shape))
                    << name << " in " << shipped.pitches << ": " << shape->description();
            }
        }
    }
}

TEST(TARVShippedShapeCache, WithoutWellKnownShapesAFileHoldsTheGeneratedShapes) {
    for (const char* pitches : {"E1 A1 D2 G2", "D2 A2 D3 G3 A3 D4", "B1 E2 A2 D3 G3 B3 E4"}) {
        const SStringedInstrumentTuningPtr tuning = tuningFor(pitches);
        const nlohmann::json dictionary = shippedDictionary(*tuning);
        ASSERT_TRUE(dictionary.is_object()) << pitches;
        for (const nlohmann::json& chordObject : dictionary.at("chords")) {
            const std::string name = chordObject.at("name").get<std::string>();
            const auto generator = TARVChordShapeGenerator::initUncachedWithChord(
                SChord::chordWithString(name), tuning);
            const std::vector<TARVChordShapePtr> generated =
                generator->shapes().value_or(std::vector<TARVChordShapePtr>{});
            EXPECT_TRUE(sameShapes(shapesOf(chordObject, tuning->asciiNoteString()), generated))
                << name << " in " << pitches;
        }
    }
}

/// Whether `shipped` is some shapes followed by the shapes of `generated` that are not among
/// them, in the generated order; `prefix` is set to the number of those first shapes.
bool isPrefixThenGenerated(const std::vector<TARVChordShapePtr>& shipped,
                           const std::vector<TARVChordShapePtr>& generated, std::size_t& prefix) {
    for (prefix = 0; prefix <= shipped.size(); ++prefix) {
        const auto end = shipped.begin() + static_cast<std::ptrdiff_t>(prefix);
        std::vector<TARVChordShapePtr> rest;
        for (const TARVChordShapePtr& shape : generated) {
            if (std::none_of(shipped.begin(), end,
                             [&](const auto& held) { return held->isEqual(*shape); })) {
                rest.push_back(shape);
            }
        }
        if (sameShapes(std::vector<TARVChordShapePtr>(end, shipped.end()), rest)) {
            return true;
        }
    }
    return false;
}

TEST(TARVShippedShapeCache, WithWellKnownShapesAFileHoldsEveryGeneratedShapeAfterThem) {
    const SStringedInstrumentTuningPtr tuning = tuningFor("E2 A2 D3 G3 B3 E4");
    const nlohmann::json dictionary = shippedDictionary(*tuning);
    ASSERT_TRUE(dictionary.is_object());
    std::size_t withWellKnownShapes = 0;
    for (const nlohmann::json& chordObject : dictionary.at("chords")) {
        const std::string name = chordObject.at("name").get<std::string>();
        const auto generator =
            TARVChordShapeGenerator::initUncachedWithChord(SChord::chordWithString(name), tuning);
        std::size_t prefix = 0;
        EXPECT_TRUE(isPrefixThenGenerated(
            shapesOf(chordObject, tuning->asciiNoteString()),
            generator->shapes().value_or(std::vector<TARVChordShapePtr>{}), prefix))
            << name;
        withWellKnownShapes += prefix > 0 ? 1 : 0;
    }
    EXPECT_GT(withWellKnownShapes, 100U);
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
            const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
            for (const TARVChordShapePtr& shape : shapes) {
                EXPECT_TRUE(generator->isValidChordShape(*shape)) << name;
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
