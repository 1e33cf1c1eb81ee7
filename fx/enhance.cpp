// Enhance: local contrast on luminance.
#include "fx/dettaglio.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Enhance {
    static constexpr float PENDENZA = 2.0f;  // detail added at an amount of 1
};

}  // namespace

extern const Effetto ENHANCE;
constinit const Effetto ENHANCE = alone<Dettaglio<Enhance>>({
    .quantita = &FxRicetta::enhance,
    .prepara = &BOX_BLUR,
    .raggio = 0.012,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
