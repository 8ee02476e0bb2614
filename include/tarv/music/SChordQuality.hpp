#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace tarv {

class SChord;
struct SChordQualityDefinition;

/// A chord quality as the library reads it ("", "m7", "dim", "13"), with what voicings of it
/// commonly leave out or add beyond its tones.
class SChordQuality {
public:
    /// Whether voicings may leave out the root: never; when another instrument plays it (jazz
    /// comping); or routinely on instruments without a bass register, such as the ukulele and
    /// the mandolin.
    enum class RootOmission : std::uint8_t { Never, Jazz, SmallInstruments };

    /// The quality whose canonical suffix is `suffix` (`SChord::supportedQualities`); none for
    /// any other text.
    static std::optional<SChordQuality> qualityWithSuffix(std::string_view suffix);
    /// The quality of `chord` when its tones are exactly that quality's, a slash bass aside;
    /// none when tones were added, altered or left out ("C7(b9)", "C(no3)").
    static std::optional<SChordQuality> qualityOfChord(const SChord& chord);

    std::string_view suffix() const noexcept;
    std::string_view name() const noexcept;
    /// Semitones above the root of its tones, ascending ("dim": 0, 3, 6).
    std::vector<int> semitones() const;
    /// Semitones above the root of tones that voicings also sound though the name does not hold
    /// them: the diminished seventh of "dim", which many sheets mean as dim7 ("dim": 9), and the
    /// natural eleventh of "13" and "maj13" (17). Empty for most qualities.
    std::vector<int> toleratedSemitones() const;
    /// Semitones above the root of tones left out only in small partial voicings, such as the
    /// four strings of a ukulele: the fifth of a triad ("": 7), the flat fifth of dim7 (6).
    std::vector<int> rarelyOmittableSemitones() const;
    RootOmission rootOmission() const noexcept;

private:
    explicit SChordQuality(const SChordQualityDefinition& definition) : _definition(&definition) {}

    const SChordQualityDefinition* _definition;
};

} // namespace tarv
