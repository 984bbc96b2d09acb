// Drawings the host writes pass ezdxf's audit and read the same there;
// drawings ezdxf writes (every kind it makes, several versions) read here.
// Needs Debian's python3-ezdxf; skipped where it is not installed.

#include <cstdio>
#include <set>

#include "dxf_test_util.h"
#include "db/arctext.h"
#include "db/viewport.h"
#include "db/polylines.h"
#include "ge/matrix.h"
#include "services/hostservices.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

const char* const kPython = "/usr/bin/python3";

std::string toolPath() { return std::string(KX_DXF_TEST_DIR) + "/ezdxf_tool.py"; }

bool haveEzdxf()
{
#ifdef _WIN32
    return false;
#else
    static const bool have = std::system((std::string(kPython) + " -c 'import ezdxf' >/dev/null 2>&1").c_str()) == 0;
    return have;
#endif
}

// Runs the tool; its output goes to output, its exit status is returned.
int runTool(const std::string& arguments, std::string& output)
{
    output.clear();
#ifdef _WIN32
    (void)arguments;
    return -1;
#else
    const std::string command = std::string(kPython) + " " + toolPath() + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return -1;
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof(buffer), pipe)) > 0)
        output.append(buffer, got);
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

std::string num(double v)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%.17g", v);
    return text;
}
std::string vec(const VxGePoint3d& p) { return num(p.x) + "," + num(p.y) + "," + num(p.z); }
std::string vec(const VxGeVector3d& v) { return vec(VxGePoint3d::kOrigin + v); }
std::string hex(VxDbObjectId id)
{
    char text[24];
    std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(id.handle().value()));
    return text;
}
std::string utf8(std::wstring_view text) { return vxToUtf8(text); }
double deg(double radians) { return radians * 180.0 / kPi; }

VxGePoint3d toOcs(const VxGePoint3d& p, const VxGeVector3d& normal)
{
    VxGeMatrix3d m;
    m.setToWorldToPlane(normal);
    VxGePoint3d out = p;
    return out.transformBy(m);
}

// What the file should say, as the tool's facts.
std::string recordName(VxDbObjectId id)
{
    auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
    return record ? utf8(record->name()) : std::string("Standard");
}
// Texts the facts' own separators would cut are left out of them.
bool plain(const std::wstring& text)
{
    return !text.empty() && text.find_first_of(L";=\t\n,") == std::wstring::npos;
}

std::string typeOf(VxDbDatabase& db, VxDbObject* object)
{
    if (auto* opaque = VxDbDxfOpaqueObject::cast(object))
        return opaque->dxfName();
    if (VxDbDictionary::cast(object))
        return object->objectId() == db.plotStyleNameDictionaryId() ? "ACDBDICTIONARYWDFLT" : "DICTIONARY";
    if (VxDbXrecord::cast(object))
        return "XRECORD";
    if (VxDbGroup::cast(object))
        return "GROUP";
    if (VxDbLayout::cast(object))
        return "LAYOUT";
    if (VxDbPlotSettings::cast(object))
        return "PLOTSETTINGS";
    if (VxDbPlaceHolder::cast(object))
        return "ACDBPLACEHOLDER";
    if (VxDbMlineStyle::cast(object))
        return "MLINESTYLE";
    if (VxDbMaterial::cast(object))
        return "MATERIAL";
    if (VxDbTableStyle::cast(object))
        return "TABLESTYLE";
    if (VxDbMLeaderStyle::cast(object))
        return "MLEADERSTYLE";
    return "?";
}

std::string itemText(const VxResBuf* rb)
{
    const int code = rb->restype;
    std::string value;
    switch (vxutStorageOf(code)) {
    case VxRbStorage::kString: value = utf8(vxView(rb->resval.rstring)); break;
    case VxRbStorage::kReal: value = num(rb->resval.rreal); break;
    case VxRbStorage::kPoint: value = num(rb->resval.rpoint[0]) + "," + num(rb->resval.rpoint[1]) + "," + num(rb->resval.rpoint[2]); break;
    case VxRbStorage::kInt16: value = std::to_string(rb->resval.rint); break;
    case VxRbStorage::kInt32: value = std::to_string(rb->resval.rlong); break;
    case VxRbStorage::kInt64: value = std::to_string(rb->resval.rlong64); break;
    case VxRbStorage::kName: value = hex(VxDbObjectId::fromOldId(rb->resval.rlname[0])); break;
    default: value = "?"; break;
    }
    return std::to_string(code) + "=" + value;
}

bool readableIn(std::wstring_view text, bool escapesReadable);

// The hatch's fields, loops, pattern lines and area (the gradient only where asked: files
// before 2004 have none).
std::string hatchFacts(const VxDbHatch& hatch, bool gradient = false)
{
    std::string loops, lines;
    for (int i = 0; i < hatch.numLoops(); ++i) {
        const VxDbHatchLoop& loop = hatch.loopAt(i);
        loops += (i ? "/" : "") + std::to_string(loop.type) + (loop.isPolyline() ? ":P:" : ":E:");
        if (loop.isPolyline())
            loops += std::to_string(loop.vertices.size());
        for (const VxDbHatchEdge& edge : loop.edges)
            loops += std::to_string(edge.type);
    }
    for (const VxDbHatchPatternLine& line : hatch.patternLines()) {
        lines += (lines.empty() ? "" : "/") + num(deg(line.angle)) + "," + num(line.base.x) + "," + num(line.base.y) +
                 "," + num(line.offset.x) + "," + num(line.offset.y);
        for (double d : line.dashes)
            lines += "," + num(d);
    }
    double area = 0.0;
    hatch.getArea(area);
    std::string out = "pattern_name=" + utf8(hatch.patternName()) + ";solid_fill=" + std::to_string(hatch.solidFill()) +
                      ";associative=" + std::to_string(hatch.associative()) + ";hatch_style=" +
                      std::to_string(hatch.hatchStyle()) + ";pattern_type=" + std::to_string(hatch.patternType()) +
                      ";pattern_angle=" + num(deg(hatch.patternAngle())) + ";pattern_scale=" +
                      num(hatch.patternScale()) + ";pattern_double=" + std::to_string(hatch.patternDouble()) +
                      ";elevation=0,0," + num(hatch.elevation()) + ";extrusion=" + vec(hatch.normal()) +
                      ";hloops=" + loops + ";hlines=" + lines + ";harea=" + num(area);
    if (gradient) {
        const VxCmEntityColor c1(uint32_t(hatch.gradientColor1())), c2(uint32_t(hatch.gradientColor2()));
        out += ";hgradient=" + utf8(hatch.gradientName()) + "," + std::to_string(c1.red()) + "," +
               std::to_string(c1.green()) + "," + std::to_string(c1.blue()) + "," + std::to_string(c2.red()) + "," +
               std::to_string(c2.green()) + "," + std::to_string(c2.blue()) + "," + num(deg(hatch.gradientAngle()));
    }
    return out;
}

