// What a client sees: the typical request by name and through the vtable against the built
// server, events after a change, the record collections, and the module unloading once the
// client lets go of everything.
#include <gtest/gtest.h>

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "db/entities.h"
#include "drawing_fixture.h"
#include "frame/com.h"
#include "frame/connection.h"
#include "kxauto.h"
#include "server_dll.h"
#include "services/linkmanager.h"

using drawing::number;
using drawing::point;
using drawing::text;
using drawing::Value;
using nk::Bstr;
using nk::ComPtr;

namespace {

// ---- late binding, as a script does it ----

HRESULT invoke(IDispatch* object, const wchar_t* name, WORD kind, std::initializer_list<VARIANT*> args,
               VARIANT* result)
{
    DISPID id = DISPID_UNKNOWN;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) return hr;
    std::vector<VARIANT> reversed;  // arguments go last to first
    for (auto it = std::rbegin(args); it != std::rend(args); ++it) reversed.push_back(**it);
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        params.rgdispidNamedArgs = &put;
        params.cNamedArgs = 1;
    }
    EXCEPINFO error{};
    hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &params, result, &error, nullptr);
    if (hr == DISP_E_EXCEPTION) hr = error.scode;
    SysFreeString(error.bstrSource);
    SysFreeString(error.bstrDescription);
    SysFreeString(error.bstrHelpFile);
    return hr;
}

ComPtr<IDispatch> getObject(IDispatch* object, const wchar_t* name)
{
    Value result;
    EXPECT_EQ(invoke(object, name, DISPATCH_PROPERTYGET, {}, result.get()), S_OK) << name;
    return result.type() == VT_DISPATCH ? ComPtr<IDispatch>(V_DISPATCH(result.get())) : ComPtr<IDispatch>();
}

std::wstring getText(IDispatch* object, const wchar_t* name)
{
    Value result;
    EXPECT_EQ(invoke(object, name, DISPATCH_PROPERTYGET, {}, result.get()), S_OK) << name;
    return result.type() == VT_BSTR ? std::wstring(V_BSTR(result.get())) : std::wstring(L"<not text>");
}

std::wstring windowsTemp(const wchar_t* file)
{
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + file;
}

class Client : public ::testing::Test {
protected:
    ComPtr<IDispatch> newDocument()
    {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(dll.getClassObject(CLSID_KxDbDocument, IID_IClassFactory, factory.putVoid()), S_OK);
        ComPtr<IDispatch> document;
        if (factory) {
            EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, document.putVoid()), S_OK);
        }
        return document;
    }
    ServerDll dll;
};

TEST_F(Client, TheTypicalRequestByNameSavesAndOpensAgain)
{
    ASSERT_TRUE(dll.module);
    const std::wstring file = windowsTemp(L"nkauto_late_bound.dxf");
    {
        ComPtr<IDispatch> document = newDocument();
        ASSERT_TRUE(document);
        Value name = text(L"Walls"), added;
        ASSERT_EQ(invoke(getObject(document.get(), L"Layers").get(), L"Add", DISPATCH_METHOD, {name.get()},
                         added.get()),
                  S_OK);
        ComPtr<IDispatch> modelSpace = getObject(document.get(), L"ModelSpace");
        Value start = point(1, 2, 0), end = point(4, 6, 0), line;
        ASSERT_EQ(invoke(modelSpace.get(), L"AddLine", DISPATCH_METHOD, {start.get(), end.get()}, line.get()), S_OK);
        ASSERT_EQ(line.type(), VT_DISPATCH);
        IDispatch* added_line = V_DISPATCH(line.get());
        EXPECT_EQ(invoke(added_line, L"Layer", DISPATCH_PROPERTYPUT, {name.get()}, nullptr), S_OK);
        EXPECT_EQ(getText(added_line, L"Layer"), L"Walls");
        Value unknownLayer = text(L"No such layer");
        EXPECT_NE(invoke(added_line, L"Layer", DISPATCH_PROPERTYPUT, {unknownLayer.get()}, nullptr), S_OK);
        EXPECT_EQ(getText(added_line, L"Layer"), L"Walls");

        Value path = text(file.c_str());
        EXPECT_EQ(invoke(document.get(), L"SaveAs", DISPATCH_METHOD, {path.get()}, nullptr), S_OK);
    }
    {
        ComPtr<IDispatch> reopened = newDocument();
        ASSERT_TRUE(reopened);
        Value path = text(file.c_str());
        ASSERT_EQ(invoke(reopened.get(), L"Open", DISPATCH_METHOD, {path.get()}, nullptr), S_OK);
        ComPtr<IDispatch> modelSpace = getObject(reopened.get(), L"ModelSpace");
        Value first = number(0), line, length;
        ASSERT_EQ(invoke(modelSpace.get(), L"Item", DISPATCH_METHOD, {first.get()}, line.get()), S_OK);
        ASSERT_EQ(line.type(), VT_DISPATCH);
        EXPECT_EQ(getText(V_DISPATCH(line.get()), L"Layer"), L"Walls");
        EXPECT_EQ(getText(V_DISPATCH(line.get()), L"ObjectName"), L"KxDbLine");
        ASSERT_EQ(invoke(V_DISPATCH(line.get()), L"Length", DISPATCH_PROPERTYGET, {}, length.get()), S_OK);
        EXPECT_DOUBLE_EQ(V_R8(length.get()), 5.0);
    }
    DeleteFileW(file.c_str());
}

