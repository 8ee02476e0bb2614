#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include "settings/TARVSettingsHashing.hpp"
#include "tarv/settings/TARVPropertyListDecoder.hpp"

#include <utility>

namespace tarv {

StringedInstrumentDescriptor::StringedInstrumentDescriptor(
    std::string name, std::int64_t frets, std::vector<std::string> capos,
    std::vector<StringedInstrumentTuningDescriptor> tunings)
    : _name(std::move(name)), _frets(frets), _capos(std::move(capos)),
      _tunings(std::move(tunings)) {}

// The keys are read in the order "name", "capo", "frets", "tunings", which is not the order of
// the fields, so the first missing or mistyped one is reported in that order.
StringedInstrumentDescriptor::StringedInstrumentDescriptor(const TARVPropertyListDecoder& decoder)
    : _name(decoder.decodeString("name")), _frets(0) {
    _capos = decoder.decodeStringArray("capo");
    _frets = decoder.decodeInt64("frets");
    _tunings = decoder.decodeArray<StringedInstrumentTuningDescriptor>("tunings");
}

void StringedInstrumentDescriptor::hashInto(TARVHasher* hasher) const noexcept {
    using namespace settings_hashing;
    addUUID(hasher, _id);
    addString(hasher, _name);
    addInt64(hasher, _frets);
    addUInt64(hasher, _capos.size());
    for (const std::string& capo : _capos) {
        addString(hasher, capo);
    }
    addUInt64(hasher, _tunings.size());
    for (const StringedInstrumentTuningDescriptor& tuning : _tunings) {
        tuning.hashInto(hasher);
    }
}

std::uint64_t StringedInstrumentDescriptor::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    hashInto(&hasher);
    return TARVHasherGetResult(&hasher);
}

} // namespace tarv
