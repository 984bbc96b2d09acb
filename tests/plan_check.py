#!/usr/bin/python3
"""Reads the drawing that the example client saved with ezdxf: it must pass ezdxf's audit and
hold the client's lines, arcs and circles with their layers and colours, the columns' solid
sections and the store's tiled floor (pattern, loops, area), the rooms' names and
the title block filled in under its tags, and the sheet "A3 Plan": A3 turned to landscape with a
viewport on the plan at 1:50; GDAL and LibreCAD must open it too."""

import math
import os
import sys

import ezdxf

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "host", "tests", "dxf"))
import ezdxf_tool  # noqa: E402
import other_programs  # noqa: E402

# (start, end, layer, colour) as the example client adds them.
PLAN = [((7, 0), (7, 5), "Walls", 1), ((7, 5), (8, 6), "Doors", 5), ((3, 8), (4, 7), "Doors", 5)]
# The outer walls: a closed polyline 0.24 wide on Walls in red.
OUTLINE = [(0, 0), (12, 0), (12, 8), (0, 8)]
# (centre, radius, start and end angle in degrees) of the doors' swings, on Doors in blue.
SWINGS = [((7, 5), math.sqrt(2), 45, 90), ((3, 8), math.sqrt(2), 315, 0)]
# Centres of the columns, circles of radius 0.25 on Columns in green.
COLUMNS = [(5, 2), (10, 6)]
# The store's floor, tiled with NET on Floor in grey, the column at (10, 6) left out.
STORE_FLOOR = [(7, 0.12), (11.88, 0.12), (11.88, 7.88), (7, 7.88)]
STORE_AREA = 4.88 * 7.76 - math.pi * 0.25 ** 2


def hatch_problems(doc):
    """What differs from the columns' solid sections and the store's tiles; empty when all holds."""
    hatches = [h for h in doc.modelspace() if h.dxftype() == "HATCH"]
    sections = [h for h in hatches if h.dxf.layer == "Columns"]
    floors = [h for h in hatches if h.dxf.layer == "Floor"]
    if len(hatches) != 3 or len(sections) != len(COLUMNS) or len(floors) != 1:
        return [f"{len(hatches)} hatches: {len(sections)} columns' sections, {len(floors)} floors"]
    problems = []
    for h, (x, y) in zip(sections, COLUMNS):
        edges = h.paths[0].edges if len(h.paths) == 1 and hasattr(h.paths[0], "edges") else []
        arc = edges[0] if len(edges) == 1 and int(edges[0].type) == 2 else None
        if (not h.dxf.solid_fill or h.dxf.pattern_name != "SOLID" or h.dxf.color != 3 or arc is None
                or not math.isclose(arc.radius, 0.25) or (round(arc.center[0], 9), round(arc.center[1], 9)) != (x, y)):
            problems.append(f"the section of the column at {x}, {y} differs")
        elif ezdxf_tool.hatch_fact(h, "harea", repr(math.pi * 0.25 ** 2)):
            problems.append(f"the section of the column at {x}, {y}: {ezdxf_tool.hatch_fact(h, 'harea', '0')}")
    floor = floors[0]
    outline = floor.paths[0] if floor.paths else None
    corners = [(round(v[0], 9), round(v[1], 9)) for v in getattr(outline, "vertices", [])]
    if (floor.dxf.pattern_name != "NET" or floor.dxf.solid_fill or len(floor.pattern.lines) != 2
            or not math.isclose(floor.dxf.pattern_scale, 0.1) or floor.dxf.color != 8 or len(floor.paths) != 2
            or corners != [(float(x), float(y)) for x, y in STORE_FLOOR]):
        problems.append(f"the store's floor differs: {floor.dxf.pattern_name} {corners} {len(floor.paths)} loops")
    elif ezdxf_tool.hatch_fact(floor, "harea", repr(STORE_AREA)):
        problems.append("the store's floor: " + ezdxf_tool.hatch_fact(floor, "harea", repr(STORE_AREA)))
    return problems


def main(path):
    doc = ezdxf.readfile(path)
    auditor = doc.audit()
    problems = [str(e.message) for e in auditor.errors]
    if problems:
        print("ezdxf's audit found:", *problems, sep="\n  ")
        return 1
    for name in ("Walls", "Doors", "Columns"):
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
    outlines = [p for p in doc.modelspace() if p.dxftype() == "LWPOLYLINE"]
    if len(outlines) != 1:
        print(f"{len(outlines)} polylines instead of the outer walls")
        return 1
    walls = outlines[0]
    points = [(round(x, 9), round(y, 9)) for x, y in walls.get_points("xy")]
    if (points != [(float(x), float(y)) for x, y in OUTLINE] or not walls.closed
            or abs(walls.dxf.const_width - 0.24) > 1e-12 or walls.dxf.layer != "Walls" or walls.dxf.color != 1):
        print("outer walls differ:", points, walls.closed, walls.dxf.const_width, walls.dxf.layer, walls.dxf.color)
        return 1
    arcs = [(round(a.dxf.center.x, 9), round(a.dxf.center.y, 9), round(a.dxf.radius, 9),
             round(a.dxf.start_angle % 360, 6), round(a.dxf.end_angle % 360, 6), a.dxf.layer, a.dxf.color)
            for a in doc.modelspace() if a.dxftype() == "ARC"]
    want_arcs = [(float(c[0]), float(c[1]), round(r, 9), float(s), float(e), "Doors", 5) for c, r, s, e in SWINGS]
    if arcs != want_arcs:
        print("door swings differ:\n  found    ", arcs, "\n  expected ", want_arcs)
        return 1
    circles = [(round(c.dxf.center.x, 9), round(c.dxf.center.y, 9), round(c.dxf.radius, 9), c.dxf.layer, c.dxf.color)
               for c in doc.modelspace() if c.dxftype() == "CIRCLE"]
    want_circles = [(float(x), float(y), 0.25, "Columns", 3) for x, y in COLUMNS]
    if circles != want_circles:
        print("columns differ:\n  found    ", circles, "\n  expected ", want_circles)
        return 1
    hatch_errors = hatch_problems(doc)
    if hatch_errors:
        print("hatches differ:", *hatch_errors, sep="\n  ")
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
    if "A3 Plan" not in doc.layouts:
        print("no layout A3 Plan")
        return 1
    sheet = doc.layouts.get("A3 Plan")
    settings = sheet.dxf_layout.dxf
    if (settings.paper_size, settings.plot_rotation, settings.plot_configuration_file) != (
            "ISO_A3_(297.00_x_420.00_MM)", 1, "Tarsk PDF.pc3"):
        print("the sheet's plot settings:", settings.paper_size, settings.plot_rotation,
              settings.plot_configuration_file)
        return 1
    viewports = [v for v in sheet if v.dxftype() == "VIEWPORT"]
    scales = [v.dxf.height / v.dxf.view_height for v in viewports]
    if len(viewports) != 1 or not math.isclose(scales[0], 1000 / 50, rel_tol=1e-9):
        print("the sheet's viewports and their scales:", scales)
        return 1
    if other_programs.check([path]):
        return 1
    print(f"ezdxf reads the outer walls as a closed polyline, {len(lines)} lines, {len(arcs)} arcs and {len(circles)} circles on their layers in their"
          " colours, the columns' sections and the store's tiles with their loops and areas, the rooms' names, the title block filled in and the A3 sheet at 1:50; the audit is clean; GDAL and LibreCAD open it")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
