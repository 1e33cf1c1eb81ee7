// The effects in plain serial loops.
#include "semplici.h"

#include "comune/elementari.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace varno::semplici {
namespace {

// The picture and what the stages of the chain share; luma is not a view of img.
struct Quadro {
    Campioni img;   // interleaved RGB, larghezza * altezza * 3
    Campioni luma;  // larghezza * altezza
    int larghezza = 0;
    int altezza = 0;
    int lato_max = 0;
    int riduzione = 1;
};

std::size_t pixel(const Quadro& q)
{
    return static_cast<std::size_t>(q.larghezza) * static_cast<std::size_t>(q.altezza);
}

std::size_t indice(int larghezza, int x, int y)
{
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(larghezza) +
           static_cast<std::size_t>(x);
}

int arrotonda(double v)
{
    return static_cast<int>(std::lround(v));  // halves away from zero
}

float tieni(float v)
{
    return v > 0.0f ? std::min(v, 1.0f) : 0.0f;  // not-a-number becomes 0
}

// a at t = 0, b at t = 1.
float mescola(float a, float b, float t)
{
    return a * (1.0f - t) + b * t;
}

// Ramp from inizio over ampiezza, held to 0..1; not-a-number sits at 0.
float rampa(float l, float inizio, float ampiezza)
{
    return tieni((l - inizio) / ampiezza);
}

float luma_pixel(const float* rgb)
{
    return rgb[0] * 0.2126f + rgb[1] * 0.7152f + rgb[2] * 0.0722f;
}

float dettaglio(float l, float b)
{
    const float d = (l - b) * 3.0f;
    if (d > 3.0f)
        return 0.33333334f;
    if (d < -3.0f)
        return -0.33333334f;
    return ((d * d + 27.0f) * d / (d * d * 9.0f + 27.0f)) / 3.0f;
}

template <class F> Campioni maschera(const Quadro& q, F f)
{
    Campioni m;
    for (const float l : q.luma)
        m.push_back(f(l));
    return m;
}

void aggiorna_luma(Quadro& q)
{
    for (std::size_t i = 0; i < pixel(q); ++i)
        q.luma[i] = luma_pixel(&q.img[3 * i]);
}

// Lays f(pixel, channel) over the picture as a screen.
template <class F> void stendi(Quadro& q, F f)
{
    for (std::size_t i = 0; i < pixel(q); ++i)
        for (std::size_t c = 0; c < 3; ++c) {
            float& v = q.img[3 * i + c];
            v = 1.0f - (1.0f - f(i, c)) * (1.0f - v);
        }
    aggiorna_luma(q);
}

// One running-sum pass over n samples that lie passo floats apart, from da into a.
void passata_box(const float* da, float* a, int n, int passo, int raggio)
{
    const auto campione = [&](int x) {
        return da[static_cast<std::ptrdiff_t>(std::clamp(x, 0, n - 1)) * passo];
    };
    const float finestra = static_cast<float>(2 * raggio + 1);
    float somma = 0.0f;
    for (int x = -raggio; x <= raggio; ++x)
        somma = somma + campione(x);
    for (int x = 0; x < n; ++x) {
        a[static_cast<std::ptrdiff_t>(x) * passo] = somma / finestra;
        somma = somma + (campione(x + raggio + 1) - campione(x - raggio));
    }
}

// Means of blocks; larghezza and altezza become those of the copy.
Campioni riduci(const Campioni& piano, int& larghezza, int& altezza, int riduzione)
{
    const int w2 = std::max(1, larghezza / riduzione);
    const int h2 = std::max(1, altezza / riduzione);
    Campioni copia(static_cast<std::size_t>(w2) * static_cast<std::size_t>(h2), 0.0f);
    for (int Y = 0; Y < h2; ++Y) {
        for (int X = 0; X < w2; ++X) {
            float somma = 0.0f;
            int quanti = 0;
            for (int y = Y * riduzione; y < (Y + 1) * riduzione && y < altezza; ++y) {
                for (int x = X * riduzione; x < (X + 1) * riduzione && x < larghezza; ++x) {
                    somma = somma + piano[indice(larghezza, x, y)];
                    ++quanti;
                }
            }
            copia[indice(w2, X, Y)] = somma / static_cast<float>(std::max(1, quanti));
        }
    }
    larghezza = w2;
    altezza = h2;
    return copia;
}

// Bilinear value of a copy of w2 x h2 at (x, y) of the full plane, not centred.
float ingrandisci(const Campioni& copia, int w2, int h2, int x, int y, int riduzione)
{
    const float fy = static_cast<float>(y) / static_cast<float>(riduzione);
    const int y0 = std::min(h2 - 1, static_cast<int>(fy));
    const int y1 = std::min(h2 - 1, y0 + 1);
    const float ty = fy - static_cast<float>(y0);
    const float fx = static_cast<float>(x) / static_cast<float>(riduzione);
    const int x0 = std::min(w2 - 1, static_cast<int>(fx));
    const int x1 = std::min(w2 - 1, x0 + 1);
    const float tx = fx - static_cast<float>(x0);
    const auto riga = [&](int Y) {
        return mescola(copia[indice(w2, x0, Y)], copia[indice(w2, x1, Y)], tx);
    };
    return mescola(riga(y0), riga(y1), ty);
}

// Takes the picture over, works out the sizes and fills luma.
Quadro quadro_di(Campioni img, int larghezza, int altezza)
{
    Quadro q;
    q.img = std::move(img);
    q.larghezza = larghezza;
    q.altezza = altezza;
    q.luma.assign(pixel(q), 0.0f);
    aggiorna_luma(q);
    q.lato_max = std::max(larghezza, altezza);
    q.riduzione = q.lato_max < 1920 ? 1 : q.lato_max < 3840 ? q.lato_max / 960 : 4;
    return q;
}

// Box filter by running sums, along rows and then columns, or along rows alone.
void box_blur(Campioni& piano, int larghezza, int altezza, int raggio, int passate,
              bool colonne = true)
{
    if (raggio < 1)
        return;
    Campioni appoggio(piano.size(), 0.0f);
    for (int p = 0; p < passate; ++p) {
        for (int y = 0; y < altezza; ++y) {
            const std::size_t i = indice(larghezza, 0, y);
            passata_box(&piano[i], &appoggio[i], larghezza, 1, raggio);
        }
        if (!colonne)
            std::swap(piano, appoggio);
        for (int x = 0; colonne && x < larghezza; ++x)
            passata_box(&appoggio[indice(larghezza, x, 0)], &piano[indice(larghezza, x, 0)],
                        altezza, larghezza, raggio);
    }
}

// Three passes on a copy reduced by blocks, then enlarged over the plane; raggio in its pixels.
void blur_su_copia(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione,
                   bool colonne)
{
    int w2 = larghezza;
    int h2 = altezza;
    Campioni copia = riduci(piano, w2, h2, riduzione);
    box_blur(copia, w2, h2, std::max(1, raggio / riduzione), 3, colonne);
    for (int y = 0; y < altezza; ++y)
        for (int x = 0; x < larghezza; ++x)
            piano[indice(larghezza, x, y)] = ingrandisci(copia, w2, h2, x, y, riduzione);
}

// Likewise, on the plane itself where nothing is reduced.
void blur_su_ridotta(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    if (riduzione < 2)
        box_blur(piano, larghezza, altezza, raggio, 3);
    else
        blur_su_copia(piano, larghezza, altezza, raggio, riduzione, true);
}

// Detail of luminance, added (or taken out) as a ratio.
void dettagli(Quadro& q, float quantita, int raggio, float pendenza)
{
    Campioni sfocata = q.luma;
    box_blur(sfocata, q.larghezza, q.altezza, std::max(1, raggio), 3);
    for (std::size_t i = 0; i < pixel(q); ++i) {
        const float l = q.luma[i];
        const float n = l + dettaglio(l, sfocata[i]) * quantita * pendenza;
        const float tenuta = n > 0.000001f ? std::min(n, 1.0f) : 0.000001f;
        const float rapporto = tenuta / std::max(0.000001f, l);
        for (std::size_t c = 0; c < 3; ++c)
            q.img[3 * i + c] = tieni(q.img[3 * i + c] * rapporto);
    }
    aggiorna_luma(q);
}

// The picture's channels times a squared ramp of luma, one blurred plane a channel.
std::array<Campioni, 3> aloni(const Quadro& q, float inizio, float ampiezza, int raggio)
{
    std::array<Campioni, 3> alone;
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 0; i < pixel(q); ++i) {
            const float t = rampa(q.luma[i], inizio, ampiezza);
            alone[c].push_back(q.img[3 * i + c] * (t * t));
        }
        blur_su_ridotta(alone[c], q.larghezza, q.altezza, raggio, std::max(2, q.riduzione));
    }
    return alone;
}

