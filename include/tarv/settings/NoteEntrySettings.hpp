#pragma once

#include "tarv/settings/TablatureNoteEntrySettings.hpp"

#include <filesystem>
#include <string_view>

namespace tarv {

class TARVPropertyListDecoder;

/// The note entry settings of a host application, read from a property-list file whose root
/// dictionary holds them under "tablature".
class NoteEntrySettings {
public:
    explicit NoteEntrySettings(TablatureNoteEntrySettings tablature)
        : _tablature(std::move(tablature)) {}
    /// Decodes "tablature"; throws TARVSettingsDecodingError.
    explicit NoteEntrySettings(const TARVPropertyListDecoder& decoder);

    /// Reads the XML or binary property list at `path`. Throws std::filesystem::filesystem_error
    /// (with the path and the system's error code) when the file cannot be read or is not a
    /// regular file (a folder, a FIFO, a device: nothing waits on them), and
    /// TARVSettingsDecodingError when its content does not decode.
    static NoteEntrySettings load(const std::filesystem::path& path);
    /// Decodes an XML or binary property list held in memory; throws TARVSettingsDecodingError.
    static NoteEntrySettings decode(std::string_view propertyListData);

    const TablatureNoteEntrySettings& tablature() const noexcept { return _tablature; }

private:
    TablatureNoteEntrySettings _tablature;
};

} // namespace tarv
