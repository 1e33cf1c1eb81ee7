#include "fx/aberrazione.h"

#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"
#include "render/parallel_for.h"

#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr float SPOSTAMENTO = 0.008f;  // of the way from the centre, in the middle of an edge

}  // namespace

// Only red and blue move, so only they are copied.
void applica_aberrazione(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::size_t>(q.altezza);
    Piano rosso = piano_di_lavoro(riga * righe, q.img.arena);
    Piano blu = piano_di_lavoro(riga * righe, q.img.arena);
    parallel_for(righe, [&](std::uint64_t y) {
        gNuclei->effetti.rosso_e_blu(&q.img[y * riga * 3], &rosso[y * riga], &blu[y * riga],
                                     q.larghezza);
    });
    per_righe(q, [&](const RigaDiPixel& r, std::uint64_t y) {
        gNuclei->effetti.aberrazione(r, rosso.data(), blu.data(), q.altezza,
                                     static_cast<std::ptrdiff_t>(y), quantita * SPOSTAMENTO);
    });
}

}  // namespace varno
