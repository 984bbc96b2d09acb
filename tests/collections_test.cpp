// The collections of a drawing, their records, dictionaries, groups and draw order, driven
// through IDispatch by name as scripts drive them. What was set is saved with its facts for
// ezdxf to compare (collections_in_ezdxf).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "axsupport/errors.h"
#include "db/database.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"
#include "frame/class_table.h"
#include "frame/com.h"

using drawing::get;
using drawing::object;
using drawing::put;
using drawing::text;
using drawing::Value;
using drawing::invoke;
using drawing::flag;
using drawing::real;
using drawing::integerOf;
using drawing::statusCode;
using nk::ComPtr;

namespace {

Value dispatch(IDispatch* d)
{
    Value v;
    V_VT(v.get()) = VT_DISPATCH;
    V_DISPATCH(v.get()) = d;
    if (d) d->AddRef();
    return v;
}
// A script's array of objects.
Value objects(std::vector<IDispatch*> items)
{
    Value v;
    V_VT(v.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(v.get()) = SafeArrayCreateVector(VT_VARIANT, 0, ULONG(items.size()));
    for (LONG i = 0; i < LONG(items.size()); ++i) {
        Value item = dispatch(items[size_t(i)]);
        SafeArrayPutElement(V_ARRAY(v.get()), &i, item.get());
    }
    return v;
}
// ObjectID is pointer-sized: read as a 64-bit number.
LONG_PTR objectIdOf(IDispatch* d)
{
    Value v;
    if (!d || FAILED(get(d, L"ObjectID", v))) return 0;
    nk::Variant n;
    return SUCCEEDED(VariantChangeType(n.get(), v.get(), 0, VT_I8)) ? LONG_PTR(V_I8(n.get())) : 0;
}
std::string narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }

// The records an enumerator hands out, walked as For Each walks them.
std::vector<ComPtr<IDispatch>> walk(IDispatch* collection)
{
    std::vector<ComPtr<IDispatch>> out;
    Value v;
    EXPECT_EQ(get(collection, L"_NewEnum", v), S_OK);
    if (v.type() != VT_UNKNOWN && v.type() != VT_DISPATCH) return out;
    ComPtr<IEnumVARIANT> items;
    V_UNKNOWN(v.get())->QueryInterface(IID_IEnumVARIANT, items.putVoid());
    if (!items) return out;
    for (;;) {
        Value item;
        ULONG fetched = 0;
        if (items->Next(1, item.get(), &fetched) != S_OK || fetched != 1) break;
        if (item.type() == VT_DISPATCH) out.emplace_back(V_DISPATCH(item.get()));
    }
    return out;
}

class DrawingCollections : public drawing::Drawing {
protected:
    void SetUp() override
    {
        drawing::Drawing::SetUp();
        ComPtr<IUnknown> unknown = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(db.get(), nullptr));
        database = unknown.as<IDispatch>();
        ASSERT_TRUE(database);
    }
    ComPtr<IDispatch> collection(const wchar_t* name) { return object(database.get(), name); }
    ComPtr<IDispatch> add(const wchar_t* collectionName, const wchar_t* name)
    {
        Value key = drawing::text(name);
        return object(collection(collectionName).get(), L"Add", {key.get()});
    }
    ComPtr<IDispatch> line(double length)
    {
        ComPtr<IVeltLine> made = addLine({0, 0, 0}, {length, 0, 0});
        return made.as<IDispatch>();
    }

    ComPtr<IDispatch> database;
};

}  // namespace

