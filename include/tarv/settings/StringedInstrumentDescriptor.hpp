#pragma once

#include "tarv/music/TARVHasher.hpp"
#include "tarv/settings/StringedInstrumentTuningDescriptor.hpp"
#include "tarv/settings/TARVUUID.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tarv {

class TARVPropertyListDecoder;

/// One instrument of a settings file: its name ("name"), fret count ("frets"), the capo
/// positions it offers ("capo") and its tunings ("tunings"). Every construction and every
/// decoding gives a new `id`, which is never read from or written to a file.
class StringedInstrumentDescriptor {
public:
    StringedInstrumentDescriptor(std::string name, std::int64_t frets,
                                 std::vector<std::string> capos,
                                 std::vector<StringedInstrumentTuningDescriptor> tunings);
    /// Decodes "name", "capo", "frets", then "tunings"; throws TARVSettingsDecodingError.
    explicit StringedInstrumentDescriptor(const TARVPropertyListDecoder& decoder);

    const TARVUUID& id() const noexcept { return _id; }
    const std::string& name() const noexcept { return _name; }
    std::int64_t frets() const noexcept { return _frets; }
    const std::vector<std::string>& capos() const noexcept { return _capos; }
    const std::vector<StringedInstrumentTuningDescriptor>& tunings() const noexcept {
        return _tunings;
    }

    /// Every field, `id` included: only copies of one value compare equal.
    bool operator==(const StringedInstrumentDescriptor& other) const = default;
    void hashInto(TARVHasher* hasher) const noexcept;
    std::uint64_t hash() const noexcept;

private:
    TARVUUID _id;
    std::string _name;
    std::int64_t _frets;
    std::vector<std::string> _capos;
    std::vector<StringedInstrumentTuningDescriptor> _tunings;
};

} // namespace tarv

template <> struct std::hash<tarv::StringedInstrumentDescriptor> {
    std::size_t operator()(const tarv::StringedInstrumentDescriptor& instrument) const noexcept {
        return instrument.hash();
    }
};
