#include "fx/finale.h"

#include "fx/fx.h"
#include "fx/grana.h"
#include "fx/vignetta.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace varno {
namespace {

void concludi(const Quadro& q, const CambiaRiga& cambia, const Finale& finale)
{
    const FxRicetta& ricetta = finale.ricetta;
    const auto riga = static_cast<std::size_t>(q.larghezza) * 3;
    const auto altezza = static_cast<std::uint64_t>(q.altezza);
    std::shared_ptr<const MascheraVignetta> maschera;
    if (ricetta.vignetta > 0.0f)
        maschera = vignetta_mask(q.larghezza, q.altezza);
    parallel_for_blocchi(righe_di_celle(q.altezza), [&](std::uint64_t inizio, std::uint64_t fine) {
        // Rows that are delivered all pass through the place of the first ones, whose turn is
        // over: it stays in the cache, and the picture is read and not written.
        float* const banco = &q.img[inizio * CELLA_GRANA * riga];
        for (std::uint64_t c = inizio; c < fine; ++c) {
            const std::uint64_t y = c * CELLA_GRANA;
            const std::uint64_t righe = std::min<std::uint64_t>(CELLA_GRANA, altezza - y);
            float* const da = &q.img[y * riga];
            float* const a = finale.consegna ? banco : da;
            for (std::uint64_t i = 0; i < righe; ++i) {
                cambia({da + i * riga, a + i * riga, nullptr, q.larghezza}, y + i);
                if (maschera)
                    riga_vignetta(*maschera, a + i * riga, q.larghezza, y + i, ricetta.vignetta);
            }
            if (ricetta.grana > 0.0f)
                righe_grana(a, q.larghezza, q.altezza, c, ricetta.grana, ricetta.fotogramma);
            if (finale.consegna)
                for (std::uint64_t i = 0; i < righe; ++i)
                    finale.consegna(a + i * riga, y + i);
        }
    });
}

}  // namespace

void per_righe(const Quadro& q, const CambiaRiga& cambia)
{
    if (q.finale != nullptr) {
        concludi(q, cambia, *q.finale);
        return;
    }
    const auto riga = static_cast<std::size_t>(q.larghezza);
    parallel_for(static_cast<std::uint64_t>(q.altezza), [&](std::uint64_t y) {
        float* rgb = &q.img[y * riga * 3];
        cambia({rgb, rgb, q.rinfresca ? &q.luma[y * riga] : nullptr, q.larghezza}, y);
    });
}

}  // namespace varno
