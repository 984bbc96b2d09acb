// Writing a database as an exchange file (R2000 and later).

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <unordered_map>

#include "db/arctext.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/sortents.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "db/texts.h"
#include "db/viewport.h"
#include "dxf/dxffields.h"
#include "dxf/dxffile.h"
#include "dxf/dxfinternal.h"
#include "dxf/dxfstream.h"
#include "ge/angle.h"
#include "ge/matrix.h"

namespace kx {

namespace {

using namespace dxf;

double degrees(double radians) { return radians * 180.0 / kPi; }

// Classes the host's own objects need declared.
struct KnownClass {
    const char* dxfName;
    const char* cppName;
    const char* appName;
    int flags;
};
constexpr KnownClass kKnownClasses[] = {
    {"ACDBDICTIONARYWDFLT", "AcDbDictionaryWithDefault", "ObjectDBX Classes", 0},
    {"ACDBPLACEHOLDER", "AcDbPlaceHolder", "ObjectDBX Classes", 0},
    {"LAYOUT", "AcDbLayout", "ObjectDBX Classes", 0},
    {"MATERIAL", "AcDbMaterial", "ObjectDBX Classes", 1153},
    {"TABLESTYLE", "AcDbTableStyle", "ObjectDBX Classes", 4095},
    {"MLEADERSTYLE", "AcDbMLeaderStyle", "ACDB_MLEADERSTYLE_CLASS", 4095},
    {"PLOTSETTINGS", "AcDbPlotSettings", "ObjectDBX Classes", 0},
    {"SORTENTSTABLE", "AcDbSortentsTable", "ObjectDBX Classes", 0},
};

// Applications whose extended data carries layer properties.
constexpr const wchar_t* kLayerDescriptionApp = L"AcAecLayerStandard";
constexpr const wchar_t* kLayerAlphaApp = L"AcCmTransparency";

class Writer {
public:
    Writer(VxDbDatabase* db, VxDbDxfVersion version, int precision)
        : mDb(db), mOut(precision), mVersion(version), mUtf8(isUtf8Version(version)), mSide(sideDataOf(db))
    {
    }

    GroupWriter& out() { return mOut; }
    Velt::ErrorStatus run();

private:
    // ---- pieces ----
    void str(int code, std::wstring_view text);
    void utf8(int code, std::string_view text);
    void handleOf(int code, VxDbObjectId id);
    uint64_t handleValue(VxDbObjectId id) const;
    uint64_t newHandle() { return mNextHandle++; }
    const std::string& nameOf(VxDbObjectId recordId);
    const std::string& dxfNameOf(const VxRxClass* cls);
    // What the writer asks of an object's class, asked once a class: a drawing holds
    // millions of objects of a few classes.
    struct ClassInfo {
        bool entity = false;
        bool tableOrRecord = false;  // a symbol table or one of its records
        bool opaque = false;
        bool opaqueObject = false;
        bool arcText = false;
        bool insert = false;
        bool viewport = false;
        bool attributeText = false;
        const VxDbKind* kind = nullptr;
        const std::string* dxfName = nullptr;
    };
    const ClassInfo& classInfo(const VxRxClass* cls);
    // The object behind an id when it is there and not erased; one look at its stub.
    static VxDbObject* liveObject(VxDbObjectId id);
    void head(std::string_view type, VxDbObject* object, VxDbObjectId owner, int handleCode = 5);
    void xdata(const VxDbObject* object);
    void xdataChain(const VxResBuf* chain);
    void keptGroups(const VxDbDxfGroups& groups);

    // ---- sections ----
    void header();
    void classes();
    void tables();
    void table(int kind, VxDbObjectId tableId, const char* name);
    void record(int kind, VxDbSymbolTableRecord* record, VxDbObjectId tableId);
    void blocks();
    void entities();
    void entity(VxDbEntity* entity, VxDbObjectId owner, bool paperSpace);
    void embeddedMText(VxDbEntity* entity);
    void entityCommon(VxDbEntity* entity, bool paperSpace);
    void objects();
    void object(VxDbObject* object);

    uint64_t countExtraHandles();
    void survey();

