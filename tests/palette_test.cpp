// The Properties palette's helpers against tables made here, and the generated tables of
// every wrapper class with palette support walked against the type library.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/binding.h"
#include "core/lookup.h"
#include "drawing_fixture.h"
#include "frame/class_table.h"
#include "frame/com.h"
#include "frame/module.h"
#include "frame/unknown.h"
#include "kxauto.h"
#include "opm/extensions.h"
#include "opm/helpers.h"
#include "opm/palette.h"
#include "palette_gen.h"
#include "strings.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

constexpr UINT kMissingText = 9999;  // no string of the resource library has this id
constexpr CLSID kSomePage = {0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};

// The id of the line-weight names the generated tables use: a real ";" list.
uint32_t lineweightNamesId()
{
    for (const VELT_OPMPROPMAP_ENTRY* row = nk::palette::kVeltLine.map; row->propertyPage; ++row)
        if (row->dispid == 1300) return row->predefinedStringsId;
    return 0;
}

VELT_OPMPROPMAP_ENTRY row(uint32_t name, DISPID dispid, int32_t category, uint32_t categoryName, uint32_t strings,
                          const wchar_t* values, uint8_t editable, const CLSID* page = &GUID_NULL,
                          const wchar_t* shown = L"")
{
    return {name, dispid, category, categoryName, 0, strings, values, 0, editable, &GUID_NULL, page, &IID_IDispatch,
            shown};
}

// A small object that stands for the one asked about.
class Plain final : public nk::SingleInterfaceObject<IUnknown> {};

class PaletteHelpers : public ::testing::Test {
protected:
    void SetUp() override
    {
        map = {
            row(IDS_ENTITY_LIGHT, 1, -9, IDS_ENTITY_LIGHT, lineweightNamesId(), L"1.5;2;Top;;0.1;-;", 1, &GUID_NULL,
                L"shown"),
            row(0, 2, 5, 0, 0, L"0;1;2;3", 0),
            row(kMissingText, 3, 7, kMissingText, kMissingText, L"", 1),
            row(IDS_ENTITY_LIGHT, 4, -12, IDS_ENTITY_LIGHT, 0, nullptr, 0, &kSomePage),
            row(IDS_ENTITY_LIGHT, 1301, -12, IDS_ENTITY_LIGHT, 0, L"", 0, &kSomePage),
            {},
        };
        object = ComPtr<IUnknown>(new Plain);
        texts = nk::Module::resourceInstance();
        ASSERT_NE(texts, nullptr);
    }

    std::vector<VELT_OPMPROPMAP_ENTRY> map;
    ComPtr<IUnknown> object;
    HINSTANCE texts = nullptr;
};

TEST_F(PaletteHelpers, APropertyNotInTheMapHasNoAnswers)
{
    const VELT_OPMPROPMAP_ENTRY empty[] = {{}};
    for (const VELT_OPMPROPMAP_ENTRY* m : {static_cast<const VELT_OPMPROPMAP_ENTRY*>(map.data()), &empty[0]}) {
        Bstr name(L"x");
        EXPECT_EQ(VxOpmGetDisplayName(object.get(), texts, m, 77, name.put()), S_FALSE);
        EXPECT_EQ(name.get(), nullptr);
        LONG category = 0;
        EXPECT_EQ(VxOpmMapPropertyToCategory(object.get(), m, 77, &category), S_OK);
        EXPECT_EQ(category, -12);
        CLSID page;
        EXPECT_EQ(VxOpmMapPropertyToPage(object.get(), m, 77, &page), E_NOTIMPL);
        CALPOLESTR strings{};
        CADWORD cookies{};
        EXPECT_EQ(VxOpmGetPredefinedStrings(object.get(), texts, m, 77, &strings, &cookies), E_NOTIMPL);
        Variant value;
        EXPECT_EQ(VxOpmGetPredefinedValue(object.get(), m, 77, 0, value.get()), E_NOTIMPL);
        Bstr shown;
        EXPECT_EQ(VxOpmGetDisplayString(object.get(), m, 77, shown.put()), E_NOTIMPL);
        BOOL editable = TRUE;
        EXPECT_EQ(VxOpmEditable(object.get(), m, 77, &editable), E_NOTIMPL);
    }
}

