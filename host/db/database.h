#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "db/color.h"
#include "db/filedeps.h"
#include "db/headervars.h"
#include "db/object.h"
#include "ge/matrix.h"
#include "ge/point.h"

namespace kx {

class VxDbIdMapping;
class VxDbDatabaseSummaryInfo;

namespace detail {

// Where an object lives: its object (null while only its handle is known or
// after it was deleted), its handle and its erase state. The state sits in the
// low bits of the object's address (objects are at least 8-byte aligned): a
// drawing has a stub per object, and 16 bytes keep them cheap.
struct Stub {
    VxDbObject* object() const { return reinterpret_cast<VxDbObject*>(bits & ~kFlagBits); }
    void setObject(VxDbObject* object) { bits = reinterpret_cast<uintptr_t>(object) | (bits & kFlagBits); }
    uint32_t flags() const { return uint32_t(bits & kFlagBits); }
    void addFlags(uint32_t flags) { bits |= uintptr_t(flags) & kFlagBits; }
    void clearFlags(uint32_t flags) { bits &= ~(uintptr_t(flags) & kFlagBits); }

    static constexpr uintptr_t kFlagBits = 7;
    uintptr_t bits = 0;
    uint64_t handle = 0;
};
static_assert(sizeof(Stub) == 16);
enum : uint32_t { kStubErased = 1, kStubPermanentlyErased = 2 };

Stub* stubOf(VxDbObjectId id);
VxDbDatabase* databaseOf(uint64_t idValue);
// Where the link manager records the automation wrapper of the object behind an id; kept
// beside the stubs, since few objects of a drawing ever have one. Null when the id names no
// slot, or (without create) when no object near it has a wrapper.
void** wrapperSlotOf(VxDbObjectId id, bool create);

}  // namespace detail

// One drawing: its objects, symbol tables, dictionaries and header
// variables. It owns every object appended to it and deletes them with
// itself.
class VxDbDatabase : public VxRxObject {
    VX_RX_DECLARE_MEMBERS(VxDbDatabase)
public:
    // With buildDefaultDrawing the database gets a new drawing's contents
    // (tables with their standard records, the named-object dictionary,
    // layouts); without it, it is empty for a reader to fill.
    explicit VxDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
    ~VxDbDatabase() override;
    VxDbDatabase(const VxDbDatabase&) = delete;
    VxDbDatabase& operator=(const VxDbDatabase&) = delete;

    // ---- objects and handles ----
    // Makes a not yet resident object resident with the next handle. The
    // object stays open for write for its maker, who closes it.
    Velt::ErrorStatus addVxDbObject(VxDbObjectId& id, VxDbObject* object);
    Velt::ErrorStatus addVxDbObject(VxDbObject* object);
    // The same with a given handle (drawing readers); eHandleInUse when taken.
    Velt::ErrorStatus addVxDbObjectWithHandle(VxDbObjectId& id, VxDbObject* object, VxDbHandle handle);
    // The id of a handle; with createIfNotFound a placeholder id is made that
    // a later addVxDbObjectWithHandle fills.
    Velt::ErrorStatus getVxDbObjectId(VxDbObjectId& id, bool createIfNotFound, const VxDbHandle& handle);
    // The next handle to be given out; it only moves forward.
    VxDbHandle handseed() const { return VxDbHandle(mHandseed); }
    Velt::ErrorStatus setHandseed(const VxDbHandle& seed);
    // Every slot in order of creation, for writers and checks; a slot may
    // hold an erased object or a placeholder.
    size_t objectSlotCount() const { return mStubCount; }
    VxDbObjectId objectIdAtSlot(size_t slot) const;
    // True when a live object other than the ones owning it holds a pointer
    // reference to the id.
    bool isReferenced(VxDbObjectId id) const;

