// The 35 parameters.
#pragma once

#include "ofx/ofx.h"

namespace varno {

/// Defines the 35 parameters in their order on a descriptor's set. No status is looked at.
void definisci_parametri(OfxParamSetHandle set);

/// One double: range and display range are the same. No status is looked at.
void defDouble(OfxParamSetHandle set, const char* name, const char* label, double def, double min,
               double max);

/// One boolean, def 0 or 1. No status is looked at.
void defBool(OfxParamSetHandle set, const char* name, const char* label, int def);

}  // namespace varno
