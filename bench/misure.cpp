// Every case takes width, height and threads; run with --benchmark_filter to choose.
#include "scena.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/vignetta_mask.h"
#include "render/passata.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

using namespace varno;
using namespace varno::bench;

constexpr int MISURE[][2] = {{1920, 1080}, {3840, 2160}, {7680, 4320}};

// One scene at a time is kept: the largest takes a gigabyte.
Scena& scena_di(const benchmark::State& stato)
{
    static std::unique_ptr<Scena> scena;
    const int w = static_cast<int>(stato.range(0));
    const int h = static_cast<int>(stato.range(1));
    usa_thread(0);
    if (!scena || scena->larghezza != w || scena->altezza != h) {
        scena.reset();
        scena = std::make_unique<Scena>(w, h);
    }
    usa_thread(static_cast<unsigned>(stato.range(2)));
    return *scena;
}

const Lut3D& tabella()
{
    static const Lut3D lut = [] {
        Lut3D l;
        l.costruisci(contesto(false, 1.0f), PUNTI_TABELLA);
        return l;
    }();
    return lut;
}

void conta_pixel(benchmark::State& stato)
{
    stato.SetItemsProcessed(stato.iterations() * stato.range(0) * stato.range(1));
}

void caso_copia(benchmark::State& stato)
{
    Scena& scena = scena_di(stato);
    for (auto _ : stato)
        copia(scena);
    conta_pixel(stato);
}

void caso_copia_in_piani(benchmark::State& stato)
{
    Scena& scena = scena_di(stato);
    Immagine immagine(scena.pixel() * 3, 0.5f);
    Piano alfa(scena.pixel(), 0.5f);
    for (auto _ : stato)
        copia_in_piani(scena, immagine, alfa);
    conta_pixel(stato);
}

void caso_primo_tocco(benchmark::State& stato)
{
    Scena& scena = scena_di(stato);
    for (auto _ : stato)
        primo_tocco(scena.pixel() * 16);
    conta_pixel(stato);
}

void caso_passata_colore(benchmark::State& stato)
{
    Scena& scena = scena_di(stato);
    Immagine immagine(scena.pixel() * 3, 0.5f);
    Alfa alfa = alfa_di(scena.larghezza, scena.altezza, nullptr);
    for (auto _ : stato)
        in_immagine(tabella(), scena, immagine, alfa);
    conta_pixel(stato);
}

void caso_box_blur(benchmark::State& stato)
{
    const Scena& scena = scena_di(stato);
    Piano piano(scena.pixel(), 0.5f);
    const int raggio = static_cast<int>(stato.range(0)) * 12 / 1000;
    for (auto _ : stato)
        box_blur(piano, scena.larghezza, scena.altezza, raggio, 3);
    conta_pixel(stato);
}

void caso_sei_copie(benchmark::State& stato)
{
    const Scena& scena = scena_di(stato);
    Piano da(scena.pixel(), 0.5f);
    Piano a(scena.pixel(), 0.5f);
    for (auto _ : stato)
        for (int i = 0; i < 6; ++i) {
            std::memcpy(a.data(), da.data(), scena.pixel() * sizeof(float));
            std::swap(a, da);
            benchmark::ClobberMemory();
        }
    conta_pixel(stato);
}

void caso_blur_su_ridotta(benchmark::State& stato)
{
    const Scena& scena = scena_di(stato);
    Piano piano(scena.pixel(), 0.5f);
    const int raggio = static_cast<int>(stato.range(0)) * 18 / 1000;
    for (auto _ : stato)
        blur_su_ridotta(piano, scena.larghezza, scena.altezza, raggio, 4);
    conta_pixel(stato);
}

void caso_vignetta_mask(benchmark::State& stato)
{
    const Scena& scena = scena_di(stato);
    for (auto _ : stato) {
        benchmark::DoNotOptimize(vignetta_mask(scena.larghezza, scena.altezza));
        vignetta_mask(1, 1);
    }
    conta_pixel(stato);
}

// The chain over a graded picture, which each round changes once more.
void caso_effetto(benchmark::State& stato, FxRicetta ricetta)
{
    Scena& scena = scena_di(stato);
    Arena arena;
    Immagine immagine = piano_di_lavoro(scena.pixel() * 3, &arena);
    Alfa alfa = alfa_di(scena.larghezza, scena.altezza, &arena);
    in_immagine(tabella(), scena, immagine, alfa);
    const std::vector<float> intatta(immagine.begin(), immagine.end());
    for (auto _ : stato) {
        stato.PauseTiming();
        std::memcpy(immagine.data(), intatta.data(), immagine.size() * sizeof(float));
        stato.ResumeTiming();
        applica_fx(immagine, scena.larghezza, scena.altezza, ricetta);
    }
    conta_pixel(stato);
}

void caso_quadro(benchmark::State& stato, FxRicetta ricetta)
{
    Scena& scena = scena_di(stato);
    for (auto _ : stato)
        quadro(tabella(), scena, ricetta);
    conta_pixel(stato);
}

void caso_tabella(benchmark::State& stato, bool stampa)
{
    usa_thread(static_cast<unsigned>(stato.range(0)));
    for (auto _ : stato) {
        Lut3D lut;
        lut.costruisci(contesto(stampa, 1.0f), PUNTI_TABELLA);
        benchmark::DoNotOptimize(lut.dati.data());
    }
}

std::vector<unsigned> numeri_di_thread()
{
    std::vector<unsigned> numeri = {1, 2};
    if (thread_macchina() > 2)
        numeri.push_back(thread_macchina());
    return numeri;
}

void misure(benchmark::internal::Benchmark* b)
{
    for (const auto& m : MISURE)
        for (const unsigned t : numeri_di_thread())
            b->Args({m[0], m[1], t});
    b->Unit(benchmark::kMillisecond)->UseRealTime();
}

[[maybe_unused]] const bool iscritti = [] {
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("limit/frame_copy", caso_copia)->Apply(misure);
    RegisterBenchmark("limit/copy_to_planes", caso_copia_in_piani)->Apply(misure);
    RegisterBenchmark("limit/first_touch", caso_primo_tocco)->Apply(misure);
    RegisterBenchmark("limit/six_plane_copies", caso_sei_copie)->Apply(misure);
    RegisterBenchmark("kernel/table_pass", caso_passata_colore)->Apply(misure);
    RegisterBenchmark("kernel/box_blur", caso_box_blur)->Apply(misure);
    RegisterBenchmark("kernel/blur_reduced", caso_blur_su_ridotta)->Apply(misure);
    RegisterBenchmark("kernel/vignette_mask", caso_vignetta_mask)->Apply(misure);
    for (const Voce& voce : effetti())
        RegisterBenchmark((std::string("effect/") + voce.nome).c_str(), caso_effetto, voce.ricetta)
            ->Apply(misure);
    RegisterBenchmark("frame/no effect", caso_quadro, FxRicetta{})->Apply(misure);
    RegisterBenchmark("frame/defaults", caso_quadro, ricetta_iniziale())->Apply(misure);
    RegisterBenchmark("frame/all twelve", caso_quadro, ricetta_completa())->Apply(misure);
    for (const bool stampa : {true, false}) {
        auto* b = RegisterBenchmark(stampa ? "table/print" : "table/grade", caso_tabella, stampa);
        for (const unsigned t : numeri_di_thread())
            b->Arg(t);
        b->Unit(benchmark::kMillisecond)->UseRealTime();
    }
    return true;
}();

}  // namespace
