"""koimproc.native: every export under its own name, records over arrays, and refusals before the call."""
import ast
import inspect
import mmap
import re
from enum import IntEnum
from pathlib import Path

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from koimproc import native as ko

ROOT = Path(__file__).resolve().parents[2]
EXPORT = re.compile(r"^lib\w+: ko::((?:\w+::)*~?\w+)\(", re.MULTILINE)

# Classes that Python sees as something of its own.
INSTEAD = {"IxData": "CxImageData", "IxDataInfo": "SxImageInfo", "CxImageDataInfo": "SxImageInfo"}
NO_CLASS = {"CxMetadata"}  # a dict
# What C++ programs override or Qt generates, and what has another form in Python.
NO_METHOD = set("""metaObject qt_metacall qt_metacast swap allocate processData configurationWidget hasConfigurationWidget
    myThread state_noLock addFlags retire setupStart setupStop onPipeStarted onPipeStopped acceptAsPrecedessor
    acceptAsSuccessor dataInfo setImageShallow gridToUse isSupportedGrid checkInput outputInfo convert maySet""".split())


def exports():
    return EXPORT.findall((ROOT / "tests/rules/exported_symbols.txt").read_text())


def stub():
    return ast.parse((ROOT / "python/koimproc/native.pyi").read_text()).body


class TestNames:
    def test_have_every_exported_function(self):
        functions = {name for name in exports() if "::" not in name}
        assert len(functions) > 90
        assert sorted(name for name in functions if not hasattr(ko, name)) == []

    def test_have_every_exported_class_and_its_methods(self):
        missing = []
        for name in exports():
            owner, _, method = name.rpartition("::")
            if not owner or "::" in owner or owner in NO_CLASS:
                continue
            python = getattr(ko, INSTEAD.get(owner, owner), None)
            made = owner in INSTEAD or method in (owner, "~" + owner) or method in NO_METHOD
            if python is None or not (made or hasattr(python, method)):
                missing.append(name)
        assert missing == []

    def test_are_those_of_the_stub(self):
        told = {}
        for node in stub():
            if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
                told.setdefault(node.name, []).append(node)
            elif isinstance(node, ast.AnnAssign):
                told[node.target.id] = [node]
        public = {name for name in vars(ko) if not name.startswith("_")}
        assert public == {name for name in told if not name.startswith("_")}
        for name, nodes in told.items():
            if isinstance(nodes[0], ast.FunctionDef):
                assert self.parameters_of_stub(nodes) == self.parameters_of(getattr(ko, name)), name
            elif isinstance(nodes[0], ast.ClassDef) and not name.startswith("_"):
                for member in nodes[0].body:
                    if isinstance(member, ast.FunctionDef):
                        assert hasattr(getattr(ko, name), member.name), (name, member.name)

    @staticmethod
    def parameters_of_stub(nodes):
        return {tuple(argument.arg for argument in node.args.args) for node in nodes}

    @staticmethod
    def parameters_of(function):
        lists = re.findall(rf"^(?:\d+\. )?{function.__name__}\((.*)\) ->", inspect.getdoc(function), re.MULTILINE)
        return {tuple(re.findall(r"(\w+): ", parameters.replace("Optional", ""))) for parameters in lists}

    def test_of_enumerators_are_those_of_the_headers(self):
        headers = "".join(path.read_text() for path in (ROOT / "include/ko").rglob("*.h"))
        for name, python in vars(ko).items():
            if isinstance(python, type) and issubclass(python, IntEnum):
                body = re.search(rf"\benum (?:\[\[\w+\]\] )?{name} : std::u?int32_t\s?\{{(.*?)\}};", headers, re.DOTALL)[1]
                told = {key: int(number, 0) for key, number in re.findall(r"^\s*(\w+) = (\w+),", body, re.MULTILINE)}
                assert told == {member.name: int(member) for member in python}, name
                assert all(getattr(ko, member.name) is member for member in python)


