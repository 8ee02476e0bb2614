#include "SettingsReading.hpp"

#include "InputReading.hpp"

#include "tarv/cache/TARVChordShapeCache.hpp"
#include "tarv/settings/TARVSettingsConversions.hpp"
#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <algorithm>
#include <cctype>
#include <vector>

namespace tarv::tool {

namespace {

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

bool sameNameIgnoringCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

/// The element of `items` named `name`: the one spelled exactly so, else the first that differs
/// only in case.
template <typename Item, typename NameOf>
const Item* named(const std::vector<Item>& items, const std::string& name, NameOf nameOf) {
    const auto exact = std::find_if(items.begin(), items.end(),
                                    [&](const Item& item) { return nameOf(item) == name; });
    if (exact != items.end()) {
        return &*exact;
    }
    const auto loose = std::find_if(items.begin(), items.end(), [&](const Item& item) {
        return sameNameIgnoringCase(nameOf(item), name);
    });
    return loose != items.end() ? &*loose : nullptr;
}

template <typename Item, typename NameOf>
std::string nameList(const std::vector<Item>& items, NameOf nameOf) {
    std::string text;
    for (const Item& item : items) {
        text += (text.empty() ? "" : ", ") + quoted(nameOf(item));
    }
    return text;
}

const StringedInstrumentDescriptor& chosenInstrument(const NoteEntrySettings& settings,
                                                     const std::filesystem::path& path,
                                                     const std::optional<std::string>& name) {
    const auto& instruments = settings.tablature().instruments();
    const auto nameOf = [](const StringedInstrumentDescriptor& item) {
        return item.name();
    };
    if (instruments.empty()) {
        throw InputError("the settings file " + quoted(path.string()) + " has no instruments");
    }
    if (!name) {
        return instruments.front();
    }
    const StringedInstrumentDescriptor* instrument = named(instruments, *name, nameOf);
    if (instrument == nullptr) {
        throw InputError("the settings file " + quoted(path.string()) + " has no instrument " +
                         quoted(*name) + " (it has " + nameList(instruments, nameOf) + ")");
    }
    return *instrument;
}

const StringedInstrumentTuningDescriptor&
chosenTuning(const StringedInstrumentDescriptor& instrument,
             const std::optional<std::string>& name) {
    const auto& tunings = instrument.tunings();
    const auto nameOf = [](const StringedInstrumentTuningDescriptor& item) {
        return item.tuningName();
    };
    if (tunings.empty()) {
        throw InputError("the instrument " + quoted(instrument.name()) + " has no tunings");
    }
    if (!name) {
        return tunings.front();
    }
    const StringedInstrumentTuningDescriptor* tuning = named(tunings, *name, nameOf);
    if (tuning == nullptr) {
        throw InputError("the instrument " + quoted(instrument.name()) + " has no tuning " +
                         quoted(*name) + " (it has " + nameList(tunings, nameOf) + ")");
    }
    return *tuning;
}

/// Throws InputError for the values that `tuningWithDescriptor` would stop the process on.
void checkConvertible(const StringedInstrumentTuningDescriptor& tuning,
                      const StringedInstrumentDescriptor& instrument, std::int64_t capo) {
    if (capo < 0 || capo > 255) {
        throw InputError("--capo " + std::to_string(capo) + " is outside 0 to 255");
    }
    if (const auto problem =
            problemWithDescriptor(tuning, instrument, capo, kMaximumTuningStrings)) {
        throw InputError(*problem);
    }
}

} // namespace

std::filesystem::path defaultSettingsPath() {
    return std::filesystem::path(TARVChordShapeCache::resourceDirectory()) / "settings" /
           "instruments.plist";
}

NoteEntrySettings loadSettings(const std::filesystem::path& path) {
    try {
        return NoteEntrySettings::load(path);
    } catch (const std::filesystem::filesystem_error& error) {
        throw InputError("cannot read the settings file " + quoted(path.string()) + ": " +
                         error.code().message());
    } catch (const TARVSettingsDecodingError& error) {
        throw InputError("the settings file " + quoted(path.string()) +
                         " does not decode: " + error.what());
    }
}

ChosenTuning tuningForChoice(const InstrumentChoice& choice) {
    const std::filesystem::path path = choice.settingsPath.value_or(defaultSettingsPath());
    const NoteEntrySettings settings = loadSettings(path);
    const StringedInstrumentDescriptor& listed =
        chosenInstrument(settings, path, choice.instrument);
    const StringedInstrumentTuningDescriptor& tuning = chosenTuning(listed, choice.tuning);
    const StringedInstrumentDescriptor instrument =
        choice.fretCount ? StringedInstrumentDescriptor(listed.name(), *choice.fretCount,
                                                        listed.capos(), listed.tunings())
                         : listed;
    const std::int64_t capo = choice.capo.value_or(0);
    checkConvertible(tuning, instrument, capo);
    return {tuningWithDescriptor(tuning, instrument, capo), instrument.name()};
}

} // namespace tarv::tool
