#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarv {

class SStringedInstrumentTuning;
class TARVPlayabilityModel;

/// What the playable search may answer, and for which hand and instrument.
struct TARVPlayableOptions {
    /// How many shapes the ranked list holds at most.
    std::size_t maximumShapes = 20;
    /// The most frets between the lowest and the highest fretted note. Absent means
    /// `defaultMaximumSpan` of the scale length.
    std::optional<std::uint8_t> maximumSpan;
    /// The widest reach of the hand in millimetres, between the finger positions (just behind
    /// the frets) of the lowest and the highest fretted note; it matters on long scales near
    /// the nut, where frets are widest.
    double maximumReach = 115.0;
    /// The thumb may fret the string at the edge of the neck.
    bool allowThumb = false;
    /// Tones that the chord marks as omittable (not characteristic) may be left out, at a cost.
    bool allowDroppedTones = true;
    /// Tones that the chord's data lets instruments without a bass register leave out may be
    /// left out, at a cost, as ukulele and mandolin books print them: the root of the qualities
    /// they routinely play rootless (ninths, elevenths, thirteenths:
    /// `SChordQuality::RootOmission::SmallInstruments`), and tones left out only in small
    /// voicings (the fifth of a triad: `SChordQuality::rarelyOmittableSemitones`). Needs
    /// `allowDroppedTones`. Absent means where the root need not be the bass
    /// (`requireRootInBass`).
    std::optional<bool> allowSmallInstrumentDrops;
    /// Tones that the chord's quality tolerates though its name does not hold them may sound,
    /// at a cost, as ukulele and mandolin books print them: the diminished seventh of "dim",
    /// which many sheets mean as dim7, and the eleventh of "13" and "maj13"
    /// (`SChordQuality::toleratedSemitones`). Absent means where the root need not be the bass
    /// (`requireRootInBass`); guitar books print the triad.
    std::optional<bool> allowToleratedTones;
    /// Scale length in millimetres; absent means `defaultScaleLength` of the tuning.
    std::optional<double> scaleLength;
    /// The lowest-sounding string must play the root, or the bass of a slash chord. Absent
    /// means `defaultRootInBass` of the tuning: required on instruments with a bass register,
    /// a cost elsewhere (a re-entrant ukulele has no bass string).
    std::optional<bool> requireRootInBass;
    /// The fret at which each string starts, by string number (0 = the tuning's first string, the
    /// numbering of TARVPlayableShape::frets); a missing entry or 0 is the nut. A string that
    /// starts at fret n (the banjo's short fifth string: 5) sounds its open pitch when played open,
    /// and at a fret m > n the open pitch raised by m - n semitones; frets 1..n are not on it.
    /// Frets in shapes count from the nut of the neck, as banjo tablature writes them.
    ///
    /// A capo at fret c below a string's start leaves that string open (frets above the capo
    /// c + 1..n are not on it); a capo at or above its start frets it, so that it sounds c - n
    /// semitones above its open pitch.
    std::vector<std::uint8_t> stringStartFrets;
    /// How many voicings the ranked search holds unscored before it scores the most promising
    /// and drops those that can no longer be listed. It bounds the memory of instruments with
    /// many strings and never changes the list.
    std::size_t heldVoicings = std::size_t{1} << 18;
    /// The model that scores voicings; null means the model compiled into the library.
    const TARVPlayabilityModel* model = nullptr;

    /// 350 mm (soprano ukulele, mandolin, charango) when every string is tuned at G3 or above;
    /// 480 mm (baritone ukulele) for four strings at C3 or above; 864 mm (bass) when every
    /// string lies below C3; 648 mm (guitar) otherwise.
    static double defaultScaleLength(const SStringedInstrumentTuning& tuning);
    /// 4 frets, a finger per fret and one fret of stretch; 5 on scales of 480 mm or less
    /// (ukuleles, mandolins), whose frets are narrow enough for a fifth.
    static std::uint8_t defaultMaximumSpan(double scaleLength);
    /// True when the lowest open string lies below C3.
    static bool defaultRootInBass(const SStringedInstrumentTuning& tuning);
};

} // namespace tarv
