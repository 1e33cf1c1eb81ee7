#pragma once

#include "fx/piano.h"

namespace varno {

/// Box filter repeated passate times on a plane of larghezza x altezza, in place: a running sum
/// over 2 * raggio + 1 samples with replicated edges, rows before columns. raggio in pixels; below
/// 1 nothing happens and nothing is allocated. Throws std::bad_alloc.
void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate);

/// box_blur three times on a copy reduced by riduzione, then enlarged bilinearly over the plane;
/// with riduzione below 2 the plane itself. raggio in pixels of the full plane. The enlargement is
/// not centred: sample k lies at full-size position k * riduzione.
void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

/// The same along rows only, always through a copy, with riduzione 1 too.
void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione);

}  // namespace varno
