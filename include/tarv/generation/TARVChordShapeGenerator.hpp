#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarv {

class TARVChordShapeCache;
class TARVChordShapeGenerator;
using TARVChordShapeGeneratorPtr = std::shared_ptr<TARVChordShapeGenerator>;
using SStringedInstrumentTuningConstPtr = std::shared_ptr<const SStringedInstrumentTuning>;

/// A range of frets; a fret f lies in it when location <= f <= location + length.
struct TARVFretRange {
    std::uint64_t location = 0;
    std::uint64_t length = 0;
};

/// Answers which shapes play a chord in a tuning: at most 20 generated shapes, best (lowest
/// badness) first. All work is done in the constructor; afterwards the generator only holds its
/// answer. A generator is used by one thread; several may run at once on different threads.
class TARVChordShapeGenerator {
public:
    /// The library's main entry: the shapes of the shared cache, generated and stored there on
    /// a miss.
    static TARVChordShapeGeneratorPtr generatorWithChord(SChordPtr chord,
                                                         SStringedInstrumentTuningConstPtr tuning);
    /// As `generatorWithChord`; with `forceGeneration` the shapes are generated and merged into
    /// the shared cache even on a hit.
    static TARVChordShapeGeneratorPtr
    initWithChord(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning, bool forceGeneration);
    /// Cached generation in front of `cache`. An empty cached list counts as a hit; when
    /// generation finds nothing the cache is left as it was and the answer is the cached one
    /// (absent on a miss).
    static TARVChordShapeGeneratorPtr initWithChord(SChordPtr chord,
                                                    SStringedInstrumentTuningConstPtr tuning,
                                                    TARVChordShapeCache& cache,
                                                    bool forceGeneration);
    /// Generation without any cache.
    static TARVChordShapeGeneratorPtr
    initUncachedWithChord(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning);

    /// The answer. Absent only under cached construction, when nothing was cached and nothing was
    /// generated.
    const std::optional<std::vector<TARVChordShapePtr>>& shapes() const noexcept { return _shapes; }
    const SChordPtr& chord() const noexcept { return _chord; }
    void setChord(SChordPtr chord) { _chord = std::move(chord); }
    const SStringedInstrumentTuningConstPtr& tuning() const noexcept { return _tuning; }
    void setTuning(SStringedInstrumentTuningConstPtr tuning) { _tuning = std::move(tuning); }
    /// Per string (in the generator's string order) the ascending frets at which a chord note
    /// sounds.
    /// Made on first request after generation; empty when no generation ran.
    const std::vector<std::vector<std::int16_t>>& stringFretLists() const {
        buildFretLists();
        return _stringFretLists;
    }
    void setStringFretLists(std::vector<std::vector<std::int16_t>> lists) {
        _stringFretLists = std::move(lists);
        _fretListsPending = false;
        _rawStringCount = 0;
    }
    /// The working set as generation left it: pruned of invalid shapes, unsorted, untrimmed. The
    /// shapes beyond the returned ones are built on first request.
    const std::vector<TARVChordShapePtr>& shapeSet() const {
        buildPendingShapes();
        return _shapeSet;
    }
    /// Replaces the working set; the shapes are taken as they are, without deduplication.
    void setShapeSet(std::vector<TARVChordShapePtr> shapeSet) {
        _shapeSet = std::move(shapeSet);
        _pendingShapes.clear();
    }
    std::unordered_map<std::string, std::uint64_t>& scoreDict() noexcept { return _scoreDict; }

    /// Whether `shape` is a playable voicing of the generator's chord in its tuning.
    bool isValidChordShape(const TARVChordShape& shape) const;

    /// The range visited from start fret `fret`: five frets, or up to `fretCount` near the top.
    static TARVFretRange _fretRangeAtFret(std::uint32_t fret, std::uint8_t fretCount) noexcept;

