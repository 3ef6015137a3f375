"""The command `ifdsweep-catalogue`."""

import argparse
import dataclasses
import json
import os
import signal
import sys
import time
import warnings
from collections.abc import Callable, Iterator, Sequence
from typing import Any, NoReturn, TextIO

from ifdsweep import _core
from ifdsweep._columns import _counted

_DONE, _FAILED, _USAGE, _BUSY, _REFUSED, _INTERRUPTED = 0, 1, 2, 3, 4, 130

_STATUS = """\
exit status:
  0    done
  1    it could not be done; what is wrong stands on the standard error
  2    wrong arguments
  3    another update is at work, or was quicker; nothing was changed
  4    more than a fifth of the files are gone: --accept-removals lets them go
  130  ended by Ctrl-C; the same command goes on
"""


def main(arguments: Sequence[str] | None = None) -> int:
    """Runs the command and returns its exit status."""
    parser = _parser()
    options = parser.parse_args(arguments)
    try:
        from ifdsweep.catalogue import CatalogueBusyError, CatalogueError, TooManyRemovalsError
    except ModuleNotFoundError as error:
        return _complain(f"{error}; pip install 'ifdsweep[catalogue]'", _FAILED)
    warnings.showwarning = _warn
    try:
        options.action(options)
        sys.stdout.flush()
    except CatalogueBusyError as error:
        return _complain(error, _BUSY)
    except TooManyRemovalsError as error:
        return _complain(f"{error} (--accept-removals)", _REFUSED)
    except (CatalogueError, ModuleNotFoundError, TypeError, ValueError) as error:
        return _complain(error, _FAILED)
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return _DONE
    except OSError as error:
        return _complain(error, _FAILED)
    except Exception as error:
        if not type(error).__module__.startswith(("duckdb", "_duckdb")):
            raise
        return _complain(error, _FAILED)
    except KeyboardInterrupt:
        return _complain("ended; the same command goes on", _INTERRUPTED)
    return _DONE


def _warn(
    message: Warning | str,
    category: type[Warning],
    filename: str,
    lineno: int,
    file: TextIO | None = None,
    line: str | None = None,
) -> None:
    """Tells users of a warning, as `warnings.showwarning`."""
    del category, filename, lineno, file, line
    _complain(f"warning: {message}", _DONE)


def _complain(what: object, status: int) -> int:
    print(f"ifdsweep-catalogue: {shown(str(what))}", file=sys.stderr)
    return status


def shown(text: str) -> str:
    """A text with nothing in it that a terminal would act on, on one line."""
    return "".join(
        c if c.isprintable() else c.encode("unicode_escape", "surrogatepass").decode() for c in text
    )


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="ifdsweep-catalogue",
        description="Keeps tables of what is in the images of whole archives, as Parquet files, "
        "and answers questions about them in SQL.",
        epilog=_STATUS,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False,
    )
    parser.add_argument("--version", action="version", version=f"ifdsweep {_core.VERSION}")
    commands = parser.add_subparsers(title="commands", metavar="COMMAND", required=True)
    _add_create(
        _command(commands, "create", _create, "makes a catalogue, empty until it is updated")
    )
    _add_update(
        _command(commands, "update", _update, "reads what is new or changed, drops what is gone")
    )
    sql = _command(
        commands, "sql", _sql, "answers a query over files, images, tags, warnings, others"
    )
    sql.add_argument(
        "query", metavar="QUERY", help='such as "select Make, count(*) from images group by all"'
    )
    _add_format(sql)
    status = _command(commands, "status", _status, "tells what there is, and of the last update")
    status.add_argument(
        "--format", choices=["text", "json"], default="text", help="text: for people (default)"
    )
    failures = _command(
        commands,
        "failures",
        _failures,
        "lists files that failed and folders that could not be listed",
    )
    _add_format(failures)
    vacuum = _command(commands, "vacuum", _vacuum, "removes old snapshots and what they alone have")
    vacuum.add_argument(
        "--keep", type=int, default=1, metavar="N", help="how many snapshots stay (default: 1)"
    )
    vacuum.add_argument(
        "--dry-run", action="store_true", help="removes nothing, and tells what it would"
    )
    _add_jobs(commands)
    return parser


