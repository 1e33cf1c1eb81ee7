#include "fx/fx.h"

#include "fx/aberrazione.h"
#include "fx/bloom.h"
#include "fx/enhance.h"
#include "fx/glimmer.h"
#include "fx/grana.h"
#include "fx/halation.h"
#include "fx/mistw.h"
#include "fx/nuclei.h"
#include "fx/nuclei_tabella.h"
#include "fx/pelle.h"
#include "fx/promist.h"
#include "fx/stella.h"
#include "fx/streak.h"
#include "fx/vignetta.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

int riduzione_di(int lato_max)
{
    if (lato_max < 1920)
        return 1;
    return lato_max < 3840 ? lato_max / 960 : 4;
}

// The product stays in 64-bit float: lround takes halves away from zero.
int frazione(double parte, int lato)
{
    return static_cast<int>(std::lround(parte * lato));
}

}  // namespace

// The lens and the film come last and do without the luminance plane.
bool legge_luma(const FxRicetta& r)
{
    for (const float quantita : {r.enhance, r.pelle, r.halation, r.bloom, r.streak, r.promist,
                                 r.stella, r.mistw, r.glimmer})
        if (quantita > 0.0f)
            return true;
    return false;
}

bool ha_effetti(const FxRicetta& r)
{
    return legge_luma(r) || r.ca > 0.0f || r.vignetta > 0.0f || r.grana > 0.0f;
}

Quadro quadro_di(Immagine& img, Piano& luma, int larghezza, int altezza)
{
    const int lato_max = std::max(larghezza, altezza);
    return Quadro{img,
                  luma,
                  larghezza,
                  altezza,
                  lato_max,
                  frazione(0.012, lato_max),
                  frazione(0.018, lato_max),
                  frazione(0.01, lato_max),
                  riduzione_di(lato_max)};
}

void aggiorna_luma(const Quadro& q)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    parallel_for(static_cast<std::uint64_t>(q.altezza), [&](std::uint64_t y) {
        gNuclei->tabella.luminanza(&q.img[y * riga * 3], &q.luma[y * riga], q.larghezza);
    });
}

void applica_fx(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta)
{
    const std::size_t pixel =
        static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza);
    const bool con_luma = legge_luma(ricetta);
    Piano luma = piano_di_lavoro(con_luma ? pixel : 0, img.arena);
    if (con_luma)
        aggiorna_luma(quadro_di(img, luma, larghezza, altezza));
    applica_fx(img, luma, larghezza, altezza, ricetta);
}

void applica_fx(Immagine& img, Piano& luma, int larghezza, int altezza, const FxRicetta& ricetta)
{
    const Quadro q = quadro_di(img, luma, larghezza, altezza);
    // An effect is on when its amount is above 0: not-a-number leaves it off.
    if (ricetta.enhance > 0.0f)
        applica_enhance(q, ricetta.enhance);
    if (ricetta.pelle > 0.0f)
        applica_pelle(q, ricetta.pelle);
    if (ricetta.halation > 0.0f)
        applica_halation(q, ricetta.halation);
    if (ricetta.bloom > 0.0f)
        applica_bloom(q, ricetta.bloom);
    if (ricetta.streak > 0.0f)
        applica_streak(q, ricetta.streak);
    if (ricetta.promist > 0.0f)
        applica_promist(q, ricetta.promist);
    if (ricetta.stella > 0.0f)
        applica_stella(q, ricetta.stella, ricetta.punte);
    if (ricetta.mistw > 0.0f)
        applica_mistw(q, ricetta.mistw);
    if (ricetta.glimmer > 0.0f)
        applica_glimmer(q, ricetta.glimmer);
    if (ricetta.ca > 0.0f)
        applica_aberrazione(q, ricetta.ca);
    if (ricetta.vignetta > 0.0f)
        applica_vignetta(q, ricetta.vignetta);
    if (ricetta.grana > 0.0f)
        applica_grana(q, ricetta.grana, ricetta.fotogramma);
}

}  // namespace varno
