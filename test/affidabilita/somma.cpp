// One set of frames, one number: 12 looks, all effects together and alone, sizes around the steps
// of the reduction. Equal numbers from two builds or machines are equal pictures, bit for bit.
//
//     somma [--module FILE] [--threads N] [--level NAME] [--small] [--effects]
//           [--write FILE | --compare FILE]
//
// Without a module it is the plug-in linked into this program. --level puts one set of vector
// kernels in place, which a module chooses by itself. --small is a set for slow machines, --effects
// one of pictures that never see the table and so no power of the C library but the effects' own.
// --compare tells the largest difference from what --write put down on another machine.
#include "scena.h"

#include "fx/fx.h"
#include "fx/nuclei.h"

#include <sched.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" OfxPlugin* OfxGetPlugin(int);

namespace {

using namespace varno;

int gProcessori = 2;

struct Quadri {
    std::vector<float> campioni;
    std::uint64_t totale = 14695981039346656037ull;
    int quanti = 0;
};

void aggiungi(Quadri& q, const banco::Tela& uscita, bool tieni)
{
    q.totale = scena::somma(uscita, q.totale);
    ++q.quanti;
    const float* p = banco::pixel(uscita, 0, 0);
    if (tieni)
        q.campioni.insert(q.campioni.end(), p, p + 4l * uscita.limiti.x2 * uscita.limiti.y2);
}

struct Misura {
    int larghezza, altezza;
};
constexpr Misura GRANDI[] = {{1, 1},     {1, 37},    {53, 1},    {16, 15},   {97, 61},
                             {384, 216}, {1919, 20}, {1920, 33}, {2881, 17}, {24, 3840}};
constexpr Misura PICCOLE[] = {{1, 1}, {16, 15}, {97, 61}, {1920, 17}};

// Through the whole plug-in.
Quadri per_ospite(banco::ModuloPtr m, bool piccola, bool tieni)
{
    Quadri q;
    for (int look = 0; look < 12; ++look) {
        if (piccola && look % 4 != 0)
            continue;
        const banco::IstanzaPtr i =
            banco::crea_istanza(*m, {{"look", look},
                                     {"formato", look * 5 % 18},
                                     {"ev", look % 3 - 1},
                                     {"forza", look % 4 == 3 ? 0.75 : 1.0},
                                     {"punte", look % 3}});
        banco::registro(*i).scrivi = false;
        const auto rendi = [&](Misura n, int tempo) {
            banco::Tela sorgente = scena::disegno(n.larghezza, n.altezza);
            aggiungi(q, scena::rendi(*i, tempo, sorgente), tieni);
        };
        const auto accendi = [&](const char* solo) {
            for (const char* effetto : scena::EFFETTI)
                banco::imposta(*i, std::string(effetto) + "_on",
                               solo == nullptr || solo == effetto ? 1 : 0);
        };
        accendi(nullptr);
        const int misure = static_cast<int>(piccola ? std::size(PICCOLE) : std::size(GRANDI));
        for (int n = 0; n < misure; ++n)
            if (piccola || look == 0 || n % 3 == look % 3)
                rendi(piccola ? PICCOLE[n] : GRANDI[n], look + n);
        if (look != 0 && look != 8)
            continue;
        for (const char* solo : scena::EFFETTI) {
            accendi(solo);
            rendi(piccola ? Misura{64, 36} : Misura{384, 216}, 24);
        }
    }
    return q;
}

// The chain alone, on pictures that were drawn and not graded.
Quadri per_catena(bool tieni)
{
    Quadri q;
    for (const Misura m : PICCOLE)
        for (int n = 0; n <= 12; ++n) {
            FxRicetta r;
            float* campi[] = {&r.enhance, &r.pelle, &r.halation, &r.bloom, &r.streak,   &r.promist,
                              &r.stella,  &r.mistw, &r.glimmer,  &r.ca,    &r.vignetta, &r.grana};
            for (int c = 0; c < 12; ++c)
                *campi[c] = n == 12 || n == c ? 0.4f : 0.0f;
            r.fotogramma = n;
            banco::Tela quadro = scena::disegno(m.larghezza, m.altezza, 1);
            float* rgba = banco::pixel(quadro, 0, 0);
            const auto pixel = static_cast<std::size_t>(m.larghezza * m.altezza);
            Immagine img(pixel * 3);
            for (std::size_t k = 0; k < pixel * 3; ++k)
                img[k] = std::isfinite(rgba[k]) ? rgba[k] : 0.5f;
            applica_fx(img, m.larghezza, m.altezza, r);
            for (std::size_t k = 0; k < pixel * 3; ++k)
                rgba[k] = img[k];
            aggiungi(q, quadro, tieni);
        }
    return q;
}

bool scegli_livello(const char* nome)
{
    for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l)
        if (std::strcmp((*l)->nome, nome) == 0) {
            gNuclei = *l;
            return true;
        }
    return false;
}

