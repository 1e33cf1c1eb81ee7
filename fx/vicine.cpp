// Rows around rows: in a ring, where one's place is free again when those around it have passed;
// rows below the thread's own have places behind it.
#include "fx/vicine.h"

#include "comune/anticipo.h"

#include <algorithm>

namespace varno {
namespace {

std::ptrdiff_t posti_di(const Quadro& q, std::ptrdiff_t intorno, std::ptrdiff_t insieme)
{
    return std::min(2 * intorno + insieme, q.altezza);
}

// Where the planes' rows of the frame's row y are, one behind the other.
float* posto_di(const Vicine& v, std::ptrdiff_t y)
{
    const std::ptrdiff_t posti = posti_di(v.quadro, v.intorno, v.insieme);
    const std::ptrdiff_t posto = y < v.dopo ? y % posti : posti + y - v.dopo;
    return v.memoria + 2 * posti + posto * v.effetto->piani * v.quadro.larghezza;
}

void prendi(const Vicine& v, std::ptrdiff_t da, std::ptrdiff_t a)
{
    for (std::ptrdiff_t y = da; y < a; ++y) {
        float* righe[MASSIMO_PIANI];
        for (std::ptrdiff_t p = 0; p < v.effetto->piani; ++p)
            righe[p] = posto_di(v, y) + p * v.quadro.larghezza;
        if (y + 1 < v.quadro.altezza)
            anticipa(riga_di(v.immagine, y + 1), 3 * v.quadro.larghezza);
        v.effetto->maschera(riga_di(v.immagine, y), nullptr, righe, v.quadro.larghezza);
    }
}

}  // namespace

std::size_t memoria_vicine(const Effetto& e, const Quadro& q, std::ptrdiff_t intorno,
                           std::ptrdiff_t insieme)
{
    const std::ptrdiff_t posti = posti_di(q, intorno, insieme);
    return static_cast<std::size_t>(2 * posti + (posti + intorno) * e.piani * q.larghezza);
}

void prendi_confini(const Vicine& v)
{
    prendi(v, std::max<std::ptrdiff_t>(v.prima - v.intorno, 0), v.prima);
    prendi(v, v.dopo, std::min(v.dopo + v.intorno, v.quadro.altezza));
}

Dintorni dintorni_di(const Vicine& v, std::ptrdiff_t y, std::ptrdiff_t n)
{
    const std::ptrdiff_t vista = y == v.prima ? y : y + v.intorno;  // as far as it has been taken
    prendi(v, std::min(vista, v.dopo), std::min(y + n + v.intorno, v.dopo));
    const std::ptrdiff_t prima = std::max<std::ptrdiff_t>(y - v.intorno, 0);
    auto** const righe = reinterpret_cast<const float**>(v.memoria);
    for (std::ptrdiff_t k = prima; k < std::min(y + n + v.intorno, v.quadro.altezza); ++k)
        righe[k - prima] = posto_di(v, k);
    return {righe, prima};
}

}  // namespace varno
