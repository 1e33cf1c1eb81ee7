// Only where libstdc++ is inside the module: what it sets aside for exceptions when memory has run
// out would stay behind at every unload.
namespace __gnu_cxx {

void __freeres();

}  // namespace __gnu_cxx

namespace {

__attribute__((destructor)) void restituisci_riserva()
{
    __gnu_cxx::__freeres();
}

}  // namespace
