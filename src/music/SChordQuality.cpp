#include "tarv/music/SChordQuality.hpp"

#include "tarv/music/SChord.hpp"

#include "SChordQualityTable.hpp"

namespace tarv {

namespace {

int pitchClass(int semitones) {
    return ((semitones % 12) + 12) % 12;
}

} // namespace

std::optional<SChordQuality> SChordQuality::qualityWithSuffix(std::string_view suffix) {
    for (const SChordQualityDefinition& definition : SChordQualityDefinitions()) {
        if (definition.suffix == suffix) {
            return SChordQuality(definition);
        }
    }
    return std::nullopt;
}

std::optional<SChordQuality> SChordQuality::qualityOfChord(const SChord& chord) {
    std::optional<SChordQuality> quality = qualityWithSuffix(chord.quality());
    if (!quality) {
        return std::nullopt;
    }
    unsigned expected = 0;
    for (const SChordToneDefinition& tone : quality->_definition->tones) {
        expected |= 1u << pitchClass(tone.semitones);
    }
    const int root = chord.root().noteValue();
    unsigned tones = 0;
    for (const SNote& note : chord.notes()) {
        tones |= 1u << pitchClass(note.noteValue() - root);
    }
    if (chord.addedBase()) {
        const unsigned bass = 1u << pitchClass(chord.addedBase()->noteValue() - root);
        if ((expected & bass) == 0) {
            tones &= ~bass;
        }
    }
    if (tones != expected) {
        return std::nullopt;
    }
    return quality;
}

std::string_view SChordQuality::suffix() const noexcept {
    return _definition->suffix;
}

std::string_view SChordQuality::name() const noexcept {
    return _definition->name;
}

std::vector<int> SChordQuality::semitones() const {
    std::vector<int> semitones;
    for (const SChordToneDefinition& tone : _definition->tones) {
        semitones.push_back(tone.semitones);
    }
    return semitones;
}

std::vector<int> SChordQuality::toleratedSemitones() const {
    return {_definition->toleratedSemitones.begin(), _definition->toleratedSemitones.end()};
}

std::vector<int> SChordQuality::rarelyOmittableSemitones() const {
    std::vector<int> semitones;
    for (const SChordToneDefinition& tone : _definition->tones) {
        if (tone.rarelyOmittable) {
            semitones.push_back(tone.semitones);
        }
    }
    return semitones;
}

SChordQuality::RootOmission SChordQuality::rootOmission() const noexcept {
    switch (_definition->rootOmission) {
    case SChordRootOmission::Jazz:
        return RootOmission::Jazz;
    case SChordRootOmission::SmallInstruments:
        return RootOmission::SmallInstruments;
    case SChordRootOmission::Never:
        break;
    }
    return RootOmission::Never;
}

} // namespace tarv
