#pragma once

#include <array>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "db/color.h"
#include "db/object.h"
#include "db/strings.h"
#include "ge/matrix.h"
#include "ge/point.h"

namespace kx {

class VxDbSymbolTableRecord;

namespace detail {
// Renames a record and its index entry without the checks of setName: the
// host's own upkeep (layout blocks trading the name "*Paper_Space").
void forceRename(VxDbSymbolTableRecord* record, const std::wstring& name);
}  // namespace detail

// Walks a list of ids held by a container object (a table's records, a
// block's entities), skipping erased ones if asked. It holds the
// container's id, not a pointer, so it stays usable while the container is
// closed and changes.
class VxDbIdListIterator {
public:
    virtual ~VxDbIdListIterator() = default;
    void start(bool atBeginning = true, bool skipErased = true);
    bool done() const;
    void step(bool forward = true, bool skipErased = true);
    // Positions the iterator on the given id; eKeyNotFound when absent.
    Velt::ErrorStatus seek(VxDbObjectId id);
    VxDbObjectId currentId() const;
    // Up to `count` ids from the current one on, erased ones passed over, and the iterator
    // moved past them: one look at the container's list for the lot. Answers how many.
    size_t nextIds(VxDbObjectId* ids, size_t count, bool skipErased = true);

protected:
    using ListAccess = const std::vector<VxDbObjectId>* (*)(VxDbObjectId container);
    VxDbIdListIterator(VxDbObjectId container, ListAccess access) : mContainer(container), mAccess(access) {}
    const std::vector<VxDbObjectId>* list() const { return mAccess(mContainer); }
    bool isLive(const std::vector<VxDbObjectId>& ids, ptrdiff_t index) const;

    VxDbObjectId mContainer;
    ListAccess mAccess;
    ptrdiff_t mIndex = 0;
};

class VxDbSymbolTableIterator : public VxDbIdListIterator {
public:
    explicit VxDbSymbolTableIterator(VxDbObjectId table);
    Velt::ErrorStatus getRecordId(VxDbObjectId& id) const;
    Velt::ErrorStatus getRecord(VxDbSymbolTableRecord*& record, VxDb::OpenMode mode = VxDb::kForRead,
                                bool openErased = false) const;
};

// A table of named records. Names compare without regard to case; erased
// records keep their place but are not found by name and are skipped by
// iterators.
class VxDbSymbolTable : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbSymbolTable)
public:
    Velt::ErrorStatus getAt(const wchar_t* name, VxDbObjectId& id, bool getErasedRecord = false) const;
    template <class T>
    Velt::ErrorStatus getAt(const wchar_t* name, T*& record, VxDb::OpenMode mode, bool openErased = false) const
    {
        record = nullptr;
        VxDbObjectId id;
        if (Velt::ErrorStatus es = getAt(name, id, openErased))
            return es;
        return vxdbOpenObject(record, id, mode, openErased);
    }
    VxDbObjectId getIdAt(const wchar_t* name) const;
    bool has(const wchar_t* name) const;
    bool has(VxDbObjectId id) const;
    // Appends a new record (the table open for write); the record stays open
    // for write for the caller. eDuplicateRecordName when the name is taken,
    // eInvalidSymbolName for a bad name, eWrongObjectType for another kind.
    Velt::ErrorStatus add(VxDbObjectId& id, VxDbSymbolTableRecord* record);
    Velt::ErrorStatus add(VxDbSymbolTableRecord* record);
    Velt::ErrorStatus newIterator(std::unique_ptr<VxDbSymbolTableIterator>& iterator, bool atBeginning = true,
                                  bool skipErased = true) const;
    // Records that are not erased.
    size_t numRecords() const;
    // Every record in order, erased ones included.
    const std::vector<VxDbObjectId>& recordIds() const { return mRecords; }
    // The class of the records this table holds.
    virtual const VxRxClass* recordClass() const = 0;

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    virtual bool allowsDuplicateNames() const { return false; }
    // A last look at a record's name before it is added.
    virtual void prepareName(VxDbSymbolTableRecord* record) const {}

