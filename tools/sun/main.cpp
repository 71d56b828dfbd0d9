#include "ClipCommand.h"
#include "HostCommand.h"
#include "StillCommand.h"

#include <QCoreApplication>
#include <QTextStream>

extern "C" {
#include <libavutil/log.h>
}

namespace {

constexpr const char *kUsage = "Usage: corvella-sun still|clip|host [options] PATH\n";
constexpr const char *kHelp = "\n"
                              "Draws a simulated Sun as an extreme-ultraviolet telescope sees it.\n"
                              "\n"
                              "  still OUT.png   one picture\n"
                              "  clip OUT.mp4    one H.264 clip\n"
                              "  host DIR        a whole imagery host tree\n"
                              "\n"
                              "Each of them prints its options with --help.\n";

corvella::sun::ExitStatus run(const QString &command, const QStringList &arguments)
{
    if (command == u"still")
        return corvella::sun::runStill(arguments);
    if (command == u"clip")
        return corvella::sun::runClip(arguments);
    if (command == u"host")
        return corvella::sun::runHost(arguments);
    if (command == u"--help" || command == u"help") {
        QTextStream(stdout) << kUsage << kHelp;
        return corvella::sun::ExitStatus::Done;
    }
    QTextStream(stderr) << kUsage;
    return corvella::sun::ExitStatus::Usage;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    av_log_set_level(AV_LOG_ERROR);
    const QStringList arguments = QCoreApplication::arguments();
    return static_cast<int>(run(arguments.value(1), arguments.mid(1)));
}
