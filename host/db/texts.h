#pragma once

// Texts of one line, texts of many lines, attribute definitions and the attributes of block
// references; shapes and feature control frames. Each kind declares its data once
// (db/fields.h); the geometry is written here by hand.
//
// Extents of texts come from character cells until the host has font metrics: each
// character is a cell of height × width factor by the height, the cells slanted by the
// oblique angle, the line placed by its alignment, turned by its rotation and mirrored by
// its generation flags, in the plane of its normal.

#include <memory>
#include <string>
#include <vector>

#include "db/entity.h"
#include "db/fields.h"

namespace kx {

class VxDbBlockReference;
class VxDbMText;

namespace fieldcheck {
// Within ±85 degrees, kept in (-pi, pi].
Velt::ErrorStatus obliqueAngle(double& v);
// Mirroring bits of a text: 2 backward, 4 upside down.
inline Velt::ErrorStatus textFlags(int16_t& v) { return (v & ~6) == 0 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus horizontalMode(int16_t& v) { return v >= 0 && v <= 5 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus verticalMode(int16_t& v) { return v >= 0 && v <= 3 ? Velt::eOk : Velt::eInvalidInput; }
// Invisible 1, constant 2, verify 4, preset 8.
inline Velt::ErrorStatus attributeFlags(int16_t& v) { return v >= 0 && v <= 15 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus nonNegativeShort(int16_t& v) { return v >= 0 ? Velt::eOk : Velt::eInvalidInput; }
// Top left 1 ... bottom right 9.
inline Velt::ErrorStatus attachment(int16_t& v) { return v >= 1 && v <= 9 ? Velt::eOk : Velt::eInvalidInput; }
// Left to right 1, top to bottom 3, by style 5.
inline Velt::ErrorStatus flowDirection(int16_t& v)
{
    return v == 1 || v == 3 || v == 5 ? Velt::eOk : Velt::eInvalidInput;
}
// At least 1 (at least 2 spaces lines), exactly 2 (exactly).
inline Velt::ErrorStatus lineSpacingStyle(int16_t& v) { return v == 1 || v == 2 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus lineSpacingFactor(double& v)
{
    return v >= 0.25 && v <= 4.0 ? Velt::eOk : Velt::eInvalidInput;  // NaN fails both
}
// None 0, a colour 1, the window's colour 3 (with 16: a text frame).
inline Velt::ErrorStatus backgroundFlags(int32_t& v)
{
    return v == 0 || v == 1 || v == 3 || v == 16 || v == 17 || v == 19 ? Velt::eOk : Velt::eInvalidInput;
}
inline Velt::ErrorStatus backgroundScale(double& v) { return v >= 1.0 && v <= 5.0 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus atLeastOne(int16_t& v) { return v >= 1 ? Velt::eOk : Velt::eInvalidInput; }
// A scale factor of a block reference: finite, not zero (negative mirrors).
inline Velt::ErrorStatus scale(double& v) { return std::isfinite(v) && v != 0.0 ? Velt::eOk : Velt::eInvalidInput; }
}  // namespace fieldcheck

// True when the object is annotative: drawings mark that in the extended data of
// "AcadAnnotative" ("AnnotativeData", then {1070 version, 1070 1}).
bool vxdbIsAnnotative(const VxDbObject* object);

// ---- single-line text ----

// Position and alignment point are world points written in the text's own coordinates. The
// text sits at its position when it is left-aligned on the baseline; every other alignment
// places it by the alignment point (aligned and fit by both: the text runs from one to the
// other).
#define KX_TEXT_FIELDS(F)                                                                                    \
    F(GetSet, double, thickness, setThickness, 0.0, finite, "AcDbText", 39, kxdxf::kOptional)                \
    F(GetSet, VxGePoint3d, position, setPosition, VxGePoint3d::kOrigin, finite, "AcDbText", 10, kxdxf::kOcs) \
    F(GetSet, double, height, setHeight, 0.2, positive, "AcDbText", 40, 0)                                  \
    F(GetSet, std::wstring, textString, setTextString, L"", any, "AcDbText", 1, 0)                          \
    F(GetSet, double, rotation, setRotation, 0.0, angle, "AcDbText", 50, kxdxf::kOptional | kxdxf::kDegrees) \
    F(GetSet, double, widthFactor, setWidthFactor, 1.0, positive, "AcDbText", 41, kxdxf::kOptional)         \
    F(GetSet, double, oblique, setOblique, 0.0, obliqueAngle, "AcDbText", 51,                              \
      kxdxf::kOptional | kxdxf::kDegrees)                                                                   \
    F(GetSet, VxDbObjectId, textStyle, setTextStyle, VxDbObjectId(), any, "AcDbText", 7,                    \
      kxdxf::kOptional | kxdxf::kTextStyleName)                                                             \
    F(GetSet, int16_t, generationFlags, setGenerationFlags, 0, textFlags, "AcDbText", 71, kxdxf::kOptional) \
    F(GetSet, int16_t, horizontalMode, setHorizontalMode, 0, horizontalMode, "AcDbText", 72, kxdxf::kOptional) \
    F(GetSet, VxGePoint3d, alignmentPoint, setAlignmentPoint, VxGePoint3d::kOrigin, finite, "AcDbText", 11,  \
      kxdxf::kOcs | kxdxf::kOptional)                                                                       \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, "AcDbText", 210, kxdxf::kOptional)

// Drawing files keep a text's vertical mode in a second subclass of the same name.
#define KX_FIELDS_VxDbText(F) \
    KX_TEXT_FIELDS(F)         \
    F(GetSet, int16_t, verticalMode, setVerticalMode, 0, verticalMode, "AcDbText", 73, kxdxf::kOptional | kxdxf::kMarkerAgain)

class VxDbText : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbText)
    KX_DB_FIELDS(VxDbText, VxDbEntity)
public:
    enum HorizontalMode : int16_t { kLeft = 0, kCenter = 1, kRight = 2, kAligned = 3, kMiddle = 4, kFit = 5 };
    enum VerticalMode : int16_t { kBaseline = 0, kBottom = 1, kVMiddle = 2, kTop = 3 };

    VxDbText() = default;
    VxDbText(const VxGePoint3d& position, const wchar_t* text, double height);

    // Left on the baseline: placed by its position alone.
    bool isDefaultAlignment() const { return mFields.horizontalMode == kLeft && mFields.verticalMode == kBaseline; }
    bool isMirroredInX() const { return (mFields.generationFlags & 2) != 0; }
    bool isMirroredInY() const { return (mFields.generationFlags & 4) != 0; }
    Velt::ErrorStatus mirrorInX(bool mirrored);
    Velt::ErrorStatus mirrorInY(bool mirrored);
    // The point the text is placed by: the position when left on the baseline, otherwise the
    // alignment point.
    VxGePoint3d placementPoint() const { return isDefaultAlignment() ? mFields.position : mFields.alignmentPoint; }
    // The corners of its character cells, in order: bottom left, bottom right, top right, top left.
    void boundingCorners(VxGePoint3d (&corners)[4]) const;
    // Takes every text value of another text (an attribute's from its definition).
    Velt::ErrorStatus setTextFrom(const VxDbText& other);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;
};

// What attribute definitions and attributes add to a text (in their own subclass).
#define KX_ATTRIBUTE_FIELDS(F, SUBCLASS)                                                                 \
    F(GetSet, std::wstring, tag, setTag, L"", any, SUBCLASS, 2, 0)                                      \
    F(GetSet, int16_t, attributeFlags, setAttributeFlags, 0, attributeFlags, SUBCLASS, 70, 0)           \
    F(GetSet, int16_t, fieldLength, setFieldLength, 0, nonNegativeShort, SUBCLASS, 73, kxdxf::kOptional) \
    F(GetSet, bool, lockPositionInBlock, setLockPositionInBlock, false, any, SUBCLASS, 280,              \
      kxdxf::kOptional | kxdxf::since(VxDbDxfVersion::kR2007))

// The mode bits of attribute definitions and attributes.
struct VxDbAttributeFlags {
    enum : int16_t { kInvisible = 1, kConstant = 2, kVerifiable = 4, kPreset = 8 };
};

// ---- attribute definitions ----

#define KX_FIELDS_VxDbAttributeDefinition(F)                                                     \
    F(GetSet, std::wstring, prompt, setPrompt, L"", any, "AcDbAttributeDefinition", 3, 0)        \
    KX_ATTRIBUTE_FIELDS(F, "AcDbAttributeDefinition")

// What attribute definitions and attributes share beyond a text: a multiline attribute keeps
// a multiline text of its own (no object of the database), placed where the text is. Its
// text style is the attribute's; the single-line text holds the first line of its contents.
// Files of 2018 and later carry it; older ones have the single line only.
class VxDbAttributeText : public VxDbText {
public:
    VxDbAttributeText();
    ~VxDbAttributeText() override;

    bool isMTextAttribute() const { return mMText != nullptr; }
    // Makes the multiline text from the text (contents, place, height, direction), or turns a
    // multiline attribute back into one line of its plain text.
    Velt::ErrorStatus setMTextAttribute(bool multiline);
    // The multiline text, for reading; null for a single-line attribute.
    const VxDbMText* mtext() const { return mMText.get(); }
    // Takes a multiline text made elsewhere (a file's embedded text); null makes it single-line.
    Velt::ErrorStatus setMText(std::unique_ptr<VxDbMText> mtext);
    // Contents (format codes kept), boundary width, drawing direction and attachment of the
    // multiline text: empty or 0 for a single-line attribute, whose setters answer
    // eNotApplicable.
    std::wstring mtextContents() const;
    Velt::ErrorStatus setMTextContents(const std::wstring& contents);
    double mtextBoundaryWidth() const;
    Velt::ErrorStatus setMTextBoundaryWidth(double width);
    int16_t mtextDrawingDirection() const;
    Velt::ErrorStatus setMTextDrawingDirection(int16_t direction);
    int16_t mtextAttachment() const;
    Velt::ErrorStatus setMTextAttachment(int16_t attachment);
    // Moves the multiline text to where the text is now (place, height, direction).
    Velt::ErrorStatus updateMTextAttribute();

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    // A change of the multiline text: eNotApplicable on a single-line attribute.
    template <class Change>
    Velt::ErrorStatus changeMText(Change&& change);

    std::unique_ptr<VxDbMText> mMText;
};

class VxDbAttributeDefinition : public VxDbAttributeText {
    VX_RX_DECLARE_MEMBERS(VxDbAttributeDefinition)
    KX_DB_FIELDS(VxDbAttributeDefinition, VxDbAttributeText)
public:
    VxDbAttributeDefinition() = default;

    bool isInvisible() const { return (mFields.attributeFlags & VxDbAttributeFlags::kInvisible) != 0; }
    bool isConstant() const { return (mFields.attributeFlags & VxDbAttributeFlags::kConstant) != 0; }
    bool isVerifiable() const { return (mFields.attributeFlags & VxDbAttributeFlags::kVerifiable) != 0; }
    bool isPreset() const { return (mFields.attributeFlags & VxDbAttributeFlags::kPreset) != 0; }
    Velt::ErrorStatus setInvisible(bool value) { return setFlag(VxDbAttributeFlags::kInvisible, value); }
    Velt::ErrorStatus setConstant(bool value) { return setFlag(VxDbAttributeFlags::kConstant, value); }
    Velt::ErrorStatus setVerifiable(bool value) { return setFlag(VxDbAttributeFlags::kVerifiable, value); }
    Velt::ErrorStatus setPreset(bool value) { return setFlag(VxDbAttributeFlags::kPreset, value); }
    // The mode bits with the lock of the position as 16.
    int16_t mode() const { return int16_t(mFields.attributeFlags | (mFields.lockPositionInBlock ? 16 : 0)); }
    Velt::ErrorStatus setMode(int16_t mode)
    {
        if (mode < 0 || mode > 31)
            return Velt::eInvalidInput;
        if (Velt::ErrorStatus es = assertWriteEnabled())
            return es;
        mFields.attributeFlags = int16_t(mode & 15);
        mFields.lockPositionInBlock = (mode & 16) != 0;
        return Velt::eOk;
    }

private:
    Velt::ErrorStatus setFlag(int16_t bit, bool value)
    {
        return setField(mFields.attributeFlags, int16_t(value ? mFields.attributeFlags | bit : mFields.attributeFlags & ~bit));
    }
};

// ---- attributes of block references ----

#define KX_FIELDS_VxDbAttribute(F) KX_ATTRIBUTE_FIELDS(F, "AcDbAttribute")

class VxDbAttribute : public VxDbAttributeText {
    VX_RX_DECLARE_MEMBERS(VxDbAttribute)
    KX_DB_FIELDS(VxDbAttribute, VxDbAttributeText)
public:
    VxDbAttribute() = default;

    bool isInvisible() const { return (mFields.attributeFlags & VxDbAttributeFlags::kInvisible) != 0; }
    bool isConstant() const { return (mFields.attributeFlags & VxDbAttributeFlags::kConstant) != 0; }
    bool isVerifiable() const { return (mFields.attributeFlags & VxDbAttributeFlags::kVerifiable) != 0; }
    bool isPreset() const { return (mFields.attributeFlags & VxDbAttributeFlags::kPreset) != 0; }
    Velt::ErrorStatus setInvisible(bool value)
    {
        const int16_t bit = VxDbAttributeFlags::kInvisible;
        return setField(mFields.attributeFlags, int16_t(value ? mFields.attributeFlags | bit : mFields.attributeFlags & ~bit));
    }

    // Takes the definition's text, properties and modes, its geometry carried by the
    // reference's transformation (block coordinates to world).
    Velt::ErrorStatus setAttributeFromBlock(const VxDbAttributeDefinition* definition, const VxGeMatrix3d& blockTransform);
};

// Makes the attributes of a resident block reference (open for write) from the attribute
// definitions of its block that are not constant, each with its default value, in the
// block's order; attributes it already has are kept. eOk when the block has none.
Velt::ErrorStatus UpdataBlkAttribute(VxDbBlockReference* reference);

// ---- multiline text ----

// The contents keep their format codes (\P paragraphs, {\fArial;...} and the rest) as they
// are; plainText() shows them without. The location is a world point. The direction lies in
// the plane of the normal; the rotation is its angle there, kept with it.
#define KX_FIELDS_VxDbMText(F)                                                                          \
    F(GetSet, VxGePoint3d, location, setLocation, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)             \
    F(GetSet, double, textHeight, setTextHeight, 0.2, positive, kOwn, 40, 0)                             \
    F(GetSet, double, width, setWidth, 0.0, nonNegative, kOwn, 41, 0)                                    \
    F(GetSet, int16_t, attachment, setAttachment, 1, attachment, kOwn, 71, 0)                            \
    F(GetSet, int16_t, flowDirection, setFlowDirection, 1, flowDirection, kOwn, 72, 0)                   \
    F(GetSet, std::wstring, contents, setContents, L"", any, kOwn, 1, kxdxf::kChunked)                   \
    F(GetSet, VxDbObjectId, textStyle, setTextStyle, VxDbObjectId(), any, kOwn, 7,                       \
      kxdxf::kOptional | kxdxf::kTextStyleName)                                                          \
    F(Get, VxGeVector3d, normal, -, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)       \
    F(Get, VxGeVector3d, direction, -, VxGeVector3d::kXAxis, unitVector, kOwn, 11, 0)                    \
    F(Get, double, rotation, -, 0.0, angle, kOwn, 50, kxdxf::kOptional | kxdxf::kDegrees)                \
    F(GetSet, int16_t, lineSpacingStyle, setLineSpacingStyle, 1, lineSpacingStyle, kOwn, 73, kxdxf::kOptional) \
    F(GetSet, double, lineSpacingFactor, setLineSpacingFactor, 1.0, lineSpacingFactor, kOwn, 44, kxdxf::kOptional) \
    F(GetSet, int32_t, backgroundFlags, setBackgroundFlags, 0, backgroundFlags, kOwn, 90, kxdxf::kOptional) \
    F(GetSet, double, backgroundScale, setBackgroundScale, 1.5, backgroundScale, kOwn, 45, kxdxf::kOptional)

class VxDbMText : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbMText)
    KX_DB_FIELDS(VxDbMText, VxDbEntity)
public:
    enum AttachmentPoint : int16_t {
        kTopLeft = 1, kTopCenter, kTopRight, kMiddleLeft, kMiddleCenter, kMiddleRight, kBottomLeft, kBottomCenter,
        kBottomRight
    };

