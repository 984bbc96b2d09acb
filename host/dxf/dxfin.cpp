// Reading exchange files into a database.
//
// The read runs in three steps. First the whole file is parsed into objects
// that are not yet in the database, so that a file that turns out to be
// broken leaves the database as it was. Then the objects are made resident
// in the order of their handles, so that each keeps the handle the file gave
// it (the database hands out handles in increasing order only). Last,
// references between them are resolved, containers filled and the drawing
// completed with whatever standard contents the file lacked.

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <queue>
#include <unordered_map>
#include <unordered_set>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "dxf/dxfinternal.h"
#include "dxf/dxfstream.h"
#include "ge/angle.h"
#include "ge/matrix.h"

namespace kx {

const char* vxdbDxfVersionName(VxDbDxfVersion version)
{
    switch (version) {
    case VxDbDxfVersion::kR12: return "AC1009";
    case VxDbDxfVersion::kR13: return "AC1012";
    case VxDbDxfVersion::kR14: return "AC1014";
    case VxDbDxfVersion::kR2000: return "AC1015";
    case VxDbDxfVersion::kR2004: return "AC1018";
    case VxDbDxfVersion::kR2007: return "AC1021";
    case VxDbDxfVersion::kR2010: return "AC1024";
    case VxDbDxfVersion::kR2013: return "AC1027";
    case VxDbDxfVersion::kR2018: return "AC1032";
    }
    return "AC1032";
}

bool vxdbDxfVersionFromName(std::string_view name, VxDbDxfVersion& version)
{
    while (!name.empty() && name.back() == ' ')
        name.remove_suffix(1);
    while (!name.empty() && name.front() == ' ')
        name.remove_prefix(1);
    if (name.size() != 6 || name.substr(0, 2) != "AC")
        return false;
    int number = 0;
    for (char c : name.substr(2)) {
        if (c < '0' || c > '9')
            return false;
        number = number * 10 + (c - '0');
    }
    // Older and in-between versions read as the nearest one below.
    if (number < 1012)
        version = VxDbDxfVersion::kR12;
    else if (number < 1014)
        version = VxDbDxfVersion::kR13;
    else if (number < 1015)
        version = VxDbDxfVersion::kR14;
    else if (number < 1018)
        version = VxDbDxfVersion::kR2000;
    else if (number < 1021)
        version = VxDbDxfVersion::kR2004;
    else if (number < 1024)
        version = VxDbDxfVersion::kR2007;
    else if (number < 1027)
        version = VxDbDxfVersion::kR2010;
    else if (number < 1032)
        version = VxDbDxfVersion::kR2013;
    else
        version = VxDbDxfVersion::kR2018;
    return true;
}

Velt::ErrorStatus vxdbDxfVersionOfSaveCode(int code, VxDbDxfVersion& version)
{
    if (code < VxDb::kSaveR2000 || code > VxDb::kSaveR2018 + 2)
        return Velt::eInvalidInput;
    if (code < VxDb::kSaveR2004)
        version = VxDbDxfVersion::kR2000;
    else if (code < VxDb::kSaveR2007)
        version = VxDbDxfVersion::kR2004;
    else if (code < VxDb::kSaveR2010)
        version = VxDbDxfVersion::kR2007;
    else if (code < VxDb::kSaveR2013)
        version = VxDbDxfVersion::kR2010;
    else if (code < VxDb::kSaveR2018)
        version = VxDbDxfVersion::kR2013;
    else
        version = VxDbDxfVersion::kR2018;
    return Velt::eOk;
}

namespace {

using namespace dxf;

constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kByOwner = UINT32_MAX - 1;  // the block follows from the entity's owner
constexpr size_t kMaxWarnings = 50;

// ---- one record's groups, copied out of the file ----

struct RawGroup {
    int16_t code;
    uint32_t offset;
    uint32_t length;
};

class Record {
public:
    void clear()
    {
        mGroups.clear();
        mArena.clear();
    }
    void add(int code, std::string_view value)
    {
        mGroups.push_back({int16_t(code), uint32_t(mArena.size()), uint32_t(value.size())});
        mArena.append(value);
    }
    size_t size() const { return mGroups.size(); }
    int code(size_t i) const { return mGroups[i].code; }
    std::string_view value(size_t i) const
    {
        return std::string_view(mArena).substr(mGroups[i].offset, mGroups[i].length);
    }
    double real(size_t i) const
    {
        double v = 0.0;
        return parseDouble(value(i), v) ? v : 0.0;
    }
    int64_t integer(size_t i) const
    {
        int64_t v = 0;
        return parseInt(value(i), v) ? v : 0;
    }
    uint64_t handle(size_t i) const
    {
        uint64_t v = 0;
        return parseHandle(value(i), v) ? v : 0;
    }
    // Whether value i holds a number, for checks of groups that must.
    bool isNumber(size_t i) const
    {
        double v = 0.0;
        return parseDouble(value(i), v);
    }

    std::string type;
    size_t position = 0;

private:
    std::vector<RawGroup> mGroups;
    std::string mArena;
};

// ---- what every record has: handle, owner, reactors, extension dictionary, extended data ----

struct Head {
    uint64_t handle = 0;
    uint64_t owner = 0;
    uint64_t xdict = 0;
    std::vector<uint64_t> reactors;
};

// Where the groups of one record begin and end within the record, after
// the head was taken out.
enum class Part : uint8_t { kHead, kEntity, kBody };

// ---- pending objects ----

struct Pending {
    uint64_t handle = 0;
    uint64_t owner = 0;
    uint64_t xdict = 0;
    std::vector<uint64_t> reactors;
    std::unique_ptr<VxDbObject> object;  // until it is resident
    VxDbObject* live = nullptr;          // once it is (open for write until the end)
    VxDbObjectId id;
};

enum TableKind { kVport, kLtype, kLayer, kStyle, kView, kUcs, kAppid, kDimstyle, kBlockRecord, kTableCount };
constexpr const char* kTableNames[kTableCount] = {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW",
                                                  "UCS", "APPID", "DIMSTYLE", "BLOCK_RECORD"};

struct PendingTable : Pending {
    std::vector<uint32_t> records;  // into mRecords, file order
    size_t next = 0;
    bool seen = false;
};

struct PendingRecord : Pending {
    int table = 0;
};

struct PendingEntity : Pending {
    uint32_t block = kNone;
    uint32_t layer = kNone;     // interned name
    uint32_t linetype = kNone;  // interned name; kNone: by layer
    bool layerPending = false;
};

struct PendingBlock {
    std::wstring name;
    uint32_t record = kNone;  // into mRecords
    uint64_t recordHandle = 0;
    std::vector<uint32_t> entities;  // into mEntities, file order
    size_t next = 0;
    // From the BLOCK entity.
    bool hasBegin = false;
    VxGePoint3d origin;
    std::wstring path;
    std::wstring description;
    int flags = 0;
};

struct InternedName {
    std::wstring name;
    uint32_t record = kNone;  // pending record of that name
};

// Header variables: the groups after "$NAME" until the next name.
struct HeaderVar {
    std::string name;
    Record groups;
};

struct StringHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

class Reader {
public:
    Reader(VxDbDatabase* db, std::string_view data, VxDbDxfReadInfo& info) : mDb(db), mIn(data), mInfo(info) {}
    ~Reader();

