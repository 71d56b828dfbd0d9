// What becomes of a user's ~/.xscreensaver when a saver is added to it.
#include "platform/session/XScreenSaverSettings.h"

#include <QList>

#include <gtest/gtest.h>

#include <random>

namespace corvella {

// For readable failures.
void PrintTo(const QByteArray &bytes, std::ostream *stream)
{
    *stream << '\n' << bytes.toStdString();
}

namespace {

QByteArray withOurs(const QByteArray &settings)
{
    return XScreenSaverSettings::withProgram(settings, "Corvella", "/home/a/corvella-saver",
                                             "--root");
}

struct Row
{
    const char *name;
    QByteArray before;
    QByteArray after;
};

class AddingASaver : public testing::TestWithParam<Row>
{
};

TEST_P(AddingASaver, PutsItAtTheEndOfTheList)
{
    EXPECT_EQ(withOurs(GetParam().before), GetParam().after);
}

TEST_P(AddingASaver, TwiceIsAddingItOnce)
{
    EXPECT_EQ(withOurs(GetParam().after), GetParam().after);
}

const QByteArray kOurs = "  \"Corvella\"  /home/a/corvella-saver --root";

INSTANTIATE_TEST_SUITE_P(
    Files, AddingASaver,
    testing::Values(
        Row{"None", "", "programs: \\\n" + kOurs + "\n"},
        Row{"WithoutAList", "timeout: 0:10:00\n",
            "timeout: 0:10:00\nprograms: \\\n" + kOurs + "\n"},
        Row{"WithoutALastNewline", "lock: True", "lock: True\nprograms: \\\n" + kOurs + "\n"},
        Row{"EndingInTheMiddleOfAValue", "lock: \\\n", "lock: \\\n\nprograms: \\\n" + kOurs + "\n"},
        // As its own settings window writes it.
        Row{"Usual",
            "mode: one\nselected: 1\n\nprograms:\t\t\\\n- GL: \tgears --root \\n\\\n"
            "  maze --root \\n\\\n\n\nfade: True\n",
            "mode: one\nselected: 1\n\nprograms:\t\t\\\n- GL: \tgears --root \\n\\\n"
            "  maze --root \\n\\\n"
                + kOurs + " \\n\\\n\n\nfade: True\n"},
        Row{"AtTheEndOfTheFile", "programs: \\\n maze --root \\n\\\n",
            "programs: \\\n maze --root \\n\\\n" + kOurs + " \\n\\\n"},
        Row{"EntryLeftOpenBeforeABlankLine", "programs: \\\n maze --root \\\n\nfade: True\n",
            "programs: \\\n maze --root \\\n\\n" + kOurs + " \\n\\\n\nfade: True\n"},
        Row{"LastEntryEndsTheList", "programs: \\\n maze --root \\n\\\n pong --root\nlock: True\n",
            "programs: \\\n maze --root \\n\\\n pong --root \\n\\\n" + kOurs + "\nlock: True\n"},
        Row{"LastEntrySeparated", "programs: \\\n pong --root \\n\nlock: True\n",
            "programs: \\\n pong --root \\n \\\n" + kOurs + "\nlock: True\n"},
        Row{"OnOneLine", "programs: maze --root\nlock: True\n",
            "programs: maze --root \\n\\\n" + kOurs + "\nlock: True\n"},
        Row{"EmptyList", "programs:\nlock: True\n", "programs: \\\n" + kOurs + "\nlock: True\n"},
        Row{"ListInAComment", "# programs: old \\\n x\n",
            "# programs: old \\\n x\nprograms: \\\n" + kOurs + "\n"},
        Row{"TwoListsOfWhichTheLastCounts", "programs: a\nPrograms : b\n",
            "programs: a\nPrograms : b \\n\\\n" + kOurs + "\n"},
        // What the user chose stays chosen: the system's own follow the list.
        Row{"SystemSaverChosen", "selected: 7\nprograms: a \\n b\n",
            "selected: 8\nprograms: a \\n b \\n\\\n" + kOurs + "\n"},
        Row{"FirstSystemSaverChosenWithoutAList", "selected:\t0\n",
            "selected:\t1\nprograms: \\\n" + kOurs + "\n"},
        Row{"NumberWithMoreBehindIt", QByteArray("selected: 7\0 x\n", 15),
            QByteArray("selected: 7\0 x\n", 15) + "programs: \\\n" + kOurs + "\n"},
        Row{"HighestNumber", "selected: 2147483647 \n",
            "selected: 2147483647 \nprograms: \\\n" + kOurs + "\n"},
        Row{"NumberAmongSpaces", "selected:  7 \n", "selected:  8 \nprograms: \\\n" + kOurs + "\n"},
        Row{"NothingChosen", "selected: -1\n", "selected: -1\nprograms: \\\n" + kOurs + "\n"}),
    [](const auto &row) { return row.param.name; });

TEST(AddedSaver, StaysAsTheUserHasItNow)
{
    for (const QByteArray settings :
         {"programs: \\\n- \"Corvella\" /home/a/corvella-saver --root \\n\\\n\n",
          "programs: GL: \"The Sun\"   /home/a/corvella-saver --root --more\n"})
        EXPECT_EQ(withOurs(settings), settings);
}

TEST(AddedSaver, IsQuotedWhereAShellWouldTakeItApart)
{
    EXPECT_EQ(XScreenSaverSettings::commandWord("/home/a/corvella-saver"),
              "/home/a/corvella-saver");
    EXPECT_EQ(XScreenSaverSettings::commandWord("/home/a b/c"), "'/home/a b/c'");
    EXPECT_EQ(XScreenSaverSettings::commandWord("/it's"), "'/it'\\''s'");
    // And once more for the file, where a backslash takes away the meaning of what follows.
    EXPECT_EQ(XScreenSaverSettings::withProgram("", "Corvella", "'/it'\\''s'", "--root"),
              "programs: \\\n  \"Corvella\"  '/it'\\\\''s' --root\n");
}

// Any text at all.
class AnySettings : public testing::TestWithParam<unsigned>
{
protected:
    QByteArray settings()
    {
        const QList<QByteArray> pieces{
            "programs:", "selected: 3", " maze --root", " \\n", "\\",
            "\n",        "\n",          "\\\n",         "#",    "lock: True",
            " ",         "\t",          "- GL: gears",  ":",    "\\\\"};
        QByteArray text;
        for (int count = pick(30); count > 0; --count)
            text += pieces[pick(static_cast<int>(pieces.size()))];
        return text;
    }

private:
    int pick(int below) { return std::uniform_int_distribution(0, below - 1)(m_random); }
    std::mt19937 m_random{GetParam()};
};

// The number that tells which saver is chosen has to follow its saver.
QByteArray withoutNumber(const QByteArray &line)
{
    return line.trimmed().startsWith("selected:") ? line.left(line.indexOf(':') + 1) : line;
}

TEST_P(AnySettings, LoseNoLine)
{
    for (int i = 0; i < 500; ++i) {
        const QByteArray before = settings();
        const QByteArray after = withOurs(before);
        SCOPED_TRACE(before.toStdString());
        EXPECT_EQ(withOurs(after), after);
        // Each line is still there, in its order, and at most told that another follows.
        const QList<QByteArray> now = after.split('\n');
        qsizetype found = 0;
        for (const QByteArray &line : before.split('\n')) {
            while (found < now.size() && !now[found].startsWith(withoutNumber(line)))
                ++found;
            ASSERT_LT(found, now.size()) << line.toStdString();
            ++found;
        }
        EXPECT_EQ(after.count("corvella-saver"), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AnySettings, testing::Range(0u, 8u));

} // namespace
} // namespace corvella