TEST_F(Client, TheModuleUnloadsOnlyOnceEveryWrapperIsReleased)
{
    ASSERT_TRUE(dll.module);
    ComPtr<IDispatch> document = newDocument();
    ASSERT_TRUE(document);
    ComPtr<IKxDbDocument> early = document.as<IKxDbDocument>();
    ASSERT_TRUE(early);
    ComPtr<IVeltModelSpace> modelSpace;
    ASSERT_EQ(early->get_ModelSpace(modelSpace.put()), S_OK);
    ComPtr<IVeltLine> line;
    Value start = point(0, 0, 0), end = point(1, 0, 0);
    ASSERT_EQ(modelSpace->AddLine(*start, *end, line.put()), S_OK);
    ComPtr<IUnknown> walk;
    ASSERT_EQ(modelSpace->get__NewEnum(walk.put()), S_OK);
    document.reset();
    early.reset();
    modelSpace.reset();
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);  // the line and the walk hold their drawing
    line.reset();
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
    walk.reset();
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

// ---- events ----

class EventSink final : public IVeltObjectEvents, public IPropertyNotifySink {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        if (iid == IID_IUnknown || iid == __uuidof(IVeltObjectEvents))
            *out = static_cast<IVeltObjectEvents*>(this);
        else if (iid == IID_IPropertyNotifySink)
            *out = static_cast<IPropertyNotifySink*>(this);
        else
            return *out = nullptr, E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    HRESULT STDMETHODCALLTYPE Modified(IVeltObject* object) override
    {
        ++modified;
        last = object;
        // A sink may read the object it hears about.
        if (object) object->get_Handle(lastHandle.put());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnChanged(DISPID id) override
    {
        ++changed;
        lastChanged = id;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnRequestEdit(DISPID) override { return S_OK; }

    ULONG refs = 1;
    int modified = 0, changed = 0;
    DISPID lastChanged = 0;
    ComPtr<IVeltObject> last;
    Bstr lastHandle;
};

// A sink advised on both connection points of an object for the length of a scope.
class Listening {
public:
    Listening(IUnknown* object, EventSink& sink)
    {
        ComPtr<IConnectionPointContainer> container = ComPtr<IUnknown>(object).as<IConnectionPointContainer>();
        for (const IID* iid : {&__uuidof(IVeltObjectEvents), &IID_IPropertyNotifySink}) {
            Point p;
            EXPECT_EQ(container->FindConnectionPoint(*iid, p.point.put()), S_OK);
            EXPECT_EQ(p.point->Advise(static_cast<IVeltObjectEvents*>(&sink), &p.cookie), S_OK);
            points_.push_back(std::move(p));
        }
    }
    ~Listening()
    {
        for (Point& p : points_) p.point->Unadvise(p.cookie);
    }

private:
    struct Point {
        ComPtr<IConnectionPoint> point;
        DWORD cookie = 0;
    };
    std::vector<Point> points_;
};

using Events = drawing::Drawing;

TEST_F(Events, ModifiedFollowsEveryChangeOfTheObjectAndNothingElse)
{
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {3, 4, 0});
    EventSink sink;
    {
        Listening listening(line.get(), sink);
        double length = 0;
        ASSERT_EQ(line->get_Length(&length), S_OK);
        Bstr layer;
        ASSERT_EQ(line->get_Layer(layer.put()), S_OK);
        EXPECT_EQ(sink.modified, 0);  // reading changes nothing

        Value to = point(9, 9, 0);
        ASSERT_EQ(line->put_EndPoint(*to), S_OK);
        EXPECT_EQ(sink.modified, 1);
        EXPECT_EQ(sink.changed, 1);
        EXPECT_EQ(sink.lastChanged, DISPID_UNKNOWN);
        EXPECT_EQ(sink.last.get(), line.as<IVeltObject>().get());
        Bstr handle;
        line->get_Handle(handle.put());
        EXPECT_STREQ(sink.lastHandle.c_str(), handle.c_str());

        // A change made without the wrapper is heard as well.
        {
            kx::VxDbObjectPointer<kx::VxDbLine> direct(idOf(line.as<IVeltObject>().get()), kx::VxDb::kForWrite);
            ASSERT_EQ(direct.openStatus(), kx::Velt::eOk);
            direct->setStartPoint({1, 1, 0});
        }
        EXPECT_EQ(sink.modified, 2);

        // A refused change leaves the object as it was and says nothing.
        Value bad = text(L"not a point");
        EXPECT_NE(line->put_StartPoint(*bad), S_OK);
        EXPECT_EQ(sink.modified, 2);
    }
    Value to = point(2, 2, 0);
    ASSERT_EQ(line->put_EndPoint(*to), S_OK);
    EXPECT_EQ(sink.modified, 2);  // no longer listening
    EXPECT_EQ(sink.refs, 1u);
}

TEST_F(Events, AddingToModelSpaceIsAChangeOfModelSpace)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    EventSink sink;
    Listening listening(space.get(), sink);
    addLine({0, 0, 0}, {1, 1, 0});
    EXPECT_GE(sink.modified, 1);
}

