#!/usr/bin/env python3
"""Generates the Properties palette's tables of every wrapper class with palette support.

Reads the flattened IDL (the interfaces, their properties and types, the enumerations), the
palette's declarations (opm/classes.palette: classes, shared rows, categories, editors,
names of enumerations) and the member declarations (*.members, for each member's conversion,
order and palette settings), and writes:
  - OUT_HEADER: the tables of each class, as the wrapper classes find them by their tag;
  - OUT_SOURCE: the tables themselves: a property map, a display table and a category
    table per class, and the list of the classes;
  - OUT_RC: every text of the tables as a string of the resource library.

usage: gen_palette.py FLAT_IDL PALETTE OUT_HEADER OUT_SOURCE OUT_RC DECLARATION...
"""
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from gen_members import parse_declarations  # noqa: E402

FIRST_ID = 20000
LAST_ID = 29999
EDITOR = 'NkPropEditCtrls.VxPePropertyEditor{}.21'
GEOMETRIC_EDITORS = {'VELTNumeric', 'Variant', 'NoPickVariant'}
INTEGERS = {'long', 'short', 'int', 'unsigned long', 'unsigned short', 'unsigned int', 'VELT_NULL', 'BYTE'}


def fail(where, message):
    raise SystemExit(f'{where}: {message}')


# ---- the type library ----

class Property:
    def __init__(self, name, dispid, type_name):
        self.name, self.dispid, self.type = name, dispid, type_name
        self.settable = False
        self.readable = True   # read without arguments


def split_params(text):
    """The parameters of a method, split at commas outside brackets and parentheses."""
    out, depth, current = [], 0, ''
    for c in text:
        depth += c in '[('
        depth -= c in '])'
        if c == ',' and depth == 0:
            out.append(current.strip())
            current = ''
        else:
            current += c
    if current.strip():
        out.append(current.strip())
    return out


def parse_param(text):
    m = re.fullmatch(r'(?:\[([^\]]*)\])?\s*(.*?)\s*(\w+)', text, re.S)
    attrs, type_name, name = m.groups()
    return (attrs or ''), ' '.join(type_name.split()), name


def parse_idl(text):
    interfaces = {}
    for m in re.finditer(r'interface\s+(\w+)\s*:\s*(\w+)\s*\{(.*?)\};', text, re.S):
        name, base, body = m.groups()
        props = {}
        order = []
        for mm in re.finditer(r'\[([^\]]*)\]\s*HRESULT\s+(\w+)\s*\((.*?)\)\s*;', body, re.S):
            attrs, member, params = mm.groups()
            kind = re.search(r'\b(propget|propputref|propput)\b', attrs)
            if not kind:
                continue
            dispid = int(re.search(r'\bid\(([^)]+)\)', attrs).group(1), 0)
            dispid = dispid - (1 << 32) if dispid >= 1 << 31 else dispid
            plist = [parse_param(p) for p in split_params(params)]
            if member not in props:
                props[member] = Property(member, dispid, None)
                order.append(member)
            prop = props[member]
            if kind.group(1) == 'propget':
                attrs_last, type_name, _ = plist[-1]
                prop.type = type_name[:-1].strip() if type_name.endswith('*') else type_name
                prop.readable = len(plist) == 1
            else:
                prop.settable = True
        interfaces[name] = (base, [props[n] for n in order])
    enums = {}
    for m in re.finditer(r'typedef\s*\[[^\]]*\]\s*enum\s+(\w+)\s*\{(.*?)\}\s*\w+\s*;', text, re.S):
        values = []
        for item in m.group(2).split(','):
            item = item.split('//', 1)[0].strip()
            if item:
                const, _, value = item.partition('=')
                values.append((const.strip(), int(value.strip(), 0)))
        enums[m.group(1)] = values
    aliases = dict((b, a) for a, b in re.findall(r'typedef\s*\[public\]\s*([\w ]+?)\s+(\w+)\s*;', text))
    coclasses = {}
    for m in re.finditer(r'coclass\s+(\w+)\s*\{(.*?)\};', text, re.S):
        coclasses[m.group(1)] = re.search(r'\[default\]\s*interface\s+(\w+)', m.group(2)).group(1)
    return interfaces, enums, aliases, coclasses


# ---- the palette's declarations ----

