// Many frames at once: workers that read, render and write one each.
#include "tools/quadri/catena.h"

#include "tools/messaggi.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace varno::provino {
namespace {

// What the workers share; all but `lettura` under the mutex.
struct Sala {
    const Lavoro& lavoro;
    const std::function<void(const Resoconto&)>& racconta;
    std::mutex lettura = {}, mutex = {};
    std::condition_variable raccontato = {};
    std::size_t prossimo = 0;                         // to begin
    std::size_t raccontati = 0;                       // all before it are told
    std::map<std::size_t, Resoconto> in_attesa = {};  // of one before them that is still under way
    bool fermo = false;                               // nothing further is begun
    bool riuscito = true;
};

void finisci(Sala& s, Resoconto r)
{
    const std::lock_guard<std::mutex> chiuso(s.mutex);
    if (r.esito == Esito::fallito) {
        s.riuscito = false;
        s.fermo = s.fermo || !s.lavoro.a.modo.continua;
    }
    s.in_attesa.emplace(r.indice, std::move(r));
    while (!s.in_attesa.empty() && s.in_attesa.begin()->first == s.raccontati) {
        s.racconta(s.in_attesa.begin()->second);
        s.in_attesa.erase(s.in_attesa.begin());
        ++s.raccontati;
    }
    s.raccontato.notify_all();
}

// One frame; `in_fila` is held until it is read.
void fai(Sala& s, banco::Istanza& istanza, Resoconto& r, std::unique_lock<std::mutex> in_fila)
{
    const Lavoro& l = s.lavoro;
    const long long n = l.numeri[r.indice];
    std::error_code e;
    if (l.a.modo.salta && std::filesystem::exists(nome_al(l.a, n), e)) {
        r.esito = Esito::saltato;
        return;
    }
    Foto foto = leggi(l.da, n);
    if (r.indice == 0)
        l.letta(foto);
    if (in_fila)
        in_fila.unlock();
    foto = rendi_foto(istanza, foto, tempo_al(l, r.indice));
    if (l.a.ripresa) {
        std::unique_lock<std::mutex> chiuso(s.mutex);
        s.raccontato.wait(chiuso, [&] { return s.raccontati == r.indice; });
    }
    scrivi(l.a, n, foto);
    r.esito = Esito::fatto;
}

void lavora(Sala& s, banco::Istanza& istanza)
{
    for (;;) {
        std::unique_lock<std::mutex> in_fila(s.lettura, std::defer_lock);
        if (s.lavoro.da.proiezione)
            in_fila.lock();
        Resoconto r;
        {
            const std::lock_guard<std::mutex> chiuso(s.mutex);
            if (s.fermo || s.prossimo == s.lavoro.numeri.size())
                return;
            r.indice = s.prossimo++;
        }
        const auto inizio = std::chrono::steady_clock::now();
        try {
            fai(s, istanza, r, std::move(in_fila));
        } catch (const Finito& e) {
            if (r.indice > 0) {
                if (!e.testo.empty())
                    avviso(e.testo);
                const std::lock_guard<std::mutex> chiuso(s.mutex);
                s.fermo = true;
                return;
            }
            r.motivo = e.testo;
        } catch (const Errore& e) {
            r.motivo = e.testo;
        } catch (const std::bad_alloc&) {
            r.motivo = "there is not enough memory: give fewer --jobs";
        } catch (const std::exception& e) {
            r.motivo = "failed: " + in_una_riga(e.what());
        }
        r.secondi =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - inizio).count();
        finisci(s, std::move(r));
    }
}

}  // namespace

bool esegui_lavoro(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze,
                   const std::function<void(const Resoconto&)>& racconta)
{
    Sala s{lavoro, racconta};
    std::vector<std::jthread> fili;
    fili.reserve(istanze.size());
    for (const banco::IstanzaPtr& i : istanze)
        fili.emplace_back([&s, &i] { lavora(s, *i); });
    fili.clear();  // waits for all
    return s.riuscito;
}

}  // namespace varno::provino
