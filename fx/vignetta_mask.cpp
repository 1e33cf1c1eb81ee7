#include "fx/vignetta_mask.h"

#include "comune/aritmetica.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace varno {
namespace {

constexpr float DIAGONALE = 1.4142135f;  // distance of a corner, each axis by its own half side
constexpr float INIZIO = 0.78f;          // of the way to the corner; beyond the middle of any edge
constexpr float AMPIEZZA = 0.22f;
constexpr float CURVA = 2.2f;

// The kept mask. Renders of several sizes replace it under each other, but each holds its own.
struct MascheraTenuta {
    std::mutex guardia;
    std::shared_ptr<const MascheraVignetta> maschera;  // null until the first vignette
    int larghezza = 0;
    int altezza = 0;
};
MascheraTenuta gVignetta;

// Share of the falloff at a pixel, 0..1, before its curve; a and b are the squares of the distance
// from the middle along each axis.
float caduta(float a, float b)
{
    const float d = std::sqrt(b + a) / DIAGONALE;
    return clamp01((d - INIZIO) / AMPIEZZA);
}

float distanza_quadra(int i, float centro)
{
    const float d = (static_cast<float>(i) - centro) / centro;
    return d * d;
}

// Along a row the falloff sinks to the middle and rises again: the pixels before the first 0 and
// behind the last are all that has to be written.
Centro riga_maschera(float* valori, int larghezza, float a)
{
    const float cx = static_cast<float>(larghezza) * 0.5f;
    const auto scrivi = [&](int x) {
        const float peso = caduta(a, distanza_quadra(x, cx));
        if (peso > 0.0f)
            valori[x] = std::pow(peso, CURVA);
        return peso > 0.0f;
    };
    Centro centro{0, larghezza};
    while (centro.inizio < larghezza && scrivi(centro.inizio))
        ++centro.inizio;
    while (centro.fine > centro.inizio && scrivi(centro.fine - 1))
        --centro.fine;
    return centro;
}

std::shared_ptr<const MascheraVignetta> costruisci(int larghezza, int altezza)
{
    auto m = std::make_shared<MascheraVignetta>();
    // A negative product is a size that cannot be had.
    m->valori.azzera(static_cast<std::size_t>(std::int64_t{larghezza} * altezza));
    if (larghezza < 1 || altezza < 1)
        return m;
    const auto riga = static_cast<std::size_t>(larghezza);
    const float cy = static_cast<float>(altezza) * 0.5f;
    m->centro.reserve(static_cast<std::size_t>(altezza));
    for (int y = 0; y < altezza; ++y)
        m->centro.push_back(riga_maschera(&m->valori[static_cast<std::size_t>(y) * riga], larghezza,
                                          distanza_quadra(y, cy)));
    return m;
}

}  // namespace

std::shared_ptr<const MascheraVignetta> vignetta_mask(int larghezza, int altezza)
{
    const std::lock_guard<std::mutex> blocco(gVignetta.guardia);
    if (!gVignetta.maschera || gVignetta.larghezza != larghezza || gVignetta.altezza != altezza) {
        gVignetta.maschera = costruisci(larghezza, altezza);
        gVignetta.larghezza = larghezza;
        gVignetta.altezza = altezza;
    }
    return gVignetta.maschera;
}

}  // namespace varno
