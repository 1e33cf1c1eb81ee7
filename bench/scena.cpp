// What the benchmarks render, and what they compare it with.
#include "scena.h"

#include "comune/nuclei.h"
#include "looks/catalogo.h"
#include "render/contesto.h"
#include "render/nuclei_tabella.h"
#include "render/parallel_for.h"
#include "render/sviluppa.h"
#include "test/semplici.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>

namespace varno::bench {
namespace {

constexpr float GRADO = 0.55f;  // scale of the filter grades on their way in

unsigned gQuanti = 0;

unsigned conta_thread()
{
    return gQuanti > 0 ? gQuanti : thread_macchina();
}

// A light every tenth of the height, somewhere in its cell.
bool in_luce(int x, int y, int altezza)
{
    const int cella = std::max(8, altezza / 10);
    const auto cx = static_cast<std::uint32_t>(x / cella);
    const auto cy = static_cast<std::uint32_t>(y / cella);
    const float lato = static_cast<float>(cella);
    const float dx =
        static_cast<float>(x % cella) - lato * (0.2f + 0.6f * semplici::hash_grana(cx, cy, 1));
    const float dy =
        static_cast<float>(y % cella) - lato * (0.2f + 0.6f * semplici::hash_grana(cx, cy, 2));
    const float raggio = lato * 0.1f * semplici::hash_grana(cx, cy, 3);
    return dx * dx + dy * dy < raggio * raggio;
}

}  // namespace

unsigned thread_macchina()
{
    return std::max(1u, std::thread::hardware_concurrency());
}

void usa_thread(unsigned quanti)
{
    gQuanti = quanti;
    gThreadHardware = &conta_thread;
}

Scena::Scena(int w, int h) : larghezza(w), altezza(h)
{
    const std::size_t n = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    sorgente.resize(n * 4);
    uscita.resize(n * 4);
    parallel_for(static_cast<std::uint64_t>(h), [&](std::uint64_t riga) {
        const int y = static_cast<int>(riga);
        float* p = &sorgente[riga * static_cast<std::size_t>(w) * 4];
        for (int x = 0; x < w; ++x, p += 4) {
            const float u = static_cast<float>(x) / static_cast<float>(w);
            const float v = static_cast<float>(y) / static_cast<float>(h);
            const auto grana = semplici::hash_grana(static_cast<std::uint32_t>(x),
                                                    static_cast<std::uint32_t>(y), 0);
            const float base =
                0.2f + 0.3f * v + 0.1f * std::sin(9.0f * u + 5.0f * v) + 0.02f * grana;
            const bool luce = in_luce(x, y, h);
            p[0] = luce ? 0.95f : base + 0.05f * u;
            p[1] = luce ? 0.93f : base;
            p[2] = luce ? 0.90f : base + 0.05f * (1.0f - u);
            p[3] = 1.0f;
        }
    });
}

Finestra Scena::finestra_sorgente()
{
    return {reinterpret_cast<unsigned char*>(sorgente.data()), std::ptrdiff_t{16} * larghezza};
}

Finestra Scena::finestra_uscita()
{
    return {reinterpret_cast<unsigned char*>(uscita.data()), std::ptrdiff_t{16} * larghezza};
}

Contesto contesto(bool stampa, float forza)
{
    static const std::vector<LookDef> looks = catalogo();
    const auto look = std::find_if(looks.begin(), looks.end(),
                                   [&](const LookDef& l) { return (l.tipo == 1) == stampa; });
    return contesto_di(*look, {.profilo = 0, .forza = forza, .ev = 0, .temp = 0, .tinta = 0});
}

FxRicetta ricetta_iniziale()
{
    FxRicetta r;
    r.enhance = 0.06f;
    r.halation = 0.28f;
    r.bloom = 0.16f;
    r.vignetta = 0.1f;
    return r;
}

FxRicetta ricetta_completa()
{
    FxRicetta r = ricetta_iniziale();
    r.promist = r.mistw = r.glimmer = r.pelle = 0.25f * GRADO;
    r.streak = 0.15f;
    r.ca = 0.1f;
    r.grana = 0.12f;
    r.stella = 0.3f;
    return r;
}

std::vector<Voce> effetti()
{
    struct Campo {
        const char* nome;
        float FxRicetta::*quantita;
    };
    // clang-format off
    constexpr Campo CAMPI[] = {
        {"enhance",              &FxRicetta::enhance},
        {"skin diffusion",       &FxRicetta::pelle},
        {"halation",             &FxRicetta::halation},
        {"bloom",                &FxRicetta::bloom},
        {"anamorphic streak",    &FxRicetta::streak},
        {"black mist",           &FxRicetta::promist},
        {"star, 4 points",       &FxRicetta::stella},
        {"white mist",           &FxRicetta::mistw},
        {"glimmerglass",         &FxRicetta::glimmer},
        {"chromatic aberration", &FxRicetta::ca},
        {"vignette",             &FxRicetta::vignetta},
        {"film grain",           &FxRicetta::grana},
    };
    // clang-format on
    const FxRicetta tutti = ricetta_completa();
    std::vector<Voce> voci;
    for (const Campo& campo : CAMPI) {
        FxRicetta r;
        r.*campo.quantita = tutti.*campo.quantita;
        voci.push_back({campo.nome, r});
    }
    return voci;
}

void quadro(const Lut3D& lut, Scena& scena, const FxRicetta& ricetta)
{
    sviluppa(lut, scena.finestra_sorgente(), scena.finestra_uscita(), scena.larghezza,
             scena.altezza, ricetta);
}

void quadro_semplice(const std::vector<float>& tavola, Scena& scena, const FxRicetta& ricetta)
{
    const std::size_t n = scena.pixel();
    std::vector<float> immagine(n * 3);
    std::vector<float> alfa(n);
    for (std::size_t i = 0; i < n; ++i) {
        semplici::campiona(tavola, PUNTI_TABELLA, &scena.sorgente[4 * i], &immagine[3 * i]);
        alfa[i] = scena.sorgente[4 * i + 3];
    }
    semplici::applica_fx(immagine, scena.larghezza, scena.altezza, ricetta);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            scena.uscita[4 * i + c] = immagine[3 * i + c];
        scena.uscita[4 * i + 3] = alfa[i];
    }
}

