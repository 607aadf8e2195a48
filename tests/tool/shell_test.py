"""What the tool says of itself: manual page and completion."""

import subprocess

import ko_files
from ko_files import ToolTest, png, random_samples
from reach_test import commands_in_help


class Manual(ToolTest):
    def test_the_page_has_every_command_and_its_options(self):
        page = self.succeed("manual")
        for command in commands_in_help(self.succeed("--help")):
            self.assertIn('.SS "ko ' + command.replace("-", r"\-") + '"\n', page)
        self.assertIn("\\fB\\-\\-radius\\fR \\fIN\\fR\n", page)
        self.assertIn('.SS "ko mask ellipse"\n', page)
        self.assertNotIn("manual", "".join(line for line in page.splitlines() if line.startswith(".SS")))

    def test_the_page_has_recipes_examples_files_and_further_reading(self):
        page = self.succeed("manual")
        for section in ("RECIPES", '"PACKED FORMATS"', "EXAMPLES", "FILES", '"SEE ALSO"'):
            self.assertIn(f"\n.SH {section}\n", page)
        for key in ("operations[].op", "output.format", "output.quality"):
            self.assertIn(f"\n.B {key}\n", page)
        self.assertIn("/doc/koimproc\\-tools/tool.md\n", page)

    def test_the_recipe_of_the_help_is_one(self):
        text = self.succeed("run", "--help")
        recipe = self.write("r.json", text[text.index("\n{") + 1:text.rindex("}") + 1].encode())
        self.write("a.png", png(40, 20, random_samples(800, 255, 1)))
        self.succeed("run", recipe, "a.png", "-o", "out")
        self.assertIn("800 x 400", self.succeed("info", "out/a.png"))

    def test_the_page_is_set_without_warnings(self):
        page = self.write("ko.1", self.succeed("manual").encode())
        run = subprocess.run(["groff", "-man", "-ww", "-Kutf8", "-Tutf8", page], cwd=self.dir, capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("Replace every sample by the median", run.stdout)


class Completion(ToolTest):
    def complete(self, *words):
        """What bash offers for the last word."""
        script = self.write("ko.bash", self.succeed("completion", "bash").encode())
        ask = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ko; printf "%s\\n" "${COMPREPLY[@]}"'
        run = subprocess.run(["bash", "-uc", ask, "bash", script, "ko", *words], cwd=self.dir, capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return set(run.stdout.split())

    def test_commands_are_completed(self):
        self.assertEqual(self.complete(""), commands_in_help(self.succeed("--help")) | {"--help", "--version"})
        self.assertEqual(self.complete("med"), {"median"})
        self.assertEqual(self.complete("mask", ""), {"ellipse", "circle", "from-value", "--help"})

    def test_options_are_completed(self):
        self.assertEqual(self.complete("median", "--"),
                         {"--help", "--output", "--quality", "--quiet", "--verbose", "--radius", "--as-stored", "--page", "--spool",
                          "--format"})
        self.assertEqual(self.complete("mask", "ellipse", "--a"), {"--angle"})

    def test_words_are_completed_and_files_left_to_the_shell(self):
        self.assertEqual(self.complete("distance", "a.png", "--mask", "1"), {"13x13"})
        self.assertEqual(self.complete("demosaic", "--grid", ""), {"rggb", "bggr", "gbrg", "grbg"})
        self.assertEqual(self.complete("develop", "--wb", ""), {"camera", "gray-world"})
        self.assertEqual(self.complete("apply-mask", "--mask", ""), set())
        self.assertEqual(self.complete("median", ""), set())

    def test_other_shells_get_every_command_and_option(self):
        for shell, command, option in (("zsh", "'median:", "'--radius["), ("fish", "-a median ", " -l radius ")):
            text = self.succeed("completion", shell)
            self.assertIn(command, text)
            self.assertIn(option, text)
        self.assertEqual(self.ko("completion", "tcsh").returncode, 2)


if __name__ == "__main__":
    ko_files.main()
