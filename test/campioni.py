#!/usr/bin/env python3
"""Kinds of movies and DPX whose code values are known: what reaches a plug-in of each.

usage: campioni.py PROVINO INTATTO [--tutte [REGEX]]
INTATTO is a plug-in that hands the picture on. --tutte takes every kind, or those of that name, else some of each.
Values are worked out from the standards' definitions. A kind that is read otherwise is a failure; one that is
refused must be among those that are meant to be.
"""
import concurrent.futures
import itertools
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

from test_provino import leggi_tiff, scrivi_tiff

PROVINO, INTATTO = (os.path.abspath(a) for a in sys.argv[1:3])
TUTTE = "--tutte" in sys.argv

# Red's and blue's share of luma.
COEFFICIENTI = {"bt709": (0.2126, 0.0722), "smpte170m": (0.299, 0.114), "bt470bg": (0.299, 0.114), "fcc": (0.3, 0.11),
                "smpte240m": (0.212, 0.087), "bt2020nc": (0.2627, 0.0593), "ycgco": None, "bt2020c": None}
RIFIUTATI = {"signed": "signed samples", "bt2020c ": "'bt2020c'", "24 bits": "samples of 24 bits"}
# Code values of ten bits, legal range: ramp, beyond both ends, and colours.
CODICI = [(y, 512, 512) for y in (64, 65, 100, 300, 502, 939, 940, 20, 1000)] + \
         [(300, 400, 600), (600, 700, 300), (500, 512, 640), (200, 300, 512)]
TOPPA, ALTEZZA = 32, 128  # a patch: pixels; DNxHR takes none that is smaller

# File, encoder, samples that it keeps as they are, code values off; a prefix + gives those in planes.
FILMATI = [
    ("k.mkv", "ffv1", "yuv420p yuv422p yuv444p yuv440p yuv411p yuv410p yuva420p yuva422p yuva444p gray bgr0 bgra "
     "yuv420p9le yuv422p9le yuv444p9le yuva444p9le yuv420p10le yuv422p10le yuv444p10le yuv440p10le yuva420p10le "
     "yuva422p10le yuva444p10le yuv420p12le yuv422p12le yuv444p12le yuv440p12le yuv420p14le yuv422p14le yuv444p14le "
     "yuv420p16le yuv422p16le yuv444p16le yuva420p16le yuva422p16le yuva444p16le gray9le gray10le gray12le gray16le "
     "gbrp9le gbrp10le gbrp12le gbrp14le gbrp16le gbrap10le gbrap12le gbrap16le", 0),
    ("k.nut", "rawvideo", "yuva422p12le yuva444p12le yuva422p9le nv12 uyvy422 yuyv422 "
     "rgb24 bgr24 rgba argb rgb48be gbrp gbrap gray14le yuv422p10be", 0),
    ("k.mov", "v210", "yuv422p10le", 0), ("k.mov", "v410", "yuv444p10le", 0), ("k.mov", "v308", "yuv444p", 0),
    ("k.mov", "v408", "yuva444p", 0), ("k.mov", "r210", "gbrp10le", 0), ("k.mov", "png", "rgb24 rgba rgb48be", 0),
    ("k.mov", "qtrle", "rgb24 argb", 0), ("k.mov", "rawvideo", "uyvy422", 0),
    ("k.mov", "libopenjpeg", "yuv420p yuv422p yuv444p yuv422p10le yuv444p10le yuv444p12le yuva444p10le gray", 0),
    ("odd.mkv", "ffv1", "yuv420p yuv410p yuva420p yuv420p10le", 0), ("k.mkv", "jpeg2000 -pred 1", "rgb24 yuv422p", 0), ("k.avi", "huffyuv", "yuv422p", 0),
    ("k.avi", "utvideo", "yuv420p yuv422p gbrp gbrap", 0), ("k.mkv", "ffvhuff", "yuv440p yuv444p16le gbrp14le", 0),
    ("k.mp4", "libx264 -qp 0", "yuv420p yuv422p yuv444p yuvj420p yuvj444p yuv420p10le yuv422p10le yuv444p10le", 0),
    ("k.mkv", "libx265 -x265-params lossless=1:log-level=error", "yuv420p yuv422p yuv444p yuv420p10le yuv422p10le "
     "yuv444p10le yuv420p12le yuv422p12le yuv444p12le gbrp gbrp10le gbrp12le gray10le", 0),
    ("k.mov", "prores_ks", "yuv422p10le yuv444p10le yuva444p10le", 3), ("k.mov", "mjpeg -q:v 1", "yuvj422p yuvj444p", 3),
    ("k.mxf", "dnxhd -profile:v dnxhr_444", "yuv444p10le gbrp10le", 3),
]

