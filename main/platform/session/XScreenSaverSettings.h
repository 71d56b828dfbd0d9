// The pure rule of how a program comes into a user's settings of XScreenSaver, the X resources in
// ~/.xscreensaver: the list "programs" has one entry a line, with a literal \n after each and a
// backslash at the end of every line but the last.
#pragma once

#include <QByteArray>

namespace corvella::XScreenSaverSettings {

// A file's text with one more program at the end of the list, under a name in straight quotes that
// holds none; the text itself where a line of the list, even a disabled one, has the program
// already. The command begins with the program and goes on with its arguments. Every line stays as
// it is, but that the list's last one may have to say that another follows, and that the number in
// "selected" grows where it would mean another program else: those of the system follow the
// list.
[[nodiscard]] QByteArray withProgram(const QByteArray &settings, const QByteArray &name,
                                     const QByteArray &program, const QByteArray &arguments);

// A path as the first word of a command: as it is, or in a shell's quotes where it needs them.
[[nodiscard]] QByteArray commandWord(const QByteArray &path);

} // namespace corvella::XScreenSaverSettings
