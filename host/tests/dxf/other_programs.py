#!/usr/bin/python3
"""Drawings opened by programs other than ours: GDAL's ogrinfo and LibreCAD's dxf2pdf.

  other_programs.py FILE [FILE ...]    open each FILE in both; exit status 0 when both do

GDAL must open a file without an error and find at least as many features as the drawing
holds entities of the kinds it maps (block references counted as one feature each). LibreCAD
must print every file to PDF within a time limit (it waits forever on a message box when a
file puzzles it) and draw on the page when the drawing holds something to draw. LibreCAD's
command line has no count of what it read, so the count is GDAL's alone.
"""

import concurrent.futures
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zlib

import ezdxf

# The kinds GDAL turns into features of its "entities" layer.
GDAL_KINDS = {
    "POINT", "LINE", "CIRCLE", "ARC", "ELLIPSE", "LWPOLYLINE", "POLYLINE", "SPLINE", "TEXT", "MTEXT",
    "INSERT", "SOLID", "TRACE", "3DFACE", "HATCH", "DIMENSION", "LEADER", "MLINE",
}
POLYGON_MESH, POLYFACE_MESH = 16, 64  # polyline flags of the meshes, which GDAL leaves out


def mapped(entity):
    if entity.dxftype() == "POLYLINE":
        return not entity.dxf.get("flags", 0) & (POLYGON_MESH | POLYFACE_MESH)
    return entity.dxftype() in GDAL_KINDS
LIBRECAD_SECONDS = 60


def expected_features(path):
    """Entities of the file's ENTITIES section (model space and the active paper space) that
    GDAL maps, by ezdxf's reading."""
    doc = ezdxf.readfile(path)
    count = sum(1 for e in doc.modelspace() if mapped(e))
    count += sum(1 for e in doc.layouts.active_layout() if mapped(e))
    return count


def gdal(path):
    """Problems GDAL reports for the file (an empty list when it opens it well)."""
    run = subprocess.run(["ogrinfo", "-ro", "-al", "-so", "--config", "DXF_INLINE_BLOCKS", "FALSE", path],
                         capture_output=True, text=True, timeout=120)
    errors = [line for line in (run.stdout + run.stderr).splitlines() if line.startswith(("ERROR", "FAILURE"))]
    if run.returncode != 0 or errors:
        return [f"ogrinfo: {line}" for line in errors] or [f"ogrinfo ended with status {run.returncode}"]
    counts = [int(n) for n in re.findall(r"^Feature Count: (\d+)", run.stdout, re.M)]
    layers = re.findall(r"^Layer name: (\S+)", run.stdout, re.M)
    found = dict(zip(layers, counts)).get("entities", 0)
    want = expected_features(path)
    if found < want:
        return [f"ogrinfo finds {found} features; the drawing holds {want} entities it maps"]
    return []


def page_draws(pdf):
    """Whether a PDF page's content streams hold a stroke or a fill beyond the page's clip."""
    data = open(pdf, "rb").read()
    for match in re.finditer(rb"stream\r?\n(.*?)endstream", data, re.S):
        try:
            content = zlib.decompress(match.group(1))
        except zlib.error:
            content = match.group(1)
        if re.search(rb"(?m)^(S|f|f\*|B|b)$", content):
            return True
    return False


def librecad_one(path, out):
    """Problems LibreCAD reports printing one file into the folder out."""
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=out)
    pdf = os.path.join(out, os.path.splitext(os.path.basename(path))[0] + ".pdf")
    try:
        run = subprocess.run(["librecad", "dxf2pdf", "-a", "-t", out, os.path.abspath(path)], capture_output=True,
                             text=True, timeout=LIBRECAD_SECONDS, env=environment, cwd=out)
    except subprocess.TimeoutExpired as stopped:
        said = (stopped.stdout or b"").decode(errors="replace") + (stopped.stderr or b"").decode(errors="replace")
        return [f"librecad did not finish printing in {LIBRECAD_SECONDS} s: " + " / ".join(said.strip().splitlines()[-3:])]
    said = (run.stdout + run.stderr).strip().splitlines()
    if run.returncode != 0 or not os.path.exists(pdf):
        return [f"librecad ended with status {run.returncode}: " + " / ".join(said[-3:])]
    if expected_features(path) and not page_draws(pdf):
        return ["librecad printed an empty page"]
    return []


def librecad(paths):
    """Problems LibreCAD reports printing the files, by file (two at a time, each in its own folder)."""
    folders = [tempfile.TemporaryDirectory() for _ in paths]
    try:
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
            found = pool.map(librecad_one, paths, [f.name for f in folders])
            return {path: problems for path, problems in zip(paths, found) if problems}
    finally:
        for folder in folders:
            folder.cleanup()


def check(paths):
    for tool in ("ogrinfo", "librecad"):
        if shutil.which(tool) is None:
            print(f"{tool} is not installed (tools/setup.sh installs it)")
            return 1
    failed = 0
    by_librecad = librecad(paths)
    for path in paths:
        problems = gdal(path) + by_librecad.get(path, [])
        for problem in problems:
            print(f"{path}: {problem}")
        failed |= bool(problems)
    return failed


if __name__ == "__main__":
    if len(sys.argv) < 2:
        print(__doc__)
        sys.exit(2)
    sys.exit(check(sys.argv[1:]))
