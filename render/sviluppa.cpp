#include "render/sviluppa.h"

#include "fx/fx.h"

#include <cstddef>

namespace varno {

void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta)
{
    if (!ha_effetti(ricetta) && separate(sorgente, uscita, larghezza, altezza)) {
        passata_colore_diretta(lut, sorgente, uscita, larghezza, altezza);
        return;
    }
    Arena arena;
    const std::size_t pixel =
        static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza);
    Immagine immagine = piano_di_lavoro(pixel * 3, &arena);
    Piano alfa = piano_di_lavoro(pixel, &arena);
    const bool con_luma = legge_luma(ricetta);
    Piano luma = piano_di_lavoro(con_luma ? pixel : 0, &arena);
    passata_colore(lut, sorgente, immagine, alfa, larghezza, altezza, con_luma ? &luma : nullptr);
    applica_fx(immagine, luma, larghezza, altezza, ricetta);
    passata_scrittura(immagine, alfa, uscita, larghezza, altezza);
}

}  // namespace varno
