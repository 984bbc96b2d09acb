// The server module seen from outside: class objects, aggregation, module life, the type
// library's registration and help strings, as a host or a client uses them.
#include <gtest/gtest.h>

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "frame/com.h"
#include "server_dll.h"

using nk::Bstr;
using nk::ComPtr;

namespace {

struct CoclassInfo {
    std::wstring name;
    CLSID clsid;
    IID defaultIid = IID_NULL;
    IID sourceIid = IID_NULL;
    bool canCreate = false;
};

// Classes that the type library describes but this module does not make.
const std::set<std::wstring> kNotInTable = {
    L"VeltFileDependencies", L"VeltHyperlink", L"VeltMLeaderLeader", L"VeltNurbSurface",
    L"VeltObjectEvents", L"VeltPointCloud", L"VeltShadowDisplay", L"VeltSubDMeshEdge",
    L"VeltSubDMeshFace", L"VeltSubDMeshVertex", L"VeltSubEntSolidEdge", L"VeltSubEntSolidFace",
    L"VeltSubEntSolidNode", L"VeltSubEntSolidVertex", L"VeltSubEntity", L"VeltViewBorder",
    L"VeltViewSymbol"};

const std::set<std::wstring> kAggregatable = {L"VeltDimStyles", L"VeltUCS", L"VeltUCSs"};

ComPtr<ITypeLib> loadTypeLib()
{
    ComPtr<ITypeLib> lib;
    LoadTypeLibEx(ServerDll::path().c_str(), REGKIND_NONE, lib.put());
    return lib;
}

std::vector<CoclassInfo> coclasses(ITypeLib* lib)
{
    std::vector<CoclassInfo> out;
    for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        lib->GetTypeInfo(i, info.put());
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        if (attr->typekind == TKIND_COCLASS) {
            CoclassInfo c;
            Bstr name;
            info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
            c.name = name.c_str();
            c.clsid = attr->guid;
            c.canCreate = (attr->wTypeFlags & TYPEFLAG_FCANCREATE) != 0;
            for (UINT k = 0; k < attr->cImplTypes; ++k) {
                INT flags = 0;
                HREFTYPE ref = 0;
                ComPtr<ITypeInfo> impl;
                info->GetImplTypeFlags(k, &flags);
                info->GetRefTypeOfImplType(k, &ref);
                info->GetRefTypeInfo(ref, impl.put());
                TYPEATTR* implAttr = nullptr;
                impl->GetTypeAttr(&implAttr);
                if ((flags & IMPLTYPEFLAG_FDEFAULT) && (flags & IMPLTYPEFLAG_FSOURCE)) c.sourceIid = implAttr->guid;
                else if (flags & IMPLTYPEFLAG_FDEFAULT) c.defaultIid = implAttr->guid;
                impl->ReleaseTypeAttr(implAttr);
            }
            out.push_back(c);
        }
        info->ReleaseTypeAttr(attr);
    }
    return out;
}

struct Member {
    std::wstring name;
    MEMBERID id;
};

// Every member of an interface and of the interfaces it derives from, from its vtable view.
std::vector<Member> membersWithBases(ITypeLib* lib, REFIID iid)
{
    std::vector<Member> out;
    ComPtr<ITypeInfo> info;
    if (FAILED(lib->GetTypeInfoOfGuid(iid, info.put()))) return out;
    HREFTYPE ref = 0;
    ComPtr<ITypeInfo> vtable;
    if (SUCCEEDED(info->GetRefTypeOfImplType(-1, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, vtable.put())))
        info = vtable;
    while (info) {
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        bool stop = attr->guid == IID_IDispatch || attr->guid == IID_IUnknown;
        UINT funcs = attr->cFuncs;
        UINT impls = attr->cImplTypes;
        info->ReleaseTypeAttr(attr);
        if (stop) break;
        for (UINT f = 0; f < funcs; ++f) {
            FUNCDESC* fd = nullptr;
            info->GetFuncDesc(f, &fd);
            Bstr name;
            info->GetDocumentation(fd->memid, name.put(), nullptr, nullptr, nullptr);
            out.push_back({name.c_str(), fd->memid});
            info->ReleaseFuncDesc(fd);
        }
        ComPtr<ITypeInfo> base;
        if (impls == 0 || FAILED(info->GetRefTypeOfImplType(0, &ref)) || FAILED(info->GetRefTypeInfo(ref, base.put())))
            break;
        info = base;
    }
    return out;
}

