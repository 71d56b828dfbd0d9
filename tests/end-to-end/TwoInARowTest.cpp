// The program started again in the same home.
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QDir>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

QJsonObject builtInClip()
{
    QFile file(QDir(QStringLiteral(CORVELLA_SHARE_DIR)).filePath(u"seed.json"_s));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

class TwoInARow : public testing::Test
{
protected:
    TwoInARow()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
    }

    [[nodiscard]] QStringList seedings() { return m_program.messages().filter(u"seed"_s); }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(TwoInARow, SecondStartPlaysAtOnceFromTheCache)
{
    m_program.addClip(u"171"_s, 1);
    for (int start = 1; start <= 2; ++start) {
        m_program.start();
        EXPECT_TRUE(becomes([this] {
            return test::seenPattern(m_display.client().picture(), QRect(0, 0, 640, 480))
                .has_value();
        }));
        EXPECT_EQ(m_program.messages().filter(u"playing"_s), QStringList{u"playing 171"_s});
        EXPECT_EQ(seedings(), QStringList());
    }
}

TEST_F(TwoInARow, OnlyTheFirstLaysTheBuiltInClipIntoTheCache)
{
    const QString id = builtInClip().value(u"id"_s).toString();
    const QString date = builtInClip().value(u"updated"_s).toString();
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"playing "_s + id));
    EXPECT_EQ(seedings(),
              QStringList{u"cache was empty, seeded with the bundled clip (%1)"_s.arg(date)});
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"playing "_s + id));
    EXPECT_EQ(seedings(), QStringList());
}

} // namespace
} // namespace corvella
