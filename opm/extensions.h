// The Properties-palette services attached to the database class at load time. The palette
// knows five runtime classes by name and finds their services as protocol extensions of
// the database class: a factory of property extensions (one per class, one by name, one
// shared by all classes), each holding a property manager of dynamic properties; a factory
// of per-instance extensions; one per-instance extension (names of property sources); and
// a registry of named property sources.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "axsupport/export.h"
#include "frame/com.h"
#include "opm/palette.h"
#include "rx/rxobject.h"

namespace nk {

class OPMPropertyExtension : public kx::VxRxObject {
public:
    static kx::VxRxClass* desc();  // null outside the services' life
    kx::VxRxClass* isA() const override { return desc(); }
    // The manager of the extension's dynamic properties, made on the first call; with a
    // reference for the caller.
    virtual IVeltPropertyManager* propertyManager() = 0;
};

// The kind of extension shared by every class.
constexpr long kOpmAllClasses = 2;

class OPMPropertyExtensionFactory : public kx::VxRxObject {
public:
    static kx::VxRxClass* desc();
    kx::VxRxClass* isA() const override { return desc(); }
    // The extension of a class, made on first request; kOpmAllClasses gives the shared one
    // whatever the class. Null for a null class.
    virtual OPMPropertyExtension* createExtension(const kx::VxRxClass* cls, long kind = 0) = 0;
    // The extension of a name (any case), made on first request.
    virtual OPMPropertyExtension* createExtensionByName(const wchar_t* name) = 0;
    // False when no extension has that name.
    virtual bool propertyManagerByName(const wchar_t* name, IVeltPropertyManager** manager) = 0;
    // The number of dynamic properties of a class; false (and 0) when it has none to count.
    virtual bool propertyCount(const kx::VxRxClass* cls, LONG* count) = 0;
    // Look-ups that make nothing.
    virtual OPMPropertyExtension* findByName(const wchar_t* name) const = 0;
    virtual OPMPropertyExtension* findByClass(const kx::VxRxClass* cls) const = 0;
    virtual OPMPropertyExtension* allClassesExtension() const = 0;
};

class OPMPerInstancePropertyExtension : public kx::VxRxObject {
public:
    static kx::VxRxClass* desc();
    kx::VxRxClass* isA() const override { return desc(); }
    // Names are kept in order, duplicates too; removing a name that is absent succeeds.
    virtual bool addPropertySourceName(const BSTR* name) = 0;
    virtual bool removePropertySourceName(const BSTR* name) = 0;
    // VT_ARRAY | VT_BSTR of the names; false when there are none.
    virtual bool propertySourceNames(VARIANT* names) const = 0;
    virtual void setRuntimeClass(const kx::VxRxClass* cls) = 0;
    virtual const kx::VxRxClass* runtimeClass() const = 0;
};

class OPMPerInstancePropertyExtensionFactory : public kx::VxRxObject {
public:
    static kx::VxRxClass* desc();
    kx::VxRxClass* isA() const override { return desc(); }
    virtual OPMPerInstancePropertyExtension* createExtension(const kx::VxRxClass* cls) = 0;
    virtual OPMPerInstancePropertyExtension* extension(const kx::VxRxClass* cls) const = 0;
};

class OPMPerInstancePropertySources : public kx::VxRxObject {
public:
    static kx::VxRxClass* desc();
    kx::VxRxClass* isA() const override { return desc(); }
    // An existing name keeps its source.
    virtual bool addPropertySource(const BSTR* name, IUnknown* source) = 0;
    // With a reference for the caller; null for an unknown name.
    virtual IUnknown* propertySource(const BSTR* name) const = 0;
    virtual bool removePropertySource(const BSTR* name) = 0;
    // VT_ARRAY | VT_BSTR of the names in ordinal order; false when there are none.
    virtual bool propertySourceNames(VARIANT* names) const = 0;
};

// Creates and attaches the palette services once; does nothing when they exist.
void initOpmPropertyExtension();
bool opmPropertyExtensionAttached();

// The services as the palette finds them: protocol extensions of the database class. Null
// when they are not attached.
OPMPropertyExtensionFactory* opmPropertyExtensionFactory();
OPMPerInstancePropertyExtensionFactory* opmPerInstanceExtensionFactory();
OPMPerInstancePropertyExtension* opmPerInstanceExtension();
OPMPerInstancePropertySources* opmPropertySources();

// The dynamic properties of an object's class and its parents, then those of every class.
std::vector<ComPtr<IVeltDynamicProperty>> dynamicPropertiesOf(const kx::VxRxClass* cls);

}  // namespace nk

// Detaches and destroys the palette services; safe to call again.
extern "C" void UninitOPMPropertyExtension();

// The property manager of a runtime class named as the runtime knows it ("KxDbLine"), made on
// first request: how a module outside this library adds properties to a class. E_INVALIDARG
// for a name that is no class; E_FAIL when the services are not attached.
extern "C" NK_EXPORT HRESULT VxOpmGetClassPropertyManager(const wchar_t* className, IVeltPropertyManager** manager);
