// The cameras' transfer curves, as samples.
#pragma once

#include "comune/regole.h"

#include <array>

namespace varno {

constexpr int CAMPIONI_CURVA = 4096;

/// Samples of a transfer curve: entry i is the linear value of code value i / 4095.
using CampioniCurva = std::array<float, CAMPIONI_CURVA>;

/// The transfer curves, inverted, as constant data: linear light before the camera's matrix, with
/// no clamp at either end. The compiler works them out, to the same bits everywhere.
extern const CampioniCurva CURVA_SLOG3;
extern const CampioniCurva CURVA_LOGC3;
extern const CampioniCurva CURVA_LOGC4;
extern const CampioniCurva CURVA_CANON_LOG3;
extern const CampioniCurva CURVA_VLOG;
extern const CampioniCurva CURVA_FLOG;
extern const CampioniCurva CURVA_FLOG2;
extern const CampioniCurva CURVA_LOG3G10;
extern const CampioniCurva CURVA_NLOG;
extern const CampioniCurva CURVA_DLOG;
extern const CampioniCurva CURVA_APPLE_LOG;
extern const CampioniCurva CURVA_SLOG2;
extern const CampioniCurva CURVA_CANON_LOG2;
extern const CampioniCurva CURVA_LLOG;
extern const CampioniCurva CURVA_BT709;
extern const CampioniCurva CURVA_SRGB;

}  // namespace varno
