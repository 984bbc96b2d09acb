#include "core/lookup.h"

#include <cstring>

#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/bound_object.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entity.h"
#include "db/object.h"
#include "frame/class_table.h"
#include "frame/com.h"
#include "frame/connection.h"
#include "kxauto.h"
#include "services/linkmanager.h"

namespace nk {
namespace {

constexpr HRESULT kNotBound = static_cast<HRESULT>(0x8021000B);
constexpr HRESULT kNoApplicationInterface = static_cast<HRESULT>(0x8021000A);

CLSID toClsid(const kx::VxClsid& id)
{
    CLSID c;
    static_assert(sizeof(c) == sizeof(id));
    std::memcpy(&c, &id, sizeof(c));
    return c;
}

kx::VxClsid fromClsid(const CLSID& c)
{
    kx::VxClsid id;
    id.data1 = c.Data1;
    id.data2 = c.Data2;
    id.data3 = c.Data3;
    std::memcpy(id.data4, c.Data4, sizeof(id.data4));
    return id;
}

// Model space and the current paper-space block are block records with classes of their
// own, so that their wrappers answer IVeltModelSpace and IVeltPaperSpace.
CLSID spaceClassOf(const kx::VxDbObject* object, const CLSID& blockClass)
{
    const kx::VxDbDatabase* db = object->database();
    if (!db || !object->isResident()) return blockClass;
    const kx::VxDbObjectId id = object->objectId();
    if (id == db->modelSpaceId()) return CLSID_VeltModelSpace;
    if (id == db->paperSpaceId()) return CLSID_VeltPaperSpace;
    return blockClass;
}

// An insertion of an external reference's block is an external reference.
CLSID referenceClassOf(const kx::VxDbObject* object, const CLSID& referenceClass)
{
    const auto* reference = kx::VxDbBlockReference::cast(object);
    if (!reference) return referenceClass;
    kx::VxDbObjectPointer<kx::VxDbBlockTableRecord> block(reference->blockTableRecord(), kx::VxDb::kForRead);
    return block.openStatus() == kx::Velt::eOk && block->isFromExternalReference() ? CLSID_VeltExternalReference
                                                                                  : referenceClass;
}

// The named dictionaries of a database are its collections: each has the class of its
// collection (the drawing's dictionaries, its groups, layouts, plot configurations and
// materials); any other dictionary is a dictionary.
CLSID dictionaryClassOf(const kx::VxDbObject* object, const CLSID& dictionaryClass)
{
    const kx::VxDbDatabase* db = object->database();
    if (!db || !object->isResident()) return dictionaryClass;
    const kx::VxDbObjectId id = object->objectId();
    if (id == db->namedObjectsDictionaryId()) return CLSID_VeltDictionaries;
    if (object->ownerId() != db->namedObjectsDictionaryId()) return dictionaryClass;
    if (id == db->groupDictionaryId()) return CLSID_VeltGroups;
    if (id == db->layoutDictionaryId()) return CLSID_VeltLayouts;
    if (id == db->plotSettingsDictionaryId()) return CLSID_VeltPlotConfigurations;
    if (id == db->materialDictionaryId()) return CLSID_VeltMaterials;
    return dictionaryClass;
}

CLSID wrapperClassOf(const kx::VxDbObject* object)
{
    kx::VxClsid id;
    if (object->getClassID(&id) == kx::Velt::eOk) {
        const CLSID clsid = toClsid(id);
        if (clsid == CLSID_VeltBlock) return spaceClassOf(object, clsid);
        if (clsid == CLSID_VeltDictionary) return dictionaryClassOf(object, clsid);
        if (clsid == CLSID_VeltBlockReference) return referenceClassOf(object, clsid);
        return clsid;
    }
    return object->isKindOf(kx::VxDbEntity::desc()) ? CLSID_VeltEntity : CLSID_VeltObject;
}

// Returns a downgraded write open to write on every path out.
class ReadForTheLookup {
public:
    explicit ReadForTheLookup(kx::VxDbObject* object) : object_(object)
    {
        if (object_->isResident() && object_->isWriteEnabled()) {
            ok_ = object_->downgradeOpen() == kx::Velt::eOk;
            downgraded_ = ok_;
        }
    }
    ~ReadForTheLookup()
    {
        if (downgraded_) object_->upgradeOpen();
    }
    bool ok() const { return ok_; }

private:
    kx::VxDbObject* object_;
    bool ok_ = true;
    bool downgraded_ = false;
};

}  // namespace

CLSID wrapperClassOfObject(const kx::VxDbObject* object) { return wrapperClassOf(object); }

HRESULT createWrapper(REFCLSID clsid, IUnknown** out)
{
    *out = nullptr;
    if (SUCCEEDED(createInstance(clsid, IID_IUnknown, reinterpret_cast<void**>(out)))) return S_OK;
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, reinterpret_cast<void**>(out));
}

