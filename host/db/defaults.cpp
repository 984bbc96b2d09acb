// The contents of a new drawing.

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "services/hostservices.h"

namespace kx {

namespace {

template <class T>
VxDbObjectId addRoot(VxDbDatabase* db)
{
    auto* object = new T();
    VxDbObjectId id;
    db->addVxDbObject(id, object);
    object->close();
    return id;
}

VxDbObjectId addRecord(VxDbObjectId tableId, VxDbSymbolTableRecord* record, const wchar_t* name)
{
    VxDbObjectPointer<VxDbSymbolTable> table(tableId, VxDb::kForWrite);
    record->setName(name);
    VxDbObjectId id;
    if (!table || table->add(id, record) != Velt::eOk) {
        delete record;
        return VxDbObjectId();
    }
    record->close();
    return id;
}

VxDbObjectId addEntry(VxDbObjectId dictionaryId, const wchar_t* key, VxDbObject* object)
{
    VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForWrite);
    VxDbObjectId id;
    if (!dictionary || dictionary->setAt(key, object, id) != Velt::eOk) {
        delete object;
        return VxDbObjectId();
    }
    object->close();
    return id;
}

template <class T>
T* named(const wchar_t* name, const wchar_t* description = nullptr)
{
    auto* object = new T();
    object->setName(name);
    if (description)
        object->setDescription(description);
    return object;
}

}  // namespace

void VxDbDatabase::buildDefaultDrawing()
{
    mBlockTable = addRoot<VxDbBlockTable>(this);
    mLayerTable = addRoot<VxDbLayerTable>(this);
    mLinetypeTable = addRoot<VxDbLinetypeTable>(this);
    mTextStyleTable = addRoot<VxDbTextStyleTable>(this);
    mDimStyleTable = addRoot<VxDbDimStyleTable>(this);
    mUcsTable = addRoot<VxDbUCSTable>(this);
    mViewTable = addRoot<VxDbViewTable>(this);
    mViewportTable = addRoot<VxDbViewportTable>(this);
    mRegAppTable = addRoot<VxDbRegAppTable>(this);
    mNamedObjectsDictionary = addRoot<VxDbDictionary>(this);

    // Linetypes every drawing has.
    mByBlockLinetype = addRecord(mLinetypeTable, new VxDbLinetypeTableRecord(), L"ByBlock");
    mByLayerLinetype = addRecord(mLinetypeTable, new VxDbLinetypeTableRecord(), L"ByLayer");
    auto* continuous = new VxDbLinetypeTableRecord();
    continuous->setComments(L"Solid line");
    mContinuousLinetype = addRecord(mLinetypeTable, continuous, L"Continuous");

    addRecord(mRegAppTable, new VxDbRegAppTableRecord(), L"ACAD");
    const VxDbObjectId standardStyle = addRecord(mTextStyleTable, new VxDbTextStyleTableRecord(), L"Standard");
    auto* dimStyle = new VxDbDimStyleTableRecord();
    dimStyle->setDimId(VxDbDimVar::kDimTxSty, standardStyle);
    const VxDbObjectId standardDimStyle = addRecord(mDimStyleTable, dimStyle, L"Standard");
    auto* active = new VxDbViewportTableRecord();
    active->setCenterPoint(VxGePoint2d{6.0, 4.5});
    active->setHeight(9.0);
    active->setWidth(12.0);
    addRecord(mViewportTable, active, L"*Active");

    // The named-object dictionary and its standard dictionaries.
    const VxDbObjectId groups = addEntry(mNamedObjectsDictionary, L"ACAD_GROUP", new VxDbDictionary());
    (void)groups;
    const VxDbObjectId layouts = addEntry(mNamedObjectsDictionary, L"ACAD_LAYOUT", new VxDbDictionary());
    addEntry(mNamedObjectsDictionary, L"ACAD_PLOTSETTINGS", new VxDbDictionary());
    const VxDbObjectId plotStyles = addEntry(mNamedObjectsDictionary, L"ACAD_PLOTSTYLENAME", new VxDbDictionary());
    const VxDbObjectId materials = addEntry(mNamedObjectsDictionary, L"ACAD_MATERIAL", new VxDbDictionary());
    const VxDbObjectId mlineStyles = addEntry(mNamedObjectsDictionary, L"ACAD_MLINESTYLE", new VxDbDictionary());
    const VxDbObjectId tableStyles = addEntry(mNamedObjectsDictionary, L"ACAD_TABLESTYLE", new VxDbDictionary());
    const VxDbObjectId leaderStyles = addEntry(mNamedObjectsDictionary, L"ACAD_MLEADERSTYLE", new VxDbDictionary());
    addEntry(mNamedObjectsDictionary, L"ACAD_IMAGE_DICT", new VxDbDictionary());

    addEntry(plotStyles, L"Normal", new VxDbPlaceHolder());
    addEntry(materials, L"ByBlock", named<VxDbMaterial>(L"ByBlock"));
    addEntry(materials, L"ByLayer", named<VxDbMaterial>(L"ByLayer"));
    const VxDbObjectId global = addEntry(materials, L"Global", named<VxDbMaterial>(L"Global"));
    auto* mlineStyle = named<VxDbMlineStyle>(L"Standard");
    mlineStyle->addElement(0.5, VxCmColor::fromIndex(256), mByLayerLinetype);
    mlineStyle->addElement(-0.5, VxCmColor::fromIndex(256), mByLayerLinetype);
    const VxDbObjectId standardMline = addEntry(mlineStyles, L"Standard", mlineStyle);
    const VxDbObjectId standardTable = addEntry(tableStyles, L"Standard", named<VxDbTableStyle>(L"Standard"));
    const VxDbObjectId standardLeader = addEntry(leaderStyles, L"Standard", named<VxDbMLeaderStyle>(L"Standard"));

    auto* zero = new VxDbLayerTableRecord();
    zero->setColorIndex(7);
    zero->setLinetypeObjectId(mContinuousLinetype);
    zero->setMaterialId(global);
    mLayerZero = addRecord(mLayerTable, zero, L"0");

    // Model space and paper space with their layouts.
    const VxDbObjectId modelSpace = addRecord(mBlockTable, new VxDbBlockTableRecord(), VxDbBlockTableRecord::kModelSpaceName);
    const VxDbObjectId paperSpace = addRecord(mBlockTable, new VxDbBlockTableRecord(), VxDbBlockTableRecord::kPaperSpaceName);
    VxDbPlotSettingsValidator* validator = vxdbHostApplicationServices()->plotSettingsValidator();
    auto makeLayout = [&](const wchar_t* name, VxDbObjectId block, int order, bool model) {
        auto* layout = new VxDbLayout();
        layout->setLayoutName(name);
        layout->setTabOrder(order);
        layout->setBlockTableRecordId(block);
        layout->setModelType(model);
        validator->setDefaults(layout, measurement() == VxDb::kMetric);
        if (model)
            layout->setTabSelected(true);
        const VxDbObjectId layoutId = addEntry(layouts, name, layout);
        VxDbObjectPointer<VxDbBlockTableRecord> record(block, VxDb::kForWrite);
        if (record)
            record->setLayoutId(layoutId);
    };
    makeLayout(L"Model", modelSpace, 0, true);
    makeLayout(L"Layout1", paperSpace, 1, false);

    setClayer(mLayerZero);
    setCeltype(mByLayerLinetype);
    setTextstyle(standardStyle);
    setDimstyle(standardDimStyle);
    setCmlstyleID(standardMline);
    setTablestyle(standardTable);
    setMLeaderstyle(standardLeader);
}

}  // namespace kx
