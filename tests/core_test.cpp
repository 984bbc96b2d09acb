// The wrapper core against a real drawing database: one wrapper per object, binding, and the
// members every object wrapper shares.
#include <gtest/gtest.h>

#include <memory>

#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/layout.h"
#include "db/symtables.h"
#include "frame/class_table.h"
#include "frame/com.h"
#include "frame/module.h"
#include "kxauto.h"
#include "services/linkmanager.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

// The automation layer linked into this program, set up as the DLL sets itself up.
class CoreEnvironment : public ::testing::Environment {
public:
    void SetUp() override
    {
        CoInitialize(nullptr);
        nk::Module::attach(GetModuleHandleW(nullptr));
        nk::fillClassTable();
        nk::registerWrapperClasses();
    }
    void TearDown() override { CoUninitialize(); }
};
[[maybe_unused]] auto* const kEnvironment = ::testing::AddGlobalTestEnvironment(new CoreEnvironment);

class WrapperCore : public ::testing::Test {
protected:
    void SetUp() override { db = std::make_unique<kx::VxDbDatabase>(); }

    kx::VxDbObjectId addLine(kx::VxGePoint3d from = {0, 0, 0}, kx::VxGePoint3d to = {1, 2, 0})
    {
        kx::VxDbBlockTableRecord* space = nullptr;
        EXPECT_EQ(kx::vxdbOpenObject(space, db->modelSpaceId(), kx::VxDb::kForWrite), kx::Velt::eOk);
        if (!space) return {};
        auto* line = new kx::VxDbLine(from, to);
        line->setDatabaseDefaults(db.get());
        kx::VxDbObjectId id;
        EXPECT_EQ(space->appendVxDbEntity(id, line), kx::Velt::eOk);
        line->close();
        space->close();
        return id;
    }

    template <class Itf>
    ComPtr<Itf> wrapperOf(kx::VxDbObjectId id)
    {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(VxAxGetIUnknownOfObject(unknown.put(), id, nullptr), S_OK);
        return unknown.as<Itf>();
    }

    std::unique_ptr<kx::VxDbDatabase> db;
};

// A VARIANT array of group codes and one of values.
struct XData {
    Variant types;
    Variant values;
    XData(std::initializer_list<short> codes, std::initializer_list<Variant*> items)
    {
        SAFEARRAY* c = SafeArrayCreateVector(VT_I2, 0, static_cast<ULONG>(codes.size()));
        SAFEARRAY* v = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(items.size()));
        LONG i = 0;
        for (short code : codes) {
            SafeArrayPutElement(c, &i, &code);
            ++i;
        }
        i = 0;
        for (Variant* item : items) {
            std::unique_ptr<Variant> owned(item);  // the array keeps a copy
            SafeArrayPutElement(v, &i, owned->get());
            ++i;
        }
        V_VT(types.get()) = VT_ARRAY | VT_I2;
        V_ARRAY(types.get()) = c;
        V_VT(values.get()) = VT_ARRAY | VT_VARIANT;
        V_ARRAY(values.get()) = v;
    }
};

Variant* text(const wchar_t* s)
{
    auto* v = new Variant;
    V_VT(v->get()) = VT_BSTR;
    V_BSTR(v->get()) = SysAllocString(s);
    return v;
}

Variant* shortValue(short n)
{
    auto* v = new Variant;
    V_VT(v->get()) = VT_I2;
    V_I2(v->get()) = n;
    return v;
}

}  // namespace

TEST_F(WrapperCore, OneLiveWrapperPerObjectMadeAgainOnceReleased)
{
    kx::VxDbObjectId id = addLine();
    ComPtr<IUnknown> first, second;
    ASSERT_EQ(VxAxGetIUnknownOfObject(first.put(), id, nullptr), S_OK);
    ASSERT_EQ(VxAxGetIUnknownOfObject(second.put(), id, nullptr), S_OK);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_TRUE(first.as<IVeltLine>());
    second.reset();
    first.reset();
    EXPECT_EQ(kx::VxAxGetOleLinkManager()->getIUnknown(id), nullptr);
    ComPtr<IUnknown> again;
    ASSERT_EQ(VxAxGetIUnknownOfObject(again.put(), id, nullptr), S_OK);
    EXPECT_TRUE(again.as<IVeltLine>());
}

TEST_F(WrapperCore, AnObjectOpenForWriteStaysOpenForWrite)
{
    kx::VxDbObjectId id = addLine();
    kx::VxDbObject* object = nullptr;
    ASSERT_EQ(kx::vxdbOpenObject(object, id, kx::VxDb::kForWrite), kx::Velt::eOk);
    ComPtr<IUnknown> wrapper;
    EXPECT_EQ(VxAxGetIUnknownOfObject(wrapper.put(), object, nullptr), S_OK);
    EXPECT_TRUE(object->isWriteEnabled());
    object->close();
    EXPECT_TRUE(wrapper.as<IVeltLine>());
}

