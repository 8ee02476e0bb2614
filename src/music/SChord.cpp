#include "tarv/music/SChord.hpp"

#include "SChordQualityTable.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdlib>
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
            std::string text(1, kLetterNames[letter]);
            text.append(static_cast<std::size_t>(std::abs(accidental)), accidental > 0 ? '#' : 'b');
            if (const auto note = SNote::noteWithString(text)) {
                return *note;
            }
        }
    }
    return SNote::noteWithValue(target);
}

/// Rewrites the typographic variants that chord sheets use for the same signs.
std::string normalizedQualityText(std::string_view text) {
    static constexpr std::pair<std::string_view, std::string_view> kReplacements[] = {
        {kUnicodeSharp, "#"}, {kUnicodeFlat, "b"},
        {"\u2070", "\u00B0"}, // superscript zero for the degree sign
        {"\u00BA", "\u00B0"}, // masculine ordinal indicator for the degree sign
        {"\u25B3", "\u0394"}, // white up-pointing triangle for the Greek capital delta
        {"\u2212", "-"},      // minus sign
    };
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
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

/// The compiled quality table in the form the parser uses.
struct QualityIndex {
    struct Entry {
        std::string suffix;
        std::vector<Tone> tones;
        PitchClassMask notes = 0;
        PitchClassMask characteristic = 0;
    };
    std::vector<Entry> entries;
    std::vector<std::string> suffixes;
    std::unordered_map<std::string, std::size_t> byAlias;
    /// Every alias with its entry, longest first: the candidates for the head of a quality
    /// that is followed by alterations.
    std::vector<std::pair<std::string, std::size_t>> aliasesLongestFirst;
};

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

QualityIndex buildQualityIndex() {
    QualityIndex index;
    for (const auto& definition : SChordQualityDefinitions()) {
        QualityIndex::Entry entry;
        entry.suffix = std::string(definition.suffix);
        for (const auto& toneDefinition : definition.tones) {
            const auto degree = parseDegree(toneDefinition.degree);
            const int number = degree ? degree->number : 0;
            // The root stays characteristic even where rootless voicings are common.
            entry.tones.push_back({number, toneDefinition.semitones,
                                   !toneDefinition.omittable || toneDefinition.semitones == 0});
        }
        entry.notes = notesMask(entry.tones);
        entry.characteristic = characteristicMask(entry.tones);
        const std::size_t position = index.entries.size();
        for (const auto alias : definition.aliases) {
            auto normalized = normalizedQualityText(alias);
            index.byAlias.emplace(normalized, position);
            index.aliasesLongestFirst.emplace_back(std::move(normalized), position);
        }
        index.suffixes.push_back(entry.suffix);
        index.entries.push_back(std::move(entry));
    }
    std::stable_sort(index.aliasesLongestFirst.begin(), index.aliasesLongestFirst.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
    return index;
}

const QualityIndex& qualityIndex() {
    static const QualityIndex index = buildQualityIndex();
    return index;
}

/// An alteration, addition, suspension or omission written after a quality ("b9", "add11",
/// "sus4", "no5"), alone or in parentheses.
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
};

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
        if (!consumeNumber(text, number) || (number != 2 && number != 4 && number != 6 &&
                                             number != 9 && number != 11 && number != 13)) {
            return std::nullopt;
        }
        return Modifier{Modifier::Kind::Add, number, naturalSemitones(number) + alteration};
    }
    if (text.starts_with("sus")) {
        text.remove_prefix(3);
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
            text.remove_prefix(1);
            if (!consumeNumber(text, number) ||
                (number != 5 && number != 9 && number != 11 && number != 13)) {
                return std::nullopt;
            }
            return Modifier{Modifier::Kind::Alter, number, naturalSemitones(number) + alteration};
        }
    }
    if (insideParentheses && consumeNumber(text, number) &&
        (number == 2 || number == 4 || number == 6 || number == 9 || number == 11 ||
         number == 13)) {
        return Modifier{Modifier::Kind::Add, number, naturalSemitones(number)};
    }
    return std::nullopt;
}

