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

// f(x, y, the pixel's channels).
template <class F> void per_pixel(Quadro& q, F f)
{
    for (int y = 0; y < q.altezza; ++y)
        for (int x = 0; x < q.larghezza; ++x)
            f(x, y, &q.img[3 * indice(q.larghezza, x, y)]);
}

void aggiorna_luma(Quadro& q)
{
    for (std::size_t i = 0; i < pixel(q); ++i)
        q.luma[i] = luma_pixel(&q.img[3 * i]);
}

float schermo(float v, float sopra)
{
    return 1.0f - (1.0f - sopra) * (1.0f - v);
}

// Lays f(pixel, channel) over the picture as a screen.
template <class F> void stendi(Quadro& q, F f)
{
    for (std::size_t i = 0; i < 3 * pixel(q); ++i)
        q.img[i] = schermo(q.img[i], f(i / 3, i % 3));
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
    for (int Y = 0; Y < h2; ++Y)
        for (int X = 0; X < w2; ++X) {
            float somma = 0.0f;
            int quanti = 0;
            for (int y = Y * riduzione; y < (Y + 1) * riduzione && y < altezza; ++y)
                for (int x = X * riduzione; x < (X + 1) * riduzione && x < larghezza; ++x, ++quanti)
                    somma = somma + piano[indice(larghezza, x, y)];
            copia[indice(w2, X, Y)] = somma / static_cast<float>(quanti);
        }
    larghezza = w2;
    altezza = h2;
    return copia;
}

// Bilinear value of a copy of w2 x h2 at (x, y) of the full plane, not centred.
float ingrandisci(const Campioni& copia, int w2, int h2, int x, int y, int riduzione)
{
    const float fx = static_cast<float>(x) / static_cast<float>(riduzione);
    const float fy = static_cast<float>(y) / static_cast<float>(riduzione);
    const int x0 = std::min(w2 - 1, static_cast<int>(fx));
    const int y0 = std::min(h2 - 1, static_cast<int>(fy));
    const auto riga = [&](int Y) {
        return mescola(copia[indice(w2, x0, Y)], copia[indice(w2, std::min(w2 - 1, x0 + 1), Y)],
                       fx - static_cast<float>(x0));
    };
    return mescola(riga(y0), riga(std::min(h2 - 1, y0 + 1)), fy - static_cast<float>(y0));
}

}  // namespace

Quadro quadro_di(Campioni img, int larghezza, int altezza)
{
    const int lato = std::max(larghezza, altezza);
    Quadro q = {std::move(img), {},   larghezza,
                altezza,        lato, lato < 1920 ? 1 : lato < 3840 ? lato / 960 : 4};
    q.luma.assign(pixel(q), 0.0f);
    aggiorna_luma(q);
    return q;
}

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

void box_blur(Campioni& piano, int larghezza, int altezza, int raggio, int passate, bool colonne)
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

void blur_su_ridotta(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    if (riduzione < 2)
        box_blur(piano, larghezza, altezza, raggio, 3);
    else
        blur_su_copia(piano, larghezza, altezza, raggio, riduzione, true);
}

namespace {

int raggio_di(const Quadro& q, double parte, int minimo)
{
    return std::max(minimo, arrotonda(parte * q.lato_max));
}

// Detail of luminance, added (or taken out) as a ratio.
void dettagli(Quadro& q, float quantita, double parte, float pendenza)
{
    Campioni sfocata = q.luma;
    box_blur(sfocata, q.larghezza, q.altezza, raggio_di(q, parte, 1), 3);
    for (std::size_t i = 0; i < 3 * pixel(q); ++i) {
        const float l = q.luma[i / 3];
        const float n = l + dettaglio(l, sfocata[i / 3]) * quantita * pendenza;
        const float tenuta = n > 0.000001f ? std::min(n, 1.0f) : 0.000001f;
        q.img[i] = tieni(q.img[i] * (tenuta / std::max(0.000001f, l)));
    }
    aggiorna_luma(q);
}

// What f makes of the luma, blurred; strato(it, channel) is laid over the picture as a screen.
template <class F, class S> void alone(Quadro& q, double parte, int minimo, F f, S strato)
{
    Campioni m = maschera(q, f);
    blur_su_ridotta(m, q.larghezza, q.altezza, raggio_di(q, parte, minimo), q.riduzione);
    stendi(q, [&](std::size_t i, std::size_t c) { return std::min(strato(m[i], c), 1.0f); });
}

// A channel of the picture times a squared ramp of luma, blurred.
std::array<Campioni, 3> aloni(const Quadro& q, float inizio, float ampiezza)
{
    std::array<Campioni, 3> alone;
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 0; i < pixel(q); ++i) {
            const float t = rampa(q.luma[i], inizio, ampiezza);
            alone[c].push_back(q.img[3 * i + c] * (t * t));
        }
        blur_su_ridotta(alone[c], q.larghezza, q.altezza, raggio_di(q, 0.035, 3),
                        std::max(2, q.riduzione));
    }
    return alone;
}

