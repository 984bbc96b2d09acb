#include "objects/preferences.h"

#include "core/call.h"
#include "services/doclock.h"

namespace nk {
namespace {

const IID& kPreferencesIid = __uuidof(IVeltDatabasePreferences);

kx::VxDbDatabase& readable(const DatabaseLink& link)
{
    kx::VxDbDatabase* db = link.get();
    if (!db) throw kx::Velt::eNoDatabase;
    return *db;
}

// Runs a change under the document lock of the database.
template <class Change>
HRESULT change(const DatabaseLink& link, Change&& work)
{
    return guarded(kPreferencesIid, [&] {
        kx::VxDbDatabase* db = link.get();
        kx::VxAxDocLock lock(db, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        if (!db) throw kx::Velt::eNoDatabase;
        check(work(*db));
        return S_OK;
    });
}

// Only VARIANT_TRUE is true: 1 and every other value mean false.
bool isTrue(VARIANT_BOOL value) { return value == VARIANT_TRUE; }
VARIANT_BOOL asVariantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

}  // namespace

HRESULT PreferencesCore::application(IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = app_.get();
    if (*out) (*out)->AddRef();
    return S_OK;
}

HRESULT PreferencesCore::flag(VARIANT_BOOL* out, GetFlag get)
{
    if (!out) return E_POINTER;
    return guarded(kPreferencesIid, [&] {
        *out = asVariantBool(get(readable(link_)));
        return S_OK;
    });
}

HRESULT PreferencesCore::setFlag(VARIANT_BOOL value, SetFlag set)
{
    return change(link_, [&](kx::VxDbDatabase& db) { return set(db, isTrue(value)); });
}

HRESULT PreferencesCore::sortFlag(VARIANT_BOOL* out, uint8_t bit)
{
    if (!out) return E_POINTER;
    return guarded(kPreferencesIid, [&] {
        *out = asVariantBool((readable(link_).sortEnts() & bit) != 0);
        return S_OK;
    });
}

HRESULT PreferencesCore::setSortFlag(VARIANT_BOOL value, uint8_t bit)
{
    return change(link_, [&](kx::VxDbDatabase& db) {
        const uint8_t flags = db.sortEnts();
        return db.setSortEnts(isTrue(value) ? uint8_t(flags | bit) : uint8_t(flags & ~bit));
    });
}

HRESULT PreferencesCore::shortValue(LONG* out, GetShort get)
{
    if (!out) return E_POINTER;
    return guarded(kPreferencesIid, [&] {
        *out = get(readable(link_));
        return S_OK;
    });
}

HRESULT PreferencesCore::setShortValue(LONG value, SetShort set)
{
    // Stored as 16 bits: only the low 16 bits of the value arrive.
    return change(link_, [&](kx::VxDbDatabase& db) { return set(db, static_cast<int16_t>(value)); });
}

HRESULT PreferencesCore::renderSmoothness(double* out)
{
    if (!out) return E_POINTER;
    return guarded(kPreferencesIid, [&] {
        *out = readable(link_).facetres();
        return S_OK;
    });
}

HRESULT PreferencesCore::setRenderSmoothness(double value)
{
    return change(link_, [&](kx::VxDbDatabase& db) { return db.setFacetres(value); });
}

HRESULT PreferencesCore::lineweight(VELT_LWEIGHT* out)
{
    if (!out) return E_POINTER;
    return guarded(kPreferencesIid, [&] {
        *out = static_cast<VELT_LWEIGHT>(readable(link_).celweight());
        return S_OK;
    });
}

HRESULT PreferencesCore::setLineweight(VELT_LWEIGHT value)
{
    // The whole value goes to the host's check, so that no out-of-range value is cut into a valid one.
    return change(link_, [&](kx::VxDbDatabase& db) {
        return db.setHeaderInt(kx::VxDbHeaderVar::kCELWeight, static_cast<int32_t>(value));
    });
}

}  // namespace nk
