#include "objects/summary_info.h"

#include "core/call.h"
#include "db/database.h"
#include "services/doclock.h"

namespace nk {
namespace {

const IID& kSummaryIid = __uuidof(IVeltSummaryInfo);

// An empty string comes as a null BSTR or as one of no characters; either means "nothing".
bool isEmpty(BSTR text) { return !text || SysStringLen(text) == 0; }

HRESULT toBstr(const std::wstring& text, BSTR* out)
{
    *out = SysAllocStringLen(text.data(), UINT(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

kx::VxDbDatabaseSummaryInfo* SummaryInfoCore::refresh()
{
    kx::VxDbDatabase* db = link_.get();
    if (!db) throw kx::Velt::eNoDatabase;
    info_.reset();
    kx::VxDbDatabaseSummaryInfo* fresh = nullptr;
    const kx::Velt::ErrorStatus es = kx::vxdbGetSummaryInfo(db, fresh);
    info_.reset(fresh);
    check(es);
    return info_.get();
}

HRESULT SummaryInfoCore::write(const std::function<kx::Velt::ErrorStatus(kx::VxDbDatabaseSummaryInfo&)>& work)
{
    return guarded(kSummaryIid, [&] {
        kx::VxDbDatabase* db = link_.get();
        kx::VxAxDocLock lock(db, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        kx::VxDbDatabaseSummaryInfo* info = refresh();
        if (!info) return E_POINTER;
        check(work(*info));
        check(kx::vxdbPutSummaryInfo(info, db));
        return S_OK;
    });
}

HRESULT SummaryInfoCore::text(BSTR* out, GetText get)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kSummaryIid, [&] {
        kx::VxDbDatabaseSummaryInfo* info = refresh();
        if (!info) return E_POINTER;
        return toBstr((info->*get)(), out);
    });
}

HRESULT SummaryInfoCore::setText(BSTR value, SetText set)
{
    // Setting a field to nothing leaves it as it is.
    if (isEmpty(value)) return S_OK;
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return (info.*set)(value); });
}

HRESULT SummaryInfoCore::customCount(LONG* count)
{
    if (!count) return E_POINTER;
    return guarded(kSummaryIid, [&] {
        kx::VxDbDatabaseSummaryInfo* info = refresh();
        if (!info) return E_POINTER;
        *count = info->numCustomInfo();
        return S_OK;
    });
}

HRESULT SummaryInfoCore::customByIndex(LONG index, BSTR* key, BSTR* value)
{
    if (!key || !value) return E_POINTER;
    *key = nullptr;
    *value = nullptr;
    return guarded(kSummaryIid, [&] {
        kx::VxDbDatabaseSummaryInfo* info = refresh();
        if (!info) return E_POINTER;
        std::wstring k, v;
        check(info->getCustomSummaryInfo(index, k, v));
        Bstr keyText, valueText;
        if (FAILED(toBstr(k, keyText.put())) || FAILED(toBstr(v, valueText.put()))) return E_OUTOFMEMORY;
        *key = keyText.detach();
        *value = valueText.detach();
        return S_OK;
    });
}

HRESULT SummaryInfoCore::customByKey(BSTR key, BSTR* value)
{
    if (!key || !value) return E_POINTER;
    *value = nullptr;
    return guarded(kSummaryIid, [&] {
        kx::VxDbDatabaseSummaryInfo* info = refresh();
        if (!info) return E_POINTER;
        std::wstring v;
        check(info->getCustomSummaryInfo(key, v));
        return toBstr(v, value);
    });
}

HRESULT SummaryInfoCore::setCustomByIndex(LONG index, BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return info.setCustomSummaryInfo(index, key, value); });
}

HRESULT SummaryInfoCore::setCustomByKey(BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return info.setCustomSummaryInfo(key, value); });
}

HRESULT SummaryInfoCore::addCustom(BSTR key, BSTR value)
{
    if (isEmpty(key) || isEmpty(value)) return S_OK;
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return info.addCustomSummaryInfo(key, value); });
}

HRESULT SummaryInfoCore::removeCustomByIndex(LONG index)
{
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return info.deleteCustomSummaryInfo(index); });
}

HRESULT SummaryInfoCore::removeCustomByKey(BSTR key)
{
    if (isEmpty(key)) return S_OK;
    return write([&](kx::VxDbDatabaseSummaryInfo& info) { return info.deleteCustomSummaryInfo(key); });
}

}  // namespace nk
