#include "Values.hpp"

#include <pybind11/stl.h>

namespace tarv::python {

namespace {

py::tuple noteTuple(const std::vector<SNote>& notes) {
    py::tuple tuple(notes.size());
    for (std::size_t index = 0; index < notes.size(); ++index) {
        tuple[index] = py::str(notes[index].string());
    }
    return tuple;
}

py::tuple textTuple(const std::vector<std::string>& texts) {
    py::tuple tuple(texts.size());
    for (std::size_t index = 0; index < texts.size(); ++index) {
        tuple[index] = py::str(texts[index]);
    }
    return tuple;
}

std::string tupleRepr(const py::tuple& tuple) {
    return py::repr(tuple).cast<std::string>();
}

std::string tuningName(const SStringedInstrumentTuning& tuning) {
    return tuning.name() ? *tuning.name() : std::string();
}

std::string tuningRepr(const SStringedInstrumentTuning& tuning) {
    return "Tuning(" + pythonRepr(tuningText(tuning)) +
           ", frets=" + std::to_string(tuning.fretCount()) +
           ", capo=" + std::to_string(tuning.capo()) + ", name=" + pythonRepr(tuningName(tuning)) +
           ")";
}

const Instrument& namedInstrument(const std::vector<Instrument>& instruments,
                                  const std::optional<std::string>& name, const std::string& path) {
    if (instruments.empty()) {
        throw py::value_error("the settings file \"" + path + "\" has no instruments");
    }
    if (!name) {
        return instruments.front();
    }
    std::string names;
    for (const Instrument& instrument : instruments) {
        if (instrument.name == *name) {
            return instrument;
        }
        names += (names.empty() ? "\"" : ", \"") + instrument.name + "\"";
    }
    throw py::value_error("the settings file \"" + path + "\" has no instrument \"" + *name +
                          "\" (it has " + names + ")");
}

} // namespace

void bindMusic(py::module_& module) {
    py::class_<Chord>(module, "Chord", R"doc(
A chord read from a chord symbol as chord sheets write it: a root, a quality with its
extensions and alterations, and an optional slash bass. Immutable and hashable; two chords
are equal when they hold the same pitch classes.

    >>> tarvguitar.Chord("C7(b9)").notes
    ('C', 'E', 'G', 'Bb', 'Db')
)doc")
        .def(py::init([](const std::string& symbol) { return Chord{chordForSymbol(symbol)}; }),
             py::arg("symbol"),
             "Reads `symbol` (\"C\", \"F#m7b5\", \"C7(b9,#11)\", \"Am/G\"). Raises ValueError "
             "when it does not read as a chord.")
        .def_property_readonly(
            "symbol", [](const Chord& self) { return self.chord->symbol(); },
            "The text the chord was read from.")
        .def_property_readonly(
            "root", [](const Chord& self) { return self.chord->root().string(); },
            "The root note (\"C\", \"F#\", \"Bb\").")
        .def_property_readonly(
            "bass",
            [](const Chord& self) -> std::optional<std::string> {
                if (!self.chord->addedBase()) {
                    return std::nullopt;
                }
                return self.chord->addedBase()->string();
            },
            "The bass note of a slash chord; None otherwise.")
        .def_property_readonly(
            "notes", [](const Chord& self) { return noteTuple(self.chord->notes()); },
            "Root first, then the other tones by ascending interval; a slash bass that is not a "
            "chord tone comes last.")
        .def_property_readonly(
            "characteristic_notes",
            [](const Chord& self) { return noteTuple(self.chord->characteristicNotes()); },
            "The tones a voicing must contain to count as this chord, in the order of `notes`.")
        .def_property_readonly(
            "quality", [](const Chord& self) { return self.chord->quality(); },
            "The canonical quality suffix (\"\", \"m\", \"7\", \"maj7\", \"m7b5\", ...).")
        .def_property_readonly(
            "name", [](const Chord& self) { return self.chord->name(); },
            "The chord's name with its canonical suffix (\"C#m7\", \"C/E\").")
        .def_property_readonly(
            "numeric_note_string",
            [](const Chord& self) { return self.chord->numericNoteStringValue(); },
            "Canonical text, equal for two chords exactly when they hold the same pitch classes.")
        .def("__repr__",
             [](const Chord& self) {
                 const auto& bass = self.chord->addedBase();
                 return "Chord(" + pythonRepr(self.chord->symbol()) +
                        ", root=" + pythonRepr(self.chord->root().string()) +
                        ", bass=" + (bass ? pythonRepr(bass->string()) : std::string("None")) +
                        ", notes=" + tupleRepr(noteTuple(self.chord->notes())) + ")";
             })
        .def("__str__", [](const Chord& self) { return self.chord->symbol(); })
        .def(py::pickle([](const Chord& self) { return py::make_tuple(self.chord->symbol()); },
                        [](const py::tuple& state) {
                            return Chord{chordForSymbol(state[0].cast<std::string>())};
                        }))
        .def(
            "__eq__",
            [](const Chord& self, const py::object& other) -> py::object {
                if (!py::isinstance<Chord>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                return py::bool_(*self.chord == *other.cast<const Chord&>().chord);
            },
            py::is_operator())
        .def("__hash__", [](const Chord& self) {
            return py::hash(py::str(self.chord->numericNoteStringValue()));
        });

    module.def(
        "chord", [](const std::string& symbol) { return Chord{chordForSymbol(symbol)}; },
        py::arg("symbol"), R"doc(
The chord that `symbol` reads as ("C", "F#m7b5", "C7(b9)", "Am/G").

Raises ValueError when the symbol does not read as a chord.
)doc");

    module.def("supported_qualities", &SChord::supportedQualities, R"doc(
The canonical quality suffix of every chord quality that chord symbols may use, pop and folk
qualities first, then those of jazz charts, then rare ones.
)doc");

    py::class_<Tuning>(module, "Tuning", R"doc(
How a fretted instrument is tuned: the open pitch of every string, the number of frets, the
capo and a name. Immutable and hashable.

Strings are numbered as chord diagrams number them: string 0 is the last pitch of the tuning
text (the highest string of a guitar). `pitches` lists them from string 0; `str(tuning)` gives
the text, lowest string first.

    >>> tarvguitar.Tuning("D2 A2 D3 G3 B3 E4", name="Drop D")
    Tuning('D2 A2 D3 G3 B3 E4', frets=22, capo=0, name='Drop D')
)doc")
        .def(py::init([](const py::object& pitches, std::optional<int> frets,
                         std::optional<int> capo, std::optional<std::string> name) {
                 return Tuning{tuningForPitches(pitches, frets, capo, std::move(name))};
             }),
             py::arg("pitches") = py::none(), py::kw_only(), py::arg("frets") = py::none(),
             py::arg("capo") = py::none(), py::arg("name") = py::none(), R"doc(
The tuning of `pitches`, lowest string first: a text ("E2 A2 D3 G3 B3 E4", blanks or commas
between pitches) or a sequence of pitch texts. Without pitches, the standard guitar tuning.
`frets` (default 22) and `capo` (default 0) range from 0 to 255, the capo at most at the last
fret; `name` defaults to "Custom" for given pitches.

Raises ValueError for a pitch that does not read, no strings or more than 255, and a fret
count or capo out of range.
)doc")
        .def_static(
            "standard",
            []() { return Tuning{SStringedInstrumentTuning::stringedInstrumentTuning()}; },
            "The standard guitar tuning: E2 A2 D3 G3 B3 E4, 22 frets, no capo.")
        .def_property_readonly(
            "pitches", [](const Tuning& self) { return textTuple(pitchTexts(*self.tuning)); },
            "The open pitch of every string, string 0 (the highest of a guitar) first.")
        .def_property_readonly(
            "name", [](const Tuning& self) { return tuningName(*self.tuning); },
            "The tuning's display name.")
        .def_property_readonly(
            "frets", [](const Tuning& self) { return int(self.tuning->fretCount()); },
            "The number of frets.")
        .def_property_readonly(
            "capo", [](const Tuning& self) { return int(self.tuning->capo()); },
            "The fret of the capo, 0 for none.")
        .def_property_readonly(
            "string_count", [](const Tuning& self) { return int(self.tuning->stringCount()); },
            "The number of strings.")
        .def_property_readonly(
            "note_string", [](const Tuning& self) { return self.tuning->noteString(); },
            "The compact note string (\"EADGBE\").")
        .def_property_readonly(
            "ascii_note_string", [](const Tuning& self) { return self.tuning->asciiNoteString(); },
            "The open notes from the lowest string to the highest, flats written \"-\" and "
            "sharps \"+\".")
        .def(
            "replace",
            [](const Tuning& self, std::optional<int> frets, std::optional<int> capo,
               std::optional<std::string> name) {
                return Tuning{tuningWithChanges(self.tuning, frets, capo, std::move(name))};
            },
            py::kw_only(), py::arg("frets") = py::none(), py::arg("capo") = py::none(),
            py::arg("name") = py::none(),
            "A copy with the fret count, capo or name replaced where given; checked as the "
            "constructor checks them.")
        .def("__repr__", [](const Tuning& self) { return tuningRepr(*self.tuning); })
        .def("__str__", [](const Tuning& self) { return tuningText(*self.tuning); })
        .def(py::pickle(
            [](const Tuning& self) {
                const auto& tuning = *self.tuning;
                return py::make_tuple(pitchTexts(tuning), int(tuning.fretCount()),
                                      int(tuning.capo()), tuningName(tuning), tuning.noteString(),
                                      tuning.stringOrderTransform());
            },
            [](const py::tuple& state) {
                return Tuning{
                    tuningFromState(state[0].cast<std::vector<std::string>>(), state[1].cast<int>(),
                                    state[2].cast<int>(), state[3].cast<std::string>(),
                                    state[4].cast<std::string>(),
                                    state[5].cast<std::optional<std::vector<std::int64_t>>>())};
            }))
        .def(
            "__eq__",
            [](const Tuning& self, const py::object& other) -> py::object {
                if (!py::isinstance<Tuning>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                return py::bool_(self.tuning->isEqualToTuning(*other.cast<const Tuning&>().tuning));
            },
            py::is_operator())
        .def("__hash__",
             [](const Tuning& self) { return static_cast<py::ssize_t>(self.tuning->hash() >> 1); });

    py::class_<Instrument>(module, "Instrument", R"doc(
An instrument of a settings property list: its name, fret count, the capo positions it offers
and its tunings (each with the instrument's fret count and no capo).

    >>> guitar = tarvguitar.Instrument.from_settings(name="Guitar")
    >>> guitar.tuning("Drop D", capo=2)
)doc")
        .def_static(
            "from_settings",
            [](std::optional<std::string> path, std::optional<std::string> name) {
                const std::vector<Instrument> instruments = instrumentsInSettings(path);
                return namedInstrument(instruments, name, path.value_or(defaultSettingsPath()));
            },
            py::arg("path") = py::none(), py::arg("name") = py::none(), R"doc(
The instrument `name` (the file's first instrument when None) of the settings property list
(XML or binary) at `path`; the sample settings among the library's resources when `path` is
None.

Raises ValueError when the file cannot be read or does not decode, has no such instrument,
or holds a tuning that no instrument can have.
)doc")
        .def_static(
            "all_from_settings",
            [](std::optional<std::string> path) { return instrumentsInSettings(path); },
            py::arg("path") = py::none(),
            "Every instrument of the settings property list at `path`, in the file's order.")
        .def_property_readonly(
            "name", [](const Instrument& self) { return self.name; }, "The instrument's name.")
        .def_property_readonly(
            "frets", [](const Instrument& self) { return self.frets; }, "The number of frets.")
        .def_property_readonly(
            "capos", [](const Instrument& self) { return textTuple(self.capos); },
            "The capo positions the instrument offers, as the settings write them.")
        .def_property_readonly(
            "tunings",
            [](const Instrument& self) {
                py::tuple tuple(self.tunings.size());
                for (std::size_t index = 0; index < self.tunings.size(); ++index) {
                    tuple[index] = py::cast(Tuning{self.tunings[index]});
                }
                return tuple;
            },
            "The instrument's tunings, in the file's order.")
        .def(
            "tuning",
            [](const Instrument& self, std::optional<std::string> name, std::optional<int> capo) {
                if (self.tunings.empty()) {
                    throw py::value_error("the instrument \"" + self.name + "\" has no tunings");
                }
                if (!name) {
                    return Tuning{
                        tuningWithChanges(self.tunings.front(), std::nullopt, capo, std::nullopt)};
                }
                std::string names;
                for (const TuningPtr& tuning : self.tunings) {
                    if (tuningName(*tuning) == *name) {
                        return Tuning{tuningWithChanges(tuning, std::nullopt, capo, std::nullopt)};
                    }
                    names += (names.empty() ? "\"" : ", \"") + tuningName(*tuning) + "\"";
                }
                throw py::value_error("the instrument \"" + self.name + "\" has no tuning \"" +
                                      *name + "\" (it has " + names + ")");
            },
            py::arg("name") = py::none(), py::kw_only(), py::arg("capo") = py::none(),
            "The tuning `name` (the first when None) with the capo at `capo`. Raises ValueError "
            "when the instrument has no such tuning or the capo is out of range.")
        .def("__repr__",
             [](const Instrument& self) {
                 std::string names;
                 for (const TuningPtr& tuning : self.tunings) {
                     names += (names.empty() ? "" : ", ") + pythonRepr(tuningName(*tuning));
                 }
                 return "Instrument(" + pythonRepr(self.name) +
                        ", frets=" + std::to_string(self.frets) + ", tunings=[" + names + "])";
             })
        .def(py::pickle(
            [](const Instrument& self) {
                py::list tunings;
                for (const TuningPtr& tuning : self.tunings) {
                    tunings.append(Tuning{tuning});
                }
                return py::make_tuple(self.name, self.frets, self.capos, tunings);
            },
            [](const py::tuple& state) {
                Instrument instrument;
                instrument.name = state[0].cast<std::string>();
                instrument.frets = state[1].cast<std::int64_t>();
                instrument.capos = state[2].cast<std::vector<std::string>>();
                for (const py::handle tuning : state[3].cast<py::list>()) {
                    instrument.tunings.push_back(tuning.cast<const Tuning&>().tuning);
                }
                return instrument;
            }))
        .def(
            "__eq__",
            [](const Instrument& self, const py::object& other) -> py::object {
                if (!py::isinstance<Instrument>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                const auto& that = other.cast<const Instrument&>();
                return py::bool_(self.name == that.name && self.frets == that.frets &&
                                 self.capos == that.capos &&
                                 std::equal(self.tunings.begin(), self.tunings.end(),
                                            that.tunings.begin(), that.tunings.end(),
                                            [](const TuningPtr& a, const TuningPtr& b) {
                                                return a->isEqualToTuning(*b);
                                            }));
            },
            py::is_operator())
        .def("__hash__", [](const Instrument& self) {
            return py::hash(py::make_tuple(self.name, self.frets, self.tunings.size()));
        });

    module.def("default_settings_path", &defaultSettingsPath,
               "The sample settings property list among the library's resources.");
}

} // namespace tarv::python
