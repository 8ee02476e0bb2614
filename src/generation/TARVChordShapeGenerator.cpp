#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/generation/TARVNoteAdditions.hpp"
#include "tarv/generation/TARVStandardChordShapes.hpp"
#include "tarv/instruments/SNoteGuitar.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>

namespace tarv {

namespace {

constexpr std::size_t kShapeSetCapacity = 40;
constexpr std::size_t kMaximumShapes = 20;
constexpr std::int16_t kMutedMarker = -1;
constexpr std::size_t kMaximumFingers = 4;
// A raw candidate key holds the base fret in its low byte and four bits per string above it.
constexpr std::uint32_t kMaximumRawStrings = 14;
constexpr std::uint64_t kFreeKey = ~std::uint64_t{0};
constexpr std::uint8_t kMutedKeyFret = 0xF;
// The frets a range spans above its first; the patterns hold the choices of a full range.
constexpr std::uint64_t kRangeSpan = 4;
// Room for the valid candidates of most chords on six strings before the key table grows.
constexpr std::size_t kInitialValidKeys = 256;
// Up to this fret count the fret lists are plain octaves below the fret count; above it the
// 8-bit fret arithmetic of fretsForString wraps. Ranges then also stay below fret 128.
constexpr std::uint8_t kPlainFretCount = 116;
// The shapes of the standard table all have six strings.
constexpr std::uint8_t kStandardTableStringCount = 6;

bool inRange(std::int16_t fret, TARVFretRange range) noexcept {
    if (fret < 0) {
        return false;
    }
    const auto f = static_cast<std::uint64_t>(fret);
    return range.location <= f && f <= range.location + range.length;
}

std::int8_t relativeFret(std::int16_t fret, TARVFretRange range) noexcept {
    return static_cast<std::int8_t>(fret - static_cast<std::int64_t>(range.location));
}

std::uint16_t noteBit(unsigned value) noexcept {
    return static_cast<std::uint16_t>(1u << (value % 12));
}

} // namespace

TARVChordShapeGenerator::TARVChordShapeGenerator(SChordPtr chord,
                                                 SStringedInstrumentTuningConstPtr tuning)
    : _chord(std::move(chord)), _tuning(std::move(tuning)) {
    _shapeSet.reserve(kShapeSetCapacity);
    if (_chord) {
        _hasChord = true;
        _bassValue = _chord->addedBase().value_or(_chord->root()).noteValue();
        _characteristicMask = TARVNoteValueMask(_chord->characteristicNotes());
    }
    if (_tuning) {
        _openValues.reserve(_tuning->stringPitches().size());
        for (const SPitch& pitch : _tuning->stringPitches()) {
            _openValues.push_back(pitch.note().noteValue());
        }
        if (_openValues.size() > 256) {
            _openValues.resize(256);
        }
    }
}

TARVChordShapeGeneratorPtr
TARVChordShapeGenerator::initUncachedWithChord(SChordPtr chord,
                                               SStringedInstrumentTuningConstPtr tuning) {
    auto generator = std::make_shared<TARVChordShapeGenerator>(std::move(chord), std::move(tuning));
    generator->_shapes = generator->_buildShapes();
    return generator;
}

std::vector<TARVChordShapePtr> TARVChordShapeGenerator::_buildShapes() {
    if (!_chord || !_tuning) {
        return {};
    }
    // The fret lists are made when they are asked for, or when the general path needs them.
    _stringFretLists.clear();
    _fretListsPending = true;
    prepareEnumeration();
    if (!enumeratesRawCandidates()) {
        buildFretLists();
    }

    // Invalid shapes are kept out of the working set as they arrive, which leaves nothing for
    // _removeInvalidShapes to do; every shape is scored as it arrives.
    _seenTable.clear();
    for (std::uint32_t fret = 0; fret < _tuning->fretCount(); ++fret) {
        _addShapesAtFret(fret);
    }

    // A stable sort by badness, of which only the first shapes are kept: the best kMaximumShapes
    // by (badness, position in the working set), held in order as the set is read. A later
    // shape never goes before an earlier one of equal badness.
    std::array<std::uint64_t, kMaximumShapes> bestBadness;
    std::array<std::uint32_t, kMaximumShapes> bestIndex;
    std::size_t kept = 0;
    for (std::size_t index = 0; index < _shapeSet.size(); ++index) {
        const std::uint64_t badness =
            _shapeSet[index] ? _shapeSet[index]->badness() : _pendingShapes[index].badness;
        if (kept == kMaximumShapes && badness >= bestBadness[kept - 1]) {
            continue;
        }
        std::size_t position = kept < kMaximumShapes ? kept++ : kept - 1;
        for (; position > 0 && badness < bestBadness[position - 1]; --position) {
            bestBadness[position] = bestBadness[position - 1];
            bestIndex[position] = bestIndex[position - 1];
        }
        bestBadness[position] = badness;
        bestIndex[position] = static_cast<std::uint32_t>(index);
    }
    // The shapes built for the answer share one allocation.
    std::shared_ptr<std::array<TARVChordShape, kMaximumShapes>> built;
    std::vector<TARVChordShapePtr> sorted;
    sorted.reserve(kept);
    for (std::size_t index = 0; index < kept; ++index) {
        TARVChordShapePtr& shape = _shapeSet[bestIndex[index]];
        if (!shape) {
            if (!built) {
                built = std::make_shared<std::array<TARVChordShape, kMaximumShapes>>();
            }
            TARVChordShape& into = (*built)[index];
            buildPendingShape(_pendingShapes[bestIndex[index]], into);
            shape = TARVChordShapePtr(built, &into);
        }
        sorted.push_back(shape);
    }
    return sorted;
}

void TARVChordShapeGenerator::buildFretLists() const {
    if (!_fretListsPending || !_chord || !_tuning) {
        return;
    }
    const SStringedInstrumentTuning& tuning = *_tuning;
    const std::uint8_t stringCount = tuning.stringCount();
    const std::uint8_t fretCount = tuning.fretCount();
    const std::vector<SNote>& notes = _chord->notes();

    std::vector<std::vector<std::int16_t>> lists(stringCount);
    for (std::uint8_t string = 0; string < stringCount; ++string) {
        auto& list = lists[string];
        if (fretCount <= kPlainFretCount) {
            // What fretsForString answers on such a neck: every octave of the note's lowest fret
            // below the fret count.
            list.reserve(notes.size() * (fretCount / 12u + 1));
            const unsigned open = _openValues[string];
            for (const SNote& note : notes) {
                for (unsigned fret = (note.noteValue() + 12u - open) % 12u; fret < fretCount;
                     fret += 12) {
                    list.push_back(static_cast<std::int16_t>(fret));
                }
            }
        } else {
            for (const SNote& note : notes) {
                for (const std::int8_t fret : fretsForString(note, string, tuning, false)) {
                    list.push_back(fret);
                }
            }
        }
        std::sort(list.begin(), list.end());
    }
    if (const auto& transform = tuning.stringOrderTransform()) {
        std::vector<std::vector<std::int16_t>> reordered;
        reordered.reserve(transform->size());
        for (const std::int64_t entry : *transform) {
            const auto index = static_cast<std::uint64_t>(entry);
            if (index >= lists.size()) {
                throw std::out_of_range("string order transform entry " + std::to_string(entry) +
                                        " outside the tuning's " + std::to_string(lists.size()) +
                                        " strings");
            }
            reordered.push_back(lists[index]);
        }
        lists = std::move(reordered);
    }
    _stringFretLists = std::move(lists);
    _fretListsPending = false;
}

void TARVChordShapeGenerator::buildPendingShape(const PendingShape& pending, TARVChordShape& into) {
    std::array<std::int8_t, kMaximumRawStrings> frets;
    for (std::uint8_t string = 0; string < pending.stringCount; ++string) {
        const auto fret = static_cast<std::uint8_t>((pending.key >> (8 + 4 * string)) & 0xF);
        frets[string] = fret == kMutedKeyFret ? std::int8_t{-1} : static_cast<std::int8_t>(fret);
    }
    into._rebuildFromFretList(std::span<const std::int8_t>(frets.data(), pending.stringCount),
                              static_cast<std::uint8_t>(pending.key & 0xFF));
    into.setBadness(pending.badness);
}

TARVChordShapePtr TARVChordShapeGenerator::shapeForPendingShape(const PendingShape& pending) {
    auto shape = std::make_shared<TARVChordShape>();
    buildPendingShape(pending, *shape);
    return shape;
}

void TARVChordShapeGenerator::buildPendingShapes() const {
    if (_pendingShapes.empty()) {
        return;
    }
    for (std::size_t index = 0; index < _shapeSet.size(); ++index) {
        if (!_shapeSet[index]) {
            _shapeSet[index] = shapeForPendingShape(_pendingShapes[index]);
        }
    }
    _pendingShapes.clear();
}

std::uint64_t TARVChordShapeGenerator::scoreForShape(const TARVChordShape& shape) const {
    const std::uint8_t stringCount = _tuning->stringCount();
    // Every generated shape has a mark for every string of the tuning, so only a six-string
    // tuning's shapes can be in the standard table.
    if (stringCount != kStandardTableStringCount) {
        return TARVChordShapeScorer::formulaScoreForShape(shape, stringCount);
    }
    return TARVChordShapeScorer::scoreForShape(shape, stringCount);
}

void TARVChordShapeGenerator::prepareEnumeration() {
    _rawStringCount = 0;
    const SStringedInstrumentTuning& tuning = *_tuning;
    const std::uint32_t stringCount = tuning.stringCount();
    if (stringCount < 2 || stringCount > kMaximumRawStrings ||
        tuning.fretCount() > kPlainFretCount) {
        return;
    }
    std::uint32_t seen = 0;
    const auto& transform = tuning.stringOrderTransform();
    if (transform && transform->size() != stringCount) {
        return;
    }
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        const std::int64_t tuningString = transform ? (*transform)[string] : string;
        if (tuningString < 0 || tuningString >= static_cast<std::int64_t>(stringCount) ||
            (seen & (1u << tuningString)) != 0) {
            return;
        }
        seen |= 1u << tuningString;
        _tuningString[string] = static_cast<std::uint8_t>(tuningString);
        _openPitchClass[string] = _openValues[_tuningString[string]];
    }
    _identityStringOrder = true;
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        _identityStringOrder = _identityStringOrder && _tuningString[string] == string;
    }
    // In the key's place: the muted frets of the strings above each string.
    _mutedAbove[stringCount - 1] = 0;
    for (std::uint32_t string = stringCount - 1; string > 0; --string) {
        _mutedAbove[string - 1] = _mutedAbove[string] | std::uint64_t{kMutedKeyFret}
                                                            << (8 + 4 * string);
    }
    _lowestMutedAbove[stringCount - 1] = static_cast<std::uint8_t>(stringCount);
    for (std::uint32_t string = stringCount - 1; string > 0; --string) {
        _lowestMutedAbove[string - 1] = std::min(_lowestMutedAbove[string], _tuningString[string]);
    }

    // The frets of a string at which chord notes sound repeat every octave, so the choices of a
    // range depend only on the pitch class at its start (a repeated note adds no choice).
    const std::uint16_t chordBits = TARVNoteValueMask(_chord->notes());
    for (unsigned pitchClass = 0; pitchClass < 12; ++pitchClass) {
        auto& plain = _patterns[pitchClass];
        auto& muted = _patterns[12 + pitchClass];
        std::uint8_t count = 0;
        muted[0] = StringChoice{-1, 0};
        for (std::int8_t fret = 0; fret <= static_cast<std::int8_t>(kRangeSpan); ++fret) {
            const std::uint16_t bit = noteBit(pitchClass + static_cast<unsigned>(fret));
            if ((chordBits & bit) != 0) {
                plain[count] = StringChoice{fret, bit};
                muted[count + 1] = plain[count];
                ++count;
            }
        }
        _patternCounts[pitchClass] = count;
    }
    const std::uint16_t bassBit = noteBit(_bassValue);
    for (std::size_t pattern = 0; pattern < _patterns.size(); ++pattern) {
        const auto& choices = _patterns[pattern];
        const std::size_t count = _patternCounts[pattern % 12] + (pattern >= 12 ? 1 : 0);
        std::uint16_t notes = 0;
        _patternNotes[pattern][0] = 0;
        _bassChoice[pattern] = kNoChoice;
        for (std::size_t index = 0; index < count; ++index) {
            notes = static_cast<std::uint16_t>(notes | choices[index].noteBit);
            _patternNotes[pattern][index + 1] = notes;
            if (_bassChoice[pattern] == kNoChoice && choices[index].fret >= 0 &&
                choices[index].noteBit == bassBit) {
                _bassChoice[pattern] = static_cast<std::uint8_t>(index);
            }
        }
    }
    for (RangeChoices& shared : _fullRanges) {
        shared.ready = false;
    }
    _validKeys.assign(kInitialValidKeys, kFreeKey);
    _pendingShapes.reserve(kInitialValidKeys / 2);
    _shapeSet.reserve(kInitialValidKeys / 2);
    _validKeyCount = 0;
    _rawStringCount = stringCount;
}

