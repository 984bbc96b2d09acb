#!/usr/bin/python3
"""Reads the drawing that the example client saved with ezdxf: it must pass ezdxf's audit and
hold the client's lines with their layers and colours, the rooms' names and the title block
filled in under its tags."""

import sys

import ezdxf

# (start, end, layer, colour) as the example client adds them.
PLAN = [
    ((0, 0), (12, 0), "Walls", 1), ((12, 0), (12, 8), "Walls", 1), ((12, 8), (0, 8), "Walls", 1),
    ((0, 8), (0, 0), "Walls", 1), ((7, 0), (7, 5), "Walls", 1), ((7, 5), (8, 6), "Doors", 5),
    ((3, 8), (4, 7), "Doors", 5),
]


def main(path):
    doc = ezdxf.readfile(path)
    auditor = doc.audit()
    problems = [str(e.message) for e in auditor.errors]
    if problems:
        print("ezdxf's audit found:", *problems, sep="\n  ")
        return 1
    for name in ("Walls", "Doors"):
        if name not in doc.layers:
            print(f"layer {name} is missing")
            return 1
    lines = [e for e in doc.modelspace() if e.dxftype() == "LINE"]
    found = [((round(l.dxf.start.x, 9), round(l.dxf.start.y, 9)), (round(l.dxf.end.x, 9), round(l.dxf.end.y, 9)),
              l.dxf.layer, l.dxf.color) for l in lines]
    expected = [((float(a[0]), float(a[1])), (float(b[0]), float(b[1])), layer, color) for a, b, layer, color in PLAN]
    if found != expected:
        print("lines differ:\n  found    ", found, "\n  expected ", expected)
        return 1
    names = sorted(e.dxf.text for e in doc.modelspace() if e.dxftype() == "TEXT")
    if names != ["Office", "Store"]:
        print("room names differ:", names)
        return 1
    inserts = [e for e in doc.modelspace() if e.dxftype() == "INSERT"]
    if len(inserts) != 1:
        print(f"{len(inserts)} block insertions instead of the title block")
        return 1
    values = {a.dxf.tag: a.dxf.text for a in inserts[0].attribs}
    if values != {"PROJECT": "Harbour Office", "DRAWN": "NkAuto example"}:
        print("the title block holds", values)
        return 1
    block = doc.blocks.get(inserts[0].dxf.name)
    constants = [a.dxf.text for a in block.query("ATTDEF") if a.is_const]
    if constants != ["NkAuto Works"]:
        print("the title block's constant attributes:", constants)
        return 1
    print(f"ezdxf reads {len(lines)} lines on layers Walls and Doors in red and blue, the rooms' names and the "
          "title block filled in; the audit is clean")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
