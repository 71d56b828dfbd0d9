#include "desktop/PictureChoice.h"
#include "support/QtPrinting.h"
#include "support/Repetitions.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

QJsonObject still(const QString &id)
{
    return {{u"id"_s, id}, {u"still"_s, QString(id + u".png"_s)}};
}

QList<QJsonObject> stills(const QStringList &ids)
{
    QList<QJsonObject> list;
    for (const QString &id : ids)
        list << still(id);
    return list;
}

// The chosen ids; a dash for a screen without a picture.
QString chosen(const QStringList &cached, const QList<ScreenWish> &screens, qint64 counter)
{
    QStringList ids;
    for (const auto &entry : choosePictures(stills(cached), screens, counter))
        ids << (entry ? (*entry)[u"id"].toString() : u"-"_s);
    return ids.join(u' ');
}

const ScreenWish kOff;
const ScreenWish kAll = QStringList();
const ScreenWish kAbc = QStringList{u"a"_s, u"b"_s, u"c"_s};

struct Case
{
    const char *name;
    QStringList cached;
    QList<ScreenWish> screens;
    qint64 counter;
    QString chosen;
};

std::ostream &operator<<(std::ostream &stream, const Case &test)
{
    return stream << test.name;
}

class PictureChoice : public testing::TestWithParam<Case>
{
};

TEST_P(PictureChoice, Is)
{
    EXPECT_EQ(chosen(GetParam().cached, GetParam().screens, GetParam().counter), GetParam().chosen);
}

const QStringList kCached{u"c"_s, u"a"_s, u"b"_s};
constexpr qint64 kLast = std::numeric_limits<qint64>::max(); // 1 more than a multiple of three

INSTANTIATE_TEST_SUITE_P(
    Cases, PictureChoice,
    testing::Values(
        Case{"FirstOfItsListAtFirst", kCached, {kAbc}, 0, u"a"_s},
        Case{"OneStepFurtherAtEachUpdate", kCached, {kAbc}, 1, u"b"_s},
        Case{"TheLast", kCached, {kAbc}, 2, u"c"_s},
        Case{"AndRoundAgain", kCached, {kAbc}, 3, u"a"_s},
        Case{"NeighbourStartsOneFurther", kCached, {kAbc, kAbc}, 0, u"a b"_s},
        Case{"AndStaysInStep", kCached, {kAbc, kAbc}, 2, u"c a"_s},
        Case{"AnEmptyListIsEverythingInTheCachesOrder", kCached, {kAll, kAll}, 0, u"c a"_s},
        Case{"TheSameWhereNothingElseIsLeft",
             kCached,
             {QStringList{u"a"_s}, QStringList{u"a"_s}},
             0,
             u"a a"_s},
        Case{"FallsBackToWhereItStarted", {u"a"_s, u"b"_s}, {kAll, kAll, kAll}, 1, u"b a b"_s},
        Case{"ThirdScreenAtCounterFiveStartsAtTheSecondOfThree",
             kCached,
             {kOff, kOff, kAbc},
             5,
             u"- - b"_s},
        Case{"PassesOverWhatANeighbourShows", kCached, {QStringList{u"b"_s}, kAbc}, 0, u"b c"_s},
        Case{"AScreenThatIsOffCountsAllTheSame", kCached, {kOff, kAbc}, 0, u"- b"_s},
        Case{"ProductsWithoutAStillDropOut", {u"b"_s}, {kAbc}, 2, u"b"_s},
        Case{"NothingOfItsListCached", {u"x"_s}, {kAbc, kAll}, 0, u"- x"_s},
        Case{"NothingCached", {}, {kAll}, 7, u"-"_s}, Case{"NoScreens", kCached, {}, 0, u""_s},
        Case{"TheLargestCounter", kCached, {kAbc, kAbc, kAbc}, kLast, u"b c a"_s}),
    [](const auto &test) { return test.param.name; });

