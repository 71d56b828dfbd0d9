// Which build of the program a folder holds, as its share/corvella/build.json says. Any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace corvella {

struct BuildIdentity
{
    QString version;  // for people: letters, digits, '.', '+' and '-', at most 32
    qint64 build = 0; // above 0; the only one that is compared
    QString machine;  // "linux-x86_64"

    bool operator==(const BuildIdentity &) const = default;

    // Whether a text can be a version.
    [[nodiscard]] static bool isVersion(const QString &text);
    // Reads any bytes; what they do not tell stays empty, or 0.
    [[nodiscard]] static BuildIdentity parse(const QByteArray &json);
    // Of the build in a folder that holds bin, lib and share; none unless all three are told.
    [[nodiscard]] static std::optional<BuildIdentity> read(const QString &folder);
    // Of the running program, as far as told, as it was at the first call: a package manager may
    // have exchanged the file since.
    [[nodiscard]] static const BuildIdentity &running();
};

} // namespace corvella
