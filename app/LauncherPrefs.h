#pragma once

#include "LauncherPrefsModel.h"

#include <QWidget>

#include <functional>
#include <memory>

namespace ferrolt {

class StatusLine;
class TextField;
class TimeSource;

/// The settings form: the miner's identity in three fields, a button that saves it, and a line that says that
/// it was saved or what is missing. Each time the form is shown the fields are loaded from the file; unsaved
/// edits are lost. In a window that appears with the form, the e-mail field has the focus. Main thread.
class LauncherPrefs : public QWidget {
    Q_OBJECT

  public:
    /// `startServices` is called on the main thread, from the event loop after each press of the button.
    LauncherPrefs(std::function<void()> startServices, std::shared_ptr<TimeSource> time,
                  QWidget *parent = nullptr);

  protected:
    void showEvent(QShowEvent *event) override;

  private:
    QWidget *makeIdentityGroup();
    QWidget *makeApplyGroup();
    TextField *makeField(const QString &placeholder, QString LauncherPrefsModel::*target);
    void showStatusLine();

    LauncherPrefsModel model;
    TextField *email = nullptr;
    TextField *entity = nullptr;
    TextField *displayName = nullptr;
    StatusLine *success = nullptr;
    StatusLine *missingCredentials = nullptr;
    bool isLoading = false;
};

}  // namespace ferrolt
