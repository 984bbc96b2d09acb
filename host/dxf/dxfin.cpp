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
#include <deque>
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
#include "db/sortents.h"
#include "db/strings.h"
#include "db/symtables.h"
#include "db/texts.h"
#include "db/viewport.h"
#include "dxf/dxffields.h"
#include "dxf/dxfinternal.h"
#include "dxf/dxfstream.h"
#include "ge/angle.h"
#include "ge/matrix.h"
#include "services/hostservices.h"

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
using namespace std::string_view_literals;  // record types compared by length first

constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kByOwner = UINT32_MAX - 1;  // the block follows from the entity's owner
constexpr size_t kMaxWarnings = 50;

// ---- one record's groups: views of the file's text ----

// A group's value points into the file, which outlives the reader; only
// values a binary file's numbers were turned into are copied, into the
// record's arena. Numbers the group reader parsed travel along.
struct RawGroup {
    int16_t code;
    bool inArena;
    bool hasNumber;
    uint32_t length;
    union {
        const char* data;
        size_t offset;
    };
    double number;
};

class Record {
public:
    void clear()
    {
        mGroups.clear();
        mArena.clear();
    }
    void add(const GroupReader& in)
    {
        const std::string_view value = in.value();
        RawGroup& g = mGroups.emplace_back();
        g.code = int16_t(in.code());
        g.hasNumber = in.hasNumber();
        g.number = in.number();
        g.length = uint32_t(value.size());
        g.inArena = !in.valueInData();
        if (g.inArena) {
            g.offset = mArena.size();
            mArena.append(value);
        } else {
            g.data = value.data();
        }
    }
    size_t size() const { return mGroups.size(); }
    int code(size_t i) const { return mGroups[i].code; }
    std::string_view value(size_t i) const
    {
        const RawGroup& g = mGroups[i];
        return g.inArena ? std::string_view(mArena).substr(g.offset, g.length) : std::string_view(g.data, g.length);
    }
    // The parsed number of a group whose code holds one; null otherwise.
    const double* number(size_t i) const { return mGroups[i].hasNumber ? &mGroups[i].number : nullptr; }
    double real(size_t i) const
    {
        if (const double* n = number(i))
            return *n;
        double v = 0.0;
        return parseDouble(value(i), v) ? v : 0.0;
    }
    int64_t integer(size_t i) const
    {
        // Integral numbers a double holds exactly read the same as their text.
        if (const double* n = number(i); n && *n == std::floor(*n) && std::fabs(*n) < 9007199254740992.0)
            return int64_t(*n);
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
        if (mGroups[i].hasNumber)
            return true;
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
    bool synthetic = false;  // the file gave no handle; one was chosen from the unused ones
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

// Kept for every entity until the end of the file: only what must wait, compactly (a
// drawing holds millions). The rare extension dictionary, reactors and attributes live
// beside it; the id is the resident object's own.
struct PendingEntity {
    uint64_t handle = 0;
    std::unique_ptr<VxDbObject> object;  // until it is resident
    VxDbObject* live = nullptr;          // once it is (open for write until the end)
    uint32_t block = kNone;
    uint32_t layer = kNone;     // interned name
    uint32_t linetype = kNone;  // interned name; kNone: by layer
    uint32_t extra = kNone;     // into mEntityExtras
    bool synthetic = false;
    bool layerPending = false;
};

static_assert(sizeof(PendingEntity) <= 48, "kept per entity of a drawing: keep it small");

struct EntityExtra {
    uint64_t xdict = 0;
    std::vector<uint64_t> reactors;
    std::vector<uint32_t> attributes;  // into mEntities: those a block reference owns
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

// A name the host accepts: characters it refuses become "_".
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
                   int handleCode = 5);
    template <class Body>
    void splitHeadEach(const Record& record, Head& head, VxResBufPtr& xdata, Body&& body, int handleCode = 5);
    VxResBufPtr buildXData(const Record& record, size_t first);
    void takeHead(Pending& pending, Head& head);
    void applyXData(VxDbObject* object, VxResBufPtr& xdata);

    void parseRecord(Record& record, int table);
    void parseEntity(Record& record, uint32_t block, std::vector<Record>* subRecords, uint32_t ownerEntity = kNone);
    void parseObject(Record& record);
    VxDbEntity* makeKnownEntity(const Record& record, const std::vector<size_t>& body, bool& keepOpaque,
                                const std::vector<Record>* subRecords = nullptr);
    bool readSubRecords(VxDbObject& object, const VxDbKind& kind, const std::vector<Record>& subRecords);
    void applyEntityCommon(VxDbEntity* entity, PendingEntity& pending, const Record& record, size_t index,
                           bool& handled);
    VxDbDxfGroups keepGroups(const Record& record, const std::vector<size_t>& indices);

    uint32_t internLayer(std::string_view raw);
    uint32_t internLinetype(std::string_view raw);
    uint32_t blockForOwner(uint64_t ownerHandle, bool paperSpace);
    uint32_t blockNamed(const std::wstring& name, bool create);
    std::wstring text(std::string_view raw) const { return decodeText(raw, mUtf8); }
    // The described class of a record type; records of one type mostly come in a row.
    const VxRxClass* describedClass(const std::string& type)
    {
        if (!mLastTypeKnown || type != mLastType) {
            mLastType = type;
            mLastTypeClass = describedClassOfDxfName(type);
            mLastTypeKnown = true;
        }
        return mLastTypeClass;
    }

    // ---- placing ----
    void assignMissingHandles();
    void place();
    bool reserveExact(uint64_t handle);
    void noteHandle(Pending& pending) { noteHandle(pending.handle, pending.synthetic, pending.id); }
    void noteHandle(uint64_t handle, bool synthetic, VxDbObjectId id);
    EntityExtra& extraOf(PendingEntity& e);
    bool placeFree(Pending& pending);
    bool placeTable(int table);
    bool placeRecordsUpTo(int table, size_t index);
    bool placeEntity(uint32_t index);
    void prepareForPlacing(PendingEntity& e);
    void reserveSubRecordHandles(VxDbDxfOpaqueEntity* entity);

    // ---- linking ----
    VxDbObjectId idOf(uint64_t handle) const;
    void link();
    void linkOwnership(Pending& pending, bool free);
    void linkExtras(VxDbObject* object, uint64_t xdict, const std::vector<uint64_t>& reactors);
    void applyHeader();
    void closeAll();

    VxDbDatabase* mDb;
    GroupReader mIn;
    VxDbDxfReadInfo& mInfo;
    VxDbDxfVersion mVersion = VxDbDxfVersion::kR12;
    bool mUtf8 = false;
    std::vector<FieldGroup> mFieldGroups;  // reused for each described record
    std::vector<NamedRecord> mNamedRecords;  // of the last described record
    uint64_t mFileHandseed = 0;
    uint64_t mMaxHandle = 0;
    bool mXDataRead = false;  // some object took extended data from the file
    std::string mLastType;
    const VxRxClass* mLastTypeClass = nullptr;
    bool mLastTypeKnown = false;
    const VxRxClass* mLastMadeClass = nullptr;
    const VxDbKind* mLastMadeKind = nullptr;
    bool mLastMadeAttribute = false;
    const VxRxClass* mPlacedClass = nullptr;
    const VxDbEntity* mLastPlaced = nullptr;  // resident, open until the end
    bool mPlacedOpaque = false;
    bool mPlacedReference = false;

    std::vector<HeaderVar> mHeader;
    std::unordered_map<std::string, VxDbDxfClassInfo, StringHash, std::equal_to<>> mClasses;
    PendingTable mTables[kTableCount];
    std::vector<PendingRecord> mRecords;
    std::unordered_map<std::wstring, uint32_t, VxNoCaseHash, VxNoCaseEqual> mRecordByName[kTableCount];
    std::vector<PendingBlock> mBlocks;
    std::unordered_map<std::wstring, uint32_t, VxNoCaseHash, VxNoCaseEqual> mBlockByName;
    std::unordered_map<uint64_t, uint32_t> mBlockByRecordHandle;  // entries never change once made
    uint64_t mLastOwnerHandle = 0;
    uint32_t mLastOwnerBlock = kNone;
    // A deque: millions of entries grow without a copy of them all beside the old ones.
    std::deque<PendingEntity> mEntities;
    std::vector<EntityExtra> mEntityExtras;
    std::vector<Pending> mObjects;
    uint32_t mRootDictionary = kNone;  // into mObjects

    std::vector<InternedName> mLayerNames;
    std::unordered_map<std::string, uint32_t, StringHash, std::equal_to<>> mLayerIndex;
    std::string mLastLayerRaw;
    uint32_t mLastLayer = kNone;
    std::vector<InternedName> mLinetypeNames;
    std::unordered_map<std::string, uint32_t, StringHash, std::equal_to<>> mLinetypeIndex;
    std::string mLastLinetypeRaw;
    uint32_t mLastLinetype = kNone;

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
    std::vector<size_t> mOwn;
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
        record.add(mIn);
    }
    if (mIn.failed())
        return false;
    return mIn.fail(Velt::eEndOfFile, "the file ends inside a record");
}

