// Reading the text of the shipped standard-tuning shape file into chords, without decompressing
// it each time.
//
//   build/bench/TARVTuningDictionaryReaderBenchmark --benchmark_repetitions=5
//       --benchmark_report_aggregates_only=true
//
// For an instruction count of one reading:
//
//   valgrind --tool=callgrind build/bench/TARVTuningDictionaryReaderBenchmark
//       --benchmark_min_time=0
//   callgrind_annotate --inclusive=yes callgrind.out.* | grep TuningDictionaryReader::read

#include "cache/TARVTuningDictionaryReader.hpp"
#include "tarv/cache/TARVDataZLib.hpp"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string>

using namespace tarv;

namespace {

/// The JSON text of the shipped file of a tuning, or nothing when it is not there.
std::optional<std::string> shippedText(const std::string& noteString) {
    std::ifstream stream(std::string(TARV_SOURCE_DIR) + "/resources/shapecaches/" + noteString +
                             ".shapecache",
                         std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    const std::string bytes{std::istreambuf_iterator<char>(stream),
                            std::istreambuf_iterator<char>()};
    const auto data = decompressedData(
        std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    if (!data) {
        return std::nullopt;
    }
    return std::string(data->begin(), data->end());
}

void readStandardTuningFile(benchmark::State& state) {
    const auto text = shippedText("EADGBE");
    if (!text) {
        state.SkipWithError("no shipped shape file for standard tuning");
        return;
    }
    std::size_t chords = 0;
    for (auto _ : state) {
        std::string error;
        const auto read = TARVTuningDictionaryReader::read(
            *text, TARVTuningDictionaryReader::TopLevel::Dictionary, error);
        if (!read) {
            state.SkipWithError(error.c_str());
            return;
        }
        chords = read->size();
        benchmark::DoNotOptimize(read);
    }
    state.counters["chords"] = static_cast<double>(chords);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text->size()));
}

} // namespace

BENCHMARK(readStandardTuningFile)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
