// Starts a command and prints how many milliseconds it takes until the middle of the X screen is no
// longer black, as whoever stands before it sees it; then ends the command and waits until the
// screen is black again.
#include "platform/session/XcbConnection.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace corvella;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr uint16_t kSide = 16; // pixels looked at
constexpr int kLit = 3;        // of 255: no longer black, though a picture may still be fading in
constexpr auto kBetweenLooks = 500us; // a look itself takes a tenth of that
constexpr auto kPatience = 20s;

bool isLit(xcb_connection_t *server)
{
    const xcb_screen_t *const screen = xcb_setup_roots_iterator(xcb_get_setup(server)).data;
    const auto x = static_cast<int16_t>((screen->width_in_pixels - kSide) / 2);
    const auto y = static_cast<int16_t>((screen->height_in_pixels - kSide) / 2);
    const x11::ReplyOf<xcb_get_image_reply_t> image(xcb_get_image_reply(
        server,
        xcb_get_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, x, y, kSide, kSide, ~0u),
        nullptr));
    if (!image)
        return false;
    const uint8_t *const bytes = xcb_get_image_data(image.get());
    const int length = xcb_get_image_data_length(image.get());
    for (int i = 0; i < length; ++i) {
        if (i % 4 != 3 && bytes[i] > kLit) // the fourth is no colour
            return true;
    }
    return false;
}

// Whether the screen becomes so in time.
bool becomes(xcb_connection_t *server, bool lit)
{
    const auto end = Clock::now() + kPatience;
    while (isLit(server) != lit) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const x11::Connection server = x11::connectToServer();
    if (!server || argc < 2 || !becomes(server.get(), false)) {
        std::fprintf(stderr, "first-frame COMMAND [ARGUMENT...], on a black X screen\n");
        return EXIT_FAILURE;
    }
    const auto start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execvp(argv[1], argv + 1);
        ::_exit(127);
    }
    const bool wasSeen = becomes(server.get(), true);
    const std::chrono::duration<double, std::milli> taken = Clock::now() - start;
    ::kill(child, SIGTERM);
    ::waitpid(child, nullptr, 0);
    if (!wasSeen || !becomes(server.get(), false))
        return EXIT_FAILURE;
    std::printf("%.1f\n", taken.count());
    return EXIT_SUCCESS;
}
