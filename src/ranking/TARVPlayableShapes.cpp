#include "tarv/ranking/TARVPlayableShapes.hpp"

#include "tarv/music/SChordQuality.hpp"
#include "tarv/ranking/TARVPlayabilityModel.hpp"

#include "TARVFingeringPattern.hpp"
#include "TARVFretGeometry.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>

namespace tarv {

namespace {

using Model = TARVPlayabilityModel;

/// Penalty, in score units, for every shape already among the first five whose neck position
/// is near a candidate's: it spreads the first five over the neck when good shapes exist.
constexpr double kPositionSpreadPenalty = 1.0;
constexpr std::size_t kDiverseCount = 5;
/// Penalty, past the first five, for a shape that a listed one holds with more strings or that
/// holds a listed one (the same frets, strings muted): other voicings come before more variants
/// of one. The first five leave such variants be, as chord books print them there.
constexpr double kMutedVariantPenalty = 2.0;
/// Above this fret, open strings ring far from the hand.
constexpr int kHighFret = 4;
/// From this fret up the hand has left the first position.
constexpr int kHighPositionFret = 5;

/// Everything the search needs, worked out once per request.
struct Context {
    std::size_t stringCount = 0;
    std::vector<std::int32_t> openPitch; // absolute semitones, capo included
    std::vector<std::uint8_t> openClass; // pitch class of each open string, capo included
    /// The fret above the capo at which each string starts: 0 for a string from the nut.
    std::vector<int> startFret;
    std::uint16_t toneMask = 0;
    /// Tones the chord's quality tolerates beyond its own, when they may sound.
    std::uint16_t toleratedMask = 0;
    /// What strings may sound: the chord's tones and the tolerated ones.
    std::uint16_t allowedMask = 0;
    std::uint16_t requiredMask = 0;
    std::uint16_t rootBit = 0;
    std::uint8_t bassClass = 0;
    /// The pitch classes that count as the chord's bass: the root, the slash bass, or for a
    /// chord that maps onto itself when moved (augmented, diminished seventh) any of its roots.
    std::uint16_t bassMask = 0;
    /// The bass the chord's name gives, as a bit: of the roots in `bassMask`, the one chord
    /// books put in the bass.
    std::uint16_t namedBassBit = 0;
    bool strictBass = true;
    int capo = 0;
    int maxFret = 0; // relative to the capo
    int maxSpan = 4;
    double maxReach = 115.0;
    double scaleLength = 648.0;
    double meanOpenPitch = 0;
    /// `fingerPosition` of every fret above the capo, up to `maxFret`.
    std::vector<double> fingerPositions;
    TARVFingering::Hand hand;
    const Model* model = nullptr;
    Model::Family family = Model::Family::Long;
    const Model::FormTable* forms = nullptr;
    /// One bit for each hash of a key in `forms` (without `OpenShapeBit` and `FrettedFormBit`):
    /// a key whose bit is clear is not there.
    std::array<std::uint64_t, 4> formFilter{};
};

std::size_t formFilterBit(std::uint64_t key) noexcept {
    constexpr std::uint64_t kindBits = Model::OpenShapeBit | Model::FrettedFormBit;
    return static_cast<std::size_t>(((key & ~kindBits) * 0x9E3779B97F4A7C15ull) >> 56);
}

/// `TARVPlayabilityModel::familiarity` of `key` in the context's forms.
double familiarityOf(const Context& context, std::uint64_t key, bool hasOpenString) {
    const std::size_t bit = formFilterBit(key);
    if ((context.formFilter[bit >> 6] >> (bit & 63) & 1) == 0) {
        return 0;
    }
    return Model::familiarity(*context.forms, key, hasOpenString);
}

/// `TARVPlayabilityModel::frettedFamiliarity` of `key` in the context's forms.
double frettedFamiliarityOf(const Context& context, std::uint64_t key) {
    const std::size_t bit = formFilterBit(key);
    if (key == 0 || (context.formFilter[bit >> 6] >> (bit & 63) & 1) == 0) {
        return 0;
    }
    return Model::frettedFamiliarity(*context.forms, key);
}

/// Set bits of every 12-bit value: a pitch-class mask.
constexpr std::array<std::uint8_t, 4096> kBitCounts = [] {
    std::array<std::uint8_t, 4096> counts{};
    for (std::size_t mask = 1; mask < counts.size(); ++mask) {
        counts[mask] = static_cast<std::uint8_t>(counts[mask >> 1] + (mask & 1));
    }
    return counts;
}();

/// Set bits of a pitch-class mask.
int bitCount(std::uint16_t mask) {
    return kBitCounts[mask & 0xFFFu];
}

std::uint16_t classBit(int pitchClass) {
    const int remainder = pitchClass % 12;
    return static_cast<std::uint16_t>(1u << (remainder < 0 ? remainder + 12 : remainder));
}

/// Whether string `s` can sound `fret` (muted, open, or above where the string starts).
bool isOnString(const Context& context, std::size_t s, int fret) {
    return fret <= 0 || fret > context.startFret[s];
}

/// The pitch string `s` sounds at `fret`, which is on the string and not muted.
std::int32_t pitchAt(const Context& context, std::size_t s, int fret) {
    return context.openPitch[s] + (fret > 0 ? fret - context.startFret[s] : 0);
}

/// Millimetres from the nut to where a finger presses behind `absoluteFret`.
double fingerPosition(double scaleLength, int absoluteFret) {
    return scaleLength * (1.0 - std::exp2(-(absoluteFret - 0.5) / 12.0));
}

/// `lowFret` and `highFret` lie between 0 and `maxFret`.
double reachBetween(const Context& context, int lowFret, int highFret) {
    return context.fingerPositions[static_cast<std::size_t>(highFret)] -
           context.fingerPositions[static_cast<std::size_t>(lowFret)];
}

bool makeContext(const SChordPtr& chord, const SStringedInstrumentTuningConstPtr& tuning,
                 const TARVPlayableOptions& options, Context& context) {
    if (!chord || !tuning || tuning->stringCount() == 0) {
        return false;
    }
    context.stringCount = tuning->stringCount();
    context.capo = tuning->capo();
    context.maxFret = std::max(0, static_cast<int>(tuning->fretCount()) - context.capo);
    context.maxFret = std::min(context.maxFret, 127);
    double pitchSum = 0;
    context.startFret.reserve(context.stringCount);
    context.openPitch.reserve(context.stringCount);
    context.openClass.reserve(context.stringCount);
    try {
        for (std::size_t s = 0; s < context.stringCount; ++s) {
            const SPitch& pitch = tuning->pitchForString(static_cast<std::int64_t>(s));
            // A capo below where a string starts leaves it open; one at or above frets it.
            const int start = s < options.stringStartFrets.size() ? options.stringStartFrets[s] : 0;
            context.startFret.push_back(std::max(0, start - context.capo));
            const std::int32_t open = pitch.absoluteSemitone() + std::max(0, context.capo - start);
            context.openPitch.push_back(open);
            context.openClass.push_back(static_cast<std::uint8_t>(((open % 12) + 12) % 12));
            pitchSum += open;
        }
    } catch (const std::out_of_range&) {
        return false;
    }
    context.meanOpenPitch = pitchSum / static_cast<double>(context.stringCount);
    for (const SNote& note : chord->notes()) {
        context.toneMask |= classBit(note.noteValue());
    }
    const SNote bass = chord->addedBase() ? *chord->addedBase() : chord->root();
    context.bassClass = static_cast<std::uint8_t>(bass.noteValue() % 12);
    context.toneMask |= classBit(context.bassClass);
    context.bassMask = classBit(context.bassClass);
    context.namedBassBit = context.bassMask;
    if (!chord->addedBase()) {
        const unsigned tones = context.toneMask;
        for (int shift = 1; shift < 12; ++shift) {
            const unsigned rotated = ((tones << shift) | (tones >> (12 - shift))) & 0xFFFu;
            if (rotated == tones) {
                context.bassMask |= classBit(context.bassClass + shift);
            }
        }
    }
    context.strictBass =
        options.requireRootInBass.value_or(TARVPlayableOptions::defaultRootInBass(*tuning));
    const std::optional<SChordQuality> quality = SChordQuality::qualityOfChord(*chord);
    const int root = chord->root().noteValue();
    context.rootBit = classBit(root);
    if (quality && options.allowToleratedTones.value_or(!context.strictBass)) {
        for (const int semitones : quality->toleratedSemitones()) {
            context.toleratedMask |= classBit(root + semitones);
        }
        context.toleratedMask &= static_cast<std::uint16_t>(~context.toneMask);
    }
    context.allowedMask = context.toneMask | context.toleratedMask;
    if (options.allowDroppedTones) {
        for (const SNote& note : chord->characteristicNotes()) {
            context.requiredMask |= classBit(note.noteValue());
        }
        context.requiredMask |= context.rootBit;
        if (quality && options.allowSmallInstrumentDrops.value_or(!context.strictBass)) {
            std::uint16_t droppable = 0;
            if (quality->rootOmission() == SChordQuality::RootOmission::SmallInstruments) {
                droppable |= context.rootBit;
            }
            for (const int semitones : quality->rarelyOmittableSemitones()) {
                droppable |= classBit(root + semitones);
            }
            context.requiredMask &= static_cast<std::uint16_t>(~droppable);
        }
        if (chord->addedBase()) {
            context.requiredMask |= classBit(context.bassClass);
        }
    } else {
        context.requiredMask = context.toneMask;
    }
    context.maxReach = options.maximumReach;
    context.scaleLength =
        options.scaleLength.value_or(TARVPlayableOptions::defaultScaleLength(*tuning));
    if (!(context.scaleLength > 0)) {
        return false;
    }
    context.maxSpan =
        options.maximumSpan.value_or(TARVPlayableOptions::defaultMaximumSpan(context.scaleLength));
    context.fingerPositions.reserve(static_cast<std::size_t>(context.maxFret) + 1);
    for (int fret = 0; fret <= context.maxFret; ++fret) {
        context.fingerPositions.push_back(fingerPosition(context.scaleLength, context.capo + fret));
    }
    context.hand.allowThumb = options.allowThumb;
    context.model = options.model != nullptr ? options.model : &Model::shared();
    context.family = Model::familyOfTuning(*tuning);
    context.forms =
        context.model->formsFor(Model::tuningSignature(*tuning), Model::qualityKey(*chord));
    if (context.forms != nullptr) {
        for (const auto& entry : *context.forms) {
            const std::size_t bit = formFilterBit(entry.first);
            context.formFilter[bit >> 6] |= std::uint64_t{1} << (bit & 63);
        }
    }
    return true;
}

/// What the score needs of a fingering.
struct FingeringStats {
    bool playable = false;
    bool barre = false;
    bool thumb = false;
    std::uint8_t fingerCount = 0;
    std::uint8_t barreStrings = 0;
    double stretch = 0;
    double crossing = 0;
};

FingeringStats statsOf(const TARVFingering* fingering) {
    FingeringStats stats;
    if (fingering == nullptr) {
        return stats;
    }
    stats.playable = true;
    stats.barre = !fingering->barres().empty();
    stats.thumb = fingering->usesThumb();
    stats.fingerCount = fingering->fingerCount();
    for (const TARVFingering::Barre& barre : fingering->barres()) {
        stats.barreStrings =
            static_cast<std::uint8_t>(stats.barreStrings + barre.highString - barre.lowString + 1);
    }
    stats.stretch = fingering->stretch();
    stats.crossing = fingering->crossing();
    return stats;
}

/// Fingerings depend only on where the fretted notes lie relative to the lowest one, and the
/// search meets the same pattern in many windows: their figures are kept by pattern.
class FingeringMemo {
public:
    explicit FingeringMemo(const TARVFingering::Hand& hand) : _hand(hand) {}

