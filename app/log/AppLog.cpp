#include "app/log/AppLog.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/systemd_sink.h>
#include <spdlog/spdlog.h>

#include <filesystem>
#include <memory>

namespace velmora::AppLog {
namespace {

constexpr const char* subsystem = "dev.velmora.brisklane";

spdlog::logger& logger() {
    // Never destroyed: threads may still log while the process ends.
    static auto* const shared = [] {
        std::shared_ptr<spdlog::sinks::sink> sink;
        std::error_code missing;
        if (std::filesystem::is_socket("/run/systemd/journal/socket", missing)) {
            sink = std::make_shared<spdlog::sinks::systemd_sink_mt>(subsystem);
        } else {
            sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
            sink->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %l %v");
        }
        return new std::shared_ptr<spdlog::logger>(  // NOLINT(cppcoreguidelines-owning-memory)
            std::make_shared<spdlog::logger>(subsystem, std::move(sink)));
    }();
    return **shared;
}

}  // namespace

void Channel::info(std::string_view message) const {
    logger().info("[{}] {}", category_, message);
}

void Channel::error(std::string_view message) const {
    logger().error("[{}] {}", category_, message);
}

}  // namespace velmora::AppLog
