// Two screens, pictures for them under names that are hard on everybody, and a desktop's own
// services on a bus that nobody else has.
#pragma once

#include "platform/pictures/PictureBackEnds.h"
#include "platform/threads/BackgroundWork.h"
#include "support/CapturedLog.h"
#include "support/ChildProcess.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"
#include "support/TestBuses.h"

#include <QDir>
#include <QImage>
#include <QSettings>

#include <gtest/gtest.h>

#include <future>

namespace corvella::test {

class PicturesFixture : public testing::Test
{
protected:
    PicturesFixture() { qputenv("XDG_RUNTIME_DIR", m_home.path().toLocal8Bit()); }

    // A picture of one colour, which is as high as it is wide.
    QString picture(const QString &name, const QColor &colour) const
    {
        const QString folder =
            m_home.path(QStringLiteral("it's \"100%\" $(touch harm); `b`, ünï 日本  #1"));
        EXPECT_TRUE(QDir().mkpath(folder));
        QString path = folder + u'/' + name + QStringLiteral(".png");
        QImage image(100, 100, QImage::Format_RGB32);
        image.fill(colour);
        EXPECT_TRUE(image.save(path));
        return path;
    }

    // Where what is composed or kept lies.
    QString folder() const { return m_home.data(QStringLiteral("composed ü")); }

    // Runs what waits for services, while those of this test are at work. On one thread, as the
    // program does.
    template <typename Work> auto awaited(Work work)
    {
        std::packaged_task<decltype(work())()> task(std::move(work));
        auto result = task.get_future();
        m_work.start([&task] { task(); });
        EXPECT_TRUE(becomes(
            [&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return result.get();
    }

    QStringList present(DesktopPictures &pictures, const QStringList &known = {})
    {
        const DesktopPictures::Present present =
            awaited([&] { return pictures.present(m_screens, known); });
        EXPECT_EQ(present.failure, std::nullopt);
        return present.texts;
    }
    QList<Failure> show(DesktopPictures &pictures, const QList<std::optional<QString>> &files)
    {
        return awaited([&] { return pictures.show(m_screens, files); });
    }
    void putBack(DesktopPictures &pictures, const QStringList &texts)
    {
        awaited([&] {
            pictures.putBack(m_screens, texts);
            return true;
        });
    }

    // What a program of this desktop finds around it.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = bareEnvironment();
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME",
                                 "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY"}) {
            if (qEnvironmentVariableIsSet(name))
                environment.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        }
        return environment;
    }
    // The program behind a service that a bus starts when it is asked for: each machine has it in a
    // folder of its own.
    static QString programOf(const QString &service)
    {
        const QSettings file(QStringLiteral("/usr/share/dbus-1/services/%1.service").arg(service),
                             QSettings::IniFormat);
        return file.value(QStringLiteral("D-BUS Service/Exec")).toString();
    }
    // What a program of it writes, whether it then fails or not.
    QByteArray output(const QString &program, const QStringList &arguments) const
    {
        ChildProcess process({program, arguments, environment(), {}});
        EXPECT_NE(process.exitStatus(), std::nullopt);
        return process.output();
    }

    BackgroundWork m_work{1};
    TemporaryHome m_home;
    TestBuses m_buses;
    QList<PictureScreen> m_screens{{QStringLiteral("Left"), QRect(0, 0, 400, 200), 1},
                                   {QStringLiteral("Right"), QRect(400, 0, 100, 200), 1}};
    const QList<Failure> m_noFailures{2};
};

inline const QColor kRed(200, 20, 10);
inline const QColor kBlue(10, 20, 200);

} // namespace corvella::test