    VxDbDatabase* mDb;
    GroupWriter mOut;
    VxDbDxfVersion mVersion;
    bool mUtf8;
    const SideData* mSide;
    uint64_t mNextHandle = 0;
    std::string mText;
    std::unordered_map<uint64_t, std::string> mNames;  // encoded record names by id
    uint64_t mLastNameId = 0;
    VxDbObjectId mLastOwner;
    uint64_t mLastOwnerHandle = 0;
    const std::string* mLastName = nullptr;
    std::unordered_map<const VxRxClass*, std::string> mDxfNames;
    std::unordered_map<const VxRxClass*, ClassInfo> mClassInfos;
    const VxRxClass* mLastClass = nullptr;
    const ClassInfo* mLastClassInfo = nullptr;
    std::vector<std::pair<std::wstring, uint64_t>> mExtraApps;  // application records the writer adds
    // Found by survey(): classes kept records declare, in the order of the objects (null: an
    // arc-aligned text), and whether any object may add records of its own.
    std::vector<const VxDbDxfClassInfo*> mDeclaredClasses;
    bool mAnyExtraRecords = false;
    std::vector<size_t> mObjectSlots;  // of objects neither entities nor tables or records
    VxDbObjectId mModelSpace, mPaperSpace, mByLayerLinetype, mByLayerMaterial;
};

void Writer::str(int code, std::wstring_view text)
{
    mText.clear();
    appendEncoded(mText, text, mUtf8);
    mOut.text(code, mText);
}

void Writer::utf8(int code, std::string_view text)
{
    mText.clear();
    appendEncodedUtf8(mText, text, mUtf8);
    mOut.text(code, mText);
}

uint64_t Writer::handleValue(VxDbObjectId id) const
{
    // One look at the stub: an object of this drawing, there and not erased.
    if (id.isNull() || id.database() != mDb)
        return 0;
    const detail::Stub* stub = detail::stubOf(id);
    if (!stub || !stub->object() || (stub->flags() & (detail::kStubErased | detail::kStubPermanentlyErased)))
        return 0;
    return stub->handle;
}

void Writer::handleOf(int code, VxDbObjectId id) { mOut.handle(code, handleValue(id)); }

const std::string& Writer::nameOf(VxDbObjectId recordId)
{
    // Entities in a row mostly share their layer.
    if (mLastName && recordId.value() == mLastNameId)
        return *mLastName;
    auto it = mNames.find(recordId.value());
    if (it == mNames.end()) {
        std::string encoded;
        if (auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(recordId)))
            appendEncoded(encoded, record->name(), mUtf8);
        it = mNames.emplace(recordId.value(), std::move(encoded)).first;
    }
    mLastNameId = recordId.value();
    mLastName = &it->second;  // elements of the map stay where they are
    return it->second;
}

const std::string& Writer::dxfNameOf(const VxRxClass* cls)
{
    std::string& name = mDxfNames[cls];
    if (name.empty()) {
        for (const wchar_t* c = cls->dxfName(); *c; ++c)
            name += char(*c);
    }
    return name;
}

const Writer::ClassInfo& Writer::classInfo(const VxRxClass* cls)
{
    if (cls == mLastClass && mLastClassInfo)
        return *mLastClassInfo;
    auto [it, added] = mClassInfos.try_emplace(cls);
    if (added && cls) {
        ClassInfo& info = it->second;
        info.entity = cls->isDerivedFrom(VxDbEntity::desc());
        info.tableOrRecord =
            cls->isDerivedFrom(VxDbSymbolTable::desc()) || cls->isDerivedFrom(VxDbSymbolTableRecord::desc());
        info.opaque = cls->isDerivedFrom(VxDbDxfOpaqueEntity::desc());
        info.opaqueObject = cls->isDerivedFrom(VxDbDxfOpaqueObject::desc());
        info.arcText = cls->isDerivedFrom(VxDbArcAlignedText::desc());
        info.insert = cls->isDerivedFrom(VxDbBlockReference::desc());
        info.viewport = cls->isDerivedFrom(VxDbViewport::desc());
        info.attributeText =
            cls->isDerivedFrom(VxDbAttributeDefinition::desc()) || cls->isDerivedFrom(VxDbAttribute::desc());
        info.kind = vxdbKindOf(cls);
        info.dxfName = &dxfNameOf(cls);
    }
    mLastClass = cls;
    mLastClassInfo = &it->second;  // elements of the map stay where they are
    return it->second;
}

VxDbObject* Writer::liveObject(VxDbObjectId id)
{
    const detail::Stub* stub = detail::stubOf(id);
    if (!stub || !stub->object() || (stub->flags() & (detail::kStubErased | detail::kStubPermanentlyErased)))
        return nullptr;
    return stub->object();
}

void Writer::head(std::string_view type, VxDbObject* object, VxDbObjectId owner, int handleCode)
{
    mOut.text(0, type);
    handleOf(handleCode, object->objectId());
    const VxDbObjectIdArray reactors = object->getPersistentReactors();
    bool anyReactor = false;
    for (VxDbObjectId id : reactors)
        anyReactor = anyReactor || handleValue(id) != 0;
    if (anyReactor) {
        mOut.text(102, "{ACAD_REACTORS");
        for (VxDbObjectId id : reactors) {
            if (handleValue(id))
                handleOf(330, id);
        }
        mOut.text(102, "}");
    }
    const VxDbObjectId xdict = object->extensionDictionary();
    if (handleValue(xdict)) {
        mOut.text(102, "{ACAD_XDICTIONARY");
        handleOf(360, xdict);
        mOut.text(102, "}");
    }
    // Records of one owner come in long runs (a space's entities): its handle looked up once.
    if (owner != mLastOwner || owner.isNull()) {
        mLastOwner = owner;
        mLastOwnerHandle = handleValue(owner);
    }
    mOut.handle(330, mLastOwnerHandle);
}

void Writer::xdataChain(const VxResBuf* rb)
{
    for (; rb; rb = rb->rbnext) {
        const int code = rb->restype;
        if (code >= 1010 && code <= 1013) {
            mOut.real(code, rb->resval.rpoint[0]);
            mOut.real(code + 10, rb->resval.rpoint[1]);
            mOut.real(code + 20, rb->resval.rpoint[2]);
        } else if (code >= 1040 && code <= 1042) {
            mOut.real(code, rb->resval.rreal);
        } else if (code == 1070) {
            mOut.integer(code, rb->resval.rint);
        } else if (code == 1071) {
            mOut.integer(code, rb->resval.rlong);
        } else if (code == 1004) {
            static const char kHex[] = "0123456789ABCDEF";
            mText.clear();
            for (int i = 0; i < rb->resval.rbinary.clen; ++i) {
                mText.push_back(kHex[rb->resval.rbinary.buf[i] >> 4]);
                mText.push_back(kHex[rb->resval.rbinary.buf[i] & 15]);
            }
            mOut.text(code, mText);
        } else if (code >= 1000 && code <= 1005) {
            str(code, vxView(rb->resval.rstring));
        }
    }
}

void Writer::xdata(const VxDbObject* object)
{
    xdataChain(object->xDataChain());
}

void Writer::keptGroups(const VxDbDxfGroups& groups)
{
    for (const VxDbDxfGroup& g : groups) {
        if (!g.ref.isNull()) {
            // A reference follows its object; one whose object is gone is cut.
            uint64_t original = 0;
            const uint64_t now = handleValue(g.ref);
            if (parseHandle(g.value, original) && original == now)
                mOut.text(g.code, g.value);
            else
                mOut.handle(g.code, now);
            continue;
        }
        utf8(g.code, g.value);
    }
}

// ---- header ----

void Writer::header()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "HEADER");
    mOut.text(9, "$ACADVER");
    mOut.text(1, vxdbDxfVersionName(mVersion));
    mOut.text(9, "$ACADMAINTVER");
    mOut.integer(mVersion >= VxDbDxfVersion::kR2013 ? 90 : 70, 6);
    mOut.text(9, "$DWGCODEPAGE");
    mOut.text(3, "ANSI_1252");
    mOut.text(9, "$HANDSEED");
    mOut.handle(5, mNextHandle + countExtraHandles());

    std::set<std::string> written = {"$ACADVER", "$ACADMAINTVER", "$DWGCODEPAGE", "$HANDSEED"};
    for (size_t v = 0; v < size_t(VxDbHeaderVar::kCount); ++v) {
        const VxDbHeaderVar var = VxDbHeaderVar(v);
        const VxDbHeaderVarInfo& info = vxdbHeaderVarInfo(var);
        VxDbHeaderValue value;
        if (mDb->getHeaderVar(var, value) != Velt::eOk)
            continue;
        std::string name = vxToUtf8(info.name);
        name.insert(name.begin(), '$');
        if (written.count(name))
            continue;
        if (info.kind == VxDbHeaderVarInfo::kObjectId) {
            if (value.id.isNull() || !value.id.isValid())
                continue;
            mOut.text(9, name);
            if (info.groupCode >= 320)
                handleOf(info.groupCode, value.id);
            else {
                // By name: a record's name, a named object's, or its key.
                std::wstring text;
                VxDbObject* object = detail::objectOf(value.id);
                if (auto* record = VxDbSymbolTableRecord::cast(object))
                    text = record->name();
                else if (auto* named = VxDbNamedObject::cast(object); named && !named->name().empty())
                    text = named->name();
                else if (auto* owner = object ? VxDbDictionary::cast(detail::objectOf(object->ownerId())) : nullptr)
                    owner->nameAt(value.id, text);
                str(info.groupCode, text);
            }
            written.insert(name);
            continue;
        }
        mOut.text(9, name);
        written.insert(name);
        switch (info.kind) {
        case VxDbHeaderVarInfo::kBool:
        case VxDbHeaderVarInfo::kInt16:
        case VxDbHeaderVarInfo::kInt32:
        case VxDbHeaderVarInfo::kLineWeight:
        case VxDbHeaderVarInfo::kTransparency:
            mOut.integer(info.groupCode, value.integer);
            break;
        case VxDbHeaderVarInfo::kColor: {
            const VxCmEntityColor color(uint32_t(value.integer));
            mOut.integer(62, color.colorIndex());
            if (color.isByColor() && mVersion >= VxDbDxfVersion::kR2004)
                mOut.integer(420, (int32_t(color.red()) << 16) | (int32_t(color.green()) << 8) | color.blue());
            break;
        }
        case VxDbHeaderVarInfo::kReal:
        case VxDbHeaderVarInfo::kAngle:
            mOut.real(info.groupCode, value.real[0]);
            break;
        case VxDbHeaderVarInfo::kPoint2d:
            mOut.point2d(10, value.real[0], value.real[1]);
            break;
        case VxDbHeaderVarInfo::kPoint3d:
            mOut.point(10, VxGePoint3d{value.real[0], value.real[1], value.real[2]});
            break;
        case VxDbHeaderVarInfo::kString:
            str(info.groupCode, value.text);
            break;
        case VxDbHeaderVarInfo::kObjectId:
            break;
        }
    }
    if (mSide) {
        for (const auto& [name, groups] : mSide->headerExtras) {
            if (written.count(name))
                continue;
            mOut.text(9, name);
            keptGroups(groups);
        }
    }
    mOut.text(0, "ENDSEC");
}

