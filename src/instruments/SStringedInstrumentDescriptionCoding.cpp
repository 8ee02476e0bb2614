#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/instruments/SStringedInstrumentDescription.hpp"

namespace tarv {

namespace {

constexpr TARVArchiveClass kDescriptionClass{"SStringedInstrumentDescription",
                                             &TARVArchiveClasses::NSObject, true};

} // namespace

const TARVArchiveClass& SStringedInstrumentDescription::archiveClass() noexcept {
    return kDescriptionClass;
}

void SStringedInstrumentDescription::encodeWithCoder(TARVKeyedArchiver& coder) const {
    if (_mInstrumentName) {
        coder.encodeString(*_mInstrumentName, "instrumentName");
    } else {
        coder.encodeObject(TARVSharedText(), "instrumentName");
    }
    coder.encodeObject(_mTuning, "tuning");
}

SStringedInstrumentDescriptionPtr
SStringedInstrumentDescription::initWithCoder(TARVKeyedUnarchiver& coder) {
    auto instrumentName = coder.decodeString("instrumentName");
    SStringedInstrumentTuningPtr tuning =
        coder.decodeObjectOfClass<SStringedInstrumentTuning>("tuning");
    if (coder.error()) {
        return nullptr;
    }
    if (!instrumentName || !tuning) {
        coder.failWithError(std::string("An instrument description cannot be decoded without ") +
                            (instrumentName ? "\"tuning\"." : "\"instrumentName\"."));
        return nullptr;
    }
    return initWithTuning(std::move(tuning), std::move(instrumentName));
}

} // namespace tarv
