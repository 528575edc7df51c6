#pragma once

#include "LauncherPrefsModel.h"

#include <QWidget>

#include <functional>
#include <memory>

namespace ferrolt {

class StatusLine;
class TextField;
class TimeSource;

/// The settings form: the miner's identity in three fields, the button that saves it and a line that says how
/// that went or what is missing. The fields are loaded anew each time that the form is shown; what was typed
/// and not saved is then lost.
class LauncherPrefs : public QWidget {
    Q_OBJECT

  public:
    /// `startServices` is called on the main thread, soon after each press of the button.
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
