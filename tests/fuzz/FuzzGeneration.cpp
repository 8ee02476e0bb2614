// Generation over random small tunings: 3 to 8 strings, 0 to 40 frets, a capo of 0 to 4, open
// pitches from E1 up, and a chord of any supported quality on any root. The answer holds at most
// 20 valid shapes, best first, each within the tuning's strings.

#include "FuzzSupport.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarv;
    if (size < 5) {
        return 0;
    }
    std::size_t next = 0;
    const auto take = [&]() -> std::uint8_t {
        return next < size ? data[next++] : 0;
    };
    const int stringCount = 3 + take() % 6;
    const auto fretCount = static_cast<std::uint8_t>(take() % 41);
    const auto capo = static_cast<std::uint8_t>(take() % 5);
    static const char* const kNoteNames[] = {"C",  "C#", "D",  "D#", "E",  "F",
                                             "F#", "G",  "G#", "A",  "A#", "B"};
    std::vector<SPitch> pitches;
    for (int string = 0; string < stringCount; ++string) {
        // From E1 (value 4 above C1) over five octaves.
        const int value = 4 + take() % 60;
        const auto note = SNote::noteWithString(kNoteNames[value % 12]);
        pitches.push_back(SPitch::pitchWithNote(*note, static_cast<std::int8_t>(1 + value / 12)));
    }
    const std::string root = kNoteNames[take() % 12];
    const auto& qualities = SChord::supportedQualities();
    const std::size_t qualityIndex = (std::size_t{take()} << 8 | take()) % qualities.size();
    const auto chord = SChord::chordWithString(root + qualities[qualityIndex]);
    TARV_FUZZ_CHECK(chord != nullptr, "a supported quality does not read");
    const auto tuning = SStringedInstrumentTuning::initWithPitches(
        pitches, fretCount, capo, TARVMakeSharedText("Fuzz"), "", std::nullopt);

    const auto generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
    TARV_FUZZ_CHECK(generator && generator->shapes(), "uncached generation answered nothing");
    const auto& shapes = *generator->shapes();
    TARV_FUZZ_CHECK(shapes.size() <= 20, "more than 20 shapes");
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        const TARVChordShape& shape = *shapes[i];
        TARV_FUZZ_CHECK(i == 0 || shapes[i - 1]->badness() <= shape.badness(),
                        "shapes not sorted by badness");
        TARV_FUZZ_CHECK(generator->isValidChordShape(shape), "an invalid shape in the answer");
        for (const TARVFretIndicator& indicator : shape.indicators()) {
            const int last = indicator.isBarre() ? indicator.endString() : indicator.string();
            TARV_FUZZ_CHECK(last < stringCount, "a mark beyond the tuning's strings");
        }
        (void)tuning->pitchesForShape(shape, 0);
    }
    return 0;
}
