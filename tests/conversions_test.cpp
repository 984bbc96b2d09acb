// Lists, points, UCS coordinates and true colours between automation values and the host.
#include <gtest/gtest.h>

#include <memory>

#include "axsupport/conversions.h"
#include "axsupport/values.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "drawing_fixture.h"
#include "frame/com.h"
#include "kxauto.h"
#include "services/hostservices.h"

using nk::Bstr;
using nk::ComPtr;

namespace {

using drawing::Value;

// Runs a conversion and answers the HRESULT it threw, or S_OK.
template <class Body>
HRESULT thrownBy(Body body)
{
    try {
        body();
    } catch (HRESULT hr) {
        return hr;
    }
    return S_OK;
}

// A one-dimensional array VARIANT; VT_VARIANT elements hold doubles.
Value listOf(std::initializer_list<double> values, VARTYPE vt = VT_R8)
{
    Value v;
    SAFEARRAY* sa = SafeArrayCreateVector(vt, 0, static_cast<ULONG>(values.size()));
    LONG i = 0;
    for (double d : values) {
        if (vt == VT_VARIANT) {
            Value e;
            V_VT(e.get()) = VT_R8;
            V_R8(e.get()) = d;
            SafeArrayPutElement(sa, &i, e.get());
        } else if (vt == VT_R8) {
            SafeArrayPutElement(sa, &i, &d);
        } else {
            LONG n = static_cast<LONG>(d);
            SafeArrayPutElement(sa, &i, &n);
        }
        ++i;
    }
    V_VT(v.get()) = VT_ARRAY | vt;
    V_ARRAY(v.get()) = sa;
    return v;
}

Value text(const wchar_t* s)
{
    Value v;
    V_VT(v.get()) = VT_BSTR;
    V_BSTR(v.get()) = SysAllocString(s);
    return v;
}

std::vector<double> valuesOf(const VxArray<double>& a) { return {a.begin(), a.end()}; }

// The n-th slot of an interface's vtable, called as a member of that shape.
template <class... Args>
HRESULT callSlot(IUnknown* object, int slot, Args... args)
{
    using Fn = HRESULT(STDMETHODCALLTYPE*)(IUnknown*, Args...);
    void** vtable = *reinterpret_cast<void***>(object);
    return reinterpret_cast<Fn>(vtable[slot])(object, args...);
}

ComPtr<IVeltVxCmColor> newColor()
{
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(nk::createWrapper(CLSID_VeltVxCmColor, unknown.put()), S_OK);
    return unknown.as<IVeltVxCmColor>();
}

}  // namespace

TEST(PointConversion, TextsArraysAndEmptyValues)
{
    kx::VxGePoint3d p = NkAuToPoint(*text(L"1.5, 2").get());
    EXPECT_EQ(p.x, 1.5);
    EXPECT_EQ(p.y, 2.0);
    EXPECT_EQ(p.z, 0.0);
    p = NkAuToPoint(*text(L"5").get());
    EXPECT_EQ(p.x, 5.0);
    p = NkAuToPoint(*text(L"1,2,3,4").get());
    EXPECT_EQ(p.z, 3.0);
    EXPECT_EQ(thrownBy([] { NkAuToPoint(*text(L"").get()); }), E_INVALIDARG);
    EXPECT_EQ(thrownBy([] { NkAuToPoint(*text(L",3").get()); }), E_INVALIDARG);

    Value empty;
    p = NkAuToPoint(*empty.get());
    EXPECT_EQ(p.x, 0.0);
    EXPECT_EQ(p.y, 0.0);
    EXPECT_EQ(p.z, 0.0);

    Value coords = listOf({4, 5, 6});
    VARIANT byRef;
    VariantInit(&byRef);
    V_VT(&byRef) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&byRef) = coords.get();
    p = NkAuToPoint(byRef);
    EXPECT_EQ(p.y, 5.0);
    EXPECT_EQ(p.z, 6.0);

    Value number;
    V_VT(number.get()) = VT_I4;
    EXPECT_EQ(thrownBy([&] { NkAuToPoint(*number.get()); }), E_INVALIDARG);
    EXPECT_EQ(thrownBy([] { NkAuToPoint(*listOf({1}).get()); }), E_INVALIDARG);
    // An array of VARIANTs does not pass the point test; the list test admits it.
    EXPECT_EQ(thrownBy([] { NkAuToPoint(*listOf({1, 2, 3}, VT_VARIANT).get()); }), E_INVALIDARG);
}

