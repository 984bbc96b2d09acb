// The database wrapper against real drawing databases: its tables, copies of objects,
// look-ups by handle and id, limits, the saved settings and the document properties.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/summaryinfo.h"
#include "drawing_fixture.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "kxauto.h"
#include "services/linkmanager.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

using drawing::statusCode;

kx::VxDbObjectId addLine(kx::VxDbObjectId blockId, kx::VxGePoint3d from = {0, 0, 0}, kx::VxGePoint3d to = {1, 2, 0},
                         kx::VxDbObjectId layer = {})
{
    kx::VxDbBlockTableRecord* block = nullptr;
    EXPECT_EQ(kx::vxdbOpenObject(block, blockId, kx::VxDb::kForWrite), kx::Velt::eOk);
    if (!block) return {};
    auto* line = new kx::VxDbLine(from, to);
    line->setDatabaseDefaults(block->database());
    if (!layer.isNull()) line->setLayer(layer);
    kx::VxDbObjectId id;
    EXPECT_EQ(block->appendVxDbEntity(id, line), kx::Velt::eOk);
    line->close();
    block->close();
    return id;
}

kx::VxDbObjectId addLayer(kx::VxDbDatabase* db, const wchar_t* name)
{
    kx::VxDbLayerTable* table = nullptr;
    EXPECT_EQ(kx::vxdbOpenObject(table, db->layerTableId(), kx::VxDb::kForWrite), kx::Velt::eOk);
    if (!table) return {};
    auto* layer = new kx::VxDbLayerTableRecord();
    layer->setName(name);
    kx::VxDbObjectId id;
    EXPECT_EQ(table->add(id, layer), kx::Velt::eOk);
    layer->close();
    table->close();
    return id;
}

size_t entityCount(kx::VxDbObjectId blockId)
{
    kx::VxDbBlockTableRecord* block = nullptr;
    if (kx::vxdbOpenObject(block, blockId, kx::VxDb::kForRead) != kx::Velt::eOk) return 0;
    size_t count = block->entityIds().size();
    block->close();
    return count;
}

kx::VxDbObjectId idOf(IUnknown* wrapper)
{
    kx::VxDbObjectId id;
    ComPtr<IUnknown> held(wrapper);
    if (auto base = held.as<IVeltBaseObject>()) base->GetObjectId(&id);
    return id;
}

ComPtr<IDispatch> wrapperOf(kx::VxDbObjectId id)
{
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(VxAxGetIUnknownOfObject(unknown.put(), id, nullptr), S_OK);
    return unknown.as<IDispatch>();
}