namespace {

// Fires the events of the live wrapper of an object that was just changed and closed.
void notifyWrapperOfChange(kx::VxDbObjectId id)
{
    // Most changes have nobody listening: then no wrapper is looked for.
    if (objectSinkCount() == 0) return;
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    auto* wrapper = links ? static_cast<IUnknown*>(links->getIUnknown(id)) : nullptr;
    if (!wrapper) return;
    ComPtr<IVeltBaseObject> bound;
    if (SUCCEEDED(wrapper->QueryInterface(__uuidof(IVeltBaseObject), bound.putVoid()))) bound->OnModified();
}

}  // namespace

void setWrapperClass(kx::VxRxClass* cls, const CLSID& clsid) { cls->setClassId(fromClsid(clsid)); }

const kx::VxRxClass* hostClassOfWrapper(const CLSID& clsid)
{
    const kx::VxClsid wanted = fromClsid(clsid);
    kx::VxRxDictionary* classes = kx::vxrxClassDictionary();
    for (const std::wstring& name : classes->keys()) {
        const kx::VxRxClass* cls = kx::VxRxClass::cast(classes->at(name.c_str()));
        if (cls && cls->classId() == wanted) return cls;
    }
    return nullptr;
}

void registerWrapperClasses()
{
    kx::vxdbSetObjectModifiedHook(&notifyWrapperOfChange);
    registerDeclaredWrappers();
    struct Pair {
        const wchar_t* hostClass;
        const CLSID* wrapper;
    };
    const Pair pairs[] = {
        // Opened by the block's and the paper space's declarations: bound here.
        {L"KxDbBlockTableRecord", &CLSID_VeltBlock},
        {L"KxDbBlockReference", &CLSID_VeltBlockReference},
        {L"KxDbBlockTable", &CLSID_VeltBlocks},
        {L"KxDbDictionary", &CLSID_VeltDictionary},
        {L"KxDbXrecord", &CLSID_VeltXRecord},
        {L"KxDbGroup", &CLSID_VeltGroup},
        {L"KxDbLayout", &CLSID_VeltLayout},
        {L"KxDbPlotSettings", &CLSID_VeltPlotConfiguration},
        {L"KxDbMaterial", &CLSID_VeltMaterial},
        {L"KxDbTableStyle", &CLSID_VeltTableStyle},
        {L"KxDbMLeaderStyle", &CLSID_VeltMLeaderStyle},
        {L"KxDbLayerTable", &CLSID_VeltLayers},
        {L"KxDbLayerTableRecord", &CLSID_VeltLayer},
        {L"KxDbLinetypeTable", &CLSID_VeltLineTypes},
        {L"KxDbLinetypeTableRecord", &CLSID_VeltLineType},
        {L"KxDbTextStyleTable", &CLSID_VeltTextStyles},
        {L"KxDbTextStyleTableRecord", &CLSID_VeltTextStyle},
        {L"KxDbDimStyleTable", &CLSID_VeltDimStyles},
        {L"KxDbDimStyleTableRecord", &CLSID_VeltDimStyle},
        {L"KxDbUCSTable", &CLSID_VeltUCSs},
        {L"KxDbUCSTableRecord", &CLSID_VeltUCS},
        {L"KxDbViewTable", &CLSID_VeltViews},
        {L"KxDbViewTableRecord", &CLSID_VeltView},
        {L"KxDbViewportTable", &CLSID_VeltViewports},
        {L"KxDbViewportTableRecord", &CLSID_VeltViewport},
        {L"KxDbRegAppTable", &CLSID_VeltRegisteredApplications},
        {L"KxDbRegAppTableRecord", &CLSID_VeltRegisteredApplication},
    };
    for (const Pair& p : pairs)
        if (kx::VxRxClass* cls = kx::vxrxFindClass(p.hostClass)) cls->setClassId(fromClsid(*p.wrapper));
}

}  // namespace nk

