#include "Wall/OnScreen.h"
#include "Wall/SharedClaims.h"
#include "platform/storage/FileLock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace corvella {
namespace {

class OnScreenTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const int &view : m_views)
            OnScreen::release(&view);
    }

    const QString m_a = QStringLiteral("171");
    const QString m_b = QStringLiteral("304");
    int m_views[3] = {}; // only their addresses matter
};

TEST_F(OnScreenTest, AViewsOwnClaimIsNotElsewhere)
{
    OnScreen::claim(m_a, &m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[0]), QSet<QString>());
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>{m_a});
}

TEST_F(OnScreenTest, TwoViewsWithOneProductCountOnce)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::claim(m_a, &m_views[1]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[2]), QSet<QString>{m_a});
}

TEST_F(OnScreenTest, ANewClaimTakesTheOldOnesPlace)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::claim(m_b, &m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>{m_b});
}

TEST_F(OnScreenTest, ReleasedIsGoneAndReleasingTwiceIsNoError)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::release(&m_views[0]);
    OnScreen::release(&m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>());
}

// Stands for another process, by what it leaves in the folder that both share.
class Neighbour
{
public:
    Neighbour(const QTemporaryDir &folder, const QByteArray &shows)
        : m_file(folder.filePath(QStringLiteral("1.claims")))
        , m_alive(FileLock::acquire(m_file))
    {
        QFile file(m_file);
        EXPECT_TRUE(m_alive && file.open(QIODevice::WriteOnly));
        file.write(shows);
    }

private:
    const QString m_file;
    const std::optional<FileLock> m_alive;
};

TEST_F(OnScreenTest, WhatOtherProcessesShowIsElsewhereAsLongAsTheyLive)
{
    const QTemporaryDir folder;
    OnScreen::shareIn(folder.path());
    {
        const Neighbour neighbour(folder, "171\n304");
        EXPECT_EQ(OnScreen::heldElsewhere(&m_views[0]), (QSet<QString>{m_a, m_b}));
    }
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[0]), QSet<QString>());
}

TEST_F(OnScreenTest, WhatADeadProcessLeftIsRemoved)
{
    const QTemporaryDir folder;
    OnScreen::shareIn(folder.path());
    {
        const Neighbour neighbour(folder, "171");
        (void)OnScreen::heldElsewhere(&m_views[0]);
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files).size(), 2);
    }
    (void)OnScreen::heldElsewhere(&m_views[0]);
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files),
              QStringList{QStringLiteral("%1.claims").arg(QCoreApplication::applicationPid())});
}

// A saver has a process for each screen, and all of them start at once.
TEST_F(OnScreenTest, AProcessThatBeginsIsNotTakenForADeadOne)
{
    const QTemporaryDir folder;
    const QString file =
        folder.filePath(QStringLiteral("%1.claims").arg(QCoreApplication::applicationPid()));
    std::atomic<bool> isEnough = false;
    std::thread neighbour([&] {
        while (!isEnough) {
            const auto dead = FileLock::acquire(file, std::chrono::milliseconds(0));
            if (dead && dead->isStillAt(file))
                QFile::remove(file);
        }
    });
    for (int i = 0; i < 300; ++i) {
        std::optional<SharedClaims> claims = SharedClaims::join(folder.path());
        if (claims) { // not had while the neighbour looked at it for too long
            EXPECT_FALSE(FileLock::acquire(file, std::chrono::milliseconds(0)));
        }
    }
    isEnough = true;
    neighbour.join();
}

TEST_F(OnScreenTest, ASharedFolderThatCannotBeMadeChangesNothing)
{
    OnScreen::shareIn(QStringLiteral("/proc/nowhere"));
    OnScreen::claim(m_a, &m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>{m_a});
}

} // namespace
} // namespace corvella
