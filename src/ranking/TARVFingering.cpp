#include "tarv/ranking/TARVFingering.hpp"

#include "TARVFingeringPattern.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarv {

namespace {

/// A list kept inside the object up to `N` entries (the strings of real instruments), on the
/// heap beyond: the fingering of one shape then allocates nothing.
template <typename T, std::size_t N> class InlineList {
public:
    InlineList() = default;
    InlineList(const InlineList&) = delete;
    InlineList& operator=(const InlineList& other) {
        if (this != &other) {
            clear();
            for (const T& value : other) {
                push_back(value);
            }
        }
        return *this;
    }

    void push_back(const T& value) {
        if (_size == _capacity) {
            grow();
        }
        _data[_size++] = value;
    }
    template <typename... Args> void emplace_back(Args&&... args) {
        push_back(T{std::forward<Args>(args)...});
    }
    void assign(std::size_t count, const T& value) {
        clear();
        for (std::size_t i = 0; i < count; ++i) {
            push_back(value);
        }
    }
    void clear() noexcept { _size = 0; }
    bool empty() const noexcept { return _size == 0; }
    std::size_t size() const noexcept { return _size; }
    T& operator[](std::size_t i) noexcept { return _data[i]; }
    const T& operator[](std::size_t i) const noexcept { return _data[i]; }
    T& front() noexcept { return _data[0]; }
    const T& front() const noexcept { return _data[0]; }
    T* begin() noexcept { return _data; }
    T* end() noexcept { return _data + _size; }
    const T* begin() const noexcept { return _data; }
    const T* end() const noexcept { return _data + _size; }

private:
    void grow() {
        std::vector<T> larger(std::max<std::size_t>(2 * _capacity, 1));
        std::copy(begin(), end(), larger.begin());
        _heap = std::move(larger);
        _data = _heap.data();
        _capacity = _heap.size();
    }

    std::array<T, N> _inline {};
    std::vector<T> _heap;
    T* _data = _inline.data();
    std::size_t _size = 0;
    std::size_t _capacity = N;
};

constexpr std::size_t kInlineStrings = 16;

struct Position {
    std::uint8_t string;
    std::int8_t fret;
};

/// What one finger holds: a note, or the adjacent strings `string` down to `lowString` at one
/// fret (a barre of a finger other than the index).
struct Unit {
    std::uint8_t string;
    std::uint8_t lowString;
    std::int8_t fret;
};

/// Strain of a barre: laying one costs a little, and more the more strings it holds; the index
/// finger lays one most easily.
constexpr double kIndexBarreStrain = 0.3;
constexpr double kBarreStrain = 0.6;
constexpr double kBarreStringStrain = 0.1;
constexpr double kIndexBarreStringStrain = 0.05;
/// Two fingers at one fret, strings apart: the hand twists to reach both.
constexpr double kSpreadStrain = 0.3;
/// The thumb is used only where it helps.
constexpr double kThumbStrain = 1.0;
/// Fingers squeezed closer than a fret apart for every finger between them.
constexpr double kCrampStrain = 0.25;

struct Candidate {
    std::array<std::uint8_t, 4> fingerOfPosition{};
    double stretch = 0;
    double crossing = 0;
    double strain = std::numeric_limits<double>::infinity();
};

/// The best way to give `positions` (sorted by fret, then thicker string first) distinct
/// fingers from `available` (ascending), after a barre of finger 1 at `barreFret` when
/// `barreFret` > 0.
Candidate assignFingers(const InlineList<Unit, kInlineStrings>& positions,
                        const InlineList<std::uint8_t, 4>& available, std::int8_t barreFret) {
    Candidate best;
    const std::size_t k = positions.size();
    const std::size_t n = available.size();
    if (k > n) {
        return best;
    }
    // Fingers keep their order along the neck: a higher finger never frets lower than a
    // lower one. So positions in fret order take an increasing choice of fingers, and only
    // the choice of which fingers is searched.
    std::array<std::size_t, 4> pick{};
    for (std::size_t i = 0; i < k; ++i) {
        pick[i] = i;
    }
    for (;;) {
        double stretch = 0;
        double cramp = 0;
        int previousFinger = barreFret > 0 ? 1 : 0;
        int previousFret = barreFret;
        for (std::size_t i = 0; i < k; ++i) {
            const int finger = available[pick[i]];
            const int fret = positions[i].fret;
            if (previousFinger != 0) {
                const int gap = fret - previousFret;
                const int natural = finger - previousFinger;
                stretch += std::max(0, gap - natural);
                cramp += std::max(0, natural - 1 - gap);
            }
            previousFinger = finger;
            previousFret = fret;
        }
        double spread = 0;
        for (std::size_t i = 1; i < k; ++i) {
            if (positions[i].fret == positions[i - 1].fret) {
                spread += std::max(0, positions[i - 1].lowString - positions[i].string - 1);
            }
        }
        const double strain = stretch + kCrampStrain * cramp + kSpreadStrain * spread;
        if (strain < best.strain) {
            best.strain = strain;
            best.stretch = stretch;
            for (std::size_t i = 0; i < k; ++i) {
                best.fingerOfPosition[i] = available[pick[i]];
            }
        }
        // Next increasing choice of k of the n fingers.
        std::size_t i = k;
        while (i > 0 && pick[i - 1] == n - k + i - 1) {
            --i;
        }
        if (i == 0) {
            break;
        }
        ++pick[i - 1];
        for (std::size_t j = i; j < k; ++j) {
            pick[j] = pick[j - 1] + 1;
        }
    }
    return best;
}

} // namespace

