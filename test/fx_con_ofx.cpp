// A unit of the effects that speaks to the host: must not compile.
#include "fx/fx.h"
#include "ofx/ofx.h"
