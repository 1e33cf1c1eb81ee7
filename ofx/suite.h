// The four pointers to the host, which everything that speaks to it goes through.
#pragma once

#include "ofx/ofx.h"

namespace varno {

/// The host and its suites at version 1: null until the load action, never cleared, read-only
/// while anything but load runs.
extern OfxHost* gHost;
extern const OfxImageEffectSuiteV1* gEff;
extern const OfxPropertySuiteV1* gProp;
extern const OfxParameterSuiteV1* gParm;

}  // namespace varno