void entityFacts(VxDbEntity* e, std::string& out, bool escapesReadable)
{
    std::string type, attrs;
    if (auto* arcText = VxDbArcAlignedText::cast(e)) {
        // ezdxf keeps the record as its groups.
        std::string tags = "42=" + num(arcText->textHeight()) + "|40=" + num(arcText->radius()) + "|10=" +
                           vec(toOcs(arcText->center(), arcText->normal())) + "|72=" +
                           std::to_string(arcText->alignment()) + "|70=" + (arcText->isReversed() ? "1" : "0");
        if (!arcText->arcId().isNull())
            tags += "|330=" + hex(arcText->arcId());
        if (plain(arcText->textString()) && readableIn(arcText->textString(), escapesReadable))
            tags += "|1=" + utf8(arcText->textString());
        out += "TAGS\t" + hex(e->objectId()) + "\tARCALIGNEDTEXT\tAcDbArcAlignedText\t" + tags + "\n";
        return;
    }
    if (auto* line = VxDbLine::cast(e)) {
        type = "LINE";
        attrs = "start=" + vec(line->startPoint()) + ";end=" + vec(line->endPoint());
    } else if (auto* arc = VxDbArc::cast(e)) {
        type = "ARC";
        attrs = "center=" + vec(toOcs(arc->center(), arc->normal())) + ";radius=" + num(arc->radius()) +
                ";extrusion=" + vec(arc->normal()) + ";start_angle=" + num(deg(arc->startAngle())) +
                ";end_angle=" + num(deg(arc->endAngle()));
    } else if (auto* circle = VxDbCircle::cast(e)) {
        type = "CIRCLE";
        attrs = "center=" + vec(toOcs(circle->center(), circle->normal())) + ";radius=" + num(circle->radius()) +
                ";extrusion=" + vec(circle->normal());
    } else if (auto* ellipse = VxDbEllipse::cast(e)) {
        type = "ELLIPSE";
        attrs = "center=" + vec(ellipse->center()) + ";major_axis=" + vec(ellipse->majorAxis()) +
                ";ratio=" + num(ellipse->radiusRatio()) + ";start_param=" + num(ellipse->startParam()) +
                ";end_param=" + num(ellipse->endParam()) + ";extrusion=" + vec(ellipse->normal());
    } else if (auto* point = VxDbPoint::cast(e)) {
        type = "POINT";
        attrs = "location=" + vec(point->position());
    } else if (auto* ray = VxDbRay::cast(e)) {
        type = "RAY";
        attrs = "start=" + vec(ray->basePoint()) + ";unit_vector=" + vec(ray->unitDir());
    } else if (auto* xline = VxDbXline::cast(e)) {
        type = "XLINE";
        attrs = "start=" + vec(xline->basePoint()) + ";unit_vector=" + vec(xline->unitDir());
    } else if (auto* face = VxDbFace::cast(e)) {
        type = "3DFACE";
        attrs = "vtx0=" + vec(face->vertex0()) + ";vtx1=" + vec(face->vertex1()) + ";vtx2=" + vec(face->vertex2()) +
                ";vtx3=" + vec(face->vertex3()) + ";invisible=" + std::to_string(face->invisibleEdges());
    } else if (auto* quad = VxDbQuadBase::cast(e)) {
        type = VxDbSolid::cast(e) ? "SOLID" : "TRACE";
        const VxGeVector3d n = quad->normal();
        attrs = "vtx0=" + vec(toOcs(quad->point0(), n)) + ";vtx1=" + vec(toOcs(quad->point1(), n)) +
                ";vtx2=" + vec(toOcs(quad->point2(), n)) + ";vtx3=" + vec(toOcs(quad->point3(), n)) +
                ";extrusion=" + vec(n) + ";thickness=" + num(quad->thickness());
    } else if (auto* insert = VxDbBlockReference::cast(e)) {
        type = "INSERT";
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(insert->blockTableRecord()));
        attrs = "name=" + (block ? utf8(block->name()) : std::string()) + ";insert=" +
                vec(toOcs(insert->position(), insert->normal())) + ";xscale=" + num(insert->scaleFactors().x) +
                ";yscale=" + num(insert->scaleFactors().y) + ";zscale=" + num(insert->scaleFactors().z) +
                ";rotation=" + num(deg(insert->rotation()));
    } else if (auto* poly = VxDbPolyline::cast(e)) {
        type = "LWPOLYLINE";
        std::string vertices;
        for (int i = 0; i < poly->numVerts(); ++i) {
            VxGePoint2d p;
            double bulge = 0, start = 0, end = 0;
            poly->getPointAt(i, p);
            poly->getBulgeAt(i, bulge);
            poly->getWidthsAt(i, start, end);
            vertices += (i ? "," : "") + num(p.x) + "," + num(p.y) + "," + num(std::max(start, 0.0)) + "," +
                        num(std::max(end, 0.0)) + "," + num(bulge);
        }
        attrs = "flags=" + std::to_string(poly->polylineFlags()) + ";const_width=" + num(poly->constantWidth()) +
                ";elevation=" + num(poly->elevation()) + ";extrusion=" + vec(poly->normal()) +
                ";count=" + std::to_string(poly->numVerts()) + ";vertices=" + vertices;
    } else if (auto* poly2d = VxDb2dPolyline::cast(e)) {
        type = "POLYLINE";
        std::string vertices;
        for (int i = 0; i < poly2d->vertexCount(); ++i) {
            const VxDb2dVertex* v = poly2d->vertexAt(i);
            vertices += (i ? "," : "") + num(v->position().x) + "," + num(v->position().y) + "," +
                        std::to_string(v->vertexFlags()) + "," + num(v->startWidth()) + "," + num(v->endWidth()) +
                        "," + num(v->bulge());
        }
        attrs = "flags=" + std::to_string(poly2d->polylineFlags()) + ";smooth_type=" +
                std::to_string(poly2d->curveType()) + ";elevation=" + vec(poly2d->elevationPoint()) +
                ";extrusion=" + vec(poly2d->normal()) + ";pvertices=" + vertices;
    } else if (auto* poly3d = VxDb3dPolyline::cast(e)) {
        type = "POLYLINE";
        std::string vertices;
        for (int i = 0; i < poly3d->vertexCount(); ++i) {
            const VxDb3dPolylineVertex* v = poly3d->vertexAt(i);
            vertices += (i ? "," : "") + num(v->position().x) + "," + num(v->position().y) + "," +
                        std::to_string(v->vertexFlags()) + ",0,0,0";
        }
        attrs = "flags=" + std::to_string(poly3d->polylineFlags()) + ";smooth_type=" +
                std::to_string(poly3d->curveType()) + ";pvertices=" + vertices;
    } else if (auto* mesh = VxDbPolygonMesh::cast(e)) {
        type = "POLYLINE";
        std::string vertices;
        for (int i = 0; i < mesh->vertexCount(); ++i) {
            const VxDbPolygonMeshVertex* v = mesh->vertexAt(i);
            vertices += (i ? "," : "") + num(v->position().x) + "," + num(v->position().y) + "," +
                        std::to_string(v->vertexFlags()) + ",0,0,0";
        }
        attrs = "flags=" + std::to_string(mesh->meshFlags()) + ";m_count=" + std::to_string(mesh->mSize()) +
                ";n_count=" + std::to_string(mesh->nSize()) + ";smooth_type=" + std::to_string(mesh->surfaceType()) +
                ";pvertices=" + vertices;
    } else if (auto* faces = VxDbPolyFaceMesh::cast(e)) {
        type = "POLYLINE";
        std::string vertices, numbers;
        const std::vector<VxGePoint3d> points = faces->vertexPositions();
        for (size_t i = 0; i < points.size(); ++i)
            vertices += (i ? "," : "") + num(points[i].x) + "," + num(points[i].y) + ",192,0,0,0";
        const std::vector<int16_t> corners = faces->faceNumbers();
        for (size_t i = 0; i < corners.size() / 4; ++i)
            vertices += ",0,0,128,0,0,0";
        for (size_t i = 0; i < corners.size(); ++i)
            numbers += (i ? "," : "") + std::to_string(corners[i]);
        attrs = "flags=64;m_count=" + std::to_string(points.size()) + ";n_count=" +
                std::to_string(corners.size() / 4) + ";pfaces=" + numbers;
    } else if (auto* text = VxDbText::cast(e)) {
        type = VxDbAttribute::cast(e) ? "ATTRIB" : VxDbAttributeDefinition::cast(e) ? "ATTDEF" : "TEXT";
        const VxGeVector3d n = text->normal();
        attrs = "insert=" + vec(toOcs(text->position(), n)) + ";height=" + num(text->height()) +
                ";rotation=" + num(deg(text->rotation())) + ";width=" + num(text->widthFactor()) +
                ";halign=" + std::to_string(text->horizontalMode()) + ";valign=" +
                std::to_string(text->verticalMode()) + ";text_generation_flag=" +
                std::to_string(text->generationFlags()) + ";extrusion=" + vec(n) + ";style=" +
                recordName(text->textStyle());
        if (!text->isDefaultAlignment())
            attrs += ";align_point=" + vec(toOcs(text->alignmentPoint(), n));
        if (plain(text->textString()) && readableIn(text->textString(), escapesReadable))
            attrs += ";text=" + utf8(text->textString());
        if (auto* a = VxDbAttribute::cast(e))
            attrs += ";tag=" + utf8(a->tag()) + ";flags=" + std::to_string(a->attributeFlags());
        if (auto* d = VxDbAttributeDefinition::cast(e))
            attrs += ";tag=" + utf8(d->tag()) + ";flags=" + std::to_string(d->attributeFlags());
    } else if (auto* mtext = VxDbMText::cast(e)) {
        type = "MTEXT";
        attrs = "insert=" + vec(mtext->location()) + ";char_height=" + num(mtext->textHeight()) +
                ";width=" + num(mtext->width()) + ";attachment_point=" + std::to_string(mtext->attachment()) +
                ";text_direction=" + vec(mtext->direction()) + ";extrusion=" + vec(mtext->normal()) +
                ";style=" + recordName(mtext->textStyle());
    } else if (auto* shape = VxDbShape::cast(e)) {
        type = "SHAPE";
        attrs = "insert=" + vec(toOcs(shape->position(), shape->normal())) + ";size=" + num(shape->size()) +
                ";name=" + utf8(shape->name()) + ";rotation=" + num(deg(shape->rotation()));
    } else if (auto* fcf = VxDbFcf::cast(e)) {
        type = "TOLERANCE";
        attrs = "insert=" + vec(fcf->location()) + ";x_axis_vector=" + vec(fcf->direction()) +
                ";dimstyle=" + utf8(fcf->dimensionStyle());
    } else if (auto* hatch = VxDbHatch::cast(e)) {
        type = "HATCH";
        attrs = hatchFacts(*hatch);
    } else if (auto* opaque = VxDbDxfOpaqueEntity::cast(e)) {
        type = opaque->dxfName();
    }
    std::string layer = utf8(e->layer());
    out += "ENTITY\t" + hex(e->objectId()) + "\t" + type + "\t" + (layer.empty() ? "0" : layer) + "\t" +
           std::to_string(e->colorIndex()) + "\t" + attrs + "\n";
    VxResBufPtr xdata(e->xData());
    for (const VxResBuf* rb = xdata.get(); rb;) {
        std::string app = utf8(vxView(rb->resval.rstring));
        std::string items;
        bool readable = true;
        for (rb = rb->rbnext; rb && rb->restype != 1001; rb = rb->rbnext) {
            items += (items.empty() ? "" : "|") + itemText(rb);
            if (vxutStorageOf(rb->restype) == VxRbStorage::kString)
                readable = readable && readableIn(vxView(rb->resval.rstring), escapesReadable);
        }
        if (readable)
            out += "XDATA\t" + hex(e->objectId()) + "\t" + app + "\t" + items + "\n";
    }    if (auto* insert = VxDbBlockReference::cast(e)) {
        for (VxDbObjectId id : insert->attributeIds()) {
            if (auto* attribute = VxDbEntity::cast(detail::objectOf(id)); attribute && !attribute->isErased())
                entityFacts(attribute, out, escapesReadable);
        }
    }
}

