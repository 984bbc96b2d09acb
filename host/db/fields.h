#pragma once

// One description per kind of database object. A kind lists its fields once, a line each,
// in a macro named after the class:
//
//   #define KX_FIELDS_VxDbCircle(F)  (each line ending in a backslash)
//       F(GetSet, double,      radius, setRadius, 1.0,                  positive, kOwn, 40, 0)
//       F(GetSet, VxGePoint3d, center, setCenter, VxGePoint3d::kOrigin, finite,   kOwn, 10, kOcs)
//
// The columns: access (GetSet: a getter and a checked setter; Get: a getter only, the kind
// writes the setter that keeps its geometry whole), type, getter, setter, default, check (a
// function of kx::fieldcheck), the exchange-file subclass of the field (kOwn: the kind's
// own), its group code (points take code, code + 10, code + 20; 0 for data files do not hold)
// and its file flags (kxdxf).
//
// The class says KX_DB_FIELDS(Class, Parent) in its body, its source file
// KX_DB_DEFINE_KIND(...). From the one line follow the field's storage, get and set (a
// refused value returns the check's status and changes nothing), copying and cloning,
// reading and writing exchange files (dxf/dxffields.cpp) and the check of an object read
// from a file. A kind may add `Velt::ErrorStatus checkFields(uint64_t readMask)`, run after a
// file was read into it, for rules between fields, and `void copyExtraData(const Class&)`
// for data that is no field, copied after the fields.
//
// Data that is no fixed field (a polyline's vertices) a kind keeps in files through hooks it
// may add, each found by its name (VxDbKindFileHooks below): groups repeated within its own
// record, the records that follow its own (VERTEX ... SEQEND), and the choice among kinds
// that share a record type.

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "db/object.h"
#include "db/objectid.h"
#include "dxf/dxffile.h"
#include "ge/angle.h"
#include "ge/point.h"

