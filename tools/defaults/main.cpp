#include "defaults/DefaultsCommand.h"

#include "settings/Store.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    corvella::UserDefaults defaults = corvella::Settings::openStore();
    QTextStream output(stdout);
    QTextStream errors(stderr);
    return int(corvella::runDefaultsCommand(QCoreApplication::arguments().mid(1), defaults, output,
                                            errors));
}