int confronta(const Quadri& q, const char* file)
{
    std::FILE* f = std::fopen(file, "rb");
    std::vector<float> altri(q.campioni.size());
    if (f == nullptr || std::fread(altri.data(), sizeof(float), altri.size(), f) != altri.size()) {
        std::fprintf(stderr, "%s: cannot be read, or holds fewer frames\n", file);
        return 2;
    }
    std::fclose(f);
    float massima = 0.0f;
    long diversi = 0;
    for (std::size_t k = 0; k < altri.size(); ++k) {
        const float d = std::abs(altri[k] - q.campioni[k]);
        if (d > 0.0f)
            ++diversi;
        massima = std::max(massima, d);
    }
    std::printf("%zu samples, %ld differ, the largest difference is %g\n", altri.size(), diversi,
                static_cast<double>(massima));
    return 0;
}

}  // namespace

// What the plug-in asks for the number of processors, also from a module.
extern "C" int sched_getaffinity(pid_t, std::size_t n, cpu_set_t* processori)
{
    std::memset(processori, 0, n);
    for (int i = 0; i < gProcessori; ++i)
        CPU_SET(i, processori);
    return 0;
}

int main(int argc, char** argv)
{
    const char* modulo = nullptr;
    const char* scrivi = nullptr;
    const char* altro = nullptr;
    bool piccola = false;
    bool catena = false;
    for (int n = 1; n < argc; ++n) {
        const std::string a = argv[n];
        const char* v = n + 1 < argc ? argv[n + 1] : "";
        if (a == "--small")
            piccola = true;
        else if (a == "--effects")
            catena = true;
        else if (a == "--module")
            modulo = v;
        else if (a == "--threads")
            gProcessori = std::atoi(v);
        else if (a == "--write")
            scrivi = v;
        else if (a == "--compare")
            altro = v;
        else if (a != "--level" || !scegli_livello(v)) {
            std::fprintf(stderr, "somma: not known here: %s %s\n", argv[n], v);
            return 2;
        }
        if (a != "--small" && a != "--effects")
            ++n;
    }
    const bool tieni = scrivi != nullptr || altro != nullptr;
    Quadri q;
    if (catena) {
        q = per_catena(tieni);
    } else {
        q = per_ospite(
            banco::carica(modulo != nullptr ? banco::apri(modulo) : banco::apri(OfxGetPlugin(0))),
            piccola, tieni);
    }
    std::printf("%016llx  %d frames, %d threads, %s\n", static_cast<unsigned long long>(q.totale),
                q.quanti, gProcessori, modulo != nullptr ? "module" : gNuclei->nome);
    if (scrivi != nullptr) {
        std::FILE* f = std::fopen(scrivi, "wb");
        if (f == nullptr ||
            std::fwrite(q.campioni.data(), sizeof(float), q.campioni.size(), f) !=
                q.campioni.size() ||
            std::fclose(f) != 0) {
            std::perror(scrivi);
            return 1;
        }
    }
    return altro != nullptr ? confronta(q, altro) : 0;
}
