#!/usr/bin/env python3
# Prints the known answers of the congruential and shift-register generators: known_answers.py WH_TABLE
# SPDX-License-Identifier: Apache-2.0
#
# Plain recurrences on Python's integers, one step after the other; a skip is the power of the recurrence, taken from
# its definition and not from the library's tables. WH_TABLE is src/rng/tables/wh_sets.inc.
import re
import sys

ID = {"MCG31M1": 0x100000, "R250": 0x200000, "MRG32K3A": 0x300000, "MCG59": 0x400000, "WH": 0x500000}
M1, M2 = 2**32 - 209, 2**32 - 22853
FIRST, FAR = 4, 9999  # the first words, and the 10,000th


def congruential(x, a, m):
    """Words and skip of a tuple of multiplicative generators."""
    def run(skip):
        state = [xi * pow(ai, skip, mi) % mi for xi, ai, mi in zip(x, a, m)]
        while True:
            yield tuple(state)
            state = [xi * ai % mi for xi, ai, mi in zip(state, a, m)]
    return run


def matrix_power(a, e, m):
    def times(p, q):
        return [[sum(p[i][k] * q[k][j] for k in range(3)) % m for j in range(3)] for i in range(3)]
    result = [[int(i == j) for j in range(3)] for i in range(3)]
    for bit in bin(e)[2:]:
        result = times(result, result)
        if bit == "1":
            result = times(result, a)
    return result


def mrg32k3a(state):
    def run(skip):
        halves = []
        for v, row, m in ((state[:3], [M1 - 810728, 1403580, 0], M1), (state[3:], [M2 - 1370589, 0, 527612], M2)):
            power = matrix_power([[0, 1, 0], [0, 0, 1], row], skip, m)
            halves.append([sum(p * x for p, x in zip(line, v)) % m for line in power])
        x, y = halves
        while True:
            x = x[1:] + [(1403580 * x[1] - 810728 * x[0]) % M1]
            y = y[1:] + [(527612 * y[2] - 1370589 * y[0]) % M2]
            yield ((x[2] - y[2]) % M1,)
    return run


def r250(seed):
    w = []
    for _ in range(250):
        seed = seed * 69069 % 2**32
        w.append(seed)
    for t in range(32):
        w[3 + 7 * t] = w[3 + 7 * t] & (0xFFFFFFFF >> t) | 0x80000000 >> t

    def run(skip):
        v = list(w)
        while True:
            v.append(v[-250] ^ v[-147])
            if skip == 0:
                yield (v[-1],)
            else:
                skip -= 1
    return run


def main():
    rows = [[int(n) for n in re.findall(r"\d+", line)[:8]] for line in open(sys.argv[1]) if line.startswith("{")]
    far = 10**18 + 7
    cases = [
        ("MCG31M1", 0, [7777777], congruential([7777777], [1132489760], [2**31 - 1]), [0, 10**6, far]),
        ("MCG59", 0, [123456789, 98765431], congruential([123456789 + (98765431 << 32)], [13**13], [2**59]),
         [0, 10**6, far]),
        ("MRG32K3A", 0, [12345] * 6, mrg32k3a([12345] * 6), [0, 10**6, far, 2**127, 2**191 + 5, 2**300 + 2**193 + 9]),
        ("R250", 0, [20260101], r250(20260101), [0, 10**5]),
    ]
    for sub in (0, 1, 137, 272):
        seeds = [11, 22, 33, 16760000]
        cases.append(("WH", sub, seeds, congruential(seeds, rows[sub][4:], rows[sub][:4]), [0, 10**6, far]))
    print("# Made by: tools/rng/known_answers.py src/rng/tables/wh_sets.inc")
    print("brng,seeds,skip,index,words")
    for name, sub, seeds, run, skips in cases:
        for skip in skips:
            for index, words in enumerate(run(skip)):
                if index < FIRST or index == FAR:
                    print(f"0x{ID[name] + sub:X},{' '.join(map(str, seeds))},{skip:x},{index},{' '.join(map(str, words))}")
                if index == FAR:
                    break


main()
