#!/usr/bin/env python3
"""Reads what other people's encoders write, and looks for the same tags in all of it.

Usage: containers_test.py PROGRAM

A photograph with an Exif block of some fifty tags is made in either byte order, and put into every
container by the encoders of Debian. Whatever the container, the program must tell of that block what
it tells of it in the JPEG file: the same records, and each entry with its type, count, value and places,
counted from the TIFF header.
"""

import json
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import typing

TOOLS = ("cjxl", "convert", "cwebp", "exiftool", "exiv2", "heif-enc", "opj_compress", "webpmux")

# What exiftool puts into the photograph: texts in ASCII and beyond, numbers of each kind, a thumbnail.
TAGS = r"""
-IFD0:ImageDescription=A heron
-IFD0:Make=Example Optics
-IFD0:Model=Trail 2
-IFD0:Orientation#=6
-IFD0:Software=Firmware 1.2
-IFD0:ModifyDate=2024:05:06 06:12:44
-IFD0:Artist=R. Moor
-IFD0:Copyright=© R. Moor
-IFD0:XPTitle=Reiher 鷺
-ExifIFD:ExposureTime=1/500
-ExifIFD:FNumber=5.6
-ExifIFD:ExposureProgram#=2
-ExifIFD:ISO=400
-ExifIFD:DateTimeOriginal=2024:05:06 06:12:44
-ExifIFD:CreateDate=2024:05:06 06:12:44
-ExifIFD:OffsetTimeOriginal=+02:00
-ExifIFD:ShutterSpeedValue=1/500
-ExifIFD:ApertureValue=5.6
-ExifIFD:BrightnessValue=-1.5
-ExifIFD:ExposureCompensation=-1/3
-ExifIFD:MaxApertureValue=4
-ExifIFD:SubjectDistance=12.5
-ExifIFD:MeteringMode#=5
-ExifIFD:LightSource#=9
-ExifIFD:Flash#=16
-ExifIFD:FocalLength=300
-ExifIFD:SubjectArea=10 20 30 40
-ExifIFD:UserComment=Grüße vom Moor 鷺
-ExifIFD:SubSecTimeOriginal=123
-ExifIFD:ExifImageWidth=64
-ExifIFD:ExifImageHeight=48
-ExifIFD:FileSource#=3
-ExifIFD:WhiteBalance#=1
-ExifIFD:ImageUniqueID=0123456789abcdef0123456789abcdef
-ExifIFD:LensInfo=100 300 4 5.6
-ExifIFD:LensModel=Tele 300 f/5.6
-InteropIFD:InteropIndex=R98
-GPS:GPSLatitudeRef=N
-GPS:GPSLatitude=51.50337
-GPS:GPSLongitudeRef=W
-GPS:GPSLongitude=2.245
-GPS:GPSAltitudeRef#=0
-GPS:GPSAltitude=12.25
-GPS:GPSTimeStamp=04:12:44
-GPS:GPSDateStamp=2024:05:06
-IFD1:ThumbnailImage<=thumbnail.jpg
"""
LEAST_FACTS = 60

ORDERS = ("II", "MM")

# What is told of the file, not of the block; and the places in the file.
OF_FILE = {"Filename", "FileModDate", "FileSize", "Format",
           "file", "container", "stream", "embedded"}
PLACES = {"Offset", "entryOffset", "valueOffset"}

# Of a text, in characters: more than two segments of a JPEG file hold.
LONG = 160_000

# Of the index of a file with two pictures, with its segment.
INDEX_SIZE = 90


class Folder:
    """The folder of the files, and the program that reads them."""

    def __init__(self, path, program):
        self.path = pathlib.Path(path)
        self.program = program

    def run(self, *command, **options):
        """What a tool writes to its standard output; one that fails ends the test."""
        done = subprocess.run(command, cwd=self.path, check=False, capture_output=True, **options)
        if done.returncode != 0:
            sys.exit(f"{' '.join(command)}: {done.stderr.decode(errors='replace')}")
        return done.stdout

    def bytes_of(self, name):
        return (self.path / name).read_bytes()

    def write(self, name, content):
        (self.path / name).write_bytes(content)
        return name

    def plain(self, name):
        """Makes a file of its kind that has no Exif block as yet."""
        shutil.copy(self.path / ("plain" + pathlib.Path(name).suffix), self.path / name)

    def lines_of(self, form, name):
        """What the program tells of a file, whether it can read it or not, an object for each line."""
        done = subprocess.run([self.program, "--quiet", "--streams", "all", "--format", form, name],
                              cwd=self.path, check=False, stdout=subprocess.PIPE)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def streams_of(self, name):
        """Each stream of a file: container, whether it is embedded, warnings, records, entries."""
        facts = self.lines_of("facts", name)
        return [self.stream(told, [fact for fact in facts if fact.get("stream") == told["Stream"]])
                for told in self.lines_of("ndjson", name)]

    @staticmethod
    def stream(told, facts):
        """A stream as the test compares it, whatever file it lies in."""
        def in_stream(value):
            if isinstance(value, list):
                return [in_stream(each) for each in value]
            if isinstance(value, dict):
                # The place of an unknown tag's value counts from the header as it is.
                origin = 0 if "ID" in value else told["initialOffset"]
                return {key: each - origin if key in PLACES else in_stream(each)
                        for key, each in value.items() if key not in OF_FILE}
            return value
        return Stream(told.get("container"), told.get("embedded", False), told["warnings"],
                      told["error"], in_stream(told.get("records") or []), in_stream(facts))


