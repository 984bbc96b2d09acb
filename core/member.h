// The one way a member reads or changes its object. Declared members (the *.members files,
// turned into code by tools/gen_members.py) and hand-written ones alike call
//
//   member::get<Access, Conv>(target, out, read)    a property's value, or a query's answer
//   member::put<Access, Conv>(target, value, write) a new value
//
// where Access opens the object (how it is found, locked and opened, and what a failed open
// answers) and Conv converts between the automation value and the host's.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "axsupport/values.h"
#include "core/call.h"
#include "core/object_ref.h"
#include "services/doclock.h"

namespace kx {
class VxDbText;
}

namespace nk {

// ---- conversions: automation value <-> host value ----
namespace conv {

struct Double {
    using Host = double;
    static double in(double v) { return v; }
    static void out(double v, double* o) { *o = v; }
    static void clear(double* o) { *o = 0.0; }
};

// Whole numbers and enumerations passed on as they are.
struct Long {
    using Host = long;
    template <class A>
    static long in(A v)
    {
        return static_cast<long>(v);
    }
    template <class H, class A>
    static void out(H v, A* o)
    {
        *o = static_cast<A>(v);
    }
    template <class A>
    static void clear(A* o)
    {
        *o = A{};
    }
};

// Into a 16-bit host value; one it cannot hold goes as a value the host refuses.
struct Short : Long {
    using Host = int16_t;
    template <class A>
    static int16_t in(A v)
    {
        const long n = static_cast<long>(v);
        return n >= INT16_MIN && n <= INT16_MAX ? static_cast<int16_t>(n) : INT16_MIN;
    }
};

// An enumeration whose values outside lo ... hi are refused before anything is opened.
template <long Lo, long Hi>
struct Enum : Long {
    template <class A>
    static long in(A v)
    {
        const long n = static_cast<long>(v);
        if (n < Lo || n > Hi) throw E_INVALIDARG;
        return n;
    }
};

// A size that must be above 1e-10 (radii, diameters, areas): anything else, NaN included,
// is refused with E_INVALIDARG before anything is locked or opened.
struct Length : Double {
    static double in(double v)
    {
        if (!(v > 1e-10)) throw E_INVALIDARG;
        return v;
    }
};

// The ratio of an ellipse's radii: 1e-6 ... 1.0, both ends included.
struct Ratio : Double {
    static double in(double v)
    {
        if (!(v >= 1e-6 && v <= 1.0)) throw E_INVALIDARG;
        return v;
    }
};

// True only for VARIANT_TRUE (-1).
struct Bool {
    using Host = bool;
    static bool in(VARIANT_BOOL v) { return v == VARIANT_TRUE; }
    static void out(bool v, VARIANT_BOOL* o) { *o = v ? VARIANT_TRUE : VARIANT_FALSE; }
    static void clear(VARIANT_BOOL* o) { *o = VARIANT_FALSE; }
};

// A Boolean that says the opposite of the host's (an edge's invisibility, the host keeping
// its visibility).
struct Negated : Bool {
    static bool in(VARIANT_BOOL v) { return v != VARIANT_TRUE; }
    static void out(bool v, VARIANT_BOOL* o) { Bool::out(!v, o); }
};

// A null string is the empty text.
struct Text {
    using Host = std::wstring;
    static const wchar_t* in(BSTR v) { return v ? v : L""; }
    static void out(const wchar_t* v, BSTR* o)
    {
        *o = SysAllocString(v ? v : L"");
        if (!*o) throw E_OUTOFMEMORY;
    }
    static void out(const std::wstring& v, BSTR* o)
    {
        *o = SysAllocStringLen(v.data(), static_cast<UINT>(v.size()));
        if (!*o) throw E_OUTOFMEMORY;
    }
    static void clear(BSTR* o) { *o = nullptr; }
};

// Three doubles; a malformed array is refused with the conversion's code.
struct Point {
    using Host = kx::VxGePoint3d;
    static kx::VxGePoint3d in(const VARIANT& v) { return VxAxPoint3d(v); }
    static void out(const kx::VxGePoint3d& p, VARIANT* o) { VxAxPoint3d(p).setVariant(*o); }
    static void clear(VARIANT* o) { VariantInit(o); }
};

struct Point2 {
    using Host = kx::VxGePoint2d;
    static kx::VxGePoint2d in(const VARIANT& v) { return VxAxPoint2d(v); }
    static void out(const kx::VxGePoint2d& p, VARIANT* o) { VxAxPoint2d(p).setVariant(*o); }
    static void clear(VARIANT* o) { VariantInit(o); }
};

// A list of points as one flat array of x, y, z triples.
struct Points {
    using Host = std::vector<kx::VxGePoint3d>;
    static std::vector<kx::VxGePoint3d> in(const VARIANT& v)
    {
        VxAxPoint3dArray points;
        points.append(v);
        return std::vector<kx::VxGePoint3d>(points.begin(), points.end());
    }
    static void out(const std::vector<kx::VxGePoint3d>& points, VARIANT* o)
    {
        VxAxPoint3dArray array;
        for (const kx::VxGePoint3d& p : points) array.append(p);
        array.setVariant(*o);
    }
    static void clear(VARIANT* o) { VariantInit(o); }
};

// A direction or an axis: three doubles, passed on as they are (the host judges them).
struct Vector {
    using Host = kx::VxGeVector3d;
    static kx::VxGeVector3d in(const VARIANT& v) { return VxAxPoint3d(v).asVector(); }
    static void out(const kx::VxGeVector3d& d, VARIANT* o) { VxAxPoint3d(d.x, d.y, d.z).setVariant(*o); }
    static void clear(VARIANT* o) { VariantInit(o); }
};

}  // namespace conv

// The declared members of one interface level (generated from its declarations).
template <class Itf, class Self, class Base>
struct Declared;

// ---- access: how a member reaches its object ----

// The read and write steps every access shares. An access supplies iid(), lockTarget(target)
// (what the document lock is taken on) and withObject(target, mode, body): it finds the
// object as its family does and answers body(object), or what its family answers when the
// object is not there.
template <class Access>
struct AccessSteps {
    template <class Target, class Read>
    static HRESULT read(Target& target, Read&& read)
    {
        return guarded(Access::iid(), [&]() -> HRESULT {
            return Access::withObject(target, kx::VxDb::kForRead, [&](const auto& object) -> HRESULT {
                read(object);
                return S_OK;
            });
        });
    }
    // convert runs first, before the lock: refused input changes nothing and locks nothing.
    template <class Target, class Convert, class Write>
    static HRESULT write(Target& target, Convert&& convert, Write&& write)
    {
        return guarded(Access::iid(), [&]() -> HRESULT {
            const auto value = convert();
            kx::VxAxDocLock lock(Access::lockTarget(target), kx::VxAxDocLock::kWrite);
            check(lock.lockStatus());
            return Access::withObject(target, kx::VxDb::kForWrite, [&](auto& object) -> HRESULT {
                check(write(object, value));
                return S_OK;
            });
        });
    }
};

// A database object through the wrapper's reference, opened for the call; changes go under
// the document lock of the object's drawing.
template <class Itf>
struct ObjectTarget {
    using Target = VxAxObjectRef;
    template <class Self>
    static Target& target(Self& self)
    {
        return self.objectRef();
    }
    static const IID& iid() { return __uuidof(Itf); }
    static kx::VxDbObjectId lockTarget(Target& ref) { return ref.objectId(); }
};

// What a failed open answers depends on the family: E_POINTER for an object's own members
// (not the host's status: that is what they answer), the host's status for the members
// every entity shares.
enum class FailedOpen { kPointer, kStatus };

template <class Itf, class T, FailedOpen kFailedOpen>
struct ObjectAccess : ObjectTarget<Itf>, AccessSteps<ObjectAccess<Itf, T, kFailedOpen>> {
    using Object = T;
    template <class Body>
    static HRESULT withObject(VxAxObjectRef& ref, kx::VxDb::OpenMode mode, Body&& body)
    {
        OpenedObject<T> object(ref, mode);
        if (kFailedOpen == FailedOpen::kPointer && !object.isOpen()) return E_POINTER;
        return body(*object.orThrow());
    }
};

template <class Itf, class T>
using OwnAccess = ObjectAccess<Itf, T, FailedOpen::kPointer>;
template <class Itf, class T>
using StatusAccess = ObjectAccess<Itf, T, FailedOpen::kStatus>;

// The members that texts, attribute definitions and attributes share: the object is opened as
// a text, whichever of the three it is, and must be of the kind T; anything else answers
// E_POINTER like an object that does not open.
template <class Itf, class T, class Text = kx::VxDbText>
struct TextAccess : ObjectTarget<Itf>, AccessSteps<TextAccess<Itf, T, Text>> {
    using Object = T;
    template <class Body>
    static HRESULT withObject(VxAxObjectRef& ref, kx::VxDb::OpenMode mode, Body&& body)
    {
        OpenedObject<Text> text(ref, mode);
        T* object = text.isOpen() ? T::cast(text.get()) : nullptr;
        if (!object) return E_POINTER;
        return body(*object);
    }
};

// ---- the two patterns ----
namespace member {

// Null out pointer: E_POINTER; otherwise the output is cleared first.
template <class Access, class Conv, class Out, class Read>
HRESULT get(typename Access::Target& target, Out* out, Read&& read)
{
    if (!out) return E_POINTER;
    Conv::clear(out);
    return Access::read(target, [&](const typename Access::Object& object) { Conv::out(read(object), out); });
}

template <class Access, class Conv, class In, class Write>
HRESULT put(typename Access::Target& target, const In& value, Write&& write)
{
    return Access::write(
        target, [&] { return Conv::in(value); },
        [&](typename Access::Object& object, const auto& converted) { return write(object, converted); });
}

// A change with nothing to convert: the object open for write under the document lock.
template <class Access, class Write>
HRESULT call(typename Access::Target& target, Write&& write)
{
    return Access::write(
        target, [] { return 0; }, [&](typename Access::Object& object, int) { return write(object); });
}

}  // namespace member

}  // namespace nk