// ezdxf does not decode "\U+XXXX" in names and extended data, which files
// before R2007 need for characters beyond their code page: such facts are
// left out for them.
bool readableIn(std::wstring_view text, bool escapesReadable)
{
    if (escapesReadable)
        return true;
    for (wchar_t c : text) {
        if (uint32_t(c) > 0xFF)
            return false;
    }
    return true;
}

std::string factsOf(VxDbDatabase& db, bool escapesReadable = true)
{
    std::string out;
    const std::pair<VxDbObjectId, const char*> tables[] = {
        {db.layerTableId(), "LAYER"}, {db.linetypeTableId(), "LTYPE"}, {db.textStyleTableId(), "STYLE"},
        {db.dimStyleTableId(), "DIMSTYLE"}, {db.UCSTableId(), "UCS"}, {db.viewTableId(), "VIEW"},
        {db.regAppTableId(), "APPID"}, {db.viewportTableId(), "VPORT"}, {db.blockTableId(), "BLOCK_RECORD"}};
    for (auto [tableId, name] : tables) {
        for (VxDbObjectId id : VxDbSymbolTable::cast(detail::objectOf(tableId))->recordIds()) {
            auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
            if (record && !record->isErased() && !record->name().empty() && readableIn(record->name(), escapesReadable))
                out += std::string("TABLE\t") + name + "\t" + utf8(record->name()) + "\n";
        }
    }
    for (VxDbObjectId id : VxDbSymbolTable::cast(detail::objectOf(db.blockTableId()))->recordIds()) {
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(id));
        if (!block || block->isErased())
            continue;
        size_t count = 0;
        for (VxDbObjectId entityId : block->entityIds()) {
            auto* e = VxDbEntity::cast(detail::objectOf(entityId));
            if (!e || e->isErased())
                continue;
            ++count;
            if (readableIn(e->layer(), escapesReadable))
                entityFacts(e, out, escapesReadable);
        }
        if (!block->isLayout())
            out += "BLOCK\t" + utf8(block->name()) + "\t" + std::to_string(count) + "\n";
    }
    for (size_t slot = 1; slot < db.objectSlotCount(); ++slot) {
        VxDbObject* object = detail::objectOf(db.objectIdAtSlot(slot));
        if (!object || object->isErased())
            continue;
        if (auto* dictionary = VxDbDictionary::cast(object); dictionary && typeOf(db, object) == "DICTIONARY") {
            for (const VxDbDictionary::Entry& entry : dictionary->entries()) {
                VxDbObject* value = detail::objectOf(entry.id);
                if (value && !value->isErased())
                    out += "DICT\t" + hex(object->objectId()) + "\t" + utf8(entry.key) + "\t" + typeOf(db, value) + "\n";
            }
        } else if (auto* xrecord = VxDbXrecord::cast(object)) {
            std::string items;
            for (const VxResBuf* rb = xrecord->data(); rb; rb = rb->rbnext)
                items += (items.empty() ? "" : "|") + itemText(rb);
            out += "XRECORD\t" + hex(object->objectId()) + "\t" + items + "\n";
        }
    }
    return out;
}

}  // namespace

