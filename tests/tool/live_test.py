"""ko live writes every frame that it counts, shows them on a page that lets nobody else in, and says what went wrong."""

import os
import pty
import re
import resource
import signal
import socket
import statistics
import subprocess
import time
import unittest
from urllib.parse import urlsplit

import ko_files
import live_run
from ko_files import read_tiff
from live_run import BALL, FAKE_CAMERA, LiveTest, Pictures, ask, control, files_in, jpeg_size, status_of

BAYER = "! video/x-bayer,format=grbg,width=64,height=48"


def few(frames, caps=BAYER, pattern="smpte"):
    return f"videotestsrc num-buffers={frames} pattern={pattern} {caps}"


class Recording(LiveTest):
    def counts(self, summary):
        """(arrived, dropped, written)"""
        return tuple(map(int, re.search(r"^(\d+) frames?, .* (\d+) dropped, (\d+) written, ", summary, re.M).groups()))

    def test_every_frame_is_written_as_demosaic_makes_it_of_the_raw_one(self):
        self.assertEqual(self.counts(self.succeed("live", few(5), "-o", "raw", "--raw")), (5, 0, 5))
        names = [f"{n:06}.tif" for n in range(1, 6)]
        self.assertEqual(files_in(self.path("raw")), names)
        width, height, channels, samples, text = read_tiff(self.read("raw/000003.tif"))
        self.assertEqual((width, height, channels, text), (64, 48, 1, "koimproc bits=8 grid=GRBG"))
        for method in ("malvar", "menon", "linear"):
            self.succeed("live", few(5), "-o", method, "--method", method)
            self.succeed("demosaic", *(f"raw/{name}" for name in names), "-o", "expected/", "--method", method)
            for name in names:
                self.assertEqual(read_tiff(self.read(f"{method}/{name}")), read_tiff(self.read("expected/" + name)), name)

    def test_names_formats_and_numbers_are_those_asked_for(self):
        self.assertEqual(self.counts(self.succeed("live", few(9), "-o", "shots/a-{}.fits", "--frames", "3"))[2], 3)
        self.assertEqual(files_in(self.path("shots")), ["a-000001.fits", "a-000002.fits", "a-000003.fits"])
        self.succeed("live", few(2, "! video/x-raw,format=GRAY16_LE,width=10,height=7"), "-o", "{}.png")
        self.assertIn("10 x 7, 1 channel, UInt16", self.succeed("info", "000002.png"))
        self.assertEqual(self.succeed("live", few(3), "-o", "verbose", "-v").splitlines()[:3],
                         [f"verbose/00000{n}.tif" for n in (1, 2, 3)])
        self.assertEqual(self.succeed("live", few(3), "-o", "quiet", "-q"), "")

    def test_without_output_frames_are_counted(self):
        self.assertRegex(self.succeed("live", few(7)), r"^7 frames, \d+\.\d frames/s, 0 dropped\n$")
        self.assertEqual(os.listdir(self.dir), [])

    def test_a_signal_ends_it_with_every_counted_frame_on_the_disk(self):
        for options, code in (((), 0), (("--frames", "100000"), -signal.SIGINT)):
            output = "out" + str(code)
            run = self.start(BALL, "-o", output, *options)
            self.wait_for(lambda: len(files_in(self.path(output))) > 5)
            out, error, ended = self.end(run)
            self.assertEqual(ended, code)
            self.assertEqual(error.count("\n"), 1, error)
            arrived, _, written = self.counts(out)
            self.assertEqual(arrived, written)
            self.assertEqual(files_in(self.path(output)), [f"{n:06}.tif" for n in range(1, written + 1)])
            for name in files_in(self.path(output)):
                self.assertEqual(read_tiff(self.read(f"{output}/{name}"))[:3], (320, 240, 3))

    def test_a_second_signal_ends_it_at_once_without_half_a_file(self):
        # What waits for the disk takes minutes to pack.
        noise = "videotestsrc pattern=snow ! video/x-bayer,format=rggb,width=1920,height=1080"
        run = self.start(noise, "-o", "out/{}.png", "--queue", "200")
        self.wait_for(lambda: len(files_in(self.path("out"))) > 1)
        time.sleep(1)
        run.send_signal(signal.SIGINT)
        self.assertIn("a second signal ends at once", run.stderr.readline())
        start = time.monotonic()
        self.assertEqual(self.end(run)[1:], ("", -signal.SIGINT))
        self.assertLess(time.monotonic() - start, 20)
        files = files_in(self.path("out"))
        self.assertEqual(files, [f"{n:06}.png" for n in range(1, len(files) + 1)])
        self.assertIn("1920 x 1080", self.succeed("info", "out/" + files[-1]))

    def test_a_slow_disk_loses_frames_only_where_it_is_asked_to_and_counts_them(self):
        # Packing noise as PNG takes many times as long as making it.
        noise = few(60, "! video/x-bayer,format=rggb,width=640,height=480", "snow")
        self.assertEqual(self.counts(self.succeed("live", noise, "-o", "all/{}.png", "--queue", "1")), (60, 0, 60))
        arrived, dropped, written = self.counts(self.succeed("live", noise, "-o", "some/{}.png", "--queue", "1", "--drop"))
        self.assertEqual((arrived + dropped, written), (60, arrived))
        self.assertGreater(dropped, 0)
        self.assertEqual(len(files_in(self.path("some"))), written)

    def test_a_terminal_has_one_line_that_changes(self):
        ours, theirs = pty.openpty()
        run = subprocess.Popen([ko_files.TOOL, "live", BALL, "-o", "out", "--frames", "30"], cwd=self.dir,
                               stdout=subprocess.DEVNULL, stderr=theirs)
        os.close(theirs)
        text = ""
        try:
            while part := os.read(ours, 1 << 16):
                text += part.decode()
        except OSError:
            pass  # so does a terminal end
        os.close(ours)
        self.assertEqual(run.wait(60), 0)
        self.assertNotIn("\n", text)
        self.assertGreater(text.count("\r"), 2)
        self.assertRegex(text, r"\r\d+ frames?, \d+\.\d frames/s, 0 dropped, \d+ written, \d+\.\d MB/s\033\[K")
        self.assertTrue(text.endswith("\r\033[K"))


