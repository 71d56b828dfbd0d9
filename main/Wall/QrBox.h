// A QR code on a white card, for a viewer's camera. Main thread only.
#pragma once

#include "platform/layers/Layer.h"

#include <QImage>

namespace corvella {

// The code for these bytes at medium error correction: one pixel a module, black on white, with a
// margin of one module. Null for more bytes than a code can hold.
[[nodiscard]] QImage qrCode(const QByteArray &message);

// The card is one picture with the code in it, so that a translucent card keeps the contrast of the
// two.
class QrBox final : public Layer
{
public:
    QrBox();

    // As qrCode() makes it. Modules are squares with sharp edges at any size.
    void setCode(const QImage &code);
    [[nodiscard]] const QImage &code() const { return m_code; }

protected:
    [[nodiscard]] QImage drawContents(QSize pixels, double scale) const override;

private:
    QImage m_code;
};

} // namespace corvella
