// The hyperlinks of an entity and their collection object. They live in the entity's
// extended data under the application "PE_URL", one group { URL, description, named
// location } each, so that they travel with the drawing. The objects hold the entity's id
// and read the list afresh on every call.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>
#include <vector>

#include "db/objectid.h"
#include "frame/com.h"
#include "kxauto.h"

namespace nk {

struct Hyperlink {
    std::wstring url;
    std::wstring description;
    std::wstring location;
};

// The stored list, in order; database statuses are thrown.
std::vector<Hyperlink> readHyperlinks(kx::VxDbObjectId entity);
void writeHyperlinks(kx::VxDbObjectId entity, const std::vector<Hyperlink>& links);

// The collection object of an entity's hyperlinks.
HRESULT makeHyperlinks(kx::VxDbObjectId entity, IDispatch* app, IVeltHyperlinks** out);

enum class HyperlinkField { kUrl, kDescription, kLocation };

// The members of both objects, done once.
HRESULT hyperlinkItem(kx::VxDbObjectId entity, IDispatch* app, const VARIANT& index, IVeltHyperlink** item);
HRESULT hyperlinkCount(kx::VxDbObjectId entity, LONG* count);
HRESULT hyperlinkEnumerator(kx::VxDbObjectId entity, IDispatch* app, IUnknown** enumerator);
HRESULT hyperlinkAdd(kx::VxDbObjectId entity, IDispatch* app, BSTR url, const VARIANT& description,
                     const VARIANT& location, IVeltHyperlink** added);
HRESULT hyperlinkGet(kx::VxDbObjectId entity, size_t index, HyperlinkField field, BSTR* text);
HRESULT hyperlinkPut(kx::VxDbObjectId entity, size_t index, HyperlinkField field, BSTR text);
HRESULT hyperlinkDelete(kx::VxDbObjectId entity, size_t index);

inline HRESULT applicationOf(IDispatch* app, IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = app;
    if (app) app->AddRef();
    return S_OK;
}

template <class Self, class Base>
class HyperlinksMembers : public Base {
public:
    void bind(kx::VxDbObjectId entity, IDispatch* app)
    {
        entity_ = entity;
        app_ = app;
    }

    HRESULT STDMETHODCALLTYPE Item(VARIANT index, IVeltHyperlink** item) override
    {
        return hyperlinkItem(entity_, app_.get(), index, item);
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override { return hyperlinkCount(entity_, count); }
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** enumerator) override
    {
        return hyperlinkEnumerator(entity_, app_.get(), enumerator);
    }
    HRESULT STDMETHODCALLTYPE Add(BSTR url, VARIANT description, VARIANT location, IVeltHyperlink** added) override
    {
        return hyperlinkAdd(entity_, app_.get(), url, description, location, added);
    }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** app) override { return applicationOf(app_.get(), app); }

private:
    kx::VxDbObjectId entity_;
    ComPtr<IDispatch> app_;
};

// One hyperlink, named by its place in the entity's list.
template <class Self, class Base>
class HyperlinkMembers : public Base {
public:
    void bind(kx::VxDbObjectId entity, size_t index, IDispatch* app)
    {
        entity_ = entity;
        index_ = index;
        app_ = app;
    }

    HRESULT STDMETHODCALLTYPE get_URL(BSTR* text) override { return get(HyperlinkField::kUrl, text); }
    HRESULT STDMETHODCALLTYPE put_URL(BSTR text) override { return put(HyperlinkField::kUrl, text); }
    HRESULT STDMETHODCALLTYPE get_URLDescription(BSTR* text) override { return get(HyperlinkField::kDescription, text); }
    HRESULT STDMETHODCALLTYPE put_URLDescription(BSTR text) override { return put(HyperlinkField::kDescription, text); }
    HRESULT STDMETHODCALLTYPE get_URLNamedLocation(BSTR* text) override { return get(HyperlinkField::kLocation, text); }
    HRESULT STDMETHODCALLTYPE put_URLNamedLocation(BSTR text) override { return put(HyperlinkField::kLocation, text); }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** app) override { return applicationOf(app_.get(), app); }
    HRESULT STDMETHODCALLTYPE Delete() override
    {
        HRESULT hr = hyperlinkDelete(entity_, index_);
        if (SUCCEEDED(hr)) index_ = kGone;  // its place now belongs to the next one
        return hr;
    }

private:
    HRESULT get(HyperlinkField field, BSTR* text) { return hyperlinkGet(entity_, index_, field, text); }
    HRESULT put(HyperlinkField field, BSTR text) { return hyperlinkPut(entity_, index_, field, text); }

    static constexpr size_t kGone = static_cast<size_t>(-1);

    kx::VxDbObjectId entity_;
    size_t index_ = kGone;
    ComPtr<IDispatch> app_;
};

}  // namespace nk
