#pragma once

// Shared by the drawing-file tests: a drawing with something of every kind
// the host models, temporary folders, and reading and writing in memory.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/hatch.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "dxf/dxffile.h"
#include "dxf/dxfopaque.h"
#include "services/hostservices.h"

namespace kx::dxftest {

inline std::string readText(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void writeText(const std::filesystem::path& path, std::string_view text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

// A folder of its own under the system's temporary folder, removed at the end.
class TempFolder {
public:
    TempFolder()
    {
        std::random_device random;
        mPath = std::filesystem::temp_directory_path() / ("kxdxf-" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(mPath);
    }
    ~TempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(mPath, error);
    }
    const std::filesystem::path& path() const { return mPath; }
    std::filesystem::path operator/(const std::string& name) const { return mPath / name; }

private:
    std::filesystem::path mPath;
};

inline std::wstring wide(const std::filesystem::path& path) { return vxFromPath(path); }

inline std::string toDxf(VxDbDatabase& db, VxDbDxfVersion version = VxDbDxfVersion::kR2018, int precision = 0)
{
    std::string out;
    EXPECT_EQ(vxdbWriteDxf(&db, out, version, precision), Velt::eOk);
    return out;
}

inline std::unique_ptr<VxDbDatabase> fromDxf(std::string_view data, VxDbDxfReadInfo* info = nullptr)
{
    auto db = std::make_unique<VxDbDatabase>(false, true);
    const Velt::ErrorStatus es = vxdbReadDxf(db.get(), data, info);
    EXPECT_EQ(es, Velt::eOk) << (info ? info->message : std::string());
    return es == Velt::eOk ? std::move(db) : nullptr;
}

template <class T>
VxDbObjectId append(VxDbDatabase& db, VxDbObjectId blockId, T* entity)
{
    VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForWrite);
    VxDbObjectId id;
    EXPECT_EQ(block->appendVxDbEntity(id, entity), Velt::eOk);
    entity->close();
    return id;
}

template <class T>
VxDbObjectId addRecord(VxDbObjectId tableId, T* record, const wchar_t* name)
{
    VxDbObjectPointer<VxDbSymbolTable> table(tableId, VxDb::kForWrite);
    record->setName(name);
    VxDbObjectId id;
    EXPECT_EQ(table->add(id, record), Velt::eOk);
    record->close();
    return id;
}

// Ids of the interesting objects of the sample drawing.
struct Sample {
    VxDbObjectId walls, hidden, block, line, circle, arc, ellipse, point, ray, xline, insert, xrecord, group;
    VxDbObjectId hatch;
};

// A square with a rounded corner, less a round island: ANSI31 turned and scaled, raised.
inline VxDbHatch* sampleHatch()
{
    auto* hatch = new VxDbHatch();
    hatch->setPattern(VxDbHatch::kPreDefined, L"ANSI31");
    hatch->setPatternAngle(kPi / 12);
    hatch->setPatternScale(0.5);
    hatch->setElevation(2.0);
    VxDbHatchLoop outer;
    outer.type = VxDbHatch::kExternal | VxDbHatch::kPolyline;
    outer.vertices = {{{0, 0}, 0.0}, {{10, 0}, 0.0}, {{10, 8}, 0.41421356237309503}, {{8, 10}, 0.0}, {{0, 10}, 0.0}};
    hatch->appendLoop(outer);
    VxDbHatchLoop island;
    island.edges = {VxDbHatchEdge::arc({5, 5}, 2.0, 0.0, kTwoPi, true)};
    hatch->appendLoop(island);
    return hatch;
}

// A drawing with something of every kind the host models.
inline Sample buildSample(VxDbDatabase& db)
{
    Sample s;
    EXPECT_EQ(vxdbRegApp(L"KXTEST", &db), Velt::eOk);

    auto* hidden = new VxDbLinetypeTableRecord();
    hidden->setComments(L"Hidden __ __ __");
    hidden->setPatternLength(0.375);
    hidden->setNumDashes(2);
    hidden->setDashLengthAt(0, 0.25);
    hidden->setDashLengthAt(1, -0.125);
    s.hidden = addRecord(db.linetypeTableId(), hidden, L"HIDDEN");

    auto* walls = new VxDbLayerTableRecord();
    VxCmColor rgb;
    rgb.setRGB(10, 200, 30);
    walls->setColor(rgb);
    walls->setLinetypeObjectId(s.hidden);
    walls->setLineWeight(VxDb::kLnWt050);
    walls->setIsLocked(true);
    walls->setDescription(L"Outer walls");
    walls->setTransparency(VxCmTransparency(128));
    s.walls = addRecord(db.layerTableId(), walls, L"Walls");
    auto* off = new VxDbLayerTableRecord();
    off->setColorIndex(5);
    off->setIsOff(true);
    off->setIsFrozen(true);
    off->setIsPlottable(false);
    addRecord(db.layerTableId(), off, L"Схема");  // a name beyond ASCII

    auto* style = new VxDbTextStyleTableRecord();
    style->setFileName(L"arial.ttf");
    style->setXScale(0.8);
    style->setObliquingAngle(0.2);
    style->setFont(L"Arial", true, false, 0, 34);
    addRecord(db.textStyleTableId(), style, L"Notes");
    auto* ucs = new VxDbUCSTableRecord();
    ucs->setOrigin({1, 2, 3});
    ucs->setXAxis({0, 1, 0});
    ucs->setYAxis({-1, 0, 0});
    addRecord(db.UCSTableId(), ucs, L"Turned");
    auto* view = new VxDbViewTableRecord();
    view->setCenterPoint({5, 6});
    view->setHeight(20);
    view->setWidth(30);
    addRecord(db.viewTableId(), view, L"Overview");
    auto* dim = new VxDbDimStyleTableRecord();
    dim->setDimReal(VxDbDimVar::kDimAsz, 0.25);
    dim->setDimInt(VxDbDimVar::kDimDec, 2);
    dim->setDimText(VxDbDimVar::kDimPost, L"<> mm");
    addRecord(db.dimStyleTableId(), dim, L"Metric");

    auto* block = new VxDbBlockTableRecord();
    block->setOrigin({1, 1, 0});
    block->setComments(L"A door");
    s.block = addRecord(db.blockTableId(), block, L"DOOR");
    append(db, s.block, new VxDbLine({0, 0, 0}, {0, 2, 0}));
    append(db, s.block, new VxDbArc({0, 0, 0}, 2.0, 0.0, kPi / 2));

    const VxDbObjectId ms = db.modelSpaceId();
    auto* line = new VxDbLine({1.5, 2.25, 0.1}, {10.125, -3.0, 7.0});
    line->setDatabaseDefaults(&db);
    line->setLayer(s.walls, true, true);
    line->setColorIndex(1);
    line->setLineWeight(VxDb::kLnWt035);
    line->setLinetypeScale(2.5);
    line->setThickness(0.5);
    s.line = append(db, ms, line);
    auto* circle = new VxDbCircle({3, 4, 5}, VxGeVector3d{0.0, 0.6, 0.8}, 2.0);
    circle->setDatabaseDefaults(&db);
    VxCmColor orange;
    orange.setRGB(255, 128, 0);
    circle->setColor(orange);
    circle->setTransparency(VxCmTransparency(77));
    s.circle = append(db, ms, circle);
    auto* arc = new VxDbArc({-2, 1, 0}, VxGeVector3d{0, 0, -1}, 1.5, 0.5, 4.0);
    arc->setDatabaseDefaults(&db);
    arc->setLinetype(s.hidden);
    s.arc = append(db, ms, arc);
    auto* ellipse = new VxDbEllipse({1, 1, 1}, VxGeVector3d{0, 0, 1}, VxGeVector3d{3, 4, 0}, 0.4, 0.25, 5.5);
    ellipse->setDatabaseDefaults(&db);
    ellipse->setVisibility(VxDb::kInvisible);
    s.ellipse = append(db, ms, ellipse);
    auto* point = new VxDbPoint({7, 8, 9});
    point->setDatabaseDefaults(&db);
    point->setEcsRotation(0.75);
    s.point = append(db, ms, point);
    auto* ray = new VxDbRay({1, 0, 0}, VxGeVector3d{1, 1, 0});
    ray->setDatabaseDefaults(&db);
    s.ray = append(db, ms, ray);
    auto* xline = new VxDbXline({0, 1, 0}, VxGeVector3d{0, 0, 1});
    xline->setDatabaseDefaults(&db);
    s.xline = append(db, ms, xline);
    auto* face = new VxDbFace({0, 0, 0}, {4, 0, 1}, {4, 3, 2}, {0, 3, 1});
    face->setDatabaseDefaults(&db);
    face->makeEdgeInvisibleAt(1);
    append(db, ms, face);
    auto* solid = new VxDbSolid({0, 0, 2}, {2, 0, 2}, {0, 2, 2}, {2, 2, 2});
    solid->setNormal(VxGeVector3d{0.6, 0, 0.8});
    solid->setThickness(0.25);
    append(db, ms, solid);
    append(db, ms, new VxDbTrace({5, 0, 0}, {6, 0, 0}, {5, 1, 0}, {6, 1, 0}));
    auto* insert = new VxDbBlockReference({20, 10, 0}, s.block);
    insert->setDatabaseDefaults(&db);
    insert->setScaleFactors({2, 2, 1});
    insert->setRotation(kPi / 6);
    s.insert = append(db, ms, insert);
    append(db, db.paperSpaceId(), new VxDbCircle({5, 5, 0}, VxGeVector3d{0, 0, 1}, 1.0));

    {
        VxDbObjectPointer<VxDbLine> open(s.line, VxDb::kForWrite);
        VxResBufPtr xdata = vxutChain({vxutNewString(1001, L"KXTEST"), vxutNewString(1000, L"hello wörld"),
                                       vxutNewInt16(1070, 7), vxutNewReal(1040, 0.1), vxutNewPoint(1010, 1, 2, 3),
                                       vxutNewString(1002, L"{"), vxutNewInt32(1071, 123456), vxutNewString(1002, L"}")});
        EXPECT_EQ(open->setXData(xdata.get()), Velt::eOk);
        EXPECT_EQ(open->createExtensionDictionary(), Velt::eOk);
        VxDbObjectPointer<VxDbDictionary> extension(open->extensionDictionary(), VxDb::kForWrite);
        auto* xrecord = new VxDbXrecord();
        VxResBufPtr data = vxutChain({vxutNewString(1, L"note"), vxutNewReal(40, 3.25), vxutNewInt16(70, 12),
                                      vxutNewPoint(10, 4, 5, 6)});
        VxResBuf* ref = vxutNewRb(340);
        ref->resval.rlname[0] = s.circle.asOldId();
        data->rbnext->rbnext->rbnext->rbnext = ref;
        EXPECT_EQ(xrecord->setFromRbChain(data.get()), Velt::eOk);
        EXPECT_EQ(extension->setAt(L"KX_NOTE", xrecord, s.xrecord), Velt::eOk);
        xrecord->close();
    }
    {
        VxDbObjectPointer<VxDbDictionary> groups(db.groupDictionaryId(), VxDb::kForWrite);
        auto* group = new VxDbGroup(L"Two shapes");
        EXPECT_EQ(groups->setAt(L"PAIR", group, s.group), Velt::eOk);
        group->append(s.line);
        group->append(s.circle);
        group->close();
    }
    auto* hatch = sampleHatch();
    hatch->setDatabaseDefaults(&db);
    hatch->setColorIndex(3);
    s.hatch = append(db, ms, hatch);
    db.setTextsize(0.35);
    db.setInsunits(VxDb::kUnitsMillimeters);
    db.setLimmax({420, 297});
    db.setClayer(s.walls);
    db.setLtscale(2.0);
    return s;
}

}  // namespace kx::dxftest
