// A folder of imagery: flat files and the manifest that describes them. Only paths are kept here,
// every call reads the disk; any thread. Readers see the old manifest or the new one, never a part
// of one.
#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace corvella {

class CacheFolder
{
public:
    // The folder need not exist.
    explicit CacheFolder(QString path);

    [[nodiscard]] const QString &path() const { return m_path; }
    [[nodiscard]] QString manifestFile() const;

    // The manifest's entries whose clip is really there, in manifest order. A still that is not
    // there is left out of its entry. Empty when the manifest is missing or of no use. File names
    // that point out of the folder are treated as not there.
    [[nodiscard]] QList<QJsonObject> entries() const;

    // Whether there is a manifest at all, whatever is in it.
    [[nodiscard]] bool isPrimed() const;

    // Replaces the manifest, or leaves it as it was when that fails, and logs so.
    void write(const QList<QJsonObject> &entries) const;

    // Gives a folder without a manifest the clip that ships with the program, described by one
    // entry as a JSON object; and one whose manifest names that clip the clip again where it is
    // gone: there may have been no room for it. The paths are none for what does not ship. Logs
    // whether it seeded or had nothing to seed with, and why a manifest that is there is of no use
    // to this user.
    void seedIfEmpty(const std::optional<QString> &clip,
                     const std::optional<QString> &description) const;

private:
    [[nodiscard]] QString seedFile() const;
    void copySeed(const QString &clip) const;
    [[nodiscard]] bool holds(const QJsonValue &name) const;

    QString m_path;
};

} // namespace corvella