private:
    friend class VxDbSymbolTableRecord;
    friend void detail::forceRename(VxDbSymbolTableRecord*, const std::wstring&);
    Velt::ErrorStatus indexRename(const VxDbSymbolTableRecord* record, const std::wstring& oldName,
                                  const std::wstring& newName);
    void indexRemove(const VxDbSymbolTableRecord* record);
    Velt::ErrorStatus indexAdd(const VxDbSymbolTableRecord* record);
    VxDbObjectId findByScan(std::wstring_view name, bool erased) const;

    std::vector<VxDbObjectId> mRecords;
    std::unordered_map<std::wstring, VxDbObjectId, VxNoCaseHash, VxNoCaseEqual> mIndex;
};

class VxDbSymbolTableRecord : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbSymbolTableRecord)
public:
    const std::wstring& name() const { return mName; }
    Velt::ErrorStatus getName(std::wstring& name) const;
    Velt::ErrorStatus setName(const wchar_t* name);
    // Dependent records come from an external reference: "xref|name".
    bool isDependent() const { return mName.find(L'|') != std::wstring::npos; }
    bool isResolved() const { return mResolved; }
    void setIsResolved(bool value) { mResolved = value; }
    // Whether a name is acceptable for this kind of record.
    virtual bool isValidName(std::wstring_view name) const;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    Velt::ErrorStatus subErase(bool erasing) override;
    // Records the drawing cannot do without refuse erasing and renaming.
    virtual bool isBuiltIn() const { return false; }
    // The status to refuse erasing a record that something refers to.
    virtual Velt::ErrorStatus referencedStatus() const { return Velt::eObjectIsReferenced; }
    void setNameUnchecked(std::wstring name) { mName = std::move(name); }

private:
    friend void detail::forceRename(VxDbSymbolTableRecord*, const std::wstring&);
    std::wstring mName;
    bool mResolved = true;
};

// ---- layers ----

class VxDbLayerTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbLayerTableRecord)
public:
    VxDbLayerTableRecord();

    VxCmColor color() const { return mColor; }
    // Layers take an index or a true colour, never by layer or by block.
    Velt::ErrorStatus setColor(const VxCmColor& color);
    int16_t colorIndex() const { return mColor.colorIndex(); }
    Velt::ErrorStatus setColorIndex(int16_t index);
    bool isFrozen() const { return mFrozen; }
    Velt::ErrorStatus setIsFrozen(bool value);
    bool isOff() const { return mOff; }
    Velt::ErrorStatus setIsOff(bool value);
    bool isLocked() const { return mLocked; }
    Velt::ErrorStatus setIsLocked(bool value);
    bool isPlottable() const { return mPlottable; }
    Velt::ErrorStatus setIsPlottable(bool value);
    // Frozen in new viewports.
    bool VPDFLT() const { return mFrozenInNewViewports; }
    Velt::ErrorStatus setVPDFLT(bool value);
    bool isHidden() const { return mHidden; }
    Velt::ErrorStatus setIsHidden(bool value);
    VxDbObjectId linetypeObjectId() const { return mLinetype; }
    Velt::ErrorStatus setLinetypeObjectId(VxDbObjectId id);
    VxDb::LineWeight lineWeight() const { return mLineWeight; }
    Velt::ErrorStatus setLineWeight(VxDb::LineWeight weight);
    const std::wstring& plotStyleName() const { return mPlotStyleName; }
    Velt::ErrorStatus setPlotStyleName(const wchar_t* name);
    const std::wstring& description() const { return mDescription; }
    Velt::ErrorStatus setDescription(const wchar_t* text);
    VxDbObjectId materialId() const { return mMaterial; }
    Velt::ErrorStatus setMaterialId(VxDbObjectId id);
    VxCmTransparency transparency() const { return mTransparency; }
    Velt::ErrorStatus setTransparency(const VxCmTransparency& value);
    // Whether entities use the layer; known after the layer table's
    // generateUsageData, true before.
    bool isInUse() const { return mInUse; }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    bool isBuiltIn() const override;

