"""What is measured: the same work by koimproc and by others."""
import cv2
import numpy as np
import scipy.ndimage
import skimage.exposure
import skimage.filters
import skimage.measure
import skimage.transform

import koimproc as ko
from koimproc import native

SIDE = 2048


def picture(side, bits, seed=1):
    """Blobs and noise, over all levels of the depth."""
    rng = np.random.default_rng(seed)
    coarse = cv2.resize(rng.random((side // 16, side // 16), np.float32), (side, side), interpolation=cv2.INTER_CUBIC)
    noisy = coarse + rng.normal(0, 0.05, coarse.shape)
    levels = np.clip(noisy, 0, 1) * ((1 << bits) - 1)
    return levels.astype(np.uint8 if bits == 8 else np.uint16)


def sobel_of_opencv(a):
    return cv2.magnitude(cv2.Sobel(a, cv2.CV_32F, 1, 0), cv2.Sobel(a, cv2.CV_32F, 0, 1))


def sobel_of_scipy(a):
    wide = a.astype(np.int32)
    return np.hypot(scipy.ndimage.sobel(wide, 0), scipy.ndimage.sobel(wide, 1))


def flat_of_numpy(a, flat):
    return np.minimum(a / flat * flat.mean(), 4095).astype(a.dtype)


def packed_by_numpy(samples):
    low, high = samples[:, ::2], samples[:, 1::2]
    triples = np.empty((len(samples), low.shape[1], 3), np.uint8)
    triples[..., 0] = low
    triples[..., 1] = low >> 8 | high << 4
    triples[..., 2] = high >> 4
    return triples.ravel()


def unpacked_by_numpy(packed, shape):
    triples = packed.reshape(shape[0], -1, 3).astype(np.uint16)
    samples = np.empty(shape, np.uint16)
    samples[:, ::2] = triples[..., 0] | (triples[..., 1] & 15) << 8
    samples[:, 1::2] = triples[..., 1] >> 4 | triples[..., 2] << 4
    return samples


def balanced_by_numpy(mosaic, gains, top):
    levels = mosaic.astype(np.float32)
    for place, gain in enumerate(gains):
        levels[place // 2::2, place % 2::2] *= gain
    return np.minimum(levels + 0.5, top).astype(mosaic.dtype)


def from_cameras(mosaic, bits):
    """Rows of what a camera sends, for `large`."""
    a, gains, top = np.asarray(mosaic), (2.1, 1.0, 1.0, 1.7), (1 << bits) - 1
    table = {"white_balance": {"koimproc": lambda: ko.white_balance(mosaic, gains),
                               "NumPy": lambda: balanced_by_numpy(a, gains, top)}}
    if bits == 12:
        packed = packed_by_numpy(a)
        table["unpack BayerRG12p"] = {"koimproc": lambda: ko.unpack(packed, "BayerRG12p", a.shape),
                                      "NumPy": lambda: unpacked_by_numpy(packed, a.shape)}
        table["pack BayerRG12p"] = {"koimproc": lambda: ko.pack(mosaic, "BayerRG12p"),
                                    "NumPy": lambda: packed_by_numpy(a)}
    return table


def large(bits):
    """Rows of 2048 x 2048: functions by library."""
    a = picture(SIDE, bits)
    f = ko.Frame(a, bits)
    b = picture(SIDE, bits, 2)
    flat = b // 2 + (1 << (bits - 2))
    dtype = a.dtype
    top = (1 << bits) - 1
    mosaic = ko.Frame(a, bits, "RGGB")
    frames = [ko.Frame(picture(SIDE, bits, seed), bits) for seed in range(8)]
    stack = np.stack([np.asarray(frame) for frame in frames])
    spots = a > 0.97 * top
    low, high = top // 10, top // 2
    table = {}
    for radius in (1, 2) if bits > 8 else (1, 2, 5):
        size = 2 * radius + 1
        table[f"median, radius {radius}"] = {
            "koimproc": lambda radius=radius: ko.median(f, radius),
            "OpenCV": lambda size=size: cv2.medianBlur(a, size),
            "scikit-image": lambda size=size: skimage.filters.rank.median(a, np.ones((size, size), np.uint8)),
        }
        if radius < 5:  # half a minute otherwise
            table[f"median, radius {radius}"]["SciPy"] = lambda size=size: scipy.ndimage.median_filter(a, size)
    table["sobel"] = {"koimproc": lambda: ko.sobel(f), "OpenCV": lambda: sobel_of_opencv(a),
                      "SciPy": lambda: sobel_of_scipy(a), "scikit-image": lambda: skimage.filters.sobel(a)}
    table["distance, 5x5"] = {
        "koimproc": lambda: ko.distance(spots),
        "OpenCV": lambda: cv2.distanceTransform((~spots).view(np.uint8), cv2.DIST_L2, 5),
        "SciPy": lambda: scipy.ndimage.distance_transform_edt(~spots)}
    table["histogram"] = {
        "koimproc": lambda: ko.histogram(f),
        "OpenCV": lambda: cv2.calcHist([a], [0], None, [top + 1], [0, top + 1]),
        "scikit-image": lambda: skimage.exposure.histogram(a),
        "NumPy": lambda: np.bincount(a.ravel(), minlength=top + 1)}
    table["histogram with a mask"] = {
        "koimproc": lambda: ko.histogram(f, spots),
        "OpenCV": lambda: cv2.calcHist([a], [0], spots.view(np.uint8), [top + 1], [0, top + 1]),
        "NumPy": lambda: np.bincount(a[spots], minlength=top + 1)}
    table["moments"] = {"koimproc": lambda: ko.moments(f), "OpenCV": lambda: cv2.meanStdDev(a),
                        "NumPy": lambda: (a.mean(), a.std())}
    table["minmax"] = {"koimproc": lambda: ko.minmax(f), "OpenCV": lambda: cv2.minMaxLoc(a),
                       "SciPy": lambda: scipy.ndimage.extrema(a), "NumPy": lambda: (a.min(), a.max())}
    table["threshold_otsu"] = {"koimproc": lambda: ko.threshold_otsu(f),
                               "OpenCV": lambda: cv2.threshold(a, 0, top, cv2.THRESH_BINARY | cv2.THRESH_OTSU),
                               "scikit-image": lambda: skimage.filters.threshold_otsu(a)}
    table["entropy"] = {"koimproc": lambda: ko.entropy(f), "scikit-image": lambda: skimage.measure.shannon_entropy(a)}
    table["threshold"] = {"koimproc": lambda: ko.threshold(f, low),
                          "OpenCV": lambda: cv2.threshold(a, low, top, cv2.THRESH_BINARY),
                          "NumPy": lambda: np.where(a > low, dtype.type(top), dtype.type(0))}
    table["equalize_hist"] = {"koimproc": lambda: ko.equalize_hist(f),
                              "scikit-image": lambda: skimage.exposure.equalize_hist(a, top + 1)}
    if bits == 8:
        table["equalize_hist"]["OpenCV"] = lambda: cv2.equalizeHist(a)
    table["match_histograms"] = {"koimproc": lambda: ko.match_histograms(f, frames[3]),
                                 "scikit-image": lambda: skimage.exposure.match_histograms(a, np.asarray(frames[3]))}
    table["rescale_intensity"] = {
        "koimproc": lambda: ko.rescale_intensity(f, (low, high)),
        "scikit-image": lambda: skimage.exposure.rescale_intensity(a, (low, high), (0, top))}
    table["flat_field"] = {"koimproc": lambda: ko.flat_field(f, flat), "NumPy": lambda: flat_of_numpy(a, flat)}
    table["average of 8"] = {"koimproc": lambda: ko.average(frames), "NumPy": lambda: stack.mean(0).astype(dtype)}
    table["pad by 16"] = {"koimproc": lambda: ko.pad(f, 16), "NumPy": lambda: np.pad(a, 16, mode="symmetric"),
                          "OpenCV": lambda: cv2.copyMakeBorder(a, 16, 16, 16, 16, cv2.BORDER_REFLECT)}
    for name, side, method in (("a half", SIDE // 2, cv2.INTER_AREA), ("1500 x 1500", 1500, cv2.INTER_AREA),
                               ("twice the size", 2 * SIDE, cv2.INTER_LINEAR)):
        table[f"resize to {name}"] = {
            "koimproc": lambda side=side: ko.resize(f, (side, side)),
            "OpenCV": lambda side=side, method=method: cv2.resize(a, (side, side), interpolation=method),
            "scikit-image": lambda side=side: skimage.transform.resize(a, (side, side), preserve_range=True,
                                                                       anti_aliasing=side < SIDE)}
    table.update(from_cameras(mosaic, bits))
    table["demosaic, malvar (others bilinear)"] = {
        "koimproc": lambda: ko.demosaic(mosaic, "malvar"),
        "OpenCV": lambda: cv2.demosaicing(a, cv2.COLOR_BayerRGGB2RGB)}
    table["demosaic, menon (others along edges)"] = {
        "koimproc": lambda: ko.demosaic(mosaic), "OpenCV": lambda: cv2.demosaicing(a, cv2.COLOR_BayerRGGB2RGB_EA)}
    table["spots: flat field, Otsu, share above"] = {
        "koimproc": lambda: spots_of_koimproc(f, flat),
        "OpenCV": lambda: spots_of_opencv(a, flat),
        "scikit-image": lambda: spots_of_scikit_image(a, flat, top)}
    return table


def spots_of_koimproc(f, flat):
    """As one writes it with the package: a few functions in a row."""
    even = ko.flat_field(f, flat)
    return np.count_nonzero(ko.greater(even, ko.threshold_otsu(even))) / flat.size


def spots_of_opencv(a, flat):
    even = cv2.divide(a, flat, scale=cv2.mean(flat)[0])
    _, marks = cv2.threshold(even, 0, 255, cv2.THRESH_BINARY | cv2.THRESH_OTSU)
    return cv2.countNonZero(marks) / flat.size


def spots_of_scikit_image(a, flat, top):
    even = np.clip(a / flat * flat.mean(), 0, top).astype(a.dtype)
    return (even > skimage.filters.threshold_otsu(even)).mean()


def with_one_thread(call, frame):
    with ko.threads(1):
        return call(frame)


def independent():
    """Two calls of a function on frames of their own, with one thread inside."""
    frames = [ko.Frame(picture(SIDE, 12, seed), 12) for seed in (1, 2)]
    mosaics = [ko.Frame(np.asarray(frame), 12, "RGGB") for frame in frames]
    table = {"median, radius 2": (lambda frame: ko.median(frame, 2), frames), "sobel": (ko.sobel, frames),
             "histogram": (ko.histogram, frames), "demosaic, menon": (ko.demosaic, mosaics)}
    return {name: [lambda call=call, frame=frame: with_one_thread(call, frame) for frame in both]
            for name, (call, both) in table.items()}


def small():
    """The function, and its operation on records that are ready."""
    a = picture(64, 8)
    out, wide, out16 = np.empty_like(a), np.empty(a.shape, np.int32), np.empty(a.shape)
    image, result = native.SxImageBuf(a), native.SxImageBuf(out)
    gradient, lengths = native.SxImageBuf(wide), native.SxImageBuf(out16)
    f, frame_out = ko.Frame(a), ko.Frame(out)
    return {
        "median": (lambda: ko.median(a, 1), lambda: native.Median(image, result, 1, None)),
        "median with out=": (lambda: ko.median(a, 1, out=out), lambda: native.Median(image, result, 1, None)),
        "median of a frame": (lambda: ko.median(f, 1), lambda: native.Median(image, result, 1, None)),
        "median of a frame with out=": (lambda: ko.median(f, 1, out=frame_out),
                                        lambda: native.Median(image, result, 1, None)),
        "sobel": (lambda: ko.sobel(a), lambda: native.Sobel(image, gradient)),
        "distance": (lambda: ko.distance(a), lambda: native.ChamferDistance(image, lengths, 2)),
        "equalize_hist": (lambda: ko.equalize_hist(a), lambda: native.HistogramEqualize(image, result)),
        "minmax": (lambda: ko.minmax(a), lambda: native.MinMax(image)),
        "binarize": (lambda: ko.binarize(a), lambda: native.Binarize(image, result, 1)),
        "threshold": (lambda: ko.threshold(a, 50), lambda: native.ThresholdBinary(image, result, [50], [0], [255])),
        "white_balance": (lambda: ko.white_balance(a, 2.0), lambda: native.WhiteBalance(image, result, [2.0], [0])),
    }
