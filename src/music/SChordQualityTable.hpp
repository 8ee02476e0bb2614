#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarv {

/// How widely a chord quality is used: pop and folk sheets, jazz and fake books, or rarely.
enum class SChordQualityTier : std::uint8_t { Core, Common, Rare };

/// One tone of a chord quality: its degree as chord symbols write it ("1", "b3", "#11", "bb7"),
/// its distance in semitones above the root, and whether guitarists commonly leave it out.
struct SChordToneDefinition {
    std::string_view degree;
    std::int8_t semitones;
    bool omittable;
};

/// A chord quality as chord sheets write it: the canonical suffix, every accepted spelling of
/// it, and its tones in ascending order of distance from the root.
struct SChordQualityDefinition {
    std::string_view identifier;
    std::string_view suffix;
    std::string_view name;
    SChordQualityTier tier;
    std::span<const std::string_view> aliases;
    std::span<const SChordToneDefinition> tones;
};

/// Every quality the chord parser knows: core qualities first, then common, then rare.
std::span<const SChordQualityDefinition> SChordQualityDefinitions() noexcept;

} // namespace tarv
