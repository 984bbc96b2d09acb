// The entity base and the curve kinds: properties, transformations,
// extents, intersections and offsets, against hand-computed values.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <thread>
#include <vector>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/objects.h"
#include "services/display.h"

using namespace kx;

namespace {

constexpr double kTol = 1e-12;

void expectPoint(const VxGePoint3d& actual, double x, double y, double z, double tol = kTol)
{
    EXPECT_NEAR(actual.x, x, tol);
    EXPECT_NEAR(actual.y, y, tol);
    EXPECT_NEAR(actual.z, z, tol);
}

template <class T>
VxDbObjectId append(VxDbDatabase& db, T* entity)
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, entity), Velt::eOk);
    entity->close();
    return id;
}

std::vector<VxGePoint3d> intersect(const VxDbEntity& a, const VxDbEntity& b, VxDb::Intersect mode)
{
    std::vector<VxGePoint3d> points;
    EXPECT_EQ(a.intersectWith(&b, mode, points), Velt::eOk);
    std::sort(points.begin(), points.end(), [](const VxGePoint3d& p, const VxGePoint3d& q) {
        return p.x != q.x ? p.x < q.x : p.y < q.y;
    });
    return points;
}

}  // namespace

// Entities share one record of their common properties while they agree: a change to one
// entity must reach no other, a copy must carry the values, and records no entity holds
// any more must go (a thread remembers only the last one it asked for).
TEST(DbEntity, SharedCommonPropertiesStayPerEntity)
{
    VxDbDatabase db;
    const size_t before = detail::entityStyleCount();
    std::vector<VxDbObjectId> ids;
    for (int i = 0; i < 1000; ++i) {
        auto* line = new VxDbLine({0, 0, 0}, {double(i + 1), 0, 0});
        line->setDatabaseDefaults(&db);
        ids.push_back(append(db, line));
    }
    EXPECT_LE(detail::entityStyleCount(), before + 2);

    {
        VxDbObjectPointer<VxDbLine> first(ids[0], VxDb::kForWrite);
        ASSERT_EQ(first->setColorIndex(3), Velt::eOk);
        ASSERT_EQ(first->setLinetypeScale(4.0), Velt::eOk);
        ASSERT_EQ(first->setVisibility(VxDb::kInvisible), Velt::eOk);
        VxDbObjectPointer<VxDbLine> second(ids[1], VxDb::kForWrite);
        ASSERT_EQ(second->setLineWeight(VxDb::kLnWt050), Velt::eOk);
        // Refused values change nothing.
        EXPECT_EQ(second->setLinetypeScale(-1.0), Velt::eInvalidInput);
        EXPECT_EQ(second->linetypeScale(), 1.0);
    }
    {
        VxDbObjectPointer<VxDbLine> first(ids[0]);
        VxDbObjectPointer<VxDbLine> second(ids[1]);
        VxDbObjectPointer<VxDbLine> third(ids[2]);
        EXPECT_EQ(first->colorIndex(), 3);
        EXPECT_EQ(first->linetypeScale(), 4.0);
        EXPECT_EQ(first->visibility(), VxDb::kInvisible);
        EXPECT_EQ(first->lineWeight(), VxDb::kLnWtByLayer);
        EXPECT_EQ(second->lineWeight(), VxDb::kLnWt050);
        EXPECT_EQ(second->colorIndex(), 256);
        EXPECT_EQ(third->colorIndex(), 256);
        EXPECT_EQ(third->linetypeScale(), 1.0);
        EXPECT_EQ(third->visibility(), VxDb::kVisible);
        EXPECT_EQ(third->layerId(), db.layerZero());

        // Copies carry the values and outlive their source's changes.
        VxDbObjectPointer<VxDbLine> copy(static_cast<VxDbLine*>(first->clone()));
        ASSERT_TRUE(copy);
        EXPECT_EQ(copy->colorIndex(), 3);
        EXPECT_EQ(copy->linetypeScale(), 4.0);
        auto* other = new VxDbLine();
        EXPECT_EQ(other->setPropertiesFrom(second.get()), Velt::eOk);
        EXPECT_EQ(other->lineWeight(), VxDb::kLnWt050);
        EXPECT_EQ(other->layerId(), db.layerZero());
        delete other;
    }
    {
        VxDbObjectPointer<VxDbLine> first(ids[0], VxDb::kForWrite);
        ASSERT_EQ(first->erase(), Velt::eOk);
    }
    EXPECT_EQ(ids[0].isErased(), true);
}

