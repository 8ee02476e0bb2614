// Uncached generation in standard tuning with 22 frets, and on a twelve-string (six-course)
// guitar with 22 frets.
//
//   build/bench/TARVGenerationBenchmark --benchmark_repetitions=5
//       --benchmark_report_aggregates_only=true

#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>
#include <vector>

using namespace tarv;

namespace {

void generate(benchmark::State& state, const std::string& symbol) {
    const auto chord = SChord::chordWithString(symbol);
    if (!chord) {
        state.SkipWithError(("unreadable chord " + symbol).c_str());
        return;
    }
    const SStringedInstrumentTuningConstPtr tuning =
        SStringedInstrumentTuning::stringedInstrumentTuning();
    std::size_t shapes = 0;
    for (auto _ : state) {
        const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
        shapes = generator->shapes()->size();
        benchmark::DoNotOptimize(generator);
    }
    state.counters["shapes"] = static_cast<double>(shapes);
}

void generateCatalogue(benchmark::State& state) {
    static const char* const roots[] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                        "F#", "G",  "Ab", "A",  "Bb", "B"};
    std::vector<SChordPtr> chords;
    for (const char* root : roots) {
        for (const std::string& quality : SChord::supportedQualities()) {
            auto chord = SChord::chordWithString(root + quality);
            if (!chord) {
                state.SkipWithError(("unreadable chord " + std::string(root) + quality).c_str());
                return;
            }
            chords.push_back(std::move(chord));
        }
    }
    const SStringedInstrumentTuningConstPtr tuning =
        SStringedInstrumentTuning::stringedInstrumentTuning();
    for (auto _ : state) {
        for (const auto& chord : chords) {
            benchmark::DoNotOptimize(TARVChordShapeGenerator::initUncachedWithChord(chord, tuning));
        }
    }
    state.counters["chords"] = static_cast<double>(chords.size());
}

/// Twelve strings in six courses, lowest-pitched course last: E4 E4, B3 B3, G4 G3, D4 D3, A3 A2,
/// E3 E2.
SStringedInstrumentTuningConstPtr twelveCourseTuning() {
    static const char* const names[] = {"E4", "E4", "B3", "B3", "G4", "G3",
                                        "D4", "D3", "A3", "A2", "E3", "E2"};
    std::vector<SPitch> pitches;
    std::string noteString;
    for (const char* name : names) {
        const auto pitch = SPitch::pitchWithString(name);
        if (!pitch) {
            throw std::invalid_argument(std::string("unreadable pitch ") + name);
        }
        pitches.push_back(*pitch);
        noteString.insert(0, pitch->note().string());
    }
    return SStringedInstrumentTuning::initWithPitches(
        std::move(pitches), 22, 0, TARVMakeSharedText("Twelve-string"), noteString, std::nullopt);
}

/// The thirteenth chord of every root on the twelve-string guitar.
void generateTwelveCourseThirteenths(benchmark::State& state) {
    static const char* const roots[] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                        "F#", "G",  "Ab", "A",  "Bb", "B"};
    std::vector<SChordPtr> chords;
    for (const char* root : roots) {
        auto chord = SChord::chordWithString(std::string(root) + "13");
        if (!chord) {
            state.SkipWithError(("unreadable chord " + std::string(root) + "13").c_str());
            return;
        }
        chords.push_back(std::move(chord));
    }
    const SStringedInstrumentTuningConstPtr tuning = twelveCourseTuning();
    std::size_t shapes = 0;
    for (auto _ : state) {
        shapes = 0;
        for (const auto& chord : chords) {
            shapes +=
                TARVChordShapeGenerator::initUncachedWithChord(chord, tuning)->shapes()->size();
        }
        benchmark::DoNotOptimize(shapes);
    }
    state.counters["shapes"] = static_cast<double>(shapes);
}

} // namespace

BENCHMARK_CAPTURE(generate, C, std::string("C"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, Am, std::string("Am"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, G7, std::string("G7"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, Cmaj7, std::string("Cmaj7"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, FSharpm7b5, std::string("F#m7b5"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, COverE, std::string("C/E"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, E5, std::string("E5"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(generate, C13, std::string("C13"))->Unit(benchmark::kMicrosecond);
BENCHMARK(generateCatalogue)->Unit(benchmark::kMillisecond);
BENCHMARK(generateTwelveCourseThirteenths)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
