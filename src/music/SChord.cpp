#include "tarv/music/SChord.hpp"

#include "SChordQualityTable.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace tarv {

namespace {

constexpr std::string_view kHexDigits = "0123456789ab";
constexpr int kScaleSemitones[7] = {0, 2, 4, 5, 7, 9, 11};
constexpr char kLetterNames[7] = {'C', 'D', 'E', 'F', 'G', 'A', 'B'};

constexpr std::string_view kUnicodeSharp = "\u266F";
constexpr std::string_view kUnicodeFlat = "\u266D";

int pitchClass(int value) {
    return ((value % 12) + 12) % 12;
}

using PitchClassMask = std::uint16_t;

PitchClassMask bit(int pitchClassValue) {
    return static_cast<PitchClassMask>(1U << static_cast<unsigned>(pitchClassValue));
}

int naturalSemitones(int number) {
    return kScaleSemitones[(number - 1) % 7] + 12 * ((number - 1) / 7);
}

/// A chord tone while a chord is being assembled. `number` is the degree (1 to 13) the tone is
/// spelled from, or 0 when it has no degree and is spelled from its pitch class alone.
struct Tone {
    int number;
    int semitones;
    bool characteristic;
};

struct Degree {
    int number;
    int semitones;
};

/// "1", "b3", "#11", "bb7": accidentals, then a degree number from 1 to 13.
std::optional<Degree> parseDegree(std::string_view text) {
    int alteration = 0;
    while (!text.empty() && (text.front() == 'b' || text.front() == '#')) {
        alteration += text.front() == '#' ? 1 : -1;
        text.remove_prefix(1);
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || number < 1 ||
        number > 13) {
        return std::nullopt;
    }
    return Degree{number, naturalSemitones(number) + alteration};
}

/// Spells the tone `semitones` above `root` on the letter `number - 1` steps above the root's
/// letter (the major third of Eb is G, the minor third of C is Eb). Falls back to the pitch
/// class's plain spelling when the letter would need more than two accidentals.
SNote spellTone(const SNote& root, int number, int semitones) {
    const int target = root.semitonesAboveC() + semitones;
    if (number > 0) {
        const int letter = (root.letter() + number - 1) % 7;
        int accidental = pitchClass(target - kScaleSemitones[letter]);
        if (accidental > 6) {
            accidental -= 12;
        }
        if (accidental >= -2 && accidental <= 2) {
            char text[3] = {kLetterNames[letter], accidental > 0 ? '#' : 'b',
                            accidental > 0 ? '#' : 'b'};
            const auto length = static_cast<std::size_t>(1 + std::abs(accidental));
            if (const auto note = SNote::noteWithString(std::string_view(text, length))) {
                return *note;
            }
        }
    }
    return SNote::noteWithValue(target);
}

/// Rewrites the typographic variants that chord sheets use for the same signs, and quality
/// words written in capitals ("CMAJ7").
std::string normalizedQualityText(std::string_view text) {
    static constexpr std::pair<std::string_view, std::string_view> kReplacements[] = {
        {kUnicodeSharp, "#"}, {kUnicodeFlat, "b"}, {"\u00B0", "dim"}, // degree sign
        {"\u2070", "dim"},    // superscript zero for the degree sign
        {"\u00BA", "dim"},    // masculine ordinal indicator for the degree sign
        {"\u25B3", "\u0394"}, // white up-pointing triangle for the Greek capital delta
        {"\u2206", "\u0394"}, // increment sign, which Mac keyboards type for the delta
        {"\u00D8", "\u00F8"}, // capital slashed O for the small one
        {"\u2212", "-"},      // minus sign
        {"\u2013", "-"},      // en dash
        {"MAJ", "maj"},       {"MIN", "min"},      {"DIM", "dim"},    {"AUG", "aug"},
        {"SUS", "sus"},       {"ADD", "add"},      {"ALT", "alt"},    {"OMIT", "omit"},
    };
    // The bytes a replacement can start with.
    static constexpr std::array<bool, 256> kLeads = [] {
        std::array<bool, 256> leads{};
        for (const auto& replacement : kReplacements) {
            leads[static_cast<unsigned char>(replacement.first.front())] = true;
        }
        return leads;
    }();
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        if (!kLeads[static_cast<unsigned char>(text.front())]) {
            result.push_back(text.front());
            text.remove_prefix(1);
            continue;
        }
        bool replaced = false;
        for (const auto& [from, to] : kReplacements) {
            if (text.starts_with(from)) {
                result.append(to);
                text.remove_prefix(from.size());
                replaced = true;
                break;
            }
        }
        if (!replaced) {
            result.push_back(text.front());
            text.remove_prefix(1);
        }
    }
    return result;
}

