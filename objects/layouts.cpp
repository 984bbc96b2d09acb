// The members of plot configurations and layouts written by hand (objects/layouts.members).
#include "objects/layouts.h"
#include "members_gen.h"

#include <string>
#include <vector>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "core/binding.h"
#include "core/call.h"
#include "core/lookup.h"
#include "core/object_ops.h"
#include "db/blocks.h"
#include "db/database.h"
#include "frame/com.h"
#include "services/doclock.h"

namespace nk {
namespace {

using kx::VxDbLayout;
using kx::VxDbObjectId;
using kx::VxDbPlotSettings;

const IID& kPlotIid = __uuidof(IVeltPlotConfiguration);
const IID& kLayoutIid = __uuidof(IVeltLayout);
using Plot = PlotAccess<IVeltPlotConfiguration, VxDbPlotSettings>;

// Reads the settings: null outputs first, each cleared.
template <class Read>
HRESULT readSettings(VxAxObjectRef& ref, Read&& read)
{
    return Plot::read(ref, [&](const PlotSettingsObject& o) { read(o.s); });
}

// Changes the settings through the validator, under the document lock.
template <class Write>
HRESULT writeSettings(VxAxObjectRef& ref, Write&& write)
{
    return Plot::write(ref, [] { return 0; }, [&](PlotSettingsObject& o, int) { return write(o); });
}

// A VARIANT array of strings.
void putNames(const std::vector<std::wstring>& names, VARIANT* out)
{
    SafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    if (!array.get()) throw E_OUTOFMEMORY;
    {
        SafeArrayAccess data(array.get());
        if (FAILED(data.status())) throw data.status();
        BSTR* items = data.data<BSTR>();
        for (size_t i = 0; i < names.size(); ++i) {
            items[i] = SysAllocStringLen(names[i].data(), static_cast<UINT>(names[i].size()));
            if (!items[i]) throw E_OUTOFMEMORY;
        }
    }
    V_VT(out) = VT_ARRAY | VT_BSTR;
    V_ARRAY(out) = array.detach();
}

template <class List>
HRESULT names(VxAxObjectRef& ref, VARIANT* out, List&& list)
{
    if (!out) return E_POINTER;
    VariantInit(out);
    return readSettings(ref, [&](const VxDbPlotSettings& s) {
        std::vector<std::wstring> found;
        check(list(PlotSettingsObject::validator(), s, found));
        putNames(found, out);
    });
}

}  // namespace

namespace plots {

HRESULT setName(VxAxObjectRef& ref, BSTR Name)
{
    const wchar_t* name = conv::Text::in(Name);
    return guarded(kPlotIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        std::wstring current;
        bool isLayout = false;
        kx::VxDbDatabase* db = nullptr;
        {
            OpenedObject<VxDbPlotSettings> settings(ref, kx::VxDb::kForRead);
            current = settings.orThrow()->getPlotSettingsName();
            isLayout = VxDbLayout::cast(settings.get()) != nullptr;
            db = settings->database();
        }
        if (!isLayout) {
            OpenedObject<VxDbPlotSettings> settings(ref, kx::VxDb::kForWrite);
            check(settings.orThrow()->setPlotSettingsName(name));
            return S_OK;
        }
        if (current.empty()) return E_POINTER;
        kx::VxDbLayoutManager* manager = kx::veltGetLayoutManager();
        if (!manager) return E_FAIL;
        check(manager->renameLayout(current.c_str(), name, db));
        return S_OK;
    });
}

HRESULT getCustomScale(VxAxObjectRef& ref, double* Numerator, double* Denominator)
{
    if (!Numerator || !Denominator) return E_POINTER;
    *Numerator = *Denominator = 0.0;
    return readSettings(ref, [&](const VxDbPlotSettings& s) { s.getCustomPrintScale(*Numerator, *Denominator); });
}

HRESULT setCustomScale(VxAxObjectRef& ref, double Numerator, double Denominator)
{
    return writeSettings(ref, [&](PlotSettingsObject& o) {
        return o.valid(&PlotValidator::setCustomPrintScale, Numerator, Denominator);
    });
}

HRESULT getPaperMargins(VxAxObjectRef& ref, VARIANT* LowerLeft, VARIANT* UpperRight)
{
    if (!LowerLeft || !UpperRight) return E_POINTER;
    VariantInit(LowerLeft);
    VariantInit(UpperRight);
    return readSettings(ref, [&](const VxDbPlotSettings& s) {
        double left, bottom, right, top;
        s.getPlotPaperMargins(left, bottom, right, top);
        conv::Point2::out(kx::VxGePoint2d{left, bottom}, LowerLeft);
        conv::Point2::out(kx::VxGePoint2d{right, top}, UpperRight);
    });
}

HRESULT getPaperSize(VxAxObjectRef& ref, double* Width, double* Height)
{
    if (!Width || !Height) return E_POINTER;
    *Width = *Height = 0.0;
    return readSettings(ref, [&](const VxDbPlotSettings& s) { s.getPlotPaperSize(*Width, *Height); });
}

HRESULT getWindowToPlot(VxAxObjectRef& ref, VARIANT* LowerLeft, VARIANT* UpperRight)
{
    if (!LowerLeft || !UpperRight) return E_POINTER;
    VariantInit(LowerLeft);
    VariantInit(UpperRight);
    return readSettings(ref, [&](const VxDbPlotSettings& s) {
        kx::VxGePoint2d lower, upper;
        s.getPlotWindowArea(lower, upper);
        conv::Point2::out(lower, LowerLeft);
        conv::Point2::out(upper, UpperRight);
    });
}

HRESULT setWindowToPlot(VxAxObjectRef& ref, VARIANT LowerLeft, VARIANT UpperRight)
{
    kx::VxGePoint2d lower, upper;
    if (HRESULT hr = guarded(kPlotIid, [&] {
            lower = conv::Point2::in(LowerLeft);
            upper = conv::Point2::in(UpperRight);
            return S_OK;
        });
        FAILED(hr))
        return hr;
    return writeSettings(ref, [&](PlotSettingsObject& o) {
        return o.valid(&PlotValidator::setPlotWindowArea, lower, upper);
    });
}

HRESULT copyFrom(VxAxObjectRef& ref, IVeltPlotConfiguration* pPlotConfig)
{
    return guarded(kPlotIid, [&]() -> HRESULT {
        VxDbObjectId source;
        ComPtr<IVeltBaseObject> base;
        if (!pPlotConfig || FAILED(pPlotConfig->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) || !base ||
            FAILED(base->GetObjectId(&source)) || !source.isValid())
            return E_INVALIDARG;
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        if (source == ref.objectId()) return S_OK;  // itself: nothing to copy
        OpenedObject<VxDbPlotSettings> from(source, kx::VxDb::kForRead);
        OpenedObject<VxDbPlotSettings> to(ref, kx::VxDb::kForWrite);
        check(to.orThrow()->copyFrom(from.orThrow()));
        return S_OK;
    });
}

HRESULT canonicalMediaNames(VxAxObjectRef& ref, VARIANT* pNames)
{
    return names(ref, pNames, [](PlotValidator& v, const VxDbPlotSettings& s, std::vector<std::wstring>& found) {
        return v.canonicalMediaNameList(&s, found);
    });
}

HRESULT plotDeviceNames(VxAxObjectRef& ref, VARIANT* pNames)
{
    return names(ref, pNames, [](PlotValidator& v, const VxDbPlotSettings&, std::vector<std::wstring>& found) {
        return v.plotDeviceList(found);
    });
}

HRESULT plotStyleTableNames(VxAxObjectRef& ref, VARIANT* pNames)
{
    return names(ref, pNames, [](PlotValidator& v, const VxDbPlotSettings& s, std::vector<std::wstring>& found) {
        return v.plotStyleSheetList(found, &s);
    });
}

HRESULT refreshPlotDeviceInfo(VxAxObjectRef& ref)
{
    return readSettings(ref, [&](const VxDbPlotSettings& s) { check(PlotSettingsObject::validator().refreshLists(&s)); });
}

HRESULT localeMediaName(VxAxObjectRef& ref, BSTR Name, BSTR* pLocalName)
{
    if (!pLocalName) return E_POINTER;
    *pLocalName = nullptr;
    return readSettings(ref, [&](const VxDbPlotSettings& s) {
        std::wstring local;
        check(PlotSettingsObject::validator().getLocaleMediaName(&s, conv::Text::in(Name), local));
        conv::Text::out(local, pLocalName);
    });
}

}  // namespace plots

