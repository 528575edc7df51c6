#include "DesktopNotifications.h"

namespace ferrolt {
namespace {

class NoNotifications : public DesktopNotifications {
  public:
    void show(const Notification &, std::function<void()>, std::function<void()>) override {}
};

}  // namespace

std::unique_ptr<DesktopNotifications> DesktopNotifications::ofDesktop() {
    return std::make_unique<NoNotifications>();
}

}  // namespace ferrolt
