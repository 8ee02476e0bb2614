#include "tarv/settings/NoteEntrySettings.hpp"

#include "tarv/settings/TARVPropertyListDecoder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
    // Opened without blocking, so that a FIFO or a device is refused instead of waited on; only
    // a regular file is read.
    errno = 0;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        throwFileError(path, errno != 0 ? errno : EIO);
    }
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        const int error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        ::close(descriptor);
        throwFileError(path, error);
    }
    const std::unique_ptr<std::FILE, Close> file(::fdopen(descriptor, "rb"));
    if (!file) {
        const int error = errno != 0 ? errno : EIO;
        ::close(descriptor);
        throwFileError(path, error);
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