class Refusals(LiveTest):
    def test_sources_that_do_not_start_are_told_in_one_line(self):
        for source, says in (("nosuchelement ! fakesink", "nosuchelement"), ("videotestsrc ! ! !", "no pipeline"),
                             ("filesrc location=none.mov ! decodebin", "none.mov"),
                             ("audiotestsrc num-buffers=5 ! audioconvert", "")):
            self.refuse("live", source, "-o", "out", "--frames", "1", names="", says=says)

    def test_command_lines_that_make_no_sense(self):
        for arguments, says in ((("--raw",), "--raw needs -o"), (("--address", "127.0.0.1"), "--address needs --http"),
                                (("--exposure", "10"), "are for cameras"), (("--roi", "0,0,8,8"), "are for cameras"),
                                (("-o", "-"), "-o must be a directory"), (("--frames", "0"), ""), (("-o", ""), "--output: is empty"),
                                (("--http", "0", "--address", ""), "--address: is empty"),
                                (("--http", "0", "--address", "example.com"), "no numeric address")):
            self.refuse("live", few(3), *arguments, names="", says=says, code=2)

    def test_a_source_that_ends_too_early_is_a_failure(self):
        run = self.ko("live", few(3), "-o", "out", "--frames", "5")
        self.assertEqual((run.returncode, run.stderr), (1, "ko: the source has ended before 5 frames\n"))
        self.assertEqual(len(files_in(self.path("out"))), 3)
        self.succeed("live", few(5), "-o", "all", "--frames", "5")

    def test_what_was_recorded_before_is_kept(self):
        self.succeed("live", few(2), "-o", "out")
        self.refuse("live", few(2), "-o", "out", names="out/000001.tif: ", says="is there already", code=2)

    def test_a_full_disk_ends_it(self):
        os.mkdir(self.path("out"))
        run = self.ko("live", BALL, "-o", "out", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (9999, 9999)))
        self.assertEqual((run.returncode, run.stderr),
                         (1, "ko: out/000001.tif: cannot be written: File too large\n"))
        self.assertEqual(files_in(self.path("out")), [])
        self.write("file", b"")
        run = self.ko("live", few(5), "-o", "file/out")
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
        self.assertIn("file/out: cannot be made: ", run.stderr)

    def test_a_directory_that_is_removed_ends_it(self):
        run = self.start(BALL, "-o", "out", "--http", "0")
        self.wait_for(lambda: len(files_in(self.path("out"))) > 3)
        os.rename(self.path("out"), self.path("elsewhere"))
        error = run.communicate(timeout=60)[1]
        self.assertEqual((run.returncode, error.count("\n")), (1, 1), error)
        self.assertRegex(error, r"^ko: out: has been removed|^ko: out/\d+\.tif: cannot be written: No such file")
        self.assertEqual(files_in(self.dir), ["elsewhere"])
        for name in files_in(self.path("elsewhere")):
            if name.endswith(".tif"):
                self.assertEqual(read_tiff(self.read("elsewhere/" + name))[:3], (320, 240, 3), name)

    def test_frames_that_cannot_be_demosaiced_end_it(self):
        odd = few(3, "! video/x-bayer,format=grbg,width=64,height=47")
        run = self.ko("live", odd, "-o", "out", "--method", "linear")
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
        self.assertIn("odd size, 64 x 47; another --method takes it", run.stderr)
        self.succeed("live", odd, "-o", "out")

    def test_a_port_that_is_taken(self):
        with socket.create_server(("127.0.0.1", 0)) as other:
            port = other.getsockname()[1]
            self.refuse("live", BALL, "-o", "out", "--http", str(port), names=f"port {port} of 127.0.0.1: ",
                        says="Address already in use")
        run, url = self.serve(BALL)
        self.refuse("live", BALL, "--http", str(urlsplit(url).port), names="port ", says="Address already in use")
        self.refuse("live", BALL, "--http", "0", "--address", "192.0.2.1", names="port 0 of 192.0.2.1: ",
                    says="Cannot assign requested address")


