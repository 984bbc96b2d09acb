// The files a drawing depends on, as the database wrapper's cached child, and each of them
// as a snapshot: an entry read when it is handed out.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/wrapper.h"
#include "db/filedeps.h"
#include "frame/com.h"
#include "objects/database.h"

namespace nk {

class FileDependenciesCore {
public:
    void bind(const DatabaseLink& link, IDispatch* application)
    {
        link_ = link;
        app_ = application;
    }

    HRESULT item(const VARIANT& index, IVeltFileDependency** out);
    HRESULT count(LONG* count);
    HRESULT newEnum(IUnknown** out);
    HRESULT application(IDispatch** out);
    HRESULT createEntry(BSTR feature, BSTR fullFileName, VARIANT_BOOL affectsGraphics, VARIANT_BOOL noIncrement,
                        LONG* index);
    HRESULT indexOf(BSTR feature, BSTR fullFileName, LONG* index);
    HRESULT removeEntry(LONG index, VARIANT_BOOL force);
    HRESULT updateEntry(LONG index);

private:
    kx::VxDbFileDependencyManager& manager() const;

    DatabaseLink link_;
    ComPtr<IDispatch> app_;
};

template <class Self, class Base>
class FileDependenciesMembers : public Base {
public:
    // Called once by the database wrapper that caches this object.
    void bindTo(const DatabaseLink& link, IDispatch* application) { core_.bind(link, application); }

    HRESULT STDMETHODCALLTYPE Item(VARIANT index, IVeltFileDependency** out) override { return core_.item(index, out); }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override { return core_.count(count); }
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** out) override { return core_.newEnum(out); }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** out) override { return core_.application(out); }
    HRESULT STDMETHODCALLTYPE CreateEntry(BSTR feature, BSTR file, VARIANT_BOOL affectsGraphics,
                                          VARIANT_BOOL noIncrement, LONG* index) override
    {
        return core_.createEntry(feature, file, affectsGraphics, noIncrement, index);
    }
    HRESULT STDMETHODCALLTYPE IndexOf(BSTR feature, BSTR file, LONG* index) override
    {
        return core_.indexOf(feature, file, index);
    }
    HRESULT STDMETHODCALLTYPE RemoveEntry(LONG index, VARIANT_BOOL force) override
    {
        return core_.removeEntry(index, force);
    }
    HRESULT STDMETHODCALLTYPE UpdateEntry(LONG index) override { return core_.updateEntry(index); }

private:
    FileDependenciesCore core_;
};

template <class Self, class Base>
struct Level<IVeltFileDependencies, Self, Base> {
    using type = FileDependenciesMembers<Self, Pending<IVeltFileDependencies, Base>>;
};

// One entry as it was when handed out.
template <class Self, class Base>
class FileDependencyMembers : public Base {
public:
    void set(const kx::VxDbFileDependencyInfo& info) { info_ = info; }

    HRESULT STDMETHODCALLTYPE get_Feature(BSTR* v) override { return text(info_.feature, v); }
    HRESULT STDMETHODCALLTYPE get_FileName(BSTR* v) override { return text(info_.fileName, v); }
    HRESULT STDMETHODCALLTYPE get_FullFileName(BSTR* v) override { return text(info_.fullFileName, v); }
    HRESULT STDMETHODCALLTYPE get_FoundPath(BSTR* v) override { return text(info_.foundPath, v); }
    HRESULT STDMETHODCALLTYPE get_FingerprintGuid(BSTR* v) override { return text(info_.fingerprintGuid, v); }
    HRESULT STDMETHODCALLTYPE get_VersionGuid(BSTR* v) override { return text(info_.versionGuid, v); }
    HRESULT STDMETHODCALLTYPE get_TimeStamp(LONG* v) override { return number(info_.timeStamp, v); }
    HRESULT STDMETHODCALLTYPE get_FileSize(LONG* v) override { return number(info_.fileSize, v); }
    HRESULT STDMETHODCALLTYPE get_AffectsGraphics(VARIANT_BOOL* v) override { return flag(info_.affectsGraphics, v); }
    HRESULT STDMETHODCALLTYPE get_IsModified(VARIANT_BOOL* v) override { return flag(info_.isModified, v); }
    HRESULT STDMETHODCALLTYPE get_ReferenceCount(LONG* v) override { return number(info_.referenceCount, v); }
    HRESULT STDMETHODCALLTYPE get_Index(LONG* v) override { return number(info_.index, v); }

private:
    static HRESULT text(const std::wstring& value, BSTR* out)
    {
        if (!out) return E_POINTER;
        *out = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
        return *out ? S_OK : E_OUTOFMEMORY;
    }
    static HRESULT number(int64_t value, LONG* out)
    {
        if (!out) return E_POINTER;
        // Sizes and times past what a long holds are reported as its largest value.
        *out = value > 0x7fffffff ? LONG(0x7fffffff) : static_cast<LONG>(value);
        return S_OK;
    }
    static HRESULT flag(bool value, VARIANT_BOOL* out)
    {
        if (!out) return E_POINTER;
        *out = value ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }

    kx::VxDbFileDependencyInfo info_;
};

template <class Self, class Base>
struct Level<IVeltFileDependency, Self, Base> {
    using type = FileDependencyMembers<Self, Pending<IVeltFileDependency, Base>>;
};

}  // namespace nk
