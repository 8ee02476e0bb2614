#include "tarv/cache/TARVGuitarLog.hpp"

#include <spdlog/sinks/stdout_sinks.h>

#include <cstdlib>
#include <memory>
#include <mutex>

namespace tarv {

spdlog::logger& TARVGuitarLog::shapeCacheLog() {
    static std::once_flag once;
    static std::shared_ptr<spdlog::logger> log;
    std::call_once(once, [] {
        if (std::getenv("TARV_GUITAR_SHAPE_CACHE_DEBUG") != nullptr) {
            log = std::make_shared<spdlog::logger>(
                "TARVGuitar.shapeCache", std::make_shared<spdlog::sinks::stderr_sink_mt>());
            log->set_pattern("%Y-%m-%d %H:%M:%S.%e [TARVGuitar:shapeCache] [%l] %v");
            log->set_level(spdlog::level::info);
        } else {
            log = std::make_shared<spdlog::logger>("TARVGuitar.shapeCache.disabled");
            log->set_level(spdlog::level::off);
        }
    });
    return *log;
}

} // namespace tarv
