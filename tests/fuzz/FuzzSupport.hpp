#pragma once

// Shared by the fuzz targets: a failed check stops the run with a message, as a crash would.

#include <cstdio>
#include <cstdlib>

#define TARV_FUZZ_CHECK(condition, message)                                                        \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d): %s\n", #condition, __FILE__,      \
                         __LINE__, message);                                                       \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
