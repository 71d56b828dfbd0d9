#include "platform/layers/GlRenderer.h"

#include "platform/video/ColourDecoding.h"

#include <QGenericMatrix>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

namespace corvella {

namespace {

constexpr const char *kVertexShader = R"(
attribute vec2 corner;          // of the unit square, y downwards
uniform vec4 rect;              // where the square goes, pixels, origin top left
uniform vec2 target;            // size of the framebuffer in pixels
varying vec2 pixel;
varying vec2 uv;
void main()
{
    pixel = rect.xy + corner * rect.zw;
    uv = corner;
    vec2 place = pixel / target * 2.0 - 1.0;
    gl_Position = vec4(place.x, -place.y, 0.0, 1.0);
}
)";

constexpr const char *kFragmentShader = R"(
#ifdef GL_ES
precision highp float;
#endif
varying vec2 pixel;
varying vec2 uv;
uniform int fill;               // 0 colour, 1 premultiplied image, 2 luma and chroma planes
uniform vec4 colour;            // premultiplied
uniform float opacity;
uniform sampler2D plane0;
uniform sampler2D plane1;
uniform sampler2D plane2;
uniform vec3 usedWidth;         // share of each texture that holds pixels
uniform vec3 halfTexel;         // half a texel's width in each texture
uniform mat3 decode;            // luma and chroma to red, green, blue
uniform vec3 decodeOffset;
uniform int maskKind;           // 0 none, 1 rectangle, 2 ellipse
uniform vec4 mask;

float insideRectangle(vec4 area)
{
    vec2 extent = area.zw * 0.5;
    vec2 inside = extent - abs(pixel - area.xy - extent);
    return min(inside.x, inside.y);
}

float insideEllipse(vec4 area)
{
    vec2 extent = max(area.zw * 0.5, vec2(0.001));
    vec2 unit = (pixel - area.xy - extent) / extent;
    return (1.0 - length(unit)) * min(extent.x, extent.y);
}

vec2 within(float used, float texel)
{
    return vec2(min(uv.x * used, used - texel), uv.y);
}

void main()
{
    vec4 result = colour;
    if (fill == 1) {
        result = texture2D(plane0, within(usedWidth.x, 0.0));
    } else if (fill == 2) {
        vec3 coded = vec3(texture2D(plane0, within(usedWidth.x, halfTexel.x)).r,
                          texture2D(plane1, within(usedWidth.y, halfTexel.y)).r,
                          texture2D(plane2, within(usedWidth.z, halfTexel.z)).r);
        result = vec4(clamp(decode * (coded - decodeOffset), 0.0, 1.0), 1.0);
    }
    float coverage = opacity;
    if (maskKind == 1)
        coverage *= clamp(insideRectangle(mask) + 0.5, 0.0, 1.0);
    else if (maskKind == 2)
        coverage *= clamp(insideEllipse(mask) + 0.5, 0.0, 1.0);
    gl_FragColor = result * coverage;
}
)";

QVector4D vector(const QRectF &rect)
{
    return {static_cast<float>(rect.x()), static_cast<float>(rect.y()),
            static_cast<float>(rect.width()), static_cast<float>(rect.height())};
}

// Row-major; multiplies (Y, Cb, Cr) after the offsets are taken off.
QMatrix3x3 decodeMatrix(const ColourDecoding &decoding)
{
    const float values[] = {
        decoding.luma,
        0,
        decoding.redOfCr, //
        decoding.luma,
        decoding.greenOfCb,
        decoding.greenOfCr, //
        decoding.luma,
        decoding.blueOfCb,
        0, //
    };
    return QMatrix3x3(values);
}

// Textures' samples are 0 to 1.
QVector3D decodeOffset(const ColourDecoding &decoding)
{
    constexpr float kMiddle = 128.0F / 255.0F;
    return {decoding.black / 255, kMiddle, kMiddle};
}

} // namespace

GlRenderer::GlRenderer() = default;

GlRenderer::~GlRenderer()
{
    for (auto &[source, upload] : m_uploads)
        m_gl.glDeleteTextures(3, upload.textures.data());
}

std::optional<QString> GlRenderer::initialise()
{
    m_gl.initializeOpenGLFunctions();
    m_program = std::make_unique<QOpenGLShaderProgram>();
    m_program->bindAttributeLocation("corner", 0);
    if (m_program->addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader)
        && m_program->addShaderFromSourceCode(QOpenGLShader::Fragment, kFragmentShader)
        && m_program->link())
        return std::nullopt;
    return QStringLiteral("shaders do not compile: ") + m_program->log().simplified();
}

void GlRenderer::abandon()
{
    m_uploads.clear();
}

void GlRenderer::paint(const DrawList &list, QSize size)
{
    m_target = size;
    m_gl.glViewport(0, 0, size.width(), size.height());
    m_gl.glDisable(GL_DEPTH_TEST);
    m_gl.glDisable(GL_CULL_FACE);
    m_gl.glEnable(GL_BLEND);
    m_gl.glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    m_gl.glClearColor(0, 0, 0, 1);
    m_gl.glClear(GL_COLOR_BUFFER_BIT);
    m_program->bind();
    m_program->setUniformValue(
        "target", QVector2D(static_cast<float>(size.width()), static_cast<float>(size.height())));
    m_program->setUniformValue("plane0", 0);
    m_program->setUniformValue("plane1", 1);
    m_program->setUniformValue("plane2", 2);
    for (const DrawItem &item : list)
        drawItem(item);
    m_program->release();
    dropUnused();
}

