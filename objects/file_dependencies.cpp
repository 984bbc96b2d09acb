#include "objects/file_dependencies.h"

#include <utility>
#include <vector>

#include "axsupport/errors.h"
#include "core/call.h"
#include "db/database.h"
#include "frame/enum_variant.h"
#include "services/doclock.h"

namespace nk {
namespace {

const IID& kDependenciesIid = __uuidof(IVeltFileDependencies);

HRESULT snapshotOf(const kx::VxDbFileDependencyInfo& info, IVeltFileDependency** out)
{
    auto made = makeObject<ImplOf<VeltFileDependencyTag>::type>();
    if (!made) return E_OUTOFMEMORY;
    made->set(info);
    return made->QueryInterface(__uuidof(IVeltFileDependency), reinterpret_cast<void**>(out));
}

// Walks the entries as they were when the walk began.
class DependencyWalk final : public EnumVariantBase {
public:
    explicit DependencyWalk(std::vector<kx::VxDbFileDependencyInfo> entries) : entries_(std::move(entries)) {}

protected:
    bool done() override { return next_ >= entries_.size(); }
    HRESULT current(VARIANT* item) override
    {
        IVeltFileDependency* entry = nullptr;
        HRESULT hr = snapshotOf(entries_[next_], &entry);
        if (FAILED(hr)) return hr;
        V_VT(item) = VT_DISPATCH;
        V_DISPATCH(item) = entry;
        return S_OK;
    }
    void advance() override { ++next_; }
    void restart() override { next_ = 0; }

private:
    std::vector<kx::VxDbFileDependencyInfo> entries_;
    size_t next_ = 0;
};

}  // namespace

kx::VxDbFileDependencyManager& FileDependenciesCore::manager() const
{
    kx::VxDbDatabase* db = link_.get();
    if (!db) throw kx::Velt::eNoDatabase;
    return db->fileDependencyManager();
}

HRESULT FileDependenciesCore::item(const VARIANT& index, IVeltFileDependency** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDependenciesIid, [&] {
        Variant position;
        HRESULT hr = VariantChangeType(position.get(), const_cast<VARIANT*>(&index), 0, VT_I4);
        if (FAILED(hr)) return RaiseVxAXException(kDependenciesIid, hr, 0);
        kx::VxDbFileDependencyInfo info;
        check(manager().getEntry(V_I4(position.get()), info));
        return snapshotOf(info, out);
    });
}

HRESULT FileDependenciesCore::count(LONG* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return guarded(kDependenciesIid, [&] {
        *count = manager().countEntries();
        return S_OK;
    });
}

HRESULT FileDependenciesCore::newEnum(IUnknown** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDependenciesIid, [&] {
        const kx::VxDbFileDependencyManager& entries = manager();
        std::vector<kx::VxDbFileDependencyInfo> snapshot;
        for (int index : entries.indices()) entries.getEntry(index, snapshot.emplace_back());
        return EnumVariantBase::create<DependencyWalk>(out, std::move(snapshot));
    });
}

HRESULT FileDependenciesCore::application(IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = app_.get();
    if (*out) (*out)->AddRef();
    return S_OK;
}

HRESULT FileDependenciesCore::createEntry(BSTR feature, BSTR fullFileName, VARIANT_BOOL affectsGraphics,
                                          VARIANT_BOOL noIncrement, LONG* index)
{
    if (!index) return E_POINTER;
    *index = 0;
    if (!feature || !*feature || !fullFileName || !*fullFileName) return E_INVALIDARG;
    return guarded(kDependenciesIid, [&] {
        kx::VxAxDocLock lock(link_.get(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        *index = manager().createEntry(feature, fullFileName, affectsGraphics != VARIANT_FALSE,
                                       noIncrement != VARIANT_FALSE);
        return S_OK;
    });
}

HRESULT FileDependenciesCore::indexOf(BSTR feature, BSTR fullFileName, LONG* index)
{
    if (!index) return E_POINTER;
    *index = 0;
    return guarded(kDependenciesIid, [&] {
        // 0: no such entry.
        *index = manager().findEntry(feature ? feature : L"", fullFileName ? fullFileName : L"");
        return S_OK;
    });
}

HRESULT FileDependenciesCore::removeEntry(LONG index, VARIANT_BOOL force)
{
    return guarded(kDependenciesIid, [&] {
        kx::VxAxDocLock lock(link_.get(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        check(manager().eraseEntry(index, force != VARIANT_FALSE));
        return S_OK;
    });
}

HRESULT FileDependenciesCore::updateEntry(LONG index)
{
    return guarded(kDependenciesIid, [&] {
        check(manager().updateEntry(index));
        return S_OK;
    });
}

}  // namespace nk
