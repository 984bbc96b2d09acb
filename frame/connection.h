// Connection points: the event sources of every wrapper (the object-events interface of its
// coclass, and IPropertyNotifySink). A connection point lives inside its object and shares
// the object's reference count.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <vector>

namespace nk {

class ConnectionPoint final : public IConnectionPoint {
public:
    ConnectionPoint(IConnectionPointContainer* container, const IID& iid);
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;
    ~ConnectionPoint();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override;
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override;

    const IID& iid() const { return iid_; }
    // The connected sinks, already queried for iid(); null entries are free slots.
    const std::vector<IUnknown*>& sinks() const { return sinks_; }

private:
    IConnectionPointContainer* container_;
    IID iid_;
    std::vector<IUnknown*> sinks_;  // cookie = index + 1
};

// Mixin for a class with event sources. `events` is the coclass's source interface, or null.
class EventSource : public IConnectionPointContainer {
public:
    explicit EventSource(const IID* events);

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override;

    // Whether any sink is connected to either source.
    bool hasSinks() const;
    // Calls IPropertyNotifySink::OnChanged on every sink.
    void firePropertyChanged(DISPID id);
    // Calls the object-events Modified on every sink.
    void fireModified(IDispatch* object);

private:
    ConnectionPoint* find(REFIID iid);

    ConnectionPoint propertySink_;
    ConnectionPoint events_;
    bool hasEvents_;
};

}  // namespace nk