private:
    friend class VxDbLayerTable;
    VxCmColor mColor = VxCmColor::fromIndex(7);
    VxDbObjectId mLinetype;
    VxDbObjectId mMaterial;
    std::wstring mPlotStyleName = L"Normal";
    std::wstring mDescription;
    VxCmTransparency mTransparency{255};
    VxDb::LineWeight mLineWeight = VxDb::kLnWtByLwDefault;
    bool mFrozen = false;
    bool mOff = false;
    bool mLocked = false;
    bool mPlottable = true;
    bool mFrozenInNewViewports = false;
    bool mHidden = false;
    bool mInUse = true;
};

class VxDbLayerTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbLayerTable)
public:
    const VxRxClass* recordClass() const override;
    // Marks each layer used or not by the entities of the drawing.
    Velt::ErrorStatus generateUsageData();
};

// ---- linetypes ----

class VxDbLinetypeTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbLinetypeTableRecord)
public:
    static constexpr int kMaxDashes = 12;

    const std::wstring& comments() const { return mComments; }
    Velt::ErrorStatus setComments(const wchar_t* text);
    double patternLength() const { return mPatternLength; }
    Velt::ErrorStatus setPatternLength(double length);
    bool isScaledToFit() const { return mScaledToFit; }
    Velt::ErrorStatus setIsScaledToFit(bool value);
    int numDashes() const { return int(mDashes.size()); }
    Velt::ErrorStatus setNumDashes(int count);
    // Positive: a dash; negative: a gap; zero: a dot.
    double dashLengthAt(int index) const;
    Velt::ErrorStatus setDashLengthAt(int index, double length);
    // A shape or text in a dash: its style, shape number or text, offset,
    // scale and rotation (absolute or relative to the line).
    VxDbObjectId shapeStyleAt(int index) const;
    Velt::ErrorStatus setShapeStyleAt(int index, VxDbObjectId styleId);
    int shapeNumberAt(int index) const;
    Velt::ErrorStatus setShapeNumberAt(int index, int number);
    VxGeVector2d shapeOffsetAt(int index) const;
    Velt::ErrorStatus setShapeOffsetAt(int index, const VxGeVector2d& offset);
    double shapeScaleAt(int index) const;
    Velt::ErrorStatus setShapeScaleAt(int index, double scale);
    double shapeRotationAt(int index) const;
    Velt::ErrorStatus setShapeRotationAt(int index, double rotation);
    bool shapeIsUcsOrientedAt(int index) const;
    Velt::ErrorStatus setShapeIsUcsOrientedAt(int index, bool value);
    std::wstring textAt(int index) const;
    Velt::ErrorStatus setTextAt(int index, const wchar_t* text);

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    bool isBuiltIn() const override;

private:
    struct Dash {
        double length = 0.0;
        VxDbObjectId shapeStyle;
        int shapeNumber = 0;
        VxGeVector2d offset;
        double scale = 1.0;
        double rotation = 0.0;
        bool ucsOriented = false;
        std::wstring text;
    };
    // One value of a dash: `none` past the end; a change refuses the index, then the value.
    template <class T>
    T dashValue(int index, T Dash::*member, T none) const;
    template <class T, class Check>
    Velt::ErrorStatus setDashValue(int index, T Dash::*member, T value, Check check);

    std::wstring mComments;
    double mPatternLength = 0.0;
    bool mScaledToFit = false;
    std::vector<Dash> mDashes;
};

class VxDbLinetypeTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbLinetypeTable)
public:
    const VxRxClass* recordClass() const override;
};

// ---- text styles ----

class VxDbTextStyleTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbTextStyleTableRecord)
public:
    enum GenerationFlags : uint8_t { kBackward = 2, kUpsideDown = 4 };

    const std::wstring& fileName() const { return mFileName; }
    Velt::ErrorStatus setFileName(const wchar_t* name);
    const std::wstring& bigFontFileName() const { return mBigFontFileName; }
    Velt::ErrorStatus setBigFontFileName(const wchar_t* name);
    // Fixed height; 0 means the height is asked for each text.
    double textSize() const { return mTextSize; }
    Velt::ErrorStatus setTextSize(double size);
    double priorSize() const { return mPriorSize; }
    Velt::ErrorStatus setPriorSize(double size);
    // Width factor, 0.01 ... 100.
    double xScale() const { return mXScale; }
    Velt::ErrorStatus setXScale(double scale);
    // Oblique angle in radians, within +-85 degrees.
    double obliquingAngle() const { return mObliquingAngle; }
    Velt::ErrorStatus setObliquingAngle(double angle);
    uint8_t flagBits() const { return mFlagBits; }
    Velt::ErrorStatus setFlagBits(uint8_t bits);
    bool isBackwards() const { return (mFlagBits & kBackward) != 0; }
    bool isUpsideDown() const { return (mFlagBits & kUpsideDown) != 0; }
    bool isShapeFile() const { return mShapeFile; }
    Velt::ErrorStatus setIsShapeFile(bool value);
    bool isVertical() const { return mVertical; }
    Velt::ErrorStatus setIsVertical(bool value);
    // A TrueType font description; an empty type face means a shape font.
    void font(std::wstring& typeface, bool& bold, bool& italic, int& charset, int& pitchAndFamily) const;
    Velt::ErrorStatus setFont(const wchar_t* typeface, bool bold, bool italic, int charset, int pitchAndFamily);

    bool isValidName(std::wstring_view name) const override;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    bool isBuiltIn() const override;

private:
    std::wstring mFileName = L"txt";
    std::wstring mBigFontFileName;
    std::wstring mTypeface;
    double mTextSize = 0.0;
    double mPriorSize = 0.2;
    double mXScale = 1.0;
    double mObliquingAngle = 0.0;
    int mCharset = 0;
    int mPitchAndFamily = 0;
    uint8_t mFlagBits = 0;
    bool mShapeFile = false;
    bool mVertical = false;
    bool mBold = false;
    bool mItalic = false;
};

class VxDbTextStyleTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbTextStyleTable)
public:
    const VxRxClass* recordClass() const override;

protected:
    // Shape-file entries have no name, and there may be several.
    bool allowsDuplicateNames() const override { return false; }
};

// ---- registered applications ----

class VxDbRegAppTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbRegAppTableRecord)
protected:
    bool isBuiltIn() const override;
};

class VxDbRegAppTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbRegAppTable)
public:
    const VxRxClass* recordClass() const override;
};

// ---- dimension styles ----

// The dimension variables a style holds, with their group codes.
enum class VxDbDimVar : uint8_t {
    kDimPost, kDimAPost, kDimScale, kDimAsz, kDimExo, kDimDli, kDimExe, kDimRnd, kDimDle, kDimTp, kDimTm,
    kDimFxl, kDimJogAng, kDimTxt, kDimCen, kDimTsz, kDimAltF, kDimLFac, kDimTvp, kDimTFac, kDimGap,
    kDimAltRnd, kDimTol, kDimLim, kDimTih, kDimToh, kDimSe1, kDimSe2, kDimTad, kDimZin, kDimAZin,
    kDimArcSym, kDimAlt, kDimAltD, kDimTofl, kDimSah, kDimTix, kDimSoxd, kDimClrD, kDimClrE, kDimClrT,
    kDimADec, kDimDec, kDimTDec, kDimAltU, kDimAltTD, kDimAUnit, kDimFrac, kDimLUnit, kDimDSep,
    kDimTMove, kDimJust, kDimSd1, kDimSd2, kDimTolJ, kDimTZin, kDimAltZ, kDimAltTZ, kDimUpt, kDimAtFit,
    kDimFxlOn, kDimTxtDirection, kDimTxSty, kDimLdrBlk, kDimBlk, kDimBlk1, kDimBlk2, kDimLType,
    kDimLtEx1, kDimLtEx2, kDimLwd, kDimLwe,
    kCount
};

