// The render action.
#pragma once

#include "ofx/ofx.h"

namespace varno {

/// One frame: fetches both images, works out the settings, brings the table up to date, grades,
/// runs the effects and writes the render window of the output. kOfxStatFailed where an image, a
/// data pointer or a window is missing, with everything released; exceptions leave with the images
/// unreleased.
OfxStatus render(OfxImageEffectHandle handle, OfxPropertySetHandle inArgs);

}  // namespace varno
