#include "HostCommand.h"

#include "HostTree.h"

namespace corvella::sun {

namespace {

void declareHostOptions(Options &options)
{
    options.declare(QStringLiteral("products"), QStringLiteral("Ids, with commas between."),
                    QStringLiteral("all"));
    options.declare(QStringLiteral("time"),
                    QStringLiteral("The instant, ISO 8601, UTC unless it says."),
                    QStringLiteral("now"));
    options.declare(QStringLiteral("size"), QStringLiteral("Pixels on a side."),
                    QStringLiteral("1024"));
    options.declare(QStringLiteral("frames"), QStringLiteral("Frames a clip."),
                    QStringLiteral("480"));
    options.declare(QStringLiteral("crf"), QStringLiteral("x264's quality, 0 best to 51."),
                    QStringLiteral("21"));
    options.declare(QStringLiteral("seed"), QStringLiteral("Which Sun."), QStringLiteral("1"));
}

HostOptions readHost(Options &options)
{
    HostOptions host;
    host.products = options.products();
    host.instant = options.instant();
    host.size = options.integer(QStringLiteral("size"), 1, 16384);
    host.frames = options.integer(QStringLiteral("frames"), 1, 1000000);
    host.crf = options.integer(QStringLiteral("crf"), 0, 51);
    return host;
}

} // namespace

ExitStatus runHost(const QStringList &arguments)
{
    Options options(QStringLiteral("host"), QStringLiteral("DIR"));
    declareHostOptions(options);
    if (!options.parse(arguments))
        return options.status();
    const HostOptions host = readHost(options);
    const SunOptions sunOptions{.seed = options.seed()};
    if (!options.good())
        return options.status();

    const Sun sun(sunOptions);
    const QString error = HostTree(sun, QDir(options.path()), host).write();
    return error.isEmpty() ? ExitStatus::Done : failed(error);
}

} // namespace corvella::sun