    VxDbMText() = default;

    // Turns the text into the plane of the normal, its direction projected there.
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    // A direction in the text's plane (one along the normal is refused).
    Velt::ErrorStatus setDirection(const VxGeVector3d& direction);
    // The angle of the direction from the x axis of the normal's own coordinate system.
    Velt::ErrorStatus setRotation(double angle);
    bool backgroundFill() const { return (mFields.backgroundFlags & 3) != 0; }
    // Lines are five thirds of the height apart at a factor of 1.
    double lineSpacingDistance() const { return mFields.lineSpacingFactor * mFields.textHeight * (5.0 / 3.0); }
    Velt::ErrorStatus setLineSpacingDistance(double distance)
    {
        return setLineSpacingFactor(distance / (mFields.textHeight * (5.0 / 3.0)));
    }
    Velt::ErrorStatus setBackgroundFill(bool fill);
    // The contents with their format codes taken out: paragraphs as line breaks, stacked
    // fractions as a/b, special characters as themselves.
    std::wstring plainText() const;
    // Lines of the plain text, each at most as long as the width allows (none: unbroken).
    std::vector<std::wstring> lines() const;
    double actualHeight() const;
    double actualWidth() const;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;
    // After a file was read: a direction in the plane, the rotation from it (or it from the
    // rotation when the file gave only that).
    Velt::ErrorStatus checkFields(uint64_t readMask);
};

// The text of a multiline text's contents without format codes.
std::wstring vxdbMTextPlainText(const std::wstring& contents);

// The attribute part of an attribute definition or attribute; null for any other object.
VxDbAttributeText* vxdbAttributeTextOf(VxDbObject* object);
const VxDbAttributeText* vxdbAttributeTextOf(const VxDbObject* object);

// ---- shapes ----

// A symbol of a shape file, by its name: size, rotation, width factor and oblique angle like a
// text's.
#define KX_FIELDS_VxDbShape(F)                                                                     \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGePoint3d, position, setPosition, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)        \
    F(GetSet, double, size, setSize, 1.0, positive, kOwn, 40, 0)                                    \
    F(GetSet, std::wstring, name, setName, L"", any, kOwn, 2, 0)                                    \
    F(GetSet, double, rotation, setRotation, 0.0, angle, kOwn, 50, kxdxf::kOptional | kxdxf::kDegrees) \
    F(GetSet, double, widthFactor, setWidthFactor, 1.0, positive, kOwn, 41, kxdxf::kOptional)       \
    F(GetSet, double, oblique, setOblique, 0.0, obliqueAngle, kOwn, 51, kxdxf::kOptional | kxdxf::kDegrees) \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

class VxDbShape : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbShape)
    KX_DB_FIELDS(VxDbShape, VxDbEntity)