// A change needs no notice while no wrapper of an object listens; the count that says so must
// follow every sink, however it goes, or a listening wrapper would stop hearing.
TEST_F(Events, ChangesAreHeardWhileAnyWrapperListensAndTheCountFollowsItsSinks)
{
    const long before = nk::objectSinkCount();
    ComPtr<IVeltLine> heard = addLine({0, 0, 0}, {1, 0, 0});
    const kx::VxDbObjectId heardId = idOf(heard.as<IVeltObject>().get());
    auto changeDirectly = [&](kx::VxDbObjectId id, double x) {
        kx::VxDbObjectPointer<kx::VxDbLine> direct(id, kx::VxDb::kForWrite);
        ASSERT_EQ(direct.openStatus(), kx::Velt::eOk);
        direct->setStartPoint({x, 0, 0});
    };
    EventSink sink, dropped;
    {
        Listening listening(heard.get(), sink);
        EXPECT_EQ(nk::objectSinkCount(), before + 2);
        {
            // A wrapper that goes with its sinks still connected takes them off the count.
            ComPtr<IVeltLine> other = addLine({0, 1, 0}, {1, 1, 0});
            ComPtr<IConnectionPoint> point;
            ASSERT_EQ(other.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(IVeltObjectEvents),
                                                                                 point.put()),
                      S_OK);
            DWORD cookie = 0;
            ASSERT_EQ(point->Advise(static_cast<IVeltObjectEvents*>(&dropped), &cookie), S_OK);
            EXPECT_EQ(nk::objectSinkCount(), before + 3);
            // A second Unadvise of one cookie counts nothing.
            EXPECT_EQ(point->Unadvise(cookie), S_OK);
            EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
            ASSERT_EQ(point->Advise(static_cast<IVeltObjectEvents*>(&dropped), &cookie), S_OK);
        }
        EXPECT_EQ(dropped.refs, 1u);
        EXPECT_EQ(nk::objectSinkCount(), before + 2);

        changeDirectly(heardId, 5);
        EXPECT_EQ(sink.modified, 1);
    }
    EXPECT_EQ(nk::objectSinkCount(), before);
    changeDirectly(heardId, 6);
    EXPECT_EQ(sink.modified, 1);
    EXPECT_EQ(dropped.modified, 0);
}

// AddLine binds and records the new entity's wrapper while the entity is still open: it is the
// one wrapper every later lookup finds, and its record goes with it.
TEST_F(Events, TheWrapperAddLineAnswersIsTheEntitysOneRecordedWrapper)
{
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    ComPtr<IVeltModelSpace> space = modelSpace();
    const size_t before = links->objectRecordCount();
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {2, 0, 0});
    ASSERT_TRUE(line);
    const kx::VxDbObjectId id = idOf(line.as<IVeltObject>().get());
    EXPECT_EQ(links->objectRecordCount(), before + 1);
    ComPtr<IUnknown> found = wrapperOf<IUnknown>(id);
    EXPECT_EQ(found.get(), line.as<IUnknown>().get());
    {
        // Closed on the way out.
        kx::VxDbObjectPointer<kx::VxDbLine> open(id, kx::VxDb::kForWrite);
        EXPECT_EQ(open.openStatus(), kx::Velt::eOk);
    }
    found.reset();
    line.reset();
    EXPECT_EQ(links->getIUnknown(id), nullptr);
    EXPECT_EQ(links->objectRecordCount(), before);
}

