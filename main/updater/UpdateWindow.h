// Tells the person who asked for updates what is new, how far it is, and what went wrong. One
// window, told what to say. Main thread only.
#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

namespace corvella {

class UpdateWindow : public QWidget
{
    Q_OBJECT

public:
    UpdateWindow();

    // What it says from now on; the last call counts.
    void showChecking();
    // `notes` is shown as it is, whatever it looks like.
    void showOffer(const QString &version, const QString &runningVersion, const QString &notes);
    void showDownload(qint64 doneBytes, qint64 totalBytes);
    void showPreparing();
    void showReady(const QString &version, const QString &whenInstalled);
    // The end of it, good or bad.
    void showMessage(const QString &title, const QString &text);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString text() const;
    [[nodiscard]] QString notes() const;
    // The button that goes on; hidden where there is nothing to go on with.
    [[nodiscard]] QPushButton *actionButton() const { return m_action; }
    [[nodiscard]] QProgressBar *progressBar() const { return m_progress; }

Q_SIGNALS:
    void installChosen();  // what was offered is wanted
    void relaunchChosen(); // what lies ready is wanted at once

private:
    enum class Action { none, install, relaunch };
    enum class Bar { hidden, busy, measured };
    struct Content
    {
        QString title;
        QString text;
        Action action = Action::none;
        QString closeLabel;
        Bar bar = Bar::hidden;
    };

    void show(const Content &content);

    QLabel *m_title;
    QLabel *m_text;
    QPlainTextEdit *m_notes;
    QProgressBar *m_progress;
    QPushButton *m_action;
    QPushButton *m_close;
    Action m_chosen = Action::none; // what the button does now
};

} // namespace corvella
