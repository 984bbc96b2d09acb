#!/usr/bin/env python3
"""Generates the server's own IDispatch: for every interface, a table from DISPID to a call of
the vtable member with its arguments converted, and a table of member names.

Reads widl's C++ header (the members' C types), the flattened IDL (DISPIDs, property kinds,
[in]/[out]/[retval]/[optional]) and the pending list (members still answering E_NOTIMPL get no
entry unless they take an object, a VARIANT or an [out] value: the type information answers
the others, but on that path a failing member keeps what its arguments held). A member gets an entry when each of its arguments
is a plain in-value (numbers, enumerations, booleans, strings, VARIANTs, objects of an interface)
and it returns at most
one [retval]; the call converts only exact kinds of argument and says "not mine" for anything
else before touching the object, so that Invoke falls back to the type information, which
then gives its own coercions and errors.

usage: gen_dispatch.py HEADER FLAT_IDL PENDING OUT_HEADER OUT_SOURCE
"""
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from gen_catalogue import interfaces as header_interfaces, read_pending  # noqa: E402

# C type of an [in] argument -> reader in frame/dispatch.h
IN_READERS = {'double': 'readDouble', 'float': 'readFloat', 'LONG': 'readLong', 'int': 'readInt', 'INT': 'readInt',
              'SHORT': 'readShort', 'VARIANT_BOOL': 'readBool', 'BSTR': 'readText', 'VARIANT': 'readVariant'}
# C type of a [retval] -> (variant type, field)
RESULTS = {'double': ('VT_R8', 'dblVal'), 'float': ('VT_R4', 'fltVal'), 'LONG': ('VT_I4', 'lVal'),
           'int': ('VT_INT', 'intVal'), 'INT': ('VT_INT', 'intVal'), 'SHORT': ('VT_I2', 'iVal'),
           'VARIANT_BOOL': ('VT_BOOL', 'boolVal'), 'BSTR': ('VT_BSTR', 'bstrVal'), 'VARIANT': (None, None),
           'IDispatch*': ('VT_DISPATCH', 'pdispVal'), 'IUnknown*': ('VT_UNKNOWN', 'punkVal')}


def idl_methods(idl_text):
    """{interface: [(dispid, kind, name, [attrs of each parameter])]} in declaration order."""
    out = {}
    for m in re.finditer(r'interface\s+(\w+)\s*:\s*\w+\s*\{(.*?)\};', idl_text, re.S):
        itf, body = m.groups()
        methods = []
        for mm in re.finditer(r'\[([^\]]*)\]\s*HRESULT\s+(\w+)\s*\((.*?)\)\s*;', body, re.S):
            attrs, name, params = mm.groups()
            dispid = re.search(r'\bid\(([^)]*)\)', attrs)
            kind = 'get' if re.search(r'\bpropget\b', attrs) else 'putref' if re.search(r'\bpropputref\b', attrs) \
                else 'put' if re.search(r'\bpropput\b', attrs) else 'func'
            param_attrs = [a for a in re.findall(r'\[([^\]]*)\]', params)]
            number = int(dispid.group(1), 0) if dispid else None
            if number is not None and number >= 2 ** 31:
                number -= 2 ** 32  # DISPIDs are signed: 0xFFFFFFFC is DISPID_NEWENUM
            methods.append((number, kind, name, param_attrs))
        out[itf] = methods
    return out


def resolve(ctype, aliases, enums, dispatchable):
    """The C type as the tables know it: aliases followed, enums as LONG, interfaces as IDispatch."""
    pointer = ''
    while ctype.endswith('*'):
        pointer += '*'
        ctype = ctype[:-1].strip()
    seen = set()
    while ctype in aliases and ctype not in seen:
        seen.add(ctype)
        ctype = aliases[ctype]
    if ctype in enums:
        ctype = 'LONG'  # enumerations travel as VT_I4
    elif ctype in ('long',):
        ctype = 'LONG'
    elif ctype in ('short',):
        ctype = 'SHORT'
    elif ctype in dispatchable and pointer:
        return 'IDispatch*' + pointer[1:], ctype
    return ctype + pointer, None


