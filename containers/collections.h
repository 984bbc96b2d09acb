// The collections of a drawing: the tables of named records (layers, linetypes, styles,
// views, viewports, coordinate systems, applications, blocks) and the named dictionaries
// (groups, dictionaries, materials, layouts, plot configurations). All have Item by name or
// position, Count and an enumerator; Add hands back the existing entry when the name is
// taken. Declared in containers/collections.members; the dictionaries themselves use the
// same Item, Count and enumerator (containers/dictionary.members).
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/object_ref.h"
#include "kxauto.h"

namespace nk::collections {

// Characters a linetype's name must not hold.
inline constexpr const wchar_t* kForbiddenLinetypeCharacters = L"<>/\\?*:;,|=`\"";

// How Item finds an entry and how the entries are walked.
enum class Family {
    kTable,       // a symbol table: unknown name status 22, bad index status 24
    kBlocks,      // the block table: every miss is E_FAIL
    kDictionary,  // a dictionary: a missing entry is E_INVALIDARG
};

struct Kind {
    const IID& collection;  // reported with errors
    const IID& item;        // the interface Item hands out
    Family family;
};

extern const Kind kLayers, kLinetypes, kTextStyles, kDimStyles, kUCSs, kViews, kViewports, kRegisteredApps,
    kBlocks, kGroups, kDictionaries, kMaterials, kLayouts, kPlotConfigurations, kDictionary;

HRESULT itemOf(VxAxObjectRef& collection, IDispatch* owner, const Kind& kind, const VARIANT& index, void** out);
HRESULT countOf(VxAxObjectRef& collection, const Kind& kind, LONG* count);
HRESULT enumOf(VxAxObjectRef& collection, IDispatch* owner, const Kind& kind, IUnknown** enumerator);

template <const Kind& K, class Out>
HRESULT item(VxAxObjectRef& collection, IDispatch* owner, VARIANT index, Out** out)
{
    return itemOf(collection, owner, K, index, reinterpret_cast<void**>(out));
}
template <const Kind& K>
HRESULT count(VxAxObjectRef& collection, LONG* count)
{
    return countOf(collection, K, count);
}
template <const Kind& K>
HRESULT newEnum(VxAxObjectRef& collection, IDispatch* owner, IUnknown** enumerator)
{
    return enumOf(collection, owner, K, enumerator);
}

// The wrapper of an object for the owner, as the interface asked for; E_FAIL without one.
HRESULT wrapperAs(kx::VxDbObjectId id, IDispatch* owner, const IID& iid, void** out);

}  // namespace nk::collections
