#pragma once

#include "HttpSession.h"
#include "Published.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <optional>

namespace ferrolt {

class DeployConfig;

/// Fetches the deployment manifest: once when the launcher starts, then whenever AppVars asks. A failed check
/// is silent. The HTTP status does not matter: any body that decodes as a manifest is used.
///
/// States: unchecked --the initial check ends, with any result--> checked. In checked _isUpdateCheckComplete
/// is true, for the rest of the process.
///
/// Main thread only. `objectWillChange` is emitted before every change of a field with a leading underscore;
/// changes come from the event loop, never inside a call. A check whose Updater was destroyed has no effect.
/// Of overlapping checks the version of the last to end stays.
class Updater : public QObject {
    Q_OBJECT

  public:
    /// The manifest's `checkUpdateInterval` in hours, unchecked; nothing when the check failed or the
    /// manifest has none.
    using Completion = std::function<void(std::optional<std::int64_t>)>;

    /// `updateServer` is the server's base URL.
    Updater(HttpConfiguration http, const QString &updateServer);

    Published<bool, Updater> _isUpdateCheckComplete;
    /// The LibreOffice version that the latest valid manifest names, if any.
    Published<std::optional<QString>, Updater> _libreOfficeVersion;

    void runInitialCheck();

    /// `completion` is called once, on the main thread, after _libreOfficeVersion was set, never inside this
    /// call.
    void runPeriodicCheck(Completion completion);

  Q_SIGNALS:
    void objectWillChange();

  private:
    template <class Value, class Owner>
    friend class Published;
    void announceChange() { Q_EMIT objectWillChange(); }

    using ManifestHandler = void(Updater &, const DeployConfig *);
    /// Calls `handler` on the main thread with the manifest, or null after a failure. Request and decoding
    /// run on a background thread: 16 MiB take long to decode, and Qt looks up the system's proxies on the
    /// thread of the request.
    void fetchManifest(std::function<ManifestHandler> handler);

    const HttpConfiguration http;
    const QUrl manifestUrl;
};

}  // namespace ferrolt