TARVFingering::TARVFingering(std::vector<std::uint8_t> fingers, std::vector<Barre> barres,
                             double stretch, double crossing)
    : _fingers(std::move(fingers)), _barres(std::move(barres)), _stretch(stretch),
      _crossing(crossing) {
    // One bit per finger 1 to 4 and the thumb; bit 0 (no finger) is dropped at the end.
    unsigned used = 0;
    for (const std::uint8_t finger : _fingers) {
        used |= finger <= kThumb ? 1u << finger : 0u;
    }
    for (const Barre& barre : _barres) {
        used |= barre.finger <= kThumb ? 1u << barre.finger : 0u;
    }
    for (used &= ~1u; used != 0; used &= used - 1) {
        ++_fingerCount;
    }
}

bool TARVFingering::usesThumb() const noexcept {
    return std::find(_fingers.begin(), _fingers.end(), kThumb) != _fingers.end();
}

double TARVFingering::strain() const noexcept {
    double strain = _stretch + _crossing;
    for (const Barre& barre : _barres) {
        const int strings = barre.highString - barre.lowString + 1;
        strain += barre.finger == 1 ? kIndexBarreStrain + kIndexBarreStringStrain * strings
                                    : kBarreStrain + kBarreStringStrain * strings;
    }
    return strain + (usesThumb() ? kThumbStrain : 0.0);
}

std::string TARVFingering::text() const {
    std::string text;
    for (std::size_t i = _fingers.size(); i-- > 0;) {
        const std::uint8_t finger = _fingers[i];
        if (finger == kThumb) {
            text += 'T';
        } else if (finger == kNone) {
            text += '-';
        } else {
            text += static_cast<char>('0' + finger);
        }
        if (i != 0) {
            text += ',';
        }
    }
    return text;
}

