#include "defaults/DefaultsCommand.h"

#include "settings/Store.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

int main(int argc, char **argv)
{
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is told of like a full disk
    const QCoreApplication application(argc, argv);
    corvella::UserDefaults defaults = corvella::Settings::openStore();
    QTextStream output(stdout);
    QTextStream errors(stderr);
    return int(corvella::runDefaultsCommand(QCoreApplication::arguments().mid(1), defaults, output,
                                            errors));
}
