// Built once for each instruction set: VARNO_LIVELLO names the namespace, VARNO_LIVELLO_NOME its
// text. A group of kernels is a table of function pointers (fx/nuclei_<group>.h), filled by
// fx/nuclei_<group>.inl, whose arithmetic uses comune/vettore.h alone. No inline function and no
// template of the standard library or of another header may be used: the linker would keep one
// copy of it for all levels, perhaps the widest. C headers and C functions (powf) are fine.
#include "fx/nuclei.h"

#include "comune/vettore.h"
#include "fx/nuclei_aloni.h"
#include "fx/nuclei_blur.h"
#include "fx/nuclei_effetti.h"
#include "render/nuclei_tabella.h"

#include "fx/nuclei_aloni.inl"
#include "fx/nuclei_blur.inl"
#include "fx/nuclei_effetti.inl"
#include "render/nuclei_tabella.inl"

namespace varno {
namespace VARNO_LIVELLO {

extern const Nuclei NUCLEI;
const Nuclei NUCLEI = {
    VARNO_LIVELLO_NOME, ALONI, BLUR, EFFETTI, TABELLA,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
