#include "settings/Settings.h"

#include "log.h"
#include "platform/session/LoginItem.h"
#include "platform/storage/Resources.h"
#include "settings/Hosts.h"
#include "settings/Store.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace corvella::Settings {

namespace {

constexpr double kDefaultIdleMinutes = 5;
constexpr double kTwiceADayMinutes = 720;
constexpr double kOnceADayMinutes = 1440;
constexpr int kLargestInt = std::numeric_limits<int>::max();

QString modeKey()
{
    return QStringLiteral("mode");
}

QString attributionKey()
{
    return QStringLiteral("attribution");
}

bool flag(const QString &key, bool absent)
{
    return d().boolean(key).value_or(absent);
}

QDateTime instant(const QString &key)
{
    return d().date(key).value_or(distantPast());
}

LoginItem loginItem()
{
    return LoginItem(LoginItem::stablePath(executablePath()));
}

// A screen's entry of products(); none when the list is empty.
std::optional<QString> entryFor(int screen)
{
    Q_ASSERT(screen >= 0);
    const QStringList lists = products();
    if (lists.isEmpty())
        return std::nullopt;
    return lists.at(screen % lists.size());
}

bool isNoProduct(const QString &piece)
{
    return piece == u"all" || piece == u"off";
}

} // namespace

UserDefaults &d()
{
    static UserDefaults store = openStore();
    return store;
}

QDateTime distantPast()
{
    return QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
}

std::optional<Mode> storedMode()
{
    return modeFromRawValue(d().string(modeKey()).value_or(QString()));
}

Mode mode()
{
    return storedMode().value_or(Mode::desktop);
}

void setMode(Mode mode)
{
    d().setString(modeKey(), rawValue(mode));
}

QStringList products()
{
    return d()
        .stringList(QStringLiteral("products"))
        .value_or(
            QStringList{QStringLiteral("rainbow"), QStringLiteral("171"), QStringLiteral("304")});
}

void setProducts(const QStringList &products)
{
    d().setStringList(QStringLiteral("products"), products);
}

double idleMinutes()
{
    const double minutes = d().number(QStringLiteral("idleMinutes")).value_or(0);
    return minutes > 0 ? std::min(minutes, double(kLargestInt)) : kDefaultIdleMinutes;
}

void setIdleMinutes(double minutes)
{
    d().setNumber(QStringLiteral("idleMinutes"), minutes);
}

bool lockOnDismiss()
{
    return flag(QStringLiteral("lockOnDismiss"), true);
}

void setLockOnDismiss(bool lock)
{
    d().setBoolean(QStringLiteral("lockOnDismiss"), lock);
}

bool offline()
{
    return flag(QStringLiteral("offline"), false);
}

void setOffline(bool offline)
{
    d().setBoolean(QStringLiteral("offline"), offline);
}

double refreshMinutes()
{
    return refreshInterval(d().number(QStringLiteral("refreshMinutes")));
}

void setRefreshMinutes(double minutes)
{
    d().setNumber(QStringLiteral("refreshMinutes"), refreshInterval(minutes));
}

QDateTime lastCheck()
{
    return instant(QStringLiteral("lastCheck"));
}

void setLastCheck(const QDateTime &instant)
{
    d().setDate(QStringLiteral("lastCheck"), instant);
}

QDateTime lastManual()
{
    return instant(QStringLiteral("lastManual"));
}

void setLastManual(const QDateTime &instant)
{
    d().setDate(QStringLiteral("lastManual"), instant);
}

QString storeHost()
{
    return normalizedHost(d().string(QStringLiteral("storeHost")).value_or(Hosts::defaultStore()));
}

void setStoreHost(const QString &host)
{
    d().setString(QStringLiteral("storeHost"), host);
}

QString imageryHost()
{
    return normalizedHost(
        d().string(QStringLiteral("imageryHost")).value_or(Hosts::defaultImagery()));
}

void setImageryHost(const QString &host)
{
    d().setString(QStringLiteral("imageryHost"), host);
}

bool attribution()
{
    return flag(attributionKey(), storedMode() == Mode::kiosk);
}

void setAttribution(bool show)
{
    d().setBoolean(attributionKey(), show);
}

void resetAttribution()
{
    d().remove(attributionKey());
}

bool shuffle()
{
    return flag(QStringLiteral("shuffle"), false);
}

void setShuffle(bool shuffle)
{
    d().setBoolean(QStringLiteral("shuffle"), shuffle);
}

int loops()
{
    const qint64 stored = d().integer(QStringLiteral("loops")).value_or(1);
    return int(std::clamp<qint64>(stored, 1, kLargestInt));
}