// What the header and class sections need of the objects, in one walk of them all.
void Writer::survey()
{
    for (size_t slot = 1; slot < mDb->objectSlotCount(); ++slot) {
        VxDbObject* object = detail::objectOf(mDb->objectIdAtSlot(slot));
        if (!object)
            continue;
        const ClassInfo& kind = classInfo(object->isA());
        if (kind.insert || kind.opaque || (kind.kind && kind.kind->fileHooks().subObjects))
            mAnyExtraRecords = true;
        // Kept records of kinds that files declare, and described kinds whose records do.
        const VxDbDxfClassInfo* info = nullptr;
        if (kind.opaque)
            info = &static_cast<VxDbDxfOpaqueEntity*>(object)->classInfo();
        else if (kind.opaqueObject)
            info = &static_cast<VxDbDxfOpaqueObject*>(object)->classInfo();
        if (info && info->isSet() && !object->isErased())
            mDeclaredClasses.push_back(info);
        if (kind.arcText && !object->isErased())
            mDeclaredClasses.push_back(nullptr);
        if (!kind.entity && !kind.tableOrRecord)
            mObjectSlots.push_back(slot);
    }
}

// Handles the writer gives out beyond the database's: block begin and end
// records, application records it adds, records of kept entities that have
// no handle of their own.
uint64_t Writer::countExtraHandles()
{
    uint64_t count = 0;
    auto* blocks = VxDbSymbolTable::cast(detail::objectOf(mDb->blockTableId()));
    if (!blocks)
        return 0;
    for (VxDbObjectId id : blocks->recordIds()) {
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(id));
        if (!block || id.isErased())
            continue;
        count += 2;
        if (!mAnyExtraRecords)
            continue;  // no entity adds any: their walk is not needed
        for (VxDbObjectId entityId : block->entityIds()) {
            VxDbObject* object = detail::objectOf(entityId);
            if (!object)
                continue;
            const ClassInfo& info = classInfo(object->isA());
            if (info.insert && static_cast<VxDbBlockReference*>(object)->attributesFollow())
                ++count;  // its end record
            if (const VxDbKind* kind = info.kind; kind && kind->fileHooks().subObjects) {
                std::vector<SubObject> subs;
                kind->fileHooks().subObjects(*object, subs);
                count += subs.size() + 1;  // and the end record
            }
            if (!info.opaque)
                continue;
            auto* opaque = static_cast<VxDbDxfOpaqueEntity*>(object);
            for (const VxDbDxfSubRecord& sub : opaque->subRecords()) {
                if (sub.handleId.isNull() || sub.handleId.database() != mDb)
                    ++count;
            }
        }
    }
    return count;
}

// ---- classes ----

void Writer::classes()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "CLASSES");
    std::set<std::string> done;
    auto write = [&](const std::string& dxfName, const std::string& cppName, const std::string& appName, int flags,
                     bool wasProxy, bool isEntity) {
        if (!done.insert(dxfName).second)
            return;
        mOut.text(0, "CLASS");
        mOut.text(1, dxfName);
        mOut.text(2, cppName);
        utf8(3, appName);
        mOut.integer(90, flags);
        mOut.integer(91, 0);
        mOut.integer(280, wasProxy ? 1 : 0);
        mOut.integer(281, isEntity ? 1 : 0);
    };
    for (const KnownClass& known : kKnownClasses)
        write(known.dxfName, known.cppName, known.appName, known.flags, false, false);
    for (const VxDbDxfClassInfo* info : mDeclaredClasses) {
        if (info)
            write(info->dxfName, info->cppName, info->appName, info->proxyFlags, info->wasProxy, info->isEntity);
        else
            write("ARCALIGNEDTEXT", "AcDbArcAlignedText", "ArcAlignedText", 0, false, true);
    }
    mOut.text(0, "ENDSEC");
}

// ---- tables ----

enum TableKind { kVport, kLtype, kLayer, kStyle, kView, kUcs, kAppid, kDimstyle, kBlockRecord };

void Writer::tables()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "TABLES");
    table(kVport, mDb->viewportTableId(), "VPORT");
    table(kLtype, mDb->linetypeTableId(), "LTYPE");
    table(kLayer, mDb->layerTableId(), "LAYER");
    table(kStyle, mDb->textStyleTableId(), "STYLE");
    table(kView, mDb->viewTableId(), "VIEW");
    table(kUcs, mDb->UCSTableId(), "UCS");
    table(kAppid, mDb->regAppTableId(), "APPID");
    table(kDimstyle, mDb->dimStyleTableId(), "DIMSTYLE");
    table(kBlockRecord, mDb->blockTableId(), "BLOCK_RECORD");
    mOut.text(0, "ENDSEC");
}

void Writer::table(int kind, VxDbObjectId tableId, const char* name)
{
    auto* symbols = VxDbSymbolTable::cast(detail::objectOf(tableId));
    if (!symbols)
        return;
    std::vector<VxDbSymbolTableRecord*> records;
    for (VxDbObjectId id : symbols->recordIds()) {
        auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
        if (record && !record->isErased())
            records.push_back(record);
    }
    mOut.text(0, "TABLE");
    mOut.text(2, name);
    handleOf(5, tableId);
    if (handleValue(symbols->extensionDictionary())) {
        mOut.text(102, "{ACAD_XDICTIONARY");
        handleOf(360, symbols->extensionDictionary());
        mOut.text(102, "}");
    }
    mOut.handle(330, 0);
    mOut.text(100, "AcDbSymbolTable");
    mOut.integer(70, int64_t(records.size() + (kind == kAppid ? mExtraApps.size() : 0)));
    if (kind == kDimstyle) {
        mOut.text(100, "AcDbDimStyleTable");
        mOut.integer(71, int64_t(records.size()));
    }
    for (VxDbSymbolTableRecord* record : records)
        this->record(kind, record, tableId);
    if (kind == kAppid) {
        for (const auto& [appName, handle] : mExtraApps) {
            mOut.text(0, "APPID");
            mOut.handle(5, handle);
            handleOf(330, tableId);
            mOut.text(100, "AcDbSymbolTableRecord");
            mOut.text(100, "AcDbRegAppTableRecord");
            str(2, appName);
            mOut.integer(70, 0);
        }
    }
    mOut.text(0, "ENDTAB");
}

