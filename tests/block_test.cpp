// Blocks and spaces through their interfaces: the append routine, the collection members
// with the enumerator, and the block's own properties.
#include <initializer_list>
#include <vector>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "containers/append.h"
#include "core/binding.h"
#include "core/object_ops.h"
#include "db/entities.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"
#include "frame/module.h"

using drawing::number;
using drawing::point;
using drawing::Value;
using nk::Bstr;
using nk::ComPtr;

namespace {

class Block : public drawing::Drawing {
protected:
    LONG countOf(IVeltBlock* block)
    {
        LONG n = -1;
        EXPECT_EQ(block->get_Count(&n), S_OK);
        return n;
    }
};

ComPtr<IUnknown> identity(IUnknown* p)
{
    ComPtr<IUnknown> u;
    if (p) p->QueryInterface(IID_IUnknown, u.putVoid());
    return u;
}

CLSID classOf(IUnknown* wrapper)
{
    CLSID clsid = GUID_NULL;
    ComPtr<IUnknown>(wrapper).as<IVeltBaseObject>()->GetClassID(&clsid);
    return clsid;
}

// Calls a member by name as a script does; arguments right to left.
Value call(IDispatch* object, const wchar_t* name, WORD flags, std::initializer_list<VARIANT*> arguments)
{
    Value result;
    DISPID id = 0;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK) << name;
    std::vector<VARIANT> values;
    for (VARIANT* v : arguments) values.push_back(*v);  // borrowed for the call
    DISPPARAMS params{values.data(), nullptr, static_cast<UINT>(values.size()), 0};
    EXPECT_EQ(object->Invoke(id, IID_NULL, 0, flags, &params, result.get(), nullptr, nullptr), S_OK) << name;
    return result;
}

}  // namespace

TEST_F(Block, SpacesGetTheirOwnWrapperClasses)
{
    auto model = wrapperOf<IUnknown>(db->modelSpaceId());
    auto paper = wrapperOf<IUnknown>(db->paperSpaceId());
    auto plain = wrapperOf<IUnknown>(addBlock(L"Door"));
    EXPECT_EQ(classOf(model.get()), CLSID_VeltModelSpace);
    EXPECT_EQ(classOf(paper.get()), CLSID_VeltPaperSpace);
    EXPECT_EQ(classOf(plain.get()), CLSID_VeltBlock);
    EXPECT_TRUE(paper.as<IVeltPaperSpace>() && !plain.as<IVeltModelSpace>());
    EXPECT_EQ(wrapperOf<IUnknown>(db->modelSpaceId()).get(), model.get());  // the record matches
}

TEST_F(Block, TheTypicalRequestByName)
{
    ComPtr<IDispatch> database;
    ASSERT_EQ(VxAxGetDatabase(db.get(), nullptr, database.put()), S_OK);
    Value space = call(database.get(), L"ModelSpace", DISPATCH_PROPERTYGET, {});
    ASSERT_EQ(space.type(), VT_DISPATCH);
    Value start = point(0, 0, 0), end = point(3, 4, 0), first = number(0);
    Value line = call(V_DISPATCH(space.get()), L"AddLine", DISPATCH_METHOD, {end.get(), start.get()});
    ASSERT_EQ(line.type(), VT_DISPATCH);
    Value length = call(V_DISPATCH(line.get()), L"Length", DISPATCH_PROPERTYGET, {});
    EXPECT_EQ(V_R8(length.get()), 5.0);
    Value item = call(V_DISPATCH(space.get()), L"Item", DISPATCH_METHOD, {first.get()});
    EXPECT_EQ(identity(V_DISPATCH(item.get())).get(), identity(V_DISPATCH(line.get())).get());
}

