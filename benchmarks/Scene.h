#pragma once

#include "ContentView.h"
#include "HomeLogView.h"
#include "LauncherStyle.h"
#include "Listener.h"
#include "LogConsoleView.h"
#include "LogTextArea.h"
#include "MainWindow.h"
#include "Measuring.h"
#include "QtClipboard.h"
#include "Supervision.h"

#include <QTemporaryDir>

#include <memory>
#include <string>

namespace ferrolt::bench {

/// The launcher as a user has it before the eyes: the main window over the whole supervisor, which runs two
/// practice children. Both logs are filled to the brim before anything is measured, since a full log is what
/// costs.
struct Scene {
    Listener enginePort;
    Supervision launcher;
    QTemporaryDir state;
    std::unique_ptr<MainWindow> window;

    explicit Scene(const std::string &engine = "silent", const std::string &client = "silent")
        : launcher(engine, client) {
        launcher.tree.writeEnginePort(std::to_string(enginePort.port));
        giveBackFreeMemory();
        AppVars &vars = launcher.create();
        // Children that flood fill their logs in a moment; what they write is then all that is resident.
        // Small blocks take too long for that.
        const auto fillsItself = [](const std::string &behaviour) {
            return behaviour == "flood" || behaviour.starts_with("flood -1 65536") ||
                   behaviour.starts_with("moods");
        };
        if (!fillsItself(engine))
            fill(LogTarget::Lumora, 65536);
        if (!fillsItself(client))
            fill(LogTarget::QorClient, 65536);
        LauncherStyle::install();
        window = std::make_unique<MainWindow>(launcher.vars, launcher.time, std::make_shared<QtClipboard>(),
                                              state.filePath(QStringLiteral("window.json")));
        window->resize(1000, 640);
        vars.startServices();
    }
    ~Scene() { window.reset(); }

    AppVars &vars() const { return *launcher.vars; }
    pid_t engine() const { return vars()._lump.get()->processIdentifier(); }
    pid_t client() const { return vars()._qorcp.get()->processIdentifier(); }
    HomeLogView &home() const { return *window->findChild<HomeLogView *>(); }

    /// Opens the window, waits for both children and lets everything come to rest.
    void open() {
        window->show();
        runUntil([&] { return window->windowHandle()->isExposed(); }, "the launcher's window");
        awaitChildren();
    }
    bool isRunning() const { return vars()._isLumRunning && vars()._isQorClientRunning; }
    void awaitChildren() const {
        runUntil([&] { return vars()._isLumRunning.get(); }, "the engine");
        runUntil([&] { return vars()._isQorClientRunning.get(); }, "the client");
        runFor(std::chrono::milliseconds(700));
    }

    void fill(LogTarget log, qsizetype bytes, int count = 1000) const {
        std::vector<LogElement> elements;
        for (int i = 0; i < count; ++i)
            elements.push_back(element(bytes, i));
        vars().appendLog(std::move(elements), log);
    }

    /// Lines of 100 bytes, the first with a number.
    static LogElement element(qsizetype bytes, int number) {
        LogElement text(bytes, 'x');
        for (qsizetype i = 99; i < bytes; i += 100)
            text[i] = '\n';
        const QByteArray head = "block " + QByteArray::number(number) + ' ';
        return bytes > head.size() ? text.replace(0, head.size(), head) : text;
    }
};

}  // namespace ferrolt::bench