void Writer::record(int kind, VxDbSymbolTableRecord* record, VxDbObjectId tableId)
{
    static const char* const kTypes[] = {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW", "UCS", "APPID", "DIMSTYLE", "BLOCK_RECORD"};
    static const char* const kSubclasses[] = {"AcDbViewportTableRecord", "AcDbLinetypeTableRecord", "AcDbLayerTableRecord",
                                              "AcDbTextStyleTableRecord", "AcDbViewTableRecord", "AcDbUCSTableRecord",
                                              "AcDbRegAppTableRecord", "AcDbDimStyleTableRecord", "AcDbBlockTableRecord"};
    head(kTypes[kind], record, tableId, kind == kDimstyle ? 105 : 5);
    mOut.text(100, "AcDbSymbolTableRecord");
    mOut.text(100, kSubclasses[kind]);
    str(2, record->name());
    const int dependent = record->isDependent() ? 16 | (record->isResolved() ? 32 : 0) : 0;
    VxResBufPtr extraXData;
    switch (kind) {
    case kLayer: {
        auto* layer = static_cast<VxDbLayerTableRecord*>(record);
        mOut.integer(70, dependent | (layer->isFrozen() ? 1 : 0) | (layer->VPDFLT() ? 2 : 0) | (layer->isLocked() ? 4 : 0));
        const VxCmColor color = layer->color();
        const int16_t index = std::max<int16_t>(1, color.colorIndex());
        mOut.integer(62, layer->isOff() ? -index : index);
        if (color.colorMethod() == VxCmEntityColor::kByColor && mVersion >= VxDbDxfVersion::kR2004)
            mOut.integer(420, (int32_t(color.red()) << 16) | (int32_t(color.green()) << 8) | color.blue());
        const std::string& linetype = nameOf(layer->linetypeObjectId());
        mOut.text(6, linetype.empty() ? std::string_view("Continuous") : std::string_view(linetype));
        if (!layer->isPlottable())
            mOut.integer(290, 0);
        mOut.integer(370, layer->lineWeight());
        auto* styles = VxDbDictionary::cast(detail::objectOf(mDb->plotStyleNameDictionaryId()));
        VxDbObjectId style = styles ? styles->getIdAt(layer->plotStyleName().c_str()) : VxDbObjectId();
        if (style.isNull() && styles)
            style = styles->getIdAt(L"Normal");
        if (handleValue(style))
            handleOf(390, style);
        if (handleValue(layer->materialId()))
            handleOf(347, layer->materialId());
        // Description and transparency travel as extended data.
        VxResBuf* chain = nullptr;
        VxResBuf* tail = nullptr;
        auto add = [&](VxResBuf* rb) {
            (tail ? tail->rbnext : chain) = rb;
            tail = rb;
        };
        if (!layer->description().empty()) {
            add(vxutNewString(1001, kLayerDescriptionApp));
            add(vxutNewString(1000, L""));
            add(vxutNewString(1000, layer->description()));
        }
        if (!layer->transparency().isByLayer() && !(layer->transparency().isByAlpha() && layer->transparency().alpha() == 255)) {
            add(vxutNewString(1001, kLayerAlphaApp));
            add(vxutNewInt32(1071, int32_t(layer->transparency().serializeOut())));
        }
        extraXData.reset(chain);
        break;
    }
    case kLtype: {
        auto* ltype = static_cast<VxDbLinetypeTableRecord*>(record);
        mOut.integer(70, dependent);
        str(3, ltype->comments());
        mOut.integer(72, 65);
        mOut.integer(73, ltype->numDashes());
        mOut.real(40, ltype->patternLength());
        for (int i = 0; i < ltype->numDashes(); ++i) {
            mOut.real(49, ltype->dashLengthAt(i));
            const std::wstring text = ltype->textAt(i);
            const VxDbObjectId style = ltype->shapeStyleAt(i);
            const bool isText = !text.empty();
            const bool isShape = !isText && handleValue(style) && ltype->shapeNumberAt(i) != 0;
            const int flags = (isText || isShape) ? ((ltype->shapeIsUcsOrientedAt(i) ? 1 : 0) | (isText ? 2 : 4)) : 0;
            mOut.integer(74, flags);
            if (flags) {
                mOut.integer(75, isText ? 0 : ltype->shapeNumberAt(i));
                handleOf(340, style);
                mOut.real(46, ltype->shapeScaleAt(i));
                mOut.real(50, ltype->shapeRotationAt(i));
                mOut.real(44, ltype->shapeOffsetAt(i).x);
                mOut.real(45, ltype->shapeOffsetAt(i).y);
                if (isText)
                    str(9, text);
            }
        }
        break;
    }
    case kStyle: {
        auto* style = static_cast<VxDbTextStyleTableRecord*>(record);
        mOut.integer(70, dependent | (style->isShapeFile() ? 1 : 0) | (style->isVertical() ? 4 : 0));
        mOut.real(40, style->textSize());
        mOut.real(41, style->xScale());
        mOut.real(50, degrees(style->obliquingAngle()));
        mOut.integer(71, style->flagBits() & 6);
        mOut.real(42, style->priorSize());
        str(3, style->fileName());
        str(4, style->bigFontFileName());
        std::wstring typeface;
        bool bold = false, italic = false;
        int charset = 0, pitch = 0;
        style->font(typeface, bold, italic, charset, pitch);
        if (!typeface.empty()) {
            const int32_t bits = (italic ? 0x01000000 : 0) | (bold ? 0x02000000 : 0) | ((charset & 0xFF) << 8) | (pitch & 0xFF);
            extraXData.reset(vxutNewString(1001, L"ACAD"));
            extraXData->rbnext = vxutNewString(1000, typeface);
            extraXData->rbnext->rbnext = vxutNewInt32(1071, bits);
        }
        break;
    }
    case kVport: {
        auto* vport = static_cast<VxDbViewportTableRecord*>(record);
        mOut.integer(70, dependent);
        mOut.point2d(10, vport->lowerLeftCorner().x, vport->lowerLeftCorner().y);
        mOut.point2d(11, vport->upperRightCorner().x, vport->upperRightCorner().y);
        mOut.point2d(12, vport->centerPoint().x, vport->centerPoint().y);
        mOut.point2d(13, vport->snapBase().x, vport->snapBase().y);
        mOut.point2d(14, vport->snapIncrements().x, vport->snapIncrements().y);
        mOut.point2d(15, vport->gridIncrements().x, vport->gridIncrements().y);
        mOut.point(16, VxGePoint3d::kOrigin + vport->viewDirection());
        mOut.point(17, vport->target());
        mOut.real(40, vport->height());
        mOut.real(41, vport->height() > 0.0 ? vport->width() / vport->height() : 1.0);
        mOut.real(42, vport->lensLength());
        mOut.real(43, vport->frontClipDistance());
        mOut.real(44, vport->backClipDistance());
        mOut.real(50, degrees(vport->snapAngle()));
        mOut.real(51, degrees(vport->viewTwist()));
        mOut.integer(71, (vport->perspectiveEnabled() ? 1 : 0) | (vport->frontClipEnabled() ? 2 : 0) |
                             (vport->backClipEnabled() ? 4 : 0) | (vport->ucsFollowMode() ? 8 : 0) |
                             (vport->frontClipAtEye() ? 0 : 16));
        mOut.integer(72, vport->circleSides());
        mOut.integer(73, vport->fastZoomsEnabled() ? 1 : 0);
        mOut.integer(74, (vport->iconEnabled() ? 1 : 0) | (vport->iconAtOrigin() ? 2 : 0));
        mOut.integer(75, vport->snapEnabled() ? 1 : 0);
        mOut.integer(76, vport->gridEnabled() ? 1 : 0);
        mOut.integer(77, vport->isometricSnapEnabled() ? 1 : 0);
        mOut.integer(78, vport->snapPair());
        mOut.integer(281, vport->renderMode());
        mOut.integer(65, vport->isUcsSavedWithViewport() ? 1 : 0);
        VxGePoint3d origin;
        VxGeVector3d x, y;
        vport->getUcs(origin, x, y);
        mOut.point(110, origin);
        mOut.point(111, VxGePoint3d::kOrigin + x);
        mOut.point(112, VxGePoint3d::kOrigin + y);
        mOut.real(146, vport->elevation());
        break;
    }
    case kView: {
        auto* view = static_cast<VxDbViewTableRecord*>(record);
        mOut.integer(70, dependent | (view->isPaperspaceView() ? 1 : 0));
        mOut.real(40, view->height());
        mOut.point2d(10, view->centerPoint().x, view->centerPoint().y);
        mOut.real(41, view->width());
        mOut.point(11, VxGePoint3d::kOrigin + view->viewDirection());
        mOut.point(12, view->target());
        mOut.real(42, view->lensLength());
        mOut.real(43, view->frontClipDistance());
        mOut.real(44, view->backClipDistance());
        mOut.real(50, degrees(view->viewTwist()));
        mOut.integer(71, (view->perspectiveEnabled() ? 1 : 0) | (view->frontClipEnabled() ? 2 : 0) |
                             (view->backClipEnabled() ? 4 : 0) | (view->frontClipAtEye() ? 0 : 16));
        mOut.integer(281, view->renderMode());
        mOut.integer(72, 1);
        VxGePoint3d origin;
        VxGeVector3d x, y;
        view->getUcs(origin, x, y);
        mOut.point(110, origin);
        mOut.point(111, VxGePoint3d::kOrigin + x);
        mOut.point(112, VxGePoint3d::kOrigin + y);
        mOut.integer(79, 0);
        mOut.real(146, view->elevation());
        mOut.integer(73, view->isViewAssociatedToViewport() ? 1 : 0);
        break;
    }
    case kUcs: {
        auto* ucs = static_cast<VxDbUCSTableRecord*>(record);
        mOut.integer(70, dependent);
        mOut.point(10, ucs->origin());
        mOut.point(11, VxGePoint3d::kOrigin + ucs->xAxis());
        mOut.point(12, VxGePoint3d::kOrigin + ucs->yAxis());
        mOut.integer(79, 0);
        mOut.real(146, 0.0);
        break;
    }
    case kAppid:
        mOut.integer(70, dependent);
        break;
    case kDimstyle: {
        auto* dim = static_cast<VxDbDimStyleTableRecord*>(record);
        mOut.integer(70, dependent);
        for (size_t v = 0; v < size_t(VxDbDimVar::kCount); ++v) {
            const VxDbDimVar var = VxDbDimVar(v);
            const VxDbDimVarInfo& info = vxdbDimVarInfo(var);
            switch (info.kind) {
            case VxDbDimVarInfo::kInt16: mOut.integer(info.groupCode, dim->dimInt(var)); break;
            case VxDbDimVarInfo::kReal:
                mOut.real(info.groupCode, var == VxDbDimVar::kDimJogAng ? degrees(dim->dimReal(var)) : dim->dimReal(var));
                break;
            case VxDbDimVarInfo::kString: str(info.groupCode, dim->dimText(var)); break;
            case VxDbDimVarInfo::kObjectId:
                if (handleValue(dim->dimId(var)))
                    handleOf(info.groupCode, dim->dimId(var));
                break;
            }
        }
        break;
    }
    case kBlockRecord: {
        auto* block = static_cast<VxDbBlockTableRecord*>(record);
        if (handleValue(block->getLayoutId()))
            handleOf(340, block->getLayoutId());
        mOut.integer(70, block->blockInsertUnits());
        mOut.integer(280, block->explodable() ? 1 : 0);
        mOut.integer(281, block->blockScaling() == VxDb::kUniform ? 1 : 0);
        break;
    }
    default:
        break;
    }
    xdata(record);
    xdataChain(extraXData.get());
}

// ---- blocks and entities ----

void Writer::blocks()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "BLOCKS");
    auto* blockTable = VxDbSymbolTable::cast(detail::objectOf(mDb->blockTableId()));
    for (VxDbObjectId id : blockTable ? blockTable->recordIds() : std::vector<VxDbObjectId>()) {
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(id));
        if (!block || block->isErased())
            continue;
        const bool isLayoutSpace = id == mModelSpace || id == mPaperSpace;
        const bool paper = block->isLayout() && id != mModelSpace;
        mOut.text(0, "BLOCK");
        mOut.handle(5, newHandle());
        handleOf(330, id);
        mOut.text(100, "AcDbEntity");
        if (paper)
            mOut.integer(67, 1);
        mOut.text(8, "0");
        mOut.text(100, "AcDbBlockBegin");
        str(2, block->name());
        int flags = 0;
        if (block->isAnonymous() && !block->isLayout())
            flags |= 1;
        if (block->isFromExternalReference())
            flags |= 4 | (block->isFromOverlayReference() ? 8 : 0);
        mOut.integer(70, flags);
        mOut.point(10, block->origin());
        str(3, block->name());
        str(1, block->pathName());
        if (!block->comments().empty())
            str(4, block->comments());
        if (!isLayoutSpace) {
            for (VxDbObjectId entityId : block->entityIds()) {
                auto* entity = VxDbEntity::cast(detail::objectOf(entityId));
                if (entity && !entity->isErased())
                    this->entity(entity, id, paper);
            }
        }
        mOut.text(0, "ENDBLK");
        mOut.handle(5, newHandle());
        handleOf(330, id);
        mOut.text(100, "AcDbEntity");
        if (paper)
            mOut.integer(67, 1);
        mOut.text(8, "0");
        mOut.text(100, "AcDbBlockEnd");
    }
    mOut.text(0, "ENDSEC");
}

