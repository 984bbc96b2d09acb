#include "db/texts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dimoverride.h"
#include "db/internal.h"
#include "db/strings.h"
#include "ge/angle.h"

namespace kx {

Velt::ErrorStatus fieldcheck::obliqueAngle(double& v)
{
    if (!std::isfinite(v))
        return Velt::eInvalidInput;
    double a = vxgeNormalizeAngle(v);
    if (a > kPi)
        a -= kTwoPi;
    if (std::fabs(a) > vxgeDegreesToRadians(85.0) + 1e-12)
        return Velt::eInvalidInput;
    v = a;
    return Velt::eOk;
}

namespace {

// Bit of a field in the mask of fields a file gave.
uint64_t readBit(const VxDbKind& kind, const char* field)
{
    const auto& fields = kind.fields();
    for (size_t i = 0; i < fields.size(); ++i) {
        if (std::strcmp(fields[i]->name, field) == 0)
            return uint64_t(1) << i;
    }
    return 0;
}

// The angle of a world direction in the plane of a normal, from the plane's own x axis.
double angleInPlane(const VxGeVector3d& direction, const VxGeVector3d& normal)
{
    const VxGeVector3d local = VxGeMatrix3d::worldToPlane(normal).transform(direction);
    return vxgeNormalizeAngle(std::atan2(local.y, local.x));
}

// The world direction of an angle in the plane of a normal.
VxGeVector3d directionInPlane(double angle, const VxGeVector3d& normal)
{
    return VxGeMatrix3d::planeToWorld(normal).transform(VxGeVector3d{std::cos(angle), std::sin(angle), 0.0});
}

// A direction brought into the plane of a normal; zero when it is along the normal.
VxGeVector3d intoPlane(const VxGeVector3d& direction, const VxGeVector3d& normal)
{
    const VxGeVector3d projected = direction - normal * direction.dotProduct(normal);
    return projected.length() <= 1e-12 * std::max(1.0, direction.length()) ? VxGeVector3d{} : projected.normal();
}

// The character cells of a text's string: "%%d" and the other control codes count as one.
size_t characterCount(const std::wstring& text)
{
    size_t count = 0;
    for (size_t i = 0; i < text.size(); ++count) {
        if (text.compare(i, 2, L"%%") == 0 && i + 2 < text.size())
            i += 3;
        else
            ++i;
    }
    return count;
}

void addCorners(VxGeExtents3d& extents, const VxGePoint3d (&corners)[4], const VxGeVector3d& normal, double thickness)
{
    extents.set(corners[0], corners[1]);
    extents.addPoint(corners[2]);
    extents.addPoint(corners[3]);
    if (thickness != 0.0) {
        for (const VxGePoint3d& p : corners)
            extents.addPoint(p + normal * thickness);
    }
}

// A text-like placement carried through a transformation: its x and y directions (the y
// direction as long as the height) give the new normal, rotation, height and width factor.
struct Frame {
    VxGeVector3d normal;
    double rotation = 0.0;
    double heightScale = 1.0;
    double widthScale = 1.0;

