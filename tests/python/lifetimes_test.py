"""koimproc.native: references, threads, processes and pipes. KO_NIGHTLY=1 makes ten times as many calls."""
import gc
import multiprocessing
import os
import subprocess
import sys
import threading
import time
import weakref

import numpy as np
import pytest

from koimproc import native as ko

CALLS = 10**6 if os.environ.get("KO_NIGHTLY") else 10**5
LARGE = np.random.default_rng(5).integers(0, 4096, (1500, 1500), np.uint16)


def gradient(array):
    out = np.zeros(array.shape, np.int32)
    assert ko.Sobel(ko.SxImageBuf(array), ko.SxImageBuf(out)) == ko.ResultOk
    return out


class TestReferences:
    def resident(self):
        with open("/proc/self/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGESIZE")

    @pytest.mark.skipif(not os.path.exists("/proc/self/statm"), reason="memory is read from /proc")
    def test_are_steady_over_many_calls(self):
        array, mask = np.ones((4, 4), np.uint8), np.ones((4, 4), np.uint8)
        hist = ko.CxImageHistogram(1, 256)
        params = ko.SxSnakeParams()
        sparse = ko.CxImageHistogramSparse2D(1, 256)
        none = None

        def calls():
            image = ko.SxImageBuf(array)
            ko.Histogram(image, (0, 0, 4, 4), hist)
            ko.Histogram(image, (0, 0), [(1, 1)], hist)
            ko.MinMax(image)
            ko.MeanMasked(image, ko.SxImageBuf(mask))
            ko.ThresholdGT(image, [1], [1], False)
            ko.Histogram2D(image, image, sparse)
            ko.Stretch(image, image, 0)
            ko.AverageImage([image], image)
            with ko.DemosaicCentredAllocBuffer(4) as buffer:
                ko.DemosaicMalvar(image, image, buffer)
            try:
                ko.And(image, none, "x")
            except TypeError:
                pass
            made = ko.SxImageBuf()
            ko.EllipseMaskMono(made, 3, 2, 0.0, 0, 1)
            return made.array

        watched = [array, mask, hist, params, sparse, hist.bins, ko.ResultOk, ko.ResultBadArg1, type(hist)]
        for _ in range(1000):
            calls()
        gc.collect()
        counts, before = [sys.getrefcount(each) for each in watched], self.resident()
        for _ in range(CALLS // 12):
            calls()
        gc.collect()
        assert [sys.getrefcount(each) for each in watched] == counts
        assert self.resident() - before < 4 << 20

    def test_keep_the_array_of_an_image(self):
        array = np.zeros((8, 8), np.uint8)
        gone = weakref.ref(array)
        image = ko.SxImageBuf(array)
        view = image.array
        del array
        assert gone() is not None
        del image
        assert gone() is not None
        del view
        assert gone() is None

    def test_keep_the_counters_of_a_histogram(self):
        dense = ko.CxImageHistogram2D(1, 8)
        matrix = dense[0]
        del dense
        matrix[3, 3] = 1
        assert matrix.sum() == 1

    def test_of_a_contour_and_its_failures(self):
        """Objects that are made for the result of a failure belong to nobody else."""
        rc, points = ko.SnakeImage(ko.SxImageBuf(), ko.SxSnakeParams(), [(1, 1)])
        assert rc == ko.ResultBadArg1 and points.shape == (0, 2) and sys.getrefcount(points) == 2


class TestThreads:
    def test_run_while_an_operation_does(self):
        """Where the operation held the GIL, the ticks would wait for its end."""
        out = np.zeros_like(LARGE)
        image, target = ko.SxImageBuf(LARGE, bits=12), ko.SxImageBuf(out, bits=12)
        ticks, running = 0, threading.Event()

        def work():
            ko.set_num_threads(1)  # of this thread: with many it would be over too soon
            running.set()
            for _ in range(3):
                ko.Median(image, target, 20, None)
            running.clear()

        thread = threading.Thread(target=work)
        thread.start()
        running.wait()
        while running.is_set():
            time.sleep(0.001)
            ticks += 1
        thread.join()
        assert ticks > 20

    def test_count_for_the_calling_thread(self):
        before = ko.get_num_threads()
        try:
            ko.set_num_threads(3)
            assert ko.get_num_threads() == 3
        finally:
            ko.set_num_threads(before)

    def test_are_allowed_by_call_threads(self):
        assert ko.CallThreads.current() == 1
        with ko.CallThreads(4):
            with ko.CallThreads(2):
                assert ko.CallThreads.current() == 2
            assert ko.CallThreads.current() == 4
        assert ko.CallThreads.current() == 1

    def test_a_permission_that_was_never_left_may_end_on_another_thread(self):
        permission = ko.CallThreads(5)
        thread = threading.Thread(target=permission.__enter__)
        thread.start()
        thread.join()
        with ko.CallThreads(3):
            del permission, thread
            gc.collect()
            assert ko.CallThreads.current() == 3

    def test_leave_call_threads_where_they_entered(self):
        permission, errors = ko.CallThreads(2), []
        with permission:
            with pytest.raises(RuntimeError):
                permission.__enter__()

            def leave():
                try:
                    permission.__exit__(None, None, None)
                except RuntimeError as error:
                    errors.append(error)

            thread = threading.Thread(target=leave)
            thread.start()
            thread.join()
        assert len(errors) == 1

    def test_do_not_share_a_work_buffer(self):
        out = np.zeros_like(LARGE)
        image, target = ko.SxImageBuf(LARGE, bits=12), ko.SxImageBuf(out, bits=12)
        # Where the buffer is closed before the call has begun, or after it, there is nothing to see.
        for _ in range(50):
            _, buffer = ko.MedianAllocBuffer(image, 30)
            statuses, refused = [], 0
            thread = threading.Thread(target=lambda: statuses.append(ko.Median(image, target, 30, buffer)))
            thread.start()
            while thread.is_alive():
                try:
                    buffer.close()
                    break
                except RuntimeError:
                    refused += 1
                    time.sleep(0.001)
            thread.join()
            if refused > 0:
                break
        assert refused > 0 and statuses == [ko.ResultOk]

    def test_see_freed_images_live_on_in_their_calls(self):
        for _ in range(20):
            image = ko.SxImageBuf()
            info = ko.SxImageInfo(1024, 1024, 1, ko.UInt16, 12)
            assert ko.AllocBuffer(info, image, True) == ko.ResultOk
            thread = threading.Thread(target=lambda: ko.MinMax(image))
            thread.start()
            ko.FreeBuffer(image)
            thread.join()


def gradient_sum(array):
    return int(gradient(array).sum())


class TestProcesses:
    def run(self, method):
        threads = ko.get_num_threads()
        ko.set_num_threads(max(2, threads))  # a team in this process
        try:
            expected = gradient_sum(LARGE)
            with multiprocessing.get_context(method).Pool(2) as pool:
                assert pool.map_async(gradient_sum, [LARGE] * 4).get(timeout=120) == [expected] * 4
            assert gradient_sum(LARGE) == expected
        finally:
            ko.set_num_threads(threads)

    def test_that_are_forked_compute(self):
        self.run("fork")

    def test_that_are_spawned_compute(self):
        self.run("spawn")

    def test_that_are_forked_leave_pipes_alone(self):
        sink = ko.CxFrameSink(print)
        child = os.fork()
        if child == 0:
            status = 1
            try:
                sink.name()
            except RuntimeError:
                del sink
                status = 0
            os._exit(status)
        assert os.waitpid(child, 0)[1] == 0
        assert sink.name()

    def test_that_are_forked_end_like_others(self):
        program = """
from koimproc import native as ko
import os, sys
sink = ko.CxFrameSink(print)
child = os.fork()
if child == 0:
    sys.exit(0)
sys.exit(os.waitpid(child, 0)[1])
"""
        ended = subprocess.run([sys.executable, "-c", program], check=True, timeout=60, stderr=subprocess.PIPE)
        assert ended.stderr == b""

    def test_that_end_with_a_started_pipe_do_end(self):
        program = """
from koimproc import native as ko
import numpy as np, time
source, sink = ko.CxFrameSource(), ko.CxFrameSink(lambda frame: time.sleep(0.05))
source.addSuccessor(sink)
ko.StartPipe(source)
for _ in range(5):
    source.push(ko.SxImageBuf(np.zeros((4, 4), np.uint8)))
"""
        subprocess.run([sys.executable, "-c", program], check=True, timeout=60)

    def test_that_end_while_threads_compute_do_end(self):
        program = """
from koimproc import native as ko
import numpy as np, threading, time
image = ko.SxImageBuf(np.zeros((2000, 2000), np.uint8))

def compute():
    target = ko.SxImageBuf(np.zeros((2000, 2000), np.uint8))
    while True:
        ko.Median(image, target, 5, None)

for _ in range(3):
    threading.Thread(target=compute, daemon=True).start()
time.sleep(0.2)
"""
        for _ in range(3):
            subprocess.run([sys.executable, "-c", program], check=True, timeout=60)

    @pytest.mark.parametrize("before", ["", "import koimproc"])
    @pytest.mark.parametrize("name", ["koimproc", "koimproc.native", "koimproc.series"])
    def test_that_have_subinterpreters_are_told(self, name, before):
        pytest.importorskip("_xxsubinterpreters")
        code = f"""{before}
import _xxsubinterpreters as interpreters
try:
    interpreters.run_string(interpreters.create(), "import {name}")
except interpreters.RunFailedError as error:
    print(error)
"""
        done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60)
        assert "ImportError" in done.stdout and "use threads or processes" in done.stdout, done.stdout + done.stderr

    def test_that_import_the_package_need_no_more_than_numpy(self):
        program = "import sys, koimproc.native; print([m for m in ('scipy', 'matplotlib', 'skimage') if m in sys.modules])"
        assert subprocess.check_output([sys.executable, "-c", program], timeout=60) == b"[]\n"


