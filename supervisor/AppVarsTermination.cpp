#include "AppVars.h"
#include "LibreOfficeInstaller.h"
#include "MainQueue.h"

#include <utility>

namespace ferrolt {

void AppVars::onChildTerminated(const Child &child, Process::Status status) {
    assertMainThread();
    const QString number = QString::number(status);
    appendStatusLine(child.name + QStringLiteral(" terminated with status ") + number + u'\n', child);
    if (isShuttingDown())
        return;
    // Never started again: the cause would most likely end it again, and nobody would see it.
    setStop(Stop::ChildEnded);
    _isPermanentlyStopped.set(true);
    stopAll();
    seams.alerts->present(
        {.style = AlertStyle::Warning,
         .messageText = QStringLiteral("Ferrolt Miner Launcher Stopped"),
         .informativeText =
             child.name + QStringLiteral(" stopped (exit status ") + number +
             QStringLiteral(").\n\nThe Ferrolt Miner Launcher is stopped. You must restart the launcher "
                            "app manually if you wish to retry running the two processes."),
         .button = QStringLiteral("OK")},
        [] {});
}

void AppVars::setStop(Stop next) {
    switch (next) {
        case Stop::None:
            Q_ASSERT(stop == Stop::EngineRestart);
            break;
        case Stop::EngineRestart:
            Q_ASSERT(stop == Stop::None);
            break;
        case Stop::ChildEnded:
        case Stop::FatalError:
        case Stop::Quit:
            Q_ASSERT(!isShuttingDown());
            break;
    }
    stop = next;
}

void AppVars::stopAll() {
    assertMainThread();
    if (!isShuttingDown())
        setStop(Stop::Quit);
    libreOfficeInstaller->stop();  // a running check may still ask for an installation
    for (const Child *child : {&engineChild, &clientChild}) {
        if (const auto process = (this->*child->process).get(); process && process->isRunning())
            process->terminate();
    }
    for (const Child *child : {&engineChild, &clientChild}) {
        if (const ObserverToken observer = std::exchange(this->*child->observer, nullptr))
            observer->detach();
    }
    _lump.set(nullptr);
    _qorcp.set(nullptr);
    _isLumRunning.set(false);
    _isQorClientRunning.set(false);
}

}  // namespace ferrolt