    FingeringStats stats(std::span<const std::int8_t> frets) {
        int lowest = 0;
        for (const std::int8_t fret : frets) {
            if (fret > 0 && (lowest == 0 || fret < lowest)) {
                lowest = fret;
            }
        }
        std::uint64_t key = 0;
        bool packable = frets.size() <= 16;
        for (std::size_t s = 0; s < frets.size() && packable; ++s) {
            const int relative = frets[s] > 0 ? frets[s] - lowest + 1 : 0;
            packable = relative < 16;
            key |= static_cast<std::uint64_t>(relative) << (4 * s);
        }
        if (!packable) {
            return statsOf(ranking::fingeringPattern(frets, _hand));
        }
        Slot* slot = find(key);
        if (!slot->used) {
            slot->used = true;
            slot->key = key;
            slot->stats = statsOf(ranking::fingeringPattern(frets, _hand));
            if (2 * ++_used > _slots.size()) {
                grow();
                slot = find(key);
            }
        }
        return slot->stats;
    }

    FingeringStats operator()(std::span<const std::int8_t> frets) { return stats(frets); }

    const TARVFingering::Hand& hand() const noexcept { return _hand; }

private:
    /// An open-addressed table, at most half full.
    struct Slot {
        std::uint64_t key = 0;
        FingeringStats stats;
        bool used = false;
    };

    /// The slot of `key`, or the free slot where it goes.
    Slot* find(std::uint64_t key) {
        const std::size_t mask = _slots.size() - 1;
        std::size_t i = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 32) & mask;
        while (_slots[i].used && _slots[i].key != key) {
            i = (i + 1) & mask;
        }
        return &_slots[i];
    }

    void grow() {
        std::vector<Slot> old(_slots.size() * 2);
        old.swap(_slots);
        for (const Slot& slot : old) {
            if (slot.used) {
                *find(slot.key) = slot;
            }
        }
    }

