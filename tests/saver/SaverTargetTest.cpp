#include "saver/SaverTarget.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using Kind = SaverTarget::Kind;

struct Row
{
    const char *name;
    QStringList arguments;
    QString variable;
    SaverTarget target;
};

class SaverTargetTest : public testing::TestWithParam<Row>
{
};

TEST_P(SaverTargetTest, IsWhatTheHostSays)
{
    EXPECT_EQ(SaverTarget::choose(GetParam().arguments, GetParam().variable), GetParam().target);
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, SaverTargetTest,
    testing::Values(
        Row{"Nobody", {}, {}, {Kind::ownWindow, 0}},
        Row{"RootAlone", {u"-root"_s}, {}, {Kind::root, 0}},
        Row{"RootOfADaemon", {u"--root"_s}, u"0x40000e"_s, {Kind::window, 0x40000e}},
        Row{"RelativeOfTheDaemon", {}, u"4194318"_s, {Kind::window, 0x40000e}},
        Row{"Preview", {u"--window-id"_s, u"0x1200003"_s}, {}, {Kind::window, 0x1200003}},
        Row{"OldPreview", {u"-window-id"_s, u"18874371"_s}, {}, {Kind::window, 0x1200003}},
        Row{"PreviewInsideASaver",
            {u"--root"_s, u"--window-id"_s, u"0x5"_s},
            u"0x7"_s,
            {Kind::window, 5}},
        Row{"OtherArguments", {u"--delay"_s, u"3"_s, u"--root"_s}, {}, {Kind::root, 0}},
        Row{"IdThatIsNoNumber", {u"--window-id"_s, u"main"_s}, u"0x7"_s, {Kind::window, 7}},
        Row{"IdThatIsMissing", {u"--root"_s, u"--window-id"_s}, {}, {Kind::root, 0}},
        Row{"IdTooLarge", {u"--window-id"_s, u"0x100000000"_s}, {}, {Kind::ownWindow, 0}},
        Row{"NoWindowAtAll", {u"--root"_s}, u"0"_s, {Kind::root, 0}},
        Row{"ThreeHyphens", {u"---root"_s}, {}, {Kind::ownWindow, 0}},
        Row{"NoHyphen", {u"root"_s}, {}, {Kind::ownWindow, 0}}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
