#include "LauncherPrefsModel.h"

#include "LoadProps.h"
#include "MainQueue.h"
#include "SaveProps.h"

#include <QPointer>
#include <QtGlobal>

#include <utility>

namespace ferrolt {

LauncherPrefsModel::LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time)
    : _email(*this, {}),
      _entity(*this, {}),
      _displayName(*this, {}),
      _isSavedSuccessfully(*this, false),
      startServices(std::move(startServices)),
      time(std::move(time)) {
    if (!this->startServices || !this->time)
        qFatal("The settings form was built without the supervisor that it serves.");
}

void LauncherPrefsModel::setEmail(const QString &text) {
    _email.set(text);
}
void LauncherPrefsModel::setEntity(const QString &text) {
    _entity.set(text);
}
void LauncherPrefsModel::setDisplayName(const QString &text) {
    _displayName.set(text);
}

void LauncherPrefsModel::load() {
    _email.set(LoadProps::MinerEmailAddress());
    _entity.set(LoadProps::MinerEntityName());
    _displayName.set(LoadProps::MinerDisplayName());
}

void LauncherPrefsModel::saveAndApply() {
    SaveProps::save(_email, _entity, _displayName);
    _isSavedSuccessfully.set(true);
    MainQueue::async(startServices);
    time->callAfter(successDuration, [model = QPointer(this)] {
        if (model)
            model->_isSavedSuccessfully.set(false);
    });
}

LauncherPrefsModel::StatusLine LauncherPrefsModel::statusLine() const {
    if (_isSavedSuccessfully)
        return StatusLine::Success;
    if (_email.get().isEmpty() || _entity.get().isEmpty())
        return StatusLine::MissingCredentials;
    return StatusLine::None;
}

}  // namespace ferrolt
