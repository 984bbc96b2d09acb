// Points, point lists and matrices from automation arrays: what is accepted, what each
// malformed input answers, and how the array underneath grows.
#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "axsupport/values.h"
#include "frame/com.h"

namespace {

// A VARIANT holding a one-dimensional array of doubles with the given lower bound.
struct Doubles {
    nk::Variant v;
    Doubles(std::initializer_list<double> values, LONG lower = 0)
    {
        SAFEARRAYBOUND b{static_cast<ULONG>(values.size()), lower};
        SAFEARRAY* sa = SafeArrayCreate(VT_R8, 1, &b);
        LONG i = lower;
        for (double d : values) {
            SafeArrayPutElement(sa, &i, &d);
            ++i;
        }
        V_VT(v.get()) = VT_ARRAY | VT_R8;
        V_ARRAY(v.get()) = sa;
    }
    const VARIANT& operator*() const { return *v.get(); }
};

// A VARIANT holding a two-dimensional array of doubles.
struct Grid {
    nk::Variant v;
    Grid(ULONG rows, ULONG cols, LONG lower = 0)
    {
        SAFEARRAYBOUND b[2] = {{rows, lower}, {cols, lower}};
        SAFEARRAY* sa = SafeArrayCreate(VT_R8, 2, b);
        V_VT(v.get()) = VT_ARRAY | VT_R8;
        V_ARRAY(v.get()) = sa;
    }
    const VARIANT& operator*() const { return *v.get(); }
};

template <class F>
HRESULT thrown(F&& f)
{
    try {
        f();
    } catch (HRESULT hr) {
        return hr;
    }
    return S_OK;
}

std::vector<double> doublesOf(const VARIANT& v)
{
    std::vector<double> out;
    EXPECT_EQ(V_VT(&v), VT_ARRAY | VT_R8);
    SAFEARRAY* sa = V_ARRAY(&v);
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(sa, 1, &lo);
    SafeArrayGetUBound(sa, 1, &hi);
    EXPECT_EQ(lo, 0);
    for (LONG i = lo; i <= hi; ++i) {
        double d = 0;
        SafeArrayGetElement(sa, &i, &d);
        out.push_back(d);
    }
    return out;
}

}  // namespace

TEST(PointValues, ConvertFromArraysWithAnyLowerBoundAndThroughReferences)
{
    Doubles a({1.5, -2, 3}, 1);
    VxAxPoint3d p(*a);
    EXPECT_EQ(p.x, 1.5);
    EXPECT_EQ(p.y, -2);
    EXPECT_EQ(p.z, 3);

    nk::Variant byRef;
    V_VT(byRef.get()) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(byRef.get()) = const_cast<VARIANT*>(&*a);
    VxAxPoint3d q(*byRef.get());
    EXPECT_EQ(q.x, 1.5);
    EXPECT_EQ(q.z, 3);

    Doubles two({4, 5});
    VxAxPoint2d r(*two);
    EXPECT_EQ(r.x, 4);
    EXPECT_EQ(r.y, 5);
}

TEST(PointValues, RefuseMalformedInputWithItsOwnCode)
{
    Doubles four({1, 2, 3, 4});
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*four); }), nk::kWrongElementCount);
    Doubles three({1, 2, 3});
    EXPECT_EQ(thrown([&] { VxAxPoint2d p(*three); }), nk::kWrongElementCount);
    Grid grid(3, 1);
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*grid); }), nk::kNotAnArray);
    nk::Variant number;
    V_VT(number.get()) = VT_R8;
    V_R8(number.get()) = 1.0;
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*number.get()); }), nk::kNotAnArray);
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(static_cast<const SAFEARRAY*>(nullptr)); }), nk::kNotAnArray);
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*static_cast<const VARIANT*>(nullptr)); }), E_INVALIDARG);
}

// Points are read straight from the array's descriptor when it is plainly three doubles:
// eight-byte elements of another type, and a descriptor that does not carry its element
// type, are refused as the checked read refuses them.
TEST(PointValues, OnlyArraysKnownToHoldDoublesAreReadDirectly)
{
    nk::Variant currency;
    SAFEARRAY* sa = SafeArrayCreateVector(VT_CY, 0, 3);
    ASSERT_TRUE(sa);
    ASSERT_EQ(SafeArrayGetElemsize(sa), sizeof(double));
    V_VT(currency.get()) = VT_ARRAY | VT_CY;
    V_ARRAY(currency.get()) = sa;
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*currency.get()); }), nk::kElementNotRead);

    double xyz[3] = {7, 8, 9};
    SAFEARRAY bare{};
    bare.cDims = 1;
    bare.cbElements = sizeof(double);
    bare.pvData = xyz;
    bare.rgsabound[0].cElements = 3;
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(&bare); }), nk::kElementNotRead);
}

