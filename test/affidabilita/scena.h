#pragma once

// What the programs around the bench host share: pictures and settings that are the same on every
// machine, and their sum.

#include "banco/banco.h"

#ifdef __linux__
#include <sched.h>
#endif

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace varno::scena {

constexpr const char* EFFETTI[] = {"enhance", "pelle", "halation", "bloom", "streak",   "promist",
                                   "stella",  "mistw", "glimmer",  "ca",    "vignetta", "grana"};

/// How many processors the plug-in is told that there are, also in a module.
inline int gProcessori = 2;

/// Smooth gradients, lamps far above white, fine texture and a few odd values.
inline banco::Tela disegno(int larghezza, int altezza)
{
    banco::Tela t = banco::tela({0, 0, larghezza, altezza});
    std::uint32_t stato = 12345u;
    const auto uno = [&] {
        stato = stato * 1664525u + 1013904223u;
        return static_cast<float>(stato >> 8) * 0x1p-24f;
    };
    for (int y = 0; y < altezza; ++y)
        for (int x = 0; x < larghezza; ++x) {
            float* p = banco::pixel(t, x, y);
            const float u = static_cast<float>(x) / static_cast<float>(larghezza);
            const float v = static_cast<float>(y) / static_cast<float>(altezza);
            p[0] = 0.8f * u + 0.2f * uno();
            p[1] = 0.6f * v + 0.3f * u + 0.1f * uno();
            p[2] = 0.9f * (1.0f - u) * v + 0.1f * uno();
            p[3] = uno();
            if (uno() > 0.99f)
                p[0] = p[1] = p[2] = 1.5f;  // a lamp
            if (uno() > 0.995f)
                p[1] = -0.25f;
        }
    if (larghezza * altezza > 16) {
        float* p = banco::pixel(t, 0, 0);
        p[17] = NAN;
        p[22] = INFINITY;
        p[27] = NAN;  // an alpha
    }
    return t;
}

/// One frame of all of a picture; ends the program where it fails or breaks a rule.
inline banco::Tela rendi(banco::Istanza& i, double tempo, banco::Tela& sorgente)
{
    banco::Tela uscita = banco::tela(sorgente.limiti);
    const int stato = banco::rendi_solo(i, tempo, sorgente.limiti, banco::figura(sorgente),
                                        banco::figura(uscita));
    if (stato == 0 && banco::registro(i).violazioni.empty() && banco::intatta(uscita))
        return uscita;
    std::fprintf(stderr, "a frame failed: status %d\n", stato);
    std::exit(1);
}

constexpr std::uint64_t INIZIO = 14695981039346656037ull;

/// 64-bit FNV-1a over the samples' bits; every not-a-number counts as the same.
inline std::uint64_t somma(const banco::Tela& t, std::uint64_t s = INIZIO)
{
    for (int y = t.limiti.y1; y < t.limiti.y2; ++y) {
        const float* riga = banco::pixel(t, t.limiti.x1, y);
        for (long i = 0; i < 4l * (t.limiti.x2 - t.limiti.x1); ++i) {
            std::uint32_t bit = 0x7fc00000u;
            if (!std::isnan(riga[i]))
                std::memcpy(&bit, riga + i, sizeof bit);
            s = (s ^ bit) * 1099511628211ull;
        }
    }
    return s;
}

/// Every setting at the upper or at the lower end of its range.
inline void estremi(banco::Modulo& m, banco::Istanza& i, bool alti)
{
    for (const banco::Parametro& p : banco::parametri(m)) {
        const double massimo = p.tipo == "OfxParamTypeBoolean" ? 1.0
                               : p.opzioni.empty()             ? p.massimo
                                                   : static_cast<double>(p.opzioni.size() - 1);
        banco::imposta(i, p.nome, alti ? massimo : p.minimo);
    }
}

}  // namespace varno::scena

#ifdef __linux__
extern "C" int sched_getaffinity(pid_t, std::size_t n, cpu_set_t* processori)
{
    std::memset(processori, 0, n);
    for (int i = 0; i < varno::scena::gProcessori; ++i)
        CPU_SET(i, processori);
    return 0;
}
#endif
