#include "platform/session/DisplayServer.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Machine
{
    const char *name;
    DisplayFacts facts;
    std::optional<QByteArray> expected;
};

class PlatformPlugin : public testing::TestWithParam<Machine>
{
};

TEST_P(PlatformPlugin, FitsTheMachine)
{
    EXPECT_EQ(platformPlugin(GetParam().facts), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Machines, PlatformPlugin,
    testing::Values(Machine{"X11Desktop", {false, true, true, true}, "xcb"},
                    Machine{"WaylandDesktop", {true, false, true, false}, "wayland;xcb"},
                    Machine{"Console", {false, false, true, false}, "eglfs"},
                    Machine{"ConsoleWithFramebuffer", {false, false, true, true}, "eglfs;linuxfb"},
                    Machine{"FramebufferOnly", {false, false, false, true}, "linuxfb"},
                    Machine{"Server", {}, std::nullopt}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
