#!/usr/bin/python3
"""ezdxf's view of drawings the host writes, and drawings for the host to read.

  ezdxf_tool.py check [--others] FILE EXPECTED [FILE EXPECTED ...]
                                      audit each FILE and compare it with the facts in its EXPECTED;
                                      with --others, GDAL and LibreCAD must open each FILE too
                                      (other_programs.py)
  ezdxf_tool.py make FOLDER           write drawings of every entity kind, several versions
  ezdxf_tool.py lines FILE COUNT      write a drawing of COUNT lines (benchmark input)
  ezdxf_tool.py time FILE OUT         time reading FILE and writing it to OUT; prints seconds

EXPECTED holds one fact per line, fields separated by tabs:
  TABLE  <table> <record name>
  BLOCK  <name> <entity count>
  ENTITY <handle> <type> <layer> <colour> <attr>=<value>;...   (vectors as x,y,z;
                                      vertices=x,y,start width,end width,bulge,... of an LWPOLYLINE;
                                      pvertices=x,y,flags,start width,end width,bulge,... of a POLYLINE;
                                      pfaces=vtx0,vtx1,vtx2,vtx3,... of a polyface mesh's face records;
                                      hloops=flags:P:vertex count or flags:E:edge types/... of a HATCH;
                                      hlines=angle,base x,y,offset x,y,dashes.../... its pattern's lines;
                                      harea=the area it fills, islands cut out;
                                      hgradient=name,r,g,b,r,g,b,rotation of its gradient)
  XDATA  <handle> <app> <code>=<value>|...
  DICT   <dictionary handle> <key> <entry type>
  XRECORD <handle> <code>=<value>|...
  RECORD <table> <record name> <attr>=<value>;...
  GROUP  <group name> <member handle>,...          (in any order: ezdxf keeps a set)
  SORTENTS <block record handle> <entity handle>,... (the block's entities, first drawn first)
  MTEXTATTR <handle> <attachment> <plain text>      (a multiline attribute and its text)
  LAYOUT <name> <tab order> <attr>=<value>;...      (the LAYOUT object's plot settings)
  VIEWPORT <handle> <scale> <frozen layer>,...     (scale: sheet height over view height)
  TAGS   <handle> <type> <subclass> <code>=<value>|... (a record ezdxf keeps as its tags: the
                                      first group of each code in that subclass)
Exit status 0 when the audit finds no error and every fact holds.
"""

import math
import os
import sys
import time

import ezdxf
from ezdxf.math import Vec3

TOL = 1e-9


def close(a, b):
    return abs(a - b) <= TOL * max(1.0, abs(a), abs(b))


def parse_value(text):
    if "," in text:
        return Vec3(*(float(v) for v in text.split(",")))
    try:
        return float(text)
    except ValueError:
        return text


def same(actual, expected):
    if isinstance(expected, Vec3):
        actual = Vec3(actual)
        return all(close(a, b) for a, b in zip(actual, expected))
    if isinstance(expected, float):
        try:
            return close(float(actual), expected)
        except (TypeError, ValueError):
            return False
    return str(actual) == expected


def tag_value_matches(code, actual, expected):
    if 1010 <= code <= 1013 or 10 <= code <= 17:
        return same(actual, parse_value(expected))
    if isinstance(actual, float):
        return close(actual, float(expected))
    return str(actual) == expected


