// Keys, bundles and feeds of updates as their makers would make them, and as an attacker would.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QStringList>

#include <optional>

namespace corvella::test {

// A fresh pair of keys.
class TestSigner
{
public:
    TestSigner();

    [[nodiscard]] QByteArray publicKey() const;                   // base64
    [[nodiscard]] QByteArray sign(const QByteArray &bytes) const; // base64

private:
    QByteArray m_public;
    QByteArray m_secret;
};

// One entry of an archive, with anything in it that an archive can say.
struct ArchiveEntry
{
    enum class Kind { file, folder, symbolicLink, hardLink, pipe };
    QByteArray name;
    QByteArray content = {}; // of a link: where it leads
    int mode = 0644;
    Kind kind = Kind::file;
};

// A gzipped tar of these entries, in this order.
[[nodiscard]] QByteArray makeArchive(const QList<ArchiveEntry> &entries);

// The entries of a small build that says to be this one. Its program is a script that passes its
// own test, and otherwise runs `script`.
[[nodiscard]] QList<ArchiveEntry>
buildEntries(const QString &version, qint64 build, const QByteArray &script = "exit 0",
             const QString &machine = QStringLiteral("linux-x86_64"));

struct FeedEntry
{
    QString version = QStringLiteral("1.1");
    qint64 build = 2;
    QString url;
    qint64 length = 0;
    QByteArray signature; // base64
    QString machine = QStringLiteral("linux-x86_64");
    QString os = QStringLiteral("linux");
    QByteArray more = {}; // further elements
};

// A feed, not signed yet.
[[nodiscard]] QByteArray makeFeed(const QList<FeedEntry> &entries, const QDateTime &issued,
                                  const QDateTime &expires);

// With its signature as the last line.
[[nodiscard]] QByteArray signedFeed(const QByteArray &feed, const TestSigner &signer);

} // namespace corvella::test