// A stand-in outer object that counts the references it is given.
struct CountingOuter : IUnknown {
    ULONG refs = 1;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
};

struct PropertySink : IPropertyNotifySink {
    ULONG refs = 1;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        if (iid == IID_IUnknown || iid == IID_IPropertyNotifySink) {
            *ppv = this;
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    HRESULT STDMETHODCALLTYPE OnChanged(DISPID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnRequestEdit(DISPID) override { return S_OK; }
};

class ServerFrame : public ::testing::Test {
protected:
    static void SetUpTestSuite() { CoInitialize(nullptr); }
    static void TearDownTestSuite() { CoUninitialize(); }

    ComPtr<IClassFactory> factory(REFCLSID clsid)
    {
        ComPtr<IClassFactory> f;
        dll.getClassObject(clsid, IID_IClassFactory, f.putVoid());
        return f;
    }

    ServerDll dll;
};

}  // namespace

TEST_F(ServerFrame, EveryClassOfTheTableIsMadeAndAnswersByNameAndWithEvents)
{
    ASSERT_NE(dll.module, nullptr);
    ComPtr<ITypeLib> lib = loadTypeLib();
    ASSERT_TRUE(lib);
    auto classes = coclasses(lib.get());
    ASSERT_EQ(classes.size(), 129u);
    int made = 0;
    for (const CoclassInfo& c : classes) {
        SCOPED_TRACE(std::string(c.name.begin(), c.name.end()));
        void* raw = reinterpret_cast<void*>(1);
        HRESULT hr = dll.getClassObject(c.clsid, IID_IClassFactory, &raw);
        if (kNotInTable.count(c.name)) {
            EXPECT_EQ(hr, CLASS_E_CLASSNOTAVAILABLE);
            EXPECT_EQ(raw, nullptr);
            continue;
        }
        ASSERT_EQ(hr, S_OK);
        ComPtr<IClassFactory> f = ComPtr<IClassFactory>::adopt(static_cast<IClassFactory*>(raw));
        ComPtr<IUnknown> object;
        ASSERT_EQ(f->CreateInstance(nullptr, IID_IUnknown, object.putVoid()), S_OK);
        ++made;

        ComPtr<IUnknown> defaultItf;
        EXPECT_EQ(object->QueryInterface(c.defaultIid, defaultItf.putVoid()), S_OK);
        ComPtr<IDispatch> dispatch = object.as<IDispatch>();
        ASSERT_TRUE(dispatch);

        // Late binding by name finds the DISPID of every member, inherited ones included.
        for (const Member& m : membersWithBases(lib.get(), c.defaultIid)) {
            LPOLESTR name = const_cast<LPOLESTR>(m.name.c_str());
            DISPID id = 0;
            ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), S_OK);
            EXPECT_EQ(id, m.id);
        }

        auto container = object.as<IConnectionPointContainer>();
        ASSERT_TRUE(container);
        ComPtr<IConnectionPoint> point;
        EXPECT_EQ(container->FindConnectionPoint(IID_IPropertyNotifySink, point.put()), S_OK);
        if (c.sourceIid != IID_NULL) {
            ComPtr<IConnectionPoint> events;
            EXPECT_EQ(container->FindConnectionPoint(c.sourceIid, events.put()), S_OK);
        }
    }
    EXPECT_EQ(made, 112);
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

