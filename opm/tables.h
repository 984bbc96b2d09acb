// The static tables through which each wrapper class answers the Properties palette: a
// property map, a per-property display table, a category table and command buttons. Their
// layouts are fixed, since other modules of the host read the same tables.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstddef>
#include <cstdint>
#include <vector>

struct VELT_OPMPROPMAP_ENTRY {
    uint32_t displayNameId;        // string id of the palette name; 0: none
    int32_t dispid;                // key of every look-up
    int32_t categoryId;            // negative: the palette's own categories; positive: the class's
    uint32_t categoryNameId;
    uint32_t descriptionId;
    uint32_t predefinedStringsId;  // string id of a ";"-separated list of names; 0: none
    const wchar_t* predefinedValues;  // ";"-separated values of those names; "" when none
    uint16_t extraValue;
    uint8_t editable;
    const GUID* reserved;          // the null GUID
    const CLSID* propertyPage;     // the null GUID when none; a null pointer ends the map
    const IID* valueIid;
    const wchar_t* displayString;  // shown in place of the value; "" when none
};
static_assert(offsetof(VELT_OPMPROPMAP_ENTRY, predefinedValues) == 24);
static_assert(offsetof(VELT_OPMPROPMAP_ENTRY, extraValue) == 32);
static_assert(offsetof(VELT_OPMPROPMAP_ENTRY, editable) == 34);
static_assert(offsetof(VELT_OPMPROPMAP_ENTRY, reserved) == 40);
static_assert(offsetof(VELT_OPMPROPMAP_ENTRY, displayString) == 64);

struct CATEGORY_ENTRY {
    int32_t id;
    uint32_t nameId;
    uint32_t descriptionId;
    int32_t parentId;  // 0: a top-level category
    int32_t weight;
};
static_assert(sizeof(CATEGORY_ENTRY) == 20);

// Icon types of a display row or a button.
enum : uint32_t { kOpmIconBitmap = 1, kOpmIcon = 3 };

struct PER_PROP_DISP_ENTRY {
    int32_t dispid;
    const wchar_t* editorProgId;  // the palette's editor control for the property
    const wchar_t* iconResource;  // resource name of the icon, or null
    uint32_t iconType;            // kOpmIconBitmap, kOpmIcon; anything else: no icon
    uint32_t unused[3];
    uint32_t textColor;
    int32_t fullView;             // above 0: shown in full view
    uint32_t integralHeight;
    uint32_t weight;              // heavier rows first within a category
    uint32_t reserved;
};
static_assert(offsetof(PER_PROP_DISP_ENTRY, editorProgId) == 8);
static_assert(offsetof(PER_PROP_DISP_ENTRY, iconType) == 24);
static_assert(offsetof(PER_PROP_DISP_ENTRY, textColor) == 40);
static_assert(offsetof(PER_PROP_DISP_ENTRY, weight) == 52);

// What a button does: given a copy of the VARIANT the palette passed to Execute.
using OpmButtonAction = void (*)(VARIANT argument);

struct CMDBTN_ENTRY {
    uint32_t nameId;
    uint32_t descriptionId;       // the button's tip
    const wchar_t* iconResource;  // resource name of its picture, or null
    uint32_t iconType;            // as for display rows
    uint32_t reserved[4];
    uint32_t style;               // 0: push button; 1: stays pressed while checked
    OpmButtonAction execute;      // null: the button does nothing
};
static_assert(offsetof(CMDBTN_ENTRY, style) == 36);
static_assert(offsetof(CMDBTN_ENTRY, execute) == 40);

namespace nk {

// The tables of one wrapper class.
struct PaletteTables {
    const VELT_OPMPROPMAP_ENTRY* map;
    const std::vector<CATEGORY_ENTRY>* categories;
    const std::vector<PER_PROP_DISP_ENTRY>* displays;
    const std::vector<CMDBTN_ENTRY>* buttons;
    uint32_t classNameId;  // the palette's name of the class's objects
};

// The tables of a coclass's wrapper class, by the coclass's tag; null for a class the
// palette does not show (the generated tables say which do).
template <class Tag>
inline constexpr const PaletteTables* kPaletteTablesOf = nullptr;

}  // namespace nk