public:
    VxDbShape() = default;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    // A square of its size from its position: the host reads no shape files.
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
};

// ---- feature control frames ----

// The frame's text with its format codes (%%v separators, {\Fgdt;...} symbols), its
// dimension style by name, location and direction in world coordinates.
#define KX_FIELDS_VxDbFcf(F)                                                                       \
    F(GetSet, std::wstring, dimensionStyle, setDimensionStyle, L"Standard", any, kOwn, 3, 0)        \
    F(GetSet, VxGePoint3d, location, setLocation, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)        \
    F(GetSet, std::wstring, text, setText, L"", any, kOwn, 1, 0)                                    \
    F(Get, VxGeVector3d, normal, -, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional) \
    F(Get, VxGeVector3d, direction, -, VxGeVector3d::kXAxis, unitVector, kOwn, 11, 0)

class VxDbFcf : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbFcf)
    KX_DB_FIELDS(VxDbFcf, VxDbEntity)
public:
    VxDbFcf() = default;
    VxDbFcf(const wchar_t* text, const VxGePoint3d& location, const VxGeVector3d& normal, const VxGeVector3d& direction);

    // The direction stays in the plane of the normal (projected; one along it is refused).
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    Velt::ErrorStatus setDirection(const VxGeVector3d& direction);

    // What the frame takes from its dimension style unless it overrides it (kept as the
    // style overrides of drawing files): colours 0 ... 256 of the text and of the frames,
    // the text style, the text height (above zero) and the overall scale (zero or more).
    int16_t textColor() const;
    Velt::ErrorStatus setTextColor(int16_t color);
    int16_t dimensionLineColor() const;
    Velt::ErrorStatus setDimensionLineColor(int16_t color);
    VxDbObjectId textStyle() const;
    Velt::ErrorStatus setTextStyle(VxDbObjectId style);
    double textHeight() const;
    Velt::ErrorStatus setTextHeight(double height);
    double scaleFactor() const;
    Velt::ErrorStatus setScaleFactor(double scale);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    Velt::ErrorStatus checkFields(uint64_t readMask);
};

}  // namespace kx
