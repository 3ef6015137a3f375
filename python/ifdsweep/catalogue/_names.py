"""Names of the files of a catalogue, as `_model` tells them."""

import re

_NUMBER = "[0-9]{6,18}"
_UUID = "[0-9a-f]{32}"
ATTEMPT = re.compile(_UUID)
"""What a try of a partition is named."""
ITEMS_NAME = re.compile(f"work/{_NUMBER}/items-{_UUID}\\.parquet")
PART_NAME = re.compile(
    f"(?:files|images|tags|warnings|others)/s({_NUMBER})-p[0-9]{{5,18}}-{_UUID}\\.parquet"
)
_TEMPORARY = re.compile(rf"(?:.*/)?(?:\.{_UUID}\.part|[^/]+\.(?:json|parquet)\.claim)")


def snapshot_name(number: int) -> str:
    """Of a snapshot."""
    return f"snapshots/{number:06}.json"


def snapshot_of(name: str) -> int | None:
    """The number of the snapshot with a name; None where it is none's."""
    match = re.fullmatch(rf"snapshots/({_NUMBER})\.json", name)
    return int(match[1]) if match and snapshot_name(int(match[1])) == name else None


def work_folder(snapshot: int) -> str:
    """Of what a snapshot is made with."""
    return f"work/{snapshot:06}"


def work_number(name: str) -> int | None:
    """The number of the snapshot that a file in a work folder is for; None for others."""
    match = re.match(f"work/({_NUMBER})/", name)
    return (
        int(match[1]) if match and work_folder(int(match[1])) == name[: match.end() - 1] else None
    )


def again_without(snapshot: int) -> str:
    """What to do about an update that cannot be gone on with."""
    return f"remove {work_folder(snapshot)} and update again"


def plan_name(snapshot: int) -> str:
    """Of the plan for a snapshot."""
    return f"{work_folder(snapshot)}/plan.json"


def items_name(snapshot: int, digest: str) -> str:
    """Of what a plan does with single files."""
    return f"{work_folder(snapshot)}/items-{digest}.parquet"


def receipt_name(snapshot: int, partition: int) -> str:
    """Of the receipt of a partition."""
    return f"{work_folder(snapshot)}/done/{partition:05}.json"


def attempt_file_name(snapshot: int, partition: int, attempt: str, table: str) -> str:
    """Of a table that a try of a partition makes."""
    return f"{work_folder(snapshot)}/attempts/{partition:05}.{attempt}/{table}.parquet"


def part_file_name(snapshot: int, partition: int, attempt: str, table: str) -> str:
    """Of the same when it is a part of the catalogue."""
    return f"{table}/s{snapshot:06}-p{partition:05}-{attempt}.parquet"


def part_snapshot(name: str) -> int | None:
    """The number of the snapshot that a file of a part was made for; None for others."""
    match = PART_NAME.fullmatch(name)
    return int(match[1]) if match else None


def temporary_name(identifier: str) -> str:
    """Of a file in a folder that is being written and has no name yet."""
    return f".{identifier}.part"


def claim_name(name: str) -> str:
    """Of the file that is there for a moment while a name is given."""
    return f"{name}.claim"


def is_temporary(name: str) -> bool:
    """Whether it is one of these."""
    return _TEMPORARY.fullmatch(name) is not None
