#pragma once

#include <cstdint>

namespace varno {

constexpr int CELLA_GRANA = 2;  // side of a cell in pixels, at every frame size

/// How many rows of cells cover a frame of altezza rows, the last perhaps by half.
inline std::uint64_t righe_di_celle(int altezza)
{
    return static_cast<std::uint64_t>(altezza / CELLA_GRANA + altezza % CELLA_GRANA);
}

/// Uniform value, 0 to below 1, of a cell and a frame: a stateless hash, wrapping modulo 2^32. A
/// negative frame number comes with its bit pattern.
inline float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f)
{
    std::uint32_t h = x * 374761393u + y * 668265263u + f * 2246822519u + 2654435769u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h = h ^ (h >> 16);
    // 24 bits fit a float; through a signed integer, which vector units convert.
    return static_cast<float>(static_cast<std::int32_t>(h & 0xFFFFFFu)) * 5.9604645e-8f;
}

/// Monochrome film grain, seeded by the frame number alone, on the two rows of interleaved RGB at
/// pari, which cells of the row y cover; of an odd height the last comes alone. larghezza and
/// altezza in pixels, of the frame; quantita above 0, to 0.6. Leaves 0..1.
void righe_grana(float* pari, int larghezza, int altezza, std::uint64_t y, float quantita,
                 int fotogramma);

}  // namespace varno
