#pragma once

// What the tests of the built module share: the module, pictures and how they are compared.

#include "banco/banco.h"
#include "prova.h"
#include "semplici.h"

namespace prova {

using namespace varno::banco;

/// The module, loaded and described once for all cases.
inline Modulo& modulo()
{
    static const ModuloPtr m = carica(VARNO_MODULO);
    return *m;
}

using Testi = std::vector<std::string>;
using Valori = std::map<std::string, double>;

inline std::string unite(const Testi& t)
{
    std::string tutte;
    for (const std::string& riga : t)
        tutte += riga + "\n";
    return tutte;
}

/// All calls of one level of an action, as one text.
inline std::string detto(const Registro& r, std::string_view azione = {}, int livello = -1)
{
    Testi t;
    for (const Chiamata& c : r.chiamate)
        if ((azione.empty() || c.azione == azione) && (livello < 0 || c.livello == livello))
            t.push_back(testo(c));
    return unite(t);
}

inline void senza_violazioni(const Registro& r)
{
    CHECK(unite(r.violazioni) == "");
    CHECK(unite(violazioni_senza_azione()) == "");
}

/// Noise from -0.03 to 1.06, with alpha of any bit pattern.
inline void dipingi(Tela& t)
{
    for (int y = t.limiti.y1; y < t.limiti.y2; ++y)
        for (int x = t.limiti.x1; x < t.limiti.x2; ++x) {
            float* p = pixel(t, x, y);
            for (int c = 0; c < 3; ++c)
                p[c] = 1.09f * varno::semplici::hash_grana(x, y, c) - 0.03f;
            const std::uint32_t alfa = static_cast<std::uint32_t>(x) * 2654435761u ^
                                       static_cast<std::uint32_t>(y) * 40503u;
            std::memcpy(p + 3, &alfa, sizeof alfa);
        }
}

using Bit = std::vector<std::uint32_t>;

/// The bits of a window, row after row from the bottom.
inline Bit bit_di(const Tela& t, const Rettangolo& f)
{
    Bit b;
    for (int y = f.y1; y < f.y2; ++y)
        for (int x = f.x1; x < f.x2; ++x)
            for (int c = 0; c < 4; ++c)
                b.push_back(std::bit_cast<std::uint32_t>(pixel(t, x, y)[c]));
    return b;
}

/// Renders noise of that size, tight bounds, and gives the bits of the result.
inline Bit fotogramma(Istanza& i, int larghezza, int altezza, double tempo = 0.0)
{
    const Rettangolo f{0, 0, larghezza, altezza};
    Tela sorgente = tela(f);
    Tela uscita = tela(f);
    dipingi(sorgente);
    REQUIRE(rendi(i, tempo, f, figura(sorgente), figura(uscita)) == 0);
    CHECK(intatta(uscita));
    senza_violazioni(registro(i));
    return bit_di(uscita, f);
}

/// The same of a new instance.
inline Bit fotogramma(const Valori& valori, int larghezza, int altezza, double tempo = 0.0)
{
    return fotogramma(*crea_istanza(modulo(), valori), larghezza, altezza, tempo);
}

constexpr const char* INTERRUTTORI[] = {"enhance_on", "halation_on", "bloom_on", "vignetta_on",
                                        "promist_on", "streak_on",   "ca_on",    "grana_on",
                                        "mistw_on",   "glimmer_on",  "pelle_on", "stella_on"};

inline Valori tutti_gli_effetti(double acceso)
{
    Valori v;
    for (const char* nome : INTERRUTTORI)
        v[nome] = acceso;
    return v;
}

}  // namespace prova
