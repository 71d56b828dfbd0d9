// A text that explains a control: in a softer colour than the control, and wrapped where it is
// longer than its line. It always takes the height that its text needs. Main thread only.
#pragma once

#include "Preferences/Colours.h"

#include <QLabel>

namespace corvella {

class Note : public QLabel
{
    Q_OBJECT

public:
    enum class Size { ordinary, small };

    // `lineWidth` in points; 0 for a note of one line.
    Note(Tone tone, int lineWidth, Size size = Size::ordinary);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] int textFlags() const;

    const Tone m_tone;
    const int m_lineWidth;
};

} // namespace corvella
