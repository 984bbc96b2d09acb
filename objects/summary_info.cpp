// The members of the database's children that are more than one value: the application
// they were handed out with, and the custom properties of the drawing, by index or by key.
// The plain members are declared in objects/database.members.
#include "members_gen.h"

namespace nk {
namespace {

using Summary = SummaryAccess<IVeltSummaryInfo>;

// An empty string comes as a null BSTR or as one of no characters; either means "nothing".
bool isEmpty(BSTR text) { return !text || SysStringLen(text) == 0; }

// A change to the drawing's properties; nothing given leaves everything as it is.
template <class Change>
HRESULT changeInfo(DatabaseLink& link, Change&& change)
{
    return member::call<Summary>(link, [&](kx::VxDbDatabaseSummaryInfo& info) { return change(info); });
}

}  // namespace

HRESULT children::application(DatabaseLink&, IDispatch* app, IDispatch** application)
{
    if (!application) return E_POINTER;
    *application = app;
    if (app) app->AddRef();
    return S_OK;
}

HRESULT summary::customByIndex(DatabaseLink& link, LONG index, BSTR* key, BSTR* value)
{
    if (!key || !value) return E_POINTER;
    *key = nullptr;
    *value = nullptr;
    return Summary::read(link, [&](const kx::VxDbDatabaseSummaryInfo& info) {
        std::wstring k, v;
        check(info.getCustomSummaryInfo(index, k, v));
        Bstr keyText, valueText;
        conv::Text::out(k, keyText.put());
        conv::Text::out(v, valueText.put());
        *key = keyText.detach();
        *value = valueText.detach();
    });
}

HRESULT summary::customByKey(DatabaseLink& link, BSTR key, BSTR* value)
{
    if (!key) return E_POINTER;
    return member::get<Summary, conv::Text>(link, value, [&](const kx::VxDbDatabaseSummaryInfo& info) {
        std::wstring v;
        check(info.getCustomSummaryInfo(key, v));
        return v;
    });
}

HRESULT summary::setCustomByIndex(DatabaseLink& link, LONG index, BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return changeInfo(link, [&](auto& info) { return info.setCustomSummaryInfo(index, key, value); });
}

HRESULT summary::setCustomByKey(DatabaseLink& link, BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return changeInfo(link, [&](auto& info) { return info.setCustomSummaryInfo(key, value); });
}

HRESULT summary::addCustom(DatabaseLink& link, BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return changeInfo(link, [&](auto& info) { return info.addCustomSummaryInfo(key, value); });
}

HRESULT summary::removeCustomByIndex(DatabaseLink& link, LONG index)
{
    return changeInfo(link, [&](auto& info) { return info.deleteCustomSummaryInfo(index); });
}

HRESULT summary::removeCustomByKey(DatabaseLink& link, BSTR key)
{
    if (isEmpty(key)) return S_OK;
    return changeInfo(link, [&](auto& info) { return info.deleteCustomSummaryInfo(key); });
}

}  // namespace nk
