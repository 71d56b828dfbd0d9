#include "platform/pictures/WindowProperty.h"

#include <cstring>

namespace corvella::x11 {

xcb_atom_t atomOf(xcb_connection_t *server, const char *name)
{
    const ReplyOf<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        server, xcb_intern_atom(server, 0, static_cast<uint16_t>(std::strlen(name)), name),
        nullptr));
    return atom ? atom->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

QList<uint32_t> numbersOf(xcb_connection_t *server, xcb_window_t window, const char *property,
                          xcb_atom_t type)
{
    constexpr uint32_t kLongest = 16 * 1024; // numbers: more windows than anybody has
    const ReplyOf<xcb_get_property_reply_t> value(xcb_get_property_reply(
        server, xcb_get_property(server, 0, window, atomOf(server, property), type, 0, kLongest),
        nullptr));
    if (!value || value->format != 32)
        return {};
    const auto *const first = static_cast<const uint32_t *>(xcb_get_property_value(value.get()));
    const size_t bytes = static_cast<size_t>(xcb_get_property_value_length(value.get()));
    return QList<uint32_t>(first, first + bytes / sizeof(uint32_t));
}

} // namespace corvella::x11