bool Reader::skipSection()
{
    // Sections of other kinds need not consist of records.
    while (mIn.next()) {
        if (mIn.code() == 0 && mIn.trimmedValue() == "ENDSEC")
            return true;
    }
    return mIn.failed() ? false : mIn.fail(Velt::eEndOfFile, "the file ends inside a section");
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
        if (record == mRecordByName[kLayer].end() && !vxIsValidSymbolName(name.name))
            record = mRecordByName[kLayer].find(name.name = sanitizedName(name.name));
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
    if (mLastLinetype != kNone && raw == mLastLinetypeRaw)
        return mLastLinetype;
    auto it = mLinetypeIndex.find(raw);
    if (it != mLinetypeIndex.end()) {
        mLastLinetypeRaw.assign(raw);
        mLastLinetype = it->second;
        return it->second;
    }
    const uint32_t index = uint32_t(mLinetypeNames.size());
    InternedName name;
    name.name = text(raw);
    auto record = mRecordByName[kLtype].find(name.name);
    if (record == mRecordByName[kLtype].end() && !vxIsValidSymbolName(name.name))
        record = mRecordByName[kLtype].find(sanitizedName(name.name));
    if (record != mRecordByName[kLtype].end())
        name.record = record->second;
    else
        warn("a linetype the table lacks: " + std::string(raw));
    mLinetypeNames.push_back(std::move(name));
    mLinetypeIndex.emplace(std::string(raw), index);
    mLastLinetypeRaw.assign(raw);
    mLastLinetype = index;
    return index;
}

// Takes the head groups out of a record: handle, application groups of
// reactors and extension dictionary, owner, extended data. The remaining
// groups' indices go to body.
// The same, handing each remaining group to body as it goes: one pass over the record.
template <class Body>
void Reader::splitHeadEach(const Record& record, Head& head, VxResBufPtr& xdata, Body&& body, int handleCode)
{
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
        body(i);
    }
}

