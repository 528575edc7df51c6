#pragma once

#include "LauncherStyle.h"
#include "MainWindow.h"
#include "QtClipboard.h"
#include "Supervision.h"

#include <QAccessible>
#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace ferrolt {

/// The platform for tests has a screen of 800 by 800, hardly larger than the window's least size. To be
/// called before the application object is made.
inline void useLargeScreen() {
    if (qgetenv("QT_QPA_PLATFORM") != "offscreen")
        return;
    static const QTemporaryDir folder;
    const QString screens = folder.filePath("screens.json");
    TestTree::write(screens.toStdString(), R"({"screens": [{"name": "large", "x": 0, "y": 0, "width": 4000,
        "height": 3000, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens.toUtf8());
}

/// The widget that a screen reader knows by that name, among those below `root`.
inline QWidget *named(const QWidget &root, const QString &name) {
    for (QWidget *widget : root.findChildren<QWidget *>()) {
        if (widget->isHidden())
            continue;
        QAccessibleInterface *const known = QAccessible::queryAccessibleInterface(widget);
        if (known && known->text(QAccessible::Name) == name)
            return widget;
    }
    return nullptr;
}

template <class Type>
Type *named(const QWidget &root, const QString &name) {
    return qobject_cast<Type *>(named(root, name));
}

/// The main window over a whole supervisor in a tree of its own.
struct WindowFixture : Supervision {
    QTemporaryDir state;
    std::unique_ptr<MainWindow> window;

    QString stateFile() const { return state.filePath("below/window.json"); }

    WindowFixture() { LauncherStyle::install(); }

    MainWindow &open() {
        if (!vars)
            create();
        window.reset();
        window = std::make_unique<MainWindow>(vars, time, std::make_shared<QtClipboard>(), stateFile());
        show(*window);
        return *window;
    }

    static void show(QWidget &shown) {
        shown.show();
        shown.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&shown));
    }

    ~WindowFixture() { window.reset(); }
};

}  // namespace ferrolt
