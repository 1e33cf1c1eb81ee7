// Statuses of the host's reads are not looked at: handles and values start at null and 0.
#include "render/impostazioni.h"

#include "looks/catalogo.h"
#include "ofx/suite.h"
#include "render/contesto.h"
#include "render/formato.h"
#include "render/parametri_effetti.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace varno {
namespace {

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
};

// A time that no frame number can hold, not-a-number among them, is the lowest one on every
// machine.
std::int32_t numero_fotogramma(double tempo)
{
    if (tempo > -2147483649.0 && tempo < 2147483648.0)
        return static_cast<std::int32_t>(tempo);
    return std::numeric_limits<std::int32_t>::min();
}

FxRicetta ricetta_di(const Lettura& l)
{
    FxRicetta r;
    const double* quantita = l.quantita.data();
    for (const ParametroEffetto& p : PARAMETRI_EFFETTI)
        r.*p.campo = static_cast<float>(*quantita++) * p.scala;
    r.fotogramma = numero_fotogramma(l.tempo);
    // In unsigned arithmetic, since a host may hold any value there.
    r.punte = static_cast<std::int32_t>(2u * static_cast<std::uint32_t>(l.punte) + 4u);
    return r;
}

}  // namespace

Lettura leggi_parametri(OfxParamSetHandle parametri, double tempo)
{
    const Lettore l{parametri, tempo};
    Lettura v;
    v.tempo = tempo;
    Chiave& k = v.chiave;
    k.look = l.intero("look");
    k.forza = l.numero("forza");
    k.ev = l.numero("ev");
    k.temp = l.numero("temp");
    k.tinta = l.numero("tinta");
    double* quantita = v.quantita.data();
    for (const ParametroEffetto& p : PARAMETRI_EFFETTI)
        *quantita++ = l.intero(p.interruttore) != 0 ? l.numero(p.quantita) : 0.0;
    v.punte = l.intero("punte");

    static const std::vector<LookDef> looks = catalogo();
    if (k.look < 0 || static_cast<std::size_t>(k.look) >= looks.size())
        k.look = 0;
    v.look = &looks[static_cast<std::size_t>(k.look)];

    const int formato = l.intero("formato");
    const char* tendina = tendina_colorspace(formato);
    k.profilo = riga_profilo(formato, tendina != nullptr ? l.intero(tendina) : 0);
    return v;
}

ImpostazioniQuadro impostazioni_di(const Lettura& lettura)
{
    return {ricetta_di(lettura), contesto_di(*lettura.look, lettura.chiave), lettura.chiave};
}

}  // namespace varno