bool consumeNumber(std::string_view& text, int& number) {
    if (text.empty() || text.front() < '0' || text.front() > '9') {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

/// Rewrites a minor sign followed by a major-seventh sign, in whatever spelling, as "m(maj7)":
/// "-(maj7)", "min(maj7)", "mΔ7", "m(Δ9)", "-M7" and "m+7" (the raised seventh).
std::string minorMajorRewritten(const std::string& text) {
    static constexpr std::string_view kMinorSigns[] = {"min", "mi", "m", "-"};
    static constexpr std::string_view kMajorSigns[] = {"maj",    "Maj", "ma", "Ma", "M",
                                                       "\u0394", "^",   "j",  "+",  "#"};
    for (const auto minor : kMinorSigns) {
        if (!std::string_view(text).starts_with(minor)) {
            continue;
        }
        std::string_view rest = std::string_view(text).substr(minor.size());
        const bool parenthesised = rest.starts_with('(');
        if (parenthesised) {
            rest.remove_prefix(1);
        }
        for (const auto major : kMajorSigns) {
            if (!rest.starts_with(major)) {
                continue;
            }
            std::string_view after = rest.substr(major.size());
            int number = 0;
            if (!consumeNumber(after, number)) {
                // A delta or caret alone means the major seventh.
                if (major != "\u0394" && major != "^") {
                    return text;
                }
                number = 7;
            }
            const bool sharpSign = major == "+" || major == "#";
            if ((sharpSign && number != 7) ||
                (number != 7 && number != 9 && number != 11 && number != 13)) {
                return text;
            }
            if (parenthesised) {
                if (!after.starts_with(')')) {
                    return text;
                }
                after.remove_prefix(1);
            }
            return "m(maj" + std::to_string(number) + ")" + std::string(after);
        }
        return text;
    }
    return text;
}

/// An alteration, addition, suspension or omission written after a quality ("b9", "add11",
/// "sus4", "no5"), alone or in parentheses. Additions of a second, fourth or sixth are kept as
/// the ninth, eleventh or thirteenth: the same pitch class.
struct Modifier {
    enum class Kind { Alter, Add, Sus, Omit };
    Kind kind;
    int number;
    int semitones;

    std::string text() const {
        const int alteration = semitones - naturalSemitones(number);
        const std::string accidental =
            alteration > 0 ? "#" : (alteration < 0 ? "b" : std::string());
        switch (kind) {
        case Kind::Alter:
            return accidental + std::to_string(number);
        case Kind::Add:
            // An added minor sixth is written "b6" on sheets ("Cm(b6)").
            if (number == 13 && alteration == -1) {
                return "b6";
            }
            return "add" + accidental + std::to_string(number);
        case Kind::Sus:
            return "sus" + std::to_string(number);
        case Kind::Omit:
            return "no" + std::to_string(number);
        }
        return {};
    }
    auto sortKey() const { return std::tuple(static_cast<int>(kind), semitones, number); }
    bool operator==(const Modifier&) const = default;
    bool operator<(const Modifier& other) const { return sortKey() < other.sortKey(); }
};

bool isAddableNumber(int number) {
    return number == 2 || number == 4 || number == 6 || number == 9 || number == 11 || number == 13;
}

Modifier addition(int number, int alteration) {
    if (number < 8) {
        number += 7;
    }
    return {Modifier::Kind::Add, number, naturalSemitones(number) + alteration};
}

/// Reads one modifier from the front of `text`. A bare degree number counts as an addition
/// only inside parentheses ("7(9)"), never glued to the quality.
std::optional<Modifier> consumeModifier(std::string_view& text, bool insideParentheses) {
    auto accidentalOf = [](char c) {
        switch (c) {
        case 'b':
        case '-':
            return -1;
        case '#':
        case '+':
            return 1;
        default:
            return 0;
        }
    };
    int number = 0;
    if (text.starts_with("add")) {
        text.remove_prefix(3);
        const int alteration = text.empty() ? 0 : accidentalOf(text.front());
        if (alteration != 0) {
            text.remove_prefix(1);
        }
        if (!consumeNumber(text, number) || !isAddableNumber(number)) {
            return std::nullopt;
        }
        return addition(number, alteration);
    }
    if (text.starts_with("sus")) {
        text.remove_prefix(3);
        // "sus(4)" and "sus(2)" name the suspended tone in parentheses.
        for (const auto& [written, suspended] : {std::pair<std::string_view, int>("(2)", 2),
                                                 std::pair<std::string_view, int>("(4)", 4)}) {
            if (text.starts_with(written)) {
                text.remove_prefix(written.size());
                return Modifier{Modifier::Kind::Sus, suspended, naturalSemitones(suspended)};
            }
        }
        if (text.empty() || text.front() < '0' || text.front() > '9') {
            return Modifier{Modifier::Kind::Sus, 4, naturalSemitones(4)};
        }
        if (!consumeNumber(text, number) || (number != 2 && number != 4)) {
            return std::nullopt;
        }
        return Modifier{Modifier::Kind::Sus, number, naturalSemitones(number)};
    }
    if (text.starts_with("no") || text.starts_with("omit")) {
        text.remove_prefix(text.starts_with("no") ? 2 : 4);
        if (!consumeNumber(text, number) || (number != 3 && number != 5)) {
            return std::nullopt;
        }
        return Modifier{Modifier::Kind::Omit, number, naturalSemitones(number)};
    }
    if (!text.empty()) {
        if (const int alteration = accidentalOf(text.front()); alteration != 0) {
            const bool flatSign = text.front() == 'b';
            text.remove_prefix(1);
            if (!consumeNumber(text, number)) {
                return std::nullopt;
            }
            // "b6" adds a minor sixth beside the fifth ("Cm(b6)"); "#4" is the sharp eleventh.
            if (number == 6 && flatSign) {
                return addition(number, alteration);
            }
            if (number == 4 && alteration > 0) {
                number = 11;
            }
            if (number != 5 && number != 9 && number != 11 && number != 13) {
                return std::nullopt;
            }
            return Modifier{Modifier::Kind::Alter, number, naturalSemitones(number) + alteration};
        }
    }
    if (insideParentheses && consumeNumber(text, number) && isAddableNumber(number)) {
        return addition(number, 0);
    }
    return std::nullopt;
}

/// Reads the modifiers that follow a quality: "b9#11", "(b9,#11)", "(b9 #11)", "b9(#11)",
/// " (b9)", and an added tone after a slash ("7/6", "sus2/4").
std::optional<std::vector<Modifier>> parseModifiers(std::string_view text) {
    std::vector<Modifier> modifiers;
    bool insideParentheses = false;
    bool expectingModifier = false;
    while (!text.empty()) {
        const char c = text.front();
        if (c == '(') {
            if (insideParentheses) {
                return std::nullopt;
            }
            insideParentheses = true;
            expectingModifier = true;
            text.remove_prefix(1);
        } else if (c == ')') {
            if (!insideParentheses || expectingModifier) {
                return std::nullopt;
            }
            insideParentheses = false;
            text.remove_prefix(1);
        } else if (c == ',' && insideParentheses) {
            if (expectingModifier) {
                return std::nullopt;
            }
            expectingModifier = true;
            text.remove_prefix(1);
        } else if (c == ' ' && (insideParentheses || text.substr(1).starts_with('('))) {
            text.remove_prefix(1);
        } else if (c == '/' && !insideParentheses) {
            // After a slash a second or fourth is a further suspension ("sus2/4"), a higher
            // number an added tone ("7/6").
            text.remove_prefix(1);
            int number = 0;
            if (!consumeNumber(text, number) || !isAddableNumber(number)) {
                return std::nullopt;
            }
            modifiers.push_back(number == 2 || number == 4 ? Modifier{Modifier::Kind::Sus, number,
                                                                      naturalSemitones(number)}
                                                           : addition(number, 0));
        } else {
            const auto modifier = consumeModifier(text, insideParentheses);
            if (!modifier) {
                return std::nullopt;
            }
            modifiers.push_back(*modifier);
            expectingModifier = false;
        }
    }
    if (insideParentheses || modifiers.empty()) {
        return std::nullopt;
    }
    return modifiers;
}

void applyModifier(std::vector<Tone>& tones, const Modifier& modifier) {
    auto removeIf = [&tones](auto predicate) {
        tones.erase(std::remove_if(tones.begin(), tones.end(), predicate), tones.end());
    };
    auto sameDegreeFamily = [](int a, int b) {
        return a > 1 && b > 1 && (a - 1) % 7 == (b - 1) % 7;
    };
    auto isPerfectFifth = [](const Tone& tone) {
        return tone.number == 5 && tone.semitones == naturalSemitones(5);
    };
    switch (modifier.kind) {
    case Modifier::Kind::Alter:
        // An altered tone replaces the natural one: b9 replaces the 9th, #5 the 5th.
        removeIf([&](const Tone& tone) {
            return sameDegreeFamily(tone.number, modifier.number) &&
                   tone.semitones == naturalSemitones(tone.number);
        });
        // A flat thirteenth also takes the place of the fifth, as in the 7b13 quality.
        if (modifier.number == 13 && modifier.semitones < naturalSemitones(13)) {
            removeIf(isPerfectFifth);
        }
        tones.push_back({modifier.number, modifier.semitones, true});
        break;
    case Modifier::Kind::Add:
        // Beside a third an added tone lets the fifth go, as in the add9 and 6 qualities.
        if (std::any_of(tones.begin(), tones.end(), [](const Tone& t) { return t.number == 3; })) {
            for (auto& tone : tones) {
                if (isPerfectFifth(tone)) {
                    tone.characteristic = false;
                }
            }
        }
        tones.push_back({modifier.number, modifier.semitones, true});
        break;
    case Modifier::Kind::Sus:
        removeIf([](const Tone& tone) { return tone.number == 3; });
        tones.push_back({modifier.number, modifier.semitones, true});
        break;
    case Modifier::Kind::Omit:
        removeIf([&](const Tone& tone) { return tone.number == modifier.number; });
        break;
    }
}

/// Orders tones by distance from the root and keeps one tone per pitch class; a pitch class
/// is characteristic when any of its tones is.
void normalizeTones(std::vector<Tone>& tones) {
    std::stable_sort(tones.begin(), tones.end(),
                     [](const Tone& a, const Tone& b) { return a.semitones < b.semitones; });
    std::vector<Tone> unique;
    for (const auto& tone : tones) {
        auto existing = std::find_if(unique.begin(), unique.end(), [&](const Tone& kept) {
            return pitchClass(kept.semitones) == pitchClass(tone.semitones);
        });
        if (existing == unique.end()) {
            unique.push_back(tone);
        } else {
            existing->characteristic = existing->characteristic || tone.characteristic;
        }
    }
    for (auto& tone : unique) {
        if (pitchClass(tone.semitones) == 0) {
            tone.characteristic = true;
        }
    }
    tones = std::move(unique);
}

PitchClassMask notesMask(const std::vector<Tone>& tones) {
    PitchClassMask mask = 0;
    for (const auto& tone : tones) {
        mask |= bit(pitchClass(tone.semitones));
    }
    return mask;
}

PitchClassMask characteristicMask(const std::vector<Tone>& tones) {
    PitchClassMask mask = 0;
    for (const auto& tone : tones) {
        if (tone.characteristic) {
            mask |= bit(pitchClass(tone.semitones));
        }
    }
    return mask;
}

/// What a quality text means, whatever the order and grouping in which it is written: a core
/// quality (one that is not itself a simpler quality with modifiers) and the set of modifiers
/// applied to it. "7b9(b13)", "7(b13,b9)" and "7b9b13" share the key {7; b9, b13}.
struct QualityKey {
    std::size_t core = 0;
    std::vector<Modifier> modifiers;

    bool operator<(const QualityKey& other) const {
        return std::tie(core, modifiers) < std::tie(other.core, other.modifiers);
    }
};

/// The key of `key`'s core with `key`'s and the further modifiers. An alteration replaces the
/// natural tone of its degree, an added one included: {7; add9, b9} is {7; b9}; a suspension
/// makes the addition of its own tone redundant.
QualityKey combined(QualityKey key, const std::vector<Modifier>& modifiers) {
    auto& all = key.modifiers;
    all.insert(all.end(), modifiers.begin(), modifiers.end());
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    auto alteredDegree = [&all](int number) {
        return std::any_of(all.begin(), all.end(), [number](const Modifier& modifier) {
            return modifier.kind == Modifier::Kind::Alter &&
                   (modifier.number - 1) % 7 == (number - 1) % 7;
        });
    };
    auto suspendedDegree = [&all](int number) {
        return std::any_of(all.begin(), all.end(), [number](const Modifier& modifier) {
            return modifier.kind == Modifier::Kind::Sus &&
                   (modifier.number - 1) % 7 == (number - 1) % 7;
        });
    };
    // Adding the suspended tone again adds nothing: "sus(4)" is "sus4".
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const Modifier& modifier) {
                                 return modifier.kind == Modifier::Kind::Add &&
                                        modifier.semitones == naturalSemitones(modifier.number) &&
                                        (alteredDegree(modifier.number) ||
                                         suspendedDegree(modifier.number));
                             }),
              all.end());
    return key;
}

