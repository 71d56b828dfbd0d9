// The button that adds the screen saver to the user's.
#include "Preferences/PreferencesFixture.h"
#include "Preferences/SaverInstall.h"

#include <QFile>

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
    EXPECT_FALSE(isEnabled("installButton")) << "one at a time";
    EXPECT_TRUE(test::becomes([] {
        return text("installNote")
            == u"Could not install: no program here shows the screen savers of others"_s;
    }));
    EXPECT_TRUE(isEnabled("installButton"));
    EXPECT_FALSE(QFile::exists(installedSaver())) << "and nothing is left behind";
    qputenv("PATH", path);
}

} // namespace
} // namespace corvella
