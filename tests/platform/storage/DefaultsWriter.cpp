// One of several processes that change the same settings at once: stores COUNT numbers under keys
// of its own. Usage: defaults-writer DOMAIN PREFIX COUNT
#include "platform/storage/UserDefaults.h"

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    corvella::UserDefaults defaults(QString::fromLocal8Bit(argv[1]));
    const QString prefix = QString::fromLocal8Bit(argv[2]);
    const int count = QByteArray(argv[3]).toInt();
    for (int i = 0; i < count; ++i) {
        if (!defaults.setInteger(prefix + QString::number(i), i))
            return 1;
    }
    return 0;
}