/// The compiled quality table in the form the parser uses.
struct QualityIndex {
    struct Entry {
        std::string suffix;
        std::vector<Tone> tones;
        PitchClassMask notes = 0;
        PitchClassMask characteristic = 0;
        /// Its spellings as the parser sees them, in table order.
        std::vector<std::string> aliases;
        QualityKey key;
    };
    std::vector<Entry> entries;
    std::vector<std::string> suffixes;
    std::unordered_map<std::string, std::size_t> byAlias;
    /// Every alias with its entry, longest first: the candidates for the head of a quality
    /// that is followed by modifiers.
    std::vector<std::pair<std::string, std::size_t>> aliasesLongestFirst;
    std::unordered_map<std::string, QualityKey> keyByAlias;
    /// The named quality that a core with modifiers spells ({7; b9, b13} is 7b9b13).
    std::map<QualityKey, std::size_t> namedByKey;
};

/// The tones of a core quality changed by its modifiers, applied in their sorted order; none
/// when fewer than two tones are left.
std::optional<std::vector<Tone>> derivedTones(const QualityIndex& index, const QualityKey& key) {
    std::vector<Tone> tones = index.entries[key.core].tones;
    for (const auto& modifier : key.modifiers) {
        applyModifier(tones, modifier);
    }
    normalizeTones(tones);
    if (tones.size() < 2) {
        return std::nullopt;
    }
    return tones;
}

