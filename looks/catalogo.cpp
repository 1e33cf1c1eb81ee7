// The twelve looks, as a table.
#include "looks/catalogo.h"

#include <string_view>

namespace varno {
namespace {

struct RicettaLook {
    std::string_view nome;
    FxRicetta ricetta;
};

// Amounts as the parameters show them, before the scale that the filter grades get on the way in.
// clang-format off
constexpr RicettaLook RICETTE[] = {
    {"Nordic",       {.halation = 0.28f, .bloom = 0.16f, .vignetta = 0.1f, .glimmer = 0.125f}},
    {"Cinema Print", {.halation = 0.38f, .bloom = 0.2f, .vignetta = 0.16f, .promist = 0.25f}},
    {"Midnight",     {.halation = 0.42f, .bloom = 0.26f, .vignetta = 0.22f, .promist = 0.5f, .streak = 0.18f}},
    {"Daylight",     {.halation = 0.24f, .bloom = 0.18f, .vignetta = 0.12f, .mistw = 0.125f}},
    {"Linen",        {.bloom = 0.08f, .vignetta = 0.06f}},
    {"Amber",        {.halation = 0.45f, .bloom = 0.2f, .vignetta = 0.14f, .mistw = 0.125f}},
    {"Ember",        {.halation = 0.3f, .bloom = 0.15f, .vignetta = 0.18f, .promist = 0.125f}},
    {"Amalfi",       {.halation = 0.12f, .bloom = 0.22f, .vignetta = 0.1f, .glimmer = 0.125f}},
    {"Velvet",       {.halation = 0.38f, .bloom = 0.28f, .vignetta = 0.26f, .promist = 0.25f, .streak = 0.15f}},
    {"Brass",        {.halation = 0.42f, .bloom = 0.3f, .vignetta = 0.2f, .promist = 0.125f, .streak = 0.1f}},
    {"Silk",         {.halation = 0.22f, .bloom = 0.34f, .vignetta = 0.08f, .mistw = 0.25f, .pelle = 0.25f}},
    {"Olive",        {.halation = 0.16f, .bloom = 0.14f, .vignetta = 0.16f, .ca = 0.05f}},
};
// clang-format on

FxRicetta ricetta_di(std::string_view nome)
{
    for (const RicettaLook& r : RICETTE)
        if (r.nome == nome)
            return r.ricetta;
    return {};
}

}  // namespace

std::vector<LookDef> catalogo()
{
    // The print looks first, then the grade looks; projects store the position.
    // clang-format off
    std::vector<LookDef> looks = {
        {.nome         = "Nordic",
         .tipo         = 1,
         .spalla       = 0.78f,   .bianco            = 17.0f,   .contrasto          = 1.08f,
         .miscela      = 0.35f,   .gamma             = 1.0f,    .sollevamento       = 0.0f,
         .pal = {.diafonia        = 0.055f,
                 .diafonia_canale = {  1.0f,   1.0f,   1.0f},
                 .bilancio        = {1.004f,   1.0f, 0.996f},
                 .desat_soglia    = 0.72f,
                 .desat_quantita  = 0.5f,
                 .sat_tinte       = {1.05f, 1.02f, 0.86f,  0.8f, 0.84f, 1.02f, 0.94f},
                 .stampa_ombre    = { 0.0f,  0.0f,  0.0f},
                 .stampa_luci     = { 0.0f,  0.0f,  0.0f}}},
        {.nome         = "Cinema Print",
         .tipo         = 1,
         .spalla       = 0.72f,   .bianco            = 15.0f,   .contrasto          = 1.14f,
         .miscela      = 0.4f,    .gamma             = 1.0f,    .sollevamento       = 0.006f,
         .pal = {.diafonia        = 0.07f,
                 .diafonia_canale = {  1.1f,  0.95f,  1.05f},
                 .bilancio        = {1.008f,   1.0f, 0.988f},
                 .desat_soglia    = 0.68f,
                 .desat_quantita  = 0.6f,
                 .sat_tinte       = {1.08f, 1.03f, 0.82f, 0.74f, 0.78f, 1.05f,  0.9f},
                 .stampa_ombre    = {-2.5f,  0.0f,  3.0f},
                 .stampa_luci     = { 3.5f,  1.2f, -2.5f}}},
        {.nome         = "Midnight",
         .tipo         = 1,
         .spalla       = 0.85f,   .bianco            = 14.0f,   .contrasto          = 1.18f,
         .miscela      = 0.32f,   .gamma             = 1.0f,    .sollevamento       = 0.004f,
         .pal = {.diafonia        = 0.06f,
                 .diafonia_canale = {  1.0f,   1.0f,   1.0f},
                 .bilancio        = {  1.0f, 0.998f, 1.006f},
                 .desat_soglia    = 0.66f,
                 .desat_quantita  = 0.58f,
                 .sat_tinte       = {1.03f,  1.0f,  0.8f,  0.7f, 0.76f, 1.06f, 0.88f},
                 .stampa_ombre    = {-3.0f,  0.0f,  3.5f},
                 .stampa_luci     = { 2.5f,  1.0f, -1.5f}}},
        {.nome         = "Daylight",
         .tipo         = 1,
         .spalla       = 0.78f,   .bianco            = 18.0f,   .contrasto          = 1.08f,
         .miscela      = 0.28f,   .gamma             = 1.0f,    .sollevamento       = 0.0f,
         .pal = {.diafonia        = 0.06f,
                 .diafonia_canale = {  1.0f,   1.0f,   1.0f},
                 .bilancio        = {1.006f,   1.0f, 0.994f},
                 .desat_soglia    = 0.72f,
                 .desat_quantita  = 0.55f,
                 .sat_tinte       = {1.05f, 1.02f, 0.78f, 0.68f,  0.8f, 0.98f, 0.94f},
                 .stampa_ombre    = { 0.0f,  0.0f,  0.0f},
                 .stampa_luci     = { 2.5f,  0.8f, -2.0f}}},
        {.nome         = "Linen",
         .spalla       = 0.85f,   .bianco            = 18.0f,   .contrasto          = 1.0f,
         .miscela      = 0.18f,   .gamma             = 1.0f,    .sollevamento       = 0.004f,
         .saturazione  = 1.04f,   .saturazione_luci  = 0.96f,   .saturazione_ombre  = 1.0f,
         .guadagno     = {   1.0f,    1.0f,    1.0f},
         .viraggio     = false},
        {.nome         = "Amber",
         .spalla       = 0.62f,   .bianco            = 15.0f,   .contrasto          = 1.02f,
         .miscela      = 0.45f,   .gamma             = 1.0f,    .sollevamento       = 0.042f,
         .tinta_ombre  = { -0.03f,  0.015f,  0.075f},
         .tinta_luci   = {  0.05f,  0.015f,  -0.05f},
         .ombre_fine   = 0.08f,   .luci_inizio       = 0.45f,   .protezione_pelle   = 0.65f,
         .saturazione  = 0.84f,   .saturazione_luci  = 0.8f,    .saturazione_ombre  = 0.9f,
         .guadagno     = { 1.008f,  0.996f,  0.978f},
         .viraggio     = true},
        {.nome         = "Ember",
         .spalla       = 0.88f,   .bianco            = 20.0f,   .contrasto          = 1.1f,
         .miscela      = 0.35f,   .gamma             = 1.0f,    .sollevamento       = 0.01f,
         .tinta_ombre  = { -0.05f, -0.005f,   0.09f},
         .tinta_luci   = {  0.06f,   0.01f,  -0.06f},
         .ombre_fine   = 0.1f,    .luci_inizio       = 0.42f,   .protezione_pelle   = 0.55f,
         .saturazione  = 1.06f,   .saturazione_luci  = 0.78f,   .saturazione_ombre  = 0.98f,
         .guadagno     = { 1.012f,    1.0f,  0.988f},
         .viraggio     = true},
        {.nome         = "Amalfi",
         .spalla       = 0.8f,    .bianco            = 17.0f,   .contrasto          = 1.06f,
         .miscela      = 0.22f,   .gamma             = 1.0f,    .sollevamento       = 0.006f,
         .tinta_ombre  = { -0.04f,   0.02f,  0.065f},
         .tinta_luci   = {  0.01f,  0.025f,   0.01f},
         .ombre_fine   = 0.12f,   .luci_inizio       = 0.5f,    .protezione_pelle   = 0.72f,
         .saturazione  = 1.16f,   .saturazione_luci  = 0.94f,   .saturazione_ombre  = 1.02f,
         .guadagno     = { 0.996f,   1.01f,  1.004f},
         .viraggio     = true},
        {.nome         = "Velvet",
         .spalla       = 0.95f,   .bianco            = 16.0f,   .contrasto          = 1.24f,
         .miscela      = 0.3f,    .gamma             = 1.08f,   .sollevamento       = 0.022f,
         .tinta_ombre  = {  -0.1f,    0.0f,   0.13f},
         .tinta_luci   = { 0.025f,  -0.01f, -0.035f},
         .ombre_fine   = 0.22f,   .luci_inizio       = 0.38f,   .protezione_pelle   = 0.5f,
         .saturazione  = 0.98f,   .saturazione_luci  = 0.66f,   .saturazione_ombre  = 0.78f,
         .guadagno     = {   1.0f,    1.0f,    1.0f},
         .viraggio     = true},
        {.nome         = "Brass",
         .spalla       = 0.98f,   .bianco            = 30.0f,   .contrasto          = 1.06f,
         .miscela      = 0.3f,    .gamma             = 1.0f,    .sollevamento       = 0.008f,
         .tinta_ombre  = {-0.115f, -0.045f,  0.175f},
         .tinta_luci   = {  0.07f,  0.026f,  -0.08f},
         .ombre_fine   = 0.2f,    .luci_inizio       = 0.4f,    .protezione_pelle   = 0.55f,
         .saturazione  = 1.05f,   .saturazione_luci  = 0.52f,   .saturazione_ombre  = 1.1f,
         .guadagno     = {  1.01f,    1.0f,  0.986f},
         .viraggio     = true,
         .ginocchio    = 0.76f},
        {.nome         = "Silk",
         .spalla       = 0.62f,   .bianco            = 14.0f,   .contrasto          = 0.86f,
         .miscela      = 0.46f,   .gamma             = 1.0f,    .sollevamento       = 0.044f,
         .tinta_ombre  = {  0.03f,  0.008f,   0.06f},
         .tinta_luci   = {  0.09f,  0.038f, -0.045f},
         .ombre_fine   = 0.18f,   .luci_inizio       = 0.42f,   .protezione_pelle   = 0.8f,
         .saturazione  = 0.86f,   .saturazione_luci  = 0.78f,   .saturazione_ombre  = 0.9f,
         .guadagno     = { 1.012f,    1.0f,  0.998f},
         .viraggio     = true},
        {.nome         = "Olive",
         .spalla       = 0.86f,   .bianco            = 23.0f,   .contrasto          = 1.1f,
         .miscela      = 0.24f,   .gamma             = 1.0f,    .sollevamento       = 0.012f,
         .tinta_ombre  = { -0.09f,  0.085f,   0.02f},
         .tinta_luci   = { 0.095f,   0.05f, -0.085f},
         .ombre_fine   = 0.18f,   .luci_inizio       = 0.48f,   .protezione_pelle   = 0.68f,
         .saturazione  = 1.1f,    .saturazione_luci  = 0.66f,   .saturazione_ombre  = 1.22f,
         .guadagno     = {  0.99f,  1.022f,  0.974f},
         .viraggio     = true,
         .ginocchio    = 0.8f},
    };
    // clang-format on
    for (LookDef& look : looks)
        look.ricetta = ricetta_di(look.nome);
    return looks;
}

}  // namespace varno
