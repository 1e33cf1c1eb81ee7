#pragma once

// The part of the OpenFX C ABI that this plug-in speaks: records, signatures and their order are
// the standard's. Only the host boundary may see it; everything else works on plain values.
#ifndef VARNO_PARLA_OFX
#error "only the host boundary may include the OFX declarations"
#endif

#include <cstddef>

extern "C" {

typedef int OfxStatus;
typedef double OfxTime;
typedef struct OfxPropertySetStruct* OfxPropertySetHandle;
typedef struct OfxImageEffectStruct* OfxImageEffectHandle;
typedef struct OfxImageClipStruct* OfxImageClipHandle;
typedef struct OfxImageMemoryStruct* OfxImageMemoryHandle;
typedef struct OfxParamStruct* OfxParamHandle;
typedef struct OfxParamSetStruct* OfxParamSetHandle;

typedef struct OfxRectI {
    int x1, y1, x2, y2;
} OfxRectI;

typedef struct OfxRectD {
    double x1, y1, x2, y2;
} OfxRectD;

typedef struct OfxRangeD {
    double min, max;
} OfxRangeD;

typedef OfxStatus(OfxPluginEntryPoint)(const char* action, const void* handle,
                                       OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs);

typedef struct OfxHost {
    OfxPropertySetHandle host;
    const void* (*fetchSuite)(OfxPropertySetHandle host, const char* suiteName, int suiteVersion);
} OfxHost;

typedef struct OfxPlugin {
    const char* pluginApi;
    int apiVersion;
    const char* pluginIdentifier;
    unsigned int pluginVersionMajor;
    unsigned int pluginVersionMinor;
    void (*setHost)(OfxHost* host);
    OfxPluginEntryPoint* mainEntry;
} OfxPlugin;

typedef struct OfxPropertySuiteV1 {
    OfxStatus (*propSetPointer)(OfxPropertySetHandle, const char*, int, void*);
    OfxStatus (*propSetString)(OfxPropertySetHandle, const char*, int, const char*);
    OfxStatus (*propSetDouble)(OfxPropertySetHandle, const char*, int, double);
    OfxStatus (*propSetInt)(OfxPropertySetHandle, const char*, int, int);
    OfxStatus (*propSetPointerN)(OfxPropertySetHandle, const char*, int, void* const*);
    OfxStatus (*propSetStringN)(OfxPropertySetHandle, const char*, int, const char* const*);
    OfxStatus (*propSetDoubleN)(OfxPropertySetHandle, const char*, int, const double*);
    OfxStatus (*propSetIntN)(OfxPropertySetHandle, const char*, int, const int*);
    OfxStatus (*propGetPointer)(OfxPropertySetHandle, const char*, int, void**);
    OfxStatus (*propGetString)(OfxPropertySetHandle, const char*, int, char**);
    OfxStatus (*propGetDouble)(OfxPropertySetHandle, const char*, int, double*);
    OfxStatus (*propGetInt)(OfxPropertySetHandle, const char*, int, int*);
    OfxStatus (*propGetPointerN)(OfxPropertySetHandle, const char*, int, void**);
    OfxStatus (*propGetStringN)(OfxPropertySetHandle, const char*, int, char**);
    OfxStatus (*propGetDoubleN)(OfxPropertySetHandle, const char*, int, double*);
    OfxStatus (*propGetIntN)(OfxPropertySetHandle, const char*, int, int*);
    OfxStatus (*propReset)(OfxPropertySetHandle, const char*);
    OfxStatus (*propGetDimension)(OfxPropertySetHandle, const char*, int*);
} OfxPropertySuiteV1;

typedef struct OfxParameterSuiteV1 {
    OfxStatus (*paramDefine)(OfxParamSetHandle, const char* type, const char* name,
                             OfxPropertySetHandle*);
    OfxStatus (*paramGetHandle)(OfxParamSetHandle, const char* name, OfxParamHandle*,
                                OfxPropertySetHandle*);
    OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle, OfxPropertySetHandle*);
    OfxStatus (*paramGetPropertySet)(OfxParamHandle, OfxPropertySetHandle*);
    OfxStatus (*paramGetValue)(OfxParamHandle, ...);
    OfxStatus (*paramGetValueAtTime)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetDerivative)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetIntegral)(OfxParamHandle, OfxTime, OfxTime, ...);
    OfxStatus (*paramSetValue)(OfxParamHandle, ...);
    OfxStatus (*paramSetValueAtTime)(OfxParamHandle, OfxTime, ...);
    OfxStatus (*paramGetNumKeys)(OfxParamHandle, unsigned int*);
    OfxStatus (*paramGetKeyTime)(OfxParamHandle, unsigned int, OfxTime*);
    OfxStatus (*paramGetKeyIndex)(OfxParamHandle, OfxTime, int, int*);
    OfxStatus (*paramDeleteKey)(OfxParamHandle, OfxTime);
    OfxStatus (*paramDeleteAllKeys)(OfxParamHandle);
    OfxStatus (*paramCopy)(OfxParamHandle, OfxParamHandle, OfxTime, const OfxRangeD*);
    OfxStatus (*paramEditBegin)(OfxParamSetHandle, const char*);
    OfxStatus (*paramEditEnd)(OfxParamSetHandle);
} OfxParameterSuiteV1;