TEST(DxfEzdxf, WrittenDrawingsPassTheAuditAndReadTheSame)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    buildSample(db);
    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2004, VxDbDxfVersion::kR2007,
                                   VxDbDxfVersion::kR2010, VxDbDxfVersion::kR2013, VxDbDxfVersion::kR2018}) {
        const std::string name = vxdbDxfVersionName(version);
        writeText(folder / (name + ".dxf"), toDxf(db, version));
        writeText(folder / (name + ".txt"), factsOf(db, version >= VxDbDxfVersion::kR2007));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";
    }
    std::string output;
    EXPECT_EQ(runTool("check --others " + arguments, output), 0) << output;
}

// Texts of every kind and an attributed block, written in several versions: ezdxf reads the
// same strings, styles, modes and points, and owns the attributes to their insertion.
TEST(DxfEzdxf, TextsAndAttributedBlocksReadTheSame)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    const Sample sample = buildSample(db);
    VxDbObjectId notes = db.textStyleId(L"Notes");
    const VxDbObjectId ms = db.modelSpaceId();

    auto* text = new VxDbText({1, 2, 0}, L"Room 12", 0.5);
    text->setDatabaseDefaults(&db);
    text->setTextStyle(notes);
    text->setHorizontalMode(VxDbText::kCenter);
    text->setVerticalMode(VxDbText::kVMiddle);
    text->setAlignmentPoint({3, 2, 0});
    text->setRotation(0.5);
    text->setWidthFactor(0.8);
    text->mirrorInX(true);
    append(db, ms, text);
    auto* tilted = new VxDbText({5, 5, 5}, L"Tilted", 1.0);
    tilted->setNormal(VxGeVector3d{0, 0.6, 0.8});
    append(db, ms, tilted);
    auto* mtext = new VxDbMText();
    mtext->setDatabaseDefaults(&db);
    mtext->setLocation({0, -2, 0});
    mtext->setContents(std::wstring(L"Walls 240\\P") + std::wstring(300, L'x'));
    mtext->setWidth(12);
    mtext->setAttachment(VxDbMText::kTopCenter);
    mtext->setRotation(0.25);
    mtext->setTextStyle(notes);
    append(db, ms, mtext);
    auto* shape = new VxDbShape();
    shape->setName(L"BOX");
    shape->setPosition({2, 2, 0});
    shape->setSize(1.5);
    append(db, ms, shape);
    {
        // Text along an arc of the drawing, the arc named by handle.
        auto* arc = new VxDbArc({10, 10, 0}, 5.0, 0.25, 2.5);
        append(db, ms, arc);
        auto* arcText = new VxDbArcAlignedText();
        arcText->setTextString(L"Along the arc");
        ASSERT_EQ(arcText->setArc(*arc), Velt::eOk);
        ASSERT_EQ(arcText->setTextHeight(0.5), Velt::eOk);
        ASSERT_EQ(arcText->setAlignment(VxDbArcAlignedText::kCenter), Velt::eOk);
        arcText->setReversed(true);
        append(db, ms, arcText);
    }
    {
        // Its own text height, colours, scale and text style, over those of its style.
        auto* fcf = new VxDbFcf(L"{\\Fgdt;j}%%v0.1", {4, 4, 0}, VxGeVector3d::kZAxis, VxGeVector3d{0, 1, 0});
        ASSERT_EQ(fcf->setTextHeight(0.35), Velt::eOk);
        ASSERT_EQ(fcf->setTextColor(1), Velt::eOk);
        ASSERT_EQ(fcf->setDimensionLineColor(5), Velt::eOk);
        ASSERT_EQ(fcf->setScaleFactor(2.0), Velt::eOk);
        VxDbObjectPointer<VxDbFcf> appended(append(db, ms, fcf), VxDb::kForWrite);
        ASSERT_EQ(appended->setTextStyle(notes), Velt::eOk);
    }

    auto* definition = new VxDbAttributeDefinition();
    definition->setTag(L"ROOM");
    definition->setPrompt(L"Room number");
    definition->setTextString(L"0");
    definition->setAttributeFlags(VxDbAttributeFlags::kPreset | VxDbAttributeFlags::kVerifiable);
    definition->setHeight(0.25);
    append(db, sample.block, definition);
    // A multiline one: its text travels to the reference and into files of 2018.
    auto* note = new VxDbAttributeDefinition();
    note->setTag(L"NOTE");
    note->setTextString(L"none");
    note->setPosition({0, 1, 0});
    ASSERT_EQ(note->setMTextAttribute(true), Velt::eOk);
    ASSERT_EQ(note->setMTextContents(L"Fire door\\PEI 30"), Velt::eOk);
    ASSERT_EQ(note->setMTextBoundaryWidth(4.0), Velt::eOk);
    EXPECT_EQ(note->textString(), L"Fire door");
    append(db, sample.block, note);
    std::string multiline;
    {
        VxDbObjectPointer<VxDbBlockReference> door(sample.insert, VxDb::kForWrite);
        ASSERT_EQ(UpdataBlkAttribute(door.get()), Velt::eOk);
        ASSERT_EQ(door->attributeIds().size(), 2u);
        VxDbObjectPointer<VxDbAttribute> room(door->attributeIds()[0], VxDb::kForWrite);
        room->setTextString(L"12");
        VxDbObjectPointer<VxDbAttribute> copied(door->attributeIds()[1], VxDb::kForRead);
        ASSERT_TRUE(copied->isMTextAttribute());
        EXPECT_EQ(copied->mtextContents(), L"Fire door\\PEI 30");
        EXPECT_GT(copied->mtextBoundaryWidth(), 0.0);  // scaled with the reference
        multiline = "MTEXTATTR\t" + hex(copied->objectId()) + "\t7\tFire door\\nEI 30\n";
    }
    multiline += "MTEXTATTR\t" + hex(note->objectId()) + "\t7\tFire door\\nEI 30\n";

    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        const std::string name = "texts" + std::to_string(int(version));
        writeText(folder / (name + ".dxf"), toDxf(db, version));
        writeText(folder / (name + ".txt"), factsOf(db, version >= VxDbDxfVersion::kR2007) +
                                                (version >= VxDbDxfVersion::kR2018 ? multiline : ""));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";
    }
    std::string output;
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;

    // Read back, the multiline attributes are whole again; older files hold their first line.
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> reread = fromDxf(toDxf(db, version), &info);
        EXPECT_EQ(info.opaqueEntities, 0u) << info.message;
        ASSERT_TRUE(reread);
        const VxDbAttributeDefinition* found = nullptr;
        for (VxDbObjectId blockId : VxDbSymbolTable::cast(detail::objectOf(reread->blockTableId()))->recordIds())
            for (VxDbObjectId entityId : VxDbBlockTableRecord::cast(detail::objectOf(blockId))->entityIds())
                if (auto* d = VxDbAttributeDefinition::cast(detail::objectOf(entityId)); d && d->tag() == L"NOTE")
                    found = d;
        ASSERT_NE(found, nullptr);
        const VxDbAttributeDefinition* definition = found;
        EXPECT_EQ(definition->isMTextAttribute(), version >= VxDbDxfVersion::kR2018);
        EXPECT_EQ(definition->textString(), L"Fire door");
        if (version >= VxDbDxfVersion::kR2018) {
            EXPECT_EQ(definition->mtextContents(), L"Fire door\\PEI 30");
            EXPECT_DOUBLE_EQ(definition->mtextBoundaryWidth(), 4.0);
        }
    }
}

