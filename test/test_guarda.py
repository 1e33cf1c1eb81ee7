#!/usr/bin/python3
"""provino guarda: its door, by plain requests, and its page, in a browser.

usage: test_guarda.py PROVINO BUNDLE [unittest arguments]
Run by Debian's own Python, which python3-selenium is for.
"""
import base64
import contextlib
import http.client
import json
import os
import random
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from urllib.parse import urlsplit

from selenium import webdriver

PROVINO, BUNDLE = (os.path.abspath(a) for a in sys.argv[1:3])
DESTRA = "\ue014"  # an arrow key


class Prova(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """Four frames, the third of which cannot be read, and their server."""
        cls.qui = Path(tempfile.mkdtemp(prefix="provino-"))
        cls.addClassCleanup(shutil.rmtree, cls.qui)
        cls.fai("tavola", "t.0001.exr", "--size", "192x108")
        for n in (2, 3, 4):
            Path(cls.qui, f"t.000{n}.exr").write_bytes(b"" if n == 3 else Path(cls.qui, "t.0001.exr").read_bytes())
        cls.server = subprocess.Popen(
            [PROVINO, "guarda", "t.####.exr", "--no-open", "--plugin", BUNDLE, "-p", "formato=Sony S-Log3",
             "--key", "vignetta@1=0", "--key", "vignetta@4=0.5"], cwd=cls.qui, stdout=subprocess.PIPE, text=True)
        cls.addClassCleanup(lambda: (cls.server.kill(), cls.server.wait(), cls.server.stdout.close()))
        cls.server.stdout.readline()
        cls.indirizzo = next(p for p in cls.server.stdout.readline().split() if p.startswith("http"))
        cls.porta, cls.chiave = urlsplit(cls.indirizzo).port, cls.indirizzo.split("key=")[1]

    @classmethod
    def fai(cls, *argomenti):
        subprocess.run([PROVINO, *argomenti], cwd=cls.qui, check=True, capture_output=True)


class Porta(Prova):
    def chiedi(self, metodo, percorso, corpo=None, chiave="", **testate):
        """Status, headers and body, with the cookie unless another key or none is given."""
        h = {"Cookie": f"altro=1; provino_{self.porta}={self.chiave if chiave == '' else chiave}",
             **({"Content-Type": "application/json"} if metodo == "POST" else {}),
             **{k.replace("_", "-"): v for k, v in testate.items()}}
        with contextlib.closing(http.client.HTTPConnection("127.0.0.1", self.porta, timeout=20)) as c:
            c.request(metodo, percorso, corpo, h)
            r = c.getresponse()
            return r.status, dict(r.getheaders()), r.read()

    def corpo(self, **altro):
        return json.dumps({"impostazioni": {"parameters": {}}, "numero": 1, **altro})

    def test_only_the_key_opens(self):
        vicina = self.chiave[:-1] + "10"[self.chiave[-1] == "1"]
        stato = ("POST", "/stato", self.corpo())
        for atteso, richiesta, come in (
                (403, ("GET", "/"), {"chiave": None}), (403, ("GET", "/pagina.js"), {"chiave": None}),
                (403, stato, {"chiave": None}), (403, ("GET", "/"), {"chiave": vicina}),
                (403, ("GET", "/?key=" + vicina), {"chiave": None}), (403, ("GET", "/?key="), {"chiave": None}),
                (200, ("GET", "/?key=" + self.chiave), {"chiave": None}), (200, ("GET", "/"), {}), (200, stato, {}),
                (403, ("GET", "/"), {"Host": "evil.example"}), (403, ("GET", "/"), {"Host": f"evil.example:{self.porta}"}),
                (403, ("GET", "/"), {"Host": "127.0.0.1:1"}), (200, ("GET", "/"), {"Host": f"localhost:{self.porta}"}),
                (403, stato, {"Origin": "http://evil.example"}), (403, stato, {"Origin": "http://127.0.0.1:1"}),
                (200, stato, {"Origin": f"http://127.0.0.1:{self.porta}"}), (415, stato, {"Content_Type": "text/plain"}),
                (411, stato, {"Content_Encoding": "br"}), (405, ("PUT", "/stato"), {}), (405, ("OPTIONS", "/"), {}),
                (404, ("GET", "/../etc/passwd"), {}), (404, ("GET", "/%2e%2e/%2e%2e/etc/passwd"), {}),
                (404, ("GET", "/pagina.js/../../t.0001.exr"), {}), (404, ("GET", "/t.0001.exr"), {}), (404, ("GET", "/stato"), {})):
            self.assertEqual(self.chiedi(*richiesta, **come)[0], atteso, (richiesta, come))
        testate = self.chiedi("GET", "/?key=" + self.chiave, chiave=None)[1]
        self.assertRegex(testate["Set-Cookie"], self.chiave + ".*HttpOnly; SameSite=Strict")
        self.assertRegex(testate["Content-Security-Policy"], "^default-src 'self';")
        self.assertNotIn("Access-Control", str(testate))
        prese = [r.split() for r in Path("/proc/net/tcp").read_text().splitlines()[1:]]
        self.assertEqual([p[1] for p in prese if p[3] == "0A" and p[1].endswith(f":{self.porta:04X}")],
                         [f"0100007F:{self.porta:04X}"])  # loopback alone
        self.assertRegex(self.chiave, "^[0-9a-f]{32}$")

    def test_what_cannot_be_is_refused_with_a_line(self):
        for atteso, percorso, corpo, motivo in (
                (400, "/stato", self.corpo(cambi=["ev=5"]), "ev goes from -2 to 2, not 5"),
                (400, "/stato", self.corpo(cambi=["look=Amer"]), "did you mean 'Amber'"),
                (500, "/stato", self.corpo(impostazioni={"parameters": {"ev": 5}}), "ev goes from -2 to 2"),
                (400, "/quadro", self.corpo(numero=7), "no frame 7"), (500, "/quadro", self.corpo(numero=3), "t.0003.exr"),
                (400, "/punto", self.corpo(x=192, y=0), "no such pixel"), (400, "/stato", "{}", "not one of this page's"),
                (400, "/stato", "[" * 60000, "nested"), (400, "/stato", "", "no JSON")):
            stato, _, risposta = self.chiedi("POST", percorso, corpo)
            self.assertEqual(stato, atteso, corpo[:80])
            self.assertIn(motivo, json.loads(risposta)["errore"])
        for lungo, atteso in ((b"x" * (1 << 20), 413), (iter([b"x" * 65536] * 16), 411)):  # of a told length, and of none
            with contextlib.suppress(BrokenPipeError, ConnectionResetError):  # or it hangs up
                self.assertEqual(self.chiedi("POST", "/stato", lungo)[0], atteso)

    def test_silent_and_slow_connections_keep_nobody_waiting(self):
        with contextlib.ExitStack() as aperte:
            for i in range(100):
                presa = aperte.enter_context(socket.create_connection(("127.0.0.1", self.porta)))
                presa.sendall((b"", b"GET / HTTP/1.1\r\nHo")[i % 2])
            prima = time.monotonic()
            self.assertEqual(self.chiedi("POST", "/stato", self.corpo())[0], 200)
            self.assertLess(time.monotonic() - prima, 4)

    def test_ctrl_c_leaves_nothing_that_tells_the_key(self):
        tmp, letta, browser = (Path(self.qui, n) for n in ("tmp", "letta", "xdg-open"))
        tmp.mkdir()
        os.mkfifo(letta)
        browser.write_text(f'#!/bin/sh\ncat "$1" > {letta}\n')
        browser.chmod(0o700)
        with subprocess.Popen([PROVINO, "guarda", "t.0001.exr", "--plugin", BUNDLE], cwd=self.qui, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              env={**os.environ, "TMPDIR": str(tmp), "PATH": f"{self.qui}:{os.environ['PATH']}"}) as altro:
            self.assertRegex(letta.read_text(), "url=http://127.0.0.1:[0-9]+/.key=[0-9a-f]{32}")
            self.assertEqual([f.stat().st_mode & 0o077 for f in tmp.iterdir()], [0])
            altro.send_signal(signal.SIGINT)
        self.assertEqual((altro.returncode, list(tmp.iterdir())), (-signal.SIGINT, []))

    def test_random_bodies_are_survived(self):
        caso, visti = random.Random(7), set()
        intero = self.corpo(cambi=["ev=1"], x=1, y=1, larghezza=32, altezza=32, forma="jpeg", pagina="a", turno=1).encode()
        for i in range(2000):
            corpo = bytearray(intero if i % 4 else caso.randbytes(1 + caso.randrange(400)))
            for _ in range(caso.randrange(4)):
                corpo[caso.randrange(len(corpo))] = caso.choice(b'09-e.,:"[]{}\\\xff nt')
            visti.add(self.chiedi("POST", ("/stato", "/quadro", "/punto", "/comando")[i // 4 % 4], bytes(corpo))[0])
        self.assertLessEqual(visti, {200, 204, 400, 500})
        self.assertIsNone(self.server.poll())


class Pagina(Prova):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        opzioni = webdriver.ChromeOptions()
        for o in ("headless=new", "no-sandbox", "disable-gpu", "hide-scrollbars", f"user-data-dir={cls.qui}/profilo"):
            opzioni.add_argument("--" + o)
        opzioni.add_experimental_option("prefs", {"download.default_directory": str(cls.qui)})
        cls.web = webdriver.Chrome(options=opzioni)
        cls.addClassCleanup(cls.web.quit)
        cls.web.set_script_timeout(60)
        cls.web.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": 1280, "height": 720, "deviceScaleFactor": 1, "mobile": False})

    def setUp(self):
        self.web.get(self.indirizzo)
        self.js("sessionStorage.clear(); location.reload()")
        self.riposo()

    def js(self, codice, *cose):
        """With id(NAME) for an element."""
        return self.web.execute_script("const id = n => document.getElementById(n);" + codice, *cose)

    def aspetta(self, codice):
        fine = time.monotonic() + 60
        while not self.js("try { return " + codice + " } catch { return false }"):
            self.assertLess(time.monotonic(), fine, codice)
            time.sleep(0.02)

    def riposo(self, come="riposo"):
        self.aspetta(f"id('quadro').dataset.mostra === '{come}'")

    def file(self, nome):
        fine = time.monotonic() + 60
        while not Path(self.qui, nome).exists():
            self.assertLess(time.monotonic(), fine, nome)
            time.sleep(0.02)
        return Path(self.qui, nome).read_bytes()

    def pixel(self, tela="quadro"):
        """The bytes of a canvas, RGB."""
        d = base64.b64decode(self.js("""const c = id(arguments[0]), d = c.getContext('2d').getImageData(0, 0, c.width, c.height);
            return btoa(Array.from(d.data, v => String.fromCharCode(v)).join(''))""", tela))
        return bytes(v for i, v in enumerate(d) if i % 4 < 3)

    def rgb(self, file):
        subprocess.run(["oiiotool", file, "-ch", "R,G,B", "-d", "uint8", "-o", "x.ppm"], cwd=self.qui, check=True)
        return Path(self.qui, "x.ppm").read_bytes()[-192 * 108 * 3:]

    def tasti(self, testo, come="riposo"):
        self.js("document.activeElement.blur()")
        webdriver.ActionChains(self.web).send_keys(testo).perform()
        self.riposo(come)

    def scegli(self, nome, valore):
        """An option, a switch, a number."""
        self.js("const e = id(arguments[0]); e.type === 'checkbox' ? e.click() : (e.value = arguments[1], e.dispatchEvent(new Event('change')))",
                nome, valore)
        self.riposo()

    def look(self, n):
        self.js(f"document.querySelector('#looks input[value=\"{n}\"]').click()")
        self.riposo()

    def impostazioni(self):
        return self.js("return JSON.parse(sessionStorage.tavolo).stato.impostazioni")

    def riga(self):
        return self.js("return id('messaggio').textContent")

    def come_sviluppa(self):
        """The canvas is the PNG of the copied command, all pixels, and so are the settings; the command."""
        self.js("delete id('messaggio').dataset.comando; id('comando').click()")
        self.aspetta("id('messaggio').dataset.comando")
        parole = shlex.split(self.js("return id('messaggio').dataset.comando"))
        self.assertEqual(parole[:2], ["provino", "sviluppa"])
        self.fai(*parole[1:], "--overwrite", "--save-settings", "i.json")
        self.assertEqual(self.pixel(), self.rgb(parole[3]), parole)
        self.assertEqual(json.loads(self.file("i.json")), self.impostazioni())
        return parole

    def test_looks_and_values_are_what_the_command_makes(self):
        prima = self.pixel()
        self.look(5)
        self.assertNotEqual(self.pixel(), prima)
        p = self.impostazioni()["parameters"]
        self.assertEqual((p["look"], p["enhance_on"], p["formato"]), ("Amber", False, "Sony S-Log3"))
        self.assertEqual(self.come_sviluppa().count("-p"), 2)  # the recipe is not spelt out
        for nome, valore in (("mistw-testo", "1/4"), ("forza-testo", "0,25"), ("grana_on", None)):
            self.scegli(nome, valore)
        p = self.impostazioni()["parameters"]
        self.assertEqual((p["mistw"], p["forza"], p["grana_on"]), (0.25, 0.25, True))
        self.come_sviluppa()
        self.scegli("ev-testo", "9")
        self.assertIn("ev goes from -2 to 2, not 9", self.riga())
        self.look(-1)
        p = self.impostazioni()["parameters"]
        self.assertEqual((p["forza"], p["grana_on"], p["ev"]), (0, False, 0))
        self.come_sviluppa()
        self.aspetta("id('looks').dataset.pronti")

    def test_menus_show_and_hide_undo_and_redo(self):
        visti = lambda: self.js("return [...document.querySelectorAll('.riga:not([hidden]) select')].map(s => s.id).filter(n => n.startsWith('cs_'))")
        for formato, menu in (("Canon Log 2", ["cs_canon"]), ("Rec.709 (No Log)", [])):
            self.assertEqual(visti(), ["cs_sony3"] if menu else ["cs_canon"])
            self.scegli("formato", formato)
            self.assertEqual(visti(), menu)
        ultima = self.pixel()
        self.tasti("zz")
        self.assertEqual(visti(), ["cs_sony3"])
        self.tasti("yy")
        self.assertEqual((visti(), self.pixel()), ([], ultima))
        self.tasti("r")
        self.assertEqual(visti(), ["cs_sony3"])
        self.scegli("bloom-testo", "0.5")
        self.js("id('bloom').parentElement.dispatchEvent(new MouseEvent('dblclick'))")
        self.aspetta("id('bloom-testo').value === '0.16'")

    def test_a_drag_shows_the_newest_wish_alone_and_then_the_whole(self):
        visti = self.web.execute_async_script("""
            const fine = arguments[0], q = document.getElementById('quadro'), c = document.getElementById('bloom'), visti = [];
            q.addEventListener('mostrato', e => { visti.push(e.detail.intero); if (e.detail.intero) fine(visti); });
            for (let i = 1; i <= 40; ++i) { c.value = i / 80; c.dispatchEvent(new Event('input')); }""")
        self.assertEqual(visti, [False, False, True])  # of 40 the first and the last one
        self.scegli("bloom", 0.5)
        self.come_sviluppa()

    def test_wipe_zoom_and_frames(self):
        misura = lambda nome, lato: self.js(f"return id('{nome}').getBoundingClientRect().{lato}")
        self.tasti("w")
        self.assertEqual(self.pixel("confronto"), self.rgb("t.0001.exr"))
        prima = misura("tendina", "left")
        webdriver.ActionChains(self.web).drag_and_drop_by_offset(self.web.find_element("id", "tendina"), 200, 0).perform()
        self.assertAlmostEqual(misura("tendina", "left"), prima + 200, delta=2)
        self.tasti("bw")
        adatta = misura("piano", "width")
        self.js("id('vista').dispatchEvent(new WheelEvent('wheel', {deltaY: -400, clientX: 300, clientY: 300}))")
        self.assertGreater(misura("piano", "width"), adatta)
        self.tasti("f")
        self.assertEqual(misura("piano", "width"), adatta)
        for n in (2, 3, 4):
            prima = self.pixel()
            self.tasti(DESTRA, "guasto" if n == 3 else "riposo")
            self.assertEqual(self.js("return id('numero').textContent"), str(n))
            if n == 3:  # the last picture stays
                self.assertIn("t.0003.exr", self.riga())
                self.assertEqual(self.pixel(), prima)
            else:
                self.assertIn("--frames", self.come_sviluppa())  # keys and grain follow the number

    def test_files_reload_and_two_pages(self):
        self.scegli("look", "Silk")
        self.tasti("s")
        self.assertEqual(json.loads(self.file("settings.json")), self.impostazioni())
        self.tasti("r")
        self.web.find_element("id", "file").send_keys(str(self.qui / "settings.json"))
        self.aspetta("id('look').value === 'Silk'")
        self.tasti("i")
        self.fai("sviluppa", "t.0001.exr", "s.png", "--settings", "settings.json", "--plugin", BUNDLE)
        self.assertEqual(self.file("t.0001-silk.png"), self.file("s.png"))
        prima = self.pixel()
        self.web.refresh()
        self.riposo()
        self.assertEqual((self.pixel(), self.impostazioni()["parameters"]["look"]), (prima, "Silk"))
        self.web.switch_to.new_window("tab")
        self.web.get(self.indirizzo)
        self.riposo()
        self.assertEqual(self.impostazioni()["parameters"]["look"], "Nordic")
        self.web.close()
        self.web.switch_to.window(self.web.window_handles[0])
        self.assertEqual(self.impostazioni()["parameters"]["look"], "Silk")

    def test_fits_and_can_be_read(self):
        self.assertEqual(self.js("""const p = id('parametri'), d = document.documentElement;
            return [d.scrollHeight <= 720, d.scrollWidth <= 1280, p.scrollHeight <= p.clientHeight]"""), [True] * 3)
        campi = self.web.find_elements("css selector", "button, input, select, canvas:not([aria-hidden]), [tabindex]")
        self.assertEqual([c.get_attribute("outerHTML") for c in campi if c.is_displayed() and not c.accessible_name], [])
        self.assertEqual(self.js("""
            const luce = c => c.map(v => v / 255).map(v => v <= .04045 ? v / 12.92 : ((v + .055) / 1.055) ** 2.4)
                .reduce((s, v, i) => s + v * [.2126, .7152, .0722][i], 0);
            const numeri = t => t.match(/[\\d.]+/g).map(Number), stile = getComputedStyle;
            const fondo = e => { const n = numeri(stile(e).backgroundColor); return n[3] === 0 ? fondo(e.parentElement) : n; };
            const contrasto = e => { const [a, b] = [numeri(stile(e).color), fondo(e)].map(c => luce(c.slice(0, 3)) + .05);
                return Math.max(a / b, b / a); };
            return [...document.querySelectorAll('body *')].filter(e => e.offsetWidth && contrasto(e) < 4.5
                && [...e.childNodes].some(n => n.nodeType === 3 && n.data.trim())).map(e => e.outerHTML)"""), [])

    def test_z_the_last_picture_stays_when_provino_goes(self):
        prima = self.pixel()
        self.server.kill()
        self.tasti("]", "guasto")
        self.assertIn("has ended", self.riga())
        self.assertEqual(self.pixel(), prima)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
