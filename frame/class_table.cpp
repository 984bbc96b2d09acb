#include "frame/class_table.h"

#include <atomic>
#include <new>

#include "frame/com.h"
#include "frame/module.h"
#include "frame/unknown.h"
#include "core/levels.h"
#include "core/wrapper.h"

namespace nk {
namespace {

void giveNewObject(IUnknown* made)
{
    ComPtr<IVeltBaseObject> bound;
    if (SUCCEEDED(made->QueryInterface(__uuidof(IVeltBaseObject), bound.putVoid())) && bound)
        static_cast<BoundObject*>(bound.get())->ownNewObject();
}

// The standard cached class factory: no licensing; LockServer keeps the module loaded.
// What a client makes through it is new: a wrapper of a database object gets an object of
// its own, not yet in a drawing.
class ClassFactory final : public SingleInterfaceObject<IClassFactory> {
public:
    explicit ClassFactory(CreateInstanceFn create) : create_(create) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override
    {
        HRESULT hr = create_(outer, riid, ppv);
        if (SUCCEEDED(hr) && !outer && ppv && *ppv) giveNewObject(static_cast<IUnknown*>(*ppv));
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        if (lock) Module::lock(); else Module::unlock();
        return S_OK;
    }

private:
    CreateInstanceFn create_;
};

HRESULT makeClassFactory(CreateInstanceFn create, REFIID riid, void** ppv)
{
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    auto* factory = new (std::nothrow) ClassFactory(create);
    if (!factory) return E_OUTOFMEMORY;
    factory->AddRef();
    HRESULT hr = factory->QueryInterface(riid, ppv);
    factory->Release();
    return hr;
}

HRESULT noRegistry(bool) { return S_OK; }
const wchar_t* noDescription() { return nullptr; }
const void* noCategories() { return nullptr; }
void noObjectMain(bool) {}

// The wrappers of database objects, made directly for the lookup (one per table entry;
// null for the other classes).
using BoundMaker = BoundObject* (*)(REFIID iid, void** asked);
BoundMaker gBoundMakers[kClassEntryCount];

template <class Tag>
BoundObject* makeBound(REFIID iid, void** asked)
{
    auto* object = new (std::nothrow) ComObject<typename ImplOf<Tag>::type>();
    if (!object) return nullptr;
    object->takeFirstReference();
    if (FAILED(object->finalConstruct())) {
        object->Release();
        return nullptr;
    }
    *asked = object->findInterface(iid);
    return object;
}

template <class Tag>
constexpr BoundMaker boundMakerOf()
{
    if constexpr (kBoundToObject<typename Tag::DefaultInterface>)
        return &makeBound<Tag>;
    else
        return nullptr;
}

// The entry-filling routine of one class.
template <class Tag>
void fill(ClassEntry& e, BoundMaker& maker)
{
    maker = boundMakerOf<Tag>();
    using Impl = typename ImplOf<Tag>::type;
    e.clsid = &Tag::clsid();
    e.updateRegistry = noRegistry;
    e.getClassObject = makeClassFactory;
    if constexpr (kAggregatable<Tag>)
        e.createInstance = AggregatedObject<Impl>::create;
    else
        e.createInstance = ComObject<Impl>::create;
    e.cachedFactory = nullptr;
    e.registrationCookie = 0;
    e.getDescription = noDescription;
    e.getCategoryMap = noCategories;
    e.objectMain = noObjectMain;
}

using Filler = void (*)(ClassEntry&, BoundMaker&);

// One slot per coclass source module; VeltDictionaries is listed twice on purpose: a lookup
// by CLSID always stops at the first of the two.
const Filler kFillers[kClassEntryCount] = {
    fill<Velt3DFaceTag>, fill<Velt3DPolylineTag>, fill<Velt3DSolidTag>, fill<VeltArcTag>,
    fill<VeltAttributeTag>, fill<VeltAttributeReferenceTag>, fill<VeltBlockReferenceTag>,
    fill<VeltCircleTag>, fill<VeltEllipseTag>, fill<VeltHatchTag>, fill<VeltLeaderTag>,
    fill<VeltLWPolylineTag>, fill<VeltLineTag>, fill<VeltMTextTag>, fill<VeltPointTag>,
    fill<VeltPolylineTag>, fill<VeltPolygonMeshTag>, fill<VeltRayTag>, fill<VeltRegionTag>,
    fill<VeltShapeTag>, fill<VeltSolidTag>, fill<VeltSplineTag>, fill<VeltTextTag>,
    fill<VeltToleranceTag>, fill<VeltTraceTag>, fill<VeltXlineTag>, fill<VeltPViewportTag>,
    fill<VeltObjectTag>, fill<VeltEntityTag>, fill<VeltMInsertBlockTag>, fill<VeltMLeaderTag>,
    fill<VeltMLineTag>, fill<VeltRasterImageTag>, fill<VeltPolyfaceMeshTag>,
    fill<VeltExternalReferenceTag>, fill<VeltTableTag>, fill<VeltDimensionTag>,
    fill<VeltDimAlignedTag>, fill<VeltDimAngularTag>, fill<VeltDimDiametricTag>,
    fill<VeltDimOrdinateTag>, fill<VeltDimRadialTag>, fill<VeltDimRotatedTag>,
    fill<VeltDim3PointAngularTag>, fill<VeltDimRadialLargeTag>, fill<VeltDimArcLengthTag>,
    fill<VeltHyperlinksTag>, fill<VeltDatabaseTag>, fill<VeltVxCmColorTag>, fill<VeltOleTag>,
    fill<VeltHelixTag>, fill<VeltWipeoutTag>, fill<ArcTextObjTag>, fill<VeltBlockTag>,
    fill<VeltModelSpaceTag>, fill<VeltPaperSpaceTag>, fill<VeltBlocksTag>,
    fill<VeltTextStylesTag>, fill<VeltTextStyleTag>, fill<VeltLineTypeTag>,
    fill<VeltLineTypesTag>, fill<VeltDimStyleTag>, fill<VeltDimStylesTag>, fill<VeltLayerTag>,
    fill<VeltLayersTag>, fill<VeltUCSTag>, fill<VeltUCSsTag>, fill<VeltDictionaryTag>,
    fill<VeltSortentsTableTag>, fill<VeltLayerStateManagerTag>, fill<VeltXRecordTag>,
    fill<VeltDictionariesTag>, fill<VeltFileDependencyTag>, fill<VeltSecurityParamsTag>,
    fill<VeltSummaryInfoTag>, fill<VeltPlotConfigurationTag>, fill<VeltPlotConfigurationsTag>,
    fill<VeltViewTag>, fill<VeltViewsTag>, fill<VeltViewportTag>, fill<VeltViewportsTag>,
    fill<VeltLayoutTag>, fill<VeltDatabasePreferencesTag>, fill<VeltIdPairTag>,
    fill<VeltRegisteredApplicationTag>, fill<VeltRegisteredApplicationsTag>,
    fill<VeltSurfaceTag>, fill<VeltSweptSurfaceTag>, fill<VeltLayoutsTag>,
    fill<VeltRevolvedSurfaceTag>, fill<VeltGroupTag>, fill<VeltGroupsTag>,
    fill<VeltDynamicBlockReferencePropertyTag>, fill<VeltDictionariesTag>, fill<VeltSectionTag>,
    fill<VeltSectionSettingsTag>, fill<VeltSectionTypeSettingsTag>, fill<VeltSectionManagerTag>,
    fill<VeltTableStyleTag>, fill<VeltDwfUnderlayTag>, fill<VeltPdfUnderlayTag>,
    fill<VeltDgnUnderlayTag>, fill<VeltMLeaderStyleTag>, fill<VeltMaterialTag>,
    fill<VeltMaterialsTag>, fill<KxDbDocumentTag>, fill<VeltLoftedSurfaceTag>,
    fill<VeltPlaneSurfaceTag>, fill<VeltExtrudedSurfaceTag>, fill<VeltSubDMeshTag>,
    fill<VeltPointCloudExTag>, fill<VeltGeomapImageTag>, fill<VeltGeoPositionMarkerTag>,
};

ClassEntry gTable[kClassEntryCount + 1];

}  // namespace

ClassEntry* classTable() { return gTable; }

void fillClassTable()
{
    for (int i = 0; i < kClassEntryCount; ++i) kFillers[i](gTable[i], gBoundMakers[i]);
    gTable[kClassEntryCount] = ClassEntry{};
    for (int i = 0; i < kClassEntryCount; ++i) gTable[i].objectMain(true);
}

void releaseClassTable()
{
    for (int i = 0; i < kClassEntryCount; ++i) {
        if (IUnknown* factory = std::exchange(gTable[i].cachedFactory, nullptr)) factory->Release();
        if (gTable[i].objectMain) gTable[i].objectMain(false);
    }
}

BoundObject* makeBoundWrapper(REFCLSID clsid, REFIID iid, void** asked)
{
    *asked = nullptr;
    // Most lookups in a row make wrappers of one class: the last one found is tried first.
    static std::atomic<int> last{0};
    const int first = last.load(std::memory_order_relaxed);
    for (int n = 0; n < kClassEntryCount; ++n) {
        const int i = (first + n) % kClassEntryCount;
        if (gTable[i].clsid && *gTable[i].clsid == clsid) {
            last.store(i, std::memory_order_relaxed);
            return gBoundMakers[i] ? gBoundMakers[i](iid, asked) : nullptr;
        }
    }
    return nullptr;
}

HRESULT createInstance(REFCLSID clsid, REFIID riid, void** ppv)
{
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    for (ClassEntry* e = gTable; e->clsid; ++e)
        if (*e->clsid == clsid && e->createInstance) return e->createInstance(nullptr, riid, ppv);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT getClassObject(REFCLSID clsid, REFIID riid, void** ppv)
{
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!Module::initialised()) return E_UNEXPECTED;
    for (ClassEntry* e = gTable; e->clsid; ++e) {
        if (*e->clsid != clsid || !e->getClassObject) continue;
        if (!e->cachedFactory) {
            CriticalSectionLock guard(Module::criticalSection());
            if (!e->cachedFactory) {
                HRESULT hr = e->getClassObject(e->createInstance, IID_IUnknown,
                                               reinterpret_cast<void**>(&e->cachedFactory));
                if (FAILED(hr)) return hr;
            }
        }
        return e->cachedFactory->QueryInterface(riid, ppv);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace nk
