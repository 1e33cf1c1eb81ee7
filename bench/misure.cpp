// Whole frames, stages and kernels, beside the machine's limits and the plain loops: prints the
// figures as Markdown, or what --benchmark_filter asks for, in the library's own form.
#include "scena.h"

#include "comune/nuclei.h"
#include "fx/blur.h"
#include "fx/passo.h"
#include "fx/programma.h"
#include "fx/vignetta.h"
#include "render/parallel_for.h"
#include "test/semplici.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace varno;
using namespace varno::bench;

struct Misura {
    const char* nome;
    int larghezza;
    int altezza;
};
constexpr Misura HD = {"1920×1080", 1920, 1080};
constexpr Misura UHD = {"3840×2160", 3840, 2160};
constexpr Misura OTTO_K = {"7680×4320", 7680, 4320};

// What a case works on; planes only where one asks for them.
struct Stanza {
    explicit Stanza(const Misura& m) : scena(m.larghezza, m.altezza) {}

    Scena scena;
    Piano immagine;
    Piano piano, altro, valori;

    // Of every other pixel.
    void con_alfa(float v)
    {
        const bool gia = scena.sorgente[3] == v;
        for (std::size_t i = 3; !gia && i < scena.sorgente.size(); i += 8)
            scena.sorgente[i] = v;
    }
    void con_piani()
    {
        if (!immagine.empty())
            return;
        immagine = Piano(scena.pixel() * 3, 0.5f);
        for (Piano* p : {&piano, &altro, &valori})
            *p = Piano(scena.pixel(), 0.5f);
    }
    static const Lut3D& tabella()
    {
        static const Lut3D lut = [] {
            Lut3D l;
            l.costruisci(contesto(false, 1.0f), PUNTI_TABELLA);
            return l;
        }();
        return lut;
    }
};

// One room at a time is kept: the largest takes gigabytes.
Stanza& stanza_di(const Misura& m)
{
    static std::unique_ptr<Stanza> stanza;
    if (!stanza || stanza->scena.altezza != m.altezza) {
        stanza.reset();
        usa_thread(0);
        stanza = std::make_unique<Stanza>(m);
    }
    return *stanza;
}

using Lavoro = std::function<void(Stanza&)>;

// The names by which tables find their figures again.
std::string nome_di(const Misura& m, const std::string& che, unsigned thread)
{
    return m.nome + ("/" + che) + "/" + std::to_string(thread);
}

// prepara: before the clock runs.
void iscrivi(
    const Misura& m, const std::string& che, const std::vector<unsigned>& thread,
    const Lavoro& lavoro, const Lavoro& prepara = [](Stanza& s) { s.con_alfa(1.0f); })
{
    for (const unsigned t : thread)
        benchmark::RegisterBenchmark(nome_di(m, che, t).c_str(),
                                     [=](benchmark::State& stato) {
                                         Stanza& s = stanza_di(m);
                                         prepara(s);
                                         usa_thread(t);
                                         for (auto _ : stato)
                                             lavoro(s);
                                     })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
}

std::vector<unsigned> numeri_di_thread()
{
    std::vector<unsigned> numeri = {1, 2};
    if (thread_macchina() > 2)
        numeri.push_back(thread_macchina());
    return numeri;
}

const std::vector<Voce>& quadri()
{
    static const std::vector<Voce> tutti = [] {
        std::vector<Voce> v = {{"no effect", {}}, {"default parameters", ricetta_iniziale()}};
        for (const Voce& voce : effetti())
            v.push_back(voce);
        v.push_back({"all twelve effects", ricetta_completa()});
        return v;
    }();
    return tutti;
}

constexpr const char* COPIA = "frame copied";
constexpr const char* TOCCO = "memory of a frame touched first";
constexpr const char* INTERI[] = {"no effect", "default parameters", "all twelve effects"};
constexpr const char* TABELLE[] = {"table rebuilt, print look", "table rebuilt, grade look"};

// A table in plain loops: one point after the other.
void tabella_semplice(const Contesto& c)
{
    const int n = PUNTI_TABELLA;
    const float passo = 1.0f / static_cast<float>(n - 1);
    for (int i = 0; i < n * n * n; ++i)
        benchmark::DoNotOptimize(semplici::applica_colore({static_cast<float>(i % n) * passo,
                                                           static_cast<float>(i / n % n) * passo,
                                                           static_cast<float>(i / n / n) * passo},
                                                          c));
}

