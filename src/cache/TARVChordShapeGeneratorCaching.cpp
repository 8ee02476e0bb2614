// The generator's cached constructors: the one place where generation reaches into the cache.

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/generation/TARVChordShapeGenerator.hpp"

namespace tarv {

TARVChordShapeGeneratorPtr
TARVChordShapeGenerator::generatorWithChord(SChordPtr chord,
                                            SStringedInstrumentTuningConstPtr tuning) {
    return initWithChord(std::move(chord), std::move(tuning), false);
}

TARVChordShapeGeneratorPtr
TARVChordShapeGenerator::initWithChord(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning,
                                       bool forceGeneration) {
    return initWithChord(std::move(chord), std::move(tuning), TARVChordShapeCache::sharedInstance(),
                         forceGeneration);
}

TARVChordShapeGeneratorPtr
TARVChordShapeGenerator::initWithChord(SChordPtr chord, SStringedInstrumentTuningConstPtr tuning,
                                       TARVChordShapeCache& cache, bool forceGeneration) {
    // Without a chord or a tuning there is nothing to look up or generate: no generator.
    if (!chord || !tuning) {
        return nullptr;
    }
    // The cache answers immutable snapshots; the generator keeps the list of the latest one.
    const TARVChordShapeList cached = cache.shapesForChord(*chord, *tuning);
    auto generator = std::make_shared<TARVChordShapeGenerator>(std::move(chord), std::move(tuning));
    if (cached) {
        generator->_shapes = *cached;
    }
    if (forceGeneration || !cached) {
        const auto generated = generator->_buildShapes();
        if (!generated.empty()) {
            cache.addShapes(generated, *generator->_chord, *generator->_tuning);
            if (const TARVChordShapeList now =
                    cache.shapesForChord(*generator->_chord, *generator->_tuning)) {
                generator->_shapes = *now;
            }
        }
    }
    return generator;
}

} // namespace tarv
