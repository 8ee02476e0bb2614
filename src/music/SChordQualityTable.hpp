#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarv {

/// How widely a chord quality is used: pop and folk sheets, jazz and fake books, or rarely.
enum class SChordQualityTier : std::uint8_t { Core, Common, Rare };

/// Whether voicings of a chord quality may leave out the root: never; when another instrument
/// plays it (jazz comping); or routinely on four-string instruments without a bass register,
/// ukuleles and mandolins.
enum class SChordRootOmission : std::uint8_t { Never, Jazz, SmallInstruments };

/// One tone of a chord quality: its degree as chord symbols write it ("1", "b3", "#11", "bb7"),
/// its distance in semitones above the root, whether guitarists commonly leave it out, and
/// whether it is left out only in small partial voicings (the fifth of a triad).
struct SChordToneDefinition {
    std::string_view degree;
    std::int8_t semitones;
    bool omittable;
    bool rarelyOmittable;
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
    /// Semitones above the root of tones that voicings also sound though the name does not
    /// hold them: the diminished seventh of "dim" read as dim7, the eleventh of a thirteenth.
    std::span<const std::int8_t> toleratedSemitones;
    SChordRootOmission rootOmission;
};

/// Every quality the chord parser knows: core qualities first, then common, then rare.
std::span<const SChordQualityDefinition> SChordQualityDefinitions() noexcept;

} // namespace tarv
