#include "Updater.h"

#include "BackgroundQueue.h"
#include "DeployConfig.h"
#include "MainQueue.h"

#include <utility>

namespace ferrolt {

Updater::Updater(HttpConfiguration http, const QString &updateServer)
    : _isUpdateCheckComplete(*this, false),
      _libreOfficeVersion(*this, std::nullopt),
      http(std::move(http)),
      manifestUrl(updateServer + QStringLiteral("/download/updates/macminerdeploy.json"), QUrl::StrictMode),
      self(std::make_shared<Updater *>(this)) {}

Updater::~Updater() = default;

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
    const auto deliver = [weak = std::weak_ptr(self), handler = std::move(handler)](const QByteArray &body) {
        auto manifest = std::make_shared<const std::optional<DeployConfig>>(DeployConfig::decode(body));
        MainQueue::async([weak, handler, manifest] {
            if (const auto updater = weak.lock())
                handler(**updater, manifest->has_value() ? &**manifest : nullptr);
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
