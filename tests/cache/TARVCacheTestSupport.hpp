#pragma once

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/cache/TARVDataZLib.hpp"
#include "tarv/cache/TARVGuitarLog.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spdlog/sinks/ostream_sink.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <unistd.h>

namespace tarv::test {

/// A scratch folder that is the working directory and the resource directory of one test:
/// curatedshapes.json is read from it and per-tuning files from its shapecaches/ folder.
class ScratchResources {
public:
    ScratchResources() {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        _root = std::filesystem::temp_directory_path() /
                ("tarv-cache-" + std::to_string(::getpid()) + "-" + info->test_suite_name() + "-" +
                 info->name());
        std::filesystem::remove_all(_root);
        std::filesystem::create_directories(_root / "shapecaches");
        _previousDirectory = std::filesystem::current_path();
        std::filesystem::current_path(_root);
        const char* previous = std::getenv("TARV_GUITAR_RESOURCE_DIR");
        if (previous != nullptr) {
            _previousResources = previous;
        }
        ::setenv("TARV_GUITAR_RESOURCE_DIR", _root.c_str(), 1);
    }
    ~ScratchResources() {
        std::filesystem::current_path(_previousDirectory);
        if (_previousResources) {
            ::setenv("TARV_GUITAR_RESOURCE_DIR", _previousResources->c_str(), 1);
        } else {
            ::unsetenv("TARV_GUITAR_RESOURCE_DIR");
        }
        std::error_code ignored;
        std::filesystem::remove_all(_root, ignored);
    }
    ScratchResources(const ScratchResources&) = delete;
    ScratchResources& operator=(const ScratchResources&) = delete;

    const std::filesystem::path& root() const { return _root; }

    void writeCurated(const std::string& text) const {
        writeText(_root / "curatedshapes.json", text);
    }
    void writeTuningFile(const std::string& noteString, const nlohmann::json& dictionary) const {
        const std::string text = dictionary.dump();
        const auto compressed = compressedData(
            std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
        writeBytes(tuningFilePath(noteString), *compressed);
    }
    std::filesystem::path tuningFilePath(const std::string& noteString) const {
        return _root / "shapecaches" / (noteString + ".shapecache");
    }
    static void writeText(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    static void writeBytes(const std::filesystem::path& path,
                           const std::vector<std::uint8_t>& bytes) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

private:
    std::filesystem::path _root;
    std::filesystem::path _previousDirectory;
    std::optional<std::string> _previousResources;
};

/// Collects what the shape cache's log writes while it lives.
class CapturedCacheLog {
public:
    CapturedCacheLog() : _sink(std::make_shared<spdlog::sinks::ostream_sink_mt>(_stream)) {
        _sink->set_pattern("[%l] %v");
        TARVGuitarLog::shapeCacheLog().sinks().push_back(_sink);
    }
    ~CapturedCacheLog() {
        auto& sinks = TARVGuitarLog::shapeCacheLog().sinks();
        sinks.erase(std::remove(sinks.begin(), sinks.end(), _sink), sinks.end());
    }
    CapturedCacheLog(const CapturedCacheLog&) = delete;
    CapturedCacheLog& operator=(const CapturedCacheLog&) = delete;

    std::string text() const { return _stream.str(); }
    int count(const std::string& fragment) const {
        const std::string all = text();
        int found = 0;
        for (auto at = all.find(fragment); at != std::string::npos;
             at = all.find(fragment, at + 1)) {
            ++found;
        }
        return found;
    }

private:
    std::ostringstream _stream;
    std::shared_ptr<spdlog::sinks::ostream_sink_mt> _sink;
};

/// A tuning dictionary of one chord with shapes given as fret lists (string 0 first).
inline nlohmann::json
tuningDictionary(const std::string& noteString, const std::string& chordName,
                 const std::vector<std::pair<int, std::vector<int>>>& shapes) {
    nlohmann::json shapeObjects = nlohmann::json::array();
    for (const auto& [fret, indicators] : shapes) {
        shapeObjects.push_back({{"fret", fret}, {"indicators", indicators}});
    }
    return {{"asciiNoteString", noteString},
            {"chords", nlohmann::json::array({{{"name", chordName}, {"shapes", shapeObjects}}})}};
}

} // namespace tarv::test