void iscrivi_quadri(const Misura& m)
{
    iscrivi(m, COPIA, numeri_di_thread(), [](Stanza& s) { copia(s.scena); });
    iscrivi(m, TOCCO, numeri_di_thread(), [](Stanza& s) { primo_tocco(s.scena.pixel() * 16); });
    for (const Voce& voce : quadri())
        iscrivi(m, voce.nome, numeri_di_thread(),
                [r = voce.ricetta](Stanza& s) { quadro(Stanza::tabella(), s.scena, r); });
}

void iscrivi_semplici(const Misura& m)
{
    const Lut3D& lut = Stanza::tabella();
    static const std::vector<float> tavola(lut.dati.begin(), lut.dati.end());
    for (const Voce& voce : quadri())
        if (std::count(std::begin(INTERI), std::end(INTERI), std::string_view(voce.nome)) > 0)
            iscrivi(m, std::string("plain, ") + voce.nome, {1},
                    [r = voce.ricetta](Stanza& s) { quadro_semplice(tavola, s.scena, r); });
}

// A stage or kernel, and what the machine could do at best.
struct Limite {
    const char* nome;
    const char* limite;
};
constexpr Limite LIMITI[] = {
    {"table pass", "copy to RGB and alpha"},
    {"table pass, alpha of many values", "copy to RGB and alpha"},
    {"three box blurs, radius 46", "six copies of the plane"},
    {"mask of the vignette", COPIA},
};

void sei_copie(Stanza& s)
{
    const auto riga = static_cast<std::uint64_t>(s.scena.larghezza);
    for (int i = 0; i < 6; ++i) {
        parallel_for_blocchi(static_cast<std::uint64_t>(s.scena.altezza), [&](std::uint64_t da,
                                                                              std::uint64_t a) {
            std::memcpy(&s.altro[da * riga], &s.piano[da * riga], (a - da) * riga * sizeof(float));
        });
        std::swap(s.piano, s.altro);
    }
}

void sfoca(Piano& piano, int larghezza, int altezza, int raggio)
{
    const Effetto nessuno;
    const Quadro quadro = {.larghezza = larghezza, .altezza = altezza};
    const Forma f = forma_di(larghezza, altezza, 1, 1, raggio);
    const std::uint64_t thread = gThreadHardware();
    const std::size_t appoggio = BOX_BLUR.appoggio(f);
    const Campo campo = {piano.data(), larghezza};
    Piano memoria = piano_di_lavoro(std::max(appoggio * thread, BOX_BLUR.memoria(f, thread)));
    in_squadra(thread, [&](const Membro& io) {
        io.per_parti(altezza, [&](std::ptrdiff_t parte, std::ptrdiff_t da, std::ptrdiff_t a) {
            BOX_BLUR.righe(f, riga_di(campo, da), larghezza, a - da,
                           memoria.data() + parte * appoggio);
        });
        BOX_BLUR.piani({nessuno, quadro, f, campo, campo, memoria.data(), io});
    });
}

void maschera(int larghezza, int altezza)
{
    for (const Effetto* const* e = gNuclei->catena; *e != nullptr; ++e)
        if ((*e)->prepara == &VIGNETTA_MASK)
            VIGNETTA_MASK.tieni(**e, {.larghezza = larghezza, .altezza = altezza});
}

void iscrivi_limiti(const Misura& m)
{
    const auto con_piani = [&](const char* che, const Lavoro& lavoro, float alfa = 1.0f) {
        iscrivi(m, che, numeri_di_thread(), lavoro, [=](Stanza& s) {
            s.con_piani();
            s.con_alfa(alfa);
        });
    };
    const auto tabella = [](Stanza& s) {
        in_immagine(Stanza::tabella(), s.scena, s.immagine, s.valori);
    };
    con_piani("copy to RGB and alpha",
              [](Stanza& s) { copia_in_piani(s.scena, s.immagine, s.valori); });
    con_piani("six copies of the plane", sei_copie);
    con_piani(LIMITI[0].nome, tabella);
    con_piani(LIMITI[1].nome, tabella, 0.5f);
    con_piani(LIMITI[2].nome,
              [](Stanza& s) { sfoca(s.piano, s.scena.larghezza, s.scena.altezza, 46); });
    con_piani(LIMITI[3].nome, [](Stanza& s) {
        maschera(1, 1);
        maschera(s.scena.larghezza, s.scena.altezza);
    });
}

