// The members of text along an arc that are more than one value of it: the arc it follows,
// its style by name and its alignment.
#include <string>

#include "core/binding.h"
#include "core/lookup.h"
#include "db/arctext.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "members_gen.h"

namespace nk::arctext {
namespace {

using ArcText = OwnAccess<IArcTextObj, kx::VxDbArcAlignedText>;
using kx::VxDbArcAlignedText;
using kx::VxDbObjectId;

// Automation's left, center, right and the file's values; a fitted text reads as left.
long alignmentOf(int16_t stored)
{
    switch (stored) {
    case VxDbArcAlignedText::kCenter: return vxCenterAlignment;
    case VxDbArcAlignedText::kRight: return vxRightAlignment;
    default: return vxLeftAlignment;
    }
}

int16_t storedAlignment(long value)
{
    switch (value) {
    case vxLeftAlignment: return VxDbArcAlignedText::kLeft;
    case vxCenterAlignment: return VxDbArcAlignedText::kCenter;
    case vxRightAlignment: return VxDbArcAlignedText::kRight;
    default: throw E_INVALIDARG;
    }
}

// The object behind a wrapper a client passed in; E_INVALIDARG for anything else.
VxDbObjectId idOfObject(IUnknown* wrapper)
{
    if (!wrapper) throw E_INVALIDARG;
    ComPtr<IVeltBaseObject> base;
    if (FAILED(wrapper->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) || !base) throw E_INVALIDARG;
    VxDbObjectId id;
    if (FAILED(base->GetObjectId(&id)) || id.isNull()) throw E_INVALIDARG;
    return id;
}

}  // namespace

HRESULT arc(VxAxObjectRef& ref, IDispatch* app, IVeltArc** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(__uuidof(IArcTextObj), [&]() -> HRESULT {
        VxDbObjectId id;
        {
            OpenedObject<VxDbArcAlignedText> text(ref, kx::VxDb::kForRead);
            if (!text.isOpen()) return E_POINTER;
            id = text->arcId();
        }
        if (id.isNull()) return S_OK;  // no arc: Nothing
        ComPtr<IUnknown> wrapper;
        HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), id, app);
        if (FAILED(hr)) return hr;
        return wrapper->QueryInterface(__uuidof(IVeltArc), reinterpret_cast<void**>(out));
    });
}

HRESULT setArc(VxAxObjectRef& ref, IVeltArc* arc)
{
    return guarded(__uuidof(IArcTextObj), [&]() -> HRESULT {
        const VxDbObjectId id = idOfObject(arc);
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbArc> source(id, kx::VxDb::kForRead);
        if (!source.isOpen()) return E_INVALIDARG;
        OpenedObject<VxDbArcAlignedText> text(ref, kx::VxDb::kForWrite);
        if (!text.isOpen()) return E_POINTER;
        if (text->database() && text->isResident() && id.database() != text->database()) return E_INVALIDARG;
        check(text->setArc(*source.get()));
        return S_OK;
    });
}

HRESULT styleName(VxAxObjectRef& ref, BSTR* name)
{
    return member::get<ArcText, conv::Text>(ref, name, [](const VxDbArcAlignedText& t) {
        kx::VxDbObjectPointer<kx::VxDbTextStyleTableRecord> record(t.textStyle(), kx::VxDb::kForRead);
        return record ? record->name() : std::wstring();
    });
}

HRESULT setStyleName(VxAxObjectRef& ref, BSTR name)
{
    return member::put<ArcText, conv::Text>(ref, name, [](VxDbArcAlignedText& t, const wchar_t* value) {
        kx::VxDbDatabase* db = t.database();
        if (!db) throw kx::Velt::eNoDatabase;
        const VxDbObjectId id = db->textStyleId(value);
        if (id.isNull()) throw kx::Velt::eKeyNotFound;
        return t.setTextStyle(id);
    });
}

HRESULT alignment(VxAxObjectRef& ref, VxTextAlignmentType* value)
{
    return member::get<ArcText, conv::Long>(ref, value, [](const VxDbArcAlignedText& t) { return alignmentOf(t.alignment()); });
}

HRESULT setAlignment(VxAxObjectRef& ref, VxTextAlignmentType value)
{
    return member::put<ArcText, conv::Enum<vxLeftAlignment, vxRightAlignment>>(
        ref, value, [](VxDbArcAlignedText& t, long v) { return t.setAlignment(storedAlignment(v)); });
}

}  // namespace nk::arctext