TARVFretRange TARVChordShapeGenerator::_fretRangeAtFret(std::uint32_t fret,
                                                        std::uint8_t fretCount) noexcept {
    TARVFretRange range{fret, 4};
    if (fret + 4ULL > fretCount) {
        range.length = static_cast<std::uint64_t>(fretCount) - fret;
    }
    return range;
}

void TARVChordShapeGenerator::_addShapesAtFret(std::uint32_t fret) {
    _addShapesForFretRange(_fretRangeAtFret(fret, _tuning->fretCount()));
}

void TARVChordShapeGenerator::_addShapesForFretRange(TARVFretRange range) {
    if (!_chord || !_tuning) {
        return;
    }
    if (enumeratesRawCandidates()) {
        addRawCandidatesForFretRange(range);
        return;
    }
    const SNote bassNote = _chord->addedBase().value_or(_chord->root());
    const std::uint8_t stringCount = _tuning->stringCount();
    _rangeFrets.resize(stringCount);
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        fillFretsForString(string, range, _rangeFrets[string]);
    }
    for (std::int32_t string = static_cast<std::int32_t>(stringCount) - 1; string >= 1; --string) {
        enumerateShapes(range, bassNote, static_cast<std::uint32_t>(string),
                        [this](const TARVChordShape& shape) { addToShapeSet(shape); });
    }
}

