#pragma once

#include "InChild.h"

#include <QtGlobal>

#include <csignal>

#include <sys/resource.h>

namespace ferrolt {

/// Whether `work` ends the program by qFatal() or a failed assertion. It runs in a forked copy of this
/// process.
template <class Work>
bool isFatal(Work work) {
    const int code = inChild([&] {
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        // QtTest's own handlers would report a failure of the test.
        std::signal(SIGABRT, SIG_DFL);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        work();
        return 0;
    });
    return code == -SIGABRT;
}

}  // namespace ferrolt
