#include "support/Replacements.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <array>
#include <sys/inotify.h>
#include <unistd.h>

namespace corvella::test {

Replacements::Replacements(const QString &path)
    : m_name(QFileInfo(path).fileName().toLocal8Bit())
    , m_events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    const QByteArray folder = QFileInfo(path).path().toLocal8Bit();
    // Also where from, since the kernel makes one of two events that are alike.
    EXPECT_GE(::inotify_add_watch(m_events.get(), folder.constData(), IN_MOVE), 0);
}

int Replacements::count()
{
    alignas(inotify_event) std::array<char, 4096> events;
    ssize_t got = 0;
    while ((got = ::read(m_events.get(), events.data(), events.size())) > 0) {
        for (ssize_t at = 0; at < got;) {
            const auto *const event = reinterpret_cast<const inotify_event *>(events.data() + at);
            m_count += (event->mask & IN_MOVED_TO) && m_name == event->name;
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
    return m_count;
}

} // namespace corvella::test