    static bool of(const VxGeMatrix3d& xform, const VxGeVector3d& normal, double rotation, Frame& frame)
    {
        const VxGeVector3d xDir = directionInPlane(rotation, normal);
        const VxGeVector3d yDir = normal.crossProduct(xDir);
        const VxGeVector3d newX = xform.transform(xDir);
        const VxGeVector3d newY = xform.transform(yDir);
        const VxGeVector3d n = newX.crossProduct(newY);
        if (n.isZeroLength() || newX.isZeroLength())
            return false;
        frame.normal = n.normal();
        frame.rotation = angleInPlane(newX, frame.normal);
        // The height runs square to the new x direction.
        const double height = n.length() / newX.length();
        frame.heightScale = height;
        frame.widthScale = newX.length() / height;
        return std::isfinite(frame.heightScale) && std::isfinite(frame.widthScale) && height > 0.0;
    }
};

// A lettering (text or shape) carried through a transformation: its points, normal and
// rotation follow, its height (or size) and width factor take the frame's scales; a result
// that is not a positive size is refused with nothing changed.
template <class F, class... Points>
Velt::ErrorStatus transformLettering(const VxGeMatrix3d& xform, F& f, double F::*height, Points F::*... points)
{
    Frame frame;
    if (!Frame::of(xform, f.normal, f.rotation, frame))
        return Velt::eInvalidInput;
    const double newHeight = f.*height * frame.heightScale;
    const double widthFactor = f.widthFactor * frame.widthScale;
    if (!(newHeight > 0.0) || !(widthFactor > 0.0))
        return Velt::eInvalidInput;
    ((f.*points = xform.transform(f.*points)), ...);
    f.normal = frame.normal;
    f.rotation = frame.rotation;
    f.*height = newHeight;
    f.widthFactor = widthFactor;
    f.thickness = detail::transformedThickness(xform, f.thickness);
    return Velt::eOk;
}

}  // namespace

bool vxdbIsAnnotative(const VxDbObject* object)
{
    if (!object)
        return false;
    VxResBufPtr data(object->xData(L"AcadAnnotative"));
    // The second whole number after the name says it.
    int numbers = 0;
    for (const VxResBuf* rb = data.get(); rb; rb = rb->rbnext) {
        if (rb->restype == 1070 && ++numbers == 2)
            return rb->resval.rint == 1;
    }
    return false;
}

// ---- single-line text ----

KX_DB_DEFINE_KIND(VxDbText, VxDbEntity, L"KxDbText", &vxrxCreateInstance<VxDbText>, L"TEXT", "AcDbText")

VxDbText::VxDbText(const VxGePoint3d& position, const wchar_t* text, double height)
{
    setPosition(position);
    setTextString(text ? text : L"");
    setHeight(height);
}

Velt::ErrorStatus VxDbText::mirrorInX(bool mirrored)
{
    return setGenerationFlags(int16_t(mirrored ? mFields.generationFlags | 2 : mFields.generationFlags & ~2));
}

Velt::ErrorStatus VxDbText::mirrorInY(bool mirrored)
{
    return setGenerationFlags(int16_t(mirrored ? mFields.generationFlags | 4 : mFields.generationFlags & ~4));
}

Velt::ErrorStatus VxDbText::setTextFrom(const VxDbText& other)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields = other.mFields;
    return Velt::eOk;
}

void VxDbText::boundingCorners(VxGePoint3d (&corners)[4]) const
{
    const Fields& f = mFields;
    const double h = f.height;
    double w = double(characterCount(f.textString)) * h * f.widthFactor;
    double ax = 0.0;  // where the placement point sits along the line: 0 start, 1 end
    double ay = 0.0;  // and across it: 0 baseline, 1 top
    VxGePoint3d at = placementPoint();
    switch (f.horizontalMode) {
    case kCenter: ax = 0.5; break;
    case kRight: ax = 1.0; break;
    case kMiddle: ax = 0.5; ay = 0.5; break;
    case kAligned:
    case kFit: {
        // From the position to the alignment point, whatever the characters.
        const VxGeVector3d run = f.alignmentPoint - f.position;
        w = (run - f.normal * run.dotProduct(f.normal)).length();
        at = f.position;
        break;
    }
    default: break;
    }
    if (f.horizontalMode != kMiddle && f.horizontalMode != kAligned && f.horizontalMode != kFit) {
        if (f.verticalMode == kVMiddle)
            ay = 0.5;
        else if (f.verticalMode == kTop)
            ay = 1.0;
    }
    const double slant = h * std::tan(f.oblique);
    const double x0 = -ax * w, x1 = (1.0 - ax) * w;
    const double y0 = -ay * h, y1 = (1.0 - ay) * h;
    const double local[4][2] = {{x0 + (y0 / h) * slant, y0},
                                {x1 + (y0 / h) * slant, y0},
                                {x1 + (y1 / h) * slant, y1},
                                {x0 + (y1 / h) * slant, y1}};
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(f.normal);
    const VxGePoint3d origin = VxGeMatrix3d::worldToPlane(f.normal).transform(at);
    const double c = std::cos(f.rotation), s = std::sin(f.rotation);
    for (int i = 0; i < 4; ++i) {
        double x = local[i][0], y = local[i][1];
        if (isMirroredInX())
            x = -x;
        if (isMirroredInY())
            y = -y;
        const VxGePoint3d p{origin.x + x * c - y * s, origin.y + x * s + y * c, origin.z};
        corners[i] = toWorld.transform(p);
    }
}

Velt::ErrorStatus VxDbText::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    return transformLettering(xform, mFields, &Fields::height, &Fields::position, &Fields::alignmentPoint);
}

