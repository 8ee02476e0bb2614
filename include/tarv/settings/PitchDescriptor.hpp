#pragma once

#include "tarv/music/TARVHasher.hpp"

#include <cstdint>
#include <functional>
#include <string>

namespace tarv {

class TARVPropertyListDecoder;
class TARVPropertyListEncoder;

/// The open pitch of one string in a settings file: a note name ("note") and an octave
/// ("octave"), neither checked here.
class PitchDescriptor {
public:
    PitchDescriptor(std::string noteName, std::int64_t octave)
        : _noteName(std::move(noteName)), _octave(octave) {}
    /// Decodes "note", then "octave"; throws TARVSettingsDecodingError.
    explicit PitchDescriptor(const TARVPropertyListDecoder& decoder);

    /// Stores "note" and "octave".
    void encode(TARVPropertyListEncoder& encoder) const;

    const std::string& noteName() const noexcept { return _noteName; }
    std::int64_t octave() const noexcept { return _octave; }

    bool operator==(const PitchDescriptor& other) const = default;
    /// Feeds the note name, then the octave.
    void hashInto(TARVHasher* hasher) const noexcept;
    std::uint64_t hash() const noexcept;

private:
    std::string _noteName;
    std::int64_t _octave;
};

} // namespace tarv

template <> struct std::hash<tarv::PitchDescriptor> {
    std::size_t operator()(const tarv::PitchDescriptor& pitch) const noexcept {
        return pitch.hash();
    }
};
