#pragma once

#include "comune/piano.h"

namespace varno {

struct NucleiAlone;
struct Quadro;

/// Box filter repeated passate times on a plane of larghezza x altezza, in place: a running sum
/// over 2 * raggio + 1 samples with replicated edges, rows before columns. raggio in pixels; below
/// 1 nothing happens and nothing is allocated. Throws std::bad_alloc.
void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate);

/// The same as a plane of its own, from the same memory; the original stays.
Piano sfocata_di(const Piano& piano, int larghezza, int altezza, int raggio, int passate);

/// box_blur three times on a copy reduced by riduzione, then enlarged bilinearly over the plane;
/// with riduzione below 2 the plane itself. raggio in pixels of the full plane. The enlargement is
/// not centred: sample k lies at full-size position k * riduzione.
void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

/// The same along rows only, always through a copy, with riduzione 1 too.
void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

/// The blurred mask of a glow on its reduced copy: what blur_su_ridotta has before it enlarges.
struct Alone {
    Piano piani;    // one, three or four planes of larghezza x altezza, one after the other
    int larghezza;  // samples
    int altezza;
    int riduzione;  // 0: a copy of the frame's own size that needs no enlargement
};

/// Masks the picture row by row, reduces, and blurs as blur_su_ridotta does. Bit for bit what the
/// same steps give on full planes, which are never stored. Throws std::bad_alloc.
Alone alone_di(const Quadro& q, const NucleiAlone& nuclei, int raggio, int riduzione);

/// The same, reduced and not blurred.
Alone ridotta_di(const Quadro& q, const NucleiAlone& nuclei, int riduzione);

/// The same, blurred as blur_orizz_su_ridotta does.
Alone alone_orizzontale_di(const Quadro& q, const NucleiAlone& nuclei, int raggio, int riduzione);

/// Enlarges the glow row by row and lays it over the picture; q.luma stays.
void componi_alone(const Quadro& q, const NucleiAlone& nuclei, const Alone& alone, float quantita);

/// The same, and q.luma is refreshed from the result on the way, where it is read again. media:
/// mean of the frame's luminance, for the glow that has a veil.
void componi_alone_e_luma(const Quadro& q, const NucleiAlone& nuclei, const Alone& alone,
                          float quantita, float media = 0.0f);

}  // namespace varno
