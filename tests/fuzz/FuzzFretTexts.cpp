// Fret texts: the shape notation, and what a shape read from it answers (notes, pitches in a
// tuning of as many strings, its dictionary form read back).

#include "FuzzSupport.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/shapes/TARVChordShape.hpp"
#include "tarv/shapes/TARVGeneralLog.hpp"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// Most fuzzed shapes are invalid, and the warning the library logs for each would cost more than
// the rest of the run.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    tarv::TARVGeneralLog::generalLog().set_level(spdlog::level::err);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarv;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto shape = TARVChordShape::shapeForFretNumberString(text);
    if (!shape) {
        return 0;
    }
    (void)shape->description();
    (void)shape->hash();
    (void)shape->reach();
    const std::uint8_t strings = shape->stringCount();
    // A tuning with one string per mark: every string the shape names exists.
    std::uint8_t highest = 0;
    for (const TARVFretIndicator& indicator : shape->indicators()) {
        highest = std::max({highest, indicator.string(),
                            indicator.isBarre() ? indicator.endString() : std::uint8_t{0}});
    }
    std::vector<SPitch> pitches(std::size_t{highest} + 1, *SPitch::pitchWithString("E2"));
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        pitches, 24, 0, TARVMakeSharedText("Fuzz"), "E", std::nullopt);
    const auto sounding = tuning->pitchesForShape(*shape, 0);
    (void)strings;
    TARV_FUZZ_CHECK(sounding.size() <= pitches.size(), "more pitches than strings");
    (void)shape->notesInTuning(*tuning);
    const nlohmann::json dictionary = shape->serializationDictionary();
    (void)dictionary.dump();
    return 0;
}
