#include "fx/fx.h"

#include "fx/aberrazione.h"
#include "fx/bloom.h"
#include "fx/enhance.h"
#include "fx/glimmer.h"
#include "fx/halation.h"
#include "fx/mistw.h"
#include "fx/nuclei.h"
#include "fx/pelle.h"
#include "fx/promist.h"
#include "fx/stella.h"
#include "fx/streak.h"
#include "render/nuclei_tabella.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

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

// The effects that need the whole picture, in the order of the chain. The lens does without the
// luminance plane, as do vignette and film, which come last and change each row by itself.
struct Stadio {
    float FxRicetta::*quantita;
    bool legge_luma;
    void (*applica)(const Quadro& q, const FxRicetta& r);
};
using R = FxRicetta;
// clang-format off
constexpr Stadio STADI[] = {
    {&R::enhance,  true,  [](const Quadro& q, const R& r) { applica_enhance(q, r.enhance); }},
    {&R::pelle,    true,  [](const Quadro& q, const R& r) { applica_pelle(q, r.pelle); }},
    {&R::halation, true,  [](const Quadro& q, const R& r) { applica_halation(q, r.halation); }},
    {&R::bloom,    true,  [](const Quadro& q, const R& r) { applica_bloom(q, r.bloom); }},
    {&R::streak,   true,  [](const Quadro& q, const R& r) { applica_streak(q, r.streak); }},
    {&R::promist,  true,  [](const Quadro& q, const R& r) { applica_promist(q, r.promist); }},
    {&R::stella,   true,  [](const Quadro& q, const R& r) { applica_stella(q, r.stella, r.punte); }},
    {&R::mistw,    true,  [](const Quadro& q, const R& r) { applica_mistw(q, r.mistw); }},
    {&R::glimmer,  true,  [](const Quadro& q, const R& r) { applica_glimmer(q, r.glimmer); }},
    {&R::ca,       false, [](const Quadro& q, const R& r) { applica_aberrazione(q, r.ca); }},
};
// clang-format on
constexpr int NUMERO_STADI = static_cast<int>(std::size(STADI));

// Not-a-number leaves an effect off.
bool acceso(const Stadio& s, const FxRicetta& r)
{
    return r.*s.quantita > 0.0f;
}

}  // namespace

bool legge_luma(const FxRicetta& r)
{
    return std::any_of(std::begin(STADI), std::end(STADI),
                       [&](const Stadio& s) { return s.legge_luma && acceso(s, r); });
}

bool legge_immagine(const FxRicetta& r)
{
    return std::any_of(std::begin(STADI), std::end(STADI),
                       [&](const Stadio& s) { return acceso(s, r); });
}

bool ha_effetti(const FxRicetta& r)
{
    return legge_immagine(r) || r.vignetta > 0.0f || r.grana > 0.0f;
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
    applica_fx(img, luma, larghezza, altezza, ricetta, {});
}

void applica_fx(Immagine& img, Piano& luma, int larghezza, int altezza, const FxRicetta& ricetta,
                const Consegna& consegna)
{
    int ultimo = -1;
    int ultimo_di_luma = -1;
    for (int i = 0; i < NUMERO_STADI; ++i)
        if (acceso(STADI[i], ricetta)) {
            ultimo = i;
            if (STADI[i].legge_luma)
                ultimo_di_luma = i;
        }
    Quadro q = quadro_di(img, luma, larghezza, altezza);
    const Finale finale = {ricetta, consegna};
    for (int i = 0; i <= ultimo; ++i) {
        if (!acceso(STADI[i], ricetta))
            continue;
        q.rinfresca = i < ultimo_di_luma;
        q.finale = i == ultimo ? &finale : nullptr;
        STADI[i].applica(q, ricetta);
    }
    if (ultimo < 0 && (consegna || ha_effetti(ricetta))) {
        q.finale = &finale;
        per_righe(q, [](const RigaDiPixel& r, std::uint64_t) {
            if (r.a != r.da)
                std::copy(r.da, r.da + 3 * r.larghezza, r.a);
        });
    }
}

void applica_fx_a_righe(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta,
                        const CambiaRiga& riempi, const Consegna& consegna)
{
    Piano senza_luma;
    Quadro q = quadro_di(img, senza_luma, larghezza, altezza);
    const Finale finale = {ricetta, consegna};
    q.finale = &finale;
    per_righe(q, riempi);
}

}  // namespace varno
