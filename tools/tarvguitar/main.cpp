#include "InputReading.hpp"
#include "JsonFormatter.hpp"
#include "OrderedBatch.hpp"
#include "OutputFormatter.hpp"
#include "RankingData.hpp"
#include "SettingsReading.hpp"
#include "ShapeCacheBuilding.hpp"
#include "SvgFormatter.hpp"
#include "TextFormatter.hpp"

#include "tarv/TARVVersion.hpp"
#include "tarv/cache/TARVDataZLib.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVPlayabilityModel.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"
#include "tarv/ranking/TARVProgression.hpp"
#include "tarv/ranking/TARVShapeQuery.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#ifndef TARV_DEFAULT_SHAPES_DIR
#define TARV_DEFAULT_SHAPES_DIR ""
#endif

namespace {

using namespace tarv;
using namespace tarv::tool;

/// Exit status for input the tool cannot read (command line, chord symbols, tunings, frets).
constexpr int kExitBadInput = 2;
/// Exit status when the library itself fails, a file cannot be written, or `build-cache --check`
/// finds a file that is not what it would write.
constexpr int kExitFailure = 1;

constexpr int kMaximumByte = 255;

/// The text that standard input stands for in a list of chords.
constexpr std::string_view kStandardInput = "-";

/// Where `build-cache` puts what it writes, inside its output folder.
constexpr const char* kShapeCacheDirectory = "shapecaches";
constexpr const char* kCuratedShapesFile = "curatedshapes.json";

/// One line on standard error, after everything already written to standard output.
void report(std::string message) {
    std::replace(message.begin(), message.end(), '\n', ' ');
    std::cout.flush();
    std::cerr << "tarvguitar: " << message << "\n";
    std::cerr.flush();
}

struct InstrumentOptions {
    std::string pitches;
    std::string customName;
    std::string settingsPath;
    std::string instrumentName;
    std::string tuningName;
    int fretCount = 0;
    int capo = 0;
    /// With `allowCapoAuto`: "auto", or empty for a number in `capo`.
    std::string capoText;
    /// The fret the first string of the tuning starts at (a banjo's short fifth string), 0 for
    /// the nut.
    int shortStringStart = 0;
    CLI::Option* pitchesOption = nullptr;
    CLI::Option* customNameOption = nullptr;
    CLI::Option* settingsOption = nullptr;
    CLI::Option* instrumentOption = nullptr;
    CLI::Option* tuningNameOption = nullptr;
    CLI::Option* fretCountOption = nullptr;
    CLI::Option* capoOption = nullptr;

    void addTo(CLI::App& command, bool allowCapoAuto = false) {
        pitchesOption =
            command
                .add_option("--tuning", pitches,
                            "Open strings from the lowest to the highest, as players write them "
                            "(\"E2 A2 D3 G3 B3 E4\"; blanks or commas between pitches). Default: "
                            "the standard "
                            "guitar tuning")
                ->type_name("PITCHES");
        customNameOption = command
                               .add_option("--custom-name", customName,
                                           "Name of the --tuning (default \"Custom\")")
                               ->type_name("NAME")
                               ->needs(pitchesOption);
        instrumentOption = command
                               .add_option("--instrument", instrumentName,
                                           "An instrument of the settings file (see tarvguitar "
                                           "instruments); default: its first "
                                           "instrument")
                               ->type_name("NAME");
        tuningNameOption =
            command
                .add_option(
                    "--tuning-name", tuningName,
                    "A tuning of the chosen instrument; default: the instrument's first tuning")
                ->type_name("NAME");
        settingsOption = command
                             .add_option("--settings", settingsPath,
                                         "The settings file (property list) of --instrument and "
                                         "--tuning-name; default: the "
                                         "sample settings file of the library's resources")
                             ->type_name("FILE");
        for (CLI::Option* option : {instrumentOption, tuningNameOption, settingsOption}) {
            option->excludes(pitchesOption);
        }
        command
            .add_option("--short-string", shortStringStart,
                        "The first string of the tuning (written first: the banjo's short fifth "
                        "string) starts at this fret and sounds open or above it; its frets "
                        "count from the nut (default 0: a full-length string). For the "
                        "playable ranking and progressions")
            ->check(CLI::Range(0, kMaximumByte))
            ->type_name("FRET");
        fretCountOption = command
                              .add_option("--frets", fretCount,
                                          "Frets on the neck (default 22, or the "
                                          "instrument's)")
                              ->check(CLI::Range(0, kMaximumByte));
        const std::string capoHelp =
            "Fret of the capo, 0 for none (default 0). The chords sound as written; frets count "
            "from the capo, and diagrams name each shape as it is fingered relative to the capo, "
            "with the chord that sounds beside it";
        if (allowCapoAuto) {
            capoOption =
                command
                    .add_option("--capo", capoText,
                                capoHelp + "; auto tries the capo at frets 0 to 7 and keeps the "
                                           "easiest, the song sounding as written")
                    ->type_name("N|auto")
                    ->check(CLI::Validator(
                        [](std::string& value) -> std::string {
                            if (value == "auto") {
                                return {};
                            }
                            return CLI::Range(0, kMaximumByte)(value);
                        },
                        "N|auto"));
        } else {
            capoOption =
                command.add_option("--capo", capo, capoHelp)->check(CLI::Range(0, kMaximumByte));
        }
    }