TEST_F(PaletteHelpers, NamesAndCategoriesFailDifferentlyWhenTheirTextIsMissing)
{
    Bstr name;
    EXPECT_EQ(VxOpmGetDisplayName(object.get(), texts, map.data(), 1, name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Light");
    EXPECT_EQ(VxOpmGetDisplayName(object.get(), texts, map.data(), 2, name.put()), S_FALSE);
    EXPECT_EQ(VxOpmGetDisplayName(object.get(), texts, map.data(), 3, name.put()), E_FAIL);

    // A category is found by its id, not by a DISPID.
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, map.data(), -9, 0, name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Light");
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, map.data(), 5, 0, name.put()), S_FALSE);
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, map.data(), 1, 0, name.put()), S_FALSE);
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, map.data(), 7, 0, name.put()), E_UNEXPECTED);
    EXPECT_EQ(name.get(), nullptr);

    const OpmCategories categories = {{5, IDS_ENTITY_LIGHT, 0, -9, 998}, {7, kMissingText, kMissingText, 0, 1}};
    LONG n = 0;
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, categories, 5, 0, name.put()), S_OK);
    EXPECT_EQ(VxOpmGetCategoryDescription(object.get(), texts, categories, 5, 0, name.put()), S_FALSE);
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, categories, 7, 0, name.put()), E_UNEXPECTED);
    EXPECT_EQ(VxOpmGetCategoryDescription(object.get(), texts, categories, 7, 0, name.put()), E_UNEXPECTED);
    EXPECT_EQ(VxOpmGetCategoryName(object.get(), texts, categories, -9, 0, name.put()), E_FAIL);
    EXPECT_EQ(VxOpmGetCategoryWeight(object.get(), categories, 5, &n), S_OK);
    EXPECT_EQ(n, 998);
    EXPECT_EQ(VxOpmGetParentCategory(object.get(), categories, 5, &n), S_OK);
    EXPECT_EQ(n, -9);
    EXPECT_EQ(VxOpmGetParentCategory(object.get(), categories, 6, &n), E_FAIL);
    EXPECT_EQ(VxOpmGetCategoryWeight(object.get(), categories, 5, nullptr), E_POINTER);
}

TEST_F(PaletteHelpers, PredefinedValuesAreTextWholeNumbersOrSinglePrecisionReals)
{
    Variant v;
    ASSERT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 1, 0, v.get()), S_OK);
    EXPECT_EQ(v.type(), VT_R8);
    EXPECT_EQ(V_R8(v.get()), 1.5);
    ASSERT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 1, 1, v.get()), S_OK);
    EXPECT_EQ(v.type(), VT_I4);
    EXPECT_EQ(V_I4(v.get()), 2);
    ASSERT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 1, 2, v.get()), S_OK);
    EXPECT_EQ(v.type(), VT_BSTR);
    EXPECT_STREQ(V_BSTR(v.get()), L"Top");
    // ";;" makes no item of its own.
    ASSERT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 1, 3, v.get()), S_OK);
    EXPECT_EQ(v.type(), VT_R8);
    EXPECT_EQ(V_R8(v.get()), static_cast<double>(0.1f));
    EXPECT_NE(V_R8(v.get()), 0.1);
    EXPECT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 1, 4, v.get()), E_FAIL);

    ASSERT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 2, 5, v.get()), S_OK);
    EXPECT_EQ(v.type(), VT_EMPTY);
    EXPECT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 3, 0, v.get()), E_NOTIMPL);  // ""
    EXPECT_EQ(VxOpmGetPredefinedValue(object.get(), map.data(), 4, 0, v.get()), E_NOTIMPL);  // null
    EXPECT_EQ(VxOpmGetPredefinedValue(nullptr, map.data(), 1, 0, v.get()), E_POINTER);
    EXPECT_EQ(VxOpmGetPredefinedValue(object.get(), nullptr, 1, 0, v.get()), E_POINTER);
}