void TARVChordShapeGenerator::addToShapeSet(const TARVChordShape& shape) {
    buildPendingShapes();
    // Equal shapes are equally valid, so an invalid shape can be dropped before it is compared:
    // the set ends with the same survivors, in the same order, as when invalid shapes are
    // removed from the whole set afterwards.
    if (!isValidChordShape(shape)) {
        return;
    }
    const std::uint64_t hash = shape.hash();
    if (_seenTable.empty() || 2 * (_shapeSet.size() + 1) > _seenTable.size()) {
        growSeenTable();
    }
    const std::size_t mask = _seenTable.size() - 1;
    std::size_t slot = static_cast<std::size_t>(hash) & mask;
    for (; _seenTable[slot] >= 0; slot = (slot + 1) & mask) {
        const TARVChordShape& held = *_shapeSet[static_cast<std::size_t>(_seenTable[slot])];
        if (held.hash() == hash && held.isEqual(shape)) {
            return;
        }
    }
    _seenTable[slot] = static_cast<std::int32_t>(_shapeSet.size());
    auto added = std::make_shared<TARVChordShape>(shape);
    added->setBadness(scoreForShape(*added));
    _shapeSet.push_back(std::move(added));
}

void TARVChordShapeGenerator::growSeenTable() {
    const std::size_t size = _seenTable.empty() ? 256 : 2 * _seenTable.size();
    _seenTable.assign(size, -1);
    const std::size_t mask = size - 1;
    for (std::size_t index = 0; index < _shapeSet.size(); ++index) {
        std::size_t slot = static_cast<std::size_t>(_shapeSet[index]->hash()) & mask;
        while (_seenTable[slot] >= 0) {
            slot = (slot + 1) & mask;
        }
        _seenTable[slot] = static_cast<std::int32_t>(index);
    }
}

