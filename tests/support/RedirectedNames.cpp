#include "support/RedirectedNames.h"

#include <QByteArray>
#include <QStringList>

#include <dlfcn.h>
#include <netdb.h>

namespace {

constexpr const char *kVariable = "CORVELLA_TEST_HOSTS"; // NAME=PORT,NAME=PORT

} // namespace

namespace corvella::test {

void redirectNames(const QHash<QString, quint16> &portOf)
{
    QStringList pairs;
    for (auto i = portOf.cbegin(); i != portOf.cend(); ++i)
        pairs << i.key() + u'=' + QString::number(i.value());
    qputenv(kVariable, pairs.join(u',').toUtf8());
}

} // namespace corvella::test

// The C library's own, which every program asks for addresses, replaced by linking or preloading
// this file.
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints,
                           addrinfo **result)
{
    using Function = int (*)(const char *, const char *, const addrinfo *, addrinfo **);
    static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (!name || qstrcmp(name, "localhost") == 0 || qstrncmp(name, "127.", 4) == 0)
        return original(name, service, hints, result);
    for (const QByteArray &pair : qgetenv(kVariable).split(',')) {
        const qsizetype equals = pair.indexOf('=');
        if (equals > 0 && pair.left(equals) == name)
            return original("127.0.0.1", pair.mid(equals + 1).constData(), hints, result);
    }
    return EAI_NONAME;
}
