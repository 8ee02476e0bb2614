#pragma once

#include "tarv/music/SPitch.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarv {

class TARVChordShape;
class SStringedInstrumentTuning;
class TARVKeyedArchiver;
class TARVKeyedUnarchiver;
struct TARVArchiveClass;
using SStringedInstrumentTuningPtr = std::shared_ptr<SStringedInstrumentTuning>;
/// A shared, immutable text. Tunings compare their names by identity of this object.
using TARVSharedText = std::shared_ptr<const std::string>;

/// How a fretted instrument is tuned: the open pitch of every string (string 0 first, the
/// highest-sounding string of a guitar), the number of frets, the capo, a display name and a
/// compact note string. Immutable apart from the string order transform.
class SStringedInstrumentTuning {
public:
    using StringOrderTransform = std::vector<std::int64_t>;

    /// The designated initializer. Validates nothing.
    SStringedInstrumentTuning(std::vector<SPitch> pitches, std::uint8_t fretCount,
                              std::uint8_t capo, TARVSharedText name, std::string noteString,
                              std::optional<StringOrderTransform> stringOrderTransform);

    static SStringedInstrumentTuningPtr
    initWithPitches(std::vector<SPitch> pitches, std::uint8_t fretCount, std::uint8_t capo,
                    TARVSharedText name, std::string noteString,
                    std::optional<StringOrderTransform> stringOrderTransform);

    /// The default tuning: a six-string guitar in standard tuning, 22 frets, no capo, named by
    /// the localized text for "Standard".
    static SStringedInstrumentTuningPtr stringedInstrumentTuning();

    const TARVSharedText& name() const noexcept { return _mName; }
    const std::string& noteString() const noexcept { return _mNoteString; }
    const std::vector<SPitch>& stringPitches() const noexcept { return _mStringPitches; }
    std::uint8_t capo() const noexcept { return _mCapo; }
    std::uint8_t fretCount() const noexcept { return _mFretCount; }
    std::uint8_t stringCount() const noexcept {
        return static_cast<std::uint8_t>(_mStringPitches.size());
    }
    const std::optional<StringOrderTransform>& stringOrderTransform() const noexcept {
        return _mStringOrderTransform;
    }
    void setStringOrderTransform(std::optional<StringOrderTransform> transform) {
        _mStringOrderTransform = std::move(transform);
    }

    /// The open pitch of `string`, through the string order transform when there is one.
    /// Throws std::out_of_range for a string or transform entry outside the pitch list.
    const SPitch& pitchForString(std::int64_t string) const;
    /// The pitches `shape` sounds, from string 0 up; muted and unmarked strings left out.
    std::vector<SPitch> pitchesForShape(const TARVChordShape& shape, std::int8_t withOffset) const;
    /// The open notes from the lowest string to the highest, flats written "-" and sharps "+".
    const std::string& asciiNoteString() const noexcept { return _mAsciiNoteString; }

    bool isEqualToTuning(const SStringedInstrumentTuning& other) const noexcept;
    bool isEqual(const SStringedInstrumentTuning& other) const noexcept {
        return isEqualToTuning(other);
    }
    std::uint64_t hash() const noexcept;
    std::string description() const;

    /// Copying a tuning answers the tuning itself.
    static SStringedInstrumentTuningPtr copy(const SStringedInstrumentTuningPtr& tuning) {
        return tuning;
    }

    static constexpr bool supportsSecureCoding() noexcept { return true; }

    // Keyed archive
    /// "SStringedInstrumentTuning", a subclass of NSObject.
    static const TARVArchiveClass& archiveClass() noexcept;
    /// Writes "fretCount" and "capo" (number objects), "stringPitches" (a list of pitches),
    /// "name" and "noteString" (texts), and "stringOrderTransform" (a list of numbers) only when
    /// there is a transform.
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// Null, with a failure on the coder, when "fretCount" or "stringPitches" is missing; a
    /// missing "capo" reads as 0 and a missing "name" or "noteString" as an empty text. With
    /// secure decoding the lists are read with their element classes, and again as plain lists
    /// when either came back absent.
    static SStringedInstrumentTuningPtr initWithCoder(TARVKeyedUnarchiver& coder);

private:
    TARVSharedText _mName;
    std::string _mNoteString;
    std::vector<SPitch> _mStringPitches;
    std::uint8_t _mCapo;
    std::uint8_t _mFretCount;
    std::optional<StringOrderTransform> _mStringOrderTransform;
    std::string _mAsciiNoteString;
};

/// The localized text for `key` from the application's text domain (gettext), or the key itself
/// when there is no translation. The same key and translation always give the same text object.
TARVSharedText TARVLocalizedString(const std::string& key);

/// A shared text object made from `text`; each call makes a new object.
inline TARVSharedText TARVMakeSharedText(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

} // namespace tarv