/// Spellings of the table that are read by their parts instead: a parenthesised number adds
/// that tone alone, as in 7(9) and 7(13), so "7(11)" is C7 with an added eleventh, not the
/// eleventh chord with its ninth.
constexpr std::pair<std::string_view, std::string_view> kSpellingsReadByTheirParts[] = {
    {"11", "7(11)"},
};

/// Jazz charts mean by "alt" the altered dominant: the third and seventh with altered ninths,
/// fifths and thirteenths, and no natural fifth or ninth. The flat thirteenth (the raised
/// fifth) must sound, as in the usual 7#5#9 and 7b9#5 grips; the flat and sharp ninth and the
/// sharp eleventh (the flat fifth) may.
const std::vector<Tone>& alteredDominantTones() {
    static const std::vector<Tone> tones = {{1, 0, true},   {3, 4, true},   {7, 10, true},
                                            {9, 13, false}, {9, 15, false}, {11, 18, false},
                                            {13, 20, true}};
    return tones;
}

QualityIndex buildQualityIndex() {
    QualityIndex index;
    for (const auto& definition : SChordQualityDefinitions()) {
        QualityIndex::Entry entry;
        entry.suffix = std::string(definition.suffix);
        if (definition.identifier == "7alt") {
            entry.tones = alteredDominantTones();
        } else {
            for (const auto& toneDefinition : definition.tones) {
                const auto degree = parseDegree(toneDefinition.degree);
                const int number = degree ? degree->number : 0;
                // The root stays characteristic even where rootless voicings are common.
                entry.tones.push_back({number, toneDefinition.semitones,
                                       !toneDefinition.omittable || toneDefinition.semitones == 0});
            }
        }
        entry.notes = notesMask(entry.tones);
        entry.characteristic = characteristicMask(entry.tones);
        const std::size_t position = index.entries.size();
        for (const auto alias : definition.aliases) {
            if (std::find(std::begin(kSpellingsReadByTheirParts),
                          std::end(kSpellingsReadByTheirParts),
                          std::pair(definition.identifier, alias)) !=
                std::end(kSpellingsReadByTheirParts)) {
                continue;
            }
            auto normalized = normalizedQualityText(alias);
            if (index.byAlias.emplace(normalized, position).second) {
                entry.aliases.push_back(normalized);
                index.aliasesLongestFirst.emplace_back(std::move(normalized), position);
            }
        }
        index.suffixes.push_back(entry.suffix);
        index.entries.push_back(std::move(entry));
    }
    std::stable_sort(index.aliasesLongestFirst.begin(), index.aliasesLongestFirst.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });

    // An alias that reads as a shorter alias with modifiers, and has the tones those give, is
    // that shorter alias's key with the modifiers ("7b9b13" is {7; b9, b13}); any other alias is
    // a core of its own. Shorter aliases are keyed first.
    std::unordered_map<std::string, QualityKey> spelledKeys;
    for (auto alias = index.aliasesLongestFirst.rbegin(); alias != index.aliasesLongestFirst.rend();
         ++alias) {
        const auto& [text, position] = *alias;
        QualityKey key{position, {}};
        for (const auto& [prefix, prefixPosition] : index.aliasesLongestFirst) {
            if (prefix.size() >= text.size() || !std::string_view(text).starts_with(prefix)) {
                continue;
            }
            const auto modifiers = parseModifiers(std::string_view(text).substr(prefix.size()));
            if (!modifiers) {
                continue;
            }
            auto candidate = combined(spelledKeys.at(prefix), *modifiers);
            const auto tones = derivedTones(index, candidate);
            if (candidate.core != position && tones &&
                notesMask(*tones) == index.entries[position].notes) {
                key = std::move(candidate);
            }
            break;
        }
        spelledKeys.emplace(text, std::move(key));
    }

    // A quality that some spelling writes as a simpler quality with modifiers is no core: every
    // spelling of it takes that key ("C2" and "Cadd9", "Cø" and "Cm7b5" share their keys). The
    // spelling that decides is the canonical suffix if it is one, else the first in table order.
    std::vector<std::optional<QualityKey>> decomposition(index.entries.size());
    for (std::size_t position = 0; position < index.entries.size(); ++position) {
        const auto& entry = index.entries[position];
        std::vector<std::string> candidates{normalizedQualityText(entry.suffix)};
        candidates.insert(candidates.end(), entry.aliases.begin(), entry.aliases.end());
        for (const auto& candidate : candidates) {
            const auto found = spelledKeys.find(candidate);
            if (found != spelledKeys.end() && !found->second.modifiers.empty()) {
                decomposition[position] = found->second;
                break;
            }
        }
    }
    // Cores of decompositions may themselves decompose ("13" is "9(13)", "9" is "7(9)"): follow
    // them to the end. Each step goes to a shorter spelling, so the chain ends.
    auto resolved = [&](QualityKey key) {
        for (std::size_t step = 0; step <= index.entries.size() && decomposition[key.core];
             ++step) {
            key = combined(*decomposition[key.core], key.modifiers);
        }
        return key;
    };
    for (const auto& [text, key] : spelledKeys) {
        index.keyByAlias.emplace(text, resolved(key));
    }
    for (std::size_t position = 0; position < index.entries.size(); ++position) {
        auto& entry = index.entries[position];
        entry.key = resolved(QualityKey{position, {}});
        for (const auto& alias : entry.aliases) {
            const auto& key = index.keyByAlias.at(alias);
            if (!key.modifiers.empty()) {
                index.namedByKey.emplace(key, position);
            }
        }
    }
    return index;
}

