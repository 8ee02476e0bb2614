#pragma once

#include <spdlog/logger.h>

namespace tarv {

/// The log of the shape cache: subsystem "TARVGuitar", category "shapeCache".
///
/// Made on the first request. It writes only when the environment variable
/// TARV_GUITAR_SHAPE_CACHE_DEBUG is present at that moment (an empty value counts); otherwise it
/// is a disabled logger that drops everything, whatever is set later.
class TARVGuitarLog {
public:
    TARVGuitarLog() = delete;

    static spdlog::logger& shapeCacheLog();
};

} // namespace tarv
