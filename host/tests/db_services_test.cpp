// The host services: document lock, link manager, system variables, file
// search, product information and the recorded display.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/strings.h"
#include "services/display.h"
#include "services/doclock.h"
#include "services/hostservices.h"
#include "services/linkmanager.h"

using namespace kx;

namespace {

// Makes a database the working one for the length of a test.
class WorkingDatabase {
public:
    explicit WorkingDatabase(VxDbDatabase* db) : mPrevious(vxdbHostApplicationServices()->workingDatabase())
    {
        vxdbHostApplicationServices()->setWorkingDatabase(db);
    }
    ~WorkingDatabase() { vxdbHostApplicationServices()->setWorkingDatabase(mPrevious); }

private:
    VxDbDatabase* mPrevious;
};

VxDbObjectId addLine(VxDbDatabase& db)
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
    VxDbObjectId id;
    space->appendVxDbEntity(id, line);
    line->close();
    return id;
}

Velt::ErrorStatus refuseAll(VxDbDatabase*, int) { return Velt::eLockViolation; }

}  // namespace

TEST(HostDocLock, NestsAndLetsAnEditorRefuse)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    {
        VxAxDocLock outer(id);
        EXPECT_EQ(outer.lockStatus(), Velt::eOk);
        VxAxDocLock inner(&db);
        EXPECT_EQ(inner.lockStatus(), Velt::eOk);
        EXPECT_EQ(VxAxDocLock::lockDepth(&db), 2);
    }
    EXPECT_EQ(VxAxDocLock::lockDepth(&db), 0);
    // An object in no database needs no lock; an id of a gone database fails.
    EXPECT_EQ(VxAxDocLock(VxDbObjectId()).lockStatus(), Velt::eOk);
    VxDbObjectId stale;
    {
        VxDbDatabase gone;
        stale = addLine(gone);
    }
    EXPECT_EQ(VxAxDocLock(stale).lockStatus(), Velt::eNoDatabase);

    VxAxDocLock::setLockHook(&refuseAll);
    {
        VxAxDocLock refused(id);
        EXPECT_EQ(refused.lockStatus(), Velt::eLockViolation);
        EXPECT_EQ(VxAxDocLock::lockDepth(&db), 0);
    }
    VxAxDocLock::setLockHook(nullptr);
}

TEST(HostLinkManager, RecordsWithoutOwning)
{
    VxAxOleLinkManager* links = VxAxGetOleLinkManager();
    const size_t before = links->objectRecordCount();
    int wrapper = 0, databaseWrapper = 0, document = 0;
    VxDbObjectId id;
    {
        VxDbDatabase db;
        id = addLine(db);
        links->setIUnknown(id, &wrapper);
        links->setIUnknown(&db, &databaseWrapper);
        links->setDocument(&db, &document);
        EXPECT_EQ(links->getIUnknown(id), &wrapper);
        {
            VxDbObjectPointer<VxDbLine> line(id, VxDb::kForRead);
            EXPECT_EQ(links->getIUnknown(line.get()), &wrapper);
        }
        EXPECT_EQ(links->getIUnknown(&db), &databaseWrapper);
        EXPECT_EQ(links->getDocument(&db), &document);
        VxDbLine loose;
        links->setIUnknown(&loose, &wrapper);
        EXPECT_EQ(links->getIUnknown(&loose), nullptr);
        // Null clears a record.
        links->setIUnknown(id, nullptr);
        EXPECT_EQ(links->getIUnknown(id), nullptr);
        links->setIUnknown(id, &wrapper);
        EXPECT_EQ(links->objectRecordCount(), before + 1);
        // The record's place reads and writes the same record, and keeps the count.
        void** record = links->recordOf(id, false);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(*record, &wrapper);
        links->setRecord(record, &databaseWrapper);
        EXPECT_EQ(links->getIUnknown(id), &databaseWrapper);
        EXPECT_EQ(links->objectRecordCount(), before + 1);
        links->setRecord(record, nullptr);
        EXPECT_EQ(links->objectRecordCount(), before);
        links->setRecord(record, &wrapper);
        EXPECT_EQ(links->recordOf(VxDbObjectId(), true), nullptr);
    }
    // The database's records went with it.
    EXPECT_EQ(links->objectRecordCount(), before);
    EXPECT_EQ(links->getIUnknown(id), nullptr);
}

