// How long the settings window lets something wait that comes for it, at the worst, while it
// downloads everything from the host that the environment's settings name. In milliseconds; 16 is a
// frame.
#include "Preferences/Preferences.h"
#include "Preferences/PreferencesWindow.h"
#include "settings/Settings.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// Knocks at the main thread's door while it lives, each time when the last knock was answered.
class Knocker
{
public:
    ~Knocker()
    {
        m_isOver = true;
        m_thread.join();
    }
    [[nodiscard]] double longestWait() const
    {
        return std::chrono::duration<double, std::milli>(m_longest.load()).count();
    }

private:
    void knock()
    {
        while (!m_isOver) {
            m_isAnswered = false;
            const Clock::time_point start = Clock::now();
            QMetaObject::invokeMethod(
                &m_door, [this] { m_isAnswered = true; }, Qt::QueuedConnection);
            while (!m_isAnswered && !m_isOver)
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            m_longest = std::max(m_longest.load(), Clock::now() - start);
        }
    }

    QObject m_door;
    std::atomic_bool m_isAnswered = false;
    std::atomic_bool m_isOver = false;
    std::atomic<Clock::duration> m_longest{};
    std::thread m_thread{&Knocker::knock, this};
};

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    corvella::Settings::setLastManual(corvella::Settings::distantPast()); // no check was refused
    corvella::Preferences &preferences = corvella::Preferences::shared();
    preferences.show();
    auto *const button =
        preferences.window()->findChild<QPushButton *>(QStringLiteral("primeButton"));
    QTimer untilThrough;
    QObject::connect(&untilThrough, &QTimer::timeout, &application, [button] {
        if (button->isEnabled())
            QCoreApplication::quit();
    });
    std::optional<Knocker> knocker;
    QTimer::singleShot(std::chrono::seconds(1), &application, [&] { // when the window is up
        knocker.emplace();
        button->click();
        untilThrough.start(5);
    });
    QCoreApplication::exec();
    const double longest = knocker->longestWait();
    knocker.reset();
    preferences.close();
    std::printf("longest %.1f ms\n", longest);
    return 0;
}
