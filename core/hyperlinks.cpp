#include "core/hyperlinks.h"

#include <new>

#include "core/call.h"
#include "core/levels.h"
#include "core/object_ref.h"
#include "core/wrapper.h"
#include "db/entity.h"
#include "db/resbuf.h"
#include "frame/enum_variant.h"
#include "services/doclock.h"
#include "services/hostservices.h"

namespace nk {
namespace {

constexpr const wchar_t* kApplication = L"PE_URL";
constexpr int kText = 1000;
constexpr int kBrace = 1002;

const IID& kCollectionIid = __uuidof(IVeltHyperlinks);
const IID& kItemIid = __uuidof(IVeltHyperlink);

std::wstring& fieldOf(Hyperlink& link, HyperlinkField field)
{
    switch (field) {
    case HyperlinkField::kDescription: return link.description;
    case HyperlinkField::kLocation: return link.location;
    case HyperlinkField::kUrl: break;
    }
    return link.url;
}

// The texts of one brace group, from the item after "{" up to its "}".
const kx::VxResBuf* readGroup(const kx::VxResBuf* rb, std::vector<Hyperlink>& links)
{
    Hyperlink link;
    std::wstring* fields[] = {&link.url, &link.description, &link.location};
    size_t n = 0;
    for (; rb; rb = rb->rbnext) {
        if (rb->restype == kBrace) {
            if (rb->resval.rstring && std::wstring_view(rb->resval.rstring) == L"}") break;
            continue;
        }
        if (rb->restype == kText && rb->resval.rstring && n < 3) *fields[n++] = rb->resval.rstring;
    }
    if (n > 0) links.push_back(std::move(link));
    return rb;
}

template <class T, class Make>
HRESULT makeObject(REFIID iid, void** out, Make&& bind)
{
    using Object = ComObject<typename ImplOf<T>::type>;
    auto* object = new (std::nothrow) Object();
    if (!object) return E_OUTOFMEMORY;
    object->AddRef();
    bind(*object);
    HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}

HRESULT makeHyperlink(kx::VxDbObjectId entity, size_t index, IDispatch* app, IVeltHyperlink** out)
{
    return makeObject<VeltHyperlinkTag>(__uuidof(IVeltHyperlink), reinterpret_cast<void**>(out),
                                        [&](auto& object) { object.bind(entity, index, app); });
}

// A 0-based position given as any number.
size_t positionOf(const VARIANT& index)
{
    Variant number;
    if (FAILED(VariantChangeType(number.get(), const_cast<VARIANT*>(&index), 0, VT_I4)) || V_I4(number.get()) < 0)
        throw E_INVALIDARG;
    return static_cast<size_t>(V_I4(number.get()));
}

// An optional text argument: missing gives an empty text.
std::wstring optionalText(const VARIANT& value)
{
    if (V_VT(&value) == VT_ERROR || V_VT(&value) == VT_EMPTY) return {};
    Variant text;
    if (FAILED(VariantChangeType(text.get(), const_cast<VARIANT*>(&value), 0, VT_BSTR))) throw E_INVALIDARG;
    return V_BSTR(text.get()) ? V_BSTR(text.get()) : L"";
}

class HyperlinkEnumerator final : public EnumVariantBase {
public:
    HyperlinkEnumerator(kx::VxDbObjectId entity, IDispatch* app, size_t count) : entity_(entity), app_(app), count_(count) {}

protected:
    bool done() override { return next_ >= count_; }
    HRESULT current(VARIANT* item) override
    {
        IVeltHyperlink* link = nullptr;
        HRESULT hr = makeHyperlink(entity_, next_, app_.get(), &link);
        if (FAILED(hr)) return hr;
        V_VT(item) = VT_DISPATCH;
        V_DISPATCH(item) = link;
        return S_OK;
    }
    void advance() override { ++next_; }
    void restart() override { next_ = 0; }

private:
    kx::VxDbObjectId entity_;
    ComPtr<IDispatch> app_;
    size_t count_;
    size_t next_ = 0;
};

}  // namespace

std::vector<Hyperlink> readHyperlinks(kx::VxDbObjectId entity)
{
    kx::VxResBufPtr chain;
    {
        OpenedObject<kx::VxDbEntity> object(entity, kx::VxDb::kForRead);
        chain.reset(object.orThrow()->xData(kApplication));
    }
    std::vector<Hyperlink> links;
    for (const kx::VxResBuf* rb = chain.get(); rb; rb = rb ? rb->rbnext : nullptr) {
        if (rb->restype == kBrace && rb->resval.rstring && std::wstring_view(rb->resval.rstring) == L"{")
            rb = readGroup(rb->rbnext, links);
    }
    return links;
}

void writeHyperlinks(kx::VxDbObjectId entity, const std::vector<Hyperlink>& links)
{
    kx::VxAxDocLock lock(entity, kx::VxAxDocLock::kWrite);
    check(lock.lockStatus());
    OpenedObject<kx::VxDbEntity> object(entity, kx::VxDb::kForWrite);
    kx::VxDbEntity* e = object.orThrow();
    check(kx::vxdbRegApp(kApplication, e->database()));
    // Without links the group is empty, which removes the application's data.
    kx::VxResBufPtr chain(kx::vxutNewString(1001, kApplication));
    kx::VxResBuf* last = chain.get();
    auto add = [&last](kx::VxResBuf* rb) {
        if (!rb) throw kx::Velt::eOutOfMemory;
        last->rbnext = rb;
        last = rb;
    };
    for (const Hyperlink& link : links) {
        add(kx::vxutNewString(kBrace, L"{"));
        add(kx::vxutNewString(kText, link.url));
        add(kx::vxutNewString(kText, link.description));
        add(kx::vxutNewString(kText, link.location));
        add(kx::vxutNewString(kBrace, L"}"));
    }
    check(e->setXData(chain.get()));
}

HRESULT makeHyperlinks(kx::VxDbObjectId entity, IDispatch* app, IVeltHyperlinks** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return makeObject<VeltHyperlinksTag>(__uuidof(IVeltHyperlinks), reinterpret_cast<void**>(out),
                                         [&](auto& object) { object.bind(entity, app); });
}

HRESULT hyperlinkItem(kx::VxDbObjectId entity, IDispatch* app, const VARIANT& index, IVeltHyperlink** item)
{
    if (!item) return E_POINTER;
    *item = nullptr;
    return guarded(kCollectionIid, [&] {
        const size_t position = positionOf(index);
        if (position >= readHyperlinks(entity).size()) return E_INVALIDARG;
        return makeHyperlink(entity, position, app, item);
    });
}

HRESULT hyperlinkCount(kx::VxDbObjectId entity, LONG* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return guarded(kCollectionIid, [&] {
        *count = static_cast<LONG>(readHyperlinks(entity).size());
        return S_OK;
    });
}

HRESULT hyperlinkEnumerator(kx::VxDbObjectId entity, IDispatch* app, IUnknown** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return guarded(kCollectionIid, [&] {
        return EnumVariantBase::create<HyperlinkEnumerator>(enumerator, entity, app, readHyperlinks(entity).size());
    });
}

HRESULT hyperlinkAdd(kx::VxDbObjectId entity, IDispatch* app, BSTR url, const VARIANT& description,
                     const VARIANT& location, IVeltHyperlink** added)
{
    if (!added) return E_POINTER;
    *added = nullptr;
    return guarded(kCollectionIid, [&] {
        Hyperlink link{url ? url : L"", optionalText(description), optionalText(location)};
        std::vector<Hyperlink> links = readHyperlinks(entity);
        links.push_back(std::move(link));
        writeHyperlinks(entity, links);
        return makeHyperlink(entity, links.size() - 1, app, added);
    });
}

HRESULT hyperlinkGet(kx::VxDbObjectId entity, size_t index, HyperlinkField field, BSTR* text)
{
    if (!text) return E_POINTER;
    *text = nullptr;
    return guarded(kItemIid, [&] {
        std::vector<Hyperlink> links = readHyperlinks(entity);
        if (index >= links.size()) return E_FAIL;  // deleted since
        *text = SysAllocString(fieldOf(links[index], field).c_str());
        return *text ? S_OK : E_OUTOFMEMORY;
    });
}

HRESULT hyperlinkPut(kx::VxDbObjectId entity, size_t index, HyperlinkField field, BSTR text)
{
    return guarded(kItemIid, [&] {
        std::vector<Hyperlink> links = readHyperlinks(entity);
        if (index >= links.size()) return E_FAIL;
        fieldOf(links[index], field) = text ? text : L"";
        writeHyperlinks(entity, links);
        return S_OK;
    });
}

HRESULT hyperlinkDelete(kx::VxDbObjectId entity, size_t index)
{
    return guarded(kItemIid, [&] {
        std::vector<Hyperlink> links = readHyperlinks(entity);
        if (index >= links.size()) return E_FAIL;
        links.erase(links.begin() + static_cast<std::ptrdiff_t>(index));
        writeHyperlinks(entity, links);
        return S_OK;
    });
}

}  // namespace nk
