// Which camera row a log format and its colour space mean.
#pragma once

#include <cstdint>

namespace varno {

/// The colour-space choices, in the order in which an instance shows or hides them.
constexpr const char* TENDINE[] = {"cs_sony3", "cs_sony2", "cs_canon", "cs_apple"};

/// The one that belongs to a log format; null for none.
const char* tendina_colorspace(std::int32_t formato);

/// Row of PROFILI for a log format and the value of its choice, which is held to the choice's
/// range. A format outside the list gives formato - 1, which may lie outside the table.
std::int32_t riga_profilo(std::int32_t formato, std::int32_t scelta);

}  // namespace varno