typedef struct OfxImageEffectSuiteV1 {
    OfxStatus (*getPropertySet)(OfxImageEffectHandle, OfxPropertySetHandle*);
    OfxStatus (*getParamSet)(OfxImageEffectHandle, OfxParamSetHandle*);
    OfxStatus (*clipDefine)(OfxImageEffectHandle, const char*, OfxPropertySetHandle*);
    OfxStatus (*clipGetHandle)(OfxImageEffectHandle, const char*, OfxImageClipHandle*,
                               OfxPropertySetHandle*);
    OfxStatus (*clipGetPropertySet)(OfxImageClipHandle, OfxPropertySetHandle*);
    OfxStatus (*clipGetImage)(OfxImageClipHandle, OfxTime, const OfxRectD*, OfxPropertySetHandle*);
    OfxStatus (*clipReleaseImage)(OfxPropertySetHandle);
    OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle, OfxTime, OfxRectD*);
    int (*abort)(OfxImageEffectHandle);
    OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle, std::size_t, OfxImageMemoryHandle*);
    OfxStatus (*imageMemoryFree)(OfxImageMemoryHandle);
    OfxStatus (*imageMemoryLock)(OfxImageMemoryHandle, void**);
    OfxStatus (*imageMemoryUnlock)(OfxImageMemoryHandle);
} OfxImageEffectSuiteV1;

}  // extern "C"

#if defined(_WIN32)
#define VARNO_ESPORTA extern "C" __declspec(dllexport)
#else
#define VARNO_ESPORTA extern "C" __attribute__((visibility("default")))
#endif

constexpr OfxStatus kOfxStatOK = 0;
constexpr OfxStatus kOfxStatFailed = 1;
constexpr OfxStatus kOfxStatErrUnknown = 3;
constexpr OfxStatus kOfxStatErrExists = 6;
constexpr OfxStatus kOfxStatErrMemory = 8;
constexpr OfxStatus kOfxStatErrBadHandle = 9;
constexpr OfxStatus kOfxStatErrBadIndex = 10;
constexpr OfxStatus kOfxStatErrValue = 11;
constexpr OfxStatus kOfxStatReplyDefault = 14;

static_assert(sizeof(int) == 4 && sizeof(void*) == 8, "the plug-in is a 64-bit library");
// Every member that is used, by the standard's places: the bench host has its declarations from
// here too, and would not notice two that are swapped.
#define VARNO_POSTO(tipo, membro, byte) static_assert(offsetof(tipo, membro) == (byte))
static_assert(sizeof(OfxHost) == 16 && sizeof(OfxPlugin) == 48);
static_assert(sizeof(OfxPropertySuiteV1) == 144 && sizeof(OfxParameterSuiteV1) == 144 &&
              sizeof(OfxImageEffectSuiteV1) == 104);
VARNO_POSTO(OfxHost, host, 0);
VARNO_POSTO(OfxHost, fetchSuite, 8);
VARNO_POSTO(OfxPlugin, pluginApi, 0);
VARNO_POSTO(OfxPlugin, apiVersion, 8);
VARNO_POSTO(OfxPlugin, pluginIdentifier, 16);
VARNO_POSTO(OfxPlugin, pluginVersionMajor, 24);
VARNO_POSTO(OfxPlugin, pluginVersionMinor, 28);
VARNO_POSTO(OfxPlugin, setHost, 32);
VARNO_POSTO(OfxPlugin, mainEntry, 40);
VARNO_POSTO(OfxPropertySuiteV1, propSetString, 8);
VARNO_POSTO(OfxPropertySuiteV1, propSetDouble, 16);
VARNO_POSTO(OfxPropertySuiteV1, propSetInt, 24);
VARNO_POSTO(OfxPropertySuiteV1, propGetPointer, 64);
VARNO_POSTO(OfxPropertySuiteV1, propGetString, 72);
VARNO_POSTO(OfxPropertySuiteV1, propGetDouble, 80);
VARNO_POSTO(OfxPropertySuiteV1, propGetInt, 88);
VARNO_POSTO(OfxPropertySuiteV1, propGetIntN, 120);
VARNO_POSTO(OfxParameterSuiteV1, paramDefine, 0);
VARNO_POSTO(OfxParameterSuiteV1, paramGetHandle, 8);
VARNO_POSTO(OfxParameterSuiteV1, paramGetValue, 32);
VARNO_POSTO(OfxParameterSuiteV1, paramGetValueAtTime, 40);
VARNO_POSTO(OfxParameterSuiteV1, paramSetValue, 64);
VARNO_POSTO(OfxImageEffectSuiteV1, getPropertySet, 0);
VARNO_POSTO(OfxImageEffectSuiteV1, getParamSet, 8);
VARNO_POSTO(OfxImageEffectSuiteV1, clipDefine, 16);
VARNO_POSTO(OfxImageEffectSuiteV1, clipGetHandle, 24);
VARNO_POSTO(OfxImageEffectSuiteV1, clipGetImage, 40);
VARNO_POSTO(OfxImageEffectSuiteV1, clipReleaseImage, 48);
#undef VARNO_POSTO
static_assert(sizeof(OfxRectI) == 16 && sizeof(OfxRectD) == 32);
