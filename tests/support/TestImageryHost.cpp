#include "support/TestImageryHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace corvella::test {

const QStringList TestImageryHost::kProducts{
    QStringLiteral("rainbow"), QStringLiteral("171"),          QStringLiteral("193"),
    QStringLiteral("211"),     QStringLiteral("304"),          QStringLiteral("335"),
    QStringLiteral("94"),      QStringLiteral("131"),          QStringLiteral("1600"),
    QStringLiteral("1700"),    QStringLiteral("composite_uv"), QStringLiteral("dem")};

const QString TestImageryHost::kStamp = QStringLiteral("20260924T204216");

namespace {

// "2026-09-24T20:42:16Z" of "20260924T204216".
QString isoOf(const QString &stamp)
{
    return stamp.mid(0, 4) + u'-' + stamp.mid(4, 2) + u'-' + stamp.mid(6, 2) + u'T'
        + stamp.mid(9, 2) + u':' + stamp.mid(11, 2) + u':' + stamp.mid(13, 2) + u'Z';
}

QByteArray padded(const QByteArray &text, qsizetype bytes)
{
    return text + QByteArray(std::max<qsizetype>(bytes - text.size(), 0), '.');
}

} // namespace

TestImageryHost::TestImageryHost(const QStringList &products, const QString &stamp,
                                 qsizetype clipBytes)
{
    for (const QString &id : products)
        offer(id, stamp, clipBytes);
}

QByteArray TestImageryHost::clip(const QString &id, const QString &stamp, qsizetype bytes)
{
    return padded(QByteArray("clip of " + id.toUtf8() + " at " + stamp.toUtf8()), bytes);
}

QByteArray TestImageryHost::still(const QString &id, const QString &stamp)
{
    return "still of " + id.toUtf8() + " at " + stamp.toUtf8();
}

void TestImageryHost::offer(const QString &id, const QString &stamp, qsizetype clipBytes)
{
    offerClip(id, stamp, clip(id, stamp, clipBytes));
}

void TestImageryHost::offerClip(const QString &id, const QString &stamp, const QByteArray &clip)
{
    const QString versioned = u"v/" + id + u'/' + stamp;
    const QString video = u"video/" + id + u"_1k.mp4";
    const QString image = u"img/" + id + u"_1k.png";
    write(versioned + u".mp4", clip);
    write(versioned + u".png", still(id, stamp));
    write(video, clip);
    write(image, still(id, stamp));
    if (!m_order.contains(id))
        m_order << id;
    m_records[id] = {{QStringLiteral("id"), id},
                     {QStringLiteral("label"), QString(u"The " + id)},
                     {QStringLiteral("updated"), isoOf(stamp)},
                     {QStringLiteral("video_v"), QString(versioned + u".mp4")},
                     {QStringLiteral("video"), video},
                     {QStringLiteral("still_v"), QString(versioned + u".png")},
                     {QStringLiteral("img1k"), image}};
    publish();
}

void TestImageryHost::setRecord(const QString &id, const QString &key, const QJsonValue &value)
{
    if (value.isUndefined())
        m_records[id].remove(key);
    else
        m_records[id].insert(key, value);
    publish();
}

void TestImageryHost::setGenerated(const QDateTime &generated)
{
    m_generated = generated;
    publish();
}

void TestImageryHost::publish() const
{
    QJsonArray records;
    for (const QString &id : m_order) {
        records << m_records[id];
        write(u"manifest/" + id + u".json", QJsonDocument(m_records[id]).toJson());
    }
    QJsonObject index{{QStringLiteral("products"), records}};
    if (m_generated.isValid())
        index.insert(QStringLiteral("generated"), m_generated.toString(Qt::ISODate));
    writeIndex(QJsonDocument(index).toJson());
}

void TestImageryHost::writeIndex(const QByteArray &bytes) const
{
    write(QStringLiteral("manifest/index.json"), bytes);
}

void TestImageryHost::write(const QString &path, const QByteArray &bytes) const
{
    const QString file = m_folder.filePath(path);
    EXPECT_TRUE(QDir().mkpath(QFileInfo(file).path()));
    // A web server tells versions of a file apart by its second and its size. A new file with a
    // second of its own is told apart for sure, and never by waiting.
    static int changes = 0;
    QFile::remove(file);
    QFile target(file);
    EXPECT_TRUE(target.open(QIODevice::WriteOnly));
    EXPECT_EQ(target.write(bytes), bytes.size());
    target.flush();
    EXPECT_TRUE(target.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-100'000 + ++changes),
                                   QFileDevice::FileModificationTime));
}

void TestImageryHost::remove(const QString &path) const
{
    EXPECT_TRUE(QFile::remove(m_folder.filePath(path)));
}

} // namespace corvella::test
