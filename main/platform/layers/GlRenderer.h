// Draws a layer tree with OpenGL ES 2 or OpenGL 2.1 and up. Every call needs the same context
// current.
#pragma once

#include "platform/layers/DrawList.h"

#include <QOpenGLFunctions>
#include <QSize>

#include <array>
#include <map>
#include <memory>
#include <optional>

class QOpenGLShaderProgram;

namespace corvella {

class GlRenderer
{
public:
    GlRenderer();
    // Frees its textures: the context must be current, unless they were abandoned.
    ~GlRenderer();
    GlRenderer(const GlRenderer &) = delete;
    GlRenderer &operator=(const GlRenderer &) = delete;

    // Compiles the shaders. What is wrong where this context cannot draw.
    [[nodiscard]] std::optional<QString> initialise();

    // Forgets its textures, which are gone with their context.
    void abandon();

    // Draws the whole list into the current framebuffer, `size` in pixels.
    void paint(const DrawList &list, QSize size);

private:
    // What the fragment shader is to fill a quad with; the values are the shader's.
    enum class Fill { colour = 0, image = 1, planes = 2 };

    // Pixels of one source on the GPU, kept until the source changes or is no longer drawn.
    struct Uploaded
    {
        quint64 serial = 0;
        bool drawn = false;
        std::array<GLuint, 3> textures{};
    };

    void drawItem(const DrawItem &item);
    void drawPicture(const DrawItem &item);
    void drawQuad(const DrawItem &item, const QRectF &rect, Fill fill);
    // Binds the item's pixels to the texture units, uploading them if they are new.
    void bindPlanes(const DrawItem &item);
    void bindImage(const DrawItem &item, const QImage &image);
    [[nodiscard]] Uploaded &uploaded(const void *source);
    void uploadTexture(GLuint &texture, GLenum unit, GLenum format, const uint8_t *data,
                       QSize size);
    void dropUnused();

    QOpenGLFunctions m_gl;
    std::unique_ptr<QOpenGLShaderProgram> m_program;
    std::map<const void *, Uploaded> m_uploads;
    QSize m_target;
};

} // namespace corvella
