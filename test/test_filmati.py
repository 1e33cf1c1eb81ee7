#!/usr/bin/env python3
"""provino with movies: what goes in and out through ffmpeg, held against the picture way.

usage: test_filmati.py PROVINO BUNDLE [unittest arguments]
"""
import json
import os
import re
import resource
import shlex
import shutil
import signal
import struct
import subprocess
import sys
import time
import unittest
from pathlib import Path

from test_provino import BUNDLE, FALLITO, NEUTRO, PROVINO, USO, Prova, leggi_tiff, scrivi_tiff

def processi():
    """Number, parent, folder and command of all that run."""
    for p in Path("/proc").glob("[0-9]*"):
        try:
            yield (int(p.name), int((p / "stat").read_text().rsplit(")", 1)[1].split()[1]), os.readlink(p / "cwd"),
                   (p / "cmdline").read_text().replace("\0", " "))
        except OSError:
            pass


class Filmati(Prova):
    @classmethod
    def setUpClass(cls):
        """What many cases share, of one run: a clip with all that goes beside a picture, and a long one."""
        super().setUpClass()
        Path(cls.comune, "s.srt").write_text("1\n00:00:00,000 --> 00:00:01,000\nwords\n")
        subprocess.run(shlex.split(
            "ffmpeg -v error -f lavfi -i testsrc2=s=96x54:r=30000/1001:d=1 -f lavfi -i sine=d=1:r=48000 -i s.srt "
            "-map 0 -map 1 -map 1 -map 2 -timecode 00:00:59;27 -metadata title='a title' -metadata:s:a:1 language=ita "
            "-c:v prores_ks -c:a pcm_s16le -c:s mov_text in.mov "
            "-map 0 -map 1 -c:v libx264 -bf 2 -g 12 -vf setsar=16/15 -c:a aac cam.mp4 -map 0 -c:v ffv1 uno.mkv"),
            cwd=cls.comune, check=True)

    def setUp(self):
        super().setUp()
        for nome in ("in.mov", "cam.mp4"):
            os.link(os.path.join(self.comune, nome), self.qui(nome))

    def ffmpeg(self, argomenti, **come):
        r = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *shlex.split(argomenti)],
                           cwd=self.cartella, capture_output=True, check=False, **come)
        self.assertEqual(r.returncode, 0, (argomenti, r.stderr))
        return r.stdout

    def ffprobe(self, file, cosa):
        r = subprocess.run(["ffprobe", "-v", "error", "-of", "json", "-show_entries", cosa, file],
                           cwd=self.cartella, capture_output=True, check=True)
        return json.loads(r.stdout)

    def pixel(self, file, formato="rgba64le"):
        return self.ffmpeg("-i %s -fps_mode passthrough -f rawvideo -pix_fmt %s -" % (file, formato))

    def clip(self, nome, opzioni="", secondi=1, misura="96x54"):
        self.ffmpeg("-f lavfi -i testsrc2=s=%s:r=30000/1001:d=%s -f lavfi -i sine=d=%s %s %s"
                    % (misura, secondi, secondi, opzioni, nome))

    def nessuno_resta(self):
        """No program that was started for this folder is left."""
        for _ in range(50):
            vivi = [comando for _, _, dove, comando in processi() if self.cartella in dove]
            if not vivi:
                return
            time.sleep(0.1)
        self.fail(vivi)

    def test_a_movie_is_its_pictures_to_the_last_bit_of_16(self):
        for n in range(1, 4):
            self.fai("sviluppa s.exr p%d.png -p ev=%d --depth uint16" % (n, n - 2))
        # Alpha varies too.
        self.ffmpeg("-i p%d.png -vf \"format=gbrap16le,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':"
                    "a='X*600+Y'\" s%d.png")
        self.ffmpeg("-framerate 25 -i s%d.png -c:v ffv1 -pix_fmt gbrap16le in.mkv")
        modo = ["-p", "formato=0", "-p", "grana_on=1", "--key", "ev@1=-1", "--key", "ev@3=1"]
        for quale in (NEUTRO, modo):
            self.fai("sviluppa s#.png o#.png --overwrite", *quale)
            self.fai("sviluppa in.mkv out.mkv --overwrite", *quale)
            self.assertEqual(self.pixel("out.mkv"), self.pixel("o%d.png"))
        self.fai("sviluppa in.mkv m#.png", *modo)
        self.assertEqual(self.pixel("m%d.png"), self.pixel("o%d.png"))
        self.fai("sviluppa s#.png seq.mkv --rate 25", *modo)
        self.assertEqual(self.pixel("seq.mkv"), self.pixel("o%d.png"))
        self.fai("confronta in.mkv s#.png --limit 1e-6")
        self.fai("confronta s#.png in.mkv --limit 1e-6")
        self.rifiuta(FALLITO, "limit of 0.01: 1 2 3", "confronta in.mkv o#.png --limit 0.01")
        self.rifiuta(FALLITO, "have not the same numbers", "confronta in.mkv s1.png")
        # Numbers are times, wherever the first stands and whichever are picked.
        self.fai("sviluppa in.mkv t##.png --start 10 --frames 11-12", *modo)
        self.assertEqual(self.nomi("t"), ["t11.png", "t12.png"])
        self.rifiuta(USO, "has the frames 1 to 3", "sviluppa in.mkv v#.png --frames 2-4")
        for quale in ("", "--frame 2"):
            self.fai("looks in.mkv a.png --width 400 --overwrite " + quale, *modo)
            self.fai("looks s#.png b.png --width 400 --overwrite " + quale, *modo)
            a, b = self.pixel("a.png"), self.pixel("b.png")
            self.assertEqual(a[:len(a) // 2], b[:len(b) // 2])  # the foot names the file
        # A hole is no shorter movie, unless that is wanted.
        os.remove(self.qui("s2.png"))
        self.rifiuta(FALLITO, "has no frames 2, and the movie would be shorter", "sviluppa s#.png h.mkv --rate 25")
        self.fai("sviluppa s#.png h.mkv --rate 25 --continue-on-error", *modo)
        self.assertEqual(self.pixel("h.mkv"), self.pixel("o1.png") + self.pixel("o3.png"))

    def test_light_becomes_legal_codes_and_says_so(self):
        toppe = [(0, 0, 0), (65535,) * 3, (30000,) * 3, (60000, 20000, 9000), (5000, 40000, 50000), (257, 300, 290)]
        W, H = 48 * len(toppe), 128
        scrivi_tiff(self.qui("p.tif"), H * [sum(([v / 65535 for v in t] * 48 for t in toppe), [])], tipo="f")
        luci = self.campioni("sviluppa p.tif --depth float", *NEUTRO)[64]
        for nome, opzioni, codec, formato, bit, parte, scarto in (
                # output, what asks for the codec, what it is, samples, bits, chroma's share, codes off
                ("o.mov", "--codec v210", "v210", "yuv422p10le", 10, 2, 0.51),
                ("o.mkv", "--codec ffv1:yuv444p16le", "ffv1", "yuv444p16le", 16, 1, 2.0),
                ("o.mov", "", "prores", "yuv422p10le", 10, 2, 2.5),
                ("o.mov", "--codec dnxhr", "dnxhd", "yuv422p10le", 10, 2, 2.5),
                ("o.mp4", "", "h264", "yuv420p", 8, 2, 1.6),
                ("o.mp4", "--codec h265 --quality 8", "hevc", "yuv420p10le", 10, 2, 3.0)):
            with self.subTest(nome=nome, opzioni=opzioni):
                self.fai("sviluppa p.tif %s --frames 1-2 --rate 24000/1001 --overwrite %s" % (nome, opzioni), *NEUTRO)
                detto = self.ffprobe(nome, "stream")["streams"][0]
                self.assertEqual([detto.get(k) for k in ("codec_name", "pix_fmt", "r_frame_rate", "color_range",
                                                         "color_space", "color_transfer", "color_primaries")],
                                 [codec, formato, "24000/1001", None if codec == "v210" else "tv"] + 3 * ["bt709"])
                dati = self.ffmpeg("-i %s -frames:v 1 -f rawvideo -" % nome)
                campioni = memoryview(dati).cast("H" if bit > 8 else "B")
                altezza, s = H // 2 if "420" in formato else H, 1 << bit - 8
                for i in range(len(toppe)):
                    x = 48 * i + 24
                    r, g, b = luci[3 * x:3 * x + 3]
                    y = 0.2126 * r + 0.7152 * g + 0.0722 * b
                    croma = H * W + (altezza // 2 * W + x) // parte
                    for dove, atteso in ((64 * W + x, 16 + 219 * y), (croma, 128 + 224 * (b - y) / 1.8556),
                                         (croma + altezza * W // parte, 128 + 224 * (r - y) / 1.5748)):
                        self.assertAlmostEqual(campioni[dove], s * atteso, delta=scarto)

    def flussi(self, file, cosa):
        """That entry of each stream, by the stream's kind."""
        r = self.ffprobe(file, "stream=codec_type,%s:stream_tags=%s" % (cosa, cosa))["streams"]
        return [(t["codec_type"], t.get(cosa) or t.get("tags", {}).get(cosa)) for t in r]

    def test_a_clip_keeps_its_rate_timecode_tags_sound_and_settings(self):
        suono = self.ffmpeg("-i in.mov -map 0:a -c copy -f hash -")
        # Where the number of a minute's first two frames is left out.
        for nome, scelti, timecode, audio in (("o.mov", "", "00:00:59;27", True), ("o.mkv", "", "00:00:59;27", True),
                                              ("o.mov", "--frames 4-8", "00:01:00;02", False)):
            r = self.fai("sviluppa in.mov %s --overwrite -p look=Brass -p promist_on=1 %s" % (nome, scelti))
            detto = self.ffprobe(nome, "stream:format_tags:stream_tags")
            etichette = {k.lower(): v for k, v in detto["format"]["tags"].items()}
            for t in detto["streams"]:
                etichette.update({k.lower(): v for k, v in t.get("tags", {}).items()})
            self.assertEqual((etichette["timecode"], etichette["title"]), (timecode, "a title"))
            self.assertEqual(detto["streams"][0]["r_frame_rate"], "30000/1001")
            self.assertEqual("audio" in r.stderr, not audio)
            self.assertIn("without the subtitles", r.stderr)
            self.assertEqual(sum(t["codec_type"] == "audio" for t in detto["streams"]), 2 * audio)
            if audio:
                self.assertEqual(self.ffmpeg("-i %s -map 0:a -c copy -f hash -" % nome), suono)
            if nome == "o.mkv":
                self.assertIn(("audio", "ita"), self.flussi(nome, "language"))
        self.assertEqual(len(self.pixel("o.mov", "gray")), 5 * 96 * 54)
        # What takes no PCM, and what takes nothing else.
        for nome, opzioni, codec, detto in (("o.mp4", "", ["aac", "aac"], "becomes AAC"), ("o.mp4", "--audio none", [], ""),
                                            ("o.mxf", "--codec mpeg2video", ["pcm_s16le", "pcm_s16le"], "")):
            r = self.fai("sviluppa in.mov %s --overwrite" % nome, *opzioni.split())
            self.assertEqual([c for tipo, c in self.flussi(nome, "codec_name") if tipo == "audio"], codec)
            self.assertIn(detto, r.stderr)
        self.rifiuta(USO, "--audio aac makes it AAC", "sviluppa in.mov p.mp4 --audio copy", note="(?:[^\n]*note:[^\n]*\n)*")
        self.fai("sviluppa in.mov o#.exr --frames 3")
        self.fai("sviluppa o3.exr diretto.png -p look=Brass -p promist_on=1")
        for nome in ("o.mov", "o.mkv"):
            self.fai("sviluppa o3.exr con.png --overwrite --settings-from", nome)
            self.uguali("con.png", "diretto.png")
        detto = self.altri("oiiotool --info -v o3.exr")
        self.assertRegex(detto, r"(?s)FramesPerSecond: 30000/1001.*smpte:TimeCode: 00:00:59[;.:]29")
        self.ffmpeg("-i in.mov -map 0:v -c copy -timecode '01:00:00;00' ora.mov")
        self.fai("sviluppa ora.mov t##.dpx --frames 30")
        # Beyond 30 a second pictures count pairs; numbers are dropped at one rate.
        self.ffmpeg("-f lavfi -i color=s=64x48:r=50 -frames:v 28 -timecode 01:00:00:18 -c:v ffv1 v.mkv")
        self.fai("sviluppa v.mkv v#.exr --frames 28")
        self.altri("oiiotool o3.exr --eraseattrib FramesPerSecond -o d3.exr")
        self.assertRegex(self.altri("oiiotool --info -v v28.exr"), "smpte:TimeCode: 01:00:00[;.:]22")
        for da, a, codice in (("o3.exr", "30000/1001", "59;29"), ("d3.exr", "30000/1001", "59;29"), ("t30.dpx", "30000/1001", "00;29"),
                              ("v28.exr", "50/1", "00:45"), ("s.exr --rate 23.976", "24000/1001", ""),
                              ("s.exr --rate 59.94", "60000/1001", "")):
            self.fai("sviluppa %s s.mkv --frames 1-40 --overwrite" % da)
            tag = str(self.ffprobe("s.mkv", "stream_tags:format_tags"))
            self.assertEqual("".join(re.findall(r"'\d\d:\d\d:(\d\d[:;]\d\d)'", tag)), codice)
            self.fai("sviluppa s.mkv s.mov --overwrite")  # from times of whole milliseconds
            self.assertEqual(self.flussi("s.mov", "r_frame_rate")[0], ("video", a))

    def test_sound_stays_where_it_was(self):
        # A white frame and a beep at the same time, half a second in.
        self.ffmpeg("-f lavfi -i color=s=64x48:r=24:d=1,drawbox=c=white:t=fill:enable='eq(n\\,12)' -f lavfi "
                    "-i aevalsrc='0.5*sin(2500*t)*between(t\\,0.5\\,0.53)':s=48000:d=1 -c:v libx264 -bf 2 -c:a aac b.mp4")
        self.ffmpeg("-i b.mp4 -c copy k.mkv -itsoffset 1.3 -i b.mp4 -map 1:v -map 0:a -c copy tardi.mov")
        # Cut where the first two frames lack what they depend on.
        self.ffmpeg("-stream_loop 1 -i b.mp4 -t 1.25 -c:v mpeg2video -g 6 -bf 2 -c:a pcm_s16le b.mxf")
        self.ffmpeg("-ss 0.3 -i b.mxf -c copy c.mxf")

        def scarto(file):
            """Seconds that the beep comes behind the frame."""
            suono = memoryview(self.ffmpeg("-i %s -map 0:a -af aresample=async=1:first_pts=0 -f s16le -ac 1 -" % file)).cast("h")
            bianchi = list(self.ffmpeg("-i %s -fps_mode passthrough -vf scale=1:1 -f rawvideo -pix_fmt gray -" % file))
            self.assertEqual(len(bianchi), 24, file)
            r = self.ffprobe(file, "packet=pts_time,stream_index:format=start_time:stream=codec_type")
            video = [s["codec_type"] for s in r["streams"]].index("video")
            tempi = sorted(float(p["pts_time"]) for p in r["packets"] if p["stream_index"] == video)[-24:]
            flash = tempi[max(range(24), key=bianchi.__getitem__)] - float(r["format"]["start_time"])
            return next(i for i, v in enumerate(suono) if abs(v) > 4000) / 48000 - flash
        for da in ("k.mkv", "tardi.mov", "c.mxf"):
            for a in ("o.mov", "o.mp4", "o.mkv"):
                self.fai("sviluppa %s %s --overwrite" % (da, a), *NEUTRO)
                self.assertAlmostEqual(scarto(a), scarto(da), delta=0.004, msg=(da, a))

    def test_a_clip_cut_without_encoding_is_whole(self):
        self.ffmpeg("-stream_loop 3 -i cam.mp4 -map 0:v -c copy lungo.mp4 -map 0:v -c:v mpeg2video -bf 2 lungo.ts")
        for nome, taglio in (("t.mp4", "-ss 0.5"), ("t.mov", "-ss 1.3 -t 1.5"), ("t.ts", "-ss 1.3 -t 1.45"), ("t.mkv", "-t 1.6"),
                             ("m.mkv", "-ss 1.1"), ("m.m2v", "-ss 1.1")):  # whose first packets lack what they depend on
            self.ffmpeg("%s -i lungo.%s -c copy %s" % (taglio, "ts" if nome[0] == "m" else "mp4", nome))
            r = self.fai("sviluppa %s o.mov --overwrite" % nome, *NEUTRO)
            self.assertNotIn("variable", r.stderr)
            self.assertEqual("'m.m2v' ends after frame" in r.stderr, nome == "m.m2v")  # without times
            # A second decoder's count.
            self.assertEqual(len(self.pixel("o.mov", "gray")), len(self.pixel("%s" % nome, "gray")), nome)
        self.assertRegex(self.fai("confronta m.m2v m.m2v").stderr, "note: 'm.m2v' ends after frame")
        for nome in ("t.mkv", "t.ts"):
            intero = self.byte(nome)
            Path(self.qui("c" + nome)).write_bytes(intero[:len(intero) * 2 // 3])
        self.rifiuta(FALLITO, "File ended prematurely", "sviluppa ct.mkv c.mov", note="(?:[^\n]*note:[^\n]*\n)*")

    def test_a_card_becomes_a_movie_of_each_clip_and_goes_on(self):
        os.makedirs(self.qui("card/sub"))
        for nome in "abc":
            self.clip("card/%s.mov" % nome, "-c:v prores_ks -c:a pcm_s16le", 0.3)
        os.rename(self.qui("card/c.mov"), self.qui("card/sub/c it's: 50%.mov"))
        os.makedirs(self.qui("card/.Trashes"))
        for nome in ("list.xml", ".Trashes/x.mov"):
            Path(self.qui("card/" + nome)).touch()
        modo = "sviluppa card --to card/out --as .mkv --scale 48 --burn name,timecode "
        self.fai(modo, preexec_fn=lambda: os.close(1))  # whoever listens
        self.assertEqual(sorted(os.listdir(self.qui("card/out"))), ["a.mkv", "b.mkv", "c it's: 50%.mkv"])
        detto = self.ffprobe("card/out/c it's: 50%.mkv", "stream")["streams"]
        self.assertEqual([(t.get("width"), t.get("height"), t["codec_type"]) for t in detto],
                         [(48, 28, "video"), (None, None, "audio")])
        prima = self.byte("card/out/a.mkv")
        os.remove(self.qui("card/out/b.mkv"))
        Path(self.qui("card/d.mov")).write_bytes(b"no movie")
        r = self.lancia(modo + "--json")
        self.assertEqual((r.returncode, json.loads(r.stdout.splitlines()[-1])),
                         (FALLITO, {"clips": 4, "done": 1, "skipped": 2, "failed": ["card/d.mov"]}))
        self.assertEqual(self.byte("card/out/a.mkv"), prima)
        self.fai("sviluppa card/b.mov b.mkv --scale 48")
        con, senza = (self.pixel(f, "gray") for f in ("card/out/b.mkv", "b.mkv"))
        self.assertEqual(con[:48 * 2], senza[:48 * 2])  # letters stand at the bottom
        self.assertNotEqual(con[48 * 8:48 * 28], senza[48 * 8:48 * 28])
        shutil.copy(self.qui("s.exr"), self.qui("card/sub/0001.exr"))
        self.fai("sviluppa card/sub/####.exr --to altri --rate 24")
        self.assertEqual(os.listdir(self.qui("altri")), ["sub.mp4"])

    def test_it_is_shown_as_a_player_turns_it(self):
        self.ffmpeg("-i cam.mp4 -an -c:v libx264 -qp 0 -frames:v 3 a.mp4")
        self.fai("sviluppa a.mp4 dritto.png --frames 2", *NEUTRO)
        for gradi, giro, forma in ((90, "transpose=cclock", "15:16"), (180, "hflip,vflip", "16:15")):
            self.ffmpeg("-i a.mp4 -c copy -metadata:s:v rotate=%d r.mp4" % gradi)
            self.assertEqual(self.ffprobe("r.mp4", "stream_side_data=rotation")["streams"][0]["side_data_list"][0]
                             ["rotation"] % 360, gradi)
            self.fai("sviluppa r.mp4 r.png --frames 2 --overwrite", *NEUTRO)
            self.assertEqual(self.pixel("r.png", "rgb48le"),
                             self.ffmpeg("-i dritto.png -vf %s -f rawvideo -pix_fmt rgb48le -" % giro))
            self.fai("sviluppa r.mp4 r.mov --overwrite", *NEUTRO)
            self.assertEqual(self.flussi("r.mov", "sample_aspect_ratio"), [("video", forma)])
        self.altri("oiiotool s.exr --ch R,G,B,A=1 --attrib:type=float PixelAspectRatio 0.5 --fullsize 200x100-9-9 -o p.exr")
        for perso, come in (("display window", "p.mkv --frames 1-2 --rate 24"), ("display window", "p.dpx"),
                            ("display window", "n.dpx --dry-run"), ("alpha", "n.jpg --dry-run"),
                            ("pixels' shape of 0.5", "n.mxf --codec mpeg2video --frames 1-2 --rate 24 --dry-run")):
            self.assertIn(perso, self.fai("sviluppa p.exr " + come).stderr)
        self.fai("sviluppa p.exr p.tif")
        self.assertIn("origin: x=9", self.altri("oiiotool --info -v p.tif"))
        self.fai("sviluppa p.dpx q.mov --frames 1-2 --rate 24")
        for nome in ("p.mkv", "q.mov"):
            self.assertEqual(self.flussi(nome, "sample_aspect_ratio"), [("video", "1:2")])

    def test_any_frame_is_found_in_any_container(self):
        # Its number is written into each frame's first pixels, and all frames depend on others. In 502 frames a rate
        # of 24 is half a frame off.
        for nome, quanti, modo in (("a.mp4", 520, "-c:v libx264 -g 30 -bf 3 -qp 0"), ("a.ts", 75, "-c:v libx264 -g 30 -bf 3 -qp 0"),
                                   ("a.mkv", 75, "-c:v libx264 -g 30 -bf 3 -qp 0 -output_ts_offset 1"),
                                   ("a.mxf", 75, "-c:v mpeg2video -q:v 1"),
                                   ("h.mp4", 110, "-c:v libx265 -x265-params keyint=24:min-keyint=24:b-adapt=0:open-gop=0:radl=2:log-level=error")):
            self.ffmpeg("-f lavfi -i color=gray:s=64x64:r=24000/1001:d=%.2f,geq=lum='16+2*mod(N\\,100)':cb=128:cr=128 -f lavfi "
                        "-i sine=d=3.2:r=48000 %s -pix_fmt yuv420p -color_range tv -colorspace bt709 %s"
                        % (quanti / 24, modo, nome))
            if nome == "h.mp4":  # begins with frames from before its first whole one
                self.ffmpeg("-ss 1.1 -i h.mp4 -an -c copy a.mkv")
                nome, quanti = "a.mkv", len(self.pixel("a.mkv", "gray")) // 64 // 64
            self.fai("sviluppa %s tutti.mkv --overwrite" % nome, *NEUTRO)
            interi, uno = self.pixel("tutti.mkv", "gray"), 64 * 64
            self.assertEqual(len(interi), quanti * uno, nome)
            self.assertGreater(len(set(interi[::uno])), 20)
            self.fai("sviluppa %s scelti.mkv --frames 3,60,62,%d-%d --overwrite" % (nome, quanti - 1, quanti), *NEUTRO)
            self.assertEqual(self.pixel("scelti.mkv", "gray"),
                             b"".join(interi[uno * (n - 1):][:uno] for n in (3, 60, 62, quanti - 1, quanti)), nome)

    def test_frames_of_any_length_go_into_pictures_alone(self):
        self.ffmpeg("-f lavfi -i testsrc2=s=64x48:r=30:d=2 -vf select='not(mod(n\\,3))+gt(n\\,40)' "
                    "-fps_mode vfr -c:v libx264 v.mp4")
        r = self.lancia("sviluppa v.mp4 o.mov")
        comando = re.fullmatch(r"provino: 'v.mp4' has a variable frame rate; .*: ffmpeg (.*)\n", r.stderr)[1]
        self.ffmpeg(comando)
        self.fai("sviluppa constant.mkv o.mov")
        uno = 64 * 48  # no frame is lost on the way
        prima, dopo = ({d[i:i + uno] for i in range(0, len(d), uno)}
                       for d in (self.pixel(f, "gray") for f in ("v.mp4", "constant.mkv")))
        self.assertEqual(prima - dopo, set())
        self.assertRegex(self.fai("sviluppa v.mp4 o##.png").stderr, "note: 'v.mp4' has a variable frame rate")
        self.assertEqual(len(self.nomi("o")), 1 + 33)
        self.ffmpeg("-i v.mp4 -vf setparams=color_trc=arib-std-b67 -c:v libx264 hlg.mp4")
        self.assertRegex(self.fai("sviluppa hlg.mp4 h#.png --frames 1").stderr, "is tagged as HLG")

    def test_what_goes_wrong_is_said_in_one_line_and_leaves_nothing(self):
        os.remove(self.qui("in.mov"))
        self.clip("in.mov", "-c:v prores_ks", 1, "320x180")
        intero = self.byte("in.mov")
        Path(self.qui("mozzo.mov")).write_bytes(intero[:len(intero) // 2])
        self.ffmpeg("-i in.mov -c copy -movflags faststart davanti.mov")
        Path(self.qui("corto.mov")).write_bytes(self.byte("davanti.mov")[:len(intero) // 2])
        rotto = bytearray(intero)
        rotto[len(intero) // 2:len(intero) // 2 + 20000] = bytes(20000)
        Path(self.qui("rotto.mov")).write_bytes(rotto)
        self.flat("dispari.tif", 33, 21, (9, 9, 9))
        vuota = self.qui("vuota")
        os.mkdir(vuota)
        for uscita, messaggio, argomenti, come in (
                (FALLITO, "apt install ffmpeg", "in.mov o.mov", {"ambiente": {"PATH": vuota}}),
                (FALLITO, "moov atom not found", "mozzo.mov o.mov",  # as some who start programs leave them
                 {"preexec_fn": lambda: (os.close(0), signal.signal(signal.SIGCHLD, signal.SIG_IGN))}),
                (FALLITO, "cannot decode 'corto.mov' at frame", "corto.mov o.mov", {}),
                (FALLITO, "cannot decode 'rotto.mov' at frame", "rotto.mov o.mov", {}),
                (FALLITO, "33x21 .*--codec", "dispari.tif o.mp4 --frames 1-2 --rate 24", {}),
                (FALLITO, "cannot write 'o.mov': .*(File too large|No space)", "in.mov o.mov",
                 {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (300000, 300000))}),
                (USO, "did you mean 'prores'", "in.mov o.mov --codec prors", {}),
                (USO, "goes from 0 to 51, the lower the better, not '999'", "in.mov o.mp4 --quality 999", {}),
                (USO, "must end in .exr.* or as a movie in .mov", "in.mov o.avi", {}),
                (USO, "takes no samples 'rgb24'", "in.mov o.mov --codec libx264:rgb24", {}),
                (USO, "--rate is for a sequence", "in.mov o.mov --rate 25", {}),
                (USO, "--codec and --quality are for a movie", "in.mov o#.png --codec prores", {}),
                (FALLITO, "is what is read", "in.mov in.mov --overwrite", {})):
            with self.subTest(argomenti):
                self.rifiuta(uscita, messaggio, "sviluppa " + argomenti, note="(?:[^\n]*note:[^\n]*\n)*", **come)
                self.nessuno_resta()

    def test_a_closed_folder_is_told_before_the_first_frame(self):
        os.chmod(self.cartella, 0o755)
        os.mkdir(self.qui("chiusa"), 0o555)
        shutil.copy(PROVINO, self.qui("provino"))
        shutil.copytree(BUNDLE, self.qui("VarnoColor.ofx.bundle"))
        r = subprocess.run(shlex.split("./provino sviluppa s.exr chiusa/o.mov --frames 1-2"), cwd=self.cartella,
                           check=False, capture_output=True, text=True,
                           preexec_fn=lambda: os.geteuid() or os.setuid(65534))  # the superuser writes anywhere
        self.assertEqual(r.stderr, "provino: cannot write 'chiusa/o.mov': Permission denied\n")

    def test_programs_that_ended_leave_no_descriptor(self):
        os.mkdir(self.qui("bin"))
        for nome in ("ffmpeg", "ffprobe"):
            Path(self.qui("bin/" + nome)).write_text('#!/bin/sh\nls -l /proc/$PPID/fd > "%s"\nexec %s "$@"\n' % (
                self.qui("aperti"), shutil.which(nome)))
            os.chmod(self.qui("bin/" + nome), 0o755)
        self.clip("in.mkv", "-c:v ffv1")
        self.fai("confronta in.mkv in.mkv", ambiente={"PATH": self.qui("bin") + ":" + os.environ["PATH"]})
        # Seen from the last one: its own messages, those of the other that is read, and a pipe from each.
        aperti = Path(self.qui("aperti")).read_text()
        self.assertEqual((aperti.count("memfd:"), aperti.count("pipe:") - 2), (2, 2), aperti)

    def test_a_killed_program_takes_the_others_with_it(self):
        # So long that it ends before it is killed on no machine.
        self.ffmpeg("-stream_loop 500 -i %s -c copy in.mkv" % os.path.join(self.comune, "uno.mkv"))
        for chi, segno in (("noautorotate", signal.SIGKILL), ("thread_queue_size", signal.SIGKILL),
                           ("", signal.SIGINT), ("", signal.SIGTERM), ("", signal.SIGKILL)):
            with self.subTest(chi=chi, segno=segno):
                # A parent in the background ignores SIGINT; a run that went on would be in the next one's way.
                p = subprocess.Popen([PROVINO, "sviluppa", "in.mkv", "o.mov", "--overwrite", "--plugin", BUNDLE],
                                     cwd=self.cartella, stderr=subprocess.PIPE, text=True,
                                     preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
                figli = []
                while p.poll() is None and not (figli and self.nomi(".provino")):
                    figli = [n for n, da, _, comando in processi() if da == p.pid and re.search(chi, comando)]
                os.kill(figli[0] if chi else p.pid, segno)
                detto = p.communicate()[1]
                self.nessuno_resta()
                if chi:
                    self.assertEqual(p.returncode, FALLITO)
                    self.assertRegex(detto, r"signal 9")
                resti = self.nomi(".provino")
                self.assertEqual(len(resti), 1 if segno == signal.SIGKILL and not chi else 0)
                for f in resti:
                    os.remove(self.qui(f))
                self.assertFalse(os.path.exists(self.qui("o.mov")))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + sys.argv[3:])