TEST(DbEntity, SharedCommonPropertiesAreReleasedAndThreadSafe)
{
    const size_t before = detail::entityStyleCount();
    {
        VxDbDatabase db;
        for (int i = 0; i < 200; ++i) {
            auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
            line->setDatabaseDefaults(&db);
            line->setLinetypeScale(1.0 + i);  // a record each
            append(db, line);
        }
        EXPECT_GE(detail::entityStyleCount(), 200u);
    }
    EXPECT_LE(detail::entityStyleCount(), before + 1);

    // Threads changing entities of their own to the same and to their own values, so that
    // records are taken and let go on both at once. (The entities are made here: a thread's
    // object pool outlives it.)
    std::vector<std::unique_ptr<VxDbLine>> made[2];
    for (auto& lines : made) {
        for (int i = 0; i < 20; ++i)
            lines.push_back(std::make_unique<VxDbLine>(VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0}));
    }
    auto work = [&made](int seed) {
        std::vector<std::unique_ptr<VxDbLine>>& lines = made[seed];
        for (int round = 0; round < 200; ++round) {
            for (size_t i = 0; i < lines.size(); ++i) {
                lines[i]->setColorIndex(int16_t(1 + (int(i) + seed + round) % 3));
                lines[i]->setLinetypeScale(i % 2 ? 1.0 + (round % 4) : 1.0);
            }
            for (size_t i = 0; i < lines.size(); ++i)
                EXPECT_EQ(lines[i]->colorIndex(), 1 + (int(i) + seed + round) % 3);
        }
    };
    std::thread a(work, 0), b(work, 1);
    a.join();
    b.join();
    made[0].clear();
    made[1].clear();
    // Each thread may still remember one record.
    EXPECT_LE(detail::entityStyleCount(), before + 3);
}

