#include "tarv/ranking/TARVPlayableShapes.hpp"

#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include "ranking/TARVFretGeometry.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <set>
#include <sstream>
#include <thread>
#include <tuple>

namespace tarv {
namespace {

/// A tuning from open strings written lowest first, as players write them.
SStringedInstrumentTuningConstPtr tuning(const std::string& text, std::uint8_t frets = 22,
                                         std::uint8_t capo = 0) {
    std::istringstream stream(text);
    std::vector<SPitch> pitches;
    for (std::string name; stream >> name;) {
        pitches.insert(pitches.begin(), *SPitch::pitchWithString(name));
    }
    return SStringedInstrumentTuning::initWithPitches(pitches, frets, capo,
                                                      TARVMakeSharedText("test"), "", std::nullopt);
}

std::string firstShape(const std::string& chord, const SStringedInstrumentTuningConstPtr& t) {
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString(chord), t);
    return shapes.empty() ? std::string() : shapes.front().fretText();
}

const auto kGuitar = tuning("E2 A2 D3 G3 B3 E4");
const auto kUkulele = tuning("G4 C4 E4 A4", 15);

TEST(TARVPlayableShapes, BeginnersGuitarChordsComeFirst) {
    const std::pair<const char*, const char*> expected[] = {
        {"C", "x,3,2,0,1,0"}, {"G", "3,2,0,0,0,3"},  {"D", "x,x,0,2,3,2"},  {"A", "x,0,2,2,2,0"},
        {"E", "0,2,2,1,0,0"}, {"Am", "x,0,2,2,1,0"}, {"Em", "0,2,2,0,0,0"}, {"Dm", "x,x,0,2,3,1"},
        {"F", "1,3,3,2,1,1"}, {"Bm", "x,2,4,4,3,2"},
    };
    for (const auto& [chord, frets] : expected) {
        EXPECT_EQ(firstShape(chord, kGuitar), frets) << chord;
    }
}

TEST(TARVPlayableShapes, ReentrantUkuleleTakesTheLowestPitchAsTheBass) {
    EXPECT_EQ(firstShape("C", kUkulele), "0,0,0,3");
    EXPECT_EQ(firstShape("F", kUkulele), "2,0,1,0");
    EXPECT_EQ(firstShape("Am", kUkulele), "2,0,0,0");
    EXPECT_EQ(firstShape("G", kUkulele), "0,2,3,2");
}

TEST(TARVPlayableShapes, NoTranspositionAmongTheFirstFive) {
    for (const char* chord : {"C", "G", "D", "A", "E", "Am", "Em", "Dm", "F", "Bm", "Eb", "C7",
                              "Gmaj7", "F#m7b5", "Bb", "Db"}) {
        const auto shapes =
            TARVPlayableShapes::shapesForChord(SChord::chordWithString(chord), kGuitar);
        ASSERT_GE(shapes.size(), 5U) << chord;
        for (std::size_t i = 0; i < 5; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                EXPECT_FALSE(shapes[i].isTranspositionOf(shapes[j]))
                    << chord << ": " << shapes[i].fretText() << " repeats " << shapes[j].fretText();
            }
        }
    }
}

TEST(TARVPlayableShapes, FirstFiveSpreadOverTheNeck) {
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString("G"), kGuitar);
    std::set<int> positions;
    for (std::size_t i = 0; i < 5 && i < shapes.size(); ++i) {
        positions.insert(shapes[i].highestFret() <= 4 ? 0 : shapes[i].lowestFret() / 3);
    }
    EXPECT_GE(positions.size(), 2U);
}

/// Whether one of `a` and `b` sounds some of the other's strings at the same frets, the rest
/// muted.
bool mutedVariant(const std::vector<std::int8_t>& a, const std::vector<std::int8_t>& b) {
    if (a.size() != b.size() || a == b) {
        return false;
    }
    bool aWithin = true;
    bool bWithin = true;
    for (std::size_t s = 0; s < a.size(); ++s) {
        aWithin = aWithin && (a[s] < 0 || a[s] == b[s]);
        bWithin = bWithin && (b[s] < 0 || b[s] == a[s]);
    }
    return aWithin || bWithin;
}

/// Past the first five, each place holds the voicing of least score, counting 2 more for a
/// voicing that is a muted variant of one listed before it.
void expectRankedAfterTheDiverseFive(const std::string& symbol,
                                     const SStringedInstrumentTuningConstPtr& instrument) {
    constexpr double kVariantPenalty = 2.0;
    const auto chord = SChord::chordWithString(symbol);
    const auto shapes = TARVPlayableShapes::shapesForChord(chord, instrument);
    const auto voicings = TARVPlayableShapes::allVoicings(chord, instrument);
    ASSERT_EQ(shapes.size(), std::min<std::size_t>(20, voicings.size())) << symbol;
    const auto adjusted = [&](const TARVPlayableShape& shape, std::size_t place) {
        for (std::size_t i = 0; i < place; ++i) {
            if (mutedVariant(shape.frets(), shapes[i].frets())) {
                return shape.score() + kVariantPenalty;
            }
        }
        return shape.score();
    };
    for (std::size_t place = 5; place < shapes.size(); ++place) {
        const double listed = adjusted(shapes[place], place);
        for (const TARVPlayableShape& voicing : voicings) {
            const auto end = shapes.begin() + static_cast<std::ptrdiff_t>(place);
            if (std::find(shapes.begin(), end, voicing) != end) {
                continue;
            }
            EXPECT_LE(listed, adjusted(voicing, place) + 1e-9)
                << symbol << ": " << shapes[place].fretText() << " at " << place + 1 << " before "
                << voicing.fretText();
        }
    }
}