void Writer::entities()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "ENTITIES");
    for (VxDbObjectId spaceId : {mModelSpace, mPaperSpace}) {
        auto* space = VxDbBlockTableRecord::cast(detail::objectOf(spaceId));
        if (!space || space->isErased())
            continue;
        const bool paper = spaceId == mPaperSpace;
        for (VxDbObjectId entityId : space->entityIds()) {
            VxDbObject* object = liveObject(entityId);
            if (object && classInfo(object->isA()).entity)
                this->entity(static_cast<VxDbEntity*>(object), spaceId, paper);
        }
    }
    mOut.text(0, "ENDSEC");
}

void Writer::entityCommon(VxDbEntity* entity, bool paperSpace)
{
    // The shared record read once, not a look-up a property.
    const detail::EntityStyle& common = entity->commonProperties();
    mOut.text(100, "AcDbEntity");
    if (paperSpace)
        mOut.integer(67, 1);
    const std::string& layer = nameOf(common.layer);
    mOut.text(8, layer.empty() ? std::string_view("0") : std::string_view(layer));
    if (common.linetype != mByLayerLinetype && handleValue(common.linetype)) {
        const std::string& name = nameOf(common.linetype);
        if (!name.empty())
            mOut.text(6, name);
    }
    if (common.material != mByLayerMaterial && handleValue(common.material))
        handleOf(347, common.material);
    const VxCmEntityColor color(common.color);
    if (!color.isByLayer()) {
        mOut.integer(62, color.colorIndex());
        if (color.isByColor() && mVersion >= VxDbDxfVersion::kR2004)
            mOut.integer(420, (int32_t(color.red()) << 16) | (int32_t(color.green()) << 8) | color.blue());
    }
    if (common.lineWeight != VxDb::kLnWtByLayer)
        mOut.integer(370, common.lineWeight);
    if (common.linetypeScale != 1.0)
        mOut.real(48, common.linetypeScale);
    if (common.visibility == VxDb::kInvisible)
        mOut.integer(60, 1);
    if (common.transparency != detail::EntityStyle().transparency && mVersion >= VxDbDxfVersion::kR2004) {
        VxCmTransparency transparency;
        transparency.serializeIn(common.transparency);
        if (!transparency.isByLayer())
            mOut.integer(440, transparency.serializeOut());
    }
    if (common.plotStyleType == VxDb::kPlotStyleNameById && handleValue(common.plotStyle))
        handleOf(390, common.plotStyle);
}