Velt::ErrorStatus VxDbText::getGeomExtents(VxGeExtents3d& extents) const
{
    VxGePoint3d corners[4];
    boundingCorners(corners);
    addCorners(extents, corners, mFields.normal, mFields.thickness);
    return Velt::eOk;
}

void VxDbText::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    visitor.visit(mFields.textStyle, VxDb::kHardPointerRef);
}

// ---- attribute definitions and attributes ----

namespace {

// Attributes keep their vertical mode in their own subclass, as group 74.
std::vector<VxDbFieldMove> verticalModeIn(const char* subclass)
{
    return {{"verticalMode", subclass, 74, kxdxf::kOptional}};
}

}  // namespace

KX_DB_DEFINE_MOVING_KIND(VxDbAttributeDefinition, VxDbText, L"KxDbAttributeDefinition",
                         &vxrxCreateInstance<VxDbAttributeDefinition>, L"ATTDEF", "AcDbAttributeDefinition",
                         verticalModeIn("AcDbAttributeDefinition"))

KX_DB_DEFINE_MOVING_KIND(VxDbAttribute, VxDbText, L"KxDbAttribute", &vxrxCreateInstance<VxDbAttribute>, L"ATTRIB",
                         "AcDbAttribute", verticalModeIn("AcDbAttribute"))

// ---- multiline attributes ----

namespace {

// The attachment of a multiline text that sits where a text of these modes does: aligned and
// fit texts hang from their left end, a middle text from its centre.
int16_t attachmentForModes(int16_t horizontal, int16_t vertical)
{
    if (horizontal == 4)
        return VxDbMText::kMiddleCenter;
    const int16_t column = horizontal <= 2 ? horizontal : 0;
    const int16_t row = vertical == 3 ? 0 : vertical == 2 ? 1 : 2;
    return int16_t(1 + 3 * row + column);
}

std::wstring firstLineOf(const std::wstring& text)
{
    const size_t end = text.find_first_of(L"\r\n");
    return end == std::wstring::npos ? text : text.substr(0, end);
}

}  // namespace

VxDbAttributeText::VxDbAttributeText() = default;
VxDbAttributeText::~VxDbAttributeText() = default;

void VxDbAttributeText::copyDataFrom(const VxDbObject& other)
{
    VxDbText::copyDataFrom(other);
    const auto& from = static_cast<const VxDbAttributeText&>(other);
    mMText.reset(from.mMText ? static_cast<VxDbMText*>(from.mMText->clone()) : nullptr);
}

Velt::ErrorStatus VxDbAttributeText::setMText(std::unique_ptr<VxDbMText> mtext)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMText = std::move(mtext);
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbAttributeText::setMTextAttribute(bool multiline)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (multiline == isMTextAttribute())
        return Velt::eOk;
    if (!multiline) {
        const std::wstring line = firstLineOf(mMText->plainText());
        if (Velt::ErrorStatus es = setTextString(line))
            return es;
        return setMText(nullptr);
    }
    auto made = std::make_unique<VxDbMText>();
    if (Velt::ErrorStatus es = made->setContents(textString()))
        return es;
    made->setAttachment(attachmentForModes(horizontalMode(), verticalMode()));
    mMText = std::move(made);
    return updateMTextAttribute();
}

Velt::ErrorStatus VxDbAttributeText::updateMTextAttribute()
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!mMText)
        return Velt::eOk;
    auto moved = std::unique_ptr<VxDbMText>(static_cast<VxDbMText*>(mMText->clone()));
    for (Velt::ErrorStatus es : {moved->setNormal(normal()), moved->setRotation(rotation()),
                                 moved->setLocation(placementPoint()), moved->setTextHeight(height())})
        if (es != Velt::eOk)
            return es;
    mMText = std::move(moved);
    markModified();
    return Velt::eOk;
}

std::wstring VxDbAttributeText::mtextContents() const { return mMText ? mMText->contents() : std::wstring(); }
double VxDbAttributeText::mtextBoundaryWidth() const { return mMText ? mMText->width() : 0.0; }
int16_t VxDbAttributeText::mtextDrawingDirection() const { return mMText ? mMText->flowDirection() : 0; }
int16_t VxDbAttributeText::mtextAttachment() const { return mMText ? mMText->attachment() : 0; }

template <class Change>
Velt::ErrorStatus VxDbAttributeText::changeMText(Change&& change)
{
    if (!mMText)
        return Velt::eNotApplicable;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    markModified();
    return change(*mMText);
}