std::vector<TARVChordShapePtr>
TARVChordShapeGenerator::_shapesForFretRange(TARVFretRange range, const SNote& withBassNote,
                                             std::uint32_t onString) {
    const std::uint8_t stringCount = _tuning->stringCount();
    _rangeFrets.resize(stringCount);
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        fillFretsForString(string, range, _rangeFrets[string]);
    }
    std::vector<TARVChordShapePtr> shapes;
    enumerateShapes(range, withBassNote, onString, [&shapes](const TARVChordShape& shape) {
        shapes.push_back(std::make_shared<TARVChordShape>(shape));
    });
    return shapes;
}

template <typename OnShape>
void TARVChordShapeGenerator::enumerateShapes(TARVFretRange range, const SNote& bassNote,
                                              std::uint32_t bassString, OnShape&& onShape) {
    // The bass fret: the lowest fret of the range at which the bass string sounds the bass note.
    const SNote openNote = _tuning->pitchForString(bassString).note();
    std::optional<std::int16_t> bassFret;
    for (const std::int16_t fret : _rangeFrets[bassString]) {
        if (fret >= 0 && openNote.noteWithOffset(static_cast<std::int8_t>(fret))
                             .isEnharmonicallyEquivalentToNote(bassNote)) {
            bassFret = fret;
            break;
        }
    }
    if (!bassFret) {
        return;
    }

    // The candidates are visited in the order _indicatorListsForFretRange lists them, without
    // materialising that list: string bassString - 1 varies slowest, string 0 fastest.
    const auto lastPosition = static_cast<std::size_t>(bassString);
    _candidate.clear();
    _candidate.emplace_back(relativeFret(*bassFret, range), static_cast<std::uint8_t>(bassString));
    for (std::size_t position = 1; position <= lastPosition; ++position) {
        const std::size_t string = lastPosition - position;
        _candidate.emplace_back(relativeFret(_rangeFrets[string].front(), range),
                                static_cast<std::uint8_t>(string));
    }
    _choice.assign(lastPosition + 1, 0);

    while (true) {
        std::uint8_t offset = 0;
        normalizeInto(_candidate, _normalized, offset);
        _scratchShape._rebuildFromIndicatorArray(
            _normalized, static_cast<std::uint8_t>(offset + range.location));
        onShape(_scratchShape);

        std::size_t position = lastPosition;
        for (; position >= 1; --position) {
            const auto& options = _rangeFrets[lastPosition - position];
            if (++_choice[position] < options.size()) {
                _candidate[position].setFret(relativeFret(options[_choice[position]], range));
                break;
            }
            _choice[position] = 0;
            _candidate[position].setFret(relativeFret(options.front(), range));
        }
        if (position == 0) {
            return;
        }
    }
}

