// How many processors there are.
#include "render/parallel_for.h"

#ifdef __linux__
#include <sched.h>
#endif

namespace varno {
namespace {

// The processors that the calling thread may use, which its workers inherit. The standard library's
// count opens a file of the system at every call.
unsigned thread_hardware()
{
#ifdef __linux__
    cpu_set_t processori;
    if (sched_getaffinity(0, sizeof processori, &processori) == 0)
        return static_cast<unsigned>(CPU_COUNT(&processori));
#endif
    return std::thread::hardware_concurrency();
}

}  // namespace

unsigned (*gThreadHardware)() = &thread_hardware;

}  // namespace varno
