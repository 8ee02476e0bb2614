#include "tarv/settings/NoteEntrySettings.hpp"

#include "tarv/settings/TARVPropertyListDecoder.hpp"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

namespace tarv {

namespace {

[[noreturn]] void throwFileError(const std::filesystem::path& path, int error) {
    throw std::filesystem::filesystem_error("cannot read settings file", path,
                                            std::error_code(error, std::generic_category()));
}

std::string contentsOfFile(const std::filesystem::path& path) {
    struct Close {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    errno = 0;
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        throwFileError(path, errno != 0 ? errno : EIO);
    }
    std::string contents;
    char buffer[65536];
    for (;;) {
        const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get());
        contents.append(buffer, count);
        if (count < sizeof buffer) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        throwFileError(path, errno != 0 ? errno : EIO);
    }
    return contents;
}

} // namespace

NoteEntrySettings::NoteEntrySettings(const TARVPropertyListDecoder& decoder)
    : _tablature(decoder.nestedDecoder("tablature")) {}

NoteEntrySettings NoteEntrySettings::load(const std::filesystem::path& path) {
    return decode(contentsOfFile(path));
}

NoteEntrySettings NoteEntrySettings::decode(std::string_view propertyListData) {
    return NoteEntrySettings(TARVPropertyListDecoder::decoderWithData(propertyListData));
}

} // namespace tarv