void applica_enhance(Quadro& q, float quantita)
{
    dettagli(q, quantita, arrotonda(0.012 * q.lato_max), 2.0f);
}

void applica_pelle(Quadro& q, float quantita)
{
    dettagli(q, quantita, arrotonda(0.007 * q.lato_max), -1.6f);
}

void applica_halation(Quadro& q, float quantita)
{
    constexpr float PESI[3] = {1.0f, 0.36f, 0.12f};
    Campioni m = maschera(q, [](float l) { return unico::potenza(rampa(l, 0.62f, 0.38f), 1.6f); });
    blur_su_ridotta(m, q.larghezza, q.altezza, std::max(2, arrotonda(0.018 * q.lato_max)),
                    q.riduzione);
    stendi(q, [&](std::size_t i, std::size_t c) {
        return std::min(PESI[c] * (m[i] * quantita), 1.0f);
    });
}

void applica_bloom(Quadro& q, float quantita)
{
    Campioni m = maschera(q, [](float l) {
        const float t = rampa(l, 0.72f, 0.28f);
        return l * t * t;
    });
    blur_su_ridotta(m, q.larghezza, q.altezza, std::max(1, arrotonda(0.01 * q.lato_max)),
                    q.riduzione);
    const Campioni prima = q.luma;
    stendi(q, [&](std::size_t i, std::size_t) { return std::min(quantita * m[i], 1.0f); });
    q.luma = prima;  // it stays that of the picture before the glow
}

