#!/usr/bin/env python3
# Writes the seed images of the fuzzer beside itself: python3 tests/rng/corpus/make.py
# SPDX-License-Identifier: Apache-2.0
import pathlib
import struct

HERE = pathlib.Path(__file__).parent
MCG31M1, R250, MRG32K3A, MCG59, WH = (0x100000 * (row + 1) for row in range(5))


def chunk(number, data, identity=(0, 0)):
    return struct.pack("<iQQi", number, *identity, len(data)) + data


def image(brng, state, chunks=(), version=2, header_size=24, state_size=None):
    size = len(state) if state_size is None else state_size
    body = state + b"".join(chunks)
    if version == 2:
        return struct.pack("<B3x4sHxxiHxxi", 2, b"RNG\0", header_size, size, len(chunks), brng) + body
    return struct.pack("<B3x4s2xHH2xi", version, b"RNG\0", size, len(chunks), brng) + body


mcg31m1 = struct.pack("<II", 7, 1132489760)
mcg59 = struct.pack("<QQ", 7, 302875106592253)
wh = struct.pack("<8I", 1, 2, 3, 4, 125, 117, 127, 126)
r250 = struct.pack("<250I", *((2654435761 * (k + 1)) & 0xFFFFFFFF for k in range(250))) + struct.pack("<ii", 0, 103)
images = {
    "mcg31m1": image(MCG31M1, mcg31m1),
    "mcg31m1_old_number": image(0, mcg31m1),
    "mcg59": image(MCG59, mcg59),
    "mrg32k3a_chunks": image(MRG32K3A, struct.pack("<6I", *[12345] * 6),
                             [chunk(1, b"abcdefgh"), chunk(5, b"xyz", (11, 22)), chunk(5, b"xyz", (11, 22))]),
    "shared_sizes_differ": image(MCG59, mcg59, [chunk(1, b"abcdefgh", (1, 2)), chunk(1, b"a", (1, 2))]),
    "wh_set_272": image(WH + 272, wh),
    "r250": image(R250, r250),
    "r250_position_out_of_range": image(R250, r250[:-4] + struct.pack("<i", 1 << 30)),
    "wh_word_out_of_range": image(WH, struct.pack("<8I", 0xFFFFFFFF, 2, 3, 4, 125, 117, 127, 126)),
    "version_0": image(MCG59, mcg59, [struct.pack("<ii", 3, 4) + b"data"], version=0),
    "version_1": image(MCG59, mcg59, [chunk(3, b"data")], version=1),
    "version_3_chunk": image(MCG59, mcg59, [chunk(3, b"data")], version=3),
    "magic_first": b"RNG" + image(MCG59, mcg59, version=0)[3:],
    "negative_chunk": image(MCG59, mcg59, [struct.pack("<iQQi", 3, 0, 0, -1)]),
    "huge_chunk": image(MCG59, mcg59, [struct.pack("<iQQi", 3, 0, 0, 0x7FFFFFFF)]),
    "negative_number": image(-5, mcg59),
    "empty_row": image(279, b"", state_size=-16),
    "abstract": image(0xA00000, b"\0" * 32),
    "header_23": image(MCG59, mcg59, header_size=23),
    "short_state": image(MCG59, mcg59)[:30],
    "short_header": image(MCG59, mcg59)[:10],
}
for name, data in images.items():
    (HERE / f"{name}.qst").write_bytes(data)
