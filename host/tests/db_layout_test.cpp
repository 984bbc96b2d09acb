// Layouts, the layout manager, plot settings with their validator, and
// summary information.

#include <gtest/gtest.h>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/layout.h"
#include "db/summaryinfo.h"
#include "db/symtables.h"
#include "services/hostservices.h"

using namespace kx;

namespace {

std::vector<std::wstring> tabs(VxDbDatabase& db)
{
    std::vector<std::wstring> names;
    for (VxDbObjectId id : veltGetLayoutManager()->paperLayoutsInOrder(&db)) {
        VxDbObjectPointer<VxDbLayout> layout(id, VxDb::kForRead);
        names.push_back(layout->layoutName());
    }
    return names;
}

}  // namespace

TEST(DbLayouts, CreateRenameReorderDelete)
{
    VxDbDatabase db;
    VxDbLayoutManager* manager = veltGetLayoutManager();
    VxDbObjectId layout2, block2, layout3, block3;
    ASSERT_EQ(manager->createLayout(L"Layout2", layout2, block2, &db), Velt::eOk);
    ASSERT_EQ(manager->createLayout(L"Layout3", layout3, block3, &db), Velt::eOk);
    EXPECT_EQ(manager->createLayout(L"layout2", layout2, block2, &db), Velt::eDuplicateKey);
    EXPECT_EQ(manager->createLayout(L"Model", layout2, block2, &db), Velt::eInvalidLayoutName);
    EXPECT_EQ(manager->createLayout(L"a:b", layout2, block2, &db), Velt::eInvalidLayoutName);
    EXPECT_EQ(manager->countLayouts(&db), 4);
    EXPECT_EQ(tabs(db), (std::vector<std::wstring>{L"Layout1", L"Layout2", L"Layout3"}));
    layout2 = manager->findLayoutNamed(L"Layout2", &db);
    {
        VxDbObjectPointer<VxDbLayout> layout(layout2, VxDb::kForRead);
        EXPECT_EQ(layout->getTabOrder(), 2);
        block2 = layout->getBlockTableRecordId();
        VxDbObjectPointer<VxDbBlockTableRecord> block(block2, VxDb::kForRead);
        EXPECT_EQ(block->getLayoutId(), layout2);
        EXPECT_TRUE(block->isPaperSpace());
    }

    EXPECT_EQ(manager->renameLayout(L"Layout3", L"Sections", &db), Velt::eOk);
    EXPECT_EQ(manager->renameLayout(L"Layout3", L"Again", &db), Velt::eLayoutNotFound);
    EXPECT_EQ(manager->renameLayout(L"Sections", L"LAYOUT1", &db), Velt::eDuplicateKey);
    EXPECT_EQ(manager->renameLayout(L"Model", L"World", &db), Velt::eCannotRename);
    EXPECT_EQ(manager->renameLayout(L"Sections", L"Model", &db), Velt::eInvalidLayoutName);
    EXPECT_TRUE(manager->layoutExists(L"sections", &db));

    // Moving one tab renumbers the others; the model tab cannot move.
    const VxDbObjectId sections = manager->findLayoutNamed(L"Sections", &db);
    EXPECT_EQ(manager->updateByNewOrder(sections, 1), Velt::eOk);
    EXPECT_EQ(tabs(db), (std::vector<std::wstring>{L"Sections", L"Layout1", L"Layout2"}));
    EXPECT_EQ(manager->updateByNewOrder(manager->findLayoutNamed(L"Model", &db), 2), Velt::eInvalidInput);

    // The current layout owns "*Paper_Space"; deleting it hands that on.
    ASSERT_EQ(manager->setCurrentLayout(L"Layout2", &db), Velt::eOk);
    EXPECT_FALSE(db.tilemode());
    EXPECT_EQ(db.paperSpaceId(), block2);
    std::wstring active;
    EXPECT_EQ(manager->getActiveLayoutName(active, true, &db), Velt::eOk);
    EXPECT_EQ(active, L"Layout2");
    ASSERT_EQ(manager->deleteLayout(L"Layout2", &db), Velt::eOk);
    EXPECT_TRUE(layout2.isErased());
    EXPECT_TRUE(block2.isErased());
    EXPECT_FALSE(db.paperSpaceId().isNull());
    EXPECT_NE(db.paperSpaceId(), block2);
    EXPECT_EQ(manager->deleteLayout(L"Layout2", &db), Velt::eLayoutNotFound);
    EXPECT_EQ(manager->deleteLayout(L"Model", &db), Velt::eCannotDeleteModelLayout);
    EXPECT_EQ(tabs(db), (std::vector<std::wstring>{L"Sections", L"Layout1"}));
    ASSERT_EQ(manager->deleteLayout(L"Sections", &db), Velt::eOk);
    EXPECT_EQ(manager->deleteLayout(L"Layout1", &db), Velt::eCannotDeleteLastLayout);

    // A layout's block goes with the layout, not on its own.
    VxDbObjectPointer<VxDbBlockTableRecord> paper(db.paperSpaceId(), VxDb::kForWrite);
    EXPECT_EQ(paper->erase(), Velt::eCannotBeErased);
    paper.close();
    ASSERT_EQ(manager->setCurrentLayout(L"Model", &db), Velt::eOk);
    EXPECT_TRUE(db.tilemode());
}

