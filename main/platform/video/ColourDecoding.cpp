#include "platform/video/ColourDecoding.h"

namespace corvella {

namespace {

struct LumaWeights
{
    float red;
    float blue;
};

LumaWeights lumaWeights(ColourMatrix matrix)
{
    switch (matrix) {
    case ColourMatrix::bt601:
        return {0.299F, 0.114F};
    case ColourMatrix::bt709:
        return {0.2126F, 0.0722F};
    case ColourMatrix::bt2020:
        return {0.2627F, 0.0593F};
    }
    return {0.2126F, 0.0722F};
}

} // namespace

ColourDecoding colourDecoding(ColourMatrix matrix, ColourRange range)
{
    const auto [red, blue] = lumaWeights(matrix);
    const float green = 1 - red - blue;
    const bool isFull = range == ColourRange::full;
    const float luma = isFull ? 1.0F : 255.0F / 219.0F;
    const float chroma = isFull ? 1.0F : 255.0F / 224.0F;
    return {isFull ? 0.0F : 16.0F,
            luma,
            2 * (1 - red) * chroma,
            -2 * (1 - blue) * blue / green * chroma,
            -2 * (1 - red) * red / green * chroma,
            2 * (1 - blue) * chroma};
}

} // namespace corvella