    TARVFingering::Hand _hand;
    std::vector<Slot> _slots = std::vector<Slot>(128);
    std::size_t _used = 0;
};

/// `TARVPlayabilityModel::formKey` and `frettedFormKey` of `frets`, packed in one pass.
struct FormKeys {
    std::uint64_t form = 0;
    std::uint64_t fretted = 0;
};

/// `lowestFretted` is the lowest fretted fret (0 when nothing is fretted), and `open` whether a
/// string sounds open.
FormKeys formKeysOf(std::span<const std::int8_t> frets, int lowestFretted, bool open) noexcept {
    FormKeys keys;
    if (frets.size() > 16) {
        return keys;
    }
    const int lowestSounding = open ? 0 : lowestFretted;
    bool formFits = true;
    bool frettedFits = frets.size() <= 15 && lowestFretted > 0;
    for (std::size_t s = 0; s < frets.size(); ++s) {
        const int fret = frets[s];
        if (fret < 0) {
            continue;
        }
        const int form = fret - lowestSounding + 1;
        formFits = formFits && form <= 15;
        keys.form |= static_cast<std::uint64_t>(form) << (4 * s);
        if (fret > 0) {
            const int fretted = fret - lowestFretted + 1;
            frettedFits = frettedFits && fretted <= 15;
            keys.fretted |= static_cast<std::uint64_t>(fretted) << (4 * s);
        }
    }
    keys.form = formFits ? keys.form : 0;
    keys.fretted = frettedFits ? keys.fretted : 0;
    return keys;
}

/// Muted strings of `frets` whose open string would add a chord tone above `bassPitch`: notes a
/// player gets without a finger and usually lets ring.
int mutedOpenToneCount(const Context& context, std::span<const std::int8_t> frets,
                       std::int32_t bassPitch) {
    int count = 0;
    for (std::size_t s = 0; s < frets.size(); ++s) {
        if (frets[s] < 0 && context.openPitch[s] > bassPitch &&
            (classBit(context.openClass[s]) & context.toneMask) != 0) {
            ++count;
        }
    }
    return count;
}

/// The features of `frets`; false when `enforceRules` and the search does not allow them, or
/// when no hand can hold them.
template <typename FingeringStatsOf>
bool measure(const Context& context, std::span<const std::int8_t> frets, bool enforceRules,
             FingeringStatsOf&& fingeringStatsOf, Model::Features& features) {
    if (frets.size() != context.stringCount) {
        return false;
    }
    std::uint16_t covered = 0;
    int sounding = 0;
    int open = 0;
    int lowestFret = 0;
    int highestFret = 0;
    std::int32_t lowestPitch = 0;
    std::uint8_t lowestClass = 0;
    double pitchSum = 0;
    int firstSounding = -1;
    int lastSounding = -1;
    for (std::size_t s = 0; s < frets.size(); ++s) {
        const int fret = frets[s];
        if (fret < 0) {
            continue;
        }
        if (fret > context.maxFret || !isOnString(context, s, fret)) {
            return false;
        }
        const std::int32_t pitch = pitchAt(context, s, fret);
        const std::uint16_t bit = classBit(pitch);
        if (enforceRules && (bit & context.allowedMask) == 0) {
            return false;
        }
        covered |= bit;
        if (sounding == 0 || pitch < lowestPitch) {
            lowestPitch = pitch;
            lowestClass = static_cast<std::uint8_t>(((pitch % 12) + 12) % 12);
        }
        ++sounding;
        pitchSum += pitch;
        if (firstSounding < 0) {
            firstSounding = static_cast<int>(s);
        }
        lastSounding = static_cast<int>(s);
        if (fret == 0) {
            ++open;
        } else {
            lowestFret = lowestFret == 0 ? fret : std::min(lowestFret, fret);
            highestFret = std::max(highestFret, fret);
        }
    }
    if (sounding == 0) {
        return false;
    }
    const bool rootInBass = (classBit(lowestClass) & context.bassMask) != 0;
    if (enforceRules) {
        if ((covered & context.requiredMask) != context.requiredMask) {
            return false;
        }
        if (context.strictBass && !rootInBass) {
            return false;
        }
        if (highestFret - lowestFret > context.maxSpan ||
            (lowestFret > 0 && reachBetween(context, lowestFret, highestFret) > context.maxReach)) {
            return false;
        }
    }
    const FingeringStats fingering = fingeringStatsOf(frets);
    if (!fingering.playable) {
        return false;
    }
    int mutedInner = 0;
    for (int s = firstSounding + 1; s < lastSounding; ++s) {
        mutedInner += frets[static_cast<std::size_t>(s)] < 0 ? 1 : 0;
    }
    const int mutedOpenTones = mutedOpenToneCount(context, frets, lowestPitch);
    features[Model::Reach] =
        lowestFret > 0 ? reachBetween(context, lowestFret, highestFret) / 10.0 : 0.0;
    features[Model::Position] = lowestFret;
    features[Model::Fingers] = fingering.fingerCount;
    features[Model::Barre] = fingering.barre ? 1 : 0;
    features[Model::BarreStrings] = fingering.barreStrings;
    features[Model::Stretch] = fingering.stretch;
    features[Model::Crossing] = fingering.crossing;
    features[Model::Thumb] = fingering.thumb ? 1 : 0;
    features[Model::Open] = open;
    // String numbers run from the treble side (0) to the bass side.
    features[Model::MutedTreble] = firstSounding;
    features[Model::MutedBass] = static_cast<int>(frets.size()) - 1 - lastSounding;
    features[Model::MutedInner] = mutedInner;
    features[Model::ThinVoicing] = std::max(0, static_cast<int>(frets.size()) - 2 - sounding);
    features[Model::Doubled] = sounding - bitCount(covered);
    features[Model::Dropped] = bitCount(static_cast<std::uint16_t>(context.toneMask & ~covered));
    features[Model::RootNotInBass] = rootInBass ? 0 : 1;
    features[Model::Register] = (pitchSum / sounding - context.meanOpenPitch) / 12.0;
    features[Model::FretRange] = highestFret - lowestFret;
    features[Model::OpenWithHighFrets] = highestFret > kHighFret ? open : 0;
    features[Model::OpenAwayFromNut] = open * std::max(0, lowestFret - 1);
    features[Model::FamiliarForm] = 0;
    features[Model::FamiliarFrets] = 0;
    if (context.forms != nullptr) {
        const FormKeys keys = formKeysOf(frets, lowestFret, open > 0);
        features[Model::FamiliarForm] = familiarityOf(context, keys.form, open > 0);
        features[Model::FamiliarFrets] = frettedFamiliarityOf(context, keys.fretted);
    }
    features[Model::MutedOpenTone] = mutedOpenTones;
    features[Model::HighPosition] = lowestFret >= kHighPositionFret ? 1 : 0;
    features[Model::Rootless] = (covered & context.rootBit) != 0 ? 0 : 1;
    features[Model::Tolerated] = bitCount(covered & context.toleratedMask);
    features[Model::OtherRootInBass] =
        rootInBass && (classBit(lowestClass) & context.namedBassBit) == 0 ? 1 : 0;
    return true;
}

/// The whole shape of `frets`, whose features are known: its fingering and named terms.
TARVPlayableShape buildShape(const Context& context, std::vector<std::int8_t> frets,
                             const Model::Features& features,
                             std::optional<TARVFingering> fingering) {
    return TARVPlayableShape(std::move(frets), fingering ? std::move(*fingering) : TARVFingering(),
                             context.model->termTable(context.family), features);
}

TARVPlayableShape buildShape(const Context& context, std::span<const std::int8_t> frets,
                             const Model::Features& features, const TARVFingering::Hand& hand) {
    return buildShape(context, std::vector<std::int8_t>(frets.begin(), frets.end()), features,
                      TARVFingering::fingeringForFrets(frets, hand));
}

/// `frets` measured and built whole, its fingering worked out once for both.
std::optional<TARVPlayableShape> evaluate(const Context& context, std::vector<std::int8_t> frets,
                                          bool enforceRules) {
    std::optional<TARVFingering> fingering;
    const auto fingeringStatsOf = [&context, &fingering](std::span<const std::int8_t> held) {
        fingering = TARVFingering::fingeringForFrets(held, context.hand);
        return statsOf(fingering ? &*fingering : nullptr);
    };
    Model::Features features{};
    if (!measure(context, frets, enforceRules, fingeringStatsOf, features)) {
        return std::nullopt;
    }
    return buildShape(context, std::move(frets), features, std::move(fingering));
}

/// Per-string frets kept without a heap allocation for the string counts of real instruments.
class FretList {
public:
    explicit FretList(std::span<const std::int8_t> frets) : _size(frets.size()) {
        if (_size <= _inline.size()) {
            std::copy(frets.begin(), frets.end(), _inline.begin());
        } else {
            _heap.assign(frets.begin(), frets.end());
        }
    }
    operator std::span<const std::int8_t>() const noexcept {
        return _size <= _inline.size() ? std::span<const std::int8_t>(_inline.data(), _size)
                                       : std::span<const std::int8_t>(_heap);
    }

private:
    std::array<std::int8_t, 16> _inline {};
    std::size_t _size = 0;
    std::vector<std::int8_t> _heap;
};

/// A voicing the search found: its frets and score; the rest is built for the shapes answered.
struct Found {
    double score = 0;
    FretList frets;
    Model::Features features;
    int neckPosition = 0;
};

/// Whether the sounding strings of one of `a` and `b` are some of the other's, at the same
/// frets: the same voicing with strings muted. A voicing is no variant of itself.
bool isMutedVariant(std::span<const std::int8_t> a, std::span<const std::int8_t> b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    bool aMutesMore = false;
    bool bMutesMore = false;
    for (std::size_t s = 0; s < a.size(); ++s) {
        if (a[s] == b[s]) {
            continue;
        }
        if (a[s] < 0) {
            aMutesMore = true;
        } else if (b[s] < 0) {
            bMutesMore = true;
        } else {
            return false;
        }
        if (aMutesMore && bMutesMore) {
            return false;
        }
    }
    return aMutesMore != bMutesMore;
}

constexpr std::size_t kInlineStrings = 8;
/// Leaves a thread keeps room for between requests (about 1.5 MB).
constexpr std::size_t kKeptLeaves = std::size_t{1} << 16;

/// A voicing the rules allow, before its fingering is known: its frets, or where they lie in
/// `Leaves::frets`, and a score no fingering of it can beat.
struct Leaf {
    double bound = 0;
    std::size_t offset = 0;
    /// The frets themselves, for up to `kInlineStrings` strings.
    std::array<std::int8_t, kInlineStrings> frets{};
};

struct Leaves {
    std::size_t stringCount = 0;
    std::vector<std::int8_t> frets;
    std::vector<Leaf> leaves;
    /// Voicings bounded above this cannot be listed and are not kept.
    double threshold = std::numeric_limits<double>::infinity();
    /// Once this many are held, `setAside` may raise the threshold and drop what is above it.
    std::size_t budget = std::numeric_limits<std::size_t>::max();
    std::function<void(Leaves&)> setAside;

