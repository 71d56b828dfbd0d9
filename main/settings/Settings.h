// Every choice of the user and every small thing the program remembers, typed and normalised, over
// the settings store. A getter reads the store each time and never gives a value out of range,
// whatever is stored; a setter writes it through. Nothing is kept in memory, so a change made
// anywhere, also by another process, is seen everywhere at once. Any thread; no two calls together
// are atomic.
#pragma once

#include "platform/storage/UserDefaults.h"
#include "settings/Mode.h"
#include "settings/Transition.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvella::Settings {

// The store itself, "space.tarrow.corvella", for the keys that one part alone uses. Lives as long
// as the program.
[[nodiscard]] UserDefaults &d();

// The date of something that never happened: before every other date that is stored.
[[nodiscard]] QDateTime distantPast();

// desktop unless a mode is stored.
[[nodiscard]] Mode mode();
// None where none is, as after the settings were damaged.
[[nodiscard]] std::optional<Mode> storedMode();
void setMode(Mode mode);

// One entry per screen, in screen order; more screens wrap round. An entry is "off" (leave that
// screen alone), or product ids in play order with commas between; "all" or an empty text is every
// product. "rainbow", "171", "304" unless a list is stored.
[[nodiscard]] QStringList products();
void setProducts(const QStringList &products);

// Minutes without input before the program starts on its own, above 0 and small enough for an int;
// 5 by default.
[[nodiscard]] double idleMinutes();
void setIdleMinutes(double minutes);

// Lock when a saver is dismissed; on by default.
[[nodiscard]] bool lockOnDismiss();
void setLockOnDismiss(bool lock);

// Never use the network; off by default.
[[nodiscard]] bool offline();
void setOffline(bool offline);

// Minutes between two automatic refreshes: 720 or 1440, anything else counts as 1440.
[[nodiscard]] double refreshMinutes();
void setRefreshMinutes(double minutes);

// When the last checking pass ended, and when the user last asked for one; UTC, distantPast() for
// never.
[[nodiscard]] QDateTime lastCheck();
void setLastCheck(const QDateTime &instant);
[[nodiscard]] QDateTime lastManual();
void setLastManual(const QDateTime &instant);

// The host of the product's web site, and the one that serves the imagery: bare hosts without a
// scheme. The build's own unless one is stored; a stored empty text stays empty. Setters store what
// the user typed.
[[nodiscard]] QString storeHost();
void setStoreHost(const QString &host);
[[nodiscard]] QString imageryHost();
void setImageryHost(const QString &host);

// Show the product's web address on the wall; on by default in a kiosk only.
[[nodiscard]] bool attribution();
void setAttribution(bool show);
void resetAttribution(); // to its default

// Play products in random order; off by default.
[[nodiscard]] bool shuffle();
void setShuffle(bool shuffle);

// How often each clip plays before the next, at least 1.
[[nodiscard]] int loops();
void setLoops(int loops);

// black unless a transition is stored.
[[nodiscard]] Transition transition();
void setTransition(Transition transition);

// Keep the desktop picture current in other modes than desktop too; off by default.
[[nodiscard]] bool desktop();
void setDesktop(bool keepCurrent);
// Whether the desktop picture is to be kept current at all: in desktop mode, or by the choice
// above.
[[nodiscard]] bool desktopActive();

// The step of the rotation through a screen's products; never negative.
[[nodiscard]] qint64 desktopCounter();
void setDesktopCounter(qint64 counter);

// The desktop pictures that were there before, one text per screen; none when nothing is
// remembered.
[[nodiscard]] std::optional<QStringList> previousDesktop();
void setPreviousDesktop(const std::optional<QStringList> &pictures);

// The user has been through the settings window once.
[[nodiscard]] bool configured();
void setConfigured(bool configured);

// The program is registered to open at login. The getter asks the system; a failure to change it is
// logged
// ("login item: ...") and leaves it as it was.
[[nodiscard]] bool openAtLogin();
void setOpenAtLogin(bool open);

// The product ids that a screen plays; empty means every product. `screen` counts from 0.
[[nodiscard]] QStringList productList(int screen);

// The product ids in one entry of products(), in order; neither trimmed nor freed of duplicates.
[[nodiscard]] QStringList ids(const QString &entry);

// Whether the program may use a screen at all: its entry is not "off".
[[nodiscard]] bool isEnabled(int screen);

// The products that entries like those of products() need; none means every product.
[[nodiscard]] std::optional<QSet<QString>> inUse(const QStringList &lists);
[[nodiscard]] std::optional<QSet<QString>> productsInUse();
// False where what was chosen cannot be read, or is no list: nobody knows then what is not needed.
[[nodiscard]] bool areProductsKnown();

// The rule behind refreshMinutes(): 720 when exactly that is given, else 1440.
[[nodiscard]] double refreshInterval(std::optional<double> stored);

// A host as people type it, without schemes and without slashes and spaces at its ends.
[[nodiscard]] QString normalizedHost(QString text);

// Takes over, once, what the older program kept in its own domain, "space.tarrow.corvella-wall".
// When that cannot be read, nothing is changed and the next start tries again.
void migrate();

} // namespace corvella::Settings