class TestImage:
    def test_shares_the_memory_of_its_array(self):
        array = np.arange(12, dtype=np.uint16).reshape(3, 4)
        image = ko.SxImageBuf(array, bits=12, bayerGrid=ko.BayerRGGB)
        assert (image.width, image.height, image.channels, image.stride) == (4, 3, 1, 8)
        assert (image.dataType, image.packing, image.bitsPerSample) == (ko.UInt16, ko.Interleaved, 12)
        assert image.bayerGrid is ko.BayerRGGB and image.writable and image
        assert np.shares_memory(image.array, array) and np.shares_memory(np.asarray(image), array)
        image.array[1, 1] = 99
        assert array[1, 1] == 99

    def test_describes_planes(self):
        planes = np.zeros((3, 5, 7), np.uint8)
        image = ko.SxImageBuf(planes, packing=ko.Planar)
        assert (image.channels, image.height, image.width, image.stride) == (3, 5, 7, 7)
        assert image.array.strides == planes.strides

    def test_of_read_only_memory_is_no_destination(self):
        source, target = np.ones((4, 4), np.uint8), np.zeros((4, 4), np.uint8)
        target.flags.writeable = False
        image = ko.SxImageBuf(target)
        assert not image.writable and not image.array.flags.writeable
        with pytest.raises(ValueError, match="read-only"):
            ko.And(ko.SxImageBuf(source), image, None)
        assert ko.And(image, ko.SxImageBuf(source), None) == ko.ResultOk

    def test_of_bools_is_a_read_only_mask(self):
        image = ko.SxImageBuf(np.eye(3, dtype=bool))
        assert (image.dataType, image.bitsPerSample, image.writable) == (ko.UInt8, 8, False)

    def test_takes_what_gives_an_array(self):
        assert ko.SxImageBuf(memoryview(np.zeros((2, 3), np.int32))).dataType == ko.Int32
        with mmap.mmap(-1, 12) as memory:
            image = ko.SxImageBuf(np.frombuffer(memory, np.uint8).reshape(3, 4))
            with pytest.raises(BufferError):
                memory.close()
            del image

    @pytest.mark.parametrize("wrong, error", [
        ([[1, 2], [3, 4]], TypeError),
        (7, TypeError),
        ("text", TypeError),
        (np.zeros((2, 2), complex), TypeError),
        (np.zeros((2, 2), np.float16), TypeError),
        (np.zeros((2, 2), object), TypeError),
        (np.zeros((2, 2), ">u2"), TypeError),
        (np.zeros((2, 2), [("r", "u1")]), TypeError),
        (np.zeros(4, np.uint8), ValueError),
        (np.zeros((1, 2, 3, 4), np.uint8), ValueError),
        (np.zeros((4, 4), np.uint8)[::-1], ValueError),
        (np.zeros((4, 4), np.uint8)[:, ::2], ValueError),
        (np.zeros((4, 4), np.uint8).T, ValueError),
        (np.broadcast_to(np.uint8(1), (4, 4)), ValueError),
        (np.zeros((4, 4, 3), np.uint8)[:, :, :2], ValueError),
        (np.zeros((4, 4, 3), np.uint8)[:, :, ::-1], ValueError),
    ])
    def test_refuses_what_it_cannot_share(self, wrong, error):
        with pytest.raises(error):
            ko.SxImageBuf(wrong)

    def test_refuses_planes_that_lie_apart(self):
        with pytest.raises(ValueError):
            ko.SxImageBuf(np.zeros((3, 8, 4), np.uint8)[:, :5], packing=ko.Planar)

    def test_refuses_a_released_buffer(self):
        view = memoryview(np.zeros((2, 2), np.uint8))
        view.release()
        with pytest.raises(ValueError):
            ko.SxImageBuf(view)

    def test_absent_has_no_array(self):
        image = ko.SxImageBuf()
        assert not image and image.array is None
        with pytest.raises(ValueError):
            np.asarray(image)
        assert ko.ClampToColorDepth(image) == ko.ResultBadArg1

    def test_fields_of_the_layout_are_fixed(self):
        image = ko.SxImageBuf(np.zeros((2, 2), np.uint8))
        for name in ("width", "height", "stride", "channels", "dataType", "packing"):
            with pytest.raises(AttributeError):
                setattr(image, name, 1)

    @settings(max_examples=200, deadline=None, derandomize=True, database=None)
    @given(st.data())
    def test_follows_the_strides_of_slices(self, data):
        dtype = data.draw(st.sampled_from(["u1", "i2", "u2", "i4", "f4", "f8", "u8"]))
        channels = data.draw(st.sampled_from([None, 1, 3, 4]))
        height, width = data.draw(st.integers(0, 9)), data.draw(st.integers(0, 9))
        shape = (height, width) if channels is None else (height, width, channels)
        whole = np.arange(np.prod(shape)).astype(dtype).reshape(shape)
        top, left = data.draw(st.integers(0, height)), data.draw(st.integers(0, width))
        part = whole[top::data.draw(st.integers(1, 3)), left:data.draw(st.integers(left, width))]
        image = ko.SxImageBuf(part)
        expected = part[:, :, 0] if channels == 1 else part
        np.testing.assert_array_equal(image.array, expected)
        assert part.size == 0 or np.shares_memory(image.array, whole)
        copy = np.zeros_like(part, order="C")
        rect = (0, 0, part.shape[1], part.shape[0])
        assert ko.CopyBuffer(image, rect, ko.SxImageBuf(copy), (0, 0), False) == ko.ResultOk
        np.testing.assert_array_equal(copy, part)