TEST_F(Block, AddLineThroughTheVtableTakesTheDatabaseDefaults)
{
    kx::VxDbObjectId walls;
    {
        kx::VxDbObjectPointer<kx::VxDbLayerTable> layers(db->layerTableId(), kx::VxDb::kForWrite);
        auto* layer = new kx::VxDbLayerTableRecord;
        layer->setName(L"Walls");
        ASSERT_EQ(layers->add(walls, layer), kx::Velt::eOk);
        layer->close();
    }
    ASSERT_EQ(db->setClayer(walls), kx::Velt::eOk);
    ComPtr<IDispatch> database;
    ComPtr<IVeltModelSpace> space;
    ASSERT_EQ(VxAxGetDatabase(db.get(), nullptr, database.put()), S_OK);
    ASSERT_EQ(database.as<IVeltDatabase>()->get_ModelSpace(space.put()), S_OK);

    ComPtr<IVeltLine> line;
    Value from = point(1, 2, 3), to = point(4, 5, 6), bad = drawing::text(L"nowhere");
    ASSERT_EQ(space->AddLine(*from, *to, line.put()), S_OK);
    kx::VxDbObjectPointer<kx::VxDbLine> stored(idOf(line.get()));
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->endPoint(), kx::VxGePoint3d(4, 5, 6));
    EXPECT_EQ(stored->layerId(), walls);
    EXPECT_EQ(stored->ownerId(), db->modelSpaceId());
    stored.close();

    EXPECT_EQ(space->AddLine(*bad, *to, line.put()), nk::kNotAnArray);
    EXPECT_FALSE(line);
    EXPECT_EQ(space->AddLine(*from, *to, nullptr), E_POINTER);
    EXPECT_EQ(countOf(space.get()), 1);
}

TEST_F(Block, ItemAndCountSkipErasedEntities)
{
    auto space = modelSpace();
    auto a = addLine({0, 0, 0}, {1, 0, 0}), b = addLine({0, 0, 0}, {2, 0, 0}), c = addLine({0, 0, 0}, {3, 0, 0});
    ASSERT_EQ(b->Delete(), S_OK);
    EXPECT_EQ(countOf(space.get()), 2);

    ComPtr<IVeltEntity> item;
    Value one = number(1), two = number(2), minus = number(-1), word = drawing::text(L"first"), numeral = drawing::text(L"0");
    ASSERT_EQ(space->Item(*one, item.put()), S_OK);
    EXPECT_EQ(identity(item.get()).get(), identity(c.get()).get());
    EXPECT_EQ(space->Item(*two, item.put()), E_INVALIDARG);
    EXPECT_EQ(space->Item(*minus, item.put()), E_INVALIDARG);
    EXPECT_EQ(space->Item(*word, item.put()), DISP_E_TYPEMISMATCH);
    ASSERT_EQ(space->Item(*numeral, item.put()), S_OK);  // coerced like any number
    EXPECT_EQ(identity(item.get()).get(), identity(a.get()).get());
}