TEST(DbPlotSettings, TheValidatorRefusesWhatNoDeviceCanDo)
{
    VxDbDatabase db;
    VxDbPlotSettingsValidator* validator = vxdbHostApplicationServices()->plotSettingsValidator();
    VxDbObjectPointer<VxDbLayout> layout(veltGetLayoutManager()->findLayoutNamed(L"Layout1", &db), VxDb::kForWrite);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->getPlotCfgName(), L"None");
    EXPECT_EQ(layout->getCanonicalMediaName(), L"Letter_(8.50_x_11.00_Inches)");

    std::vector<std::wstring> devices;
    validator->plotDeviceList(devices);
    EXPECT_GE(devices.size(), 3u);
    EXPECT_EQ(validator->setPlotCfgName(layout.get(), L"No Such Plotter.pc3"), Velt::eInvalidPlotDevice);
    EXPECT_EQ(validator->setPlotCfgName(layout.get(), L"Tarsk PDF.pc3", L"Napkin"), Velt::eInvalidMediaName);
    ASSERT_EQ(validator->setPlotCfgName(layout.get(), L"tarsk pdf.pc3", L"ISO_A3_(297.00_x_420.00_MM)"), Velt::eOk);
    double width = 0, height = 0;
    layout->getPlotPaperSize(width, height);
    EXPECT_EQ(width, 297.0);
    EXPECT_EQ(height, 420.0);
    double left, bottom, right, top;
    layout->getPlotPaperMargins(left, bottom, right, top);
    EXPECT_GT(left, 0.0);
    std::wstring localized;
    EXPECT_EQ(validator->getLocaleMediaName(layout.get(), L"ISO_A3_(297.00_x_420.00_MM)", localized), Velt::eOk);
    EXPECT_EQ(localized, L"ISO A3 (297.00 x 420.00 MM)");

    // The large-format plotter has no small sheets; a raster device works
    // in pixels only.
    std::vector<std::wstring> media;
    ASSERT_EQ(validator->setPlotCfgName(layout.get(), L"Tarsk Plotter.pc3"), Velt::eOk);
    validator->canonicalMediaNameList(layout.get(), media);
    EXPECT_EQ(std::count(media.begin(), media.end(), L"ISO_A4_(210.00_x_297.00_MM)"), 0);
    EXPECT_EQ(validator->setCanonicalMediaName(layout.get(), L"ISO_A4_(210.00_x_297.00_MM)"),
              Velt::eInvalidMediaName);
    EXPECT_EQ(validator->setPlotPaperUnits(layout.get(), VxDbPlotSettings::kPixels), Velt::eInvalidInput);
    ASSERT_EQ(validator->setPlotCfgName(layout.get(), L"Tarsk PNG.pc3"), Velt::eOk);
    EXPECT_EQ(layout->plotPaperUnits(), VxDbPlotSettings::kPixels);
    EXPECT_EQ(validator->setPlotPaperUnits(layout.get(), VxDbPlotSettings::kInches), Velt::eInvalidInput);

    EXPECT_EQ(validator->setPlotRotation(layout.get(), 4), Velt::eInvalidInput);
    EXPECT_EQ(validator->setPlotRotation(layout.get(), VxDbPlotSettings::k90degrees), Velt::eOk);
    EXPECT_EQ(validator->setStdScaleType(layout.get(), 33), Velt::eInvalidPlotScale);
    EXPECT_EQ(validator->setStdScaleType(layout.get(), 16), Velt::eOk);
    EXPECT_TRUE(layout->useStandardScale());
    EXPECT_EQ(validator->setCustomPrintScale(layout.get(), 1.0, 0.0), Velt::eInvalidPlotScale);
    EXPECT_EQ(validator->setCustomPrintScale(layout.get(), 1.0, 48.0), Velt::eOk);
    EXPECT_FALSE(layout->useStandardScale());

    // Plot types need what they plot.
    EXPECT_EQ(validator->setPlotType(layout.get(), VxDbPlotSettings::kView), Velt::eInvalidPlotView);
    EXPECT_EQ(validator->setPlotType(layout.get(), VxDbPlotSettings::kWindow), Velt::eInvalidPlotArea);
    EXPECT_EQ(validator->setPlotWindowArea(layout.get(), {5, 5}, {5, 10}), Velt::eInvalidPlotArea);
    EXPECT_EQ(validator->setPlotWindowArea(layout.get(), {0, 0}, {10, 10}), Velt::eOk);
    EXPECT_EQ(validator->setPlotType(layout.get(), VxDbPlotSettings::kWindow), Velt::eOk);
    EXPECT_EQ(validator->setPlotViewName(layout.get(), L"Front"), Velt::eInvalidPlotView);
    {
        VxDbObjectPointer<VxDbViewTable> views(db.viewTableId(), VxDb::kForWrite);
        auto* view = new VxDbViewTableRecord();
        view->setName(L"Front");
        views->add(view);
        view->close();
    }
    EXPECT_EQ(validator->setPlotViewName(layout.get(), L"front"), Velt::eOk);
    EXPECT_EQ(validator->setPlotType(layout.get(), VxDbPlotSettings::kView), Velt::eOk);
    EXPECT_EQ(validator->setPlotViewName(layout.get(), L""), Velt::eInvalidPlotView);
    EXPECT_EQ(validator->setPlotType(layout.get(), VxDbPlotSettings::kLayout), Velt::eOk);
    EXPECT_EQ(validator->setPlotCentered(layout.get(), true), Velt::eInvalidInput);

    // Plot-style tables follow the drawing's plot-style mode.
    std::vector<std::wstring> tables;
    validator->plotStyleSheetList(tables, layout.get());
    ASSERT_FALSE(tables.empty());
    EXPECT_NE(tables.front().find(L".ctb"), std::wstring::npos);
    EXPECT_EQ(validator->setCurrentStyleSheet(layout.get(), L"monochrome.ctb"), Velt::eOk);
    EXPECT_EQ(validator->setCurrentStyleSheet(layout.get(), L"monochrome.stb"), Velt::eInvalidStyleSheet);
    EXPECT_EQ(validator->setCurrentStyleSheet(layout.get(), L""), Velt::eOk);

    // Model settings cannot plot a layout; settings copy between layouts
    // and plain settings, each keeping its name.
    VxDbPlotSettings model(true);
    EXPECT_EQ(validator->setPlotType(&model, VxDbPlotSettings::kLayout), Velt::eInvalidInput);
    VxDbPlotSettings copy;
    copy.setPlotSettingsName(L"Copy");
    ASSERT_EQ(copy.copyFrom(layout.get()), Velt::eOk);
    EXPECT_EQ(copy.getPlotCfgName(), L"Tarsk PNG.pc3");
    EXPECT_EQ(copy.getPlotSettingsName(), L"Copy");
    VxDbPlotSettings other;
    validator->setPlotCfgName(&other, L"Tarsk PDF.pc3");
    ASSERT_EQ(layout->copyFrom(&other), Velt::eOk);
    EXPECT_EQ(layout->getPlotCfgName(), L"Tarsk PDF.pc3");
    EXPECT_EQ(layout->layoutName(), L"Layout1");
    EXPECT_EQ(layout->copyFrom(db.layerZero().objectClass()), Velt::eWrongObjectType);

    // The plain settings are not the validator's business.
    EXPECT_EQ(layout->setPlotViewportBorders(true), Velt::eOk);
    EXPECT_TRUE(layout->plotViewportBorders());
    layout->downgradeOpen();
    EXPECT_EQ(layout->setPlotHidden(true), Velt::eNotOpenForWrite);
    EXPECT_EQ(validator->setPlotRotation(layout.get(), 0), Velt::eNotOpenForWrite);
}

