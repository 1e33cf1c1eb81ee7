// The ICC profile of what the plug-in makes.
#include "tools/quadri/profilo.h"

#include <algorithm>
#include <lcms2.h>

namespace varno::provino {

const std::vector<unsigned char>& profilo_schermo()
{
    static const std::vector<unsigned char> profilo = [] {
        constexpr cmsCIExyY BIANCO = {0.3127, 0.3290, 1.0};
        constexpr cmsCIExyYTRIPLE PRIMARI = {
            {0.640, 0.330, 1.0}, {0.300, 0.600, 1.0}, {0.150, 0.060, 1.0}};
        cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.4);
        cmsToneCurve* curve[3] = {gamma, gamma, gamma};
        cmsHPROFILE p = cmsCreateRGBProfile(&BIANCO, &PRIMARI, curve);
        cmsSetProfileVersion(p, 2.1);
        cmsMLU* nome = cmsMLUalloc(nullptr, 1);
        cmsMLUsetASCII(nome, "en", "US", "Rec.709 primaries, gamma 2.4");
        cmsWriteTag(p, cmsSigProfileDescriptionTag, nome);
        cmsUInt32Number quanti = 0;
        cmsSaveProfileToMem(p, nullptr, &quanti);
        std::vector<unsigned char> byte(quanti);
        cmsSaveProfileToMem(p, byte.data(), &quanti);
        cmsMLUfree(nome);
        cmsCloseProfile(p);
        cmsFreeToneCurve(gamma);
        // No date of making, so that the same picture is always the same file.
        std::fill_n(byte.begin() + 24, 12, static_cast<unsigned char>(0));
        return byte;
    }();
    return profilo;
}

}  // namespace varno::provino
