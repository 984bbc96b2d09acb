#!/usr/bin/env python3
"""Generates the members of the object model from their declarations.

A declaration file (*.members, beside the code of its family) lists interfaces, each with
the host class its members open, the access that opens it, and one line per member:

    [IVeltCircle]
    object   kx::VxDbCircle
    access   nk::OwnAccess
    include  db/entities.h

    Center      point    center / setCenter
    Radius      hand     curves::circleRadius / curves::setCircleRadius
    Offset      hand     curves::offset(app)

A member line gives the member's name as the type library has it, then either
  - a conversion (double, long, short, bool, negated, text, point, point2, vector, points,
    length, ratio, enum(LO..HI), or one of the family's own named with its namespace) and
    the host accessors for reading and, for a property that can be set, writing. An accessor
    is called on the open object: `center` reads as center() and writes as center(value);
    one with parentheses is used as written, `value` being the converted new value, `&` an
    out argument whose status is checked, and the member's other arguments by their names;
  - or `hand` and the functions written by hand that implement it (one for a property's get,
    one for its put), with `(app)` for those that also take the application object. One
    accessor of a property may be written by hand alone: `radius / hand curves::setRadius`.
    A function template (`collections::item<collections::kLayers>`) is declared by the
    family's own header, not by the build.
A section may name a `mixin`, a class template <Self, Base> put below the declared members
for what the wrapper needs besides them. A section marked `exported` implements each member as a pair of exported functions
(VxAx... by object id and by reference); its plain members name them after `->`.

Every member of a declared interface is declared or listed as pending (frame/pending.txt),
never both. Signatures come from the type library; a declaration never repeats one.

usage: gen_members.py HEADER FLAT_IDL PENDING OUT_HEADER OUT_SOURCE OUT_EXPORTS DECLARATION...
"""
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from gen_catalogue import interfaces as catalogue_interfaces, read_pending  # noqa: E402

CONVERSIONS = {
    'double': 'Double', 'long': 'Long', 'short': 'Short', 'bool': 'Bool', 'text': 'Text',
    'point': 'Point', 'point2': 'Point2', 'vector': 'Vector', 'points': 'Points', 'length': 'Length',
    'ratio': 'Ratio', 'negated': 'Negated',
}


def fail(where, message):
    raise SystemExit(f'{where}: {message}')


def interfaces(header_text):
    """{name: [(method, [(type, name)])]} of the C++ part of widl's header."""
    return {name: [(method, [(t.replace(' *', '*'), n) for t, n in params]) for method, params in methods]
            for name, _, methods in catalogue_interfaces(header_text)}


def out_params(idl_text):
    """{(interface, method): set of [out] parameter names} for the methods that are not properties."""
    out = {}
    for m in re.finditer(r'interface\s+(\w+)\s*:\s*\w+\s*\{(.*?)\};', idl_text, re.S):
        itf, body = m.groups()
        for mm in re.finditer(r'\[([^\]]*)\]\s*HRESULT\s+(\w+)\s*\((.*?)\)\s*;', body, re.S):
            attrs, method, params = mm.groups()
            if re.search(r'\bprop(get|put|putref)\b', attrs):
                continue
            names = set()
            for pm in re.finditer(r'\[([^\]]*)\][^,\[]*?(\w+)\s*(?:,|$)', params.strip()):
                if 'out' in pm.group(1):
                    names.add(pm.group(2))
            out[(itf, method)] = names
    return out


class Member:
    def __init__(self, where, name, how, get, put, exports):
        self.where, self.name, self.how, self.get, self.put, self.exports = where, name, how, get, put, exports


class Section:
    def __init__(self, where, itf):
        self.where, self.itf = where, itf
        self.object = None
        self.access = None
        self.includes = []
        self.exported = False
        self.mixin = None
        self.members = []


