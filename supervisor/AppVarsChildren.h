#pragma once

#include "AppVars.h"

#include <QString>

namespace ferrolt {

/// What sets the two children apart for the supervisor. The texts of both are the same but for the name.
struct AppVars::Child {
    QString name;
    LogTarget log;
    Published<std::shared_ptr<Process>, AppVars> AppVars::*process;
    Published<bool, AppVars> AppVars::*isRunning;
    ObserverToken AppVars::*observer;
};

}  // namespace ferrolt