    // ---- the well-known objects ----
    VxDbObjectId blockTableId() const { return mBlockTable; }
    VxDbObjectId layerTableId() const { return mLayerTable; }
    VxDbObjectId linetypeTableId() const { return mLinetypeTable; }
    VxDbObjectId textStyleTableId() const { return mTextStyleTable; }
    VxDbObjectId dimStyleTableId() const { return mDimStyleTable; }
    VxDbObjectId UCSTableId() const { return mUcsTable; }
    VxDbObjectId viewTableId() const { return mViewTable; }
    VxDbObjectId viewportTableId() const { return mViewportTable; }
    VxDbObjectId regAppTableId() const { return mRegAppTable; }
    VxDbObjectId namedObjectsDictionaryId() const { return mNamedObjectsDictionary; }
    VxDbObjectId groupDictionaryId() const;
    VxDbObjectId layoutDictionaryId() const;
    VxDbObjectId plotSettingsDictionaryId() const;
    VxDbObjectId plotStyleNameDictionaryId() const;
    VxDbObjectId materialDictionaryId() const;
    VxDbObjectId mLStyleDictionaryId() const;
    VxDbObjectId tableStyleDictionaryId() const;
    VxDbObjectId mleaderStyleDictionaryId() const;
    VxDbObjectId imageDictionaryId() const;
    // A named dictionary of the named-object dictionary, made when missing
    // and create is true.
    VxDbObjectId namedDictionaryId(const wchar_t* key, bool create = false);
    VxDbObjectId modelSpaceId() const;
    // The block of the current paper-space layout.
    VxDbObjectId paperSpaceId() const;
    VxDbObjectId layerZero() const { return mLayerZero; }
    VxDbObjectId byLayerLinetype() const { return mByLayerLinetype; }
    VxDbObjectId byBlockLinetype() const { return mByBlockLinetype; }
    VxDbObjectId continuousLinetype() const { return mContinuousLinetype; }
    VxDbObjectId byLayerMaterialId() const;
    VxDbObjectId byBlockMaterialId() const;
    VxDbObjectId globalMaterialId() const;
    // The id of the table that holds records of the given class.
    VxDbObjectId tableIdForRecordClass(const VxRxClass* recordClass) const;
    // For readers that build a drawing from a file: makes a resident symbol
    // table (by its class) or the named-object dictionary a root of the
    // database.
    Velt::ErrorStatus setRootObject(VxDbObjectId id);
    // Records by name; a null id when there is none.
    VxDbObjectId layerId(const wchar_t* name) const;
    VxDbObjectId linetypeId(const wchar_t* name) const;
    VxDbObjectId textStyleId(const wchar_t* name) const;
    VxDbObjectId blockId(const wchar_t* name) const;

    // ---- header variables ----
    Velt::ErrorStatus getHeaderVar(VxDbHeaderVar var, VxDbHeaderValue& value) const;
    Velt::ErrorStatus setHeaderVar(VxDbHeaderVar var, const VxDbHeaderValue& value);
    // The same by name ("TEXTSIZE" or "$TEXTSIZE"), as a result buffer.
    Velt::ErrorStatus getSysVar(const wchar_t* name, VxResBuf*& value) const;
    Velt::ErrorStatus setSysVar(const wchar_t* name, const VxResBuf* value);