TEST(TARVPlayableShapes, RankedByScoreWithVariantsLaterAfterTheDiverseFive) {
    for (const char* chord : {"Am7", "C", "G7", "Eb"}) {
        expectRankedAfterTheDiverseFive(chord, kGuitar);
    }
    expectRankedAfterTheDiverseFive("G", tuning("D2 A2 D3 G3 B3 E4"));
    expectRankedAfterTheDiverseFive("Am", kUkulele);
    TARVPlayableOptions few;
    few.maximumShapes = 3;
    EXPECT_EQ(
        TARVPlayableShapes::shapesForChord(SChord::chordWithString("Am7"), kGuitar, few).size(),
        3U);
}

/// The ranked list as its rules state it, picked from every voicing the rules allow, sorted by
/// score and then by frets. Each place takes the first voicing of least score with penalties:
/// among the first five, 1 for every listed shape whose neck position lies within 2 frets of its
/// own, and a transposition of a listed shape only when nothing else is left; past them, 2 for a
/// muted variant of a listed shape.
std::vector<std::vector<std::int8_t>>
pickedFromAllVoicings(const std::string& symbol,
                      const SStringedInstrumentTuningConstPtr& instrument,
                      const TARVPlayableOptions& options) {
    auto voicings =
        TARVPlayableShapes::allVoicings(SChord::chordWithString(symbol), instrument, options);
    std::sort(voicings.begin(), voicings.end(),
              [](const TARVPlayableShape& a, const TARVPlayableShape& b) {
                  return a.score() != b.score() ? a.score() < b.score() : a.frets() < b.frets();
              });
    std::vector<std::vector<std::int8_t>> listed;
    std::vector<bool> taken(voicings.size(), false);
    while (listed.size() < std::min(options.maximumShapes, voicings.size())) {
        const bool diverse = listed.size() < 5;
        std::optional<std::size_t> best;
        double bestScore = 0;
        for (std::size_t i = 0; i < voicings.size(); ++i) {
            if (taken[i]) {
                continue;
            }
            const std::vector<std::int8_t>& frets = voicings[i].frets();
            double adjusted = voicings[i].score();
            bool transposition = false;
            for (const auto& other : listed) {
                if (diverse) {
                    transposition = transposition || ranking::isTransposition(frets, other);
                    const int apart = ranking::neckPosition(frets) - ranking::neckPosition(other);
                    adjusted += std::abs(apart) < 3 ? 1.0 : 0.0;
                }
            }
            if (!diverse && std::any_of(listed.begin(), listed.end(), [&](const auto& other) {
                    return mutedVariant(frets, other);
                })) {
                adjusted += 2.0;
            }
            if (!transposition && (!best || adjusted < bestScore)) {
                best = i;
                bestScore = adjusted;
            }
        }
        if (!best) {
            best = static_cast<std::size_t>(std::find(taken.begin(), taken.end(), false) -
                                            taken.begin());
        }
        taken[*best] = true;
        listed.push_back(voicings[*best].frets());
    }
    return listed;
}

TEST(TARVPlayableShapes, RankedListIsPickedFromEveryAllowedVoicing) {
    const std::vector<std::string> chords{"C",     "G",     "Am",    "F",     "Eb",   "G7",
                                          "Cmaj7", "C13",   "Bm7b5", "D/F#",  "E7#9", "Abm6",
                                          "C9",    "Ebdim", "Gmaj9", "Cdim7", "Caug"};
    const std::vector<SStringedInstrumentTuningConstPtr> instruments{
        kGuitar,
        kUkulele,
        tuning("D2 A2 D3 G3 B3 E4"),
        tuning("D2 A2 D3 G3 A3 D4"),
        tuning("B1 E2 A2 D3 G3 B3 E4"),
        tuning("G3 D4 A4 E5", 17),
        tuning("E1 A1 D2 G2", 20),
        tuning("E2 A2 D3 G3 B3 E4", 20, 3)};
    for (const auto& instrument : instruments) {
        for (const std::string& symbol : chords) {
            for (const std::size_t maximum : {std::size_t{1}, std::size_t{5}, std::size_t{20}}) {
                TARVPlayableOptions options;
                options.maximumShapes = maximum;
                std::vector<std::vector<std::int8_t>> answered;
                for (const auto& shape : TARVPlayableShapes::shapesForChord(
                         SChord::chordWithString(symbol), instrument, options)) {
                    answered.push_back(shape.frets());
                }
                EXPECT_EQ(answered, pickedFromAllVoicings(symbol, instrument, options))
                    << symbol << " on " << instrument->stringCount() << " strings, " << maximum;
            }
        }
    }
}