    bool capoAuto() const { return capoOption->count() > 0 && capoText == "auto"; }

    /// The ranking's options for `tuning`: the short first string, when there is one.
    TARVPlayableOptions playableOptions(const SStringedInstrumentTuning& tuning) const {
        TARVPlayableOptions options;
        if (shortStringStart > 0 && tuning.stringCount() > 0) {
            // The first string written is the highest string number.
            options.stringStartFrets.assign(tuning.stringCount(), 0);
            options.stringStartFrets.back() = static_cast<std::uint8_t>(shortStringStart);
        }
        return options;
    }

    bool fromSettings() const {
        return settingsOption->count() > 0 || instrumentOption->count() > 0 ||
               tuningNameOption->count() > 0;
    }

    bool given() const {
        return pitchesOption->count() > 0 || fromSettings() || fretCountOption->count() > 0 ||
               capoOption->count() > 0;
    }

    /// The tuning the options describe, with the name of its instrument when it comes from a
    /// settings file. Throws InputError.
    ChosenTuning tuning() const {
        int capoFret = capo;
        if (!capoText.empty()) {
            capoFret = capoText == "auto" ? 0 : std::stoi(capoText);
        }
        if (fromSettings()) {
            InstrumentChoice choice;
            setIfGiven(settingsOption, choice.settingsPath, settingsPath);
            setIfGiven(instrumentOption, choice.instrument, instrumentName);
            setIfGiven(tuningNameOption, choice.tuning, tuningName);
            setIfGiven(fretCountOption, choice.fretCount, fretCount);
            setIfGiven(capoOption, choice.capo, capoFret);
            return tuningForChoice(choice);
        }
        TuningRequest request;
        setIfGiven(pitchesOption, request.pitches, pitches);
        setIfGiven(customNameOption, request.name, customName);
        setIfGiven(fretCountOption, request.fretCount, fretCount);
        setIfGiven(capoOption, request.capo, capoFret);
        return {tuningForRequest(request), std::string()};
    }

private:
    /// Copies an option's value into `target` only when the option was given.
    template <typename Target, typename Value>
    static void setIfGiven(const CLI::Option* option, Target& target, const Value& value) {
        if (option->count() > 0) {
            target = value;
        }
    }
};

/// --left-handed and --horizontal, for the text and SVG diagrams.
void addDiagramOptions(CLI::App& command, TARVDiagramOptions& options) {
    command.add_flag("--left-handed", options.leftHanded,
                     "Mirror the diagrams for a left-handed player: the lowest-pitched string on "
                     "the right (text and svg; json is unchanged)");
    command.add_flag("--horizontal", options.horizontal,
                     "Draw the neck across, as tablature reads: the highest-pitched string on top "
                     "(text and svg; json is unchanged)");
}

std::unique_ptr<OutputFormatter> formatterFor(const std::string& format, bool ascii,
                                              std::ostream& out = std::cout) {
    if (format == "json") {
        return std::make_unique<JsonFormatter>(out);
    }
    if (format == "svg") {
        return std::make_unique<SvgFormatter>(out);
    }
    return std::make_unique<TextFormatter>(out, ascii);
}

/// The chord symbols of a command line one after the other: each argument trimmed, and "-" read
/// as the lines of standard input (blank lines skipped), in the order given.
class SymbolReader {
public:
    explicit SymbolReader(const std::vector<std::string>& arguments) : _arguments(arguments) {}