TEST_F(ServerFrame, PendingMembersAnswerNotImplementedThroughBothPaths)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    auto classes = coclasses(lib.get());
    auto style = std::find_if(classes.begin(), classes.end(), [](auto& c) { return c.name == L"VeltMLeaderStyle"; });
    ASSERT_NE(style, classes.end());
    ComPtr<IDispatch> object;
    ASSERT_EQ(factory(style->clsid)->CreateInstance(nullptr, IID_IDispatch, object.putVoid()), S_OK);

    LPOLESTR name = const_cast<LPOLESTR>(L"Description");
    DISPID id = 0;
    ASSERT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), S_OK);
    EXPECT_EQ(id, 0x2);
    DISPPARAMS none = {};
    nk::Variant result;
    EXCEPINFO info = {};
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result.get(), &info, nullptr);
    EXPECT_EQ(hr, DISP_E_EXCEPTION);
    EXPECT_EQ(info.scode, E_NOTIMPL);
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
}

TEST_F(ServerFrame, ClassesOutsideTheTableAreNotAvailable)
{
    const GUID unknown = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(dll.getClassObject(unknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(dll.getClassObject(unknown, IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(ServerFrame, OnlyThreeClassesCanBeAggregated)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    for (const CoclassInfo& c : coclasses(lib.get())) {
        if (kNotInTable.count(c.name)) continue;
        SCOPED_TRACE(std::string(c.name.begin(), c.name.end()));
        CountingOuter outer;
        void* out = reinterpret_cast<void*>(1);
        HRESULT hr = factory(c.clsid)->CreateInstance(&outer, IID_IUnknown, &out);
        if (!kAggregatable.count(c.name)) {
            EXPECT_EQ(hr, CLASS_E_NOAGGREGATION);
            EXPECT_EQ(out, nullptr);
            continue;
        }
        ASSERT_EQ(hr, S_OK);
        auto inner = ComPtr<IUnknown>::adopt(static_cast<IUnknown*>(out));
        // The inner object's interfaces count their references on the outer object.
        IUnknown* itf = nullptr;
        ASSERT_EQ(inner->QueryInterface(c.defaultIid, reinterpret_cast<void**>(&itf)), S_OK);
        EXPECT_EQ(outer.refs, 2u);
        itf->Release();
        EXPECT_EQ(outer.refs, 1u);
    }
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

TEST_F(ServerFrame, LiveObjectsAndServerLocksKeepTheModuleLoaded)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    CLSID color = coclasses(lib.get()).front().clsid;
    ComPtr<IClassFactory> f = factory(color);
    ASSERT_TRUE(f);
    EXPECT_EQ(dll.canUnloadNow(), S_OK);  // a cached factory is not a live object
    ComPtr<IUnknown> object;
    ASSERT_EQ(f->CreateInstance(nullptr, IID_IUnknown, object.putVoid()), S_OK);
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
    object.reset();
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
    f->LockServer(TRUE);
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
    f->LockServer(FALSE);
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

// Objects released on another thread, and objects made on a thread that has ended, are
// counted right: the module stays while any lives.
TEST_F(ServerFrame, ObjectsCrossingThreadsKeepTheModuleLoadedWhileTheyLive)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    ComPtr<IClassFactory> f = factory(coclasses(lib.get()).front().clsid);
    ASSERT_TRUE(f);
    std::vector<IUnknown*> made(600, nullptr);
    for (IUnknown*& object : made) ASSERT_EQ(f->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)), S_OK);
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
    std::thread([&] {
        for (size_t i = 1; i < made.size(); ++i) made[i]->Release();
    }).join();
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);  // one still lives
    made[0]->Release();
    EXPECT_EQ(dll.canUnloadNow(), S_OK);

    HRESULT hr = S_OK;
    std::thread([&] {
        for (IUnknown*& object : made)
            if (FAILED(hr = f->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)))) break;
    }).join();
    ASSERT_EQ(hr, S_OK);
    EXPECT_EQ(dll.canUnloadNow(), S_FALSE);
    for (IUnknown* object : made) object->Release();
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