TEST_F(DrawingCollections, EveryCollectionWalksCountsAndFindsItsRecords)
{
    add(L"Groups", L"Doors");
    add(L"Views", L"North");
    add(L"Materials", L"Oak");
    add(L"TextStyles", L"Notes");
    Value o = drawing::point(0, 0, 0), x = drawing::point(1, 0, 0), y = drawing::point(0, 1, 0),
          ucsName = drawing::text(L"Tilted");
    EXPECT_TRUE(object(collection(L"UserCoordinateSystems").get(), L"Add", {o.get(), x.get(), y.get(), ucsName.get()}));
    struct Walked {
        const wchar_t* name;
        REFIID item;
        HRESULT minusOne;  // Item(-1) and Item(Count)
        HRESULT pastEnd;
        HRESULT unknownName;
    };
    const HRESULT s22 = statusCode(kx::Velt::eKeyNotFound), s24 = statusCode(kx::Velt::eInvalidIndex);
    const Walked all[] = {
        {L"Layers", __uuidof(IVeltLayer), s24, s24, s22},
        {L"Linetypes", __uuidof(IVeltLineType), s24, s24, s22},
        {L"TextStyles", __uuidof(IVeltTextStyle), s24, s24, s22},
        {L"DimStyles", __uuidof(IVeltDimStyle), s24, s24, s22},
        {L"UserCoordinateSystems", __uuidof(IVeltUCS), s24, s24, s22},
        {L"Views", __uuidof(IVeltView), s24, s24, s22},
        {L"Viewports", __uuidof(IVeltViewport), s24, s24, s22},
        {L"RegisteredApplications", __uuidof(IVeltRegisteredApplication), s24, s24, s22},
        {L"Blocks", __uuidof(IVeltBlock), E_FAIL, E_FAIL, E_FAIL},
        {L"Groups", __uuidof(IVeltGroup), E_INVALIDARG, s24, s22},
        {L"Dictionaries", __uuidof(IVeltObject), E_INVALIDARG, s24, s22},
        {L"Materials", __uuidof(IVeltMaterial), E_INVALIDARG, s24, s22},
        {L"Layouts", __uuidof(IVeltLayout), E_INVALIDARG, s24, s22},
        {L"PlotConfigurations", __uuidof(IVeltPlotConfiguration), E_INVALIDARG, s24, s22},
    };
    for (const Walked& w : all) {
        SCOPED_TRACE(narrow(w.name));
        ComPtr<IDispatch> items = collection(w.name);
        ASSERT_TRUE(items);
        const LONG count = integerOf(items.get(), L"Count");
        const std::vector<ComPtr<IDispatch>> walked = walk(items.get());
        ASSERT_EQ(LONG(walked.size()), count);
        if (std::wstring(w.name) != L"PlotConfigurations") {
            EXPECT_GT(count, 0);
        }
        for (LONG i = 0; i < count; ++i) {
            Value index = drawing::number(i);
            ComPtr<IDispatch> found = object(items.get(), L"Item", {index.get()});
            ASSERT_TRUE(found);
            EXPECT_EQ(objectIdOf(found.get()), objectIdOf(walked[size_t(i)].get())) << i;
            ComPtr<IUnknown> typed;
            EXPECT_EQ(found->QueryInterface(w.item, typed.putVoid()), S_OK);
        }
        Value result, minusOne = drawing::number(-1), atCount = drawing::number(count),
                      nobody = drawing::text(L"No record has this name");
        EXPECT_EQ(get(items.get(), L"Item", result, {minusOne.get()}), w.minusOne);
        EXPECT_EQ(get(items.get(), L"Item", result, {atCount.get()}), w.pastEnd);
        EXPECT_EQ(get(items.get(), L"Item", result, {nobody.get()}), w.unknownName);
        EXPECT_EQ(integerOf(items.get(), L"Count"), count) << "a refused Item changed the collection";
    }
    // A record is found by its name, as the table compares names.
    Value zero = drawing::text(L"0");
    ComPtr<IDispatch> layer0 = object(collection(L"Layers").get(), L"Item", {zero.get()});
    ASSERT_TRUE(layer0);
    EXPECT_EQ(text(layer0.get(), L"Name"), L"0");
}

TEST_F(DrawingCollections, AddHandsBackWhatHasTheNameAndRefusesBadNames)
{
    ComPtr<IDispatch> walls = add(L"Layers", L"Walls");
    ASSERT_TRUE(walls);
    EXPECT_EQ(objectIdOf(add(L"Layers", L"Walls").get()), objectIdOf(walls.get()));
    EXPECT_EQ(objectIdOf(add(L"Groups", L"Doors").get()), objectIdOf(add(L"Groups", L"Doors").get()));
    EXPECT_EQ(objectIdOf(add(L"TextStyles", L"Notes").get()), objectIdOf(add(L"TextStyles", L"Notes").get()));

    ComPtr<IDispatch> linetypes = collection(L"Linetypes");
    const LONG before = integerOf(linetypes.get(), L"Count");
    Value comma = drawing::text(L"Dash,Dot"), result;
    EXPECT_EQ(get(linetypes.get(), L"Add", result, {comma.get()}), E_INVALIDARG);
    EXPECT_EQ(integerOf(linetypes.get(), L"Count"), before);
    // The layers leave names to the host, which refuses this one: E_FAIL, not E_INVALIDARG.
    ComPtr<IDispatch> layers = collection(L"Layers");
    EXPECT_EQ(get(layers.get(), L"Add", result, {comma.get()}), E_FAIL);

    Value empty = drawing::text(L"");
    EXPECT_EQ(get(collection(L"TextStyles").get(), L"Add", result, {empty.get()}), E_INVALIDARG);
    EXPECT_EQ(get(collection(L"Groups").get(), L"Add", result, {empty.get()}), E_INVALIDARG);
    // An index must be a number or a name.
    Value notAnIndex = flag(true);
    EXPECT_NE(get(layers.get(), L"Item", result, {notAnIndex.get()}), S_OK);

    // "*Active" is the configuration on the screen; another name copies it.
    ComPtr<IDispatch> viewports = collection(L"Viewports");
    ComPtr<IDispatch> active = add(L"Viewports", L"*ACTIVE");
    ASSERT_TRUE(active);
    EXPECT_EQ(integerOf(viewports.get(), L"Count"), 1);
    ComPtr<IDispatch> saved = add(L"Viewports", L"Saved");
    ASSERT_TRUE(saved);
    EXPECT_EQ(integerOf(viewports.get(), L"Count"), 2);
    Value savedName = drawing::text(L"Saved"), activeName = drawing::text(L"*Active");
    EXPECT_EQ(invoke(viewports.get(), L"DeleteConfiguration", DISPATCH_METHOD, {savedName.get()}), S_OK);
    EXPECT_EQ(invoke(viewports.get(), L"DeleteConfiguration", DISPATCH_METHOD, {activeName.get()}), E_INVALIDARG);
    EXPECT_EQ(integerOf(viewports.get(), L"Count"), 1);
}