    std::optional<std::string> next() {
        while (_index < _arguments.size()) {
            const std::string& argument = _arguments[_index];
            if (argument != kStandardInput) {
                ++_index;
                return std::string(trimmed(argument));
            }
            std::string line;
            while (std::getline(std::cin, line)) {
                const std::string_view symbol = trimmed(line);
                if (!symbol.empty()) {
                    return std::string(symbol);
                }
            }
            ++_index;
        }
        return std::nullopt;
    }

private:
    const std::vector<std::string>& _arguments;
    std::size_t _index = 0;
};

/// Calls `answer` for every chord symbol of `arguments`, as `SymbolReader` reads them.
void forEachSymbol(const std::vector<std::string>& arguments,
                   const std::function<void(std::string_view)>& answer) {
    SymbolReader reader(arguments);
    while (const std::optional<std::string> symbol = reader.next()) {
        answer(*symbol);
    }
}

/// What is reported for a chord symbol that cannot be read.
std::string unreadableChordMessage(std::string_view symbol) {
    const std::optional<std::string> suggestion = SChord::suggestionForString(symbol);
    return "cannot read the chord symbol \"" + std::string(symbol) + "\"" +
           (suggestion ? " (did you mean \"" + *suggestion + "\"?)" : std::string());
}

/// The chord `symbol` names, or none after reporting that it cannot be read.
std::shared_ptr<const SChord> readChord(std::string_view symbol) {
    std::shared_ptr<const SChord> chord = SChord::chordWithString(symbol);
    if (!chord) {
        report(unreadableChordMessage(symbol));
    }
    return chord;
}

/// The fret text `text`, checked against `tuning` when there is one. Throws InputError.
FretText fretTextForTuning(const std::string& text, const SStringedInstrumentTuning* tuning) {
    FretText fretText = readFretText(text);
    if (tuning != nullptr && fretText.stringCount != tuning->stringCount()) {
        throw InputError("the fret text \"" + text + "\" has " +
                         std::to_string(fretText.stringCount) + " strings but the tuning has " +
                         std::to_string(tuning->stringCount()));
    }
    // Frets count from the capo.
    if (tuning != nullptr && fretText.highestFret + tuning->capo() > tuning->fretCount()) {
        throw InputError("the fret text \"" + text + "\" reaches fret " +
                         std::to_string(fretText.highestFret) + " but the neck has " +
                         std::to_string(tuning->fretCount() - tuning->capo()) +
                         (tuning->capo() > 0 ? " frets above the capo" : " frets"));
    }
    return fretText;
}

/// The number of chords the tool answers at once unless --jobs says otherwise: one per hardware
/// thread.
std::size_t defaultJobCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

/// The shape of a fret text with its fingering (no chord is named, so it has no score).
TARVPlayableShape shapeForFretText(const FretText& text) {
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString(text.notation);
    std::vector<std::int8_t> frets =
        TARVPlayableShapes::fretsForChordShape(*shape, text.stringCount);
    std::optional<TARVFingering> fingering = TARVFingering::fingeringForFrets(frets);
    return TARVPlayableShape(std::move(frets), fingering ? std::move(*fingering) : TARVFingering(),
                             {});
}

/// Calls `answer` with each fret text of `texts` that reads (and fits `tuning` when there is
/// one) and its fingered shape, in order, flushing after each; reports each that does not. True
/// when every text was read.
bool forEachFretText(const std::vector<std::string>& texts, const SStringedInstrumentTuning* tuning,
                     const std::function<void(const FretText&, TARVPlayableShape)>& answer) {
    bool read = true;
    for (const std::string& text : texts) {
        FretText fretText;
        try {
            fretText = fretTextForTuning(text, tuning);
        } catch (const InputError& error) {
            report(error.what());
            read = false;
            continue;
        }
        answer(fretText, shapeForFretText(fretText));
        std::cout.flush();
    }
    return read;
}

struct ShapesCommand {
    std::vector<std::string> chords;
    InstrumentOptions instrument;
    std::string rank = "playable";
    bool explain = false;
    bool uncached = false;
    bool force = false;
    std::size_t limit = 0;
    CLI::Option* limitOption = nullptr;
    static constexpr std::size_t kMaximumLimit = 1000;
    std::string format = "text";
    bool ascii = false;
    TARVDiagramOptions diagram;
    std::size_t jobs = defaultJobCount();
    static constexpr std::size_t kMaximumJobs = 256;

    /// What one chord symbol comes to, made on any thread and written in input order.
    struct ChordResult {
        /// Why the symbol cannot be read; nothing else is set then.
        std::optional<std::string> problem;
        /// The answer, written out already (formats that write each chord on its own).
        std::string text;
        /// The answer for a format that writes the whole document at the end (svg), which
        /// takes the answers one after the other.
        std::optional<ChordShapesAnswer> answer;
    };

    /// The formatter of one thread, writing into its own buffer.
    struct Writer {
        std::ostringstream out;
        std::unique_ptr<OutputFormatter> formatter;
    };

    int run() const {
        ChosenTuning chosen;
        try {
            chosen = instrument.tuning();
        } catch (const InputError& error) {
            report(error.what());
            return kExitBadInput;
        }
        const SStringedInstrumentTuningPtr& tuning = chosen.tuning;
        // --uncached and --force ask for the generator; the playable ranking has no cache.
        const TARVShapeQuery::Ranking ranking = uncached ? TARVShapeQuery::Ranking::Uncached
                                                : force  ? TARVShapeQuery::Ranking::Forced
                                                : rank == "spec"
                                                    ? TARVShapeQuery::Ranking::Cached
                                                    : TARVShapeQuery::Ranking::Playable;
        TARVPlayableOptions options = instrument.playableOptions(*tuning);
        const bool limited = limitOption->count() > 0;
        if (limited) {
            options.maximumShapes = std::max(limit, options.maximumShapes);
        }
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        formatter->setInstrumentName(chosen.instrumentName);
        formatter->setExplain(explain);
        formatter->setDiagramOptions(diagram);
        // Each chord is answered and, unless the format writes one document, written on its
        // own; the answers come out in input order.
        const bool writtenApart = format != "svg";
        std::vector<std::unique_ptr<Writer>> writers(jobs);

        const auto answer = [&](const std::string& symbol, std::size_t thread) {
            ChordResult result;
            const std::shared_ptr<const SChord> chord = SChord::chordWithString(symbol);
            if (!chord) {
                result.problem = unreadableChordMessage(symbol);
                return result;
            }
            ChordShapesAnswer shapes;
            shapes.chord = chord;
            shapes.shapes = TARVShapeQuery::shapes(chord, tuning, ranking, options);
            shapes.generatedCount = shapes.shapes.size();
            if (limited && shapes.shapes.size() > limit) {
                shapes.shapes.resize(limit);
            }
            if (!writtenApart) {
                result.answer = std::move(shapes);
                return result;
            }
            std::unique_ptr<Writer>& writer = writers[thread];
            if (!writer) {
                writer = std::make_unique<Writer>();
                writer->formatter = formatterFor(format, ascii, writer->out);
                writer->formatter->setInstrumentName(chosen.instrumentName);
                writer->formatter->setExplain(explain);
                writer->formatter->setDiagramOptions(diagram);
            }
            if (std::optional<std::string> text =
                    writer->formatter->chordShapesText(shapes, *tuning)) {
                result.text = std::move(*text);
                return result;
            }
            writer->formatter->writeChordShapes(shapes, *tuning);
            result.text = std::move(writer->out).str();
            writer->out.str(std::string());
            return result;
        };

        bool badInput = false;
        const auto deliver = [&](ChordResult&& result) {
            if (result.problem) {
                report(*result.problem);
                badInput = true;
                return;
            }
            if (result.answer) {
                formatter->writeChordShapes(*result.answer, *tuning);
            } else {
                std::cout.write(result.text.data(),
                                static_cast<std::streamsize>(result.text.size()));
            }
            std::cout.flush();
        };

        // Standard input is read on a thread of its own while answers are written.
        std::cin.tie(nullptr);
        SymbolReader reader(chords);
        formatter->begin();
        OrderedBatch<std::string, ChordResult>::run(
            jobs, [&] { return reader.next(); }, answer, deliver);
        formatter->end();
        return badInput ? kExitBadInput : 0;
    }
};

struct NotationCommand {
    std::vector<std::string> fretTexts;
    InstrumentOptions instrument;
    std::string format = "text";
    bool ascii = false;
    TARVDiagramOptions diagram;

