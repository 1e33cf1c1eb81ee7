// The plan of a frame, with the windows as its doors.
#include "render/sviluppa.h"

#include "fx/fx.h"
#include "render/passata.h"

#include <cstddef>
#include <cstdint>

namespace varno {

void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta)
{
    const Strada strada = separate(sorgente, uscita, larghezza, altezza) ? Strada::DA_FUORI_A_FUORI
                                                                         : Strada::TUTTE_PRIMA;
    const Programma programma =
        programma_di(ricetta, larghezza, altezza, strada, riduzione_di(larghezza, altezza));
    const std::size_t pixel =
        static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza);
    Arena arena;
    Immagine immagine = piano_di_lavoro(tiene_immagine(programma) ? pixel * 3 : 0, &arena);
    Alfa alfa;
    if (!solo_passaggio(programma))
        alfa = alfa_di(larghezza, altezza, &arena);
    const Porte porte = {
        .entra = [&](float* rgb,
                     std::uint64_t y) { passata_colore(lut, sorgente, larghezza, y, rgb, alfa); },
        .esce = [&](const float* rgb,
                    std::uint64_t y) { passata_scrittura(rgb, alfa, uscita, larghezza, y); },
        .passa = [&](std::uint64_t y) { passata_diretta(lut, sorgente, uscita, larghezza, y); },
    };
    esegui(programma, immagine, porte, arena);
}

}  // namespace varno
