// What the grade is tried with.
#pragma once

#include "colore/colore.h"
#include "looks/catalogo.h"

inline const std::vector<varno::LookDef>& looks()
{
    static const std::vector<varno::LookDef> tutti = varno::catalogo();
    return tutti;
}

inline varno::Contesto contesto_di(const varno::LookDef& l, float forza = 1.0f, float ev = 0.0f,
                                   int profilo = 0, varno::RGB guadagno = {1.0f, 1.0f, 1.0f})
{
    using varno::normalizza_curva;
    return {&l,       normalizza_curva(l.spalla, l.bianco, l.contrasto, l.gamma),
            forza,    ev,
            guadagno, normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f),
            profilo};
}
