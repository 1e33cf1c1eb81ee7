// Which camera row a log format and its colour space mean.
#pragma once

#include <cstdint>

namespace varno {

/// The colour-space choice that belongs to a log format: "cs_sony3" and so on, null for none.
const char* tendina_colorspace(std::int32_t formato);

/// Row of PROFILI for a log format and the value of its choice, which is held to the choice's
/// range. A format outside the list gives formato - 1, which may lie outside the table.
std::int32_t riga_profilo(std::int32_t formato, std::int32_t scelta);

}  // namespace varno
