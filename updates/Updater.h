#pragma once

#include "HttpSession.h"
#include "Published.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace ferrolt {

class DeployConfig;

/// Fetches the deployment manifest: once when the launcher starts, and again whenever the supervisor asks.
/// Failures end a check quietly; whatever decodes as a manifest is used, also below an error status.
///
/// States: unchecked --the end of the start-up check, whatever its result--> checked, in which
/// _isUpdateCheckComplete is true for good.
///
/// Main thread only. `objectWillChange` comes on the main thread before every change of a field whose name
/// has a leading underscore, and every change in a turn of the event loop of its own, never inside a call. A
/// check whose Updater is gone ends without effect. Overlapping checks do no harm, but nothing says whose
/// version stays.
class Updater : public QObject {
    Q_OBJECT

  public:
    /// The manifest's `checkUpdateInterval` in hours, as it was given; nothing if the check failed or the
    /// manifest has none.
    using Completion = std::function<void(std::optional<std::int64_t>)>;

    /// `updateServer` is the server's base URL.
    Updater(HttpConfiguration http, const QString &updateServer);
    ~Updater() override;

    Published<bool, Updater> _isUpdateCheckComplete;
    /// The version that the latest manifest that could be read asks for.
    Published<std::optional<QString>, Updater> _libreOfficeVersion;

    void runInitialCheck();

    /// `completion` is called once, on the main thread, after _libreOfficeVersion was set, and never inside
    /// this call.
    void runPeriodicCheck(Completion completion);

  Q_SIGNALS:
    void objectWillChange();

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(); }

    using ManifestHandler = void(Updater &, const DeployConfig *);
    /// Calls `handler` on the main thread with the manifest, or null. The request has a background thread of
    /// its own: a body of 16 MiB takes long to decode, and Qt asks for the system's proxies where the request
    /// is made.
    void fetchManifest(std::function<ManifestHandler> handler);

    HttpConfiguration http;
    QUrl manifestUrl;
    /// What others hold weakly instead of the Updater, whose owner is not shared.
    std::shared_ptr<Updater *> self;
};

}  // namespace ferrolt