namespace kx {

namespace dxf {
class GroupWriter;
struct FieldGroup;
struct SubRecord;
struct SubObject;
}  // namespace dxf

// The values fields hold, as the engine sees them.
// An object id is a reference to a symbol-table record, named in files (see kxdxf).
using VxDbFieldValue =
    std::variant<double, int16_t, int32_t, bool, VxGePoint3d, VxGeVector3d, std::wstring, VxDbObjectId>;

// Exact equality of field values: a field is written only when it differs from its default
// by any bit, not by a tolerance.
bool vxdbSameFieldValue(const VxDbFieldValue& a, const VxDbFieldValue& b);

// Flags of a field's exchange-file groups.
namespace kxdxf {
enum : uint32_t {
    kOptional = 1,  // written only when it is not the default
    kDegrees = 2,   // an angle held in radians, written in degrees
    kOcs = 4,       // a world point written in the object's coordinates (by the kind's normal)
    kMarkerAgain = 8,      // the field opens its subclass again (a second marker of the same name)
    kTextStyleName = 16,   // an id written as the name of a text style
    kBlockName = 32,       // an id written as the name of a block
    kChunked = 64,         // a long text written as 250-character groups 3 before its own group
};
constexpr uint32_t kRecordName = kTextStyleName | kBlockName;
// Fields that older files do not carry.
constexpr uint32_t since(VxDbDxfVersion version) { return uint32_t(version) << 8; }
constexpr VxDbDxfVersion sinceOf(uint32_t flags) { return VxDbDxfVersion(flags >> 8); }
}  // namespace kxdxf

// The field of the kind's own exchange-file subclass.
inline constexpr const char* kOwn = nullptr;

// The type of a field's storage, for engines that reach it directly (the file reader).
enum class VxDbFieldType : uint8_t { kDouble, kInt16, kInt32, kBool, kPoint, kVector, kText, kId };

template <class T>
consteval VxDbFieldType vxdbFieldTypeOf()
{
    if constexpr (std::is_same_v<T, double>)
        return VxDbFieldType::kDouble;
    else if constexpr (std::is_same_v<T, int16_t>)
        return VxDbFieldType::kInt16;
    else if constexpr (std::is_same_v<T, int32_t>)
        return VxDbFieldType::kInt32;
    else if constexpr (std::is_same_v<T, bool>)
        return VxDbFieldType::kBool;
    else if constexpr (std::is_same_v<T, VxGePoint3d>)
        return VxDbFieldType::kPoint;
    else if constexpr (std::is_same_v<T, VxGeVector3d>)
        return VxDbFieldType::kVector;
    else if constexpr (std::is_same_v<T, std::wstring>)
        return VxDbFieldType::kText;
    else {
        static_assert(std::is_same_v<T, VxDbObjectId>, "a field type the engine does not know");
        return VxDbFieldType::kId;
    }
}

struct VxDbField {
    const char* name;
    const char* subclass;  // null: the kind's own
    int16_t code;
    uint32_t flags;
    VxDbFieldValue defaultValue;
    VxDbFieldValue (*get)(const VxDbObject& object);
    // Checked; needs the object open for write (or not yet resident). A Get field is set
    // directly: the kind's checkFields keeps the whole consistent after a read.
    Velt::ErrorStatus (*set)(VxDbObject& object, const VxDbFieldValue& value);
    // Typed access without a variant: the storage (of the type `type` names) and the field's
    // check run on what it holds, then kept as set keeps it (a refusal changes nothing).
    // For a reader that fills a new object's storage from a file and checks once at the end.
    VxDbFieldType type = VxDbFieldType::kDouble;
    const void* (*storage)(const VxDbObject& object) = nullptr;
    Velt::ErrorStatus (*checkStored)(VxDbObject& object) = nullptr;
};

// How a kind keeps what is no fixed field in files; each hook is optional, and a kind without
// one of its own has its described parent's. The kind's class names them as members:
//   bool readDxfGroup(int code, std::string_view value)           a group no field takes
//   void writeDxfGroups(dxf::GroupWriter&, VxDbDxfVersion, bool utf8File) const   after the fields
//   bool readDxfSubRecords(const std::vector<dxf::SubRecord>&, bool utf8File)      the records
//                                                                that follow its own, up to SEQEND
//   void dxfSubObjects(std::vector<dxf::SubObject>&) const       what to write there
//   static const VxRxClass* dxfRecordClass(const std::vector<dxf::FieldGroup>&)   which kind
//                                                                sharing the record type a record is
//   void writeDxfGroupsBefore(int code, dxf::GroupWriter&, VxDbDxfVersion, bool utf8File) const
//                                                                groups that go before the field of
//                                                                that code (repeated data in the middle)
struct VxDbKindFileHooks {
    bool (*readGroup)(VxDbObject& object, int code, std::string_view value) = nullptr;
    void (*writeGroups)(const VxDbObject& object, dxf::GroupWriter& out, VxDbDxfVersion version,
                        bool utf8File) = nullptr;
    bool (*readSubRecords)(VxDbObject& object, const std::vector<dxf::SubRecord>& records, bool utf8File) = nullptr;
    void (*subObjects)(const VxDbObject& object, std::vector<dxf::SubObject>& out) = nullptr;
    const VxRxClass* (*recordClass)(const std::vector<dxf::FieldGroup>& groups) = nullptr;
    void (*writeGroupsBefore)(const VxDbObject& object, int code, dxf::GroupWriter& out, VxDbDxfVersion version,
                              bool utf8File) = nullptr;
};

// An inherited field that a kind keeps in a subclass and group of its own in files (an
// attribute's vertical mode is group 74 of its own subclass, a text's group 73).
struct VxDbFieldMove {
    const char* name;
    const char* subclass;
    int16_t code;
    uint32_t flags;
};

// The description of one kind: its fields after those of its described ancestors.
class VxDbKind {
public:
    using Check = Velt::ErrorStatus (*)(VxDbObject& object, uint64_t readMask);

    VxDbKind(const VxDbKind* parent, const char* subclass, std::vector<VxDbField> own, Check check,
             VxDbKindFileHooks hooks = {}, std::vector<VxDbFieldMove> moves = {});
    VxDbKind(const VxDbKind&) = delete;
    VxDbKind& operator=(const VxDbKind&) = delete;