TEST(HostSysVars, WorkingDatabaseAndApplicationVariables)
{
    VxDbDatabase db;
    WorkingDatabase working(&db);
    VxResBufPtr value;
    ASSERT_EQ(vxedGetVar(L"MEASUREMENT", value), kRtNorm);
    EXPECT_EQ(value->restype, kRtShort);
    EXPECT_EQ(value->resval.rint, 0);
    ASSERT_EQ(vxedGetVar(L"INSUNITS", value), kRtNorm);
    EXPECT_EQ(value->resval.rint, 1);
    ASSERT_EQ(vxedGetVar(L"PRODUCT", value), kRtNorm);
    EXPECT_STREQ(value->resval.rstring, L"Tarsk");
    ASSERT_EQ(vxedGetVar(L"DWGNAME", value), kRtNorm);
    EXPECT_STREQ(value->resval.rstring, L"Drawing1.dwg");
    EXPECT_EQ(vxedGetVar(L"NOSUCHVAR", value), kRtError);
    EXPECT_EQ(value, nullptr);

    VxResBufPtr metric(vxutNewInt16(kRtShort, 1));
    ASSERT_EQ(vxedSetVar(L"MEASUREMENT", metric.get()), kRtNorm);
    EXPECT_EQ(db.measurement(), VxDb::kMetric);
    VxResBufPtr outOfRange(vxutNewInt16(kRtShort, 2));
    EXPECT_EQ(vxedSetVar(L"MEASUREMENT", outOfRange.get()), kRtError);
    VxResBufPtr quiet(vxutNewInt16(kRtShort, 0));
    ASSERT_EQ(vxedSetVar(L"FILEDIA", quiet.get()), kRtNorm);
    ASSERT_EQ(vxedGetVar(L"filedia", value), kRtNorm);
    EXPECT_EQ(value->resval.rint, 0);
    vxedSetVar(L"FILEDIA", metric.get());

    // Without a working database only the application's variables answer.
    vxdbHostApplicationServices()->setWorkingDatabase(nullptr);
    EXPECT_EQ(vxedGetVar(L"MEASUREMENT", value), kRtError);
    EXPECT_EQ(vxedGetVar(L"CMDECHO", value), kRtNorm);
}

