#include "tarv/ranking/TARVProgression.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace tarv {
namespace {

SStringedInstrumentTuningConstPtr guitar() {
    return SStringedInstrumentTuning::stringedInstrumentTuning();
}

std::vector<SChordPtr> chords(const std::string& text) {
    std::vector<SChordPtr> result;
    std::istringstream stream(text);
    std::string symbol;
    while (stream >> symbol) {
        result.push_back(SChord::chordWithString(symbol));
    }
    return result;
}

std::vector<std::string> fretTexts(const TARVProgression::Arrangement& arrangement) {
    std::vector<std::string> texts;
    for (const TARVPlayableShape& shape : arrangement.shapes) {
        texts.push_back(shape.fretText());
    }
    return texts;
}

/// Every arrangement of the candidates with its cost, cheapest first, in the order of the
/// candidates at equal cost.
std::vector<std::pair<double, std::vector<std::string>>>
bruteForce(const std::vector<std::vector<TARVPlayableShape>>& candidates,
           const TARVProgressionOptions& options) {
    std::vector<std::pair<double, std::vector<std::string>>> all;
    std::vector<std::size_t> choice(candidates.size(), 0);
    while (true) {
        double cost = 0;
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < candidates.size(); ++i) {
            const TARVPlayableShape& shape = candidates[i][choice[i]];
            cost += shape.score();
            if (i > 0) {
                cost += TARVProgression::movementCost(candidates[i - 1][choice[i - 1]], shape,
                                                      guitar(), options);
            }
            texts.push_back(shape.fretText());
        }
        all.emplace_back(cost, texts);
        std::size_t i = candidates.size();
        while (i > 0 && ++choice[i - 1] == candidates[i - 1].size()) {
            choice[--i] = 0;
        }
        if (i == 0) {
            break;
        }
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    return all;
}

TEST(TARVProgression, TheDynamicProgramFindsWhatBruteForceFinds) {
    TARVProgressionOptions options;
    options.alternatives = 6;
    TARVPlayableOptions playable;
    playable.maximumShapes = 6;
    for (const std::string text : {"C G", "C Am F G", "Dm7 G7 Cmaj7", "E A B7 E", "Am F C G",
                                   "F#m7b5 B7 Em", "D A Bm G D"}) {
        SCOPED_TRACE(text);
        std::vector<std::vector<TARVPlayableShape>> candidates;
        for (const SChordPtr& chord : chords(text)) {
            candidates.push_back(TARVPlayableShapes::shapesForChord(chord, guitar(), playable));
        }
        const auto found = TARVProgression::arrangementsOfCandidates(candidates, guitar(), options);
        const auto expected = bruteForce(candidates, options);
        ASSERT_EQ(found.size(), options.alternatives);
        for (std::size_t k = 0; k < found.size(); ++k) {
            EXPECT_NEAR(found[k].cost, expected[k].first, 1e-9);
            double sum = 0;
            for (std::size_t i = 0; i < found[k].shapes.size(); ++i) {
                sum += found[k].shapes[i].score() + found[k].movements[i];
            }
            EXPECT_NEAR(sum, found[k].cost, 1e-9);
        }
        EXPECT_EQ(fretTexts(found.front()), expected.front().second);
    }
}

TEST(TARVProgression, TheBeginnersProgressionUsesTheBeginnersShapes) {
    const auto found = TARVProgression::arrangements(chords("C Am F G"), guitar());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(fretTexts(found.front()), (std::vector<std::string>{"x,3,2,0,1,0", "x,0,2,2,1,0",
                                                                  "1,3,3,2,1,1", "3,2,0,0,0,3"}));
    EXPECT_EQ(found.front().movements.front(), 0.0);
}

TEST(TARVProgression, MovementCostsNothingToStayAndGrowsWithTheDistance) {
    const auto c = TARVPlayableShapes::shapesForChord(SChord::chordWithString("C"), guitar());
    ASSERT_GE(c.size(), 2U);
    EXPECT_EQ(TARVProgression::movementCost(c[0], c[0], guitar()), 0.0);
    const auto d = TARVPlayableShapes::scoreFrets(std::vector<std::int8_t>{2, 3, 2, 0, -1, -1},
                                                  SChord::chordWithString("D"), guitar());
    const auto barreD = TARVPlayableShapes::scoreFrets(
        std::vector<std::int8_t>{10, 10, 11, 12, 12, 10}, SChord::chordWithString("D"), guitar());
    ASSERT_TRUE(d && barreD);
    EXPECT_LT(TARVProgression::movementCost(c[0], *d, guitar()),
              TARVProgression::movementCost(c[0], *barreD, guitar()));
    const auto terms = TARVProgression::movementTerms(c[0], *d, guitar());
    ASSERT_EQ(terms.size(), 4U);
    EXPECT_EQ(terms[0].name, "fret distance");
    EXPECT_EQ(terms[0].value, 1.0); // both at the first fret... from fret 1 to fret 2
    EXPECT_EQ(terms[1].name, "fingers moved");
    EXPECT_EQ(terms[2].name, "new tones");
    EXPECT_EQ(terms[2].value, 3.0); // D, F# and A: C major and D major share no note
    const auto g = TARVPlayableShapes::scoreFrets(std::vector<std::int8_t>{3, 0, 0, 0, 2, 3},
                                                  SChord::chordWithString("G"), guitar());
    ASSERT_TRUE(g);
    EXPECT_EQ(TARVProgression::movementTerms(c[0], *g, guitar())[2].value, 2.0); // G is common
    EXPECT_EQ(terms[3].name, "voice leading");
}

TEST(TARVProgression, CapoAutoFindsTheOpenShapesOfAFlatKey) {
    const auto choices = TARVProgression::capoChoices(chords("Eb Ab Bb Cm"), guitar());
    ASSERT_FALSE(choices.empty());
    EXPECT_EQ(choices.front().capo, 3);
    std::vector<std::string> written;
    for (const SChordPtr& chord : choices.front().writtenChords) {
        written.push_back(chord->name());
    }
    EXPECT_EQ(written, (std::vector<std::string>{"C", "F", "G", "Am"}));
    for (std::size_t i = 1; i < choices.size(); ++i) {
        EXPECT_LE(choices[i - 1].cost, choices[i].cost);
    }
    EXPECT_EQ(choices.size(), 8U);
}

TEST(TARVProgression, ACapoKeepsTheSoundOfEveryChord) {
    const auto tuning = TARVProgression::tuningWithCapo(guitar(), 3);
    const auto found = TARVProgression::arrangements(chords("Eb Ab Bb Cm"), tuning);
    ASSERT_EQ(found.size(), 1U);
    const std::vector<std::string> written = {"Eb", "Ab", "Bb", "Cm"};
    for (std::size_t i = 0; i < written.size(); ++i) {
        const auto names = TARVChordNaming::namesForFrets(found.front().shapes[i].frets(), tuning);
        ASSERT_FALSE(names.empty());
        EXPECT_EQ(*names.front().chord, *SChord::chordWithString(written[i]));
    }
}

TEST(TARVProgression, NothingToArrangeGivesNothing) {
    EXPECT_TRUE(TARVProgression::arrangements({}, guitar()).empty());
    EXPECT_TRUE(TARVProgression::arrangements(chords("C G"), nullptr).empty());
    EXPECT_TRUE(
        TARVProgression::arrangements({SChord::chordWithString("C"), nullptr}, guitar()).empty());
    EXPECT_TRUE(TARVProgression::capoChoices({nullptr}, guitar()).empty());
    EXPECT_TRUE(TARVProgression::arrangementsOfCandidates({{}, {}}, guitar()).empty());
    EXPECT_EQ(TARVProgression::tuningWithCapo(nullptr, 2), nullptr);
}

} // namespace
} // namespace tarv
