#pragma once

#include <string>
#include <vector>

#include "db/object.h"
#include "ge/extents.h"
#include "ge/point.h"

namespace kx {

class VxDbDatabase;
class VxDbPlotSettingsValidator;

// A named set of plot settings. The device-dependent settings are changed
// through the plot-settings validator, which checks them against the
// devices, media and plot-style tables it knows; the others directly.
class VxDbPlotSettings : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbPlotSettings)
public:
    enum PlotPaperUnits : int { kInches = 0, kMillimeters = 1, kPixels = 2 };
    enum PlotRotation : int { k0degrees = 0, k90degrees = 1, k180degrees = 2, k270degrees = 3 };
    enum PlotType : int { kDisplay = 0, kExtents = 1, kLimits = 2, kView = 3, kWindow = 4, kLayout = 5 };
    enum StdScaleType : int { kScaleToFit = 0, k1_1 = 16, kStdScaleMax = 32 };

    // Everything the object holds, for readers and writers of drawings;
    // setData checks only what makes the data unusable.
    struct Data {
        std::wstring name;
        std::wstring device = L"None";
        std::wstring media = L"none_user_media";
        std::wstring viewName;
        std::wstring styleSheet;
        VxGePoint2d origin;
        VxGePoint2d windowMin;
        VxGePoint2d windowMax;
        // Paper size and printable margins in millimetres (pixels for raster media).
        double paperWidth = 0.0;
        double paperHeight = 0.0;
        double marginLeft = 0.0;
        double marginBottom = 0.0;
        double marginRight = 0.0;
        double marginTop = 0.0;
        double scaleNumerator = 1.0;
        double scaleDenominator = 1.0;
        int paperUnits = kInches;
        int rotation = k0degrees;
        int plotType = kDisplay;
        int stdScaleType = kScaleToFit;
        int shadePlot = 0;
        bool useStandardScale = true;
        bool centered = false;
        bool viewportBorders = false;
        bool showPlotStyles = false;
        bool plotHidden = false;
        bool scaleLineweights = false;
        bool printLineweights = true;
        bool drawViewportsFirst = false;
        bool plotPlotStyles = true;
        bool modelType = false;
    };

    VxDbPlotSettings() = default;
    explicit VxDbPlotSettings(bool modelType) { mData.modelType = modelType; }

    const Data& data() const { return mData; }
    Velt::ErrorStatus setData(const Data& data);
    // From any plot settings: a layout and plain settings exchange their
    // plot data, each keeping its own name.
    Velt::ErrorStatus copyFrom(const VxRxObject* other) override;

    const std::wstring& getPlotSettingsName() const { return mData.name; }
    Velt::ErrorStatus setPlotSettingsName(const wchar_t* name);
    const std::wstring& getPlotCfgName() const { return mData.device; }
    const std::wstring& getCanonicalMediaName() const { return mData.media; }
    PlotPaperUnits plotPaperUnits() const { return static_cast<PlotPaperUnits>(mData.paperUnits); }
    PlotRotation plotRotation() const { return static_cast<PlotRotation>(mData.rotation); }
    bool plotCentered() const { return mData.centered; }
    PlotType plotType() const { return static_cast<PlotType>(mData.plotType); }
    const std::wstring& getPlotViewName() const { return mData.viewName; }
    bool useStandardScale() const { return mData.useStandardScale; }
    int stdScaleType() const { return mData.stdScaleType; }
    void getCustomPrintScale(double& numerator, double& denominator) const;
    const std::wstring& getCurrentStyleSheet() const { return mData.styleSheet; }
    VxGePoint2d plotOrigin() const { return mData.origin; }
    void getPlotWindowArea(VxGePoint2d& lowerLeft, VxGePoint2d& upperRight) const;
    void getPlotPaperMargins(double& left, double& bottom, double& right, double& top) const;
    void getPlotPaperSize(double& width, double& height) const;

    bool plotViewportBorders() const { return mData.viewportBorders; }
    Velt::ErrorStatus setPlotViewportBorders(bool value) { return setField(mData.viewportBorders, value); }
    bool showPlotStyles() const { return mData.showPlotStyles; }
    Velt::ErrorStatus setShowPlotStyles(bool value) { return setField(mData.showPlotStyles, value); }
    bool plotHidden() const { return mData.plotHidden; }
    Velt::ErrorStatus setPlotHidden(bool value) { return setField(mData.plotHidden, value); }
    bool scaleLineweights() const { return mData.scaleLineweights; }
    Velt::ErrorStatus setScaleLineweights(bool value) { return setField(mData.scaleLineweights, value); }
    bool printLineweights() const { return mData.printLineweights; }
    Velt::ErrorStatus setPrintLineweights(bool value) { return setField(mData.printLineweights, value); }
    bool drawViewportsFirst() const { return mData.drawViewportsFirst; }
    Velt::ErrorStatus setDrawViewportsFirst(bool value) { return setField(mData.drawViewportsFirst, value); }
    bool plotPlotStyles() const { return mData.plotPlotStyles; }
    Velt::ErrorStatus setPlotPlotStyles(bool value) { return setField(mData.plotPlotStyles, value); }
    // Whether the settings are for model space.
    bool modelType() const { return mData.modelType; }
    Velt::ErrorStatus setModelType(bool value) { return setField(mData.modelType, value); }

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    friend class VxDbPlotSettingsValidator;
    Data mData;
};

