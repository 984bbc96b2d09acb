#pragma once

// Text written along an arc. It keeps the arc's geometry of its own (center, radius, angles,
// normal: what drawing files hold), so it stands without the arc, and the arc it was set on,
// so that a script finds the arc again.

#include <cstdint>
#include <string>

#include "db/entity.h"
#include "db/fields.h"
#include "ge/curves.h"

namespace kx {

// Alignments as files keep them: 1 fit, 2 left, 3 right, 4 center; direction 1 outward,
// 2 inward; side 1 convex, 2 concave. Angles in radians in the plane of the normal.
#define KX_FIELDS_VxDbArcAlignedText(F)                                                                   \
    F(GetSet, std::wstring, textString, setTextString, L"", any, kOwn, 1, 0)                               \
    F(GetSet, std::wstring, fontName, setFontName, L"", any, kOwn, 2, kxdxf::kOptional)                    \
    F(GetSet, std::wstring, bigFontName, setBigFontName, L"", any, kOwn, 3, kxdxf::kOptional)              \
    F(GetSet, VxDbObjectId, textStyle, setTextStyle, VxDbObjectId(), any, kOwn, 7,                         \
      kxdxf::kOptional | kxdxf::kTextStyleName)                                                           \
    F(Get, VxGePoint3d, center, -, VxGePoint3d::kOrigin, finite, kOwn, 10, kxdxf::kOcs)                    \
    F(Get, double, radius, -, 1.0, positive, kOwn, 40, 0)                                                  \
    F(GetSet, double, widthFactor, setWidthFactor, 1.0, positive, kOwn, 41, 0)                             \
    F(GetSet, double, textHeight, setTextHeight, 1.0, positive, kOwn, 42, 0)                               \
    F(GetSet, double, charSpacing, setCharSpacing, 0.0, nonNegative, kOwn, 43, 0)                          \
    F(GetSet, double, offsetFromArc, setOffsetFromArc, 0.0, finite, kOwn, 44, 0)                           \
    F(GetSet, double, rightOffset, setRightOffset, 0.0, nonNegative, kOwn, 45, 0)                          \
    F(GetSet, double, leftOffset, setLeftOffset, 0.0, nonNegative, kOwn, 46, 0)                            \
    F(Get, double, startAngle, -, 0.0, angle, kOwn, 50, 0)                                                 \
    F(Get, double, endAngle, -, kPi, angle, kOwn, 51, 0)                                                   \
    F(GetSet, bool, isReversed, setReversed, false, any, kOwn, 70, 0)                                      \
    F(GetSet, int16_t, textDirection, setTextDirection, 1, oneOrTwo, kOwn, 71, 0)                          \
    F(GetSet, int16_t, alignment, setAlignment, 2, arcTextAlignment, kOwn, 72, 0)                          \
    F(GetSet, int16_t, side, setSide, 1, oneOrTwo, kOwn, 73, 0)                                            \
    F(GetSet, bool, isBold, setBold, false, any, kOwn, 74, kxdxf::kOptional)                               \
    F(GetSet, bool, isItalic, setItalic, false, any, kOwn, 75, kxdxf::kOptional)                           \
    F(GetSet, bool, isUnderlined, setUnderlined, false, any, kOwn, 76, kxdxf::kOptional)                   \
    F(GetSet, int16_t, characterSet, setCharacterSet, 0, any, kOwn, 77, kxdxf::kOptional)                  \
    F(GetSet, int16_t, pitchAndFamily, setPitchAndFamily, 0, any, kOwn, 78, kxdxf::kOptional)              \
    F(GetSet, int16_t, fontType, setFontType, 0, any, kOwn, 79, kxdxf::kOptional)                          \
    F(GetSet, int32_t, textColorIndex, setTextColorIndex, 0, any, kOwn, 90, kxdxf::kOptional)              \
    F(GetSet, int16_t, wizardFlag, setWizardFlag, 0, any, kOwn, 280, kxdxf::kOptional)                     \
    F(Get, VxGeVector3d, normal, -, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

namespace fieldcheck {
inline Velt::ErrorStatus oneOrTwo(int16_t& v) { return v == 1 || v == 2 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus arcTextAlignment(int16_t& v) { return v >= 1 && v <= 4 ? Velt::eOk : Velt::eInvalidInput; }
}  // namespace fieldcheck

class VxDbArc;

class VxDbArcAlignedText : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbArcAlignedText)
    KX_DB_FIELDS(VxDbArcAlignedText, VxDbEntity)
public:
    enum Alignment : int16_t { kFit = 1, kLeft = 2, kRight = 3, kCenter = 4 };

    VxDbArcAlignedText() = default;

    // The arc the text follows: its geometry now, and the arc itself when it is in a
    // drawing (the text's own, once the text is in one).
    Velt::ErrorStatus setArc(const VxDbArc& arc);
    // The arc set last or named by the file; null when it is gone or was never set.
    VxDbObjectId arcId() const;
    VxGeCircArc3d geArc() const;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;

    // The arc's handle (group 330 of its own subclass) travels with the fields.
    bool readDxfGroup(int code, std::string_view value);
    void writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8File) const;
    void copyExtraData(const VxDbArcAlignedText& other);

private:
    VxDbObjectId mArc;
    uint64_t mArcHandle = 0;  // from a file, found when asked
};

}  // namespace kx
