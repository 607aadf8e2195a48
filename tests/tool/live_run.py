"""What the tests of live cameras share: a network of their own, a running ko live, the fake camera, requests."""

import ctypes
import fcntl
import http.client
import json
import os
import shutil
import signal
import socket
import struct
import subprocess
import time
from urllib.parse import urlsplit

import ko_files
from ko_files import ToolTest

BALL = "videotestsrc is-live=true pattern=ball ! video/x-bayer,format=rggb,width=320,height=240,framerate=30/1"
FAKE_CAMERA = shutil.which("arv-fake-gv-camera-0.8")


def leave_network():
    """Puts this process into a network that no other one sees, where the system allows it: the port of the cameras'
    protocol is there once. False where it does not."""
    libc = ctypes.CDLL(None)
    new_user, new_network = 0x10000000, 0x40000000
    if libc.unshare(new_network) != 0 and libc.unshare(new_user | new_network) != 0:
        return False
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        up, loopback, running, set_flags = 0x1, 0x8, 0x40, 0x8914
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", b"lo", up | loopback | running))
    return True


def wait_for(condition, seconds=60):
    """The first result of the condition that is true."""
    end = time.monotonic() + seconds
    while not (result := condition()):
        assert time.monotonic() < end, "waited for too long"
        time.sleep(0.05)
    return result


class LiveTest(ToolTest):
    def start(self, *arguments, **options):
        """ko live, which is ended with the test at the latest."""
        run = subprocess.Popen([ko_files.TOOL, "live", *arguments], cwd=self.dir, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True, **options)
        self.addCleanup(run.communicate)
        self.addCleanup(run.kill)
        return run

    def serve(self, *arguments):
        """ko live with a page: the run, and the URL that it prints."""
        run = self.start(*arguments, "--http", "0")
        url = run.stdout.readline().strip()
        self.assertRegex(url, r"^http://127\.0\.0\.1:\d+/", run.poll() is not None and run.stderr.read())
        return run, url

    def end(self, run, number=signal.SIGINT):
        """Ends a run by a signal: what it printed, and how it ended."""
        run.send_signal(number)
        out, error = run.communicate(timeout=60)
        return out, error, run.returncode

    wait_for = staticmethod(wait_for)

    def plug_in(self):
        """The fake camera, which is pulled with the test at the latest."""
        camera = subprocess.Popen([FAKE_CAMERA, "-i", "127.0.0.1"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(camera.wait)
        self.addCleanup(camera.kill)
        self.wait_for(is_port_taken)
        return camera


def is_port_taken():
    """Whether a program listens at the port of the cameras' protocol."""
    with open("/proc/self/net/udp", encoding="ascii") as table:
        return ":0F74 " in table.read()


def ask(url, path="", method="GET", body=None, headers=None, timeout=60):
    """(status, headers, content) of an answer."""
    parts = urlsplit(url)
    connection = http.client.HTTPConnection(parts.hostname, parts.port, timeout=timeout)
    try:
        connection.request(method, parts.path + path, body, headers or {})
        answer = connection.getresponse()
        return answer.status, answer.headers, answer.read()
    finally:
        connection.close()


def status_of(url):
    return json.loads(ask(url, "status")[2])


def control(url, wish, **headers):
    """(status, text) of the answer to a change that the page asks for."""
    body = wish if isinstance(wish, str) else json.dumps(wish)
    status, _, content = ask(url, "control", "POST", body, headers or {"Origin": "http://" + urlsplit(url).netloc})
    return status, content.decode()


class Pictures:
    """The endless answer with pictures."""

    def __init__(self, url, region=None):
        parts = urlsplit(url)
        self.connection = http.client.HTTPConnection(parts.hostname, parts.port, timeout=60)
        self.connection.request("GET", parts.path + "pictures" + (f"?region={region}" if region else ""))
        self.answer = self.connection.getresponse()
        if self.answer.status != 200:
            self.close()
            raise RuntimeError(f"no pictures: {self.answer.status}")

    def next(self):
        """The bytes of the next JPEG file."""
        length = None
        while (line := self.answer.readline()) != b"\r\n" or length is None:
            assert line, "the pictures have ended"
            if line.lower().startswith(b"content-length:"):
                length = int(line.split(b":")[1])
        return self.answer.read(length)

    def close(self):
        self.answer.close()
        self.connection.close()


def jpeg_size(content):
    """(width, height, channels) of a JPEG file, which must be whole."""
    assert content[:2] == b"\xff\xd8" and content[-2:] == b"\xff\xd9"
    at = 2
    while content[at + 1] != 0xC0:
        at += 2 + struct.unpack_from(">H", content, at + 2)[0]
    height, width, channels = struct.unpack_from(">HHB", content, at + 5)
    return width, height, channels


def files_in(path):
    return sorted(os.listdir(path)) if os.path.isdir(path) else []