// ---- record collections ----

using Collections = drawing::Drawing;

TEST_F(Collections, LayersAddOnceAndAreFoundByNameAndPosition)
{
    ComPtr<IVeltLayers> layers = wrapperOf<IVeltLayers>(db->layerTableId());
    ASSERT_TRUE(layers);
    LONG before = 0;
    ASSERT_EQ(layers->get_Count(&before), S_OK);
    EXPECT_EQ(before, 1);  // "0"

    ComPtr<IVeltLayer> walls, again;
    ASSERT_EQ(layers->Add(Bstr(L"Walls").get(), walls.put()), S_OK);
    ASSERT_EQ(layers->Add(Bstr(L"WALLS").get(), again.put()), S_OK);  // names ignore case
    EXPECT_EQ(walls.get(), again.get());
    LONG after = 0;
    layers->get_Count(&after);
    EXPECT_EQ(after, 2);

    ComPtr<IVeltLayer> byName, byPosition;
    Value name = text(L"walls"), second = number(1), shortIndex;
    V_VT(shortIndex.get()) = VT_I2;
    V_I2(shortIndex.get()) = 1;
    ASSERT_EQ(layers->Item(*name, byName.put()), S_OK);
    ASSERT_EQ(layers->Item(*shortIndex, byPosition.put()), S_OK);
    EXPECT_EQ(byName.get(), walls.get());
    EXPECT_EQ(byPosition.get(), walls.get());

    ComPtr<IVeltLayer> none;
    Value unknown = text(L"Doors"), past = number(2), negative = number(-1), junk = text(L"");
    EXPECT_EQ(layers->Item(*unknown, none.put()), static_cast<HRESULT>(0x80200014));  // no such key
    EXPECT_EQ(layers->Item(*past, none.put()), static_cast<HRESULT>(0x80200016));     // index out of range
    EXPECT_EQ(layers->Item(*negative, none.put()), static_cast<HRESULT>(0x80200016));
    EXPECT_FALSE(none);
    EXPECT_EQ(layers->Item(*second, nullptr), E_POINTER);

    // The line can now go on the new layer, and the walk sees both records.
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(line->put_Layer(Bstr(L"Walls").get()), S_OK);
    ComPtr<IUnknown> walk;
    ASSERT_EQ(layers->get__NewEnum(walk.put()), S_OK);
    ComPtr<IEnumVARIANT> records = walk.as<IEnumVARIANT>();
    VARIANT items[3];
    ULONG fetched = 0;
    EXPECT_EQ(records->Next(3, items, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(ComPtr<IUnknown>(V_DISPATCH(&items[1])).as<IVeltLayer>().get(), walls.get());
    for (ULONG i = 0; i < fetched; ++i) VariantClear(&items[i]);
}

TEST_F(Collections, LinetypeNamesAreCheckedAndApplicationsRegistered)
{
    ComPtr<IVeltLineTypes> linetypes = wrapperOf<IVeltLineTypes>(db->linetypeTableId());
    ASSERT_TRUE(linetypes);
    LONG before = 0, after = 0;
    linetypes->get_Count(&before);
    ComPtr<IVeltLineType> made;
    EXPECT_EQ(linetypes->Add(Bstr(L"Dash,Dot").get(), made.put()), E_INVALIDARG);
    EXPECT_EQ(linetypes->Add(Bstr(L"Fence").get(), made.put()), S_OK);
    linetypes->get_Count(&after);
    EXPECT_EQ(after, before + 1);
    EXPECT_NE(linetypes->Load(Bstr(L"NOSUCHTYPE").get(), Bstr(L"tarsk.lin").get()), S_OK);

    ComPtr<IVeltRegisteredApplications> apps =
        wrapperOf<IVeltRegisteredApplications>(db->regAppTableId());
    ASSERT_TRUE(apps);
    ComPtr<IVeltRegisteredApplication> app;
    ASSERT_EQ(apps->Add(Bstr(L"NKAUTO_TEST").get(), app.put()), S_OK);
    ComPtr<IVeltRegisteredApplication> found;
    Value name = text(L"NKAUTO_TEST");
    ASSERT_EQ(apps->Item(*name, found.put()), S_OK);
    EXPECT_EQ(found.get(), app.get());
}

}  // namespace