void Reader::splitHead(const Record& record, Head& head, VxResBufPtr& xdata, std::vector<size_t>& body,
                       int handleCode)
{
    body.clear();
    splitHeadEach(record, head, xdata, [&](size_t i) { body.push_back(i); }, handleCode);
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
    mXDataRead = true;
    if (object->setXData(xdata.get()) == Velt::eOk)
        return;
    // Refused as a whole: keep each application's group the host takes, so
    // one broken group does not take the others along.
    for (const VxResBuf* group = xdata.get(); group;) {
        const VxResBuf* end = group->rbnext;
        while (end && end->restype != 1001)
            end = end->rbnext;
        VxResBufPtr one(vxutDupRange(group, end));
        if (object->setXData(one.get()) != Velt::eOk)
            warn("extended data that the host refuses was left out");
        group = end;
    }
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
    // Between sections only comments belong; some writers leave stray groups
    // there, which are passed over.
    bool strays = false;
    while (mIn.next()) {
        if (mIn.code() == 0) {
            const std::string_view value = mIn.trimmedValue();
            if (value == "EOF") {
                name = "EOF";
                return true;
            }
            if (value == "SECTION") {
                if (!mIn.next())
                    return mIn.failed() ? false : mIn.fail(Velt::eEndOfFile, "the file ends after SECTION");
                if (mIn.code() != 2)
                    return mIn.fail(Velt::eInvalidDxfCode, "a section name expected");
                name.assign(mIn.trimmedValue());
                return true;
            }
        }
        if (mIn.code() != 999 && !strays) {
            strays = true;
            warn("groups outside of any section were passed over");
        }
    }
    return false;
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
        current->groups.add(mIn);
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
        if (record.type == "ENDSEC"sv)
            return true;
        if (record.type != "CLASS"sv)
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
        if (record.type == "ENDSEC"sv)
            return true;
        if (record.type != "TABLE"sv) {
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
            if (record.type == "ENDTAB"sv)
                break;
            if (record.type == "ENDSEC"sv) {
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
        if (record.type == "ENDSEC"sv)
            return true;
        if (record.type != "BLOCK"sv) {
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
        if (record.type == "ENDSEC"sv) {
            sawEndSection = true;
            return true;
        }
        bool followers = record.type == "POLYLINE"sv;
        if (record.type == "INSERT"sv) {
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
            if (record.type != "VERTEX"sv && record.type != "ATTRIB"sv && record.type != "SEQEND"sv)
                break;  // no SEQEND: record is the next entity
            closed = record.type == "SEQEND"sv;
            mSubs.push_back(record);
        }
        if (block != kNone) {
            const size_t before = mEntities.size();
            parseEntity(mMain, block, &mSubs);
            // A reference the host models owns its attributes; the end record goes.
            if (mEntities.size() > before && VxDbBlockReference::cast(mEntities[before].object.get())) {
                const uint32_t owner = uint32_t(before);
                for (Record& sub : mSubs) {
                    if (sub.type == "ATTRIB"sv)
                        parseEntity(sub, mEntities[owner].block, nullptr, owner);
                }
            }
        }
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
        if (record.type == "ENDSEC"sv)
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
        // Entities of one block come together: the last owner's block first.
        if (ownerHandle == mLastOwnerHandle)
            return mLastOwnerBlock;
        auto it = mBlockByRecordHandle.find(ownerHandle);
        if (it != mBlockByRecordHandle.end()) {
            mLastOwnerHandle = ownerHandle;
            mLastOwnerBlock = it->second;
            return it->second;
        }
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

double radians(double degrees) { return degrees * kPi / 180.0; }


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
    splitHead(record, head, xdata, mBody, table == kDimstyle ? 105 : 5);
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
    // References are resolved later, and only for a record that is kept.
    std::vector<std::function<void()>> links;
    auto linkTo = [&links](std::function<void()> work) { links.push_back(std::move(work)); };

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
    for (auto& work : links)
        mLinks.push_back(std::move(work));
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

// ---- entities ----

namespace {

// A multiline attribute ends its own subclass with its type (71), a flag (72) and its
// alignment point again (11, 21, 31), then carries its multiline text as an embedded object
// (101). Takes both out of the attribute's groups and returns the text's groups: its style is
// the attribute's, and its derived sizes (defined height 46, extents 42 and 43) are worked out
// again, so those go too.
std::vector<FieldGroup> takeEmbeddedMText(std::vector<FieldGroup>& groups)
{
    size_t own = groups.size();
    for (size_t i = 0; i < groups.size(); ++i)
        if (groups[i].code == 100 &&
            (groups[i].value == "AcDbAttribute" || groups[i].value == "AcDbAttributeDefinition"))
            own = i;
    std::vector<FieldGroup> embedded;
    std::vector<FieldGroup> kept;
    bool inEmbedded = false;
    for (size_t i = 0; i < groups.size(); ++i) {
        const FieldGroup& group = groups[i];
        if (!inEmbedded && group.code == 101) {
            inEmbedded = true;
            continue;
        }
        if (inEmbedded) {
            if (group.code != 7 && group.code != 46 && group.code != 42 && group.code != 43)
                embedded.push_back(group);
            continue;
        }
        const bool extra = i > own && (group.code == 71 || group.code == 72 || group.code == 11 ||
                                       group.code == 21 || group.code == 31);
        if (!extra)
            kept.push_back(group);
    }
    groups.swap(kept);
    return embedded;
}

}  // namespace

VxDbEntity* Reader::makeKnownEntity(const Record& record, const std::vector<size_t>& body, bool& keepOpaque,
                                    const std::vector<Record>* subRecords)
{
    keepOpaque = false;
    mNamedRecords.clear();
    const std::string& type = record.type;
    const VxRxClass* cls = describedClass(type);
    if (cls && type == "INSERT"sv) {
        // A grid of insertions says so by its subclass or its counts.
        for (size_t i : body) {
            const int code = record.code(i);
            if ((code == 100 && record.value(i) == "AcDbMInsertBlock") || code == 70 || code == 71 || code == 44 ||
                code == 45)
                cls = VxDbMInsertBlock::desc();
        }
    }
    if (!cls) {
        keepOpaque = true;
        return nullptr;
    }
    std::vector<FieldGroup>& groups = mFieldGroups;
    groups.clear();
    for (size_t i : body)
        groups.push_back({record.code(i), record.value(i), record.number(i)});
    // Kinds that share a record type: the groups say which one this is (none: kept as it is).
    if (const auto choose = vxdbKindOf(cls)->fileHooks().recordClass)
        cls = choose(groups);
    if (!cls) {
        keepOpaque = true;
        return nullptr;
    }
    // What a class is, asked once a run of records of one class rather than for each.
    if (cls != mLastMadeClass) {
        mLastMadeClass = cls;
        mLastMadeKind = vxdbKindOf(cls);
        mLastMadeAttribute =
            cls->isDerivedFrom(VxDbAttributeDefinition::desc()) || cls->isDerivedFrom(VxDbAttribute::desc());
    }
    std::unique_ptr<VxDbEntity> made(VxDbEntity::cast(cls->create()));
    std::vector<FieldGroup> embedded;
    if (mLastMadeAttribute)
        embedded = takeEmbeddedMText(groups);
    if (!made || !readFields(*made, *mLastMadeKind, groups, mUtf8, &mNamedRecords) ||
        (subRecords && !readSubRecords(*made, *mLastMadeKind, *subRecords))) {
        keepOpaque = true;  // something this kind does not hold, or refuses
        return nullptr;
    }
    if (!embedded.empty()) {
        auto mtext = std::make_unique<VxDbMText>();
        if (!readFields(*mtext, VxDbMText::kind(), embedded, mUtf8) ||
            vxdbAttributeTextOf(made.get())->setMText(std::move(mtext)) != Velt::eOk) {
            keepOpaque = true;
            return nullptr;
        }
    }
    return made.release();
}

// The records that follow a kind's own (its VERTEX records), without the common entity
// groups and markers: the owner's say it all.
bool Reader::readSubRecords(VxDbObject& object, const VxDbKind& kind, const std::vector<Record>& subRecords)
{
    const auto read = kind.fileHooks().readSubRecords;
    if (!read)
        return false;
    std::vector<SubRecord> records(subRecords.size());
    for (size_t r = 0; r < subRecords.size(); ++r) {
        const Record& sub = subRecords[r];
        Head subHead;
        VxResBufPtr subXData;
        std::vector<size_t> subBody;
        splitHead(sub, subHead, subXData, subBody);
        records[r].type = sub.type;
        records[r].handle = subHead.handle;
        for (size_t i : subBody) {
            switch (sub.code(i)) {
            case 100: case 8: case 6: case 62: case 420: case 370: case 48: case 60: case 440: case 347:
            case 390: case 67: case 410: continue;
            default: records[r].groups.push_back({sub.code(i), sub.value(i), sub.number(i)});
            }
        }
    }
    return read(object, records, mUtf8);
}

void Reader::parseEntity(Record& record, uint32_t block, std::vector<Record>* subRecords, uint32_t ownerEntity)
{
    ++mInfo.entities;

    // Sort the groups: the common entity part (before the kind's own
    // subclass) gives the entity's properties; the rest is the kind's.
    std::vector<size_t>& own = mOwn;
    own.clear();
    Part part = Part::kHead;
    // Kinds the host models use none of the common codes themselves, and some
    // writers put those after the kind's subclass marker.
    // A block reference the host models takes its attributes as entities of their own.
    // A polyline the host models owns its vertices as its own data.
    bool modelledFollowers = subRecords != nullptr && (record.type == "INSERT"sv || record.type == "POLYLINE"sv);
    const bool ownedFollowers = subRecords != nullptr && record.type == "POLYLINE"sv;
    if (subRecords) {
        const char* follower = ownedFollowers ? "VERTEX" : "ATTRIB";
        for (const Record& sub : *subRecords)
            modelledFollowers = modelledFollowers && (sub.type == follower || sub.type == "SEQEND"sv);
    }
    const bool knownKind =
        (subRecords == nullptr || modelledFollowers) && describedClass(record.type) != nullptr;
    size_t layer = SIZE_MAX, linetype = SIZE_MAX, color = SIZE_MAX, trueColor = SIZE_MAX, weight = SIZE_MAX,
           scale = SIZE_MAX, invisible = SIZE_MAX, alpha = SIZE_MAX;
    uint64_t material = 0, plotStyle = 0;
    bool paperSpace = false;
    // One pass: the head taken out, the common groups noted, the kind's own listed.
    Head head;
    VxResBufPtr xdata;
    splitHeadEach(record, head, xdata, [&](size_t i) {
        const int code = record.code(i);
        if (code == 100) {
            if (part == Part::kHead && record.value(i) == "AcDbEntity") {
                part = Part::kEntity;
                return;
            }
            part = Part::kBody;
            own.push_back(i);
            return;
        }
        if (part != Part::kBody || knownKind) {
            switch (code) {
            case 8: layer = i; return;
            case 6: linetype = i; return;
            case 62: color = i; return;
            case 420: trueColor = i; return;
            case 370: weight = i; return;
            case 48: scale = i; return;
            case 60: invisible = i; return;
            case 440: alpha = i; return;
            case 347: material = record.handle(i); return;
            case 390: plotStyle = record.handle(i); return;
            case 67: paperSpace = record.integer(i) != 0; return;
            case 410: return;  // the layout's name: the owner says it
            default: break;
            }
        }
        own.push_back(i);
    });
    if (block == kByOwner)
        block = blockForOwner(head.owner, paperSpace);
    if (block == kNone)
        return;

    bool keepOpaque = subRecords != nullptr && !modelledFollowers;
    // A viewport's frozen layers and clipping entity are handles, resolved once resident.
    std::vector<uint64_t> frozenLayers;
    uint64_t clipEntity = 0;
    VxDbEntity* entity = nullptr;
    if (!keepOpaque && record.type == "VIEWPORT"sv) {
        std::vector<size_t> fields;
        for (size_t i : own) {
            if (record.code(i) == 331)
                frozenLayers.push_back(record.handle(i));
            else if (record.code(i) == 340)
                clipEntity = record.handle(i);
            else
                fields.push_back(i);
        }
        entity = makeKnownEntity(record, fields, keepOpaque);
    } else if (!keepOpaque) {
        entity = makeKnownEntity(record, own, keepOpaque, ownedFollowers ? subRecords : nullptr);
    }
    std::vector<NamedRecord> named;
    if (entity)
        named.swap(mNamedRecords);
    VxDbDxfOpaqueEntity* opaque = nullptr;
    if (!entity) {
        opaque = new VxDbDxfOpaqueEntity();
        entity = opaque;
        opaque->setDxfName(record.type);
        opaque->groups() = keepGroups(record, own);
        if (auto it = mClasses.find(record.type); it != mClasses.end())
            opaque->setClassInfo(it->second);
        if (subRecords) {
            for (const Record& sub : *subRecords) {
                Head subHead;
                VxResBufPtr subXData;
                std::vector<size_t> subBody;
                splitHead(sub, subHead, subXData, subBody);
                VxDbDxfSubRecord kept;
                kept.dxfName = sub.type;
                // The handle travels in the reserved id; it is found again at placing.
                kept.handleId = VxDbObjectId();
                std::vector<size_t> all = subBody;
                for (size_t i = 0; i < sub.size(); ++i) {
                    if (sub.code(i) >= 1000) {
                        all.push_back(i);  // extended data stays with the record
                    }
                }
                std::sort(all.begin(), all.end());
                all.erase(std::unique(all.begin(), all.end()), all.end());
                kept.groups = keepGroups(sub, all);
                // Remember the file's handle in front, as group 5, until placing.
                if (subHead.handle) {
                    VxDbDxfGroup h;
                    h.code = 5;
                    char digits[20];
                    std::snprintf(digits, sizeof(digits), "%llX", static_cast<unsigned long long>(subHead.handle));
                    h.value = digits;
                    kept.groups.insert(kept.groups.begin(), std::move(h));
                    mMaxHandle = std::max(mMaxHandle, subHead.handle);
                }
                opaque->subRecords().push_back(std::move(kept));
            }
        }
        ++mInfo.opaqueEntities;
    }

    // The common properties.
    PendingEntity pending;
    pending.handle = head.handle;
    mMaxHandle = std::max(mMaxHandle, head.handle);
    if (head.xdict || !head.reactors.empty()) {
        EntityExtra& extra = extraOf(pending);
        extra.xdict = head.xdict;
        extra.reactors = std::move(head.reactors);
    }
    pending.block = block;
    pending.layer = internLayer(layer == SIZE_MAX ? std::string_view("0") : record.value(layer));
    pending.linetype = internLinetype(linetype == SIZE_MAX ? std::string_view("ByLayer") : record.value(linetype));
    // Gathered and set at once: one shared record for all of them. A value the host refuses
    // leaves that property at its default.
    detail::EntityStyle common = entity->commonProperties();
    common.color = VxCmEntityColor().color();
    if (color != SIZE_MAX || trueColor != SIZE_MAX) {
        const int64_t index = color != SIZE_MAX ? record.integer(color) : 256;
        const VxCmColor value =
            colorFrom(index, trueColor != SIZE_MAX ? record.integer(trueColor) : 0, trueColor != SIZE_MAX);
        if (VxDbEntity::isValidColor(value.color()))
            common.color = value.color();
    }
    common.lineWeight = int16_t(VxDb::kLnWtByLayer);
    if (weight != SIZE_MAX) {
        const int64_t value = record.integer(weight);
        if (value >= INT16_MIN && value <= INT16_MAX && VxDbEntity::isValidLineWeight(int(value)))
            common.lineWeight = int16_t(value);
    }
    if (scale != SIZE_MAX) {
        const double value = record.real(scale);
        if (VxDbEntity::isValidLinetypeScale(value))
            common.linetypeScale = value;
    }
    if (invisible != SIZE_MAX)
        common.visibility = uint8_t(record.integer(invisible) != 0 ? VxDb::kInvisible : VxDb::kVisible);
    if (alpha != SIZE_MAX) {
        // Kept as the host keeps it: the alpha only where the method is by alpha.
        VxCmTransparency transparency;
        if (transparency.serializeIn(uint32_t(record.integer(alpha))) == Velt::eOk)
            common.transparency = transparency.serializeOut();
    }
    // Values the new entity holds already (a file that names no colour, weight ...) need no
    // new record.
    if (!(common == entity->commonProperties()))
        entity->setCommonProperties(common);
    applyXData(entity, xdata);
    pending.object.reset(entity);
    const uint32_t index = uint32_t(mEntities.size());
    mEntities.push_back(std::move(pending));
    if (ownerEntity != kNone)
        extraOf(mEntities[ownerEntity]).attributes.push_back(index);
    else
        mBlocks[block].entities.push_back(index);

    // References to objects that are resident only later.
    if (material || plotStyle || !named.empty()) {
        mLinks.push_back([this, index, material, plotStyle, named = std::move(named)] {
            auto* entity = static_cast<VxDbEntity*>(mEntities[index].live);
            if (!entity)
                return;
            if (material) {
                if (VxDbObjectId id = idOf(material); !id.isNull())
                    entity->setMaterial(id);
            }
            if (plotStyle) {
                if (VxDbObjectId id = idOf(plotStyle); !id.isNull())
                    entity->setPlotStyleName(VxDb::kPlotStyleNameById, id);
            }
            const VxDbKind* kind = vxdbKindOf(entity);
            for (const NamedRecord& record : named) {
                const VxDbField* field = kind ? kind->fields()[record.field] : nullptr;
                if (!field)
                    continue;
                if (field->flags & kxdxf::kBlockName) {
                    auto* insert = VxDbBlockReference::cast(entity);
                    VxDbObjectId id = mDb->blockId(record.name.c_str());
                    if (insert && (id.isNull() || insert->setBlockTableRecord(id) != Velt::eOk)) {
                        warn("an insertion of a missing block was left out: " + vxToUtf8(record.name));
                        entity->erase();
                        return;
                    }
                } else if (field->flags & kxdxf::kTextStyleName) {
                    // A style the file lacks: the standard one.
                    VxDbObjectId id = mDb->textStyleId(record.name.c_str());
                    if (id.isNull())
                        id = mDb->textStyleId(L"Standard");
                    if (!id.isNull())
                        field->set(*entity, VxDbFieldValue(id));
                }
            }
        });
    }
    if ((!frozenLayers.empty() || clipEntity) && VxDbViewport::cast(entity)) {
        mLinks.push_back([this, index, frozenLayers = std::move(frozenLayers), clipEntity] {
            auto* viewport = VxDbViewport::cast(mEntities[index].live);
            if (!viewport)
                return;
            std::vector<VxDbObjectId> layers;
            for (uint64_t handle : frozenLayers) {
                if (VxDbObjectId id = idOf(handle); !id.isNull())
                    layers.push_back(id);
            }
            if (viewport->freezeLayersInViewport(layers) != Velt::eOk)
                warn("a viewport's frozen layers that are not layers were left out");
            if (VxDbObjectId id = clipEntity ? idOf(clipEntity) : VxDbObjectId(); !id.isNull())
                viewport->setNonRectClipEntityId(id);
        });
    }
    if (opaque) {
        bool hasReferences = false;
        for (const VxDbDxfGroup& g : opaque->groups())
            hasReferences = hasReferences || isReferenceCode(g.code);
        for (const VxDbDxfSubRecord& sub : opaque->subRecords()) {
            for (const VxDbDxfGroup& g : sub.groups)
                hasReferences = hasReferences || isReferenceCode(g.code);
        }
        if (hasReferences) {
            mLinks.push_back([this, index] {
                auto* opaque = VxDbDxfOpaqueEntity::cast(mEntities[index].live);
                if (!opaque)
                    return;
                auto resolve = [this](VxDbDxfGroups& groups) {
                    for (VxDbDxfGroup& g : groups) {
                        uint64_t h = 0;
                        if (isReferenceCode(g.code) && parseHandle(g.value, h) && h)
                            g.ref = idOf(h);
                    }
                };
                resolve(opaque->groups());
                for (VxDbDxfSubRecord& sub : opaque->subRecords())
                    resolve(sub.groups);
            });
        }
    }
}

// ---- objects ----

void Reader::parseObject(Record& record)
{
    Head head;
    VxResBufPtr xdata;
    splitHead(record, head, xdata, mBody);
    Pending pending;
    takeHead(pending, head);
    const uint32_t index = uint32_t(mObjects.size());
    const std::string& type = record.type;
    ++mInfo.objects;
    VxDbObject* object = nullptr;
    auto linkTo = [this](std::function<void()> work) { mLinks.push_back(std::move(work)); };

    if (type == "DICTIONARY"sv || type == "ACDBDICTIONARYWDFLT"sv) {
        auto* dictionary = new VxDbDictionary();
        object = dictionary;
        DictionaryEntries entries;
        entries.object = index;
        std::wstring key;
        bool haveKey = false;
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 280: dictionary->setTreatElementsAsHard(record.integer(i) != 0); break;
            case 281: {
                const int64_t style = record.integer(i);
                if (style >= VxDb::kDrcNotApplicable && style <= VxDb::kDrcUnmangleName)
                    dictionary->setMergeStyle(VxDb::DuplicateRecordCloning(style));
                break;
            }
            case 3: key = text(record.value(i)); haveKey = true; break;
            case 350:
            case 360:
                if (haveKey && !key.empty())
                    entries.entries.emplace_back(key, record.handle(i));
                haveKey = false;
                break;
            default: break;
            }
        }
        if (mRootDictionary == kNone && head.owner == 0)
            mRootDictionary = index;
        mDictionaries.push_back(std::move(entries));
    } else if (type == "XRECORD"sv) {
        auto* xrecord = new VxDbXrecord();
        object = xrecord;
        // The data: everything after the subclass marker and the cloning flag.
        std::vector<size_t> data;
        bool inData = false, flagSeen = false, hasReferences = false;
        for (size_t i : mBody) {
            const int code = record.code(i);
            if (!inData) {
                if (code == 100 && record.value(i) == "AcDbXrecord")
                    inData = true;
                continue;
            }
            if (code == 280 && !flagSeen && data.empty()) {
                flagSeen = true;
                const int64_t style = record.integer(i);
                if (style >= VxDb::kDrcNotApplicable && style <= VxDb::kDrcUnmangleName)
                    xrecord->setMergeStyle(VxDb::DuplicateRecordCloning(style));
                continue;
            }
            if (code == 5 || code == 105 || code >= 1000)
                continue;
            hasReferences = hasReferences || isReferenceCode(code);
            data.push_back(i);
        }
        // Kept as groups; turned into a chain once references can be resolved.
        VxDbDxfGroups groups = keepGroups(record, data);
        auto build = [this](const VxDbDxfGroups& groups) {
            VxResBuf* first = nullptr;
            VxResBuf* tail = nullptr;
            for (size_t k = 0; k < groups.size(); ++k) {
                const VxDbDxfGroup& g = groups[k];
                VxResBuf* rb = nullptr;
                switch (vxutStorageOf(g.code)) {
                case VxRbStorage::kString: rb = vxutNewString(g.code, vxFromUtf8(g.value)); break;
                case VxRbStorage::kReal: {
                    double v = 0;
                    parseDouble(g.value, v);
                    rb = vxutNewReal(g.code, v);
                    break;
                }
                case VxRbStorage::kPoint: {
                    double p[3] = {0, 0, 0};
                    parseDouble(g.value, p[0]);
                    for (int axis = 1; axis <= 2 && k + 1 < groups.size() && groups[k + 1].code == g.code + 10 * axis; ++axis)
                        parseDouble(groups[++k].value, p[axis]);
                    rb = vxutNewPoint(g.code, p[0], p[1], p[2]);
                    break;
                }
                case VxRbStorage::kInt16: {
                    int64_t v = 0;
                    parseInt(g.value, v);
                    rb = vxutNewInt16(g.code, int16_t(v));
                    break;
                }
                case VxRbStorage::kInt32: {
                    int64_t v = 0;
                    parseInt(g.value, v);
                    rb = vxutNewInt32(g.code, int32_t(v));
                    break;
                }
                case VxRbStorage::kInt64: {
                    int64_t v = 0;
                    parseInt(g.value, v);
                    rb = vxutNewInt64(g.code, v);
                    break;
                }
                case VxRbStorage::kName: {
                    uint64_t h = 0;
                    parseHandle(g.value, h);
                    rb = vxutNewRb(g.code);
                    rb->resval.rlname[0] = idOf(h).asOldId();
                    rb->resval.rlname[1] = 0;
                    break;
                }
                case VxRbStorage::kBinary: {
                    std::vector<uint8_t> bytes;
                    for (size_t n = 0; n + 1 < g.value.size(); n += 2) {
                        auto nib = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
                        bytes.push_back(uint8_t((nib(g.value[n]) & 15) * 16 + (nib(g.value[n + 1]) & 15)));
                    }
                    rb = vxutNewRb(g.code);
                    vxutSetBinary(rb, bytes.data(), std::min<size_t>(bytes.size(), 32767));
                    break;
                }
                default: break;
                }
                if (!rb)
                    continue;
                (tail ? tail->rbnext : first) = rb;
                tail = rb;
            }
            return VxResBufPtr(first);
        };
        if (!hasReferences) {
            VxResBufPtr chain = build(groups);
            if (chain && xrecord->setFromRbChain(chain.get()) != Velt::eOk)
                warn("extended record data that the host refuses was left out");
        } else {
            linkTo([this, index, groups = std::move(groups), build] {
                auto* xrecord = VxDbXrecord::cast(mObjects[index].live);
                VxResBufPtr chain = build(groups);
                if (xrecord && chain && xrecord->setFromRbChain(chain.get()) != Velt::eOk)
                    warn("extended record data that the host refuses was left out");
            });
        }
    } else if (type == "GROUP"sv) {
        auto* group = new VxDbGroup();
        object = group;
        std::vector<uint64_t> members;
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 300: group->setDescription(text(record.value(i)).c_str()); break;
            case 71: group->setSelectable(record.integer(i) != 0); break;
            case 340: members.push_back(record.handle(i)); break;
            default: break;
            }
        }
        if (!members.empty()) {
            linkTo([this, index, members] {
                auto* group = VxDbGroup::cast(mObjects[index].live);
                for (uint64_t h : members) {
                    if (group && group->append(idOf(h)) != Velt::eOk)
                        warn("a group member that is no entity of the drawing was left out");
                }
            });
        }
    } else if (type == "SORTENTSTABLE"sv) {
        auto* sorting = new VxDbSortentsTable();
        object = sorting;
        uint64_t block = 0, entity = 0;
        std::vector<std::pair<uint64_t, uint64_t>> entries;  // entity, the handle it is drawn by
        for (size_t i : mBody) {
            switch (record.code(i)) {
            case 330: block = record.handle(i); break;
            case 331: entity = record.handle(i); break;
            case 5:
                if (entity && record.handle(i))
                    entries.emplace_back(entity, record.handle(i));
                entity = 0;
                break;
            default: break;
            }
        }
        linkTo([this, index, block, entries = std::move(entries)] {
            auto* sorting = VxDbSortentsTable::cast(mObjects[index].live);
            if (!sorting)
                return;
            if (sorting->setBlockId(idOf(block)) != Velt::eOk) {
                warn("a draw order whose block is not in the drawing was emptied");
                return;
            }
            for (const auto& [entity, handle] : entries) {
                const VxDbObjectId id = idOf(entity);
                if (id.isNull() || sorting->setSortHandle(id, VxDbHandle(handle)) != Velt::eOk)
                    warn("a draw order entry of no entity was left out");
            }
        });
    } else if (type == "LAYOUT"sv || type == "PLOTSETTINGS"sv) {
        VxDbPlotSettings* settings = type == "LAYOUT"sv ? new VxDbLayout() : new VxDbPlotSettings();
        object = settings;
        VxDbPlotSettings::Data data = settings->data();
        data.device.clear();
        data.media.clear();
        int flags = 0;
        bool inLayout = false;
        int layoutFlags = 0;
        int tabOrder = 0;
        std::wstring layoutName;
        VxGePoint2d limMin{0, 0}, limMax{12, 9};
        VxGePoint3d base, extMin, extMax;
        uint64_t block = 0;
        for (size_t i : mBody) {
            const int code = record.code(i);
            if (code == 100) {
                inLayout = record.value(i) == "AcDbLayout";
                continue;
            }
            const double v = record.real(i);
            if (!inLayout) {
                switch (code) {
                case 1: data.name = text(record.value(i)); break;
                case 2: data.device = text(record.value(i)); break;
                case 4: data.media = text(record.value(i)); break;
                case 6: data.viewName = text(record.value(i)); break;
                case 7: data.styleSheet = text(record.value(i)); break;
                case 40: data.marginLeft = v; break;
                case 41: data.marginBottom = v; break;
                case 42: data.marginRight = v; break;
                case 43: data.marginTop = v; break;
                case 44: data.paperWidth = v; break;
                case 45: data.paperHeight = v; break;
                case 46: data.origin.x = v; break;
                case 47: data.origin.y = v; break;
                case 48: data.windowMin.x = v; break;
                case 49: data.windowMin.y = v; break;
                case 140: data.windowMax.x = v; break;
                case 141: data.windowMax.y = v; break;
                case 142: data.scaleNumerator = v; break;
                case 143: data.scaleDenominator = v; break;
                case 70: flags = int(record.integer(i)); break;
                case 72: data.paperUnits = int(record.integer(i)); break;
                case 73: data.rotation = int(record.integer(i)); break;
                case 74: data.plotType = int(record.integer(i)); break;
                case 75: data.stdScaleType = int(record.integer(i)); break;
                case 76: data.shadePlot = int(record.integer(i)); break;
                default: break;
                }
            } else {
                switch (code) {
                case 1: layoutName = text(record.value(i)); break;
                case 70: layoutFlags = int(record.integer(i)); break;
                case 71: tabOrder = int(record.integer(i)); break;
                case 10: limMin.x = v; break;
                case 20: limMin.y = v; break;
                case 11: limMax.x = v; break;
                case 21: limMax.y = v; break;
                case 12: base.x = v; break;
                case 22: base.y = v; break;
                case 32: base.z = v; break;
                case 14: extMin.x = v; break;
                case 24: extMin.y = v; break;
                case 34: extMin.z = v; break;
                case 15: extMax.x = v; break;
                case 25: extMax.y = v; break;
                case 35: extMax.z = v; break;
                case 330: block = record.handle(i); break;
                default: break;
                }
            }
        }
        (void)layoutFlags;
        data.viewportBorders = flags & 1;
        data.showPlotStyles = flags & 2;
        data.centered = flags & 4;
        data.plotHidden = flags & 8;
        data.useStandardScale = flags & 16;
        data.plotPlotStyles = flags & 32;
        data.scaleLineweights = flags & 64;
        data.printLineweights = flags & 128;
        data.drawViewportsFirst = flags & 512;
        data.modelType = flags & 1024;
        if (data.device.empty())
            data.device = L"None";
        if (data.media.empty())
            data.media = L"none_user_media";
        if (!(data.scaleNumerator > 0.0))
            data.scaleNumerator = 1.0;
        if (!(data.scaleDenominator > 0.0))
            data.scaleDenominator = 1.0;
        data.paperUnits = std::clamp(data.paperUnits, 0, 2);
        data.rotation = std::clamp(data.rotation, 0, 3);
        data.plotType = std::clamp(data.plotType, 0, 5);
        data.stdScaleType = std::clamp(data.stdScaleType, 0, int(VxDbPlotSettings::kStdScaleMax));
        if (settings->setData(data) != Velt::eOk)
            warn("plot settings that the host refuses were left at their defaults");
        if (auto* layout = VxDbLayout::cast(settings)) {
            if (!layoutName.empty() && layout->setLayoutName(layoutName.c_str()) != Velt::eOk)
                layout->setLayoutName(sanitizedName(layoutName).c_str());
            layout->setTabOrder(std::max(tabOrder, 0));
            layout->setLimits(limMin, limMax);
            layout->setInsertionBase(base);
            if (extMin.x <= extMax.x && extMin.y <= extMax.y && extMin.z <= extMax.z)
                layout->setExtents(VxGeExtents3d(extMin, extMax));
            if (block) {
                linkTo([this, index, block] {
                    auto* layout = VxDbLayout::cast(mObjects[index].live);
                    VxDbObjectId id = idOf(block);
                    auto* record = VxDbBlockTableRecord::cast(detail::objectOf(id));
                    if (layout && record) {
                        layout->setBlockTableRecordId(id);
                        record->setLayoutId(layout->objectId());
                    }
                });
            }
        }
    } else if (type == "ACDBPLACEHOLDER"sv) {
        object = new VxDbPlaceHolder();
    } else if (type == "MLINESTYLE"sv) {
        auto* style = new VxDbMlineStyle();
        object = style;
        struct Element {
            double offset = 0;
            int64_t color = 256;
            std::wstring linetype;
        };
        std::vector<Element> elements;
        for (size_t i : mBody) {
            const int code = record.code(i);
            switch (code) {
            case 2: style->setName(text(record.value(i)).c_str()); break;
            case 3: style->setDescription(text(record.value(i)).c_str()); break;
            case 70: style->setFilled((record.integer(i) & 1) != 0); break;
            case 51: style->setStartAngle(radians(record.real(i))); break;
            case 52: style->setEndAngle(radians(record.real(i))); break;
            case 49: elements.emplace_back(); elements.back().offset = record.real(i); break;
            case 62:
                if (elements.empty())
                    style->setFillColor(colorFrom(record.integer(i), 0, false));
                else
                    elements.back().color = record.integer(i);
                break;
            case 6: if (!elements.empty()) elements.back().linetype = text(record.value(i)); break;
            default: break;
            }
        }
        if (!elements.empty()) {
            linkTo([this, index, elements] {
                auto* style = VxDbMlineStyle::cast(mObjects[index].live);
                for (const Element& e : elements) {
                    VxDbObjectId ltype = mDb->linetypeId(e.linetype.c_str());
                    if (ltype.isNull())
                        ltype = mDb->byLayerLinetype();
                    if (style)
                        style->addElement(e.offset, colorFrom(e.color, 0, false), ltype);
                }
            });
        }
    } else if (type == "MATERIAL"sv || type == "TABLESTYLE"sv || type == "MLEADERSTYLE"sv) {
        VxDbNamedObject* named = type == "MATERIAL"sv     ? static_cast<VxDbNamedObject*>(new VxDbMaterial())
                                 : type == "TABLESTYLE"sv ? static_cast<VxDbNamedObject*>(new VxDbTableStyle())
                                                        : static_cast<VxDbNamedObject*>(new VxDbMLeaderStyle());
        object = named;
        // Name and description as the host has them; the rest is kept.
        std::vector<size_t> kept;
        bool inOwn = false;
        for (size_t i : mBody) {
            const int code = record.code(i);
            if (code == 100) {
                inOwn = true;
                continue;
            }
            if (!inOwn)
                continue;
            if (type == "MATERIAL"sv && code == 1)
                named->setName(text(record.value(i)).c_str());
            else if ((type == "MATERIAL"sv && code == 2) || (type == "TABLESTYLE"sv && code == 3) ||
                     (type == "MLEADERSTYLE"sv && code == 3))
                named->setDescription(text(record.value(i)).c_str());
            kept.push_back(i);
        }
        VxDbDxfGroups groups = keepGroups(record, kept);
        linkTo([this, index, groups = std::move(groups)]() mutable {
            if (mObjects[index].live)
                mResidues[mObjects[index].id] = std::move(groups);
        });
    } else {
        auto* opaque = new VxDbDxfOpaqueObject();
        object = opaque;
        opaque->setDxfName(type);
        opaque->groups() = keepGroups(record, mBody);
        if (auto it = mClasses.find(type); it != mClasses.end())
            opaque->setClassInfo(it->second);
        ++mInfo.opaqueObjects;
        bool hasReferences = false;
        for (const VxDbDxfGroup& g : opaque->groups())
            hasReferences = hasReferences || isReferenceCode(g.code);
        if (hasReferences) {
            linkTo([this, index] {
                auto* opaque = VxDbDxfOpaqueObject::cast(mObjects[index].live);
                if (!opaque)
                    return;
                for (VxDbDxfGroup& g : opaque->groups()) {
                    uint64_t h = 0;
                    if (isReferenceCode(g.code) && parseHandle(g.value, h) && h)
                        g.ref = idOf(h);
                }
            });
        }
    }
    applyXData(object, xdata);
    pending.object.reset(object);
    mObjects.push_back(std::move(pending));
}

