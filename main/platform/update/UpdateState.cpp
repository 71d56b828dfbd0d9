#include "platform/update/UpdateState.h"

#include "platform/storage/BoundedFile.h"
#include "platform/storage/IsoDate.h"
#include "platform/update/UpdateChoice.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace corvella {

namespace {

constexpr qint64 kLargestFile = 1 << 14; // bytes
const QString kIssued = QStringLiteral("feedIssued");
const QString kDigest = QStringLiteral("feedDigest");
const QString kLastCheck = QStringLiteral("lastCheck");
const QString kPhase = QStringLiteral("phase");

QString fileIn(const QString &folder)
{
    return folder + QStringLiteral("/state.json");
}

} // namespace

UpdateState UpdateState::parse(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    UpdateState state;
    if (const auto issued = parseIsoDate(object.value(kIssued).toString()))
        state.seen = {.issued = *issued,
                      .digest = QByteArray::fromHex(object.value(kDigest).toString().toLatin1())};
    state.lastCheck = parseIsoDate(object.value(kLastCheck).toString());
    const int phase = object.value(kPhase).toInt(-1);
    state.phase = phase >= 0 && phase < kPhases ? phase : -1;
    return state;
}

QByteArray UpdateState::json() const
{
    QJsonObject object{{kPhase, phase}};
    if (seen) {
        object.insert(kIssued, isoDateText(seen->issued));
        object.insert(kDigest, QString::fromLatin1(seen->digest.toHex()));
    }
    if (lastCheck)
        object.insert(kLastCheck, isoDateText(*lastCheck));
    return QJsonDocument(object).toJson();
}

UpdateState UpdateState::read(const QString &folder)
{
    return parse(readBounded(fileIn(folder), kLargestFile).bytes);
}

FileResult UpdateState::write(const QString &folder) const
{
    return DurableFile::write(fileIn(folder), json());
}

bool isCheckDue(const std::optional<QDateTime> &lastCheck, const QDateTime &now)
{
    return !lastCheck || *lastCheck > now
        || lastCheck->secsTo(now) >= std::chrono::seconds(kBetweenChecks).count();
}

} // namespace corvella
