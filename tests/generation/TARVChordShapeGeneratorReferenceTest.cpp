// Generation against a plain reference: every candidate of every range and bass string is
// normalised, built as a shape and put into the working set, invalid shapes are removed from the
// whole set afterwards, and the rest are scored and sorted. The generator must end with the same
// fret lists, the same working set in the same order and the same shapes.

#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/instruments/SNoteGuitar.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

using namespace tarv;

namespace {

class ReferenceGeneration {
public:
    ReferenceGeneration(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning)
        : _chord(std::move(chord)), _tuning(std::move(tuning)) {
        buildFretLists();
        for (std::uint32_t fret = 0; fret < _tuning->fretCount(); ++fret) {
            TARVFretRange range{fret, 4};
            if (fret + 4 > _tuning->fretCount()) {
                range.length = _tuning->fretCount() - fret;
            }
            addShapesForFretRange(range);
        }
        std::erase_if(_shapeSet, [this](const TARVChordShapePtr& shape) { return !valid(*shape); });
        for (const auto& shape : _shapeSet) {
            shape->setBadness(TARVChordShapeScorer::scoreForShape(*shape, _tuning->stringCount()));
        }
        _shapes = _shapeSet;
        std::stable_sort(_shapes.begin(), _shapes.end(),
                         [](const TARVChordShapePtr& a, const TARVChordShapePtr& b) {
                             return a->compare(*b) < 0;
                         });
        if (_shapes.size() > 20) {
            _shapes.resize(20);
        }
    }

    const std::vector<std::vector<std::int16_t>>& stringFretLists() const { return _fretLists; }
    const std::vector<TARVChordShapePtr>& shapeSet() const { return _shapeSet; }
    const std::vector<TARVChordShapePtr>& shapes() const { return _shapes; }
    std::size_t candidates() const { return _candidates; }

private:
    using Candidate = std::vector<TARVFretIndicator>;

    void buildFretLists() {
        std::vector<std::vector<std::int16_t>> lists;
        for (std::uint8_t string = 0; string < _tuning->stringCount(); ++string) {
            std::vector<std::int16_t> list;
            for (const SNote& note : _chord->notes()) {
                for (const std::int8_t fret : fretsForString(note, string, *_tuning, false)) {
                    list.push_back(fret);
                }
            }
            std::sort(list.begin(), list.end());
            lists.push_back(list);
        }
        if (const auto& transform = _tuning->stringOrderTransform()) {
            for (const std::int64_t entry : *transform) {
                _fretLists.push_back(lists.at(static_cast<std::size_t>(entry)));
            }
        } else {
            _fretLists = lists;
        }
    }

    void addShapesForFretRange(TARVFretRange range) {
        const SNote bass = _chord->addedBase().value_or(_chord->root());
        for (std::int32_t string = _tuning->stringCount() - 1; string >= 1; --string) {
            for (const auto& shape :
                 shapesForBassString(range, bass, static_cast<std::uint32_t>(string))) {
                add(shape);
            }
        }
    }

    void add(const TARVChordShapePtr& shape) {
        const auto [first, last] = _byHash.equal_range(shape->hash());
        for (auto it = first; it != last; ++it) {
            if (_shapeSet[it->second]->isEqual(*shape)) {
                return;
            }
        }
        _byHash.emplace(shape->hash(), _shapeSet.size());
        _shapeSet.push_back(shape);
    }

    std::vector<TARVChordShapePtr> shapesForBassString(TARVFretRange range, const SNote& bass,
                                                       std::uint32_t string) {
        std::vector<TARVChordShapePtr> shapes;
        std::optional<std::int16_t> bassFret;
        const SNote open = _tuning->pitchForString(string).note();
        for (const std::int16_t fret : fretsInRange(string, range)) {
            if (fret >= 0 && open.noteWithOffset(static_cast<std::int8_t>(fret))
                                 .isEnharmonicallyEquivalentToNote(bass)) {
                bassFret = fret;
                break;
            }
        }
        if (!bassFret) {
            return shapes;
        }
        const Candidate base{TARVFretIndicator(
            static_cast<std::int8_t>(*bassFret - static_cast<std::int64_t>(range.location)),
            static_cast<std::uint8_t>(string))};
        for (const Candidate& candidate :
             combinations(base, range, static_cast<std::int32_t>(string) - 1)) {
            ++_candidates;
            std::uint8_t offset = 0;
            const Candidate normalized = normalize(candidate, offset);
            shapes.push_back(TARVChordShape::shapeFromIndicatorArray(
                normalized, static_cast<std::uint8_t>(offset + range.location)));
        }
        return shapes;
    }

