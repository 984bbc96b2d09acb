#!/usr/bin/env python3
"""Generates the C++ view of the type library that the wrappers are built on.

Reads the C++ header that widl writes for the type library, the flattened IDL and the
list of members that still answer E_NOTIMPL (frame/pending.txt), and writes:
  - BaseOf<I>: the base interface of every interface;
  - Pending<I, Base>: a mixin that answers E_NOTIMPL for each pending member of I's own
    block. Its functions are final, so implementing a member that is still listed as
    pending is a compile error, and forgetting one that is no longer listed leaves the
    class abstract: the list stays exactly the set of members left to do;
  - NK_FOR_EACH_COCLASS(X): every coclass with its default and source interfaces.

usage: gen_catalogue.py HEADER FLAT_IDL PENDING OUT_HEADER
       gen_catalogue.py --list HEADER      (prints every member, for starting a pending list)
"""
import re
import sys


def interfaces(header_text):
    """Yields (name, base, [(method, [(param type, param name)])]) in header order (C++ part only)."""
    for m in re.finditer(r'^(\w+) : public (\w+)\n\{\n(.*?)^\};', header_text, re.S | re.M):
        name, base, body = m.groups()
        methods = []
        for mm in re.finditer(r'virtual HRESULT STDMETHODCALLTYPE (\w+)\((.*?)\) = 0;', body, re.S):
            params = []
            for p in (p.strip() for p in mm.group(2).replace('\n', ' ').split(',')):
                if p:
                    # The name is the last identifier of the declaration, the type the rest.
                    params.append((re.sub(r'\s*\b\w+$', '', p).strip(), re.search(r'(\w+)$', p).group(1)))
            methods.append((mm.group(1), params))
        yield name, base, methods


def read_pending(path):
    """The set of "Interface.method" lines of the pending list."""
    pending = set()
    with open(path) as f:
        for line in f:
            line = line.split('#', 1)[0].strip()
            if line:
                pending.add(line)
    return pending


def coclasses(idl_text):
    for m in re.finditer(r'coclass\s+(\w+)\s*\{(.*?)\};', idl_text, re.S):
        name, body = m.groups()
        default = re.search(r'\[default\]\s*interface\s+(\w+)', body).group(1)
        source = re.search(r'\[default,\s*source\]\s*interface\s+(\w+)', body)
        yield name, default, source.group(1) if source else 'NoEvents'


def main():
    if sys.argv[1] == '--list':
        for name, _, methods in interfaces(open(sys.argv[2]).read()):
            for meth, _ in methods:
                print(f'{name}.{meth}')
        return
    header, flat_idl, pending_path, out_path = sys.argv[1:5]
    itfs = list(interfaces(open(header).read()))
    pending = read_pending(pending_path)
    known = {f'{n}.{m}' for n, _, ms in itfs for m, _ in ms}
    unknown = sorted(pending - known)
    if unknown:
        raise SystemExit('pending list names members the type library lacks: ' + ', '.join(unknown[:10]))

    out = ['// Generated from the type library by tools/gen_catalogue.py; do not edit.',
           '#pragma once', '#include "frame/pending.h"', '']
    for name, base, _ in itfs:
        out.append(f'template <> struct BaseOf<{name}> {{ using type = {base}; }};')
    out.append('')
    for name, _, methods in itfs:
        todo = [(m, t) for m, t in methods if f'{name}.{m}' in pending]
        if not todo:
            continue
        out.append(f'template <class Base> struct Pending<{name}, Base> : Base {{')
        for meth, params in todo:
            out.append(f'    HRESULT STDMETHODCALLTYPE {meth}({", ".join(t for t, _ in params)}) override final '
                       '{ return pendingMember(); }')
        out.append('};')
    out.append('')
    out.append('#define NK_FOR_EACH_COCLASS(X) \\')
    for name, default, source in coclasses(open(flat_idl).read()):
        out.append(f'    X({name}, {default}, {source}) \\')
    out.append('    /* end of the coclasses */')
    out.append('')
    with open(out_path, 'w') as f:
        f.write('\n'.join(out))


if __name__ == '__main__':
    main()
