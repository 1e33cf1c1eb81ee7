// What an instance does when a parameter changes.
#pragma once

#include "ofx/ofx.h"

namespace varno {

/// Shows the one colour-space choice that belongs to the instance's log format, hides the others.
void aggiorna_tendina_colorspace(OfxImageEffectHandle handle);

/// Writes the suggested effect settings of the instance's look into its effect parameters.
void applica_look(OfxImageEffectHandle handle);

/// The reaction to a changed parameter: formato and look do something, every other name nothing.
/// Always kOfxStatOK.
OfxStatus istanza_cambiata(OfxImageEffectHandle handle, OfxPropertySetHandle inArgs);

}  // namespace varno
