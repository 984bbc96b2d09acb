// Texts, multiline texts and attributed blocks as a client drives them: the alignment that
// keeps a text in its place, the refusals that change nothing, the factories' style rules,
// and a block's attribute definitions becoming a reference's attributes.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "db/resbuf.h"
#include "db/symtables.h"
#include "db/texts.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"
#include "frame/class_table.h"
#include "services/hostservices.h"
#include "members_gen.h"

using drawing::coordinates;
using drawing::point;
using drawing::Value;
using drawing::number;
using drawing::real;
using kx::VxGePoint3d;
using nk::ComPtr;

namespace {

class Texts : public drawing::Drawing {
protected:
    ComPtr<IVeltText> addText(const wchar_t* s, VxGePoint3d at, double height = 2.0)
    {
        ComPtr<IVeltText> text;
        Value where = point(at.x, at.y, at.z);
        BSTR string = SysAllocString(s);
        EXPECT_EQ(modelSpace()->AddText(string, *where, height, text.put()), S_OK);
        SysFreeString(string);
        return text;
    }
    template <class Itf>
    VxGePoint3d pointOf(Itf* text, HRESULT (STDMETHODCALLTYPE Itf::*get)(VARIANT*))
    {
        Value v;
        EXPECT_EQ((text->*get)(v.get()), S_OK);
        return coordinates(*v);
    }
    // Through IDispatch, as a script puts a property.
    static HRESULT putByName(IDispatch* object, const wchar_t* name, VARIANT value)
    {
        return drawing::invoke(object, name, DISPATCH_PROPERTYPUT, {&value});
    }
    static std::wstring textOf(IVeltAttributeReference* a, HRESULT (STDMETHODCALLTYPE IVeltAttributeReference::*get)(BSTR*))
    {
        BSTR s = nullptr;
        EXPECT_EQ((a->*get)(&s), S_OK);
        std::wstring out = s ? s : L"";
        SysFreeString(s);
        return out;
    }
};

bool closeTo(const VxGePoint3d& a, const VxGePoint3d& b) { return a.distanceTo(b) < 1e-9; }


}  // namespace

// The alignment splits into the two modes and moves the one point the new mode does not use,
// so the text stays where it was; values outside the enumeration change nothing.
TEST_F(Texts, AlignmentKeepsTheTextInPlace)
{
    ComPtr<IVeltText> text = addText(L"Room 12", {10, 20, 0});
    ComPtr<IDispatch> script = text.as<IDispatch>();

    ASSERT_EQ(putByName(script.get(), L"Alignment", *number(vxAlignmentMiddleRight)), S_OK);
    VxHorizontalAlignment h;
    VxVerticalAlignment v;
    ASSERT_EQ(text->get_HorizontalAlignment(&h), S_OK);
    ASSERT_EQ(text->get_VerticalAlignment(&v), S_OK);
    EXPECT_EQ(h, vxHorizontalAlignmentRight);
    EXPECT_EQ(v, vxVerticalAlignmentMiddle);
    // From left on the baseline, the alignment point takes the insertion point.
    EXPECT_TRUE(closeTo(pointOf(text.get(), &IVeltText::get_TextAlignmentPoint), {10, 20, 0}));

    for (LONG bad : {15L, -1L}) {
        EXPECT_EQ(putByName(script.get(), L"Alignment", *number(bad)), E_INVALIDARG);
        VxAlignment now;
        ASSERT_EQ(text->get_Alignment(&now), S_OK);
        EXPECT_EQ(now, vxAlignmentMiddleRight);
    }
    // The host's refusal, as the script sees it.
    EXPECT_TRUE(FAILED(putByName(script.get(), L"Height", *real(std::numeric_limits<double>::quiet_NaN()))));
    double height = 0;
    ASSERT_EQ(text->get_Height(&height), S_OK);
    EXPECT_EQ(height, 2.0);

    // A fit text goes back to left: the alignment point takes the position, not the reverse.
    Value start = point(1, 1, 0), end = point(9, 1, 0);
    ASSERT_EQ(text->put_Alignment(vxAlignmentFit), S_OK);
    ASSERT_EQ(text->put_InsertionPoint(*start), S_OK);
    ASSERT_EQ(text->put_TextAlignmentPoint(*end), S_OK);
    ASSERT_EQ(text->put_Alignment(vxAlignmentLeft), S_OK);
    EXPECT_TRUE(closeTo(pointOf(text.get(), &IVeltText::get_InsertionPoint), {1, 1, 0}));
    EXPECT_TRUE(closeTo(pointOf(text.get(), &IVeltText::get_TextAlignmentPoint), {1, 1, 0}));
}

