#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace tarv;

TEST(TARVChordShapeDictionary, BarreIsSpelledOutStringByString) {
    TARVChordShape shape;
    shape.setBaseFret(5);
    shape._addSortedIndicator(TARVBarreIndicator(0, 0, 5));
    shape.addIndicatorForFret(1, 2);
    shape.addIndicatorForFret(2, 3);
    shape.addIndicatorForFret(2, 4);
    const auto dictionary = shape.serializationDictionary();
    EXPECT_EQ(dictionary["fret"], 5);
    EXPECT_EQ(dictionary["indicators"], nlohmann::json::parse("[0, 0, 1, 2, 2, 0]"));

    std::vector<TARVFretIndicator> indicators;
    std::uint8_t string = 0;
    for (const auto& fret : dictionary["indicators"]) {
        indicators.emplace_back(fret.get<std::int8_t>(), string++);
    }
    const auto rebuilt = TARVChordShape::shapeFromIndicatorArray(indicators, 5);
    ASSERT_EQ(rebuilt->indicators().size(), 4u);
    EXPECT_TRUE(rebuilt->indicators()[0].isEqual(TARVBarreIndicator(0, 0, 5)));
}

TEST(TARVChordShapeDictionary, MutedStringsAreWrittenAndUnmarkedStringsAreNot) {
    const auto muted = TARVChordShape::shapeFromIndicatorArray(
        std::vector<TARVFretIndicator>{TARVFretIndicator(1, 0), TARVFretIndicator(2, 1),
                                       TARVFretIndicator(-1, 2), TARVFretIndicator(3, 3)},
        0);
    EXPECT_EQ(muted->serializationDictionary()["indicators"],
              nlohmann::json::parse("[1, 2, -1, 3]"));
    const auto gap = TARVChordShape::shapeFromIndicatorArray(
        std::vector<TARVFretIndicator>{TARVFretIndicator(1, 0), TARVFretIndicator(2, 1),
                                       TARVFretIndicator(3, 3)},
        0);
    EXPECT_EQ(gap->serializationDictionary()["indicators"], nlohmann::json::parse("[1, 2, 3]"));
    EXPECT_EQ(gap->serializationDictionary()["fret"], 0);
}

TEST(TARVChordShapeDictionary, WritingDoesNotChangeTheShape) {
    const auto shape = TARVChordShape::shapeForFretNumberString("1,3,3,2,1,1");
    const auto before = shape->description();
    (void)shape->serializationDictionary();
    EXPECT_EQ(shape->description(), before);
}
