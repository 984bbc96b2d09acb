// The database-only document: forwarding to its database wrapper, its name, and reading and
// writing drawing files with their odd but relied-upon results.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <string>

#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/levels.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "frame/com.h"
#include "kxauto.h"
#include "services/hostservices.h"
#include "services/linkmanager.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;
namespace fs = std::filesystem;

namespace {

ComPtr<IKxDbDocument> newDocument()
{
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(nk::createWrapper(CLSID_KxDbDocument, unknown.put()), S_OK);
    return unknown.as<IKxDbDocument>();
}

kx::VxDbDatabase* databaseOf(IKxDbDocument* document)
{
    ComPtr<IVeltDatabase> wrapper;
    document->get_Database(wrapper.put());
    kx::VxDbDatabase* db = nullptr;
    if (wrapper) wrapper.as<IVeltBaseDatabase>()->GetDatabase(&db);
    return db;
}

kx::VxDbObjectId addLine(kx::VxDbDatabase* db)
{
    kx::VxDbBlockTableRecord* space = nullptr;
    EXPECT_EQ(kx::vxdbOpenObject(space, db->modelSpaceId(), kx::VxDb::kForWrite), kx::Velt::eOk);
    if (!space) return {};
    auto* line = new kx::VxDbLine({0, 0, 0}, {4, 3, 0});
    kx::VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, line), kx::Velt::eOk);
    line->close();
    space->close();
    return id;
}

size_t modelSpaceCount(kx::VxDbDatabase* db)
{
    kx::VxDbBlockTableRecord* space = nullptr;
    if (!db || kx::vxdbOpenObject(space, db->modelSpaceId(), kx::VxDb::kForRead) != kx::Velt::eOk) return 0;
    size_t count = space->entityIds().size();
    space->close();
    return count;
}

// An optional argument left out, as a script leaves it.
VARIANT missing()
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_ERROR;
    V_ERROR(&v) = DISP_E_PARAMNOTFOUND;
    return v;
}

std::wstring nameOf(IKxDbDocument* document)
{
    Bstr name;
    EXPECT_EQ(document->get_Name(name.put()), S_OK);
    return name.c_str();
}

// A folder of its own for the files of one test.
class DocumentFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() /
                 (L"nkdoc-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                  std::to_wstring(reinterpret_cast<uintptr_t>(this)));
        fs::create_directories(folder);
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    Bstr file(const wchar_t* name) const { return Bstr((folder / name).wstring().c_str()); }
    bool exists(const wchar_t* name) const { return fs::exists(folder / name); }

    fs::path folder;
};

}  // namespace

TEST(Document, ForwardsTheDatabaseMembersToItsDatabaseWrapper)
{
    auto document = newDocument();
    ASSERT_TRUE(document);
    ComPtr<IVeltDatabase> held;
    ASSERT_EQ(document->get_Database(held.put()), S_OK);
    ASSERT_TRUE(held);
    ComPtr<IVeltLayers> fromDocument, fromDatabase;
    ASSERT_EQ(document->get_Layers(fromDocument.put()), S_OK);
    ASSERT_EQ(held->get_Layers(fromDatabase.put()), S_OK);
    EXPECT_EQ(fromDocument.get(), fromDatabase.get());
    ComPtr<IVeltDatabasePreferences> a, b;
    ASSERT_EQ(document->get_Preferences(a.put()), S_OK);
    ASSERT_EQ(held->get_Preferences(b.put()), S_OK);
    EXPECT_EQ(a.get(), b.get());

    kx::VxDbDatabase* db = databaseOf(document.get());
    ASSERT_NE(db, nullptr);
    ASSERT_EQ(document->put_ElevationModelSpace(2.0), S_OK);
    EXPECT_EQ(db->elevation(), 2.0);
    EXPECT_EQ(document->get_Database(nullptr), E_POINTER);

    // Objects of the drawing lead back to the document.
    EXPECT_EQ(kx::VxAxGetOleLinkManager()->getDocument(db), document.as<IUnknown>().get());
    ComPtr<IUnknown> line;
    ASSERT_EQ(VxAxGetIUnknownOfObject(line.put(), addLine(db), nullptr), S_OK);
    ComPtr<IDispatch> owner;
    ASSERT_EQ(line.as<IVeltObject>()->get_Document(owner.put()), S_OK);
    EXPECT_EQ(owner.as<IUnknown>().get(), document.as<IUnknown>().get());
}

