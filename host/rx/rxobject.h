#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kx {

class VxRxClass;
class VxDbKind;

// A COM class id in its usual 16-byte layout. The host stores one per
// runtime class for the automation layer and never interprets it.
struct VxClsid {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    uint8_t data4[8] = {};

    bool isNull() const;
    bool operator==(const VxClsid& other) const;
};
static_assert(sizeof(VxClsid) == 16);

// Root of every object that has a runtime class.
class VxRxObject {
public:
    virtual ~VxRxObject() = default;
    static VxRxClass* desc();
    virtual VxRxClass* isA() const;
    bool isKindOf(const VxRxClass* cls) const;
    // The protocol extension of the given protocol class attached to this
    // object's class or one of its ancestors; null when there is none.
    virtual VxRxObject* queryX(const VxRxClass* protocolClass) const;
};

using VxRxPseudoConstructor = VxRxObject* (*)();

template <class T>
VxRxObject* vxrxCreateInstance()
{
    return new T();
}

// Runtime class descriptor: name, parent, creation, protocol extensions and
// the wrapper class id. Descriptors are never copied; their addresses are
// their identity.
class VxRxClass : public VxRxObject {
public:
    VxRxClass(const wchar_t* name, const VxRxClass* parent, VxRxPseudoConstructor create = nullptr,
              const wchar_t* dxfName = nullptr, const wchar_t* appName = nullptr);
    ~VxRxClass() override;
    VxRxClass(const VxRxClass&) = delete;
    VxRxClass& operator=(const VxRxClass&) = delete;

    static VxRxClass* desc();
    VxRxClass* isA() const override;
    static VxRxClass* cast(const VxRxObject* object);

    const wchar_t* name() const { return mName.c_str(); }
    const VxRxClass* myParent() const { return mParent; }
    bool isDerivedFrom(const VxRxClass* other) const;
    // A new instance, or null when the class has no constructor.
    VxRxObject* create() const { return mCreate ? mCreate() : nullptr; }
    const wchar_t* dxfName() const { return mDxfName.c_str(); }
    const wchar_t* appName() const { return mAppName.c_str(); }

    // Extensions are not owned: whoever adds one deletes it after delX.
    // addX returns the extension it replaced, delX the one it removed.
    VxRxObject* addX(const VxRxClass* protocolClass, VxRxObject* extension);
    VxRxObject* getX(const VxRxClass* protocolClass) const;
    VxRxObject* delX(const VxRxClass* protocolClass);
    // Own extension first, then the ancestors'.
    VxRxObject* queryX(const VxRxClass* protocolClass) const override;

    void setClassId(const VxClsid& clsid) { mClassId = clsid; }
    const VxClsid& classId() const { return mClassId; }

    // The description of the class's data, for classes the database describes (db/fields.h).
    void setKind(const VxDbKind* kind) { mKind = kind; }
    const VxDbKind* kind() const { return mKind; }

private:
    friend VxRxClass* newVxRxClass(const wchar_t*, const wchar_t*, VxRxPseudoConstructor, const wchar_t*,
                                   const wchar_t*);
    friend bool deleteVxRxClass(VxRxClass*);

    std::wstring mName;
    const VxRxClass* mParent;
    VxRxPseudoConstructor mCreate;
    std::wstring mDxfName;
    std::wstring mAppName;
    std::vector<std::pair<const VxRxClass*, VxRxObject*>> mExtensions;
    VxClsid mClassId;
    const VxDbKind* mKind = nullptr;
    bool mDynamic = false;
};

// A name-to-object dictionary of the runtime (entries are not owned).
class VxRxDictionary : public VxRxObject {
public:
    static VxRxClass* desc();
    VxRxClass* isA() const override;

    VxRxObject* at(const wchar_t* key) const;
    // Returns the entry it replaced.
    VxRxObject* atPut(const wchar_t* key, VxRxObject* value);
    VxRxObject* remove(const wchar_t* key);
    bool has(const wchar_t* key) const { return at(key) != nullptr; }
    size_t numEntries() const { return mEntries.size(); }
    std::vector<std::wstring> keys() const;

private:
    std::map<std::wstring, VxRxObject*> mEntries;
};

// The system registry; its entry "ClassDictionary" holds every runtime class
// by name.
VxRxDictionary* vxrxSysRegistry();
VxRxDictionary* vxrxClassDictionary();
VxRxClass* vxrxFindClass(const wchar_t* name);

// A runtime class made at run time, child of the named parent. Null when the
// name is taken or the parent unknown.
VxRxClass* newVxRxClass(const wchar_t* name, const wchar_t* parentName, VxRxPseudoConstructor create = nullptr,
                        const wchar_t* dxfName = nullptr, const wchar_t* appName = nullptr);
// Removes and deletes a class made by newVxRxClass; false for any other and
// for a class that still has registered children.
bool deleteVxRxClass(VxRxClass* cls);

// The host's fatal-error exit: reports the message and aborts the process.
[[noreturn]] void vxrxAbort(const char* message);

namespace detail {
// Defined by the database library: touches every built-in descriptor once.
void registerHostClasses();
}  // namespace detail

}  // namespace kx

// Declares the runtime-class members of a class.
#define VX_RX_DECLARE_MEMBERS(CLASS)                   \
public:                                                \
    static ::kx::VxRxClass* desc();                    \
    ::kx::VxRxClass* isA() const override;             \
    static CLASS* cast(const ::kx::VxRxObject* object) \
    {                                                  \
        return object && object->isKindOf(desc())      \
                   ? const_cast<CLASS*>(static_cast<const CLASS*>(object)) \
                   : nullptr;                          \
    }

// Defines them: the descriptor is made on first use.
#define VX_RX_DEFINE_MEMBERS(CLASS, PARENT, NAME, CREATE, DXFNAME)                      \
    ::kx::VxRxClass* CLASS::desc()                                                        \
    {                                                                                     \
        static ::kx::VxRxClass cls(NAME, PARENT::desc(), CREATE, DXFNAME);                \
        return &cls;                                                                      \
    }                                                                                     \
    ::kx::VxRxClass* CLASS::isA() const { return desc(); }