TEST_F(PaletteHelpers, PredefinedStringsComeWithCookiesInOrder)
{
    CALPOLESTR strings{};
    CADWORD cookies{};
    ASSERT_EQ(VxOpmGetPredefinedStrings(object.get(), texts, map.data(), 1, &strings, &cookies), S_OK);
    ASSERT_EQ(strings.cElems, 27u);
    ASSERT_EQ(cookies.cElems, 27u);
    EXPECT_STREQ(strings.pElems[0], L"ByLayer");
    EXPECT_STREQ(strings.pElems[26], L"2.11 mm");
    for (ULONG i = 0; i < strings.cElems; ++i) {
        EXPECT_EQ(cookies.pElems[i], i);
        SysFreeString(strings.pElems[i]);
    }
    CoTaskMemFree(strings.pElems);
    CoTaskMemFree(cookies.pElems);

    EXPECT_EQ(VxOpmGetPredefinedStrings(object.get(), texts, map.data(), 2, &strings, &cookies), E_UNEXPECTED);
    EXPECT_EQ(VxOpmGetPredefinedStrings(object.get(), texts, map.data(), 3, &strings, &cookies), E_UNEXPECTED);
    EXPECT_EQ(VxOpmGetPredefinedStrings(object.get(), texts, map.data(), 1, nullptr, &cookies), E_POINTER);
    EXPECT_EQ(VxOpmGetPredefinedStrings(nullptr, texts, map.data(), 1, &strings, &cookies), E_POINTER);
}

TEST_F(PaletteHelpers, PagesDisplayStringsAndEditing)
{
    CLSID page = GUID_NULL;
    EXPECT_EQ(VxOpmMapPropertyToPage(object.get(), map.data(), 1, &page), E_NOTIMPL);
    ASSERT_EQ(VxOpmMapPropertyToPage(object.get(), map.data(), 4, &page), S_OK);
    EXPECT_EQ(page, kSomePage);
    // The hyperlinks always have the palette's page, whatever the map says, even without one.
    ASSERT_EQ(VxOpmMapPropertyToPage(object.get(), map.data(), kDispidHyperlinks, &page), S_OK);
    EXPECT_EQ(page, kHyperlinkPropertyPage);
    ASSERT_EQ(VxOpmMapPropertyToPage(object.get(), nullptr, kDispidHyperlinks, &page), S_OK);

    Bstr shown;
    ASSERT_EQ(VxOpmGetDisplayString(object.get(), map.data(), 1, shown.put()), S_OK);
    EXPECT_STREQ(shown.c_str(), L"shown");
    EXPECT_EQ(VxOpmGetDisplayString(object.get(), map.data(), 2, shown.put()), E_NOTIMPL);
    // An object that is no entity has no hyperlinks to show.
    EXPECT_EQ(VxOpmGetDisplayString(object.get(), map.data(), kDispidHyperlinks, shown.put()), E_FAIL);

    BOOL editable = FALSE;
    ASSERT_EQ(VxOpmEditable(object.get(), map.data(), 1, &editable), S_OK);
    EXPECT_EQ(editable, TRUE);
    ASSERT_EQ(VxOpmEditable(object.get(), map.data(), 2, &editable), S_OK);
    EXPECT_EQ(editable, FALSE);
}