// Aligned and fit need no annotative text; a line is no text for the shared members; a style
// the drawing lacks is refused.
TEST_F(Texts, RefusalsChangeNothing)
{
    ComPtr<IVeltText> text = addText(L"A", {0, 0, 0});
    const kx::VxDbObjectId id = idOf(text.get());
    {
        kx::VxDbObjectPointer<kx::VxDbText> t(id, kx::VxDb::kForWrite);
        ASSERT_TRUE(t);
        kx::vxdbRegApp(L"AcadAnnotative", db.get());
        kx::VxResBufPtr data = kx::vxutChain({kx::vxutNewString(1001, L"AcadAnnotative"),
                                              kx::vxutNewString(1000, L"AnnotativeData"), kx::vxutNewString(1002, L"{"),
                                              kx::vxutNewInt16(1070, 1), kx::vxutNewInt16(1070, 1),
                                              kx::vxutNewString(1002, L"}")});
        ASSERT_EQ(t->setXData(data.get()), kx::Velt::eOk);
    }
    EXPECT_EQ(text->put_Alignment(vxAlignmentFit), E_INVALIDARG);
    EXPECT_EQ(text->put_Alignment(vxAlignmentAligned), E_INVALIDARG);
    VxAlignment now;
    ASSERT_EQ(text->get_Alignment(&now), S_OK);
    EXPECT_EQ(now, vxAlignmentLeft);
    EXPECT_EQ(text->put_Alignment(vxAlignmentCenter), S_OK);

    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    VxAxObjectRef lineRef(idOf(line.get()));
    EXPECT_EQ(nk::texts::setAlignment(lineRef, vxAlignmentCenter), E_POINTER);
    BSTR style = nullptr;
    EXPECT_EQ(nk::texts::styleName(lineRef, &style), E_POINTER);
    EXPECT_EQ(style, nullptr);

    BSTR missing = SysAllocString(L"No such style");
    EXPECT_TRUE(FAILED(text->put_StyleName(missing)));
    SysFreeString(missing);
    ASSERT_EQ(text->get_StyleName(&style), S_OK);
    EXPECT_STREQ(style, L"Standard");
    SysFreeString(style);
}

// New texts take the current style's width, slant and mirroring; a multiline text takes the
// drawing's text size when its style has no height.
TEST_F(Texts, FactoriesFollowTheCurrentStyle)
{
    {
        kx::VxDbObjectPointer<kx::VxDbTextStyleTableRecord> style(db->textstyle(), kx::VxDb::kForWrite);
        ASSERT_TRUE(style);
        ASSERT_EQ(style->setXScale(0.75), kx::Velt::eOk);
        ASSERT_EQ(style->setObliquingAngle(0.25), kx::Velt::eOk);
        ASSERT_EQ(style->setFlagBits(kx::VxDbTextStyleTableRecord::kBackward), kx::Velt::eOk);
        ASSERT_EQ(style->setTextSize(0.0), kx::Velt::eOk);
    }
    ASSERT_EQ(db->setTextsize(3.5), kx::Velt::eOk);
    ComPtr<IVeltText> text = addText(L"B", {0, 0, 0});
    double factor = 0, oblique = 0;
    VARIANT_BOOL backward = VARIANT_FALSE, upsideDown = VARIANT_TRUE;
    ASSERT_EQ(text->get_ScaleFactor(&factor), S_OK);
    ASSERT_EQ(text->get_ObliqueAngle(&oblique), S_OK);
    ASSERT_EQ(text->get_Backward(&backward), S_OK);
    ASSERT_EQ(text->get_UpsideDown(&upsideDown), S_OK);
    EXPECT_EQ(factor, 0.75);
    EXPECT_NEAR(oblique, 0.25, 1e-12);
    EXPECT_EQ(backward, VARIANT_TRUE);
    EXPECT_EQ(upsideDown, VARIANT_FALSE);

    ComPtr<IVeltMText> mtext;
    Value at = point(0, 0, 0);
    BSTR contents = SysAllocString(L"{\\fArial;Line one}\\PLine two");
    ASSERT_EQ(modelSpace()->AddMText(*at, 20.0, contents, mtext.put()), S_OK);
    SysFreeString(contents);
    double height = 0;
    ASSERT_EQ(mtext->get_Height(&height), S_OK);
    EXPECT_EQ(height, 3.5);
    BSTR back = nullptr;
    ASSERT_EQ(mtext->get_TextString(&back), S_OK);
    EXPECT_STREQ(back, L"{\\fArial;Line one}\\PLine two");  // the format codes stay
    SysFreeString(back);
    kx::VxDbObjectPointer<kx::VxDbMText> host(idOf(mtext.get()), kx::VxDb::kForRead);
    ASSERT_TRUE(host);
    EXPECT_EQ(host->plainText(), L"Line one\nLine two");

    // A refused height adds nothing.
    LONG before = 0, after = 0;
    modelSpace()->get_Count(&before);
    ComPtr<IVeltText> none;
    BSTR s = SysAllocString(L"C");
    EXPECT_EQ(modelSpace()->AddText(s, *at, -1.0, none.put()), E_INVALIDARG);
    SysFreeString(s);
    modelSpace()->get_Count(&after);
    EXPECT_EQ(after, before);
}