# Those of each run: what was wrong once, and one of each way in.
PRESTO = re.compile("odd.* yuva420p 0 bt709 pc|ffv1 (yuv420p 0 bt709 tv|yuv444p 0 ycgco tv|yuv440p10le 0 smpte170m pc|yuva444p10le 0 bt2020nc pc|"
                    "yuv422p 0 bt2020c tv|yuv422p12le 0 fcc pc|gray10le .*pc|gbrp12le .*tv)|png rgba .*pc|v210 .*smpte240m tv|"
                    "mov rawvideo uyvy422 .*bt709 pc|qp 0 yuvj420p .*bt709")


def rgb(codici, matrice, legale, bit=10):
    """As the broadcast standards have it, worked out in double precision."""
    s = 1 << bit - 8
    y, cb, cr = codici
    scale = (219 * s, (219 if matrice == "ycgco" else 224) * s) if legale else 2 * (256 * s - 1,)
    y, cb, cr = (y - 16 * s * legale) / scale[0], (cb - 128 * s) / scale[1], (cr - 128 * s) / scale[1]
    if matrice == "ycgco":
        return y - cb + cr, y + cb, y - cb - cr
    kr, kb = COEFFICIENTI[matrice]
    r, b = y + 2 * (1 - kr) * cr, y + 2 * (1 - kb) * cb
    return r, (y - kr * r - kb * b) / (1 - kr - kb), b


def lancia(*comando, **come):
    return subprocess.run([str(c) for c in comando], capture_output=True, check=False, **come)


def provino(cartella, *argomenti):
    r = lancia(PROVINO, "sviluppa", *argomenti, "--depth", "float", "--compression", "none", "--overwrite", "--plugin",
               INTATTO, cwd=cartella)
    return r.stderr.decode()


def in_piani(formato):
    """The samples in planes that hold the same, as they are written here, their bits, chroma's share, planes."""
    altri = {"nv12": "yuv420p", "uyvy422": "yuv422p", "yuyv422": "yuv422p", "yuv422p10be": "yuv422p10le"}
    f = altri.get(formato, formato.replace("yuvj", "yuv"))
    if re.match("(rgb|bgr|argb)", f):
        f = ("gbrap" if "a" in f else "gbrp") + ("16le" if "48" in f or "64" in f else "")
    tipo, croma, bit = re.match(r"(yuva?|gray|gbra?)(4\d\d)?p?f?(\d*)", f).groups()
    sx, sy = {"420": (2, 2), "422": (2, 1), "440": (1, 2), "411": (4, 1), "410": (4, 4)}.get(croma, (1, 1))
    return f, tipo, int(bit or 8), sx, sy


