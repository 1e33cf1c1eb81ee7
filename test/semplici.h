#pragma once

#include "fx/ricetta.h"

#include <cstdint>
#include <vector>

/// Everything that happens to a picture after the table is built, in plain serial loops: what the
/// tests hold the fast forms against, bit for bit, and what the benchmarks call their baseline.
/// Nothing here shares a line with the fast forms but the recipe's record.
namespace varno::semplici {

using Campioni = std::vector<float>;

/// The picture and what the stages of the chain share; luma is not a view of img.
struct Quadro {
    Campioni img;   // interleaved RGB, larghezza * altezza * 3
    Campioni luma;  // larghezza * altezza
    int larghezza = 0;
    int altezza = 0;
    int lato_max = 0;
    int raggio_enhance = 0;
    int raggio_halation = 0;
    int raggio_bloom = 0;
    int riduzione = 1;
};

/// Takes the picture over, works out the sizes and fills luma.
Quadro quadro_di(Campioni img, int larghezza, int altezza);
float luma_pixel(const float* rgb);
void aggiorna_luma(Quadro& q);

/// One sample of a table of n points an axis, trilinear; uscita gets three floats.
void campiona(const Campioni& tavola, int n, const float* rgb, float* uscita);

/// One running-sum pass over n samples that lie passo floats apart, from da into a.
void passata_box(const float* da, float* a, int n, int passo, int raggio);
void box_blur(Campioni& piano, int larghezza, int altezza, int raggio, int passate);
void blur_su_ridotta(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione);
void blur_orizz_su_ridotta(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione);

/// Means of blocks; larghezza and altezza become those of the copy.
Campioni riduci(const Campioni& piano, int& larghezza, int& altezza, int riduzione);
/// Bilinear value of a copy of w2 x h2 at (x, y) of the full plane, not centred.
float ingrandisci(const Campioni& copia, int w2, int h2, int x, int y, int riduzione);

void applica_enhance(Quadro& q, float quantita);
void applica_pelle(Quadro& q, float quantita);
void applica_halation(Quadro& q, float quantita);
void applica_bloom(Quadro& q, float quantita);
void applica_streak(Quadro& q, float quantita);
void applica_promist(Quadro& q, float quantita);
void applica_stella(Quadro& q, float quantita, int punte);
void applica_mistw(Quadro& q, float quantita);
void applica_glimmer(Quadro& q, float quantita);
void applica_aberrazione(Quadro& q, float quantita);
void applica_vignetta(Quadro& q, float quantita);
void applica_grana(Quadro& q, float quantita, std::int32_t fotogramma);

Campioni vignetta_mask(int larghezza, int altezza);
float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f);

/// The whole chain, in place.
void applica_fx(Campioni& img, int larghezza, int altezza, const FxRicetta& ricetta);

}  // namespace varno::semplici