using namespace nk;

namespace {

// Binds a new wrapper to its object, records it as the object's wrapper and gives it the
// application; the binding interfaces are the wrapper's own.
HRESULT bindNewWrapper(IUnknown* wrapper, IVeltBaseObject* base, IRetrieveApplication* retrieve, kx::VxDbObjectId id,
                       IDispatch* app, kx::VxAxOleLinkManager& links)
{
    if (!base || FAILED(base->SetObjectId(id, kx::VxDbObjectId::kNull, nullptr)))
        return RaiseVxAXException(__uuidof(IVeltBaseObject), 0, kNotBound);
    kx::VxDbObject* reopened = nullptr;
    kx::Velt::ErrorStatus es = kx::vxdbOpenObject(reopened, id, kx::VxDb::kForRead);
    if (es != kx::Velt::eOk) return RaiseVxAXException(__uuidof(IVeltObject), 0, static_cast<DWORD>(es));
    links.setIUnknown(id, wrapper);
    reopened->close();
    if (!retrieve) return RaiseVxAXException(__uuidof(IVeltEntity), 0, kNoApplicationInterface);
    if (FAILED(retrieve->SetApplicationObject(app))) return RaiseVxAXException(__uuidof(IVeltEntity), 0, kNotBound);
    return S_OK;
}

// The lookup behind every entry point: the object's wrapper as iid in *out, with one
// reference for the caller. Answers the lookup's own result; `lacking` tells a wrapper that
// came but does not answer iid. A wrapper made here is handed out as asked, with no query.
HRESULT lookup(kx::VxDbObject* object, IDispatch* app, REFIID iid, void** out, bool& lacking)
{
    ReadForTheLookup readOpen(object);
    if (!readOpen.ok()) return E_FAIL;

    const CLSID clsid = wrapperClassOf(object);
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    if (!links) return S_OK;

    const kx::VxDbObjectId id = object->objectId();
    // One look-up of the record's place serves the search and the write.
    void** record = links->recordOf(id, true);
    if (auto* recorded = static_cast<IUnknown*>(record ? *record : nullptr)) {
        ComPtr<IVeltBaseObject> base;
        CLSID recordedClass = GUID_NULL;
        if (SUCCEEDED(recorded->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) && base)
            base->GetClassID(&recordedClass);
        if (recordedClass == clsid) {
            lacking = FAILED(recorded->QueryInterface(iid, out));
            return S_OK;
        }
        // The object changed class, or the record is stale: make a new wrapper.
        links->setRecord(record, nullptr);
    }

    // The module's own wrappers are made and bound directly; another module's through COM.
    void* asked = nullptr;
    if (BoundObject* bound = makeBoundWrapper(clsid, iid, &asked)) {
        ComPtr<IUnknown> made = ComPtr<IUnknown>::adopt(bound->identity());
        if (record && object->isResident()) {
            // The object is open in the caller's hands: its id resolves, and a new wrapper
            // has no record to forget. Bound and recorded without a second open.
            bound->bindNew(id, app);
            links->setRecord(record, made.get());
        } else if (HRESULT hr = bindNewWrapper(made.get(), bound, bound, id, app, *links); FAILED(hr)) {
            return hr;
        }
        lacking = !asked;
        if (asked) {
            made.detach();  // its one reference is the caller's, through asked
            *out = asked;
        }
        return S_OK;
    }

    ComPtr<IUnknown> wrapper;
    HRESULT hr = createWrapper(clsid, wrapper.put());
    if (FAILED(hr)) return hr;
    hr = bindNewWrapper(wrapper.get(), wrapper.as<IVeltBaseObject>().get(), wrapper.as<IRetrieveApplication>().get(), id,
                        app, *links);
    if (FAILED(hr)) return hr;
    lacking = FAILED(wrapper->QueryInterface(iid, out));
    return S_OK;
}

}  // namespace

