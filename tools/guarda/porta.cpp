// The door: HTTP on this machine alone, and only for whoever holds the key.
#include "tools/guarda/porta.h"

#include "tools/errore.h"
#include "tools/messaggi.h"

// Its records have another layout without what Debian built the library with.
#define CPPHTTPLIB_BROTLI_SUPPORT
#define CPPHTTPLIB_OPENSSL_SUPPORT
#define CPPHTTPLIB_ZLIB_SUPPORT
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <future>
#include <new>
#include <random>
#include <sys/socket.h>
#include <system_error>
#include <utility>
#include <vector>

namespace varno::provino {
namespace {

constexpr const char* QUI = "127.0.0.1";
constexpr std::size_t CORPO_LIMITE = 64 << 10;  // bytes
constexpr int PROFONDITA_LIMITE = 8;            // of JSON in JSON: settings need five
constexpr time_t ATTESA = 5;                    // seconds for the next bytes of a request

// A thread for each connection: those that say nothing keep no other waiting.
struct Fili final : httplib::TaskQueue {
    void enqueue(std::function<void()> compito) override
    {
        std::erase_if(fili, [](const std::future<void>& f) {
            return f.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        });
        try {
            fili.push_back(std::async(std::launch::async, compito));
        } catch (const std::system_error&) {  // no more threads: here, one after the other
            compito();
        }
    }
    void shutdown() override { fili.clear(); }  // waits for each