TEST_F(DrawingCollections, LayerMembersKeepTheirOddRules)
{
    ComPtr<IDispatch> walls = add(L"Layers", L"Walls");
    Value one;
    V_VT(one.get()) = VT_I2;
    V_I2(one.get()) = 1;
    ASSERT_EQ(put(walls.get(), L"LayerOn", flag(false)), S_OK);
    Value on;
    ASSERT_EQ(get(walls.get(), L"LayerOn", on), S_OK);
    EXPECT_EQ(V_BOOL(on.get()), VARIANT_FALSE);
    ASSERT_EQ(invoke(walls.get(), L"LayerOn", DISPATCH_PROPERTYPUT, {one.get()}), S_OK);
    ASSERT_EQ(get(walls.get(), L"LayerOn", on), S_OK);
    EXPECT_EQ(V_BOOL(on.get()), VARIANT_TRUE) << "1 is on";

    // A linetype only the standard file has is loaded first; one that is nowhere is refused.
    const LONG linetypes = integerOf(collection(L"Linetypes").get(), L"Count");
    ASSERT_EQ(put(walls.get(), L"Linetype", drawing::text(L"HIDDEN")), S_OK);
    EXPECT_EQ(text(walls.get(), L"Linetype"), L"HIDDEN");
    EXPECT_EQ(integerOf(collection(L"Linetypes").get(), L"Count"), linetypes + 1);
    EXPECT_EQ(put(walls.get(), L"Linetype", drawing::text(L"NOWHERE")), statusCode(kx::Velt::eKeyNotFound));
    EXPECT_EQ(text(walls.get(), L"Linetype"), L"HIDDEN");

    EXPECT_EQ(put(walls.get(), L"Material", drawing::text(L"No such")), E_INVALIDARG);
    add(L"Materials", L"Oak");
    EXPECT_EQ(put(walls.get(), L"Material", drawing::text(L"Oak")), S_OK);
    EXPECT_EQ(text(walls.get(), L"Material"), L"Oak");

    // Used is known after the usage was generated.
    ComPtr<IDispatch> made = line(1);
    ASSERT_EQ(put(made.get(), L"Layer", drawing::text(L"Walls")), S_OK);
    ASSERT_EQ(invoke(collection(L"Layers").get(), L"GenerateUsageData", DISPATCH_METHOD), S_OK);
    Value used;
    ASSERT_EQ(get(walls.get(), L"Used", used), S_OK);
    EXPECT_EQ(V_BOOL(used.get()), VARIANT_TRUE);

    // Linetypes refuse the characters names cannot hold; layers do not look.
    ComPtr<IDispatch> dashed = add(L"Linetypes", L"Dashed");
    EXPECT_EQ(put(dashed.get(), L"Name", drawing::text(L"Dash|ed")), E_INVALIDARG);
    EXPECT_EQ(text(dashed.get(), L"Name"), L"Dashed");
    EXPECT_EQ(put(walls.get(), L"Name", drawing::text(L"Walls|Old")), S_OK);
}