// A multiline attribute definition as a script drives it: made from the text, its content,
// width and direction; the alignment names the corner its text hangs from; a single-line
// attribute refuses what only a multiline one has, and reads it as empty.
TEST_F(Texts, MultilineAttributesKeepTheirText)
{
    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(addBlock(L"NOTE"));
    ComPtr<IVeltAttribute> definition;
    Value at = point(1, 2, 0);
    BSTR tag = SysAllocString(L"REMARK"), value = SysAllocString(L"none"), prompt = SysAllocString(L"?");
    ASSERT_EQ(block->AddAttribute(2.5, vxAttributeModeNormal, prompt, *at, tag, value, definition.put()), S_OK);
    SysFreeString(tag), SysFreeString(value), SysFreeString(prompt);
    IDispatch* script = definition.as<IDispatch>().get();

    EXPECT_TRUE(FAILED(putByName(script, L"MTextBoundaryWidth", *real(10.0))));
    double width = -1;
    ASSERT_EQ(definition->get_MTextBoundaryWidth(&width), S_OK);
    EXPECT_EQ(width, 0.0);

    ASSERT_EQ(putByName(script, L"MTextAttribute", *drawing::flag(true)), S_OK);
    ASSERT_EQ(putByName(script, L"MTextAttributeContent", *drawing::text(L"Fire door\\PEI 30")), S_OK);
    ASSERT_EQ(putByName(script, L"MTextBoundaryWidth", *real(10.0)), S_OK);
    EXPECT_TRUE(FAILED(putByName(script, L"MTextBoundaryWidth", *real(-1.0))));
    ASSERT_EQ(putByName(script, L"MTextDrawingDirection", *number(vxTopToBottom)), S_OK);
    ASSERT_EQ(putByName(script, L"Alignment", *number(vxAlignmentTopLeft)), S_OK);
    ASSERT_EQ(definition->get_MTextBoundaryWidth(&width), S_OK);
    EXPECT_EQ(width, 10.0);
    BSTR line = nullptr;
    ASSERT_EQ(definition->get_TextString(&line), S_OK);
    EXPECT_STREQ(line, L"Fire door");
    SysFreeString(line);

    kx::VxDbObjectPointer<kx::VxDbAttributeDefinition> host(idOf(definition.get()));
    ASSERT_EQ(host.openStatus(), kx::Velt::eOk);
    EXPECT_EQ(host->mtextAttachment(), 1);  // top left
    EXPECT_EQ(host->mtextDrawingDirection(), 3);
    EXPECT_EQ(host->mtextContents(), L"Fire door\\PEI 30");
    host.close();

    // Back to one line: the first line of its plain text.
    ASSERT_EQ(putByName(script, L"MTextAttribute", *drawing::flag(false)), S_OK);
    VARIANT_BOOL multiline = VARIANT_TRUE;
    ASSERT_EQ(definition->get_MTextAttribute(&multiline), S_OK);
    EXPECT_EQ(multiline, VARIANT_FALSE);
    ASSERT_EQ(definition->UpdateMTextAttribute(), S_OK);
}

