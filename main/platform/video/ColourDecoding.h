// How luma and chroma become red, green and blue. A pure function; any thread.
#pragma once

#include "platform/video/Picture.h"

namespace corvella {

// With samples Y, Cb and Cr of 0 to 255:
//   R = luma (Y - black) + redOfCr (Cr - 128)
//   G = luma (Y - black) + greenOfCb (Cb - 128) + greenOfCr (Cr - 128)
//   B = luma (Y - black) + blueOfCb (Cb - 128)
struct ColourDecoding
{
    float black;
    float luma;
    float redOfCr;
    float greenOfCb;
    float greenOfCr;
    float blueOfCb;
};

// As ITU-R BT.601, BT.709 and BT.2020 (non-constant luminance) have it.
[[nodiscard]] ColourDecoding colourDecoding(ColourMatrix matrix, ColourRange range);

} // namespace corvella