TEST(DbEntity, CommonPropertiesAndDatabaseDefaults)
{
    VxDbDatabase db;
    db.setCecolor(VxCmColor::fromIndex(5));
    db.setCelweight(VxDb::kLnWt030);
    db.setCeltscale(2.0);
    VxDbObjectId walls;
    {
        VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
        auto* layer = new VxDbLayerTableRecord();
        layer->setName(L"Walls");
        table->add(walls, layer);
        layer->close();
    }
    db.setClayer(walls);
    db.loadLineTypeFile(L"HIDDEN", L"tarsk.lin");

    auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
    ASSERT_EQ(line->setDatabaseDefaults(&db), Velt::eOk);
    EXPECT_EQ(line->layerId(), walls);
    EXPECT_EQ(line->layer(), L"Walls");
    EXPECT_EQ(line->colorIndex(), 5);
    EXPECT_EQ(line->lineWeight(), VxDb::kLnWt030);
    EXPECT_EQ(line->linetypeScale(), 2.0);
    EXPECT_EQ(line->linetype(), L"ByLayer");
    EXPECT_EQ(line->materialId(), db.byLayerMaterialId());
    const VxDbObjectId id = append(db, line);

    VxDbObjectPointer<VxDbLine> open(id, VxDb::kForWrite);
    EXPECT_EQ(open->setLayer(L"NoSuchLayer"), Velt::eKeyNotFound);
    EXPECT_EQ(open->setLayer(L"walls"), Velt::eOk);
    EXPECT_EQ(open->setLinetype(L"hidden"), Velt::eOk);
    EXPECT_EQ(open->linetype(), L"HIDDEN");
    EXPECT_EQ(open->setLinetype(L"DASHED"), Velt::eKeyNotFound);
    VxCmColor booked;
    booked.setRGB(200, 100, 50);
    booked.setNames(L"Terracotta", L"Tarsk Colours");
    EXPECT_EQ(open->setColor(booked), Velt::eOk);
    EXPECT_EQ(open->color().colorName(), L"Terracotta");
    EXPECT_EQ(open->color().blue(), 50);
    EXPECT_EQ(open->setColorIndex(257), Velt::eOutOfRange);
    EXPECT_EQ(open->setColorIndex(0), Velt::eOk);
    EXPECT_TRUE(open->color().isByBlock());
    EXPECT_EQ(open->setLineWeight(VxDb::LineWeight(7)), Velt::eInvalidInput);
    EXPECT_EQ(open->setLinetypeScale(0.0), Velt::eInvalidInput);
    EXPECT_EQ(open->setVisibility(VxDb::kInvisible), Velt::eOk);
    EXPECT_EQ(open->visibility(), VxDb::kInvisible);
    EXPECT_EQ(open->setMaterial(L"Global"), Velt::eOk);
    EXPECT_EQ(open->material(), L"Global");
    EXPECT_EQ(open->setMaterial(L"Chrome"), Velt::eKeyNotFound);

    // Plot styles: the two keywords, the dictionary default, or a name.
    EXPECT_EQ(open->setPlotStyleName(L"BYBLOCK"), Velt::eOk);
    VxDbObjectId styleId;
    EXPECT_EQ(open->getPlotStyleNameId(styleId), VxDb::kPlotStyleNameByBlock);
    EXPECT_EQ(open->plotStyleName(), L"ByBlock");
    EXPECT_EQ(open->setPlotStyleName(L"Normal"), Velt::eOk);
    EXPECT_EQ(open->getPlotStyleNameId(styleId), VxDb::kPlotStyleNameById);
    EXPECT_FALSE(styleId.isNull());
    EXPECT_EQ(open->plotStyleName(), L"Normal");
    EXPECT_EQ(open->setPlotStyleName(L"Heavy"), Velt::eKeyNotFound);
    EXPECT_EQ(open->setPlotStyleName(VxDb::kPlotStyleNameIsDictDefault), Velt::eOk);
    EXPECT_EQ(open->plotStyleName(), L"Normal");

    // Transparency keeps its method.
    EXPECT_TRUE(open->transparency().isByLayer());
    EXPECT_EQ(open->setTransparency(VxCmTransparency(25)), Velt::eOk);
    EXPECT_EQ(open->transparency().alpha(), 25);
    EXPECT_TRUE(open->transparency().isByAlpha());

    // Highlighting is recorded, not drawn.
    EXPECT_EQ(open->highlight(), Velt::eOk);
    EXPECT_TRUE(VxHostDisplay::instance().isHighlighted(id));
    EXPECT_EQ(open->unhighlight(), Velt::eOk);
    EXPECT_FALSE(VxHostDisplay::instance().isHighlighted(id));
    VxDbLine loose;
    EXPECT_EQ(loose.highlight(), Velt::eNotInDatabase);
}

