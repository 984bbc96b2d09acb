// The children a database wrapper hands out and caches (preferences, summary information):
// bound to the database, not to an object of it, and reaching it the same way each call.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <memory>

#include "core/member.h"
#include "core/wrapper.h"
#include "db/database.h"
#include "db/summaryinfo.h"
#include "frame/com.h"
#include "objects/database.h"

namespace nk {

// What a child holds: its database and the application it was handed out with.
class DatabaseChild {
public:
    explicit DatabaseChild(const CLSID&) {}
    // Called once by the database wrapper that caches the child.
    void bindTo(const DatabaseLink& link, IDispatch* application)
    {
        link_ = link;
        app_ = application;
    }
    DatabaseLink& databaseLink() { return link_; }
    IDispatch* application() const { return app_.get(); }

private:
    DatabaseLink link_;
    ComPtr<IDispatch> app_;
};

template <>
struct BindingOf<IVeltDatabasePreferences> {
    using type = DatabaseChild;
};
template <>
struct BindingOf<IVeltSummaryInfo> {
    using type = DatabaseChild;
};

// The database itself for each call; changes under its document lock. A database that is
// gone raises its status.
template <class Itf>
struct DatabaseChildAccess {
    using Target = DatabaseLink;
    template <class Self>
    static Target& target(Self& self)
    {
        return self.databaseLink();
    }
    static const IID& iid() { return __uuidof(Itf); }
    static kx::VxDbDatabase* lockTarget(Target& link) { return link.get(); }
};

template <class Itf, class T = kx::VxDbDatabase>
struct DatabaseAccess : DatabaseChildAccess<Itf>, AccessSteps<DatabaseAccess<Itf, T>> {
    using Object = kx::VxDbDatabase;
    template <class Body>
    static HRESULT withObject(DatabaseLink& link, kx::VxDb::OpenMode, Body&& body)
    {
        kx::VxDbDatabase* db = link.get();
        if (!db) throw kx::Velt::eNoDatabase;
        return body(*db);
    }
};

// The drawing's properties: each call works on a fresh copy of them, and a change is stored
// back at once, so that no call shows or overwrites stale values.
template <class Itf, class T = kx::VxDbDatabaseSummaryInfo>
struct SummaryAccess : DatabaseChildAccess<Itf>, AccessSteps<SummaryAccess<Itf, T>> {
    using typename DatabaseChildAccess<Itf>::Target;
    using Object = kx::VxDbDatabaseSummaryInfo;
    template <class Body>
    static HRESULT withObject(Target& link, kx::VxDb::OpenMode mode, Body&& body)
    {
        std::unique_ptr<Object> info = fresh(link);
        const HRESULT hr = body(*info);
        if (mode == kx::VxDb::kForWrite) check(kx::vxdbPutSummaryInfo(info.get(), link.get()));
        return hr;
    }

private:
    static std::unique_ptr<Object> fresh(Target& link)
    {
        kx::VxDbDatabase* db = link.get();
        if (!db) throw kx::Velt::eNoDatabase;
        Object* made = nullptr;
        const kx::Velt::ErrorStatus es = kx::vxdbGetSummaryInfo(db, made);
        std::unique_ptr<Object> info(made);
        check(es);
        if (!info) throw kx::Velt::eNullObjectPointer;
        return info;
    }
};

namespace conv {
// Text where nothing (a null or empty string) leaves the value as it is: the call ends at
// once with S_OK.
struct TextOrNothing : Text {
    static const wchar_t* in(BSTR v)
    {
        if (!v || SysStringLen(v) == 0) throw kx::Velt::eOk;
        return v;
    }
};
}  // namespace conv

}  // namespace nk