// A multiline attribute ends its own subclass with its type (2 a reference, 4 a definition)
// and carries its multiline text as an embedded object, in files of 2018 and later.
void Writer::embeddedMText(VxDbEntity* entity)
{
    if (!classInfo(entity->isA()).attributeText)
        return;
    const VxDbAttributeText* attribute = vxdbAttributeTextOf(entity);
    if (!attribute || !attribute->mtext() || mVersion < VxDbDxfVersion::kR2018)
        return;
    mOut.integer(71, VxDbAttributeDefinition::cast(entity) ? 4 : 2);
    mOut.integer(72, 0);
    mOut.text(101, "Embedded Object");
    std::unique_ptr<VxDbMText> mtext(static_cast<VxDbMText*>(attribute->mtext()->clone()));
    mtext->setTextStyle(attribute->textStyle());
    writeFields(mOut, *mtext, VxDbMText::kind(), mVersion, mUtf8, [this](VxDbObjectId id) { return nameOf(id); },
                false);
}

void Writer::entity(VxDbEntity* entity, VxDbObjectId owner, bool paperSpace)
{
    const VxRxClass* cls = entity->isA();
    const ClassInfo& info = classInfo(cls);
    if (info.opaque) {
        auto* opaque = static_cast<VxDbDxfOpaqueEntity*>(entity);
        head(opaque->dxfName(), entity, owner);
        entityCommon(entity, paperSpace);
        keptGroups(opaque->groups());
        xdata(entity);
        for (const VxDbDxfSubRecord& sub : opaque->subRecords()) {
            mOut.text(0, sub.dxfName);
            if (!sub.handleId.isNull() && sub.handleId.database() == mDb)
                mOut.handle(5, sub.handleId.handle().value());
            else
                mOut.handle(5, newHandle());
            handleOf(330, entity->objectId());
            keptGroups(sub.groups);
        }
        return;
    }
    auto* insert = info.insert ? static_cast<VxDbBlockReference*>(entity) : nullptr;
    if (insert && !handleValue(insert->blockTableRecord()))
        return;  // an insertion of nothing cannot be written
    if (const VxDbKind* kind = info.kind; kind && *cls->dxfName()) {
        head(*info.dxfName, entity, owner);
        entityCommon(entity, paperSpace);
        writeFields(mOut, *entity, *kind, mVersion, mUtf8, [this](VxDbObjectId id) { return nameOf(id); });
        embeddedMText(entity);
        if (auto* viewport = info.viewport ? static_cast<VxDbViewport*>(entity) : nullptr;
            viewport && mVersion >= VxDbDxfVersion::kR13) {
            for (VxDbObjectId layer : viewport->frozenLayers()) {
                if (handleValue(layer) && !layer.isErased())
                    handleOf(331, layer);
            }
            if (handleValue(viewport->nonRectClipEntityId()) && !viewport->nonRectClipEntityId().isErased())
                handleOf(340, viewport->nonRectClipEntityId());
        }
    } else {
        return;  // a kind this writer does not know
    }
    xdata(entity);
    // Objects an entity owns as its own data (a polyline's vertices) follow it, up to the end record.
    if (const VxDbKind* kind = info.kind; kind && kind->fileHooks().subObjects) {
        std::vector<SubObject> subs;
        kind->fileHooks().subObjects(*entity, subs);
        for (const SubObject& sub : subs) {
            mOut.text(0, sub.type);
            mOut.handle(5, newHandle());
            handleOf(330, entity->objectId());
            mOut.text(100, "AcDbEntity");
            if (paperSpace)
                mOut.integer(67, 1);
            mOut.text(8, nameOf(entity->layerId()));
            if (sub.leadingSubclass)
                mOut.text(100, sub.leadingSubclass);
            if (const VxDbKind* subKind = vxdbKindOf(sub.object))
                writeFields(mOut, *sub.object, *subKind, mVersion, mUtf8);
        }
        mOut.text(0, "SEQEND");
        mOut.handle(5, newHandle());
        handleOf(330, entity->objectId());
        mOut.text(100, "AcDbEntity");
        if (paperSpace)
            mOut.integer(67, 1);
        mOut.text(8, nameOf(entity->layerId()));
    }
    // A reference's attributes follow it, up to the end record.
    if (insert && insert->attributesFollow()) {
        for (VxDbObjectId id : insert->attributeIds()) {
            auto* attribute = VxDbEntity::cast(detail::objectOf(id));
            if (attribute && !attribute->isErased())
                this->entity(attribute, entity->objectId(), paperSpace);
        }
        mOut.text(0, "SEQEND");
        mOut.handle(5, newHandle());
        handleOf(330, entity->objectId());
        mOut.text(100, "AcDbEntity");
        if (paperSpace)
            mOut.integer(67, 1);
        mOut.text(8, nameOf(entity->layerId()));
    }
}

