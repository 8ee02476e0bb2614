#include "tarv/generation/TARVChordShapeGenerator.hpp"

#include "tarv/generation/TARVChordShapeScorer.hpp"
#include "tarv/generation/TARVNoteAdditions.hpp"
#include "tarv/instruments/SNoteGuitar.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tarv {

namespace {

constexpr std::size_t kShapeSetCapacity = 40;
constexpr std::size_t kMaximumShapes = 20;
constexpr std::int16_t kMutedMarker = -1;
// Bass string, base fret and up to 14 fret bytes fill the two words of a candidate key.
constexpr std::size_t kKeyedCandidatePositions = 14;

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

} // namespace

TARVChordShapeGenerator::TARVChordShapeGenerator(SChordPtr chord,
                                                 SStringedInstrumentTuningConstPtr tuning)
    : _chord(std::move(chord)), _tuning(std::move(tuning)) {
    _shapeSet.reserve(kShapeSetCapacity);
    _bassValue = _chord->addedBase().value_or(_chord->root()).noteValue();
    _characteristicMask = TARVNoteValueMask(_chord->characteristicNotes());
    for (const SPitch& pitch : _tuning->stringPitches()) {
        _openValues.push_back(pitch.note().noteValue());
    }
    if (_openValues.size() > 256) {
        _openValues.resize(256);
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
    const SStringedInstrumentTuning& tuning = *_tuning;
    const std::uint8_t stringCount = tuning.stringCount();

    std::vector<std::vector<std::int16_t>> lists(stringCount);
    for (std::uint8_t string = 0; string < stringCount; ++string) {
        auto& list = lists[string];
        for (const SNote& note : _chord->notes()) {
            for (const std::int8_t fret : fretsForString(note, string, tuning, false)) {
                list.push_back(fret);
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

    // Invalid shapes are kept out of the working set as they arrive (see addToShapeSet), which
    // leaves nothing for _removeInvalidShapes to do.
    _seenTable.clear();
    for (std::uint32_t fret = 0; fret < tuning.fretCount(); ++fret) {
        _addShapesAtFret(fret);
    }

    for (const TARVChordShapePtr& shape : _shapeSet) {
        shape->setBadness(TARVChordShapeScorer::scoreForShape(*shape, stringCount));
    }

    std::vector<TARVChordShapePtr> sorted = _shapeSet;
    std::stable_sort(
        sorted.begin(), sorted.end(),
        [](const TARVChordShapePtr& a, const TARVChordShapePtr& b) { return a->compare(*b) < 0; });
    if (sorted.size() > kMaximumShapes) {
        sorted.resize(kMaximumShapes);
    }
    return sorted;
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
    const SNote bassNote = _chord->addedBase().value_or(_chord->root());
    const std::uint8_t stringCount = _tuning->stringCount();
    _rangeFrets.resize(stringCount);
    for (std::uint32_t string = 0; string < stringCount; ++string) {
        fillFretsForString(string, range, _rangeFrets[string]);
    }
    for (std::int32_t string = static_cast<std::int32_t>(stringCount) - 1; string >= 1; --string) {
        enumerateShapes<true>(range, bassNote, static_cast<std::uint32_t>(string),
                              [this](const TARVChordShape& shape) { addToShapeSet(shape); });
    }
}

void TARVChordShapeGenerator::addToShapeSet(const TARVChordShape& shape) {
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
    _shapeSet.push_back(std::make_shared<TARVChordShape>(shape));
}

bool TARVChordShapeGenerator::insertCandidateKey(const CandidateKey& key) {
    if (_candidateKeys.empty() || 2 * (_candidateKeyCount + 1) > _candidateKeys.size()) {
        std::vector<CandidateKey> old = std::move(_candidateKeys);
        _candidateKeys.assign(old.empty() ? 1024 : 2 * old.size(), CandidateKey{0, 0});
        _candidateKeyCount = 0;
        for (const CandidateKey& entry : old) {
            if (entry.low != 0) {
                insertCandidateKey(entry);
            }
        }
    }
    const std::size_t mask = _candidateKeys.size() - 1;
    std::uint64_t mixed = (key.low ^ (key.high * 0x9E3779B97F4A7C15ULL)) * 0xBF58476D1CE4E5B9ULL;
    std::size_t slot = static_cast<std::size_t>(mixed >> 32) & mask;
    for (; _candidateKeys[slot].low != 0; slot = (slot + 1) & mask) {
        if (_candidateKeys[slot].low == key.low && _candidateKeys[slot].high == key.high) {
            return false;
        }
    }
    _candidateKeys[slot] = key;
    ++_candidateKeyCount;
    return true;
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
    enumerateShapes<false>(range, withBassNote, onString, [&shapes](const TARVChordShape& shape) {
        shapes.push_back(std::make_shared<TARVChordShape>(shape));
    });
    return shapes;
}

template <bool SkipRepeatedCandidates, typename OnShape>
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

    // A candidate is wholly described by its bass string, its base fret and its frets relative
    // to that base fret, every negative fret being a muted string alike. A candidate met before
    // builds a shape equal to one already offered, so it can be passed over unbuilt.
    const bool keyed = SkipRepeatedCandidates && lastPosition + 1 <= kKeyedCandidatePositions;

    while (true) {
        bool repeated = false;
        if (keyed) {
            const std::uint8_t offset = _normalizationOffsetForIndicatorArray(_candidate);
            CandidateKey key{static_cast<std::uint64_t>(offset + range.location) & 0xFF, 0};
            key.low |= static_cast<std::uint64_t>(bassString) << 8;
            for (std::size_t position = 0; position <= lastPosition; ++position) {
                const int fret = _candidate[position].fret();
                const auto byte = static_cast<std::uint8_t>(fret < 0 ? 0xFF : fret - offset);
                const std::size_t bit = 16 + 8 * position;
                if (bit < 64) {
                    key.low |= static_cast<std::uint64_t>(byte) << bit;
                } else {
                    key.high |= static_cast<std::uint64_t>(byte) << (bit - 64);
                }
            }
            repeated = !insertCandidateKey(key);
        }
        if (!repeated) {
            std::uint8_t offset = 0;
            normalizeInto(_candidate, _normalized, offset);
            _scratchShape._rebuildFromIndicatorArray(
                _normalized, static_cast<std::uint8_t>(offset + range.location));
            onShape(_scratchShape);
        }

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
    const auto& all = _stringFretLists.at(string);
    frets.clear();
    frets.push_back(kMutedMarker);
    for (const std::int16_t fret : all) {
        if (inRange(fret, range)) {
            frets.push_back(fret);
        }
    }
    const bool offerMuted =
        string == 0 || frets.size() == 1 || range.location == 0 || _chord->notes().size() == 2;
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
    std::erase_if(_shapeSet,
                  [this](const TARVChordShapePtr& shape) { return !isValidChordShape(*shape); });
}

} // namespace tarv
