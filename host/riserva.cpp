// Only where libstdc++ is inside the module: what its libraries take from the process and would
// leave behind at every unload.
#if defined(_WIN32)
#include <windows.h>
#endif

namespace __gnu_cxx {

void __freeres();

}  // namespace __gnu_cxx

namespace {

// What is set aside for exceptions when memory has run out.
__attribute__((destructor)) void restituisci_riserva()
{
    __gnu_cxx::__freeres();
}

#if defined(_WIN32)
// The thread library asks for one of the process's 1,088 thread-local indices and never gives it
// back. It asks through __imp_TlsAlloc, which is found here before the system's library has it.
DWORD gIndice = TLS_OUT_OF_INDEXES;

DWORD WINAPI prendi_indice()
{
    const FARPROC f = GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc");
    return gIndice = reinterpret_cast<DWORD(WINAPI*)()>(reinterpret_cast<void*>(f))();
}

// Last of all, when nothing here uses threads any more.
__attribute__((destructor(101))) void restituisci_indice()
{
    if (gIndice != TLS_OUT_OF_INDEXES)
        TlsFree(gIndice);
}
#endif

}  // namespace

#if defined(_WIN32)
extern "C" {
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's own name for it
DWORD(WINAPI* __imp_TlsAlloc)() = prendi_indice;
}
#endif
