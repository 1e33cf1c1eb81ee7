#include "tools/catena.h"

#include "tools/messaggi.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <filesystem>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace varno::provino {
namespace {

using Orologio = std::chrono::steady_clock;

constexpr std::size_t IN_CORSO_A_LAVORO = 3;  // one read, one developed, one written

struct InCorso {
    std::size_t indice = 0;
    Foto foto;
    double secondi = 0.0;
};

// Frames move from `letti` to `resi` and out; everything here is under the mutex.
struct Nastro {
    std::mutex mutex;
    std::condition_variable mosso;
    std::size_t prossimo = 0;
    std::size_t in_corso = 0;
    std::deque<InCorso> letti, resi;
    bool fermo = false;  // nothing further is begun
    bool riuscito = true;
};

struct Sala {
    const Lavoro& lavoro;
    const std::function<void(const Resoconto&)>& racconta;
    std::size_t limite = 0;
    Nastro nastro;
};

double da(Orologio::time_point inizio)
{
    return std::chrono::duration<double>(Orologio::now() - inizio).count();
}

void finisci(Sala& s, const Resoconto& r)
{
    const std::lock_guard<std::mutex> chiuso(s.nastro.mutex);
    --s.nastro.in_corso;
    if (r.esito == Esito::fallito) {
        s.nastro.riuscito = false;
        s.nastro.fermo = s.nastro.fermo || !s.lavoro.continua;
    }
    s.racconta(r);
    s.nastro.mosso.notify_all();
}

// Runs one step of a frame; a failure is the frame's end.
template <class Passo> bool prova(Sala& s, InCorso& f, Passo passo)
{
    const auto inizio = Orologio::now();
    Resoconto r{f.indice, Esito::fallito, {}, 0.0};
    try {
        passo();
        f.secondi += da(inizio);
        return true;
    } catch (const Errore& e) {
        r.motivo = e.testo;
    } catch (const std::bad_alloc&) {
        r.motivo = "there is not enough memory: give fewer --jobs";
    } catch (const std::exception& e) {
        r.motivo = "failed: " + in_una_riga(e.what());
    }
    r.secondi = f.secondi + da(inizio);
    finisci(s, r);
    return false;
}

// The next frame to read, once there is room for it; none when there is nothing left to begin.
std::optional<std::size_t> prossimo(Sala& s)
{
    std::unique_lock<std::mutex> chiuso(s.nastro.mutex);
    s.nastro.mosso.wait(chiuso, [&] {
        return s.nastro.fermo || s.nastro.prossimo == s.lavoro.fotogrammi.size() ||
               s.nastro.in_corso < s.limite;
    });
    if (s.nastro.fermo || s.nastro.prossimo == s.lavoro.fotogrammi.size())
        return std::nullopt;
    ++s.nastro.in_corso;
    return s.nastro.prossimo++;
}

void deponi(Sala& s, std::deque<InCorso>& dove, InCorso&& f)
{
    const std::lock_guard<std::mutex> chiuso(s.nastro.mutex);
    dove.push_back(std::move(f));
    s.nastro.mosso.notify_all();
}

// None when no frame can come any more.
std::optional<InCorso> prendi(Sala& s, std::deque<InCorso>& da_dove)
{
    std::unique_lock<std::mutex> chiuso(s.nastro.mutex);
    const auto finito = [&] {
        return s.nastro.in_corso == 0 &&
               (s.nastro.fermo || s.nastro.prossimo == s.lavoro.fotogrammi.size());
    };
    s.nastro.mosso.wait(chiuso, [&] { return !da_dove.empty() || finito(); });
    if (da_dove.empty())
        return std::nullopt;
    InCorso f = std::move(da_dove.front());
    da_dove.pop_front();
    return f;
}

void leggi(Sala& s)
{
    while (const auto indice = prossimo(s)) {
        const Fotogramma& quale = s.lavoro.fotogrammi[*indice];
        InCorso f;
        f.indice = *indice;
        std::error_code e;
        if (s.lavoro.salta_esistenti && std::filesystem::exists(quale.uscita, e))
            finisci(s, {f.indice, Esito::saltato, {}, 0.0});
        else if (prova(s, f, [&] { f.foto = leggi_foto(quale.ingresso); }))
            deponi(s, s.nastro.letti, std::move(f));
    }
}

void rendi(Sala& s, banco::Istanza& istanza)
{
    while (auto f = prendi(s, s.nastro.letti))
        if (prova(s, *f, [&] {
                f->foto = rendi_foto(istanza, f->foto, s.lavoro.fotogrammi[f->indice].tempo,
                                     s.lavoro.righe);
            }))
            deponi(s, s.nastro.resi, std::move(*f));
}

void scrivi(Sala& s)
{
    while (auto f = prendi(s, s.nastro.resi))
        if (prova(s, *f,
                  [&] { s.lavoro.scrivi(s.lavoro.fotogrammi[f->indice].uscita, f->foto); })) {
            f->foto = Foto();  // before the next one may be read
            finisci(s, {f->indice, Esito::fatto, {}, f->secondi});
        }
}

}  // namespace

bool esegui_lavoro(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze,
                   const std::function<void(const Resoconto&)>& racconta)
{
    Sala s{lavoro, racconta, IN_CORSO_A_LAVORO * istanze.size(), {}};
    std::vector<std::thread> fili;
    for (const banco::IstanzaPtr& i : istanze) {
        fili.emplace_back([&s] { leggi(s); });
        fili.emplace_back([&s, &i] { rendi(s, *i); });
        fili.emplace_back([&s] { scrivi(s); });
    }
    for (std::thread& t : fili)
        t.join();
    return s.nastro.riuscito;
}

}  // namespace varno::provino
