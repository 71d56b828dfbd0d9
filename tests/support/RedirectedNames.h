// Host names that lead to servers of a test, in every process that this file is linked or preloaded
// into.
#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace corvella::test {

// From now on, here and in processes started from here, each name is 127.0.0.1 at its port,
// whatever port is asked for; a name that is there twice has two addresses, in this order. Any
// other name but localhost does not exist: no test reaches past this machine.
void redirectNames(const QList<std::pair<QString, quint16>> &ports);

} // namespace corvella::test
