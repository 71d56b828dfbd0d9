// Another program, run for what it does or answers, by a thread that may wait for it. No shell is
// in between: arguments arrive as they are. Any thread.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QByteArray>
#include <QStringList>

namespace corvella {

struct ProgramAnswer
{
    QByteArray output;
    Failure failure; // it was not there, took too long and was ended, or said that it failed
};

[[nodiscard]] ProgramAnswer runProgram(const QString &program, const QStringList &arguments,
                                       const QByteArray &input = {});

} // namespace corvella
