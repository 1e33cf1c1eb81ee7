// The small arithmetic that everything shares.
#pragma once

#include "comune/regole.h"

#include <algorithm>

namespace varno {

/// Three 32-bit floats, passed by value; the encoding and the range are the context's.
struct RGB {
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
};

/// Holds v to 0..1; not-a-number becomes 0.
inline float clamp01(float v)
{
    return v > 0.0f ? std::min(v, 1.0f) : 0.0f;
}

/// Rec.709 luminance of a colour, on whatever encoding it is in; no clamp.
inline float luma_pixel(float r, float g, float b)
{
    return r * 0.2126f + g * 0.7152f + b * 0.0722f;
}

}  // namespace varno
