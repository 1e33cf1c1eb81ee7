// The chain: all effects in the order in which a frame passes them.
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {

extern const Effetto ENHANCE, PELLE, HALATION, BLOOM, STREAK, PROMIST, STELLA, MISTW, GLIMMER,
    ABERRAZIONE, VIGNETTA, GRANA;

extern const Effetto* const CATENA[];
const Effetto* const CATENA[] = {
    &ENHANCE, &PELLE,   &HALATION,    &BLOOM,    &STREAK, &PROMIST, &STELLA,
    &MISTW,   &GLIMMER, &ABERRAZIONE, &VIGNETTA, &GRANA,  nullptr,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
