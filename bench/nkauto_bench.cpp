// What a client pays for the automation layer: lines made by the host directly, against
// AddLine through the vtable and through IDispatch, a walk of model space through
// IEnumVARIANT against the host's own iterator, and a plain member's get and put (a double
// and a point) generated from its declaration against the same member written by hand.
//
//   nkauto_bench [count]      (default 100,000 lines on each path)
//
// NkAuto.dll is loaded from beside this program and asked for its class object directly,
// so the benchmark needs no registration. The member comparison runs on the automation
// layer linked into this program, so that both paths are the same build.
#include <windows.h>
#include <oleauto.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/polylines.h"
#include "frame/class_table.h"
#include "frame/com.h"
#include "frame/module.h"
#include "handwritten_line.h"
#include "kxauto.h"

using nk::ComPtr;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The coordinates host_bench gives its lines.
double startX(size_t i) { return double(i); }
double startY(size_t i) { return double(i % 1000); }

[[noreturn]] void fail(const char* what, HRESULT hr)
{
    std::fprintf(stderr, "%s failed: 0x%08lX\n", what, static_cast<unsigned long>(hr));
    std::exit(1);
}

struct Timing {
    size_t count = 0;
    double seconds = 0.0;
    double checksum = 0.0;  // what a walk read, so that its reads stay
};

// ---- The host alone ----

Timing hostCreate(kx::VxDbDatabase& db, size_t count)
{
    Timing t{count};
    const auto start = Clock::now();
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(db.modelSpaceId(), kx::VxDb::kForWrite);
        for (size_t i = 0; i < count; ++i) {
            auto* line = new kx::VxDbLine(kx::VxGePoint3d{startX(i), startY(i), 0.0},
                                          kx::VxGePoint3d{startX(i) + 1.0, startY(i) + 1.0, 0.0});
            if (space->appendVxDbEntity(line) != kx::Velt::eOk) fail("host append", E_FAIL);
            line->close();
        }
    }
    t.seconds = secondsSince(start);
    return t;
}

// The block's iterator: ids only, or each entity opened for read and closed as a wrapper's
// lookup does.
Timing hostWalk(kx::VxDbDatabase& db, bool open)
{
    Timing t;
    const auto start = Clock::now();
    kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(db.modelSpaceId(), kx::VxDb::kForRead);
    std::unique_ptr<kx::VxDbBlockTableRecordIterator> it;
    if (!space || space->newIterator(it) != kx::Velt::eOk) fail("host iterator", E_FAIL);
    for (; !it->done(); it->step()) {
        ++t.count;
        if (!open) {
            t.checksum += double(it->currentId().asOldId() & 1);
            continue;
        }
        kx::VxDbEntity* entity = nullptr;
        if (it->getEntity(entity, kx::VxDb::kForRead) != kx::Velt::eOk) fail("host open", E_FAIL);
        if (auto* line = kx::VxDbLine::cast(entity)) t.checksum += line->startPoint().x;
        entity->close();
    }
    t.seconds = secondsSince(start);
    return t;
}

// ---- The server ----

// A point as clients pass it: VT_ARRAY | VT_R8 of three doubles, rewritten in place.
class Point {
public:
    Point()
    {
        V_VT(value_.get()) = VT_ARRAY | VT_R8;
        V_ARRAY(value_.get()) = SafeArrayCreateVector(VT_R8, 0, 3);
        if (!V_ARRAY(value_.get())) fail("SafeArrayCreateVector", E_OUTOFMEMORY);
        xyz_ = static_cast<double*>(V_ARRAY(value_.get())->pvData);
    }
    void set(double x, double y) { xyz_[0] = x, xyz_[1] = y, xyz_[2] = 0.0; }
    VARIANT& operator*() { return *value_.get(); }

private:
    nk::Variant value_;
    double* xyz_ = nullptr;
};