const QualityIndex& qualityIndex() {
    static const QualityIndex index = buildQualityIndex();
    return index;
}

struct Quality {
    std::string suffix;
    std::vector<Tone> tones;
};

/// The named quality with the same tones and characteristic tones, if there is one.
const QualityIndex::Entry* namedQualityWithMasks(PitchClassMask notes,
                                                 PitchClassMask characteristic) {
    for (const auto& entry : qualityIndex().entries) {
        if (entry.notes == notes && entry.characteristic == characteristic) {
            return &entry;
        }
    }
    return nullptr;
}

/// The named quality without alterations whose own key holds most of `key`'s modifiers (the
/// first in table order among equals; the core itself when none holds any), and the modifiers
/// it leaves: {7; sus4, b9, #11} is 7sus4 and (b9, #11).
std::pair<std::size_t, std::vector<Modifier>> headOfKey(const QualityIndex& index,
                                                        const QualityKey& key) {
    std::size_t head = key.core;
    std::vector<Modifier> rest = key.modifiers;
    std::size_t spelled = 0;
    for (std::size_t position = 0; position < index.entries.size(); ++position) {
        const auto& named = index.entries[position].key;
        if (named.core != key.core || named.modifiers.size() <= spelled ||
            std::any_of(named.modifiers.begin(), named.modifiers.end(),
                        [](const Modifier& m) { return m.kind == Modifier::Kind::Alter; }) ||
            !std::includes(key.modifiers.begin(), key.modifiers.end(), named.modifiers.begin(),
                           named.modifiers.end())) {
            continue;
        }
        head = position;
        spelled = named.modifiers.size();
        rest.clear();
        std::set_difference(key.modifiers.begin(), key.modifiers.end(), named.modifiers.begin(),
                            named.modifiers.end(), std::back_inserter(rest));
    }
    return {head, std::move(rest)};
}

