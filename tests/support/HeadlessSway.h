// A Wayland compositor of the test's own (sway) with screens that nobody sees, ended with the
// object. It refuses to run as root and is then started as "nobody". Main thread only.
#pragma once

#include "support/ChildProcess.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QTemporaryDir>

#include <memory>

namespace corvella::test {

class HeadlessSway
{
public:
    // With one output per frame, in pixels, and these lines of configuration besides. Fails the
    // test when it does not start.
    explicit HeadlessSway(const QList<QRect> &outputs, const QString &configuration = {});

    // As a session of its own: with exactly this configuration file, this many outputs of 1280 x
    // 720 pixels, and this environment, in which it starts programs. Their home is handed over to
    // the user that it runs as.
    HeadlessSway(const QString &configurationFile, int outputs,
                 const QProcessEnvironment &environment);

    // In windows of another one, which must outlive it: one output, WL-1, that goes when its window
    // is closed.
    HeadlessSway(const HeadlessSway &outer, const QString &configuration);

    [[nodiscard]] ChildProcess &compositor() { return *m_compositor; }

    // What a program needs to be shown here.
    [[nodiscard]] QString runtimeFolder() const { return m_folder.path(); }
    [[nodiscard]] QString socket() const { return m_socket; } // its path

    // What one output shows; counted from 0.
    [[nodiscard]] QImage picture(int output) const;
    // A command for a program of this compositor.
    [[nodiscard]] Command commandHere(const QString &program, const QStringList &arguments) const;
    // Types a key of a keyboard that is plugged in for it, with these modifiers held down: "ctrl",
    // "alt", "logo", "shift".
    void typeKey(const QString &key, const QStringList &modifiers = {}) const;
    // The same key again and again, a hundred times a second.
    void hammer(const QString &key, const QString &modifier, int times) const;
    // Has the compositor do something, in the words of its configuration; what it answers.
    QByteArray tell(const QStringList &words) const;
    // A command that writes a line for each event of these kinds that it tells of.
    [[nodiscard]] Command commandForEvents(const QStringList &kinds) const;
    // A folder that the compositor may write to.
    [[nodiscard]] QString folder() const { return m_folder.path(); }
    // Gives an output another resolution in pixels and another scale, in one change.
    void change(int output, QSize resolution, int scale) const;
    // The compositor goes away under everything that it shows.
    void stop() { m_compositor.reset(); }

private:
    void writeConfiguration(const QList<QRect> &outputs, const QString &more);
    void start(const QString &configurationFile, qsizetype outputs,
               QProcessEnvironment environment);
    [[nodiscard]] bool findSocket();
    [[nodiscard]] QStringList commandSockets() const; // their names
    [[nodiscard]] Command commandToTell(const QStringList &words) const;
    // Runs a program of this compositor; what it wrote.
    QByteArray runHere(const QString &program, const QStringList &arguments) const;
    [[nodiscard]] QString configurationFile() const;

    QTemporaryDir m_folder; // for sockets, and its home
    QString m_socket;
    std::unique_ptr<ChildProcess> m_compositor;
    // Plugged in all the time: programs would not hear the first keys of the only one.
    std::unique_ptr<ChildProcess> m_keyboard;
};

} // namespace corvella::test