void applica_streak(Quadro& q, float quantita)
{
    constexpr float PESI[3] = {0.3f, 0.55f, 1.0f};
    Campioni m = maschera(q, [](float l) {
        const float t = rampa(l, 0.8f, 0.2f);
        return t * t * l;
    });
    const int raggio_streak = std::max(4, arrotonda(0.1 * q.larghezza));
    blur_su_copia(m, q.larghezza, q.altezza, raggio_streak, q.riduzione, false);
    stendi(q, [&](std::size_t i, std::size_t c) {
        return PESI[c] * std::min(m[i] * quantita * 2.2f, 1.0f);
    });
}

void applica_promist(Quadro& q, float quantita)
{
    const int raggio_promist = std::max(3, arrotonda(0.035 * q.lato_max));
    const auto alone = aloni(q, 0.45f, 0.55f, raggio_promist);
    stendi(q, [&](std::size_t i, std::size_t c) {
        return std::min(alone[c][i] * quantita * 1.5f, 1.0f);
    });
}

void applica_stella(Quadro& q, float quantita, int punte)
{
    const Campioni m = maschera(q, [](float l) {
        const float t = (l - 0.85f) / 0.15f;
        return !(t > 0.0f) ? 0.0f : t >= 1.0f ? l : t * t * l;
    });
    int w2 = q.larghezza;
    int h2 = q.altezza;
    const Campioni ridotta = riduci(m, w2, h2, q.riduzione);
    Campioni accumulo(ridotta.size(), 0.0f);

    int direzioni = 2;
    float angolo0 = 0.0f;
    if (punte == 4)
        angolo0 = 0.7853982f;
    else if (punte >= 8)
        direzioni = 4;
    else if (punte >= 6)
        direzioni = 3;
    const int mezza_lunghezza = std::max(3, arrotonda(q.larghezza * 0.09 / q.riduzione));
    const auto peso = [&](int k) {
        return 1.0f - static_cast<float>(std::abs(k)) / static_cast<float>(mezza_lunghezza + 1);
    };

    for (int d = 0; d < direzioni; ++d) {
        const float theta =
            static_cast<float>(d) * 3.1415927f / static_cast<float>(direzioni) + angolo0;
        const float seno = std::sin(theta);
        const float coseno = std::cos(theta);
        float peso_totale = 0.0f;
        for (int k = -mezza_lunghezza; k <= mezza_lunghezza; ++k)
            peso_totale = peso_totale + peso(k);
        for (int y = 0; y < h2; ++y) {
            for (int x = 0; x < w2; ++x) {
                float somma = 0.0f;
                for (int k = -mezza_lunghezza; k <= mezza_lunghezza; ++k) {
                    const float fk = static_cast<float>(k);
                    const int px = x + static_cast<int>(std::lround(fk * coseno));
                    const int py = y + static_cast<int>(std::lround(fk * seno));
                    if (px < 0 || px >= w2 || py < 0 || py >= h2)
                        continue;
                    somma = somma + peso(k) * ridotta[indice(w2, px, py)];
                }
                float& a = accumulo[indice(w2, x, y)];
                a = a + somma / peso_totale;
            }
        }
    }

    stendi(q, [&](std::size_t i, std::size_t) {
        const int x = static_cast<int>(i) % q.larghezza;
        const int y = static_cast<int>(i) / q.larghezza;
        return std::min(ingrandisci(accumulo, w2, h2, x, y, q.riduzione) * quantita * 2.4f, 1.0f);
    });
}

