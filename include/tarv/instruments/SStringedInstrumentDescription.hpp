#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarv {

class SStringedInstrumentDescription;
class TARVKeyedArchiver;
class TARVKeyedUnarchiver;
struct TARVArchiveClass;
using SStringedInstrumentDescriptionPtr = std::shared_ptr<SStringedInstrumentDescription>;

/// A stringed instrument: a display name and the instrument's tuning. Immutable apart from the
/// instrument name.
///
/// The dictionary form, read by `stringedInstrumentDescriptionWithDictionary`, is a map with the
/// instrument's "name", its "frets" and "capo" (numbers) and a "tuning" map holding "notes" (one
/// map with "note" and "octave" per string, first string first), "name", "noteString" and an
/// optional "stringOrderTransform".
class SStringedInstrumentDescription {
public:
    /// The designated initializer. Throws std::invalid_argument for a null tuning.
    SStringedInstrumentDescription(SStringedInstrumentTuningPtr tuning,
                                   std::optional<std::string> instrumentName);

    static SStringedInstrumentDescriptionPtr
    initWithTuning(SStringedInstrumentTuningPtr tuning, std::optional<std::string> instrumentName);

    /// A guitar in the default tuning, named by the localized text for "Guitar".
    static SStringedInstrumentDescriptionPtr stringedInstrumentDescription();

    /// A description from its dictionary form. The values are taken as they come: a missing
    /// "frets" or "capo" reads as 0 and both are cut to their low 8 bits; a missing "tuning" or
    /// "notes" gives a tuning without strings; missing names stay absent (a missing tuning
    /// "noteString" becomes the empty text). A JSON null counts as missing.
    /// Throws std::invalid_argument when a value is of a kind that cannot be read as what its key
    /// stands for, or when a string's "note" names no note.
    static SStringedInstrumentDescriptionPtr
    stringedInstrumentDescriptionWithDictionary(const nlohmann::json& dictionary);

    /// The tuning of the dictionary form from its "tuning" map; the low 8 bits of `fretCount` and
    /// `capo` are used.
    static SStringedInstrumentTuningPtr _tuningWithDictionary(const nlohmann::json& dictionary,
                                                              std::uint64_t fretCount,
                                                              std::int32_t capo);

    /// A new description with the same name whose tuning is this one's without the capo.
    SStringedInstrumentDescriptionPtr copyWithoutCapo() const;

    const SStringedInstrumentTuningPtr& tuning() const noexcept { return _mTuning; }
    const std::optional<std::string>& instrumentName() const noexcept { return _mInstrumentName; }
    void setInstrumentName(std::optional<std::string> instrumentName) {
        _mInstrumentName = std::move(instrumentName);
    }

    /// Equal names (an absent name equals nothing, not even itself) and equal tunings.
    bool isEqualToDescription(const SStringedInstrumentDescription& other) const noexcept;
    bool isEqual(const SStringedInstrumentDescription& other) const noexcept {
        return isEqualToDescription(other);
    }
    std::uint64_t hash() const noexcept;
    std::string description() const;

    /// Copying a description answers the description itself.
    static SStringedInstrumentDescriptionPtr
    copy(const SStringedInstrumentDescriptionPtr& description) {
        return description;
    }

    static constexpr bool supportsSecureCoding() noexcept { return true; }

    // Keyed archive
    /// "SStringedInstrumentDescription", a subclass of NSObject.
    static const TARVArchiveClass& archiveClass() noexcept;
    /// Writes "instrumentName" (a text, nil when absent), then "tuning" (the tuning's archive).
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// Null, with a failure on the coder, when "instrumentName" (a text) or "tuning" (a
    /// `SStringedInstrumentTuning`) is missing.
    static SStringedInstrumentDescriptionPtr initWithCoder(TARVKeyedUnarchiver& coder);

private:
    SStringedInstrumentTuningPtr _mTuning;
    std::optional<std::string> _mInstrumentName;
};

} // namespace tarv

template <> struct std::hash<tarv::SStringedInstrumentDescription> {
    std::size_t operator()(const tarv::SStringedInstrumentDescription& description) const noexcept {
        return description.hash();
    }
};
