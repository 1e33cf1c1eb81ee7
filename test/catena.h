// The chain over a picture that stands in memory.
#pragma once

#include "fx/fx.h"

#include <algorithm>
#include <cmath>

namespace varno {

/// img: larghezza * altezza * 3 floats, changed in place; riduzione 0: the frame's own. The picture
/// lies in rows that are so many floats farther apart than they need, upside down if that is
/// negative. Memory is handed out used: what is read before it is written is not-a-number.
inline void applica_fx(Piano& img, int larghezza, int altezza, const FxRicetta& ricetta,
                       int riduzione = 0, std::ptrdiff_t distanza = 0)
{
    const Programma p = programma_di(ricetta, larghezza, altezza, true,
                                     riduzione > 0 ? riduzione : riduzione_di(larghezza, altezza));
    const std::ptrdiff_t riga = 3 * std::ptrdiff_t{larghezza};
    const std::ptrdiff_t passo = (p.piano_in_quadro ? riga + larghezza : riga) + std::abs(distanza);
    Piano memoria(p.memoria, NAN);
    Piano quadro(static_cast<std::size_t>(passo * altezza), NAN);
    const Immagine campo =
        distanza < 0 ? Immagine{quadro.end() - passo, -passo} : Immagine{quadro.data(), passo};
    applica_fx(p, campo, memoria.data(),
               {.entra =
                    [&](float* rgb, std::ptrdiff_t y) {
                        std::copy_n(&img[static_cast<std::size_t>(y * riga)], riga, rgb);
                    },
                .esce =
                    [&](const float* rgb, std::ptrdiff_t y) {
                        std::copy_n(rgb, riga, &img[static_cast<std::size_t>(y * riga)]);
                    }});
}

}  // namespace varno
