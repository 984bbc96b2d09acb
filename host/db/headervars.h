#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/objectid.h"
#include "ge/point.h"

namespace kx {

// The drawing's header variables. Each has a name (without the "$" of the
// file format), a kind, the group code a drawing file stores it under, a
// default and a validity rule that every setter enforces.
enum class VxDbHeaderVar : uint16_t {
    kInsBase, kExtMin, kExtMax, kLimMin, kLimMax, kOrthoMode, kRegenMode, kFillMode, kQTextMode, kMirrText,
    kLtScale, kAttMode, kTextSize, kTraceWid, kTextStyle, kCLayer, kCELType, kCEColor, kCELTScale, kDimStyle,
    kLUnits, kLUPrec, kSketchInc, kFilletRad, kAUnits, kAUPrec, kMenu, kElevation, kPElevation, kThickness,
    kLimCheck, kChamferA, kChamferB, kChamferC, kChamferD, kSkPoly, kTDCreate, kTDUpdate, kTDInDwg,
    kTDUsrTimer, kUsrTimer, kAngBase, kAngDir, kPDMode, kPDSize, kPLineWid, kSplFrame, kSplineType,
    kSplineSegs, kSurfTab1, kSurfTab2, kSurfType, kSurfU, kSurfV, kUcsBase, kUcsName, kUcsOrg, kUcsXDir,
    kUcsYDir, kPUcsBase, kPUcsName, kPUcsOrg, kPUcsXDir, kPUcsYDir, kUserI1, kUserI2, kUserI3, kUserI4,
    kUserI5, kUserR1, kUserR2, kUserR3, kUserR4, kUserR5, kWorldView, kShadEdge, kShadeDif, kTileMode,
    kMaxActVP, kPInsBase, kPLimCheck, kPExtMin, kPExtMax, kPLimMin, kPLimMax, kUnitMode, kVisRetain,
    kPLineGen, kPsLtScale, kTreeDepth, kCMLStyle, kCMLJust, kCMLScale, kProxyGraphics, kMeasurement,
    kCELWeight, kEndCaps, kJoinStyle, kLwDisplay, kInsUnits, kHyperlinkBase, kStyleSheet, kXEdit,
    kCEPSNType, kCEPSNId, kPStyleMode, kFingerprintGuid, kVersionGuid, kExtNames, kPsVpScale, kOleStartup,
    kSortEnts, kIndexCtl, kHideText, kXClipFrame, kHaloGap, kObsColor, kObsLType, kIntersectionDisplay,
    kIntersectionColor, kDimAssoc, kProjectName, kIsolines, kFacetRes, kDispSilh, kCTableStyle,
    kCMLeaderStyle, kCETransparency, kCShadow, kLensLength, kCameraHeight, kCameraDisplay, kStepsPerSec,
    kStepSize, kPSolWidth, kPSolHeight, kLoftAng1, kLoftAng2, kLoftMag1, kLoftMag2, kLoftParam,
    kLoftNormals, kLatitude, kLongitude, kNorthDirection, kTimeZone, kLightGlyphDisplay,
    kTileModeLightSynch, kDwgCodePage,
    kCount
};

class VxDbHeaderVarInfo {
public:
    enum Kind : uint8_t {
        kBool,          // 0 or 1
        kInt16,
        kInt32,
        kReal,
        kAngle,         // radians
        kPoint2d,
        kPoint3d,
        kString,
        kObjectId,      // a record or object of the drawing (null allowed where noted)
        kColor,         // packed entity colour
        kTransparency,  // packed transparency
        kLineWeight,
    };
    enum Rule : uint8_t { kAny, kRange, kPositive, kNonNegative, kNonZeroVector, kPointMode, kNullOrObject };

    const wchar_t* name;
    int16_t groupCode;
    Kind kind;
    Rule rule;
    double low;   // for kRange
    double high;
    double defaultValue[3];
    const wchar_t* defaultText;
};

// A value of any kind; only the members of the variable's kind are used.
struct VxDbHeaderValue {
    int32_t integer = 0;   // bool, int16, int32, colour, transparency, line weight
    double real[3] = {};   // real, angle, points (x, y, z)
    std::wstring text;
    VxDbObjectId id;

    static VxDbHeaderValue ofInt(int32_t v) { VxDbHeaderValue h; h.integer = v; return h; }
    static VxDbHeaderValue ofReal(double v) { VxDbHeaderValue h; h.real[0] = v; return h; }
    static VxDbHeaderValue ofPoint(const VxGePoint3d& p) { VxDbHeaderValue h; h.real[0] = p.x; h.real[1] = p.y; h.real[2] = p.z; return h; }
    static VxDbHeaderValue ofPoint(const VxGePoint2d& p) { VxDbHeaderValue h; h.real[0] = p.x; h.real[1] = p.y; return h; }
    static VxDbHeaderValue ofText(std::wstring_view v) { VxDbHeaderValue h; h.text = v; return h; }
    static VxDbHeaderValue ofId(VxDbObjectId v) { VxDbHeaderValue h; h.id = v; return h; }
};

const VxDbHeaderVarInfo& vxdbHeaderVarInfo(VxDbHeaderVar var);
// Finds a variable by name, without regard to case and with or without "$".
bool vxdbFindHeaderVar(std::wstring_view name, VxDbHeaderVar& var);

}  // namespace kx
