// Statuses of the host's reads are not looked at: handles and values start at null and 0.
#include "render/impostazioni.h"

#include "looks/catalogo.h"
#include "ofx/suite.h"
#include "render/formato.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace varno {
namespace {

constexpr float SCALA_GRADO = 0.55f;  // the filter grades' share of a full filter

struct Lettore {
    OfxParamSetHandle parametri;
    double tempo;

    template <class Valore> Valore leggi(const char* nome) const
    {
        OfxParamHandle handle = nullptr;
        Valore valore = 0;
        gParm->paramGetHandle(parametri, nome, &handle, nullptr);
        gParm->paramGetValueAtTime(handle, tempo, &valore);
        return valore;
    }

    int intero(const char* nome) const { return leggi<int>(nome); }
    double numero(const char* nome) const { return leggi<double>(nome); }

    // The amount is read only when its switch is on.
    float quantita(const char* interruttore, const char* nome) const
    {
        return intero(interruttore) != 0 ? static_cast<float>(numero(nome)) : 0.0f;
    }
};

// A time that no frame number can hold, not-a-number among them, is the lowest one on every
// machine.
std::int32_t numero_fotogramma(double tempo)
{
    if (tempo > -2147483649.0 && tempo < 2147483648.0)
        return static_cast<std::int32_t>(tempo);
    return std::numeric_limits<std::int32_t>::min();
}

FxRicetta leggi_ricetta(const Lettore& l)
{
    FxRicetta r;
    r.enhance = l.quantita("enhance_on", "enhance");
    r.halation = l.quantita("halation_on", "halation");
    r.bloom = l.quantita("bloom_on", "bloom");
    r.vignetta = l.quantita("vignetta_on", "vignetta");
    r.promist = l.quantita("promist_on", "promist") * SCALA_GRADO;
    r.streak = l.quantita("streak_on", "streak");
    r.ca = l.quantita("ca_on", "ca");
    r.grana = l.quantita("grana_on", "grana");
    r.fotogramma = numero_fotogramma(l.tempo);
    r.mistw = l.quantita("mistw_on", "mistw") * SCALA_GRADO;
    r.glimmer = l.quantita("glimmer_on", "glimmer") * SCALA_GRADO;
    r.pelle = l.quantita("pelle_on", "pelle") * SCALA_GRADO;
    r.stella = l.quantita("stella_on", "stella");
    // In unsigned arithmetic, since a host may hold any value there.
    r.punte = static_cast<std::int32_t>(2u * static_cast<std::uint32_t>(l.intero("punte")) + 4u);
    return r;
}

// Warm raises red and lowers blue; a positive tint raises green.
RGB bilanciamento(double temp, double tinta)
{
    const float t = static_cast<float>(temp) * 0.25f;
    const float x = static_cast<float>(tinta);
    const float u = 0.1f * x;
    return {(1.0f + t) - u, x * 0.2f + 1.0f, (1.0f - t) - u};
}

}  // namespace

Impostazioni leggi_impostazioni(OfxParamSetHandle parametri, double tempo)
{
    const Lettore l{parametri, tempo};
    Impostazioni imp;
    Chiave& k = imp.chiave;
    k.look = l.intero("look");
    k.forza = l.numero("forza");
    k.ev = l.numero("ev");
    k.temp = l.numero("temp");
    k.tinta = l.numero("tinta");
    imp.ricetta = leggi_ricetta(l);

    static const std::vector<LookDef> looks = catalogo();
    if (k.look < 0 || static_cast<std::size_t>(k.look) >= looks.size())
        k.look = 0;
    const LookDef& look = looks[static_cast<std::size_t>(k.look)];

    const int formato = l.intero("formato");
    const char* tendina = tendina_colorspace(formato);
    k.profilo = riga_profilo(formato, tendina != nullptr ? l.intero(tendina) : 0);

    Contesto& c = imp.contesto;
    c.look = &look;
    c.curva_look = normalizza_curva(look.spalla, look.bianco, look.contrasto, look.gamma);
    c.forza = static_cast<float>(k.forza);
    c.ev = static_cast<float>(k.ev);
    c.guadagno = bilanciamento(k.temp, k.tinta);
    c.curva_neutra = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    // The key keeps the row as resolved; only a format outside the list makes the two differ.
    c.profilo = std::clamp(k.profilo, 0, 31);
    return imp;
}

}  // namespace varno
