// The button that adds the screen saver to the user's.
#include "Preferences/PreferencesFixture.h"
#include "Preferences/SaverInstall.h"

#include <QDir>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

using SaverButtonTest = test::PreferencesFixture;

TEST_F(SaverButtonTest, InstallsAndSaysWhatCameOfIt)
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent"); // nobody here shows savers
    open();
    click("installButton");
    EXPECT_TRUE(test::becomes([] {
        return text("installNote")
            == u"Could not install: no program here shows the screen savers of others"_s;
    }));
    EXPECT_GT(saverBuild(installedSaver()), 0);
    QDir(installedSaver()).removeRecursively();
    qputenv("PATH", path);
}

} // namespace
} // namespace corvella
