// A text that explains a control: in a softer colour than the control, and wrapped where it is
// longer than its line. It always takes the height that its text needs; in a font larger than usual
// it makes use of the room that its card has grown by. Main thread only.
#pragma once

#include "Preferences/Colours.h"

#include <QLabel>

namespace corvella {

class Note : public QLabel
{
    Q_OBJECT

public:
    enum class Size { ordinary, small };

    // `lineWidth` in points, in a font of the usual size; 0 for a note of one line.
    Note(Tone tone, int lineWidth, Size size = Size::ordinary);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return m_lineWidth > 0; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] int textFlags() const;
    // The text's, wrapped at this width.
    [[nodiscard]] QSize textSize(int width) const;
    [[nodiscard]] int widestLine() const;

    const Tone m_tone;
    const int m_lineWidth;
    const Size m_size;
};

} // namespace corvella
