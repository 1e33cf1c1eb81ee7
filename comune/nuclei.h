// The levels: the vector kernels once for each instruction set, and which of them is in use.
#pragma once

namespace varno {

struct Effetto;
struct NucleiColore;
struct NucleiPiani;
struct NucleiTabella;

/// The kernels of one instruction set, a table for each group of them. A group is a .cpp file that
/// is built once a level; its arithmetic is written once and gives the same bits on every level.
struct Nuclei {
    const char* nome;              // "base", "avx2"
    const Effetto* const* catena;  // fx/catena.cpp: the effects in their order, ended by null
    const NucleiColore& colore;    // colore/nuclei_colore.h
    const NucleiPiani& piani;      // fx/nuclei_piani.h
    const NucleiTabella& tabella;  // render/nuclei_tabella.h
};

/// The level chosen once when the module is loaded: the widest that processor and system support.
extern const Nuclei* gNuclei;

/// All levels that this build has and this machine can run, narrowest first, ended by null; tests
/// put one of them into gNuclei while nothing runs.
const Nuclei* const* livelli_disponibili();

}  // namespace varno