TEST_F(WrapperCore, ARecordOfAnotherClassIsReplaced)
{
    kx::VxDbObjectId id = addLine();
    ComPtr<IUnknown> stranger;
    ASSERT_EQ(nk::createWrapper(CLSID_VeltCircle, stranger.put()), S_OK);
    kx::VxAxGetOleLinkManager()->setIUnknown(id, stranger.get());
    ComPtr<IUnknown> wrapper;
    ASSERT_EQ(VxAxGetIUnknownOfObject(wrapper.put(), id, nullptr), S_OK);
    EXPECT_NE(wrapper.get(), stranger.get());
    EXPECT_TRUE(wrapper.as<IVeltLine>());
    EXPECT_EQ(kx::VxAxGetOleLinkManager()->getIUnknown(id), wrapper.get());
}

TEST_F(WrapperCore, ObjectsWithoutAWrapperClassGetTheObjectWrapper)
{
    // The multiline-style dictionary's standard style has no wrapper class of its own.
    kx::VxDbObjectId dictionaries = db->namedObjectsDictionaryId();
    auto wrapper = wrapperOf<IVeltObject>(dictionaries);
    ASSERT_TRUE(wrapper);
    // The drawing's own dictionary is the collection of its dictionaries.
    EXPECT_TRUE(wrapper.as<IVeltDictionaries>());
    kx::VxDbDictionary* named = nullptr;
    ASSERT_EQ(kx::vxdbOpenObject(named, dictionaries, kx::VxDb::kForRead), kx::Velt::eOk);
    kx::VxDbObjectId styles;
    kx::Velt::ErrorStatus es = named->getAt(L"ACAD_MLINESTYLE", styles);
    named->close();
    ASSERT_EQ(es, kx::Velt::eOk);
    kx::VxDbDictionary* styleDictionary = nullptr;
    ASSERT_EQ(kx::vxdbOpenObject(styleDictionary, styles, kx::VxDb::kForRead), kx::Velt::eOk);
    kx::VxDbObjectId standard;
    es = styleDictionary->getAt(L"Standard", standard);
    styleDictionary->close();
    ASSERT_EQ(es, kx::Velt::eOk);
    auto style = wrapperOf<IUnknown>(standard);
    ASSERT_TRUE(style);
    auto base = style.as<IVeltBaseObject>();
    CLSID clsid;
    ASSERT_EQ(base->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_VeltObject);
}

