#pragma once

#include "TimeSource.h"
#include "WorkQueue.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace ferrolt {

/// The logic of the settings form, without its window: the three identity fields, saving them, and the choice
/// of the status line. Main thread only.
///
/// States: idle --saveAndApply()--> saved (_isSavedSuccessfully) --3 seconds--> idle. Every press starts a
/// reset of its own, and none is cancelled. So a second press within the 3 seconds does not make them longer.
///
/// Writing a file through to a busy disk can take seconds. The saves run on a thread of their own, one after
/// the other, and the main thread waits for a save only as long as most saves take.
class LauncherPrefsModel : public QObject {
    Q_OBJECT

  public:
    enum class StatusLine { None, Success, MissingCredentials };

    static constexpr std::chrono::seconds successDuration{3};
    /// How long saveAndApply() waits for the disk.
    static constexpr std::chrono::milliseconds maxFreeze{500};
    /// How long the destructor waits for a save that still runs.
    static constexpr std::chrono::seconds maxWaitAtEnd{10};

    /// `startServices` is called on the main thread, once for each saveAndApply(), even after this object was
    /// destroyed: it must hold other objects weakly only. Neither argument may be null; the program ends
    /// otherwise.
    LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time);
    ~LauncherPrefsModel() override;

    // The texts of the fields. The form writes what the user types.
    QString _email;
    QString _entity;
    QString _displayName;

    /// Sets the fields from the client configuration; texts that were not saved are lost. While a save runs
    /// the fields stay as they are, because the file is about to change.
    void load();

    /// Saves the fields unchanged, shows success even if the save fails, and starts the services as soon as
    /// the file was written.
    void saveAndApply();

    /// Depends on the fields and on the time since the last saveAndApply(). Fields are not trimmed here: one
    /// of blanks counts as filled until it was saved and loaded again.
    StatusLine statusLine() const;

  Q_SIGNALS:
    /// statusLine() has changed because of a save or of the time since then.
    void savedSuccessfullyChanged();

  private:
    void setSavedSuccessfully(bool isSaved);

    std::function<void()> startServices;
    std::shared_ptr<TimeSource> time;
    bool _isSavedSuccessfully = false;
    WorkQueue saveQueue;
};

}  // namespace ferrolt