// All common properties in one step: each value is checked as its own setter checks it, one
// refusal changes nothing at all, and material and plot style are not the step's to change.
TEST(DbEntity, CommonPropertiesSetAtOnce)
{
    VxDbDatabase db;
    VxDbObjectId walls, secret;
    {
        VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
        for (auto [name, id] : {std::pair{L"Walls", &walls}, std::pair{L"Secret", &secret}}) {
            auto* layer = new VxDbLayerTableRecord();
            layer->setName(name);
            table->add(*id, layer);
            if (id == &secret)
                layer->setIsHidden(true);
            layer->close();
        }
    }
    db.loadLineTypeFile(L"HIDDEN", L"tarsk.lin");
    const VxDbObjectId hidden = db.linetypeId(L"HIDDEN");
    ASSERT_FALSE(hidden.isNull());

    auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
    ASSERT_EQ(line->setDatabaseDefaults(&db), Velt::eOk);
    const VxDbObjectId id = append(db, line);
    VxDbObjectPointer<VxDbLine> open(id, VxDb::kForWrite);
    ASSERT_EQ(open->setMaterial(L"Global"), Velt::eOk);
    ASSERT_EQ(open->setPlotStyleName(L"BYBLOCK"), Velt::eOk);
    VxCmColor booked;
    booked.setRGB(200, 100, 50);
    booked.setNames(L"Terracotta", L"Tarsk Colours");
    ASSERT_EQ(open->setColor(booked), Velt::eOk);

    detail::EntityStyle values = open->commonProperties();
    values.layer = walls;
    values.linetype = hidden;
    values.color = VxCmColor::fromIndex(3).color();
    values.lineWeight = int16_t(VxDb::kLnWt050);
    values.linetypeScale = 2.5;
    values.visibility = uint8_t(VxDb::kInvisible);
    values.transparency = VxCmTransparency(40).serializeOut();
    values.material = VxDbObjectId();  // not the step's: kept
    values.plotStyleType = uint8_t(VxDb::kPlotStyleNameByLayer);
    ASSERT_EQ(open->setCommonProperties(values), Velt::eOk);
    EXPECT_EQ(open->layer(), L"Walls");
    EXPECT_EQ(open->linetype(), L"HIDDEN");
    EXPECT_EQ(open->colorIndex(), 3);
    EXPECT_TRUE(open->color().colorName().empty());  // the names went with their colour
    EXPECT_EQ(open->lineWeight(), VxDb::kLnWt050);
    EXPECT_EQ(open->linetypeScale(), 2.5);
    EXPECT_EQ(open->visibility(), VxDb::kInvisible);
    EXPECT_EQ(open->transparency().alpha(), 40);
    EXPECT_EQ(open->material(), L"Global");
    EXPECT_EQ(open->plotStyleName(), L"ByBlock");

    // Each refusal leaves every property as it was.
    const detail::EntityStyle before = open->commonProperties();
    struct Refusal {
        const char* name;
        void (*spoil)(detail::EntityStyle&, VxDbObjectId);
        Velt::ErrorStatus status;
    };
    const Refusal refusals[] = {
        {"weight", [](detail::EntityStyle& v, VxDbObjectId) { v.lineWeight = 7; }, Velt::eInvalidInput},
        {"scale", [](detail::EntityStyle& v, VxDbObjectId) { v.linetypeScale = 0.0; }, Velt::eInvalidInput},
        {"infinite scale", [](detail::EntityStyle& v, VxDbObjectId) { v.linetypeScale = INFINITY; },
         Velt::eInvalidInput},
        {"visibility", [](detail::EntityStyle& v, VxDbObjectId) { v.visibility = 9; }, Velt::eInvalidInput},
        {"colour method", [](detail::EntityStyle& v, VxDbObjectId) { v.color = 0x07000001u; }, Velt::eInvalidInput},
        {"colour index", [](detail::EntityStyle& v, VxDbObjectId) { v.color = VxCmColor::fromIndex(3).color() + 300; },
         Velt::eOutOfRange},
        {"transparency method", [](detail::EntityStyle& v, VxDbObjectId) { v.transparency = 0x09000000u; },
         Velt::eInvalidInput},
        {"a linetype as layer", [](detail::EntityStyle& v, VxDbObjectId other) { v.layer = other; },
         Velt::eWrongObjectType},
        {"a layer as linetype", [](detail::EntityStyle& v, VxDbObjectId other) { v.linetype = other; },
         Velt::eWrongObjectType},
    };
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.name);
        detail::EntityStyle spoiled = before;
        r.spoil(spoiled, std::string_view(r.name) == "a linetype as layer" ? hidden : walls);
        EXPECT_EQ(open->setCommonProperties(spoiled), r.status);
        EXPECT_TRUE(open->commonProperties() == before);
    }
    values = before;
    values.layer = secret;
    EXPECT_EQ(open->setCommonProperties(values), Velt::eInvalidInput);
    EXPECT_EQ(open->layer(), L"Walls");
    EXPECT_EQ(open->setCommonProperties(values, true), Velt::eOk);
    EXPECT_EQ(open->layer(), L"Secret");
}

