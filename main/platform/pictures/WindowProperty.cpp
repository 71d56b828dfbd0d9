#include "platform/pictures/WindowProperty.h"

namespace corvella::x11 {

QList<uint32_t> numbersOf(xcb_connection_t *server, xcb_window_t window, const char *property,
                          xcb_atom_t type)
{
    constexpr uint32_t kLongest = 16 * 1024; // numbers: more windows than anybody has
    const ReplyOf<xcb_get_property_reply_t> value(xcb_get_property_reply(
        server, xcb_get_property(server, 0, window, atom(server, property), type, 0, kLongest),
        nullptr));
    if (!value || value->format != 32)
        return {};
    const auto *const first = static_cast<const uint32_t *>(xcb_get_property_value(value.get()));
    const size_t bytes = static_cast<size_t>(xcb_get_property_value_length(value.get()));
    return QList<uint32_t>(first, first + bytes / sizeof(uint32_t));
}

} // namespace corvella::x11
