#include "defaults/DefaultsCommand.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    corvella::UserDefaults defaults(QStringLiteral("space.tarrow.corvella"));
    QTextStream output(stdout);
    QTextStream errors(stderr);
    return int(corvella::runDefaultsCommand(QCoreApplication::arguments().mid(1), defaults, output,
                                            errors));
}