void TARVChordShapeGenerator::fillRangeChoices(TARVFretRange range, std::uint64_t span,
                                               RangeChoices& out) const {
    const bool twoNotes = _chord->notes().size() == 2;
    out.bassStrings = 0;
    const auto start = static_cast<unsigned>(range.location % 12);
    for (std::uint32_t string = 0; string < _rawStringCount; ++string) {
        // The same choices as _fretsForString: the muted marker first when it is offered, then
        // the frets of the range in ascending order.
        unsigned pattern = _openPitchClass[string] + start;
        pattern = pattern >= 12 ? pattern - 12 : pattern;
        std::uint8_t count = _patternCounts[pattern];
        if (span < kRangeSpan) {
            while (count > 0 &&
                   static_cast<std::uint64_t>(_patterns[pattern][count - 1].fret) > span) {
                --count;
            }
        }
        if (string == 0 || count == 0 || range.location == 0 || twoNotes) {
            pattern += 12;
            ++count;
        }
        out.choices[string] = _patterns[pattern].data();
        out.counts[string] = count;
        out.bassChoices[string] = _bassChoice[pattern] < count ? _bassChoice[pattern] : kNoChoice;
        out.bassStrings |= (out.bassChoices[string] != kNoChoice ? 1u : 0u) << string;
        out.notesBelow[string + 1] =
            static_cast<std::uint16_t>(out.notesBelow[string] | _patternNotes[pattern][count]);
    }
}

void TARVChordShapeGenerator::addRawCandidatesForFretRange(TARVFretRange range) {
    // The frets of the lists lie below the fret count.
    const std::uint64_t highest =
        std::min<std::uint64_t>(range.location + range.length, _tuning->fretCount() - 1u);
    const std::uint64_t span = highest - range.location;
    // Full ranges away from the nut that start on the same pitch class offer the same choices.
    if (range.location > 0 && span == kRangeSpan) {
        RangeChoices& shared = _fullRanges[range.location % 12];
        if (!shared.ready) {
            fillRangeChoices(range, span, shared);
            shared.ready = true;
        }
        _range = shared;
    } else {
        fillRangeChoices(range, span, _range);
    }
    // Bass strings from the highest generator string down; string 0 is never one.
    for (std::uint32_t bassStrings = _range.bassStrings & ~1u; bassStrings != 0;) {
        const auto string = static_cast<std::uint32_t>(std::bit_width(bassStrings) - 1);
        bassStrings &= ~(1u << string);
        if (_identityStringOrder) {
            addRawCandidatesForBassString<true>(range, string);
        } else {
            addRawCandidatesForBassString<false>(range, string);
        }
    }
}

template <bool BelowBassInOrder>
[[gnu::always_inline]] inline TARVChordShapeGenerator::ChoicePrefix
TARVChordShapeGenerator::extendPrefix(const ChoicePrefix& prefix, std::uint32_t string,
                                      const StringChoice& choice) const noexcept {
    // Below the bass string of a tuning in string order every string is a lower tuning string
    // than those chosen before it, never the highest nor the last one.
    ChoicePrefix next = prefix;
    const std::uint8_t tuningString =
        BelowBassInOrder ? static_cast<std::uint8_t>(string) : _tuningString[string];
    if (choice.fret < 0) {
        next.lowestMuted =
            BelowBassInOrder ? tuningString : std::min(next.lowestMuted, tuningString);
        return next;
    }
    const auto fret = static_cast<std::uint8_t>(choice.fret);
    next.noteBits = static_cast<std::uint16_t>(next.noteBits | choice.noteBit);
    next.lowestFret = std::min(next.lowestFret, fret);
    if (!BelowBassInOrder && tuningString >= next.highestString) {
        next.highestString = static_cast<std::uint8_t>(tuningString + 1);
        next.highestNoteBit = choice.noteBit;
    }
    if (BelowBassInOrder || tuningString + 1u != _rawStringCount) {
        ++next.fingered;
        ++next.fingeredAt[fret];
    }
    ++next.heldAt[fret];
    next.highestAt[fret] = std::max(next.highestAt[fret], tuningString);
    return next;
}

[[gnu::always_inline]] inline bool
TARVChordShapeGenerator::canComplete(const ChoicePrefix& prefix,
                                     std::uint32_t string) const noexcept {
    // Strings string - 1 to 0 are still to be chosen: each adds at most one note, and only one
    // that some choice of theirs sounds.
    const auto missing = static_cast<std::uint16_t>(_characteristicMask & ~prefix.noteBits);
    return (missing & ~_range.notesBelow[string]) == 0;
}

template <bool InOrder>
[[gnu::always_inline]] inline bool
TARVChordShapeGenerator::isValidPrefix(const ChoicePrefix& prefix,
                                       TARVFretRange range) const noexcept {
    // The rules of isValidChordShape, read off the candidate: every characteristic note sounds,
    // the highest sounding tuning string plays the bass, and at most four fingers are needed. In
    // string order the bass string is the highest tuning string that sounds.
    if ((prefix.noteBits & _characteristicMask) != _characteristicMask ||
        (!InOrder && prefix.highestNoteBit != noteBit(_bassValue))) {
        return false;
    }
    const std::uint8_t lowest = prefix.lowestFret;
    const std::uint8_t atLowest = prefix.fingeredAt[lowest];
    std::size_t fingers = prefix.fingered - atLowest;
    if (range.location + lowest == 0) {
        // At the nut the strings at fret 0 are open.
    } else if (prefix.heldAt[lowest] >= 2 && prefix.lowestMuted > prefix.highestAt[lowest]) {
        // One barre holds every string at the base fret.
        fingers += 1;
    } else {
        fingers += atLowest;
    }
    return fingers <= kMaximumFingers;
}

