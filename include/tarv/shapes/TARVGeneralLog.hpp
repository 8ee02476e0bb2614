#pragma once

#include <spdlog/logger.h>

namespace tarv {

/// The library's general log, for what is worth knowing outside any one subsystem's log (a shape
/// that has no strings, for one). It writes to standard error, one line per message, so that it
/// never mixes into what a program writes to standard output.
class TARVGeneralLog {
public:
    TARVGeneralLog() = delete;

    /// Made on the first request.
    static spdlog::logger& generalLog();
};

} // namespace tarv
