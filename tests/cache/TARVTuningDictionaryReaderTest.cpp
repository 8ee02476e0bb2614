#include "cache/TARVTuningDictionaryReader.hpp"

#include "TARVCacheTestSupport.hpp"

#include <gtest/gtest.h>

using namespace tarv;
using Top = TARVTuningDictionaryReader::TopLevel;

namespace {

std::optional<std::vector<TARVReadChord>> read(const std::string& text, Top top = Top::Dictionary) {
    std::string error;
    auto chords = TARVTuningDictionaryReader::read(text, top, error);
    EXPECT_EQ(chords.has_value(), error.empty()) << error;
    return chords;
}

} // namespace

TEST(TARVTuningDictionaryReader, ReadsKeysInAnyOrderAndIgnoresOthers) {
    const auto chords = read(R"({"chords": [{"shapes": [{"indicators": [0, 1, 0, 2, 3, -1],
        "comment": {"a": [1, {"b": 2}]}, "fret": 0}], "name": "C", "extra": [[]]}],
        "version": 2, "asciiNoteString": "EADGBE"})");
    ASSERT_TRUE(chords);
    ASSERT_EQ(chords->size(), 1u);
    EXPECT_EQ((*chords)[0].name, "C");
    EXPECT_EQ((*chords)[0].asciiNoteString, "EADGBE");
    ASSERT_EQ((*chords)[0].shapes.size(), 1u);
    EXPECT_TRUE((*chords)[0].shapes[0]->isEqual(*TARVChordShape::shapeFromIndicatorArray(
        std::vector<TARVFretIndicator>{TARVFretIndicator(0, 0), TARVFretIndicator(1, 1),
                                       TARVFretIndicator(0, 2), TARVFretIndicator(2, 3),
                                       TARVFretIndicator(3, 4), TARVFretIndicator(-1, 5)},
        0)));
}

TEST(TARVTuningDictionaryReader, NumbersKeepTheirLowEightBits) {
    const auto chords = read(R"({"asciiNoteString": "EADG", "chords": [{"name": "x", "shapes":
        [{"fret": 261, "indicators": [255, 2.9, 258]}]}]})");
    ASSERT_TRUE(chords);
    const auto& shape = *(*chords)[0].shapes[0];
    EXPECT_EQ(shape.baseFret(), 5);
    EXPECT_TRUE(shape.indicators()[0].isMuted());
    EXPECT_EQ(shape.indicators()[1].fret(), 2);
    EXPECT_EQ(shape.indicators()[2].fret(), 2);
}

TEST(TARVTuningDictionaryReader, ListOfDictionariesGivesEachChordItsNoteString) {
    const auto chords =
        read(R"([{"asciiNoteString": "EADG", "chords": [{"name": "E5", "shapes": []}]},
        {"chords": [{"name": "C", "shapes": []}, {"name": "D", "shapes": []}], "asciiNoteString": "GCEA"}])",
             Top::ListOfDictionaries);
    ASSERT_TRUE(chords);
    ASSERT_EQ(chords->size(), 3u);
    EXPECT_EQ((*chords)[0].asciiNoteString, "EADG");
    EXPECT_EQ((*chords)[1].asciiNoteString, "GCEA");
    EXPECT_EQ((*chords)[2].asciiNoteString, "GCEA");
}

TEST(TARVTuningDictionaryReader, TextsOfTheWrongFormAreErrors) {
    for (
        const char* text :
        {"", "[", "5", R"({"asciiNoteString": "EADG"})", R"({"chords": []})",
         R"({"asciiNoteString": 5, "chords": []})", R"({"asciiNoteString": "E", "chords": {}})",
         R"({"asciiNoteString": "E", "chords": [{"name": "C"}]})",
         R"({"asciiNoteString": "E", "chords": [{"name": 3, "shapes": []}]})",
         R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [{"fret": 0}]}]})",
         R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [{"fret": "0", "indicators": []}]}]})",
         R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [{"fret": 0, "indicators": [true]}]}]})",
         R"({"asciiNoteString": "E", "chords": [{"name": "C", "shapes": [{"fret": 0, "indicators": [[1]]}]}]})",
         R"([{"asciiNoteString": "E", "chords": []}])"}) {
        std::string error;
        EXPECT_FALSE(TARVTuningDictionaryReader::read(text, Top::Dictionary, error)) << text;
        EXPECT_FALSE(error.empty()) << text;
    }
    std::string error;
    EXPECT_FALSE(TARVTuningDictionaryReader::read(R"({"asciiNoteString": "E", "chords": []})",
                                                  Top::ListOfDictionaries, error));
}

TEST(TARVTuningDictionaryReader, AgreesWithTheTreeReadingOnTheShippedStandardTuningFile) {
    const auto path = std::string(TARV_SOURCE_DIR) + "/resources/shapecaches/EADGBE.shapecache";
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        GTEST_SKIP() << "no shipped file at " << path;
    }
    const std::string compressed((std::istreambuf_iterator<char>(stream)),
                                 std::istreambuf_iterator<char>());
    const auto data = decompressedData(
        std::span(reinterpret_cast<const std::uint8_t*>(compressed.data()), compressed.size()));
    ASSERT_TRUE(data);
    const std::string text(data->begin(), data->end());

    tarv::test::ScratchResources resources;
    TARVChordShapeCache fromTree{TARVChordShapeCache::Unloaded{}};
    fromTree.addShapesFromTuningDictionary(nlohmann::json::parse(text), false);
    tarv::test::ScratchResources::writeBytes(
        resources.tuningFilePath("EADGBE"),
        std::vector<std::uint8_t>(compressed.begin(), compressed.end()));
    TARVChordShapeCache fromText{TARVChordShapeCache::Unloaded{}};
    fromText.loadShapesForNoteString("EADGBE");
    ASSERT_GT(fromTree.count(), 700u);
    ASSERT_EQ(fromText.count(), fromTree.count());
    for (const auto& key : fromTree.allKeys()) {
        const auto a = fromTree.shapesForKey(key);
        const auto b = fromText.shapesForKey(key);
        ASSERT_NE(b, nullptr) << key;
        ASSERT_EQ(a->size(), b->size()) << key;
        for (std::size_t i = 0; i < a->size(); ++i) {
            EXPECT_TRUE((*a)[i]->isEqual(*(*b)[i])) << key;
        }
    }
}
