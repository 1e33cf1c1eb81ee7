// The plug-in, found and loaded in the bench host, and pictures through it.
#pragma once

#include "banco/banco.h"
#include "tools/quadri/immagini.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace varno::provino {

/// The plug-in as a host has it loaded, and the parameters that it declares.
struct Plugin {
    banco::ModuloPtr modulo;
    std::string file;  // the binary that was loaded, whole path
    std::vector<banco::Parametro> parametri;
};

/// From the path given (a bundle, a binary, or a folder that holds the bundle); without one from
/// OFX_PLUGIN_PATH, then from this program's folder or the one above, as in a build tree, then from
/// the system's folder. Throws Errore (plug-in) where there is none or it does not load.
Plugin carica_plugin(const std::string& percorso);

/// The file that is loaded where no path is given, or why there is none.
std::string file_del_plugin();

/// By its name or label. Throws Errore (usage) with the nearest one for an unknown one.
const banco::Parametro& trova_parametro(const Plugin& p, std::string_view nome);

/// "choice", "switch" or "number".
std::string_view genere(const banco::Parametro& p);

/// Develops a picture at a time into another of its size. The file's top row is the highest y: rows
/// are handed over with negative row bytes. Throws Errore where the plug-in fails.
void rendi_in(banco::Istanza& istanza, const Foto& sorgente, Foto& a, double tempo);
Foto rendi_foto(banco::Istanza& istanza, const Foto& sorgente, double tempo);

}  // namespace varno::provino
