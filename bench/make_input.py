#!/usr/bin/env python3
"""Writes a message file in the hex layout: make_input.py FILE MESSAGES random|text [SIZE].

Every hundredth message of text ends with "NEEDLE", which no other message holds."""
import os
import random
import sys

HEADER = "* TARVO Version:9.1.1 Created:Tue Nov 18 10:30:12 2025\n\n"
DESCRIPTOR = "".join(
    f"A {tag} {value}\n"
    for tag, value in [
        ("VER", 2), ("RPT", 0), ("MST", 8), ("EXP", -1), ("FDB", 0), ("ENC", 546), ("CCS", 1208), ("FMT", "MQSTR   "),
        ("PRI", 4), ("PER", 0), ("MSI", "00" * 24), ("COI", "00" * 24), ("BOC", 0), ("RTQ", " " * 48), ("RTM", " " * 48),
        ("USR", " " * 12), ("ACC", "00" * 32), ("AIX", "20" * 32), ("PAT", 6), ("PAN", "bench".ljust(28)),
        ("PTD", "20251118"), ("PTT", "10301250"), ("AOX", "20202020"), ("GRP", "00" * 24), ("MSQ", 1), ("OFF", 0),
        ("MSF", 0), ("ORL", -1),
    ]
)
WORDS = "order customer (paid) kettle lamp 17 desk, total: 99.50 <ok> *urgent* a/b=c + note? it's".split()


def main():
    name, messages, kind = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    size = int(sys.argv[4]) if len(sys.argv) > 4 else 1024
    rng = random.Random(1)
    text = " ".join(rng.choice(WORDS) for _ in range(400000)).encode()
    with open(name, "w", buffering=1 << 20) as out:
        out.write(HEADER)
        for i in range(messages):
            if kind == "random":
                data = os.urandom(size)
            else:
                start = rng.randrange(len(text) - size)
                data = text[start : start + size]
                if i % 100 == 99:
                    data = data[:-6] + b"NEEDLE"
            digits = data.hex().upper()
            out.write(DESCRIPTOR)
            out.write("".join(f"X {digits[k:k + 50]}\n" for k in range(0, len(digits), 50)))
            out.write("\n")


main()
