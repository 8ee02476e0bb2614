#include "tarv/ranking/TARVShapeQuery.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"

namespace tarv {

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
    // Each shape is fingered and scored by the playability model where a hand can hold it, and
    // keeps the generator's badness; the generator holds its shapes while they are read.
    std::vector<const TARVChordShape*> chordShapes;
    std::vector<std::vector<std::int8_t>> fretLists;
    for (const TARVChordShapePtr& shape : *generator->shapes()) {
        if (shape) {
            chordShapes.push_back(shape.get());
            fretLists.push_back(
                TARVPlayableShapes::fretsForChordShape(*shape, tuning->stringCount()));
        }
    }
    std::vector<std::optional<TARVPlayableShape>> scored =
        TARVPlayableShapes::scoreFretLists(std::move(fretLists), chord, tuning, options);
    answer.reserve(chordShapes.size());
    for (std::size_t i = 0; i < chordShapes.size(); ++i) {
        TARVPlayableShape playable =
            scored[i] ? std::move(*scored[i])
                      : TARVPlayableShape(TARVPlayableShapes::fretsForChordShape(
                                              *chordShapes[i], tuning->stringCount()),
                                          TARVFingering(), {});
        playable.setBadness(chordShapes[i]->badness());
        if (playable.highestFret() <= neck) {
            answer.push_back(std::move(playable));
        }
    }
    return answer;
}

} // namespace tarv
