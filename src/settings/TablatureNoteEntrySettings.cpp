#include "tarv/settings/TablatureNoteEntrySettings.hpp"

#include "tarv/settings/TARVPropertyListDecoder.hpp"

namespace tarv {

TablatureNoteEntrySettings::TablatureNoteEntrySettings(const TARVPropertyListDecoder& decoder)
    : _instruments(decoder.decodeArray<StringedInstrumentDescriptor>("instruments")) {}

} // namespace tarv
