// Stills as they are, and as a host with bad intentions might send them.
#include "platform/pictures/PictureFile.h"

#include "support/QtPrinting.h"

#include <QBuffer>
#include <QImageWriter>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

// Each pixel another colour.
QImage colourful(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, (x + y) % 256));
    }
    return image;
}

QByteArray written(const QImage &image, const char *format)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&file, format)) << format;
    return file.data();
}

QString reasonAgainst(const QByteArray &bytes)
{
    Failure failure;
    EXPECT_TRUE(stillIn(bytes, failure).isNull());
    return failure.value_or(QString());
}

const QString kNeither = u"neither a PNG nor an ordinary JPEG"_s;

class StillOfAFormat : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(StillOfAFormat, HasItsPixels)
{
    const QImage image = colourful({40, 30}).convertToFormat(GetParam());
    Failure failure;
    EXPECT_EQ(stillIn(written(image, "png"), failure), image);
    EXPECT_EQ(failure, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Cases, StillOfAFormat,
                         testing::Values(QImage::Format_RGB32, QImage::Format_ARGB32,
                                         QImage::Format_RGBA64, QImage::Format_Indexed8,
                                         QImage::Format_Grayscale8, QImage::Format_Mono));

TEST(Still, MayBeAJpegWhateverItIsCalled)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"0171.png"_s);
    const QImage image = colourful({40, 30});
    ASSERT_TRUE(image.save(path, "jpeg"));
    Failure failure;
    EXPECT_EQ(readStill(path, failure).size(), image.size());
    EXPECT_EQ(failure, std::nullopt);
}

TEST(Still, IsReadByNothingElseThatHappensToBeInstalled)
{
    const QImage image = colourful({4, 4});
    for (const char *format : {"bmp", "ppm", "xpm", "ico"})
        EXPECT_EQ(reasonAgainst(written(image, format)), kNeither) << format;
    const QByteArray gif("GIF89a\1\0\1\0\x80\0\0\0\0\0\xff\xff\xff!\xf9\4\1\0\0\0\0"
                         ",\0\0\0\0\1\0\1\0\0\2\1D\0;",
                         43);
    ASSERT_FALSE(QImage::fromData(gif).isNull());
    EXPECT_EQ(reasonAgainst(gif), kNeither);
    EXPECT_EQ(reasonAgainst("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"),
              kNeither);
    EXPECT_EQ(reasonAgainst("\x89PNG\r\n\x1a\n" + written(image, "bmp")).isEmpty(), false);
    EXPECT_EQ(reasonAgainst("\xff\xd8\xff" + gif).isEmpty(), false);
}

TEST(Still, IsRefusedForItsSizeBeforeItIsRead)
{
    // Black and white, so that even all of it were not too much for memory.
    const QByteArray bomb = QByteArray::fromHex(
        "89504e470d0a1a0a"
        "0000000d494844520000ea600000ea600100000000a8a948ef"
        "0000001e49444154789cedc18100000000c3a0f9531fe00a550100000000000070061d4d00011ddc060e"
        "0000000049454e44ae426082");
    EXPECT_EQ(reasonAgainst(bomb), u"a picture of 60000 x 60000 is too large"_s);
    for (const char *format : {"png", "jpeg"}) {
        EXPECT_EQ(reasonAgainst(written(colourful({8193, 1}), format)),
                  u"a picture of 8193 x 1 is too large"_s);
        EXPECT_EQ(reasonAgainst(written(colourful({1, 8193}), format)),
                  u"a picture of 1 x 8193 is too large"_s);
        Failure failure;
        EXPECT_EQ(stillIn(written(colourful({8192, 1}), format), failure).width(), 8192);
    }
}

TEST(Still, UnpacksNoTexts)
{
    QImage image = colourful({4, 4});
    image.setText(u"Description"_s, QString(100'000, u'x'));
    const QByteArray png = written(image, "png");
    ASSERT_FALSE(QImage::fromData(png).text(u"Description"_s).isEmpty());
    Failure failure;
    EXPECT_EQ(stillIn(png, failure), image);
    EXPECT_EQ(stillIn(png, failure).textKeys(), QStringList());
}

TEST(Still, IsNotGoneThroughWithoutEnd)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QImageWriter writer(&file, "jpeg");
    writer.setProgressiveScanWrite(true);
    ASSERT_TRUE(writer.write(colourful({40, 30})));
    const QByteArray jpeg = file.data();
    const qsizetype lastScan = jpeg.lastIndexOf("\xff\xda");
    const QByteArray scan = jpeg.mid(lastScan, jpeg.size() - 2 - lastScan);
    Failure failure;
    EXPECT_FALSE(stillIn(jpeg, failure).isNull());
    EXPECT_EQ(reasonAgainst(jpeg.left(lastScan) + scan.repeated(200) + "\xff\xd9"), kNeither);
}

TEST(Still, IsWholeOrNone)
{
    const QByteArray png = written(colourful({40, 30}), "png");
    const qsizetype withoutEnd = png.size() - 12;
    for (qsizetype size = 0; size < withoutEnd; ++size)
        EXPECT_NE(reasonAgainst(png.left(size)), QString()) << size;
    EXPECT_EQ(reasonAgainst({}), kNeither);
    EXPECT_EQ(reasonAgainst("no picture"), kNeither);
    for (qsizetype at = 8; at < png.size(); ++at) {
        QByteArray damaged = png;
        damaged[at] = static_cast<char>(~damaged[at]);
        Failure failure;
        const QImage still = stillIn(damaged, failure);
        EXPECT_EQ(still.isNull(), failure.has_value()) << at;
    }
}

TEST(Still, ThatIsNotThereIsNone)
{
    Failure failure;
    EXPECT_TRUE(readStill(u"/nonexistent/0171.png"_s, failure).isNull());
    EXPECT_NE(failure, std::nullopt);
}

} // namespace
} // namespace corvella
