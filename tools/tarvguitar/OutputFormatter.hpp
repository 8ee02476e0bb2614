#pragma once

#include "InputReading.hpp"

#include "tarv/diagrams/TARVDiagramOptions.hpp"
#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/ranking/TARVProgression.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarv::tool {

/// The answer for one chord of the `shapes` command.
struct ChordShapesAnswer {
    std::shared_ptr<const SChord> chord;
    /// The shapes to show, best first (at most the `--limit`).
    std::vector<TARVPlayableShape> shapes;
    /// How many shapes generation answered, before the limit.
    std::size_t generatedCount = 0;
};

/// The answer of the `notation` command.
struct NotationAnswer {
    FretText fretText;
    /// The shape with its fingering; it has no score, since no chord is named.
    TARVPlayableShape shape;
};

/// The answer of the `name` command for one fret text.
struct NamesAnswer {
    FretText fretText;
    /// The shape with its fingering.
    TARVPlayableShape shape;
    /// The names of the shape as it is written, relative to the capo, best first.
    std::vector<TARVChordNaming::Name> names;
};

/// The answer of the `progression` command.
struct ProgressionAnswer {
    /// The chords as given (after any transposition): the progression sounds as them.
    std::vector<SChordPtr> chords;
    /// The tuning the arrangements are played on, with the chosen capo.
    std::shared_ptr<const SStringedInstrumentTuning> tuning;
    /// The best arrangements, best first.
    std::vector<TARVProgression::Arrangement> arrangements;
    /// With `--capo auto`: the capo positions tried, best first (the arrangements are those of
    /// the first).
    std::vector<TARVProgression::CapoChoice> capoChoices;
    /// How many capo positions to list.
    std::size_t capoChoicesShown = 3;
};

/// Writes the answers of the `shapes` and `notation` commands in one output format. `begin` is
/// called before the first answer and `end` after the last, so that a format can wrap every
/// answer of one call in a single document.
class OutputFormatter {
public:
    OutputFormatter() = default;
    OutputFormatter(const OutputFormatter&) = delete;
    OutputFormatter& operator=(const OutputFormatter&) = delete;
    virtual ~OutputFormatter() = default;

    /// The instrument the tuning belongs to, when the command line names one; shown beside the
    /// tuning.
    void setInstrumentName(std::string name) { _instrumentName = std::move(name); }
    /// Show each shape's score terms.
    void setExplain(bool explain) { _explain = explain; }
    /// Mirrored (left-handed) or horizontal diagrams, in the text and SVG formats.
    void setDiagramOptions(const TARVDiagramOptions& options) { _diagramOptions = options; }

    virtual void begin() {}
    virtual void writeChordShapes(const ChordShapesAnswer& answer,
                                  const SStringedInstrumentTuning& tuning) = 0;
    /// What `writeChordShapes` writes, as text of its own, for a format that makes it without
    /// the stream; nothing for the others.
    virtual std::optional<std::string>
    chordShapesText(const ChordShapesAnswer& /*answer*/,
                    const SStringedInstrumentTuning& /*tuning*/) {
        return std::nullopt;
    }
    /// `tuning` is null when the command line names none; the sounding notes are then left out.
    virtual void writeNotation(const NotationAnswer& answer,
                               const SStringedInstrumentTuning* tuning) = 0;
    virtual void writeNames(const NamesAnswer& answer, const SStringedInstrumentTuning& tuning) = 0;
    virtual void writeProgression(const ProgressionAnswer& answer) = 0;
    virtual void end() {}

protected:
    /// Empty when no instrument is named.
    std::string _instrumentName;
    bool _explain = false;
    TARVDiagramOptions _diagramOptions;
};

/// With a capo, chord sheets name a shape as it is fingered, relative to the capo, and the chord
/// sounds higher: for `chord` (sounding) on `tuning`, the chord the shapes make relative to the
/// capo; `chord` itself without a capo.
SChordPtr playedChord(const SChordPtr& chord, const SStringedInstrumentTuning& tuning);

/// "C (capo 2, sounds as D)" for the sounding chord D with capo 2; the chord's symbol without a
/// capo.
std::string chordTitle(const SChordPtr& chord, const SStringedInstrumentTuning& tuning);

/// "C", "C/E", "Am6/D (rootless)", with the left-out notes: "C7 (no G)".
std::string nameText(const TARVChordNaming::Name& name);

/// The sounding chord of a name read relative to the capo ("D" for C with capo 2).
SChordPtr soundingChord(const TARVChordNaming::Name& name, const SStringedInstrumentTuning& tuning);

/// "capo 3: C F G Am (cost 2.10)".
std::string capoChoiceText(const TARVProgression::CapoChoice& choice);

/// "2 decimals, no minus zero".
std::string decimalText(double value);

/// "rank 1, score 0.49", with the generator's badness when it has one.
std::string rankSummary(const TARVPlayableShape& shape, std::size_t rank);
/// Each term of the shape's score: "reach 1.2 × 0.3 = 0.36", the largest contributions first.
std::vector<std::string> termLines(const TARVPlayableShape& shape);

/// The notes `shape` sounds on `tuning` with its capo, from string 0 up.
std::vector<SNote> soundingNotes(const TARVPlayableShape& shape,
                                 const SStringedInstrumentTuning& tuning);

/// The texts of `notes`, in their order.
std::vector<std::string> noteTexts(const std::vector<SNote>& notes);

/// "Standard tuning (EADGBE, 22 frets)", with ", capo 2" when there is a capo, and preceded by
/// "Ukulele, " when `instrumentName` is not empty.
std::string tuningSummary(const SStringedInstrumentTuning& tuning,
                          const std::string& instrumentName = std::string());

} // namespace tarv::tool
