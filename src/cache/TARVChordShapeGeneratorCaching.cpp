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
    // Answers are copies taken under the cache's lock, so a generator may keep them while other
    // threads add to the same entry.
    auto cached = cache.shapesCopyForChord(*chord, *tuning);
    auto generator = std::make_shared<TARVChordShapeGenerator>(std::move(chord), std::move(tuning));
    generator->_shapes = std::move(cached);
    if (forceGeneration || !generator->_shapes) {
        const auto generated = generator->_buildShapes();
        if (!generated.empty()) {
            cache.addShapes(generated, *generator->_chord, *generator->_tuning);
            generator->_shapes = cache.shapesCopyForChord(*generator->_chord, *generator->_tuning);
        }
    }
    return generator;
}

} // namespace tarv