namespace {

/// The fingering of `frets`, worked out anew.
std::optional<TARVFingering> computeFingering(std::span<const std::int8_t> frets,
                                              const TARVFingering::Hand& hand) {
    using Barre = TARVFingering::Barre;
    constexpr std::uint8_t kNone = TARVFingering::kNone;
    constexpr std::uint8_t kThumb = TARVFingering::kThumb;
    const std::size_t stringCount = frets.size();
    InlineList<Position, kInlineStrings> fretted;
    for (std::size_t s = 0; s < stringCount; ++s) {
        if (frets[s] > 0) {
            fretted.push_back({static_cast<std::uint8_t>(s), frets[s]});
        }
    }
    if (fretted.empty()) {
        return TARVFingering(std::vector<std::uint8_t>(stringCount, kNone), {}, 0, 0);
    }
    // Fret order, and at one fret the thicker string (higher number) first: that is how
    // fingers 1 to 4 fall on the strings of a relaxed hand.
    std::sort(fretted.begin(), fretted.end(), [](const Position& a, const Position& b) {
        return a.fret != b.fret ? a.fret < b.fret : a.string > b.string;
    });
    const std::int8_t lowest = fretted.front().fret;

    struct Choice {
        double strain = std::numeric_limits<double>::infinity();
        InlineList<std::uint8_t, kInlineStrings> fingers;
        InlineList<Barre, kInlineStrings> barres;
        double stretch = 0;
        double crossing = 0;
    };
    Choice best;

    // Working lists, reused by every arrangement considered.
    InlineList<Position, kInlineStrings> rest;
    InlineList<std::uint8_t, 4> available;
    InlineList<std::pair<std::size_t, std::size_t>, 4> runs;
    InlineList<Unit, kInlineStrings> units;
    InlineList<Barre, kInlineStrings> chosenBarres;
    const auto consider = [&](const std::optional<Barre>& barre, bool thumb) {
        rest.clear();
        std::optional<Position> thumbPosition;
        double crossing = 0;
        for (const Position& position : fretted) {
            if (thumb && position.string == stringCount - 1) {
                thumbPosition = position;
                continue;
            }
            if (barre && position.string >= barre->lowString &&
                position.string <= barre->highString && position.fret == barre->fret) {
                continue;
            }
            if (barre && position.fret == barre->fret) {
                // Another finger beside the barre at its own fret.
                crossing += 1;
            }
            rest.push_back(position);
        }
        if (thumb) {
            if (!thumbPosition) {
                return;
            }
            const std::int8_t handFret =
                barre ? barre->fret : (rest.empty() ? thumbPosition->fret : rest.front().fret);
            if (thumbPosition->fret < handFret - 1 || thumbPosition->fret > handFret + 1) {
                return;
            }
        }
        available.clear();
        for (std::uint8_t finger = barre ? 2 : 1; finger <= 4; ++finger) {
            available.push_back(finger);
        }
        // Runs of adjacent strings at one fret that one finger may hold flat.
        runs.clear();
        for (std::size_t i = 0; i < rest.size();) {
            std::size_t j = i + 1;
            while (j < rest.size() && rest[j].fret == rest[i].fret &&
                   rest[j - 1].string == rest[j].string + 1) {
                ++j;
            }
            if (j - i >= 2 && runs.size() < 4) {
                runs.emplace_back(i, j);
            }
            i = j;
        }
        for (unsigned merged = 0; merged < (1u << runs.size()); ++merged) {
            units.clear();
            for (std::size_t i = 0; i < rest.size();) {
                std::size_t end = i + 1;
                for (std::size_t r = 0; r < runs.size(); ++r) {
                    if ((merged & (1u << r)) != 0 && runs[r].first == i) {
                        end = runs[r].second;
                    }
                }
                units.push_back({rest[i].string, rest[end - 1].string, rest[i].fret});
                i = end;
            }
            const Candidate candidate =
                assignFingers(units, available, barre ? barre->fret : std::int8_t{0});
            if (!(candidate.strain < std::numeric_limits<double>::infinity())) {
                continue;
            }
            double strain = candidate.strain + crossing;
            chosenBarres.clear();
            if (barre) {
                chosenBarres.push_back(*barre);
            }
            for (std::size_t u = 0; u < units.size(); ++u) {
                if (units[u].string != units[u].lowString) {
                    chosenBarres.push_back({static_cast<std::uint8_t>(units[u].fret),
                                            units[u].lowString, units[u].string,
                                            candidate.fingerOfPosition[u]});
                }
            }
            for (const Barre& laid : chosenBarres) {
                const int strings = laid.highString - laid.lowString + 1;
                strain += laid.finger == 1 ? kIndexBarreStrain + kIndexBarreStringStrain * strings
                                           : kBarreStrain + kBarreStringStrain * strings;
            }
            if (thumb) {
                strain += kThumbStrain;
            }
            // Fewer fingers win a tie.
            strain += 0.001 * static_cast<double>(units.size());
            if (strain < best.strain) {
                best.strain = strain;
                best.fingers.assign(stringCount, kNone);
                for (const Barre& laid : chosenBarres) {
                    for (std::uint8_t string = laid.lowString; string <= laid.highString;
                         ++string) {
                        best.fingers[string] = laid.finger;
                    }
                }
                for (std::size_t u = 0; u < units.size(); ++u) {
                    best.fingers[units[u].string] = candidate.fingerOfPosition[u];
                }
                if (thumbPosition) {
                    best.fingers[thumbPosition->string] = kThumb;
                }
                best.barres = chosenBarres;
                best.stretch = candidate.stretch;
                best.crossing = crossing;
            }
        }
    };

    // Barres of the index finger at the lowest fret: both ends at that fret, and every string
    // between them sounding at it or higher.
    InlineList<Barre, kInlineStrings> barres;
    for (std::size_t low = 0; low < stringCount; ++low) {
        if (frets[low] != lowest) {
            continue;
        }
        for (std::size_t high = low + 1; high < stringCount; ++high) {
            if (frets[high] < lowest) {
                break;
            }
            if (frets[high] == lowest) {
                barres.push_back({static_cast<std::uint8_t>(lowest), static_cast<std::uint8_t>(low),
                                  static_cast<std::uint8_t>(high), 1});
            }
        }
    }
    for (const bool thumb : {false, true}) {
        if (thumb && !hand.allowThumb) {
            break;
        }
        consider(std::nullopt, thumb);
        for (const Barre& barre : barres) {
            if (thumb && barre.highString == stringCount - 1) {
                continue;
            }
            consider(barre, thumb);
        }
    }
    if (!(best.strain < std::numeric_limits<double>::infinity())) {
        return std::nullopt;
    }
    std::sort(best.barres.begin(), best.barres.end(),
              [](const Barre& a, const Barre& b) { return a.fret < b.fret; });
    return TARVFingering(std::vector<std::uint8_t>(best.fingers.begin(), best.fingers.end()),
                         std::vector<Barre>(best.barres.begin(), best.barres.end()), best.stretch,
                         best.crossing);
}

/// Fingerings already worked out on this thread. A fingering depends only on where the fretted
/// notes lie relative to the lowest one (open and muted strings alike hold no finger), so one
/// entry serves a pattern wherever it is played on the neck; barre frets are kept relative.
class FingeringMemo {
public:
    /// Patterns of at most this many strings, each within 15 frets of the lowest, are kept.
    static constexpr std::size_t kMaximumStrings = 14;