Velt::ErrorStatus VxDbAttributeText::setMTextContents(const std::wstring& contents)
{
    if (Velt::ErrorStatus es = changeMText([&](VxDbMText& m) { return m.setContents(contents); }))
        return es;
    return setTextString(firstLineOf(mMText->plainText()));
}

Velt::ErrorStatus VxDbAttributeText::setMTextBoundaryWidth(double width)
{
    return changeMText([&](VxDbMText& m) { return m.setWidth(width); });
}

Velt::ErrorStatus VxDbAttributeText::setMTextDrawingDirection(int16_t direction)
{
    return changeMText([&](VxDbMText& m) { return m.setFlowDirection(direction); });
}

Velt::ErrorStatus VxDbAttributeText::setMTextAttachment(int16_t attachment)
{
    return changeMText([&](VxDbMText& m) { return m.setAttachment(attachment); });
}

Velt::ErrorStatus VxDbAttributeText::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    // Both parts move or neither does.
    std::unique_ptr<VxDbMText> moved;
    if (mMText) {
        moved.reset(static_cast<VxDbMText*>(mMText->clone()));
        if (Velt::ErrorStatus es = moved->transformBy(xform))
            return es;
    }
    if (Velt::ErrorStatus es = VxDbText::transformBy(xform))
        return es;
    mMText = std::move(moved);
    return Velt::eOk;
}

VxDbAttributeText* vxdbAttributeTextOf(VxDbObject* object)
{
    if (auto* definition = VxDbAttributeDefinition::cast(object))
        return definition;
    return VxDbAttribute::cast(object);
}

const VxDbAttributeText* vxdbAttributeTextOf(const VxDbObject* object)
{
    return vxdbAttributeTextOf(const_cast<VxDbObject*>(object));
}

Velt::ErrorStatus VxDbAttribute::setAttributeFromBlock(const VxDbAttributeDefinition* definition,
                                                       const VxGeMatrix3d& blockTransform)
{
    if (!definition)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const Fields before = mFields;
    const VxDbText::Fields textBefore = VxDbText::mFields;
    std::unique_ptr<VxDbMText> mtextBefore(mtext() ? static_cast<VxDbMText*>(mtext()->clone()) : nullptr);
    VxDbText::setTextFrom(*definition);
    setMText(definition->mtext() ? std::unique_ptr<VxDbMText>(static_cast<VxDbMText*>(definition->mtext()->clone()))
                                 : nullptr);
    mFields.tag = definition->tag();
    mFields.attributeFlags = definition->attributeFlags();
    mFields.fieldLength = definition->fieldLength();
    mFields.lockPositionInBlock = definition->lockPositionInBlock();
    if (Velt::ErrorStatus es = transformBy(blockTransform)) {
        mFields = before;
        VxDbText::mFields = textBefore;
        setMText(std::move(mtextBefore));
        return es;
    }
    setPropertiesFrom(definition);
    return Velt::eOk;
}

Velt::ErrorStatus UpdataBlkAttribute(VxDbBlockReference* reference)
{
    if (!reference)
        return Velt::eNullObjectPointer;
    if (!reference->isWriteEnabled() || !reference->isResident())
        return Velt::eNotOpenForWrite;
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(reference->blockTableRecord()));
    if (!block)
        return Velt::eInvalidInput;
    // Tags that already have their attribute are left as they are.
    std::vector<std::wstring> present;
    for (VxDbObjectId id : reference->attributeIds()) {
        if (auto* attribute = VxDbAttribute::cast(detail::objectOf(id)); attribute && !id.isErased())
            present.push_back(attribute->tag());
    }
    const VxGeMatrix3d transform = reference->blockTransform();
    for (VxDbObjectId id : block->entityIds()) {
        auto* definition = VxDbAttributeDefinition::cast(detail::objectOf(id));
        if (!definition || id.isErased() || definition->isConstant())
            continue;
        if (std::find_if(present.begin(), present.end(), [&](const std::wstring& tag) {
                return vxEqualNoCase(tag, definition->tag());
            }) != present.end())
            continue;
        auto attribute = std::make_unique<VxDbAttribute>();
        if (Velt::ErrorStatus es = attribute->setAttributeFromBlock(definition, transform))
            return es;
        VxDbObjectId made;
        if (Velt::ErrorStatus es = reference->appendAttribute(made, attribute.get()))
            return es;
        attribute.release()->close();
    }
    return Velt::eOk;
}

