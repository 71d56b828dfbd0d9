// An owner whom a test's files can have besides the one that they have.
#pragma once

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace corvella::test {

// Somebody else, where the tests run as the administrator; else the user, and the last of the
// user's groups, which is not the one that a new file would have.
struct OtherOwner
{
    uid_t user = ::geteuid();
    gid_t group = ::getegid();

    OtherOwner()
    {
        constexpr uid_t kSomebody = 65534;
        std::vector<gid_t> groups(static_cast<size_t>(std::max(::getgroups(0, nullptr), 0)));
        if (user == 0)
            user = group = kSomebody;
        else if (::getgroups(static_cast<int>(groups.size()), groups.data()) > 0)
            group = groups.back();
    }
};

} // namespace corvella::test
