#include "db/layout.h"

#include <algorithm>
#include <cmath>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "services/hostservices.h"

namespace kx {

namespace {

bool finite2d(const VxGePoint2d& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

VxDbDatabase* resolve(VxDbDatabase* database)
{
    return database ? database : vxdbHostApplicationServices()->workingDatabase();
}

}  // namespace

// ---- plot settings ----

VX_RX_DEFINE_MEMBERS(VxDbPlotSettings, VxDbObject, L"KxDbPlotSettings", &vxrxCreateInstance<VxDbPlotSettings>,
                     L"PLOTSETTINGS")

Velt::ErrorStatus VxDbPlotSettings::setData(const Data& data)
{
    if (data.paperUnits < kInches || data.paperUnits > kPixels || data.rotation < k0degrees ||
        data.rotation > k270degrees || data.plotType < kDisplay || data.plotType > kLayout ||
        data.stdScaleType < 0 || data.stdScaleType > kStdScaleMax)
        return Velt::eOutOfRange;
    if (!(data.scaleNumerator > 0.0) || !(data.scaleDenominator > 0.0) || !std::isfinite(data.scaleNumerator) ||
        !std::isfinite(data.scaleDenominator))
        return Velt::eInvalidInput;
    return setField(mData, data);
}

Velt::ErrorStatus VxDbPlotSettings::setPlotSettingsName(const wchar_t* name)
{
    return setField(mData.name, std::wstring(vxView(name)));
}

void VxDbPlotSettings::getCustomPrintScale(double& numerator, double& denominator) const
{
    numerator = mData.scaleNumerator;
    denominator = mData.scaleDenominator;
}

void VxDbPlotSettings::getPlotWindowArea(VxGePoint2d& lowerLeft, VxGePoint2d& upperRight) const
{
    lowerLeft = mData.windowMin;
    upperRight = mData.windowMax;
}

void VxDbPlotSettings::getPlotPaperMargins(double& left, double& bottom, double& right, double& top) const
{
    left = mData.marginLeft;
    bottom = mData.marginBottom;
    right = mData.marginRight;
    top = mData.marginTop;
}

void VxDbPlotSettings::getPlotPaperSize(double& width, double& height) const
{
    width = mData.paperWidth;
    height = mData.paperHeight;
}

Velt::ErrorStatus VxDbPlotSettings::copyFrom(const VxRxObject* other)
{
    if (other && other->isA() != isA() && other->isKindOf(VxDbPlotSettings::desc())) {
        Data data = static_cast<const VxDbPlotSettings*>(other)->mData;
        data.name = mData.name;
        data.modelType = mData.modelType;
        return setField(mData, data);
    }
    return VxDbObject::copyFrom(other);
}

void VxDbPlotSettings::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    mData = static_cast<const VxDbPlotSettings&>(other).mData;
}

// ---- layouts ----

VX_RX_DEFINE_MEMBERS(VxDbLayout, VxDbPlotSettings, L"KxDbLayout", &vxrxCreateInstance<VxDbLayout>, L"LAYOUT")

Velt::ErrorStatus VxDbLayout::getLayoutName(std::wstring& name) const
{
    name = layoutName();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLayout::setLayoutName(const wchar_t* name)
{
    if (!name || !vxIsValidSymbolName(name))
        return Velt::eInvalidLayoutName;
    return setPlotSettingsName(name);
}

Velt::ErrorStatus VxDbLayout::setTabOrder(int order)
{
    if (order < 0)
        return Velt::eInvalidInput;
    return setField(mTabOrder, order);
}

Velt::ErrorStatus VxDbLayout::setBlockTableRecordId(VxDbObjectId blockId)
{
    if (Velt::ErrorStatus es = detail::checkReference(blockId, VxDbBlockTableRecord::desc(), database(), true))
        return es;
    return setField(mBlock, blockId);
}

Velt::ErrorStatus VxDbLayout::setLimits(const VxGePoint2d& min, const VxGePoint2d& max)
{
    if (!finite2d(min) || !finite2d(max))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mLimMin = min;
    mLimMax = max;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLayout::setInsertionBase(const VxGePoint3d& point)
{
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z))
        return Velt::eInvalidInput;
    return setField(mInsertionBase, point);
}

void VxDbLayout::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbPlotSettings::visitReferences(visitor);
    visitor.visit(mBlock, VxDb::kSoftPointerRef);
}

