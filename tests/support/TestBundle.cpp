#include "support/TestBundle.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <memory>
#include <sodium.h>

namespace corvella::test {

namespace {

struct Free
{
    void operator()(archive *writer) const { archive_write_free(writer); }
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

unsigned char *bytesOf(QByteArray &array)
{
    return reinterpret_cast<unsigned char *>(array.data());
}

const unsigned char *bytesOf(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

la_ssize_t append(archive * /*writer*/, void *user, const void *bytes, size_t count)
{
    static_cast<QByteArray *>(user)->append(static_cast<const char *>(bytes), qsizetype(count));
    return la_ssize_t(count);
}

unsigned typeOf(ArchiveEntry::Kind kind)
{
    switch (kind) {
    case ArchiveEntry::Kind::folder:
        return AE_IFDIR;
    case ArchiveEntry::Kind::symbolicLink:
        return AE_IFLNK;
    case ArchiveEntry::Kind::pipe:
        return AE_IFIFO;
    case ArchiveEntry::Kind::file:
    case ArchiveEntry::Kind::hardLink:
        break;
    }
    return AE_IFREG;
}

void write(archive *writer, const ArchiveEntry &from)
{
    const std::unique_ptr<archive_entry, Free> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), from.name.constData());
    archive_entry_set_filetype(entry.get(), typeOf(from.kind));
    archive_entry_set_perm(entry.get(), static_cast<unsigned>(from.mode));
    const bool isFile = from.kind == ArchiveEntry::Kind::file;
    if (from.kind == ArchiveEntry::Kind::symbolicLink)
        archive_entry_set_symlink(entry.get(), from.content.constData());
    else if (from.kind == ArchiveEntry::Kind::hardLink)
        archive_entry_set_hardlink(entry.get(), from.content.constData());
    archive_entry_set_size(entry.get(), isFile ? from.content.size() : 0);
    EXPECT_EQ(archive_write_header(writer, entry.get()), ARCHIVE_OK)
        << archive_error_string(writer);
    if (isFile)
        archive_write_data(writer, from.content.constData(), size_t(from.content.size()));
}

} // namespace

TestSigner::TestSigner()
    : m_public(crypto_sign_PUBLICKEYBYTES, '\0')
    , m_secret(crypto_sign_SECRETKEYBYTES, '\0')
{
    EXPECT_GE(sodium_init(), 0);
    crypto_sign_keypair(bytesOf(m_public), bytesOf(m_secret));
}

QByteArray TestSigner::publicKey() const
{
    return m_public.toBase64();
}

QByteArray TestSigner::sign(const QByteArray &bytes) const
{
    QByteArray signature(crypto_sign_BYTES, '\0');
    crypto_sign_detached(bytesOf(signature), nullptr, bytesOf(bytes), size_t(bytes.size()),
                         bytesOf(m_secret));
    return signature.toBase64();
}

QByteArray makeArchive(const QList<ArchiveEntry> &entries)
{
    QByteArray bytes;
    const std::unique_ptr<archive, Free> writer(archive_write_new());
    archive_write_add_filter_gzip(writer.get());
    archive_write_set_format_pax_restricted(writer.get());
    EXPECT_EQ(archive_write_open(writer.get(), &bytes, nullptr, append, nullptr), ARCHIVE_OK);
    for (const ArchiveEntry &entry : entries)
        write(writer.get(), entry);
    EXPECT_EQ(archive_write_close(writer.get()), ARCHIVE_OK);
    return bytes;
}

QList<ArchiveEntry> buildEntries(const QString &version, qint64 build, const QByteArray &script,
                                 const QString &machine)
{
    const QString identity =
        QStringLiteral(
            "{\n    \"version\": \"%1\",\n    \"build\": %2,\n    \"machine\": \"%3\"\n}\n")
            .arg(version)
            .arg(build)
            .arg(machine);
    return {
        {.name = "bin/", .mode = 0755, .kind = ArchiveEntry::Kind::folder},
        {.name = "bin/corvella",
         .content = "#!/bin/sh\n[ \"$1\" = --selftest ] && exec echo selftest ok\n" + script + '\n',
         .mode = 0755},
        {.name = "share/corvella/build.json", .content = identity.toUtf8()}};
}

QByteArray makeFeed(const QList<FeedEntry> &entries, const QDateTime &issued,
                    const QDateTime &expires)
{
    QByteArray feed = R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:s="http://www.andymatuschak.org/xml-namespaces/sparkle" xmlns:c="urn:space.tarrow.corvella:updates">
<channel><title>Corvella</title>
<c:issued>)"
        + issued.toUTC().toString(Qt::ISODateWithMs).toUtf8() + "</c:issued>\n<c:expires>"
        + expires.toUTC().toString(Qt::ISODateWithMs).toUtf8() + "</c:expires>\n";
    for (const FeedEntry &entry : entries) {
        feed += QStringLiteral("<item><s:version>%1</s:version>"
                               "<s:shortVersionString>%2</s:shortVersionString>\n"
                               "<enclosure url=\"%3\" length=\"%4\" s:os=\"%5\" c:machine=\"%6\" ")
                    .arg(entry.build)
                    .arg(entry.version, entry.url)
                    .arg(entry.length)
                    .arg(entry.os, entry.machine)
                    .toUtf8()
            + "s:edSignature=\"" + entry.signature + "\"/>\n" + entry.more + "</item>\n";
    }
    return feed + "</channel></rss>\n";
}

QByteArray signedFeed(const QByteArray &feed, const TestSigner &signer)
{
    return feed + "<!-- signature: " + signer.sign(feed) + " -->\n";
}

} // namespace corvella::test
