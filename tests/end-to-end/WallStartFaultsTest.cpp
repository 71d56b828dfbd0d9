// What a wall shows when any one system call fails at its start.
#include "end-to-end/SystemCallsFixture.h"
#include "support/QtPrinting.h"
#include "support/Repetitions.h"
#include "support/VirtualDisplay.h"
#include "support/Waiting.h"

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr QSize kWholeScreen(160, 120);
constexpr int kLeastLight = 60; // of 255: the clip's picture, and no text alone
constexpr auto kUntilLit = 30s; // what reads clips has 20 s to answer

class WallStart : public SystemCalls
{
protected:
    WallStart()
    {
        m_program.configureWall();
        m_program.configure({{u"wallHintShown"_s, true}, {u"migrated"_s, true}});
        m_program.addClip(u"171"_s, 1, 15);
        m_program.showOn(m_display);
        // Where Qt ends the process, or crashes, it leaves what it was at.
        m_program.addOption(u"ASAN_OPTIONS"_s, u"detect_leaks=0:handle_segv=0"_s);
    }

    // Starts it, looks whether there is a picture, and has it end.
    void tryOnce()
    {
        m_program.start();
        m_isLit = false;
        (void)test::becomes(
            [this] {
                m_isLit = qGray(m_display.client().picture().pixel(
                              QRect(QPoint(), kWholeScreen).center()))
                    >= kLeastLight;
                return m_isLit || !m_program.process().isRunning();
            },
            kUntilLit);
        m_isAlive = m_program.process().isRunning();
        m_program.process().signal(SIGTERM);
        m_status = m_program.process().exitStatus();
        m_hangs = m_program.process().isRunning();
    }

    void expectToLoseNothing(const test::FaultChoice &choice);

    test::VirtualDisplay m_display{kWholeScreen};
    bool m_isLit = false;
    bool m_isAlive = false; // before it was told to end
    bool m_hangs = false;   // after it was
    std::optional<int> m_status;
};

// Lets these calls fail, one in each start.
void WallStart::expectToLoseNothing(const test::FaultChoice &choice)
{
    tryOnce();
    ASSERT_TRUE(m_isLit);
    const QMap<QString, QByteArray> before = content();
    QStringList usual;
    test::failEachCall(
        m_program, choice, [&] { tryOnce(); },
        [&](const std::string & /*when*/) {
            EXPECT_FALSE(m_hangs) << words().toStdString();
            // What Qt does by itself: it aborts where its plug-in for the display cannot be loaded,
            // and crashes where the connection breaks that it is making.
            const bool isQtsOwn = words().contains("no Qt platform plugin could be initialized")
                || words().contains("display: crashed while connecting to it");
            const bool endsAtOnce =
                words().contains("signals: no pipe; a signal ends the program at once");
            EXPECT_TRUE(m_status || isQtsOwn || endsAtOnce)
                << "was killed: " << words().toStdString();
            const QStringList lines = m_program.process().errorLines();
            if (usual.isEmpty())
                usual = lines;
            EXPECT_TRUE(m_isLit || !m_isAlive) << "alive, and dark: " << words().toStdString();
            EXPECT_TRUE(m_isLit || test::saysMoreThan(usual, lines))
                << "dark without a word of why: " << words().toStdString();
            std::string outcome = !m_status && !endsAtOnce ? "Qt ends it, and says why"
                : !m_isLit                                 ? "it ends, and says why"
                : lines == usual                           ? "nothing shows"
                                                           : "it plays, with other lines";
            const QMap<QString, QByteArray> after = content();
            for (auto file = before.cbegin(); file != before.cend(); ++file)
                EXPECT_EQ(after[file.key()], file.value()) << file.key().toStdString();
            // From what lies there as it lay there, the next start is one that was seen already.
            if (after != before) {
                tryOnce();
                EXPECT_TRUE(m_isLit) << "at the next start";
                putBack(before); // so that what one fault has done is not laid to the next
            }
            return outcome;
        });
}

TEST_F(WallStart, WithASystemCallThatFailsLosesNothing)
{
    expectToLoseNothing({test::repetitions("CORVELLA_SYSTEM_CALL_FAULTS", 6)});
}

TEST_F(WallStart, WithAConnectionThatBreaksLosesNothing)
{
    expectToLoseNothing({test::repetitions("CORVELLA_BROKEN_CONNECTIONS", 10), "recvmsg"});
}

} // namespace
} // namespace corvella
