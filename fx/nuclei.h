#pragma once

namespace varno {

struct NucleiAloni;
struct NucleiBlur;
struct NucleiEffetti;
struct NucleiTabella;

/// The kernels of one instruction set, a table for each group of them. Their arithmetic is written
/// once, in the .inl files of fx/, and gives the same bits on every level.
struct Nuclei {
    const char* nome;  // "base", "avx2"
    const NucleiAloni& aloni;
    const NucleiBlur& blur;
    const NucleiEffetti& effetti;
    const NucleiTabella& tabella;
};

/// The level chosen once when the module is loaded: the widest that processor and system support.
extern const Nuclei* gNuclei;

/// All levels that this build has and this machine can run, narrowest first, ended by null; tests
/// put one of them into gNuclei while nothing runs.
const Nuclei* const* livelli_disponibili();

}  // namespace varno