def _command(
    commands: Any, name: str, action: Callable[[argparse.Namespace], None], summary: str
) -> argparse.ArgumentParser:
    parser: argparse.ArgumentParser = commands.add_parser(
        name, help=summary, description=summary[0].upper() + summary[1:] + ".", allow_abbrev=False
    )
    parser.set_defaults(action=action)
    if name != "run":
        parser.add_argument("catalogue", metavar="CATALOGUE", help=_CATALOGUE)
    return parser


_CATALOGUE = "the folder of the catalogue"


def _add_create(parser: argparse.ArgumentParser) -> None:
    add = parser.add_argument
    add("roots", metavar="ROOT", nargs="+", help="folders whose images it is of")
    add(
        "--include",
        action="append",
        metavar="GLOB",
        help="of the files, only those that match; repeatable",
    )
    add(
        "--exclude",
        action="append",
        metavar="GLOB",
        help="leaves out files and folders; repeatable",
    )
    add("--ignore-case", action="store_true", help="patterns match in upper or lower case")
    add(
        "--all", dest="all_files", action="store_true", help="every file has a row, not only images"
    )
    add("--follow", action="store_true", help="follows symbolic links to folders")
    add(
        "--columns",
        metavar="WHICH",
        help="of images: core, all, or names with commas between (default: core)",
    )
    add(
        "--tags",
        choices=["rest", "all", "none"],
        help="entries that have a row; rest: those that images does not hold (default)",
    )
    add("--max-value", type=int, metavar="N", help="longest value that is stored, in bytes")
    add(
        "--streams",
        choices=["first", "all"],
        help="which TIFF streams of a file are read (default: first)",
    )
    add(
        "--isolate",
        action="store_true",
        help="reads in processes of their own, one of which a file may take down",
    )
    add("--timeout", type=float, metavar="SECONDS", help="with --isolate: most time for a file")
    add("--memory", type=int, metavar="BYTES", help="with --isolate: most memory for a file")
    add(
        "--no-inode",
        dest="use_inode",
        action="store_false",
        help="a file with another inode may be the same: for file systems that make them up",
    )


def _add_update(parser: argparse.ArgumentParser) -> None:
    add = parser.add_argument
    add("--force", action="store_true", help="reads all files again")
    add("--accept-removals", action="store_true", help="lets more than a fifth of the files go")
    add(
        "--threads",
        type=int,
        metavar="N",
        help="that read files (default: as many as there are cores)",
    )
    add("--quiet", action="store_true", help="tells nothing of how far it is")


def _add_format(parser: argparse.ArgumentParser) -> None:
    parser.add_argument(
        "--format",
        choices=["table", "csv", "json", "parquet"],
        default="table",
        help="table: for people (default); json: a line for each row",
    )


def _add_jobs(commands: Any) -> None:
    plan = _command(
        commands, "plan", _plan, "finds out what an update has to do, for an array of jobs"
    )
    plan.add_argument("--force", action="store_true", help="reads all files again")
    plan.add_argument(
        "--accept-removals", action="store_true", help="lets more than a fifth of the files go"
    )
    run = _command(commands, "run", _run, "makes some partitions of a plan: one job of an array")
    which = run.add_mutually_exclusive_group(required=True)
    which.add_argument("catalogue", metavar="CATALOGUE", nargs="?", help=_CATALOGUE)
    which.add_argument(
        "--plan", metavar="FILE", help="the plan, work/NNNNNN/plan.json of a catalogue"
    )
    run.add_argument(
        "--index", type=int, required=True, metavar="N", help="which job this is, from 0"
    )
    run.add_argument(
        "--stride", type=int, required=True, metavar="K", help="how many jobs there are"
    )
    run.add_argument(
        "--threads",
        type=int,
        metavar="N",
        help="that read files (default: as many as there are cores)",
    )
    _command(
        commands, "commit", _commit, "makes the new state visible when all partitions are made"
    )


def _open(options: argparse.Namespace) -> Any:
    from ifdsweep.catalogue import Catalogue

    return Catalogue.open(options.catalogue)