// ---- placing: objects become resident in the order of their handles ----

// Handles a file may give its objects: above this the drawing would have
// no handles left for what is completed or added later, so such objects get
// fresh handles instead.
constexpr uint64_t kLastFileHandle = UINT64_MAX - (uint64_t(1) << 32);

// Makes the database give out exactly this handle next, when it can.
bool Reader::reserveExact(uint64_t handle)
{
    if (handle == 0 || handle > kLastFileHandle || handle < mDb->handseed().value())
        return false;
    VxDbObjectId existing;
    if (mDb->getVxDbObjectId(existing, false, VxDbHandle(handle)) == Velt::eOk)
        return false;
    return mDb->setHandseed(VxDbHandle(handle)) == Velt::eOk;
}

void Reader::noteHandle(uint64_t handle, bool synthetic, VxDbObjectId id)
{
    const uint64_t given = id.handle().value();
    if (given == handle)
        return;
    mFreshHandles.insert(given);
    if (handle && !synthetic) {
        mRemap[handle] = id;
        ++mInfo.remappedHandles;
    }
}

EntityExtra& Reader::extraOf(PendingEntity& e)
{
    if (e.extra == kNone) {
        e.extra = uint32_t(mEntityExtras.size());
        mEntityExtras.emplace_back();
    }
    return mEntityExtras[e.extra];
}

