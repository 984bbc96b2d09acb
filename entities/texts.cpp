// The text members that are more than one value of their object: the style by name, the
// alignment that keeps the text in its place, and the field codes.
#include <string>

#include "db/database.h"
#include "db/symtables.h"
#include "db/texts.h"
#include "members_gen.h"

namespace nk::texts {
namespace {

using Text = TextAccess<IVeltText, kx::VxDbText>;
using MText = OwnAccess<IVeltMText, kx::VxDbMText>;
using Tolerance = OwnAccess<IVeltTolerance, kx::VxDbFcf>;

std::wstring styleNameOf(kx::VxDbObjectId style)
{
    kx::VxDbObjectPointer<kx::VxDbTextStyleTableRecord> record(style, kx::VxDb::kForRead);
    return record ? record->name() : std::wstring();
}

// A text style of the object's own drawing, by name.
kx::VxDbObjectId styleNamed(const kx::VxDbObject& object, const wchar_t* name)
{
    kx::VxDbDatabase* db = object.database();
    if (!db) throw kx::Velt::eNoDatabase;
    const kx::VxDbObjectId id = db->textStyleId(name);
    if (id.isNull()) throw kx::Velt::eKeyNotFound;
    return id;
}

// The one alignment of a pair of modes: 0 ... 5 on the baseline, 6 ... 14 top, middle and
// bottom rows of left, center and right.
long alignmentOf(int16_t horizontal, int16_t vertical)
{
    if (vertical == 0 || horizontal > 2) return horizontal;
    return 6 + (3 - vertical) * 3 + horizontal;
}

bool alignedOrFit(int16_t horizontal) { return horizontal == kx::VxDbText::kAligned || horizontal == kx::VxDbText::kFit; }

}  // namespace

HRESULT styleName(VxAxObjectRef& ref, BSTR* name)
{
    return member::get<Text, conv::Text>(ref, name, [](const kx::VxDbText& t) { return styleNameOf(t.textStyle()); });
}

HRESULT setStyleName(VxAxObjectRef& ref, BSTR name)
{
    return member::put<Text, conv::Text>(ref, name, [](kx::VxDbText& t, const wchar_t* value) {
        return t.setTextStyle(styleNamed(t, value));
    });
}

HRESULT alignment(VxAxObjectRef& ref, VxAlignment* value)
{
    return member::get<Text, conv::Long>(ref, value, [](const kx::VxDbText& t) {
        return alignmentOf(t.horizontalMode(), t.verticalMode());
    });
}

HRESULT setAlignment(VxAxObjectRef& ref, VxAlignment value)
{
    return guarded(__uuidof(IVeltText), [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        if (value < 0 || value >= 15) return E_INVALIDARG;
        const int16_t horizontal = int16_t(value <= 5 ? value : value % 3);
        const int16_t vertical = int16_t(value <= 5 ? 0 : 5 - value / 3);
        OpenedObject<kx::VxDbText> text(ref, kx::VxDb::kForWrite);
        if (!text.isOpen()) return E_POINTER;
        kx::VxDbText& t = *text.get();
        const int16_t h0 = t.horizontalMode();
        const bool wasDefault = t.isDefaultAlignment();
        if (alignedOrFit(horizontal) && kx::vxdbIsAnnotative(&t)) return E_INVALIDARG;
        check(t.setHorizontalMode(horizontal));
        check(t.setVerticalMode(vertical));
        // The point the new alignment does not use takes the place of the one it does.
        const bool isDefault = t.isDefaultAlignment();
        if (wasDefault && !isDefault) {
            check(t.setAlignmentPoint(t.position()));
        } else if (isDefault && !wasDefault) {
            if (alignedOrFit(h0))
                check(t.setAlignmentPoint(t.position()));
            else
                check(t.setPosition(t.alignmentPoint()));
        } else if (!isDefault && !wasDefault) {
            if (alignedOrFit(h0) && !alignedOrFit(horizontal))
                check(t.setAlignmentPoint(t.position()));
            else if (alignedOrFit(horizontal) && !alignedOrFit(h0))
                check(t.setPosition(t.alignmentPoint()));
        }
        // A definition's multiline text hangs from the corner the modes name; the baseline row
        // names none the text accepts, and leaves its attachment as it was.
        if (auto* definition = kx::VxDbAttributeDefinition::cast(&t); definition && definition->isMTextAttribute())
            definition->setMTextAttachment(int16_t(horizontal - 3 * vertical + 10));
        return S_OK;
    });
}

// Fields are not evaluated here: the code is the text itself.
HRESULT fieldCode(VxAxObjectRef& ref, BSTR* code)
{
    return member::get<Text, conv::Text>(ref, code, [](const kx::VxDbText& t) { return t.textString(); });
}

HRESULT updateMTextAttribute(VxAxObjectRef& ref)
{
    return member::call<Text>(ref, [](kx::VxDbText& t) {
        kx::VxDbAttributeText* attribute = kx::vxdbAttributeTextOf(&t);
        return attribute ? attribute->updateMTextAttribute() : kx::Velt::eWrongObjectType;
    });
}

HRESULT mtextStyleName(VxAxObjectRef& ref, BSTR* name)
{
    return member::get<MText, conv::Text>(ref, name, [](const kx::VxDbMText& t) { return styleNameOf(t.textStyle()); });
}

HRESULT setMTextStyleName(VxAxObjectRef& ref, BSTR name)
{
    return member::put<MText, conv::Text>(ref, name, [](kx::VxDbMText& t, const wchar_t* value) {
        return t.setTextStyle(styleNamed(t, value));
    });
}

HRESULT mtextFieldCode(VxAxObjectRef& ref, BSTR* code)
{
    return member::get<MText, conv::Text>(ref, code, [](const kx::VxDbMText& t) { return t.contents(); });
}

HRESULT toleranceTextStyle(VxAxObjectRef& ref, BSTR* name)
{
    return member::get<Tolerance, conv::Text>(ref, name, [](const kx::VxDbFcf& f) { return styleNameOf(f.textStyle()); });
}

HRESULT setToleranceTextStyle(VxAxObjectRef& ref, BSTR name)
{
    return member::put<Tolerance, conv::Text>(ref, name, [](kx::VxDbFcf& f, const wchar_t* value) {
        return f.setTextStyle(styleNamed(f, value));
    });
}

}  // namespace nk::texts
