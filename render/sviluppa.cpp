#include "render/sviluppa.h"

#include "fx/fx.h"
#include "render/passata.h"

#include <cstddef>
#include <cstdint>

namespace varno {

void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta)
{
    const bool separati = separate(sorgente, uscita, larghezza, altezza);
    if (!ha_effetti(ricetta) && separati) {
        passata_colore_diretta(lut, sorgente, uscita, larghezza, altezza);
        return;
    }
    Arena arena;
    const std::size_t pixel =
        static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza);
    Immagine immagine = piano_di_lavoro(pixel * 3, &arena);
    Alfa alfa = alfa_di(larghezza, altezza, &arena);
    const Consegna scrivi = [&](const float* rgb, std::uint64_t y) {
        passata_scrittura(rgb, alfa, uscita, larghezza, y);
    };
    if (!legge_immagine(ricetta) && separati) {
        applica_fx_a_righe(
            immagine, larghezza, altezza, ricetta,
            [&](const RigaDiPixel& r, std::uint64_t y) {
                colora_riga(lut, sorgente, larghezza, y, r.a, alfa);
            },
            scrivi);
        return;
    }
    const bool con_luma = legge_luma(ricetta);
    Piano luma = piano_di_lavoro(con_luma ? pixel : 0, &arena);
    passata_colore(lut, sorgente, immagine, alfa, larghezza, altezza, con_luma ? &luma : nullptr);
    applica_fx(immagine, luma, larghezza, altezza, ricetta, scrivi);
}

}  // namespace varno
