// Where bundles are looked for, and which binary in them is this system's.
#include "banco/banco.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <system_error>

#if !defined(_WIN32) && !defined(__APPLE__)
#include <sys/utsname.h>
#endif

namespace fs = std::filesystem;

namespace varno::banco {
namespace {

constexpr const char* FINE_BUNDLE = ".ofx.bundle";

std::vector<std::string> architetture()
{
#if defined(_WIN32)
    return {"Win64"};
#elif defined(__APPLE__) && defined(__x86_64__)
    return {"MacOS-x86-64", "MacOS"};
#elif defined(__APPLE__)
    return {"MacOS"};
#elif defined(__x86_64__)
    return {"Linux-x86-64"};
#else
    utsname sistema{};
    uname(&sistema);
    return {std::string("Linux-") + sistema.machine};
#endif
}

#if defined(_WIN32)
using Testo = std::wstring;
Testo ambiente(const wchar_t* nome)
{
    const wchar_t* v = _wgetenv(nome);
    return v != nullptr ? v : L"";
}
#define VARNO_TESTO(t) L##t
#else
using Testo = std::string;
Testo ambiente(const char* nome)
{
    const char* v = std::getenv(nome);
    return v != nullptr ? v : "";
}
#define VARNO_TESTO(t) t
#endif

const Testo& separatori()
{
#if defined(_WIN32)
    static const Testo s = L";";
#elif defined(__APPLE__)
    static const Testo s = ";:";  // the first by the letter, the second by custom
#else
    static const Testo s = ":";
#endif
    return s;
}

bool e_bundle(const fs::path& p)
{
    const std::string nome = p.filename().string();
    const std::string fine = FINE_BUNDLE;
    return nome.size() > fine.size() &&
           nome.compare(nome.size() - fine.size(), fine.size(), fine) == 0;
}

void cerca_in(const fs::path& cartella, std::set<fs::path>& viste, std::vector<Trovato>& trovati)
{
    std::error_code errore;
    const fs::path vera = fs::canonical(cartella, errore);
    if (errore || !viste.insert(vera).second)  // links may lead in circles
        return;
    std::vector<fs::path> figli;
    for (fs::directory_iterator i(cartella, errore), fine; !errore && i != fine;
         i.increment(errore))
        figli.push_back(i->path());
    std::sort(figli.begin(), figli.end());
    for (const fs::path& figlio : figli) {
        if (figlio.filename().string().front() == '@' || !fs::is_directory(figlio, errore))
            continue;
        if (e_bundle(figlio))
            trovati.push_back({figlio, binario_di(figlio)});
        else
            cerca_in(figlio, viste, trovati);
    }
}

}  // namespace

std::vector<fs::path> cartelle_di_ricerca()
{
    std::vector<fs::path> cartelle;
    const Testo elenco = ambiente(VARNO_TESTO("OFX_PLUGIN_PATH"));
    for (std::size_t da = 0; da <= elenco.size();) {
        const std::size_t a = std::min(elenco.find_first_of(separatori(), da), elenco.size());
        if (a > da)
            cartelle.emplace_back(elenco.substr(da, a - da));
        da = a + 1;
    }
#if defined(_WIN32)
    const Testo comuni = ambiente(L"CommonProgramFiles");
    cartelle.push_back(fs::path(comuni.empty() ? L"C:\\Program Files\\Common Files" : comuni) /
                       "OFX" / "Plugins");
#elif defined(__APPLE__)
    cartelle.emplace_back("/Library/OFX/Plugins");
#else
    cartelle.emplace_back("/usr/OFX/Plugins");
#endif
    return cartelle;
}

std::vector<Trovato> cerca(const std::vector<fs::path>& cartelle)
{
    std::vector<Trovato> trovati;
    std::set<fs::path> viste;
    for (const fs::path& c : cartelle)
        cerca_in(c, viste, trovati);
    return trovati;
}

fs::path binario_di(const fs::path& bundle_o_binario)
{
    fs::path p = bundle_o_binario;
    if (!p.has_filename())  // a trailing slash
        p = p.parent_path();
    if (!e_bundle(p))
        return p;
    for (const std::string& a : architetture()) {
        fs::path binario = p / "Contents" / a / p.stem();
        std::error_code errore;
        if (fs::is_regular_file(binario, errore))
            return binario;
    }
    return {};
}

}  // namespace varno::banco
