#include "tarv/settings/PitchDescriptor.hpp"

#include "settings/TARVSettingsHashing.hpp"
#include "tarv/settings/TARVPropertyListDecoder.hpp"
#include "tarv/settings/TARVPropertyListEncoder.hpp"

namespace tarv {

PitchDescriptor::PitchDescriptor(const TARVPropertyListDecoder& decoder)
    : _noteName(decoder.decodeString("note")), _octave(decoder.decodeInt64("octave")) {}

void PitchDescriptor::encode(TARVPropertyListEncoder& encoder) const {
    encoder.encode("note", _noteName);
    encoder.encode("octave", _octave);
}

void PitchDescriptor::hashInto(TARVHasher* hasher) const noexcept {
    settings_hashing::addString(hasher, _noteName);
    settings_hashing::addInt64(hasher, _octave);
}

std::uint64_t PitchDescriptor::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    hashInto(&hasher);
    return TARVHasherGetResult(&hasher);
}

} // namespace tarv
