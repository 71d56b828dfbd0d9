// One picture over all screens, for desktops that take but one: each screen's own in its place, at
// the pixels of the sharpest. Any thread.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QColor>

namespace corvella {

// What the desktop has at present: it stays where a screen gets no picture.
struct Backdrop
{
    enum class Mode { scaled, zoomed, stretched, centred, spanned };

    QString file; // empty for none
    Mode mode = Mode::zoomed;
    QColor colour = Qt::black;
};

class SpannedPicture
{
public:
    // It will lie in `folder`, under a name that tells it from the last.
    explicit SpannedPicture(QString folder);

    // Composes and writes it. One answer per screen, as from DesktopPictures::show().
    [[nodiscard]] QList<Failure> compose(const QList<PictureScreen> &screens,
                                         const QList<std::optional<QString>> &files,
                                         const Backdrop &backdrop);

    // Where it lies; empty unless it was composed and written.
    [[nodiscard]] const QString &path() const { return m_path; }

    // Removes all earlier ones from the folder: this one is shown.
    void removeOthers() const;

private:
    [[nodiscard]] Failure write(const QImage &canvas);

    const QString m_folder;
    QString m_path;
};

} // namespace corvella
