// How a run goes on, told to people or machines.
#pragma once

#include "tools/quadri/catena.h"

#include <string>
#include <vector>

namespace varno::provino {

/// The first line of a run: the plug-in's file.
void di_plugin(const std::string& file);

/// A file that was written, which JSON tells and lines need not.
void di_scritta(const std::string& file);

/// Does the work and tells of it: lines where there are few frames or no terminal, else a bar, and
/// at the end how many, how fast, and which frames failed. A closed output is no reason to stop.
/// Returns whether all went well.
bool esegui_e_racconta(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze);

}  // namespace varno::provino
