#pragma once

#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include <vector>

namespace tarv {

class TARVPropertyListDecoder;

/// The tablature part of the note entry settings: the instruments offered ("instruments"), in
/// file order.
class TablatureNoteEntrySettings {
public:
    explicit TablatureNoteEntrySettings(std::vector<StringedInstrumentDescriptor> instruments)
        : _instruments(std::move(instruments)) {}
    /// Decodes "instruments"; throws TARVSettingsDecodingError.
    explicit TablatureNoteEntrySettings(const TARVPropertyListDecoder& decoder);

    const std::vector<StringedInstrumentDescriptor>& instruments() const noexcept {
        return _instruments;
    }

private:
    std::vector<StringedInstrumentDescriptor> _instruments;
};

} // namespace tarv