TEST_F(Block, TheEnumeratorWalksTheLiveEntities)
{
    auto space = modelSpace();
    auto a = addLine({0, 0, 0}, {1, 0, 0}), b = addLine({0, 0, 0}, {2, 0, 0}), c = addLine({0, 0, 0}, {3, 0, 0});
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(space->get__NewEnum(unknown.put()), S_OK);
    auto walk = unknown.as<IEnumVARIANT>();
    ASSERT_TRUE(walk);
    ASSERT_EQ(a->Delete(), S_OK);  // erased while the walk stands on it

    VARIANT items[3];
    ULONG fetched = 99;
    ASSERT_EQ(walk->Next(3, items, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(identity(V_DISPATCH(&items[0])).get(), identity(b.get()).get());
    EXPECT_EQ(identity(V_DISPATCH(&items[1])).get(), identity(c.get()).get());
    VariantClear(&items[0]);
    VariantClear(&items[1]);

    ASSERT_EQ(walk->Reset(), S_OK);
    ASSERT_EQ(walk->Next(1, items, nullptr), S_OK);
    EXPECT_EQ(identity(V_DISPATCH(&items[0])).get(), identity(b.get()).get());
    VariantClear(&items[0]);
    EXPECT_EQ(walk->Next(2, items, nullptr), E_POINTER);
    EXPECT_EQ(walk->Skip(1000), S_OK);
    EXPECT_EQ(walk->Next(1, items, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0u);
    ComPtr<IEnumVARIANT> copy;
    EXPECT_EQ(walk->Clone(copy.put()), E_NOTIMPL);
}

// Next(n) takes its ids in batches of the container's list: across the batches' edges, with
// entities erased inside a batch, and against a walk one by one, every live entity comes once,
// in order, as its one wrapper.
TEST_F(Block, NextOfManyHandsOutWhatNextOfOneDoes)
{
    auto space = modelSpace();
    std::vector<ComPtr<IVeltLine>> lines;
    for (int i = 0; i < 300; ++i) lines.push_back(addLine({0, 0, 0}, {double(i + 1), 0, 0}));
    for (int erased : {1, 127, 128, 129, 299}) ASSERT_EQ(lines[size_t(erased)]->Delete(), S_OK);
    std::vector<IUnknown*> live;
    for (size_t i = 0; i < lines.size(); ++i)
        if (i != 1 && i != 127 && i != 128 && i != 129 && i != 299) live.push_back(identity(lines[i].get()).get());

    auto walk = [&](ULONG batch) {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(space->get__NewEnum(unknown.put()), S_OK);
        auto items = unknown.as<IEnumVARIANT>();
        std::vector<IUnknown*> seen;
        std::vector<VARIANT> got(batch);
        for (;;) {
            ULONG fetched = 12345;
            const HRESULT hr = items->Next(batch, got.data(), &fetched);
            EXPECT_EQ(hr, fetched == batch ? S_OK : S_FALSE) << batch;
            for (ULONG i = 0; i < fetched; ++i) {
                EXPECT_EQ(V_VT(&got[i]), VT_DISPATCH);
                seen.push_back(identity(V_DISPATCH(&got[i])).get());
                VariantClear(&got[i]);
            }
            if (hr != S_OK) break;
        }
        return seen;
    };
    EXPECT_EQ(walk(1), live);
    EXPECT_EQ(walk(100), live);
    EXPECT_EQ(walk(200), live);  // more than one batch in one call
    EXPECT_EQ(walk(1000), live);

    // Skip and Next share the position; an entity erased after the walk began is passed over.
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(space->get__NewEnum(unknown.put()), S_OK);
    auto items = unknown.as<IEnumVARIANT>();
    ASSERT_EQ(items->Skip(2), S_OK);
    ASSERT_EQ(lines[4]->Delete(), S_OK);
    VARIANT two[2];
    ULONG fetched = 0;
    ASSERT_EQ(items->Next(2, two, &fetched), S_OK);
    EXPECT_EQ(identity(V_DISPATCH(&two[0])).get(), identity(lines[3].get()).get());
    EXPECT_EQ(identity(V_DISPATCH(&two[1])).get(), identity(lines[5].get()).get());
    VariantClear(&two[0]);
    VariantClear(&two[1]);
}

TEST_F(Block, NameAndOrigin)
{
    kx::VxDbObjectId id = addBlock(L"Door");
    addBlock(L"Window");
    auto door = wrapperOf<IVeltBlock>(id);
    Bstr gate(L"Gate"), taken(L"Window"), name;
    ASSERT_EQ(door->put_Name(gate.get()), S_OK);
    // Every refusal of the host is E_FAIL, the taken name's (no message box) included.
    EXPECT_EQ(door->put_Name(taken.get()), E_FAIL);
    ASSERT_EQ(door->get_Name(name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Gate");

    Value origin = point(1, 2, 3), read, word = drawing::text(L"here");
    ASSERT_EQ(door->put_Origin(*origin), S_OK);
    EXPECT_EQ(door->put_Origin(*word), nk::kNotAnArray);
    ASSERT_EQ(door->get_Origin(read.get()), S_OK);
    EXPECT_EQ(drawing::coordinates(*read), kx::VxGePoint3d(1, 2, 3));
}

TEST_F(Block, AnInsertedBlockCannotBeDeleted)
{
    kx::VxDbObjectId id = addBlock(L"Door"), reference;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(db->modelSpaceId(), kx::VxDb::kForWrite);
        auto* insert = new kx::VxDbBlockReference({0, 0, 0}, id);
        ASSERT_EQ(space->appendVxDbEntity(reference, insert), kx::Velt::eOk);
        insert->close();
    }
    auto door = wrapperOf<IVeltBlock>(id);
    EXPECT_EQ(door->Delete(), RaiseVrxException(IID_NULL, 0, kx::Velt::eBlockStillReferenced));
    EXPECT_FALSE(id.isErased());

    ASSERT_EQ(VxAxErase(reference), S_OK);
    ASSERT_EQ(door->Delete(), S_OK);
    EXPECT_TRUE(id.isErased());
    // The wrapper has forgotten its block: the fixed codes of a block that does not open.
    EXPECT_TRUE(idOf(door.get()).isNull());
    LONG n = 0;
    EXPECT_EQ(door->get_Count(&n), E_POINTER);
    EXPECT_EQ(door->put_Name(nullptr), E_POINTER);
}

TEST_F(Block, TheAppendRoutineLeavesNothingBehind)
{
    const LONG liveBefore = nk::Module::lockCount();
    {
        auto space = modelSpace();
        VxAxObjectRef ref(db->modelSpaceId());
        ComPtr<IVeltLine> line;
        auto rejecting = [](kx::VxDbBlockTableRecord&) -> nk::NewEntity { throw E_INVALIDARG; };
        EXPECT_EQ(nk::appendEntity(ref, nullptr, line.put(), rejecting), E_INVALIDARG);
        // An entity the block refuses (made for another drawing) is deleted.
        auto other = std::make_unique<kx::VxDbDatabase>();
        auto foreign = [&](kx::VxDbBlockTableRecord&) {
            auto made = std::make_unique<kx::VxDbLine>();
            made->setDatabaseDefaults(other.get());
            return nk::NewEntity(std::move(made));
        };
        EXPECT_EQ(nk::appendEntity(ref, nullptr, line.put(), foreign), E_FAIL);
        EXPECT_EQ(countOf(space.get()), 0);

        // A block open elsewhere does not open for write: E_POINTER, not its status.
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> reader(db->modelSpaceId());
        Value p = point(0, 0, 0);
        EXPECT_EQ(space->AddLine(*p, *p, line.put()), E_POINTER);
        reader.close();
        ASSERT_EQ(space->AddLine(*p, *p, line.put()), S_OK);
        ComPtr<IUnknown> walk;
        ASSERT_EQ(space->get__NewEnum(walk.put()), S_OK);
        EXPECT_GT(nk::Module::lockCount(), liveBefore);
    }
    EXPECT_EQ(nk::Module::lockCount(), liveBefore);
}

namespace {

// A drawing file of one line, written by the host, in the temporary folder.
std::wstring partFile(const wchar_t* name)
{
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    const std::wstring path = std::wstring(folder) + name;
    kx::VxDbDatabase part;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> space(part.modelSpaceId(), kx::VxDb::kForWrite);
        auto* line = new kx::VxDbLine({0, 0, 0}, {2, 0, 0});
        space->appendVxDbEntity(line);
        line->close();
    }
    EXPECT_EQ(kx::vxdbSaveAs(&part, path.c_str(), false), kx::Velt::eOk);
    return path;
}

}  // namespace

TEST_F(Block, InsertBlockUsesTheDrawingsBlockOrBringsInTheFile)
{
    const std::wstring file = partFile(L"nk_bolt.dxf");
    ComPtr<IVeltModelSpace> space = modelSpace();
    Value at = point(5, 5, 0);
    ComPtr<IVeltBlockReference> first, second, none;
    ASSERT_EQ(space->InsertBlock(*at, Bstr(file.c_str()).get(), 2, 2, 2, 0.5, Value().operator*(), first.put()), S_OK);
    kx::VxDbObjectId bolt;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db->blockTableId(), kx::VxDb::kForRead);
        ASSERT_EQ(table->getAt(L"nk_bolt", bolt), kx::Velt::eOk);
    }
    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(bolt);
    EXPECT_EQ(countOf(block.get()), 1);
    // The second insertion finds the block by name and reads no file.
    DeleteFileW(file.c_str());
    ASSERT_EQ(space->InsertBlock(*at, Bstr(L"nk_bolt").get(), 1, 1, 1, 0, Value().operator*(), second.put()), S_OK);
    EXPECT_EQ(countOf(space.get()), 2);
    EXPECT_EQ(block->Delete(), RaiseVrxException(IID_NULL, 0, kx::Velt::eBlockStillReferenced));
    EXPECT_NE(space->InsertBlock(*at, Bstr(L"Z:\\no\\such\\part.dxf").get(), 1, 1, 1, 0, Value().operator*(),
                                 none.put()),
              S_OK);
    EXPECT_FALSE(none);
    EXPECT_EQ(countOf(space.get()), 2);
}

TEST_F(Block, ExternalReferencesAttachGiveTheirDatabaseAndDetach)
{
    const std::wstring file = partFile(L"nk_site.dxf");
    ComPtr<IVeltModelSpace> space = modelSpace();
    Value at = point(0, 0, 0), noPassword;
    ComPtr<IVeltExternalReference> reference;
    EXPECT_EQ(space->AttachExternalReference(Bstr(file.c_str()).get(), Bstr(L"Site").get(), *at, 1, -1, 1, 0,
                                             VARIANT_FALSE, *noPassword, reference.put()),
              E_FAIL);  // a negative scale
    EXPECT_EQ(space->AttachExternalReference(Bstr(file.c_str()).get(), Bstr(L"Site").get(), *at, 1, 1, 1, 0,
                                             VARIANT_FALSE, *noPassword, nullptr),
              E_POINTER);
    ASSERT_EQ(space->AttachExternalReference(Bstr(file.c_str()).get(), Bstr(L"Site").get(), *at, 1, 1, 1, 0,
                                             VARIANT_FALSE, *noPassword, reference.put()),
              S_OK);
    kx::VxDbObjectId site;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db->blockTableId(), kx::VxDb::kForRead);
        ASSERT_EQ(table->getAt(L"Site", site), kx::Velt::eOk);
    }
    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(site);
    VARIANT_BOOL isXRef = VARIANT_FALSE;
    ASSERT_EQ(block->get_IsXRef(&isXRef), S_OK);
    EXPECT_EQ(isXRef, VARIANT_TRUE);
    Bstr path;
    ASSERT_EQ(block->get_Path(path.put()), S_OK);
    EXPECT_NE(path.length(), 0u);
    ComPtr<IVeltDatabase> side;
    ASSERT_EQ(block->get_XRefDatabase(side.put()), S_OK);
    ComPtr<IVeltModelSpace> sideSpace;
    ASSERT_EQ(side->get_ModelSpace(sideSpace.put()), S_OK);
    EXPECT_EQ(countOf(sideSpace.get()), 1);
    EXPECT_EQ(block->Unload(), E_NOTIMPL);

    // An ordinary block has no referenced drawing.
    ComPtr<IVeltDatabase> notAReference;
    EXPECT_EQ(space->get_XRefDatabase(notAReference.put()), E_FAIL);
    space->get_IsXRef(&isXRef);
    EXPECT_EQ(isXRef, VARIANT_FALSE);

    sideSpace.reset();
    side.reset();
    ASSERT_EQ(block->Detach(), S_OK);
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db->blockTableId(), kx::VxDb::kForRead);
        kx::VxDbObjectId gone;
        EXPECT_NE(table->getAt(L"Site", gone), kx::Velt::eOk);
    }
    DeleteFileW(file.c_str());
}

