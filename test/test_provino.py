#!/usr/bin/env python3
"""provino as people use it: the built program, its exit codes, messages and files.

usage: test_provino.py PROVINO BUNDLE [--lungo] [unittest arguments]
--lungo breaks a thousand pictures of each format and kills a hundred runs.
"""
import json
import math
import os
import random
import re
import resource
import shlex
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
SPENTO = [a for n in "halation bloom enhance vignetta promist mistw glimmer pelle streak ca".split()
          for a in ("-p", n + "_on=off")]
NEUTRO = [*SPENTO, "-p", "forza=0"]  # whose table is made quickly


def scrivi_tiff(file, righe, canali=3, tipo="B"):
    """Rows of bytes or floats ("f"), top row first; a fourth channel multiplies nothing."""
    dati = b"".join(struct.pack("<%d%s" % (len(r), tipo), *r) for r in righe)
    bit, dopo = 8 * struct.calcsize(tipo), 8 + len(dati) + len(dati) % 2
    voci = {256: len(righe[0]) // canali, 257: len(righe), 258: dopo, 259: 1, 262: 2, 273: 8, 277: canali,
            278: len(righe), 279: len(dati), 284: 1, 338: 2, 339: dopo + 2 * canali}
    if canali == 3:
        del voci[338]
    testa = struct.pack("<2sHI", b"II", 42, dopo + 4 * canali) + dati + bytes(len(dati) % 2)
    testa += struct.pack("<%dH" % (2 * canali + 1), *canali * [bit], *canali * [3 if tipo == "f" else 1], len(voci))
    testa += b"".join(struct.pack("<HHII", n, 3 if n in (258, 338, 339) else 4, canali if n in (258, 339) else 1, v)
                      for n, v in voci.items())
    Path(file).write_bytes(testa + bytes(4))


def leggi_tiff(file):
    """Rows of an uncompressed picture, and the channels."""
    dati = Path(file).read_bytes()
    inizio, = struct.unpack_from("<I", dati, 4)
    voci = {}
    for i in range(struct.unpack_from("<H", dati, inizio)[0]):
        nome, tipo, quanti, valore = struct.unpack_from("<HHII", dati, inizio + 2 + 12 * i)
        if quanti * (2 if tipo == 3 else 4) > 4 and tipo in (3, 4):
            valore, = struct.unpack_from("<H" if tipo == 3 else "<I", dati, valore)
        voci[nome] = valore & 65535 if tipo == 3 else valore
    riga = voci[256] * voci[277]
    tutti = struct.unpack_from("<%d%s" % (riga * voci[257], {8: "B", 16: "H", 32: "f"}[voci[258]]), dati, voci[273])
    return [tutti[i:i + riga] for i in range(0, len(tutti), riga)], voci[277]


