#!/usr/bin/env python3
"""provino as people use it: the built program, its exit codes, messages and files.

usage: test_provino.py PROVINO BUNDLE [--lungo] [unittest arguments]
--lungo breaks a thousand pictures of each format and kills a hundred runs.
"""
import os
import random
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib
from pathlib import Path

PROVINO, BUNDLE = (os.path.abspath(a) for a in sys.argv[1:3])
LUNGO = "--lungo" in sys.argv
FATTO, FALLITO, USO, SENZA_PLUGIN = 0, 1, 2, 3
FORMATI = ["exr", "dpx", "tif", "png", "jpg"]
SPENTO = [a for n in ("halation", "bloom", "enhance", "vignetta") for a in ("-p", n + "_on=off")]


def pezzo(nome, dati):
    return struct.pack(">I", len(dati)) + nome + dati + struct.pack(">I", zlib.crc32(nome + dati))


def scrivi_png(file, righe, canali):
    """Rows of 8-bit samples, top row first."""
    larghezza = len(righe[0]) // canali
    testa = struct.pack(">IIBBBBB", larghezza, len(righe), 8, {1: 0, 3: 2, 4: 6}[canali], 0, 0, 0)
    dati = zlib.compress(b"".join(b"\0" + bytes(r) for r in righe))
    Path(file).write_bytes(b"\x89PNG\r\n\x1a\n" + pezzo(b"IHDR", testa) + pezzo(b"IDAT", dati) + pezzo(b"IEND", b""))