    Velt::ErrorStatus run();

private:
    // ---- parsing ----
    bool nextRecord(Record& record);
    bool expectSectionStart(std::string& name);
    bool skipSection();
    bool readHeader();
    bool readClasses();
    bool readTables();
    bool readTable();
    bool readBlocks();
    bool readEntities();
    bool readObjects();
    bool readEntityList(uint32_t block, std::string_view end, bool& sawEndSection);
    void warn(std::string text);

    void splitHead(const Record& record, Head& head, VxResBufPtr& xdata, std::vector<size_t>& body,
                   bool entity, int handleCode = 5);
    VxResBufPtr buildXData(const Record& record, size_t first);
    void takeHead(Pending& pending, Head& head);
    void applyXData(VxDbObject* object, VxResBufPtr& xdata);

    void parseRecord(Record& record, int table);
    void parseEntity(Record& record, uint32_t block, std::vector<Record>* subRecords);
    void parseObject(Record& record);
    VxDbEntity* makeKnownEntity(const Record& record, const std::vector<size_t>& body, bool& keepOpaque);
    void applyEntityCommon(VxDbEntity* entity, PendingEntity& pending, const Record& record, size_t index,
                           bool& handled);
    VxDbDxfGroups keepGroups(const Record& record, const std::vector<size_t>& indices);

    uint32_t internLayer(std::string_view raw);
    uint32_t internLinetype(std::string_view raw);
    uint32_t blockForOwner(uint64_t ownerHandle, bool paperSpace);
    uint32_t blockNamed(const std::wstring& name, bool create);
    std::wstring text(std::string_view raw) const { return decodeText(raw, mUtf8); }

    // ---- placing ----
    void place();
    bool reserveExact(uint64_t handle);
    void noteHandle(Pending& pending);
    bool placeFree(Pending& pending);
    bool placeTable(int table);
    bool placeRecordsUpTo(int table, size_t index);
    bool placeEntity(uint32_t index);
    void reserveSubRecordHandles(VxDbDxfOpaqueEntity* entity);

    // ---- linking ----
    VxDbObjectId idOf(uint64_t handle) const;
    void link();
    void linkOwnership(Pending& pending, bool free);
    void applyHeader();
    void closeAll();

    VxDbDatabase* mDb;
    GroupReader mIn;
    VxDbDxfReadInfo& mInfo;
    VxDbDxfVersion mVersion = VxDbDxfVersion::kR12;
    bool mUtf8 = false;
    uint64_t mFileHandseed = 0;
    uint64_t mMaxHandle = 0;

    std::vector<HeaderVar> mHeader;
    std::unordered_map<std::string, VxDbDxfClassInfo, StringHash, std::equal_to<>> mClasses;
    PendingTable mTables[kTableCount];
    std::vector<PendingRecord> mRecords;
    std::unordered_map<std::wstring, uint32_t, VxNoCaseHash, VxNoCaseEqual> mRecordByName[kTableCount];
    std::vector<PendingBlock> mBlocks;
    std::unordered_map<std::wstring, uint32_t, VxNoCaseHash, VxNoCaseEqual> mBlockByName;
    std::unordered_map<uint64_t, uint32_t> mBlockByRecordHandle;
    std::vector<PendingEntity> mEntities;
    std::vector<Pending> mObjects;
    uint32_t mRootDictionary = kNone;  // into mObjects

    std::vector<InternedName> mLayerNames;
    std::unordered_map<std::string, uint32_t, StringHash, std::equal_to<>> mLayerIndex;
    std::string mLastLayerRaw;
    uint32_t mLastLayer = kNone;
    std::vector<InternedName> mLinetypeNames;
    std::unordered_map<std::string, uint32_t, StringHash, std::equal_to<>> mLinetypeIndex;

    // Work that needs every object resident: resolving references.
    std::vector<std::function<void()>> mLinks;
    // Dictionaries' entries, by pending object index.
    struct DictionaryEntries {
        uint32_t object;
        std::vector<std::pair<std::wstring, uint64_t>> entries;
    };
    std::vector<DictionaryEntries> mDictionaries;

    std::unordered_map<uint64_t, VxDbObjectId> mRemap;
    std::unordered_set<uint64_t> mFreshHandles;  // handles given out anew, not the file's
    std::unordered_map<VxDbObjectId, VxDbDxfGroups> mResidues;
    std::vector<std::pair<std::string, VxDbDxfGroups>> mHeaderExtras;

