#include "db/headervars.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "ge/angle.h"

namespace kx {

namespace {

using I = VxDbHeaderVarInfo;
constexpr double kHuge = 1e20;

// name, group code, kind, rule, low, high, default, default text
const VxDbHeaderVarInfo kHeaderVars[] = {
    {L"INSBASE", 10, I::kPoint3d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"EXTMIN", 10, I::kPoint3d, I::kAny, 0, 0, {kHuge, kHuge, kHuge}, nullptr},
    {L"EXTMAX", 10, I::kPoint3d, I::kAny, 0, 0, {-kHuge, -kHuge, -kHuge}, nullptr},
    {L"LIMMIN", 10, I::kPoint2d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"LIMMAX", 10, I::kPoint2d, I::kAny, 0, 0, {12, 9, 0}, nullptr},
    {L"ORTHOMODE", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"REGENMODE", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"FILLMODE", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"QTEXTMODE", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"MIRRTEXT", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"LTSCALE", 40, I::kReal, I::kPositive, 0, 0, {1}, nullptr},
    {L"ATTMODE", 70, I::kInt16, I::kRange, 0, 2, {1}, nullptr},
    {L"TEXTSIZE", 40, I::kReal, I::kPositive, 0, 0, {0.2}, nullptr},
    {L"TRACEWID", 40, I::kReal, I::kNonNegative, 0, 0, {0.05}, nullptr},
    {L"TEXTSTYLE", 7, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CLAYER", 8, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CELTYPE", 6, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CECOLOR", 62, I::kColor, I::kAny, 0, 0, {double(uint32_t(0xC0) << 24)}, nullptr},
    {L"CELTSCALE", 40, I::kReal, I::kPositive, 0, 0, {1}, nullptr},
    {L"DIMSTYLE", 2, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"LUNITS", 70, I::kInt16, I::kRange, 1, 5, {2}, nullptr},
    {L"LUPREC", 70, I::kInt16, I::kRange, 0, 8, {4}, nullptr},
    {L"SKETCHINC", 40, I::kReal, I::kNonNegative, 0, 0, {0.1}, nullptr},
    {L"FILLETRAD", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"AUNITS", 70, I::kInt16, I::kRange, 0, 4, {0}, nullptr},
    {L"AUPREC", 70, I::kInt16, I::kRange, 0, 8, {0}, nullptr},
    {L"MENU", 1, I::kString, I::kAny, 0, 0, {0}, L"."},
    {L"ELEVATION", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"PELEVATION", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"THICKNESS", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"LIMCHECK", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"CHAMFERA", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"CHAMFERB", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"CHAMFERC", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"CHAMFERD", 40, I::kAngle, I::kAny, 0, 0, {0}, nullptr},
    {L"SKPOLY", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"TDCREATE", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"TDUPDATE", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"TDINDWG", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"TDUSRTIMER", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"USRTIMER", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"ANGBASE", 50, I::kAngle, I::kAny, 0, 0, {0}, nullptr},
    {L"ANGDIR", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"PDMODE", 70, I::kInt16, I::kPointMode, 0, 100, {0}, nullptr},
    {L"PDSIZE", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"PLINEWID", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"SPLFRAME", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"SPLINETYPE", 70, I::kInt16, I::kRange, 5, 6, {6}, nullptr},
    {L"SPLINESEGS", 70, I::kInt16, I::kRange, -32768, 32767, {8}, nullptr},
    {L"SURFTAB1", 70, I::kInt16, I::kRange, 2, 32766, {6}, nullptr},
    {L"SURFTAB2", 70, I::kInt16, I::kRange, 2, 32766, {6}, nullptr},
    {L"SURFTYPE", 70, I::kInt16, I::kRange, 5, 8, {6}, nullptr},
    {L"SURFU", 70, I::kInt16, I::kRange, 0, 200, {6}, nullptr},
    {L"SURFV", 70, I::kInt16, I::kRange, 0, 200, {6}, nullptr},
    {L"UCSBASE", 2, I::kObjectId, I::kNullOrObject, 0, 0, {0}, nullptr},
    {L"UCSNAME", 2, I::kObjectId, I::kNullOrObject, 0, 0, {0}, nullptr},
    {L"UCSORG", 10, I::kPoint3d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"UCSXDIR", 10, I::kPoint3d, I::kNonZeroVector, 0, 0, {1, 0, 0}, nullptr},
    {L"UCSYDIR", 10, I::kPoint3d, I::kNonZeroVector, 0, 0, {0, 1, 0}, nullptr},
    {L"PUCSBASE", 2, I::kObjectId, I::kNullOrObject, 0, 0, {0}, nullptr},
    {L"PUCSNAME", 2, I::kObjectId, I::kNullOrObject, 0, 0, {0}, nullptr},
    {L"PUCSORG", 10, I::kPoint3d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"PUCSXDIR", 10, I::kPoint3d, I::kNonZeroVector, 0, 0, {1, 0, 0}, nullptr},
    {L"PUCSYDIR", 10, I::kPoint3d, I::kNonZeroVector, 0, 0, {0, 1, 0}, nullptr},
    {L"USERI1", 70, I::kInt16, I::kAny, 0, 0, {0}, nullptr},
    {L"USERI2", 70, I::kInt16, I::kAny, 0, 0, {0}, nullptr},
    {L"USERI3", 70, I::kInt16, I::kAny, 0, 0, {0}, nullptr},
    {L"USERI4", 70, I::kInt16, I::kAny, 0, 0, {0}, nullptr},
    {L"USERI5", 70, I::kInt16, I::kAny, 0, 0, {0}, nullptr},
    {L"USERR1", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"USERR2", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"USERR3", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"USERR4", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"USERR5", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"WORLDVIEW", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"SHADEDGE", 70, I::kInt16, I::kRange, 0, 3, {3}, nullptr},
    {L"SHADEDIF", 70, I::kInt16, I::kRange, 0, 100, {70}, nullptr},
    {L"TILEMODE", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"MAXACTVP", 70, I::kInt16, I::kRange, 2, 64, {64}, nullptr},
    {L"PINSBASE", 10, I::kPoint3d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"PLIMCHECK", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"PEXTMIN", 10, I::kPoint3d, I::kAny, 0, 0, {kHuge, kHuge, kHuge}, nullptr},
    {L"PEXTMAX", 10, I::kPoint3d, I::kAny, 0, 0, {-kHuge, -kHuge, -kHuge}, nullptr},
    {L"PLIMMIN", 10, I::kPoint2d, I::kAny, 0, 0, {0, 0, 0}, nullptr},
    {L"PLIMMAX", 10, I::kPoint2d, I::kAny, 0, 0, {12, 9, 0}, nullptr},
    {L"UNITMODE", 70, I::kInt16, I::kRange, 0, 1, {0}, nullptr},
    {L"VISRETAIN", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"PLINEGEN", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"PSLTSCALE", 70, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"TREEDEPTH", 70, I::kInt16, I::kRange, -32768, 32767, {3020}, nullptr},
    {L"CMLSTYLE", 2, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CMLJUST", 70, I::kInt16, I::kRange, 0, 2, {0}, nullptr},
    {L"CMLSCALE", 40, I::kReal, I::kAny, 0, 0, {1}, nullptr},
    {L"PROXYGRAPHICS", 70, I::kInt16, I::kRange, 0, 1, {1}, nullptr},
    {L"MEASUREMENT", 70, I::kInt16, I::kRange, 0, 1, {0}, nullptr},
    {L"CELWEIGHT", 370, I::kLineWeight, I::kAny, 0, 0, {-1}, nullptr},
    {L"ENDCAPS", 280, I::kInt16, I::kRange, 0, 3, {0}, nullptr},
    {L"JOINSTYLE", 280, I::kInt16, I::kRange, 0, 3, {0}, nullptr},
    {L"LWDISPLAY", 290, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"INSUNITS", 70, I::kInt16, I::kRange, 0, 20, {1}, nullptr},
    {L"HYPERLINKBASE", 1, I::kString, I::kAny, 0, 0, {0}, L""},
    {L"STYLESHEET", 1, I::kString, I::kAny, 0, 0, {0}, L""},
    {L"XEDIT", 290, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"CEPSNTYPE", 380, I::kInt16, I::kRange, 0, 3, {0}, nullptr},
    {L"CEPSNID", 390, I::kObjectId, I::kNullOrObject, 0, 0, {0}, nullptr},
    {L"PSTYLEMODE", 290, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"FINGERPRINTGUID", 2, I::kString, I::kAny, 0, 0, {0}, L""},
    {L"VERSIONGUID", 2, I::kString, I::kAny, 0, 0, {0}, L""},
    {L"EXTNAMES", 290, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"PSVPSCALE", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"OLESTARTUP", 290, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"SORTENTS", 280, I::kInt16, I::kRange, 0, 127, {127}, nullptr},
    {L"INDEXCTL", 280, I::kInt16, I::kRange, 0, 3, {0}, nullptr},
    {L"HIDETEXT", 280, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"XCLIPFRAME", 280, I::kInt16, I::kRange, 0, 2, {0}, nullptr},
    {L"HALOGAP", 280, I::kInt16, I::kRange, 0, 100, {0}, nullptr},
    {L"OBSCOLOR", 70, I::kInt16, I::kRange, 0, 257, {257}, nullptr},
    {L"OBSLTYPE", 280, I::kInt16, I::kRange, 0, 11, {0}, nullptr},
    {L"INTERSECTIONDISPLAY", 280, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"INTERSECTIONCOLOR", 70, I::kInt16, I::kRange, 0, 257, {257}, nullptr},
    {L"DIMASSOC", 280, I::kInt16, I::kRange, 0, 2, {2}, nullptr},
    {L"PROJECTNAME", 1, I::kString, I::kAny, 0, 0, {0}, L""},
    {L"ISOLINES", 70, I::kInt16, I::kRange, 0, 2047, {4}, nullptr},
    {L"FACETRES", 40, I::kReal, I::kRange, 0.01, 10.0, {0.5}, nullptr},
    {L"DISPSILH", 70, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"CTABLESTYLE", 2, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CMLEADERSTYLE", 2, I::kObjectId, I::kAny, 0, 0, {0}, nullptr},
    {L"CETRANSPARENCY", 440, I::kTransparency, I::kAny, 0, 0, {0}, nullptr},
    {L"CSHADOW", 280, I::kInt16, I::kRange, 0, 3, {0}, nullptr},
    {L"LENSLENGTH", 40, I::kReal, I::kPositive, 0, 0, {50}, nullptr},
    {L"CAMERAHEIGHT", 40, I::kReal, I::kAny, 0, 0, {0}, nullptr},
    {L"CAMERADISPLAY", 290, I::kBool, I::kAny, 0, 1, {0}, nullptr},
    {L"STEPSPERSEC", 40, I::kReal, I::kRange, 1, 30, {2}, nullptr},
    {L"STEPSIZE", 40, I::kReal, I::kPositive, 0, 0, {6}, nullptr},
    {L"PSOLWIDTH", 40, I::kReal, I::kPositive, 0, 0, {0.25}, nullptr},
    {L"PSOLHEIGHT", 40, I::kReal, I::kPositive, 0, 0, {4}, nullptr},
    {L"LOFTANG1", 40, I::kAngle, I::kAny, 0, 0, {1.5707963267948966}, nullptr},
    {L"LOFTANG2", 40, I::kAngle, I::kAny, 0, 0, {1.5707963267948966}, nullptr},
    {L"LOFTMAG1", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"LOFTMAG2", 40, I::kReal, I::kNonNegative, 0, 0, {0}, nullptr},
    {L"LOFTPARAM", 70, I::kInt16, I::kRange, 0, 15, {7}, nullptr},
    {L"LOFTNORMALS", 280, I::kInt16, I::kRange, 0, 6, {1}, nullptr},
    {L"LATITUDE", 40, I::kReal, I::kRange, -90, 90, {37.795}, nullptr},
    {L"LONGITUDE", 40, I::kReal, I::kRange, -180, 180, {-122.394}, nullptr},
    {L"NORTHDIRECTION", 40, I::kAngle, I::kAny, 0, 0, {0}, nullptr},
    {L"TIMEZONE", 70, I::kInt32, I::kAny, 0, 0, {-8000}, nullptr},
    {L"LIGHTGLYPHDISPLAY", 280, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"TILEMODELIGHTSYNCH", 280, I::kBool, I::kAny, 0, 1, {1}, nullptr},
    {L"DWGCODEPAGE", 3, I::kString, I::kAny, 0, 0, {0}, L"ANSI_1252"},
};
static_assert(sizeof(kHeaderVars) / sizeof(kHeaderVars[0]) == size_t(VxDbHeaderVar::kCount));

bool varOk(VxDbHeaderVar var) { return size_t(var) < size_t(VxDbHeaderVar::kCount); }

// The class an id-valued variable must name.
const VxRxClass* classOf(VxDbHeaderVar var)
{
    switch (var) {
    case VxDbHeaderVar::kTextStyle: return VxDbTextStyleTableRecord::desc();
    case VxDbHeaderVar::kCLayer: return VxDbLayerTableRecord::desc();
    case VxDbHeaderVar::kCELType: return VxDbLinetypeTableRecord::desc();
    case VxDbHeaderVar::kDimStyle: return VxDbDimStyleTableRecord::desc();
    case VxDbHeaderVar::kCMLStyle: return VxDbMlineStyle::desc();
    case VxDbHeaderVar::kCTableStyle: return VxDbTableStyle::desc();
    case VxDbHeaderVar::kCMLeaderStyle: return VxDbMLeaderStyle::desc();
    case VxDbHeaderVar::kCEPSNId: return VxDbPlaceHolder::desc();
    default: return VxDbUCSTableRecord::desc();
    }
}

std::wstring newGuidText()
{
    std::random_device device;
    std::mt19937_64 random(device());
    const uint64_t a = random();
    const uint64_t b = random();
    wchar_t text[40];
    std::swprintf(text, 40, L"{%08X-%04X-%04X-%04X-%012llX}", unsigned(a >> 32), unsigned((a >> 16) & 0xFFFF),
                  unsigned(a & 0xFFFF), unsigned(b >> 48), (unsigned long long)(b & 0xFFFFFFFFFFFFull));
    return text;
}

double julianNow()
{
    using namespace std::chrono;
    const double seconds = double(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count()) / 1000.0;
    return 2440587.5 + seconds / 86400.0;
}

bool isValidPointMode(int value)
{
    const int low = value & 0x1F;
    const int high = value & ~0x1F;
    return low <= 4 && (high == 0 || high == 32 || high == 64 || high == 96);
}

}  // namespace

const VxDbHeaderVarInfo& vxdbHeaderVarInfo(VxDbHeaderVar var)
{
    return kHeaderVars[varOk(var) ? size_t(var) : 0];
}

bool vxdbFindHeaderVar(std::wstring_view name, VxDbHeaderVar& var)
{
    if (!name.empty() && name[0] == L'$')
        name.remove_prefix(1);
    for (size_t i = 0; i < size_t(VxDbHeaderVar::kCount); ++i) {
        if (vxEqualNoCase(kHeaderVars[i].name, name)) {
            var = VxDbHeaderVar(i);
            return true;
        }
    }
    return false;
}

void VxDbDatabase::initHeader()
{
    for (size_t i = 0; i < mHeader.size(); ++i) {
        const VxDbHeaderVarInfo& info = kHeaderVars[i];
        VxDbHeaderValue& value = mHeader[i];
        value = VxDbHeaderValue();
        switch (info.kind) {
        case I::kBool:
        case I::kInt16:
        case I::kInt32:
        case I::kLineWeight:
            value.integer = int32_t(info.defaultValue[0]);
            break;
        case I::kColor:
        case I::kTransparency:
            value.integer = int32_t(uint32_t(info.defaultValue[0]));
            break;
        case I::kReal:
        case I::kAngle:
        case I::kPoint2d:
        case I::kPoint3d:
            for (int k = 0; k < 3; ++k)
                value.real[k] = info.defaultValue[k];
            break;
        case I::kString:
            value.text = info.defaultText ? info.defaultText : L"";
            break;
        case I::kObjectId:
            break;
        }
    }
    const double now = julianNow();
    mHeader[size_t(VxDbHeaderVar::kTDCreate)].real[0] = now;
    mHeader[size_t(VxDbHeaderVar::kTDUpdate)].real[0] = now;
    mHeader[size_t(VxDbHeaderVar::kFingerprintGuid)].text = newGuidText();
    mHeader[size_t(VxDbHeaderVar::kVersionGuid)].text = newGuidText();
}

Velt::ErrorStatus VxDbDatabase::getHeaderVar(VxDbHeaderVar var, VxDbHeaderValue& value) const
{
    if (!varOk(var))
        return Velt::eInvalidInput;
    value = mHeader[size_t(var)];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabase::setHeaderVar(VxDbHeaderVar var, const VxDbHeaderValue& value)
{
    if (!varOk(var))
        return Velt::eInvalidInput;
    const VxDbHeaderVarInfo& info = kHeaderVars[size_t(var)];
    VxDbHeaderValue stored = mHeader[size_t(var)];
    switch (info.kind) {
    case I::kBool:
        if (value.integer != 0 && value.integer != 1)
            return Velt::eOutOfRange;
        stored.integer = value.integer;
        break;
    case I::kInt16:
    case I::kInt32:
        if (info.kind == I::kInt16 && (value.integer < -32768 || value.integer > 32767))
            return Velt::eOutOfRange;
        if (info.rule == I::kRange && (value.integer < info.low || value.integer > info.high))
            return Velt::eOutOfRange;
        if (info.rule == I::kPointMode && !isValidPointMode(value.integer))
            return Velt::eOutOfRange;
        stored.integer = value.integer;
        break;
    case I::kLineWeight:
        if (!VxDb::isValidLineWeight(value.integer))
            return Velt::eOutOfRange;
        stored.integer = value.integer;
        break;
    case I::kColor: {
        VxCmEntityColor check;
        if (Velt::ErrorStatus es = check.setColor(uint32_t(value.integer)))
            return es;
        stored.integer = value.integer;
        break;
    }
    case I::kTransparency: {
        VxCmTransparency check;
        if (Velt::ErrorStatus es = check.serializeIn(uint32_t(value.integer)))
            return es;
        stored.integer = value.integer;
        break;
    }
    case I::kReal:
    case I::kAngle: {
        const double v = value.real[0];
        if (!std::isfinite(v))
            return Velt::eInvalidInput;
        if ((info.rule == I::kPositive && !(v > 0.0)) || (info.rule == I::kNonNegative && v < 0.0) ||
            (info.rule == I::kRange && (v < info.low || v > info.high)))
            return Velt::eOutOfRange;
        stored.real[0] = info.kind == I::kAngle ? vxgeNormalizeAngle(v) : v;
        break;
    }
    case I::kPoint2d:
    case I::kPoint3d: {
        const int n = info.kind == I::kPoint2d ? 2 : 3;
        for (int k = 0; k < n; ++k) {
            if (!std::isfinite(value.real[k]))
                return Velt::eInvalidInput;
        }
        if (info.rule == I::kNonZeroVector &&
            VxGeVector3d{value.real[0], value.real[1], value.real[2]}.isZeroLength())
            return Velt::eInvalidInput;
        for (int k = 0; k < n; ++k)
            stored.real[k] = value.real[k];
        break;
    }
    case I::kString:
        stored.text = value.text;
        break;
    case I::kObjectId:
        if (!(value.id.isNull() && info.rule == I::kNullOrObject)) {
            if (Velt::ErrorStatus es = detail::checkReference(value.id, classOf(var), this))
                return es;
            if (var == VxDbHeaderVar::kTextStyle) {
                auto* style = VxDbTextStyleTableRecord::cast(detail::objectOf(value.id));
                if (style && style->isShapeFile())
                    return Velt::eInvalidInput;
            }
        }
        stored.id = value.id;
        break;
    }
    mHeader[size_t(var)] = std::move(stored);
    return Velt::eOk;
}

int32_t VxDbDatabase::headerInt(VxDbHeaderVar var) const
{
    return varOk(var) ? mHeader[size_t(var)].integer : 0;
}

double VxDbDatabase::headerReal(VxDbHeaderVar var) const
{
    return varOk(var) ? mHeader[size_t(var)].real[0] : 0.0;
}

VxGePoint3d VxDbDatabase::headerPoint(VxDbHeaderVar var) const
{
    if (!varOk(var))
        return VxGePoint3d();
    const VxDbHeaderValue& v = mHeader[size_t(var)];
    return VxGePoint3d{v.real[0], v.real[1], v.real[2]};
}

VxGePoint2d VxDbDatabase::headerPoint2d(VxDbHeaderVar var) const
{
    if (!varOk(var))
        return VxGePoint2d();
    const VxDbHeaderValue& v = mHeader[size_t(var)];
    return VxGePoint2d{v.real[0], v.real[1]};
}

VxDbObjectId VxDbDatabase::headerId(VxDbHeaderVar var) const
{
    return varOk(var) ? mHeader[size_t(var)].id : VxDbObjectId();
}

const std::wstring& VxDbDatabase::headerText(VxDbHeaderVar var) const
{
    static const std::wstring kEmpty;
    return varOk(var) ? mHeader[size_t(var)].text : kEmpty;
}

Velt::ErrorStatus VxDbDatabase::setHeaderInt(VxDbHeaderVar var, int32_t value)
{
    return setHeaderVar(var, VxDbHeaderValue::ofInt(value));
}

Velt::ErrorStatus VxDbDatabase::setHeaderReal(VxDbHeaderVar var, double value)
{
    return setHeaderVar(var, VxDbHeaderValue::ofReal(value));
}

VxCmColor VxDbDatabase::cecolor() const
{
    return VxCmColor(VxCmEntityColor(uint32_t(headerInt(VxDbHeaderVar::kCEColor))));
}

Velt::ErrorStatus VxDbDatabase::setCecolor(const VxCmColor& color)
{
    return setHeaderInt(VxDbHeaderVar::kCEColor, int32_t(color.color()));
}

VxCmTransparency VxDbDatabase::cetransparency() const
{
    VxCmTransparency value;
    value.serializeIn(uint32_t(headerInt(VxDbHeaderVar::kCETransparency)));
    return value;
}

Velt::ErrorStatus VxDbDatabase::setCetransparency(const VxCmTransparency& value)
{
    return setHeaderInt(VxDbHeaderVar::kCETransparency, int32_t(value.serializeOut()));
}

VxDb::PlotStyleNameType VxDbDatabase::getCePlotStyleNameId(VxDbObjectId& id) const
{
    id = headerId(VxDbHeaderVar::kCEPSNId);
    return static_cast<VxDb::PlotStyleNameType>(headerInt(VxDbHeaderVar::kCEPSNType));
}

Velt::ErrorStatus VxDbDatabase::setCePlotStyleName(VxDb::PlotStyleNameType type, VxDbObjectId id)
{
    if (type < VxDb::kPlotStyleNameByLayer || type > VxDb::kPlotStyleNameById)
        return Velt::eInvalidInput;
    if (type == VxDb::kPlotStyleNameById) {
        if (id.isNull())
            return Velt::eNullObjectId;
        if (Velt::ErrorStatus es = setHeaderVar(VxDbHeaderVar::kCEPSNId, VxDbHeaderValue::ofId(id)))
            return es;
    } else {
        mHeader[size_t(VxDbHeaderVar::kCEPSNId)].id = VxDbObjectId();
    }
    return setHeaderInt(VxDbHeaderVar::kCEPSNType, type);
}

namespace {

bool isUcsFrame(const VxGePoint3d& origin, const VxGeVector3d& x, const VxGeVector3d& y)
{
    const bool finite = std::isfinite(origin.x) && std::isfinite(origin.y) && std::isfinite(origin.z) &&
                        std::isfinite(x.x) && std::isfinite(x.y) && std::isfinite(x.z) && std::isfinite(y.x) &&
                        std::isfinite(y.y) && std::isfinite(y.z);
    return finite && !x.isZeroLength() && !y.isZeroLength() && !x.isParallelTo(y);
}

}  // namespace

Velt::ErrorStatus VxDbDatabase::setUcs(const VxGePoint3d& origin, const VxGeVector3d& xDir, const VxGeVector3d& yDir)
{
    if (!isUcsFrame(origin, xDir, yDir))
        return Velt::eInvalidInput;
    mHeader[size_t(VxDbHeaderVar::kUcsOrg)] = VxDbHeaderValue::ofPoint(origin);
    mHeader[size_t(VxDbHeaderVar::kUcsXDir)] = VxDbHeaderValue::ofPoint(VxGePoint3d::kOrigin + xDir);
    mHeader[size_t(VxDbHeaderVar::kUcsYDir)] = VxDbHeaderValue::ofPoint(VxGePoint3d::kOrigin + yDir);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabase::setPucs(const VxGePoint3d& origin, const VxGeVector3d& xDir, const VxGeVector3d& yDir)
{
    if (!isUcsFrame(origin, xDir, yDir))
        return Velt::eInvalidInput;
    mHeader[size_t(VxDbHeaderVar::kPUcsOrg)] = VxDbHeaderValue::ofPoint(origin);
    mHeader[size_t(VxDbHeaderVar::kPUcsXDir)] = VxDbHeaderValue::ofPoint(VxGePoint3d::kOrigin + xDir);
    mHeader[size_t(VxDbHeaderVar::kPUcsYDir)] = VxDbHeaderValue::ofPoint(VxGePoint3d::kOrigin + yDir);
    return Velt::eOk;
}

VxGeMatrix3d VxDbDatabase::currentUcsMatrix() const
{
    const bool model = tilemode();
    const VxGePoint3d origin = model ? ucsorg() : pucsorg();
    const VxGeVector3d x = (model ? ucsxdir() : pucsxdir()).normal();
    const VxGeVector3d y = (model ? ucsydir() : pucsydir()).normal();
    VxGeMatrix3d m;
    m.setCoordSystem(origin, x, y, x.crossProduct(y).normal());
    return m;
}

Velt::ErrorStatus VxDbDatabase::updateExt()
{
    VxGeExtents3d extents;
    if (auto* space = VxDbBlockTableRecord::cast(detail::objectOf(modelSpaceId())))
        space->getGeomExtents(extents);
    if (extents.isValid()) {
        mHeader[size_t(VxDbHeaderVar::kExtMin)] = VxDbHeaderValue::ofPoint(extents.minPoint());
        mHeader[size_t(VxDbHeaderVar::kExtMax)] = VxDbHeaderValue::ofPoint(extents.maxPoint());
    } else {
        mHeader[size_t(VxDbHeaderVar::kExtMin)] = VxDbHeaderValue::ofPoint(VxGePoint3d{kHuge, kHuge, kHuge});
        mHeader[size_t(VxDbHeaderVar::kExtMax)] = VxDbHeaderValue::ofPoint(VxGePoint3d{-kHuge, -kHuge, -kHuge});
    }
    return Velt::eOk;
}

// ---- by name, as result buffers ----

namespace {

// The name of the object an id-valued variable names.
std::wstring nameOfObject(VxDbObjectId id)
{
    VxDbObject* object = detail::objectOf(id);
    if (auto* record = VxDbSymbolTableRecord::cast(object))
        return record->name();
    if (auto* named = VxDbNamedObject::cast(object))
        return named->name();
    if (object) {
        if (auto* owner = VxDbDictionary::cast(detail::objectOf(object->ownerId()))) {
            std::wstring key;
            owner->nameAt(id, key);
            return key;
        }
    }
    return std::wstring();
}

VxDbObjectId findByName(const VxDbDatabase* db, VxDbHeaderVar var, const std::wstring& name)
{
    VxDbObjectId container;
    switch (var) {
    case VxDbHeaderVar::kTextStyle: container = db->textStyleTableId(); break;
    case VxDbHeaderVar::kCLayer: container = db->layerTableId(); break;
    case VxDbHeaderVar::kCELType: container = db->linetypeTableId(); break;
    case VxDbHeaderVar::kDimStyle: container = db->dimStyleTableId(); break;
    case VxDbHeaderVar::kCMLStyle: container = db->mLStyleDictionaryId(); break;
    case VxDbHeaderVar::kCTableStyle: container = db->tableStyleDictionaryId(); break;
    case VxDbHeaderVar::kCMLeaderStyle: container = db->mleaderStyleDictionaryId(); break;
    case VxDbHeaderVar::kCEPSNId: container = db->plotStyleNameDictionaryId(); break;
    default: container = db->UCSTableId(); break;
    }
    VxDbObject* object = detail::objectOf(container);
    if (auto* table = VxDbSymbolTable::cast(object))
        return table->getIdAt(name.c_str());
    if (auto* dictionary = VxDbDictionary::cast(object))
        return dictionary->getIdAt(name.c_str());
    return VxDbObjectId();
}

}  // namespace

Velt::ErrorStatus VxDbDatabase::getSysVar(const wchar_t* name, VxResBuf*& value) const
{
    value = nullptr;
    VxDbHeaderVar var;
    if (!name || !vxdbFindHeaderVar(name, var))
        return Velt::eKeyNotFound;
    const VxDbHeaderVarInfo& info = kHeaderVars[size_t(var)];
    const VxDbHeaderValue& v = mHeader[size_t(var)];
    switch (info.kind) {
    case I::kBool:
    case I::kInt16:
    case I::kLineWeight:
        value = vxutNewInt16(kRtShort, int16_t(v.integer));
        break;
    case I::kInt32:
    case I::kColor:
    case I::kTransparency:
        value = vxutNewInt32(kRtLong, v.integer);
        break;
    case I::kReal:
    case I::kAngle:
        value = vxutNewReal(kRtReal, v.real[0]);
        break;
    case I::kPoint2d:
        value = vxutNewPoint(kRtPoint, v.real[0], v.real[1], 0.0);
        break;
    case I::kPoint3d:
        value = vxutNewPoint(kRt3dPoint, v.real[0], v.real[1], v.real[2]);
        break;
    case I::kString:
        value = vxutNewString(kRtStr, v.text);
        break;
    case I::kObjectId:
        value = vxutNewString(kRtStr, nameOfObject(v.id));
        break;
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabase::setSysVar(const wchar_t* name, const VxResBuf* value)
{
    VxDbHeaderVar var;
    if (!name || !vxdbFindHeaderVar(name, var))
        return Velt::eKeyNotFound;
    if (!value)
        return Velt::eInvalidResBuf;
    const VxDbHeaderVarInfo& info = kHeaderVars[size_t(var)];
    VxDbHeaderValue v;
    switch (info.kind) {
    case I::kBool:
    case I::kInt16:
    case I::kInt32:
    case I::kLineWeight:
    case I::kColor:
    case I::kTransparency:
        if (value->restype == kRtShort)
            v.integer = value->resval.rint;
        else if (value->restype == kRtLong)
            v.integer = value->resval.rlong;
        else
            return Velt::eInvalidResBuf;
        break;
    case I::kReal:
    case I::kAngle:
        if (value->restype == kRtReal || value->restype == kRtAngle)
            v.real[0] = value->resval.rreal;
        else if (value->restype == kRtShort)
            v.real[0] = value->resval.rint;
        else if (value->restype == kRtLong)
            v.real[0] = value->resval.rlong;
        else
            return Velt::eInvalidResBuf;
        break;
    case I::kPoint2d:
    case I::kPoint3d:
        if (value->restype != kRtPoint && value->restype != kRt3dPoint)
            return Velt::eInvalidResBuf;
        for (int k = 0; k < 3; ++k)
            v.real[k] = value->resval.rpoint[k];
        if (value->restype == kRtPoint)
            v.real[2] = 0.0;
        break;
    case I::kString:
        if (value->restype != kRtStr)
            return Velt::eInvalidResBuf;
        v.text = vxView(value->resval.rstring);
        break;
    case I::kObjectId:
        if (value->restype == kRtStr) {
            const std::wstring text(vxView(value->resval.rstring));
            if (!text.empty()) {
                v.id = findByName(this, var, text);
                if (v.id.isNull())
                    return Velt::eKeyNotFound;
            }
        } else if (value->restype == kRtEname) {
            v.id = VxDbObjectId::fromOldId(value->resval.rlname[0]);
        } else {
            return Velt::eInvalidResBuf;
        }
        break;
    }
    return setHeaderVar(var, v);
}

}  // namespace kx