    int run() const {
        ChosenTuning chosen;
        if (instrument.given()) {
            try {
                chosen = instrument.tuning();
            } catch (const InputError& error) {
                report(error.what());
                return kExitBadInput;
            }
        }
        const SStringedInstrumentTuningPtr& tuning = chosen.tuning;
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        formatter->setInstrumentName(chosen.instrumentName);
        formatter->setDiagramOptions(diagram);
        formatter->begin();
        const bool read = forEachFretText(
            fretTexts, tuning.get(), [&](const FretText& fretText, TARVPlayableShape shape) {
                formatter->writeNotation({fretText, std::move(shape)}, tuning.get());
            });
        formatter->end();
        return read ? 0 : kExitBadInput;
    }
};

/// `name`: the chords a shape can be, best first.
struct NameCommand {
    std::vector<std::string> fretTexts;
    InstrumentOptions instrument;
    std::size_t limit = 0;
    CLI::Option* limitOption = nullptr;
    std::string format = "text";
    bool ascii = false;
    TARVDiagramOptions diagram;

    int run() const {
        ChosenTuning chosen;
        try {
            chosen = instrument.tuning();
        } catch (const InputError& error) {
            report(error.what());
            return kExitBadInput;
        }
        const SStringedInstrumentTuningPtr& tuning = chosen.tuning;
        // A shape is named as it is fingered, relative to the capo, as chord sheets name it.
        const auto asWritten = TARVProgression::tuningWithCapo(tuning, 0);
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        formatter->setInstrumentName(chosen.instrumentName);
        formatter->setDiagramOptions(diagram);
        formatter->begin();
        const bool read = forEachFretText(
            fretTexts, tuning.get(), [&](const FretText& fretText, TARVPlayableShape shape) {
                NamesAnswer answer{fretText, std::move(shape), {}};
                answer.names = TARVChordNaming::namesForFrets(answer.shape.frets(), asWritten);
                if (limitOption->count() > 0 && answer.names.size() > limit) {
                    answer.names.resize(limit);
                }
                formatter->writeNames(answer, *tuning);
            });
        formatter->end();
        return read ? 0 : kExitBadInput;
    }
};

/// `progression`: one shape per chord, chosen for the whole progression.
struct ProgressionCommand {
    std::vector<std::string> chordTexts;
    InstrumentOptions instrument;
    std::size_t alternatives = 1;
    std::size_t candidates = TARVProgressionOptions().candidates;
    int transpose = 0;
    std::string format = "text";
    bool ascii = false;
    TARVDiagramOptions diagram;
    static constexpr std::size_t kMaximumAlternatives = 20;
    static constexpr std::size_t kMaximumCandidates = 40;
    static constexpr int kMaximumTranspose = 24;

    int run() const {
        std::vector<SChordPtr> chords;
        bool badInput = false;
        for (const std::string& text : chordTexts) {
            std::string_view rest = text;
            // Symbols are separated by blanks; bar lines are left out.
            while (!rest.empty()) {
                const std::size_t start = rest.find_first_not_of(" \t,|");
                if (start == std::string_view::npos) {
                    break;
                }
                rest.remove_prefix(start);
                const std::size_t end = std::min(rest.find_first_of(" \t,|"), rest.size());
                const SChordPtr chord = readChord(rest.substr(0, end));
                badInput = badInput || !chord;
                chords.push_back(chord);
                rest.remove_prefix(end);
            }
        }
        if (badInput) {
            return kExitBadInput;
        }
        if (chords.empty()) {
            report("the progression holds no chord");
            return kExitBadInput;
        }
        for (SChordPtr& chord : chords) {
            chord = TARVChordNaming::transposedChord(chord, transpose);
        }
        ChosenTuning chosen;
        try {
            chosen = instrument.tuning();
        } catch (const InputError& error) {
            report(error.what());
            return kExitBadInput;
        }
        TARVProgressionOptions options;
        options.playable = instrument.playableOptions(*chosen.tuning);
        options.alternatives = alternatives;
        options.candidates = candidates;
        ProgressionAnswer answer;
        answer.chords = chords;
        answer.tuning = chosen.tuning;
        if (instrument.capoAuto()) {
            answer.capoChoices = TARVProgression::capoChoices(chords, chosen.tuning, options);
            if (!answer.capoChoices.empty()) {
                answer.tuning =
                    TARVProgression::tuningWithCapo(chosen.tuning, answer.capoChoices.front().capo);
            }
        }
        answer.arrangements = TARVProgression::arrangements(chords, answer.tuning, options);
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        formatter->setInstrumentName(chosen.instrumentName);
        formatter->setDiagramOptions(diagram);
        formatter->begin();
        formatter->writeProgression(answer);
        formatter->end();
        std::cout.flush();
        return 0;
    }
};

struct ChordCommand {
    std::vector<std::string> chords;
    std::string format = "text";