TEST(TARVPlayableShapes, MutedVariantsOfListedShapesYieldToOtherVoicings) {
    // In Drop D, G's first shape can lose one string after another; past the first five, a
    // voicing of other frets that scores somewhat more comes before such a variant.
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString("G"),
                                                           tuning("D2 A2 D3 G3 B3 E4"));
    bool yielded = false;
    for (std::size_t i = 5; i < shapes.size(); ++i) {
        for (std::size_t j = i + 1; j < shapes.size(); ++j) {
            bool variant = false;
            for (std::size_t k = 0; k < i; ++k) {
                variant = variant || mutedVariant(shapes[j].frets(), shapes[k].frets());
            }
            yielded = yielded || (variant && shapes[j].score() < shapes[i].score());
        }
    }
    EXPECT_TRUE(yielded);
}

TEST(TARVPlayableShapes, ScoreIsTheSumOfItsNamedTerms) {
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString("D7"), kGuitar);
    ASSERT_FALSE(shapes.empty());
    for (const TARVPlayableShape& shape : shapes) {
        double sum = 0;
        std::set<std::string_view> names;
        for (const auto& term : shape.terms()) {
            sum += term.value * term.weight;
            names.insert(term.name);
        }
        EXPECT_NEAR(sum, shape.score(), 1e-9);
        EXPECT_EQ(names.size(), TARVPlayabilityModel::FeatureCount);
    }
}

double termOf(const std::string& chord, const SStringedInstrumentTuningConstPtr& instrument,
              const std::vector<std::int8_t>& frets, std::string_view name) {
    const auto shape =
        TARVPlayableShapes::scoreFrets(frets, SChord::chordWithString(chord), instrument);
    EXPECT_TRUE(shape.has_value()) << chord;
    return shape ? shape->termValue(name) : -1;
}

TEST(TARVPlayableShapes, MutedStringsThatWouldRingAChordToneOpenAreCounted) {
    // Frets by string number, string 0 the highest. x,3,2,0,1,x leaves the high E unplayed.
    EXPECT_EQ(termOf("C", kGuitar, {-1, 1, 0, 2, 3, -1}, "mutedOpenTone"), 1);
    EXPECT_EQ(termOf("C", kGuitar, {0, 1, 0, 2, 3, -1}, "mutedOpenTone"), 0);
    // The low E is a tone of C, but open it would sound below the bass.
    EXPECT_EQ(termOf("C", kGuitar, {0, 1, 0, 2, 3, -1}, "mutedBass"), 1);
    // x,x,0,2,3,2: the open A is a tone of D, but lies below the D that is the bass.
    EXPECT_EQ(termOf("D", kGuitar, {2, 3, 2, 0, -1, -1}, "mutedOpenTone"), 0);
    // x,x,2,1,x,0 for E: the open G is no tone of E; the open B is.
    EXPECT_EQ(termOf("E", kGuitar, {0, -1, 1, 2, -1, -1}, "mutedOpenTone"), 1);
    // Re-entrant ukulele: the high G left out of x,0,0,3 would sound above the C4 bass.
    EXPECT_EQ(termOf("C", kUkulele, {3, 0, 0, -1}, "mutedOpenTone"), 1);
    EXPECT_EQ(termOf("C", kUkulele, {3, 0, 0, 0}, "mutedOpenTone"), 0);
}

TEST(TARVPlayableShapes, AHandFromTheFifthFretUpIsHighPosition) {
    EXPECT_EQ(termOf("C", kGuitar, {3, 5, 5, 5, 3, -1}, "highPosition"), 0);
    EXPECT_EQ(termOf("C", kGuitar, {0, 1, 0, 2, 3, -1}, "highPosition"), 0);
    EXPECT_EQ(termOf("G", kGuitar, {3, 3, 4, 5, 5, 3}, "highPosition"), 0);
    EXPECT_EQ(termOf("A", kGuitar, {5, 5, 6, 7, 7, 5}, "highPosition"), 1);
    EXPECT_EQ(termOf("C", kGuitar, {8, 8, 9, 10, 10, 8}, "highPosition"), 1);
    // Frets count from the capo.
    EXPECT_EQ(termOf("D", tuning("E2 A2 D3 G3 B3 E4", 22, 2), {0, 1, 0, 2, 3, -1}, "highPosition"),
              0);
}