def hatch_fact(e, name, value):
    """What differs between a HATCH and one of its facts; None when they agree."""
    if name == "hloops":
        actual = []
        for p in e.paths:
            if hasattr(p, "edges"):
                actual.append(f"{p.path_type_flags}:E:" + "".join(str(int(x.type)) for x in p.edges))
            else:
                actual.append(f"{p.path_type_flags}:P:{len(p.vertices)}")
        return None if "/".join(actual) == value else f"loops {'/'.join(actual)}, not {value}"
    if name == "hlines":
        lines = e.pattern.lines if e.pattern else []
        actual = [[ln.angle, ln.base_point[0], ln.base_point[1], ln.offset[0], ln.offset[1], *ln.dash_length_items]
                  for ln in lines]
        wanted = [[float(v) for v in item.split(",")] for item in value.split("/")] if value else []
        ok = len(actual) == len(wanted) and all(
            len(a) == len(w) and all(abs(x - y) <= 1e-9 * max(1.0, abs(x), abs(y)) for x, y in zip(a, w))
            for a, w in zip(actual, wanted))
        return None if ok else f"pattern lines {actual}, not {wanted}"
    if name == "harea":
        # Each loop fills or cuts by how deep it lies among the others, as the hatch style says.
        from ezdxf import path as ezpath
        outlines = [[(v.x, v.y) for v in ezpath.converter.from_hatch_boundary_path(p).flattening(1e-6)]
                    for p in e.paths]

        def inside(polygon, x, y):
            hit = False
            for (ax, ay), (bx, by) in zip(polygon, polygon[-1:] + polygon[:-1]):
                if (ay > y) != (by > y) and x < (bx - ax) * (y - ay) / (by - ay) + ax:
                    hit = not hit
            return hit

        reach = {0: 1 << 30, 1: 1, 2: 0}.get(e.dxf.hatch_style, 1 << 30)
        area = 0.0
        for i, points in enumerate(outlines):
            if not points:
                continue
            x, y = points[len(points) // 2]
            depth = sum(1 for j, other in enumerate(outlines) if j != i and len(other) > 2 and inside(other, x, y))
            a = 0.5 * abs(sum(points[k][0] * points[k - 1][1] - points[k - 1][0] * points[k][1]
                              for k in range(len(points))))
            if depth <= reach:
                area += a if depth % 2 == 0 else -a
        area = max(area, 0.0)
        # Arcs become cubic curves there: a few parts in ten thousand.
        return None if abs(area - float(value)) <= 1e-3 * max(1.0, abs(area)) else f"area {area}, not {value}"
    g = e.gradient
    if g is None:
        return "no gradient"
    actual = [g.name, *(float(c) for c in g.color1), *(float(c) for c in g.color2), g.rotation]
    wanted = [value.split(",")[0], *(float(v) for v in value.split(",")[1:])]
    ok = actual[0] == wanted[0] and len(actual) == len(wanted) and all(
        abs(a - w) <= 1e-9 * max(1.0, abs(w)) for a, w in zip(actual[1:], wanted[1:]))
    return None if ok else f"gradient {actual}, not {wanted}"


def check(path, expected_path):
    problems = []
    try:
        doc = ezdxf.readfile(path)
    except Exception as error:  # a file ezdxf cannot read fails the check
        print(f"{path}: ezdxf cannot read it: {error}")
        return 1
    auditor = doc.audit()
    for error in auditor.errors:
        problems.append(f"audit error: {error.message}")
    db = doc.entitydb
    with open(expected_path, encoding="utf-8") as f:
        facts = [line.rstrip("\n").split("\t") for line in f if line.strip()]
    for fact in facts:
        kind = fact[0]
        if kind == "TABLE":
            table = {"LAYER": doc.layers, "LTYPE": doc.linetypes, "STYLE": doc.styles, "DIMSTYLE": doc.dimstyles,
                     "UCS": doc.ucs, "VIEW": doc.views, "APPID": doc.appids, "VPORT": doc.viewports,
                     "BLOCK_RECORD": doc.block_records}[fact[1]]
            if not table.has_entry(fact[2]):
                problems.append(f"no {fact[1]} record {fact[2]!r}")
        elif kind == "BLOCK":
            block = doc.blocks.get(fact[1])
            if block is None:
                problems.append(f"no block {fact[1]!r}")
            elif len(block) != int(fact[2]):
                problems.append(f"block {fact[1]!r} has {len(block)} entities, not {fact[2]}")
        elif kind == "ENTITY":
            handle, dxftype, layer, color = fact[1:5]
            e = db.get(handle)
            if e is None:
                problems.append(f"no entity {handle}")
                continue
            if e.dxftype() != dxftype:
                problems.append(f"{handle}: {e.dxftype()} instead of {dxftype}")
                continue
            if e.dxf.layer != layer:
                problems.append(f"{handle}: layer {e.dxf.layer!r} instead of {layer!r}")
            if int(e.dxf.color) != int(color):
                problems.append(f"{handle}: colour {e.dxf.color} instead of {color}")
            if len(fact) > 5 and fact[5]:
                for item in fact[5].split(";"):
                    name, value = item.split("=", 1)
                    if name == "vertices":  # x,y,start width,end width,bulge of each vertex
                        actual = [v for p in e.get_points("xyseb") for v in p]
                        wanted = [float(v) for v in value.split(",")] if value else []
                        if len(actual) != len(wanted) or not all(close(a, b) for a, b in zip(actual, wanted)):
                            problems.append(f"{handle}: vertices {actual}, not {wanted}")
                        continue
                    if name == "pvertices":  # x,y,flags,start width,end width,bulge of each VERTEX
                        actual = [float(v) for x in e.vertices for v in (
                            x.dxf.location.x, x.dxf.location.y, x.dxf.flags, x.dxf.start_width, x.dxf.end_width,
                            x.dxf.bulge)]
                        wanted = [float(v) for v in value.split(",")] if value else []
                        if len(actual) != len(wanted) or not all(close(a, b) for a, b in zip(actual, wanted)):
                            problems.append(f"{handle}: vertices {actual}, not {wanted}")
                        continue
                    if name in ("hloops", "hlines", "harea", "hgradient"):
                        problem = hatch_fact(e, name, value)
                        if problem:
                            problems.append(f"{handle}: {problem}")
                        continue
                    if name == "pfaces":  # the four vertex numbers of each face record
                        actual = [x.dxf.get(f"vtx{i}", 0) for x in e.vertices if x.dxf.flags == 128 for i in range(4)]
                        wanted = [int(v) for v in value.split(",")] if value else []
                        if actual != wanted:
                            problems.append(f"{handle}: faces {actual}, not {wanted}")
                        continue
                    actual = getattr(e.dxf, name, None)  # the format's default when not written
                    if actual is None or not same(actual, parse_value(value)):
                        problems.append(f"{handle}: {name} is {actual}, not {value}")
        elif kind == "TAGS":
            handle, dxftype, subclass = fact[1:4]
            e = db.get(handle)
            if e is None or e.dxftype() != dxftype or not hasattr(e, "xtags"):
                problems.append(f"{handle}: no {dxftype} kept as tags")
                continue
            try:
                tags = e.xtags.get_subclass(subclass)
            except ezdxf.DXFKeyError:
                problems.append(f"{handle}: no subclass {subclass}")
                continue
            for item in (fact[4].split("|") if len(fact) > 4 and fact[4] else []):
                code, value = item.split("=", 1)
                found = [t.value for t in tags if t.code == int(code)]
                if not found or not tag_value_matches(int(code), found[0], value):
                    problems.append(f"{handle}: group {code} is {found[:1]}, not {value}")
        elif kind == "MTEXTATTR":
            e = db.get(fact[1])
            if e is None or not e.has_embedded_mtext_entity:
                problems.append(f"{fact[1]}: no multiline text")
                continue
            mtext = e.virtual_mtext_entity()
            text = fact[3].replace("\\n", "\n")  # line breaks are written as \n
            if int(mtext.dxf.attachment_point) != int(fact[2]) or e.plain_mtext() != text:
                problems.append(f"{fact[1]}: multiline text {mtext.dxf.attachment_point} {e.plain_mtext()!r}"
                                f" instead of {fact[2]} {text!r}")
        elif kind == "XDATA":
            handle, app = fact[1], fact[2]
            e = db.get(handle)
            if e is None or not e.has_xdata(app):
                problems.append(f"{handle}: no extended data of {app}")
                continue
            tags = e.get_xdata(app)
            expected = fact[3].split("|") if len(fact) > 3 and fact[3] else []
            if len(tags) != len(expected):
                problems.append(f"{handle}: {len(tags)} extended data items of {app}, not {len(expected)}")
                continue
            for tag, item in zip(tags, expected):
                code, value = item.split("=", 1)
                if tag.code != int(code) or not tag_value_matches(tag.code, tag.value, value):
                    problems.append(f"{handle}: extended data {tag.code}={tag.value} instead of {item}")
        elif kind == "DICT":
            handle, key, entry_type = fact[1], fact[2], fact[3]
            d = db.get(handle)
            if d is None or d.dxftype() != "DICTIONARY":
                problems.append(f"no dictionary {handle}")
                continue
            entry = d.get(key)
            if entry is None:
                problems.append(f"dictionary {handle} has no {key!r}")
            elif hasattr(entry, "dxftype") and entry.dxftype() != entry_type:
                problems.append(f"dictionary {handle}: {key!r} is a {entry.dxftype()}, not {entry_type}")
        elif kind == "XRECORD":
            handle = fact[1]
            x = db.get(handle)
            if x is None or x.dxftype() != "XRECORD":
                problems.append(f"no extended record {handle}")
                continue
            expected = fact[2].split("|") if len(fact) > 2 and fact[2] else []
            tags = list(x.tags)
            if len(tags) != len(expected):
                problems.append(f"extended record {handle}: {len(tags)} items, not {len(expected)}")
                continue
            for tag, item in zip(tags, expected):
                code, value = item.split("=", 1)
                if tag.code != int(code) or not tag_value_matches(tag.code, tag.value, value):
                    problems.append(f"extended record {handle}: {tag.code}={tag.value} instead of {item}")
        elif kind == "RECORD":
            table = {"LAYER": doc.layers, "LTYPE": doc.linetypes, "STYLE": doc.styles, "DIMSTYLE": doc.dimstyles,
                     "UCS": doc.ucs, "VIEW": doc.views, "APPID": doc.appids, "VPORT": doc.viewports}[fact[1]]
            records = [r for r in table if r.dxf.name.lower() == fact[2].lower()] if fact[1] == "VPORT" else (
                [table.get(fact[2])] if table.has_entry(fact[2]) else [])
            if not records:
                problems.append(f"no {fact[1]} record {fact[2]!r}")
                continue
            for item in (fact[3].split(";") if len(fact) > 3 and fact[3] else []):
                name, value = item.split("=", 1)
                actual = records[0].dxf.get(name)
                if actual is None or not same(actual, parse_value(value)):
                    problems.append(f"{fact[1]} {fact[2]!r}: {name} is {actual}, not {value}")
        elif kind == "GROUP":
            group = doc.groups.get(fact[1])
            if group is None:
                problems.append(f"no group {fact[1]!r}")
                continue
            members = ",".join(sorted(e.dxf.handle for e in group))
            expected = ",".join(sorted(fact[2].split(","))) if len(fact) > 2 and fact[2] else ""
            if members != expected:
                problems.append(f"group {fact[1]!r} holds {members}, not {expected}")
        elif kind == "SORTENTS":
            record = db.get(fact[1])
            if record is None or record.dxftype() != "BLOCK_RECORD":
                problems.append(f"no block record {fact[1]}")
                continue
            tables = [o for o in doc.objects if o.dxftype() == "SORTENTSTABLE"
                      and o.dxf.get("block_record_handle") == fact[1]]
            order = dict(tables[0].table) if tables else {}
            entities = [e.dxf.handle for e in record.entity_space]
            entities.sort(key=lambda h: int(order.get(h, h), 16))
            expected = fact[2] if len(fact) > 2 else ""
            if ",".join(entities) != expected:
                problems.append(f"block record {fact[1]} draws {','.join(entities)}, not {expected}")
        elif kind == "LAYOUT":
            if fact[1] not in doc.layouts:
                problems.append(f"no layout {fact[1]!r}")
                continue
            layout = doc.layouts.get(fact[1]).dxf_layout
            if layout.dxf.taborder != int(fact[2]):
                problems.append(f"layout {fact[1]!r} at tab {layout.dxf.taborder}, not {fact[2]}")
            for item in (fact[3].split(";") if len(fact) > 3 and fact[3] else []):
                name, value = item.split("=", 1)
                actual = layout.dxf.get(name)
                if actual is None or not same(actual, parse_value(value)):
                    problems.append(f"layout {fact[1]!r}: {name} is {actual}, not {value}")
        elif kind == "VIEWPORT":
            vp = db.get(fact[1])
            if vp is None or vp.dxftype() != "VIEWPORT":
                problems.append(f"no viewport {fact[1]}")
                continue
            scale = vp.dxf.height / vp.dxf.view_height
            if not close(scale, float(fact[2])):
                problems.append(f"viewport {fact[1]}: scale {scale}, not {fact[2]}")
            frozen = ",".join(sorted(vp.frozen_layers))
            expected = ",".join(sorted(fact[3].split(","))) if len(fact) > 3 and fact[3] else ""
            if frozen != expected:
                problems.append(f"viewport {fact[1]}: frozen layers {frozen}, not {expected}")
        else:
            problems.append(f"unknown fact {kind}")
    for p in problems:
        print(f"{path}: {p}")
    return 1 if problems else 0


def fill(doc):
    """Every kind of entity ezdxf makes, on a few layers."""
    doc.layers.add("Walls", color=3)
    doc.appids.add("KXTEST")
    msp = doc.modelspace()
    msp.add_line((0, 0, 0), (10, 5, 1), dxfattribs={"layer": "Walls", "color": 1})
    msp.add_circle((5, 5), 2.5)
    msp.add_arc((1, 2), 3, 30, 300)
    msp.add_point((7, 8, 9))
    msp.add_text("text", dxfattribs={"height": 2.5})
    msp.add_solid([(0, 0), (1, 0), (1, 1), (0, 1)])
    msp.add_trace([(0, 0), (1, 0), (1, 1), (0, 1)])
    msp.add_3dface([(0, 0, 0), (1, 0, 0), (1, 1, 1), (0, 1, 0)])
    msp.add_polyline2d([(0, 0), (1, 1), (2, 0)])
    msp.add_polyline3d([(0, 0, 0), (1, 1, 1), (2, 0, 2)])
    msp.add_polymesh((3, 3))
    msp.add_polyface()
    blk = doc.blocks.new("BLK")
    blk.add_line((0, 0), (1, 0))
    blk.add_attdef("TAG", (0, 0))
    ref = msp.add_blockref("BLK", (3, 3), dxfattribs={"rotation": 30})
    ref.add_attrib("TAG", "value", (3, 3))
    if doc.dxfversion > "AC1009":
        msp.add_ellipse((0, 0), (4, 1, 0), 0.5, 0.1, 5.0)
        msp.add_ray((0, 0, 0), (1, 1, 0))
        msp.add_xline((0, 0, 0), (1, 0, 0))
        msp.add_lwpolyline([(0, 0), (3, 0, 0.5), (3, 3)], dxfattribs={"closed": True})
        msp.add_mtext("multi\\Pline text")
        msp.add_spline([(0, 0), (1, 2), (3, 1), (4, 4)])
        hatch = msp.add_hatch(color=2)
        hatch.paths.add_polyline_path([(0, 0), (4, 0), (4, 4), (0, 4)])
        msp.add_leader([(0, 0), (2, 2), (4, 2)])
        dim = msp.add_linear_dim(base=(0, 3), p1=(0, 0), p2=(5, 0))
        dim.render()
        msp.add_mline([(0, 0), (5, 5)])
        msp.add_mesh()
        msp.add_3dsolid()
        msp.add_region()
        msp.add_body()
        msp.add_wipeout([(0, 0), (1, 0), (1, 1)])
        msp.add_helix(2, 1, 3)
        msp.add_mpolygon().paths.add_polyline_path([(0, 0), (2, 0), (2, 2)])
        xd = msp.add_line((1, 1), (2, 2))
        xd.set_xdata("KXTEST", [(1000, "hello"), (1070, 7), (1040, 2.5), (1010, (1, 2, 3))])
        img_def = doc.add_image_def("image.png", size_in_pixel=(100, 100))
        msp.add_image(img_def, insert=(0, 0), size_in_units=(10, 10))
        group = doc.groups.new("G1")
        group.extend([xd])
        xrec = doc.rootdict.add_xrecord("KX_DATA")
        xrec.extend([(1, "text"), (40, 3.25), (70, 12)])
        doc.layouts.new("Second")
        doc.layouts.get("Second").add_circle((1, 1), 1)


def make(folder):
    os.makedirs(folder, exist_ok=True)
    for version in ("R12", "R2000", "R2004", "R2007", "R2010", "R2013", "R2018"):
        doc = ezdxf.new(version)
        fill(doc)
        doc.saveas(os.path.join(folder, f"ezdxf_{version}.dxf"))
    doc = ezdxf.new("R2018")
    fill(doc)
    doc.saveas(os.path.join(folder, "ezdxf_R2018_binary.dxf"), fmt="bin")
    doc = ezdxf.new("R12")
    fill(doc)
    doc.saveas(os.path.join(folder, "ezdxf_R12_binary.dxf"), fmt="bin")
    return 0


def lines(path, count):
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    for i in range(count):
        x = i * 0.001
        msp.add_line((x, 1.5 * x, 0.0), (x + 10.25, 2.0 * x - 3.0, 0.0))
    doc.saveas(path)
    return 0


def timing(path, out):
    start = time.perf_counter()
    doc = ezdxf.readfile(path)
    read = time.perf_counter() - start
    start = time.perf_counter()
    doc.saveas(out)
    write = time.perf_counter() - start
    print(f"{read:.3f} {write:.3f}")
    return 0


def main(argv):
    if len(argv) >= 3 and argv[1] == "check":
        others = argv[2] == "--others"
        pairs = argv[3:] if others else argv[2:]
        if pairs and len(pairs) % 2 == 0:
            failed = 0
            for i in range(0, len(pairs), 2):
                failed |= check(pairs[i], pairs[i + 1])
            if others:
                import other_programs  # beside this script
                failed |= other_programs.check(pairs[0::2])
            return failed
    if len(argv) >= 3 and argv[1] == "make":
        return make(argv[2])
    if len(argv) >= 4 and argv[1] == "lines":
        return lines(argv[2], int(argv[3]))
    if len(argv) >= 4 and argv[1] == "time":
        return timing(argv[2], argv[3])
    print(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
