// What the page asks for, and the answers.
#include "tools/guarda/guarda.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>
#include <utility>

namespace varno::provino {
namespace {

constexpr std::size_t PAGINE_LIMITE = 64;

// The number of each page's newest wish: older ones that are still under way are dropped.
struct Turni {
    std::mutex mutex;
    std::map<std::string, long long> ultimi;
};

// Takes a page's wish of that number, 0 for one that stays; returns what tells whether it is to be
// dropped.
std::function<bool()> iscrivi(Turni& t, const std::string& pagina, long long numero)
{
    if (numero <= 0)
        return [] { return false; };
    const std::lock_guard<std::mutex> chiuso(t.mutex);
    if (!t.ultimi.contains(pagina) && t.ultimi.size() >= PAGINE_LIMITE)
        t.ultimi.clear();  // an older wish than the newest may be rendered once
    t.ultimi[pagina] = std::max(t.ultimi[pagina], numero);
    return [&t, pagina, numero] {
        const std::lock_guard<std::mutex> ancora(t.mutex);
        return t.ultimi[pagina] > numero;
    };
}

long long numero_di(const Tavolo& t, const Json& j)
{
    const auto n = j.at("numero").get<long long>();
    if (!std::ranges::binary_search(t.sorgente.numeri, n))
        rifiuta("there is no frame %d", n);
    return n;
}

// Runs of numbers, first and last: few where none is missing.
Json tratti(const std::vector<long long>& numeri)
{
    Json j = Json::array();
    for (const long long n : numeri)
        if (j.empty() || j.back()[1] != n - 1)
            j.push_back({n, n});
        else
            j.back()[1] = n;
    return j;
}

Json inizio(Tavolo& t, const std::string& corsa, const Impostazioni& imp, const Json& dichiarati)
{
    const FotoPtr prima = quadro(t, {t.sorgente.numeri.front()});
    Json j = scrivi_stato(t.plugin, imp);
    j.update({{"corsa", corsa},
              {"sorgente", std::filesystem::path(t.sorgente.nome).filename().string()},
              {"numeri", tratti(t.sorgente.numeri)},
              {"larghezza", prima->larghezza},
              {"altezza", prima->altezza},
              {"dichiarati", dichiarati}});
    for (const auto& [interruttore, quantita] : effetti(t.plugin))
        j["effetti"].push_back({interruttore.nome, quantita.nome});
    return j;
}

Consegna quadro_per(Tavolo& t, Turni& turni, const Json& j)
{
    const std::string chiesta = j.value("forma", "png");
    const Forma forma = chiesta == "jpeg"   ? Forma::jpeg
                        : chiesta == "file" ? Forma::file
                                            : Forma::png;
    const auto lato = [&j](const char* nome) { return std::clamp(j.value(nome, 0), 0, 1 << 16); };
    const Posto posto = {numero_di(t, j), lato("larghezza"), lato("altezza")};
    std::optional<Impostazioni> imp;
    if (j.value("vista", "adesso") != "registrata")
        imp = leggi_stato(t.plugin, j);
    std::string byte =
        dipingi(t, posto, imp, forma, iscrivi(turni, j.value("pagina", ""), j.value("turno", 0LL)));
    const FotoPtr intera = quadro(t, {posto.numero});
    return {std::move(byte), forma == Forma::jpeg ? "image/jpeg" : "image/png",
            sprintf("%dx%d", intera->larghezza, intera->altezza)};
}

// The recorded code values of a pixel.
Json punto(Tavolo& t, const Json& j)
{
    const FotoPtr foto = quadro(t, {numero_di(t, j)});
    const int x = j.at("x").get<int>();
    const int y = j.at("y").get<int>();
    if (x < 0 || y < 0 || x >= foto->larghezza || y >= foto->altezza)
        rifiuta("there is no such pixel");
    const float* p = &foto->rgba[4 * (static_cast<std::size_t>(y) * foto->larghezza + x)];
    return {{"valori", {p[0], p[1], p[2]}}};
}

// The name that a picture of this is saved under: "A001-12-cinema-print.png".
std::string nome_d_uscita(const Sorgente& da, long long numero, const std::string& look)
{
    std::string s = std::filesystem::path(nome_al(da, numero)).stem().string();
    if (!da.modello && da.numeri.size() > 1)
        s += "-" + std::to_string(numero);
    s += "-" + OIIO::Strutil::lower(look);
    std::ranges::replace_if(
        s, [](unsigned char c) { return std::isalnum(c) == 0 && c != '.' && c != '_' && c < 0x80; },
        '-');
    if (s.starts_with('-'))  // would be taken for an option
        s.insert(0, "_");
    return s + ".png";
}

Json comando_per(Tavolo& t, const Json& j, std::vector<std::string> parole)
{
    const long long numero = numero_di(t, j);
    const Impostazioni imp = leggi_stato(t.plugin, j);
    const std::string look = valore_scritto(t.plugin, *istanza_con(t.plugin, imp), "look");
    const std::string nome = nome_d_uscita(t.sorgente, numero, look);
    parole.insert(parole.begin() + 3, {nome, "--depth", "uint8"});
    if (t.sorgente.numeri.size() > 1)
        parole.insert(parole.end(), {"--frames", std::to_string(numero)});
    std::ranges::move(parole_di(t.plugin, imp), std::back_inserter(parole));
    return {{"comando", per_la_shell(parole)}, {"nome", nome}};
}

}  // namespace

void guarda(Tavolo& t, Porta& porta, const Impostazioni& imp, const Json& dichiarati,
            const std::vector<std::string>& comando)
{
    Turni turni;
    const std::string corsa = chiave_nuova();
    const auto json = [&](const std::string& percorso, const auto& fai) {
        ascolta(porta, percorso, [&t, fai](const Json& j) {
            const std::lock_guard<std::mutex> una(t.istanze);
            return in_json(fai(j));
        });
    };
    json("/inizio", [&](const Json&) { return inizio(t, corsa, imp, dichiarati); });
    json("/stato", [&](const Json& j) { return scrivi_stato(t.plugin, leggi_stato(t.plugin, j)); });
    json("/comando", [&](const Json& j) { return comando_per(t, j, comando); });
    ascolta(porta, "/punto", [&](const Json& j) { return in_json(punto(t, j)); });
    ascolta(porta, "/quadro", [&](const Json& j) { return quadro_per(t, turni, j); });
    ascolta(porta, "/fine", [&](const Json&) {
        finisci(porta);
        return in_json(Json::object());
    });
    servi(porta);
}

}  // namespace varno::provino