def filmato(cartella, file, codec, formato, scarto, matrice, gamma):
    """Whether it is read right, or what provino says, or by how much it is off."""
    piani, tipo, bit, sx, sy = in_piani(formato)
    tutti = [tuple(c << bit - 8 >> 2 for c in k) for k in CODICI]
    def piano(p, x=1, y=1):
        segno = {8: "B", 32: "f"}.get(bit, "H")
        codici = [k[p] / 1023 if bit == 32 else c[p] for k, c in zip(CODICI, tutti)]
        return b"".join(struct.pack("<" + segno, c) * (TOPPA // x) for c in codici) * -(-altezza // y)
    altezza = ALTEZZA - file.startswith("odd")
    dati = piano(0) + (b"" if tipo == "gray" else piano(1, sx, sy) + piano(2, sx, sy)) + piano(0) * (tipo[-1] == "a")
    yuv = tipo.startswith("yuv")
    tag = "setparams=range=%s:colorspace=%s" % (gamma, matrice if yuv else "unknown")
    misura = "%dx%d" % (TOPPA * len(CODICI), altezza)
    fatto = lancia("ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", piani, "-s", misura, "-i",
                   "pipe:0", "-vf", "%s,%sformat=%s,%s" % (tag, "scale=in_range=tv:out_range=tv," * yuv, formato, tag), "-strict", "-2", "-c:v", *codec.split(), file,
                   cwd=cartella, input=dati)
    detto = lancia("ffprobe", "-v", "error", "-show_entries", "stream=pix_fmt,color_range,color_space", "-of",
                   "default=nw=1:nk=1", file, cwd=cartella).stdout.decode().split()
    if fatto.returncode or not scarto and detto[0].replace("yuvj", "yuv") != formato.replace("yuvj", "yuv"):
        return "not made: %s %s" % (detto, fatto.stderr.decode()[-200:])
    # What a file does not tell is told to provino.
    detti = ["--matrix", {"bt709": "709", "smpte170m": "601", "bt2020nc": "2020"}.get(matrice, matrice)] * \
        (yuv and matrice not in detto) + ["--range", {"tv": "legal", "pc": "full"}[gamma]] * (gamma not in detto[1:2])
    errore = provino(cartella, file, "o.tif", "--frames", "1", *detti)
    if "provino: note" not in errore and errore:
        return errore
    righe, canali = leggi_tiff(Path(cartella, "o.tif"))
    massimo, peggio = (1 << bit) - 1 if bit < 32 else 1023, 0
    for i, codici in enumerate(CODICI if bit == 32 else tutti):
        attesi = rgb(codici, matrice, gamma == "tv", bit) if yuv else \
            tuple(codici[p] / massimo for p in ((0, 0, 0) if tipo == "gray" else (2, 0, 1)))
        if gamma == "tv" and (tipo == "gray" or not yuv and detti):
            attesi = tuple((v * massimo / (1 << bit - 8) - 16) / 219 for v in attesi)
        attesi += (codici[0] / massimo,) * (canali == 4)
        avuti = righe[-1][canali * (TOPPA * i + TOPPA // 2):][:canali]
        peggio = max(peggio, *(abs(a - b) for a, b in zip(attesi, avuti)))
    return "right" if peggio < (scarto / 256 if scarto else 4e-6) else "WRONG by %.6f" % peggio


# --- DPX ----------------------------------------------------------------------------------------------------------

COMPONENTI = {6: 1, 50: 3, 51: 4, 52: 4}  # luma, RGB, RGBA, ABGR


def riga_dpx(campioni, bit, imballo, ordine):
    """A row as it stands in the file: it ends on 32 bits."""
    if bit == 10 and imballo:  # three to a word, colours from its top, a single component from below
        parole = [campioni[i:i + 3] + [0] * 2 for i in range(0, len(campioni), 3)]
        campioni = [sum(c << 10 * k for k, c in enumerate(p[:3][::ordine[1]])) << 2 * (imballo == 1) for p in parole]
        return struct.pack("%s%dI" % (ordine[0], len(campioni)), *campioni)
    if bit in (10, 12) and not imballo:  # one behind the other from a word's lowest bit on
        tutti = sum(c << bit * i for i, c in enumerate(campioni))
        parole = -(-len(campioni) * bit // 32)
        return struct.pack("%s%dI" % (ordine[0], parole), *(tutti >> 32 * i & 0xffffffff for i in range(parole)))
    campioni = [c << 4 for c in campioni] if bit == 12 and imballo == 1 else campioni
    dati = struct.pack("%s%d%s" % (ordine[0], len(campioni), {8: "B", 32: "f"}.get(bit, "H")), *campioni)
    return dati + bytes(-len(dati) % 4)


def dpx(file, larghezza, altezza, descrittore, bit, imballo, ordine, segno):
    """Writes one of random codes; the RGB or RGBA that it means."""
    quanti = COMPONENTI[descrittore]
    righe = [[random.uniform(-1, 2) if bit == 32 else random.randrange(1 << bit) for _ in range(larghezza * quanti)]
             for _ in range(altezza)]
    dati = b"".join(riga_dpx(r, bit, imballo, (ordine, 1 if quanti == 1 else -1)) for r in righe)
    testa = bytearray(b"\xff" * 2048)
    for dove, forma, *valori in (
            (0, "4s", b"SDPX" if ordine == ">" else b"XPDS"), (4, "I8sIIIII", 2048, b"V2.0", 2048 + len(dati), 1, 1664,
                                                               384, 0), (36, "624x"), (768, "HHII", 0, 1, larghezza, altezza),
            (780, "IIfIfBBBBHHIII32x", segno, 0, 0, 0, 1, descrittore, 2, 2, bit, imballo, 0,
             random.choice((2048, 0, 0xffffffff)), 0, 0),  # the last two: where the file says
            (1432, "24x"), (1556, "72x"), (1664, "48x"), (1732, "188x")):
        struct.pack_into(ordine + forma, testa, dove, *valori)
    Path(file).write_bytes(testa + dati)
    pixel = [[c / ((1 << bit) - 1) if bit < 32 else c for c in r[i:i + quanti]] for r in righe
             for i in range(0, len(r), quanti)]
    return [3 * p if quanti == 1 else p[::-1] if descrittore == 52 else p for p in pixel]


def serie(cartella, fine, nomi, attesi, esiti):
    """Pictures p0000.FINE and on, whose pixels are known."""
    detto = provino(cartella, "p####." + fine, fine + "####.tif", "--continue-on-error")
    for i, (nome, atteso) in enumerate(zip(nomi, attesi)):
        file = Path(cartella, "%s%04d.tif" % (fine, i))
        if not file.exists():
            esiti[nome] = next(r for r in detto.splitlines() if "p%04d" % i in r)
            continue
        righe, canali = leggi_tiff(file)
        avuti = [r[x:x + canali] for r in righe for x in range(0, len(r), canali)]
        peggio = max(abs(a - b) for p, q in zip(atteso, avuti) for a, b in zip(p, q, strict=True))
        esiti[nome] = "right" if peggio < 1e-6 else "WRONG by %.6f" % peggio


def tutti_i_dpx(cartella, esiti):
    specie = [(w, h, d, bit, imballo, ordine, segno) for w, h in ((40, 24), (37, 23), (38, 3)) for d in COMPONENTI
              for bit, imballo in ((8, 0), (10, 0), (10, 1), (10, 2), (12, 0), (12, 1), (12, 2), (16, 0), (32, 0))
              for ordine in "<>" for segno in ((0, 1) if d == 50 and bit < 32 and not imballo else (0,))]
    serie(cartella, "dpx", ["dpx %dx%d of %d, %d bits, packing %d, %s%s" % (*s[:6], " signed" * s[6]) for s in specie],
          [dpx(Path(cartella, "p%04d.dpx" % i), *s) for i, s in enumerate(specie)], esiti)


# --- Other pictures -----------------------------------------------------------------------------------------------

# Colour types of PNG and what 0 is in a grey TIFF, with the bits that they come in.
A_MANO = {"png": {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 2, 4, 8), 4: (8, 16), 6: (8, 16)},
          "tif": {t + o: b for o in "<>" for t, b in (("black", (1, 4, 8, 12, 16, 24)),
                                                      ("white", (1, 4, 8, 12, 16)),
                                                      ("white, alpha", (8, 16)))}}
# What oiiotool keeps of whole halves: compressions, and other ways.
SCRITTE = {"exr": ("none rle zip zips piz", ("--scanline", "--tile 16 16")),
           "tif": ("none lzw zip packbits", ("--scanline", "--tile 16 16", "--planarconfig separate"))}


def a_mano(file, tipo, bit, w=37, h=23):
    """Writes one of random codes; the RGB or RGBA that it means."""
    canali = {2: 3, 4: 2, 6: 4}.get(tipo, 1 + ("alpha" in str(tipo)))
    righe = [[random.randrange(1 << bit) for _ in range(w * canali)] for _ in range(h)]
    dati = [(sum(c << bit * i for i, c in enumerate(r[::-1])) << -len(r) * bit % 8).to_bytes(-(-len(r) * bit // 8), "big")
            for r in righe]
    tavola = [[random.randrange(256) for _ in range(3)] for _ in range(1 << bit if tipo == 3 else 0)]
    if file.suffix == ".tif":
        ordine = tipo[-1]
        dati = b"".join(dati) if bit != 16 else struct.pack(ordine + "%dH" % (w * h * canali), *sum(righe, []))
        voci = [(256, w), (257, h), (258, bit), (259, 1), (262, "black" in tipo), (273, 8), (277, canali), (278, h),
                (279, len(dati)), (338, 2)][:8 + canali]
        dati = struct.pack(ordine + "2sHI", b"II" if ordine == "<" else b"MM", 42, 8 + len(dati)) + dati + b"".join(
            [struct.pack(ordine + "H", len(voci))] +
            [struct.pack(ordine + "HHI2H", n, 3, canali if n == 258 else 1, v, v) for n, v in voci]) + bytes(4)
    else:
        parti = [(b"IHDR", struct.pack(">IIBBBBB", w, h, bit, tipo, 0, 0, 0)), (b"PLTE", bytes(sum(tavola, []))),
                 (b"IDAT", zlib.compress(b"".join(b"\0" + r for r in dati))), (b"IEND", b"")]
        dati = b"\x89PNG\r\n\x1a\n" + b"".join(struct.pack(">I", len(d)) + n + d + struct.pack(">I", zlib.crc32(n + d))
                                               for n, d in parti if tavola or n != b"PLTE")
    file.write_bytes(dati)
    pixel = [[c / ((1 << bit) - 1) for c in r[i:i + canali]] for r in righe for i in range(0, len(r), canali)]
    if tavola:
        return [[v / 255 for v in tavola[round(p[0] * ((1 << bit) - 1))]] for p in pixel]
    return [3 * [1 - p[0] if "white" in str(tipo) else p[0]] + p[1:] if canali < 3 else p for p in pixel]


def tutte_le_immagini(cartella, esiti):
    pixel = [[random.randrange(-1024, 2048) / 1024 for _ in range(3)] for _ in range(37 * 23)]
    scrivi_tiff(Path(cartella, "i.tif"), [sum(pixel[i:i + 37], []) for i in range(0, len(pixel), 37)], 3, "f")
    for fine in ("png", "tif", "exr"):
        nomi, attesi, comando = [], [], ["oiiotool", "i.tif"]
        for tipo, bit in A_MANO.get(fine, {}).items():
            for b in bit:
                attesi.append(a_mano(Path(cartella, "p%04d.%s" % (len(nomi), fine)), tipo, b))
                nomi.append("picture %s %s of %d bits" % (fine, tipo, b))
        compressioni, modi = SCRITTE.get(fine, ("", ()))
        for modo in itertools.product(("half", "float"), compressioni.split(), modi, ("R,G,B", "R,G,B,A=0.5", "R")):
            comando += ("--dup --d %s --compression %s %s --ch %s -o p%04d.%s --pop" % (*modo, len(nomi), fine)).split()
            attesi.append([3 * p[:1] if modo[3] == "R" else p + [0.5] * ("A" in modo[3]) for p in pixel])
            nomi.append("picture %s %s %s %s %s" % (fine, *modo))
        lancia(*comando, cwd=cartella)
        serie(cartella, fine, nomi, attesi, esiti)


def main():
    esiti = {}
    random.seed(1)
    for serie_di in (tutti_i_dpx, tutte_le_immagini):
        with tempfile.TemporaryDirectory() as cartella:
            serie_di(cartella, esiti)
    quali = PRESTO if not TUTTE else re.compile(sys.argv[4] if len(sys.argv) > 4 else "")
    specie = [(file, codec, formato, scarto, matrice, gamma)
              for file, codec, formati, scarto in FILMATI for formato in formati.split()
              for matrice in (COEFFICIENTI if in_piani(formato)[1].startswith("yuv") else ["bt709"])
              for gamma in (["pc"] if "yuvj" in formato else ["tv", "pc"])
              if quali.search(" ".join(map(str, (file, codec, formato, scarto, matrice, gamma))))]
    def prova(s):
        with tempfile.TemporaryDirectory() as cartella:
            return filmato(cartella, *s)
    with concurrent.futures.ThreadPoolExecutor(3) as fili:
        for s, esito in zip(specie, fili.map(prova, specie)):
            esiti["movie " + " ".join(map(str, s))] = esito
    male = 0
    for nome, esito in esiti.items():
        atteso = next((motivo for segno, motivo in RIFIUTATI.items() if segno in nome), "right")
        male += atteso not in esito
        if esito != "right" and (atteso not in esito or TUTTE):
            print(nome + ": " + esito.strip())
    for gruppo in ("dpx", "picture", "movie"):
        suoi = [re.sub("(?s)(right|WRONG|not made).*|.+", r"\1", e) or "refused" for n, e in esiti.items() if n.startswith(gruppo)]
        print(gruppo, ", ".join("%d %s" % (suoi.count(s), s) for s in sorted(set(suoi))))
    return male


if __name__ == "__main__":
    sys.exit(main() > 0)
