// The document properties of a drawing, as the database wrapper's cached child. Each call
// works on a fresh copy of the database's properties and writes changes back at once, so
// that it never shows or overwrites stale values.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <functional>
#include <memory>
#include <string>

#include "core/wrapper.h"
#include "db/summaryinfo.h"
#include "frame/com.h"
#include "objects/database.h"

namespace nk {

class SummaryInfoCore {
public:
    void bind(const DatabaseLink& link, IDispatch* application)
    {
        link_ = link;
        app_ = application;
    }

    using GetText = const std::wstring& (kx::VxDbDatabaseSummaryInfo::*)() const;
    using SetText = kx::Velt::ErrorStatus (kx::VxDbDatabaseSummaryInfo::*)(const wchar_t*);

    HRESULT text(BSTR* out, GetText get);
    HRESULT setText(BSTR value, SetText set);
    HRESULT customCount(LONG* count);
    HRESULT customByIndex(LONG index, BSTR* key, BSTR* value);
    HRESULT customByKey(BSTR key, BSTR* value);
    HRESULT setCustomByIndex(LONG index, BSTR key, BSTR value);
    HRESULT setCustomByKey(BSTR key, BSTR value);
    HRESULT addCustom(BSTR key, BSTR value);
    HRESULT removeCustomByIndex(LONG index);
    HRESULT removeCustomByKey(BSTR key);

private:
    kx::VxDbDatabaseSummaryInfo* refresh();
    // Locks the document, changes a fresh copy and stores it in the database.
    HRESULT write(const std::function<kx::Velt::ErrorStatus(kx::VxDbDatabaseSummaryInfo&)>& work);

    DatabaseLink link_;
    ComPtr<IDispatch> app_;
    std::unique_ptr<kx::VxDbDatabaseSummaryInfo> info_;
};

template <class Self, class Base>
class SummaryInfoMembers : public Base {
    using Info = kx::VxDbDatabaseSummaryInfo;

public:
    // Called once by the database wrapper that caches this object.
    void bindTo(const DatabaseLink& link, IDispatch* application) { core_.bind(link, application); }

    HRESULT STDMETHODCALLTYPE get_Author(BSTR* v) override { return core_.text(v, &Info::author); }
    HRESULT STDMETHODCALLTYPE put_Author(BSTR v) override { return core_.setText(v, &Info::setAuthor); }
    HRESULT STDMETHODCALLTYPE get_Comments(BSTR* v) override { return core_.text(v, &Info::comments); }
    HRESULT STDMETHODCALLTYPE put_Comments(BSTR v) override { return core_.setText(v, &Info::setComments); }
    HRESULT STDMETHODCALLTYPE get_HyperlinkBase(BSTR* v) override { return core_.text(v, &Info::hyperlinkBase); }
    HRESULT STDMETHODCALLTYPE put_HyperlinkBase(BSTR v) override { return core_.setText(v, &Info::setHyperlinkBase); }
    HRESULT STDMETHODCALLTYPE get_Keywords(BSTR* v) override { return core_.text(v, &Info::keywords); }
    HRESULT STDMETHODCALLTYPE put_Keywords(BSTR v) override { return core_.setText(v, &Info::setKeywords); }
    HRESULT STDMETHODCALLTYPE get_LastSavedBy(BSTR* v) override { return core_.text(v, &Info::lastSavedBy); }
    HRESULT STDMETHODCALLTYPE put_LastSavedBy(BSTR v) override { return core_.setText(v, &Info::setLastSavedBy); }
    HRESULT STDMETHODCALLTYPE get_RevisionNumber(BSTR* v) override { return core_.text(v, &Info::revisionNumber); }
    HRESULT STDMETHODCALLTYPE put_RevisionNumber(BSTR v) override { return core_.setText(v, &Info::setRevisionNumber); }
    HRESULT STDMETHODCALLTYPE get_Subject(BSTR* v) override { return core_.text(v, &Info::subject); }
    HRESULT STDMETHODCALLTYPE put_Subject(BSTR v) override { return core_.setText(v, &Info::setSubject); }
    HRESULT STDMETHODCALLTYPE get_Title(BSTR* v) override { return core_.text(v, &Info::title); }
    HRESULT STDMETHODCALLTYPE put_Title(BSTR v) override { return core_.setText(v, &Info::setTitle); }
    HRESULT STDMETHODCALLTYPE get_NumCustomInfo(LONG* count) override { return core_.customCount(count); }
    HRESULT STDMETHODCALLTYPE GetCustomByIndex(LONG index, BSTR* key, BSTR* value) override
    {
        return core_.customByIndex(index, key, value);
    }
    HRESULT STDMETHODCALLTYPE GetCustomByKey(BSTR key, BSTR* value) override { return core_.customByKey(key, value); }
    HRESULT STDMETHODCALLTYPE SetCustomByIndex(LONG index, BSTR key, BSTR value) override
    {
        return core_.setCustomByIndex(index, key, value);
    }
    HRESULT STDMETHODCALLTYPE SetCustomByKey(BSTR key, BSTR value) override { return core_.setCustomByKey(key, value); }
    HRESULT STDMETHODCALLTYPE AddCustomInfo(BSTR key, BSTR value) override { return core_.addCustom(key, value); }
    HRESULT STDMETHODCALLTYPE RemoveCustomByIndex(LONG index) override { return core_.removeCustomByIndex(index); }
    HRESULT STDMETHODCALLTYPE RemoveCustomByKey(BSTR key) override { return core_.removeCustomByKey(key); }

private:
    SummaryInfoCore core_;
};

template <class Self, class Base>
struct Level<IVeltSummaryInfo, Self, Base> {
    using type = SummaryInfoMembers<Self, Pending<IVeltSummaryInfo, Base>>;
};

}  // namespace nk