    bool tilemode() const { return headerBool(VxDbHeaderVar::kTileMode); }
    Velt::ErrorStatus setTilemode(bool value) { return setHeaderInt(VxDbHeaderVar::kTileMode, value); }
    VxGePoint3d ucsorg() const { return headerPoint(VxDbHeaderVar::kUcsOrg); }
    VxGeVector3d ucsxdir() const { return headerPoint(VxDbHeaderVar::kUcsXDir).asVector(); }
    VxGeVector3d ucsydir() const { return headerPoint(VxDbHeaderVar::kUcsYDir).asVector(); }
    VxGePoint3d pucsorg() const { return headerPoint(VxDbHeaderVar::kPUcsOrg); }
    VxGeVector3d pucsxdir() const { return headerPoint(VxDbHeaderVar::kPUcsXDir).asVector(); }
    VxGeVector3d pucsydir() const { return headerPoint(VxDbHeaderVar::kPUcsYDir).asVector(); }
    // Sets origin and axes together; the axes must be non-zero and not parallel.
    Velt::ErrorStatus setUcs(const VxGePoint3d& origin, const VxGeVector3d& xDir, const VxGeVector3d& yDir);
    Velt::ErrorStatus setPucs(const VxGePoint3d& origin, const VxGeVector3d& xDir, const VxGeVector3d& yDir);
    // The current coordinate system as a matrix (model UCS when tile mode is
    // on, else paper UCS): columns are the unit axes, z = x cross y.
    VxGeMatrix3d currentUcsMatrix() const;
    double elevation() const { return headerReal(VxDbHeaderVar::kElevation); }
    Velt::ErrorStatus setElevation(double value) { return setHeaderReal(VxDbHeaderVar::kElevation, value); }
    double pelevation() const { return headerReal(VxDbHeaderVar::kPElevation); }
    Velt::ErrorStatus setPelevation(double value) { return setHeaderReal(VxDbHeaderVar::kPElevation, value); }
    VxGePoint2d limmin() const { return headerPoint2d(VxDbHeaderVar::kLimMin); }
    VxGePoint2d limmax() const { return headerPoint2d(VxDbHeaderVar::kLimMax); }
    Velt::ErrorStatus setLimmin(const VxGePoint2d& p) { return setHeaderVar(VxDbHeaderVar::kLimMin, VxDbHeaderValue::ofPoint(p)); }
    Velt::ErrorStatus setLimmax(const VxGePoint2d& p) { return setHeaderVar(VxDbHeaderVar::kLimMax, VxDbHeaderValue::ofPoint(p)); }
    VxGePoint2d plimmin() const { return headerPoint2d(VxDbHeaderVar::kPLimMin); }
    VxGePoint2d plimmax() const { return headerPoint2d(VxDbHeaderVar::kPLimMax); }
    VxGePoint3d insbase() const { return headerPoint(VxDbHeaderVar::kInsBase); }
    Velt::ErrorStatus setInsbase(const VxGePoint3d& p) { return setHeaderVar(VxDbHeaderVar::kInsBase, VxDbHeaderValue::ofPoint(p)); }
    VxGePoint3d extmin() const { return headerPoint(VxDbHeaderVar::kExtMin); }
    VxGePoint3d extmax() const { return headerPoint(VxDbHeaderVar::kExtMax); }
    // Recomputes EXTMIN and EXTMAX from model space.
    Velt::ErrorStatus updateExt();
    double textsize() const { return headerReal(VxDbHeaderVar::kTextSize); }
    Velt::ErrorStatus setTextsize(double value) { return setHeaderReal(VxDbHeaderVar::kTextSize, value); }
    VxDbObjectId textstyle() const { return headerId(VxDbHeaderVar::kTextStyle); }
    Velt::ErrorStatus setTextstyle(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kTextStyle, VxDbHeaderValue::ofId(id)); }
    VxDbObjectId clayer() const { return headerId(VxDbHeaderVar::kCLayer); }
    Velt::ErrorStatus setClayer(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kCLayer, VxDbHeaderValue::ofId(id)); }
    VxDbObjectId celtype() const { return headerId(VxDbHeaderVar::kCELType); }
    Velt::ErrorStatus setCeltype(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kCELType, VxDbHeaderValue::ofId(id)); }
    VxCmColor cecolor() const;
    Velt::ErrorStatus setCecolor(const VxCmColor& color);
    double celtscale() const { return headerReal(VxDbHeaderVar::kCELTScale); }
    Velt::ErrorStatus setCeltscale(double value) { return setHeaderReal(VxDbHeaderVar::kCELTScale, value); }
    double ltscale() const { return headerReal(VxDbHeaderVar::kLtScale); }
    Velt::ErrorStatus setLtscale(double value) { return setHeaderReal(VxDbHeaderVar::kLtScale, value); }
    VxDb::LineWeight celweight() const { return static_cast<VxDb::LineWeight>(headerInt(VxDbHeaderVar::kCELWeight)); }
    Velt::ErrorStatus setCelweight(VxDb::LineWeight value) { return setHeaderInt(VxDbHeaderVar::kCELWeight, value); }
    VxCmTransparency cetransparency() const;
    Velt::ErrorStatus setCetransparency(const VxCmTransparency& value);
    VxDb::PlotStyleNameType getCePlotStyleNameId(VxDbObjectId& id) const;
    Velt::ErrorStatus setCePlotStyleName(VxDb::PlotStyleNameType type, VxDbObjectId id = VxDbObjectId::kNull);
    VxDbObjectId dimstyle() const { return headerId(VxDbHeaderVar::kDimStyle); }
    Velt::ErrorStatus setDimstyle(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kDimStyle, VxDbHeaderValue::ofId(id)); }
    VxDbObjectId cmlstyleID() const { return headerId(VxDbHeaderVar::kCMLStyle); }
    Velt::ErrorStatus setCmlstyleID(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kCMLStyle, VxDbHeaderValue::ofId(id)); }
    VxDbObjectId tablestyle() const { return headerId(VxDbHeaderVar::kCTableStyle); }
    Velt::ErrorStatus setTablestyle(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kCTableStyle, VxDbHeaderValue::ofId(id)); }
    VxDbObjectId mleaderstyle() const { return headerId(VxDbHeaderVar::kCMLeaderStyle); }
    Velt::ErrorStatus setMLeaderstyle(VxDbObjectId id) { return setHeaderVar(VxDbHeaderVar::kCMLeaderStyle, VxDbHeaderValue::ofId(id)); }
    bool fillmode() const { return headerBool(VxDbHeaderVar::kFillMode); }
    Velt::ErrorStatus setFillmode(bool value) { return setHeaderInt(VxDbHeaderVar::kFillMode, value); }
    int16_t isolines() const { return int16_t(headerInt(VxDbHeaderVar::kIsolines)); }
    Velt::ErrorStatus setIsolines(int16_t value) { return setHeaderInt(VxDbHeaderVar::kIsolines, value); }
    double facetres() const { return headerReal(VxDbHeaderVar::kFacetRes); }
    Velt::ErrorStatus setFacetres(double value) { return setHeaderReal(VxDbHeaderVar::kFacetRes, value); }
    int16_t splinesegs() const { return int16_t(headerInt(VxDbHeaderVar::kSplineSegs)); }
    Velt::ErrorStatus setSplinesegs(int16_t value) { return setHeaderInt(VxDbHeaderVar::kSplineSegs, value); }
    bool qtextmode() const { return headerBool(VxDbHeaderVar::kQTextMode); }
    Velt::ErrorStatus setQtextmode(bool value) { return setHeaderInt(VxDbHeaderVar::kQTextMode, value); }
    int16_t maxactvp() const { return int16_t(headerInt(VxDbHeaderVar::kMaxActVP)); }
    Velt::ErrorStatus setMaxactvp(int16_t value) { return setHeaderInt(VxDbHeaderVar::kMaxActVP, value); }
    bool dispSilh() const { return headerBool(VxDbHeaderVar::kDispSilh); }
    Velt::ErrorStatus setDispSilh(bool value) { return setHeaderInt(VxDbHeaderVar::kDispSilh, value); }
    bool lineWeightDisplay() const { return headerBool(VxDbHeaderVar::kLwDisplay); }
    Velt::ErrorStatus setLineWeightDisplay(bool value) { return setHeaderInt(VxDbHeaderVar::kLwDisplay, value); }
    uint8_t sortEnts() const { return uint8_t(headerInt(VxDbHeaderVar::kSortEnts)); }
    Velt::ErrorStatus setSortEnts(uint8_t value) { return setHeaderInt(VxDbHeaderVar::kSortEnts, value); }
    // One bit of the object-sort flags.
    bool sortEntsFlag(uint8_t bit) const { return (sortEnts() & bit) != 0; }
    Velt::ErrorStatus setSortEntsFlag(uint8_t bit, bool on)
    {
        return setSortEnts(on ? uint8_t(sortEnts() | bit) : uint8_t(sortEnts() & ~bit));
    }
    bool xrefEditEnabled() const { return headerBool(VxDbHeaderVar::kXEdit); }
    Velt::ErrorStatus setXrefEditEnabled(bool value) { return setHeaderInt(VxDbHeaderVar::kXEdit, value); }
    bool visretain() const { return headerBool(VxDbHeaderVar::kVisRetain); }
    Velt::ErrorStatus setVisretain(bool value) { return setHeaderInt(VxDbHeaderVar::kVisRetain, value); }
    bool oleStartUp() const { return headerBool(VxDbHeaderVar::kOleStartup); }
    Velt::ErrorStatus setOleStartUp(bool value) { return setHeaderInt(VxDbHeaderVar::kOleStartup, value); }
    bool extnames() const { return headerBool(VxDbHeaderVar::kExtNames); }
    Velt::ErrorStatus setExtnames(bool value) { return setHeaderInt(VxDbHeaderVar::kExtNames, value); }
    VxDb::MeasurementValue measurement() const { return static_cast<VxDb::MeasurementValue>(headerInt(VxDbHeaderVar::kMeasurement)); }
    Velt::ErrorStatus setMeasurement(VxDb::MeasurementValue value) { return setHeaderInt(VxDbHeaderVar::kMeasurement, value); }
    VxDb::UnitsValue insunits() const { return static_cast<VxDb::UnitsValue>(headerInt(VxDbHeaderVar::kInsUnits)); }
    Velt::ErrorStatus setInsunits(VxDb::UnitsValue value) { return setHeaderInt(VxDbHeaderVar::kInsUnits, value); }
    int16_t pdmode() const { return int16_t(headerInt(VxDbHeaderVar::kPDMode)); }
    Velt::ErrorStatus setPdmode(int16_t value) { return setHeaderInt(VxDbHeaderVar::kPDMode, value); }
    double pdsize() const { return headerReal(VxDbHeaderVar::kPDSize); }
    Velt::ErrorStatus setPdsize(double value) { return setHeaderReal(VxDbHeaderVar::kPDSize, value); }
    double thickness() const { return headerReal(VxDbHeaderVar::kThickness); }
    Velt::ErrorStatus setThickness(double value) { return setHeaderReal(VxDbHeaderVar::kThickness, value); }
    bool plotStyleMode() const { return headerBool(VxDbHeaderVar::kPStyleMode); }  // true: colour dependent
    int16_t lunits() const { return int16_t(headerInt(VxDbHeaderVar::kLUnits)); }
    int16_t luprec() const { return int16_t(headerInt(VxDbHeaderVar::kLUPrec)); }
    int16_t aunits() const { return int16_t(headerInt(VxDbHeaderVar::kAUnits)); }
    int16_t auprec() const { return int16_t(headerInt(VxDbHeaderVar::kAUPrec)); }
    double angbase() const { return headerReal(VxDbHeaderVar::kAngBase); }
    bool angdir() const { return headerBool(VxDbHeaderVar::kAngDir); }
    double plinewid() const { return headerReal(VxDbHeaderVar::kPLineWid); }

    // Typed access for the variables without an accessor of their own.
    int32_t headerInt(VxDbHeaderVar var) const;
    bool headerBool(VxDbHeaderVar var) const { return headerInt(var) != 0; }
    double headerReal(VxDbHeaderVar var) const;
    VxGePoint3d headerPoint(VxDbHeaderVar var) const;
    VxGePoint2d headerPoint2d(VxDbHeaderVar var) const;
    VxDbObjectId headerId(VxDbHeaderVar var) const;
    const std::wstring& headerText(VxDbHeaderVar var) const;
    Velt::ErrorStatus setHeaderInt(VxDbHeaderVar var, int32_t value);
    Velt::ErrorStatus setHeaderReal(VxDbHeaderVar var, double value);

    // ---- file, summary and document ----
    const std::wstring& filename() const { return mFilename; }
    void setFilename(const std::wstring& name) { mFilename = name; }
    bool hasDocument() const { return !mNoDocument; }
    VxDbDatabaseSummaryInfo& summaryInfoStorage() { return *mSummaryInfo; }
    const VxDbDatabaseSummaryInfo& summaryInfoStorage() const { return *mSummaryInfo; }
    // An id that names this drawing and no object: it resolves to the drawing while the
    // drawing lives, and to nothing after.
    VxDbObjectId drawingId() const { return VxDbObjectId(packSlot(0)); }
    // How many document locks are held on this drawing (kept by VxAxDocLock).
    std::atomic<int>& documentLockDepth() { return mDocumentLockDepth; }
    // Clears the link manager's wrapper records of this database's objects; how many there were.
    size_t clearWrapperRecords();
    // The files the drawing depends on.
    VxDbFileDependencyManager& fileDependencyManager() { return *mFileDependencies; }

    // ---- cloning ----
    // Copies objects of this database to an owner in this database, with
    // everything they own; references among the copies point to the copies.
    Velt::ErrorStatus deepCloneObjects(const VxDbObjectIdArray& objectIds, VxDbObjectId owner, VxDbIdMapping& idMap,
                                       bool deferXlation = false);
    // Copies objects of this database to an owner in another, bringing along
    // the records they refer to (layers, linetypes, styles ...); a record whose
    // name the destination has is handled as duplicateRecordCloning says.
    Velt::ErrorStatus wblockCloneObjects(const VxDbObjectIdArray& objectIds, VxDbObjectId owner, VxDbIdMapping& idMap,
                                         VxDb::DuplicateRecordCloning duplicateRecordCloning,
                                         bool deferXlation = false);
    // Makes a block of this database named blockName from the model space of
    // the source database.
    Velt::ErrorStatus insert(VxDbObjectId& blockId, const wchar_t* blockName, VxDbDatabase* source,
                             bool preserveSourceDatabase = true);

    // ---- linetypes ----
    // Loads one linetype (or with "*" every one) from a linetype file found
    // by vxedFindFile; eDuplicateRecordName when it is already there.
    Velt::ErrorStatus loadLineTypeFile(const wchar_t* linetypeName, const wchar_t* filename);