TEST_F(PaletteHelpers, DisplayRowsAreFoundByAWholeNumber)
{
    constexpr uint32_t kCheckBitmap = 32760;  // a bitmap of the system's own
    const OpmDisplays displays = {
        {7, L"NkPropEditCtrls.VxPePropertyEditorBool.21", nullptr, 0, {}, 0x00ff00, 1, 3, 997, 0},
        {8, L"NkPropEditCtrls.VxPePropertyEditorText.21", MAKEINTRESOURCEW(kCheckBitmap), kOpmIconBitmap, {}, 0, 0, 1, 0, 0},
        {7, L"second", nullptr, 0, {}, 0, 0, 1, 0, 0},
    };
    drawing::Value seven = drawing::number(7), eight = drawing::number(8), missing = drawing::number(9);
    drawing::Value text = drawing::text(L"7");

    Bstr progId;
    ASSERT_EQ(VxOpmGetCustomPropertyCtrl(object.get(), displays, *seven, 0, progId.put()), S_OK);
    EXPECT_STREQ(progId.c_str(), L"NkPropEditCtrls.VxPePropertyEditorBool.21");
    EXPECT_EQ(VxOpmGetCustomPropertyCtrl(object.get(), displays, *missing, 0, progId.put()), E_FAIL);
    EXPECT_EQ(VxOpmGetCustomPropertyCtrl(object.get(), displays, *text, 0, progId.put()), E_FAIL);

    LONG weight = 0;
    ASSERT_EQ(VxOpmGetPropertyWeight(object.get(), displays, *seven, &weight), S_OK);
    EXPECT_EQ(weight, 997);
    OLE_COLOR color = 0;
    ASSERT_EQ(VxOpmGetPropTextColor(object.get(), displays, *seven, &color), S_OK);
    EXPECT_EQ(color, 0x00ff00u);
    VARIANT_BOOL full = 0;
    DWORD height = 0;
    ASSERT_EQ(VxOpmIsPropFullView(object.get(), displays, *seven, &full, &height), S_OK);
    EXPECT_EQ(full, VARIANT_TRUE);
    EXPECT_EQ(height, 3u);
    ASSERT_EQ(VxOpmIsPropFullView(object.get(), displays, *eight, &full, &height), S_OK);
    EXPECT_EQ(full, VARIANT_FALSE);
    EXPECT_EQ(VxOpmIsPropFullView(object.get(), displays, *seven, &full, nullptr), E_POINTER);

    ComPtr<IUnknown> icon;
    EXPECT_EQ(VxOpmGetPropertyIcon(object.get(), nullptr, displays, *seven, icon.put()), E_FAIL);
    ASSERT_EQ(VxOpmGetPropertyIcon(object.get(), nullptr, displays, *eight, icon.put()), S_OK);
    ComPtr<IPicture> picture = icon.as<IPicture>();
    ASSERT_TRUE(picture);
    SHORT type = 0;
    EXPECT_EQ(picture->get_Type(&type), S_OK);
    EXPECT_EQ(type, PICTYPE_BITMAP);
}

std::vector<std::wstring> gExecuted;
void recordArgument(VARIANT argument)
{
    gExecuted.push_back(V_VT(&argument) == VT_BSTR ? V_BSTR(&argument) : L"?");
    // The button keeps what it passed: the action may change its copy freely.
    V_VT(&argument) = VT_EMPTY;
}

