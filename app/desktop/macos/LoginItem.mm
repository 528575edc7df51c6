#include "LoginItem.h"

#import <ServiceManagement/ServiceManagement.h>

namespace ferrolt {

namespace {

/// The application itself as a login item of the system's settings.
class MainAppService : public LoginItem {
  public:
    State state() const override {
        if (@available(macOS 13.0, *))
            return [[SMAppService mainAppService] status] == SMAppServiceStatusEnabled ? State::On
                                                                                       : State::Off;
        return State::Off;
    }

    std::optional<QString> set(State wanted) override {
        if (state() == wanted)
            return std::nullopt;
        if (@available(macOS 13.0, *)) {
            SMAppService *service = [SMAppService mainAppService];
            NSError *error = nil;
            const BOOL isDone = wanted == State::On ? [service registerAndReturnError:&error]
                                                    : [service unregisterAndReturnError:&error];
            // The user has switched it off in the system's settings, and only the user can allow it again.
            if ([service status] == SMAppServiceStatusRequiresApproval && wanted == State::On)
                return QStringLiteral("It must be allowed in System Settings, under General, Login Items.");
            if (isDone)
                return std::nullopt;
            return QString::fromUtf8([[error localizedDescription] UTF8String]);
        }
        return QStringLiteral("This needs macOS 13 or later.");
    }
};

}  // namespace

std::unique_ptr<LoginItem> LoginItem::ofUser() {
    return std::make_unique<MainAppService>();
}

}  // namespace ferrolt
