#!/usr/bin/env python3
"""make_seeds.py FOLDER: writes the seeds of the fuzz targets, and inputs of past faults, to FOLDER/TARGET/NAME."""

import pathlib
import struct
import sys


def u16(value):
    return struct.pack("<H", value)


def word(value):
    return struct.pack("<II", 4, value & 0xFFFFFFFF)


def text(value):
    return struct.pack("<II", 1, len(value)) + value


def flat_form(*entries):
    """Each entry is (key, tag, bytes of the value)."""
    form = struct.pack("<Q", len(entries))
    for key, tag, value in entries:
        form += struct.pack("<Q", len(key)) + key + bytes([tag]) + value
    return form


def option_text(key, value):
    return (key, 5, struct.pack("<Q", len(value)) + value)


def framework(number):
    return (b"OptionCommonFramework", 3, struct.pack("<i", number))


EVERY_TYPE = flat_form(
    (b"B", 6, struct.pack("<i", 3) + b"\xff\0\x7f"),
    (b"a", 0, b"\1"),
    (b"ab", 1, struct.pack("<f", 1.5)),
    (b"d", 2, struct.pack("<d", -2.5)),
    (b"i", 3, struct.pack("<i", -2)),
    (b"l", 4, struct.pack("<q", 1 << 32)),
    option_text(b"s", "中文".encode()),
)

FLAT_FORM = {
    "empty": flat_form(),
    "every_type": EVERY_TYPE,
    "no_bytes": flat_form((b"k", 6, struct.pack("<i", 0)), (b"n", 6, struct.pack("<i", -1))),
    "unknown_tag": flat_form((b"m", 7, b""), (b"k", 0, b"\0")),
    "zeros_in_keys": flat_form((b"k\0", 0, b"\1"), (b"k\0", 6, struct.pack("<i", 1) + b"v"), (b"k\0x", 6, bytes(4))),
    "same_key_twice": flat_form(option_text(b"k", b"v\0w"), (b"k", 3, bytes(4))),
}


def init_request(*entries, number=9):
    options = flat_form(framework(number), *entries)
    return word(0) + word(len(options)) + options


def requests(*sequence):
    return b"".join(u16(len(request)) + request for request in sequence)


MODEL = init_request(
    option_text(b"OptionCommonModelPath", b"a model of some bytes"),
    option_text(b"OptionCommonModelName", b"output"),
    option_text(b"OptionOpenvinoDevie", b"CPU"),
)

DISPATCHER = {
    "inference": requests(
        MODEL, word(1) + word(0), word(1) + word(1), word(2) + word(0) + word(0), word(2) + word(1) + word(0),
        word(3) + word(0) + word(4) + b"abcd", word(4), word(5) + word(0) + word(6), word(6) + word(0), word(9)),
    "refused": requests(
        MODEL, word(3) + word(9) + word(4) + b"abcd", word(3) + word(0) + word(40) + bytes(40),
        word(5) + word(0) + word(3), word(5) + word(5) + word(6)),
    "shapes": requests(
        MODEL, word(8) + word(1) + word(0) + word(2) + word(5) + word(7), word(2) + word(1) + word(0),
        word(8) + word(0) + word(0) + word(0), word(2) + word(0) + word(0), word(6) + word(0), word(7)),
    "no_model": requests(init_request(), word(1) + word(0), word(4), word(7)),
    "other_framework": requests(init_request(number=5), word(4), word(10) + b"nothing"),
    "next_model": requests(MODEL, word(4), init_request(option_text(b"OptionCommonModelPath", b"ab")), word(7)),
    "key_too_long": requests(init_request(option_text(b"OptionOpenvinoMakeEncryptedKey", b"12345")), word(4)),
}

SUCCESS = word(0) + text(b"")


def replies(*sequence):
    """Each entry is the number of a call and the host's reply, or None if the host ends."""
    return b"".join(
        bytes([call]) + u16(len(reply)) + reply if reply is not None else bytes([0xF0 + (call + 3) % 9]) + u16(0)
        for call, reply in sequence)