// A layout: plot settings with a block (model space or one paper space), a
// name shown on its tab and a tab position (model space is 0).
class VxDbLayout : public VxDbPlotSettings {
    VX_RX_DECLARE_MEMBERS(VxDbLayout)
public:
    const std::wstring& layoutName() const { return getPlotSettingsName(); }
    Velt::ErrorStatus getLayoutName(std::wstring& name) const;
    Velt::ErrorStatus getName(std::wstring& name) const { return getLayoutName(name); }
    // Only the name; the layout manager renames the dictionary entry too.
    Velt::ErrorStatus setLayoutName(const wchar_t* name);
    int getTabOrder() const { return mTabOrder; }
    Velt::ErrorStatus setTabOrder(int order);
    bool getTabSelected() const { return mTabSelected; }
    Velt::ErrorStatus setTabSelected(bool value) { return setField(mTabSelected, value); }
    VxDbObjectId getBlockTableRecordId() const { return mBlock; }
    Velt::ErrorStatus setBlockTableRecordId(VxDbObjectId blockId);
    VxGePoint2d getLimitsMin() const { return mLimMin; }
    VxGePoint2d getLimitsMax() const { return mLimMax; }
    Velt::ErrorStatus setLimits(const VxGePoint2d& min, const VxGePoint2d& max);
    VxGePoint3d getInsertionBase() const { return mInsertionBase; }
    Velt::ErrorStatus setInsertionBase(const VxGePoint3d& point);
    VxGeExtents3d getExtents() const { return mExtents; }
    Velt::ErrorStatus setExtents(const VxGeExtents3d& extents) { return setField(mExtents, extents); }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    friend class VxDbLayoutManager;
    VxDbObjectId mBlock;
    VxGePoint2d mLimMin{0.0, 0.0};
    VxGePoint2d mLimMax{12.0, 9.0};
    VxGePoint3d mInsertionBase;
    VxGeExtents3d mExtents;
    int mTabOrder = 0;
    bool mTabSelected = false;
};

