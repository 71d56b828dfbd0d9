// One program per user: the first one keeps the name space.tarrow.corvella on the session's bus and
// answers as org.freedesktop.Application there
// (https://specifications.freedesktop.org/desktop-entry-spec/latest/dbus.html), and it keeps a lock
// and a socket in the user's runtime folder, for those that have no bus. One whose settings lie
// elsewhere than usual, as a trial's do, is a program of its own. Main thread only.
#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace corvella {

class SingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Outcome {
        first,      // this is the one; also where nothing tells otherwise
        handedOver, // another one runs, and took what was asked
        silent,     // another one runs, and does not answer
    };

    // Where the first is to be found and the others leave word.
    class Channel
    {
    public:
        virtual ~Channel() = default;
        // The word is an action's name, or empty: come forward. None where this channel is not to
        // be had.
        [[nodiscard]] virtual std::optional<Outcome> claim(const QString &word) = 0;
    };

    SingleInstance();
    ~SingleInstance() override;

    // To be called once, before anything is shown. Where another one runs, it is told an action of
    // the program's ("start", "quit"), or to come forward where that is empty; it has two seconds
    // to answer.
    [[nodiscard]] Outcome claim(const QString &action);

Q_SIGNALS:
    // The user started the program again, or chose one of its actions somewhere; empty for none.
    void activated(const QString &action);

private:
    std::vector<std::unique_ptr<Channel>> m_channels; // none where another one runs
};

// What the names of a program whose settings lie elsewhere end with; empty for the usual place.
[[nodiscard]] QString instanceSuffix();

// By the session's bus. Words of others come as SingleInstance::activated().
[[nodiscard]] std::unique_ptr<SingleInstance::Channel> createBusChannel(SingleInstance &instance);
// By a lock and a socket.
[[nodiscard]] std::unique_ptr<SingleInstance::Channel> createLockChannel(SingleInstance &instance);

} // namespace corvella
