// Drawing files: broken files fail with a clear status and change nothing,
// saving never destroys the last good drawing, and every drawing of the
// library LibreCAD ships reads and survives being written again.

#include <algorithm>

#include "dxf_test_util.h"
#include "db/polylines.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

std::string sampleText(VxDbDxfVersion version = VxDbDxfVersion::kR2018)
{
    VxDbDatabase db;
    buildSample(db);
    return toDxf(db, version);
}

Velt::ErrorStatus readInto(VxDbDatabase& db, std::string_view data, VxDbDxfReadInfo* info = nullptr)
{
    return vxdbReadDxf(&db, data, info);
}

}  // namespace

TEST(DxfFiles, BrokenFilesFailCleanlyAndChangeNothing)
{
    const std::string good = sampleText();
    struct Case {
        std::string name;
        std::string data;
        Velt::ErrorStatus status;
    };
    std::vector<Case> cases = {
        {"empty", "", Velt::eBadFileFormat},
        {"blank lines", "\n\n  \n", Velt::eBadFileFormat},
        {"plain text", "Dear reader,\nthis is a letter.\n", Velt::eBadFileFormat},
        {"binary drawing", std::string("AC1032\0\0\0\x1f\x8b", 11), Velt::eBadFileFormat},
        {"picture", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), Velt::eBadFileFormat},
        {"cut after a code", good.substr(0, good.find("ENTITIES") + 12), Velt::eEndOfFile},
        {"cut inside the tables", good.substr(0, good.find("AcDbLayerTableRecord")), Velt::eEndOfFile},
        {"cut in the middle", good.substr(0, good.size() / 2), Velt::eEndOfFile},
        {"no sections", "0\nEOF\n", Velt::eBadFileFormat},
    };
    std::string garbled = good;
    garbled.replace(garbled.find("\n 10\n", garbled.find("ENTITIES")), 5, "\nten\n");
    cases.push_back({"a word for a code", garbled, Velt::eInvalidDxfCode});
    std::string outOfRange = good;
    outOfRange.replace(outOfRange.find("\n 10\n", outOfRange.find("ENTITIES")), 5, "\n99999\n");
    cases.push_back({"a code out of range", outOfRange, Velt::eInvalidDxfCode});
    std::string noZero = good;
    noZero.replace(noZero.find("  0\nLINE"), 9, " 10\nLINE");
    cases.push_back({"a record without its 0", noZero, Velt::eInvalidDxfCode});

    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VxDbDatabase db(false, true);
        VxDbDxfReadInfo info;
        EXPECT_EQ(readInto(db, c.data, &info), c.status);
        EXPECT_FALSE(info.message.empty());
        EXPECT_EQ(db.objectSlotCount(), 1u);  // nothing was added
    }
    // Where it went wrong is told.
    VxDbDatabase db(false, true);
    VxDbDxfReadInfo info;
    readInto(db, garbled, &info);
    const size_t line = size_t(std::count(garbled.begin(), garbled.begin() + ptrdiff_t(garbled.find("\nten\n")), '\n')) + 2;
    EXPECT_EQ(info.position, line);
    EXPECT_NE(info.message.find("line"), std::string::npos);

    // A database that has objects is not read into.
    VxDbDatabase full;
    EXPECT_EQ(readInto(full, good), Velt::eInvalidInput);
    EXPECT_EQ(vxdbReadDxf(nullptr, good), Velt::eNoDatabase);
}

TEST(DxfFiles, EveryCutOfAFileFailsOrReadsWithoutHarm)
{
    // A small file cut at every line: each read fails cleanly or, where the
    // cut falls between sections, reads what is there.
    VxDbDatabase db;
    append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 1, 0}));
    const std::string text = toDxf(db);
    size_t failures = 0;
    size_t line = 0;
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        if (++line % 3 != 0)
            continue;
        VxDbDatabase target(false, true);
        const Velt::ErrorStatus es = readInto(target, std::string_view(text).substr(0, at + 1));
        if (es != Velt::eOk) {
            ++failures;
            EXPECT_TRUE(es == Velt::eEndOfFile || es == Velt::eBadFileFormat) << Velt::statusName(es) << " at " << at;
            EXPECT_EQ(target.objectSlotCount(), 1u);
        }
    }
    EXPECT_GT(failures, 50u);
}