    /// Empty, with no threshold, budget or way to set voicings aside, for `strings` strings.
    void reset(std::size_t strings) {
        stringCount = strings;
        frets.clear();
        leaves.clear();
        threshold = std::numeric_limits<double>::infinity();
        budget = std::numeric_limits<std::size_t>::max();
        setAside = nullptr;
    }

    /// Empty; frees what it holds beyond room for `kept` leaves.
    void release(std::size_t kept) {
        reset(stringCount);
        if (leaves.capacity() > kept) {
            std::vector<Leaf>().swap(leaves);
        }
        if (frets.capacity() > kept * kInlineStrings) {
            std::vector<std::int8_t>().swap(frets);
        }
    }

    /// The frets of `leaf`, which lives as long as they are read.
    std::span<const std::int8_t> fretsOf(const Leaf& leaf) const noexcept {
        return {stringCount <= kInlineStrings ? leaf.frets.data() : frets.data() + leaf.offset,
                stringCount};
    }

    /// `leafFrets` holds `stringCount` frets, and at least `kInlineStrings` values.
    void add(double bound, const std::vector<std::int8_t>& leafFrets) {
        if (bound > threshold) {
            return;
        }
        Leaf& leaf = leaves.emplace_back();
        leaf.bound = bound;
        if (stringCount <= kInlineStrings) {
            std::memcpy(leaf.frets.data(), leafFrets.data(), kInlineStrings);
        } else {
            leaf.offset = frets.size();
            frets.insert(frets.end(), leafFrets.begin(), leafFrets.end());
        }
        if (leaves.size() >= budget && setAside) {
            setAside(*this);
        }
    }

    /// Keeps the voicings bounded at or below `threshold`, in their order.
    void keepBelowThreshold() {
        std::size_t kept = 0;
        for (const Leaf& leaf : leaves) {
            if (leaf.bound > threshold) {
                continue;
            }
            if (stringCount > kInlineStrings) {
                std::copy_n(frets.begin() + static_cast<std::ptrdiff_t>(leaf.offset), stringCount,
                            frets.begin() + static_cast<std::ptrdiff_t>(kept * stringCount));
            }
            leaves[kept] = leaf;
            leaves[kept].offset = kept * stringCount;
            ++kept;
        }
        leaves.resize(kept);
        frets.resize(kept * stringCount);
    }
};

/// Bounds that keep rounding out of the comparison of a lower bound with exact scores, which
/// sum the same terms in another order.
constexpr double kBoundMargin = 1e-7;

/// The least that the fingering's terms can add to a score, by the number of fretted notes and
/// of distinct frets among them (a finger each at least).
class FingeringFloor {
public:
    explicit FingeringFloor(const Context& context)
        : _strings(context.stringCount), _floor((context.stringCount + 1) * (kMaxFrets + 1)) {
        const auto& w = context.model->weights(context.family);
        const auto least = [](double weight, double low, double high) {
            if (high == std::numeric_limits<double>::infinity()) {
                return weight < 0 ? -high : 0.0;
            }
            return std::min(weight * low, weight * high);
        };
        const double fingerLimit = context.hand.allowThumb ? 5 : 4;
        for (std::size_t fretted = 0; fretted <= _strings; ++fretted) {
            for (std::size_t distinct = 0; distinct <= kMaxFrets; ++distinct) {
                const double k = static_cast<double>(fretted);
                const double fingers = std::min(k, fingerLimit);
                double floor =
                    least(w[Model::Fingers], std::min<double>(distinct, fingers), fingers);
                floor += least(w[Model::Barre], 0, fretted >= 2 ? 1 : 0);
                floor += least(w[Model::BarreStrings], 0, 2 * k);
                floor += least(w[Model::Stretch], 0,
                               fretted >= 2 ? std::numeric_limits<double>::infinity() : 0);
                floor += least(w[Model::Crossing], 0, k);
                floor += least(w[Model::Thumb], 0, context.hand.allowThumb && fretted > 0 ? 1 : 0);
                _floor[fretted * (kMaxFrets + 1) + distinct] = floor;
            }
        }
    }