// By the rule's own words, one walk at a time.
TEST(PictureChoiceProperty, EachScreenShowsTheFirstUnusedOfItsWalk)
{
    std::mt19937 random(5);
    const auto below = [&](size_t bound) { return static_cast<int>(random() % bound); };
    for (int round = 0; round < test::repetitions("CORVELLA_CHOICES", 2000); ++round) {
        QStringList cached;
        for (int i = below(7); i > 0; --i)
            cached << QString(QChar(u'a' + below(7)));
        QList<ScreenWish> screens;
        for (int i = below(6); i > 0; --i) {
            QStringList list;
            for (int k = below(5); k > 0; --k)
                list << QString(QChar(u'a' + below(9)));
            screens << (below(4) == 0 ? kOff : ScreenWish(list));
        }
        const qint64 counter = below(1000);
        const QStringList result = chosen(cached, screens, counter).split(u' ');
        std::set<QString> used;
        for (qsizetype i = 0; i < screens.size(); ++i) {
            QStringList list;
            for (const QString &id : screens[i].value_or(QStringList())) {
                if (cached.contains(id))
                    list << id;
            }
            if (screens[i] && screens[i]->isEmpty())
                list = cached;
            if (list.isEmpty()) {
                EXPECT_EQ(result[i], u"-"_s);
                continue;
            }
            QStringList walk;
            for (qsizetype k = 0; k < list.size(); ++k)
                walk << list[(counter + i + k) % list.size()];
            QStringList unused = walk;
            unused.removeIf([&](const QString &id) { return used.contains(id); });
            EXPECT_EQ(result[i], unused.value(0, walk.first()));
            used.insert(result[i]);
        }
    }
}

TEST(PictureChoiceStills, AreTheEntriesThatHaveOne)
{
    const QJsonObject without{{u"id"_s, u"x"_s}};
    EXPECT_EQ(stillsOf({without, still(u"a"_s), without}), QList{still(u"a"_s)});
}

struct NameCase
{
    const char *name;
    QJsonObject entry;
    std::optional<QString> picture;
};

std::ostream &operator<<(std::ostream &stream, const NameCase &test)
{
    return stream << test.name;
}

class PictureName : public testing::TestWithParam<NameCase>
{
};

TEST_P(PictureName, Is)
{
    EXPECT_EQ(pictureName(GetParam().entry), GetParam().picture);
}

QJsonObject entry(const QJsonValue &id, const QJsonValue &still, const QJsonValue &stillUpdated,
                  const QJsonValue &updated)
{
    QJsonObject entry{{u"id"_s, id},
                      {u"still"_s, still},
                      {u"stillUpdated"_s, stillUpdated},
                      {u"updated"_s, updated}};
    for (const QString &key : entry.keys()) {
        if (entry[key].isNull())
            entry.remove(key);
    }
    return entry;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PictureName,
    testing::Values(
        NameCase{"OfTheStillsStamp",
                 entry(u"0171"_s, u"s.png"_s, u"2025-03-01T12:00:00Z"_s, u"2025-03-02T00:00:00Z"_s),
                 u"0171-2025-03-01T12-00-00Z.png"_s},
        NameCase{"ElseOfTheEntrys", entry(u"171"_s, u"s.png"_s, {}, u"2025-03-02T01:02:03Z"_s),
                 u"171-2025-03-02T01-02-03Z.png"_s},
        NameCase{"AStampThatIsNoText", entry(u"171"_s, u"s.png"_s, 17, u"x:y"_s), u"171-x-y.png"_s},
        NameCase{"WithoutAnyStamp", entry(u"171"_s, u"s.png"_s, {}, {}), u"171-.png"_s},
        NameCase{"WithoutAStill", entry(u"171"_s, {}, {}, {}), std::nullopt},
        NameCase{"AStillThatIsNoText", entry(u"171"_s, 3, {}, {}), std::nullopt},
        NameCase{"WithoutAnId", entry({}, u"s.png"_s, {}, {}), std::nullopt},
        NameCase{"AnIdThatLeadsOutOfTheFolder", entry(u"../a"_s, u"s.png"_s, {}, {}), std::nullopt},
        NameCase{"AStampThatDoes", entry(u"a"_s, u"s.png"_s, u"/b"_s, {}), std::nullopt}),
    [](const auto &test) { return test.param.name; });

} // namespace
} // namespace corvella