/// The quality a key means: the named quality it spells or that has its tones, or else its core
/// changed by the modifiers, named after the named quality without alterations that spells most
/// of them followed by the others in parentheses ("7sus4(b9,#11)"). None when fewer than two
/// tones are left.
std::optional<Quality> qualityForKey(const QualityKey& key) {
    const auto& index = qualityIndex();
    if (key.modifiers.empty()) {
        const auto& entry = index.entries[key.core];
        return Quality{entry.suffix, entry.tones};
    }
    if (const auto named = index.namedByKey.find(key); named != index.namedByKey.end()) {
        const auto& entry = index.entries[named->second];
        return Quality{entry.suffix, entry.tones};
    }
    auto tones = derivedTones(index, key);
    if (!tones) {
        return std::nullopt;
    }
    if (const auto* named = namedQualityWithMasks(notesMask(*tones), characteristicMask(*tones))) {
        return Quality{named->suffix, named->tones};
    }
    const auto [head, rest] = headOfKey(index, key);
    std::string suffix = index.entries[head].suffix + "(";
    for (std::size_t i = 0; i < rest.size(); ++i) {
        suffix += (i > 0 ? "," : "") + rest[i].text();
    }
    suffix += ")";
    return Quality{std::move(suffix), std::move(*tones)};
}

/// Reads a quality: first as a whole spelling of a named quality, otherwise as the longest
/// named quality that the text begins with, followed by alterations, additions, suspensions or
/// omissions. The result depends only on the quality's key, so neither the order in which the
/// modifiers are written nor their grouping matters.
std::optional<Quality> parseQuality(std::string_view rawText) {
    const auto& index = qualityIndex();
    const std::string text = minorMajorRewritten(normalizedQualityText(rawText));
    if (const auto found = index.byAlias.find(text); found != index.byAlias.end()) {
        const auto& entry = index.entries[found->second];
        return Quality{entry.suffix, entry.tones};
    }
    for (const auto& [alias, position] : index.aliasesLongestFirst) {
        if (!std::string_view(text).starts_with(alias)) {
            continue;
        }
        const auto modifiers = parseModifiers(std::string_view(text).substr(alias.size()));
        if (!modifiers) {
            continue;
        }
        return qualityForKey(combined(index.keyByAlias.at(alias), *modifiers));
    }
    return std::nullopt;
}

/// A root at the front of a chord symbol: the note and the length of its text.
struct Root {
    SNote note;
    std::size_t length;
    int accidentals;
};

/// Reads the root at the front of a chord symbol: a letter and up to `maximumAccidentals`
/// accidentals of one kind. Accidentals right after the letter belong to the root ("Cb5" is a
/// C-flat power chord).
std::optional<Root> parseRoot(std::string_view text, int maximumAccidentals) {
    if (text.empty() || text.front() < 'A' || text.front() > 'G') {
        return std::nullopt;
    }
    std::size_t length = 1;
    int kind = 0;
    int count = 0;
    for (; count < maximumAccidentals; ++count) {
        const auto rest = text.substr(length);
        int accidental = 0;
        std::size_t width = 0;
        if (rest.starts_with('#')) {
            accidental = 1;
            width = 1;
        } else if (rest.starts_with(kUnicodeSharp)) {
            accidental = 1;
            width = kUnicodeSharp.size();
        } else if (rest.starts_with('b')) {
            accidental = -1;
            width = 1;
        } else if (rest.starts_with(kUnicodeFlat)) {
            accidental = -1;
            width = kUnicodeFlat.size();
        }
        if (accidental == 0 || (kind != 0 && accidental != kind)) {
            break;
        }
        kind = accidental;
        length += width;
    }
    const auto note = SNote::noteWithString(text.substr(0, length));
    if (!note) {
        return std::nullopt;
    }
    return Root{*note, length, count};
}

std::shared_ptr<const SChord> makeChord(const SNote& root, const std::vector<Tone>& tones,
                                        const std::optional<SNote>& bass, std::string symbol,
                                        std::string quality) {
    std::vector<SNote> notes;
    std::vector<bool> characteristic;
    notes.reserve(tones.size() + 1);
    for (const auto& tone : tones) {
        notes.push_back(spellTone(root, tone.number, tone.semitones));
        characteristic.push_back(tone.characteristic);
    }
    if (bass) {
        // The bass must sound, so it is characteristic whether or not it is a chord tone.
        const auto chordTone = std::find_if(notes.begin(), notes.end(), [&](const SNote& note) {
            return note.isEnharmonicallyEquivalentToNote(*bass);
        });
        if (chordTone == notes.end()) {
            notes.push_back(*bass);
            characteristic.push_back(true);
        } else {
            characteristic[static_cast<std::size_t>(chordTone - notes.begin())] = true;
        }
    }
    std::vector<SNote> characteristicNotes;
    for (std::size_t i = 0; i < notes.size(); ++i) {
        if (characteristic[i]) {
            characteristicNotes.push_back(notes[i]);
        }
    }
    return std::make_shared<const SChord>(root, bass, std::move(notes),
                                          std::move(characteristicNotes), std::move(symbol),
                                          std::move(quality));
}