TEST(DbEntity, LineGeometry)
{
    VxDbLine line({1, 0, 0}, {2, 0, 0});
    EXPECT_EQ(line.setNormal({0, 0, 0}), Velt::eInvalidInput);
    EXPECT_EQ(line.setStartPoint({NAN, 0, 0}), Velt::eInvalidInput);
    ASSERT_EQ(line.transformBy(VxGeMatrix3d::rotation(kHalfPi, VxGeVector3d::kZAxis)), Velt::eOk);
    expectPoint(line.startPoint(), 0, 1, 0);
    expectPoint(line.endPoint(), 0, 2, 0);

    line.setThickness(3.0);
    VxGeExtents3d extents;
    ASSERT_EQ(line.getGeomExtents(extents), Velt::eOk);
    expectPoint(extents.minPoint(), 0, 1, 0);
    expectPoint(extents.maxPoint(), 0, 2, 3);
    ASSERT_EQ(line.transformBy(VxGeMatrix3d::scaling(2.0)), Velt::eOk);
    EXPECT_NEAR(line.thickness(), 6.0, kTol);

    VxDbLine segment({0, 0, 0}, {10, 0, 0});
    std::vector<VxDbEntity*> offsets;
    ASSERT_EQ(segment.getOffsetCurves(2.0, offsets), Velt::eOk);
    ASSERT_EQ(offsets.size(), 1u);
    auto* offset = VxDbLine::cast(offsets[0]);
    ASSERT_NE(offset, nullptr);
    expectPoint(offset->startPoint(), 0, -2, 0);  // to the right of the direction, seen from the normal
    expectPoint(offset->endPoint(), 10, -2, 0);
    delete offsets[0];

    double param = 0.0, distance = 0.0;
    VxGePoint3d point;
    EXPECT_EQ(segment.getParamAtPoint({4, 0, 0}, param), Velt::eOk);
    EXPECT_NEAR(param, 4.0, kTol);
    EXPECT_EQ(segment.getParamAtPoint({4, 1, 0}, param), Velt::eInvalidInput);
    EXPECT_EQ(segment.getDistAtParam(4.0, distance), Velt::eOk);
    EXPECT_NEAR(distance, 4.0, kTol);
    EXPECT_EQ(segment.getPointAtParam(11.0, point), Velt::eInvalidInput);
    EXPECT_EQ(segment.getClosestPointTo({12, 3, 0}, point), Velt::eOk);
    expectPoint(point, 10, 0, 0);
    EXPECT_EQ(segment.getClosestPointTo({12, 3, 0}, point, true), Velt::eOk);
    expectPoint(point, 12, 0, 0);
}