    int run() const {
        bool badInput = false;
        forEachSymbol(chords, [&](std::string_view symbol) {
            const std::shared_ptr<const SChord> chord = readChord(symbol);
            if (!chord) {
                badInput = true;
                return;
            }
            if (format == "json") {
                writeChordReadingJson(std::cout, *chord);
            } else {
                writeChordReadingText(std::cout, *chord);
            }
            std::cout.flush();
        });
        return badInput ? kExitBadInput : 0;
    }
};

struct InstrumentsCommand {
    std::string settingsPath;
    CLI::Option* settingsOption = nullptr;
    std::string format = "text";

    int run() const {
        const std::filesystem::path path = settingsOption->count() > 0
                                               ? std::filesystem::path(settingsPath)
                                               : defaultSettingsPath();
        std::optional<NoteEntrySettings> settings;
        try {
            settings = loadSettings(path);
        } catch (const InputError& error) {
            report(error.what());
            return kExitBadInput;
        }
        for (const StringedInstrumentDescriptor& instrument : settings->tablature().instruments()) {
            if (format == "json") {
                writeInstrumentJson(std::cout, instrument);
            } else {
                writeInstrumentText(std::cout, instrument);
            }
        }
        std::cout.flush();
        return 0;
    }
};

struct BuildCacheCommand {
    std::string shapesDirectory;
    std::string outputDirectory;
    CLI::Option* outputOption = nullptr;
    std::string checkDirectory;
    CLI::Option* checkOption = nullptr;
    std::vector<std::string> noteStrings;
    bool list = false;

    int run() const {
        if (list) {
            std::size_t width = 0;
            for (const ShippedTuning& tuning : shippedTunings()) {
                width = std::max(width, tuningForShippedTuning(tuning)->asciiNoteString().size());
            }
            for (const ShippedTuning& tuning : shippedTunings()) {
                const std::string noteString = tuningForShippedTuning(tuning)->asciiNoteString();
                std::cout << noteString << std::string(width - noteString.size() + 2, ' ')
                          << tuning.instrument << ", " << tuning.name << ": " << tuning.pitches
                          << ", " << tuning.fretCount << " frets\n";
            }
            return 0;
        }
        if (outputOption->count() == 0 && checkOption->count() == 0) {
            report("build-cache needs --output DIR or --check DIR (see tarvguitar "
                   "build-cache --help)");
            return kExitBadInput;
        }
        std::vector<ShippedTuning> tunings;
        std::optional<ShapeCacheBuild> build;
        try {
            tunings = selectedTunings();
            if (shapesDirectory.empty()) {
                throw InputError("build-cache needs --shapes-dir, the folder of well-known shapes");
            }
            build = buildShapeCaches(tunings, readWellKnownShapeFiles(shapesDirectory));
        } catch (const InputError& error) {
            report(error.what());
            return kExitBadInput;
        }
        return outputOption->count() > 0 ? write(*build) : check(*build);
    }

private:
    std::vector<ShippedTuning> selectedTunings() const {
        if (noteStrings.empty()) {
            return shippedTunings();
        }
        std::vector<ShippedTuning> selected;
        for (const std::string& noteString : noteStrings) {
            const auto& all = shippedTunings();
            const auto found = std::find_if(all.begin(), all.end(), [&](const auto& tuning) {
                return tuningForShippedTuning(tuning)->asciiNoteString() == noteString;
            });
            if (found == all.end()) {
                throw InputError("no built-in tuning has the note string \"" + noteString +
                                 "\" (see tarvguitar build-cache --list)");
            }
            selected.push_back(*found);
        }
        return selected;
    }

    static std::string readBytes(const std::filesystem::path& path, bool& readable) {
        std::ifstream stream(path, std::ios::binary);
        readable = static_cast<bool>(stream);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    static bool writeBytes(const std::filesystem::path& path, std::span<const std::uint8_t> bytes) {
        std::ofstream stream(path, std::ios::binary | std::ios::trunc);
        stream.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream) {
            report("cannot write \"" + path.string() + "\"");
            return false;
        }
        return true;
    }

    static std::span<const std::uint8_t> bytesOf(const std::string& text) {
        return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
    }