def unraisable_reports(monkeypatch):
    """To be called by the test itself: pytest has a hook of its own around it."""
    reports = []
    monkeypatch.setattr(sys, "unraisablehook", lambda report: reports.append(report.exc_type))
    return reports


def run(source, images):
    assert ko.StartPipe(source)
    sent = [source.push(image) for image in images]
    assert ko.DrainPipe(source) and ko.StopPipe(source)
    return sent


class TestPipes:
    def test_hand_frames_on_in_order(self):
        frames = []
        source, convertor, sink = ko.CxFrameSource(), ko.CxDemosaicConvertor(), ko.CxFrameSink(frames.append)
        assert source.addSuccessor(convertor) and sink.addPrecedessor(convertor)
        mosaic = np.full((6, 8), 30, np.uint16)
        images = [ko.SxImageBuf(mosaic, bits=12, bayerGrid=ko.BayerRGGB)] * 5
        assert run(source, images) == [True] * 5
        assert [frame.frameNo for frame in frames] == list(range(5))
        assert all((frame.image.array == 30).all() and frame.image.array.shape == (3, 4, 3) for frame in frames)
        assert all(frame.dateTime is not None for frame in frames)
        assert sink.statistics().processed == 5 and not sink.isStarted()
        assert convertor.currentOutputDataInfo().channels == 3
        assert convertor.queryOutputDataInfo(ko.SxImageInfo()) is None

    def test_do_not_copy(self):
        frames = []
        source, sink = ko.CxFrameSource(), ko.CxFrameSink(frames.append)
        source.addSuccessor(sink)
        whole = np.zeros((6, 8), np.uint8)
        run(source, [ko.SxImageBuf(whole[1:4, 2:5])])
        frames[0].image.array[:] = 1
        assert whole.sum() == 9
        gone = weakref.ref(whole)
        del whole
        frames.clear()
        assert gone() is None

    def test_carry_numbers_and_metadata(self):
        frames = []
        source, sink = ko.CxFrameSource(), ko.CxFrameSink(frames.append)
        source.addSuccessor(sink)
        values = {"exposure": 0.5, "gain": 3, "name": "left", "on": True, "raw": b"\x00\x01", "none": None, "big": 2**63}
        image = ko.SxImageBuf(np.zeros((2, 2), np.uint8))
        frame = ko.CxImageData(image, frameNo=41, timestamp=2**40, metadata=values)
        run(source, [frame])
        assert (frames[0].frameNo, frames[0].timestamp, frames[0].metadata) == (41, 2**40, values)
        assert frames[0].image and not frame.image and image
        with pytest.raises(TypeError):
            source.push(ko.CxImageData(image, metadata={"a": object()}))

    def test_process_in_python(self):
        frames = []

        def brighten(frame):
            if frame.frameNo == 1:
                return None
            frame.image.array[:] += 1
            return frame

        source, middle, sink = ko.CxFrameSource(), ko.IxDataProcessor(brighten), ko.CxFrameSink(frames.append)
        source.addSuccessor(middle)
        middle.addSuccessor(sink)
        run(source, [ko.SxImageBuf(np.zeros((2, 2), np.uint8)) for _ in range(3)])
        assert [frame.frameNo for frame in frames] == [0, 2] and frames[0].image.array.max() == 1

    def test_copy_for_a_second_successor(self):
        left, right = [], []
        source, sinks = ko.CxFrameSource(), [ko.CxFrameSink(left.append), ko.CxFrameSink(right.append)]
        for sink in sinks:
            source.addSuccessor(sink)
        run(source, [ko.SxImageBuf(np.full((3, 3), 4, np.uint8))])
        assert not np.shares_memory(left[0].image.array, right[0].image.array)
        np.testing.assert_array_equal(left[0].image.array, right[0].image.array)

    @pytest.mark.parametrize("make", [
        lambda function: (ko.CxFrameSink(function),),
        lambda function: (ko.IxDataProcessor(function), ko.CxFrameSink(lambda frame: None)),
    ])
    def test_count_exceptions_as_failures(self, make, monkeypatch):
        unraisable = unraisable_reports(monkeypatch)

        def fail(frame):
            raise KeyError(frame.frameNo)

        source, items = ko.CxFrameSource(), make(fail)
        for before, after in zip((source,) + items, items):
            before.addSuccessor(after)
        run(source, [ko.SxImageBuf(np.zeros((2, 2), np.uint8))] * 3)
        assert items[0].statistics().failed == 3 and unraisable == [KeyError] * 3

    def test_refuse_other_results(self, monkeypatch):
        unraisable = unraisable_reports(monkeypatch)
        source, middle = ko.CxFrameSource(), ko.IxDataProcessor(lambda frame: 7)
        source.addSuccessor(middle)
        run(source, [ko.SxImageBuf(np.zeros((2, 2), np.uint8))])
        assert unraisable == [TypeError] and middle.statistics().failed == 1

    def test_may_be_connected_and_parted_on_several_threads(self):
        program = """
from koimproc import native as ko
import sys, threading
sys.setswitchinterval(1e-6)
before, behind = ko.IxDataProcessor(), ko.IxDataProcessor()

def repeat(change):
    for _ in range(20000):
        change(behind)

threads = [threading.Thread(target=repeat, args=(change,)) for change in (before.addSuccessor, before.removeSuccessor)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
"""
        ended = subprocess.run([sys.executable, "-c", program], check=True, timeout=60, stderr=subprocess.PIPE)
        assert ended.stderr == b""

    def test_keep_the_items_behind(self):
        frames = []
        source = ko.CxFrameSource()
        source.addSuccessor(ko.CxFrameSink(frames.append))
        gc.collect()
        run(source, [ko.SxImageBuf(np.zeros((2, 2), np.uint8))])
        assert len(frames) == 1

    def test_may_lose_their_last_reference_on_a_worker(self):
        source, held = ko.CxFrameSource(), []
        other = ko.CxFrameSink(print)
        held.append(other)
        del other
        sink = ko.CxFrameSink(lambda frame: held.clear())
        source.addSuccessor(sink)
        run(source, [ko.SxImageBuf(np.zeros((2, 2), np.uint8))])
        assert held == []
        ko.CxFrameSource()  # ends the item that the worker dropped

    def test_end_while_frames_wait(self):
        source = ko.CxFrameSource()
        source.addSuccessor(ko.CxFrameSink(lambda frame: time.sleep(0.02)))
        ko.StartPipe(source)
        for _ in range(4):
            source.push(ko.SxImageBuf(np.zeros((2, 2), np.uint8)))
        del source

    def test_take_settings(self):
        item = ko.IxDataProcessor()
        assert item.setName("resize") and item.name() == item.title() == "resize"
        assert item.setQueue(3, ko.QueueDropsOldest) and item.queuePolicy() is ko.QueueDropsOldest
        settings = item.saveSettings()
        other = ko.IxDataProcessor()
        assert other.loadSettings(settings) and other.queueCapacity() == 3
        assert not item.addSuccessor(None) and not item.removePrecedessor(None)
        convertor = ko.CxDemosaicConvertor()
        assert convertor.setBayerGrid(ko.BayerGRBG) and convertor.bayerGrid() is ko.BayerGRBG