/// Reads the modifiers that follow a quality: "b9#11", "(b9,#11)", "(b9 #11)", "b9(#11)".
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
        } else if (c == ' ' && insideParentheses) {
            text.remove_prefix(1);
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
    switch (modifier.kind) {
    case Modifier::Kind::Alter:
        // An altered tone replaces the natural one: b9 replaces the 9th, #5 the 5th.
        removeIf([&](const Tone& tone) {
            return sameDegreeFamily(tone.number, modifier.number) &&
                   tone.semitones == naturalSemitones(tone.number);
        });
        tones.push_back({modifier.number, modifier.semitones, true});
        break;
    case Modifier::Kind::Add:
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

struct Quality {
    std::string suffix;
    std::vector<Tone> tones;
};

/// A named quality changed by modifiers, applied in a fixed order so that their written order
/// does not matter. The suffix is the named quality's followed by the modifiers in parentheses.
/// No quality when fewer than two tones are left.
std::optional<Quality> applyModifiers(const QualityIndex::Entry& base,
                                      std::vector<Modifier> modifiers) {
    std::stable_sort(modifiers.begin(), modifiers.end(), [](const Modifier& a, const Modifier& b) {
        return a.sortKey() < b.sortKey();
    });
    modifiers.erase(std::unique(modifiers.begin(), modifiers.end()), modifiers.end());
    std::vector<Tone> tones = base.tones;
    for (const auto& modifier : modifiers) {
        applyModifier(tones, modifier);
    }
    normalizeTones(tones);
    if (tones.size() < 2) {
        return std::nullopt;
    }
    std::string suffix = base.suffix + "(";
    for (std::size_t i = 0; i < modifiers.size(); ++i) {
        suffix += (i > 0 ? "," : "") + modifiers[i].text();
    }
    suffix += ")";
    return Quality{std::move(suffix), std::move(tones)};
}

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

/// Reads a quality: first as a whole spelling of a named quality, otherwise as the longest
/// named quality that the text begins with, followed by alterations, additions, suspensions or
/// omissions. Those are applied in a fixed order, so their written order does not matter.
std::optional<Quality> parseQuality(std::string_view rawText) {
    const auto& index = qualityIndex();
    const std::string text = normalizedQualityText(rawText);
    if (const auto found = index.byAlias.find(text); found != index.byAlias.end()) {
        const auto& entry = index.entries[found->second];
        return Quality{entry.suffix, entry.tones};
    }
    for (const auto& [alias, position] : index.aliasesLongestFirst) {
        if (!std::string_view(text).starts_with(alias)) {
            continue;
        }
        auto modifiers = parseModifiers(std::string_view(text).substr(alias.size()));
        if (!modifiers) {
            continue;
        }
        auto quality = applyModifiers(index.entries[position], std::move(*modifiers));
        if (!quality) {
            return std::nullopt;
        }
        if (const auto* named = namedQualityWithMasks(notesMask(quality->tones),
                                                      characteristicMask(quality->tones))) {
            return Quality{named->suffix, named->tones};
        }
        return quality;
    }
    return std::nullopt;
}

/// Reads the root at the front of a chord symbol: a letter and up to two accidentals of one
/// kind. Accidentals right after the letter belong to the root ("Cb5" is a C-flat power chord).
std::optional<std::pair<SNote, std::size_t>> parseRoot(std::string_view text) {
    if (text.empty() || text.front() < 'A' || text.front() > 'G') {
        return std::nullopt;
    }
    std::size_t length = 1;
    int kind = 0;
    for (int count = 0; count < 2; ++count) {
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
    return std::pair(*note, length);
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
            // Each modifier adds at most one tone and takes away at most one.
            if (std::popcount(static_cast<unsigned>((entry.notes | bassBit) ^ notes)) >
                2 * modifierCount) {
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
                    if (auto quality = applyModifiers(entry, modifiers);
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
    const auto root = parseRoot(body);
    if (!root) {
        return nullptr;
    }
    const auto quality = parseQuality(body.substr(root->second));
    if (!quality) {
        return nullptr;
    }
    return makeChord(root->first, quality->tones, bass, std::string(text), quality->suffix);
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
