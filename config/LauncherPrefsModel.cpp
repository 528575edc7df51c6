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

/// Shared with the thread that saves, which may live longer than the form.
struct LauncherPrefsModel::Saves {
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0;
};

LauncherPrefsModel::LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time)
    : startServices(std::move(startServices)),
      time(std::move(time)),
      saves(std::make_shared<Saves>()),
      saveQueue(std::string(reverseDomain) + ".save-identity", QualityOfService::Default) {
    if (!this->startServices || !this->time)
        qFatal("The settings form was built without the supervisor that it serves.");
}

LauncherPrefsModel::~LauncherPrefsModel() {
    waitForSaves(maxWaitAtEnd);
}

bool LauncherPrefsModel::waitForSaves(std::chrono::milliseconds timeout) const {
    std::unique_lock lock(saves->mutex);
    return saves->changed.wait_for(lock, timeout, [&] { return saves->running == 0; });
}

void LauncherPrefsModel::load() {
    assertMainThread();
    if (!waitForSaves(std::chrono::milliseconds::zero()))
        return;
    _email = LoadProps::MinerEmailAddress();
    _entity = LoadProps::MinerEntityName();
    _displayName = LoadProps::MinerDisplayName();
}

void LauncherPrefsModel::saveAndApply() {
    assertMainThread();
    const auto save = [saves = saves, email = _email, entity = _entity, displayName = _displayName,
                       startServices = startServices] {
        SaveProps::save(email, entity, displayName);
        MainQueue::async(startServices);
        std::lock_guard lock(saves->mutex);
        --saves->running;
        saves->changed.notify_all();
    };
    clientConfigurationPath();  // computes and caches it: the first call must be on the main thread
    {
        std::lock_guard lock(saves->mutex);
        ++saves->running;
    }
    if (!saveQueue.async(save))
        save();  // the system has no thread to give, so the main thread waits for the disk
    waitForSaves(maxFreeze);
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