class TestMemory:
    def test_of_operations_lives_as_long_as_its_arrays(self):
        image = ko.SxImageBuf()
        assert ko.AllocBuffer(image, 5, 4, 3, ko.UInt16, 0, 12, ko.Interleaved, True, ko.CompressionNone) == ko.ResultOk
        array = image.array
        assert array.shape == (4, 5, 3) and array.strides[0] == image.stride and not array.any()
        array[:] = 7
        ko.FreeBuffer(image)
        assert not image and array.sum() == 7 * 60

    def test_is_refused_for_formats_that_cannot_exist(self):
        image = ko.SxImageBuf(np.zeros((2, 2), np.uint8))
        info = ko.SxImageInfo(width=2**31 - 1, height=2**31 - 1, channels=4, dataType=ko.UInt64)
        assert ko.AllocBuffer(info, image, False) == ko.ResultFailed
        assert not image

    def test_stays_where_an_operation_refuses(self):
        array = np.ones((2, 2), np.uint8)
        image = ko.SxImageBuf(array)
        assert ko.EllipseMaskMono(image, 3, 2, 0.0, 0, 1) == ko.ResultBadArg1
        assert np.shares_memory(image.array, array)

    def test_between_rows_is_nobodys_but_the_arrays(self):
        whole = np.full((4, 8), 5, np.uint8)
        part = ko.SxImageBuf(whole[:, 1:5])
        source = ko.SxImageBuf(np.zeros((4, 4)))
        for call in (lambda: ko.ConvertDoubleToU(source, part, ko.NormalizeSeparate, False),
                     lambda: ko.ScaleDoubleFloatToU(source, part, 1.0, 1.0),
                     lambda: ko.BinaryMask(part, ko.SxImageBuf(np.zeros((4, 4), np.uint8)), 1)):
            with pytest.raises(ValueError, match="copy"):
                call()
        assert (whole == 5).all()

    def test_is_copied_within_its_bounds(self):
        target = bytearray(8)
        assert ko.MemCpy(target, b"12345678", 8, 0, 0) == ko.ResultOk and target == b"12345678"
        with pytest.raises(ValueError):
            ko.MemCpy(target, b"1234", 5, 0, 0)
        with pytest.raises(BufferError):
            ko.MemCpy(b"constant", b"12345678", 8, 0, 0)


