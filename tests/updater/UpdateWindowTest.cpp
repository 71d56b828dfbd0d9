#include "updater/UpdateWindow.h"
#include "support/QtPrinting.h"
#include "updater/UpdateTexts.h"

#include <QProgressBar>
#include <QPushButton>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

class UpdateWindowTest : public testing::Test
{
protected:
    UpdateWindowTest()
    {
        m_window.QWidget::show();
        QObject::connect(&m_window, &UpdateWindow::installChosen, &m_window,
                         [this] { ++m_installs; });
        QObject::connect(&m_window, &UpdateWindow::relaunchChosen, &m_window,
                         [this] { ++m_relaunches; });
    }
    [[nodiscard]] QString action() const
    {
        return m_window.actionButton()->isVisible() ? m_window.actionButton()->text() : QString();
    }

    UpdateWindow m_window;
    int m_installs = 0;
    int m_relaunches = 0;
};

TEST_F(UpdateWindowTest, ShowsWhatIsNewAndAsks)
{
    EXPECT_FALSE(m_window.windowIcon().pixmap(32).isNull());
    m_window.showChecking();
    EXPECT_EQ(m_window.title(), u"Looking for updates…"_s);
    EXPECT_EQ(action(), QString());
    m_window.showOffer(u"1.2"_s, u"1.0"_s, u"Sharper loops"_s);
    EXPECT_EQ(m_window.title(), u"Corvella 1.2 is available"_s);
    EXPECT_EQ(m_window.text(), u"You have version 1.0."_s);
    EXPECT_EQ(m_window.notes(), u"Sharper loops"_s);
    EXPECT_EQ(action(), u"Install Update"_s);
    m_window.actionButton()->click();
    EXPECT_EQ(m_installs, 1);
    EXPECT_EQ(m_relaunches, 0);
}

TEST_F(UpdateWindowTest, TakesNoTextOfOthersForMarkup)
{
    const QString hostile =
        u"<a href=\"https://a.example\">click</a><img src=\"file:///etc/passwd\">"_s;
    m_window.showOffer(u"1.2"_s, u"1.0"_s, hostile);
    EXPECT_EQ(m_window.notes(), hostile);
}

TEST_F(UpdateWindowTest, ShowsHowFarADownloadIs)
{
    m_window.showDownload(12'340'000, 49'360'000);
    EXPECT_EQ(m_window.text(), u"12.3 of 49.4 MB"_s);
    EXPECT_TRUE(m_window.progressBar()->isVisible());
    EXPECT_EQ(m_window.progressBar()->value() * 4, m_window.progressBar()->maximum());
    m_window.showDownload(1'073'741'824, 1'073'741'824);
    EXPECT_EQ(m_window.progressBar()->value(), m_window.progressBar()->maximum());
    m_window.showPreparing();
    EXPECT_EQ(m_window.progressBar()->maximum(), 0); // busy
    EXPECT_EQ(action(), QString());
}

TEST_F(UpdateWindowTest, OffersToRelaunchWhenTheUpdateIsReady)
{
    m_window.showReady(u"1.2"_s, u"It is installed when Corvella quits."_s);
    EXPECT_EQ(action(), u"Install and Relaunch"_s);
    EXPECT_FALSE(m_window.progressBar()->isVisible());
    m_window.actionButton()->click();
    EXPECT_EQ(m_relaunches, 1);
    EXPECT_EQ(m_installs, 0);
}

TEST_F(UpdateWindowTest, EndsWithAMessage)
{
    m_window.showOffer(u"1.2"_s, u"1.0"_s, u"Sharper loops"_s);
    m_window.showMessage(u"Corvella was not updated"_s,
                         UpdateTexts::sentence(UpdateFault::noSpace));
    EXPECT_EQ(m_window.text(), u"There is not enough room on the disk for the update."_s);
    EXPECT_EQ(m_window.notes(), QString());
    EXPECT_EQ(action(), QString());
}

TEST(UpdateTexts, HaveASentenceForEveryFaultThatAPersonMeets)
{
    QStringList sentences;
    for (int fault = 0; fault <= static_cast<int>(UpdateFault::cancelled); ++fault) {
        const auto kind = static_cast<UpdateFault>(fault);
        const QString sentence = UpdateTexts::sentence(kind);
        if (kind == UpdateFault::none || kind == UpdateFault::notDue
            || kind == UpdateFault::cancelled) {
            EXPECT_EQ(sentence, QString());
            continue;
        }
        EXPECT_TRUE(sentence.endsWith(u'.')) << fault;
        EXPECT_FALSE(sentences.contains(sentence)) << fault;
        sentences << sentence;
    }
}

} // namespace
} // namespace corvella