void copia(Scena& scena)
{
    const std::size_t riga = static_cast<std::size_t>(scena.larghezza) * 4;
    parallel_for_blocchi(
        static_cast<std::uint64_t>(scena.altezza), [&](std::uint64_t inizio, std::uint64_t fine) {
            std::memcpy(&scena.uscita[inizio * riga], &scena.sorgente[inizio * riga],
                        (fine - inizio) * riga * sizeof(float));
        });
}

void in_immagine(const Lut3D& lut, Scena& scena, Piano& immagine, Piano& alfa)
{
    const auto riga = static_cast<std::size_t>(scena.larghezza);
    parallel_for(static_cast<std::uint64_t>(scena.altezza), [&](std::uint64_t y) {
        gNuclei->tabella.campiona(lut.dati.data(), lut.N, &scena.sorgente[y * riga * 4],
                                  &immagine[y * riga * 3], &alfa[y * riga], scena.larghezza);
    });
}

void copia_in_piani(Scena& scena, Piano& immagine, Piano& alfa)
{
    const auto riga = static_cast<std::size_t>(scena.larghezza);
    parallel_for(static_cast<std::uint64_t>(scena.altezza), [&](std::uint64_t y) {
        const float* __restrict rgba = &scena.sorgente[y * riga * 4];
        float* __restrict rgb = &immagine[y * riga * 3];
        float* __restrict a = &alfa[y * riga];
        for (std::size_t x = 0; x < riga; ++x) {
            rgb[3 * x + 0] = rgba[4 * x + 0];
            rgb[3 * x + 1] = rgba[4 * x + 1];
            rgb[3 * x + 2] = rgba[4 * x + 2];
            a[x] = rgba[4 * x + 3];
        }
    });
}

void primo_tocco(std::size_t byte)
{
    constexpr std::size_t PAGINA = 4096;
    // Past the library's own store, which may hold pages that were touched before.
    void* fresca = mmap(nullptr, byte, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* memoria = static_cast<volatile unsigned char*>(fresca);
    parallel_for(byte / PAGINA, [&](std::uint64_t i) { memoria[i * PAGINA] = 1; });
    munmap(fresca, byte);
}

}  // namespace varno::bench