    double operator()(std::size_t fretted, std::size_t distinct) const noexcept {
        return _floor[std::min(fretted, _strings) * (kMaxFrets + 1) +
                      std::min<std::size_t>(distinct, kMaxFrets)];
    }

private:
    /// Distinct frets of a shape a hand can hold: one a finger and the thumb.
    static constexpr std::size_t kMaxFrets = 5;
    std::size_t _strings;
    std::vector<double> _floor;
};

/// Depth-first over the strings of one window: every string muted, open, or fretted at a
/// chord tone between the window's first fret and its last. Strings are visited from the
/// lowest open pitch up, so that the bass is known early.
class WindowSearch {
public:
    WindowSearch(const Context& context, Leaves& leaves)
        : _context(context), _leaves(leaves), _floor(context),
          _frets(std::max(context.stringCount, kInlineStrings), -1), _choices(context.stringCount),
          _order(context.stringCount), _suffix(context.stringCount + 1),
          _bassFree(context.strictBass ? context.bassMask : std::uint16_t{0xFFFF}) {
        for (std::size_t i = 0; i < _order.size(); ++i) {
            _order[i] = i;
        }
        std::stable_sort(_order.begin(), _order.end(), [&](std::size_t a, std::size_t b) {
            return context.openPitch[a] < context.openPitch[b];
        });
        _leaves.stringCount = context.stringCount;
        const auto& w = context.model->weights(context.family);
        const int strings = static_cast<int>(context.stringCount);
        // muted inner = last - first + 1 - sounding; muted bass = strings - 1 - last.
        _mutedTrebleWeight = w[Model::MutedTreble] - w[Model::MutedInner];
        _lastSoundingWeight = w[Model::MutedInner] - w[Model::MutedBass];
        _constantTerms = w[Model::MutedInner] + w[Model::MutedBass] * (strings - 1);
        // register = (pitch sum / sounding - mean open pitch) / 12
        _constantTerms -= w[Model::Register] * context.meanOpenPitch / 12.0;
        for (int sounding = 0; sounding <= strings; ++sounding) {
            _registerWeight.push_back(sounding > 0 ? w[Model::Register] / (12.0 * sounding) : 0.0);
            _soundingTerms.push_back(-w[Model::MutedInner] * sounding +
                                     w[Model::ThinVoicing] * std::max(0, strings - 2 - sounding) +
                                     w[Model::Doubled] * sounding);
        }
        const int tones = bitCount(context.toneMask);
        for (int distinct = 0; distinct <= 12; ++distinct) {
            _distinctTerms.push_back(-w[Model::Doubled] * distinct +
                                     w[Model::Dropped] * (tones - distinct));
        }
        for (std::size_t s = 0; s < context.stringCount && s < 32; ++s) {
            if ((classBit(context.openClass[s]) & context.toneMask) != 0) {
                _openToneStrings |= 1u << s;
            }
        }
        // Every string's chord tones along the neck, looked up by each window.
        const std::size_t frets = static_cast<std::size_t>(context.maxFret) + 1;
        _toneAt.resize(context.stringCount * frets);
        for (std::size_t s = 0; s < context.stringCount; ++s) {
            for (int fret = 0; fret <= context.maxFret; ++fret) {
                Choice& tone = _toneAt[s * frets + static_cast<std::size_t>(fret)];
                tone.fret = static_cast<std::int8_t>(fret);
                tone.pitch = pitchAt(context, s, fret);
                tone.bit =
                    isOnString(context, s, fret)
                        ? static_cast<std::uint16_t>(classBit(tone.pitch) & context.allowedMask)
                        : 0;
            }
        }
    }

    void run() {
        // Window 0 holds the shapes with nothing fretted; window w those whose lowest fretted
        // note lies at fret w, so that no shape is met twice.
        for (int window = 0; window <= _context.maxFret; ++window) {
            _window = window;
            int last = window;
            if (window > 0) {
                last = std::min(window + _context.maxSpan, _context.maxFret);
                while (last > window && reachBetween(_context, window, last) > _context.maxReach) {
                    --last;
                }
            }
            bool windowHasTone = window == 0;
            const std::size_t frets = static_cast<std::size_t>(_context.maxFret) + 1;
            for (std::size_t s = 0; s < _context.stringCount; ++s) {
                std::vector<Choice>& choices = _choices[s];
                choices.clear();
                choices.push_back({-1, 0, 0});
                const Choice* const tones = _toneAt.data() + s * frets;
                if (tones[0].bit != 0) {
                    choices.push_back(tones[0]);
                }
                for (int fret = std::max(window, 1); window > 0 && fret <= last; ++fret) {
                    if (tones[fret].bit != 0) {
                        choices.push_back(tones[fret]);
                        windowHasTone = windowHasTone || fret == window;
                    }
                }
            }
            if (!windowHasTone) {
                continue;
            }
            // The terms that follow from the window and the highest fret: every shape of
            // window w > 0 frets w, and none of window 0 frets anything.
            const auto& w = _context.model->weights(_context.family);
            _windowTerms = w[Model::Position] * window +
                           w[Model::HighPosition] * (window >= kHighPositionFret ? 1 : 0);
            _rangeTerms.clear();
            _openWeight.clear();
            for (int fret = window; fret <= last; ++fret) {
                const int range = fret - window;
                const double reach = window > 0 ? reachBetween(_context, window, fret) / 10.0 : 0.0;
                _rangeTerms.push_back(w[Model::Reach] * reach + w[Model::FretRange] * range);
                _openWeight.push_back(w[Model::Open] +
                                      w[Model::OpenAwayFromNut] * std::max(0, window - 1) +
                                      w[Model::OpenWithHighFrets] * (fret > kHighFret ? 1 : 0));
            }
            _suffix[_order.size()] = {std::numeric_limits<std::int32_t>::max(), 0,
                                      static_cast<std::uint8_t>(window == 0 ? 1 : 0), 0};
            for (std::size_t depth = _order.size(); depth-- > 0;) {
                const std::size_t s = _order[depth];
                std::uint16_t mask = 0;
                std::int32_t lowest = std::numeric_limits<std::int32_t>::max();
                bool atWindow = false;
                for (const Choice& choice : _choices[s]) {
                    if (choice.fret >= 0) {
                        mask |= choice.bit;
                        lowest = std::min(lowest, choice.pitch);
                        atWindow = atWindow || choice.fret == window;
                    }
                }
                const Suffix& after = _suffix[depth + 1];
                _suffix[depth] = {std::min(after.lowest, lowest),
                                  static_cast<std::uint16_t>(after.mask | mask),
                                  static_cast<std::uint8_t>(after.window != 0 || atWindow ? 1 : 0),
                                  after.strings + 1};
            }
            State start;
            start.atWindow = window == 0;
            if (canComplete(0, start)) {
                descend(0, start);
            }
        }
    }

private:
    /// What the strings chosen so far add up to.
    struct State {
        /// `TARVPlayabilityModel::formKey` of the frets chosen so far, for a shape whose lowest
        /// sounding fret is the nut and for one whose lowest is the window's first fret.
        std::uint64_t openFormKey = 0;
        std::uint64_t windowFormKey = 0;
        std::int32_t lowestPitch = std::numeric_limits<std::int32_t>::max();
        std::int32_t pitchSum = 0;
        /// Frets above the window's first, one bit each, and how many.
        std::uint32_t above = 0;
        /// The sounding strings among the first 32, one bit each.
        std::uint32_t soundingStrings = 0;
        std::uint16_t covered = 0;
        /// The pitch class of `lowestPitch`, as a bit.
        std::uint16_t lowestBit = 0;
        std::uint16_t sounding = 0;
        std::uint16_t open = 0;
        std::uint16_t fretted = 0;
        std::int16_t firstSounding = std::numeric_limits<std::int16_t>::max();
        std::int16_t lastSounding = -1;
        std::uint8_t aboveCount = 0;
        bool atWindow = false;
        /// Whether each form key still fits.
        bool openFormFits = true;
        bool windowFormFits = true;
    };

    /// Whether the strings from `depth` on can still complete `state` to a shape.
    bool canComplete(std::size_t depth, const State& state) const {
        return canComplete(depth, state.covered, state.lowestPitch, state.lowestBit,
                           state.atWindow);
    }

    /// The same, from the parts of a state it depends on.
    bool canComplete(std::size_t depth, std::uint16_t covered, std::int32_t lowestPitch,
                     std::uint16_t lowestBit, bool atWindow) const {
        const Suffix& suffix = _suffix[depth];
        // Every string left adds one tone at most.
        const auto missing = static_cast<std::uint16_t>(_context.requiredMask & ~covered);
        if ((missing & ~suffix.mask) != 0 || bitCount(missing) > suffix.strings) {
            return false;
        }
        // Once nothing left can sound lower, the bass is settled.
        if ((lowestBit & _bassFree) == 0 && lowestBit != 0 && lowestPitch < suffix.lowest) {
            return false;
        }
        // A window's shapes fret its first fret.
        return atWindow || suffix.window != 0;
    }