    int write(const ShapeCacheBuild& build) const {
        const std::filesystem::path output(outputDirectory);
        const std::filesystem::path cacheDirectory = output / kShapeCacheDirectory;
        std::error_code error;
        std::filesystem::create_directories(cacheDirectory, error);
        if (error) {
            report("cannot make the folder \"" + cacheDirectory.string() +
                   "\": " + error.message());
            return kExitFailure;
        }
        for (const ShapeCacheBuild::TuningFile& file : build.tuningFiles) {
            const std::string text = shapeCacheJsonText(file.dictionary);
            const std::optional<TARVData> compressed = compressedData(bytesOf(text));
            const std::filesystem::path path = cacheDirectory / file.fileName;
            if (!compressed) {
                report("cannot compress \"" + path.string() + "\"");
                return kExitFailure;
            }
            if (!writeBytes(path, *compressed)) {
                return kExitFailure;
            }
            std::cout << "wrote " << path.string() << " (" << file.dictionary.at("chords").size()
                      << " chords)\n";
        }
        const std::filesystem::path curatedPath = output / kCuratedShapesFile;
        if (!writeBytes(curatedPath, bytesOf(curatedShapesText(build.curatedShapes)))) {
            return kExitFailure;
        }
        std::cout << "wrote " << curatedPath.string() << " (" << build.curatedShapes.size()
                  << (build.curatedShapes.size() == 1 ? " tuning)\n" : " tunings)\n");
        std::cout.flush();
        return 0;
    }

    int check(const ShapeCacheBuild& build) const {
        const std::filesystem::path directory(checkDirectory);
        bool upToDate = true;
        const auto compare = [&](const std::filesystem::path& path, const std::string& expected,
                                 bool compressed) {
            bool readable = false;
            const std::string bytes = readBytes(path, readable);
            std::optional<TARVData> contents;
            if (!readable) {
                report("\"" + path.string() + "\" is missing");
            } else if (compressed && !(contents = decompressedData(bytesOf(bytes)))) {
                report("\"" + path.string() + "\" does not decompress");
            } else if ((compressed ? std::string(contents->begin(), contents->end()) : bytes) !=
                       expected) {
                report("\"" + path.string() + "\" is not what build-cache writes");
            } else {
                std::cout << "up to date: " << path.string() << "\n";
                return;
            }
            upToDate = false;
        };
        for (const ShapeCacheBuild::TuningFile& file : build.tuningFiles) {
            compare(directory / kShapeCacheDirectory / file.fileName,
                    shapeCacheJsonText(file.dictionary), true);
        }
        compare(directory / kCuratedShapesFile, curatedShapesText(build.curatedShapes), false);
        std::cout.flush();
        return upToDate ? 0 : kExitFailure;
    }
};

/// `ranking-data`: what the playability model is fitted on, and how a model ranks the
/// well-known shapes.
struct RankingDataCommand {
    std::string shapesDirectory;
    std::string weightsPath;
    CLI::Option* weightsOption = nullptr;
    std::vector<int> roots;

    int run() const {
        const std::vector<WellKnownShapeFile> files = readWellKnownShapeFiles(shapesDirectory);
        if (weightsOption->count() == 0) {
            writeRankingData(std::cout, files);
            return 0;
        }
        std::ifstream stream(weightsPath, std::ios::binary);
        if (!stream) {
            throw InputError("cannot read the weights file \"" + weightsPath + "\"");
        }
        const std::string text{std::istreambuf_iterator<char>(stream),
                               std::istreambuf_iterator<char>()};
        TARVPlayabilityModel model = TARVPlayabilityModel::shared();
        try {
            model = TARVPlayabilityModel::modelWithJSON(text);
        } catch (const std::invalid_argument& error) {
            throw InputError(error.what());
        }
        writeRankingCheck(std::cout, files, model, std::set<int>(roots.begin(), roots.end()));
        return 0;
    }
};

void addFormatOptions(CLI::App& command, std::string& format, bool* ascii,
                      const std::vector<std::string>& formats) {
    command
        .add_option("--format", format,
                    "Output format: " + CLI::detail::join(formats, ", ") + " (default text)")
        ->check(CLI::IsMember(formats));
    if (ascii != nullptr) {
        command.add_flag("--ascii", *ascii, "Draw text chord boxes with ASCII characters only");
    }
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"tarvguitar: chord shapes for fretted, stringed instruments"};
    app.set_version_flag("--version", std::string(tarv::TARVVersionString()));
    app.require_subcommand(1);
    app.footer("Run tarvguitar COMMAND --help for the options of a command.");

