// The command line, read once at start. A value type; the rules are pure.
#pragma once

#include "settings/Mode.h"

#include <QStringList>

#include <optional>

namespace corvella {

struct CommandLine
{
    QStringList allArgs;            // without the program's own path
    std::optional<double> autoQuit; // seconds after launch at which to end
    bool selfTest = false;
    bool refreshOnly = false;
    bool primeOnly = false;
    bool forceStart = false;
    bool quiet = false; // opens no window by itself
    QString action;     // by its name; empty for none

    // What to tell a program that runs already: an action, or nothing but to come forward.
    [[nodiscard]] QString wordForTheOther() const;

    // With what a program that starts itself anew goes on as it was: with its walls, waiting to
    // show them, or without any window. What it was asked for at its start is done.
    [[nodiscard]] QStringList toGoOn(bool isShowing, bool isWaiting) const;

    // With what it starts after an update: as at any launch. What it was asked for once is done,
    // and a kiosk that was to be quiet by day is not to stay dark after the night. Only where a
    // launch shows no walls, and might open the settings window, does it stay quiet.
    [[nodiscard]] QStringList afterUpdate(Mode mode) const;

    // Options match whole arguments, exactly, wherever they stand; what matches nothing is passed
    // over.
    [[nodiscard]] static CommandLine parse(const QStringList &allArgs);
};

} // namespace corvella
