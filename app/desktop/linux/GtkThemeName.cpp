#include "GtkThemeName.h"

#include "MainQueue.h"
#include "X11Display.h"

#include <QByteArrayView>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QtEndian>

#include <utility>

namespace ferrolt {
namespace {

constexpr std::uint32_t maxPropertyWords = 64 * 1024;  // of four bytes, the X protocol's unit

/// Reads the settings one after the other. Any program can write the property: the first malformed setting
/// ends the reading.
class Settings {
  public:
    explicit Settings(QByteArrayView given)
        : bytes(given), isBigEndian(!given.isEmpty() && given.front() == '\1') {}

    QByteArray text(QByteArrayView key) {
        skip(8);  // the byte order and a serial number
        for (std::uint32_t left = number<std::uint32_t>(); left > 0 && isGood; --left) {
            const auto type = number<std::uint8_t>();
            skip(1);
            const QByteArrayView name = padded(number<std::uint16_t>());
            skip(4);  // a serial number
            if (type == integer) {
                skip(4);
            } else if (type == color) {
                skip(8);
            } else if (type == string) {
                const QByteArrayView value = padded(number<std::uint32_t>());
                if (isGood && name == key)
                    return value.toByteArray();
            } else {
                break;
            }
        }
        return {};
    }

  private:
    enum Type : std::uint8_t { integer, string, color };

    QByteArrayView take(std::size_t size) {
        isGood = isGood && size <= static_cast<std::size_t>(bytes.size());
        if (!isGood)
            return {};
        const QByteArrayView taken = bytes.first(static_cast<qsizetype>(size));
        bytes = bytes.sliced(static_cast<qsizetype>(size));
        return taken;
    }
    void skip(std::size_t size) { take(size); }
    QByteArrayView padded(std::size_t size) {
        const QByteArrayView taken = take(size);
        skip((4 - size % 4) % 4);
        return taken;
    }
    template <class Number>
    Number number() {
        const QByteArrayView taken = take(sizeof(Number));
        if (taken.isEmpty())
            return 0;
        return isBigEndian ? qFromBigEndian<Number>(taken.data()) : qFromLittleEndian<Number>(taken.data());
    }

    QByteArrayView bytes;
    bool isBigEndian;
    bool isGood = true;
};

}  // namespace

GtkThemeName::GtkThemeName(std::function<void()> changed) : changed(std::move(changed)) {
    assertMainThread();
    xcb_connection_t *const display = x11Display();
    if (!display)
        return;
    manager = x11Atom(display, "MANAGER");
    // Of screen 0: Qt 6 supports one X screen per program.
    selection = x11Atom(display, "_XSETTINGS_S0");
    property = x11Atom(display, "_XSETTINGS_SETTINGS");
    // A new settings manager announces itself by an event of the root window. Qt has already selected these.
    qGuiApp->installNativeEventFilter(this);
}

GtkThemeName::~GtkThemeName() {
    if (qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

QString GtkThemeName::read() {
    xcb_connection_t *const display = x11Display();
    owner = display ? x11SelectionOwner(display, selection) : xcb_window_t{XCB_WINDOW_NONE};
    if (owner == XCB_WINDOW_NONE)
        return {};
    // A connection has one event mask for each window. Qt may have selected events here too, so this must
    // include the ones that it needs.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(display, owner, XCB_CW_EVENT_MASK, &events);
    const auto request = xcb_get_property(display, 0, owner, property, property, 0, maxPropertyWords);
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(display, request, nullptr),
                                                   &std::free);
    if (!reply || reply->format != 8)
        return {};
    Settings settings(QByteArrayView(static_cast<const char *>(xcb_get_property_value(reply.get())),
                                     xcb_get_property_value_length(reply.get())));
    return QString::fromUtf8(settings.text("Net/ThemeName"));
}

bool GtkThemeName::isDark(const QString &name) {
    static const QRegularExpression darkWord(QStringLiteral("(^|[^a-z])dark([^a-z]|$)"),
                                             QRegularExpression::CaseInsensitiveOption);
    return darkWord.match(name).hasMatch();
}

bool GtkThemeName::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const int type = event->response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto *change = static_cast<const xcb_property_notify_event_t *>(message);
        if (owner != XCB_WINDOW_NONE && change->window == owner && change->atom == property)
            changed();
    } else if (type == XCB_CLIENT_MESSAGE) {
        const auto *announcement = static_cast<const xcb_client_message_event_t *>(message);
        if (announcement->type == manager && announcement->format == 32 &&
            announcement->data.data32[1] == selection)
            changed();
    }
    return false;
}

}  // namespace ferrolt