// A block of three attribute definitions, one constant: an insertion gets the two others as
// attributes with their defaults; one changed is saved under its tag.
TEST_F(Texts, InsertedBlocksGetTheirAttributes)
{
    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(addBlock(L"TITLE"));
    struct Definition {
        const wchar_t* tag;
        const wchar_t* value;
        VxAttributeMode mode;
        double y;
    };
    for (const Definition& d : {Definition{L"PROJECT", L"Unnamed", vxAttributeModeNormal, 0},
                                Definition{L"DRAWN", L"nobody", vxAttributeModePreset, 3},
                                Definition{L"COMPANY", L"NkAuto Works", vxAttributeModeConstant, 6}}) {
        ComPtr<IVeltAttribute> definition;
        Value at = point(1, d.y, 0);
        BSTR tag = SysAllocString(d.tag), value = SysAllocString(d.value), prompt = SysAllocString(L"?");
        ASSERT_EQ(block->AddAttribute(2.5, d.mode, prompt, *at, tag, value, definition.put()), S_OK);
        SysFreeString(tag), SysFreeString(value), SysFreeString(prompt);
    }
    ComPtr<IVeltBlockReference> reference;
    Value at = point(100, 50, 0);
    BSTR name = SysAllocString(L"TITLE");
    Value password;
    ASSERT_EQ(modelSpace()->InsertBlock(*at, name, 2.0, 2.0, 2.0, 0.0, *password, reference.put()), S_OK);
    SysFreeString(name);

    Value attributes, constants;
    ASSERT_EQ(reference->GetAttributes(attributes.get()), S_OK);
    ASSERT_EQ(reference->GetConstantAttributes(constants.get()), S_OK);
    ASSERT_EQ(attributes.type(), VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(V_ARRAY(attributes.get())->rgsabound[0].cElements, 2u);
    ASSERT_EQ(V_ARRAY(constants.get())->rgsabound[0].cElements, 1u);
    VARIANT_BOOL has = VARIANT_FALSE;
    ASSERT_EQ(reference->get_HasAttributes(&has), S_OK);
    EXPECT_EQ(has, VARIANT_TRUE);

    VARIANT* items = nullptr;
    ASSERT_EQ(SafeArrayAccessData(V_ARRAY(attributes.get()), reinterpret_cast<void**>(&items)), S_OK);
    ComPtr<IVeltAttributeReference> project, drawn;
    ASSERT_EQ(V_VT(&items[0]), VT_DISPATCH);
    V_DISPATCH(&items[0])->QueryInterface(__uuidof(IVeltAttributeReference), reinterpret_cast<void**>(project.put()));
    V_DISPATCH(&items[1])->QueryInterface(__uuidof(IVeltAttributeReference), reinterpret_cast<void**>(drawn.put()));
    SafeArrayUnaccessData(V_ARRAY(attributes.get()));
    ASSERT_TRUE(project && drawn);
    EXPECT_EQ(textOf(project.get(), &IVeltAttributeReference::get_TagString), L"PROJECT");
    EXPECT_EQ(textOf(project.get(), &IVeltAttributeReference::get_TextString), L"Unnamed");
    EXPECT_EQ(textOf(drawn.get(), &IVeltAttributeReference::get_TextString), L"nobody");
    // Where the block puts the definition: scaled by two from the insertion point.
    EXPECT_TRUE(closeTo(pointOf(drawn.get(), &IVeltAttributeReference::get_InsertionPoint), {102, 56, 0}));
    double height = 0;
    ASSERT_EQ(drawn->get_Height(&height), S_OK);
    EXPECT_EQ(height, 5.0);

    Value value = drawing::text(L"Harbour Office");
    ASSERT_EQ(putByName(project.as<IDispatch>().get(), L"TextString", *value), S_OK);

    // Saved for ezdxf: the new value under its tag, the constant one left in the block.
    char handle[24];
    std::snprintf(handle, sizeof(handle), "%llX", static_cast<unsigned long long>(idOf(project.get()).handle().value()));
    const std::string facts = std::string("BLOCK\tTITLE\t3\nENTITY\t") + handle +
                              "\tATTRIB\t0\t256\ttag=PROJECT;text=Harbour Office;insert=102,50,0;height=5\n";
    drawing::saveForFileCheck(db.get(), "titleblock", facts);
}

// A tolerance reads its style until it has values of its own; refused values leave it as it
// was, and its own values are there after the drawing is saved and read again.
TEST_F(Texts, ToleranceOverridesItsDimensionStyle)
{
    ComPtr<IVeltTolerance> frame;
    Value at = point(1, 2, 0), along = point(1, 0, 0);
    BSTR code = SysAllocString(L"{\\Fgdt;j}%%v0.1");
    ASSERT_EQ(modelSpace()->AddTolerance(code, *at, *along, frame.put()), S_OK);
    SysFreeString(code);
    double height = 0, scale = 0;
    ASSERT_EQ(frame->get_TextHeight(&height), S_OK);
    EXPECT_DOUBLE_EQ(height, 0.18);  // Standard's
    ASSERT_EQ(frame->put_TextHeight(0.35), S_OK);
    ASSERT_EQ(frame->put_ScaleFactor(2.0), S_OK);
    ASSERT_EQ(frame->put_TextColor(vxRed), S_OK);
    ASSERT_EQ(frame->put_DimensionLineColor(vxBlue), S_OK);
    // Refused: the member's error, nothing changed.
    EXPECT_TRUE(FAILED(frame->put_TextHeight(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_TRUE(FAILED(frame->put_TextHeight(0.0)));
    EXPECT_TRUE(FAILED(frame->put_ScaleFactor(-1.0)));
    EXPECT_EQ(frame->put_TextColor(static_cast<VxColor>(257)), E_INVALIDARG);
    EXPECT_EQ(putByName(frame.get(), L"DimensionLineColor", *number(-1)), E_INVALIDARG);
    BSTR missing = SysAllocString(L"No such style");
    EXPECT_TRUE(FAILED(frame->put_TextStyle(missing)));
    SysFreeString(missing);
    ASSERT_EQ(frame->get_TextHeight(&height), S_OK);
    ASSERT_EQ(frame->get_ScaleFactor(&scale), S_OK);
    EXPECT_DOUBLE_EQ(height, 0.35);
    EXPECT_DOUBLE_EQ(scale, 2.0);
    VxColor text = vxByBlock, lines = vxByBlock;
    ASSERT_EQ(frame->get_TextColor(&text), S_OK);
    ASSERT_EQ(frame->get_DimensionLineColor(&lines), S_OK);
    EXPECT_EQ(text, vxRed);
    EXPECT_EQ(lines, vxBlue);
    BSTR style = nullptr;
    ASSERT_EQ(frame->get_TextStyle(&style), S_OK);
    EXPECT_STREQ(style, L"Standard");
    SysFreeString(style);

    std::string file;
    ASSERT_EQ(kx::vxdbWriteDxf(db.get(), file), kx::Velt::eOk);
    std::unique_ptr<kx::VxDbDatabase> back(new kx::VxDbDatabase(false));
    ASSERT_EQ(kx::vxdbReadDxf(back.get(), file), kx::Velt::eOk);
    kx::VxDbObjectId again;
    ASSERT_EQ(back->getVxDbObjectId(again, false, idOf(frame.get()).handle()), kx::Velt::eOk);
    kx::VxDbObjectPointer<kx::VxDbFcf> read(again, kx::VxDb::kForRead);
    ASSERT_TRUE(read);
    EXPECT_DOUBLE_EQ(read->textHeight(), 0.35);
    EXPECT_EQ(read->textColor(), 1);
    EXPECT_EQ(read->dimensionLineColor(), 5);
}

// Text along an arc follows the arc it is given; anything that is no arc of the drawing, and
// an alignment it does not have, are refused and change nothing.
TEST_F(Texts, ArcTextTakesItsArc)
{
    ComPtr<IDispatch> made;
    BSTR kind = SysAllocString(L"KxDbArcAlignedText");
    ASSERT_EQ(modelSpace()->AddCustomObject(kind, made.put()), S_OK);
    SysFreeString(kind);
    ComPtr<IArcTextObj> text = made.as<IArcTextObj>();
    ASSERT_TRUE(text);
    ComPtr<IVeltArc> none;
    ASSERT_EQ(text->get_Arc(none.put()), S_OK);
    EXPECT_FALSE(none);

    ComPtr<IVeltArc> arc;
    Value center = point(5, 5, 0);
    ASSERT_EQ(modelSpace()->AddArc(*center, 3.0, 0.0, 3.0, arc.put()), S_OK);
    ASSERT_EQ(text->putref_Arc(arc.get()), S_OK);
    ComPtr<IVeltArc> back;
    ASSERT_EQ(text->get_Arc(back.put()), S_OK);
    ASSERT_TRUE(back);
    EXPECT_EQ(idOf(back.get()), idOf(arc.get()));

    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(text->putref_Arc(reinterpret_cast<IVeltArc*>(line.get())), E_INVALIDARG);
    EXPECT_EQ(text->putref_Arc(nullptr), E_INVALIDARG);
    ASSERT_EQ(text->get_Arc(back.put()), S_OK);
    EXPECT_EQ(idOf(back.get()), idOf(arc.get()));

    ASSERT_EQ(text->put_Alignment(vxCenterAlignment), S_OK);
    EXPECT_EQ(text->put_Alignment(static_cast<VxTextAlignmentType>(3)), E_INVALIDARG);
    VxTextAlignmentType alignment = vxLeftAlignment;
    ASSERT_EQ(text->get_Alignment(&alignment), S_OK);
    EXPECT_EQ(alignment, vxCenterAlignment);
    EXPECT_TRUE(FAILED(text->put_TextHeight(-1.0)));
    BSTR style = SysAllocString(L"Standard"), missing = SysAllocString(L"No such style");
    ASSERT_EQ(text->put_TextStyleName(style), S_OK);
    EXPECT_TRUE(FAILED(text->put_TextStyleName(missing)));
    SysFreeString(style);
    SysFreeString(missing);
    BSTR name = nullptr;
    ASSERT_EQ(text->get_TextStyleName(&name), S_OK);
    EXPECT_STREQ(name, L"Standard");
    SysFreeString(name);

    // Erased, the arc is gone; the text stays.
    ASSERT_EQ(arc->Delete(), S_OK);
    ASSERT_EQ(text->get_Arc(back.put()), S_OK);
    EXPECT_FALSE(back);
}

// No reference of the host hands out a dynamic-block property; one made otherwise answers as
// the property of a static block.
TEST_F(Texts, DynamicBlockPropertyOfAStaticBlock)
{
    ComPtr<IVeltDynamicBlockReferenceProperty> property;
    ASSERT_EQ(nk::createInstance(CLSID_VeltDynamicBlockReferenceProperty, __uuidof(IVeltDynamicBlockReferenceProperty),
                                 property.putVoid()),
              S_OK);
    VARIANT_BOOL readOnly = VARIANT_FALSE, show = VARIANT_TRUE;
    ASSERT_EQ(property->get_ReadOnly(&readOnly), S_OK);
    ASSERT_EQ(property->get_Show(&show), S_OK);
    EXPECT_EQ(readOnly, VARIANT_TRUE);
    EXPECT_EQ(show, VARIANT_FALSE);
    Value values, value;
    ASSERT_EQ(property->get_AllowedValues(values.get()), S_OK);
    EXPECT_EQ(values.type(), VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(property->get_Value(value.get()), S_OK);
    EXPECT_EQ(value.type(), VT_EMPTY);
    EXPECT_TRUE(FAILED(property->put_Value(*real(1.0))));
    VxDynamicBlockReferencePropertyUnitsType units = vxArea;
    ASSERT_EQ(property->get_UnitsType(&units), S_OK);
    EXPECT_EQ(units, vxNoUnits);
    Value name;
    ASSERT_EQ(drawing::invoke(property.get(), L"PropertyName", DISPATCH_PROPERTYGET, {}, &name), S_OK);
    EXPECT_EQ(name.type(), VT_BSTR);
}
