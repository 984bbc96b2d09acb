#include "objects/database.h"

#include <new>
#include <string_view>
#include <vector>

#include "axsupport/conversions.h"
#include "core/call.h"
#include "core/lookup.h"
#include "core/object_ref.h"
#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/symtables.h"
#include "frame/object.h"
#include "objects/id_pair.h"
#include "members_gen.h"
#include "objects/file_dependencies.h"
#include "services/doclock.h"
#include "services/linkmanager.h"

namespace nk {
namespace {

using kx::VxDbObjectId;

const IID& kDatabaseIid = __uuidof(IVeltDatabase);

bool isMissing(const VARIANT& v) { return V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND; }

// A VARIANT that refers to another is read through once.
const VARIANT& referredTo(const VARIANT& v)
{
    if (V_VT(&v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&v)) return *V_VARIANTREF(&v);
    return v;
}

// The object id of the owner argument of a copy: an object wrapper, by value or by reference.
VxDbObjectId ownerIdOf(const VARIANT& value)
{
    const VARIANT& v = referredTo(value);
    IDispatch* owner = nullptr;
    if (V_VT(&v) == VT_DISPATCH) owner = V_DISPATCH(&v);
    else if (V_VT(&v) == (VT_DISPATCH | VT_BYREF) && V_DISPATCHREF(&v)) owner = *V_DISPATCHREF(&v);
    if (!owner) throw E_INVALIDARG;
    ComPtr<IVeltObject> object;
    if (FAILED(owner->QueryInterface(__uuidof(IVeltObject), object.putVoid())) || !object) throw E_INVALIDARG;
    LONG_PTR id = 0;
    if (FAILED(object->get_ObjectID(&id))) throw E_INVALIDARG;
    return VxDbObjectId::fromOldId(id);
}

// A one-dimensional VT_DISPATCH array holding the given objects, as a VARIANT.
void setDispatchArray(VARIANT* out, const std::vector<ComPtr<IDispatch>>& objects)
{
    SafeArray sa(SafeArrayCreateVector(VT_DISPATCH, 0, ULONG(objects.size())));
    if (!sa.get()) throw E_OUTOFMEMORY;
    for (LONG i = 0; i < LONG(objects.size()); ++i) {
        HRESULT hr = SafeArrayPutElement(sa.get(), &i, objects[size_t(i)].get());
        if (FAILED(hr)) throw hr;
    }
    V_VT(out) = VT_ARRAY | VT_DISPATCH;
    V_ARRAY(out) = sa.detach();
}

// The id of a symbol table that must also open: a drawing without it fails with the open's status.
template <class Table>
VxDbObjectId openableTable(VxDbObjectId id)
{
    OpenedObject<Table> table(id, kx::VxDb::kForRead);
    table.orThrow();
    return id;
}

VxDbObjectId sectionManagerOf(kx::VxDbDatabase& db)
{
    OpenedObject<kx::VxDbDictionary> named(db.namedObjectsDictionaryId(), kx::VxDb::kForRead);
    return named.isOpen() ? named->getIdAt(L"ACAD_SECTION_MANAGER") : VxDbObjectId();
}

VxDbObjectId idOf(kx::VxDbDatabase& db, DatabaseObject which)
{
    switch (which) {
    case DatabaseObject::kModelSpace: return db.modelSpaceId();
    case DatabaseObject::kPaperSpace: return db.paperSpaceId();
    case DatabaseObject::kBlocks: return openableTable<kx::VxDbBlockTable>(db.blockTableId());
    case DatabaseObject::kGroups: return db.groupDictionaryId();
    case DatabaseObject::kDimStyles: return db.dimStyleTableId();
    case DatabaseObject::kLayers: return db.layerTableId();
    case DatabaseObject::kLinetypes: return db.linetypeTableId();
    case DatabaseObject::kDictionaries: return db.namedObjectsDictionaryId();
    case DatabaseObject::kRegisteredApplications: return db.regAppTableId();
    case DatabaseObject::kTextStyles: return openableTable<kx::VxDbTextStyleTable>(db.textStyleTableId());
    case DatabaseObject::kUserCoordinateSystems: return db.UCSTableId();
    case DatabaseObject::kViews: return db.viewTableId();
    case DatabaseObject::kViewports: return db.viewportTableId();
    case DatabaseObject::kLayouts: return db.layoutDictionaryId();
    case DatabaseObject::kPlotConfigurations: return db.plotSettingsDictionaryId();
    case DatabaseObject::kSectionManager: return sectionManagerOf(db);
    case DatabaseObject::kMaterials: return db.materialDictionaryId();
    }
    return {};
}

kx::VxDbDatabase* liveOrThrow(const DatabaseLink& link)
{
    kx::VxDbDatabase* db = link.get();
    if (!db) throw kx::Velt::eNoDatabase;
    return db;
}

}  // namespace

kx::VxDbDatabase* DatabaseLink::get() const
{
    if (!database_) return nullptr;
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    if (!links) return database_;
    return links->getIUnknown(database_) == wrapper_ ? database_ : nullptr;
}

// ---- the database wrapper ----

DatabaseCore::~DatabaseCore() { forgetRecord(); }

void DatabaseCore::forgetRecord()
{
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    if (links && link_.key() && links->getIUnknown(link_.key()) == link_.wrapper())
        links->setIUnknown(link_.key(), nullptr);
}

void DatabaseCore::bind(kx::VxDbDatabase* database, IUnknown* identity)
{
    forgetRecord();
    // Children of the former database read it as gone from here on.
    preferences_.reset();
    summaryInfo_.reset();
    link_ = DatabaseLink(database, identity);
    if (kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager(); links && database)
        links->setIUnknown(database, identity);
}

HRESULT DatabaseCore::objectOf(DatabaseObject which, REFIID iid, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDatabaseIid, [&] {
        kx::VxDbDatabase* db = link_.get();
        if (!db) return E_FAIL;
        ComPtr<IUnknown> wrapper;
        HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), idOf(*db, which), app_.get());
        if (FAILED(hr)) return hr;
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(iid, out);
    });
}

