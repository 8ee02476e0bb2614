// The shape cache: hits, the first lookup in a tuning, and threads looking up and adding at once.
//
//   build/bench/TARVCacheBenchmark --benchmark_repetitions=5
//       --benchmark_report_aggregates_only=true

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

using namespace tarv;

namespace {

const SStringedInstrumentTuningConstPtr& standardTuning() {
    static const SStringedInstrumentTuningConstPtr tuning =
        SStringedInstrumentTuning::stringedInstrumentTuning();
    return tuning;
}

void cacheHit(benchmark::State& state) {
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    const auto chord = SChord::chordWithString("C");
    const auto generated = TARVChordShapeGenerator::initUncachedWithChord(chord, standardTuning());
    cache.addShapes(*generated->shapes(), *chord, *standardTuning());
    for (auto _ : state) {
        benchmark::DoNotOptimize(cache.shapesForChord(*chord, *standardTuning()));
    }
}

void firstLookupInATuning(benchmark::State& state) {
    const auto chord = SChord::chordWithString("C");
    if (!TARVChordShapeCache::shapeCacheFilePath(standardTuning()->asciiNoteString())) {
        state.SkipWithError("no shape cache file for standard tuning in the resources");
        return;
    }
    std::size_t entries = 0;
    for (auto _ : state) {
        TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
        benchmark::DoNotOptimize(cache.shapesForChord(*chord, *standardTuning()));
        entries = cache.count();
    }
    state.counters["entries"] = static_cast<double>(entries);
}

/// Shared by the threads of one run of concurrentLookupsAndAdditions.
TARVChordShapeCache* sharedCache = nullptr;
std::vector<std::pair<SChordPtr, std::vector<TARVChordShapePtr>>>* generatedShapes = nullptr;

void concurrentLookupsAndAdditions(benchmark::State& state) {
    if (state.thread_index() == 0) {
        sharedCache = new TARVChordShapeCache(TARVChordShapeCache::Unloaded{});
        generatedShapes = new std::vector<std::pair<SChordPtr, std::vector<TARVChordShapePtr>>>();
        for (const char* symbol : {"C", "G", "Am", "F", "D", "Em", "E7", "Bb"}) {
            auto chord = SChord::chordWithString(symbol);
            auto generator =
                TARVChordShapeGenerator::initUncachedWithChord(chord, standardTuning());
            generatedShapes->emplace_back(std::move(chord), *generator->shapes());
        }
    }
    std::size_t round = static_cast<std::size_t>(state.thread_index());
    for (auto _ : state) {
        const auto& [chord, shapes] = (*generatedShapes)[round % generatedShapes->size()];
        if (round % 4 == 0) {
            sharedCache->addShapes(shapes, *chord, *standardTuning());
        } else {
            // Answers are immutable snapshots, safe to read while other threads add.
            benchmark::DoNotOptimize(sharedCache->shapesForChord(*chord, *standardTuning()));
        }
        ++round;
    }
    if (state.thread_index() == 0) {
        delete sharedCache;
        delete generatedShapes;
    }
}

} // namespace

BENCHMARK(cacheHit)->Unit(benchmark::kNanosecond);
BENCHMARK(firstLookupInATuning)->Unit(benchmark::kMillisecond);
BENCHMARK(concurrentLookupsAndAdditions)->Threads(1)->Threads(8)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
