// A disk that fails when it is told to flush one file or folder. Main thread only.
#pragma once

#include <QByteArray>

namespace corvella::test {

// Its path, without links; none where empty.
extern QByteArray failingFlush;

} // namespace corvella::test
