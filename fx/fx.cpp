// The engine: runs a plan sweep by sweep, with what effects have done to their planes in between.
#include "fx/fx.h"

#include "fx/blocco.h"
#include "fx/media.h"
#include "fx/passo.h"
#include "render/parallel_for.h"

#include <algorithm>

namespace varno {
namespace {

// A thread's blocks, from inizio to before fine. Rows of planes that they have fed get their step a
// few at a time.
void passa_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                   std::ptrdiff_t fine)
{
    const Stadio nutrito = s.alimenta < 0 ? Stadio{} : c.programma.stadi[s.alimenta];
    const Forma& f = nutrito.forma;
    const Campo piani = c.piani_di(nutrito, nutrito.nutriti);
    const auto nutrite = [&](std::ptrdiff_t b) {
        return std::min(b * s.insieme / f.riduzione, f.righe);
    };
    const Ripiano ripiano = ripiano_di(c, s, parte, inizio, fine);
    std::ptrdiff_t fatte = nutrite(inizio);
    for (std::ptrdiff_t b = inizio; b < fine; ++b) {
        passa_blocco(c, s, b, ripiano);
        const std::ptrdiff_t pronte = nutrite(b + 1);
        while (pronte - fatte >= RIGHE_FRESCHE || (pronte > fatte && b + 1 == fine)) {
            const std::ptrdiff_t n = std::min(pronte - fatte, RIGHE_FRESCHE);
            for (std::ptrdiff_t p = 0; p < f.piani; ++p)
                nutrito.effetto->prepara->righe(f, riga_di(piani, f, p, fatte), piani.passo, n,
                                                ripiano.appoggio);
            fatte += n;
        }
    }
}

// All of the frame, as each of the threads goes through it.
void corri(Corsa& c, const Membro& io)
{
    const Programma& p = c.programma;
    float* const comune = c.memoria + p.comune;
    for (const Spazzata* s = p.spazzate; s < p.spazzate + p.numero_spazzate; ++s) {
        for (int i = s->primo; i < s->dopo; ++i) {
            const Stadio& t = p.stadi[i];
            t.effetto->prepara->piani({*t.effetto, c.quadro, t.forma, c.piani_di(t, t.nutriti),
                                       c.piani_di(t, t.pronti), comune, io});
        }
        const std::ptrdiff_t blocchi = (c.quadro.altezza + s->insieme - 1) / s->insieme;
        if (s->intorno > 0)
            io.per_parti(blocchi, [&](auto... parte) {
                prendi_confini(ripiano_di(c, *s, parte...).vicine);
            });
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
