#include "support/RedirectedNames.h"

#include <QByteArray>
#include <QStringList>

#include <dlfcn.h>
#include <netdb.h>

namespace {

constexpr const char *kVariable = "CORVELLA_TEST_HOSTS"; // NAME=PORT,NAME=PORT

} // namespace

namespace corvella::test {

void redirectNames(const QList<std::pair<QString, quint16>> &ports)
{
    QStringList pairs;
    for (const auto &[name, port] : ports)
        pairs << name + u'=' + QString::number(port);
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
    addrinfo **end = result;
    for (const QByteArray &pair : qgetenv(kVariable).split(',')) {
        const qsizetype equals = pair.indexOf('=');
        if (equals <= 0 || pair.left(equals) != name)
            continue;
        if (const int error = original("127.0.0.1", pair.mid(equals + 1).constData(), hints, end))
            return error;
        while (*end)
            end = &(*end)->ai_next;
    }
    return end == result ? EAI_NONAME : 0;
}
