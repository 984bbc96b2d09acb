#include "frame/connection.h"

#include <olectl.h>

#include <atomic>
#include <new>
#include <utility>

#include "frame/com.h"
#include "frame/unknown.h"
#include "kxauto.h"

namespace nk {
namespace {

// A snapshot enumerator over interface pointers or connection data.
template <class EnumItf, class Item>
class ListEnum final : public SingleInterfaceObject<EnumItf> {
public:
    explicit ListEnum(std::vector<Item> items) : items_(std::move(items))
    {
        for (auto& item : items_) addRef(item);
    }
    ~ListEnum()
    {
        for (auto& item : items_) release(item);
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Item* out, ULONG* fetched) override
    {
        if (!out || (count != 1 && !fetched)) return E_POINTER;
        ULONG n = 0;
        while (n < count && pos_ < items_.size()) {
            out[n] = items_[pos_++];
            addRef(out[n]);
            ++n;
        }
        if (fetched) *fetched = n;
        return n == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override
    {
        size_t left = items_.size() - pos_;
        pos_ += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override
    {
        pos_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(EnumItf** out) override
    {
        if (!out) return E_POINTER;
        auto* copy = new (std::nothrow) ListEnum(items_);
        if (!copy) return E_OUTOFMEMORY;
        copy->pos_ = pos_;
        copy->AddRef();
        *out = copy;
        return S_OK;
    }

private:
    static void addRef(IConnectionPoint* p) { p->AddRef(); }
    static void release(IConnectionPoint* p) { p->Release(); }
    static void addRef(CONNECTDATA& d) { d.pUnk->AddRef(); }
    static void release(CONNECTDATA& d) { d.pUnk->Release(); }

    std::vector<Item> items_;
    size_t pos_ = 0;
};

template <class EnumItf, class Item>
HRESULT makeEnum(std::vector<Item> items, EnumItf** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    auto* e = new (std::nothrow) ListEnum<EnumItf, Item>(std::move(items));
    if (!e) return E_OUTOFMEMORY;
    e->AddRef();
    *out = e;
    return S_OK;
}

}  // namespace

namespace {
std::atomic<long> gObjectSinks{0};
}

long objectSinkCount() { return gObjectSinks.load(std::memory_order_relaxed); }

ConnectionPoint::ConnectionPoint(IConnectionPointContainer* container, const IID& iid, bool counted)
    : container_(container), iid_(iid), counted_(counted)
{
}

ConnectionPoint::~ConnectionPoint()
{
    for (IUnknown* sink : sinks_) {
        if (!sink) continue;
        if (counted_) --gObjectSinks;
        sink->Release();
    }
}

HRESULT ConnectionPoint::QueryInterface(REFIID iid, void** ppv)
{
    if (!ppv) return E_POINTER;
    if (iid != IID_IUnknown && iid != IID_IConnectionPoint) {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    *ppv = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
}

ULONG ConnectionPoint::AddRef() { return container_->AddRef(); }
ULONG ConnectionPoint::Release() { return container_->Release(); }

HRESULT ConnectionPoint::GetConnectionInterface(IID* iid)
{
    if (!iid) return E_POINTER;
    *iid = iid_;
    return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** out)
{
    if (!out) return E_POINTER;
    container_->AddRef();
    *out = container_;
    return S_OK;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie)
{
    if (!cookie) return E_POINTER;
    *cookie = 0;
    if (!sink) return E_POINTER;
    IUnknown* typed = nullptr;
    if (FAILED(sink->QueryInterface(iid_, reinterpret_cast<void**>(&typed))) || !typed)
        return CONNECT_E_CANNOTCONNECT;
    if (counted_) ++gObjectSinks;
    for (size_t i = 0; i < sinks_.size(); ++i) {
        if (!sinks_[i]) {
            sinks_[i] = typed;
            *cookie = static_cast<DWORD>(i + 1);
            return S_OK;
        }
    }
    sinks_.push_back(typed);
    *cookie = static_cast<DWORD>(sinks_.size());
    return S_OK;
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie)
{
    if (cookie == 0 || cookie > sinks_.size() || !sinks_[cookie - 1]) return CONNECT_E_NOCONNECTION;
    if (counted_) --gObjectSinks;
    std::exchange(sinks_[cookie - 1], nullptr)->Release();
    return S_OK;
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** out)
{
    std::vector<CONNECTDATA> data;
    for (size_t i = 0; i < sinks_.size(); ++i)
        if (sinks_[i]) data.push_back({sinks_[i], static_cast<DWORD>(i + 1)});
    return makeEnum(std::move(data), out);
}

struct EventSource::Points {
    Points(EventSource* owner, const IID* events, bool counted)
        : propertySink(owner, IID_IPropertyNotifySink, counted), events(owner, events ? *events : IID_NULL, counted)
    {
    }
    ConnectionPoint propertySink;
    ConnectionPoint events;
};

void EventSource::PointsDeleter::operator()(Points* points) const { delete points; }

EventSource::Points* EventSource::points()
{
    if (!points_) points_.reset(new (std::nothrow) Points(this, events_, counted_));
    return points_.get();
}

// iid is one of the two the source has (FindConnectionPoint has asked).
ConnectionPoint* EventSource::find(REFIID iid)
{
    Points* made = points();
    if (!made) return nullptr;
    return iid == IID_IPropertyNotifySink ? &made->propertySink : &made->events;
}

HRESULT EventSource::FindConnectionPoint(REFIID iid, IConnectionPoint** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != IID_IPropertyNotifySink && !(events_ && iid == *events_)) return CONNECT_E_NOCONNECTION;
    *out = find(iid);
    if (!*out) return E_OUTOFMEMORY;
    (*out)->AddRef();
    return S_OK;
}

HRESULT EventSource::EnumConnectionPoints(IEnumConnectionPoints** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    Points* made = points();
    if (!made) return E_OUTOFMEMORY;
    std::vector<IConnectionPoint*> list;
    if (events_) list.push_back(&made->events);
    list.push_back(&made->propertySink);
    return makeEnum(std::move(list), out);
}

bool EventSource::anySink() const
{
    for (const ConnectionPoint* point : {&points_->propertySink, &points_->events})
        for (IUnknown* sink : point->sinks())
            if (sink) return true;
    return false;
}

void EventSource::firePropertyChanged(DISPID id)
{
    if (!points_) return;
    for (IUnknown* sink : points_->propertySink.sinks())
        if (sink) static_cast<IPropertyNotifySink*>(sink)->OnChanged(id);
}

void EventSource::fireModified(IDispatch* object)
{
    if (!points_ || !events_ || *events_ != __uuidof(IVeltObjectEvents)) return;
    ComPtr<IVeltObject> changed;
    if (object) object->QueryInterface(__uuidof(IVeltObject), changed.putVoid());
    for (IUnknown* sink : points_->events.sinks())
        if (sink) static_cast<IVeltObjectEvents*>(sink)->Modified(changed.get());
}

}  // namespace nk