TEST_F(DrawingCollections, TextStylesViewportsAndCoordinateSystems)
{
    ComPtr<IDispatch> notes = add(L"TextStyles", L"Notes");
    ASSERT_EQ(put(notes.get(), L"TextGenerationFlag", drawing::number(6)), S_OK);
    EXPECT_EQ(integerOf(notes.get(), L"TextGenerationFlag"), 6);
    ASSERT_EQ(put(notes.get(), L"TextGenerationFlag", drawing::number(0x10002)), S_OK);
    EXPECT_EQ(integerOf(notes.get(), L"TextGenerationFlag"), 2) << "only the low 16 bits count";
    Value face = drawing::text(L"Arial"), bold = flag(true), italic = flag(false), charset = drawing::number(0),
          pitch = drawing::number(34);
    ASSERT_EQ(invoke(notes.get(), L"SetFont", DISPATCH_METHOD, {face.get(), bold.get(), italic.get(), charset.get(),
                                                              pitch.get()}),
              S_OK);
    Value f, b, i, c, p;
    V_VT(f.get()) = VT_BSTR | VT_BYREF;
    BSTR faceOut = nullptr;
    VARIANT_BOOL boldOut = 0, italicOut = 0;
    LONG charsetOut = -1, pitchOut = -1;
    V_BSTRREF(f.get()) = &faceOut;
    V_VT(b.get()) = VT_BOOL | VT_BYREF;
    V_BOOLREF(b.get()) = &boldOut;
    V_VT(i.get()) = VT_BOOL | VT_BYREF;
    V_BOOLREF(i.get()) = &italicOut;
    V_VT(c.get()) = VT_I4 | VT_BYREF;
    V_I4REF(c.get()) = &charsetOut;
    V_VT(p.get()) = VT_I4 | VT_BYREF;
    V_I4REF(p.get()) = &pitchOut;
    ASSERT_EQ(invoke(notes.get(), L"GetFont", DISPATCH_METHOD, {f.get(), b.get(), i.get(), c.get(), p.get()}), S_OK);
    EXPECT_EQ(std::wstring(faceOut ? faceOut : L""), L"Arial");
    EXPECT_EQ(boldOut, VARIANT_TRUE);
    EXPECT_EQ(italicOut, VARIANT_FALSE);
    EXPECT_EQ(pitchOut, 34);
    SysFreeString(faceOut);
    V_VT(f.get()) = V_VT(b.get()) = V_VT(i.get()) = V_VT(c.get()) = V_VT(p.get()) = VT_EMPTY;

    // Split: the viewport keeps a part, new ones of its name take the others.
    ComPtr<IDispatch> viewports = collection(L"Viewports");
    ComPtr<IDispatch> active = add(L"Viewports", L"*Active");
    ASSERT_TRUE(active);
    ASSERT_EQ(invoke(active.get(), L"Split", DISPATCH_METHOD, {drawing::number(8).get()}), S_OK);  // four
    EXPECT_EQ(integerOf(viewports.get(), L"Count"), 4);
    Value corner;
    ASSERT_EQ(get(active.get(), L"UpperRightCorner", corner), S_OK);
    EXPECT_EQ(corner.type(), VT_ARRAY | VT_R8);
    Value bad = drawing::number(99);
    EXPECT_EQ(invoke(active.get(), L"Split", DISPATCH_METHOD, {bad.get()}), E_INVALIDARG);
    EXPECT_EQ(integerOf(viewports.get(), L"Count"), 4);
    // OrthoOn is the isometric snap of the record.
    ASSERT_EQ(put(active.get(), L"OrthoOn", flag(true)), S_OK);
    {
        kx::VxDbObjectPointer<kx::VxDbViewportTableRecord> record(kx::VxDbObjectId::fromOldId(objectIdOf(active.get())),
                                                                 kx::VxDb::kForRead);
        EXPECT_TRUE(record->isometricSnapEnabled());
    }

    ComPtr<IDispatch> ucs;
    Value o = drawing::point(1, 2, 3), x = drawing::point(1, 4, 3), y = drawing::point(-5, 2, 3),
          name = drawing::text(L"Turned"), same = drawing::point(1, 2, 3);
    ucs = object(collection(L"UserCoordinateSystems").get(), L"Add", {o.get(), x.get(), y.get(), name.get()});
    ASSERT_TRUE(ucs);
    Value axis, result, matrix;
    ASSERT_EQ(get(ucs.get(), L"XVector", axis), S_OK);
    EXPECT_NEAR(drawing::coordinates(*axis).y, 1.0, 1e-12);
    EXPECT_EQ(get(collection(L"UserCoordinateSystems").get(), L"Add", result, {o.get(), same.get(), y.get(), name.get()}),
              E_INVALIDARG);
    ASSERT_EQ(get(ucs.get(), L"GetUCSMatrix", matrix), S_OK);
    ASSERT_TRUE(matrix.type() & VT_ARRAY);
    EXPECT_EQ(SafeArrayGetDim(V_ARRAY(matrix.get())), 2u);
}

