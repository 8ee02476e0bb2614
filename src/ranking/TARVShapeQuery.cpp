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
    TARVChordShapeGeneratorPtr generator;
    switch (ranking) {
    case Ranking::Cached:
        generator = TARVChordShapeGenerator::generatorWithChord(chord, tuning);
        break;
    case Ranking::Forced:
        generator = TARVChordShapeGenerator::initWithChord(chord, tuning, true);
        break;
    default:
        generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
        break;
    }
    if (!generator || !generator->shapes()) {
        return answer;
    }
    const int neck = static_cast<int>(tuning->fretCount()) - static_cast<int>(tuning->capo());
    for (const TARVChordShapePtr& shape : *generator->shapes()) {
        if (!shape) {
            continue;
        }
        TARVPlayableShape playable = playableFromChordShape(*shape, chord, tuning, options);
        if (playable.highestFret() <= neck) {
            answer.push_back(std::move(playable));
        }
    }
    return answer;
}

} // namespace tarv
