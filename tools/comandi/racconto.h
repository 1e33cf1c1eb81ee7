// How a run goes on, told to people or machines.
#pragma once

#include "tools/quadri/catena.h"

#include <OpenImageIO/timer.h>

#include <cstddef>
#include <vector>

namespace varno::provino {

enum class Voce { righe, barra, json, muta };

/// Tells people or machines how a run goes on.
struct Racconto {
    Voce voce = Voce::righe;
    OIIO::Timer trascorsi;  // seconds
    std::size_t fatti = 0, saltati = 0;
    std::vector<double> falliti;  // their times
};

/// Lines where there are few frames or no terminal, else a bar; first the plug-in's file.
Racconto racconto_nuovo(bool json, bool muto, std::size_t fotogrammi, const std::string& plugin);

/// One frame more. A closed output is no reason to stop, and passed over.
void racconta(Racconto& r, const Lavoro& lavoro, const Resoconto& fotogramma);

/// The end: how many, how fast, and which frames failed.
void concludi(Racconto& r, const Lavoro& lavoro);

}  // namespace varno::provino
