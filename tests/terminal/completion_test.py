"""A shell on a terminal completes the program's arguments when tab is pressed.

Usage: completion_test.py bash|zsh|fish, with MANUAL_FOLDER, where the completions are, and PROGRAM
in the environment. The command that is completed prints its arguments, so that what was completed
shows in what the shell ran.
"""

import os
import shutil
import sys
import tempfile
import unittest

from terminal import Terminal, without_colours

MANUAL = os.environ["MANUAL_FOLDER"]
PROMPT = "ready>"
SHELL = sys.argv[1]

# What each shell reads first: a prompt, the completions, the command that they are for.
START = {
    "bash": f"""
        PS1='{PROMPT}'
        bind 'set enable-bracketed-paste off'
        bind 'set show-all-if-ambiguous on'
        bind 'set page-completions off'
        bind 'set completion-query-items 0'
        source '{MANUAL}/ifdsweep.bash'
        ifdsweep() {{ printf 'got'; printf '<%s>' "$@"; echo; }}
        """,
    "zsh": f"""
        PS1='{PROMPT}'
        unsetopt PROMPT_SP
        fpath=('{MANUAL}' $fpath)
        autoload -Uz compinit
        compinit -D -u
        LISTMAX=10000
        ifdsweep() {{ printf 'got'; printf '<%s>' "$@"; echo; }}
        """,
    "fish": f"""
        function fish_prompt; printf '{PROMPT}'; end
        function fish_greeting; end
        source '{MANUAL}/ifdsweep.fish'
        function ifdsweep; printf 'got'; printf '<%s>' $argv; echo; end
        """,
}

# What is typed, a tab in it, and what the command gets.
COMPLETED = [
    ("--form\tjson", "<--format><json>"),
    ("--no-rec\t", "<--no-recursive>"),
    ("--quie\t", "<--quiet>"),
    ("--colo\talw\t", "<--color><always>"),
    ("-f nd\t", "<-f><ndjson>"),
    ("--format nd\t", "<--format><ndjson>"),
    ("--format=nd\t", "<--format=ndjson>"),
    ("-t DateTimeO\t", "<-t><DateTimeOriginal>"),
    ("--tags DateTimeO\t", "<--tags><DateTimeOriginal>"),
    ("-t Make,DateTimeO\t", "<-t><Make,DateTimeOriginal>"),
    ("--explain timeo\t", "<--explain><timeout>"),
    ("--ignore tagDataP\t", "<--ignore><tagDataPastEOF>"),
    ("-o onl\t", "<-o><only.tif>"),
    ("onl\t", "<only.tif>"),
    ("-q --stri\tonl\t", "<-q><--strict><only.tif>"),
]

# zsh puts an equals sign behind a long option that it completes.
COMPLETED_BY_ZSH = {
    "--form\tjson": "<--format=json>",
    "--colo\talw\t": "<--color=always>",
}

# What is typed before a tab, and what is then offered.
OFFERED = [
    ("--fo\t", ["--follow", "--format"]),
    ("-f \t", ["text", "json", "ndjson", "typed", "csv", "facts", "packed"]),
    ("--color \t", ["auto", "always", "never"]),
    ("-t MakerN\t\t", ["MakerNote", "MakerNoteSafety"]),
    ("--ignore readB\t\t", ["readBudgetSpent"]),
    ("--re\t", ["--recursive", "--reading", "--read-budget", "--resume"]),
]


def is_offered(text, words):
    after_prompt = without_colours(text).split(PROMPT, 1)[-1]
    return all(word in after_prompt for word in words)


class Completion(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        open(os.path.join(self.folder, "only.tif"), "w").close()

    def start(self):
        home = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, home)
        start = os.path.join(home, "start")
        with open(start, "w") as file:
            file.write(START[SHELL])
        if SHELL == "zsh":
            os.rename(start, os.path.join(home, ".zshrc"))
        command = {
            "bash": ["bash", "--noprofile", "--rcfile", start, "-i"],
            "zsh": ["zsh", "-i"],
            "fish": ["fish", "--no-config", "--init-command", f"source {start}", "-i"],
        }[SHELL]
        return Terminal(command, columns=200, folder=self.folder, HOME=home, ZDOTDIR=home,
                        XDG_CONFIG_HOME=home, XDG_DATA_HOME=home, XDG_CACHE_HOME=home)

    def complete(self, typed):
        """The text of a terminal on which this was typed, a piece to each tab, but no return."""
        terminal = self.start()
        terminal.wait_for(PROMPT)
        terminal.settle()
        terminal.type("ifdsweep ")
        for piece in typed.split("\t")[:-1]:
            terminal.type(piece + "\t")
            terminal.settle()
        terminal.type(typed.split("\t")[-1])
        return terminal

    def test_what_is_typed_is_completed(self):
        for typed, expected in COMPLETED:
            if SHELL == "zsh":
                expected = COMPLETED_BY_ZSH.get(typed, expected)
            with self.subTest(typed=typed), self.complete(typed) as terminal:
                terminal.type("\r")
                got = terminal.wait_for(r"got<.*>\n").group()
                self.assertEqual(got, f"got{expected}\n")

    def test_what_may_be_meant_is_offered(self):
        for typed, expected in OFFERED:
            with self.subTest(typed=typed), self.complete(typed) as terminal:
                terminal.wait_until(lambda: is_offered(terminal.text, expected), f"{expected} are not offered")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