void applica_mistw(Quadro& q, float quantita)
{
    const int raggio_mistw = std::max(3, arrotonda(0.035 * q.lato_max));
    Campioni velo = q.luma;
    blur_su_ridotta(velo, q.larghezza, q.altezza, raggio_mistw, std::max(2, q.riduzione));
    double somma = 0.0;
    for (const float l : q.luma)
        somma += static_cast<double>(l);
    const float media = static_cast<float>(somma / static_cast<double>(pixel(q)));
    for (float& v : velo)
        v = v * 0.5f + media * 0.5f;

    const auto alone = aloni(q, 0.35f, 0.65f, raggio_mistw);
    for (std::size_t i = 0; i < pixel(q); ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            const float h = std::min(alone[c][i] * quantita * 1.3f, 1.0f);
            const float s = 1.0f - (1.0f - h) * (1.0f - q.img[3 * i + c]);
            const float v = quantita * 0.22f * velo[i];
            const float d = s + v * (1.0f - s);
            q.img[3 * i + c] = tieni(d);
        }
    }
    aggiorna_luma(q);
}

void applica_glimmer(Quadro& q, float quantita)
{
    Campioni m = maschera(q, [](float l) {
        const float t = (l - 0.55f) / 0.45f;
        return !(t > 0.0f) ? 0.0f : t >= 1.0f ? l : l * t;
    });
    const int raggio_glimmer = std::max(2, arrotonda(0.008 * q.lato_max));
    blur_su_ridotta(m, q.larghezza, q.altezza, raggio_glimmer, q.riduzione);
    stendi(q, [&](std::size_t i, std::size_t) { return std::min(m[i] * quantita * 1.4f, 1.0f); });
}

void applica_aberrazione(Quadro& q, float quantita)
{
    const Campioni copia = q.img;
    const float W = static_cast<float>(q.larghezza);
    const float H = static_cast<float>(q.altezza);
    const float cx = W * 0.5f;
    const float cy = H * 0.5f;
    const float lx = W - 1.001f;
    const float ly = H - 1.001f;
    for (int y = 0; y < q.altezza; ++y) {
        for (int x = 0; x < q.larghezza; ++x) {
            const float dx = static_cast<float>(x) - cx;
            const float dy = static_cast<float>(y) - cy;
            const float nx = dx / cx;
            const float ny = dy / cy;
            const float k = (nx * nx + ny * ny) * (quantita * 0.008f);
            const auto presa = [&](float a, int c) {
                // In this order not-a-number counts as 0.
                const float sx = std::min(std::max(0.0f, dx * a + cx), lx);
                const float sy = std::min(std::max(0.0f, dy * a + cy), ly);
                const int ix = static_cast<int>(sx);
                const int iy = static_cast<int>(sy);
                const float tx = sx - static_cast<float>(ix);
                const float ty = sy - static_cast<float>(iy);
                const auto C = [&](int px, int py) {
                    // Inside also where a side is 1 and the limits lie below 0.
                    return copia[3 * indice(q.larghezza, std::min(px, q.larghezza - 1),
                                            std::min(py, q.altezza - 1)) +
                                 static_cast<std::size_t>(c)];
                };
                return mescola(mescola(C(ix, iy), C(ix + 1, iy), tx),
                               mescola(C(ix, iy + 1), C(ix + 1, iy + 1), tx), ty);
            };
            float* rgb = &q.img[3 * indice(q.larghezza, x, y)];
            rgb[0] = presa(1.0f - k, 0);
            rgb[2] = presa(1.0f + k, 2);
        }
    }
}

Campioni vignetta_mask(int larghezza, int altezza)
{
    Campioni m(static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza), 0.0f);
    const float cx = static_cast<float>(larghezza) * 0.5f;
    const float cy = static_cast<float>(altezza) * 0.5f;
    for (int y = 0; y < altezza; ++y) {
        const float ny = (static_cast<float>(y) - cy) / cy;
        const float a = ny * ny;
        for (int x = 0; x < larghezza; ++x) {
            const float nx = (static_cast<float>(x) - cx) / cx;
            const float d = std::sqrt(nx * nx + a) / 1.4142135f;
            m[indice(larghezza, x, y)] = unico::potenza(rampa(d, 0.78f, 0.22f), 2.2f);
        }
    }
    return m;
}