TEST(TARVPlayableShapes, SymmetricChordsCountABassOtherThanTheirNamedRoot) {
    // Cdim7 is also Ebdim7, F#dim7 and Adim7: any of them may be the bass, at a cost unless C.
    // x,3,4,2,4,x stands on C; x,x,1,2,1,2 on Eb.
    EXPECT_EQ(termOf("Cdim7", kGuitar, {-1, 4, 2, 4, 3, -1}, "otherRootInBass"), 0);
    EXPECT_EQ(termOf("Cdim7", kGuitar, {2, 1, 2, 1, -1, -1}, "otherRootInBass"), 1);
    EXPECT_EQ(termOf("Cdim7", kGuitar, {2, 1, 2, 1, -1, -1}, "rootNotInBass"), 0);
    // x,x,2,1,1,0 for Caug stands on E, x,3,2,1,1,0 on C.
    EXPECT_EQ(termOf("Caug", kGuitar, {0, 1, 1, 2, -1, -1}, "otherRootInBass"), 1);
    EXPECT_EQ(termOf("Caug", kGuitar, {0, 1, 1, 2, 3, -1}, "otherRootInBass"), 0);
    // A chord that moves onto no other has one root: its fifth in the bass is a root out of it.
    EXPECT_EQ(termOf("G", tuning("G4 D3 G3 B3 D4"), {0, 0, 0, 0, 0}, "otherRootInBass"), 0);
    EXPECT_EQ(termOf("G", tuning("G4 D3 G3 B3 D4"), {0, 0, 0, 0, 0}, "rootNotInBass"), 1);
    // The books' diminished sevenths stand on their named roots.
    EXPECT_EQ(firstShape("Cdim7", kGuitar), "x,3,4,2,4,x");
}

TEST(TARVPlayableShapes, WhatAShapeFretsIsFamiliarWhateverItsOpenStrings) {
    // The books' C#7 frets x,2,1,2,0,x above its lowest fret: so do C7 x,3,2,3,1,0 and
    // x,3,2,3,1,x, a fret lower, the first with an open string and the second without.
    const auto model = TARVPlayabilityModel::modelWithJSON(
        R"({"families": {"long": {"weights": {"familiarFrets": -2}}, "short": {"weights": {}}},
            "forms": {"5,5,5,4,5|7": {"~x,2,1,2,0,x": 0.5, "x,2,1,2,0,x": 0.25}}})");
    TARVPlayableOptions options;
    options.model = &model;
    const auto term = [&options](const std::vector<std::int8_t>& frets, std::string_view name) {
        const auto shape =
            TARVPlayableShapes::scoreFrets(frets, SChord::chordWithString("C7"), kGuitar, options);
        EXPECT_TRUE(shape.has_value());
        return shape ? shape->termValue(name) : -1;
    };
    const auto familiarFrets = [&term](const std::vector<std::int8_t>& frets) {
        return term(frets, "familiarFrets");
    };
    // The form counts an open string as its lowest fret: only the shape without one has it.
    EXPECT_EQ(term({-1, 1, 3, 2, 3, -1}, "familiarForm"), 0.25);
    EXPECT_EQ(term({0, 1, 3, 2, 3, -1}, "familiarForm"), 0);
    EXPECT_EQ(familiarFrets({0, 1, 3, 2, 3, -1}), 0.5);
    EXPECT_EQ(familiarFrets({-1, 1, 3, 2, 3, -1}), 0.5);
    EXPECT_EQ(familiarFrets({0, 2, 4, 3, 4, -1}), 0.5);
    // x,3,2,3,x,0 leaves the B unfretted; x,3,5,3,5,3 is another form.
    EXPECT_EQ(familiarFrets({0, -1, 3, 2, 3, -1}), 0);
    EXPECT_EQ(familiarFrets({3, 5, 3, 5, 3, -1}), 0);
    // The search counts it as scoring does: the best C7 of this model frets x,2,1,2,0,x.
    const auto shapes =
        TARVPlayableShapes::shapesForChord(SChord::chordWithString("C7"), kGuitar, options);
    ASSERT_FALSE(shapes.empty());
    EXPECT_EQ(shapes.front().termValue("familiarFrets"), 0.5) << shapes.front().fretText();
}

TEST(TARVPlayableShapes, AbsentChordOrTuningGivesNothing) {
    EXPECT_TRUE(TARVPlayableShapes::shapesForChord(nullptr, kGuitar).empty());
    EXPECT_TRUE(TARVPlayableShapes::shapesForChord(SChord::chordWithString("C"), nullptr).empty());
    EXPECT_TRUE(
        TARVPlayableShapes::shapesForChord(SChord::chordWithString("C"), tuning("", 22)).empty());
    const std::vector<std::int8_t> frets{0, 1, 0, 2, 3, -1};
    EXPECT_FALSE(TARVPlayableShapes::scoreFrets(frets, nullptr, kGuitar).has_value());
}

TEST(TARVPlayableShapes, ScoringAListScoresEachAsAlone) {
    // Playable, unplayable (six fingers), too few strings, fretted beyond the neck.
    const std::vector<std::vector<std::int8_t>> lists{
        {0, 1, 0, 2, 3, -1}, {8, 9, 10, 11, 12, 13}, {0, 1, 0},
        {3, 5, 5, 5, 3, -1}, {1, 2, 3, 4, 5, 30},    {0, 1, 0, 2, 3, 3},
    };
    const auto chord = SChord::chordWithString("C");
    const auto scored = TARVPlayableShapes::scoreFretLists(lists, chord, kGuitar);
    ASSERT_EQ(scored.size(), lists.size());
    std::size_t present = 0;
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const auto alone = TARVPlayableShapes::scoreFrets(lists[i], chord, kGuitar);
        ASSERT_EQ(scored[i].has_value(), alone.has_value()) << i;
        if (!alone) {
            continue;
        }
        ++present;
        EXPECT_EQ(scored[i]->frets(), alone->frets());
        EXPECT_EQ(scored[i]->score(), alone->score());
        EXPECT_EQ(scored[i]->fingering().fingers(), alone->fingering().fingers());
        EXPECT_EQ(scored[i]->terms().size(), alone->terms().size());
    }
    EXPECT_EQ(present, 3u);
    EXPECT_EQ(TARVPlayableShapes::scoreFretLists(lists, nullptr, kGuitar),
              std::vector<std::optional<TARVPlayableShape>>(lists.size()));
}

