"""Threads: the same bytes, limits that hold, calls from many threads."""
import os
import signal
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
import threadpoolctl
from support import random_picture

import koimproc as ko
from koimproc import native

A = random_picture((200, 300), np.uint16, 12)
F = ko.Frame(A, 12)
MOSAIC = ko.Frame(A, 12, "RGGB")

CALLS = {
    "median": lambda **n: ko.median(F, 3, **n),
    "median of five channels": lambda **n: ko.median(random_picture((40, 50, 5)), **n),
    "sobel": lambda **n: ko.sobel(F, **n),
    "demosaic": lambda **n: np.asarray(ko.demosaic(MOSAIC, **n)),
    "develop": lambda **n: np.asarray(ko.develop(MOSAIC, **n)),
    "resize": lambda **n: ko.resize(F, (333, 199), **n),
    "resize to a half": lambda **n: ko.resize(F, (100, 150), **n),
    "equalize_hist": lambda **n: ko.equalize_hist(F, **n),
    "match_histograms": lambda **n: ko.match_histograms(F, F, **n),
    "rescale_intensity": lambda **n: ko.rescale_intensity(F, **n),
    "white_balance": lambda **n: ko.white_balance(F, 2, **n),
    "flat_field": lambda **n: ko.flat_field(MOSAIC, A, A // 2, **n),
    "average": lambda **n: ko.average([F, F, F], **n),
    "threshold": lambda **n: ko.threshold(F, 99, mask=A > 3, **n),
    "minmax": lambda **n: ko.minmax(F, **n),
    "pack": lambda **n: ko.pack(F, "Mono12p", **n),
    "unpack": lambda **n: ko.unpack(ko.pack(F, "Mono12p"), "Mono12p", A.shape, **n),
}


@pytest.mark.parametrize("name", CALLS)
def test_results_do_not_depend_on_threads(name):
    expected = CALLS[name]()
    for number in (1, 2, 7):
        assert np.array_equal(CALLS[name](threads=number), expected)
        with ko.threads(number):
            assert np.array_equal(CALLS[name](), expected)


def test_contexts_nest_and_end():
    before = native.get_num_threads(), native.CallThreads.current()
    with ko.threads(3) as context:
        assert (native.get_num_threads(), native.CallThreads.current()) == (3, 3)
        with ko.threads(2), context:
            assert native.get_num_threads() == 3
        with pytest.raises(KeyError):
            with ko.threads(5):
                raise KeyError
        assert (native.get_num_threads(), native.CallThreads.current()) == (3, 3)
    assert (native.get_num_threads(), native.CallThreads.current()) == before


def test_several_threads_are_in_the_same_context():
    context, together, before = ko.threads(3), threading.Barrier(4, timeout=60), native.get_num_threads()

    def work(_):
        outside = native.get_num_threads()
        with context:
            together.wait()
            inside = native.get_num_threads()
            together.wait()
        return inside, native.get_num_threads() == outside

    with ThreadPoolExecutor(4) as pool:
        assert list(pool.map(work, range(4))) == [(3, True)] * 4
    assert native.get_num_threads() == before


def test_a_failing_call_gives_its_threads_back():
    before = native.get_num_threads()
    with pytest.raises(ko.ArgumentError):
        ko.median(A, -1, threads=5)
    assert native.get_num_threads() == before


def test_a_limit_holds_for_its_thread_alone():
    with ko.threads(5), ThreadPoolExecutor(1) as pool:
        assert pool.submit(native.get_num_threads).result() != 5 or os.cpu_count() == 5


def test_threadpoolctl_sees_and_limits_the_threads():
    pools = [pool for pool in threadpoolctl.threadpool_info() if pool["user_api"] == "openmp"]
    assert pools
    with threadpoolctl.threadpool_limits(1, "openmp"):
        assert native.get_num_threads() == 1


def test_the_environment_limits_the_threads():
    code = "from koimproc import native; print(native.get_num_threads())"
    done = subprocess.run([sys.executable, "-c", code], env={**os.environ, "OMP_NUM_THREADS": "3"}, check=True,
                          capture_output=True, text=True)
    assert done.stdout.strip() == "3"


def test_calls_on_the_same_and_on_other_frames_at_once():
    frames = [F, F, ko.Frame(A[::-1], 12), ko.Frame(random_picture(A.shape, np.uint16, 12, 5), 12)] * 4
    expected = [np.asarray(ko.median(f, 2)) for f in frames]
    with ThreadPoolExecutor(4) as pool:
        for found, wanted in zip(pool.map(lambda f: np.asarray(ko.median(f, 2)), frames), expected):
            assert np.array_equal(found, wanted)
        for found in pool.map(lambda f: ko.moments(f), [F] * 16):
            assert found == ko.moments(F)


@pytest.fixture
def ctrl_c():
    """Has Ctrl-C raise KeyboardInterrupt. Shells have programs in the background ignore it."""
    outer = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, outer)


@pytest.mark.usefixtures("ctrl_c")
def test_ctrl_c_waits_for_the_call_that_runs():
    a = random_picture((1500, 1500))
    expected = ko.median(a, 20)
    out = np.zeros_like(a)
    unfinished = []

    def interrupt():
        unfinished.append(not np.array_equal(out, expected))
        os.kill(os.getpid(), signal.SIGINT)

    # The signal may come between two calls, when the result has been cleared or is whole.
    for _ in range(5):
        unfinished.clear()
        threading.Timer(0.02, interrupt).start()
        with pytest.raises(KeyboardInterrupt):
            while True:
                out[...] = 0
                ko.median(a, 20, out=out, threads=1)
        if out.any() and unfinished == [True]:
            break
    assert unfinished == [True] and np.array_equal(out, expected)
    assert np.array_equal(ko.median(a, 20), expected), "and the next call works"


@pytest.mark.parametrize("call", [
    lambda a, out: ko.clip_to_depth(a, out=out, threads=0),
    lambda a, out: ko.threshold_to_zero(a, 1, out=out, threads=0),
    lambda a, out: ko.apply_mask(a, a[..., 0], out=out, threads=0),
    lambda a, out: ko.equalize_hist(a, a[..., 0] + 1, out=out, threads=0),
    lambda a, out: ko.match_histograms(a, a, out=out, threads=0),
    lambda a, out: ko.pad(a, 0, "constant", out=out, threads=0),
])
def test_no_threads_at_all_are_refused_before_anything_is_written(call):
    a = random_picture((5, 6, 4), np.uint8) // 2
    out = np.full_like(a, 201)
    with pytest.raises(ko.ArgumentError, match="threads"):
        call(a, out)
    assert (out == 201).all()
