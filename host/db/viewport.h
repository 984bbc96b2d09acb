#pragma once

#include <vector>

#include "db/entity.h"
#include "db/fields.h"

namespace kx {

// The lists a viewport keeps besides its fields: the layers frozen in it alone and the
// entity that clips it.
class VxDbViewportLists : public VxDbEntity {
public:
    const std::vector<VxDbObjectId>& frozenLayers() const { return mFrozen; }
    // Layers of the viewport's drawing; a layer already frozen is kept once.
    Velt::ErrorStatus freezeLayersInViewport(const std::vector<VxDbObjectId>& layers);
    Velt::ErrorStatus thawLayersInViewport(const std::vector<VxDbObjectId>& layers);
    bool isLayerFrozenInViewport(VxDbObjectId layer) const;
    VxDbObjectId nonRectClipEntityId() const { return mClipEntity; }
    // A null id removes the clipping.
    Velt::ErrorStatus setNonRectClipEntityId(VxDbObjectId id);

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

    // Which standard scale the view's scale is (files keep only the ratio).
    int16_t mStandardScale = 1;

private:
    std::vector<VxDbObjectId> mFrozen;
    VxDbObjectId mClipEntity;
};

namespace fieldcheck {
inline Velt::ErrorStatus circleSides(int16_t& v) { return v >= 1 && v <= 20000 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus shadePlotMode(int16_t& v) { return v >= 0 && v <= 3 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus renderMode(int16_t& v) { return v >= 0 && v <= 6 ? Velt::eOk : Velt::eInvalidInput; }
}  // namespace fieldcheck

// A window on a layout that shows model space: its centre, width and height on the sheet,
// and the view it shows (centre, height, direction, target ...). The scale is the sheet's
// height over the view's. Files of R12 hold only the window.
#define KX_VP_R13 (kxdxf::since(VxDbDxfVersion::kR13))
#define KX_VP_OPT13 (kxdxf::kOptional | KX_VP_R13)
#define KX_VP_OPT07 (kxdxf::kOptional | kxdxf::since(VxDbDxfVersion::kR2007))
// Snap and grid spacing of a new viewport.
inline constexpr VxGePoint3d kDefaultSpacing{10.0, 10.0, 0.0};

#define KX_FIELDS_VxDbViewport(F)                                                                                  \
    F(GetSet, VxGePoint3d, centerPoint, setCenterPoint, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                 \
    F(Get, double, width, -, 1.0, nonNegative, kOwn, 40, 0)                                                          \
    F(Get, double, height, -, 1.0, nonNegative, kOwn, 41, 0)                                                         \
    F(Get, int16_t, status, -, 1, any, kOwn, 68, 0)                                                                  \
    F(GetSet, int16_t, number, setNumber, 2, any, kOwn, 69, 0)                                                      \
    F(GetSet, VxGePoint3d, viewCenter, setViewCenter, VxGePoint3d::kOrigin, finite, kOwn, 12, KX_VP_R13)           \
    F(GetSet, VxGePoint3d, snapBasePoint, setSnapBasePoint, VxGePoint3d::kOrigin, finite, kOwn, 13, KX_VP_R13)     \
    F(Get, VxGePoint3d, snapSpacing, -, kDefaultSpacing, finite, kOwn, 14, KX_VP_R13)                     \
    F(Get, VxGePoint3d, gridSpacing, -, kDefaultSpacing, finite, kOwn, 15, KX_VP_R13)                     \
    F(GetSet, VxGeVector3d, viewDirection, setViewDirection, VxGeVector3d::kZAxis, unitVector, kOwn, 16, KX_VP_R13) \
    F(GetSet, VxGePoint3d, viewTarget, setViewTarget, VxGePoint3d::kOrigin, finite, kOwn, 17, KX_VP_R13)           \
    F(GetSet, double, lensLength, setLensLength, 50.0, positive, kOwn, 42, KX_VP_R13)                               \
    F(GetSet, double, frontClipDistance, setFrontClipDistance, 0.0, finite, kOwn, 43, KX_VP_R13)                    \
    F(GetSet, double, backClipDistance, setBackClipDistance, 0.0, finite, kOwn, 44, KX_VP_R13)                      \
    F(Get, double, viewHeight, -, 1.0, positive, kOwn, 45, KX_VP_R13)                                               \
    F(GetSet, double, snapAngle, setSnapAngle, 0.0, angle, kOwn, 50, KX_VP_R13 | kxdxf::kDegrees)                    \
    F(GetSet, double, twistAngle, setTwistAngle, 0.0, angle, kOwn, 51, KX_VP_R13 | kxdxf::kDegrees)                  \
    F(GetSet, int16_t, circleSides, setCircleSides, 1000, circleSides, kOwn, 72, KX_VP_R13)                         \
    F(Get, int32_t, statusFlags, -, 0x8000 | kUcsIconOn, any, kOwn, 90, KX_VP_R13)                                  \
    F(GetSet, std::wstring, plotStyleSheet, setPlotStyleSheet, L"", any, kOwn, 1, KX_VP_R13)                        \
    F(GetSet, int16_t, renderMode, setRenderMode, 0, renderMode, kOwn, 281, KX_VP_R13)                              \
    F(GetSet, bool, ucsPerViewport, setUcsPerViewport, false, any, kOwn, 71, KX_VP_R13)                             \
    F(GetSet, int16_t, ucsIconSetting, setUcsIconSetting, 0, any, kOwn, 74, KX_VP_OPT13)                            \
    F(GetSet, VxGePoint3d, ucsOrigin, setUcsOrigin, VxGePoint3d::kOrigin, finite, kOwn, 110, KX_VP_OPT13)          \
    F(GetSet, VxGeVector3d, ucsXAxis, setUcsXAxis, VxGeVector3d::kXAxis, unitVector, kOwn, 111, KX_VP_OPT13)       \
    F(GetSet, VxGeVector3d, ucsYAxis, setUcsYAxis, VxGeVector3d::kYAxis, unitVector, kOwn, 112, KX_VP_OPT13)       \
    F(GetSet, int16_t, ucsOrthoType, setUcsOrthoType, 0, any, kOwn, 79, KX_VP_OPT13)                                \
    F(GetSet, double, elevation, setElevation, 0.0, finite, kOwn, 146, KX_VP_OPT13)                                 \
    F(GetSet, int16_t, shadePlot, setShadePlot, 0, shadePlotMode, kOwn, 170, kxdxf::since(VxDbDxfVersion::kR2004))  \
    F(GetSet, int16_t, gridMajor, setGridMajor, 5, any, kOwn, 61, KX_VP_OPT07)                                      \
    F(GetSet, bool, defaultLighting, setDefaultLighting, true, any, kOwn, 292, KX_VP_OPT07)                         \
    F(GetSet, int16_t, defaultLightingType, setDefaultLightingType, 1, any, kOwn, 282, KX_VP_OPT07)                 \
    F(GetSet, double, brightness, setBrightness, 0.0, finite, kOwn, 141, KX_VP_OPT07)                               \
    F(GetSet, double, contrast, setContrast, 0.0, finite, kOwn, 142, KX_VP_OPT07)                                   \
    F(GetSet, int16_t, ambientColor, setAmbientColor, 250, any, kOwn, 63, KX_VP_OPT07)                              \
    F(GetSet, int32_t, visualStyle, setVisualStyle, 0, any, kOwn, 0, 0)                                             \
    F(GetSet, VxDbObjectId, sheetView, setSheetView, VxDbObjectId(), any, kOwn, 0, 0)                               \
    F(GetSet, VxDbObjectId, modelView, setModelView, VxDbObjectId(), any, kOwn, 0, 0)                               \
    F(GetSet, VxDbObjectId, labelBlock, setLabelBlock, VxDbObjectId(), any, kOwn, 0, 0)

class VxDbViewport : public VxDbViewportLists {
public:
    // Bits of the status flags (group 90).
    enum : int32_t {
        kUcsIconOn = 0x20,
        kUcsIconAtOrigin = 0x40,
        kSnapOn = 0x100,
        kGridOn = 0x200,
        kHidePlot = 0x800,
        kLocked = 0x4000,
        kNonRectClip = 0x10000,
        kOff = 0x20000,
    };
    // The standard scales: 0 fits the model's extents, 1 is a custom scale, 2 ... 34 fixed
    // ratios of sheet to model (1:1 ... 100:1, then the architectural ones).
    enum : int16_t { kScaleToFit = 0, kCustomScale = 1, kStandardScaleMax = 34 };

    VX_RX_DECLARE_MEMBERS(VxDbViewport)
    KX_DB_FIELDS(VxDbViewport, VxDbViewportLists)
public:
    VxDbViewport() = default;

    // The window's size on the sheet; the scale stays, so the view's height follows.
    Velt::ErrorStatus setWidth(double value);
    Velt::ErrorStatus setHeight(double value);
    // The model-space height shown; the scale follows (a custom one).
    Velt::ErrorStatus setViewHeight(double value);
    int16_t standardScale() const { return mStandardScale; }
    // Sheet units per model unit, above zero; the standard scale becomes custom.
    double customScale() const;
    Velt::ErrorStatus setCustomScale(double scale);
    // 2 ... 34 set their ratio; 0 fits the model's extents (kept as it is when the model is
    // empty); 1 keeps the scale and calls it custom.
    Velt::ErrorStatus setStandardScale(int16_t type);
    // The sheet per model ratio of a standard scale 2 ... 34; 0 for the others.
    static double standardScaleRatio(int type);

    bool isOn() const { return mFields.status != 0 && !(mFields.statusFlags & kOff); }
    Velt::ErrorStatus setOn(bool on);
    bool flag(int32_t bit) const { return (mFields.statusFlags & bit) != 0; }
    Velt::ErrorStatus setFlag(int32_t bit, bool on);
    bool isGridOn() const { return flag(kGridOn); }
    Velt::ErrorStatus setGridOn(bool on) { return setFlag(kGridOn, on); }
    bool isSnapOn() const { return flag(kSnapOn); }
    Velt::ErrorStatus setSnapOn(bool on) { return setFlag(kSnapOn, on); }
    bool isUcsIconVisible() const { return flag(kUcsIconOn); }
    Velt::ErrorStatus setUcsIconVisible(bool on) { return setFlag(kUcsIconOn, on); }
    bool isUcsIconAtOrigin() const { return flag(kUcsIconAtOrigin); }
    Velt::ErrorStatus setUcsIconAtOrigin(bool on) { return setFlag(kUcsIconAtOrigin, on); }
    bool isLocked() const { return flag(kLocked); }
    Velt::ErrorStatus setLocked(bool on) { return setFlag(kLocked, on); }
    bool hiddenLinesRemoved() const { return flag(kHidePlot); }
    Velt::ErrorStatus setHiddenLinesRemoved(bool on) { return setFlag(kHidePlot, on); }
    bool isNonRectClipOn() const { return flag(kNonRectClip); }

    // Spacings above zero in both directions.
    Velt::ErrorStatus setSnapSpacing(double x, double y);
    Velt::ErrorStatus setGridSpacing(double x, double y);
    // Clips the window by a closed entity of the same sheet; the flag follows.
    Velt::ErrorStatus setNonRectClip(VxDbObjectId entity);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // After a file was read: the standard scale that the ratio is, or custom.
    Velt::ErrorStatus checkFields(uint64_t readMask);
};


}  // namespace kx