template <bool InOrder>
void TARVChordShapeGenerator::addRawCandidatesForBassString(TARVFretRange range,
                                                            std::uint32_t bassString) {
    // The bass fret: the lowest fret of the range at which the bass string sounds the bass note.
    const std::uint8_t bassChoice = _range.bassChoices[bassString];
    const StringChoice* bass = &_range.choices[bassString][bassChoice];

    ChoicePrefix base{};
    base.lowestFret = 0xFF;
    base.lowestMuted = _lowestMutedAbove[bassString];
    _prefixes[bassString] = extendPrefix<false>(base, bassString, *bass);
    _chosen[bassString] = bassChoice;
    if (!canComplete(_prefixes[bassString], bassString)) {
        _chosen[bassString] = 0;
        return;
    }

    // Candidates in the order _indicatorListsForFretRange lists them: the string next to the bass
    // varies slowest, string 0 fastest. `_prefixes[s]` holds the choices of the bass string down
    // to string s; the choices of string 0 are tried against `_prefixes[1]` directly. A prefix
    // that cannot sound every characteristic note whatever the strings below it choose has no
    // valid candidate, and its strings below are not visited.
    std::uint32_t string = bassString;
    while (true) {
        bool complete = true;
        for (; string > 1; --string) {
            _prefixes[string - 1] = extendPrefix<InOrder>(
                _prefixes[string], string - 1, _range.choices[string - 1][_chosen[string - 1]]);
            if (!canComplete(_prefixes[string - 1], string - 1)) {
                complete = false;
                --string;
                break;
            }
        }
        if (complete) {
            const ChoicePrefix& above = _prefixes[1];
            const StringChoice* last = _range.choices[0];
            for (std::uint8_t index = 0; index < _range.counts[0]; ++index) {
                // Most candidates lack a characteristic note; that is known before the rest.
                if (((above.noteBits | last[index].noteBit) & _characteristicMask) !=
                    _characteristicMask) {
                    continue;
                }
                const ChoicePrefix candidate = extendPrefix<InOrder>(above, 0, last[index]);
                if (isValidPrefix<InOrder>(candidate, range)) {
                    _chosen[0] = index;
                    addRawCandidate(range, bassString, candidate);
                }
            }
            string = 1;
        }
        // Advance the odometer of strings 1 to bass - 1 from `string` up; the strings below it
        // are at their first choice.
        while (true) {
            while (string < bassString && ++_chosen[string] >= _range.counts[string]) {
                _chosen[string] = 0;
                ++string;
            }
            if (string >= bassString) {
                break;
            }
            _prefixes[string] = extendPrefix<InOrder>(_prefixes[string + 1], string,
                                                      _range.choices[string][_chosen[string]]);
            if (canComplete(_prefixes[string], string)) {
                break;
            }
        }
        if (string >= bassString) {
            break;
        }
    }
    std::fill(_chosen.begin(), _chosen.begin() + bassString + 1, std::uint8_t{0});
}

void TARVChordShapeGenerator::addRawCandidate(TARVFretRange range, std::uint32_t bassString,
                                              const ChoicePrefix& prefix) {
    const std::uint32_t stringCount = _rawStringCount;
    const std::uint8_t offset = prefix.lowestFret;
    const auto baseFret = static_cast<std::uint8_t>(range.location + offset);

    // A candidate's shape is fixed by its base fret and the fret of every tuning string relative
    // to it (or its being muted); different such candidates give shapes that are not equal.
    std::uint64_t key = baseFret;
    std::array<std::int8_t, kMaximumRawStrings> normalized;
    if (_identityStringOrder) {
        // Generator strings are tuning strings: the strings above the bass string are muted.
        for (std::uint32_t string = 0; string <= bassString; ++string) {
            const std::int8_t fret = _range.choices[string][_chosen[string]].fret;
            normalized[string] =
                fret < 0 ? std::int8_t{-1} : static_cast<std::int8_t>(fret - offset);
            key |= static_cast<std::uint64_t>(fret < 0 ? kMutedKeyFret : normalized[string])
                   << (8 + 4 * string);
        }
        for (std::uint32_t string = bassString + 1; string < stringCount; ++string) {
            normalized[string] = -1;
        }
        key |= _mutedAbove[bassString];
    } else {
        normalized.fill(-1);
        for (std::uint32_t string = 0; string <= bassString; ++string) {
            const std::int8_t fret = _range.choices[string][_chosen[string]].fret;
            if (fret >= 0) {
                normalized[_tuningString[string]] = static_cast<std::int8_t>(fret - offset);
            }
        }
        for (std::uint32_t string = 0; string < stringCount; ++string) {
            const std::int8_t fret = normalized[string];
            key |= static_cast<std::uint64_t>(fret < 0 ? kMutedKeyFret : fret) << (8 + 4 * string);
        }
    }
    if (!insertValidKey(key)) {
        return;
    }
    if (_pendingShapes.size() != _shapeSet.size()) {
        _pendingShapes.resize(_shapeSet.size());
    }
    // The key's string bits are the packed frets the standard table looks up.
    std::uint64_t badness = 0;
    if (stringCount == kStandardTableStringCount) {
        badness = TARVStandardChordShapes::sharedInstance().standardScoreForPackedFrets(
            static_cast<std::uint32_t>(key >> 8), baseFret);
    }
    if (badness == 0) {
        badness = TARVChordShapeScorer::formulaScoreForFrets(
            std::span<const std::int8_t>(normalized.data(), stringCount), baseFret, stringCount);
    }
    _pendingShapes.push_back(PendingShape{key, badness, static_cast<std::uint8_t>(stringCount)});
    _shapeSet.emplace_back();
}