class Page(LiveTest):
    def figures(self, url):
        """The status, as soon as it has figures of a frame."""
        return self.wait_for(lambda: (lambda now: "histogram" in now and now)(status_of(url)))

    def test_the_page_comes_from_memory_and_nothing_else_does(self):
        self.write("secret.txt", b"not for the page")
        run, url = self.serve(BALL)
        for path, kind in (("", "text/html"), ("style.css", "text/css"), ("icon.svg", "image/svg+xml"), ("script.js", "text/javascript")):
            code, headers, content = ask(url, path)
            self.assertEqual((code, headers["Content-Type"].split(";")[0]), (200, kind))
            self.assertIn("default-src 'none'", headers["Content-Security-Policy"])
            self.assertEqual(headers["Cross-Origin-Resource-Policy"], "same-origin")
            self.assertGreater(len(content), 300)
        for path in ("secret.txt", "../secret.txt", "..%2fsecret.txt", "page.html", "/etc/passwd", "status/..", "pictures/x",
                     "../" * 9 + "etc/passwd"):
            self.assertEqual(ask(url, path)[0], 404, path)
        self.assertEqual(ask(url, "status", headers={"Range": "bytes=0-1"})[0], 416)

    def test_pictures_move_and_are_those_of_the_region(self):
        run, url = self.serve(BALL)
        whole, part = Pictures(url), Pictures(url, "100,60,80,40")
        first = whole.next()
        self.assertEqual(jpeg_size(first), (160, 120, 3))
        self.wait_for(lambda: whole.next() != first)
        self.assertEqual(jpeg_size(part.next()), (80, 40, 3))
        outside = Pictures(url, "5000,7000,80,400")
        self.assertEqual(jpeg_size(outside.next()), (80, 240, 3), "moved into the frame, and cut to its height")
        for region in ("1,2,3", "1,2,3,4,", "a,b,c,d", "-1,0,9,9", "0,0,0,9", "0,0,1048576,1048576", ""):
            self.assertEqual(ask(url, f"pictures?region={region}")[0], 400, region)
        for pictures in (whole, part, outside):
            pictures.close()

    def test_pictures_have_the_colours_of_the_sensor(self):
        formats = [f"video/x-bayer,format={grid}" for grid in ("rggb", "bggr", "grbg", "gbrg")]
        formats += [f"video/x-raw,format={name}" for name in ("RGB", "RGBx")]
        for caps in formats:
            source = (f"videotestsrc is-live=true pattern=solid-color foreground-color=0xffc87828 ! {caps},width=64,height=48,"
                      "framerate=30/1")
            run, url = self.serve(source)
            self.assertEqual(control(url, {"linear": False})[0], 200)
            self.figures(url)
            for region in (None, "8,8,32,32"):
                self.write("picture.jpg", Pictures(url, region).next())
                self.succeed("crop", "picture.jpg", "--roi", "4,4,8,8", "-o", "picture.tif")
                samples = read_tiff(self.read("picture.tif"))[3]
                for level, wanted in zip(samples, (0xc8, 0x78, 0x28) * 64):
                    self.assertAlmostEqual(level, wanted, delta=5, msg=(caps, region))
            self.end(run)

    def test_the_focus_is_the_variance_of_the_laplacian(self):
        source = BALL.replace("pattern=ball", "pattern=circular")
        run, url = self.serve(source, "-o", "out", "--raw")
        focus = self.figures(url)["focus"]
        self.wait_for(lambda: files_in(self.path("out")))
        self.end(run)
        width, height, _, samples, _ = read_tiff(self.read("out/000001.tif"))
        bends = [4 * samples[at] - samples[at - 2] - samples[at + 2] - samples[at - 2 * width] - samples[at + 2 * width]
                 for y in range(2, height - 2) for at in range(y * width + 2, y * width + width - 2)]
        self.assertGreater(focus, 0)
        self.assertAlmostEqual(focus / statistics.pvariance(bends), 1, places=9)

    def test_viewers_of_one_picture_get_the_same_bytes(self):
        run, url = self.serve(BALL)
        viewers = [Pictures(url) for _ in range(10)]
        seen = [set() for _ in viewers]

        def all_have_met():
            # One that has come later, or is served later, begins with later pictures.
            for viewer, pictures in zip(viewers, seen):
                pictures.add(viewer.next())
            return all(seen[0] & pictures for pictures in seen)

        self.wait_for(all_have_met)

    def test_too_many_regions_are_refused_until_one_is_left(self):
        run, url = self.serve(BALL)
        regions = [Pictures(url, f"0,0,{8 + 2 * n},8") for n in range(8)]
        self.assertEqual(ask(url, "pictures?region=0,0,50,8")[0], 503)
        again = Pictures(url, "0,0,8,8")
        whole = Pictures(url)
        self.assertEqual(jpeg_size(whole.next()), (160, 120, 3))
        for pictures in (again, *regions):
            pictures.close()
        self.wait_for(lambda: self.is_admitted(url, "0,0,50,8"))

    def is_admitted(self, url, region):
        try:
            Pictures(url, region).close()
        except RuntimeError:
            return False
        return True

    def test_figures_are_counted_from_the_samples_of_the_sensor(self):
        source = BALL.replace("pattern=ball", "pattern=solid-color foreground-color=0xff40ffff")
        run, url = self.serve(source)
        status = self.figures(url)
        self.assertEqual(status["frame"], {"width": 320, "height": 240, "bits": 8, "pattern": "RGGB"})
        counts = [320 * 240 // 4, 320 * 240 // 2, 320 * 240 // 4]
        self.assertEqual([sum(colour) for colour in status["histogram"]], counts)
        red, green, blue = status["histogram"]
        self.assertEqual((green[255], blue[255]), (counts[1], counts[2]))
        self.assertEqual(red[0x40], counts[0])
        self.assertEqual(status["clipped"], [0, 1, 1])
        self.assertEqual(status["focus"], 0)
        self.assertEqual((status["trouble"], status["exposure"], status["gain"]), ("", None, None))
        self.assertNotIn("written", status)
        more = self.wait_for(lambda: (lambda now: now["frames"] > status["frames"] and now)(status_of(url)))
        self.assertGreater(more["rate"], 0)

    def test_controls_act_on_the_picture(self):
        run, url = self.serve(BALL.replace("ball", "smpte"))
        self.figures(url)
        pictures = Pictures(url)
        bright = len(pictures.next())
        self.assertEqual(control(url, {"gains": [0, 0, 0]})[0], 200)
        self.wait_for(lambda: len(pictures.next()) < bright / 2)  # black compresses well
        self.assertEqual(status_of(url)["look"], {"gains": [0, 0, 0], "linear": True})
        code, text = control(url, {"gains": [2, 1, 0.5], "linear": False})
        self.assertEqual((code, status_of(url)["look"]), (200, {"gains": [2, 1, 0.5], "linear": False}))
        self.assertEqual(control(url, {"balance": "gray"})[0], 200)
        self.assertTrue(0.5 < status_of(url)["look"]["gains"][0] < 2 and status_of(url)["look"]["gains"] != [2, 1, 0.5])
        for wish, says in (({"exposure": 100}, "exposure: not known"), ({"gain": 1}, "gain: not known"),
                           ({"gains": [1, 1]}, "gains: "), ({"gains": [1, 1, 17]}, "gains: "),
                           ({"gains": [1, 1, -1]}, "gains: "), ({"linear": 1}, "linear: "), ({"exposure": "x"}, "exposure: no"),
                           ({"format": "/dev/sda"}, "nothing of this name"), ("[]", "no JSON"), ("{", "no JSON")):
            code, text = control(url, wish)
            self.assertEqual((code, text.count("\n")), (400, 1), wish)
            self.assertIn(says, text)

    def test_a_signal_ends_it_while_people_watch(self):
        run, url = self.serve(BALL, "-o", "out")
        viewers = [Pictures(url) for _ in range(3)]
        viewers[0].next()
        self.wait_for(lambda: len(files_in(self.path("out"))) > 2)
        out, error, code = self.end(run, signal.SIGTERM)
        self.assertEqual(code, 0)
        self.assertIn(f" {len(files_in(self.path('out')))} written", out)


class Guard(LiveTest):
    def connect(self, url):
        parts = urlsplit(url)
        connection = socket.create_connection((parts.hostname, parts.port), timeout=60)
        self.addCleanup(connection.close)
        return connection

    def test_names_that_may_mean_other_machines_are_refused(self):
        run, url = self.serve(BALL)
        port = urlsplit(url).port
        for host, code in ((f"127.0.0.1:{port}", 200), (f"localhost:{port}", 200), ("localhost:9999", 200), ("[::1]:80", 200),
                           (f"evil.example:{port}", 403), (f"127.0.0.1.evil.example:{port}", 403), ("", 403),
                           ("localhost.evil.example", 403)):
            self.assertEqual(ask(url, "status", headers={"Host": host})[0], code, host)

    def test_changes_are_taken_from_the_page_alone(self):
        run, url = self.serve(BALL)
        host = urlsplit(url).netloc
        for headers in ({"Origin": "http://evil.example"}, {"Origin": "null"}, {"Origin": "https://" + host}, {"X-None": "1"}):
            self.assertEqual(control(url, {"linear": False}, **headers)[0], 403, headers)
        self.assertTrue(status_of(url)["look"]["linear"])
        self.assertEqual(ask(url, "control")[0], 404, "no change by GET")

    def test_what_is_refused_or_not_understood_hides_no_request(self):
        run, url = self.serve(BALL)
        host = urlsplit(url).netloc
        hidden = self.post(host, "http://" + host, '{"linear":false}')
        for request in (self.post(host, "http://evil.example", hidden), "\x16\x03\x01 hello\r\n\r\n" + hidden,
                        f"GET /none HTTP/1.1\r\nHost: {host}\r\nContent-Length: {len(hidden)}\r\n\r\n" + hidden,
                        self.post(host, "http://evil.example", "").replace("Length: 0", "Length: -1") + hidden):
            answer = self.answer(url, request)
            self.assertRegex(answer, rb"^HTTP/1\.1 4", request)
            self.assertEqual(answer.count(b"HTTP/1.1 "), 1, request)
            self.assertTrue(status_of(url)["look"]["linear"], request)
        self.assertRegex(self.answer(url, hidden), rb"(?s)^HTTP/1\.1 200 .*\r\nConnection: close\r\n")
        self.assertFalse(status_of(url)["look"]["linear"])

    def post(self, host, origin, body):
        return f"POST /control HTTP/1.1\r\nHost: {host}\r\nOrigin: {origin}\r\nContent-Length: {len(body)}\r\n\r\n{body}"

    def test_other_addresses_need_the_secret(self):
        secrets = set()
        for _ in range(2):
            run, url = self.serve(BALL, "--address", "127.0.0.1")
            secret = urlsplit(url).path.strip("/")
            self.assertRegex(secret, r"^[0-9a-f]{32}$")
            secrets.add(secret)
            base = url[:-len(secret) - 1]
            for path in ("", "style.css", "status", "control", "pictures"):
                self.assertEqual(ask(base, path)[0], 404)
                self.assertEqual(ask(base, secret[:-1] + "/" + path)[0], 404)
                self.assertEqual(ask(base, secret[:-1] + ("0" if secret[-1] != "0" else "1") + "/" + path)[0], 404)
            self.assertEqual(control(base, {"linear": False})[0], 404)
            self.assertEqual((ask(url)[0], ask(url, "status")[0]), (200, 200))
            self.assertEqual(control(url, {"linear": False})[0], 200)
            self.assertEqual(jpeg_size(Pictures(url).next()), (160, 120, 3))
        self.assertEqual(len(secrets), 2)

    def test_loopback_is_all_that_is_listened_on(self):
        run, url = self.serve(BALL)
        with open("/proc/self/net/tcp", encoding="ascii") as table:
            listening = [line.split()[1] for line in table if f":{urlsplit(url).port:04X} " in line and " 0A " in line]
        self.assertEqual(listening, [f"0100007F:{urlsplit(url).port:04X}"])

    def test_connections_are_limited_and_come_back(self):
        run, url = self.serve(BALL)
        idle = []

        def is_full():
            # Of those that come at the same time, any one may be turned away; and those before are let go after five
            # seconds.
            idle.extend(self.connect(url) for _ in range(64))
            return ask(url, "status")[0] == 503

        self.wait_for(is_full)
        for connection in idle:
            connection.close()
        self.wait_for(lambda: ask(url, "status")[0] == 200)

    def test_requests_are_limited_in_size(self):
        run, url = self.serve(BALL)
        self.assertEqual(control(url, "x" * 1025)[0], 413)
        self.assertEqual(ask(url, "x" * 9000)[0], 414)
        try:
            self.assertEqual(control(url, "x" * 1_000_000)[0], 413)
        except ConnectionError:
            pass  # it does not wait for the end of what it does not want
        connection = self.connect(url)
        connection.sendall(b"GET / HTTP/1.1\r\n")
        try:
            for _ in range(1000):
                connection.sendall(b"X-Long: " + b"x" * 1000 + b"\r\n")
            self.assertIn(connection.recv(10), (b"", b"HTTP/1.1 4"))
        except ConnectionError:
            pass
        self.assertEqual(ask(url, "status")[0], 200)

    def answer(self, url, request):
        """All that is sent in answer to the bytes of a request, until the end."""
        connection = self.connect(url)
        connection.sendall(request.encode())
        return b"".join(iter(lambda: connection.recv(1 << 16), b""))

    def test_old_and_other_kinds_of_requests(self):
        run, url = self.serve(BALL)
        host = f"Host: {urlsplit(url).netloc}\r\n"
        old = self.answer(url, f"GET /status HTTP/1.0\r\n{host}\r\n")
        self.assertRegex(old, rb"(?s)^HTTP/1\.[01] 200 .*\r\n\r\n\{.*\}$")
        self.assertRegex(self.answer(url, "GET /status HTTP/1.0\r\n\r\n"), rb"^HTTP/1\.[01] 403 ")
        for path in ("/", "/status", "/pictures"):
            answer = self.answer(url, f"HEAD {path} HTTP/1.1\r\n{host}Connection: close\r\n\r\n")
            self.assertRegex(answer, rb"(?s)^HTTP/1\.1 200 .*\r\n\r\n$", path)
        for method in ("PUT", "DELETE", "OPTIONS", "PATCH"):
            self.assertEqual(ask(url, "status", method)[0], 404, method)
        for request in ("\r\n\r\n", "GET\r\n\r\n", "GET /status\r\n\r\n", "NONE /status HTTP/1.1\r\n\r\n", "\0\xff\r\n\r\n"):
            self.assertRegex(self.answer(url, request), rb"^(HTTP/1\.[01] 4\d\d |$)", request)
        self.assertEqual(ask(url, "status")[0], 200)

    def test_requests_are_limited_in_time(self):
        run, url = self.serve(BALL)
        connection = self.connect(url)
        connection.sendall(b"GET /status HTTP/1.1\r\n")
        end = time.monotonic() + 60
        try:
            while time.monotonic() < end:
                connection.sendall(b"X")  # a byte now and then does not prolong it
                connection.settimeout(0.5)
                try:
                    self.assertRegex(connection.recv(100), rb"^(HTTP/1\.1 4|$)")
                    return
                except TimeoutError:
                    continue
        except ConnectionError:
            return
        self.fail("an endless request is served")

    def test_who_takes_no_pictures_holds_up_nobody(self):
        run, url = self.serve(BALL)
        lazy = self.connect(url)
        lazy.sendall(f"GET /pictures HTTP/1.1\r\nHost: {urlsplit(url).netloc}\r\n\r\n".encode())
        eager = Pictures(url)
        before = status_of(url)["frames"]
        pictures = [eager.next() for _ in range(90)]
        self.assertGreater(len(set(pictures)), 30)
        now = status_of(url)
        self.assertGreaterEqual(now["frames"] - before, 60)
        self.assertEqual(now["dropped"], 0)


@unittest.skipUnless(FAKE_CAMERA, "the fake camera comes with aravis-tools")
class Camera(LiveTest):
    def test_cameras_are_listed(self):
        self.assertEqual(self.succeed("cameras"), "no cameras\n")
        self.assertEqual(self.succeed("cameras", "--json"), "[\n]\n")
        self.plug_in()
        head, camera = self.succeed("cameras").splitlines()
        self.assertEqual(head.split(), ["id", "vendor", "model", "serial", "address", "protocol"])
        self.assertEqual(camera.split()[1:], ["Aravis", "Fake", "GV01", "127.0.0.1", "GigEVision"])
        self.assertIn('"serial": "GV01"', self.succeed("cameras", "--json"))

    def test_cameras_that_cannot_be_had(self):
        self.refuse("live", "GV99", "-o", "out", names="", says="GV99")
        self.refuse("live", "-o", "out", names="", says="no camera")
        self.plug_in()
        self.refuse("live", "Aravis-GV01", "-o", "out", "--pixel-format", "BayerXY99", names="", says="BayerXY99")
        run, url = self.serve("Aravis-GV01")
        self.refuse("live", "Aravis-GV01", "-o", "out", names="camera Aravis-Fake-GV01: ", says="another program uses it")

    def test_the_demonstration_ends_with_all_that_it_has_started(self):
        script = os.path.join(os.path.dirname(__file__), "../../tools/demo/live.sh")
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            run = subprocess.Popen([script, ko_files.TOOL], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
            self.addCleanup(run.communicate)
            self.addCleanup(run.kill)
            url = run.stdout.readline().strip()
            self.wait_for(lambda: status_of(url)["frames"] > 3)
            run.send_signal(number)
            self.assertEqual(run.wait(60), 128 + number)
            self.assertFalse(live_run.is_port_taken())
            self.assertRaises(ConnectionError, ask, url)

    def test_frames_of_a_camera_are_recorded(self):
        self.plug_in()
        run = self.ko("live", "GV01", "-o", "raw", "--raw", "--frames", "5", "--pixel-format", "BayerRG8", "--roi",
                      "0,0,128,64", "--rate", "50")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(len(files_in(self.path("raw"))), 5)
        self.assertEqual(read_tiff(self.read("raw/000005.tif"))[:3], (128, 64, 1))
        self.assertEqual(read_tiff(self.read("raw/000005.tif"))[4], "koimproc bits=8 grid=RGGB")

    def test_exposure_and_gain_act_on_the_camera(self):
        self.plug_in()
        run, url = self.serve("Aravis-GV01", "--exposure", "8000", "--gain", "0")

        def mean():
            histogram = status_of(url).get("histogram", [[0]])[0]
            return sum(level * count for level, count in enumerate(histogram)) / max(1, sum(histogram))

        bright = self.wait_for(mean)
        self.assertEqual(status_of(url)["exposure"]["value"], 8000)
        self.assertEqual(control(url, {"exposure": 2000})[0], 200)
        self.assertEqual(status_of(url)["exposure"]["value"], 2000)
        self.wait_for(lambda: mean() < bright / 2)
        self.assertEqual(control(url, {"gain": 6})[0], 200)
        self.assertEqual(status_of(url)["gain"]["value"], 6)
        for wish in ({"exposure": 1e9}, {"gain": -1}, {"exposure": None}):
            self.assertEqual(control(url, wish)[0], 400, wish)

    def test_a_camera_that_vanishes_is_waited_for(self):
        camera = self.plug_in()
        run, url = self.serve("Aravis-GV01")
        self.wait_for(lambda: status_of(url)["frames"] > 5)
        camera.kill()
        camera.wait()
        self.wait_for(lambda: status_of(url)["trouble"])
        frames = status_of(url)["frames"]
        self.plug_in()
        self.wait_for(lambda: status_of(url)["frames"] > frames and not status_of(url)["trouble"])
        self.assertEqual(self.end(run)[2], 0)

    def test_a_camera_that_does_not_answer_holds_up_no_end(self):
        camera = self.plug_in()
        run, url = self.serve("Aravis-GV01")
        self.wait_for(lambda: status_of(url)["frames"] > 5)
        camera.send_signal(signal.SIGSTOP)
        self.wait_for(lambda: status_of(url)["trouble"])
        start = time.monotonic()
        self.assertEqual(self.end(run)[2], 0)
        # Aravis waits ten seconds for such a camera when it is given back.
        self.assertLess(time.monotonic() - start, 6)


if __name__ == "__main__":
    live_run.leave_network()
    ko_files.main()