TEST(TARVPlayableShapes, SettingVoicingsAsideNeverChangesTheList) {
    // Holding few voicings makes the search score the most promising early and drop those that
    // cannot be listed; the lists must be those of a search that holds them all.
    const std::vector<std::string> chords{"C",   "Am",     "G7",   "F#m7b5",
                                          "C13", "Ebmaj7", "E7#9", "D/F#"};
    const std::vector<std::pair<SStringedInstrumentTuningConstPtr, std::vector<std::string>>> cases{
        {kGuitar, chords},
        {kUkulele, chords},
        {tuning("B1 E2 A2 D3 G3 B3 E4"), chords},
        {tuning("D2 A2 D3 G3 A3 D4"), chords},
        {tuning("E2 E3 A2 A3 D3 D4 G3 G4 B3 B3 E4 E4", 15), {"C", "Am", "G7"}}};
    std::size_t setAside = 0;
    for (const auto& [instrument, symbols] : cases) {
        for (const std::string& symbol : symbols) {
            const auto chord = SChord::chordWithString(symbol);
            for (const std::size_t maximum : {std::size_t{1}, std::size_t{5}, std::size_t{20}}) {
                TARVPlayableOptions all;
                all.heldVoicings = std::numeric_limits<std::size_t>::max();
                all.maximumShapes = maximum;
                const auto whole = TARVPlayableShapes::shapesForChord(chord, instrument, all);
                for (const std::size_t held : {std::size_t{1}, std::size_t{7}, std::size_t{64}}) {
                    TARVPlayableOptions few = all;
                    few.heldVoicings = held;
                    const auto listed = TARVPlayableShapes::shapesForChord(chord, instrument, few);
                    ASSERT_EQ(listed.size(), whole.size()) << symbol << " " << held;
                    for (std::size_t i = 0; i < listed.size(); ++i) {
                        EXPECT_EQ(listed[i].frets(), whole[i].frets()) << symbol << " " << i;
                        EXPECT_EQ(listed[i].score(), whole[i].score()) << symbol << " " << i;
                    }
                }
            }
            setAside += TARVPlayableShapes::allVoicings(chord, instrument).size() > 64 ? 1 : 0;
        }
    }
    // Most searches held more voicings than the holds allow, and so set some aside.
    EXPECT_GT(setAside, 25u);
}

TEST(TARVPlayableShapes, ListsDoNotDependOnEarlierRequestsOnTheThread) {
    // A request that sets voicings aside and one on many strings, among others: each answers the
    // same after the others on one thread, in either order, and alone on a thread of its own.
    const auto twelve = tuning("E2 E3 A2 A3 D3 D4 G3 G4 B3 B3 E4 E4", 15);
    TARVPlayableOptions few;
    few.heldVoicings = 7;
    const std::vector<
        std::tuple<std::string, SStringedInstrumentTuningConstPtr, TARVPlayableOptions>>
        requests{
            {"C13", kGuitar, few}, {"G7", twelve, {}}, {"Am", kGuitar, {}}, {"F", kUkulele, {}}};
    using Lists = std::vector<std::vector<std::int8_t>>;
    const auto answer = [&](std::size_t i) {
        const auto& [symbol, instrument, options] = requests[i];
        Lists lists;
        for (const TARVPlayableShape& shape : TARVPlayableShapes::shapesForChord(
                 SChord::chordWithString(symbol), instrument, options)) {
            lists.push_back(shape.frets());
        }
        return lists;
    };
    std::vector<Lists> inOrder(requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        inOrder[i] = answer(i);
        EXPECT_FALSE(inOrder[i].empty()) << i;
    }
    std::vector<Lists> reversed(requests.size());
    std::thread([&] {
        for (std::size_t i = requests.size(); i-- > 0;) {
            reversed[i] = answer(i);
        }
    }).join();
    EXPECT_EQ(inOrder, reversed);
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Lists alone;
        std::thread([&] { alone = answer(i); }).join();
        EXPECT_EQ(inOrder[i], alone) << i;
    }
}

TEST(TARVPlayableShapes, CapoCountsFretsFromTheCapo) {
    // Capo 2: the C shape sounds D.
    EXPECT_EQ(firstShape("D", tuning("E2 A2 D3 G3 B3 E4", 22, 2)), "x,3,2,0,1,0");
    // Nothing above the capo: only open strings.
    const auto shapes = TARVPlayableShapes::allVoicings(SChord::chordWithString("Em"),
                                                        tuning("E2 A2 D3 G3 B3 E4", 5, 5));
    for (const TARVPlayableShape& shape : shapes) {
        EXPECT_EQ(shape.highestFret(), 0) << shape.fretText();
    }
}

