// Writes colore/curve_dati.cpp to standard output: each curve's rule in double, rounded once.
#include "colore/curve_regole.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int COLONNE = 100;

// The fewest digits that read back as the same float, as a literal; its length without the f.
int scrivi_letterale(float v, char (&testo)[32])
{
    int n = 0;
    for (int cifre = 1; cifre <= 9; ++cifre) {
        n = std::snprintf(testo, sizeof testo, "%.*g", cifre, static_cast<double>(v));
        if (std::strtof(testo, nullptr) == v)
            break;
    }
    if (std::strpbrk(testo, ".e") == nullptr)
        n += std::snprintf(testo + n, sizeof testo - n, ".0");
    return n;
}

}  // namespace

int main()
{
    std::puts("// Made by colore/genera_curve.cpp: not to be edited by hand.\n"
              "#include \"colore/curve.h\"\n"
              "\n"
              "// clang-format off\n"
              "namespace varno {");
    for (const varno::RegolaCurva& regola : varno::REGOLE_CURVE) {
        std::printf("\nconst float %s[CAMPIONI_CURVA] = {", regola.nome);
        int colonna = COLONNE;
        for (int i = 0; i < varno::CAMPIONI_CURVA; ++i) {
            char testo[32];
            const int n = scrivi_letterale(static_cast<float>(regola.campione(i)), testo);
            if (colonna + n + 2 > COLONNE) {
                std::putchar('\n');
                colonna = 0;
            }
            std::printf("%sf,", testo);
            colonna += n + 2;
        }
        std::puts("\n};");
    }
    std::puts("\n}  // namespace varno\n"
              "// clang-format on");
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
