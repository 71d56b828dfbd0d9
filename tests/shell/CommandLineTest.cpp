#include "shell/CommandLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvella {
namespace {

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
}

struct Seconds
{
    const char *name;
    QStringList args;
    std::optional<double> expected;
};

class SecondsOption : public testing::TestWithParam<Seconds>
{
};

TEST_P(SecondsOption, IsTheNumberRightAfterTheFirst)
{
    EXPECT_EQ(CommandLine::parse(GetParam().args).autoQuit, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SecondsOption,
    testing::Values(
        Seconds{"Missing", {}, std::nullopt}, Seconds{"Last", words("--seconds"), std::nullopt},
        Seconds{"Whole", words("--seconds 5"), 5.0},
        Seconds{"Fraction", words("--seconds 0.25"), 0.25},
        Seconds{"Negative", words("--seconds -3"), -3.0},
        Seconds{"Exponent", words("--seconds 1e2"), 100.0},
        Seconds{"Words", words("--seconds soon"), std::nullopt},
        Seconds{"NumberWithUnit", words("--seconds 5s"), std::nullopt},
        Seconds{"Spaces", {QStringLiteral("--seconds"), QStringLiteral(" 5")}, std::nullopt},
        Seconds{"Comma", words("--seconds 0,5"), std::nullopt},
        Seconds{"Empty", {QStringLiteral("--seconds"), QString()}, std::nullopt},
        Seconds{"NotANumber", words("--seconds nan"), std::nullopt},
        Seconds{"Twice", words("--seconds 5 --seconds 9"), 5.0},
        Seconds{"FirstUnusable", words("--seconds x --seconds 9"), std::nullopt},
        Seconds{"AnotherOptionForAValue", words("--seconds --start"), std::nullopt}),
    [](const auto &row) { return row.param.name; });

TEST(CommandLine, OptionsMatchWholeArgumentsWhereverTheyStand)
{
    const CommandLine line = CommandLine::parse(words("x --prime y --start --refresh --selftest"));
    EXPECT_TRUE(line.primeOnly);
    EXPECT_TRUE(line.forceStart);
    EXPECT_TRUE(line.refreshOnly);
    EXPECT_TRUE(line.selfTest);
}

TEST(CommandLine, ProgramThatStartsItselfAnewGoesOnAsItWas)
{
    const CommandLine line = CommandLine::parse(words("--action settings --seconds 2.5"));
    EXPECT_EQ(line.toGoOn(true, false), words("--start --seconds 2.5"));
    EXPECT_EQ(line.toGoOn(false, true), words("--action arm --seconds 2.5"));
    EXPECT_EQ(line.toGoOn(false, false), words("--quiet --seconds 2.5"));
    EXPECT_TRUE(CommandLine::parse(line.toGoOn(true, false)).forceStart);
    EXPECT_EQ(CommandLine::parse(line.toGoOn(false, true)).action, QStringLiteral("arm"));
    EXPECT_TRUE(CommandLine::parse(line.toGoOn(false, false)).quiet);
    EXPECT_EQ(CommandLine::parse(words("--start")).toGoOn(false, false), words("--quiet"));
}

TEST(CommandLine, ProgramThatWasUpdatedStartsAsAtAnyLaunch)
{
    const CommandLine line = CommandLine::parse(words("--quiet --seconds 5 --action settings x"));
    for (const Mode mode : {Mode::kiosk, Mode::wall})
        EXPECT_EQ(line.afterUpdate(mode), words("--seconds 5 x"));
    for (const Mode mode : {Mode::saver, Mode::desktop})
        EXPECT_EQ(line.afterUpdate(mode), words("--quiet --seconds 5 x"));
    EXPECT_EQ(CommandLine::parse(words("--start")).afterUpdate(Mode::kiosk), words("--start"));
    EXPECT_EQ(CommandLine::parse(words("--action")).afterUpdate(Mode::kiosk), QStringList());
}

TEST(CommandLine, NearMissesAreNoOptions)
{
    const CommandLine line =
        CommandLine::parse(words("--Start --start= -start --primes start --REFRESH --self-test"));
    EXPECT_FALSE(line.primeOnly);
    EXPECT_FALSE(line.forceStart);
    EXPECT_FALSE(line.refreshOnly);
    EXPECT_FALSE(line.selfTest);
}

TEST(CommandLine, TellsTheOneThatRunsWhatIsAskedFor)
{
    const auto word = [](const char *line) {
        return CommandLine::parse(words(line)).wordForTheOther();
    };
    EXPECT_EQ(word(""), QString());
    EXPECT_EQ(word("--seconds 5"), QString());
    EXPECT_EQ(word("--start"), QStringLiteral("start"));
    EXPECT_EQ(word("x --action quit"), QStringLiteral("quit"));
    EXPECT_EQ(word("--start --action settings"), QStringLiteral("settings"));
    EXPECT_EQ(word("--action"), QString());
}

TEST(CommandLine, KeepsAllArgumentsInOrder)
{
    EXPECT_EQ(CommandLine::parse(words("b a --start")).allArgs, words("b a --start"));
    EXPECT_EQ(CommandLine::parse({}).allArgs, QStringList());
}

} // namespace
} // namespace corvella