def parse_declarations(path):
    sections = []
    current = None
    with open(path) as f:
        for number, raw in enumerate(f, 1):
            where = f'{path}:{number}'
            line = raw.split('#', 1)[0].strip()
            if not line:
                continue
            head = re.fullmatch(r'\[(\w+)\]', line)
            if head:
                current = Section(where, head.group(1))
                sections.append(current)
                continue
            if current is None:
                fail(where, 'a declaration outside an [Interface] section')
            word, _, rest = line.partition(' ')
            rest = rest.strip()
            if word == 'object':
                current.object = rest
            elif word == 'access':
                current.access = rest
            elif word == 'include':
                current.includes.append(rest)
            elif word == 'exported':
                current.exported = True
            elif word == 'mixin':
                current.mixin = rest
            else:
                # What follows " | " is for the Properties palette (tools/gen_palette.py).
                line, _, palette = line.partition(' | ')
                m = re.fullmatch(r'(\w+)\s+(\S+)\s*(.*)', line.strip())
                if not m:
                    fail(where, 'expected: Member conversion accessors')
                name, how, accessors = m.groups()
                exports = None
                if ' -> ' in accessors:
                    accessors, _, names = accessors.rpartition(' -> ')
                    exports = [n.strip() for n in names.split(' / ')]
                parts = split_accessors(accessors)
                if len(parts) > 2:
                    fail(where, 'at most a reading and a writing accessor')
                how_ok = (how == 'hand' or how in CONVERSIONS or '::' in how
                          or re.fullmatch(r'enum\((-?\d+)\.\.(-?\d+)\)', how))
                if not how_ok:
                    fail(where, f'unknown conversion {how!r}')
                member = Member(where, name, how, parts[0] if parts else None,
                                parts[1] if len(parts) > 1 else None, exports)
                member.palette = palette.strip()
                current.members.append(member)
    for s in sections:
        if not s.object or not s.access:
            fail(s.where, 'a section needs its object and access')
    return sections


def split_accessors(accessors):
    """The accessors of a line, split at ' / ' outside parentheses."""
    parts, depth, current = [], 0, ''
    i = 0
    while i < len(accessors):
        c = accessors[i]
        depth += c == '('
        depth -= c == ')'
        if depth == 0 and accessors.startswith(' / ', i):
            parts.append(current.strip())
            current = ''
            i += 3
            continue
        current += c
        i += 1
    if current.strip():
        parts.append(current.strip())
    return parts


def conversion(how):
    if '::' in how:
        return how  # a conversion of the family's own
    m = re.fullmatch(r'enum\((-?\d+)\.\.(-?\d+)\)', how)
    if m:
        return f'::nk::conv::Enum<{m.group(1)}, {m.group(2)}>'
    return f'::nk::conv::{CONVERSIONS[how]}'


def signature(params):
    return ', '.join(f'{t} {n}' for t, n in params)


def hand_call(declared):
    """(function, takes the application)"""
    app = declared.endswith('(app)')
    return (declared[:-5] if app else declared), app


def read_lambda(accessor, conv):
    if '&' in accessor and '(' in accessor:
        call = accessor.replace('&', 'v_')
        return (f'[&](const Object& o) {{ typename {conv}::Host v_{{}}; ::nk::check(o.{call}); '
                f'return v_; }}')
    call = accessor if '(' in accessor else accessor + '()'
    return f'[&](const Object& o) {{ return o.{call}; }}'


def write_lambda(accessor):
    call = accessor if '(' in accessor else accessor + '(value)'
    return f'[&](Object& o, const auto& value) {{ return o.{call}; }}'


