// provino confronta: two pictures or sequences, compared.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/quadri/sorgente.h"
#include "tools/quadri/uscita.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace varno::provino {
namespace {

constexpr double INFINITO = std::numeric_limits<double>::infinity();

struct OpzioniConfronto {
    std::string ingresso, altro, affiancati, differenza;
    double limite = 0.0, guadagno = 1.0;
    ColoriFilmato colori;
    Scrittura scrittura;
    bool json = false;
};

struct Differenza {
    double massima = 0.0;            // infinite where one value is no number and the other is
    std::size_t dove = 0;            // index of the float that differs most
    std::uint64_t diversi = 0;       // values that differ
    double errore_quadratico = 0.0;  // mean
};

Differenza misura_differenza(const Foto& a, const Foto& b)
{
    Differenza d;
    const bool alfa = a.alfa || b.alfa;
    std::uint64_t quanti = 0;
    for (std::size_t i = 0; i < quanti_float(a); ++i) {
        if (i % 4 == 3 && !alfa)
            continue;
        ++quanti;
        const float x = a.rgba[i];
        const float y = b.rgba[i];
        if (x == y || (std::isnan(x) && std::isnan(y)))
            continue;
        ++d.diversi;
        const bool numeri = std::isfinite(x) && std::isfinite(y);
        const double scarto =
            numeri ? std::abs(static_cast<double>(x) - static_cast<double>(y)) : INFINITO;
        d.errore_quadratico += scarto * scarto;
        if (scarto > d.massima) {
            d.massima = scarto;
            d.dove = i;
        }
    }
    d.errore_quadratico /= static_cast<double>(std::max<std::uint64_t>(quanti, 1));
    return d;
}

// A on the left, B on the right, a white line of a few pixels between.
Foto affianca(const Foto& a, const Foto& b)
{
    Foto f = foto_nuova(a.larghezza, a.altezza);
    f.colore = a.testata.get_string_attribute("oiio:ColorSpace", DATI);
    const int meta = a.larghezza / 2;
    const int linea = a.larghezza > 8 ? std::max(1, a.larghezza / 960) : 0;
    for (std::size_t i = 0; i < quanti_float(f); ++i) {
        const int x = static_cast<int>(i / 4 % static_cast<std::size_t>(a.larghezza));
        const bool bianco = i % 4 == 3 || (x >= meta - linea && x < meta + linea);
        f.rgba[i] = bianco ? 1.0f : (x < meta ? a : b).rgba[i];
    }
    return f;
}

// How far red, green and blue are apart; where one is no number, white.
Foto scarto(const Foto& a, const Foto& b, float guadagno)
{
    Foto f = foto_nuova(a.larghezza, a.altezza);
    f.colore = DATI;
    for (std::size_t i = 0; i < quanti_float(f); ++i) {
        const float d = std::abs(a.rgba[i] - b.rgba[i]) * guadagno;
        f.rgba[i] = i % 4 == 3 || !std::isfinite(d) ? 1.0f : d;
    }
    return f;
}

void stampa(const OpzioniConfronto& o, const std::string& davanti, const Foto& a,
            const Differenza& d)
{
    constexpr const char* CANALI[] = {"R", "G", "B", "A"};
    const double psnr =
        d.errore_quadratico > 0.0 ? -10.0 * std::log10(d.errore_quadratico) : INFINITO;
    const std::size_t x = d.dove / 4 % static_cast<std::size_t>(a.larghezza);
    const std::size_t y = d.dove / 4 / static_cast<std::size_t>(a.larghezza);
    if (o.json) {
        // JSON has no infinity: null stands for it.
        Json j = {{"channel", CANALI[d.dove % 4]},
                  {"equal", d.diversi == 0},
                  {"in", davanti},
                  {"largest", d.massima},
                  {"passes", d.massima <= o.limite},
                  {"psnr_db", psnr},
                  {"values_that_differ", d.diversi},
                  {"x", x},
                  {"y", y}};
        if (davanti.empty())
            j.erase("in");
        return riga(testo_di(j));
    }
    const std::string capo = davanti.empty() ? "" : davanti + ": ";
    if (d.diversi == 0)
        return riga(capo + "equal: every value of both pictures is the same");
    riga(sprintf("%slargest difference %s at x %d, y %d in %s, %d values differ, PSNR %s dB", capo,
                 testo_di(d.massima), x, y, CANALI[d.dove % 4], d.diversi,
                 testo_di(std::round(psnr * 100.0) / 100.0)));
}

// None behind the end, which may come before what a movie counts.
std::optional<Foto> leggi_se_c_e(const Sorgente& s, std::size_t i)
try {
    return i < s.numeri.size() ? std::optional(leggi(s, s.numeri[i])) : std::nullopt;
} catch (const Finito& e) {
    if (i == 0)
        throw;
    avviso(e.testo);
    return {};
}

// A frame of each and where they stand; `davanti` names them where they are two of many. Returns
// whether they pass.
bool confronta(const OpzioniConfronto& o, const Foto& a, const std::string& nome_a, const Foto& b,
               const std::string& nome_b, const std::string& differenza, const std::string& davanti)
{
    for (const std::string& uscita : {o.affiancati, differenza})
        for (const std::string& ingresso : {nome_a, nome_b})
            non_sopra(uscita, ingresso);
    if (a.larghezza != b.larghezza || a.altezza != b.altezza)
        fallisci("the sizes differ: '%s' has %dx%d, '%s' has %dx%d", nome_a, a.larghezza, a.altezza,
                 nome_b, b.larghezza, b.altezza);
    const Differenza d = misura_differenza(a, b);
    stampa(o, davanti, a, d);
    if (!o.affiancati.empty())
        scrivi_foto(o.affiancati, affianca(a, b), o.scrittura);
    if (!differenza.empty())
        scrivi_foto(differenza, scarto(a, b, static_cast<float>(o.guadagno)), o.scrittura);
    return d.massima <= o.limite;
}

// One after the other; a movie has no numbers of its own: its frames are taken in order.
void confronta_tutti(const OpzioniConfronto& o, const Sorgente& da, const Sorgente& con)
{
    const auto disuguali = [&o] {
        fallisci("the frames of '%s' and of '%s' have not the same numbers", o.ingresso, o.altro);
    };
    if (da.modello && con.modello
            ? da.numeri != con.numeri
            : std::abs(std::ssize(da.numeri) - std::ssize(con.numeri)) > RIORDINO)
        disuguali();
    const auto differenza = modello_in(o.differenza);
    if (!o.affiancati.empty() || (!o.differenza.empty() && !differenza))
        rifiuta("of sequences --difference takes a name with #### in it, and --split none");
    std::string diversi;
    for (std::size_t i = 0;; ++i) {
        const std::optional<Foto> a = leggi_se_c_e(da, i);
        const std::optional<Foto> b = leggi_se_c_e(con, i);
        if (!a && !b)
            break;
        if (!a || !b)
            disuguali();
        const long long n = da.numeri[i];
        const std::string davanti =
            da.proiezione ? sprintf("%s frame %d", da.nome, n) : nome_al(da, n);
        if (!confronta(o, *a, nome_al(da, n), *b, nome_al(con, con.numeri[i]),
                       differenza ? nome_al(*differenza, n) : "", davanti))
            diversi += " " + std::to_string(n);
    }
    if (!diversi.empty())
        fallisci("frames differ by more than the limit of %s: %s", testo_di(o.limite),
                 in_una_riga(diversi));
}

void confronta(const OpzioniConfronto& o)
{
    for (const std::string& uscita : {o.affiancati, o.differenza})
        if (!uscita.empty()) {
            controlla_scrittura(uscita, o.scrittura);
            controlla_uscita(uscita, o.scrittura.sovrascrivi);
        }
    const Sorgente a = apri_sorgente(o.ingresso, {}, o.colori);
    const Sorgente b = apri_sorgente(o.altro, {}, o.colori);
    for (const Sorgente* s : {&a, &b})
        avvisa(*s);
    if (!singola(a) || !singola(b))
        confronta_tutti(o, a, b);
    else if (!confronta(o, leggi(a, a.numeri.front()), a.nome, leggi(b, b.numeri.front()), b.nome,
                        o.differenza, ""))
        fallisci("the pictures differ by more than the limit of " + testo_di(o.limite));
}

}  // namespace

// clang-format off
Sottocomando comando_confronta()
{
    const auto o = std::make_shared<OpzioniConfronto>();
    return {"confronta", "compare", "Compare two pictures, sequences or movies; exit code 1 where they differ",
            "  provino confronta a.exr b.exr --limit 0.001 --split ab.png\n"
            "  provino confronta 'a.####.exr' 'b.####.exr' --difference 'd.####.png' --gain 20\n",
            unite({{{"A", &o->ingresso, "One picture, shot.####.exr, or a movie"},
                    {"B", &o->altro, "The other, of the same size"},
                    {"--limit", &o->limite, "Largest difference that passes; 0 wants equal values", {.massimo = INFINITO}},
                    {"--split", &o->affiancati, "Write A left and B right of a divider"},
                    {"--difference", &o->differenza, "Write how far they are apart"},
                    {"--gain", &o->guadagno, "Times that --difference is scaled", {.massimo = INFINITO}}},
                   opzioni_filmato(o->colori),
                   {opzione_sostituisci(o->scrittura.sovrascrivi), {"--json", &o->json, "For machines"}}}),
            [o] { confronta(*o); }};
}
// clang-format on

}  // namespace varno::provino