    ShapesCommand shapes;
    CLI::App* shapesCommand =
        app.add_subcommand("shapes", "The playable shapes of each chord, best first");
    shapesCommand
        ->add_option("CHORD", shapes.chords,
                     "Chord symbols (\"C\", \"F#m7b5\", \"Am/G\"); - reads one a line from "
                     "standard input")
        ->required();
    shapes.instrument.addTo(*shapesCommand);
    shapesCommand->footer(
        "text: chord boxes, lowest-pitched string on the left, x muted and o open strings above "
        "the nut, finger numbers in the dots (T the thumb), \"5fr\" beside a box that starts at "
        "fret 5, the frets (lowest string first), the rank and the score (lower is better) under "
        "each box. json: one object per chord, each on its own line (see the README for the "
        "order of every array). svg: one document of chord diagrams.\nExit status 2 when a chord "
        "symbol, the tuning or an option cannot be read; the other chords are still "
        "answered.\nBy default the playable ranking answers at most 20 shapes (or --limit), "
        "for any tuning. --rank spec answers through the shape cache (its shipped files, "
        "generation on a miss), every shape that fits the neck above the capo unless --limit is "
        "given; --uncached uses the generator alone.");
    shapesCommand
        ->add_option("--rank", shapes.rank,
                     "playable (default): the playable search and model; spec: the shape cache "
                     "and generator")
        ->check(CLI::IsMember({"playable", "spec"}));
    shapesCommand->add_flag("--explain", shapes.explain,
                            "Show each shape's fingering and the terms of its score (text)");
    CLI::Option* uncachedOption = shapesCommand->add_flag(
        "--uncached", shapes.uncached, "Generate the shapes without any shape cache");
    shapesCommand
        ->add_flag("--force", shapes.force,
                   "Generate the shapes even when the shape cache holds the chord, and merge "
                   "them into it")
        ->excludes(uncachedOption);
    shapes.limitOption = shapesCommand
                             ->add_option("--limit", shapes.limit,
                                          "Show at most this many shapes a chord (0 to " +
                                              std::to_string(ShapesCommand::kMaximumLimit) + ")")
                             ->check(CLI::Range(std::size_t{0}, ShapesCommand::kMaximumLimit))
                             ->type_name("N");
    addFormatOptions(*shapesCommand, shapes.format, &shapes.ascii, {"text", "json", "svg"});
    addDiagramOptions(*shapesCommand, shapes.diagram);
    shapesCommand
        ->add_option("--jobs", shapes.jobs,
                     "Answer this many chords at once (1 to " +
                         std::to_string(ShapesCommand::kMaximumJobs) +
                         "; default: the number of hardware threads, here " +
                         std::to_string(defaultJobCount()) +
                         "); the answers come out in the order of the chords either way")
        ->check(CLI::Range(std::size_t{1}, ShapesCommand::kMaximumJobs))
        ->type_name("N");

    NotationCommand notation;
    CLI::App* notationCommand =
        app.add_subcommand("notation", "Shapes read from fret-number texts");
    notationCommand
        ->add_option("FRETS", notation.fretTexts,
                     "Frets from the lowest string to the highest, x for a muted string: "
                     "\"x,3,2,0,1,0\" (or x32010 when every fret has one digit)")
        ->required();
    notation.instrument.addTo(*notationCommand);
    notationCommand->footer("With --tuning, --instrument, --tuning-name, --settings, --frets or "
                            "--capo the instrument and the notes the shape sounds are shown too.");
    addFormatOptions(*notationCommand, notation.format, &notation.ascii, {"text", "json", "svg"});
    addDiagramOptions(*notationCommand, notation.diagram);

    NameCommand name;
    CLI::App* nameCommand = app.add_subcommand("name", "The chords a shape can be, best first");
    nameCommand
        ->add_option("FRETS", name.fretTexts,
                     "Frets from the lowest string to the highest, x for a muted string: "
                     "\"x,3,2,0,1,0\" (or x32010 when every fret has one digit)")
        ->required();
    name.instrument.addTo(*nameCommand);
    name.limitOption = nameCommand->add_option("--limit", name.limit, "Show at most N names")
                           ->check(CLI::Range(std::size_t{0}, std::size_t{1000}))
                           ->type_name("N");
    addFormatOptions(*nameCommand, name.format, &name.ascii, {"text", "json", "svg"});
    addDiagramOptions(*nameCommand, name.diagram);
    nameCommand->footer(
        "Names are read from the chord qualities the library knows: root position first, then "
        "inversions as slash chords (C/E), then chords over an added bass (D/C), rootless "
        "readings last; tones a chord may leave out are listed as \"no G\". With --capo the "
        "shape is named as it is fingered, relative to the capo, and the chord that sounds is "
        "shown beside it.\nExit status 2 when a fret text or the tuning cannot be read.");

    ProgressionCommand progression;
    CLI::App* progressionCommand = app.add_subcommand(
        "progression", "One shape per chord, chosen so that the whole progression is easy to play");
    progressionCommand
        ->add_option("CHORDS", progression.chordTexts,
                     "The chords in order, in one argument or several (\"C Am F G\")")
        ->required();
    progression.instrument.addTo(*progressionCommand, true);
    progressionCommand
        ->add_option("--alternatives", progression.alternatives,
                     "Show the K best whole progressions (default 1)")
        ->check(CLI::Range(std::size_t{1}, ProgressionCommand::kMaximumAlternatives))
        ->type_name("K");
    progressionCommand
        ->add_option("--candidates", progression.candidates,
                     "Choose among each chord's N best shapes (default " +
                         std::to_string(progression.candidates) + ")")
        ->check(CLI::Range(std::size_t{1}, ProgressionCommand::kMaximumCandidates))
        ->type_name("N");
    progressionCommand
        ->add_option("--transpose", progression.transpose,
                     "Move every chord by N semitones first (negative: down)")
        ->check(CLI::Range(-ProgressionCommand::kMaximumTranspose,
                           ProgressionCommand::kMaximumTranspose))
        ->type_name("N");
    addFormatOptions(*progressionCommand, progression.format, &progression.ascii,
                     {"text", "json", "svg"});
    addDiagramOptions(*progressionCommand, progression.diagram);
    progressionCommand->footer(
        "The cost of a progression is the sum of its shapes' scores and of the movement between "
        "neighbours: frets the hand travels, fingers lifted, new notes and the semitones the "
        "voices move. It is least among each chord's best --candidates shapes (an exact dynamic "
        "program). With --capo auto the chords sound as written and the capo positions 0 to 7 "
        "are compared, a capo costing 0.4 a fret; the best three are listed and the best is "
        "drawn, its shapes named relative to the capo.\nExit status 2 when a chord symbol, the "
        "tuning or an option cannot be read.");