TEST(ListConversion, NumbersFromDirectAndReferencedArrays)
{
    VxArray<double> direct;
    direct.append(-1.0);  // the list is appended to
    NkAuToArray(*listOf({1, 2.5, 3}).get(), direct);
    EXPECT_EQ(valuesOf(direct), (std::vector<double>{-1, 1, 2.5, 3}));

    // A VARIANT that refers to a VARIANT that refers to the array.
    Value holder = listOf({7, 8});
    SAFEARRAY* sa = V_ARRAY(holder.get());
    VARIANT inner;
    VariantInit(&inner);
    V_VT(&inner) = VT_BYREF | VT_ARRAY | VT_R8;
    V_ARRAYREF(&inner) = &sa;
    VARIANT outer;
    VariantInit(&outer);
    V_VT(&outer) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&outer) = &inner;
    VxArray<double> referenced;
    NkAuToArray(outer, referenced);
    EXPECT_EQ(valuesOf(referenced), (std::vector<double>{7, 8}));

    VxArray<double> fromVariants;
    NkAuToArray(*listOf({4, 5}, VT_VARIANT).get(), fromVariants);
    EXPECT_EQ(valuesOf(fromVariants), (std::vector<double>{4, 5}));

    VxArray<double> empty;
    NkAuToArray(*listOf({}).get(), empty);
    EXPECT_TRUE(empty.isEmpty());
}

TEST(ListConversion, RefusesWhatIsNotAOneDimensionalList)
{
    VxArray<double> values;
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    Value square;
    V_VT(square.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(square.get()) = SafeArrayCreate(VT_R8, 2, bounds);
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*square.get(), values); }), E_INVALIDARG);
    // Whole numbers as VT_I4 fail the kept type test.
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*listOf({1, 2}, VT_I4).get(), values); }), E_INVALIDARG);
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*text(L"1,2").get(), values); }), E_INVALIDARG);
    EXPECT_TRUE(values.isEmpty());

    // Elements that are no numbers stop the list where they stand.
    Value mixed = listOf({1, 2}, VT_VARIANT);
    LONG second = 1;
    SafeArrayPutElement(V_ARRAY(mixed.get()), &second, text(L"abc").get());
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*mixed.get(), values); }), E_INVALIDARG);
    EXPECT_EQ(valuesOf(values), (std::vector<double>{1}));

    VxArray<kx::VxGePoint2d> points;
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*listOf({1, 2, 3}).get(), points); }), nk::kNotWholePoints);
    EXPECT_TRUE(points.isEmpty());
    NkAuToArray(*listOf({1, 2, 3, 4}).get(), points);
    ASSERT_EQ(points.length(), 2);
    EXPECT_EQ(points[1].x, 3.0);
    EXPECT_EQ(points[1].y, 4.0);
}

