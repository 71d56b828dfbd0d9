#include "platform/pictures/Program.h"

#include <QFileInfo>
#include <QProcess>

namespace corvella {

namespace {

constexpr int kProgramPatience = 3000; // milliseconds, until it has ended

QString lastLine(const QByteArray &text)
{
    return QString::fromUtf8(text).trimmed().section(u'\n', -1);
}

} // namespace

ProgramAnswer runProgram(const QString &program, const QStringList &arguments,
                         const QByteArray &input)
{
    const QString name = QFileInfo(program).fileName();
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForStarted())
        return {{}, name + QStringLiteral(" does not start: ") + process.errorString()};
    if (!process.waitForFinished(kProgramPatience)) {
        process.kill();
        process.waitForFinished();
        return {{}, name + QStringLiteral(" does not answer")};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        const QString reason = lastLine(process.readAllStandardError());
        return {{}, reason.isEmpty() ? name + QStringLiteral(" failed") : reason};
    }
    return {process.readAllStandardOutput(), {}};
}

} // namespace corvella
