"""The commands that draw: border, mask, snake."""

import ko_files
from filters_test import FilterTest
from ko_files import tiff


class Border(FilterTest):
    def test_the_margin_mirrors_the_picture(self):
        self.write("in.tif", tiff(3, 1, [1, 2, 3], bits=8))
        self.write("expected.tif", tiff(6, 2, [2, 1, 1, 2, 3, 3] * 2, bits=8))
        self.succeed("border", "in.tif", "-o", "out.tif", "--left", "2", "--right", "1", "--bottom", "1")
        self.assert_same("out.tif", "expected.tif")

    def test_a_margin_wider_than_the_picture_is_refused(self):
        self.write("in.tif", tiff(3, 1, [1, 2, 3], bits=8))
        self.refuse("border", "in.tif", "-o", "out.tif", "--left", "4", names="in.tif: ",
                    says="smaller than the margin")


class Mask(FilterTest):
    def test_an_ellipse_has_the_size_of_its_axes(self):
        self.succeed("mask", "ellipse", "5", "2", "-o", "flat.tif")
        self.assertIn("11 x 5, 1 channel, UInt8", self.succeed("info", "flat.tif"))
        self.succeed("mask", "ellipse", "5", "2", "--angle", "90", "-o", "tall.tif")
        self.assertIn("5 x 11, 1 channel, UInt8", self.succeed("info", "tall.tif"))

    def test_a_disc_is_white_inside(self):
        self.write("expected.tif", tiff(3, 3, [0, 255, 0, 255, 255, 255, 0, 255, 0], bits=8))
        self.succeed("mask", "circle", "3", "-o", "out.tif")
        self.assert_same("out.tif", "expected.tif")

    def test_pixels_that_differ_from_a_value_are_marked(self):
        self.write("in.tif", tiff(3, 1, [7, 8, 7]))
        self.write("expected.tif", tiff(3, 1, [0, 255, 0], bits=8))
        self.succeed("mask", "from-value", "in.tif", "--value", "7", "-o", "out.tif")
        self.assert_same("out.tif", "expected.tif")

    def test_what_makes_no_mask_is_refused(self):
        self.write("bytes.tif", tiff(3, 1, [7, 8, 7], bits=8))
        self.refuse("mask", "from-value", "bytes.tif", "--value", "7", "-o", "out.tif", names="bytes.tif: ",
                    says="16 bits")
        self.assertEqual(self.ko("mask", "circle", "16", "-o", "out.tif").returncode, 2)
        self.assertEqual(self.ko("mask", "ellipse", "2", "5", "-o", "out.tif").returncode, 2)
        self.assertEqual(self.ko("mask").returncode, 2)


class Snake(FilterTest):
    def disc(self):
        inside = [200 if (x - 20) ** 2 + (y - 20) ** 2 <= 100 else 10 for y in range(40) for x in range(40)]
        return self.write("disc.tif", tiff(40, 40, inside, bits=8))

    def points(self, name):
        lines = self.read(name).decode().splitlines()
        self.assertEqual(lines[0], "contour,x,y")
        return [tuple(map(int, line.split(","))) for line in lines[1:]]

    def test_contours_settle_on_the_edge(self):
        self.succeed("snake", self.disc(), "--circle", "20,20,15", "-o", "out.tif", "--points", "points.csv")
        self.assertIn("40 x 40, 3 channels, UInt8", self.succeed("info", "out.tif"))
        points = self.points("points.csv")
        self.assertGreater(len(points), 6)
        for contour, x, y in points:
            self.assertEqual(contour, 1)
            self.assertLess(abs(((x - 20) ** 2 + (y - 20) ** 2) ** 0.5 - 10), 2.5)

    def test_several_circles_give_numbered_contours(self):
        self.succeed("snake", self.disc(), "--circle", "20,20,15", "--circle", "20,20,5", "-o", "out.tif",
                     "--points", "points.csv")
        self.assertEqual({contour for contour, _, _ in self.points("points.csv")}, {1, 2})

    def test_parameters_come_from_a_file(self):
        self.write("still.json", b'{"maxIterations": 0, "refine": 0, "edgeFraction": 0.5}')
        self.succeed("snake", self.disc(), "--circle", "20,20,15", "--params", "still.json", "-o", "out.tif",
                     "--points", "points.csv")
        for _, x, y in self.points("points.csv"):
            self.assertGreater(((x - 20) ** 2 + (y - 20) ** 2) ** 0.5, 12.5)

    def test_bad_input_is_refused(self):
        disc = self.disc()
        self.write("colour.tif", tiff(4, 4, range(48), bits=8, channels=3))
        self.write("wrong.json", b'{"weight": 1}')
        self.write("broken.json", b'{')
        circle = ["--circle", "20,20,15", "-o", "out.tif"]
        self.refuse("snake", "colour.tif", *circle, names="colour.tif: ", says="3 channels")
        self.refuse("snake", disc, *circle, "--params", "none.json", names="none.json: ", says="no such file")
        self.refuse("snake", disc, *circle, "--params", "wrong.json", names="wrong.json: ", says='"weight"')
        self.refuse("snake", disc, *circle, "--params", "broken.json", names="broken.json: ", says="JSON")
        self.refuse("snake", disc, "--circle", "20,20", "-o", "out.tif", names="20,20 ", says="x,y,radius", code=2)


if __name__ == "__main__":
    ko_files.main()