TEST_F(ServerFrame, ConnectionPointsAcceptAndReleaseSinks)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    ComPtr<IUnknown> object;
    ASSERT_EQ(factory(coclasses(lib.get()).front().clsid)->CreateInstance(nullptr, IID_IUnknown, object.putVoid()), S_OK);
    // The points are made on the first request, by either call: both then hand out the same ones.
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_EQ(object.as<IConnectionPointContainer>()->EnumConnectionPoints(points.put()), S_OK);
    IConnectionPoint* listed[2] = {};
    ULONG listedCount = 0;
    points->Next(2, listed, &listedCount);
    ComPtr<IConnectionPoint> first = ComPtr<IConnectionPoint>::adopt(listed[0]);
    ComPtr<IConnectionPoint> second = ComPtr<IConnectionPoint>::adopt(listed[1]);
    ASSERT_GE(listedCount, 1u);
    ComPtr<IConnectionPoint> point;
    ASSERT_EQ(object.as<IConnectionPointContainer>()->FindConnectionPoint(IID_IPropertyNotifySink, point.put()), S_OK);
    EXPECT_TRUE(point.get() == first.get() || point.get() == second.get());
    ComPtr<IConnectionPoint> again;
    ASSERT_EQ(object.as<IConnectionPointContainer>()->FindConnectionPoint(IID_IPropertyNotifySink, again.put()), S_OK);
    EXPECT_EQ(again.get(), point.get());
    PropertySink sink;
    DWORD cookie = 0;
    ASSERT_EQ(point->Advise(&sink, &cookie), S_OK);
    EXPECT_NE(cookie, 0u);
    EXPECT_EQ(sink.refs, 2u);
    ComPtr<IEnumConnections> connections;
    ASSERT_EQ(point->EnumConnections(connections.put()), S_OK);
    CONNECTDATA data[2] = {};
    ULONG fetched = 0;
    EXPECT_EQ(connections->Next(2, data, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 1u);
    EXPECT_EQ(data[0].dwCookie, cookie);
    data[0].pUnk->Release();
    connections.reset();
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(sink.refs, 1u);
    ComPtr<IConnectionPoint> none;
    EXPECT_EQ(object.as<IConnectionPointContainer>()->FindConnectionPoint(IID_IDispatch, none.put()), CONNECT_E_NOCONNECTION);
}

TEST_F(ServerFrame, HelpStringsComeFromTheResourceLibraryByContext)
{
    EXPECT_EQ(dll.documentation(nullptr, nullptr, 0, 30000, nullptr), E_POINTER);

    // The type library carries contexts, and the module answers them with texts.
    ComPtr<ITypeLib> lib = loadTypeLib();
    ComPtr<ITypeLib2> lib2 = lib.as<ITypeLib2>();
    ASSERT_TRUE(lib2);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(lib->GetTypeInfoOfGuid(coclasses(lib.get()).front().defaultIid, info.put()), S_OK);
    ComPtr<ITypeInfo2> info2 = info.as<ITypeInfo2>();
    ASSERT_TRUE(info2);
    DWORD context = 0;
    ASSERT_EQ(info2->GetDocumentation2(MEMBERID_NIL, LOCALE_USER_DEFAULT, nullptr, &context, nullptr), S_OK);
    EXPECT_GE(context, 30000u);
    Bstr text;
    EXPECT_EQ(dll.documentation(nullptr, nullptr, 0, context, text.put()), S_OK);
    EXPECT_GT(text.length(), 0u);

    BSTR untouched = reinterpret_cast<BSTR>(static_cast<uintptr_t>(0x1234));
    EXPECT_EQ(dll.documentation(nullptr, nullptr, 0, 65000, &untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<BSTR>(static_cast<uintptr_t>(0x1234)));

    Bstr libHelp;
    ASSERT_EQ(lib->GetDocumentation(MEMBERID_NIL, nullptr, libHelp.put(), nullptr, nullptr), S_OK);
    EXPECT_STREQ(libHelp.c_str(), L"TARSK Type Library");
}

TEST_F(ServerFrame, RegistrationWritesTheTypeLibraryOnly)
{
    ComPtr<ITypeLib> lib = loadTypeLib();
    TLIBATTR* attr = nullptr;
    ASSERT_EQ(lib->GetLibAttr(&attr), S_OK);
    GUID libid = attr->guid;
    lib->ReleaseTLibAttr(attr);
    wchar_t text[64] = {};
    StringFromGUID2(libid, text, 64);
    std::wstring key = std::wstring(L"TypeLib\\") + text + L"\\1.0";

    // "use" and "users" are not "user": the machine-wide registration is made.
    ASSERT_EQ(dll.install(TRUE, L"users"), S_OK);
    HKEY h = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &h), ERROR_SUCCESS);
    RegCloseKey(h);
    // No class keys: a class that no installer registers has none after registration.
    auto classes = coclasses(lib.get());
    auto arc = std::find_if(classes.begin(), classes.end(), [](auto& c) { return c.name == L"VeltArc"; });
    ASSERT_NE(arc, classes.end());
    StringFromGUID2(arc->clsid, text, 64);
    EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + text).c_str(), 0, KEY_READ, &h), ERROR_SUCCESS);

    EXPECT_EQ(dll.install(FALSE, L"use"), S_OK);
    EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &h), ERROR_SUCCESS);
    EXPECT_EQ(dll.install(FALSE, nullptr), S_OK);
}

