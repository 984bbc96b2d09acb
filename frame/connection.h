// Connection points: the event sources of every wrapper (the object-events interface of its
// coclass, and IPropertyNotifySink). A connection point lives inside its object and shares
// the object's reference count.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <memory>
#include <vector>

namespace nk {

class ConnectionPoint final : public IConnectionPoint {
public:
    // A counted point adds its sinks to objectSinkCount().
    ConnectionPoint(IConnectionPointContainer* container, const IID& iid, bool counted = false);
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
    bool counted_;
    std::vector<IUnknown*> sinks_;  // cookie = index + 1
};

// Sinks connected to the wrappers of database objects, module-wide: while there are none, a
// change of an object needs no notice at all.
long objectSinkCount();

// Mixin for a class with event sources. `events` is the coclass's source interface, or null;
// the sinks of a wrapper of a database object are counted. The connection points are made
// when a client first asks for one: most wrappers never hear of a sink, and making and
// destroying them cost every wrapper.
class EventSource : public IConnectionPointContainer {
public:
    explicit EventSource(const IID* events, bool ofDatabaseObject = false)
        : events_(events), counted_(ofDatabaseObject)
    {
    }

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override;

    // Whether any sink is connected to either source.
    bool hasSinks() const { return points_ && anySink(); }
    // Calls IPropertyNotifySink::OnChanged on every sink.
    void firePropertyChanged(DISPID id);
    // Calls the object-events Modified on every sink.
    void fireModified(IDispatch* object);

private:
    struct Points;
    struct PointsDeleter {
        void operator()(Points* points) const;
    };

    // The points, made on the first call; null when there is no memory for them.
    Points* points();
    ConnectionPoint* find(REFIID iid);
    bool anySink() const;

    std::unique_ptr<Points, PointsDeleter> points_;
    const IID* events_;
    bool counted_;
};

}  // namespace nk
