#include "DesktopTray.h"

#include "NotifierHost.h"
#include "TrayWindow.h"

#include <QObject>

#include <utility>

namespace ferrolt {
namespace {

/// Two kinds of trays are about: one that draws what is told over the session bus, and the older one that
/// takes a window in. The first goes before the second where a desktop has both.
///
/// Qt looks for the first kind once in a program's life, when it is first asked for a tray: so it is not
/// asked before one of the two is there.
class LinuxTray final : public DesktopTray {
  public:
    explicit LinuxTray(std::function<void()> appeared) : appeared(std::move(appeared)) {
        QObject::connect(&host, &NotifierHost::appeared, &host, [this] { tell(); });
        QObject::connect(&host, &NotifierHost::isAbsent, &host, [this] { watchForWindow(); });
        host.watch();
    }

  private:
    void watchForWindow() {
        // Later, since a display's event is no place to make windows in.
        window = std::make_unique<TrayWindow>([this] {
            QMetaObject::invokeMethod(
                &host, [this] { tell(); }, Qt::QueuedConnection);
        });
        if (window->isThere())
            tell();
    }

    void tell() {
        // These two only: the bus has connections of its own to the object.
        QObject::disconnect(&host, &NotifierHost::appeared, nullptr, nullptr);
        QObject::disconnect(&host, &NotifierHost::isAbsent, nullptr, nullptr);
        window.reset();
        if (const auto call = std::exchange(appeared, nullptr))
            call();
    }

    NotifierHost host;
    std::unique_ptr<TrayWindow> window;
    std::function<void()> appeared;
};

}  // namespace

std::unique_ptr<DesktopTray> DesktopTray::watch(std::function<void()> appeared) {
    return std::make_unique<LinuxTray>(std::move(appeared));
}

}  // namespace ferrolt