TEST(HostFiles, SearchOrderAndTheStandardLinetypeFiles)
{
    namespace fs = std::filesystem;
    const fs::path root = fs::temp_directory_path() / ("kxhost_find_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
    fs::remove_all(root);
    fs::create_directories(root / "drawing");
    fs::create_directories(root / "support");
    std::ofstream(root / "drawing" / "both.lin") << "*MINE,Mine\nA,1,-1\n";
    std::ofstream(root / "support" / "both.lin") << "*THEIRS,Theirs\nA,2,-2\n";
    std::ofstream(root / "support" / "only.lin") << "*ONLY,Only\nA,3,-3\n";

    VxDbHostApplicationServices* services = vxdbHostApplicationServices();
    const std::vector<std::wstring> saved = services->supportPaths();
    services->setSupportPaths({vxFromPath(root / "support")});
    VxDbDatabase db;
    db.setFilename(vxFromPath(root / "drawing" / "plan.dxf"));
    WorkingDatabase working(&db);

    std::wstring found;
    ASSERT_EQ(services->findFile(found, L"both.lin"), Velt::eOk);
    EXPECT_EQ(vxToPath(found).parent_path().filename(), fs::path("drawing"));
    ASSERT_EQ(services->findFile(found, L"only.lin"), Velt::eOk);
    EXPECT_EQ(vxToPath(found).parent_path().filename(), fs::path("support"));
    EXPECT_EQ(services->findFile(found, L"none.lin"), Velt::eFileNotFound);
    EXPECT_EQ(services->findFile(found, vxFromPath(root / "support" / "only.lin").c_str()), Velt::eOk);

    wchar_t buffer[4096];
    EXPECT_EQ(vxedFindFile(L"only.lin", buffer, 4096), kRtNorm);
    EXPECT_EQ(vxToPath(buffer).filename(), fs::path("only.lin"));
    EXPECT_EQ(vxedFindFile(L"only.lin", buffer, 4), kRtError);

    EXPECT_EQ(db.loadLineTypeFile(L"MINE", L"both.lin"), Velt::eOk);
    EXPECT_EQ(db.loadLineTypeFile(L"THEIRS", L"both.lin"), Velt::eKeyNotFound);

    // The standard files are found in the support folder when they are
    // there, and are built in when they are not.
    services->setSupportPaths({});
    VxDbObjectId id;
    EXPECT_EQ(vxdbLoadLinetypeFromFile(L"CENTER", L"tarsk.lin", &db, id), Velt::eOk);
#ifdef KX_HOST_SUPPORT_DIR
    services->setSupportPaths({vxFromUtf8(KX_HOST_SUPPORT_DIR)});
    EXPECT_EQ(vxdbLoadLinetypeFromFile(L"PHANTOM", L"tarskiso.lin", &db, id), Velt::eOk);
#endif
    services->setSupportPaths(saved);
    fs::remove_all(root);
}

TEST(HostProduct, PrefixNamesTheResourceLibrary)
{
    wchar_t buffer[2048];
    EXPECT_EQ(getVeltProductPreName(buffer, 2048), 2u);
    EXPECT_STREQ(buffer, L"Nk");
    EXPECT_EQ(getVeltProductPreName(buffer, 2), 0u);
    EXPECT_EQ(veltResourceLibraryName(), L"NkAutoRes.dll");
}

TEST(HostDisplay, UpdatesAreRecorded)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxHostDisplay& display = VxHostDisplay::instance();
    const size_t updates = display.updateCount();
    const size_t entityUpdates = display.entityUpdateCount();
    VxDbVdsName name;
    ASSERT_EQ(vxdbGetVdsName(name, id), Velt::eOk);
    VxDbObjectId back;
    EXPECT_EQ(vxdbGetObjectId(back, name), Velt::eOk);
    EXPECT_EQ(back, id);
    EXPECT_EQ(vxdbEntUpd(name), kRtNorm);
    EXPECT_EQ(display.lastUpdatedEntity(), id);
    EXPECT_EQ(vxedUpdateDisplay(), kRtNorm);
    EXPECT_EQ(display.updateCount(), updates + 1);
    EXPECT_EQ(display.entityUpdateCount(), entityUpdates + 1);
    // Only entities are updated.
    ASSERT_EQ(vxdbGetVdsName(name, db.layerZero()), Velt::eOk);
    EXPECT_EQ(vxdbEntUpd(name), kRtError);
}

TEST(HostServices, RegisteredApplicationsAndCoordinateConversion)
{
    VxDbDatabase db;
    EXPECT_EQ(vxdbRegApp(L"MY_APP", &db), Velt::eOk);
    EXPECT_EQ(vxdbRegApp(L"my_app", &db), Velt::eOk);
    EXPECT_EQ(vxdbRegApp(L"bad,name", &db), Velt::eInvalidSymbolName);
    VxDbObjectPointer<VxDbRegAppTable> table(db.regAppTableId(), VxDb::kForRead);
    EXPECT_EQ(table->numRecords(), 2u);
    table.close();

    WorkingDatabase working(&db);
    db.setUcs({10, 0, 0}, {0, 1, 0}, {-1, 0, 0});
    const double world[3] = {10, 5, 2};
    double user[3];
    ASSERT_EQ(vxdbWcs2Ucs(world, user), Velt::eOk);
    EXPECT_NEAR(user[0], 5.0, 1e-12);
    EXPECT_NEAR(user[1], 0.0, 1e-12);
    EXPECT_NEAR(user[2], 2.0, 1e-12);
    double again[3];
    ASSERT_EQ(vxdbUcs2Wcs(user, again), Velt::eOk);
    EXPECT_NEAR(again[0], 10.0, 1e-12);
    EXPECT_NEAR(again[1], 5.0, 1e-12);
    const double direction[3] = {1, 0, 0};
    ASSERT_EQ(vxdbWcs2Ucs(direction, user, true), Velt::eOk);
    EXPECT_NEAR(user[1], -1.0, 1e-12);
}
