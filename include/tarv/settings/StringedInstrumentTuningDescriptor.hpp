#pragma once

#include "tarv/music/TARVHasher.hpp"
#include "tarv/settings/PitchDescriptor.hpp"
#include "tarv/settings/TARVUUID.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarv {

class TARVPropertyListDecoder;

/// One tuning of an instrument in a settings file: its name ("name"), note string
/// ("noteString"), the open pitch of every string, first string first ("notes"), and an optional
/// string order transform ("stringOrderTransform"). Every construction and every decoding gives
/// a new `id`, which is never read from or written to a file.
class StringedInstrumentTuningDescriptor {
public:
    StringedInstrumentTuningDescriptor(
        std::string tuningName, std::string noteString, std::vector<PitchDescriptor> notes,
        std::optional<std::vector<std::int64_t>> stringOrderTransform = std::nullopt);
    /// Decodes "name", "noteString", "notes", then "stringOrderTransform" when present; throws
    /// TARVSettingsDecodingError.
    explicit StringedInstrumentTuningDescriptor(const TARVPropertyListDecoder& decoder);

    const TARVUUID& id() const noexcept { return _id; }
    const std::string& tuningName() const noexcept { return _tuningName; }
    const std::string& noteString() const noexcept { return _noteString; }
    const std::vector<PitchDescriptor>& notes() const noexcept { return _notes; }
    const std::optional<std::vector<std::int64_t>>& stringOrderTransform() const noexcept {
        return _stringOrderTransform;
    }

    /// Every field, `id` included: only copies of one value compare equal.
    bool operator==(const StringedInstrumentTuningDescriptor& other) const = default;
    void hashInto(TARVHasher* hasher) const noexcept;
    std::uint64_t hash() const noexcept;

private:
    TARVUUID _id;
    std::string _tuningName;
    std::string _noteString;
    std::vector<PitchDescriptor> _notes;
    std::optional<std::vector<std::int64_t>> _stringOrderTransform;
};

} // namespace tarv

template <> struct std::hash<tarv::StringedInstrumentTuningDescriptor> {
    std::size_t operator()(const tarv::StringedInstrumentTuningDescriptor& tuning) const noexcept {
        return tuning.hash();
    }
};