TEST(DbEntity, CirclesAndArcs)
{
    VxDbCircle circle({0, 0, 0}, {0, 0, 1}, 2.0);
    EXPECT_EQ(circle.setRadius(0.0), Velt::eInvalidInput);
    double area = 0.0;
    circle.getArea(area);
    EXPECT_NEAR(area, 4.0 * kPi, kTol);
    EXPECT_NEAR(circle.circumference(), 4.0 * kPi, kTol);
    EXPECT_TRUE(circle.isClosed());

    // Uneven scaling: refused in place, an ellipse as a copy.
    const VxGeMatrix3d stretch = VxGeMatrix3d::scaling(2.0, 1.0, 1.0);
    EXPECT_EQ(circle.transformBy(stretch), Velt::eCannotScaleNonUniformly);
    VxDbEntity* copy = nullptr;
    ASSERT_EQ(circle.getTransformedCopy(stretch, copy), Velt::eOk);
    auto* ellipse = VxDbEllipse::cast(copy);
    ASSERT_NE(ellipse, nullptr);
    EXPECT_NEAR(ellipse->majorRadius(), 4.0, 1e-12);
    EXPECT_NEAR(ellipse->radiusRatio(), 0.5, 1e-12);
    EXPECT_NEAR(std::fabs(ellipse->majorAxis().x), 4.0, 1e-12);
    delete copy;

    std::vector<VxDbEntity*> offsets;
    EXPECT_EQ(circle.getOffsetCurves(-2.0, offsets), Velt::eDegenerateGeometry);
    ASSERT_EQ(circle.getOffsetCurves(1.0, offsets), Velt::eOk);
    EXPECT_NEAR(VxDbCircle::cast(offsets[0])->radius(), 3.0, kTol);
    delete offsets[0];

    // A quarter arc mirrored in the YZ plane keeps its normal and runs from
    // 90 to 180 degrees.
    VxDbArc arc({0, 0, 0}, 1.0, 0.0, kHalfPi);
    EXPECT_NEAR(arc.totalAngle(), kHalfPi, kTol);
    EXPECT_NEAR(arc.arcLength(), kHalfPi, kTol);
    ASSERT_EQ(arc.transformBy(VxGeMatrix3d::mirroring(VxGePlane::kYZPlane)), Velt::eOk);
    EXPECT_NEAR(arc.normal().z, 1.0, kTol);
    EXPECT_NEAR(arc.startAngle(), kHalfPi, 1e-12);
    EXPECT_NEAR(arc.endAngle(), kPi, 1e-12);
    VxGePoint3d start;
    arc.getStartPoint(start);
    expectPoint(start, 0, 1, 0);
    arc.getArea(area);
    EXPECT_NEAR(area, kPi / 4.0 - 0.5, 1e-12);

    // Its extents are tight: only the quarter the arc covers.
    VxGeExtents3d extents;
    ASSERT_EQ(arc.getGeomExtents(extents), Velt::eOk);
    expectPoint(extents.minPoint(), -1, 0, 0);
    expectPoint(extents.maxPoint(), 0, 1, 0);

    // An arc whose end is below its start wraps around zero.
    VxDbArc wrap({0, 0, 0}, 1.0, vxgeDegreesToRadians(350.0), vxgeDegreesToRadians(10.0));
    EXPECT_NEAR(wrap.totalAngle(), vxgeDegreesToRadians(20.0), 1e-12);
    ASSERT_EQ(wrap.getGeomExtents(extents), Velt::eOk);
    EXPECT_NEAR(extents.maxPoint().x, 1.0, kTol);
}