struct VxDbDimVarInfo {
    enum Kind : uint8_t { kInt16, kReal, kString, kObjectId };
    const wchar_t* name;
    int16_t groupCode;
    Kind kind;
    double defaultValue;  // for numbers
    double low;           // accepted range of numbers
    double high;
};
const VxDbDimVarInfo& vxdbDimVarInfo(VxDbDimVar var);

class VxDbDimStyleTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbDimStyleTableRecord)
public:
    VxDbDimStyleTableRecord();

    double dimReal(VxDbDimVar var) const;
    int16_t dimInt(VxDbDimVar var) const;
    const std::wstring& dimText(VxDbDimVar var) const;
    VxDbObjectId dimId(VxDbDimVar var) const;
    // Each refuses a variable of another kind and a value out of its range.
    Velt::ErrorStatus setDimReal(VxDbDimVar var, double value);
    Velt::ErrorStatus setDimInt(VxDbDimVar var, int16_t value);
    Velt::ErrorStatus setDimText(VxDbDimVar var, const wchar_t* value);
    Velt::ErrorStatus setDimId(VxDbDimVar var, VxDbObjectId value);

    double dimscale() const { return dimReal(VxDbDimVar::kDimScale); }
    double dimasz() const { return dimReal(VxDbDimVar::kDimAsz); }
    double dimtxt() const { return dimReal(VxDbDimVar::kDimTxt); }
    VxDbObjectId dimtxsty() const { return dimId(VxDbDimVar::kDimTxSty); }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    bool isBuiltIn() const override;

private:
    struct Value {
        double real = 0.0;
        std::wstring text;
        VxDbObjectId id;
    };
    std::array<Value, size_t(VxDbDimVar::kCount)> mValues;
};

class VxDbDimStyleTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbDimStyleTable)
public:
    const VxRxClass* recordClass() const override;
};

// ---- coordinate systems ----

class VxDbUCSTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbUCSTableRecord)
public:
    VxGePoint3d origin() const { return mOrigin; }
    Velt::ErrorStatus setOrigin(const VxGePoint3d& origin);
    VxGeVector3d xAxis() const { return mXAxis; }
    Velt::ErrorStatus setXAxis(const VxGeVector3d& axis);
    VxGeVector3d yAxis() const { return mYAxis; }
    Velt::ErrorStatus setYAxis(const VxGeVector3d& axis);
    // The system as a matrix: unit axes, z = x cross y.
    VxGeMatrix3d ucsMatrix() const;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint3d mOrigin;
    VxGeVector3d mXAxis{1.0, 0.0, 0.0};
    VxGeVector3d mYAxis{0.0, 1.0, 0.0};
};

class VxDbUCSTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbUCSTable)
public:
    const VxRxClass* recordClass() const override;
};

// ---- views and viewports ----

