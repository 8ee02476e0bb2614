#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/cache/TARVChordShapeCache.hpp"

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
        entries.emplace(key, entry->shapes());
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
    auto cache = std::make_shared<TARVChordShapeCache>(Unloaded{});
    for (auto& [key, shapes] : *entries) {
        auto entry = std::make_shared<TARVChordShapeCacheEntry>();
        // An ordered set holds each shape once; the archived order is kept.
        entry->append(shapes);
        cache->_cache.emplace(key, std::move(entry));
    }
    cache->loadCuratedShapes();
    return cache;
}

} // namespace tarv
