#include "InputReading.hpp"
#include "JsonFormatter.hpp"
#include "OutputFormatter.hpp"
#include "SvgFormatter.hpp"
#include "TextFormatter.hpp"

#include "tarv/TARVVersion.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace tarv;
using namespace tarv::tool;

/// Exit status for input the tool cannot read (command line, chord symbols, tunings, frets).
constexpr int kExitBadInput = 2;
/// Exit status when the library itself fails.
constexpr int kExitFailure = 1;

constexpr int kMaximumByte = 255;

/// The text that standard input stands for in a list of chords.
constexpr std::string_view kStandardInput = "-";

/// One line on standard error, after everything already written to standard output.
void reportBadInput(const std::string& message) {
    std::cout.flush();
    std::cerr << "tarvguitar: " << message << "\n";
    std::cerr.flush();
}

struct InstrumentOptions {
    std::string pitches;
    std::string name;
    int fretCount = 0;
    int capo = 0;
    CLI::Option* pitchesOption = nullptr;
    CLI::Option* nameOption = nullptr;
    CLI::Option* fretCountOption = nullptr;
    CLI::Option* capoOption = nullptr;

    void addTo(CLI::App& command) {
        pitchesOption = command.add_option(
            "--tuning", pitches,
            "Open strings from the lowest to the highest, as players write them "
            "(\"E2 A2 D3 G3 B3 E4\"; blanks or commas between pitches). Default: the standard "
            "guitar tuning");
        nameOption =
            command.add_option("--tuning-name", name, "Name of the --tuning (default \"Custom\")")
                ->needs(pitchesOption);
        fretCountOption =
            command.add_option("--frets", fretCount, "Frets on the neck (default 22)")
                ->check(CLI::Range(0, kMaximumByte));
        capoOption = command.add_option("--capo", capo, "Fret of the capo, 0 for none (default 0)")
                         ->check(CLI::Range(0, kMaximumByte));
    }

    bool given() const {
        return pitchesOption->count() > 0 || fretCountOption->count() > 0 ||
               capoOption->count() > 0;
    }

    TuningRequest request() const {
        TuningRequest request;
        if (pitchesOption->count() > 0) {
            request.pitches = pitches;
        }
        if (nameOption->count() > 0) {
            request.name = name;
        }
        if (fretCountOption->count() > 0) {
            request.fretCount = fretCount;
        }
        if (capoOption->count() > 0) {
            request.capo = capo;
        }
        return request;
    }
};

std::unique_ptr<OutputFormatter> formatterFor(const std::string& format, bool ascii) {
    if (format == "json") {
        return std::make_unique<JsonFormatter>(std::cout);
    }
    if (format == "svg") {
        return std::make_unique<SvgFormatter>(std::cout);
    }
    return std::make_unique<TextFormatter>(std::cout, ascii);
}

/// Calls `answer` for every chord symbol of `arguments`, reading "-" as the lines of standard
/// input (blank lines skipped), in the order given.
void forEachSymbol(const std::vector<std::string>& arguments,
                   const std::function<void(std::string_view)>& answer) {
    for (const std::string& argument : arguments) {
        if (argument != kStandardInput) {
            answer(trimmed(argument));
            continue;
        }
        std::string line;
        while (std::getline(std::cin, line)) {
            const std::string_view symbol = trimmed(line);
            if (!symbol.empty()) {
                answer(symbol);
            }
        }
    }
}

/// The chord `symbol` names, or none after reporting that it cannot be read.
std::shared_ptr<const SChord> readChord(std::string_view symbol) {
    std::shared_ptr<const SChord> chord = SChord::chordWithString(symbol);
    if (!chord) {
        reportBadInput("cannot read the chord symbol \"" + std::string(symbol) + "\"");
    }
    return chord;
}

std::vector<TARVChordShapePtr> generateShapes(const std::shared_ptr<const SChord>& chord,
                                              const SStringedInstrumentTuningPtr& tuning,
                                              bool uncached) {
    // Generation is uncached whichever way it is asked for, until the library offers a cache.
    static_cast<void>(uncached);
    const TARVChordShapeGeneratorPtr generator =
        TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
    if (!generator->shapes()) {
        return {};
    }
    return *generator->shapes();
}

struct ShapesCommand {
    std::vector<std::string> chords;
    InstrumentOptions instrument;
    bool uncached = false;
    std::size_t limit = 0;
    CLI::Option* limitOption = nullptr;
    std::string format = "text";
    bool ascii = false;