std::optional<int> hexDigitValue(char c) {
    const auto position = kHexDigits.find(c);
    if (position == std::string_view::npos) {
        return std::nullopt;
    }
    return static_cast<int>(position);
}

/// The spelling chord sheets use for a root or bass known only by its pitch class.
SNote conventionalSpelling(int value) {
    static constexpr std::string_view kNames[12] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                                    "F#", "G",  "Ab", "A",  "Bb", "B"};
    return *SNote::noteWithString(kNames[pitchClass(value)]);
}

/// A quality whose tones and characteristic tones, with the bass (`bassBit`, 0 for none), are
/// the given ones: a named quality, or else a named quality with one or two modifiers, fewest
/// modifiers first, in table order.
std::optional<Quality> qualityWithMasks(PitchClassMask notes, PitchClassMask characteristic,
                                        PitchClassMask bassBit) {
    auto matches = [&](const std::vector<Tone>& tones) {
        return (notesMask(tones) | bassBit) == notes &&
               (characteristicMask(tones) | bassBit) == characteristic;
    };
    const auto& entries = qualityIndex().entries;
    for (const auto& entry : entries) {
        if (matches(entry.tones)) {
            return Quality{entry.suffix, entry.tones};
        }
    }
    static const std::vector<Modifier> kCandidates = [] {
        std::vector<Modifier> candidates;
        for (const auto& [number, alteration] :
             {std::pair(5, -1), std::pair(5, 1), std::pair(9, -1), std::pair(9, 1),
              std::pair(11, 1), std::pair(13, -1)}) {
            candidates.push_back(
                {Modifier::Kind::Alter, number, naturalSemitones(number) + alteration});
        }
        for (const int number : {9, 11, 13}) {
            candidates.push_back({Modifier::Kind::Add, number, naturalSemitones(number)});
        }
        for (const int number : {2, 4}) {
            candidates.push_back({Modifier::Kind::Sus, number, naturalSemitones(number)});
        }
        for (const int number : {3, 5}) {
            candidates.push_back({Modifier::Kind::Omit, number, naturalSemitones(number)});
        }
        return candidates;
    }();
    for (int modifierCount = 1; modifierCount <= 2; ++modifierCount) {
        for (const auto& entry : entries) {
            // Each modifier adds at most one tone and takes away at most two (a flat
            // thirteenth replaces the natural thirteenth and the fifth).
            if (std::popcount(static_cast<unsigned>((entry.notes | bassBit) ^ notes)) >
                3 * modifierCount) {
                continue;
            }
            for (std::size_t first = 0; first < kCandidates.size(); ++first) {
                std::vector<Modifier> modifiers{kCandidates[first]};
                for (std::size_t second = first + 1;
                     second <= (modifierCount == 1 ? first + 1 : kCandidates.size() - 1);
                     ++second) {
                    if (modifierCount == 2) {
                        modifiers.resize(1);
                        modifiers.push_back(kCandidates[second]);
                    }
                    if (auto quality = qualityForKey(combined(entry.key, modifiers));
                        quality && matches(quality->tones)) {
                        return quality;
                    }
                }
            }
        }
    }
    return std::nullopt;
}

/// Reads strictly ascending pitch-class digits ("047a").
std::optional<PitchClassMask> parsePitchClassList(std::string_view text) {
    PitchClassMask mask = 0;
    int previous = -1;
    for (const char c : text) {
        const auto value = hexDigitValue(c);
        if (!value || *value <= previous) {
            return std::nullopt;
        }
        mask |= bit(*value);
        previous = *value;
    }
    return mask;
}

std::string pitchClassList(PitchClassMask mask) {
    std::string text;
    for (int value = 0; value < 12; ++value) {
        if ((mask & bit(value)) != 0) {
            text.push_back(kHexDigits[static_cast<std::size_t>(value)]);
        }
    }
    return text;
}

PitchClassMask relativeMask(const SNote& root, const std::vector<SNote>& notes) {
    PitchClassMask mask = 0;
    for (const auto& note : notes) {
        mask |= bit(note.offsetFromNote(root));
    }
    return mask;
}

/// Reads the text written by `numericNoteStringValue`: "root|notes|characteristic|bass".
std::shared_ptr<const SChord> chordWithNumericText(std::string_view text) {
    std::array<std::string_view, 4> fields;
    std::size_t count = 0;
    std::string_view rest = text;
    while (true) {
        const auto separator = rest.find('|');
        if (count == fields.size()) {
            return nullptr;
        }
        fields[count++] = rest.substr(0, separator);
        if (separator == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(separator + 1);
    }
    if (count != fields.size() || fields[0].size() != 1 || fields[3].size() > 1) {
        return nullptr;
    }
    const auto rootValue = hexDigitValue(fields[0].front());
    const auto notes = parsePitchClassList(fields[1]);
    const auto characteristic = parsePitchClassList(fields[2]);
    if (!rootValue || !notes || !characteristic || (*notes & bit(0)) == 0 || fields[1].size() < 2 ||
        (*characteristic & ~*notes) != 0) {
        return nullptr;
    }
    std::optional<int> bassValue;
    if (!fields[3].empty()) {
        bassValue = hexDigitValue(fields[3].front());
        if (!bassValue || (*characteristic & bit(*bassValue)) == 0) {
            return nullptr;
        }
    }
    const SNote root = conventionalSpelling(*rootValue);
    const std::optional<SNote> bass =
        bassValue ? std::optional(conventionalSpelling(*rootValue + *bassValue)) : std::nullopt;
    const PitchClassMask bassBit = bassValue ? bit(*bassValue) : 0;
    if (const auto quality = qualityWithMasks(*notes, *characteristic, bassBit)) {
        auto chord = makeChord(root, quality->tones, bass, std::string(text), quality->suffix);
        if (chord->numericNoteStringValue() == text) {
            return chord;
        }
    }
    // No quality written with at most two modifiers has these tones: keep them as they are,
    // named by their intervals.
    std::vector<Tone> tones;
    std::string quality = "{";
    for (int value = 0; value < 12; ++value) {
        if ((*notes & bit(value)) != 0) {
            tones.push_back({0, value, (*characteristic & bit(value)) != 0});
            quality += (quality.size() > 1 ? "," : "") + std::to_string(value);
        }
    }
    quality += "}";
    auto chord = makeChord(root, tones, bass, std::string(text), std::move(quality));
    return chord->numericNoteStringValue() == text ? chord : nullptr;
}

} // namespace