class Stream(typing.NamedTuple):
    """What the program tells of one Exif block."""
    container: str
    embedded: bool
    warnings: list
    error: object
    records: list
    facts: list


# The writers: each makes a file of a photograph.

def by_heif_enc(folder, photo, name):
    folder.run("heif-enc", "-q", "50", photo, "-o", name)


def by_cjxl(folder, photo, name):
    folder.run("cjxl", "--quiet", "--lossless_jpeg=1", photo, name)


def by_cwebp(folder, photo, name):
    folder.run("cwebp", "-quiet", "-metadata", "exif", photo, "-o", name)


def by_webpmux(folder, photo, name):
    folder.write("block", folder.run("exiftool", "-b", "-Exif", photo))
    folder.run("webpmux", "-set", "exif", "block", "plain.webp", "-o", name)


def by_imagemagick(folder, photo, name):
    folder.run("convert", photo, name)


def by_exiftool(folder, photo, name):
    """The block as it is; in a PSD file the tags one by one, for it takes no block there."""
    folder.plain(name)
    what = ("-All:All", "-unsafe", "-ThumbnailImage", f"-ExifByteOrder={photo[:2]}") \
        if name.endswith((".psd", ".psb")) else ("-Exif",)
    folder.run("exiftool", "-m", "-q", "-overwrite_original", "-tagsFromFile", photo, *what, name)


def by_exiv2(folder, photo, name):
    folder.plain(name)
    folder.run("exiv2", "-ie-", name, input=folder.run("exiv2", "-ea-", photo))


class Case(typing.NamedTuple):
    """A file that one writer makes of a photograph."""
    writer: typing.Callable
    suffix: str
    container: str
    embedded: bool = False


CASES = (
    Case(by_heif_enc, ".heic", "heif"),
    Case(by_heif_enc, ".avif", "avif"),
    Case(by_cjxl, ".jxl", "jxl", embedded=True),
    Case(by_cwebp, ".webp", "webp"),
    Case(by_webpmux, ".webp", "webp"),
    Case(by_imagemagick, ".png", "png"),
    Case(by_imagemagick, ".webp", "webp"),
    Case(by_exiftool, ".heic", "heif"),
    Case(by_exiftool, ".avif", "avif"),
    Case(by_exiftool, ".jxl", "jxl"),
    Case(by_exiftool, ".png", "png"),
    Case(by_exiftool, ".webp", "webp"),
    Case(by_exiftool, ".jp2", "jp2"),
    Case(by_exiftool, ".psd", "psd"),
    Case(by_exiftool, ".psb", "psd"),
    Case(by_exiv2, ".png", "png", embedded=True),
    Case(by_exiv2, ".webp", "webp"),
    Case(by_exiv2, ".jp2", "jp2"),
    Case(by_exiv2, ".psd", "psd"),
    Case(by_exiv2, ".jpg", "jpeg"),
)


def make_photographs(folder):
    """A JPEG file with the tags in either byte order, and files of each kind without an Exif block."""
    folder.run("convert", "-size", "64x48", "gradient:navy-gold", "plain.jpg")
    folder.run("convert", "plain.jpg", "-resize", "32x24", "thumbnail.jpg")
    folder.write("tags", TAGS.encode())
    for order in ORDERS:
        folder.run("exiftool", "-q", "-charset", "utf8", f"-ExifByteOrder={order}", "-@", "tags",
                   "-o", f"{order}.jpg", "plain.jpg")
    for kind in ("png", "ppm", "psb", "psd", "webp"):
        folder.run("convert", "plain.jpg", f"plain.{kind}")
    folder.run("heif-enc", "plain.jpg", "-o", "plain.heic")
    folder.run("heif-enc", "plain.jpg", "-o", "plain.avif")
    folder.run("cjxl", "--quiet", "--container=1", "plain.ppm", "plain.jxl")
    folder.run("opj_compress", "-i", "plain.ppm", "-o", "plain.jp2")


def differences(place, found, expected):
    """A line for each value that is not as it should be."""
    if isinstance(found, list) and isinstance(expected, list) and len(found) == len(expected):
        for number, (one, other) in enumerate(zip(found, expected)):
            yield from differences(f"{place}[{number}]", one, other)
    elif isinstance(found, dict) and isinstance(expected, dict):
        for key in {**found, **expected}:
            yield from differences(f"{place}.{key}", found.get(key), expected.get(key))
    elif found != expected:
        yield f"{place}: {str(found)[:200]}, expected {str(expected)[:200]}"


