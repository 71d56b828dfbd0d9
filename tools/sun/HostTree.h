#pragma once

#include "Sun.h"

#include <QDateTime>
#include <QDir>
#include <QJsonObject>
#include <QList>

namespace corvella::sun {

struct HostOptions
{
    QList<Product> products;
    QDateTime instant; // UTC: what the clips' last frames and the stills show
    int size = 1024;
    int frames = 480; // of the 48 hours up to the instant
    int crf = 21;
};

// A folder laid out as an imagery host serves it:
//   manifest/index.json      all records, and when they were made
//   manifest/<id>.json       one product's record
//   v/<id>/<stamp>.mp4|.png  files that never change, named after their instant
//   video/<id>_1k.mp4, img/<id>_1k.png  the same files under names that stay
class HostTree
{
public:
    // The Sun is borrowed for the tree's lifetime; the folder need not exist yet.
    HostTree(const Sun &sun, const QDir &root, const HostOptions &options);

    // Writes all of it, the records last. Empty when all went well, else the reason.
    QString write();

private:
    QString writeMedia(Product product, const QJsonObject &record);
    QString writeRecords(const QList<QJsonObject> &records);
    QString publish(const QString &versioned, const QString &unversioned);
    // Where a file is written before it gets its name.
    QString arriving(const QString &path) const;
    QString prepareFor(const QString &path);
    QJsonObject recordOf(Product product) const;

    const Sun &m_sun;
    QDir m_root;
    HostOptions m_options;
};

} // namespace corvella::sun
