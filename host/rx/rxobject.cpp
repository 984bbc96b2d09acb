#include "rx/rxobject.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace kx {

bool VxClsid::isNull() const
{
    static const VxClsid kNull{};
    return *this == kNull;
}

bool VxClsid::operator==(const VxClsid& other) const
{
    return std::memcmp(this, &other, sizeof(VxClsid)) == 0;
}

namespace {

// The registry itself, without the one-time registration of built-in classes
// (which would recurse when a descriptor registers itself).
VxRxDictionary& classDictionaryStorage()
{
    static VxRxDictionary dictionary;
    return dictionary;
}

std::recursive_mutex& registryMutex()
{
    static std::recursive_mutex mutex;
    return mutex;
}

}  // namespace

VxRxClass* VxRxObject::desc()
{
    static VxRxClass cls(L"VxRxObject", nullptr);
    return &cls;
}

VxRxClass* VxRxObject::isA() const { return desc(); }

bool VxRxObject::isKindOf(const VxRxClass* cls) const
{
    return cls && isA()->isDerivedFrom(cls);
}

VxRxObject* VxRxObject::queryX(const VxRxClass* protocolClass) const
{
    return isA()->queryX(protocolClass);
}

VxRxClass::VxRxClass(const wchar_t* name, const VxRxClass* parent, VxRxPseudoConstructor create,
                     const wchar_t* dxfName, const wchar_t* appName)
    : mName(name ? name : L""), mParent(parent), mCreate(create), mDxfName(dxfName ? dxfName : L""),
      mAppName(appName ? appName : L"")
{
    std::lock_guard lock(registryMutex());
    VxRxDictionary& dictionary = classDictionaryStorage();
    if (!mName.empty() && !dictionary.has(mName.c_str()))
        dictionary.atPut(mName.c_str(), this);
}

VxRxClass::~VxRxClass()
{
    // Built-in descriptors die at exit, when the registry may already be gone.
    if (mDynamic) {
        std::lock_guard lock(registryMutex());
        VxRxDictionary& dictionary = classDictionaryStorage();
        if (dictionary.at(mName.c_str()) == this)
            dictionary.remove(mName.c_str());
    }
}

VxRxClass* VxRxClass::desc()
{
    static VxRxClass cls(L"VxRxClass", VxRxObject::desc());
    return &cls;
}

VxRxClass* VxRxClass::isA() const { return desc(); }

bool VxRxClass::isDerivedFrom(const VxRxClass* other) const
{
    for (const VxRxClass* cls = this; cls; cls = cls->mParent) {
        if (cls == other)
            return true;
    }
    return false;
}

VxRxObject* VxRxClass::addX(const VxRxClass* protocolClass, VxRxObject* extension)
{
    if (!protocolClass)
        return nullptr;
    for (auto& entry : mExtensions) {
        if (entry.first == protocolClass) {
            VxRxObject* previous = entry.second;
            entry.second = extension;
            return previous;
        }
    }
    if (extension)
        mExtensions.emplace_back(protocolClass, extension);
    return nullptr;
}

VxRxObject* VxRxClass::getX(const VxRxClass* protocolClass) const
{
    for (const auto& entry : mExtensions) {
        if (entry.first == protocolClass)
            return entry.second;
    }
    return nullptr;
}

VxRxObject* VxRxClass::delX(const VxRxClass* protocolClass)
{
    for (auto it = mExtensions.begin(); it != mExtensions.end(); ++it) {
        if (it->first == protocolClass) {
            VxRxObject* removed = it->second;
            mExtensions.erase(it);
            return removed;
        }
    }
    return nullptr;
}

VxRxObject* VxRxClass::queryX(const VxRxClass* protocolClass) const
{
    for (const VxRxClass* cls = this; cls; cls = cls->mParent) {
        if (VxRxObject* extension = cls->getX(protocolClass))
            return extension;
    }
    return nullptr;
}

VxRxClass* VxRxDictionary::desc()
{
    static VxRxClass cls(L"VxRxDictionary", VxRxObject::desc());
    return &cls;
}

VxRxClass* VxRxDictionary::isA() const { return desc(); }

VxRxObject* VxRxDictionary::at(const wchar_t* key) const
{
    if (!key)
        return nullptr;
    auto it = mEntries.find(key);
    return it == mEntries.end() ? nullptr : it->second;
}

VxRxObject* VxRxDictionary::atPut(const wchar_t* key, VxRxObject* value)
{
    if (!key || !*key)
        return nullptr;
    auto it = mEntries.find(key);
    if (it == mEntries.end()) {
        if (value)
            mEntries.emplace(key, value);
        return nullptr;
    }
    VxRxObject* previous = it->second;
    if (value)
        it->second = value;
    else
        mEntries.erase(it);
    return previous;
}

VxRxObject* VxRxDictionary::remove(const wchar_t* key)
{
    if (!key)
        return nullptr;
    auto it = mEntries.find(key);
    if (it == mEntries.end())
        return nullptr;
    VxRxObject* removed = it->second;
    mEntries.erase(it);
    return removed;
}

std::vector<std::wstring> VxRxDictionary::keys() const
{
    std::vector<std::wstring> out;
    out.reserve(mEntries.size());
    for (const auto& entry : mEntries)
        out.push_back(entry.first);
    return out;
}

VxRxDictionary* vxrxClassDictionary()
{
    static std::once_flag once;
    std::call_once(once, [] {
        VxRxObject::desc();
        VxRxClass::desc();
        VxRxDictionary::desc();
        detail::registerHostClasses();
    });
    return &classDictionaryStorage();
}

VxRxDictionary* vxrxSysRegistry()
{
    static VxRxDictionary* registry = [] {
        static VxRxDictionary storage;
        storage.atPut(L"ClassDictionary", vxrxClassDictionary());
        return &storage;
    }();
    return registry;
}

VxRxClass* vxrxFindClass(const wchar_t* name)
{
    std::lock_guard lock(registryMutex());
    return VxRxClass::cast(vxrxClassDictionary()->at(name));
}

VxRxClass* VxRxClass::cast(const VxRxObject* object)
{
    return object && object->isKindOf(desc()) ? const_cast<VxRxClass*>(static_cast<const VxRxClass*>(object))
                                              : nullptr;
}

VxRxClass* newVxRxClass(const wchar_t* name, const wchar_t* parentName, VxRxPseudoConstructor create,
                        const wchar_t* dxfName, const wchar_t* appName)
{
    if (!name || !*name)
        return nullptr;
    std::lock_guard lock(registryMutex());
    VxRxDictionary* dictionary = vxrxClassDictionary();
    if (dictionary->has(name))
        return nullptr;
    VxRxClass* parent = VxRxClass::cast(dictionary->at(parentName ? parentName : L"VxRxObject"));
    if (!parent)
        return nullptr;
    auto* cls = new VxRxClass(name, parent, create, dxfName, appName);
    cls->mDynamic = true;
    return cls;
}

bool deleteVxRxClass(VxRxClass* cls)
{
    if (!cls || !cls->mDynamic)
        return false;
    std::lock_guard lock(registryMutex());
    VxRxDictionary* dictionary = vxrxClassDictionary();
    for (const std::wstring& key : dictionary->keys()) {
        const VxRxClass* other = VxRxClass::cast(dictionary->at(key.c_str()));
        if (other && other->myParent() == cls)
            return false;
    }
    delete cls;
    return true;
}

void vxrxAbort(const char* message)
{
    std::fprintf(stderr, "fatal host error: %s\n", message ? message : "(no message)");
    std::fflush(stderr);
    std::abort();
}

}  // namespace kx
