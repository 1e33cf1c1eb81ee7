#include "render/parallel_for.h"

namespace varno {

unsigned (*gThreadHardware)() = &std::thread::hardware_concurrency;

}  // namespace varno
