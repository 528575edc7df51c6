#include "XClient.h"

#include <QtEndian>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace ferrolt {
namespace {

template <class Type>
using Reply = std::unique_ptr<Type, decltype(&std::free)>;

void append(QByteArray &bytes, std::uint32_t number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

void append(QByteArray &bytes, std::uint16_t number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

void appendPadded(QByteArray &bytes, const QByteArray &text) {
    bytes.append(text);
    bytes.append((4 - text.size() % 4) % 4, '\0');
}

}  // namespace

XClient::XClient(const QString &display)
    : connection(xcb_connect(qPrintable(display), nullptr)),
      screen(xcb_setup_roots_iterator(xcb_get_setup(connection)).data) {}

XClient::~XClient() {
    xcb_disconnect(connection);
}

xcb_atom_t XClient::atom(const char *name) const {
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr),
        &std::free);
    return reply->atom;
}

xcb_window_t XClient::makeWindow(std::uint16_t width, std::uint16_t height) {
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[] = {screen->black_pixel, 1};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    return window;
}

void XClient::send(xcb_window_t about, const char *type, const QList<std::uint32_t> &data,
                   std::uint32_t mask) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = about;
    message.type = atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(connection, 0, screen->root, mask, reinterpret_cast<const char *>(&message));
    xcb_flush(connection);
}

void XClient::coverScreen() {
    cover = makeWindow(screen->width_in_pixels, screen->height_in_pixels);
    xcb_map_window(connection, cover);
    xcb_flush(connection);
}

void XClient::uncoverScreen() {
    xcb_destroy_window(connection, cover);
    xcb_flush(connection);
}

QRect XClient::placeOf(xcb_window_t window) const {
    const Reply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr), &std::free);
    const Reply<xcb_translate_coordinates_reply_t> corner(
        xcb_translate_coordinates_reply(
            connection, xcb_translate_coordinates(connection, window, screen->root, 0, 0), nullptr),
        &std::free);
    return size && corner ? QRect(corner->dst_x, corner->dst_y, size->width, size->height) : QRect();
}

std::optional<QMargins> XClient::frameOf(xcb_window_t window) const {
    constexpr int sides = 4;
    const auto question =
        xcb_get_property(connection, 0, window, atom("_NET_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, 0, sides);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, question, nullptr),
                                                &std::free);
    if (!reply || xcb_get_property_value_length(reply.get()) != sides * int{sizeof(std::uint32_t)})
        return std::nullopt;
    const auto *const extents = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return QMargins(static_cast<int>(extents[0]), static_cast<int>(extents[2]), static_cast<int>(extents[1]),
                    static_cast<int>(extents[3]));
}

void XClient::setRolledUp(xcb_window_t window, bool isRolledUp) {
    constexpr std::uint32_t fromAnApplication = 1;
    send(window, "_NET_WM_STATE", {isRolledUp ? 1U : 0U, atom("_NET_WM_STATE_SHADED"), 0, fromAnApplication},
         XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
}

void XClient::setSettings(const QMap<QString, QVariant> &settings) {
    constexpr std::uint8_t integer = 0;
    constexpr std::uint8_t string = 1;
    QByteArray bytes(4, QSysInfo::ByteOrder == QSysInfo::LittleEndian ? '\0' : '\1');
    append(bytes, ++serial);
    append(bytes, static_cast<std::uint32_t>(settings.size()));
    for (const auto &[key, value] : settings.asKeyValueRange()) {
        const bool isNumber = value.typeId() == QMetaType::Int;
        const QByteArray name = key.toUtf8();
        bytes.append(static_cast<char>(isNumber ? integer : string)).append('\0');
        append(bytes, static_cast<std::uint16_t>(name.size()));
        appendPadded(bytes, name);
        append(bytes, serial);
        if (isNumber) {
            append(bytes, static_cast<std::uint32_t>(value.toInt()));
        } else {
            const QByteArray text = value.toString().toUtf8();
            append(bytes, static_cast<std::uint32_t>(text.size()));
            appendPadded(bytes, text);
        }
    }
    const bool isFirst = settingsWindow == XCB_WINDOW_NONE;
    if (isFirst)
        settingsWindow = makeWindow(1, 1);
    const xcb_atom_t property = atom("_XSETTINGS_SETTINGS");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, settingsWindow, property, property, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.constData());
    if (isFirst) {
        const xcb_atom_t selection = atom("_XSETTINGS_S0");
        xcb_set_selection_owner(connection, settingsWindow, selection, XCB_CURRENT_TIME);
        send(screen->root, "MANAGER", {XCB_CURRENT_TIME, selection, settingsWindow},
             XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    }
    xcb_flush(connection);
}

}  // namespace ferrolt
