// The effects that are not glows; the taps of the star stand with the rest of it.
#include "fx/aberrazione.inl"
#include "fx/dettaglio.inl"
#include "fx/grana.inl"
#include "fx/vignetta.inl"

namespace varno {
namespace VARNO_LIVELLO {

const NucleiEffetti EFFETTI = {
    dettaglio, vignetta, limita, grana, rosso_e_blu, aberrazione, somma_pesata,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
