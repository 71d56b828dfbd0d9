#include "shell/CommandLine.h"

#include <QLocale>

#include <cmath>

namespace corvella {

namespace {

const QString kStart = QStringLiteral("--start");
const QString kQuiet = QStringLiteral("--quiet");
const QString kAction = QStringLiteral("--action");

std::optional<double> seconds(const QStringList &args)
{
    const qsizetype option = args.indexOf(QStringLiteral("--seconds"));
    if (option < 0 || option + 1 >= args.size())
        return std::nullopt;
    const QString &text = args[option + 1];
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    // toDouble() forgives space around the number; a number here is the whole argument.
    if (!isNumber || std::isnan(value) || text != text.trimmed())
        return std::nullopt;
    return value;
}

} // namespace

CommandLine CommandLine::parse(const QStringList &allArgs)
{
    CommandLine line;
    line.allArgs = allArgs;
    line.autoQuit = seconds(allArgs);
    line.primeOnly = allArgs.contains(QStringLiteral("--prime"));
    line.refreshOnly = allArgs.contains(QStringLiteral("--refresh"));
    line.selfTest = allArgs.contains(QStringLiteral("--selftest"));
    line.forceStart = allArgs.contains(kStart);
    line.quiet = allArgs.contains(kQuiet);
    if (const qsizetype option = allArgs.indexOf(kAction); option >= 0)
        line.action = allArgs.value(option + 1);
    return line;
}

QStringList CommandLine::toGoOn(bool isShowing, bool isWaiting) const
{
    QStringList args{kQuiet};
    if (isShowing)
        args = {kStart};
    else if (isWaiting)
        args = {kAction, QStringLiteral("arm")};
    if (autoQuit)
        args << QStringLiteral("--seconds")
             << QString::number(*autoQuit, 'g', QLocale::FloatingPointShortest);
    return args;
}

QStringList CommandLine::afterUpdate(Mode mode) const
{
    const bool showsWalls = mode == Mode::wall || mode == Mode::kiosk;
    QStringList args;
    for (qsizetype i = 0; i < allArgs.size(); ++i) {
        if (allArgs[i] == kAction)
            ++i; // with its word
        else if (allArgs[i] != kQuiet || !showsWalls)
            args << allArgs[i];
    }
    return args;
}

QString CommandLine::wordForTheOther() const
{
    return forceStart && action.isEmpty() ? QStringLiteral("start") : action;
}

} // namespace corvella