// 2D and 3D polylines: plain, with bulges and widths, curve-fit and spline-fit, as ezdxf reads
// their vertices and flags in every version; and back again the same.
TEST(DxfEzdxf, PolylinesWithVerticesReadTheSameThere)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    auto make = [](const std::vector<VxGePoint2d>& points) {
        auto* poly = new VxDb2dPolyline();
        for (const VxGePoint2d& p : points)
            poly->appendVertex(std::make_unique<VxDb2dVertex>(VxGePoint3d{p.x, p.y, 0.0}));
        return poly;
    };
    auto* rich = make({{0, 0}, {4, 0}, {4, 3}});
    rich->setBulgeAt(0, 0.5);
    rich->setWidthsAt(1, 0.25, 1.0);
    rich->setClosed(true);
    rich->setLinetypeGeneration(true);
    rich->setElevation(2.5);
    rich->setNormal(VxGeVector3d{0.0, 0.6, 0.8});
    rich->setThickness(1.5);
    auto* fitted = make({{0, 0}, {4, 3}, {8, 0}, {12, 3}});
    fitted->convertToPolyType(VxDb::k2dFitCurvePoly);
    auto* spline = make({{0, 0}, {4, 4}, {8, 0}, {12, 4}});
    spline->convertToPolyType(VxDb::k2dCubicSplinePoly);
    auto* space = new VxDb3dPolyline();
    for (const VxGePoint3d& p : {VxGePoint3d{0, 0, 0}, VxGePoint3d{4, 0, 1}, VxGePoint3d{4, 4, 2}, VxGePoint3d{0, 4, 3}})
        space->appendVertex(std::make_unique<VxDb3dPolylineVertex>(p));
    auto* spline3d = space->clone();
    VxDb3dPolyline::cast(spline3d)->convertToPolyType(VxDb::k3dQuadSplinePoly);
    VxDb3dPolyline::cast(spline3d)->setClosed(true);
    append(db, db.modelSpaceId(), space);
    const VxDbObjectId spline3dId = append(db, db.modelSpaceId(), VxDb3dPolyline::cast(spline3d));
    auto* loop = make({{0, 0}, {4, 0}, {4, 4}});
    loop->setClosed(true);
    loop->convertToPolyType(VxDb::k2dQuadSplinePoly);
    append(db, db.modelSpaceId(), rich);
    const VxDbObjectId fittedId = append(db, db.modelSpaceId(), fitted);
    const VxDbObjectId splineId = append(db, db.modelSpaceId(), spline);
    append(db, db.modelSpaceId(), loop);
    // SPLINESEGS points an edge of the control polygon: 8 unless the drawing says otherwise.
    EXPECT_EQ(spline->vertexCount(), 4 + 3 * 8 + 1);

    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2010, VxDbDxfVersion::kR2018}) {
        const std::string name = vxdbDxfVersionName(version);
        const std::string text = toDxf(db, version);
        writeText(folder / (name + ".dxf"), text);
        writeText(folder / (name + ".txt"), factsOf(db));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";

        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(text, &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.opaqueEntities, 0u) << info.message;
        for (auto [id, source] : {std::pair{fittedId, fitted}, std::pair{splineId, spline}}) {
            VxDbObjectId readId;
            ASSERT_EQ(back->getVxDbObjectId(readId, false, id.handle()), Velt::eOk);
            auto* read = VxDb2dPolyline::cast(detail::objectOf(readId));
            ASSERT_NE(read, nullptr) << name;
            EXPECT_EQ(read->polyType(), source->polyType());
            ASSERT_EQ(read->vertexCount(), source->vertexCount());
            EXPECT_EQ(read->controlPoints(), source->controlPoints());
            for (int i = 0; i < read->vertexCount(); ++i) {
                EXPECT_EQ(read->vertexAt(i)->vertexType(), source->vertexAt(i)->vertexType());
                EXPECT_EQ(read->vertexAt(i)->bulge(), source->vertexAt(i)->bulge());
                EXPECT_NEAR(read->vertexAt(i)->tangent(), source->vertexAt(i)->tangent(), 1e-12);
            }
        }
        VxDbObjectId readId;
        ASSERT_EQ(back->getVxDbObjectId(readId, false, spline3dId.handle()), Velt::eOk);
        auto* read3d = VxDb3dPolyline::cast(detail::objectOf(readId));
        ASSERT_NE(read3d, nullptr);
        EXPECT_EQ(read3d->polyType(), VxDb::k3dQuadSplinePoly);
        EXPECT_TRUE(read3d->isClosed());
        EXPECT_EQ(read3d->controlPoints(), space->controlPoints());
        EXPECT_EQ(read3d->drawnPoints(), VxDb3dPolyline::cast(spline3d)->drawnPoints());
    }
    std::string output;
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;
}