    const char* subclass() const { return mSubclass; }
    const std::vector<const VxDbField*>& fields() const { return mAll; }
    const VxDbField* find(const char* name) const;
    // Index of the field named "normal" (the kind's object coordinate system), or -1.
    int normalIndex() const { return mNormal; }
    Velt::ErrorStatus checkRead(VxDbObject& object, uint64_t readMask) const;
    const VxDbKindFileHooks& fileHooks() const { return mHooks; }

private:
    const char* mSubclass;
    std::vector<VxDbField> mOwn;
    std::vector<VxDbField> mMoved;
    std::vector<const VxDbField*> mAll;
    std::vector<Check> mChecks;  // ancestors' first
    int mNormal = -1;
    VxDbKindFileHooks mHooks;
};

// The description of an object's class, or of its nearest described ancestor; null when
// none is.
const VxDbKind* vxdbKindOf(const VxDbObject* object);
const VxDbKind* vxdbKindOf(const VxRxClass* cls);

// The checks of new values. Each may refuse the value (eInvalidInput) or bring it to the
// form the kind keeps (unit vectors, angles in [0, 2pi)).
namespace fieldcheck {

inline bool isFinite(const VxGePoint3d& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }
inline bool isFinite(const VxGeVector3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

template <class T>
Velt::ErrorStatus any(T&)
{
    return Velt::eOk;
}
inline Velt::ErrorStatus finite(double& v) { return std::isfinite(v) ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus finite(VxGePoint3d& p) { return isFinite(p) ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus finite(VxGeVector3d& v) { return isFinite(v) ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus positive(double& v) { return std::isfinite(v) && v > 0.0 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus nonNegative(double& v)
{
    return std::isfinite(v) && v >= 0.0 ? Velt::eOk : Velt::eInvalidInput;
}
// A direction: finite and not zero, kept as a unit vector.
inline Velt::ErrorStatus unitVector(VxGeVector3d& v)
{
    if (!isFinite(v) || v.isZeroLength())
        return Velt::eInvalidInput;
    v = v.normal();
    return Velt::eOk;
}
// A vector whose length counts (an axis): finite and not zero.
inline Velt::ErrorStatus nonZero(VxGeVector3d& v)
{
    return isFinite(v) && !v.isZeroLength() ? Velt::eOk : Velt::eInvalidInput;
}
// Any finite angle, kept in [0, 2pi).
inline Velt::ErrorStatus angle(double& v)
{
    if (!std::isfinite(v))
        return Velt::eInvalidInput;
    v = vxgeNormalizeAngle(v);
    return Velt::eOk;
}
// The ratio of an ellipse's minor radius to its major radius.
inline Velt::ErrorStatus ratio(double& v)
{
    return std::isfinite(v) && v >= 1e-6 && v <= 1.0 ? Velt::eOk : Velt::eInvalidInput;
}
// Four bits, one per edge of a face.
inline Velt::ErrorStatus edgeFlags(int16_t& v) { return v >= 0 && v <= 15 ? Velt::eOk : Velt::eInvalidInput; }

}  // namespace fieldcheck

namespace detail {

// Checks and stores a value into an object's field; the object must be writable.
class FieldAccess {
public:
    template <class Owner, class T, class Check>
    static Velt::ErrorStatus setChecked(Owner& owner, T& field, T value, Check check)
    {
        if (Velt::ErrorStatus es = check(value))
            return es;
        return owner.setField(field, std::move(value));
    }
    // The field record itself, for an owner that copies the sub-objects it keeps.
    template <class Owner>
    static auto& fieldsOf(Owner& owner)
    {
        return owner.mFields;
    }
    // Data that is no field (a polyline's vertices) the kind copies itself.
    template <class Owner>
    static void copyExtra(Owner& owner, const Owner& other)
    {
        if constexpr (requires { owner.copyExtraData(other); })
            owner.copyExtraData(other);
    }
};

}  // namespace detail

}  // namespace kx

// ---- the expansion of a kind's field list ----

#define KX_FIELD_STORAGE(access, type, name, setter, def, check, subclass, code, flags) type name = def;

#define KX_FIELD_ACCESS_GetSet(type, name, setter, check)                                        \
    const type& name() const { return mFields.name; }                                            \
    ::kx::Velt::ErrorStatus setter(const type& value)                                            \
    {                                                                                            \
        return ::kx::detail::FieldAccess::setChecked(*this, mFields.name, value,                 \
                                                     [](type& v) { return ::kx::fieldcheck::check(v); }); \
    }
#define KX_FIELD_ACCESS_Get(type, name, setter, check) \
    const type& name() const { return mFields.name; }
#define KX_FIELD_ACCESS(access, type, name, setter, def, check, subclass, code, flags) \
    KX_FIELD_ACCESS_##access(type, name, setter, check)

// Declares the kind's fields, accessors and description inside the class body.
#define KX_DB_FIELDS(CLASS, PARENT)                                                      \
public:                                                                                  \
    struct Fields {                                                                      \
        KX_FIELDS_##CLASS(KX_FIELD_STORAGE)                                              \
    };                                                                                   \
    KX_FIELDS_##CLASS(KX_FIELD_ACCESS)                                                   \
    static const ::kx::VxDbKind& kind();                                                 \
                                                                                         \
protected:                                                                               \
    void copyDataFrom(const ::kx::VxDbObject& other) override                            \
    {                                                                                    \
        PARENT::copyDataFrom(other);                                                     \
        mFields = static_cast<const CLASS&>(other).mFields;                              \
        ::kx::detail::FieldAccess::copyExtra(*this, static_cast<const CLASS&>(other));   \
    }                                                                                    \
    Fields mFields;                                                                      \
    friend class ::kx::detail::FieldAccess;                                              \
                                                                                         \
private:

// A kind that adds no fields of its own to its parent's but has its own subclass.
#define KX_DB_KIND(CLASS) \
public:                   \
    static const ::kx::VxDbKind& kind();

// One field's entry of the description.
#define KX_FIELD_ENTRY(access, type, name, setter, def, check, subclass, code, flags)                    \
    ::kx::VxDbField{#name, subclass, code, flags, ::kx::VxDbFieldValue(type(def)),                          \
                    [](const ::kx::VxDbObject& o) -> ::kx::VxDbFieldValue {                                 \
                        return static_cast<const Self&>(o).mFields.name;                                    \
                    },                                                                                      \
                    [](::kx::VxDbObject& o, const ::kx::VxDbFieldValue& v) -> ::kx::Velt::ErrorStatus {    \
                        const type* value = std::get_if<type>(&v);                                          \
                        if (!value)                                                                         \
                            return ::kx::Velt::eInvalidInput;                                               \
                        return ::kx::detail::FieldAccess::setChecked(                                       \
                            static_cast<Self&>(o), static_cast<Self&>(o).mFields.name, *value,              \
                            [](type& x) { return ::kx::fieldcheck::check(x); });                            \
                    },                                                                                      \
                    ::kx::vxdbFieldTypeOf<type>(),                                                          \
                    [](const ::kx::VxDbObject& o) -> const void* {                                          \
                        return &static_cast<const Self&>(o).mFields.name;                                   \
                    },                                                                                      \
                    [](::kx::VxDbObject& o) -> ::kx::Velt::ErrorStatus {                                    \
                        Self& self = static_cast<Self&>(o);                                                 \
                        return ::kx::detail::FieldAccess::setChecked(                                       \
                            self, self.mFields.name, type(self.mFields.name),                               \
                            [](type& x) { return ::kx::fieldcheck::check(x); });                            \
                    }},

namespace kx::detail {
template <class Parent>
const VxDbKind* parentKind()
{
    if constexpr (requires { Parent::kind(); })
        return &Parent::kind();
    else
        return nullptr;
}
template <class Self>
VxDbKind::Check kindCheck()
{
    if constexpr (requires(Self& s) { s.checkFields(uint64_t()); })
        return [](VxDbObject& o, uint64_t mask) { return static_cast<Self&>(o).checkFields(mask); };
    else
        return nullptr;
}
template <class Self>
VxDbKindFileHooks kindFileHooks()
{
    VxDbKindFileHooks hooks;
    if constexpr (requires(Self& s, std::string_view v) { s.readDxfGroup(int(), v); })
        hooks.readGroup = [](VxDbObject& o, int code, std::string_view value) {
            return static_cast<Self&>(o).readDxfGroup(code, value);
        };
    if constexpr (requires(const Self& s, dxf::GroupWriter& w) { s.writeDxfGroups(w, VxDbDxfVersion(), bool()); })
        hooks.writeGroups = [](const VxDbObject& o, dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8) {
            static_cast<const Self&>(o).writeDxfGroups(out, version, utf8);
        };
    if constexpr (requires(Self& s, const std::vector<dxf::SubRecord>& r) { s.readDxfSubRecords(r, bool()); })
        hooks.readSubRecords = [](VxDbObject& o, const std::vector<dxf::SubRecord>& records, bool utf8) {
            return static_cast<Self&>(o).readDxfSubRecords(records, utf8);
        };
    if constexpr (requires(const Self& s, std::vector<dxf::SubObject>& out) { s.dxfSubObjects(out); })
        hooks.subObjects = [](const VxDbObject& o, std::vector<dxf::SubObject>& out) {
            static_cast<const Self&>(o).dxfSubObjects(out);
        };
    if constexpr (requires(const std::vector<dxf::FieldGroup>& g) { Self::dxfRecordClass(g); })
        hooks.recordClass = &Self::dxfRecordClass;
    if constexpr (requires(const Self& s, dxf::GroupWriter& w) { s.writeDxfGroupsBefore(int(), w, VxDbDxfVersion(), bool()); })
        hooks.writeGroupsBefore = [](const VxDbObject& o, int code, dxf::GroupWriter& out, VxDbDxfVersion version,
                                     bool utf8) { static_cast<const Self&>(o).writeDxfGroupsBefore(code, out, version, utf8); };
    return hooks;
}
}  // namespace kx::detail

// Defines the runtime class of a described kind (as VX_RX_DEFINE_MEMBERS does) and its
// description: its fields with the DXF subclass of its own.
#define KX_DB_DEFINE_KIND(CLASS, PARENT, NAME, CREATE, DXFNAME, SUBCLASS)                     \
    const ::kx::VxDbKind& CLASS::kind()                                                        \
    {                                                                                          \
        using Self = CLASS;                                                                    \
        static const ::kx::VxDbKind description(::kx::detail::parentKind<PARENT>(), SUBCLASS,  \
                                                 {KX_FIELDS_##CLASS(KX_FIELD_ENTRY)},          \
                                                 ::kx::detail::kindCheck<Self>(),              \
                                                 ::kx::detail::kindFileHooks<Self>());         \
        return description;                                                                    \
    }                                                                                          \
    KX_DB_DEFINE_CLASS(CLASS, PARENT, NAME, CREATE, DXFNAME)

// The same for a kind that moves inherited fields: MOVES is a braced list of VxDbFieldMove.
#define KX_DB_DEFINE_MOVING_KIND(CLASS, PARENT, NAME, CREATE, DXFNAME, SUBCLASS, MOVES)           \
    const ::kx::VxDbKind& CLASS::kind()                                                        \
    {                                                                                          \
        using Self = CLASS;                                                                    \
        static const ::kx::VxDbKind description(::kx::detail::parentKind<PARENT>(), SUBCLASS,  \
                                                 {KX_FIELDS_##CLASS(KX_FIELD_ENTRY)},          \
                                                 ::kx::detail::kindCheck<Self>(),              \
                                                 ::kx::detail::kindFileHooks<Self>(), MOVES);  \
        return description;                                                                    \
    }                                                                                          \
    KX_DB_DEFINE_CLASS(CLASS, PARENT, NAME, CREATE, DXFNAME)

// The same for a kind without fields of its own.
#define KX_DB_DEFINE_FIELDLESS_KIND(CLASS, PARENT, NAME, CREATE, DXFNAME, SUBCLASS)                       \
    const ::kx::VxDbKind& CLASS::kind()                                                                    \
    {                                                                                                      \
        static const ::kx::VxDbKind description(::kx::detail::parentKind<PARENT>(), SUBCLASS, {},          \
                                                 ::kx::detail::kindCheck<CLASS>(),                         \
                                                 ::kx::detail::kindFileHooks<CLASS>());                    \
        return description;                                                                                \
    }                                                                                                      \
    KX_DB_DEFINE_CLASS(CLASS, PARENT, NAME, CREATE, DXFNAME)

#define KX_DB_DEFINE_CLASS(CLASS, PARENT, NAME, CREATE, DXFNAME)                 \
    ::kx::VxRxClass* CLASS::desc()                                              \
    {                                                                           \
        static ::kx::VxRxClass cls(NAME, PARENT::desc(), CREATE, DXFNAME);      \
        static const bool described = (cls.setKind(&CLASS::kind()), true);      \
        (void)described;                                                        \
        return &cls;                                                            \
    }                                                                           \
    ::kx::VxRxClass* CLASS::isA() const { return desc(); }