_CREATING = (
    "include", "exclude", "ignore_case", "all_files", "follow", "tags", "max_value", "streams",
    "isolate", "timeout", "memory", "use_inode",
)  # fmt: skip


def _create(options: argparse.Namespace) -> None:
    from ifdsweep.catalogue import Catalogue

    given = {name: getattr(options, name) for name in _CREATING}
    chosen = {name: value for name, value in given.items() if value is not None}
    if options.columns is not None:
        words = options.columns.split(",")
        chosen["columns"] = words[0] if words in (["core"], ["all"]) else words
    made = Catalogue.create(options.catalogue, options.roots, **chosen)
    for root in made.roots:
        if not os.path.isdir(root):
            _complain(f"warning: {root}: there is no such folder now", _DONE)


def _update(options: argparse.Namespace) -> None:
    from ifdsweep.catalogue.engines.local import Local

    catalogue = _open(options)
    is_shown = sys.stderr.isatty() and not options.quiet
    summary = catalogue.update(
        Local(threads=options.threads),
        force=options.force,
        accept_removals=options.accept_removals,
        progress=_ProgressLine() if is_shown else None,
    )
    if is_shown:
        sys.stderr.write("\r\x1b[K")
    print(_summary_text(summary))
    _tell_unlisted(catalogue)


def _summary_text(summary: Any) -> str:
    parts = [
        f"{_counted(summary.files, 'file')}: {summary.read:,} read, "
        f"{summary.unchanged:,} unchanged, {summary.removed:,} removed, {summary.failed:,} failed"
    ]
    if summary.unlisted:
        parts.append(f"{_counted(summary.unlisted, 'folder')} could not be listed")
    return "; ".join(parts)


_MOST_TOLD = 10


def _tell_unlisted(catalogue: Any) -> None:
    """Tells of the folders that could not be listed, on the error output."""
    folders = catalogue.snapshot.unlisted
    for folder in folders[:_MOST_TOLD]:
        path = os.path.join(catalogue.roots[folder.root], folder.folder).rstrip("/")
        _complain(f"warning: {path}: {folder.error}; what was known of its files stays", _DONE)
    if len(folders) > _MOST_TOLD:
        more = len(folders) - _MOST_TOLD
        _complain(f"warning: {more:,} more folders could not be listed: see failures", _DONE)


class _ProgressLine:
    """A line on a terminal that tells how far it is, a few times a second."""

    def __init__(self) -> None:
        self._next = 0.0

    def __call__(self, progress: Any) -> None:
        now = time.monotonic()
        if now < self._next:
            return
        self._next = now + 0.2
        of = f" of {progress.total:,}" if progress.total else ""
        sys.stderr.write(f"\r{progress.phase}: {progress.done:,}{of} files\x1b[K")
        sys.stderr.flush()


def _sql(options: argparse.Namespace) -> None:
    _show(_open(options).sql(options.query), options.format)


def _failures(options: argparse.Namespace) -> None:
    _show(_open(options).failures, options.format)


def _status(options: argparse.Namespace) -> None:
    catalogue = _open(options)
    if options.format == "json":
        print(json.dumps(_state(catalogue), indent=2))
        return
    print(f"catalogue   {shown(catalogue.location)}")
    for root in catalogue.roots:
        print(f"root        {shown(root)}")
    snapshot = catalogue.snapshot
    if not snapshot.number:
        print("snapshot    none: it was never updated")
        return
    ended = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(snapshot.ended))
    print(f"snapshot    {snapshot.number} of {ended}; {len(catalogue.snapshots)} are there")
    print(f"last update {_summary_text(snapshot.summary)}")
    for table, there in catalogue.tables.items():
        rows, parts = _counted(there.rows, "row"), _counted(there.parts, "part")
        print(f"{table:11} {rows}, {there.bytes:,} bytes in {parts}")


