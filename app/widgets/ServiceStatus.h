#pragma once

namespace ferrolt {

enum class ServiceStatus { Stopped, Running };

constexpr ServiceStatus statusOf(bool isRunning) {
    return isRunning ? ServiceStatus::Running : ServiceStatus::Stopped;
}

}  // namespace ferrolt
