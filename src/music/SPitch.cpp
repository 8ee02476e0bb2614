#include "tarv/music/SPitch.hpp"

#include "tarv/music/TARVHasher.hpp"

#include <charconv>

namespace tarv {

std::optional<SPitch> SPitch::pitchWithNote(const std::optional<SNote>& note,
                                            std::int8_t octave) noexcept {
    if (!note) {
        return std::nullopt;
    }
    return SPitch(*note, octave);
}

std::optional<SPitch> SPitch::pitchWithString(std::string_view text) {
    const auto digits = text.find_first_of("-0123456789", 1);
    if (digits == std::string_view::npos) {
        return std::nullopt;
    }
    const auto note = SNote::noteWithString(text.substr(0, digits));
    if (!note) {
        return std::nullopt;
    }
    const auto octaveText = text.substr(digits);
    int octave = 0;
    const auto [end, error] =
        std::from_chars(octaveText.data(), octaveText.data() + octaveText.size(), octave);
    if (error != std::errc() || end != octaveText.data() + octaveText.size() || octave < -128 ||
        octave > 127) {
        return std::nullopt;
    }
    return SPitch(*note, static_cast<std::int8_t>(octave));
}

std::int32_t SPitch::absoluteSemitone() const noexcept {
    return 12 * static_cast<std::int32_t>(_octave) + _note.semitonesAboveC();
}

SPitch SPitch::pitchAtOffset(std::int8_t offset) const noexcept {
    if (offset == 0) {
        return *this;
    }
    const std::int32_t target = absoluteSemitone() + offset;
    const std::int32_t octave = target >= 0 ? target / 12 : -((11 - target) / 12);
    return SPitch(SNote::noteWithValue(target - 12 * octave), static_cast<std::int8_t>(octave));
}

std::int32_t SPitch::offsetFromPitch(const SPitch& pitch) const noexcept {
    return absoluteSemitone() - pitch.absoluteSemitone();
}

std::string SPitch::string() const {
    return _note.string() + std::to_string(_octave);
}

std::uint64_t SPitch::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(_note.hash()));
    TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(_octave));
    return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
}

} // namespace tarv
