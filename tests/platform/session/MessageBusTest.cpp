#include "platform/session/MessageBus.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

struct AddressRow
{
    const char *name;
    QString address;
    QString path;
};

class BusAddress : public testing::TestWithParam<AddressRow>
{
};

TEST_P(BusAddress, NamesASocketWhereItHasOne)
{
    EXPECT_EQ(socketPath(GetParam().address), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BusAddress,
    testing::Values(
        AddressRow{"OfASession", u"unix:path=/run/user/1000/bus"_s, u"/run/user/1000/bus"_s},
        AddressRow{"WithMoreToIt", u"unix:path=/tmp/dbus-X,guid=0a"_s, u"/tmp/dbus-X"_s},
        AddressRow{"BehindOthers", u"tcp:host=a,port=1;unix:guid=0a,path=/b"_s, u"/b"_s},
        AddressRow{"Escaped", u"unix:path=/a%20b%3b"_s, u"/a b;"_s},
        AddressRow{"WithoutAFile", u"unix:abstract=/tmp/dbus-X,guid=0a"_s, QString()},
        AddressRow{"OfAnotherKind", u"tcp:host=localhost,path=/a"_s, QString()},
        AddressRow{"Empty", QString(), QString()}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