// ---- multiline text ----

KX_DB_DEFINE_KIND(VxDbMText, VxDbEntity, L"KxDbMText", &vxrxCreateInstance<VxDbMText>, L"MTEXT", "AcDbMText")

Velt::ErrorStatus VxDbMText::setNormal(const VxGeVector3d& normal)
{
    VxGeVector3d unit = normal;
    if (fieldcheck::unitVector(unit))
        return Velt::eInvalidInput;
    VxGeVector3d direction = intoPlane(mFields.direction, unit);
    if (direction.isZeroLength())
        direction = directionInPlane(0.0, unit);
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.normal = unit;
    mFields.direction = direction;
    mFields.rotation = angleInPlane(direction, unit);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMText::setDirection(const VxGeVector3d& direction)
{
    if (!fieldcheck::isFinite(direction))
        return Velt::eInvalidInput;
    const VxGeVector3d inPlane = intoPlane(direction, mFields.normal);
    if (inPlane.isZeroLength())
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.direction = inPlane;
    mFields.rotation = angleInPlane(inPlane, mFields.normal);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMText::setRotation(double angle)
{
    if (fieldcheck::angle(angle))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.rotation = angle;
    mFields.direction = directionInPlane(angle, mFields.normal);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMText::setBackgroundFill(bool fill)
{
    // Filled with the window's colour, the frame bit kept.
    const int32_t flags = (mFields.backgroundFlags & 16) | (fill ? 3 : 0);
    return setBackgroundFlags(flags);
}

std::wstring vxdbMTextPlainText(const std::wstring& contents)
{
    std::wstring out;
    const size_t n = contents.size();
    for (size_t i = 0; i < n; ++i) {
        const wchar_t c = contents[i];
        if (c == L'{' || c == L'}')
            continue;
        if (c == L'%' && contents.compare(i, 3, L"%%d") == 0) {
            out += L'\u00B0';
            i += 2;
            continue;
        }
        if (c == L'%' && (contents.compare(i, 3, L"%%p") == 0 || contents.compare(i, 3, L"%%c") == 0)) {
            out += contents[i + 2] == L'p' ? L'\u00B1' : L'\u2300';
            i += 2;
            continue;
        }
        if (c != L'\\' || i + 1 >= n) {
            out += c;
            continue;
        }
        const wchar_t code = contents[++i];
        switch (code) {
        case L'P': case L'X': out += L'\n'; break;
        case L'~': out += L' '; break;
        case L'\\': case L'{': case L'}': out += code; break;
        case L'S': {
            // A stacked fraction up to ';': its parts with a slash between.
            size_t end = contents.find(L';', i + 1);
            if (end == std::wstring::npos)
                end = n;
            for (size_t k = i + 1; k < end; ++k) {
                const wchar_t s = contents[k];
                out += (s == L'^' || s == L'#') ? L'/' : s;
            }
            i = end;
            break;
        }
        case L'f': case L'F': case L'H': case L'W': case L'Q': case L'T': case L'A': case L'C': case L'c':
        case L'p': {
            // Codes with an argument up to ';'.
            const size_t end = contents.find(L';', i + 1);
            i = end == std::wstring::npos ? n : end;
            break;
        }
        default:
            break;  // toggles: \L \l \O \o \K \k, column breaks \N
        }
    }
    return out;
}

std::wstring VxDbMText::plainText() const { return vxdbMTextPlainText(mFields.contents); }

std::vector<std::wstring> VxDbMText::lines() const
{
    std::vector<std::wstring> out;
    const std::wstring plain = plainText();
    const double cell = mFields.textHeight;
    const size_t perLine =
        mFields.width > 0.0 ? std::max<size_t>(1, size_t(std::floor(mFields.width / cell + 1e-9))) : SIZE_MAX;
    size_t start = 0;
    while (true) {
        const size_t end = plain.find(L'\n', start);
        std::wstring paragraph = plain.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
        // Words wrap at spaces where the width ends; a longer word stands alone.
        while (paragraph.size() > perLine) {
            size_t cut = paragraph.rfind(L' ', perLine);
            if (cut == std::wstring::npos || cut == 0)
                cut = paragraph.find(L' ', perLine);
            if (cut == std::wstring::npos)
                break;
            out.push_back(paragraph.substr(0, cut));
            paragraph.erase(0, cut + 1);
        }
        out.push_back(paragraph);
        if (end == std::wstring::npos)
            break;
        start = end + 1;
    }
    return out;
}

double VxDbMText::actualHeight() const
{
    const size_t count = lines().size();
    // Lines are five thirds of the height apart at a factor of 1.
    return mFields.textHeight + double(count - 1) * mFields.textHeight * (5.0 / 3.0) * mFields.lineSpacingFactor;
}

double VxDbMText::actualWidth() const
{
    size_t longest = 0;
    for (const std::wstring& line : lines())
        longest = std::max(longest, line.size());
    return double(longest) * mFields.textHeight;
}

Velt::ErrorStatus VxDbMText::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    Fields& f = mFields;
    Frame frame;
    if (!Frame::of(xform, f.normal, f.rotation, frame))
        return Velt::eInvalidInput;
    const double height = f.textHeight * frame.heightScale;
    if (!(height > 0.0))
        return Velt::eInvalidInput;
    f.location = xform.transform(f.location);
    f.width *= frame.heightScale * frame.widthScale;
    f.textHeight = height;
    f.normal = frame.normal;
    f.rotation = frame.rotation;
    f.direction = directionInPlane(frame.rotation, frame.normal);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMText::getGeomExtents(VxGeExtents3d& extents) const
{
    const Fields& f = mFields;
    const double w = actualWidth(), h = actualHeight();
    const int column = (f.attachment - 1) % 3, row = (f.attachment - 1) / 3;
    const double x0 = -0.5 * column * w;
    const double y1 = row == 0 ? 0.0 : row == 1 ? 0.5 * h : h;
    const VxGeVector3d x = f.direction;
    const VxGeVector3d y = f.normal.crossProduct(x);
    const VxGePoint3d corners[4] = {f.location + x * x0 + y * (y1 - h), f.location + x * (x0 + w) + y * (y1 - h),
                                    f.location + x * (x0 + w) + y * y1, f.location + x * x0 + y * y1};
    addCorners(extents, corners, f.normal, 0.0);
    return Velt::eOk;
}

void VxDbMText::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    visitor.visit(mFields.textStyle, VxDb::kHardPointerRef);
}

Velt::ErrorStatus VxDbMText::checkFields(uint64_t readMask)
{
    Fields& f = mFields;
    if (readMask & readBit(kind(), "direction")) {
        const VxGeVector3d inPlane = intoPlane(f.direction, f.normal);
        if (!inPlane.isZeroLength()) {
            f.direction = inPlane;
            f.rotation = angleInPlane(inPlane, f.normal);
            return Velt::eOk;
        }
    }
    f.direction = directionInPlane(f.rotation, f.normal);
    return Velt::eOk;
}

// ---- shapes ----

KX_DB_DEFINE_KIND(VxDbShape, VxDbEntity, L"KxDbShape", &vxrxCreateInstance<VxDbShape>, L"SHAPE", "AcDbShape")

Velt::ErrorStatus VxDbShape::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    return transformLettering(xform, mFields, &Fields::size, &Fields::position);
}

Velt::ErrorStatus VxDbShape::getGeomExtents(VxGeExtents3d& extents) const
{
    const Fields& f = mFields;
    const VxGeVector3d x = directionInPlane(f.rotation, f.normal) * (f.size * f.widthFactor);
    const VxGeVector3d y = f.normal.crossProduct(directionInPlane(f.rotation, f.normal)) * f.size;
    const VxGePoint3d corners[4] = {f.position, f.position + x, f.position + x + y, f.position + y};
    addCorners(extents, corners, f.normal, f.thickness);
    return Velt::eOk;
}

// ---- feature control frames ----

KX_DB_DEFINE_KIND(VxDbFcf, VxDbEntity, L"KxDbFcf", &vxrxCreateInstance<VxDbFcf>, L"TOLERANCE", "AcDbFcf")

VxDbFcf::VxDbFcf(const wchar_t* text, const VxGePoint3d& location, const VxGeVector3d& normal,
                 const VxGeVector3d& direction)
{
    setText(text ? text : L"");
    setLocation(location);
    setNormal(normal);
    setDirection(direction);
}

Velt::ErrorStatus VxDbFcf::setNormal(const VxGeVector3d& normal)
{
    VxGeVector3d unit = normal;
    if (fieldcheck::unitVector(unit))
        return Velt::eInvalidInput;
    VxGeVector3d direction = intoPlane(mFields.direction, unit);
    if (direction.isZeroLength())
        direction = directionInPlane(0.0, unit);
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.normal = unit;
    mFields.direction = direction;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFcf::setDirection(const VxGeVector3d& direction)
{
    if (!fieldcheck::isFinite(direction))
        return Velt::eInvalidInput;
    const VxGeVector3d inPlane = intoPlane(direction, mFields.normal);
    if (inPlane.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mFields.direction, inPlane);
}

int16_t VxDbFcf::textColor() const
{
    return int16_t(vxdbDimVarInEffect(this, mFields.dimensionStyle, VxDbDimVar::kDimClrT).number);
}

Velt::ErrorStatus VxDbFcf::setTextColor(int16_t color)
{
    VxDbDimValue value;
    value.number = color;
    return vxdbSetDimOverride(this, VxDbDimVar::kDimClrT, value);
}

int16_t VxDbFcf::dimensionLineColor() const
{
    return int16_t(vxdbDimVarInEffect(this, mFields.dimensionStyle, VxDbDimVar::kDimClrD).number);
}

Velt::ErrorStatus VxDbFcf::setDimensionLineColor(int16_t color)
{
    VxDbDimValue value;
    value.number = color;
    return vxdbSetDimOverride(this, VxDbDimVar::kDimClrD, value);
}

VxDbObjectId VxDbFcf::textStyle() const
{
    return vxdbDimVarInEffect(this, mFields.dimensionStyle, VxDbDimVar::kDimTxSty).id;
}

Velt::ErrorStatus VxDbFcf::setTextStyle(VxDbObjectId style)
{
    VxDbDimValue value;
    value.id = style;
    return vxdbSetDimOverride(this, VxDbDimVar::kDimTxSty, value);
}

double VxDbFcf::textHeight() const
{
    return vxdbDimVarInEffect(this, mFields.dimensionStyle, VxDbDimVar::kDimTxt).number;
}

Velt::ErrorStatus VxDbFcf::setTextHeight(double height)
{
    // A style may say zero; a frame's own text needs a size.
    if (!(height > 0.0))
        return Velt::eOutOfRange;
    VxDbDimValue value;
    value.number = height;
    return vxdbSetDimOverride(this, VxDbDimVar::kDimTxt, value);
}

double VxDbFcf::scaleFactor() const
{
    return vxdbDimVarInEffect(this, mFields.dimensionStyle, VxDbDimVar::kDimScale).number;
}

Velt::ErrorStatus VxDbFcf::setScaleFactor(double scale)
{
    VxDbDimValue value;
    value.number = scale;
    return vxdbSetDimOverride(this, VxDbDimVar::kDimScale, value);
}

Velt::ErrorStatus VxDbFcf::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxGeVector3d normal = xform.transformNormal(mFields.normal);
    const VxGeVector3d direction = xform.transform(mFields.direction);
    if (normal.isZeroLength() || direction.isZeroLength())
        return Velt::eInvalidInput;
    const VxGeVector3d unit = normal.normal();
    const VxGeVector3d inPlane = intoPlane(direction, unit);
    if (inPlane.isZeroLength())
        return Velt::eInvalidInput;
    mFields.location = xform.transform(mFields.location);
    mFields.normal = unit;
    mFields.direction = inPlane;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFcf::getGeomExtents(VxGeExtents3d& extents) const
{
    // Cells of the text height in effect, the frame twice as high; scale zero is one.
    const double scale = scaleFactor();
    const double cell = textHeight() * (scale > 0.0 ? scale : 1.0);
    const double w = double(std::max<size_t>(1, characterCount(mFields.text))) * cell;
    const VxGeVector3d x = mFields.direction * w;
    const VxGeVector3d y = mFields.normal.crossProduct(mFields.direction) * cell;
    const VxGePoint3d& p = mFields.location;
    const VxGePoint3d corners[4] = {p - y, p + x - y, p + x + y, p + y};
    addCorners(extents, corners, mFields.normal, 0.0);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFcf::checkFields(uint64_t)
{
    const VxGeVector3d inPlane = intoPlane(mFields.direction, mFields.normal);
    if (inPlane.isZeroLength())
        return Velt::eInvalidInput;
    mFields.direction = inPlane;
    return Velt::eOk;
}

}  // namespace kx
