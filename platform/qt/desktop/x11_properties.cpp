#include "platform/qt/desktop/x11_properties.h"

#include <QGuiApplication>
#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <utility>

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

namespace {

using Atoms = std::map<std::string, xcb_atom_t>;

void addAtoms(xcb_connection_t* x, const std::vector<std::string>& names, Atoms& atoms) {
    std::vector<xcb_intern_atom_cookie_t> asked;
    asked.reserve(names.size());
    for (const std::string& name : names) {
        asked.push_back(
            xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
    }
    for (std::size_t index = 0; index < names.size(); ++index) {
        const ReplyPointer<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(x, asked[index], nullptr));
        atoms[names[index]] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

/// What each start needs. Asked for together, they cost one wait for the server and not ten.
Atoms usualAtoms(xcb_connection_t* x) {
    Atoms atoms;
    addAtoms(x,
             {"ATOM", "WM_HINTS", "WM_PROTOCOLS", "WM_TAKE_FOCUS", "_NET_ACTIVE_WINDOW",
              "_NET_FRAME_EXTENTS", "_NET_SUPPORTING_WM_CHECK", "_NET_WM_CM_S0", "_NET_WORKAREA"},
             atoms);
    return atoms;
}

}  // namespace

xcb_atom_t x11Atom(xcb_connection_t* x, const std::string& name) {
    static Atoms known = usualAtoms(x);
    if (known.count(name) == 0) {
        addAtoms(x, {name}, known);
    }
    return known[name];
}

std::vector<std::uint32_t> x11Values(xcb_connection_t* x, xcb_window_t window,
                                     const std::string& property) {
    return x11ValuesOfEach(x, {window}, property).front();
}

std::vector<std::vector<std::uint32_t>> x11ValuesOfEach(xcb_connection_t* x,
                                                        const std::vector<xcb_window_t>& windows,
                                                        const std::string& property) {
    const xcb_atom_t name = x11Atom(x, property);
    std::vector<xcb_get_property_cookie_t> asked;
    asked.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        asked.push_back(xcb_get_property(x, 0, window, name, XCB_ATOM_ANY, 0, longestProperty));
    }
    std::vector<std::vector<std::uint32_t>> all;
    all.reserve(windows.size());
    for (const xcb_get_property_cookie_t& cookie : asked) {
        const ReplyPointer<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(x, cookie, nullptr));
        std::vector<std::uint32_t> numbers(reply && reply->format == 32 ? reply->value_len : 0);
        if (!numbers.empty()) {
            std::memcpy(numbers.data(), xcb_get_property_value(reply.get()),
                        numbers.size() * sizeof(std::uint32_t));
        }
        all.push_back(std::move(numbers));
    }
    return all;
}

std::vector<xcb_window_t> x11Descendants(xcb_connection_t* x, xcb_window_t window, int depth) {
    std::vector<xcb_window_t> all;
    std::vector<xcb_window_t> level{window};
    for (; depth > 0 && !level.empty(); --depth) {
        std::vector<xcb_query_tree_cookie_t> asked;
        asked.reserve(level.size());
        for (const xcb_window_t parent : level) {
            asked.push_back(xcb_query_tree(x, parent));
        }
        level.clear();
        for (const xcb_query_tree_cookie_t& cookie : asked) {
            if (const ReplyPointer<xcb_query_tree_reply_t> reply(
                    xcb_query_tree_reply(x, cookie, nullptr));
                reply) {
                const xcb_window_t* children = xcb_query_tree_children(reply.get());
                level.insert(level.end(), children,
                             children + xcb_query_tree_children_length(reply.get()));
            }
        }
        all.insert(all.end(), level.begin(), level.end());
    }
    return all;
}

void addX11Events(xcb_connection_t* x, xcb_window_t window, std::uint32_t events) {
    const ReplyPointer<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
    if (reply) {
        // The toolkit goes on receiving what it has asked for.
        const std::uint32_t mask = reply->your_event_mask | events;
        // Another program's window may be gone by now, which is nothing to tell of.
        const xcb_void_cookie_t cookie =
            xcb_change_window_attributes_checked(x, window, XCB_CW_EVENT_MASK, &mask);
        xcb_discard_reply(x, cookie.sequence);
    }
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
