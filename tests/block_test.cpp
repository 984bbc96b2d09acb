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
