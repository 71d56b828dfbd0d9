#include "StillCommand.h"

#include "Sun.h"

namespace corvella::sun {

ExitStatus runStill(const QStringList &arguments)
{
    Options options(QStringLiteral("still"), QStringLiteral("OUT.png"));
    options.declare(QStringLiteral("product"), QStringLiteral("Which picture."),
                    QStringLiteral("171"));
    options.declare(QStringLiteral("size"), QStringLiteral("Pixels on a side."),
                    QStringLiteral("1024"));
    options.declare(QStringLiteral("hours"), QStringLiteral("Hours since the scene's start."),
                    QStringLiteral("0"));
    options.declare(QStringLiteral("seed"), QStringLiteral("Which Sun."), QStringLiteral("1"));
    if (!options.parse(arguments))
        return options.status();
    const Product product = options.product();
    const int size = options.integer(QStringLiteral("size"), 1, 16384);
    const double hours = options.number(QStringLiteral("hours"), -1e6, 1e6);
    const SunOptions sunOptions{.seed = options.seed()};
    if (!options.good())
        return options.status();

    const Sun sun(sunOptions);
    if (!sun.render(product, hours, size).save(options.path(), "PNG"))
        return failed(u"cannot write " + options.path());
    return ExitStatus::Done;
}

} // namespace corvella::sun
