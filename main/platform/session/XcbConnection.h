// A connection of our own to the X server, where there is one. Included by X11 back-ends only.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace corvella::x11 {

struct CloseConnection
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};

using Connection = std::unique_ptr<xcb_connection_t, CloseConnection>;
template <typename Reply> using ReplyOf = std::unique_ptr<Reply, FreeReply>;

// Whether this program talks to an X server that is no mere guest of a Wayland compositor.
[[nodiscard]] bool isX11Session();

// Null where no X server answers.
[[nodiscard]] Connection connectToServer();
// Null, too, where it lacks this extension.
[[nodiscard]] Connection connectToServerWith(xcb_extension_t &extension);

// Qt's own connection, on which requests keep their order with Qt's. Null where Qt is not on X11.
// Owned by Qt: never to be closed.
[[nodiscard]] xcb_connection_t *applicationConnection();

[[nodiscard]] xcb_window_t rootWindow(xcb_connection_t *connection);

// The type of an extension's first event; nothing where the server lacks it.
[[nodiscard]] std::optional<int> firstEventOf(xcb_connection_t *connection,
                                              std::string_view extension);

// Made where the server does not know the name yet; XCB_ATOM_NONE where it does not answer.
[[nodiscard]] xcb_atom_t atom(xcb_connection_t *connection, std::string_view name);

// Where a message to the window manager may say whom it is from: some managers heed only these.
constexpr uint32_t kFromPager = 2;

// Asks the window manager something about a window of ours, by a message to the root window.
void askManager(xcb_connection_t *connection, xcb_window_t window, std::string_view type,
                const std::array<uint32_t, 5> &data);

} // namespace corvella::x11