void iscrivi_tabelle()
{
    for (const bool stampa : {true, false}) {
        const std::string nome = TABELLE[!stampa];
        const Contesto c = contesto(stampa, 1.0f);
        iscrivi(HD, "plain, " + nome, {1}, [=](Stanza&) { tabella_semplice(c); });
        iscrivi(HD, nome, numeri_di_thread(), [=](Stanza&) {
            Lut3D lut;
            lut.costruisci(c, PUNTI_TABELLA);
        });
    }
    // What it costs to start two threads and wait for them.
    iscrivi(HD, "empty loop", {2}, [](Stanza&) { parallel_for(64, [](std::uint64_t) {}); });
}

// --- The tables ----------------------------------------------------------------------------------

// Medians by name. The library draws the order of all repetitions by lot, so that the machine's
// mood falls on all alike.
struct Raccolta : benchmark::BenchmarkReporter {
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& giri) override
    {
        for (const Run& g : giri)
            if (g.aggregate_name == "median")
                ms[g.run_name.function_name] = g.GetAdjustedRealTime();
    }
    double di(const Misura& m, const std::string& che, unsigned thread) const
    {
        const auto trovato = ms.find(nome_di(m, che, thread));
        return trovato != ms.end() ? trovato->second : 0.0;
    }
    std::map<std::string, double> ms;
};

void stampa_confronto(const Raccolta& r, const std::vector<Misura>& misure)
{
    std::printf("Beside plain loops on one thread, ms:\n\n"
                "| | plain loops | two threads | times as fast |\n|---|---:|---:|---:|\n");
    const auto riga = [&](const std::string& nome, const Misura& m, const char* che) {
        const double semplice = r.di(m, std::string("plain, ") + che, 1);
        std::printf("| %s | %.1f | %.1f | %.1f |\n", nome.c_str(), semplice, r.di(m, che, 2),
                    semplice / r.di(m, che, 2));
    };
    for (const Misura& m : misure)
        for (const char* che : INTERI)
            riga(std::string(m.nome) + ", " + che, m, che);
    for (const char* che : TABELLE)
        riga(che, HD, che);
    std::printf("\n");
}

void stampa_limiti(const Raccolta& r, const Misura& m)
{
    std::printf("At %s, beside the machine's limit:\n\n"
                "| | threads | ms | limit | ms | ratio |\n|---|---:|---:|---|---:|---:|\n",
                m.nome);
    for (const Limite& l : LIMITI)
        for (const unsigned t : numeri_di_thread())
            std::printf("| %s | %u | %.2f | %s | %.2f | %.2f |\n", l.nome, t, r.di(m, l.nome, t),
                        l.limite, r.di(m, l.limite, t), r.di(m, l.nome, t) / r.di(m, l.limite, t));
    std::printf("\n");
}

void stampa_thread(const Raccolta& r, const Misura& m)
{
    const double ciclo = r.di(HD, "empty loop", 2);
    const double ms = r.di(m, INTERI[1], 2);
    std::printf("Threads, default parameters at %s: once a frame %.3f ms to start and join two, "
                "%.1f %% of %.1f ms.\n\n",
                m.nome, ciclo, 100.0 * ciclo / ms, ms);
}

// Every figure in ms, and how many times the copy of the frame that is.
void stampa_quadri(const Raccolta& r, const std::vector<Misura>& misure)
{
    std::vector<std::string> righe = {COPIA, TOCCO};
    for (const Voce& voce : quadri())
        righe.push_back(voce.nome);
    std::printf("Milliseconds a frame, in brackets how many times the frame's copy that is:\n\n|");
    std::string linea = "\n|---|";
    for (const Misura& m : misure)
        for (const unsigned t : numeri_di_thread()) {
            std::printf(" | %s, %u thread%s", m.nome, t, t > 1 ? "s" : "");
            linea += "---:|";
        }
    std::printf(" |%s\n", linea.c_str());
    for (const std::string& che : righe) {
        const bool intero = std::count(std::begin(INTERI), std::end(INTERI), che) > 0;
        std::printf(intero ? "| **%s**" : "| %s", che.c_str());
        for (const Misura& m : misure)
            for (const unsigned t : numeri_di_thread())
                std::printf(" | %.1f (%.1f)", r.di(m, che, t), r.di(m, che, t) / r.di(m, COPIA, t));
        std::printf(" |\n");
    }
    std::printf("\n");
}

