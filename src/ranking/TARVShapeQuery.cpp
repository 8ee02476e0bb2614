#include "tarv/ranking/TARVShapeQuery.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

namespace tarv {

namespace {

/// A generator's shape as a ranked shape: fingered and scored by the playability model where a
/// hand can hold it, keeping the generator's badness.
TARVPlayableShape playableFromChordShape(const TARVChordShape& shape, const SChordPtr& chord,
                                         const SStringedInstrumentTuningConstPtr& tuning,
                                         const TARVPlayableOptions& options) {
    std::vector<std::int8_t> frets =
        TARVPlayableShapes::fretsForChordShape(shape, tuning->stringCount());
    std::optional<TARVPlayableShape> scored =
        TARVPlayableShapes::scoreFrets(frets, chord, tuning, options);
    TARVPlayableShape answer =
        scored ? std::move(*scored) : TARVPlayableShape(std::move(frets), TARVFingering(), {});
    answer.setBadness(shape.badness());
    return answer;
}

} // namespace

std::vector<TARVPlayableShape>
TARVShapeQuery::shapes(const SChordPtr& chord, const SStringedInstrumentTuningConstPtr& tuning,
                       Ranking ranking, const TARVPlayableOptions& options) {
    std::vector<TARVPlayableShape> answer;
    if (!chord || !tuning) {
        return answer;
    }
    if (ranking == Ranking::Playable) {
        return TARVPlayableShapes::shapesForChord(chord, tuning, options);
    }
    const TARVChordShapeGeneratorPtr generator =
        ranking == Ranking::Cached ? TARVChordShapeGenerator::generatorWithChord(chord, tuning)
                                   : TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
    if (!generator || !generator->shapes()) {
        return answer;
    }
    for (const TARVChordShapePtr& shape : *generator->shapes()) {
        if (shape) {
            answer.push_back(playableFromChordShape(*shape, chord, tuning, options));
        }
    }
    return answer;
}

} // namespace tarv