// What views and viewports share: the view itself and its coordinate system.
class VxDbAbstractViewTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbAbstractViewTableRecord)
public:
    VxGePoint2d centerPoint() const { return mCenter; }
    Velt::ErrorStatus setCenterPoint(const VxGePoint2d& center);
    double height() const { return mHeight; }
    Velt::ErrorStatus setHeight(double height);
    double width() const { return mWidth; }
    Velt::ErrorStatus setWidth(double width);
    VxGePoint3d target() const { return mTarget; }
    Velt::ErrorStatus setTarget(const VxGePoint3d& target);
    VxGeVector3d viewDirection() const { return mViewDirection; }
    Velt::ErrorStatus setViewDirection(const VxGeVector3d& direction);
    double viewTwist() const { return mViewTwist; }
    Velt::ErrorStatus setViewTwist(double angle);
    double lensLength() const { return mLensLength; }
    Velt::ErrorStatus setLensLength(double length);
    double frontClipDistance() const { return mFrontClip; }
    Velt::ErrorStatus setFrontClipDistance(double distance);
    double backClipDistance() const { return mBackClip; }
    Velt::ErrorStatus setBackClipDistance(double distance);
    bool perspectiveEnabled() const { return mPerspective; }
    Velt::ErrorStatus setPerspectiveEnabled(bool value);
    bool frontClipEnabled() const { return mFrontClipOn; }
    Velt::ErrorStatus setFrontClipEnabled(bool value);
    bool backClipEnabled() const { return mBackClipOn; }
    Velt::ErrorStatus setBackClipEnabled(bool value);
    bool frontClipAtEye() const { return mFrontClipAtEye; }
    Velt::ErrorStatus setFrontClipAtEye(bool value);
    // 0 2d wireframe ... 6 flat shaded with edges.
    int renderMode() const { return mRenderMode; }
    Velt::ErrorStatus setRenderMode(int mode);
    double elevation() const { return mElevation; }
    Velt::ErrorStatus setElevation(double value);
    void getUcs(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis) const;
    Velt::ErrorStatus setUcs(const VxGePoint3d& origin, const VxGeVector3d& xAxis, const VxGeVector3d& yAxis);
    // Shows the view of another record: centre, size, target, direction, twist, lens,
    // clipping, perspective and render mode; the name and coordinate system stay.
    Velt::ErrorStatus setViewFrom(const VxDbAbstractViewTableRecord& view);

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint2d mCenter;
    VxGePoint3d mTarget;
    VxGeVector3d mViewDirection{0.0, 0.0, 1.0};
    VxGePoint3d mUcsOrigin;
    VxGeVector3d mUcsXAxis{1.0, 0.0, 0.0};
    VxGeVector3d mUcsYAxis{0.0, 1.0, 0.0};
    double mHeight = 1.0;
    double mWidth = 1.0;
    double mViewTwist = 0.0;
    double mLensLength = 50.0;
    double mFrontClip = 0.0;
    double mBackClip = 0.0;
    double mElevation = 0.0;
    int mRenderMode = 0;
    bool mPerspective = false;
    bool mFrontClipOn = false;
    bool mBackClipOn = false;
    bool mFrontClipAtEye = true;
};

class VxDbViewTableRecord : public VxDbAbstractViewTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbViewTableRecord)
public:
    const std::wstring& getCategoryName() const { return mCategory; }
    Velt::ErrorStatus setCategoryName(const wchar_t* name);
    VxDbObjectId getLayout() const { return mLayout; }
    Velt::ErrorStatus setLayout(VxDbObjectId layoutId);
    const std::wstring& getLayerState() const { return mLayerState; }
    Velt::ErrorStatus setLayerState(const wchar_t* name);
    bool isViewAssociatedToViewport() const { return mAssociated; }
    Velt::ErrorStatus setViewAssociatedToViewport(bool value);
    bool isPaperspaceView() const { return mPaperspace; }
    Velt::ErrorStatus setIsPaperspaceView(bool value);

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    std::wstring mCategory;
    std::wstring mLayerState;
    VxDbObjectId mLayout;
    bool mAssociated = false;
    bool mPaperspace = false;
};

class VxDbViewTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbViewTable)
public:
    const VxRxClass* recordClass() const override;
};

