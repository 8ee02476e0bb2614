#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/archive/TARVUTF8.hpp"
#include "tarv/cache/TARVChordShapeCache.hpp"

#include <algorithm>

namespace tarv {

namespace {

constexpr TARVArchiveClass kChordShapeCacheClass{"TARVChordShapeCache",
                                                 &TARVArchiveClasses::NSObject, true};

/// "cache": a map from keys to ordered sets of shapes.
using CacheForm = TARVArchiveMutableMap<TARVArchiveMutableOrderedSet<TARVChordShape>>;

} // namespace

const TARVArchiveClass& TARVChordShapeCache::archiveClass() noexcept {
    return kChordShapeCacheClass;
}

void TARVChordShapeCache::encodeWithCoder(TARVKeyedArchiver& coder) const {
    std::map<std::string, std::vector<TARVChordShapePtr>> entries;
    for (const auto& [key, entry] : _cache) {
        entries.emplace(key, *entry);
    }
    coder.encodeObjectAs<CacheForm>(entries, "cache");
}

std::shared_ptr<TARVChordShapeCache>
TARVChordShapeCache::initWithCoder(TARVKeyedUnarchiver& coder) {
    auto entries = coder.decodeObjectOfClass<CacheForm>("cache");
    if (!entries || coder.error()) {
        if (!coder.error()) {
            coder.failWithError("TARVChordShapeCache: the archive has no \"cache\" map");
        }
        return nullptr;
    }
    // Every key of the cache names a chord and a tuning ("chord:notes") and is written out as
    // JSON text; an archive holding any other key is refused rather than kept in part.
    for (const auto& [key, shapes] : *entries) {
        if (key.find(':') == std::string::npos || !TARVIsValidUTF8(key)) {
            coder.failWithError("TARVChordShapeCache: the archive holds a key that is not a chord "
                                "and a tuning separated by \":\" in UTF-8");
            return nullptr;
        }
    }
    auto cache = std::make_shared<TARVChordShapeCache>(Unloaded{});
    for (auto& [key, shapes] : *entries) {
        // An ordered set holds each shape once; the archived order is kept.
        auto kept = std::make_shared<std::vector<TARVChordShapePtr>>();
        kept->reserve(shapes.size());
        for (const TARVChordShapePtr& shape : shapes) {
            const std::uint64_t hash = shape->hash();
            const bool present = std::any_of(kept->begin(), kept->end(), [&](const auto& held) {
                return held->hash() == hash && held->isEqual(*shape);
            });
            if (!present) {
                kept->push_back(shape);
            }
        }
        cache->_cache.emplace(key, std::move(kept));
    }
    cache->loadCuratedShapes();
    return cache;
}

} // namespace tarv