TEST(DbSummaryInfo, FieldsAndCustomProperties)
{
    VxDbDatabase db;
    VxDbDatabaseSummaryInfo* info = nullptr;
    ASSERT_EQ(vxdbGetSummaryInfo(&db, info), Velt::eOk);
    std::unique_ptr<VxDbDatabaseSummaryInfo> owned(info);
    info->setAuthor(L"Ada");
    info->setTitle(L"Gearbox");
    info->setHyperlinkBase(L"http://example.invalid/");
    EXPECT_EQ(info->addCustomSummaryInfo(L"Client", L"Acme"), Velt::eOk);
    EXPECT_EQ(info->addCustomSummaryInfo(L"CLIENT", L"Other"), Velt::eDuplicateKey);
    EXPECT_EQ(info->addCustomSummaryInfo(L"", L"x"), Velt::eInvalidInput);
    EXPECT_EQ(info->addCustomSummaryInfo(L"Phase", L"1"), Velt::eOk);

    // Nothing reaches the database until it is put back.
    VxDbDatabaseSummaryInfo* fresh = nullptr;
    vxdbGetSummaryInfo(&db, fresh);
    EXPECT_EQ(fresh->author(), L"");
    delete fresh;
    ASSERT_EQ(vxdbPutSummaryInfo(info), Velt::eOk);
    vxdbGetSummaryInfo(&db, fresh);
    std::unique_ptr<VxDbDatabaseSummaryInfo> stored(fresh);
    EXPECT_EQ(stored->author(), L"Ada");
    EXPECT_EQ(stored->title(), L"Gearbox");
    EXPECT_EQ(stored->numCustomInfo(), 2);

    std::wstring key, value;
    EXPECT_EQ(stored->getCustomSummaryInfo(1, key, value), Velt::eOk);
    EXPECT_EQ(key, L"Phase");
    EXPECT_EQ(stored->getCustomSummaryInfo(2, key, value), Velt::eInvalidIndex);
    EXPECT_EQ(stored->getCustomSummaryInfo(L"client", value), Velt::eOk);
    EXPECT_EQ(value, L"Acme");
    EXPECT_EQ(stored->setCustomSummaryInfo(L"Nope", L"x"), Velt::eKeyNotFound);
    EXPECT_EQ(stored->setCustomSummaryInfo(0, L"Phase", L"x"), Velt::eDuplicateKey);
    EXPECT_EQ(stored->setCustomSummaryInfo(0, L"Customer", L"Acme Ltd"), Velt::eOk);
    EXPECT_EQ(stored->deleteCustomSummaryInfo(L"phase"), Velt::eOk);
    EXPECT_EQ(stored->deleteCustomSummaryInfo(5), Velt::eInvalidIndex);
    EXPECT_EQ(stored->numCustomInfo(), 1);
    EXPECT_EQ(vxdbGetSummaryInfo(nullptr, fresh), Velt::eNoDatabase);
    EXPECT_EQ(vxdbPutSummaryInfo(nullptr, &db), Velt::eNullObjectPointer);
}