// Polygon meshes, plain and smoothed, and a polyface mesh with a triangle and a hidden edge,
// as ezdxf reads them; and back again the same.
TEST(DxfEzdxf, MeshesReadTheSameThere)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    std::vector<VxGePoint3d> grid;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            grid.push_back({double(j), double(i), double((i * j) % 3)});
    auto* plain = new VxDbPolygonMesh();
    ASSERT_EQ(plain->setGrid(3, 4, grid), Velt::eOk);
    plain->setNClosed(true);
    auto* smooth = new VxDbPolygonMesh();
    ASSERT_EQ(smooth->setGrid(3, 4, grid), Velt::eOk);
    smooth->setMSurfaceDensity(5);
    smooth->setNSurfaceDensity(7);
    ASSERT_EQ(smooth->convertToPolyMeshType(VxDb::kCubicSurfaceMesh), Velt::eOk);
    EXPECT_EQ(smooth->vertexCount(), 12 + 35);
    auto* faces = new VxDbPolyFaceMesh();
    for (const VxGePoint3d& p : {VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0}, VxGePoint3d{1, 1, 0}, VxGePoint3d{0, 1, 1},
                                 VxGePoint3d{2, 0, 0}})
        faces->appendVertex(p);
    ASSERT_EQ(faces->appendFace(1, 2, -3, 4), Velt::eOk);
    ASSERT_EQ(faces->appendFace(2, 5, 3, 0), Velt::eOk);
    EXPECT_EQ(faces->appendFace(1, 2, 6, 0), Velt::eInvalidInput);
    EXPECT_EQ(faces->appendFace(1, 0, 2, 0), Velt::eInvalidInput);
    append(db, db.modelSpaceId(), plain);
    const VxDbObjectId smoothId = append(db, db.modelSpaceId(), smooth);
    const VxDbObjectId facesId = append(db, db.modelSpaceId(), faces);

    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        const std::string name = vxdbDxfVersionName(version);
        const std::string text = toDxf(db, version);
        writeText(folder / (name + ".dxf"), text);
        writeText(folder / (name + ".txt"), factsOf(db));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(text, &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.opaqueEntities, 0u) << info.message;
        VxDbObjectId readId;
        ASSERT_EQ(back->getVxDbObjectId(readId, false, smoothId.handle()), Velt::eOk);
        auto* mesh = VxDbPolygonMesh::cast(detail::objectOf(readId));
        ASSERT_NE(mesh, nullptr);
        EXPECT_EQ(mesh->polyMeshType(), VxDb::kCubicSurfaceMesh);
        EXPECT_EQ(mesh->controlPoints(), grid);
        EXPECT_EQ(mesh->vertexCount(), smooth->vertexCount());
        ASSERT_EQ(back->getVxDbObjectId(readId, false, facesId.handle()), Velt::eOk);
        auto* readFaces = VxDbPolyFaceMesh::cast(detail::objectOf(readId));
        ASSERT_NE(readFaces, nullptr);
        EXPECT_EQ(readFaces->faceNumbers(), faces->faceNumbers());
        EXPECT_EQ(readFaces->vertexPositions(), faces->vertexPositions());
    }
    std::string output;
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;
}