TEST(DxfFiles, ReadingAndWritingFiles)
{
    TempFolder folder;
    const std::filesystem::path path = folder / "drawing.dxf";
    VxDbDatabase db;
    const Sample s = buildSample(db);
    ASSERT_EQ(vxdbSaveAs(&db, wide(path).c_str(), true, VxDb::kSaveR2010), Velt::eOk);
    EXPECT_EQ(db.filename(), wide(std::filesystem::absolute(path)));
    EXPECT_NE(readText(path).find("AC1024"), std::string::npos);

    VxDbDatabase opened(false, true);
    ASSERT_EQ(vxdbReadDwgFile(&opened, wide(path).c_str()), Velt::eOk);
    EXPECT_EQ(opened.filename(), wide(std::filesystem::absolute(path)));
    VxDbObjectId line;
    EXPECT_EQ(opened.getVxDbObjectId(line, false, s.line.handle()), Velt::eOk);

    VxDbDatabase missing(false, true);
    EXPECT_EQ(vxdbReadDwgFile(&missing, wide(folder / "nothing.dxf").c_str()), Velt::eFileNotFound);
    EXPECT_EQ(vxdbReadDwgFile(&missing, wide(folder.path()).c_str()), Velt::eFileAccessErr);
    EXPECT_EQ(vxdbReadDwgFile(&missing, nullptr), Velt::eInvalidInput);
    writeText(folder / "drawing.dwg", std::string("AC1032\0\0\0\0\0\0\0\x01", 14));
    EXPECT_EQ(vxdbReadDwgFile(&missing, wide(folder / "drawing.dwg").c_str()), Velt::eBadFileFormat);
    EXPECT_EQ(missing.objectSlotCount(), 1u);

    // Reading with a log tells what was found.
    const std::filesystem::path log = folder / "read.log";
    VxDbDatabase logged(false, true);
    ASSERT_EQ(vxdbDxfIn(&logged, wide(path).c_str(), wide(log).c_str()), Velt::eOk);
    const std::string logText = readText(log);
    EXPECT_NE(logText.find("eOk"), std::string::npos);
    EXPECT_NE(logText.find("AC1024"), std::string::npos);

    // Writing an exchange file: the precision is the number of digits, 16 exact.
    const std::filesystem::path out = folder / "out.dxf";
    ASSERT_EQ(vxdbDxfOut(&db, wide(out).c_str(), 3, VxDb::kSaveR2000), Velt::eOk);
    const std::string rounded = readText(out);
    EXPECT_NE(rounded.find("AC1015"), std::string::npos);
    EXPECT_NE(rounded.find("\n10.1\n"), std::string::npos);  // 10.125 to three digits
    ASSERT_EQ(vxdbDxfOut(&db, wide(out).c_str(), 16), Velt::eOk);
    EXPECT_NE(readText(out).find("\n10.125\n"), std::string::npos);
    EXPECT_EQ(vxdbDxfOut(&db, wide(out).c_str(), 17), Velt::eInvalidInput);
    EXPECT_EQ(vxdbDxfOut(&db, wide(out).c_str(), 16, 5), Velt::eInvalidInput);
    EXPECT_EQ(vxdbDxfOut(nullptr, wide(out).c_str()), Velt::eNoDatabase);
}

TEST(DxfFiles, SavingKeepsTheLastGoodDrawing)
{
    TempFolder folder;
    const std::filesystem::path path = folder / "plan.dxf";
    const std::filesystem::path backup = folder / "plan.bak";
    VxDbDatabase db;
    append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1, 0, 0}));
    ASSERT_EQ(vxdbSaveAs(&db, wide(path).c_str()), Velt::eOk);
    const std::string first = readText(path);
    EXPECT_FALSE(std::filesystem::exists(backup));

    append(db, db.modelSpaceId(), new VxDbCircle({0, 0, 0}, VxGeVector3d{0, 0, 1}, 4.0));
    ASSERT_EQ(vxdbSaveAs(&db, wide(path).c_str(), true), Velt::eOk);
    EXPECT_EQ(readText(backup), first);
    const std::string second = readText(path);
    EXPECT_NE(second, first);
    EXPECT_NE(second.find("CIRCLE"), std::string::npos);

    // Without the flag the drawing is still replaced whole, and no backup kept.
    std::filesystem::remove(backup);
    ASSERT_EQ(vxdbSaveAs(&db, wide(path).c_str(), false), Velt::eOk);
    EXPECT_FALSE(std::filesystem::exists(backup));

    // Failed saves leave the drawing and no temporary files behind.
    const std::string before = readText(path);
    EXPECT_EQ(vxdbSaveAs(&db, wide(path).c_str(), true, 5), Velt::eInvalidInput);
    EXPECT_EQ(vxdbSaveAs(&db, wide(folder / "no" / "such" / "folder.dxf").c_str()), Velt::eFileAccessErr);
    EXPECT_EQ(vxdbSaveAs(&db, wide(folder.path()).c_str()), Velt::eInvalidInput);
    EXPECT_EQ(vxdbSaveAs(&db, L""), Velt::eInvalidInput);
    EXPECT_EQ(readText(path), before);
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        EXPECT_EQ(entry.path().extension().string().find("tmp"), std::string::npos) << entry.path();
        ++files;
    }
    EXPECT_EQ(files, 1u);
}

