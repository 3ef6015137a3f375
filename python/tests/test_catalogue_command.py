"""The command `ifdsweep-catalogue`: what it prints, and how it ends.

With IFDSWEEP_WRITE_PYTHON=1 what docs/catalogue.md shows of it is written anew.
"""

import json
import os
import re
import shutil
import signal
import subprocess
import sys
import sysconfig
import time
from pathlib import Path

import document_files
import pyarrow.parquet as pq
import pytest
from catalogue_trees import make_tree, photo

from ifdsweep.catalogue import Catalogue, _command
from ifdsweep.catalogue._storage import storage_of

pytestmark = pytest.mark.python

DOCUMENT = Path(__file__).resolve().parents[2] / "docs/catalogue.md"
WRITES = bool(os.environ.get("IFDSWEEP_WRITE_PYTHON"))

_CONSOLE = re.compile(r"(?<=^```console\n).*?(?=^```$)", re.MULTILINE | re.DOTALL)


def run(*arguments: str | Path, cwd: Path | None = None) -> subprocess.CompletedProcess[str]:
    """The command as users have it."""
    script = shutil.which("ifdsweep-catalogue", path=sysconfig.get_path("scripts"))
    command = [script] if script else [sys.executable, "-m", "ifdsweep.catalogue._command"]
    return subprocess.run([*command, *arguments], capture_output=True, text=True, cwd=cwd)


@pytest.fixture
def root(tmp_path: Path) -> Path:
    folder = tmp_path / "root"
    make_tree(folder, {"a.tif": photo("One"), "b/c\x1b[2J.tif": photo("Two\x1b[31m")})
    return folder


@pytest.fixture
def catalogue(tmp_path: Path, root: Path) -> Path:
    made = Catalogue.create(tmp_path / "catalogue", root)
    made.update()
    return Path(made.location)


def test_the_document_shows_what_the_commands_print(tmp_path: Path) -> None:
    document_files.write_archive(tmp_path / "archive")
    time.sleep(2.1)  # until the files have settled
    page = DOCUMENT.read_text(encoding="utf-8")
    scripts = sysconfig.get_path("scripts")
    environment = {**os.environ, "PATH": f"{scripts}:{os.environ['PATH']}"}

    def shown(block: re.Match[str]) -> str:
        lines = []
        for line in block[0].splitlines():
            if line.startswith("$ "):
                made = subprocess.run(
                    ["bash", "-c", line[2:]],
                    capture_output=True,
                    text=True,
                    cwd=tmp_path,
                    env=environment,
                )
                assert not made.stderr
                lines += [line, *made.stdout.splitlines()]
        return "".join(f"{line}\n" for line in lines)

    written = _CONSOLE.sub(shown, page)
    if WRITES:
        DOCUMENT.write_text(written, encoding="utf-8")
        pytest.skip("written anew")
    assert written == page


def test_opens_none_of_the_files_that_did_not_change(tmp_path: Path, root: Path) -> None:
    make_tree(root, {f"{number}.tif": photo() for number in range(50)})
    place, log = tmp_path / "new", tmp_path / "log"
    assert run("create", place, root).returncode == 0
    time.sleep(2.1)  # until the files have settled
    opened = []
    for _ in range(2):
        command = [sys.executable, "-m", "ifdsweep.catalogue._command", "update", str(place)]
        traced = ["strace", "-f", "-e", "trace=open,openat,openat2", "-o", str(log), *command]
        subprocess.run(traced, check=True, capture_output=True)
        opened.append(log.read_text().count(".tif"))
    assert opened[0] >= 52
    assert opened[1] == 0


def test_creates_updates_and_answers(tmp_path: Path, root: Path) -> None:
    place = tmp_path / "new"
    assert run("create", place, root, "--columns", "Make,Width", "--tags", "none").returncode == 0
    made = run("update", place)
    assert (made.returncode, made.stderr) == (0, "")
    assert made.stdout == "2 files: 2 read, 0 unchanged, 0 removed, 0 failed\n"
    made = run("sql", place, "select Make, Width from images order by Width, Make")
    assert made.stdout == "Make         Width\nOne          8\nTwo\\x1b[31m  8\n"


@pytest.mark.parametrize(
    ("kind", "expected"),
    [
        ("table", "m\nOne\n"),
        ("csv", '"m"\n"One"\n'),
        ("json", '{"m": "One"}\n'),
    ],
)
def test_answers_in_a_format(catalogue: Path, kind: str, expected: str) -> None:
    made = run("sql", catalogue, "select min(Make) m from images", "--format", kind)
    assert made.stdout == expected


def test_answers_with_lists_and_bytes(catalogue: Path) -> None:
    query = "select [1, 2] as l, 'a'::blob as b, null as n"
    assert run("sql", catalogue, query, "--format=csv").stdout.splitlines()[1] == '"[1, 2]","61",'
    row = json.loads(run("sql", catalogue, query, "--format=json").stdout)
    assert row == {"l": [1, 2], "b": "61", "n": None}


