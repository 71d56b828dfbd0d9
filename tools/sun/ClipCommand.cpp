#include "ClipCommand.h"

#include "ClipRendering.h"
#include "FrameMark.h"

namespace corvella::sun {

namespace {

void declareClipOptions(Options &options)
{
    options.declare(QStringLiteral("product"), QStringLiteral("Which picture."),
                    QStringLiteral("171"));
    options.declare(QStringLiteral("size"), QStringLiteral("Pixels on a side."),
                    QStringLiteral("1024"));
    options.declare(QStringLiteral("start"), QStringLiteral("The first frame's scene hour."),
                    QStringLiteral("0"));
    options.declare(QStringLiteral("hours"), QStringLiteral("Hours from first to last frame."),
                    QStringLiteral("48"));
    options.declare(QStringLiteral("frames"), QStringLiteral("How many."), QStringLiteral("480"));
    options.declare(QStringLiteral("fps"), QStringLiteral("Frames per second."),
                    QStringLiteral("30"));
    options.declare(QStringLiteral("crf"), QStringLiteral("x264's quality, 0 best to 51."),
                    QStringLiteral("20"));
    options.declare(QStringLiteral("preset"), QStringLiteral("x264's preset."),
                    QStringLiteral("medium"));
    options.declare(QStringLiteral("seed"), QStringLiteral("Which Sun."), QStringLiteral("1"));
    options.declareFlag(QStringLiteral("mark"),
                        QStringLiteral("Draws a machine-readable frame number."));
}

ClipSpan readSpan(Options &options)
{
    ClipSpan span;
    span.product = options.product();
    span.startHours = options.number(QStringLiteral("start"), -1e6, 1e6);
    span.lengthHours = options.number(QStringLiteral("hours"), 0, 1e6);
    span.marked = options.flag(QStringLiteral("mark"));
    span.frames =
        options.integer(QStringLiteral("frames"), 1, span.marked ? kLargestFrameMark + 1 : 1000000);
    return span;
}

ClipOptions readClip(Options &options)
{
    ClipOptions clip;
    clip.width = options.integer(QStringLiteral("size"), 1, 16384);
    clip.height = clip.width;
    clip.framesPerSecond = options.integer(QStringLiteral("fps"), 1, 240);
    clip.crf = options.integer(QStringLiteral("crf"), 0, 51);
    clip.preset = options.text(QStringLiteral("preset")).toLatin1();
    return clip;
}

} // namespace

ExitStatus runClip(const QStringList &arguments)
{
    Options options(QStringLiteral("clip"), QStringLiteral("OUT.mp4"));
    declareClipOptions(options);
    if (!options.parse(arguments))
        return options.status();
    const ClipSpan span = readSpan(options);
    const ClipOptions clip = readClip(options);
    const SunOptions sunOptions{.seed = options.seed()};
    if (!options.good())
        return options.status();

    const QString error = renderClip(Sun(sunOptions), span, options.path(), clip);
    return error.isEmpty() ? ExitStatus::Done : failed(options.path() + u": " + error);
}

} // namespace corvella::sun
