// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread, so that the program ends in
// order. A SIGINT or SIGHUP that was ignored when the program started stays ignored. Where the end
// takes more than 20 s, as with a display server that answers no more, the process ends at once,
// with EX_UNAVAILABLE.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace corvella {

class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    // One per process, on the main thread, while the event loop runs.
    explicit TerminationSignals(QObject *parent = nullptr);
    // From then on a signal ends the program at once.
    ~TerminationSignals() override;

    // Whether one came, also after the event loop ended. Any thread.
    [[nodiscard]] static bool wereReceived();

Q_SIGNALS:
    void received();

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace corvella
