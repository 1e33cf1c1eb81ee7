// The mode's register: MXCSR on x86-64, FPCR on 64-bit ARM.
#include "comune/modo.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace varno {
namespace {

#if defined(__x86_64__)
constexpr std::uint64_t NORMALE = 0x1f80;  // all exceptions masked
#else
constexpr std::uint64_t NORMALE = 0;
#endif

}  // namespace

std::uint64_t modo()
{
#if defined(__x86_64__)
    return _mm_getcsr();
#elif defined(__aarch64__)
    std::uint64_t valore;
    __asm__ volatile("mrs %0, fpcr" : "=r"(valore) : : "memory");
    return valore;
#else
    return NORMALE;
#endif
}

void imposta_modo([[maybe_unused]] std::uint64_t valore)
{
#if defined(__x86_64__)
    _mm_setcsr(static_cast<unsigned>(valore));
#elif defined(__aarch64__)
    __asm__ volatile("msr fpcr, %0" : : "r"(valore) : "memory");
#endif
}

ModoNormale::ModoNormale() : prima(modo())
{
    imposta_modo(NORMALE);
}

ModoNormale::~ModoNormale()
{
    imposta_modo(prima);
}

}  // namespace varno
