#include "tarv/ranking/TARVProgression.hpp"

#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

namespace tarv {

namespace {

constexpr std::string_view kFretDistance = "fret distance";
constexpr std::string_view kFingersMoved = "fingers moved";
constexpr std::string_view kNewTones = "new tones";
constexpr std::string_view kVoiceLeading = "voice leading";

/// Where the hand sits: the lowest fretted fret, the first fret when nothing is fretted.
int handPosition(const TARVPlayableShape& shape) {
    return std::max<int>(1, shape.lowestFret());
}

/// A finger on a string at a fret.
struct Placement {
    std::size_t string;
    int fret;
    std::uint8_t finger;
    bool operator<(const Placement& other) const {
        return std::tie(string, fret, finger) < std::tie(other.string, other.fret, other.finger);
    }
};

std::set<Placement> placements(const TARVPlayableShape& shape) {
    std::set<Placement> set;
    const std::vector<std::uint8_t>& fingers = shape.fingering().fingers();
    for (std::size_t string = 0; string < shape.frets().size(); ++string) {
        const int fret = shape.frets()[string];
        const std::uint8_t finger = string < fingers.size() ? fingers[string] : 0;
        if (fret > 0 && finger != 0) {
            set.insert({string, fret, finger});
        }
    }
    return set;
}

/// The pitch classes `shape` sounds on `tuning` (the capo moves them all alike, so it is left
/// out).
std::uint16_t soundingClasses(const TARVPlayableShape& shape,
                              const SStringedInstrumentTuning& tuning) {
    std::uint16_t mask = 0;
    const std::size_t strings = std::min(shape.frets().size(), tuning.stringPitches().size());
    for (std::size_t string = 0; string < strings; ++string) {
        const int fret = shape.frets()[string];
        if (fret >= 0) {
            const int semitone = tuning.stringPitches()[string].absoluteSemitone() + fret;
            mask = static_cast<std::uint16_t>(mask | (1U << (((semitone % 12) + 12) % 12)));
        }
    }
    return mask;
}

/// One partial arrangement ending at a candidate: its cost and the partial it extends.
struct Partial {
    double cost = 0;
    std::size_t previousCandidate = 0;
    std::size_t previousRank = 0;
};

} // namespace

std::vector<TARVPlayableShape::Term>
TARVProgression::movementTerms(const TARVPlayableShape& from, const TARVPlayableShape& to,
                               const TuningPtr& tuning, const TARVProgressionOptions& options) {
    if (!tuning) {
        return {};
    }
    const double fretDistance = std::abs(handPosition(from) - handPosition(to));

    // A finger stays when it holds the same string at the same fret in both shapes; a finger
    // that holds several strings (a barre) stays only when all of them stay.
    const std::set<Placement> before = placements(from);
    std::array<bool, TARVFingering::kThumb + 1> used{};
    std::array<bool, TARVFingering::kThumb + 1> moved{};
    for (const Placement& placement : placements(to)) {
        if (placement.finger >= used.size()) {
            continue;
        }
        used[placement.finger] = true;
        if (before.count(placement) == 0) {
            moved[placement.finger] = true;
        }
    }
    double fingersMoved = 0;
    for (std::size_t finger = 1; finger < used.size(); ++finger) {
        fingersMoved += (used[finger] && moved[finger]) ? 1 : 0;
    }

    const std::uint16_t newClasses =
        static_cast<std::uint16_t>(soundingClasses(to, *tuning) & ~soundingClasses(from, *tuning));
    const double newTones = std::popcount(newClasses);

    double voiceLeading = 0;
    const std::size_t strings = std::min(from.frets().size(), to.frets().size());
    for (std::size_t string = 0; string < strings; ++string) {
        if (from.frets()[string] >= 0 && to.frets()[string] >= 0) {
            voiceLeading += std::abs(from.frets()[string] - to.frets()[string]);
        }
    }
    return {{kFretDistance, fretDistance, options.fretDistanceWeight},
            {kFingersMoved, fingersMoved, options.fingersMovedWeight},
            {kNewTones, newTones, options.newTonesWeight},
            {kVoiceLeading, voiceLeading, options.voiceLeadingWeight}};
}

double TARVProgression::movementCost(const TARVPlayableShape& from, const TARVPlayableShape& to,
                                     const TuningPtr& tuning,
                                     const TARVProgressionOptions& options) {
    double cost = 0;
    for (const TARVPlayableShape::Term& term : movementTerms(from, to, tuning, options)) {
        cost += term.contribution();
    }
    return cost;
}

std::vector<TARVProgression::Arrangement> TARVProgression::arrangementsOfCandidates(
    const std::vector<std::vector<TARVPlayableShape>>& candidates, const TuningPtr& tuning,
    const TARVProgressionOptions& options) {
    const std::size_t keep = std::max<std::size_t>(1, options.alternatives);
    if (!tuning || candidates.empty() ||
        std::any_of(candidates.begin(), candidates.end(),
                    [](const auto& shapes) { return shapes.empty(); })) {
        return {};
    }
    // best[i][j]: the `keep` cheapest arrangements of chords 0..i that end with candidate j,
    // cheapest first. Every arrangement ending at j extends one of the kept arrangements of its
    // predecessor, so keeping the `keep` best per candidate loses none of the `keep` best overall.
    std::vector<std::vector<std::vector<Partial>>> best(candidates.size());
    best[0].resize(candidates[0].size());
    for (std::size_t j = 0; j < candidates[0].size(); ++j) {
        best[0][j].push_back({candidates[0][j].score(), 0, 0});
    }
    for (std::size_t i = 1; i < candidates.size(); ++i) {
        best[i].resize(candidates[i].size());
        for (std::size_t j = 0; j < candidates[i].size(); ++j) {
            const TARVPlayableShape& shape = candidates[i][j];
            std::vector<Partial> extended;
            for (std::size_t p = 0; p < candidates[i - 1].size(); ++p) {
                const double step =
                    movementCost(candidates[i - 1][p], shape, tuning, options) + shape.score();
                for (std::size_t r = 0; r < best[i - 1][p].size(); ++r) {
                    extended.push_back({best[i - 1][p][r].cost + step, p, r});
                }
            }
            // Stable: at equal cost the partial of the earlier candidate and rank stays first.
            std::stable_sort(extended.begin(), extended.end(),
                             [](const Partial& a, const Partial& b) { return a.cost < b.cost; });
            extended.resize(std::min(extended.size(), keep));
            best[i][j] = std::move(extended);
        }
    }
    struct End {
        double cost;
        std::size_t candidate;
        std::size_t rank;
    };
    std::vector<End> ends;
    const std::size_t last = candidates.size() - 1;
    for (std::size_t j = 0; j < best[last].size(); ++j) {
        for (std::size_t r = 0; r < best[last][j].size(); ++r) {
            ends.push_back({best[last][j][r].cost, j, r});
        }
    }
    std::stable_sort(ends.begin(), ends.end(),
                     [](const End& a, const End& b) { return a.cost < b.cost; });
    ends.resize(std::min(ends.size(), keep));

    std::vector<Arrangement> arrangements;
    for (const End& end : ends) {
        Arrangement arrangement;
        arrangement.cost = end.cost;
        arrangement.shapes.resize(candidates.size());
        arrangement.movements.assign(candidates.size(), 0.0);
        std::size_t candidate = end.candidate;
        std::size_t rank = end.rank;
        for (std::size_t i = last + 1; i-- > 0;) {
            arrangement.shapes[i] = candidates[i][candidate];
            const Partial& partial = best[i][candidate][rank];
            if (i > 0) {
                arrangement.movements[i] =
                    movementCost(candidates[i - 1][partial.previousCandidate],
                                 arrangement.shapes[i], tuning, options);
            }
            candidate = partial.previousCandidate;
            rank = partial.previousRank;
        }
        arrangements.push_back(std::move(arrangement));
    }
    return arrangements;
}

std::vector<TARVProgression::Arrangement>
TARVProgression::arrangements(const std::vector<SChordPtr>& chords, const TuningPtr& tuning,
                              const TARVProgressionOptions& options) {
    if (!tuning || chords.empty()) {
        return {};
    }
    TARVPlayableOptions playable = options.playable;
    playable.maximumShapes = std::max<std::size_t>(1, options.candidates);
    std::vector<std::vector<TARVPlayableShape>> candidates;
    for (const SChordPtr& chord : chords) {
        if (!chord) {
            return {};
        }
        // A chord that comes back shares the candidates of its first appearance.
        const auto earlier = std::find_if(
            chords.begin(), chords.begin() + static_cast<std::ptrdiff_t>(candidates.size()),
            [&](const SChordPtr& other) { return *other == *chord; });
        if (earlier != chords.begin() + static_cast<std::ptrdiff_t>(candidates.size())) {
            candidates.push_back(candidates[static_cast<std::size_t>(earlier - chords.begin())]);
            continue;
        }
        candidates.push_back(TARVPlayableShapes::shapesForChord(chord, tuning, playable));
    }
    return arrangementsOfCandidates(candidates, tuning, options);
}

TARVProgression::TuningPtr TARVProgression::tuningWithCapo(const TuningPtr& tuning,
                                                           std::uint8_t capo) {
    if (!tuning) {
        return nullptr;
    }
    return SStringedInstrumentTuning::initWithPitches(tuning->stringPitches(), tuning->fretCount(),
                                                      capo, tuning->name(), tuning->noteString(),
                                                      tuning->stringOrderTransform());
}

std::vector<TARVProgression::CapoChoice>
TARVProgression::capoChoices(const std::vector<SChordPtr>& chords, const TuningPtr& tuning,
                             const TARVProgressionOptions& options) {
    std::vector<CapoChoice> choices;
    if (!tuning || chords.empty() ||
        std::any_of(chords.begin(), chords.end(), [](const SChordPtr& chord) { return !chord; })) {
        return choices;
    }
    TARVProgressionOptions single = options;
    single.alternatives = 1;
    const int highest = std::min<int>(options.highestCapo, tuning->fretCount());
    for (int capo = 0; capo <= highest; ++capo) {
        const TuningPtr capoed = tuningWithCapo(tuning, static_cast<std::uint8_t>(capo));
        std::vector<Arrangement> found = arrangements(chords, capoed, single);
        if (found.empty()) {
            continue;
        }
        CapoChoice choice;
        choice.capo = static_cast<std::uint8_t>(capo);
        for (const SChordPtr& chord : chords) {
            choice.writtenChords.push_back(TARVChordNaming::transposedChord(chord, -capo));
        }
        choice.arrangement = std::move(found.front());
        choice.cost = choice.arrangement.cost + options.capoFretWeight * capo;
        choices.push_back(std::move(choice));
    }
    std::stable_sort(choices.begin(), choices.end(),
                     [](const CapoChoice& a, const CapoChoice& b) { return a.cost < b.cost; });
    return choices;
}

} // namespace tarv