void VxDbLayout::copyDataFrom(const VxDbObject& other)
{
    VxDbPlotSettings::copyDataFrom(other);
    const auto& layout = static_cast<const VxDbLayout&>(other);
    mLimMin = layout.mLimMin;
    mLimMax = layout.mLimMax;
    mInsertionBase = layout.mInsertionBase;
    mExtents = layout.mExtents;
    mTabOrder = layout.mTabOrder;
    mTabSelected = layout.mTabSelected;
    // The block belongs to the original layout.
}

// ---- layout manager ----

VxDbLayoutManager* veltGetLayoutManager()
{
    static VxDbLayoutManager manager;
    return &manager;
}

namespace {

bool isValidLayoutName(const wchar_t* name)
{
    return name && vxIsValidSymbolName(name) && !vxEqualNoCase(name, L"Model");
}

// Trades names so that the layout's block becomes "*Paper_Space".
void makePaperBlockCurrent(VxDbDatabase* db, VxDbObjectId block)
{
    const VxDbObjectId current = db->paperSpaceId();
    if (current == block || block.isNull())
        return;
    auto* target = VxDbBlockTableRecord::cast(detail::objectOf(block));
    if (!target)
        return;
    if (auto* previous = VxDbBlockTableRecord::cast(detail::objectOf(current))) {
        const std::wstring targetName = target->name();
        detail::forceRename(previous, L"*Paper_Space~");
        detail::forceRename(target, VxDbBlockTableRecord::kPaperSpaceName);
        detail::forceRename(previous, targetName);
    } else {
        detail::forceRename(target, VxDbBlockTableRecord::kPaperSpaceName);
    }
}

}  // namespace

std::vector<VxDbObjectId> VxDbLayoutManager::paperLayoutsInOrder(VxDbDatabase* database) const
{
    std::vector<VxDbObjectId> layouts;
    VxDbDatabase* db = resolve(database);
    if (!db)
        return layouts;
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(db->layoutDictionaryId()));
    if (!dictionary)
        return layouts;
    const VxDbObjectId model = db->modelSpaceId();
    for (const auto& entry : dictionary->entries()) {
        auto* layout = VxDbLayout::cast(detail::objectOf(entry.id));
        if (layout && !entry.id.isErased() && layout->getBlockTableRecordId() != model)
            layouts.push_back(entry.id);
    }
    std::stable_sort(layouts.begin(), layouts.end(), [](VxDbObjectId a, VxDbObjectId b) {
        return VxDbLayout::cast(detail::objectOf(a))->getTabOrder() <
               VxDbLayout::cast(detail::objectOf(b))->getTabOrder();
    });
    return layouts;
}

VxDbObjectId VxDbLayoutManager::findLayoutNamed(const wchar_t* name, VxDbDatabase* database) const
{
    VxDbDatabase* db = resolve(database);
    if (!db || !name)
        return VxDbObjectId();
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(db->layoutDictionaryId()));
    return dictionary ? dictionary->getIdAt(name) : VxDbObjectId();
}

bool VxDbLayoutManager::layoutExists(const wchar_t* name, VxDbDatabase* database) const
{
    return !findLayoutNamed(name, database).isNull();
}

int VxDbLayoutManager::countLayouts(VxDbDatabase* database) const
{
    VxDbDatabase* db = resolve(database);
    auto* dictionary = db ? VxDbDictionary::cast(detail::objectOf(db->layoutDictionaryId())) : nullptr;
    return dictionary ? int(dictionary->numEntries()) : 0;
}

