// Which level the processor and the system can run.
#include "comune/nuclei.h"

namespace varno {

namespace nuclei_base {
extern const Nuclei NUCLEI;
}
#ifdef VARNO_HA_AVX2
namespace nuclei_avx2 {
extern const Nuclei NUCLEI;
}
#endif

namespace {

struct Livelli {
    const Nuclei* elenco[3] = {&nuclei_base::NUCLEI, nullptr, nullptr};
    int quanti = 1;

    Livelli()
    {
#ifdef VARNO_HA_AVX2
        __builtin_cpu_init();  // this may run before the compiler's library has started itself
        if (__builtin_cpu_supports("avx2"))  // and the system saves the wide registers
            elenco[quanti++] = &nuclei_avx2::NUCLEI;
#endif
    }
};

const Livelli LIVELLI;

}  // namespace

const Nuclei* gNuclei = LIVELLI.elenco[LIVELLI.quanti - 1];

const Nuclei* const* livelli_disponibili()
{
    return LIVELLI.elenco;
}

}  // namespace varno
