// Refuses the arithmetic that changes pixels. The flags of varno_regole in CMakeLists.txt keep it
// out, whatever a packager asks for; this finds what they cannot.
#pragma once

#if defined(__FAST_MATH__) || __FINITE_MATH_ONLY__ || defined(__ASSOCIATIVE_MATH__) ||             \
    defined(__RECIPROCAL_MATH__) || defined(__NO_SIGNED_ZEROS__)
#error "fast-math, in whole or in part, changes pixels: build without it"
#endif

#if __FLT_EVAL_METHOD__ != 0
#error "floats must be computed as floats: not on the x87"
#endif

// GCC's own word on it: constants in single precision, and what else may come.
#if defined(__GCC_IEC_559) && __GCC_IEC_559 < 2
#error "arithmetic must be that of IEEE 754"
#endif
