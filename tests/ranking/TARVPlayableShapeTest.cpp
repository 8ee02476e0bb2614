#include "tarv/ranking/TARVPlayableShape.hpp"

#include "shapes/TARVFretListSupport.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace tarv {
namespace {

/// The shape in the shape model as the absolute fret numbers build it, with the score rounded
/// into its badness.
TARVChordShapePtr shapeOfFretNumbers(const std::vector<std::int8_t>& frets, double score) {
    std::vector<std::int64_t> numbers(
        frets.begin(),
        frets.begin() + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(frets.size()), 256));
    TARVChordShapePtr shape = TARVChordShape::shapeFromFretNumberArray(numbers);
    shape->setBadness(static_cast<std::uint64_t>(std::llround(std::max(0.0, score))));
    return shape;
}

TARVPlayableShape playable(std::vector<std::int8_t> frets, double score = 0) {
    return TARVPlayableShape(std::move(frets), TARVFingering(), {{"score", score, 1.0}});
}

std::vector<std::pair<int, int>> fretsAndStrings(const TARVChordShape& shape) {
    std::vector<std::pair<int, int>> list;
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        list.emplace_back(indicator.fret(), indicator.string());
    }
    return list;
}

void expectSameShape(const TARVChordShape& actual, const TARVChordShape& expected,
                     const std::vector<std::int8_t>& frets) {
    ASSERT_TRUE(actual.isEqualToShape(expected)) << playable(frets).fretText();
    EXPECT_EQ(fretsAndStrings(actual), fretsAndStrings(expected)) << playable(frets).fretText();
    EXPECT_EQ(actual.badness(), expected.badness());
    EXPECT_EQ(actual.hash(), expected.hash());
}

TEST(TARVPlayableShape, ChordShapeIsWhatItsFretNumbersBuild) {
    // One shape rebuilt again and again must carry nothing over from the shape before.
    TARVChordShape reused;
    for (const std::size_t strings : {std::size_t{1}, std::size_t{4}, std::size_t{6}}) {
        for (const std::int8_t offset : {std::int8_t{0}, std::int8_t{1}, std::int8_t{9}}) {
            test::forEveryFretList(strings, 5, [&](std::span<const std::int8_t> list) {
                std::vector<std::int8_t> frets(list.begin(), list.end());
                for (std::int8_t& fret : frets) {
                    fret = fret > 0 ? static_cast<std::int8_t>(fret + offset) : fret;
                }
                const TARVPlayableShape shape = playable(frets, offset * 0.75);
                const TARVChordShapePtr expected = shapeOfFretNumbers(frets, shape.score());
                expectSameShape(*shape.chordShape(), *expected, frets);
                shape.buildChordShape(reused);
                expectSameShape(reused, *expected, frets);
            });
        }
    }
}

TEST(TARVPlayableShape, ChordShapeOfUnusualFretListsIsWhatItsFretNumbersBuild) {
    std::vector<std::vector<std::int8_t>> lists = {
        {}, {-1, -1, -1}, {-5, 3, 60}, {-100, 50, 52}, {0, 127, -1}, {126, 127, -128},
    };
    std::vector<std::int8_t> many(300, -1);
    many[0] = 3;
    many[255] = 5;
    many[299] = 1; // past the 256 strings a tuning has: left out
    lists.push_back(many);
    TARVChordShape reused;
    for (const auto& frets : lists) {
        const TARVPlayableShape shape = playable(frets, -2.5);
        const TARVChordShapePtr expected = shapeOfFretNumbers(frets, shape.score());
        expectSameShape(*shape.chordShape(), *expected, frets);
        shape.buildChordShape(reused);
        expectSameShape(reused, *expected, frets);
    }
}

TEST(TARVPlayableShape, ChordShapeBadnessIsTheScoreRoundedAndNeverBelowZero) {
    EXPECT_EQ(playable({0, 1, 0, 2, 3, -1}, 2.5).chordShape()->badness(), 3U);
    EXPECT_EQ(playable({0, 1, 0, 2, 3, -1}, 2.49).chordShape()->badness(), 2U);
    EXPECT_EQ(playable({0, 1, 0, 2, 3, -1}, -4).chordShape()->badness(), 0U);
}

} // namespace
} // namespace tarv