TEST_F(PaletteHelpers, CommandButtonsAreNewObjectsOverTheirRows)
{
    Variant none;
    ASSERT_EQ(VxOpmGetCommandButtons(object.get(), texts, OpmButtons{}, none.get()), S_OK);
    ASSERT_EQ(none.type(), VT_ARRAY | VT_UNKNOWN);
    EXPECT_EQ(V_ARRAY(none.get())->rgsabound[0].cElements, 0u);

    const OpmButtons buttons = {
        {IDS_ENTITY_LIGHT, 0, nullptr, 0, {}, 1, recordArgument},
        {kMissingText, IDS_ENTITY_PROXY, nullptr, 0, {}, 0, nullptr},
    };
    Variant made;
    ASSERT_EQ(VxOpmGetCommandButtons(object.get(), texts, buttons, made.get()), S_OK);
    ASSERT_EQ(made.type(), VT_ARRAY | VT_UNKNOWN);
    ASSERT_EQ(V_ARRAY(made.get())->rgsabound[0].cElements, 2u);
    ComPtr<IUnknown> items[2];
    for (LONG i = 0; i < 2; ++i) ASSERT_EQ(SafeArrayGetElement(V_ARRAY(made.get()), &i, items[i].put()), S_OK);
    auto first = items[0].as<IVxPiCommandButton>(), second = items[1].as<IVxPiCommandButton>();
    ASSERT_TRUE(first && second);

    Bstr name;
    ASSERT_EQ(first->get_Name(name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Light");
    EXPECT_EQ(second->get_Name(name.put()), E_FAIL);
    EXPECT_EQ(first->get_Description(name.put()), S_FALSE);
    ASSERT_EQ(second->get_Description(name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"Proxy Entity");
    DWORD style = 0;
    ASSERT_EQ(first->get_Style(&style), S_OK);
    EXPECT_EQ(style, 1u);

    VARIANT_BOOL flag = 0;
    ASSERT_EQ(first->get_Enabled(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_TRUE);
    ASSERT_EQ(first->get_Checked(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);
    ASSERT_EQ(first->put_Checked(VARIANT_TRUE), S_OK);
    ASSERT_EQ(first->get_Checked(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_TRUE);
    ASSERT_EQ(second->get_Checked(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);  // each button its own

    gExecuted.clear();
    drawing::Value argument = drawing::text(L"selection");
    EXPECT_EQ(first->Execute(*argument), S_OK);
    EXPECT_EQ(second->Execute(*argument), S_OK);
    ASSERT_EQ(gExecuted.size(), 1u);
    EXPECT_EQ(gExecuted[0], L"selection");
    EXPECT_STREQ(V_BSTR(argument.get()), L"selection");
}

// ---- the generated tables ----

// What a property's value is, as the type library describes its get.
struct Described {
    VARTYPE vt = VT_EMPTY;
    std::wstring typeName;  // of an enumeration or an interface
    bool settable = false;
};

void describeType(ITypeInfo* info, const TYPEDESC& desc, Described& out)
{
    if (desc.vt == VT_PTR) return describeType(info, *desc.lptdesc, out);
    if (desc.vt != VT_USERDEFINED) {
        out.vt = desc.vt;
        return;
    }
    ComPtr<ITypeInfo> named;
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetRefTypeInfo(desc.hreftype, named.put())) || FAILED(named->GetTypeAttr(&attr))) return;
    if (attr->typekind == TKIND_ALIAS) {
        const TYPEDESC aliased = attr->tdescAlias;
        describeType(named.get(), aliased, out);
    } else {
        Bstr name;
        named->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
        out.typeName = name.c_str();
        out.vt = attr->typekind == TKIND_ENUM ? VT_I4 : VT_UNKNOWN;
    }
    named->ReleaseTypeAttr(attr);
}

// Every property of an interface and its bases, by DISPID.
void describeProperties(ITypeInfo* info, std::map<DISPID, Described>& out)
{
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetTypeAttr(&attr))) return;
    const WORD funcs = attr->cFuncs, bases = attr->cImplTypes;
    info->ReleaseTypeAttr(attr);
    for (UINT i = 0; i < funcs; ++i) {
        FUNCDESC* fd = nullptr;
        if (FAILED(info->GetFuncDesc(i, &fd))) continue;
        if (fd->invkind == INVOKE_PROPERTYGET && fd->cParams == 1)
            describeType(info, fd->lprgelemdescParam[0].tdesc, out[fd->memid]);
        if (fd->invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) out[fd->memid].settable = true;
        info->ReleaseFuncDesc(fd);
    }
    for (UINT b = 0; b < bases; ++b) {
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> base;
        if (SUCCEEDED(info->GetRefTypeOfImplType(b, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, base.put())))
            describeProperties(base.get(), out);
    }
}

// Whether an editor can show and edit a value of this type.
bool editorFits(const std::wstring& progId, const Described& d)
{
    const std::wstring prefix = L"NkPropEditCtrls.VxPePropertyEditor", suffix = L".21";
    if (progId.rfind(prefix, 0) != 0 || progId.size() <= prefix.size() + suffix.size() ||
        progId.compare(progId.size() - suffix.size(), suffix.size(), suffix) != 0)
        return false;
    const std::wstring editor = progId.substr(prefix.size(), progId.size() - prefix.size() - suffix.size());
    const bool number = d.vt == VT_R8 || d.vt == VT_R4 || ((d.vt == VT_I4 || d.vt == VT_I2) && d.typeName.empty());
    if (editor == L"Bool") return d.vt == VT_BOOL;
    if (editor == L"Enum") return d.vt == VT_I4 || d.vt == VT_I2;
    if (editor == L"VELTNumeric" || editor == L"Numeric") return number;
    if (editor == L"Variant" || editor == L"NoPickVariant") return d.vt == VT_VARIANT;
    if (editor == L"Color") return d.typeName == L"IVeltVxCmColor" || d.typeName == L"VxColor";
    if (editor == L"LWeight") return d.typeName == L"VxLineWeight";
    if (editor == L"EllipsesHyperlinks") return d.typeName == L"IVeltHyperlinks";
    if (editor == L"DimArrowHead" || editor == L"MTextDir" || editor == L"HatchISOPenWidth" ||
        editor == L"GradientPattern" || editor == L"EllipsisHatchPatternType")
        return d.vt == VT_I4;
    return d.vt == VT_BSTR;  // Text and the editors of named things: layers, linetypes, styles
}

class PaletteTables : public ::testing::Test {
protected:
    static void SetUpTestSuite() { nk::initOpmPropertyExtension(); }
    static void TearDownTestSuite() { UninitOPMPropertyExtension(); }
};

TEST_F(PaletteTables, EveryRowNamesAPropertyOfItsClassWithANameACategoryAndAFittingEditor)
{
    const DISPID shared[] = {1281, 1282, 1283, 1299, 1300, 1301, 1302, 1024, 1401};
    for (size_t c = 0; c < nk::kPaletteClassCount; ++c) {
        const nk::PaletteClass& cls = nk::kPaletteClasses[c];
        SCOPED_TRACE(testing::Message() << "class " << std::string(cls.coclass, cls.coclass + wcslen(cls.coclass)));
        ComPtr<IUnknown> wrapper;
        ASSERT_EQ(nk::createInstance(*cls.clsid, IID_IUnknown, wrapper.putVoid()), S_OK);
        auto base = wrapper.as<IVeltOpmBaseObject>();
        auto extension = wrapper.as<IOPMPropertyExtension>();
        auto categories = wrapper.as<IVxPiCategorizeProperties>();
        auto display = wrapper.as<IVxPiPerPropertyDisplay>();
        auto browsing = wrapper.as<IPerPropertyBrowsing>();
        ASSERT_TRUE(base && extension && categories && display && browsing);

        ComPtr<ITypeInfo> info;
        ASSERT_EQ(wrapper.as<IDispatch>()->GetTypeInfo(0, 0, info.put()), S_OK);
        // The interface's own description, whose gets keep their out-parameter.
        HREFTYPE vtable = 0;
        ComPtr<ITypeInfo> dual;
        if (SUCCEEDED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &vtable)) &&
            SUCCEEDED(info->GetRefTypeInfo(vtable, dual.put())))
            info = dual;
        std::map<DISPID, Described> properties;
        describeProperties(info.get(), properties);

        Bstr kind;
        ASSERT_EQ(extension->GetDisplayName(kDispidObjectName, kind.put()), S_OK);
        EXPECT_GT(kind.length(), 0u);
        CLSID clsid = GUID_NULL;
        ASSERT_EQ(base->GetWrapperClass(&clsid), S_OK);
        EXPECT_EQ(clsid, *cls.clsid);

        Variant order;
        ASSERT_EQ(base->GetPropertyOrder(order.get()), S_OK);
        ASSERT_EQ(order.type(), VT_ARRAY | VT_I4);
        const LONG rows = static_cast<LONG>(V_ARRAY(order.get())->rgsabound[0].cElements);
        const bool entity = wrapper.as<IVeltEntity>().get() != nullptr;
        EXPECT_GE(rows, entity ? 9 : 1);
        for (LONG i = 0; i < rows; ++i) {
            DISPID dispid = 0;
            SafeArrayGetElement(V_ARRAY(order.get()), &i, &dispid);
            SCOPED_TRACE(testing::Message() << "DISPID " << dispid);
            if (entity && i < 9) {
                EXPECT_EQ(dispid, shared[i]);
            }
            auto found = properties.find(dispid);
            ASSERT_NE(found, properties.end());
            ASSERT_NE(found->second.vt, VT_EMPTY);  // a property with a get

            Bstr name, categoryName, progId;
            EXPECT_EQ(extension->GetDisplayName(dispid, name.put()), S_OK);
            EXPECT_GT(name.length(), 0u);
            LONG category = 0;
            ASSERT_EQ(categories->MapPropertyToCategory(dispid, &category), S_OK);
            EXPECT_EQ(categories->GetCategoryName(category, 0, categoryName.put()), S_OK);
            EXPECT_GT(categoryName.length(), 0u);
            drawing::Value id = drawing::number(dispid);
            ASSERT_EQ(display->GetCustomPropertyCtrl(*id, 0, progId.put()), S_OK);
            EXPECT_TRUE(editorFits(progId.c_str(), found->second))
                << std::string(progId.c_str(), progId.c_str() + progId.length());
            BOOL editable = FALSE;
            ASSERT_EQ(extension->Editable(dispid, &editable), S_OK);
            EXPECT_EQ(editable != FALSE, found->second.settable);

            // Names to pick from come with as many values.
            CALPOLESTR names{};
            CADWORD cookies{};
            if (browsing->GetPredefinedStrings(dispid, &names, &cookies) == S_OK) {
                Variant last, past;
                EXPECT_EQ(browsing->GetPredefinedValue(dispid, names.cElems - 1, last.get()), S_OK);
                EXPECT_NE(last.type(), VT_EMPTY);
                EXPECT_EQ(browsing->GetPredefinedValue(dispid, names.cElems, past.get()), S_OK);
                EXPECT_EQ(past.type(), VT_EMPTY);
                for (ULONG n = 0; n < names.cElems; ++n) SysFreeString(names.pElems[n]);
                CoTaskMemFree(names.pElems);
                CoTaskMemFree(cookies.pElems);
            }
        }
    }
}

class PaletteNames : public drawing::Drawing {
protected:
    static void SetUpTestSuite() { nk::initOpmPropertyExtension(); }
    static void TearDownTestSuite() { UninitOPMPropertyExtension(); }
};

TEST_F(PaletteNames, AnObjectsKindIsNamedByItsWrapperClass)
{
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    const kx::VxDbObjectId lineId = idOf(line.get());
    EXPECT_EQ(NkOPMUtils::GetEntityDisplayName(lineId), L"Line");
    CLSID clsid = GUID_NULL;
    ASSERT_EQ(NkOPMUtils::GetCLSID(lineId, &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_VeltLine);

    // An object without a live wrapper gets one for the question.
    kx::VxDbObjectId layer = kx::VxDbObjectId::kNull;
    {
        kx::VxDbObjectPointer<kx::VxDbLayerTable> layers(db->layerTableId());
        ASSERT_TRUE(layers);
        ASSERT_EQ(layers->getAt(L"0", layer), kx::Velt::eOk);
    }
    EXPECT_EQ(NkOPMUtils::GetEntityDisplayName(layer), L"Layer");
    // A class the palette does not show keeps its runtime name.
    EXPECT_EQ(NkOPMUtils::GetEntityDisplayName(db->layerTableId()), L"KxDbLayerTable");
    EXPECT_EQ(NkOPMUtils::GetEntityDisplayName(kx::VxDbObjectId::kNull), L"");

    EXPECT_EQ(nk::opm::specialClassNameId(L"kxdbLIGHT"), static_cast<UINT>(IDS_ENTITY_LIGHT));
    EXPECT_EQ(nk::opm::specialClassNameId(L"VxDbUndeadEntity"), static_cast<UINT>(IDS_ENTITY_PROXY));
    EXPECT_EQ(nk::opm::specialClassNameId(L"KxDbLine"), 0u);
}

TEST_F(PaletteNames, TheHyperlinksRowShowsTheFirstLink)
{
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    auto browsing = line.as<IPerPropertyBrowsing>();
    ASSERT_TRUE(browsing);
    Bstr shown;
    EXPECT_EQ(browsing->GetDisplayString(kDispidHyperlinks, shown.put()), E_NOTIMPL);  // none yet

    ComPtr<IVeltHyperlinks> links;
    ASSERT_EQ(line->get_Hyperlinks(links.put()), S_OK);
    ComPtr<IVeltHyperlink> link;
    Bstr url(L""), description(L"Door schedule");
    drawing::Value text = drawing::text(description.c_str()), missing;
    V_VT(missing.get()) = VT_ERROR;
    V_ERROR(missing.get()) = DISP_E_PARAMNOTFOUND;
    ASSERT_EQ(links->Add(url.get(), *text, *missing, link.put()), S_OK);
    ASSERT_EQ(browsing->GetDisplayString(kDispidHyperlinks, shown.put()), S_OK);
    EXPECT_STREQ(shown.c_str(), L"Door schedule");
    Bstr address(L"http://example.com/doors");
    ASSERT_EQ(link->put_URL(address.get()), S_OK);
    ASSERT_EQ(browsing->GetDisplayString(kDispidHyperlinks, shown.put()), S_OK);
    EXPECT_STREQ(shown.c_str(), L"http://example.com/doors");
}

}  // namespace