INFO = text(b"y") + word(9) + word(6) + word(2) + word(-1) + word(7)
REMOTE_REPLY = {
    "inference": replies((1, word(2)), (2, INFO), (3, SUCCESS), (4, SUCCESS), (5, word(3) + b"abc" + SUCCESS),
                         (6, word(2) + b"ab" + SUCCESS), (7, word(1) + text(b"k") + text(b"v")), (8, SUCCESS)),
    "failures": replies((3, word(5) + text(b"no")), (4, word(7) + text(b"")), (4, word(0) + text(b"odd")),
                        (5, word(3) + b"abc" + word(-1) + text(b"no")), (6, word(2) + b"ab" + word(1) + text(b"no"))),
    "wrong_tags": replies((2, word(1)), (4, text(b"")), (5, text(b"abc")), (7, word(2) + text(b"k") + word(1))),
    "past_the_end": replies((5, word(0xFFFFFFF0)), (0, SUCCESS), (2, struct.pack("<II", 1, 22_021_113)), (0, SUCCESS),
                            (7, word(1) + struct.pack("<II", 1, 22_021_104)), (4, SUCCESS)),
    "to_the_end": replies((2, struct.pack("<II", 1, 22_021_112))),
    "run_to_the_end": replies((5, word(22_021_112)), (6, word(1) + b"a")),
    "deaths": replies(*(step for call in range(9) for step in ((0, SUCCESS), (call, None), (call, SUCCESS)))),
    "next_init_fails": replies((0, word(3) + text(b"no model")), (4, SUCCESS)),
}


def steps(*sequence):
    """Each entry is a number and its size in bytes."""
    return b"".join(number.to_bytes(size, "little") for number, size in sequence)


def writes(*numbers):
    """Writes of these sizes, then the end of writing."""
    return b"".join(steps((1, 1), (number, 2)) for number in numbers) + b"\x06"


LARGE = 0xE000 + 270_000 // 34
CACHE_STREAM = {
    "bytes": steps((0, 1), (0, 1), (5, 1), (6, 1), (0, 1), (1, 1), (1, 1), (1, 1)),
    "blocks": writes(4095, 1, 4096, 4097) + steps((5, 1), (4095, 2), (0, 1), (5, 1), (8000, 2), (5, 1), (8999, 2)),
    "large": writes(5, LARGE, 4096) + steps((5, 1), (17, 2), (5, 1), (LARGE, 2), (5, 1), (LARGE, 2), (1, 1)),
    "whole_blocks": writes(4096, 4096) + steps((5, 1), (8999, 2), (1, 1), (0, 1), (3, 1), (8000, 3), (5, 1), (8999, 2)),
    "header_last": steps((1, 1), (LARGE, 2), (2, 1), (100, 3), (1, 1), (50, 2), (4, 1), (0, 3), (0, 1), (6, 1),
                         (4, 1), (300, 3), (5, 1), (200, 2), (3, 1), (7, 3), (0, 1), (1, 1), (2, 1), (40_000, 3),
                         (5, 1), (8999, 2)),
    "nothing": b"\x06" + steps((0, 1), (1, 1), (5, 1), (10, 2)),
}


def pattern(size):
    return bytes((i * 7 + size) % 256 for i in range(size))


MODEL_FILE_CIPHER = {
    f"{size}_{mode}": bytes([mode]) + b"Key!" + pattern(size)
    for size, mode in ((0, 1), (1, 1), (15, 3), (16, 1), (16, 0), (40, 7), (255, 0), (256, 1), (256, 0), (300, 11),
                       (600, 0))
}


def npy(version, header):
    length = struct.pack("<H" if version == 1 else "<I", len(header))
    return b"\x93NUMPY" + bytes([version, 0]) + length + header


NPY = {
    "as_numpy_writes_it": npy(1, b"{'descr': '<f4', 'fortran_order': False, 'shape': (1, 576), }".ljust(117) + b"\n"),
    "scalar": npy(1, b"{'descr': '|u1', 'fortran_order': False, 'shape': (), }\n") + b"x",
    "one_dimension": npy(2, b"{\"shape\":(7,),\"fortran_order\":True,'descr':'<i8'}") + bytes(56),
    "version_3": npy(3, b"{'descr': '|b1', 'fortran_order': False, 'shape': (0, 9223372036854775807), }\n"),
    "many_dimensions": npy(2, b"{'descr': '<f2', 'fortran_order': False, 'shape': (" + b"1," * 120 + b"), }"),
    "too_large": npy(1, b"{'descr': '<f8', 'fortran_order': False, 'shape': (99999999999999999999, 1), }"),
    "negative": npy(1, b"{'descr': '<i2', 'fortran_order': False, 'shape': (-2, 3), }"),
    "claims_much": b"\x93NUMPY\2\0\xff\xff\xff\xff{",
}

SEEDS = {
    "cache_stream": CACHE_STREAM,
    "dispatcher": DISPATCHER,
    "flat_form": FLAT_FORM,
    "model_file_cipher": MODEL_FILE_CIPHER,
    "npy": NPY,
    "remote_reply": REMOTE_REPLY,
}


def main():
    folder = pathlib.Path(sys.argv[1])
    for target, seeds in SEEDS.items():
        place = folder / target
        place.mkdir(parents=True, exist_ok=True)
        for old in place.iterdir():
            old.unlink()
        for name, content in seeds.items():
            (place / name).write_bytes(content)


if __name__ == "__main__":
    main()
