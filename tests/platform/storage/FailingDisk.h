// A disk that fails when it is told to flush or to rename one file or folder. Main thread only.
#pragma once

#include <QByteArray>

namespace corvella::test {

// Their paths, without links; none where empty.
extern QByteArray failingFlush;
extern QByteArray failingRename;

// Whether two names can be exchanged, as they cannot on network file systems.
extern bool canExchange;

} // namespace corvella::test
