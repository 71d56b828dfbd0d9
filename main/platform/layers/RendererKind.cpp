#include "platform/layers/RendererKind.h"

#include "log.h"

#include <QDir>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <array>
#include <cstring>

namespace corvella {

namespace {

struct Decision
{
    RendererKind kind;
    QString reason;
};

// Loading a software GL costs more memory than a whole wall, so it is not even asked where no GPU
// is.
bool hasGpuDevice()
{
    return !QDir(QStringLiteral("/dev/dri"))
                .entryList({QStringLiteral("renderD*")}, QDir::System)
                .isEmpty()
        || QFile::exists(QStringLiteral("/dev/nvidiactl"));
}

Decision askGl()
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface))
        return {RendererKind::raster, QStringLiteral("no OpenGL")};
    const char *name =
        reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER));
    const QString shown = QString::fromUtf8(name ? name : "nameless");
    context.doneCurrent();
    if (!name || isSoftwareGl(name))
        return {RendererKind::raster, QStringLiteral("OpenGL is software, %1").arg(shown)};
    return {RendererKind::gl, shown};
}

Decision decide()
{
    if (!hasGpuDevice())
        return {RendererKind::raster, QStringLiteral("no GPU")};
    return askGl();
}

} // namespace

bool isSoftwareGl(const char *rendererName)
{
    constexpr std::array kPrograms{"llvmpipe", "softpipe", "swrast", "SwiftShader",
                                   "Software Rasterizer"};
    for (const char *program : kPrograms) {
        if (std::strstr(rendererName, program))
            return true;
    }
    return false;
}

RendererKind rendererKind()
{
    static const RendererKind kind = [] {
        const Decision decision = decide();
        log(QStringLiteral("renderer: %1 (%2)")
                .arg(decision.kind == RendererKind::gl ? QStringLiteral("gl")
                                                       : QStringLiteral("raster"),
                     decision.reason));
        return decision.kind;
    }();
    return kind;
}

} // namespace corvella