TEST(Document, WithoutADatabaseWrapperEveryDatabaseMemberFails)
{
    // Made without its construction step: no database, no wrapper.
    ComPtr<IKxDbDocument> document(new nk::ComObject<nk::CKxDbDocument>());
    ComPtr<IVeltLayers> layers;
    EXPECT_EQ(document->get_Layers(layers.put()), E_FAIL);
    Variant objects, owner, result, limits;
    EXPECT_EQ(document->CopyObjects(*objects.get(), *owner.get(), nullptr, result.get()), E_FAIL);
    EXPECT_EQ(document->get_Limits(limits.get()), E_FAIL);
    EXPECT_EQ(document->put_ElevationPaperSpace(1.0), E_FAIL);
    ComPtr<IDispatch> object;
    EXPECT_EQ(document->ObjectIdToObject(1, object.put()), E_FAIL);
    ComPtr<IVeltDatabase> held;
    EXPECT_EQ(document->get_Database(held.put()), S_OK);
    EXPECT_FALSE(held);
    EXPECT_EQ(document->Save(), E_FAIL);
}

TEST(Document, KeepsItsNameExactly)
{
    auto document = newDocument();
    EXPECT_EQ(nameOf(document.get()), L"");
    Bstr name(L"a\0b.dxf", 7);
    ASSERT_EQ(document->put_Name(name.get()), S_OK);
    Bstr read;
    ASSERT_EQ(document->get_Name(read.put()), S_OK);
    ASSERT_EQ(read.length(), 7u);
    EXPECT_EQ(std::wmemcmp(read.get(), name.get(), 7), 0);
    EXPECT_EQ(document->get_Name(nullptr), E_POINTER);
}

TEST(Document, ReleasingItCutsItsDatabaseWrapperLoose)
{
    auto document = newDocument();
    ComPtr<IVeltDatabase> held;
    ASSERT_EQ(document->get_Database(held.put()), S_OK);
    ComPtr<IVeltDatabasePreferences> preferences;
    ASSERT_EQ(held->get_Preferences(preferences.put()), S_OK);
    document.reset();
    ComPtr<IVeltLayers> layers;
    EXPECT_EQ(held->get_Layers(layers.put()), E_FAIL);
    VARIANT_BOOL fill = VARIANT_FALSE;
    EXPECT_EQ(preferences->get_SolidFill(&fill), RaiseVrxException(IID_NULL, 0, kx::Velt::eNoDatabase));
}

TEST_F(DocumentFiles, SaveAnswersTheOtherWayRoundOnceTheFileIsItsOwn)
{
    auto document = newDocument();
    EXPECT_EQ(document->Save(), E_FAIL);  // no name yet
    Bstr name = file(L"plan.dxf");
    ASSERT_EQ(document->put_Name(name.get()), S_OK);
    // The first save goes through SaveAs; after it the drawing's file is the document's name.
    EXPECT_EQ(document->Save(), S_OK);
    EXPECT_TRUE(exists(L"plan.dxf"));
    EXPECT_EQ(document->Save(), E_FAIL);
    EXPECT_TRUE(exists(L"plan.bak"));
}