void applica_vignetta(Quadro& q, float quantita)
{
    // Kept for frames of one size, as the fast form keeps its own: a benchmark compares frames.
    thread_local Campioni m;
    thread_local int larghezza = 0;
    thread_local int altezza = 0;
    if (larghezza != q.larghezza || altezza != q.altezza) {
        m = vignetta_mask(q.larghezza, q.altezza);
        larghezza = q.larghezza;
        altezza = q.altezza;
    }
    for (std::size_t i = 0; i < pixel(q); ++i) {
        const float k = 1.0f - m[i] * quantita;
        for (std::size_t c = 0; c < 3; ++c)
            q.img[3 * i + c] = tieni(q.img[3 * i + c] * k);
    }
}

void applica_grana(Quadro& q, float quantita, std::int32_t fotogramma)
{
    const int lg = (q.larghezza + 1) / 2;
    const int ag = (q.altezza + 1) / 2;
    const auto f = static_cast<std::uint32_t>(fotogramma);
    Campioni rumore(static_cast<std::size_t>(lg) * static_cast<std::size_t>(ag), 0.0f);
    for (int y = 0; y < ag; ++y) {
        for (int x = 0; x < lg; ++x) {
            const auto ux = static_cast<std::uint32_t>(x);
            const auto uy = static_cast<std::uint32_t>(y);
            rumore[indice(lg, x, y)] =
                hash_grana(ux, uy, f) + hash_grana(ux + 7919u, uy + 104729u, f) - 1.0f;
        }
    }
    for (int y = 0; y < q.altezza; ++y) {
        for (int x = 0; x < q.larghezza; ++x) {
            const float n = ingrandisci(rumore, lg, ag, x, y, 2);
            float* rgb = &q.img[3 * indice(q.larghezza, x, y)];
            const float l = luma_pixel(rgb);
            const float d = n * quantita * 0.14f * (l * (1.0f - l) * 4.0f);
            for (int c = 0; c < 3; ++c)
                rgb[c] = tieni(rgb[c] + d);
        }
    }
}

}  // namespace

void campiona(const Campioni& tavola, int n, const float* rgb, float* uscita)
{
    const float f = static_cast<float>(n - 1);
    int i0[3];
    int i1[3];
    float t[3];
    for (int a = 0; a < 3; ++a) {
        const float p = rgb[a] > 0.0f && rgb[a] < 1.0f ? rgb[a] * f : rgb[a] >= 1.0f ? f : 0.0f;
        i0[a] = static_cast<int>(p);
        i1[a] = std::min(i0[a] + 1, n - 1);
        t[a] = p - static_cast<float>(i0[a]);
    }
    for (int c = 0; c < 3; ++c) {
        const auto rosso = [&](int g, int b) {
            const auto S = [&](int r) {
                return tavola[static_cast<std::size_t>(((b * n + g) * n + r) * 3 + c)];
            };
            return mescola(S(i0[0]), S(i1[0]), t[0]);
        };
        uscita[c] = mescola(mescola(rosso(i0[1], i0[2]), rosso(i1[1], i0[2]), t[1]),
                            mescola(rosso(i0[1], i1[2]), rosso(i1[1], i1[2]), t[1]), t[2]);
    }
}

float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f)
{
    std::uint32_t h = x * 374761393u + y * 668265263u + f * 2246822519u + 2654435769u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h = h ^ (h >> 16);
    return static_cast<float>(h & 0xFFFFFFu) * 5.9604645e-8f;
}

void applica_fx(Campioni& img, int larghezza, int altezza, const FxRicetta& r, int riduzione)
{
    Quadro q = quadro_di(std::move(img), larghezza, altezza);
    if (riduzione > 0)
        q.riduzione = riduzione;
    const auto effetto = [&](float quantita, auto applica, auto... altro) {
        if (quantita > 0.0f)
            applica(q, quantita, altro...);
    };
    effetto(r.enhance, applica_enhance);
    effetto(r.pelle, applica_pelle);
    effetto(r.halation, applica_halation);
    effetto(r.bloom, applica_bloom);
    effetto(r.streak, applica_streak);
    effetto(r.promist, applica_promist);
    effetto(r.stella, applica_stella, r.punte);
    effetto(r.mistw, applica_mistw);
    effetto(r.glimmer, applica_glimmer);
    effetto(r.ca, applica_aberrazione);
    effetto(r.vignetta, applica_vignetta);
    effetto(r.grana, applica_grana, r.fotogramma);
    img = std::move(q.img);
}

}  // namespace varno::semplici