bool Reader::placeFree(Pending& pending)
{
    if (pending.live || !pending.object)
        return pending.live != nullptr;
    VxDbObject* object = pending.object.get();
    VxDbObjectId existing;
    Velt::ErrorStatus es;
    if (pending.handle && pending.handle <= kLastFileHandle &&
        mDb->getVxDbObjectId(existing, false, VxDbHandle(pending.handle)) != Velt::eOk)
        es = mDb->addVxDbObjectWithHandle(pending.id, object, VxDbHandle(pending.handle));
    else
        es = mDb->addVxDbObject(pending.id, object);
    if (es != Velt::eOk) {
        warn(std::string("an object could not be added: ") + Velt::statusName(es));
        pending.object.reset();
        return false;
    }
    pending.live = pending.object.release();
    noteHandle(pending);
    return true;
}

bool Reader::placeTable(int table)
{
    PendingTable& t = mTables[table];
    if (t.live)
        return true;
    if (!t.object) {
        // A table the file lacks (old files have no block records).
        VxDbSymbolTable* made = nullptr;
        switch (table) {
        case kVport: made = new VxDbViewportTable(); break;
        case kLtype: made = new VxDbLinetypeTable(); break;
        case kLayer: made = new VxDbLayerTable(); break;
        case kStyle: made = new VxDbTextStyleTable(); break;
        case kView: made = new VxDbViewTable(); break;
        case kUcs: made = new VxDbUCSTable(); break;
        case kAppid: made = new VxDbRegAppTable(); break;
        case kDimstyle: made = new VxDbDimStyleTable(); break;
        default: made = new VxDbBlockTable(); break;
        }
        t.object.reset(made);
    }
    if (!placeFree(t))
        return false;
    mDb->setRootObject(t.id);
    return true;
}