class TestHistograms:
    def test_count_into_arrays(self):
        array = np.random.default_rng(1).integers(0, 256, (40, 50, 3), np.uint8)
        counts = np.zeros((3, 256), np.uint32)
        assert ko.Histogram(ko.SxImageBuf(array), ko.CxImageHistogram(counts)) == ko.ResultOk
        for channel in range(3):
            np.testing.assert_array_equal(counts[channel], np.bincount(array[:, :, channel].ravel(), minlength=256))

    def test_of_points_and_regions(self):
        array = np.arange(64, dtype=np.uint8).reshape(8, 8)
        image, hist = ko.SxImageBuf(array), ko.CxImageHistogram(1, 256)
        assert ko.Histogram(image, (2, 1, 3, 2), hist) == ko.ResultOk
        assert set(np.flatnonzero(hist.bins[0])) == set(array[1:3, 2:5].ravel())
        hist.clear()
        offsets = np.array([[0, 0], [1, 1], [100, 0]], np.int16)
        rc, count = ko.HistogramMasked(image, ko.SxImageBuf(np.ones((8, 8), np.uint8)), (3, 3), offsets, 0, hist, 0)
        assert (rc, count) == (ko.ResultOk, 2) and set(np.flatnonzero(hist.bins[0])) == {27, 36}

    def test_are_resized_by_the_operation(self):
        hist = ko.CxImageHistogram(1, 16)
        kept = hist.bins
        image = ko.SxImageBuf(np.full((3, 3), 9, np.uint8))
        assert ko.HistogramEx(image, hist) == ko.ResultOk
        assert hist.bins.shape == (1, 256) and hist.bins[0, 9] == 9 and not kept.any()

    def test_in_two_dimensions(self):
        rng = np.random.default_rng(2)
        first, second = (rng.integers(0, 16, (30, 30), np.uint8) for _ in range(2))
        images = [ko.SxImageBuf(array, bits=4) for array in (first, second)]
        expected = np.histogram2d(second.ravel(), first.ravel(), bins=16, range=[[0, 16], [0, 16]])[0]
        dense, sparse = ko.CxImageHistogram2D(1, 16), ko.CxImageHistogramSparse2D(1, 16)
        assert ko.HistogramMasked2D(*images, ko.SxImageBuf(np.ones((30, 30), np.uint8)), dense) == ko.ResultOk
        assert ko.Histogram2D(*images, sparse) == ko.ResultOk
        np.testing.assert_array_equal(dense[0], expected)
        rows, columns, counts = sparse[0].T
        np.testing.assert_array_equal(expected[rows, columns], counts)
        assert counts.sum() == 900

    @pytest.mark.parametrize("wrong, error", [
        (np.zeros((1, 256), np.int64), TypeError),
        ([[0] * 256], TypeError),
        (np.zeros(256, np.uint32), ValueError),
        (np.zeros((2, 512), np.uint32)[:, ::2], ValueError),
        (np.broadcast_to(np.uint32(0), (1, 256)), ValueError),
    ])
    def test_refuse_other_arrays(self, wrong, error):
        with pytest.raises(error):
            ko.CxImageHistogram(wrong)

    def test_have_no_planes_beyond_theirs(self):
        for hist in (ko.CxImageHistogram2D(1, 4), ko.CxImageHistogramSparse2D(1, 4)):
            for plane in (-1, 1):
                with pytest.raises(IndexError):
                    hist[plane]


def image(array, **record):
    return ko.SxImageBuf(array, **record)


RNG = np.random.default_rng(3)
MONO = RNG.integers(0, 4096, (24, 32), np.uint16)


