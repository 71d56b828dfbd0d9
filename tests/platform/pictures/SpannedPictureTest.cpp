#include "platform/pictures/SpannedPicture.h"

#include "platform/pictures/FittedPicture.h"
#include "support/QtPrinting.h"

#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

struct Fit
{
    const char *name;
    QSize picture;
    QRect place;
    QRect fitted;
};

std::ostream &operator<<(std::ostream &stream, const Fit &fit)
{
    return stream << fit.name;
}

class FittedRect : public testing::TestWithParam<Fit>
{
};

TEST_P(FittedRect, Is)
{
    EXPECT_EQ(fittedRect(GetParam().picture, GetParam().place), GetParam().fitted);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FittedRect,
    testing::Values(
        Fit{"SquareInAWideScreen", {1024, 1024}, {0, 0, 1920, 1080}, {420, 0, 1080, 1080}},
        Fit{"SquareInATallScreen", {4096, 4096}, {100, 0, 1080, 1920}, {100, 420, 1080, 1080}},
        Fit{"SmallOneIsEnlarged", {10, 5}, {0, 0, 100, 100}, {0, 25, 100, 50}},
        Fit{"SameShape", {1920, 1080}, {7, 9, 960, 540}, {7, 9, 960, 540}},
        Fit{"AThreadStaysVisible", {10000, 1}, {0, 0, 100, 100}, {0, 49, 100, 1}}),
    [](const auto &test) { return test.param.name; });

class SpannedPictureTest : public testing::Test
{
protected:
    QString picture(const QColor &colour, QSize size = {100, 100})
    {
        const QString path = m_folder.filePath(colour.name().mid(1) + u".png"_s);
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        EXPECT_TRUE(image.save(path));
        return path;
    }
    QImage composed(const QList<PictureScreen> &screens, const QList<std::optional<QString>> &files,
                    const Backdrop &backdrop = {})
    {
        SpannedPicture picture(m_folder.filePath(u"composed"_s));
        EXPECT_EQ(picture.compose(screens, files, backdrop), QList<Failure>(screens.size()));
        return QImage(picture.path());
    }

    QTemporaryDir m_folder;
};

TEST_F(SpannedPictureTest, HasTheSharpestScreensPixelsAndNoneIsCropped)
{
    // Two pixels a point on the left; the right one stands lower, and left of the origin is one
    // too.
    const QList<PictureScreen> screens{{u"Main"_s, {0, 0, 200, 100}, 2},
                                       {u"Right"_s, {200, 50, 100, 100}, 1},
                                       {u"Left"_s, {-50, 0, 50, 50}, 1}};
    const QImage image =
        composed(screens, {picture(Qt::red), picture(Qt::green), picture(Qt::blue)});
    ASSERT_EQ(image.size(), QSize(700, 300));
    EXPECT_EQ(image.pixelColor(100 + 100, 0), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(100 + 299, 199), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(100 + 99, 100), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(100 + 300, 100), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(500, 100), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(699, 299), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(600, 99), QColor(Qt::black)) << "above it is no screen";
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(99, 99), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(50, 100), QColor(Qt::black));
}

struct Behind
{
    const char *name;
    Backdrop::Mode mode;
    QString corner; // the colours at the screen's corner and middle
    QString middle;
};

std::ostream &operator<<(std::ostream &stream, const Behind &behind)
{
    return stream << behind.name;
}

class BackdropOfAScreen : public SpannedPictureTest, public testing::WithParamInterface<Behind>
{
};

// A green square on a screen that is twice as wide as high, on a grey ground.
TEST_P(BackdropOfAScreen, IsDrawnAsTheDesktopDoes)
{
    const QList<PictureScreen> screens{{u"A"_s, {0, 0, 200, 100}, 1},
                                       {u"B"_s, {200, 0, 200, 100}, 1}};
    const Backdrop backdrop{picture(Qt::green, {50, 50}), GetParam().mode, QColor(Qt::gray)};
    const QImage image = composed(screens, {picture(Qt::red), std::nullopt}, backdrop);
    EXPECT_EQ(image.pixelColor(201, 1).name(), GetParam().corner);
    EXPECT_EQ(image.pixelColor(300, 50).name(), GetParam().middle);
    EXPECT_EQ(image.pixelColor(100, 50), QColor(Qt::red)) << "the other is as it was";
}

const QString kGreen = u"#00ff00"_s;
const QString kGrey = u"#a0a0a4"_s;
INSTANTIATE_TEST_SUITE_P(
    Modes, BackdropOfAScreen,
    testing::Values(Behind{"Zoomed", Backdrop::Mode::zoomed, kGreen, kGreen},
                    Behind{"Scaled", Backdrop::Mode::scaled, kGrey, kGreen},
                    Behind{"Stretched", Backdrop::Mode::stretched, kGreen, kGreen},
                    Behind{"Centred", Backdrop::Mode::centred, kGrey, kGreen},
                    Behind{"Spanned", Backdrop::Mode::spanned, kGreen, kGreen}),
    [](const auto &test) { return test.param.name; });

// Whatever way to show it a desktop is set to.
TEST_F(SpannedPictureTest, AScreenKeepsItsPartOfTheLastOneThoughScreensHaveMoved)
{
    const PictureScreen left{u"Left"_s, {0, 0, 200, 100}, 1};
    PictureScreen right{u"Right \"ü\""_s, {200, 0, 100, 100}, 1};
    const QString folder = m_folder.filePath(u"composed"_s);
    SpannedPicture last(folder);
    ASSERT_EQ(last.compose({left, right}, {picture(Qt::red), picture(Qt::blue)}, {}),
              QList<Failure>(2));
    right.place.moveTo(0, 100);
    const PictureScreen newcomer{u"New"_s, {100, 100, 100, 100}, 1};
    const QImage image =
        composed({left, right, newcomer}, {picture(Qt::green), std::nullopt, std::nullopt},
                 {last.path(), Backdrop::Mode::zoomed, Qt::gray});
    EXPECT_EQ(image.pixelColor(1, 101), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(98, 198), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(150, 150), QColor(Qt::gray)) << "it had none";
}

TEST_F(SpannedPictureTest, AScreenWhosePictureIsBrokenKeepsItsBackdrop)
{
    QFile broken(m_folder.filePath(u"broken.png"_s));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("no picture");
    broken.close();
    SpannedPicture spanned(m_folder.filePath(u"composed"_s));
    const QList<Failure> failures =
        spanned.compose({{u"A"_s, {0, 0, 10, 10}, 1}, {u"B"_s, {10, 0, 10, 10}, 1}},
                        {broken.fileName(), picture(Qt::red)}, {{}, {}, Qt::gray});
    EXPECT_NE(failures.first(), std::nullopt);
    EXPECT_EQ(failures.last(), std::nullopt);
    EXPECT_EQ(QImage(spanned.path()).pixelColor(5, 5), QColor(Qt::gray));
}

} // namespace
} // namespace corvella
