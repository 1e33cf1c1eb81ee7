#include "tools/etichette.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace varno::provino {
namespace {

constexpr int LARGA = 5;  // cells of a letter
constexpr int ALTA = 9;   // seven above the line and two below
constexpr float PASSO = 6.0f;
constexpr float TRATTO = 0.46f;  // half the stroke, in cells

struct Lettera {
    char c;
    std::array<const char*, ALTA> righe;
};

// clang-format off
constexpr Lettera LETTERE[] = {
    {'A', {" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #", "", ""}},
    {'B', {"#### ", "#   #", "#   #", "#### ", "#   #", "#   #", "#### ", "", ""}},
    {'C', {" ### ", "#   #", "#    ", "#    ", "#    ", "#   #", " ### ", "", ""}},
    {'D', {"#### ", "#   #", "#   #", "#   #", "#   #", "#   #", "#### ", "", ""}},
    {'E', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####", "", ""}},
    {'F', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    ", "", ""}},
    {'G', {" ### ", "#   #", "#    ", "#  ##", "#   #", "#   #", " ### ", "", ""}},
    {'H', {"#   #", "#   #", "#   #", "#####", "#   #", "#   #", "#   #", "", ""}},
    {'I', {" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### ", "", ""}},
    {'J', {"   ##", "    #", "    #", "    #", "    #", "#   #", " ### ", "", ""}},
    {'K', {"#   #", "#  # ", "# #  ", "##   ", "# #  ", "#  # ", "#   #", "", ""}},
    {'L', {"#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####", "", ""}},
    {'M', {"#   #", "## ##", "# # #", "#   #", "#   #", "#   #", "#   #", "", ""}},
    {'N', {"#   #", "##  #", "# # #", "#  ##", "#   #", "#   #", "#   #", "", ""}},
    {'O', {" ### ", "#   #", "#   #", "#   #", "#   #", "#   #", " ### ", "", ""}},
    {'P', {"#### ", "#   #", "#   #", "#### ", "#    ", "#    ", "#    ", "", ""}},
    {'Q', {" ### ", "#   #", "#   #", "#   #", "# # #", "#  # ", " ## #", "", ""}},
    {'R', {"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #", "", ""}},
    {'S', {" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### ", "", ""}},
    {'T', {"#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "", ""}},
    {'U', {"#   #", "#   #", "#   #", "#   #", "#   #", "#   #", " ### ", "", ""}},
    {'V', {"#   #", "#   #", "#   #", "#   #", "#   #", " # # ", "  #  ", "", ""}},
    {'W', {"#   #", "#   #", "#   #", "#   #", "# # #", "## ##", "#   #", "", ""}},
    {'X', {"#   #", "#   #", " # # ", "  #  ", " # # ", "#   #", "#   #", "", ""}},
    {'Y', {"#   #", "#   #", " # # ", "  #  ", "  #  ", "  #  ", "  #  ", "", ""}},
    {'Z', {"#####", "    #", "   # ", "  #  ", " #   ", "#    ", "#####", "", ""}},
    {'a', {"", "", " ### ", "    #", " ####", "#   #", " ####", "", ""}},
    {'b', {"#    ", "#    ", "#### ", "#   #", "#   #", "#   #", "#### ", "", ""}},
    {'c', {"", "", " ### ", "#    ", "#    ", "#    ", " ### ", "", ""}},
    {'d', {"    #", "    #", " ####", "#   #", "#   #", "#   #", " ####", "", ""}},
    {'e', {"", "", " ### ", "#   #", "#####", "#    ", " ### ", "", ""}},
    {'f', {"  ## ", " #   ", "#### ", " #   ", " #   ", " #   ", " #   ", "", ""}},
    {'g', {"", "", " ####", "#   #", "#   #", "#   #", " ####", "    #", " ### "}},
    {'h', {"#    ", "#    ", "#### ", "#   #", "#   #", "#   #", "#   #", "", ""}},
    {'i', {"  #  ", "", " ##  ", "  #  ", "  #  ", "  #  ", " ### ", "", ""}},
    {'j', {"   # ", "", "  ## ", "   # ", "   # ", "   # ", "   # ", "   # ", " ##  "}},
    {'k', {"#    ", "#    ", "#  # ", "# #  ", "##   ", "# #  ", "#  # ", "", ""}},
    {'l', {" ##  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### ", "", ""}},
    {'m', {"", "", "## # ", "# # #", "# # #", "# # #", "# # #", "", ""}},
    {'n', {"", "", "#### ", "#   #", "#   #", "#   #", "#   #", "", ""}},
    {'o', {"", "", " ### ", "#   #", "#   #", "#   #", " ### ", "", ""}},
    {'p', {"", "", "#### ", "#   #", "#   #", "#   #", "#### ", "#    ", "#    "}},
    {'q', {"", "", " ####", "#   #", "#   #", "#   #", " ####", "    #", "    #"}},
    {'r', {"", "", "# ## ", "##   ", "#    ", "#    ", "#    ", "", ""}},
    {'s', {"", "", " ####", "#    ", " ### ", "    #", "#### ", "", ""}},
    {'t', {" #   ", " #   ", "#### ", " #   ", " #   ", " #   ", "  ## ", "", ""}},
    {'u', {"", "", "#   #", "#   #", "#   #", "#   #", " ####", "", ""}},
    {'v', {"", "", "#   #", "#   #", "#   #", " # # ", "  #  ", "", ""}},
    {'w', {"", "", "#   #", "#   #", "# # #", "# # #", " # # ", "", ""}},
    {'x', {"", "", "#   #", " # # ", "  #  ", " # # ", "#   #", "", ""}},
    {'y', {"", "", "#   #", "#   #", "#   #", "#   #", " ####", "    #", " ### "}},
    {'z', {"", "", "#####", "   # ", "  #  ", " #   ", "#####", "", ""}},
    {'0', {" ### ", "#   #", "#   #", "#   #", "#   #", "#   #", " ### ", "", ""}},
    {'1', {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### ", "", ""}},
    {'2', {" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####", "", ""}},
    {'3', {" ### ", "#   #", "    #", "  ## ", "    #", "#   #", " ### ", "", ""}},
    {'4', {"#  # ", "#  # ", "#  # ", "#####", "   # ", "   # ", "   # ", "", ""}},
    {'5', {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### ", "", ""}},
    {'6', {" ### ", "#    ", "#    ", "#### ", "#   #", "#   #", " ### ", "", ""}},
    {'7', {"#####", "    #", "   # ", "  #  ", "  #  ", "  #  ", "  #  ", "", ""}},
    {'8', {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### ", "", ""}},
    {'9', {" ### ", "#   #", "#   #", " ####", "    #", "    #", " ### ", "", ""}},
    {'+', {"", "  #  ", "  #  ", "#####", "  #  ", "  #  ", "", "", ""}},
    {'-', {"", "", "", "#####", "", "", "", "", ""}},
    {'.', {"", "", "", "", "", "", "  #  ", "", ""}},
    {',', {"", "", "", "", "", "", "  #  ", " #   ", ""}},
    {':', {"", "", "  #  ", "", "", "", "  #  ", "", ""}},
    {'/', {"    #", "    #", "   # ", "  #  ", " #   ", "#    ", "#    ", "", ""}},
    {'=', {"", "", "#####", "", "#####", "", "", "", ""}},
    {'(', {"   # ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "   # ", "", ""}},
    {')', {" #   ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " #   ", "", ""}},
};
// clang-format on

const Lettera* lettera(char c)
{
    const auto* l = std::find_if(std::begin(LETTERE), std::end(LETTERE),
                                 [c](const Lettera& x) { return x.c == c; });
    return l == std::end(LETTERE) ? nullptr : l;
}

bool acceso(const Lettera& l, int x, int y)
{
    if (x < 0 || x >= LARGA || y < 0 || y >= ALTA)
        return false;
    const char* r = l.righe[static_cast<std::size_t>(y)];
    return r[0] != '\0' && r[x] == '#';
}

float al_segmento(float px, float py, float ax, float ay, float bx, float by)
{
    const float dx = bx - ax;
    const float dy = by - ay;
    const float t = std::clamp(((px - ax) * dx + (py - ay) * dy) / (dx * dx + dy * dy), 0.0f, 1.0f);
    return std::hypot(px - ax - t * dx, py - ay - t * dy);
}

// Distance to the letter's strokes: lines through the centres of neighbouring cells, diagonal ones
// only where no cell fills the corner.
float distanza(const Lettera& l, float x, float y)
{
    float d = 100.0f;
    const int cx = static_cast<int>(std::floor(x));
    const int cy = static_cast<int>(std::floor(y));
    for (int j = cy - 2; j <= cy + 2; ++j)
        for (int i = cx - 2; i <= cx + 2; ++i) {
            if (!acceso(l, i, j))
                continue;
            const float ax = static_cast<float>(i) + 0.5f;
            const float ay = static_cast<float>(j) + 0.5f;
            d = std::min(d, std::hypot(x - ax, y - ay));
            constexpr int VICINI[4][2] = {{1, 0}, {0, 1}, {1, 1}, {-1, 1}};
            for (const auto& [vx, vy] : VICINI) {
                const bool diagonale = vx * vy != 0;
                if (acceso(l, i + vx, j + vy) &&
                    (!diagonale || (!acceso(l, i + vx, j) && !acceso(l, i, j + vy))))
                    d = std::min(d, al_segmento(x, y, ax, ay, ax + static_cast<float>(vx),
                                                ay + static_cast<float>(vy)));
            }
        }
    return d;
}

}  // namespace

float larghezza_testo(const std::string& testo)
{
    return PASSO * static_cast<float>(testo.size()) - 1.0f;
}

float copertura(const std::string& testo, float x, float y)
{
    if (x < 0.0f || y < -1.0f || y > static_cast<float>(ALTA))
        return 0.0f;
    const auto i = static_cast<std::size_t>(x / PASSO);
    const Lettera* l = i < testo.size() ? lettera(testo[i]) : nullptr;
    return l != nullptr && distanza(*l, x - PASSO * static_cast<float>(i), y) <= TRATTO ? 1.0f
                                                                                        : 0.0f;
}

void scrivi_etichetta(Foto& foto, const std::string& testo, int x0, int y0, float alto,
                      const float (&colore)[3])
{
    constexpr int CAMPIONI = 4;  // a side of a pixel
    const float cella = alto / 7.0f;
    const int larga = static_cast<int>(std::ceil(larghezza_testo(testo) * cella));
    const int alta = static_cast<int>(std::ceil(static_cast<float>(ALTA) * cella));
    for (int y = std::max(0, y0); y < std::min(foto.altezza, y0 + alta); ++y)
        for (int x = std::max(0, x0); x < std::min(foto.larghezza, x0 + larga); ++x) {
            float a = 0.0f;
            for (int s = 0; s < CAMPIONI * CAMPIONI; ++s) {
                const float sx = (static_cast<float>(s % CAMPIONI) + 0.5f) / CAMPIONI;
                const float sy = (static_cast<float>(s / CAMPIONI) + 0.5f) / CAMPIONI;
                a += copertura(testo, (static_cast<float>(x - x0) + sx) / cella,
                               (static_cast<float>(y - y0) + sy) / cella);
            }
            a /= static_cast<float>(CAMPIONI * CAMPIONI);
            float* p = &foto.rgba[4 * (static_cast<std::size_t>(y) *
                                           static_cast<std::size_t>(foto.larghezza) +
                                       static_cast<std::size_t>(x))];
            for (std::size_t c = 0; c < 3; ++c)
                p[c] += a * (colore[c] - p[c]);
        }
}

}  // namespace varno::provino
