#include "fx/nuclei.h"

namespace varno {

namespace nuclei_base {
extern const Nuclei NUCLEI;
}
#ifdef VARNO_HA_AVX2
namespace nuclei_avx2 {
extern const Nuclei NUCLEI;
}
#endif

const Nuclei* gNuclei = &nuclei_base::NUCLEI;

const Nuclei* const* livelli_disponibili()
{
    static const Nuclei* const LIVELLI[] = {&nuclei_base::NUCLEI,
#ifdef VARNO_HA_AVX2
                                            &nuclei_avx2::NUCLEI,
#endif
                                            nullptr};
    return LIVELLI;
}

}  // namespace varno
