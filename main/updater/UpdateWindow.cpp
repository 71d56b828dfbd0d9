#include "updater/UpdateWindow.h"

#include "platform/storage/Resources.h"
#include "updater/UpdateTexts.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvella {

namespace {

constexpr int kMargin = 24; // points
constexpr int kSpacing = 12;
constexpr int kTextWidth = 440;
constexpr int kNotesHeight = 160;
constexpr int kSteps = 1000; // of the bar; bytes would not fit its numbers

QLabel *makeLabel()
{
    auto *label = new QLabel;
    // Versions and reasons come from elsewhere: never markup.
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(kTextWidth);
    return label;
}

} // namespace

UpdateWindow::UpdateWindow()
    : m_title(makeLabel())
    , m_text(makeLabel())
    , m_notes(new QPlainTextEdit)
    , m_progress(new QProgressBar)
    , m_action(new QPushButton)
    , m_close(new QPushButton)
{
    setWindowTitle(QStringLiteral("Corvella Updates"));
    setWindowIcon(QIcon(resourcePath(QStringLiteral("icon.png")).value_or(QString())));
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_notes->setReadOnly(true);
    m_notes->setFixedHeight(kNotesHeight);
    m_notes->setAccessibleName(QStringLiteral("What is new"));
    m_progress->setTextVisible(false);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_close);
    buttons->addWidget(m_action);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kSpacing);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_title);
    layout->addWidget(m_text);
    layout->addWidget(m_notes);
    layout->addWidget(m_progress);
    layout->addLayout(buttons);

    m_action->setDefault(true);
    connect(m_close, &QPushButton::clicked, this, &QWidget::hide);
    connect(m_action, &QPushButton::clicked, this, [this] {
        if (m_chosen == Action::install)
            Q_EMIT installChosen();
        else if (m_chosen == Action::relaunch)
            Q_EMIT relaunchChosen();
    });
}

QString UpdateWindow::title() const
{
    return m_title->text();
}

QString UpdateWindow::text() const
{
    return m_text->text();
}

QString UpdateWindow::notes() const
{
    return m_notes->toPlainText();
}

void UpdateWindow::show(const Content &content)
{
    m_title->setText(content.title);
    m_text->setText(content.text);
    m_text->setVisible(!content.text.isEmpty());
    m_notes->setVisible(!m_notes->toPlainText().isEmpty());
    m_progress->setVisible(content.bar != Bar::hidden);
    if (content.bar == Bar::busy)
        m_progress->setRange(0, 0);
    m_chosen = content.action;
    m_action->setVisible(content.action != Action::none);
    m_action->setText(content.action == Action::install ? QStringLiteral("Install Update")
                                                        : QStringLiteral("Install and Relaunch"));
    m_close->setText(content.closeLabel);
}

void UpdateWindow::showChecking()
{
    m_notes->clear();
    show({.title = QStringLiteral("Looking for updates…"),
          .text = {},
          .closeLabel = QStringLiteral("Close"),
          .bar = Bar::busy});
}

void UpdateWindow::showOffer(const QString &version, const QString &runningVersion,
                             const QString &notes)
{
    m_notes->setPlainText(notes);
    show({.title = QStringLiteral("Corvella %1 is available").arg(version),
          .text = QStringLiteral("You have version %1.").arg(runningVersion),
          .action = Action::install,
          .closeLabel = QStringLiteral("Not Now")});
}

void UpdateWindow::showDownload(qint64 doneBytes, qint64 totalBytes)
{
    show({.title = QStringLiteral("Downloading the update…"),
          .text = UpdateTexts::progress(doneBytes, totalBytes),
          .closeLabel = QStringLiteral("Close"),
          .bar = Bar::measured});
    m_progress->setRange(0, kSteps);
    m_progress->setValue(static_cast<int>(doneBytes * kSteps / std::max<qint64>(totalBytes, 1)));
}

void UpdateWindow::showPreparing()
{
    show({.title = QStringLiteral("Checking the update…"),
          .text = QStringLiteral("Its signature is verified, and the new version tests itself."),
          .closeLabel = QStringLiteral("Close"),
          .bar = Bar::busy});
}

void UpdateWindow::showReady(const QString &version, const QString &whenInstalled)
{
    show({.title = QStringLiteral("Corvella %1 is ready").arg(version),
          .text = whenInstalled,
          .action = Action::relaunch,
          .closeLabel = QStringLiteral("Close")});
}

void UpdateWindow::showMessage(const QString &title, const QString &text)
{
    m_notes->clear();
    show({.title = title, .text = text, .closeLabel = QStringLiteral("Close")});
}

} // namespace corvella