def _state(catalogue: Any) -> dict[str, Any]:
    """What `status` tells, for programs."""
    snapshot = catalogue.snapshot
    return {
        "catalogue": catalogue.location,
        "roots": catalogue.roots,
        "snapshot": snapshot.number,
        "started": snapshot.started,
        "ended": snapshot.ended,
        "snapshots": [each.number for each in catalogue.snapshots],
        "update": dataclasses.asdict(snapshot.summary),
        "unlisted": [dataclasses.asdict(folder) for folder in snapshot.unlisted],
        "tables": {table: there._asdict() for table, there in catalogue.tables.items()},
    }


def _vacuum(options: argparse.Namespace) -> None:
    names = _open(options).vacuum(keep=options.keep, dry_run=options.dry_run)
    for name in names:
        print(shown(name))
    what = "would be removed" if options.dry_run else "removed"
    _complain(f"{_counted(len(names), 'file')} {what}", _DONE)


def _plan(options: argparse.Namespace) -> None:
    from ifdsweep.catalogue import _jobs

    plan = _jobs.plan(
        options.catalogue, force=options.force, accept_removals=options.accept_removals
    )
    print(0 if plan is None else len(plan.partitions))


def _run(options: argparse.Namespace) -> None:
    from ifdsweep.catalogue import _jobs

    catalogue = options.catalogue or _jobs.catalogue_of(options.plan)
    if _jobs.run(catalogue, options.index, options.stride, threads=options.threads):
        raise SystemExit(_FAILED)


def _commit(options: argparse.Namespace) -> None:
    from ifdsweep.catalogue import _jobs

    print(_summary_text(_jobs.commit(options.catalogue).summary))


def _show(table: Any, kind: str) -> None:
    """Writes a table of pyarrow to the standard output."""
    if kind == "parquet":
        import pyarrow as pa
        import pyarrow.parquet as pq

        if sys.stdout.isatty():
            raise ValueError("--format parquet: the standard output is a terminal")
        pq.write_table(table, pa.PythonFile(sys.stdout.buffer, mode="w"))
    elif kind == "csv":
        from pyarrow import csv

        is_shown = sys.stdout.isatty()
        csv.write_csv(_flat(table, shown if is_shown else str), sys.stdout.buffer)
    elif kind == "json":
        for row in table.to_pylist():
            print(json.dumps(row, default=_plain))
    else:
        _print_rows(table)


def _flat(table: Any, changed: Callable[[str], str]) -> Any:
    """The table with texts for what CSV cannot hold: JSON of lists and structs, digits of bytes.

    Args:
        table: Of pyarrow.
        changed: Makes of texts, also of names, what is written.
    """
    import pyarrow as pa

    for place, field in enumerate(table.schema):
        column = table[place]
        if not _is_plain(field.type):
            values = column.to_pylist()
            texts = [None if value is None else changed(_text(value)) for value in values]
            column = pa.array(texts, pa.utf8())
        table = table.set_column(place, changed(field.name), column)
    return table


def _is_plain(kind: Any) -> bool:
    """Whether values are numbers, truth values or times, which nobody has to change."""
    import pyarrow as pa

    return bool(pa.types.is_primitive(kind) or pa.types.is_decimal(kind) or pa.types.is_null(kind))


def _text(value: object) -> str:
    if isinstance(value, str):
        return value
    return value.hex() if isinstance(value, bytes) else json.dumps(value, default=_plain)


def _plain(value: object) -> object:
    """What JSON has for a value that it does not know."""
    return value.hex() if isinstance(value, bytes) else str(value)


_WIDEST = 60


def _cells(values: Sequence[object]) -> Iterator[str]:
    for value in values:
        text = "" if value is None else shown(str(value))
        yield text if len(text) <= _WIDEST else text[: _WIDEST - 1] + "…"


def _print_rows(table: Any) -> None:
    """A line for each row, columns below each other."""
    columns = [[shown(name), *_cells(table[name].to_pylist())] for name in table.column_names]
    widths = [max(map(len, column)) for column in columns]
    for row in zip(*columns, strict=True):
        print("  ".join(c.ljust(w) for c, w in zip(row, widths, strict=True)).rstrip())


def run() -> NoReturn:
    """The console script."""
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    sys.exit(main())


if __name__ == "__main__":
    run()