def test_answers_in_parquet(catalogue: Path, tmp_path: Path) -> None:
    with (tmp_path / "answer.parquet").open("wb") as file:
        command = [sys.executable, "-m", "ifdsweep.catalogue._command"]
        query = "select file_path from files order by all"
        arguments = ["sql", str(catalogue), query, "--format", "parquet"]
        subprocess.run([*command, *arguments], stdout=file, check=True)
    table = pq.read_table(tmp_path / "answer.parquet")
    assert table.to_pylist() == [{"file_path": "a.tif"}, {"file_path": "b/c\x1b[2J.tif"}]


def test_lists_failures_without_what_a_terminal_acts_on(catalogue: Path, root: Path) -> None:
    (root / "b/c\x1b[2J.tif").write_bytes(b"II*\0\xff\xff\xff\xff")
    run("update", catalogue)
    made = run("failures", catalogue)
    assert "\x1b" not in made.stdout
    assert "b/c\\x1b[2J.tif" in made.stdout


def test_tells_of_folders_that_are_not_there(tmp_path: Path, root: Path) -> None:
    made = run("create", "new", "root", "later\x1b[2J", cwd=tmp_path)
    complaint = f"ifdsweep-catalogue: warning: {tmp_path}/later\\x1b[2J: "
    assert (made.returncode, made.stderr) == (0, f"{complaint}there is no such folder now\n")
    made = run("update", "new", cwd=tmp_path)
    assert made.returncode == 0
    assert made.stdout == (
        "2 files: 2 read, 0 unchanged, 0 removed, 0 failed; 1 folder could not be listed\n"
    )
    stays = "No such file or directory; what was known of its files stays\n"
    assert made.stderr == complaint + stays
    root.rename(tmp_path / "elsewhere")
    made = run("update", "new", cwd=tmp_path)
    assert made.stderr.count(stays) == 2
    assert run("sql", "new", "select count(*) as n from files", cwd=tmp_path).stdout == "n\n2\n"


def test_vacuum_tells_what_it_removes(catalogue: Path, root: Path) -> None:
    make_tree(root, {"a.tif": photo("Three", 9)})
    run("update", catalogue)
    listed = run("vacuum", catalogue, "--dry-run")
    assert listed.stdout.splitlines()[0] == "snapshots/000001.json"
    assert listed.stderr == "ifdsweep-catalogue: 4 files would be removed\n"
    made = run("vacuum", catalogue)
    assert made.stdout == listed.stdout
    assert made.stderr == "ifdsweep-catalogue: 4 files removed\n"


def test_runs_as_jobs(catalogue: Path, root: Path) -> None:
    make_tree(root, {"new.tif": photo("New")})
    assert run("plan", catalogue).stdout == "1\n"
    for index in range(2):
        assert run("run", catalogue, "--index", str(index), "--stride", "2").returncode == 0
    made = run("commit", catalogue)
    assert made.stdout.startswith("3 files: ")
    assert run("plan", catalogue).stdout in ("0\n", "1\n"), "files may not have settled"


def test_runs_as_jobs_by_the_plan(catalogue: Path, root: Path) -> None:
    make_tree(root, {"new.tif": photo("New")})
    run("plan", catalogue)
    plan = "catalogue/work/000002/plan.json"
    made = run("run", "--plan", plan, "--index", "0", "--stride", "1", cwd=catalogue.parent)
    assert (made.returncode, made.stderr) == (0, "")
    inside = run("run", "--plan", plan[10:], "--index", "0", "--stride", "1", cwd=catalogue)
    assert (inside.returncode, inside.stderr) == (0, "")
    assert run("commit", catalogue).stdout.startswith("3 files: ")


def test_tells_programs_of_the_state(catalogue: Path, root: Path) -> None:
    state = json.loads(run("status", catalogue, "--format", "json").stdout)
    assert state["catalogue"] == str(catalogue)
    assert state["roots"] == [str(root)]
    assert (state["snapshot"], state["snapshots"], state["unlisted"]) == (1, [1], [])
    assert (state["update"]["files"], state["update"]["read"]) == (2, 2)
    assert state["tables"]["files"]["rows"] == 2
    assert state["started"] <= state["ended"] <= time.time()


def test_shows_csv_on_a_terminal_without_what_it_acts_on(catalogue: Path) -> None:
    word = "cast('\x1b[1m' as enum('\x1b[1m'))"
    query = f'select file_path, Make, {word} as word, 1 as "\x1b[5m" from images order by all'
    plain = run("sql", catalogue, query, "--format", "csv").stdout
    assert plain.splitlines()[2] == '"b/c\x1b[2J.tif","Two\x1b[31m","\x1b[1m",1'
    controller, terminal = os.openpty()
    command = [sys.executable, "-m", "ifdsweep.catalogue._command", "sql", str(catalogue), query]
    subprocess.run([*command, "--format", "csv"], stdout=terminal, check=True)
    os.close(terminal)
    seen = os.read(controller, 10_000).decode()
    os.close(controller)
    assert "\x1b" not in seen
    assert seen.splitlines()[0] == '"file_path","Make","word","\\x1b[5m"'
    assert seen.splitlines()[2] == '"b/c\\x1b[2J.tif","Two\\x1b[31m","\\x1b[1m",1'


