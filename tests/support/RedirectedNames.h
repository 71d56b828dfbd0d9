// Host names that lead to servers of a test, in every process that this file is linked or preloaded
// into.
#pragma once

#include <QHash>
#include <QString>

namespace corvella::test {

// From now on, here and in processes started from here, each name is 127.0.0.1 at its port,
// whatever port is asked for. Any other name but localhost does not exist: no test reaches past
// this machine.
void redirectNames(const QHash<QString, quint16> &portOf);

} // namespace corvella::test