TEST_F(DocumentFiles, SaveAsChecksItsArgumentsAndKeepsTheName)
{
    auto document = newDocument();
    Variant number;
    V_VT(number.get()) = VT_I4;
    V_I4(number.get()) = 3;
    Bstr copy = file(L"copy.dxf");
    EXPECT_EQ(document->SaveAs(nullptr, missing()), E_INVALIDARG);
    EXPECT_EQ(document->SaveAs(copy.get(), *number.get()), E_INVALIDARG);
    EXPECT_FALSE(exists(L"copy.dxf"));
    EXPECT_EQ(document->SaveAs(copy.get(), missing()), S_OK);
    EXPECT_TRUE(exists(L"copy.dxf"));
    EXPECT_EQ(nameOf(document.get()), L"");
    Bstr nowhere = file(L"no such folder\\x.dxf");
    EXPECT_EQ(document->SaveAs(nowhere.get(), missing()), E_FAIL);
}

TEST_F(DocumentFiles, OpenAndDxfInReplaceTheDrawingOnlyWhenTheReadWorks)
{
    Bstr source = file(L"source.dxf");
    {
        auto writer = newDocument();
        addLine(databaseOf(writer.get()));
        ASSERT_EQ(writer->SaveAs(source.get(), missing()), S_OK);
    }

    auto document = newDocument();
    ComPtr<IVeltDatabase> before;
    document->get_Database(before.put());
    Bstr absent = file(L"absent.dxf");
    EXPECT_EQ(document->Open(absent.get(), missing()), E_FAIL);
    ComPtr<IVeltDatabase> still;
    document->get_Database(still.put());
    EXPECT_EQ(still.get(), before.get());
    EXPECT_EQ(nameOf(document.get()), L"");

    ASSERT_EQ(document->Open(source.get(), missing()), S_OK);
    EXPECT_EQ(nameOf(document.get()), source.c_str());
    EXPECT_EQ(modelSpaceCount(databaseOf(document.get())), 1u);
    // Opened from its own name, the drawing saves with the reversed answer.
    EXPECT_EQ(document->Save(), E_FAIL);

    auto reader = newDocument();
    Variant log;
    V_VT(log.get()) = VT_BSTR;
    V_BSTR(log.get()) = SysAllocString(file(L"read.log").get());
    EXPECT_EQ(reader->DxfIn(source.get(), *log.get()), E_INVALIDARG);
    EXPECT_FALSE(exists(L"read.log"));
    EXPECT_EQ(nameOf(reader.get()), L"");
    EXPECT_EQ(reader->DxfIn(absent.get(), missing()), E_FAIL);
    ASSERT_EQ(reader->DxfIn(source.get(), missing()), S_OK);
    EXPECT_EQ(nameOf(reader.get()), source.c_str());
    EXPECT_EQ(modelSpaceCount(databaseOf(reader.get())), 1u);
}

TEST_F(DocumentFiles, DxfOutWritesTheDocumentsOwnNameWhateverItIsTold)
{
    auto document = newDocument();
    Bstr own = file(L"own.dxf"), other = file(L"other.dxf");
    ASSERT_EQ(document->put_Name(own.get()), S_OK);
    kx::VxDbDatabase* working = kx::vxdbHostApplicationServices()->workingDatabase();
    ASSERT_EQ(document->DxfOut(other.get(), missing(), missing()), S_OK);
    EXPECT_TRUE(exists(L"own.dxf"));
    EXPECT_FALSE(exists(L"other.dxf"));
    EXPECT_EQ(kx::vxdbHostApplicationServices()->workingDatabase(), working);

    Variant text, shortNumber, flag;
    V_VT(text.get()) = VT_BSTR;
    V_BSTR(text.get()) = SysAllocString(L"8");
    V_VT(shortNumber.get()) = VT_I2;
    V_I2(shortNumber.get()) = 8;
    V_VT(flag.get()) = VT_BOOL;
    V_BOOL(flag.get()) = VARIANT_TRUE;
    EXPECT_EQ(document->DxfOut(other.get(), *text.get(), missing()), E_INVALIDARG);
    EXPECT_EQ(document->DxfOut(other.get(), *shortNumber.get(), *shortNumber.get()), E_INVALIDARG);
    EXPECT_EQ(document->DxfOut(other.get(), *shortNumber.get(), *flag.get()), S_OK);
    EXPECT_FALSE(exists(L"other.dxf"));
}