// ---- objects ----

void Writer::objects()
{
    mOut.text(0, "SECTION");
    mOut.text(2, "OBJECTS");
    const VxDbObjectId root = mDb->namedObjectsDictionaryId();
    if (VxDbObject* object = detail::objectOf(root))
        this->object(object);
    // The survey's list: a drawing's objects are mostly entities, not walked again here.
    for (size_t slot : mObjectSlots) {
        const VxDbObjectId id = mDb->objectIdAtSlot(slot);
        if (id == root)
            continue;
        VxDbObject* object = liveObject(id);
        if (!object)
            continue;
        // Objects whose owner is gone go with it; objects nothing owns are
        // out of the drawing.
        if (object->ownerId().isNull() || object->ownerId().isErased() || !object->ownerId().isValid())
            continue;
        this->object(object);
    }
    mOut.text(0, "ENDSEC");
}

void Writer::object(VxDbObject* object)
{
    const VxDbObjectId owner = object->ownerId();
    if (auto* opaque = VxDbDxfOpaqueObject::cast(object)) {
        head(opaque->dxfName(), object, owner);
        keptGroups(opaque->groups());
    } else if (auto* dictionary = VxDbDictionary::cast(object)) {
        // The plot-style names have a default entry: "Normal".
        const bool withDefault = object->objectId() == mDb->plotStyleNameDictionaryId();
        head(withDefault ? "ACDBDICTIONARYWDFLT" : "DICTIONARY", object, owner);
        mOut.text(100, "AcDbDictionary");
        if (dictionary->isTreatElementsAsHard())
            mOut.integer(280, 1);
        mOut.integer(281, dictionary->mergeStyle());
        const int code = dictionary->isTreatElementsAsHard() ? 360 : 350;
        VxDbObjectId first;
        for (const VxDbDictionary::Entry& entry : dictionary->entries()) {
            if (!handleValue(entry.id))
                continue;
            str(3, entry.key);
            handleOf(code, entry.id);
            if (first.isNull())
                first = entry.id;
        }
        if (withDefault) {
            const VxDbObjectId normal = dictionary->getIdAt(L"Normal");
            mOut.text(100, "AcDbDictionaryWithDefault");
            handleOf(340, handleValue(normal) ? normal : first);
        }
    } else if (auto* xrecord = VxDbXrecord::cast(object)) {
        head("XRECORD", object, owner);
        mOut.text(100, "AcDbXrecord");
        mOut.integer(280, xrecord->mergeStyle());
        for (const VxResBuf* rb = xrecord->data(); rb; rb = rb->rbnext) {
            const int code = rb->restype;
            switch (vxutStorageOf(code)) {
            case VxRbStorage::kString: str(code, vxView(rb->resval.rstring)); break;
            case VxRbStorage::kReal: mOut.real(code, rb->resval.rreal); break;
            case VxRbStorage::kPoint:
                mOut.real(code, rb->resval.rpoint[0]);
                mOut.real(code + 10, rb->resval.rpoint[1]);
                mOut.real(code + 20, rb->resval.rpoint[2]);
                break;
            case VxRbStorage::kInt16: mOut.integer(code, rb->resval.rint); break;
            case VxRbStorage::kInt32: mOut.integer(code, rb->resval.rlong); break;
            case VxRbStorage::kInt64: mOut.integer(code, rb->resval.rlong64); break;
            case VxRbStorage::kName: handleOf(code, VxDbObjectId::fromOldId(rb->resval.rlname[0])); break;
            case VxRbStorage::kBinary: {
                static const char kHex[] = "0123456789ABCDEF";
                std::string hex;
                for (int i = 0; i < rb->resval.rbinary.clen; ++i) {
                    hex.push_back(kHex[rb->resval.rbinary.buf[i] >> 4]);
                    hex.push_back(kHex[rb->resval.rbinary.buf[i] & 15]);
                }
                mOut.text(code, hex);
                break;
            }
            default: break;
            }
        }
    } else if (auto* group = VxDbGroup::cast(object)) {
        head("GROUP", object, owner);
        mOut.text(100, "AcDbGroup");
        str(300, group->description());
        mOut.integer(70, group->isAnonymous() ? 1 : 0);
        mOut.integer(71, group->isSelectable() ? 1 : 0);
        for (VxDbObjectId member : group->memberIds()) {
            if (handleValue(member))
                handleOf(340, member);
        }
    } else if (auto* sorting = VxDbSortentsTable::cast(object)) {
        head("SORTENTSTABLE", object, owner);
        mOut.text(100, "AcDbSortentsTable");
        handleOf(330, sorting->blockId());
        // Only the entities drawn by another handle than their own.
        for (const auto& [entity, sortHandle] : sorting->entries()) {
            if (handleValue(entity) && !sortHandle.isNull()) {
                handleOf(331, entity);
                mOut.handle(5, sortHandle.value());
            }
        }
    } else if (auto* settings = VxDbPlotSettings::cast(object)) {
        auto* layout = VxDbLayout::cast(object);
        head(layout ? "LAYOUT" : "PLOTSETTINGS", object, owner);
        const VxDbPlotSettings::Data& d = settings->data();
        mOut.text(100, "AcDbPlotSettings");
        str(1, layout ? std::wstring() : d.name);
        str(2, d.device);
        str(4, d.media);
        str(6, d.viewName);
        mOut.real(40, d.marginLeft);
        mOut.real(41, d.marginBottom);
        mOut.real(42, d.marginRight);
        mOut.real(43, d.marginTop);
        mOut.real(44, d.paperWidth);
        mOut.real(45, d.paperHeight);
        mOut.real(46, d.origin.x);
        mOut.real(47, d.origin.y);
        mOut.real(48, d.windowMin.x);
        mOut.real(49, d.windowMin.y);
        mOut.real(140, d.windowMax.x);
        mOut.real(141, d.windowMax.y);
        mOut.real(142, d.scaleNumerator);
        mOut.real(143, d.scaleDenominator);
        const int flags = (d.viewportBorders ? 1 : 0) | (d.showPlotStyles ? 2 : 0) | (d.centered ? 4 : 0) |
                          (d.plotHidden ? 8 : 0) | (d.useStandardScale ? 16 : 0) | (d.plotPlotStyles ? 32 : 0) |
                          (d.scaleLineweights ? 64 : 0) | (d.printLineweights ? 128 : 0) |
                          (d.drawViewportsFirst ? 512 : 0) | (d.modelType ? 1024 : 0);
        mOut.integer(70, flags);
        mOut.integer(72, d.paperUnits);
        mOut.integer(73, d.rotation);
        mOut.integer(74, d.plotType);
        str(7, d.styleSheet);
        mOut.integer(75, d.stdScaleType);
        mOut.integer(76, d.shadePlot);
        mOut.integer(77, 2);
        mOut.integer(78, 300);
        mOut.real(147, 1.0);
        mOut.real(148, 0.0);
        mOut.real(149, 0.0);
        if (layout) {
            mOut.text(100, "AcDbLayout");
            str(1, layout->layoutName());
            mOut.integer(70, 1);
            mOut.integer(71, layout->getTabOrder());
            mOut.point2d(10, layout->getLimitsMin().x, layout->getLimitsMin().y);
            mOut.point2d(11, layout->getLimitsMax().x, layout->getLimitsMax().y);
            mOut.point(12, layout->getInsertionBase());
            const VxGeExtents3d ext = layout->getExtents();
            if (ext.isValid()) {
                mOut.point(14, ext.minPoint());
                mOut.point(15, ext.maxPoint());
            } else {
                mOut.point(14, VxGePoint3d{1e20, 1e20, 1e20});
                mOut.point(15, VxGePoint3d{-1e20, -1e20, -1e20});
            }
            mOut.real(146, 0.0);
            mOut.point(13, VxGePoint3d::kOrigin);
            mOut.point(16, VxGePoint3d{1, 0, 0});
            mOut.point(17, VxGePoint3d{0, 1, 0});
            mOut.integer(76, 1);
            handleOf(330, layout->getBlockTableRecordId());
        }
    } else if (VxDbPlaceHolder::cast(object)) {
        head("ACDBPLACEHOLDER", object, owner);
    } else if (auto* mline = VxDbMlineStyle::cast(object)) {
        head("MLINESTYLE", object, owner);
        mOut.text(100, "AcDbMlineStyle");
        str(2, mline->name());
        mOut.integer(70, mline->filled() ? 1 : 0);
        str(3, mline->description());
        mOut.integer(62, mline->fillColor().colorIndex());
        mOut.real(51, degrees(mline->startAngle()));
        mOut.real(52, degrees(mline->endAngle()));
        mOut.integer(71, int64_t(mline->elements().size()));
        for (const VxDbMlineStyle::Element& e : mline->elements()) {
            mOut.real(49, e.offset);
            mOut.integer(62, e.color.colorIndex());
            const std::string& name = nameOf(e.linetype);
            mOut.text(6, name.empty() ? std::string_view("BYLAYER") : std::string_view(name));
        }
    } else if (auto* named = VxDbNamedObject::cast(object)) {
        const char* type = VxDbMaterial::cast(object) ? "MATERIAL" : VxDbTableStyle::cast(object) ? "TABLESTYLE" : "MLEADERSTYLE";
        head(type, object, owner);
        const bool material = VxDbMaterial::cast(object) != nullptr;
        mOut.text(100, material ? "AcDbMaterial" : VxDbTableStyle::cast(object) ? "AcDbTableStyle" : "AcDbMLeaderStyle");
        const int nameCode = material ? 1 : -1;
        const int descriptionCode = material ? 2 : 3;
        if (const VxDbDxfGroups* kept = residueOf(mSide, object->objectId())) {
            // The record as it was read, with the host's name and description.
            bool nameDone = false, descriptionDone = false;
            for (const VxDbDxfGroup& g : *kept) {
                if (g.code == nameCode && !nameDone) {
                    str(g.code, named->name());
                    nameDone = true;
                } else if (g.code == descriptionCode && !descriptionDone) {
                    str(g.code, named->description());
                    descriptionDone = true;
                } else {
                    keptGroups(VxDbDxfGroups{g});
                }
            }
        } else {
            if (material)
                str(1, named->name());
            str(descriptionCode, named->description());
        }
    } else {
        return;
    }
    xdata(object);
}

