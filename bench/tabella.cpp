// Prints the figures of a run as Markdown. What is compared is measured in turn, round after
// round, and each figure is the median of its rounds: the machine's mood then falls on all alike.
#include "orologio.h"
#include "scena.h"

#include "comune/nuclei.h"
#include "fx/blur.h"
#include "fx/effetto.h"
#include "fx/fx.h"
#include "fx/raggi.h"
#include "fx/vignetta_mask.h"
#include "render/parallel_for.h"
#include "test/semplici_colore.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
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

using Lavoro = std::function<void()>;

// One median for each, after a round that is not counted. A turn lasts as long for each, as many
// frames as that makes: what the one before left in caches and in the system's free memory then
// weighs alike on both.
std::vector<double> a_turno(const std::vector<Lavoro>& lavori, int giri, double turno_ms = 0.0)
{
    std::vector<std::vector<double>> tempi(lavori.size());
    for (int giro = -1; giro < giri; ++giro)
        for (std::size_t i = 0; i < lavori.size(); ++i)
            for (double resto = turno_ms; resto >= 0.0;) {
                const double ms = millisecondi(lavori[i]);
                resto -= std::max(ms, 1e-3);
                if (giro >= 0)
                    tempi[i].push_back(ms);
            }
    std::vector<double> mediane;
    for (const std::vector<double>& t : tempi)
        mediane.push_back(mediana(t));
    return mediane;
}

std::vector<unsigned> numeri_di_thread()
{
    std::vector<unsigned> numeri = {1, 2};
    if (thread_macchina() > 2)
        numeri.push_back(thread_macchina());
    return numeri;
}

#if defined(__clang__)
constexpr const char* COMPILATORE = "Clang " __clang_version__;
#elif defined(__GNUC__)
constexpr const char* COMPILATORE = "GCC " __VERSION__;
#else
constexpr const char* COMPILATORE = "unknown compiler";
#endif

std::string processore()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string riga; std::getline(file, riga);)
        if (riga.rfind("model name", 0) == 0)
            return riga.substr(riga.find(':') + 2);
    return "unknown processor";
}

// A line of /proc/self/status in MB; 0 where there is no such file.
double memoria_mb(const char* campo)
{
    std::ifstream file("/proc/self/status");
    for (std::string riga; std::getline(file, riga);)
        if (riga.rfind(campo, 0) == 0)
            return std::strtod(riga.c_str() + std::strlen(campo) + 1, nullptr) * 1024e-6;
    return 0.0;
}

constexpr double TURNO = 250.0;  // ms

struct Banco {
    Lut3D lut;
    std::vector<float> tavola;  // the same samples, for the plain loops
    int giri = 5;
};

// Every figure in ms, and how many times the copy of the frame that is.
void tabella_quadri(const Banco& banco, const std::vector<Misura>& misure)
{
    std::vector<std::string> righe = {"frame copied", "memory of a frame touched first",
                                      "**no effect**", "**default parameters**"};
    for (const Voce& voce : effetti())
        righe.push_back(voce.nome);
    righe.push_back("**all twelve effects**");

    std::string titolo = "|";
    std::string linea = "|---|";
    for (const Misura& misura : misure) {
        Scena scena(misura.larghezza, misura.altezza);
        for (const unsigned thread : numeri_di_thread()) {
            usa_thread(thread);
            std::vector<Lavoro> lavori = {[&] { copia(scena); },
                                          [&] { primo_tocco(scena.pixel() * 16); }};
            const auto aggiungi = [&](const FxRicetta& r) {
                lavori.push_back([&, r] { quadro(banco.lut, scena, r); });
            };
            aggiungi({});
            aggiungi(ricetta_iniziale());
            for (const Voce& voce : effetti())
                aggiungi(voce.ricetta);
            aggiungi(ricetta_completa());

            const std::vector<double> ms = a_turno(lavori, banco.giri);
            char testo[64];
            for (std::size_t i = 0; i < ms.size(); ++i) {
                std::snprintf(testo, sizeof testo, " | %.1f (%.1f)", ms[i], ms[i] / ms[0]);
                righe[i] += testo;
            }
            std::snprintf(testo, sizeof testo, " | %s, %u thread%s", misura.nome, thread,
                          thread > 1 ? "s" : "");
            titolo += testo;
            linea += "---:|";
        }
        usa_thread(0);
    }
    std::printf("Milliseconds a frame, in brackets how many times the frame's copy that is:\n\n");
    std::printf("%s |\n%s\n", titolo.c_str(), linea.c_str());
    for (const std::string& riga : righe)
        std::printf("| %s |\n", riga.c_str());
    std::printf("\n");
}

