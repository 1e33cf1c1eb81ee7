// The ICC profile of what the plug-in makes.
#pragma once

#include <vector>

namespace varno::provino {

/// An ICC profile of what the plug-in makes: Rec.709 primaries, gamma 2.4, white D65.
const std::vector<unsigned char>& profilo_schermo();

}  // namespace varno::provino