// Every drawing of LibreCAD's library reads; written and read again, it has
// the same entities, and those kept as read have the same groups.
TEST(DxfFiles, LibraryDrawingsReadAndKeepTheirEntities)
{
    const std::filesystem::path library = "/usr/share/librecad/library";
    if (!std::filesystem::is_directory(library))
        GTEST_SKIP() << "librecad-data is not installed";
    size_t files = 0, entities = 0, kept = 0, polylines = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(library)) {
        if (entry.path().extension() != ".dxf")
            continue;
        ++files;
        SCOPED_TRACE(entry.path().string());
        const std::string original = readText(entry.path());
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> db = fromDxf(original, &info);
        ASSERT_TRUE(db);
        std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(*db, files % 3 ? VxDbDxfVersion::kR2018 : VxDbDxfVersion::kR2000));
        ASSERT_TRUE(again);
        auto* blocks = VxDbSymbolTable::cast(detail::objectOf(db->blockTableId()));
        for (VxDbObjectId blockId : blocks->recordIds()) {
            auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
            auto* block2 = VxDbBlockTableRecord::cast(detail::objectOf(again->blockId(block->name().c_str())));
            ASSERT_NE(block2, nullptr) << vxToUtf8(block->name());
            ASSERT_EQ(block->entityIds().size(), block2->entityIds().size());
            for (size_t i = 0; i < block->entityIds().size(); ++i) {
                auto* a = VxDbEntity::cast(detail::objectOf(block->entityIds()[i]));
                auto* b = VxDbEntity::cast(detail::objectOf(block2->entityIds()[i]));
                ASSERT_TRUE(a && b);
                ++entities;
                EXPECT_EQ(a->isA(), b->isA());
                EXPECT_EQ(a->handle(), b->handle());
                EXPECT_EQ(a->layer(), b->layer());
                EXPECT_EQ(a->colorIndex(), b->colorIndex());
                EXPECT_EQ(a->lineWeight(), b->lineWeight());
                auto* ka = VxDbDxfOpaqueEntity::cast(a);
                auto* kb = VxDbDxfOpaqueEntity::cast(b);
                if (ka && kb) {
                    ++kept;
                    EXPECT_EQ(ka->dxfName(), kb->dxfName());
                    ASSERT_EQ(ka->groups().size(), kb->groups().size());
                    for (size_t g = 0; g < ka->groups().size(); ++g) {
                        EXPECT_EQ(ka->groups()[g].code, kb->groups()[g].code);
                        EXPECT_EQ(ka->groups()[g].value, kb->groups()[g].value);
                    }
                    ASSERT_EQ(ka->subRecords().size(), kb->subRecords().size());
                    for (size_t r = 0; r < ka->subRecords().size(); ++r) {
                        const auto& ga = ka->subRecords()[r].groups;
                        const auto& gb = kb->subRecords()[r].groups;
                        ASSERT_EQ(ga.size(), gb.size());
                        for (size_t g = 0; g < ga.size(); ++g)
                            EXPECT_TRUE(ga[g].code == gb[g].code && ga[g].value == gb[g].value);
                    }
                } else if (auto* la = VxDbLine::cast(a)) {
                    auto* lb = VxDbLine::cast(b);
                    EXPECT_TRUE(la->startPoint().isEqualTo(lb->startPoint()) && la->endPoint().isEqualTo(lb->endPoint()));
                } else if (auto* ca = VxDbCircle::cast(a)) {
                    auto* cb = VxDbCircle::cast(b);
                    EXPECT_TRUE(ca->center().isEqualTo(cb->center()) && ca->radius() == cb->radius());
                } else if (auto* aa = VxDbArc::cast(a)) {
                    auto* ab = VxDbArc::cast(b);
                    EXPECT_TRUE(aa->center().isEqualTo(ab->center()) && std::fabs(aa->startAngle() - ab->startAngle()) < 1e-12);
                } else if (auto* pa = VxDbPolyline::cast(a)) {
                    auto* pb = VxDbPolyline::cast(b);
                    ++polylines;
                    ASSERT_EQ(pa->numVerts(), pb->numVerts());
                    EXPECT_EQ(pa->polylineFlags(), pb->polylineFlags());
                    for (int v = 0; v < pa->numVerts(); ++v) {
                        VxGePoint2d qa, qb;
                        double ba = 0, bb = 0, sa = 0, sb = 0, ea = 0, eb = 0;
                        pa->getPointAt(v, qa);
                        pb->getPointAt(v, qb);
                        pa->getBulgeAt(v, ba);
                        pb->getBulgeAt(v, bb);
                        pa->getWidthsAt(v, sa, ea);
                        pb->getWidthsAt(v, sb, eb);
                        EXPECT_TRUE(qa.x == qb.x && qa.y == qb.y && ba == bb && sa == sb && ea == eb);
                    }
                }
            }
        }
        if (HasFailure())
            break;
    }
    EXPECT_GT(files, 1000u);
    EXPECT_GT(entities, 50000u);
    EXPECT_GT(kept, 500u);
    EXPECT_GT(polylines, 300u) << polylines;
}
