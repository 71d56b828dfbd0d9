// Reads QR codes as a viewer's camera would.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>

namespace corvella::test {

// What the codes in a picture say.
[[nodiscard]] QList<QByteArray> scannedCodes(const QImage &picture);

} // namespace corvella::test
