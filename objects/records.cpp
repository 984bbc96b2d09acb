// The members of the table records and materials that are written by hand; the others are
// declared in objects/records.members.
#include "objects/records.h"
#include "members_gen.h"

#include <cwchar>
#include <memory>

#include "axsupport/conversions.h"
#include "containers/collections.h"
#include "core/call.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "services/doclock.h"
#include "services/hostservices.h"

namespace nk::records {
namespace {

using kx::VxDbObjectId;
using LayerAccess = StatusAccess<IVeltLayer, kx::VxDbLayerTableRecord>;
using LinetypeAccess = StatusAccess<IVeltLineType, kx::VxDbLinetypeTableRecord>;
using StyleAccess = StatusAccess<IVeltTextStyle, kx::VxDbTextStyleTableRecord>;
using DimStyleAccess = StatusAccess<IVeltDimStyle, kx::VxDbDimStyleTableRecord>;
using UcsAccess = StatusAccess<IVeltUCS, kx::VxDbUCSTableRecord>;
using ViewportAccess = StatusAccess<IVeltViewport, kx::VxDbViewportTableRecord>;
using MaterialAccess = StatusAccess<IVeltMaterial, kx::VxDbMaterial>;

const wchar_t* textOf(BSTR text) { return text ? text : L""; }

// The name of the record behind an id; empty for none.
template <class Record>
std::wstring nameOf(VxDbObjectId id)
{
    if (id.isNull()) return {};
    OpenedObject<Record> record(id, kx::VxDb::kForRead);
    return record.isOpen() ? std::wstring(record->name()) : std::wstring();
}

// The database object behind a wrapper that a client passed in, as class T; E_INVALIDARG
// for anything else.
template <class T>
VxDbObjectId objectOfWrapper(IUnknown* wrapper)
{
    if (!wrapper) throw E_INVALIDARG;
    ComPtr<IVeltObject> object;
    if (FAILED(wrapper->QueryInterface(__uuidof(IVeltObject), object.putVoid())) || !object) throw E_INVALIDARG;
    LONG_PTR value = 0;
    if (FAILED(object->get_ObjectID(&value))) throw E_INVALIDARG;
    const VxDbObjectId id = VxDbObjectId::fromOldId(value);
    OpenedObject<T> opened(id, kx::VxDb::kForRead);
    if (!opened.isOpen()) throw E_INVALIDARG;
    return id;
}

// The linetype of the name in the drawing, loaded from the standard linetype file of the
// drawing's units when it is not there yet; status 22 when it is in neither.
VxDbObjectId linetypeNamed(kx::VxDbDatabase& db, const wchar_t* name)
{
    VxDbObjectId id = db.linetypeId(name);
    if (!id.isNull()) return id;
    wchar_t file[2049] = {};
    std::wcsncpy(file, db.measurement() == 0 ? L"tarsk.lin" : L"tarskiso.lin", 2048);
    kx::vxdbLoadLinetypeFromFile(name, file, &db, id);
    if (id.isNull()) throw kx::Velt::eKeyNotFound;
    return id;
}

}  // namespace

// ---- layers ----

HRESULT layerTrueColor(VxAxObjectRef& target, IVeltVxCmColor** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return LayerAccess::read(target, [&](const kx::VxDbLayerTableRecord& layer) {
        *out = NkAuToVeltVxCmColor(layer.color());
        if (!*out) throw E_OUTOFMEMORY;
    });
}

HRESULT setLayerTrueColor(VxAxObjectRef& target, IVeltVxCmColor* value)
{
    if (!value) return E_POINTER;
    return LayerAccess::write(
        target, [&] { return NkAuToCmColor(value); },
        [](kx::VxDbLayerTableRecord& layer, const kx::VxCmColor& color) { return layer.setColor(color); });
}

HRESULT layerLinetype(VxAxObjectRef& target, BSTR* out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return LayerAccess::read(target, [&](const kx::VxDbLayerTableRecord& layer) {
        conv::Text::out(nameOf<kx::VxDbLinetypeTableRecord>(layer.linetypeObjectId()), out);
    });
}

HRESULT setLayerLinetype(VxAxObjectRef& target, BSTR name)
{
    return guarded(__uuidof(IVeltLayer), [&] {
        kx::VxDbDatabase* db = target.objectId().database();
        if (!db) throw kx::Velt::eNoDatabase;
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        const VxDbObjectId linetype = linetypeNamed(*db, textOf(name));
        OpenedObject<kx::VxDbLayerTableRecord> layer(target, kx::VxDb::kForWrite);
        check(layer.orThrow()->setLinetypeObjectId(linetype));
        return S_OK;
    });
}

HRESULT layerMaterial(VxAxObjectRef& target, BSTR* out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return LayerAccess::read(target, [&](const kx::VxDbLayerTableRecord& layer) {
        std::wstring name;
        if (!layer.materialId().isNull()) {
            OpenedObject<kx::VxDbMaterial> material(layer.materialId(), kx::VxDb::kForRead);
            if (material.isOpen()) name = material->name();
        }
        conv::Text::out(name, out);
    });
}

HRESULT setLayerMaterial(VxAxObjectRef& target, BSTR name)
{
    return guarded(__uuidof(IVeltLayer), [&] {
        kx::VxDbDatabase* db = target.objectId().database();
        if (!db) throw kx::Velt::eNoDatabase;
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId material;
        {
            OpenedObject<kx::VxDbDictionary> materials(db->materialDictionaryId(), kx::VxDb::kForRead);
            if (!materials.isOpen() || materials->getAt(textOf(name), material) != kx::Velt::eOk) return E_INVALIDARG;
        }
        OpenedObject<kx::VxDbLayerTableRecord> layer(target, kx::VxDb::kForWrite);
        check(layer.orThrow()->setMaterialId(material));
        return S_OK;
    });
}

// ---- linetypes ----

HRESULT setLinetypeName(VxAxObjectRef& target, BSTR name)
{
    const wchar_t* text = textOf(name);
    if (text[std::wcscspn(text, collections::kForbiddenLinetypeCharacters)] != L'\0') return E_INVALIDARG;
    return LinetypeAccess::write(
        target, [] { return 0; },
        [&](kx::VxDbLinetypeTableRecord& linetype, int) {
            linetype.setName(text);  // what the host makes of the name is its own affair
            return kx::Velt::eOk;
        });
}

// ---- text styles ----

HRESULT setFontFile(VxAxObjectRef& target, BSTR name)
{
    return StyleAccess::write(
        target, [&] { return std::wstring(textOf(name)); },
        [](kx::VxDbTextStyleTableRecord& style, const std::wstring& given) {
            std::wstring found;
            if (kx::vxdbHostApplicationServices()->findFile(found, given.c_str(), style.database()) != kx::Velt::eOk)
                found = given;
            return style.setFileName(found.c_str());
        });
}

HRESULT getFont(VxAxObjectRef& target, BSTR* typeface, VARIANT_BOOL* bold, VARIANT_BOOL* italic, LONG* charset,
                LONG* pitchAndFamily)
{
    if (!typeface || !bold || !italic || !charset || !pitchAndFamily) return E_POINTER;
    *typeface = nullptr;
    *bold = *italic = VARIANT_FALSE;
    *charset = *pitchAndFamily = 0;
    return StyleAccess::read(target, [&](const kx::VxDbTextStyleTableRecord& style) {
        std::wstring face;
        bool isBold = false, isItalic = false;
        int set = 0, pitch = 0;
        style.font(face, isBold, isItalic, set, pitch);
        conv::Text::out(face, typeface);
        *bold = isBold ? VARIANT_TRUE : VARIANT_FALSE;
        *italic = isItalic ? VARIANT_TRUE : VARIANT_FALSE;
        *charset = set;
        *pitchAndFamily = pitch;
    });
}

HRESULT setFont(VxAxObjectRef& target, BSTR typeface, VARIANT_BOOL bold, VARIANT_BOOL italic, LONG charset,
                LONG pitchAndFamily)
{
    return StyleAccess::write(
        target, [] { return 0; },
        [&](kx::VxDbTextStyleTableRecord& style, int) {
            return style.setFont(textOf(typeface), bold == VARIANT_TRUE, italic == VARIANT_TRUE, int(charset),
                                 int(pitchAndFamily));
        });
}

// ---- dimension styles ----

HRESULT copyDimStyle(VxAxObjectRef& target, IDispatch* source)
{
    return guarded(__uuidof(IVeltDimStyle), [&] {
        const VxDbObjectId from = objectOfWrapper<kx::VxDbDimStyleTableRecord>(source);
        // Settings that name other records hold only within one drawing.
        if (from.database() != target.objectId().database()) return E_INVALIDARG;
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        if (from == target.objectId()) return S_OK;
        OpenedObject<kx::VxDbDimStyleTableRecord> style(target, kx::VxDb::kForWrite);
        kx::VxDbDimStyleTableRecord* own = style.orThrow();
        // A copy of the source under this style's name, so that the name stays.
        std::unique_ptr<kx::VxDbDimStyleTableRecord> settings;
        {
            OpenedObject<kx::VxDbDimStyleTableRecord> original(from, kx::VxDb::kForRead);
            settings.reset(static_cast<kx::VxDbDimStyleTableRecord*>(original.orThrow()->clone()));
        }
        if (!settings) throw kx::Velt::eOutOfMemory;
        check(settings->setName(own->name().c_str()));
        check(own->copyFrom(settings.get()));
        return S_OK;
    });
}

// ---- coordinate systems ----

HRESULT ucsMatrix(VxAxObjectRef& target, VARIANT* out)
{
    if (!out) return E_POINTER;
    VariantInit(out);
    return UcsAccess::read(target, [&](const kx::VxDbUCSTableRecord& ucs) {
        const kx::VxGeMatrix3d m = ucs.ucsMatrix();
        SAFEARRAYBOUND bounds[2] = {{4, 0}, {4, 0}};
        SafeArray sa(SafeArrayCreate(VT_R8, 2, bounds));
        if (!sa.get()) throw E_OUTOFMEMORY;
        for (LONG r = 0; r < 4; ++r) {
            for (LONG c = 0; c < 4; ++c) {
                LONG at[2] = {r, c};
                double value = m.entry[r][c];
                HRESULT hr = SafeArrayPutElement(sa.get(), at, &value);
                if (FAILED(hr)) throw hr;
            }
        }
        V_VT(out) = VT_ARRAY | VT_R8;
        V_ARRAY(out) = sa.detach();
    });
}

// ---- viewports ----

HRESULT split(VxAxObjectRef& target, VxViewportSplitType arrangement)
{
    if (arrangement < vxViewport2Horizontal || arrangement > vxViewport4) return E_INVALIDARG;
    return guarded(__uuidof(IVeltViewport), [&] {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        check(kx::vxdbSplitViewport(target.objectId(), kx::VxDbViewportSplit(arrangement)));
        return S_OK;
    });
}

namespace {

HRESULT spacing(VxAxObjectRef& target, double* x, double* y, kx::VxGeVector2d (kx::VxDbViewportTableRecord::*read)() const)
{
    if (!x || !y) return E_POINTER;
    *x = *y = 0.0;
    return ViewportAccess::read(target, [&](const kx::VxDbViewportTableRecord& viewport) {
        const kx::VxGeVector2d v = (viewport.*read)();
        *x = v.x;
        *y = v.y;
    });
}

HRESULT setSpacing(VxAxObjectRef& target, double x, double y,
                   kx::Velt::ErrorStatus (kx::VxDbViewportTableRecord::*write)(const kx::VxGeVector2d&))
{
    return ViewportAccess::write(
        target, [&] { return kx::VxGeVector2d{x, y}; },
        [&](kx::VxDbViewportTableRecord& viewport, const kx::VxGeVector2d& v) { return (viewport.*write)(v); });
}

}  // namespace

HRESULT getGridSpacing(VxAxObjectRef& target, double* x, double* y)
{
    return spacing(target, x, y, &kx::VxDbViewportTableRecord::gridIncrements);
}

HRESULT setGridSpacing(VxAxObjectRef& target, double x, double y)
{
    return setSpacing(target, x, y, &kx::VxDbViewportTableRecord::setGridIncrements);
}

HRESULT getSnapSpacing(VxAxObjectRef& target, double* x, double* y)
{
    return spacing(target, x, y, &kx::VxDbViewportTableRecord::snapIncrements);
}

HRESULT setSnapSpacing(VxAxObjectRef& target, double x, double y)
{
    return setSpacing(target, x, y, &kx::VxDbViewportTableRecord::setSnapIncrements);
}

HRESULT setView(VxAxObjectRef& target, IVeltView* view)
{
    return guarded(__uuidof(IVeltViewport), [&] {
        const VxDbObjectId source = objectOfWrapper<kx::VxDbViewTableRecord>(view);
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbViewTableRecord> shown(source, kx::VxDb::kForRead);
        OpenedObject<kx::VxDbViewportTableRecord> viewport(target, kx::VxDb::kForWrite);
        check(viewport.orThrow()->setViewFrom(*shown.orThrow()));
        return S_OK;
    });
}

// ---- materials ----

HRESULT setMaterialName(VxAxObjectRef& target, BSTR name)
{
    return MaterialAccess::write(
        target, [&] { return std::wstring(textOf(name)); },
        [](kx::VxDbMaterial& material, const std::wstring& newName) {
            // The key in the materials dictionary follows the name.
            if (material.name() == newName) return kx::Velt::eOk;
            OpenedObject<kx::VxDbDictionary> owner(material.ownerId(), kx::VxDb::kForWrite);
            if (owner.isOpen()) {
                std::wstring key;
                if (owner->nameAt(material.objectId(), key) == kx::Velt::eOk) {
                    if (kx::Velt::ErrorStatus es = owner->setName(key.c_str(), newName.c_str())) return es;
                }
            }
            return material.setName(newName.c_str());
        });
}

}  // namespace nk::records