def main():
    header, flat_idl, pending_path, out_header, out_source, out_exports = sys.argv[1:7]
    declarations = sys.argv[7:]
    itfs = interfaces(open(header).read())
    outs = out_params(open(flat_idl).read())
    pending = read_pending(pending_path)

    sections = []
    for path in declarations:
        sections += parse_declarations(path)
    seen_itfs = {}
    for s in sections:
        if s.itf not in itfs:
            fail(s.where, f'{s.itf} is not an interface of the type library')
        if s.itf in seen_itfs:
            fail(s.where, f'{s.itf} is declared again (first at {seen_itfs[s.itf]})')
        seen_itfs[s.itf] = s.where

    preamble = ['// Generated from the *.members declarations by tools/gen_members.py; do not edit.',
                '#pragma once', '', '#include "axsupport/export.h"', '#include "core/member.h"',
                '#include "frame/object.h"']
    includes = sorted({inc for s in sections for inc in s.includes})
    preamble += [f'#include "{inc}"' for inc in includes] + ['']
    h = []
    cpp = ['// Generated from the *.members declarations by tools/gen_members.py; do not edit.',
           '#include "members_gen.h"', '', '#include "core/lookup.h"', '']
    catalogue = []    # every declared member, for those that walk them
    prototypes = []   # hand-written functions of the declared members, by namespace
    exports = []      # exported pairs: declarations
    export_defs = []  # and definitions

    for s in sections:
        methods = dict(itfs[s.itf])
        access = f'{s.access}<{s.itf}, {s.object}>'
        body = []
        declared = set()
        for m in s.members:
            getter, putter = f'get_{m.name}', f'put_{m.name}'
            if getter in methods or putter in methods:
                forms = [(n, k) for n, k in ((getter, 'get'), (putter, 'put'), (f'putref_{m.name}', 'put'))
                         if n in methods]
            elif m.name in methods:
                is_out = bool(methods[m.name]) and methods[m.name][-1][1] in outs.get((s.itf, m.name), set())
                forms = [(m.name, 'get' if is_out else 'put')]
            else:
                fail(m.where, f'{s.itf} has no member {m.name}')
            for method, kind in forms:
                key = f'{s.itf}.{method}'
                if key in pending:
                    fail(m.where, f'{key} is declared here and listed as pending')
                if key in declared:
                    fail(m.where, f'{key} is declared twice')
                declared.add(key)
            kinds = {k for _, k in forms}
            is_property = any(n.startswith(('get_', 'put_', 'putref_')) for n, _ in forms)
            extra = len(methods[forms[0][0]]) - 1
            catalogue.append(f'    {{L"{s.itf}", L"{m.name}", "{m.how}", {str(is_property).lower()}, '
                             f'{str("get" in kinds).lower()}, {str("put" in kinds).lower()}, {extra}}},')
            for index, (method, kind) in enumerate(forms):
                params = methods[method]
                sig = signature(params)
                args = ', '.join(n for _, n in params)
                accessor = m.get if kind == 'get' else (m.put if m.put is not None else
                                                        (m.get if len(forms) == 1 else None))
                if accessor is None:
                    fail(m.where, f'{s.itf}.{method} needs its {"reading" if kind == "get" else "writing"} accessor')
                by_hand = m.how == 'hand' or accessor.startswith('hand ')
                if by_hand or s.exported:
                    if by_hand:
                        function, app = hand_call(accessor[5:].strip() if accessor.startswith('hand ') else accessor)
                    else:
                        if not m.exports or len(m.exports) <= (1 if kind == 'put' and len(forms) > 1 else 0):
                            fail(m.where, 'an exported member names its functions after ->')
                        function, app = hand_call(m.exports[index if len(m.exports) > 1 else 0])
                    call_args = ', '.join(['Access::target(self())'] + (['self().application()'] if app else [])
                                          + ([args] if args else []))
                    body.append(f'    HRESULT STDMETHODCALLTYPE {method}({sig}) override final\n'
                                f'    {{\n        return {function}({call_args});\n    }}')
                    target_params = ', '.join((['IDispatch* app'] if app else []) + ([sig] if sig else []))
                    tail = f', {target_params}' if target_params else ''
                    if s.exported:
                        exports.append(f'NK_EXPORT HRESULT {function}(const kx::VxDbObjectId& id{tail});')
                        exports.append(f'NK_EXPORT HRESULT {function}({access}::Target& target{tail});')
                        forward = ', '.join(['ref'] + (['app'] if app else []) + ([args] if args else []))
                        export_defs.append(f'HRESULT {function}(const kx::VxDbObjectId& id{tail})\n'
                                           f'{{\n    VxAxObjectRef ref(id);\n    return {function}({forward});\n}}')
                        if not by_hand:
                            export_defs.append(
                                f'HRESULT {function}({access}::Target& target{tail})\n{{\n'
                                f'    using Access = {access};\n    using Object = Access::Object;\n'
                                + plain_body(m, kind, params, 'target', access, conversion(m.how), accessor)
                                + '}')
                    elif '<' not in function:
                        ns, _, fname = function.rpartition('::')
                        prototypes.append((ns, f'HRESULT {fname}({access}::Target& target{tail});'))
                    # A template (`collections::item<kLayers>`) is declared by its family's header.
                else:
                    body.append(f'    HRESULT STDMETHODCALLTYPE {method}({sig}) override final\n    {{\n'
                                + plain_body(m, kind, params, 'Access::target(self())', access,
                                             conversion(m.how), accessor, indent='        ')
                                + '    }')
        # Completeness: every member of the interface is declared or pending.
        for method, _ in itfs[s.itf]:
            key = f'{s.itf}.{method}'
            if key not in declared and key not in pending:
                fail(s.where, f'{key} is neither declared nor pending')
        h.append(f'namespace nk {{\ntemplate <class Self, class Base>\nstruct Declared<{s.itf}, Self, Base> : Base {{')
        h.append(f'    using Access = {access};\n    using Object = Access::Object;\n')
        h += body
        h.append('\nprivate:\n    Self& self() { return *static_cast<Self*>(this); }\n};')
        below = f'Pending<{s.itf}, Base>'
        if s.mixin:
            below = f'{s.mixin}<Self, {below}>'
        h.append(f'template <class Self, class Base>\nstruct Level<{s.itf}, Self, Base> {{\n'
                 f'    using type = Declared<{s.itf}, Self, {below}>;\n}};\n}}  // namespace nk\n')

    # Functions written by hand: one prototype each, in the namespace its name gives.
    by_ns = {}
    for ns, proto in prototypes:
        by_ns.setdefault(ns, []).append(proto)
    protos = []
    for ns in sorted(by_ns):
        protos.append(f'namespace nk::{ns} {{' if ns else 'namespace nk {')
        protos += by_ns[ns]
        protos.append('}\n')
    # The prototypes come before the members that call them.
    h = preamble + ['#include "exports_gen.h"', '', '// Members written by hand.'] + protos + h
    cpp += export_defs
    # Each host class whose interface is declared is wrapped by that interface's coclass.
    coclass_of = {}
    for m in re.finditer(r'coclass\s+(\w+)\s*\{(.*?)\};', open(flat_idl).read(), re.S):
        d = re.search(r'\[default\]\s*interface\s+(\w+)', m.group(2))
        if d:
            coclass_of.setdefault(d.group(1), m.group(1))
    cpp.append('namespace nk {\n\n// The wrapper class of each host class whose interface is declared.\n'
               'void registerDeclaredWrappers()\n{')
    # A host class that several interfaces open (the dictionaries) is bound by hand.
    opened_by = {}
    for s in sections:
        opened_by[s.object] = opened_by.get(s.object, 0) + 1
    for s in sections:
        if s.itf in coclass_of and opened_by[s.object] == 1:
            cpp.append(f'    bindWrapperClass<{s.object}>(CLSID_{coclass_of[s.itf]});')
    cpp.append('}\n\n}  // namespace nk')
    ex = ['// Generated from the *.members declarations by tools/gen_members.py; do not edit.',
          '// The exported member functions, each by object id and by a wrapper\'s reference.',
          '#pragma once', '', '#include <windows.h>', '#include <oaidl.h>', '',
          '#include "axsupport/export.h"', '#include "core/member.h"', '#include "kxauto.h"', '']
    ex += [f'#include "{inc}"' for s in sections if s.exported for inc in s.includes] + [''] + exports
    write_if_changed(out_header, '\n'.join(h) + '\n')
    write_if_changed(out_source, '\n'.join(cpp) + '\n')
    write_if_changed(out_exports, '\n'.join(ex) + '\n')
    table = ['// Generated from the *.members declarations by tools/gen_members.py; do not edit.',
             '// Every declared member, in declaration order.', '#pragma once', '',
             'namespace nk {', '', 'struct DeclaredMember {', '    const wchar_t* itf;', '    const wchar_t* name;',
             '    const char* conversion;  // "hand" for those written by hand',
             '    bool property;', '    bool get;', '    bool put;', '    int extraArguments;  // an index, ...',
             '};', '', 'inline constexpr DeclaredMember kDeclaredMembers[] = {'] + catalogue + ['};', '',
             '}  // namespace nk']
    write_if_changed(os.path.join(os.path.dirname(out_header), 'declared_gen.h'), '\n'.join(table) + '\n')


def plain_body(m, kind, params, target, access, conv, accessor, indent='    '):
    if kind == 'get':
        out = params[-1][1]
        return (f'{indent}return ::nk::member::get<Access, {conv}>({target}, {out},\n'
                f'{indent}    {read_lambda(accessor, conv)});\n')
    value = params[-1][1]
    return (f'{indent}return ::nk::member::put<Access, {conv}>({target}, {value},\n'
            f'{indent}    {write_lambda(accessor)});\n')


def write_if_changed(path, text):
    if os.path.exists(path) and open(path).read() == text:
        return
    with open(path, 'w') as f:
        f.write(text)


if __name__ == '__main__':
    main()