class Server {
public:
    Server()
    {
        wchar_t path[MAX_PATH];
        DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
        std::wstring dll(path, n);
        dll.resize(dll.find_last_of(L"\\/") + 1);
        dll += L"NkAuto.dll";
        module_ = LoadLibraryW(dll.c_str());
        if (!module_) return;  // then the registered server, if any
        using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        auto get = reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(GetProcAddress(module_, "DllGetClassObject")));
        if (!get) fail("DllGetClassObject lookup", E_FAIL);
        HRESULT hr = get(__uuidof(KxDbDocument), IID_IClassFactory, factory_.putVoid());
        if (FAILED(hr)) fail("DllGetClassObject", hr);
    }
    // The module stays loaded: wrappers may still be released at exit.
    ~Server() = default;

    ComPtr<IKxDbDocument> newDocument() const
    {
        ComPtr<IKxDbDocument> doc;
        HRESULT hr = factory_ ? factory_->CreateInstance(nullptr, __uuidof(IKxDbDocument), doc.putVoid())
                              : CoCreateInstance(__uuidof(KxDbDocument), nullptr, CLSCTX_INPROC_SERVER,
                                                 __uuidof(IKxDbDocument), doc.putVoid());
        if (FAILED(hr)) fail("creating a document", hr);
        return doc;
    }

private:
    HMODULE module_ = nullptr;
    ComPtr<IClassFactory> factory_;
};

ComPtr<IVeltModelSpace> modelSpaceOf(IKxDbDocument* doc)
{
    ComPtr<IVeltModelSpace> space;
    HRESULT hr = doc->get_ModelSpace(space.put());
    if (FAILED(hr) || !space) fail("get_ModelSpace", hr);
    return space;
}

Timing addByVtable(IVeltModelSpace* space, size_t count)
{
    Timing t{count};
    Point from, to;
    const auto start = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        from.set(startX(i), startY(i));
        to.set(startX(i) + 1.0, startY(i) + 1.0);
        IVeltLine* line = nullptr;
        HRESULT hr = space->AddLine(*from, *to, &line);
        if (FAILED(hr)) fail("AddLine", hr);
        line->Release();
    }
    t.seconds = secondsSince(start);
    return t;
}

Timing addByDispatch(IVeltModelSpace* space, size_t count)
{
    Timing t{count};
    LPOLESTR name = const_cast<LPOLESTR>(L"AddLine");
    DISPID id = DISPID_UNKNOWN;
    HRESULT hr = space->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) fail("GetIDsOfNames(AddLine)", hr);
    Point from, to;
    VARIANT args[2];  // last argument first
    DISPPARAMS params = {args, nullptr, 2, 0};
    const auto start = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        from.set(startX(i), startY(i));
        to.set(startX(i) + 1.0, startY(i) + 1.0);
        args[0] = *to;
        args[1] = *from;
        VARIANT result;
        VariantInit(&result);
        hr = space->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr, nullptr);
        if (FAILED(hr)) fail("Invoke(AddLine)", hr);
        VariantClear(&result);
    }
    t.seconds = secondsSince(start);
    return t;
}

// Walks model space with Next(batch); every item is a wrapper, released at once.
Timing enumerate(IVeltModelSpace* space, ULONG batch)
{
    Timing t;
    const auto start = Clock::now();
    ComPtr<IUnknown> unknown;
    HRESULT hr = space->get__NewEnum(unknown.put());
    if (FAILED(hr) || !unknown) fail("get__NewEnum", hr);
    ComPtr<IEnumVARIANT> items = unknown.as<IEnumVARIANT>();
    if (!items) fail("QueryInterface(IEnumVARIANT)", E_NOINTERFACE);
    VARIANT got[128];
    if (batch > 128) batch = 128;
    for (;;) {
        ULONG fetched = 0;
        hr = items->Next(batch, got, &fetched);
        if (FAILED(hr)) fail("IEnumVARIANT::Next", hr);
        for (ULONG i = 0; i < fetched; ++i) {
            if (V_VT(&got[i]) != VT_DISPATCH || !V_DISPATCH(&got[i])) fail("an enumerated item", E_UNEXPECTED);
            VariantClear(&got[i]);
        }
        t.count += fetched;
        if (hr == S_FALSE || fetched == 0) break;
    }
    t.seconds = secondsSince(start);
    return t;
}

// ---- One member, declared or written by hand ----

// The same line behind both: a wrapper of this program's own automation layer, and the
// hand-written class of before.
struct MemberPaths {
    kx::VxDbDatabase db;
    kx::VxDbObjectId line;
    ComPtr<IVeltLine> declared;
    handwritten::Line* byHand = nullptr;

