#!/usr/bin/python3
"""ezdxf's side of dxf_bench: reads FILE, writes it to OUT, prints both times in seconds."""

import sys
import time

import ezdxf


def main(path, out):
    start = time.perf_counter()
    doc = ezdxf.readfile(path)
    read = time.perf_counter() - start
    start = time.perf_counter()
    doc.saveas(out)
    write = time.perf_counter() - start
    print(f"{read:.3f} {write:.3f}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
