// The C interface of the WebAssembly module, called from the package's JavaScript. Every function
// takes plain texts (requests as JSON) and answers one JSON text: the answer, or {"error": "..."}
// for input that cannot be read. The text stays valid until the next call.
//
// Only this file is compiled with exception handling. The answers and the library are not (in
// WebAssembly that would route every call through JavaScript); what they throw still arrives
// here and becomes an error answer.

#include "InputReading.hpp"
#include "TARVWebAnswers.hpp"

#include <cstdlib>
#include <exception>
#include <string>

namespace {

/// Where the package puts the shipped resources in the module's file system.
constexpr const char* kResourceDirectory = "/tarvguitar/resources";

template <typename Answer> const char* guarded(Answer&& answerFor) {
    static std::string text;
    try {
        if (std::getenv("TARV_GUITAR_RESOURCE_DIR") == nullptr) {
            setenv("TARV_GUITAR_RESOURCE_DIR", kResourceDirectory, 1);
        }
        text = answerFor();
    } catch (const tarv::tool::InputError& error) {
        text = tarv::web::errorAnswer(error.what());
    } catch (const std::exception& error) {
        text = tarv::web::errorAnswer(std::string("the library failed: ") + error.what());
    } catch (...) {
        text = tarv::web::errorAnswer("the library failed");
    }
    return text.c_str();
}

} // namespace

extern "C" {

const char* tarv_web_shapes(const char* request) {
    return guarded([&] { return tarv::web::shapesAnswer(request); });
}

const char* tarv_web_names(const char* request) {
    return guarded([&] { return tarv::web::namesAnswer(request); });
}

const char* tarv_web_progression(const char* request) {
    return guarded([&] { return tarv::web::progressionAnswer(request); });
}

const char* tarv_web_chord(const char* symbol) {
    return guarded([&] { return tarv::web::chordAnswer(symbol); });
}

const char* tarv_web_tuning(const char* request) {
    return guarded([&] { return tarv::web::tuningAnswer(request); });
}

const char* tarv_web_svg(const char* request) {
    return guarded([&] { return tarv::web::svgAnswer(request); });
}

const char* tarv_web_qualities() {
    return guarded([] { return tarv::web::qualitiesAnswer(); });
}

const char* tarv_web_version() {
    return guarded([] { return tarv::web::versionAnswer(); });
}

} // extern "C"
