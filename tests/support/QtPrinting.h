// How a failing test names values of Qt's types. Include it in the test; googletest finds the rest.
#pragma once

#include <QByteArray>
#include <QRect>
#include <QString>

#include <ostream>

// In the global namespace, because that is where Qt's types are.

inline void PrintTo(const QString &text, std::ostream *stream)
{
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray &bytes, std::ostream *stream)
{
    *stream << '"' << bytes.toStdString() << '"';
}

inline void PrintTo(const QRect &rect, std::ostream *stream)
{
    *stream << rect.width() << " x " << rect.height() << " at " << rect.x() << ", " << rect.y();
}

inline void PrintTo(const QSize &size, std::ostream *stream)
{
    *stream << size.width() << " x " << size.height();
}