TEST(DxfEzdxf, DrawingsEzdxfWritesAreRead)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    TempFolder folder;
    std::string output;
    ASSERT_EQ(runTool("make " + quoted(folder.path()), output), 0) << output;
    std::string arguments;
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        if (entry.path().extension() != ".dxf")
            continue;
        ++files;
        SCOPED_TRACE(entry.path().filename().string());
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> db = fromDxf(readText(entry.path()), &info);
        ASSERT_TRUE(db);
        EXPECT_GE(info.entities, 15u);
        // Known kinds became the host's objects.
        auto* space = VxDbBlockTableRecord::cast(detail::objectOf(db->modelSpaceId()));
        ASSERT_NE(space, nullptr);
        std::set<std::string> kinds;
        for (VxDbObjectId id : space->entityIds())
            kinds.insert(vxToUtf8(id.objectClass()->name()));
        EXPECT_TRUE(kinds.count("KxDbLine") && kinds.count("KxDbCircle") && kinds.count("KxDbArc") &&
                    kinds.count("KxDbPoint") && kinds.count("KxDbSolid") && kinds.count("KxDbTrace") &&
                    kinds.count("KxDbFace") && kinds.count("KxDbBlockReference") && kinds.count("KxDbText") &&
                    (kinds.count("KxDbMText") || entry.path().string().find("R12") != std::string::npos));
        // Written back, ezdxf finds the same.
        const std::string stem = entry.path().stem().string();
        writeText(folder / (stem + ".out.dxf"), toDxf(*db));
        writeText(folder / (stem + ".out.txt"), factsOf(*db));
        arguments += quoted(folder / (stem + ".out.dxf")) + " " + quoted(folder / (stem + ".out.txt")) + " ";
    }
    EXPECT_EQ(files, 9u);
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;
}

// Every drawing of the library LibreCAD ships reads; a sample of them,
// written again, passes the audit and reads the same in ezdxf.
TEST(DxfEzdxf, LibraryDrawingsWrittenAgainPassTheAudit)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    const std::filesystem::path library = "/usr/share/librecad/library";
    if (!std::filesystem::is_directory(library))
        GTEST_SKIP() << "librecad-data is not installed";
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(library)) {
        if (entry.path().extension() == ".dxf")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    TempFolder folder;
    std::string arguments;
    for (size_t i = 0; i < files.size(); i += 25) {
        std::unique_ptr<VxDbDatabase> db = fromDxf(readText(files[i]));
        ASSERT_TRUE(db) << files[i];
        const std::string name = std::to_string(i);
        const VxDbDxfVersion version = i % 2 ? VxDbDxfVersion::kR2000 : VxDbDxfVersion::kR2018;
        writeText(folder / (name + ".dxf"), toDxf(*db, version));
        writeText(folder / (name + ".txt"), factsOf(*db, version >= VxDbDxfVersion::kR2007));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";
    }
    std::string output;
    EXPECT_EQ(runTool("check --others " + arguments, output), 0) << output;
}

// A sheet: a layout with plot settings and two viewports on the model, one of them with a
// layer frozen in it alone. ezdxf reads the same layout, plot settings and viewports.
TEST(DxfEzdxf, LayoutsWithViewportsReadTheSame)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    VxDbObjectId layout, block;
    ASSERT_EQ(veltGetLayoutManager()->createLayout(L"Plan", layout, block, &db), Velt::eOk);
    ASSERT_EQ(veltGetLayoutManager()->updateByNewOrder(layout, 1), Velt::eOk);
    const VxDbObjectId doors = addRecord(db.layerTableId(), new VxDbLayerTableRecord(), L"Doors");
    {
        VxDbObjectPointer<VxDbLayout> plan(layout, VxDb::kForWrite);
        VxDbPlotSettingsValidator* validator = vxdbHostApplicationServices()->plotSettingsValidator();
        ASSERT_EQ(validator->setPlotCfgName(plan.get(), L"Tarsk PDF.pc3", L"ISO_A3_(297.00_x_420.00_MM)"), Velt::eOk);
        ASSERT_EQ(validator->setPlotRotation(plan.get(), VxDbPlotSettings::k90degrees), Velt::eOk);
        ASSERT_EQ(validator->setStdScaleType(plan.get(), 16), Velt::eOk);
    }
    struct Window {
        VxGePoint3d center, viewCenter;
        double width, height;
        int16_t scale;
        double ratio;
    };
    const Window windows[] = {{{150, 140, 0}, {5000, 4000, 0}, 260, 180, 12, 0.02},
                              {{350, 140, 0}, {1200, 800, 0}, 100, 80, 7, 0.1}};
    std::string facts = "LAYOUT\tPlan\t1\tplot_configuration_file=Tarsk PDF.pc3;"
                        "paper_size=ISO_A3_(297.00_x_420.00_MM);plot_rotation=1;standard_scale_type=16\n";
    for (const Window& w : windows) {
        auto* vp = new VxDbViewport();
        vp->setDatabaseDefaults(&db);
        vp->setCenterPoint(w.center);
        vp->setWidth(w.width);
        vp->setHeight(w.height);
        vp->setViewCenter(w.viewCenter);
        ASSERT_EQ(vp->setStandardScale(w.scale), Velt::eOk);
        if (w.scale == 7)
            ASSERT_EQ(vp->freezeLayersInViewport({doors}), Velt::eOk);
        const VxDbObjectId id = append(db, block, vp);
        facts += "ENTITY\t" + hex(id) + "\tVIEWPORT\t0\t256\tcenter=" + vec(w.center) + ";width=" + num(w.width) +
                 ";height=" + num(w.height) + ";view_center_point=" + vec(w.viewCenter) + "\n";
        facts += "VIEWPORT\t" + hex(id) + "\t" + num(w.ratio) + "\t" + (w.scale == 7 ? "Doors" : "") + "\n";
    }
    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        const std::string name = std::string("sheet") + vxdbDxfVersionName(version);
        writeText(folder / (name + ".dxf"), toDxf(db, version));
        writeText(folder / (name + ".txt"), facts);
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";
    }
    std::string output;
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;
}

