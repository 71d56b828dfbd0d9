// The files of an imagery host as a test lays them: an index and any bytes as clips and stills, at
// the paths at which hosts keep them. Serve folder() with a server.
#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

namespace corvella::test {

class TestImageryHost
{
public:
    // The twelve products, in the catalogue's order.
    static const QStringList kProducts;

    // Offers these products with clips of the moment `stamp` ("20260924T204216"), each of
    // `clipBytes` bytes, and an index that was generated now.
    explicit TestImageryHost(const QStringList &products, const QString &stamp = kStamp,
                             qsizetype clipBytes = 1000);

    static const QString kStamp;

    [[nodiscard]] QString folder() const { return m_folder.path(); }

    // What a product's clip or still of a moment consists of.
    [[nodiscard]] static QByteArray clip(const QString &id, const QString &stamp = kStamp,
                                         qsizetype bytes = 1000);
    [[nodiscard]] static QByteArray still(const QString &id, const QString &stamp = kStamp);

    // Offers a product's clip of another moment from now on.
    void offer(const QString &id, const QString &stamp, qsizetype clipBytes = 1000);
    // Likewise one of these bytes, which are there before anybody is told of them.
    void offerClip(const QString &id, const QString &stamp, const QByteArray &clip);
    // Changes a key of a product's record; an undefined value removes it.
    void setRecord(const QString &id, const QString &key, const QJsonValue &value);
    // The index's own date; none for an index that has no such date.
    void setGenerated(const QDateTime &generated);
    // Lays any bytes in the place of the index, or anywhere.
    void write(const QString &path, const QByteArray &bytes) const;
    void writeIndex(const QByteArray &bytes) const;
    void remove(const QString &path) const;

private:
    void publish() const;

    QTemporaryDir m_folder;
    QStringList m_order;
    QHash<QString, QJsonObject> m_records;
    QDateTime m_generated = QDateTime::currentDateTimeUtc();
};

} // namespace corvella::test