SChord::SChord(SNote root, std::optional<SNote> addedBase, std::vector<SNote> notes,
               std::vector<SNote> characteristicNotes, std::string symbol, std::string quality)
    : _root(root), _addedBase(addedBase), _notes(std::move(notes)),
      _characteristicNotes(std::move(characteristicNotes)), _symbol(std::move(symbol)),
      _quality(std::move(quality)) {
    // Root, then the tones and the characteristic tones as ascending pitch classes above the
    // root, then the bass above the root: "0|047|047|" for C, "9|037a|037a|a" for Am7/G.
    _numericNoteStringValue.push_back(kHexDigits[_root.noteValue()]);
    _numericNoteStringValue += '|';
    _numericNoteStringValue += pitchClassList(relativeMask(_root, _notes));
    _numericNoteStringValue += '|';
    _numericNoteStringValue += pitchClassList(relativeMask(_root, _characteristicNotes));
    _numericNoteStringValue += '|';
    if (_addedBase) {
        _numericNoteStringValue.push_back(
            kHexDigits[static_cast<std::size_t>(_addedBase->offsetFromNote(_root))]);
    }
}

std::shared_ptr<const SChord> SChord::chordWithString(std::string_view text) {
    if (text.find('|') != std::string_view::npos) {
        return chordWithNumericText(text);
    }
    std::string_view body = text;
    std::optional<SNote> bass;
    // A slash starts a bass only when a note name follows it: "6/9" and "m/maj7" are qualities.
    if (const auto slash = text.rfind('/'); slash != std::string_view::npos && slash > 0) {
        bass = SNote::noteWithString(text.substr(slash + 1));
        if (bass) {
            body = text.substr(0, slash);
        }
    }
    auto root = parseRoot(body, 2);
    if (!root) {
        return nullptr;
    }
    std::optional<Quality> quality;
    // A doubled accidental before the fifth is the root's accidental and an altered fifth:
    // sheets mean F#(#5) by "F##5" and Bb(b5) by "Bbb5", never a power chord on F## or Bbb.
    if (root->accidentals == 2 && body.substr(root->length).starts_with('5')) {
        if (const auto single = parseRoot(body, 1)) {
            quality = parseQuality(body.substr(single->length));
            if (quality) {
                root = single;
            }
        }
    }
    if (!quality) {
        quality = parseQuality(body.substr(root->length));
    }
    if (!quality) {
        return nullptr;
    }
    return makeChord(root->note, quality->tones, bass, std::string(text), quality->suffix);
}

std::optional<std::string> SChord::suggestionForString(std::string_view text) {
    if (chordWithString(text)) {
        return std::nullopt;
    }
    auto isSpace = [](char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r';
    };
    std::string_view trimmed = text;
    while (!trimmed.empty() && isSpace(trimmed.front())) {
        trimmed.remove_prefix(1);
    }
    while (!trimmed.empty() && isSpace(trimmed.back())) {
        trimmed.remove_suffix(1);
    }
    auto capitalised = [](std::string candidate, std::size_t position) {
        if (position < candidate.size() && candidate[position] >= 'a' &&
            candidate[position] <= 'g') {
            candidate[position] = static_cast<char>(candidate[position] - 'a' + 'A');
        }
        return candidate;
    };
    const std::string base(trimmed);
    const auto slash = base.rfind('/');
    const std::string rootCapitalised = capitalised(base, 0);
    std::vector<std::string> candidates{base, rootCapitalised};
    if (slash != std::string::npos) {
        candidates.push_back(capitalised(base, slash + 1));
        candidates.push_back(capitalised(rootCapitalised, slash + 1));
    }
    for (const auto& candidate : candidates) {
        if (candidate != text && chordWithString(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

const std::vector<std::string>& SChord::supportedQualities() {
    return qualityIndex().suffixes;
}

std::string SChord::name() const {
    std::string text = _root.string() + _quality;
    if (_addedBase) {
        text += "/" + _addedBase->string();
    }
    return text;
}

std::string SChord::description() const {
    const std::string chordName = name();
    std::string text = _symbol;
    if (chordName != _symbol) {
        text += " (" + chordName + ")";
    }
    text += ":";
    for (const auto& note : _notes) {
        text += " " + note.string();
    }
    return text;
}

} // namespace tarv