TEST(TARVPlayableShapes, SlashChordsPutTheirBassLowest) {
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString("C/E"), kGuitar);
    ASSERT_FALSE(shapes.empty());
    EXPECT_EQ(shapes.front().fretText(), "0,3,2,0,1,0");
}

TEST(TARVPlayableShapes, DroppedTonesOnlyWhenAllowed) {
    const SChordPtr chord = SChord::chordWithString("C9");
    TARVPlayableOptions strict;
    strict.allowDroppedTones = false;
    for (const auto& shape : TARVPlayableShapes::allVoicings(chord, kGuitar, strict)) {
        EXPECT_EQ(shape.termValue("dropped"), 0) << shape.fretText();
    }
    bool anyDropped = false;
    for (const auto& shape : TARVPlayableShapes::allVoicings(chord, kGuitar)) {
        anyDropped = anyDropped || shape.termValue("dropped") > 0;
    }
    EXPECT_TRUE(anyDropped);
}

const auto kMandolin = tuning("G3 D4 A4 E5", 17);

bool listedInFirstFive(const std::string& chord, const SStringedInstrumentTuningConstPtr& t,
                       const std::string& frets) {
    const auto shapes = TARVPlayableShapes::shapesForChord(SChord::chordWithString(chord), t);
    return std::any_of(shapes.begin(), shapes.begin() + std::min<std::ptrdiff_t>(5, shapes.size()),
                       [&](const TARVPlayableShape& shape) { return shape.fretText() == frets; });
}

TEST(TARVPlayableShapes, InstrumentsWithoutABassLeaveOutWhatTheChordDataLets) {
    // Frets by string number, string 0 the highest: ukulele 0,2,0,1 is G D E Bb, a C9 without
    // its root, as ukulele books print it.
    const SChordPtr ninth = SChord::chordWithString("C9");
    const std::vector<std::int8_t> rootless{1, 0, 2, 0};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(rootless, ninth, kUkulele));
    EXPECT_EQ(termOf("C9", kUkulele, rootless, "rootless"), 1);
    EXPECT_EQ(termOf("C9", kUkulele, {3, 0, 0, 3}, "rootless"), 0);
    EXPECT_TRUE(listedInFirstFive("C9", kUkulele, "0,2,0,1"));
    TARVPlayableOptions whole;
    whole.allowSmallInstrumentDrops = false;
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(rootless, ninth, kUkulele, whole));
    TARVPlayableOptions noDrops;
    noDrops.allowDroppedTones = false;
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(rootless, ninth, kUkulele, noDrops));
    // Mandolin 5,2,3,0 is C E C E: a triad without its fifth.
    const SChordPtr major = SChord::chordWithString("C");
    const std::vector<std::int8_t> noFifth{0, 3, 2, 5};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(noFifth, major, kMandolin));
    EXPECT_EQ(termOf("C", kMandolin, noFifth, "dropped"), 1);
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(noFifth, major, kMandolin, whole));
    // The root of a seventh stays, and so does that of a ninth written with tones of its own:
    // x,2,0,1 (D E Bb) is a C9 but no C9(no5).
    // 0,x,0,1 is G E Bb, a C7 without its root.
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(std::vector<std::int8_t>{1, 0, -1, 0},
                                               SChord::chordWithString("C7"), kUkulele));
    const std::vector<std::int8_t> thirdSeventhNinth{1, 0, 2, -1};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(thirdSeventhNinth, ninth, kUkulele));
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(thirdSeventhNinth,
                                               SChord::chordWithString("C9(no5)"), kUkulele));
    // A guitar's bass must play the root, so it keeps both: x,x,2,3,3,3 is a rootless C9 and
    // x,3,2,x,1,x a C without its fifth.
    const std::vector<std::int8_t> guitarNinth{3, 3, 3, 2, -1, -1};
    const std::vector<std::int8_t> guitarNoFifth{-1, 1, -1, 2, 3, -1};
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(guitarNinth, ninth, kGuitar));
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(guitarNoFifth, major, kGuitar));
    TARVPlayableOptions asSmall;
    asSmall.allowSmallInstrumentDrops = true;
    asSmall.requireRootInBass = false;
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(guitarNinth, ninth, kGuitar, asSmall));
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(guitarNoFifth, major, kGuitar, asSmall));
}

