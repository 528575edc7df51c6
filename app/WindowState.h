#pragma once

#include <QSize>
#include <QString>

namespace ferrolt {

/// What the main window remembers from one run to the next. A file that is missing or makes no sense gives
/// the initial values, and one that cannot be written is let be: nothing is lost but a size.
struct WindowState {
    QSize size{1000, 640};  ///< logical pixels, of the window when it is not maximized
    bool isMaximized = false;
    int sidebarWidth = 200;      ///< logical pixels
    double upperLogShare = 0.5;  ///< of the height, from 0 to 1

    static WindowState load(const QString &file);
    void save(const QString &file) const;
};

}  // namespace ferrolt