void GlRenderer::drawItem(const DrawItem &item)
{
    if (item.background.alpha() > 0) {
        const QColor &colour = item.background;
        const float alpha = static_cast<float>(colour.alphaF());
        m_program->setUniformValue("colour",
                                   QVector4D(static_cast<float>(colour.redF()) * alpha,
                                             static_cast<float>(colour.greenF()) * alpha,
                                             static_cast<float>(colour.blueF()) * alpha, alpha));
        drawQuad(item, item.rect, Fill::colour);
    }
    if (!item.picture.isNull())
        drawPicture(item);
    else if (!item.contents.isNull()) {
        bindImage(item, item.contents);
        drawQuad(item, item.rect, Fill::image);
    }
}

void GlRenderer::drawPicture(const DrawItem &item)
{
    bindPlanes(item);
    const ColourDecoding decoding = colourDecoding(item.picture.matrix, item.picture.range);
    m_program->setUniformValue("decode", decodeMatrix(decoding));
    m_program->setUniformValue("decodeOffset", decodeOffset(decoding));
    drawQuad(item, item.pictureRect, Fill::planes);
}

void GlRenderer::drawQuad(const DrawItem &item, const QRectF &rect, Fill fill)
{
    static constexpr GLfloat kCorners[] = {0, 0, 1, 0, 0, 1, 1, 1};
    m_program->setUniformValue("fill", static_cast<int>(fill));
    m_program->setUniformValue("opacity", static_cast<float>(item.opacity));
    m_program->setUniformValue("rect", vector(rect));
    m_program->setUniformValue("maskKind", item.mask ? (item.mask->isEllipse ? 2 : 1) : 0);
    m_program->setUniformValue("mask", vector(item.mask ? item.mask->rect : QRectF()));
    m_program->enableAttributeArray(0);
    m_program->setAttributeArray(0, kCorners, 2);
    m_gl.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

void GlRenderer::bindPlanes(const DrawItem &item)
{
    Uploaded &upload = uploaded(item.source);
    const bool isNew = upload.serial != item.serial;
    QVector3D used;
    QVector3D halfTexel;
    for (size_t i = 0; i < 3; ++i) {
        const Plane &plane = item.picture.planes[i];
        const GLenum unit = GL_TEXTURE0 + static_cast<GLenum>(i);
        // Whole lines are uploaded, padding included: OpenGL ES 2 knows no other line length.
        if (isNew)
            uploadTexture(upload.textures[i], unit, GL_LUMINANCE, plane.data,
                          {plane.bytesPerLine, plane.size.height()});
        m_gl.glActiveTexture(unit);
        m_gl.glBindTexture(GL_TEXTURE_2D, upload.textures[i]);
        const auto width = static_cast<float>(plane.bytesPerLine);
        used[static_cast<int>(i)] = static_cast<float>(plane.size.width()) / width;
        halfTexel[static_cast<int>(i)] = 0.5F / width;
    }
    upload.serial = item.serial;
    m_program->setUniformValue("usedWidth", used);
    m_program->setUniformValue("halfTexel", halfTexel);
}

void GlRenderer::bindImage(const DrawItem &item, const QImage &image)
{
    Uploaded &upload = uploaded(item.source);
    if (upload.serial != item.serial || upload.textures[0] == 0) {
        const QImage pixels = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        uploadTexture(upload.textures[0], GL_TEXTURE0, GL_RGBA, pixels.constBits(), pixels.size());
        upload.serial = item.serial;
    }
    m_gl.glActiveTexture(GL_TEXTURE0);
    m_gl.glBindTexture(GL_TEXTURE_2D, upload.textures[0]);
    m_program->setUniformValue("usedWidth", QVector3D(1, 1, 1));
}

GlRenderer::Uploaded &GlRenderer::uploaded(const void *source)
{
    Uploaded &upload = m_uploads[source];
    upload.drawn = true;
    return upload;
}

void GlRenderer::uploadTexture(GLuint &texture, GLenum unit, GLenum format, const uint8_t *data,
                               QSize size)
{
    if (texture == 0)
        m_gl.glGenTextures(1, &texture);
    m_gl.glActiveTexture(unit);
    m_gl.glBindTexture(GL_TEXTURE_2D, texture);
    m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    m_gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    m_gl.glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), size.width(), size.height(), 0,
                      format, GL_UNSIGNED_BYTE, data);
}

void GlRenderer::dropUnused()
{
    for (auto entry = m_uploads.begin(); entry != m_uploads.end();) {
        if (std::exchange(entry->second.drawn, false)) {
            ++entry;
            continue;
        }
        m_gl.glDeleteTextures(3, entry->second.textures.data());
        entry = m_uploads.erase(entry);
    }
}

} // namespace corvella
