#pragma once

#include <QSize>
#include <QString>

namespace ferrolt {

/// What the main window remembers from one run to the next, kept in a JSON file.
struct WindowState {
    QSize size{1000, 640};  ///< logical pixels, of the window when it is not maximized
    bool isMaximized = false;
    int sidebarWidth = 200;      ///< logical pixels
    double upperLogShare = 0.5;  ///< of the height, from 0 to 1

    bool operator==(const WindowState &) const = default;

    /// The defaults above stand for a missing file and for each value that is missing or out of range.
    static WindowState load(const QString &file);

    /// Replaces the file, and creates its folder if needed. A failure is ignored: only a size is lost. Waits
    /// for the disk.
    void save(const QString &file) const;
};

}  // namespace ferrolt
