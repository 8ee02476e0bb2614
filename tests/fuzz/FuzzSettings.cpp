// Settings property lists (XML and binary): they decode or throw the decoding error; what
// decodes turns into tunings wherever the ranges and note names that the conversions require
// hold (outside them the conversions stop the process by design, so callers check first).

#include "FuzzSupport.hpp"

#include "tarv/music/SNote.hpp"
#include "tarv/settings/NoteEntrySettings.hpp"
#include "tarv/settings/TARVSettingsConversions.hpp"
#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

using namespace tarv;

bool convertible(const StringedInstrumentDescriptor& instrument,
                 const StringedInstrumentTuningDescriptor& tuning) {
    if (instrument.frets() < 0 || instrument.frets() > 255) {
        return false;
    }
    for (const PitchDescriptor& pitch : tuning.notes()) {
        if (pitch.octave() < -128 || pitch.octave() > 127 ||
            !SNote::noteWithString(pitch.noteName()) ||
            !SPitch::pitchWithNote(SNote::noteWithString(pitch.noteName()),
                                   static_cast<std::int8_t>(pitch.octave()))) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        const NoteEntrySettings settings = NoteEntrySettings::decode(bytes);
        for (const auto& instrument : settings.tablature().instruments()) {
            (void)instrument.hash();
            for (const auto& tuning : instrument.tunings()) {
                (void)tuning.hash();
                if (convertible(instrument, tuning)) {
                    const auto made = tuningWithDescriptor(tuning, instrument, 0);
                    TARV_FUZZ_CHECK(made->stringPitches().size() == tuning.notes().size(),
                                    "a tuning with another number of strings");
                    (void)descriptionWithDescriptor(instrument, tuning, 0);
                }
            }
        }
    } catch (const TARVSettingsDecodingError& error) {
        TARV_FUZZ_CHECK(error.what() != nullptr && *error.what() != '\0',
                        "a decoding error without a message");
    }
    return 0;
}
