#include "host.h"
#include "ofx/ofx.h"

#include <functional>

using namespace prova;

namespace {

constexpr Resto RESTI[] = {Resto::intatto, Resto::nullo, Resto::spazzatura};

/// Of these the plug-in takes what it finds, since no status is looked at: a host that says no and
/// hands out garbage all the same gives it the address to write to, or another time.
bool fidata(const Chiamata& c)
{
    for (const char* nome :
         {"OfxImagePropData", "OfxImagePropRowBytes", "OfxImagePropBounds", "OfxPropTime"})
        if (c.nome.find(nome) != std::string::npos)
            return true;
    return false;
}

/// Fails every call of an action in turn, each in all three ways.
void a_turno(Registro& r, const std::function<void()>& azione)
{
    r.guasti.clear();
    r.chiamate.clear();
    azione();
    const std::vector<Chiamata> chiamate = r.chiamate;
    REQUIRE(!chiamate.empty());
    for (std::size_t n = 0; n < chiamate.size(); ++n)
        for (const Resto resto : RESTI) {
            if (resto == Resto::spazzatura && fidata(chiamate[n]))
                continue;
            CAPTURE(testo(chiamate[n]));
            CAPTURE(static_cast<int>(resto));
            Guasto g;
            g.dopo = static_cast<long>(n);
            g.quante = 1;
            g.resto = resto;
            r.guasti = {g};
            r.violazioni.clear();
            azione();
            senza_violazioni(r);
        }
    r.guasti.clear();
}

}  // namespace

TEST_CASE("whatever call of a frame a host fails, it gets its images back and nothing beside them")
{
    // Values that read as 0 where the read fails, so that the table stays.
    auto valori = tutti_gli_effetti(1);
    for (const char* nome : {"look", "forza", "formato"})
        valori[nome] = 0;
    const IstanzaPtr i = crea_istanza(modulo(), valori);
    // Too few rows for threads, which would share one address where row bytes stay 0.
    const Rettangolo finestra{3, 2, 15, 17};
    const Rettangolo limiti{2, 1, 16, 19};
    // Room enough for the window also where bounds or row bytes stay 0.
    Tela sorgente = tela({0, 0, 48, 48});
    Tela uscita = tela({0, 0, 48, 48});
    dipingi(sorgente);
    const std::vector<unsigned char> sorgente_prima = sorgente.memoria;
    const Figura s{pixel(sorgente, 8, 8), sorgente.byte_riga, limiti};
    const Figura u{pixel(uscita, 8, 8), uscita.byte_riga, limiti};
    const auto rendi_e_guarda = [&] {
        const int stato = rendi_solo(*i, 0.0, finestra, s, u);
        CHECK((stato == kOfxStatOK || stato == kOfxStatFailed));
        CHECK(intatta(uscita));
    };
    rendi_e_guarda();
    const Bit attesa = bit_di(uscita, {9, 9, 21, 24});
    a_turno(registro(*i), rendi_e_guarda);
    CHECK(sorgente.memoria == sorgente_prima);
    rendi_e_guarda();
    CHECK(bit_di(uscita, {9, 9, 21, 24}) == attesa);
}

TEST_CASE("whatever call a host fails, creating, changing and describing end as ever")
{
    const IstanzaPtr i = crea_istanza(modulo(), {{"formato", 4}, {"look", 3}});
    a_turno(registro(*i), [&] { CHECK(azione(*i, "OfxActionCreateInstance") == kOfxStatOK); });
    for (const char* nome : {"formato", "look", "halation", "Source", "nobody", ""})
        a_turno(registro(*i), [&] { CHECK(avvisa(*i, nome) == kOfxStatOK); });
    // Undisturbed again, everything that was left out is made up for.
    CHECK(avvisa(*i, "look") == kOfxStatOK);
    CHECK(valore(*i, "halation") == static_cast<double>(0.24f));
    CHECK(avvisa(*i, "formato") == kOfxStatOK);
    CHECK(!nascosto(*i, "cs_canon"));

    const ModuloPtr altro = apri(percorso());
    dai_host(*altro);
    REQUIRE(azione(*altro, "OfxActionLoad") == kOfxStatOK);
    a_turno(registro(*altro), [&] { CHECK(azione(*altro, "OfxActionDescribe") == kOfxStatOK); });
    a_turno(registro(*altro), [&] { CHECK(descrivi_in_contesto(*altro, FILTRO) == kOfxStatOK); });
    CHECK(descrivi_in_contesto(*altro, FILTRO) == kOfxStatOK);
    CHECK(parametri(*altro).size() == 35);
    dai_host(modulo());  // the other host's record goes away
}
