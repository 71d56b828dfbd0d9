// The displays of this session, as they are now. Main thread only.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QRect>

#include <optional>

class QScreen;

namespace corvella {

struct Screen
{
    QScreen *screen = nullptr; // owned by Qt; valid until the displays change
    QRect frame;               // points, in the platform's global coordinates
    double scale = 1;          // pixels per point
};

// A display's place and size in points, as the platform has it at this moment.
[[nodiscard]] QRect frameOf(const QScreen &screen);

class Screens : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit Screens(QObject *parent = nullptr);

    // In the platform's order, the main screen first. Empty while no display is attached. Displays
    // that mirror one another are one screen, the largest of them.
    [[nodiscard]] QList<Screen> list() const;

Q_SIGNALS:
    // A display came, went, moved, turned or changed its size in points. Qt 6.4 tells nobody of a
    // scale that changes alone; list() has it.
    void changed();
    // The X server tells of a change, whether or not anything of it is left to see: a display that
    // was away for a moment comes with this alone, once a window manager has taken windows off it.
    void mayHaveChanged();

private:
    void watch(QScreen *screen);
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

    std::optional<int> m_firstEvent; // of those by which an X server tells of displays
};

} // namespace corvella