def leggi_png(file):
    """Rows of samples, top row first, and the channels; 8 or 16 bits."""
    dati, p, compressi = Path(file).read_bytes(), 8, b""
    while p < len(dati):
        (lungo,), nome = struct.unpack(">I", dati[p:p + 4]), dati[p + 4:p + 8]
        corpo = dati[p + 8:p + 8 + lungo]
        if nome == b"IHDR":
            larghezza, altezza, bit, tipo = struct.unpack(">IIBB", corpo[:10])
        compressi += corpo if nome == b"IDAT" else b""
        p += 12 + lungo
    canali = {0: 1, 2: 3, 4: 2, 6: 4}[tipo]
    passo, crudi = canali * bit // 8, zlib.decompress(compressi)
    riga, prima, righe = larghezza * passo, bytearray(larghezza * passo), []
    for y in range(altezza):
        filtro = crudi[y * (riga + 1)]
        r = bytearray(crudi[y * (riga + 1) + 1:(y + 1) * (riga + 1)])
        for i in range(riga):
            a, b, c = (r[i - passo], prima[i], prima[i - passo]) if i >= passo else (0, prima[i], 0)
            pa, pb, pc = abs(b - c), abs(a - c), abs(a + b - 2 * c)
            paeth = a if pa <= pb and pa <= pc else b if pb <= pc else c
            r[i] = (r[i] + (0, a, b, (a + b) // 2, paeth)[filtro]) & 255
        righe.append(list(struct.unpack(">%dH" % (riga // 2), r)) if bit == 16 else list(r))
        prima = r
    return righe, canali


class Prova(unittest.TestCase):
    def setUp(self):
        self.cartella = tempfile.mkdtemp(prefix="provino-")
        self.addCleanup(shutil.rmtree, self.cartella)

    def qui(self, nome):
        return os.path.join(self.cartella, nome)

    def lancia(self, *argomenti, **come):
        ambiente = {k: v for k, v in os.environ.items() if k != "OFX_PLUGIN_PATH"}
        ambiente.update(come.pop("ambiente", {}))
        opzioni = list(argomenti)
        if argomenti and argomenti[0] in ("parametri", "sviluppa", "looks", "effetti", "lut", "misura") \
                and "--plugin" not in argomenti:
            opzioni += ["--plugin", BUNDLE]
        return subprocess.run([PROVINO, *opzioni], capture_output=True, text=True, errors="replace",
                              cwd=self.cartella, env=ambiente, timeout=300, **come)

    def fai(self, *argomenti, **come):
        r = self.lancia(*argomenti, **come)
        self.assertEqual(r.returncode, FATTO, (argomenti, r.stderr))
        return r

    def rifiuta(self, uscita, messaggio, *argomenti, **come):
        """Fails with that exit code, and one line that says what it must."""
        prima = set(os.listdir(self.cartella))
        r = self.lancia(*argomenti, **come)
        self.assertEqual(r.returncode, uscita, (argomenti, r.stdout, r.stderr))
        self.assertRegex(r.stderr, r"\Aprovino: [^\n]*" + messaggio + r"[^\n]*\n\Z", argomenti)
        self.assertEqual(set(os.listdir(self.cartella)), prima, argomenti)

    def scena(self, nome, misura="96x54"):
        self.fai("tavola", nome, "--size", misura)
        return nome

    def flat(self, nome, larghezza, altezza, colore, alfa=None):
        pixel = list(colore) + ([] if alfa is None else [alfa])
        scrivi_png(self.qui(nome), [pixel * larghezza] * altezza, len(pixel))
        return nome


class Parole(Prova):
    def test_refusals_say_what_to_do(self):
        self.scena("s.exr")
        Path(self.qui("vuoto.png")).touch()
        Path(self.qui("testo.png")).write_text("no picture at all")
        Path(self.qui("rotto.ofx")).write_text("no library")
        os.mkdir(self.qui("cartella.exr"))
        sviluppa = ["sviluppa", "s.exr", "o.exr"]
        casi = [
            (USO, "give a command"),
            (USO, "did you mean 'sviluppa'", "svilupa"),
            (USO, "OUT is required", "sviluppa", "s.exr"),
            (USO, "did you mean '--overwrite'", *sviluppa, "--overwrit"),
            (USO, "'extra' was not expected", *sviluppa, "extra"),
            (USO, "must end in .exr", "sviluppa", "s.exr", "o.bmp"),
            (USO, "no parameter 'promst'; did you mean 'promist'", *sviluppa, "-p", "promst=1"),
            (USO, "did you mean 'Sony S-Log3'", *sviluppa, "-p", "formato=Sony SLog3"),
            (USO, "options 0 to 17, not 18", *sviluppa, "-p", "formato=18"),
            (USO, "ev goes from -2 to 2, not 2.5", *sviluppa, "-p", "ev=2.5"),
            (USO, "ev takes a number from -2 to 2, not 'nan'", *sviluppa, "-p", "ev=nan"),
            (USO, "name=value, not 'ev'", *sviluppa, "-p", "ev"),
            (USO, "on or off", *sviluppa, "-p", "halation_on=2"),
            (USO, "name@time=value", *sviluppa, "--key", "ev=1"),
            (USO, "WIDTHxHEIGHT", "tavola", "o.exr", "--size", "96"),
            (USO, "out of range", "tavola", "o.exr", "--size", "65537x1"),
            (USO, "JPEG has no depth 'half'", "tavola", "o.jpg", "--depth", "half"),
            (USO, "EXR has no compression 'lzw'", "tavola", "o.exr", "--compression", "lzw"),
            (FALLITO, "no file 'manca.exr'", "sviluppa", "manca.exr", "o.exr"),
            (FALLITO, "is a folder", "sviluppa", "cartella.exr", "o.exr"),
            (FALLITO, "is empty", "sviluppa", "vuoto.png", "o.exr"),
            (FALLITO, "takes EXR, DPX, TIFF, PNG and JPEG", "sviluppa", "testo.png", "o.exr"),
            (FALLITO, "give --overwrite", "sviluppa", "s.exr", "s.exr"),
            (FALLITO, "no folder 'manca'", "sviluppa", "s.exr", "manca/o.exr"),
            (FALLITO, "is a folder", "tavola", "cartella.exr", "--overwrite"),
            (SENZA_PLUGIN, "no plug-in 'manca'", *sviluppa, "--plugin", "manca"),
            (SENZA_PLUGIN, "cannot load 'rotto.ofx'", *sviluppa, "--plugin", "rotto.ofx"),
        ]
        for uscita, messaggio, *argomenti in casi:
            with self.subTest(" ".join(argomenti)):
                self.rifiuta(uscita, re.escape(messaggio), *argomenti)

    def test_help_and_version_go_to_the_output(self):
        self.assertRegex(self.fai("--version").stdout, r"\Aprovino \d+\.\d+")
        for comando in ("parametri", "sviluppa", "tavola"):
            self.assertIn("--", self.fai(comando, "--help").stdout)

    def test_the_parameters_are_listed(self):
        self.assertRegex(self.fai("parametri").stdout, r"(?m)^ev +Exposure \(EV\) +number +-2 to 2, default 0$")
        import json
        tutti = json.loads(self.fai("parametri", "--json").stdout)
        self.assertEqual(len(tutti), 35)
        self.assertEqual(tutti[0]["options"][16], "Rec.709 (No Log)")

    def test_the_plugin_is_found_where_hosts_look(self):
        nessuno = os.path.join(self.cartella, "vuota")
        os.mkdir(nessuno)
        self.fai("parametri", "--plugin", os.path.dirname(BUNDLE))
        subprocess.run([PROVINO, "parametri"], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "OFX_PLUGIN_PATH": os.path.dirname(BUNDLE)})


class Immagini(Prova):
    def test_the_top_row_is_the_highest(self):
        # Grain is drawn at every second row from the bottom and held behind the last: of four rows
        # the upper two are alike.
        self.flat("f.png", 9, 4, (100, 110, 120))
        self.fai("sviluppa", "f.png", "o.png", *SPENTO, "-p", "grana_on=on", "-p", "grana=0.6")
        r, _ = leggi_png(self.qui("o.png"))
        self.assertEqual(r[0], r[1])
        self.assertNotEqual(r[2], r[3])

    def test_rows_of_either_direction_give_one_picture(self):
        self.scena("s.exr", "97x55")
        resto = ["-p", "formato=0", "-p", "look=Silk", "-p", "grana_on=1", "-p", "stella_on=1", "--time", "7"]
        for nome, opzione in (("giu.exr", []), ("su.exr", ["--rows-up"])):
            self.fai("sviluppa", "s.exr", nome, *resto, *opzione)
        self.assertEqual(Path(self.qui("giu.exr")).read_bytes(), Path(self.qui("su.exr")).read_bytes())

    def test_alpha_is_kept_and_multiplies_nothing(self):
        caso = random.Random(1)
        colori = [[caso.randrange(256) for _ in range(3)] for _ in range(35)]
        alfa = [0, 255, 1, 128] + [caso.randrange(256) for _ in range(31)]
        for nome, valori in (("varia.png", alfa), ("piena.png", [255] * 35)):
            pixel = [c + [a] for c, a in zip(colori, valori)]
            scrivi_png(self.qui(nome), [sum(pixel[i:i + 7], []) for i in range(0, 35, 7)], 4)
            self.fai("sviluppa", nome, "o_" + nome, "--depth", "uint8")
        varia, piena = (sum(leggi_png(self.qui("o_" + n))[0], []) for n in ("varia.png", "piena.png"))
        self.assertEqual(varia[3::4], alfa)
        for c in range(3):
            self.assertEqual(varia[c::4], piena[c::4])
        # Through every format that holds alpha, and back.
        for formato in ("exr", "tif", "dpx"):
            self.fai("sviluppa", "varia.png", "v." + formato)
            self.fai("sviluppa", "v." + formato, "d_%s.png" % formato, "--depth", "uint8")
            ritorno = sum(leggi_png(self.qui("d_%s.png" % formato))[0], [])
            self.assertEqual(ritorno[3::4], alfa, formato)
        self.fai("sviluppa", "varia.png", "v.jpg")

    def test_grey_becomes_three_equal_channels_of_the_same_values(self):
        scrivi_png(self.qui("g.png"), [[10, 100, 200]], 1)
        scrivi_png(self.qui("c.png"), [[10] * 3 + [100] * 3 + [200] * 3], 3)
        self.fai("sviluppa", "g.png", "og.png")
        self.fai("sviluppa", "c.png", "oc.png")
        self.assertEqual(leggi_png(self.qui("og.png")), leggi_png(self.qui("oc.png")))

    def test_a_look_brings_its_recipe_and_what_follows_overrides_it(self):
        self.scena("s.exr")
        self.fai("sviluppa", "s.exr", "a.exr", "-p", "look=Amber")
        self.fai("sviluppa", "s.exr", "b.exr", "-p", "look=5", "-p", "mistw_on=0")
        self.fai("sviluppa", "s.exr", "c.exr", "-p", "mistw_on=0", "-p", "look=5")
        a, b, c = (Path(self.qui(n)).read_bytes() for n in ("a.exr", "b.exr", "c.exr"))
        self.assertEqual(a, c)
        self.assertNotEqual(a, b)

    def test_outputs_are_replaced_only_when_told(self):
        self.scena("s.exr")
        Path(self.qui("o.png")).write_text("mine")
        self.rifiuta(FALLITO, "--overwrite", "sviluppa", "s.exr", "o.png")
        self.assertEqual(Path(self.qui("o.png")).read_text(), "mine")
        os.symlink("o.png", self.qui("link.png"))
        self.fai("sviluppa", "s.exr", "link.png", "--overwrite")
        self.assertTrue(os.path.islink(self.qui("link.png")))
        self.assertEqual(len(leggi_png(self.qui("o.png"))[0]), 54)

    def test_settings_come_back_from_every_format(self):
        self.scena("s.exr")
        modo = ["-p", "formato=0", "-p", "look=Brass", "-p", "halation=0.4", "-p", "promist_on=1",
                "--key", "promist@1=0", "--key", "promist@5=0.3"]
        self.fai("sviluppa", "s.exr", "diretto.exr", *modo, "--time", "3")
        for formato in FORMATI:
            self.fai("sviluppa", "s.exr", "da." + formato, *modo)
            self.fai("sviluppa", "s.exr", "con_%s.exr" % formato, "--settings-from", "da." + formato, "--time", "3")
            self.assertEqual(Path(self.qui("con_%s.exr" % formato)).read_bytes(),
                             Path(self.qui("diretto.exr")).read_bytes(), formato)
        self.rifiuta(FALLITO, "carries no settings", "sviluppa", "s.exr", "o.exr", "--settings-from", "s.exr")


class Guasti(Prova):
    def rovina(self, formato, quante):
        """Broken pictures are refused in one line or read, but nothing else happens."""
        intero = Path(self.qui(self.scena("s." + formato, "40x30"))).read_bytes()
        caso = random.Random(formato)
        for i in range(quante):
            dati = bytearray(intero)
            if i % 4 == 0:
                del dati[caso.randrange(len(dati)):]
            else:
                for _ in range(caso.choice([1, 1, 4, 16])):
                    dove = caso.randrange(min(len(dati), caso.choice([64, 512, 2048, len(dati)])))
                    dati[dove] = caso.choice([0, 255, 128, caso.randrange(256)])
            Path(self.qui("m." + formato)).write_bytes(dati)
            r = self.lancia("sviluppa", "m." + formato, "o.exr")
            with self.subTest(formato=formato, quale=i):
                self.assertIn(r.returncode, (FATTO, FALLITO) if i % 4 else (FALLITO,), r.stderr)
                if r.returncode == FALLITO:
                    self.assertRegex(r.stderr, r"\Aprovino: '[^\n]{20,400}\n\Z")
                self.assertEqual(os.path.exists(self.qui("o.exr")), r.returncode == FATTO)
            for f in os.listdir(self.cartella):
                self.assertNotIn(".tmp", f)
            if os.path.exists(self.qui("o.exr")):
                os.remove(self.qui("o.exr"))

    def test_no_broken_picture_brings_it_down(self):
        for formato in FORMATI:
            self.rovina(formato, 1000 if LUNGO else 12)

    def test_absurd_headers_are_refused(self):
        png = bytearray(Path(self.qui(self.scena("s.png"))).read_bytes())
        png[16:29] = struct.pack(">IIBBBBB", 60000, 60000, 16, 2, 0, 0, 0)
        png[29:33] = struct.pack(">I", zlib.crc32(bytes(png[12:29])))
        Path(self.qui("grande.png")).write_bytes(png)
        self.rifiuta(FALLITO, "60000x60000", "sviluppa", "grande.png", "o.exr")
        dpx = bytearray(Path(self.qui(self.scena("s.dpx"))).read_bytes())
        for dove, cosa in ((32, "user data"), (770, "count of elements"), (800, "kind of element")):
            rotto = bytearray(dpx)
            rotto[dove:dove + 2] = b"\x7f\x7f"
            Path(self.qui("m.dpx")).write_bytes(rotto)
            self.rifiuta(FALLITO, "impossible .*" + cosa, "sviluppa", "m.dpx", "o.exr")

    def test_a_full_target_leaves_nothing(self):
        def poco():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        for formato in FORMATI:
            self.rifiuta(FALLITO, "cannot write 'o." + formato, "tavola", "o." + formato, "--size", "200x200",
                         preexec_fn=poco)

    def test_killed_runs_leave_no_half_file(self):
        caso = random.Random(3)
        self.fai("tavola", "intero.tif", "--size", "640x360")
        intero = Path(self.qui("intero.tif")).read_bytes()[:64]
        for i in range(100 if LUNGO else 8):
            p = subprocess.Popen([PROVINO, "tavola", self.qui("o.tif"), "--size", "640x360"], stderr=subprocess.DEVNULL)
            time.sleep(caso.uniform(0.0, 1.2))
            p.send_signal(signal.SIGKILL if i % 2 else signal.SIGTERM)
            p.wait()
            if os.path.exists(self.qui("o.tif")):
                self.assertEqual(Path(self.qui("o.tif")).read_bytes()[:8], intero[:8])
                self.fai("sviluppa", "o.tif", "letto.exr", "--overwrite")
                os.remove(self.qui("o.tif"))
            if i % 2 == 0:  # a signal that can be caught leaves nothing at all
                self.assertEqual([f for f in os.listdir(self.cartella) if f.endswith(".tmp")], [])
            for f in os.listdir(self.cartella):
                if f.endswith(".tmp"):
                    os.remove(self.qui(f))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + [a for a in sys.argv[3:] if a != "--lungo"])
