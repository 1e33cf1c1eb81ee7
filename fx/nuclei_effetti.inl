namespace varno {
namespace VARNO_LIVELLO {

const NucleiEffetti EFFETTI = {};

}  // namespace VARNO_LIVELLO
}  // namespace varno
