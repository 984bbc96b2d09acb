// Viewports on a layout: their scale, the layers frozen in them alone, their clipping, and
// how drawing files keep them.

#include <cmath>
#include <limits>

#include "dxf_test_util.h"
#include "db/layout.h"
#include "db/viewport.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

struct Sheet {
    VxDbObjectId layout, block, viewport, walls, doors;
};

Sheet makeSheet(VxDbDatabase& db)
{
    Sheet s;
    EXPECT_EQ(veltGetLayoutManager()->createLayout(L"Sheet", s.layout, s.block, &db), Velt::eOk);
    s.walls = addRecord(db.layerTableId(), new VxDbLayerTableRecord(), L"Walls");
    s.doors = addRecord(db.layerTableId(), new VxDbLayerTableRecord(), L"Doors");
    auto* vp = new VxDbViewport();
    vp->setDatabaseDefaults(&db);
    EXPECT_EQ(vp->setCenterPoint({200, 150, 0}), Velt::eOk);
    EXPECT_EQ(vp->setWidth(300), Velt::eOk);
    EXPECT_EQ(vp->setHeight(200), Velt::eOk);
    s.viewport = append(db, s.block, vp);
    return s;
}

}  // namespace

TEST(DbViewport, ScaleFollowsTheWindowAndTheStandardScales)
{
    VxDbDatabase db;
    const Sheet s = makeSheet(db);
    VxDbObjectPointer<VxDbViewport> vp(s.viewport, VxDb::kForWrite);
    ASSERT_TRUE(vp);
    ASSERT_EQ(vp->setStandardScale(12), Velt::eOk);  // 1:50
    EXPECT_DOUBLE_EQ(vp->viewHeight(), 10000.0);
    EXPECT_DOUBLE_EQ(vp->customScale(), 0.02);
    // A taller window shows more of the model at the same scale.
    ASSERT_EQ(vp->setHeight(100), Velt::eOk);
    EXPECT_DOUBLE_EQ(vp->viewHeight(), 5000.0);
    EXPECT_EQ(vp->standardScale(), 12);
    ASSERT_EQ(vp->setCustomScale(0.5), Velt::eOk);
    EXPECT_EQ(vp->standardScale(), VxDbViewport::kCustomScale);
    EXPECT_DOUBLE_EQ(vp->viewHeight(), 200.0);

    // Refused values change nothing.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(vp->setWidth(nan), Velt::eInvalidInput);
    EXPECT_EQ(vp->setWidth(-1), Velt::eInvalidInput);
    EXPECT_EQ(vp->setCustomScale(0.0), Velt::eInvalidInput);
    EXPECT_EQ(vp->setCustomScale(-2.0), Velt::eInvalidInput);
    EXPECT_EQ(vp->setStandardScale(35), Velt::eInvalidInput);
    EXPECT_EQ(vp->setSnapSpacing(0, 1), Velt::eInvalidInput);
    EXPECT_EQ(vp->setCircleSides(0), Velt::eInvalidInput);
    EXPECT_DOUBLE_EQ(vp->width(), 300.0);
    EXPECT_DOUBLE_EQ(vp->customScale(), 0.5);

    // Scale to fit frames the model's extents.
    vp.close();
    append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {1000, 400, 0}));
    vp.open(s.viewport, VxDb::kForWrite);
    ASSERT_EQ(vp->setStandardScale(VxDbViewport::kScaleToFit), Velt::eOk);
    EXPECT_DOUBLE_EQ(vp->viewHeight(), 400.0);  // the model's height decides in a wide window
    EXPECT_EQ(vp->viewCenter().x, 500.0);
    EXPECT_EQ(vp->viewCenter().y, 200.0);

    ASSERT_EQ(vp->setOn(false), Velt::eOk);
    EXPECT_FALSE(vp->isOn());
    EXPECT_EQ(vp->status(), 0);
    ASSERT_EQ(vp->setOn(true), Velt::eOk);
    EXPECT_TRUE(vp->isOn());
}

TEST(DbViewport, FrozenLayersAndClippingTravelThroughFiles)
{
    VxDbDatabase db;
    const Sheet s = makeSheet(db);
    VxDbObjectId boundary = append(db, s.block, new VxDbCircle({200, 150, 0}, VxGeVector3d::kZAxis, 90));
    {
        VxDbObjectPointer<VxDbViewport> vp(s.viewport, VxDb::kForWrite);
        ASSERT_EQ(vp->freezeLayersInViewport({s.walls, s.doors, s.walls}), Velt::eOk);
        EXPECT_EQ(vp->frozenLayers().size(), 2u);
        ASSERT_EQ(vp->thawLayersInViewport({s.walls}), Velt::eOk);
        EXPECT_EQ(vp->freezeLayersInViewport({s.viewport}), Velt::eWrongObjectType);
        EXPECT_EQ(vp->frozenLayers(), std::vector<VxDbObjectId>{s.doors});
        ASSERT_EQ(vp->setNonRectClip(boundary), Velt::eOk);
        EXPECT_TRUE(vp->isNonRectClipOn());
        EXPECT_EQ(vp->setNonRectClip(s.viewport), Velt::eInvalidInput);
        vp->setStandardScale(11);  // 1:40
        vp->setViewCenter({50, 60, 0});
        vp->setTwistAngle(0.5);
        vp->setLocked(true);
        vp->setShadePlot(2);
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        auto copy = fromDxf(toDxf(db, version));
        ASSERT_TRUE(copy);
        const VxDbObjectId layout = veltGetLayoutManager()->findLayoutNamed(L"Sheet", copy.get());
        VxDbObjectPointer<VxDbLayout> sheet(layout, VxDb::kForRead);
        ASSERT_TRUE(sheet);
        VxDbBlockTableRecordIterator it(sheet->getBlockTableRecordId());
        it.start();
        VxDbObjectPointer<VxDbViewport> vp(it.currentId(), VxDb::kForRead);
        ASSERT_TRUE(vp) << int(version);
        EXPECT_EQ(vp->centerPoint().x, 200.0);
        EXPECT_EQ(vp->width(), 300.0);
        EXPECT_EQ(vp->standardScale(), 11);
        EXPECT_EQ(vp->viewCenter().y, 60.0);
        EXPECT_NEAR(vp->twistAngle(), 0.5, 1e-12);
        EXPECT_TRUE(vp->isLocked());
        EXPECT_EQ(vp->shadePlot(), version >= VxDbDxfVersion::kR2004 ? 2 : 0);
        ASSERT_EQ(vp->frozenLayers().size(), 1u);
        VxDbObjectPointer<VxDbLayerTableRecord> layer(vp->frozenLayers()[0], VxDb::kForRead);
        EXPECT_EQ(layer->name(), L"Doors");
        VxDbObjectPointer<VxDbCircle> clip(vp->nonRectClipEntityId(), VxDb::kForRead);
        EXPECT_TRUE(clip) << int(version);
    }
}
