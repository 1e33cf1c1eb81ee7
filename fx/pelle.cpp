// Skin diffusion: fine texture of luminance taken out.
#include "fx/dettaglio.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Pelle {
    static constexpr float PENDENZA = -1.6f;  // detail taken out at an amount of 1
};

}  // namespace

extern const Effetto PELLE;
constinit const Effetto PELLE = alone<Dettaglio<Pelle>>({
    .quantita = &FxRicetta::pelle,
    .prepara = &BOX_BLUR,
    .raggio = 0.007,  // pores, not features
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