TEST_F(ServerFrame, PaletteShutdownTwiceThenUnloadIsHarmless)
{
    ASSERT_NE(dll.uninitOpm, nullptr);
    dll.uninitOpm();
    dll.uninitOpm();
    dll.unload();
    dll.load();
    ASSERT_NE(dll.module, nullptr);
    EXPECT_EQ(dll.canUnloadNow(), S_OK);
}

TEST_F(ServerFrame, CompatibilityExportsCountNothing)
{
    using CounterFn = int (*)(int);
    for (const char* name : {"_Z21IncreaseGlobalAccounti", "_Z21DecreaseGlobalAccounti", "_Z18CheckGlobalAccounti"}) {
        auto fn = dll.proc<CounterFn>(name);
        ASSERT_NE(fn, nullptr) << name;
        EXPECT_EQ(fn(7), 0);
        EXPECT_EQ(fn(-1), 0);
    }
    EXPECT_NE(GetProcAddress(dll.module, "_ZN27EnableAcisMultiThreadHelperaSERKS_"), nullptr);
}

namespace {

// Runs a program beside this one and returns its exit code.
DWORD runBeside(const std::wstring& commandLine)
{
    std::wstring dir = ServerDll::path();
    dir = dir.substr(0, dir.find_last_of(L"\\/") + 1);
    std::wstring line = L"\"" + dir + commandLine;
    STARTUPINFOW si = {};
    si.cb = sizeof(si);
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) return 255;
    WaitForSingleObject(pi.hProcess, INFINITE);
    DWORD code = 255;
    GetExitCodeProcess(pi.hProcess, &code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    return code;
}

bool keyExists(HKEY root, const wchar_t* path)
{
    HKEY h = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &h) != ERROR_SUCCESS) return false;
    RegCloseKey(h);
    return true;
}

}  // namespace

TEST(InstallerTool, RegistersTheCreatableClassesPerUserAndRemovesThem)
{
    const wchar_t* progId = L"Software\\Classes\\NkAuto.Document\\CLSID";
    const wchar_t* notCreatable = L"Software\\Classes\\NkAuto.Arc";
    ASSERT_EQ(runBeside(L"nkreg.exe\" /user"), 0u);
    EXPECT_TRUE(keyExists(HKEY_CURRENT_USER, progId));
    EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, notCreatable));
    ASSERT_EQ(runBeside(L"nkreg.exe\" /user /u"), 0u);
    EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, progId));
}