void riga_confronto(const char* nome, const std::vector<double>& ms)
{
    std::printf("| %s | %.1f | %.1f | %.1f |\n", nome, ms[0], ms[1], ms[0] / ms[1]);
    std::fflush(stdout);
}

// A table in plain loops: one point after the other.
void tabella_semplice(std::vector<float>& tavola, const Contesto& c)
{
    const int n = PUNTI_TABELLA;
    const float passo = 1.0f / static_cast<float>(n - 1);
    tavola.assign(static_cast<std::size_t>(n) * n * n * 3, 0.0f);
    std::size_t i = 0;
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r, i += 3) {
                const RGB v = semplici::applica_colore({static_cast<float>(r) * passo,
                                                        static_cast<float>(g) * passo,
                                                        static_cast<float>(b) * passo},
                                                       c);
                tavola[i] = v.r;
                tavola[i + 1] = v.g;
                tavola[i + 2] = v.b;
            }
}

void tabella_confronto(const Banco& banco, const std::vector<Misura>& misure)
{
    struct Caso {
        const char* nome;
        FxRicetta ricetta;
    };
    const Caso casi[] = {{"no effect", {}},
                         {"default parameters", ricetta_iniziale()},
                         {"all twelve effects", ricetta_completa()}};
    std::printf("Beside plain loops on one thread, each playing for a quarter of a second in turn, "
                "ms:\n\n"
                "| | plain loops | two threads | times as fast |\n|---|---:|---:|---:|\n");
    for (const Misura& misura : misure) {
        usa_thread(0);
        Scena scena(misura.larghezza, misura.altezza);
        usa_thread(2);
        for (const Caso& caso : casi) {
            const std::string nome = std::string(misura.nome) + ", " + caso.nome;
            riga_confronto(nome.c_str(),
                           a_turno({[&] { quadro_semplice(banco.tavola, scena, caso.ricetta); },
                                    [&] { quadro(banco.lut, scena, caso.ricetta); }},
                                   banco.giri, TURNO));
        }
    }
    for (const bool stampa : {true, false}) {
        const Contesto c = contesto(stampa, 1.0f);
        std::vector<float> tavola;
        riga_confronto(stampa ? "table rebuilt, print look" : "table rebuilt, grade look",
                       a_turno({[&] { tabella_semplice(tavola, c); },
                                [&] {
                                    Lut3D lut;
                                    lut.costruisci(c, PUNTI_TABELLA);
                                }},
                               banco.giri, TURNO));
    }
    std::printf("\n");
}

unsigned gChiamate = 0;
unsigned conta_chiamate()
{
    ++gChiamate;
    return 2;
}

