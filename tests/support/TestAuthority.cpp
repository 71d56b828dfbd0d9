#include "support/TestAuthority.h"

#include <QFile>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace corvella::test {

namespace {

struct Free
{
    void operator()(EVP_PKEY *key) const { EVP_PKEY_free(key); }
    void operator()(X509 *certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION *extension) const { X509_EXTENSION_free(extension); }
    void operator()(FILE *file) const { fclose(file); }
};

using Key = std::unique_ptr<EVP_PKEY, Free>;
using Certificate = std::unique_ptr<X509, Free>;

void addExtension(X509 *certificate, X509 *issuer, int kind, const QByteArray &value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, Free> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData()));
    ASSERT_TRUE(extension);
    X509_add_ext(certificate, extension.get(), -1);
}

Certificate certificateFor(EVP_PKEY *key, const QByteArray &name, int serial,
                           const QDateTime &until)
{
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    const QDateTime from = std::min(QDateTime::currentDateTimeUtc(), until).addDays(-1);
    ASN1_TIME_set(X509_getm_notBefore(certificate.get()), from.toSecsSinceEpoch());
    ASN1_TIME_set(X509_getm_notAfter(certificate.get()), until.toSecsSinceEpoch());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char *>(name.constData()), -1, -1,
                               0);
    X509_set_pubkey(certificate.get(), key);
    return certificate;
}

void writeCertificate(const QString &path, X509 *certificate)
{
    const std::unique_ptr<FILE, Free> file(fopen(QFile::encodeName(path).constData(), "w"));
    ASSERT_TRUE(file && PEM_write_X509(file.get(), certificate) == 1);
}

void writeKey(const QString &path, EVP_PKEY *key)
{
    const std::unique_ptr<FILE, Free> file(fopen(QFile::encodeName(path).constData(), "w"));
    ASSERT_TRUE(
        file && PEM_write_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
}

} // namespace

struct TestAuthority::Keys
{
    Key key{EVP_EC_gen("P-256")};
    Certificate certificate;
};

TestAuthority::TestAuthority()
    : m_keys(std::make_unique<Keys>())
{
    m_keys->certificate = certificateFor(m_keys->key.get(), "Test authority", 1,
                                         QDateTime::currentDateTimeUtc().addDays(30));
    X509 *own = m_keys->certificate.get();
    X509_set_issuer_name(own, X509_get_subject_name(own));
    addExtension(own, own, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(own, own, NID_subject_key_identifier, "hash");
    X509_sign(own, m_keys->key.get(), EVP_sha256());
    writeCertificate(certificate(), own);
}

TestAuthority::~TestAuthority() = default;

QString TestAuthority::certificate() const
{
    return m_folder.filePath(QStringLiteral("authority.pem"));
}

void TestAuthority::trust() const
{
    qputenv("SSL_CERT_FILE", QFile::encodeName(certificate()));
    qputenv("SSL_CERT_DIR", QFile::encodeName(m_folder.filePath(QStringLiteral("none"))));
}

ServerIdentity TestAuthority::issue(const QStringList &hosts, const QDateTime &until) const
{
    const Key key(EVP_EC_gen("P-256"));
    const Certificate issued = certificateFor(key.get(), hosts.first().toUtf8(), ++m_serial, until);
    X509 *issuer = m_keys->certificate.get();
    X509_set_issuer_name(issued.get(), X509_get_subject_name(issuer));
    addExtension(issued.get(), issuer, NID_subject_alt_name,
                 "DNS:" + hosts.join(QStringLiteral(",DNS:")).toUtf8());
    addExtension(issued.get(), issuer, NID_authority_key_identifier, "keyid");
    X509_sign(issued.get(), m_keys->key.get(), EVP_sha256());

    const QString stem = m_folder.filePath(QString::number(m_serial));
    ServerIdentity identity{stem + QStringLiteral(".pem"), stem + QStringLiteral(".key")};
    writeCertificate(identity.certificate, issued.get());
    writeKey(identity.key, key.get());
    return identity;
}

} // namespace corvella::test