TEST(TARVPlayableShapes, TonesTheQualityToleratesSoundAtACost) {
    // Ukulele 2,3,2,3 is A Eb F# C: Cdim with the diminished seventh, as books print "dim".
    const SChordPtr dim = SChord::chordWithString("Cdim");
    const std::vector<std::int8_t> dimSeventh{3, 2, 3, 2};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(dimSeventh, dim, kUkulele));
    EXPECT_EQ(termOf("Cdim", kUkulele, dimSeventh, "tolerated"), 1);
    EXPECT_EQ(termOf("Cdim", kUkulele, {-1, 2, 3, 5}, "tolerated"), 0);
    EXPECT_EQ(firstShape("Cdim", kUkulele), "2,3,2,3");
    TARVPlayableOptions strict;
    strict.allowToleratedTones = false;
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(dimSeventh, dim, kUkulele, strict));
    for (const auto& shape : TARVPlayableShapes::allVoicings(dim, kUkulele, strict)) {
        EXPECT_EQ(shape.termValue("tolerated"), 0) << shape.fretText();
    }
    // The tolerated tone is never missed: it is no tone of the chord.
    for (const auto& shape : TARVPlayableShapes::allVoicings(dim, kUkulele)) {
        EXPECT_EQ(shape.termValue("dropped"), 0) << shape.fretText();
    }
    // Guitar books print the triad: x,3,4,2,4,2, a dim7 grip, only when asked for.
    EXPECT_EQ(firstShape("Cdim", kGuitar), "x,3,4,5,4,x");
    const std::vector<std::int8_t> guitarDimSeventh{2, 4, 2, 4, 3, -1};
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(guitarDimSeventh, dim, kGuitar));
    TARVPlayableOptions tolerant;
    tolerant.allowToleratedTones = true;
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(guitarDimSeventh, dim, kGuitar, tolerant));
    EXPECT_EQ(TARVPlayableShapes::scoreFrets(guitarDimSeventh, dim, kGuitar, tolerant)
                  ->termValue("tolerated"),
              1);
}

TEST(TARVPlayableShapes, ShortScalesSpanFiveFrets) {
    EXPECT_EQ(TARVPlayableOptions::defaultMaximumSpan(648), 4);
    EXPECT_EQ(TARVPlayableOptions::defaultMaximumSpan(480), 5);
    EXPECT_EQ(TARVPlayableOptions::defaultMaximumSpan(350), 5);
    // Mandolin 1,4,3,6, the G#9 chop chord, spans frets 1 to 6.
    const SChordPtr ninth = SChord::chordWithString("G#9");
    const std::vector<std::int8_t> chop{6, 3, 4, 1};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(chop, ninth, kMandolin));
    TARVPlayableOptions four;
    four.maximumSpan = 4;
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(chop, ninth, kMandolin, four));
    // The same span on a guitar's scale is too wide unless asked for.
    TARVPlayableOptions wide;
    wide.maximumSpan = 5;
    wide.maximumReach = 200;
    // x,3,5,5,5,8 for C reaches from fret 3 to fret 8.
    const std::vector<std::int8_t> stretch{8, 5, 5, 5, 3, -1};
    const SChordPtr c = SChord::chordWithString("C");
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(stretch, c, kGuitar));
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(stretch, c, kGuitar, wide));
}

/// Banjo open G written as players write it, the short fifth string first: gDGBD. The fifth
/// string (the high G drone) is string number 4, the highest-numbered; it starts at fret 5.
const auto kBanjo = tuning("G4 D3 G3 B3 D4");

TARVPlayableOptions banjoOptions() {
    TARVPlayableOptions options;
    options.stringStartFrets = {0, 0, 0, 0, 5};
    return options;
}

TEST(TARVPlayableShapes, BanjoOpenGIsAllOpenStrings) {
    const auto shapes =
        TARVPlayableShapes::shapesForChord(SChord::chordWithString("G"), kBanjo, banjoOptions());
    ASSERT_FALSE(shapes.empty());
    EXPECT_EQ(shapes.front().fretText(), "0,0,0,0,0");
}

TEST(TARVPlayableShapes, NoShapeFretsTheShortStringBelowItsStart) {
    std::size_t fretted = 0;
    for (const char* chord : {"G", "C", "D", "D7", "Em", "A", "F", "Bm7"}) {
        const auto shapes =
            TARVPlayableShapes::allVoicings(SChord::chordWithString(chord), kBanjo, banjoOptions());
        ASSERT_FALSE(shapes.empty()) << chord;
        for (const TARVPlayableShape& shape : shapes) {
            const int fifth = shape.frets()[4];
            EXPECT_TRUE(fifth <= 0 || fifth > 5) << chord << ": " << shape.fretText();
            fretted += fifth > 5 ? 1 : 0;
        }
    }
    EXPECT_GT(fretted, 0U);
}

TEST(TARVPlayableShapes, ShortStringSoundsFromItsStart) {
    const SChordPtr a = SChord::chordWithString("A");
    // Fret 7 of the short G string sounds A, two semitones above its open pitch; the same fret
    // of a full-length G string would sound D, which A major does not hold.
    const std::vector<std::int8_t> frets{7, 5, 6, 7, 7};
    EXPECT_TRUE(TARVPlayableShapes::isAllowed(frets, a, kBanjo, banjoOptions()));
    EXPECT_FALSE(TARVPlayableShapes::isAllowed(frets, a, kBanjo));
    // Frets 1 to 5 are not on the short string at all.
    const std::vector<std::int8_t> below{0, 0, 0, 0, 3};
    EXPECT_FALSE(
        TARVPlayableShapes::scoreFrets(below, SChord::chordWithString("G"), kBanjo, banjoOptions())
            .has_value());
    EXPECT_TRUE(
        TARVPlayableShapes::scoreFrets(below, SChord::chordWithString("G"), kBanjo).has_value());
}

