// Where the program's messages go.
#include "support/AlteredMachine.h"
#include "support/JournalSocket.h"
#include "support/ProgramUnderTest.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

constexpr const char *kMessage = "offline or read-only, not refreshing the cache";

class LogOfTheProgram : public testing::Test
{
protected:
    LogOfTheProgram()
    {
        m_program.addClip(u"171"_s, 1, 1);
        m_program.configure({{u"offline"_s, true}});
    }

    test::ProgramUnderTest m_program;
};

TEST_F(LogOfTheProgram, IsOneLineAMessageOnStandardError)
{
    m_program.start({u"--refresh"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.process().errors(), QByteArray("corvella: ") + kMessage + '\n');
    EXPECT_EQ(m_program.process().output(), QByteArray());
}

TEST_F(LogOfTheProgram, IsOneLineWhateverComesFromOutside)
{
    // Orders to a terminal begin with one of the last two.
    const QString id = u"one\ntwo\rthree\x1b"
                       "4\u009b"
                       "5"_s;
    m_program.addClip(id, 2, 1);
    m_program.configure({{u"mode"_s, u"wall"_s}, {u"products"_s, QJsonArray{id}}});
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"--start"_s});
    EXPECT_TRUE(m_program.logs(u"playing one two three 4 5"_s));
}

// Qt's own would bring other displays, and messages of theirs.
TEST_F(LogOfTheProgram, HasNothingToSayOfOptionsThatNobodyKnows)
{
    m_program.start({u"--refresh"_s, u"-platform"_s, u"nonsense"_s, u"--nonsense"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    m_program.configure({{u"mode"_s, u"desktop"_s}, {u"configured"_s, true}});
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"-platform"_s, u"nonsense"_s});
    EXPECT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
}

TEST_F(LogOfTheProgram, ReachesTheJournalWithoutThePrefix)
{
    test::JournalSocket journal;
    test::AlteredMachine machine;
    machine.setJournal(journal.folder());
    m_program.setMachine(machine);
    m_program.start({u"--refresh"_s});
    ASSERT_EQ(m_program.process().exitStatus(), 0) << m_program.process().errors().toStdString();

    const std::optional<test::JournalSocket::Fields> fields = journal.next();
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->value("MESSAGE"), kMessage);
    EXPECT_EQ(fields->value("SYSLOG_IDENTIFIER"), "corvella");
    EXPECT_EQ(fields->value("CORVELLA_SUBSYSTEM"), "space.tarrow.corvella");
    EXPECT_EQ(fields->value("CORVELLA_CATEGORY"), "app");
    EXPECT_FALSE(journal.next());
}

TEST_F(LogOfTheProgram, IsCompleteOnStandardErrorWhereTheJournalHangs)
{
    test::JournalSocket journal;
    journal.hang();
    test::AlteredMachine machine;
    machine.setJournal(journal.folder());
    m_program.setMachine(machine);
    m_program.start({u"--refresh"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.process().errors(), QByteArray("corvella: ") + kMessage + '\n');
}

TEST_F(LogOfTheProgram, IsCompleteOnStandardErrorWithoutAJournal)
{
    QTemporaryDir empty;
    test::AlteredMachine machine;
    machine.setJournal(empty.path());
    m_program.setMachine(machine);
    m_program.start({u"--refresh"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.process().errors(), QByteArray("corvella: ") + kMessage + '\n');
}

} // namespace
} // namespace corvella
