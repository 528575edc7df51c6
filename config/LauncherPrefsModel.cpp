#include "LauncherPrefsModel.h"

#include "LoadProps.h"
#include "MainQueue.h"
#include "PathResolvers.h"
#include "ReverseDomain.h"
#include "SaveProps.h"

#include <QPointer>
#include <QtGlobal>

#include <string>
#include <utility>

namespace ferrolt {

LauncherPrefsModel::LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time)
    : startServices(std::move(startServices)),
      time(std::move(time)),
      saveQueue(std::string(reverseDomain) + ".save-identity", QualityOfService::Default) {
    if (!this->startServices || !this->time)
        qFatal("The settings form was built without the supervisor that it serves.");
}

LauncherPrefsModel::~LauncherPrefsModel() {
    saveQueue.waitUntilDone(maxWaitAtEnd);
}

void LauncherPrefsModel::load() {
    assertMainThread();
    if (!saveQueue.waitUntilDone(std::chrono::milliseconds::zero()))
        return;
    _email = LoadProps::MinerEmailAddress();
    _entity = LoadProps::MinerEntityName();
    _displayName = LoadProps::MinerDisplayName();
}

void LauncherPrefsModel::saveAndApply() {
    assertMainThread();
    const auto save = [email = _email, entity = _entity, displayName = _displayName,
                       startServices = startServices] {
        SaveProps::save(email, entity, displayName);
        MainQueue::async(startServices);
    };
    clientConfigurationPath();  // computes and caches it: the first call must be on the main thread
    if (!saveQueue.async(save))
        save();  // the system has no thread to give, so the main thread waits for the disk
    saveQueue.waitUntilDone(maxFreeze);
    setSavedSuccessfully(true);
    time->callAfter(successDuration, [model = QPointer(this)] {
        if (model)
            model->setSavedSuccessfully(false);
    });
}

void LauncherPrefsModel::setSavedSuccessfully(bool isSaved) {
    _isSavedSuccessfully = isSaved;
    Q_EMIT savedSuccessfullyChanged();
}

LauncherPrefsModel::StatusLine LauncherPrefsModel::statusLine() const {
    if (_isSavedSuccessfully)
        return StatusLine::Success;
    if (_email.isEmpty() || _entity.isEmpty())
        return StatusLine::MissingCredentials;
    return StatusLine::None;
}

}  // namespace ferrolt