    ChordCommand chord;
    CLI::App* chordCommand = app.add_subcommand(
        "chord", "How each chord symbol is read: root, bass, notes, characteristic notes");
    chordCommand
        ->add_option("CHORD", chord.chords, "Chord symbols; - reads one a line from standard input")
        ->required();
    addFormatOptions(*chordCommand, chord.format, nullptr, {"text", "json"});

    InstrumentsCommand instruments;
    CLI::App* instrumentsCommand = app.add_subcommand(
        "instruments", "The instruments and tunings of a settings file, for --instrument and "
                       "--tuning-name");
    instruments.settingsOption = instrumentsCommand
                                     ->add_option("--settings", instruments.settingsPath,
                                                  "The settings file (property list); default: the "
                                                  "sample settings file of the library's "
                                                  "resources")
                                     ->type_name("FILE");
    addFormatOptions(*instrumentsCommand, instruments.format, nullptr, {"text", "json"});
    instrumentsCommand->footer(
        "text: each instrument with its fret count, then its tunings, open strings from the "
        "lowest to the highest. json: one object per instrument, each on its own line; "
        "\"pitches\" from string 0, the highest string.\nExit status 2 when the settings file "
        "cannot be read or does not decode.");

    BuildCacheCommand buildCache;
    CLI::App* buildCacheCommand = app.add_subcommand(
        "build-cache", "Write the shape cache files of the built-in tunings and the curated "
                       "shapes file");
    buildCache.shapesDirectory = TARV_DEFAULT_SHAPES_DIR;
    buildCacheCommand
        ->add_option("--shapes-dir", buildCache.shapesDirectory,
                     std::string("The folder of the well-known shape files (*.json)") +
                         (buildCache.shapesDirectory.empty()
                              ? std::string()
                              : "; default: " + buildCache.shapesDirectory))
        ->type_name("DIR");
    buildCache.outputOption =
        buildCacheCommand
            ->add_option(
                "--output", buildCache.outputDirectory,
                "Write DIR/shapecaches/NOTES.shapecache for each tuning and DIR/curatedshapes.json")
            ->type_name("DIR");
    buildCache.checkOption =
        buildCacheCommand
            ->add_option("--check", buildCache.checkDirectory,
                         "Write nothing; compare the files in DIR with what --output would write "
                         "(shape cache files after decompression)")
            ->type_name("DIR")
            ->excludes(buildCache.outputOption);
    buildCacheCommand
        ->add_option("--only", buildCache.noteStrings,
                     "Only the built-in tunings of these ASCII note strings "
                     "(\"EADGBE\"); may be repeated")
        ->type_name("NOTES");
    buildCacheCommand->add_flag("--list", buildCache.list,
                                "List the built-in tunings with their note strings");
    buildCacheCommand->footer(
        "Each shape cache file holds every chord of the catalogue (12 roots times every chord "
        "quality, and the major and minor triads over their third and fifth): the well-known "
        "shapes listed for its tuning first, then the playable ranking's shapes. The curated "
        "shapes file holds the well-known shapes of the other chords.\nExit status 1 when "
        "--check finds a file missing or different, 2 when the well-known shapes cannot be "
        "read.");

    RankingDataCommand rankingData;
    CLI::App* rankingDataCommand = app.add_subcommand(
        "ranking-data", "The data the playability model is fitted on: every voicing of every "
                        "well-known chord with its features (JSON lines)");
    rankingData.shapesDirectory = TARV_DEFAULT_SHAPES_DIR;
    rankingDataCommand
        ->add_option("--shapes-dir", rankingData.shapesDirectory,
                     "The folder of the well-known shape files (*.json)")
        ->type_name("DIR");
    rankingData.weightsOption =
        rankingDataCommand
            ->add_option("--check", rankingData.weightsPath,
                         "Instead, rank every well-known chord with the weights of FILE and "
                         "print where its well-known shape lands (0: not in the first 20)")
            ->type_name("FILE");
    rankingDataCommand
        ->add_option("--roots", rankingData.roots,
                     "With --check, only chords of these roots (0 = C ... 11 = B)")
        ->type_name("N")
        ->check(CLI::Range(0, 11));

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(error);
        }
        report(std::string(error.what()) + " (see tarvguitar --help)");
        return kExitBadInput;
    }

    try {
        if (shapesCommand->parsed()) {
            return shapes.run();
        }
        if (notationCommand->parsed()) {
            return notation.run();
        }
        if (nameCommand->parsed()) {
            return name.run();
        }
        if (progressionCommand->parsed()) {
            return progression.run();
        }
        if (instrumentsCommand->parsed()) {
            return instruments.run();
        }
        if (buildCacheCommand->parsed()) {
            return buildCache.run();
        }
        if (rankingDataCommand->parsed()) {
            return rankingData.run();
        }
        return chord.run();
    } catch (const std::exception& error) {
        report(error.what());
        return kExitFailure;
    }
}
