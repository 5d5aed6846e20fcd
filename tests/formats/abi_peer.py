#!/usr/bin/python3
"""Prints, as one JSON object keyed by path, what Biopython's ABIF parser reads from
each file given: the directory size and the tags the ABIF tests compare. A file the
parser rejects gets {"error": text}."""
import datetime
import json
import struct
import sys

from Bio import SeqIO

TAGS = ["PBAS1", "PBAS2", "PLOC1", "PLOC2", "SMPL1", "LANE1", "RUND1", "RUND2", "RUNT1",
        "RUNT2", "S/N%1", "SPAC1", "FWO_1", "MCHN1", "PDMF1", "Scan1", "CpEP1"]
TAGS += ["DATA%d" % i for i in range(1, 13)]
LISTS = {"PLOC1", "PLOC2", "S/N%1"} | {"DATA%d" % i for i in range(1, 13)}


def plain(key, value):
    if isinstance(value, bytes):
        return value.decode("latin-1")
    if isinstance(value, (datetime.date, datetime.time)):
        return str(value)
    if key in LISTS and not isinstance(value, (tuple, list)):
        return [value]
    if isinstance(value, tuple):
        return list(value)
    return value


def directory(path):
    """The header's entry count, and the data size of every directory entry by key (the
    first of duplicates): tells inline values from stored ones."""
    with open(path, "rb") as f:
        head = f.read(34)
        count, offset = struct.unpack(">I", head[18:22])[0], struct.unpack(">I", head[26:30])[0]
        f.seek(offset)
        sizes = {}
        for _ in range(count):
            entry = f.read(28)
            if len(entry) < 28:
                break
            name, number, _, _, _, size = struct.unpack(">4sI2HII", entry[:20])
            sizes.setdefault(name.decode("latin-1") + str(number), size)
        return count, sizes


def read(path):
    try:
        record = SeqIO.read(path, "abi")
    except Exception as e:  # the parser's own failure is the answer
        return {"error": "%s: %s" % (type(e).__name__, e)}
    raw = record.annotations["abif_raw"]
    count, sizes = directory(path)
    return {
        "entries": count,
        "sizes": {k: sizes[k] for k in TAGS if k in sizes},
        "tags": {k: plain(k, raw[k]) for k in TAGS if k in raw and raw[k] is not None},
    }


def main():
    print(json.dumps({path: read(path) for path in sys.argv[1:]}))


if __name__ == "__main__":
    main()