def test_warns_on_the_error_output(catalogue: Path) -> None:
    path = catalogue / "snapshots/000001.json"
    snapshot = json.loads(path.read_bytes())
    path.write_text(json.dumps({**snapshot, "ended": time.time() + 3600}))
    made = run("update", catalogue)
    assert made.returncode == 0
    assert made.stderr == (
        f"ifdsweep-catalogue: warning: {catalogue}: by the clock of this machine snapshot 1 was "
        "made in the future; times of snapshots may be wrong, what is in them is not\n"
    )


@pytest.mark.parametrize(
    ("arguments", "status", "complaint"),
    [
        ([], 2, "the following arguments are required: COMMAND"),
        (["update"], 2, "the following arguments are required: CATALOGUE"),
        (["update", "nowhere"], 1, "nowhere: there is no catalogue"),
        (["create", "new", "root", "--columns", "Mak"], 1, "columns: "),
        (["create", "root", "root"], 1, "root: there is something already"),
        (["sql", "catalogue", "select nothing"], 1, 'column "nothing" was not found'),
        (["sql", "catalogue", "insert into files values (1)"], 1, ""),
        (["run", "catalogue", "--index", "2", "--stride", "2"], 1, "index: expected 0 to 1, got 2"),
        (["run", "--index", "0", "--stride", "1"], 2, "one of the arguments CATALOGUE --plan is "),
        (
            ["run", "--plan", "catalogue", "--index", "0", "--stride", "1"],
            1,
            "catalogue: a plan is work/NNNNNN/plan.json in a catalogue",
        ),
        (["vacuum", "catalogue", "--keep", "0"], 1, "keep: expected at least 1, got 0"),
    ],
)
def test_complains(
    tmp_path: Path, catalogue: Path, arguments: list[str], status: int, complaint: str
) -> None:
    assert catalogue.parent == tmp_path
    made = run(*arguments, cwd=tmp_path)
    assert made.returncode == status
    assert complaint in made.stderr
    assert "Traceback" not in made.stderr


def test_tells_when_another_is_at_work(catalogue: Path) -> None:
    with storage_of(catalogue).lock():
        made = run("update", catalogue)
    assert made.returncode == 3
    assert f"process {os.getpid()} on" in made.stderr


def test_tells_when_much_is_gone(catalogue: Path, root: Path) -> None:
    (root / "a.tif").unlink()
    made = run("update", catalogue)
    assert made.returncode == 4
    assert "1 of 2 files are gone" in made.stderr
    assert "(--accept-removals)" in made.stderr
    assert run("update", catalogue, "--accept-removals").returncode == 0


def test_ends_soon_by_ctrl_c_and_goes_on(tmp_path: Path) -> None:
    root = tmp_path / "many"
    make_tree(root, {f"{number // 100}/{number}.tif": photo() for number in range(15_000)})
    place = tmp_path / "new"
    run("create", place, root)
    process = subprocess.Popen(
        [sys.executable, "-m", "ifdsweep.catalogue._command", "update", str(place)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    while not list(place.glob("work/000001/attempts/*/.*")) and process.poll() is None:
        time.sleep(0.005)
    process.send_signal(signal.SIGINT)
    output, errors = process.communicate(timeout=20)
    if process.returncode == 0:  # it was quicker
        assert output.startswith("15,000 files: ")
        return
    assert (process.returncode, output) == (130, "")
    assert errors == "ifdsweep-catalogue: ended; the same command goes on\n"
    assert not list(place.glob("snapshots/*"))
    assert run("update", place).stdout.startswith("15,000 files: ")


def test_ends_with_who_reads_its_output(catalogue: Path) -> None:
    command = (
        f"{sys.executable} -m ifdsweep.catalogue._command sql {catalogue} 'from range(100000)'"
    )
    made = subprocess.run(
        ["bash", "-c", f"set -o pipefail; {command} | head -n 1"],
        capture_output=True,
        text=True,
        preexec_fn=lambda: signal.signal(signal.SIGPIPE, signal.SIG_DFL),
    )
    assert (made.stdout, made.stderr) == ("range\n", "")


@pytest.mark.parametrize(
    ("text", "expected"),
    [("plain é", "plain é"), ("a\x1bb\n", "a\\x1bb\\n"), ("\u202e\ud800", "\\u202e\\ud800")],
)
def test_shows_texts_without_controls(text: str, expected: str) -> None:
    assert _command.shown(text) == expected
