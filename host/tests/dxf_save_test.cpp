// Saving drawings: whatever the names involved, a save either puts the
// whole new drawing in place or leaves the last good one where it was.

#include <algorithm>

#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

size_t filesIn(const std::filesystem::path& folder)
{
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
        ++count;
    }
    return count;
}

bool holdsCircle(const std::string& text) { return text.find("\nCIRCLE\n") != std::string::npos; }

}  // namespace

// A drawing saved under a name that is itself a backup's name, or names
// with several dots or none: the backup goes beside it, never over it.
TEST(DxfSave, BackupNamesNeverSwallowTheDrawing)
{
    TempFolder folder;
    VxDbDatabase db;
    append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 0, 0}));

    // Saving as "old.bak" with a backup wanted: the file there must not be
    // lost on the way, whatever becomes of the backup.
    const std::filesystem::path bakTarget = folder / "old.bak";
    ASSERT_EQ(vxdbSaveAs(&db, wide(bakTarget).c_str(), false), Velt::eOk);
    const std::string first = readText(bakTarget);
    append(db, db.modelSpaceId(), new VxDbCircle({0, 0, 0}, VxGeVector3d{0, 0, 1}, 1.0));
    const Velt::ErrorStatus es = vxdbSaveAs(&db, wide(bakTarget).c_str(), true);
    ASSERT_TRUE(std::filesystem::exists(bakTarget)) << Velt::statusName(es);
    if (es == Velt::eOk)
        EXPECT_TRUE(holdsCircle(readText(bakTarget)));
    else
        EXPECT_EQ(readText(bakTarget), first);
    EXPECT_EQ(filesIn(folder.path()), 1u);

    // Several dots: only the last extension is replaced.
    const std::filesystem::path dotted = folder / "plan.v2.dxf";
    ASSERT_EQ(vxdbSaveAs(&db, wide(dotted).c_str()), Velt::eOk);
    ASSERT_EQ(vxdbSaveAs(&db, wide(dotted).c_str()), Velt::eOk);
    EXPECT_TRUE(std::filesystem::exists(folder / "plan.v2.bak"));
    EXPECT_FALSE(std::filesystem::exists(folder / "plan.bak"));

    // No extension at all.
    const std::filesystem::path bare = folder / "bare";
    ASSERT_EQ(vxdbSaveAs(&db, wide(bare).c_str()), Velt::eOk);
    ASSERT_EQ(vxdbSaveAs(&db, wide(bare).c_str()), Velt::eOk);
    EXPECT_TRUE(std::filesystem::exists(folder / "bare.bak"));
    EXPECT_EQ(readText(bare), readText(folder / "bare.bak"));

    // A stale backup is replaced by the drawing just before the save.
    const std::filesystem::path plan = folder / "plan.dxf";
    writeText(folder / "plan.bak", "stale");
    writeText(plan, "the previous drawing");
    ASSERT_EQ(vxdbSaveAs(&db, wide(plan).c_str(), true), Velt::eOk);
    EXPECT_EQ(readText(folder / "plan.bak"), "the previous drawing");
    EXPECT_TRUE(holdsCircle(readText(plan)));
}

