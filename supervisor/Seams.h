#pragma once

#include "AlertPresenter.h"
#include "PathRoots.h"
#include "TimeSource.h"

#include <functional>
#include <memory>

namespace ferrolt {

/// What AppVars is handed at construction and a test may replace. Every default is the production value.
struct Seams {
    /// `alerts` must not be null: the windows that show them belong to a room that this one does not know.
    explicit Seams(std::shared_ptr<AlertPresenter> alerts);

    std::shared_ptr<AlertPresenter> alerts;
    PathRoots paths;
    std::shared_ptr<TimeSource> time = systemTime();
    std::function<void()> terminateApplication;
};

}  // namespace ferrolt
