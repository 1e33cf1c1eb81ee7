// The cameras' transfer curves, as samples.
#pragma once

namespace varno {

/// Samples of a transfer curve: entry i is the linear value of code value i / 4095.
constexpr int CAMPIONI_CURVA = 4096;

/// The transfer curves, inverted, as constant data: linear light before the camera's matrix, with
/// no clamp at either end.
extern const float CURVA_SLOG3[CAMPIONI_CURVA];
extern const float CURVA_LOGC3[CAMPIONI_CURVA];
extern const float CURVA_LOGC4[CAMPIONI_CURVA];
extern const float CURVA_CANON_LOG3[CAMPIONI_CURVA];
extern const float CURVA_VLOG[CAMPIONI_CURVA];
extern const float CURVA_FLOG[CAMPIONI_CURVA];
extern const float CURVA_FLOG2[CAMPIONI_CURVA];
extern const float CURVA_LOG3G10[CAMPIONI_CURVA];
extern const float CURVA_NLOG[CAMPIONI_CURVA];
extern const float CURVA_DLOG[CAMPIONI_CURVA];
extern const float CURVA_APPLE_LOG[CAMPIONI_CURVA];
extern const float CURVA_SLOG2[CAMPIONI_CURVA];
extern const float CURVA_CANON_LOG2[CAMPIONI_CURVA];
extern const float CURVA_LLOG[CAMPIONI_CURVA];
extern const float CURVA_BT709[CAMPIONI_CURVA];
extern const float CURVA_SRGB[CAMPIONI_CURVA];

}  // namespace varno