// A line of a file of the system; empty where there is none.
std::string riga_di(const char* percorso, std::string_view inizio)
{
    std::ifstream file(percorso);
    for (std::string riga; std::getline(file, riga);)
        if (riga.rfind(inizio, 0) == 0)
            return riga.substr(riga.find(':') + 2);
    return {};
}

double memoria_mb(const char* campo)
{
    return std::strtod(riga_di("/proc/self/status", campo).c_str(), nullptr) * 1024e-6;
}

long pagine_toccate()
{
    rusage uso{};
    getrusage(RUSAGE_SELF, &uso);
    return uso.ru_minflt;
}

// Before anything else has raised the peak.
void stampa_memoria(const Misura& m)
{
    Scena& scena = stanza_di(m).scena;
    const Lut3D& lut = Stanza::tabella();
    usa_thread(2);
    for (const Voce& voce : quadri()) {
        if (std::count(std::begin(INTERI), std::end(INTERI), std::string_view(voce.nome)) == 0)
            continue;
        maschera(1, 1);
        std::ofstream("/proc/self/clear_refs") << "5\n";  // the peak starts anew
        const double prima = memoria_mb("VmRSS");
        const long toccate = pagine_toccate();
        quadro(lut, scena, voce.ricetta);
        std::printf("Memory at %s, %s: peak %.0f MB above the host's two frames, %ld page faults; "
                    "%.0f MB stay.\n\n",
                    m.nome, voce.nome, memoria_mb("VmHWM") - prima, pagine_toccate() - toccate,
                    memoria_mb("VmRSS") - prima);
    }
}

#if defined(__clang__)
constexpr const char* COMPILATORE = "Clang " __clang_version__;
#else
constexpr const char* COMPILATORE = "GCC " __VERSION__;
#endif

}  // namespace

int main(int argc, char** argv)
{
    const bool breve = argc == 2 && std::string_view(argv[1]) == "--quick";
    std::vector<Misura> misure = {HD, UHD, OTTO_K};
    for (const Misura& m : misure)
        iscrivi_quadri(m);
    for (const Misura& m : {HD, UHD})
        iscrivi_semplici(m);
    iscrivi_limiti(UHD);
    iscrivi_tabelle();
    std::vector<std::string> opzioni = {argv[0]};
    if (argc == 1 || breve)
        opzioni.insert(opzioni.end(),
                       {"--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1",
                        breve ? "--benchmark_repetitions=3" : "--benchmark_repetitions=7"});
    else
        opzioni.insert(opzioni.end(), argv + 1, argv + argc);
    std::vector<char*> puntatori;
    puntatori.reserve(opzioni.size());
    for (std::string& o : opzioni)
        puntatori.push_back(o.data());
    int quante = static_cast<int>(puntatori.size());
    benchmark::Initialize(&quante, puntatori.data());
    if (quante > 1) {
        std::fprintf(stderr, "usage: misure [--quick | --benchmark_filter=...]\n");
        return 2;
    }
    if (argc > 1 && !breve)
        return benchmark::RunSpecifiedBenchmarks() == 0;

    if (breve)
        misure.pop_back();
    std::printf("%s, %u hardware threads; %s; kernels: %s; medians.\n\n",
                riga_di("/proc/cpuinfo", "model name").c_str(), thread_macchina(), COMPILATORE,
                gNuclei->nome);
    stampa_memoria(UHD);
    Raccolta raccolta;
    for (const Misura& m : misure)  // the room of one size at a time
        benchmark::RunSpecifiedBenchmarks(&raccolta, m.nome);
    stampa_confronto(raccolta, {HD, UHD});
    stampa_limiti(raccolta, UHD);
    stampa_thread(raccolta, UHD);
    stampa_quadri(raccolta, misure);
}
