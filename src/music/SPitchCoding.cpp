#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/music/SPitch.hpp"

namespace tarv {

namespace {
constexpr TARVArchiveClass kPitchClass{"SPitch", &TARVArchiveClasses::NSObject, true};
} // namespace

const TARVArchiveClass& SPitch::archiveClass() noexcept {
    return kPitchClass;
}

void SPitch::encodeWithCoder(TARVKeyedArchiver& coder) const {
    coder.encodeString(_note.string(), "note");
    coder.encodeNumber(_octave, "octave");
}

std::optional<SPitch> SPitch::initWithCoder(TARVKeyedUnarchiver& coder) {
    const auto text = coder.decodeString("note");
    const auto octave = coder.decodeNumber("octave");
    if (coder.error()) {
        return std::nullopt;
    }
    if (!text || !octave) {
        coder.failWithError(std::string("A pitch needs both \"note\" and \"octave\"; ") +
                            (text ? "\"octave\"" : "\"note\"") + " is missing.");
        return std::nullopt;
    }
    const auto note = SNote::noteWithString(*text);
    if (!note) {
        coder.failWithError("The pitch's note \"" + *text + "\" names no note.");
        return std::nullopt;
    }
    return SPitch(*note, octave->charValue());
}

} // namespace tarv