void applica_halation(Quadro& q, float quantita)
{
    constexpr float PESI[3] = {1.0f, 0.36f, 0.12f};
    alone(
        q, 0.018, 2, [](float l) { return unico::potenza(rampa(l, 0.62f, 0.38f), 1.6f); },
        [&](float m, std::size_t c) { return PESI[c] * (m * quantita); });
}

void applica_bloom(Quadro& q, float quantita)
{
    const Campioni prima = q.luma;
    alone(
        q, 0.01, 1,
        [](float l) {
            const float t = rampa(l, 0.72f, 0.28f);
            return l * t * t;
        },
        [&](float m, std::size_t) { return quantita * m; });
    q.luma = prima;  // it stays that of the picture before the glow
}

void applica_streak(Quadro& q, float quantita)
{
    constexpr float PESI[3] = {0.3f, 0.55f, 1.0f};
    Campioni m = maschera(q, [](float l) {
        const float t = rampa(l, 0.8f, 0.2f);
        return t * t * l;
    });
    blur_su_copia(m, q.larghezza, q.altezza, std::max(4, arrotonda(0.1 * q.larghezza)), q.riduzione,
                  false);
    stendi(q, [&](std::size_t i, std::size_t c) {
        return PESI[c] * std::min(m[i] * quantita * 2.2f, 1.0f);
    });
}

void applica_promist(Quadro& q, float quantita)
{
    const auto alone = aloni(q, 0.45f, 0.55f);
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

    const int direzioni = punte >= 8 ? 4 : punte >= 6 ? 3 : 2;
    const float angolo0 = punte == 4 ? 0.7853982f : 0.0f;
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
        for (int i = 0; i < w2 * h2; ++i) {
            float somma = 0.0f;
            for (int k = -mezza_lunghezza; k <= mezza_lunghezza; ++k) {
                const float fk = static_cast<float>(k);
                const int px = i % w2 + static_cast<int>(std::lround(fk * coseno));
                const int py = i / w2 + static_cast<int>(std::lround(fk * seno));
                if (px >= 0 && px < w2 && py >= 0 && py < h2)
                    somma = somma + peso(k) * ridotta[indice(w2, px, py)];
            }
            float& a = accumulo[static_cast<std::size_t>(i)];
            a = a + somma / peso_totale;
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
    Campioni velo = q.luma;
    blur_su_ridotta(velo, q.larghezza, q.altezza, raggio_di(q, 0.035, 3), std::max(2, q.riduzione));
    double somma = 0.0;
    for (const float l : q.luma)
        somma += static_cast<double>(l);
    const float media = static_cast<float>(somma / static_cast<double>(pixel(q)));
    const auto alone = aloni(q, 0.35f, 0.65f);
    for (std::size_t i = 0; i < 3 * pixel(q); ++i) {
        const float h = std::min(alone[i % 3][i / 3] * quantita * 1.3f, 1.0f);
        const float s = schermo(q.img[i], h);
        const float v = quantita * 0.22f * (velo[i / 3] * 0.5f + media * 0.5f);
        q.img[i] = tieni(s + v * (1.0f - s));
    }
    aggiorna_luma(q);
}

void applica_glimmer(Quadro& q, float quantita)
{
    alone(
        q, 0.008, 2,
        [](float l) {
            const float t = (l - 0.55f) / 0.45f;
            return !(t > 0.0f) ? 0.0f : t >= 1.0f ? l : l * t;
        },
        [&](float m, std::size_t) { return m * quantita * 1.4f; });
}

void applica_aberrazione(Quadro& q, float quantita)
{
    const Campioni copia = q.img;
    const float W = static_cast<float>(q.larghezza);
    const float H = static_cast<float>(q.altezza);
    const float cx = W * 0.5f;
    const float cy = H * 0.5f;
    per_pixel(q, [&](int x, int y, float* rgb) {
        const float dx = static_cast<float>(x) - cx;
        const float dy = static_cast<float>(y) - cy;
        const float nx = dx / cx;
        const float ny = dy / cy;
        const float k = (nx * nx + ny * ny) * (quantita * 0.008f);
        const auto presa = [&](float a, std::size_t c) {
            // In this order not-a-number counts as 0.
            const float sx = std::min(std::max(0.0f, dx * a + cx), W - 1.001f);
            const float sy = std::min(std::max(0.0f, dy * a + cy), H - 1.001f);
            const int ix = static_cast<int>(sx);
            const int iy = static_cast<int>(sy);
            const auto riga = [&](int py) {
                const auto C = [&](int px) {
                    // Inside also where a side is 1 and the limits lie below 0.
                    return copia[3 * indice(q.larghezza, std::min(px, q.larghezza - 1),
                                            std::min(py, q.altezza - 1)) +
                                 c];
                };
                return mescola(C(ix), C(ix + 1), sx - static_cast<float>(ix));
            };
            return mescola(riga(iy), riga(iy + 1), sy - static_cast<float>(iy));
        };
        rgb[0] = presa(1.0f - k, 0);
        rgb[2] = presa(1.0f + k, 2);
    });
}

}  // namespace

