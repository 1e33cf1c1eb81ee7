#pragma once

// What the programs around the bench host share: pictures and settings that are the same on every
// machine, and their sum.

#include "banco/banco.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace varno::scena {

constexpr const char* EFFETTI[] = {"enhance", "pelle", "halation", "bloom", "streak",   "promist",
                                   "stella",  "mistw", "glimmer",  "ca",    "vignetta", "grana"};

struct Caso {
    std::uint32_t stato;
    std::uint32_t prossimo() { return stato = stato * 1664525u + 1013904223u; }
    float uno() { return static_cast<float>(prossimo() >> 8) * 0x1p-24f; }
};

/// Smooth gradients, lamps far above white, fine texture and a few odd values.
inline banco::Tela disegno(int larghezza, int altezza, unsigned seme = 0)
{
    banco::Tela t = banco::tela({0, 0, larghezza, altezza});
    Caso caso{12345u + seme * 2654435761u};
    for (int y = 0; y < altezza; ++y)
        for (int x = 0; x < larghezza; ++x) {
            float* p = banco::pixel(t, x, y);
            const float u = static_cast<float>(x) / static_cast<float>(larghezza);
            const float v = static_cast<float>(y) / static_cast<float>(altezza);
            p[0] = 0.8f * u + 0.2f * caso.uno();
            p[1] = 0.6f * v + 0.3f * u + 0.1f * caso.uno();
            p[2] = 0.9f * (1.0f - u) * v + 0.1f * caso.uno();
            p[3] = caso.uno();
            if (caso.uno() > 0.99f)
                p[0] = p[1] = p[2] = 1.5f;  // a lamp
            if (caso.uno() > 0.995f)
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

/// 64-bit FNV-1a over the samples' bits; every not-a-number counts as the same.
inline std::uint64_t somma(const banco::Tela& t, std::uint64_t s = 14695981039346656037ull)
{
    const float* p = banco::pixel(t, t.limiti.x1, t.limiti.y1);
    const float* fine = p + 4l * (t.limiti.x2 - t.limiti.x1) * (t.limiti.y2 - t.limiti.y1);
    for (; p < fine; ++p) {
        std::uint32_t bit = 0x7fc00000u;
        if (!std::isnan(*p))
            std::memcpy(&bit, p, sizeof bit);
        s = (s ^ bit) * 1099511628211ull;
    }
    return s;
}

/// Every setting at the upper or at the lower end of its range.
inline void estremi(banco::Modulo& m, banco::Istanza& i, bool alti)
{
    for (const banco::Parametro& p : banco::parametri(m)) {
        const double ultimo =
            p.opzioni.empty() ? p.massimo : static_cast<double>(p.opzioni.size()) - 1.0;
        banco::imposta(i, p.nome,
                       p.tipo == "OfxParamTypeBoolean" ? alti
                       : alti                          ? ultimo
                                                       : p.minimo);
    }
}

}  // namespace varno::scena
