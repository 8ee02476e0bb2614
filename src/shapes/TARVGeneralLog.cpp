#include "tarv/shapes/TARVGeneralLog.hpp"

#include <spdlog/sinks/stdout_sinks.h>

#include <memory>
#include <mutex>

namespace tarv {

spdlog::logger& TARVGeneralLog::generalLog() {
    static std::once_flag once;
    static std::shared_ptr<spdlog::logger> log;
    std::call_once(once, [] {
        log = std::make_shared<spdlog::logger>("TARVGuitar",
                                               std::make_shared<spdlog::sinks::stderr_sink_mt>());
        log->set_pattern("%Y-%m-%d %H:%M:%S.%e [TARVGuitar] [%l] %v");
        log->set_level(spdlog::level::info);
    });
    return *log;
}

} // namespace tarv
