// The playable search and ranking against the generator on the same chords.
#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

#include <benchmark/benchmark.h>

#include <sstream>

namespace {

using namespace tarv;

SStringedInstrumentTuningConstPtr tuning(const std::string& text) {
    std::istringstream stream(text);
    std::vector<SPitch> pitches;
    for (std::string name; stream >> name;) {
        pitches.insert(pitches.begin(), *SPitch::pitchWithString(name));
    }
    return SStringedInstrumentTuning::initWithPitches(pitches, 22, 0, TARVMakeSharedText("bench"),
                                                      "", std::nullopt);
}

const char* const kChords[] = {"C", "G7", "C13", "F#m7b5", "Am", "Cmaj7"};

void rankPlayable(benchmark::State& state) {
    const SChordPtr chord = SChord::chordWithString(kChords[state.range(0)]);
    const auto guitar = tuning("E2 A2 D3 G3 B3 E4");
    for (auto _ : state) {
        benchmark::DoNotOptimize(TARVPlayableShapes::shapesForChord(chord, guitar));
    }
    state.SetLabel(kChords[state.range(0)]);
}
BENCHMARK(rankPlayable)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);

void generateUncached(benchmark::State& state) {
    const SChordPtr chord = SChord::chordWithString(kChords[state.range(0)]);
    const auto guitar = tuning("E2 A2 D3 G3 B3 E4");
    for (auto _ : state) {
        benchmark::DoNotOptimize(TARVChordShapeGenerator::initUncachedWithChord(chord, guitar));
    }
    state.SetLabel(kChords[state.range(0)]);
}
BENCHMARK(generateUncached)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);

void rankThirteenthOnEightStrings(benchmark::State& state) {
    const SChordPtr chord = SChord::chordWithString("C13");
    const auto eight = tuning("F#1 B1 E2 A2 D3 G3 B3 E4");
    for (auto _ : state) {
        benchmark::DoNotOptimize(TARVPlayableShapes::shapesForChord(chord, eight));
    }
}
BENCHMARK(rankThirteenthOnEightStrings)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
