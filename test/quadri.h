// Pictures for the tests of the chain, and how they are compared.
#pragma once

#include "comune/nuclei.h"
#include "comune/piano.h"
#include "prova.h"
#include "semplici.h"

#include <cstdio>

namespace varno {

using Campioni = semplici::Campioni;

enum class Contenuto {
    CASO,      // 0..1, every value as likely
    LUCI,      // dark, single pixels from just below white to far above it
    RAMPE,     // slow ramps through all thresholds, colours apart
    OLTRE,     // -0.5..2
    ESTREMI,   // now and then denormal, huge or -0
    GUASTI,    // now and then not-a-number or infinite
    PIATTO,    // one colour
    MASSIMO_,  // how many there are
};

struct Misura {
    int larghezza, altezza;
};

/// One line an effect: its field, the greatest amount that the parameters let pass.
struct Voce {
    const char* nome;
    float FxRicetta::*campo;
    float massimo;
};
// clang-format off
inline constexpr Voce EFFETTI[] = {
    {"enhance", &FxRicetta::enhance, 0.6f },  {"pelle",    &FxRicetta::pelle,    0.55f},
    {"halation",&FxRicetta::halation,0.6f },  {"bloom",    &FxRicetta::bloom,    0.6f },
    {"streak",  &FxRicetta::streak,  0.6f },  {"promist",  &FxRicetta::promist,  0.55f},
    {"stella",  &FxRicetta::stella,  1.0f },  {"mistw",    &FxRicetta::mistw,    0.55f},
    {"glimmer", &FxRicetta::glimmer, 0.55f},  {"ca",       &FxRicetta::ca,       0.6f },
    {"vignetta",&FxRicetta::vignetta,0.6f },  {"grana",    &FxRicetta::grana,    0.6f },
};
// clang-format on

/// Every other effect or so, of any strength, star and frame number.
inline FxRicetta ricetta_a_caso(std::mt19937& caso)
{
    FxRicetta r = {.fotogramma = static_cast<std::int32_t>(caso()),
                   .punte = static_cast<std::int32_t>(3 + caso() % 7)};
    for (const Voce& e : EFFETTI)
        if (caso() % 2 == 0)
            r.*e.campo = e.massimo * 0.001f * static_cast<float>(1 + caso() % 1000);
    return r;
}

inline constexpr float NON_NUMERI[] = {NAN, INFINITY, -INFINITY};
inline constexpr float ESTREMI[] = {1e-40f, -1e-42f, -0.0f, 3.0e38f, -3.0e38f, 1e19f, -2.0f, 3e-8f};

/// n samples (planes) or pixels times three (pictures) of a frame that wide.
inline Campioni riempi(Contenuto contenuto, int larghezza, int altezza, int canali,
                       std::uint32_t seme)
{
    std::mt19937 caso(seme);
    const auto numero = [&] { return static_cast<float>(caso() >> 8) / 16777216.0f; };
    Campioni v(static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza) *
               static_cast<std::size_t>(canali));
    // Now and then: about one pixel in 40, at least one of a frame.
    const std::size_t ogni = std::min<std::size_t>(40, std::max<std::size_t>(1, v.size() / 6));
    const std::size_t prima = caso() % ogni;
    const auto n = static_cast<std::size_t>(canali);
    const auto w = static_cast<std::size_t>(larghezza);
    for (std::size_t i = 0; i < v.size(); ++i) {
        const std::size_t p = i / n;
        const bool scelto = p % ogni == prima;
        switch (contenuto) {
        case Contenuto::LUCI:
            v[i] = scelto ? 0.8f + 3.0f * numero() * numero() * numero() : 0.04f * numero();
            break;
        case Contenuto::RAMPE:
            v[i] = std::fmod(static_cast<float>(p % w + 2 * (p / w) + 7 * (i % n)) * 0.013f, 1.1f);
            break;
        case Contenuto::OLTRE:
            v[i] = 2.5f * numero() - 0.5f;
            break;
        case Contenuto::ESTREMI:
            v[i] = scelto ? ESTREMI[caso() % std::size(ESTREMI)] : numero();
            break;
        case Contenuto::GUASTI:
            v[i] =
                scelto && caso() % 2 == 0 ? NON_NUMERI[caso() % std::size(NON_NUMERI)] : numero();
            break;
        case Contenuto::PIATTO:
            v[i] = i < 3 ? numero() : v[i % n];
            break;
        default:
            v[i] = numero();
        }
    }
    return v;
}

inline Piano piano_di(const Campioni& c)
{
    Piano p(c.size());
    std::copy(c.begin(), c.end(), p.begin());
    return p;
}

/// Empty where all bits are equal, not-a-number being equal to any other; else the first place.
inline std::string differenza(const Campioni& atteso, const Piano& avuto, int larghezza, int canali)
{
    if (atteso.size() != avuto.size())
        return "sizes differ";
    for (std::size_t i = 0; i < atteso.size(); ++i) {
        if (std::memcmp(&atteso[i], &avuto[i], sizeof(float)) == 0 ||
            (std::isnan(atteso[i]) && std::isnan(avuto[i])))
            continue;
        const auto n = static_cast<std::size_t>(canali);
        const auto riga = static_cast<std::size_t>(larghezza);
        std::array<char, 160> testo;
        std::snprintf(testo.data(), testo.size(), "x %zu y %zu channel %zu: %a, not %a",
                      i / n % riga, i / n / riga, i % n, double{avuto[i]}, double{atteso[i]});
        return testo.data();
    }
    return {};
}

#ifdef VARNO_HA_GENERICI
namespace nuclei_generici {
extern const Nuclei NUCLEI;
}
#endif

/// Thread counts and instruction sets in turn, so that a long table meets all of them.
struct Giro {
    // Starting threads is what most of these tests' time goes to: most runs do without.
    static constexpr unsigned QUANTI[] = {1, 2, 1, 1, 3, 1, 1, 7, 1, 1, 16};

    unsigned thread() const { return QUANTI[passo % std::size(QUANTI)]; }
    const Nuclei* livello() const
    {
        static const std::vector<const Nuclei*> livelli = [] {
            std::vector<const Nuclei*> tutti;
            for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l)
                tutti.push_back(*l);
#ifdef VARNO_HA_GENERICI
            tutti.push_back(&nuclei_generici::NUCLEI);
#endif
            return tutti;
        }();
        // The thread counts go round once before the level changes.
        return livelli[passo / std::size(QUANTI) % livelli.size()];
    }
    /// Next row; false where it is to be left out: sanitizers make do with one in thirteen, which
    /// divides no length of a table, that of the thread counts least of all.
    bool avanti()
    {
        ++passo;
        return !LENTO || passo % 13 == 0;
    }
    std::size_t passo = 0;
};

}  // namespace varno