// A VT_ARRAY | VT_VARIANT list of object wrappers, as a script passes it.
void setObjectList(Variant& list, const std::vector<kx::VxDbObjectId>& ids)
{
    SAFEARRAY* sa = SafeArrayCreateVector(VT_VARIANT, 0, ULONG(ids.size()));
    for (LONG i = 0; i < LONG(ids.size()); ++i) {
        Variant item;
        V_VT(item.get()) = VT_DISPATCH;
        V_DISPATCH(item.get()) = wrapperOf(ids[size_t(i)]).detach();
        SafeArrayPutElement(sa, &i, item.get());
    }
    V_VT(list.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(list.get()) = sa;
}

void setDoubles(Variant& value, std::vector<double> numbers, VARTYPE type = VT_R8)
{
    SAFEARRAY* sa = SafeArrayCreateVector(type, 0, ULONG(numbers.size()));
    for (LONG i = 0; i < LONG(numbers.size()); ++i) {
        if (type == VT_R8) {
            SafeArrayPutElement(sa, &i, &numbers[size_t(i)]);
        } else {
            LONG n = LONG(numbers[size_t(i)]);
            SafeArrayPutElement(sa, &i, &n);
        }
    }
    V_VT(value.get()) = VT_ARRAY | type;
    V_ARRAY(value.get()) = sa;
}

std::vector<ComPtr<IDispatch>> dispatchArray(const Variant& value)
{
    std::vector<ComPtr<IDispatch>> items;
    EXPECT_EQ(value.type(), VT_ARRAY | VT_DISPATCH);
    if (value.type() != (VT_ARRAY | VT_DISPATCH)) return items;
    SAFEARRAY* sa = V_ARRAY(value.get());
    LONG lower = 0, upper = -1;
    SafeArrayGetLBound(sa, 1, &lower);
    SafeArrayGetUBound(sa, 1, &upper);
    EXPECT_EQ(lower, 0);
    for (LONG i = lower; i <= upper; ++i) {
        IDispatch* item = nullptr;
        SafeArrayGetElement(sa, &i, &item);
        items.push_back(ComPtr<IDispatch>::adopt(item));
    }
    return items;
}

Variant* missing(Variant& v)
{
    V_VT(v.get()) = VT_ERROR;
    V_ERROR(v.get()) = DISP_E_PARAMNOTFOUND;
    return &v;
}

// Two reads of a database member give one wrapper, that of the expected object.
template <class Out>
void expectOneWrapper(IVeltDatabase* database, HRESULT (STDMETHODCALLTYPE IVeltDatabase::*get)(Out**),
                      kx::VxDbObjectId expected)
{
    ComPtr<Out> first, second;
    EXPECT_EQ((database->*get)(first.put()), S_OK);
    EXPECT_EQ((database->*get)(second.put()), S_OK);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(idOf(first.get()), expected);
    EXPECT_EQ((database->*get)(nullptr), E_POINTER);
}

class DatabaseWrapper : public ::testing::Test {
protected:
    void SetUp() override
    {
        db = std::make_unique<kx::VxDbDatabase>();
        ComPtr<IUnknown> unknown = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(db.get(), nullptr));
        database = unknown.as<IVeltDatabase>();
        ASSERT_TRUE(database);
    }

    std::unique_ptr<kx::VxDbDatabase> db;  // outlives the wrappers below
    ComPtr<IVeltDatabase> database;
};

}  // namespace

TEST_F(DatabaseWrapper, IsTheOneRecordedWrapperOfItsDatabase)
{
    ComPtr<IUnknown> again = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(db.get(), nullptr));
    EXPECT_EQ(again.get(), database.as<IUnknown>().get());
    EXPECT_EQ(kx::VxAxGetOleLinkManager()->getIUnknown(db.get()), again.get());
    kx::VxDbDatabase* bound = nullptr;
    ASSERT_EQ(again.as<IVeltBaseDatabase>()->GetDatabase(&bound), S_OK);
    EXPECT_EQ(bound, db.get());
    again.reset();
    database.reset();
    EXPECT_EQ(kx::VxAxGetOleLinkManager()->getIUnknown(db.get()), nullptr);
}

TEST_F(DatabaseWrapper, TablesAreTheLookedUpWrappersOfTheirObjects)
{
    expectOneWrapper(database.get(), &IVeltDatabase::get_Layers, db->layerTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_Blocks, db->blockTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_Linetypes, db->linetypeTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_TextStyles, db->textStyleTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_DimStyles, db->dimStyleTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_RegisteredApplications, db->regAppTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_UserCoordinateSystems, db->UCSTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_Views, db->viewTableId());
    expectOneWrapper(database.get(), &IVeltDatabase::get_Viewports, db->viewportTableId());
}

TEST_F(DatabaseWrapper, AWrapperWhoseDatabaseIsGoneFailsCleanly)
{
    auto other = std::make_unique<kx::VxDbDatabase>();
    ComPtr<IUnknown> unknown = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(other.get(), nullptr));
    auto orphan = unknown.as<IVeltDatabase>();
    ComPtr<IVeltDatabasePreferences> preferences;
    ComPtr<IVeltSummaryInfo> summary;
    ASSERT_EQ(orphan->get_Preferences(preferences.put()), S_OK);
    ASSERT_EQ(orphan->get_SummaryInfo(summary.put()), S_OK);
    other.reset();

    ComPtr<IVeltLayers> layers;
    EXPECT_EQ(orphan->get_Layers(layers.put()), E_FAIL);
    double elevation = 0;
    EXPECT_EQ(orphan->get_ElevationModelSpace(&elevation), statusCode(kx::Velt::eNoDatabase));
    VARIANT_BOOL fill = VARIANT_FALSE;
    EXPECT_EQ(preferences->get_SolidFill(&fill), statusCode(kx::Velt::eNoDatabase));
    EXPECT_EQ(preferences->put_SolidFill(VARIANT_TRUE), statusCode(kx::Velt::eNoDatabase));
    Bstr author;
    EXPECT_EQ(summary->get_Author(author.put()), statusCode(kx::Velt::eNoDatabase));
}

