#pragma once

#include <string>
#include <utility>
#include <vector>

#include "db/status.h"

namespace kx {

class VxDbDatabase;

// The drawing's document properties: eight text fields and an ordered list
// of custom properties whose keys compare without regard to case.
class VxDbDatabaseSummaryInfo {
public:
    const std::wstring& title() const { return mTitle; }
    const std::wstring& subject() const { return mSubject; }
    const std::wstring& author() const { return mAuthor; }
    const std::wstring& keywords() const { return mKeywords; }
    const std::wstring& comments() const { return mComments; }
    const std::wstring& lastSavedBy() const { return mLastSavedBy; }
    const std::wstring& revisionNumber() const { return mRevisionNumber; }
    const std::wstring& hyperlinkBase() const { return mHyperlinkBase; }
    Velt::ErrorStatus setTitle(const wchar_t* text) { return set(mTitle, text); }
    Velt::ErrorStatus setSubject(const wchar_t* text) { return set(mSubject, text); }
    Velt::ErrorStatus setAuthor(const wchar_t* text) { return set(mAuthor, text); }
    Velt::ErrorStatus setKeywords(const wchar_t* text) { return set(mKeywords, text); }
    Velt::ErrorStatus setComments(const wchar_t* text) { return set(mComments, text); }
    Velt::ErrorStatus setLastSavedBy(const wchar_t* text) { return set(mLastSavedBy, text); }
    Velt::ErrorStatus setRevisionNumber(const wchar_t* text) { return set(mRevisionNumber, text); }
    Velt::ErrorStatus setHyperlinkBase(const wchar_t* text) { return set(mHyperlinkBase, text); }

    int numCustomInfo() const { return int(mCustom.size()); }
    // eInvalidInput for an empty key, eDuplicateKey for a key already there.
    Velt::ErrorStatus addCustomSummaryInfo(const wchar_t* key, const wchar_t* value);
    // eInvalidIndex outside 0 ... count - 1, eKeyNotFound for unknown keys.
    Velt::ErrorStatus deleteCustomSummaryInfo(int index);
    Velt::ErrorStatus deleteCustomSummaryInfo(const wchar_t* key);
    Velt::ErrorStatus getCustomSummaryInfo(int index, std::wstring& key, std::wstring& value) const;
    Velt::ErrorStatus getCustomSummaryInfo(const wchar_t* key, std::wstring& value) const;
    Velt::ErrorStatus setCustomSummaryInfo(int index, const wchar_t* key, const wchar_t* value);
    Velt::ErrorStatus setCustomSummaryInfo(const wchar_t* key, const wchar_t* value);

    // The database the information was taken from (null for a free copy).
    VxDbDatabase* database() const { return mDatabase; }
    void setDatabase(VxDbDatabase* database) { mDatabase = database; }

private:
    static Velt::ErrorStatus set(std::wstring& field, const wchar_t* text);
    int find(const wchar_t* key) const;

    std::wstring mTitle, mSubject, mAuthor, mKeywords, mComments, mLastSavedBy, mRevisionNumber, mHyperlinkBase;
    std::vector<std::pair<std::wstring, std::wstring>> mCustom;
    VxDbDatabase* mDatabase = nullptr;
};

// A copy of the database's information, which the caller deletes; changes
// reach the database only through vxdbPutSummaryInfo.
Velt::ErrorStatus vxdbGetSummaryInfo(VxDbDatabase* database, VxDbDatabaseSummaryInfo*& info);
// Stores the information in the database (its own one when null).
Velt::ErrorStatus vxdbPutSummaryInfo(const VxDbDatabaseSummaryInfo* info, VxDbDatabase* database = nullptr);

}  // namespace kx