void setLoops(int loops)
{
    d().setInteger(QStringLiteral("loops"), std::max(loops, 1));
}

Transition transition()
{
    const QString stored = d().string(QStringLiteral("transition")).value_or(QString());
    return transitionFromRawValue(stored).value_or(Transition::black);
}

void setTransition(Transition transition)
{
    d().setString(QStringLiteral("transition"), rawValue(transition));
}

bool desktop()
{
    return flag(QStringLiteral("desktop"), false);
}

void setDesktop(bool keepCurrent)
{
    d().setBoolean(QStringLiteral("desktop"), keepCurrent);
}

bool desktopActive()
{
    return mode() == Mode::desktop || desktop();
}

qint64 desktopCounter()
{
    // Whoever adds to the counter or takes it modulo something must not meet the ends of its type.
    constexpr qint64 kLargest = qint64(1) << 53;
    return std::clamp<qint64>(d().integer(QStringLiteral("desktopCounter")).value_or(0), 0,
                              kLargest);
}

void setDesktopCounter(qint64 counter)
{
    d().setInteger(QStringLiteral("desktopCounter"), counter);
}

std::optional<QStringList> previousDesktop()
{
    return d().stringList(QStringLiteral("previousDesktop"));
}

void setPreviousDesktop(const std::optional<QStringList> &pictures)
{
    if (pictures)
        d().setStringList(QStringLiteral("previousDesktop"), *pictures);
    else
        d().remove(QStringLiteral("previousDesktop"));
}

bool configured()
{
    return flag(QStringLiteral("configured"), false);
}

void setConfigured(bool configured)
{
    d().setBoolean(QStringLiteral("configured"), configured);
}

bool openAtLogin()
{
    return loginItem().isEnabled();
}

void setOpenAtLogin(bool open)
{
    if (const std::optional<QString> error = loginItem().setEnabled(open))
        log(QStringLiteral("login item: ") + *error);
}

QStringList productList(int screen)
{
    const std::optional<QString> entry = entryFor(screen);
    return entry ? ids(*entry) : QStringList();
}

QStringList ids(const QString &entry)
{
    QStringList pieces = entry.split(u',', Qt::SkipEmptyParts);
    pieces.removeIf(isNoProduct);
    return pieces;
}

bool isEnabled(int screen)
{
    return entryFor(screen) != QStringLiteral("off");
}

std::optional<QSet<QString>> inUse(const QStringList &lists)
{
    QSet<QString> needed;
    for (const QString &entry : lists) {
        if (entry == u"off")
            continue;
        const QStringList products = ids(entry);
        if (products.isEmpty())
            return std::nullopt;
        needed.unite(QSet<QString>(products.begin(), products.end()));
    }
    if (needed.isEmpty())
        return std::nullopt;
    return needed;
}

bool areProductsKnown()
{
    const QString key = QStringLiteral("products");
    return d().isReadable() && (!d().contains(key) || d().stringList(key));
}

std::optional<QSet<QString>> productsInUse()
{
    return inUse(products());
}

double refreshInterval(std::optional<double> stored)
{
    return stored == kTwiceADayMinutes ? kTwiceADayMinutes : kOnceADayMinutes;
}

QString normalizedHost(QString text)
{
    text.remove(QStringLiteral("https://"));
    text.remove(QStringLiteral("http://"));
    const auto isMargin = [](QChar character) { return character == u'/' || character == u' '; };
    const auto first = std::find_if_not(text.cbegin(), text.cend(), isMargin);
    const auto last = std::find_if_not(text.crbegin(), std::make_reverse_iterator(first), isMargin);
    return QString(first, last.base() - first);
}

namespace {

void migrateIdleTime(const UserDefaults &old)
{
    const double seconds = old.number(QStringLiteral("idleSeconds")).value_or(0);
    if (seconds <= 0)
        return;
    setMode(Mode::saver);
    setIdleMinutes(std::max(std::round(seconds / 60), 1.0));
}

} // namespace

void migrate()
{
    const QString marker = QStringLiteral("migrated");
    const UserDefaults old(QStringLiteral("space.tarrow.corvella-wall"));
    if (flag(marker, false) || !old.isReadable())
        return;
    d().saveTogether([&] {
        if (const std::optional<QStringList> lists = old.stringList(QStringLiteral("products")))
            setProducts(*lists);
        if (old.contains(QStringLiteral("offline")))
            setOffline(old.boolean(QStringLiteral("offline")).value_or(false));
        if (old.contains(QStringLiteral("refreshMinutes")))
            setRefreshMinutes(refreshInterval(old.number(QStringLiteral("refreshMinutes"))));
        migrateIdleTime(old);
        d().setBoolean(marker, true);
    });
}

} // namespace corvella::Settings
