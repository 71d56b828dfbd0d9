#include "HostTree.h"

#include "ClipRendering.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <cmath>
#include <filesystem>

namespace corvella::sun {

namespace {

constexpr double kClipHours = 48;
// The simulated Sun starts again after one turn (Carrington's, in hours), lest years of
// differential rotation wind its surface up.
constexpr double kTurnHours = 27.2753 * 24;

double sceneHours(const QDateTime &instant)
{
    const QDateTime start(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    const double hours = static_cast<double>(start.secsTo(instant)) / 3600;
    return hours - kTurnHours * std::floor(hours / kTurnHours);
}

QString isoText(const QDateTime &instant)
{
    return instant.toString(Qt::ISODate);
}

QString writeJson(const QString &path, const QJsonObject &object)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(object).toJson()) < 0
        || !file.commit())
        return path + u": " + file.errorString();
    return {};
}

bool rename(const QString &from, const QString &to)
{
    std::error_code failure;
    std::filesystem::rename(from.toStdString(), to.toStdString(), failure);
    return !failure;
}

} // namespace

HostTree::HostTree(const Sun &sun, const QDir &root, const HostOptions &options)
    : m_sun(sun)
    , m_root(root)
    , m_options(options)
{
}

QJsonObject HostTree::recordOf(Product product) const
{
    const QString id = productId(product);
    const QString stamp = m_options.instant.toString(QStringLiteral("yyyyMMdd'T'HHmmss"));
    const QString versioned = u"v/" + id + u'/' + stamp;
    return {{QStringLiteral("id"), id},
            {QStringLiteral("label"), productLabel(product)},
            {QStringLiteral("updated"), isoText(m_options.instant)},
            {QStringLiteral("through"), isoText(m_options.instant)},
            {QStringLiteral("video_v"), QString(versioned + u".mp4")},
            {QStringLiteral("video"), QString(u"video/" + id + u"_1k.mp4")},
            {QStringLiteral("still_v"), QString(versioned + u".png")},
            {QStringLiteral("img1k"), QString(u"img/" + id + u"_1k.png")}};
}

QString HostTree::write()
{
    QList<QJsonObject> records;
    for (const Product product : m_options.products) {
        const QJsonObject record = recordOf(product);
        if (QString error = writeMedia(product, record); !error.isEmpty())
            return error;
        records.append(record);
    }
    return writeRecords(records);
}

QString HostTree::writeMedia(Product product, const QJsonObject &record)
{
    const QString clip = record[u"video_v"].toString();
    const QString still = record[u"still_v"].toString();
    if (QString error = prepareFor(clip); !error.isEmpty())
        return error;

    const double end = sceneHours(m_options.instant);
    const ClipSpan span{product, end - kClipHours, kClipHours, m_options.frames, false};
    ClipOptions options;
    options.width = m_options.size;
    options.height = m_options.size;
    options.crf = m_options.crf;
    // What is being served stays whole: a file gets its name when it is written.
    const QString newClip = arriving(clip);
    const QString newStill = arriving(still);
    if (QString error = renderClip(m_sun, span, newClip, options); !error.isEmpty())
        return clip + u": " + error;
    if (!m_sun.render(product, end, m_options.size).save(newStill, "PNG")
        || !rename(newClip, m_root.filePath(clip)) || !rename(newStill, m_root.filePath(still)))
        return u"cannot write " + still;

    QString error = publish(clip, record[u"video"].toString());
    return error.isEmpty() ? publish(still, record[u"img1k"].toString()) : error;
}

QString HostTree::arriving(const QString &path) const
{
    const QFileInfo file(m_root.filePath(path));
    return file.path() + u"/arriving-" + file.fileName();
}

QString HostTree::prepareFor(const QString &path)
{
    const QString folder = QFileInfo(path).path();
    return m_root.mkpath(folder) ? QString() : u"cannot make the folder " + m_root.filePath(folder);
}

// A second name for the file, or a copy where the file system knows no second names.
QString HostTree::publish(const QString &versioned, const QString &unversioned)
{
    if (QString error = prepareFor(unversioned); !error.isEmpty())
        return error;
    const QString from = m_root.filePath(versioned);
    const QString to = m_root.filePath(unversioned);
    const QString newName = arriving(unversioned);
    QFile::remove(newName); // what was interrupted may have left it
    std::error_code failure;
    std::filesystem::create_hard_link(from.toStdString(), newName.toStdString(), failure);
    const bool isThere = !failure || QFile::copy(from, newName);
    return isThere && rename(newName, to) ? QString() : u"cannot write " + to;
}

QString HostTree::writeRecords(const QList<QJsonObject> &records)
{
    const QString index = QStringLiteral("manifest/index.json");
    if (QString error = prepareFor(index); !error.isEmpty())
        return error;
    QJsonArray all;
    for (const QJsonObject &record : records) {
        const QString path = u"manifest/" + record[u"id"].toString() + u".json";
        if (QString error = writeJson(m_root.filePath(path), record); !error.isEmpty())
            return error;
        all.append(record);
    }
    return writeJson(m_root.filePath(index),
                     {{QStringLiteral("generated"), isoText(m_options.instant)},
                      {QStringLiteral("products"), all}});
}

} // namespace corvella::sun