Velt::ErrorStatus VxDbLayoutManager::createLayout(const wchar_t* name, VxDbObjectId& layoutId, VxDbObjectId& blockId,
                                                  VxDbDatabase* database)
{
    layoutId = VxDbObjectId();
    blockId = VxDbObjectId();
    VxDbDatabase* db = resolve(database);
    if (!db)
        return Velt::eNoDatabase;
    if (!isValidLayoutName(name))
        return Velt::eInvalidLayoutName;
    VxDbObjectPointer<VxDbDictionary> dictionary(db->layoutDictionaryId(), VxDb::kForWrite);
    if (!dictionary)
        return dictionary.openStatus();
    if (dictionary->has(name))
        return Velt::eDuplicateKey;
    VxDbObjectPointer<VxDbBlockTable> blocks(db->blockTableId(), VxDb::kForWrite);
    if (!blocks)
        return blocks.openStatus();

    std::wstring blockName = VxDbBlockTableRecord::kPaperSpaceName;
    for (int n = 0; blocks->has(blockName.c_str()); ++n)
        blockName = std::wstring(VxDbBlockTableRecord::kPaperSpaceName) + std::to_wstring(n);
    VxDbObjectPointer<VxDbBlockTableRecord> block(new VxDbBlockTableRecord());
    block->setName(blockName.c_str());
    if (Velt::ErrorStatus es = blocks->add(blockId, block.get()))
        return es;

    int order = 0;
    for (VxDbObjectId id : paperLayoutsInOrder(db))
        order = std::max(order, VxDbLayout::cast(detail::objectOf(id))->getTabOrder());
    VxDbObjectPointer<VxDbLayout> layout(new VxDbLayout());
    layout->setLayoutName(name);
    layout->setTabOrder(order + 1);
    layout->setBlockTableRecordId(blockId);
    vxdbHostApplicationServices()->plotSettingsValidator()->setDefaults(layout.get(),
                                                                         db->measurement() == VxDb::kMetric);
    if (Velt::ErrorStatus es = dictionary->setAt(name, layout.get(), layoutId)) {
        detail::eraseTree(block.get(), true);
        blockId = VxDbObjectId();
        return es;
    }
    block->setLayoutId(layoutId);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLayoutManager::deleteLayout(const wchar_t* name, VxDbDatabase* database)
{
    VxDbDatabase* db = resolve(database);
    if (!db)
        return Velt::eNoDatabase;
    const VxDbObjectId layoutId = findLayoutNamed(name, db);
    if (layoutId.isNull())
        return Velt::eLayoutNotFound;
    VxDbObjectPointer<VxDbLayout> layout(layoutId, VxDb::kForWrite);
    if (!layout)
        return layout.openStatus();
    const VxDbObjectId blockId = layout->getBlockTableRecordId();
    if (blockId == db->modelSpaceId())
        return Velt::eCannotDeleteModelLayout;
    std::vector<VxDbObjectId> paper = paperLayoutsInOrder(db);
    if (paper.size() <= 1)
        return Velt::eCannotDeleteLastLayout;
    if (blockId == db->paperSpaceId()) {
        // Another layout becomes current: the neighbour in tab order.
        auto it = std::find(paper.begin(), paper.end(), layoutId);
        VxDbObjectId next = (it != paper.end() && it + 1 != paper.end()) ? *(it + 1) : paper.front();
        if (next == layoutId)
            next = paper.back();
        makePaperBlockCurrent(db, VxDbLayout::cast(detail::objectOf(next))->getBlockTableRecordId());
    }
    if (Velt::ErrorStatus es = layout->erase(true))
        return es;
    layout.close();
    if (VxDbObject* block = detail::objectOf(blockId))
        detail::eraseTree(block, true);
    int order = 1;
    for (VxDbObjectId id : paperLayoutsInOrder(db)) {
        VxDbObjectPointer<VxDbLayout> other(id, VxDb::kForWrite);
        if (other)
            other->setTabOrder(order++);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLayoutManager::renameLayout(const wchar_t* oldName, const wchar_t* newName,
                                                  VxDbDatabase* database)
{
    VxDbDatabase* db = resolve(database);
    if (!db)
        return Velt::eNoDatabase;
    const VxDbObjectId layoutId = findLayoutNamed(oldName, db);
    if (layoutId.isNull())
        return Velt::eLayoutNotFound;
    if (!isValidLayoutName(newName))
        return Velt::eInvalidLayoutName;
    VxDbObjectPointer<VxDbLayout> layout(layoutId, VxDb::kForWrite);
    if (!layout)
        return layout.openStatus();
    if (layout->getBlockTableRecordId() == db->modelSpaceId())
        return Velt::eCannotRename;
    const VxDbObjectId other = findLayoutNamed(newName, db);
    if (!other.isNull() && other != layoutId)
        return Velt::eDuplicateKey;
    VxDbObjectPointer<VxDbDictionary> dictionary(db->layoutDictionaryId(), VxDb::kForWrite);
    if (!dictionary)
        return dictionary.openStatus();
    std::wstring key;
    dictionary->nameAt(layoutId, key);
    if (Velt::ErrorStatus es = dictionary->setName(key.c_str(), newName))
        return es;
    return layout->setLayoutName(newName);
}

Velt::ErrorStatus VxDbLayoutManager::updateByNewOrder(VxDbObjectId layoutId, int newOrder)
{
    VxDbDatabase* db = layoutId.database();
    auto* layout = VxDbLayout::cast(detail::objectOf(layoutId));
    if (!db || !layout)
        return Velt::eInvalidInput;
    if (layout->getBlockTableRecordId() == db->modelSpaceId() || newOrder < 1)
        return Velt::eInvalidInput;
    std::vector<VxDbObjectId> paper = paperLayoutsInOrder(db);
    paper.erase(std::remove(paper.begin(), paper.end(), layoutId), paper.end());
    const size_t position = std::min(size_t(newOrder - 1), paper.size());
    paper.insert(paper.begin() + ptrdiff_t(position), layoutId);
    int order = 1;
    for (VxDbObjectId id : paper) {
        // The layouts are renumbered directly: the caller may hold one open.
        if (auto* each = VxDbLayout::cast(detail::objectOf(id)))
            each->mTabOrder = order;
        ++order;
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLayoutManager::setCurrentLayout(const wchar_t* name, VxDbDatabase* database)
{
    VxDbDatabase* db = resolve(database);
    if (!db)
        return Velt::eNoDatabase;
    if (name && vxEqualNoCase(name, L"Model"))
        return db->setTilemode(true);
    const VxDbObjectId layoutId = findLayoutNamed(name, db);
    auto* layout = VxDbLayout::cast(detail::objectOf(layoutId));
    if (!layout)
        return Velt::eLayoutNotFound;
    if (layout->getBlockTableRecordId() == db->modelSpaceId())
        return db->setTilemode(true);
    makePaperBlockCurrent(db, layout->getBlockTableRecordId());
    return db->setTilemode(false);
}

Velt::ErrorStatus VxDbLayoutManager::getActiveLayoutName(std::wstring& name, bool allowModel,
                                                         VxDbDatabase* database) const
{
    name.clear();
    VxDbDatabase* db = resolve(database);
    if (!db)
        return Velt::eNoDatabase;
    if (db->tilemode() && allowModel) {
        name = L"Model";
        return Velt::eOk;
    }
    const VxDbObjectId paper = db->paperSpaceId();
    for (VxDbObjectId id : paperLayoutsInOrder(db)) {
        auto* layout = VxDbLayout::cast(detail::objectOf(id));
        if (layout->getBlockTableRecordId() == paper) {
            name = layout->layoutName();
            return Velt::eOk;
        }
    }
    return Velt::eLayoutNotFound;
}

// ---- validator ----

namespace {

enum MediaUnits { kMediaInches, kMediaMillimeters, kMediaPixels };

struct Media {
    const wchar_t* canonical;
    double width;
    double height;
    MediaUnits units;
};

const Media kPaper[] = {
    {L"ISO_A4_(210.00_x_297.00_MM)", 210.0, 297.0, kMediaMillimeters},
    {L"ISO_A3_(297.00_x_420.00_MM)", 297.0, 420.0, kMediaMillimeters},
    {L"ISO_A2_(420.00_x_594.00_MM)", 420.0, 594.0, kMediaMillimeters},
    {L"ISO_A1_(594.00_x_841.00_MM)", 594.0, 841.0, kMediaMillimeters},
    {L"ISO_A0_(841.00_x_1189.00_MM)", 841.0, 1189.0, kMediaMillimeters},
    {L"ANSI_A_(8.50_x_11.00_Inches)", 8.5, 11.0, kMediaInches},
    {L"ANSI_B_(11.00_x_17.00_Inches)", 11.0, 17.0, kMediaInches},
    {L"ANSI_C_(17.00_x_22.00_Inches)", 17.0, 22.0, kMediaInches},
    {L"ANSI_D_(22.00_x_34.00_Inches)", 22.0, 34.0, kMediaInches},
    {L"ANSI_E_(34.00_x_44.00_Inches)", 34.0, 44.0, kMediaInches},
    {L"Letter_(8.50_x_11.00_Inches)", 8.5, 11.0, kMediaInches},
    {L"Legal_(8.50_x_14.00_Inches)", 8.5, 14.0, kMediaInches},
    {L"Tabloid_(11.00_x_17.00_Inches)", 11.0, 17.0, kMediaInches},
};

const Media kRaster[] = {
    {L"VGA_(640.00_x_480.00_Pixels)", 640.0, 480.0, kMediaPixels},
    {L"XGA_(1024.00_x_768.00_Pixels)", 1024.0, 768.0, kMediaPixels},
    {L"Full_HD_(1920.00_x_1080.00_Pixels)", 1920.0, 1080.0, kMediaPixels},
    {L"UHD_(3840.00_x_2160.00_Pixels)", 3840.0, 2160.0, kMediaPixels},
};

const Media kNoMedia = {L"none_user_media", 0.0, 0.0, kMediaMillimeters};

struct Device {
    const wchar_t* name;
    bool raster;
    double margin;  // millimetres on every side
    bool largeOnly;
};

const Device kDevices[] = {
    {L"None", false, 0.0, false},
    {L"Tarsk PDF.pc3", false, 5.0, false},
    {L"Tarsk Plotter.pc3", false, 10.0, true},
    {L"Tarsk PNG.pc3", true, 0.0, false},
};

const wchar_t* const kColorTables[] = {L"grayscale.ctb", L"monochrome.ctb", L"screening 50%.ctb", L"tarsk.ctb"};
const wchar_t* const kNamedTables[] = {L"monochrome.stb", L"tarsk.stb"};

const Device* findDevice(std::wstring_view name)
{
    for (const Device& device : kDevices) {
        if (vxEqualNoCase(device.name, name))
            return &device;
    }
    return nullptr;
}

std::vector<const Media*> mediaOf(const Device& device)
{
    std::vector<const Media*> list;
    if (device.raster) {
        for (const Media& media : kRaster)
            list.push_back(&media);
        return list;
    }
    if (std::wstring_view(device.name) == L"None")
        list.push_back(&kNoMedia);
    for (const Media& media : kPaper) {
        const double longSide = media.units == kMediaInches ? std::max(media.width, media.height) * 25.4
                                                            : std::max(media.width, media.height);
        if (!device.largeOnly || longSide >= 420.0)
            list.push_back(&media);
    }
    return list;
}

const Media* findMedia(const Device& device, std::wstring_view name)
{
    for (const Media* media : mediaOf(device)) {
        if (vxEqualNoCase(media->canonical, name))
            return media;
    }
    return nullptr;
}

void applyMedia(VxDbPlotSettings::Data& data, const Device& device, const Media& media)
{
    data.device = device.name;
    data.media = media.canonical;
    const double toMm = media.units == kMediaInches ? 25.4 : 1.0;
    data.paperWidth = media.width * toMm;
    data.paperHeight = media.height * toMm;
    const double margin = media.width > 0.0 ? device.margin : 0.0;
    data.marginLeft = data.marginBottom = data.marginRight = data.marginTop = margin;
    if (device.raster)
        data.paperUnits = VxDbPlotSettings::kPixels;
    else if (data.paperUnits == VxDbPlotSettings::kPixels)
        data.paperUnits = media.units == kMediaInches ? VxDbPlotSettings::kInches : VxDbPlotSettings::kMillimeters;
}

const Device* deviceOf(const VxDbPlotSettings* settings)
{
    const Device* device = findDevice(settings->getPlotCfgName());
    return device ? device : &kDevices[0];
}

bool usesColorTables(const VxDbPlotSettings* settings)
{
    VxDbDatabase* db = settings ? settings->database() : nullptr;
    return !db || db->plotStyleMode();
}

}  // namespace

void VxDbPlotSettingsValidator::setDefaults(VxDbPlotSettings* settings, bool metric) const
{
    if (!settings)
        return;
    const Device& device = kDevices[0];
    const Media* media = findMedia(device, metric ? L"ISO_A4_(210.00_x_297.00_MM)" : L"Letter_(8.50_x_11.00_Inches)");
    settings->mData.paperUnits = metric ? VxDbPlotSettings::kMillimeters : VxDbPlotSettings::kInches;
    applyMedia(settings->mData, device, *media);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotCfgName(VxDbPlotSettings* settings, const wchar_t* deviceName,
                                                            const wchar_t* mediaName)
{
    if (!settings || !deviceName)
        return Velt::eInvalidInput;
    const Device* device = findDevice(deviceName);
    if (!device)
        return Velt::eInvalidPlotDevice;
    const Media* media = nullptr;
    if (mediaName && *mediaName) {
        media = findMedia(*device, mediaName);
        if (!media)
            return Velt::eInvalidMediaName;
    } else {
        media = findMedia(*device, settings->getCanonicalMediaName());
        if (!media)
            media = mediaOf(*device).front();
    }
    VxDbPlotSettings::Data data = settings->data();
    applyMedia(data, *device, *media);
    return settings->setField(settings->mData, data);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setCanonicalMediaName(VxDbPlotSettings* settings, const wchar_t* name)
{
    if (!settings || !name)
        return Velt::eInvalidInput;
    const Device* device = deviceOf(settings);
    const Media* media = findMedia(*device, name);
    if (!media)
        return Velt::eInvalidMediaName;
    VxDbPlotSettings::Data data = settings->data();
    applyMedia(data, *device, *media);
    return settings->setField(settings->mData, data);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotPaperUnits(VxDbPlotSettings* settings, int units)
{
    if (!settings || units < VxDbPlotSettings::kInches || units > VxDbPlotSettings::kPixels)
        return Velt::eInvalidInput;
    const bool raster = deviceOf(settings)->raster;
    if (raster != (units == VxDbPlotSettings::kPixels))
        return Velt::eInvalidInput;
    return settings->setField(settings->mData.paperUnits, units);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotRotation(VxDbPlotSettings* settings, int rotation)
{
    if (!settings || rotation < VxDbPlotSettings::k0degrees || rotation > VxDbPlotSettings::k270degrees)
        return Velt::eInvalidInput;
    return settings->setField(settings->mData.rotation, rotation);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotCentered(VxDbPlotSettings* settings, bool value)
{
    if (!settings)
        return Velt::eInvalidInput;
    if (value && settings->plotType() == VxDbPlotSettings::kLayout)
        return Velt::eInvalidInput;
    return settings->setField(settings->mData.centered, value);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotType(VxDbPlotSettings* settings, int type)
{
    if (!settings || type < VxDbPlotSettings::kDisplay || type > VxDbPlotSettings::kLayout)
        return Velt::eInvalidInput;
    const VxDbPlotSettings::Data& data = settings->data();
    if (type == VxDbPlotSettings::kView && data.viewName.empty())
        return Velt::eInvalidPlotView;
    if (type == VxDbPlotSettings::kWindow && !(data.windowMin.x < data.windowMax.x && data.windowMin.y < data.windowMax.y))
        return Velt::eInvalidPlotArea;
    if (type == VxDbPlotSettings::kLayout && data.modelType)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = settings->setField(settings->mData.plotType, type))
        return es;
    // A layout plot is never centred.
    if (type == VxDbPlotSettings::kLayout)
        settings->mData.centered = false;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotViewName(VxDbPlotSettings* settings, const wchar_t* viewName)
{
    if (!settings)
        return Velt::eInvalidInput;
    const std::wstring name(vxView(viewName));
    if (name.empty()) {
        if (settings->plotType() == VxDbPlotSettings::kView)
            return Velt::eInvalidPlotView;
        return settings->setField(settings->mData.viewName, name);
    }
    VxDbDatabase* db = settings->database();
    auto* views = db ? VxDbSymbolTable::cast(detail::objectOf(db->viewTableId())) : nullptr;
    if (!views || !views->has(name.c_str()))
        return Velt::eInvalidPlotView;
    return settings->setField(settings->mData.viewName, name);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotWindowArea(VxDbPlotSettings* settings,
                                                               const VxGePoint2d& lowerLeft,
                                                               const VxGePoint2d& upperRight)
{
    if (!settings)
        return Velt::eInvalidInput;
    if (!finite2d(lowerLeft) || !finite2d(upperRight) || !(lowerLeft.x < upperRight.x) ||
        !(lowerLeft.y < upperRight.y))
        return Velt::eInvalidPlotArea;
    if (Velt::ErrorStatus es = settings->setField(settings->mData.windowMin, lowerLeft))
        return es;
    settings->mData.windowMax = upperRight;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setPlotOrigin(VxDbPlotSettings* settings, double x, double y)
{
    if (!settings || !std::isfinite(x) || !std::isfinite(y))
        return Velt::eInvalidInput;
    return settings->setField(settings->mData.origin, VxGePoint2d{x, y});
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setUseStandardScale(VxDbPlotSettings* settings, bool value)
{
    if (!settings)
        return Velt::eInvalidInput;
    return settings->setField(settings->mData.useStandardScale, value);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setStdScaleType(VxDbPlotSettings* settings, int type)
{
    if (!settings)
        return Velt::eInvalidInput;
    if (type < VxDbPlotSettings::kScaleToFit || type > VxDbPlotSettings::kStdScaleMax)
        return Velt::eInvalidPlotScale;
    if (Velt::ErrorStatus es = settings->setField(settings->mData.stdScaleType, type))
        return es;
    settings->mData.useStandardScale = true;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setCustomPrintScale(VxDbPlotSettings* settings, double numerator,
                                                                 double denominator)
{
    if (!settings)
        return Velt::eInvalidInput;
    if (!std::isfinite(numerator) || !std::isfinite(denominator) || !(numerator > 0.0) || !(denominator > 0.0))
        return Velt::eInvalidPlotScale;
    if (Velt::ErrorStatus es = settings->setField(settings->mData.scaleNumerator, numerator))
        return es;
    settings->mData.scaleDenominator = denominator;
    settings->mData.useStandardScale = false;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::setCurrentStyleSheet(VxDbPlotSettings* settings,
                                                                  const wchar_t* styleSheet)
{
    if (!settings)
        return Velt::eInvalidInput;
    const std::wstring name(vxView(styleSheet));
    if (!name.empty()) {
        std::vector<std::wstring> known;
        plotStyleSheetList(known, settings);
        const bool found = std::any_of(known.begin(), known.end(),
                                       [&](const std::wstring& table) { return vxEqualNoCase(table, name); });
        if (!found)
            return Velt::eInvalidStyleSheet;
    }
    return settings->setField(settings->mData.styleSheet, name);
}

Velt::ErrorStatus VxDbPlotSettingsValidator::plotDeviceList(std::vector<std::wstring>& devices) const
{
    devices.clear();
    for (const Device& device : kDevices)
        devices.emplace_back(device.name);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::canonicalMediaNameList(const VxDbPlotSettings* settings,
                                                                    std::vector<std::wstring>& media) const
{
    media.clear();
    if (!settings)
        return Velt::eInvalidInput;
    for (const Media* each : mediaOf(*deviceOf(settings)))
        media.emplace_back(each->canonical);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::plotStyleSheetList(std::vector<std::wstring>& styleSheets,
                                                                const VxDbPlotSettings* settings) const
{
    styleSheets.clear();
    if (usesColorTables(settings)) {
        for (const wchar_t* table : kColorTables)
            styleSheets.emplace_back(table);
    } else {
        for (const wchar_t* table : kNamedTables)
            styleSheets.emplace_back(table);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::getLocaleMediaName(const VxDbPlotSettings* settings,
                                                                const wchar_t* canonical,
                                                                std::wstring& localized) const
{
    localized.clear();
    if (!settings || !canonical)
        return Velt::eInvalidInput;
    const Media* media = findMedia(*deviceOf(settings), canonical);
    if (!media)
        return Velt::eInvalidMediaName;
    localized = media->canonical;
    for (wchar_t& c : localized) {
        if (c == L'_')
            c = L' ';
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPlotSettingsValidator::refreshLists(const VxDbPlotSettings*)
{
    ++mRefreshes;
    return Velt::eOk;
}

}  // namespace kx