TEST_F(WrapperCore, SharedObjectMembersAnswerFromTheDatabase)
{
    kx::VxDbObjectId id = addLine();
    auto line = wrapperOf<IVeltObject>(id);
    ASSERT_TRUE(line);
    Bstr handle, name;
    ASSERT_EQ(line->get_Handle(handle.put()), S_OK);
    wchar_t expected[128];
    id.handle().getIntoAsciiBuffer(expected, 128);
    EXPECT_STREQ(handle.c_str(), expected);
    ASSERT_EQ(line->get_ObjectName(name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"KxDbLine");
    LONG_PTR owner = 0, self = 0;
    ASSERT_EQ(line->get_OwnerID(&owner), S_OK);
    EXPECT_EQ(owner, db->modelSpaceId().asOldId());
    ASSERT_EQ(line->get_ObjectID(&self), S_OK);
    EXPECT_EQ(self, id.asOldId());
    EXPECT_EQ(line->get_Handle(nullptr), E_POINTER);
    EXPECT_EQ(line->get_OwnerID(nullptr), E_POINTER);
}

TEST_F(WrapperCore, AnErasedObjectKeepsItsWrapperAndFailsToOpen)
{
    kx::VxDbObjectId id = addLine();
    auto line = wrapperOf<IVeltObject>(id);
    ASSERT_EQ(line->Delete(), S_OK);
    EXPECT_TRUE(id.isErased());
    Bstr name;
    EXPECT_EQ(line->get_ObjectName(name.put()), E_POINTER);  // a fixed code, not the status
    LONG_PTR owner = 0;
    EXPECT_EQ(line->get_OwnerID(&owner), RaiseVrxException(IID_NULL, 0, kx::Velt::eWasErased));
    EXPECT_TRUE(FAILED(line->get_OwnerID(&owner)));
}

TEST_F(WrapperCore, TheLayoutAndGroupDictionariesCannotBeErased)
{
    auto layouts = wrapperOf<IVeltObject>(db->layoutDictionaryId());
    auto groups = wrapperOf<IVeltObject>(db->groupDictionaryId());
    ASSERT_TRUE(layouts && groups);
    EXPECT_EQ(layouts->Delete(), E_FAIL);
    EXPECT_EQ(groups->Erase(), E_FAIL);
    EXPECT_FALSE(db->layoutDictionaryId().isErased());
}

TEST_F(WrapperCore, ErasingALayoutGoesThroughTheLayoutManager)
{
    kx::VxDbLayoutManager* manager = kx::veltGetLayoutManager();
    ASSERT_NE(manager, nullptr);
    kx::VxDbObjectId layout, block;
    ASSERT_EQ(manager->createLayout(L"Sheet2", layout, block, db.get()), kx::Velt::eOk);
    auto wrapper = wrapperOf<IVeltObject>(layout);
    ASSERT_TRUE(wrapper);
    EXPECT_EQ(wrapper->Delete(), S_OK);
    EXPECT_FALSE(manager->layoutExists(L"Sheet2", db.get()));
    // The manager's refusal is reported: the only paper layout stays.
    auto last = wrapperOf<IVeltObject>(manager->findLayoutNamed(L"Layout1", db.get()));
    EXPECT_TRUE(FAILED(last->Delete()));
    EXPECT_TRUE(manager->layoutExists(L"Layout1", db.get()));
}

TEST_F(WrapperCore, ExtendedDataRoundTripsAndRegistersItsApplication)
{
    kx::VxDbObjectId id = addLine();
    auto line = wrapperOf<IVeltObject>(id);
    ASSERT_TRUE(line);

    XData wrongStart({1000, 1001}, {text(L"note"), text(L"NKTEST")});
    EXPECT_EQ(line->SetXData(*wrongStart.types.get(), *wrongStart.values.get()), E_INVALIDARG);

    XData data({1001, 1000, 1070}, {text(L"NKTEST"), text(L"hello"), shortValue(7)});
    ASSERT_EQ(line->SetXData(*data.types.get(), *data.values.get()), S_OK);
    kx::VxDbRegAppTable* apps = nullptr;
    ASSERT_EQ(kx::vxdbOpenObject(apps, db->regAppTableId(), kx::VxDb::kForRead), kx::Velt::eOk);
    EXPECT_TRUE(apps->has(L"NKTEST"));
    apps->close();

    Variant types, values;
    Bstr app(L"NKTEST");
    ASSERT_EQ(line->GetXData(app.get(), types.get(), values.get()), S_OK);
    ASSERT_EQ(types.type(), VT_ARRAY | VT_I2);
    ASSERT_EQ(values.type(), VT_ARRAY | VT_VARIANT);
    LONG i = 2;
    short code = 0;
    SafeArrayGetElement(V_ARRAY(types.get()), &i, &code);
    EXPECT_EQ(code, 1070);
    Variant item;
    SafeArrayGetElement(V_ARRAY(values.get()), &i, item.get());
    EXPECT_EQ(item.type(), VT_I2);
    EXPECT_EQ(V_I2(item.get()), 7);

    Variant noTypes, noValues;
    Bstr other(L"NOSUCHAPP");
    ASSERT_EQ(line->GetXData(other.get(), noTypes.get(), noValues.get()), S_OK);
    EXPECT_EQ(noTypes.type(), VT_EMPTY);
    EXPECT_EQ(noValues.type(), VT_EMPTY);
    EXPECT_EQ(line->GetXData(app.get(), types.get(), nullptr), E_INVALIDARG);
}

TEST_F(WrapperCore, ReadingTheExtensionDictionaryMakesIt)
{
    kx::VxDbObjectId id = addLine();
    auto line = wrapperOf<IVeltObject>(id);
    VARIANT_BOOL has = VARIANT_TRUE;
    ASSERT_EQ(line->get_HasExtensionDictionary(&has), S_OK);
    EXPECT_EQ(has, VARIANT_FALSE);
    ComPtr<IVeltDictionary> dictionary;
    ASSERT_EQ(line->GetExtensionDictionary(dictionary.put()), S_OK);
    EXPECT_TRUE(dictionary);
    ASSERT_EQ(line->get_HasExtensionDictionary(&has), S_OK);
    EXPECT_EQ(has, VARIANT_TRUE);
    EXPECT_EQ(line->GetExtensionDictionary(nullptr), E_POINTER);
}

TEST(WrapperCompat, OldIdFunctionsAnswerZero)
{
    int64_t wide = 12345;
    int32_t narrow = 678;
    EXPECT_EQ(VxAxGetObjectId32(wide), 0);
    EXPECT_EQ(VxAxGetObjectId64(narrow), 0);
}
