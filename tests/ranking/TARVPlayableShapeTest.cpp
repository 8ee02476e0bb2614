#include "tarv/ranking/TARVPlayableShape.hpp"

#include "shapes/TARVFretListSupport.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
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

TEST(TARVPlayableShape, TermsReadBackAsTheyWereGiven) {
    // As many terms as a shape keeps in itself (27), and more, to read back the ones it keeps
    // elsewhere too.
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{3}, std::size_t{27}, std::size_t{28}, std::size_t{40}}) {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < count; ++i) {
            names.push_back("term" + std::to_string(i));
        }
        std::vector<TARVPlayableShape::Term> given;
        double expectedScore = 0;
        for (std::size_t i = 0; i < count; ++i) {
            given.push_back(
                {names[i], 0.5 * static_cast<double>(i) - 3, 1.0 + static_cast<double>(i % 4)});
            expectedScore += given.back().contribution();
        }
        const TARVPlayableShape shape({0, 2, 2, 1, 0, 0}, TARVFingering(), given);
        const TARVPlayableShape::Terms terms = shape.terms();
        ASSERT_EQ(terms.size(), count);
        EXPECT_EQ(terms.empty(), count == 0);
        EXPECT_EQ(shape.termTable() == nullptr, count == 0);
        std::size_t i = 0;
        for (const TARVPlayableShape::Term& term : terms) {
            EXPECT_EQ(term.name, names[i]);
            EXPECT_EQ(term.value, given[i].value);
            EXPECT_EQ(term.weight, given[i].weight);
            EXPECT_EQ(terms[i].value, given[i].value);
            ++i;
        }
        EXPECT_EQ(i, count);
        EXPECT_EQ(terms.end() - terms.begin(), static_cast<std::ptrdiff_t>(count));
        EXPECT_THROW(terms[count], std::out_of_range);
        EXPECT_EQ(shape.score(), expectedScore);
        if (count > 0) {
            EXPECT_EQ(shape.termValue(names.back()), given.back().value);
            // Iterators outlive the view they came from, as long as the shape lives.
            const auto last = shape.terms().end() - 1;
            EXPECT_EQ((*last).name, names.back());
            EXPECT_EQ(last[0].weight, given.back().weight);
        }
        EXPECT_EQ(shape.termValue("absent"), 0);
    }
}

TEST(TARVPlayableShape, ShapesOfOneTableShareItAndKeepTheirOwnValues) {
    auto table = std::make_shared<TARVPlayableShape::TermTable>(
        TARVPlayableShape::TermTable{{"reach", 0, 2.0}, {"open", 0, -1.0}});
    const std::vector<double> firstValues{3.0, 2.0};
    const std::vector<double> secondValues{1.5, 0.0};
    const TARVPlayableShape first({-1, 3, 2, 0, 1, 0}, TARVFingering(), table, firstValues);
    TARVPlayableShape second({-1, 5, 4, 2, 3, 2}, TARVFingering(), table, secondValues);
    EXPECT_EQ(first.termTable().get(), table.get());
    EXPECT_EQ(second.termTable().get(), table.get());
    EXPECT_EQ(first.score(), 4.0);
    EXPECT_EQ(second.score(), 3.0);
    EXPECT_EQ(first.termValue("reach"), 3.0);
    EXPECT_EQ(second.termValue("reach"), 1.5);
    // A copy keeps its own values when the shape it was copied from takes another's.
    const TARVPlayableShape copy = second;
    second = first;
    EXPECT_EQ(copy.termValue("reach"), 1.5);
    EXPECT_EQ(copy.terms()[1].weight, -1.0);
    EXPECT_EQ(second.termValue("reach"), 3.0);
}

TEST(TARVPlayableShape, TermValuesMustMatchTheirTable) {
    auto table = std::make_shared<TARVPlayableShape::TermTable>(
        TARVPlayableShape::TermTable{{"reach", 0, 2.0}, {"open", 0, -1.0}});
    const std::vector<double> one{1.0};
    EXPECT_THROW(TARVPlayableShape({0, 0, 0}, TARVFingering(), table, one), std::invalid_argument);
    EXPECT_THROW(TARVPlayableShape({0, 0, 0}, TARVFingering(), nullptr, one),
                 std::invalid_argument);
    const TARVPlayableShape none({0, 0, 0}, TARVFingering(), nullptr, std::span<const double>());
    EXPECT_TRUE(none.terms().empty());
    EXPECT_EQ(none.score(), 0);
}

} // namespace
} // namespace tarv