// When the backup cannot be made, the save fails and the drawing on disk,
// the database's name and the folder stay as they were.
TEST(DxfSave, AFailedSaveKeepsTheOldFileAndName)
{
    TempFolder folder;
    const std::filesystem::path plan = folder / "plan.dxf";
    VxDbDatabase db;
    append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 0, 0}));
    ASSERT_EQ(vxdbSaveAs(&db, wide(plan).c_str()), Velt::eOk);
    const std::wstring name = db.filename();
    const std::string before = readText(plan);

    // The backup's name is taken by a folder with something in it.
    std::filesystem::create_directories(folder / "plan.bak" / "keep");
    append(db, db.modelSpaceId(), new VxDbCircle({0, 0, 0}, VxGeVector3d{0, 0, 1}, 1.0));
    const Velt::ErrorStatus es = vxdbSaveAs(&db, wide(plan).c_str(), true);
    if (es != Velt::eOk) {
        EXPECT_EQ(es, Velt::eFileAccessErr);
        EXPECT_EQ(readText(plan), before);
    } else {
        EXPECT_TRUE(holdsCircle(readText(plan)));
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder / "plan.bak" / "keep"));
    EXPECT_EQ(filesIn(folder.path()), 2u);

    // A failed save under a new name does not rename the database.
    VxDbDatabase other;
    ASSERT_EQ(vxdbSaveAs(&other, wide(folder / "other.dxf").c_str()), Velt::eOk);
    const std::wstring otherName = other.filename();
    EXPECT_NE(vxdbSaveAs(&other, wide(folder / "missing" / "x.dxf").c_str()), Velt::eOk);
    EXPECT_NE(vxdbSaveAs(&other, wide(folder.path()).c_str()), Velt::eOk);
    EXPECT_NE(vxdbSaveAs(&other, wide(folder / "x.dxf").c_str(), true, 0), Velt::eOk);
    EXPECT_EQ(other.filename(), otherName);
    EXPECT_FALSE(std::filesystem::exists(folder / "x.dxf"));
    EXPECT_EQ(db.filename(), name);

    // Writing an exchange file never takes the database's name.
    ASSERT_EQ(vxdbDxfOut(&other, wide(folder / "export.dxf").c_str(), 8, VxDb::kSaveR2004), Velt::eOk);
    EXPECT_EQ(other.filename(), otherName);
    EXPECT_FALSE(std::filesystem::exists(folder / "export.bak"));
}

// Every save version writes a file that reads back with the same handles
// and names, at every precision; names beyond ASCII work as file names.
TEST(DxfSave, EveryVersionAndPrecisionReadsBack)
{
    TempFolder folder;
    VxDbDatabase db;
    const Sample s = buildSample(db);
    const VxDbObjectId odd = append(db, db.modelSpaceId(), new VxDbLine({1.0 / 3.0, 2.0 / 3.0, 0}, {1e-7, 123456789.125, 0}));
    for (int code : {int(VxDb::kSaveR2000), 24, int(VxDb::kSaveR2004), int(VxDb::kSaveR2007), int(VxDb::kSaveR2010),
                     int(VxDb::kSaveR2013), int(VxDb::kSaveR2018)}) {
        for (int precision : {1, 6, 15, 16}) {
            SCOPED_TRACE(std::to_string(code) + " / " + std::to_string(precision));
            const std::filesystem::path path = folder.path() / vxToPath(L"план " + std::to_wstring(code) + L".dxf");
            ASSERT_EQ(vxdbDxfOut(&db, wide(path).c_str(), precision, code), Velt::eOk);
            VxDbDatabase read(false, true);
            ASSERT_EQ(vxdbReadDwgFile(&read, wide(path).c_str()), Velt::eOk);
            VxDbObjectId id;
            ASSERT_EQ(read.getVxDbObjectId(id, false, odd.handle()), Velt::eOk);
            VxDbObjectPointer<VxDbLine> line(id);
            ASSERT_EQ(line.openStatus(), Velt::eOk);
            const double y = line->endPoint().y;
            if (precision == 16) {
                EXPECT_EQ(y, 123456789.125);
                EXPECT_EQ(line->startPoint().x, 1.0 / 3.0);
            } else {
                // precision significant digits, no more and no less
                const double scale = std::pow(10.0, 9 - precision);
                // (the expected value itself carries the rounding of a double: allow for it)
                const double expected = std::round(123456789.125 / scale) * scale;
                EXPECT_NEAR(y, expected, std::max(1e-6 * scale, std::abs(expected) * 1e-15));
            }
            EXPECT_FALSE(read.layerId(L"Walls").isNull());
            EXPECT_EQ(read.getVxDbObjectId(id, false, s.group.handle()), Velt::eOk);
        }
    }
    EXPECT_EQ(vxdbDxfOut(&db, wide(folder / "x.dxf").c_str(), 0), Velt::eOk);  // 0: exact too
    EXPECT_EQ(vxdbDxfOut(&db, wide(folder / "x.dxf").c_str(), -1), Velt::eInvalidInput);
    EXPECT_EQ(vxdbDxfOut(&db, wide(folder / "x.dxf").c_str(), 16, 22), Velt::eInvalidInput);
    EXPECT_EQ(vxdbDxfOut(&db, wide(folder / "x.dxf").c_str(), 16, 36), Velt::eInvalidInput);
}