def main():
    header_path, idl_path, pending_path, out_header, out_source = sys.argv[1:6]
    header_text = open(header_path).read()
    idl_text = open(idl_path).read()
    pending = read_pending(pending_path)
    aliases = dict((b, a) for a, b in re.findall(r'typedef\s+(?:\[[^\]]*\]\s*)?(\w+)\s+(\w+)\s*;', idl_text))
    enums = set(re.findall(r'typedef\s+(?:\[[^\]]*\]\s*)?enum\s+\w*\s*\{[^}]*\}\s*(\w+)\s*;', idl_text, re.S))
    enums |= set(re.findall(r'\benum\s+(\w+)\s*\{', idl_text))
    declared = idl_methods(idl_text)
    itfs = list(header_interfaces(header_text))
    bases = {name: base for name, base, _ in itfs}

    def reaches_dispatch(name):
        while name in bases:
            name = bases[name]
        return name == 'IDispatch'
    dispatchable = {name for name in bases if reaches_dispatch(name)} | {'IDispatch'}

    thunks, tables, names, counts = [], [], [], {}
    covered = total = 0
    for itf, base, methods in itfs:
        idl = declared.get(itf)
        if idl is None or len(idl) != len(methods):
            raise SystemExit(f'{itf}: the header and the IDL list different members')
        entries = []
        name_entries = {}
        for (method, params), (dispid, kind, name, attrs) in zip(methods, idl):
            if dispid is None:
                continue
            name_entries.setdefault(name.lower(), (name, dispid))
            total += 1
            if len(attrs) != len(params):
                continue
            ins, result, ok = [], None, True
            pending_member = f'{itf}.{method}' in pending
            for (ctype, pname), a in zip(params, attrs):
                flags = {f.strip().split('(')[0] for f in a.split(',')}
                rtype, named = resolve(ctype, aliases, enums, dispatchable)
                if 'retval' in flags:
                    base_type = rtype[:-1]
                    if base_type not in RESULTS or result is not None:
                        ok = False
                    result = (base_type, ctype)
                elif 'out' not in flags and rtype == 'IDispatch*' and named:
                    ins.append(('object', named, pname))  # an object that answers the interface
                elif 'out' in flags and pending_member and rtype[:-1] in RESULTS and RESULTS[rtype[:-1]][0] != 'VT_UNKNOWN':
                    ins.append(('out', ctype, pname))  # by reference, exactly; the stub writes nothing
                elif 'out' in flags or rtype not in IN_READERS:
                    ok = False
                else:
                    ins.append((rtype, ctype, pname))
            # A pending member is left to the type information, except when it takes an object:
            # that path keeps a reference to the object when the member fails.
            if not ok or (pending_member and not any(r in ('object', 'out', 'VARIANT') for r, _, _ in ins)):
                continue
            covered += 1
            fn = f'call_{itf}_{method}'
            body = [f'bool {fn}(void* self, DISPPARAMS* params, VARIANT* result, HRESULT& hr)', '{']
            body.append(f'    if (params->cArgs != {len(ins)}) return false;')
            for i, (rtype, ctype, pname) in enumerate(ins):
                if rtype == 'out':
                    inner = ctype[:-1].strip()
                    vt = RESULTS.get(resolve(ctype, aliases, enums, dispatchable)[0][:-1], ('VT_VARIANT',))[0]
                    vt = 'VT_VARIANT' if vt is None else vt
                    body.append(f'    {inner}* a{i} = readReference<{inner}>(params->rgvarg[{len(ins) - 1 - i}], {vt});')
                    body.append(f'    if (!a{i}) return false;')
                    continue
                if rtype == 'object':
                    body.append(f'    ComPtr<{ctype}> a{i};')
                    body.append(f'    if (!readObject(params->rgvarg[{len(ins) - 1 - i}], __uuidof({ctype}), '
                                f'a{i}.putVoid())) return false;')
                    continue
                store = 'VARIANT' if rtype == 'VARIANT' else rtype
                body.append(f'    {store} a{i};')
                body.append(f'    if (!{IN_READERS[rtype]}(params->rgvarg[{len(ins) - 1 - i}], a{i})) return false;')
            call_args = [f'a{i}.get()' if rtype == 'object' else f'a{i}' if rtype == 'out' else
                         f'static_cast<{ctype}>(a{i})' if ctype != rtype and rtype not in ('VARIANT',) else f'a{i}'
                         for i, (rtype, ctype, _) in enumerate(ins)]
            if result:
                rtype, ctype = result
                inner = ctype[:-1].strip()
                body.append(f'    {inner} value{{}};')
                call_args.append('&value')
            body.append(f'    hr = static_cast<{itf}*>(self)->{method}({", ".join(call_args)});')
            if result:
                rtype, ctype = result
                vt, field = RESULTS[rtype]
                if rtype == 'VARIANT':
                    body.append('    giveVariant(hr, value, result);')
                elif rtype in ('BSTR', 'IDispatch*', 'IUnknown*'):
                    body.append(f'    give(hr, value, result, {vt});')
                else:
                    body.append(f'    if (result) {{ V_VT(result) = {vt}; result->{field} = '
                                f'static_cast<decltype(result->{field})>(value); }}')
            body.append('    return true;')
            body.append('}')
            thunks.append('\n'.join(body))
            entries.append((dispid, {'func': 1, 'get': 2, 'put': 4, 'putref': 8}[kind], fn))
        entries.sort()
        rows = ''.join(f'    {{{d}, {k}, &{fn}}},\n' for d, k, fn in entries)
        tables.append(f'const Entry kEntries_{itf}[] = {{\n{rows}    {{0, 0, nullptr}}\n}};')
        counts[itf] = (len(entries), len(name_entries))
        nrows = ''.join(f'    {{L"{n}", {d}}},\n' for _, (n, d) in sorted(name_entries.items()))
        names.append(f'const Name kNames_{itf}[] = {{\n{nrows}    {{nullptr, 0}}\n}};')

    with open(out_header, 'w') as f:
        f.write('// Generated by tools/gen_dispatch.py: the dispatch tables of every interface.\n#pragma once\n\n')
        f.write('#include "frame/dispatch.h"\n\nnamespace nk::dispatch {\n\n')
        for itf, _, _ in itfs:
            f.write(f'template <> const Table& tableOf<{itf}>();\n')
        f.write(f'\n// Members with a call of their own: {covered} of {total}.\n'
                f'constexpr int kCoveredMembers = {covered};\n\n}}  // namespace nk::dispatch\n')
    with open(out_source, 'w') as f:
        f.write('// Generated by tools/gen_dispatch.py from the type library\'s header and IDL.\n')
        f.write('#include "dispatch_gen.h"\n\n#include "frame/com.h"\n#include "kxauto.h"\n\n'
                'namespace nk::dispatch {\nnamespace {\n\n')
        f.write('\n\n'.join(thunks))
        f.write('\n\n')
        f.write('\n\n'.join(tables))
        f.write('\n\n')
        f.write('\n\n'.join(names))
        f.write('\n\n}  // namespace\n\n')
        for itf, _, _ in itfs:
            f.write(f'template <> const Table& tableOf<{itf}>()\n{{\n'
                    f'    static const Table table{{kEntries_{itf}, {counts[itf][0]}, kNames_{itf}, {counts[itf][1]}}};\n'
                    f'    return table;\n}}\n')
        f.write('\n}  // namespace nk::dispatch\n')


if __name__ == '__main__':
    main()
