#include "LauncherPrefsModel.h"

#include "LoadProps.h"
#include "MainQueue.h"
#include "PathResolvers.h"
#include "ReverseDomain.h"
#include "SaveProps.h"

#include <QPointer>
#include <QtGlobal>

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

namespace ferrolt {

/// Shared with the thread that saves, which may outlive the form.
struct LauncherPrefsModel::Saves {
    std::mutex mutex;
    std::condition_variable changed;
    int underWay = 0;
};

LauncherPrefsModel::LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time)
    : _email(*this, {}),
      _entity(*this, {}),
      _displayName(*this, {}),
      _isSavedSuccessfully(*this, false),
      startServices(std::move(startServices)),
      time(std::move(time)),
      saves(std::make_shared<Saves>()),
      saveQueue(std::string(reverseDomain) + ".save-identity", QualityOfService::Default) {
    if (!this->startServices || !this->time)
        qFatal("The settings form was built without the supervisor that it serves.");
}

LauncherPrefsModel::~LauncherPrefsModel() {
    waitForSaves(maxWaitAtEnd);
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

bool LauncherPrefsModel::waitForSaves(std::chrono::milliseconds patience) const {
    std::unique_lock lock(saves->mutex);
    return saves->changed.wait_for(lock, patience, [&] { return saves->underWay == 0; });
}

void LauncherPrefsModel::load() {
    if (!waitForSaves(std::chrono::milliseconds::zero()))
        return;
    _email.set(LoadProps::MinerEmailAddress());
    _entity.set(LoadProps::MinerEntityName());
    _displayName.set(LoadProps::MinerDisplayName());
}

void LauncherPrefsModel::saveAndApply() {
    const auto save = [saves = saves, email = _email.get(), entity = _entity.get(),
                       displayName = _displayName.get(), startServices = startServices] {
        SaveProps::save(email, entity, displayName);
        MainQueue::async(startServices);
        std::lock_guard lock(saves->mutex);
        --saves->underWay;
        saves->changed.notify_all();
    };
    clientConfigurationPath();  // cached from now on: the other thread must not be the first to ask for it
    {
        std::lock_guard lock(saves->mutex);
        ++saves->underWay;
    }
    if (!saveQueue.async(save))
        save();  // the system has no thread to spare, so this one waits for the disk
    waitForSaves(maxFreeze);
    _isSavedSuccessfully.set(true);
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
