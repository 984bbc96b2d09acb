#include "opm/extensions.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <new>

#include "db/database.h"
#include "frame/unknown.h"
#include "services/hostservices.h"

namespace nk {
namespace {

// ---- the five runtime classes ----

struct RuntimeClasses {
    kx::VxRxClass* propertyExtension = nullptr;
    kx::VxRxClass* propertyExtensionFactory = nullptr;
    kx::VxRxClass* propertySources = nullptr;
    kx::VxRxClass* perInstanceExtension = nullptr;
    kx::VxRxClass* perInstanceFactory = nullptr;
};
RuntimeClasses gClasses;

// A class this module holds must still be the one the runtime knows by its name; a name
// that another module took is a fatal mismatch.
void registerClass(kx::VxRxClass*& held, const wchar_t* name)
{
    if (held) {
        if (kx::vxrxFindClass(name) != held) kx::vxrxAbort("Class mismatch");
        return;
    }
    const kx::VxRxClass* parent = kx::VxRxObject::desc();
    held = kx::newVxRxClass(name, parent ? parent->name() : L"VxRxObject");
    if (!held) kx::vxrxAbort("Class mismatch");
}

void unregisterClass(kx::VxRxClass*& held)
{
    kx::deleteVxRxClass(held);
    held = nullptr;
}

// ---- growable arrays of the services ----

// Failures inside the runtime go to the host's crash recorder before they are raised.
[[noreturn]] void raise(kx::Velt::ErrorStatus status)
{
    kx::VxCrashRecorder* recorder = kx::veltGetCrashRecorder();
    recorder->setError(status);
    recorder->record();
    throw status;
}

// An array shared until one of its holders changes it; capacity grows by 8.
template <class T>
class CowArray {
public:
    const std::vector<T>& items() const
    {
        static const std::vector<T> kNone;
        return data_ ? *data_ : kNone;
    }
    // Another holder of the same items, as a snapshot that later changes leave alone.
    std::shared_ptr<const std::vector<T>> share() const { return data_; }

    void append(const T& item)
    {
        std::vector<T>& items = own();
        if (items.size() == items.capacity()) {
            try {
                items.reserve(items.capacity() + kGrowth);
            } catch (const std::bad_alloc&) {
                raise(kx::Velt::eNotApplicable);
            }
        }
        items.push_back(item);
    }
    void clear() { data_.reset(); }

private:
    static constexpr size_t kGrowth = 8;

    std::vector<T>& own()
    {
        try {
            if (!data_) {
                auto made = std::make_shared<std::vector<T>>();
                made->reserve(kGrowth);
                data_ = std::move(made);
            } else if (data_.use_count() > 1) {
                auto copy = std::make_shared<std::vector<T>>();
                copy->reserve(data_->capacity());
                copy->assign(data_->begin(), data_->end());
                data_ = std::move(copy);
            }
        } catch (const std::bad_alloc&) {
            raise(kx::Velt::eOutOfMemory);
        }
        return *data_;
    }

