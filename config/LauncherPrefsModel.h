#pragma once

#include "Published.h"
#include "TimeSource.h"
#include "WorkQueue.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace ferrolt {

/// The logic of the settings form, without its window: the three identity fields, saving them, and the choice
/// of the status line. What it calls is handed to it; it knows no supervisor.
///
/// Main thread only. `objectWillChange` comes before every change of a field whose name has a leading
/// underscore.
///
/// States: idle --saveAndApply()--> saved (_isSavedSuccessfully) --3 seconds--> idle. Every press has its own
/// reset and none is ever cancelled, so a second press within 3 seconds does not lengthen the first one's.
///
/// A disk that others keep busy can take seconds to write a file through. The saves run on a thread of their
/// own, one after the other, and the main thread waits for them only so long that most are done.
class LauncherPrefsModel : public QObject {
    Q_OBJECT

  public:
    enum class StatusLine { None, Success, MissingCredentials };

    static constexpr std::chrono::seconds successDuration{3};
    /// For how long a press waits for the disk.
    static constexpr std::chrono::milliseconds maxFreeze{500};
    /// For how long the end of the form, which is the program's, waits for a save that is still under way.
    static constexpr std::chrono::seconds maxWaitAtEnd{10};

    /// `startServices` is called on the main thread, once for each press, even when this object has gone by
    /// then: what it holds, it must hold weakly. Both arguments must be there; the program ends otherwise.
    LauncherPrefsModel(std::function<void()> startServices, std::shared_ptr<TimeSource> time);
    ~LauncherPrefsModel() override;

    Published<QString, LauncherPrefsModel> _email;
    Published<QString, LauncherPrefsModel> _entity;
    Published<QString, LauncherPrefsModel> _displayName;
    Published<bool, LauncherPrefsModel> _isSavedSuccessfully;

    // What the user types.
    void setEmail(const QString &text);
    void setEntity(const QString &text);
    void setDisplayName(const QString &text);

    /// Fills the fields from the client configuration, each time the form is shown. Typed text that was not
    /// saved is lost. While a save is under way the fields stay: the file does not yet hold what they show.
    void load();

    /// The button: saves the fields as they are, shows success whatever became of the save, which does not
    /// tell, and asks for a service start as soon as the file has been written.
    void saveAndApply();

    /// Fields are tested as they stand: one of blanks only counts as filled until it was saved and loaded
    /// again.
    StatusLine statusLine() const;

  Q_SIGNALS:
    void objectWillChange();

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(); }

    /// Whether all saves are done, within `patience`.
    bool waitForSaves(std::chrono::milliseconds patience) const;

    std::function<void()> startServices;
    std::shared_ptr<TimeSource> time;

    struct Saves;
    std::shared_ptr<Saves> saves;
    WorkQueue saveQueue;
};

}  // namespace ferrolt