    static FingeringMemo& local() {
        thread_local FingeringMemo memo;
        return memo;
    }

    std::optional<TARVFingering> fingering(std::span<const std::int8_t> frets,
                                           const TARVFingering::Hand& hand) {
        int lowest = 0;
        const std::optional<TARVFingering>* kept = pattern(frets, hand, lowest);
        if (kept == nullptr) {
            return computeFingering(frets, hand);
        }
        if (!*kept) {
            return std::nullopt;
        }
        return moved(**kept, lowest - 1);
    }

    /// The fingering kept for the pattern of `frets`, its barres counted from `lowest` (the
    /// lowest fretted fret) as fret 1; null when the pattern is not kept.
    const std::optional<TARVFingering>* pattern(std::span<const std::int8_t> frets,
                                                const TARVFingering::Hand& hand, int& lowest) {
        lowest = 0;
        for (const std::int8_t fret : frets) {
            if (fret > 0 && (lowest == 0 || fret < lowest)) {
                lowest = fret;
            }
        }
        std::uint64_t key = 0;
        bool packable = frets.size() <= kMaximumStrings;
        for (std::size_t s = 0; s < frets.size() && packable; ++s) {
            const int relative = frets[s] > 0 ? frets[s] - lowest + 1 : 0;
            packable = relative < 16;
            key |= static_cast<std::uint64_t>(relative) << (4 * s);
        }
        if (!packable) {
            return nullptr;
        }
        key |= static_cast<std::uint64_t>(frets.size()) << 56;
        key |= static_cast<std::uint64_t>(hand.allowThumb ? 1 : 0) << 60;
        const auto found = _entries.find(key);
        if (found != _entries.end()) {
            return &found->second;
        }
        std::optional<TARVFingering> fingering = computeFingering(frets, hand);
        if (_entries.size() >= kCapacity) {
            _entries.clear();
        }
        return &_entries
                    .emplace(key, fingering ? std::optional(moved(*fingering, 1 - lowest))
                                            : std::nullopt)
                    .first->second;
    }

    /// Where `ranking::fingeringPattern` keeps a fingering it cannot keep by its pattern.
    std::optional<TARVFingering> unkept;

private:
    /// Enough for every pattern of many chords on one instrument, and still small.
    static constexpr std::size_t kCapacity = 4096;

    /// `fingering` with its barres `by` frets higher.
    static TARVFingering moved(const TARVFingering& fingering, int by) {
        std::vector<TARVFingering::Barre> barres = fingering.barres();
        for (TARVFingering::Barre& barre : barres) {
            barre.fret = static_cast<std::uint8_t>(barre.fret + by);
        }
        return TARVFingering(fingering.fingers(), std::move(barres), fingering.stretch(),
                             fingering.crossing());
    }

    std::unordered_map<std::uint64_t, std::optional<TARVFingering>> _entries;
};

} // namespace

std::optional<TARVFingering> TARVFingering::fingeringForFrets(std::span<const std::int8_t> frets,
                                                              const Hand& hand) {
    return FingeringMemo::local().fingering(frets, hand);
}

const TARVFingering* ranking::fingeringPattern(std::span<const std::int8_t> frets,
                                               const TARVFingering::Hand& hand) {
    FingeringMemo& memo = FingeringMemo::local();
    int lowest = 0;
    const std::optional<TARVFingering>* kept = memo.pattern(frets, hand, lowest);
    if (kept == nullptr) {
        memo.unkept = computeFingering(frets, hand);
        kept = &memo.unkept;
    }
    return *kept ? &**kept : nullptr;
}

} // namespace tarv
