#pragma once

#include "comune/piano.h"
#include "fx/finale.h"
#include "fx/ricetta.h"

namespace varno {

/// What every effect is given: the live picture, the shared luminance and the sizes of the frame.
struct Quadro {
    Immagine& img;       // interleaved RGB, larghezza * altezza * 3 floats, changed in place
    Piano& luma;         // luminance as the chain last refreshed it; not a view of img
    int larghezza;       // pixels
    int altezza;         // pixels
    int lato_max;        // longer side, pixels
    int raggio_enhance;  // pixels, before the effect's own minimum, as the two below
    int raggio_halation;
    int raggio_bloom;
    int riduzione;  // 1 to 4, divisor of the reduced copies

    bool rinfresca = true;           // whether anything reads luma after the effect at hand
    const Finale* finale = nullptr;  // where it is the last that needs the whole picture
};

/// Runs the twelve effects over a graded picture in place, in their fixed order: enhance, pelle,
/// halation, bloom, streak, promist, stella, mistw, glimmer, ca, vignetta, grana.
/// img: larghezza * altezza * 3 floats, display-encoded, meant for 0..1; nothing is checked.
/// With all amounts 0 every bit stays. Throws std::bad_alloc.
void applica_fx(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta);

/// The same with the luminance of img worked out already, where the recipe reads it; else luma may
/// be empty. It is used up, and so is img where consegna takes the finished rows.
void applica_fx(Immagine& img, Piano& luma, int larghezza, int altezza, const FxRicetta& ricetta,
                const Consegna& consegna);

/// The chain of a recipe without effects that need the whole picture: riempi puts each row into
/// place, consegna takes it. Of img only what the threads work in is ever touched.
void applica_fx_a_righe(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta,
                        const CambiaRiga& riempi, const Consegna& consegna);

/// Whether an effect is on that reads the luminance plane.
bool legge_luma(const FxRicetta& ricetta);

/// Whether an effect is on that needs the whole picture.
bool legge_immagine(const FxRicetta& ricetta);

/// Whether any effect is on.
bool ha_effetti(const FxRicetta& ricetta);

/// Sizes that follow from the frame alone; luma and img are taken over as they are.
Quadro quadro_di(Immagine& img, Piano& luma, int larghezza, int altezza);

/// Recomputes the whole of q.luma from the live picture, by rows.
void aggiorna_luma(const Quadro& q);

}  // namespace varno