    // The steps of generation, in the order they run.
    std::vector<TARVChordShapePtr> _buildShapes();
    void _addShapesAtFret(std::uint32_t fret);
    void _addShapesForFretRange(TARVFretRange range);
    std::vector<TARVChordShapePtr>
    _shapesForFretRange(TARVFretRange range, const SNote& withBassNote, std::uint32_t onString);
    std::optional<std::int16_t> _fretForBassNote(const SNote& bassNote, std::uint32_t onString,
                                                 TARVFretRange inFretRange) const;
    std::vector<std::int16_t> _fretsForString(std::uint32_t string,
                                              TARVFretRange inFretRange) const;
    std::vector<std::vector<TARVFretIndicator>>
    _indicatorListsForFretRange(TARVFretRange range, std::int16_t startingFromFret,
                                std::int32_t onBassString) const;
    std::vector<std::vector<TARVFretIndicator>>
    _buildAllCombinationsFromBase(const std::vector<TARVFretIndicator>& base,
                                  TARVFretRange forFretRange, std::int32_t currentString) const;
    std::uint8_t
    _normalizationOffsetForIndicatorArray(std::span<const TARVFretIndicator> indicators) const;
    std::vector<TARVFretIndicator>
    _normalizeIndicatorArray(std::span<const TARVFretIndicator> indicators,
                             std::uint8_t* offsetResult) const;
    bool _shapeNotesHaveCorrectBassForChord(const std::vector<SNote>& shapeNotes,
                                            const SChord& chord) const;
    bool _shapeNotesHaveCharacteristicNotesForChord(const std::vector<SNote>& shapeNotes,
                                                    const SChord& chord) const;
    void _removeInvalidShapes();

    TARVChordShapeGenerator(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning);

private:
    /// One choice of a string in one range: its fret relative to the range (negative: muted) and
    /// the note value it sounds as a bit (0 when muted).
    struct StringChoice {
        std::int8_t fret;
        std::uint16_t noteBit;
    };
    /// What the strings chosen so far hold, from the bass string down to the current one.
    struct ChoicePrefix {
        std::uint16_t noteBits;
        /// Lowest relative fret of a sounding string.
        std::uint8_t lowestFret;
        /// Highest tuning string that sounds plus one (0: none yet), and the note it sounds as
        /// a bit.
        std::uint8_t highestString;
        std::uint16_t highestNoteBit;
        /// Lowest tuning string that is muted (the string count when none is).
        std::uint8_t lowestMuted;
        /// Sounding strings that need a finger when fretted: all but the lowest-pitched string.
        std::uint8_t fingered;
        /// Per relative fret: the fingered strings at it, all strings at it, and the highest
        /// tuning string at it.
        std::array<std::uint8_t, 5> fingeredAt;
        std::array<std::uint8_t, 5> heldAt;
        std::array<std::uint8_t, 5> highestAt;
    };

    /// A valid candidate whose shape is not built yet: its base fret and the fret of every tuning
    /// string relative to it, four bits each (all set: muted), and its badness.
    struct PendingShape {
        std::uint64_t key;
        std::uint64_t badness;
        std::uint8_t stringCount;
    };

    /// Whether the working set is built from the raw candidates (see prepareEnumeration).
    bool enumeratesRawCandidates() const noexcept { return _rawStringCount != 0; }
    /// Sets up enumeration on raw candidates when the tuning allows it: a string order that is
    /// a permutation, at most 14 strings (so that a candidate fits one key) and fret numbers
    /// that stay clear of 8-bit wrapping.
    void prepareEnumeration();
    void addRawCandidatesForFretRange(TARVFretRange range);
    template <bool InOrder>
    void addRawCandidatesForBassString(TARVFretRange range, std::uint32_t bassString);
    void addRawCandidate(TARVFretRange range, std::uint32_t bassString, const ChoicePrefix& prefix);
    template <bool BelowBassInOrder>
    ChoicePrefix extendPrefix(const ChoicePrefix& prefix, std::uint32_t string,
                              const StringChoice& choice) const noexcept;
    template <bool InOrder>
    bool isValidPrefix(const ChoicePrefix& prefix, TARVFretRange range) const noexcept;
    /// Whether strings `string` - 1 to 0 can still complete the characteristic notes.
    bool canComplete(const ChoicePrefix& prefix, std::uint32_t string) const noexcept;
    /// False when the key was inserted before.
    bool insertValidKey(std::uint64_t key);
    static TARVChordShapePtr shapeForPendingShape(const PendingShape& pending);
    static void buildPendingShape(const PendingShape& pending, TARVChordShape& into);
    void buildFretLists() const;
    void buildPendingShapes() const;

    /// Adds a copy of `shape` to the working set unless an equal shape was met before or the
    /// shape is not valid.
    void addToShapeSet(const TARVChordShape& shape);
    void growSeenTable();
    /// Builds every candidate shape of one bass placement in turn into one reused shape and hands
    /// it to `onShape`; `_rangeFrets` must hold the frets of the range for every string.
    template <typename OnShape>
    void enumerateShapes(TARVFretRange range, const SNote& bassNote, std::uint32_t bassString,
                         OnShape&& onShape);
    void fillFretsForString(std::uint32_t string, TARVFretRange range,
                            std::vector<std::int16_t>& frets) const;
    void normalizeInto(std::span<const TARVFretIndicator> indicators,
                       std::vector<TARVFretIndicator>& result, std::uint8_t& offset) const;
    std::uint64_t scoreForShape(const TARVChordShape& shape) const;