bool Reader::placeRecordsUpTo(int table, size_t index)
{
    PendingTable& t = mTables[table];
    if (!placeTable(table))
        return false;
    auto* symbols = static_cast<VxDbSymbolTable*>(t.live);
    while (t.next <= index && t.next < t.records.size()) {
        PendingRecord& r = mRecords[t.records[t.next++]];
        if (!r.object)
            continue;
        reserveExact(r.handle);
        auto* record = static_cast<VxDbSymbolTableRecord*>(r.object.get());
        const Velt::ErrorStatus es = symbols->add(r.id, record);
        if (es != Velt::eOk) {
            warn(std::string("a ") + kTableNames[table] + " record could not be added: " + Velt::statusName(es));
            r.object.reset();
            continue;
        }
        r.live = r.object.release();
        noteHandle(r);
    }
    return true;
}

bool Reader::placeEntity(uint32_t index)
{
    PendingEntity& e = mEntities[index];
    if (!e.object)
        return false;
    PendingBlock& b = mBlocks[e.block];
    PendingRecord& blockRecord = mRecords[b.record];
    if (!blockRecord.live) {
        const auto& queue = mTables[kBlockRecord].records;
        const size_t at = size_t(std::find(queue.begin(), queue.end(), b.record) - queue.begin());
        placeRecordsUpTo(kBlockRecord, at);
        if (!blockRecord.live) {
            e.object.reset();
            return false;
        }
    }
    prepareForPlacing(e);
    reserveExact(e.handle);
    auto* entity = static_cast<VxDbEntity*>(e.object.get());
    auto* block = static_cast<VxDbBlockTableRecord*>(blockRecord.live);
    VxDbObjectId id;
    const Velt::ErrorStatus es = block->appendVxDbEntity(id, entity);
    if (es != Velt::eOk) {
        warn(std::string("an entity could not be added: ") + Velt::statusName(es));
        e.object.reset();
        return false;
    }
    e.live = e.object.release();
    mLastPlaced = entity;
    noteHandle(e.handle, e.synthetic, id);
    // What is asked of the class, once a run of entities of one class.
    const VxRxClass* cls = e.live->isA();
    if (cls != mPlacedClass) {
        mPlacedClass = cls;
        mPlacedOpaque = cls->isDerivedFrom(VxDbDxfOpaqueEntity::desc());
        mPlacedReference = cls->isDerivedFrom(VxDbBlockReference::desc());
    }
    if (mPlacedOpaque)
        reserveSubRecordHandles(static_cast<VxDbDxfOpaqueEntity*>(e.live));
    // A reference's attributes come right after it.
    auto* insert = mPlacedReference && e.extra != kNone ? static_cast<VxDbBlockReference*>(e.live) : nullptr;
    if (insert) {
        for (uint32_t a : mEntityExtras[e.extra].attributes) {
            PendingEntity& attribute = mEntities[a];
            if (!attribute.object)
                continue;
            prepareForPlacing(attribute);
            reserveExact(attribute.handle);
            VxDbObjectId attributeId;
            if (insert->appendAttribute(attributeId, static_cast<VxDbEntity*>(attribute.object.get())) != Velt::eOk) {
                warn("an attribute could not be added");
                attribute.object.reset();
                continue;
            }
            attribute.live = attribute.object.release();
            noteHandle(attribute.handle, attribute.synthetic, attributeId);
        }
    }
    return true;
}

// Layer and linetype of an entity about to be placed.
void Reader::prepareForPlacing(PendingEntity& e)
{
    auto* entity = static_cast<VxDbEntity*>(e.object.get());
    // A layer now spares the entity the database's defaults.
    auto layerOf = [this](uint32_t name) -> VxDbObjectId {
        if (name == kNone || mLayerNames[name].record == kNone)
            return VxDbObjectId();
        return mRecords[mLayerNames[name].record].id;
    };
    VxDbObjectId layer = layerOf(e.layer);
    if (layer.isNull()) {
        e.layerPending = true;
        layer = mDb->layerId(L"0");
        if (layer.isNull()) {
            // No layer is resident yet: bring the layers forward.
            placeRecordsUpTo(kLayer, 0);
            layer = mRecords.empty() || mTables[kLayer].records.empty() ? VxDbObjectId()
                                                                        : mRecords[mTables[kLayer].records[0]].id;
        }
    }
    VxDbObjectId linetype;
    if (e.linetype != kNone && mLinetypeNames[e.linetype].record != kNone)
        linetype = mRecords[mLinetypeNames[e.linetype].record].id;
    // Both at once, one shared record; when one is refused, each on its own as far as it goes.
    detail::EntityStyle common = entity->commonProperties();
    if (!layer.isNull())
        common.layer = layer;
    if (!linetype.isNull())
        common.linetype = linetype;
    // Entities in a row mostly agree: the last one placed shares its checked record.
    if (mLastPlaced && common == mLastPlaced->commonProperties() &&
        entity->setPropertiesFrom(mLastPlaced, false) == Velt::eOk)
        return;
    if (entity->setCommonProperties(common, true) == Velt::eOk)
        return;
    if (!layer.isNull())
        entity->setLayer(layer, false, true);
    if (!linetype.isNull())
        entity->setLinetype(linetype);
}

// The records that follow a kept entity keep their handles as placeholders.
void Reader::reserveSubRecordHandles(VxDbDxfOpaqueEntity* entity)
{
    for (VxDbDxfSubRecord& sub : entity->subRecords()) {
        uint64_t handle = 0;
        if (!sub.groups.empty() && sub.groups.front().code == 5) {
            parseHandle(sub.groups.front().value, handle);
            sub.groups.erase(sub.groups.begin());
        }
        VxDbObjectId id;
        if (handle && handle <= kLastFileHandle && mDb->getVxDbObjectId(id, false, VxDbHandle(handle)) != Velt::eOk &&
            handle >= mDb->handseed().value() && mDb->getVxDbObjectId(id, true, VxDbHandle(handle)) == Velt::eOk) {
            sub.handleId = id;
            continue;
        }
        // Taken, or below the seed: a fresh handle.
        if (mDb->getVxDbObjectId(id, true, mDb->handseed()) == Velt::eOk) {
            sub.handleId = id;
            mFreshHandles.insert(id.handle().value());
        }
    }
}

