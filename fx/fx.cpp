// The engine: runs a plan sweep by sweep, with what effects have done to their planes in between.
#include "fx/fx.h"

#include "fx/blocco.h"
#include "fx/media.h"
#include "fx/passo.h"
#include "render/parallel_for.h"

namespace varno {
namespace {

// All of the frame, as each of the threads goes through it.
void corri(Corsa& c, const Membro& io)
{
    const Programma& p = c.programma;
    float* const comune = c.memoria + p.comune;
    for (const Spazzata* s = p.spazzate; s < p.spazzate + p.numero_spazzate; ++s) {
        for (int i = s->primo; i < s->dopo; ++i) {
            const Stadio& t = p.stadi[i];
            t.effetto->prepara->piani({*t.effetto, c.quadro, t.forma, piani_di(c, t, t.nutriti),
                                       piani_di(c, t, t.pronti), comune, io});
        }
        const std::ptrdiff_t blocchi = (c.quadro.altezza + s->insieme - 1) / s->insieme;
        if (s->intorno > 0)
            io.per_parti(blocchi, [&](auto... parte) { prepara_blocchi(c, *s, parte...); });
        io.per_parti(blocchi, [&](auto... parte) { passa_blocchi(c, *s, parte...); });
        if (s->media)
            io.uno([&] { c.quadro.media = media_di(c.immagine, c.quadro, c.somme, comune); });
    }
}

}  // namespace

void applica_fx(const Programma& p, const Immagine& immagine, float* memoria, const Porte& porte)
{
    auto* const somme = reinterpret_cast<double*>(memoria + p.somme);
    Corsa c = {p, immagine, memoria, somme, porte, p.quadro};
    for (int i = 0; i < p.numero_stadi; ++i)
        c.tenuti[i] = p.stadi[i].effetto->prepara->tieni(*p.stadi[i].effetto, p.quadro);
    in_squadra(p.thread, [&](const Membro& io) { corri(c, io); });
}

}  // namespace varno
