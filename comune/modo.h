// The floating-point mode of a thread: how it rounds, whether denormals become 0, whether an
// overflow or a not-a-number ends the program. Hosts and their other plug-ins change it.
#pragma once

#include <cstdint>

namespace varno {

/// The register that holds the calling thread's mode; 0 on processors that are not known here.
std::uint64_t modo();
void imposta_modo(std::uint64_t valore);

/// While it lives the calling thread computes as C starts every program: to nearest, denormals
/// kept, nothing stopped. So do threads started meanwhile, which inherit the mode or start with
/// this one, as the system has it. Its end brings back what was there, flags of past exceptions
/// included.
struct ModoNormale {
    ModoNormale();
    ModoNormale(const ModoNormale&) = delete;
    ModoNormale& operator=(const ModoNormale&) = delete;
    ~ModoNormale();

  private:
    std::uint64_t prima;
};

}  // namespace varno