bool TARVChordShapeGenerator::insertValidKey(std::uint64_t key) {
    if (2 * (_validKeyCount + 1) > _validKeys.size()) {
        std::vector<std::uint64_t> old = std::move(_validKeys);
        _validKeys.assign(2 * old.size(), kFreeKey);
        _validKeyCount = 0;
        for (const std::uint64_t entry : old) {
            if (entry != kFreeKey) {
                insertValidKey(entry);
            }
        }
    }
    const std::size_t mask = _validKeys.size() - 1;
    std::size_t slot = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ULL) >> 40) & mask;
    for (; _validKeys[slot] != kFreeKey; slot = (slot + 1) & mask) {
        if (_validKeys[slot] == key) {
            return false;
        }
    }
    _validKeys[slot] = key;
    ++_validKeyCount;
    return true;
}

std::optional<std::int16_t>
TARVChordShapeGenerator::_fretForBassNote(const SNote& bassNote, std::uint32_t onString,
                                          TARVFretRange inFretRange) const {
    const SNote openNote = _tuning->pitchForString(onString).note();
    for (const std::int16_t fret : _fretsForString(onString, inFretRange)) {
        if (fret < 0) {
            continue;
        }
        if (openNote.noteWithOffset(static_cast<std::int8_t>(fret))
                .isEnharmonicallyEquivalentToNote(bassNote)) {
            return fret;
        }
    }
    return std::nullopt;
}

std::vector<std::int16_t>
TARVChordShapeGenerator::_fretsForString(std::uint32_t string, TARVFretRange inFretRange) const {
    std::vector<std::int16_t> frets;
    fillFretsForString(string, inFretRange, frets);
    return frets;
}

void TARVChordShapeGenerator::fillFretsForString(std::uint32_t string, TARVFretRange range,
                                                 std::vector<std::int16_t>& frets) const {
    buildFretLists();
    const auto& all = _stringFretLists.at(string);
    frets.clear();
    frets.push_back(kMutedMarker);
    for (const std::int16_t fret : all) {
        if (inRange(fret, range)) {
            frets.push_back(fret);
        }
    }
    const bool offerMuted = string == 0 || frets.size() == 1 || range.location == 0 ||
                            (_chord && _chord->notes().size() == 2);
    if (!offerMuted) {
        frets.erase(frets.begin());
    }
}

std::vector<std::vector<TARVFretIndicator>> TARVChordShapeGenerator::_indicatorListsForFretRange(
    TARVFretRange range, std::int16_t startingFromFret, std::int32_t onBassString) const {
    const std::vector<TARVFretIndicator> base{TARVFretIndicator(
        relativeFret(startingFromFret, range), static_cast<std::uint8_t>(onBassString))};
    return _buildAllCombinationsFromBase(base, range, onBassString - 1);
}

std::vector<std::vector<TARVFretIndicator>>
TARVChordShapeGenerator::_buildAllCombinationsFromBase(const std::vector<TARVFretIndicator>& base,
                                                       TARVFretRange forFretRange,
                                                       std::int32_t currentString) const {
    if (currentString < 0) {
        return {base};
    }
    std::vector<std::vector<TARVFretIndicator>> result;
    for (const std::int16_t fret :
         _fretsForString(static_cast<std::uint32_t>(currentString), forFretRange)) {
        auto extended = base;
        extended.emplace_back(relativeFret(fret, forFretRange),
                              static_cast<std::uint8_t>(currentString));
        for (auto& candidate :
             _buildAllCombinationsFromBase(extended, forFretRange, currentString - 1)) {
            result.push_back(std::move(candidate));
        }
    }
    return result;
}

