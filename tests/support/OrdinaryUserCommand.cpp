#include "support/OrdinaryUserCommand.h"

#include <unistd.h>

namespace corvella::test {

namespace {

const QString kUser = QStringLiteral("nobody");

bool isRoot()
{
    return ::geteuid() == 0;
}

} // namespace

Command asOrdinaryUser(const Command &command)
{
    if (!isRoot())
        return command;
    Command wrapped = command;
    wrapped.program = QStringLiteral("setpriv");
    // The change of user would undo that the program ends with the test.
    wrapped.arguments = QStringList{QStringLiteral("--reuid"),        kUser,
                                    QStringLiteral("--regid"),        QStringLiteral("nogroup"),
                                    QStringLiteral("--clear-groups"), QStringLiteral("--pdeathsig"),
                                    QStringLiteral("KILL"),           command.program}
        + command.arguments;
    return wrapped;
}

void handOverToOrdinaryUser(const QString &folder)
{
    if (isRoot())
        run({QStringLiteral("chown"),
             {QStringLiteral("--recursive"), kUser, folder},
             bareEnvironment(),
             {}});
}

} // namespace corvella::test
