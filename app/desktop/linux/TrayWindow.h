#pragma once

#include <QAbstractNativeEventFilter>

#include <functional>

#include <xcb/xcb.h>

namespace ferrolt {

/// Whether an X display has a tray that takes windows in (freedesktop.org's System Tray Protocol 0.3: the
/// owner of the selection _NET_SYSTEM_TRAY_Sn). On other displays, never. Main thread.
class TrayWindow : public QAbstractNativeEventFilter {
  public:
    /// `appeared` is called whenever a new owner announces itself, in the midst of the display's events.
    explicit TrayWindow(std::function<void()> appeared);
    ~TrayWindow() override;

    /// Whether there is one now. Asks the display, and waits for its answer.
    bool isThere() const;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

  private:
    std::function<void()> appeared;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t selection = XCB_ATOM_NONE;
};

}  // namespace ferrolt
