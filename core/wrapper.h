// The automation class of a coclass: its default interface with every base interface,
// IDispatch from the type library, event sources, error-information support and class
// information. Members that are not written yet come from the Pending<> mixins.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <type_traits>

#include "core/bound_object.h"
#include "frame/connection.h"
#include "frame/object.h"
#include "opm/palette_support.h"

namespace nk {

// Wrappers of database objects are bound to their object; the others (colours, preferences,
// the database ...) hold what they stand for themselves, through the binding of their
// interface (BindingOf, specialised beside the class that needs one).
template <class Itf>
constexpr bool kBoundToObject = std::is_base_of_v<IVeltObject, Itf>;
struct Unbound {
    explicit Unbound(const CLSID&) {}
};
template <class Itf>
struct BindingOf {
    using type = std::conditional_t<kBoundToObject<Itf>, BoundObject, Unbound>;
};

template <class Tag, class Itf, class Source>
class Wrapper : public ChainOf<Itf, Itf, Wrapper<Tag, Itf, Source>>::type,
                public EventSource,
                public ISupportErrorInfo,
                public IProvideClassInfo2,
                public BindingOf<Itf>::type,
                public PaletteOf<Tag, Wrapper<Tag, Itf, Source>> {
    using Binding = typename BindingOf<Itf>::type;

public:
    Wrapper() : EventSource(sourceIid(), kBoundToObject<Itf>), Binding(Tag::clsid())
    {
        if constexpr (kBoundToObject<Itf>) this->setIdentity(static_cast<Itf*>(this));
    }
    virtual ~Wrapper() = default;

    static const CLSID& classId() { return Tag::clsid(); }
    HRESULT finalConstruct() { return S_OK; }

    void* findInterface(REFIID iid)
    {
        // The binding interface first: the wrapper lookup asks for it on every call that
        // hands out an existing wrapper.
        if constexpr (kBoundToObject<Itf>) {
            if (iid == __uuidof(IVeltBaseObject)) return static_cast<IVeltBaseObject*>(this);
        }
        if (inChain<Itf>(iid)) return static_cast<Itf*>(this);
        if (iid == IID_IConnectionPointContainer) return static_cast<IConnectionPointContainer*>(this);
        if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
        if (iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2)
            return static_cast<IProvideClassInfo2*>(this);
        if constexpr (kBoundToObject<Itf>) {
            if (iid == __uuidof(IRetrieveApplication)) return static_cast<IRetrieveApplication*>(this);
        }
        return this->paletteInterface(iid);
    }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override
    {
        return inChain<Itf>(iid) && iid != IID_IUnknown && iid != IID_IDispatch ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override
    {
        if (!info) return E_POINTER;
        *info = Module::listedTypeInfo(classId());
        if (!*info) return TYPE_E_ELEMENTNOTFOUND;
        (*info)->AddRef();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* guid) override
    {
        if (!guid) return E_POINTER;
        *guid = GUID_NULL;
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID || !sourceIid()) return E_INVALIDARG;
        *guid = *sourceIid();
        return S_OK;
    }

protected:
    // Object-events sinks hear Modified with this object, property sinks OnChanged for
    // every property, after the database object was changed and closed.
    void fireChanged()
    {
        if (!hasSinks()) return;  // the common case: nobody listens
        fireModified(static_cast<Itf*>(this));
        firePropertyChanged(DISPID_UNKNOWN);
    }

private:
    static const IID* sourceIid()
    {
        if constexpr (std::is_same_v<Source, NoEvents>) {
            return nullptr;
        } else {
            return &__uuidof(Source);
        }
    }
};

// The tag of each coclass: its CLSID, default and source interfaces.
#define NK_COCLASS_TAG(Name, Default, Source)                          \
    struct Name##Tag {                                                 \
        static const CLSID& clsid() { return CLSID_##Name; }           \
        using DefaultInterface = Default;                              \
        using SourceInterface = Source;                                \
    };
NK_FOR_EACH_COCLASS(NK_COCLASS_TAG)
#undef NK_COCLASS_TAG

// The class that implements a coclass. A hand-written class specialises this for its tag.
template <class Tag>
struct ImplOf {
    using type = Wrapper<Tag, typename Tag::DefaultInterface, typename Tag::SourceInterface>;
};

// Only these classes may live inside an outer object.
template <class Tag>
constexpr bool kAggregatable = false;
template <>
inline constexpr bool kAggregatable<VeltDimStylesTag> = true;
template <>
inline constexpr bool kAggregatable<VeltUCSTag> = true;
template <>
inline constexpr bool kAggregatable<VeltUCSsTag> = true;

}  // namespace nk
