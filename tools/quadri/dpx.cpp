// DPX files, as far as the reader and the writer behind OpenImageIO have to be helped.
#include "tools/quadri/dpx.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace varno::provino {
namespace {

constexpr std::size_t TESTATA = 2048;
constexpr std::size_t GENERICA = 1664;  // without film and television
constexpr std::size_t PRIMO_ELEMENTO = 780;
constexpr std::size_t LUNGO_ELEMENTO = 72;
constexpr std::uint32_t INDEFINITO = 0xffffffff;
constexpr unsigned ABGR = 52;

bool piccolo_prima(Byte d)
{
    return d[0] == 'X';
}
std::uint32_t u32(Byte d, std::size_t p)
{
    return numero(d, p, 4, piccolo_prima(d));
}
std::uint32_t u16(Byte d, std::size_t p)
{
    return numero(d, p, 2, piccolo_prima(d));
}

void scrivi(std::vector<unsigned char>& d, std::size_t p, std::uint32_t n)
{
    for (std::size_t i = 0; i < 4; ++i, n >>= 8)
        d[p + (piccolo_prima(d) ? i : 3 - i)] = static_cast<unsigned char>(n);
}

struct Elemento {
    bool con_segno = false;
    unsigned descrittore = 0, bit = 0, componenti = 0;
    std::uint32_t imballo = 0, codifica = 0;
    std::uint64_t inizio = 0;
    std::uint32_t dopo_riga = 0, dopo_immagine = 0;  // bytes
};

Elemento elemento(Byte d, std::size_t quale)
{
    const std::size_t qui = PRIMO_ELEMENTO + LUNGO_ELEMENTO * quale;
    const auto o_niente = [](std::uint32_t n) { return n == INDEFINITO ? 0u : n; };
    Elemento e;
    e.con_segno = u32(d, qui) == 1;
    e.descrittore = d[qui + 20];
    e.componenti = e.descrittore < 50 ? 1 : e.descrittore == 50 ? 3 : 4;
    e.bit = d[qui + 23];
    e.imballo = u16(d, qui + 24);
    e.codifica = u16(d, qui + 26);
    e.inizio = o_niente(u32(d, qui + 28));
    if (e.inizio == 0 && quale == 0)  // as the file's pixels do
        e.inizio = u32(d, 4);
    e.dopo_riga = o_niente(u32(d, qui + 32));
    e.dopo_immagine = o_niente(u32(d, qui + 36));
    return e;
}

void controlla(Byte d, const Elemento& e, const std::string& nome)
{
    constexpr unsigned BIT[] = {8, 10, 12, 16, 32, 64};
    constexpr unsigned DESCRITTORI[] = {1, 2, 3, 4, 6, 50, 51, ABGR};  // single planes, RGB, RGBA
    if (e.descrittore >= 100 && e.descrittore <= 103)
        fallisci("'%s' is a DPX of luma and colour differences, which are not read: save it as RGB",
                 nome);
    if (std::ranges::count(DESCRITTORI, e.descrittore) == 0)
        guasto(Formato::dpx, nome, "kind of element");
    if (std::ranges::count(BIT, e.bit) == 0)
        guasto(Formato::dpx, nome, "bit depth");
    if (e.imballo > 2)
        guasto(Formato::dpx, nome, "packing");
    if (e.codifica != 0)
        fallisci("'%s' is a run-length coded DPX, which is not read: save it uncompressed", nome);
    if (e.con_segno && e.bit < 32)
        fallisci("'%s' is a DPX of signed samples, which programs read differently: choose with "
                 "'oiiotool %s -d float -o signed.exr', which takes them as two's complement",
                 nome, nome);
    if (e.dopo_riga > d.size() || e.dopo_immagine > d.size())
        guasto(Formato::dpx, nome, "padding");
    // The least that the pixels can take, as if lines ran on without a gap.
    const std::uint64_t campioni = std::uint64_t{u32(d, 772)} * u32(d, 776) * e.componenti;
    std::uint64_t byte = (campioni * e.bit + 7) / 8;
    if (e.imballo != 0 && e.bit == 10)
        byte = campioni / 3 * 4;
    if (e.imballo != 0 && e.bit == 12)
        byte = campioni * 2;
    if (e.inizio < GENERICA || e.inizio + byte > d.size())
        tronco(Formato::dpx, nome);
}

// Bytes behind each row that the header does not tell of: rows end on 32 bits, but not with all
// writers, which the file's length shows.
std::uint32_t non_detti(Byte d, const Elemento& e, std::uint64_t fine)
{
    const bool parole = e.imballo != 0 && e.bit == 12;  // a sample each, of 16 bits
    if (e.dopo_riga != 0 || (e.bit != 8 && e.bit != 16 && !parole))
        return 0;
    const std::uint64_t riga = std::uint64_t{u32(d, 772)} * e.componenti * (e.bit == 8 ? 1 : 2);
    const std::uint64_t manca = (4 - riga % 4) % 4;
    return e.inizio + (riga + manca) * u32(d, 776) - manca <= fine
               ? static_cast<std::uint32_t>(manca)
               : 0;
}

// The header in full, where it ends before its fields on film and television.
void completa(std::vector<unsigned char>& dati, std::size_t elementi, const std::string& nome)
{
    const std::size_t inizio = u32(dati, 4);
    if (inizio < GENERICA || inizio >= TESTATA)
        return;
    if (inizio > dati.size())
        tronco(Formato::dpx, nome);
    const auto sposta = [&](std::size_t campo) {
        const std::uint32_t n = u32(dati, campo);
        if (n >= inizio && n != INDEFINITO)
            scrivi(dati, campo, n + static_cast<std::uint32_t>(TESTATA - inizio));
    };
    for (std::size_t i = 0; i < elementi; ++i)
        sposta(PRIMO_ELEMENTO + LUNGO_ELEMENTO * i + 28);
    sposta(4);
    std::vector<unsigned char> niente(TESTATA - GENERICA, 0xff);  // numbers; then the texts
    std::fill_n(niente.begin(), 48, std::uint8_t{0});
    std::fill_n(niente.begin() + 68, 188, std::uint8_t{0});
    dati.insert(dati.begin() + static_cast<std::ptrdiff_t>(inizio),
                niente.begin() + static_cast<std::ptrdiff_t>(inizio - GENERICA), niente.end());
}

}  // namespace