    std::shared_ptr<std::vector<T>> data_;
};

// VT_ARRAY | VT_BSTR of the names, in the given order; false for none or when it cannot be made.
template <class Names>
bool namesToVariant(const Names& names, VARIANT* out)
{
    if (!out || names.empty()) return false;
    SafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
    if (!array.get()) return false;
    LONG i = 0;
    for (const std::wstring& name : names) {
        Bstr text(name.c_str(), static_cast<UINT>(name.size()));
        if (!text.get() || FAILED(SafeArrayPutElement(array.get(), &i, text.get()))) return false;
        ++i;
    }
    VariantClear(out);
    V_VT(out) = VT_ARRAY | VT_BSTR;
    V_ARRAY(out) = array.detach();
    return true;
}

std::wstring nameOf(const BSTR* name) { return *name ? std::wstring(*name, SysStringLen(*name)) : std::wstring(); }

// ---- the property manager ----

class PropertyManager final : public SingleInterfaceObject<IVeltPropertyManager> {
public:
    HRESULT STDMETHODCALLTYPE AddProperty(IVeltDynamicProperty* property) override
    {
        if (!property) return E_INVALIDARG;
        if (find(property) != properties_.end()) return S_FALSE;
        properties_.emplace_back(property);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RemoveProperty(IVeltDynamicProperty* property) override
    {
        auto it = find(property);
        if (it == properties_.end()) return S_FALSE;
        properties_.erase(it);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override
    {
        if (!count) return E_POINTER;
        *count = static_cast<LONG>(properties_.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Item(LONG index, IVeltDynamicProperty** property) override
    {
        if (!property) return E_POINTER;
        *property = nullptr;
        if (index < 0 || static_cast<size_t>(index) >= properties_.size()) return E_INVALIDARG;
        *property = ComPtr<IVeltDynamicProperty>(properties_[static_cast<size_t>(index)]).detach();
        return S_OK;
    }

private:
    std::vector<ComPtr<IVeltDynamicProperty>>::iterator find(IVeltDynamicProperty* property)
    {
        return std::find_if(properties_.begin(), properties_.end(),
                            [&](const ComPtr<IVeltDynamicProperty>& p) { return p.get() == property; });
    }

    std::vector<ComPtr<IVeltDynamicProperty>> properties_;
};

// ---- the services ----

class VeltOpmPropertyExtension final : public OPMPropertyExtension {
public:
    IVeltPropertyManager* propertyManager() override
    {
        if (!manager_) {
            auto* made = new (std::nothrow) PropertyManager();
            if (!made) return nullptr;
            manager_ = ComPtr<IVeltPropertyManager>(made);
        }
        return ComPtr<IVeltPropertyManager>(manager_).detach();
    }

private:
    ComPtr<IVeltPropertyManager> manager_;
};

struct NoCaseLess {
    bool operator()(const std::wstring& a, const std::wstring& b) const { return _wcsicmp(a.c_str(), b.c_str()) < 0; }
};

class VeltOpmPropertyExtensionFactory final : public OPMPropertyExtensionFactory {
public:
    ~VeltOpmPropertyExtensionFactory() override
    {
        for (const auto& [cls, extension] : pairs_.items()) {
            if (!cls) continue;
            kx::VxRxClass::desc()->delX(OPMPropertyExtension::desc());
            delete extension;
        }
        pairs_.clear();
    }

    OPMPropertyExtension* createExtension(const kx::VxRxClass* cls, long kind) override
    {
        if (kind == kOpmAllClasses) {
            if (!shared_) shared_ = std::make_unique<VeltOpmPropertyExtension>();
            return shared_.get();
        }
        if (!cls) return nullptr;
        if (OPMPropertyExtension* found = findByClass(cls)) return found;
        auto made = std::make_unique<VeltOpmPropertyExtension>();
        // Attached to the descriptor of the runtime-class class itself, as the palette expects.
        kx::VxRxClass::desc()->addX(OPMPropertyExtension::desc(), made.get());
        pairs_.append({cls, made.get()});
        return made.release();
    }

    OPMPropertyExtension* createExtensionByName(const wchar_t* name) override
    {
        if (!name) return nullptr;
        if (OPMPropertyExtension* found = findByName(name)) return found;
        auto& slot = byName_[name];
        slot = std::make_unique<VeltOpmPropertyExtension>();
        return slot.get();
    }

    bool propertyManagerByName(const wchar_t* name, IVeltPropertyManager** manager) override
    {
        OPMPropertyExtension* extension = findByName(name);
        if (!extension || !manager) return false;
        *manager = extension->propertyManager();
        return true;
    }

    bool propertyCount(const kx::VxRxClass* cls, LONG* count) override
    {
        if (!count) return false;
        *count = 0;
        OPMPropertyExtension* extension = cls ? findByClass(cls) : nullptr;
        if (!extension) return false;
        ComPtr<IVeltPropertyManager> manager = ComPtr<IVeltPropertyManager>::adopt(extension->propertyManager());
        return manager && SUCCEEDED(manager->get_Count(count));
    }

    OPMPropertyExtension* findByName(const wchar_t* name) const override
    {
        if (!name) return nullptr;
        auto it = byName_.find(name);
        return it == byName_.end() ? nullptr : it->second.get();
    }

    OPMPropertyExtension* findByClass(const kx::VxRxClass* cls) const override
    {
        for (const auto& [c, extension] : pairs_.items())
            if (c == cls) return extension;
        return nullptr;
    }

    OPMPropertyExtension* allClassesExtension() const override { return shared_.get(); }

private:
    CowArray<std::pair<const kx::VxRxClass*, VeltOpmPropertyExtension*>> pairs_;  // owned
    std::map<std::wstring, std::unique_ptr<VeltOpmPropertyExtension>, NoCaseLess> byName_;
    std::unique_ptr<VeltOpmPropertyExtension> shared_;
};

class VeltOpmPerInstancePropertyExtension final : public OPMPerInstancePropertyExtension {
public:
    bool addPropertySourceName(const BSTR* name) override
    {
        if (!name) return false;
        names_.append(nameOf(name));
        return true;
    }
    bool removePropertySourceName(const BSTR* name) override
    {
        if (!name) return false;
        const std::wstring wanted = nameOf(name);
        const std::vector<std::wstring>& items = names_.items();
        auto it = std::find(items.begin(), items.end(), wanted);
        if (it == items.end()) return true;
        // Rebuilt without the first match: the others keep their order.
        CowArray<std::wstring> kept;
        for (auto i = items.begin(); i != items.end(); ++i)
            if (i != it) kept.append(*i);
        names_ = std::move(kept);
        return true;
    }
    bool propertySourceNames(VARIANT* names) const override { return namesToVariant(names_.items(), names); }
    void setRuntimeClass(const kx::VxRxClass* cls) override { class_ = cls; }
    const kx::VxRxClass* runtimeClass() const override { return class_; }

private:
    const kx::VxRxClass* class_ = nullptr;
    CowArray<std::wstring> names_;
};

class VeltOpmPerInstancePropertyExtensionFactory final : public OPMPerInstancePropertyExtensionFactory {
public:
    ~VeltOpmPerInstancePropertyExtensionFactory() override
    {
        for (const auto& pair : pairs_.items()) delete pair.second;
        pairs_.clear();
    }

    OPMPerInstancePropertyExtension* createExtension(const kx::VxRxClass* cls) override
    {
        if (!cls) return nullptr;
        if (OPMPerInstancePropertyExtension* found = extension(cls)) return found;
        auto made = std::make_unique<VeltOpmPerInstancePropertyExtension>();
        made->setRuntimeClass(cls);
        pairs_.append({cls, made.get()});
        return made.release();
    }

    OPMPerInstancePropertyExtension* extension(const kx::VxRxClass* cls) const override
    {
        for (const auto& [c, extension] : pairs_.items())
            if (c == cls) return extension;
        return nullptr;
    }

private:
    CowArray<std::pair<const kx::VxRxClass*, VeltOpmPerInstancePropertyExtension*>> pairs_;  // owned
};

class VeltOpmPerInstancePropertySources final : public OPMPerInstancePropertySources {
public:
    bool addPropertySource(const BSTR* name, IUnknown* source) override
    {
        if (!name || !source) return false;
        sources_.emplace(nameOf(name), ComPtr<IUnknown>(source));
        return true;
    }
    IUnknown* propertySource(const BSTR* name) const override
    {
        if (!name) return nullptr;
        auto it = sources_.find(nameOf(name));
        return it == sources_.end() ? nullptr : ComPtr<IUnknown>(it->second).detach();
    }
    bool removePropertySource(const BSTR* name) override
    {
        if (!name) return false;
        return sources_.erase(nameOf(name)) > 0;
    }
    bool propertySourceNames(VARIANT* names) const override
    {
        std::vector<std::wstring> keys;
        for (const auto& entry : sources_) keys.push_back(entry.first);
        return namesToVariant(keys, names);
    }

private:
    std::map<std::wstring, ComPtr<IUnknown>> sources_;
};

// ---- the module's four services ----

struct Services {
    std::unique_ptr<VeltOpmPropertyExtensionFactory> factory;
    std::unique_ptr<VeltOpmPerInstancePropertyExtensionFactory> perInstanceFactory;
    std::unique_ptr<VeltOpmPerInstancePropertyExtension> perInstanceExtension;
    std::unique_ptr<VeltOpmPerInstancePropertySources> sources;
};
Services gServices;

}  // namespace

kx::VxRxClass* OPMPropertyExtension::desc() { return gClasses.propertyExtension; }
kx::VxRxClass* OPMPropertyExtensionFactory::desc() { return gClasses.propertyExtensionFactory; }
kx::VxRxClass* OPMPerInstancePropertyExtension::desc() { return gClasses.perInstanceExtension; }
kx::VxRxClass* OPMPerInstancePropertyExtensionFactory::desc() { return gClasses.perInstanceFactory; }
kx::VxRxClass* OPMPerInstancePropertySources::desc() { return gClasses.propertySources; }

void initOpmPropertyExtension()
{
    if (gServices.factory) return;
    registerClass(gClasses.propertyExtension, L"OPMPropertyExtension");
    registerClass(gClasses.propertyExtensionFactory, L"OPMPropertyExtensionFactory");
    registerClass(gClasses.propertySources, L"OPMPerInstancePropertySources");
    registerClass(gClasses.perInstanceExtension, L"OPMPerInstancePropertyExtension");
    registerClass(gClasses.perInstanceFactory, L"OPMPerInstancePropertyExtensionFactory");

    gServices.factory = std::make_unique<VeltOpmPropertyExtensionFactory>();
    gServices.perInstanceFactory = std::make_unique<VeltOpmPerInstancePropertyExtensionFactory>();
    gServices.perInstanceExtension = std::make_unique<VeltOpmPerInstancePropertyExtension>();
    gServices.sources = std::make_unique<VeltOpmPerInstancePropertySources>();

    kx::VxRxClass* database = kx::VxDbDatabase::desc();
    database->addX(OPMPropertyExtensionFactory::desc(), gServices.factory.get());
    database->addX(OPMPerInstancePropertyExtensionFactory::desc(), gServices.perInstanceFactory.get());
    database->addX(OPMPerInstancePropertyExtension::desc(), gServices.perInstanceExtension.get());
    database->addX(OPMPerInstancePropertySources::desc(), gServices.sources.get());
}

bool opmPropertyExtensionAttached() { return gServices.factory != nullptr; }

namespace {

template <class Service>
Service* attached()
{
    kx::VxRxClass* protocol = Service::desc();
    return protocol ? static_cast<Service*>(kx::VxDbDatabase::desc()->queryX(protocol)) : nullptr;
}

}  // namespace

OPMPropertyExtensionFactory* opmPropertyExtensionFactory() { return attached<OPMPropertyExtensionFactory>(); }
OPMPerInstancePropertyExtensionFactory* opmPerInstanceExtensionFactory()
{
    return attached<OPMPerInstancePropertyExtensionFactory>();
}
OPMPerInstancePropertyExtension* opmPerInstanceExtension() { return attached<OPMPerInstancePropertyExtension>(); }
OPMPerInstancePropertySources* opmPropertySources() { return attached<OPMPerInstancePropertySources>(); }

std::vector<ComPtr<IVeltDynamicProperty>> dynamicPropertiesOf(const kx::VxRxClass* cls)
{
    std::vector<ComPtr<IVeltDynamicProperty>> found;
    OPMPropertyExtensionFactory* factory = opmPropertyExtensionFactory();
    if (!factory) return found;
    auto collect = [&](OPMPropertyExtension* extension) {
        if (!extension) return;
        auto manager = ComPtr<IVeltPropertyManager>::adopt(extension->propertyManager());
        LONG count = 0;
        if (!manager || FAILED(manager->get_Count(&count))) return;
        for (LONG i = 0; i < count; ++i) {
            ComPtr<IVeltDynamicProperty> property;
            if (SUCCEEDED(manager->Item(i, property.put())) && property) found.push_back(property);
        }
    };
    for (const kx::VxRxClass* c = cls; c; c = c->myParent()) collect(factory->findByClass(c));
    collect(factory->allClassesExtension());
    return found;
}

}  // namespace nk

using namespace nk;

extern "C" void UninitOPMPropertyExtension()
{
    if (!gServices.factory) return;
    kx::VxRxClass* database = kx::VxDbDatabase::desc();
    database->delX(OPMPerInstancePropertySources::desc());
    database->delX(OPMPerInstancePropertyExtension::desc());
    database->delX(OPMPerInstancePropertyExtensionFactory::desc());
    database->delX(OPMPropertyExtensionFactory::desc());

    gServices.sources.reset();
    gServices.perInstanceExtension.reset();
    gServices.perInstanceFactory.reset();
    gServices.factory.reset();

    unregisterClass(gClasses.perInstanceFactory);
    unregisterClass(gClasses.perInstanceExtension);
    unregisterClass(gClasses.propertySources);
    unregisterClass(gClasses.propertyExtensionFactory);
    unregisterClass(gClasses.propertyExtension);
}

HRESULT VxOpmGetClassPropertyManager(const wchar_t* className, IVeltPropertyManager** manager)
{
    if (!manager) return E_POINTER;
    *manager = nullptr;
    OPMPropertyExtensionFactory* factory = opmPropertyExtensionFactory();
    if (!factory) return E_FAIL;
    kx::VxRxClass* cls = className ? kx::vxrxFindClass(className) : nullptr;
    if (!cls) return E_INVALIDARG;
    OPMPropertyExtension* extension = factory->createExtension(cls);
    if (!extension) return E_FAIL;
    *manager = extension->propertyManager();
    return *manager ? S_OK : E_OUTOFMEMORY;
}