TEST(TARVPlayableShapes, ShortStringIsScoredByItsPitchAndFingeredAtItsFret) {
    const SChordPtr a = SChord::chordWithString("A");
    const auto shortString = TARVPlayableShapes::scoreFrets(
        std::vector<std::int8_t>{7, 5, 6, -1, 7}, a, kBanjo, banjoOptions());
    // A full-length string sounds that A at fret 2.
    const auto fullString =
        TARVPlayableShapes::scoreFrets(std::vector<std::int8_t>{7, 5, 6, -1, 2}, a, kBanjo);
    ASSERT_TRUE(shortString && fullString);
    for (const char* pitchTerm : {"register", "doubled", "dropped", "rootNotInBass"}) {
        EXPECT_EQ(shortString->termValue(pitchTerm), fullString->termValue(pitchTerm)) << pitchTerm;
    }
    // The hand stays between frets 5 and 7 of the neck.
    EXPECT_EQ(shortString->termValue("position"), 5);
    EXPECT_EQ(shortString->termValue("fretRange"), 2);
    EXPECT_NE(shortString->fingering().fingers()[4], TARVFingering::kNone);
    EXPECT_EQ(fullString->termValue("fretRange"), 5);
}

/// Every fret combination of a small neck, filtered by the rules alone, against the search.
void expectExhaustive(const std::string& chordName, const SStringedInstrumentTuningConstPtr& t,
                      const TARVPlayableOptions& options) {
    const SChordPtr chord = SChord::chordWithString(chordName);
    ASSERT_TRUE(chord);
    std::set<std::vector<std::int8_t>> found;
    for (const auto& shape : TARVPlayableShapes::allVoicings(chord, t, options)) {
        EXPECT_TRUE(found.insert(shape.frets()).second) << "twice: " << shape.fretText();
    }
    const std::size_t strings = t->stringCount();
    const int maxFret = t->fretCount() - t->capo();
    std::vector<std::int8_t> frets(strings, -1);
    std::size_t allowed = 0;
    for (;;) {
        if (TARVPlayableShapes::isAllowed(frets, chord, t, options)) {
            ++allowed;
            EXPECT_TRUE(found.count(frets) == 1) << chordName << ": the search missed "
                                                 << TARVPlayableShape(frets, {}, {}).fretText();
        }
        std::size_t s = 0;
        while (s < strings && frets[s] == maxFret) {
            frets[s] = -1;
            ++s;
        }
        if (s == strings) {
            break;
        }
        ++frets[s];
    }
    EXPECT_EQ(allowed, found.size()) << chordName;
}

TEST(TARVPlayableShapesExhaustive, UkuleleAgainstEveryFretCombination) {
    TARVPlayableOptions options;
    for (const char* chord :
         {"C", "F", "G7", "Am", "Bb", "C9", "Edim7", "Gsus4", "Cdim", "Ebmaj9", "A13"}) {
        expectExhaustive(chord, tuning("G4 C4 E4 A4", 12), options);
    }
}

TEST(TARVPlayableShapesExhaustive, GuitarNeckAgainstEveryFretCombination) {
    TARVPlayableOptions options;
    for (const char* chord : {"C", "F", "Am7", "D/F#"}) {
        expectExhaustive(chord, tuning("E2 A2 D3 G3 B3 E4", 6), options);
    }
    options.allowThumb = true;
    options.allowDroppedTones = false;
    expectExhaustive("G7", tuning("E2 A2 D3 G3 B3 E4", 6), options);
    TARVPlayableOptions asSmall;
    asSmall.allowSmallInstrumentDrops = true;
    asSmall.allowToleratedTones = true;
    asSmall.requireRootInBass = false;
    for (const char* chord : {"C9", "Bdim", "G"}) {
        expectExhaustive(chord, tuning("E2 A2 D3 G3 B3 E4", 6), asSmall);
    }
}

TEST(TARVPlayableShapesExhaustive, FiveStringsWithCapoAgainstEveryFretCombination) {
    TARVPlayableOptions options;
    options.maximumSpan = 3;
    for (const char* chord : {"E", "A7", "Bm"}) {
        expectExhaustive(chord, tuning("G4 C5 E4 A4 E5", 10, 2), options);
    }
}

TEST(TARVPlayableShapesExhaustive, ShortStringAgainstEveryFretCombination) {
    TARVPlayableOptions options = banjoOptions();
    for (const char* chord : {"G", "C", "D7", "Em", "A"}) {
        expectExhaustive(chord, tuning("G4 D3 G3 B3 D4", 9), options);
    }
    // A string that starts at fret 3 between full strings, under a capo at fret 1.
    options.stringStartFrets = {0, 3};
    for (const char* chord : {"D", "Gm", "A7"}) {
        expectExhaustive(chord, tuning("G4 C4 E4 A4", 9, 1), options);
    }
}

} // namespace
} // namespace tarv