// ---- the whole file ----

Velt::ErrorStatus Writer::run()
{
    if (!VxDbSymbolTable::cast(detail::objectOf(mDb->blockTableId())) ||
        !VxDbDictionary::cast(detail::objectOf(mDb->namedObjectsDictionaryId())))
        return Velt::eNotApplicable;
    mNextHandle = mDb->handseed().value();
    mModelSpace = mDb->modelSpaceId();
    mPaperSpace = mDb->paperSpaceId();
    mByLayerLinetype = mDb->byLayerLinetype();
    mByLayerMaterial = mDb->byLayerMaterialId();
    // Applications the layer properties need.
    bool needDescription = false, needAlpha = false;
    if (auto* layers = VxDbSymbolTable::cast(detail::objectOf(mDb->layerTableId()))) {
        for (VxDbObjectId id : layers->recordIds()) {
            auto* layer = VxDbLayerTableRecord::cast(detail::objectOf(id));
            if (!layer || layer->isErased())
                continue;
            needDescription = needDescription || !layer->description().empty();
            needAlpha = needAlpha || (!layer->transparency().isByLayer() &&
                                      !(layer->transparency().isByAlpha() && layer->transparency().alpha() == 255));
        }
    }
    auto* apps = VxDbSymbolTable::cast(detail::objectOf(mDb->regAppTableId()));
    const uint64_t appBase = mNextHandle;
    if (needDescription && !(apps && apps->has(kLayerDescriptionApp)))
        mExtraApps.emplace_back(kLayerDescriptionApp, 0);
    if (needAlpha && !(apps && apps->has(kLayerAlphaApp)))
        mExtraApps.emplace_back(kLayerAlphaApp, 0);
    for (size_t i = 0; i < mExtraApps.size(); ++i)
        mExtraApps[i].second = appBase + i;
    mNextHandle += mExtraApps.size();

    survey();
    header();
    classes();
    tables();
    blocks();
    entities();
    objects();
    mOut.text(0, "EOF");
    return mOut.flush() ? Velt::eOk : Velt::eFileAccessErr;
}

}  // namespace

Velt::ErrorStatus vxdbWriteDxf(VxDbDatabase* database, std::string& out, VxDbDxfVersion version, int precision)
{
    if (!database)
        return Velt::eNoDatabase;
    if (version < VxDbDxfVersion::kR2000 || precision < 0 || precision > 17)
        return Velt::eInvalidInput;
    Writer writer(database, version, precision);
    writer.out().buffer().swap(out);
    writer.out().buffer().clear();
    const Velt::ErrorStatus es = writer.run();
    out.swap(writer.out().buffer());
    return es;
}

Velt::ErrorStatus vxdbWriteDxf(VxDbDatabase* database, std::FILE* file, VxDbDxfVersion version, int precision)
{
    if (!database)
        return Velt::eNoDatabase;
    if (!file)
        return Velt::eFileAccessErr;
    if (version < VxDbDxfVersion::kR2000 || precision < 0 || precision > 17)
        return Velt::eInvalidInput;
    Writer writer(database, version, precision);
    writer.out().setFile(file);
    return writer.run();
}

}  // namespace kx