    /// Goes on with `state` after the strings before `depth`, which it can complete.
    void descend(std::size_t depth, const State& state) {
        const std::size_t string = _order[depth];
        const auto stringNumber = static_cast<std::int16_t>(string);
        const unsigned keyShift = 4 * static_cast<unsigned>(string);
        // A note at the window's first fret takes the index finger (alone or as a barre);
        // every fret above it needs a finger of its own: three are left, four with the thumb.
        const int aboveLimit = _context.hand.allowThumb ? 4 : 3;
        const bool last = depth + 1 == _order.size();
        for (const Choice& choice : _choices[string]) {
            const std::int8_t fret = choice.fret;
            if (fret < 0) {
                // A muted string changes nothing but the frets.
                if (canComplete(depth + 1, state)) {
                    _frets[string] = fret;
                    if (last) {
                        _leaves.add(bound(state), _frets);
                    } else {
                        descend(depth + 1, state);
                    }
                }
                continue;
            }
            std::uint32_t above = state.above;
            std::uint8_t aboveCount = state.aboveCount;
            if (fret > _window && _window > 0) {
                const unsigned aboveBit = 1u << (fret - _window);
                if ((above & aboveBit) == 0) {
                    if (aboveCount == aboveLimit) {
                        continue;
                    }
                    above |= aboveBit;
                    ++aboveCount;
                }
            }
            // Whether the shape can still be completed is settled before the rest of the state
            // is made: a third of the choices of a triad fail here, two in three of a 13th's.
            const std::int32_t pitch = choice.pitch;
            const auto covered = static_cast<std::uint16_t>(state.covered | choice.bit);
            const bool lower = pitch < state.lowestPitch;
            const std::int32_t lowestPitch = lower ? pitch : state.lowestPitch;
            const std::uint16_t lowestBit = lower ? choice.bit : state.lowestBit;
            const bool atWindow = state.atWindow || (fret > 0 && fret == _window);
            if (!canComplete(depth + 1, covered, lowestPitch, lowestBit, atWindow)) {
                continue;
            }
            State after = state;
            after.above = above;
            after.aboveCount = aboveCount;
            after.covered = covered;
            after.lowestPitch = lowestPitch;
            after.lowestBit = lowestBit;
            after.atWindow = atWindow;
            _frets[string] = fret;
            {
                after.pitchSum += pitch;
                ++after.sounding;
                after.firstSounding = std::min(after.firstSounding, stringNumber);
                after.lastSounding = std::max(after.lastSounding, stringNumber);
                if (string < 32) {
                    after.soundingStrings |= 1u << string;
                }
                if (fret == 0) {
                    ++after.open;
                } else {
                    ++after.fretted;
                }
                if (string < 16) {
                    const auto openValue = static_cast<std::uint64_t>(fret + 1);
                    after.openFormFits = after.openFormFits && openValue <= 15;
                    after.openFormKey |= openValue << keyShift;
                    if (fret > 0) {
                        const auto windowValue = static_cast<std::uint64_t>(fret - _window + 1);
                        after.windowFormFits = after.windowFormFits && windowValue <= 15;
                        after.windowFormKey |= windowValue << keyShift;
                    }
                }
            }
            if (last) {
                _leaves.add(bound(after), _frets);
            } else {
                descend(depth + 1, after);
            }
        }
        _frets[string] = -1;
    }

    /// The score of the current frets with every term of the fingering at its most favourable
    /// value: the features are those `measure` finds, summed in another order.
    double bound(const State& state) const {
        const auto& w = _context.model->weights(_context.family);
        const int range = state.above == 0 ? 0 : std::bit_width(state.above) - 1;
        const int sounding = state.sounding;
        const int distinct = bitCount(state.covered);
        // Two sums, for shorter chains of additions.
        double sum =
            _floor(static_cast<std::size_t>(state.fretted),
                   static_cast<std::size_t>(state.aboveCount + (state.fretted > 0 ? 1 : 0)));
        double more = _windowTerms + _rangeTerms[static_cast<std::size_t>(range)];
        sum += _openWeight[static_cast<std::size_t>(range)] * state.open;
        more += _soundingTerms[static_cast<std::size_t>(sounding)];
        sum += _distinctTerms[static_cast<std::size_t>(distinct)];
        more += _mutedTrebleWeight * state.firstSounding;
        sum += _lastSoundingWeight * state.lastSounding;
        more += (state.lowestBit & _context.bassMask) == 0       ? w[Model::RootNotInBass]
                : (state.lowestBit & _context.namedBassBit) == 0 ? w[Model::OtherRootInBass]
                                                                 : 0.0;
        sum += _registerWeight[static_cast<std::size_t>(sounding)] * state.pitchSum;
        more += w[Model::MutedOpenTone] * mutedOpenTones(state);
        more += (state.covered & _context.rootBit) != 0 ? 0.0 : w[Model::Rootless];
        if ((state.covered & _context.toleratedMask) != 0) {
            // `_distinctTerms` counted them among the chord's tones, as not dropped.
            sum += (w[Model::Tolerated] + w[Model::Dropped]) *
                   bitCount(state.covered & _context.toleratedMask);
        }
        // An open string makes the nut the lowest sounding fret.
        const bool open = state.open > 0;
        if (_context.forms != nullptr && (open ? state.openFormFits : state.windowFormFits) &&
            _context.stringCount <= 16) {
            const std::uint64_t key = open ? state.openFormKey : state.windowFormKey;
            sum += w[Model::FamiliarForm] * familiarityOf(_context, key, open);
        }
        // Every shape of window w > 0 frets w: its window form key is its fretted form's.
        if (_context.forms != nullptr && _window > 0 && state.windowFormFits &&
            _context.stringCount <= 15) {
            sum += w[Model::FamiliarFrets] * frettedFamiliarityOf(_context, state.windowFormKey);
        }
        sum += more + _constantTerms;
        return sum - kBoundMargin * (1.0 + std::abs(sum));
    }

    /// Muted strings of the current frets whose open string would add a chord tone above the
    /// bass: `mutedOpenToneCount`.
    int mutedOpenTones(const State& state) const {
        if (_context.stringCount > 32) {
            return mutedOpenToneCount(_context, std::span(_frets).first(_context.stringCount),
                                      state.lowestPitch);
        }
        int count = 0;
        for (std::uint32_t left = _openToneStrings & ~state.soundingStrings; left != 0;
             left &= left - 1) {
            const auto s = static_cast<std::size_t>(std::countr_zero(left));
            count += _context.openPitch[s] > state.lowestPitch ? 1 : 0;
        }
        return count;
    }

