"""Active contours, in rows and columns."""
import numpy as np
import pytest
import skimage.measure

import koimproc as ko


def circle(row, column, radius, number=40):
    turn = np.linspace(0, 2 * np.pi, number, endpoint=False)
    return np.stack((row + radius * np.sin(turn), column + radius * np.cos(turn)), 1)


def test_a_contour_settles_on_an_object():
    rows, columns = np.mgrid[:120, :200]
    disk = np.where((rows - 50) ** 2 + (columns - 130) ** 2 <= 25 ** 2, 200, 20).astype(np.uint8)
    contour = ko.active_contour(disk, circle(50, 130, 40))
    assert contour.dtype == np.int32 and contour.shape[1] == 2
    radius = np.hypot(contour[:, 0] - 50, contour[:, 1] - 130)
    assert np.abs(radius - 25).max() < 4
    inside = skimage.measure.grid_points_in_poly(disk.shape, contour)
    assert np.mean(inside == (disk > 100)) > 0.98


def test_depth_and_parameters_reach_the_operation():
    a = np.zeros((60, 60), np.uint16)
    a[20:40, 20:40] = 3000
    f = ko.Frame(a, bits=12)
    steps = ko.active_contour(f, circle(30, 30, 25), refine=False, max_iterations=0)
    moved = np.abs(steps - np.floor(circle(30, 30, 25) + 0.5))
    assert steps.shape == (40, 2) and moved.max() == 1
    assert len(ko.active_contour(f, circle(30, 30, 20), point_spacing=2)) > len(
        ko.active_contour(f, circle(30, 30, 20), point_spacing=8))


@pytest.mark.parametrize("arguments, name", [
    ({"points": []}, "points"), ({"points": [[1, 2, 3]]}, "points"), ({"points": "ab"}, "points"),
    ({"points": [[1, float("nan")]]}, "points"), ({"edge_fraction": float("nan")}, "edge_fraction"),
    ({"weight_distance": float("inf")}, "weight_distance"), ({"max_iterations": 1.5}, "max_iterations"),
    ({"image": np.zeros((2, 5), np.uint8)}, "image"), ({"image": np.zeros((9, 9, 3), np.uint8)}, "image"),
    ({"image": np.zeros((9, 9))}, "image"),
])
def test_bad_arguments(arguments, name):
    with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
        ko.active_contour(**{"image": np.zeros((9, 9), np.uint8), "points": circle(4, 4, 2), **arguments})
    assert caught.value.argument == name
