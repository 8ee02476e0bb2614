// Chord symbols: any text either reads as a chord whose canonical text reads back as the same
// chord, or gives no chord.

#include "FuzzSupport.hpp"

#include "tarv/music/SChord.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto chord = tarv::SChord::chordWithString(text);
    if (!chord) {
        return 0;
    }
    TARV_FUZZ_CHECK(!chord->notes().empty(), "a chord without notes");
    TARV_FUZZ_CHECK(chord->numericNoteStringValue().find(':') == std::string::npos,
                    "a canonical text with \":\"");
    (void)chord->description();
    (void)chord->name();
    const auto again = tarv::SChord::chordWithString(chord->numericNoteStringValue());
    TARV_FUZZ_CHECK(again != nullptr, "the canonical text does not read back");
    TARV_FUZZ_CHECK(*again == *chord, "the canonical text reads back as another chord");
    return 0;
}