HRESULT DatabaseCore::copyObjects(const VARIANT& objects, const VARIANT& owner, VARIANT* idPairs, VARIANT* result)
{
    if (!result) return E_POINTER;
    VariantInit(result);
    return guarded(kDatabaseIid, [&]() -> HRESULT {
        kx::VxDbDatabase* db = liveOrThrow(link_);
        VxArray<VxDbObjectId> listed;
        NkAuToArray(objects, listed);
        if (listed.isEmpty()) return E_INVALIDARG;
        const kx::VxDbObjectIdArray ids(listed.asArrayPtr(), listed.asArrayPtr() + listed.length());

        // Copies go to one owner: the sources must share theirs.
        VxDbObjectId sharedOwner;
        bool first = true;
        for (VxDbObjectId id : ids) {
            OpenedObject<> object(id, kx::VxDb::kForRead);
            if (!object.isOpen()) continue;
            if (first) {
                sharedOwner = object->ownerId();
                first = false;
            } else if (object->ownerId() != sharedOwner) {
                return E_INVALIDARG;
            }
        }
        const VxDbObjectId target = isMissing(owner) ? sharedOwner : ownerIdOf(owner);
        if (target.isNull()) return E_INVALIDARG;

        kx::VxAxDocLock lock(target, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        kx::VxDbIdMapping mapping;
        if (target.database() != db)
            check(db->wblockCloneObjects(ids, target, mapping, kx::VxDb::kDrcIgnore, false));
        else
            check(db->deepCloneObjects(ids, target, mapping, false));

        std::vector<ComPtr<IDispatch>> clones;
        for (const kx::VxDbIdPair& pair : mapping.pairs()) {
            if (!pair.isCloned() || !pair.isPrimary()) continue;
            ComPtr<IUnknown> wrapper;
            if (FAILED(VxAxGetIUnknownOfObject(wrapper.put(), pair.value(), app_.get())) || !wrapper) continue;
            if (auto clone = wrapper.as<IDispatch>()) clones.push_back(clone);
        }

        Variant copies;
        setDispatchArray(copies.get(), clones);
        if (idPairs && !isMissing(referredTo(*idPairs))) {
            std::vector<ComPtr<IDispatch>> pairs;
            pairs.reserve(mapping.numPairs());
            for (const kx::VxDbIdPair& pair : mapping.pairs()) {
                auto made = makeObject<ImplOf<VeltIdPairTag>::type>();
                if (!made) throw E_OUTOFMEMORY;
                made->setPair(pair, app_.get());
                pairs.push_back(made.as<IDispatch>());
            }
            const bool byReference = V_VT(idPairs) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(idPairs);
            VARIANT* slot = byReference ? V_VARIANTREF(idPairs) : idPairs;
            Variant built;
            setDispatchArray(built.get(), pairs);
            VariantClear(slot);
            built.detachTo(slot);
        }
        copies.detachTo(result);
        return S_OK;
    });
}

HRESULT DatabaseCore::elevation(double* value, bool paperSpace)
{
    if (!value) return E_POINTER;
    return guarded(kDatabaseIid, [&] {
        kx::VxDbDatabase* db = liveOrThrow(link_);
        *value = paperSpace ? db->pelevation() : db->elevation();
        return S_OK;
    });
}

HRESULT DatabaseCore::setElevation(double value, bool paperSpace)
{
    // Written straight through; a value the database refuses is dropped without a word.
    if (kx::VxDbDatabase* db = link_.get()) {
        if (paperSpace) db->setPelevation(value);
        else db->setElevation(value);
    }
    return S_OK;
}

HRESULT DatabaseCore::limits(VARIANT* value)
{
    if (!value) return E_POINTER;
    VariantInit(value);
    return guarded(kDatabaseIid, [&] {
        kx::VxDbDatabase* db = liveOrThrow(link_);
        const kx::VxGePoint2d low = db->limmin(), high = db->limmax();
        SafeArray sa(SafeArrayCreateVector(VT_R8, 0, 4));
        if (!sa.get()) return E_OUTOFMEMORY;
        {
            SafeArrayAccess access(sa.get());
            if (FAILED(access.status())) return access.status();
            double* d = access.data<double>();
            d[0] = low.x;
            d[1] = low.y;
            d[2] = high.x;
            d[3] = high.y;
        }
        V_VT(value) = VT_ARRAY | VT_R8;
        V_ARRAY(value) = sa.detach();
        return S_OK;
    });
}

HRESULT DatabaseCore::setLimits(const VARIANT& value)
{
    return guarded(kDatabaseIid, [&] {
        if (V_VT(&value) != (VT_ARRAY | VT_R8)) throw E_INVALIDARG;
        SAFEARRAY* sa = V_ARRAY(&value);
        LONG lower = 0, upper = -1;
        if (!sa || SafeArrayGetDim(sa) != 1 || SafeArrayGetElemsize(sa) != sizeof(double)) throw E_INVALIDARG;
        if (FAILED(SafeArrayGetLBound(sa, 1, &lower)) || FAILED(SafeArrayGetUBound(sa, 1, &upper)) ||
            int64_t(upper) - lower + 1 < 4)
            throw E_INVALIDARG;
        double d[4];
        {
            SafeArrayAccess access(sa);
            if (FAILED(access.status())) throw access.status();
            for (int i = 0; i < 4; ++i) d[i] = access.data<double>()[i];
        }
        kx::VxDbDatabase* db = liveOrThrow(link_);
        kx::VxAxDocLock lock(db, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        check(db->setLimmin(kx::VxGePoint2d{d[0], d[1]}));
        check(db->setLimmax(kx::VxGePoint2d{d[2], d[3]}));
        return S_OK;
    });
}

HRESULT DatabaseCore::handleToObject(BSTR handle, IDispatch** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    return guarded(kDatabaseIid, [&] {
        kx::VxDbDatabase* db = liveOrThrow(link_);
        kx::VxDbHandle parsed;
        if (!handle || !kx::VxDbHandle::fromString(std::wstring_view(handle, SysStringLen(handle)), parsed))
            return E_HANDLE;
        VxDbObjectId id;
        if (db->getVxDbObjectId(id, false, parsed) != kx::Velt::eOk || id.isNull()) return E_HANDLE;
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), id, app_.get());
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(object));
    });
}

