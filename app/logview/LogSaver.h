#pragma once

#include "WorkQueue.h"

#include <QByteArray>
#include <QFileDialog>
#include <QObject>
#include <QPointer>
#include <QString>

#include <system_error>
#include <vector>

namespace ferrolt {

class LogBuffer;

/// Saves logs in files that the user chooses: the elements with nothing between them, as the copy button
/// copies them. A file is written off the main thread, and completely or not at all; why not is shown in a
/// message box of the window.
///
/// Main thread.
class LogSaver : public QObject {
    Q_OBJECT

  public:
    /// `window` gets the dialogs and becomes the parent.
    explicit LogSaver(QWidget *window);
    /// Waits for a file that is being written, up to ten seconds for a slow disk.
    ~LogSaver() override;

    /// Asks for a file and proposes one with the name `title`; saves the log as it is when the user has
    /// answered. Does nothing while the dialog is open. `log` must outlive the window.
    void save(const QString &title, const LogBuffer &log);

  Q_SIGNALS:
    void saved(const QString &file);

  private:
    void write(const QString &file, std::vector<QByteArray> pieces);
    void showFailure(const QString &file, const std::error_code &reason);

    QWidget *const window;
    WorkQueue queue;  ///< in order: the last of two saves under one name is the one that stays
    QPointer<QFileDialog> dialog;
};

}  // namespace ferrolt
