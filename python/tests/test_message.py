"""`Message`: warnings and errors as objects."""

import copy
import json
import os
import pickle
from pathlib import Path

import pytest
from designed_files import ASCII, IMAGE, LONG, SHORT, Field, designed_files, tiff

import ifdsweep

PREFIX = "Velmora:pixlore:ifdsweep:"
DAMAGED = tiff([[*IMAGE, Field(700, ASCII, b"x", 2**20)]])


def warning_of(content: bytes = DAMAGED) -> ifdsweep.Message:
    """The only warning of a file."""
    (warning,) = ifdsweep.read(content).warnings
    return warning


class TestWhatIsTold:
    def test_a_warning_says_what_and_where(self) -> None:
        warning = warning_of()
        file = ifdsweep.read(DAMAGED)
        entry = file[0].entries[-1]
        assert (warning.id, warning.short_id) == (PREFIX + "tagDataPastEOF", "tagDataPastEOF")
        assert warning.arguments == (700, 2**20)
        assert (
            warning.text
            == str(warning)
            == "the value of tag 700, 1048576 bytes, reaches past the end of the file"
        )
        assert (warning.path, warning.tag, warning.position) == ("0", 700, entry.position)
        assert entry.dropped_by == warning.id
        assert repr(warning) == f"<Message tagDataPastEOF: {warning.text}>"

    def test_an_error_has_no_place(self) -> None:
        error = ifdsweep.read(b"Dear reader, this is no image.\n").error
        assert error is not None
        assert (error.path, error.tag, error.position) == (None, None, None)
        assert error.short_id == "badEndianness"

    def test_it_explains_itself(self) -> None:
        lines = warning_of().explain().splitlines()
        assert lines[0] == PREFIX + "tagDataPastEOF"
        assert lines[1] == "  the value of tag {1}, {2} bytes, reaches past the end of the file"
        assert len(lines) == 4
        assert warning_of().explain() == ifdsweep.explain("tagDataPastEOF")

    def test_a_file_name_in_it_is_text_whatever_its_bytes(self, tmp_path: Path) -> None:
        path = os.fsencode(tmp_path) + b"/\xff\x1b\xe2\x82.tif"
        Path(os.fsdecode(path)).write_bytes(b"Dear reader, this is no image.\n")
        error = ifdsweep.read(os.fsdecode(path)).error
        assert error is not None
        assert [type(argument) for argument in error.arguments] == [int, int, str]
        assert error.arguments[2] == f"{tmp_path}/\ufffd\x1b\ufffd\ufffd.tif"
        assert list(error.arguments) == error.to_dict()["arguments"]
        assert "\x1b" not in str(error) + repr(error)

    def test_the_dicts_of_all_files_are_those_of_the_json(self) -> None:
        count = 0
        for name, content in designed_files().items():
            file = ifdsweep.read(content, name=name, check=True)
            natural = json.loads(file.to_json())
            assert [warning.to_dict() for warning in file.warnings] == natural["warnings"], name
            assert (file.error and file.error.to_dict()) == natural["error"], name
            for message in file.warnings:
                told = message.to_dict()
                assert list(message.arguments) == told["arguments"]
                assert (message.id, message.text) == (told["id"], told["text"])
                assert (message.path, message.tag, message.position) == (
                    told.get("path"),
                    told.get("tag"),
                    told.get("offset"),
                )
                count += 1
        assert count > 1000


class TestContent:
    def test_equal_content_is_equal_and_has_equal_hashes(self) -> None:
        assert warning_of() == warning_of()
        assert hash(warning_of()) == hash(warning_of())
        assert len({warning_of(), warning_of()}) == 1

    @pytest.mark.parametrize(
        "content",
        [
            tiff([[*IMAGE, Field(700, ASCII, b"x", 2**20 + 1)]]),  # another argument
            tiff([[*IMAGE[:-1], Field(700, ASCII, b"x", 2**20)]]),  # another place
            tiff([[*IMAGE, Field(700, 99, b"x")]]),  # another id
        ],
    )
    def test_other_content_is_not(self, content: bytes) -> None:
        assert warning_of() != warning_of(content)

    def test_it_is_equal_to_nothing_else(self) -> None:
        assert warning_of() != warning_of().text

    @pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
    def test_it_is_pickled(self, protocol: int) -> None:
        back = pickle.loads(pickle.dumps(warning_of(), protocol))
        assert (back, back.to_dict()) == (warning_of(), warning_of().to_dict())

    def test_a_copy_is_the_same_object(self) -> None:
        warning = warning_of()
        assert copy.copy(warning) is warning
        assert copy.deepcopy(warning) is warning

    def test_it_outlives_its_file(self) -> None:
        warnings = ifdsweep.read(
            tiff([[Field(256, SHORT, [1]), Field(330, LONG, [2**31])]])
        ).warnings
        assert [warning.short_id for warning in warnings] != []
        assert all(warning.text for warning in warnings)

    def test_it_cannot_be_made_or_changed(self) -> None:
        with pytest.raises(TypeError):
            ifdsweep.Message()
        with pytest.raises(AttributeError):
            warning_of().text = "fine"  # type: ignore[misc]
