#!/usr/bin/env python3
"""Flattens the type library's IDL and moves its help strings into the resource library.

Every helpstring("...") except the library's own becomes helpstringcontext(N), with N
numbered in order of appearance from FIRST_ID, and the texts are written as a string
table for the resource library. The type library then resolves them through the
module's help-string function.

usage: idl_flatten.py IDL_DIR MAIN.idl OUT.idl OUT_STRINGS.rc
"""
import os
import re
import sys

FIRST_ID = 30000
LIBRARY_HELP = 'TARSK Type Library'


def flatten(path, seen):
    if path in seen:
        raise SystemExit(f'{path}: included twice')
    seen.add(path)
    out = []
    with open(path, encoding='utf-8') as f:
        for line in f:
            m = re.match(r'\s*#include\s+"([^"]+)"', line)
            if m:
                out.append(flatten(os.path.join(os.path.dirname(path), m.group(1)), seen))
            else:
                out.append(line)
    return ''.join(out)


def main():
    idl_dir, main_idl, out_idl, out_rc = sys.argv[1:5]
    text = flatten(os.path.join(idl_dir, main_idl), set())
    strings = []

    def to_context(m):
        s = m.group(1)
        if s == LIBRARY_HELP:
            return m.group(0)
        strings.append(s)
        return f'helpstringcontext({FIRST_ID + len(strings) - 1})'

    text = re.sub(r'helpstring\("((?:[^"\\]|\\.)*)"\)', to_context, text)
    if FIRST_ID + len(strings) > 65535:
        raise SystemExit('too many help strings for 16-bit string ids')
    with open(out_idl, 'w', encoding='utf-8') as f:
        f.write(text)
    with open(out_rc, 'w', encoding='utf-8') as f:
        f.write('// Generated from the type library source: help strings by help-string context.\n')
        f.write('STRINGTABLE\nBEGIN\n')
        for i, s in enumerate(strings):
            s = s.replace('\\"', '""')
            f.write(f'    {FIRST_ID + i}, L"{s}"\n')
        f.write('END\n')


if __name__ == '__main__':
    main()
