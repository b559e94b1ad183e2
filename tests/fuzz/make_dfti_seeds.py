#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_dfti_sequences: one program per kind of
configuration (complex/real, packed formats, split storage, strides,
distances, placement), encoded for the target's byte reader."""
import os
import sys

# Parameter number and the lowest value of its draw in the target.
P = dict(fscale=(4, 0), count=(7, 0), layout8=(8, 39), layout10=(10, 39), placement=(11, 43),
         istr=(12, -6), ostr=(13, -6), idist=(14, -40), odist=(15, -40), pack=(21, 54), users=(26, 0))


def create(double, cplx, lens, how=0):
    b = [0, how, 0, 1 if double else 0, 0, 1 if cplx else 0, 0, len(lens) - 1]
    for L in (lens + [1] * 7)[:7]:
        b += [0, L - 1]
    return b + [0]


def setv(name, v):
    num, lo = P[name]
    b = [0, 0, num]  # op 0 (set a value), then the parameter
    if name == 'fscale':  # drawn by Value(): (byte - 128) / 128 plus sel / 4096
        return b + [0, 0, 128 + int(v * 32)]
    for x in (v if isinstance(v, list) else [v]):
        b += [0, x - lo]
    return b


def compute(forward, seed=7):
    return [4, 1 if forward else 0, seed, 0, 0]


COMMIT, FREE = [3], [6]
both = lambda s=7: compute(True, s) + compute(False, s + 1)
seeds = {
    'c1_forward': create(True, True, [8]) + COMMIT + both(),
    'c1_prime_out': create(True, True, [7]) + setv('placement', 44) + COMMIT + both(),
    'c1_single_strided': create(False, True, [6]) + setv('placement', 44)
        + setv('istr', [3, 2]) + setv('ostr', [1, -1]) + COMMIT + both(),
    'c2_in_place': create(True, True, [3, 4]) + setv('fscale', 0.5) + COMMIT + both(),
    'c3_split_out': create(True, True, [2, 3, 2]) + setv('layout8', 42)
        + setv('placement', 44) + COMMIT + both(),
    'c1_batch': create(True, True, [5]) + setv('count', 3) + setv('idist', 6)
        + setv('odist', 5) + setv('placement', 44) + COMMIT + both(),
    'r1_ccs': create(True, False, [6]) + setv('placement', 44) + COMMIT + both(),
    'r1_pack_odd': create(True, False, [5]) + setv('pack', 55) + setv('placement', 44)
        + COMMIT + both(),
    'r1_perm_in_place': create(False, False, [8]) + setv('pack', 56) + COMMIT + both(),
    'r1_cce_batch': create(True, False, [4]) + setv('layout10', 39) + setv('count', 2)
        + setv('idist', 4) + setv('odist', 3) + setv('placement', 44) + COMMIT + both(),
    'r2_cce': create(True, False, [3, 4]) + setv('layout10', 39) + setv('placement', 44)
        + COMMIT + both(),
    'r2_packed_refused': create(True, False, [3, 4]) + COMMIT + both(),
    'recommit_after_strides': create(True, True, [4]) + COMMIT + compute(True)
        + setv('istr', [2, -1]) + compute(True) + COMMIT + compute(True) + FREE,
    'users_shared': create(True, True, [16]) + setv('users', 4) + COMMIT + both(),
    'md_shortcut': create(False, True, [2, 2], how=5) + COMMIT + both(),
}
out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), 'corpus',
                                                         'dfti_sequences')
os.makedirs(out, exist_ok=True)
for name, data in seeds.items():
    with open(os.path.join(out, name), 'wb') as f:
        f.write(bytes(x & 0xFF for x in data))
