// The clips of a run that makes a movie of each.
#include "tools/comandi/rulli.h"

#include "tools/errore.h"
#include "tools/quadri/filmato.h"
#include "tools/quadri/sorgente.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <filesystem>
#include <glob.h>
#include <map>
#include <system_error>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// What lies beside clips on a card, such as thumbnails and lists, is none.
constexpr std::string_view DESINENZE[] = {".mov", ".mp4", ".m4v", ".mxf",  ".mkv",  ".mts",
                                          ".ts",  ".avi", ".mpg", ".m2ts", ".mpeg", ".webm"};

std::vector<std::string> in_cartella(const fs::path& cartella, const fs::path& uscite)
{
    std::vector<std::string> clip;
    std::error_code errato;
    fs::recursive_directory_iterator i(cartella, fs::directory_options::skip_permission_denied,
                                       errato);
    for (; !errato && i != fs::recursive_directory_iterator(); i.increment(errato)) {
        std::error_code e;
        const bool nascosto = i->path().filename().string()[0] == '.';
        // Neither what was made before, nor what a system has thrown away.
        if (i->is_directory(e) && (nascosto || fs::equivalent(i->path(), uscite, e)))
            i.disable_recursion_pending();
        const std::string desinenza = OIIO::Strutil::lower(i->path().extension().string());
        if (i->is_regular_file(e) && !nascosto &&
            std::ranges::find(DESINENZE, desinenza) != std::end(DESINENZE))
            clip.push_back(i->path().string());
    }
    if (errato)
        fallisci("cannot read the folder " + tra_apici(cartella.string()) + ": " +
                 errato.message());
    std::ranges::sort(clip);
    return clip;
}

std::vector<std::string> trova(const std::string& nome, const std::string& uscite)
{
    std::error_code e;
    if (fs::is_directory(nome, e))
        return in_cartella(nome, uscite);
    if (fs::exists(nome, e) || nome.find_first_of("*?[") == nome.npos)
        return {nome};
    glob_t trovati{};
    std::vector<std::string> clip;
    if (glob(nome.c_str(), 0, nullptr, &trovati) == 0)
        clip.assign(trovati.gl_pathv, trovati.gl_pathv + trovati.gl_pathc);
    globfree(&trovati);
    return clip;
}

}  // namespace

std::vector<Rullo> rulli_di(const std::vector<std::string>& nomi, const std::string& cartella,
                            std::string desinenza)
{
    desinenza.insert(0, desinenza.starts_with('.') ? "" : ".");
    if (!nome_di_filmato("x" + desinenza))
        rifiuta("--as takes .mov, .mp4, .m4v, .mkv or .mxf, not " + tra_apici(desinenza));
    std::vector<Rullo> rulli;
    std::map<std::string, std::string> presi;
    for (const std::string& nome : nomi) {
        const std::vector<std::string> clip = trova(nome, cartella);
        if (clip.empty())
            fallisci("there is no clip in " + tra_apici(nome));
        for (const std::string& c : clip) {
            const auto modello = modello_letto(c);
            std::string radice = fs::path(modello ? modello->prima : c).filename().string();
            radice = modello ? radice.substr(0, radice.find_last_not_of("._-") + 1)
                             : fs::path(c).stem().string();
            if (radice.empty())
                radice = fs::absolute(c).parent_path().filename().string();
            const std::string a = fs::path(cartella) / (radice + desinenza);
            // Some file systems take A and a for one.
            const auto [altro, nuovo] = presi.emplace(OIIO::Strutil::lower(a), c);
            if (!nuovo)
                rifiuta(tra_apici(altro->second) + " and " + tra_apici(c) + " would both become " +
                        tra_apici(a));
            rulli.push_back({c, a});
        }
    }
    return rulli;
}

}  // namespace varno::provino