// Lightweight polylines: vertices, bulges, widths, flags, the plane and elevation as ezdxf
// reads them, in every version; and back again the same.
TEST(DxfEzdxf, LightweightPolylinesReadTheSameThere)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    auto* plain = new VxDbPolyline();
    plain->addVertexAt(0, {0, 0});
    plain->addVertexAt(1, {10, 0});
    auto* rich = new VxDbPolyline();
    rich->addVertexAt(0, {0, 0}, 0.5, 0.25, 1.0, 7);
    rich->addVertexAt(1, {4, 0}, -1.0);
    rich->addVertexAt(2, {4, 3}, 0.0, -1.0, -1.0, 9);
    rich->setClosed(true);
    rich->setPlinegen(true);
    rich->setElevation(2.5);
    rich->setNormal(VxGeVector3d{0.0, 0.6, 0.8});
    rich->setThickness(1.5);
    auto* wide = new VxDbPolyline();
    wide->addVertexAt(0, {1, 1});
    wide->addVertexAt(1, {2, 5}, 0.3);
    wide->setConstantWidth(0.75);
    append(db, db.modelSpaceId(), plain);
    const VxDbObjectId richId = append(db, db.modelSpaceId(), rich);
    append(db, db.modelSpaceId(), wide);

    TempFolder folder;
    std::string arguments;
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2004, VxDbDxfVersion::kR2007,
                                   VxDbDxfVersion::kR2010, VxDbDxfVersion::kR2013, VxDbDxfVersion::kR2018}) {
        const std::string name = vxdbDxfVersionName(version);
        const std::string text = toDxf(db, version);
        writeText(folder / (name + ".dxf"), text);
        writeText(folder / (name + ".txt"), factsOf(db));
        arguments += quoted(folder / (name + ".dxf")) + " " + quoted(folder / (name + ".txt")) + " ";

        std::unique_ptr<VxDbDatabase> back = fromDxf(text);
        ASSERT_TRUE(back);
        VxDbObjectId readId;
        ASSERT_EQ(back->getVxDbObjectId(readId, false, richId.handle()), Velt::eOk);
        auto* read = VxDbPolyline::cast(detail::objectOf(readId));
        ASSERT_NE(read, nullptr) << name;
        EXPECT_EQ(read->numVerts(), 3);
        EXPECT_EQ(read->polylineFlags(), rich->polylineFlags());
        EXPECT_DOUBLE_EQ(read->thickness(), 1.5);
        for (int i = 0; i < 3; ++i) {
            double b0, b1, s0, s1, e0, e1;
            int32_t id0, id1;
            rich->getBulgeAt(i, b0);
            read->getBulgeAt(i, b1);
            rich->getWidthsAt(i, s0, e0);
            read->getWidthsAt(i, s1, e1);
            rich->getVertexIdentifierAt(i, id0);
            read->getVertexIdentifierAt(i, id1);
            EXPECT_EQ(b1, b0);
            EXPECT_EQ(s1, s0);
            EXPECT_EQ(e1, e0);
            EXPECT_EQ(id1, version >= VxDbDxfVersion::kR2010 ? id0 : 0);
        }
    }
    std::string output;
    EXPECT_EQ(runTool("check " + arguments, output), 0) << output;
}

// Hatches of every kind of loop and edge (curves running either way), a pattern and a
// gradient: ezdxf reads the same loops, lines, area and colours, and other programs open them.
TEST(DxfEzdxf, HatchesReadTheSameThere)
{
    if (!haveEzdxf())
        GTEST_SKIP() << "python3-ezdxf is not installed";
    VxDbDatabase db;
    std::vector<VxDbHatch*> hatches{sampleHatch(), new VxDbHatch(), new VxDbHatch()};
    VxDbHatchLoop edges;
    edges.type = VxDbHatch::kExternal;
    edges.edges = {VxDbHatchEdge::ellipse({20, 2}, {0, 2}, 0.5, kPi, 0.0, false), VxDbHatchEdge::line({20, 4}, {24, 4}),
                   VxDbHatchEdge::arc({24, 2}, 2.0, kPi / 2, -kPi / 2, false), VxDbHatchEdge::line({24, 0}, {20, 0})};
    ASSERT_EQ(hatches[1]->appendLoop(edges), Velt::eOk);
    hatches[1]->setPattern(VxDbHatch::kUserDefined, L"_USER");
    hatches[1]->setPatternSpace(0.3);
    hatches[1]->setPatternDouble(true);
    hatches[1]->setNormal(VxGeVector3d{0, 0.6, 0.8});
    VxDbHatchLoop ring;
    ring.type = VxDbHatch::kExternal;
    ring.edges = {VxDbHatchEdge::arc({-5, -5}, 2.0, 0.0, kTwoPi, true)};
    hatches[2]->appendLoop(ring);
    hatches[2]->setHatchObjectType(VxDbHatch::kGradientObject);
    hatches[2]->setGradientName(L"SPHERICAL");
    hatches[2]->setGradientAngle(kPi / 6);
    VxCmEntityColor green;
    green.setRGB(20, 160, 40);
    hatches[2]->setGradientColor2(green.color());
    std::string facts;
    for (VxDbHatch* hatch : hatches) {
        hatch->setDatabaseDefaults(&db);
        dxftest::append(db, db.modelSpaceId(), hatch);
        facts += "ENTITY\t" + hex(hatch->objectId()) + "\tHATCH\t0\t256\t" +
                 hatchFacts(*hatch, hatch->hatchObjectType() == VxDbHatch::kGradientObject) + "\n";
    }
    // The host reads back what it wrote, in the oldest version too (the gradient as its fill).
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(db, version));
        ASSERT_TRUE(again);
        for (VxDbHatch* hatch : hatches) {
            VxDbObjectId id;
            again->getVxDbObjectId(id, false, hatch->objectId().handle());
            auto* read = VxDbHatch::cast(detail::objectOf(id));
            ASSERT_TRUE(read);
            const bool gradient = hatch->hatchObjectType() == VxDbHatch::kGradientObject;
            EXPECT_EQ(hatchFacts(*read, gradient && version >= VxDbDxfVersion::kR2004),
                      hatchFacts(*hatch, gradient && version >= VxDbDxfVersion::kR2004));
        }
    }
    TempFolder folder;
    writeText(folder / "hatches.dxf", toDxf(db, VxDbDxfVersion::kR2004));
    writeText(folder / "hatches.txt", facts);
    std::string output;
    EXPECT_EQ(runTool("check --others " + quoted(folder / "hatches.dxf") + " " + quoted(folder / "hatches.txt"), output),
              0)
        << output;
}
