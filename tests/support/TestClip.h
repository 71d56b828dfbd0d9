// Made-up clips for tests. Each is encoded once in a build's life and copied from then on.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

#include <functional>

namespace corvella::test {

struct TestClip
{
    int width = 320;
    int height = 240;
    int frames = 10;
    int framesPerSecond = 30;
    int rotationDegrees = 0; // clockwise
    bool fullRange = false;
    enum class Matrix { bt709, bt601, untagged } matrix = Matrix::bt709;
    bool indexInFront = true;
    int bFrames = 2;
    bool marked = true; // each picture carries its number, for readFrameMark()
    // What frame i is filled with; dark grey by default.
    std::function<QColor(int)> colour;
    // Draws over frame i, before the mark.
    std::function<void(QImage &, int)> paint;

    // Writes the clip; fails the test when that cannot be done.
    void write(const QString &path) const;
};

} // namespace corvella::test
