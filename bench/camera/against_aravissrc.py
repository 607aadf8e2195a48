#!/usr/bin/env python3
"""Compares kocamera with GStreamer's aravissrc by Aravis' fake camera, which loses 1 packet of 100.

usage: against_aravissrc.py KO_CAMERA_BENCH [FRAMES [ROUNDS]]

Each takes FRAMES (100000) of 64 x 64 pixels at up to 1000 per second, in turns, ROUNDS times (1). Both have 200 buffers
and a queue of 4 frames that drops the oldest; every 100th frame holds the consumer up for 60 ms. The cameras' port has to
be free where this program may not have a network of its own.
"""
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/tool"))
import live_run  # noqa: E402
from live_run import FAKE_CAMERA  # noqa: E402

LOST = 10  # packets of a thousand
ADDRESS = "127.0.0.1"


def main():
    program, *numbers = sys.argv[1:]
    frames, rounds = list(map(int, numbers)) + [100000, 1][len(numbers):]
    live_run.leave_network()
    print("| through | numbered by the camera | delivered | dropped | incomplete or lost | torn | processor, s |")
    print("|---|--:|--:|--:|--:|--:|--:|", flush=True)
    for turn in range(2 * rounds):
        way = ("kocamera", "aravissrc")[(turn + turn // 2) % 2]  # each begins every second round
        camera = subprocess.Popen([FAKE_CAMERA, "-i", ADDRESS, "-r", str(LOST)], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        try:
            live_run.wait_for(live_run.is_port_taken)
            subprocess.run([program, way, ADDRESS, str(frames)], check=True)
        finally:
            camera.kill()
            camera.wait()


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__)
    main()