HRESULT DatabaseCore::objectIdToObject(LONG_PTR id, IDispatch** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    const VxDbObjectId objectId = VxDbObjectId::fromOldId(id);
    if (!objectId.isValid()) return E_FAIL;
    ComPtr<IUnknown> wrapper;
    HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), objectId, app_.get());
    if (!wrapper) return hr;
    return wrapper->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(object));
}

namespace {

// Makes the cached child on first use and hands it the database and the application.
template <class Impl, class Itf>
HRESULT cachedChild(ComPtr<Itf>& cache, Itf** out, const DatabaseLink& link, IDispatch* app)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!cache) {
        auto child = makeObject<Impl>();
        if (!child) return E_FAIL;
        if (FAILED(child->QueryInterface(__uuidof(Itf), cache.putVoid())) || !cache) {
            cache.reset();
            return E_FAIL;
        }
        child->bindTo(link, app);
    }
    *out = cache.get();
    (*out)->AddRef();
    return S_OK;
}

}  // namespace

HRESULT DatabaseCore::preferences(IVeltDatabasePreferences** preferences)
{
    return cachedChild<ImplOf<VeltDatabasePreferencesTag>::type>(preferences_, preferences, link_, app_.get());
}

HRESULT DatabaseCore::summaryInfo(IVeltSummaryInfo** summaryInfo)
{
    return cachedChild<ImplOf<VeltSummaryInfoTag>::type>(summaryInfo_, summaryInfo, link_, app_.get());
}

HRESULT DatabaseCore::fileDependencies(IVeltFileDependencies** fileDependencies)
{
    return cachedChild<ImplOf<VeltFileDependenciesTag>::type>(fileDependencies_, fileDependencies, link_, app_.get());
}

// ---- the class ----

void* CVeltDatabase::findInterface(REFIID iid)
{
    if (iid == __uuidof(IVeltBaseDatabase)) return static_cast<IVeltBaseDatabase*>(this);
    if (iid == __uuidof(IRetrieveApplication)) return static_cast<IRetrieveApplication*>(this);
    return Wrapper::findInterface(iid);
}

HRESULT CVeltDatabase::SetDatabase(kx::VxDbDatabase* database)
{
    core_.bind(database, static_cast<IUnknown*>(static_cast<IVeltDatabase*>(this)));
    return S_OK;
}

HRESULT CVeltDatabase::GetDatabase(kx::VxDbDatabase** database)
{
    if (!database) return E_POINTER;
    *database = core_.database();
    return S_OK;
}

HRESULT CVeltDatabase::SetApplicationObject(IDispatch* application)
{
    core_.setApplication(application);
    return S_OK;
}

HRESULT CVeltDatabase::GetApplicationObject(IDispatch** application)
{
    if (!application) return E_POINTER;
    *application = core_.application();
    if (*application) (*application)->AddRef();
    return S_OK;
}

}  // namespace nk
