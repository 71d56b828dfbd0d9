// Takes from a test that root runs what root alone may: while the object lives the process acts as
// an ordinary user who owns a folder. For anyone else nothing changes.
#pragma once

#include <QFile>

#include <gtest/gtest.h>
#include <unistd.h>

namespace corvella::test {

class OrdinaryUser
{
public:
    explicit OrdinaryUser(const QString &folder)
    {
        if (!m_isRoot)
            return;
        constexpr uid_t kNobody = 65534;
        EXPECT_EQ(::chown(QFile::encodeName(folder).constData(), kNobody, kNobody), 0);
        EXPECT_EQ(::seteuid(kNobody), 0);
    }
    ~OrdinaryUser()
    {
        if (!m_isRoot)
            return;
        EXPECT_EQ(::seteuid(0), 0);
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const bool m_isRoot = ::geteuid() == 0;
};

} // namespace corvella::test
