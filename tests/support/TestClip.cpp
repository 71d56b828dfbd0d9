#include "support/TestClip.h"

#include "ClipWriter.h"
#include "FrameMark.h"
#include "support/Waiting.h"

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <unistd.h>

namespace corvella::test {

namespace {

sun::ColourMatrix named(TestClip::Matrix matrix)
{
    switch (matrix) {
    case TestClip::Matrix::bt709:
        return sun::ColourMatrix::Bt709;
    case TestClip::Matrix::bt601:
        return sun::ColourMatrix::Bt601;
    case TestClip::Matrix::untagged:
        break;
    }
    return sun::ColourMatrix::Unspecified;
}

// What the clip is made of, besides its pictures: ClipMaker's arguments after the path.
QStringList description(const TestClip &clip)
{
    QStringList all;
    for (const int number :
         {clip.width, clip.height, clip.framesPerSecond, clip.bFrames,
          static_cast<int>(clip.fullRange ? sun::ColourRange::Full : sun::ColourRange::Limited),
          static_cast<int>(named(clip.matrix)), clip.rotationDegrees, clip.indexInFront ? 1 : 0})
        all << QString::number(number);
    return all;
}

QImage picture(const TestClip &clip, int number)
{
    QImage image(clip.width, clip.height, QImage::Format_RGB888);
    image.fill(clip.colour ? clip.colour(number) : QColor(40, 40, 40));
    if (clip.paint)
        clip.paint(image, number);
    if (clip.marked)
        sun::drawFrameMark(image, number);
    return image;
}

// As ClipMaker reads it: rows without padding.
QByteArray pixels(const QImage &image)
{
    const qsizetype row = qsizetype(image.width()) * 3;
    QByteArray all;
    all.reserve(row * image.height());
    for (int y = 0; y < image.height(); ++y)
        all.append(reinterpret_cast<const char *>(image.constScanLine(y)), row);
    return all;
}

// The same for the same clip.
QString key(const TestClip &clip)
{
    const std::hash<std::string> hash;
    std::string all = description(clip).join(u' ').toStdString();
    for (int i = 0; i < clip.frames; ++i)
        all += ' ' + std::to_string(hash(pixels(picture(clip, i)).toStdString()));
    return QString::number(hash(all), 16);
}

void make(const TestClip &clip, const QString &path)
{
    QProcess maker;
    maker.start(QStringLiteral(CORVELLA_CLIP_MAKER), QStringList{path} + description(clip));
    for (int i = 0; i < clip.frames; ++i) {
        maker.write(pixels(picture(clip, i)));
        while (maker.bytesToWrite() > 0 && maker.waitForBytesWritten()) {}
    }
    maker.closeWriteChannel();
    ASSERT_TRUE(maker.waitForFinished(kGenerous.count()));
    ASSERT_EQ(maker.exitStatus(), QProcess::NormalExit);
    ASSERT_EQ(maker.exitCode(), 0) << maker.readAllStandardError().constData();
}

} // namespace

void TestClip::write(const QString &path) const
{
    const QString kept = QStringLiteral(CORVELLA_CLIPS "/%1.mp4").arg(key(*this));
    if (!QFile::exists(kept)) {
        // Other tests may be about to make the same.
        const QString made = QStringLiteral("%1.%2").arg(kept).arg(::getpid());
        ASSERT_NO_FATAL_FAILURE(make(*this, made)); // half a clip must not be kept
        ASSERT_EQ(std::rename(qPrintable(made), qPrintable(kept)), 0);
    }
    QFile::remove(path);
    ASSERT_TRUE(QFile::copy(kept, path)) << qPrintable(path);
}

} // namespace corvella::test
