// The light table: frames of one source, kept as they were read and reduced, and pictures of them.
#include "tools/guarda/tavolo.h"

#include "tools/errore.h"
#include "tools/messaggi.h"

#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imageio.h>
#include <OpenImageIO/parallel.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

namespace varno::provino {
namespace {

// Whoever asks first makes it, others wait for that. What failed is forgotten.
template <class Fai> FotoPtr prendi(Tavolo& t, Cassetto& c, const Posto& posto, const Fai& fai)
{
    const auto di_quel_posto = [&](const auto& f) { return f.first == posto; };
    std::promise<FotoPtr> promessa;
    std::shared_future<FotoPtr> foto;
    {
        const std::lock_guard<std::mutex> chiuso(t.mutex);
        const auto trovata = std::ranges::find_if(c.foto, di_quel_posto);
        if (trovata != c.foto.end()) {
            foto = trovata->second;
            std::rotate(c.foto.begin(), trovata, trovata + 1);
        } else {
            c.foto.emplace_front(posto, promessa.get_future().share());
            if (c.foto.size() > c.quanti)
                c.foto.pop_back();
        }
    }
    if (foto.valid())
        return foto.get();
    try {
        auto fatta = std::make_shared<const Foto>(fai());
        promessa.set_value(fatta);
        return fatta;
    } catch (...) {
        promessa.set_exception(std::current_exception());
        const std::lock_guard<std::mutex> chiuso(t.mutex);
        std::erase_if(c.foto, di_quel_posto);
        throw;
    }
}

FotoPtr intera(Tavolo& t, long long numero)
{
    return prendi(t, t.intere, {numero}, [&] {
        const std::lock_guard<std::mutex> chiuso(t.lettura);
        try {
            return leggi(t.sorgente, numero);
        } catch (...) {
            if (t.sorgente.proiezione)  // its decoder has ended
                t.sorgente.proiezione =
                    std::make_unique<Proiezione>(t.sorgente.proiezione->filmato);
            throw;
        }
    });
}

Foto riduci(const Foto& foto, double scala)
{
    const auto lato = [&](int l) { return std::max(1, static_cast<int>(std::lround(l * scala))); };
    Foto f = foto_nuova(lato(foto.larghezza), lato(foto.altezza));
    OIIO::ImageBuf a = tela(f);
    if (!OIIO::ImageBufAlgo::resize(a, tela(foto), "box"))
        fallisci("cannot reduce the picture: " + in_una_riga(a.geterror()));
    return f;
}

// The frame behind the one that is looked at, while that is looked at.
void leggi_avanti(Tavolo& t, long long numero)
{
    const auto& numeri = t.sorgente.numeri;
    const auto dopo = std::ranges::upper_bound(numeri, numero);
    const std::lock_guard<std::mutex> chiuso(t.mutex);
    if (dopo == numeri.end() || (t.avanti.valid() && t.avanti.wait_for(std::chrono::seconds(0)) !=
                                                         std::future_status::ready))
        return;
    t.avanti = std::async(std::launch::async, [&t, n = *dopo] {
        try {
            intera(t, n);
        } catch (...) {  // told when it is looked at itself
        }
    });
}

std::vector<unsigned char> mostrabile(const Foto& f, Forma forma)
{
    std::vector<unsigned char> rgb(quanti_float(f) / 4 * 3);
    const std::size_t larga = static_cast<std::size_t>(f.larghezza);
    OIIO::parallel_for(0, f.altezza, [&](std::int64_t riga) {
        const auto y = static_cast<std::size_t>(riga);
        for (std::size_t i = y * larga; i < (y + 1) * larga; ++i)
            for (std::size_t c = 0; c < 3; ++c)
                rgb[3 * i + c] = static_cast<unsigned char>(codice(f.rgba[4 * i + c], 255.0f));
    });
    OIIO::ImageSpec testata(f.larghezza, f.altezza, 3, OIIO::TypeUInt8);
    testata.attribute("CompressionQuality", 90);
    testata.attribute("png:filter", 16);  // differences along the row: fast to make
    testata.attribute("png:compressionLevel", 1);
    return codifica(
        forma == Forma::jpeg ? Formato::jpeg : Formato::png, "x", testata, "the picture",
        [&](OIIO::ImageOutput& u) { return u.write_image(OIIO::TypeUInt8, rgb.data()); });
}

}  // namespace

FotoPtr quadro(Tavolo& t, const Posto& posto)
{
    FotoPtr foto = intera(t, posto.numero);
    const double scala = std::min(static_cast<double>(posto.larghezza) / foto->larghezza,
                                  static_cast<double>(posto.altezza) / foto->altezza);
    if (posto.larghezza < 1 || posto.altezza < 1 || scala >= 1.0)
        return foto;
    return prendi(t, t.ridotte, posto, [&] { return riduci(*foto, scala); });
}

std::vector<unsigned char> dipingi(Tavolo& t, const Posto& posto,
                                   const std::optional<Impostazioni>& imp, Forma forma,
                                   const std::function<bool()>& superato)
{
    const FotoPtr foto = quadro(t, posto);
    if (forma == Forma::png)
        leggi_avanti(t, posto.numero);
    if (superato())
        return {};
    if (!imp)
        return mostrabile(*foto, forma);
    std::unique_lock<std::mutex> una(t.istanze);
    const banco::IstanzaPtr istanza = istanza_con(t.plugin, *imp);
    una.unlock();
    const auto tempo = static_cast<double>(posto.numero);
    if (forma == Forma::file)
        return codifica_foto("x.png", rendi_foto(*istanza, *foto, tempo), {},
                             testo_di(in_json(t.plugin, *istanza, *imp)));
    Foto resa;
    {
        const std::lock_guard<std::mutex> chiuso(t.mutex);
        resa = std::exchange(t.scorta, {});
    }
    if (resa.larghezza != foto->larghezza || resa.altezza != foto->altezza)
        resa = foto_nuova(foto->larghezza, foto->altezza);
    rendi_in(*istanza, *foto, resa, tempo);
    std::vector<unsigned char> byte;
    if (!superato())
        byte = mostrabile(resa, forma);
    const std::lock_guard<std::mutex> chiuso(t.mutex);
    t.scorta = std::move(resa);
    return byte;
}

}  // namespace varno::provino