TEST_F(Block, TheRecordsOwnProperties)
{
    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(addBlock(L"Door"));
    ASSERT_EQ(block->put_Comments(Bstr(L"swing 90").get()), S_OK);
    ASSERT_EQ(block->put_Units(vxInsertUnitsMillimeters), S_OK);
    ASSERT_EQ(block->put_Explodable(VARIANT_FALSE), S_OK);
    ASSERT_EQ(block->put_BlockScaling(vxUniform), S_OK);
    Bstr comments;
    VxInsertUnits units = vxInsertUnitsUnitless;
    VARIANT_BOOL explodable = VARIANT_TRUE, isLayout = VARIANT_TRUE, dynamic = VARIANT_TRUE;
    VxBlockScaling scaling = vxAny;
    block->get_Comments(comments.put());
    block->get_Units(&units);
    block->get_Explodable(&explodable);
    block->get_BlockScaling(&scaling);
    block->get_IsLayout(&isLayout);
    block->get_IsDynamicBlock(&dynamic);
    EXPECT_STREQ(comments.c_str(), L"swing 90");
    EXPECT_EQ(units, vxInsertUnitsMillimeters);
    EXPECT_EQ(explodable, VARIANT_FALSE);
    EXPECT_EQ(scaling, vxUniform);
    EXPECT_EQ(isLayout, VARIANT_FALSE);
    EXPECT_EQ(dynamic, VARIANT_FALSE);
    EXPECT_EQ(block->get_Comments(nullptr), E_POINTER);
    ComPtr<IVeltLayout> layout;
    EXPECT_EQ(block->get_Layout(layout.put()), E_FAIL);

    // Model space belongs to the model layout.
    ComPtr<IVeltModelSpace> space = modelSpace();
    space->get_IsLayout(&isLayout);
    EXPECT_EQ(isLayout, VARIANT_TRUE);
    ASSERT_EQ(space->get_Layout(layout.put()), S_OK);
    EXPECT_TRUE(layout);
}
