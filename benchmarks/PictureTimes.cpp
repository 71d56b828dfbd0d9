// How evenly pictures reach the X screen, whoever draws them, on monitors of one size side by side.
//
//   picture-times SECONDS INTERVAL MONITORS
//
// The server tells of all that is drawn (XDamage). What covers the middle of a monitor is a picture
// there. Prints for each monitor how long pictures stood, in intervals of so many seconds; last,
// how many stood half an interval longer than they should.
#include "platform/session/XcbConnection.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <vector>
#include <xcb/damage.h>

using namespace corvella;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kLate = 1.5; // intervals

struct Monitor
{
    int middleX;
    int middleY;
    std::vector<xcb_timestamp_t> pictures; // ms
};

bool contains(const xcb_rectangle_t &area, const Monitor &monitor)
{
    return area.x <= monitor.middleX && monitor.middleX < area.x + area.width
        && area.y <= monitor.middleY && monitor.middleY < area.y + area.height;
}

std::vector<Monitor> sideBySide(const xcb_screen_t &screen, int count)
{
    std::vector<Monitor> monitors;
    const int width = screen.width_in_pixels / count;
    for (int i = 0; i < count; ++i)
        monitors.push_back({i * width + width / 2, screen.height_in_pixels / 2, {}});
    return monitors;
}

// Has the server tell of all that is drawn; the type of these events.
int watch(xcb_connection_t *server, xcb_window_t root)
{
    const x11::ReplyOf<xcb_damage_query_version_reply_t> version(xcb_damage_query_version_reply(
        server, xcb_damage_query_version(server, 1, 1), nullptr)); // it asks to be asked first
    xcb_damage_create(server, xcb_generate_id(server), root,
                      XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    xcb_flush(server);
    return xcb_get_extension_data(server, &xcb_damage_id)->first_event + XCB_DAMAGE_NOTIFY;
}

void waitUntil(Clock::time_point end, xcb_connection_t *server)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    pollfd readable{xcb_get_file_descriptor(server), POLLIN, 0};
    ::poll(&readable, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
}

// Prints what came of a monitor; how many pictures were late.
int report(const Monitor &monitor, double interval)
{
    std::vector<double> stood;
    for (size_t i = 1; i < monitor.pictures.size(); ++i)
        stood.push_back((monitor.pictures[i] - monitor.pictures[i - 1]) / 1000.0 / interval);
    if (stood.empty())
        return 0;
    std::sort(stood.begin(), stood.end());
    const auto late =
        std::count_if(stood.begin(), stood.end(), [](double time) { return time > kLate; });
    std::printf("pictures %zu  median %.3f  longest %.3f intervals  over %.1f: %td\n",
                monitor.pictures.size(), stood[stood.size() / 2], stood.back(), kLate, late);
    return static_cast<int>(late);
}

} // namespace

int main(int argc, char **argv)
{
    const x11::Connection server = x11::connectToServerWith(xcb_damage_id);
    const int monitorCount = argc == 4 ? std::atoi(argv[3]) : 0;
    if (!server || monitorCount < 1) {
        std::fputs("usage: picture-times SECONDS INTERVAL MONITORS, on an X screen\n", stderr);
        return 2;
    }
    const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(server.get())).data;
    std::vector<Monitor> monitors = sideBySide(screen, monitorCount);
    const int damaged = watch(server.get(), screen.root);
    const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[1]));
    while (Clock::now() < end) {
        waitUntil(end, server.get());
        while (xcb_generic_event_t *const event = xcb_poll_for_event(server.get())) {
            if ((event->response_type & 0x7f) == damaged) {
                const auto *const drawn = reinterpret_cast<xcb_damage_notify_event_t *>(event);
                for (Monitor &monitor : monitors) {
                    if (contains(drawn->area, monitor))
                        monitor.pictures.push_back(drawn->timestamp);
                }
            }
            std::free(event);
        }
    }
    int late = 0;
    for (const Monitor &monitor : monitors)
        late += report(monitor, std::atof(argv[2]));
    std::printf("late %d\n", late);
    return EXIT_SUCCESS;
}