class Palette:
    def __init__(self, path):
        self.categories = []   # (id, weight, name, description)
        self.shared = []       # (member, editor, name)
        self.editors = {}      # type -> editor
        self.classes = []      # (coclass, name)
        self.enum_names = {}   # enum -> {value: name}
        section = None
        with open(path, encoding='utf-8') as f:
            for number, raw in enumerate(f, 1):
                where = f'{path}:{number}'
                line = raw.split('#', 1)[0].strip()
                if not line:
                    continue
                head = re.fullmatch(r'\[(\w+)(?:\s+(\w+))?\]', line)
                if head:
                    section = head.groups()
                    if section[0] == 'enum':
                        self.enum_names[section[1]] = {}
                    continue
                words = line.split(None, 2)
                if section is None:
                    fail(where, 'a line outside a section')
                if section[0] == 'categories':
                    rest, _, description = words[2].partition(' | ')
                    self.categories.append((int(words[0]), int(words[1]), rest.strip(), description.strip()))
                elif section[0] == 'shared':
                    self.shared.append((words[0], words[1], words[2]))
                elif section[0] == 'editors':
                    self.editors[words[0]] = words[1]
                elif section[0] == 'classes':
                    self.classes.append((words[0], line.split(None, 1)[1]))
                elif section[0] == 'enum':
                    value, name = line.split(None, 1)
                    self.enum_names[section[1]][int(value, 0)] = name
                else:
                    fail(where, f'unknown section {section[0]}')

    def category(self, name, where):
        for c in self.categories:
            if c[2].lower() == name.lower():
                return c
        fail(where, f'no category named {name!r}')


def member_settings(member):
    """The palette settings after " | " on a member's line."""
    settings = {}
    text = getattr(member, 'palette', None)
    if not text:
        return settings
    for part in (p.strip() for p in text.split(',')):
        if not part:
            continue
        key, _, value = part.partition(' ')
        value = value.strip()
        if key == 'hidden':
            settings['hidden'] = True
        elif key in ('name', 'category', 'editor', 'weight'):
            if not value:
                fail(member.where, f'{key} needs a value')
            settings[key] = value.strip('"') if key == 'name' else value
        else:
            fail(member.where, f'unknown palette setting {key!r}')
    if 'weight' in settings:
        settings['weight'] = int(settings['weight'])
    return settings


def words_of(name):
    """ "StartPoint" -> "Start point", "URLDescription" -> "URL description", "Simple3DPoly" ->
    "Simple 3D poly". """
    tokens = re.findall(r'[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+|[A-Z]+|\d+', name)
    if not tokens:
        return name
    out = []
    for t in tokens:
        if out and out[-1][-1].isdigit() and t.isupper() and len(t) == 1:
            out[-1] += t  # "3D"
        elif not out:
            out.append(t[0].upper() + t[1:])
        else:
            out.append(t if t.isupper() else t.lower())
    return ' '.join(out)


def enum_value_names(enum, values, palette):
    """Names of an enumeration's values: declared ones, else the constants without their common
    prefix, in words."""
    declared = palette.enum_names.get(enum, {})
    consts = [c for c, _ in values]
    prefix = os.path.commonprefix(consts) if len(consts) > 1 else ''
    # Cut only between words, so that "vxLnWt025" keeps its digits and "vxCW" its "CW".
    def between_words(n):
        return (n > 0 and (prefix[n - 1].islower() or prefix[n - 1].isdigit())
                and all(len(c) > n and (c[n].isupper() or c[n].isdigit()) for c in consts))
    while prefix and not between_words(len(prefix)):
        prefix = prefix[:-1]
    if not prefix:
        prefix = 'vx'
    names = []
    for const, value in values:
        if value in declared:
            names.append(declared[value])
            continue
        rest = const[len(prefix):] if const.startswith(prefix) else const
        names.append(words_of(rest) if rest else const)
    return names


# ---- the rows ----

class Row:
    def __init__(self, prop, name, editor, category, weight, strings, values):
        self.prop, self.name, self.editor, self.category, self.weight = prop, name, editor, category, weight
        self.strings, self.values = strings, values