Campioni vignetta_mask(int larghezza, int altezza)
{
    Campioni m;
    const float cx = static_cast<float>(larghezza) * 0.5f;
    const float cy = static_cast<float>(altezza) * 0.5f;
    for (int i = 0; i < larghezza * altezza; ++i) {
        const float nx = (static_cast<float>(i % larghezza) - cx) / cx;
        const float ny = (static_cast<float>(i / larghezza) - cy) / cy;
        const float d = std::sqrt(nx * nx + ny * ny) / 1.4142135f;
        m.push_back(unico::potenza(rampa(d, 0.78f, 0.22f), 2.2f));
    }
    return m;
}

float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f)
{
    std::uint32_t h = x * 374761393u + y * 668265263u + f * 2246822519u + 2654435769u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h = h ^ (h >> 16);
    return static_cast<float>(h & 0xFFFFFFu) * 5.9604645e-8f;
}

namespace {

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
    for (std::size_t i = 0; i < 3 * pixel(q); ++i)
        q.img[i] = tieni(q.img[i] * (1.0f - m[i / 3] * quantita));
}

void applica_grana(Quadro& q, float quantita, std::int32_t fotogramma)
{
    const int lg = (q.larghezza + 1) / 2;
    const int ag = (q.altezza + 1) / 2;
    const auto f = static_cast<std::uint32_t>(fotogramma);
    Campioni rumore;
    for (int i = 0; i < lg * ag; ++i) {
        const auto x = static_cast<std::uint32_t>(i % lg);
        const auto y = static_cast<std::uint32_t>(i / lg);
        rumore.push_back(hash_grana(x, y, f) + hash_grana(x + 7919u, y + 104729u, f) - 1.0f);
    }
    per_pixel(q, [&](int x, int y, float* rgb) {
        const float n = ingrandisci(rumore, lg, ag, x, y, 2);
        const float l = luma_pixel(rgb);
        const float d = n * quantita * 0.14f * (l * (1.0f - l) * 4.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = tieni(rgb[c] + d);
    });
}

}  // namespace

void applica_fx(Campioni& img, int larghezza, int altezza, const FxRicetta& r, int riduzione)
{
    Quadro q = quadro_di(std::move(img), larghezza, altezza);
    if (riduzione > 0)
        q.riduzione = riduzione;
    const auto effetto = [&](float quantita, auto applica, auto... altro) {
        if (quantita > 0.0f)
            applica(q, quantita, altro...);
    };
    effetto(r.enhance, dettagli, 0.012, 2.0f);
    effetto(r.pelle, dettagli, 0.007, -1.6f);
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