    std::vector<std::int16_t> fretsInRange(std::uint32_t string, TARVFretRange range) const {
        std::vector<std::int16_t> frets;
        for (const std::int16_t fret : _fretLists.at(string)) {
            if (fret >= 0 && range.location <= static_cast<std::uint64_t>(fret) &&
                static_cast<std::uint64_t>(fret) <= range.location + range.length) {
                frets.push_back(fret);
            }
        }
        if (string == 0 || frets.empty() || range.location == 0 || _chord->notes().size() == 2) {
            frets.insert(frets.begin(), -1);
        }
        return frets;
    }

    std::vector<Candidate> combinations(const Candidate& base, TARVFretRange range,
                                        std::int32_t string) const {
        if (string < 0) {
            return {base};
        }
        std::vector<Candidate> result;
        for (const std::int16_t fret : fretsInRange(static_cast<std::uint32_t>(string), range)) {
            Candidate extended = base;
            extended.emplace_back(
                static_cast<std::int8_t>(fret - static_cast<std::int64_t>(range.location)),
                static_cast<std::uint8_t>(string));
            for (Candidate& candidate : combinations(extended, range, string - 1)) {
                result.push_back(std::move(candidate));
            }
        }
        return result;
    }

    Candidate normalize(const Candidate& candidate, std::uint8_t& offset) const {
        std::int32_t lowest = 4;
        for (const auto& indicator : candidate) {
            if (indicator.fret() >= 0 && indicator.fret() < lowest) {
                lowest = indicator.fret();
            }
        }
        offset = static_cast<std::uint8_t>(lowest);
        std::vector<bool> unmarked(_tuning->stringCount(), true);
        const auto& transform = _tuning->stringOrderTransform();
        Candidate result;
        for (const auto& indicator : candidate) {
            TARVFretIndicator normalized(static_cast<std::int8_t>(indicator.fret() - offset),
                                         indicator.string());
            if (transform) {
                normalized.setString(static_cast<std::uint8_t>(transform->at(indicator.string())));
            }
            unmarked[normalized.string()] = false;
            result.push_back(normalized);
        }
        for (std::uint8_t string = 0; string < _tuning->stringCount(); ++string) {
            if (unmarked[string]) {
                result.push_back(TARVMutedFretIndicator::indicatorOnString(string));
            }
        }
        return result;
    }

    bool valid(const TARVChordShape& shape) const {
        if (shape._fingersRequiredToPlayWithStringCount(_tuning->stringCount()) > 4) {
            return false;
        }
        const std::vector<SNote> notes = shape.notesInTuning(*_tuning);
        if (notes.empty()) {
            return false;
        }
        const SNote bass = _chord->addedBase().value_or(_chord->root());
        if (!notes.back().isEnharmonicallyEquivalentToNote(bass)) {
            return false;
        }
        std::set<int> sounding;
        for (const SNote& note : notes) {
            sounding.insert(note.noteValue());
        }
        for (const SNote& note : _chord->characteristicNotes()) {
            if (!sounding.contains(note.noteValue())) {
                return false;
            }
        }
        return true;
    }