TEST(DbEntity, EllipseDefinitionAndExtents)
{
    VxDbEllipse ellipse;
    EXPECT_EQ(ellipse.set({0, 0, 0}, {0, 0, 1}, {4, 0, 0}, 1.5), Velt::eInvalidInput);
    EXPECT_EQ(ellipse.set({0, 0, 0}, {0, 0, 1}, {4, 0, 1}, 0.5), Velt::eInvalidInput);
    EXPECT_EQ(ellipse.set({0, 0, 0}, {0, 0, 1}, {4, 0, 0}, 1e-7), Velt::eInvalidInput);
    ASSERT_EQ(ellipse.set({0, 0, 0}, {0, 0, 2}, {4, 0, 0}, 0.5), Velt::eOk);
    EXPECT_NEAR(ellipse.normal().z, 1.0, kTol);
    EXPECT_TRUE(ellipse.isFullEllipse());
    EXPECT_NEAR(ellipse.minorRadius(), 2.0, kTol);
    expectPoint(VxGePoint3d::kOrigin + ellipse.minorAxis(), 0, 2, 0);

    ASSERT_EQ(ellipse.transformBy(VxGeMatrix3d::rotation(kPi / 6.0, VxGeVector3d::kZAxis)), Velt::eOk);
    VxGeExtents3d extents;
    ASSERT_EQ(ellipse.getGeomExtents(extents), Velt::eOk);
    EXPECT_NEAR(extents.maxPoint().x, std::sqrt(13.0), 1e-12);
    EXPECT_NEAR(extents.maxPoint().y, std::sqrt(7.0), 1e-12);
    double area = 0.0;
    ellipse.getArea(area);
    EXPECT_NEAR(area, 8.0 * kPi, 1e-12);

    // The size setters keep what they do not set.
    VxDbEllipse sized({0, 0, 0}, {0, 0, 1}, {10, 0, 0}, 0.5);
    ASSERT_EQ(sized.setMajorRadius(20.0), Velt::eOk);
    EXPECT_NEAR(sized.radiusRatio(), 0.25, kTol);
    EXPECT_NEAR(sized.minorRadius(), 5.0, kTol);
    EXPECT_EQ(sized.setMajorRadius(4.0), Velt::eInvalidInput);  // ratio would pass 1
    ASSERT_EQ(sized.setMinorRadius(10.0), Velt::eOk);
    EXPECT_NEAR(sized.radiusRatio(), 0.5, kTol);

    // Start and end given as angles are stored as parameters.
    VxDbEllipse half({0, 0, 0}, {0, 0, 1}, {2, 0, 0}, 0.5, 0.0, kHalfPi);
    EXPECT_NEAR(half.startParam(), 0.0, kTol);
    EXPECT_NEAR(half.endParam(), kHalfPi, 1e-12);
    EXPECT_NEAR(half.endAngle(), kHalfPi, 1e-12);
    VxDbEllipse skew({0, 0, 0}, {0, 0, 1}, {2, 0, 0}, 0.5, kPi / 4.0, kPi);
    // tan(param) = tan(angle) / ratio at 45 degrees: param = atan(2).
    EXPECT_NEAR(skew.startParam(), std::atan(2.0), 1e-12);
    EXPECT_NEAR(skew.startAngle(), kPi / 4.0, 1e-12);
    std::vector<VxDbEntity*> offsets;
    EXPECT_EQ(skew.getOffsetCurves(1.0, offsets), Velt::eNotApplicable);
}

TEST(DbEntity, IntersectionsWithTheFourExtendModes)
{
    VxDbLine across({-5, 0, 0}, {5, 0, 0});
    VxDbLine stub({0, 0, 0}, {1, 0, 0});
    VxDbCircle circle({0, 0, 0}, {0, 0, 1}, 2.0);
    VxDbEllipse ellipse({0, 0, 0}, {0, 0, 1}, {4, 0, 0}, 0.5);
    VxDbArc upper({0, 0, 0}, 2.0, 0.0, kPi);

    auto points = intersect(across, circle, VxDb::kOnBothOperands);
    ASSERT_EQ(points.size(), 2u);
    expectPoint(points[0], -2, 0, 0);
    expectPoint(points[1], 2, 0, 0);

    EXPECT_TRUE(intersect(stub, circle, VxDb::kOnBothOperands).empty());
    EXPECT_EQ(intersect(stub, circle, VxDb::kExtendThis).size(), 2u);
    EXPECT_TRUE(intersect(circle, stub, VxDb::kExtendThis).empty());
    EXPECT_EQ(intersect(circle, stub, VxDb::kExtendArg).size(), 2u);

    points = intersect(across, ellipse, VxDb::kOnBothOperands);
    ASSERT_EQ(points.size(), 2u);
    expectPoint(points[1], 4, 0, 0);

    // The upper half-circle meets the vertical line x = 1 once; extended to
    // its circle, twice.
    VxDbLine vertical({1, -5, 0}, {1, 5, 0});
    points = intersect(upper, vertical, VxDb::kOnBothOperands);
    ASSERT_EQ(points.size(), 1u);
    expectPoint(points[0], 1, std::sqrt(3.0), 0);
    EXPECT_EQ(intersect(upper, vertical, VxDb::kExtendThis).size(), 2u);

    // Segments that miss meet when both are extended.
    VxDbLine a({0, 0, 0}, {1, 0, 0});
    VxDbLine b({3, 1, 0}, {3, 2, 0});
    EXPECT_TRUE(intersect(a, b, VxDb::kExtendThis).empty());
    EXPECT_TRUE(intersect(a, b, VxDb::kExtendArg).empty());
    points = intersect(a, b, VxDb::kExtendBoth);
    ASSERT_EQ(points.size(), 1u);
    expectPoint(points[0], 3, 0, 0);

    // Rays and construction lines.
    VxDbXline diagonal({0, 0, 0}, {1, 1, 0});
    VxDbLine level({-10, 1, 0}, {10, 1, 0});
    points = intersect(diagonal, level, VxDb::kOnBothOperands);
    ASSERT_EQ(points.size(), 1u);
    expectPoint(points[0], 1, 1, 0);
    VxDbRay ray({0, 0, 0}, {1, 0, 0});
    VxDbLine behind({-1, -1, 0}, {-1, 1, 0});
    EXPECT_TRUE(intersect(ray, behind, VxDb::kOnBothOperands).empty());
    EXPECT_EQ(intersect(ray, behind, VxDb::kExtendThis).size(), 1u);

    VxDbPoint point({0, 0, 0});
    std::vector<VxGePoint3d> none;
    EXPECT_EQ(point.intersectWith(&circle, VxDb::kOnBothOperands, none), Velt::eNotApplicable);
    EXPECT_EQ(across.intersectWith(nullptr, VxDb::kOnBothOperands, none), Velt::eNullObjectPointer);
    EXPECT_EQ(across.intersectWith(&circle, VxDb::Intersect(4), none), Velt::eInvalidInput);
}