std::uint8_t TARVChordShapeGenerator::_normalizationOffsetForIndicatorArray(
    std::span<const TARVFretIndicator> indicators) const {
    std::int32_t offset = 4;
    for (const TARVFretIndicator& indicator : indicators) {
        if (indicator.fret() >= 0 && indicator.fret() < offset) {
            offset = indicator.fret();
        }
    }
    return static_cast<std::uint8_t>(offset);
}

std::vector<TARVFretIndicator>
TARVChordShapeGenerator::_normalizeIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                                  std::uint8_t* offsetResult) const {
    std::vector<TARVFretIndicator> result;
    std::uint8_t offset = 0;
    normalizeInto(indicators, result, offset);
    if (offsetResult != nullptr) {
        *offsetResult = offset;
    }
    return result;
}

void TARVChordShapeGenerator::normalizeInto(std::span<const TARVFretIndicator> indicators,
                                            std::vector<TARVFretIndicator>& result,
                                            std::uint8_t& offset) const {
    offset = _normalizationOffsetForIndicatorArray(indicators);
    const std::uint8_t stringCount = _tuning->stringCount();
    std::array<bool, 256> unmarked;
    std::fill_n(unmarked.begin(), stringCount, true);
    const auto& transform = _tuning->stringOrderTransform();

    result.clear();
    for (const TARVFretIndicator& indicator : indicators) {
        TARVFretIndicator normalized(static_cast<std::int8_t>(indicator.fret() - offset),
                                     indicator.string());
        if (transform) {
            normalized.setString(static_cast<std::uint8_t>(transform->at(indicator.string())));
        }
        unmarked[normalized.string()] = false;
        result.push_back(normalized);
    }
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        if (unmarked[string]) {
            result.push_back(
                TARVMutedFretIndicator::indicatorOnString(static_cast<std::uint8_t>(string)));
        }
    }
}

bool TARVChordShapeGenerator::isValidChordShape(const TARVChordShape& shape) const {
    if (!_hasChord || !_tuning) {
        return false;
    }
    if (shape._fingersRequiredToPlayWithStringCount(_tuning->stringCount()) > 4) {
        return false;
    }

    // The note values of notesInTuning, without building the list: per string the value of its
    // sounding note, or -1.
    const std::size_t strings = _openValues.size();
    if (strings == 0) {
        return false;
    }
    const std::size_t entries = std::min<std::size_t>(shape.baseString(), strings - 1) + 1;
    std::array<std::int8_t, 256> values;
    // Offsets stay within -128..255; adding 144 keeps the sum positive for the modulo.
    const int baseFret = static_cast<std::int8_t>(shape.baseFret()) + 144;
    for (std::size_t string = 0; string < entries; ++string) {
        values[string] = static_cast<std::int8_t>((_openValues[string] + baseFret) % 12);
    }
    std::fill(values.begin() + static_cast<std::ptrdiff_t>(entries),
              values.begin() + static_cast<std::ptrdiff_t>(strings), std::int8_t{-1});
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        const std::size_t string = indicator.string();
        if (string >= strings) {
            continue;
        }
        if (indicator.isKindOfClass(TARVIndicatorClass::Muted)) {
            values[string] = -1;
        } else if (values[string] >= 0) {
            values[string] =
                static_cast<std::int8_t>((values[string] + indicator.fret() + 144) % 12);
        }
    }
    std::uint16_t sounding = 0;
    int lowest = -1;
    for (std::size_t string = 0; string < strings; ++string) {
        if (values[string] >= 0) {
            sounding = static_cast<std::uint16_t>(sounding | (1u << values[string]));
            lowest = values[string];
        }
    }

    if (lowest < 0 || lowest != _bassValue) {
        return false;
    }
    return (_characteristicMask & sounding) == _characteristicMask;
}

bool TARVChordShapeGenerator::_shapeNotesHaveCorrectBassForChord(
    const std::vector<SNote>& shapeNotes, const SChord& chord) const {
    if (shapeNotes.empty()) {
        return false;
    }
    const SNote& lowest = shapeNotes.back();
    if (chord.addedBase()) {
        return lowest.isEnharmonicallyEquivalentToNote(*chord.addedBase());
    }
    return lowest.isEnharmonicallyEquivalentToNote(chord.root());
}

bool TARVChordShapeGenerator::_shapeNotesHaveCharacteristicNotesForChord(
    const std::vector<SNote>& shapeNotes, const SChord& chord) const {
    const std::uint16_t required = TARVNoteValueMask(chord.characteristicNotes());
    const std::uint16_t sounding = TARVNoteValueMask(shapeNotes);
    return (required & sounding) == required;
}

void TARVChordShapeGenerator::_removeInvalidShapes() {
    buildPendingShapes();
    std::erase_if(_shapeSet,
                  [this](const TARVChordShapePtr& shape) { return !isValidChordShape(*shape); });
}

} // namespace tarv
