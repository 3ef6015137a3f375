"""The program on a terminal: widths, colours, errors, progress and the pager."""

import os
import re
import shutil
import signal
import stat
import sys
import tempfile
import time
import unittest

from terminal import PATIENCE, Terminal, shown, without_colours

PROGRAM = os.environ["PROGRAM"]
SAMPLES = os.path.abspath("samples")
WIDTHS = (40, 80, 200)

# What lies within the columns of the terminal, with the most columns that it takes.
WITHIN_THE_TERMINAL = [
    (["--help"], 100),
    (["-q", "rgb_strips.tif", "exif.jpg", "big_pages.tif", "damaged.tif"], 200),
]


class OnATerminal(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        for name in os.listdir(SAMPLES):
            if name.endswith((".tif", ".jpg")):
                shutil.copy(os.path.join(SAMPLES, name), self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def start(self, *arguments, **settings):
        return Terminal([PROGRAM, *arguments], folder=self.folder, **settings)

    def run_program(self, *arguments, status=0, **settings):
        """What it prints; nothing of it is left when it has ended."""
        with self.start(*arguments, **settings) as terminal:
            self.assertEqual(terminal.wait(), status, terminal.text)
            self.assertEqual(terminal.processes(), [])
            return terminal.text

    def script(self, name, text):
        path = self.path(name)
        with open(path, "w") as file:
            file.write("#!/bin/sh\n" + text)
        os.chmod(path, stat.S_IRWXU)
        return path

    def many(self, count):
        """A folder with as many files, and its name."""
        os.mkdir(self.path("many"))
        for number in range(count):
            shutil.copy(os.path.join(SAMPLES, "rgb_strips.tif"), self.path(f"many/{number:04}.tif"))
        return "many"


class Widths(OnATerminal):
    def test_what_lies_within_the_terminal(self):
        for arguments, most in WITHIN_THE_TERMINAL:
            for columns in WIDTHS:
                text = self.run_program("--no-pager", *arguments, columns=columns)
                longest = max(shown(text), key=len)
                self.assertLessEqual(len(longest), min(columns, most), longest)

    def test_help_has_every_option_at_every_width(self):
        names = [set(re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", self.run_program("--help", "--no-pager", columns=columns), re.M))
                 for columns in WIDTHS]
        self.assertGreater(len(names[0]), 30)
        self.assertEqual(names[0], names[1])
        self.assertEqual(names[1], names[2])

    def test_help_is_not_wider_on_a_wide_terminal(self):
        self.assertEqual(self.run_program("--help", "--no-pager", columns=100),
                         self.run_program("--help", "--no-pager", columns=200))

    def test_text_has_its_fields_and_colours(self):
        for columns in WIDTHS:
            text = self.run_program("--no-pager", "rgb_strips.tif", columns=columns)
            self.assertIn("\x1b[1mrgb_strips.tif\x1b[0m\n", text)
            plain = without_colours(text)
            for field in ("Width", "Make", "DateTime"):
                self.assertRegex(plain, rf"(?m)^ +{field}[ \r\n]")

    def test_an_error_is_one_line(self):
        rows = [(2, "--formt", "ifdsweep: no option --formt; nearest: --format"),
                (2, "--format=jsn", "got jsn; nearest: json"),
                (1, "none.tif", "ifdsweep: none.tif: the file does not exist")]
        for columns in WIDTHS:
            for status, argument, error in rows:
                text = self.run_program("--no-pager", argument, status=status, columns=columns)
                self.assertIn(error, text)
                self.assertEqual(text.count("ifdsweep: "), 1)
                self.assertEqual(text.count("\n"), 1)

    def test_the_progress_line_is_no_longer(self):
        os.mkfifo(self.path("list"))
        for columns in WIDTHS:
            with self.start("--json", "-o", "out", "--files-from", "list", columns=columns) as terminal:
                with open(self.path("list"), "w") as names:
                    names.write("rgb_strips.tif\ndamaged.tif\nnone.tif\n" * 40)
                    names.flush()
                    terminal.wait_for(r"\r\x1b\[K120 files, ")
                self.assertEqual(terminal.wait(), 1)
                progress = re.findall(r"\r\x1b\[K([^\r\n]+)", terminal.text)
                lines = [line for line in progress if not line.startswith("ifdsweep: ")]
                self.assertTrue(lines)
                for line in lines:
                    self.assertRegex(line, r"^\d+ files?, \d+")
                    self.assertLessEqual(len(line), columns)
                self.assertTrue(any(line.endswith(" failed") for line in lines) or columns < 20)

    def test_quiet_shows_no_progress(self):
        os.mkfifo(self.path("list"))
        with self.start("-q", "--json", "-o", "out", "--files-from", "list") as terminal:
            with open(self.path("list"), "w") as names:
                names.write("rgb_strips.tif\nnone.tif\n" * 3)
                names.flush()
                time.sleep(0.6)  # longer than the line takes to appear
            self.assertEqual(terminal.wait(), 1)
        self.assertEqual(re.sub(r"(?m)^ifdsweep: none\.tif: .*\n", "", terminal.text), "")


class Colours(OnATerminal):
    def test_are_where_they_are_asked_for(self):
        for arguments, environment, expected in (
                ((), {}, True),
                ((), {"TERM": "dumb"}, False),
                ((), {"TERM": None}, True),
                ((), {"NO_COLOR": "1"}, False),
                (("--color", "always"), {"NO_COLOR": "1", "TERM": "dumb"}, True),
                (("--color", "never"), {}, False),
                (("--color=auto",), {}, True),
                (("--json", "--color", "always"), {}, False)):
            text = self.run_program("--no-pager", *arguments, "rgb_strips.tif", **environment)
            self.assertEqual("\x1b[" in text, expected, (arguments, environment))


class Pager(OnATerminal):
    def setUp(self):
        super().setUp()
        self.recorder = self.script("recorder", f"""
            cat > {self.path('record')}
            echo "$LESS,$LV" > {self.path('environment')}
            echo recorded
            """)

    def record(self):
        with open(self.path("record")) as file:
            return file.read()

    def was_recorded(self):
        return os.path.exists(self.path("record"))

    def test_gets_text_and_colours_and_the_summary(self):
        text = self.run_program("rgb_strips.tif", "damaged.tif", PAGER=self.recorder)
        self.assertEqual(text, "recorded\n")
        self.assertIn("\x1b[1mrgb_strips.tif\x1b[0m\n", self.record())
        self.assertIn("ifdsweep: 2 files read, 0 failed, 2 directories\n", self.record())
        self.assertNotIn("\x1b[K", self.record())  # no progress
        with open(self.path("environment")) as file:
            self.assertEqual(file.read(), "FRX,-c\n")

    def test_shows_what_is_shown_without_it(self):
        arguments = ("rgb_strips.tif", "exif.jpg", "big_pages.tif", "none.tif")
        self.run_program(*arguments, PAGER=self.recorder, status=1)
        self.assertEqual(sorted(self.record().split("\n")),
                         sorted(self.run_program("--no-pager", "--no-progress", *arguments, status=1).split("\n")))

    def test_is_told_what_the_user_set(self):
        self.run_program("rgb_strips.tif", PAGER=self.recorder, LESS="i", LV="x")
        with open(self.path("environment")) as file:
            self.assertEqual(file.read(), "i,x\n")

    def test_may_be_a_command_with_arguments_or_for_the_shell(self):
        self.assertRegex(self.run_program("-t", "Width", "rgb_strips.tif", PAGER="tail -n 1"), r"\A\s+.*Width.*64\n\Z")
        text = self.run_program("-t", "Width", "rgb_strips.tif", PAGER="grep -v '^ ' | sed 's/^/> /'")
        self.assertEqual(without_colours(text), "> rgb_strips.tif\n> \n")

    def test_has_a_variable_of_its_own(self):
        self.run_program("rgb_strips.tif", IFDSWEEP_PAGER=self.recorder, PAGER="false")
        self.assertTrue(self.was_recorded())

    def test_is_none_where_none_is_asked_for(self):
        for arguments, environment in (
                (("--no-pager",), {"PAGER": self.recorder}),
                ((), {"PAGER": "cat"}),
                ((), {"PAGER": ""}),
                ((), {"IFDSWEEP_PAGER": "", "PAGER": self.recorder}),
                ((), {"IFDSWEEP_PAGER": "cat", "PAGER": self.recorder}),
                ((), {"PAGER": self.recorder, "TERM": "dumb"})):
            text = self.run_program(*arguments, "rgb_strips.tif", **environment)
            self.assertIn("rgb_strips.tif", text)
            self.assertIn("Flatbed 1", text)
            self.assertFalse(self.was_recorded(), (arguments, environment))

    def test_is_for_text_on_the_terminal_alone(self):
        for arguments in (("--json",), ("--csv",), ("-fndjson",), ("-o", "out")):
            self.run_program(*arguments, "rgb_strips.tif", "damaged.tif", PAGER=self.recorder)
            self.assertFalse(self.was_recorded(), arguments)
        for rest in ("| cat", "> out"):
            with Terminal(["/bin/sh", "-c", f"'{PROGRAM}' rgb_strips.tif {rest}"], folder=self.folder,
                          PAGER=self.recorder) as terminal:
                self.assertEqual(terminal.wait(), 0)
            self.assertFalse(self.was_recorded(), rest)

    def test_leaves_another_error_stream_alone(self):
        with Terminal(["/bin/sh", "-c", f"'{PROGRAM}' rgb_strips.tif none.tif 2> errors"], folder=self.folder,
                      PAGER=self.recorder) as terminal:
            self.assertEqual(terminal.wait(), 1)
        with open(self.path("errors")) as file:
            self.assertIn("ifdsweep: none.tif: ", file.read())
        self.assertNotIn("none.tif", self.record())

    def test_that_is_not_there_costs_nothing(self):
        text = self.run_program("rgb_strips.tif", PAGER="/none/such")
        self.assertTrue(text.startswith("ifdsweep: cannot run the pager /none/such: No such file or directory\n"))
        self.assertIn("Flatbed 1", text)
        text = self.run_program("rgb_strips.tif", PAGER="/none/such | cat 'x'; exit 127")
        self.assertIn("ifdsweep: cannot run the pager /none/such | ", text)
        self.assertIn("Flatbed 1", text)
        # Where none is named, less need not be there.
        text = self.run_program("rgb_strips.tif", PATH="/nonexistent")
        self.assertTrue(without_colours(text).startswith("rgb_strips.tif\n"), text)

    def test_that_no_shell_finds_does_not_pass_off_spent_input_as_none(self):
        for arguments in ("-", "--files-from -"):
            command = f"echo rgb_strips.tif | '{PROGRAM}' {arguments}"
            with Terminal(["/bin/sh", "-c", command], folder=self.folder,
                          PAGER="/none/such | cat 'x'; exit 127") as terminal:
                self.assertEqual(terminal.wait(), 141, terminal.text)
                self.assertIn("ifdsweep: cannot run the pager /none/such | ", terminal.text)
                self.assertNotIn("0 files read", terminal.text)
                self.assertNotIn("an empty file", terminal.text)

    def test_that_quits_at_once_ends_the_work_quietly(self):
        self.assertEqual(self.run_program(self.many(200), PAGER="true", status=141), "")

    def test_that_quits_ends_work_that_prints_nothing(self):
        os.mkfifo(self.path("list"))
        pager = self.script("brief", "exit 0\n")
        # Open for both, so that it never ends, and opening it waits for no reader: the pager may
        # end before the list is opened.
        names = os.open(self.path("list"), os.O_RDWR)
        self.addCleanup(os.close, names)
        with self.start("--files-from", "list", PAGER=pager) as terminal:
            self.assertEqual(terminal.wait(), 141)
            self.assertEqual(terminal.processes(), [])
            self.assertEqual(terminal.text, "")

    def test_that_reads_a_little_leaves_nothing_behind(self):
        text = self.run_program(self.many(200), PAGER="head -n 3", status=141)
        self.assertEqual(len(text.split("\n")), 4)

    def test_that_reads_on_in_the_background_gets_everything(self):
        background = self.script("background", f"""
            exec 3<&0
            (trap '' HUP; sleep 0.3; cat <&3 > {self.path('all')}; touch {self.path('done')}) &
            """)
        with self.start(self.many(200), PAGER=background) as terminal:
            self.assertEqual(terminal.wait(), 0)
            end = time.monotonic() + PATIENCE
            while not os.path.exists(self.path("done")):
                self.assertLess(time.monotonic(), end)
                time.sleep(0.02)
            with open(self.path("all")) as file:
                self.assertIn("ifdsweep: 200 files read", file.read())

    def test_is_for_help_that_is_longer_than_the_screen(self):
        text = self.run_program("--help", PAGER=self.recorder, rows=24)
        self.assertEqual(text, "recorded\n")
        self.assertIn("--no-pager", self.record())
        os.remove(self.path("record"))
        self.run_program("--list-tags", PAGER=self.recorder, rows=24)
        self.assertIn("ImageDescription", self.record())
        os.remove(self.path("record"))
        for arguments, rows in ((("--help",), 500), (("--version",), 24), (("--explain", "timeout"), 24),
                                (("--help", "--no-pager"), 24)):
            self.assertGreater(len(self.run_program(*arguments, PAGER=self.recorder, rows=rows)), 10)
            self.assertFalse(self.was_recorded(), arguments)

    def test_status_is_that_of_the_work(self):
        self.run_program("none.tif", PAGER=self.recorder, status=1)
        self.run_program("--strict", "damaged.tif", PAGER=self.recorder, status=3)
        self.run_program("rgb_strips.tif", PAGER=self.recorder + " && exit 5", status=0)

    def waiting(self, list_name, **settings):
        """A run that waits for names, and a pager that an interrupt does not end, as less is."""
        os.mkfifo(self.path(list_name))
        pager = self.script("patient", f"""
            trap '' INT
            cat > {self.path('record')}
            echo ended
            """)
        return self.start("--files-from", list_name, PAGER=pager, **settings)

    def test_an_interrupt_is_for_the_work(self):
        with self.waiting("list") as terminal:
            with open(self.path("list"), "w") as names:
                names.write("rgb_strips.tif\n")
                names.flush()
                end = time.monotonic() + PATIENCE
                while not (self.was_recorded() and "Flatbed 1" in self.record()):
                    self.assertLess(time.monotonic(), end)
                    time.sleep(0.02)
                terminal.type("\x03")
                self.assertEqual(terminal.wait(), 130)
            self.assertEqual(terminal.processes(), [])
            self.assertIn("ended\n", terminal.text)
        self.assertIn("ifdsweep: interrupted: 1 file read, 0 failed, 1 directory\n", self.record())

    def test_a_request_to_end_is_passed_on(self):
        for number in (signal.SIGTERM, signal.SIGHUP):
            name = f"list{number}"
            with self.waiting(name) as terminal:
                with open(self.path(name), "w"):
                    terminal.send(number)
                    self.assertEqual(terminal.wait(), 128 + number)
                end = time.monotonic() + PATIENCE
                while terminal.processes():  # what the pager started ends with its input
                    self.assertLess(time.monotonic(), end)
                    time.sleep(0.02)

    def test_less_shows_a_screen_at_a_time_and_takes_its_keys(self):
        with self.start(self.many(200), rows=10) as terminal:
            terminal.wait_for(r"\n:|\x1b\[K:")
            self.assertIn("0000.tif", terminal.text)
            self.assertNotIn("0001.tif", terminal.text)
            terminal.type("q")
            self.assertEqual(terminal.wait(), 141)
            self.assertEqual(terminal.processes(), [])

    def test_less_ends_by_itself_after_a_short_output(self):
        text = self.run_program("-t", "Width", "rgb_strips.tif")
        self.assertIn("64", without_colours(text))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
