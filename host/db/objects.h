#pragma once

#include <string>
#include <vector>

#include "db/color.h"
#include "db/object.h"

namespace kx {

// Extended record: a result-buffer chain stored in a dictionary.
class VxDbXrecord : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbXrecord)
public:
    ~VxDbXrecord() override;
    // A copy of the data (release it with vxutRelRb); null when empty.
    Velt::ErrorStatus rbChain(VxResBuf*& chain) const;
    const VxResBuf* data() const { return mData; }
    // Replaces the data. Any group code below 1000 that carries a value is
    // accepted except the handle codes 5 and 105.
    Velt::ErrorStatus setFromRbChain(const VxResBuf* chain);
    // Whether cloning translates the object references in the data.
    bool isXlateReferences() const { return mXlateReferences; }
    Velt::ErrorStatus setXlateReferences(bool value) { return setField(mXlateReferences, value); }
    VxDb::DuplicateRecordCloning mergeStyle() const { return mMergeStyle; }
    Velt::ErrorStatus setMergeStyle(VxDb::DuplicateRecordCloning style) { return setField(mMergeStyle, style); }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxResBuf* mData = nullptr;
    VxDb::DuplicateRecordCloning mMergeStyle = VxDb::kDrcIgnore;
    bool mXlateReferences = true;
};

// An entry that only stands for its key (plot-style names).
class VxDbPlaceHolder : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbPlaceHolder)
};

// Dictionary objects that carry their own name and a description.
class VxDbNamedObject : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbNamedObject)
public:
    const std::wstring& name() const { return mName; }
    Velt::ErrorStatus setName(const wchar_t* name);
    const std::wstring& description() const { return mDescription; }
    Velt::ErrorStatus setDescription(const wchar_t* text);

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    std::wstring mName;
    std::wstring mDescription;
};

class VxDbMaterial : public VxDbNamedObject {
    VX_RX_DECLARE_MEMBERS(VxDbMaterial)
};

// Multiline style: its elements (offset, colour, linetype) and end caps.
class VxDbMlineStyle : public VxDbNamedObject {
    VX_RX_DECLARE_MEMBERS(VxDbMlineStyle)
public:
    struct Element {
        double offset = 0.0;
        VxCmColor color = VxCmColor::fromIndex(256);
        VxDbObjectId linetype;
    };
    const std::vector<Element>& elements() const { return mElements; }
    Velt::ErrorStatus addElement(double offset, const VxCmColor& color, VxDbObjectId linetype);
    Velt::ErrorStatus removeElementAt(int index);
    double startAngle() const { return mStartAngle; }
    double endAngle() const { return mEndAngle; }
    // Angles of the end caps: 10 ... 170 degrees, in radians.
    Velt::ErrorStatus setStartAngle(double angle);
    Velt::ErrorStatus setEndAngle(double angle);
    bool filled() const { return mFilled; }
    Velt::ErrorStatus setFilled(bool value) { return setField(mFilled, value); }
    VxCmColor fillColor() const { return mFillColor; }
    Velt::ErrorStatus setFillColor(const VxCmColor& color) { return setField(mFillColor, color); }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    std::vector<Element> mElements;
    VxCmColor mFillColor = VxCmColor::fromIndex(256);
    double mStartAngle = 1.5707963267948966;
    double mEndAngle = 1.5707963267948966;
    bool mFilled = false;
};

class VxDbTableStyle : public VxDbNamedObject {
    VX_RX_DECLARE_MEMBERS(VxDbTableStyle)
};

class VxDbMLeaderStyle : public VxDbNamedObject {
    VX_RX_DECLARE_MEMBERS(VxDbMLeaderStyle)
};

}  // namespace kx