class Generator:
    def __init__(self, interfaces, enums, aliases, palette, declarations):
        self.interfaces, self.enums, self.aliases, self.palette = interfaces, enums, aliases, palette
        self.declared = {s.itf: s for s in declarations}

    def resolve(self, type_name):
        seen = set()
        while type_name in self.aliases and type_name not in seen:
            seen.add(type_name)
            type_name = self.aliases[type_name]
        return type_name

    def editor(self, prop, conversion, settings, where):
        """The editor of a property, or None when the palette shows no such property."""
        if 'editor' in settings:
            return settings['editor']
        written = prop.type.rstrip('*').strip()
        resolved = self.resolve(written)
        for t in (written, resolved):
            if t in self.palette.editors:
                return self.palette.editors[t]
        if resolved == 'VARIANT_BOOL':
            return 'Bool'
        if resolved in self.enums or (conversion or '').startswith('enum('):
            return 'Enum'
        if resolved == 'BSTR':
            return 'Text'
        if written == 'VELT_NOUNITS' or conversion == 'ratio':
            return 'Numeric'
        if resolved == 'double':
            return 'VELTNumeric'
        if resolved in INTEGERS:
            return 'Numeric'
        if resolved == 'VARIANT':
            if conversion in ('vector', 'points'):
                return 'NoPickVariant'
            return 'Variant' if prop.settable else 'NoPickVariant'
        return None

    def choices(self, prop, conversion, editor):
        """(names, values) to pick from, for enumerated properties."""
        resolved = self.resolve(prop.type.rstrip('*').strip())
        if resolved in self.enums and editor in ('Enum', 'LWeight'):
            values = self.enums[resolved]
            declared = list(self.palette.enum_names.get(resolved, {}))
            if declared:  # in the order the names were declared
                values = sorted(values, key=lambda cv: declared.index(cv[1]) if cv[1] in declared else len(declared))
            return enum_value_names(resolved, values, self.palette), [v for _, v in values]
        m = re.fullmatch(r'enum\((-?\d+)\.\.(-?\d+)\)', conversion or '')
        if m and editor == 'Enum':
            values = list(range(int(m.group(1)), int(m.group(2)) + 1))
            return [str(v) for v in values], values
        return None, None

    def row(self, prop, conversion, settings, where, shared=None):
        if settings.get('hidden') or not prop.readable or prop.type is None:
            return None
        if shared:
            editor, name, category = shared[1], shared[2], self.palette.category('General', where)
        else:
            editor = self.editor(prop, conversion, settings, where)
            if editor is None:
                return None
            name = settings.get('name', words_of(prop.name))
            default = 'Geometry' if editor in GEOMETRIC_EDITORS else 'Misc'
            category = self.palette.category(settings.get('category', default), where)
        strings, values = self.choices(prop, conversion, editor)
        return Row(prop, name, editor, category, settings.get('weight', 0), strings, values)

    def chain(self, itf):
        out = []
        while itf in self.interfaces:
            out.append(itf)
            itf = self.interfaces[itf][0]
        return out

    def rows(self, coclass, itf):
        chain = self.chain(itf)
        stop = 'IVeltEntity' if 'IVeltEntity' in chain else 'IVeltObject'
        own = list(reversed(chain[:chain.index(stop)])) if stop in chain else list(reversed(chain))
        rows, used = [], set()
        # The shared rows the interface has, from its bases up.
        for shared in self.palette.shared:
            for level in chain:
                prop = next((p for p in self.interfaces[level][1] if p.name == shared[0]), None)
                if prop:
                    decl = self.declared_member(level, prop.name)
                    row = self.row(prop, decl.how if decl else None, {}, coclass, shared)
                    if row:
                        rows.append(row)
                        used.add(prop.name)
                    break
        for level in own:
            props = {p.name: p for p in self.interfaces[level][1]}
            section = self.declared.get(level)
            ordered = []
            if section:
                for m in section.members:
                    if m.name in props and m.name not in (n for n, _, _ in ordered):
                        ordered.append((m.name, m.how, member_settings(m)))
            for p in self.interfaces[level][1]:
                if p.name not in (n for n, _, _ in ordered):
                    ordered.append((p.name, None, {}))
            for name, how, settings in ordered:
                if name in used:
                    continue
                row = self.row(props[name], how, settings, f'{level}.{name}')
                if row:
                    rows.append(row)
                    used.add(name)
        dispids = [r.prop.dispid for r in rows]
        if len(set(dispids)) != len(dispids):
            fail(coclass, 'two rows with the same DISPID')
        return rows

    def declared_member(self, itf, name):
        section = self.declared.get(itf)
        if not section:
            return None
        return next((m for m in section.members if m.name == name), None)


# ---- output ----

class Strings:
    def __init__(self):
        self.ids = {}

    def id(self, text):
        if text not in self.ids:
            self.ids[text] = FIRST_ID + len(self.ids)
            if self.ids[text] > LAST_ID:
                raise SystemExit('too many palette strings')
        return self.ids[text]


def cstr(text):
    return 'L"' + text.replace('\\', '\\\\').replace('"', '\\"') + '"'