    const Context& _context;
    Leaves& _leaves;
    FingeringFloor _floor;
    /// The frets chosen, one per string and at least `kInlineStrings`, the ones past the
    /// strings muted.
    std::vector<std::int8_t> _frets;
    /// What each string may do in the window, with the pitch and pitch class it sounds.
    struct Choice {
        std::int8_t fret;
        std::uint16_t bit;
        std::int32_t pitch;
    };
    std::vector<std::vector<Choice>> _choices;
    /// Per string and fret (string-major): the choice of that fret, its bit 0 when the fret
    /// sounds no chord tone or lies below where the string starts.
    std::vector<Choice> _toneAt;
    std::vector<std::size_t> _order;
    /// What the strings from each depth on can still add: their tones, the lowest pitch any of
    /// them can sound, whether one can take the window's first fret, and how many they are.
    struct Suffix {
        std::int32_t lowest;
        std::uint16_t mask;
        std::uint8_t window;
        int strings;
    };
    std::vector<Suffix> _suffix;
    /// The bass pitch classes a shape may stand on: any when the bass is free.
    std::uint16_t _bassFree;
    /// Position terms of the window's shapes.
    double _windowTerms = 0;
    /// By the frets from the window's first to the highest fretted: the reach and fret range
    /// terms, and the weight of an open string.
    std::vector<double> _rangeTerms;
    std::vector<double> _openWeight;
    /// By sounding strings: the muted inner (less the span), thin voicing and doubled terms.
    std::vector<double> _soundingTerms;
    /// By sounding strings: the register term's weight of the sum of their pitches.
    std::vector<double> _registerWeight;
    /// By pitch classes covered: the doubled and dropped terms.
    std::vector<double> _distinctTerms;
    /// The terms of the first and last sounding strings: muted treble, muted bass and the span of
    /// muted inner; the constant also holds the register's.
    double _mutedTrebleWeight = 0;
    double _lastSoundingWeight = 0;
    double _constantTerms = 0;
    /// The strings (up to 32) whose open pitch is a chord tone.
    std::uint32_t _openToneStrings = 0;
    int _window = 0;
};

bool rankedBefore(const Found& a, const Found& b) {
    if (a.score != b.score) {
        return a.score < b.score;
    }
    const std::span<const std::int8_t> x = a.frets;
    const std::span<const std::int8_t> y = b.frets;
    return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
}

/// Runs the search into `leaves`, which may come with a threshold and a way to set voicings
/// aside.
void searchLeaves(const Context& context, Leaves& leaves) {
    WindowSearch(context, leaves).run();
}

Leaves searchLeaves(const Context& context) {
    Leaves leaves;
    searchLeaves(context, leaves);
    return leaves;
}

/// `leaf` fingered and scored; false when no hand can hold it.
bool evaluateLeaf(const Context& context, const Leaves& leaves, const Leaf& leaf,
                  FingeringMemo& memo, std::vector<Found>& found) {
    const std::span<const std::int8_t> frets = leaves.fretsOf(leaf);
    Model::Features features;
    if (!measure(context, frets, true, memo, features)) {
        return false;
    }
    found.push_back({context.model->score(features, context.family), FretList(frets), features,
                     ranking::neckPosition(frets)});
    return true;
}

/// Raises the threshold of `leaves` as far as the ranked list allows, and drops what lies above.
///
/// Take voicings, scored, that are pairwise no transposition of each other: `maximumShapes`
/// and twice the diverse count of them, the highest scoring S. In each of the diverse rounds at
/// most as many of them are listed or transpositions of listed ones as rounds went before, so
/// one is left whose score with the penalties stays within S plus a spread penalty for each
/// earlier round: what the round lists scores no more. In every later round fewer of them are
/// listed than `maximumShapes`, and one is left whose score with the penalty stays within S
/// plus the muted-variant penalty. A voicing whose bound lies above S plus the larger of the two
/// is therefore never listed, and the list is the same without it.
void setAsideUnlistable(const Context& context, std::size_t maximumShapes, Leaves& leaves) {
    const std::size_t wanted = maximumShapes + 2 * kDiverseCount;
    // The most promising voicings first, until enough of them are known.
    std::vector<std::size_t> heap(leaves.leaves.size());
    for (std::size_t i = 0; i < heap.size(); ++i) {
        heap[i] = i;
    }
    const auto byBound = [&leaves](std::size_t a, std::size_t b) {
        return leaves.leaves[a].bound > leaves.leaves[b].bound;
    };
    std::make_heap(heap.begin(), heap.end(), byBound);
    FingeringMemo memo(context.hand);
    std::vector<Found> found;
    std::vector<const Found*> distinct;
    double highest = std::numeric_limits<double>::infinity();
    while (!heap.empty()) {
        // Once enough are known and no voicing left can score below the highest of them, more
        // scoring would not lower the threshold.
        if (distinct.size() >= wanted && leaves.leaves[heap.front()].bound >= highest) {
            break;
        }
        std::pop_heap(heap.begin(), heap.end(), byBound);
        const Leaf leaf = leaves.leaves[heap.back()];
        heap.pop_back();
        if (!evaluateLeaf(context, leaves, leaf, memo, found)) {
            continue;
        }
        std::vector<const Found*> byScore;
        byScore.reserve(found.size());
        for (const Found& entry : found) {
            byScore.push_back(&entry);
        }
        std::sort(byScore.begin(), byScore.end(),
                  [](const Found* a, const Found* b) { return rankedBefore(*a, *b); });
        distinct.clear();
        for (const Found* entry : byScore) {
            const bool transposition =
                std::any_of(distinct.begin(), distinct.end(), [entry](const Found* listed) {
                    return ranking::isTransposition(entry->frets, listed->frets);
                });
            if (!transposition) {
                distinct.push_back(entry);
                if (distinct.size() == wanted) {
                    break;
                }
            }
        }
        if (distinct.size() == wanted) {
            highest = distinct.back()->score;
        }
    }
    if (distinct.size() >= wanted) {
        const double threshold =
            highest + std::max(static_cast<double>(kDiverseCount - 1) * kPositionSpreadPenalty,
                               kMutedVariantPenalty);
        leaves.threshold = std::min(leaves.threshold, threshold);
        leaves.keepBelowThreshold();
    }
    // What is still held stays until twice as much is.
    leaves.budget = std::max(leaves.budget, 2 * leaves.leaves.size());
}

/// The ranked list as positions in `all`, which is sorted by `rankedBefore`. Each place goes to
/// the voicing of least score with penalties: among the first five, one for every listed shape
/// near its neck position, and transpositions of listed shapes come only when nothing else is
/// left; past them, one when it is a muted variant of a listed shape. When `complete` is
/// false, `all` holds only the voicings that score below `limit`, every other voicing scoring
/// `limit` or more; the answer is then false when those others could change the list.
/// What `pick` works in, kept across its calls.
struct PickScratch {
    std::vector<std::uint8_t> taken;
    /// Whether each voicing is a muted variant of one of the first `variantChecked` picked.
    std::vector<std::uint8_t> variant;
    std::vector<std::size_t> variantChecked;
};

bool pick(const std::vector<const Found*>& all, std::size_t maximumShapes, double limit,
          bool complete, std::vector<std::size_t>& picked, PickScratch& scratch) {
    if (!complete && all.size() < maximumShapes) {
        return false;
    }
    const std::size_t wanted = std::min(maximumShapes, all.size());
    picked.clear();
    picked.reserve(wanted);
    std::vector<std::uint8_t>& taken = scratch.taken;
    std::vector<std::uint8_t>& variant = scratch.variant;
    std::vector<std::size_t>& variantChecked = scratch.variantChecked;
    taken.assign(all.size(), 0);
    variant.assign(all.size(), 0);
    variantChecked.assign(all.size(), 0);
    std::size_t firstFree = 0;
    while (picked.size() < wanted) {
        const bool diverse = picked.size() < kDiverseCount;
        while (taken[firstFree] != 0) {
            ++firstFree;
        }
        std::size_t best = all.size();
        double bestScore = 0;
        bool stopped = false;
        for (std::size_t i = firstFree; i < all.size(); ++i) {
            if (taken[i] != 0) {
                continue;
            }
            // Scores only grow down the list: nothing further can beat the best so far.
            if (best != all.size() && all[i]->score >= bestScore) {
                stopped = true;
                break;
            }
            double adjusted = all[i]->score;
            if (diverse) {
                bool transposition = false;
                const int position = all[i]->neckPosition;
                for (const std::size_t listed : picked) {
                    if (ranking::isTransposition(all[i]->frets, all[listed]->frets)) {
                        transposition = true;
                        break;
                    }
                    if (std::abs(position - all[listed]->neckPosition) < 3) {
                        adjusted += kPositionSpreadPenalty;
                    }
                }
                if (transposition) {
                    continue;
                }
            } else {
                for (std::size_t k = variantChecked[i]; k < picked.size() && variant[i] == 0; ++k) {
                    variant[i] = isMutedVariant(all[i]->frets, all[picked[k]]->frets) ? 1 : 0;
                }
                variantChecked[i] = picked.size();
                if (variant[i] != 0) {
                    adjusted += kMutedVariantPenalty;
                }
            }
            if (best == all.size() || adjusted < bestScore) {
                best = i;
                bestScore = adjusted;
            }
        }
        // The voicings not in the list score `limit` or more: they end the scan as the first
        // of them would only when the best so far scores no more.
        if (!stopped && !complete && (best == all.size() || bestScore > limit)) {
            return false;
        }
        // Only transpositions of listed shapes are left: they may come now.
        if (best == all.size()) {
            best = firstFree;
        }
        taken[best] = 1;
        picked.push_back(best);
    }
    return true;
}

} // namespace