    MemberPaths()
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(db.modelSpaceId(), kx::VxDb::kForWrite);
        auto* made = new kx::VxDbLine(kx::VxGePoint3d{1, 2, 3}, kx::VxGePoint3d{4, 5, 6});
        if (space->appendVxDbEntity(line, made) != kx::Velt::eOk) fail("member line", E_FAIL);
        made->close();
        space.close();
        ComPtr<IUnknown> wrapper;
        HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), line, nullptr);
        if (FAILED(hr) || !wrapper) fail("the line's wrapper", hr);
        declared = wrapper.as<IVeltLine>();
        byHand = makeHandWritten(line);
    }
    ~MemberPaths() { delete byHand; }

    // Through a pointer the compiler cannot see through, as a client's call would be.
    [[gnu::noinline]] static handwritten::Line* makeHandWritten(kx::VxDbObjectId id)
    {
        static handwritten::Line* volatile made;
        made = new handwritten::Line(id);
        return made;
    }
};

template <class Call>
Timing calls(size_t count, Call call)
{
    Timing t{count};
    const auto start = Clock::now();
    for (size_t i = 0; i < count; ++i) {
        HRESULT hr = call(i);
        if (FAILED(hr)) fail("a member call", hr);
    }
    t.seconds = secondsSince(start);
    return t;
}

void row(const char* what, const Timing& t)
{
    const double perItem = t.count ? t.seconds / double(t.count) : 0.0;
    std::printf("%-36s %9zu %10.4f %14.3f %12.0f\n", what, t.count, t.seconds, perItem * 1e6,
                t.seconds > 0 ? double(t.count) / t.seconds : 0.0);
}

double perItem(const Timing& t) { return t.count ? t.seconds / double(t.count) : 0.0; }

constexpr int kRounds = 3;
constexpr int kPathTurns = 5;  // rounds of the paths compared in turns

template <class Round>
Timing best(Round round)
{
    Timing kept = round();
    for (int i = 1; i < kRounds; ++i) {
        const Timing t = round();
        if (t.seconds < kept.seconds) kept = t;
    }
    return kept;
}

// Two paths compared: rounds taken in turns, the best of each kept, so that neither gains
// from coming second or from a quiet moment of the machine.
template <class A, class B>
void interleaved(Timing& a, Timing& b, A runA, B runB)
{
    constexpr int kTurns = 7;
    for (int i = 0; i < kTurns; ++i) {
        const Timing ta = runA(), tb = runB();
        if (i == 0 || ta.seconds < a.seconds) a = ta;
        if (i == 0 || tb.seconds < b.seconds) b = tb;
    }
}

// ---- A long polyline's vertex list ----

constexpr int kVertices = 10000;
constexpr int kListRounds = 50;