HRESULT VxAxGetIUnknownOfObject(IUnknown** ppUnk, kx::VxDbObjectId id, IDispatch* app)
{
    if (!ppUnk) return E_POINTER;
    *ppUnk = nullptr;
    kx::VxDbObject* object = nullptr;
    if (kx::vxdbOpenObject(object, id, kx::VxDb::kForRead) != kx::Velt::eOk) return E_FAIL;
    HRESULT hr = VxAxGetIUnknownOfObject(ppUnk, object, app);
    object->close();
    return hr;
}

HRESULT VxAxGetIUnknownOfObject(IUnknown** ppUnk, kx::VxDbObject* object, IDispatch* app)
{
    if (!ppUnk) return E_POINTER;
    *ppUnk = nullptr;
    if (!object) return E_POINTER;
    bool lacking = false;
    return lookup(object, app, IID_IUnknown, reinterpret_cast<void**>(ppUnk), lacking);
}

namespace nk {

HRESULT wrapperAs(kx::VxDbObject* object, IDispatch* app, REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!object) return E_FAIL;
    bool lacking = false;
    lookup(object, app, iid, out, lacking);
    if (lacking) return E_NOINTERFACE;
    return *out ? S_OK : E_FAIL;
}

HRESULT wrapperAs(kx::VxDbObjectId id, IDispatch* app, REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    kx::VxDbObject* object = nullptr;
    if (kx::vxdbOpenObject(object, id, kx::VxDb::kForRead) != kx::Velt::eOk) return E_FAIL;
    HRESULT hr = wrapperAs(object, app, iid, out);
    object->close();
    return hr;
}

}  // namespace nk

IUnknown* NkAuGetIUnknownOfDatabase(kx::VxDbDatabase* database, IDispatch* app)
{
    if (!database) return nullptr;
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    if (links) {
        if (auto* recorded = static_cast<IUnknown*>(links->getIUnknown(database))) {
            recorded->AddRef();
            return recorded;
        }
    }
    ComPtr<IUnknown> wrapper;
    if (FAILED(createWrapper(CLSID_VeltDatabase, wrapper.put()))) return nullptr;
    if (auto bind = wrapper.as<IVeltBaseDatabase>()) {
        if (FAILED(bind->SetDatabase(database))) return nullptr;
    }
    auto retrieve = wrapper.as<IRetrieveApplication>();
    if (!retrieve || FAILED(retrieve->SetApplicationObject(app))) return nullptr;
    return wrapper.detach();
}

HRESULT VxAxGetDatabase(kx::VxDbDatabase* database, IDispatch* app, IDispatch** ppDb)
{
    if (!ppDb) return E_POINTER;
    *ppDb = nullptr;
    ComPtr<IUnknown> wrapper = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(database, app));
    if (!wrapper) return E_FAIL;
    return wrapper->QueryInterface(__uuidof(IVeltDatabase), reinterpret_cast<void**>(ppDb));
}

int32_t VxAxGetObjectId32(int64_t&) { return 0; }
int64_t VxAxGetObjectId64(int32_t&) { return 0; }
