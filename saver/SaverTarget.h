// Where a screen saver is told to show, in the words of XScreenSaver and its relatives. A pure
// rule.
#pragma once

#include <QStringList>

#include <optional>

namespace corvella {

struct SaverTarget
{
    enum class Kind {
        ownWindow, // nobody said: to look at it
        root,      // the background of the display
        window,    // the host's window with this id
    };

    Kind kind = Kind::ownWindow;
    quint32 window = 0;

    bool operator==(const SaverTarget &) const = default;

    // The arguments without the program's own path, each with one or two hyphens in front, and the
    // value of XSCREENSAVER_WINDOW. Ids are decimal or 0x-hexadecimal; one that is no number counts
    // as not given. An id among the arguments goes before the variable's, which is what "root"
    // means wherever it is set. Other arguments are passed over.
    [[nodiscard]] static SaverTarget choose(const QStringList &arguments, const QString &variable);
};

} // namespace corvella
