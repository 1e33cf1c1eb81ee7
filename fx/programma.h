// The plan of a frame: which sweeps over the picture it takes, and what each of them does. Made
// from recipe and size before anything is allocated.
#pragma once

#include "fx/blur.h"
#include "fx/effetto.h"

namespace varno {

constexpr int MASSIMO_STADI = 24;  // effects that a chain may have

/// An effect that is on.
struct Stadio {
    const Effetto* effetto = nullptr;
    float quantita = 0.0f;
    Forma forma;             // of its planes, where it has any
    bool ingrandita = true;  // whether they are enlarged; else a sample is a pixel's own
};

/// One sweep: rows come in, pass some effects while the cache holds them, feed the planes of the
/// next effect and go out.
struct Spazzata {
    bool da_fuori = false;    // rows come graded from outside; else from the picture
    bool fuori = false;       // rows go out finished; else they stay in the picture
    int primo = 0;            // of the stages that change the rows
    int dopo = 0;             // behind the last of them
    int alimenta = -1;        // the stage whose planes the rows feed; its work follows the sweep
    bool luma_prima = false;  // it is fed with the luminance from before the rows were changed
    bool media = false;       // the mean luminance of the rows is taken as they leave
    int insieme = 1;  // rows that go through together: a block of a copy, or a cell of grain
};

struct Programma {
    int larghezza = 0;  // pixels
    int altezza = 0;
    std::int32_t fotogramma = 0;
    std::int32_t punte = 4;
    int numero_stadi = 0;
    int numero_spazzate = 0;
    Stadio stadi[MASSIMO_STADI];
    Spazzata spazzate[MASSIMO_STADI + 2];
};

/// Where the rows of a frame come from and go to: the picture's memory, or another's, outside.
enum class Strada {
    IN_IMMAGINE,  // they stand in the picture and stay there
    DA_FUORI_A_FUORI,
    TUTTE_PRIMA,  // from outside and back, but all must have come before the first one goes
};

/// By how much a frame of this size reduces the copies of its wide blurs: 1 to 4.
int riduzione_di(int larghezza, int altezza);

/// The plan of the recipe's effects, with copies reduced by riduzione. An amount of 0, negative or
/// not-a-number leaves its effect out.
Programma programma_di(const FxRicetta& ricetta, int larghezza, int altezza, Strada strada,
                       int riduzione);

/// Whether the plan keeps a picture: else rows pass from outside to outside in one sweep.
bool tiene_immagine(const Programma& p);

/// Whether that sweep changes nothing.
bool solo_passaggio(const Programma& p);

}  // namespace varno
