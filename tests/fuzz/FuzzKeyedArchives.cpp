// Keyed archives of every class: whatever decodes writes an archive that decodes again to an
// equal object; a cache decoded from an archive writes out as JSON text.

#include "FuzzSupport.hpp"

#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"
#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/instruments/SStringedInstrumentDescription.hpp"
#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SPitch.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVChordShape.hpp"
#include "tarv/shapes/TARVFretIndicator.hpp"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace tarv;

bool sameText(const TARVSharedText& a, const TARVSharedText& b) {
    return a && b ? *a == *b : !a && !b;
}

/// The archive form of a barre packs its fret sign-extended, so a barre with a negative fret
/// comes back with other strings, by design; such objects are not compared.
bool packsLossily(const TARVFretIndicator& indicator) {
    return indicator.isBarre() && indicator.fret() < 0;
}

bool packsLossily(const TARVChordShape& shape) {
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        if (packsLossily(indicator)) {
            return true;
        }
    }
    return false;
}

template <typename T> void roundTrip(std::span<const std::uint8_t> data, auto&& same) {
    std::string error;
    const auto decoded = TARVKeyedUnarchiver::unarchivedObjectOfClass<T>(data, &error);
    if (!decoded) {
        // A refused archive says why; an archive whose root object is nil answers nothing.
        return;
    }
    std::string writeError;
    const auto archived =
        TARVKeyedArchiver::archivedDataWithRootObjectAs<T>(*decoded, true, &writeError);
    TARV_FUZZ_CHECK(!archived.empty(),
                    ("a decoded object does not archive: " + writeError).c_str());
    std::string readError;
    const auto again = TARVKeyedUnarchiver::unarchivedObjectOfClass<T>(archived, &readError);
    TARV_FUZZ_CHECK(static_cast<bool>(again),
                    ("the library's own archive does not decode: " + readError).c_str());
    TARV_FUZZ_CHECK(same(decoded, again), "an archived object decodes as another");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes(data, size);
    roundTrip<SPitch>(bytes, [](const auto& a, const auto& b) { return *a == *b; });
    roundTrip<TARVFretIndicator>(
        bytes, [](const auto& a, const auto& b) { return packsLossily(*a) || a->isEqual(*b); });
    roundTrip<TARVBarreIndicator>(
        bytes, [](const auto& a, const auto& b) { return packsLossily(*a) || a->isEqual(*b); });
    roundTrip<TARVChordShape>(bytes, [](const auto& a, const auto& b) {
        return packsLossily(*a) || (a->isEqual(*b) && a->badness() == b->badness());
    });
    roundTrip<SStringedInstrumentTuning>(bytes, [](const auto& a, const auto& b) {
        return a->stringPitches() == b->stringPitches() && a->fretCount() == b->fretCount() &&
               a->capo() == b->capo() && sameText(a->name(), b->name()) &&
               a->noteString() == b->noteString() &&
               a->stringOrderTransform() == b->stringOrderTransform();
    });
    roundTrip<SStringedInstrumentDescription>(bytes, [](const auto& a, const auto& b) {
        return a->instrumentName() == b->instrumentName() &&
               a->tuning()->stringPitches() == b->tuning()->stringPitches();
    });
    roundTrip<TARVChordShapeCache>(bytes, [](const auto& a, const auto& b) {
        (void)a->serializationArray().dump();
        return a->allKeys().size() == b->allKeys().size();
    });
    return 0;
}