    std::optional<std::vector<TARVChordShapePtr>> _shapes;
    SChordPtr _chord;
    SStringedInstrumentTuningConstPtr _tuning;
    mutable std::vector<std::vector<std::int16_t>> _stringFretLists;
    /// Generation ran and the fret lists are still to be made.
    mutable bool _fretListsPending = false;
    /// Null where a shape of `_pendingShapes` waits to be built.
    mutable std::vector<TARVChordShapePtr> _shapeSet;
    /// Parallel to `_shapeSet` while some of its shapes are not built; empty otherwise.
    mutable std::vector<PendingShape> _pendingShapes;
    std::unordered_map<std::string, std::uint64_t> _scoreDict;

    bool _hasChord = false;
    std::uint8_t _bassValue = 0;
    std::uint16_t _characteristicMask = 0;
    /// Note value of each open string, string 0 first.
    std::vector<std::uint8_t> _openValues;

    // Enumeration on raw candidates. `_rawStringCount` is 0 when the tuning needs the general
    // path. Arrays are indexed by generator string.
    static constexpr std::size_t kRawStrings = 14;
    static constexpr std::size_t kPatternChoices = 6;
    std::uint32_t _rawStringCount = 0;
    std::array<std::uint8_t, kRawStrings> _tuningString{};
    std::array<std::uint8_t, kRawStrings> _openPitchClass{};
    /// The lowest tuning string muted above each generator string in generator order.
    std::array<std::uint8_t, kRawStrings> _lowestMutedAbove{};
    /// Whether every generator string is the tuning string of the same number, and then the
    /// muted strings above each string as they stand in a candidate's key.
    bool _identityStringOrder = false;
    std::array<std::uint64_t, kRawStrings> _mutedAbove{};
    /// For a string whose range starts at pitch class p: its choices without (entry p) and with
    /// (entry 12 + p) the muted choice first.
    std::array<std::array<StringChoice, kPatternChoices>, 24> _patterns{};
    std::array<std::uint8_t, 24> _patternCounts{};
    /// Per pattern (the 24 above): the notes of its first k choices as bits at index k, and the
    /// index of its first choice that sounds the bass note (kNoChoice: none).
    std::array<std::array<std::uint16_t, kPatternChoices + 1>, 24> _patternNotes{};
    std::array<std::uint8_t, 24> _bassChoice{};
    static constexpr std::uint8_t kNoChoice = 0xFF;
    /// What the strings of one range may choose.
    struct RangeChoices {
        std::array<const StringChoice*, kRawStrings> choices{};
        std::array<std::uint8_t, kRawStrings> counts{};
        /// Per string the index of its bass choice (kNoChoice: none), and those that have one as
        /// bits.
        std::array<std::uint8_t, kRawStrings> bassChoices{};
        std::uint32_t bassStrings = 0;
        /// The notes the choices of strings 0 to s - 1 sound, as bits, at index s.
        std::array<std::uint16_t, kRawStrings + 1> notesBelow{};
        bool ready = false;
    };
    void fillRangeChoices(TARVFretRange range, std::uint64_t span, RangeChoices& out) const;
    /// The choices of full ranges off the nut by first pitch class, and of the current range.
    std::array<RangeChoices, 12> _fullRanges{};
    RangeChoices _range;
    std::array<std::uint8_t, kRawStrings> _chosen{};
    std::array<ChoicePrefix, kRawStrings> _prefixes{};
    /// Keys of the valid candidates met so far (open addressing, all ones = free).
    std::vector<std::uint64_t> _validKeys;
    std::size_t _validKeyCount = 0;

    // Deduplication on insertion in the general path: an open-addressing table of positions in
    // `_shapeSet`.
    std::vector<std::int32_t> _seenTable;

    // Working storage, reused from one candidate to the next.
    std::vector<std::vector<std::int16_t>> _rangeFrets;
    std::vector<TARVFretIndicator> _candidate;
    std::vector<std::size_t> _choice;
    std::vector<TARVFretIndicator> _normalized;
    TARVChordShape _scratchShape;
};

} // namespace tarv
