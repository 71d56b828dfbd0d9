#include "platform/storage/Resources.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(ResourcesTest, KnowsTheRealPathOfTheExecutable)
{
    EXPECT_EQ(executablePath(), QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath());
}

TEST(ResourcesTest, FindsNothingThatDoesNotShip)
{
    EXPECT_FALSE(resourcePath(QStringLiteral("no-such-resource")));
}

TEST(ResourcesTest, FindsWhatLiesInTheShareFolderBesideTheExecutablesOwn)
{
    const QDir prefix(QFileInfo(QFileInfo(executablePath()).path()).path());
    const QString folder = prefix.filePath(QStringLiteral("share/corvella"));
    const QString name =
        QStringLiteral("resources-test-%1").arg(QCoreApplication::applicationPid());
    ASSERT_TRUE(QDir().mkpath(folder));
    QFile resource(folder + u'/' + name);
    ASSERT_TRUE(resource.open(QIODevice::WriteOnly));

    EXPECT_EQ(resourcePath(name), resource.fileName());
    resource.remove();
}

} // namespace
} // namespace corvella
