// Per-tuning shape cache files (gzip JSON) and curatedshapes.json, read by the cache's own file
// loaders and compared with the reading of the same JSON as a tree: both follow one rule, so
// they accept the same texts and give the same entries.
//
// The first byte chooses the form: 0 the bytes as a per-tuning file as they stand, 1 the bytes as
// JSON compressed into a per-tuning file, 2 the bytes as curatedshapes.json.

#include "FuzzSupport.hpp"

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/cache/TARVDataZLib.hpp"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace tarv;
using Contents = std::map<std::string, std::vector<std::string>>;

/// A folder of its own that is the working directory and the resource directory.
const std::filesystem::path& folder() {
    static const std::filesystem::path path = [] {
        auto made = std::filesystem::temp_directory_path() /
                    ("tarv-fuzz-cache-" + std::to_string(::getpid()));
        std::filesystem::create_directories(made / "shapecaches");
        ::setenv("TARV_GUITAR_RESOURCE_DIR", made.c_str(), 1);
        std::filesystem::current_path(made);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(folder(), ignored);
        });
        return made;
    }();
    return path;
}

void write(const std::filesystem::path& path, const void* bytes, std::size_t size) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
}

Contents contents(TARVChordShapeCache& cache) {
    Contents result;
    for (const std::string& key : cache.allKeys()) {
        auto& shapes = result[key];
        const auto held = cache.shapesForKey(key);
        TARV_FUZZ_CHECK(held != nullptr, "a key of the cache without an entry");
        for (const TARVChordShapePtr& shape : *held) {
            shapes.push_back(shape->serializationDictionary().dump());
        }
    }
    // What the cache writes out is JSON text.
    (void)cache.serializationArray().dump();
    return result;
}

/// The tree reading of `text`: nothing when the text is not JSON or not of the form.
std::optional<Contents> readAsTree(const std::string& text, bool curated) {
    TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
    try {
        const nlohmann::json tree = nlohmann::json::parse(text);
        if (curated) {
            cache.addShapesFromJSONDataArray(tree, false);
        } else {
            cache.addShapesFromTuningDictionary(tree, false);
        }
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
    return contents(cache);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    const std::filesystem::path& root = folder();
    const int form = data[0] % 3;
    const std::uint8_t* bytes = data + 1;
    const std::size_t count = size - 1;

    std::optional<std::string> text;
    std::optional<Contents> fromFile;
    if (form == 2) {
        text = std::string(reinterpret_cast<const char*>(bytes), count);
        write(root / "curatedshapes.json", bytes, count);
        TARVChordShapeCache cache;
        fromFile = contents(cache);
        std::filesystem::remove(root / "curatedshapes.json");
    } else {
        const auto tuningFile = root / "shapecaches" / "FUZZ.shapecache";
        if (form == 0) {
            write(tuningFile, bytes, count);
            if (const auto expanded = decompressedData(std::span(bytes, count), 64u << 20)) {
                text = std::string(expanded->begin(), expanded->end());
            }
        } else {
            const auto compressed = compressedData(std::span(bytes, count));
            TARV_FUZZ_CHECK(compressed.has_value(), "compression failed");
            write(tuningFile, compressed->data(), compressed->size());
            text = std::string(reinterpret_cast<const char*>(bytes), count);
            const auto back = decompressedData(*compressed);
            TARV_FUZZ_CHECK(back && std::equal(back->begin(), back->end(), bytes, bytes + count),
                            "decompression does not give the compressed bytes back");
        }
        TARVChordShapeCache cache{TARVChordShapeCache::Unloaded{}};
        cache.loadShapesForNoteString("FUZZ");
        fromFile = contents(cache);
    }
    if (!text) {
        TARV_FUZZ_CHECK(fromFile->empty(), "a file that does not decompress gave entries");
        return 0;
    }
    const auto fromTree = readAsTree(*text, form == 2);
    if (!fromTree) {
        TARV_FUZZ_CHECK(fromFile->empty(), "the file reader took what the tree reader refuses");
        return 0;
    }
    TARV_FUZZ_CHECK(*fromFile == *fromTree, "the file and tree readers disagree");
    return 0;
}
