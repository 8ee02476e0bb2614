#pragma once

#include "tarv/ranking/TARVPlayableShape.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tarv {

class SChord;
class SStringedInstrumentTuning;

/// The playability score of a voicing: a weighted sum of named features, lower being easier
/// and more usual.
///
/// The model is fitted (scripts/fit-ranking) so that the shapes chord books print outrank the
/// other voicings of their chords. It has two sets of weights, one for long-scale instruments
/// (guitars, basses) and one for short ones (ukuleles, mandolins, charangos), and the familiar
/// forms of the fitting data: for a tuning's string intervals and a chord quality, how often
/// each fingering form (the frets less the lowest sounding fret) is the printed shape across
/// roots. It ships in resources/ranking/model.json and is compiled into the library.
class TARVPlayabilityModel {
public:
    /// The features, in the order of `Features` and of the weights in the model file.
    enum Feature : std::size_t {
        Reach,             ///< centimetres between the lowest and highest finger positions
        Position,          ///< lowest fretted fret, 0 when nothing is fretted
        Fingers,           ///< fingers in use (a barre once, the thumb as one)
        Barre,             ///< 1 when a barre is laid
        BarreStrings,      ///< strings under barres
        Stretch,           ///< frets of stretch beyond a fret per finger
        Crossing,          ///< fingers beside a barre at its own fret
        Thumb,             ///< 1 when the thumb frets a string
        Open,              ///< open strings
        MutedBass,         ///< muted strings on the bass side of the sounding ones
        MutedTreble,       ///< muted strings on the treble side of the sounding ones
        MutedInner,        ///< muted strings between sounding strings
        ThinVoicing,       ///< sounding strings short of all but two
        Doubled,           ///< sounding strings beyond one per pitch class
        Dropped,           ///< chord tones left out
        RootNotInBass,     ///< 1 when the lowest-sounding note is not the root (or slash bass)
        Register,          ///< octaves of the mean sounding pitch above the mean open string
        FretRange,         ///< frets between the lowest and highest fretted note
        OpenWithHighFrets, ///< open strings sounding beside fretted notes above the fourth fret
        OpenAwayFromNut,   ///< open strings times the frets the hand sits above the first
        FamiliarForm,      ///< share of roots whose printed shape has this voicing's form
        MutedOpenTone,     ///< muted strings that would sound a chord tone above the bass open
        HighPosition,      ///< 1 when the lowest fretted fret is the fifth or above
        Rootless,          ///< 1 when the root does not sound
        Tolerated,         ///< tones sounding that the chord's name does not hold but its
                           ///< quality tolerates (the diminished seventh of "dim")
        FamiliarFrets,     ///< share of roots whose printed shape frets what this voicing
                           ///< frets, open and muted strings aside
        OtherRootInBass,   ///< 1 when a chord that maps onto itself moved (aug, dim7) stands
                           ///< on one of its roots other than the named one
        FeatureCount
    };
    using Features = std::array<double, FeatureCount>;
    using Weights = std::array<double, FeatureCount>;

    enum class Family { Long, Short };

    /// The names used in score terms, JSON and the model file ("reach", "position", ...).
    static std::string_view featureName(Feature feature) noexcept;

    /// The model compiled into the library.
    static const TARVPlayabilityModel& shared();
    /// A model read from JSON text: {"families": {"long": {"weights": {"reach": 1.2, ...}},
    /// "short": {...}}, "forms": {"5,5,5,4,5|m7": {"x,0,2,0,1,0": 0.5, ...}}}; a feature a
    /// family does not name weighs 0. Throws std::invalid_argument on unreadable text.
    static TARVPlayabilityModel modelWithJSON(std::string_view text);

    TARVPlayabilityModel() : TARVPlayabilityModel(Weights{}, Weights{}) {}
    TARVPlayabilityModel(const Weights& longWeights, const Weights& shortWeights);

    /// Short for instruments whose default scale length is 480 mm or less.
    static Family familyOfTuning(const SStringedInstrumentTuning& tuning);
    const Weights& weights(Family family) const noexcept {
        return _weights[family == Family::Long ? 0 : 1];
    }
    double score(const Features& features, Family family) const noexcept;
    /// The features named and weighted as the score terms of the shapes `family` scores.
    const TARVPlayableShape::TermTablePtr& termTable(Family family) const noexcept {
        return _termTables[family == Family::Long ? 0 : 1];
    }

    /// The intervals in semitones between neighbouring strings, from the highest string number
    /// down to string 0 ("5,5,5,4,5" for a guitar in standard tuning).
    static std::string tuningSignature(const SStringedInstrumentTuning& tuning);
    /// The chord's quality suffix, with "/" and the bass's semitones above the root for a slash
    /// chord ("m7", "/4").
    static std::string qualityKey(const SChord& chord);
    /// Familiar forms packed as `formKey` does, with how familiar each is, for a tuning
    /// signature and a quality key; null when the model knows none.
    using FormTable = std::unordered_map<std::uint64_t, double>;
    const FormTable* formsFor(const std::string& signature, const std::string& qualityKey) const;
    /// Four bits a string: 0 muted, otherwise 1 plus the fret above the lowest sounding fret; 0
    /// when the form does not fit. Open strings count as the form's lowest fret, so an open
    /// shape shares its form with the barre shape that moves it up the neck (x,3,2,0,1,0 and
    /// x,5,4,2,3,2).
    static std::uint64_t formKey(const std::int8_t* frets, std::size_t count) noexcept;
    /// "x,3,2,0,1,0": the frets less the lowest sounding fret, highest string number first.
    static std::string formText(const std::int8_t* frets, std::size_t count);
    /// A shape with open strings is also known by itself: its form key with this bit set, and
    /// its form text after "@" ("@x,3,2,0,1,0"). A shape without open strings has none ("").
    static constexpr std::uint64_t OpenShapeBit = std::uint64_t{1} << 63;
    static std::string openShapeText(const std::int8_t* frets, std::size_t count);
    /// A shape's fretted notes alone, open strings counted as muted, relative to the lowest
    /// fretted one: x,3,2,3,1,0 and x,3,2,3,1,x both fret x,2,1,2,0,x. Kept in a form table
    /// as `formKey` packs it with this bit set, and written "~x,2,1,2,0,x" in the model file;
    /// a shape with nothing fretted, or with more than 15 strings, has none (0, "").
    static constexpr std::uint64_t FrettedFormBit = std::uint64_t{1} << 62;
    static std::uint64_t frettedFormKey(const std::int8_t* frets, std::size_t count) noexcept;
    static std::string frettedFormText(const std::int8_t* frets, std::size_t count);
    /// How familiar a voicing of form `formKey` is: the share of its form in `table`, plus, for
    /// a voicing with open strings (`hasOpenString`), the share of that very shape.
    static double familiarity(const FormTable& table, std::uint64_t formKey,
                              bool hasOpenString) noexcept;
    /// The share in `table` of the fretted form `frettedFormKey` (with or without
    /// `FrettedFormBit`); 0 for a shape with nothing fretted.
    static double frettedFamiliarity(const FormTable& table, std::uint64_t frettedFormKey) noexcept;

private:
    /// The model of resources/ranking/model.json, from the tables the build makes of it.
    static TARVPlayabilityModel compiledModel();
    /// Adds a form read as the model file writes it; false when it does not read.
    static bool addForm(FormTable& table, std::string_view form, double share);

    std::array<Weights, 2> _weights{};
    std::array<TARVPlayableShape::TermTablePtr, 2> _termTables;
    std::unordered_map<std::string, FormTable> _forms;
};

} // namespace tarv