    int run() const {
        SStringedInstrumentTuningPtr tuning;
        try {
            tuning = tuningForRequest(instrument.request());
        } catch (const InputError& error) {
            reportBadInput(error.what());
            return kExitBadInput;
        }
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        bool badInput = false;
        formatter->begin();
        forEachSymbol(chords, [&](std::string_view symbol) {
            const std::shared_ptr<const SChord> chord = readChord(symbol);
            if (!chord) {
                badInput = true;
                return;
            }
            ChordShapesAnswer answer;
            answer.chord = chord;
            answer.shapes = generateShapes(chord, tuning, uncached);
            answer.generatedCount = answer.shapes.size();
            if (limitOption->count() > 0 && answer.shapes.size() > limit) {
                answer.shapes.resize(limit);
            }
            formatter->writeChordShapes(answer, *tuning);
            std::cout.flush();
        });
        formatter->end();
        return badInput ? kExitBadInput : 0;
    }
};

struct NotationCommand {
    std::vector<std::string> fretTexts;
    InstrumentOptions instrument;
    std::string format = "text";
    bool ascii = false;

    int run() const {
        SStringedInstrumentTuningPtr tuning;
        if (instrument.given()) {
            try {
                tuning = tuningForRequest(instrument.request());
            } catch (const InputError& error) {
                reportBadInput(error.what());
                return kExitBadInput;
            }
        }
        const std::unique_ptr<OutputFormatter> formatter = formatterFor(format, ascii);
        bool badInput = false;
        formatter->begin();
        for (const std::string& text : fretTexts) {
            NotationAnswer answer;
            try {
                answer.fretText = readFretText(text);
                if (tuning && answer.fretText.stringCount != tuning->stringCount()) {
                    throw InputError("the fret text \"" + text + "\" has " +
                                     std::to_string(answer.fretText.stringCount) +
                                     " strings but the tuning has " +
                                     std::to_string(tuning->stringCount()));
                }
                if (tuning && answer.fretText.highestFret > tuning->fretCount()) {
                    throw InputError("the fret text \"" + text + "\" reaches fret " +
                                     std::to_string(answer.fretText.highestFret) +
                                     " but the neck has " + std::to_string(tuning->fretCount()) +
                                     " frets");
                }
            } catch (const InputError& error) {
                reportBadInput(error.what());
                badInput = true;
                continue;
            }
            answer.shape = TARVChordShape::shapeForFretNumberString(answer.fretText.notation);
            formatter->writeNotation(answer, tuning.get());
            std::cout.flush();
        }
        formatter->end();
        return badInput ? kExitBadInput : 0;
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
    CLI::App* shapesCommand = app.add_subcommand(
        "shapes", "The playable shapes of each chord, best (lowest badness) first");
    shapesCommand
        ->add_option("CHORD", shapes.chords,
                     "Chord symbols (\"C\", \"F#m7b5\", \"Am/G\"); - reads one a line from "
                     "standard input")
        ->required();
    shapes.instrument.addTo(*shapesCommand);
    shapesCommand->footer(
        "text: chord boxes, lowest-pitched string on the left, x muted and o open strings above "
        "the nut, \"5fr\" beside a box that starts at fret 5, the frets (lowest string first) "
        "and the badness under each box. json: one object per chord, each on its own line; in "
        "\"frets\" a string with no mark at all is written x. svg: one document of chord "
        "diagrams.\nExit status 2 when a chord symbol, the tuning or an option cannot be read; "
        "the other chords are still answered.");
    shapesCommand->add_flag("--uncached", shapes.uncached, "Generate without any shape cache");
    shapes.limitOption =
        shapesCommand->add_option("--limit", shapes.limit, "Show at most this many shapes a chord");
    addFormatOptions(*shapesCommand, shapes.format, &shapes.ascii, {"text", "json", "svg"});

    NotationCommand notation;
    CLI::App* notationCommand =
        app.add_subcommand("notation", "Shapes read from fret-number texts");
    notationCommand
        ->add_option("FRETS", notation.fretTexts,
                     "Frets from the lowest string to the highest, x for a muted string: "
                     "\"x,3,2,0,1,0\" (or x32010 when every fret has one digit)")
        ->required();
    notation.instrument.addTo(*notationCommand);
    notationCommand->footer("With --tuning, --frets or --capo the instrument and the notes the "
                            "shape sounds are shown too.");
    addFormatOptions(*notationCommand, notation.format, &notation.ascii, {"text", "json", "svg"});

    ChordCommand chord;
    CLI::App* chordCommand = app.add_subcommand(
        "chord", "How each chord symbol is read: root, bass, notes, characteristic notes");
    chordCommand
        ->add_option("CHORD", chord.chords, "Chord symbols; - reads one a line from standard input")
        ->required();
    addFormatOptions(*chordCommand, chord.format, nullptr, {"text", "json"});

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(error);
        }
        reportBadInput(std::string(error.what()) + " (see tarvguitar --help)");
        return kExitBadInput;
    }

    try {
        if (shapesCommand->parsed()) {
            return shapes.run();
        }
        if (notationCommand->parsed()) {
            return notation.run();
        }
        return chord.run();
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "tarvguitar: " << error.what() << "\n";
        return kExitFailure;
    }
}