class VxDbViewportTableRecord : public VxDbAbstractViewTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbViewportTableRecord)
public:
    // The viewport's corners on the screen, as fractions 0 ... 1.
    VxGePoint2d lowerLeftCorner() const { return mLowerLeft; }
    Velt::ErrorStatus setLowerLeftCorner(const VxGePoint2d& corner);
    VxGePoint2d upperRightCorner() const { return mUpperRight; }
    Velt::ErrorStatus setUpperRightCorner(const VxGePoint2d& corner);
    bool gridEnabled() const { return mGrid; }
    Velt::ErrorStatus setGridEnabled(bool value);
    VxGeVector2d gridIncrements() const { return mGridIncrements; }
    Velt::ErrorStatus setGridIncrements(const VxGeVector2d& increments);
    bool snapEnabled() const { return mSnap; }
    Velt::ErrorStatus setSnapEnabled(bool value);
    bool isometricSnapEnabled() const { return mIsoSnap; }
    Velt::ErrorStatus setIsometricSnapEnabled(bool value);
    int snapPair() const { return mSnapPair; }
    Velt::ErrorStatus setSnapPair(int pair);
    double snapAngle() const { return mSnapAngle; }
    Velt::ErrorStatus setSnapAngle(double angle);
    VxGePoint2d snapBase() const { return mSnapBase; }
    Velt::ErrorStatus setSnapBase(const VxGePoint2d& base);
    VxGeVector2d snapIncrements() const { return mSnapIncrements; }
    Velt::ErrorStatus setSnapIncrements(const VxGeVector2d& increments);
    bool iconEnabled() const { return mIcon; }
    Velt::ErrorStatus setIconEnabled(bool value);
    bool iconAtOrigin() const { return mIconAtOrigin; }
    Velt::ErrorStatus setIconAtOrigin(bool value);
    // Smoothness of circles and arcs: 1 ... 20000.
    int circleSides() const { return mCircleSides; }
    Velt::ErrorStatus setCircleSides(int sides);
    bool fastZoomsEnabled() const { return mFastZooms; }
    Velt::ErrorStatus setFastZoomsEnabled(bool value);
    bool ucsFollowMode() const { return mUcsFollow; }
    Velt::ErrorStatus setUcsFollowMode(bool value);
    bool isUcsSavedWithViewport() const { return mUcsPerViewport; }
    Velt::ErrorStatus setUcsPerViewport(bool value);

    bool isValidName(std::wstring_view name) const override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint2d mLowerLeft{0.0, 0.0};
    VxGePoint2d mUpperRight{1.0, 1.0};
    VxGeVector2d mGridIncrements{0.5, 0.5};
    VxGePoint2d mSnapBase;
    VxGeVector2d mSnapIncrements{0.5, 0.5};
    double mSnapAngle = 0.0;
    int mSnapPair = 0;
    int mCircleSides = 1000;
    bool mGrid = false;
    bool mSnap = false;
    bool mIsoSnap = false;
    bool mIcon = true;
    bool mIconAtOrigin = true;
    bool mFastZooms = true;
    bool mUcsFollow = false;
    bool mUcsPerViewport = true;
};

class VxDbViewportTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbViewportTable)
public:
    const VxRxClass* recordClass() const override;

protected:
    // Several records may share a name: the parts of one configuration.
    bool allowsDuplicateNames() const override { return true; }
};

// ---- viewport configurations ----

// The arrangements a viewport splits into: two one above the other or side by side; three
// with a large one left, right, above or below, or three in a column or a row; four.
enum class VxDbViewportSplit : int {
    k2Horizontal, k2Vertical, k3Left, k3Right, k3Horizontal, k3Vertical, k3Above, k3Below, k4
};

struct VxDbScreenArea {
    VxGePoint2d lowerLeft;
    VxGePoint2d upperRight;
};

// The parts of an area in an arrangement: the large part first, the others from the top
// left, row by row.
std::vector<VxDbScreenArea> vxdbSplitArea(const VxDbScreenArea& area, VxDbViewportSplit split);

// Splits a viewport of the drawing: it keeps the first part, new records of its name take
// the others, each showing the same view at the same zoom. The new ids go to `made`.
Velt::ErrorStatus vxdbSplitViewport(VxDbObjectId viewportId, VxDbViewportSplit split,
                                    VxDbObjectIdArray* made = nullptr);

using VxDbLayerTableIterator = VxDbSymbolTableIterator;
using VxDbLinetypeTableIterator = VxDbSymbolTableIterator;
using VxDbTextStyleTableIterator = VxDbSymbolTableIterator;

}  // namespace kx