// Single passes beside the copy that moves the same bytes, and what threads and memory cost.
void tabella_limiti(const Banco& banco, const Misura& misura)
{
    usa_thread(0);
    Scena scena(misura.larghezza, misura.altezza);
    const int w = misura.larghezza;
    const int h = misura.altezza;
    std::printf("At %s, beside the machine's limit:\n\n"
                "| | threads | ms | limit | ms | ratio |\n|---|---:|---:|---|---:|---:|\n",
                misura.nome);
    const auto riga = [&](const char* nome, const char* limite, unsigned thread,
                          const Lavoro& lavoro, const Lavoro& copia_pari) {
        usa_thread(thread);
        const std::vector<double> ms = a_turno({lavoro, copia_pari}, 2 * banco.giri + 1);
        std::printf("| %s | %u | %.2f | %s | %.2f | %.2f |\n", nome, thread, ms[0], limite, ms[1],
                    ms[0] / ms[1]);
        std::fflush(stdout);
    };

    Arena arena;
    Immagine immagine = piano_di_lavoro(scena.pixel() * 3, &arena);
    Piano alfa = piano_di_lavoro(scena.pixel(), &arena);
    copia_in_piani(scena, immagine, alfa);
    Piano piano = piano_di_lavoro(scena.pixel(), &arena);
    Piano altro = piano_di_lavoro(scena.pixel(), &arena);
    std::fill(piano.begin(), piano.end(), 0.5f);
    std::fill(altro.begin(), altro.end(), 0.5f);
    Alfa alfa_tenuta = alfa_di(w, h, &arena);
    for (const char* nome : {"table pass", "table pass, alpha of many values"}) {
        for (const unsigned thread : numeri_di_thread())
            riga(
                nome, "copy to RGB and alpha", thread,
                [&] { in_immagine(banco.lut, scena, immagine, alfa_tenuta); },
                [&] { copia_in_piani(scena, immagine, alfa); });
        for (std::size_t i = 3; i < scena.sorgente.size(); i += 8)
            scena.sorgente[i] = 0.5f;
    }
    for (const unsigned thread : numeri_di_thread())
        riga(
            "three box blurs, radius 46", "six copies of the plane", thread,
            [&] { box_blur(piano, w, h, 46, 3); },
            [&] {
                for (int i = 0; i < 6; ++i) {
                    const auto blocco = static_cast<std::uint64_t>(w);
                    parallel_for_blocchi(static_cast<std::uint64_t>(h),
                                         [&](std::uint64_t da, std::uint64_t a) {
                                             std::memcpy(&altro[da * blocco], &piano[da * blocco],
                                                         (a - da) * blocco * sizeof(float));
                                         });
                    std::swap(piano, altro);
                }
            });
    // All that the star, whose lights are few, adds to a chain that is off.
    FxRicetta stella;
    stella.stella = 0.3f;
    for (const unsigned thread : numeri_di_thread())
        riga(
            "chain with the star alone, 4 points", "frame copied", thread,
            [&] { applica_fx(immagine, w, h, stella); }, [&] { copia(scena); });
    std::printf("\n");

    // A frame's loops, counted, times what a loop over nothing costs.
    usa_thread(2);
    const std::vector<double> ms = a_turno({[&] { quadro(banco.lut, scena, ricetta_iniziale()); },
                                            [] {
                                                for (int i = 0; i < 100; ++i)
                                                    parallel_for(64, [](std::uint64_t) {});
                                            }},
                                           banco.giri);
    gThreadHardware = &conta_chiamate;
    quadro(banco.lut, scena, ricetta_iniziale());
    usa_thread(2);
    std::printf("Threads, default parameters at %s: %u loops a frame at %.3f ms to start and join "
                "two, %.1f %% of %.1f ms.\n\n",
                misura.nome, gChiamate, ms[1] / 100.0, gChiamate * ms[1] / ms[0], ms[0]);
}

// Before anything else has raised the peak.
void memoria(const Banco& banco, const Misura& misura)
{
    usa_thread(2);
    Scena scena(misura.larghezza, misura.altezza);
    for (const auto& [nome, ricetta] :
         {Voce{"no effect", {}}, Voce{"default parameters", ricetta_iniziale()},
          Voce{"all twelve effects", ricetta_completa()}}) {
        vignetta_mask(1, 1);
        std::ofstream("/proc/self/clear_refs") << "5\n";  // the peak starts anew
        const double prima = memoria_mb("VmRSS:");
        quadro(banco.lut, scena, ricetta);
        std::printf("Memory at %s, %s: peak %.0f MB above the host's two frames; %.0f MB stay.\n\n",
                    misura.nome, nome, memoria_mb("VmHWM:") - prima, memoria_mb("VmRSS:") - prima);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    Banco banco;
    std::vector<Misura> misure = {HD, UHD, OTTO_K};
    for (int i = 1; i < argc; ++i) {
        const std::string_view opzione = argv[i];
        if (opzione == "--quick") {
            misure = {HD, UHD};
            banco.giri = 3;
        } else {
            std::fprintf(stderr, "usage: tabella [--quick]\n");
            return 1;
        }
    }
    banco.lut.costruisci(contesto(false, 1.0f), PUNTI_TABELLA);
    banco.tavola.assign(banco.lut.dati.begin(),
                        banco.lut.dati.begin() +
                            std::size_t{3} * PUNTI_TABELLA * PUNTI_TABELLA * PUNTI_TABELLA);

    std::printf("%s, %u hardware threads; %s; kernels: %s; medians of %d rounds.\n\n",
                processore().c_str(), thread_macchina(), COMPILATORE, gNuclei->nome, banco.giri);
    memoria(banco, UHD);
    tabella_confronto(banco, {HD, UHD});
    tabella_limiti(banco, UHD);
    tabella_quadri(banco, misure);
}
