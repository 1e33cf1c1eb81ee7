// What the readers behind OpenImageIO get wrong, and what is done about it.
#include "tools/quadri/lettori.h"

#include "tools/quadri/dpx.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace varno::provino {
namespace {

// A file that ends early is read as a picture, its rest black.
void controlla_png(Byte d, const std::string& nome)
{
    if (d.size() < 33)
        tronco(Formato::png, nome);
    controlla_misure(numero(d, 16, 4, false), numero(d, 20, 4, false), nome);
    for (std::size_t p = 8; p + 12 <= d.size();) {
        if (std::equal(d.begin() + p + 4, d.begin() + p + 8, "IEND"))
            return;
        p += std::size_t{12} + numero(d, p, 4, false);
    }
    tronco(Formato::png, nome);
}

// The same; and a size is believed, and memory taken, before a pixel is found.
void controlla_jpeg(Byte d, const std::string& nome)
{
    bool scansione = false;  // between a start of scan and the next marker stand coded pixels
    for (std::size_t p = 2; p + 1 < d.size();) {
        const unsigned char m = d[p + 1];
        if (d[p] != 0xff && !scansione)
            guasto(Formato::jpeg, nome, "marker");
        if (d[p] != 0xff || m == 0xff) {  // coded, or filling
            ++p;
            continue;
        }
        if (m == 0xd9)
            return;
        if ((m == 0x00 && scansione) || (m >= 0xd0 && m <= 0xd7) || m == 0x01) {
            p += 2;
            continue;
        }
        const bool misure = m >= 0xc0 && m <= 0xcf && m != 0xc4 && m != 0xc8 && m != 0xcc;
        if (p + (misure ? 9 : 4) > d.size())
            break;
        if (misure)
            controlla_misure(numero(d, p + 7, 2, false), numero(d, p + 5, 2, false), nome);
        scansione = m == 0xda;
        p += std::size_t{2} + numero(d, p + 2, 2, false);
    }
    tronco(Formato::jpeg, nome);
}

// 10 and 12 bits come at the top of 16, those below repeated or not; the code value is the fraction
// of its own range.
void raddrizza_bit(Foto& f)
{
    const int bit = f.testata.get_int_attribute("oiio:BitsPerSample", 0);
    if (f.testata.format != OIIO::TypeUInt16 || bit <= 8 || bit >= 16)
        return;
    const auto massimo = static_cast<float>((1 << bit) - 1);
    const auto sotto = static_cast<float>(1 << (16 - bit));
    float* p = f.rgba.get();
    for (std::size_t i = 0; i < quanti_float(f); ++i)
        p[i] = std::floor((p[i] * 65535.0f + 0.5f) / sotto) / massimo;
}

// Where 0 is white the reader turns samples of 8 bits, alpha among them, and no others.
void raddrizza_bianco(Foto& f)
{
    if (f.testata.get_int_attribute("tiff:PhotometricInterpretation", 1) != 0)
        return;
    const bool alfa = f.testata.format == OIIO::TypeUInt8;
    float* p = f.rgba.get();
    for (std::size_t i = 0; i < quanti_float(f); ++i)
        if ((i % 4 == 3) == alfa && (f.alfa || !alfa))
            p[i] = 1.0f - p[i];
}

}  // namespace

void prepara_lettura(Formato f, std::vector<unsigned char>& dati, const std::string& nome)
{
    if (f == Formato::png)
        controlla_png(dati, nome);
    if (f == Formato::jpeg)
        controlla_jpeg(dati, nome);
    if (f == Formato::dpx)
        prepara_dpx(dati, nome);
}

void sana_letti(Byte dati, int parte, const std::array<int, 4>& canali, Foto& f)
{
    raddrizza_bit(f);
    raddrizza_bianco(f);
    if (f.formato == Formato::dpx)
        rendi_persi(dati, f, parte, canali);
}

}  // namespace varno::provino