def main():
    flat_idl, palette_path, out_header, out_source, out_rc = sys.argv[1:6]
    interfaces, enums, aliases, coclasses = parse_idl(open(flat_idl, encoding='utf-8').read())
    palette = Palette(palette_path)
    declarations = []
    for path in sys.argv[6:]:
        declarations += parse_declarations(path)
    gen = Generator(interfaces, enums, aliases, palette, declarations)
    strings = Strings()
    for c in palette.categories:
        strings.id(c[2])
        strings.id(c[3])

    header = ['// Generated from opm/classes.palette and the member declarations by tools/gen_palette.py;',
              '// do not edit.', '#pragma once', '', '#include <cstddef>', '', '#include "opm/tables.h"', '',
              'namespace nk {', '', 'namespace palette {']
    source = ['// Generated from opm/classes.palette and the member declarations by tools/gen_palette.py;',
              '// do not edit.', '#include "palette_gen.h"', '', '#include "kxauto.h"', '',
              'namespace nk::palette {', 'namespace {', '',
              'const std::vector<CMDBTN_ENTRY> kNoButtons;', '']
    tables, tags, listing = [], [], []
    seen = set()
    for coclass, class_name in palette.classes:
        if coclass in seen:
            fail(palette_path, f'{coclass} is listed twice')
        seen.add(coclass)
        if coclass not in coclasses:
            fail(palette_path, f'{coclass} is not a coclass of the type library')
        rows = gen.rows(coclass, coclasses[coclass])
        map_rows, displays = [], []
        used_categories = []
        for r in rows:
            name_id = strings.id(r.name)
            strings_id = strings.id(';'.join(r.strings)) if r.strings else 0
            values = cstr(';'.join(str(v) for v in r.values)) if r.values else 'kNone'
            category_id, _, category_name, _ = r.category
            if r.category not in used_categories:
                used_categories.append(r.category)
            editable = 1 if r.prop.settable else 0
            map_rows.append(f'    {{{name_id}, {r.prop.dispid}, {category_id}, {strings.id(category_name)}, 0, '
                            f'{strings_id}, {values}, 0, {editable}, &GUID_NULL, &GUID_NULL, &IID_IDispatch, kNone}},'
                            f'  // {r.prop.name}')
            displays.append(f'    {{{r.prop.dispid}, {cstr(EDITOR.format(r.editor))}, nullptr, 0, {{}}, 0, 0, 1, '
                            f'{r.weight}, 0}},')
        categories = [f'    {{{c[0]}, {strings.id(c[2])}, {strings.id(c[3])}, 0, {c[1]}}},'
                      for c in sorted(used_categories, key=lambda c: c[1])]
        source.append(f'const VELT_OPMPROPMAP_ENTRY k{coclass}Map[] = {{')
        source += map_rows
        source.append('    {},  // the end: no property page\n};')
        source.append(f'const std::vector<CATEGORY_ENTRY> k{coclass}Categories = {{')
        source += categories
        source.append('};')
        source.append(f'const std::vector<PER_PROP_DISP_ENTRY> k{coclass}Displays = {{')
        source += displays
        source.append('};\n')
        tables.append(f'const PaletteTables k{coclass} = {{k{coclass}Map, &k{coclass}Categories, '
                      f'&k{coclass}Displays, &kNoButtons, {strings.id(class_name)}}};')
        header.append(f'extern const PaletteTables k{coclass};')
        tags.append(f'struct {coclass}Tag;\ntemplate <>\ninline constexpr const PaletteTables* '
                    f'kPaletteTablesOf<{coclass}Tag> = &palette::k{coclass};')
        listing.append(f'    {{&CLSID_{coclass}, L"{coclass}", &palette::k{coclass}}},')
    source.insert(source.index('namespace {') + 1, 'const wchar_t kNone[] = L"";')
    source += ['}  // namespace', ''] + tables + ['', '}  // namespace nk::palette', '', 'namespace nk {', '',
                                                 'const PaletteClass kPaletteClasses[] = {'] + listing
    source += ['};', '', '}  // namespace nk']
    header += ['}  // namespace palette', '', '// The tables of each wrapper class with palette support.'] + tags
    header += ['', 'struct PaletteClass {', '    const CLSID* clsid;', '    const wchar_t* coclass;',
               '    const PaletteTables* tables;', '};', 'extern const PaletteClass kPaletteClasses[];',
               f'inline constexpr size_t kPaletteClassCount = {len(listing)};', '', '}  // namespace nk']
    rc = ['// Generated by tools/gen_palette.py: the texts of the palette tables.', 'STRINGTABLE', 'BEGIN']
    for text, number in sorted(strings.ids.items(), key=lambda x: x[1]):
        rc.append(f'    {number}, L"{text.replace(chr(34), chr(34) * 2)}"')
    rc.append('END')
    write_if_changed(out_header, '\n'.join(header) + '\n')
    write_if_changed(out_source, '\n'.join(source) + '\n')
    write_if_changed(out_rc, '\n'.join(rc) + '\n')


def write_if_changed(path, text):
    if os.path.exists(path) and open(path, encoding='utf-8').read() == text:
        return
    with open(path, 'w', encoding='utf-8') as f:
        f.write(text)


if __name__ == '__main__':
    main()
