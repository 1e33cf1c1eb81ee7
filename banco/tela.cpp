// Images in the host's memory, with bounds and rows of their own.
#include "banco/tela.h"

#include <algorithm>
#include <cstdint>

namespace varno::banco {
namespace {

constexpr std::size_t GUARDIA = 256;  // bytes before and behind the rows
constexpr std::size_t BYTE_PIXEL = 16;
constexpr unsigned char SEGNO = 0xA5;

std::size_t larghezza(const Tela& t)
{
    return static_cast<std::size_t>(t.limiti.x2 - t.limiti.x1);
}

std::size_t altezza(const Tela& t)
{
    return static_cast<std::size_t>(t.limiti.y2 - t.limiti.y1);
}

std::size_t posizione(const Tela& t, int x, int y)
{
    const auto righe = static_cast<std::ptrdiff_t>(y) - t.limiti.y1;
    const auto colonne = static_cast<std::ptrdiff_t>(x) - t.limiti.x1;
    return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(t.prima) + righe * t.byte_riga +
                                    colonne * static_cast<std::ptrdiff_t>(BYTE_PIXEL));
}

}  // namespace

Tela tela(const Rettangolo& limiti, int imbottitura, bool capovolta)
{
    Tela t;
    t.limiti = limiti;
    const std::size_t riga = larghezza(t) * BYTE_PIXEL + static_cast<std::size_t>(imbottitura);
    t.memoria.assign(2 * GUARDIA + riga * altezza(t), SEGNO);
    t.byte_riga = capovolta ? -static_cast<int>(riga) : static_cast<int>(riga);
    t.prima = GUARDIA + (capovolta && altezza(t) > 0 ? riga * (altezza(t) - 1) : 0);
    for (int y = limiti.y1; y < limiti.y2; ++y)
        std::fill_n(t.memoria.begin() + static_cast<std::ptrdiff_t>(posizione(t, limiti.x1, y)),
                    larghezza(t) * BYTE_PIXEL, static_cast<unsigned char>(0));
    return t;
}

float* pixel(Tela& t, int x, int y)
{
    return reinterpret_cast<float*>(t.memoria.data() + posizione(t, x, y));
}

const float* pixel(const Tela& t, int x, int y)
{
    return reinterpret_cast<const float*>(t.memoria.data() + posizione(t, x, y));
}

Figura figura(Tela& t)
{
    return {t.memoria.data() + t.prima, t.byte_riga, t.limiti};
}

bool intatta(const Tela& t)
{
    std::vector<unsigned char> resto = t.memoria;
    for (int y = t.limiti.y1; y < t.limiti.y2; ++y)
        std::fill_n(resto.begin() + static_cast<std::ptrdiff_t>(posizione(t, t.limiti.x1, y)),
                    larghezza(t) * BYTE_PIXEL, SEGNO);
    return std::all_of(resto.begin(), resto.end(), [](unsigned char b) { return b == SEGNO; });
}

}  // namespace varno::banco
