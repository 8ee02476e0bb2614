// What players ask of the library beyond one chord's shapes: the names of a shape, shapes for a
// whole progression and the capo that plays it best.
//
// The capo convention is the tool's: a progression sounds as written, frets count from the capo,
// and chords are named as they are fingered, relative to the capo, with the sounding chord
// beside them.

#include "Values.hpp"

#include "tarv/diagrams/TARVPlayerJSON.hpp"
#include "tarv/instruments/TARVInstrumentText.hpp"
#include "tarv/ranking/TARVChordNaming.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#include "tarv/ranking/TARVProgression.hpp"

#include <pybind11/stl.h>

#include <cstdio>
#include <string_view>

namespace tarv::python {

namespace {

constexpr long long kMaximumAlternatives = 20;
constexpr long long kMaximumCandidates = 40;
constexpr long long kMaximumTranspose = 24;

/// `tarvguitar.ChordName`: one name of a shape, read as the shape is fingered.
struct ChordName {
    TARVChordNaming::Name name;
    /// The tuning the shape was named on; its capo gives the sounding chord.
    TuningPtr tuning;
};

/// `tarvguitar.Arrangement`: one shape per chord of a progression.
struct Arrangement {
    TARVProgression::Arrangement arrangement;
    /// The chords as they sound.
    std::vector<SChordPtr> chords;
    /// The tuning with the capo the shapes are played with.
    TuningPtr tuning;
};

/// `tarvguitar.CapoChoice`: a capo position for a progression and its best arrangement.
struct CapoChoice {
    TARVProgression::CapoChoice choice;
    Arrangement arrangement;
};

py::object jsonLoads(const std::string& text) {
    static const py::object loads = py::module_::import("json").attr("loads");
    return loads(text);
}

std::string decimalText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

/// The chord a sounding chord is fingered as with the capo of `tuning`.
SChordPtr playedChord(const SChordPtr& chord, const SStringedInstrumentTuning& tuning) {
    if (tuning.capo() == 0) {
        return chord;
    }
    SChordPtr played = TARVChordNaming::transposedChord(chord, -tuning.capo());
    return played ? played : chord;
}

std::string soundingName(const ChordName& self) {
    if (self.tuning->capo() == 0) {
        return self.name.symbol;
    }
    const SChordPtr sounding =
        TARVChordNaming::transposedChord(self.name.chord, self.tuning->capo());
    return sounding ? sounding->name() : self.name.symbol;
}

py::tuple chordTuple(const std::vector<SChordPtr>& chords) {
    py::tuple tuple(chords.size());
    for (std::size_t index = 0; index < chords.size(); ++index) {
        tuple[index] = py::cast(Chord{chords[index]});
    }
    return tuple;
}

std::vector<SChordPtr> playedChords(const Arrangement& self) {
    std::vector<SChordPtr> played;
    played.reserve(self.chords.size());
    for (const SChordPtr& chord : self.chords) {
        played.push_back(playedChord(chord, *self.tuning));
    }
    return played;
}

std::string symbolList(const std::vector<SChordPtr>& chords) {
    std::string text = "[";
    for (std::size_t index = 0; index < chords.size(); ++index) {
        text += (index > 0 ? ", " : "") + pythonRepr(chords[index] ? chords[index]->name() : "");
    }
    return text + "]";
}

std::string arrangementRepr(const Arrangement& self) {
    std::string frets = "[";
    for (std::size_t index = 0; index < self.arrangement.shapes.size(); ++index) {
        frets += (index > 0 ? ", " : "") + pythonRepr(self.arrangement.shapes[index].fretText());
    }
    return "Arrangement(" + frets + "], chords=" + symbolList(playedChords(self)) +
           ", capo=" + std::to_string(self.tuning->capo()) +
           ", cost=" + decimalText(self.arrangement.cost) + ")";
}

/// A whole number of a keyword argument; `bool` is refused, as it is no count.
long long wholeNumber(const py::handle& value, const char* what) {
    if (!py::isinstance<py::int_>(value) || py::isinstance<py::bool_>(value)) {
        throw py::type_error(std::string(what) + " must be an int, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
    }
    return value.cast<long long>();
}

long long checkedRange(const py::handle& value, const char* what, long long lowest,
                       long long highest) {
    const long long number = wholeNumber(value, what);
    if (number < lowest || number > highest) {
        throw py::value_error(std::string(what) + " must be from " + std::to_string(lowest) +
                              " to " + std::to_string(highest) + ", not " + std::to_string(number));
    }
    return number;
}

/// The chords of a progression: a text of symbols separated by blanks, commas or bar lines
/// ("C Am | F G"), or a sequence of symbols and Chords.
std::vector<SChordPtr> progressionChords(const py::handle& chords) {
    std::vector<SChordPtr> read;
    if (py::isinstance<py::str>(chords)) {
        const std::string text = chords.cast<std::string>();
        constexpr std::string_view kSeparators = " \t\r\n,|";
        std::string_view rest = text;
        while (!rest.empty()) {
            const std::size_t start = rest.find_first_not_of(kSeparators);
            if (start == std::string_view::npos) {
                break;
            }
            rest.remove_prefix(start);
            const std::size_t end = std::min(rest.find_first_of(kSeparators), rest.size());
            read.push_back(chordForSymbol(rest.substr(0, end)));
            rest.remove_prefix(end);
        }
    } else if (py::isinstance<py::sequence>(chords)) {
        for (const py::handle chord : chords) {
            read.push_back(chordForObject(chord));
        }
    } else {
        throw py::type_error("a progression is a text of chord symbols (\"C Am F G\") or a "
                             "sequence of symbols and Chords, not " +
                             std::string(py::str(py::type::of(chords).attr("__name__"))));
    }
    if (read.empty()) {
        throw py::value_error("the progression holds no chord");
    }
    return read;
}

/// The names of a fret text on `tuning`, read relative to its capo.
std::vector<ChordName> namesOfText(const std::string& text, const TuningPtr& tuning) {
    const std::vector<std::int8_t> frets = fretsOfText(text, tuning->stringCount());
    int highest = 0;
    for (const std::int8_t fret : frets) {
        highest = std::max(highest, int(fret));
    }
    // Frets count from the capo.
    if (highest + tuning->capo() > tuning->fretCount()) {
        throw py::value_error("the fret text " + pythonRepr(text) + " reaches fret " +
                              std::to_string(highest) + " but the neck has " +
                              std::to_string(tuning->fretCount() - tuning->capo()) +
                              (tuning->capo() > 0 ? " frets above the capo" : " frets"));
    }
    std::vector<TARVChordNaming::Name> found;
    {
        const py::gil_scoped_release release;
        // Named as fingered: the shape on the open strings.
        found = TARVChordNaming::namesForFrets(frets, TARVProgression::tuningWithCapo(tuning, 0));
    }
    std::vector<ChordName> names;
    names.reserve(found.size());
    for (TARVChordNaming::Name& name : found) {
        names.push_back(ChordName{std::move(name), tuning});
    }
    return names;
}

TARVProgressionOptions progressionOptions(const py::handle& alternatives,
                                          const py::handle& candidates) {
    TARVProgressionOptions options;
    options.alternatives = static_cast<std::size_t>(
        checkedRange(alternatives, "alternatives", 1, kMaximumAlternatives));
    options.candidates =
        static_cast<std::size_t>(checkedRange(candidates, "candidates", 1, kMaximumCandidates));
    return options;
}

/// The capo of a progression: None (the tuning's own), a fret, or "auto".
struct CapoRequest {
    bool automatic = false;
    std::optional<int> fret;
};

CapoRequest capoRequest(const py::handle& capo) {
    CapoRequest request;
    if (capo.is_none()) {
        return request;
    }
    if (py::isinstance<py::str>(capo)) {
        if (capo.cast<std::string>() != "auto") {
            throw py::value_error("capo must be a fret number or \"auto\", not " +
                                  pythonRepr(capo.cast<std::string>()));
        }
        request.automatic = true;
        return request;
    }
    const long long fret = wholeNumber(capo, "capo");
    if (fret < 0 || fret > 255) {
        throw py::value_error("capo " + std::to_string(fret) + " is outside 0 to 255");
    }
    // A capo above the last fret is refused with the tuning.
    request.fret = static_cast<int>(fret);
    return request;
}

std::vector<TARVProgression::CapoChoice> choicesOf(const std::vector<SChordPtr>& chords,
                                                   const TuningPtr& tuning,
                                                   const TARVProgressionOptions& options) {
    const py::gil_scoped_release release;
    return TARVProgression::capoChoices(chords, tuning, options);
}

std::vector<Arrangement>
progressionArrangements(const py::object& chordsObject, const py::object& tuningObject,
                        const py::object& capoObject, const py::object& alternatives,
                        const py::object& candidates, const py::object& transposeObject) {
    const TARVProgressionOptions options = progressionOptions(alternatives, candidates);
    const int transpose = static_cast<int>(
        checkedRange(transposeObject, "transpose", -kMaximumTranspose, kMaximumTranspose));
    const CapoRequest capo = capoRequest(capoObject);
    std::vector<SChordPtr> chords = progressionChords(chordsObject);
    for (SChordPtr& chord : chords) {
        chord = TARVChordNaming::transposedChord(chord, transpose);
    }
    TuningPtr tuning = tuningForObject(tuningObject, std::nullopt, capo.fret);
    std::vector<TARVProgression::Arrangement> found;
    if (capo.automatic) {
        const std::vector<TARVProgression::CapoChoice> choices = choicesOf(chords, tuning, options);
        tuning = tuningWithChanges(tuning, std::nullopt, choices.empty() ? 0 : choices.front().capo,
                                   std::nullopt);
    }
    {
        const py::gil_scoped_release release;
        found = TARVProgression::arrangements(chords, tuning, options);
    }
    std::vector<Arrangement> arrangements;
    arrangements.reserve(found.size());
    for (TARVProgression::Arrangement& arrangement : found) {
        arrangements.push_back(Arrangement{std::move(arrangement), chords, tuning});
    }
    return arrangements;
}

} // namespace

void bindPlayers(py::module_& module) {
    py::class_<ChordName>(module, "ChordName", R"doc(
One name of a shape, read as the shape is fingered (relative to the capo), as chord sheets
name it: "C", "C/E", "Am7". Immutable and hashable.
)doc")
        .def_property_readonly(
            "symbol", [](const ChordName& self) { return self.name.symbol; },
            "The chord symbol, as fingered: \"Am7\", \"C/E\".")
        .def_property_readonly(
            "kind",
            [](const ChordName& self) {
                return std::string(TARVPlayerJSON::kindText(self.name.kind));
            },
            "\"root position\", \"inversion\" (a chord tone in the bass), \"added bass\" (a "
            "note outside the chord in the bass) or \"rootless\" (no root sounds).")
        .def_property_readonly(
            "omitted_notes",
            [](const ChordName& self) {
                py::tuple tuple(self.name.omittedNotes.size());
                for (std::size_t index = 0; index < self.name.omittedNotes.size(); ++index) {
                    tuple[index] = py::str(self.name.omittedNotes[index].string());
                }
                return tuple;
            },
            "The chord tones the shape leaves out (\"G\" of a C7 without its fifth).")
        .def_property_readonly(
            "chord", [](const ChordName& self) { return Chord{self.name.chord}; },
            "`symbol` read as a Chord.")
        .def_property_readonly("sounds_as", &soundingName,
                               "The name of the chord that sounds: with a capo the chord above "
                               "`symbol` (\"D\" for C with the capo at 2); `symbol` without.")
        .def_property_readonly(
            "cost", [](const ChordName& self) { return self.name.cost; },
            "How far the reading is from the plainest; the names come in its order.")
        .def(
            "to_dict",
            [](const ChordName& self) {
                return jsonLoads(TARVPlayerJSON::nameJSON(self.name, *self.tuning));
            },
            "The name as `tarvguitar name --format json` writes it.")
        .def("__repr__",
             [](const ChordName& self) {
                 std::string text = "ChordName(" + pythonRepr(self.name.symbol) + ", kind=" +
                                    pythonRepr(TARVPlayerJSON::kindText(self.name.kind));
                 if (!self.name.omittedNotes.empty()) {
                     std::string notes;
                     for (const SNote& note : self.name.omittedNotes) {
                         notes += (notes.empty() ? "" : ", ") + pythonRepr(note.string());
                     }
                     text += ", omitted_notes=(" + notes +
                             (self.name.omittedNotes.size() == 1 ? ",)" : ")");
                 }
                 if (self.tuning->capo() > 0) {
                     text += ", sounds_as=" + pythonRepr(soundingName(self));
                 }
                 return text + ")";
             })
        .def("__str__", [](const ChordName& self) { return self.name.symbol; })
        .def(
            "__eq__",
            [](const ChordName& self, const py::object& other) -> py::object {
                if (!py::isinstance<ChordName>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                const auto& that = other.cast<const ChordName&>();
                return py::bool_(self.name.symbol == that.name.symbol &&
                                 self.name.kind == that.name.kind &&
                                 self.name.omittedNotes == that.name.omittedNotes &&
                                 self.tuning->capo() == that.tuning->capo());
            },
            py::is_operator())
        .def("__hash__", [](const ChordName& self) {
            return py::hash(
                py::make_tuple(self.name.symbol, int(self.name.kind), int(self.tuning->capo())));
        });

    py::class_<Arrangement>(module, "Arrangement", R"doc(
One shape for every chord of a progression, chosen so that the whole is easy to play. The
progression sounds as written; with a capo the shapes count their frets from it and `chords`
names them as they are fingered, `sounds_as` as they sound.
)doc")
        .def_property_readonly(
            "cost", [](const Arrangement& self) { return self.arrangement.cost; },
            "The shapes' playability scores and the movements between them, summed; lower is "
            "easier.")
        .def_property_readonly(
            "shapes",
            [](const Arrangement& self) {
                const std::vector<SChordPtr> played = playedChords(self);
                py::tuple tuple(self.arrangement.shapes.size());
                for (std::size_t index = 0; index < self.arrangement.shapes.size(); ++index) {
                    tuple[index] =
                        py::cast(Shape{self.arrangement.shapes[index], self.tuning,
                                       index < played.size() ? played[index] : nullptr, 1});
                }
                return tuple;
            },
            "One Shape per chord, frets counted from the capo; each shape's chord is named as "
            "fingered.")
        .def_property_readonly(
            "movements",
            [](const Arrangement& self) {
                py::tuple tuple(self.arrangement.movements.size());
                for (std::size_t index = 0; index < self.arrangement.movements.size(); ++index) {
                    tuple[index] = py::float_(self.arrangement.movements[index]);
                }
                return tuple;
            },
            "Per chord, the cost of moving to its shape from the previous one (0 for the first).")
        .def_property_readonly(
            "chords", [](const Arrangement& self) { return chordTuple(playedChords(self)); },
            "The chords as fingered, relative to the capo (the written chords without one).")
        .def_property_readonly(
            "sounds_as",
            [](const Arrangement& self) {
                py::tuple tuple(self.chords.size());
                for (std::size_t index = 0; index < self.chords.size(); ++index) {
                    tuple[index] = py::str(self.chords[index]->name());
                }
                return tuple;
            },
            "The names of the chords that sound: the progression as written (and transposed).")
        .def_property_readonly(
            "capo", [](const Arrangement& self) { return int(self.tuning->capo()); },
            "The fret of the capo the shapes are played with; with capo=\"auto\" the best one.")
        .def_property_readonly(
            "tuning", [](const Arrangement& self) { return Tuning{self.tuning}; },
            "The tuning the shapes are played in, with that capo.")
        .def(
            "to_dict",
            [](const Arrangement& self) {
                return jsonLoads(
                    TARVPlayerJSON::arrangementJSON(self.arrangement, self.chords, *self.tuning));
            },
            "The arrangement as `tarvguitar progression --format json` writes it.")
        .def("__repr__", &arrangementRepr)
        .def(
            "__eq__",
            [](const Arrangement& self, const py::object& other) -> py::object {
                if (!py::isinstance<Arrangement>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                const auto& that = other.cast<const Arrangement&>();
                if (self.arrangement.cost != that.arrangement.cost ||
                    self.arrangement.shapes.size() != that.arrangement.shapes.size() ||
                    !self.tuning->isEqualToTuning(*that.tuning)) {
                    return py::bool_(false);
                }
                for (std::size_t index = 0; index < self.arrangement.shapes.size(); ++index) {
                    if (self.arrangement.shapes[index].frets() !=
                        that.arrangement.shapes[index].frets()) {
                        return py::bool_(false);
                    }
                }
                return py::bool_(true);
            },
            py::is_operator())
        .def("__hash__", [](const Arrangement& self) {
            py::list frets;
            for (const TARVPlayableShape& shape : self.arrangement.shapes) {
                frets.append(shape.fretText());
            }
            return py::hash(py::make_tuple(py::tuple(frets), int(self.tuning->capo())));
        });

    py::class_<CapoChoice>(module, "CapoChoice", R"doc(
A capo position for a progression, the song sounding as written: the chords as they are
fingered above that capo, and the cost of playing them there.
)doc")
        .def_property_readonly(
            "capo", [](const CapoChoice& self) { return int(self.choice.capo); },
            "The fret of the capo, 0 for none.")
        .def_property_readonly(
            "chords", [](const CapoChoice& self) { return chordTuple(self.choice.writtenChords); },
            "The chords as fingered relative to the capo, as a chord sheet for it writes them.")
        .def_property_readonly(
            "cost", [](const CapoChoice& self) { return self.choice.cost; },
            "The best arrangement's cost and 0.4 per fret of capo (a high capo thins the "
            "sound); lower is better.")
        .def_property_readonly(
            "arrangement", [](const CapoChoice& self) { return self.arrangement; },
            "The best arrangement with this capo.")
        .def(
            "to_dict",
            [](const CapoChoice& self) {
                return jsonLoads(TARVPlayerJSON::capoChoiceJSON(self.choice));
            },
            "The choice as `tarvguitar progression --capo auto --format json` writes it.")
        .def("__repr__", [](const CapoChoice& self) {
            return "CapoChoice(capo=" + std::to_string(self.choice.capo) +
                   ", chords=" + symbolList(self.choice.writtenChords) +
                   ", cost=" + decimalText(self.choice.cost) + ")";
        });

    module.def(
        "names",
        [](const std::string& frets, const py::object& tuning, std::optional<int> capo) {
            return namesOfText(frets, tuningForObject(tuning, std::nullopt, capo));
        },
        py::arg("frets"), py::arg("tuning") = py::none(), py::arg("capo") = py::none(), R"doc(
The chord names a shape can be, best first: root position, then inversions as slash chords
("C/E"), then chords over an added bass ("D/C"), rootless readings last. Every name reads back
as a chord whose notes are the notes the shape sounds.

`frets` is a fret text as for `notation` ("x,0,2,2,1,0"), lowest string first, frets counted
from the capo. `tuning` as for `shapes`, `capo` replacing its own. Names are read as the
shape is fingered, as chord sheets name it; `ChordName.sounds_as` names the chord that sounds.

An empty list when fewer than two different notes sound. Raises ValueError when the text does
not read, has another number of strings than the tuning or reaches beyond the neck, and for a
tuning or capo that does not read.
)doc");

    module.def("progression", &progressionArrangements, py::arg("chords"),
               py::arg("tuning") = py::none(), py::arg("capo") = py::none(),
               py::arg("alternatives") = 1, py::arg("candidates") = 8, py::arg("transpose") = 0,
               R"doc(
Shapes for a whole progression, one per chord, chosen so that the whole is easy to play: the
sum of the shapes' playability scores and of the movement between neighbouring shapes (frets
the hand travels, fingers lifted, new notes, semitones each voice moves) is least among each
chord's best `candidates` shapes. Answers the `alternatives` best arrangements, best first.

`chords` is a text of chord symbols separated by blanks, commas or bar lines ("C Am | F G") or
a sequence of symbols and Chords; `transpose` moves every chord first, by -24 to 24 semitones.
The progression sounds as written: with a capo (a fret, or "auto" for the best position from 0
to 7, see `capo_choices`) the shapes count their frets from it and `Arrangement.chords` names
them as fingered.

An empty list when a chord has no playable shape. Raises ValueError for a chord symbol that
does not read (with a suggestion when one reads), no chord, a tuning or capo that does not
read, alternatives outside 1 to 20 or candidates outside 1 to 40.
)doc");

    module.def(
        "capo_choices",
        [](const py::object& chordsObject, const py::object& tuningObject) {
            const std::vector<SChordPtr> chords = progressionChords(chordsObject);
            const TuningPtr tuning = tuningForObject(tuningObject, std::nullopt, std::nullopt);
            const TARVProgressionOptions options;
            std::vector<CapoChoice> choices;
            for (TARVProgression::CapoChoice& choice : choicesOf(chords, tuning, options)) {
                TuningPtr withCapo =
                    tuningWithChanges(tuning, std::nullopt, choice.capo, std::nullopt);
                Arrangement arrangement{choice.arrangement, chords, std::move(withCapo)};
                choices.push_back(CapoChoice{std::move(choice), std::move(arrangement)});
            }
            return choices;
        },
        py::arg("chords"), py::arg("tuning") = py::none(), R"doc(
The capo positions from 0 to 7 for a progression, best first: the song sounds as written, the
shapes count their frets from the capo, and `CapoChoice.chords` are the chords as fingered
there ("Eb Ab Bb Cm" is "C F G Am" with the capo at 3). The cost is the best arrangement's
cost and 0.4 per fret of capo. The tuning's own capo is ignored. Positions at which a chord
has no playable shape are left out.

Raises ValueError as `progression` does.
)doc");
}

} // namespace tarv::python
