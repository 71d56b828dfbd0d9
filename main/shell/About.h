// The About panel: which program this is, in which version, and whose work it shows. Main thread
// only.
#pragma once

#include <QDialog>

namespace corvella {

// The three lines of credits.
[[nodiscard]] QString aboutCredits(const QString &makerDomain, const QString &storeHost);

class AboutPanel : public QDialog
{
    Q_OBJECT

public:
    AboutPanel();
};

} // namespace corvella
