// The cache tests read the shape cache's log, which writes only when its variable is present when
// the log is first asked for: present it from the start, as an empty value. A test that needs the
// variable absent at the start runs in a child process started with TARV_TEST_CACHE_LOG=absent.

#include <cstdlib>
#include <cstring>

namespace {

const bool kLogVariablePrepared = [] {
    const char* mode = std::getenv("TARV_TEST_CACHE_LOG");
    if (mode != nullptr && std::strcmp(mode, "absent") == 0) {
        ::unsetenv("TARV_GUITAR_SHAPE_CACHE_DEBUG");
    } else {
        ::setenv("TARV_GUITAR_SHAPE_CACHE_DEBUG", "", 1);
    }
    return true;
}();

} // namespace
