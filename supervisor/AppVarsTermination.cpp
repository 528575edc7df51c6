#include "AppVars.h"
#include "AppVarsChildren.h"
#include "LibreOfficeInstaller.h"

#include <utility>

namespace ferrolt {

void AppVars::onChildTerminated(const Child &child, Process::Status status) {
    const QString number = QString::number(status);
    appendStatusLine(child.name + QStringLiteral(" terminated with status ") + number + u'\n', child);
    if (isShuttingDown())
        return;
    // A child that ended by itself is never started again: what made it end would only end it again, unseen.
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
    Q_ASSERT(!isShuttingDown());
    Q_ASSERT((next == Stop::None) == (stop == Stop::EngineRestart) || next > Stop::EngineRestart);
    stop = next;
}

void AppVars::stopAll() {
    if (!isShuttingDown())
        setStop(Stop::Quit);
    libreOfficeInstaller->stop();  // a check that began before may still ask for an installation
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