    Record mRecord;  // reused for every record
    Record mMain;    // an entity whose vertices or attributes follow
    std::vector<Record> mSubs;
    std::vector<size_t> mBody;
};

Reader::~Reader() = default;

void Reader::warn(std::string text)
{
    if (mInfo.warnings.size() < kMaxWarnings)
        mInfo.warnings.push_back(std::move(text));
}

// ---- parsing ----

// Reads one record: its "0" group and everything up to the next "0". The
// reader stands on the next "0" afterwards (pushed back).
bool Reader::nextRecord(Record& record)
{
    record.clear();
    if (!mIn.next())
        return mIn.fail(Velt::eEndOfFile, "the file ends inside a section");
    if (mIn.code() != 0)
        return mIn.fail(Velt::eInvalidDxfCode, "a record must start with group 0");
    record.type.assign(mIn.trimmedValue());
    record.position = mIn.position();
    while (mIn.next()) {
        if (mIn.code() == 0) {
            mIn.pushBack();
            return true;
        }
        record.add(mIn.code(), mIn.value());
    }
    if (mIn.failed())
        return false;
    return mIn.fail(Velt::eEndOfFile, "the file ends inside a record");
}

bool Reader::skipSection()
{
    while (nextRecord(mRecord)) {
        if (mRecord.type == "ENDSEC")
            return true;
    }
    return false;
}

uint32_t Reader::internLayer(std::string_view raw)
{
    if (mLastLayer != kNone && raw == mLastLayerRaw)
        return mLastLayer;
    uint32_t index;
    auto it = mLayerIndex.find(raw);
    if (it != mLayerIndex.end()) {
        index = it->second;
    } else {
        index = uint32_t(mLayerNames.size());
        InternedName name;
        name.name = text(raw);
        if (name.name.empty())
            name.name = L"0";
        auto record = mRecordByName[kLayer].find(name.name);
        if (record != mRecordByName[kLayer].end()) {
            name.record = record->second;
        } else if (vxIsValidSymbolName(name.name)) {
            // Entities may name layers the table lacks: such layers are made.
            PendingRecord pending;
            pending.table = kLayer;
            auto* layer = new VxDbLayerTableRecord();
            layer->setName(name.name.c_str());
            pending.object.reset(layer);
            name.record = uint32_t(mRecords.size());
            mRecords.push_back(std::move(pending));
            mTables[kLayer].records.push_back(name.record);
            mRecordByName[kLayer].emplace(name.name, name.record);
        }
        mLayerNames.push_back(std::move(name));
        mLayerIndex.emplace(std::string(raw), index);
    }
    mLastLayerRaw.assign(raw);
    mLastLayer = index;
    return index;
}

uint32_t Reader::internLinetype(std::string_view raw)
{
    auto it = mLinetypeIndex.find(raw);
    if (it != mLinetypeIndex.end())
        return it->second;
    const uint32_t index = uint32_t(mLinetypeNames.size());
    InternedName name;
    name.name = text(raw);
    auto record = mRecordByName[kLtype].find(name.name);
    if (record != mRecordByName[kLtype].end())
        name.record = record->second;
    else
        warn("a linetype the table lacks: " + std::string(raw));
    mLinetypeNames.push_back(std::move(name));
    mLinetypeIndex.emplace(std::string(raw), index);
    return index;
}

// Takes the head groups out of a record: handle, application groups of
// reactors and extension dictionary, owner, extended data. The remaining
// groups' indices go to body.
void Reader::splitHead(const Record& record, Head& head, VxResBufPtr& xdata, std::vector<size_t>& body, bool entity,
                       int handleCode)
{
    (void)entity;
    body.clear();
    bool seenSubclass = false;
    const size_t count = record.size();
    for (size_t i = 0; i < count; ++i) {
        const int code = record.code(i);
        if (code == handleCode && head.handle == 0 && !seenSubclass) {
            head.handle = record.handle(i);
            continue;
        }
        if (code >= 1000) {
            xdata = buildXData(record, i);
            return;
        }
        if (code == 102) {
            const std::string_view value = record.value(i);
            if (value == "{ACAD_REACTORS" || value == "{ACAD_XDICTIONARY") {
                const bool reactors = value == "{ACAD_REACTORS";
                size_t k = i + 1;
                for (; k < count && record.code(k) != 102; ++k) {
                    const uint64_t h = record.handle(k);
                    if (reactors && record.code(k) == 330 && h)
                        head.reactors.push_back(h);
                    else if (!reactors && record.code(k) == 360 && h)
                        head.xdict = h;
                }
                i = k;  // on the closing "102 }" (or past the end)
                continue;
            }
        }
        if (code == 330 && !seenSubclass && head.owner == 0) {
            head.owner = record.handle(i);
            continue;
        }
        if (code == 100)
            seenSubclass = true;
        body.push_back(i);
    }
}

VxResBufPtr Reader::buildXData(const Record& record, size_t first)
{
    VxResBuf* headRb = nullptr;
    VxResBuf* tail = nullptr;
    auto append = [&](VxResBuf* rb) {
        if (!rb)
            return;
        if (tail)
            tail->rbnext = rb;
        else
            headRb = rb;
        tail = rb;
    };
    const size_t count = record.size();
    for (size_t i = first; i < count; ++i) {
        const int code = record.code(i);
        const std::string_view value = record.value(i);
        if (code >= 1010 && code <= 1013) {
            double p[3] = {record.real(i), 0.0, 0.0};
            for (int axis = 1; axis <= 2 && i + 1 < count && record.code(i + 1) == code + 10 * axis; ++axis)
                p[axis] = record.real(++i);
            append(vxutNewPoint(code, p[0], p[1], p[2]));
        } else if (code == 1004) {
            std::vector<uint8_t> bytes;
            for (size_t k = 0; k + 1 < value.size(); k += 2) {
                auto nibble = [](char c) {
                    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 0;
                };
                bytes.push_back(uint8_t(nibble(value[k]) * 16 + nibble(value[k + 1])));
            }
            VxResBuf* rb = vxutNewRb(1004);
            vxutSetBinary(rb, bytes.data(), std::min<size_t>(bytes.size(), 32767));
            append(rb);
        } else if (code >= 1040 && code <= 1042) {
            append(vxutNewReal(code, record.real(i)));
        } else if (code == 1070) {
            append(vxutNewInt16(code, int16_t(record.integer(i))));
        } else if (code == 1071) {
            append(vxutNewInt32(code, int32_t(record.integer(i))));
        } else if (code >= 1000 && code <= 1005) {
            append(vxutNewString(code, text(value)));
        } else {
            // Codes that extended data may not hold are left out.
            continue;
        }
    }
    return VxResBufPtr(headRb);
}

void Reader::takeHead(Pending& pending, Head& head)
{
    pending.handle = head.handle;
    pending.owner = head.owner;
    pending.xdict = head.xdict;
    pending.reactors = std::move(head.reactors);
    if (head.handle > mMaxHandle)
        mMaxHandle = head.handle;
}

void Reader::applyXData(VxDbObject* object, VxResBufPtr& xdata)
{
    if (!xdata)
        return;
    if (object->setXData(xdata.get()) != Velt::eOk)
        warn("extended data that the host refuses was left out");
}

VxDbDxfGroups Reader::keepGroups(const Record& record, const std::vector<size_t>& indices)
{
    VxDbDxfGroups groups;
    groups.reserve(indices.size());
    for (size_t i : indices) {
        VxDbDxfGroup group;
        group.code = int16_t(record.code(i));
        group.value = toUtf8Text(record.value(i), mUtf8);
        groups.push_back(std::move(group));
    }
    return groups;
}

// ---- sections ----

bool Reader::expectSectionStart(std::string& name)
{
    if (!mIn.next())
        return false;
    if (mIn.code() == 999) {  // comments may stand anywhere between sections
        return expectSectionStart(name);
    }
    if (mIn.code() != 0)
        return mIn.fail(Velt::eInvalidDxfCode, "a section must start with group 0");
    const std::string_view value = mIn.trimmedValue();
    if (value == "EOF") {
        name = "EOF";
        return true;
    }
    if (value != "SECTION")
        return mIn.fail(Velt::eInvalidDxfCode, "SECTION expected");
    if (!mIn.next())
        return mIn.fail(Velt::eEndOfFile, "the file ends after SECTION");
    if (mIn.code() != 2)
        return mIn.fail(Velt::eInvalidDxfCode, "a section name expected");
    name.assign(mIn.trimmedValue());
    return true;
}

bool Reader::readHeader()
{
    // Groups "9 $NAME" each followed by the variable's groups.
    HeaderVar* current = nullptr;
    while (mIn.next()) {
        const int code = mIn.code();
        if (code == 0) {
            if (mIn.trimmedValue() == "ENDSEC")
                return true;
            return mIn.fail(Velt::eInvalidDxfCode, "ENDSEC expected in the header");
        }
        if (code == 9) {
            mHeader.emplace_back();
            current = &mHeader.back();
            current->name.assign(mIn.trimmedValue());
            continue;
        }
        if (!current)
            return mIn.fail(Velt::eInvalidDxfCode, "a header value without a name");
        current->groups.add(code, mIn.value());
        if (current->name == "$ACADVER" && code == 1) {
            if (vxdbDxfVersionFromName(mIn.trimmedValue(), mVersion)) {
                mUtf8 = isUtf8Version(mVersion);
                mInfo.version = mVersion;
            }
        } else if (current->name == "$HANDSEED" && code == 5) {
            mIn.toHandle(mFileHandseed);
        }
    }
    return mIn.failed() ? false : mIn.fail(Velt::eEndOfFile, "the file ends inside the header");
}

bool Reader::readClasses()
{
    Record& record = mRecord;
    while (nextRecord(record)) {
        if (record.type == "ENDSEC")
            return true;
        if (record.type != "CLASS")
            continue;
        VxDbDxfClassInfo info;
        for (size_t i = 0; i < record.size(); ++i) {
            switch (record.code(i)) {
            case 1: info.dxfName.assign(record.value(i)); break;
            case 2: info.cppName.assign(record.value(i)); break;
            case 3: info.appName = toUtf8Text(record.value(i), mUtf8); break;
            case 90: info.proxyFlags = int32_t(record.integer(i)); break;
            case 91: info.instanceCount = int32_t(record.integer(i)); break;
            case 280: info.wasProxy = record.integer(i) != 0; break;
            case 281: info.isEntity = record.integer(i) != 0; break;
            default: break;
            }
        }
        if (!info.dxfName.empty())
            mClasses[info.dxfName] = std::move(info);
    }
    return false;
}

bool Reader::readTables()
{
    Record& record = mRecord;
    while (nextRecord(record)) {
        if (record.type == "ENDSEC")
            return true;
        if (record.type != "TABLE") {
            warn("a " + record.type + " record outside of a table was left out");
            continue;
        }
        std::string name;
        Head head;
        for (size_t i = 0; i < record.size(); ++i) {
            if (record.code(i) == 2 && name.empty())
                name.assign(record.value(i));
            else if ((record.code(i) == 5 || record.code(i) == 105) && head.handle == 0)
                head.handle = record.handle(i);
            else if (record.code(i) == 102 && record.value(i) == "{ACAD_XDICTIONARY") {
                for (size_t k = i + 1; k < record.size() && record.code(k) != 102; ++k) {
                    if (record.code(k) == 360)
                        head.xdict = record.handle(k);
                }
            }
        }
        while (!name.empty() && name.back() == ' ')
            name.pop_back();
        int table = -1;
        for (int t = 0; t < kTableCount; ++t) {
            if (name == kTableNames[t])
                table = t;
        }
        if (table >= 0 && !mTables[table].seen) {
            mTables[table].seen = true;
            takeHead(mTables[table], head);
        } else {
            warn("an unknown or repeated table was left out: " + name);
            table = -1;
        }
        // Its records up to ENDTAB.
        while (nextRecord(record)) {
            if (record.type == "ENDTAB")
                break;
            if (record.type == "ENDSEC") {
                warn("a table without ENDTAB");
                return true;
            }
            if (table >= 0 && record.type == kTableNames[table])
                parseRecord(record, table);
            else
                warn("a " + record.type + " record in the wrong table was left out");
        }
        if (mIn.failed())
            return false;
    }
    return false;
}

bool Reader::readBlocks()
{
    Record& record = mRecord;
    while (nextRecord(record)) {
        if (record.type == "ENDSEC")
            return true;
        if (record.type != "BLOCK") {
            warn("a " + record.type + " record outside of a block was left out");
            continue;
        }
        // The block's own data.
        std::wstring name;
        uint64_t recordHandle = 0;
        VxGePoint3d origin;
        std::wstring path;
        std::wstring description;
        int flags = 0;
        bool seenSubclass = false;
        for (size_t i = 0; i < record.size(); ++i) {
            switch (record.code(i)) {
            case 2: name = text(record.value(i)); break;
            case 3: if (name.empty()) name = text(record.value(i)); break;
            case 1: path = text(record.value(i)); break;
            case 4: description = text(record.value(i)); break;
            case 70: flags = int(record.integer(i)); break;
            case 10: origin.x = record.real(i); break;
            case 20: origin.y = record.real(i); break;
            case 30: origin.z = record.real(i); break;
            case 100: seenSubclass = true; break;
            case 330: if (!seenSubclass) recordHandle = record.handle(i); break;
            default: break;
            }
        }
        // Old files name the layout blocks differently.
        if (vxEqualNoCase(name, L"$MODEL_SPACE"))
            name = VxDbBlockTableRecord::kModelSpaceName;
        else if (vxEqualNoCase(name, L"$PAPER_SPACE"))
            name = VxDbBlockTableRecord::kPaperSpaceName;
        uint32_t block = kNone;
        if (recordHandle) {
            auto it = mBlockByRecordHandle.find(recordHandle);
            if (it != mBlockByRecordHandle.end())
                block = it->second;
        }
        if (block == kNone && !name.empty())
            block = blockNamed(name, true);
        if (block != kNone) {
            PendingBlock& b = mBlocks[block];
            b.hasBegin = true;
            b.origin = origin;
            b.path = path;
            b.description = description;
            b.flags = flags;
        } else {
            warn("a block without a usable name was left out");
        }
        bool sawEndSection = false;
        if (!readEntityList(block, "ENDBLK", sawEndSection))
            return false;
        if (sawEndSection) {
            warn("a block without ENDBLK");
            return true;
        }
    }
    return false;
}

// Reads entities into a block up to a record of type end (consumed) or the
// end of the section. POLYLINE and INSERT take the VERTEX or ATTRIB records
// that follow them, up to SEQEND.
bool Reader::readEntityList(uint32_t block, std::string_view end, bool& sawEndSection)
{
    sawEndSection = false;
    Record& record = mRecord;
    if (!nextRecord(record))
        return false;
    while (true) {
        if (record.type == end)
            return true;
        if (record.type == "ENDSEC") {
            sawEndSection = true;
            return true;
        }
        bool followers = record.type == "POLYLINE";
        if (record.type == "INSERT") {
            for (size_t i = 0; i < record.size() && !followers; ++i)
                followers = record.code(i) == 66 && record.integer(i) != 0;
        }
        if (!followers) {
            if (block != kNone)
                parseEntity(record, block, nullptr);
            if (!nextRecord(record))
                return false;
            continue;
        }
        std::swap(mMain, record);
        mSubs.clear();
        bool closed = false;
        while (!closed) {
            if (!nextRecord(record))
                return false;
            if (record.type != "VERTEX" && record.type != "ATTRIB" && record.type != "SEQEND")
                break;  // no SEQEND: record is the next entity
            closed = record.type == "SEQEND";
            mSubs.push_back(record);
        }
        if (block != kNone)
            parseEntity(mMain, block, &mSubs);
        if (closed && !nextRecord(record))
            return false;
    }
}

bool Reader::readEntities()
{
    bool sawEndSection = false;
    return readEntityList(kByOwner, "ENDSEC", sawEndSection);
}

bool Reader::readObjects()
{
    Record& record = mRecord;
    while (nextRecord(record)) {
        if (record.type == "ENDSEC")
            return true;
        parseObject(record);
    }
    return false;
}

uint32_t Reader::blockNamed(const std::wstring& name, bool create)
{
    auto it = mBlockByName.find(name);
    if (it != mBlockByName.end())
        return it->second;
    if (!create)
        return kNone;
    PendingRecord pending;
    pending.table = kBlockRecord;
    auto* record = new VxDbBlockTableRecord();
    if (record->setName(name.c_str()) != Velt::eOk) {
        delete record;
        return kNone;
    }
    pending.object.reset(record);
    const uint32_t recordIndex = uint32_t(mRecords.size());
    mRecords.push_back(std::move(pending));
    mTables[kBlockRecord].records.push_back(recordIndex);
    mRecordByName[kBlockRecord].emplace(name, recordIndex);
    const uint32_t block = uint32_t(mBlocks.size());
    mBlocks.emplace_back();
    mBlocks.back().name = name;
    mBlocks.back().record = recordIndex;
    mBlockByName.emplace(name, block);
    return block;
}

uint32_t Reader::blockForOwner(uint64_t ownerHandle, bool paperSpace)
{
    if (ownerHandle) {
        auto it = mBlockByRecordHandle.find(ownerHandle);
        if (it != mBlockByRecordHandle.end())
            return it->second;
    }
    return blockNamed(paperSpace ? VxDbBlockTableRecord::kPaperSpaceName : VxDbBlockTableRecord::kModelSpaceName, true);
}

// ---- table records ----

namespace {

// Removes one application's group from a chain of extended data and
// returns its items (without the 1001 name).
VxResBufPtr takeXDataApp(VxResBufPtr& chain, const wchar_t* app)
{
    VxResBuf* prev = nullptr;
    for (VxResBuf* rb = chain.get(); rb; prev = rb, rb = rb->rbnext) {
        if (rb->restype != 1001 || !vxEqualNoCase(vxView(rb->resval.rstring), app))
            continue;
        VxResBuf* last = rb;
        while (last->rbnext && last->rbnext->restype != 1001)
            last = last->rbnext;
        VxResBuf* items = rb->rbnext == last->rbnext ? nullptr : rb->rbnext;
        VxResBuf* after = last->rbnext;
        if (prev)
            prev->rbnext = after;
        else {
            (void)chain.release();
            chain.reset(after);
        }
        if (items)
            last->rbnext = nullptr;
        rb->rbnext = nullptr;
        vxutRelRb(rb);
        return VxResBufPtr(items);
    }
    return VxResBufPtr();
}

double degrees(double radians) { return radians * 180.0 / kPi; }
double radians(double degrees) { return degrees * kPi / 180.0; }

std::wstring sanitizedName(std::wstring name)
{
    for (wchar_t& c : name) {
        if (uint32_t(c) < 0x20 || std::wstring_view(L"<>/\\\":;?*,=`").find(c) != std::wstring_view::npos)
            c = L'_';
    }
    if (name.size() > 255)
        name.resize(255);
    return name;
}

VxCmColor colorFrom(int64_t index, int64_t trueColor, bool hasTrueColor)
{
    VxCmColor color;
    if (hasTrueColor) {
        color.setRGB(uint8_t((trueColor >> 16) & 0xFF), uint8_t((trueColor >> 8) & 0xFF), uint8_t(trueColor & 0xFF));
    } else if (index >= 0 && index <= 256) {
        color.setColorIndex(int16_t(index));
    } else {
        color.setColorIndex(256);
    }
    return color;
}

bool dimVarOfCode(int code, VxDbDimVar& var)
{
    static const std::vector<int16_t> table = [] {
        std::vector<int16_t> t(400, -1);
        for (size_t v = 0; v < size_t(VxDbDimVar::kCount); ++v) {
            const int c = vxdbDimVarInfo(VxDbDimVar(v)).groupCode;
            if (c >= 0 && c < 400)
                t[size_t(c)] = int16_t(v);
        }
        return t;
    }();
    if (code < 0 || code >= 400 || table[size_t(code)] < 0)
        return false;
    var = VxDbDimVar(table[size_t(code)]);
    return true;
}

}  // namespace

void Reader::parseRecord(Record& record, int table)
{
    Head head;
    VxResBufPtr xdata;
    splitHead(record, head, xdata, mBody, false, table == kDimstyle ? 105 : 5);
    PendingRecord pending;
    pending.table = table;
    takeHead(pending, head);
    const uint32_t index = uint32_t(mRecords.size());

    std::wstring name;
    int flags = 0;
    for (size_t i : mBody) {
        if (record.code(i) == 2 && name.empty())
            name = text(record.value(i));
        else if (record.code(i) == 70)
            flags = int(record.integer(i));
    }
    VxDbSymbolTableRecord* object = nullptr;
    auto linkTo = [this](std::function<void()> work) { mLinks.push_back(std::move(work)); };

    switch (table) {
    case kLayer: {
        auto* layer = new VxDbLayerTableRecord();
        object = layer;
        int64_t colorIndex = 7, trueColor = 0;
        bool hasTrue = false;
        std::wstring linetype;
        uint64_t material = 0, plotStyle = 0;
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 62: colorIndex = record.integer(i); break;
            case 420: trueColor = record.integer(i); hasTrue = true; break;
            case 6: linetype = text(record.value(i)); break;
            case 290: layer->setIsPlottable(record.integer(i) != 0); break;
            case 370: layer->setLineWeight(VxDb::LineWeight(record.integer(i))); break;
            case 347: material = record.handle(i); break;
            case 390: plotStyle = record.handle(i); break;
            default: break;
            }
        }
        layer->setIsOff(colorIndex < 0);
        VxCmColor color = colorFrom(colorIndex < 0 ? -colorIndex : colorIndex, trueColor, hasTrue);
        if (color.isByLayer() || color.isByBlock())
            color.setColorIndex(7);
        layer->setColor(color);
        layer->setIsFrozen((flags & 1) != 0);
        layer->setVPDFLT((flags & 2) != 0);
        layer->setIsLocked((flags & 4) != 0);
        if (VxResBufPtr standard = takeXDataApp(xdata, L"AcAecLayerStandard")) {
            // The second text is the description.
            const VxResBuf* rb = standard.get();
            if (rb && rb->rbnext && rb->rbnext->restype == 1000)
                layer->setDescription(rb->rbnext->resval.rstring);
        }
        if (VxResBufPtr alpha = takeXDataApp(xdata, L"AcCmTransparency")) {
            if (alpha->restype == 1071) {
                VxCmTransparency transparency;
                if (transparency.serializeIn(uint32_t(alpha->resval.rlong)) == Velt::eOk)
                    layer->setTransparency(transparency);
            }
        }
        linkTo([this, index, linetype, material, plotStyle] {
            auto* layer = static_cast<VxDbLayerTableRecord*>(mRecords[index].live);
            if (!layer)
                return;
            VxDbObjectId ltype = mDb->linetypeId(linetype.c_str());
            if (ltype.isNull())
                ltype = mDb->continuousLinetype();
            if (!ltype.isNull())
                layer->setLinetypeObjectId(ltype);
            if (material) {
                if (VxDbObjectId id = idOf(material); !id.isNull())
                    layer->setMaterialId(id);
            }
            if (plotStyle) {
                auto* dictionary = VxDbDictionary::cast(detail::objectOf(mDb->plotStyleNameDictionaryId()));
                std::wstring key;
                if (dictionary && dictionary->nameAt(idOf(plotStyle), key) == Velt::eOk)
                    layer->setPlotStyleName(key.c_str());
            }
        });
        break;
    }
    case kLtype: {
        auto* ltype = new VxDbLinetypeTableRecord();
        object = ltype;
        struct Dash {
            double length = 0.0;
            int flags = 0;
            int shape = 0;
            uint64_t style = 0;
            double scale = 1.0, rotation = 0.0, x = 0.0, y = 0.0;
            std::wstring text;
        };
        std::vector<Dash> dashes;
        for (size_t i : mBody) {
            const int code = record.code(i);
            if (code == 3)
                ltype->setComments(text(record.value(i)).c_str());
            else if (code == 40)
                ltype->setPatternLength(record.real(i));
            else if (code == 49) {
                if (dashes.size() < size_t(VxDbLinetypeTableRecord::kMaxDashes))
                    dashes.emplace_back();
                else
                    warn("a linetype with more dashes than the host keeps");
                dashes.back().length = record.real(i);
            } else if (!dashes.empty()) {
                Dash& d = dashes.back();
                switch (code) {
                case 74: d.flags = int(record.integer(i)); break;
                case 75: d.shape = int(record.integer(i)); break;
                case 340: d.style = record.handle(i); break;
                case 46: d.scale = record.real(i); break;
                case 50: d.rotation = record.real(i); break;
                case 44: d.x = record.real(i); break;
                case 45: d.y = record.real(i); break;
                case 9: d.text = text(record.value(i)); break;
                default: break;
                }
            }
        }
        ltype->setNumDashes(int(dashes.size()));
        std::vector<std::pair<int, uint64_t>> styles;
        for (size_t k = 0; k < dashes.size(); ++k) {
            const Dash& d = dashes[k];
            const int at = int(k);
            ltype->setDashLengthAt(at, d.length);
            if (d.flags & 6) {
                ltype->setShapeNumberAt(at, d.shape);
                ltype->setShapeOffsetAt(at, VxGeVector2d{d.x, d.y});
                ltype->setShapeScaleAt(at, d.scale);
                ltype->setShapeRotationAt(at, d.rotation);
                ltype->setShapeIsUcsOrientedAt(at, (d.flags & 1) != 0);
                if (d.flags & 2)
                    ltype->setTextAt(at, d.text.c_str());
                if (d.style)
                    styles.emplace_back(at, d.style);
            }
        }
        if (!styles.empty()) {
            linkTo([this, index, styles] {
                auto* ltype = static_cast<VxDbLinetypeTableRecord*>(mRecords[index].live);
                for (auto [at, handle] : styles) {
                    if (ltype && !idOf(handle).isNull())
                        ltype->setShapeStyleAt(at, idOf(handle));
                }
            });
        }
        break;
    }
    case kStyle: {
        auto* style = new VxDbTextStyleTableRecord();
        object = style;
        style->setIsShapeFile((flags & 1) != 0);
        style->setIsVertical((flags & 4) != 0);
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 40: style->setTextSize(record.real(i)); break;
            case 41: style->setXScale(record.real(i)); break;
            case 50: style->setObliquingAngle(radians(record.real(i))); break;
            case 71: style->setFlagBits(uint8_t(record.integer(i) & 6)); break;
            case 42: style->setPriorSize(record.real(i)); break;
            case 3: style->setFileName(text(record.value(i)).c_str()); break;
            case 4: style->setBigFontFileName(text(record.value(i)).c_str()); break;
            default: break;
            }
        }
        if (VxResBufPtr font = takeXDataApp(xdata, L"ACAD")) {
            std::wstring typeface;
            int32_t bits = 0;
            for (const VxResBuf* rb = font.get(); rb; rb = rb->rbnext) {
                if (rb->restype == 1000)
                    typeface = vxView(rb->resval.rstring);
                else if (rb->restype == 1071)
                    bits = rb->resval.rlong;
            }
            style->setFont(typeface.c_str(), (bits & 0x02000000) != 0, (bits & 0x01000000) != 0,
                           (bits >> 8) & 0xFF, bits & 0xFF);
        }
        break;
    }
    case kVport: {
        auto* vport = new VxDbViewportTableRecord();
        object = vport;
        VxGePoint2d lowerLeft{0, 0}, upperRight{1, 1}, center, snapBase;
        VxGeVector2d snap{0.5, 0.5}, grid{0.5, 0.5};
        VxGeVector3d direction{0, 0, 1}, ucsX{1, 0, 0}, ucsY{0, 1, 0};
        VxGePoint3d target, ucsOrigin;
        double height = 1.0, aspect = 1.0;
        int viewMode = 0;
        for (size_t i : mBody) {
            const double v = record.real(i);
            switch (record.code(i)) {
            case 10: lowerLeft.x = v; break;
            case 20: lowerLeft.y = v; break;
            case 11: upperRight.x = v; break;
            case 21: upperRight.y = v; break;
            case 12: center.x = v; break;
            case 22: center.y = v; break;
            case 13: snapBase.x = v; break;
            case 23: snapBase.y = v; break;
            case 14: snap.x = v; break;
            case 24: snap.y = v; break;
            case 15: grid.x = v; break;
            case 25: grid.y = v; break;
            case 16: direction.x = v; break;
            case 26: direction.y = v; break;
            case 36: direction.z = v; break;
            case 17: target.x = v; break;
            case 27: target.y = v; break;
            case 37: target.z = v; break;
            case 110: ucsOrigin.x = v; break;
            case 120: ucsOrigin.y = v; break;
            case 130: ucsOrigin.z = v; break;
            case 111: ucsX.x = v; break;
            case 121: ucsX.y = v; break;
            case 131: ucsX.z = v; break;
            case 112: ucsY.x = v; break;
            case 122: ucsY.y = v; break;
            case 132: ucsY.z = v; break;
            case 40: height = v; break;
            case 41: aspect = v; break;
            case 42: vport->setLensLength(v); break;
            case 43: vport->setFrontClipDistance(v); break;
            case 44: vport->setBackClipDistance(v); break;
            case 50: vport->setSnapAngle(radians(v)); break;
            case 51: vport->setViewTwist(radians(v)); break;
            case 146: vport->setElevation(v); break;
            case 71: viewMode = int(record.integer(i)); break;
            case 72: vport->setCircleSides(int(record.integer(i))); break;
            case 73: vport->setFastZoomsEnabled(record.integer(i) != 0); break;
            case 74: {
                const int64_t icon = record.integer(i);
                vport->setIconEnabled((icon & 1) != 0);
                vport->setIconAtOrigin((icon & 2) != 0);
                break;
            }
            case 75: vport->setSnapEnabled(record.integer(i) != 0); break;
            case 76: vport->setGridEnabled(record.integer(i) != 0); break;
            case 77: vport->setIsometricSnapEnabled(record.integer(i) != 0); break;
            case 78: vport->setSnapPair(int(record.integer(i))); break;
            case 281: vport->setRenderMode(int(record.integer(i))); break;
            case 65: vport->setUcsPerViewport(record.integer(i) != 0); break;
            default: break;
            }
        }
        vport->setLowerLeftCorner(lowerLeft);
        vport->setUpperRightCorner(upperRight);
        vport->setCenterPoint(center);
        vport->setSnapBase(snapBase);
        vport->setSnapIncrements(snap);
        vport->setGridIncrements(grid);
        vport->setViewDirection(direction);
        vport->setTarget(target);
        vport->setHeight(height);
        vport->setWidth(height * aspect);
        vport->setUcs(ucsOrigin, ucsX, ucsY);
        vport->setPerspectiveEnabled((viewMode & 1) != 0);
        vport->setFrontClipEnabled((viewMode & 2) != 0);
        vport->setBackClipEnabled((viewMode & 4) != 0);
        vport->setUcsFollowMode((viewMode & 8) != 0);
        vport->setFrontClipAtEye((viewMode & 16) == 0);
        break;
    }
    case kView: {
        auto* view = new VxDbViewTableRecord();
        object = view;
        VxGePoint2d center;
        VxGeVector3d direction{0, 0, 1}, ucsX{1, 0, 0}, ucsY{0, 1, 0};
        VxGePoint3d target, ucsOrigin;
        int viewMode = 0;
        for (size_t i : mBody) {
            const double v = record.real(i);
            switch (record.code(i)) {
            case 10: center.x = v; break;
            case 20: center.y = v; break;
            case 11: direction.x = v; break;
            case 21: direction.y = v; break;
            case 31: direction.z = v; break;
            case 12: target.x = v; break;
            case 22: target.y = v; break;
            case 32: target.z = v; break;
            case 110: ucsOrigin.x = v; break;
            case 120: ucsOrigin.y = v; break;
            case 130: ucsOrigin.z = v; break;
            case 111: ucsX.x = v; break;
            case 121: ucsX.y = v; break;
            case 131: ucsX.z = v; break;
            case 112: ucsY.x = v; break;
            case 122: ucsY.y = v; break;
            case 132: ucsY.z = v; break;
            case 40: view->setHeight(v); break;
            case 41: view->setWidth(v); break;
            case 42: view->setLensLength(v); break;
            case 43: view->setFrontClipDistance(v); break;
            case 44: view->setBackClipDistance(v); break;
            case 50: view->setViewTwist(radians(v)); break;
            case 146: view->setElevation(v); break;
            case 71: viewMode = int(record.integer(i)); break;
            case 281: view->setRenderMode(int(record.integer(i))); break;
            case 73: view->setViewAssociatedToViewport(record.integer(i) != 0); break;
            default: break;
            }
        }
        view->setCenterPoint(center);
        view->setViewDirection(direction);
        view->setTarget(target);
        view->setUcs(ucsOrigin, ucsX, ucsY);
        view->setPerspectiveEnabled((viewMode & 1) != 0);
        view->setFrontClipEnabled((viewMode & 2) != 0);
        view->setBackClipEnabled((viewMode & 4) != 0);
        view->setFrontClipAtEye((viewMode & 16) == 0);
        view->setIsPaperspaceView((flags & 1) != 0);
        break;
    }
    case kUcs: {
        auto* ucs = new VxDbUCSTableRecord();
        object = ucs;
        VxGePoint3d origin;
        VxGeVector3d x{1, 0, 0}, y{0, 1, 0};
        for (size_t i : mBody) {
            const double v = record.real(i);
            switch (record.code(i)) {
            case 10: origin.x = v; break;
            case 20: origin.y = v; break;
            case 30: origin.z = v; break;
            case 11: x.x = v; break;
            case 21: x.y = v; break;
            case 31: x.z = v; break;
            case 12: y.x = v; break;
            case 22: y.y = v; break;
            case 32: y.z = v; break;
            default: break;
            }
        }
        ucs->setOrigin(origin);
        ucs->setXAxis(x);
        ucs->setYAxis(y);
        break;
    }
    case kAppid:
        object = new VxDbRegAppTableRecord();
        break;
    case kDimstyle: {
        auto* dim = new VxDbDimStyleTableRecord();
        object = dim;
        std::vector<std::pair<VxDbDimVar, uint64_t>> refs;
        std::vector<std::pair<VxDbDimVar, std::wstring>> blockNames;
        for (size_t i : mBody) {
            const int code = record.code(i);
            // Old files name the arrow blocks instead of pointing at them.
            if (code == 5 || code == 6 || code == 7) {
                const VxDbDimVar var = code == 5 ? VxDbDimVar::kDimBlk : code == 6 ? VxDbDimVar::kDimBlk1 : VxDbDimVar::kDimBlk2;
                blockNames.emplace_back(var, text(record.value(i)));
                continue;
            }
            VxDbDimVar var;
            if (!dimVarOfCode(code, var))
                continue;
            switch (vxdbDimVarInfo(var).kind) {
            case VxDbDimVarInfo::kInt16: dim->setDimInt(var, int16_t(record.integer(i))); break;
            case VxDbDimVarInfo::kReal: dim->setDimReal(var, var == VxDbDimVar::kDimJogAng ? radians(record.real(i)) : record.real(i)); break;
            case VxDbDimVarInfo::kString: dim->setDimText(var, text(record.value(i)).c_str()); break;
            case VxDbDimVarInfo::kObjectId: refs.emplace_back(var, record.handle(i)); break;
            }
        }
        if (!refs.empty() || !blockNames.empty()) {
            linkTo([this, index, refs, blockNames] {
                auto* dim = static_cast<VxDbDimStyleTableRecord*>(mRecords[index].live);
                if (!dim)
                    return;
                for (auto& [var, handle] : refs) {
                    if (VxDbObjectId id = idOf(handle); !id.isNull())
                        dim->setDimId(var, id);
                }
                for (auto& [var, name] : blockNames) {
                    if (VxDbObjectId id = mDb->blockId(name.c_str()); !id.isNull())
                        dim->setDimId(var, id);
                }
            });
        }
        break;
    }
    case kBlockRecord: {
        auto* block = new VxDbBlockTableRecord();
        object = block;
        uint64_t layout = 0;
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 340: layout = record.handle(i); break;
            case 70: block->setBlockInsertUnits(VxDb::UnitsValue(std::clamp<int64_t>(record.integer(i), 0, VxDb::kUnitsMax))); break;
            case 280: block->setExplodable(record.integer(i) != 0); break;
            case 281: block->setBlockScaling(record.integer(i) != 0 ? VxDb::kUniform : VxDb::kAny); break;
            default: break;
            }
        }
        if (layout) {
            linkTo([this, index, layout] {
                auto* block = static_cast<VxDbBlockTableRecord*>(mRecords[index].live);
                VxDbObjectId id = idOf(layout);
                if (block && VxDbLayout::cast(detail::objectOf(id)))
                    block->setLayoutId(id);
            });
        }
        break;
    }
    default:
        return;
    }

    // The name, made acceptable when it is not.
    if (table == kStyle && name.empty() && (flags & 1)) {
        // A shape file: nameless.
    } else {
        if (table == kBlockRecord) {
            if (vxEqualNoCase(name, L"$MODEL_SPACE"))
                name = VxDbBlockTableRecord::kModelSpaceName;
            else if (vxEqualNoCase(name, L"$PAPER_SPACE"))
                name = VxDbBlockTableRecord::kPaperSpaceName;
        }
        if (object->setName(name.c_str()) != Velt::eOk) {
            const std::wstring fixed = sanitizedName(name);
            if (fixed.empty() || object->setName(fixed.c_str()) != Velt::eOk) {
                warn("a " + std::string(kTableNames[table]) + " record with an unusable name was left out");
                delete object;
                return;
            }
            warn("a " + std::string(kTableNames[table]) + " record was renamed: " + vxToUtf8(fixed));
            name = fixed;
        }
        const bool duplicatesAllowed = table == kVport;
        if (!duplicatesAllowed && mRecordByName[table].count(name)) {
            warn("a second " + std::string(kTableNames[table]) + " record named " + vxToUtf8(name) + " was left out");
            delete object;
            return;
        }
        mRecordByName[table].emplace(name, index);
    }
    applyXData(object, xdata);
    pending.object.reset(object);
    mRecords.push_back(std::move(pending));
    mTables[table].records.push_back(index);
    if (table == kBlockRecord) {
        const uint32_t block = uint32_t(mBlocks.size());
        mBlocks.emplace_back();
        mBlocks.back().name = name;
        mBlocks.back().record = index;
        mBlocks.back().recordHandle = head.handle;
        mBlockByName.emplace(name, block);
        if (head.handle)
            mBlockByRecordHandle.emplace(head.handle, block);
    }
}
