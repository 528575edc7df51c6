#include "Updater.h"

#include "BackgroundQueue.h"
#include "DeployConfig.h"
#include "MainQueue.h"

#include <QPointer>

#include <utility>

namespace ferrolt {

Updater::Updater(HttpConfiguration http, const QString &updateServer)
    : _isUpdateCheckComplete(*this, false),
      _libreOfficeVersion(*this, std::nullopt),
      http(std::move(http)),
      manifestUrl(updateServer + QStringLiteral("/download/updates/macminerdeploy.json"), QUrl::StrictMode) {}

void Updater::runInitialCheck() {
    fetchManifest([](Updater &updater, const DeployConfig *manifest) {
        if (manifest != nullptr)
            updater._libreOfficeVersion.set(manifest->libreofficeversion);
        if (!updater._isUpdateCheckComplete)
            updater._isUpdateCheckComplete.set(true);
    });
}

void Updater::runPeriodicCheck(Completion completion) {
    fetchManifest([completion = std::move(completion)](Updater &updater, const DeployConfig *manifest) {
        if (manifest != nullptr)
            updater._libreOfficeVersion.set(manifest->libreofficeversion);
        completion(manifest != nullptr ? manifest->checkUpdateInterval : std::nullopt);
    });
}

void Updater::fetchManifest(std::function<ManifestHandler> handler) {
    assertMainThread();
    // Only the main thread destroys the Updater, so only it may look into the pointer.
    const auto deliver = [self = QPointer(this), handler = std::move(handler)](const QByteArray &body) {
        MainQueue::async([self, handler, manifest = DeployConfig::decode(body)] {
            if (self)
                handler(*self, manifest ? &*manifest : nullptr);
        });
    };
    const auto fetch = [url = manifestUrl, http = http, deliver] {
        HttpSession session(http);
        deliver(session.fetchData(url).body);
    };
    const bool isUrl = manifestUrl.isValid() && !manifestUrl.host().isEmpty();
    if (!isUrl || !BackgroundQueue::async(QualityOfService::Default, fetch))
        deliver({});
}

}  // namespace ferrolt
