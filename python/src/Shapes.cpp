#include "Values.hpp"

#include "tarv/instruments/TARVInstrumentText.hpp"

#include "tarv/diagrams/TARVDiagramSVG.hpp"
#include "tarv/diagrams/TARVShapeJSON.hpp"
#include "tarv/ranking/TARVFingering.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"
#include "tarv/ranking/TARVShapeQuery.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace tarv::python {

namespace {

TARVShapeQuery::Ranking rankingNamed(const std::string& rank) {
    if (rank == "playable") {
        return TARVShapeQuery::Ranking::Playable;
    }
    if (rank == "spec") {
        return TARVShapeQuery::Ranking::Cached;
    }
    throw py::value_error("rank must be \"playable\" (the playable search and model) or \"spec\" "
                          "(the generator with the shipped shape caches), not " +
                          pythonRepr(rank));
}

std::size_t checkedLimit(long long limit) {
    if (limit < 1) {
        throw py::value_error("limit must be 1 or more, not " + std::to_string(limit));
    }
    return static_cast<std::size_t>(limit);
}

/// The answer of the library's shape query, computed without the GIL.
std::vector<TARVPlayableShape> queriedShapes(const SChordPtr& chord, const TuningPtr& tuning,
                                             TARVShapeQuery::Ranking ranking, std::size_t limit) {
    TARVPlayableOptions options;
    options.maximumShapes = limit;
    std::vector<TARVPlayableShape> shapes;
    {
        const py::gil_scoped_release release;
        shapes = TARVShapeQuery::shapes(chord, tuning, ranking, options);
    }
    if (shapes.size() > limit) {
        shapes.resize(limit);
    }
    return shapes;
}

std::vector<Shape> rankedShapes(std::vector<TARVPlayableShape> found, const TuningPtr& tuning,
                                const SChordPtr& chord) {
    std::vector<Shape> shapes;
    shapes.reserve(found.size());
    for (std::size_t index = 0; index < found.size(); ++index) {
        shapes.push_back(Shape{std::move(found[index]), tuning, chord, index + 1});
    }
    return shapes;
}

py::object jsonLoads(const std::string& text) {
    static const py::object loads = py::module_::import("json").attr("loads");
    return loads(text);
}

std::string shapeRepr(const Shape& self) {
    char score[32];
    std::snprintf(score, sizeof score, "%.4g", self.shape.score());
    std::string text = "Shape(" + pythonRepr(self.shape.fretText());
    if (self.chord) {
        text += ", chord=" + pythonRepr(self.chord->symbol());
    }
    return text + ", rank=" + std::to_string(self.rank) + ", score=" + score +
           ", base_fret=" + std::to_string(self.shape.baseFret()) +
           ", fingering=" + pythonRepr(self.shape.fingering().text()) + ")";
}

std::string shapeSVG(const Shape& self, bool leftHanded, bool horizontal) {
    TARVDiagramOptions options;
    options.leftHanded = leftHanded;
    options.horizontal = horizontal;
    // Frets count from the capo; the diagram draws it.
    options.capo = self.tuning->capo();
    const py::gil_scoped_release release;
    return TARVDiagramSVG::svgForShape(self.shape, self.tuning->stringCount(), options,
                                       self.chord ? self.chord->symbol() : std::string());
}

} // namespace

std::vector<std::int8_t> fretsOfText(const std::string& text, std::uint8_t stringCount) {
    TARVInstrumentText::FretText read;
    try {
        read = TARVInstrumentText::readFretText(text);
    } catch (const TARVInstrumentText::Error& error) {
        throw py::value_error(error.what());
    }
    if (read.stringCount != stringCount) {
        throw py::value_error("the fret text " + pythonRepr(text) + " has " +
                              std::to_string(read.stringCount) + " strings but the tuning has " +
                              std::to_string(stringCount));
    }
    const TARVChordShapePtr shape = TARVChordShape::shapeForFretNumberString(read.notation);
    return TARVPlayableShapes::fretsForChordShape(*shape, read.stringCount);
}