namespace layouts {

HRESULT block(VxAxObjectRef& ref, IDispatch* app, IVeltBlock** Block)
{
    if (!Block) return E_POINTER;
    *Block = nullptr;
    return guarded(kLayoutIid, [&]() -> HRESULT {
        VxDbObjectId id;
        {
            OpenedObject<VxDbLayout> layout(ref, kx::VxDb::kForRead);
            id = layout.orThrow()->getBlockTableRecordId();
        }
        if (id.isNull()) return E_FAIL;
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), id, app);
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(__uuidof(IVeltBlock), reinterpret_cast<void**>(Block));
    });
}

HRESULT setTabOrder(VxAxObjectRef& ref, LONG TabOrder)
{
    return guarded(kLayoutIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        // The others move first; what the manager answers does not stop the layout's own.
        if (kx::VxDbLayoutManager* manager = kx::veltGetLayoutManager())
            manager->updateByNewOrder(ref.objectId(), static_cast<int>(TabOrder));
        OpenedObject<VxDbLayout> layout(ref, kx::VxDb::kForWrite);
        if (!layout.isOpen()) return E_POINTER;
        check(layout->setTabOrder(static_cast<int>(TabOrder)));
        return S_OK;
    });
}

HRESULT erase(VxAxObjectRef& ref)
{
    const VxDbObjectId id = ref.objectId();
    if (!id.isValid()) return E_FAIL;
    return guarded(kLayoutIid, [&]() -> HRESULT {
        std::wstring name;
        VxDbObjectId block;
        kx::VxDbDatabase* db = nullptr;
        {
            OpenedObject<VxDbLayout> layout(ref, kx::VxDb::kForRead);
            if (!layout.isOpen()) return RaiseVrxException(kLayoutIid, 0, layout.status());
            block = layout->getBlockTableRecordId();
            name = layout->layoutName();
            db = layout->database();
        }
        kx::VxDbLayoutManager* manager = kx::veltGetLayoutManager();
        if (!manager || !db || block.isNull()) return E_FAIL;
        if (block == db->modelSpaceId()) return E_FAIL;  // the model layout stays
        kx::VxAxDocLock lock(id, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        check(manager->deleteLayout(name.c_str(), db));
        return S_OK;
    });
}

}  // namespace layouts
}  // namespace nk