TEST_F(DatabaseWrapper, CopyObjectsRefusesBadListsAndMixedOwnersAndCopiesNothing)
{
    kx::VxDbObjectId inModel = addLine(db->modelSpaceId());
    kx::VxDbObjectId inPaper = addLine(db->paperSpaceId());
    Variant none, result;
    missing(none);

    Variant mixed;
    setObjectList(mixed, {inModel, inPaper});
    EXPECT_EQ(database->CopyObjects(*mixed.get(), *none.get(), nullptr, result.get()), E_INVALIDARG);
    EXPECT_EQ(entityCount(db->modelSpaceId()), 1u);
    EXPECT_EQ(entityCount(db->paperSpaceId()), 1u);

    Variant empty;
    setObjectList(empty, {});
    EXPECT_EQ(database->CopyObjects(*empty.get(), *none.get(), nullptr, result.get()), E_INVALIDARG);
    Variant numbers;
    setDoubles(numbers, {1, 2});
    EXPECT_EQ(database->CopyObjects(*numbers.get(), *none.get(), nullptr, result.get()), E_INVALIDARG);

    Variant one, badOwner;
    setObjectList(one, {inModel});
    V_VT(badOwner.get()) = VT_I4;
    V_I4(badOwner.get()) = 1;
    EXPECT_EQ(database->CopyObjects(*one.get(), *badOwner.get(), nullptr, result.get()), E_INVALIDARG);
    EXPECT_EQ(database->CopyObjects(*one.get(), *none.get(), nullptr, nullptr), E_POINTER);
    EXPECT_EQ(entityCount(db->modelSpaceId()), 1u);
}

TEST_F(DatabaseWrapper, CopyObjectsWithinTheDatabaseReturnsThePrimaryCopies)
{
    kx::VxDbObjectId a = addLine(db->modelSpaceId(), {0, 0, 0}, {1, 0, 0});
    kx::VxDbObjectId b = addLine(db->modelSpaceId(), {0, 0, 0}, {0, 5, 0});
    Variant objects, none, pairs, result;
    setObjectList(objects, {a, b});
    missing(none);
    V_VT(pairs.get()) = VT_EMPTY;
    ASSERT_EQ(database->CopyObjects(*objects.get(), *none.get(), pairs.get(), result.get()), S_OK);

    auto copies = dispatchArray(result);
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(entityCount(db->modelSpaceId()), 4u);
    kx::VxDbLine* copy = nullptr;
    ASSERT_EQ(kx::vxdbOpenObject(copy, idOf(copies[1].get()), kx::VxDb::kForRead), kx::Velt::eOk);
    EXPECT_EQ(copy->endPoint().y, 5.0);
    EXPECT_EQ(copy->ownerId(), db->modelSpaceId());
    copy->close();

    auto entries = dispatchArray(pairs);
    ASSERT_GE(entries.size(), 2u);
    std::vector<kx::VxDbObjectId> primaryKeys;
    for (auto& entry : entries) {
        auto pair = entry.as<IVeltIdPair>();
        ASSERT_TRUE(pair);
        VARIANT_BOOL primary = VARIANT_FALSE;
        LONG_PTR key = 0;
        pair->get_IsPrimary(&primary);
        pair->get_Key(&key);
        if (primary == VARIANT_TRUE) primaryKeys.push_back(kx::VxDbObjectId::fromOldId(key));
    }
    EXPECT_EQ(primaryKeys, (std::vector<kx::VxDbObjectId>{a, b}));
}