// Objects the file gave no handle get unused ones, smallest first, so that
// they take their place in the order of handles like the others.
void Reader::assignMissingHandles()
{
    for (int t = 0; t < kTableCount; ++t) {
        if (!mTables[t].object) {
            VxDbSymbolTable* made = nullptr;
            switch (t) {
            case kVport: made = new VxDbViewportTable(); break;
            case kLtype: made = new VxDbLinetypeTable(); break;
            case kLayer: made = new VxDbLayerTable(); break;
            case kStyle: made = new VxDbTextStyleTable(); break;
            case kView: made = new VxDbViewTable(); break;
            case kUcs: made = new VxDbUCSTable(); break;
            case kAppid: made = new VxDbRegAppTable(); break;
            case kDimstyle: made = new VxDbDimStyleTable(); break;
            default: made = new VxDbBlockTable(); break;
            }
            mTables[t].object.reset(made);
        }
    }
    bool missing = false;
    for (const PendingTable& t : mTables)
        missing = missing || !t.handle;
    for (const PendingRecord& r : mRecords)
        missing = missing || !r.handle;
    for (const PendingEntity& e : mEntities)
        missing = missing || !e.handle;
    for (const Pending& o : mObjects)
        missing = missing || !o.handle;
    if (!missing)
        return;
    std::vector<uint64_t> used;
    auto collect = [&](const auto& p) {
        if (p.handle)
            used.push_back(p.handle);
    };
    for (const PendingTable& t : mTables)
        collect(t);
    for (const PendingRecord& r : mRecords)
        collect(r);
    for (const PendingEntity& e : mEntities) {
        collect(e);
        if (auto* opaque = VxDbDxfOpaqueEntity::cast(e.object.get())) {
            for (const VxDbDxfSubRecord& sub : opaque->subRecords()) {
                uint64_t h = 0;
                if (!sub.groups.empty() && sub.groups.front().code == 5 && parseHandle(sub.groups.front().value, h))
                    used.push_back(h);
            }
        }
    }
    for (const Pending& o : mObjects)
        collect(o);
    std::sort(used.begin(), used.end());
    uint64_t candidate = 1;
    size_t u = 0;
    auto assign = [&](auto& p) {
        if (p.handle)
            return;
        while (u < used.size() && used[u] <= candidate) {
            if (used[u] == candidate)
                ++candidate;
            ++u;
        }
        p.handle = candidate++;
        p.synthetic = true;
        mMaxHandle = std::max(mMaxHandle, p.handle);
    };
    for (PendingTable& t : mTables)
        assign(t);
    for (PendingRecord& r : mRecords)
        assign(r);
    for (PendingEntity& e : mEntities)
        assign(e);
    for (Pending& o : mObjects)
        assign(o);
}

void Reader::place()
{
    // Queues in the order their contents must keep: records per table,
    // entities per block, and free objects (tables, the objects section)
    // by handle. The head with the lowest handle goes first.
    enum Source : uint8_t { kFreeQueue, kTableQueue, kBlockQueue };
    struct QueueHead {
        uint64_t key;
        Source source;
        uint32_t queue;
        bool operator>(const QueueHead& other) const { return key > other.key; }
    };
    std::vector<Pending*> free;
    for (PendingTable& t : mTables) {
        if (t.object)
            free.push_back(&t);
    }
    for (Pending& o : mObjects)
        free.push_back(&o);
    auto keyOf = [](uint64_t handle) { return handle ? handle : UINT64_MAX; };
    std::stable_sort(free.begin(), free.end(),
                     [&](const Pending* a, const Pending* b) { return keyOf(a->handle) < keyOf(b->handle); });
    size_t nextFree = 0;

    std::priority_queue<QueueHead, std::vector<QueueHead>, std::greater<QueueHead>> heads;
    auto pushTable = [&](int t) {
        PendingTable& table = mTables[t];
        if (table.next < table.records.size())
            heads.push({keyOf(mRecords[table.records[table.next]].handle), kTableQueue, uint32_t(t)});
    };
    auto pushBlock = [&](uint32_t b) {
        PendingBlock& block = mBlocks[b];
        if (block.next < block.entities.size())
            heads.push({keyOf(mEntities[block.entities[block.next]].handle), kBlockQueue, b});
    };
    // Records keep the order of their handles within a table, so that none
    // loses its handle to a record listed before it.
    for (PendingTable& t : mTables) {
        std::stable_sort(t.records.begin(), t.records.end(),
                         [&](uint32_t a, uint32_t b) { return keyOf(mRecords[a].handle) < keyOf(mRecords[b].handle); });
    }
    if (!free.empty())
        heads.push({keyOf(free[0]->handle), kFreeQueue, 0});
    for (int t = 0; t < kTableCount; ++t)
        pushTable(t);
    for (uint32_t b = 0; b < mBlocks.size(); ++b)
        pushBlock(b);

    while (!heads.empty()) {
        const QueueHead head = heads.top();
        heads.pop();
        switch (head.source) {
        case kFreeQueue:
            if (placeFree(*free[nextFree]) && VxDbSymbolTable::cast(free[nextFree]->live))
                mDb->setRootObject(free[nextFree]->id);
            if (++nextFree < free.size())
                heads.push({keyOf(free[nextFree]->handle), kFreeQueue, 0});
            break;
        case kTableQueue: {
            PendingTable& table = mTables[head.queue];
            if (table.next < table.records.size())
                placeRecordsUpTo(int(head.queue), table.next);
            pushTable(int(head.queue));
            break;
        }
        case kBlockQueue: {
            PendingBlock& block = mBlocks[head.queue];
            if (block.next < block.entities.size())
                placeEntity(block.entities[block.next++]);
            pushBlock(head.queue);
            break;
        }
        }
    }
    // Every table, including those the file lacked.
    for (int t = 0; t < kTableCount; ++t)
        placeTable(t);
    // Old files have no object section: a root dictionary of their own.
    if (mRootDictionary != kNone && mObjects[mRootDictionary].live)
        mDb->setRootObject(mObjects[mRootDictionary].id);
}

// ---- linking ----

VxDbObjectId Reader::idOf(uint64_t handle) const
{
    if (handle == 0)
        return VxDbObjectId();
    if (auto it = mRemap.find(handle); it != mRemap.end())
        return it->second;
    if (mFreshHandles.count(handle))
        return VxDbObjectId();  // given anew to another object: the file's one is not there
    VxDbObjectId id;
    if (mDb->getVxDbObjectId(id, false, VxDbHandle(handle)) != Velt::eOk || !id.isValid())
        return VxDbObjectId();
    return id;
}

void Reader::linkOwnership(Pending& pending, bool free)
{
    VxDbObject* object = pending.live;
    if (!object)
        return;
    if (free) {
        const VxDbObjectId owner = idOf(pending.owner);
        if (!owner.isNull() && owner != object->objectId())
            object->setOwnerId(owner);
        return;
    }
    linkExtras(object, pending.xdict, pending.reactors);
}

void Reader::linkExtras(VxDbObject* object, uint64_t xdictHandle, const std::vector<uint64_t>& reactors)
{
    // An extension dictionary must be one the object owns, or erasing the
    // object would take someone else's along.
    if (xdictHandle) {
        const VxDbObjectId xdict = idOf(xdictHandle);
        auto* dictionary = VxDbDictionary::cast(detail::objectOf(xdict));
        if (dictionary && dictionary->ownerId() == object->objectId() && xdict != mDb->namedObjectsDictionaryId())
            object->setExtensionDictionary(xdict);
        else if (dictionary)
            warn("an extension dictionary that its object does not own was left out");
    }
    for (uint64_t h : reactors) {
        const VxDbObjectId reactor = idOf(h);
        if (!reactor.isNull())
            object->addPersistentReactor(reactor);
    }
}

// Whether putting value into dictionary would make ownership go round.
static bool ownsAncestor(VxDbObject* value, VxDbObject* dictionary)
{
    VxDbObjectId at = dictionary->objectId();
    for (int steps = 0; steps < 256 && !at.isNull(); ++steps) {
        if (at == value->objectId())
            return true;
        VxDbObject* object = detail::objectOf(at);
        at = object ? object->ownerId() : VxDbObjectId();
    }
    return false;
}

