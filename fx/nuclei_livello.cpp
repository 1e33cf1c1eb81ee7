// Built once for each instruction set: VARNO_LIVELLO names the namespace, VARNO_LIVELLO_NOME its
// text. No inline function and no template of the standard library may be used here: the linker
// would keep one copy of it for all levels.
#include "fx/nuclei.h"

namespace varno {
namespace VARNO_LIVELLO {

extern const Nuclei NUCLEI;
const Nuclei NUCLEI = {
    VARNO_LIVELLO_NOME,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
