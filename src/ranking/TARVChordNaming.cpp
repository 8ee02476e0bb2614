#include "tarv/ranking/TARVChordNaming.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <functional>
#include <tuple>

namespace tarv {

namespace {

constexpr std::array<const char*, 12> kSpellings = {"C",  "C#", "D",  "Eb", "E",  "F",
                                                    "F#", "G",  "Ab", "A",  "Bb", "B"};

// What a name costs beyond its quality's place in the library's order (pop and folk qualities
// first, then jazz, then rare ones, a quarter point a place): an inversion is a step down from
// root position, a bass outside the chord a further one; a left-out tone costs about as much as
// the difference between a triad and a seventh chord; rootless readings come after every other.
constexpr double kQualityStep = 0.25;
constexpr double kInversionCost = 3.0;
constexpr double kAddedBassCost = 5.0;
constexpr double kOmittedToneCost = 2.0;
constexpr double kRootlessCost = 20.0;

using Mask = std::uint16_t;

int pitchClass(const SNote& note) {
    return note.noteValue();
}

Mask maskOf(const std::vector<SNote>& notes) {
    Mask mask = 0;
    for (const SNote& note : notes) {
        mask = static_cast<Mask>(mask | (1U << pitchClass(note)));
    }
    return mask;
}

/// One chord of the catalogue names are drawn from: a root and a quality.
struct Candidate {
    int root = 0;
    std::string quality;
    std::size_t qualityIndex = 0;
    Mask notes = 0;
    Mask characteristic = 0;
    std::size_t noteCount = 0;
};

/// Every root with every quality, each pitch-class content once per root (the first quality in
/// the library's order that gives it).
const std::vector<Candidate>& candidates() {
    static const std::vector<Candidate> all = [] {
        std::vector<Candidate> list;
        const std::vector<std::string>& qualities = SChord::supportedQualities();
        for (int root = 0; root < 12; ++root) {
            std::vector<std::string> seen;
            for (std::size_t index = 0; index < qualities.size(); ++index) {
                const SChordPtr chord =
                    SChord::chordWithString(std::string(kSpellings[root]) + qualities[index]);
                if (!chord || std::find(seen.begin(), seen.end(),
                                        chord->numericNoteStringValue()) != seen.end()) {
                    continue;
                }
                seen.push_back(chord->numericNoteStringValue());
                list.push_back({root, qualities[index], index, maskOf(chord->notes()),
                                maskOf(chord->characteristicNotes()), chord->notes().size()});
            }
        }
        return list;
    }();
    return all;
}

std::vector<SNote> notesOfMask(Mask mask, int root) {
    std::vector<SNote> notes;
    for (int step = 0; step < 12; ++step) {
        const int pitch = (root + step) % 12;
        if ((mask & (1U << pitch)) != 0) {
            notes.push_back(*SNote::noteWithString(kSpellings[pitch]));
        }
    }
    return notes;
}

} // namespace

const char* TARVChordNaming::spelling(int pitchClass) noexcept {
    return kSpellings[static_cast<std::size_t>(((pitchClass % 12) + 12) % 12)];
}

std::optional<std::vector<SPitch>>
TARVChordNaming::soundingPitches(std::span<const std::int8_t> frets,
                                 const SStringedInstrumentTuningConstPtr& tuning) {
    if (!tuning || frets.size() != tuning->stringCount()) {
        return std::nullopt;
    }
    const int highestFret = static_cast<int>(tuning->fretCount()) - tuning->capo();
    std::vector<SPitch> pitches;
    for (std::size_t string = 0; string < frets.size(); ++string) {
        const int fret = frets[string];
        if (fret < 0) {
            continue;
        }
        if (fret > highestFret) {
            return std::nullopt;
        }
        pitches.push_back(tuning->stringPitches()[string].pitchAtOffset(
            static_cast<std::int8_t>(fret + tuning->capo())));
    }
    std::sort(pitches.begin(), pitches.end(), [](const SPitch& a, const SPitch& b) {
        return a.absoluteSemitone() < b.absoluteSemitone();
    });
    return pitches;
}

std::vector<TARVChordNaming::Name>
TARVChordNaming::namesForFrets(std::span<const std::int8_t> frets,
                               const SStringedInstrumentTuningConstPtr& tuning) {
    const std::optional<std::vector<SPitch>> pitches = soundingPitches(frets, tuning);
    return pitches ? namesForPitches(*pitches) : std::vector<Name>();
}

std::vector<TARVChordNaming::Name>
TARVChordNaming::namesForPitches(std::span<const SPitch> pitches) {
    std::vector<Name> names;
    if (pitches.empty()) {
        return names;
    }
    const auto lowest =
        std::min_element(pitches.begin(), pitches.end(), [](const SPitch& a, const SPitch& b) {
            return a.absoluteSemitone() < b.absoluteSemitone();
        });
    const int bass = pitchClass(lowest->note());
    Mask sounding = 0;
    for (const SPitch& pitch : pitches) {
        sounding = static_cast<Mask>(sounding | (1U << pitchClass(pitch.note())));
    }
    if (std::popcount(sounding) < 2) {
        return names;
    }
    const Mask bassBit = static_cast<Mask>(1U << bass);
    for (const Candidate& candidate : candidates()) {
        const Mask rootBit = static_cast<Mask>(1U << candidate.root);
        Kind kind = Kind::RootPosition;
        Mask chordTones = sounding;
        if (candidate.root == bass) {
            kind = Kind::RootPosition;
        } else if ((candidate.notes & bassBit) == 0) {
            // Only a bass that sounds nowhere else in the chord reads as added below it.
            kind = Kind::AddedBass;
            const bool bassAlsoAbove =
                std::count_if(pitches.begin(), pitches.end(), [&](const SPitch& pitch) {
                    return pitchClass(pitch.note()) == bass;
                }) > 1;
            if (bassAlsoAbove) {
                continue;
            }
            chordTones = static_cast<Mask>(sounding & ~bassBit);
        } else if ((sounding & rootBit) != 0) {
            kind = Kind::Inversion;
        } else {
            kind = Kind::Rootless;
        }
        if ((chordTones & ~candidate.notes) != 0) {
            continue;
        }
        Mask required = candidate.characteristic;
        if (kind == Kind::Rootless) {
            // Rootless readings name sevenths and extended chords from three of their tones.
            if (candidate.noteCount < 4 || std::popcount(sounding) < 3) {
                continue;
            }
            required = static_cast<Mask>(required & ~rootBit);
        }
        if ((required & ~chordTones) != 0) {
            continue;
        }
        Name name;
        name.symbol =
            std::string(kSpellings[static_cast<std::size_t>(candidate.root)]) + candidate.quality;
        if (kind != Kind::RootPosition) {
            name.symbol += "/" + std::string(kSpellings[static_cast<std::size_t>(bass)]);
        }
        name.chord = SChord::chordWithString(name.symbol);
        if (!name.chord) {
            continue;
        }
        name.kind = kind;
        Mask omitted = static_cast<Mask>(candidate.notes & ~chordTones);
        if (kind == Kind::Rootless) {
            omitted = static_cast<Mask>(omitted & ~rootBit);
        }
        name.omittedNotes = notesOfMask(omitted, candidate.root);
        name.cost = kQualityStep * static_cast<double>(candidate.qualityIndex) +
                    kOmittedToneCost * static_cast<double>(std::popcount(omitted));
        switch (kind) {
        case Kind::RootPosition:
            break;
        case Kind::Inversion:
            name.cost += kInversionCost;
            break;
        case Kind::AddedBass:
            name.cost += kAddedBassCost;
            break;
        case Kind::Rootless:
            name.cost += kRootlessCost;
            break;
        }
        names.push_back(std::move(name));
    }
    const auto order = [](const Name& name) {
        return std::make_tuple(name.kind == Kind::Rootless, name.cost, std::cref(name.symbol));
    };
    std::stable_sort(names.begin(), names.end(),
                     [&](const Name& a, const Name& b) { return order(a) < order(b); });
    return names;
}

SChordPtr TARVChordNaming::transposedChord(const SChordPtr& chord, int semitones) {
    if (!chord) {
        return nullptr;
    }
    std::string symbol =
        std::string(spelling(pitchClass(chord->root()) + semitones)) + chord->quality();
    if (chord->addedBase()) {
        symbol += "/" + std::string(spelling(pitchClass(*chord->addedBase()) + semitones));
    }
    return SChord::chordWithString(symbol);
}

} // namespace tarv
