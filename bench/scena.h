// What the benchmarks render, and what they compare it with.
#pragma once

#include "colore/colore.h"
#include "fx/ricetta.h"
#include "render/lut3d.h"
#include "render/sviluppa.h"

#include <cstddef>
#include <vector>

namespace varno::bench {

/// The threads that parallel_for starts, in place of the machine's; 0 for the machine's own count.
void usa_thread(unsigned quanti);
unsigned thread_macchina();

/// Log footage of one size, as a host holds it, and the frame that it becomes: gradients with fine
/// texture, and about one pixel in a hundred in small strong lights. RGBA, every page touched.
struct Scena {
    Scena(int larghezza, int altezza);
    std::size_t pixel() const { return sorgente.size() / 4; }
    Finestra finestra_sorgente();
    Finestra finestra_uscita();

    int larghezza;
    int altezza;
    std::vector<float> sorgente;
    std::vector<float> uscita;
};

/// A look of the print or of the grade pipeline at forza, over footage of the first camera row.
Contesto contesto(bool stampa, float forza);

/// One effect, or several, with the amounts that the parameters start with.
struct Voce {
    const char* nome;
    FxRicetta ricetta;
};
FxRicetta ricetta_iniziale();  // what is on when the plug-in is put on a clip
FxRicetta ricetta_completa();
std::vector<Voce> effetti();  // each alone, in the order of the chain

/// What a render does between the host's images and its return, the table at hand.
void quadro(const Lut3D& lut, Scena& scena, const FxRicetta& ricetta);
/// The same in plain loops on one thread, with memory of its own from the standard library.
void quadro_semplice(const std::vector<float>& tavola, Scena& scena, const FxRicetta& ricetta);

/// The grading of a whole frame alone.
void in_immagine(const Lut3D& lut, Scena& scena, Piano& immagine, Piano& alfa);

/// The machine's limits. A frame copied on threads, 16 bytes a pixel; its shape changed on the way
/// as the table pass does, to RGB and alpha; and memory fresh from the system, written once.
void copia(Scena& scena);
void copia_in_piani(Scena& scena, Piano& immagine, Piano& alfa);
void primo_tocco(std::size_t byte);

}  // namespace varno::bench