    std::vector<std::future<void>> fili;
};

// In a time that does not tell how far they agree.
bool uguali(const std::string& a, const std::string& b)
{
    unsigned diversi = a.size() != b.size() ? 1 : 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        diversi |= static_cast<unsigned>(static_cast<unsigned char>(a[i] ^ b[i]));
    return diversi == 0;
}

// Browsers send the cookies of all ports of a machine to each.
std::string biscotto(const Porta& p)
{
    return "provino_" + std::to_string(p.numero) + "=" + p.chiave;
}

bool con_chiave(const Porta& p, const httplib::Request& r)
{
    bool trovata = uguali(r.get_param_value("key"), p.chiave);
    for (const std::string& c : OIIO::Strutil::splits(r.get_header_value("Cookie"), ";"))
        trovata |= uguali(std::string(OIIO::Strutil::strip(c)), biscotto(p));
    return trovata;
}

// Why a request is not answered, and the status; 0 where it is. A foreign page that gives its own
// name this address is told by the Host; one on another port of this machine by the Origin and by a
// type that it may not send unasked.
std::pair<int, const char*> rifiuto(const Porta& p, const httplib::Request& r)
{
    const std::string ospite = r.get_header_value("Host");
    const std::string porta = ":" + std::to_string(p.numero);
    if (r.get_header_value_count("Host") != 1 ||
        (ospite != QUI + porta && ospite != "localhost" + porta))
        return {403, "no such host here"};
    if (!con_chiave(p, r))
        return {403, "the key is missing: open the address that provino printed"};
    if (r.has_header("Origin") && r.get_header_value("Origin") != "http://" + ospite)
        return {403, "another page's request"};
    if (r.method != "GET" && r.method != "POST")
        return {405, "GET and POST alone"};
    if (r.method == "POST" && r.get_header_value("Content-Type") != "application/json")
        return {415, "JSON alone"};
    // Neither a body without an end nor one that grows when it is unpacked.
    if (r.has_header("Transfer-Encoding") || r.has_header("Content-Encoding"))
        return {411, "plain bodies of a told length alone"};
    return {0, ""};
}

Json leggi_corpo(const std::string& testo)
{
    const auto entro = [](int profondita, Json::parse_event_t, Json&) {
        if (profondita > PROFONDITA_LIMITE)
            rifiuta("the request is nested too deeply");
        return true;
    };
    Json j = Json::parse(testo, entro, false);
    if (!j.is_object())
        rifiuta("the request is no JSON object");
    return j;
}

}  // namespace

std::string chiave_nuova()
{
    std::random_device caso;
    return sprintf("%08x%08x%08x%08x", caso(), caso(), caso(), caso());
}

Porta apri_porta(int numero)
{
    Porta p{std::make_shared<httplib::Server>(), numero, chiave_nuova()};
    httplib::Server& s = *p.server;
    s.set_tcp_nodelay(true);
    // Not SO_REUSEPORT, with which a second program would share the port.
    s.set_socket_options([](socket_t presa) {
        const int si = 1;
        setsockopt(presa, SOL_SOCKET, SO_REUSEADDR, &si, sizeof si);
    });
    if (numero == 0)
        p.numero = s.bind_to_any_port(QUI);
    if (p.numero <= 0 || (numero != 0 && !s.bind_to_port(QUI, numero)))
        fallisci("cannot listen on port %d: another program does, or it is not allowed", numero);
    s.new_task_queue = [] { return new Fili; };  // NOLINT(cppcoreguidelines-owning-memory): theirs
    s.set_keep_alive_max_count(1u << 20);
    s.set_keep_alive_timeout(ATTESA);
    s.set_read_timeout(ATTESA);
    s.set_write_timeout(ATTESA);
    s.set_payload_max_length(CORPO_LIMITE);
    s.set_default_headers(
        {{"Content-Security-Policy", "default-src 'self'; frame-ancestors 'none'"},
         {"Cache-Control", "no-store"},
         {"Cross-Origin-Resource-Policy", "same-origin"},
         {"Referrer-Policy", "no-referrer"},
         {"X-Content-Type-Options", "nosniff"}});
    for (const Pagina& pagina : PAGINE)
        s.Get(pagina.percorso, [&pagina, mia = biscotto(p)](const auto&, httplib::Response& r) {
            r.set_content(pagina.testo, pagina.tipo);
            if (pagina.percorso == std::string_view("/"))
                r.set_header("Set-Cookie", mia + "; Path=/; HttpOnly; SameSite=Strict");
        });
    return p;
}

std::string indirizzo(const Porta& p)
{
    return sprintf("http://%s:%d/?key=%s", QUI, p.numero, p.chiave);
}

Consegna in_json(const Json& j)
{
    // The addition to the type keeps the server from packing the text, which takes longer than to
    // send it.
    return {testo_di(j), "application/json; charset=utf-8"};
}

void ascolta(Porta& p, const std::string& percorso,
             const std::function<Consegna(const Json&)>& rispondi)
{
    p.server->Post(percorso, [=](const httplib::Request& q, httplib::Response& r) {
        const auto manda = [&r](const Consegna& cosa, int stato) {
            r.status = cosa.corpo.empty() ? 204 : stato;
            if (!cosa.misure.empty())
                r.set_header("X-Misure", cosa.misure);
            if (!cosa.corpo.empty())
                r.set_content(cosa.corpo, cosa.tipo);
        };
        const auto no = [&manda](const std::string& testo, int stato) {
            manda(in_json({{"errore", testo}}), stato);
        };
        try {
            manda(rispondi(leggi_corpo(q.body)), 200);
        } catch (const Errore& e) {
            no(e.testo, e.uscita == USO ? 400 : 500);
        } catch (const Json::exception&) {
            no("the request is not one of this page's", 400);
        } catch (const std::bad_alloc&) {
            no("memory has run out", 500);
        } catch (const std::exception& e) {
            no(in_una_riga(e.what()), 500);
        }
    });
}

void finisci(Porta& p)
{
    p.server->stop();
}

void servi(Porta& p)
{
    p.server->set_pre_routing_handler([&p](const httplib::Request& q, httplib::Response& r) {
        const auto [stato, testo] = rifiuto(p, q);
        if (stato == 0)
            return httplib::Server::HandlerResponse::Unhandled;
        r.status = stato;
        r.set_header("Connection", "close");
        r.set_content(std::string(testo) + "\n", "text/plain; charset=utf-8");
        return httplib::Server::HandlerResponse::Handled;
    });
    p.server->listen_after_bind();
}

}  // namespace varno::provino