private:
    friend class VxDbObject;
    friend struct DatabaseAccess;
    friend VxDbDatabase* detail::databaseOf(uint64_t);
    friend detail::Stub* detail::stubOf(VxDbObjectId);
    friend void** detail::wrapperSlotOf(VxDbObjectId, bool);

    detail::Stub* stubAt(uint64_t slot) const
    {
        if (slot == 0 || slot >= mStubCount)
            return nullptr;
        return &mStubChunks[slot >> kChunkBits][slot & kChunkMask];
    }
    uint64_t packSlot(uint64_t slot) const;
    Velt::ErrorStatus makeResident(VxDbObjectId& id, VxDbObject* object, uint64_t handle);
    uint64_t newStub(uint64_t handle);
    void indexHandle(uint64_t handle, uint64_t slot);
    uint64_t findHandle(uint64_t handle) const;
    void initHeader();
    void buildDefaultDrawing();
    void refreshWellKnownRecords();

    static constexpr unsigned kChunkBits = 12;
    static constexpr uint64_t kChunkMask = (uint64_t(1) << kChunkBits) - 1;

    uint32_t mSerial = 0;
    uint32_t mGeneration = 0;
    bool mNoDocument = false;
    bool mTearingDown = false;
    std::vector<std::unique_ptr<detail::Stub[]>> mStubChunks;
    std::vector<std::unique_ptr<void*[]>> mWrapperChunks;  // by stub chunk, made on the first wrapper
    uint64_t mStubCount = 1;  // slot 0 is never used
    // Handles to slots: runs of consecutive handles in consecutive slots, in handle order, and
    // the handles no run takes in a table (open addressing: slot numbers, 0 empty).
    struct HandleRun {
        uint64_t handle;
        uint32_t slot;
        uint32_t count;
    };
    std::vector<HandleRun> mHandleRuns;
    std::vector<uint32_t> mHandleIndex;
    uint64_t mHandleCount = 0;
    uint64_t mHandseed = 1;

    VxDbObjectId mBlockTable, mLayerTable, mLinetypeTable, mTextStyleTable, mDimStyleTable, mUcsTable,
        mViewTable, mViewportTable, mRegAppTable, mNamedObjectsDictionary;
    VxDbObjectId mLayerZero, mByLayerLinetype, mByBlockLinetype, mContinuousLinetype;

    // Every new entity asks for it: kept while it stays live.
    mutable VxDbObjectId mByLayerMaterialCache;

    std::array<VxDbHeaderValue, size_t(VxDbHeaderVar::kCount)> mHeader;
    std::wstring mFilename;
    std::unique_ptr<VxDbDatabaseSummaryInfo> mSummaryInfo;
    std::unique_ptr<VxDbFileDependencyManager> mFileDependencies;
    std::atomic<int> mDocumentLockDepth{0};
};

// Extended names (EXTNAMES) of a database.
bool vxdbGetExtnames(const VxDbDatabase* database);
Velt::ErrorStatus vxdbSetExtnames(VxDbDatabase* database, bool value);

// The host's reserved words: 0 "ByLayer", 1 "ByBlock", 2 "None",
// 3 "Continuous", 4 "Standard", 5 "Normal", 6 "Default", 7 "Model", 8 "Global".
const wchar_t* vxdbGetReservedString(int index, bool localized = true);

}  // namespace kx
