// How a run goes on, told to people or machines.
#pragma once

#include "tools/quadri/catena.h"

#include <OpenImageIO/timer.h>

#include <cstddef>
#include <string>
#include <vector>

namespace varno::provino {

/// Tells people or machines how a run goes on.
struct Racconto {
    bool con_barra = false;  // in place of lines
    OIIO::Timer trascorsi;   // seconds
    std::size_t fatti = 0, saltati = 0;
    std::vector<double> falliti;  // their times
};

/// The first line of a run: the plug-in's file.
void di_plugin(const std::string& file);

/// A file that was written, which JSON tells and lines need not.
void di_scritta(const std::string& file);

/// Lines where there are few frames or no terminal, else a bar.
Racconto racconto_nuovo(std::size_t fotogrammi);

/// One frame more. A closed output is no reason to stop, and passed over.
void racconta(Racconto& r, const Lavoro& lavoro, const Resoconto& fotogramma);

/// The end: how many, how fast, and which frames failed.
void concludi(Racconto& r, const Lavoro& lavoro);

}  // namespace varno::provino