void prepara_dpx(std::vector<unsigned char>& dati, const std::string& nome)
{
    if (dati.size() < GENERICA)
        tronco(Formato::dpx, nome);
    const std::uint32_t utente = u32(dati, 32);
    if (utente != INDEFINITO && utente > dati.size() - GENERICA)
        guasto(Formato::dpx, nome, "length of user data");
    const std::size_t elementi = u16(dati, 770);
    if (elementi < 1 || elementi > 8)
        guasto(Formato::dpx, nome, "count of elements");
    controlla_misure(u32(dati, 772), u32(dati, 776), nome);
    for (std::size_t i = 0; i < elementi; ++i) {
        const Elemento e = elemento(dati, i);
        controlla(dati, e, nome);
        const std::uint64_t fine = i + 1 < elementi ? elemento(dati, i + 1).inizio : dati.size();
        // Of an element that tells no place the reader takes whatever stands in memory.
        scrivi(dati, PRIMO_ELEMENTO + LUNGO_ELEMENTO * i + 28,
               static_cast<std::uint32_t>(e.inizio));
        if (const std::uint32_t n = non_detti(dati, e, fine); n > 0)
            scrivi(dati, PRIMO_ELEMENTO + LUNGO_ELEMENTO * i + 32, n);
    }
    completa(dati, elementi, nome);
}

void scrivi_forma_dpx(std::vector<unsigned char>& dati, float forma)
{
    constexpr std::size_t FORMA = 1628;
    if (!(forma < 1.0f))
        return;
    scrivi(dati, FORMA, static_cast<std::uint32_t>(std::lround(10000.0f * forma)));
    scrivi(dati, FORMA + 4, 10000);
}

void rendi_persi(Byte d, Foto& f, int parte, const std::array<int, 4>& canali)
{
    const Elemento e = elemento(d, static_cast<std::size_t>(parte));
    const std::uint64_t campioni = std::uint64_t{u32(d, 772)} * e.componenti;
    const std::uint64_t resto = campioni % 3;
    const std::uint64_t riga = (campioni + 2) / 3 * 4 + e.dopo_riga;
    const std::uint64_t ultima = e.inizio + campioni / 3 * 4;
    const auto altezza = static_cast<std::uint64_t>(f.altezza);
    if (e.bit != 10 || e.imballo == 0 || ultima + (altezza - 1) * riga + 4 > d.size())
        return;
    for (std::uint64_t y = 0; y < altezza; ++y)
        for (std::uint64_t i = 0; i < resto; ++i) {
            // Colours begin at the top of the word, a single component below.
            const std::uint64_t posto = e.componenti == 1 ? i : 2 - i;
            const std::uint32_t parola = u32(d, ultima + y * riga) >> (e.imballo == 1 ? 2 : 0);
            const std::uint64_t quale = campioni - resto + i;
            const auto canale = static_cast<int>(quale % e.componenti);
            for (std::size_t c = 0; c < 4; ++c)
                if (canali[c] == (e.descrittore == ABGR ? 3 - canale : canale))
                    f.rgba[4 * (y * f.larghezza + quale / e.componenti) + c] =
                        static_cast<float>(parola >> 10 * posto & 1023) / 1023.0f;
        }
}

}  // namespace varno::provino
