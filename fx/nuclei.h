#pragma once

namespace varno {

/// The kernels of one instruction set. The arithmetic is written once, in fx/nuclei_livello.cpp,
/// and gives the same bits on every level.
struct Nuclei {
    const char* nome;  // "base", "avx2"
};

/// The level chosen once when the module is loaded: the widest that processor and system support.
extern const Nuclei* gNuclei;

/// All levels that this build has and this machine can run, narrowest first, ended by null; tests
/// put one of them into gNuclei while nothing runs.
const Nuclei* const* livelli_disponibili();

}  // namespace varno
