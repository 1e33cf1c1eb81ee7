// Options that several commands have.
#include "tools/comandi/comandi.h"

#include "tools/messaggi.h"

namespace varno::provino {

Opzioni unite(std::initializer_list<Opzioni> gruppi)
{
    Opzioni tutte;
    for (const Opzioni& g : gruppi)
        tutte.insert(tutte.end(), g.begin(), g.end());
    return tutte;
}

// clang-format off
Opzione opzione_plugin(std::string& dove)
{
    return {"--plugin", &dove, "The plug-in: a bundle, its folder or an .ofx file"};
}

Opzione opzione_sostituisci(bool& dove)
{
    return {"--overwrite", &dove, "Replace outputs that exist"};
}

Opzioni opzioni_parametri(OpzioniParametri& o)
{
    return {opzione_plugin(o.plugin),
            {"-p,--param", &o.valori, "name=value; a look loads its recipe, as in a host, and what follows overrides it"},
            {"--key", &o.chiavi, "name@time=value; numbers are drawn linearly between keys"},
            {"--settings", &o.da_file, "Settings as --save-settings wrote them"},
            {"--settings-from", &o.da_foto, "A picture that provino developed, for its settings"}};
}

Opzioni opzioni_scelta(Scelta& o)
{
    return {{"--part", &o.parte, "Part of a multi-part EXR, by number from 0 or name"},
            {"--layer", &o.strato, "Layer of an EXR, or one channel alone, as grey"}};
}

Opzioni opzioni_filmato(ColoriFilmato& o)
{
    return {{"--matrix", &o.matrice, "709, 601 or 2020: of a movie, whatever it tells", {.proposte = {"709", "601", "2020"}}},
            {"--range", &o.gamma, "legal or full: of a movie, whatever it tells", {.valori = {"legal", "full"}}}};
}

Opzioni opzioni_scrittura(Scrittura& o)
{
    return {{"--depth", &o.profondita, "half, float, uint16, uint10 or uint8, as the format has it",
             {.proposte = {"half", "float", "uint16", "uint10", "uint8"}}},
            {"--compression", &o.compressione, "zip, piz, dwaa:45, lzw, jpeg:90 ...; zip:1 to zip:9 with a level",
             {.proposte = {"none", "rle", "zip", "zips", "piz", "pxr24", "b44", "b44a", "dwaa", "dwab", "lzw", "packbits", "jpeg:90"}}},
            opzione_sostituisci(o.sovrascrivi)};
}

Opzioni opzioni_voce()
{
    return {{"--quiet", &gVoce.muta, "Tell nothing but errors and what is lost"},
            {"--json", &gVoce.json, "Tell progress and notes as lines of JSON"}};
}
// clang-format on

}  // namespace varno::provino
