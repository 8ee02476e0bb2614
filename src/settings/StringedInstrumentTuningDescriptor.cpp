#include "tarv/settings/StringedInstrumentTuningDescriptor.hpp"

#include "settings/TARVSettingsHashing.hpp"
#include "tarv/settings/TARVPropertyListDecoder.hpp"

#include <utility>

namespace tarv {

StringedInstrumentTuningDescriptor::StringedInstrumentTuningDescriptor(
    std::string tuningName, std::string noteString, std::vector<PitchDescriptor> notes,
    std::optional<std::vector<std::int64_t>> stringOrderTransform)
    : _tuningName(std::move(tuningName)), _noteString(std::move(noteString)),
      _notes(std::move(notes)), _stringOrderTransform(std::move(stringOrderTransform)) {}

StringedInstrumentTuningDescriptor::StringedInstrumentTuningDescriptor(
    const TARVPropertyListDecoder& decoder)
    : _tuningName(decoder.decodeString("name")), _noteString(decoder.decodeString("noteString")),
      _notes(decoder.decodeArray<PitchDescriptor>("notes")),
      _stringOrderTransform(decoder.decodeInt64ArrayIfPresent("stringOrderTransform")) {}

void StringedInstrumentTuningDescriptor::hashInto(TARVHasher* hasher) const noexcept {
    using namespace settings_hashing;
    addUUID(hasher, _id);
    addString(hasher, _tuningName);
    addString(hasher, _noteString);
    addUInt64(hasher, _notes.size());
    for (const PitchDescriptor& note : _notes) {
        note.hashInto(hasher);
    }
    if (!_stringOrderTransform) {
        TARVHasherAddUnsignedInt(hasher, 0);
        return;
    }
    TARVHasherAddUnsignedInt(hasher, 1);
    addUInt64(hasher, _stringOrderTransform->size());
    for (const std::int64_t entry : *_stringOrderTransform) {
        addInt64(hasher, entry);
    }
}

std::uint64_t StringedInstrumentTuningDescriptor::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    hashInto(&hasher);
    return TARVHasherGetResult(&hasher);
}

} // namespace tarv
