#include "WalkDownloads.h"

#include "InstallationScene.h"

#include <QUrl>

#include <vector>

namespace ferrolt {

namespace fs = std::filesystem;

class WalkDownloads::Tools : public ToolRunner {
  public:
    explicit Tools(const WalkDownloads &downloads) : downloads(downloads) {}

    bool runTool(const fs::path & /*executable*/, const std::vector<std::string> &arguments,
                 const Progress & /*progress*/) override {
        if (arguments.size() < 4 || arguments[0] != "attach")
            return true;
        if (downloads.outcome == Outcome::MountFails)
            return false;
        return fs::create_directories(fs::path(arguments[3]) / "LibreOffice.app");
    }

    std::string missingProgram() const override {
        return downloads.outcome == Outcome::ToolIsMissing ? "7z" : "";
    }

  private:
    const WalkDownloads &downloads;
};

class WalkDownloads::Prompt : public PrivilegedCopy {
  public:
    explicit Prompt(WalkDownloads &downloads) : downloads(downloads) {}

    bool privilegedCopy(const fs::path & /*source*/, const fs::path &destination) override {
        if (downloads.outcome == Outcome::PromptIsRefused)
            return false;
        ++downloads.promptsAnswered;
        std::error_code isThere;
        fs::create_directories(destination, isThere);
        return true;
    }

  private:
    WalkDownloads &downloads;
};

const char *WalkDownloads::nameOf(Outcome outcome) {
    static constexpr std::array names{"installed",   "a tool is missing", "no Metalink file",
                                      "wrong image", "mounting fails",    "the prompt is refused"};
    return names.at(static_cast<std::size_t>(outcome));
}

WalkDownloads::WalkDownloads()
    : tools(std::make_shared<Tools>(*this)), prompt(std::make_shared<Prompt>(*this)) {
    const QByteArray image(1'000'001, 'x');  // the smallest that is taken for one
    const QString digest = InstallationScene::sha256(image);
    server.on(QStringLiteral("/image"), [this, image](TestExchange &exchange) {
        exchange.reply(200, outcome == Outcome::WrongImage ? QByteArray(image).replace(0, 1, "y") : image);
    });
    const QByteArray metalink =
        InstallationScene::metalink({server.url(QStringLiteral("/image")).toString()}, digest);
    for (const char *version : versions)
        server.on(InstallationScene::metalinkPath(QString::fromLatin1(version)),
                  [this, metalink](TestExchange &exchange) {
                      exchange.reply(outcome == Outcome::NoMetalink ? 404 : 200, metalink);
                  });
    server.on(QStringLiteral("/download/updates/macminerdeploy.json"), [this](TestExchange &exchange) {
        Manifest current;
        {
            std::lock_guard lock(mutex);
            current = manifest;
            answered = manifest.isOne ? manifest.interval : std::nullopt;
        }
        if (!current.isOne)
            return exchange.reply(503, "sorry");
        QByteArray json = "{\"generation\": 1";
        if (current.interval)
            json += ", \"checkUpdateInterval\": " + QByteArray::number(qint64(*current.interval));
        if (current.version)
            json += ", \"libreofficeversion\": \"" + *current.version + '"';
        exchange.reply(200, json + '}');
    });
}

void WalkDownloads::connectTo(Seams &seams) const {
    seams.servers.updateServer = server.base();
    seams.servers.libreOfficeServer = server.base();
    seams.tools = tools;
    seams.privilegedCopy = prompt;
}

void WalkDownloads::publish(const Manifest &next) {
    server.forgetRequests();
    std::lock_guard lock(mutex);
    manifest = next;
}

std::optional<std::int64_t> WalkDownloads::intervalAnswered() const {
    std::lock_guard lock(mutex);
    return answered;
}

}  // namespace ferrolt
