#include "Updater.h"

#include "DeployConfig.h"
#include "HttpSession.h"
#include "MainQueue.h"

#include <utility>

namespace ferrolt {

Updater::Updater(std::shared_ptr<HttpSession> session, const QString &updateServer)
    : _isUpdateCheckComplete(*this, false),
      _libreOfficeVersion(*this, std::nullopt),
      session(std::move(session)),
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
    const auto hand = [weak = std::weak_ptr(self), handler = std::move(handler)](const QByteArray &body) {
        // Decoded here, on the session's thread: a body may be as long as the session allows.
        auto manifest = std::make_shared<const std::optional<DeployConfig>>(DeployConfig::decode(body));
        MainQueue::async([weak, handler, manifest] {
            if (const auto updater = weak.lock())
                handler(**updater, manifest->has_value() ? &**manifest : nullptr);
        });
    };
    if (!manifestUrl.isValid() || manifestUrl.host().isEmpty()) {
        hand({});
        return;
    }
    session->fetch(manifestUrl, [hand](const HttpReply &reply) { hand(reply.body); });
}

}  // namespace ferrolt
