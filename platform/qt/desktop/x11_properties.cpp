#include "platform/qt/desktop/x11_properties.h"

#include <QGuiApplication>
#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>

namespace velunor {
namespace {

constexpr std::uint32_t longestProperty = 4096;

}  // namespace

xcb_connection_t* x11Connection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

xcb_window_t x11Root(xcb_connection_t* x) {
    return xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
}

xcb_atom_t x11Atom(xcb_connection_t* x, const std::string& name) {
    static std::map<std::string, xcb_atom_t> known;
    const auto [entry, isNew] = known.try_emplace(name, xcb_atom_t{XCB_ATOM_NONE});
    if (isNew) {
        const ReplyPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
            nullptr));
        entry->second = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    return entry->second;
}

std::vector<std::uint32_t> x11Values(xcb_connection_t* x, xcb_window_t window,
                                     const std::string& property) {
    const ReplyPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x, xcb_get_property(x, 0, window, x11Atom(x, property), XCB_ATOM_ANY, 0, longestProperty),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    std::vector<std::uint32_t> numbers(reply->value_len);
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), xcb_get_property_value(reply.get()),
                    numbers.size() * sizeof(std::uint32_t));
    }
    return numbers;
}

void setX11Values(xcb_connection_t* x, xcb_window_t window, const std::string& property,
                  const std::string& type, const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, x11Atom(x, property), x11Atom(x, type),
                        32, static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

void requestOfX11(xcb_connection_t* x, xcb_window_t window, const std::string& message,
                  const std::vector<std::uint32_t>& numbers) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = x11Atom(x, message);
    std::copy_n(numbers.begin(), std::min(numbers.size(), std::size(event.data.data32)),
                std::begin(event.data.data32));
    xcb_send_event(x, 0, x11Root(x),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(x);
}

}  // namespace velunor