// Creates, deletes, renames, reorders and activates layouts, keeping the
// layout dictionary, the layouts' blocks and their tab order consistent.
// A null database means the working database.
class VxDbLayoutManager {
public:
    Velt::ErrorStatus createLayout(const wchar_t* name, VxDbObjectId& layoutId, VxDbObjectId& blockId,
                                   VxDbDatabase* database = nullptr);
    // eLayoutNotFound for an unknown name, eCannotDeleteModelLayout for the
    // model layout, eCannotDeleteLastLayout for the only paper layout.
    Velt::ErrorStatus deleteLayout(const wchar_t* name, VxDbDatabase* database = nullptr);
    // eInvalidLayoutName for a bad new name, eDuplicateKey for a taken one,
    // eCannotRename for the model layout.
    Velt::ErrorStatus renameLayout(const wchar_t* oldName, const wchar_t* newName, VxDbDatabase* database = nullptr);
    // Moves the layout to the tab position and renumbers the others 1 ... n.
    Velt::ErrorStatus updateByNewOrder(VxDbObjectId layoutId, int newOrder);
    // Makes the layout current: "Model" turns tile mode on; a paper layout
    // turns it off and gets the block "*Paper_Space".
    Velt::ErrorStatus setCurrentLayout(const wchar_t* name, VxDbDatabase* database = nullptr);
    Velt::ErrorStatus getActiveLayoutName(std::wstring& name, bool allowModel = true,
                                          VxDbDatabase* database = nullptr) const;
    VxDbObjectId findLayoutNamed(const wchar_t* name, VxDbDatabase* database = nullptr) const;
    bool layoutExists(const wchar_t* name, VxDbDatabase* database = nullptr) const;
    int countLayouts(VxDbDatabase* database = nullptr) const;
    // Paper layouts in tab order.
    std::vector<VxDbObjectId> paperLayoutsInOrder(VxDbDatabase* database) const;
};

VxDbLayoutManager* veltGetLayoutManager();

// The devices, media and plot-style tables the host knows, and the checks
// that every device-dependent plot setting goes through.
class VxDbPlotSettingsValidator {
public:
    // A device name of the list; media must be one of its media when given,
    // else the current media is kept if the device has it, or its first.
    Velt::ErrorStatus setPlotCfgName(VxDbPlotSettings* settings, const wchar_t* device,
                                     const wchar_t* media = nullptr);
    Velt::ErrorStatus setCanonicalMediaName(VxDbPlotSettings* settings, const wchar_t* media);
    // Pixels only on raster devices, which take nothing else.
    Velt::ErrorStatus setPlotPaperUnits(VxDbPlotSettings* settings, int units);
    Velt::ErrorStatus setPlotRotation(VxDbPlotSettings* settings, int rotation);
    // A layout plot cannot be centred.
    Velt::ErrorStatus setPlotCentered(VxDbPlotSettings* settings, bool value);
    // A view plot needs a view name, a window plot a window, a layout plot
    // paper-space settings.
    Velt::ErrorStatus setPlotType(VxDbPlotSettings* settings, int type);
    // A view of the settings' drawing (empty clears it).
    Velt::ErrorStatus setPlotViewName(VxDbPlotSettings* settings, const wchar_t* viewName);
    Velt::ErrorStatus setPlotWindowArea(VxDbPlotSettings* settings, const VxGePoint2d& lowerLeft,
                                        const VxGePoint2d& upperRight);
    Velt::ErrorStatus setPlotOrigin(VxDbPlotSettings* settings, double x, double y);
    Velt::ErrorStatus setUseStandardScale(VxDbPlotSettings* settings, bool value);
    // 0 (scale to fit) ... 32.
    Velt::ErrorStatus setStdScaleType(VxDbPlotSettings* settings, int type);
    // Both above zero.
    Velt::ErrorStatus setCustomPrintScale(VxDbPlotSettings* settings, double numerator, double denominator);
    // A table of the list (colour-dependent .ctb or named .stb, as the
    // drawing uses); empty for none.
    Velt::ErrorStatus setCurrentStyleSheet(VxDbPlotSettings* settings, const wchar_t* styleSheet);

    Velt::ErrorStatus plotDeviceList(std::vector<std::wstring>& devices) const;
    Velt::ErrorStatus canonicalMediaNameList(const VxDbPlotSettings* settings, std::vector<std::wstring>& media) const;
    Velt::ErrorStatus plotStyleSheetList(std::vector<std::wstring>& styleSheets,
                                         const VxDbPlotSettings* settings = nullptr) const;
    Velt::ErrorStatus getLocaleMediaName(const VxDbPlotSettings* settings, const wchar_t* canonical,
                                         std::wstring& localized) const;
    Velt::ErrorStatus refreshLists(const VxDbPlotSettings* settings);
    size_t refreshCount() const { return mRefreshes; }

    // Applies a device's default media and units to new settings.
    void setDefaults(VxDbPlotSettings* settings, bool metric) const;

private:
    size_t mRefreshes = 0;
};

}  // namespace kx