TEST_F(DrawingCollections, DictionariesAndExtendedRecords)
{
    ComPtr<IDispatch> mine = add(L"Dictionaries", L"Mine");
    ASSERT_TRUE(mine);
    Value key = drawing::text(L"Settings"), xrecordClass = drawing::text(L"VxDbXrecord"), result;
    ComPtr<IDispatch> stored = object(mine.get(), L"AddObject", {key.get(), xrecordClass.get()});
    ASSERT_TRUE(stored);
    Value unknownClass = drawing::text(L"KxDbNoSuchThing"), lineClass = drawing::text(L"KxDbLine");
    EXPECT_EQ(objectIdOf(object(mine.get(), L"AddObject", {key.get(), unknownClass.get()}).get()), objectIdOf(stored.get()))
        << "an existing keyword hands back its object";
    Value other = drawing::text(L"Other");
    EXPECT_EQ(get(mine.get(), L"AddObject", result, {other.get(), unknownClass.get()}), E_POINTER);
    EXPECT_EQ(get(mine.get(), L"AddObject", result, {other.get(), lineClass.get()}), E_POINTER);
    EXPECT_EQ(integerOf(mine.get(), L"Count"), 1);

    // Extended record data goes as extended data does.
    ComPtr<IDispatch> record = object(mine.get(), L"AddXRecord", {other.get()});
    ASSERT_TRUE(record);
    Value types, values;
    V_VT(types.get()) = VT_ARRAY | VT_I2;
    V_ARRAY(types.get()) = SafeArrayCreateVector(VT_I2, 0, 2);
    V_VT(values.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(values.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    short codes[] = {1, 40};
    Value first = drawing::text(L"Hello"), second = real(2.5);
    for (LONG n = 0; n < 2; ++n) SafeArrayPutElement(V_ARRAY(types.get()), &n, &codes[n]);
    LONG n0 = 0, n1 = 1;
    SafeArrayPutElement(V_ARRAY(values.get()), &n0, first.get());
    SafeArrayPutElement(V_ARRAY(values.get()), &n1, second.get());
    ASSERT_EQ(invoke(record.get(), L"SetXRecordData", DISPATCH_METHOD, {types.get(), values.get()}), S_OK);
    {
        kx::VxDbObjectPointer<kx::VxDbXrecord> host(kx::VxDbObjectId::fromOldId(objectIdOf(record.get())),
                                                    kx::VxDb::kForRead);
        ASSERT_TRUE(host.get());
        ASSERT_TRUE(host->data());
        EXPECT_EQ(host->data()->restype, 1);
    }
    EXPECT_EQ(text(record.get(), L"Name"), L"Other");

    // Missing keys and taken names are refused and change nothing.
    Value missing = drawing::text(L"Missing"), taken = drawing::text(L"Settings"), renamed = drawing::text(L"Kept");
    EXPECT_EQ(get(mine.get(), L"Remove", result, {missing.get()}), statusCode(kx::Velt::eKeyNotFound));
    EXPECT_EQ(invoke(mine.get(), L"Rename", DISPATCH_METHOD, {other.get(), taken.get()}),
              statusCode(kx::Velt::eDuplicateKey));
    EXPECT_EQ(invoke(mine.get(), L"Rename", DISPATCH_METHOD, {missing.get(), renamed.get()}),
              statusCode(kx::Velt::eKeyNotFound));
    ASSERT_EQ(invoke(mine.get(), L"Rename", DISPATCH_METHOD, {other.get(), renamed.get()}), S_OK);
    EXPECT_EQ(text(record.get(), L"Name"), L"Kept");
    Value asObject = dispatch(record.get());
    Value keyOf;
    ASSERT_EQ(get(mine.get(), L"GetName", keyOf, {asObject.get()}), S_OK);
    EXPECT_EQ(std::wstring(V_BSTR(keyOf.get())), L"Kept");

    // Replace takes objects of this drawing only.
    kx::VxDbDatabase elsewhere;
    ComPtr<IUnknown> otherDb = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(&elsewhere, nullptr));
    ComPtr<IDispatch> foreignDictionary = object(otherDb.as<IDispatch>().get(), L"Dictionaries");
    Value foreignKey = drawing::text(L"Foreign");
    ComPtr<IDispatch> foreign = object(foreignDictionary.get(), L"Add", {foreignKey.get()});
    Value foreignObject = dispatch(foreign.get());
    EXPECT_EQ(invoke(mine.get(), L"Replace", DISPATCH_METHOD, {taken.get(), foreignObject.get()}), E_INVALIDARG);
    EXPECT_EQ(objectIdOf(object(mine.get(), L"GetObject", {taken.get()}).get()), objectIdOf(stored.get()));
    foreign.reset();
    foreignDictionary.reset();
    otherDb.reset();

    ComPtr<IDispatch> removed = object(mine.get(), L"Remove", {taken.get()});
    EXPECT_EQ(objectIdOf(removed.get()), objectIdOf(stored.get()));
    EXPECT_EQ(integerOf(mine.get(), L"Count"), 1);
}

TEST_F(DrawingCollections, GroupsTakeTheirDrawingsEntitiesAndApplyTheirSetters)
{
    ComPtr<IDispatch> group = add(L"Groups", L"Doors");
    ComPtr<IDispatch> a = line(1), b = line(2), c = line(3);
    ASSERT_EQ(invoke(group.get(), L"AppendItems", DISPATCH_METHOD, {objects({a.get(), b.get()}).get()}), S_OK);
    EXPECT_EQ(integerOf(group.get(), L"Count"), 2);

    // An entity of another drawing: nothing is added.
    kx::VxDbDatabase elsewhere;
    ComPtr<IDispatch> foreign;
    {
        nk::ComPtr<IUnknown> unknown;
        ASSERT_EQ(VxAxGetIUnknownOfObject(unknown.put(), elsewhere.modelSpaceId(), nullptr), S_OK);
        ComPtr<IVeltModelSpace> space = unknown.as<IVeltModelSpace>();
        Value s = drawing::point(0, 0, 0), e = drawing::point(1, 1, 0);
        ComPtr<IVeltLine> made;
        ASSERT_EQ(space->AddLine(*s, *e, made.put()), S_OK);
        foreign = made.as<IDispatch>();
    }
    EXPECT_EQ(invoke(group.get(), L"AppendItems", DISPATCH_METHOD, {objects({c.get(), foreign.get()}).get()}),
              E_INVALIDARG);
    EXPECT_EQ(integerOf(group.get(), L"Count"), 2);
    foreign.reset();
    EXPECT_EQ(invoke(group.get(), L"RemoveItems", DISPATCH_METHOD, {objects({c.get()}).get()}), E_INVALIDARG);
    EXPECT_EQ(integerOf(group.get(), L"Count"), 2);

    // Item: 0 ... Count - 1; anything else is refused.
    Value result, one = drawing::number(1), two = drawing::number(2), word = drawing::text(L"one");
    EXPECT_EQ(objectIdOf(object(group.get(), L"Item", {one.get()}).get()), objectIdOf(b.get()));
    EXPECT_EQ(get(group.get(), L"Item", result, {two.get()}), E_INVALIDARG);
    EXPECT_EQ(get(group.get(), L"Item", result, {word.get()}), E_INVALIDARG);
    EXPECT_EQ(walk(group.get()).size(), 2u);

    add(L"Layers", L"Doors");
    ASSERT_EQ(put(group.get(), L"Layer", drawing::text(L"Doors")), S_OK);
    EXPECT_EQ(text(a.get(), L"Layer"), L"Doors");
    EXPECT_EQ(text(b.get(), L"Layer"), L"Doors");
    EXPECT_EQ(text(c.get(), L"Layer"), L"0");
    Value layer;
    EXPECT_NE(get(group.get(), L"Layer", layer), S_OK) << "the group's setters have no getters";
    ASSERT_EQ(put(group.get(), L"color", drawing::number(3)), S_OK);
    EXPECT_EQ(integerOf(a.get(), L"color"), 3);

    ASSERT_EQ(invoke(group.get(), L"RemoveItems", DISPATCH_METHOD, {objects({a.get()}).get()}), S_OK);
    EXPECT_EQ(integerOf(group.get(), L"Count"), 1);
    ASSERT_EQ(put(group.get(), L"Name", drawing::text(L"Windows")), S_OK);
    Value windows = drawing::text(L"Windows");
    EXPECT_EQ(objectIdOf(object(collection(L"Groups").get(), L"Item", {windows.get()}).get()), objectIdOf(group.get()));
}

TEST_F(DrawingCollections, DrawOrderChangesTheTableNotTheBlock)
{
    ComPtr<IDispatch> a = line(1), b = line(2), c = line(3);
    ComPtr<IDispatch> space = modelSpace().as<IDispatch>();
    ComPtr<IDispatch> extension = object(space.get(), L"GetExtensionDictionary");
    ASSERT_TRUE(extension);
    Value key = drawing::text(L"ACAD_SORTENTS"), cls = drawing::text(L"VxDbSortentsTable");
    ComPtr<IDispatch> sorting = object(extension.get(), L"AddObject", {key.get(), cls.get()});
    ASSERT_TRUE(sorting);
    ASSERT_EQ(invoke(sorting.get(), L"MoveToBottom", DISPATCH_METHOD, {objects({c.get()}).get()}), S_OK);
    Value target = dispatch(a.get());
    ASSERT_EQ(invoke(sorting.get(), L"MoveAbove", DISPATCH_METHOD, {objects({b.get()}).get(), target.get()}), S_OK);
    Value honour = flag(false), order;
    ASSERT_EQ(get(sorting.get(), L"GetFullDrawOrder", order, {honour.get()}), S_OK);
    ASSERT_TRUE(order.type() & VT_ARRAY);
    std::vector<LONG_PTR> drawn;
    for (LONG i = 0; i < LONG(V_ARRAY(order.get())->rgsabound[0].cElements); ++i) {
        Value item;
        if (order.type() == (VT_ARRAY | VT_DISPATCH)) {
            IDispatch* d = nullptr;
            SafeArrayGetElement(V_ARRAY(order.get()), &i, &d);
            drawn.push_back(objectIdOf(d));
            if (d) d->Release();
        } else {
            SafeArrayGetElement(V_ARRAY(order.get()), &i, item.get());
            drawn.push_back(item.type() == VT_DISPATCH ? objectIdOf(V_DISPATCH(item.get())) : 0);
        }
    }
    EXPECT_EQ(drawn, (std::vector<LONG_PTR>{objectIdOf(c.get()), objectIdOf(a.get()), objectIdOf(b.get())}));
    // The block's own order stays.
    const std::vector<ComPtr<IDispatch>> walked = walk(space.get());
    ASSERT_EQ(walked.size(), 3u);
    EXPECT_EQ(objectIdOf(walked[0].get()), objectIdOf(a.get()));
    // Something that is no entity of the block changes nothing.
    ComPtr<IDispatch> group = add(L"Groups", L"NotAnEntity");
    EXPECT_EQ(invoke(sorting.get(), L"MoveToTop", DISPATCH_METHOD, {objects({group.get()}).get()}), E_INVALIDARG);
    Value again;
    ASSERT_EQ(get(sorting.get(), L"GetFullDrawOrder", again, {honour.get()}), S_OK);
    EXPECT_EQ(V_ARRAY(again.get())->rgsabound[0].cElements, 3u);
}

// What automation set, read back by ezdxf from the saved file.
TEST_F(DrawingCollections, RecordPropertiesReachTheFile)
{
    ComPtr<IDispatch> walls = add(L"Layers", L"Walls");
    ASSERT_EQ(put(walls.get(), L"color", drawing::number(5)), S_OK);
    ASSERT_EQ(put(walls.get(), L"Linetype", drawing::text(L"HIDDEN")), S_OK);
    ASSERT_EQ(put(walls.get(), L"Lineweight", drawing::number(50)), S_OK);
    ASSERT_EQ(put(walls.get(), L"Plottable", flag(false)), S_OK);
    ASSERT_EQ(put(walls.get(), L"Lock", flag(true)), S_OK);
    ComPtr<IDispatch> frozen = add(L"Layers", L"Frozen");
    ASSERT_EQ(put(frozen.get(), L"Freeze", flag(true)), S_OK);
    ComPtr<IDispatch> off = add(L"Layers", L"Off");
    ASSERT_EQ(put(off.get(), L"LayerOn", flag(false)), S_OK);

    ComPtr<IDispatch> notes = add(L"TextStyles", L"Notes");
    ASSERT_EQ(put(notes.get(), L"fontFile", drawing::text(L"romans.shx")), S_OK);
    ASSERT_EQ(put(notes.get(), L"Height", real(2.5)), S_OK);
    ASSERT_EQ(put(notes.get(), L"Width", real(0.8)), S_OK);
    ASSERT_EQ(put(notes.get(), L"ObliqueAngle", real(3.14159265358979323846 / 12)), S_OK);

    ComPtr<IDispatch> view = add(L"Views", L"North");
    Value center;
    V_VT(center.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(center.get()) = SafeArrayCreateVector(VT_R8, 0, 2);
    double cx[2] = {10, 20};
    for (LONG i = 0; i < 2; ++i) SafeArrayPutElement(V_ARRAY(center.get()), &i, &cx[i]);
    ASSERT_EQ(invoke(view.get(), L"Center", DISPATCH_PROPERTYPUT, {center.get()}), S_OK);
    ASSERT_EQ(put(view.get(), L"Height", real(30)), S_OK);
    ASSERT_EQ(put(view.get(), L"Width", real(40)), S_OK);
    ASSERT_EQ(put(view.get(), L"Direction", drawing::point(0, 0.6, 0.8)), S_OK);
    ComPtr<IDispatch> active = add(L"Viewports", L"*Active");
    ASSERT_EQ(invoke(active.get(), L"Center", DISPATCH_PROPERTYPUT, {center.get()}), S_OK);
    ASSERT_EQ(put(active.get(), L"Height", real(12)), S_OK);
    ASSERT_EQ(put(active.get(), L"Direction", drawing::point(0.6, 0, 0.8)), S_OK);

    Value o = drawing::point(1, 2, 3), x = drawing::point(1, 4, 3), y = drawing::point(-5, 2, 3),
          ucsName = drawing::text(L"Turned");
    ASSERT_TRUE(object(collection(L"UserCoordinateSystems").get(), L"Add", {o.get(), x.get(), y.get(), ucsName.get()}));

    ComPtr<IDispatch> a = line(1), b = line(2);
    ComPtr<IDispatch> group = add(L"Groups", L"Doors");
    ASSERT_EQ(invoke(group.get(), L"AppendItems", DISPATCH_METHOD, {objects({b.get(), a.get()}).get()}), S_OK);
    ComPtr<IDispatch> extension = object(modelSpace().as<IDispatch>().get(), L"GetExtensionDictionary");
    Value key = drawing::text(L"ACAD_SORTENTS"), cls = drawing::text(L"KxDbSortentsTable");
    ComPtr<IDispatch> sorting = object(extension.get(), L"AddObject", {key.get(), cls.get()});
    ASSERT_TRUE(sorting);
    ASSERT_EQ(invoke(sorting.get(), L"MoveToBottom", DISPATCH_METHOD, {objects({b.get()}).get()}), S_OK);

    ComPtr<IDispatch> mine = add(L"Dictionaries", L"Mine");
    Value recordKey = drawing::text(L"Settings");
    ComPtr<IDispatch> record = object(mine.get(), L"AddXRecord", {recordKey.get()});
    Value types, values;
    V_VT(types.get()) = VT_ARRAY | VT_I2;
    V_ARRAY(types.get()) = SafeArrayCreateVector(VT_I2, 0, 2);
    V_VT(values.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(values.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    short codes[] = {1, 70};
    Value first = drawing::text(L"Hello"), second;
    V_VT(second.get()) = VT_I2;
    V_I2(second.get()) = 7;
    for (LONG n = 0; n < 2; ++n) SafeArrayPutElement(V_ARRAY(types.get()), &n, &codes[n]);
    LONG n0 = 0, n1 = 1;
    SafeArrayPutElement(V_ARRAY(values.get()), &n0, first.get());
    SafeArrayPutElement(V_ARRAY(values.get()), &n1, second.get());
    ASSERT_EQ(invoke(record.get(), L"SetXRecordData", DISPATCH_METHOD, {types.get(), values.get()}), S_OK);

    auto handle = [&](IDispatch* d) { return narrow(text(d, L"Handle")); };
    std::string facts;
    facts += "RECORD\tLAYER\tWalls\tcolor=5;linetype=HIDDEN;lineweight=50;plot=0;flags=4\n";
    facts += "RECORD\tLAYER\tFrozen\tflags=1\n";
    facts += "RECORD\tLAYER\tOff\tcolor=-7\n";
    facts += "RECORD\tSTYLE\tNotes\tfont=romans.shx;height=2.5;width=0.8;oblique=15\n";
    facts += "RECORD\tVIEW\tNorth\tcenter=10,20;height=30;width=40;direction=0,0.6,0.8\n";
    facts += "RECORD\tVPORT\t*Active\tcenter=10,20;height=12;direction=0.6,0,0.8\n";
    facts += "RECORD\tUCS\tTurned\torigin=1,2,3;xaxis=0,1,0;yaxis=-1,0,0\n";
    facts += "GROUP\tDoors\t" + handle(b.get()) + "," + handle(a.get()) + "\n";
    facts += "SORTENTS\t" + narrow(text(modelSpace().as<IDispatch>().get(), L"Handle")) + "\t" + handle(b.get()) +
             "," + handle(a.get()) + "\n";
    facts += "XRECORD\t" + handle(record.get()) + "\t1=Hello|70=7\n";
    facts += "DICT\t" + handle(mine.get()) + "\tSettings\tXRECORD\n";

    drawing::saveForFileCheck(db.get(), "collections", facts);
}

TEST_F(DrawingCollections, LayerStatesSaveRestoreAndTravelInFiles)
{
    ComPtr<IDispatch> walls = add(L"Layers", L"Walls");
    ASSERT_EQ(put(walls.get(), L"color", drawing::number(1)), S_OK);
    ComPtr<IDispatch> manager;
    ASSERT_EQ(nk::createInstance(CLSID_VeltLayerStateManager, IID_IDispatch, manager.putVoid()), S_OK);
    Value before = drawing::text(L"Before"), colorAndOn = drawing::number(vxLsColor | vxLsOn);
    EXPECT_EQ(invoke(manager.get(), L"Save", DISPATCH_METHOD, {before.get(), colorAndOn.get()}), E_FAIL)
        << "a manager without a drawing";
    Value drawingArg = dispatch(database.get());
    ASSERT_EQ(invoke(manager.get(), L"SetDatabase", DISPATCH_METHOD, {drawingArg.get()}), S_OK);
    ASSERT_EQ(invoke(manager.get(), L"Save", DISPATCH_METHOD, {before.get(), colorAndOn.get()}), S_OK);
    Value sameName = drawing::text(L"BEFORE");
    EXPECT_EQ(invoke(manager.get(), L"Save", DISPATCH_METHOD, {sameName.get(), colorAndOn.get()}),
              statusCode(kx::Velt::eDuplicateKey));

    ASSERT_EQ(put(walls.get(), L"color", drawing::number(5)), S_OK);
    ASSERT_EQ(put(walls.get(), L"LayerOn", flag(false)), S_OK);
    ASSERT_EQ(put(walls.get(), L"Lock", flag(true)), S_OK);
    ASSERT_EQ(invoke(manager.get(), L"Restore", DISPATCH_METHOD, {before.get()}), S_OK);
    EXPECT_EQ(integerOf(walls.get(), L"color"), 1);
    Value on, locked;
    ASSERT_EQ(get(walls.get(), L"LayerOn", on), S_OK);
    EXPECT_EQ(V_BOOL(on.get()), VARIANT_TRUE);
    ASSERT_EQ(get(walls.get(), L"Lock", locked), S_OK);
    EXPECT_EQ(V_BOOL(locked.get()), VARIANT_TRUE) << "the lock is not in the mask";

    Value mask;
    ASSERT_EQ(get(manager.get(), L"Mask", mask, {before.get()}), S_OK);
    nk::Variant maskNumber;
    ASSERT_EQ(VariantChangeType(maskNumber.get(), mask.get(), 0, VT_I4), S_OK);
    EXPECT_EQ(V_I4(maskNumber.get()), vxLsColor | vxLsOn);

    Value saved = drawing::text(L"Saved"), nowhere = drawing::text(L"Nowhere");
    ASSERT_EQ(invoke(manager.get(), L"Rename", DISPATCH_METHOD, {before.get(), saved.get()}), S_OK);
    EXPECT_EQ(invoke(manager.get(), L"Restore", DISPATCH_METHOD, {before.get()}), statusCode(kx::Velt::eKeyNotFound));
    EXPECT_EQ(invoke(manager.get(), L"Delete", DISPATCH_METHOD, {nowhere.get()}), statusCode(kx::Velt::eKeyNotFound));

    // Exported, deleted and imported again, the state restores as before.
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    const std::wstring file = std::wstring(folder) + L"nkauto_collections.las";
    Value fileName = drawing::text(file.c_str()), noFile = drawing::text((std::wstring(folder) + L"no_such.las").c_str());
    ASSERT_EQ(invoke(manager.get(), L"Export", DISPATCH_METHOD, {saved.get(), fileName.get()}), S_OK);
    ASSERT_EQ(invoke(manager.get(), L"Delete", DISPATCH_METHOD, {saved.get()}), S_OK);
    EXPECT_NE(invoke(manager.get(), L"Import", DISPATCH_METHOD, {noFile.get()}), S_OK);
    ASSERT_EQ(invoke(manager.get(), L"Import", DISPATCH_METHOD, {fileName.get()}), S_OK);
    ASSERT_EQ(put(walls.get(), L"color", drawing::number(6)), S_OK);
    ASSERT_EQ(invoke(manager.get(), L"Restore", DISPATCH_METHOD, {saved.get()}), S_OK);
    EXPECT_EQ(integerOf(walls.get(), L"color"), 1);
    DeleteFileW(file.c_str());
}
