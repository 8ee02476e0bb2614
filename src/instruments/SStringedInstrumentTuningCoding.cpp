#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/instruments/SStringedInstrumentTuning.hpp"

namespace tarv {

namespace {

constexpr TARVArchiveClass kTuningClass{"SStringedInstrumentTuning", &TARVArchiveClasses::NSObject,
                                        true};

using PitchList = TARVArchiveList<SPitch>;
using TransformList = TARVArchiveList<std::int64_t>;

} // namespace

const TARVArchiveClass& SStringedInstrumentTuning::archiveClass() noexcept {
    return kTuningClass;
}

void SStringedInstrumentTuning::encodeWithCoder(TARVKeyedArchiver& coder) const {
    coder.encodeNumber(_mFretCount, "fretCount");
    coder.encodeNumber(_mCapo, "capo");
    coder.encodeObjectAs<PitchList>(_mStringPitches, "stringPitches");
    coder.encodeObject(_mName, "name");
    coder.encodeString(_mNoteString, "noteString");
    if (_mStringOrderTransform) {
        coder.encodeObjectAs<TransformList>(*_mStringOrderTransform, "stringOrderTransform");
    }
}

SStringedInstrumentTuningPtr SStringedInstrumentTuning::initWithCoder(TARVKeyedUnarchiver& coder) {
    const auto fretCount = coder.decodeNumber("fretCount");
    const auto capo = coder.decodeNumber("capo");

    std::optional<std::vector<SPitch>> pitches;
    std::optional<StringOrderTransform> transform;
    if (coder.requiresSecureCoding()) {
        pitches = coder.decodeObjectOfClasses<PitchList>({"NSArray", "SPitch"}, "stringPitches");
        transform = coder.decodeObjectOfClasses<TransformList>({"NSArray", "NSNumber"},
                                                               "stringOrderTransform");
    }
    if (!coder.requiresSecureCoding() || !pitches || !transform) {
        pitches = coder.decodeObjectOfClasses<PitchList>({"NSArray"}, "stringPitches");
        transform = coder.decodeObjectOfClasses<TransformList>({"NSArray"}, "stringOrderTransform");
    }

    TARVSharedText name = coder.decodeObjectOfClass<TARVSharedText>("name");
    const auto noteString = coder.decodeString("noteString");

    if (coder.error()) {
        return nullptr;
    }
    if (!fretCount || !pitches) {
        coder.failWithError(std::string("A tuning cannot be decoded without ") +
                            (fretCount ? "\"stringPitches\"." : "\"fretCount\"."));
        return nullptr;
    }
    if (!name) {
        name = TARVMakeSharedText("");
    }
    return initWithPitches(std::move(*pitches), fretCount->unsignedCharValue(),
                           capo ? capo->unsignedCharValue() : 0, std::move(name),
                           noteString.value_or(""), std::move(transform));
}

} // namespace tarv
