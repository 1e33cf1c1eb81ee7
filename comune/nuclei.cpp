// Which level the processor and the system can run.
#include "comune/nuclei.h"

#include <cstdint>

#ifdef VARNO_HA_AVX2
#include <cpuid.h>
#endif

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

#ifdef VARNO_HA_AVX2
// The processor's word is not enough: the system must save the upper halves of the registers too.
bool avx2_usabile()
{
    constexpr unsigned OSXSAVE = 1u << 27;
    constexpr unsigned AVX = 1u << 28;
    constexpr unsigned AVX2 = 1u << 5;
    constexpr unsigned SSE_E_AVX = 0x6;  // XCR0: state of xmm and of the upper halves of ymm
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & (OSXSAVE | AVX)) != (OSXSAVE | AVX))
        return false;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0 || (b & AVX2) == 0)
        return false;
    std::uint32_t xcr0 = 0;
    std::uint32_t alto = 0;
    __asm__ volatile("xgetbv" : "=a"(xcr0), "=d"(alto) : "c"(0));
    return (xcr0 & SSE_E_AVX) == SSE_E_AVX;
}
#endif

struct Livelli {
    const Nuclei* elenco[3] = {&nuclei_base::NUCLEI, nullptr, nullptr};
    int quanti = 1;

    Livelli()
    {
#ifdef VARNO_HA_AVX2
        if (avx2_usabile())
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