std::vector<TARVPlayableShape>
TARVPlayableShapes::allVoicings(const SChordPtr& chord,
                                const SStringedInstrumentTuningConstPtr& tuning,
                                const TARVPlayableOptions& options) {
    Context context;
    std::vector<TARVPlayableShape> shapes;
    if (!makeContext(chord, tuning, options, context)) {
        return shapes;
    }
    const Leaves leaves = searchLeaves(context);
    FingeringMemo memo(context.hand);
    std::vector<Found> found;
    for (const Leaf& leaf : leaves.leaves) {
        evaluateLeaf(context, leaves, leaf, memo, found);
    }
    shapes.reserve(found.size());
    for (const Found& entry : found) {
        shapes.push_back(buildShape(context, entry.frets, entry.features, context.hand));
    }
    return shapes;
}

std::vector<TARVPlayableShape>
TARVPlayableShapes::shapesForChord(const SChordPtr& chord,
                                   const SStringedInstrumentTuningConstPtr& tuning,
                                   const TARVPlayableOptions& options) {
    Context context;
    std::vector<TARVPlayableShape> ranked;
    if (!makeContext(chord, tuning, options, context)) {
        return ranked;
    }
    // The voicings held are kept on the thread from one request to the next, up to a size, so
    // that instruments with many strings do not map fresh memory for every chord.
    thread_local Leaves threadLeaves;
    Leaves& leaves = threadLeaves;
    leaves.reset(context.stringCount);
    const struct Release {
        Leaves& held;
        ~Release() { held.release(kKeptLeaves); }
    } release{leaves};
    leaves.budget = std::max<std::size_t>(options.heldVoicings, 1);
    leaves.setAside = [&context, &options](Leaves& held) {
        setAsideUnlistable(context, options.maximumShapes, held);
    };
    searchLeaves(context, leaves);
    // Voicings are fingered and scored in the order of their bounds, until the ones left cannot
    // change the list: a heap of the pending ones, least bound on top.
    std::vector<Leaf>& pending = leaves.leaves;
    const auto byBound = [](const Leaf& a, const Leaf& b) {
        return a.bound > b.bound;
    };
    std::make_heap(pending.begin(), pending.end(), byBound);
    FingeringMemo memo(context.hand);
    std::vector<Found> found;
    found.reserve(std::min<std::size_t>(pending.size(), 256));
    // The found voicings, ranked.
    std::vector<std::size_t> order;
    std::vector<const Found*> below;
    std::vector<std::size_t> picked;
    PickScratch pickScratch;
    const auto ranks = [&found](std::size_t a, std::size_t b) {
        return rankedBefore(found[a], found[b]);
    };
    std::size_t nextCheck = std::max<std::size_t>(16, options.maximumShapes);
    for (;;) {
        if (!pending.empty()) {
            std::pop_heap(pending.begin(), pending.end(), byBound);
            const Leaf leaf = pending.back();
            pending.pop_back();
            if (evaluateLeaf(context, leaves, leaf, memo, found)) {
                const std::size_t index = found.size() - 1;
                order.insert(std::upper_bound(order.begin(), order.end(), index, ranks), index);
            }
        }
        const bool complete = pending.empty();
        if (!complete && found.size() < nextCheck) {
            continue;
        }
        const double limit =
            complete ? std::numeric_limits<double>::infinity() : pending.front().bound;
        below.clear();
        for (const std::size_t index : order) {
            if (!(found[index].score < limit)) {
                break;
            }
            below.push_back(&found[index]);
        }
        if (pick(below, options.maximumShapes, limit, complete, picked, pickScratch)) {
            break;
        }
        nextCheck = found.size() + std::max<std::size_t>(8, found.size() / 4);
    }
    ranked.reserve(picked.size());
    for (const std::size_t i : picked) {
        ranked.push_back(buildShape(context, below[i]->frets, below[i]->features, context.hand));
    }
    return ranked;
}

std::optional<TARVPlayableShape>
TARVPlayableShapes::scoreFrets(std::span<const std::int8_t> frets, const SChordPtr& chord,
                               const SStringedInstrumentTuningConstPtr& tuning,
                               const TARVPlayableOptions& options) {
    Context context;
    if (!makeContext(chord, tuning, options, context)) {
        return std::nullopt;
    }
    return evaluate(context, std::vector<std::int8_t>(frets.begin(), frets.end()), false);
}

std::vector<std::optional<TARVPlayableShape>> TARVPlayableShapes::scoreFretLists(
    std::vector<std::vector<std::int8_t>> fretLists, const SChordPtr& chord,
    const SStringedInstrumentTuningConstPtr& tuning, const TARVPlayableOptions& options) {
    std::vector<std::optional<TARVPlayableShape>> answer(fretLists.size());
    Context context;
    if (!makeContext(chord, tuning, options, context)) {
        return answer;
    }
    for (std::size_t i = 0; i < fretLists.size(); ++i) {
        answer[i] = evaluate(context, std::move(fretLists[i]), false);
    }
    return answer;
}

bool TARVPlayableShapes::isAllowed(std::span<const std::int8_t> frets, const SChordPtr& chord,
                                   const SStringedInstrumentTuningConstPtr& tuning,
                                   const TARVPlayableOptions& options) {
    Context context;
    if (!makeContext(chord, tuning, options, context)) {
        return false;
    }
    FingeringMemo memo(context.hand);
    Model::Features features{};
    return measure(context, frets, true, memo, features);
}

std::vector<std::int8_t> TARVPlayableShapes::fretsForChordShape(const TARVChordShape& shape,
                                                                std::uint8_t stringCount) {
    std::vector<std::int8_t> frets(stringCount, -1);
    std::bitset<256> marked;
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        const int base = shape.baseFret();
        if (indicator.isBarre()) {
            const int low = std::min<int>(indicator.string(), indicator.endString());
            const int high = std::max<int>(indicator.string(), indicator.endString());
            for (int s = low; s <= high && s < stringCount; ++s) {
                if (!marked.test(static_cast<std::size_t>(s))) {
                    frets[static_cast<std::size_t>(s)] =
                        static_cast<std::int8_t>(base + indicator.fret());
                }
            }
            continue;
        }
        if (indicator.string() >= stringCount) {
            continue;
        }
        const std::size_t s = indicator.string();
        if (indicator.isMuted()) {
            frets[s] = -1;
        } else if (indicator.isOpen()) {
            frets[s] = 0;
        } else {
            const int fret = base + indicator.fret();
            frets[s] = marked.test(s)
                           ? std::max<std::int8_t>(frets[s], static_cast<std::int8_t>(fret))
                           : static_cast<std::int8_t>(fret);
        }
        marked.set(s);
    }
    return frets;
}

} // namespace tarv