TEST(PointValues, NeverReadAnArrayOfVariantsAsDoubles)
{
    nk::Variant v;
    SAFEARRAY* sa = SafeArrayCreateVector(VT_VARIANT, 0, 3);
    for (LONG i = 0; i < 3; ++i) {
        VARIANT e;
        VariantInit(&e);
        V_VT(&e) = VT_R8;
        V_R8(&e) = 1.0 + i;
        SafeArrayPutElement(sa, &i, &e);
    }
    V_VT(v.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(v.get()) = sa;
    EXPECT_EQ(thrown([&] { VxAxPoint3d p(*v.get()); }), nk::kElementNotRead);
    VxAxPoint3dArray list;
    EXPECT_EQ(thrown([&] { list.append(*v.get()); }), nk::kElementNotRead);
    EXPECT_EQ(list.length(), 0);
}

TEST(PointValues, WriteBackAsThreeOrTwoDoubles)
{
    nk::Variant out;
    VxAxPoint3d(1, 2, 3).setVariant(*out.get());
    EXPECT_EQ(doublesOf(*out.get()), (std::vector<double>{1, 2, 3}));
    VxAxPoint2d(7, 8).setVariant(out.get());
    EXPECT_EQ(doublesOf(*out.get()), (std::vector<double>{7, 8}));
    EXPECT_EQ(thrown([] { VxAxPoint3d().setVariant(static_cast<VARIANT*>(nullptr)); }), E_POINTER);
    VARIANT* fresh = VxAxPoint3d(4, 5, 6).asVariantPtr();
    EXPECT_EQ(doublesOf(*fresh), (std::vector<double>{4, 5, 6}));
    VariantClear(fresh);
    delete fresh;
}

TEST(PointLists, AppendWholePointsOnly)
{
    VxAxPoint3dArray list;
    Doubles seven({1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(thrown([&] { list.append(*seven); }), nk::kNotWholePoints);
    EXPECT_EQ(list.length(), 0);
    Doubles six({1, 2, 3, 4, 5, 6});
    list.append(*six);
    ASSERT_EQ(list.length(), 2);
    EXPECT_EQ(list[1].x, 4);
    Doubles none({});
    list.append(*none);
    EXPECT_EQ(list.length(), 2);

    nk::Variant out;
    list.setVariant(*out.get());
    EXPECT_EQ(doublesOf(*out.get()), (std::vector<double>{1, 2, 3, 4, 5, 6}));
    VxAxPoint2dArray flat;
    nk::Variant empty;
    flat.setVariant(*empty.get());
    EXPECT_TRUE(doublesOf(*empty.get()).empty());
}

TEST(Matrices, ReadOnlyTheFirstRowOfAFourByFour)
{
    Grid square(4, 4);
    EXPECT_EQ(thrown([&] { VxAxMatrix3d m(*square); }), nk::kElementNotRead);
    Grid tall(3, 4);
    EXPECT_EQ(thrown([&] { VxAxMatrix3d m(*tall); }), nk::kWrongElementCount);
    Doubles line({1, 2, 3});
    EXPECT_EQ(thrown([&] { VxAxMatrix3d m(*line); }), nk::kNotAnArray);
    VxAxMatrix3d identity;
    EXPECT_EQ(identity.entry[2][2], 1.0);
    EXPECT_EQ(identity.entry[0][3], 0.0);
}

TEST(GrowableArray, GrowsByDoublingThenBySixtyFourKilobytes)
{
    VxArray<kx::VxGePoint3d> a(3000, 8);
    a.setLogicalLength(3000);
    a.append(kx::VxGePoint3d{1, 2, 3});
    EXPECT_EQ(a.physicalLength(), 3000 + 2730);
    VxArray<kx::VxGePoint3d> big(3000, 5000);
    big.setLogicalLength(3001);
    EXPECT_EQ(big.physicalLength(), 8000);
    VxArray<kx::VxGePoint2d> small(10, 2);
    small.setLogicalLength(11);
    EXPECT_EQ(small.physicalLength(), 20);
    small.setLogicalLength(-5);
    EXPECT_EQ(small.logicalLength(), 0);
    EXPECT_EQ(small.physicalLength(), 20);
}

TEST(GrowableArray, IgnoresOutOfRangeInsertsAndRemovals)
{
    VxArray<double> a;
    a.append(1);
    a.append(3);
    a.insertAt(1, 2);
    a.insertAt(a.logicalLength() + 1, 9);
    a.insertAt(-1, 9);
    a.removeAt(-1);
    a.removeAt(3);
    ASSERT_EQ(a.length(), 3);
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(a[1], 2);
    EXPECT_EQ(a[2], 3);
    // Inserting one of its own elements is safe even when the array must grow.
    VxArray<double> b(1, 1);
    b.append(5);
    b.insertAt(0, b[0]);
    EXPECT_EQ(b.length(), 2);
    EXPECT_EQ(b[0], 5);
    EXPECT_EQ(b[1], 5);
    int physical = a.physicalLength();
    a.removeAll();
    EXPECT_EQ(a.physicalLength(), physical);
    EXPECT_TRUE(a.isEmpty());
}

TEST(GrowableArray, SearchesRemovesAndReorders)
{
    VxArray<int> a;
    for (int v : {4, 5, 6, 5, 7}) a.append(v);
    EXPECT_EQ(a.find(5), 1);
    EXPECT_EQ(a.findFrom(5, 2), 3);
    int at = -1;
    EXPECT_TRUE(a.find(7, at, 0));
    EXPECT_EQ(at, 4);
    EXPECT_FALSE(a.contains(9));
    EXPECT_TRUE(a.remove(5, 2));
    a.removeSubArray(0, 1);
    ASSERT_EQ(a.length(), 2);
    EXPECT_EQ(a[0], 6);
    a.reverse().swap(0, 1).appendRep(1, 2);
    EXPECT_EQ(a.length(), 4);
    EXPECT_EQ(a.last(), 1);
    VxArray<int> copy(a);
    EXPECT_TRUE(copy == a);
    copy.setAll(0);
    EXPECT_FALSE(copy == a);
    a.append(a);
    EXPECT_EQ(a.length(), 8);
}
