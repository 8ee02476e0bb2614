#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

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
    const std::vector<std::vector<std::int16_t>>& stringFretLists() const noexcept {
        return _stringFretLists;
    }
    void setStringFretLists(std::vector<std::vector<std::int16_t>> lists) {
        _stringFretLists = std::move(lists);
    }
    /// The working set as generation left it: pruned of invalid shapes, unsorted, untrimmed.
    const std::vector<TARVChordShapePtr>& shapeSet() const noexcept { return _shapeSet; }
    /// Replaces the working set; the shapes are taken as they are, without deduplication.
    void setShapeSet(std::vector<TARVChordShapePtr> shapeSet) { _shapeSet = std::move(shapeSet); }
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
    /// Adds a copy of `shape` to the working set unless an equal shape was met before or the
    /// shape is not valid.
    void addToShapeSet(const TARVChordShape& shape);
    void growSeenTable();

    /// A candidate packed into two words; the low word is never 0 (it holds the bass string,
    /// which is at least 1, in its second byte).
    struct CandidateKey {
        std::uint64_t low;
        std::uint64_t high;
    };
    /// False when the key was inserted before.
    bool insertCandidateKey(const CandidateKey& key);
    /// Builds every candidate shape of one bass placement in turn into one reused shape and hands
    /// it to `onShape`; `_rangeFrets` must hold the frets of the range for every string.
    template <bool SkipRepeatedCandidates, typename OnShape>
    void enumerateShapes(TARVFretRange range, const SNote& bassNote, std::uint32_t bassString,
                         OnShape&& onShape);
    void fillFretsForString(std::uint32_t string, TARVFretRange range,
                            std::vector<std::int16_t>& frets) const;
    void normalizeInto(std::span<const TARVFretIndicator> indicators,
                       std::vector<TARVFretIndicator>& result, std::uint8_t& offset) const;

    std::optional<std::vector<TARVChordShapePtr>> _shapes;
    SChordPtr _chord;
    SStringedInstrumentTuningConstPtr _tuning;
    std::vector<std::vector<std::int16_t>> _stringFretLists;
    std::vector<TARVChordShapePtr> _shapeSet;
    std::unordered_map<std::string, std::uint64_t> _scoreDict;

    std::uint8_t _bassValue = 0;
    std::uint16_t _characteristicMask = 0;
    /// Note value of each open string, string 0 first.
    std::vector<std::uint8_t> _openValues;

    // Deduplication on insertion: an open-addressing table of positions in `_shapeSet`.
    std::vector<std::int32_t> _seenTable;
    std::vector<CandidateKey> _candidateKeys;
    std::size_t _candidateKeyCount = 0;

    // Working storage of the enumeration, reused from one candidate to the next.
    std::vector<std::vector<std::int16_t>> _rangeFrets;
    std::vector<TARVFretIndicator> _candidate;
    std::vector<std::size_t> _choice;
    std::vector<TARVFretIndicator> _normalized;
    TARVChordShape _scratchShape;
};

} // namespace tarv