TEST(DbEntity, PointsRaysAndConstructionLines)
{
    VxDbPoint point({1, 2, 3});
    VxGeExtents3d extents;
    ASSERT_EQ(point.getGeomExtents(extents), Velt::eOk);
    expectPoint(extents.minPoint(), 1, 2, 3);
    ASSERT_EQ(point.transformBy(VxGeMatrix3d::translation({1, 1, 1})), Velt::eOk);
    expectPoint(point.position(), 2, 3, 4);

    VxDbRay ray({0, 0, 0}, {0, 3, 0});
    expectPoint(VxGePoint3d::kOrigin + ray.unitDir(), 0, 1, 0);
    EXPECT_EQ(ray.setUnitDir({0, 0, 0}), Velt::eInvalidInput);
    EXPECT_EQ(ray.getGeomExtents(extents), Velt::eNotApplicable);
    ASSERT_EQ(ray.transformBy(VxGeMatrix3d::rotation(kHalfPi, VxGeVector3d::kZAxis, {1, 0, 0})), Velt::eOk);
    expectPoint(ray.basePoint(), 1, -1, 0);
    expectPoint(VxGePoint3d::kOrigin + ray.unitDir(), -1, 0, 0);

    VxDbXline xline({0, 0, 0}, {1, 0, 0});
    std::vector<VxDbEntity*> offsets;
    ASSERT_EQ(xline.getOffsetCurves(3.0, offsets), Velt::eOk);
    expectPoint(VxDbXline::cast(offsets[0])->basePoint(), 0, -3, 0);
    delete offsets[0];
    VxGePoint3d start;
    EXPECT_EQ(xline.getStartPoint(start), Velt::eNotApplicable);
}

TEST(DbEntity, TransformedCopiesKeepProperties)
{
    VxDbDatabase db;
    auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
    line->setDatabaseDefaults(&db);
    line->setColorIndex(1);
    const VxDbObjectId id = append(db, line);
    VxDbObjectPointer<VxDbLine> open(id, VxDb::kForRead);
    VxDbEntity* copy = nullptr;
    ASSERT_EQ(open->getTransformedCopy(VxGeMatrix3d::translation({0, 5, 0}), copy), Velt::eOk);
    std::unique_ptr<VxDbEntity> owned(copy);
    EXPECT_TRUE(copy->objectId().isNull());
    EXPECT_EQ(copy->colorIndex(), 1);
    EXPECT_EQ(copy->layerId(), db.layerZero());
    expectPoint(VxDbLine::cast(copy)->startPoint(), 0, 5, 0);
    expectPoint(open->startPoint(), 0, 0, 0);
}
