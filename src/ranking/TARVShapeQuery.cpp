#include "tarv/ranking/TARVShapeQuery.hpp"

#include "tarv/cache/TARVChordShapeCache.hpp"
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
    // A cached list is read as the cache holds it; the generator's list otherwise, held by the
    // generator while it is read.
    TARVChordShapeList cached;
    TARVChordShapeGeneratorPtr generator;
    switch (ranking) {
    case Ranking::Cached:
        cached = TARVChordShapeCache::sharedInstance().shapesForChord(*chord, *tuning);
        if (!cached) {
            generator = TARVChordShapeGenerator::generatorWithChord(chord, tuning);
        }
        break;
    case Ranking::Forced:
        generator = TARVChordShapeGenerator::initWithChord(chord, tuning, true);
        break;
    default:
        generator = TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
        break;
    }
    const std::vector<TARVChordShapePtr>* found = cached ? cached.get()
                                                  : generator && generator->shapes()
                                                      ? &*generator->shapes()
                                                      : nullptr;
    if (found == nullptr) {
        return answer;
    }
    const int neck = static_cast<int>(tuning->fretCount()) - static_cast<int>(tuning->capo());
    // Each shape is fingered and scored by the playability model where a hand can hold it, and
    // keeps the generator's badness.
    std::vector<const TARVChordShape*> chordShapes;
    std::vector<std::vector<std::int8_t>> fretLists;
    chordShapes.reserve(found->size());
    fretLists.reserve(found->size());
    for (const TARVChordShapePtr& shape : *found) {
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
