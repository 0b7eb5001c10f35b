#!/usr/bin/env python3
"""Prints SQL that inserts N rows of a descriptor and 1 KiB of random data, 200 a transaction: make_sql.py N."""
import os
import sys

print("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;")
print("CREATE TABLE m (id INTEGER PRIMARY KEY, q INTEGER, md BLOB, data BLOB);")
for i in range(int(sys.argv[1])):
    if i % 200 == 0:
        print("BEGIN;")
    print(f"INSERT INTO m (q, md, data) VALUES (1, x'{'00' * 364}', x'{os.urandom(1024).hex()}');")
    if i % 200 == 199:
        print("COMMIT;")
