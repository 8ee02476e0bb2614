// Tuning texts of the tarvguitar tool: pitches, name, fret count and capo as the command line
// gives them, and fret texts as the tool checks them. Input errors are the tool's InputError.

#include "FuzzSupport.hpp"

#include "InputReading.hpp"

#include "tarv/shapes/TARVChordShape.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarv;
    using namespace tarv::tool;
    if (size < 2) {
        return 0;
    }
    // The first two bytes choose the fret count and capo (or none); the rest is the text.
    const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
    TuningRequest request;
    request.pitches = text;
    if (data[0] & 1) {
        request.fretCount = static_cast<int>(data[0] >> 1) * 3 - 60;
    }
    if (data[1] & 1) {
        request.capo = static_cast<int>(data[1] >> 1) * 3 - 60;
    }
    if (data[1] & 2) {
        request.name = text;
    }
    try {
        const auto tuning = tuningForRequest(request);
        TARV_FUZZ_CHECK(tuning != nullptr, "no tuning and no error");
        TARV_FUZZ_CHECK(!tuning->stringPitches().empty(), "a tuning without strings");
        (void)tuning->asciiNoteString();
        (void)tuning->hash();
    } catch (const InputError&) {
    }
    try {
        const FretText fretText = readFretText(text);
        TARV_FUZZ_CHECK(fretText.highestFret >= 0 && fretText.highestFret <= 127,
                        "a fret outside 0 to 127");
        const auto shape = TARVChordShape::shapeForFretNumberString(fretText.notation);
        TARV_FUZZ_CHECK(shape != nullptr, "a checked fret text the shape notation refuses");
    } catch (const InputError&) {
    }
    (void)trimmed(text);
    return 0;
}
