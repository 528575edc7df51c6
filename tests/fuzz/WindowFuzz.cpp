#include "AppVars.h"
#include "ContentView.h"
#include "Expect.h"
#include "FuzzInput.h"
#include "LauncherStyle.h"
#include "LogTextArea.h"
#include "MainWindow.h"
#include "PaneSplitter.h"
#include "QtClipboard.h"
#include "RecordingAlerts.h"
#include "Sidebar.h"
#include "TimeSource.h"

#include <QApplication>
#include <QFile>
#include <QScreen>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

using namespace ferrolt;

namespace {

/// A desktop and a supervisor that has started nothing, for the life of the process. Only the folder goes at
/// its end: Qt crashes when an application object is destroyed as late as that.
class Desktop {
  public:
    Desktop() {
        QApplication::setQuitOnLastWindowClosed(false);
        LauncherStyle::install();
        Seams seams(std::make_shared<RecordingAlerts>());
        const std::filesystem::path root = folder.path().toStdString();
        seams.paths.root = seams.paths.home = seams.paths.executableFolder = root;
        seams.paths.resources = seams.paths.developmentFolder = root;
        seams.settings = std::make_shared<SettingsStore>(root / "settings.json");
        seams.servers.updateServer.clear();
        vars = std::make_shared<AppVars>(std::move(seams));
        vars->selectTab(AppVars::homeTab);  // that of the logs, also without an identity
    }

    QString stateFile() const { return folder.filePath(QStringLiteral("window.json")); }

    std::unique_ptr<MainWindow> window() const {
        auto made =
            std::make_unique<MainWindow>(vars, systemTime(), std::make_shared<QtClipboard>(), stateFile());
        made->show();
        QCoreApplication::processEvents();
        return made;
    }

  private:
    /// A screen that leaves the window some room; the platform's own is as small as the least window.
    static char **arguments(const QTemporaryDir &folder) {
        QFile screens(folder.filePath(QStringLiteral("screens.json")));
        expect(screens.open(QIODevice::WriteOnly));
        screens.write(R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": 1600, "height": 1000,
            "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens.fileName().toUtf8());
        static std::array<char, 5> name{"fuzz"};
        static std::array<char *, 2> all{name.data(), nullptr};
        return all.data();
    }

    const QTemporaryDir folder;
    int argc = 1;
    QApplication *const application = new QApplication(argc, arguments(folder));
    std::shared_ptr<AppVars> &vars = *new std::shared_ptr<AppVars>;
};

/// Everything of the window can be seen and its edges can be reached, so that a user can change what is
/// wrong. Returns where the dividers leave the logs.
QList<QRect> checkReachable(MainWindow &window) {
    const QRect screen = window.screen()->availableGeometry();
    expect(window.isVisible() && screen.contains(window.geometry()));
    expect(window.width() >= ContentView::minimumWidth && window.height() >= ContentView::minimumHeight);
    const int sidebar = window.content()->sidebarWidth();
    expect(sidebar >= Sidebar::minimumColumnWidth && sidebar <= Sidebar::maximumColumnWidth);
    QList<QRect> logs;
    for (const LogTextArea *const log : window.findChildren<LogTextArea *>()) {
        const QRect area(log->mapTo(&window, QPoint()), log->size());
        expect(log->isVisible() && area.width() > 400 && area.height() > 40 && window.rect().contains(area));
        logs.append(area);
    }
    expect(logs.size() == 2);
    return logs;
}

WindowState stateFrom(FuzzInput &input) {
    const auto pixels = [&input] {
        const auto number = static_cast<int>(input.below(1U << 24U));
        return input.below(2) == 0 ? number % 2048 : number - (1 << 23);
    };
    WindowState state;
    state.size = {pixels(), pixels()};
    state.isMaximized = input.below(4) == 0;
    state.sidebarWidth = input.below(2) == 0 ? 150 + static_cast<int>(input.below(128)) : pixels();
    state.upperLogShare =
        std::ldexp(static_cast<double>(input.below(1U << 16U)), -static_cast<int>(input.below(64)));
    return state;
}

}  // namespace

/// Opens the main window from any state. It can be reached, and it comes back as it was closed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const Desktop desktop;
    FuzzInput input(data, size);
    stateFrom(input).save(desktop.stateFile());
    const double share = WindowState::load(desktop.stateFile()).upperLogShare;
    auto window = desktop.window();
    const QList<QRect> logs = checkReachable(*window);
    window->close();
    window.reset();
    const WindowState closed = WindowState::load(desktop.stateFile());
    expect(closed.upperLogShare == share);

    window = desktop.window();
    expect(checkReachable(*window) == logs);
    window->saveState();
    expect(WindowState::load(desktop.stateFile()) == closed);
    return 0;
}