class TestValues:
    def test_of_thresholds_and_logic(self):
        out = np.zeros_like(MONO)
        assert ko.ThresholdBinary(image(MONO), image(out), [2000], [1], [9]) == ko.ResultOk
        np.testing.assert_array_equal(out, np.where(MONO > 2000, 9, 1))
        mask = (MONO > 100).astype(np.uint8)
        other = (MONO < 3000).astype(np.uint8)
        assert ko.And(image(mask), image(other), 255) == ko.ResultOk
        np.testing.assert_array_equal(other, np.where((MONO > 100) & (MONO < 3000), 255, 0))

    def test_of_extremes_and_means(self):
        assert ko.MinMax(image(MONO)) == (ko.ResultOk, [MONO.min()], [MONO.max()])
        assert ko.MinMax(image(MONO, bayerGrid=ko.BayerGBRG))[1] == [
            MONO[y::2, x::2].min() for y in (0, 1) for x in (0, 1)]
        assert ko.Mean(image(MONO), (3, 2, 10, 8)) == (ko.ResultOk, [MONO[2:10, 3:13].mean()])
        rc, low, high, low_at, high_at = ko.MinMaxMosaic(image(MONO), 1, 1)
        assert rc == ko.ResultOk and MONO[tuple(low_at[0][::-1])] == low[0] and MONO[tuple(high_at[0][::-1])] == high[0]
        rc, mean, deviation = ko.MeanStdDevMasked(image(MONO), image(MONO > 1000))
        assert rc == ko.ResultOk
        np.testing.assert_allclose([mean, deviation], [MONO[MONO > 1000].mean(), MONO[MONO > 1000].std()])
        assert ko.MinMax(image(np.full((2, 2), 2**64 - 1, np.uint64)))[1] == [2**64 - 1]

    def test_of_filters(self):
        out = np.zeros(MONO.shape, np.int32)
        assert ko.Sobel(image(MONO), image(out)) == ko.ResultOk
        wide = MONO.astype(np.int64)
        gx = (wide[:-2, 2:] + 2 * wide[1:-1, 2:] + wide[2:, 2:]) - (wide[:-2, :-2] + 2 * wide[1:-1, :-2] + wide[2:, :-2])
        gy = (wide[2:, :-2] + 2 * wide[2:, 1:-1] + wide[2:, 2:]) - (wide[:-2, :-2] + 2 * wide[:-2, 1:-1] + wide[:-2, 2:])
        np.testing.assert_array_equal(out[1:-1, 1:-1], np.sqrt(gx**2 + gy**2).astype(np.int64))
        middle = np.zeros_like(MONO)
        info = image(MONO, bits=12)
        rc, buffer = ko.MedianAllocBuffer(info, 1)
        assert rc == ko.ResultOk
        with buffer:
            assert ko.Median(info, image(middle, bits=12), 1, buffer) == ko.ResultOk
        windows = np.lib.stride_tricks.sliding_window_view(MONO, (3, 3))
        np.testing.assert_array_equal(middle[1:-1, 1:-1], np.median(windows, axis=(2, 3)))
        with pytest.raises(ValueError, match="closed"):
            ko.Median(info, image(middle, bits=12), 1, buffer)

    def test_of_stretch_are_a_success_without_a_name(self):
        out = np.zeros((12, 16), np.uint16)
        rc = ko.Stretch(image(MONO), image(out), ko.InterpolationLinear)
        assert rc == 1 and isinstance(rc, ko.ResultCode) and not ko.isFailure(rc) and out.any()
        with pytest.raises(ValueError, match="type"):
            ko.Stretch(image(MONO), image(np.zeros((12, 16), np.uint8)), ko.InterpolationLinear)

    def test_of_packed_samples(self):
        width, height = 31, 5
        samples = MONO[:height, :width].copy()
        pitch = ko.packedRowBytes(ko.Mono12p, width) + 3
        packed = np.zeros((height, pitch), np.uint8)
        assert ko.PackSamples(image(samples, bits=12), ko.Mono12p, packed, packed.nbytes, pitch) == ko.ResultOk
        bits = ((samples[..., None] >> np.arange(12)) & 1).reshape(height, -1)
        expected = np.packbits(bits.astype(np.uint8), axis=1, bitorder="little")
        np.testing.assert_array_equal(packed[:, :expected.shape[1]], expected)
        again = np.zeros_like(samples)
        assert ko.UnpackSamples(bytes(packed), packed.nbytes, pitch, ko.Mono12p, image(again, bits=12)) == ko.ResultOk
        np.testing.assert_array_equal(again, samples)
        with pytest.raises(ValueError):
            ko.UnpackSamples(b"12", 3, 0, ko.Mono12p, image(again, bits=12))

    def test_of_mosaics(self):
        planes = np.zeros((4, 12, 16), np.uint16)
        raw = image(MONO, bits=12)
        assert ko.ConvertRawToPlanarRaw(raw, (0, 0, 32, 24), ko.BayerRGGB,
                                        image(planes, bits=12, packing=ko.Planar)) == ko.ResultOk
        np.testing.assert_array_equal(planes[0], MONO[::2, ::2])
        np.testing.assert_array_equal(planes[2], MONO[1::2, 1::2])
        flat = np.full((6, 8), 1000, np.uint16)
        for operation in (ko.DemosaicMalvar, ko.DemosaicMenon):
            colour = np.zeros((6, 8, 3), np.uint16)
            assert operation(image(flat, bits=12, bayerGrid=ko.BayerGRBG), image(colour, bits=12), None) == ko.ResultOk
            assert (colour == 1000).all()
        balanced = np.zeros_like(MONO)
        assert ko.WhiteBalance(image(MONO, bits=12, bayerGrid=ko.BayerRGGB), image(balanced, bits=16), [2, 1, 1, 3],
                               None) == ko.ResultOk
        np.testing.assert_array_equal(balanced[1::2, 1::2], 3 * MONO[1::2, 1::2])

    def test_of_tone(self):
        stack = RNG.integers(0, 65536, (3, 10, 12), np.uint16)
        out = np.zeros((10, 12), np.uint16)
        assert ko.AverageImage([image(frame) for frame in stack], image(out)) == ko.ResultOk
        np.testing.assert_array_equal(out, stack.sum(axis=0) // 3)
        flat = np.full((10, 12), 50000, np.uint16)
        gains = np.array([0.5])
        assert ko.CorrectBackground(image(stack[0]), image(flat), image(out), 0.0, 0.0, gains) == ko.ResultOk
        assert gains[0] == 0.5
        np.testing.assert_array_equal(out, (stack[0] / 50000.0 * 1.0 * 0.5).astype(np.uint16))

    def test_of_conversions(self):
        values = RNG.normal(size=(9, 11))
        out = np.zeros((9, 11), np.uint8)
        rc, low, high = ko.ConvertDoubleToU(image(values), image(out), ko.NormalizeSeparate, False)
        assert (rc, low, high) == (ko.ResultOk, [values.min()], [values.max()])
        np.testing.assert_array_equal(out, ((values - low[0]) * (255 / (high[0] - low[0]))).astype(np.uint8))
        assert ko.ConvertI32ToU(image(values), image(out), 0)[0] == ko.ResultBadArg1

    def test_of_borders_and_masks(self):
        dst = ko.SxImageBuf()
        assert ko.AllocAndCreateMirroredBorderImage(image(MONO), dst, 2, 1, 3, 4) == ko.ResultOk
        np.testing.assert_array_equal(dst.array, np.pad(MONO, ((1, 4), (2, 3)), "symmetric"))
        found, disc = ko.GetCircleMaskByte(7)
        assert found and disc.shape == (7, 7) and not disc.flags.writeable and disc[3, 3] == 1
        assert ko.GetCircleMaskByte(99) == (False, None)

    def test_of_contours(self):
        y, x = np.mgrid[:64, :64]
        disc = (255 * ((x - 32) ** 2 + (y - 32) ** 2 < 150)).astype(np.uint8)
        start = [(4, 4), (60, 4), (60, 60), (4, 60)]
        rc, contour = ko.SnakeImage(image(disc), ko.SxSnakeParams(maxIterations=100), start)
        assert rc == ko.ResultOk and contour.dtype == np.int32 and contour.shape[1] == 2
        assert ko.SnakeImage(image(disc), ko.SxSnakeParams(), np.zeros((0, 2), int))[0] == ko.ResultBadArg3

    def test_of_unknown_numbers_are_the_operations_business(self):
        binary, out = np.ones((4, 4), np.uint8), np.zeros((4, 4))
        assert ko.ChamferDistance(image(binary), image(out), 99) == ko.ResultBadArg3


GOOD = image(np.zeros((4, 4), np.uint8))


class TestWrongObjects:
    @pytest.mark.parametrize("call", [
        lambda: ko.Sobel(None, GOOD),
        lambda: ko.Sobel(np.zeros((4, 4), np.uint8), GOOD),
        lambda: ko.Sobel(GOOD),
        lambda: ko.Mean(GOOD, (0, 0, 4)),
        lambda: ko.Mean(GOOD, "0044"),
        lambda: ko.Mean(GOOD, (0.0, 0, 4, 4)),
        lambda: ko.Median(GOOD, GOOD, 1.5, None),
        lambda: ko.Median(GOOD, GOOD, 1, GOOD),
        lambda: ko.Median(GOOD, GOOD, 2**40, None),
        lambda: ko.Histogram(GOOD, (0, 0), [(0.5, 1.0)], ko.CxImageHistogram(1, 256)),
        lambda: ko.Histogram(GOOD, (0, 0), GOOD, ko.CxImageHistogram(1, 256)),
        lambda: ko.ThresholdGT(GOOD, ["a"], [1], False),
        lambda: ko.ThresholdGT(GOOD, 3, [1], False),
        lambda: ko.AverageImage([GOOD, None], GOOD),
        lambda: ko.And(GOOD, GOOD, "1"),
        lambda: ko.Binarize(GOOD, GOOD, 256),
        lambda: ko.CxFrameSink(3),
        lambda: ko.SxImageInfo(width="4"),
    ])
    def test_raise_a_type_error(self, call):
        with pytest.raises(TypeError):
            call()

    @pytest.mark.parametrize("call", [
        lambda: ko.ThresholdGT(GOOD, [], [1], False),
        lambda: ko.ThresholdBinaryGT(GOOD, GOOD, [1], [256], False),
        lambda: ko.And(GOOD, GOOD, 2**64),
        lambda: ko.And(GOOD, GOOD, -(2**63) - 1),
        lambda: ko.Mean(GOOD, (0, 0, 2**31, 4)),
        lambda: ko.Mean(GOOD, (2**31 - 1, 0, 2**31 - 1, 4)),
        lambda: ko.EllipseMaskRgb(ko.SxImageBuf(), 5, 3, 0.0, [0, 0], [1, 1, 1]),
        lambda: ko.SxImageBuf(np.zeros((4, 4), np.uint8), packing=7),
        lambda: ko.set_num_threads(0),
    ])
    def test_raise_a_value_error(self, call):
        with pytest.raises(ValueError):
            call()

    def test_are_told_from_arguments_that_the_operation_refuses(self):
        assert ko.ThresholdGT(GOOD, None, [1], False) == ko.ResultBadArg2
        assert ko.EllipseMaskRgb(ko.SxImageBuf(), 5, 3, 0.0, None, None) == ko.ResultBadArg5
        assert ko.UnpackSamples(None, 0, 0, ko.Mono12p, GOOD) == ko.ResultBadArg1
