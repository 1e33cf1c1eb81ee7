// The planes of an effect: how large they are, and how they are blurred.
#pragma once

#include "comune/piano.h"
#include "fx/nuclei_piani.h"

#include <cstddef>
#include <cstdint>

namespace varno {

/// Planes that an effect makes of a frame, one after the other: reduced copies, or of the frame's
/// own size with riduzione 1.
struct Forma {
    int quadro_larghezza = 0;  // of the frame, pixels
    int quadro_altezza = 0;
    int riduzione = 1;  // 1 to 4
    int piani = 0;
    int larghezza = 0;  // of a plane, samples
    int altezza = 0;
    int raggio = 0;  // of its blur, samples
};

constexpr int PASSATE = 3;                 // of every blur of the chain
constexpr std::int64_t RIGHE_INSIEME = 8;  // rows that a kernel sums in lockstep, at most

/// raggio in pixels of the frame, at least 1.
Forma forma_di(int quadro_larghezza, int quadro_altezza, int riduzione, int piani, int raggio);

inline std::size_t campioni_di(const Forma& f)
{
    return static_cast<std::size_t>(f.larghezza) * static_cast<std::size_t>(f.altezza) *
           static_cast<std::size_t>(f.piani);
}

inline Blocchi blocchi_di(const Forma& f)
{
    return {f.quadro_larghezza, f.larghezza, f.riduzione,
            f.quadro_altezza < f.riduzione ? f.quadro_altezza : f.riduzione};
}

/// The row y of the plane p.
inline float* riga_di(float* piani, const Forma& f, int p, std::int64_t y)
{
    return piani + (std::int64_t{p} * f.altezza + y) * f.larghezza;
}

/// Row y of the frame, enlarged bilinearly from the plane p into riga. The enlargement is not
/// centred: sample k lies at full-size position k * riduzione.
void ingrandisci_riga(const float* piani, const Forma& f, int p, std::int64_t y, float* riga);

/// Floats of scratch that sfoca_righe needs.
std::size_t appoggio_righe(const Forma& f);

/// The horizontal half of one pass of the box filter, on neighbouring rows of samples in place: a
/// running sum over 2 * raggio + 1 samples with replicated edges.
void sfoca_righe(float* righe, std::int64_t quante, const Forma& f, float* appoggio);

/// Box filter repeated passate times on all planes, in place, rows before columns; the rows of the
/// first pass are done already where righe_fatte. Throws std::bad_alloc.
void sfoca(float* piani, const Forma& f, int passate, bool righe_fatte, Arena* arena);

/// The same on a plane of larghezza x altezza. raggio in pixels; below 1 nothing happens and
/// nothing is allocated.
void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate);

/// box_blur three times on a copy reduced by riduzione, then enlarged over the plane; with
/// riduzione below 2 the plane itself. raggio in pixels of the full plane.
void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

/// The same along rows only, always through a copy, with riduzione 1 too.
void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

}  // namespace varno
