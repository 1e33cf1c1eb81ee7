// The door: HTTP on this machine alone, and only for whoever holds the key.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace httplib {
class Server;
}

namespace varno::provino {

using Json = nlohmann::ordered_json;

/// The page's own files, built into the program.
struct Pagina {
    const char *percorso, *tipo, *testo;
};
extern const std::vector<Pagina> PAGINE;

/// A server of the page on 127.0.0.1 whose every request must carry the key: in the address at
/// first, then in a cookie, which the page hands over. Bodies are JSON objects of 64 KB at most.
struct Porta {
    std::shared_ptr<httplib::Server> server;
    int numero = 0;
    std::string chiave;
};

/// 128 random bits as text. Throws Errore.
std::string chiave_nuova();

/// Takes a port, any free one for 0, and serves nothing yet. Throws Errore where it cannot be had.
Porta apri_porta(int numero);

/// The address with the key in it.
std::string indirizzo(const Porta& p);

/// An answer; one without a body says that there is nothing to show any more.
struct Consegna {
    std::string corpo;
    const char* tipo = "";
    std::string misure = {};  // of a frame, told beside it
};
Consegna in_json(const Json& j);

/// Answers each object that is sent to a path, from several threads at once. What the function
/// throws becomes a line of JSON, {"errore": ...}.
void ascolta(Porta& p, const std::string& percorso,
             const std::function<Consegna(const Json&)>& rispondi);

/// Serves until finisci() is called, from any thread.
void servi(Porta& p);
void finisci(Porta& p);

}  // namespace varno::provino
