#include "support/TestClip.h"

#include "ClipWriter.h"
#include "FrameMark.h"

#include <gtest/gtest.h>

namespace corvella::test {

void TestClip::write(const QString &path) const
{
    sun::ClipOptions options;
    options.width = width;
    options.height = height;
    options.framesPerSecond = framesPerSecond;
    options.bFrames = bFrames;
    options.crf = 4; // close to lossless: the tests read colours
    options.preset = "ultrafast";
    options.range = fullRange ? sun::ColourRange::Full : sun::ColourRange::Limited;
    options.matrix = matrix == Matrix::bt709 ? sun::ColourMatrix::Bt709
        : matrix == Matrix::bt601            ? sun::ColourMatrix::Bt601
                                             : sun::ColourMatrix::Unspecified;
    options.rotationDegrees = rotationDegrees;
    options.fastStart = indexInFront;
    auto [writer, error] = sun::ClipWriter::create(path, options);
    ASSERT_TRUE(writer) << error.toStdString();
    for (int i = 0; i < frames; ++i) {
        QImage image(width, height, QImage::Format_RGB888);
        image.fill(colour ? colour(i) : QColor(40, 40, 40));
        if (paint)
            paint(image, i);
        if (marked)
            sun::drawFrameMark(image, i);
        ASSERT_TRUE(writer->add(image)) << writer->errorText().toStdString();
    }
    ASSERT_TRUE(writer->finish()) << writer->errorText().toStdString();
}

} // namespace corvella::test