void bindShapes(py::module_& module) {
    py::class_<TARVFingering::Barre>(module, "Barre", R"doc(
One finger laid across the strings `low_string` to `high_string` (string numbers, both
included) at `fret` (counted from the capo).
)doc")
        .def_property_readonly(
            "fret", [](const TARVFingering::Barre& self) { return int(self.fret); },
            "The fret, counted from the capo.")
        .def_property_readonly(
            "low_string", [](const TARVFingering::Barre& self) { return int(self.lowString); },
            "The lowest string number under the barre.")
        .def_property_readonly(
            "high_string", [](const TARVFingering::Barre& self) { return int(self.highString); },
            "The highest string number under the barre.")
        .def_property_readonly(
            "finger", [](const TARVFingering::Barre& self) { return int(self.finger); },
            "The finger: 1 index to 4 little finger, 5 the thumb.")
        .def("__repr__",
             [](const TARVFingering::Barre& self) {
                 return "Barre(fret=" + std::to_string(self.fret) +
                        ", low_string=" + std::to_string(self.lowString) +
                        ", high_string=" + std::to_string(self.highString) +
                        ", finger=" + std::to_string(self.finger) + ")";
             })
        .def(
            "__eq__",
            [](const TARVFingering::Barre& self, const py::object& other) -> py::object {
                if (!py::isinstance<TARVFingering::Barre>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                return py::bool_(self == other.cast<const TARVFingering::Barre&>());
            },
            py::is_operator())
        .def(py::pickle(
            [](const TARVFingering::Barre& self) {
                return py::make_tuple(self.fret, self.lowString, self.highString, self.finger);
            },
            [](const py::tuple& state) {
                return TARVFingering::Barre{
                    state[0].cast<std::uint8_t>(), state[1].cast<std::uint8_t>(),
                    state[2].cast<std::uint8_t>(), state[3].cast<std::uint8_t>()};
            }))
        .def("__hash__", [](const TARVFingering::Barre& self) {
            return py::hash(
                py::make_tuple(self.fret, self.lowString, self.highString, self.finger));
        });

    py::class_<Shape>(module, "Shape", R"doc(
A chord shape: the frets to hold, the fingering, the score it was ranked by and its rank in
the answer it came in. Immutable. Draws itself as an SVG chord diagram in notebooks.

Per-string tuples (`fingers`) start at string 0, the last string of the fret text.
)doc")
        .def_property_readonly(
            "frets", [](const Shape& self) { return self.shape.fretText(); },
            "The fret text, lowest string first, \"x\" for a muted string: \"x,3,2,0,1,0\". "
            "Frets count from the capo.")
        .def_property_readonly(
            "base_fret", [](const Shape& self) { return int(self.shape.baseFret()); },
            "The fret the chord diagram starts at: 0 when the shape fits the first four frets "
            "from the nut, otherwise its lowest fretted fret. (The \"baseFret\" of `to_dict()` "
            "is the fret its indicators count from: the lowest sounding fret, 0 with an open "
            "string.)")
        .def_property_readonly(
            "barres",
            [](const Shape& self) {
                const auto& barres = self.shape.fingering().barres();
                py::tuple tuple(barres.size());
                for (std::size_t index = 0; index < barres.size(); ++index) {
                    tuple[index] = py::cast(barres[index]);
                }
                return tuple;
            },
            "The barres of the fingering.")
        .def_property_readonly(
            "fingers",
            [](const Shape& self) {
                const auto& fingers = self.shape.fingering().fingers();
                const std::size_t strings = self.shape.frets().size();
                py::tuple tuple(strings);
                for (std::size_t index = 0; index < strings; ++index) {
                    tuple[index] = py::int_(index < fingers.size() ? fingers[index] : 0);
                }
                return tuple;
            },
            "The finger of every string, string 0 first: 0 none (open or muted, or no hand can "
            "hold the shape), 1 index to 4 little finger, 5 the thumb.")
        .def_property_readonly(
            "fingering", [](const Shape& self) { return self.shape.fingering().text(); },
            "The fingers as chord books print them under a diagram, lowest string first: "
            "\"-,3,2,-,1,-\".")
        .def_property_readonly(
            "notes",
            [](const Shape& self) {
                const std::vector<SNote> notes =
                    self.shape.chordShape()->notesInTuning(*self.tuning);
                py::tuple tuple(notes.size());
                for (std::size_t index = 0; index < notes.size(); ++index) {
                    tuple[index] = py::str(notes[index].string());
                }
                return tuple;
            },
            "The notes the shape sounds, one per sounding string from string 0 up.")
        .def_property_readonly(
            "score", [](const Shape& self) { return self.shape.score(); },
            "The playability score; lower is easier.")
        .def_property_readonly(
            "rank", [](const Shape& self) { return self.rank; },
            "The place in the answer, counting from 1.")
        .def_property_readonly(
            "badness", [](const Shape& self) { return self.shape.badness(); },
            "The generator's badness for a shape the generator or the shape cache answered; "
            "None for shapes of the playable search.")
        .def_property_readonly(
            "chord",
            [](const Shape& self) -> std::optional<Chord> {
                if (!self.chord) {
                    return std::nullopt;
                }
                return Chord{self.chord};
            },
            "The chord the shape was found for; None for a notation without a chord.")
        .def_property_readonly(
            "tuning", [](const Shape& self) { return Tuning{self.tuning}; },
            "The tuning the shape is played in.")
        .def("svg", &shapeSVG, py::arg("left_handed") = false, py::arg("horizontal") = false,
             R"doc(
The chord diagram as a standalone SVG document, with the chord's symbol above it.
`left_handed` mirrors it (the lowest string on the right); `horizontal` draws the neck across,
as tablature reads.
)doc")
        .def(
            "_repr_svg_", [](const Shape& self) { return shapeSVG(self, false, false); },
            "The chord diagram, for notebooks.")
        .def(
            "to_dict",
            [](const Shape& self) {
                return jsonLoads(TARVShapeJSON::shapeJSON(self.shape, self.rank, *self.tuning));
            },
            "The shape as the tarvguitar tool writes it in its JSON answers.")
        .def("__repr__", &shapeRepr)
        .def("__copy__", [](const py::object& self) { return self; })
        .def(
            "__deepcopy__", [](const py::object& self, const py::object&) { return self; },
            py::arg("memo"))
        .def(
            "__eq__",
            [](const Shape& self, const py::object& other) -> py::object {
                if (!py::isinstance<Shape>(other)) {
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                }
                const auto& that = other.cast<const Shape&>();
                return py::bool_(self.shape.frets() == that.shape.frets() &&
                                 self.shape.fingering() == that.shape.fingering() &&
                                 self.shape.score() == that.shape.score() &&
                                 self.rank == that.rank &&
                                 self.tuning->isEqualToTuning(*that.tuning));
            },
            py::is_operator())
        .def("__hash__", [](const Shape& self) {
            return py::hash(py::make_tuple(self.shape.fretText(), self.rank,
                                           static_cast<py::ssize_t>(self.tuning->hash() >> 1)));
        });

    module.def(
        "shapes",
        [](const py::object& chord, const py::object& tuning, std::optional<int> capo,
           std::optional<int> frets, const std::string& rank, long long limit) {
            const TARVShapeQuery::Ranking ranking = rankingNamed(rank);
            const std::size_t maximum = checkedLimit(limit);
            const SChordPtr readChord = chordForObject(chord);
            const TuningPtr readTuning = tuningForObject(tuning, frets, capo);
            return rankedShapes(queriedShapes(readChord, readTuning, ranking, maximum), readTuning,
                                readChord);
        },
        py::arg("chord"), py::arg("tuning") = py::none(), py::arg("capo") = py::none(),
        py::arg("frets") = py::none(), py::arg("rank") = "playable", py::arg("limit") = 20,
        R"doc(
The shapes that play `chord` (a symbol or a Chord) in `tuning`, best first, at most `limit`.

`tuning` is a Tuning, a text of open pitches lowest string first ("E2 A2 D3 G3 B3 E4") or
None for the standard guitar tuning; `capo` and `frets` replace its own (0 and 22 for a text).
`rank` chooses the engine: "playable", the playable search ranked by the playability model,
or "spec", the generator's shapes as the shipped shape caches hold them.

An empty list when nothing plays the chord. Raises ValueError for a chord symbol or tuning that
does not read, a capo or fret count out of range, an unknown rank or a limit below 1.
)doc");

    module.def(
        "generate",
        [](const py::object& chord, const py::object& tuning, bool cached, std::optional<int> capo,
           std::optional<int> frets) {
            const SChordPtr readChord = chordForObject(chord);
            const TuningPtr readTuning = tuningForObject(tuning, frets, capo);
            std::vector<TARVPlayableShape> found;
            {
                const py::gil_scoped_release release;
                found = TARVShapeQuery::shapes(readChord, readTuning,
                                               cached ? TARVShapeQuery::Ranking::Cached
                                                      : TARVShapeQuery::Ranking::Uncached);
            }
            return rankedShapes(std::move(found), readTuning, readChord);
        },
        py::arg("chord"), py::arg("tuning") = py::none(), py::arg("cached") = false,
        py::arg("capo") = py::none(), py::arg("frets") = py::none(), R"doc(
The shapes of the chord generator, in its badness order (at most 20): generated afresh, or with
`cached` through the shared shape cache and its shipped files. Each shape is also fingered and
scored by the playability model. Arguments and errors as for `shapes`.
)doc");

    module.def(
        "notation",
        [](const std::string& text, const py::object& tuning, const py::object& chord) -> Shape {
            const TuningPtr readTuning = tuningForObject(tuning, std::nullopt, std::nullopt);
            const std::vector<std::int8_t> frets = fretsOfText(text, readTuning->stringCount());
            if (chord.is_none()) {
                const std::optional<TARVFingering> fingering =
                    TARVFingering::fingeringForFrets(frets);
                return Shape{TARVPlayableShape(frets, fingering.value_or(TARVFingering()), {}),
                             readTuning, nullptr, 1};
            }
            const SChordPtr readChord = chordForObject(chord);
            std::optional<TARVPlayableShape> scored =
                TARVPlayableShapes::scoreFrets(frets, readChord, readTuning);
            if (!scored) {
                throw py::value_error("no hand can hold " + pythonRepr(text) + " as " +
                                      pythonRepr(readChord->symbol()));
            }
            return Shape{std::move(*scored), readTuning, readChord, 1};
        },
        py::arg("frets"), py::arg("tuning") = py::none(), py::arg("chord") = py::none(), R"doc(
The shape of a fret text ("x,3,2,0,1,0", or "x32010" one character a string), lowest string
first, frets counted from the capo, in `tuning` (the standard guitar tuning when None). With
`chord`, the shape is fingered and scored as a voicing of it; without, it is fingered (no
fingers when no hand can hold it) and its score is 0.

Raises ValueError when the text does not read, has another number of strings than the tuning,
or, with a chord, no hand can hold it.
)doc");

    module.def(
        "_time_shapes",
        [](const std::vector<std::string>& symbols, const py::object& tuning,
           const std::string& rank, long long limit, int repeats) {
            const TARVShapeQuery::Ranking ranking = rankingNamed(rank);
            const std::size_t maximum = checkedLimit(limit);
            const TuningPtr readTuning = tuningForObject(tuning, std::nullopt, std::nullopt);
            TARVPlayableOptions options;
            options.maximumShapes = maximum;
            const py::gil_scoped_release release;
            std::size_t count = 0;
            const auto start = std::chrono::steady_clock::now();
            for (int repeat = 0; repeat < repeats; ++repeat) {
                for (const std::string& symbol : symbols) {
                    count += std::min(TARVShapeQuery::shapes(SChord::chordWithString(symbol),
                                                             readTuning, ranking, options)
                                          .size(),
                                      maximum);
                }
            }
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
            return std::make_pair(elapsed.count(), count);
        },
        py::arg("symbols"), py::arg("tuning") = py::none(), py::arg("rank") = "playable",
        py::arg("limit") = 20, py::arg("repeats") = 1,
        "Seconds (and shapes found) of the library's own shape queries for `symbols`, "
        "`repeats` times, without Python in between: the measure bench.py compares against.");
}

} // namespace tarv::python
