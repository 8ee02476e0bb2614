#include "tarv/instruments/SNoteGuitar.hpp"

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <algorithm>

namespace tarv {

namespace {
/// The frets step by 12, so taken as 8-bit values they repeat after 64 steps (64 × 12 is a multiple
/// of 256): a list that has not ended by then never would.
constexpr std::size_t kMaximumFrets = 64;
} // namespace

std::vector<std::int8_t> fretsForString(const SNote& note, std::uint8_t string,
                                        const SStringedInstrumentTuning& withTuning,
                                        bool adjustForCapo) {
    SNote openNote = withTuning.stringPitches().at(string).note();
    if (adjustForCapo) {
        openNote = openNote.noteWithOffset(static_cast<std::int8_t>(withTuning.capo()));
    }
    std::int32_t fret = note.offsetFromNote(openNote);
    const std::int32_t fretCount = withTuning.fretCount();
    std::vector<std::int8_t> frets;
    if (fret < fretCount) {
        // Exact for fret counts up to 116, where the byte test below never wraps.
        frets.reserve(std::min<std::size_t>(
            kMaximumFrets, static_cast<std::size_t>((fretCount - fret + 11) / 12)));
        // The next fret is tested as a signed byte, so on longer necks it wraps through negative
        // values before the test fails.
        do {
            frets.push_back(static_cast<std::int8_t>(fret));
            fret += 12;
        } while (fretCount > static_cast<std::int8_t>(fret) && frets.size() < kMaximumFrets);
    }
    return frets;
}

} // namespace tarv