TEST_F(DatabaseWrapper, CopyObjectsIntoAnotherDatabaseBringsWhatTheObjectsNeed)
{
    kx::VxDbObjectId walls = addLayer(db.get(), L"Walls");
    kx::VxDbObjectId line = addLine(db->modelSpaceId(), {0, 0, 0}, {3, 0, 0}, walls);
    auto target = std::make_unique<kx::VxDbDatabase>();
    Variant objects, owner, pairs, result;
    setObjectList(objects, {line});
    V_VT(owner.get()) = VT_DISPATCH;
    V_DISPATCH(owner.get()) = wrapperOf(target->modelSpaceId()).detach();
    V_VT(pairs.get()) = VT_EMPTY;
    ASSERT_EQ(database->CopyObjects(*objects.get(), *owner.get(), pairs.get(), result.get()), S_OK);

    auto copies = dispatchArray(result);
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_EQ(idOf(copies[0].get()).database(), target.get());
    EXPECT_EQ(entityCount(target->modelSpaceId()), 1u);
    EXPECT_FALSE(target->layerId(L"Walls").isNull());

    // Every pair of the copy is reported, the layer that came along too.
    auto entries = dispatchArray(pairs);
    EXPECT_GT(entries.size(), copies.size());
    bool layerReported = false;
    for (auto& entry : entries) {
        LONG_PTR key = 0;
        entry.as<IVeltIdPair>()->get_Key(&key);
        layerReported |= kx::VxDbObjectId::fromOldId(key) == walls;
    }
    EXPECT_TRUE(layerReported);
}

