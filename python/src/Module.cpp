#include "Values.hpp"

#include "tarv/TARVVersion.hpp"

PYBIND11_MODULE(_core, module) {
    module.doc() = "The compiled part of tarvguitar: chords, tunings and chord shapes.";
    module.attr("library_version") = std::string(tarv::TARVVersionString());
    tarv::python::bindMusic(module);
    tarv::python::bindShapes(module);
    tarv::python::bindPlayers(module);
}
