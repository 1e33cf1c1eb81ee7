// Statuses of the host's reads are not looked at: what a failed read leaves is the zero from
// before.
#include "render/render.h"

#include "comune/modo.h"
#include "ofx/suite.h"
#include "render/impostazioni.h"
#include "render/lut3d.h"
#include "render/sviluppa.h"

#include <cstdint>

namespace varno {
namespace {

constexpr std::ptrdiff_t BYTE_PIXEL = 16;  // RGBA, 32-bit float

// Host values may lie anywhere: differences wrap instead of overflowing.
std::int32_t meno(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

struct ImmagineHost {
    OfxPropertySetHandle props = nullptr;
    void* dati = nullptr;
    int byte_riga = 0;  // may be negative
    int limiti[4] = {0, 0, 0, 0};
};

// First pixel of the window in the image, by the image's own bounds; addresses in 64 bits.
Finestra finestra_di(const ImmagineHost& i, const int (&finestra)[4])
{
    const auto righe = static_cast<std::ptrdiff_t>(meno(finestra[1], i.limiti[1]));
    const auto colonne = static_cast<std::ptrdiff_t>(meno(finestra[0], i.limiti[0]));
    return {static_cast<unsigned char*>(i.dati) + righe * i.byte_riga + colonne * BYTE_PIXEL,
            i.byte_riga};
}

// The frame itself, between the last call that asks the host and the first that gives back. False
// where there is nothing to make it of; a table that was rebuilt before that stays.
bool fai_quadro(const ImmagineHost& sorgente, const ImmagineHost& uscita, const int (&finestra)[4],
                const Lettura& lettura)
{
    const ModoNormale modo;
    const ImpostazioniQuadro imp = impostazioni_di(lettura);
    const std::shared_ptr<const Lut3D> lut = aggiorna_tabella(imp.contesto, imp.chiave);
    const std::int32_t W = meno(finestra[2], finestra[0]);
    const std::int32_t H = meno(finestra[3], finestra[1]);
    if (W <= 0 || H <= 0 || sorgente.dati == nullptr || uscita.dati == nullptr)
        return false;
    sviluppa(*lut, finestra_di(sorgente, finestra), finestra_di(uscita, finestra), W, H,
             imp.ricetta);
    return true;
}

}  // namespace

OfxStatus render(OfxImageEffectHandle handle, OfxPropertySetHandle inArgs)
{
    double tempo = 0.0;
    int finestra[4] = {0, 0, 0, 0};
    gProp->propGetDouble(inArgs, "OfxPropTime", 0, &tempo);
    gProp->propGetIntN(inArgs, "OfxImageEffectPropRenderWindow", 4, finestra);

    OfxImageClipHandle clip_sorgente = nullptr;
    OfxImageClipHandle clip_uscita = nullptr;
    if (gEff->clipGetHandle(handle, "Source", &clip_sorgente, nullptr) != kOfxStatOK)
        return kOfxStatFailed;
    if (gEff->clipGetHandle(handle, "Output", &clip_uscita, nullptr) != kOfxStatOK)
        return kOfxStatFailed;

    ImmagineHost sorgente;
    ImmagineHost uscita;
    if (gEff->clipGetImage(clip_sorgente, tempo, nullptr, &sorgente.props) != kOfxStatOK)
        return kOfxStatFailed;
    if (gEff->clipGetImage(clip_uscita, tempo, nullptr, &uscita.props) != kOfxStatOK) {
        gEff->clipReleaseImage(sorgente.props);
        return kOfxStatFailed;
    }

    gProp->propGetPointer(sorgente.props, "OfxImagePropData", 0, &sorgente.dati);
    gProp->propGetPointer(uscita.props, "OfxImagePropData", 0, &uscita.dati);
    gProp->propGetInt(sorgente.props, "OfxImagePropRowBytes", 0, &sorgente.byte_riga);
    gProp->propGetInt(uscita.props, "OfxImagePropRowBytes", 0, &uscita.byte_riga);
    gProp->propGetIntN(sorgente.props, "OfxImagePropBounds", 4, sorgente.limiti);
    gProp->propGetIntN(uscita.props, "OfxImagePropBounds", 4, uscita.limiti);

    OfxParamSetHandle parametri = nullptr;
    gEff->getParamSet(handle, &parametri);
    const Lettura lettura = leggi_parametri(parametri, tempo);
    const bool fatto = fai_quadro(sorgente, uscita, finestra, lettura);
    gEff->clipReleaseImage(sorgente.props);
    gEff->clipReleaseImage(uscita.props);
    return fatto ? kOfxStatOK : kOfxStatFailed;
}

}  // namespace varno