void Reader::link()
{
    // Owners first: the dictionaries' entries below override them.
    for (Pending& o : mObjects)
        linkOwnership(o, true);
    for (Pending& o : mObjects)
        linkOwnership(o, false);
    for (PendingRecord& r : mRecords)
        linkOwnership(r, false);
    for (PendingTable& t : mTables)
        linkOwnership(t, false);
    for (PendingEntity& e : mEntities) {
        if (e.extra != kNone && e.live)
            linkExtras(e.live, mEntityExtras[e.extra].xdict, mEntityExtras[e.extra].reactors);
    }
    for (DictionaryEntries& d : mDictionaries) {
        auto* dictionary = VxDbDictionary::cast(mObjects[d.object].live);
        if (!dictionary)
            continue;
        for (auto& [key, handle] : d.entries) {
            VxDbObject* value = detail::objectOf(idOf(handle));
            // Only objects of the objects section belong in dictionaries.
            if (!value || VxDbEntity::cast(value) || VxDbSymbolTable::cast(value) ||
                VxDbSymbolTableRecord::cast(value) || value->objectId() == mDb->namedObjectsDictionaryId() ||
                ownsAncestor(value, dictionary)) {
                warn("a dictionary entry naming no object it may hold was left out: " + vxToUtf8(key));
                continue;
            }
            VxDbObjectId id;
            if (dictionary->setAt(key.c_str(), value, id) != Velt::eOk) {
                warn("a dictionary entry the host refuses was left out: " + vxToUtf8(key));
                continue;
            }
            if (auto* named = VxDbNamedObject::cast(value); named && named->name().empty())
                named->setName(key.c_str());
        }
    }
    // Layers of entities that were placed before their layer.
    for (PendingEntity& e : mEntities) {
        if (!e.layerPending || !e.live)
            continue;
        const uint32_t record = mLayerNames[e.layer].record;
        if (record != kNone && !mRecords[record].id.isNull())
            static_cast<VxDbEntity*>(e.live)->setLayer(mRecords[record].id, false, true);
    }
    // The block records' own data from their BLOCK entities.
    for (PendingBlock& b : mBlocks) {
        auto* record = VxDbBlockTableRecord::cast(mRecords[b.record].live);
        if (!record || !b.hasBegin)
            continue;
        record->setOrigin(b.origin);
        if (!b.description.empty())
            record->setComments(b.description.c_str());
        if ((b.flags & 4) && !b.path.empty()) {
            record->setPathName(b.path.c_str());
            record->setIsFromOverlayReference((b.flags & 8) != 0);
        }
    }
    for (auto& work : mLinks)
        work();
    mLinks.clear();
}

void Reader::closeAll()
{
    auto close = [](auto& p) {
        if (p.live) {
            p.live->close();
            p.live = nullptr;
        }
    };
    for (PendingTable& t : mTables)
        close(t);
    for (PendingRecord& r : mRecords)
        close(r);
    for (PendingEntity& e : mEntities)
        close(e);
    for (Pending& o : mObjects)
        close(o);
}

// ---- header ----

void Reader::applyHeader()
{
    static const std::string_view kWriterOwned[] = {"$ACADVER", "$ACADMAINTVER", "$HANDSEED", "$LASTSAVEDBY",
                                                     "$REQUIREDVERSIONS"};
    for (HeaderVar& hv : mHeader) {
        const Record& g = hv.groups;
        if (std::find(std::begin(kWriterOwned), std::end(kWriterOwned), hv.name) != std::end(kWriterOwned))
            continue;
        VxDbHeaderVar var;
        const std::wstring wideName = text(hv.name);
        if (!vxdbFindHeaderVar(wideName, var)) {
            std::vector<size_t> all(g.size());
            for (size_t i = 0; i < all.size(); ++i)
                all[i] = i;
            mHeaderExtras.emplace_back(hv.name, keepGroups(g, all));
            continue;
        }
        if (g.size() == 0)
            continue;
        const VxDbHeaderVarInfo& info = vxdbHeaderVarInfo(var);
        VxDbHeaderValue value;
        Velt::ErrorStatus es = Velt::eOk;
        switch (info.kind) {
        case VxDbHeaderVarInfo::kBool:
        case VxDbHeaderVarInfo::kInt16:
        case VxDbHeaderVarInfo::kInt32:
        case VxDbHeaderVarInfo::kLineWeight:
        case VxDbHeaderVarInfo::kTransparency:
            value.integer = int32_t(g.integer(0));
            if (info.kind == VxDbHeaderVarInfo::kBool)
                value.integer = value.integer != 0;
            es = mDb->setHeaderVar(var, value);
            break;
        case VxDbHeaderVarInfo::kColor: {
            int64_t index = 256, rgb = 0;
            bool hasRgb = false;
            for (size_t i = 0; i < g.size(); ++i) {
                if (g.code(i) == 62)
                    index = g.integer(i);
                else if (g.code(i) == 420) {
                    rgb = g.integer(i);
                    hasRgb = true;
                }
            }
            value.integer = int32_t(colorFrom(index, rgb, hasRgb).color());
            es = mDb->setHeaderVar(var, value);
            break;
        }
        case VxDbHeaderVarInfo::kReal:
        case VxDbHeaderVarInfo::kAngle:
            value.real[0] = g.real(0);
            es = mDb->setHeaderVar(var, value);
            break;
        case VxDbHeaderVarInfo::kPoint2d:
        case VxDbHeaderVarInfo::kPoint3d:
            for (size_t i = 0; i < g.size(); ++i) {
                const int code = g.code(i);
                if (code >= 10 && code <= 39)
                    value.real[(code / 10) - 1] = g.real(i);
            }
            es = mDb->setHeaderVar(var, value);
            break;
        case VxDbHeaderVarInfo::kString:
            value.text = text(g.value(0));
            es = mDb->setHeaderVar(var, value);
            break;
        case VxDbHeaderVarInfo::kObjectId: {
            if (g.code(0) == 390 || (g.code(0) >= 320 && g.code(0) <= 369)) {
                value.id = idOf(g.handle(0));
                es = value.id.isNull() ? Velt::eOk : mDb->setHeaderVar(var, value);
            } else {
                const std::wstring name = text(g.value(0));
                if (name.empty())
                    break;
                VxResBufPtr rb(vxutNewString(kRtStr, name));
                es = mDb->setSysVar(wideName.c_str(), rb.get());
            }
            break;
        }
        }
        if (es != Velt::eOk)
            warn("the header variable " + hv.name + " was left at its default: " + Velt::statusName(es));
    }
}

}  // namespace

namespace {

Velt::ErrorStatus Reader::run()
{
    const size_t slots = mDb->objectSlotCount();
    if (slots > 1)
        return Velt::eInvalidInput;
    mInfo.binary = mIn.isBinary();

    // What kind of file this is, before anything else.
    {
        GroupReader probe = mIn;
        bool blank = true;
        if (!probe.isBinary()) {
            std::string_view data;
            (void)data;
        }
        if (!probe.next()) {
            if (probe.failed() || !probe.atEnd())
                blank = false;
            mInfo.message = blank ? "the file is empty" : "not a drawing exchange file";
            return Velt::eBadFileFormat;
        }
        const bool looksRight = (probe.code() == 0 && probe.trimmedValue() == "SECTION") || probe.code() == 999;
        if (!looksRight) {
            mInfo.message = "not a drawing exchange file";
            return Velt::eBadFileFormat;
        }
    }

    bool sawSection = false;
    bool sawEof = false;
    std::string section;
    while (!sawEof) {
        if (!expectSectionStart(section)) {
            if (mIn.failed())
                break;
            break;  // the data ends without EOF
        }
        if (section == "EOF") {
            sawEof = true;
            break;
        }
        sawSection = true;
        bool ok = true;
        if (section == "HEADER")
            ok = readHeader();
        else if (section == "CLASSES")
            ok = readClasses();
        else if (section == "TABLES")
            ok = readTables();
        else if (section == "BLOCKS")
            ok = readBlocks();
        else if (section == "ENTITIES")
            ok = readEntities();
        else if (section == "OBJECTS")
            ok = readObjects();
        else
            ok = skipSection();
        if (!ok)
            break;
    }
    if (mIn.failed()) {
        mInfo.position = mIn.position();
        mInfo.message = mIn.message();
        return mIn.status();
    }
    if (!sawSection) {
        mInfo.message = "no section in the file";
        return Velt::eBadFileFormat;
    }
    if (!sawEof)
        warn("the file has no EOF record");

    assignMissingHandles();
    place();
    link();
    applyHeader();
    dxf::completeDrawing(mDb);
    const uint64_t seed = std::min(std::max(mFileHandseed, mMaxHandle + 1), kLastFileHandle + 1);
    if (seed > mDb->handseed().value())
        mDb->setHandseed(VxDbHandle(seed));
    closeAll();

    // Extended data of applications the file did not register was taken in
    // before the objects were resident: register them, or the drawing would
    // be written with data that names no application.
    std::unordered_set<std::wstring, VxNoCaseHash, VxNoCaseEqual> apps;
    for (size_t slot = 1; mXDataRead && slot < mDb->objectSlotCount(); ++slot) {
        const VxDbObject* object = detail::objectOf(mDb->objectIdAtSlot(slot));
        for (const VxResBuf* rb = object ? object->xDataChain() : nullptr; rb; rb = rb->rbnext) {
            if (rb->restype == 1001 && rb->resval.rstring && apps.insert(rb->resval.rstring).second &&
                vxdbRegApp(rb->resval.rstring, mDb) != Velt::eOk)
                warn("an application of extended data could not be registered: " + vxToUtf8(rb->resval.rstring));
        }
    }

    if (!mHeaderExtras.empty() || !mResidues.empty()) {
        dxf::SideData& side = dxf::sideDataFor(mDb);
        side.headerExtras = std::move(mHeaderExtras);
        side.residues = std::move(mResidues);
    }
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus vxdbReadDxf(VxDbDatabase* database, std::string_view data, VxDbDxfReadInfo* info)
{
    VxDbDxfReadInfo local;
    VxDbDxfReadInfo& out = info ? *info : local;
    out = VxDbDxfReadInfo();
    if (!database)
        return Velt::eNoDatabase;
    Reader reader(database, data, out);
    return reader.run();
}

}  // namespace kx