TEST(ListConversion, ObjectIdsThroughTheirWrappers)
{
    kx::VxDbDatabase db;
    kx::VxDbObjectIdArray lines;
    {
        kx::VxDbBlockTableRecord* space = nullptr;
        ASSERT_EQ(kx::vxdbOpenObject(space, db.modelSpaceId(), kx::VxDb::kForWrite), kx::Velt::eOk);
        for (int i = 0; i < 2; ++i) {
            kx::VxDbObjectId id;
            auto* line = new kx::VxDbLine({0, 0, 0}, {1.0 + i, 0, 0});
            EXPECT_EQ(space->appendVxDbEntity(id, line), kx::Velt::eOk);
            line->close();
            lines.push_back(id);
        }
        space->close();
    }

    VxArray<kx::VxDbObjectId> none;
    Value empty;
    NkAuToVariant(empty.get(), none, nullptr);
    EXPECT_EQ(empty.type(), VT_EMPTY);

    VxArray<kx::VxDbObjectId> ids;
    for (kx::VxDbObjectId id : lines) ids.append(id);
    ids.append(kx::VxDbObjectId());  // no wrapper: keeps its place as a null object
    Value objects;
    NkAuToVariant(objects.get(), ids, nullptr);
    ASSERT_EQ(objects.type(), VT_ARRAY | VT_VARIANT);
    LONG last = 2;
    Value element;
    ASSERT_EQ(SafeArrayGetElement(V_ARRAY(objects.get()), &last, element.get()), S_OK);
    EXPECT_EQ(element.type(), VT_DISPATCH);
    EXPECT_EQ(V_DISPATCH(element.get()), nullptr);

    // Back to ids: the wrappers name their lines; a null element is refused.
    VxArray<kx::VxDbObjectId> back;
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*objects.get(), back); }), E_INVALIDARG);
    ASSERT_EQ(back.length(), 2);
    EXPECT_EQ(back[0], lines[0]);
    EXPECT_EQ(back[1], lines[1]);

    // An object that is no wrapper of a database object.
    ComPtr<IVeltVxCmColor> color = newColor();
    Value foreign;
    V_VT(foreign.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(foreign.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    LONG first = 0;
    Value colorElement;
    V_VT(colorElement.get()) = VT_DISPATCH;
    V_DISPATCH(colorElement.get()) = color.get();
    color->AddRef();
    SafeArrayPutElement(V_ARRAY(foreign.get()), &first, colorElement.get());
    VxArray<kx::VxDbObjectId> refused;
    EXPECT_EQ(thrownBy([&] { NkAuToArray(*foreign.get(), refused); }), E_INVALIDARG);
}

TEST(UcsConversion, OneCoordinateInTheCurrentUcs)
{
    kx::VxDbDatabase db;
    kx::VxDbHostApplicationServices* services = kx::vxdbHostApplicationServices();
    kx::VxDbDatabase* previous = services->workingDatabase();
    services->setWorkingDatabase(&db);

    kx::VxGePoint3d p{1, 2, 3};
    Value out;
    wcsPoint2UcsVariant(p, out.get(), 2);
    EXPECT_EQ(out.type(), VT_R8);
    EXPECT_EQ(V_R8(out.get()), 3.0);
    Value seven;
    V_VT(seven.get()) = VT_R8;
    V_R8(seven.get()) = 7.0;
    getWcsPoint(p, 0, *seven.get());
    EXPECT_EQ(p.x, 7.0);
    EXPECT_EQ(p.y, 2.0);
    EXPECT_EQ(p.z, 3.0);

    // A UCS at (10, 0, 0) turned a quarter about z: its x is world y.
    ASSERT_EQ(db.setUcs({10, 0, 0}, {0, 1, 0}, {-1, 0, 0}), kx::Velt::eOk);
    kx::VxGePoint3d q{10, 5, 0};
    wcsPoint2UcsVariant(q, out.get(), 0);
    EXPECT_NEAR(V_R8(out.get()), 5.0, 1e-12);
    getWcsPoint(q, 1, *seven.get());  // UCS y 7 is world x 3
    EXPECT_NEAR(q.x, 3.0, 1e-12);
    EXPECT_NEAR(q.y, 5.0, 1e-12);

    EXPECT_EQ(thrownBy([&] { wcsPoint2UcsVariant(q, out.get(), 3); }), E_INVALIDARG);
    EXPECT_EQ(thrownBy([&] { getWcsPoint(q, -1, *seven.get()); }), E_INVALIDARG);
    services->setWorkingDatabase(previous);
}

TEST(TrueColorObject, SlotsKeepTheirIrregularOrder)
{
    ComPtr<IVeltVxCmColor> color = newColor();
    ASSERT_TRUE(color);
    IUnknown* object = color.get();
    // Slot 16 SetRGB(red, green, blue); 13 Red, 14 Blue, 15 Green.
    ASSERT_EQ(callSlot(object, 16, LONG{10}, LONG{20}, LONG{30}), S_OK);
    LONG value = 0;
    EXPECT_EQ(callSlot(object, 14, &value), S_OK);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(callSlot(object, 15, &value), S_OK);
    EXPECT_EQ(value, 20);
    // Put before get for the packed colour (7, 8) and the method (17, 18), get first for
    // the index (19, 20).
    EXPECT_EQ(callSlot(object, 17, vxColorMethodByACI), S_OK);
    VxColorMethod method{};
    EXPECT_EQ(callSlot(object, 18, &method), S_OK);
    EXPECT_EQ(method, vxColorMethodByACI);
    EXPECT_EQ(callSlot(object, 20, vxCyan), S_OK);
    VxColor index{};
    EXPECT_EQ(callSlot(object, 19, &index), S_OK);
    EXPECT_EQ(index, vxCyan);
    LONG packed = 0;
    EXPECT_EQ(callSlot(object, 8, &packed), S_OK);
    EXPECT_EQ(callSlot(object, 7, LONG(static_cast<ULONG>(0xC2'01'02'03))), S_OK);
    EXPECT_EQ(color->get_Green(&value), S_OK);
    EXPECT_EQ(value, 2);

    // Late-bound: the DISPIDs continue at 0x10 after 0x9.
    ComPtr<IDispatch> dispatch = color.as<IDispatch>();
    Value result;
    DISPPARAMS none = {nullptr, nullptr, 0, 0};
    ASSERT_EQ(dispatch->Invoke(0x10, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(V_I4(result.get()), vxColorMethodByRGB);
    ASSERT_EQ(dispatch->Invoke(0x7, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(V_I4(result.get()), 3);  // blue

    EXPECT_EQ(color->get_Red(nullptr), E_POINTER);
    EXPECT_EQ(color->get_ColorName(nullptr), E_POINTER);
    EXPECT_EQ(color->get_ColorMethod(nullptr), E_POINTER);
    // Values the colour cannot hold are ignored, not reported.
    EXPECT_EQ(color->SetRGB(256, 0, 0), S_OK);
    EXPECT_EQ(color->get_Red(&value), S_OK);
    EXPECT_EQ(value, 1);
}

TEST(TrueColorObject, ConvertsBothWaysWithItsNames)
{
    kx::VxCmColor source;
    ASSERT_EQ(source.setRGB(200, 100, 50), kx::Velt::eOk);
    ASSERT_EQ(source.setNames(L"Sunset", L"Book One"), kx::Velt::eOk);
    ComPtr<IVeltVxCmColor> object = ComPtr<IVeltVxCmColor>::adopt(NkAuToVeltVxCmColor(source));
    ASSERT_TRUE(object);
    Bstr name, book;
    EXPECT_EQ(object->get_ColorName(name.put()), S_OK);
    EXPECT_EQ(object->get_BookName(book.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Sunset");
    EXPECT_STREQ(book.c_str(), L"Book One");

    kx::VxCmColor back = NkAuToCmColor(object.get());
    EXPECT_EQ(back, source);
    EXPECT_EQ(thrownBy([] { NkAuToCmColor(nullptr); }), E_POINTER);
}
