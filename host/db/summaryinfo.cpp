#include "db/summaryinfo.h"

#include "db/database.h"
#include "db/strings.h"

namespace kx {

Velt::ErrorStatus VxDbDatabaseSummaryInfo::set(std::wstring& field, const wchar_t* text)
{
    field = vxView(text);
    return Velt::eOk;
}

int VxDbDatabaseSummaryInfo::find(const wchar_t* key) const
{
    if (!key)
        return -1;
    for (size_t i = 0; i < mCustom.size(); ++i) {
        if (vxEqualNoCase(mCustom[i].first, key))
            return int(i);
    }
    return -1;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::addCustomSummaryInfo(const wchar_t* key, const wchar_t* value)
{
    if (!key || !*key)
        return Velt::eInvalidInput;
    if (find(key) >= 0)
        return Velt::eDuplicateKey;
    mCustom.emplace_back(key, std::wstring(vxView(value)));
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::deleteCustomSummaryInfo(int index)
{
    if (index < 0 || index >= numCustomInfo())
        return Velt::eInvalidIndex;
    mCustom.erase(mCustom.begin() + index);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::deleteCustomSummaryInfo(const wchar_t* key)
{
    const int index = find(key);
    if (index < 0)
        return Velt::eKeyNotFound;
    return deleteCustomSummaryInfo(index);
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::getCustomSummaryInfo(int index, std::wstring& key,
                                                                std::wstring& value) const
{
    key.clear();
    value.clear();
    if (index < 0 || index >= numCustomInfo())
        return Velt::eInvalidIndex;
    key = mCustom[size_t(index)].first;
    value = mCustom[size_t(index)].second;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::getCustomSummaryInfo(const wchar_t* key, std::wstring& value) const
{
    value.clear();
    const int index = find(key);
    if (index < 0)
        return Velt::eKeyNotFound;
    value = mCustom[size_t(index)].second;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::setCustomSummaryInfo(int index, const wchar_t* key, const wchar_t* value)
{
    if (index < 0 || index >= numCustomInfo())
        return Velt::eInvalidIndex;
    if (!key || !*key)
        return Velt::eInvalidInput;
    const int other = find(key);
    if (other >= 0 && other != index)
        return Velt::eDuplicateKey;
    mCustom[size_t(index)] = {key, std::wstring(vxView(value))};
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabaseSummaryInfo::setCustomSummaryInfo(const wchar_t* key, const wchar_t* value)
{
    const int index = find(key);
    if (index < 0)
        return Velt::eKeyNotFound;
    mCustom[size_t(index)].second = vxView(value);
    return Velt::eOk;
}

Velt::ErrorStatus vxdbGetSummaryInfo(VxDbDatabase* database, VxDbDatabaseSummaryInfo*& info)
{
    info = nullptr;
    if (!database)
        return Velt::eNoDatabase;
    info = new VxDbDatabaseSummaryInfo(database->summaryInfoStorage());
    info->setDatabase(database);
    return Velt::eOk;
}

Velt::ErrorStatus vxdbPutSummaryInfo(const VxDbDatabaseSummaryInfo* info, VxDbDatabase* database)
{
    if (!info)
        return Velt::eNullObjectPointer;
    VxDbDatabase* target = database ? database : info->database();
    if (!target)
        return Velt::eNoDatabase;
    VxDbDatabaseSummaryInfo& stored = target->summaryInfoStorage();
    stored = *info;
    stored.setDatabase(target);
    return Velt::eOk;
}

}  // namespace kx