def compared(name, streams, expected):
    """The differences between two lists of streams."""
    return differences(name, [stream._asdict() for stream in streams],
                       [stream._asdict() for stream in expected])


def blocks_alone(folder, photographs):
    """The blocks as files of their own have the tags of the photographs."""
    for order, photograph in photographs.items():
        name = folder.write(f"{order}.tif", folder.run("exiftool", "-b", "-Exif", f"{order}.jpg"))
        (alone,) = folder.streams_of(name)
        stored = [fact for fact in alone.facts if not fact.get("default")]
        yield from differences(name, stored, photograph.facts)
        if len(stored) < LEAST_FACTS or photograph.warnings:
            yield f"{order}.jpg: {len(stored)} tags, warnings {photograph.warnings}"


def written_by_others(folder, photographs):
    """Compares every case with the photograph."""
    for case in CASES:
        for order in ORDERS:
            name = f"{case.writer.__name__}_{order}{case.suffix}"
            case.writer(folder, f"{order}.jpg", name)
            # exiv2 writes every block anew, little-endian.
            expected = photographs["II" if case.writer is by_exiv2 else order]
            expected = expected._replace(container=case.container, embedded=case.embedded)
            yield from compared(name, folder.streams_of(name), [expected])


def without_a_block(folder):
    """The files of each kind that have no Exif block say so."""
    for kind in sorted({case.suffix for case in CASES}):
        (told,) = folder.lines_of("ndjson", f"plain{kind}")
        wanted = "noExifSegment" if kind == ".jpg" else "noTiffStream"
        if (told["error"] or {}).get("id") != f"ifdsweep:{wanted}":
            yield f"plain{kind}: {told['error']}, expected {wanted}"


def several_pictures(folder, photographs):
    """Files of two photographs, one in either byte order."""
    folder.run("heif-enc", "II.jpg", "MM.jpg", "-o", "two.heic")
    pair_of_pictures(folder, "two.mpo")
    for name, container in (("two.heic", "heif"), ("two.mpo", "jpeg")):
        expected = [photographs[order]._replace(container=container) for order in ORDERS]
        yield from compared(name, folder.streams_of(name), expected)


def pair_of_pictures(folder, name):
    """Writes a file of two JPEG pictures with an index of them (CIPA DC-007)."""
    first, second = (folder.bytes_of(f"{order}.jpg") for order in ORDERS)
    place = 2 + 2 + int.from_bytes(first[4:6], "big")  # behind the Exif segment
    header = place + 8                                 # of the index, from which places count
    size = len(first) + INDEX_SIZE
    entries = struct.pack("<IIIHH", 0x20030000, size, 0, 0, 0)
    entries += struct.pack("<IIIHH", 0x00020002, len(second), size - header, 0, 0)
    index = struct.pack("<2sHIH", b"II", 42, 8, 3)
    index += struct.pack("<HHI4s", 0xB000, 7, 4, b"0100")
    index += struct.pack("<HHII", 0xB001, 4, 1, 2)
    index += struct.pack("<HHII", 0xB002, 7, len(entries), len(index) + 12 + 4)
    index += struct.pack("<I", 0) + entries
    segment = struct.pack(">HH4s", 0xFFE2, 2 + 4 + len(index), b"MPF\0") + index
    assert len(segment) == INDEX_SIZE
    folder.write(name, first[:place] + segment + first[place:] + second)
    if folder.run("exiftool", "-b", "-MPImage2", name) != second:
        sys.exit("exiftool does not find the second picture")


def longer_than_a_segment(folder):
    """An Exif block that takes three segments of a JPEG file is what it is in a PNG file."""
    folder.write("long.txt", b"0123456789" * (LONG // 10))
    for kind in ("jpg", "png"):
        folder.plain(f"long.{kind}")
        folder.run("exiftool", "-m", "-q", "-overwrite_original", "-ExifByteOrder=II",
                   "-IFD0:ImageDescription<=long.txt", "-IFD0:XResolution=72", "-IFD0:YResolution=72",
                   "-IFD0:ResolutionUnit=inches", "-ExifIFD:ISO=400", f"long.{kind}")
    (in_png,) = folder.streams_of("long.png")
    if not in_png.records or len(in_png.records[0]["ImageDescription"]) != LONG:
        yield "long.png: the long text is not whole"
    yield from compared("long.jpg", folder.streams_of("long.jpg"),
                        [in_png._replace(container="jpeg", embedded=True)])


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    if missing:
        sys.exit(f"missing: {' '.join(missing)}; script/setup installs them")
    with tempfile.TemporaryDirectory() as path:
        folder = Folder(path, program)
        make_photographs(folder)
        photographs = {order: folder.streams_of(f"{order}.jpg")[0] for order in ORDERS}
        complaints = [*blocks_alone(folder, photographs), *written_by_others(folder, photographs),
                      *without_a_block(folder), *several_pictures(folder, photographs),
                      *longer_than_a_segment(folder)]
    print("\n".join(complaints) or f"{len(CASES)} encoders and containers, in either byte order")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
