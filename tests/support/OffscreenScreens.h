// The displays that Qt's offscreen platform makes believe there are, changed while a test runs.
// Main thread only.
#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace corvella::test {

struct OffscreenScreen
{
    QString name;     // the same name is the same display, changed
    QRect frame;      // points; empty for the placeholder that Qt offers where no display is left
    double scale = 1; // pixels per point
};

// These are all displays from now on; the application has been told when this returns.
void setOffscreenScreens(const QList<OffscreenScreen> &screens);

} // namespace corvella::test
