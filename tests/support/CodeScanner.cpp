#include "support/CodeScanner.h"

#include <zbar.h>

namespace corvella::test {

QList<QByteArray> scannedCodes(const QImage &picture)
{
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    QByteArray rows; // without padding
    for (int y = 0; y < grey.height(); ++y)
        rows.append(reinterpret_cast<const char *>(grey.constScanLine(y)), grey.width());

    zbar::ImageScanner scanner;
    scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    zbar::Image image(static_cast<unsigned>(grey.width()), static_cast<unsigned>(grey.height()),
                      "Y800", rows.constData(), static_cast<unsigned long>(rows.size()));
    scanner.scan(image);
    QList<QByteArray> codes;
    for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol)
        codes << QByteArray::fromStdString(symbol->get_data());
    return codes;
}

} // namespace corvella::test