// Coordinates get and put of a 10,000-vertex polyline through the vtable, beside the host's
// own loop over the same vertices (getPointAt / setPointAt on the open polyline).
void polylineRow(IVeltModelSpace* modelSpace)
{
    SAFEARRAY* sa = SafeArrayCreateVector(VT_R8, 0, 2 * kVertices);
    if (!sa) fail("an array", E_OUTOFMEMORY);
    double* data = nullptr;
    SafeArrayAccessData(sa, reinterpret_cast<void**>(&data));
    for (int i = 0; i < kVertices; ++i) {
        data[2 * i] = i;
        data[2 * i + 1] = i % 100;
    }
    SafeArrayUnaccessData(sa);
    VARIANT list;
    VariantInit(&list);
    V_VT(&list) = VT_ARRAY | VT_R8;
    V_ARRAY(&list) = sa;
    ComPtr<IVeltLWPolyline> polyline;
    if (HRESULT hr = modelSpace->AddLightWeightPolyline(list, polyline.put()); FAILED(hr)) fail("AddLightWeightPolyline", hr);
    // The host's loop runs on this program's own host (the DLL has its own copy): the same
    // polyline in a drawing of its own.
    kx::VxDbDatabase db;
    kx::VxDbObjectId id;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(db.modelSpaceId(), kx::VxDb::kForWrite);
        auto* own = new kx::VxDbPolyline();
        for (int i = 0; i < kVertices; ++i) own->addVertexAt(i, kx::VxGePoint2d{data[2 * i], data[2 * i + 1]});
        if (space->appendVxDbEntity(id, own) != kx::Velt::eOk) fail("host append", E_FAIL);
        own->close();
    }

    auto rounds = [](auto body) {
        Timing t{size_t(kListRounds) * kVertices};
        const auto start = Clock::now();
        for (int r = 0; r < kListRounds; ++r) body();
        t.seconds = secondsSince(start);
        return t;
    };
    Timing get, put, hostGet, hostPut;
    interleaved(hostGet, get,
                [&] {
                    return rounds([&] {
                        kx::VxDbObjectPointer<kx::VxDbPolyline> p(id, kx::VxDb::kForRead);
                        std::vector<kx::VxGePoint2d> points(size_t(p->numVerts()));
                        for (int i = 0; i < p->numVerts(); ++i) p->getPointAt(i, points[size_t(i)]);
                    });
                },
                [&] {
                    return rounds([&] {
                        VARIANT v;
                        VariantInit(&v);
                        if (HRESULT hr = polyline->get_Coordinates(&v); FAILED(hr)) fail("get Coordinates", hr);
                        VariantClear(&v);
                    });
                });
    interleaved(hostPut, put,
                [&] {
                    return rounds([&] {
                        kx::VxDbObjectPointer<kx::VxDbPolyline> p(id, kx::VxDb::kForWrite);
                        for (int i = 0; i < kVertices; ++i) p->setPointAt(i, kx::VxGePoint2d{data[2 * i], data[2 * i + 1]});
                    });
                },
                [&] {
                    return rounds([&] {
                        if (HRESULT hr = polyline->put_Coordinates(list); FAILED(hr)) fail("put Coordinates", hr);
                    });
                });
    std::printf("\na %d-vertex lightweight polyline's vertices, %d rounds (per vertex)\n", kVertices, kListRounds);
    row("host: open + getPointAt loop", hostGet);
    row("COM vtable: get Coordinates", get);
    row("host: open + setPointAt loop", hostPut);
    row("COM vtable: put Coordinates", put);
    std::printf("Coordinates / host loop: get %.2fx, put %.2fx\n", perItem(get) / perItem(hostGet),
                perItem(put) / perItem(hostPut));
    VariantClear(&list);
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    size_t count = 100000;
    if (argc > 1) {
        const long long asked = std::wcstoll(argv[1], nullptr, 10);
        if (asked <= 0 || asked > 10000000) {
            std::fprintf(stderr, "usage: nkauto_bench [count 1 ... 10000000]\n");
            return 2;
        }
        count = size_t(asked);
    }
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
    // The automation layer linked into this program, set up as the DLL sets itself up.
    nk::Module::attach(GetModuleHandleW(nullptr));
    nk::fillClassTable();
    nk::registerWrapperClasses();
    {
        Server server;

        // Warm-up on drawings of their own: first touches of the allocator, the type
        // information and the wrapper classes are not measured.
        const size_t warm = count / 10 + 1;
        {
            kx::VxDbDatabase db;
            hostCreate(db, warm);
            hostWalk(db, true);
            ComPtr<IKxDbDocument> doc = server.newDocument();
            ComPtr<IVeltModelSpace> space = modelSpaceOf(doc.get());
            addByVtable(space.get(), warm);
            addByDispatch(space.get(), warm);
            enumerate(space.get(), 1);
            enumerate(space.get(), 100);
        }

        // Each path runs on a fresh drawing, the paths compared taking turns, and each keeps
        // its best round: the machine may be shared, and a neighbour's burst should not
        // decide the ratios.
        Timing host, vtable, dispatch;
        ComPtr<IKxDbDocument> doc;  // the last drawing of the vtable rounds is the one walked
        ComPtr<IVeltModelSpace> space;
        for (int turn = 0; turn < kPathTurns; ++turn) {
            auto keep = [&](Timing& kept, const Timing& t) {
                if (turn == 0 || t.seconds < kept.seconds) kept = t;
            };
            {
                kx::VxDbDatabase scratch;
                keep(host, hostCreate(scratch, count));
            }
            space.reset();
            doc = server.newDocument();
            space = modelSpaceOf(doc.get());
            keep(vtable, addByVtable(space.get(), count));
            ComPtr<IKxDbDocument> other = server.newDocument();
            keep(dispatch, addByDispatch(modelSpaceOf(other.get()).get(), count));
        }
        kx::VxDbDatabase db;
        hostCreate(db, count);
        const Timing hostIds = best([&] { return hostWalk(db, false); });
        Timing hostOpen, walk1, walk100;
        for (int turn = 0; turn < kPathTurns; ++turn) {
            auto keep = [&](Timing& kept, const Timing& t) {
                if (turn == 0 || t.seconds < kept.seconds) kept = t;
            };
            keep(hostOpen, hostWalk(db, true));
            keep(walk1, enumerate(space.get(), 1));
            keep(walk100, enumerate(space.get(), 100));
        }

        // A member's get and put, declared against hand-written, alternating rounds.
        MemberPaths members;
        Point where;
        where.set(7.0, 8.0);
        double thickness = 0.0;
        auto getDouble = [&](auto* line) { return calls(count, [&](size_t) { return line->get_Thickness(&thickness); }); };
        auto putDouble = [&](auto* line) {
            return calls(count, [&](size_t i) { return line->put_Thickness(double(i & 7)); });
        };
        auto getPoint = [&](auto* line) {
            return calls(count, [&](size_t) {
                VARIANT v;
                VariantInit(&v);
                HRESULT hr = line->get_StartPoint(&v);
                VariantClear(&v);
                return hr;
            });
        };
        auto putPoint = [&](auto* line) { return calls(count, [&](size_t) { return line->put_StartPoint(*where); }); };
        IVeltLine* declaredLine = members.declared.get();
        handwritten::Line* handLine = members.byHand;
        Timing getDoubleHand, getDoubleDeclared, putDoubleHand, putDoubleDeclared;
        Timing getPointHand, getPointDeclared, putPointHand, putPointDeclared;
        interleaved(getDoubleHand, getDoubleDeclared, [&] { return getDouble(handLine); },
                    [&] { return getDouble(declaredLine); });
        interleaved(putDoubleHand, putDoubleDeclared, [&] { return putDouble(handLine); },
                    [&] { return putDouble(declaredLine); });
        interleaved(getPointHand, getPointDeclared, [&] { return getPoint(handLine); },
                    [&] { return getPoint(declaredLine); });
        interleaved(putPointHand, putPointDeclared, [&] { return putPoint(handLine); },
                    [&] { return putPoint(declaredLine); });

        if (walk1.count != count || walk100.count != count || hostOpen.count != count)
            std::fprintf(stderr, "walks saw %zu, %zu and %zu entities, not %zu\n", walk1.count, walk100.count,
                         hostOpen.count, count);

        std::printf("lines per path: %zu (best of %d rounds)\n", count, kPathTurns);
        std::printf("%-36s %9s %10s %14s %12s\n", "", "items", "total (s)", "per item (us)", "items/s");
        row("host: new line + append + close", host);
        row("COM vtable: AddLine", vtable);
        row("COM IDispatch: Invoke AddLine", dispatch);
        row("host: block iterator, ids", hostIds);
        row("host: block iterator, open + close", hostOpen);
        row("COM IEnumVARIANT: Next(1)", walk1);
        row("COM IEnumVARIANT: Next(100)", walk100);
        std::printf("vtable AddLine / host creation: %.2fx (aim: within 2x)\n", perItem(vtable) / perItem(host));
        std::printf("IDispatch / vtable AddLine: %.2fx (aim: within 1.5x)\n", perItem(dispatch) / perItem(vtable));
        std::printf("IEnumVARIANT Next(100) / host open + close: %.2fx (aim: within 2x), Next(1): %.2fx, "
                    "Next(100) / Next(1): %.2fx\n",
                    perItem(walk100) / perItem(hostOpen), perItem(walk1) / perItem(hostOpen),
                    perItem(walk100) / perItem(walk1));
        std::printf("\nline members through the vtable: written by hand (before) and declared (after)\n");
        row("get Thickness (double), by hand", getDoubleHand);
        row("get Thickness (double), declared", getDoubleDeclared);
        row("put Thickness (double), by hand", putDoubleHand);
        row("put Thickness (double), declared", putDoubleDeclared);
        row("get StartPoint (point), by hand", getPointHand);
        row("get StartPoint (point), declared", getPointDeclared);
        row("put StartPoint (point), by hand", putPointHand);
        row("put StartPoint (point), declared", putPointDeclared);
        std::printf("declared / by hand: get double %.2fx, put double %.2fx, get point %.2fx, put point %.2fx\n",
                    perItem(getDoubleDeclared) / perItem(getDoubleHand), perItem(putDoubleDeclared) / perItem(putDoubleHand),
                    perItem(getPointDeclared) / perItem(getPointHand), perItem(putPointDeclared) / perItem(putPointHand));
        polylineRow(space.get());
    }
    CoUninitialize();
    return 0;
}