class Prova(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """One scene for all: a program takes a third of a second to begin."""
        cls.comune = tempfile.mkdtemp(prefix="provino-")
        cls.addClassCleanup(shutil.rmtree, cls.comune)
        subprocess.run([PROVINO, "tavola", "s.exr", "--size", "96x54"], cwd=cls.comune, check=True)

    def setUp(self):
        self.cartella = tempfile.mkdtemp(prefix="provino-")
        self.addCleanup(shutil.rmtree, self.cartella)
        shutil.copy(os.path.join(self.comune, "s.exr"), self.cartella)

    def qui(self, nome):
        return os.path.join(self.cartella, nome)

    def byte(self, nome):
        return Path(self.qui(nome)).read_bytes()

    def nomi(self, inizio):
        return sorted(f for f in os.listdir(self.cartella) if f.startswith(inizio))

    def lancia(self, *argomenti, **come):
        """The first text is split at its blanks."""
        ambiente = {k: v for k, v in os.environ.items() if k != "OFX_PLUGIN_PATH"}
        ambiente.update(come.pop("ambiente", {}))
        opzioni = [*shlex.split(argomenti[0]), *argomenti[1:]] if argomenti else []
        if opzioni and opzioni[0] in ("sviluppa", "develop", "parametri", "looks", "effetti", "lut") \
                and "--plugin" not in opzioni:
            opzioni += ["--plugin", BUNDLE]
        return subprocess.run([PROVINO, *opzioni], capture_output=True, text=True, errors="replace",
                              cwd=self.cartella, env=ambiente, timeout=300, **come)

    def fai(self, *argomenti, **come):
        r = self.lancia(*argomenti, **come)
        self.assertEqual(r.returncode, FATTO, (argomenti, r.stderr))
        return r

    def rifiuta(self, uscita, messaggio, *argomenti, **come):
        """Fails with that exit code, and one line that says what it must."""
        prima, note = set(os.listdir(self.cartella)), come.pop("note", "")
        r = self.lancia(*argomenti, **come)
        self.assertEqual(r.returncode, uscita, (argomenti, r.stdout, r.stderr))
        self.assertRegex(r.stderr, r"\A" + note + "provino: [^\n]*" + messaggio + r"[^\n]*\n\Z", argomenti)
        self.assertEqual(set(os.listdir(self.cartella)), prima, argomenti)

    def altri(self, *comando):
        """Another program, such as oiiotool; what it tells."""
        return subprocess.run(shlex.split(" ".join(comando)), cwd=self.cartella, check=True, capture_output=True,
                              text=True, errors="replace").stdout

    def fallisce(self, argomenti, messaggio):
        """Whatever else it tells."""
        r = self.lancia(argomenti)
        self.assertEqual(r.returncode, FALLITO)
        self.assertRegex(r.stderr, messaggio)

    def flat(self, nome, larghezza, altezza, colore):
        scrivi_tiff(self.qui(nome), [list(colore) * larghezza] * altezza)

    def campioni(self, argomenti, *altri):
        """The rows of a picture developed so."""
        self.fai(argomenti + " campioni.tif --overwrite --compression none", *altri)
        return leggi_tiff(self.qui("campioni.tif"))[0]

    def uguali(self, a, b):
        self.assertEqual(self.byte(a), self.byte(b), (a, b))


class Parole(Prova):
    def test_refusals_say_what_to_do(self):
        Path(self.qui("vuoto.png")).touch()
        Path(self.qui("testo.png")).write_text("no picture at all")
        Path(self.qui("rotto.ofx")).write_text("no library")
        os.mkdir(self.qui("cartella.exr"))
        Path(self.qui("c.007.exr")).touch()
        Path(self.qui("k.json")).write_text('{"parameters": {"formato": 18}}')
        su, da = "sviluppa s.exr o.exr", "sviluppa s.exr"
        for uscita, messaggio, *argomenti in (
                (USO, "give a command"),
                (USO, "did you mean 'sviluppa'", "svilupa"),
                (USO, "no command 'nope'", "help nope"),
                (USO, "did you mean '--help'", "--hel"),
                (USO, "given as '-p look=Amber'", su + " --look=Amber"),
                (USO, "did you mean '--overwrite'", su + " --overwrit"),
                (USO, "must end in .exr", da + " o.bmp"),
                (USO, "no parameter 'promst'; did you mean 'promist'", su + " -p promst=1"),
                (USO, "did you mean 'Sony S-Log3'", su, "-p", "formato=Sony SLog3"),
                (USO, "options 0 to 17, not 18", su + " -p formato=18"),
                (USO, "ev goes from -2 to 2, not 2.5", su + " -p ev=2.5"),
                (USO, "ev takes a number", su + " -p ev=-inf"),
                (FALLITO, "formato cannot be 18", su + " --settings k.json"),
                (FALLITO, "'k.json' exists already: give --overwrite", su + " --save-settings k.json"),
                (FALLITO, "no file 'a b.exr'", "sviluppa 'a\x1bb.exr' o.exr"),
                (USO, "did you mean 'Exposure (EV)'", su + " -p exposure=1"),
                (USO, "a parameter is given as '-p look=Amber'", su + " --look Amber"),
                (USO, "it is for provino sviluppa", "looks s.exr l.png --dry-run"),
                (USO, "give -p before each, as in -p ev=1", su + " -p look=Amber ev=1"),
                (USO, "in quotes, as 'c.###.exr'", su + " c.007.exr"),
                (USO, "give 'm.####.exr', in quotes", "sviluppa m.*.exr o.####.exr"),
                (USO, "--limit: it takes 0 or a larger number, not -1", "confronta s.exr s.exr --limit -1"),
                (USO, "takes a level from 1 to 9, not 'zip:10'", "tavola o.png --compression zip:10"),
                (FALLITO, "File name too long", da + " " + 300 * "o" + ".exr"),
                (USO, "on or off", su + " -p halation_on=2"),
                (USO, "name@time=value", su + " --key ev=1"),
                (USO, "out of range", "tavola o.exr --size 65537x1"),
                (USO, "out of range", "tavola o.exr --size 16385x8192"),
                (USO, "JPEG has no depth 'half'", "tavola o.jpg --depth half"),
                (FALLITO, "65536x1 are more than the 65500", "tavola o.jpg --size 65536x1"),
                (USO, "EXR has no compression 'lzw'", "tavola o.exr --compression lzw"),
                (FALLITO, "no file 'manca.exr'", "sviluppa manca.exr o.exr"),
                (FALLITO, "is empty", "sviluppa vuoto.png o.exr"),
                (FALLITO, "takes EXR, DPX, TIFF, PNG and JPEG", "sviluppa testo.png o.exr"),
                (FALLITO, "is a folder", "tavola cartella.exr --overwrite"),
                (SENZA_PLUGIN, "no plug-in 'manca'", su + " --plugin manca"),
                (SENZA_PLUGIN, "cannot load 'rotto.ofx': file too short", su + " --plugin rotto.ofx"),
                (USO, "3 frames would go into the one file", da + " o.png --frames 1-3"),
                (USO, "more than one place", da + " o#@.png --frames 1-3"),
                (USO, "end before they begin", da + " o#.png --frames 3-1"),
                (USO, "written as in 1-10,20-30x2", da + " o#.png --frames 1,,3"),
                (USO, "step", da + " o#.png --frames 1-3x0"),
                (USO, "--time is for a single picture", da + " o#.png --frames 1 --time 2"),
                (USO, "contradict", da + " o#.png --frames 1 --overwrite --skip-existing"),
                (USO, "two keys at time 1", da + " o.png --key ev@1=0 --key ev@1=1"),
                (FALLITO, "no JSON object", da + " o.png --settings s.exr"),
                (FALLITO, "carries no settings", su + " --settings-from s.exr"),
                (USO, "outside the picture", "effetti s.exr o.png --crop 90x20+7+34 -p formato=0"),
                (USO, "outside the picture", "looks s.exr o.png --crop 90x20+6+35 -p formato=0"),
                (FALLITO, "no file is named like 'm.#.exr'", "sviluppa m.#.exr o#.exr"),
                (FALLITO, "is what is read", "sviluppa s.exr ./s.exr --overwrite"),
                (FALLITO, "is what is read", "looks s.exr ./s.exr --overwrite"),
                (FALLITO, "is what is read", "confronta s.exr s.exr --difference s.exr --overwrite"),
                (USO, "has a place for a frame number", "sviluppa s.exr o.##.exr"),
                (USO, "is one movie for all frames", "sviluppa c.###.exr o.##.mov"),
                (USO, "or as a movie in .mov", da + " o.gif --frames 1-3"),
                (USO, ".jpg or .jpeg: that", "looks s.exr l.mov"),
                (USO, "as in ev=-1,0,1, not 'ev'", "looks s.exr o.png -p formato=0 --wedge ev"),
                (USO, "takes .mov, .mp4", da + " --to . --as .gif"),
                (USO, "would both become './s.mp4'", da + " ./s.exr --to . --as mp4"),
                (FALLITO, "there is no clip in 'c*.mov'", "sviluppa c*.mov --to ."),
                (USO, "for a movie that is written", su + " --scale 960")):
            with self.subTest(" ".join(argomenti)):
                self.rifiuta(uscita, re.escape(messaggio), *argomenti)

    def test_the_shell_is_told_what_may_follow(self):
        for parole, attese in (("sviluppa --codec", {"prores", "ffv1"}), ("looks --range", {"legal", "full"}),
                               ("sviluppa -p", {"look=", "look=Cinema Print"}), ("", {"sviluppa", "--help"})):
            self.assertLessEqual(attese, set(self.fai("--complete " + parole, ambiente={"OFX_PLUGIN_PATH": os.path.dirname(BUNDLE)})
                                                 .stdout.splitlines()))
        self.assertEqual(self.fai("help looks").stdout, self.fai("looks --help").stdout)

    def test_the_parameters_are_listed(self):
        self.assertRegex(self.fai("parametri").stdout,
                         r"(?m)^ev +Exposure \(EV\) +number +-2 to 2, default 0$")
        detto = json.loads(self.fai("parametri --json").stdout)
        self.assertEqual(len(detto["parameters"]), 35)
        self.assertTrue(detto["plugin"].startswith(BUNDLE), detto["plugin"])
        self.assertEqual(detto["parameters"][0]["options"][16], "Rec.709 (No Log)")
        with open("/dev/full", "w") as pieno:
            r = subprocess.run([PROVINO, "parametri", "--plugin", BUNDLE], stdout=pieno, stderr=subprocess.DEVNULL)
        self.assertEqual(r.returncode, FALLITO)

    def test_the_plugin_is_found_where_hosts_look(self):
        self.fai("parametri --plugin", os.path.dirname(BUNDLE))
        shutil.copytree(BUNDLE, self.qui("sub/VarnoColor.ofx.bundle"))
        for detto in (self.cartella, "/manca:" + self.cartella):
            r = subprocess.run([PROVINO, "parametri"], check=True, capture_output=True, text=True,
                               env={**os.environ, "OFX_PLUGIN_PATH": detto})
            self.assertTrue(r.stdout.startswith("plug-in %s/sub/" % self.cartella), r.stdout)
            self.assertEqual("names '/manca'" in r.stderr, "manca" in detto)


class Immagini(Prova):
    def test_the_top_row_is_the_highest(self):
        # Grain is drawn at every second row from the bottom and held behind the last: of four rows
        # the upper two are alike.
        self.flat("f.tif", 9, 4, (100, 110, 120))
        r = self.campioni("sviluppa f.tif", *NEUTRO, "-p", "grana_on=on", "-p", "grana=0.6")
        self.assertEqual(r[0], r[1])
        self.assertNotEqual(r[2], r[3])

    def test_alpha_is_kept_and_multiplies_nothing(self):
        caso = random.Random(1)
        colori = [[caso.randrange(256) for _ in range(3)] for _ in range(35)]
        alfa = [0, 255, 1, 128] + [caso.randrange(256) for _ in range(31)]
        uscite = []
        for nome, valori in (("varia.tif", alfa), ("piena.tif", [255] * 35)):
            pixel = [c + [a] for c, a in zip(colori, valori)]
            scrivi_tiff(self.qui(nome), [sum(pixel[i:i + 7], []) for i in range(0, 35, 7)], 4)
            uscite.append(sum(self.campioni("sviluppa " + nome), ()))
        self.assertEqual(list(uscite[0][3::4]), alfa)
        for c in range(3):
            self.assertEqual(uscite[0][c::4], uscite[1][c::4])
        # Through every format that holds alpha, and back.
        for da, a in (("varia.tif", "v.exr"), ("v.exr", "v.png"), ("v.png", "v.dpx")):
            self.fai("sviluppa", da, a, "-p", "forza=0")
        tornati = sum(self.campioni("sviluppa v.dpx --depth float -p forza=0"), ())
        self.assertEqual([round(a * 255) for a in tornati[3::4]], alfa)

    def test_a_look_brings_its_recipe_and_what_follows_overrides_it(self):
        self.fai("sviluppa s.exr a.exr -p look=aMBER")
        self.fai("sviluppa s.exr b.exr -p look=5 -p mistw_on=0")
        self.fai("sviluppa s.exr c.exr -p mistw_on=0 -p look=5")
        self.uguali("a.exr", "c.exr")
        self.assertNotEqual(self.byte("a.exr"), self.byte("b.exr"))
        # Labels, fractions and English words do as well.
        self.fai("sviluppa s.exr d.exr -p ev=0.25 -p promist_on=1 -p promist=0.25")
        self.fai("develop s.exr e.exr -p 'exposure (ev)=1/4' -p promist_on=1 -p promist=1/4")
        self.uguali("d.exr", "e.exr")

    def test_integer_outputs_are_rounded_to_the_nearest_code(self):
        for nome, profondita, massimo in (("s.png", "uint8", 255), ("t.png", "uint16", 65535),
                                          ("s.dpx", "uint10", 1023), ("s.tif", "uint16", 65535)):
            self.fai("tavola", nome, "--size", "96x54", "--depth", profondita)
            largest = json.loads(self.fai("confronta s.exr %s --limit 1 --json" % nome).stdout)["largest"]
            self.assertTrue(0.45 < largest * massimo < 0.5001, nome)
        self.fai("tavola f.tif --size 96x54 --depth float --compression lzw")
        self.fai("confronta s.exr f.tif")

    def test_metadata_and_data_window_are_kept(self):
        self.altri("oiiotool --create 32x18+4-3 4 --fullsize 64x36+0+0 --attrib:type=timecode smpte:TimeCode "
                   "01:02:03:04 --attrib Copyright somebody --attrib camera 'number nine' --attrib:type=float "
                   "FramesPerSecond 24 --attrib:type=int acesImageContainerFlag 1 -d half -o m.exr")
        for argomenti in ("m.exr o.exr --compression piz", "m.exr o.dpx", "o.dpx p.dpx", "o.dpx o.tif", "o.dpx p.exr"):
            self.fai("sviluppa " + argomenti, *NEUTRO)
        exr, tiff, tornato, *dpx = self.altri("oiiotool --info -v o.exr o.tif p.exr o.dpx p.dpx").split("Reading ")[1:]
        self.assertIn("FramesPerSecond: 24000/1000 (24)", tornato)
        for cosa in ("x=4, y=-3", "display size: 64 x 36", "01:02:03:04", "somebody", "number nine", "piz",
                     "provino 1", "half"):
            self.assertIn(cosa, exr)
        self.assertNotIn("acesImageContainerFlag: 1", exr)
        self.altri("oiiotool --create 8x4 3 --attrib ImageDescription mine -o d.tif")
        for argomenti in ("d.tif e.tif", "e.tif f.tif"):
            self.fai("sviluppa " + argomenti, *NEUTRO)
        self.assertRegex(self.altri("oiiotool --info -v f.tif"), r"mine\\?n?\s*provino")
        self.assertIn("uint16", tiff)  # how a file was laid out does not follow
        for detto in dpx:
            self.assertRegex(detto, "(?s)uint10.*01:02:03:04")

    def test_outputs_are_replaced_only_when_told(self):
        Path(self.qui("o.png")).write_text("mine")
        self.rifiuta(FALLITO, "--overwrite", "sviluppa s.exr o.png")
        self.assertEqual(Path(self.qui("o.png")).read_text(), "mine")
        os.symlink("o.png", self.qui("link.png"))
        self.fai("sviluppa s.exr link.png --overwrite", *NEUTRO)
        self.assertTrue(os.path.islink(self.qui("link.png")))
        self.fai("confronta s.exr o.png --limit 1")  # pictures of one size

    def test_files_carry_their_settings_and_say_what_their_colours_are(self):
        modo = ["-p", "formato=0", "-p", "look=Brass", "-p", "forza=0", "-p", "halation=0.4", "-p", "promist_on=1",
                "--key", "promist@1=0", "--key", "promist@5=0.3"]
        self.fai("sviluppa s.exr diretto.exr", *modo, "--time", "3")
        for formato in FORMATI:
            self.fai("sviluppa s.exr", "da." + formato, *modo)
            self.fai("sviluppa s.exr con_%s.exr --settings-from da.%s --time 3" % (formato, formato))
            self.uguali("con_%s.exr" % formato, "diretto.exr")
        self.altri("oiiotool da.exr -o x.png s.exr -o y.png")
        detti = self.altri("oiiotool --info -v", *("da." + f for f in FORMATI), "x.png y.png").split("Reading ")[1:]
        parole = ['"GammaCorrected2.4"', 'dpx:Transfer: "ITU-R 709-4"', "gamma 2.4", "oiio:Gamma: 2.4", "gamma 2.4",
                  "oiio:Gamma: 2.4", 'ColorSpace: "data"']
        for detto, parola in zip(detti, parole, strict=True):
            self.assertIn(parola, detto)
        self.assertIn("chromaticities: 0.64, 0.33, 0.3, 0.6, 0.15, 0.06, 0.3127, 0.329\n", detti[0])
        # One power, 2.4 in 256ths, and red as the profile's own white has it.
        for formato in ("tif", "jpg"):
            dati = self.byte("da." + formato)
            self.assertIn(b"curv" + struct.pack(">4xIH", 1, round(2.4 * 256)), dati)
            dove, = struct.unpack_from(">I", dati, dati.index(b"rXYZ") + 4)
            rosso = struct.unpack_from(">3i", dati, dati.index(b"acsp") - 36 + dove + 8)
            self.assertEqual([round(v / 655.36) for v in rosso], [44, 22, 1])
        self.fai("sviluppa da.tif z.png", *NEUTRO)
        self.assertNotIn(b"ICCProfile:", self.byte("z.png"))  # what the source's told of itself

    def test_what_is_left_out_is_said(self):
        for nome, *misura in (("grey.tif", 96, 54), ("c2.tif", 9, 9), ("c5.tif", 9, 9)):
            self.flat(nome, *misura, (118, 118, 118))
        self.altri("oiiotool s.exr --attrib oiio:subimagename a grey.tif --attrib oiio:subimagename b --siappend "
                   "-o parts.exr --pop s.exr grey.tif --chnames key.R,key.G,key.B --chappend -o layers.exr "
                   "s.exr --ch R --chnames Z -o z.exr s.exr --ch R,G --chnames u,v -o uv.exr "
                   "s.exr --ch R,G,B,A=0.5 -o alpha.exr --chnames k.R,k.G,k.B,k.A -o k.exr s.exr -d uint8 --attrib Orientation 6 -o turned.jpg "
                   "s.exr --ch R,R,G,B --chnames Z,x.R,x.G,x.B -o strato.exr s.exr --ch R,R,G --chnames Y,A,Z -o yaz.exr")
        self.altri("oiiotool s.exr --nosoftwareattrib --attrib ImageDescription " + 70000 * "x" + " -o lunga.exr")
        self.altri("oiiotool grey.tif -o a_slog3.tif --attrib lens 'Log-C look' -o l.exr grey.tif "
                   "--attrib:type=float[8] chromaticities .708,.292,.17,.797,.131,.046,.3127,.329 -o ampia.exr")
        self.fai("sviluppa grey.tif fatta.exr -p formato=0")
        Path(self.qui("k.json")).write_text(json.dumps({"parameters": {}, "keys": {"ev": [[n, 0] for n in range(9000)]}}))
        for testo, argomenti in (
                ("has 2 parts, .*: a, b$", "parts.exr o.exr"),
                ("left out, .*: key.R, key.G, key.B$", "layers.exr o.exr"),
                ("left out, .*: Z$", "strato.exr o.exr"),
                ("left out, .*: Z$", "yaz.exr o.exr"),
                ("holds no ImageDescription of this length", "lunga.exr o.jpg"),
                ("holds no settings of this length", "s.exr o.tif --settings k.json"),
                ("holds no alpha", "alpha.exr o.jpg"),
                ("is without alpha", "alpha.exr o.mp4 --rate 24"),
                ("asks to be shown turned", "turned.jpg o.exr"),
                ("was developed by provino already", "fatta.exr o.exr"),
                ("tells of slog3, and the log format is sRGB", "a_slog3.tif o.exr -p formato=17"),
                ("tells of Log-C", "l.exr o.exr -p formato=16"),
                ("tells of a wide gamut", "ampia.exr o.exr -p formato=16"),
                ("has no frames 3-4$", "c#.tif o#.exr"),
                ("halation is overwritten by the recipe", "s.exr o.exr -p halation=0.1 -p look=Amber"),
                ("cs_canon does nothing with .* Sony S-Log3", "s.exr o.exr -p formato=0 -p cs_canon=1")):
            with self.subTest(argomenti):
                r = self.fai("sviluppa --overwrite -p forza=0 -p formato=0 " + argomenti)
                self.assertRegex(r.stderr, r"\A(?m:^provino: note: .*%s.*$)\n\Z" % testo)
        for cosa, perde in ((argomenti, False), ("c#.tif o#.exr -p formato=0", True)):
            modo = "sviluppa -p forza=0 --overwrite %s " % cosa
            self.assertEqual("note" in self.fai(modo + "--quiet").stderr, perde)
            r = self.fai(modo + "--json")
            note = [n for n in map(json.loads, r.stdout.splitlines()) if "note" in n]
            self.assertEqual(([n["loss"] for n in note], r.stderr), ([perde], ""))
        self.fai("sviluppa grey.tif g.exr -p formato=0")
        for scelta in ("parts.exr --part b", "parts.exr --part=1", "layers.exr --layer key"):
            self.assertEqual(self.fai("sviluppa %s o.exr --overwrite -p formato=0" % scelta).stderr, "")
            self.fai("confronta o.exr g.exr --limit 1e-3")
        self.assertEqual(self.fai("sviluppa parts.exr o.mp4 --part b --rate 24 --overwrite -p formato=0").stderr, "")
        self.assertEqual(self.campioni("sviluppa k.exr --layer k --depth float")[0][3], 0.5)
        for nome in ("z.exr", "uv.exr"):
            self.rifiuta(FALLITO, "choose with --layer", "sviluppa", nome, "p.exr")
        self.fai("looks z.exr p.png --layer Z")

    def test_dpx_of_ffmpeg_is_read_as_oiiotool_reads_it(self):
        for formato in "gray rgb24 rgb48le rgb48be gbrp10le gbrp10be gbrp12le".split():
            with self.subTest(formato):
                self.altri("ffmpeg -v error -y -f lavfi -i testsrc2=s=64x36 -frames:v 1 -pix_fmt", formato, "f.dpx")
                self.assertIn(self.byte("f.dpx")[4:8], (struct.pack(">I", 1664), struct.pack("<I", 1664)))
                # Where that makes 16 bits of 10, repeating some, and of 12, repeating none.
                scala, scarto = {"10": (1, 1), "12": (65535 / 65520, 0.01)}.get(formato[4:6], (1, 0))
                self.altri("oiiotool f.dpx -d float --mulc %r -o f.tif" % scala)
                self.fai("confronta f.dpx f.tif --limit", str(scarto / 65535))


class Sequenze(Prova):
    GRANA = [*NEUTRO, "-p", "grana_on=on", "-p", "grana=0.5"]

    def test_the_frame_number_is_the_time(self):
        # Alone it has the number that its name ends in.
        self.flat("n.004.tif", 40, 30, (90, 100, 110))
        self.fai("sviluppa n.004.tif o.###.png --frames 2-6x2", *self.GRANA)
        for altro in ([], ["--time", "4"]):
            self.fai("sviluppa n.004.tif uno.png --overwrite", *altro, *self.GRANA)
            self.uguali("uno.png", "o.004.png")
        self.assertNotEqual(self.byte("o.002.png"), self.byte("o.004.png"))
        # The sequence that is there, read by another pattern, into another.
        self.fai("sviluppa", "o.%03d.png", "q@.png", *self.GRANA)
        self.assertEqual(self.nomi("q"), ["q2.png", "q4.png", "q6.png"])
        # A name with other digits is another picture's.
        shutil.copy(self.qui("q2.png"), self.qui("q03.png"))
        self.fai("sviluppa", "q#.png", "r#.png", *NEUTRO)
        self.assertEqual(self.nomi("r"), ["r2.png", "r4.png", "r6.png"])

    def test_keys_are_drawn_linearly(self):
        acceso = ["-p", "formato=0", "-p", "bloom_on=1"]
        self.fai("sviluppa s.exr k#.png --frames 1-5 --key bloom@5=0.5 --key bloom@1=0", *acceso)
        self.fai("sviluppa s.exr p.png --time 3", *acceso, "-p", "bloom=0.25")
        self.fai("confronta k3.png p.png")
        self.rifiuta(FALLITO, "limit", "confronta k1.png k5.png")

    def test_failed_frames_stop_the_run_or_are_listed(self):
        for n in (1, 3, 4):
            self.flat("f%d.tif" % n, 20, 10, (90, 100, 110))
        self.rifiuta(FALLITO, "no file 'f2.tif': 2 of 5 frames are missing", "sviluppa f#.tif o#.png --frames 1-5")
        # What was under way when it failed may still be finished, nothing else is begun.
        for n in range(10, 41):
            os.link(self.qui("f1.tif"), self.qui("f%d.tif" % n))
        Path(self.qui("f2.tif")).write_bytes(b"II*\0broken")
        self.fallisce("sviluppa f#.tif o#.png --frames 2,10-40",
                      r"'f2.tif' is damaged[^$]*provino: [1-6] of 32 frames failed: 2")
        os.remove(self.qui("f2.tif"))
        self.fallisce("sviluppa f#.tif p#.png --frames 1-5 --continue-on-error --jobs 2", "2 of 5 frames failed: 2 5")
        self.assertEqual(self.nomi("p"), ["p1.png", "p3.png", "p4.png"])

    def test_a_killed_run_is_finished_by_the_next(self):
        self.fai("tavola s.exr --size 320x180 --overwrite")
        modo = "--frames 1-12 -p formato=0 -p look=Velvet -p grana_on=1 --key ev@1=-1 --key ev@7=1".split()
        self.fai("sviluppa s.exr a##.png --jobs 1", *modo)  # how many at once changes no bit
        p = subprocess.Popen([PROVINO, "sviluppa", "s.exr", "b##.png", *modo, "--plugin", BUNDLE],
                             cwd=self.cartella, stdout=subprocess.PIPE, text=True)
        for _ in range(4):
            p.stdout.readline()
        p.kill()
        p.communicate()
        self.assertLess(len(self.nomi("b")), 12)
        self.fai("sviluppa s.exr b##.png --skip-existing", *modo)
        for n in range(1, 13):
            self.uguali("a%02d.png" % n, "b%02d.png" % n)
        detto = self.fai("sviluppa s.exr b##.png --skip-existing", *modo).stdout
        self.assertRegex(detto, r"(?s)b01.png: exists, skipped\n.*0 of 12 frames .*, 12 skipped\n\Z")

    def test_progress_is_told_as_asked(self):
        modo = "sviluppa s.exr o#.png --frames 1-3 --overwrite -p formato=0"
        self.assertRegex(self.fai(modo).stdout, r"\Aplug-in /.*\.ofx\no1.png: done in [\d.]+ s\no2.png.*\no3.png.*\n"
                                                r"3 of 3 frames in [^\n]+\n\Z")
        for muto in (modo, "tavola t.png --overwrite", "looks s.exr l.png --overwrite", "lut l.cube --overwrite"):
            self.assertEqual(self.fai(muto + " --quiet").stdout, "")
            self.assertIn("out", json.loads(self.fai(muto + " --json").stdout.splitlines()[-2 if muto == modo else -1]))
        self.assertRegex(self.fai("sviluppa s.exr o.exr --dry-run").stdout, "would read 1 of 's.exr', 96x54")
        self.assertFalse(os.path.exists(self.qui("o.exr")))
        detto = [json.loads(x) for x in self.fai(modo + " --json").stdout.splitlines()]
        self.assertTrue(detto[0]["plugin"].endswith(".ofx"))
        self.assertEqual([x["frame"] for x in detto[1:4]], [1, 2, 3])
        self.assertEqual((detto[4]["done"], detto[4]["failed"]), (3, []))
        self.assertIn("\no o.png: done", self.fai("sviluppa s.exr 'o\x1bo.png'").stdout)


class Fogli(Prova):
    def test_each_look_stands_in_its_place_with_its_recipe(self):
        self.flat("f.tif", 64, 36, (120, 90, 70))
        righe = self.campioni("looks f.tif --width 400 --depth uint8")
        self.assertEqual(len(righe[0]), 3 * 400)
        # Light strokes of the large one's label.
        self.assertGreater(max(max(r) for r in righe[2 + 2 * 55 + 14:2 + 2 * 55 + 14 + 12]), 150)
        # The large one is neutral to its corner, where the vignette would show.
        neutro = self.campioni("sviluppa f.tif --depth uint8", *NEUTRO)[0][:3]
        self.assertEqual(righe[2][6:9], neutro)
        for look, colonna, riga in ((0, 2, 0), (4, 0, 2), (11, 3, 3)):
            x, y = 2 + colonna * 99 + 48, 2 + riga * 69 + 27
            centro = self.campioni("sviluppa f.tif -p look=%d" % look)[18][3 * 32:3 * 32 + 3]
            for a, b in zip(righe[y][3 * x:3 * x + 3], centro):
                self.assertAlmostEqual(a, b, delta=1, msg="look %d" % look)

    def test_a_wedge_shows_the_values_of_one_parameter_or_two(self):
        self.flat("f.tif", 64, 36, (120, 90, 70))
        for cunei, valori in (("--wedge ev=-1,0,1", [[-1, 0, 1]]),
                              ("--wedge ev=-1,1 --wedge look=Amber,Brass,Silk", [[-1, 1]] * 3)):
            righe = self.campioni("looks f.tif --depth uint8 " + cunei)
            largo = len(righe[0]) // 3 // len(valori[0])
            alto = len(righe) // len(valori)
            self.assertGreater(largo, 420)
            for riga, evs in enumerate(valori):
                centri = [righe[riga * alto + alto // 3][3 * (largo * i + largo // 2)] for i in range(len(evs))]
                self.assertEqual(centri, sorted(set(centri)), "more exposure is brighter")

    def test_the_effects_are_shown_alone(self):
        # A white square on the right of a dark field: three pairs a row, each of two parts of 64 by
        # 48 pixels; with it the square's light spreads (bloom), without it all else is dark.
        campo = [[20] * 900 for _ in range(200)]
        for r in campo[40:56]:
            r[690:738] = [255] * 48
        scrivi_tiff(self.qui("f.tif"), campo)
        righe = self.campioni("effetti f.tif --width 400 --depth uint8")
        for nome, x in (("halation", 2), ("bloom", 2 + 132)):
            senza, con = ([r[3 * (x + d):3 * (x + d + 64)] for r in righe[2:50]] for d in (0, 66))
            self.assertEqual(sum(max(p) > 200 for r in senza for p in zip(*[iter(r)] * 3)), 256)
            self.assertGreater(sum(map(sum, con)), sum(map(sum, senza)) + 48 * 64, nome)
        # An amount beyond an effect's range is the most that it has.
        tanto, troppo = (self.campioni("effetti f.tif --width 200 --depth uint8 --amount=" + a) for a in ("0.6", "1"))
        for r, q in zip(tanto[2:20], troppo[2:20]):
            self.assertEqual(r[:3 * 60], q[:3 * 60])

    def test_a_cube_has_the_corners_of_the_grade_and_red_first(self):
        angoli = [[255 * (i & 1), 255 * (i >> 1 & 1), 255 * (i >> 2)] for i in range(8)]
        scrivi_tiff(self.qui("a.tif"), [sum(angoli, [])])
        modo = ["-p", "formato=Canon Log 2", "-p", "cs_canon=BT.2020", "-p", "look=Ember", "-p", "temp=0.25",
                "-p", "tinta=-0.5", "--key", "ev@0=0", "--key", "ev@10=1", "--time", "2.5"]
        veri = self.campioni("sviluppa a.tif --depth uint16", *modo, *SPENTO)[0]
        r = self.fai("lut g.cube", *modo)
        self.assertIn("off the plug-in", r.stdout)
        testo = Path(self.qui("g.cube")).read_text()
        self.assertIn('TITLE "Varno Color: Ember, Canon Log 2 / BT.2020, ev 0.25, temp 0.25, tinta -0.5"\n', testo)
        self.assertIn("LUT_3D_SIZE 33\n", testo)
        punti = [[float(v) for v in x.split()] for x in testo.splitlines() if re.match(r"[-\d.]\S* ", x)]
        self.assertEqual(len(punti), 33 ** 3)
        for i in range(8):
            punto = punti[32 * ((i & 1) + 33 * (i >> 1 & 1) + 33 * 33 * (i >> 2))]
            for a, b in zip(punto, veri[3 * i:3 * i + 3]):
                self.assertAlmostEqual(a * 65535, b, delta=0.51)

    def test_pictures_are_compared(self):
        a, b = [10, 20, 30, 40, 50, 60], [10, 20, 30, 40, 53, 60]
        for nome, riga in (("a.tif", a), ("b.tif", b), ("p1.tif", a), ("p2.tif", a), ("q1.tif", a), ("q2.tif", b)):
            scrivi_tiff(self.qui(nome), [riga])
        self.assertIn("equal", self.fai("confronta a.tif a.tif").stdout)
        r = json.loads(self.fai("confronta a.tif b.tif --json --limit 0.0118 --split s.tif --difference d.png "
                                "--gain 10").stdout)
        self.assertAlmostEqual(r["largest"], 3 / 255, places=6)
        self.assertEqual((r["x"], r["y"], r["channel"]), (1, 0, "G"))
        self.rifiuta(FALLITO, "limit", "confronta a.tif b.tif --limit 0.0117")
        # Not-a-number equals itself alone; mean squares are of all values.
        for a, b, atteso in (
                ([math.nan, -0.5, 1], [math.nan, -0.5, 1], {"equal": True, "psnr_db": None}),
                ([math.nan, 1, 1], [0, 1, 1], {"equal": False, "passes": False, "largest": None, "channel": "R"}),
                ([-1e-45, -1, 1], [1e-45, -1, 1], {"equal": False, "values_that_differ": 1}),
                ([1, -1, 1], [1, -1.1, 1], {"channel": "G", "psnr_db": 10 * math.log10(300)}),
                ([1, 1, 1, 0.75], [1, 1, 1], {"channel": "A", "largest": 0.25})):
            for nome, riga in (("v.tif", a), ("w.tif", b)):
                scrivi_tiff(self.qui(nome), [riga], len(riga), "f")
            detto = json.loads(self.lancia("confronta v.tif w.tif --json").stdout)
            for voce, valore in atteso.items():
                self.assertAlmostEqual(detto[voce], valore, places=4, msg=(a, b, voce))
        scrivi_tiff(self.qui("d.tif"), [[0, 0, 0, 0, 30, 0]])
        self.fai("confronta d.png d.tif --limit 1e-4")
        self.fai("confronta s.tif b.tif --limit 1e-6")
        self.rifiuta(FALLITO, "limit of 0: 2", "confronta p#.tif q#.tif")


class Guasti(Prova):
    def rendi_sequenza(self, formato, quadri):
        """Developed one by one in one run: what each came to, in words."""
        for i, dati in enumerate(quadri):
            Path(self.qui("m%04d.%s" % (i, formato))).write_bytes(dati)
        r = self.lancia("sviluppa m####.%s o####.%s.exr --continue-on-error --json" % (formato, formato), *NEUTRO)
        self.assertIn(r.returncode, (FATTO, FALLITO), r.stderr)
        detti = [j for j in map(json.loads, r.stdout.splitlines()) if "status" in j]
        self.assertEqual(len(detti), len(quadri))
        for d in detti:
            self.assertEqual(os.path.exists(self.qui(d["out"])), d["status"] == "done")
            if d["status"] != "done":
                self.assertRegex(d["error"], r"\A'[^\n]{10,400}\Z")
        self.assertEqual(self.nomi(".provino"), [])
        return [d.get("error", "done") for d in detti]

    def intero(self, nome, misura="40x30"):
        self.fai("tavola", nome, "--size", misura)
        return bytearray(self.byte(nome))

    def test_no_broken_picture_brings_it_down(self):
        for formato in FORMATI:
            intero, caso, rotti = self.intero("i." + formato), random.Random(formato), []
            for i in range(1000 if LUNGO else 24):
                dati = bytearray(intero)
                if i % 4 == 0:
                    del dati[caso.randrange(len(dati)):]
                else:
                    for _ in range(caso.choice([1, 1, 4, 16])):
                        dove = caso.randrange(min(len(dati), caso.choice([64, 512, 2048, len(dati)])))
                        dati[dove] = caso.choice([0, 255, 128, caso.randrange(256)])
                rotti.append(dati)
            self.assertNotIn("done", self.rendi_sequenza(formato, rotti)[::4], formato)  # cut short

    def test_absurd_headers_are_refused(self):
        png = self.intero("i.png")
        png[16:29] = struct.pack(">IIBBBBB", 60000, 60000, 16, 2, 0, 0, 0)
        png[29:33] = struct.pack(">I", zlib.crc32(bytes(png[12:29])))
        self.assertIn("60000x60000", self.rendi_sequenza("png", [png])[0])
        dpx, rotti = self.intero("i.dpx"), []
        casi = ((32, 127, "user data"), (770, 127, "count of elements"), (800, 127, "kind of element"),
                (800, 100, "colour differences"))
        for dove, valore, _ in casi:
            rotti.append(dpx[:dove] + bytes([valore]) * 2 + dpx[dove + 2:])
        # Display window and its place, then the shape of a pixel: too large, negative, none. A good
        # picture is not kept by them.
        for dove in (1408, 1424, 1628):
            for valori in ((0x7fffffff, 0x7fffffff), (0x80000000, 2), (0, 1), (0xfffffffe, 0)):
                rotti.append(dpx[:dove] + struct.pack(">II", *valori) + dpx[dove + 8:])
        esiti = self.rendi_sequenza("dpx", rotti)
        for (*_, cosa), esito in zip(casi, esiti):
            self.assertIn(cosa, esito)
        self.assertEqual(set(esiti[len(casi):]), {"done"})

    def test_a_picture_is_not_filled_up_where_its_data_ends(self):
        # A TIFF whose directory comes first: everything but the last rows can be read.
        voci = {256: 40, 257: 30, 258: 8, 259: 1, 262: 1, 273: 122, 277: 1, 278: 30, 279: 1200}
        testa = struct.pack("<2sHIH", b"II", 42, 8, len(voci))
        testa += b"".join(struct.pack("<HHII", nome, 4, 1, v) for nome, v in voci.items()) + bytes(4)
        Path(self.qui("m.tif")).write_bytes(testa + bytes(1200))
        self.fai("sviluppa m.tif o.exr")
        Path(self.qui("m.tif")).write_bytes(testa + bytes(700))
        self.rifiuta(FALLITO, "damaged", "sviluppa m.tif p.exr")

    def test_a_jpeg_of_many_passes_is_measured_before_memory_is_taken(self):
        self.altri("oiiotool s.exr --attrib jpeg:progressive 1 -o p.jpg")
        dati = bytearray(self.byte("p.jpg"))
        p = dati.index(b"\xff\xc2")
        dati[p + 5:p + 9] = b"\xff\xdc\xff\xdc"
        Path(self.qui("p.jpg")).write_bytes(dati)
        self.rifiuta(FALLITO, "65500x65500", "sviluppa p.jpg o.exr",
                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30)))

    def test_a_full_target_leaves_nothing(self):
        def poco():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        for formato in ("exr", "tif"):  # through memory, and by the library itself
            self.rifiuta(FALLITO, "cannot write 'o." + formato, "tavola --size 200x200 o." + formato,
                         preexec_fn=poco)

    def test_killed_runs_leave_no_half_file(self):
        caso = random.Random(3)
        self.fai("tavola intero.tif --size 320x180")
        for i in range(100 if LUNGO else 6):
            p = subprocess.Popen([PROVINO, "tavola", "o.tif", "--size", "320x180"], cwd=self.cartella,
                                 stderr=subprocess.DEVNULL)
            time.sleep(caso.uniform(0.0, 1.2))
            p.send_signal(signal.SIGKILL if i % 2 else signal.SIGTERM)
            p.wait()
            if os.path.exists(self.qui("o.tif")):
                self.fai("confronta o.tif intero.tif")
                os.remove(self.qui("o.tif"))
            resti = self.nomi(".provino")
            self.assertTrue(i % 2 or not resti)  # a signal that can be caught leaves nothing at all
            for f in resti:
                os.remove(self.qui(f))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + [a for a in sys.argv[3:] if a != "--lungo"])