    SChordPtr _chord;
    SStringedInstrumentTuningConstPtr _tuning;
    std::vector<std::vector<std::int16_t>> _fretLists;
    std::vector<TARVChordShapePtr> _shapeSet;
    std::unordered_multimap<std::uint64_t, std::size_t> _byHash;
    std::vector<TARVChordShapePtr> _shapes;
    std::size_t _candidates = 0;
};

/// Equal in every field a caller can read, the classes of the marks included.
::testing::AssertionResult sameShape(const TARVChordShape& actual, const TARVChordShape& expected) {
    bool same = actual.baseFret() == expected.baseFret() &&
                actual.baseString() == expected.baseString() &&
                actual.badness() == expected.badness() && actual.reach() == expected.reach() &&
                actual.hash() == expected.hash() &&
                actual.indicators().size() == expected.indicators().size();
    for (std::size_t i = 0; same && i < actual.indicators().size(); ++i) {
        same = actual.indicators()[i].isIdenticalTo(expected.indicators()[i]);
    }
    if (same) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "generated " << actual.description() << "\nexpected " << expected.description();
}

::testing::AssertionResult sameShapes(const std::vector<TARVChordShapePtr>& actual,
                                      const std::vector<TARVChordShapePtr>& expected) {
    if (actual.size() != expected.size()) {
        auto failure = ::testing::AssertionFailure()
                       << actual.size() << " shapes where " << expected.size() << " were expected";
        for (const auto& shape : actual) {
            failure << "\ngenerated " << shape->description();
        }
        for (const auto& shape : expected) {
            failure << "\nexpected " << shape->description();
        }
        return failure;
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        auto result = sameShape(*actual[i], *expected[i]);
        if (!result) {
            return result << "\nat position " << i;
        }
    }
    return ::testing::AssertionSuccess();
}

struct TuningCase {
    const char* name;
    std::vector<const char*> pitches; // string 0 first
    std::uint8_t frets;
    std::optional<std::vector<std::int64_t>> transform;
    /// Chords of more notes than this are left out (their candidates grow as the choices per
    /// string to the power of the string count).
    std::size_t maximumNotes = 12;
};

SStringedInstrumentTuningConstPtr makeTuning(const TuningCase& tuningCase) {
    std::vector<SPitch> pitches;
    std::string noteString;
    for (const char* text : tuningCase.pitches) {
        pitches.push_back(*SPitch::pitchWithString(text));
        noteString.insert(0, pitches.back().note().string());
    }
    return SStringedInstrumentTuning::initWithPitches(pitches, tuningCase.frets, 0,
                                                      TARVMakeSharedText(tuningCase.name),
                                                      noteString, tuningCase.transform);
}

const std::vector<TuningCase>& tuningCases() {
    static const std::vector<TuningCase> cases{
        {"Dulcimer", {"D4", "A3", "D3"}, 12, std::nullopt},
        {"Ukulele", {"A4", "E4", "C4", "G4"}, 15, std::vector<std::int64_t>{0, 1, 3, 2}},
        {"Banjo", {"D4", "B3", "G3", "D3", "G4"}, 22, std::nullopt},
        {"Standard", {"E4", "B3", "G3", "D3", "A2", "E2"}, 22, std::nullopt},
        {"LeftHanded",
         {"E4", "B3", "G3", "D3", "A2", "E2"},
         24,
         std::vector<std::int64_t>{5, 4, 3, 2, 1, 0}},
        {"DropD", {"E4", "B3", "G3", "D3", "A2", "D2"}, 36, std::nullopt},
        {"SevenString", {"E4", "B3", "G3", "D3", "A2", "E2", "B1"}, 24, std::nullopt},
        {"EightString",
         {"E4", "B3", "G3", "D3", "A2", "E2", "B1", "F#1"},
         12,
         std::vector<std::int64_t>{0, 2, 1, 3, 4, 6, 5, 7}},
        // Two generator strings on one tuning string, and none on another.
        {"FoldedOrder", {"E4", "C4", "G3", "C3"}, 17, std::vector<std::int64_t>{0, 0, 2, 3}},
        {"TwelveString",
         {"E4", "E4", "B3", "B3", "G4", "G3", "D4", "D3", "A3", "A2", "E3", "E2"},
         12,
         std::nullopt,
         3},
    };
    return cases;
}

struct ReferenceCase {
    std::size_t tuning;
    std::size_t rootGroup;
};

constexpr std::size_t kRootGroups = 3;

class GenerationMatchesTheReference : public ::testing::TestWithParam<ReferenceCase> {};

TEST_P(GenerationMatchesTheReference, OnEveryQuality) {
    static const char* const roots[] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                        "F#", "G",  "Ab", "A",  "Bb", "B"};
    const TuningCase& tuningCase = tuningCases()[GetParam().tuning];
    const auto tuning = makeTuning(tuningCase);
    std::size_t generated = 0;
    std::size_t chords = 0;
    for (std::size_t root = GetParam().rootGroup; root < 12; root += kRootGroups) {
        for (const std::string& quality : SChord::supportedQualities()) {
            const std::string symbol = roots[root] + quality;
            const auto chord = SChord::chordWithString(symbol);
            ASSERT_TRUE(chord) << symbol;
            if (chord->notes().size() > tuningCase.maximumNotes) {
                continue;
            }
            ++chords;
            const ReferenceGeneration reference(chord, tuning);
            const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
            ASSERT_TRUE(generator->shapes()) << symbol;
            EXPECT_EQ(generator->stringFretLists(), reference.stringFretLists()) << symbol;
            EXPECT_TRUE(sameShapes(generator->shapeSet(), reference.shapeSet()))
                << symbol << " in " << tuningCase.name << ": working set";
            EXPECT_TRUE(sameShapes(*generator->shapes(), reference.shapes()))
                << symbol << " in " << tuningCase.name << ": shapes";
            generated += reference.shapeSet().size();
        }
    }
    EXPECT_GT(chords, 0u);
    EXPECT_GT(generated, 0u) << tuningCase.name;
}

std::vector<ReferenceCase> referenceCases() {
    std::vector<ReferenceCase> cases;
    for (std::size_t tuning = 0; tuning < tuningCases().size(); ++tuning) {
        for (std::size_t group = 0; group < kRootGroups; ++group) {
            cases.push_back({tuning, group});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Tunings, GenerationMatchesTheReference,
                         ::testing::ValuesIn(referenceCases()),
                         [](const ::testing::TestParamInfo<ReferenceCase>& param) {
                             return std::string(tuningCases()[param.param.tuning].name) + "_Roots" +
                                    std::to_string(param.param.rootGroup);
                         });

} // namespace
