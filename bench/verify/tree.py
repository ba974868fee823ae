#!/usr/bin/env python3
# The verification benchmarks' data, the same on every run and made in
# seconds: everything is cut from one seeded random pool.
#   tree.py WORK FILES LARGE BIG_MIB
# WORK/tree holds FILES files: one in 200 empty, the rest 1-16 KiB or (one
# in seven) up to 64 KiB, except LARGE of them of 2-8 MiB. Unless BIG_MIB is
# 0, WORK/big/large.bin is one file of BIG_MIB MiB.
# Prints the tree's bytes, its empty and large files, and the big file's bytes.
import os
import random
import sys

work, count, large_count, big_mib = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
rng = random.Random(20240601)
pool = memoryview(rng.randbytes(8 << 20))
large = set(rng.sample(range(count), min(large_count, count)))
tree_bytes = empty = 0
for i in range(count):
    if i in large:
        size = rng.randint(2 << 20, 8 << 20)
    elif rng.random() < 1 / 200:
        size = 0
    elif rng.random() < 6 / 7:
        size = rng.randint(1, 16 << 10)
    else:
        size = rng.randint((16 << 10) + 1, 64 << 10)
    folder = os.path.join(work, "tree", f"d{i % 20:02}", f"s{i // 20 % 20:02}")
    os.makedirs(folder, exist_ok=True)
    start = rng.randrange(len(pool) - size + 1)
    with open(os.path.join(folder, f"f{i:05}.bin"), "wb") as out:
        out.write(pool[start:start + size])
    tree_bytes += size
    empty += size == 0
left = big_bytes = big_mib << 20
if big_bytes:
    os.makedirs(os.path.join(work, "big"))
    with open(os.path.join(work, "big", "large.bin"), "wb") as out:
        while left:
            start = rng.randrange(len(pool))
            piece = pool[start:start + left]
            out.write(piece)
            left -= len(piece)
print(tree_bytes, empty, len(large), big_bytes)
