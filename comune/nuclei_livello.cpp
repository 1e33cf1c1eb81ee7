// The table of a level's groups. Built once for each instruction set, as every file that
// cmake/nuclei.cmake lists: VARNO_LIVELLO names the namespace, VARNO_LIVELLO_NOME its text. Such a
// file may use comune/vettore.h, C headers and C functions, and no inline function and no template
// of the standard library or of another header: the linker would keep one copy of it for all
// levels, perhaps the widest.
#include "comune/nuclei.h"

namespace varno {
namespace VARNO_LIVELLO {

extern const Effetto* const CATENA[];
extern const NucleiColore COLORE;
extern const NucleiPiani PIANI;
extern const NucleiTabella TABELLA;

extern const Nuclei NUCLEI;
const Nuclei NUCLEI = {
    .nome = VARNO_LIVELLO_NOME,
    .catena = CATENA,
    .colore = COLORE,
    .piani = PIANI,
    .tabella = TABELLA,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
