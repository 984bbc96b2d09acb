// The draw order of a block: its changes, what they refuse, and the file that keeps it.

#include <gtest/gtest.h>

#include <algorithm>

#include "db/sortents.h"
#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

class DrawOrder : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (int i = 0; i < 4; ++i)
            e[i] = append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {double(i + 1), 0, 0}));
        ASSERT_EQ(vxdbSortentsTableOf(db.modelSpaceId(), table, true), Velt::eOk);
    }

    static VxDbObjectIdArray order(VxDbObjectId tableId)
    {
        VxDbObjectPointer<VxDbSortentsTable> sorting(tableId, VxDb::kForRead);
        VxDbObjectIdArray ids;
        EXPECT_EQ(sorting->getFullDrawOrder(ids), Velt::eOk);
        return ids;
    }
    VxDbObjectIdArray order() { return order(table); }

    template <class Change>
    Velt::ErrorStatus change(Change&& apply)
    {
        VxDbObjectPointer<VxDbSortentsTable> sorting(table, VxDb::kForWrite);
        return apply(*sorting.get());
    }

    VxDbDatabase db;
    VxDbObjectId e[4];
    VxDbObjectId table;
};

}  // namespace

TEST_F(DrawOrder, MovesKeepTheMovedInTheirOrderAndLeaveTheBlocksOwnOrder)
{
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[0], e[1], e[2], e[3]}));
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveToTop({e[2], e[0]}); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[1], e[3], e[0], e[2]}));
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveToBottom({e[2]}); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[2], e[1], e[3], e[0]}));
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveAbove({e[2]}, e[3]); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[1], e[3], e[2], e[0]}));
    // The moved keep the order they are drawn in, whatever order they are given in.
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveBelow({e[0], e[1]}, e[3]); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[1], e[0], e[3], e[2]}));
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.swapOrder(e[0], e[2]); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[1], e[2], e[3], e[0]}));
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.setRelativeDrawOrder({e[0], e[2]}); }), Velt::eOk);
    EXPECT_EQ(order(), (VxDbObjectIdArray{e[1], e[0], e[3], e[2]}));
    {
        VxDbObjectPointer<VxDbSortentsTable> sorting(table, VxDb::kForRead);
        VxDbObjectIdArray some{e[2], e[1], e[2]};
        EXPECT_EQ(sorting->getRelativeDrawOrder(some), Velt::eOk);
        EXPECT_EQ(some, (VxDbObjectIdArray{e[1], e[2]}));
    }
    // Iteration follows the block as it was built.
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForRead);
    EXPECT_EQ(space->entityIds(), (VxDbObjectIdArray{e[0], e[1], e[2], e[3]}));
}

TEST_F(DrawOrder, EntitiesOfAnotherBlockOrErasedChangeNothing)
{
    ASSERT_EQ(change([&](VxDbSortentsTable& t) { return t.moveToTop({e[0]}); }), Velt::eOk);
    const VxDbObjectIdArray before = order();
    const VxDbObjectId block = addRecord(db.blockTableId(), new VxDbBlockTableRecord(), L"Other");
    const VxDbObjectId elsewhere = append(db, block, new VxDbLine({0, 0, 0}, {1, 1, 0}));
    {
        VxDbObjectPointer<VxDbEntity> gone(e[3], VxDb::kForWrite);
        ASSERT_EQ(gone->erase(), Velt::eOk);
    }
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveToBottom({e[1], elsewhere}); }), Velt::eInvalidInput);
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.moveAbove({e[1]}, e[3]); }), Velt::eInvalidInput);
    EXPECT_EQ(change([&](VxDbSortentsTable& t) { return t.swapOrder(e[1], VxDbObjectId()); }), Velt::eInvalidInput);
    VxDbObjectIdArray live = before;
    live.erase(std::find(live.begin(), live.end(), e[3]));
    EXPECT_EQ(order(), live);
}

TEST_F(DrawOrder, TheFileKeepsTheOrderInTheBlocksExtensionDictionary)
{
    ASSERT_EQ(change([&](VxDbSortentsTable& t) { return t.moveToBottom({e[3], e[2]}); }), Velt::eOk);
    const VxDbObjectIdArray drawn = order();
    const std::string text = toDxf(db);
    EXPECT_NE(text.find("SORTENTSTABLE"), std::string::npos);
    auto copy = fromDxf(text);
    ASSERT_TRUE(copy);
    VxDbObjectId copied;
    ASSERT_EQ(vxdbSortentsTableOf(copy->modelSpaceId(), copied, false), Velt::eOk);
    VxDbObjectIdArray back = order(copied);
    ASSERT_EQ(back.size(), drawn.size());
    for (size_t i = 0; i < drawn.size(); ++i)
        EXPECT_EQ(back[i].handle().value(), drawn[i].handle().value()) << i;
}
