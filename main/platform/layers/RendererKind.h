// Which of the two renderers draws the layers.
#pragma once

namespace corvella {

enum class RendererKind {
    raster, // pictures enlarged and composed in memory while they are painted
    gl,     // OpenGL ES 2 and up on a real GPU
};

// The renderer for this machine: GL where a GPU answers, raster where only software would. Decided
// and logged once, at the first call. Main thread, after the application object.
[[nodiscard]] RendererKind rendererKind();

// Whether a GL renderer of this name is a program rather than a GPU.
[[nodiscard]] bool isSoftwareGl(const char *rendererName);

} // namespace corvella