TEST_F(DatabaseWrapper, LimitsRoundTripAndRefuseOtherShapes)
{
    Variant limits;
    setDoubles(limits, {1, 2, 30, 40});
    ASSERT_EQ(database->put_Limits(*limits.get()), S_OK);
    EXPECT_EQ(db->limmin().x, 1.0);
    EXPECT_EQ(db->limmax().y, 40.0);

    Variant read;
    ASSERT_EQ(database->get_Limits(read.get()), S_OK);
    ASSERT_EQ(read.type(), VT_ARRAY | VT_R8);
    double values[4] = {};
    for (LONG i = 0; i < 4; ++i) SafeArrayGetElement(V_ARRAY(read.get()), &i, &values[i]);
    EXPECT_EQ(values[0], 1.0);
    EXPECT_EQ(values[1], 2.0);
    EXPECT_EQ(values[2], 30.0);
    EXPECT_EQ(values[3], 40.0);

    Variant integers;
    setDoubles(integers, {0, 0, 5, 5}, VT_I4);
    EXPECT_EQ(database->put_Limits(*integers.get()), E_INVALIDARG);
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    Variant square;
    V_VT(square.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(square.get()) = SafeArrayCreate(VT_R8, 2, bounds);
    EXPECT_EQ(database->put_Limits(*square.get()), E_INVALIDARG);
    Variant tooShort;
    setDoubles(tooShort, {0, 0, 5});
    EXPECT_EQ(database->put_Limits(*tooShort.get()), E_INVALIDARG);
    EXPECT_EQ(db->limmax().x, 30.0);
    EXPECT_EQ(database->get_Limits(nullptr), E_POINTER);
}

TEST_F(DatabaseWrapper, ElevationsAreTheDatabasesOwn)
{
    ASSERT_EQ(database->put_ElevationModelSpace(5.0), S_OK);
    ASSERT_EQ(database->put_ElevationPaperSpace(-7.5), S_OK);
    EXPECT_EQ(db->elevation(), 5.0);
    EXPECT_EQ(db->pelevation(), -7.5);
    double value = 0;
    ASSERT_EQ(database->get_ElevationPaperSpace(&value), S_OK);
    EXPECT_EQ(value, -7.5);
    EXPECT_EQ(database->get_ElevationModelSpace(nullptr), E_POINTER);
}

TEST_F(DatabaseWrapper, ObjectsAreFoundByHandleAndById)
{
    kx::VxDbObjectId id = addLine(db->modelSpaceId());
    ComPtr<IDispatch> byHandle, byId;
    Bstr handle(id.handle().toString().c_str());
    ASSERT_EQ(database->HandleToObject(handle.get(), byHandle.put()), S_OK);
    ASSERT_EQ(database->ObjectIdToObject(id.asOldId(), byId.put()), S_OK);
    EXPECT_EQ(byHandle.as<IUnknown>().get(), wrapperOf(id).as<IUnknown>().get());
    EXPECT_EQ(byId.as<IUnknown>().get(), byHandle.as<IUnknown>().get());

    ComPtr<IDispatch> none;
    Bstr unknownHandle(L"FFFFFF"), notAHandle(L"12G");
    EXPECT_EQ(database->HandleToObject(unknownHandle.get(), none.put()), E_HANDLE);
    EXPECT_EQ(database->HandleToObject(notAHandle.get(), none.put()), E_HANDLE);
    EXPECT_EQ(database->HandleToObject(nullptr, none.put()), E_HANDLE);
    EXPECT_EQ(database->HandleToObject(handle.get(), nullptr), E_POINTER);
    EXPECT_EQ(database->ObjectIdToObject(12345, none.put()), E_FAIL);
    EXPECT_EQ(database->ObjectIdToObject(id.asOldId(), nullptr), E_POINTER);
}

TEST_F(DatabaseWrapper, PreferencesAreCachedAndKeepTheirRules)
{
    ComPtr<IVeltDatabasePreferences> preferences, again;
    ASSERT_EQ(database->get_Preferences(preferences.put()), S_OK);
    ASSERT_EQ(database->get_Preferences(again.put()), S_OK);
    EXPECT_EQ(preferences.get(), again.get());

    // Only VARIANT_TRUE is true.
    ASSERT_EQ(preferences->put_SolidFill(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(db->fillmode());
    ASSERT_EQ(preferences->put_SolidFill(1), S_OK);
    EXPECT_FALSE(db->fillmode());
    VARIANT_BOOL flag = VARIANT_TRUE;
    ASSERT_EQ(preferences->get_SolidFill(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);

    // The six sort properties are bits 0, 1, 2, 4, 5 and 6; bit 3 is left alone.
    ASSERT_EQ(db->setSortEnts(0x08), kx::Velt::eOk);
    ASSERT_EQ(preferences->put_ObjectSortByRegens(VARIANT_TRUE), S_OK);
    EXPECT_EQ(db->sortEnts(), 0x18);
    preferences->put_ObjectSortBySelection(VARIANT_TRUE);
    preferences->put_ObjectSortBySnap(VARIANT_TRUE);
    preferences->put_ObjectSortByRedraws(VARIANT_TRUE);
    preferences->put_ObjectSortByPlotting(VARIANT_TRUE);
    preferences->put_ObjectSortByPSOutput(VARIANT_TRUE);
    EXPECT_EQ(db->sortEnts(), 0x7F);
    ASSERT_EQ(preferences->put_ObjectSortByRegens(VARIANT_FALSE), S_OK);
    EXPECT_EQ(db->sortEnts(), 0x6F);
    ASSERT_EQ(preferences->get_ObjectSortByRedraws(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_TRUE);

    // Integers are stored as 16 bits; the host's ranges still hold.
    ASSERT_EQ(preferences->put_ContourLinesPerSurface(65537), S_OK);
    EXPECT_EQ(db->isolines(), 1);
    EXPECT_TRUE(FAILED(preferences->put_ContourLinesPerSurface(5000)));
    EXPECT_EQ(db->isolines(), 1);
    ASSERT_EQ(preferences->put_SegmentPerPolyline(12), S_OK);
    LONG number = 0;
    ASSERT_EQ(preferences->get_SegmentPerPolyline(&number), S_OK);
    EXPECT_EQ(number, 12);

    ASSERT_EQ(preferences->put_RenderSmoothness(2.5), S_OK);
    EXPECT_EQ(db->facetres(), 2.5);
    ASSERT_EQ(preferences->put_Lineweight(static_cast<VELT_LWEIGHT>(25)), S_OK);
    EXPECT_EQ(db->celweight(), kx::VxDb::kLnWt025);
    EXPECT_TRUE(FAILED(preferences->put_Lineweight(static_cast<VELT_LWEIGHT>(65561))));  // 25 in its low bits
    EXPECT_EQ(db->celweight(), kx::VxDb::kLnWt025);
    ASSERT_EQ(preferences->put_AllowLongSymbolNames(VARIANT_FALSE), S_OK);
    EXPECT_FALSE(kx::vxdbGetExtnames(db.get()));
    EXPECT_EQ(preferences->get_TextFrameDisplay(nullptr), E_POINTER);
}

TEST(DatabaseWithoutDrawing, SettingsReportTheMissingDatabase)
{
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(nk::createWrapper(CLSID_VeltDatabase, unknown.put()), S_OK);
    auto database = unknown.as<IVeltDatabase>();
    ComPtr<IVeltDatabasePreferences> preferences;
    ASSERT_EQ(database->get_Preferences(preferences.put()), S_OK);
    LONG number = 0;
    EXPECT_EQ(preferences->get_MaxActiveViewports(&number), statusCode(kx::Velt::eNoDatabase));
    ComPtr<IVeltLayers> layers;
    EXPECT_EQ(database->get_Layers(layers.put()), E_FAIL);
    ComPtr<IVeltFileDependencies> dependencies;
    ASSERT_EQ(database->get_FileDependencies(dependencies.put()), S_OK);
    EXPECT_EQ(dependencies->get_Count(&number), statusCode(kx::Velt::eNoDatabase));
}

TEST_F(DatabaseWrapper, SummaryInfoIsReadFreshAndIgnoresEmptyValues)
{
    ComPtr<IVeltSummaryInfo> summary;
    ASSERT_EQ(database->get_SummaryInfo(summary.put()), S_OK);
    Bstr ann(L"Ann"), empty(L"");
    ASSERT_EQ(summary->put_Author(ann.get()), S_OK);
    ASSERT_EQ(summary->put_Author(empty.get()), S_OK);
    ASSERT_EQ(summary->put_Author(nullptr), S_OK);
    Bstr author;
    ASSERT_EQ(summary->get_Author(author.put()), S_OK);
    EXPECT_STREQ(author.c_str(), L"Ann");
    EXPECT_EQ(db->summaryInfoStorage().author(), L"Ann");

    // A change made behind the wrapper's back is seen on the next read.
    kx::VxDbDatabaseSummaryInfo* info = nullptr;
    ASSERT_EQ(kx::vxdbGetSummaryInfo(db.get(), info), kx::Velt::eOk);
    info->setTitle(L"Plan");
    ASSERT_EQ(kx::vxdbPutSummaryInfo(info, db.get()), kx::Velt::eOk);
    delete info;
    Bstr title;
    ASSERT_EQ(summary->get_Title(title.put()), S_OK);
    EXPECT_STREQ(title.c_str(), L"Plan");
}

TEST_F(DatabaseWrapper, SummaryInfoCustomProperties)
{
    ComPtr<IVeltSummaryInfo> summary;
    ASSERT_EQ(database->get_SummaryInfo(summary.put()), S_OK);
    Bstr client(L"Client"), acme(L"Acme"), site(L"Site"), north(L"North"), empty(L"");
    ASSERT_EQ(summary->AddCustomInfo(client.get(), acme.get()), S_OK);
    ASSERT_EQ(summary->AddCustomInfo(site.get(), north.get()), S_OK);
    ASSERT_EQ(summary->AddCustomInfo(site.get(), empty.get()), S_OK);  // nothing to add
    EXPECT_EQ(summary->AddCustomInfo(client.get(), north.get()), statusCode(kx::Velt::eDuplicateKey));
    LONG count = 0;
    ASSERT_EQ(summary->get_NumCustomInfo(&count), S_OK);
    EXPECT_EQ(count, 2);

    Bstr key, value;
    ASSERT_EQ(summary->GetCustomByIndex(1, key.put(), value.put()), S_OK);
    EXPECT_STREQ(key.c_str(), L"Site");
    EXPECT_STREQ(value.c_str(), L"North");
    ASSERT_EQ(summary->SetCustomByKey(client.get(), north.get()), S_OK);
    ASSERT_EQ(summary->GetCustomByKey(client.get(), value.put()), S_OK);
    EXPECT_STREQ(value.c_str(), L"North");
    ASSERT_EQ(summary->SetCustomByIndex(1, site.get(), acme.get()), S_OK);
    EXPECT_EQ(summary->GetCustomByIndex(0, key.put(), nullptr), E_POINTER);
    EXPECT_EQ(summary->GetCustomByIndex(7, key.put(), value.put()), statusCode(kx::Velt::eInvalidIndex));

    ASSERT_EQ(summary->RemoveCustomByKey(client.get()), S_OK);
    ASSERT_EQ(summary->RemoveCustomByIndex(0), S_OK);
    EXPECT_EQ(summary->RemoveCustomByIndex(0), statusCode(kx::Velt::eInvalidIndex));
    EXPECT_EQ(db->summaryInfoStorage().numCustomInfo(), 0);
}

TEST_F(DatabaseWrapper, FileDependenciesAreCountedEntriesOfTheDrawing)
{
    ComPtr<IVeltFileDependencies> files, again;
    ASSERT_EQ(database->get_FileDependencies(files.put()), S_OK);
    ASSERT_EQ(database->get_FileDependencies(again.put()), S_OK);
    EXPECT_EQ(files.get(), again.get());

    // A file that exists: the one this test runs from.
    wchar_t self[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    Bstr image(L"Image"), exe(self), missing(L"Z:\\no\\such\\file.png");
    LONG first = 0, second = 0, repeated = 0, found = 0;
    ASSERT_EQ(files->CreateEntry(image.get(), exe.get(), VARIANT_TRUE, VARIANT_FALSE, &first), S_OK);
    ASSERT_EQ(files->CreateEntry(image.get(), missing.get(), VARIANT_FALSE, VARIANT_FALSE, &second), S_OK);
    ASSERT_EQ(files->CreateEntry(image.get(), exe.get(), VARIANT_FALSE, VARIANT_FALSE, &repeated), S_OK);
    EXPECT_EQ(repeated, first);
    EXPECT_NE(second, first);
    EXPECT_EQ(files->CreateEntry(Bstr(L"").get(), exe.get(), VARIANT_FALSE, VARIANT_FALSE, &found), E_INVALIDARG);
    ASSERT_EQ(files->IndexOf(Bstr(L"IMAGE").get(), exe.get(), &found), S_OK);
    EXPECT_EQ(found, first);
    LONG count = 0;
    files->get_Count(&count);
    EXPECT_EQ(count, 2);

    ComPtr<IVeltFileDependency> entry;
    drawing::Value index = drawing::number(first);
    ASSERT_EQ(files->Item(*index, entry.put()), S_OK);
    LONG references = 0, size = 0, position = 0;
    VARIANT_BOOL graphics = VARIANT_FALSE;
    Bstr name, foundPath;
    entry->get_ReferenceCount(&references);
    entry->get_FileSize(&size);
    entry->get_Index(&position);
    entry->get_AffectsGraphics(&graphics);
    entry->get_FileName(name.put());
    entry->get_FoundPath(foundPath.put());
    EXPECT_EQ(references, 2);
    EXPECT_GT(size, 0);
    EXPECT_EQ(position, first);
    EXPECT_EQ(graphics, VARIANT_TRUE);
    EXPECT_EQ(std::wstring(name.c_str()), std::wstring(self).substr(std::wstring(self).find_last_of(L"\\/") + 1));
    EXPECT_NE(foundPath.length(), 0u);

    // The missing file is recorded but not found.
    drawing::Value other = drawing::number(second), unknown = drawing::number(99);
    ASSERT_EQ(files->Item(*other, entry.put()), S_OK);
    entry->get_FoundPath(foundPath.put());
    EXPECT_EQ(foundPath.length(), 0u);
    EXPECT_EQ(files->Item(*unknown, entry.put()), static_cast<HRESULT>(0x80200016));

    // References are taken away one at a time unless forced.
    EXPECT_EQ(files->RemoveEntry(first, VARIANT_FALSE), S_OK);
    files->get_Count(&count);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(files->RemoveEntry(first, VARIANT_FALSE), S_OK);
    EXPECT_EQ(files->RemoveEntry(second, VARIANT_TRUE), S_OK);
    files->get_Count(&count);
    EXPECT_EQ(count, 0);
    EXPECT_NE(files->RemoveEntry(first, VARIANT_TRUE), S_OK);

    // Without its drawing the collection fails cleanly.
    db.reset();
    EXPECT_NE(files->get_Count(&count), S_OK);
}
