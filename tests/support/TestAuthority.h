// A certificate authority that lives as long as the object, and servers' certificates under it.
#pragma once

#include <QDateTime>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace corvella::test {

// Files in PEM form.
struct ServerIdentity
{
    QString certificate;
    QString key;
};

class TestAuthority
{
public:
    TestAuthority();
    ~TestAuthority();

    // Makes this process, and those it starts from now on, trust this authority and no other.
    void trust() const;
    // The authority's own certificate.
    [[nodiscard]] QString certificate() const;

    // A certificate for these host names that ends at `until`.
    [[nodiscard]] ServerIdentity
    issue(const QStringList &hosts,
          const QDateTime &until = QDateTime::currentDateTimeUtc().addDays(1)) const;

private:
    struct Keys;

    QTemporaryDir m_folder;
    std::unique_ptr<Keys> m_keys;
    mutable int m_serial = 1;
};

} // namespace corvella::test
