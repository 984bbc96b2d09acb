// Linetype files: the usual text format of "*NAME,description" lines each
// followed by an "A," pattern line of dash lengths (positive a dash,
// negative a gap, zero a dot) and bracketed text or shape elements.

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/internal.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "ge/angle.h"
#include "services/hostservices.h"

namespace kx {

namespace detail {
std::wstring_view builtinLinetypeFile(std::wstring_view fileName);
}  // namespace detail

namespace {

struct LinElement {
    double length = 0.0;
    bool hasShape = false;
    bool isText = false;
    std::wstring textOrShape;
    std::wstring styleOrFile;
    double scale = 1.0;
    double rotation = 0.0;
    bool absolute = false;
    double x = 0.0;
    double y = 0.0;
};

struct LinDefinition {
    std::wstring name;
    std::wstring description;
    std::vector<LinElement> elements;
};

std::wstring_view trim(std::wstring_view text)
{
    while (!text.empty() && (text.front() == L' ' || text.front() == L'\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == L' ' || text.back() == L'\t' || text.back() == L'\r'))
        text.remove_suffix(1);
    return text;
}

bool parseNumber(std::wstring_view text, double& value)
{
    text = trim(text);
    std::string narrow;
    for (wchar_t c : text) {
        if (c > 0x7F)
            return false;
        narrow.push_back(char(c));
    }
    if (narrow.empty())
        return false;
    // from_chars takes no leading "+" and no bare ".5"-style sign mix issues.
    if (narrow[0] == '+')
        narrow.erase(0, 1);
    const char* begin = narrow.data();
    const char* end = begin + narrow.size();
    auto result = std::from_chars(begin, end, value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(value);
}

// An angle with an optional unit: d degrees (the default), r radians, g grads.
bool parseAngle(std::wstring_view text, double& radians)
{
    text = trim(text);
    double factor = kPi / 180.0;
    if (!text.empty()) {
        const wchar_t unit = vxFoldChar(text.back());
        if (unit == L'd' || unit == L'r' || unit == L'g') {
            factor = unit == L'r' ? 1.0 : (unit == L'g' ? kPi / 200.0 : kPi / 180.0);
            text.remove_suffix(1);
        }
    }
    double value;
    if (!parseNumber(text, value))
        return false;
    radians = value * factor;
    return true;
}

// Splits at commas that are not inside brackets or quotes.
std::vector<std::wstring_view> splitTopLevel(std::wstring_view text)
{
    std::vector<std::wstring_view> parts;
    int depth = 0;
    bool quoted = false;
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        if (c == L'"')
            quoted = !quoted;
        else if (!quoted && c == L'[')
            ++depth;
        else if (!quoted && c == L']')
            --depth;
        else if (!quoted && depth == 0 && c == L',') {
            parts.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool parseComplex(std::wstring_view text, LinElement& element)
{
    // [ "text",style,params ] or [ shape,file.shx,params ]
    text = trim(text);
    if (text.size() < 2 || text.front() != L'[' || text.back() != L']')
        return false;
    std::vector<std::wstring_view> parts = splitTopLevel(text.substr(1, text.size() - 2));
    if (parts.size() < 2)
        return false;
    std::wstring_view first = trim(parts[0]);
    element.hasShape = true;
    if (first.size() >= 2 && first.front() == L'"' && first.back() == L'"') {
        element.isText = true;
        element.textOrShape = first.substr(1, first.size() - 2);
    } else {
        element.textOrShape = first;
    }
    element.styleOrFile = trim(parts[1]);
    if (element.textOrShape.empty() && !element.isText)
        return false;
    for (size_t i = 2; i < parts.size(); ++i) {
        const std::wstring_view param = trim(parts[i]);
        const size_t equals = param.find(L'=');
        if (equals == std::wstring_view::npos)
            return false;
        const wchar_t key = vxFoldChar(trim(param.substr(0, equals)).empty() ? L'?' : trim(param.substr(0, equals))[0]);
        const std::wstring_view value = param.substr(equals + 1);
        bool ok = false;
        switch (key) {
        case L's': ok = parseNumber(value, element.scale) && element.scale > 0.0; break;
        case L'x': ok = parseNumber(value, element.x); break;
        case L'y': ok = parseNumber(value, element.y); break;
        case L'r': ok = parseAngle(value, element.rotation); element.absolute = false; break;
        case L'a': ok = parseAngle(value, element.rotation); element.absolute = true; break;
        case L'u': ok = parseAngle(value, element.rotation); element.absolute = false; break;
        default: ok = false; break;
        }
        if (!ok)
            return false;
    }
    return true;
}

bool parsePattern(std::wstring_view text, LinDefinition& definition)
{
    std::vector<std::wstring_view> parts = splitTopLevel(text);
    if (parts.empty() || vxFoldChar(trim(parts[0]).empty() ? L'?' : trim(parts[0])[0]) != L'a')
        return false;
    for (size_t i = 1; i < parts.size(); ++i) {
        const std::wstring_view part = trim(parts[i]);
        if (part.empty()) {
            if (i + 1 == parts.size())
                break;  // "A," alone: a continuous line
            return false;
        }
        if (part.front() == L'[') {
            LinElement complex;
            if (!parseComplex(part, complex))
                return false;
            // The text or shape goes with the dash before it.
            if (definition.elements.empty())
                definition.elements.push_back(LinElement{});
            LinElement& target = definition.elements.back();
            const double length = target.length;
            target = complex;
            target.length = length;
            continue;
        }
        LinElement dash;
        if (!parseNumber(part, dash.length))
            return false;
        definition.elements.push_back(dash);
    }
    return int(definition.elements.size()) <= VxDbLinetypeTableRecord::kMaxDashes;
}

// Reads every definition it can; broken ones are skipped.
std::vector<LinDefinition> parseLinFile(std::wstring_view content)
{
    std::vector<LinDefinition> definitions;
    LinDefinition current;
    bool haveHeader = false;
    std::wstring pattern;
    bool inPattern = false;
    size_t pos = 0;
    while (pos <= content.size()) {
        size_t end = content.find(L'\n', pos);
        if (end == std::wstring_view::npos)
            end = content.size();
        std::wstring_view line = trim(content.substr(pos, end - pos));
        pos = end + 1;
        if (line.empty() || line[0] == L';')
            continue;
        if (inPattern) {
            pattern += line;
        } else if (line[0] == L'*') {
            const size_t comma = line.find(L',');
            current = LinDefinition();
            current.name = trim(line.substr(1, comma == std::wstring_view::npos ? std::wstring_view::npos : comma - 1));
            if (comma != std::wstring_view::npos)
                current.description = trim(line.substr(comma + 1));
            haveHeader = vxIsValidSymbolName(current.name);
            continue;
        } else if (haveHeader) {
            pattern = line;
        } else {
            continue;
        }
        // A pattern line ending in a comma goes on in the next line
        // (except the lone "A," of a continuous line).
        const std::wstring_view whole = trim(pattern);
        inPattern = whole.size() > 2 && whole.back() == L',';
        if (inPattern)
            continue;
        if (parsePattern(whole, current))
            definitions.push_back(current);
        haveHeader = false;
        pattern.clear();
    }
    return definitions;
}

Velt::ErrorStatus readLinFile(const wchar_t* fileName, VxDbDatabase* db, std::wstring& content)
{
    if (!fileName || !*fileName)
        return Velt::eInvalidInput;
    std::wstring path;
    if (vxdbHostApplicationServices()->findFile(path, fileName, db) == Velt::eOk) {
        std::ifstream in(vxToPath(path), std::ios::binary);
        if (!in)
            return Velt::eFileAccessErr;
        constexpr std::streamsize kMaxSize = 16 * 1024 * 1024;
        std::string bytes;
        char buffer[65536];
        while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
            bytes.append(buffer, size_t(in.gcount()));
            if (std::streamsize(bytes.size()) > kMaxSize)
                return Velt::eBadFileFormat;
        }
        content = vxFromUtf8(bytes);
        return Velt::eOk;
    }
    const std::wstring_view builtin =
        detail::builtinLinetypeFile(vxFromPath(vxToPath(fileName).filename()));
    if (builtin.empty())
        return Velt::eFileNotFound;
    content = builtin;
    return Velt::eOk;
}

// The nameless style that stands for a shape file, made when missing.
VxDbObjectId shapeStyleFor(VxDbDatabase* db, const std::wstring& file)
{
    VxDbObjectPointer<VxDbTextStyleTable> table(db->textStyleTableId(), VxDb::kForWrite);
    if (!table)
        return VxDbObjectId();
    for (VxDbObjectId id : table->recordIds()) {
        auto* style = VxDbTextStyleTableRecord::cast(detail::objectOf(id));
        if (style && !id.isErased() && style->isShapeFile() && vxEqualNoCase(style->fileName(), file))
            return id;
    }
    auto* style = new VxDbTextStyleTableRecord();
    style->setIsShapeFile(true);
    style->setFileName(file.c_str());
    style->setName(L"");
    VxDbObjectId id;
    if (table->add(id, style) != Velt::eOk) {
        delete style;
        return VxDbObjectId();
    }
    style->close();
    return id;
}

Velt::ErrorStatus addLinetype(VxDbDatabase* db, const LinDefinition& definition, VxDbObjectId& id)
{
    auto* record = new VxDbLinetypeTableRecord();
    record->setName(definition.name.c_str());
    record->setComments(definition.description.c_str());
    record->setNumDashes(int(definition.elements.size()));
    double length = 0.0;
    for (int i = 0; i < int(definition.elements.size()); ++i) {
        const LinElement& element = definition.elements[size_t(i)];
        record->setDashLengthAt(i, element.length);
        length += std::fabs(element.length);
        if (!element.hasShape)
            continue;
        VxDbObjectId style;
        if (element.isText) {
            style = db->textStyleId(element.styleOrFile.c_str());
            if (style.isNull())
                style = db->textStyleId(L"Standard");
            record->setTextAt(i, element.textOrShape.c_str());
        } else {
            style = shapeStyleFor(db, element.styleOrFile);
        }
        record->setShapeStyleAt(i, style);
        record->setShapeScaleAt(i, element.scale);
        record->setShapeRotationAt(i, element.rotation);
        record->setShapeIsUcsOrientedAt(i, element.absolute);
        record->setShapeOffsetAt(i, VxGeVector2d{element.x, element.y});
    }
    record->setPatternLength(length);
    VxDbObjectPointer<VxDbLinetypeTable> table(db->linetypeTableId(), VxDb::kForWrite);
    if (!table) {
        delete record;
        return table.openStatus();
    }
    if (Velt::ErrorStatus es = table->add(id, record)) {
        delete record;
        return es;
    }
    record->close();
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus VxDbDatabase::loadLineTypeFile(const wchar_t* linetypeName, const wchar_t* filename)
{
    if (!linetypeName || !*linetypeName)
        return Velt::eInvalidInput;
    std::wstring content;
    if (Velt::ErrorStatus es = readLinFile(filename, this, content))
        return es;
    const std::vector<LinDefinition> definitions = parseLinFile(content);
    const bool all = std::wstring_view(linetypeName) == L"*";
    bool found = false;
    for (const LinDefinition& definition : definitions) {
        if (!all && !vxEqualNoCase(definition.name, linetypeName))
            continue;
        found = true;
        if (!linetypeId(definition.name.c_str()).isNull()) {
            if (!all)
                return Velt::eDuplicateRecordName;
            continue;
        }
        VxDbObjectId id;
        if (Velt::ErrorStatus es = addLinetype(this, definition, id); es != Velt::eOk && !all)
            return es;
        if (!all)
            return Velt::eOk;
    }
    return found ? Velt::eOk : Velt::eKeyNotFound;
}

Velt::ErrorStatus vxdbLoadLinetypeFromFile(const wchar_t* linetypeName, const wchar_t* fileName,
                                           VxDbDatabase* database, VxDbObjectId& id)
{
    id = VxDbObjectId();
    if (!database)
        return Velt::eNoDatabase;
    if (!linetypeName || !*linetypeName || std::wstring_view(linetypeName) == L"*")
        return Velt::eInvalidInput;
    id = database->linetypeId(linetypeName);
    if (!id.isNull())
        return Velt::eOk;
    if (Velt::ErrorStatus es = database->loadLineTypeFile(linetypeName, fileName))
        return es;
    id = database->linetypeId(linetypeName);
    return id.isNull() ? Velt::eKeyNotFound : Velt::eOk;
}

}  // namespace kx
